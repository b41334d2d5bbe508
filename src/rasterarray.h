// rasterarray: Compact mode, the bars as one colour per raster line for each side border.
// Functions that take a side are called with 1 for the left border and 0 for the right.
#pragma once

#include <cairo.h>
#include <gdk-pixbuf/gdk-pixbuf.h>
#include <glib.h>

#include <vector>

#include "geometry.h"

// Indexed by raster line 0..311; entries are colour indices 0..15 or -1 (no colour).
extern int colors_left[RASTER_LINES];
extern int colors_right[RASTER_LINES];

// Each side's anchor, moving end and range flag; start and end stay within the picture lines.
extern int selection_start_left, selection_start_right;
extern int selection_end_left, selection_end_right;
extern int selection_active_left, selection_active_right;

// Mouse selection; row is relative to the picture's top, state the unmasked modifier state.
void rasterarray_button_press_left(int row, unsigned int state, int double_click);
void rasterarray_button_press_right(int row, unsigned int state, int double_click);

// Drawing into a border area (the caller has painted the border colour).
void rasterarray_render_lines_left(cairo_t *cr, int with_selection);
void rasterarray_render_lines_right(cairo_t *cr, int with_selection);
void rasterarray_mark_selection(int side, cairo_t *cr);

// Per-line colour table of the picture lines for the executable export; `fallback` where
// a line has no colour.
void rasterarray_get_bars_left(unsigned char out[picture_lines], int fallback);
void rasterarray_get_bars_right(unsigned char out[picture_lines], int fallback);

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

// A bar as both modes hand it over: first line, number of lines, colour.
struct LineRun {
  int start;
  int height;
  int color;
};

// Cuts values[0 .. count-1] (values[0] standing for line `first_line`) into maximal runs of
// equal entries; every run of a value 0 or more becomes a bar, in line order. Runs of
// negative values give none.
std::vector<LineRun> rasterarray_find_runs(const int *values, int count, int first_line);

// Column x of an image, top row first, as 0xRRGGBB; a pixel in the border colour's RGB
// reads as -1. Only the rows beside the picture lines are read.
std::vector<int> rasterarray_read_picture_column(GdkPixbuf *picture, int x, int border_colour);

// The palette index of a 0xRRGGBB value (0 when no colour of the palette in force matches).
int rasterarray_index_for_packed_rgb(int rgb);

// The three parallel integer lists "start", "height" and "color" of a project file group.
// Reading gives as many bars as the shortest list has values; a missing or malformed list
// counts as empty. Writing always sets all three lists, also when they are empty.
std::vector<LineRun> rasterarray_read_bar_group(GKeyFile *key_file, const char *group);
void rasterarray_write_bar_group(GKeyFile *key_file, const char *group, const std::vector<LineRun> &bars);
