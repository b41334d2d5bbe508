// The line colour arrays of Compact mode on both borders: drawing on the real border areas,
// the mouse, and the line editing keys.
#include "bars_fixture.h"

namespace {

class LineArrays : public BarsTest {
  void SetUp() override {
    BarsTest::SetUp();
    activate("menuitem_interface_compact");
  }
};

// Bars 44z wide beside the picture, a black 4z strip on the outer edge, white beside the
// cursor line (left, on 51) or the range (right, 101 up to 90).
TEST_F(LineArrays, DrawsBarsStripAndMark) {
  colors_left[51] = 14, colors_right[100] = colors_right[101] = 5;
  set_selection(0, {101, 90, 1});
  const std::vector<Probe> probes = {{1, 4, 51, 14},  {1, 47, 51, 14}, {1, 4, 52, 6},   {1, 0, 51, 1},
                                     {1, 3, 51, 1},   {1, 3, 52, 0},   {1, 0, 3, 0},    {1, 3, 298, 0},
                                     {0, 0, 100, 5},  {0, 43, 101, 5}, {0, 20, 99, 6},  {0, 44, 90, 1},
                                     {0, 47, 101, 1}, {0, 44, 89, 0},  {0, 44, 102, 0}, {0, 47, 298, 0}};
  expect_shown(probes);
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

const Bars before_keys{{first_picture_line, picture_lines, 7}};  // every picture line holds 7 before each key

// What a key does from the cursor on line 100 (no range): paint a colour (0..15), clear the
// line (-1), nothing (-2), or move the selection (-3, to `to`).
constexpr int clear = -1, nothing = -2, moves = -3;
struct Does {
  int what;
  Selection to{};
  Does(int colour) : what(colour) {}
  Does(Selection selection) : what(moves), to(selection) {}
};

// The key table: what each key does with Shift only, with Control only, and in every other
// state (none, Alt, Control with Shift, Shift with Alt).
struct KeyRow {
  unsigned keyval;
  Does shift, control, other;
};

std::vector<KeyRow> key_table() {
  std::vector<KeyRow> rows = colour_key_rows<KeyRow>();
  rows[16 + 1].shift = Selection{100, 250, 1};  // KP_1
  rows[16 + 2].shift = Selection{100, 101, 1};  // KP_2
  rows[16 + 3].shift = Selection{100, 108, 1};  // KP_3
  rows[16 + 7].shift = Selection{100, 51, 1};   // KP_7
  const Selection home{51, 51, 0}, end{250, 250, 0}, up{99, 99, 0}, page_up{92, 92, 0}, down{101, 101, 0};
  for (const KeyRow &row : std::vector<KeyRow>{
           {GDK_KP_Multiply, nothing, nothing, nothing},  // no range to repeat
           {GDK_Delete, clear, clear, clear},
           {GDK_Home, Selection{100, 51, 1}, home, home},
           {GDK_End, Selection{100, 250, 1}, end, end},
           {GDK_Up, Selection{100, 99, 1}, up, up},
           {GDK_KP_Up, Selection{100, 99, 1}, up, up},
           {GDK_Down, Selection{100, 101, 1}, down, down},
           {GDK_Page_Up, Selection{100, 92, 1}, page_up, page_up},
           {GDK_KP_Page_Up, Selection{100, 92, 1}, page_up, page_up},
           {GDK_Page_Down, Selection{100, 108, 1}, Selection{108, 108, 0}, Selection{108, 108, 0}},
       })
    rows.push_back(row);
  // Keys that do nothing: other keypad keys, shifted key values, keys outside the table.
  for (unsigned keyval : {GDK_KP_8, GDK_KP_9, GDK_KP_Down, GDK_KP_Page_Down, GDK_KP_Home, GDK_KP_End, GDK_U, GDK_Q,
                          GDK_exclam, GDK_9, GDK_o, GDK_a, GDK_F1})
    rows.push_back({keyval, nothing, nothing, nothing});
  return rows;
}

// Every key of the table in every modifier state, on both borders, never touching the other one.
TEST(LineKeys, EveryKeyInEveryState) {
  for (const KeyRow &row : key_table()) {
    for (unsigned state : kStates) {
      const Does &does = state == SHIFT ? row.shift : state == CONTROL ? row.control : row.other;
      for (int side : {1, 0}) {
        SCOPED_TRACE(testing::Message() << "key " << std::hex << row.keyval << " state " << state << " side " << side);
        reset_arrays();
        for (int s : {0, 1}) set_lines(s, painted(before_keys));
        set_selection(side, {100, 100, 0});
        EXPECT_EQ(rasterarray_key_press(side, row.keyval, state), does.what == nothing ? 0 : 1);
        const Selection stays{100, 100, 0}, stepped{101, 101, 0};
        EXPECT_EQ(selection(side), does.what == moves ? does.to : does.what >= 0 ? stepped : stays);
        EXPECT_EQ(lines(side), painted({before_keys[0], {100, 1, does.what >= clear ? does.what : 7}}));
        EXPECT_EQ(lines(1 - side), painted(before_keys));
        EXPECT_EQ(selection(1 - side), (Selection{51, 51, 0}));
      }
    }
  }
}

// Keys on ranges and at the picture's edges, on both borders.
TEST(LineKeys, RangesAndEdges) {
  // What the key does from `before`: its result, the selection after, the lines it paints (height 0: none).
  const struct {
    const char *what;
    Selection before;
    unsigned keyval, state;
    int result;
    Selection after;
    Bar painted;
  } key_cases[] = {
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
  };
  for (const auto &c : key_cases) {
    for (int side : {1, 0}) {
      SCOPED_TRACE(std::string(c.what) + (side == 1 ? " (left)" : " (right)"));
      reset_arrays();
      set_lines(side, painted(before_keys));
      set_selection(side, c.before);
      EXPECT_EQ(rasterarray_key_press(side, c.keyval, c.state), c.result);
      EXPECT_EQ(selection(side), c.after);
      EXPECT_EQ(lines(side), painted({before_keys[0], c.painted}));
    }
  }
}

// Keypad * repeats the range's colours down to line 250; a range ending on 250 has no room.
TEST(LineKeys, KeypadMultiplyRepeatsThePattern) {
  reset_arrays();
  set_lines(1, painted({{95, 1, 1}, {96, 1, 2}, {97, 1, 3}}));
  set_selection(1, {97, 95, 1});
  EXPECT_EQ(rasterarray_key_press_left(GDK_KP_Multiply, 0), 1);
  for (int line = 95; line <= 250; ++line) ASSERT_EQ(colors_left[line], 1 + (line - 95) % 3) << line;
  EXPECT_EQ(colors_left[251], -1);

  set_lines(1, painted({{240, 1, 5}}));
  set_selection(1, {240, 250, 1});
  EXPECT_EQ(rasterarray_key_press_left(GDK_KP_Multiply, 0), 1);
  EXPECT_EQ(lines(1), painted({{240, 1, 5}}));
}

}  // namespace
