// hiresdecoder: recognises the ten C64 picture file formats by load address and file
// length, copies the picture's graphics data into a PictureData record and has the
// picture rendered. Owns the global record picture_data; sets the character set case
// for PETSCII screens; reads files, writes none.
#include "hiresdecoder.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <vector>

#include "c64pixbufs.h"
#include "pixbufs.h"
#include "state.h"
#include "support.h"

PictureData picture_data = {};

namespace {

constexpr int NONE = -1;

// One known format. The first load address and the first size are the ones named as
// "expected" when a forced format does not match. Offsets count from the start of the
// file, load address included; NONE marks a field that the format does not hold.
struct Format {
  unsigned int number;
  PictureKind kind;
  std::array<unsigned int, 3> loads;  // unused slots repeat the first
  std::array<gsize, 2> sizes;         // unused slot repeats the first
  int bitmap, screen, color, background, border;

  bool accepts_load(unsigned int load) const {
    for (unsigned int l : loads)
      if (l == load) return true;
    return false;
  }
  bool accepts_size(gsize size) const { return sizes[0] == size || sizes[1] == size; }
};

constexpr std::array<Format, 10> formats{{
    {1, PictureKind::petscii, {0x1928, 0x1928, 0x1928}, {2005, 2005}, NONE, 5, 1005, 3, 2},
    {2, PictureKind::hires, {0x2000, 0x2000, 0x2000}, {9009, 9009}, 2, 8002, NONE, NONE, 9002},
    {3, PictureKind::hires, {0x4000, 0x4000, 0x4000}, {9002, 9002}, 2, 8002, NONE, NONE, NONE},
    {4, PictureKind::hires, {0x4000, 0x4000, 0x4000}, {9194, 9194}, 2, 8194, NONE, NONE, NONE},
    {5, PictureKind::hires, {0x5C00, 0x5C00, 0x5C00}, {9218, 9217}, 1026, 2, NONE, NONE, NONE},
    {6, PictureKind::multicolor, {0x5800, 0x5800, 0x5800}, {10050, 10050}, 2050, 1026, 2, 2026, NONE},
    {7, PictureKind::multicolor, {0x6000, 0x4000, 0x2000}, {10003, 10003}, 2, 8002, 9002, 10002, NONE},
    {8, PictureKind::multicolor, {0x4000, 0x4000, 0x4000}, {10242, 10242}, 2, 8194, 9218, 10241, NONE},
    {9, PictureKind::multicolor, {0x2000, 0x2000, 0x2000}, {10018, 10018}, 2, 8002, 9018, 9003, 9002},
    {10, PictureKind::multicolor, {0xA000, 0xA000, 0xA000}, {10242, 10242}, 2, 8194, 9218, 8066, NONE},
}};

// The longest file of any format: nothing longer is read.
constexpr gsize largest_picture = [] {
  gsize largest = 0;
  for (const Format &f : formats) largest = std::max({largest, f.sizes[0], f.sizes[1]});
  return largest;
}();

constexpr int PETSCII_CHARSET = 4;  // byte holding the character set of a PETSCII screen

const Format *recognise(unsigned int load, gsize size) {
  for (const Format &f : formats)
    if (f.accepts_load(load) && f.accepts_size(size)) return &f;
  return nullptr;
}

void fail(GError **error, const char *format, ...) G_GNUC_PRINTF(2, 3);
void fail(GError **error, const char *format, ...) {
  va_list args;
  va_start(args, format);
  OwnedString message(g_strdup_vprintf(format, args));
  va_end(args);
  g_set_error_literal(error, G_FILE_ERROR, G_FILE_ERROR_FAILED, message.get());
}

// Finds the format of the file, or reports why it is not the one asked for.
const Format *check_format(unsigned int wanted, unsigned int load, gsize size, GError **error) {
  if (wanted == 0) {
    const Format *f = recognise(load, size);
    if (!f) fail(error, "Unknown picture format");
    return f;
  }
  if (wanted > formats.size()) {
    fail(error, "Unknown picture format");
    return nullptr;
  }
  const Format &f = formats[wanted - 1];
  if (!f.accepts_load(load)) {
    fail(error, "Wrong load address\nExpected: $%04X\nActual: $%04X", f.loads[0], load);
    return nullptr;
  }
  if (!f.accepts_size(size)) {
    fail(error, "Wrong file size\nExpected: %lu\nActual: %lu", static_cast<unsigned long>(f.sizes[0]),
         static_cast<unsigned long>(size));
    return nullptr;
  }
  return &f;
}

void copy_to_record(const Format &f, const unsigned char *data, PictureData *record) {
  if (f.bitmap != NONE) memcpy(record->bitmap, data + f.bitmap, sizeof record->bitmap);
  if (f.screen != NONE) memcpy(record->screen, data + f.screen, sizeof record->screen);
  if (f.color != NONE) memcpy(record->color, data + f.color, sizeof record->color);
  if (f.background != NONE) record->background = data[f.background];
  if (f.border != NONE) record->border = data[f.border];
  if (f.kind == PictureKind::petscii) record->charset = data[PETSCII_CHARSET];
  record->format = f.number;
}

// Reads a picture file: only a regular file is read, and of it no more than one byte past
// the largest picture, so that a FIFO or a device cannot block the program and a huge file
// cannot fill its memory. `length` is the file's own length, which may exceed what was read
// (such a file is never recognised). False with an error when the file cannot be opened or
// read, or is not a regular file (then with the decoder's own message).
bool read_picture_file(const char *filename, std::vector<unsigned char> &data, gsize &length, GError **error) {
  const int fd = open(filename, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  if (fd < 0) {
    support_file_error(error, "Failed to open file", filename, errno);
    return false;
  }
  struct stat info = {};
  bool ok = fstat(fd, &info) == 0 && S_ISREG(info.st_mode);
  if (!ok) fail(error, "Unknown picture format");
  data.resize(largest_picture + 1);
  gsize got = 0;
  while (ok && got < data.size()) {
    const ssize_t n = read(fd, data.data() + got, data.size() - got);
    if (n == 0) break;
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) {
      support_file_error(error, "Failed to read from file", filename, errno);
      ok = false;
      break;
    }
    got += static_cast<gsize>(n);
  }
  close(fd);
  data.resize(got);
  // All of a file within the limit was read; of a longer one, its size tells the length.
  length = got > largest_picture ? std::max<gsize>(got, static_cast<gsize>(info.st_size)) : got;
  return ok;
}

GdkPixbuf *render(const Format &f, const unsigned char *data) {
  const unsigned char *bitmap = f.bitmap != NONE ? data + f.bitmap : nullptr;
  const unsigned char *color = f.color != NONE ? data + f.color : nullptr;
  const unsigned char background = f.background != NONE ? data[f.background] : 0;
  return pixbufs_new_from_hires_opaque(bitmap, data + f.screen, color, background, 40, 25);
}

}  // namespace

int hiresdecoder_decode_hires_screen_file(const char *filename, unsigned int format, GdkPixbuf **pixbuf,
                                          PictureData *record, GError **error) {
  *pixbuf = nullptr;
  std::vector<unsigned char> contents;
  gsize length = 0;
  if (!read_picture_file(filename, contents, length, error)) return 0;
  const unsigned char *data = contents.data();

  int ok = 0;
  const Format *f = nullptr;
  if (contents.size() < 2) {
    fail(error, "Unknown picture format");
  } else {
    const unsigned int load = data[0] | (data[1] << 8);
    f = check_format(format, load, length, error);
  }
  if (f) {
    if (record) copy_to_record(*f, data, record);
    if (f->kind == PictureKind::petscii) c64pixbuf_set_case(data[PETSCII_CHARSET] == 0 ? 1 : 0);
    *pixbuf = render(*f, data);
    if (*pixbuf)
      ok = 1;
    else
      fail(error, "Could not create pixbuf");
  }
  return ok;
}

PictureKind hiresdecoder_picture_kind(unsigned int format) {
  for (const Format &f : formats)
    if (f.number == format) return f.kind;
  return PictureKind::none;
}
