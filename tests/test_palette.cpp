// The four palettes' values and the lookups by index and by RGB value.
#include <string>
#include <vector>

#include "options.h"
#include "palette.h"
#include "testutil.h"

namespace {

struct PaletteCase {
  int option;
  const PaletteBytes *bytes;
  const PaletteDoubles *doubles;
  const char *hex[16];
};

const PaletteCase palettes[] = {
    {0, &palette_rgb, &palette_rgb_double,
     {"000000", "FFFFFF", "68372B", "70A4B2", "6F3D86", "588D43", "352879", "B8C76F", "6F4F25", "433900", "9A6759",
      "444444", "6C6C6C", "9AD284", "6C5EB5", "959595"}},
    {1, &palette_hc_rgb, &palette_hc_rgb_double,
     {"000000", "FFFFFF", "860000", "70D3FF", "C6009E", "00B200", "0000B9", "FFEB72", "973C00", "654300", "C7564E",
      "3D3D3D", "6C6C6C", "40FF68", "2C83FF", "B0B0B0"}},
    {2, &palette_pixcen_rgb, &palette_pixcen_rgb_double,
     {"000000", "FFFFFF", "894036", "7ABFC7", "8A46AE", "68A941", "3E31A2", "D0DC71", "905F25", "5C4700", "BB776D",
      "555555", "808080", "ACEA88", "7C70DA", "ABABAB"}},
    {3, &palette_ccs64_rgb, &palette_ccs64_rgb_double,
     {"101010", "FFFFFF", "E04040", "60FFFF", "E060E0", "40E040", "4040E0", "FFFF40", "E0A040", "9C7448", "FFA0A0",
      "545454", "888888", "A0FFA0", "A0A0FF", "C0C0C0"}},
};

unsigned int component(const char *hex, int c) { return std::stoul(std::string(hex + 2 * c, 2), nullptr, 16); }

// Restores the palette option after each test.
class Palette : public ::testing::Test {
 protected:
  void TearDown() override { options_palette = 0; }
};

}  // namespace

TEST_F(Palette, TablesAndLookupsHoldTheListedColours) {
  for (const PaletteCase &p : palettes) {
    options_palette = p.option;
    for (int i = 0; i < 16; i++) {
      SCOPED_TRACE("palette " + std::to_string(p.option) + " index " + std::to_string(i));
      unsigned char rgb[3], wrapped[3];
      double rgbd[3];
      palette_get_rgb_at_index(i, rgb);
      palette_get_rgb_at_index(i + 16, wrapped);  // 16 gives 0, 31 gives 15
      palette_get_rgb_double_at_index(i + 16, rgbd);
      for (int c = 0; c < 3; c++) {
        const unsigned int want = component(p.hex[i], c);
        EXPECT_EQ((*p.bytes)[i][c], want);
        EXPECT_NEAR((*p.doubles)[i][c], want / 255.0, 1e-10);
        EXPECT_EQ(rgb[c], want);
        EXPECT_EQ(wrapped[c], want);
        EXPECT_NEAR(rgbd[c], want / 255.0, 1e-10);
      }
      EXPECT_EQ(palette_get_index_for_rgb(rgb), static_cast<unsigned int>(i));
    }
  }
}

TEST_F(Palette, ReverseLookupNeedsAnExactMatch) {
  struct {
    int option;
    unsigned char rgb[3];
    unsigned int index;
  } cases[] = {
      {0, {108, 94, 181}, 14}, {0, {108, 94, 182}, 0}, {3, {0, 0, 0}, 0}, {3, {16, 16, 16}, 0},
      {2, {0x6C, 0x5E, 0xB5}, 0},  // Pepto light blue is not a Pixcen colour
  };
  for (const auto &c : cases) {
    options_palette = c.option;
    EXPECT_EQ(palette_get_index_for_rgb(c.rgb), c.index) << "palette " << c.option << " red " << int(c.rgb[0]);
  }
}

TEST_F(Palette, PeptoLookupIgnoresTheOptionAndUnknownPalettesWriteNothing) {
  for (int option : {1, 3, 7}) {
    options_palette = option;
    unsigned char blue[3], light_blue[3];
    palette_get_pepto_rgb_at_index(6, blue);
    palette_get_pepto_rgb_at_index(0x1E, light_blue);  // whole bytes count by their low nibble
    EXPECT_EQ((blue[0] << 16) | (blue[1] << 8) | blue[2], 0x352879) << option;
    EXPECT_EQ((light_blue[0] << 16) | (light_blue[1] << 8) | light_blue[2], 0x6C5EB5) << option;
  }
  unsigned char rgb[3] = {1, 2, 3};
  double rgbd[3] = {0.25, 0.5, 0.75};
  palette_get_rgb_at_index(1, rgb);
  palette_get_rgb_double_at_index(1, rgbd);
  EXPECT_EQ(std::vector<int>(rgb, rgb + 3), (std::vector<int>{1, 2, 3}));
  EXPECT_EQ(std::vector<double>(rgbd, rgbd + 3), (std::vector<double>{0.25, 0.5, 0.75}));
  const unsigned char white[3] = {255, 255, 255};
  EXPECT_EQ(palette_get_index_for_rgb(white), 0u);
}
