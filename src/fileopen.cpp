// fileopen: not written yet.
#include "fileopen.h"

int fileopen_open_picture_file(char **path) { return {}; }
int fileopen_open_project_file(char **path) { return {}; }
int fileopen_save_project_file(const char *suggested_name, char **path) { return {}; }
int fileopen_save_png_file(const char *suggested_name, char **path) { return {}; }
int fileopen_save_executable_file(const char *suggested_name, char **path) { return {}; }
void fileopen_update_hires_preview_cb(GtkFileChooser *chooser, gpointer preview) { }
