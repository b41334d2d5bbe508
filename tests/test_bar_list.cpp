// The bar lists of Extended mode on the main window's real list views, tool buttons and
// border areas: cell edits, adding, removing, delete all, drawing, the per-line table and
// picking a bar with the mouse.
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
      {0, "50", before},           {0, "251", before},          {0, "51", {51, 10, 3}}, {0, "250", {250, 10, 3}},
      {0, "120abc", {120, 10, 3}}, {0, "abc", before},          {1, "200", {100, 151, 3}}, {1, "201", before},
      {1, "-1", before},           {1, "0", {100, 0, 3}},       {2, "16", before},      {2, "-1", before},
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
  for (auto [before, want] : {std::pair{Bars{{51, 100, 2}, {200, 51, 3}}, Bars{{51, 100, 2}, {151, 1, 1}, {200, 51, 3}}},
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

// Where bars overlap, the later row shows in the export table and on screen, but a click
// picks the first row that covers the line.
TEST_F(BarList, OverlapLaterRowShowsFirstRowIsPicked) {
  set_bars(1, {{60, 20, 2}, {70, 5, 5}});
  unsigned char table[picture_lines];
  rastermodel_get_bars_left(table, 6);
  const std::vector<int> want = painted({{51, 200, 6}, {60, 20, 2}, {70, 5, 5}});
  EXPECT_EQ(std::vector<int>(table, table + 200), std::vector<int>(want.begin() + 51, want.begin() + 251));

  gtk_widget_queue_draw(area_of(1));
  GdkPixbuf *shot = grab_widget(area_of(1));
  ASSERT_NE(shot, nullptr);
  for (auto [line, color] : {std::pair{59, 6}, {60, 2}, {69, 2}, {70, 5}, {74, 5}, {75, 2}, {79, 2}, {80, 6}})
    EXPECT_EQ(pixel_at(shot, 20, line - 3), rgb_of(color)) << "line " << line;
  g_object_unref(shot);

  press(1, 72 - 3);
  EXPECT_EQ(selected_row(1), 0);
}

// Bars 44z wide beside the picture, a black 4z strip on the outer edge, white (1) beside
// the selected bar when asked for; bars of height 0 or less draw nothing.
TEST_F(BarList, DrawsBarsStripAndSelectionMark) {
  for (int side : {1, 0}) set_bars(side, {{100, 3, 5}, {120, 0, 7}, {140, -5, 9}}), select_row(side, 0);
  expect_drawn(rastermodel_render_lines_left, rastermodel_render_lines_right, {
      // Lines 100..102 are at y 97..99.
      {1, 1, 4, 97, 5}, {1, 1, 47, 99, 5}, {1, 1, 4, 96, -1}, {1, 1, 4, 100, -1}, {1, 1, 4, 117, -1},
      {1, 1, 4, 135, -1}, {1, 1, 3, 97, 1}, {1, 1, 0, 99, 1}, {1, 1, 0, 0, 0}, {1, 1, 3, 295, 0}, {1, 0, 3, 97, 0},
      {0, 1, 0, 97, 5}, {0, 1, 43, 99, 5}, {0, 1, 0, 117, -1}, {0, 1, 44, 97, 1}, {0, 1, 47, 99, 1},
      {0, 1, 47, 100, 0}, {0, 1, 44, 0, 0}, {0, 0, 47, 97, 0},
  });
}

}  // namespace
