// options: the user's persistent settings and the configuration file user.ini.
#pragma once

#include <glib.h>

extern char *options_picture_dir_string;
extern char *options_export_png_dir_string;
extern char *options_export_dir_string;
extern int options_input_mode;
extern int options_palette;
extern int options_expansion;
extern int options_reencode_graphics;
extern gint *options_window_position;
extern char *utf8_path_configfile;

// Sets the configuration file's path (making its folder) and loads it.
void options_module_init(void);
// Reads the file into the options, or writes it when it does not exist yet.
void options_load_from_file(void);
// Takes every option from a parsed configuration file, by the rules of each option.
void set_options_from_config(GKeyFile *key_file);
// Writes every option and the window's position; 1 when written.
int options_save_to_file(void);
