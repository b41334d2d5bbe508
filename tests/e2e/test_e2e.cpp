// The editor as a user meets it: the built program with its own home on a private X server
// (Xvfb, openbox), driven through the server (xdotool) and checked by what it shows and writes.
// Every wait polls a condition with a time limit; every process dies with its owner.
#include <glib/gstdio.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <fstream>
#include <map>
#include <memory>
#include <optional>

#include "c64.h"
#include "geometry.h"
#include "palette.h"
#include "testutil.h"

// X's headers come last: their macros would clash with the test framework's and the toolkit's.
#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>

namespace {

constexpr int kDisplayWidth = 1920, kDisplayHeight = 1440;

// Polls `done` every 5 ms until it holds or `seconds` have passed; generous limits, as a busy
// machine can be slow to draw, and only a failure waits them out.
constexpr double kWait = 20.0;
bool wait_for(const std::function<bool()> &done, double seconds = kWait) {
  for (const gint64 until = g_get_monotonic_time() + static_cast<gint64>(seconds * 1e6); !done(); g_usleep(5000))
    if (g_get_monotonic_time() > until) return false;
  return true;
}

// A process with the given environment (and working folder, when given), killed when dropped or
// when the test program dies; with `out` set, its standard output is readable there.
class Child {
 public:
  Child(const std::vector<std::string> &argv, const std::vector<std::string> &env, int *out = nullptr,
        const char *folder = nullptr) {
    auto c_strings = [](const std::vector<std::string> &strings) {
      std::vector<char *> c;
      for (const std::string &s : strings) c.push_back(const_cast<char *>(s.c_str()));
      c.push_back(nullptr);
      return c;
    };
    std::vector<char *> args = c_strings(argv), envp = c_strings(env);
    const GSpawnFlags flags = GSpawnFlags(G_SPAWN_DO_NOT_REAP_CHILD | G_SPAWN_SEARCH_PATH | G_SPAWN_STDERR_TO_DEV_NULL |
                                          (out ? 0 : G_SPAWN_STDOUT_TO_DEV_NULL));
    auto die_with_parent = [](gpointer) { prctl(PR_SET_PDEATHSIG, SIGKILL); };
    GError *error = nullptr;
    if (!g_spawn_async_with_pipes(folder, args.data(), envp.data(), flags, die_with_parent, nullptr, &pid, nullptr, out,
                                  nullptr, &error)) {
      ADD_FAILURE() << "cannot start " << argv[0] << ": " << error->message;
      g_error_free(error);
      pid = -1;
    }
  }
  ~Child() {
    for (int signal : {SIGTERM, SIGKILL})
      if (pid > 0 && kill(pid, signal) == 0) wait_exit(2.0);
  }
  // Its exit status, or -1 when it did not end in time.
  int wait_exit(double seconds) {
    wait_for(
        [&] {
          int status = 0;
          if (pid <= 0 || waitpid(pid, &status, WNOHANG) != pid) return pid <= 0;
          status_ = WIFEXITED(status) ? WEXITSTATUS(status) : -1, pid = -1;
          return true;
        },
        seconds);
    return pid > 0 ? -1 : status_;
  }
  GPid pid = -1;

 private:
  int status_ = -1;
};

Display *xdisplay = nullptr;  // the session's connection, once it is open
Window root() { return DefaultRootWindow(xdisplay); }

// A window property as longs (32-bit formats), or into `text` (8-bit formats).
std::vector<unsigned long> property(Window w, const char *name, Atom type, std::string *text = nullptr) {
  Atom actual = None;
  int format = 0;
  unsigned long count = 0, after = 0;
  unsigned char *data = nullptr;
  std::vector<unsigned long> values;
  if (XGetWindowProperty(xdisplay, w, XInternAtom(xdisplay, name, False), 0, 65536, False, type, &actual, &format,
                         &count, &after, &data) != Success ||
      !data)
    return values;
  if (format == 32)
    values.assign(reinterpret_cast<unsigned long *>(data), reinterpret_cast<unsigned long *>(data) + count);
  if (format == 8 && text) text->assign(reinterpret_cast<char *>(data), count);
  XFree(data);
  return values;
}

// The private X server and window manager, started once; this program's toolkit uses it too.
struct Session {
  TempDir home;
  std::string name;
  std::unique_ptr<Child> server, manager;

  // The environment of a process that runs on this server with `home` as its home: PATH,
  // and in a sanitizer build the sanitizers' settings (scripts/check turns leak reports off:
  // the toolkit keeps allocations to the end).
  std::vector<std::string> environment(const std::string &home) const {
    std::vector<std::string> env = {"HOME=" + home,
                                    "XDG_CONFIG_HOME=" + home + "/.config",
                                    "XDG_DATA_HOME=" + home + "/.local/share",
                                    "XDG_CACHE_HOME=" + home + "/.cache",
                                    "DISPLAY=" + name,
                                    "NO_AT_BRIDGE=1",
                                    "LANG=C.UTF-8",
                                    "LC_ALL=C.UTF-8"};
    for (const char *variable : {"PATH", "ASAN_OPTIONS", "UBSAN_OPTIONS"})
      if (const char *value = g_getenv(variable)) env.push_back(std::string(variable) + "=" + value);
    return env;
  }

  Session() {
    int out = -1;
    const std::string size = std::to_string(kDisplayWidth) + "x" + std::to_string(kDisplayHeight) + "x24";
    server = std::make_unique<Child>(
        std::vector<std::string>{"Xvfb", "-displayfd", "1", "-screen", "0", size, "-nolisten", "tcp", "-noreset"},
        environment(home.path()), &out);
    // The server writes its display number once it accepts connections.
    std::string number;
    pollfd fd{out, POLLIN, 0};
    char buffer[32];
    ssize_t n = 0;
    while (number.find('\n') == std::string::npos && poll(&fd, 1, 10000) > 0 && (n = read(out, buffer, 32)) > 0)
      number.append(buffer, n);
    if (out >= 0) close(out);
    name = ":" + number.substr(0, number.find('\n'));
    if (number.find('\n') == std::string::npos || !(xdisplay = XOpenDisplay(name.c_str()))) {
      ADD_FAILURE() << "no X server: " << name;
      return;
    }
    manager = std::make_unique<Child>(std::vector<std::string>{"openbox", "--sm-disable"}, environment(home.path()));
    if (!wait_for([&] { return !property(root(), "_NET_SUPPORTING_WM_CHECK", XA_WINDOW).empty(); }))
      ADD_FAILURE() << "the window manager did not start";
    for (const std::string &variable : environment(home.path())) putenv(g_strdup(variable.c_str()));
    if (!gtk_init_check(nullptr, nullptr)) ADD_FAILURE() << "no toolkit on " << name;
    // The toolkit's handler would end the program on an X error on this connection (a window
    // that went away while looked at); those are left to the caller.
    static XErrorHandler toolkit_handler = XSetErrorHandler([](Display *display, XErrorEvent *event) {
      return display == xdisplay || !toolkit_handler ? 0 : toolkit_handler(display, event);
    });
  }
};

Session &session() {
  static Session s;
  return s;
}

// Runs an X tool on the session's server and waits for it; true when it ended with 0.
bool run_tool(const std::vector<std::string> &argv) {
  return Child(argv, session().environment(g_get_home_dir())).wait_exit(kWait) == 0;
}

// Real input through the X server, to the window that has the focus: xdotool key names one
// after the other ("ctrl+q F3 shift+Down"), text typed, a click.
void press_keys(const std::string &keys) {
  std::vector<std::string> argv = {"xdotool", "key", "--clearmodifiers", "--delay", "30"};
  g_auto(GStrv) names = g_strsplit(keys.c_str(), " ", -1);
  argv.insert(argv.end(), names, names + g_strv_length(names));
  EXPECT_TRUE(run_tool(argv)) << keys;
}
void type_text(const std::string &text) {
  EXPECT_TRUE(run_tool({"xdotool", "type", "--clearmodifiers", "--delay", "8", text})) << text;
}
void click_at(int x, int y) {
  EXPECT_TRUE(run_tool({"xdotool", "mousemove", std::to_string(x), std::to_string(y), "click", "1"}));
}

struct Rect {
  int x = 0, y = 0, width = 0, height = 0;
};

// An RGB screenshot of a rectangle of the screen, in screen coordinates; pixels 0xRRGGBB, and
// kOutside for a point outside it.
struct Shot {
  Rect area;
  std::vector<uint32_t> pixels;
  static constexpr uint32_t kOutside = 0xFF000000;
  uint32_t at(int x, int y) const {
    const int dx = x - area.x, dy = y - area.y;
    if (dx < 0 || dy < 0 || dx >= area.width || dy >= area.height || pixels.empty()) return kOutside;
    return pixels[static_cast<size_t>(dy) * area.width + dx];
  }
};

// Clipped to the screen; a window that has just gone gives an empty shot.
Shot grab(const Rect &wanted) {
  const int x0 = std::max(wanted.x, 0), y0 = std::max(wanted.y, 0);
  Shot shot{{x0, y0, std::max(0, std::min(wanted.x + wanted.width, kDisplayWidth) - x0),
             std::max(0, std::min(wanted.y + wanted.height, kDisplayHeight) - y0)},
            {}};
  const Rect &a = shot.area;
  XImage *image =
      a.width && a.height ? XGetImage(xdisplay, root(), a.x, a.y, a.width, a.height, AllPlanes, ZPixmap) : nullptr;
  if (!image) return shot;
  for (int y = 0; y < a.height; y++)
    for (int x = 0; x < a.width; x++) shot.pixels.push_back(XGetPixel(image, x, y) & 0xFFFFFF);
  XDestroyImage(image);
  return shot;
}

// The whole X screen, saved as e2e-shots/<test>-<name>.ppm for a human when something went wrong.
void save_screen(const std::string &name) {
  const Shot s = grab({0, 0, kDisplayWidth, kDisplayHeight});
  g_mkdir_with_parents("e2e-shots", 0700);
  std::ofstream out("e2e-shots/" + std::string(testing::UnitTest::GetInstance()->current_test_info()->name()) + "-" +
                    name + ".ppm");
  out << "P6\n" << s.area.width << " " << s.area.height << "\n255\n";
  for (uint32_t p : s.pixels) out << char(p >> 16) << char(p >> 8) << char(p);
}

std::string title_of(Window w) {
  std::string title;
  if (w) property(w, "_NET_WM_NAME", XInternAtom(xdisplay, "UTF8_STRING", False), &title);
  return title;
}

// Whether the keyboard focus is in `w` or a window inside it.
bool has_focus(Window w) {
  Window focus = 0;
  int revert = 0;
  XGetInputFocus(xdisplay, &focus, &revert);
  for (Window at = focus; focus > PointerRoot && at && at != root();) {
    if (at == w) return true;
    Window r = 0, *children = nullptr;
    unsigned int n = 0;
    if (!XQueryTree(xdisplay, at, &r, &at, &children, &n)) return false;
    if (children) XFree(children);
  }
  return false;
}

// Pixels whose brightness is below half: the ink of black text on the toolkit's grey.
bool dark(uint32_t rgb) { return ((rgb >> 16 & 255) * 3 + (rgb >> 8 & 255) * 6 + (rgb & 255)) < 1280; }

// The ink of a shot cropped to its bounding box, as rows of '#' (dark) and '.'.
using Ink = std::vector<std::string>;
Ink ink_of(const Shot &s) {
  const Rect &a = s.area;
  int x0 = a.x + a.width, y0 = a.y + a.height, x1 = -1, y1 = -1;
  for (int y = a.y; y < a.y + a.height; y++)
    for (int x = a.x; x < a.x + a.width; x++)
      if (dark(s.at(x, y))) x0 = std::min(x0, x), y0 = std::min(y0, y), x1 = std::max(x1, x), y1 = std::max(y1, y);
  Ink ink(std::max(0, y1 - y0 + 1));
  for (int y = y0; y <= y1; y++)
    for (int x = x0; x <= x1; x++) ink[y - y0] += dark(s.at(x, y)) ? '#' : '.';
  return ink;
}

// `text` as the toolkit draws a label on this server, read back as ink.
const Ink &reference_ink(const std::string &text) {
  static std::map<std::string, Ink> cache;
  if (cache.contains(text)) return cache[text];
  GtkWidget *popup = gtk_window_new(GTK_WINDOW_POPUP);  // the window manager leaves it alone
  gtk_window_move(GTK_WINDOW(popup), 0, kDisplayHeight - 40);
  gtk_container_add(GTK_CONTAINER(popup), gtk_label_new(text.c_str()));
  gtk_widget_show_all(popup);
  Ink ink;
  wait_for([&] {  // read from the screen once the popup is shown and drawn
    while (gtk_events_pending()) gtk_main_iteration_do(FALSE);
    if (!gdk_window_is_viewable(popup->window)) return false;
    gdk_window_process_updates(popup->window, TRUE);
    gdk_flush();
    ink = ink_of(grab({0, kDisplayHeight - 40, popup->allocation.width, popup->allocation.height}));
    return !ink.empty();
  });
  gtk_widget_destroy(popup);
  while (gtk_events_pending()) gtk_main_iteration_do(FALSE);
  return cache[text] = ink;
}

// The built program (or `program`, looked for in PATH, started in `folder`), with its own home
// (HOME and XDG_CONFIG_HOME under `home`).
class App {
 public:
  explicit App(const std::string &home, const std::string &program = QUILLBAR_PROGRAM, const char *folder = nullptr)
      : child_(
            std::make_unique<Child>(std::vector<std::string>{program}, session().environment(home), nullptr, folder)) {
    Window shown = 0;
    wait_for([&] { return (shown = find("")) != 0; });
    // A window just started may not have the focus yet: it is activated every half second.
    int looks = 0;
    if (shown && wait_for([&] {
          if (++looks % 100 == 0) run_tool({"xdotool", "windowactivate", std::to_string(shown)});
          return has_focus(shown);
        }))
      main_ = shown;
    if (!main_) ADD_FAILURE() << "the main window did not show with the focus: window " << shown;
  }
  bool started() const { return main_ != 0; }
  std::string title() const { return title_of(main_); }
  bool wait_title(const std::string &t) const {
    return wait_for([&] { return title() == t; });
  }
  // A window of the program (the main one by default) is shown and has the keyboard focus, or,
  // with `shown` false, is gone.
  bool wait_window(const std::string &title = "", bool shown = true) const {
    return wait_for([&] { return shown ? has_focus(find(title)) : !find(title); });
  }
  // The inside of a window (the main one by default), in screen coordinates.
  Rect client(const std::string &title = "") const {
    const Window w = title.empty() ? main_ : find(title);
    XWindowAttributes attributes{};
    int x = 0, y = 0;
    Window child = 0;
    if (!w || !XGetWindowAttributes(xdisplay, w, &attributes) ||
        !XTranslateCoordinates(xdisplay, w, root(), 0, 0, &x, &y, &child))
      return {};
    return {x, y, attributes.width, attributes.height};
  }
  Shot shot() const { return grab(client()); }

  // The status bar shows `text` (or, with `whole` false, begins with it), as the toolkit draws
  // it: the bottom strip inside a dark frame line (found up the left side), less the frame and
  // the resize grip; looked for every time, as the window may not be drawn yet.
  bool status_shows(const std::string &text, bool whole = true, double seconds = kWait) const {
    constexpr int kGrip = 24;
    const Rect c = client();
    const Ink &expected = reference_ink(text);
    return wait_for(
        [&] {
          const Shot edge = grab({c.x + 1, c.y, 1, c.height});
          int top = c.y + c.height - 2;
          while (top > c.y && dark(edge.at(c.x + 1, top - 1))) top--;
          const Ink shown = ink_of(grab({c.x + 2, top + 1, c.width - kGrip, c.y + c.height - 3 - top}));
          if (whole) return shown == expected;
          // A beginning: the expected ink at the left end of the shown ink, at some height.
          for (size_t top = 0; top + expected.size() <= shown.size(); top++)
            if (std::equal(expected.begin(), expected.end(), shown.begin() + top,
                           [](const std::string &e, const std::string &s) { return s.starts_with(e); }))
              return true;
          return false;
        },
        seconds);
  }
  // Waits for an error box, closes it with its OK key, then waits for the status bar's text.
  bool error_box(const std::string &status, bool whole = true) const {
    if (!wait_window("Error")) return false;
    press_keys("Return");
    return wait_window("Error", false) && status_shows(status, whole);
  }
  // Through the menu key and the confirmation; true when the program ended with 0.
  bool quit() {
    if (!wait_window()) return false;
    press_keys("ctrl+q");
    if (!wait_window("Confirmation request")) return false;
    press_keys("alt+y");
    main_ = 0;
    return child_->wait_exit(kWait) == 0;
  }

 private:
  // A shown window of the program with that title, 0 for none; with an empty title the main
  // window, whose title begins with the program's name.
  Window find(const std::string &title) const {
    XSync(xdisplay, False);
    for (unsigned long w : property(root(), "_NET_CLIENT_LIST", XA_WINDOW)) {
      const std::vector<unsigned long> pid = property(w, "_NET_WM_PID", XA_CARDINAL);
      XWindowAttributes attributes;
      const std::string name = title_of(w);
      if (!pid.empty() && static_cast<int>(pid[0]) == child_->pid && XGetWindowAttributes(xdisplay, w, &attributes) &&
          attributes.map_state == IsViewable && (title.empty() ? name.starts_with("Quillbar") : name == title))
        return w;
    }
    return 0;
  }
  std::unique_ptr<Child> child_;
  Window main_ = 0;
};

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

using Bytes = std::vector<unsigned char>;

// A Koala picture whose colours follow the place: every bitmap byte is %00011011, so a cell
// row shows the background, the screen byte's nibbles and the colour RAM.
constexpr int kKoalaBackground = 11;
Bytes koala_picture() {
  Bytes bytes(10003, 0x1B);
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
Bytes art_picture() {
  Bytes bytes(9009, 0xF0);
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

// Lines 3..298 of a side: `base` except where `bars` say.
std::vector<int> lines_with(int base, const Bars &bars) {
  std::vector<int> colours(vert_border_height, base);
  for (auto [first, last, colour] : bars)
    for (int line = first; line <= last; line++) colours[line - first_shown_line] = colour;
  return colours;
}

// The palette index each line 3..298 shows mid side border (1 left, 0 right); -1 for none.
std::vector<int> border_lines(const Shot &s, const View &v, int side) {
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

// Whether the sample points show their colour on every screen pixel they cover.
bool picture_shown(const Shot &s, const View &v, int (*colour)(int, int)) {
  for (auto [px, py] : sample_points())
    for (int dy = 0; dy < v.zoom; dy++)
      for (int dx = 0; dx < v.zoom; dx++)
        if (s.at(v.picture_x(px) - v.zoom / 2 + dx, v.picture_y(py) - v.zoom / 2 + dy) != rgb_of(colour(px, py)))
          return false;
  return true;
}

constexpr int kToolBarWidth = 45;                // wide enough to hold the tool buttons' icons
constexpr int kPickerCell = palette_width / 16;  // one colour of the picker at zoom 1

// The colour picker's top-left corner below the screen (zoom 1), found by its red cell 2.
std::pair<int, int> picker(const Shot &s, const View &v) {
  for (int y = v.y + vert_border_height; y < s.area.y + s.area.height; y++)
    for (int x = s.area.x; x < s.area.x + s.area.width; x++)
      if (s.at(x, y) == rgb_of(2)) return {x - 2 * kPickerCell, y - 1};
  return {-1, -1};
}

// The tool buttons by their blue icons right of the screen: add/remove left, add/remove right.
std::vector<std::pair<int, int>> tool_buttons(const Shot &s, const View &v) {
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
std::vector<Rect> bar_lists(const Shot &s, const View &v) {
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

class EndToEnd : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(session().manager) << "no X session"; }

  void start(const std::string &program = QUILLBAR_PROGRAM, const char *folder = nullptr) {
    app = std::make_unique<App>(home.path(), program, folder);
    ASSERT_TRUE(app->started());
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
  // the first character opens; over the suggested name of a save chooser) and accepts; then,
  // when given, waits for the main window's title.
  void choose(const std::string &keys, const std::string &chooser, const std::string &path, bool save = false,
              const std::string &title = "") {
    ASSERT_TRUE(app->wait_window());
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
    if (!app->wait_window(chooser, false)) {
      save_screen("stuck-chooser");
      FAIL() << chooser << " still open after typing " << path;
    }
    ASSERT_TRUE(title.empty() || app->wait_title("Quillbar - " + title)) << title;
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

  // Starts with F1 on a project (kProjectLeft, kProjectRight, border 6) and its Koala picture.
  View start_with_project() {
    write_file(work.file("colours.kla"), koala_picture());
    write_text(work.file("bars.ini"), project_text(work.file("colours.kla"), 6, kProjectLeft, kProjectRight));
    start();
    if (!HasFatalFailure()) choose("F1", "Open a project file", work.file("bars.ini"), false, "colours.kla");
    const View v = view(1, 6);
    EXPECT_TRUE(borders_show(v, lines_with(6, kProjectLeft), lines_with(6, kProjectRight), koala_colour));
    return v;
  }

  // File > Export to executable, crunched by the cruncher beside the program. The program waits
  // for the cruncher, which takes a few seconds on a busy machine; the multicolour PRG is 16146
  // bytes before crunching.
  void export_crunched() {
    choose("alt+f e", "Save executable file", work.file("demo"), true);
    ASSERT_TRUE(app->status_shows(" Info: Successfully exported to executable PRG", true, 60));
    EXPECT_LT(read_text(work.file("demo.prg")).size(), 16146u);
  }

  TempDir home, work;
  std::unique_ptr<App> app;
};

// First start: the window, the default settings, the empty screen (blue picture area, black
// borders). Then pictures typed into F3's chooser: title, pixels at zoom 1 and 3, and the
// folder remembered.
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

  // The first chooser shows "Recently used": only a full path works; then the folder is kept.
  for (auto [name, bytes, colour, border, typed] :
       {std::tuple{"colours.kla", koala_picture(), &koala_colour, 0, work.file("colours.kla")},
        {"hires.art", art_picture(), &art_colour, kArtBorder % 16, "hires.art"}}) {
    SCOPED_TRACE(name);
    write_file(work.file(name), bytes);
    choose("F3", "Select a picture file", typed, false, name);
    ASSERT_FALSE(HasFatalFailure());
    EXPECT_TRUE(settings_hold("\npicture_dir=file://" + work.path() + "\n")) << read_text(settings);
    for (auto [key, zoom] : {std::pair{"F7", 3}, {"F5", 1}}) {
      press_keys(key);
      v = view(zoom, border);
      EXPECT_TRUE(wait_for([&] { return picture_shown(app->shot(), v, colour); })) << "zoom " << zoom;
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
  choose("F3", "Select a picture file", work.file("colours.kla"), false, "colours.kla");
  ASSERT_FALSE(HasFatalFailure());
  View v = view(1, 0);
  const std::vector<Rect> lists = bar_lists(app->shot(), v);
  ASSERT_EQ(lists.size(), 2u);
  const std::vector<std::pair<int, int>> buttons = tool_buttons(app->shot(), v);
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

  // Compact mode: the same lines; the left border has the focus. Lines painted with keys.
  press_keys("alt+p i c");
  v = view(1, 0);
  EXPECT_TRUE(borders_show(v, left, right));
  click_at(v.left_x(), v.line_y(80));
  press_keys("3 5 Up Up shift+Down KP_Multiply");
  for (int line = 80; line <= 250; line++) left[line - first_shown_line] = line % 2 == 0 ? 2 : 4;
  EXPECT_TRUE(borders_show(v, left, right));

  // Back to Extended mode: nothing changes on screen, and the bar lists are shown again.
  press_keys("alt+p i e");
  v = view(1, 0);
  EXPECT_TRUE(borders_show(v, left, right));
  EXPECT_EQ(bar_lists(app->shot(), v).size(), 2u);

  const auto [px, py] = picker(app->shot(), v);
  ASSERT_GE(px, 0) << "no colour picker";
  click_at(px + 5 * kPickerCell + kPickerCell / 2, py + kPickerCell / 2);
  v = view(1, 5);
  for (std::vector<int> *side : {&left, &right}) std::replace(side->begin(), side->end(), 0, 5);
  choose("F2", "Save project file", "mywork", true, "mywork.ini");
  ASSERT_TRUE(borders_show(v, left, right, koala_colour));
  const std::string project = read_text(work.file("mywork.ini"));
  EXPECT_NE(project.find("\nfile=file://" + work.file("colours.kla") + "\n"), std::string::npos) << project;
  EXPECT_NE(project.find("\nbase=5\n"), std::string::npos) << project;
  const std::vector<uint32_t> saved = v.pixels();
  ASSERT_TRUE(app->quit());

  start();
  choose("F1", "Open a project file", "mywork.ini", false, "colours.kla");
  v = view(1, 5);
  EXPECT_TRUE(wait_for([&] { return v.pixels() == saved; }));
  EXPECT_TRUE(app->quit());
}

// PNG export at zoom 3: 384 x 272, equal to the screen at zoom 1. Executable export: crunched,
// and the program the real editor wrote plays the project's bars on the C64 model.
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
  ASSERT_EQ(std::pair(gdk_pixbuf_get_width(png), gdk_pixbuf_get_height(png)), std::pair(png_width, png_height));
  int differing = 0;
  for (int y = 0; y < png_height; y++)
    for (int x = 0; x < png_width; x++)
      differing += pixel_at(png, x, y) != screen.at(v.x + png_first_column + x, v.y + ::line_y(png_first_line, 1) + y);
  g_object_unref(png);
  EXPECT_EQ(differing, 0);

  export_crunched();
  ASSERT_FALSE(HasFatalFailure());
  auto c64 = std::make_unique<C64>();  // after unpacking, every shown line has its bar or the border
  ASSERT_TRUE(c64_start_file(c64.get(), work.file("demo.prg")));
  c64_run_frames(c64.get(), 400);
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
  EXPECT_TRUE(app->quit());
}

// Installed into a prefix, and started as a desktop menu or a terminal starts it: by its bare name
// through PATH, from another folder. The export still finds the cruncher installed beside it.
TEST_F(EndToEnd, InstalledAndStartedThroughPath) {
  if (!g_file_test(QUILLBAR_CMAKE, G_FILE_TEST_IS_EXECUTABLE) ||
      !g_file_test(QUILLBAR_BUILD_DIR "/cmake_install.cmake", G_FILE_TEST_EXISTS))
    GTEST_SKIP() << "no " QUILLBAR_CMAKE " or no install rules in " QUILLBAR_BUILD_DIR;
  TempDir prefix;
  ASSERT_EQ(Child({QUILLBAR_CMAKE, "--install", QUILLBAR_BUILD_DIR, "--prefix", prefix.path()},
                  session().environment(home.path()))
                .wait_exit(120),
            0);
  // Only the launcher goes on the PATH: nothing there shadows a cruncher the user installed.
  EXPECT_FALSE(g_file_test(prefix.file("bin/exomizer").c_str(), G_FILE_TEST_EXISTS));
  const std::string path = g_getenv("PATH");
  g_setenv("PATH", (prefix.file("bin") + ":" + path).c_str(), TRUE);
  start("quillbar", work.path().c_str());
  g_setenv("PATH", path.c_str(), TRUE);
  ASSERT_FALSE(HasFatalFailure());
  write_file(work.file("colours.kla"), koala_picture());
  choose("F3", "Select a picture file", work.file("colours.kla"), false, "colours.kla");
  export_crunched();
  EXPECT_TRUE(app->wait_window("Error", false)) << "an error box";
  EXPECT_TRUE(app->quit());
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
  choose("F3", "Select a picture file", "colours.kla", false, "colours.kla");
  g_mkdir(work.file("sub").c_str(), 0700);
  choose("shift+F2", "Save project file", work.file("sub/p"), true, "p.ini");
  g_remove(work.file("sub/p.ini").c_str());
  g_rmdir(work.file("sub").c_str());
  press_keys("F2");
  EXPECT_TRUE(
      app->error_box(" Error: Failed to create file “" + work.file("sub/p.ini") + "”: No such file or directory"));
  choose("shift+F2", "Save project file", work.file("again"), true, "again.ini");

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

int main(int argc, char **argv) {
  ::testing::InitGoogleTest(&argc, argv);
  // Nothing of this program may reach the real home, whatever the session does.
  static TempDir home;
  for (const char *variable : {"HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME"})
    setenv(variable, home.path().c_str(), 1);
  return RUN_ALL_TESTS();
}
