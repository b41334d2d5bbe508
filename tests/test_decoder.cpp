// Picture file recognition, the record it fills, its errors, and the real sample pictures.
#include <cstring>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "c64pixbufs.h"
#include "hiresdecoder.h"
#include "testutil.h"

namespace {

constexpr int NONE = -1;
constexpr unsigned int white = 0xFFFFFF, red = 0x68372B, green = 0x588D43, yellow = 0xB8C76F;

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
  std::string file(const std::vector<unsigned char> &bytes) {
    write_file(dir.file("pic.prg"), bytes);
    return dir.file("pic.prg");
  }
  int decode(const std::string &path, unsigned int format, PictureData *into) {
    TearDown();
    return hiresdecoder_decode_hires_screen_file(path.c_str(), format, &image, into, &error);
  }
  // Decoding must fail with exactly `message` and leave the record untouched.
  void expect_failure(const std::vector<unsigned char> &bytes, unsigned int format, const char *message) {
    const PictureData before = record;
    EXPECT_EQ(decode(file(bytes), format, &record), 0);
    ASSERT_TRUE(g_error_matches(error, G_FILE_ERROR, G_FILE_ERROR_FAILED));
    EXPECT_STREQ(error->message, message);
    EXPECT_EQ(memcmp(&record, &before, sizeof record), 0);
  }
  TempDir dir;
  PictureData record = sentinel_record();
  GdkPixbuf *image = nullptr;
  GError *error = nullptr;
};

}  // namespace

// Every field lands in the record from its own offset (absent ones stay untouched, the
// border stays -1) and shows in the image.
TEST_F(Decoder, RecognisesEachFormatAndFillsItsFields) {
  for (const Format &f : formats) {
    SCOPED_TRACE("format " + std::to_string(f.format) + " size " + std::to_string(f.size));
    const std::vector<unsigned char> bytes = make_picture(f);
    record = sentinel_record();
    ASSERT_EQ(decode(file(bytes), 0, &record), 1) << (error ? error->message : "");
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

TEST_F(Decoder, RejectsUnknownAndMismatchedFiles) {
  expect_failure({}, 0, "Unknown picture format");
  expect_failure({0x00}, 0, "Unknown picture format");
  expect_failure(header(0x6000, 10242), 0, "Unknown picture format");  // 10242 bytes at neither $4000 nor $A000
  expect_failure(header(0x5C00, 9000), 5, "Wrong file size\nExpected: 9218\nActual: 9000");
  expect_failure(header(0x5800, 10003), 7, "Wrong load address\nExpected: $6000\nActual: $5800");
  expect_failure(header(0xA000, 10242), 8, "Wrong load address\nExpected: $4000\nActual: $A000");
  // An unreadable file reports GLib's own error.
  EXPECT_EQ(decode(dir.file("missing.kla"), 0, &record), 0);
  EXPECT_TRUE(g_error_matches(error, G_FILE_ERROR, G_FILE_ERROR_NOENT));
}

// A hires picture read after a multicolour one keeps its colour memory and background;
// a preview (no record) writes no record at all.
TEST_F(Decoder, HiresKeepsMulticolourFieldsAndPreviewsWriteNothing) {
  const std::vector<unsigned char> koala = make_picture(formats[6]);
  ASSERT_EQ(decode(file(koala), 0, &record), 1);
  ASSERT_EQ(decode(file(make_picture(formats[1])), 0, &record), 1);
  EXPECT_EQ(record.format, 2u);
  EXPECT_EQ(record.background, 0x07);
  EXPECT_EQ(memcmp(record.color, koala.data() + 9002, 1000), 0);
  picture_data = sentinel_record();
  const PictureData before = picture_data;
  ASSERT_EQ(decode(file(koala), 0, nullptr), 1);
  EXPECT_EQ(memcmp(&picture_data, &before, sizeof before), 0);
}

TEST_F(Decoder, PetsciiCharsetByteSelectsTheCase) {
  // Screen code 1 in white: row 2 is 0x66 in 'A' and 0x3C in 'a'.
  for (unsigned char charset : {1, 0}) {
    std::vector<unsigned char> bytes = make_picture(formats[0]);
    bytes[4] = charset;
    bytes[5] = bytes[1005] = 1;
    c64pixbuf_set_case(charset == 0 ? 0 : 1);  // start from the other case
    ASSERT_EQ(decode(file(bytes), 0, &record), 1);
    unsigned int bits = 0;
    for (int x = 0; x < 8; x++) bits |= pixel_at(image, x, 2) == white ? 0x80 >> x : 0;
    EXPECT_EQ(bits, charset == 0 ? 0x66u : 0x3Cu) << int(charset);
    EXPECT_EQ(record.charset, charset);
  }
}

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
    decoded++;
  }
  EXPECT_GT(decoded, 0);
}
