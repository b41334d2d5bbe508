// pixbufs: renders C64 bitmap / screen / colour memory into an RGBA image.
#pragma once

#include <gdk-pixbuf/gdk-pixbuf.h>

GdkPixbuf *pixbufs_new_from_hires_opaque(const unsigned char *bitmap, const unsigned char *screen,
                                         const unsigned char *color, unsigned char background, int columns,
                                         int rows);
