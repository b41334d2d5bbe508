// Multicolour re-encoding: same image, regular colour sources, slot history across cells.
#include <cstring>
#include <random>
#include <vector>

#include "pixbufs.h"
#include "reencode.h"
#include "testutil.h"

namespace {

// Re-encodes `in`, checking that it stays as it was and that the result shows the same image.
PictureData reencoded(const PictureData &in) {
  const PictureData before = in;
  PictureData out{};
  reencode_process_picture_mc(&in, &out);
  EXPECT_EQ(std::memcmp(&before, &in, sizeof in), 0);
  GdkPixbuf *a = pixbufs_new_from_hires_opaque(in.bitmap, in.screen, in.color, in.background, 40, 25);
  GdkPixbuf *b = pixbufs_new_from_hires_opaque(out.bitmap, out.screen, out.color, out.background, 40, 25);
  EXPECT_EQ(std::memcmp(gdk_pixbuf_get_pixels(a), gdk_pixbuf_get_pixels(b), gdk_pixbuf_get_rowstride(a) * 200), 0);
  g_object_unref(a);
  g_object_unref(b);
  return out;
}

}  // namespace

TEST(Reencode, RandomAndRealPicturesLookTheSame) {
  PictureData in{};
  std::mt19937 random(1234);
  for (auto &byte : in.bitmap) byte = static_cast<unsigned char>(random());
  for (int i = 0; i < 1000; ++i) in.screen[i] = random(), in.color[i] = random();  // colour high nibbles are junk
  in.background = 5;
  reencoded(in);
  const std::string path = shared_data("pictures/koala-1.kla");
  SKIP_WITHOUT_SHARED(path);
  GdkPixbuf *image = nullptr;
  ASSERT_EQ(hiresdecoder_decode_hires_screen_file(path.c_str(), 0, &image, &in, nullptr), 1);
  g_object_unref(image);
  reencoded(in);
}

// The first cell puts its colours in ascending order whatever sources held them and fills
// unused slots with 13; later cells keep colours in the slots they had.
TEST(Reencode, ColourOrderEmptySlotsAndSlotHistory) {
  // Per cell: screen high and low nibble, colour (0 is the background), first pixel row;
  // then the screen and colour bytes wanted for cells 0 and 1.
  const struct {
    int cells[2][4];
    unsigned char want[4];
  } cases[] = {
      {{{12, 3, 7, 0x1B}, {7, 12, 3, 0x1B}}, {0x37, 0x0C, 0x37, 0x0C}},  // pairs 00 01 10 11, shuffled sources
      {{{3, 7, 12, 0x1B}, {12, 3, 7, 0x1B}}, {0x37, 0x0C, 0x37, 0x0C}},
      {{{0, 0, 0, 0x00}, {0, 0, 0, 0x00}}, {0xDD, 0x0D, 0xDD, 0x0D}},  // background only
      {{{0, 2, 0, 0x20}, {0, 0, 0, 0x00}}, {0x2D, 0x0D, 0x2D, 0x0D}},  // a single colour 2
      {{{9, 6, 4, 0x6C}, {9, 8, 0, 0x60}}, {0x46, 0x09, 0x68, 0x09}},  // 8 takes the slot of the unused 6
      {{{5, 9, 2, 0x6C}, {5, 9, 0, 0x90}}, {0x25, 0x09, 0x25, 0x09}},  // 9 and 5 stay where they are
  };
  for (const auto &c : cases) {
    PictureData in{};
    for (int i = 0; i < 2; i++) {
      const auto &[high, low, colour, first_row] = c.cells[i];
      in.screen[i] = high << 4 | low;
      in.color[i] = colour;
      in.bitmap[8 * i] = first_row;
    }
    const PictureData out = reencoded(in);
    EXPECT_EQ((std::vector{out.screen[0], out.color[0], out.screen[1], out.color[1]}), std::vector(c.want, c.want + 4));
  }
}
