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

Display *server = nullptr;  // the session's connection, once it is open

XErrorHandler toolkit_handler = nullptr;
int on_x_error(Display *display, XErrorEvent *event) {
  if (display == server || !toolkit_handler) return 0;
  return toolkit_handler(display, event);
}

// The child dies with the test program, however that ends.
void die_with_parent(gpointer) { prctl(PR_SET_PDEATHSIG, SIGKILL); }

std::vector<char *> c_strings(const std::vector<std::string> &strings) {
  std::vector<char *> out;
  for (const std::string &s : strings) out.push_back(const_cast<char *>(s.c_str()));
  out.push_back(nullptr);
  return out;
}

// Runs an X tool on the session's server and waits for it; true when it ended with 0.
bool run_tool(const std::vector<std::string> &argv) {
  Child tool(argv, Session::get().environment(g_get_home_dir()));
  return tool.wait_exit(kWait) == 0;
}

Atom atom(const char *name) { return XInternAtom(server, name, False); }

// A window property as bytes (8-bit formats) or as longs (32-bit formats).
std::vector<unsigned long> property(Window w, const char *name, Atom type, std::string *text = nullptr) {
  Atom actual = None;
  int format = 0;
  unsigned long count = 0, after = 0;
  unsigned char *data = nullptr;
  std::vector<unsigned long> values;
  if (XGetWindowProperty(server, w, atom(name), 0, 65536, False, type, &actual, &format, &count, &after, &data) ==
          Success &&
      data) {
    if (format == 32)
      values.assign(reinterpret_cast<unsigned long *>(data), reinterpret_cast<unsigned long *>(data) + count);
    else if (format == 8 && text)
      text->assign(reinterpret_cast<char *>(data), count);
    XFree(data);
  }
  return values;
}

Window root() { return DefaultRootWindow(server); }

// Whether `w` is `ancestor` or lies inside it.
bool inside(Window w, Window ancestor) {
  Display *x = server;
  while (w && w != root()) {
    if (w == ancestor) return true;
    Window r = 0, parent = 0, *children = nullptr;
    unsigned int n = 0;
    if (!XQueryTree(x, w, &r, &parent, &children, &n)) return false;
    if (children) XFree(children);
    w = parent;
  }
  return false;
}

bool has_focus(Window w) {
  Window focus = 0;
  int revert = 0;
  XGetInputFocus(server, &focus, &revert);
  return focus > PointerRoot && inside(focus, w);
}

// Pixels whose brightness is below half: the ink of black text on the toolkit's grey.
struct Ink {
  int width = 0, height = 0;
  std::vector<bool> dots;
  bool operator==(const Ink &) const = default;
};

bool dark(uint32_t rgb) { return ((rgb >> 16 & 255) * 3 + (rgb >> 8 & 255) * 6 + (rgb & 255)) < 1280; }

// The ink of an image region, cropped to its bounding box.
Ink ink_of(const std::function<uint32_t(int, int)> &pixel, int width, int height) {
  int x0 = width, y0 = height, x1 = -1, y1 = -1;
  for (int y = 0; y < height; y++)
    for (int x = 0; x < width; x++)
      if (dark(pixel(x, y))) x0 = std::min(x0, x), y0 = std::min(y0, y), x1 = std::max(x1, x), y1 = std::max(y1, y);
  Ink ink;
  if (x1 < 0) return ink;
  ink.width = x1 - x0 + 1;
  ink.height = y1 - y0 + 1;
  for (int y = y0; y <= y1; y++)
    for (int x = x0; x <= x1; x++) ink.dots.push_back(dark(pixel(x, y)));
  return ink;
}

// `text` as the toolkit draws a label on this server, read back as ink.
const Ink &reference_ink(const std::string &text) {
  static std::map<std::string, Ink> cache;
  auto found = cache.find(text);
  if (found != cache.end()) return found->second;
  GtkWidget *popup = gtk_window_new(GTK_WINDOW_POPUP);  // the window manager leaves it alone
  gtk_window_move(GTK_WINDOW(popup), 0, kDisplayHeight - 40);
  GtkWidget *label = gtk_label_new(text.c_str());
  gtk_container_add(GTK_CONTAINER(popup), label);
  gtk_widget_show_all(popup);
  Ink ink;
  wait_for(
      [&] {
        while (gtk_events_pending()) gtk_main_iteration_do(FALSE);
        gdk_window_process_updates(popup->window, TRUE);
        gdk_flush();
        GdkPixbuf *image = gdk_pixbuf_get_from_drawable(nullptr, popup->window, nullptr, 0, 0, 0, 0,
                                                        popup->allocation.width, popup->allocation.height);
        if (!image) return false;
        const guchar *p = gdk_pixbuf_get_pixels(image);
        const int stride = gdk_pixbuf_get_rowstride(image), channels = gdk_pixbuf_get_n_channels(image);
        ink = ink_of(
            [&](int x, int y) {
              const guchar *q = p + y * stride + x * channels;
              return uint32_t(q[0]) << 16 | q[1] << 8 | q[2];
            },
            gdk_pixbuf_get_width(image), gdk_pixbuf_get_height(image));
        g_object_unref(image);
        return ink.width > 0;
      },
      kWait);
  gtk_widget_destroy(popup);
  while (gtk_events_pending()) gtk_main_iteration_do(FALSE);
  return cache[text] = ink;
}

}  // namespace

bool wait_for(const std::function<bool()> &done, double seconds) {
  const gint64 until = g_get_monotonic_time() + static_cast<gint64>(seconds * 1e6);
  for (;;) {
    if (done()) return true;
    if (g_get_monotonic_time() > until) return false;
    g_usleep(static_cast<gulong>(kPoll * 1e6));
  }
}

// ---------------------------------------------------------------------------------------
// Processes

Child::Child(const std::vector<std::string> &argv, const std::vector<std::string> &env, int *out) {
  std::vector<char *> args = c_strings(argv), envp = c_strings(env);
  GError *error = nullptr;
  GPid pid = -1;
  const GSpawnFlags flags = GSpawnFlags(G_SPAWN_DO_NOT_REAP_CHILD | G_SPAWN_SEARCH_PATH | G_SPAWN_STDERR_TO_DEV_NULL |
                                        (out ? 0 : G_SPAWN_STDOUT_TO_DEV_NULL));
  if (!g_spawn_async_with_pipes(nullptr, args.data(), envp.data(), flags, die_with_parent, nullptr, &pid, nullptr, out,
                                nullptr, &error)) {
    ADD_FAILURE() << "cannot start " << argv[0] << ": " << error->message;
    g_error_free(error);
    return;
  }
  pid_ = pid;
}

Child::~Child() { kill_now(); }

bool Child::running() {
  if (pid_ <= 0) return false;
  int status = 0;
  if (waitpid(pid_, &status, WNOHANG) == pid_) {
    status_ = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    pid_ = -1;
    return false;
  }
  return true;
}

int Child::wait_exit(double seconds) {
  if (!wait_for([&] { return !running(); }, seconds)) return -1;
  return status_;
}

void Child::kill_now() {
  if (!running()) return;
  kill(pid_, SIGTERM);
  if (wait_exit(2.0) == -1 && running()) {
    kill(pid_, SIGKILL);
    wait_exit(2.0);
  }
}

// ---------------------------------------------------------------------------------------
// The X server and the window manager

Session &Session::get() {
  static Session session;
  return session;
}

Session::Session() {
  int out = -1;
  const std::string size = std::to_string(kDisplayWidth) + "x" + std::to_string(kDisplayHeight) + "x24";
  server_ = std::make_unique<Child>(
      std::vector<std::string>{"Xvfb", "-displayfd", "1", "-screen", "0", size, "-nolisten", "tcp", "-noreset"},
      environment(home_.path()), &out);
  // The server writes its display number once it accepts connections.
  std::string number;
  pollfd fd{out, POLLIN, 0};
  for (int tries = 0; tries < 100 && number.find('\n') == std::string::npos; tries++) {
    if (poll(&fd, 1, 100) <= 0) continue;
    char buffer[32];
    const ssize_t n = read(out, buffer, sizeof buffer);
    if (n <= 0) break;
    number.append(buffer, n);
  }
  if (out >= 0) close(out);
  if (number.find('\n') == std::string::npos) {
    ADD_FAILURE() << "Xvfb did not start";
    return;
  }
  name_ = ":" + number.substr(0, number.find('\n'));
  display_ = server = XOpenDisplay(name_.c_str());
  if (!display_) {
    ADD_FAILURE() << "cannot open display " << name_;
    return;
  }
  manager_ = std::make_unique<Child>(std::vector<std::string>{"openbox", "--sm-disable"}, environment(home_.path()));
  if (!wait_for([&] { return !property(root(), "_NET_SUPPORTING_WM_CHECK", XA_WINDOW).empty(); }))
    ADD_FAILURE() << "the window manager did not start";
  // This program draws reference text on the same server, as the same toolkit.
  for (const std::string &variable : environment(home_.path())) putenv(g_strdup(variable.c_str()));
  if (!gtk_init_check(nullptr, nullptr)) ADD_FAILURE() << "no toolkit on " << name_;
  // The toolkit's handler ends the program on any X error; errors on this connection (a
  // window that went away while it was looked at) are expected and left to the caller.
  toolkit_handler = XSetErrorHandler(on_x_error);
}

Session::~Session() {
  if (display_) XCloseDisplay(display_);
  server = nullptr;
  manager_.reset();
  server_.reset();
}

std::vector<std::string> Session::environment(const std::string &home) const {
  std::vector<std::string> env = {"HOME=" + home,
                                  "XDG_CONFIG_HOME=" + home + "/.config",
                                  "XDG_DATA_HOME=" + home + "/.local/share",
                                  "XDG_CACHE_HOME=" + home + "/.cache",
                                  "DISPLAY=" + name_,
                                  "NO_AT_BRIDGE=1",
                                  "LANG=C.UTF-8",
                                  "LC_ALL=C.UTF-8"};
  // PATH, and in a sanitizer build the sanitizers' settings (scripts/check turns leak
  // reports off: the toolkit keeps allocations to the end).
  for (const char *name : {"PATH", "ASAN_OPTIONS", "UBSAN_OPTIONS"})
    if (const char *value = g_getenv(name)) env.push_back(std::string(name) + "=" + value);
  return env;
}

// ---------------------------------------------------------------------------------------
// Input and read-back

void press_keys(const std::string &keys) {
  std::vector<std::string> argv = {"xdotool", "key", "--clearmodifiers", "--delay", "30"};
  gchar **names = g_strsplit(keys.c_str(), " ", -1);
  for (gchar **name = names; *name; name++) argv.push_back(*name);
  g_strfreev(names);
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
  Rect area = wanted;
  area.width = std::max(0, std::min(area.x + area.width, kDisplayWidth) - std::max(area.x, 0));
  area.height = std::max(0, std::min(area.y + area.height, kDisplayHeight) - std::max(area.y, 0));
  area.x = std::max(area.x, 0);
  area.y = std::max(area.y, 0);
  Shot shot{area, {}};
  if (area.width == 0 || area.height == 0) return shot;
  XImage *image = XGetImage(server, root(), area.x, area.y, area.width, area.height, AllPlanes, ZPixmap);
  if (!image) return shot;
  shot.pixels.reserve(static_cast<size_t>(area.width) * area.height);
  for (int y = 0; y < area.height; y++)
    for (int x = 0; x < area.width; x++) shot.pixels.push_back(XGetPixel(image, x, y) & 0xFFFFFF);
  XDestroyImage(image);
  return shot;
}

Shot grab_screen() { return grab({0, 0, kDisplayWidth, kDisplayHeight}); }

void Shot::save(const std::string &path) const {
  GdkPixbuf *image = gdk_pixbuf_new(GDK_COLORSPACE_RGB, FALSE, 8, area.width, area.height);
  guchar *p = gdk_pixbuf_get_pixels(image);
  const int stride = gdk_pixbuf_get_rowstride(image);
  for (int y = 0; y < area.height; y++)
    for (int x = 0; x < area.width; x++) {
      const uint32_t rgb = pixels[static_cast<size_t>(y) * area.width + x];
      guchar *q = p + y * stride + x * 3;
      q[0] = rgb >> 16 & 255, q[1] = rgb >> 8 & 255, q[2] = rgb & 255;
    }
  gdk_pixbuf_save(image, path.c_str(), "png", nullptr, nullptr);
  g_object_unref(image);
}

// ---------------------------------------------------------------------------------------
// The program

App::App(const std::string &home) {
  child_ = std::make_unique<Child>(std::vector<std::string>{QUILLBAR_PROGRAM}, Session::get().environment(home));
  pid_ = child_->pid();
  XWindow shown = 0;
  wait_for([&] {
    for (const auto &[w, title] : windows())
      if (title.starts_with("Quillbar")) shown = w;
    return shown != 0;
  });
  // The window manager gives a new window the focus; one that has just started may not yet,
  // so the window is activated again every half second until it has it.
  int looks = 0;
  if (shown && wait_for([&] {
        if (++looks % 100 == 0) run_tool({"xdotool", "windowactivate", std::to_string(shown)});
        return has_focus(shown);
      }))
    main_ = shown;
  if (!main_) {
    Window focus = 0;
    int revert = 0;
    XGetInputFocus(server, &focus, &revert);
    ADD_FAILURE() << "the main window did not show with the focus: window " << shown << ", focus " << focus;
  }
}

App::~App() { child_.reset(); }

std::vector<std::pair<XWindow, std::string>> App::windows() const {
  std::vector<std::pair<XWindow, std::string>> found;
  Display *x = server;
  XSync(x, False);
  for (unsigned long w : property(root(), "_NET_CLIENT_LIST", XA_WINDOW)) {
    const std::vector<unsigned long> pid = property(w, "_NET_WM_PID", XA_CARDINAL);
    XWindowAttributes attributes;
    if (pid.empty() || static_cast<int>(pid[0]) != pid_ || !XGetWindowAttributes(x, w, &attributes) ||
        attributes.map_state != IsViewable)
      continue;
    std::string title;
    property(w, "_NET_WM_NAME", atom("UTF8_STRING"), &title);
    found.emplace_back(w, title);
  }
  return found;
}

std::string App::title() const {
  std::string title;
  if (main_) property(main_, "_NET_WM_NAME", atom("UTF8_STRING"), &title);
  return title;
}

bool App::wait_title(const std::string &title, double seconds) const {
  return wait_for([&] { return this->title() == title; }, seconds);
}

bool App::has_window(const std::string &title) const {
  for (const auto &[w, name] : windows())
    if (name == title) return true;
  return false;
}

bool App::wait_window(const std::string &title, double seconds) const {
  return wait_for(
      [&] {
        for (const auto &[w, name] : windows())
          if (name == title && has_focus(w)) return true;
        return false;
      },
      seconds);
}

bool App::wait_gone(const std::string &title, double seconds) const {
  return wait_for([&] { return !has_window(title); }, seconds);
}

bool App::wait_main_focus(double seconds) const {
  return wait_for([&] { return main_ && has_focus(main_); }, seconds);
}

namespace {
Rect inside_of(Window w) {
  XWindowAttributes attributes{};
  int rx = 0, ry = 0;
  Window child = 0;
  if (!w || !XGetWindowAttributes(server, w, &attributes) ||
      !XTranslateCoordinates(server, w, root(), 0, 0, &rx, &ry, &child))
    return {};
  return {rx, ry, attributes.width, attributes.height};
}
}  // namespace

Rect App::client() const { return inside_of(main_); }

Rect App::client(const std::string &title) const {
  for (const auto &[w, name] : windows())
    if (name == title) return inside_of(w);
  return {};
}

bool App::status_shows(const std::string &text, bool whole, double seconds) const {
  // The status bar is the window's bottom strip inside a dark frame line (found up the frame's
  // left side); the frame and the resize grip are left out.
  constexpr int kGrip = 24;
  const Rect c = client();
  const Ink &expected = reference_ink(text);
  return wait_for(
      [&] {
        // Looked for again every time: the window may not be drawn yet.
        const Shot edge = grab({c.x + 1, c.y, 1, c.height});
        int top = c.y + c.height - 2;
        while (top > c.y && dark(edge.at(c.x + 1, top - 1))) top--;
        const Shot strip = grab({c.x + 2, top + 1, c.width - kGrip, c.y + c.height - 2 - (top + 1)});
        auto pixel = [&](int x, int y) { return strip.at(strip.area.x + x, strip.area.y + y); };
        const Ink shown = ink_of(pixel, strip.area.width, strip.area.height);
        if (whole) return shown == expected;
        // A beginning: the expected ink at the left end of the shown ink, at some height.
        int left = strip.area.width;
        for (int y = 0; y < strip.area.height; y++)
          for (int x = 0; x < left; x++)
            if (dark(pixel(x, y))) left = x;
        if (left + expected.width > strip.area.width) return false;
        for (int top = 0; top + expected.height <= strip.area.height; top++) {
          bool same = true;
          for (int y = 0; y < expected.height && same; y++)
            for (int x = 0; x < expected.width && same; x++)
              same = dark(pixel(left + x, top + y)) == expected.dots[y * expected.width + x];
          if (same) return true;
        }
        return false;
      },
      seconds);
}

bool App::close_error_box() const {
  if (!wait_window("Error")) return false;
  press_keys("Return");
  return wait_gone("Error");
}

bool App::quit() {
  if (!wait_main_focus()) return false;
  press_keys("ctrl+q");
  if (!wait_window("Confirmation request")) return false;
  press_keys("alt+y");
  const bool ended = child_->wait_exit(kWait) == 0;
  main_ = 0;
  return ended;
}

int main(int argc, char **argv) {
  ::testing::InitGoogleTest(&argc, argv);
  // Nothing of this program may reach the real home, whatever the session does.
  static TempDir home;
  for (const char *variable : {"HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME"})
    setenv(variable, home.path().c_str(), 1);
  return RUN_ALL_TESTS();
}
