// interface: construction of the main window and the dialogs.
#pragma once

#include <gtk/gtk.h>

// Each builds its window with every widget registered under its name (lookup_widget) and
// the signal handlers connected; the caller shows it.
GtkWidget *create_window_main(void);
GtkWidget *create_filechooserdialog_open(void);
GtkWidget *create_filechooserdialog_save(void);
GtkWidget *create_dialog_yes_no_confirmation(void);
