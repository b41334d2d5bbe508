// Options and the configuration file: the first start, the load rules, the menus that
// follow the loaded options, and files that cannot be parsed or written.
// The tests run in order; the first one is the program's first start.
#include <glib/gstdio.h>
#include <unistd.h>

#include <string>

#include "controls.h"
#include "main.h"
#include "options.h"
#include "support.h"
#include "testutil.h"

namespace {

bool item_active(const char *name) {
  return gtk_check_menu_item_get_active(GTK_CHECK_MENU_ITEM(lookup_widget(window_main, name)));
}

// Writes the configuration file and loads it as at start-up.
void load_config(const std::string &text) {
  write_text(utf8_path_configfile, text);
  options_load_from_file();
}

// A value of the written configuration file as text ("" when absent).
std::string written(const char *group, const char *key) {
  GKeyFile *kf = g_key_file_new();
  EXPECT_TRUE(g_key_file_load_from_file(kf, utf8_path_configfile, G_KEY_FILE_NONE, nullptr));
  gchar *value = g_key_file_get_value(kf, group, key, nullptr);
  std::string s = value ? value : "";
  g_free(value);
  g_key_file_free(kf);
  return s;
}

std::string uri_of(const std::string &path) {
  gchar *uri = g_filename_to_uri(path.c_str(), nullptr, nullptr);
  std::string s = uri;
  g_free(uri);
  return s;
}

}  // namespace

TEST(Options, FirstStartWritesDefaultsAndPosition) {
  const std::string folder = test_config_home() + "/quillbar";
  ASSERT_FALSE(g_file_test(folder.c_str(), G_FILE_TEST_EXISTS));
  GtkWidget *window = start_app();
  ASSERT_NE(window, nullptr);
  EXPECT_EQ(utf8_path_configfile, folder + "/user.ini");
  GStatBuf st;
  ASSERT_EQ(g_stat(folder.c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 0777, 0700u);

  EXPECT_EQ(read_text(utf8_path_configfile).rfind("# Quillbar config file - do NOT edit\n", 0), 0u);
  for (const char *key : {"picture_dir", "export_png_dir", "export_dir"})
    EXPECT_EQ(written("directories", key), "(NULL)");
  EXPECT_EQ(written("interface", "input_mode"), "1");
  EXPECT_EQ(written("interface", "palette"), "0");
  EXPECT_EQ(written("interface", "expansion"), "1");
  EXPECT_EQ(written("misc", "reencode_graphics"), "false");
  gint x, y;
  gtk_window_get_position(GTK_WINDOW(window), &x, &y);
  EXPECT_EQ(written("application", "position"), std::to_string(x) + ";" + std::to_string(y) + ";");

  EXPECT_TRUE(item_active("menuitem_zoom_1x") && item_active("menuitem_interface_extended") &&
              item_active("menuitem_palette_peptos"));
}

TEST(Options, OutOfRangeAndUnreadableValuesLoadAsTheRulesSay) {
  start_app();
  const struct {
    const char *text;
    int *option;
    int expected;
  } cases[] = {
      {"[interface]\nexpansion=7", &options_expansion, 1},  {"[interface]\nexpansion=0", &options_expansion, 1},
      {"[interface]\nexpansion=x", &options_expansion, 1},  {"[interface]\nexpansion=4", &options_expansion, 4},
      {"[interface]\npalette=-1", &options_palette, 0},     {"[interface]\npalette=3", &options_palette, 3},
      {"[interface]\ninput_mode=2", &options_input_mode, 1}, {"[interface]\ninput_mode=-1", &options_input_mode, 1},
      {"[interface]\ninput_mode=x", &options_input_mode, 0}, {"[interface]", &options_input_mode, 1},
      {"[misc]\nreencode_graphics=1", &options_reencode_graphics, 1},
      {"[misc]\nreencode_graphics=yes", &options_reencode_graphics, 0},
  };
  for (const auto &c : cases) {
    *c.option = 99;
    load_config(std::string(c.text) + "\n");
    EXPECT_EQ(*c.option, c.expected) << c.text;
  }
}

TEST(Options, LoadedSettingsReachTheMenus) {
  start_app();
  GtkWidget *reencode = lookup_widget(window_main, "menuitem_reencode_graphics");
  for (std::string value : {"true", "1", "false", "0", "junk"}) {
    gtk_check_menu_item_set_active(GTK_CHECK_MENU_ITEM(reencode), FALSE);
    load_config("[misc]\nreencode_graphics=" + value + "\n");
    controls_adjust_from_options();
    EXPECT_EQ(item_active("menuitem_reencode_graphics"), value == "true" || value == "1") << value;
  }
  load_config("[interface]\ninput_mode=0\npalette=2\nexpansion=3\n");
  controls_adjust_from_options();
  EXPECT_TRUE(item_active("menuitem_interface_compact"));
  EXPECT_TRUE(item_active("menuitem_palette_pixcen"));
  EXPECT_TRUE(item_active("menuitem_zoom_3x"));
  EXPECT_FALSE(gtk_widget_get_visible(lookup_widget(window_main, "hbox_controls")));
}

TEST(Options, OnlyATwoValuePositionMovesTheWindow) {
  start_app();
  load_config("[application]\nposition=10;20;\n");
  ASSERT_NE(options_window_position, nullptr);
  load_config("[application]\nposition=10;20;30;\n");
  EXPECT_EQ(options_window_position, nullptr);  // the earlier one is dropped as well

  load_config("[application]\nposition=10;20;\n");
  controls_adjust_from_options();
  pump_events(50);
  gint x, y;
  gtk_window_get_position(GTK_WINDOW(window_main), &x, &y);
  EXPECT_EQ(std::make_pair(x, y), std::make_pair(10, 20));
}

TEST(Options, OnlyExistingFoldersAreKeptAndTheySurviveARoundTrip) {
  start_app();
  TempDir tmp;
  const std::string dir = tmp.file("pictures & 100% done");
  ASSERT_EQ(g_mkdir(dir.c_str(), 0700), 0);
  write_text(tmp.file("koala.kla"), "x");

  load_config("[directories]\npicture_dir=" + uri_of(tmp.file("koala.kla")) + "\nexport_dir=" + uri_of(dir) + "\n");
  EXPECT_EQ(options_picture_dir_string, nullptr);
  ASSERT_NE(options_export_dir_string, nullptr);
  EXPECT_EQ(options_export_dir_string, dir);
  load_config("[directories]\nexport_dir=(NULL)\n");  // not a folder: the current one stays
  EXPECT_EQ(options_export_dir_string, dir);

  ASSERT_EQ(options_save_to_file(), 1);
  EXPECT_EQ(written("directories", "export_dir"), uri_of(dir));
  g_free(options_export_dir_string);
  options_export_dir_string = nullptr;
  options_load_from_file();
  EXPECT_EQ(options_export_dir_string, dir);
}

TEST(Options, UnparsableFileKeepsValuesUntilTheNextWriteRepairsIt) {
  start_app();
  options_palette = 2;
  const std::string garbage = "[interface\npalette=1\n\x01";
  load_config(garbage);
  EXPECT_EQ(options_palette, 2);
  EXPECT_EQ(read_text(utf8_path_configfile), garbage);  // loading does not rewrite it
  ASSERT_EQ(options_save_to_file(), 1);
  EXPECT_EQ(written("interface", "palette"), "2");
}

TEST(Options, UnwritableConfigurationIsTolerated) {
  start_app();
  TempDir tmp;
  const std::string path = tmp.file("user.ini");
  if (geteuid() == 0) {
    ASSERT_EQ(g_mkdir(path.c_str(), 0700), 0);  // permissions do not stop root; a folder in the way does
  } else {
    write_text(path, "[interface]\nexpansion=3\n");
    g_chmod(tmp.path().c_str(), 0500);
  }
  g_free(utf8_path_configfile);
  utf8_path_configfile = g_strdup(path.c_str());
  options_load_from_file();
  EXPECT_EQ(options_save_to_file(), 0);
  gtk_menu_item_activate(GTK_MENU_ITEM(lookup_widget(window_main, "menuitem_zoom_2x")));
  EXPECT_EQ(options_expansion, 2);  // the options in memory still work
  g_chmod(tmp.path().c_str(), 0700);
}

TEST(Options, FallsBackToTheCurrentFolderWhenTheConfigFolderCannotBeMade) {
  TempDir cwd;
  ASSERT_EQ(chdir(cwd.path().c_str()), 0);
  // A plain file where the configuration home should be: no folder can be made in it.
  const std::string home = test_config_home();
  ASSERT_EQ(g_rename(home.c_str(), cwd.file("home").c_str()), 0);
  write_text(home, "not a folder");
  options_module_init();
  EXPECT_EQ(utf8_path_configfile, cwd.file("user.ini"));
  EXPECT_TRUE(g_file_test(utf8_path_configfile, G_FILE_TEST_IS_REGULAR));
  g_remove(home.c_str());
  g_rename(cwd.file("home").c_str(), home.c_str());
}

TEST(Options, MakesAMissingConfigurationHome) {
  TempDir away;
  const std::string home = test_config_home();
  ASSERT_EQ(g_rename(home.c_str(), away.file("home").c_str()), 0);
  options_module_init();
  EXPECT_EQ(utf8_path_configfile, home + "/quillbar/user.ini");
  EXPECT_TRUE(g_file_test(utf8_path_configfile, G_FILE_TEST_IS_REGULAR));
}
