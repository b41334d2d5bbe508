// dialogs: construction of the two file choosers and the yes/no question box. Every
// widget is registered under its name on its dialog, so that lookup_widget finds it.
//
// Owns nothing at run time and touches no global state; the callers (fileopen, controls)
// run and destroy the dialogs.
#include "dialogs.h"

#include "support.h"

namespace {

struct ChooserRow {
  const char *name, *title;
  GtkFileChooserAction action;
  const char *vbox_name, *action_area_name;
  const char *cancel_name, *ok_name, *ok_stock;
};

GtkWidget *new_file_chooser(const ChooserRow &row) {
  GtkWidget *dialog = gtk_file_chooser_dialog_new(_(row.title), nullptr, row.action, nullptr, nullptr);
  gtk_container_set_border_width(GTK_CONTAINER(dialog), 5);
  gtk_window_set_position(GTK_WINDOW(dialog), GTK_WIN_POS_CENTER);
  gtk_window_set_modal(GTK_WINDOW(dialog), TRUE);
  gtk_window_set_type_hint(GTK_WINDOW(dialog), GDK_WINDOW_TYPE_HINT_DIALOG);
  GLADE_HOOKUP_OBJECT_NO_REF(dialog, dialog, row.name);

  support_named_widget(dialog, GTK_DIALOG(dialog)->vbox, row.vbox_name);
  GtkWidget *action_area = support_named_widget(dialog, GTK_DIALOG(dialog)->action_area, row.action_area_name);
  gtk_button_box_set_layout(GTK_BUTTON_BOX(action_area), GTK_BUTTONBOX_END);

  GtkWidget *cancel = support_named_widget(dialog, gtk_button_new_from_stock("gtk-cancel"), row.cancel_name);
  gtk_dialog_add_action_widget(GTK_DIALOG(dialog), cancel, GTK_RESPONSE_CANCEL);
  GTK_WIDGET_SET_FLAGS(cancel, GTK_CAN_DEFAULT);
  GtkWidget *ok = support_named_widget(dialog, gtk_button_new_from_stock(row.ok_stock), row.ok_name);
  gtk_dialog_add_action_widget(GTK_DIALOG(dialog), ok, GTK_RESPONSE_OK);
  GTK_WIDGET_SET_FLAGS(ok, GTK_CAN_DEFAULT);
  gtk_widget_grab_default(ok);
  return dialog;
}

}  // namespace

GtkWidget *create_filechooserdialog_open(void) {
  return new_file_chooser({"filechooserdialog_open", N_("Open picture file"), GTK_FILE_CHOOSER_ACTION_OPEN,
                           "dialog_vbox1", "dialog_action_area1", "button1", "button2", "gtk-open"});
}

GtkWidget *create_filechooserdialog_save(void) {
  return new_file_chooser({"filechooserdialog_save", N_("Save work to file"), GTK_FILE_CHOOSER_ACTION_SAVE,
                           "dialog_vbox2", "dialog_action_area2", "button3", "button4", "gtk-save"});
}

GtkWidget *create_dialog_yes_no_confirmation(void) {
  GtkWidget *dialog = gtk_dialog_new();
  gtk_window_set_title(GTK_WINDOW(dialog), _("Confirmation request"));
  gtk_window_set_position(GTK_WINDOW(dialog), GTK_WIN_POS_CENTER);
  gtk_window_set_modal(GTK_WINDOW(dialog), TRUE);
  gtk_window_set_type_hint(GTK_WINDOW(dialog), GDK_WINDOW_TYPE_HINT_DIALOG);
  GLADE_HOOKUP_OBJECT_NO_REF(dialog, dialog, "dialog_yes_no_confirmation");

  GtkWidget *vbox = support_named_widget(dialog, GTK_DIALOG(dialog)->vbox, "vbox_yes_no_confirmation");
  GtkWidget *label = support_named_widget(dialog, gtk_label_new(""), "label_yes_no_confirmation");
  gtk_label_set_justify(GTK_LABEL(label), GTK_JUSTIFY_CENTER);
  gtk_box_pack_start(GTK_BOX(vbox), label, FALSE, FALSE, 5);

  GtkWidget *buttons = support_named_widget(dialog, GTK_DIALOG(dialog)->action_area, "hbuttonbox_yes_no_confirmation");
  gtk_button_box_set_layout(GTK_BUTTON_BOX(buttons), GTK_BUTTONBOX_SPREAD);
  GtkWidget *yes = support_named_widget(dialog, gtk_button_new_from_stock("gtk-yes"), "button_yes_no_confirmation_yes");
  gtk_dialog_add_action_widget(GTK_DIALOG(dialog), yes, GTK_RESPONSE_YES);
  GTK_WIDGET_SET_FLAGS(yes, GTK_CAN_DEFAULT);
  GtkWidget *no = support_named_widget(dialog, gtk_button_new_from_stock("gtk-no"), "button_yes_no_confirmation_no");
  gtk_dialog_add_action_widget(GTK_DIALOG(dialog), no, GTK_RESPONSE_NO);
  GTK_WIDGET_SET_FLAGS(no, GTK_CAN_DEFAULT);
  return dialog;
}
