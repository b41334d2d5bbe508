// diskimage: a 35-track D64 disk image holding one program, made by Debian's cc1541, and the
// directory of such an image read back.
#pragma once

#include <glib.h>

#include <cstdint>
#include <string>
#include <vector>

// One file of an image's directory: its name as ASCII (PETSCII letters as capitals, the
// padding cut off), its type byte and its bytes, load address included.
struct DiskFile {
  std::string name;
  uint8_t type;
  std::vector<uint8_t> bytes;
};

// The name a program gets on the disk: up to 16 characters of `name`, capitals for letters,
// "#" (cc1541's escape character) and anything outside printable ASCII replaced by "-".
std::string diskimage_file_name(const std::string &name);

// Writes a new image holding `prg` as the program `name` (also the disk's name) to `path`,
// running `cc1541` (looked up in PATH) on a temporary folder; the image replaces `path` only
// once cc1541 succeeded and the image holds the very bytes. 1 on success; 0 with an error.
int diskimage_write(const char *path, const std::vector<uint8_t> &prg, const std::string &name, GError **error);

// The files of an image's directory, in directory order; empty for a damaged image.
std::vector<DiskFile> diskimage_directory(const std::vector<uint8_t> &image);
