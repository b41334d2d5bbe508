// User feedback on the real main window: the status bar, message boxes, the About box, and
// the yes/no question as quitting asks it, from the File menu and by closing the window,
// each inside a running main loop as in the program. The last test closes the main window
// for good.
#include <glib/gstdio.h>

#include "file_commands.h"

namespace {

// Runs a main loop in which `action` is performed and its question answered. Returns
// true when the action ended the loop; otherwise a follow-up step ends it.
bool action_ends_main_loop(void (*action)(), int response, bool close_question = false) {
  static void (*pending)();
  static guint follow_up;
  static bool ended;
  pending = action, ended = true;
  answer_next_dialog(response, nullptr, close_question);
  g_idle_add(
      [](gpointer) -> gboolean {
        pending();
        follow_up = g_idle_add(
            [](gpointer) -> gboolean {
              follow_up = 0, ended = false, gtk_main_quit();
              return FALSE;
            },
            nullptr);
        return FALSE;
      },
      nullptr);
  gtk_main();
  if (follow_up) g_source_remove(follow_up), follow_up = 0;
  return ended;
}

void quit_from_menu() { activate("menuitem_quit"); }

// What the window manager's close button sends.
void close_main_window() {
  GdkEvent *event = gdk_event_new(GDK_DELETE);
  event->any.window = GDK_WINDOW(g_object_ref(window_main->window));
  event->any.send_event = TRUE;
  gtk_main_do_event(event);
  gdk_event_free(event);
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

// No, or closing the question, keeps the program running; Yes writes the window's current
// position into a configuration file removed beforehand, and ends the loop.
TEST(Quit, OnlyYesSavesThePositionAndEndsTheLoop) {
  start_app();
  for (auto [action, x, y] : {std::tuple{&quit_from_menu, 70, 90}, {&close_main_window, 30, 40}}) {
    EXPECT_FALSE(action_ends_main_loop(action, GTK_RESPONSE_NO));
    EXPECT_FALSE(action_ends_main_loop(action, 0, /*close_question=*/true));
    ASSERT_TRUE(GTK_IS_WINDOW(window_main) && gtk_widget_get_visible(window_main));
    gtk_window_move(GTK_WINDOW(window_main), x, y);
    pump_events(50);
    g_remove(utf8_path_configfile);
    gint wx, wy;
    gtk_window_get_position(GTK_WINDOW(window_main), &wx, &wy);
    EXPECT_EQ(std::pair(wx, wy), std::pair(x, y));
    EXPECT_TRUE(action_ends_main_loop(action, GTK_RESPONSE_YES));
    EXPECT_NE(read_text(utf8_path_configfile).find("\nposition=" + std::to_string(x) + ";" + std::to_string(y) + ";\n"),
              std::string::npos);
  }
}
