// Undo and redo. The history as plain data: differences between editor states, applying
// them both ways, the list of steps with its ends and limits, and the memory the steps take.
// In the running editor: every listed user action is one step that undo takes back and redo
// brings again, a long random session goes back and forth exactly, and Ctrl+Z acts while a
// border area has the focus. The Edit menu's items follow the ends of the history.
#include <malloc.h>

#include <functional>
#include <random>

#include "bars_fixture.h"
#include "file_commands.h"
#include "history.h"
#include "rampdialog.h"
#include "undo.h"

namespace {

EditorState blank_state() {
  EditorState state{};
  state.extended = 1, state.border = 6;
  for (SideState &side : state.sides) {
    side.lines.fill(-1);
    side.selection_start = side.selection_end = 51;
    side.selected_row = -1;
  }
  state.sides[1].rows = {{51, 10, 2}, {70, 5, 3}, {90, 1, 7}};
  state.sides[0].rows = {{60, 4, 1}};
  return state;
}

HistoryStep border_step(int from, int to) {
  EditorState a = blank_state(), b = a;
  a.border = from, b.border = to;
  return history_diff(a, b);
}

// Each kind of change goes there and back exactly; a step stores only the changed lines
// and the rows between the unchanged head and tail of a list.
TEST(History, DifferencesGoBothWaysStoringOnlyWhatChanged) {
  using S = EditorState &;
  const struct {
    const char *what;
    std::function<void(S)> edit;
    int is_step, stored_lines, stored_rows;
  } changes[] = {
      // clang-format off
      {"a line painted, cursor stepping", [](S s) { s.sides[1].lines[100] = 5, s.sides[1].selection_start = s.sides[1].selection_end = 101; }, 1, 1, 0},
      {"a range on the right", [](S s) { std::fill(&s.sides[0].lines[51], &s.sides[0].lines[251], 3); }, 1, 200, 0},
      {"a row inserted in the middle", [](S s) { s.sides[1].rows.insert(s.sides[1].rows.begin() + 1, {60, 1, 1}); }, 1, 0, 1},
      {"first row removed, no selection", [](S s) { s.sides[1].rows.erase(s.sides[1].rows.begin()), s.sides[1].selected_row = -1; }, 1, 0, 1},
      {"middle row changed", [](S s) { s.sides[1].rows[1].start = 71; }, 1, 0, 2},
      {"both lists emptied", [](S s) { s.sides[0].rows.clear(), s.sides[1].rows.clear(); }, 1, 0, 4},
      {"border colour and mode", [](S s) { s.border = 0, s.extended = 0; }, 1, 0, 0},
      {"selections only", [](S s) { s.sides[0].selection_start = s.sides[0].selection_end = 80, s.sides[1].selected_row = 2; }, 0, 0, 0},
      // clang-format on
  };
  for (const auto &change : changes) {
    SCOPED_TRACE(change.what);
    EditorState before = blank_state();
    before.sides[1].selected_row = 0;
    EditorState after = before;
    change.edit(after);
    const HistoryStep step = history_diff(before, after);
    EXPECT_EQ(history_step_changes_bars(step), change.is_step);
    EXPECT_EQ(static_cast<int>(step.lines.size()), change.stored_lines);
    EXPECT_EQ(static_cast<int>(step.rows.size()), change.stored_rows);
    EditorState state = after;
    history_apply(state, step, 0);
    EXPECT_TRUE(state == before);
    history_apply(state, step, 1);
    EXPECT_TRUE(state == after);
  }
}

// Undo and redo walk the list; a new step after undoing drops what could be redone; beyond
// the count limit or the byte budget the oldest steps go, at least 200 being kept.
TEST(History, EndsRedoDropAndLimits) {
  History history;
  EXPECT_EQ(history_take_undo(history), nullptr);
  EXPECT_EQ(history_take_redo(history), nullptr);
  history_record(history, border_step(6, 1));
  history_record(history, border_step(1, 2));
  EXPECT_EQ(history_take_undo(history)->border_before, 1);
  EXPECT_EQ(history_take_undo(history)->border_before, 6);
  EXPECT_FALSE(history_can_undo(history));
  EXPECT_EQ(history_take_redo(history)->border_after, 1);
  EXPECT_TRUE(history_can_redo(history));
  history_record(history, border_step(1, 9));  // replaces the undone step 1 -> 2
  EXPECT_FALSE(history_can_redo(history));
  EXPECT_TRUE(history_can_undo(history));
  ASSERT_EQ(history.steps.size(), 2u);
  EXPECT_EQ(history.steps.back().border_after, 9);

  history_clear(history);
  for (std::size_t i = 0; i < history_limit + 5; ++i) history_record(history, border_step(i % 16, (i + 1) % 16));
  EXPECT_EQ(history.steps.size(), history_limit);
  EXPECT_EQ(history.steps.front().border_before, 5);  // the first five were dropped
  EXPECT_EQ(history.bytes, history_bytes(history));

  history_clear(history);
  EditorState empty = blank_state(), full = empty;
  for (SideState &side : full.sides) side.lines.fill(0);
  for (int i = 0; i < 5000; ++i) history_record(history, history_diff(i % 2 ? full : empty, i % 2 ? empty : full));
  EXPECT_LE(history.bytes, history_byte_budget);
  EXPECT_GE(history.steps.size(), std::max<std::size_t>(history_kept_steps, 200));
  EXPECT_LT(history.steps.size(), 5000u);
  EXPECT_EQ(history.bytes, history_bytes(history));
}

// 10,000 steps of single-line painting in Compact mode stay under 2 MB, counted and on the heap.
TEST(History, TenThousandSingleLineStepsTakeUnderTwoMegabytes) {
  const std::size_t heap_before = mallinfo2().uordblks;
  History history;
  EditorState state = blank_state();
  state.extended = 0;
  for (int i = 0; i < 10000; ++i) {
    EditorState next = state;
    SideState &side = next.sides[i % 2];
    side.lines[side.selection_start] = i % 16;
    side.selection_start = side.selection_end = side.selection_start < 250 ? side.selection_start + 1 : 51;
    history_record(history, history_diff(state, next));
    state = next;
  }
  ASSERT_EQ(history.steps.size(), 10000u);
  EXPECT_LT(history_bytes(history), 2u << 20);
  EXPECT_LT(mallinfo2().uordblks - heap_before, 2u << 20);
}

// A key press as the window receives it from the X server, so that accelerators apply.
void send_key(unsigned keyval, unsigned state) {
  GdkEventKey key{};
  key.type = GDK_KEY_PRESS, key.window = window_main->window, key.send_event = TRUE, key.keyval = keyval;
  key.state = state;
  GdkKeymapKey *keys = nullptr;
  gint count = 0;
  if (gdk_keymap_get_entries_for_keyval(gdk_keymap_get_default(), gdk_keyval_to_lower(keyval), &keys, &count))
    key.hardware_keycode = guint16(keys[0].keycode), key.group = guint8(keys[0].group), g_free(keys);
  gtk_main_do_event(reinterpret_cast<GdkEvent *>(&key));
}

void pick_border_colour(int colour) { press_on(drawingarea_border_color, colour * 16 + 3, 5); }
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
    if (pixbuf_picture) g_object_unref(pixbuf_picture);
    pixbuf_picture = gdk_pixbuf_new(GDK_COLORSPACE_RGB, TRUE, 8, 320, 200);
    gdk_pixbuf_fill(pixbuf_picture, rgb_of(7) << 8 | 0xff);
    guchar *pixels = gdk_pixbuf_get_pixels(pixbuf_picture);
    for (int row = 0; row < 200; row++)
      palette_get_rgb_at_index(row < 20 ? 2 : 5, pixels + row * gdk_pixbuf_get_rowstride(pixbuf_picture));
    undo_module_init();
  }
  TempDir dir;
};

struct Action {
  const char *what;
  std::function<void()> setup;  // state before the action, made outside the history
  std::function<void()> act;
  int steps;  // 1, or 0 for actions that change no bar
};

const Bars three_bars{{60, 10, 2}, {80, 5, 3}, {100, 1, 4}};

void extended_with_bars() {
  activate("menuitem_interface_extended");
  set_bars(1, three_bars), set_bars(0, {{70, 3, 1}});
  select_row(1, 1);
}

void compact_with_lines() {
  activate("menuitem_interface_compact");
  set_lines(1, painted({{60, 10, 2}, {95, 3, 1}}));
  set_selection(1, {95, 97, 1});
}

// Each action on its own: one step (or none), undo gives the state before, redo the one after.
TEST_F(Undo, EachUserActionIsOneStep) {
  const std::string picture = dir.file("picture.art"), project = dir.file("project.ini");
  write_file(picture, art_studio_picture(0, 11));
  write_text(project, "[colors]\nbase=3\n[left]\nstart=120;\nheight=4;\ncolor=9;\n[right]\nstart=\nheight=\ncolor=\n");
  auto open_through_chooser = [](const char *item, const std::string &path) {
    answer_next_dialog(GTK_RESPONSE_OK, [path](GtkWidget *dialog) { choose_path(dialog, path); });
    activate(item);
  };

  const std::vector<Action> actions = {
      // clang-format off
      {"cell edit Line", extended_with_bars, [] { edit_cell(1, 0, "0", "90"); }, 1},
      {"cell edit Height", extended_with_bars, [] { edit_cell(1, 1, "2", "7"); }, 1},
      {"cell edit Color", extended_with_bars, [] { edit_cell(0, 2, "0", "15"); }, 1},
      {"cell edit refused", extended_with_bars, [] { edit_cell(1, 2, "0", "16"); }, 0},
      {"add left", extended_with_bars, [] { click("toolbutton_add_bar_left"); }, 1},
      {"add right", extended_with_bars, [] { click("toolbutton_add_bar_right"); }, 1},
      {"remove left", extended_with_bars, [] { click("toolbutton_remove_bar_left"); }, 1},
      {"remove right, nothing selected", extended_with_bars, [] { click("toolbutton_remove_bar_right"); }, 0},
      {"delete all", extended_with_bars, [] { answer_next_dialog(GTK_RESPONSE_YES); click("toolbutton_delete_all_bars"); }, 1},
      {"delete all, answered no", extended_with_bars, [] { answer_next_dialog(GTK_RESPONSE_NO); click("toolbutton_delete_all_bars"); }, 0},
      {"colour key on the selected bar", extended_with_bars, [] { border_key(1, GDK_e); }, 1},
      {"Delete key on the selected bar", extended_with_bars, [] { border_key(1, GDK_Delete); }, 1},
      {"Down key picks the next bar", extended_with_bars, [] { border_key(1, GDK_Down); }, 0},
      {"mouse pick of a bar", extended_with_bars, [] { press(1, 48 + 31); }, 0},
      {"border colour picked", extended_with_bars, [] { pick_border_colour(0); }, 1},
      {"same border colour picked", extended_with_bars, [] { pick_border_colour(6); }, 0},
      {"to Compact mode", extended_with_bars, [] { activate("menuitem_interface_compact"); }, 1},
      {"to Extended mode", compact_with_lines, [] { activate("menuitem_interface_extended"); }, 1},
      {"auto-extend, Extended", extended_with_bars, [] { activate("menuitem_tools_auto_expand_picture"); }, 1},
      {"auto-extend, Compact", compact_with_lines, [] { activate("menuitem_tools_auto_expand_picture"); }, 1},
      {"ramp, Extended", extended_with_bars, [] { paint_ramp("radiobutton_ramp_blue", "radiobutton_ramp_rising"); }, 1},
      {"ramp, Compact", compact_with_lines, [] { paint_ramp("radiobutton_ramp_fire", "radiobutton_ramp_falling"); }, 1},
      {"paint key: line and cursor step", [] { compact_with_lines(), set_selection(1, {100, 100, 0}); }, [] { border_key(1, GDK_5); }, 1},
      {"Delete over a range", compact_with_lines, [] { border_key(1, GDK_Delete); }, 1},
      {"repeat the range", compact_with_lines, [] { border_key(1, GDK_KP_Multiply); }, 1},
      {"Shift+Up extends the range", compact_with_lines, [] { border_key(1, GDK_Up, GDK_SHIFT_MASK); }, 0},
      {"mouse click places the cursor", compact_with_lines, [] { press(1, 48 + 10); }, 0},
      {"double click selects a run", compact_with_lines, [] { press(1, 48 + 12); press(1, 48 + 12, GDK_2BUTTON_PRESS); }, 0},
      {"open picture (border colour)", extended_with_bars, [&] { open_through_chooser("menuitem_open_picture", picture); }, 1},
      {"open project, Extended", extended_with_bars, [&] { open_through_chooser("menuitem_open_project", project); }, 1},
      {"open project, Compact", compact_with_lines, [&] { open_through_chooser("menuitem_open_project", project); }, 1},
      // clang-format on
  };
  for (const Action &a : actions) {
    SCOPED_TRACE(a.what);
    border_color_index = 6;
    picture_loaded = 1;
    a.setup();
    undo_module_init();
    const EditorState before = undo_capture_state();
    a.act();
    pump_events();
    picture_loaded = 1;
    const EditorState after = undo_capture_state();
    ASSERT_EQ(undo_history.steps.size(), static_cast<std::size_t>(a.steps));
    EXPECT_EQ(history_step_changes_bars(history_diff(before, after)), a.steps)
        << "a step exactly when the bars changed";
    if (a.steps == 0) continue;
    EXPECT_EQ(sensitive(), std::pair(true, false));
    activate("menuitem_undo");
    EXPECT_TRUE(undo_capture_state() == before);
    EXPECT_EQ(sensitive(), std::pair(false, true));
    activate("menuitem_redo");
    EXPECT_TRUE(undo_capture_state() == after);
  }
}

// 500 random actions across both modes (fixed seed): each step undone and redone gives the same
// states and file; undoing all gives the start, redoing all the end.
TEST_F(Undo, RandomSessionGoesBackAndForthExactly) {
  std::mt19937 random(20261123);
  auto pick = [&](int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); };
  // clang-format off
  static constexpr unsigned compact_keys[] = {GDK_1, GDK_8, GDK_q, GDK_i, GDK_KP_3, GDK_KP_Multiply, GDK_Delete,
      GDK_Home, GDK_End, GDK_Up, GDK_Down, GDK_Page_Up, GDK_Page_Down, GDK_KP_1, GDK_KP_7, GDK_x};
  // clang-format on
  static constexpr unsigned extended_keys[] = {GDK_2, GDK_u, GDK_KP_5, GDK_Up, GDK_Down, GDK_Delete, GDK_KP_8, GDK_x};
  static constexpr unsigned states[] = {0, GDK_SHIFT_MASK, GDK_CONTROL_MASK};
  set_bars(1, three_bars);
  set_lines(0, painted({{120, 30, 4}}));
  undo_module_init();
  const std::string start_file = file_output(dir);
  EditorState first_step_start{};
  int recorded = 0;

  for (int i = 0; i < 500; i++) {
    const int side = pick(2);
    const EditorState before = undo_capture_state();
    const std::size_t steps = undo_history.done;
    // clang-format off
    switch (pick(12)) {
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
      case 7: pick_border_colour(pick(16)); break;
      case 8: activate(pick(2) ? "menuitem_interface_compact" : "menuitem_interface_extended"); break;
      case 9: ramp_paint(side, ramp_shape(ramp_preset_colours(ramp_presets[pick(7)]), RampShape(pick(3)))); break;
      case 10: if (pick(8) == 0) activate("menuitem_tools_auto_expand_picture"); break;
      case 11: if (pick(10) == 0) { answer_next_dialog(GTK_RESPONSE_YES); click("toolbutton_delete_all_bars"); } break;
    }
    // clang-format on
    const EditorState after = undo_capture_state();
    if (undo_history.done == steps) {
      EXPECT_EQ(history_step_changes_bars(history_diff(before, after)), 0) << "action " << i;
      continue;
    }
    ASSERT_EQ(undo_history.done, steps + 1) << "action " << i;
    if (recorded++ == 0) first_step_start = before;
    const std::string after_file = file_output(dir);
    ASSERT_TRUE(undo_last_step());
    ASSERT_TRUE(undo_capture_state() == before) << "undo of action " << i;
    ASSERT_TRUE(redo_last_step());
    ASSERT_TRUE(undo_capture_state() == after) << "redo of action " << i;
    ASSERT_EQ(file_output(dir), after_file) << "action " << i;
  }
  ASSERT_GT(recorded, 200);
  EXPECT_EQ(undo_history.steps.size(), static_cast<std::size_t>(recorded));

  const EditorState end = undo_capture_state();
  const std::string end_file = file_output(dir);
  while (undo_last_step()) continue;
  EXPECT_TRUE(undo_capture_state() == first_step_start);  // the start's bars, where the first change began
  EXPECT_EQ(file_output(dir), start_file);
  EXPECT_FALSE(sensitive().first);
  while (redo_last_step()) continue;
  EXPECT_TRUE(undo_capture_state() == end);
  EXPECT_EQ(file_output(dir), end_file);
  EXPECT_FALSE(sensitive().second);
}

// A click on line 100 gives the left border the focus; there Ctrl+Z and Ctrl+Shift+Z reach the
// Edit menu and are no colour keys, while Alt+E and Ctrl+Y still paint (Num Lock not counting).
// The cursor comes back with each step.
TEST_F(Undo, KeysWorkWhileABorderHasTheFocus) {
  activate("menuitem_interface_compact");
  undo_module_init();
  gtk_widget_grab_focus(drawingarea_right_border);
  press(1, 100 - 3);
  ASSERT_EQ(gtk_window_get_focus(GTK_WINDOW(window_main)), drawingarea_left_border);
  constexpr unsigned kCtrl = GDK_CONTROL_MASK, kCtrlShift = GDK_CONTROL_MASK | GDK_SHIFT_MASK;
  const Bars both{{100, 1, 10}, {101, 1, 13}}, first{{100, 1, 10}};
  const struct {
    unsigned keyval, state;
    Bars painted;
    int cursor;
  } steps[] = {
      {GDK_e, GDK_MOD1_MASK | GDK_MOD2_MASK, first, 101},
      {GDK_y, kCtrl, both, 102},
      {GDK_Down, 0, both, 103},
      {GDK_z, kCtrl, first, 101},
      {GDK_z, kCtrl, {}, 100},
      {GDK_z, kCtrl, {}, 100},
      {GDK_Z, kCtrlShift, first, 101},
      {GDK_Z, kCtrlShift, both, 103},
      {GDK_Z, kCtrlShift, both, 103},
  };
  for (const auto &step : steps) {
    send_key(step.keyval, step.state);
    EXPECT_EQ(lines(1), painted(step.painted)) << step.keyval << " " << step.state;
    EXPECT_EQ(selection(1), (Selection{step.cursor, step.cursor, 0})) << step.keyval << " " << step.state;
  }
  EXPECT_EQ(gtk_window_get_focus(GTK_WINDOW(window_main)), drawingarea_left_border);
}

}  // namespace
