// history: differences between two editor states and the list of steps that undo and
// redo walk. Plain data only: no widget, no global of another module; the live editor is
// captured and restored by undo.cpp.
#include "history.h"

#include <algorithm>

namespace {

SelectionMarks marks_of(const SideState &side) {
  return {static_cast<std::int16_t>(side.selection_start), static_cast<std::int16_t>(side.selection_end),
          static_cast<std::int16_t>(side.selection_active), side.selected_row};
}

void set_marks(SideState &side, const SelectionMarks &marks) {
  side.selection_start = marks.start;
  side.selection_end = marks.end;
  side.selection_active = marks.active;
  side.selected_row = marks.selected_row;
}

// The rows between the longest common head and tail of both lists.
RowSplice splice_of(const std::vector<BarRow> &before, const std::vector<BarRow> &after) {
  const std::size_t shorter = std::min(before.size(), after.size());
  std::size_t head = 0;
  while (head < shorter && before[head] == after[head]) ++head;
  std::size_t tail = 0;
  while (tail < shorter - head && before[before.size() - 1 - tail] == after[after.size() - 1 - tail]) ++tail;
  return {static_cast<int>(head), static_cast<int>(before.size() - head - tail),
          static_cast<int>(after.size() - head - tail)};
}

std::size_t step_bytes(const HistoryStep &step) {
  return sizeof step + step.lines.capacity() * sizeof(LineChange) + step.rows.capacity() * sizeof(BarRow);
}

}  // namespace

HistoryStep history_diff(const EditorState &before, const EditorState &after) {
  HistoryStep step{};
  step.extended_before = static_cast<std::int8_t>(before.extended);
  step.extended_after = static_cast<std::int8_t>(after.extended);
  step.border_before = static_cast<std::int8_t>(before.border);
  step.border_after = static_cast<std::int8_t>(after.border);
  for (int side : {0, 1}) {
    const SideState &was = before.sides[side];
    const SideState &now = after.sides[side];
    for (int line = 0; line < RASTER_LINES; ++line)
      if (was.lines[line] != now.lines[line])
        step.lines.push_back({static_cast<std::uint16_t>(side * RASTER_LINES + line),
                              static_cast<std::int16_t>(was.lines[line]), static_cast<std::int16_t>(now.lines[line])});
    const RowSplice splice = splice_of(was.rows, now.rows);
    step.splices[side] = splice;
    step.rows.insert(step.rows.end(), was.rows.begin() + splice.offset,
                     was.rows.begin() + splice.offset + splice.removed);
    step.rows.insert(step.rows.end(), now.rows.begin() + splice.offset,
                     now.rows.begin() + splice.offset + splice.added);
    step.marks_before[side] = marks_of(was);
    step.marks_after[side] = marks_of(now);
  }
  step.lines.shrink_to_fit();
  step.rows.shrink_to_fit();
  return step;
}

int history_step_changes_bars(const HistoryStep &step) {
  const bool rows_changed = std::any_of(step.splices.begin(), step.splices.end(),
                                        [](const RowSplice &s) { return s.removed != 0 || s.added != 0; });
  return !step.lines.empty() || rows_changed || step.extended_before != step.extended_after ||
         step.border_before != step.border_after;
}

void history_apply(EditorState &state, const HistoryStep &step, int forward) {
  state.extended = forward ? step.extended_after : step.extended_before;
  state.border = forward ? step.border_after : step.border_before;
  for (const LineChange &change : step.lines)
    state.sides[change.line / RASTER_LINES].lines[change.line % RASTER_LINES] = forward ? change.after : change.before;
  auto stored = step.rows.begin();
  for (int side : {0, 1}) {
    const RowSplice &splice = step.splices[side];
    const auto removed = stored, added = stored + splice.removed;
    stored = added + splice.added;
    // The rows in place (the removed ones going forward, the added ones going back) make
    // way for the others.
    const auto put = forward ? added : removed;
    const int taken_out = forward ? splice.removed : splice.added;
    const int put_in = forward ? splice.added : splice.removed;
    std::vector<BarRow> &rows = state.sides[side].rows;
    const std::size_t at = std::min<std::size_t>(splice.offset, rows.size());
    const std::size_t out = std::min<std::size_t>(taken_out, rows.size() - at);
    rows.erase(rows.begin() + at, rows.begin() + at + out);
    rows.insert(rows.begin() + at, put, put + put_in);
    set_marks(state.sides[side], forward ? step.marks_after[side] : step.marks_before[side]);
  }
}

void history_keep_selection(HistoryStep &step, const EditorState &state) {
  for (int side : {0, 1}) step.marks_after[side] = marks_of(state.sides[side]);
}

void history_record(History &history, HistoryStep step) {
  while (history.steps.size() > history.done) {
    history.bytes -= step_bytes(history.steps.back());
    history.steps.pop_back();
  }
  history.bytes += step_bytes(step);
  history.steps.push_back(std::move(step));
  while (history.steps.size() > history_limit ||
         (history.bytes > history_byte_budget && history.steps.size() > history_kept_steps)) {
    history.bytes -= step_bytes(history.steps.front());
    history.steps.pop_front();
  }
  history.done = history.steps.size();
}

void history_clear(History &history) {
  history.steps.clear();
  history.done = 0;
  history.bytes = 0;
}

int history_can_undo(const History &history) { return history.done > 0; }

int history_can_redo(const History &history) { return history.done < history.steps.size(); }

HistoryStep *history_take_undo(History &history) {
  if (!history_can_undo(history)) return nullptr;
  return &history.steps[--history.done];
}

HistoryStep *history_take_redo(History &history) {
  if (!history_can_redo(history)) return nullptr;
  return &history.steps[history.done++];
}

std::size_t history_bytes(const History &history) {
  std::size_t bytes = 0;
  for (const HistoryStep &step : history.steps) bytes += step_bytes(step);
  return bytes;
}
