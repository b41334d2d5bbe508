// interface: construction of the main window.
#pragma once

#include <gtk/gtk.h>

// Builds the window with every widget registered under its name (lookup_widget) and the
// signal handlers connected; the caller shows it.
GtkWidget *create_window_main(void);
