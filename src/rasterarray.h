// rasterarray: Compact mode, the bars as one colour per raster line for each side border.
// Functions that take a side are called with 1 for the left border and 0 for the right.
#pragma once

#include <cairo.h>
#include <gdk-pixbuf/gdk-pixbuf.h>
#include <glib.h>

#include <vector>

#include "geometry.h"

// Mouse selection; row is relative to the picture's top, state the unmasked modifier state.
void rasterarray_button_press_left(int row, unsigned int state, int double_click);
void rasterarray_button_press_right(int row, unsigned int state, int double_click);

// The line array and the selection of a side.
struct LineSelection {
  int &start, &end, &active;
};
int *rasterarray_lines_of(int side);
LineSelection rasterarray_selection_of(int side);

// Drawing into a border area at `zoom` (the caller has painted the border colour); the
// _left / _right forms draw at the zoom in force.
void rasterarray_render_lines(int side, cairo_t *cr, int with_selection, int zoom);
void rasterarray_render_lines_left(cairo_t *cr, int with_selection);
void rasterarray_render_lines_right(cairo_t *cr, int with_selection);

// Per-line colour table of the picture lines for the executable export; `fallback` where
// a line has no colour.
void rasterarray_get_bars_left(unsigned char out[picture_lines], int fallback);
void rasterarray_get_bars_right(unsigned char out[picture_lines], int fallback);
// The same table from any line array (`colors` indexed by raster line): plain data.
void rasterarray_table_of_lines(const int *colors, unsigned char out[picture_lines], int fallback);

void rasterarray_delete_all_bars(void);
// A single entry; the line is taken modulo 312.
int rasterarray_get_color_at_index(int side, int index);
void rasterarray_set_color_at_index(int side, int index, int colour);

// Keyboard editing of the cursor line or range; `state` is masked to Shift, Control and
// Alt. 1 when the border area must be redrawn.
int rasterarray_key_press(int side, unsigned int keyval, unsigned int state);
int rasterarray_key_press_left(unsigned int keyval, unsigned int state);
int rasterarray_key_press_right(unsigned int keyval, unsigned int state);

// Project files: the groups "left" and "right".
void rasterarray_dump_models_to_key_file(GKeyFile *key_file);
void rasterarray_dump_models_to_key_file_internal(GKeyFile *key_file, const int *colors, const char *group);
void rasterarray_fill_models_from_key_file(GKeyFile *key_file);

// Auto-extension from the picture's outer columns.
void rasterarray_expand_picture(GdkPixbuf *picture, int border_colour);

// ---- Shared with Extended mode (rastermodel) ----

// The colour keys of both modes: the digit row 1..8 gives the colours 0..7 and the row
// below it (q..i) 8..15, whatever the modifiers; keypad 0..7 gives 0..7, or 8..15 with
// Control alone. -1 for any other key.
int rasterarray_key_color(unsigned int keyval, unsigned int state);

// Cuts values[0 .. count-1] (values[0] standing for line `first_line`) into maximal runs of
// equal entries; every run of a value 0 or more becomes a bar, in line order. Runs of
// negative values give none.
std::vector<LineRun> rasterarray_find_runs(const int *values, int count, int first_line);
// The runs of a side's array on the picture lines: its bars as a project file holds them.
std::vector<LineRun> rasterarray_runs(const int *colors);

// Column x of an image, top row first, as 0xRRGGBB; a pixel in the border colour's RGB
// reads as -1. Only the rows beside the picture lines are read.
std::vector<int> rasterarray_read_picture_column(GdkPixbuf *picture, int x, int border_colour);

// The palette index of a 0xRRGGBB value (0 when no colour of the palette in force matches).
int rasterarray_index_for_packed_rgb(int rgb);
