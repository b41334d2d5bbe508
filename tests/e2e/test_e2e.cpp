// One user's session through the X server: a picture, bars in both modes, a border colour, saved,
// reopened after a restart, exported as PNG (the executable export: test_install, test_exports).
#include <optional>

#include "geometry.h"
#include "harness.h"
#include "testutil.h"

namespace {

// Where the simulated screen is on the X screen, at a zoom.
struct View {
  int x = 0, y = 0, zoom = 1;
  int line_y(int line) const { return y + ::line_y(line, zoom) + zoom / 2; }
  int left_x() const { return x + vert_border_width * zoom / 2; }
  int right_x() const { return x + (screen_width - vert_border_width / 2) * zoom; }
  int right_edge() const { return x + screen_width * zoom; }
  std::string pixels() const { return grab({x, y, screen_width * zoom, vert_border_height * zoom}).bytes(); }
  bool operator==(const View &) const = default;
};

// The screen's top row: one centred run of the border colour (less the side borders' black strips).
std::optional<View> locate(const Shot &s, int zoom, unsigned border) {
  const Rect &a = s.area;
  for (int y = a.y; y < a.y + a.height; y++)
    for (int x = a.x; x < a.x + a.width; x++) {
      int end = x;
      while (s.at(end, y) == border) end++;
      if (end - x >= (screen_width - 2 * outer_strip_width) * zoom && end - x <= screen_width * zoom)
        return View{(x + end) / 2 - screen_width * zoom / 2, y, zoom};
      x = std::max(x, end - 1);
    }
  return std::nullopt;
}

// The screen at the zoom with the border colour, once its place holds for a few looks.
View view(const App &app, int zoom, int border) {
  std::optional<View> found, last;
  int same = 0;
  wait_for([&] {
    last = std::exchange(found, locate(app.shot(), zoom, rgb_of(border)));
    same = found && found == last ? same + 1 : 0;
    return same >= 10;
  });
  EXPECT_TRUE(found) << "no screen at zoom " << zoom << " with border colour " << border;
  return found.value_or(View{});
}

// Whether each line 3..298 shows its palette index mid side border, left and right.
bool borders_show(const App &app, const View &v, const std::vector<int> &left, const std::vector<int> &right) {
  return wait_for([&] {
    const Shot s = app.shot();
    for (int row = 0; row < vert_border_height; row++)
      for (int side : {1, 0})
        if (s.at(side ? v.left_x() : v.right_x(), v.line_y(first_shown_line + row)) !=
            rgb_of((side ? left : right)[row]))
          return false;
    return true;
  });
}

// The tool buttons by their blue icons right of the screen: add/remove left, add/remove right.
std::vector<std::pair<int, int>> tool_buttons(const Shot &s, const View &v) {
  constexpr int kToolBarWidth = 45;
  auto blue = [&](int x, int y) {
    const unsigned c = s.at(x, y);
    return (c & 255) > (c >> 16 & 255) + 40 && (c & 255) > (c >> 8 & 255) + 15;
  };
  std::vector<std::pair<int, int>> found;
  for (int y = v.y, top = -1, blue_x = 0; y <= v.y + vert_border_height; y++) {
    int x = v.right_edge();
    while (x < v.right_edge() + kToolBarWidth && !blue(x, y)) x++;
    const bool icon = x < v.right_edge() + kToolBarWidth;
    if (icon && top < 0) top = y, blue_x = x;
    if (!icon && top >= 0) found.emplace_back(blue_x, (top + y) / 2), top = -1;
  }
  return found;
}

TEST(EndToEnd, BarsInBothModesSavedReopenedAndExported) {
  TempDir home, work;
  std::vector<unsigned char> koala(10003, 0x1B);  // bitmap %00011011: each cell shows its four colours
  koala[0] = 0x00, koala[1] = 0x60;
  for (int cell = 0; cell < 1000; cell++) {
    koala[8002 + cell] = static_cast<unsigned char>((cell % 16) << 4 | (cell / 40) % 16);
    koala[9002 + cell] = static_cast<unsigned char>(cell % 7 + 1);
  }
  write_file(work.file("colours.kla"), koala);
  auto app = std::make_unique<App>(QUILLBAR_PROGRAM, home.path());
  ASSERT_TRUE(app->started());
  // The first chooser shows "Recently used": only a full path works there.
  choose(*app, "F3", "Select a picture file", work.file("colours.kla"), "colours.kla");
  ASSERT_FALSE(HasFatalFailure());
  View v = view(*app, 1, 0);
  const auto buttons = tool_buttons(app->shot(), v);
  ASSERT_EQ(buttons.size(), 4u);

  // Extended mode: a new bar is one white line after the last; a bar clicked, "3" makes it red.
  for (int button : {0, 0, 2}) click_at(buttons[button].first, buttons[button].second);
  click_at(v.left_x(), v.line_y(52));
  press_keys("3");
  std::vector<int> left(vert_border_height, 0), right(vert_border_height, 0);  // lines 3..298
  left[51 - first_shown_line] = right[51 - first_shown_line] = 1;
  left[52 - first_shown_line] = 2;
  EXPECT_TRUE(borders_show(*app, v, left, right));
  // Compact mode keeps the lines; painted with keys, a Shift+Down range repeated with keypad *.
  press_keys("alt+p i c");
  v = view(*app, 1, 0);
  click_at(v.left_x(), v.line_y(80));
  press_keys("3 5 Up Up shift+Down KP_Multiply");
  for (int line = 80; line <= 250; line++) left[line - first_shown_line] = line % 2 == 0 ? 2 : 4;
  EXPECT_TRUE(borders_show(*app, v, left, right));
  // Back in Extended mode, border colour 5 picked below the screen, found by its red cell 2.
  press_keys("alt+p i e");
  v = view(*app, 1, 0);
  const Shot s = app->shot();
  std::optional<std::pair<int, int>> red;
  for (int y = v.y + vert_border_height; !red && y < s.area.y + s.area.height; y++)
    for (int x = s.area.x; !red && x < s.area.x + s.area.width; x++)
      if (s.at(x, y) == rgb_of(2)) red = {x, y};
  ASSERT_TRUE(red) << "no colour picker";
  const int cell = palette_width / 16;
  click_at(red->first + 3 * cell + cell / 2, red->second + cell / 2);
  v = view(*app, 1, 5);
  for (std::vector<int> *side : {&left, &right}) std::replace(side->begin(), side->end(), 0, 5);
  choose(*app, "F2", "Save project file", "mywork", "mywork.ini");
  ASSERT_TRUE(borders_show(*app, v, left, right));
  const std::string saved = v.pixels();
  // Quit asks first (Escape keeps the editor); the window's place is kept for the next start.
  press_keys("ctrl+q");
  ASSERT_TRUE(app->wait_focus("Confirmation request"));
  press_keys("Escape");
  ASSERT_TRUE(app->wait_focus("Quillbar - mywork.ini"));
  xdotool({"getwindowfocus", "windowmove", "--sync", "90", "110"});
  const Rect placed = app->shot().area;
  ASSERT_TRUE(app->quit("alt+F4"));

  app = std::make_unique<App>(QUILLBAR_PROGRAM, home.path());
  ASSERT_TRUE(app->started());
  EXPECT_TRUE(wait_for([&] { return app->shot().area.x == placed.x && app->shot().area.y == placed.y; }));
  EXPECT_TRUE(g_file_test((home.path() + "/.config/quillbar/user.ini").c_str(), G_FILE_TEST_IS_REGULAR));
  choose(*app, "F1", "Open a project file", "mywork.ini", "colours.kla");
  v = view(*app, 1, 5);
  EXPECT_TRUE(wait_for([&] { return v.pixels() == saved; }));

  const Shot screen = app->shot();
  press_keys("F7");
  view(*app, 3, 5);
  choose(*app, "alt+f i", "Save screenshot file", work.file("shot"), "colours.kla");
  GdkPixbuf *png = nullptr;
  ASSERT_TRUE(
      wait_for([&] { return (png = gdk_pixbuf_new_from_file(work.file("shot.png").c_str(), nullptr)) != nullptr; }));
  ASSERT_EQ(std::pair(gdk_pixbuf_get_width(png), gdk_pixbuf_get_height(png)), std::pair(png_width, png_height));
  int differing = 0;
  for (int y = 0; y < png_height; y++)
    for (int x = 0; x < png_width; x++)
      differing += pixel_at(png, x, y) != screen.at(v.x + png_first_column + x, v.y + ::line_y(png_first_line, 1) + y);
  g_object_unref(png);
  EXPECT_EQ(differing, 0);

  EXPECT_TRUE(app->quit("ctrl+q"));
}

}  // namespace
