// state: the process-wide state that the modules share, declared once. Every global lasts
// for the whole run and is defined, and written, by the module named beside it; the
// others only read it (or write it where the comment says so).
#pragma once

#include <gtk/gtk.h>

#include "geometry.h"

struct PictureData;  // hiresdecoder.h

// startup: the main window (every widget is found from it by name, lookup_widget) and the
// directory part of the program's first command-line word ("." when it has none), where
// the executable export looks for the cruncher; set once and never freed.
extern GtkWidget *window_main;
extern char *app_folder;

// callbacks: the picture commands set these. picture_loaded is 1 after the last open or
// reload of a picture succeeded; pixbuf_picture is its 320 x 200 rendering, or null.
extern int picture_loaded;
extern GdkPixbuf *pixbuf_picture;
extern char *utf8_path_and_filename_picture;
extern char *utf8_path_and_filename_project;
// The border colour 0..15; the border colour picker and undo also set it.
extern int border_color_index;
// The active input mode: 1 Extended (the bar lists), 0 Compact (the line arrays). Only the
// input-mode menu items (and undo, through them) change it, keeping options_input_mode equal.
extern int interface_extended;

// screenview: the six drawing areas, each stored by its own first configure event, and
// the painted strip of the border colour picker.
extern GtkWidget *drawingarea_upper_border;
extern GtkWidget *drawingarea_lower_border;
extern GtkWidget *drawingarea_left_border;
extern GtkWidget *drawingarea_right_border;
extern GtkWidget *drawingarea_picture;
extern GtkWidget *drawingarea_border_color;
extern cairo_surface_t *surface_border_color;

// hiresdecoder: the decoded picture. c64pixbufs: the case PETSCII screens are drawn in
// (1 upper case).
extern PictureData picture_data;
extern int set_uppercase;

// options: the persistent options and the configuration file's path.
extern char *options_picture_dir_string;
extern char *options_export_png_dir_string;
extern char *options_export_dir_string;
extern int options_input_mode;
extern int options_palette;
extern int options_expansion;
extern int options_reencode_graphics;
extern gint *options_window_position;
extern char *utf8_path_configfile;

// rasterarray: Compact mode's bars, one colour index 0..15 or -1 (no colour) per raster
// line, and each side's selection: anchor, moving end (both within the picture lines) and
// range flag.
extern int colors_left[RASTER_LINES];
extern int colors_right[RASTER_LINES];
extern int selection_start_left, selection_start_right;
extern int selection_end_left, selection_end_right;
extern int selection_active_left, selection_active_right;

// rastermodel: Extended mode's bar lists and their views.
extern GtkListStore *model_rasters_left;
extern GtkListStore *model_rasters_right;
extern GtkWidget *treeview_rasters_left;
extern GtkWidget *treeview_rasters_right;
