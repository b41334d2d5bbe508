// The four palettes' values and the lookups by index and by RGB value.
#include <string>

#include "options.h"
#include "palette.h"
#include "testutil.h"

namespace {

// Colours 0..15 of palettes 0..3 (Pepto, high contrast, Pixcen, CCS64), six hex digits each.
const char *const hex[] = {
    "000000FFFFFF68372B70A4B26F3D86588D43352879B8C76F6F4F254339009A67594444446C6C6C9AD2846C5EB5959595",
    "000000FFFFFF86000070D3FFC6009E00B2000000B9FFEB72973C00654300C7564E3D3D3D6C6C6C40FF682C83FFB0B0B0",
    "000000FFFFFF8940367ABFC78A46AE68A9413E31A2D0DC71905F255C4700BB776D555555808080ACEA887C70DAABABAB",
    "101010FFFFFFE0404060FFFFE060E040E0404040E0FFFF40E0A0409C7448FFA0A0545454888888A0FFA0A0A0FFC0C0C0",
};
const PaletteBytes *const bytes[] = {&palette_rgb, &palette_hc_rgb, &palette_pixcen_rgb, &palette_ccs64_rgb};
const PaletteDoubles *const doubles[] = {&palette_rgb_double, &palette_hc_rgb_double, &palette_pixcen_rgb_double,
                                         &palette_ccs64_rgb_double};

template <typename T>
unsigned int rgb_value(const T &rgb) {
  return rgb[0] << 16 | rgb[1] << 8 | rgb[2];
}

}  // namespace

// Tables and lookup by index hold the listed colours (indexes 16..31 repeat 0..15), the
// lookup by value finds each colour again and nothing near it, and the Pepto lookup
// ignores the option.
TEST(Palette, TablesAndLookupsHoldTheListedColours) {
  for (int p = 0; p < 4; p++) {
    options_palette = p;
    for (int i = 0; i < 32; i++) {
      SCOPED_TRACE("palette " + std::to_string(p) + " index " + std::to_string(i));
      auto listed = [&](int palette) { return std::stoul(std::string(hex[palette] + 6 * (i % 16), 6), nullptr, 16); };
      unsigned char rgb[3], pepto[3];
      palette_get_rgb_at_index(i, rgb);
      palette_get_pepto_rgb_at_index(i, pepto);
      EXPECT_EQ(rgb_value(rgb), listed(p));
      EXPECT_EQ(rgb_value((*bytes[p])[i % 16]), listed(p));
      EXPECT_EQ(rgb_value(pepto), listed(0));
      for (int c = 0; c < 3; c++) EXPECT_NEAR((*doubles[p])[i % 16][c], rgb[c] / 255.0, 1e-10);
      EXPECT_EQ(palette_get_index_for_rgb(rgb), static_cast<unsigned int>(i % 16));
      rgb[2] ^= 1;  // only an exact colour matches; no match gives 0
      EXPECT_EQ(palette_get_index_for_rgb(rgb), 0u);
    }
  }
  options_palette = 0;
}
