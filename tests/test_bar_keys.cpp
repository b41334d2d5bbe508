// The keys of Extended mode on the selected bar of the main window's left list view.
#include <gdk/gdkkeysyms.h>

#include "bars_fixture.h"

namespace {

constexpr unsigned SHIFT = 1, CONTROL = 4, ALT = 8;
const Bars three{{60, 2, 9}, {70, 2, 9}, {80, 2, 9}};

class BarKeys : public BarsTest {
  void SetUp() override { BarsTest::SetUp(); set_bars(1, three); }
};

// Colour keys recolour the selected bar; Shift with keypad 2/8 (and Up/Down) move the
// selection, answering 0 at either end.
TEST_F(BarKeys, ColourAndMoveKeys) {
  const struct {
    int from;
    unsigned keyval, state;
    int result, to, color;  // the selection afterwards, the colour of row `from`
  } cases[] = {
      {1, GDK_KP_3, CONTROL, 1, 1, 11}, {1, GDK_KP_3, CONTROL | SHIFT, 1, 1, 3}, {1, GDK_KP_3, ALT, 1, 1, 3},
      {1, GDK_KP_8, 0, 0, 1, 9},        {1, GDK_U, SHIFT, 0, 1, 9},              {0, GDK_Up, 0, 0, 0, 9},
      {2, GDK_Down, 0, 0, 2, 9},        {0, GDK_KP_2, SHIFT, 1, 1, 9},          {2, GDK_KP_8, SHIFT, 1, 1, 9},
  };
  for (const auto &c : cases) {
    set_bars(1, three);
    select_row(1, c.from);
    EXPECT_EQ(rastermodel_key_press_left(c.keyval, c.state), c.result) << c.keyval << " state " << c.state;
    EXPECT_EQ(selected_row(1), c.to) << c.keyval << " state " << c.state;
    Bars want = three;
    want[c.from].color = c.color;
    EXPECT_EQ(bars(1), want) << c.keyval << " state " << c.state;
  }
}

TEST_F(BarKeys, NothingWithoutASelectionDeleteEmptiesTheList) {
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
