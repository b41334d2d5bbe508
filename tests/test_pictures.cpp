// The character sets, picture files and the re-encoding (pictures as a C64 shows them: exports).
#include <cstring>
#include <filesystem>
#include <map>

#include "c64pixbufs.h"
#include "hiresdecoder.h"
#include "pixbufs.h"
#include "reencode.h"
#include "state.h"
#include "testutil.h"

namespace {

// Row y of a character cell as a byte (bit 7 leftmost), set where it shows `ink`.
unsigned int row_bits(GdkPixbuf *image, int y, unsigned int ink) {
  unsigned int bits = 0;
  for (int x = 0; x < 8; x++) bits |= pixel_at(image, x, y) == ink ? 0x80 >> x : 0;
  return bits;
}

// Pixels of an image that differ from another's (all of them when the sizes differ).
int differing_pixels(GdkPixbuf *a, GdkPixbuf *b) {
  const int width = gdk_pixbuf_get_width(a), height = gdk_pixbuf_get_height(a);
  if (width != gdk_pixbuf_get_width(b) || height != gdk_pixbuf_get_height(b)) return width * height;
  int differing = 0;
  for (int y = 0; y < height; y++)
    for (int x = 0; x < width; x++) differing += pixel_at(a, x, y) != pixel_at(b, x, y);
  return differing;
}

std::vector<unsigned char> header(unsigned int load, size_t size) {
  std::vector<unsigned char> file(size, 0);
  file[0] = load & 0xff;
  file[1] = load >> 8;
  return file;
}

class Decoder : public ::testing::Test {
 protected:
  void SetUp() override { c64pixbufs_module_init(); }
  void TearDown() override {
    g_clear_object(&image);
    g_clear_error(&error);
  }
  int decode(const std::string &path, unsigned int format, PictureData *into) {
    TearDown();
    return hiresdecoder_decode_hires_screen_file(path.c_str(), format, &image, into, &error);
  }
  int decode(const std::vector<unsigned char> &bytes, unsigned int format, PictureData *into) {
    write_file(dir.file("pic.prg"), bytes);
    return decode(dir.file("pic.prg"), format, into);
  }
  TempDir dir;
  PictureData record{};
  GdkPixbuf *image = nullptr;
  GError *error = nullptr;
};

// Re-encodes `in`, checking that it stays as it was and that the result shows the same image.
PictureData reencoded(const PictureData &in) {
  const PictureData before = in;
  PictureData out{};
  reencode_process_picture_mc(&in, &out);
  EXPECT_EQ(std::memcmp(&before, &in, sizeof in), 0);
  GdkPixbuf *a = pixbufs_new_from_hires_opaque(in.bitmap, in.screen, in.color, in.background, 40, 25);
  GdkPixbuf *b = pixbufs_new_from_hires_opaque(out.bitmap, out.screen, out.color, out.background, 40, 25);
  EXPECT_EQ(differing_pixels(a, b), 0);
  g_object_unref(a);
  g_object_unref(b);
  return out;
}

}  // namespace

// Codes 0..127 the ROM's glyphs, 128..255 reversed, but row 6 of a reversed '@' is row 2 of '@'.
TEST(Charset, GlyphsMatchTheCharacterRom) {
  const std::string path = shared_data("c64-chargen-901225-01.bin");
  if (path.empty()) GTEST_SKIP() << "shared data not available";
  const std::string rom = read_text(path);
  ASSERT_EQ(rom.size(), 4096u);
  c64pixbufs_module_init();
  const unsigned int ink = rgb_of(14);
  for (int base : {0, 2048}) {
    for (int code = 0; code < 256; code++) {
      GdkPixbuf *glyph =
          base ? c64pixbufs_get_lowercase_char_at_index(code) : c64pixbufs_get_uppercase_char_at_index(code);
      for (int r = 0; r < 8; r++) {
        const unsigned char plain = rom[base + (code == 128 && r == 5 ? 1 : (code & 127) * 8 + r)];
        EXPECT_EQ(row_bits(glyph, r, ink), code < 128 ? plain : plain ^ 0xFFu)
            << "set " << base << " code " << code << " row " << r;
      }
    }
  }
}

// The samples decode with the format their extension names; the pairs holding one picture in two
// formats agree; re-encoding keeps the image; a preview (no record) writes no record.
TEST_F(Decoder, SamplePictures) {
  const std::string folder = shared_data("pictures");
  if (folder.empty()) GTEST_SKIP() << "shared data not available";
  const std::map<std::string, unsigned int> by_extension = {
      {".kla", 7}, {".koa", 7}, {".aas", 2}, {".art", 2},  {".ip64h", 3}, {".dd", 5},
      {".vid", 6}, {".a64", 8}, {".ocp", 9}, {".mpic", 9}, {".pi", 10},
  };
  std::map<std::string, std::pair<PictureData, GdkPixbuf *>> decoded;  // by name
  for (const auto &entry : std::filesystem::directory_iterator(folder)) {
    const auto found = by_extension.find(entry.path().extension().string());
    if (found == by_extension.end()) continue;
    SCOPED_TRACE(entry.path().string());
    record = PictureData{};
    ASSERT_EQ(decode(entry.path(), 0, &record), 1);
    EXPECT_EQ(record.format, found->second);
    if (record.format > 5) reencoded(record);
    decoded[entry.path().stem()] = {record, g_object_ref(image)};
  }
  EXPECT_EQ(decoded.size(), 20u);
  const PictureData &koala = decoded["koala-1"].first, &aas2 = decoded["aas2-1"].first;
  EXPECT_EQ(std::memcmp(koala.bitmap, aas2.bitmap, sizeof koala.bitmap + sizeof koala.screen + sizeof koala.color), 0);
  EXPECT_EQ(differing_pixels(decoded["artstudio-2"].second, decoded["interpaint-4"].second), 0);
  for (auto &[name, picture] : decoded) g_object_unref(picture.second);

  picture_data.format = 99;
  const PictureData before = picture_data;
  ASSERT_EQ(decode(folder + "/koala-1.kla", 0, nullptr), 1);
  EXPECT_EQ(memcmp(&picture_data, &before, sizeof before), 0);
}

// Image System, Doodle's shorter size, Koala's other load addresses, and PETSCII, whose byte 4
// chooses the character set (screen code 1 in white: row 2 is 0x66 in 'A', 0x3C in 'a').
TEST_F(Decoder, FormatsNoSampleHas) {
  for (auto [load, size, format] :
       {std::tuple{0x4000u, 9194u, 4u}, {0x5C00, 9217, 5}, {0x4000, 10003, 7}, {0x2000, 10003, 7}, {0x1928, 2005, 1}}) {
    EXPECT_EQ(decode(header(load, size), 0, &record), 1) << size;
    EXPECT_EQ(record.format, format) << size;
  }
  for (unsigned char charset : {1, 0}) {
    std::vector<unsigned char> bytes = header(0x1928, 2005);
    bytes[4] = charset;
    bytes[5] = bytes[1005] = 1;
    c64pixbuf_set_case(charset == 0 ? 0 : 1);  // start from the other case
    ASSERT_EQ(decode(bytes, 0, &record), 1);
    EXPECT_EQ(row_bits(image, 2, 0xFFFFFF), charset == 0 ? 0x66u : 0x3Cu) << int(charset);
    EXPECT_EQ(record.charset, charset);
  }
}

// Each failure has its own message and leaves the record untouched.
TEST_F(Decoder, RejectsUnknownAndMismatchedFiles) {
  std::memset(&record, 0xEE, sizeof record);
  const PictureData sentinel = record;
  for (auto [bytes, format, message] :
       {std::tuple<std::vector<unsigned char>, unsigned, const char *>{{}, 0, "Unknown picture format"},
        {header(0x6000, 10242), 0, "Unknown picture format"},  // 10242 bytes at neither $4000 nor $A000
        {header(0x5C00, 9000), 5, "Wrong file size\nExpected: 9218\nActual: 9000"},
        {header(0x5800, 10003), 7, "Wrong load address\nExpected: $6000\nActual: $5800"}}) {
    EXPECT_EQ(decode(bytes, format, &record), 0);
    ASSERT_TRUE(g_error_matches(error, G_FILE_ERROR, G_FILE_ERROR_FAILED));
    EXPECT_STREQ(error->message, message);
    EXPECT_EQ(memcmp(&record, &sentinel, sizeof record), 0);
  }
  // An unreadable file reports GLib's own error.
  EXPECT_EQ(decode(dir.file("missing.kla"), 0, &record), 0);
  EXPECT_TRUE(g_error_matches(error, G_FILE_ERROR, G_FILE_ERROR_NOENT));
}

// The first cell puts its colours in ascending order whatever held them, unused slots 13; later
// cells keep colours in the slots they had (the image itself: the export test).
TEST(Reencode, ColourOrderEmptySlotsAndSlotHistory) {
  // Per cell: screen high and low nibble, colour (0 is the background), first pixel row;
  // then the screen and colour bytes wanted for cells 0 and 1.
  const struct {
    int cells[2][4];
    unsigned char want[4];
  } cases[] = {
      {{{12, 3, 7, 0x1B}, {7, 12, 3, 0x1B}}, {0x37, 0x0C, 0x37, 0x0C}},  // pairs 00 01 10 11, shuffled sources
      {{{0, 0, 0, 0x00}, {0, 0, 0, 0x00}}, {0xDD, 0x0D, 0xDD, 0x0D}},    // background only
      {{{0, 2, 0, 0x20}, {0, 0, 0, 0x00}}, {0x2D, 0x0D, 0x2D, 0x0D}},    // a single colour 2
      {{{9, 6, 4, 0x6C}, {9, 8, 0, 0x60}}, {0x46, 0x09, 0x68, 0x09}},    // 8 takes the slot of the unused 6
      {{{5, 9, 2, 0x6C}, {5, 9, 0, 0x90}}, {0x25, 0x09, 0x25, 0x09}},    // 9 and 5 stay where they are
  };
  for (const auto &c : cases) {
    PictureData in{};
    for (int i = 0; i < 2; i++) {
      const auto &[high, low, colour, first_row] = c.cells[i];
      in.screen[i] = high << 4 | low, in.color[i] = colour, in.bitmap[8 * i] = first_row;
    }
    const PictureData out = reencoded(in);
    EXPECT_EQ((std::vector{out.screen[0], out.color[0], out.screen[1], out.color[1]}), std::vector(c.want, c.want + 4));
  }
}
