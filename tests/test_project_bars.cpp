// The "left" and "right" groups of project files, written and read by both input modes
// through real key files.
#include <memory>

#include "bar_rows.h"
#include "callbacks.h"
#include "testutil.h"

namespace {

struct KeyFileFree {
  void operator()(GKeyFile *k) const { g_key_file_free(k); }
};
using KeyFile = std::unique_ptr<GKeyFile, KeyFileFree>;

KeyFile parse(const std::string &text) {
  KeyFile key_file(g_key_file_new());
  EXPECT_TRUE(g_key_file_load_from_data(key_file.get(), text.c_str(), text.size(), G_KEY_FILE_NONE, nullptr)) << text;
  return key_file;
}

// The bar groups as the active mode writes them.
std::string dump() {
  KeyFile key_file(g_key_file_new());
  if (interface_extended == 1)
    rastermodel_dump_models_to_key_file(key_file.get());
  else
    rasterarray_dump_models_to_key_file(key_file.get());
  gchar *data = g_key_file_to_data(key_file.get(), nullptr, nullptr);
  std::string text = data;
  g_free(data);
  return text;
}

void fill(const std::string &text) {
  KeyFile key_file = parse(text);
  if (interface_extended == 1)
    rastermodel_fill_models_from_key_file(key_file.get());
  else
    rasterarray_fill_models_from_key_file(key_file.get());
}

std::string group(const char *name, const std::string &start, const std::string &height, const std::string &color) {
  return std::string("[") + name + "]\nstart=" + start + "\nheight=" + height + "\ncolor=" + color + "\n";
}

const std::string empty_right = group("right", "", "", "");

class ProjectBars : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_NE(start_app(), nullptr);
    activate("menuitem_interface_extended");
    rastermodel_delete_all_bars();
    rasterarray_delete_all_bars();
    border_color_index = 6;
  }
};

TEST_F(ProjectBars, CompactWritesTheRunsOfTheLines) {
  std::string starts, heights, colors;
  std::vector<int> alternating = painted({});
  for (int line = 51; line <= 250; line++) {
    alternating[line] = line % 2;
    starts += std::to_string(line) + ";", heights += "1;", colors += std::to_string(line % 2) + ";";
  }
  struct Case {
    const char *what;
    std::vector<int> left;
    std::string text;
  };
  const std::vector<Case> cases{
      {"runs", painted({{51, 19, 1}, {70, 2, 14}, {72, 1, -2}, {240, 11, 3}, {251, 5, 7}}),
       group("left", "51;70;240;", "19;2;11;", "1;14;3;")},
      {"uncoloured", painted({}), group("left", "", "", "")},
      {"alternating", alternating, group("left", starts, heights, colors)},
      {"one colour", painted({}, 5), group("left", "51;", "200;", "5;")},
  };
  activate("menuitem_interface_compact");
  for (const Case &c : cases) {
    set_lines(1, c.left);
    EXPECT_EQ(dump(), c.text + "\n" + empty_right) << c.what;
  }

  // Abutting bars of one colour in Extended mode come out as one run after the switch;
  // Extended mode itself writes its rows as they are, overlaps and empty bars included.
  activate("menuitem_interface_extended");
  set_bars(1, {{51, 10, 1}, {61, 9, 1}, {70, 2, 14}, {240, 11, 3}});
  set_bars(0, {{60, 10, 2}, {65, 10, 5}, {100, 0, 3}});
  EXPECT_EQ(dump(), group("left", "51;61;70;240;", "10;9;2;11;", "1;1;14;3;") + "\n" +
                        group("right", "60;65;100;", "10;10;0;", "2;5;3;"));
  activate("menuitem_interface_compact");
  EXPECT_EQ(dump(), group("left", "51;70;240;", "19;2;11;", "1;14;3;") + "\n" +
                        group("right", "60;65;", "5;10;", "2;5;"));
}

TEST_F(ProjectBars, BothModesReadTheGroups) {
  struct Case {
    const char *what;
    std::string left;  // the group's body
    Bars extended;
    Bars compact;  // painted in order over uncoloured lines
  };
  const std::vector<Case> cases{
      {"limits", "start=50;248;100;120;250;2147483647;\nheight=5;4;0;-5;1;10;\ncolor=2;2;3;3;2;1;",
       {{100, 0, 3}, {120, -5, 3}, {250, 1, 2}}, {{250, 1, 2}}},
      {"first and last line", "start=50;51;51;240;240;\nheight=10;200;201;11;12;\ncolor=1;1;1;1;2;",
       {{51, 200, 1}, {240, 11, 1}}, {{51, 200, 1}}},
      {"overlap", "start=60;70;\nheight=20;5;\ncolor=1;2;", {{60, 20, 1}, {70, 5, 2}},
       {{60, 10, 1}, {70, 5, 2}, {75, 5, 1}}},
      {"unsorted", "start=90;60;\nheight=1;1;\ncolor=3;4;", {{60, 1, 4}, {90, 1, 3}}, {{60, 1, 4}, {90, 1, 3}}},
      {"colours", "start=60;70;80;90;100;\nheight=1;1;1;1;5;\ncolor=17;-17;-16;31;5;",
       {{60, 1, 1}, {80, 1, 0}, {90, 1, 15}, {100, 5, 5}}, {{60, 1, 1}, {80, 1, 0}, {90, 1, 15}, {100, 5, 5}}},
      {"negative colour over a bar", "start=60;62;\nheight=10;2;\ncolor=1;-1;", {{60, 10, 1}}, {{60, 10, 1}}},
      {"2 colours", "start=60;70;80;\nheight=1;1;1;\ncolor=1;2;", {{60, 1, 1}, {70, 1, 2}}, {{60, 1, 1}, {70, 1, 2}}},
      {"2 heights", "start=60;70;80;\nheight=1;1;\ncolor=1;2;3;", {{60, 1, 1}, {70, 1, 2}}, {{60, 1, 1}, {70, 1, 2}}},
      {"not a number", "start=60;x;\nheight=1;1;\ncolor=1;1;", {}, {}},
      {"missing key", "start=60;\nheight=1;", {}, {}},
      {"empty lists", "start=\nheight=\ncolor=", {}, {}},
  };
  const std::string right = group("right", "100;", "1;", "9;");
  for (const char *mode : {"menuitem_interface_extended", "menuitem_interface_compact"}) {
    activate(mode);
    for (const Case &c : cases) {
      SCOPED_TRACE(std::string(mode) + ": " + c.what);
      for (int side : {1, 0}) set_bars(side, {{55, 2, 7}}), set_lines(side, painted({}, 7));  // replaced
      fill("[left]\n" + c.left + "\n" + right);
      if (interface_extended == 1) {
        EXPECT_EQ(bars(1), c.extended);
        EXPECT_EQ(bars(0), (Bars{{100, 1, 9}}));
      } else {
        EXPECT_EQ(lines(1), painted(c.compact));
        EXPECT_EQ(lines(0), painted({{100, 1, 9}}));
      }
    }
    // Missing groups leave both sides without bars.
    fill("[image]\nfile=x\n");
    for (int side : {1, 0}) {
      if (interface_extended == 1)
        EXPECT_EQ(bars(side), Bars{});
      else
        EXPECT_EQ(lines(side), painted({}));
    }
  }
}

TEST_F(ProjectBars, WritingAndReadingGivesTheBarsBack) {
  const Bars left{{51, 1, 0}, {60, 10, 2}, {65, 10, 5}, {100, 0, 3}, {250, 1, 15}}, right{{120, 80, 11}};
  set_bars(1, left);
  set_bars(0, right);
  std::string text = dump();
  rastermodel_delete_all_bars();
  fill(text);
  EXPECT_EQ(bars(1), left);
  EXPECT_EQ(bars(0), right);

  activate("menuitem_interface_compact");
  std::vector<int> lines_left = painted({{51, 1, 0}, {52, 3, -2}, {60, 5, 2}, {65, 10, 5}, {250, 1, 15}});
  set_lines(1, lines_left);
  set_lines(0, painted({{0, 312, 4}}));
  text = dump();
  rasterarray_delete_all_bars();
  fill(text);
  std::replace(lines_left.begin(), lines_left.end(), -2, -1);
  EXPECT_EQ(lines(1), lines_left);
  EXPECT_EQ(lines(0), painted({{51, 200, 4}}));  // lines outside 51..250 are not saved
}

}  // namespace
