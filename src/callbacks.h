// callbacks: every signal handler of the main window and the picture, project and export
// commands behind them. The state they share is declared in state.h.
#pragma once

#include <gtk/gtk.h>

#include <vector>

// Shutdown.
void cleanup_before_quitting(void);
void on_menuitem_quit_activate(GtkMenuItem *menuitem, gpointer user_data);
gboolean on_window_main_delete_event(GtkWidget *widget, GdkEvent *event, gpointer user_data);

// Picture and project commands.
// True when a picture is loaded; else reports " Info: First open a picture or project".
bool need_picture();
int open_picture(const char *path, int border_flag);
int save_project_to_file(const char *path);
void choose_name_and_save_project_to_file(void);

// Executable export: builds the PRG of the picture's kind and writes it to `filename`.
int export_hires_to_executable(const char *filename);
int export_mc_to_executable(const char *filename);
int export_petscii_to_executable(const char *filename);
// The active mode's 200-entry colour tables of lines 51..250, the border colour where no bar is.
void export_get_bar_tables(unsigned char *left, unsigned char *right);
// Runs the cruncher on the written PRG, replacing it, with the watch cursor shown; 1 when
// it ended with status 0.
int export_run_cruncher(const char *filename);

// PNG export: writes the 384 x 272 screenshot of the screen with its bars to `filename`
// and reports it in the status bar; 1 when written.
int export_png_to_file(const char *filename);

// Menu items.
void on_menuitem_open_project_activate(GtkMenuItem *menuitem, gpointer user_data);
void on_menuitem_save_project_activate(GtkMenuItem *menuitem, gpointer user_data);
void on_menuitem_save_project_as_activate(GtkMenuItem *menuitem, gpointer user_data);
void on_menuitem_open_picture_activate(GtkMenuItem *menuitem, gpointer user_data);
void on_menuitem_reload_picture_activate(GtkMenuItem *menuitem, gpointer user_data);
void on_menuitem_export_to_png_activate(GtkMenuItem *menuitem, gpointer user_data);
void on_menuitem_export_activate(GtkMenuItem *menuitem, gpointer user_data);
void on_menuitem_export_bar_tables_activate(GtkMenuItem *menuitem, gpointer user_data);
void on_menuitem_export_disk_image_activate(GtkMenuItem *menuitem, gpointer user_data);
void on_menuitem_interface_extended_activate(GtkMenuItem *menuitem, gpointer user_data);
void on_menuitem_interface_compact_activate(GtkMenuItem *menuitem, gpointer user_data);
void on_menuitem_palette_peptos_activate(GtkMenuItem *menuitem, gpointer user_data);
void on_menuitem_palette_high_contrast_activate(GtkMenuItem *menuitem, gpointer user_data);
void on_menuitem_palette_pixcen_activate(GtkMenuItem *menuitem, gpointer user_data);
void on_menuitem_palette_ccs64_activate(GtkMenuItem *menuitem, gpointer user_data);
void on_menuitem_zoom_1x_activate(GtkMenuItem *menuitem, gpointer user_data);
void on_menuitem_zoom_2x_activate(GtkMenuItem *menuitem, gpointer user_data);
void on_menuitem_zoom_3x_activate(GtkMenuItem *menuitem, gpointer user_data);
void on_menuitem_zoom_4x_activate(GtkMenuItem *menuitem, gpointer user_data);
void on_menuitem_reencode_graphics_activate(GtkMenuItem *menuitem, gpointer user_data);
void on_menuitem_select_left_border_activate(GtkMenuItem *menuitem, gpointer user_data);
void on_menuitem_select_right_border_activate(GtkMenuItem *menuitem, gpointer user_data);
void on_menuitem_tools_auto_expand_picture_activate(GtkMenuItem *menuitem, gpointer user_data);

// Tool buttons.
void on_toolbutton_add_bar_left_clicked(GtkToolButton *toolbutton, gpointer user_data);
void on_toolbutton_remove_bar_left_clicked(GtkToolButton *toolbutton, gpointer user_data);
void on_toolbutton_add_bar_right_clicked(GtkToolButton *toolbutton, gpointer user_data);
void on_toolbutton_remove_bar_right_clicked(GtkToolButton *toolbutton, gpointer user_data);
void on_toolbutton_delete_all_bars_clicked(GtkToolButton *toolbutton, gpointer user_data);

// List views.
void on_treeview_rasters_left_cursor_changed(GtkTreeView *treeview, gpointer user_data);
void on_treeview_rasters_right_cursor_changed(GtkTreeView *treeview, gpointer user_data);

// Drawing areas.
gboolean on_drawingarea_left_border_configure_event(GtkWidget *widget, GdkEventConfigure *event, gpointer user_data);
gboolean on_drawingarea_left_border_expose_event(GtkWidget *widget, GdkEventExpose *event, gpointer user_data);
gboolean on_drawingarea_left_border_button_press_event(GtkWidget *widget, GdkEventButton *event, gpointer user_data);
gboolean on_drawingarea_left_border_key_press_event(GtkWidget *widget, GdkEventKey *event, gpointer user_data);
gboolean on_drawingarea_left_border_motion_notify_event(GtkWidget *widget, GdkEventMotion *event, gpointer user_data);
gboolean on_drawingarea_right_border_configure_event(GtkWidget *widget, GdkEventConfigure *event, gpointer user_data);
gboolean on_drawingarea_right_border_expose_event(GtkWidget *widget, GdkEventExpose *event, gpointer user_data);
gboolean on_drawingarea_right_border_button_press_event(GtkWidget *widget, GdkEventButton *event, gpointer user_data);
gboolean on_drawingarea_right_border_key_press_event(GtkWidget *widget, GdkEventKey *event, gpointer user_data);
gboolean on_drawingarea_right_border_motion_notify_event(GtkWidget *widget, GdkEventMotion *event, gpointer user_data);
gboolean on_drawingarea_upper_border_configure_event(GtkWidget *widget, GdkEventConfigure *event, gpointer user_data);
gboolean on_drawingarea_upper_border_expose_event(GtkWidget *widget, GdkEventExpose *event, gpointer user_data);
gboolean on_drawingarea_picture_configure_event(GtkWidget *widget, GdkEventConfigure *event, gpointer user_data);
gboolean on_drawingarea_picture_expose_event(GtkWidget *widget, GdkEventExpose *event, gpointer user_data);
gboolean on_drawingarea_lower_border_configure_event(GtkWidget *widget, GdkEventConfigure *event, gpointer user_data);
gboolean on_drawingarea_lower_border_expose_event(GtkWidget *widget, GdkEventExpose *event, gpointer user_data);
gboolean on_drawingarea_border_color_configure_event(GtkWidget *widget, GdkEventConfigure *event, gpointer user_data);
gboolean on_drawingarea_border_color_expose_event(GtkWidget *widget, GdkEventExpose *event, gpointer user_data);
gboolean on_drawingarea_border_color_button_press_event(GtkWidget *widget, GdkEventButton *event, gpointer user_data);
