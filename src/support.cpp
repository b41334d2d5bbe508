// support: finding widgets by name, the process-wide state of the shell (window_main,
// app_folder) and the start-up sequence that main() runs.
//
// May touch: every module's init function, the options and the main window.
#include "support.h"

#include <cstring>

#include "c64pixbufs.h"
#include "callbacks.h"
#include "controls.h"
#include "interface.h"
#include "main.h"
#include "options.h"
#include "rastermodel.h"
#include "undo.h"

GtkWidget *window_main = nullptr;
char *app_folder = nullptr;

GtkWidget *lookup_widget(GtkWidget *widget, const gchar *name) {
  GtkWidget *parent = nullptr;
  for (;;) {
    if (GTK_IS_MENU(widget))
      parent = gtk_menu_get_attach_widget(GTK_MENU(widget));
    else
      parent = widget->parent;
    if (!parent) parent = static_cast<GtkWidget *>(g_object_get_data(G_OBJECT(widget), "GladeParentKey"));
    if (!parent) break;
    widget = parent;
  }
  auto *found = static_cast<GtkWidget *>(g_object_get_data(G_OBJECT(widget), name));
  if (!found) g_warning("Widget not found: %s", name);
  return found;
}

void main_set_app_folder(const char *argv0) {
  g_free(app_folder);
  const char *slash = argv0 ? strrchr(argv0, G_DIR_SEPARATOR) : nullptr;
  app_folder = slash ? g_strndup(argv0, slash - argv0) : g_strdup(".");
}

void main_start_up(void) {
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
