// The editor as a user meets it: the built program driven through the X server, checked by
// what the server shows and by the files it writes.
#include <gdk-pixbuf/gdk-pixbuf.h>
#include <glib/gstdio.h>

#include <array>
#include <optional>

#include "c64.h"
#include "geometry.h"
#include "harness.h"
#include "palette.h"

namespace {

// Where the simulated screen is on the X screen, at a zoom.
struct View {
  int x = 0, y = 0, zoom = 1;
  int picture_x(int px) const { return x + (vert_border_width + px) * zoom + zoom / 2; }
  int picture_y(int py) const { return y + (horiz_border_height + py) * zoom + zoom / 2; }
  int line_y(int line) const { return y + ::line_y(line, zoom) + zoom / 2; }
  int left_x() const { return x + vert_border_width * zoom / 2; }
  int right_x() const { return x + (screen_width - vert_border_width / 2) * zoom; }
  int right_edge() const { return x + screen_width * zoom; }
  std::vector<uint32_t> pixels() const { return grab({x, y, screen_width * zoom, vert_border_height * zoom}).pixels; }
  bool operator==(const View &) const = default;
};

// Finds the screen: its top row is one centred run of the border colour (less the black outer
// strips of the side borders when the border is not black).
std::optional<View> locate(const Shot &shot, int zoom, uint32_t border) {
  const Rect &a = shot.area;
  for (int y = a.y; y < a.y + a.height; y++)
    for (int x = a.x; x < a.x + a.width; x++) {
      if (shot.at(x, y) != border) continue;
      int end = x;
      while (end + 1 < a.x + a.width && shot.at(end + 1, y) == border) end++;
      const int length = end - x + 1;
      if (length >= (screen_width - 2 * outer_strip_width) * zoom && length <= screen_width * zoom)
        return View{(x + end + 1) / 2 - screen_width * zoom / 2, y, zoom};
      x = end;
    }
  return std::nullopt;
}

// A Koala picture whose colours follow the place: every bitmap byte is %00011011, so a cell
// row shows the background, the screen byte's nibbles and the colour RAM.
constexpr int kKoalaBackground = 11;
std::vector<unsigned char> koala_picture() {
  std::vector<unsigned char> bytes(10003, 0x1B);
  bytes[0] = 0x00, bytes[1] = 0x60;
  for (int cell = 0; cell < 1000; cell++) {
    bytes[8002 + cell] = static_cast<unsigned char>((cell % 16) << 4 | (cell / 40) % 16);
    bytes[9002 + cell] = static_cast<unsigned char>(cell % 7 + 1);
  }
  bytes[10002] = kKoalaBackground;
  return bytes;
}
int koala_colour(int px, int py) {
  const int cell = py / 8 * 40 + px / 8;
  return std::array{kKoalaBackground, cell % 16, cell / 40 % 16, cell % 7 + 1}[px % 8 / 2];
}

// An Art Studio picture: cell halves in the screen byte's nibbles; border colour 18 (shows 2).
constexpr int kArtBorder = 18;
std::vector<unsigned char> art_picture() {
  std::vector<unsigned char> bytes(9009, 0xF0);
  bytes[0] = 0x00, bytes[1] = 0x20;
  for (int cell = 0; cell < 1000; cell++)
    bytes[8002 + cell] = static_cast<unsigned char>((cell / 40 + 3) % 16 << 4 | (cell % 16));
  bytes[9002] = kArtBorder;
  return bytes;
}
int art_colour(int px, int py) {
  const int cell = py / 8 * 40 + px / 8;
  return px % 8 < 4 ? (cell / 40 + 3) % 16 : cell % 16;
}

// Picture pixels looked at: corners, edges and a spread over the inside.
std::vector<std::pair<int, int>> sample_points() {
  std::vector<std::pair<int, int>> points = {{0, 0}, {319, 0}, {0, 199}, {319, 199}};
  for (int py = 3; py < picture_height; py += 37)
    for (int px = 1; px < picture_width; px += 13) points.emplace_back(px, py);
  return points;
}

// Bars as first line, last line and colour.
using Bars = std::vector<std::tuple<int, int, int>>;
const Bars kProjectLeft = {{60, 69, 2}, {100, 119, 5}}, kProjectRight = {{80, 109, 7}};

// A project file naming `picture`, with a border colour and bars on both sides.
std::string project_text(const std::string &picture, int base, const Bars &left, const Bars &right = {}) {
  std::string text = "[image]\nfile=file://" + picture + "\n[colors]\nbase=" + std::to_string(base) + "\n";
  for (auto [side, bars] : {std::pair{"left", left}, {"right", right}}) {
    std::string start, height, colour;
    for (auto [first, last, c] : bars)
      start += std::to_string(first) + ";", height += std::to_string(last - first + 1) + ";",
          colour += std::to_string(c) + ";";
    text += std::string("[") + side + "]\nstart=" + start + "\nheight=" + height + "\ncolor=" + colour + "\n";
  }
  return text;
}

constexpr int kToolBarWidth = 45;                // wide enough to hold the tool buttons' icons
constexpr int kPickerCell = palette_width / 16;  // one colour of the picker at zoom 1

class EndToEnd : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(session_ready()); }

  void start() {
    app = std::make_unique<App>(home.path());
    ASSERT_TRUE(app->started());
  }

  // The whole X screen, saved under e2e-shots/ for a human when something went wrong.
  static void save_screen(const std::string &name) {
    g_mkdir_with_parents("e2e-shots", 0700);
    grab_screen().save(std::string("e2e-shots/") + ::testing::UnitTest::GetInstance()->current_test_info()->name() +
                       "-" + name + ".png");
  }

  // The screen at the zoom with the border colour, once its place holds for a few looks.
  View view(int zoom, int border) {
    std::optional<View> found, last;
    int same = 0;
    wait_for([&] {
      last = std::exchange(found, locate(app->shot(), zoom, rgb_of(border)));
      same = found && found == last ? same + 1 : 0;
      return same >= 10;
    });
    if (!found) {
      save_screen("no-screen");
      ADD_FAILURE() << "no screen at zoom " << zoom << " with border colour " << border;
    }
    return found.value_or(View{});
  }

  // Runs a chooser by its keys, types `path` (into the location field of an open chooser, which
  // the first character opens; over the suggested name of a save chooser) and accepts.
  void choose(const std::string &keys, const std::string &chooser, const std::string &path, bool save = false) {
    ASSERT_TRUE(app->wait_main_focus());
    press_keys(keys);
    ASSERT_TRUE(app->wait_window(chooser)) << chooser;
    if (!save) {
      const Shot before = grab(app->client(chooser));
      type_text(path.substr(0, 1));
      ASSERT_TRUE(wait_for([&] { return grab(app->client(chooser)).pixels != before.pixels; })) << "no location field";
    }
    press_keys("ctrl+a");
    type_text(path);
    press_keys("Return");
    if (!app->wait_gone(chooser)) {
      save_screen("stuck-chooser");
      FAIL() << chooser << " still open after typing " << path;
    }
  }

  // Starts with F1 on a project (kProjectLeft, kProjectRight, border 6) and its Koala picture.
  View start_with_project() {
    write_file(work.file("colours.kla"), koala_picture());
    write_text(work.file("bars.ini"), project_text(work.file("colours.kla"), 6, kProjectLeft, kProjectRight));
    start();
    if (!HasFatalFailure()) choose("F1", "Open a project file", work.file("bars.ini"));
    EXPECT_TRUE(app && app->wait_title("Quillbar - colours.kla"));
    const View v = view(1, 6);
    EXPECT_TRUE(borders_show(v, lines_with(6, kProjectLeft), lines_with(6, kProjectRight), koala_colour));
    return v;
  }

  // Whether the sample points show their colour on every screen pixel they cover.
  static bool picture_shown(const Shot &s, const View &v, int (*colour)(int, int)) {
    for (auto [px, py] : sample_points())
      for (int dy = 0; dy < v.zoom; dy++)
        for (int dx = 0; dx < v.zoom; dx++)
          if (s.at(v.picture_x(px) - v.zoom / 2 + dx, v.picture_y(py) - v.zoom / 2 + dy) != rgb_of(colour(px, py)))
            return false;
    return true;
  }

  // The palette index each line 3..298 shows mid side border (1 left, 0 right); -1 for none.
  static std::vector<int> border_lines(const Shot &s, const View &v, int side) {
    std::vector<int> colours;
    for (int line = first_shown_line; line < first_shown_line + vert_border_height; line++) {
      const uint32_t shown = s.at(side == 1 ? v.left_x() : v.right_x(), v.line_y(line));
      int index = -1;
      for (int i = 0; i < 16 && index < 0; i++)
        if (rgb_of(i) == shown) index = i;
      colours.push_back(index);
    }
    return colours;
  }

  // Lines 3..298 of a side: `base` except where `bars` (first line, last line, colour) say.
  static std::vector<int> lines_with(int base, const Bars &bars) {
    std::vector<int> colours(vert_border_height, base);
    for (auto [first, last, colour] : bars)
      for (int line = first; line <= last; line++) colours[line - first_shown_line] = colour;
    return colours;
  }

  // Waits until the borders (and, when given, the picture) show what is wanted.
  bool borders_show(const View &v, const std::vector<int> &left, const std::vector<int> &right,
                    int (*picture)(int, int) = nullptr) {
    if (wait_for([&] {
          const Shot s = app->shot();
          return border_lines(s, v, 1) == left && border_lines(s, v, 0) == right &&
                 (!picture || picture_shown(s, v, picture));
        }))
      return true;
    save_screen("borders");
    return false;
  }

  // The tool buttons by their blue icons right of the screen: add/remove left, add/remove right.
  std::vector<std::pair<int, int>> tool_buttons(const View &v) {
    const Shot s = app->shot();
    auto blue = [&](int x, int y) {
      const uint32_t c = s.at(x, y);
      return (c & 255) > (c >> 16 & 255) + 40 && (c & 255) > (c >> 8 & 255) + 15;
    };
    std::vector<std::pair<int, int>> found;
    int top = -1, blue_x = 0;
    for (int y = v.y; y <= v.y + vert_border_height * v.zoom; y++) {
      int x = v.right_edge();
      while (x < v.right_edge() + kToolBarWidth && !blue(x, y)) x++;
      const bool icon = x < v.right_edge() + kToolBarWidth;
      if (icon && top < 0) top = y, blue_x = x;
      if (!icon && top >= 0) found.emplace_back(blue_x, (top + y) / 2), top = -1;
    }
    return found;
  }

  // The bar lists' rows areas (0 left, 1 right): white areas right of the tool bar, while empty.
  std::vector<Rect> bar_lists(const View &v) {
    const Shot s = app->shot();
    std::vector<Rect> lists;
    const int y = v.y + vert_border_height * v.zoom * 3 / 4;
    for (int x = v.right_edge(); x < s.area.x + s.area.width; x++) {
      int end = x;
      while (end < s.area.x + s.area.width && s.at(end, y) == 0xFFFFFF) end++;
      if (end - x >= 60) {
        int top = y;
        while (s.at(x + 10, top - 1) == 0xFFFFFF) top--;
        lists.push_back({x, top, end - x, y - top});
      }
      x = end;
    }
    return lists;
  }

  // The colour picker's top-left corner below the screen (zoom 1), found by its red cell 2.
  static std::pair<int, int> picker(const Shot &s, const View &v) {
    for (int y = v.y + vert_border_height; y < s.area.y + s.area.height; y++)
      for (int x = s.area.x; x < s.area.x + s.area.width; x++)
        if (s.at(x, y) == rgb_of(2)) return {x - 2 * kPickerCell, y - 1};
    return {-1, -1};
  }

  TempDir home, work;
  std::unique_ptr<App> app;
};

// First start: the window, the default settings, the empty screen (blue picture area, black
// borders, picker frame on 0). Then pictures typed into F3's chooser: title, pixels at zoom 1
// and 3, and the folder remembered.
TEST_F(EndToEnd, FirstStartAndPicturesTypedIntoTheChooser) {
  start();
  ASSERT_FALSE(HasFatalFailure());
  EXPECT_EQ(app->title(), "Quillbar - raster bar editor for C64 graphics");
  const std::string settings = home.path() + "/.config/quillbar/user.ini";
  auto settings_hold = [&](const std::string &text) {
    return wait_for([&] { return read_text(settings).find(text) != std::string::npos; });
  };
  for (const char *text :
       {"[interface]\ninput_mode=1\npalette=0\nexpansion=1\n", "\nreencode_graphics=false\n", "\npicture_dir=(NULL)\n"})
    EXPECT_TRUE(settings_hold(text)) << text << " in\n" << read_text(settings);
  View v = view(1, 0);
  const Shot s = app->shot();
  for (auto [px, py] : sample_points()) ASSERT_EQ(s.at(v.picture_x(px), v.picture_y(py)), rgb_of(6)) << px << "," << py;
  for (int line : {first_shown_line, first_picture_line, 150, 298})
    for (int x : {v.left_x(), v.right_x()}) EXPECT_EQ(s.at(x, v.line_y(line)), rgb_of(0)) << line;
  const auto [px, py] = picker(s, v);
  ASSERT_GE(px, 0) << "no colour picker";
  auto white_in_cell = [&](int cell) {
    int count = 0;
    for (int y = py; y < py + kPickerCell; y++)
      for (int x = px + kPickerCell * cell; x < px + kPickerCell * (cell + 1); x++) count += s.at(x, y) == 0xFFFFFF;
    return count;
  };
  EXPECT_GE(white_in_cell(0), 40);
  EXPECT_EQ(white_in_cell(5), 0);

  const struct {
    std::string name;
    std::vector<unsigned char> bytes;
    int (*colour)(int, int);
    int border;
  } rows[] = {{"colours.kla", koala_picture(), koala_colour, 0},
              {"hires.art", art_picture(), art_colour, kArtBorder % 16}};
  for (const auto &row : rows) {
    SCOPED_TRACE(row.name);
    write_file(work.file(row.name), row.bytes);
    // The first chooser shows "Recently used": only a full path works; then the folder is kept.
    const bool first = &row == &rows[0];
    choose("F3", "Select a picture file", first ? work.file(row.name) : row.name);
    ASSERT_TRUE(app->wait_title("Quillbar - " + row.name));
    EXPECT_TRUE(settings_hold("\npicture_dir=file://" + work.path() + "\n")) << read_text(settings);
    for (auto [key, zoom] : {std::pair{"F7", 3}, std::pair{"F5", 1}}) {
      press_keys(key);
      v = view(zoom, row.border);
      EXPECT_TRUE(wait_for([&] { return picture_shown(app->shot(), v, row.colour); })) << "zoom " << zoom;
    }
  }
  EXPECT_TRUE(app->quit());
}

// Extended mode: tool buttons, a cell typed, a bar clicked in the border and recoloured. Compact
// mode: bars kept, lines painted with keys, a Shift+Down range repeated with keypad *. Back in
// Extended mode: kept as runs. A border colour picked, F2 with a bare name, Quit, start again,
// F1: picture, border colour and bars back pixel for pixel.
TEST_F(EndToEnd, BarsInBothModesSavedAndOpenedAgain) {
  write_file(work.file("colours.kla"), koala_picture());
  start();
  ASSERT_FALSE(HasFatalFailure());
  choose("F3", "Select a picture file", work.file("colours.kla"));
  ASSERT_TRUE(app->wait_title("Quillbar - colours.kla"));
  View v = view(1, 0);
  const std::vector<Rect> lists = bar_lists(v);
  ASSERT_EQ(lists.size(), 2u);
  const std::vector<std::pair<int, int>> buttons = tool_buttons(v);
  ASSERT_EQ(buttons.size(), 4u);

  // A new bar is one white line after the last one.
  for (int button : {0, 0, 2}) click_at(buttons[button].first, buttons[button].second);
  EXPECT_TRUE(borders_show(v, lines_with(0, {{51, 52, 1}}), lines_with(0, {{51, 51, 1}})));

  // The first bar's height, typed into its cell: Right moves to the "Height" column, Return edits.
  click_at(lists[0].x + 8, lists[0].y + 6);
  press_keys("Right Return");
  type_text("10");
  press_keys("Return");
  EXPECT_TRUE(borders_show(v, lines_with(0, {{51, 60, 1}}), lines_with(0, {{51, 51, 1}})));

  // Clicked in the border, the bar is selected (white outer strip); "3" makes it red, under bar 52.
  click_at(v.left_x(), v.line_y(56));
  press_keys("3");
  std::vector<int> left = lines_with(0, {{51, 60, 2}, {52, 52, 1}}), right = lines_with(0, {{51, 51, 1}});
  EXPECT_TRUE(borders_show(v, left, right));
  const Shot s = app->shot();
  for (auto [line, colour] : {std::pair{51, 1}, {60, 1}, {61, 0}})
    EXPECT_EQ(s.at(v.x + 1, v.line_y(line)), rgb_of(colour));

  // Compact mode: the same lines; the left border has the focus.
  press_keys("alt+p i c");
  v = view(1, 0);
  EXPECT_TRUE(borders_show(v, left, right));
  click_at(v.left_x(), v.line_y(80));
  press_keys("3 5 Up Up shift+Down KP_Multiply");
  for (int line = 80; line <= 250; line++) left[line - first_shown_line] = line % 2 == 0 ? 2 : 4;
  EXPECT_TRUE(borders_show(v, left, right));

  // Back to Extended mode: nothing changes on screen.
  press_keys("alt+p i e");
  v = view(1, 0);
  EXPECT_TRUE(borders_show(v, left, right));
  EXPECT_EQ(bar_lists(v).size(), 2u) << "the bar lists are shown again";

  const auto [px, py] = picker(app->shot(), v);
  ASSERT_GE(px, 0) << "no colour picker";
  click_at(px + 5 * kPickerCell + kPickerCell / 2, py + kPickerCell / 2);
  v = view(1, 5);
  for (std::vector<int> *side : {&left, &right}) std::replace(side->begin(), side->end(), 0, 5);
  choose("F2", "Save project file", "mywork", true);
  ASSERT_TRUE(app->wait_title("Quillbar - mywork.ini"));
  ASSERT_TRUE(borders_show(v, left, right, koala_colour));
  const std::string project = read_text(work.file("mywork.ini"));
  EXPECT_NE(project.find("\nfile=file://" + work.file("colours.kla") + "\n"), std::string::npos) << project;
  EXPECT_NE(project.find("\nbase=5\n"), std::string::npos) << project;
  const std::vector<uint32_t> saved = v.pixels();
  ASSERT_TRUE(app->quit());

  start();
  choose("F1", "Open a project file", "mywork.ini");
  ASSERT_TRUE(app->wait_title("Quillbar - colours.kla"));
  v = view(1, 5);
  EXPECT_TRUE(wait_for([&] { return v.pixels() == saved; }));
  EXPECT_TRUE(app->quit());
}

// PNG export at zoom 3: 384 x 272, equal to the screen at zoom 1. Executable export: crunched
// when the cruncher is built, and the PRG plays the project's bars on the C64 model.
TEST_F(EndToEnd, Exports) {
  const View v = start_with_project();
  ASSERT_FALSE(HasFailure());
  const Shot screen = app->shot();
  press_keys("F7");
  view(3, 6);
  choose("alt+f i", "Save screenshot file", work.file("shot"), true);
  ASSERT_TRUE(app->status_shows(" Info: Project exported to PNG"));
  GdkPixbuf *png = gdk_pixbuf_new_from_file(work.file("shot.png").c_str(), nullptr);
  ASSERT_NE(png, nullptr);
  ASSERT_EQ(gdk_pixbuf_get_width(png), png_width);
  ASSERT_EQ(gdk_pixbuf_get_height(png), png_height);
  int differing = 0;
  for (int y = 0; y < png_height; y++)
    for (int x = 0; x < png_width; x++) {
      const guchar *q =
          gdk_pixbuf_get_pixels(png) + y * gdk_pixbuf_get_rowstride(png) + x * gdk_pixbuf_get_n_channels(png);
      differing += (uint32_t(q[0]) << 16 | q[1] << 8 | q[2]) !=
                   screen.at(v.x + png_first_column + x, v.y + ::line_y(png_first_line, 1) + y);
    }
  g_object_unref(png);
  EXPECT_EQ(differing, 0);

  choose("alt+f e", "Save executable file", work.file("demo"), true);
  constexpr size_t kPlainSize = 16146;  // the multicolour PRG before crunching
#ifdef QUILLBAR_E2E_CRUNCHER
  const bool crunched = true;
  // The program waits for the cruncher, which takes a few seconds on a busy machine.
  ASSERT_TRUE(app->status_shows(" Info: Successfully exported to executable PRG", true, 60));
  EXPECT_LT(read_text(work.file("demo.prg")).size(), kPlainSize);
#else
  const bool crunched = false;
  EXPECT_TRUE(app->error_box(" Error: Failed to execute child process", false));
  EXPECT_EQ(read_text(work.file("demo.prg")).size(), kPlainSize);
#endif
  EXPECT_TRUE(app->quit());
  // After decrunching, every visible line of a side border shows the project's bar or border.
  auto c64 = std::make_unique<C64>();
  ASSERT_TRUE(c64_start_file(c64.get(), work.file("demo.prg")));
  c64_run_frames(c64.get(), 400);
  ASSERT_FALSE(c64->cpu.jammed);
  const Vic2ModelInfo *model = c64->vic.model;
  for (int i = 0; i < model->visible_lines; i++) {
    const int line = (model->first_line + i) % model->lines;
    for (int side : {1, 0}) {
      int wanted = 6;
      for (auto [first, last, c] : side ? kProjectLeft : kProjectRight)
        if (line >= first && line <= last) wanted = c;
      ASSERT_EQ(vic2_side_border_colour(model, vic2_frame(&c64->vic), line, side), wanted) << line << " " << side;
    }
  }
  if (!crunched) GTEST_SKIP() << "no cruncher is built beside quillbar yet: the PRG was checked uncrunched";
}

// Bad input: each case gives its message, the program goes on, and nothing is lost.
TEST_F(EndToEnd, BadInput) {
  View v = start_with_project();
  ASSERT_FALSE(HasFailure());
  const std::vector<uint32_t> before = v.pixels();
  // A project cut short: the picture and the bars stay.
  const std::string full = read_text(work.file("bars.ini"));
  write_text(work.file("cut.ini"), full.substr(0, full.find("[left]") + 4));
  choose("F1", "Open a project file", "cut.ini");
  EXPECT_TRUE(app->error_box(" Error: Key file contains line", false));
  EXPECT_TRUE(wait_for([&] { return v.pixels() == before; }));

  // A project whose picture is gone: its picture error, then its bars and colour.
  const Bars lost_bars = {{100, 104, 7}};
  write_text(work.file("lost.ini"), project_text(work.file("gone/lost.kla"), 3, lost_bars));
  choose("F1", "Open a project file", "lost.ini");
  EXPECT_TRUE(app->error_box(" Info: Project opened"));
  v = view(1, 3);
  EXPECT_TRUE(borders_show(v, lines_with(3, lost_bars), lines_with(3, {})));

  // A save into a folder that vanished: the message names the file, and saving elsewhere works.
  choose("F3", "Select a picture file", "colours.kla");
  ASSERT_TRUE(app->wait_title("Quillbar - colours.kla"));
  g_mkdir(work.file("sub").c_str(), 0700);
  choose("shift+F2", "Save project file", work.file("sub/p"), true);
  ASSERT_TRUE(app->wait_title("Quillbar - p.ini"));
  g_remove(work.file("sub/p.ini").c_str());
  g_rmdir(work.file("sub").c_str());
  press_keys("F2");
  EXPECT_TRUE(
      app->error_box(" Error: Failed to create file “" + work.file("sub/p.ini") + "”: No such file or directory"));
  choose("shift+F2", "Save project file", work.file("again"), true);
  EXPECT_TRUE(app->wait_title("Quillbar - again.ini"));

  // A picture opened with F1 by mistake: F2 asks for a name and the picture stays as it was.
  const std::string picture = read_text(work.file("colours.kla"));
  choose("F1", "Open a project file", "colours.kla");
  EXPECT_TRUE(app->error_box(" Error: Key file contains line", false));
  choose("F2", "Save project file", "safe", true);
  EXPECT_TRUE(wait_for([&] { return g_file_test(work.file("safe.ini").c_str(), G_FILE_TEST_IS_REGULAR); }));
  EXPECT_EQ(read_text(work.file("colours.kla")), picture);

  // A picture of a wrong size.
  write_file(work.file("short.kla"), {0x00, 0x60, 1, 2, 3});
  choose("F3", "Select a picture file", "short.kla");
  EXPECT_TRUE(app->error_box(" Error: Unknown picture format"));
  EXPECT_TRUE(app->quit());
}

}  // namespace
