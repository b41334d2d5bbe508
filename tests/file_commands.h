// Helpers for the File-menu, export and robustness tests: choosers filled in, dialogs, a fixture.
#pragma once

#include "callbacks.h"
#include "controls.h"
#include "options.h"
#include "palette.h"
#include "rasterarray.h"
#include "rastermodel.h"
#include "state.h"
#include "support.h"
#include "testutil.h"

// An Art Studio hires picture: every cell's background `paper`, border colour byte `border`.
inline std::vector<unsigned char> art_studio_picture(int paper, int border) {
  std::vector<unsigned char> bytes(9009, 0);
  bytes[1] = 0x20;
  for (int i = 8002; i < 9002; i++) bytes[i] = static_cast<unsigned char>(paper);
  bytes[9002] = static_cast<unsigned char>(border);
  return bytes;
}

// Lets the chooser catch up with what was typed into it (it sets its folder asynchronously).
inline bool settle(const std::function<bool()> &done) {
  for (int i = 0; i < 200 && !done(); i++) pump_events(5);
  return done();
}

// A string handed over by the toolkit, copied and freed.
inline std::string take(gchar *text) {
  std::string copy = text ? text : "";
  g_free(text);
  return copy;
}
inline std::string chooser_filename(GtkWidget *d) { return take(gtk_file_chooser_get_filename(GTK_FILE_CHOOSER(d))); }
inline std::string chooser_folder(GtkWidget *d) {
  return take(gtk_file_chooser_get_current_folder(GTK_FILE_CHOOSER(d)));
}

// Picks `path` in an open chooser, or types it (folder and name) into a save chooser.
inline void choose_path(GtkWidget *dialog, const std::string &path) {
  GtkFileChooser *chooser = GTK_FILE_CHOOSER(dialog);
  if (gtk_file_chooser_get_action(chooser) == GTK_FILE_CHOOSER_ACTION_SAVE) {
    const std::string folder = take(g_path_get_dirname(path.c_str()));
    gtk_file_chooser_set_current_folder(chooser, folder.c_str());
    settle([&] { return chooser_folder(dialog) == folder; });
    gtk_file_chooser_set_current_name(chooser, take(g_path_get_basename(path.c_str())).c_str());
  } else {
    gtk_file_chooser_set_filename(chooser, path.c_str());
  }
  settle([&] { return chooser_filename(dialog) == path; });
}

// Answers the next save chooser: notes the name it suggests, then types `typed` in `folder`.
inline void answer_save_chooser(const std::string &folder, const std::string &typed, std::string *suggested) {
  answer_next_dialog(GTK_RESPONSE_OK, [=](GtkWidget *dialog) {
    gtk_file_chooser_set_current_folder(GTK_FILE_CHOOSER(dialog), folder.c_str());
    settle([&] { return chooser_filename(dialog).starts_with(folder + "/"); });
    *suggested = chooser_filename(dialog).substr(folder.size() + 1);
    choose_path(dialog, folder + "/" + typed);
  });
}

// The project's and the picture's file names, as opening them sets them.
inline void set_file_names(const char *project, const char *picture) {
  g_free(utf8_path_and_filename_project);
  utf8_path_and_filename_project = g_strdup(project);
  g_free(utf8_path_and_filename_picture);
  utf8_path_and_filename_picture = g_strdup(picture);
}

// Closes every open error box and returns how many there were.
inline int close_error_boxes() {
  const std::vector<GtkWidget *> boxes = visible_dialogs("Error");
  for (GtkWidget *box : boxes) gtk_widget_destroy(box);
  return boxes.size();
}

// The started application with a picture marked as loaded, border colour 6 and no bars.
class ExportTest : public ::testing::Test {
 protected:
  void SetUp() override {
    start_app();
    picture_loaded = interface_extended = 1;
    border_color_index = 6;
    options_reencode_graphics = 0;
    rastermodel_delete_all_bars();
    rasterarray_delete_all_bars();
    close_error_boxes();
    controls_update_main_statusbar("");
  }
  TempDir dir;
};
