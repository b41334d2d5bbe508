// The line editing keys of Compact mode, run on both borders.
#include <gdk/gdkkeysyms.h>

#include "line_selection.h"
#include "rasterarray.h"
#include "testutil.h"

namespace {

int *colors(int side) { return side == 1 ? colors_left : colors_right; }

void reset(int prefill) {
  reset_arrays();
  for (int side : {0, 1})
    for (int line = 51; line <= 250; ++line) colors(side)[line] = prefill;
}

constexpr unsigned SHIFT = 1, CONTROL = 4, ALT = 8;

struct KeyCase {
  const char *what;
  int prefill;  // every picture line holds this before the key
  Selection before;
  unsigned keyval, state;
  int result;
  Selection after;
  int from, to, colour;  // lines from..to must then hold colour, all others the prefill
};

const KeyCase key_cases[] = {
    {"5 paints the cursor line and steps", -1, {100, 100, 0}, GDK_5, 0, 1, {101, 101, 0}, 100, 100, 4},
    {"Delete clears without stepping", 7, {100, 100, 0}, GDK_Delete, 0, 1, {100, 100, 0}, 100, 100, -1},
    {"q on the last line stays there", -1, {250, 250, 0}, GDK_q, 0, 1, {250, 250, 0}, 250, 250, 8},
    {"e fills a downward range", -1, {95, 105, 1}, GDK_e, 0, 1, {95, 105, 1}, 95, 105, 10},
    {"e fills an upward range", -1, {105, 95, 1}, GDK_e, 0, 1, {105, 95, 1}, 95, 105, 10},
    {"Delete clears an upward range", 7, {105, 95, 1}, GDK_Delete, 0, 1, {105, 95, 1}, 95, 105, -1},
    {"Control+KP_3 paints 11", -1, {100, 100, 0}, GDK_KP_3, CONTROL, 1, {101, 101, 0}, 100, 100, 11},
    {"Control+Shift+KP_3 paints 3", -1, {100, 100, 0}, GDK_KP_3, CONTROL | SHIFT, 1, {101, 101, 0}, 100, 100, 3},
    {"Alt+KP_3 paints 3", -1, {100, 100, 0}, GDK_KP_3, ALT, 1, {101, 101, 0}, 100, 100, 3},
    {"Control+KP_0 paints 8", -1, {100, 100, 0}, GDK_KP_0, CONTROL, 1, {101, 101, 0}, 100, 100, 8},
    {"Shift+KP_3 extends 8 down", -1, {100, 100, 0}, GDK_KP_3, SHIFT, 1, {100, 108, 1}, 0, 0, 0},
    {"Shift+KP_2 extends 1 down", -1, {100, 100, 0}, GDK_KP_2, SHIFT, 1, {100, 101, 1}, 0, 0, 0},
    {"Shift+KP_1 extends to the end", -1, {100, 100, 0}, GDK_KP_1, SHIFT, 1, {100, 250, 1}, 0, 0, 0},
    {"Shift+u (U) does nothing", -1, {100, 100, 0}, GDK_U, SHIFT, 0, {100, 100, 0}, 0, 0, 0},
    {"Control+u paints 14", -1, {100, 100, 0}, GDK_u, CONTROL, 1, {101, 101, 0}, 100, 100, 14},
    {"KP_8 does nothing", -1, {100, 100, 0}, GDK_KP_8, 0, 0, {100, 100, 0}, 0, 0, 0},
    {"Page_Up on 52 stays", -1, {52, 52, 0}, GDK_Page_Up, 0, 1, {52, 52, 0}, 0, 0, 0},
    {"Page_Up on 58 stays", -1, {58, 58, 0}, GDK_Page_Up, 0, 1, {58, 58, 0}, 0, 0, 0},
    {"Page_Up on 59 goes to 51", -1, {59, 59, 0}, GDK_Page_Up, 0, 1, {51, 51, 0}, 0, 0, 0},
    {"KP_Page_Up on 59 goes to 51", -1, {59, 59, 0}, GDK_KP_Page_Up, 0, 1, {51, 51, 0}, 0, 0, 0},
    {"Page_Down on 243 stays", -1, {243, 243, 0}, GDK_Page_Down, 0, 1, {243, 243, 0}, 0, 0, 0},
    {"Page_Down on 242 goes to 250", -1, {242, 242, 0}, GDK_Page_Down, 0, 1, {250, 250, 0}, 0, 0, 0},
    {"Up collapses an upward range above it", -1, {105, 95, 1}, GDK_Up, 0, 1, {94, 94, 0}, 0, 0, 0},
    {"KP_Up alike", -1, {105, 95, 1}, GDK_KP_Up, 0, 1, {94, 94, 0}, 0, 0, 0},
    {"Down continues below a downward range", -1, {95, 105, 1}, GDK_Down, 0, 1, {106, 106, 0}, 0, 0, 0},
    {"Down from an upward range leaves the anchor", -1, {105, 95, 1}, GDK_Down, 0, 1, {106, 106, 0}, 0, 0, 0},
    {"Page_Down moves on from the anchor", -1, {95, 105, 1}, GDK_Page_Down, 0, 1, {103, 103, 0}, 0, 0, 0},
    {"Home on an upward range goes to its top", -1, {105, 95, 1}, GDK_Home, 0, 1, {95, 95, 0}, 0, 0, 0},
    {"Home on a downward range goes to 51", -1, {95, 105, 1}, GDK_Home, 0, 1, {51, 51, 0}, 0, 0, 0},
    {"Shift+Up with the end on 51 refuses", -1, {60, 51, 1}, GDK_Up, SHIFT, 0, {60, 51, 1}, 0, 0, 0},
    {"Shift+Up with the end on 52 reaches 51", -1, {52, 52, 0}, GDK_Up, SHIFT, 1, {52, 51, 1}, 0, 0, 0},
    {"Shift+Down with the end on 250 refuses", -1, {240, 250, 1}, GDK_Down, SHIFT, 0, {240, 250, 1}, 0, 0, 0},
    {"Shift+End selects to 250", -1, {100, 100, 0}, GDK_End, SHIFT, 1, {100, 250, 1}, 0, 0, 0},
    {"Shift+End again still answers 1", -1, {100, 250, 1}, GDK_End, SHIFT, 1, {100, 250, 1}, 0, 0, 0},
    {"Shift+Home extends to 51", -1, {100, 100, 0}, GDK_Home, SHIFT, 1, {100, 51, 1}, 0, 0, 0},
    {"Shift+KP_7 extends to 51", -1, {100, 100, 0}, GDK_KP_7, SHIFT, 1, {100, 51, 1}, 0, 0, 0},
    {"KP_Multiply without a range", -1, {100, 100, 0}, GDK_KP_Multiply, 0, 0, {100, 100, 0}, 0, 0, 0},
};

}  // namespace

// Every key acts alike on both borders and never touches the other one.
TEST(LineKeys, KeyTableOnBothSides) {
  for (const KeyCase &c : key_cases) {
    for (int side : {1, 0}) {
      SCOPED_TRACE(std::string(c.what) + (side == 1 ? " (left)" : " (right)"));
      reset(c.prefill);
      set_selection(side, c.before);
      EXPECT_EQ(rasterarray_key_press(side, c.keyval, c.state), c.result);
      EXPECT_EQ(selection(side), c.after);
      for (int line = 0; line < RASTER_LINES; ++line) {
        int want = line < 51 || line > 250 ? -1 : c.prefill;
        if (c.from && line >= c.from && line <= c.to) want = c.colour;
        ASSERT_EQ(colors(side)[line], want) << "line " << line;
        ASSERT_EQ(colors(1 - side)[line], line < 51 || line > 250 ? -1 : c.prefill) << "other side, line " << line;
      }
      EXPECT_EQ(selection(1 - side), (Selection{51, 51, 0}));
    }
  }
}

TEST(LineKeys, WrappersPickTheirSide) {
  reset(-1);
  EXPECT_EQ(rasterarray_key_press_left(GDK_2, 0), 1);
  EXPECT_EQ(rasterarray_key_press_right(GDK_3, 0), 1);
  EXPECT_EQ(colors_left[51], 1);
  EXPECT_EQ(colors_right[51], 2);
}

TEST(LineKeys, KeypadMultiplyRepeatsThePattern) {
  reset(-1);
  colors_left[95] = 1, colors_left[96] = 2, colors_left[97] = 3;
  set_selection(1, {97, 95, 1});
  EXPECT_EQ(rasterarray_key_press_left(GDK_KP_Multiply, 0), 1);
  for (int line = 98; line <= 250; ++line) ASSERT_EQ(colors_left[line], 1 + (line - 95) % 3) << line;
  EXPECT_EQ(colors_left[251], -1);
  EXPECT_EQ(selection(1), (Selection{97, 95, 1}));

  // A range that ends on the last line has nothing to copy into.
  reset(-1);
  colors_left[240] = 5;
  set_selection(1, {240, 250, 1});
  EXPECT_EQ(rasterarray_key_press_left(GDK_KP_Multiply, 0), 1);
  EXPECT_EQ(colors_left[240], 5);
  EXPECT_EQ(colors_left[241], -1);
  EXPECT_EQ(colors_left[251], -1);
}
