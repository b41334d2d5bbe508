// Undo and redo: the history's limits as plain data; in the running editor a long random session
// of user actions, each one step that Undo takes back and Redo brings again; the keys.
#include <random>

#include "bars_fixture.h"
#include "file_commands.h"
#include "history.h"
#include "ramp.h"
#include "undo.h"

namespace {

// A state with border colour `border` and `fill` on every line of both arrays.
EditorState state_of(int border, int fill = -1) {
  EditorState state{};
  state.border = border;
  for (SideState &side : state.sides) side.lines.fill(fill);
  return state;
}
HistoryStep border_step(int from, int to) { return history_diff(state_of(from), state_of(to)); }

// A new step after undoing drops what could be redone (walking to the ends is the session's);
// beyond the count limit or the byte budget the oldest steps go, a minimum number being kept.
TEST(History, RedoDropAndLimits) {
  History history;
  history_record(history, border_step(6, 1));
  history_record(history, border_step(1, 2));
  history_take_undo(history);
  history_record(history, border_step(1, 9));  // replaces the undone step 1 -> 2
  EXPECT_EQ(history_take_redo(history), nullptr);
  EXPECT_EQ(history_take_undo(history)->border_after, 9);

  history_clear(history);
  for (std::size_t i = 0; i < history_limit + 5; ++i) history_record(history, border_step(i % 16, (i + 1) % 16));
  EXPECT_EQ(history.steps.front().border_before, 5);  // the first five were dropped
  history_clear(history);
  for (int i = 0; i < 5000; ++i) history_record(history, history_diff(state_of(6, i % 2 - 1), state_of(6, -i % 2)));
  EXPECT_LE(history.bytes, history_byte_budget);
  EXPECT_GE(history.steps.size(), history_kept_steps);
  EXPECT_EQ(history.bytes, history_bytes(history));
}

// Whether Undo and Redo can be chosen.
std::pair<bool, bool> sensitive() {
  return {gtk_widget_get_sensitive(lookup_widget(window_main, "menuitem_undo")),
          gtk_widget_get_sensitive(lookup_widget(window_main, "menuitem_redo"))};
}

// The project file the editor would write now.
std::string file_output(const TempDir &dir) {
  save_project_to_file(dir.file("undo.ini").c_str());
  return read_text(dir.file("undo.ini"));
}

// A picture whose left column is colour 2 on its first 20 rows and 5 below, the right one 7.
class Undo : public BarsTest {
 protected:
  void SetUp() override {
    BarsTest::SetUp();
    set_picture(7, 5, 0, 2, 20);
  }
  TempDir dir;
};

// 600 random actions (fixed seed) through the window's widgets, menus and dialogs: each is one
// step exactly when the bars change; Undo and Redo give the states and project files around it.
TEST_F(Undo, RandomSessionGoesBackAndForthExactly) {
  const std::string picture = dir.file("picture.art"), project = dir.file("project.ini");
  write_file(picture, art_studio_picture(0, 11));
  write_text(project, "[colors]\nbase=3\n[left]\nstart=120;\nheight=4;\ncolor=9;\n[right]\nstart=\nheight=\ncolor=\n");
  std::mt19937 random(20261123);
  auto pick = [&](int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); };
  // clang-format off
  static constexpr unsigned compact_keys[] = {GDK_1, GDK_8, GDK_q, GDK_i, GDK_KP_3, GDK_KP_Multiply, GDK_Delete,
      GDK_Home, GDK_End, GDK_Up, GDK_Down, GDK_Page_Up, GDK_Page_Down, GDK_KP_1, GDK_KP_7, GDK_x};
  // clang-format on
  static constexpr unsigned extended_keys[] = {GDK_2, GDK_u, GDK_KP_5, GDK_Up, GDK_Down, GDK_Delete, GDK_KP_8, GDK_x};
  static constexpr unsigned states[] = {0, GDK_SHIFT_MASK, GDK_CONTROL_MASK};
  static constexpr const char *shapes[] = {"radiobutton_ramp_rising", "radiobutton_ramp_falling",
                                           "radiobutton_ramp_rising_falling"};
  set_bars(1, {{60, 10, 2}, {80, 5, 3}, {100, 1, 4}});
  set_lines(0, painted({{120, 30, 4}}));
  set_file_names(nullptr, picture.c_str());  // the picture stays what it is when it is opened again
  undo_module_init();
  EXPECT_EQ(sensitive(), std::pair(false, false));
  const std::string start_file = file_output(dir);
  EditorState first_step_start{};

  for (int i = 0; i < 600; i++) {
    SCOPED_TRACE(testing::Message() << "action " << i);
    const int side = pick(2);
    const EditorState before = undo_capture_state();
    const std::size_t steps = undo_history.done;
    // clang-format off
    switch (pick(13)) {
      case 0: case 1: case 2:
        if (interface_extended == 1) border_key(side, extended_keys[pick(std::size(extended_keys))], states[pick(3)]);
        else border_key(side, compact_keys[pick(std::size(compact_keys))], states[pick(3)]);
        break;
      case 3: press(side, 40 + pick(215), pick(4) ? GDK_BUTTON_PRESS : GDK_2BUTTON_PRESS, 1, pick(2) ? GDK_SHIFT_MASK : 0); break;
      case 4: click(side ? "toolbutton_add_bar_left" : "toolbutton_add_bar_right"); break;
      case 5: click(side ? "toolbutton_remove_bar_left" : "toolbutton_remove_bar_right"); break;
      case 6: {
        const int rows = static_cast<int>(bars(side).size());
        if (rows == 0) break;
        const int column = pick(3);
        const int value = column == 0 ? 45 + pick(210) : column == 1 ? pick(205) - 2 : pick(18) - 1;
        edit_cell(side, column, std::to_string(pick(rows)).c_str(), std::to_string(value).c_str());
        break;
      }
      case 7: press_on(drawingarea_border_color, pick(16) * 16 + 3, 5); break;
      case 8: activate(pick(2) ? "menuitem_interface_compact" : "menuitem_interface_extended"); break;
      case 9:
        gtk_widget_grab_focus(interface_extended == 1 ? GTK_WIDGET(view_of(side)) : area_of(side));
        paint_ramp(("radiobutton_ramp_" + std::string(ramp_presets[pick(7)].key)).c_str(), shapes[pick(3)]);
        break;
      case 10: if (pick(8) == 0) activate("menuitem_tools_auto_expand_picture"); break;
      case 11: if (pick(8) == 0) { answer_next_dialog(pick(2) ? GTK_RESPONSE_YES : GTK_RESPONSE_NO); click("toolbutton_delete_all_bars"); } break;
      case 12:
        if (pick(3) != 0) break;
        answer_next_dialog(GTK_RESPONSE_OK, [&, side](GtkWidget *chooser) { choose_path(chooser, side ? picture : project); });
        activate(side ? "menuitem_open_picture" : "menuitem_open_project");
        break;
    }
    // clang-format on
    pump_events();
    picture_loaded = 1;
    const EditorState after = undo_capture_state();
    EXPECT_EQ(history_step_changes_bars(history_diff(before, after)), int(undo_history.done - steps));
    if (undo_history.done == steps) continue;
    ASSERT_EQ(undo_history.done, steps + 1);
    if (steps == 0) first_step_start = before;
    EXPECT_EQ(sensitive(), std::pair(true, false));
    const std::string after_file = file_output(dir);
    activate("menuitem_undo");
    ASSERT_TRUE(undo_capture_state() == before);
    activate("menuitem_redo");
    ASSERT_TRUE(undo_capture_state() == after);
    ASSERT_EQ(file_output(dir), after_file);
  }
  ASSERT_GT(undo_history.steps.size(), 200u);

  const EditorState end = undo_capture_state();
  const std::string end_file = file_output(dir);
  while (undo_last_step()) continue;
  EXPECT_TRUE(undo_capture_state() == first_step_start);  // the start's bars, where the first change began
  EXPECT_EQ(file_output(dir), start_file);
  EXPECT_EQ(sensitive(), std::pair(false, true));
  while (redo_last_step()) continue;
  EXPECT_TRUE(undo_capture_state() == end);
  EXPECT_EQ(file_output(dir), end_file);
  EXPECT_EQ(sensitive(), std::pair(true, false));
}

// With the left border focused by a click, Ctrl+Z and Ctrl+Shift+Z reach the Edit menu, while
// Alt+E and Ctrl+Y still paint (Num Lock not counting); the cursor comes back with each step.
TEST_F(Undo, KeysWorkWhileABorderHasTheFocus) {
  activate("menuitem_interface_compact");
  undo_module_init();
  gtk_widget_grab_focus(drawingarea_right_border);
  press(1, 100 - first_shown_line);
  ASSERT_EQ(gtk_window_get_focus(GTK_WINDOW(window_main)), drawingarea_left_border);
  constexpr unsigned kCtrl = GDK_CONTROL_MASK, kCtrlShift = GDK_CONTROL_MASK | GDK_SHIFT_MASK;
  const Bars both{{100, 1, 10}, {101, 1, 13}}, first{{100, 1, 10}};
  // The key and its state; the lines painted after it, the cursor line.
  const std::tuple<unsigned, unsigned, Bars, int> steps[] = {{GDK_e, GDK_MOD1_MASK | GDK_MOD2_MASK, first, 101},
                                                             {GDK_y, kCtrl, both, 102},
                                                             {GDK_Down, 0, both, 103},
                                                             {GDK_z, kCtrl, first, 101},
                                                             {GDK_z, kCtrl, {}, 100},
                                                             {GDK_Z, kCtrlShift, first, 101},
                                                             {GDK_Z, kCtrlShift, both, 103}};
  for (const auto &[keyval, state, paint, cursor] : steps) {
    ASSERT_TRUE(gtk_test_widget_send_key(window_main, keyval, GdkModifierType(state)));  // through the X server
    pump_events(20);
    EXPECT_EQ(lines(1), painted(paint)) << keyval << " " << state;
    EXPECT_EQ(selection(1), (Selection{cursor, cursor, 0})) << keyval << " " << state;
  }
  EXPECT_EQ(gtk_window_get_focus(GTK_WINDOW(window_main)), drawingarea_left_border);
}

}  // namespace
