// Helpers for the chooser and File-menu tests: picture files built byte by byte, filling in
// a file chooser as a user would, and reading back the status bar and the error boxes.
#pragma once

#include <gtk/gtk.h>

#include <functional>
#include <string>
#include <vector>

#include "main.h"
#include "palette.h"
#include "support.h"
#include "testutil.h"

// An Art Studio hires picture ($2000, 9009 bytes): bitmap clear, every cell's background
// `paper`, border colour byte `border` at offset 9002.
inline std::vector<unsigned char> art_studio_picture(int paper, int border) {
  std::vector<unsigned char> bytes(9009, 0);
  bytes[0] = 0x00;
  bytes[1] = 0x20;
  for (int i = 8002; i < 9002; i++) bytes[i] = static_cast<unsigned char>(paper & 15);
  bytes[9002] = static_cast<unsigned char>(border);
  return bytes;
}

// A Koala multicolour picture ($6000, 10003 bytes), which stores no border colour.
inline std::vector<unsigned char> koala_picture() {
  std::vector<unsigned char> bytes(10003, 0);
  bytes[1] = 0x60;
  bytes[10002] = 6;
  return bytes;
}

// A colour of the palette in force as 0xRRGGBB.
inline unsigned int rgb_of(int index) {
  unsigned char rgb[3];
  palette_get_rgb_at_index(index, rgb);
  return rgb[0] << 16 | rgb[1] << 8 | rgb[2];
}

// Lets the chooser catch up with what was typed into it.
template <typename Done>
inline bool settle(Done done) {
  for (int i = 0; i < 200 && !done(); i++) pump_events(5);
  return done();
}

inline std::string chooser_filename(GtkWidget *dialog) {
  gchar *name = gtk_file_chooser_get_filename(GTK_FILE_CHOOSER(dialog));
  std::string result = name ? name : "";
  g_free(name);
  return result;
}

// Picks `path` in an open chooser, or types it (folder and name) into a save chooser.
inline void choose_path(GtkWidget *dialog, const std::string &path) {
  GtkFileChooser *chooser = GTK_FILE_CHOOSER(dialog);
  if (gtk_file_chooser_get_action(chooser) == GTK_FILE_CHOOSER_ACTION_SAVE) {
    gchar *folder = g_path_get_dirname(path.c_str());
    gchar *name = g_path_get_basename(path.c_str());
    gtk_file_chooser_set_current_folder(chooser, folder);
    settle([&] {
      gchar *now = gtk_file_chooser_get_current_folder(chooser);
      bool there = now && std::string(now) == folder;
      g_free(now);
      return there;
    });
    gtk_file_chooser_set_current_name(chooser, name);
    g_free(folder);
    g_free(name);
  } else {
    gtk_file_chooser_set_filename(chooser, path.c_str());
  }
  settle([&] { return chooser_filename(dialog) == path; });
}

inline std::string chooser_folder(GtkWidget *dialog) {
  gchar *folder = gtk_file_chooser_get_current_folder(GTK_FILE_CHOOSER(dialog));
  std::string result = folder ? folder : "";
  g_free(folder);
  return result;
}

inline std::string status_text() {
  GtkWidget *bar = lookup_widget(window_main, "statusbar_main");
  GList *children = gtk_container_get_children(GTK_CONTAINER(gtk_statusbar_get_message_area(GTK_STATUSBAR(bar))));
  std::string text = children && GTK_IS_LABEL(children->data) ? gtk_label_get_text(GTK_LABEL(children->data)) : "";
  g_list_free(children);
  return text;
}

inline std::string window_title() { return gtk_window_get_title(GTK_WINDOW(window_main)); }

// Closes every open error box and returns how many there were.
inline int close_error_boxes() {
  pump_events();
  std::vector<GtkWidget *> boxes;
  GList *toplevels = gtk_window_list_toplevels();
  for (GList *l = toplevels; l; l = l->next) {
    const char *title = gtk_window_get_title(GTK_WINDOW(l->data));
    if (GTK_IS_MESSAGE_DIALOG(l->data) && gtk_widget_get_visible(GTK_WIDGET(l->data)) && title &&
        std::string(title) == "Error")
      boxes.push_back(GTK_WIDGET(l->data));
  }
  g_list_free(toplevels);
  for (GtkWidget *box : boxes) gtk_widget_destroy(box);
  pump_events();
  return static_cast<int>(boxes.size());
}
