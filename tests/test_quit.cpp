// Quitting from the File menu and by closing the window, each inside a running main
// loop as in the program. The last test closes the main window for good.
#include <glib/gstdio.h>

#include <string>

#include "callbacks.h"
#include "main.h"
#include "options.h"
#include "support.h"
#include "testutil.h"

namespace {

struct LoopRun {
  void (*action)();
  guint follow_up = 0;
  bool still_running = false;
};

// Runs a main loop in which `action` is performed and its question answered. Returns
// true when the action ended the loop; otherwise a follow-up step ends it.
bool action_ends_main_loop(void (*action)(), int response, bool close_question = false) {
  LoopRun run{action};
  answer_next_dialog(response, nullptr, close_question);
  g_idle_add(
      [](gpointer data) -> gboolean {
        auto *run = static_cast<LoopRun *>(data);
        run->action();
        run->follow_up = g_idle_add(
            [](gpointer data) -> gboolean {
              auto *run = static_cast<LoopRun *>(data);
              run->follow_up = 0;
              run->still_running = true;
              gtk_main_quit();
              return FALSE;
            },
            run);
        return FALSE;
      },
      &run);
  gtk_main();
  if (run.follow_up) g_source_remove(run.follow_up);
  return !run.still_running;
}

void quit_from_menu() { gtk_menu_item_activate(GTK_MENU_ITEM(lookup_widget(window_main, "menuitem_quit"))); }

// What the window manager's close button sends.
void close_main_window() {
  GdkEvent *event = gdk_event_new(GDK_DELETE);
  event->any.window = GDK_WINDOW(g_object_ref(window_main->window));
  event->any.send_event = TRUE;
  gtk_main_do_event(event);
  gdk_event_free(event);
}

// Moves the window, removes the configuration file and returns where the window is.
std::string move_window_and_forget_config(int x, int y) {
  gtk_window_move(GTK_WINDOW(window_main), x, y);
  pump_events(50);
  g_remove(utf8_path_configfile);
  gtk_window_get_position(GTK_WINDOW(window_main), &x, &y);
  return std::to_string(x) + ";" + std::to_string(y) + ";";
}

std::string written_position() {
  GKeyFile *kf = g_key_file_new();
  g_key_file_load_from_file(kf, utf8_path_configfile, G_KEY_FILE_NONE, nullptr);
  gchar *value = g_key_file_get_value(kf, "application", "position", nullptr);
  std::string s = value ? value : "(none)";
  g_free(value);
  g_key_file_free(kf);
  return s;
}

}  // namespace

TEST(Quit, AnsweringNoOrClosingTheQuestionKeepsTheProgramRunning) {
  ASSERT_NE(start_app(), nullptr);
  move_window_and_forget_config(60, 50);
  EXPECT_FALSE(action_ends_main_loop(quit_from_menu, GTK_RESPONSE_NO));
  EXPECT_FALSE(action_ends_main_loop(quit_from_menu, 0, /*close_question=*/true));
  EXPECT_FALSE(action_ends_main_loop(close_main_window, GTK_RESPONSE_NO));
  EXPECT_FALSE(action_ends_main_loop(close_main_window, 0, /*close_question=*/true));
  ASSERT_TRUE(GTK_IS_WINDOW(window_main));
  EXPECT_TRUE(gtk_widget_get_visible(window_main));
  EXPECT_FALSE(g_file_test(utf8_path_configfile, G_FILE_TEST_EXISTS));  // nothing written
}

TEST(Quit, YesFromTheMenuSavesTheCurrentPositionReleasesThePictureAndEndsTheLoop) {
  start_app();
  const std::string where = move_window_and_forget_config(70, 90);
  EXPECT_EQ(where, "70;90;");
  pixbuf_picture = gdk_pixbuf_new(GDK_COLORSPACE_RGB, TRUE, 8, 320, 200);
  EXPECT_TRUE(action_ends_main_loop(quit_from_menu, GTK_RESPONSE_YES));
  EXPECT_EQ(written_position(), where);
  EXPECT_EQ(pixbuf_picture, nullptr);
  EXPECT_EQ(surface_border_color, nullptr);
}

TEST(Quit, YesFromTheCloseButtonSavesAndEndsTheLoopThroughTheWindowsEnd) {
  start_app();
  const std::string where = move_window_and_forget_config(30, 40);
  bool destroyed = false;
  g_signal_connect_swapped(window_main, "destroy", G_CALLBACK(+[](bool *flag) { *flag = true; }), &destroyed);
  EXPECT_TRUE(action_ends_main_loop(close_main_window, GTK_RESPONSE_YES));
  EXPECT_EQ(written_position(), where);
  EXPECT_TRUE(destroyed);
}
