// Picture file recognition, the record it fills, the errors it reports, and the real
// sample pictures.
#include <cstring>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "c64pixbufs.h"
#include "hiresdecoder.h"
#include "options.h"
#include "testutil.h"

namespace {

constexpr int NONE = -1;

// Where each format keeps its fields (file offsets, load address included), by format number.
struct Layout {
  int bitmap, screen, color, background, border;
};
const std::map<unsigned int, Layout> layouts = {
    {1, {NONE, 5, 1005, 3, 2}},        {2, {2, 8002, NONE, NONE, 9002}},  {3, {2, 8002, NONE, NONE, NONE}},
    {4, {2, 8194, NONE, NONE, NONE}},  {5, {1026, 2, NONE, NONE, NONE}},  {6, {2050, 1026, 2, 2026, NONE}},
    {7, {2, 8002, 9002, 10002, NONE}}, {8, {2, 8194, 9218, 10241, NONE}}, {9, {2, 8002, 9018, 9003, 9002}},
    {10, {2, 8194, 9218, 8066, NONE}},
};

std::vector<unsigned char> header(unsigned int load, size_t size) {
  std::vector<unsigned char> file(size, 0);
  file[0] = load & 0xff;
  file[1] = load >> 8;
  return file;
}

// Pepto colours of the test pictures.
constexpr unsigned int white = 0xFFFFFF, red = 0x68372B, green = 0x588D43, blue = 0x352879, yellow = 0xB8C76F;

// A picture file for `layout` with distinctive contents: the first three cells render
// as (hires) white / red / red or (multicolour) colour memory green / background
// yellow / screen high nibble white or (PETSCII) green reversed space / yellow space.
std::vector<unsigned char> make_picture(const Layout &layout, unsigned int load, size_t size) {
  std::vector<unsigned char> file = header(load, size);
  auto at = [&](int offset, int i) -> unsigned char & { return file.at(offset + i); };
  if (layout.bitmap != NONE) {
    for (int i = 24; i < 8000; i++) at(layout.bitmap, i) = (i * 13 + 5) & 255;
    for (int r = 0; r < 8; r++) {
      at(layout.bitmap, r) = 0xFF;
      at(layout.bitmap, 8 + r) = 0x00;
      at(layout.bitmap, 16 + r) = 0x55;
    }
  }
  for (int i = 3; i < 1000; i++) at(layout.screen, i) = (i * 7 + 3) & 255;
  for (int i = 0; i < 3; i++) at(layout.screen, i) = layout.bitmap != NONE ? 0x12 : i == 0 ? 160 : 32;
  if (layout.color != NONE) {
    for (int i = 1; i < 1000; i++) at(layout.color, i) = (i * 11 + 1) & 255;
    at(layout.color, 0) = 0xA5;  // green; the high nibble must not matter
  }
  if (layout.background != NONE) file.at(layout.background) = 0x07;
  if (layout.border != NONE) file.at(layout.border) = 0xEB;
  return file;
}

struct Error {
  GError *e = nullptr;
  ~Error() {
    if (e) g_error_free(e);
  }
};
struct Pixbuf {
  Pixbuf() = default;
  Pixbuf(const Pixbuf &) = delete;
  GdkPixbuf *p = reinterpret_cast<GdkPixbuf *>(&p);  // not NULL: the decoder must clear it
  ~Pixbuf() {
    if (p && p != reinterpret_cast<GdkPixbuf *>(&p)) g_object_unref(p);
  }
};

PictureData sentinel_record() {
  PictureData r;
  memset(&r, 0xEE, sizeof r);
  r.border = -1;
  r.format = 0;
  return r;
}

class Decoder : public ::testing::Test {
 protected:
  void SetUp() override {
    options_palette = 0;
    c64pixbufs_module_init();
    c64pixbuf_set_case(1);
  }
  std::string write(const std::string &name, const std::vector<unsigned char> &bytes) {
    const std::string path = dir.file(name);
    write_file(path, bytes);
    return path;
  }
  // Decodes expecting failure with `message`; the record and the image stay untouched.
  void expect_failure(const std::vector<unsigned char> &bytes, unsigned int format, const std::string &message) {
    const std::string path = write("bad.prg", bytes);
    PictureData record = sentinel_record();
    const PictureData before = record;
    Pixbuf img;
    Error err;
    EXPECT_EQ(hiresdecoder_decode_hires_screen_file(path.c_str(), format, &img.p, &record, &err.e), 0);
    EXPECT_EQ(img.p, nullptr);
    ASSERT_NE(err.e, nullptr);
    EXPECT_EQ(err.e->domain, G_FILE_ERROR);
    EXPECT_EQ(err.e->code, G_FILE_ERROR_FAILED);
    EXPECT_EQ(std::string(err.e->message), message);
    EXPECT_EQ(memcmp(&record, &before, sizeof record), 0);
  }
  TempDir dir;
};

}  // namespace

TEST_F(Decoder, RecognisesEachFormatAndFillsItsFields) {
  struct {
    unsigned int format, load;
    size_t size;
  } cases[] = {
      {1, 0x1928, 2005},  {2, 0x2000, 9009},  {3, 0x4000, 9002},  {4, 0x4000, 9194},  {5, 0x5C00, 9218},
      {5, 0x5C00, 9217},  {6, 0x5800, 10050}, {7, 0x6000, 10003}, {7, 0x4000, 10003}, {7, 0x2000, 10003},
      {8, 0x4000, 10242}, {9, 0x2000, 10018}, {10, 0xA000, 10242},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE("format " + std::to_string(c.format) + " size " + std::to_string(c.size));
    const Layout &layout = layouts.at(c.format);
    const std::vector<unsigned char> file = make_picture(layout, c.load, c.size);
    const std::string path = write("pic.prg", file);
    PictureData record = sentinel_record();
    Pixbuf img;
    Error err;
    ASSERT_EQ(hiresdecoder_decode_hires_screen_file(path.c_str(), 0, &img.p, &record, &err.e), 1)
        << (err.e ? err.e->message : "");
    EXPECT_EQ(record.format, c.format);

    auto expect_block = [&](const unsigned char *field, size_t n, int offset) {
      if (offset == NONE)
        EXPECT_EQ(std::vector<unsigned char>(field, field + n), std::vector<unsigned char>(n, 0xEE));
      else
        EXPECT_EQ(memcmp(field, file.data() + offset, n), 0) << "block at " << offset;
    };
    expect_block(record.bitmap, sizeof record.bitmap, layout.bitmap);
    expect_block(record.screen, sizeof record.screen, layout.screen);
    expect_block(record.color, sizeof record.color, layout.color);
    EXPECT_EQ(record.background, layout.background == NONE ? 0xEE : 0x07);
    EXPECT_EQ(record.border, layout.border == NONE ? -1 : 0xEB);
    EXPECT_EQ(record.charset, c.format == 1 ? 0 : 0xEE);

    ASSERT_NE(img.p, nullptr);
    EXPECT_EQ(gdk_pixbuf_get_width(img.p), 320);
    EXPECT_EQ(gdk_pixbuf_get_height(img.p), 200);
    const unsigned int x0 = pixel_at(img.p, 0, 0), x8 = pixel_at(img.p, 8, 0), x16 = pixel_at(img.p, 16, 0);
    if (c.format == 1) {
      EXPECT_EQ(x0, green);
      EXPECT_EQ(x8, yellow);
    } else if (layout.color == NONE) {
      EXPECT_EQ(x0, white);
      EXPECT_EQ(x8, red);
    } else {
      EXPECT_EQ(x0, green);
      EXPECT_EQ(x8, yellow);
      EXPECT_EQ(x16, white);
    }
  }
}

TEST_F(Decoder, UnknownFiles) {
  expect_failure({}, 0, "Unknown picture format");
  expect_failure({0x00}, 0, "Unknown picture format");
  expect_failure(header(0x6000, 10242), 0, "Unknown picture format");  // Wigmore/Blazing size, wrong load
  expect_failure(header(0x2000, 9002), 0, "Unknown picture format");   // Interpaint size at $2000
  expect_failure(header(0x1928, 2005), 11, "Unknown picture format");
}

TEST_F(Decoder, ForcedFormatMustMatch) {
  expect_failure(header(0x5C00, 9000), 5, "Wrong file size\nExpected: 9218\nActual: 9000");
  expect_failure(header(0x5800, 10003), 7, "Wrong load address\nExpected: $6000\nActual: $5800");
  expect_failure(header(0xA000, 10242), 8, "Wrong load address\nExpected: $4000\nActual: $A000");
  // The load address is checked before the length.
  expect_failure(header(0x4000, 17), 2, "Wrong load address\nExpected: $2000\nActual: $4000");

  for (auto [format, load, size] : {std::tuple{7u, 0x2000u, 10003}, {5u, 0x5C00u, 9217}, {10u, 0xA000u, 10242}}) {
    const std::string path = write("ok.prg", make_picture(layouts.at(format), load, size));
    PictureData record = sentinel_record();
    Pixbuf img;
    EXPECT_EQ(hiresdecoder_decode_hires_screen_file(path.c_str(), format, &img.p, &record, nullptr), 1) << format;
    EXPECT_EQ(record.format, format);
  }
}

TEST_F(Decoder, ReadFailureCarriesTheFileError) {
  PictureData record = sentinel_record();
  Pixbuf img;
  Error err;
  const std::string path = dir.file("missing.kla");
  EXPECT_EQ(hiresdecoder_decode_hires_screen_file(path.c_str(), 0, &img.p, &record, &err.e), 0);
  EXPECT_EQ(img.p, nullptr);
  ASSERT_NE(err.e, nullptr);
  EXPECT_EQ(err.e->domain, G_FILE_ERROR);
  EXPECT_EQ(err.e->code, G_FILE_ERROR_NOENT);
  EXPECT_EQ(record.format, 0u);
}

TEST_F(Decoder, HiresAfterMulticolourKeepsColourAndBackground) {
  PictureData record = sentinel_record();
  const std::vector<unsigned char> koala = make_picture(layouts.at(7), 0x6000, 10003);
  Pixbuf first, second;
  ASSERT_EQ(hiresdecoder_decode_hires_screen_file(write("a.kla", koala).c_str(), 0, &first.p, &record, nullptr), 1);
  const std::string art = write("b.art", make_picture(layouts.at(2), 0x2000, 9009));
  ASSERT_EQ(hiresdecoder_decode_hires_screen_file(art.c_str(), 0, &second.p, &record, nullptr), 1);
  EXPECT_EQ(record.format, 2u);
  EXPECT_EQ(record.background, 0x07);
  EXPECT_EQ(memcmp(record.color, koala.data() + 9002, 1000), 0);
}

TEST_F(Decoder, PreviewLeavesThePictureRecordAlone) {
  picture_data = sentinel_record();
  const PictureData before = picture_data;
  const std::string path = write("p.kla", make_picture(layouts.at(7), 0x6000, 10003));
  Pixbuf img;
  ASSERT_EQ(hiresdecoder_decode_hires_screen_file(path.c_str(), 0, &img.p, nullptr, nullptr), 1);
  EXPECT_NE(img.p, nullptr);
  EXPECT_EQ(memcmp(&picture_data, &before, sizeof before), 0);
}

TEST_F(Decoder, PetsciiCharsetByteSelectsTheCase) {
  // Screen code 1 in white on blue: row 2 is 0x66 in 'A' and 0x3C in 'a'.
  auto row2 = [](GdkPixbuf *p) {
    unsigned int bits = 0;
    for (int x = 0; x < 8; x++)
      if (pixel_at(p, x, 2) == white) bits |= 0x80 >> x;
    return bits;
  };
  for (bool with_record : {true, false}) {
    for (unsigned char charset : {1, 0}) {
      SCOPED_TRACE(std::string(with_record ? "record" : "preview") + " charset " + std::to_string(charset));
      std::vector<unsigned char> file = make_picture(layouts.at(1), 0x1928, 2005);
      file[3] = 6;
      file[4] = charset;
      file[5] = 1;
      file[1005] = 1;
      c64pixbuf_set_case(charset == 0 ? 0 : 1);  // start from the other case
      PictureData record = sentinel_record();
      Pixbuf img;
      const std::string path = write("s.pet", file);
      ASSERT_EQ(hiresdecoder_decode_hires_screen_file(path.c_str(), 0, &img.p, with_record ? &record : nullptr,
                                                      nullptr),
                1);
      EXPECT_EQ(row2(img.p), charset == 0 ? 0x66u : 0x3Cu);
      EXPECT_EQ(pixel_at(img.p, 0, 0), blue);
      EXPECT_EQ(set_uppercase, charset == 0 ? 1 : 0);
      if (with_record) {
        EXPECT_EQ(record.charset, charset);
      }
    }
  }
}

TEST(RealPictures, DecodeWithTheirFormat) {
  const std::string folder = shared_data("pictures");
  SKIP_WITHOUT_SHARED(folder);
  if (!std::filesystem::is_directory(folder)) GTEST_SKIP() << "no sample pictures";
  c64pixbufs_module_init();
  options_palette = 0;
  const std::map<std::string, unsigned int> by_extension = {
      {".kla", 7}, {".koa", 7}, {".aas", 2}, {".art", 2}, {".ip64h", 3}, {".dd", 5},
      {".vid", 6}, {".a64", 8}, {".ocp", 9}, {".mpic", 9}, {".pi", 10},
  };
  std::map<std::string, Pixbuf> images;
  int decoded = 0;
  for (const auto &entry : std::filesystem::directory_iterator(folder)) {
    const auto found = by_extension.find(entry.path().extension().string());
    if (found == by_extension.end()) continue;
    SCOPED_TRACE(entry.path().filename().string());
    PictureData record = sentinel_record();
    const std::string name = entry.path().filename().string();
    Error err;
    if (!hiresdecoder_decode_hires_screen_file(entry.path().c_str(), 0, &images[name].p, &record, &err.e)) {
      ADD_FAILURE() << (err.e ? err.e->message : "no error");
      images.erase(name);
    }
    EXPECT_EQ(record.format, found->second);
    decoded++;
  }
  EXPECT_GT(decoded, 0);

  // Two pairs hold the same picture in different formats and must render alike.
  auto same_pixels = [&](const std::string &a, const std::string &b) {
    if (!images.count(a) || !images.count(b)) return;
    for (int y = 0; y < 200; y++)
      for (int x = 0; x < 320; x++)
        ASSERT_EQ(pixel_at(images.at(a).p, x, y), pixel_at(images.at(b).p, x, y))
            << a << " vs " << b << " at " << x << "," << y;
  };
  same_pixels("koala-1.kla", "aas2-1.ocp");
  same_pixels("artstudio-2.art", "interpaint-4.ip64h");
}
