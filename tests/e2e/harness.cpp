// The end-to-end harness: xdotool input, screen read-back, the editor's process, main().
#include "harness.h"

#include <gtest/gtest.h>
#include <gtk/gtk.h>
#include <sys/prctl.h>
#include <sys/wait.h>

#include <csignal>

#include "testutil.h"

bool wait_for(const std::function<bool()> &done, double seconds) {
  for (const gint64 until = g_get_monotonic_time() + static_cast<gint64>(seconds * 1e6); !done(); g_usleep(5000))
    if (g_get_monotonic_time() > until) return false;
  return true;
}

std::string xdotool(std::vector<std::string> args, bool *ok) {
  args.insert(args.begin(), "xdotool");
  std::string output;
  const int status = run(args, &output);
  if (ok) *ok = status == 0;
  return output;
}

static void input(const std::vector<std::string> &args) {
  bool ok = false;
  xdotool(args, &ok);
  EXPECT_TRUE(ok) << args[0] << " " << args.back();
}

void press_keys(const std::string &keys) {
  std::vector<std::string> args = {"key", "--clearmodifiers", "--delay", "30"};
  g_auto(GStrv) names = g_strsplit(keys.c_str(), " ", -1);
  args.insert(args.end(), names, names + g_strv_length(names));
  input(args);
}
void type_text(const std::string &text) { input({"type", "--clearmodifiers", "--delay", "8", text}); }
void click_at(int x, int y) { input({"mousemove", std::to_string(x), std::to_string(y), "click", "1"}); }

std::string focused_title() {
  const std::string title = xdotool({"getwindowfocus", "getwindowname"});
  return title.substr(0, title.find('\n'));
}

unsigned Shot::at(int x, int y) const {
  const int dx = x - area.x, dy = y - area.y;
  if (!image || dx < 0 || dy < 0 || dx >= area.width || dy >= area.height) return 0xFF000000;
  return pixel_at(image.get(), dx, dy);
}

std::string Shot::bytes() const {
  const auto *pixels = image ? reinterpret_cast<const char *>(gdk_pixbuf_get_pixels(image.get())) : "";
  return std::string(pixels, image ? gdk_pixbuf_get_rowstride(image.get()) * area.height : 0);
}

Shot grab(Rect a) {
  GdkWindow *root = gdk_get_default_root_window();
  Rect screen{0, 0, 0, 0};
  gdk_drawable_get_size(root, &screen.width, &screen.height);
  GdkPixbuf *image = gdk_rectangle_intersect(&screen, &a, &a)
                         ? gdk_pixbuf_get_from_drawable(nullptr, root, nullptr, a.x, a.y, 0, 0, a.width, a.height)
                         : nullptr;
  return {a, std::shared_ptr<GdkPixbuf>(image, [](GdkPixbuf *p) { p ? g_object_unref(p) : void(); })};
}

// A window just started may lack the focus or not be shown yet: it is activated every second or so.
App::App(const std::string &program, const std::string &home, const char *folder) {
  g_auto(GStrv) env = g_environ_setenv(g_get_environ(), "HOME", home.c_str(), TRUE);  // XDG_* unset by main()
  char *argv[] = {const_cast<char *>(program.c_str()), nullptr};
  auto die_with_parent = [](gpointer) { prctl(PR_SET_PDEATHSIG, SIGKILL); };
  EXPECT_TRUE(g_spawn_async(folder, argv, env, GSpawnFlags(G_SPAWN_DO_NOT_REAP_CHILD | G_SPAWN_SEARCH_PATH),
                            die_with_parent, nullptr, &pid_, nullptr));
  int looks = 0;
  if (wait_for([&] {
        if (++looks % 100 == 0) xdotool({"search", "--name", "^Quillbar - ", "windowmap", "windowactivate"});
        return focused_title().starts_with("Quillbar");
      }))
    main_.reset(gdk_window_foreign_new(std::stoul("0" + xdotool({"getwindowfocus"}))),
                [](GdkWindow *w) { w ? g_object_unref(w) : void(); });
}

App::~App() {
  if (pid_ > 0 && kill(pid_, SIGKILL) == 0) waitpid(pid_, nullptr, 0);
}

bool App::wait_focus(const std::string &title) const {
  return wait_for([&] { return focused_title() == title; });
}

Shot App::shot() const {
  Rect r{};
  gdk_window_get_origin(main_.get(), &r.x, &r.y);
  gdk_window_get_geometry(main_.get(), nullptr, nullptr, &r.width, &r.height, nullptr);
  return grab(r);
}

bool App::quit(const std::string &keys) {
  press_keys(keys);
  if (!wait_focus("Confirmation request")) return false;
  press_keys("alt+y");
  int status = -1;
  if (!wait_for([&] { return waitpid(pid_, &status, WNOHANG) == pid_; })) return false;
  pid_ = -1;
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

void choose(const App &app, const std::string &keys, const std::string &chooser, const std::string &path,
            const std::string &title) {
  press_keys(keys);
  ASSERT_TRUE(app.wait_focus(chooser));
  if (!chooser.starts_with("Save")) {
    const std::string before = grab({0, 0, 1 << 14, 1 << 14}).bytes();
    type_text(path.substr(0, 1));
    ASSERT_TRUE(wait_for([&] { return grab({0, 0, 1 << 14, 1 << 14}).bytes() != before; })) << "no location field";
  }
  press_keys("ctrl+a");
  type_text(path);
  press_keys("Return");
  ASSERT_TRUE(app.wait_focus("Quillbar - " + title)) << chooser << " " << path;
}

namespace {
// Leaves the whole X screen in e2e-shots/ at each failure, for a human to look at.
struct ScreenAtFailure : testing::EmptyTestEventListener {
  void OnTestPartResult(const testing::TestPartResult &result) override {
    static int failures = 0;
    if (!result.failed()) return;
    const Shot screen = grab({0, 0, 1 << 14, 1 << 14});
    g_mkdir_with_parents("e2e-shots", 0700);
    const std::string name = "e2e-shots/failure-" + std::to_string(++failures) + ".png";
    if (screen.image) gdk_pixbuf_save(screen.image.get(), name.c_str(), "png", nullptr, nullptr);
  }
};
}  // namespace

// Nothing may reach the real home; the editor speaks English (its keys are pressed by mnemonics).
int main(int argc, char **argv) {
  ::testing::InitGoogleTest(&argc, argv);
  static TempDir home;
  setenv("HOME", home.path().c_str(), 1);
  for (const char *variable : {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME", "XDG_STATE_HOME"})
    unsetenv(variable);  // they follow HOME, the editor's as well
  setenv("LC_ALL", "C.UTF-8", 1);
  setenv("NO_AT_BRIDGE", "1", 1);
  if (!gtk_init_check(&argc, &argv)) {
    fprintf(stderr, "no X session: run the program through session.sh\n");
    return 1;
  }
  testing::UnitTest::GetInstance()->listeners().Append(new ScreenAtFailure);
  return RUN_ALL_TESTS();
}
