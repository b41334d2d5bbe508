// The bar lists of Extended mode on the main window's real list views, tool buttons and
// border areas: cell edits, adding, removing, delete all, drawing, the per-line table,
// picking a bar with the mouse, and the keys on the selected bar of the left list.
#include "bars_fixture.h"
#include "controls.h"

namespace {

using BarList = BarsTest;

// Out-of-range values are refused; numbers are read up to the first non-digit; a height
// reaching past line 250 is cut to fit.
TEST_F(BarList, CellEditsKeepTheRanges) {
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
  edit_cell(1, 0, "0", "150");  // a new start line moves the row to its place
  EXPECT_EQ(bars(1), (Bars{{100, 2, 2}, {150, 1, 1}}));
}

TEST_F(BarList, ToolButtonsAddRemoveAndDeleteAll) {
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

  // Without a picture every tool button only says so.
  picture_loaded = 0;
  select_row(1, 0);
  for (const char *button : {"toolbutton_add_bar_left", "toolbutton_remove_bar_left", "toolbutton_add_bar_right",
                             "toolbutton_remove_bar_right", "toolbutton_delete_all_bars"}) {
    controls_update_main_statusbar("");
    click(button);
    EXPECT_EQ(status_text(), " Info: First open a picture or project") << button;
  }
  EXPECT_EQ(bars(1).size() + bars(0).size(), 2u);
  picture_loaded = 1;
  answer_next_dialog(GTK_RESPONSE_YES);
  click("toolbutton_delete_all_bars");
  EXPECT_EQ(bars(1).size() + bars(0).size(), 0u);
}

// Bars 44z wide beside the picture, a black 4z strip on the outer edge, white (1) beside the
// selected bar; bars of height 0 or less draw nothing. Where bars overlap, the later row
// shows in the export table and on screen, but a click picks the first row that covers the line.
TEST_F(BarList, DrawingTableAndPickWithOverlaps) {
  for (int side : {1, 0})
    set_bars(side, {{60, 20, 2}, {70, 5, 5}, {100, 3, 5}, {120, 0, 7}, {140, -5, 9}}), select_row(side, 2);
  unsigned char table[picture_lines];
  rastermodel_get_bars_left(table, 6);
  const std::vector<int> want = painted({{51, 200, 6}, {60, 20, 2}, {70, 5, 5}, {100, 3, 5}});
  EXPECT_EQ(std::vector<int>(table, table + 200), std::vector<int>(want.begin() + 51, want.begin() + 251));
  const std::vector<Probe> probes = {{1, 20, 59, 6},  {1, 20, 60, 2}, {1, 20, 69, 2},  {1, 20, 70, 5},  {1, 20, 74, 5},
                                     {1, 20, 75, 2},  {1, 20, 79, 2}, {1, 20, 80, 6},  {1, 4, 100, 5},  {1, 47, 102, 5},
                                     {1, 4, 99, 6},   {1, 4, 103, 6}, {1, 4, 120, 6},  {1, 4, 138, 6},  {1, 3, 100, 1},
                                     {1, 0, 102, 1},  {1, 0, 103, 0}, {1, 0, 3, 0},    {1, 3, 298, 0},  {0, 0, 100, 5},
                                     {0, 43, 102, 5}, {0, 0, 120, 6}, {0, 44, 100, 1}, {0, 47, 102, 1}, {0, 47, 103, 0},
                                     {0, 44, 3, 0}};
  expect_shown(probes);
  press(1, 72 - 3);
  EXPECT_EQ(selected_row(1), 0);
}

const Bars three{{60, 2, 9}, {70, 2, 9}, {80, 2, 9}};

class BarKeys : public BarsTest {
  void SetUp() override {
    BarsTest::SetUp();
    set_bars(1, three);
  }
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

// At either end of the list there is no neighbour to step to; without a selected bar no key
// acts; Delete on the only bar empties the list.
TEST_F(BarKeys, EndsOfTheListAndNoSelection) {
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
