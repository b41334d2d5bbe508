// The end-to-end harness: a private Xvfb with a window manager, the built quillbar started in
// it with its own home, input through the X server (xdotool), and windows, focus and pixels
// read back. Every wait polls a condition with a time limit; every process dies with its owner.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "testutil.h"

using XWindow = unsigned long;  // X's own headers stay out: their macros clash with the test framework

// Polls `done` until it holds or `seconds` have passed. The limits are generous: a busy
// machine can be slow to draw, and only a failure waits them out.
constexpr double kWait = 20.0;
bool wait_for(const std::function<bool()> &done, double seconds = kWait);

// A process with the given environment, killed when dropped or when the test program dies;
// with `out` set, its standard output is readable there.
class Child {
 public:
  Child(const std::vector<std::string> &argv, const std::vector<std::string> &env, int *out = nullptr);
  ~Child();
  int wait_exit(double seconds);  // its exit status, or -1 when it did not end in time
  int pid = -1;

 private:
  int status_ = -1;
};

struct Rect {
  int x = 0, y = 0, width = 0, height = 0;
};

// An RGB screenshot of a rectangle of the screen, in screen coordinates; pixels 0xRRGGBB.
struct Shot {
  Rect area;
  std::vector<uint32_t> pixels;
  static constexpr uint32_t kOutside = 0xFF000000;  // what a point outside the shot reads as
  uint32_t at(int x, int y) const {
    const int dx = x - area.x, dy = y - area.y;
    if (dx < 0 || dy < 0 || dx >= area.width || dy >= area.height || pixels.empty()) return kOutside;
    return pixels[static_cast<size_t>(dy) * area.width + dx];
  }
  void save(const std::string &path) const;  // as a PNG, for a human to look at
};

// Starts the private X server and window manager once; false when they did not start.
bool session_ready();

// Real input through the X server, to the window that has the focus.
void press_keys(const std::string &keys);  // xdotool key names, one after the other: "ctrl+q F3 shift+Down"
void type_text(const std::string &text);
void click_at(int x, int y);
Shot grab(const Rect &area);
Shot grab_screen();

// The built program, started with its own home (HOME and XDG_CONFIG_HOME under `home`).
class App {
 public:
  explicit App(const std::string &home);
  bool started() const { return main_ != 0; }
  std::string title() const;
  bool wait_title(const std::string &t) const {
    return wait_for([&] { return title() == t; });
  }
  bool wait_window(const std::string &title) const;  // shown and with the keyboard focus
  bool wait_gone(const std::string &title) const {
    return wait_for([&] { return !find(title); });
  }
  bool wait_main_focus() const;
  Rect client(const std::string &title = "") const;  // the inside of a window (the main one by default)
  Shot shot() const { return grab(client()); }
  // The status bar shows `text` (or, with `whole` false, begins with it), as the toolkit draws it.
  bool status_shows(const std::string &text, bool whole = true, double seconds = kWait) const;
  // Waits for an error box, closes it with its OK key, then waits for the status bar's text.
  bool error_box(const std::string &status, bool whole = true) const;
  bool quit();  // through the menu key and the confirmation; true when it ended with 0

 private:
  XWindow find(const std::string &title) const;  // a shown window of the program, 0 for none
  std::unique_ptr<Child> child_;
  XWindow main_ = 0;
};
