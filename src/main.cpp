// main: the program's entry point. Sets the locale, initialises the toolkit, runs the
// start-up sequence (startup.cpp) and then the main loop until the user quits.

#include <gtk/gtk.h>

#include "startup.h"

int main(int argc, char *argv[]) {
  startup_set_app_folder(argc > 0 ? argv[0] : nullptr);
  gtk_set_locale();
  gtk_init(&argc, &argv);
  startup_build_editor();
  gtk_main();
  return 0;
}
