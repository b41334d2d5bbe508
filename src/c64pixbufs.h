// c64pixbufs: the two C64 character sets as 256 ready-cut 8x8 glyph images each.
#pragma once

#include <gdk-pixbuf/gdk-pixbuf.h>

extern GdkPixbuf *uppercase_fonts;
extern GdkPixbuf *lowercase_fonts;
extern GdkPixbuf *uppercase_font_array[256];
extern GdkPixbuf *lowercase_font_array[256];

// Builds both sets from the compiled-in images, once.
void c64pixbufs_module_init(void);
// Chooses the set PETSCII screens are drawn with: 1 upper case, 0 lower case.
void c64pixbuf_set_case(int uppercase);
// The shared glyph of the low byte of `code`, from the set in force or from the named one.
GdkPixbuf *c64pixbufs_get_char_at_index(int code);
GdkPixbuf *c64pixbufs_get_uppercase_char_at_index(int code);
GdkPixbuf *c64pixbufs_get_lowercase_char_at_index(int code);
