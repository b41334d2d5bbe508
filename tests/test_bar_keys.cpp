// The keys of Extended mode on the selected bar of the main window's left list view.
#include <gdk/gdkkeysyms.h>

#include "bars_fixture.h"

namespace {

constexpr unsigned SHIFT = GDK_SHIFT_MASK, CONTROL = GDK_CONTROL_MASK;
const Bars three{{60, 2, 9}, {70, 2, 9}, {80, 2, 9}};

class BarKeys : public BarsTest {
  void SetUp() override { BarsTest::SetUp(); set_bars(1, three); }
};

// What a key does to the middle one of three selected bars: a colour (0..15), or one of these.
enum { previous = -1, next = -2, remove_bar = -3, nothing = -4 };

// The key table: what each key does with Shift only, with Control only, and in every other
// state (none, Alt, Control with Shift, Shift with Alt).
struct KeyRow {
  unsigned keyval;
  int shift, control, other;
};

std::vector<KeyRow> key_table() {
  std::vector<KeyRow> rows = colour_key_rows<KeyRow>();
  rows[16 + 2].shift = next;  // KP_2
  rows.push_back({GDK_KP_8, previous, nothing, nothing});
  rows.push_back({GDK_Up, previous, previous, previous});
  rows.push_back({GDK_Down, next, next, next});
  rows.push_back({GDK_Delete, remove_bar, remove_bar, remove_bar});
  for (unsigned keyval : {GDK_KP_9, GDK_KP_Up, GDK_KP_Down, GDK_Home, GDK_U, GDK_Q, GDK_exclam, GDK_9, GDK_o, GDK_F1})
    rows.push_back({keyval, nothing, nothing, nothing});
  return rows;
}

// Every key of the table in every modifier state, on the middle bar.
TEST_F(BarKeys, EveryKeyInEveryState) {
  for (const KeyRow &row : key_table()) {
    for (unsigned state : kStates) {
      SCOPED_TRACE(testing::Message() << "key " << std::hex << row.keyval << " state " << state);
      const int does = state == SHIFT ? row.shift : state == CONTROL ? row.control : row.other;
      set_bars(1, three);
      select_row(1, 1);
      EXPECT_EQ(rastermodel_key_press_left(row.keyval, state), does == nothing ? 0 : 1);
      EXPECT_EQ(selected_row(1), does == previous ? 0 : does == next ? 2 : 1);
      Bars want = three;
      if (does >= 0) want[1].color = does;
      if (does == remove_bar) want.erase(want.begin() + 1);
      EXPECT_EQ(bars(1), want);
    }
  }
}

// At either end of the list there is no neighbour to step to.
// At either end of the list there is no neighbour to step to; without a selected bar no key
// acts; Delete on the only bar empties the list.
TEST_F(BarKeys, EndsOfTheListAndNoSelection) {
  for (auto [from, keyval, state] : {std::tuple{0, GDK_Up, 0u}, {0, GDK_KP_8, SHIFT}, {2, GDK_Down, 0u}, {2, GDK_KP_2, SHIFT}}) {
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

// A click gives the left border the focus; a key press on the window then reaches the
// selected bar through the border's key handler.
TEST_F(BarKeys, KeyEventOnTheFocusedBorder) {
  press(1, 70 - 3);
  ASSERT_TRUE(gtk_widget_has_focus(area_of(1)));
  ASSERT_EQ(selected_row(1), 1);
  GdkEventKey key{};
  key.type = GDK_KEY_PRESS, key.window = window_main->window, key.send_event = TRUE, key.keyval = GDK_e;
  key.state = GDK_MOD2_MASK;  // Num Lock does not count
  gtk_main_do_event(reinterpret_cast<GdkEvent *>(&key));
  EXPECT_EQ(bars(1)[1].color, 10);
}

}  // namespace
