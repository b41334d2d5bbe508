// Rendering of multicolour and hires cells, checked pixel by pixel (PETSCII cells in the
// decoder's tests).
#include <functional>
#include <vector>

#include "pixbufs.h"
#include "testutil.h"

namespace {

constexpr unsigned int black = 0x000000, white = 0xFFFFFF, red = 0x68372B, green = 0x588D43, yellow = 0xB8C76F,
                       light_blue = 0x6C5EB5;

// Checks every pixel of `image` against `want(x, y)`.
void expect_image(GdkPixbuf *image, int width, int height, const std::function<unsigned int(int, int)> &want) {
  ASSERT_EQ(std::pair(gdk_pixbuf_get_width(image), gdk_pixbuf_get_height(image)), std::pair(width, height));
  for (int y = 0; y < height; y++)
    for (int x = 0; x < width; x++) ASSERT_EQ(pixel_at(image, x, y), want(x, y)) << "at " << x << "," << y;
  g_object_unref(image);
}

}  // namespace

// Pairs 00 / 01 / 10 / 11 show background / screen high / screen low / colour low nibble,
// two pixels wide; cell 4 holds one pair of each.
TEST(Renderer, MulticolourCellsPickTheirFourColours) {
  const unsigned char fill[] = {0x00, 0x55, 0xAA, 0xFF, 0x1B};
  std::vector<unsigned char> bitmap(5 * 8), screen(5, 0x2E), color(5, 0xF5);
  for (size_t i = 0; i < bitmap.size(); i++) bitmap[i] = fill[i / 8];
  const unsigned int colours[] = {yellow, red, light_blue, green};
  expect_image(pixbufs_new_from_hires_opaque(bitmap.data(), screen.data(), color.data(), 0x17, 5, 1), 40, 8,
               [&](int x, int) { return colours[fill[x / 8] >> (6 - x % 8 / 2 * 2) & 3]; });
}

// Set bits show the screen high nibble, clear bits the low one: one white pixel in cell 3.
TEST(Renderer, HiresCellsUseScreenNibbles) {
  std::vector<unsigned char> bitmap(4 * 8, 0x00), screen(4, 0x00);
  screen[3] = 0x10;
  bitmap[3 * 8 + 2] = 0x80;
  expect_image(pixbufs_new_from_hires_opaque(bitmap.data(), screen.data(), nullptr, 5, 2, 2), 16, 16,
               [](int x, int y) { return x == 8 && y == 10 ? white : black; });
}
