// Shared by the bar test programs: the started program with no bars, a side's bars and
// selection as values in both forms (list rows and line arrays), the list views' selection, the border
// areas, menu items and drawing.
#pragma once

#include <gdk/gdkkeysyms.h>

#include <algorithm>

#include "callbacks.h"
#include "main.h"
#include "options.h"
#include "palette.h"
#include "rasterarray.h"
#include "rastermodel.h"
#include "support.h"
#include "testutil.h"

// One side's Compact selection as a value.
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

struct Bar {
  int start, height, color;
  bool operator==(const Bar &) const = default;
};
using Bars = std::vector<Bar>;

inline std::ostream &operator<<(std::ostream &os, const Bar &b) {
  return os << "(" << b.start << "," << b.height << "," << b.color << ")";
}

// Side 1 is the left border, 0 the right one.
inline GtkListStore *list_of(int side) { return side == 1 ? model_rasters_left : model_rasters_right; }
inline GtkTreeView *view_of(int side) {
  return GTK_TREE_VIEW(side == 1 ? treeview_rasters_left : treeview_rasters_right);
}
inline GtkWidget *area_of(int side) { return side == 1 ? drawingarea_left_border : drawingarea_right_border; }

inline Bars bars(int side) {
  GtkTreeModel *model = GTK_TREE_MODEL(list_of(side));
  Bars out;
  GtkTreeIter row;
  for (gboolean ok = gtk_tree_model_get_iter_first(model, &row); ok; ok = gtk_tree_model_iter_next(model, &row)) {
    Bar b{};
    gtk_tree_model_get(model, &row, 0, &b.start, 1, &b.height, 2, &b.color, -1);
    out.push_back(b);
  }
  return out;
}

inline void set_bars(int side, const Bars &content) {
  gtk_list_store_clear(list_of(side));
  for (const Bar &b : content)
    gtk_list_store_insert_with_values(list_of(side), nullptr, -1, 0, b.start, 1, b.height, 2, b.color, -1);
}

inline void select_row(int side, int index) {
  GtkTreePath *path = gtk_tree_path_new_from_indices(index, -1);
  gtk_tree_view_set_cursor(view_of(side), path, nullptr, FALSE);
  gtk_tree_path_free(path);
}

// Index of the selected row, -1 for none.
inline int selected_row(int side) {
  GtkTreeModel *model;
  GtkTreeIter row;
  if (!gtk_tree_selection_get_selected(gtk_tree_view_get_selection(view_of(side)), &model, &row)) return -1;
  g_autofree gchar *path = gtk_tree_model_get_string_from_iter(model, &row);
  return atoi(path);
}

// All 312 entries of one side's line array.
inline std::vector<int> lines(int side) {
  const int *colors = side == 1 ? colors_left : colors_right;
  return {colors, colors + RASTER_LINES};
}

// A whole array as `fill` everywhere, with the given bars painted over it in order.
inline std::vector<int> painted(const Bars &content, int fill = -1) {
  std::vector<int> out(RASTER_LINES, fill);
  for (const Bar &b : content) std::fill(out.begin() + b.start, out.begin() + b.start + b.height, b.color);
  return out;
}

inline void set_lines(int side, const std::vector<int> &content) {
  std::copy(content.begin(), content.end(), side == 1 ? colors_left : colors_right);
}

// The colour keys of both key maps, from their tables: the digit row 1..8 gives 0..7 and the
// row q..i 8..15 in every state; keypad 0..7 gives 0..7, and 8..15 with Control only.
// Each row: key value, colour with Shift only, with Control only, in every other state.
template <typename Row>
std::vector<Row> colour_key_rows() {
  std::vector<Row> rows;
  const std::string main_keys = "12345678qwertyui";
  for (int k = 0; k < 16; ++k) rows.push_back({unsigned(main_keys[k]), k, k, k});
  for (int k = 0; k < 8; ++k) rows.push_back({GDK_KP_0 + unsigned(k), k, k + 8, k});
  return rows;
}

constexpr unsigned SHIFT = GDK_SHIFT_MASK, CONTROL = GDK_CONTROL_MASK;
// The modifier states every key is tried in: none, Shift, Control, Alt and two combinations.
constexpr unsigned kStates[] = {0,
                                GDK_SHIFT_MASK,
                                GDK_CONTROL_MASK,
                                GDK_MOD1_MASK,
                                GDK_CONTROL_MASK | GDK_SHIFT_MASK,
                                GDK_SHIFT_MASK | GDK_MOD1_MASK};

// A key press on a side's border area; returns whether it was handled.
inline gboolean border_key(int side, unsigned keyval, unsigned state = 0) {
  GdkEventKey ev{};
  ev.type = GDK_KEY_PRESS, ev.window = area_of(side)->window, ev.state = state, ev.keyval = keyval;
  return gtk_widget_event(area_of(side), reinterpret_cast<GdkEvent *>(&ev));
}

// A tool button clicked, and `text` typed into a cell of a side's list (the row given by
// its path), each through the widget's own signal.
inline void click(const char *button) { g_signal_emit_by_name(lookup_widget(window_main, button), "clicked"); }

inline void edit_cell(int side, int column, const char *path, const char *text) {
  GList *cells = gtk_cell_layout_get_cells(GTK_CELL_LAYOUT(gtk_tree_view_get_column(view_of(side), column)));
  g_signal_emit_by_name(cells->data, "edited", path, text);
  g_list_free(cells);
}

// Runs Tools > Ramp... and answers its dialog with a preset (or custom text) and a shape.
inline void paint_ramp(const char *choice, const char *shape, const char *custom = nullptr) {
  answer_next_dialog(GTK_RESPONSE_OK, [=](GtkWidget *dialog) {
    if (custom) gtk_entry_set_text(GTK_ENTRY(lookup_widget(dialog, "entry_ramp_custom")), custom);
    for (const char *toggle : {choice, shape})
      gtk_toggle_button_set_active(GTK_TOGGLE_BUTTON(lookup_widget(dialog, toggle)), TRUE);
  });
  activate("menuitem_tools_ramp");
}

// A mouse button press at height y on a side's border area; returns whether it was handled.
inline gboolean press(int side, double y, GdkEventType type = GDK_BUTTON_PRESS, unsigned button = 1,
                      unsigned state = 0) {
  GdkEventButton ev{};
  ev.type = type, ev.window = area_of(side)->window, ev.x = 10, ev.y = y, ev.state = state, ev.button = button;
  return gtk_widget_event(area_of(side), reinterpret_cast<GdkEvent *>(&ev));
}

// A side's real border area as it shows on the screen at zoom z; at() reads the colour of
// the last pixel of the z x z block at (x, line) in zoom-1 terms.
struct Shown {
  int z;
  GdkPixbuf *shot;
  Shown(int side, int zoom) : z(zoom) {
    g_autofree gchar *item = g_strdup_printf("menuitem_zoom_%dx", zoom);
    activate(item);
    gtk_widget_queue_draw(area_of(side));
    shot = grab_widget(area_of(side));
  }
  ~Shown() { g_object_unref(shot); }
  unsigned at(int x, int line) const { return pixel_at(shot, x * z + z - 1, (line - 3) * z + z - 1); }
};

// The colour a side's border area shows at (x, line) in zoom-1 terms.
struct Probe {
  int side, x, line, colour;
};

// Checks the probes on screen at zoom 1 and 3, with a picture loaded and without one;
// without one there is no selection mark (colour 1) and the black outer strip shows. Ends at zoom 1.
inline void expect_shown(const std::vector<Probe> &probes) {
  for (int z : {1, 3})
    for (int loaded : {1, 0})
      for (int side : {1, 0}) {
        picture_loaded = loaded;
        Shown shown(side, z);
        for (const Probe &p : probes) {
          if (p.side != side) continue;
          EXPECT_EQ(shown.at(p.x, p.line), rgb_of(p.colour == 1 && !loaded ? 0 : p.colour))
              << "zoom " << z << " loaded " << loaded << " side " << side << " at " << p.x << "," << p.line;
        }
      }
  picture_loaded = 1;
  activate("menuitem_zoom_1x");
}

// Extended mode at zoom 1, a picture marked as loaded, border colour 6, no bars.
class BarsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_NE(start_app(), nullptr);
    rastermodel_delete_all_bars();
    reset_arrays();
    activate("menuitem_interface_extended");
    ASSERT_EQ(interface_extended, 1);
    picture_loaded = 1, border_color_index = 6;
    activate("menuitem_zoom_1x");
  }
};
