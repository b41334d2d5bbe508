// interface: not written yet.
#include "interface.h"

GtkWidget * create_window_main(void) { return {}; }
GtkWidget * create_filechooserdialog_open(void) { return {}; }
GtkWidget * create_filechooserdialog_save(void) { return {}; }
GtkWidget * create_dialog_yes_no_confirmation(void) { return {}; }
