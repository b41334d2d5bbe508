// Switching the input mode through the real menu items converts the bars between the
// lists and the line arrays; the Tools menu's auto-extend turns the picture's outer
// columns into bars in either mode.
#include "bar_rows.h"
#include "callbacks.h"
#include "controls.h"
#include "palette.h"
#include "testutil.h"

namespace {

class Conversion : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_NE(start_app(), nullptr);
    activate("menuitem_interface_extended");
    ASSERT_EQ(interface_extended, 1);
    rastermodel_delete_all_bars();
    rasterarray_delete_all_bars();
    border_color_index = 6;
    picture_loaded = 1;
  }
};

// Lists -> arrays -> lists, on each side; border colour 6.
TEST_F(Conversion, ListsToArraysAndBack) {
  struct Case {
    const char *what;
    Bars list;
    Bars shown;  // painted into otherwise uncoloured arrays
    Bars back;
  };
  const std::vector<Case> cases{
      {"overlap", {{60, 10, 2}, {65, 10, 5}}, {{60, 5, 2}, {65, 10, 5}}, {{60, 5, 2}, {65, 10, 5}}},
      {"touching, same colour", {{60, 5, 3}, {65, 5, 3}}, {{60, 10, 3}}, {{60, 10, 3}}},
      {"border colour", {{60, 10, 6}, {100, 5, 1}}, {{100, 5, 1}}, {{100, 5, 1}}},
      {"border colour on top", {{60, 10, 2}, {65, 2, 6}}, {{60, 5, 2}, {67, 3, 2}}, {{60, 5, 2}, {67, 3, 2}}},
      {"past 250", {{240, 20, 4}}, {{240, 11, 4}}, {{240, 11, 4}}},
      {"kept", {{51, 1, 0}, {52, 10, 1}, {70, 30, 15}, {250, 1, 2}},
       {{51, 1, 0}, {52, 10, 1}, {70, 30, 15}, {250, 1, 2}}, {{51, 1, 0}, {52, 10, 1}, {70, 30, 15}, {250, 1, 2}}},
      {"empty", {}, {}, {}},
  };
  for (const Case &c : cases) {
    for (int side : {1, 0}) {
      SCOPED_TRACE(std::string(c.what) + (side ? " left" : " right"));
      set_bars(side, c.list);
      set_bars(1 - side, {{100, 1, 9}});
      activate("menuitem_interface_compact");
      EXPECT_EQ(interface_extended, 0);
      EXPECT_EQ(lines(side), painted(c.shown));
      EXPECT_EQ(lines(1 - side), painted({{100, 1, 9}}));
      activate("menuitem_interface_extended");
      EXPECT_EQ(bars(side), c.back);
      EXPECT_EQ(bars(1 - side), (Bars{{100, 1, 9}}));
    }
  }
}

TEST_F(Conversion, ArraysToLists) {
  std::vector<int> last_differs = painted({{51, 199, 2}, {250, 1, 3}});
  std::vector<int> outside = painted({{0, 51, 1}, {251, 61, 1}});
  std::vector<int> other_negative = painted({{51, 200, -2}, {100, 10, 4}});
  struct Case {
    const char *what;
    std::vector<int> array;
    Bars list;
  };
  const std::vector<Case> cases{
      {"uncoloured", painted({}), {}},
      {"all 0", painted({{51, 200, 0}}), {{51, 200, 0}}},
      {"line 250 differs", last_differs, {{51, 199, 2}, {250, 1, 3}}},
      {"border colour stays a bar", painted({{100, 10, 6}}), {{100, 10, 6}}},
      {"lines outside the picture", outside, {}},
      {"other negative values", other_negative, {{100, 10, 4}}},
  };
  for (const Case &c : cases) {
    for (int side : {1, 0}) {
      SCOPED_TRACE(std::string(c.what) + (side ? " left" : " right"));
      activate("menuitem_interface_compact");
      set_lines(side, c.array);
      set_lines(1 - side, painted({{70, 2, 8}}));
      activate("menuitem_interface_extended");
      EXPECT_EQ(bars(side), c.list);
      EXPECT_EQ(bars(1 - side), (Bars{{70, 2, 8}}));
    }
  }
}

TEST_F(Conversion, ChoosingTheActiveModeConvertsNothing) {
  set_bars(1, {{60, 5, 3}});
  set_lines(1, painted({{100, 1, 2}}));
  activate("menuitem_interface_extended");
  EXPECT_EQ(bars(1), (Bars{{60, 5, 3}}));

  activate("menuitem_interface_compact");
  set_lines(1, painted({{100, 1, 2}}));
  set_bars(1, {{60, 5, 3}});
  activate("menuitem_interface_compact");
  EXPECT_EQ(lines(1), painted({{100, 1, 2}}));
}

// --- Auto-extend --------------------------------------------------------------------

constexpr int NO_MATCH = -1;  // a pixel whose RGB is no palette colour

// Replaces the picture with a `height`-row image whose outer columns have the colours
// `left(row)` and `right(row)`; the rest is colour 2.
template <typename Left, typename Right>
void make_picture(int height, Left left, Right right) {
  if (pixbuf_picture) g_object_unref(pixbuf_picture);
  pixbuf_picture = gdk_pixbuf_new(GDK_COLORSPACE_RGB, TRUE, 8, 320, height);
  unsigned char rgb[3];
  palette_get_rgb_at_index(2, rgb);
  gdk_pixbuf_fill(pixbuf_picture, (rgb[0] << 24) | (rgb[1] << 16) | (rgb[2] << 8) | 0xff);
  guchar *pixels = gdk_pixbuf_get_pixels(pixbuf_picture);
  const int stride = gdk_pixbuf_get_rowstride(pixbuf_picture);
  for (int r = 0; r < height; r++) {
    for (auto [x, colour] : {std::pair{0, left(r)}, std::pair{319, right(r)}}) {
      guchar *p = pixels + r * stride + x * 4;
      if (colour == NO_MATCH) {
        p[0] = 1, p[1] = 2, p[2] = 3;
      } else {
        palette_get_rgb_at_index(colour, p);
      }
      p[3] = 0;  // the alpha byte plays no part
    }
  }
}

struct Extension {
  const char *what;
  int border, height;
  int (*left)(int row);
  int (*right)(int row);
  Bars left_bars, right_bars;
};

// Lines 51..250 uncoloured but for the bars, the lines above and below `outside`.
std::vector<int> beside_picture(const Bars &content, int outside) {
  Bars all{{0, 51, outside}, {251, 61, outside}};
  all.insert(all.end(), content.begin(), content.end());
  return painted(all);
}

Bars alternating() {
  Bars out;
  for (int line = 51; line <= 250; line++) out.push_back({line, 1, (line - 51) % 2});
  return out;
}

const std::vector<Extension> extensions{
    {"border and two runs", 14, 200, [](int) { return 14; }, [](int r) { return r < 100 ? 6 : 14; }, {}, {{51, 100, 6}}},
    {"alternating, unmatched", 6, 200, [](int r) { return r % 2; }, [](int) { return NO_MATCH; }, alternating(),
     {{51, 200, 0}}},
    {"taller than the picture", 6, 210, [](int) { return 3; }, [](int r) { return r < 199 ? 6 : 5; }, {{51, 200, 3}},
     {{250, 1, 5}}},
};

TEST_F(Conversion, AutoExtendInBothModes) {
  for (const char *mode : {"menuitem_interface_extended", "menuitem_interface_compact"}) {
    activate(mode);
    for (const Extension &e : extensions) {
      SCOPED_TRACE(std::string(mode) + ": " + e.what);
      border_color_index = e.border;
      make_picture(e.height, e.left, e.right);
      set_bars(1, {{60, 1, 9}});
      set_bars(0, {{70, 1, 9}});
      set_lines(0, painted({}, 9));  // lines beside the picture are overwritten, the others kept
      set_lines(1, painted({}, 9));
      controls_update_main_statusbar("");
      activate("menuitem_tools_auto_expand_picture");
      EXPECT_EQ(status_text(), " Info: Picture extended");
      if (interface_extended == 1) {
        EXPECT_EQ(bars(1), e.left_bars);
        EXPECT_EQ(bars(0), e.right_bars);
      } else {
        EXPECT_EQ(bars(1), Bars{});
        EXPECT_EQ(bars(0), Bars{});
        EXPECT_EQ(lines(1), beside_picture(e.left_bars, 9));
        EXPECT_EQ(lines(0), beside_picture(e.right_bars, 9));
      }
    }
  }
}

TEST_F(Conversion, AutoExtendWithoutPictureChangesNothing) {
  picture_loaded = 0;
  for (const char *mode : {"menuitem_interface_extended", "menuitem_interface_compact"}) {
    activate(mode);
    set_bars(1, {{60, 1, 9}});
    set_lines(0, painted({{80, 3, 4}}));
    activate("menuitem_tools_auto_expand_picture");
    EXPECT_EQ(status_text(), " Info: First open a picture or project");
    EXPECT_EQ(bars(1), (Bars{{60, 1, 9}}));
    EXPECT_EQ(lines(0), painted({{80, 3, 4}}));
  }
}

}  // namespace
