// history: the undo history of the bars, as plain data. A state is everything an edit can
// change (both input modes' bars, the selections, the border colour, the input mode); a
// step keeps only what differs between the state before and after one user action.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <vector>

#include "geometry.h"

// One row of a bar list: start line, height, colour.
struct BarRow {
  int start, height, color;
  bool operator==(const BarRow &) const = default;
};

// One side's bars in both forms, with its selection in each.
struct SideState {
  std::array<int, RASTER_LINES> lines;  // Compact mode's colour per raster line
  int selection_start, selection_end, selection_active;
  std::vector<BarRow> rows;  // Extended mode's list, in list order
  int selected_row;          // index of the selected row, -1 for none
  bool operator==(const SideState &) const = default;
};

struct EditorState {
  int extended;                    // the input mode in force
  int border;                      // the border colour
  std::array<SideState, 2> sides;  // indexed by the side flag: [1] left, [0] right
  bool operator==(const EditorState &) const = default;
};

// A changed line colour; `line` counts both arrays, the left one from RASTER_LINES on.
struct LineChange {
  std::uint16_t line;
  std::int16_t before, after;
};

// Where a list changed: `removed` rows at `offset` were replaced by `added` rows.
struct RowSplice {
  int offset, removed, added;
};

// A side's selection in both modes, kept small.
struct SelectionMarks {
  std::int16_t start, end, active;
  int selected_row;
};

struct HistoryStep {
  std::vector<LineChange> lines;
  std::vector<BarRow> rows;  // per side (right, then left): the removed rows, then the added ones
  std::array<RowSplice, 2> splices;
  std::array<SelectionMarks, 2> marks_before, marks_after;
  std::int8_t extended_before, extended_after, border_before, border_after;
};

// Steps kept before the oldest is dropped.
constexpr std::size_t history_limit = 10000;
// Bytes the steps may take before the oldest are dropped (steps of whole projects are
// large), keeping at least history_kept_steps of them.
constexpr std::size_t history_byte_budget = 16u << 20;
constexpr std::size_t history_kept_steps = 200;

struct History {
  std::deque<HistoryStep> steps;
  std::size_t done = 0;   // steps[0 .. done-1] are applied; the rest can be redone
  std::size_t bytes = 0;  // what the steps take, as history_bytes counts it
};

// The difference from `before` to `after`.
HistoryStep history_diff(const EditorState &before, const EditorState &after);
// 1 when the step changes bars, the border colour or the mode (a selection alone is no step).
int history_step_changes_bars(const HistoryStep &step);
// Brings `state` from the step's before-state to its after-state (forward 1) or back (0).
void history_apply(EditorState &state, const HistoryStep &step, int forward);
// Makes the selections of `state` the ones the step restores when it is redone.
void history_keep_selection(HistoryStep &step, const EditorState &state);

// Appends a step, dropping the steps that could be redone and the oldest beyond the
// limit or the byte budget.
void history_record(History &history, HistoryStep step);
void history_clear(History &history);
int history_can_undo(const History &history);
int history_can_redo(const History &history);
// The step to apply backwards / forwards, moving the position; null at the ends.
HistoryStep *history_take_undo(History &history);
HistoryStep *history_take_redo(History &history);
// Bytes the kept steps occupy, their own storage and that of their line and row lists.
std::size_t history_bytes(const History &history);
