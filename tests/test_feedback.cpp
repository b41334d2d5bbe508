// User feedback on the real main window: title, status bar, message boxes, the yes/no
// question, the About box and the window icon.
#include <regex>
#include <string>
#include <vector>

#include "callbacks.h"
#include "controls.h"
#include "main.h"
#include "support.h"
#include "testutil.h"

namespace {

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

// The texts of all labels inside a widget, one per line.
std::string label_texts(GtkWidget *widget) {
  std::string out = GTK_IS_LABEL(widget) ? std::string(gtk_label_get_text(GTK_LABEL(widget))) + "\n" : "";
  if (GTK_IS_CONTAINER(widget)) {
    GList *children = gtk_container_get_children(GTK_CONTAINER(widget));
    for (GList *l = children; l; l = l->next) out += label_texts(GTK_WIDGET(l->data));
    g_list_free(children);
  }
  return out;
}

// Answers a non-blocking dialog and tells whether that destroyed it.
bool respond_destroys(GtkWidget *dialog, int response) {
  bool destroyed = false;
  g_signal_connect_swapped(dialog, "destroy", G_CALLBACK(+[](bool *flag) { *flag = true; }), &destroyed);
  gtk_dialog_response(GTK_DIALOG(dialog), response);
  pump_events();
  return destroyed;
}

}  // namespace

TEST(Feedback, TitleAndStatusBarShowTheLastMessageOnly) {
  GtkWidget *window = start_app();
  ASSERT_NE(window, nullptr);
  controls_update_main_window_title("koala.kla");
  EXPECT_STREQ(gtk_window_get_title(GTK_WINDOW(window)), "Quillbar - koala.kla");

  GtkStatusbar *statusbar = GTK_STATUSBAR(lookup_widget(window, "statusbar_main"));
  controls_update_main_statusbar(" Info: Picture opened");
  controls_update_main_statusbar(" Error: second");
  GtkWidget *area = gtk_statusbar_get_message_area(statusbar);
  EXPECT_EQ(label_texts(area), " Error: second\n");
  gtk_statusbar_pop(statusbar, 0);  // nothing may be left underneath
  EXPECT_EQ(label_texts(area), "\n");
}

TEST(Feedback, MessageBoxesAreTitledByTypeAndShowPercentUnchanged) {
  start_app();
  const char *text = "100% of %s %d done";
  for (auto [type, title] : {std::pair{0, "Information"}, std::pair{2, "Warning"}, std::pair{3, "Error"}}) {
    SCOPED_TRACE(title);
    controls_show_message_dialog(text, type);
    auto boxes = dialogs_titled(title);
    ASSERT_EQ(boxes.size(), 1u);
    EXPECT_TRUE(gtk_window_get_modal(GTK_WINDOW(boxes[0])));
    EXPECT_EQ(label_texts(boxes[0]).find(std::string(text) + "\n"), 0u) << label_texts(boxes[0]);
    pump_events();
    EXPECT_TRUE(respond_destroys(boxes[0], GTK_RESPONSE_CLOSE));
  }
}

TEST(Feedback, QuestionAnswersYesOnlyForYes) {
  start_app();
  std::string asked;
  answer_next_dialog(GTK_RESPONSE_YES, [&](GtkWidget *dialog) {
    asked = gtk_label_get_text(GTK_LABEL(lookup_widget(dialog, "label_yes_no_confirmation")));
  });
  EXPECT_EQ(controls_get_user_confirmation("Really <b>quit</b>?"), 1);
  EXPECT_EQ(asked, "Really quit?");  // the question is markup
  answer_next_dialog(GTK_RESPONSE_NO);
  EXPECT_EQ(controls_get_user_confirmation("Sure?"), 0);
  answer_next_dialog(0, nullptr, /*close=*/true);
  EXPECT_EQ(controls_get_user_confirmation("Sure?"), 0);
  pump_events();
  EXPECT_TRUE(dialogs_titled("Confirmation request").empty());
}

TEST(Feedback, TwoAboutBoxesCloseIndependently) {
  start_app();
  on_menuitem_about_activate(nullptr, nullptr);
  on_menuitem_about_activate(nullptr, nullptr);
  auto boxes = dialogs_titled("About Quillbar");
  ASSERT_EQ(boxes.size(), 2u);

  std::string texts = label_texts(boxes[0]);
  EXPECT_NE(texts.find("Quillbar 1.4.2\n"), std::string::npos);
  EXPECT_NE(texts.find("- PETSCII Interchange\n"), std::string::npos);
  EXPECT_TRUE(std::regex_search(texts, std::regex("\nCompiled on: [A-Z][a-z]{2} [1-9][0-9]? [0-9]{4}\n"
                                                  "Compiled with gcc version: [0-9]+\\.[0-9]+\\.[0-9]+\n")));
  gchar *runtime = g_strdup_printf("GTK+ runtime in use: %u.%u.%u\n", gtk_major_version, gtk_minor_version,
                                   gtk_micro_version);
  EXPECT_NE(texts.find(runtime), std::string::npos);
  g_free(runtime);

  EXPECT_TRUE(respond_destroys(boxes[0], GTK_RESPONSE_OK));
  EXPECT_EQ(dialogs_titled("About Quillbar"), std::vector{boxes[1]});
  EXPECT_TRUE(respond_destroys(boxes[1], GTK_RESPONSE_OK));
}

TEST(Feedback, WindowIconIsTheRasterBar) {
  GdkPixbuf *icon = gtk_window_get_icon(GTK_WINDOW(start_app()));
  ASSERT_NE(icon, nullptr);
  ASSERT_EQ(gdk_pixbuf_get_width(icon) * 100 + gdk_pixbuf_get_height(icon), 6464);
  const std::pair<int, unsigned> bands[] = {{0, 0x6c6c6c},  {7, 0x000000},  {10, 0x6f4f25}, {19, 0xb8c76f},
                                            {33, 0xffffff}, {51, 0x433900}, {60, 0x444444}, {63, 0x6c6c6c}};
  for (auto [row, rgb] : bands) {
    EXPECT_EQ(pixel_at(icon, 0, row), rgb) << "row " << row;
    EXPECT_EQ(pixel_at(icon, 63, row), rgb) << "row " << row;
  }
}
