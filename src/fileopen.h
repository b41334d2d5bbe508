// fileopen: the five file choosers.
#pragma once

#include <gtk/gtk.h>

int fileopen_open_picture_file(char **path);
int fileopen_open_project_file(char **path);
int fileopen_save_project_file(const char *suggested_name, char **path);
int fileopen_save_png_file(const char *suggested_name, char **path);
int fileopen_save_executable_file(const char *suggested_name, char **path);
void fileopen_update_hires_preview_cb(GtkFileChooser *chooser, gpointer preview);
