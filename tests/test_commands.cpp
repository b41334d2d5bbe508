// The File menu's picture and project commands on the real main window, with real
// choosers and real files: border colours, opening projects, and saving them.
#include <glib/gstdio.h>

#include "file_commands.h"

namespace {

using Handler = void (*)(GtkMenuItem *, gpointer);

class Commands : public ::testing::Test {
 protected:
  void SetUp() override {
    start_app();
    close_error_boxes();
    set_file_names(nullptr, nullptr);
    write_file(dir.file("pic.art"), art_studio_picture(14, 18));
    std::vector<unsigned char> koala(10003, 0);  // a Koala picture stores no border colour
    koala[1] = 0x60;
    write_file(dir.file("koala.kla"), koala);
  }
  // Runs a menu command whose chooser is answered by picking `name` in `dir`.
  void run_choosing(Handler handler, const std::string &name) {
    answer_next_dialog(GTK_RESPONSE_OK, [this, name](GtkWidget *dialog) { choose_path(dialog, dir.file(name)); });
    handler(nullptr, nullptr);
    pump_events();
  }
  static std::string title() { return gtk_window_get_title(GTK_WINDOW(window_main)); }
  TempDir dir;
};

TEST_F(Commands, BorderColourOnOpenReloadAndPaletteChange) {
  border_color_index = 9;
  run_choosing(on_menuitem_open_picture_activate, "koala.kla");
  EXPECT_EQ(border_color_index, 9);
  run_choosing(on_menuitem_open_picture_activate, "pic.art");
  EXPECT_EQ(border_color_index, 2);  // 18 stored
  border_color_index = 9;
  on_menuitem_reload_picture_activate(nullptr, nullptr);
  EXPECT_EQ(border_color_index, 2);

  // A palette change keeps the hand-chosen colour and draws the picture in the new colours.
  border_color_index = 9;
  for (const char *item : {"menuitem_palette_high_contrast", "menuitem_palette_peptos"}) {
    activate(item);
    EXPECT_EQ(border_color_index, 9);
    ASSERT_NE(pixbuf_picture, nullptr);
    EXPECT_EQ(pixel_at(pixbuf_picture, 100, 100), rgb_of(14)) << item;
  }
}

TEST_F(Commands, OpeningProjects) {
  // The picture moved with the project: found beside it, and the title names the picture.
  // Its base colour is taken modulo 16 after the picture's own border colour.
  write_text(dir.file("moved.ini"), "[image]\nfile=file:///nowhere/gone/pic.art\n[colors]\nbase=21\n");
  run_choosing(on_menuitem_open_project_activate, "moved.ini");
  EXPECT_EQ(picture_loaded, 1);
  EXPECT_EQ(border_color_index, 5);
  EXPECT_STREQ(utf8_path_and_filename_picture, dir.file("pic.art").c_str());
  EXPECT_EQ(title(), "Quillbar - pic.art");

  // The picture is lost: the title names the project, the base colour (-1 wraps to 15) and
  // the bars are still read.
  write_text(dir.file("lost.ini"),
             "[image]\nfile=file:///nowhere/lost.art\n[colors]\nbase=-1\n[left]\nstart=60;\nheight=2;\ncolor=5;\n");
  run_choosing(on_menuitem_open_project_activate, "lost.ini");
  EXPECT_EQ(title(), "Quillbar - lost.ini");
  EXPECT_EQ(picture_loaded, 0);
  EXPECT_EQ(border_color_index, 15);
  unsigned char left[picture_lines];
  rastermodel_get_bars_left(left, 0);
  EXPECT_EQ((std::vector<int>{left[8], left[9], left[10], left[11]}), (std::vector<int>{0, 5, 5, 0}));
  EXPECT_EQ(close_error_boxes(), 1);

  // Not a key file: an error, but the project takes the path.
  write_text(dir.file("broken.ini"), "this is not a key file\n");
  run_choosing(on_menuitem_open_project_activate, "broken.ini");
  EXPECT_TRUE(status_text().starts_with(" Error: ")) << status_text();
  EXPECT_STREQ(utf8_path_and_filename_project, dir.file("broken.ini").c_str());
}

// Save and Save as need a picture; Save as adds ".ini" unless the name ends in exactly that
// or ".INI"; a failed write is reported.
TEST_F(Commands, SaveAndSaveAs) {
  picture_loaded = 0;
  for (Handler save : {on_menuitem_save_project_activate, on_menuitem_save_project_as_activate}) {
    controls_update_main_statusbar("");
    save(nullptr, nullptr);  // a chooser shown here would never be answered
    EXPECT_EQ(status_text(), " Info: First open a picture or project");
  }
  ASSERT_EQ(picture_loaded = open_picture(dir.file("pic.art").c_str(), 1), 1);
  for (auto [typed, written] :
       {std::pair{"work", "work.ini"}, std::pair{"work.INI", "work.INI"}, std::pair{"work.Ini", "work.Ini.ini"}}) {
    run_choosing(on_menuitem_save_project_as_activate, typed);
    EXPECT_TRUE(g_file_test(dir.file(written).c_str(), G_FILE_TEST_IS_REGULAR)) << written;
  }
  EXPECT_EQ(save_project_to_file(dir.file("no/such/folder.ini").c_str()), 0);
  EXPECT_TRUE(status_text().starts_with(" Error: ") && names_file(status_text(), dir.file("no/such/folder.ini")))
      << status_text();
  EXPECT_EQ(close_error_boxes(), 1);
}

// The first Save suggests the picture's name; the file starts with its header, the picture's
// URI and the border colour.
TEST_F(Commands, FirstSaveSuggestsThePictureNameAndWritesTheHead) {
  run_choosing(on_menuitem_open_picture_activate, "koala.kla");
  border_color_index = 11;
  std::string offered;
  answer_next_dialog(GTK_RESPONSE_OK, [&](GtkWidget *dialog) { offered = suggested_name(dialog, dir.path()); });
  on_menuitem_save_project_activate(nullptr, nullptr);
  EXPECT_EQ(offered, "koala.ini");
  const std::string text = read_text(dir.file("koala.ini"));
  EXPECT_TRUE(text.starts_with("# Quillbar 1.4.2 project file - do NOT edit\n") &&
              text.find("\n[image]\nfile=file://" + dir.file("koala.kla") + "\n") != std::string::npos &&
              text.find("\n[colors]\nbase=11\n") != std::string::npos)
      << text;
}

// A file that Open project could not read as a project (a picture chosen by mistake: one
// that is no key file, one that is a key file without any project group) becomes the
// project path, but F2 asks for a name instead of overwriting it; once a name is chosen, F2
// saves there directly again.
TEST_F(Commands, SaveNeverOverwritesAFileThatWasNotReadAsAProject) {
  std::vector<unsigned char> noisy(10003, 0xA7);
  noisy[0] = 0x00;
  noisy[1] = 0x60;
  write_file(dir.file("noisy.koa"), noisy);
  run_choosing(on_menuitem_open_picture_activate, "koala.kla");
  for (const std::string name : {"noisy.koa", "koala.kla"}) {
    SCOPED_TRACE(name);
    const std::string picture = read_text(dir.file(name));
    run_choosing(on_menuitem_open_project_activate, name);
    close_error_boxes();
    EXPECT_STREQ(utf8_path_and_filename_project, dir.file(name).c_str());

    std::string offered;
    answer_save_chooser(dir.path(), "mine", &offered);
    on_menuitem_save_project_activate(nullptr, nullptr);
    pump_events();
    EXPECT_EQ(offered, name.substr(0, name.find('.')) + ".ini");
    EXPECT_EQ(read_text(dir.file(name)), picture);
    EXPECT_STREQ(utf8_path_and_filename_project, dir.file("mine.ini").c_str());

    border_color_index = 13;
    on_menuitem_save_project_activate(nullptr, nullptr);  // a chooser here would never be answered
    EXPECT_NE(read_text(dir.file("mine.ini")).find("\nbase=13\n"), std::string::npos);
    g_remove(dir.file("mine.ini").c_str());
  }
}

}  // namespace
