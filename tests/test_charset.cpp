// The compiled-in character sets against the character ROM, and the case switch.
#include <array>
#include <fstream>
#include <iterator>
#include <vector>

#include "c64pixbufs.h"
#include "testutil.h"

namespace {

constexpr unsigned int glyph_back = 0x352879, glyph_front = 0x6C5EB5;

// The eight row bytes of a glyph image (bit 7 = leftmost pixel); a pixel in any
// colour but the two glyph colours fails the test.
std::array<unsigned char, 8> glyph_rows(GdkPixbuf *glyph) {
  std::array<unsigned char, 8> rows{};
  EXPECT_EQ(gdk_pixbuf_get_width(glyph), 8);
  EXPECT_EQ(gdk_pixbuf_get_height(glyph), 8);
  for (int y = 0; y < 8; y++) {
    for (int x = 0; x < 8; x++) {
      const unsigned int p = pixel_at(glyph, x, y);
      EXPECT_TRUE(p == glyph_back || p == glyph_front) << std::hex << p;
      if (p == glyph_front) rows[y] |= 0x80 >> x;
    }
  }
  return rows;
}

using Rows = std::array<unsigned char, 8>;
const Rows upper_A = {0x18, 0x3C, 0x66, 0x7E, 0x66, 0x66, 0x66, 0x00};
const Rows lower_a = {0x00, 0x00, 0x3C, 0x06, 0x3E, 0x66, 0x3E, 0x00};

}  // namespace

TEST(Charset, StartsUpperCaseAndInitTwiceKeepsTheGlyphs) {
  EXPECT_EQ(set_uppercase, 1);
  c64pixbufs_module_init();
  GdkPixbuf *whole = uppercase_fonts;
  GdkPixbuf *glyph = lowercase_font_array[200];
  ASSERT_NE(whole, nullptr);
  ASSERT_NE(glyph, nullptr);
  c64pixbufs_module_init();
  EXPECT_EQ(uppercase_fonts, whole);
  EXPECT_EQ(lowercase_font_array[200], glyph);
  EXPECT_EQ(gdk_pixbuf_get_width(uppercase_fonts), 256);
  EXPECT_EQ(gdk_pixbuf_get_height(lowercase_fonts), 64);
}

TEST(Charset, GlyphsMatchTheCharacterRom) {
  const std::string path = shared_data("c64-chargen-901225-01.bin");
  SKIP_WITHOUT_SHARED(path);
  std::ifstream in(path, std::ios::binary);
  const std::vector<unsigned char> rom{std::istreambuf_iterator<char>(in), {}};
  ASSERT_EQ(rom.size(), 4096u);
  c64pixbufs_module_init();

  struct {
    const char *name;
    GdkPixbuf *(*get)(int);
    size_t base;
  } sets[] = {{"upper", c64pixbufs_get_uppercase_char_at_index, 0},
              {"lower", c64pixbufs_get_lowercase_char_at_index, 2048}};
  for (const auto &set : sets) {
    for (int code = 0; code < 256; code++) {
      SCOPED_TRACE(std::string(set.name) + " code " + std::to_string(code));
      const Rows rows = glyph_rows(set.get(code));
      for (int r = 0; r < 8; r++) {
        const unsigned char plain = rom[set.base + (code & 127) * 8 + r];
        unsigned char want = code < 128 ? plain : static_cast<unsigned char>(~plain);
        // The ROM's reversed '@' takes its sixth row from the second row of '@'.
        if (code == 128 && r == 5) want = static_cast<unsigned char>(~rom[set.base + 1]);
        EXPECT_EQ(rows[r], want) << "row " << r;
      }
    }
  }
}

TEST(Charset, CaseSelectsTheSet) {
  c64pixbufs_module_init();
  c64pixbuf_set_case(1);
  EXPECT_EQ(glyph_rows(c64pixbufs_get_char_at_index(1)), upper_A);
  EXPECT_EQ(c64pixbufs_get_char_at_index(257), c64pixbufs_get_uppercase_char_at_index(1));
  c64pixbuf_set_case(0);
  EXPECT_EQ(glyph_rows(c64pixbufs_get_char_at_index(1)), lower_a);
  EXPECT_EQ(c64pixbufs_get_char_at_index(-255), c64pixbufs_get_lowercase_char_at_index(1));
  // The named getters ignore the case in force.
  EXPECT_EQ(glyph_rows(c64pixbufs_get_uppercase_char_at_index(1)), upper_A);
  c64pixbuf_set_case(1);
  EXPECT_EQ(glyph_rows(c64pixbufs_get_lowercase_char_at_index(1)), lower_a);
}
