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

}  // namespace

// Each kind of change goes there and back exactly; a step stores only the changed lines
// and the rows between the unchanged head and tail of a list.
TEST(History, DifferencesGoBothWaysStoringOnlyWhatChanged) {
  const struct {
    const char *what;
    std::function<void(EditorState &)> edit;
    int is_step, stored_lines, stored_rows;
  } changes[] = {
      {"a line painted, cursor stepping", [](EditorState &s) { s.sides[1].lines[100] = 5, s.sides[1].selection_start = s.sides[1].selection_end = 101; }, 1, 1, 0},
      {"a range on the right", [](EditorState &s) { std::fill(&s.sides[0].lines[51], &s.sides[0].lines[251], 3); }, 1, 200, 0},
      {"a row inserted in the middle", [](EditorState &s) { s.sides[1].rows.insert(s.sides[1].rows.begin() + 1, {60, 1, 1}); }, 1, 0, 1},
      {"first row removed, no selection", [](EditorState &s) { s.sides[1].rows.erase(s.sides[1].rows.begin()), s.sides[1].selected_row = -1; }, 1, 0, 1},
      {"middle row changed", [](EditorState &s) { s.sides[1].rows[1].start = 71; }, 1, 0, 2},
      {"both lists emptied", [](EditorState &s) { s.sides[0].rows.clear(), s.sides[1].rows.clear(); }, 1, 0, 4},
      {"border colour and mode", [](EditorState &s) { s.border = 0, s.extended = 0; }, 1, 0, 0},
      {"selections only", [](EditorState &s) { s.sides[0].selection_start = s.sides[0].selection_end = 80, s.sides[1].selected_row = 2; }, 0, 0, 0},
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
  EXPECT_EQ(history.bytes, history_bytes(history));

  // Steps of whole arrays: the oldest go once the byte budget is used, down to 200 kept.
  history_clear(history);
  EditorState full = a;
  for (SideState &side : full.sides) side.lines.fill(0);
  for (int i = 0; i < 5000; ++i) history_record(history, history_diff(i % 2 ? full : a, i % 2 ? a : full));
  EXPECT_LE(history.bytes, history_byte_budget);
  EXPECT_GE(history.steps.size(), history_kept_steps);
  EXPECT_LT(history.steps.size(), 5000u);
  EXPECT_EQ(history.bytes, history_bytes(history));
  EXPECT_EQ(history.done, history.steps.size());
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
