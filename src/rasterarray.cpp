// rasterarray: Compact mode. Owns the two per-line colour arrays of the side borders and
// the cursor / range selection of each side; answers mouse clicks and keys on them, draws
// them into a border area's cairo context and hands out the per-line export table.
// Also writes the arrays into a project key file's "left" and "right" groups and reads
// them back, and fills them from the picture's outer columns (auto-extend). Holds the
// helpers that Extended mode shares for this: cutting lines into runs, reading a picture
// column, and reading and writing a group's three bar lists.
// Reads the zoom (options_expansion), the palette and the key file or picture it is
// given; touches no widget and no other module's state.
#include "rasterarray.h"

#include <algorithm>
#include <array>

#include <gdk/gdkkeysyms.h>

#include "options.h"
#include "palette.h"

int colors_left[RASTER_LINES] = {};
int colors_right[RASTER_LINES] = {};

int selection_start_left = 51, selection_start_right = 51;
int selection_end_left = 51, selection_end_right = 51;
int selection_active_left = 0, selection_active_right = 0;

namespace {

constexpr int first_line = 51;   // the picture's first raster line
constexpr int last_line = 250;   // and its last
constexpr int picture_lines = last_line - first_line + 1;
constexpr int area_width = 48;   // a side border area at zoom 1
constexpr int area_height = 296;
constexpr int strip_width = 4;   // the black strip at the outer edge
constexpr int first_shown_line = 3;  // raster line of the area's pixel row 0
constexpr int colour_black = 0;
constexpr int colour_white = 1;

// Both arrays start out uncoloured.
[[maybe_unused]] const bool arrays_cleared = [] {
  std::fill(std::begin(colors_left), std::end(colors_left), -1);
  std::fill(std::begin(colors_right), std::end(colors_right), -1);
  return true;
}();

// One side's array and selection.
struct Side {
  int *colors;
  int &start;
  int &end;
  int &active;
  int top() const { return std::min(start, end); }
  int bottom() const { return std::max(start, end); }
};

Side side_of(int side) {
  if (side == 1) return {colors_left, selection_start_left, selection_end_left, selection_active_left};
  return {colors_right, selection_start_right, selection_end_right, selection_active_right};
}

int zoom() { return options_expansion; }

void set_source_colour(cairo_t *cr, int index) {
  double rgb[3] = {0.0, 0.0, 0.0};
  palette_get_rgb_double_at_index(index, rgb);
  cairo_set_antialias(cr, CAIRO_ANTIALIAS_NONE);
  cairo_set_line_width(cr, 1.0);
  cairo_set_source_rgb(cr, rgb[0], rgb[1], rgb[2]);
}

void fill_rect(cairo_t *cr, int x, int y, int width, int height) {
  cairo_rectangle(cr, x, y, width, height);
  cairo_fill(cr);
}

// Writes value into the range, or into the cursor line; with step the cursor then
// moves one line down (not past the last picture line).
int paint(int side, int value, bool step) {
  Side s = side_of(side);
  if (s.active == 1) {
    std::fill(s.colors + s.top(), s.colors + s.bottom() + 1, value);
    return 1;
  }
  s.colors[s.start] = value;
  if (step && s.start < last_line) s.start = s.end = s.start + 1;
  return 1;
}

// The key table. A row matches when its key value and modifier rule fit; the first
// matching row acts.
enum class Act { paint, clear, repeat, home, end, up, down };

struct KeyRow {
  unsigned int keyval;
  KeyModifiers mods;
  Act act;
  int arg = 0;       // colour for paint, step for up / down
  int collapse = 0;  // for down
};

constexpr KeyRow paint_key(unsigned int keyval, int colour, KeyModifiers mods = KeyModifiers::Any) {
  return {keyval, mods, Act::paint, colour};
}

constexpr auto key_table = std::to_array<KeyRow>({
    // Main keyboard: the digit row paints 0..7, the row below it 8..15.
    paint_key(GDK_1, 0), paint_key(GDK_2, 1), paint_key(GDK_3, 2), paint_key(GDK_4, 3),
    paint_key(GDK_5, 4), paint_key(GDK_6, 5), paint_key(GDK_7, 6), paint_key(GDK_8, 7),
    paint_key(GDK_q, 8), paint_key(GDK_w, 9), paint_key(GDK_e, 10), paint_key(GDK_r, 11),
    paint_key(GDK_t, 12), paint_key(GDK_y, 13), paint_key(GDK_u, 14), paint_key(GDK_i, 15),
    // Keypad: 0..7, with Control 8..15; Shift turns 1, 2, 3 and 7 into movements.
    paint_key(GDK_KP_0, 8, KeyModifiers::ControlOnly), paint_key(GDK_KP_0, 0),
    {GDK_KP_1, KeyModifiers::ShiftOnly, Act::end},
    paint_key(GDK_KP_1, 9, KeyModifiers::ControlOnly), paint_key(GDK_KP_1, 1),
    {GDK_KP_2, KeyModifiers::ShiftOnly, Act::down, 1, 1},
    paint_key(GDK_KP_2, 10, KeyModifiers::ControlOnly), paint_key(GDK_KP_2, 2),
    {GDK_KP_3, KeyModifiers::ShiftOnly, Act::down, 8, 0},
    paint_key(GDK_KP_3, 11, KeyModifiers::ControlOnly), paint_key(GDK_KP_3, 3),
    paint_key(GDK_KP_4, 12, KeyModifiers::ControlOnly), paint_key(GDK_KP_4, 4),
    paint_key(GDK_KP_5, 13, KeyModifiers::ControlOnly), paint_key(GDK_KP_5, 5),
    paint_key(GDK_KP_6, 14, KeyModifiers::ControlOnly), paint_key(GDK_KP_6, 6),
    {GDK_KP_7, KeyModifiers::ShiftOnly, Act::home},
    paint_key(GDK_KP_7, 15, KeyModifiers::ControlOnly), paint_key(GDK_KP_7, 7),
    {GDK_KP_Multiply, KeyModifiers::Any, Act::repeat},
    {GDK_Delete, KeyModifiers::Any, Act::clear},
    // Movements; Shift alone extends the range.
    {GDK_Home, KeyModifiers::Any, Act::home},
    {GDK_End, KeyModifiers::Any, Act::end},
    {GDK_Up, KeyModifiers::Any, Act::up, 1},
    {GDK_Down, KeyModifiers::Any, Act::down, 1, 1},
    {GDK_Page_Up, KeyModifiers::Any, Act::up, 8},
    {GDK_Page_Down, KeyModifiers::Any, Act::down, 8, 0},
    {GDK_KP_Up, KeyModifiers::Any, Act::up, 1},
    {GDK_KP_Page_Up, KeyModifiers::Any, Act::up, 8},
});

constexpr unsigned int shift_state = 1;


int run_action(int side, const KeyRow &row, int extend) {
  switch (row.act) {
    case Act::paint: return paint(side, row.arg, true);
    case Act::clear: return paint(side, -1, false);
    case Act::repeat: return rasterarray_expand_selection(side);
    case Act::home: return move_home(side, extend);
    case Act::end: return move_end(side, extend);
    case Act::up: return move_up(side, extend, row.arg);
    case Act::down: return move_down(side, extend, row.collapse, row.arg);
  }
  return 0;
}

}  // namespace

// ---- Mouse selection ----

void rasterarray_button_press(int side, int row, unsigned int state, int double_click) {
  if (static_cast<unsigned int>(row) >= static_cast<unsigned int>(picture_lines)) return;
  Side s = side_of(side);
  const int line = row + first_line;
  if (state == shift_state) {  // Shift alone: range from the anchor to here
    s.end = line;
    s.active = 1;
    return;
  }
  s.start = s.end = line;
  s.active = 0;
  if (!double_click) return;
  // A double click selects the run of equal entries around the line; uncoloured runs too.
  const int run = s.colors[line];
  while (s.start > first_line && s.colors[s.start - 1] == run) --s.start;
  while (s.end < last_line && s.colors[s.end + 1] == run) ++s.end;
  s.active = 1;
}

void rasterarray_button_press_left(int row, unsigned int state, int double_click) {
  rasterarray_button_press(1, row, state, double_click);
}
void rasterarray_button_press_right(int row, unsigned int state, int double_click) {
  rasterarray_button_press(0, row, state, double_click);
}

// ---- Drawing ----

void rasterarray_render_lines(int side, cairo_t *cr, int with_selection) {
  const int z = zoom();
  const int *colors = side_of(side).colors;
  const int bar_x = side == 1 ? strip_width * z : 0;
  for (int line = first_line; line <= last_line; ++line) {
    if (colors[line] < 0) continue;
    set_source_colour(cr, colors[line] & 15);
    fill_rect(cr, bar_x, (line - first_shown_line) * z, (area_width - strip_width) * z, z);
  }
  set_source_colour(cr, colour_black);
  const int strip_x = side == 1 ? 0 : (area_width - strip_width) * z;
  fill_rect(cr, strip_x, 0, strip_width * z, area_height * z);
  if (with_selection == 1) rasterarray_mark_selection(side == 1 ? 1 : 0, cr);
}

void rasterarray_render_lines_left(cairo_t *cr, int with_selection) { rasterarray_render_lines(1, cr, with_selection); }
void rasterarray_render_lines_right(cairo_t *cr, int with_selection) { rasterarray_render_lines(0, cr, with_selection); }

void rasterarray_mark_selection(int side, cairo_t *cr) {
  const int z = zoom();
  Side s = side_of(side);
  const int top = s.active == 1 ? s.top() : s.start;
  const int count = s.active == 1 ? s.bottom() - s.top() + 1 : 1;
  set_source_colour(cr, colour_white);
  const int x = side == 1 ? 0 : (area_width - strip_width) * z;
  fill_rect(cr, x, (top - first_shown_line) * z, strip_width * z, count * z);
}

// ---- Export table, clearing, single entries ----

void rasterarray_get_bars(int side, unsigned char out[200], int fallback) {
  const int *colors = side_of(side).colors;
  for (int i = 0; i < picture_lines; ++i) {
    const int entry = colors[first_line + i];
    out[i] = static_cast<unsigned char>(entry >= 0 ? entry : fallback);
  }
}

void rasterarray_get_bars_left(unsigned char out[200], int fallback) { rasterarray_get_bars(1, out, fallback); }
void rasterarray_get_bars_right(unsigned char out[200], int fallback) { rasterarray_get_bars(0, out, fallback); }

void rasterarray_delete_all_bars(void) {
  std::fill(std::begin(colors_left), std::end(colors_left), -1);
  std::fill(std::begin(colors_right), std::end(colors_right), -1);
}

static int wrap_line(int index) { return ((index % RASTER_LINES) + RASTER_LINES) % RASTER_LINES; }

int rasterarray_get_color_at_index(int side, int index) { return side_of(side).colors[wrap_line(index)]; }

void rasterarray_set_color_at_index(int side, int index, int colour) {
  side_of(side).colors[wrap_line(index)] = colour;
}

// ---- Keys ----

int rasterarray_key_press(int side, unsigned int keyval, unsigned int state) {
  const int extend = state == shift_state ? 1 : 0;
  for (const KeyRow &row : key_table)
    if (row.keyval == keyval && key_modifiers_match(row.mods, state)) return run_action(side, row, extend);
  return 0;
}

int rasterarray_key_press_left(unsigned int keyval, unsigned int state) { return rasterarray_key_press(1, keyval, state); }
int rasterarray_key_press_right(unsigned int keyval, unsigned int state) { return rasterarray_key_press(0, keyval, state); }

int move_up(int side, int extend, int step) {
  Side s = side_of(side);
  if (extend) {
    if (s.end - step < first_line) return 0;
    s.end -= step;
    s.active = 1;
    return 1;
  }
  // A range made upward collapses onto its top line first.
  int p = (s.active == 1 && s.end < s.start) ? s.end : s.start;
  if (p - step >= first_line) p -= step;
  s.start = s.end = p;
  s.active = 0;
  return 1;
}

int move_down(int side, int extend, int collapse, int step) {
  Side s = side_of(side);
  if (extend) {
    if (s.end + step > last_line) return 0;
    s.end += step;
    s.active = 1;
    return 1;
  }
  // With collapse, a range made downward continues below its bottom line.
  int p = (s.active == 1 && s.end > s.start && collapse == 1) ? s.end : s.start;
  if (p + step <= last_line) p += step;
  s.start = s.end = p;
  s.active = 0;
  return 1;
}

int move_home(int side, int extend) {
  Side s = side_of(side);
  if (extend) {  // extend the range to the first picture line, on either border
    s.end = first_line;
    s.active = 1;
    return 1;
  }
  if (s.active == 1 && s.start > s.end)
    s.start = s.end;
  else
    s.start = s.end = first_line;
  s.active = 0;
  return 1;
}

int move_end(int side, int extend) {
  Side s = side_of(side);
  if (extend) {
    s.end = last_line;
    s.active = 1;
    return 1;
  }
  s.start = s.end = last_line;
  s.active = 0;
  return 1;
}

// Repeats the selected lines, as a pattern, down to the picture's last line.
int rasterarray_expand_selection(int side) {
  Side s = side_of(side);
  if (s.active != 1) return 0;
  const int top = s.top(), bottom = s.bottom(), length = bottom - top + 1;
  for (int line = bottom + 1; line <= last_line; ++line)
    s.colors[line] = s.colors[top + (line - bottom - 1) % length];
  return 1;
}

// ---- Runs, picture columns and project file groups (shared with rastermodel) ----

std::vector<LineRun> rasterarray_find_runs(const int *values, int count, int first_line) {
  std::vector<LineRun> runs;
  int run_start = 0;
  for (int i = 1; i <= count; ++i) {
    if (i < count && values[i] == values[run_start]) continue;
    if (values[run_start] >= 0) runs.push_back({first_line + run_start, i - run_start, values[run_start]});
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

namespace {
constexpr std::array<const char *, 3> bar_keys{"start", "height", "color"};
constexpr std::array<const char *, 2> groups{"right", "left"};  // indexed by the side flag
}  // namespace

std::vector<LineRun> rasterarray_read_bar_group(GKeyFile *key_file, const char *group) {
  std::array<gint *, 3> lists{};
  std::array<gsize, 3> lengths{};
  for (size_t k = 0; k < bar_keys.size(); ++k) {
    lists[k] = g_key_file_get_integer_list(key_file, group, bar_keys[k], &lengths[k], nullptr);
    if (!lists[k]) lengths[k] = 0;
  }
  const gsize n = *std::min_element(lengths.begin(), lengths.end());
  std::vector<LineRun> bars;
  for (gsize i = 0; i < n; ++i) bars.push_back({lists[0][i], lists[1][i], lists[2][i]});
  for (gint *list : lists) g_free(list);
  return bars;
}

void rasterarray_write_bar_group(GKeyFile *key_file, const char *group, const std::vector<LineRun> &bars) {
  std::array<std::vector<gint>, 3> lists;
  for (const LineRun &bar : bars) {
    lists[0].push_back(bar.start);
    lists[1].push_back(bar.height);
    lists[2].push_back(bar.color);
  }
  gint none = 0;  // the library wants a list even when it is empty
  for (size_t k = 0; k < bar_keys.size(); ++k)
    g_key_file_set_integer_list(key_file, group, bar_keys[k], lists[k].empty() ? &none : lists[k].data(),
                                lists[k].size());
}

// ---- Project files ----

void rasterarray_dump_models_to_key_file(GKeyFile *key_file) {
  rasterarray_dump_models_to_key_file_internal(key_file, colors_left, groups[1]);
  rasterarray_dump_models_to_key_file_internal(key_file, colors_right, groups[0]);
}

// The runs of lines 51..250 are the bars; uncoloured runs are left out.
void rasterarray_dump_models_to_key_file_internal(GKeyFile *key_file, const int *colors, const char *group) {
  rasterarray_write_bar_group(key_file, group, rasterarray_find_runs(colors + first_line, picture_lines, first_line));
}

// Paints the file's bars in file order, so that a later bar wins where bars overlap.
// Bars reaching outside the picture lines or without lines are skipped. A colour is
// taken modulo 16 with the sign of the stored value; a bar whose colour comes out
// negative leaves its lines uncoloured, also over an earlier bar.
void rasterarray_fill_models_from_key_file(GKeyFile *key_file) {
  rasterarray_delete_all_bars();
  for (int side : {1, 0}) {
    int *colors = side_of(side).colors;
    for (const LineRun &bar : rasterarray_read_bar_group(key_file, groups[side])) {
      if (bar.start < first_line || bar.height < 1 || static_cast<long long>(bar.start) + bar.height > last_line + 1)
        continue;
      const int colour = bar.color % 16;
      std::fill(colors + bar.start, colors + bar.start + bar.height, colour < 0 ? -1 : colour);
    }
  }
}

// ---- Auto-extension ----

// Every line 51..250 gets the colour of the picture's outer pixel on that line, or no
// colour where that pixel is in the border colour.
void rasterarray_expand_picture(GdkPixbuf *picture, int border_colour) {
  if (!picture) return;
  for (int side : {1, 0}) {
    const int x = side == 1 ? 0 : gdk_pixbuf_get_width(picture) - 1;
    const std::vector<int> column = rasterarray_read_picture_column(picture, x, border_colour);
    int *colors = side_of(side).colors;
    for (size_t r = 0; r < column.size(); ++r)
      colors[first_line + r] = column[r] < 0 ? -1 : rasterarray_index_for_packed_rgb(column[r]);
  }
}

// Shift 1 and Control 4, as the border areas pass the masked state.
constexpr unsigned int control_state = 4;

bool key_modifiers_match(KeyModifiers rule, unsigned int state) {
  switch (rule) {
    case KeyModifiers::ShiftOnly: return state == shift_state;
    case KeyModifiers::ControlOnly: return state == control_state;
    case KeyModifiers::Any: return true;
  }
  return false;
}
