// rasterarray: not written yet.
#include "rasterarray.h"

int colors_left[RASTER_LINES]{};
int colors_right[RASTER_LINES]{};
int selection_start_left, selection_start_right = {};
int selection_end_left, selection_end_right = {};
int selection_active_left, selection_active_right = {};
void rasterarray_button_press(int side, int row, unsigned int state, int double_click) { }
void rasterarray_button_press_left(int row, unsigned int state, int double_click) { }
void rasterarray_button_press_right(int row, unsigned int state, int double_click) { }
void rasterarray_render_lines(int side, cairo_t *cr, int with_selection) { }
void rasterarray_render_lines_left(cairo_t *cr, int with_selection) { }
void rasterarray_render_lines_right(cairo_t *cr, int with_selection) { }
void rasterarray_mark_selection(int side, cairo_t *cr) { }
void rasterarray_get_bars(int side, unsigned char out[200], int fallback) { }
void rasterarray_get_bars_left(unsigned char out[200], int fallback) { }
void rasterarray_get_bars_right(unsigned char out[200], int fallback) { }
void rasterarray_delete_all_bars(void) { }
int rasterarray_get_color_at_index(int side, int index) { return {}; }
void rasterarray_set_color_at_index(int side, int index, int colour) { }
int rasterarray_key_press(int side, unsigned int keyval, unsigned int state) { return {}; }
int rasterarray_key_press_left(unsigned int keyval, unsigned int state) { return {}; }
int rasterarray_key_press_right(unsigned int keyval, unsigned int state) { return {}; }
int move_up(int side, int extend, int step) { return {}; }
int move_down(int side, int extend, int collapse, int step) { return {}; }
int move_home(int side, int extend) { return {}; }
int move_end(int side, int extend) { return {}; }
int rasterarray_expand_selection(int side) { return {}; }
void rasterarray_dump_models_to_key_file(GKeyFile *key_file) { }
void rasterarray_dump_models_to_key_file_internal(GKeyFile *key_file, const int *colors, const char *group) { }
void rasterarray_fill_models_from_key_file(GKeyFile *key_file) { }
void rasterarray_expand_picture(GdkPixbuf *picture, int border_colour) { }
