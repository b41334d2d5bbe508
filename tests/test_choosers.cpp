// The five file choosers, driven as real dialogs: titles, filters, suggested names, the
// picture chooser's filter memory and starting folder, and its preview.
#include <glib/gstdio.h>

#include "file_commands.h"
#include "fileopen.h"

namespace {

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
    seen = {gtk_window_get_title(GTK_WINDOW(dialog)),
            gtk_file_filter_get_name(gtk_file_chooser_get_filter(chooser)),
            {},
            bool(gtk_file_chooser_get_do_overwrite_confirmation(chooser)),
            {},
            {}};
    GSList *filters = gtk_file_chooser_list_filters(chooser);
    for (GSList *l = filters; l; l = l->next)
      seen.filters.push_back(gtk_file_filter_get_name(GTK_FILE_FILTER(l->data)));
    g_slist_free(filters);
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

}  // namespace

// Each chooser, cancelled after a look: its title, its filters in order with the first one
// active, and for the save choosers overwrite confirmation and the suggested name in place.
TEST(Choosers, TitlesFiltersAndSuggestedNames) {
  start_app();
  struct Row {
    std::function<int(char **)> run;
    std::string title;
    std::vector<std::string> filters;
    std::string name;
  };
  const std::vector<Row> rows = {
      {fileopen_open_picture_file, "Select a picture file", {kImages, kPicturePrg, kAll}, ""},
      {fileopen_open_project_file, "Open a project file", {kProjects, kAll}, ""},
      {[](char **p) { return fileopen_save_project_file("work", p); }, "Save project file", {kProjects, kAll}, "work"},
      {[](char **p) { return fileopen_save_png_file("shot.png", p); },
       "Save screenshot file",
       {"  PNG files (.png) ", kAll},
       "shot.png"},
      {[](char **p) { return fileopen_save_executable_file("x", p); },
       "Save executable file",
       {"  PRG files (.prg) ", kAll},
       "x"},
  };
  for (const Row &row : rows) {
    answer(GTK_RESPONSE_CANCEL);
    char *path = nullptr;
    EXPECT_EQ(row.run(&path), 0);
    EXPECT_EQ(std::tie(seen.title, seen.filters, seen.active, seen.name),
              std::tie(row.title, row.filters, row.filters[0], row.name));
    EXPECT_EQ(seen.overwrite, !row.name.empty()) << row.title;
  }
}

TEST(Choosers, PictureChooserRemembersItsFilterAndSharesItsFolderWithProjects) {
  start_app();
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

TEST(Choosers, PreviewShowsC64PicturesOnly) {
  start_app();
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
