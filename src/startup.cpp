// startup: the start-up sequence of the editor and the state it sets up once: the main
// window (window_main) and the program's folder (app_folder).
//
// May touch: every module's init function, the options (through controls) and the main
// window. Nothing below this module includes it; main() and the tests call it.
#include "startup.h"

#include <gtk/gtk.h>

#include <cstring>

#include "c64pixbufs.h"
#include "controls.h"
#include "interface.h"
#include "options.h"
#include "rastermodel.h"
#include "state.h"
#include "undo.h"

GtkWidget *window_main = nullptr;
char *app_folder = nullptr;

void startup_set_app_folder(const char *argv0) {
  g_free(app_folder);
  const char *slash = argv0 ? strrchr(argv0, G_DIR_SEPARATOR) : nullptr;
  app_folder = slash ? g_strndup(argv0, slash - argv0) : g_strdup(".");
}

// Later steps rely on earlier ones: applying the options resizes the drawing areas and
// focuses the left border through the handles the shown window's configure events stored,
// and converts the bar lists when the options select Compact mode.
void startup_build_editor(void) {
  window_main = create_window_main();
  gtk_widget_show(window_main);
  g_signal_connect(G_OBJECT(window_main), "destroy", G_CALLBACK(gtk_main_quit), nullptr);
  controls_attach_icon_to_window(window_main);
  c64pixbufs_module_init();
  rastermodel_module_init();
  options_module_init();
  controls_adjust_from_options();
  undo_module_init();
}
