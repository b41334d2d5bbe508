// Set-up shared by the fuzz harnesses: a private home for the process, the toolkit, and
// the check that stops a run at a broken invariant.
#include "fuzz_common.h"

#include <gtk/gtk.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

namespace {

std::string private_home;

void remove_private_home() {
  std::error_code ignored;
  std::filesystem::remove_all(private_home, ignored);
}

}  // namespace

const std::string &fuzz_start(int *argc, char ***argv) {
  std::string &home = private_home;
  if (!home.empty()) return home;
  gchar *dir = g_dir_make_tmp("quillbar-fuzz-XXXXXX", nullptr);
  fuzz_require(dir != nullptr, "a temporary folder can be made");
  home = dir;
  g_free(dir);
  std::atexit(remove_private_home);
  g_setenv("HOME", home.c_str(), TRUE);
  constexpr std::array<const char *, 4> xdg{"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME", "XDG_STATE_HOME"};
  for (const char *name : xdg) g_setenv(name, home.c_str(), TRUE);
  g_setenv("XDG_RUNTIME_DIR", home.c_str(), TRUE);
  gtk_set_locale();
  if (!gtk_init_check(argc, argv)) {
    std::fprintf(stderr, "the harnesses need an X server (run under xvfb-run)\n");
    std::exit(2);
  }
  return home;
}

void fuzz_require(bool holds, const char *invariant) {
  if (holds) return;
  std::fprintf(stderr, "broken invariant: %s\n", invariant);
  std::abort();
}

FuzzInput fuzz_bytes(const std::string &text) { return FuzzInput(text.begin(), text.end()); }
