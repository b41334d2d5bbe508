// Fuzz harness of the picture decoder. The first input byte chooses the call: the format
// asked for (0 automatic, 1..10 forced, 11 one past the table) and whether a record is
// filled; the remaining bytes are the file. After each call: a success gives a 320 x 200
// image and a record naming the format (the one forced, if any, and the one that automatic
// recognition finds for the same file); a failure gives a file error, no image, and leaves
// the record byte for byte as it was.
#include <gtk/gtk.h>

#include <array>
#include <cstdio>
#include <cstring>

#include "c64pixbufs.h"
#include "fuzz_common.h"
#include "hiresdecoder.h"

namespace {

constexpr unsigned int kFormatChoices = 12;  // 0 automatic, 1..10 forced, 11 unknown
constexpr unsigned char kRecordFlag = 0x80;
constexpr unsigned char kUntouched = 0xA5;

std::string input_path;

PictureData untouched_record() {
  PictureData record;
  std::memset(&record, kUntouched, sizeof record);
  record.border = -1;
  record.format = 0;
  return record;
}

struct Decoded {
  int ok;
  GdkPixbuf *image;
  GError *error;
};

Decoded decode(unsigned int format, PictureData *record) {
  Decoded d{0, nullptr, nullptr};
  d.ok = hiresdecoder_decode_hires_screen_file(input_path.c_str(), format, &d.image, record, &d.error);
  return d;
}

void release(Decoded &d) {
  if (d.image) g_object_unref(d.image);
  if (d.error) g_error_free(d.error);
}

void check_result(const Decoded &d) {
  if (d.ok == 1) {
    fuzz_require(d.image != nullptr && !d.error, "a success gives an image and no error");
    fuzz_require(gdk_pixbuf_get_width(d.image) == 320 && gdk_pixbuf_get_height(d.image) == 200,
                 "the image is 320 x 200");
  } else {
    fuzz_require(d.ok == 0, "the result is 1 or 0");
    fuzz_require(d.image == nullptr, "a failure gives no image");
    fuzz_require(d.error != nullptr && d.error->domain == G_FILE_ERROR, "a failure gives a file error");
  }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv) {
  input_path = fuzz_start(argc, argv) + "/picture.bin";
  c64pixbufs_module_init();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  if (size == 0) return 0;
  const unsigned int format = (data[0] & ~kRecordFlag) % kFormatChoices;
  const bool with_record = (data[0] & kRecordFlag) != 0;
  FILE *file = std::fopen(input_path.c_str(), "wb");
  fuzz_require(file != nullptr, "the input file can be written");
  if (size > 1) std::fwrite(data + 1, 1, size - 1, file);
  std::fclose(file);

  PictureData record = untouched_record();
  const PictureData before = record;
  Decoded d = decode(format, with_record ? &record : nullptr);
  check_result(d);
  if (with_record && d.ok == 1) {
    fuzz_require(record.format >= 1 && record.format <= 10, "a decoded record names a format 1..10");
    fuzz_require(format == 0 || record.format == format, "a forced format is the one recorded");
    fuzz_require(record.border >= -1 && record.border <= 255, "the stored border is -1 or a byte");
    if (format != 0) {
      PictureData automatic = untouched_record();
      Decoded again = decode(0, &automatic);
      check_result(again);
      fuzz_require(again.ok == 1 && automatic.format == record.format,
                   "automatic recognition agrees with the forced format");
      release(again);
    }
  }
  if (d.ok != 1) fuzz_require(std::memcmp(&record, &before, sizeof record) == 0, "a failure leaves the record");
  release(d);
  return 0;
}

std::vector<FuzzSeed> fuzz_seeds() {
  struct Layout {
    const char *name;
    unsigned int load;
    size_t size;
  };
  constexpr std::array<Layout, 13> layouts{{{"petscii", 0x1928, 2005},
                                            {"artstudio", 0x2000, 9009},
                                            {"interpaint", 0x4000, 9002},
                                            {"imagesystem", 0x4000, 9194},
                                            {"doodle", 0x5C00, 9218},
                                            {"doodle_short", 0x5C00, 9217},
                                            {"vidcom", 0x5800, 10050},
                                            {"koala", 0x6000, 10003},
                                            {"koala_2000", 0x2000, 10003},
                                            {"wigmore", 0x4000, 10242},
                                            {"aas", 0x2000, 10018},
                                            {"blazing", 0xA000, 10242},
                                            {"short", 0x4000, 1}}};
  std::vector<FuzzSeed> seeds;
  unsigned int state = 1;
  for (const Layout &layout : layouts) {
    FuzzInput bytes(layout.size + 1);
    bytes[0] = kRecordFlag;  // automatic, with a record
    for (size_t i = 1; i < bytes.size(); ++i)
      bytes[i] = static_cast<unsigned char>((state = state * 1103515245u + 12345u) >> 16);
    bytes[1] = layout.load & 0xFF;
    if (bytes.size() > 2) bytes[2] = static_cast<unsigned char>(layout.load >> 8);
    seeds.push_back({layout.name, bytes});
  }
  seeds.push_back({"empty", {0}});
  seeds.push_back({"forced_koala_wrong_load", {kRecordFlag | 7, 0x00, 0x30, 1, 2, 3}});
  return seeds;
}
