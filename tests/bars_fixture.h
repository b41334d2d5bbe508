// Shared by the bar test programs: a side's bars and selection as values in both forms (list
// rows, line arrays), events on the border areas, the zoom, the ramp dialog, picture files.
#pragma once

#include <gdk/gdkkeysyms.h>

#include <algorithm>
#include <tuple>

#include "callbacks.h"
#include "options.h"
#include "palette.h"
#include "rasterarray.h"
#include "rastermodel.h"
#include "state.h"
#include "support.h"
#include "testutil.h"

// One side's Compact selection: start (the anchor), end, active. Side 1 is left, 0 right.
using Selection = std::tuple<int, int, int>;
inline std::tuple<int &, int &, int &> selection_of(int side) {
  if (side == 1) return std::tie(selection_start_left, selection_end_left, selection_active_left);
  return std::tie(selection_start_right, selection_end_right, selection_active_right);
}
inline Selection selection(int side) { return selection_of(side); }
inline void set_selection(int side, Selection to) { selection_of(side) = to; }

// All entries -1, both cursors on line 51.
inline void reset_arrays() {
  rasterarray_delete_all_bars();
  for (int side : {0, 1}) set_selection(side, {51, 51, 0});
}

// A bar list row, or a run of lines in one colour: start, height, colour.
using Bar = std::tuple<int, int, int>;
using Bars = std::vector<Bar>;

inline GtkListStore *list_of(int side) { return side == 1 ? model_rasters_left : model_rasters_right; }
inline GtkTreeView *view_of(int side) { return GTK_TREE_VIEW(side ? treeview_rasters_left : treeview_rasters_right); }
inline GtkWidget *area_of(int side) { return side == 1 ? drawingarea_left_border : drawingarea_right_border; }

inline Bars bars(int side) {
  GtkTreeModel *model = GTK_TREE_MODEL(list_of(side));
  Bars out;
  GtkTreeIter row;
  for (gboolean ok = gtk_tree_model_get_iter_first(model, &row); ok; ok = gtk_tree_model_iter_next(model, &row)) {
    auto &[start, height, colour] = out.emplace_back();
    gtk_tree_model_get(model, &row, 0, &start, 1, &height, 2, &colour, -1);
  }
  return out;
}

inline void set_bars(int side, const Bars &content) {
  gtk_list_store_clear(list_of(side));
  for (auto [start, height, colour] : content)
    gtk_list_store_insert_with_values(list_of(side), nullptr, -1, 0, start, 1, height, 2, colour, -1);
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
  for (auto [start, height, colour] : content) std::fill(out.begin() + start, out.begin() + start + height, colour);
  return out;
}

inline void set_lines(int side, const std::vector<int> &content) {
  std::copy(content.begin(), content.end(), side == 1 ? colors_left : colors_right);
}

using Bytes = std::vector<unsigned char>;

inline Bytes read_bytes(const std::string &path) {
  const std::string text = read_text(path);
  return Bytes(text.begin(), text.end());
}

// A picture file of varied bytes: `size` bytes loading at `load`, `fixed` bytes set as given.
inline Bytes picture_file(unsigned load, size_t size,
                          std::initializer_list<std::pair<size_t, unsigned char>> fixed = {}) {
  Bytes file(size);
  for (size_t i = 2; i < size; i++) file[i] = static_cast<unsigned char>(i * 37 % 251 ^ i / 40);
  file[0] = load & 0xFF, file[1] = load >> 8;
  for (auto [at, value] : fixed) file[at] = value;
  return file;
}

// As the loaded picture: `right` everywhere, `left` in column 0, `top` in the first `rows` of column `x`.
inline void set_picture(int right, int left, int x, int top, int rows) {
  if (pixbuf_picture) g_object_unref(pixbuf_picture);
  pixbuf_picture = gdk_pixbuf_new(GDK_COLORSPACE_RGB, TRUE, 8, 320, 200);
  gdk_pixbuf_fill(pixbuf_picture, rgb_of(right) << 8 | 0xff);
  for (int row = 0; row < 200; row++) {
    guchar *pixels = gdk_pixbuf_get_pixels(pixbuf_picture) + row * gdk_pixbuf_get_rowstride(pixbuf_picture);
    palette_get_rgb_at_index(left, pixels);
    if (row < rows) palette_get_rgb_at_index(top, pixels + x * 4);
  }
}

constexpr unsigned SHIFT = GDK_SHIFT_MASK, CONTROL = GDK_CONTROL_MASK;

// A key press on a side's border area; returns whether it was handled.
inline gboolean border_key(int side, unsigned keyval, unsigned state = 0) {
  GdkEventKey ev{};
  ev.type = GDK_KEY_PRESS, ev.window = area_of(side)->window, ev.state = state, ev.keyval = keyval;
  return gtk_widget_event(area_of(side), reinterpret_cast<GdkEvent *>(&ev));
}

// A mouse button press at (x, y) on a border area or the colour picker; returns whether it was handled.
inline gboolean press_on(GtkWidget *area, double x, double y, GdkEventType type = GDK_BUTTON_PRESS, unsigned button = 1,
                         unsigned state = 0) {
  GdkEventButton ev{};
  ev.type = type, ev.window = area->window, ev.x = x, ev.y = y, ev.state = state, ev.button = button;
  return gtk_widget_event(area, reinterpret_cast<GdkEvent *>(&ev));
}
inline gboolean press(int side, double y, GdkEventType type = GDK_BUTTON_PRESS, unsigned button = 1,
                      unsigned state = 0) {
  return press_on(area_of(side), 10, y, type, button, state);
}

// A tool button clicked; `text` typed into a cell of a side's list (row by path), by their signals.
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

inline void set_zoom(int z) {
  activate(("menuitem_zoom_" + std::to_string(z) + "x").c_str());
  pump_events(50);
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
    set_zoom(1);
  }
};
