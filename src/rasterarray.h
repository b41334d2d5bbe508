// rasterarray: Compact mode, the bars as one colour per raster line for each side border.
#pragma once

#include <cairo.h>
#include <gdk-pixbuf/gdk-pixbuf.h>
#include <glib.h>

// Raster lines 0..311; entries are colour indices 0..15 or -1 (no colour).
constexpr int RASTER_LINES = 312;
extern int colors_left[RASTER_LINES];
extern int colors_right[RASTER_LINES];

extern int selection_start_left, selection_start_right;
extern int selection_end_left, selection_end_right;
extern int selection_active_left, selection_active_right;

// Mouse selection; row is relative to the picture's top, state the unmasked modifier state.
void rasterarray_button_press(int side, int row, unsigned int state, int double_click);
void rasterarray_button_press_left(int row, unsigned int state, int double_click);
void rasterarray_button_press_right(int row, unsigned int state, int double_click);

// Drawing into a border area (the caller has painted the border colour).
void rasterarray_render_lines(int side, cairo_t *cr, int with_selection);
void rasterarray_render_lines_left(cairo_t *cr, int with_selection);
void rasterarray_render_lines_right(cairo_t *cr, int with_selection);
void rasterarray_mark_selection(int side, cairo_t *cr);

// Per-line colour table of lines 51..250 for the executable export.
void rasterarray_get_bars(int side, unsigned char out[200], int fallback);
void rasterarray_get_bars_left(unsigned char out[200], int fallback);
void rasterarray_get_bars_right(unsigned char out[200], int fallback);

void rasterarray_delete_all_bars(void);
int rasterarray_get_color_at_index(int side, int index);
void rasterarray_set_color_at_index(int side, int index, int colour);

// Keyboard editing.
int rasterarray_key_press(int side, unsigned int keyval, unsigned int state);
int rasterarray_key_press_left(unsigned int keyval, unsigned int state);
int rasterarray_key_press_right(unsigned int keyval, unsigned int state);
int move_up(int side, int extend, int step);
int move_down(int side, int extend, int collapse, int step);
int move_home(int side, int extend);
int move_end(int side, int extend);
int rasterarray_expand_selection(int side);

// Project files.
void rasterarray_dump_models_to_key_file(GKeyFile *key_file);
void rasterarray_dump_models_to_key_file_internal(GKeyFile *key_file, const int *colors, const char *group);
void rasterarray_fill_models_from_key_file(GKeyFile *key_file);

// Auto-extension from the picture's outer columns.
void rasterarray_expand_picture(GdkPixbuf *picture, int border_colour);
