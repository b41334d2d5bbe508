// controls: user feedback (title, status bar, message boxes, question, About box) and
// applying the loaded options to the menus.
#pragma once

#include <gtk/gtk.h>

void controls_update_main_window_title(const char *name);
void controls_update_main_statusbar(const char *text);
void controls_show_message_dialog(const char *message, int type);
// A command's report: " Info: %s" in the status bar; or, on failure, " Error: %s" with the
// error's message (`fallback` when there is no error object) and an error box showing it.
void controls_report_info(const char *text);
void controls_report_error(const GError *error, const char *fallback);
// Reports a failed write of `path` the same way, taking the error (which may be null; then
// `fallback` is shown), with the message naming `path` rather than a temporary file.
void controls_report_write_error(GError *error, const char *path, const char *fallback);
// The watch cursor over the main window while it lives.
class ControlsBusyCursor {
 public:
  ControlsBusyCursor();
  ~ControlsBusyCursor();
  ControlsBusyCursor(const ControlsBusyCursor &) = delete;
  ControlsBusyCursor &operator=(const ControlsBusyCursor &) = delete;

 private:
  GdkWindow *window_;
  GdkCursor *watch_;
};

int controls_get_user_confirmation(const char *question);
void controls_adjust_from_options(void);
void controls_attach_icon_to_window(GtkWidget *window);
// Help > About: the About box.
void on_menuitem_about_activate(GtkMenuItem *menuitem, gpointer user_data);
