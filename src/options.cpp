// options: the user's persistent settings, held in globals for the whole run, and the
// configuration file user.ini that keeps them between runs (in the folder "quillbar" of
// the user's configuration directory, or in the start-up folder when that cannot be made).
//
// Owns: the option globals and utf8_path_configfile. May touch: window_main (read its
// position when writing the file).
#include "options.h"

#include <sys/stat.h>
#include <sys/types.h>

#include <memory>

#include "main.h"
#include "support.h"

char *options_picture_dir_string = nullptr;
char *options_export_png_dir_string = nullptr;
char *options_export_dir_string = nullptr;
int options_input_mode = 1;
int options_palette = 0;
int options_expansion = 1;
int options_reencode_graphics = 0;
gint *options_window_position = nullptr;
char *utf8_path_configfile = nullptr;

namespace {

// A directory option as written to the file: its file URI, or "(NULL)" when unset (or
// when the path cannot be expressed as a URI).
OwnedString dir_to_uri(const char *path) {
  gchar *uri = path ? g_filename_to_uri(path, nullptr, nullptr) : nullptr;
  return OwnedString(uri ? uri : g_strdup("(NULL)"));
}

// Replaces *option with the folder named by the file URI at directories/key, if the key
// is there and names an existing folder; otherwise leaves *option as it is.
void load_dir(GKeyFile *key_file, const char *key, char **option) {
  OwnedString uri(g_key_file_get_string(key_file, "directories", key, nullptr));
  if (!uri) return;
  gchar *path = g_filename_from_uri(uri.get(), nullptr, nullptr);
  if (path && g_file_test(path, G_FILE_TEST_IS_DIR)) {
    g_free(*option);
    *option = path;
  } else {
    g_free(path);
  }
}

}  // namespace

void options_module_init(void) {
  gchar *dir = g_build_filename(g_get_user_config_dir(), "quillbar", nullptr);
  // A new account may not have its configuration home yet: make it first.
  if (!g_file_test(g_get_user_config_dir(), G_FILE_TEST_EXISTS)) g_mkdir_with_parents(g_get_user_config_dir(), 0700);
  if (!g_file_test(dir, G_FILE_TEST_EXISTS) && mkdir(dir, 0700) != 0) {
    g_free(dir);
    dir = g_get_current_dir();
  }
  g_free(utf8_path_configfile);
  utf8_path_configfile = g_build_filename(dir, "user.ini", nullptr);
  g_free(dir);
  options_load_from_file();
}

void options_load_from_file(void) {
  if (!g_file_test(utf8_path_configfile, G_FILE_TEST_EXISTS)) {
    options_save_to_file();
    return;
  }
  OwnedKeyFile key_file(g_key_file_new());
  if (g_key_file_load_from_file(key_file.get(), utf8_path_configfile, G_KEY_FILE_KEEP_COMMENTS, nullptr))
    set_options_from_config(key_file.get());
}

void set_options_from_config(GKeyFile *key_file) {
  if (g_key_file_has_key(key_file, "application", "position", nullptr)) {
    g_free(options_window_position);
    options_window_position = nullptr;
    gsize length = 0;
    gint *position = g_key_file_get_integer_list(key_file, "application", "position", &length, nullptr);
    if (position && length == 2)
      options_window_position = position;
    else
      g_free(position);
  }

  load_dir(key_file, "picture_dir", &options_picture_dir_string);
  load_dir(key_file, "export_png_dir", &options_export_png_dir_string);
  load_dir(key_file, "export_dir", &options_export_dir_string);

  // An unreadable integer reads as 0; a missing input mode means Extended.
  if (g_key_file_has_key(key_file, "interface", "input_mode", nullptr)) {
    int mode = g_key_file_get_integer(key_file, "interface", "input_mode", nullptr);
    options_input_mode = mode == 0 ? 0 : 1;
  } else {
    options_input_mode = 1;
  }
  int palette = g_key_file_get_integer(key_file, "interface", "palette", nullptr);
  options_palette = palette >= 0 && palette <= 3 ? palette : 0;
  int expansion = g_key_file_get_integer(key_file, "interface", "expansion", nullptr);
  options_expansion = expansion >= 1 && expansion <= 4 ? expansion : 1;
  options_reencode_graphics = g_key_file_get_boolean(key_file, "misc", "reencode_graphics", nullptr) ? 1 : 0;
}

int options_save_to_file(void) {
  OwnedString picture_dir = dir_to_uri(options_picture_dir_string);
  OwnedString export_png_dir = dir_to_uri(options_export_png_dir_string);
  OwnedString export_dir = dir_to_uri(options_export_dir_string);
  OwnedString text(g_strdup_printf(
      "# Quillbar config file - do NOT edit\n"
      "[directories]\n"
      "picture_dir=%s\n"
      "export_png_dir=%s\n"
      "export_dir=%s\n"
      "[interface]\n"
      "input_mode=%d\n"
      "palette=%d\n"
      "expansion=%d\n"
      "[misc]\n"
      "reencode_graphics=%s\n",
      picture_dir.get(), export_png_dir.get(), export_dir.get(), options_input_mode, options_palette,
      options_expansion, options_reencode_graphics == 1 ? "true" : "false"));

  OwnedKeyFile key_file(g_key_file_new());
  if (!g_key_file_load_from_data(key_file.get(), text.get(), static_cast<gsize>(-1), G_KEY_FILE_KEEP_COMMENTS,
                                 nullptr))
    return 0;

  if (window_main) {
    gint position[2] = {0, 0};
    gtk_window_get_position(GTK_WINDOW(window_main), &position[0], &position[1]);
    g_key_file_set_integer_list(key_file.get(), "application", "position", position, 2);
  }

  gsize length = 0;
  OwnedString data(g_key_file_to_data(key_file.get(), &length, nullptr));
  if (!data || !utf8_path_configfile) return 0;
  return support_replace_file(utf8_path_configfile, data.get(), length, nullptr);
}
