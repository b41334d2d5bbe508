// The undo history as plain data: differences between editor states, applying them both
// ways, the list of steps with its ends and limit, and the memory the steps take.
#include <malloc.h>

#include <functional>

#include "history.h"
#include "testutil.h"

namespace {

EditorState blank_state() {
  EditorState state{};
  state.extended = 1;
  state.border = 6;
  for (SideState &side : state.sides) {
    side.lines.fill(-1);
    side.selection_start = side.selection_end = 51;
    side.selected_row = -1;
  }
  state.sides[1].rows = {{51, 10, 2}, {70, 5, 3}, {90, 1, 7}};
  state.sides[0].rows = {{60, 4, 1}};
  return state;
}

struct Change {
  const char *what;
  std::function<void(EditorState &)> edit;
  bool is_step;  // a selection alone is no step
};

}  // namespace

// Each kind of change is recorded as a difference that takes the state there and back
// exactly, and only the changed lines and rows are stored.
TEST(History, DifferencesGoBothWays) {
  const std::vector<Change> changes = {
      {"one line painted, cursor stepping down",
       [](EditorState &s) { s.sides[1].lines[100] = 5, s.sides[1].selection_start = s.sides[1].selection_end = 101; },
       true},
      {"a range cleared on the right",
       [](EditorState &s) { std::fill(&s.sides[0].lines[51], &s.sides[0].lines[251], 3); }, true},
      {"a row inserted in the middle", [](EditorState &s) { s.sides[1].rows.insert(s.sides[1].rows.begin() + 1, {60, 1, 1}); }, true},
      {"the first row removed, selection gone",
       [](EditorState &s) { s.sides[1].rows.erase(s.sides[1].rows.begin()), s.sides[1].selected_row = -1; }, true},
      {"the last row recoloured", [](EditorState &s) { s.sides[1].rows.back().color = 15; }, true},
      {"both lists emptied", [](EditorState &s) { s.sides[0].rows.clear(), s.sides[1].rows.clear(); }, true},
      {"rows equal at both ends, middle replaced",
       [](EditorState &s) { s.sides[1].rows = {{51, 10, 2}, {71, 5, 3}, {72, 2, 2}, {90, 1, 7}}; }, true},
      {"border colour", [](EditorState &s) { s.border = 0; }, true},
      {"input mode", [](EditorState &s) { s.extended = 0; }, true},
      {"cursor moved only", [](EditorState &s) { s.sides[0].selection_start = s.sides[0].selection_end = 80; }, false},
      {"range selected and bar picked only",
       [](EditorState &s) { s.sides[1].selection_end = 90, s.sides[1].selection_active = 1, s.sides[1].selected_row = 2; },
       false},
      {"nothing", [](EditorState &) {}, false},
  };
  for (const Change &change : changes) {
    SCOPED_TRACE(change.what);
    EditorState before = blank_state();
    before.sides[1].selected_row = 0;
    EditorState after = before;
    change.edit(after);
    const HistoryStep step = history_diff(before, after);
    EXPECT_EQ(history_step_changes_bars(step), change.is_step ? 1 : 0);

    EditorState state = after;
    history_apply(state, step, 0);
    EXPECT_TRUE(state == before);
    history_apply(state, step, 1);
    EXPECT_TRUE(state == after);

    int changed_lines = 0, changed_rows = 0;
    for (int side : {0, 1}) {
      for (int line = 0; line < RASTER_LINES; ++line) changed_lines += before.sides[side].lines[line] != after.sides[side].lines[line];
      changed_rows += static_cast<int>(before.sides[side].rows.size() + after.sides[side].rows.size());
    }
    EXPECT_EQ(static_cast<int>(step.lines.size()), changed_lines);
    EXPECT_LE(static_cast<int>(step.rows.size()), changed_rows);
  }
}

// The kept rows of a middle replacement are not stored again.
TEST(History, OnlyTheChangedRowsAreStored) {
  EditorState before = blank_state();
  EditorState after = before;
  after.sides[1].rows[1] = {71, 5, 3};
  const HistoryStep step = history_diff(before, after);
  ASSERT_EQ(step.rows.size(), 2u);  // the old and the new second row
  EXPECT_EQ(step.rows[0], (BarRow{70, 5, 3}));
  EXPECT_EQ(step.rows[1], (BarRow{71, 5, 3}));
  EXPECT_EQ(step.splices[1].offset, 1);
}

// Undo and redo walk the list; a new step after undoing drops what could be redone;
// beyond the limit the oldest step goes.
TEST(History, EndsRedoDropAndLimit) {
  History history;
  EXPECT_FALSE(history_can_undo(history));
  EXPECT_FALSE(history_can_redo(history));
  EXPECT_EQ(history_take_undo(history), nullptr);
  EXPECT_EQ(history_take_redo(history), nullptr);

  EditorState a = blank_state(), b = a, c = a;
  b.border = 1, c.border = 2;
  history_record(history, history_diff(a, b));
  history_record(history, history_diff(b, c));
  EXPECT_TRUE(history_can_undo(history));
  EXPECT_FALSE(history_can_redo(history));
  EXPECT_EQ(history_take_undo(history)->border_before, 1);
  EXPECT_EQ(history_take_undo(history)->border_before, 6);
  EXPECT_FALSE(history_can_undo(history));
  EXPECT_EQ(history_take_redo(history)->border_after, 1);
  EXPECT_TRUE(history_can_redo(history));

  EditorState d = b;
  d.border = 9;
  history_record(history, history_diff(b, d));  // replaces the undone step b -> c
  EXPECT_FALSE(history_can_redo(history));
  EXPECT_EQ(history.steps.size(), 2u);
  EXPECT_EQ(history.steps.back().border_after, 9);

  EXPECT_GE(history_limit, 200u);
  history_clear(history);
  for (std::size_t i = 0; i < history_limit + 5; ++i) {
    EditorState x = a, y = a;
    x.border = static_cast<int>(i % 16), y.border = static_cast<int>((i + 1) % 16);
    history_record(history, history_diff(x, y));
  }
  EXPECT_EQ(history.steps.size(), history_limit);
  EXPECT_EQ(history.steps.front().border_before, 5);  // the first five were dropped
}

// 10,000 steps of single-line painting in Compact mode stay under 2 MB.
TEST(History, TenThousandSingleLineStepsTakeUnderTwoMegabytes) {
  const std::size_t heap_before = mallinfo2().uordblks;
  History history;
  EditorState state = blank_state();
  state.extended = 0;
  for (int i = 0; i < 10000; ++i) {
    EditorState next = state;
    SideState &side = next.sides[i % 2];
    side.lines[side.selection_start] = i % 16;
    if (side.selection_start < 250) side.selection_start = side.selection_end = side.selection_start + 1;
    else side.selection_start = side.selection_end = 51;
    history_record(history, history_diff(state, next));
    state = next;
  }
  const std::size_t heap_used = mallinfo2().uordblks - heap_before;
  ASSERT_EQ(history.steps.size(), 10000u);
  const std::size_t stored = history_bytes(history);
  std::printf("history of 10000 single-line steps: %zu bytes stored, %zu bytes of heap\n", stored, heap_used);
  EXPECT_LT(stored, 2u * 1024 * 1024);
  EXPECT_LT(heap_used, 2u * 1024 * 1024);
}
