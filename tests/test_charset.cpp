// The compiled-in character sets against the character ROM (the case switch is tested
// through the decoder's character set byte).
#include <array>

#include "c64pixbufs.h"
#include "testutil.h"

namespace {

using Rows = std::array<unsigned char, 8>;

// The row bytes of a glyph image (bit 7 leftmost), set where it shows light blue.
Rows glyph_rows(GdkPixbuf *glyph) {
  Rows rows{};
  for (int y = 0; y < 8; y++)
    for (int x = 0; x < 8; x++) rows[y] |= pixel_at(glyph, x, y) == 0x6C5EB5 ? 0x80 >> x : 0;
  return rows;
}

}  // namespace

// In both sets codes 0..127 are the ROM's glyphs and 128..255 their reverse, except that
// the reversed '@' takes its sixth row from the second row of '@', as in the ROM.
TEST(Charset, GlyphsMatchTheCharacterRom) {
  const std::string path = shared_data("c64-chargen-901225-01.bin");
  SKIP_WITHOUT_SHARED(path);
  const std::string rom = read_text(path);
  ASSERT_EQ(rom.size(), 4096u);
  c64pixbufs_module_init();
  for (int base : {0, 2048}) {
    for (int code = 0; code < 256; code++) {
      const Rows rows = glyph_rows(base ? c64pixbufs_get_lowercase_char_at_index(code)
                                        : c64pixbufs_get_uppercase_char_at_index(code));
      for (int r = 0; r < 8; r++) {
        const unsigned char plain = rom[base + (code == 128 && r == 5 ? 1 : (code & 127) * 8 + r)];
        EXPECT_EQ(rows[r], code < 128 ? plain : static_cast<unsigned char>(~plain))
            << "set " << base << " code " << code << " row " << r;
      }
    }
  }
}
