// User feedback on the real main window: status bar, message boxes and the About box (the
// yes/no question is answered in the quit and delete-all tests).
#include <string>
#include <vector>

#include "callbacks.h"
#include "controls.h"
#include "support.h"
#include "testutil.h"

namespace {

// The visible dialogs with the given title.
std::vector<GtkWidget *> dialogs_titled(const std::string &title) {
  std::vector<GtkWidget *> found;
  GList *toplevels = gtk_window_list_toplevels();
  for (GList *l = toplevels; l; l = l->next) {
    const char *t = gtk_window_get_title(GTK_WINDOW(l->data));
    if (GTK_IS_DIALOG(l->data) && gtk_widget_get_visible(GTK_WIDGET(l->data)) && t && title == t)
      found.push_back(GTK_WIDGET(l->data));
  }
  g_list_free(toplevels);
  return found;
}

}  // namespace

TEST(Feedback, StatusBarShowsTheLastMessageOnly) {
  GtkStatusbar *statusbar = GTK_STATUSBAR(lookup_widget(start_app(), "statusbar_main"));
  controls_update_main_statusbar(" Info: Picture opened");
  controls_update_main_statusbar(" Error: second");
  EXPECT_EQ(g_slist_length(statusbar->messages), 1u);
  EXPECT_STREQ(gtk_label_get_text(GTK_LABEL(statusbar->label)), " Error: second");
}

TEST(Feedback, MessageBoxesAreTitledByTypeAndShowPercentUnchanged) {
  start_app();
  for (auto [type, title] : {std::pair{0, "Information"}, std::pair{2, "Warning"}, std::pair{3, "Error"}}) {
    controls_show_message_dialog("100% of %s %d done", type);
    auto boxes = dialogs_titled(title);
    ASSERT_EQ(boxes.size(), 1u) << title;
    EXPECT_STREQ(gtk_label_get_text(GTK_LABEL(GTK_MESSAGE_DIALOG(boxes[0])->label)), "100% of %s %d done");
    gtk_dialog_response(GTK_DIALOG(boxes[0]), GTK_RESPONSE_CLOSE);
  }
}

TEST(Feedback, TwoAboutBoxesCloseIndependently) {
  start_app();
  on_menuitem_about_activate(nullptr, nullptr);
  on_menuitem_about_activate(nullptr, nullptr);
  auto boxes = dialogs_titled("About Quillbar");
  ASSERT_EQ(boxes.size(), 2u);
  gtk_dialog_response(GTK_DIALOG(boxes[0]), GTK_RESPONSE_OK);
  pump_events();
  EXPECT_EQ(dialogs_titled("About Quillbar"), std::vector{boxes[1]});
  gtk_dialog_response(GTK_DIALOG(boxes[1]), GTK_RESPONSE_OK);
  pump_events();
  EXPECT_TRUE(dialogs_titled("About Quillbar").empty());
}
