// rastermodel: Extended mode, the bars as two sorted lists shown in editable list views.
// Functions come in _left / _right pairs over the left and the right list and view.
#pragma once

#include <gtk/gtk.h>

#include <vector>

#include "geometry.h"
#include "rasterarray.h"

// Columns of a RasterBar row.
enum { RASTER_COLUMN_LINE = 0, RASTER_COLUMN_HEIGHT = 1, RASTER_COLUMN_COLOR = 2, RASTER_N_COLUMNS = 3 };

// Creates the two sorted lists and gives them to their views, with editable columns.
void rastermodel_module_init(void);

// The tool buttons: a bar of one line in colour 1 after the last bar (or in the first gap),
// and removing the selected bar.
void rastermodel_add_bar_left(void);
void rastermodel_add_bar_right(void);
void rastermodel_remove_bar_left(void);
void rastermodel_remove_bar_right(void);
void rastermodel_delete_all_bars(void);

// Drawing into a border area at `zoom` (the caller has painted the border colour); the
// _left / _right forms draw at the zoom in force.
void rastermodel_render_lines(int side, cairo_t *cr, int with_selection, int zoom);
void rastermodel_render_lines_left(cairo_t *cr, int with_selection);
void rastermodel_render_lines_right(cairo_t *cr, int with_selection);

// Per-line colour table of the picture lines for the executable export; `fallback` where
// no bar covers a line, the last covering row where bars overlap.
void rastermodel_get_bars_left(unsigned char out[picture_lines], int fallback);
void rastermodel_get_bars_right(unsigned char out[picture_lines], int fallback);

// The same table from rows given as values, in list order: plain data, no list needed.
void rastermodel_table_of_rows(const std::vector<LineRun> &rows, unsigned char out[picture_lines], int fallback);

// A click on `row` (relative to the picture's top) selects the first bar covering it.
void rastermodel_button_press_left(int row);
void rastermodel_button_press_right(int row);

// Keyboard editing of the selected bar; `state` is masked to Shift, Control and Alt.
// 1 when the border area must be redrawn.
int rastermodel_key_press_left(unsigned int keyval, unsigned int state);
int rastermodel_key_press_right(unsigned int keyval, unsigned int state);

// Mode conversion (both lists from Compact mode's line arrays, or the arrays from the
// lists) and auto-extension from the picture's outer columns.
void rastermodel_fill_models_from_arrays(void);
void rastermodel_fill_arrays_from_models(int border_colour);
void rastermodel_expand_picture(GdkPixbuf *picture, int border_colour);

// Project files: the groups "left" and "right".
void rastermodel_dump_models_to_key_file(GKeyFile *key_file);
void rastermodel_fill_models_from_key_file(GKeyFile *key_file);

// A side's rows as values, in list order, and its selected row (-1 for none); setting
// the rows refills the list detached from its view, selecting -1 clears the selection.
std::vector<LineRun> rastermodel_get_rows(int side);
void rastermodel_set_rows(int side, const std::vector<LineRun> &rows);
int rastermodel_get_selected_index(int side);
void rastermodel_select_index(int side, int index);
// Both views show their "Color" cells on the bar's colour in the palette in force; this
// redraws them after a palette change.
void rastermodel_redraw_views(void);
