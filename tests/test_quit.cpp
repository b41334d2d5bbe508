// Quitting from the File menu and by closing the window, each inside a running main
// loop as in the program. The last case closes the main window for good.
#include <glib/gstdio.h>

#include <regex>
#include <string>

#include "main.h"
#include "options.h"
#include "support.h"
#include "testutil.h"

namespace {

// Runs a main loop in which `action` is performed and its question answered. Returns
// true when the action ended the loop; otherwise a follow-up step ends it.
bool action_ends_main_loop(void (*action)(), int response, bool close_question = false) {
  static void (*pending)();
  static guint follow_up;
  static bool ended;
  pending = action, ended = true;
  answer_next_dialog(response, nullptr, close_question);
  g_idle_add([](gpointer) -> gboolean {
    pending();
    follow_up = g_idle_add([](gpointer) -> gboolean { follow_up = 0, ended = false, gtk_main_quit(); return FALSE; }, nullptr);
    return FALSE;
  }, nullptr);
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

// Moves the window, removes the configuration file and returns where the window is.
std::string move_window_and_forget_config(int x, int y) {
  gtk_window_move(GTK_WINDOW(window_main), x, y);
  pump_events(50);
  g_remove(utf8_path_configfile);
  gtk_window_get_position(GTK_WINDOW(window_main), &x, &y);
  return std::to_string(x) + ";" + std::to_string(y) + ";";
}

std::string written_position() {
  std::smatch m;
  const std::string text = read_text(utf8_path_configfile);
  return std::regex_search(text, m, std::regex("\nposition=([^\n]*)")) ? m[1].str() : "(none)";
}

}  // namespace

TEST(Quit, AnsweringNoOrClosingTheQuestionKeepsTheProgramRunning) {
  start_app();
  for (auto action : {quit_from_menu, close_main_window}) {
    EXPECT_FALSE(action_ends_main_loop(action, GTK_RESPONSE_NO));
    EXPECT_FALSE(action_ends_main_loop(action, 0, /*close_question=*/true));
  }
  EXPECT_TRUE(GTK_IS_WINDOW(window_main) && gtk_widget_get_visible(window_main));
}

TEST(Quit, YesSavesTheCurrentPositionAndEndsTheLoop) {
  start_app();
  const struct { void (*action)(); int x, y; } cases[] = {{quit_from_menu, 70, 90}, {close_main_window, 30, 40}};
  for (const auto &c : cases) {
    const std::string where = move_window_and_forget_config(c.x, c.y);
    EXPECT_EQ(where, std::to_string(c.x) + ";" + std::to_string(c.y) + ";");
    EXPECT_TRUE(action_ends_main_loop(c.action, GTK_RESPONSE_YES));
    EXPECT_EQ(written_position(), where);
  }
}
