// rasterarray: Compact mode. Owns the two per-line colour arrays of the side borders and
// the cursor / range selection of each side; answers mouse clicks and keys on them, draws
// them into a border area's cairo context and hands out the per-line export table.
// Also writes the arrays into a project key file's "left" and "right" groups and reads
// them back, and fills them from the picture's outer columns (auto-extend). Holds the
// helpers that Extended mode shares: the colour keys, cutting lines into runs, reading a
// picture column, and reading and writing a group's three bar lists.
// Reads the palette, the zoom it is given (or options_expansion for the _left / _right
// drawing functions) and the key file or picture it is given; touches no widget and no
// other module's state. The project file's groups are read and written by projectfile.
#include "rasterarray.h"

#include <algorithm>
#include <array>

#include <gdk/gdk.h>
#include <gdk/gdkkeysyms.h>

#include "palette.h"
#include "projectfile.h"
#include "state.h"

int colors_left[RASTER_LINES] = {};
int colors_right[RASTER_LINES] = {};

int selection_start_left = first_picture_line, selection_start_right = first_picture_line;
int selection_end_left = first_picture_line, selection_end_right = first_picture_line;
int selection_active_left = 0, selection_active_right = 0;

namespace {

constexpr int colour_black = 0;
constexpr int colour_white = 1;

// Both arrays start out uncoloured.
[[maybe_unused]] const bool arrays_cleared = [] {
  rasterarray_delete_all_bars();
  return true;
}();

// One side's array and selection.
struct SideLines {
  int *colors;
  int &start;
  int &end;
  int &active;
  int top() const { return std::min(start, end); }
  int bottom() const { return std::max(start, end); }
};

SideLines side_of(int side) {
  const LineSelection s = rasterarray_selection_of(side);
  return {rasterarray_lines_of(side), s.start, s.end, s.active};
}

// x of the outer strip and of the bars in a side's area at zoom z.
int strip_x(int side, int z) { return side == side_left ? 0 : bar_width * z; }
int bars_x(int side, int z) { return side == side_left ? outer_strip_width * z : 0; }

// A white segment of the outer strip beside the cursor line or the range.
void mark_selection(int side, cairo_t *cr, int z) {
  SideLines s = side_of(side);
  const int top = s.active == 1 ? s.top() : s.start;
  const int count = s.active == 1 ? s.bottom() - s.top() + 1 : 1;
  palette_fill_rect(cr, colour_white, strip_x(side, z), line_y(top, z), outer_strip_width * z, count * z);
}

// Writes value into the range, or into the cursor line; with step the cursor then
// moves one line down (not past the last picture line).
int paint(int side, int value, bool step) {
  SideLines s = side_of(side);
  if (s.active == 1) {
    std::fill(s.colors + s.top(), s.colors + s.bottom() + 1, value);
    return 1;
  }
  s.colors[s.start] = value;
  if (step && s.start < last_picture_line) s.start = s.end = s.start + 1;
  return 1;
}

// The movements; with extend the moving end goes and the range grows or shrinks, else the
// cursor moves (a range collapses first). Each returns 1 when the area must be redrawn.
int move_up(int side, int extend, int step) {
  SideLines s = side_of(side);
  if (extend) {
    if (s.end - step < first_picture_line) return 0;
    s.end -= step;
    s.active = 1;
    return 1;
  }
  // A range made upward collapses onto its top line first.
  int p = (s.active == 1 && s.end < s.start) ? s.end : s.start;
  if (p - step >= first_picture_line) p -= step;
  s.start = s.end = p;
  s.active = 0;
  return 1;
}

int move_down(int side, int extend, int collapse, int step) {
  SideLines s = side_of(side);
  if (extend) {
    if (s.end + step > last_picture_line) return 0;
    s.end += step;
    s.active = 1;
    return 1;
  }
  // With collapse, a range made downward continues below its bottom line.
  int p = (s.active == 1 && s.end > s.start && collapse == 1) ? s.end : s.start;
  if (p + step <= last_picture_line) p += step;
  s.start = s.end = p;
  s.active = 0;
  return 1;
}

int move_home(int side, int extend) {
  SideLines s = side_of(side);
  if (extend) {  // extend the range to the first picture line, on either border
    s.end = first_picture_line;
    s.active = 1;
    return 1;
  }
  if (s.active == 1 && s.start > s.end)
    s.start = s.end;
  else
    s.start = s.end = first_picture_line;
  s.active = 0;
  return 1;
}

int move_end(int side, int extend) {
  SideLines s = side_of(side);
  if (extend) {
    s.end = last_picture_line;
    s.active = 1;
    return 1;
  }
  s.start = s.end = last_picture_line;
  s.active = 0;
  return 1;
}

// Repeats the selected lines, as a pattern, down to the picture's last line.
int rasterarray_expand_selection(int side) {
  SideLines s = side_of(side);
  if (s.active != 1) return 0;
  const int top = s.top(), bottom = s.bottom(), length = bottom - top + 1;
  for (int line = bottom + 1; line <= last_picture_line; ++line)
    s.colors[line] = s.colors[top + (line - bottom - 1) % length];
  return 1;
}

// The keys other than the colour keys (rasterarray_key_color). A row matches when its key
// value fits and, for a Shift-only row, the state is exactly Shift; the first match acts,
// and a key no row matches is tried as a colour key.
enum class Act { clear, repeat, home, end, up, down };

struct KeyRow {
  unsigned int keyval;
  bool shift_only;
  Act act;
  int step = 0;      // for up / down
  int collapse = 0;  // for down
};

constexpr auto key_table = std::to_array<KeyRow>({
    // Shift turns keypad 1, 2, 3 and 7 into movements.
    {GDK_KP_1, true, Act::end},
    {GDK_KP_2, true, Act::down, 1, 1},
    {GDK_KP_3, true, Act::down, 8, 0},
    {GDK_KP_7, true, Act::home},
    {GDK_KP_Multiply, false, Act::repeat},
    {GDK_Delete, false, Act::clear},
    // Movements; Shift alone extends the range.
    {GDK_Home, false, Act::home},
    {GDK_End, false, Act::end},
    {GDK_Up, false, Act::up, 1},
    {GDK_Down, false, Act::down, 1, 1},
    {GDK_Page_Up, false, Act::up, 8},
    {GDK_Page_Down, false, Act::down, 8, 0},
    {GDK_KP_Up, false, Act::up, 1},
    {GDK_KP_Page_Up, false, Act::up, 8},
});

int run_action(int side, const KeyRow &row, int extend) {
  switch (row.act) {
    case Act::clear: return paint(side, -1, false);
    case Act::repeat: return rasterarray_expand_selection(side);
    case Act::home: return move_home(side, extend);
    case Act::end: return move_end(side, extend);
    case Act::up: return move_up(side, extend, row.step);
    case Act::down: return move_down(side, extend, row.collapse, row.step);
  }
  return 0;
}

}  // namespace

// ---- Mouse selection ----

namespace {

void button_press(int side, int row, unsigned int state, int double_click) {
  if (static_cast<unsigned int>(row) >= static_cast<unsigned int>(picture_lines)) return;
  SideLines s = side_of(side);
  const int line = row + first_picture_line;
  if (state == GDK_SHIFT_MASK) {  // Shift alone: range from the anchor to here
    s.end = line;
    s.active = 1;
    return;
  }
  s.start = s.end = line;
  s.active = 0;
  if (!double_click) return;
  // A double click selects the run of equal entries around the line; uncoloured runs too.
  const int run = s.colors[line];
  while (s.start > first_picture_line && s.colors[s.start - 1] == run) --s.start;
  while (s.end < last_picture_line && s.colors[s.end + 1] == run) ++s.end;
  s.active = 1;
}

int wrap_line(int index) { return ((index % RASTER_LINES) + RASTER_LINES) % RASTER_LINES; }

}  // namespace

int *rasterarray_lines_of(int side) { return side == side_left ? colors_left : colors_right; }

LineSelection rasterarray_selection_of(int side) {
  if (side == side_left) return {selection_start_left, selection_end_left, selection_active_left};
  return {selection_start_right, selection_end_right, selection_active_right};
}

void rasterarray_button_press_left(int row, unsigned int state, int double_click) {
  button_press(side_left, row, state, double_click);
}
void rasterarray_button_press_right(int row, unsigned int state, int double_click) {
  button_press(side_right, row, state, double_click);
}

// ---- Drawing ----

void rasterarray_render_lines(int side, cairo_t *cr, int with_selection, int zoom) {
  const int *colors = side_of(side).colors;
  for (int line = first_picture_line; line <= last_picture_line; ++line)
    if (colors[line] >= 0)
      palette_fill_rect(cr, colors[line] & 15, bars_x(side, zoom), line_y(line, zoom), bar_width * zoom, zoom);
  palette_fill_rect(cr, colour_black, strip_x(side, zoom), 0, outer_strip_width * zoom, vert_border_height * zoom);
  if (with_selection == 1) mark_selection(side, cr, zoom);
}

void rasterarray_render_lines_left(cairo_t *cr, int with_selection) {
  rasterarray_render_lines(side_left, cr, with_selection, options_expansion);
}
void rasterarray_render_lines_right(cairo_t *cr, int with_selection) {
  rasterarray_render_lines(side_right, cr, with_selection, options_expansion);
}

// ---- Export table, clearing, single entries ----

void rasterarray_get_bars_left(unsigned char out[picture_lines], int fallback) {
  rasterarray_table_of_lines(colors_left, out, fallback);
}
void rasterarray_get_bars_right(unsigned char out[picture_lines], int fallback) {
  rasterarray_table_of_lines(colors_right, out, fallback);
}

void rasterarray_table_of_lines(const int *colors, unsigned char out[picture_lines], int fallback) {
  for (int i = 0; i < picture_lines; ++i) {
    const int entry = colors[first_picture_line + i];
    out[i] = static_cast<unsigned char>(entry >= 0 ? entry : fallback);
  }
}

void rasterarray_delete_all_bars(void) {
  std::fill(std::begin(colors_left), std::end(colors_left), -1);
  std::fill(std::begin(colors_right), std::end(colors_right), -1);
}

int rasterarray_get_color_at_index(int side, int index) { return side_of(side).colors[wrap_line(index)]; }

void rasterarray_set_color_at_index(int side, int index, int colour) {
  side_of(side).colors[wrap_line(index)] = colour;
}

// ---- Keys ----

int rasterarray_key_press(int side, unsigned int keyval, unsigned int state) {
  const int extend = state == GDK_SHIFT_MASK ? 1 : 0;
  for (const KeyRow &row : key_table)
    if (row.keyval == keyval && (!row.shift_only || state == GDK_SHIFT_MASK)) return run_action(side, row, extend);
  const int colour = rasterarray_key_color(keyval, state);
  return colour < 0 ? 0 : paint(side, colour, true);
}

int rasterarray_key_press_left(unsigned int keyval, unsigned int state) {
  return rasterarray_key_press(side_left, keyval, state);
}
int rasterarray_key_press_right(unsigned int keyval, unsigned int state) {
  return rasterarray_key_press(side_right, keyval, state);
}

int rasterarray_key_color(unsigned int keyval, unsigned int state) {
  constexpr std::array<unsigned int, 16> main_keys{GDK_1, GDK_2, GDK_3, GDK_4, GDK_5, GDK_6, GDK_7, GDK_8,
                                                   GDK_q, GDK_w, GDK_e, GDK_r, GDK_t, GDK_y, GDK_u, GDK_i};
  for (int colour = 0; colour < 16; ++colour)
    if (keyval == main_keys[colour]) return colour;
  if (keyval >= GDK_KP_0 && keyval <= GDK_KP_7)
    return static_cast<int>(keyval - GDK_KP_0) + (state == GDK_CONTROL_MASK ? 8 : 0);
  return -1;
}

// ---- Runs, picture columns and project file groups (shared with rastermodel) ----

std::vector<LineRun> rasterarray_find_runs(const int *values, int count, int line_of_first) {
  std::vector<LineRun> runs;
  int run_start = 0;
  for (int i = 1; i <= count; ++i) {
    if (i < count && values[i] == values[run_start]) continue;
    if (values[run_start] >= 0) runs.push_back({line_of_first + run_start, i - run_start, values[run_start]});
    run_start = i;
  }
  return runs;
}

std::vector<int> rasterarray_read_picture_column(GdkPixbuf *picture, int x, int border_colour) {
  unsigned char border[3];
  palette_get_rgb_at_index(border_colour, border);
  const int rows = std::min(gdk_pixbuf_get_height(picture), picture_lines);
  const int stride = gdk_pixbuf_get_rowstride(picture);
  const guchar *pixel = gdk_pixbuf_get_pixels(picture) + x * gdk_pixbuf_get_n_channels(picture);
  std::vector<int> column(rows);
  for (int r = 0; r < rows; ++r, pixel += stride)
    column[r] = std::equal(pixel, pixel + 3, border) ? -1 : pixel[0] << 16 | pixel[1] << 8 | pixel[2];
  return column;
}

int rasterarray_index_for_packed_rgb(int rgb) {
  const unsigned char bytes[3] = {static_cast<unsigned char>(rgb >> 16), static_cast<unsigned char>(rgb >> 8),
                                  static_cast<unsigned char>(rgb)};
  return static_cast<int>(palette_get_index_for_rgb(bytes));
}

// ---- Project files ----

void rasterarray_dump_models_to_key_file(GKeyFile *key_file) {
  for (BorderSide side : {side_left, side_right})
    rasterarray_dump_models_to_key_file_internal(key_file, rasterarray_lines_of(side), projectfile_groups[side]);
}

// The runs of lines 51..250 are the bars; uncoloured runs are left out.
void rasterarray_dump_models_to_key_file_internal(GKeyFile *key_file, const int *colors, const char *group) {
  projectfile_write_bar_group(key_file, group, rasterarray_runs(colors));
}

std::vector<LineRun> rasterarray_runs(const int *colors) {
  return rasterarray_find_runs(colors + first_picture_line, picture_lines, first_picture_line);
}

// Both arrays are read; lines outside the picture lines stay uncoloured.
void rasterarray_fill_models_from_key_file(GKeyFile *key_file) {
  for (BorderSide side : {side_left, side_right})
    projectfile_compact_lines(key_file, projectfile_groups[side], rasterarray_lines_of(side));
}

// ---- Auto-extension ----

// Every line 51..250 gets the colour of the picture's outer pixel on that line, or no
// colour where that pixel is in the border colour.
void rasterarray_expand_picture(GdkPixbuf *picture, int border_colour) {
  if (!picture) return;
  for (BorderSide side : {side_left, side_right}) {
    const int x = side == side_left ? 0 : gdk_pixbuf_get_width(picture) - 1;
    const std::vector<int> column = rasterarray_read_picture_column(picture, x, border_colour);
    int *colors = side_of(side).colors;
    for (size_t r = 0; r < column.size(); ++r)
      colors[first_picture_line + r] = column[r] < 0 ? -1 : rasterarray_index_for_packed_rgb(column[r]);
  }
}
