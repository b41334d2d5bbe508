// rastermodel: Extended mode. Owns the two bar lists (left and right border), their
// list views' columns and cell editing, adding and removing bars, drawing the bars into
// the side border areas, picking a bar with the mouse, the per-line colour table for the
// executable export and the keys that edit the selected bar; converting the bars to and
// from Compact mode's line arrays, turning the picture's outer columns into bars
// (auto-extend), and writing and reading the lists in a project key file (by projectfile's
// group functions).
//
// May touch: the two list stores and their views, the drawing areas of the side borders
// (redraw requests only), the palette lookups, the undo history (a cell edit is one step)
// and, when converting between the modes, the line arrays (through rasterarray's
// functions). The tool buttons, the views' cursor-changed handlers and the border areas'
// event handlers live in callbacks.cpp and call in here, the latter through inputmode.
#include "rastermodel.h"

#include <gdk/gdkkeysyms.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdlib>

#include "palette.h"
#include "projectfile.h"
#include "rasterarray.h"
#include "state.h"
#include "support.h"
#include "undo.h"

GtkListStore *model_rasters_left = nullptr;
GtkListStore *model_rasters_right = nullptr;
GtkWidget *treeview_rasters_left = nullptr;
GtkWidget *treeview_rasters_right = nullptr;

namespace {

// Helpers of this module, in the order they are defined below; the toolkit calls some of
// them back (sort, cell edit, tree walks).
void rastermodel_insert_bar_treeview_columns(GtkTreeView *view);
gint rastermodel_sort_iter_compare_func(GtkTreeModel *model, GtkTreeIter *a, GtkTreeIter *b, gpointer user_data);
void rastermodel_on_cell_edited(GtkCellRendererText *cell, const gchar *path_string, const gchar *new_text,
                                gpointer view);
// Queues a redraw of both side borders after a cell edit.
void rastermodel_update_post_editing(void);
gboolean rastermodel_foreach_find_last_used_line(GtkTreeModel *model, GtkTreePath *path, GtkTreeIter *iter,
                                                 gpointer line);
gboolean rastermodel_foreach_find_first_unused_line(GtkTreeModel *model, GtkTreePath *path, GtkTreeIter *iter,
                                                    gpointer line);
gboolean rastermodel_foreach_render_lines(GtkTreeModel *model, GtkTreePath *path, GtkTreeIter *iter, gpointer drawing);
void rastermodel_mark_selection(GtkTreeView *view, GtkTreeModel *model, cairo_t *cr, int zoom);
// Makes `row` the view's cursor row, which also selects it.
void rastermodel_move_cursor(GtkTreeView *view, GtkTreeModel *model, GtkTreeIter *row);
// Steps `row` back to the previous row (GTK 2's tree model only steps forward); on failure
// the row is marked invalid.
int step_to_previous_row(GtkTreeModel *model, GtkTreeIter *row);
// One list's part of the conversions, the auto-extension and the project reading.
void rastermodel_fill_models_from_arrays_inner(GtkListStore *list);
void rastermodel_fill_arrays_from_models_inner(GtkTreeModel *list, int border_colour);
void rastermodel_expand_picture_inner(GtkListStore *list, GdkPixbuf *picture, int border_colour);
void rastermodel_fill_models_from_key_file_internal(GtkListStore *list, GKeyFile *key_file, const char *group);

struct RasterBar {
  int start;
  int height;
  int color;
  // In a wider type: a row read from a project may hold any start and height.
  bool covers(int line) const { return start <= line && line < static_cast<long long>(start) + height; }
};

RasterBar read_bar(GtkTreeModel *model, GtkTreeIter *row) {
  RasterBar bar{};
  gtk_tree_model_get(model, row, RASTER_COLUMN_LINE, &bar.start, RASTER_COLUMN_HEIGHT, &bar.height, RASTER_COLUMN_COLOR,
                     &bar.color, -1);
  return bar;
}

BorderSide side_of_list(GtkTreeModel *list) {
  return list == GTK_TREE_MODEL(model_rasters_left) ? side_left : side_right;
}

// The row selected in `view`, when exactly one is.
bool get_single_selected(GtkTreeView *view, GtkTreeModel *model, GtkTreeIter *row) {
  GtkTreeSelection *selection = gtk_tree_view_get_selection(view);
  if (gtk_tree_selection_count_selected_rows(selection) != 1) return false;
  GList *paths = gtk_tree_selection_get_selected_rows(selection, nullptr);
  bool found = paths && gtk_tree_model_get_iter(model, row, static_cast<GtkTreePath *>(paths->data));
  for (GList *l = paths; l; l = l->next) gtk_tree_path_free(static_cast<GtkTreePath *>(l->data));
  g_list_free(paths);
  return found;
}

// Removes `row`; the row that followed it, if any, becomes the cursor row.
void remove_row(GtkTreeView *view, GtkListStore *list, GtkTreeIter *row) {
  if (gtk_list_store_remove(list, row)) rastermodel_move_cursor(view, GTK_TREE_MODEL(list), row);
}

// Reads a whole number the way "%d" does (leading blanks, optional sign, digits up to
// the first other character), refusing text without digits and numbers out of int range.
bool parse_cell_number(const char *text, int *value) {
  char *end = nullptr;
  errno = 0;
  long number = std::strtol(text, &end, 10);
  if (end == text || errno == ERANGE || number < INT_MIN || number > INT_MAX) return false;
  *value = static_cast<int>(number);
  return true;
}

void clear_list(GtkTreeView *view, GtkListStore *list) {
  // Detached while clearing, so that the view does not follow the removal row by row.
  g_object_ref(list);
  gtk_tree_view_set_model(view, nullptr);
  gtk_list_store_clear(list);
  gtk_tree_view_set_model(view, GTK_TREE_MODEL(list));
  g_object_unref(list);
}

GtkListStore *create_bar_store() {
  GtkListStore *store = gtk_list_store_new(RASTER_N_COLUMNS, G_TYPE_INT, G_TYPE_INT, G_TYPE_INT);
  GtkTreeSortable *sortable = GTK_TREE_SORTABLE(store);
  gtk_tree_sortable_set_sort_func(sortable, RASTER_COLUMN_LINE, rastermodel_sort_iter_compare_func, nullptr, nullptr);
  gtk_tree_sortable_set_sort_column_id(sortable, RASTER_COLUMN_LINE, GTK_SORT_ASCENDING);
  return store;
}

struct PickData {
  GtkTreeView *view;
  int line;
};

gboolean foreach_pick_bar(GtkTreeModel *model, GtkTreePath *, GtkTreeIter *row, gpointer data) {
  auto *pick = static_cast<PickData *>(data);
  if (!read_bar(model, row).covers(pick->line)) return FALSE;
  rastermodel_move_cursor(pick->view, model, row);
  return TRUE;
}

// A "Color" cell shows its number on the colour itself, in black or white, whichever
// stands out more.
void paint_color_cell(GtkTreeViewColumn *, GtkCellRenderer *cell, GtkTreeModel *model, GtkTreeIter *row, gpointer) {
  const int color = read_bar(model, row).color & 15;
  unsigned char rgb[3];
  palette_get_rgb_at_index(color, rgb);
  GdkColor background{0, static_cast<guint16>(rgb[0] * 257), static_cast<guint16>(rgb[1] * 257),
                      static_cast<guint16>(rgb[2] * 257)};
  g_object_set(cell, "cell-background-gdk", &background, "foreground",
               palette_text_is_black_at_index(color) ? "#000000" : "#ffffff", nullptr);
}

GtkTreeView *view_of_side(int side) {
  return GTK_TREE_VIEW(side == side_left ? treeview_rasters_left : treeview_rasters_right);
}
GtkListStore *list_of_side(int side) { return side == side_left ? model_rasters_left : model_rasters_right; }

// What a walk over a list draws into, and at which zoom.
struct Drawing {
  cairo_t *cr;
  int zoom;
};

// --- Keys -------------------------------------------------------------------------

// The keys other than the colour keys (rasterarray_key_color). A Shift-only row matches
// only when the state is exactly Shift; a key no row matches is tried as a colour key.
enum class KeyAction { Previous, Next, Remove };

struct KeyBinding {
  unsigned int keyval;
  bool shift_only;
  KeyAction action;
};

constexpr std::array<KeyBinding, 5> key_table{{
    {GDK_KP_2, true, KeyAction::Next},
    {GDK_KP_8, true, KeyAction::Previous},
    {GDK_Up, false, KeyAction::Previous},
    {GDK_Down, false, KeyAction::Next},
    {GDK_Delete, false, KeyAction::Remove},
}};

void rastermodel_insert_bar_treeview_columns(GtkTreeView *view) {
  constexpr std::array<const char *, RASTER_N_COLUMNS> titles{"Line", "Height", "Color"};
  for (int column = 0; column < RASTER_N_COLUMNS; ++column) {
    GtkCellRenderer *renderer = gtk_cell_renderer_text_new();
    g_object_set(renderer, "xalign", 0.0, "editable", TRUE, nullptr);
    g_object_set_data(G_OBJECT(renderer), "column", GINT_TO_POINTER(column));
    g_signal_connect(renderer, "edited", G_CALLBACK(rastermodel_on_cell_edited), view);
    gtk_tree_view_insert_column_with_attributes(view, -1, titles[column], renderer, "text", column, nullptr);
    if (column == RASTER_COLUMN_COLOR)
      gtk_tree_view_column_set_cell_data_func(gtk_tree_view_get_column(view, column), renderer, paint_color_cell,
                                              nullptr, nullptr);
  }
}

gint rastermodel_sort_iter_compare_func(GtkTreeModel *model, GtkTreeIter *a, GtkTreeIter *b, gpointer) {
  int line_a = 0, line_b = 0;
  gtk_tree_model_get(model, a, RASTER_COLUMN_LINE, &line_a, -1);
  gtk_tree_model_get(model, b, RASTER_COLUMN_LINE, &line_b, -1);
  if (line_a == line_b) return 0;
  return line_a < line_b ? -1 : 1;
}

void rastermodel_on_cell_edited(GtkCellRendererText *cell, const gchar *path_string, const gchar *new_text,
                                gpointer view) {
  UserAction action;
  GtkTreeModel *model = gtk_tree_view_get_model(GTK_TREE_VIEW(view));
  GtkTreeIter row;
  if (!model || !gtk_tree_model_get_iter_from_string(model, &row, path_string)) return;
  int value = 0;
  if (!parse_cell_number(new_text, &value)) return;  // no number at all: like an out-of-range one
  int column = GPOINTER_TO_INT(g_object_get_data(G_OBJECT(cell), "column"));
  switch (column) {
    case RASTER_COLUMN_LINE:
      if (value < first_picture_line || value > last_picture_line) return;
      break;
    case RASTER_COLUMN_HEIGHT: {
      if (value < 0 || value > picture_lines) return;
      int start = read_bar(model, &row).start;
      if (start + value > last_picture_line + 1) value = last_picture_line + 1 - start;  // end the bar on line 250
      break;
    }
    case RASTER_COLUMN_COLOR:
      if (value < 0 || value > 15) return;
      break;
    default: return;
  }
  gtk_list_store_set(GTK_LIST_STORE(model), &row, column, value, -1);
  rastermodel_update_post_editing();
}

void rastermodel_update_post_editing(void) {
  if (drawingarea_left_border) gtk_widget_queue_draw(drawingarea_left_border);
  if (drawingarea_right_border) gtk_widget_queue_draw(drawingarea_right_border);
}

void rastermodel_add_bar(GtkListStore *list) {
  GtkTreeModel *model = GTK_TREE_MODEL(list);
  int line = first_picture_line - 1;
  gtk_tree_model_foreach(model, rastermodel_foreach_find_last_used_line, &line);
  line += 1;
  if (line > last_picture_line) {
    // The end of the list is taken: look for a gap between neighbouring bars instead.
    line = first_picture_line;
    gtk_tree_model_foreach(model, rastermodel_foreach_find_first_unused_line, &line);
    if (line > last_picture_line - 1) return;
  }
  GtkTreeIter row;
  gtk_list_store_append(list, &row);
  gtk_list_store_set(list, &row, RASTER_COLUMN_LINE, line, RASTER_COLUMN_HEIGHT, 1, RASTER_COLUMN_COLOR, 1, -1);
}

gboolean rastermodel_foreach_find_last_used_line(GtkTreeModel *model, GtkTreePath *, GtkTreeIter *iter, gpointer line) {
  auto *last = static_cast<int *>(line);
  RasterBar bar = read_bar(model, iter);
  if (bar.start + bar.height - 1 > *last) *last = bar.start + bar.height - 1;
  return FALSE;
}

// Stops at the first row that starts after the end of the row before it (line 51 for
// the first row) and leaves that free line in `line`. Only neighbouring rows are
// compared, so a gap under an earlier, longer bar also counts as free.
gboolean rastermodel_foreach_find_first_unused_line(GtkTreeModel *model, GtkTreePath *path, GtkTreeIter *iter,
                                                    gpointer line) {
  int free_line = first_picture_line;
  GtkTreePath *before = gtk_tree_path_copy(path);
  GtkTreeIter previous;
  if (gtk_tree_path_prev(before) && gtk_tree_model_get_iter(model, &previous, before)) {
    RasterBar bar = read_bar(model, &previous);
    free_line = bar.start + bar.height;
  }
  gtk_tree_path_free(before);
  if (read_bar(model, iter).start <= free_line) return FALSE;
  *static_cast<int *>(line) = free_line;
  return TRUE;
}

void rastermodel_remove_bar(GtkTreeView *view, GtkListStore *list) {
  GtkTreeIter row;
  if (get_single_selected(view, GTK_TREE_MODEL(list), &row)) remove_row(view, list, &row);
}

// Later rows paint over earlier ones, so where bars overlap the later one shows.
gboolean rastermodel_foreach_render_lines(GtkTreeModel *model, GtkTreePath *, GtkTreeIter *iter, gpointer drawing) {
  RasterBar bar = read_bar(model, iter);
  const auto [cr, z] = *static_cast<Drawing *>(drawing);
  const PixelRows rows = line_rows(bar.start, bar.height, z);
  palette_fill_rect(cr, bar.color & 15, side_of_list(model) == side_left ? outer_strip_width * z : 0, rows.y,
                    bar_width * z, rows.height);
  return FALSE;
}

// A white segment of the outer strip beside the selected bar.
void rastermodel_mark_selection(GtkTreeView *view, GtkTreeModel *model, cairo_t *cr, int z) {
  GtkTreeIter row;
  if (!get_single_selected(view, model, &row)) return;
  RasterBar bar = read_bar(model, &row);
  const PixelRows rows = line_rows(bar.start, bar.height, z);
  palette_fill_rect(cr, 1, side_of_list(model) == side_left ? 0 : bar_width * z, rows.y, outer_strip_width * z,
                    rows.height);
}

void rastermodel_get_bars(GtkTreeModel *model, unsigned char out[picture_lines], int fallback) {
  rastermodel_table_of_rows(rastermodel_get_rows(side_of_list(model)), out, fallback);
}

// Where bars overlap the first covering row is picked, although the last one is drawn on top.
void rastermodel_button_press(GtkTreeView *view, GtkTreeModel *model, int row) {
  PickData pick{view, row + first_picture_line};
  gtk_tree_model_foreach(model, foreach_pick_bar, &pick);
}

void rastermodel_move_cursor(GtkTreeView *view, GtkTreeModel *model, GtkTreeIter *row) {
  GtkTreePath *path = gtk_tree_model_get_path(model, row);
  gtk_tree_view_set_cursor(view, path, nullptr, FALSE);
  gtk_tree_path_free(path);
}

int rastermodel_key_press(GtkTreeView *view, GtkTreeModel *model, unsigned int keyval, unsigned int state) {
  GtkTreeIter row;
  if (!get_single_selected(view, model, &row)) return 0;

  const KeyBinding *binding = nullptr;
  for (const KeyBinding &entry : key_table)
    if (entry.keyval == keyval && (!entry.shift_only || state == GDK_SHIFT_MASK)) {
      binding = &entry;
      break;
    }
  if (!binding) {
    const int colour = rasterarray_key_color(keyval, state);
    if (colour < 0) return 0;  // any other key
    gtk_list_store_set(GTK_LIST_STORE(model), &row, RASTER_COLUMN_COLOR, colour, -1);
    return 1;
  }
  switch (binding->action) {
    case KeyAction::Previous:
      if (!step_to_previous_row(model, &row)) return 0;
      rastermodel_move_cursor(view, model, &row);
      return 1;
    case KeyAction::Next:
      if (!gtk_tree_model_iter_next(model, &row)) return 0;
      rastermodel_move_cursor(view, model, &row);
      return 1;
    case KeyAction::Remove: remove_row(view, GTK_LIST_STORE(model), &row); return 1;
  }
  return 0;
}

// GTK 2's tree model can only step forward; this steps back through the row's path.
int step_to_previous_row(GtkTreeModel *model, GtkTreeIter *row) {
  GtkTreePath *path = gtk_tree_model_get_path(model, row);
  gboolean found = gtk_tree_path_prev(path) && gtk_tree_model_get_iter(model, row, path);
  if (!found) row->stamp = 0;
  gtk_tree_path_free(path);
  return found;
}

// Adds the bars as rows (the store sorts them into place by start line), detached from
// the view as when clearing, so that the view takes in the whole refill at once.
void append_bars(GtkListStore *list, const std::vector<LineRun> &bars) {
  GtkTreeView *view = view_of_side(side_of_list(GTK_TREE_MODEL(list)));
  g_object_ref(list);
  if (view) gtk_tree_view_set_model(view, nullptr);
  for (const LineRun &bar : bars)
    gtk_list_store_insert_with_values(list, nullptr, -1, RASTER_COLUMN_LINE, bar.start, RASTER_COLUMN_HEIGHT,
                                      bar.height, RASTER_COLUMN_COLOR, bar.color, -1);
  if (view) gtk_tree_view_set_model(view, GTK_TREE_MODEL(list));
  g_object_unref(list);
}

std::vector<LineRun> rows_of(GtkTreeModel *model) {
  std::vector<LineRun> rows;
  GtkTreeIter row;
  for (gboolean ok = gtk_tree_model_get_iter_first(model, &row); ok; ok = gtk_tree_model_iter_next(model, &row)) {
    RasterBar bar = read_bar(model, &row);
    rows.push_back({bar.start, bar.height, bar.color});
  }
  return rows;
}

// Every run of equal colour beside the picture becomes one bar.
void rastermodel_fill_models_from_arrays_inner(GtkListStore *list) {
  append_bars(list, rasterarray_runs(rasterarray_lines_of(side_of_list(GTK_TREE_MODEL(list)))));
}

// Each line takes what is shown on it: the colour of the last row covering it, and no
// colour where no row covers it or the row is in the border colour.
void rastermodel_fill_arrays_from_models_inner(GtkTreeModel *list, int border_colour) {
  unsigned char shown[picture_lines];
  rastermodel_get_bars(list, shown, border_colour);
  const int side = side_of_list(list);
  for (int i = 0; i < picture_lines; ++i)
    rasterarray_set_color_at_index(side, first_picture_line + i, shown[i] == border_colour ? -1 : shown[i]);
}

// Runs of equal pixels down the picture's outer column become bars, except those in the
// border colour.
void rastermodel_expand_picture_inner(GtkListStore *list, GdkPixbuf *picture, int border_colour) {
  if (!picture) return;
  const int x = side_of_list(GTK_TREE_MODEL(list)) == side_left ? 0 : gdk_pixbuf_get_width(picture) - 1;
  const std::vector<int> column = rasterarray_read_picture_column(picture, x, border_colour);
  std::vector<LineRun> bars = rasterarray_find_runs(column.data(), static_cast<int>(column.size()), first_picture_line);
  for (LineRun &bar : bars) bar.color = rasterarray_index_for_packed_rgb(bar.color);
  append_bars(list, bars);
}

// Takes the entries of one group as Extended mode does (projectfile_extended_bars).
void rastermodel_fill_models_from_key_file_internal(GtkListStore *list, GKeyFile *key_file, const char *group) {
  append_bars(list, projectfile_extended_bars(key_file, group));
}

}  // namespace

// --- Lists and views --------------------------------------------------------------

void rastermodel_module_init(void) {
  treeview_rasters_left = lookup_widget(window_main, "treeview_rasters_left");
  treeview_rasters_right = lookup_widget(window_main, "treeview_rasters_right");
  model_rasters_left = create_bar_store();
  model_rasters_right = create_bar_store();
  for (auto [view, store] :
       {std::pair{treeview_rasters_left, model_rasters_left}, std::pair{treeview_rasters_right, model_rasters_right}}) {
    if (!view) continue;  // without its view the list keeps the creator's reference
    rastermodel_insert_bar_treeview_columns(GTK_TREE_VIEW(view));
    gtk_tree_view_set_model(GTK_TREE_VIEW(view), GTK_TREE_MODEL(store));
    g_object_unref(store);  // from here on the view holds the only reference
  }
}

// --- Adding and removing bars -----------------------------------------------------

void rastermodel_add_bar_left(void) { rastermodel_add_bar(model_rasters_left); }
void rastermodel_add_bar_right(void) { rastermodel_add_bar(model_rasters_right); }

void rastermodel_remove_bar_left(void) {
  rastermodel_remove_bar(GTK_TREE_VIEW(treeview_rasters_left), model_rasters_left);
}
void rastermodel_remove_bar_right(void) {
  rastermodel_remove_bar(GTK_TREE_VIEW(treeview_rasters_right), model_rasters_right);
}

void rastermodel_delete_all_bars(void) {
  clear_list(GTK_TREE_VIEW(treeview_rasters_left), model_rasters_left);
  clear_list(GTK_TREE_VIEW(treeview_rasters_right), model_rasters_right);
}

// --- Drawing ----------------------------------------------------------------------

void rastermodel_render_lines(int side, cairo_t *cr, int with_selection, int zoom) {
  GtkListStore *list = list_of_side(side);
  GtkWidget *view = side == side_left ? treeview_rasters_left : treeview_rasters_right;
  Drawing drawing{cr, zoom};
  if (list) gtk_tree_model_foreach(GTK_TREE_MODEL(list), rastermodel_foreach_render_lines, &drawing);

  // The outer edge of each border area is always black.
  palette_fill_rect(cr, 0, side == side_left ? 0 : bar_width * zoom, 0, outer_strip_width * zoom,
                    vert_border_height * zoom);

  if (with_selection == 1 && list && view)
    rastermodel_mark_selection(GTK_TREE_VIEW(view), GTK_TREE_MODEL(list), cr, zoom);
}

void rastermodel_render_lines_left(cairo_t *cr, int with_selection) {
  rastermodel_render_lines(side_left, cr, with_selection, options_expansion);
}
void rastermodel_render_lines_right(cairo_t *cr, int with_selection) {
  rastermodel_render_lines(side_right, cr, with_selection, options_expansion);
}

// --- Per-line table, mouse pick, cursor -------------------------------------------

void rastermodel_get_bars_left(unsigned char out[picture_lines], int fallback) {
  rastermodel_get_bars(GTK_TREE_MODEL(model_rasters_left), out, fallback);
}
void rastermodel_get_bars_right(unsigned char out[picture_lines], int fallback) {
  rastermodel_get_bars(GTK_TREE_MODEL(model_rasters_right), out, fallback);
}

void rastermodel_button_press_left(int row) {
  rastermodel_button_press(GTK_TREE_VIEW(treeview_rasters_left), GTK_TREE_MODEL(model_rasters_left), row);
}
void rastermodel_button_press_right(int row) {
  rastermodel_button_press(GTK_TREE_VIEW(treeview_rasters_right), GTK_TREE_MODEL(model_rasters_right), row);
}

// --- Keys -------------------------------------------------------------------------

int rastermodel_key_press_left(unsigned int keyval, unsigned int state) {
  return rastermodel_key_press(GTK_TREE_VIEW(treeview_rasters_left), GTK_TREE_MODEL(model_rasters_left), keyval, state);
}
int rastermodel_key_press_right(unsigned int keyval, unsigned int state) {
  return rastermodel_key_press(GTK_TREE_VIEW(treeview_rasters_right), GTK_TREE_MODEL(model_rasters_right), keyval,
                               state);
}

// --- Mode conversion, auto-extension and project files ---------------------------

void rastermodel_fill_models_from_arrays(void) {
  rastermodel_delete_all_bars();
  rastermodel_fill_models_from_arrays_inner(model_rasters_left);
  rastermodel_fill_models_from_arrays_inner(model_rasters_right);
}

void rastermodel_fill_arrays_from_models(int border_colour) {
  rasterarray_delete_all_bars();
  rastermodel_fill_arrays_from_models_inner(GTK_TREE_MODEL(model_rasters_left), border_colour);
  rastermodel_fill_arrays_from_models_inner(GTK_TREE_MODEL(model_rasters_right), border_colour);
}

void rastermodel_expand_picture(GdkPixbuf *picture, int border_colour) {
  if (!picture) return;
  rastermodel_expand_picture_inner(model_rasters_left, picture, border_colour);
  rastermodel_expand_picture_inner(model_rasters_right, picture, border_colour);
}

// The rows are written as they are, in list order, overlaps included.
void rastermodel_dump_models_to_key_file(GKeyFile *key_file) {
  for (BorderSide side : {side_left, side_right})
    projectfile_write_bar_group(key_file, projectfile_groups[side], rastermodel_get_rows(side));
}

void rastermodel_fill_models_from_key_file(GKeyFile *key_file) {
  rastermodel_delete_all_bars();
  for (BorderSide side : {side_left, side_right})
    rastermodel_fill_models_from_key_file_internal(list_of_side(side), key_file, projectfile_groups[side]);
}

// Rows are taken in list order, so the last row covering a line gives its colour.
void rastermodel_table_of_rows(const std::vector<LineRun> &rows, unsigned char out[picture_lines], int fallback) {
  std::fill(out, out + picture_lines, static_cast<unsigned char>(fallback));
  for (const LineRun &row : rows) {
    const RasterBar bar{row.start, row.height, row.color};
    for (int line = first_picture_line; line <= last_picture_line; ++line)
      if (bar.covers(line)) out[line - first_picture_line] = static_cast<unsigned char>(bar.color);
  }
}

// --- Rows as values, for undo and ramps --------------------------------------------

std::vector<LineRun> rastermodel_get_rows(int side) {
  GtkListStore *list = list_of_side(side);
  return list ? rows_of(GTK_TREE_MODEL(list)) : std::vector<LineRun>{};
}

void rastermodel_set_rows(int side, const std::vector<LineRun> &rows) {
  GtkListStore *list = list_of_side(side);
  if (!list) return;
  clear_list(view_of_side(side), list);
  append_bars(list, rows);
}

int rastermodel_get_selected_index(int side) {
  GtkListStore *list = list_of_side(side);
  GtkTreeIter row;
  if (!list || !get_single_selected(view_of_side(side), GTK_TREE_MODEL(list), &row)) return -1;
  GtkTreePath *path = gtk_tree_model_get_path(GTK_TREE_MODEL(list), &row);
  const int index = gtk_tree_path_get_indices(path)[0];
  gtk_tree_path_free(path);
  return index;
}

void rastermodel_select_index(int side, int index) {
  GtkTreeView *view = view_of_side(side);
  GtkListStore *list = list_of_side(side);
  if (!view || !list) return;
  GtkTreeIter row;
  if (index >= 0 && gtk_tree_model_iter_nth_child(GTK_TREE_MODEL(list), &row, nullptr, index))
    rastermodel_move_cursor(view, GTK_TREE_MODEL(list), &row);
  else
    gtk_tree_selection_unselect_all(gtk_tree_view_get_selection(view));
}

void rastermodel_redraw_views(void) {
  for (GtkWidget *view : {treeview_rasters_left, treeview_rasters_right})
    if (view) gtk_widget_queue_draw(view);
}
