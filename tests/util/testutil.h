// Helpers shared by the test programs: temporary folders, the application started as main()
// starts it, event pumping, pixel read-back and answering modal dialogs.
#pragma once

#include <gtest/gtest.h>
#include <gtk/gtk.h>

#include <functional>
#include <string>
#include <vector>

// A fresh folder under the system's temporary directory, removed with its contents.
class TempDir {
 public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir &) = delete;
  TempDir &operator=(const TempDir &) = delete;
  const std::string &path() const { return path_; }
  std::string file(const std::string &name) const { return path_ + "/" + name; }

 private:
  std::string path_;
};

// Runs a program (looked for in PATH): its exit status (-1 when it did not end by itself) and
// what it printed on its standard output and error.
int run(std::vector<std::string> argv, std::string *output = nullptr, std::string *errors = nullptr);

// Writes bytes or text to a file; fails the test on error.
void write_file(const std::string &path, const std::vector<unsigned char> &bytes);
void write_text(const std::string &path, const std::string &text);
std::string read_text(const std::string &path);

// Runs main()'s start-up sequence once per test program and returns the main window.
GtkWidget *start_app();

// Handles pending events until none are left (and at least `ms` milliseconds passed).
void pump_events(int ms = 0);

// What a widget shows on screen (its pending redraws handled first), an image the caller owns.
GdkPixbuf *grab_widget(GtkWidget *widget);

// The RGB value at (x, y) of an image, as 0xRRGGBB.
unsigned int pixel_at(GdkPixbuf *pixbuf, int x, int y);

// The visible dialogs, those with the given title when one is given.
std::vector<GtkWidget *> visible_dialogs(const char *title = nullptr);

// The next dialog that shows up receives `response`, after `inspect` (when given) saw it.
void answer_next_dialog(int response, std::function<void(GtkWidget *)> inspect = nullptr);

// A colour of the palette in force as 0xRRGGBB; the status bar's text; activating a menu
// item of the main window by name.
unsigned int rgb_of(int index);
std::string status_text();
void activate(const char *item);

// Path of a file in the shared read-only data folder, or "" when that folder is absent.
std::string shared_data(const std::string &name);
