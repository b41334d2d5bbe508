// The File menu with real choosers and files; user feedback.
#include <glib/gstdio.h>

#include "bars_fixture.h"
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
  void run_choosing(Handler handler, const std::string &name) {
    answer_next_dialog(GTK_RESPONSE_OK, [this, name](GtkWidget *dialog) { choose_path(dialog, dir.file(name)); });
    handler(nullptr, nullptr);
    pump_events();
  }
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
  auto title = [] { return std::string(gtk_window_get_title(GTK_WINDOW(window_main))); };
  // A picture moved with the project is found beside it; the base colour is taken modulo 16.
  write_text(dir.file("moved.ini"), "[image]\nfile=file:///nowhere/gone/pic.art\n[colors]\nbase=21\n");
  run_choosing(on_menuitem_open_project_activate, "moved.ini");
  EXPECT_EQ(std::tie(picture_loaded, border_color_index), std::tuple(1, 5));
  EXPECT_STREQ(utf8_path_and_filename_picture, dir.file("pic.art").c_str());
  EXPECT_EQ(title(), "Quillbar - pic.art");
  // A lost picture: the title names the project; the base colour (-1 wraps) and bars are read.
  write_text(dir.file("lost.ini"),
             "[image]\nfile=file:///nowhere/lost.art\n[colors]\nbase=-1\n[left]\nstart=60;\nheight=2;\ncolor=5;\n");
  run_choosing(on_menuitem_open_project_activate, "lost.ini");
  EXPECT_EQ(title(), "Quillbar - lost.ini");
  EXPECT_EQ(std::tie(picture_loaded, border_color_index), std::tuple(0, 15));
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

// Without a picture each command that needs one only says so (a chooser would never be answered).
TEST_F(Commands, WithoutAPictureEachCommandOnlySaysSo) {
  picture_loaded = 0;
  for (const char *command : {"toolbutton_add_bar_left", "toolbutton_remove_bar_left", "toolbutton_add_bar_right",
                              "toolbutton_remove_bar_right", "toolbutton_delete_all_bars", "menuitem_save_project",
                              "menuitem_save_project_as", "menuitem_tools_ramp", "menuitem_export",
                              "menuitem_export_to_png", "menuitem_export_bar_tables", "menuitem_export_disk_image",
                              "menuitem_tools_preview", "menuitem_tools_auto_expand_picture"}) {
    controls_update_main_statusbar("");
    std::string_view(command).starts_with("tool") ? click(command) : activate(command);
    EXPECT_EQ(status_text(), " Info: First open a picture or project") << command;
  }
}

// A file Open project could not read as one (no key file; a key file with no project group) is
// not overwritten: F2 asks for a name, then saves there. Save as adds ".ini" unless given.
TEST_F(Commands, SavingNeverOverwritesAFileThatWasNotReadAsAProject) {
  std::vector<unsigned char> noisy(10003, 0xA7);
  noisy[0] = 0x00, noisy[1] = 0x60;
  write_file(dir.file("noisy.koa"), noisy);
  run_choosing(on_menuitem_open_picture_activate, "koala.kla");
  std::string offered;
  for (const std::string name : {"noisy.koa", "koala.kla"}) {
    const std::string picture = read_text(dir.file(name));
    run_choosing(on_menuitem_open_project_activate, name);
    close_error_boxes();
    EXPECT_STREQ(utf8_path_and_filename_project, dir.file(name).c_str());
    answer_save_chooser(dir.path(), "mine", &offered);
    on_menuitem_save_project_activate(nullptr, nullptr);
    pump_events();
    EXPECT_EQ(offered, name.substr(0, name.find('.')) + ".ini");
    EXPECT_EQ(read_text(dir.file(name)), picture) << name;
    EXPECT_STREQ(utf8_path_and_filename_project, dir.file("mine.ini").c_str());
    border_color_index = 13;
    on_menuitem_save_project_activate(nullptr, nullptr);  // a chooser here would never be answered
    EXPECT_NE(read_text(dir.file("mine.ini")).find("\nbase=13\n"), std::string::npos) << name;
    g_remove(dir.file("mine.ini").c_str());
  }
  for (auto [typed, written] : {std::pair{"work.INI", "work.INI"}, {"work.Ini", "work.Ini.ini"}}) {
    run_choosing(on_menuitem_save_project_as_activate, typed);
    EXPECT_TRUE(g_file_test(dir.file(written).c_str(), G_FILE_TEST_IS_REGULAR)) << written;
  }
}

// A message box shows "%" as given; names are found from any widget, menu items too, or none.
TEST_F(Commands, Feedback) {
  controls_show_message_dialog("100% of %s %d done", GTK_MESSAGE_ERROR);
  const std::vector<GtkWidget *> boxes = visible_dialogs("Error");
  ASSERT_EQ(boxes.size(), 1u);
  EXPECT_STREQ(gtk_label_get_text(GTK_LABEL(GTK_MESSAGE_DIALOG(boxes[0])->label)), "100% of %s %d done");
  gtk_widget_destroy(boxes[0]);
  GtkWidget *item = lookup_widget(window_main, "menuitem_quit");
  EXPECT_EQ(lookup_widget(item, "window_main"), window_main);
  EXPECT_EQ(lookup_widget(item, "no_such_widget"), nullptr);
}

}  // namespace
