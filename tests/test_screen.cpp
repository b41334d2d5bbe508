// The simulated screen on the main window's real drawing areas: picture, borders, colour
// picker and zoom, checked in the pixels they put on the (virtual) screen. The side borders in
// both input modes: both key maps in every modifier state; Compact mode's line arrays (drawing,
// the mouse, keys on ranges and at the edges); Extended mode's bar lists (cell edits, tool
// buttons, drawing, the per-line table, picking a bar with the mouse, the ends of the list).
#include <array>
#include <utility>

#include "bars_fixture.h"
#include "screenview.h"

namespace {

using Borders = BarsTest;

// What a key does from the cursor on line 100 in Compact mode, or to the middle one of three
// selected bars in Extended mode: paint a colour (0..15) or one of these. In Compact mode a
// line number (51..250) moves the cursor there, or with Shift only makes the range 100 to it.
enum : int { clear = -1, nothing = -2, previous = -3, next = -4, remove_bar = -5 };

// What each key does with Shift only, with Control only, and in every other state, in each mode.
struct KeyRow {
  unsigned keyval;
  std::array<int, 3> compact, extended;
};

std::vector<KeyRow> key_table() {
  // The digit row 1..8 gives 0..7 and the row q..i 8..15 in every state; keypad 0..7 gives 0..7,
  // and 8..15 with Control only.
  std::vector<KeyRow> rows;
  for (int k = 0; k < 16; ++k) rows.push_back({unsigned("12345678qwertyui"[k]), {k, k, k}, {k, k, k}});
  for (int k = 0; k < 8; ++k) rows.push_back({GDK_KP_0 + unsigned(k), {k, k + 8, k}, {k, k + 8, k}});
  rows[16 + 1].compact[0] = 250, rows[16 + 2].compact[0] = 101, rows[16 + 3].compact[0] = 108;
  rows[16 + 7].compact[0] = 51, rows[16 + 2].extended[0] = next;
  const std::array<int, 3> none{nothing, nothing, nothing};
  // clang-format off
  const std::vector<KeyRow> others = {
      {GDK_Delete, {clear, clear, clear}, {remove_bar, remove_bar, remove_bar}},
      {GDK_Up, {99, 99, 99}, {previous, previous, previous}},
      {GDK_Down, {101, 101, 101}, {next, next, next}},
      {GDK_KP_8, none, {previous, nothing, nothing}},
      {GDK_KP_Up, {99, 99, 99}, none},         {GDK_Home, {51, 51, 51}, none},
      {GDK_End, {250, 250, 250}, none},        {GDK_Page_Up, {92, 92, 92}, none},
      {GDK_KP_Page_Up, {92, 92, 92}, none},    {GDK_Page_Down, {108, 108, 108}, none},
      {GDK_KP_Multiply, none, none},  // no range to repeat
  };
  // clang-format on
  rows.insert(rows.end(), others.begin(), others.end());
  // Keys that do nothing: other keypad keys, shifted key values, keys outside the tables.
  for (unsigned keyval : {GDK_KP_9, GDK_KP_Down, GDK_KP_Page_Down, GDK_KP_Home, GDK_KP_End, GDK_U, GDK_Q, GDK_exclam,
                          GDK_9, GDK_o, GDK_a, GDK_F1})
    rows.push_back({keyval, none, none});
  return rows;
}

const Bars three{{60, 2, 9}, {70, 2, 9}, {80, 2, 9}};
const Bars before_keys{{first_picture_line, picture_lines, 7}};  // every picture line holds 7 before each key

// Every key of both tables in every modifier state (none, Shift, Control, Alt, Control with
// Shift, Shift with Alt), on both borders, never touching the other border's lines.
TEST_F(Borders, EveryKeyOfBothKeyMapsInEveryState) {
  for (const KeyRow &row : key_table())
    for (unsigned state : {0u, SHIFT, CONTROL, unsigned(GDK_MOD1_MASK), CONTROL | SHIFT, SHIFT | GDK_MOD1_MASK})
      for (int side : {1, 0}) {
        SCOPED_TRACE(testing::Message() << "key " << std::hex << row.keyval << " state " << state << " side " << side);
        const int column = state == SHIFT ? 0 : state == CONTROL ? 1 : 2;
        const int bar = row.extended[column], line = row.compact[column];
        set_bars(side, three);
        select_row(side, 1);
        EXPECT_EQ((side ? rastermodel_key_press_left : rastermodel_key_press_right)(row.keyval, state), bar != nothing);
        EXPECT_EQ(selected_row(side), bar == previous ? 0 : bar == next ? 2 : 1);
        Bars want = three;
        if (bar >= 0) std::get<2>(want[1]) = bar;
        if (bar == remove_bar) want.erase(want.begin() + 1);
        EXPECT_EQ(bars(side), want);

        reset_arrays();
        for (int s : {0, 1}) set_lines(s, painted(before_keys));
        set_selection(side, {100, 100, 0});
        EXPECT_EQ(rasterarray_key_press(side, row.keyval, state), line != nothing);
        const Selection moved = state == SHIFT ? Selection{100, line, 1} : Selection{line, line, 0};
        EXPECT_EQ(selection(side), (line >= 51 ? moved : line >= 0 ? Selection{101, 101, 0} : Selection{100, 100, 0}));
        EXPECT_EQ(lines(side), painted({before_keys[0], {100, 1, line >= clear && line < 16 ? line : 7}}));
        EXPECT_EQ(lines(1 - side), painted(before_keys));
        EXPECT_EQ(selection(1 - side), (Selection{51, 51, 0}));
      }
}

// Compact mode's keys on ranges and at the picture's edges, on both borders: the key's result,
// the selection after it, and the lines it paints over the 7s (height 0: none).
TEST(LineKeys, RangesAndEdges) {
  const struct {
    const char *what;
    Selection before;
    unsigned keyval, state;
    int result;
    Selection after;
    Bar painted;
  } key_cases[] = {
      // clang-format off
      {"q on the last line stays there", {250, 250, 0}, GDK_q, 0, 1, {250, 250, 0}, {250, 1, 8}},
      {"e fills an upward range", {105, 95, 1}, GDK_e, 0, 1, {105, 95, 1}, {95, 11, 10}},
      {"Delete clears a range", {105, 95, 1}, GDK_Delete, 0, 1, {105, 95, 1}, {95, 11, -1}},
      {"Page_Up on 58 stays", {58, 58, 0}, GDK_Page_Up, 0, 1, {58, 58, 0}, {}},
      {"Page_Up on 59 goes to 51", {59, 59, 0}, GDK_Page_Up, 0, 1, {51, 51, 0}, {}},
      {"Page_Down on 243 stays", {243, 243, 0}, GDK_Page_Down, 0, 1, {243, 243, 0}, {}},
      {"Page_Down on 242 goes to 250", {242, 242, 0}, GDK_Page_Down, 0, 1, {250, 250, 0}, {}},
      {"Up collapses an upward range above it", {105, 95, 1}, GDK_Up, 0, 1, {94, 94, 0}, {}},
      {"Down continues below a downward range", {95, 105, 1}, GDK_Down, 0, 1, {106, 106, 0}, {}},
      {"Down from an upward range leaves the anchor", {105, 95, 1}, GDK_Down, 0, 1, {106, 106, 0}, {}},
      {"Page_Down moves on from the anchor", {95, 105, 1}, GDK_Page_Down, 0, 1, {103, 103, 0}, {}},
      {"Home on an upward range goes to its top", {105, 95, 1}, GDK_Home, 0, 1, {95, 95, 0}, {}},
      {"Home on a downward range goes to 51", {95, 105, 1}, GDK_Home, 0, 1, {51, 51, 0}, {}},
      {"Shift+Up with the end on 51 refuses", {60, 51, 1}, GDK_Up, SHIFT, 0, {60, 51, 1}, {}},
      {"Shift+Up with the end on 52 reaches 51", {52, 52, 0}, GDK_Up, SHIFT, 1, {52, 51, 1}, {}},
      {"Shift+Down with the end on 250 refuses", {240, 250, 1}, GDK_Down, SHIFT, 0, {240, 250, 1}, {}},
      {"Shift+End again still answers 1", {100, 250, 1}, GDK_End, SHIFT, 1, {100, 250, 1}, {}},
      // clang-format on
  };
  for (const auto &c : key_cases)
    for (int side : {1, 0}) {
      SCOPED_TRACE(std::string(c.what) + (side == 1 ? " (left)" : " (right)"));
      reset_arrays();
      set_lines(side, painted(before_keys));
      set_selection(side, c.before);
      EXPECT_EQ(rasterarray_key_press(side, c.keyval, c.state), c.result);
      EXPECT_EQ(selection(side), c.after);
      EXPECT_EQ(lines(side), painted({before_keys[0], c.painted}));
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

// Compact mode: bars 44z wide beside the picture, a black 4z strip on the outer edge, white
// beside the cursor line (left, on 51) or the range (right, 101 up to 90).
TEST_F(Borders, CompactDrawsLinesStripAndMark) {
  activate("menuitem_interface_compact");
  colors_left[51] = 14, colors_right[100] = colors_right[101] = 5;
  set_selection(0, {101, 90, 1});
  expect_shown({{1, 4, 51, 14},
                {1, 47, 51, 14},
                {1, 4, 52, 6},
                {1, 0, 51, 1},
                {1, 3, 51, 1},
                {1, 3, 52, 0},
                {1, 0, 3, 0},
                {1, 3, 298, 0},
                {0, 0, 100, 5},
                {0, 43, 101, 5},
                {0, 20, 99, 6},
                {0, 44, 90, 1},
                {0, 47, 101, 1},
                {0, 44, 89, 0},
                {0, 44, 102, 0},
                {0, 47, 298, 0}});
}

// Compact mode with lines 40..69 in colour 3, 70..79 in colour 5, the rest none, the cursor on
// 100. The picture's lines 51..250 are at y 48z..247z; a double click selects the run of one
// colour there.
TEST_F(Borders, CompactMouseSelection) {
  activate("menuitem_interface_compact");
  const struct {
    const char *what;
    int zoom;
    GdkEventType type;
    unsigned button, state;
    double y;
    Selection after;
  } cases[] = {
      // clang-format off
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
      // clang-format on
  };
  for (int side : {1, 0})
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

// Without a picture a key is swallowed and nothing redraws; with one it reaches the line array
// or the selected bar, Num Lock not counting.
TEST_F(Borders, KeysAreSwallowedWithoutAPicture) {
  auto redraw_pending = [] {  // and forgets it
    GdkRegion *region = gdk_window_get_update_area(area_of(1)->window);
    if (region) gdk_region_destroy(region);
    return region != nullptr;
  };
  activate("menuitem_interface_compact");
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
  activate("menuitem_interface_extended");
  set_bars(1, three);
  select_row(1, 1);
  EXPECT_TRUE(border_key(1, GDK_e, GDK_MOD2_MASK));
  EXPECT_EQ(bars(1)[1], (Bar{70, 2, 10}));
}

// Out-of-range values are refused; numbers are read up to the first non-digit; a height
// reaching past line 250 is cut to fit; a new start line moves the row to its place.
TEST_F(Borders, CellEditsKeepTheRanges) {
  const Bar before{100, 10, 3};
  const struct {
    int column;
    const char *text;
    Bar after;
  } cases[] = {
      {0, "50", before},           {0, "251", before},    {0, "51", {51, 10, 3}},    {0, "250", {250, 10, 3}},
      {0, "120abc", {120, 10, 3}}, {0, "abc", before},    {1, "200", {100, 151, 3}}, {1, "201", before},
      {1, "-1", before},           {1, "0", {100, 0, 3}}, {2, "16", before},         {2, "-1", before},
      {2, "15", {100, 10, 15}},
  };
  for (const auto &c : cases) {
    set_bars(1, {before});
    edit_cell(1, c.column, "0", c.text);
    EXPECT_EQ(bars(1), Bars{c.after}) << "column " << c.column << " text '" << c.text << "'";
  }
  set_bars(1, {{60, 1, 1}, {100, 2, 2}});
  edit_cell(1, 0, "0", "150");
  EXPECT_EQ(bars(1), (Bars{{100, 2, 2}, {150, 1, 1}}));
}

TEST_F(Borders, ToolButtonsAddRemoveAndDeleteAll) {
  click("toolbutton_add_bar_left");
  click("toolbutton_add_bar_left");
  EXPECT_EQ(bars(1), (Bars{{51, 1, 1}, {52, 1, 1}}));
  // A new row goes after the bars' last line, else into the first gap.
  for (auto [before, want] :
       {std::pair{Bars{{51, 100, 2}, {200, 51, 3}}, Bars{{51, 100, 2}, {151, 1, 1}, {200, 51, 3}}},
        {Bars{{51, 200, 2}}, Bars{{51, 200, 2}, {51, 1, 1}}}}) {
    set_bars(0, before);
    click("toolbutton_add_bar_right");
    EXPECT_EQ(bars(0), want);
  }
  // Removing selects the following row, or none after the last.
  set_bars(1, {{60, 1, 1}, {70, 1, 2}, {80, 1, 3}});
  select_row(1, 1);
  click("toolbutton_remove_bar_left");
  EXPECT_EQ(bars(1), (Bars{{60, 1, 1}, {80, 1, 3}}));
  EXPECT_EQ(selected_row(1), 1);
  click("toolbutton_remove_bar_left");
  EXPECT_EQ(bars(1), (Bars{{60, 1, 1}}));
  EXPECT_EQ(selected_row(1), -1);

  set_bars(0, {{70, 1, 2}});
  answer_next_dialog(GTK_RESPONSE_NO);
  click("toolbutton_delete_all_bars");
  EXPECT_EQ(bars(1).size() + bars(0).size(), 2u);
  answer_next_dialog(GTK_RESPONSE_YES);
  click("toolbutton_delete_all_bars");
  EXPECT_EQ(bars(1).size() + bars(0).size(), 0u);
}

// Extended mode: bars 44z wide beside the picture, a black 4z strip on the outer edge, white
// (1) beside the selected bar; bars of height 0 or less draw nothing. Where bars overlap, the
// later row shows in the export table and on screen, but a click picks the first row that
// covers the line.
TEST_F(Borders, ExtendedDrawingTableAndPickWithOverlaps) {
  for (int side : {1, 0})
    set_bars(side, {{60, 20, 2}, {70, 5, 5}, {100, 3, 5}, {120, 0, 7}, {140, -5, 9}}), select_row(side, 2);
  unsigned char table[picture_lines];
  rastermodel_get_bars_left(table, 6);
  const std::vector<int> want = painted({{51, 200, 6}, {60, 20, 2}, {70, 5, 5}, {100, 3, 5}});
  EXPECT_EQ(std::vector<int>(table, table + 200), std::vector<int>(want.begin() + 51, want.begin() + 251));
  expect_shown({{1, 20, 59, 6},  {1, 20, 60, 2}, {1, 20, 69, 2},  {1, 20, 70, 5},  {1, 20, 74, 5},  {1, 20, 75, 2},
                {1, 20, 79, 2},  {1, 20, 80, 6}, {1, 4, 100, 5},  {1, 47, 102, 5}, {1, 4, 99, 6},   {1, 4, 103, 6},
                {1, 4, 120, 6},  {1, 4, 138, 6}, {1, 3, 100, 1},  {1, 0, 102, 1},  {1, 0, 103, 0},  {1, 0, 3, 0},
                {1, 3, 298, 0},  {0, 0, 100, 5}, {0, 43, 102, 5}, {0, 0, 120, 6},  {0, 44, 100, 1}, {0, 47, 102, 1},
                {0, 47, 103, 0}, {0, 44, 3, 0}});
  press(1, 72 - 3);
  EXPECT_EQ(selected_row(1), 0);
}

// At either end of the list there is no neighbour to step to; without a selected bar no key
// acts; Delete on the only bar empties the list.
TEST_F(Borders, EndsOfTheBarListAndNoSelection) {
  set_bars(1, three);
  for (auto [from, keyval, state] :
       {std::tuple{0, GDK_Up, 0u}, {0, GDK_KP_8, SHIFT}, {2, GDK_Down, 0u}, {2, GDK_KP_2, SHIFT}}) {
    select_row(1, from);
    EXPECT_EQ(rastermodel_key_press_left(keyval, state), 0) << keyval;
    EXPECT_EQ(selected_row(1), from) << keyval;
  }
  set_bars(1, three);
  for (unsigned key : {GDK_Up, GDK_Down, GDK_Delete, GDK_1, GDK_KP_3}) EXPECT_EQ(rastermodel_key_press_left(key, 0), 0);
  EXPECT_EQ(bars(1), three);
  set_bars(1, {{60, 2, 9}});
  select_row(1, 0);
  EXPECT_EQ(rastermodel_key_press_left(GDK_Delete, 0), 1);
  EXPECT_TRUE(bars(1).empty());
}

// No picture, border colour 0.
class ScreenView : public BarsTest {
 protected:
  void SetUp() override {
    BarsTest::SetUp();
    gtk_window_move(GTK_WINDOW(window_main), 0, 0);  // keep the 4x view on the screen
    g_clear_object(&pixbuf_picture);
    picture_loaded = border_color_index = 0;
  }
};

TEST_F(ScreenView, EmptyScreenIsBlueWithBordersInColourZero) {
  for (const char *palette : {"menuitem_palette_peptos", "menuitem_palette_ccs64"}) {
    activate(palette);
    pump_events(50);
    for (GtkWidget *area : {drawingarea_picture, drawingarea_upper_border, drawingarea_lower_border,
                            drawingarea_left_border, drawingarea_right_border}) {
      GdkPixbuf *shot = grab_widget(area);
      EXPECT_EQ(pixel_at(shot, gdk_pixbuf_get_width(shot) / 2, gdk_pixbuf_get_height(shot) / 2),
                rgb_of(area == drawingarea_picture ? 6 : 0))
          << palette << " " << gtk_widget_get_name(area);
      g_object_unref(shot);
    }
  }
  EXPECT_EQ(rgb_of(0), 0x101010u);  // the CCS64 black was really in force
  activate("menuitem_palette_peptos");
}

// At zoom z a loaded picture (an Art Studio file of varied bytes) shows each of its pixels
// as a z x z block, and the picker strip shows swatches of 16z x 16z separated by colour 0,
// with top and bottom rows in colour 0 and a white frame round the current colour (5) only.
TEST_F(ScreenView, PictureAndPickerAreDrawnPixelExactAtEveryZoom) {
  TempDir dir;
  std::vector<unsigned char> file(9009);
  file[1] = 0x20;
  for (size_t i = 2; i < 9002; i++) file[i] = i * 37 % 251;
  write_file(dir.file("picture.art"), file);
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
  set_zoom(1);
}

// A press picks the swatch under it; of a double click only the single presses pick. An
// expose before the picker's first configure draws nothing.
TEST_F(ScreenView, PickerClicksPickColours) {
  for (auto [zoom, x, index] : {std::tuple{3, 47, 0}, {3, 48, 1}, {1, 255, 15}, {1, 40, 2}}) {
    set_zoom(zoom);
    EXPECT_TRUE(press_on(drawingarea_border_color, x, 5));
    EXPECT_EQ(border_color_index, index) << "zoom " << zoom << " x " << x;
  }
  EXPECT_FALSE(press_on(drawingarea_border_color, 120, 5, GDK_2BUTTON_PRESS));
  EXPECT_EQ(border_color_index, 2);
  cairo_surface_t *surface = std::exchange(surface_border_color, nullptr);
  GdkEventExpose expose{GDK_EXPOSE, drawingarea_border_color->window, FALSE, {0, 0, 256, 16}, nullptr, 0};
  EXPECT_FALSE(on_drawingarea_border_color_expose_event(drawingarea_border_color, &expose, nullptr));
  surface_border_color = surface;
}

}  // namespace
