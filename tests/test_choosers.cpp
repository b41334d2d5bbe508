// The five file choosers, driven as real dialogs: titles, filters, the picture chooser's
// filter memory and preview, starting folders, suggested names and what cancelling keeps.
#include <functional>
#include <string>
#include <vector>

#include <glib/gstdio.h>

#include "fileopen.h"
#include "file_dialogs.h"
#include "options.h"
#include "palette.h"

namespace {

using Chooser = std::function<int(char **)>;

const std::string kAll = "  All files (*) ";
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

// Runs a chooser, accepting it after `inspect`; returns the chosen path ("" when refused).
std::string accept(const Chooser &chooser, std::function<void(GtkWidget *)> inspect) {
  char *path = nullptr;
  answer_next_dialog(GTK_RESPONSE_OK, std::move(inspect));
  std::string result = chooser(&path) == 1 && path ? path : "";
  g_free(path);
  return result;
}

}  // namespace

TEST(Choosers, TitlesFiltersAndCancelling) {
  start_app();
  struct Row {
    Chooser run;
    std::string title;
    std::vector<std::string> filters;
    bool overwrite;
    std::vector<std::pair<const char *, bool>> first_filter_lists;
  };
  const std::vector<Row> rows = {
      {fileopen_open_picture_file, "Select a picture file", {kImages, kPicturePrg, kAll}, false,
       {{"a.kla", true}, {"b.ip64h", true}, {"c.pet", true}, {"d.KLA", false}, {"e.prg", false}}},
      {fileopen_open_project_file, "Open a project file", {"  Project files (.ini) ", kAll}, false,
       {{"a.ini", true}, {"b.Ini", true}, {"c.INI", true}, {"d.iNi", false}}},
      {[](char **p) { return fileopen_save_project_file("work", p); }, "Save project file",
       {"  Project files (.ini) ", kAll}, true, {{"a.ini", true}, {"b.txt", false}}},
      {[](char **p) { return fileopen_save_png_file("shot.png", p); }, "Save screenshot file",
       {"  PNG files (.png) ", kAll}, true, {{"a.Png", true}, {"b.PNG", true}, {"c.pnG", false}}},
      {[](char **p) { return fileopen_save_executable_file(nullptr, p); }, "Save executable file",
       {"  PRG files (.prg) ", kAll}, true, {{"a.Prg", true}, {"b.prg", true}, {"c.PRg", false}}},
  };
  char *const untouched = g_strdup("untouched");
  for (const Row &row : rows) {
    SCOPED_TRACE(row.title);
    std::string title, active;
    std::vector<std::string> names;
    bool overwrite = !row.overwrite;
    answer_next_dialog(GTK_RESPONSE_CANCEL, [&](GtkWidget *dialog) {
      title = gtk_window_get_title(GTK_WINDOW(dialog));
      auto filters = filters_of(dialog);
      for (GtkFileFilter *f : filters) names.push_back(gtk_file_filter_get_name(f));
      active = active_filter(dialog);
      overwrite = gtk_file_chooser_get_do_overwrite_confirmation(GTK_FILE_CHOOSER(dialog));
      for (auto [name, listed] : row.first_filter_lists) EXPECT_EQ(lists(filters[0], name), listed) << name;
      EXPECT_TRUE(lists(filters.back(), "anything.at.all"));
    });
    char *path = untouched;
    EXPECT_EQ(row.run(&path), 0);
    EXPECT_EQ(path, untouched);
    EXPECT_EQ(title, row.title);
    EXPECT_EQ(names, row.filters);
    EXPECT_EQ(active, row.filters[0]);
    EXPECT_EQ(overwrite, row.overwrite);
  }
  g_free(untouched);
  EXPECT_EQ(options_picture_dir_string, nullptr);
  EXPECT_EQ(options_export_png_dir_string, nullptr);
  EXPECT_EQ(options_export_dir_string, nullptr);
}

TEST(Choosers, PictureChooserRemembersItsFilterAndSharesItsFolderWithProjects) {
  start_app();
  TempDir a, b;
  write_file(a.file("pic.prg"), koala_picture());
  write_file(b.file("proj.ini"), {'#'});
  std::string opened_in, first_active;
  auto pick_with = [&](size_t filter, const std::string &path) {
    return [&, filter, path](GtkWidget *dialog) {
      first_active = active_filter(dialog);
      opened_in = chooser_folder(dialog);
      gtk_file_chooser_set_filter(GTK_FILE_CHOOSER(dialog), filters_of(dialog)[filter]);
      choose_path(dialog, path);
    };
  };

  EXPECT_EQ(accept(fileopen_open_picture_file, pick_with(1, a.file("pic.prg"))), a.file("pic.prg"));
  EXPECT_EQ(first_active, kImages);
  EXPECT_STREQ(options_picture_dir_string, a.path().c_str());

  // Cancelling after switching filter and folder keeps both memories.
  answer_next_dialog(GTK_RESPONSE_CANCEL, [&](GtkWidget *dialog) {
    first_active = active_filter(dialog);
    settle([&] { return chooser_folder(dialog) == a.path(); });
    opened_in = chooser_folder(dialog);
    gtk_file_chooser_set_filter(GTK_FILE_CHOOSER(dialog), filters_of(dialog)[2]);
    gtk_file_chooser_set_current_folder(GTK_FILE_CHOOSER(dialog), b.path().c_str());
  });
  char *path = nullptr;
  EXPECT_EQ(fileopen_open_picture_file(&path), 0);
  EXPECT_EQ(first_active, kPicturePrg);
  EXPECT_EQ(opened_in, a.path());
  EXPECT_STREQ(options_picture_dir_string, a.path().c_str());

  // Accepting the project chooser moves the folder the picture chooser starts in.
  EXPECT_EQ(accept(fileopen_open_project_file, [&](GtkWidget *d) { choose_path(d, b.file("proj.ini")); }),
            b.file("proj.ini"));
  EXPECT_STREQ(options_picture_dir_string, b.path().c_str());

  EXPECT_EQ(accept(fileopen_open_picture_file, pick_with(2, a.file("pic.prg"))), a.file("pic.prg"));
  EXPECT_EQ(first_active, kPicturePrg);
  EXPECT_EQ(opened_in, b.path());
  answer_next_dialog(GTK_RESPONSE_CANCEL, [&](GtkWidget *dialog) { first_active = active_filter(dialog); });
  fileopen_open_picture_file(&path);
  EXPECT_EQ(first_active, kAll);
}

TEST(Choosers, SaveChoosersPutTheSuggestionInTheNameFieldAndRememberTheirOwnFolder) {
  start_app();
  struct Row {
    int (*run)(const char *, char **);
    char **folder;
  };
  for (const Row &row : {Row{fileopen_save_project_file, &options_picture_dir_string},
                         Row{fileopen_save_png_file, &options_export_png_dir_string},
                         Row{fileopen_save_executable_file, &options_export_dir_string}}) {
    TempDir dir;
    const std::string before = options_picture_dir_string ? options_picture_dir_string : "";
    auto chosen = accept([&](char **p) { return row.run("work", p); }, [&](GtkWidget *dialog) {
      gtk_file_chooser_set_current_folder(GTK_FILE_CHOOSER(dialog), dir.path().c_str());
      settle([&] { return chooser_filename(dialog) == dir.file("work"); });
    });
    EXPECT_EQ(chosen, dir.file("work"));
    ASSERT_NE(*row.folder, nullptr);
    EXPECT_EQ(*row.folder, dir.path());
    if (row.folder != &options_picture_dir_string)
      EXPECT_EQ(options_picture_dir_string ? options_picture_dir_string : "", before);
  }
}

TEST(Choosers, PreviewShowsC64PicturesOnly) {
  start_app();
  TempDir dir;
  write_file(dir.file("pic.art"), art_studio_picture(7, 0));
  write_text(dir.file("notes.art"), "not a picture");
  g_mkdir(dir.file("folder.art").c_str(), 0700);
  unsigned char yellow[3];
  palette_get_rgb_at_index(7, yellow);

  std::vector<int> active;
  unsigned int shown = 0;
  answer_next_dialog(GTK_RESPONSE_CANCEL, [&](GtkWidget *dialog) {
    GtkFileChooser *chooser = GTK_FILE_CHOOSER(dialog);
    GtkWidget *preview = gtk_file_chooser_get_preview_widget(chooser);
    ASSERT_TRUE(GTK_IS_IMAGE(preview));
    for (const char *name : {"notes.art", "pic.art", "folder.art"}) {
      const bool picture = std::string(name) == "pic.art";
      // The chooser previews the file under its cursor, which follows a selection made
      // from code one selection late: select twice.
      choose_path(dialog, dir.file(name));
      gtk_file_chooser_set_filename(chooser, dir.file(name).c_str());
      settle([&] { return gtk_file_chooser_get_preview_widget_active(chooser) == picture; });
      active.push_back(gtk_file_chooser_get_preview_widget_active(chooser));
      if (picture) {
        GdkPixbuf *image = gtk_image_get_pixbuf(GTK_IMAGE(preview));
        ASSERT_NE(image, nullptr);
        EXPECT_EQ(gdk_pixbuf_get_width(image) * 1000 + gdk_pixbuf_get_height(image), 320200);
        shown = pixel_at(image, 319, 199);
      }
    }
  });
  char *path = nullptr;
  fileopen_open_picture_file(&path);
  EXPECT_EQ(active, (std::vector<int>{0, 1, 0}));
  EXPECT_EQ(shown, static_cast<unsigned int>(yellow[0] << 16 | yellow[1] << 8 | yellow[2]));
}
