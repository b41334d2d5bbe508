// Test programs' main: gives the program a fresh, private home and XDG folders and
// initialises the toolkit before running the tests.
#include <glib/gstdio.h>

#include <cstdlib>

#include "testutil.h"

int main(int argc, char **argv) {
  ::testing::InitGoogleTest(&argc, argv);
  // A fresh private home and XDG folders, never the user's own (the toolkit writes there too).
  static TempDir home;
  setenv("HOME", home.path().c_str(), 1);
  for (const char *name : {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME", "XDG_STATE_HOME", "XDG_RUNTIME_DIR"}) {
    const std::string folder = home.file(name);
    g_mkdir(folder.c_str(), 0700);
    setenv(name, folder.c_str(), 1);
  }
  gtk_set_locale();
  if (!gtk_init_check(&argc, &argv)) {
    fprintf(stderr, "no display: the tests need an X server (scripts/test starts Xvfb)\n");
    return 1;
  }
  return RUN_ALL_TESTS();
}
