// c64pixbufs: not written yet.
#include "c64pixbufs.h"

int set_uppercase = {};
GdkPixbuf *uppercase_fonts = {};
GdkPixbuf *lowercase_fonts = {};
GdkPixbuf *uppercase_font_array[256]{};
GdkPixbuf *lowercase_font_array[256]{};
void c64pixbufs_module_init(void) { }
void c64pixbuf_set_case(int uppercase) { }
GdkPixbuf * c64pixbufs_get_char_at_index(int code) { return {}; }
GdkPixbuf * c64pixbufs_get_uppercase_char_at_index(int code) { return {}; }
GdkPixbuf * c64pixbufs_get_lowercase_char_at_index(int code) { return {}; }
