// c64pixbufs: the two C64 character sets (upper-case/graphics and lower-case/upper-case),
// loaded once from the compiled-in XPM images and cut into 256 shared 8x8 glyph
// sub-images each, plus the flag that says which set PETSCII screens are drawn with.
// Owns the glyph images for the whole run; touches nothing else.
#include "c64pixbufs.h"

#include "c64_charsets_xpm.h"
#include "state.h"

int set_uppercase = 1;
GdkPixbuf *uppercase_fonts = nullptr;
GdkPixbuf *lowercase_fonts = nullptr;
GdkPixbuf *uppercase_font_array[256]{};
GdkPixbuf *lowercase_font_array[256]{};

namespace {

// Loads one set and cuts its glyphs; glyph i sits at column i mod 32, row i div 32.
void load_set(const char **xpm, GdkPixbuf *&whole, GdkPixbuf *glyphs[256]) {
  whole = gdk_pixbuf_new_from_xpm_data(xpm);
  if (!whole) return;
  for (int i = 0; i < 256; i++) glyphs[i] = gdk_pixbuf_new_subpixbuf(whole, 8 * (i % 32), 8 * (i / 32), 8, 8);
}

}  // namespace

void c64pixbufs_module_init(void) {
  if (!uppercase_fonts) load_set(c64_upp_xpm, uppercase_fonts, uppercase_font_array);
  if (!lowercase_fonts) load_set(c64_low_xpm, lowercase_fonts, lowercase_font_array);
}

void c64pixbuf_set_case(int uppercase) { set_uppercase = uppercase; }

GdkPixbuf *c64pixbufs_get_char_at_index(int code) {
  return set_uppercase == 1 ? c64pixbufs_get_uppercase_char_at_index(code)
                            : c64pixbufs_get_lowercase_char_at_index(code);
}

GdkPixbuf *c64pixbufs_get_uppercase_char_at_index(int code) { return uppercase_font_array[code & 255]; }

GdkPixbuf *c64pixbufs_get_lowercase_char_at_index(int code) { return lowercase_font_array[code & 255]; }
