// The line colour arrays of Compact mode: drawing, the export table, and mouse and keys on
// the real border areas.
#include <gdk/gdkkeysyms.h>

#include "bars_fixture.h"

namespace {

class LineArrays : public BarsTest {
  void SetUp() override { BarsTest::SetUp(); activate("menuitem_interface_compact"); }
};

// Bars 44z wide beside the picture, a black 4z strip on the outer edge, white beside the
// cursor line or range when asked for; the export table.
TEST_F(LineArrays, DrawsBarsStripAndMarkAndExportTable) {
  unsigned char out[picture_lines];  // the export table: the fallback where a line has no colour
  rasterarray_get_bars_left(out, 6);
  EXPECT_EQ(std::count(out, out + picture_lines, 6), picture_lines);
  colors_left[51] = 14, colors_right[100] = 5;
  rasterarray_get_bars_left(out, 6);
  EXPECT_EQ(out[0], 14);

  set_selection(0, {100, 90, 1});
  expect_drawn(rasterarray_render_lines_left, rasterarray_render_lines_right, {
      // Left: bar 14 on line 51 (y 48) under the cursor.
      {1, 1, 4, 48, 14}, {1, 1, 47, 48, 14}, {1, 1, 4, 49, -1}, {1, 1, 0, 48, 1}, {1, 1, 3, 48, 1},
      {1, 1, 3, 49, 0}, {1, 1, 0, 0, 0}, {1, 1, 3, 295, 0}, {1, 0, 3, 48, 0},
      // Right: bar 5 on line 100 (y 97), range 100 up to 90 (y 87..97).
      {0, 1, 0, 97, 5}, {0, 1, 43, 97, 5}, {0, 1, 0, 96, -1}, {0, 1, 44, 87, 1}, {0, 1, 47, 97, 1},
      {0, 1, 44, 86, 0}, {0, 1, 44, 98, 0}, {0, 1, 47, 295, 0}, {0, 0, 44, 87, 0},
  });
}

// The real border areas at zoom 1 and 2: the painted lines beside the picture, the black
// outer strip, the white mark beside the range only while a picture is loaded.
TEST_F(LineArrays, DrawnOnTheBorderAreas) {
  colors_right[100] = colors_right[101] = 5;
  set_selection(0, {101, 99, 1});
  for (int z : {1, 2})
    for (int loaded : {1, 0}) {
      picture_loaded = loaded;
      Shown right(0, z);
      SCOPED_TRACE(testing::Message() << "zoom " << z << " loaded " << loaded);
      EXPECT_EQ(right.at(0, 100), rgb_of(5));
      EXPECT_EQ(right.at(43, 101), rgb_of(5));
      EXPECT_EQ(right.at(20, 99), rgb_of(6));
      for (int line : {99, 101}) EXPECT_EQ(right.at(44, line), rgb_of(loaded ? 1 : 0));
      EXPECT_EQ(right.at(47, 102), rgb_of(0));
    }
}

// Lines 40..69 hold colour 3, lines 70..79 colour 5, the rest none; the cursor is on 100.
// The picture's lines 51..250 are at y 48z..247z; a double click selects the run of one
// colour there.
TEST_F(LineArrays, MouseSelection) {
  const struct {
    const char *what;
    int zoom;
    GdkEventType type;
    unsigned button, state;
    double y;
    Selection after;
  } cases[] = {
      {"first line", 1, GDK_BUTTON_PRESS, 1, 0, 48, {51, 51, 0}},
      {"last line", 2, GDK_BUTTON_PRESS, 1, 0, 494, {250, 250, 0}},
      {"above the picture", 2, GDK_BUTTON_PRESS, 1, 0, 94, {100, 100, 0}},
      {"below the picture", 1, GDK_BUTTON_PRESS, 1, 0, 248, {100, 100, 0}},
      {"zoom 3, y 200", 3, GDK_BUTTON_PRESS, 1, 0, 200, {69, 69, 0}},
      {"Shift+click makes a range", 1, GDK_BUTTON_PRESS, 1, GDK_SHIFT_MASK, 87, {100, 90, 1}},
      {"Shift+click with Num Lock is plain", 1, GDK_BUTTON_PRESS, 1, GDK_SHIFT_MASK | GDK_MOD2_MASK, 87, {90, 90, 0}},
      {"double click on a run", 1, GDK_2BUTTON_PRESS, 1, 0, 72, {70, 79, 1}},
      {"double click on a run above the picture", 1, GDK_2BUTTON_PRESS, 1, 0, 57, {51, 69, 1}},
      {"double click on uncoloured lines", 1, GDK_2BUTTON_PRESS, 1, 0, 97, {80, 250, 1}},
      {"button 3", 1, GDK_BUTTON_PRESS, 3, 0, 97, {100, 100, 0}},
      {"triple click", 1, GDK_3BUTTON_PRESS, 1, 0, 57, {100, 100, 0}},
  };
  for (int side : {1, 0}) {
    for (const auto &c : cases) {
      SCOPED_TRACE(std::string(c.what) + (side == 1 ? " (left)" : " (right)"));
      reset_arrays();
      set_lines(side, painted({{40, 30, 3}, {70, 10, 5}}));
      set_selection(side, {100, 100, 0});
      options_expansion = c.zoom;
      EXPECT_TRUE(press(side, c.y, c.type, c.button, c.state));
      EXPECT_EQ(selection(side), c.after);
      EXPECT_EQ(selection(1 - side), (Selection{51, 51, 0}));
    }
  }
}

// Without a picture a key is swallowed and nothing redraws; with one it reaches the array.
TEST_F(LineArrays, KeysAreSwallowed) {
  auto redraw_pending = [] {  // and forgets it
    GdkRegion *region = gdk_window_get_update_area(area_of(1)->window);
    if (region) gdk_region_destroy(region);
    return region != nullptr;
  };
  pump_events();
  redraw_pending();
  picture_loaded = 0;
  EXPECT_TRUE(border_key(1, GDK_5));
  EXPECT_EQ(colors_left[51], -1);
  EXPECT_FALSE(redraw_pending());

  picture_loaded = 1;
  EXPECT_TRUE(border_key(1, GDK_KP_3, GDK_CONTROL_MASK | GDK_MOD2_MASK));
  EXPECT_EQ(colors_left[51], 11);
  EXPECT_TRUE(redraw_pending());
}

}  // namespace
