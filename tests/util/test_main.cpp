// Test programs' main: gives the program a fresh, private configuration and data folder and
// initialises the toolkit before running the tests.
#include <gtest/gtest.h>
#include <gtk/gtk.h>

#include <cstdlib>
#include <string>

#include "testutil.h"

int main(int argc, char **argv) {
  ::testing::InitGoogleTest(&argc, argv);
  static TempDir home;
  setenv("XDG_CONFIG_HOME", home.path().c_str(), 1);
  setenv("XDG_DATA_HOME", home.path().c_str(), 1);  // the file choosers' list of recent files
  gtk_set_locale();
  if (!gtk_init_check(&argc, &argv)) {
    fprintf(stderr, "no display: the tests need an X server (scripts/test starts Xvfb)\n");
    return 1;
  }
  return RUN_ALL_TESTS();
}
