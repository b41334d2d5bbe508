// Shared by the Compact mode test programs: one side's selection as a value, and a reset
// to the program's initial state.
#pragma once

#include <ostream>

#include "rasterarray.h"

struct Selection {
  int start, end, active;
  bool operator==(const Selection &) const = default;
};

inline std::ostream &operator<<(std::ostream &os, const Selection &s) {
  return os << "{" << s.start << "," << s.end << "," << s.active << "}";
}

inline Selection selection(int side) {
  return side == 1 ? Selection{selection_start_left, selection_end_left, selection_active_left}
                   : Selection{selection_start_right, selection_end_right, selection_active_right};
}

inline void set_selection(int side, Selection s) {
  (side == 1 ? selection_start_left : selection_start_right) = s.start;
  (side == 1 ? selection_end_left : selection_end_right) = s.end;
  (side == 1 ? selection_active_left : selection_active_right) = s.active;
}

// All entries -1, both cursors on line 51.
inline void reset_arrays() {
  rasterarray_delete_all_bars();
  set_selection(0, {51, 51, 0});
  set_selection(1, {51, 51, 0});
}
