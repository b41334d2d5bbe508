// Fuzz harness of the configuration loader. The input is taken as the configuration file
// and applied over the default options. After it every option is in its range and every
// remembered folder exists; the options are then written out and read back, which must
// give the same options again.
#include <glib/gstdio.h>
#include <gtk/gtk.h>

#include <cstring>

#include "fuzz_common.h"
#include "options.h"
#include "state.h"
#include "support.h"

namespace {

struct Snapshot {
  std::string dirs[3];
  int input_mode, palette, expansion, reencode;
  bool operator==(const Snapshot &other) const {
    for (int i = 0; i < 3; ++i)
      if (dirs[i] != other.dirs[i]) return false;
    return input_mode == other.input_mode && palette == other.palette && expansion == other.expansion &&
           reencode == other.reencode;
  }
};

char **const kDirs[3] = {&options_picture_dir_string, &options_export_png_dir_string, &options_export_dir_string};

void reset_options() {
  for (char **dir : kDirs) {
    g_free(*dir);
    *dir = nullptr;
  }
  g_free(options_window_position);
  options_window_position = nullptr;
  options_input_mode = 1;
  options_palette = 0;
  options_expansion = 1;
  options_reencode_graphics = 0;
}

Snapshot snapshot() {
  Snapshot s;
  for (int i = 0; i < 3; ++i) s.dirs[i] = *kDirs[i] ? *kDirs[i] : "(unset)";
  s.input_mode = options_input_mode;
  s.palette = options_palette;
  s.expansion = options_expansion;
  s.reencode = options_reencode_graphics;
  return s;
}

void check_ranges() {
  fuzz_require(options_input_mode == 0 || options_input_mode == 1, "the input mode is 0 or 1");
  fuzz_require(options_palette >= 0 && options_palette <= 3, "the palette is 0..3");
  fuzz_require(options_expansion >= 1 && options_expansion <= 4, "the zoom is 1..4");
  fuzz_require(options_reencode_graphics == 0 || options_reencode_graphics == 1, "the re-encode flag is 0 or 1");
  for (char **dir : kDirs) fuzz_require(!*dir || g_file_test(*dir, G_FILE_TEST_IS_DIR), "a remembered folder exists");
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv) {
  const std::string &home = fuzz_start(argc, argv);
  g_free(utf8_path_configfile);
  utf8_path_configfile = g_build_filename(home.c_str(), "user.ini", nullptr);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  reset_options();
  OwnedKeyFile key_file(g_key_file_new());
  if (!g_key_file_load_from_data(key_file.get(), reinterpret_cast<const char *>(data), size, G_KEY_FILE_KEEP_COMMENTS,
                                 nullptr))
    return 0;
  set_options_from_config(key_file.get());
  check_ranges();
  const Snapshot loaded = snapshot();

  fuzz_require(options_save_to_file() == 1, "the options can be written");
  reset_options();
  OwnedKeyFile written(g_key_file_new());
  fuzz_require(g_key_file_load_from_file(written.get(), utf8_path_configfile, G_KEY_FILE_KEEP_COMMENTS, nullptr),
               "the written file parses");
  set_options_from_config(written.get());
  fuzz_require(snapshot() == loaded, "writing and reading back keeps every option");
  return 0;
}

std::vector<FuzzSeed> fuzz_seeds() {
  return {
      {"defaults", fuzz_bytes("# Quillbar config file - do NOT edit\n[directories]\npicture_dir=(NULL)\n"
                              "export_png_dir=(NULL)\nexport_dir=(NULL)\n\n[interface]\ninput_mode=1\npalette=0\n"
                              "expansion=1\n\n[misc]\nreencode_graphics=false\n\n[application]\nposition=10;20;\n")},
      {"settings", fuzz_bytes("[directories]\npicture_dir=file:///tmp\nexport_png_dir=file:///\n"
                              "export_dir=file:///nonexistent\n[interface]\ninput_mode=0\npalette=3\nexpansion=4\n"
                              "[misc]\nreencode_graphics=true\n[application]\nposition=1;2;3;\n")},
      {"out_of_range", fuzz_bytes("[interface]\ninput_mode=-1\npalette=7\nexpansion=x\n[misc]\nreencode_graphics=1\n")},
  };
}
