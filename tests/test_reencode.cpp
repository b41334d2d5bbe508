// Multicolour re-encoding: same image, regular colour sources, slot history across cells.
#include <cstring>
#include <random>

#include "pixbufs.h"
#include "reencode.h"
#include "testutil.h"

namespace {

// Cell `cell` with its three sources and its first pixel row; the other rows stay 00.
void set_cell(PictureData &p, int cell, int high, int low, int colour, unsigned char first_row) {
  p.screen[cell] = static_cast<unsigned char>(high << 4 | low);
  p.color[cell] = static_cast<unsigned char>(colour);
  p.bitmap[cell * 8] = first_row;
}

// Re-encodes `in` (checking that it stays as it was) and checks that the result shows
// exactly the same image.
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
  for (auto *block : {in.bitmap, in.screen, in.color})  // the colour bytes' high nibbles are junk
    for (int i = 0; i < (block == in.bitmap ? 8000 : 1000); ++i) block[i] = static_cast<unsigned char>(random());
  in.background = 5;
  const PictureData out = reencoded(in);
  const PictureData again = reencoded(in);
  EXPECT_EQ(std::memcmp(&out, &again, sizeof out), 0);

  const std::string path = shared_data("pictures/koala-1.kla");
  SKIP_WITHOUT_SHARED(path);
  GdkPixbuf *image = nullptr;
  ASSERT_EQ(hiresdecoder_decode_hires_screen_file(path.c_str(), 0, &image, &in, nullptr), 1);
  g_object_unref(image);
  ASSERT_GE(in.format, 6u);
  reencoded(in);
}

TEST(Reencode, SameThreeColoursInShuffledSourcesComeOutIdentical) {
  PictureData in{};
  in.background = 0x10;  // only the low nibble counts
  const int orders[3][3] = {{12, 3, 7}, {7, 12, 3}, {3, 7, 12}};
  for (int cell = 0; cell < 1000; ++cell) {
    const int *o = orders[cell % 3];
    set_cell(in, cell, o[0], o[1], o[2], 0x1B);  // pairs 00 01 10 11
  }
  const PictureData out = reencoded(in);
  EXPECT_EQ(out.background, 0);
  for (int cell = 0; cell < 1000; ++cell) {
    ASSERT_EQ(out.screen[cell], 0x37) << cell;
    ASSERT_EQ(out.color[cell], 0x0C) << cell;
  }
}

TEST(Reencode, EmptyCellsAndSlotHistory) {
  struct Case {
    const char *name;
    int first[3];  // sources of cell 0 (0 is the background)
    unsigned char first_row;
    int second[3];  // and of cell 1
    unsigned char second_row;
    unsigned char screen0, color0, screen1, color1, row1;
  };
  const Case cases[] = {
      {"all background", {0, 0, 0}, 0x00, {0, 0, 0}, 0x00, 0xDD, 0x0D, 0xDD, 0x0D, 0x00},
      {"single colour 2, then empty", {0, 2, 0}, 0x20, {0, 0, 0}, 0x00, 0x2D, 0x0D, 0x2D, 0x0D, 0x00},
      // 4 6 9, then 9 and 8: 8 lands in slot 1 and is exchanged with the unused 6.
      {"4 6 9 then 9 8", {9, 6, 4}, 0x6C, {9, 8, 0}, 0x60, 0x46, 0x09, 0x68, 0x09, 0xE0},
      // 2 5 9, then 9 and 5: both stay where they are.
      {"2 5 9 then 9 5", {5, 9, 2}, 0x6C, {5, 9, 0}, 0x90, 0x25, 0x09, 0x25, 0x09, 0xE0},
  };
  for (const Case &c : cases) {
    SCOPED_TRACE(c.name);
    PictureData in{};
    set_cell(in, 0, c.first[0], c.first[1], c.first[2], c.first_row);
    set_cell(in, 1, c.second[0], c.second[1], c.second[2], c.second_row);
    const PictureData out = reencoded(in);
    EXPECT_EQ(out.screen[0], c.screen0);
    EXPECT_EQ(out.color[0], c.color0);
    EXPECT_EQ(out.screen[1], c.screen1);
    EXPECT_EQ(out.color[1], c.color1);
    EXPECT_EQ(out.bitmap[8], c.row1);
    EXPECT_EQ(out.screen[999], c.screen1);  // empty cells keep the last sources
  }
}
