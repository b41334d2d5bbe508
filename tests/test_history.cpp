// The undo history as plain data: differences between editor states, applying them both
// ways, the list of steps with its ends and limits, and the memory the steps take.
#include <malloc.h>

#include <functional>

#include "history.h"
#include "testutil.h"

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

}  // namespace

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
