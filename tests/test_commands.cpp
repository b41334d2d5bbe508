// The File menu's picture and project commands on the real main window, with real
// choosers and real files: border colours, reload, palette changes, opening projects
// (moved pictures, missing pictures, broken files), the save-name rules and the saved text.
#include <glib/gstdio.h>

#include <string>
#include <vector>

#include "callbacks.h"
#include "controls.h"
#include "file_dialogs.h"
#include "options.h"

namespace {

using Handler = void (*)(GtkMenuItem *, gpointer);

// The first `count` lines of a text that are not empty.
std::vector<std::string> text_lines(const std::string &text, size_t count) {
  std::vector<std::string> lines;
  gchar **split = g_strsplit(text.c_str(), "\n", -1);
  for (gchar **line = split; *line && lines.size() < count; line++)
    if (**line) lines.push_back(*line);
  g_strfreev(split);
  return lines;
}

std::string uri_of(const std::string &path) { return "file://" + path; }

class Commands : public ::testing::Test {
 protected:
  void SetUp() override {
    start_app();
    close_error_boxes();
    g_free(utf8_path_and_filename_project);
    utf8_path_and_filename_project = nullptr;
    write_file(dir.file("pic.art"), art_studio_picture(14, 18));
    write_file(dir.file("koala.kla"), koala_picture());
  }

  // Runs a menu command whose chooser is answered by picking `path`.
  static void run_choosing(Handler handler, const std::string &path) {
    answer_next_dialog(GTK_RESPONSE_OK, [path](GtkWidget *dialog) { choose_path(dialog, path); });
    handler(nullptr, nullptr);
    pump_events();
  }

  static std::string picture_path() { return utf8_path_and_filename_picture ? utf8_path_and_filename_picture : ""; }
  static std::string project_path() { return utf8_path_and_filename_project ? utf8_path_and_filename_project : ""; }

  TempDir dir;
};

TEST_F(Commands, OpeningReloadingAndRepaintingAPictureKeepTheRightBorderColour) {
  run_choosing(on_menuitem_open_picture_activate, dir.file("pic.art"));
  EXPECT_EQ(picture_loaded, 1);
  EXPECT_EQ(border_color_index, 2);  // 18 stored
  EXPECT_EQ(status_text(), " Info: Picture opened");
  EXPECT_EQ(window_title(), "Quillbar - pic.art");
  EXPECT_NE(read_text(utf8_path_configfile).find(uri_of(dir.path())), std::string::npos);

  border_color_index = 9;
  run_choosing(on_menuitem_open_picture_activate, dir.file("koala.kla"));
  EXPECT_EQ(border_color_index, 9);  // Koala stores no border
  EXPECT_EQ(picture_path(), dir.file("koala.kla"));

  open_picture(dir.file("pic.art").c_str(), 1);
  border_color_index = 9;
  on_menuitem_reload_picture_activate(nullptr, nullptr);
  EXPECT_EQ(border_color_index, 2);
  EXPECT_EQ(status_text(), " Info: Picture reloaded");

  border_color_index = 9;
  for (auto [item, palette] :
       {std::pair{"menuitem_palette_high_contrast", 1}, std::pair{"menuitem_palette_peptos", 0}}) {
    gtk_menu_item_activate(GTK_MENU_ITEM(lookup_widget(window_main, item)));
    EXPECT_EQ(options_palette, palette);
    EXPECT_EQ(border_color_index, 9);
    EXPECT_EQ(picture_loaded, 1);
    ASSERT_NE(pixbuf_picture, nullptr);
    EXPECT_EQ(pixel_at(pixbuf_picture, 100, 100), rgb_of(14)) << item;
  }

  // A file that is no picture: error, no picture, the old path kept; reload then does nothing.
  write_text(dir.file("junk.art"), "junk");
  run_choosing(on_menuitem_open_picture_activate, dir.file("junk.art"));
  EXPECT_EQ(picture_loaded, 0);
  EXPECT_EQ(pixbuf_picture, nullptr);
  EXPECT_EQ(status_text(), " Error: Unknown picture format");
  EXPECT_EQ(close_error_boxes(), 1);
  EXPECT_EQ(picture_path(), dir.file("pic.art"));
  on_menuitem_reload_picture_activate(nullptr, nullptr);
  EXPECT_EQ(picture_loaded, 0);
}

TEST_F(Commands, OpeningProjects) {
  TempDir other;
  write_file(other.file("elsewhere.art"), art_studio_picture(3, 0));
  const int unchanged = -1;
  struct Row {
    const char *name;
    std::string text;
    int loaded;  // picture_loaded afterwards, or unchanged
    std::string picture;
    const char *title;
    int border;
    int error_boxes;
  };
  const std::vector<Row> rows = {
      // The picture moved with the project: found beside it; the project's colour wins.
      {"moved.ini", "[image]\nfile=file:///nowhere/gone/pic.art\n[colors]\nbase=21\n", 1, dir.file("pic.art"),
       "pic.art", 5, 0},
      {"stored.ini", "[image]\nfile=" + uri_of(other.file("elsewhere.art")) + "\n[colors]\nbase=-1\n", 1,
       other.file("elsewhere.art"), "elsewhere.art", 15, 0},
      {"nopicture.ini", "# made by hand\n[colors]\nbase=3\n", unchanged, other.file("elsewhere.art"),
       "nopicture.ini", 3, 0},
      {"missing.ini", "[image]\nfile=file:///nowhere/lost.art\n[colors]\nbase=4\n", 0, other.file("elsewhere.art"),
       "missing.ini", 4, 1},
      {"baduri.ini", "[image]\nfile=::no uri::\n[colors]\nbase=x\n", 0, other.file("elsewhere.art"), "baduri.ini",
       0, 1},
      {"relative.ini", "[image]\nfile=pic.art\n", 1, dir.file("pic.art"), "pic.art", 2, 0},
      {"broken.ini", "this is not a key file\n", unchanged, dir.file("pic.art"), "pic.art", 9, 1},
  };
  for (const Row &row : rows) {
    SCOPED_TRACE(row.name);
    write_text(dir.file(row.name), row.text);
    border_color_index = 9;
    const int before = picture_loaded;
    run_choosing(on_menuitem_open_project_activate, dir.file(row.name));
    EXPECT_EQ(picture_loaded, row.loaded == unchanged ? before : row.loaded);
    EXPECT_EQ(picture_path(), row.picture);
    EXPECT_EQ(window_title(), std::string("Quillbar - ") + row.title);
    EXPECT_EQ(border_color_index, row.border);
    EXPECT_EQ(close_error_boxes(), row.error_boxes);
    EXPECT_EQ(project_path(), dir.file(row.name));
    if (std::string(row.name) == "broken.ini")
      EXPECT_EQ(status_text().rfind(" Error: ", 0), 0u) << status_text();
    else
      EXPECT_EQ(status_text(), " Info: Project opened");
  }
}

TEST_F(Commands, SavingNeedsAPicture) {
  picture_loaded = 0;
  for (Handler save : {on_menuitem_save_project_activate, on_menuitem_save_project_as_activate}) {
    controls_update_main_statusbar("");
    save(nullptr, nullptr);  // a chooser shown here would never be answered
    EXPECT_EQ(status_text(), " Info: First open a picture or project");
  }
}

TEST_F(Commands, SaveAsAddsIniUnlessTheNameEndsInIni) {
  ASSERT_EQ(picture_loaded = open_picture(dir.file("pic.art").c_str(), 1), 1);
  for (auto [typed, written] : {std::pair{"work", "work.ini"}, std::pair{"work.INI", "work.INI"},
                                std::pair{"work.Ini", "work.Ini.ini"}}) {
    run_choosing(on_menuitem_save_project_as_activate, dir.file(typed));
    EXPECT_TRUE(g_file_test(dir.file(written).c_str(), G_FILE_TEST_IS_REGULAR)) << written;
    EXPECT_EQ(project_path(), dir.file(written));
    EXPECT_EQ(status_text(), " Info: Project saved");
    EXPECT_EQ(window_title(), std::string("Quillbar - ") + written);
  }
  EXPECT_FALSE(g_file_test(dir.file("work").c_str(), G_FILE_TEST_EXISTS));
}

TEST_F(Commands, FirstSaveSuggestsThePictureNameAndWritesTheHead) {
  run_choosing(on_menuitem_open_picture_activate, dir.file("koala.kla"));
  border_color_index = 11;
  std::string offered;
  answer_next_dialog(GTK_RESPONSE_OK, [&](GtkWidget *dialog) {
    settle([&] { return !chooser_filename(dialog).empty(); });
    offered = chooser_filename(dialog);
  });
  on_menuitem_save_project_activate(nullptr, nullptr);
  EXPECT_EQ(offered, dir.file("koala.ini"));
  EXPECT_EQ(project_path(), dir.file("koala.ini"));

  // The head of the file, line by line (the key-file writer's blank lines left out).
  const std::vector<std::string> head = {"# Quillbar 1.4.2 project file - do NOT edit", "[image]",
                                         "file=" + uri_of(dir.file("koala.kla")), "[colors]", "base=11"};
  EXPECT_EQ(text_lines(read_text(dir.file("koala.ini")), head.size()), head);

  // The next Save writes to the project without asking; opening it brings the colour back.
  border_color_index = 12;
  on_menuitem_save_project_activate(nullptr, nullptr);
  EXPECT_NE(read_text(dir.file("koala.ini")).find("\nbase=12\n"), std::string::npos);
  border_color_index = 1;
  run_choosing(on_menuitem_open_project_activate, dir.file("koala.ini"));
  EXPECT_EQ(border_color_index, 12);
  EXPECT_EQ(picture_path(), dir.file("koala.kla"));

  // A picture opened by a relative name is still saved as an absolute URI.
  gchar *here = g_get_current_dir();
  ASSERT_EQ(g_chdir(dir.path().c_str()), 0);
  open_picture("pic.art", 1);
  EXPECT_EQ(save_project_to_file(dir.file("relative.ini").c_str()), 1);
  g_chdir(here);
  g_free(here);
  EXPECT_NE(read_text(dir.file("relative.ini")).find("\nfile=" + uri_of(dir.file("pic.art")) + "\n"),
            std::string::npos);
}

TEST_F(Commands, SaveFailuresAreReported) {
  ASSERT_EQ(picture_loaded = open_picture(dir.file("pic.art").c_str(), 1), 1);
  g_mkdir(dir.file("taken.ini").c_str(), 0700);
  const std::string no_folder = dir.file("no/such/folder.ini");
  EXPECT_EQ(save_project_to_file(no_folder.c_str()), 0);
  EXPECT_EQ(status_text().rfind(" Error: ", 0), 0u) << status_text();
  EXPECT_EQ(close_error_boxes(), 1);

  // Save as onto a folder: reported, and the project still takes the chosen name.
  controls_update_main_statusbar("");
  run_choosing(on_menuitem_save_project_as_activate, dir.file("taken"));
  EXPECT_EQ(status_text().rfind(" Error: ", 0), 0u) << status_text();
  EXPECT_EQ(close_error_boxes(), 1);
  EXPECT_EQ(project_path(), dir.file("taken.ini"));
}

}  // namespace
