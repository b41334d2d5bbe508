// Multicolour re-encoding: same image, regular colour sources, slot history across cells.
#include <cstring>
#include <memory>
#include <random>

#include "pixbufs.h"
#include "reencode.h"
#include "testutil.h"

namespace {

std::unique_ptr<PictureData> blank_picture(unsigned char background) {
  auto p = std::make_unique<PictureData>();
  std::memset(p.get(), 0, sizeof(PictureData));
  p->background = background;
  p->format = 6;
  return p;
}

// Cell `cell` with its three sources and its first pixel row; the other rows stay 00.
void set_cell(PictureData &p, int cell, int high, int low, int colour, unsigned char first_row) {
  p.screen[cell] = static_cast<unsigned char>(high << 4 | low);
  p.color[cell] = static_cast<unsigned char>(colour);
  p.bitmap[cell * 8] = first_row;
}

std::unique_ptr<PictureData> reencoded(const PictureData &in) {
  auto out = blank_picture(0xEE);
  reencode_process_picture_mc(&in, out.get());
  return out;
}

void expect_same_image(const PictureData &a, const PictureData &b) {
  GdkPixbuf *x = pixbufs_new_from_hires_opaque(a.bitmap, a.screen, a.color, a.background, 40, 25);
  GdkPixbuf *y = pixbufs_new_from_hires_opaque(b.bitmap, b.screen, b.color, b.background, 40, 25);
  ASSERT_TRUE(x && y);
  const int size = gdk_pixbuf_get_rowstride(x) * 200;
  EXPECT_EQ(std::memcmp(gdk_pixbuf_get_pixels(x), gdk_pixbuf_get_pixels(y), size), 0);
  g_object_unref(x);
  g_object_unref(y);
}

}  // namespace

TEST(Reencode, RandomPictureLooksTheSameInputUntouchedAndRepeatable) {
  auto in = blank_picture(5);
  std::mt19937 random(1234);
  for (auto &b : in->bitmap) b = static_cast<unsigned char>(random());
  for (auto &b : in->screen) b = static_cast<unsigned char>(random());
  for (auto &b : in->color) b = static_cast<unsigned char>(random());  // high nibble is junk
  const PictureData before = *in;

  auto out = reencoded(*in);
  expect_same_image(*in, *out);
  EXPECT_EQ(std::memcmp(&before, in.get(), sizeof(PictureData)), 0);
  auto again = reencoded(*in);
  EXPECT_EQ(std::memcmp(out->bitmap, again->bitmap, 8000), 0);
  EXPECT_EQ(std::memcmp(out->screen, again->screen, 1000), 0);
  EXPECT_EQ(std::memcmp(out->color, again->color, 1000), 0);
  for (auto c : out->color) ASSERT_LT(c, 16);
}

TEST(Reencode, RealKoalaPictureLooksTheSame) {
  const std::string path = shared_data("pictures/koala-1.kla");
  SKIP_WITHOUT_SHARED(path);
  auto in = blank_picture(0);
  GdkPixbuf *image = nullptr;
  GError *error = nullptr;
  ASSERT_EQ(hiresdecoder_decode_hires_screen_file(path.c_str(), 0, &image, in.get(), &error), 1);
  g_object_unref(image);
  ASSERT_GE(in->format, 6u);
  auto out = reencoded(*in);
  expect_same_image(*in, *out);
  EXPECT_EQ(out->background, in->background & 15);
}

TEST(Reencode, SameThreeColoursInShuffledSourcesComeOutIdentical) {
  auto in = blank_picture(0x10);  // only the low nibble counts
  const int colours[3] = {12, 3, 7};
  const int orders[3][3] = {{0, 1, 2}, {2, 0, 1}, {1, 2, 0}};
  for (int cell = 0; cell < 1000; ++cell) {
    const int *o = orders[cell % 3];
    set_cell(*in, cell, colours[o[0]], colours[o[1]], colours[o[2]], 0x1B);  // pairs 00 01 10 11
  }
  auto out = reencoded(*in);
  expect_same_image(*in, *out);
  EXPECT_EQ(out->background, 0);
  for (int cell = 0; cell < 1000; ++cell) {
    ASSERT_EQ(out->screen[cell], 0x37) << cell;
    ASSERT_EQ(out->color[cell], 0x0C) << cell;
  }
}

TEST(Reencode, EmptyCellsAndSlotHistory) {
  struct Case {
    const char *name;
    int first[3];  // sources of cell 0 (0 = background here)
    unsigned char first_row;
    int second[3];  // sources of cell 1
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
    auto in = blank_picture(0);
    set_cell(*in, 0, c.first[0], c.first[1], c.first[2], c.first_row);
    set_cell(*in, 1, c.second[0], c.second[1], c.second[2], c.second_row);
    auto out = reencoded(*in);
    expect_same_image(*in, *out);
    EXPECT_EQ(out->screen[0], c.screen0);
    EXPECT_EQ(out->color[0], c.color0);
    EXPECT_EQ(out->screen[1], c.screen1);
    EXPECT_EQ(out->color[1], c.color1);
    EXPECT_EQ(out->bitmap[8], c.row1);
    // The rest of the picture is background only and keeps the last cell's sources.
    EXPECT_EQ(out->screen[999], c.screen1);
    EXPECT_EQ(out->bitmap[7999], 0);
  }
}
