// The end-to-end harness: the built editor in session.sh's X session, driven with xdotool and read
// back from the screen; every wait has a time limit. It brings the test programs' main().
#pragma once

#include <gdk/gdk.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

// Polls `done` until it holds or `seconds` have passed (generous: a busy machine draws slowly).
bool wait_for(const std::function<bool()> &done, double seconds = 20);

// Runs xdotool and returns what it printed; `ok`: whether it ended with 0.
std::string xdotool(std::vector<std::string> args, bool *ok = nullptr);
void press_keys(const std::string &keys);  // xdotool key names one after the other: "ctrl+q F3"
void type_text(const std::string &text);
void click_at(int x, int y);
std::string focused_title();  // of the top-level window that has the keyboard focus

using Rect = GdkRectangle;

// A part of the screen, in screen coordinates; at() gives 0xRRGGBB, or 0xFF000000 outside.
struct Shot {
  Rect area;
  std::shared_ptr<GdkPixbuf> image;
  unsigned at(int x, int y) const;
  std::string bytes() const;  // the pixels, to compare two shots
};
Shot grab(Rect area);  // clipped to the screen

// The editor `program` (a path, or a name in PATH) with its own `home`, started in `folder` when
// given; started() once its main window has the focus. It dies with the test program.
class App {
 public:
  App(const std::string &program, const std::string &home, const char *folder = nullptr);
  ~App();
  bool started() const { return main_ != nullptr; }
  bool wait_focus(const std::string &title) const;  // the window with exactly that title has it
  Shot shot() const;                                // the inside of the main window
  bool quit(const std::string &keys);               // the question answered Yes; true when the editor ended with 0

 private:
  GPid pid_ = -1;
  std::shared_ptr<GdkWindow> main_;
};

// Opens a chooser by its keys, types `path` into it and waits for the main window titled `title`.
void choose(const App &app, const std::string &keys, const std::string &chooser, const std::string &path,
            const std::string &title);
