// Switching the input mode; auto-extend in either mode; the bar groups each mode writes and reads.
#include "bars_fixture.h"

namespace {

using Conversion = BarsTest;
constexpr const char *kModes[] = {"menuitem_interface_extended", "menuitem_interface_compact"};

// Lists -> arrays -> lists: bars in the border colour (6) dropped, what shows kept, cut to lines
// 51..250; each run of one colour a bar. Choosing the mode in force converts nothing.
TEST_F(Conversion, SwitchingModeConvertsTheBars) {
  // What the lists hold, then what the arrays show and the lists hold again.
  const std::tuple<const char *, Bars, Bars> cases[] = {
      {"overlap", {{60, 10, 2}, {65, 10, 5}}, {{60, 5, 2}, {65, 10, 5}}},
      {"touching, same colour", {{60, 5, 3}, {65, 5, 3}}, {{60, 10, 3}}},
      {"border colour", {{60, 10, 6}, {100, 5, 1}}, {{100, 5, 1}}},
      {"ends", {{51, 1, 0}, {52, 10, 1}, {240, 20, 4}}, {{51, 1, 0}, {52, 10, 1}, {240, 11, 4}}},
  };
  for (int side : {1, 0}) {
    SCOPED_TRACE(side ? "left" : "right");
    for (const auto &[what, list, back] : cases) {
      set_bars(side, list);
      activate("menuitem_interface_compact");
      EXPECT_EQ(lines(side), painted(back)) << what;
      activate("menuitem_interface_extended");
      EXPECT_EQ(bars(side), back) << what;
    }
    activate("menuitem_interface_compact");
    set_lines(side, painted({}, 0));
    activate("menuitem_interface_extended");
    EXPECT_EQ(bars(side), (Bars{{51, 200, 0}}));
  }
  for (const char *mode : kModes) {
    activate(mode);
    set_bars(1, {{60, 5, 3}}), set_lines(1, painted({{100, 1, 2}}));
    activate(mode);
    EXPECT_EQ(std::pair(bars(1), lines(1)), std::pair(Bars{{60, 5, 3}}, painted({{100, 1, 2}}))) << mode;
  }
}

// Border 14; the picture's left column 14, the right one 6 on its first 100 rows.
TEST_F(Conversion, AutoExtendInBothModes) {
  border_color_index = 14;
  set_picture(14, 14, 319, 6, 100);
  for (const char *mode : kModes) {
    SCOPED_TRACE(mode);
    activate(mode);
    for (int side : {1, 0}) set_bars(side, {{60, 1, 9}}), set_lines(side, painted({{51, 200, 9}}));
    activate("menuitem_tools_auto_expand_picture");
    if (interface_extended == 1)
      EXPECT_EQ(std::pair(bars(1), bars(0)), std::pair(Bars{}, Bars{{51, 100, 6}}));
    else
      EXPECT_EQ(std::pair(lines(1), lines(0)), std::pair(painted({}), painted({{51, 100, 6}})));
  }
}

using ProjectBars = BarsTest;

// The bar groups as the mode in force writes them; reading them back in.
std::string dump() {
  g_autoptr(GKeyFile) key_file = g_key_file_new();
  (interface_extended == 1 ? rastermodel_dump_models_to_key_file : rasterarray_dump_models_to_key_file)(key_file);
  g_autofree gchar *data = g_key_file_to_data(key_file, nullptr, nullptr);
  return data;
}
void fill(const std::string &text) {
  g_autoptr(GKeyFile) key_file = g_key_file_new();
  EXPECT_TRUE(g_key_file_load_from_data(key_file, text.c_str(), text.size(), G_KEY_FILE_NONE, nullptr)) << text;
  (interface_extended == 1 ? rastermodel_fill_models_from_key_file : rasterarray_fill_models_from_key_file)(key_file);
}

// Compact mode writes the runs of lines 51..250, Extended mode its rows as they are. Each mode
// reads the same groups over bars and lines of colour 7: the rows listed, the lines painted.
TEST_F(ProjectBars, BothModesWriteAndReadTheGroups) {
  const std::string none = "start=\nheight=\ncolor=\n";
  activate("menuitem_interface_compact");
  set_lines(1, painted({{40, 30, 1}, {70, 2, 14}, {72, 1, -2}, {240, 11, 3}, {251, 5, 7}}));
  EXPECT_EQ(dump(), "[left]\nstart=51;70;240;\nheight=19;2;11;\ncolor=1;14;3;\n\n[right]\n" + none);
  rasterarray_delete_all_bars();
  activate("menuitem_interface_extended");
  set_bars(0, {{60, 10, 2}, {65, 10, 5}, {100, 0, 3}});
  EXPECT_EQ(dump(), "[left]\n" + none + "\n[right]\nstart=60;65;100;\nheight=10;10;0;\ncolor=2;5;3;\n");

  // clang-format off
  const std::tuple<const char *, std::string, Bars, Bars> cases[] = {  // what, body, as listed, as painted
      {"limits", "start=50;248;100;250;\nheight=5;4;0;1;\ncolor=2;2;3;2;", {{100, 0, 3}, {250, 1, 2}}, {{250, 1, 2}}},
      {"first and last line", "start=50;51;51;240;240;\nheight=10;200;201;11;12;\ncolor=1;1;1;1;2;",
       {{51, 200, 1}, {240, 11, 1}}, {{51, 200, 1}}},
      {"overlap", "start=60;70;\nheight=20;5;\ncolor=1;2;", {{60, 20, 1}, {70, 5, 2}},
       {{60, 10, 1}, {70, 5, 2}, {75, 5, 1}}},
      {"colours", "start=60;70;80;90;\nheight=1;1;1;1;\ncolor=17;-17;-16;31;", {{60, 1, 1}, {80, 1, 0}, {90, 1, 15}},
       {{60, 1, 1}, {80, 1, 0}, {90, 1, 15}}},
      {"negative colour", "start=60;65;\nheight=20;5;\ncolor=1;-1;", {{60, 20, 1}}, {{60, 20, 1}, {65, 5, -1}}},
      {"unequal lists", "start=60;70;80;\nheight=1;1;1;\ncolor=1;2;", {{60, 1, 1}, {70, 1, 2}},
       {{60, 1, 1}, {70, 1, 2}}},
  };
  // clang-format on
  for (const char *mode : kModes) {
    activate(mode);
    for (const auto &[what, body, extended, compact] : cases) {
      SCOPED_TRACE(std::string(mode) + ": " + what);
      for (int side : {1, 0}) set_bars(side, {{55, 2, 7}}), set_lines(side, painted({}, 7));
      fill("[left]\n" + body + "\n[right]\n" + body + "\n");
      for (int side : {1, 0}) {
        if (interface_extended == 1)
          EXPECT_EQ(bars(side), extended) << side;
        else
          EXPECT_EQ(lines(side), painted(compact)) << side;
      }
    }
  }
}

}  // namespace
