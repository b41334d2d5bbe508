// fileopen: the file choosers (open a picture, open a project, save a project, save a PNG
// screenshot, an executable, bar tables or a disk image) and the picture chooser's preview.
//
// Owns: filter_lastopen and tables_format_lastused (the picture chooser's and the bar tables
// chooser's last filter, for this run only). May touch:
// the three directory options (replaced when a chooser is accepted) and the dialogs it
// builds (dialogs.h); reads the picture and project paths to suggest an export's name.
// The choosers never read or write the chosen files.
#include "fileopen.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "dialogs.h"
#include "hiresdecoder.h"
#include "state.h"
#include "support.h"

namespace {

// Filter of the picture chooser last accepted: 0 supported images, 1 PRG files, 2 all files.
int filter_lastopen = 0;

struct FilterRow {
  const char *name;
  std::vector<const char *> patterns;
};

const FilterRow kSupportedImages{
    "  Supported image files (.ip64h;.ish;.aas;.art;.hpi;.dd;.ddl;.ocp;.art;.a64;.blp;.pi;.koa;.kla;.vid;.pet) ",
    {"*.ip64h", "*.ish", "*.aas", "*.art", "*.hpi", "*.dd", "*.ddl", "*.ocp", "*.art", "*.a64", "*.blp", "*.pi",
     "*.koa", "*.kla", "*.vid", "*.pet"}};
const FilterRow kPicturePrg{"  Image files as non-executable PRG files (.prg) ", {"*.PRG", "*.Prg", "*.prg"}};
const FilterRow kAllFiles{"  All files (*) ", {"*"}};
const FilterRow kProjects{"  Project files (.ini) ", {"*.INI", "*.Ini", "*.ini"}};
const FilterRow kPng{"  PNG files (.png) ", {"*.PNG", "*.Png", "*.png"}};
const FilterRow kExecutables{"  PRG files (.prg) ", {"*.PRG", "*.Prg", "*.prg"}};
const FilterRow kDiskImages{"  D64 disk images (.d64) ", {"*.D64", "*.d64"}};

// One chooser: the dialog to build, its title, its own filters in order (the first is
// active unless told otherwise), the directory option it starts in and remembers.
struct ChooserRow {
  GtkWidget *(*build)(void);
  const char *title;
  std::vector<const FilterRow *> filters;
  char **folder;
  bool confirm_overwrite;
};

const ChooserRow kPictureChooser{create_filechooserdialog_open,
                                 "Select a picture file",
                                 {&kSupportedImages, &kPicturePrg, &kAllFiles},
                                 &options_picture_dir_string,
                                 false};
const ChooserRow kProjectOpenChooser{
    create_filechooserdialog_open, "Open a project file", {&kProjects, &kAllFiles}, &options_picture_dir_string, false};
const ChooserRow kProjectSaveChooser{
    create_filechooserdialog_save, "Save project file", {&kProjects, &kAllFiles}, &options_picture_dir_string, true};
const ChooserRow kPngChooser{
    create_filechooserdialog_save, "Save screenshot file", {&kPng, &kAllFiles}, &options_export_png_dir_string, true};
const ChooserRow kExecutableChooser{create_filechooserdialog_save,
                                    "Save executable file",
                                    {&kExecutables, &kAllFiles},
                                    &options_export_dir_string,
                                    true};
const ChooserRow kDiskImageChooser{create_filechooserdialog_save,
                                   "Save disk image file",
                                   {&kDiskImages, &kAllFiles},
                                   &options_export_dir_string,
                                   true};

// The format of the bar tables chooser's filter last accepted (an index of bartables_formats).
int tables_format_lastused = 0;

// Builds the dialog of a chooser with its title, filters and starting folder; the created
// filters are returned in `filters`, in the order of the row.
OwnedDialog build_chooser(const ChooserRow &row, std::vector<GtkFileFilter *> &filters) {
  OwnedDialog dialog(row.build());
  GtkFileChooser *chooser = GTK_FILE_CHOOSER(dialog.get());
  gtk_window_set_title(GTK_WINDOW(dialog.get()), row.title);
  for (const FilterRow *def : row.filters) {
    GtkFileFilter *filter = gtk_file_filter_new();
    gtk_file_filter_set_name(filter, def->name);
    for (const char *pattern : def->patterns) gtk_file_filter_add_pattern(filter, pattern);
    gtk_file_chooser_add_filter(chooser, filter);
    filters.push_back(filter);
  }
  gtk_file_chooser_set_filter(chooser, filters.front());
  if (*row.folder) gtk_file_chooser_set_current_folder(chooser, *row.folder);
  return dialog;
}

// Runs the dialog; when accepted, stores the chosen file in *path, replaces the row's
// directory option with the chooser's current folder and returns 1.
int run_chooser(const ChooserRow &row, GtkWidget *dialog, char **path) {
  if (gtk_dialog_run(GTK_DIALOG(dialog)) != GTK_RESPONSE_OK) return 0;
  GtkFileChooser *chooser = GTK_FILE_CHOOSER(dialog);
  gchar *chosen = gtk_file_chooser_get_filename(chooser);
  if (!chosen) return 0;  // nothing local was chosen
  *path = chosen;
  // A chooser showing no folder (as "Recently used" does, when the name was typed in)
  // has none to give: the chosen file's own folder is remembered instead.
  gchar *folder = gtk_file_chooser_get_current_folder(chooser);
  if (!folder) folder = g_path_get_dirname(chosen);
  g_free(*row.folder);
  *row.folder = folder;
  return 1;
}

// The project chooser and the three save choosers: a chooser with an optional suggested name.
int run_plain_chooser(const ChooserRow &row, const char *suggested_name, char **path) {
  std::vector<GtkFileFilter *> filters;
  OwnedDialog dialog = build_chooser(row, filters);
  GtkFileChooser *chooser = GTK_FILE_CHOOSER(dialog.get());
  if (suggested_name) gtk_file_chooser_set_current_name(chooser, suggested_name);
  gtk_file_chooser_set_do_overwrite_confirmation(chooser, row.confirm_overwrite);
  return run_chooser(row, dialog.get(), path);
}

}  // namespace

int fileopen_open_picture_file(char **path) {
  std::vector<GtkFileFilter *> filters;
  OwnedDialog dialog = build_chooser(kPictureChooser, filters);
  GtkFileChooser *chooser = GTK_FILE_CHOOSER(dialog.get());
  gtk_file_chooser_set_filter(chooser, filters[filter_lastopen == 0 ? 0 : filter_lastopen == 2 ? 2 : 1]);

  GtkWidget *preview = gtk_image_new();
  gtk_file_chooser_set_preview_widget(chooser, preview);
  g_signal_connect(chooser, "update-preview", G_CALLBACK(fileopen_update_hires_preview_cb), preview);

  if (!run_chooser(kPictureChooser, dialog.get(), path)) return 0;
  GtkFileFilter *active = gtk_file_chooser_get_filter(chooser);
  filter_lastopen = active == filters[0] ? 0 : active == filters[1] ? 1 : 2;
  return 1;
}

int fileopen_open_project_file(char **path) { return run_plain_chooser(kProjectOpenChooser, nullptr, path); }

int fileopen_save_project_file(const char *suggested_name, char **path) {
  return run_plain_chooser(kProjectSaveChooser, suggested_name, path);
}

int fileopen_save_png_file(const char *suggested_name, char **path) {
  return run_plain_chooser(kPngChooser, suggested_name, path);
}

int fileopen_save_executable_file(const char *suggested_name, char **path) {
  return run_plain_chooser(kExecutableChooser, suggested_name, path);
}

int fileopen_save_disk_image_file(const char *suggested_name, char **path) {
  return run_plain_chooser(kDiskImageChooser, suggested_name, path);
}

// Shows the selected file as a C64 picture, at its own size; anything that does not
// decode (a folder, another kind of file) leaves the preview hidden.
void fileopen_update_hires_preview_cb(GtkFileChooser *chooser, gpointer preview) {
  OwnedString filename(gtk_file_chooser_get_preview_filename(chooser));
  if (!filename || g_file_test(filename.get(), G_FILE_TEST_IS_DIR)) {
    gtk_file_chooser_set_preview_widget_active(chooser, FALSE);
    return;
  }
  GdkPixbuf *image = nullptr;
  GError *error = nullptr;
  const int ok = hiresdecoder_decode_hires_screen_file(filename.get(), 0, &image, nullptr, &error);
  OwnedError ignored(error);  // the preview just stays hidden
  OwnedPixbuf shown(image);
  if (shown) gtk_image_set_from_pixbuf(GTK_IMAGE(preview), shown.get());
  gtk_file_chooser_set_preview_widget_active(chooser, ok == 1);
}

namespace {

// The name offered in an export chooser: the project's file name, or else the picture's,
// with its extension (from the last ".") replaced by `extension`.
OwnedString suggested_export_name(const char *extension) {
  const char *path = utf8_path_and_filename_project ? utf8_path_and_filename_project : utf8_path_and_filename_picture;
  if (!path) return nullptr;
  OwnedString base(g_path_get_basename(path));
  if (char *dot = strrchr(base.get(), '.')) *dot = '\0';
  return OwnedString(g_strconcat(base.get(), extension, nullptr));
}

// The chosen name, with `extension` appended unless it already ends in it, in lower or
// upper case.
OwnedString export_name_with_extension(const char *chosen, const char *extension) {
  OwnedString upper(g_ascii_strup(extension, -1));
  const bool has = g_str_has_suffix(chosen, extension) || g_str_has_suffix(chosen, upper.get());
  return OwnedString(has ? g_strdup(chosen) : g_strconcat(chosen, extension, nullptr));
}

}  // namespace

char *fileopen_choose_export_name(int (*chooser)(const char *, char **), const char *extension) {
  OwnedString suggestion = suggested_export_name(extension);
  char *chosen = nullptr;
  const bool picked = chooser(suggestion.get(), &chosen) == 1;
  OwnedString chosen_name(chosen);
  if (!picked || !chosen_name) return nullptr;
  return export_name_with_extension(chosen_name.get(), extension).release();
}

char *fileopen_choose_tables_name(const BarTableFormat **format) {
  // One filter per format, matching its extension in lower and upper case.
  std::vector<std::array<std::string, 2>> patterns;
  for (const BarTableFormat &f : bartables_formats) {
    OwnedString upper(g_ascii_strup(f.extension, -1));
    patterns.push_back({std::string("*") + f.extension, std::string("*") + upper.get()});
  }
  std::vector<FilterRow> filter_rows;
  for (std::size_t i = 0; i < patterns.size(); i++)
    filter_rows.push_back({bartables_formats[i].filter_name, {patterns[i][1].c_str(), patterns[i][0].c_str()}});
  ChooserRow row{create_filechooserdialog_save, "Save bar tables file", {}, &options_export_dir_string, true};
  for (const FilterRow &filter : filter_rows) row.filters.push_back(&filter);

  std::vector<GtkFileFilter *> filters;
  OwnedDialog dialog = build_chooser(row, filters);
  GtkFileChooser *chooser = GTK_FILE_CHOOSER(dialog.get());
  gtk_file_chooser_set_filter(chooser, filters[tables_format_lastused]);
  OwnedString suggestion = suggested_export_name(bartables_formats[tables_format_lastused].extension);
  if (suggestion) gtk_file_chooser_set_current_name(chooser, suggestion.get());
  gtk_file_chooser_set_do_overwrite_confirmation(chooser, TRUE);
  char *chosen = nullptr;
  if (!run_chooser(row, dialog.get(), &chosen)) return nullptr;
  OwnedString chosen_name(chosen);
  const auto active = std::find(filters.begin(), filters.end(), gtk_file_chooser_get_filter(chooser));
  tables_format_lastused =
      active == filters.end() ? tables_format_lastused : static_cast<int>(active - filters.begin());
  *format = &bartables_formats[tables_format_lastused];
  return export_name_with_extension(chosen, (*format)->extension).release();
}
