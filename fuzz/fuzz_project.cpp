// Fuzz harness of project reading. The input is taken as a project key file and read by
// both input modes; each time both side borders are drawn at zoom 1 and 4 into image
// surfaces, a bar is picked on a few lines, and both export tables are built. After each
// step: every bar row lies on the picture lines with a colour 0..15, the line arrays hold
// -1 outside lines 51..250 and -1..15 within, the tables hold colours 0..15, and what is
// drawn on every line is what the export table says (the border colour above and below),
// with the selection mark only beside the selected bar's lines.
#include <gtk/gtk.h>

#include <array>
#include <cstdlib>

#include "fuzz_common.h"
#include "options.h"
#include "palette.h"
#include "rasterarray.h"
#include "rastermodel.h"
#include "state.h"
#include "support.h"

namespace {

constexpr int kBorder = 6;  // border colour of the drawings and tables
constexpr std::array<int, 2> kZooms{1, 4};
constexpr std::array<int, 4> kPickRows{-60, 0, 120, 199};

// One side border as each input mode shows it.
struct Side {
  int flag;  // 1 left, 0 right
  GtkListStore **model;
  GtkWidget **view;
  int *colors;
  void (*render_extended)(cairo_t *, int);
  void (*render_compact)(cairo_t *, int);
  void (*bars_extended)(unsigned char *, int);
  void (*bars_compact)(unsigned char *, int);
  void (*pick)(int row);
};
const std::array<Side, 2> kSides{{
    {1, &model_rasters_left, &treeview_rasters_left, colors_left, rastermodel_render_lines_left,
     rasterarray_render_lines_left, rastermodel_get_bars_left, rasterarray_get_bars_left,
     rastermodel_button_press_left},
    {0, &model_rasters_right, &treeview_rasters_right, colors_right, rastermodel_render_lines_right,
     rasterarray_render_lines_right, rastermodel_get_bars_right, rasterarray_get_bars_right,
     rastermodel_button_press_right},
}};

unsigned int rgb_of(int index) {
  unsigned char rgb[3];
  palette_get_rgb_at_index(index, rgb);
  return (rgb[0] << 16) | (rgb[1] << 8) | rgb[2];
}

unsigned int pixel(cairo_surface_t *surface, int x, int y) {
  const unsigned char *row = cairo_image_surface_get_data(surface) + y * cairo_image_surface_get_stride(surface);
  return reinterpret_cast<const uint32_t *>(row)[x] & 0xFFFFFF;
}

// The selected bar of a side in Extended mode: its first line and one past its last, or
// an empty range.
std::pair<long long, long long> selected_lines(const Side &side) {
  GtkTreeSelection *selection = gtk_tree_view_get_selection(GTK_TREE_VIEW(*side.view));
  GtkTreeModel *model = nullptr;
  GtkTreeIter row;
  if (!gtk_tree_selection_get_selected(selection, &model, &row)) return {0, 0};
  int start = 0, height = 0;
  gtk_tree_model_get(model, &row, RASTER_COLUMN_LINE, &start, RASTER_COLUMN_HEIGHT, &height, -1);
  return {start, static_cast<long long>(start) + height};
}

void check_rows(const Side &side) {
  GtkTreeModel *model = GTK_TREE_MODEL(*side.model);
  GtkTreeIter row;
  for (gboolean ok = gtk_tree_model_get_iter_first(model, &row); ok; ok = gtk_tree_model_iter_next(model, &row)) {
    int start = 0, height = 0, color = 0;
    gtk_tree_model_get(model, &row, RASTER_COLUMN_LINE, &start, RASTER_COLUMN_HEIGHT, &height, RASTER_COLUMN_COLOR,
                       &color, -1);
    fuzz_require(start >= first_picture_line && static_cast<long long>(start) + height <= last_picture_line + 1,
                 "a bar row lies on the picture lines");
    fuzz_require(color >= 0 && color <= 15, "a bar row's colour is 0..15");
  }
}

void check_arrays(const Side &side) {
  for (int line = 0; line < RASTER_LINES; ++line) {
    const int entry = side.colors[line];
    if (line < first_picture_line || line > last_picture_line)
      fuzz_require(entry == -1, "the line arrays hold -1 outside lines 51..250");
    else
      fuzz_require(entry >= -1 && entry <= 15, "a line array entry is -1..15");
  }
}

// Draws one side at one zoom and compares every line with the export table.
void check_drawing(const Side &side, int zoom, const unsigned char table[picture_lines], bool extended) {
  options_expansion = zoom;
  const int width = vert_border_width * zoom, height = vert_border_height * zoom;
  // One image per zoom, kept for the whole run: a fresh one per input costs more than the rest.
  static Surface images[5];
  Surface &image = images[zoom];
  if (!image) image.reset(cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height));
  {
    CairoContext cr(cairo_create(image.get()));
    double rgb[3];
    palette_get_rgb_double_at_index(kBorder, rgb);
    cairo_set_source_rgb(cr.get(), rgb[0], rgb[1], rgb[2]);
    cairo_paint(cr.get());
    if (extended)
      side.render_extended(cr.get(), 1);
    else
      side.render_compact(cr.get(), 0);
  }
  cairo_surface_flush(image.get());
  cairo_surface_t *surface = image.get();
  const int bar_x = width / 2;
  const int strip_x = side.flag == 1 ? 0 : width - 1;
  const auto [mark_from, mark_to] = extended ? selected_lines(side) : std::pair<long long, long long>{0, 0};
  // The first and the last pixel row of every line.
  for (int y = 0; y < height; y += (y % zoom == 0 && zoom > 1) ? zoom - 1 : 1) {
    const int line = y / zoom + first_shown_line;
    const bool beside_picture = line >= first_picture_line && line <= last_picture_line;
    const int shown = beside_picture ? table[line - first_picture_line] : kBorder;
    fuzz_require(pixel(surface, bar_x, y) == rgb_of(shown), "each line is drawn as the export table says");
    if (extended) {
      const bool marked = line >= mark_from && line < mark_to;
      fuzz_require(pixel(surface, strip_x, y) == rgb_of(marked ? 1 : 0),
                   "the selection mark lies only beside the selected bar");
    }
  }
  options_expansion = 1;
}

void check_side(const Side &side, bool extended) {
  if (extended) {
    check_rows(side);
    for (int row : kPickRows) side.pick(row);
    GtkTreePath *first = gtk_tree_path_new_first();
    gtk_tree_view_set_cursor(GTK_TREE_VIEW(*side.view), first, nullptr, FALSE);
    gtk_tree_path_free(first);
  } else {
    check_arrays(side);
  }
  unsigned char table[picture_lines];
  (extended ? side.bars_extended : side.bars_compact)(table, kBorder);
  for (unsigned char entry : table) fuzz_require(entry <= 15, "an export table entry is a colour 0..15");
  for (int zoom : kZooms) check_drawing(side, zoom, table, extended);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv) {
  fuzz_start(argc, argv);
  // The bar lists live in list views registered on a main window, as in the program;
  // the window is never shown.
  window_main = gtk_window_new(GTK_WINDOW_TOPLEVEL);
  GLADE_HOOKUP_OBJECT_NO_REF(window_main, window_main, "window_main");
  for (const char *name : {"treeview_rasters_left", "treeview_rasters_right"})
    GLADE_HOOKUP_OBJECT(window_main, gtk_tree_view_new(), name);
  rastermodel_module_init();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  OwnedKeyFile key_file(g_key_file_new());
  if (!g_key_file_load_from_data(key_file.get(), reinterpret_cast<const char *>(data), size, G_KEY_FILE_KEEP_COMMENTS,
                                 nullptr))
    return 0;
  for (bool extended : {true, false}) {
    interface_extended = extended ? 1 : 0;
    if (extended)
      rastermodel_fill_models_from_key_file(key_file.get());
    else
      rasterarray_fill_models_from_key_file(key_file.get());
    for (const Side &side : kSides) check_side(side, extended);
  }
  return 0;
}

std::vector<FuzzSeed> fuzz_seeds() {
  const std::string head =
      "# Quillbar 1.4.2 project file - do NOT edit\n\n[image]\nfile=file:///tmp/logo.kla\n\n"
      "[colors]\nbase=6\n\n";
  return {
      {"extended", fuzz_bytes(head + "[left]\nstart=51;60;100;\nheight=9;40;0;\ncolor=1;14;3;\n\n"
                                     "[right]\nstart=51;55;\nheight=200;10;\ncolor=2;17;\n")},
      {"compact", fuzz_bytes(head + "[left]\nstart=51;70;240;\nheight=19;2;11;\ncolor=1;14;3;\n\n"
                                    "[right]\nstart=\nheight=\ncolor=\n")},
      {"huge_start", fuzz_bytes(head + "[left]\nstart=2147483647;\nheight=-2147483396;\ncolor=1;\n\n"
                                       "[right]\nstart=100;\nheight=-2147483000;\ncolor=1;\n")},
      {"unequal_lists", fuzz_bytes(head + "[left]\nstart=50;51;240;\nheight=10;201;12;\ncolor=1;-17;\n")},
  };
}
