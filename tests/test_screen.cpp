// The main window's drawing areas read back from the X screen, and the side borders' input:
// Compact mode's keys and mouse on the line arrays, Extended mode's keys, cells and buttons.
#include <utility>

#include "bars_fixture.h"
#include "screenview.h"

namespace {

// Each probe's colour at (x, line) in zoom-1 terms, at zoom 1 and 3, with and without a picture
// (without one the selection mark, colour 1, is not drawn).
struct Probe {
  int side, x, line, colour;
};
void expect_shown(const std::vector<Probe> &probes) {
  for (int z : {1, 3})
    for (int loaded : {1, 0})
      for (int side : {1, 0}) {
        picture_loaded = loaded;
        set_zoom(z);
        gtk_widget_queue_draw(area_of(side));
        GdkPixbuf *shot = grab_widget(area_of(side));
        for (const Probe &p : probes) {
          if (p.side != side) continue;
          EXPECT_EQ(pixel_at(shot, p.x * z + z - 1, (p.line - 3) * z + z - 1),
                    rgb_of(p.colour == 1 && !loaded ? 0 : p.colour))
              << "zoom " << z << " loaded " << loaded << " side " << side << " at " << p.x << "," << p.line;
        }
        g_object_unref(shot);
      }
  picture_loaded = 1;
  set_zoom(1);
}

using Borders = BarsTest;
const Bars three{{60, 2, 9}, {70, 2, 9}, {80, 2, 9}};
const Bar sevens{first_picture_line, picture_lines, 7};  // every picture line in colour 7

// Compact mode's keys over lines all in colour 7: odd modifier states stand for the key map;
// moves at the edges of the picture and of ranges.
TEST(LineKeys, PaintMoveAndExtend) {
  constexpr unsigned ALT = GDK_MOD1_MASK;
  // What; the selection before, the key and its state; the answer, the selection after, what is painted.
  const std::tuple<const char *, Selection, unsigned, unsigned, int, Selection, Bar> cases[] = {
      {"1 paints 0 and steps down", {100, 100, 0}, GDK_1, 0, 1, {101, 101, 0}, {100, 1, 0}},
      {"Shift+Alt+i paints 15", {100, 100, 0}, GDK_i, SHIFT | ALT, 1, {101, 101, 0}, {100, 1, 15}},
      {"Control+keypad 3 paints 11", {100, 100, 0}, GDK_KP_3, CONTROL, 1, {101, 101, 0}, {100, 1, 11}},
      {"Control+Shift+keypad 3 paints 3", {100, 100, 0}, GDK_KP_3, CONTROL | SHIFT, 1, {101, 101, 0}, {100, 1, 3}},
      {"Shift+keypad 3 extends 8 down", {100, 100, 0}, GDK_KP_3, SHIFT, 1, {100, 108, 1}, {}},
      {"keypad 8 does nothing", {100, 100, 0}, GDK_KP_8, 0, 0, {100, 100, 0}, {}},
      {"q on the last line stays there", {250, 250, 0}, GDK_q, 0, 1, {250, 250, 0}, {250, 1, 8}},
      {"e fills an upward range", {105, 95, 1}, GDK_e, 0, 1, {105, 95, 1}, {95, 11, 10}},
      {"Delete clears a range", {105, 95, 1}, GDK_Delete, ALT, 1, {105, 95, 1}, {95, 11, -1}},
      {"Page_Up on 59 goes to 51", {59, 59, 0}, GDK_Page_Up, 0, 1, {51, 51, 0}, {}},
      {"Page_Down on 242 goes to 250", {242, 242, 0}, GDK_Page_Down, 0, 1, {250, 250, 0}, {}},
      {"Up collapses an upward range above it", {105, 95, 1}, GDK_KP_Up, 0, 1, {94, 94, 0}, {}},
      {"Down continues below a downward range", {95, 105, 1}, GDK_Down, 0, 1, {106, 106, 0}, {}},
      {"Down from an upward range leaves the anchor", {105, 95, 1}, GDK_Down, 0, 1, {106, 106, 0}, {}},
      {"Page_Down moves on from the anchor", {95, 105, 1}, GDK_Page_Down, 0, 1, {103, 103, 0}, {}},
      {"Home on an upward range goes to its top", {105, 95, 1}, GDK_Home, 0, 1, {95, 95, 0}, {}},
      {"Home on a downward range goes to 51", {95, 105, 1}, GDK_Home, 0, 1, {51, 51, 0}, {}},
      {"Shift+Up with the end on 51 refuses", {60, 51, 1}, GDK_Up, SHIFT, 0, {60, 51, 1}, {}},
      {"Shift+Down with the end on 250 refuses", {240, 250, 1}, GDK_Down, SHIFT, 0, {240, 250, 1}, {}},
  };
  for (const auto &[what, before, keyval, state, result, after, paint] : cases)
    for (int side : {1, 0}) {
      SCOPED_TRACE(std::string(what) + (side == 1 ? " (left)" : " (right)"));
      reset_arrays();
      set_lines(side, painted({sevens}));
      set_selection(side, before);
      EXPECT_EQ(rasterarray_key_press(side, keyval, state), result);
      EXPECT_EQ(selection(side), after);
      EXPECT_EQ(lines(side), painted({sevens, paint}));
      EXPECT_EQ(lines(1 - side), painted({}));
    }
  // Keypad * repeats the range's colours down to line 250; a range ending on 250 has no room.
  std::vector<int> repeated = painted({});
  for (int line = 95; line <= 250; ++line) repeated[line] = 1 + (line - 95) % 3;
  for (auto [range, before, after] :
       {std::tuple{Selection{97, 95, 1}, Bars{{95, 1, 1}, {96, 1, 2}, {97, 1, 3}}, repeated},
        {Selection{240, 250, 1}, Bars{{240, 1, 5}}, painted({{240, 1, 5}})}}) {
    set_lines(1, painted(before));
    set_selection(1, range);
    EXPECT_EQ(rasterarray_key_press_left(GDK_KP_Multiply, 0), 1);
    EXPECT_EQ(lines(1), after);
  }
}

// Extended mode's keys on three bars, the given row selected (-1: none).
TEST_F(Borders, BarKeys) {
  auto middle = [](int colour) { return Bars{three[0], {70, 2, colour}, three[2]}; };
  // What; the row selected before, the key and its state; the answer, the row selected after, the bars.
  const std::tuple<const char *, int, unsigned, unsigned, int, int, Bars> cases[] = {
      {"e paints 10", 1, GDK_e, 0, 1, 1, middle(10)},
      {"keypad 2 paints 2", 1, GDK_KP_2, 0, 1, 1, middle(2)},
      {"Shift+keypad 2 selects the next bar", 1, GDK_KP_2, SHIFT, 1, 2, three},
      {"Up from the last bar", 2, GDK_Up, 0, 1, 1, three},
      {"Up on the first bar", 0, GDK_Up, 0, 0, 0, three},
      {"Down on the last bar", 2, GDK_Down, CONTROL, 0, 2, three},
      {"Delete selects the following bar", 1, GDK_Delete, 0, 1, 1, {three[0], three[2]}},
      {"Delete on the last bar selects none", 2, GDK_Delete, 0, 1, -1, {three[0], three[1]}},
      {"without a selected bar no key acts", -1, GDK_1, 0, 0, -1, three},
  };
  for (const auto &[what, from, keyval, state, result, selected, after] : cases)
    for (int side : {1, 0}) {
      SCOPED_TRACE(std::string(what) + (side == 1 ? " (left)" : " (right)"));
      set_bars(side, three);
      if (from >= 0) select_row(side, from);
      EXPECT_EQ((side ? rastermodel_key_press_left : rastermodel_key_press_right)(keyval, state), result);
      EXPECT_EQ(selected_row(side), selected);
      EXPECT_EQ(bars(side), after);
    }
  // Without a picture the border swallows every key.
  picture_loaded = 0;
  select_row(1, 1);
  EXPECT_TRUE(border_key(1, GDK_5));
  EXPECT_EQ(bars(1), three);
}

// Bars beside the picture, the black outer strip, white beside the cursor range or selected bar.
// Overlapping rows: the later one shows, a click picks the first; rows of no lines draw nothing.
TEST_F(Borders, BothModesDrawTheirBars) {
  activate("menuitem_interface_compact");
  colors_left[51] = 14, colors_right[100] = colors_right[101] = 5;
  set_selection(0, {101, 90, 1});
  // clang-format off
  expect_shown({{1, 4, 51, 14}, {1, 47, 51, 14}, {1, 4, 52, 6}, {1, 0, 51, 1}, {1, 3, 52, 0}, {1, 3, 298, 0},
                {0, 0, 100, 5}, {0, 43, 101, 5}, {0, 44, 90, 1}, {0, 47, 101, 1}, {0, 44, 89, 0}, {0, 44, 102, 0}});
  // clang-format on

  activate("menuitem_interface_extended");
  for (int side : {1, 0})
    set_bars(side, {{60, 20, 2}, {70, 5, 5}, {100, 3, 5}, {120, 0, 7}, {140, -5, 9}}), select_row(side, 2);
  // clang-format off
  expect_shown({{1, 20, 69, 2}, {1, 20, 70, 5}, {1, 20, 75, 2}, {1, 20, 80, 6}, {1, 47, 102, 5}, {1, 4, 103, 6},
                {1, 4, 120, 6}, {1, 4, 138, 6}, {1, 3, 100, 1}, {1, 0, 103, 0}, {0, 43, 102, 5}, {0, 47, 102, 1}});
  // clang-format on
  press(1, 72 - first_shown_line);
  EXPECT_EQ(selected_row(1), 0);
}

// Compact mode, lines 40..69 in colour 3 and 70..79 in 5, the cursor on 100: lines 51..250
// are at y 48z..247z; a double click selects the run of one colour there.
TEST_F(Borders, CompactMouseSelection) {
  activate("menuitem_interface_compact");
  // What; the zoom, the event, button, state and y; the selection after.
  const std::tuple<const char *, int, GdkEventType, unsigned, unsigned, double, Selection> cases[] = {
      // clang-format off
      {"first line", 1, GDK_BUTTON_PRESS, 1, 0, 48, {51, 51, 0}},
      {"last line", 2, GDK_BUTTON_PRESS, 1, 0, 494, {250, 250, 0}},
      {"above the picture", 2, GDK_BUTTON_PRESS, 1, 0, 94, {100, 100, 0}},
      {"below the picture", 1, GDK_BUTTON_PRESS, 1, 0, 248, {100, 100, 0}},
      {"Shift+click makes a range", 3, GDK_BUTTON_PRESS, 1, GDK_SHIFT_MASK, 200, {100, 69, 1}},
      {"double click on a run above the picture", 1, GDK_2BUTTON_PRESS, 1, 0, 57, {51, 69, 1}},
      {"double click on uncoloured lines", 1, GDK_2BUTTON_PRESS, 1, 0, 97, {80, 250, 1}},
      {"button 3", 1, GDK_BUTTON_PRESS, 3, 0, 97, {100, 100, 0}},
      // clang-format on
  };
  for (int side : {1, 0})
    for (const auto &[what, zoom, type, button, state, y, after] : cases) {
      SCOPED_TRACE(std::string(what) + (side == 1 ? " (left)" : " (right)"));
      reset_arrays();
      set_lines(side, painted({{40, 30, 3}, {70, 10, 5}}));
      set_selection(side, {100, 100, 0});
      options_expansion = zoom;
      EXPECT_TRUE(press(side, y, type, button, state));
      EXPECT_EQ(selection(side), after);
      EXPECT_EQ(selection(1 - side), (Selection{51, 51, 0}));
    }
}

// Cells: out-of-range values refused, digits read up to the first other character, a height
// cut at line 250, a row moved by its start. Add bar, Remove bar, Delete all (asks first).
TEST_F(Borders, ListEditing) {
  const Bar before{100, 10, 3};
  const std::tuple<int, const char *, Bar> cases[] = {
      // column, text, the bar after
      {0, "50", before},           {0, "251", before},    {0, "51", {51, 10, 3}},    {0, "250", {250, 10, 3}},
      {0, "120abc", {120, 10, 3}}, {0, "abc", before},    {1, "200", {100, 151, 3}}, {1, "201", before},
      {1, "-1", before},           {1, "0", {100, 0, 3}}, {2, "16", before},         {2, "-1", before},
      {2, "15", {100, 10, 15}},
  };
  for (const auto &[column, text, after] : cases) {
    set_bars(1, {before});
    edit_cell(1, column, "0", text);
    EXPECT_EQ(bars(1), Bars{after}) << "column " << column << " text '" << text << "'";
  }
  set_bars(1, {{60, 1, 1}, {100, 2, 2}});
  edit_cell(1, 0, "0", "150");
  EXPECT_EQ(bars(1), (Bars{{100, 2, 2}, {150, 1, 1}}));

  for (auto [before, want] : {std::pair{Bars{}, Bars{{51, 1, 1}}},
                              {Bars{{51, 100, 2}, {200, 51, 3}}, Bars{{51, 100, 2}, {151, 1, 1}, {200, 51, 3}}},
                              {Bars{{51, 200, 2}}, Bars{{51, 200, 2}, {51, 1, 1}}}}) {
    set_bars(0, before);
    click("toolbutton_add_bar_right");
    EXPECT_EQ(bars(0), want);
  }
  set_bars(1, three);
  select_row(1, 0);
  click("toolbutton_remove_bar_left");
  EXPECT_EQ(bars(1), (Bars{three[1], three[2]}));
  for (auto [answer, left] : {std::pair{GTK_RESPONSE_NO, 4u}, {GTK_RESPONSE_YES, 0u}}) {
    answer_next_dialog(answer);
    click("toolbutton_delete_all_bars");
    EXPECT_EQ(bars(1).size() + bars(0).size(), left);
  }
}

// Without a picture: a blue picture area. With one, at zoom z: each pixel a z x z block; the
// picker's 16z swatches edged in colour 0, a white frame round colour 5 only; presses pick.
TEST_F(Borders, ScreenAndPickerArePixelExactAtEveryZoom) {
  gtk_window_move(GTK_WINDOW(window_main), 0, 0);  // keep the 4x view on the screen
  g_clear_object(&pixbuf_picture);
  picture_loaded = border_color_index = 0;  // the empty picture area blue, not the border's colour
  redraw_all_areas();
  GdkPixbuf *empty = grab_widget(drawingarea_picture);
  EXPECT_EQ(pixel_at(empty, 160, 100), rgb_of(6));
  g_object_unref(empty);

  TempDir dir;
  write_file(dir.file("picture.art"), picture_file(0x2000, 9009));
  ASSERT_EQ(picture_loaded = open_picture(dir.file("picture.art").c_str(), 1), 1);
  border_color_index = 5;
  for (int z = 1; z <= 4; z++) {
    set_zoom(z);
    redraw_all_areas();
    GdkPixbuf *shown = grab_widget(drawingarea_picture), *strip = grab_widget(drawingarea_border_color);
    ASSERT_EQ(std::pair(gdk_pixbuf_get_width(shown), gdk_pixbuf_get_height(shown)), std::pair(320 * z, 200 * z));
    for (int y = 0; y < 200 * z; y++)
      for (int x = 0; x < 320 * z; x++)
        ASSERT_EQ(pixel_at(shown, x, y), pixel_at(pixbuf_picture, x / z, y / z)) << z << "x at " << x << "," << y;
    const int s = 16 * z;
    ASSERT_EQ(std::pair(gdk_pixbuf_get_width(strip), gdk_pixbuf_get_height(strip)), std::pair(16 * s, s));
    int white_in_frame = 0;
    for (int y = 0; y < s; y++)
      for (int x = 0; x < 16 * s; x++) {
        const unsigned int rgb = pixel_at(strip, x, y);
        if (x >= 5 * s && x <= 6 * s)
          white_in_frame += rgb == 0xFFFFFF;
        else
          ASSERT_EQ(rgb, rgb_of(x % s == s - 1 || y == 0 || y == s - 1 ? 0 : x / s))
              << "strip at " << z << "x " << x << "," << y;
      }
    EXPECT_GE(white_in_frame, 4 * (s - 2)) << z << "x";
    EXPECT_EQ(pixel_at(strip, 5 * s + s / 2, s / 2), rgb_of(5)) << z << "x";
    g_object_unref(shown);
    g_object_unref(strip);
  }

  for (auto [zoom, x, index] : {std::tuple{3, 47, 0}, {3, 48, 1}, {1, 255, 15}, {1, 40, 2}}) {
    set_zoom(zoom);
    EXPECT_TRUE(press_on(drawingarea_border_color, x, 5));
    EXPECT_EQ(border_color_index, index) << "zoom " << zoom << " x " << x;
  }
  EXPECT_FALSE(press_on(drawingarea_border_color, 120, 5, GDK_2BUTTON_PRESS));
  EXPECT_EQ(border_color_index, 2);
}

}  // namespace
