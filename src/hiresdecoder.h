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

extern PictureData picture_data;

int hiresdecoder_decode_hires_screen_file(const char *filename, unsigned int format, GdkPixbuf **pixbuf,
                                          PictureData *record, GError **error);
