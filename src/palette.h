// palette: the four fixed C64 palettes and the colour lookups.
#pragma once

#include <cairo.h>

#include <array>

using PaletteBytes = std::array<std::array<unsigned char, 3>, 16>;
using PaletteDoubles = std::array<std::array<double, 3>, 16>;

extern const PaletteBytes palette_rgb;
extern const PaletteBytes palette_hc_rgb;
extern const PaletteBytes palette_pixcen_rgb;
extern const PaletteBytes palette_ccs64_rgb;
extern const PaletteDoubles palette_rgb_double;
extern const PaletteDoubles palette_hc_rgb_double;
extern const PaletteDoubles palette_pixcen_rgb_double;
extern const PaletteDoubles palette_ccs64_rgb_double;

void palette_get_rgb_at_index(int index, unsigned char rgb[3]);
void palette_get_rgb_double_at_index(int index, double rgb[3]);
// The same in the palette numbered `palette` (0..3, as options_palette numbers them);
// the output is left as it is for any other number.
void palette_get_rgb_double_in(int palette, int index, double rgb[3]);
void palette_get_pepto_rgb_at_index(int index, unsigned char rgb[3]);
// The index whose colour in the palette in force is exactly `rgb`; 0 when none is.
unsigned int palette_get_index_for_rgb(const unsigned char rgb[3]);
// True when black text reads better than white on the colour (by its perceived brightness).
bool palette_text_is_black_at_index(int index);

// Drawing in C64 colours: the colour of `index` as the cairo source, and a rectangle
// filled in it with hard pixel edges (nothing for a height of 0 or less).
void palette_set_cairo_source(cairo_t *cr, int index);
void palette_fill_rect(cairo_t *cr, int index, int x, int y, int width, int height);
