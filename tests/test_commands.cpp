// The File menu's commands on the real main window with real choosers and real files (border
// colours, opening and saving projects, commands without a picture); the five file choosers
// as real dialogs; the user feedback: status bar, message boxes, the About box, and the
// question quitting asks inside a running main loop. The last test closes the main window.
#include <glib/gstdio.h>

#include "bars_fixture.h"
#include "file_commands.h"
#include "fileopen.h"

namespace {

using Handler = void (*)(GtkMenuItem *, gpointer);

struct App : ::testing::Test {
  void SetUp() override { start_app(); }
};
using Choosers = App;
using Feedback = App;
using Quit = App;

class Commands : public App {
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
  // The picture moved with the project: found beside it, and the title names the picture.
  // Its base colour is taken modulo 16 after the picture's own border colour.
  write_text(dir.file("moved.ini"), "[image]\nfile=file:///nowhere/gone/pic.art\n[colors]\nbase=21\n");
  run_choosing(on_menuitem_open_project_activate, "moved.ini");
  EXPECT_EQ(std::tie(picture_loaded, border_color_index), std::tuple(1, 5));
  EXPECT_STREQ(utf8_path_and_filename_picture, dir.file("pic.art").c_str());
  EXPECT_EQ(title(), "Quillbar - pic.art");
  // The picture is lost: the title names the project, the base colour (-1 wraps to 15) and
  // the bars are still read.
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

// Without a picture every command that needs one only says so: no chooser or question opens
// (it would never be answered) and the bars stay.
TEST_F(Commands, WithoutAPictureEachCommandOnlySaysSo) {
  activate("menuitem_interface_extended");
  set_bars(1, {{60, 1, 1}}), set_bars(0, {{70, 1, 2}});
  select_row(1, 0);
  picture_loaded = 0;
  for (const char *command :
       {"toolbutton_add_bar_left", "toolbutton_remove_bar_left", "toolbutton_add_bar_right",
        "toolbutton_remove_bar_right", "toolbutton_delete_all_bars", "menuitem_save_project",
        "menuitem_save_project_as", "menuitem_tools_ramp", "menuitem_export", "menuitem_export_to_png"}) {
    controls_update_main_statusbar("");
    std::string_view(command).starts_with("tool") ? click(command) : activate(command);
    EXPECT_EQ(status_text(), " Info: First open a picture or project") << command;
  }
  EXPECT_EQ(bars(1), (Bars{{60, 1, 1}}));
  EXPECT_EQ(bars(0), (Bars{{70, 1, 2}}));
}

// Save as adds ".ini" unless the name ends in exactly that or ".INI"; a failed write is reported.
TEST_F(Commands, SaveAs) {
  ASSERT_EQ(picture_loaded = open_picture(dir.file("pic.art").c_str(), 1), 1);
  for (auto [typed, written] :
       {std::pair{"work", "work.ini"}, {"work.INI", "work.INI"}, {"work.Ini", "work.Ini.ini"}}) {
    run_choosing(on_menuitem_save_project_as_activate, typed);
    EXPECT_TRUE(g_file_test(dir.file(written).c_str(), G_FILE_TEST_IS_REGULAR)) << written;
  }
  EXPECT_EQ(save_project_to_file(dir.file("no/such/folder.ini").c_str()), 0);
  EXPECT_TRUE(status_text().starts_with(" Error: ") && names_file(status_text(), dir.file("no/such/folder.ini")))
      << status_text();
  EXPECT_EQ(close_error_boxes(), 1);
}

// The first Save suggests the picture's name and writes the header, the picture's URI and the
// border colour. A file that Open project could not read as a project (a picture chosen by
// mistake: one that is no key file, one that is a key file without any project group) becomes
// the project path, but F2 asks for a name instead of overwriting it; once a name is chosen,
// F2 saves there directly again.
TEST_F(Commands, SavingSuggestsANameAndNeverOverwritesAFileThatWasNotReadAsAProject) {
  std::vector<unsigned char> noisy(10003, 0xA7);
  noisy[0] = 0x00, noisy[1] = 0x60;
  write_file(dir.file("noisy.koa"), noisy);
  run_choosing(on_menuitem_open_picture_activate, "koala.kla");
  border_color_index = 11;
  std::string offered;
  answer_save_chooser(dir.path(), "koala.ini", &offered);
  on_menuitem_save_project_activate(nullptr, nullptr);
  EXPECT_EQ(offered, "koala.ini");
  const std::string text = read_text(dir.file("koala.ini"));
  EXPECT_TRUE(text.starts_with("# Quillbar 1.4.2 project file - do NOT edit\n") &&
              text.find("\n[image]\nfile=file://" + dir.file("koala.kla") + "\n") != std::string::npos &&
              text.find("\n[colors]\nbase=11\n") != std::string::npos)
      << text;
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
}

const std::string kAll = "  All files (*) ", kProjects = "  Project files (.ini) ";
const std::string kImages =
    "  Supported image files (.ip64h;.ish;.aas;.art;.hpi;.dd;.ddl;.ocp;.art;.a64;.blp;.pi;.koa;.kla;.vid;.pet) ";
const std::string kPicturePrg = "  Image files as non-executable PRG files (.prg) ";

// What the last chooser showed: `name` is a save chooser's suggestion, `folder` is noted by pick().
struct Seen {
  std::string title, active;
  std::vector<std::string> filters;
  bool overwrite;
  std::string name, folder;
} seen;

// Answers the next chooser with `response` after noting what it shows and letting `act` work on it.
void answer(int response, std::function<void(GtkWidget *)> act = nullptr) {
  answer_next_dialog(response, [act](GtkWidget *dialog) {
    GtkFileChooser *chooser = GTK_FILE_CHOOSER(dialog);
    seen = {};
    seen.title = gtk_window_get_title(GTK_WINDOW(dialog));
    seen.active = gtk_file_filter_get_name(gtk_file_chooser_get_filter(chooser));
    GSList *filters = gtk_file_chooser_list_filters(chooser);
    for (GSList *l = filters; l; l = l->next)
      seen.filters.push_back(gtk_file_filter_get_name(GTK_FILE_FILTER(l->data)));
    g_slist_free(filters);
    seen.overwrite = gtk_file_chooser_get_do_overwrite_confirmation(chooser);
    if (seen.overwrite) seen.name = suggested_name(dialog, test_config_home());
    if (act) act(dialog);
  });
}

// Notes the folder the chooser opened in, then picks `path` through its filter number `filter`.
std::function<void(GtkWidget *)> pick(int filter, const std::string &path) {
  return [=](GtkWidget *dialog) {
    settle([&] { return !chooser_folder(dialog).empty(); });
    seen.folder = chooser_folder(dialog);
    GSList *filters = gtk_file_chooser_list_filters(GTK_FILE_CHOOSER(dialog));
    gtk_file_chooser_set_filter(GTK_FILE_CHOOSER(dialog), GTK_FILE_FILTER(g_slist_nth_data(filters, filter)));
    g_slist_free(filters);
    choose_path(dialog, path);
  };
}

// Each chooser, cancelled after a look: its title, its filters in order with the first one
// active, and for the save choosers overwrite confirmation and the suggested name in place.
TEST_F(Choosers, TitlesFiltersAndSuggestedNames) {
  const struct {
    std::function<int(char **)> run;
    std::string title;
    std::vector<std::string> filters;
    std::string name;
  } rows[] = {
      // clang-format off
      {fileopen_open_picture_file, "Select a picture file", {kImages, kPicturePrg, kAll}, ""},
      {fileopen_open_project_file, "Open a project file", {kProjects, kAll}, ""},
      {[](char **p) { return fileopen_save_project_file("work", p); }, "Save project file", {kProjects, kAll}, "work"},
      {[](char **p) { return fileopen_save_png_file("shot.png", p); }, "Save screenshot file", {"  PNG files (.png) ", kAll}, "shot.png"},
      {[](char **p) { return fileopen_save_executable_file("x", p); }, "Save executable file", {"  PRG files (.prg) ", kAll}, "x"},
      // clang-format on
  };
  for (const auto &row : rows) {
    answer(GTK_RESPONSE_CANCEL);
    char *path = nullptr;
    EXPECT_EQ(row.run(&path), 0);
    EXPECT_EQ(std::tie(seen.title, seen.filters, seen.active, seen.name, seen.overwrite),
              std::make_tuple(row.title, row.filters, row.filters[0], row.name, !row.name.empty()));
  }
}

TEST_F(Choosers, PictureChooserRemembersItsFilterAndSharesItsFolderWithProjects) {
  TempDir a, b;
  write_text(a.file("pic.prg"), "#");
  write_text(b.file("proj.ini"), "#");
  char *path = nullptr;
  answer(GTK_RESPONSE_OK, pick(1, a.file("pic.prg")));
  EXPECT_EQ(fileopen_open_picture_file(&path), 1);
  // Cancelling: the out-parameter, the filter memory and the folder are kept.
  char *const untouched = path;
  answer(GTK_RESPONSE_CANCEL, pick(2, b.file("proj.ini")));
  EXPECT_EQ(fileopen_open_picture_file(&path), 0);
  EXPECT_EQ(path, untouched);
  EXPECT_EQ(std::tie(seen.active, seen.folder), std::tie(kPicturePrg, a.path()));
  EXPECT_STREQ(options_picture_dir_string, a.path().c_str());
  // Accepting the project chooser moves the folder the picture chooser opens in.
  answer(GTK_RESPONSE_OK, pick(0, b.file("proj.ini")));
  EXPECT_EQ(fileopen_open_project_file(&path), 1);
  answer(GTK_RESPONSE_CANCEL, pick(0, a.file("pic.prg")));
  fileopen_open_picture_file(&path);
  EXPECT_EQ(std::tie(seen.active, seen.folder), std::tie(kPicturePrg, b.path()));
  g_free(path);
}

TEST_F(Choosers, PreviewShowsC64PicturesOnly) {
  TempDir dir;
  write_file(dir.file("pic.art"), art_studio_picture(7, 0));
  write_text(dir.file("notes.art"), "not a picture");
  g_mkdir(dir.file("folder.art").c_str(), 0700);
  std::vector<int> active;
  unsigned int shown = 0;
  answer(GTK_RESPONSE_CANCEL, [&](GtkWidget *dialog) {
    GtkFileChooser *chooser = GTK_FILE_CHOOSER(dialog);
    for (const char *name : {"notes.art", "pic.art", "folder.art"}) {
      const bool picture = std::string(name) == "pic.art";
      // The preview follows the list's cursor, which trails a selection made from code by
      // one selection: select twice.
      choose_path(dialog, dir.file(name));
      gtk_file_chooser_set_filename(chooser, dir.file(name).c_str());
      settle([&] { return gtk_file_chooser_get_preview_widget_active(chooser) == picture; });
      active.push_back(gtk_file_chooser_get_preview_widget_active(chooser));
      GdkPixbuf *image = gtk_image_get_pixbuf(GTK_IMAGE(gtk_file_chooser_get_preview_widget(chooser)));
      if (picture && image && gdk_pixbuf_get_width(image) == 320) shown = pixel_at(image, 319, 199);
    }
  });
  char *path = nullptr;
  fileopen_open_picture_file(&path);
  EXPECT_EQ(active, (std::vector<int>{0, 1, 0}));
  EXPECT_EQ(shown, rgb_of(7));
}

TEST_F(Feedback, StatusBarShowsTheLastMessageOnly) {
  GtkStatusbar *statusbar = GTK_STATUSBAR(lookup_widget(window_main, "statusbar_main"));
  controls_update_main_statusbar(" Info: Picture opened");
  controls_update_main_statusbar(" Error: second");
  EXPECT_EQ(g_slist_length(statusbar->messages), 1u);
  EXPECT_STREQ(gtk_label_get_text(GTK_LABEL(statusbar->label)), " Error: second");
}

TEST_F(Feedback, MessageBoxesAreTitledByTypeAndShowPercentUnchanged) {
  for (auto [type, title] : {std::pair{0, "Information"}, {2, "Warning"}, {3, "Error"}}) {
    controls_show_message_dialog("100% of %s %d done", type);
    auto boxes = dialogs_titled(title);
    ASSERT_EQ(boxes.size(), 1u) << title;
    EXPECT_STREQ(gtk_label_get_text(GTK_LABEL(GTK_MESSAGE_DIALOG(boxes[0])->label)), "100% of %s %d done");
    gtk_dialog_response(GTK_DIALOG(boxes[0]), GTK_RESPONSE_CLOSE);
  }
}

TEST_F(Feedback, TwoAboutBoxesCloseIndependently) {
  on_menuitem_about_activate(nullptr, nullptr);
  on_menuitem_about_activate(nullptr, nullptr);
  auto boxes = dialogs_titled("About Quillbar");
  ASSERT_EQ(boxes.size(), 2u);
  for (auto left : {std::vector{boxes[1]}, {}}) {
    gtk_dialog_response(GTK_DIALOG(dialogs_titled("About Quillbar")[0]), GTK_RESPONSE_OK);
    pump_events();
    EXPECT_EQ(dialogs_titled("About Quillbar"), left);
  }
}

// Runs a main loop in which `action` is performed and its question answered. Returns
// true when the action ended the loop; otherwise a follow-up step ends it.
bool action_ends_main_loop(void (*action)(), int response, bool close_question = false) {
  static void (*pending)();
  static guint follow_up;
  static bool ended;
  pending = action, ended = true;
  answer_next_dialog(response, nullptr, close_question);
  g_idle_add(
      [](gpointer) -> gboolean {
        pending();
        follow_up = g_idle_add(
            [](gpointer) -> gboolean {
              follow_up = 0, ended = false, gtk_main_quit();
              return FALSE;
            },
            nullptr);
        return FALSE;
      },
      nullptr);
  gtk_main();
  if (follow_up) g_source_remove(follow_up), follow_up = 0;
  return ended;
}

// From the File menu and by the window manager's close button: No, or closing the question,
// keeps the program running; Yes writes the window's current position into a configuration
// file removed beforehand, and ends the loop.
TEST_F(Quit, OnlyYesSavesThePositionAndEndsTheLoop) {
  void (*quit_from_menu)() = [] { activate("menuitem_quit"); };
  void (*close_main_window)() = [] { send_delete(window_main); };
  for (auto [action, x, y] : {std::tuple{quit_from_menu, 70, 90}, {close_main_window, 30, 40}}) {
    EXPECT_FALSE(action_ends_main_loop(action, GTK_RESPONSE_NO));
    EXPECT_FALSE(action_ends_main_loop(action, 0, /*close_question=*/true));
    ASSERT_TRUE(GTK_IS_WINDOW(window_main) && gtk_widget_get_visible(window_main));
    gtk_window_move(GTK_WINDOW(window_main), x, y);
    pump_events(50);
    g_remove(utf8_path_configfile);
    gint wx, wy;
    gtk_window_get_position(GTK_WINDOW(window_main), &wx, &wy);
    EXPECT_EQ(std::pair(wx, wy), std::pair(x, y));
    EXPECT_TRUE(action_ends_main_loop(action, GTK_RESPONSE_YES));
    const std::string position = "\nposition=" + std::to_string(x) + ";" + std::to_string(y) + ";\n";
    EXPECT_NE(read_text(utf8_path_configfile).find(position), std::string::npos);
  }
}

}  // namespace
