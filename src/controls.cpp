// controls: everything the program tells the user outside the screen view: the main
// window's title, the status bar, the non-blocking message boxes, the blocking yes/no
// question and the About box; also the application icon and the one-time application
// of the loaded options to the menus at start-up.
//
// Owns no state of its own. May touch: window_main and the widgets registered on it
// (through lookup_widget), the dialogs it builds (dialogs.h), the option globals (read
// only).
#include "controls.h"

#include <array>
#include <string>

#include "dialogs.h"
#include "rasters_icon_xpm.h"
#include "state.h"
#include "support.h"

namespace {

// The build date as "Jul 10 2023": the compiler pads a one-digit day with a space
// ("Jul  9 2023"), which is dropped here.
std::string build_date() {
  std::string date = __DATE__;
  if (auto pos = date.find("  "); pos != std::string::npos) date.erase(pos, 1);
  return date;
}

// Packs a label showing `markup` into `box`, justified as given, with 5 pixels of padding.
GtkWidget *pack_label(GtkWidget *box, const char *markup, GtkJustification justify) {
  GtkWidget *label = gtk_label_new(nullptr);
  gtk_label_set_markup(GTK_LABEL(label), markup);
  gtk_label_set_justify(GTK_LABEL(label), justify);
  gtk_misc_set_padding(GTK_MISC(label), 5, 5);
  gtk_widget_show(label);
  gtk_box_pack_start(GTK_BOX(box), label, FALSE, FALSE, 0);
  return label;
}

void activate_menu_item(const char *name) {
  if (GtkWidget *item = lookup_widget(window_main, name)) gtk_menu_item_activate(GTK_MENU_ITEM(item));
}

}  // namespace

void controls_update_main_window_title(const char *name) {
  OwnedString title(g_strdup_printf("Quillbar - %s", name));
  gtk_window_set_title(GTK_WINDOW(window_main), title.get());
}

void controls_update_main_statusbar(const char *text) {
  GtkWidget *statusbar = lookup_widget(window_main, "statusbar_main");
  if (!statusbar) return;
  gtk_statusbar_pop(GTK_STATUSBAR(statusbar), 0);
  gtk_statusbar_push(GTK_STATUSBAR(statusbar), 0, text);
}

void controls_show_message_dialog(const char *message, int type) {
  GtkWidget *dialog = gtk_message_dialog_new(GTK_WINDOW(window_main), GTK_DIALOG_DESTROY_WITH_PARENT,
                                             static_cast<GtkMessageType>(type), GTK_BUTTONS_CLOSE, "%s", message);
  const char *title = type == GTK_MESSAGE_ERROR ? "Error" : type == GTK_MESSAGE_INFO ? "Information" : "Warning";
  gtk_window_set_title(GTK_WINDOW(dialog), title);
  gtk_window_set_position(GTK_WINDOW(dialog), GTK_WIN_POS_CENTER);
  gtk_window_set_modal(GTK_WINDOW(dialog), TRUE);
  g_signal_connect_swapped(dialog, "response", G_CALLBACK(gtk_widget_destroy), dialog);
  gtk_widget_show(dialog);
}

void controls_report_info(const char *text) {
  OwnedString message(g_strdup_printf(" Info: %s", text));
  controls_update_main_statusbar(message.get());
}

void controls_report_error(const GError *error, const char *fallback) {
  const char *text = error ? error->message : fallback;
  OwnedString message(g_strdup_printf(" Error: %s", text));
  controls_update_main_statusbar(message.get());
  controls_show_message_dialog(text, GTK_MESSAGE_ERROR);
}

namespace {

// GLib writes a file through a temporary one beside it and names that one ("p.ini.I1SCZ3")
// when it cannot be created: the message is given the file the user chose instead.
std::string message_naming(const char *message, const char *path) {
  std::string text = message;
  OwnedString shown(g_filename_display_name(path));
  const std::string temporary = std::string(shown.get()) + ".";
  constexpr std::size_t kSuffix = 7;  // "." and the six random characters
  const std::size_t at = text.find(temporary);
  if (at != std::string::npos && at + temporary.size() - 1 + kSuffix <= text.size())
    text.erase(at + temporary.size() - 1, kSuffix);
  return text;
}

}  // namespace

void controls_report_write_error(GError *error, const char *path, const char *fallback) {
  OwnedError owned(error);
  const std::string text = owned ? message_naming(owned->message, path) : fallback;
  controls_report_error(nullptr, text.c_str());
}

int controls_get_user_confirmation(const char *question) {
  GtkWidget *dialog = create_dialog_yes_no_confirmation();
  if (GtkWidget *label = lookup_widget(dialog, "label_yes_no_confirmation"))
    gtk_label_set_markup(GTK_LABEL(label), question);
  gint response = gtk_dialog_run(GTK_DIALOG(dialog));
  gtk_widget_destroy(dialog);
  return response == GTK_RESPONSE_YES ? 1 : 0;
}

void on_menuitem_about_activate(GtkMenuItem *, gpointer) {
  GtkWidget *dialog = gtk_dialog_new_with_buttons("About Quillbar", GTK_WINDOW(window_main),
                                                  GtkDialogFlags(GTK_DIALOG_MODAL | GTK_DIALOG_DESTROY_WITH_PARENT),
                                                  GTK_STOCK_OK, GTK_RESPONSE_OK, nullptr);
  if (GtkWidget *ok = gtk_dialog_get_widget_for_response(GTK_DIALOG(dialog), GTK_RESPONSE_OK))
    gtk_widget_grab_focus(ok);
  gtk_window_set_type_hint(GTK_WINDOW(dialog), GDK_WINDOW_TYPE_HINT_DIALOG);
  gtk_window_set_position(GTK_WINDOW(dialog), GTK_WIN_POS_CENTER);
  gtk_window_set_resizable(GTK_WINDOW(dialog), FALSE);

  GtkWidget *vbox = gtk_vbox_new(FALSE, 0);
  gtk_container_set_border_width(GTK_CONTAINER(vbox), 6);
  gtk_widget_show(vbox);
  gtk_box_pack_start(GTK_BOX(gtk_dialog_get_content_area(GTK_DIALOG(dialog))), vbox, TRUE, TRUE, 0);

  OwnedPixbuf icon(gdk_pixbuf_new_from_xpm_data(const_cast<const char **>(rasters_icon_xpm)));
  GtkWidget *image = gtk_image_new_from_pixbuf(icon.get());
  gtk_misc_set_padding(GTK_MISC(image), 0, 5);
  gtk_widget_show(image);
  gtk_box_pack_start(GTK_BOX(vbox), image, FALSE, FALSE, 0);

  OwnedString name(g_markup_printf_escaped("<span size=\"xx-large\"><b>%s</b></span>", QUILLBAR_NAME_VERSION));
  pack_label(vbox, name.get(), GTK_JUSTIFY_CENTER);

  pack_label(vbox,
             "Quillbar for Commodore 64 Graphics\n<i>An attempt to empower graphic designers\n"
             "and rid the C64 scene of bad raster coding</i> =)",
             GTK_JUSTIFY_CENTER);

  GtkWidget *hbox = gtk_hbox_new(FALSE, 0);
  gtk_container_set_border_width(GTK_CONTAINER(hbox), 6);
  gtk_widget_show(hbox);
  gtk_box_pack_start(GTK_BOX(vbox), hbox, FALSE, FALSE, 0);
  pack_label(hbox,
             "<b>Supported hires formats</b>\n- <i>Art Studio 1.x (by OCP)</i>\n- <i>Doodle (by OMNI)</i>\n"
             "- <i>Image System</i>\n- <i>Interpaint Hires</i>\n",
             GTK_JUSTIFY_LEFT);
  pack_label(hbox,
             "<b>Supported multicolor formats</b>\n- <i>Advanced Art Studio 2.0 (by OCP)</i>\n"
             "- <i>Blazing Paddles</i>\n- <i>Koala Painter 2 (by Audio Light)</i>\n- <i>Vidcom 64 (by Omega)</i>\n"
             "- <i>Wigmore Artist 64 (by Wigmore)</i>",
             GTK_JUSTIFY_LEFT);

  pack_label(vbox, "<b>Supported PETSCII formats</b>\n- <i>PETSCII Interchange</i>", GTK_JUSTIFY_LEFT);

  OwnedString build(g_markup_printf_escaped(
      "Compiled on: %s\nCompiled with gcc version: %d.%d.%d\nGTK+ runtime in use: %u.%u.%u", build_date().c_str(),
      __GNUC__, __GNUC_MINOR__, __GNUC_PATCHLEVEL__, gtk_major_version, gtk_minor_version, gtk_micro_version));
  pack_label(vbox, build.get(), GTK_JUSTIFY_CENTER);

  g_signal_connect_swapped(dialog, "response", G_CALLBACK(gtk_widget_destroy), dialog);
  gtk_widget_show_all(dialog);
}

void controls_adjust_from_options(void) {
  OwnedString zoom(g_strdup_printf("menuitem_zoom_%dx", options_expansion));
  activate_menu_item(zoom.get());

  activate_menu_item(options_input_mode == 1 ? "menuitem_interface_extended" : "menuitem_interface_compact");

  static constexpr std::array palette_items = {"menuitem_palette_peptos", "menuitem_palette_high_contrast",
                                               "menuitem_palette_pixcen", "menuitem_palette_ccs64"};
  if (options_palette >= 0 && options_palette < static_cast<int>(palette_items.size()))
    activate_menu_item(palette_items[options_palette]);

  if (options_reencode_graphics == 1) activate_menu_item("menuitem_reencode_graphics");

  if (options_window_position)
    gtk_window_move(GTK_WINDOW(window_main), options_window_position[0], options_window_position[1]);
}

void controls_attach_icon_to_window(GtkWidget *window) {
  OwnedPixbuf icon(gdk_pixbuf_new_from_xpm_data(const_cast<const char **>(rasters_icon_xpm)));
  if (icon) gtk_window_set_icon(GTK_WINDOW(window), icon.get());
}

ControlsBusyCursor::ControlsBusyCursor()
    : window_(window_main ? window_main->window : nullptr), watch_(gdk_cursor_new(GDK_WATCH)) {
  if (!window_) return;
  gdk_window_set_cursor(window_, watch_);
  gdk_flush();
}

ControlsBusyCursor::~ControlsBusyCursor() {
  if (window_) gdk_window_set_cursor(window_, nullptr);
  gdk_cursor_unref(watch_);
}
