// controls: not written yet.
#include "controls.h"

void controls_update_main_window_title(const char *name) { }
void controls_update_main_statusbar(const char *text) { }
void controls_show_message_dialog(const char *message, int type) { }
int controls_get_user_confirmation(const char *question) { return {}; }
void controls_adjust_from_options(void) { }
void controls_attach_icon_to_window(GtkWidget *window) { }
#include "callbacks.h"
void on_menuitem_about_activate(GtkMenuItem *menuitem, gpointer user_data) { }
