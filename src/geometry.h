// geometry: the simulated C64 screen and its raster lines, at zoom 1. Every size and line
// number that the view, the two bar modes, the exports and the tests share is named here;
// the zoom factor (options_expansion, 1..4) multiplies every size.
#pragma once

#include <vector>

// PAL raster lines of a frame; the per-line colour arrays are indexed by line number.
constexpr int RASTER_LINES = 312;

// The picture covers lines 51..250; bars lie only on these lines.
constexpr int first_picture_line = 51;
constexpr int last_picture_line = 250;
constexpr int picture_lines = last_picture_line - first_picture_line + 1;  // 200

// Pixel row 0 of a side border area (and of the full-screen image) shows this line.
constexpr int first_shown_line = 3;

// The drawing areas.
constexpr int picture_width = 320;
constexpr int picture_height = picture_lines;
constexpr int vert_border_width = 48;
constexpr int vert_border_height = 296;  // lines 3..298
constexpr int horiz_border_width = 320;
constexpr int horiz_border_height = first_picture_line - first_shown_line;  // 48
constexpr int palette_width = 256;
constexpr int palette_height = 16;

// The black strip at the outer edge of each side border area, and the bars beside it.
constexpr int outer_strip_width = 4;
constexpr int bar_width = vert_border_width - outer_strip_width;

// The full screen as the PNG export composes it, and the part of it that is written:
// 32 pixels of side border and lines 16..287.
constexpr int screen_width = vert_border_width + picture_width + vert_border_width;
constexpr int png_width = 384;
constexpr int png_height = 272;
constexpr int png_first_column = (screen_width - png_width) / 2;  // 16
constexpr int png_first_line = 16;

// A bar as both input modes and the project file hand it over: first line, number of
// lines, colour.
struct LineRun {
  int start;
  int height;
  int color;
};

// The side borders, as the functions that take a side number them.
enum BorderSide : int { side_right = 0, side_left = 1 };

// What the editor draws in the side borders: each side's bars in drawing order (a later bar
// covers an earlier one), indexed by the side flag, and the border colour everywhere else.
struct EditorBorders {
  std::vector<LineRun> bars[2];
  int border = 0;
};

// The y position of raster line `line` in a side border area at `zoom`.
constexpr int line_y(int line, int zoom) { return (line - first_shown_line) * zoom; }

// The pixel rows that lines start .. start + height - 1 take in a side border area at
// `zoom`, cut to the area. Worked out wider than an int, so that no start and height a
// project file may hold can overflow; lines that cover nothing get no rows.
struct PixelRows {
  int y;
  int height;
};
constexpr PixelRows line_rows(int start, int height, int zoom) {
  const long long first = start > first_shown_line ? start : first_shown_line;
  const long long end_wanted = static_cast<long long>(start) + height;
  const long long end =
      end_wanted < first_shown_line + vert_border_height ? end_wanted : first_shown_line + vert_border_height;
  if (end <= first) return {0, 0};
  return {static_cast<int>((first - first_shown_line) * zoom), static_cast<int>((end - first) * zoom)};
}
