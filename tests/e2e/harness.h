// The end-to-end harness: a private X server (Xvfb) with a small window manager, the built
// quillbar program started in it with its own home folder, real input sent through the X
// server (xdotool), and what the server shows read back: window titles, focus and pixels.
// Every wait polls a condition with a time limit; every process started here is stopped when
// its owner goes, and dies with the test program.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "testutil.h"

// X's own types, kept out of this header: its macros clash with the test framework's names.
struct _XDisplay;
using XWindow = unsigned long;

// Polls `done` every few milliseconds until it holds or `seconds` have passed. The limits are
// generous: a machine busy with other work can be slow to draw, and only a failure waits.
constexpr double kWait = 20.0;
bool wait_for(const std::function<bool()> &done, double seconds = kWait);

// A process started with the given environment, killed when dropped and when the test
// program dies. With `out` set, its standard output is readable there.
class Child {
 public:
  Child(const std::vector<std::string> &argv, const std::vector<std::string> &env, int *out = nullptr);
  ~Child();
  Child(const Child &) = delete;
  Child &operator=(const Child &) = delete;
  int pid() const { return pid_; }
  bool running();                 // reaps it when it has ended
  int wait_exit(double seconds);  // its exit status, or -1 when it did not end in time
  void kill_now();

 private:
  int pid_ = -1;
  int status_ = -1;
};

struct Rect {
  int x = 0, y = 0, width = 0, height = 0;
};

// An RGB screenshot of a rectangle of the screen, in screen coordinates; pixels 0xRRGGBB.
struct Shot {
  Rect area;
  std::vector<uint32_t> pixels;
  bool contains(int x, int y) const {
    return x >= area.x && y >= area.y && x < area.x + area.width && y < area.y + area.height;
  }
  // A point outside the shot (or of a shot that failed) reads as no colour at all.
  static constexpr uint32_t kOutside = 0xFF000000;
  uint32_t at(int x, int y) const {
    if (!contains(x, y) || pixels.empty()) return kOutside;
    return pixels[static_cast<size_t>(y - area.y) * area.width + (x - area.x)];
  }
  void save(const std::string &path) const;  // as a PNG, for a human to look at
};

// The private X server and window manager, started once for the test program. The test
// program's own toolkit connection (used to render reference text) goes to it as well.
class Session {
 public:
  static Session &get();
  _XDisplay *x() const { return display_; }
  // The environment of a process that runs on this server with `home` as its home.
  std::vector<std::string> environment(const std::string &home) const;
  ~Session();

 private:
  Session();
  std::unique_ptr<Child> server_, manager_;
  _XDisplay *display_ = nullptr;
  std::string name_;
  TempDir home_;
};

// Real input through the X server, to the window that has the focus.
void press_keys(const std::string &keys);  // xdotool key names, one after the other: "ctrl+q F3 shift+Down"
void type_text(const std::string &text);
void click_at(int x, int y);

Shot grab(const Rect &area);
Shot grab_screen();  // the whole X screen

// The built program, started with its own home (HOME and XDG_CONFIG_HOME under `home`).
class App {
 public:
  explicit App(const std::string &home);
  ~App();
  bool started() const { return main_ != 0; }
  std::string title() const;
  bool wait_title(const std::string &title, double seconds = kWait) const;
  // Waits until a window of the program titled `title` is shown and has the keyboard focus.
  bool wait_window(const std::string &title, double seconds = kWait) const;
  // Waits until no window of the program is titled `title`.
  bool wait_gone(const std::string &title, double seconds = kWait) const;
  bool has_window(const std::string &title) const;
  bool wait_main_focus(double seconds = kWait) const;
  Rect client() const;                          // the main window's inside, in screen coordinates
  Rect client(const std::string &title) const;  // the inside of the program's window titled so
  Shot shot() const { return grab(client()); }
  // The status bar shows `text`, or (with `whole` false) begins with it; compared with the
  // same text drawn by the toolkit here.
  bool status_shows(const std::string &text, bool whole = true, double seconds = kWait) const;
  // Waits for an error box, then closes it with its OK button's key.
  bool close_error_box() const;
  // Quits through the menu key and the confirmation; true when the program ended with 0.
  bool quit();

 private:
  std::vector<std::pair<XWindow, std::string>> windows() const;
  std::unique_ptr<Child> child_;
  int pid_ = -1;
  XWindow main_ = 0;
};
