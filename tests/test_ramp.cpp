// Colour ramps: shaping and stretching, typed ramps, the Ramp dialog painting in both modes.
#include "bars_fixture.h"
#include "rampdialog.h"

namespace {

const std::string kRampError = "Type 1 to 16 colour numbers from 0 to 15, separated by spaces or commas";

std::vector<int> colours_of(const std::vector<LineRun> &runs, int first) {
  std::vector<int> out;
  for (const LineRun &run : runs) {
    EXPECT_EQ(run.start, first + static_cast<int>(out.size())) << "runs follow each other";
    out.insert(out.end(), run.height, run.color);
  }
  return out;
}

// The shaped ramp stretched over lines: equal runs, the remainder from the middle outwards. Over
// every length the runs fill the lines exactly and, up and down, mirror each other.
TEST(Ramp, ShapesAndStretching) {
  const std::vector<int> blue{6, 14, 3, 1}, grey{0, 11, 12, 15, 1};
  // What; the ramp, its shape and the lines; the colours of the lines.
  const std::tuple<const char *, std::vector<int>, RampShape, int, std::vector<int>> cases[] = {
      {"falling", blue, RampShape::Falling, 4, {1, 3, 14, 6}},
      {"odd count, one extra to the middle", grey, RampShape::Rising, 6, {0, 11, 12, 12, 15, 1}},
      {"fewer lines than colours: the middle ones", grey, RampShape::Rising, 3, {11, 12, 15}},
      {"no lines", blue, RampShape::Rising, 0, {}},
  };
  for (const auto &[what, ramp, shape, lines, colours] : cases)
    EXPECT_EQ(colours_of(ramp_runs(ramp_shape(ramp, shape), 100, lines), 100), colours) << what;
  for (int lines = 1; lines <= 200; lines++) {
    const std::vector<int> shown = colours_of(ramp_runs(ramp_shape(grey, RampShape::RisingFalling), 51, lines), 51);
    ASSERT_EQ(static_cast<int>(shown.size()), lines);
    EXPECT_TRUE(std::equal(shown.begin(), shown.end(), shown.rbegin())) << lines << " lines";
  }
}

// Typed ramps: 1 to 16 numbers 0..15, spaces or commas between; anything else refused.
TEST(Ramp, TypedRamps) {
  const std::vector<int> all16{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};
  // clang-format off
  const std::pair<const char *, std::vector<int>> cases[] = {  // no colours: refused
      {"6,14, 3 ,1", {6, 14, 3, 1}}, {" 15 ", {15}}, {"0 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15", all16},
      {"0 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 1", {}}, {"16", {}}, {"3x", {}}, {" , ", {}}};
  // clang-format on
  for (const auto &[text, want] : cases) {
    std::vector<int> colours;
    std::string error;
    const int parsed = ramp_parse(text, &colours, &error);
    EXPECT_EQ(parsed, !want.empty()) << text;
    EXPECT_EQ(error, parsed ? "" : kRampError) << text;
    EXPECT_EQ(parsed ? colours : want, want) << text;
  }
}

GtkWidget *in(GtkWidget *dialog, const char *name) { return lookup_widget(dialog, name); }

using RampCommand = BarsTest;

// The focused side's range (made either way) or cursor line in Compact mode; in Extended mode one
// bar per run over the selected bar's lines, or over 51..250 with none selected.
TEST_F(RampCommand, PaintsInBothModes) {
  activate("menuitem_interface_compact");
  set_lines(1, painted({{95, 20, 5}}));
  set_selection(1, {106, 100, 1});  // made upwards
  gtk_widget_grab_focus(drawingarea_left_border);
  paint_ramp("radiobutton_ramp_blue", "radiobutton_ramp_rising_falling");
  EXPECT_EQ(lines(1), painted({{95, 20, 5}, {100, 7, 6}, {101, 5, 14}, {102, 3, 3}, {103, 1, 1}}));
  EXPECT_EQ(selection(1), (Selection{106, 100, 1}));
  set_selection(0, {60, 69, 1});
  gtk_widget_grab_focus(drawingarea_right_border);
  paint_ramp("radiobutton_ramp_grey", "radiobutton_ramp_rising");
  set_selection(0, {200, 200, 0});
  paint_ramp("radiobutton_ramp_custom", "radiobutton_ramp_falling", "4 7");
  EXPECT_EQ(lines(0), painted({{60, 2, 0}, {62, 2, 11}, {64, 2, 12}, {66, 2, 15}, {68, 2, 1}, {200, 1, 7}}))
      << "a single cursor line takes the lightest end";

  activate("menuitem_interface_extended");
  const Bars left{{70, 5, 3}, {200, 2, 2}};
  set_bars(0, {{51, 5, 2}, {60, 10, 1}, {90, 3, 4}}), set_bars(1, left);
  select_row(0, 1);
  gtk_widget_grab_focus(treeview_rasters_right);
  paint_ramp("radiobutton_ramp_blue", "radiobutton_ramp_rising_falling");
  const Bars ramped{{51, 5, 2}, {60, 1, 6},  {61, 1, 14}, {62, 2, 3}, {64, 2, 1},
                    {66, 2, 3}, {68, 1, 14}, {69, 1, 6},  {90, 3, 4}};
  EXPECT_EQ(bars(0), ramped);
  EXPECT_EQ(selected_row(0), -1);
  EXPECT_EQ(bars(1), left);
  gtk_widget_grab_focus(drawingarea_left_border);
  paint_ramp("radiobutton_ramp_fire", "radiobutton_ramp_rising");
  EXPECT_EQ(bars(1), (Bars{{51, 33, 9}, {84, 33, 2}, {117, 34, 8}, {151, 34, 10}, {185, 33, 7}, {218, 33, 1}}));
  EXPECT_EQ(bars(0), ramped);
}

// A wrong custom ramp keeps the dialog open with a message and the text; the strip adds colours.
// A selected bar of no lines takes no ramp.
TEST_F(RampCommand, CustomRamps) {
  set_bars(1, {{80, 4, 3}});
  select_row(1, 0);
  gtk_widget_grab_focus(drawingarea_left_border);
  std::string message, kept, clicked;
  answer_next_dialog(GTK_RESPONSE_OK, [&](GtkWidget *dialog) {
    gtk_entry_set_text(GTK_ENTRY(in(dialog, "entry_ramp_custom")), "1 99");
    answer_next_dialog(GTK_RESPONSE_CANCEL, [&](GtkWidget *again) {
      message = gtk_label_get_text(GTK_LABEL(in(again, "label_ramp_message")));
      kept = gtk_entry_get_text(GTK_ENTRY(in(again, "entry_ramp_custom")));
      press_on(in(again, "drawingarea_ramp_palette"), 14 * 16 + 5, 4);
      clicked = gtk_entry_get_text(GTK_ENTRY(in(again, "entry_ramp_custom")));
    });
  });
  activate("menuitem_tools_ramp");
  EXPECT_EQ(std::tie(message, kept, clicked), std::tie(kRampError, "1 99", "1 99 14"));
  EXPECT_EQ(bars(1), (Bars{{80, 4, 3}}));
  paint_ramp("radiobutton_ramp_custom", "radiobutton_ramp_rising", "0,15");
  EXPECT_EQ(bars(1), (Bars{{80, 2, 0}, {82, 2, 15}}));
  set_bars(1, {{80, 0, 3}});  // a bar of no lines is left as it is
  select_row(1, 0);
  paint_ramp("radiobutton_ramp_grey", "radiobutton_ramp_rising");
  EXPECT_EQ(std::pair(bars(1), status_text()),
            std::pair(Bars{{80, 0, 3}}, std::string(" Info: The selected bar has no lines to paint")));
}

}  // namespace
