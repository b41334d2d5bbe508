// main: the program's entry point. Sets the locale, initialises the toolkit, runs the
// start-up sequence (support.cpp) and then the main loop until the user quits.

#include "main.h"

int main(int argc, char *argv[]) {
  main_set_app_folder(argc > 0 ? argv[0] : nullptr);
  gtk_set_locale();
  gtk_init(&argc, &argv);
  main_start_up();
  gtk_main();
  return 0;
}
