// fileopen: the file choosers.
#pragma once

#include <gtk/gtk.h>

#include "bartables.h"

// Each runs its chooser in the folder of its option; when the user accepts, *path is the
// chosen file (the caller frees it), the option takes the chooser's folder and the result
// is 1, else 0. The save choosers offer `suggested_name` and confirm overwriting.
int fileopen_open_picture_file(char **path);
int fileopen_open_project_file(char **path);
int fileopen_save_project_file(const char *suggested_name, char **path);
int fileopen_save_png_file(const char *suggested_name, char **path);
int fileopen_save_executable_file(const char *suggested_name, char **path);
int fileopen_save_disk_image_file(const char *suggested_name, char **path);
// The picture chooser's preview: the selected file decoded as a C64 picture, or hidden.
void fileopen_update_hires_preview_cb(GtkFileChooser *chooser, gpointer preview);

// Runs the export `chooser`, offering the project's file name (or else the picture's) with
// its extension replaced by `extension`. The file to write, which is the chosen name with
// `extension` appended unless it already ends in it in lower or upper case (the caller
// frees it); null when the user cancelled.
char *fileopen_choose_export_name(int (*chooser)(const char *, char **), const char *extension);

// Runs the bar tables chooser: one filter per table format (ACME, ca65, KickAssembler,
// binary), the one last accepted active, offering the name as above with its extension. On
// acceptance *format is the active filter's format and the result the file to write, with
// that format's extension appended as above; null when the user cancelled.
char *fileopen_choose_tables_name(const BarTableFormat **format);
