// Switching the input mode through the real menu items converts the bars between the
// lists and the line arrays; the Tools menu's auto-extend turns the picture's outer
// columns into bars in either mode.
#include "bars_fixture.h"
#include "controls.h"

namespace {

using Conversion = BarsTest;

// Lists -> arrays -> lists on each side: bars in the border colour (6) are dropped, what
// shows is kept. Arrays -> lists: each run of one colour within lines 51..250 is a bar.
TEST_F(Conversion, SwitchingModeConvertsTheBars) {
  const struct {
    const char *what;
    Bars list, back;
  } cases[] = {
      // `back` is also what the arrays show
      {"overlap", {{60, 10, 2}, {65, 10, 5}}, {{60, 5, 2}, {65, 10, 5}}},
      {"touching, same colour", {{60, 5, 3}, {65, 5, 3}}, {{60, 10, 3}}},
      {"border colour", {{60, 10, 6}, {100, 5, 1}}, {{100, 5, 1}}},
      {"past 250", {{240, 20, 4}}, {{240, 11, 4}}},
      {"kept",
       {{51, 1, 0}, {52, 10, 1}, {70, 30, 15}, {250, 1, 2}},
       {{51, 1, 0}, {52, 10, 1}, {70, 30, 15}, {250, 1, 2}}},
  };
  const Bars last_differs{{51, 199, 2}, {250, 1, 3}};
  for (int side : {1, 0}) {
    SCOPED_TRACE(side ? "left" : "right");
    for (const auto &c : cases) {
      set_bars(side, c.list);
      activate("menuitem_interface_compact");
      EXPECT_EQ(lines(side), painted(c.back)) << c.what;
      activate("menuitem_interface_extended");
      EXPECT_EQ(bars(side), c.back) << c.what;
    }
    for (auto [array, list] : {std::pair{painted({}), Bars{}}, {painted({}, 0), Bars{{51, 200, 0}}},
                               {painted(last_differs), last_differs}}) {
      activate("menuitem_interface_compact");
      set_lines(side, array);
      activate("menuitem_interface_extended");
      EXPECT_EQ(bars(side), list);
    }
  }
}

TEST_F(Conversion, ChoosingTheActiveModeConvertsNothing) {
  for (const char *mode : {"menuitem_interface_extended", "menuitem_interface_compact"}) {
    activate(mode);
    set_bars(1, {{60, 5, 3}}), set_lines(1, painted({{100, 1, 2}}));
    activate(mode);
    EXPECT_EQ(bars(1), (Bars{{60, 5, 3}})) << mode;
    EXPECT_EQ(lines(1), painted({{100, 1, 2}})) << mode;
  }
}

// Border colour 14; the picture's left column all 14, the right one 6 on its first 100
// rows. Without a picture nothing changes.
TEST_F(Conversion, AutoExtendInBothModes) {
  border_color_index = 14;
  if (pixbuf_picture) g_object_unref(pixbuf_picture);
  pixbuf_picture = gdk_pixbuf_new(GDK_COLORSPACE_RGB, TRUE, 8, 320, 200);
  gdk_pixbuf_fill(pixbuf_picture, rgb_of(14) << 8 | 0xff);
  for (int row = 0; row < 100; row++)
    palette_get_rgb_at_index(6, gdk_pixbuf_get_pixels(pixbuf_picture) + row * gdk_pixbuf_get_rowstride(pixbuf_picture) + 319 * 4);
  for (const char *mode : {"menuitem_interface_extended", "menuitem_interface_compact"}) {
    SCOPED_TRACE(mode);
    activate(mode);
    for (int side : {1, 0}) set_bars(side, {{60, 1, 9}}), set_lines(side, painted({{51, 200, 9}}));
    picture_loaded = 0;
    activate("menuitem_tools_auto_expand_picture");
    EXPECT_EQ(status_text(), " Info: First open a picture or project");
    EXPECT_EQ(bars(0), (Bars{{60, 1, 9}}));
    EXPECT_EQ(lines(0), painted({{51, 200, 9}}));
    picture_loaded = 1;
    activate("menuitem_tools_auto_expand_picture");
    EXPECT_EQ(status_text(), " Info: Picture extended");
    if (interface_extended == 1) {
      EXPECT_EQ(bars(1), Bars{});
      EXPECT_EQ(bars(0), (Bars{{51, 100, 6}}));
    } else {
      EXPECT_EQ(lines(1), painted({}));
      EXPECT_EQ(lines(0), painted({{51, 100, 6}}));
    }
  }

}

}  // namespace
