// The cruncher's command line: exomizer sfx START IN.prg -o OUT.prg [-n]
// Reads IN, crunches it, and writes OUT through a temporary file beside it that replaces
// OUT only once it is complete, so IN (which may be OUT) is untouched on any failure.
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "cruncher.h"

namespace {

constexpr const char *kUsage =
    "usage: exomizer sfx START IN.prg -o OUT.prg [-n]\n"
    "  Crunches IN into a self-extracting program that loads at $0801, unpacks itself and\n"
    "  jumps to START (decimal, $hex, 0xhex, or \"sys\" for the address in IN's SYS line).\n"
    "  IN and OUT may be the same file. -n is accepted (no effect is the only behaviour).\n";

int fail(const std::string &message) {
  std::fprintf(stderr, "exomizer: %s\n", message.c_str());
  return 1;
}

bool read_file(const std::string &path, std::vector<uint8_t> *bytes, std::string *error) {
  std::FILE *file = std::fopen(path.c_str(), "rb");
  bool ok = file != nullptr;
  uint8_t buffer[4096];
  for (size_t got; ok && (got = std::fread(buffer, 1, sizeof buffer, file)) > 0;)
    bytes->insert(bytes->end(), buffer, buffer + got);
  ok = ok && !std::ferror(file);
  const int saved = errno;
  if (file) std::fclose(file);
  if (!ok) *error = "cannot read " + path + ": " + std::strerror(saved);
  return ok;
}

bool write_file(const std::string &path, const std::vector<uint8_t> &bytes, std::string *error) {
  std::string temp = path + ".XXXXXX";
  const int fd = mkstemp(temp.data());
  if (fd < 0) {
    *error = "cannot write beside " + path + ": " + std::strerror(errno);
    return false;
  }
  // mkstemp makes the file private: give it the mode of the file it replaces, or the usual one.
  struct stat existing;
  mode_t mode = 0;
  if (stat(path.c_str(), &existing) == 0) {
    mode = existing.st_mode & 07777;
  } else {
    mode = umask(0);
    umask(mode);
    mode = 0666 & ~mode;
  }
  fchmod(fd, mode);
  const bool written = write(fd, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size());
  const int saved = errno;
  const bool closed = close(fd) == 0;
  if (!written || !closed || std::rename(temp.c_str(), path.c_str()) != 0) {
    *error = "cannot write " + path + ": " + std::strerror(written && closed ? errno : saved);
    std::remove(temp.c_str());
    return false;
  }
  return true;
}

}  // namespace

int main(int argc, char **argv) {
  std::vector<std::string> args(argv + 1, argv + argc);
  for (const std::string &a : args)
    if (a == "-h" || a == "--help") {
      std::fputs(kUsage, stdout);
      return 0;
    }
  if (args.empty() || args[0] != "sfx") return fail("expected \"sfx\" as the first argument (see -h)");
  std::vector<std::string> plain;
  std::string out;
  for (size_t i = 1; i < args.size(); ++i) {
    if (args[i] == "-o") {
      if (i + 1 >= args.size()) return fail("-o needs a file name");
      out = args[++i];
    } else if (args[i] == "-n") {
      // accepted: the crunched program never shows a decrunch effect
    } else if (args[i].size() > 1 && args[i][0] == '-') {
      return fail("unknown option " + args[i] + " (see -h)");
    } else {
      plain.push_back(args[i]);
    }
  }
  if (plain.size() != 2) return fail("expected START and one input file (see -h)");
  if (out.empty()) return fail("no output file given (-o OUT.prg)");
  long start = 0;
  if (!cruncher_parse_start(plain[0], &start)) return fail("bad start address " + plain[0]);

  std::vector<uint8_t> prg, crunched;
  std::string error;
  if (!read_file(plain[1], &prg, &error)) return fail(error);
  if (!cruncher_crunch(prg, start, &crunched, &error)) return fail(plain[1] + ": " + error);
  if (!write_file(out, crunched, &error)) return fail(error);
  return 0;
}
