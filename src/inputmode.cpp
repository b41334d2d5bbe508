// inputmode: hands the bar operations of the commands and handlers to the active input
// mode, looked up in one place (active_mode). The pairs of _left / _right functions are
// indexed by the side flag ([1] left, [0] right).
//
// May touch: the bars of both modes, through rastermodel and rasterarray; reads
// interface_extended.
#include "inputmode.h"

#include <algorithm>
#include <array>

#include "rasterarray.h"
#include "rastermodel.h"
#include "state.h"

namespace {

struct InputMode {
  void (*render_lines)(int side, cairo_t *, int with_selection, int zoom);
  std::array<void (*)(int row, unsigned int state, int double_click), 2> button_press;
  std::array<int (*)(unsigned int keyval, unsigned int state), 2> key_press;
  std::array<void (*)(unsigned char *, int), 2> get_bars;
  void (*expand)(GdkPixbuf *, int);
  std::vector<LineRun> (*bars)(int side);
  void (*apply)(const ProjectRecord &project);
};

constexpr InputMode compact_mode{
    rasterarray_render_lines,
    {rasterarray_button_press_right, rasterarray_button_press_left},
    {rasterarray_key_press_right, rasterarray_key_press_left},
    {rasterarray_get_bars_right, rasterarray_get_bars_left},
    rasterarray_expand_picture,
    [](int side) { return rasterarray_runs(rasterarray_lines_of(side)); },
    [](const ProjectRecord &project) {
      for (BorderSide side : {side_left, side_right})
        std::copy(project.lines[side].begin(), project.lines[side].end(), rasterarray_lines_of(side));
    },
};

constexpr InputMode extended_mode{
    rastermodel_render_lines,
    {[](int row, unsigned int, int) { rastermodel_button_press_right(row); },
     [](int row, unsigned int, int) { rastermodel_button_press_left(row); }},
    {rastermodel_key_press_right, rastermodel_key_press_left},
    {rastermodel_get_bars_right, rastermodel_get_bars_left},
    rastermodel_expand_picture,
    rastermodel_get_rows,
    [](const ProjectRecord &project) {
      for (BorderSide side : {side_left, side_right}) rastermodel_set_rows(side, project.bars[side]);
    },
};

const InputMode &active_mode() { return interface_extended == 1 ? extended_mode : compact_mode; }

}  // namespace

void inputmode_render_lines(int side, cairo_t *cr, int with_selection, int zoom) {
  active_mode().render_lines(side, cr, with_selection, zoom);
}

void inputmode_button_press(int side, int row, unsigned int state, int double_click) {
  active_mode().button_press[side](row, state, double_click);
}

int inputmode_key_press(int side, unsigned int keyval, unsigned int state) {
  return active_mode().key_press[side](keyval, state);
}

void inputmode_get_bar_tables(unsigned char left[picture_lines], unsigned char right[picture_lines], int border) {
  active_mode().get_bars[side_left](left, border);
  active_mode().get_bars[side_right](right, border);
}

void inputmode_expand_picture(GdkPixbuf *picture, int border) { active_mode().expand(picture, border); }

std::vector<LineRun> inputmode_bars(int side) { return active_mode().bars(side); }

EditorBorders inputmode_editor_borders(int border) {
  EditorBorders editor;
  editor.border = border;
  for (int side : {side_left, side_right}) editor.bars[side] = inputmode_bars(side);
  return editor;
}

void inputmode_apply_project(const ProjectRecord &project) { active_mode().apply(project); }
