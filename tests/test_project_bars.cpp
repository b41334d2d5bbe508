// The "left" and "right" groups of project files, written and read by both input modes
// through real key files.
#include "bars_fixture.h"

namespace {

// The bar groups as the active mode writes them.
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

std::string group(const char *name, const std::string &start, const std::string &height, const std::string &color) {
  return std::string("[") + name + "]\nstart=" + start + "\nheight=" + height + "\ncolor=" + color + "\n";
}

using ProjectBars = BarsTest;

// Compact mode writes the runs of lines 51..250; Extended mode its rows as they are.
TEST_F(ProjectBars, BothModesWriteTheGroups) {
  activate("menuitem_interface_compact");
  set_lines(1, painted({{51, 19, 1}, {70, 2, 14}, {72, 1, -2}, {240, 11, 3}, {251, 5, 7}}));
  EXPECT_EQ(dump(), group("left", "51;70;240;", "19;2;11;", "1;14;3;") + "\n" + group("right", "", "", ""));
  rasterarray_delete_all_bars();
  EXPECT_EQ(dump(), group("left", "", "", "") + "\n" + group("right", "", "", ""));

  activate("menuitem_interface_extended");
  set_bars(0, {{60, 10, 2}, {65, 10, 5}, {100, 0, 3}});
  EXPECT_EQ(dump(), group("left", "", "", "") + "\n" + group("right", "60;65;100;", "10;10;0;", "2;5;3;"));
}

TEST_F(ProjectBars, BothModesReadTheGroups) {
  const struct {
    const char *what;
    std::string left;  // the group's body
    Bars extended;
    Bars compact;  // painted in order over uncoloured lines
  } cases[] = {
      {"limits", "start=50;248;100;250;\nheight=5;4;0;1;\ncolor=2;2;3;2;", {{100, 0, 3}, {250, 1, 2}}, {{250, 1, 2}}},
      {"first and last line", "start=50;51;51;240;240;\nheight=10;200;201;11;12;\ncolor=1;1;1;1;2;",
       {{51, 200, 1}, {240, 11, 1}}, {{51, 200, 1}}},
      {"overlap", "start=60;70;\nheight=20;5;\ncolor=1;2;", {{60, 20, 1}, {70, 5, 2}},
       {{60, 10, 1}, {70, 5, 2}, {75, 5, 1}}},
      {"colours", "start=60;70;80;90;\nheight=1;1;1;1;\ncolor=17;-17;-16;31;",
       {{60, 1, 1}, {80, 1, 0}, {90, 1, 15}}, {{60, 1, 1}, {80, 1, 0}, {90, 1, 15}}},
      {"negative colour", "start=60;65;\nheight=20;5;\ncolor=1;-1;", {{60, 20, 1}},
       {{60, 20, 1}, {65, 5, -1}}},
      {"unequal lists", "start=60;70;80;\nheight=1;1;1;\ncolor=1;2;", {{60, 1, 1}, {70, 1, 2}}, {{60, 1, 1}, {70, 1, 2}}},
  };
  for (const char *mode : {"menuitem_interface_extended", "menuitem_interface_compact"}) {
    activate(mode);
    for (const auto &c : cases) {
      SCOPED_TRACE(std::string(mode) + ": " + c.what);
      for (int side : {1, 0}) set_bars(side, {{55, 2, 7}}), set_lines(side, painted({}, 7));  // replaced by what is read
      fill("[left]\n" + c.left + "\n[right]\n" + c.left + "\n");
      for (int side : {1, 0}) {
        if (interface_extended == 1)
          EXPECT_EQ(bars(side), c.extended) << side;
        else
          EXPECT_EQ(lines(side), painted(c.compact)) << side;
      }
    }
  }
}

}  // namespace
