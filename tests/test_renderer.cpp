// Rendering of hires, multicolour and PETSCII cells.
#include <vector>

#include "c64pixbufs.h"
#include "options.h"
#include "pixbufs.h"
#include "testutil.h"

namespace {

// Pepto colours used below.
constexpr unsigned int black = 0x000000, white = 0xFFFFFF, red = 0x68372B, green = 0x588D43, blue = 0x352879,
                       yellow = 0xB8C76F, light_blue = 0x6C5EB5;

struct Image {
  GdkPixbuf *p;
  explicit Image(GdkPixbuf *pixbuf) : p(pixbuf) {}
  ~Image() {
    if (p) g_object_unref(p);
  }
};

void expect_opaque_rgba(GdkPixbuf *p, int width, int height) {
  ASSERT_NE(p, nullptr);
  EXPECT_EQ(gdk_pixbuf_get_width(p), width);
  EXPECT_EQ(gdk_pixbuf_get_height(p), height);
  ASSERT_TRUE(gdk_pixbuf_get_has_alpha(p));
  const guchar *pixels = gdk_pixbuf_get_pixels(p);
  for (int y = 0; y < height; y++)
    for (int x = 0; x < width; x++)
      ASSERT_EQ(pixels[y * gdk_pixbuf_get_rowstride(p) + x * 4 + 3], 255) << x << "," << y;
}

// Row y of an image as a list of colours.
std::vector<unsigned int> row(GdkPixbuf *p, int y, int x0, int n) {
  std::vector<unsigned int> out;
  for (int x = x0; x < x0 + n; x++) out.push_back(pixel_at(p, x, y));
  return out;
}

}  // namespace

TEST(Renderer, MulticolourCellsPickTheirFourColours) {
  options_palette = 0;
  // Cells 0..3 filled with 0x00, 0x55, 0xAA, 0xFF; cell 4 with 0x1B (one pixel pair of each).
  std::vector<unsigned char> bitmap(5 * 8);
  const unsigned char fill[] = {0x00, 0x55, 0xAA, 0xFF, 0x1B};
  for (int cell = 0; cell < 5; cell++)
    for (int r = 0; r < 8; r++) bitmap[cell * 8 + r] = fill[cell];
  const std::vector<unsigned char> screen(5, 0x2E);  // high nibble red, low nibble light blue
  const std::vector<unsigned char> color(5, 0xF5);   // upper bits ignored: green
  Image img(pixbufs_new_from_hires_opaque(bitmap.data(), screen.data(), color.data(), 0x17, 5, 1));
  expect_opaque_rgba(img.p, 40, 8);
  const unsigned int cell_color[] = {yellow, red, light_blue, green};
  for (int cell = 0; cell < 4; cell++)
    for (int y = 0; y < 8; y++) EXPECT_EQ(row(img.p, y, cell * 8, 8), std::vector<unsigned int>(8, cell_color[cell]));
  EXPECT_EQ(row(img.p, 3, 32, 8),
            (std::vector<unsigned int>{yellow, yellow, red, red, light_blue, light_blue, green, green}));
}

TEST(Renderer, HiresCellsUseScreenNibbles) {
  options_palette = 0;
  // Two rows of two cells; only cell 3 (row 1, column 1) has a screen byte and bits set.
  std::vector<unsigned char> bitmap(4 * 8, 0x00), screen(4, 0x00);
  screen[3] = 0x10;
  bitmap[3 * 8 + 2] = 0x80;
  bitmap[3 * 8 + 7] = 0x01;
  Image img(pixbufs_new_from_hires_opaque(bitmap.data(), screen.data(), nullptr, 5, 2, 2));
  expect_opaque_rgba(img.p, 16, 16);
  std::vector<unsigned int> want(8, black);
  want[0] = white;
  EXPECT_EQ(row(img.p, 10, 8, 8), want);
  want[0] = black;
  want[7] = white;
  EXPECT_EQ(row(img.p, 15, 8, 8), want);
  EXPECT_EQ(row(img.p, 11, 8, 8), std::vector<unsigned int>(8, black));
  EXPECT_EQ(row(img.p, 2, 0, 16), std::vector<unsigned int>(16, black));  // cells 0 and 1 untouched by cell 3
}

TEST(Renderer, FollowsThePaletteInForce) {
  options_palette = 1;
  const std::vector<unsigned char> bitmap(8, 0x0F), screen(1, 0x26);
  Image img(pixbufs_new_from_hires_opaque(bitmap.data(), screen.data(), nullptr, 0, 1, 1));
  options_palette = 0;
  ASSERT_NE(img.p, nullptr);
  EXPECT_EQ(pixel_at(img.p, 0, 0), 0x0000B9u);  // high-contrast blue for 0 bits
  EXPECT_EQ(pixel_at(img.p, 7, 7), 0x860000u);  // high-contrast red for 1 bits
}

TEST(Renderer, PetsciiSpacesFillWithBackgroundOrCharacterColour) {
  options_palette = 0;
  c64pixbufs_module_init();
  c64pixbuf_set_case(1);
  const unsigned char screen[] = {32, 160, 1};
  const unsigned char color[] = {0xF2, 0x35, 0x01};  // red, green (upper bits ignored), white
  Image img(pixbufs_new_from_hires_opaque(nullptr, screen, color, 6, 3, 1));
  expect_opaque_rgba(img.p, 24, 8);
  for (int y = 0; y < 8; y++) {
    EXPECT_EQ(row(img.p, y, 0, 8), std::vector<unsigned int>(8, blue));
    EXPECT_EQ(row(img.p, y, 8, 8), std::vector<unsigned int>(8, green));
  }
  // 'A' row 0 is 0x18: two white pixels in the middle on the blue background.
  EXPECT_EQ(row(img.p, 0, 16, 8), (std::vector<unsigned int>{blue, blue, blue, white, white, blue, blue, blue}));
}
