// pixbufs: renders C64 graphics memory (bitmap, screen and colour memory) into a new
// opaque RGBA image in the colours of the palette in force: hires bitmap, multicolour
// bitmap or PETSCII character screen. Reads the palette and the character set glyphs;
// the image it returns belongs to the caller.
#include "pixbufs.h"

#include "c64pixbufs.h"
#include "palette.h"

namespace {

struct Rgb {
  unsigned char c[3];
};

Rgb rgb_of(int index) {
  Rgb rgb{};
  palette_get_rgb_at_index(index, rgb.c);
  return rgb;
}

inline void put(guchar *p, const Rgb &rgb) {
  p[0] = rgb.c[0];
  p[1] = rgb.c[1];
  p[2] = rgb.c[2];
  p[3] = 255;
}

// A view of an image's pixel rows.
struct Pixels {
  guchar *data;
  int rowstride;
  int n_channels;
  explicit Pixels(GdkPixbuf *p)
      : data(gdk_pixbuf_get_pixels(p)),
        rowstride(gdk_pixbuf_get_rowstride(p)),
        n_channels(gdk_pixbuf_get_n_channels(p)) {}
  guchar *at(int x, int y) const { return data + y * rowstride + x * n_channels; }
};

void render_hires(const Pixels &out, const unsigned char *bitmap, const unsigned char *screen, int columns, int rows) {
  for (int y = 0; y < rows * 8; y++) {
    for (int col = 0; col < columns; col++) {
      const int cell = (y / 8) * columns + col;
      const Rgb colors[2] = {rgb_of(screen[cell] & 15), rgb_of(screen[cell] >> 4)};
      const unsigned char byte = bitmap[cell * 8 + y % 8];
      for (int bit = 0; bit < 8; bit++) put(out.at(col * 8 + bit, y), colors[(byte >> (7 - bit)) & 1]);
    }
  }
}

void render_multicolor(const Pixels &out, const unsigned char *bitmap, const unsigned char *screen,
                       const unsigned char *color, unsigned char background, int columns, int rows) {
  Rgb colors[4];
  colors[0] = rgb_of(background);
  for (int y = 0; y < rows * 8; y++) {
    for (int col = 0; col < columns; col++) {
      const int cell = (y / 8) * columns + col;
      colors[1] = rgb_of(screen[cell] >> 4);
      colors[2] = rgb_of(screen[cell] & 15);
      colors[3] = rgb_of(color[cell] & 15);
      const unsigned char byte = bitmap[cell * 8 + y % 8];
      for (int pair = 0; pair < 4; pair++) {
        const Rgb &rgb = colors[(byte >> (6 - 2 * pair)) & 3];
        put(out.at(col * 8 + 2 * pair, y), rgb);
        put(out.at(col * 8 + 2 * pair + 1, y), rgb);
      }
    }
  }
}

// Glyph pixels whose red byte is that of the sets' background colour (Pepto blue)
// take the screen background; all others the cell's character colour.
void render_petscii(const Pixels &out, const unsigned char *screen, const unsigned char *color,
                    unsigned char background, int columns, int rows) {
  unsigned char glyph_background[3];
  palette_get_pepto_rgb_at_index(6, glyph_background);
  const Rgb back = rgb_of(background);
  for (int i = 0; i < columns * rows; i++) {
    GdkPixbuf *glyph = c64pixbufs_get_char_at_index(screen[i]);
    if (!glyph) continue;
    const Pixels in(glyph);
    const Rgb front = rgb_of(color[i] & 15);
    const int x0 = 8 * (i % columns), y0 = 8 * (i / columns);
    for (int y = 0; y < 8; y++) {
      for (int x = 0; x < 8; x++) put(out.at(x0 + x, y0 + y), in.at(x, y)[0] == glyph_background[0] ? back : front);
    }
  }
}

}  // namespace

GdkPixbuf *pixbufs_new_from_hires_opaque(const unsigned char *bitmap, const unsigned char *screen,
                                         const unsigned char *color, unsigned char background, int columns, int rows) {
  if (!screen || columns <= 0 || rows <= 0) return nullptr;
  GdkPixbuf *image = gdk_pixbuf_new(GDK_COLORSPACE_RGB, TRUE, 8, 8 * columns, 8 * rows);
  if (!image) return nullptr;
  const Pixels out(image);
  if (!bitmap) {
    if (!color) {
      g_object_unref(image);
      return nullptr;
    }
    gdk_pixbuf_fill(image, 0x000000ff);  // cells without a glyph stay opaque black
    render_petscii(out, screen, color, background, columns, rows);
  } else if (!color) {
    render_hires(out, bitmap, screen, columns, rows);
  } else {
    render_multicolor(out, bitmap, screen, color, background, columns, rows);
  }
  return image;
}
