// A plain main for a fuzz harness, used where libFuzzer is not: runs the harness once on
// each of its seeds, then on every file named on the command line or found in a folder
// named there (the kept regression inputs). With --write-seeds DIR it only writes the
// seeds into DIR, as the starting corpus of a fuzzing run.
#include <glib.h>

#include <cstdio>
#include <string>

#include "fuzz_common.h"

namespace {

bool run_file(const std::string &path) {
  gchar *contents = nullptr;
  gsize length = 0;
  if (!g_file_get_contents(path.c_str(), &contents, &length, nullptr)) {
    std::fprintf(stderr, "cannot read %s\n", path.c_str());
    return false;
  }
  LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t *>(contents), length);
  g_free(contents);
  return true;
}

int write_seeds(const std::string &dir) {
  g_mkdir_with_parents(dir.c_str(), 0755);
  for (const FuzzSeed &seed : fuzz_seeds()) {
    const std::string path = dir + "/" + seed.name;
    if (!g_file_set_contents(path.c_str(), reinterpret_cast<const char *>(seed.bytes.data()),
                             static_cast<gssize>(seed.bytes.size()), nullptr)) {
      std::fprintf(stderr, "cannot write %s\n", path.c_str());
      return 1;
    }
  }
  return 0;
}

}  // namespace

int main(int argc, char **argv) {
  if (argc == 3 && std::string(argv[1]) == "--write-seeds") return write_seeds(argv[2]);
  LLVMFuzzerInitialize(&argc, &argv);
  int inputs = 0;
  for (const FuzzSeed &seed : fuzz_seeds()) {
    LLVMFuzzerTestOneInput(seed.bytes.data(), seed.bytes.size());
    ++inputs;
  }
  bool all_read = true;
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    if (g_file_test(arg.c_str(), G_FILE_TEST_IS_DIR)) {
      GDir *dir = g_dir_open(arg.c_str(), 0, nullptr);
      while (const char *name = dir ? g_dir_read_name(dir) : nullptr) {
        if (name[0] == '.') continue;  // such as .gitkeep
        all_read = run_file(arg + "/" + name) && all_read;
        ++inputs;
      }
      if (dir) g_dir_close(dir);
    } else {
      all_read = run_file(arg) && all_read;
      ++inputs;
    }
  }
  std::printf("%d inputs, every invariant held\n", inputs);
  return all_read ? 0 : 1;
}
