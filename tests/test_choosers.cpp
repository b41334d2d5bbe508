// The five file choosers, driven as real dialogs: titles, filters, the picture chooser's
// filter memory and preview, starting folders, suggested names and what cancelling keeps.
#include <glib/gstdio.h>

#include "file_dialogs.h"
#include "fileopen.h"
#include "options.h"

namespace {

const std::string kAll = "  All files (*) ", kProjects = "  Project files (.ini) ";
const std::string kImages =
    "  Supported image files (.ip64h;.ish;.aas;.art;.hpi;.dd;.ddl;.ocp;.art;.a64;.blp;.pi;.koa;.kla;.vid;.pet) ";
const std::string kPicturePrg = "  Image files as non-executable PRG files (.prg) ";

std::vector<GtkFileFilter *> filters_of(GtkWidget *dialog) {
  GSList *list = gtk_file_chooser_list_filters(GTK_FILE_CHOOSER(dialog));
  std::vector<GtkFileFilter *> filters;
  for (GSList *l = list; l; l = l->next) filters.push_back(GTK_FILE_FILTER(l->data));
  g_slist_free(list);
  return filters;
}

std::string active_filter(GtkWidget *dialog) {
  GtkFileFilter *filter = gtk_file_chooser_get_filter(GTK_FILE_CHOOSER(dialog));
  return filter ? gtk_file_filter_get_name(filter) : "";
}

bool lists(GtkFileFilter *filter, const char *name) {
  GtkFileFilterInfo info{GTK_FILE_FILTER_DISPLAY_NAME, nullptr, nullptr, name, nullptr};
  return gtk_file_filter_filter(filter, &info);
}

}  // namespace

// Each chooser accepted in a fresh folder: the save choosers return their suggestion there.
TEST(Choosers, TitlesFiltersSuggestionsAndFolders) {
  start_app();
  TempDir dir;
  write_file(dir.file("pic.kla"), koala_picture());
  write_text(dir.file("p.ini"), "#");
  struct Row {
    std::function<int(char **)> run;
    std::string title, chosen;
    std::vector<std::string> filters;
    char **folder;
    std::vector<std::pair<const char *, bool>> first_filter_lists;
  };
  const std::vector<Row> rows = {
      {fileopen_open_picture_file, "Select a picture file", "pic.kla", {kImages, kPicturePrg, kAll},
       &options_picture_dir_string, {{"a.kla", true}, {"b.ip64h", true}, {"d.KLA", false}, {"e.prg", false}}},
      {fileopen_open_project_file, "Open a project file", "p.ini", {kProjects, kAll}, &options_picture_dir_string,
       {{"a.ini", true}, {"b.Ini", true}, {"c.INI", true}, {"d.iNi", false}}},
      {[](char **p) { return fileopen_save_project_file("work", p); }, "Save project file", "work",
       {kProjects, kAll}, &options_picture_dir_string, {{"a.ini", true}}},
      {[](char **p) { return fileopen_save_png_file("shot.png", p); }, "Save screenshot file", "shot.png",
       {"  PNG files (.png) ", kAll}, &options_export_png_dir_string, {{"a.Png", true}, {"c.pnG", false}}},
      {[](char **p) { return fileopen_save_executable_file("x", p); }, "Save executable file", "x",
       {"  PRG files (.prg) ", kAll}, &options_export_dir_string, {{"a.Prg", true}, {"c.PRg", false}}},
  };
  for (const Row &row : rows) {
    SCOPED_TRACE(row.title);
    std::string title, active;
    std::vector<std::string> names;
    bool overwrite = false;
    answer_next_dialog(GTK_RESPONSE_OK, [&](GtkWidget *dialog) {
      title = gtk_window_get_title(GTK_WINDOW(dialog));
      auto filters = filters_of(dialog);
      for (GtkFileFilter *f : filters) names.push_back(gtk_file_filter_get_name(f));
      active = active_filter(dialog);
      overwrite = gtk_file_chooser_get_do_overwrite_confirmation(GTK_FILE_CHOOSER(dialog));
      for (auto [name, listed] : row.first_filter_lists) EXPECT_EQ(lists(filters[0], name), listed) << name;
      EXPECT_TRUE(lists(filters.back(), "any.thing"));
      if (overwrite) {  // keep the suggested name, only move to the folder
        gtk_file_chooser_set_current_folder(GTK_FILE_CHOOSER(dialog), dir.path().c_str());
        settle([&] { return chooser_filename(dialog) == dir.file(row.chosen); });
      } else {
        choose_path(dialog, dir.file(row.chosen));
      }
    });
    char *path = nullptr;
    ASSERT_EQ(row.run(&path), 1);
    EXPECT_EQ(path, dir.file(row.chosen));
    g_free(path);
    EXPECT_EQ(title, row.title);
    EXPECT_EQ(names, row.filters);
    EXPECT_EQ(active, row.filters[0]);
    EXPECT_EQ(overwrite, title.starts_with("Save"));
    EXPECT_STREQ(*row.folder, dir.path().c_str());
    g_free(*row.folder);
    *row.folder = nullptr;
  }
}

TEST(Choosers, PictureChooserRemembersItsFilterAndSharesItsFolderWithProjects) {
  start_app();
  TempDir a, b;
  write_file(a.file("pic.prg"), koala_picture());
  write_file(b.file("proj.ini"), {'#'});
  std::string opened_in, active;
  // Notes the filter and folder the chooser opened with, then picks `path` through `filter`.
  auto pick = [&](int response, size_t filter, const std::string &path) {
    answer_next_dialog(response, [&, filter, path](GtkWidget *dialog) {
      active = active_filter(dialog);
      settle([&] { return !chooser_folder(dialog).empty(); });  // the folder is set asynchronously
      opened_in = chooser_folder(dialog);
      gtk_file_chooser_set_filter(GTK_FILE_CHOOSER(dialog), filters_of(dialog)[filter]);
      choose_path(dialog, path);
    });
  };
  char *path = nullptr;
  pick(GTK_RESPONSE_OK, 1, a.file("pic.prg"));
  EXPECT_EQ(fileopen_open_picture_file(&path), 1);
  EXPECT_EQ(active, kImages);
  EXPECT_STREQ(options_picture_dir_string, a.path().c_str());

  // Cancelling: nothing returned, filter memory and folder kept.
  char *const untouched = path;
  pick(GTK_RESPONSE_CANCEL, 2, b.file("proj.ini"));
  EXPECT_EQ(fileopen_open_picture_file(&path), 0);
  EXPECT_EQ(path, untouched);
  EXPECT_EQ(active, kPicturePrg);
  EXPECT_EQ(opened_in, a.path());
  EXPECT_STREQ(options_picture_dir_string, a.path().c_str());

  // Accepting the project chooser moves the folder the picture chooser starts in.
  pick(GTK_RESPONSE_OK, 0, b.file("proj.ini"));
  EXPECT_EQ(fileopen_open_project_file(&path), 1);
  pick(GTK_RESPONSE_OK, 2, a.file("pic.prg"));
  EXPECT_EQ(fileopen_open_picture_file(&path), 1);
  EXPECT_EQ(active, kPicturePrg);
  EXPECT_EQ(opened_in, b.path());
  pick(GTK_RESPONSE_CANCEL, 0, a.file("pic.prg"));
  fileopen_open_picture_file(&path);
  EXPECT_EQ(active, kAll);
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
  answer_next_dialog(GTK_RESPONSE_CANCEL, [&](GtkWidget *dialog) {
    GtkFileChooser *chooser = GTK_FILE_CHOOSER(dialog);
    GtkWidget *preview = gtk_file_chooser_get_preview_widget(chooser);
    ASSERT_TRUE(GTK_IS_IMAGE(preview));
    for (const char *name : {"notes.art", "pic.art", "folder.art"}) {
      const bool picture = std::string(name) == "pic.art";
      // The preview follows the list's cursor, which trails a selection made from code by
      // one selection: select twice.
      choose_path(dialog, dir.file(name));
      gtk_file_chooser_set_filename(chooser, dir.file(name).c_str());
      settle([&] { return gtk_file_chooser_get_preview_widget_active(chooser) == picture; });
      active.push_back(gtk_file_chooser_get_preview_widget_active(chooser));
      GdkPixbuf *image = gtk_image_get_pixbuf(GTK_IMAGE(preview));
      if (picture && image && gdk_pixbuf_get_width(image) == 320 && gdk_pixbuf_get_height(image) == 200)
        shown = pixel_at(image, 319, 199);
    }
  });
  char *path = nullptr;
  fileopen_open_picture_file(&path);
  EXPECT_EQ(active, (std::vector<int>{0, 1, 0}));
  EXPECT_EQ(shown, rgb_of(7));
}
