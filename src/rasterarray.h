// rasterarray: Compact mode, the bars as one colour per raster line for each side border.
#pragma once

#include <cairo.h>
#include <gdk-pixbuf/gdk-pixbuf.h>
#include <glib.h>

#include <vector>

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

// Keyboard editing. A key table row's modifier rule: any state, or exactly Shift, or exactly
// Control (the state is masked to Shift 1, Control 4 and Alt 8 before it reaches the tables,
// so Control with Shift or Alt is neither). Shared with Extended mode's key table.
enum class KeyModifiers { Any, ShiftOnly, ControlOnly };
bool key_modifiers_match(KeyModifiers rule, unsigned int state);
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

// ---- Helpers that Extended mode (rastermodel) shares ----

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
// reads as -1. Only the rows beside the picture lines (at most 200) are read.
std::vector<int> rasterarray_read_picture_column(GdkPixbuf *picture, int x, int border_colour);

// The palette index of a 0xRRGGBB value (0 when no colour of the palette in force matches).
int rasterarray_index_for_packed_rgb(int rgb);

// The three parallel integer lists "start", "height" and "color" of a project file group.
// Reading gives as many bars as the shortest list has values; a missing or malformed list
// counts as empty. Writing always sets all three lists, also when they are empty.
std::vector<LineRun> rasterarray_read_bar_group(GKeyFile *key_file, const char *group);
void rasterarray_write_bar_group(GKeyFile *key_file, const char *group, const std::vector<LineRun> &bars);
