// hiresdecoder: recognises and decodes the ten C64 picture file formats.
#pragma once

#include <gdk-pixbuf/gdk-pixbuf.h>
#include <glib.h>

struct PictureData {
  unsigned char bitmap[8000];
  unsigned char screen[1000];
  unsigned char color[1000];
  unsigned char background;
  unsigned char charset;
  gint32 border;
  guint32 format;
};

// What a picture holds, which picks the player of the executable export.
enum class PictureKind { none, petscii, hires, multicolor };

// Decodes a picture file into `record` (when given) and renders it into *pixbuf; `format`
// 0 recognises the format, 1..10 insists on one. 1 on success; else *error says why.
int hiresdecoder_decode_hires_screen_file(const char *filename, unsigned int format, GdkPixbuf **pixbuf,
                                          PictureData *record, GError **error);
// The kind of the format numbered `format` (1..10, as the record's field holds it); none
// for any other number.
PictureKind hiresdecoder_picture_kind(unsigned int format);
