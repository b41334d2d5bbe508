// diskimage: D64 images through cc1541, and their directory read back.
//
// Owns nothing between calls. Writes only the temporary folder it makes (removed again) and,
// through support_replace_file, the image the caller names.
#include "diskimage.h"

#include <glib/gstdio.h>

#include <cctype>

#include "support.h"

namespace {

// The 35-track layout: tracks up to `last_track` have `sectors` sectors of 256 bytes.
struct Zone {
  int last_track, sectors;
};
constexpr Zone kZones[] = {{17, 21}, {24, 19}, {30, 18}, {35, 17}};
constexpr int kSectorSize = 256;
constexpr int kDirectoryTrack = 18, kFirstDirectorySector = 1;
constexpr int kEntrySize = 32, kEntriesPerSector = 8;
constexpr int kNameLength = 16;
constexpr uint8_t kNamePadding = 0xA0;
constexpr uint8_t kPetsciiLetter = 0x41, kPetsciiShiftedLetter = 0xC1;
constexpr const char *kCc1541 = "cc1541";

// The byte offset of a sector in the image, or -1 when there is no such sector.
long sector_offset(int track, int sector) {
  long offset = 0;
  int first_track = 1;
  for (const Zone &zone : kZones) {
    if (track <= zone.last_track) {
      if (track < first_track || sector < 0 || sector >= zone.sectors) return -1;
      return offset + (static_cast<long>(track - first_track) * zone.sectors + sector) * kSectorSize;
    }
    offset += static_cast<long>(zone.last_track - first_track + 1) * zone.sectors * kSectorSize;
    first_track = zone.last_track + 1;
  }
  return -1;
}

// The sectors of a chain from (track, sector): each sector's first two bytes link to the next,
// track 0 ending the chain with the index of its last byte. Empty for a broken or looping chain.
std::vector<long> chain(const std::vector<uint8_t> &image, int track, int sector) {
  std::vector<long> sectors;
  const std::size_t most = image.size() / kSectorSize;
  while (track != 0) {
    const long at = sector_offset(track, sector);
    if (at < 0 || static_cast<std::size_t>(at + kSectorSize) > image.size() || sectors.size() >= most) return {};
    sectors.push_back(at);
    track = image[at], sector = image[at + 1];
  }
  return sectors;
}

std::string ascii_name(const uint8_t *petscii) {
  std::string name;
  for (int i = 0; i < kNameLength && petscii[i] != kNamePadding; i++) {
    const uint8_t c = petscii[i];
    if (c >= kPetsciiLetter && c < kPetsciiLetter + 26)
      name += static_cast<char>('a' + (c - kPetsciiLetter));
    else if (c >= kPetsciiShiftedLetter && c < kPetsciiShiftedLetter + 26)
      name += static_cast<char>('A' + (c - kPetsciiShiftedLetter));
    else
      name += static_cast<char>(c);
  }
  return name;
}

}  // namespace

std::string diskimage_file_name(const std::string &name) {
  std::string disk_name = name.substr(0, kNameLength);
  for (char &c : disk_name) {
    const unsigned char u = static_cast<unsigned char>(c);
    c = u < ' ' || u > '~' || c == '#' ? '-' : static_cast<char>(std::tolower(u));  // cc1541: lower case is capitals
  }
  return disk_name;
}

int diskimage_write(const char *path, const std::vector<uint8_t> &prg, const std::string &name, GError **error) {
  OwnedString folder(g_dir_make_tmp("quillbar-d64-XXXXXX", error));
  if (!folder) return 0;
  OwnedString program(g_build_filename(folder.get(), "program.prg", nullptr));
  OwnedString image(g_build_filename(folder.get(), "image.d64", nullptr));
  const std::string disk_name = diskimage_file_name(name);
  const char *argv[] = {kCc1541,           "-q", "-n",          disk_name.c_str(), "-f",
                        disk_name.c_str(), "-w", program.get(), image.get(),       nullptr};
  int status = -1;
  gchar *contents = nullptr, *output = nullptr, *complaint = nullptr;  // cc1541's own output is kept off the terminal
  gsize length = 0;
  int written = 0;
  if (g_file_set_contents(program.get(), reinterpret_cast<const char *>(prg.data()), static_cast<gssize>(prg.size()),
                          error) &&
      g_spawn_sync(nullptr, const_cast<char **>(argv), nullptr, G_SPAWN_SEARCH_PATH, nullptr, nullptr, &output,
                   &complaint, &status, error)) {
    if (!g_spawn_check_exit_status(status, nullptr) || !g_file_get_contents(image.get(), &contents, &length, nullptr)) {
      g_set_error(error, G_FILE_ERROR, G_FILE_ERROR_FAILED, "%s could not make the disk image: %s", kCc1541,
                  g_strstrip(complaint));
    } else {
      const std::vector<uint8_t> bytes(contents, contents + length);
      const std::vector<DiskFile> files = diskimage_directory(bytes);
      if (files.size() != 1 || files[0].bytes != prg)
        g_set_error(error, G_FILE_ERROR, G_FILE_ERROR_FAILED, "%s made a disk image without the program", kCc1541);
      else
        written = support_replace_file(path, contents, length, error);
    }
  }
  g_free(output);
  g_free(complaint);
  g_free(contents);
  g_remove(program.get());
  g_remove(image.get());
  g_rmdir(folder.get());
  return written;
}

std::vector<DiskFile> diskimage_directory(const std::vector<uint8_t> &image) {
  std::vector<DiskFile> files;
  for (long sector : chain(image, kDirectoryTrack, kFirstDirectorySector)) {
    for (int i = 0; i < kEntriesPerSector; i++) {
      const uint8_t *entry = &image[sector + i * kEntrySize];
      if (entry[2] == 0) continue;  // a free entry
      DiskFile file{ascii_name(entry + 5), entry[2], {}};
      const std::vector<long> data = chain(image, entry[3], entry[4]);
      if (data.empty()) return {};
      for (long at : data) {
        const int last = image[at] == 0 ? image[at + 1] : kSectorSize - 1;
        file.bytes.insert(file.bytes.end(), image.begin() + at + 2, image.begin() + at + std::max(last, 1) + 1);
      }
      files.push_back(std::move(file));
    }
  }
  return files;
}
