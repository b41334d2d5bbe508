// The configuration's load rules and the menus following them (the window's place: end to end).
#include "controls.h"
#include "options.h"
#include "state.h"
#include "support.h"
#include "testutil.h"

namespace {

// Writes the configuration file and loads it as at start-up.
void load_config(const std::string &text) {
  write_text(utf8_path_configfile, text);
  options_load_from_file();
}

GtkCheckMenuItem *check_item(const char *name) { return GTK_CHECK_MENU_ITEM(lookup_widget(window_main, name)); }

}  // namespace

// Out-of-range values load as the defaults; the menus follow (Re-encode starts unchecked).
TEST(Options, LoadedValuesFollowTheRulesAndReachTheMenus) {
  start_app();
  const struct {
    const char *text;
    int *option, expected;
    const char *item;
    bool active;
  } cases[] = {{"[interface]\nexpansion=7", &options_expansion, 1, "menuitem_zoom_1x", true},
               {"[interface]\nexpansion=4", &options_expansion, 4, "menuitem_zoom_4x", true},
               {"[interface]\nexpansion=0", &options_expansion, 1, "menuitem_zoom_1x", true},
               {"[interface]\npalette=3", &options_palette, 3, "menuitem_palette_ccs64", true},
               {"[interface]\ninput_mode=0", &options_input_mode, 0, "menuitem_interface_compact", true},
               {"[interface]\ninput_mode=2", &options_input_mode, 1, "menuitem_interface_extended", true},
               {"[misc]\nreencode_graphics=true", &options_reencode_graphics, 1, "menuitem_reencode_graphics", true},
               {"[misc]\nreencode_graphics=junk", &options_reencode_graphics, 0, "menuitem_reencode_graphics", false}};
  for (const auto &c : cases) {
    gtk_check_menu_item_set_active(check_item("menuitem_reencode_graphics"), FALSE);
    *c.option = 99;
    load_config(std::string(c.text) + "\n");
    EXPECT_EQ(*c.option, c.expected) << c.text;
    controls_adjust_from_options();
    EXPECT_EQ(gtk_check_menu_item_get_active(check_item(c.item)), c.active) << c.text;
  }
}

// A file given as the picture folder is ignored.
TEST(Options, PictureFolderRule) {
  start_app();
  TempDir tmp;
  write_text(tmp.file("koala.kla"), "x");
  for (const std::string &path : {tmp.path(), tmp.file("koala.kla")}) {
    g_autofree gchar *uri = g_filename_to_uri(path.c_str(), nullptr, nullptr);
    load_config(std::string("[directories]\npicture_dir=") + uri + "\n");
  }
  EXPECT_STREQ(options_picture_dir_string, tmp.path().c_str());
}

TEST(Options, UnparsableFileKeepsValuesUntilTheNextWriteRepairsIt) {
  start_app();
  options_palette = 2;
  const std::string garbage = "[interface\npalette=1\n\x01";
  load_config(garbage);
  EXPECT_EQ(options_palette, 2);
  EXPECT_EQ(read_text(utf8_path_configfile), garbage);  // loading does not rewrite it
  ASSERT_EQ(options_save_to_file(), 1);
  EXPECT_NE(read_text(utf8_path_configfile).find("\npalette=2\n"), std::string::npos);
}
