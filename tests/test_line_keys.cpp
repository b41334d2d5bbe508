// The line editing keys of Compact mode, run on both borders.
#include <gdk/gdkkeysyms.h>

#include "bars_fixture.h"

namespace {

constexpr unsigned SHIFT = 1, CONTROL = 4, ALT = 8;
const Bars before_keys{{51, 200, 7}};  // every picture line holds 7 before each key

// Every key acts alike on both borders and never touches the other one.
TEST(LineKeys, KeyTableOnBothSides) {
  const struct {
    const char *what;
    Selection before;
    unsigned keyval, state;
    int result;
    Selection after;
    Bar painted;  // lines painted by the key; height 0: none
  } key_cases[] = {
      {"5 paints the cursor line and steps", {100, 100, 0}, GDK_5, 0, 1, {101, 101, 0}, {100, 1, 4}},
      {"q on the last line stays there", {250, 250, 0}, GDK_q, 0, 1, {250, 250, 0}, {250, 1, 8}},
      {"e fills an upward range", {105, 95, 1}, GDK_e, 0, 1, {105, 95, 1}, {95, 11, 10}},
      {"Delete clears a range", {105, 95, 1}, GDK_Delete, 0, 1, {105, 95, 1}, {95, 11, -1}},
      {"Control+KP_3 paints 11", {100, 100, 0}, GDK_KP_3, CONTROL, 1, {101, 101, 0}, {100, 1, 11}},
      {"Control+Shift+KP_3 paints 3", {100, 100, 0}, GDK_KP_3, CONTROL | SHIFT, 1, {101, 101, 0}, {100, 1, 3}},
      {"Alt+KP_3 paints 3", {100, 100, 0}, GDK_KP_3, ALT, 1, {101, 101, 0}, {100, 1, 3}},
      {"Shift+KP_3 extends 8 down", {100, 100, 0}, GDK_KP_3, SHIFT, 1, {100, 108, 1}, {}},
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
      {"Shift+End selects to 250", {100, 100, 0}, GDK_End, SHIFT, 1, {100, 250, 1}, {}},
      {"Shift+End again still answers 1", {100, 250, 1}, GDK_End, SHIFT, 1, {100, 250, 1}, {}},
      {"Shift+Home extends to 51", {100, 100, 0}, GDK_Home, SHIFT, 1, {100, 51, 1}, {}},
      {"Shift+KP_7 extends to 51", {100, 100, 0}, GDK_KP_7, SHIFT, 1, {100, 51, 1}, {}},
      {"KP_Multiply without a range", {100, 100, 0}, GDK_KP_Multiply, 0, 0, {100, 100, 0}, {}},
  };
  for (const auto &c : key_cases) {
    for (int side : {1, 0}) {
      SCOPED_TRACE(std::string(c.what) + (side == 1 ? " (left)" : " (right)"));
      reset_arrays();
      for (int s : {0, 1}) set_lines(s, painted(before_keys));
      set_selection(side, c.before);
      EXPECT_EQ(rasterarray_key_press(side, c.keyval, c.state), c.result);
      EXPECT_EQ(selection(side), c.after);
      EXPECT_EQ(lines(side), painted({before_keys[0], c.painted}));
      EXPECT_EQ(lines(1 - side), painted(before_keys));
      EXPECT_EQ(selection(1 - side), (Selection{51, 51, 0}));
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
