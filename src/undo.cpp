// undo: the editor's history of user actions. Captures the live bars (both line arrays
// with their selections, both bar lists with their selected rows, the border colour and
// the input mode) before and after each action and keeps the difference in undo_history;
// undo and redo write a state back.
//
// May touch: the line arrays and selections (rasterarray), the bar lists and their views
// (through rastermodel), border_color_index, the input mode (through its menu items, whose
// handlers convert and show or hide the lists), the Edit menu's items and redraws.
#include "undo.h"

#include <algorithm>

#include "rasterarray.h"
#include "rastermodel.h"
#include "screenview.h"
#include "state.h"
#include "support.h"

History undo_history;

namespace {

int action_depth = 0;
bool restoring = false;  // undo or redo at work: the commands it triggers record nothing

std::vector<BarRow> bar_rows(const std::vector<LineRun> &runs) {
  std::vector<BarRow> rows;
  rows.reserve(runs.size());
  for (const LineRun &run : runs) rows.push_back({run.start, run.height, run.color});
  return rows;
}

std::vector<LineRun> line_runs(const std::vector<BarRow> &rows) {
  std::vector<LineRun> runs;
  runs.reserve(rows.size());
  for (const BarRow &row : rows) runs.push_back({row.start, row.height, row.color});
  return runs;
}

void set_sensitive(const char *name, int sensitive) {
  if (!window_main) return;
  if (GtkWidget *item = lookup_widget(window_main, name)) gtk_widget_set_sensitive(item, sensitive);
}

// Applies the step the history hands out, in the given direction.
int replay(HistoryStep *step, int forward) {
  if (!step) return 0;
  EditorState state = undo_capture_state();
  if (!forward) history_keep_selection(*step, state);  // a redo returns to where the user was
  history_apply(state, *step, forward);
  undo_restore_state(state);
  undo_update_menu();
  return 1;
}

}  // namespace

UserAction::UserAction() : outermost_(action_depth++ == 0 && !restoring) {
  if (outermost_) before_ = undo_capture_state();
}

UserAction::~UserAction() {
  --action_depth;
  if (!outermost_) return;
  HistoryStep step = history_diff(before_, undo_capture_state());
  if (!history_step_changes_bars(step)) return;
  history_record(undo_history, std::move(step));
  undo_update_menu();
}

EditorState undo_capture_state(void) {
  EditorState state{};
  state.extended = interface_extended;
  state.border = border_color_index;
  for (int side : {0, 1}) {
    SideState &s = state.sides[side];
    std::copy(rasterarray_lines_of(side), rasterarray_lines_of(side) + RASTER_LINES, s.lines.begin());
    const LineSelection selection = rasterarray_selection_of(side);
    s.selection_start = selection.start;
    s.selection_end = selection.end;
    s.selection_active = selection.active;
    s.rows = bar_rows(rastermodel_get_rows(side));
    s.selected_row = rastermodel_get_selected_index(side);
  }
  return state;
}

void undo_restore_state(const EditorState &state) {
  const bool was_restoring = restoring;
  restoring = true;
  if (state.extended != interface_extended && window_main) {
    // The mode's menu handler converts the bars and shows or hides the lists; the bars
    // themselves are set from the state below.
    const char *item = state.extended == 1 ? "menuitem_interface_extended" : "menuitem_interface_compact";
    if (GtkWidget *widget = lookup_widget(window_main, item))
      gtk_check_menu_item_set_active(GTK_CHECK_MENU_ITEM(widget), TRUE);
  }
  interface_extended = state.extended;
  border_color_index = state.border;
  for (int side : {0, 1}) {
    const SideState &s = state.sides[side];
    std::copy(s.lines.begin(), s.lines.end(), rasterarray_lines_of(side));
    const LineSelection selection = rasterarray_selection_of(side);
    selection.start = s.selection_start;
    selection.end = s.selection_end;
    selection.active = s.selection_active;
    if (bar_rows(rastermodel_get_rows(side)) != s.rows) rastermodel_set_rows(side, line_runs(s.rows));
    rastermodel_select_index(side, s.selected_row);
  }
  redraw_all_areas();
  restoring = was_restoring;
}

void undo_module_init(void) {
  history_clear(undo_history);
  undo_update_menu();
}

int undo_last_step(void) { return replay(history_take_undo(undo_history), 0); }

int redo_last_step(void) { return replay(history_take_redo(undo_history), 1); }

void undo_update_menu(void) {
  set_sensitive("menuitem_undo", history_can_undo(undo_history));
  set_sensitive("menuitem_redo", history_can_redo(undo_history));
}

void on_menuitem_undo_activate(GtkMenuItem *, gpointer) { undo_last_step(); }

void on_menuitem_redo_activate(GtkMenuItem *, gpointer) { redo_last_step(); }
