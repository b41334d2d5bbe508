// Pictures: the four palettes and their lookups, the rendering of multicolour and hires
// cells, the character sets against the character ROM, picture files (recognition, the
// record they fill, their errors and the real sample pictures) and the multicolour
// re-encoding. Colours are Pepto's.
#include <array>
#include <cstring>
#include <filesystem>
#include <functional>
#include <map>
#include <random>

#include "c64pixbufs.h"
#include "hiresdecoder.h"
#include "options.h"
#include "palette.h"
#include "pixbufs.h"
#include "reencode.h"
#include "state.h"
#include "testutil.h"

namespace {

constexpr unsigned int black = 0x000000, white = 0xFFFFFF, red = 0x68372B, green = 0x588D43, yellow = 0xB8C76F,
                       light_blue = 0x6C5EB5;

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

// Checks every pixel of `image` against `want(x, y)`.
void expect_image(GdkPixbuf *image, int width, int height, const std::function<unsigned int(int, int)> &want) {
  ASSERT_EQ(std::pair(gdk_pixbuf_get_width(image), gdk_pixbuf_get_height(image)), std::pair(width, height));
  for (int y = 0; y < height; y++)
    for (int x = 0; x < width; x++) ASSERT_EQ(pixel_at(image, x, y), want(x, y)) << "at " << x << "," << y;
  g_object_unref(image);
}

// Row y of a character cell as a byte (bit 7 leftmost), set where it shows `ink`.
unsigned int row_bits(GdkPixbuf *image, int y, unsigned int ink) {
  unsigned int bits = 0;
  for (int x = 0; x < 8; x++) bits |= pixel_at(image, x, y) == ink ? 0x80 >> x : 0;
  return bits;
}

constexpr int NONE = -1;

// One file per format: load address, size, and the file offset of each field.
struct Format {
  unsigned int format, load;
  size_t size;
  int bitmap, screen, color, background, border;
};
// Rows 11..13: the other size Doodle files come in, and the other load addresses of Koala files.
const Format formats[] = {
    {1, 0x1928, 2005, NONE, 5, 1005, 3, 2},         {2, 0x2000, 9009, 2, 8002, NONE, NONE, 9002},
    {3, 0x4000, 9002, 2, 8002, NONE, NONE, NONE},   {4, 0x4000, 9194, 2, 8194, NONE, NONE, NONE},
    {5, 0x5C00, 9218, 1026, 2, NONE, NONE, NONE},   {6, 0x5800, 10050, 2050, 1026, 2, 2026, NONE},
    {7, 0x6000, 10003, 2, 8002, 9002, 10002, NONE}, {8, 0x4000, 10242, 2, 8194, 9218, 10241, NONE},
    {9, 0x2000, 10018, 2, 8002, 9018, 9003, 9002},  {10, 0xA000, 10242, 2, 8194, 9218, 8066, NONE},
    {5, 0x5C00, 9217, 1026, 2, NONE, NONE, NONE},   {7, 0x4000, 10003, 2, 8002, 9002, 10002, NONE},
    {7, 0x2000, 10003, 2, 8002, 9002, 10002, NONE},
};

std::vector<unsigned char> header(unsigned int load, size_t size) {
  std::vector<unsigned char> file(size, 0);
  file[0] = load & 0xff;
  file[1] = load >> 8;
  return file;
}

// A file of format `f` with varied blocks; its first three cells show white / red / red (hires),
// green / yellow / white (multicolour: colour, background, screen high) or green / yellow (PETSCII).
std::vector<unsigned char> make_picture(const Format &f) {
  std::vector<unsigned char> file = header(f.load, f.size);
  if (f.bitmap != NONE)
    for (int i = 0; i < 8000; i++) file.at(f.bitmap + i) = i < 8 ? 0xFF : i < 16 ? 0x00 : i < 24 ? 0x55 : i * 13 + 5;
  for (int i = 0; i < 1000; i++) file.at(f.screen + i) = i >= 3 ? i * 7 + 3 : f.bitmap != NONE ? 0x12 : i ? 32 : 160;
  if (f.color != NONE)
    for (int i = 0; i < 1000; i++) file.at(f.color + i) = i ? i * 11 + 1 : 0xA5;  // the high nibble must not matter
  if (f.background != NONE) file.at(f.background) = 0x07;
  if (f.border != NONE) file.at(f.border) = 0xEB;
  return file;
}

// A record that shows which fields the decoder wrote: all bytes 0xEE, border -1.
PictureData sentinel_record() {
  PictureData r;
  memset(&r, 0xEE, sizeof r);
  r.border = -1;
  return r;
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
  // Decodes `bytes` written to a file.
  int decode(const std::vector<unsigned char> &bytes, unsigned int format, PictureData *into) {
    write_file(dir.file("pic.prg"), bytes);
    return decode(dir.file("pic.prg"), format, into);
  }
  TempDir dir;
  PictureData record = sentinel_record();
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
  EXPECT_EQ(std::memcmp(gdk_pixbuf_get_pixels(a), gdk_pixbuf_get_pixels(b), gdk_pixbuf_get_rowstride(a) * 200), 0);
  g_object_unref(a);
  g_object_unref(b);
  return out;
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

// Multicolour pairs 00 / 01 / 10 / 11 show background / screen high / screen low / colour low
// nibble, two pixels wide (cell 4 holds one pair of each). Without colour memory set bits show
// the screen high nibble, clear bits the low one: one white pixel in cell 3.
TEST(Renderer, CellsPickTheirColours) {
  const unsigned char fill[] = {0x00, 0x55, 0xAA, 0xFF, 0x1B};
  std::vector<unsigned char> bitmap(5 * 8), screen(5, 0x2E), color(5, 0xF5);
  for (size_t i = 0; i < bitmap.size(); i++) bitmap[i] = fill[i / 8];
  const unsigned int colours[] = {yellow, red, light_blue, green};
  expect_image(pixbufs_new_from_hires_opaque(bitmap.data(), screen.data(), color.data(), 0x17, 5, 1), 40, 8,
               [&](int x, int) { return colours[fill[x / 8] >> (6 - x % 8 / 2 * 2) & 3]; });
  std::fill(bitmap.begin(), bitmap.end(), 0x00), std::fill(screen.begin(), screen.end(), 0x00);
  screen[3] = 0x10;
  bitmap[3 * 8 + 2] = 0x80;
  expect_image(pixbufs_new_from_hires_opaque(bitmap.data(), screen.data(), nullptr, 5, 2, 2), 16, 16,
               [](int x, int y) { return x == 8 && y == 10 ? white : black; });
}

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
      GdkPixbuf *glyph =
          base ? c64pixbufs_get_lowercase_char_at_index(code) : c64pixbufs_get_uppercase_char_at_index(code);
      for (int r = 0; r < 8; r++) {
        const unsigned char plain = rom[base + (code == 128 && r == 5 ? 1 : (code & 127) * 8 + r)];
        EXPECT_EQ(row_bits(glyph, r, light_blue), code < 128 ? plain : plain ^ 0xFFu)
            << "set " << base << " code " << code << " row " << r;
      }
    }
  }
}

// Every field lands in the record from its own offset (absent ones stay untouched, the
// border stays -1) and shows in the image.
TEST_F(Decoder, RecognisesEachFormatAndFillsItsFields) {
  for (const Format &f : formats) {
    SCOPED_TRACE("format " + std::to_string(f.format) + " size " + std::to_string(f.size));
    const std::vector<unsigned char> bytes = make_picture(f);
    record = sentinel_record();
    ASSERT_EQ(decode(bytes, 0, &record), 1) << (error ? error->message : "");
    EXPECT_EQ(record.format, f.format);
    for (auto [field, n, at] :
         {std::tuple{record.bitmap, 8000, f.bitmap}, {record.screen, 1000, f.screen}, {record.color, 1000, f.color}})
      EXPECT_EQ(std::vector(field, field + n),
                at == NONE ? std::vector<unsigned char>(n, 0xEE) : std::vector(&bytes[at], &bytes[at] + n))
          << "block at " << at;
    EXPECT_EQ(record.background, f.background == NONE ? 0xEE : 0x07);
    EXPECT_EQ(record.border, f.border == NONE ? -1 : 0xEB);
    ASSERT_EQ(std::pair(gdk_pixbuf_get_width(image), gdk_pixbuf_get_height(image)), std::pair(320, 200));
    const std::vector<unsigned int> want = f.format == 1     ? std::vector{green, yellow, yellow}
                                           : f.color == NONE ? std::vector{white, red, red}
                                                             : std::vector{green, yellow, white};
    EXPECT_EQ((std::vector{pixel_at(image, 0, 0), pixel_at(image, 8, 0), pixel_at(image, 16, 0)}), want);
  }
}

// Each failure has its own message and leaves the record untouched.
TEST_F(Decoder, RejectsUnknownAndMismatchedFiles) {
  const PictureData sentinel = record;
  for (auto [bytes, format, message] :
       {std::tuple<std::vector<unsigned char>, unsigned, const char *>{{}, 0, "Unknown picture format"},
        {{0x00}, 0, "Unknown picture format"},
        {header(0x6000, 10242), 0, "Unknown picture format"},  // 10242 bytes at neither $4000 nor $A000
        {header(0x5C00, 9000), 5, "Wrong file size\nExpected: 9218\nActual: 9000"},
        {header(0x5800, 10003), 7, "Wrong load address\nExpected: $6000\nActual: $5800"},
        {header(0xA000, 10242), 8, "Wrong load address\nExpected: $4000\nActual: $A000"}}) {
    EXPECT_EQ(decode(bytes, format, &record), 0);
    ASSERT_TRUE(g_error_matches(error, G_FILE_ERROR, G_FILE_ERROR_FAILED));
    EXPECT_STREQ(error->message, message);
    EXPECT_EQ(memcmp(&record, &sentinel, sizeof record), 0);
  }
  // An unreadable file reports GLib's own error.
  EXPECT_EQ(decode(dir.file("missing.kla"), 0, &record), 0);
  EXPECT_TRUE(g_error_matches(error, G_FILE_ERROR, G_FILE_ERROR_NOENT));
}

// A hires picture read after a multicolour one keeps its colour memory and background;
// a preview (no record) writes no record at all.
TEST_F(Decoder, HiresKeepsMulticolourFieldsAndPreviewsWriteNothing) {
  const std::vector<unsigned char> koala = make_picture(formats[6]);
  ASSERT_EQ(decode(koala, 0, &record), 1);
  ASSERT_EQ(decode(make_picture(formats[1]), 0, &record), 1);
  EXPECT_EQ(record.format, 2u);
  EXPECT_EQ(record.background, 0x07);
  EXPECT_EQ(memcmp(record.color, koala.data() + 9002, 1000), 0);
  picture_data = sentinel_record();
  const PictureData before = picture_data;
  ASSERT_EQ(decode(koala, 0, nullptr), 1);
  EXPECT_EQ(memcmp(&picture_data, &before, sizeof before), 0);
}

// The PETSCII charset byte selects the case: screen code 1 in white, row 2 is 0x66 in 'A' and
// 0x3C in 'a'.
TEST_F(Decoder, PetsciiCharsetByteSelectsTheCase) {
  for (unsigned char charset : {1, 0}) {
    std::vector<unsigned char> bytes = make_picture(formats[0]);
    bytes[4] = charset;
    bytes[5] = bytes[1005] = 1;
    c64pixbuf_set_case(charset == 0 ? 0 : 1);  // start from the other case
    ASSERT_EQ(decode(bytes, 0, &record), 1);
    EXPECT_EQ(row_bits(image, 2, white), charset == 0 ? 0x66u : 0x3Cu) << int(charset);
    EXPECT_EQ(record.charset, charset);
  }
}

// The sample pictures decode with the format their extension names; re-encoding the
// multicolour ones keeps their image.
TEST_F(Decoder, RealPicturesDecodeWithTheirFormat) {
  const std::string folder = shared_data("pictures");
  SKIP_WITHOUT_SHARED(folder);
  const std::map<std::string, unsigned int> by_extension = {
      {".kla", 7}, {".koa", 7}, {".aas", 2}, {".art", 2},  {".ip64h", 3}, {".dd", 5},
      {".vid", 6}, {".a64", 8}, {".ocp", 9}, {".mpic", 9}, {".pi", 10},
  };
  int decoded = 0;
  for (const auto &entry : std::filesystem::directory_iterator(folder)) {
    const auto found = by_extension.find(entry.path().extension().string());
    if (found == by_extension.end()) continue;
    record = sentinel_record();
    EXPECT_EQ(decode(entry.path(), 0, &record), 1) << entry.path();
    EXPECT_EQ(record.format, found->second) << entry.path();
    if (record.format > 5) reencoded(record);
    decoded++;
  }
  EXPECT_GT(decoded, 0);
}

// Random bytes look the same re-encoded. The first cell puts its colours in ascending order
// whatever sources held them and fills unused slots with 13; later cells keep colours in the
// slots they had.
TEST(Reencode, ColourOrderEmptySlotsAndSlotHistory) {
  PictureData random_picture{};
  std::mt19937 random(1234);
  for (auto &byte : random_picture.bitmap) byte = static_cast<unsigned char>(random());
  for (int i = 0; i < 1000; ++i)  // the colour bytes' high nibbles are junk
    random_picture.screen[i] = random(), random_picture.color[i] = random();
  random_picture.background = 5;
  reencoded(random_picture);
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
      in.screen[i] = high << 4 | low, in.color[i] = colour, in.bitmap[8 * i] = first_row;
    }
    const PictureData out = reencoded(in);
    EXPECT_EQ((std::vector{out.screen[0], out.color[0], out.screen[1], out.color[1]}), std::vector(c.want, c.want + 4));
  }
}
