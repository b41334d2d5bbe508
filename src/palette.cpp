// palette: the four fixed C64 palettes (Pepto, High contrast, Pixcen, CCS64) as 8-bit
// and as 0..1 double tables, the lookups by colour index and by RGB value, and drawing in
// those colours with cairo.
// Reads options_palette to pick the palette in force (or takes the palette it is given);
// keeps no state of its own.
#include "palette.h"

#include "state.h"

namespace {

constexpr PaletteBytes from_hex(const std::array<unsigned int, 16> &hex) {
  PaletteBytes table{};
  for (int i = 0; i < 16; i++) {
    table[i] = {static_cast<unsigned char>(hex[i] >> 16), static_cast<unsigned char>((hex[i] >> 8) & 0xff),
                static_cast<unsigned char>(hex[i] & 0xff)};
  }
  return table;
}

// Each component divided by 255, fixed at compile time.
constexpr PaletteDoubles to_doubles(const PaletteBytes &bytes) {
  PaletteDoubles table{};
  for (int i = 0; i < 16; i++) {
    for (int c = 0; c < 3; c++) table[i][c] = bytes[i][c] / 255.0;
  }
  return table;
}

// Pepto, High contrast, Pixcen, CCS64: colours 0..15 as 0xRRGGBB.
constexpr std::array<std::array<unsigned int, 16>, 4> kHex = {{
    {0x000000, 0xFFFFFF, 0x68372B, 0x70A4B2, 0x6F3D86, 0x588D43, 0x352879, 0xB8C76F, 0x6F4F25, 0x433900, 0x9A6759,
     0x444444, 0x6C6C6C, 0x9AD284, 0x6C5EB5, 0x959595},
    {0x000000, 0xFFFFFF, 0x860000, 0x70D3FF, 0xC6009E, 0x00B200, 0x0000B9, 0xFFEB72, 0x973C00, 0x654300, 0xC7564E,
     0x3D3D3D, 0x6C6C6C, 0x40FF68, 0x2C83FF, 0xB0B0B0},
    {0x000000, 0xFFFFFF, 0x894036, 0x7ABFC7, 0x8A46AE, 0x68A941, 0x3E31A2, 0xD0DC71, 0x905F25, 0x5C4700, 0xBB776D,
     0x555555, 0x808080, 0xACEA88, 0x7C70DA, 0xABABAB},
    {0x101010, 0xFFFFFF, 0xE04040, 0x60FFFF, 0xE060E0, 0x40E040, 0x4040E0, 0xFFFF40, 0xE0A040, 0x9C7448, 0xFFA0A0,
     0x545454, 0x888888, 0xA0FFA0, 0xA0A0FF, 0xC0C0C0},
}};

}  // namespace

const PaletteBytes palette_rgb = from_hex(kHex[0]);
const PaletteBytes palette_hc_rgb = from_hex(kHex[1]);
const PaletteBytes palette_pixcen_rgb = from_hex(kHex[2]);
const PaletteBytes palette_ccs64_rgb = from_hex(kHex[3]);
const PaletteDoubles palette_rgb_double = to_doubles(from_hex(kHex[0]));
const PaletteDoubles palette_hc_rgb_double = to_doubles(from_hex(kHex[1]));
const PaletteDoubles palette_pixcen_rgb_double = to_doubles(from_hex(kHex[2]));
const PaletteDoubles palette_ccs64_rgb_double = to_doubles(from_hex(kHex[3]));

namespace {

// The tables of each palette, in the order options_palette numbers them.
struct PaletteTables {
  const PaletteBytes *bytes;
  const PaletteDoubles *doubles;
};
const PaletteTables kPalettes[] = {{&palette_rgb, &palette_rgb_double},
                                   {&palette_hc_rgb, &palette_hc_rgb_double},
                                   {&palette_pixcen_rgb, &palette_pixcen_rgb_double},
                                   {&palette_ccs64_rgb, &palette_ccs64_rgb_double}};

bool is_palette(int palette) { return palette >= 0 && palette < 4; }

// The tables of the palette in force, or NULL when options_palette names none.
const PaletteBytes *selected_bytes() {
  return is_palette(options_palette) ? kPalettes[options_palette].bytes : nullptr;
}

template <typename T>
void copy_entry(const std::array<std::array<T, 3>, 16> &table, int index, T out[3]) {
  const auto &entry = table[index & 15];
  out[0] = entry[0];
  out[1] = entry[1];
  out[2] = entry[2];
}

}  // namespace

void palette_get_rgb_at_index(int index, unsigned char rgb[3]) {
  if (const PaletteBytes *table = selected_bytes()) copy_entry(*table, index, rgb);
}

void palette_get_rgb_double_at_index(int index, double rgb[3]) {
  palette_get_rgb_double_in(options_palette, index, rgb);
}

void palette_get_rgb_double_in(int palette, int index, double rgb[3]) {
  if (is_palette(palette)) copy_entry(*kPalettes[palette].doubles, index, rgb);
}

void palette_get_pepto_rgb_at_index(int index, unsigned char rgb[3]) { copy_entry(palette_rgb, index, rgb); }

unsigned int palette_get_index_for_rgb(const unsigned char rgb[3]) {
  const PaletteBytes *table = selected_bytes();
  if (!table) return 0;
  for (unsigned int i = 0; i < 16; i++) {
    const auto &entry = (*table)[i];
    if (entry[0] == rgb[0] && entry[1] == rgb[1] && entry[2] == rgb[2]) return i;
  }
  return 0;
}

// Perceived brightness by the usual weights of red, green and blue, against the middle
// of the 0..255 range.
bool palette_text_is_black_at_index(int index) {
  unsigned char rgb[3] = {0, 0, 0};
  palette_get_rgb_at_index(index, rgb);
  return 299 * rgb[0] + 587 * rgb[1] + 114 * rgb[2] >= 128 * 1000;
}

void palette_set_cairo_source(cairo_t *cr, int index) {
  double rgb[3] = {0.0, 0.0, 0.0};
  palette_get_rgb_double_at_index(index, rgb);
  cairo_set_source_rgb(cr, rgb[0], rgb[1], rgb[2]);
}

void palette_fill_rect(cairo_t *cr, int index, int x, int y, int width, int height) {
  if (height <= 0) return;
  cairo_set_antialias(cr, CAIRO_ANTIALIAS_NONE);
  cairo_set_line_width(cr, 1.0);
  palette_set_cairo_source(cr, index);
  cairo_rectangle(cr, x, y, width, height);
  cairo_fill(cr);
}
