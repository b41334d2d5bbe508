// The end-to-end harness: the private X server and window manager, the program's process,
// xdotool input and read-back of windows and pixels (see harness.h).
#include "harness.h"

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <gtk/gtk.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <map>

namespace {

constexpr int kDisplayWidth = 1920, kDisplayHeight = 1440;
constexpr double kPoll = 0.005;  // seconds between two looks at a condition

// The private X server and window manager, started once; this program's toolkit uses it too.
struct Session {
  std::unique_ptr<Child> server, manager;
  Display *x = nullptr;
  std::string name;
  TempDir home;
  Session();
  ~Session() {
    if (x) XCloseDisplay(x);
  }
  // The environment of a process that runs on this server with `home` as its home.
  std::vector<std::string> environment(const std::string &home) const {
    std::vector<std::string> env = {"HOME=" + home,
                                    "XDG_CONFIG_HOME=" + home + "/.config",
                                    "XDG_DATA_HOME=" + home + "/.local/share",
                                    "XDG_CACHE_HOME=" + home + "/.cache",
                                    "DISPLAY=" + name,
                                    "NO_AT_BRIDGE=1",
                                    "LANG=C.UTF-8",
                                    "LC_ALL=C.UTF-8"};
    // PATH, and in a sanitizer build the sanitizers' settings (scripts/check turns leak
    // reports off: the toolkit keeps allocations to the end).
    for (const char *variable : {"PATH", "ASAN_OPTIONS", "UBSAN_OPTIONS"})
      if (const char *value = g_getenv(variable)) env.push_back(std::string(variable) + "=" + value);
    return env;
  }
};

Session &session() {
  static Session s;
  return s;
}

Display *server = nullptr;  // the session's connection, once it is open

XErrorHandler toolkit_handler = nullptr;
int on_x_error(Display *display, XErrorEvent *event) {
  return display == server || !toolkit_handler ? 0 : toolkit_handler(display, event);
}

std::vector<char *> c_strings(const std::vector<std::string> &strings) {
  std::vector<char *> out;
  for (const std::string &s : strings) out.push_back(const_cast<char *>(s.c_str()));
  out.push_back(nullptr);
  return out;
}

// Runs an X tool on the session's server and waits for it; true when it ended with 0.
bool run_tool(const std::vector<std::string> &argv) {
  return Child(argv, session().environment(g_get_home_dir())).wait_exit(kWait) == 0;
}

Window root() { return DefaultRootWindow(server); }

// A window property as longs (32-bit formats), or into `text` (8-bit formats).
std::vector<unsigned long> property(Window w, const char *name, Atom type, std::string *text = nullptr) {
  Atom actual = None;
  int format = 0;
  unsigned long count = 0, after = 0;
  unsigned char *data = nullptr;
  std::vector<unsigned long> values;
  if (XGetWindowProperty(server, w, XInternAtom(server, name, False), 0, 65536, False, type, &actual, &format, &count,
                         &after, &data) != Success ||
      !data)
    return values;
  if (format == 32)
    values.assign(reinterpret_cast<unsigned long *>(data), reinterpret_cast<unsigned long *>(data) + count);
  if (format == 8 && text) text->assign(reinterpret_cast<char *>(data), count);
  XFree(data);
  return values;
}

std::string title_of(Window w) {
  std::string title;
  if (w) property(w, "_NET_WM_NAME", XInternAtom(server, "UTF8_STRING", False), &title);
  return title;
}

// Whether the keyboard focus is in `w` or a window inside it.
bool has_focus(Window w) {
  Window focus = 0;
  int revert = 0;
  XGetInputFocus(server, &focus, &revert);
  for (Window at = focus; focus > PointerRoot && at && at != root();) {
    if (at == w) return true;
    Window r = 0, *children = nullptr;
    unsigned int n = 0;
    if (!XQueryTree(server, at, &r, &at, &children, &n)) return false;
    if (children) XFree(children);
  }
  return false;
}

Rect inside_of(Window w) {
  XWindowAttributes attributes{};
  int rx = 0, ry = 0;
  Window child = 0;
  if (!w || !XGetWindowAttributes(server, w, &attributes) ||
      !XTranslateCoordinates(server, w, root(), 0, 0, &rx, &ry, &child))
    return {};
  return {rx, ry, attributes.width, attributes.height};
}

// Pixels whose brightness is below half: the ink of black text on the toolkit's grey.
bool dark(uint32_t rgb) { return ((rgb >> 16 & 255) * 3 + (rgb >> 8 & 255) * 6 + (rgb & 255)) < 1280; }

struct Ink {
  int width = 0, height = 0;
  std::vector<bool> dots;
  bool operator==(const Ink &) const = default;
};

// The ink of a shot, cropped to its bounding box.
Ink ink_of(const Shot &s) {
  const Rect &a = s.area;
  int x0 = a.x + a.width, y0 = a.y + a.height, x1 = -1, y1 = -1;
  for (int y = a.y; y < a.y + a.height; y++)
    for (int x = a.x; x < a.x + a.width; x++)
      if (dark(s.at(x, y))) x0 = std::min(x0, x), y0 = std::min(y0, y), x1 = std::max(x1, x), y1 = std::max(y1, y);
  Ink ink;
  if (x1 < 0) return ink;
  ink.width = x1 - x0 + 1, ink.height = y1 - y0 + 1;
  for (int y = y0; y <= y1; y++)
    for (int x = x0; x <= x1; x++) ink.dots.push_back(dark(s.at(x, y)));
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
    return ink.width > 0;
  });
  gtk_widget_destroy(popup);
  while (gtk_events_pending()) gtk_main_iteration_do(FALSE);
  return cache[text] = ink;
}

}  // namespace

bool wait_for(const std::function<bool()> &done, double seconds) {
  const gint64 until = g_get_monotonic_time() + static_cast<gint64>(seconds * 1e6);
  while (!done()) {
    if (g_get_monotonic_time() > until) return false;
    g_usleep(static_cast<gulong>(kPoll * 1e6));
  }
  return true;
}

Child::Child(const std::vector<std::string> &argv, const std::vector<std::string> &env, int *out) {
  std::vector<char *> args = c_strings(argv), envp = c_strings(env);
  GError *error = nullptr;
  const GSpawnFlags flags = GSpawnFlags(G_SPAWN_DO_NOT_REAP_CHILD | G_SPAWN_SEARCH_PATH | G_SPAWN_STDERR_TO_DEV_NULL |
                                        (out ? 0 : G_SPAWN_STDOUT_TO_DEV_NULL));
  auto die_with_parent = [](gpointer) { prctl(PR_SET_PDEATHSIG, SIGKILL); };
  if (!g_spawn_async_with_pipes(nullptr, args.data(), envp.data(), flags, die_with_parent, nullptr, &pid, nullptr, out,
                                nullptr, &error)) {
    ADD_FAILURE() << "cannot start " << argv[0] << ": " << error->message;
    g_error_free(error);
    pid = -1;
  }
}

Child::~Child() {
  for (int signal : {SIGTERM, SIGKILL})
    if (pid > 0 && kill(pid, signal) == 0) wait_exit(2.0);
}

int Child::wait_exit(double seconds) {
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

Session::Session() {
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
  if (number.find('\n') == std::string::npos || !(x = ::server = XOpenDisplay(name.c_str()))) {
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
  toolkit_handler = XSetErrorHandler(on_x_error);
}

bool session_ready() { return session().x != nullptr; }

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

Shot grab(const Rect &wanted) {
  // Clipped to the screen; a window that has just gone gives an empty shot.
  const int x0 = std::max(wanted.x, 0), y0 = std::max(wanted.y, 0);
  Shot shot{{x0, y0, std::max(0, std::min(wanted.x + wanted.width, kDisplayWidth) - x0),
             std::max(0, std::min(wanted.y + wanted.height, kDisplayHeight) - y0)},
            {}};
  const Rect &a = shot.area;
  XImage *image =
      a.width && a.height ? XGetImage(server, root(), a.x, a.y, a.width, a.height, AllPlanes, ZPixmap) : nullptr;
  if (!image) return shot;
  for (int y = 0; y < a.height; y++)
    for (int x = 0; x < a.width; x++) shot.pixels.push_back(XGetPixel(image, x, y) & 0xFFFFFF);
  XDestroyImage(image);
  return shot;
}

Shot grab_screen() { return grab({0, 0, kDisplayWidth, kDisplayHeight}); }

void Shot::save(const std::string &path) const {
  GdkPixbuf *image = gdk_pixbuf_new(GDK_COLORSPACE_RGB, FALSE, 8, area.width, area.height);
  for (int y = 0; y < area.height; y++)
    for (int x = 0; x < area.width; x++) {
      const uint32_t rgb = at(area.x + x, area.y + y);
      guchar *q = gdk_pixbuf_get_pixels(image) + y * gdk_pixbuf_get_rowstride(image) + x * 3;
      q[0] = rgb >> 16 & 255, q[1] = rgb >> 8 & 255, q[2] = rgb & 255;
    }
  gdk_pixbuf_save(image, path.c_str(), "png", nullptr, nullptr);
  g_object_unref(image);
}

App::App(const std::string &home) {
  child_ = std::make_unique<Child>(std::vector<std::string>{QUILLBAR_PROGRAM}, session().environment(home));
  XWindow shown = 0;
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

// With an empty title, the main window: the one whose title begins with the program's name.
XWindow App::find(const std::string &title) const {
  XSync(server, False);
  for (unsigned long w : property(root(), "_NET_CLIENT_LIST", XA_WINDOW)) {
    const std::vector<unsigned long> pid = property(w, "_NET_WM_PID", XA_CARDINAL);
    XWindowAttributes attributes;
    const std::string name = title_of(w);
    if (!pid.empty() && static_cast<int>(pid[0]) == child_->pid && XGetWindowAttributes(server, w, &attributes) &&
        attributes.map_state == IsViewable && (title.empty() ? name.starts_with("Quillbar") : name == title))
      return w;
  }
  return 0;
}

std::string App::title() const { return title_of(main_); }
bool App::wait_window(const std::string &title) const {
  return wait_for([&] { return has_focus(find(title)); });
}
bool App::wait_main_focus() const {
  return wait_for([&] { return has_focus(main_); });
}
Rect App::client(const std::string &title) const { return inside_of(title.empty() ? main_ : find(title)); }

bool App::status_shows(const std::string &text, bool whole, double seconds) const {
  // The status bar: the bottom strip inside a dark frame line (found up the left side), less
  // the frame and the resize grip; looked for every time, as the window may not be drawn yet.
  constexpr int kGrip = 24;
  const Rect c = client();
  const Ink &expected = reference_ink(text);
  return wait_for(
      [&] {
        const Shot edge = grab({c.x + 1, c.y, 1, c.height});
        int top = c.y + c.height - 2;
        while (top > c.y && dark(edge.at(c.x + 1, top - 1))) top--;
        const Shot strip = grab({c.x + 2, top + 1, c.width - kGrip, c.y + c.height - 3 - top});
        const Ink shown = ink_of(strip);
        if (whole || shown.width < expected.width) return shown == expected;
        // A beginning: the expected ink at the left end of the shown ink, at some height.
        for (int top = 0; top + expected.height <= shown.height; top++) {
          bool same = true;
          for (int y = 0; y < expected.height && same; y++)
            for (int x = 0; x < expected.width && same; x++)
              same = shown.dots[(top + y) * shown.width + x] == expected.dots[y * expected.width + x];
          if (same) return true;
        }
        return false;
      },
      seconds);
}

bool App::error_box(const std::string &status, bool whole) const {
  if (!wait_window("Error")) return false;
  press_keys("Return");
  return wait_gone("Error") && status_shows(status, whole);
}

bool App::quit() {
  if (!wait_main_focus()) return false;
  press_keys("ctrl+q");
  if (!wait_window("Confirmation request")) return false;
  press_keys("alt+y");
  main_ = 0;
  return child_->wait_exit(kWait) == 0;
}

int main(int argc, char **argv) {
  ::testing::InitGoogleTest(&argc, argv);
  // Nothing of this program may reach the real home, whatever the session does.
  static TempDir home;
  for (const char *variable : {"HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME"})
    setenv(variable, home.path().c_str(), 1);
  return RUN_ALL_TESTS();
}
