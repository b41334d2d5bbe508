// dialogs: construction of the file choosers and the yes/no question box.
#pragma once

#include <gtk/gtk.h>

// Each builds its dialog with every widget registered under its name (lookup_widget); the
// caller runs it and destroys it.
GtkWidget *create_filechooserdialog_open(void);
GtkWidget *create_filechooserdialog_save(void);
GtkWidget *create_dialog_yes_no_confirmation(void);
