// options: not written yet.
#include "options.h"

char *options_picture_dir_string = {};
char *options_export_png_dir_string = {};
char *options_export_dir_string = {};
int options_input_mode = {};
int options_palette = {};
int options_expansion = {};
int options_reencode_graphics = {};
gint *options_window_position = {};
char *utf8_path_configfile = {};
void options_module_init(void) { }
void options_load_from_file(void) { }
void set_options_from_config(GKeyFile *key_file) { }
int options_save_to_file(void) { return {}; }
