// options: the user's persistent settings and the configuration file user.ini.
#pragma once

#include <glib.h>

// Sets the configuration file's path (making its folder) and loads it.
void options_module_init(void);
// Reads the file into the options, or writes it when it does not exist yet.
void options_load_from_file(void);
// Takes every option from a parsed configuration file, by the rules of each option.
void set_options_from_config(GKeyFile *key_file);
// Writes every option and the window's position; 1 when written.
int options_save_to_file(void);
