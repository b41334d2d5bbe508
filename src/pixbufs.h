// pixbufs: renders C64 bitmap / screen / colour memory into an RGBA image.
#pragma once

#include <gdk-pixbuf/gdk-pixbuf.h>

// An opaque image of columns x rows cells: multicolour with all three blocks, hires without
// `color`, PETSCII (glyphs of the character set in force) without `bitmap`. The caller owns it.
GdkPixbuf *pixbufs_new_from_hires_opaque(const unsigned char *bitmap, const unsigned char *screen,
                                         const unsigned char *color, unsigned char background, int columns, int rows);
