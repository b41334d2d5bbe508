// options: the user's persistent settings, held in globals for the whole run, and the
// configuration file user.ini that keeps them between runs (in the folder "quillbar" of
// the user's configuration directory, or in the start-up folder when that cannot be made).
//
// Owns: the option globals and utf8_path_configfile. May touch: window_main (read its
// position when writing the file).
#include "options.h"

#include <sys/stat.h>
#include <sys/types.h>

#include <array>
#include <memory>

#include "state.h"
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

// The options kept in user.ini, in the order they are written. Reading and writing both
// walk this table; the window position (a list) is handled on its own.
enum class OptionKind { folder, integer, boolean };

struct Option {
  const char *group;
  const char *key;
  OptionKind kind;
  char **folder;     // folder options: an existing directory, or null when unset
  int *value;        // integer and boolean options
  int fallback = 0;  // an integer option when absent or outside min..max
  int min = 0, max = 0;
};

const std::array<Option, 7> option_table{{
    {"directories", "picture_dir", OptionKind::folder, &options_picture_dir_string, nullptr},
    {"directories", "export_png_dir", OptionKind::folder, &options_export_png_dir_string, nullptr},
    {"directories", "export_dir", OptionKind::folder, &options_export_dir_string, nullptr},
    {"interface", "input_mode", OptionKind::integer, nullptr, &options_input_mode, 1, 0, 1},
    {"interface", "palette", OptionKind::integer, nullptr, &options_palette, 0, 0, 3},
    {"interface", "expansion", OptionKind::integer, nullptr, &options_expansion, 1, 1, 4},
    {"misc", "reencode_graphics", OptionKind::boolean, nullptr, &options_reencode_graphics},
}};

// A folder option as written to the file: its file URI, or "(NULL)" when unset (or
// when the path cannot be expressed as a URI).
OwnedString dir_to_uri(const char *path) {
  gchar *uri = path ? g_filename_to_uri(path, nullptr, nullptr) : nullptr;
  return OwnedString(uri ? uri : g_strdup("(NULL)"));
}

// Reads one option. A folder is kept only when it names an existing directory, else the
// current value stays; an integer that is absent or out of range takes the fallback (one
// that is not a number reads as 0); an unreadable boolean is false.
void load_option(GKeyFile *key_file, const Option &option) {
  switch (option.kind) {
    case OptionKind::folder: {
      OwnedString uri(g_key_file_get_string(key_file, option.group, option.key, nullptr));
      if (!uri) return;
      OwnedString path(g_filename_from_uri(uri.get(), nullptr, nullptr));
      if (!path || !g_file_test(path.get(), G_FILE_TEST_IS_DIR)) return;
      g_free(*option.folder);
      *option.folder = path.release();
      return;
    }
    case OptionKind::integer: {
      if (!g_key_file_has_key(key_file, option.group, option.key, nullptr)) {
        *option.value = option.fallback;
        return;
      }
      const int value = g_key_file_get_integer(key_file, option.group, option.key, nullptr);
      *option.value = value >= option.min && value <= option.max ? value : option.fallback;
      return;
    }
    case OptionKind::boolean:
      *option.value = g_key_file_get_boolean(key_file, option.group, option.key, nullptr) ? 1 : 0;
      return;
  }
}

// One option as its line of the file.
OwnedString option_line(const Option &option) {
  switch (option.kind) {
    case OptionKind::folder:
      return OwnedString(g_strdup_printf("%s=%s\n", option.key, dir_to_uri(*option.folder).get()));
    case OptionKind::integer: return OwnedString(g_strdup_printf("%s=%d\n", option.key, *option.value));
    case OptionKind::boolean:
      return OwnedString(g_strdup_printf("%s=%s\n", option.key, *option.value == 1 ? "true" : "false"));
  }
  return OwnedString(g_strdup(""));
}

}  // namespace

void options_module_init(void) {
  OwnedString dir(g_build_filename(g_get_user_config_dir(), "quillbar", nullptr));
  // A new account may not have its configuration home yet: make it first.
  if (!g_file_test(g_get_user_config_dir(), G_FILE_TEST_EXISTS)) g_mkdir_with_parents(g_get_user_config_dir(), 0700);
  if (!g_file_test(dir.get(), G_FILE_TEST_EXISTS) && mkdir(dir.get(), 0700) != 0) dir.reset(g_get_current_dir());
  g_free(utf8_path_configfile);
  utf8_path_configfile = g_build_filename(dir.get(), "user.ini", nullptr);
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

  for (const Option &option : option_table) load_option(key_file, option);
}

int options_save_to_file(void) {
  GString *text = g_string_new("# Quillbar config file - do NOT edit\n");
  const char *group = nullptr;
  for (const Option &option : option_table) {
    if (g_strcmp0(group, option.group) != 0) g_string_append_printf(text, "[%s]\n", group = option.group);
    g_string_append(text, option_line(option).get());
  }
  OwnedString composed(g_string_free(text, FALSE));

  OwnedKeyFile key_file(g_key_file_new());
  if (!g_key_file_load_from_data(key_file.get(), composed.get(), static_cast<gsize>(-1), G_KEY_FILE_KEEP_COMMENTS,
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
