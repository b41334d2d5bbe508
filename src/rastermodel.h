// rastermodel: Extended mode, the bars as two sorted lists shown in editable list views.
#pragma once

#include <gtk/gtk.h>

#include <vector>

#include "rasterarray.h"

extern GtkListStore *model_rasters_left;
extern GtkListStore *model_rasters_right;
extern GtkWidget *treeview_rasters_left;
extern GtkWidget *treeview_rasters_right;

// Columns of a RasterBar row.
enum { RASTER_COLUMN_LINE = 0, RASTER_COLUMN_HEIGHT = 1, RASTER_COLUMN_COLOR = 2, RASTER_N_COLUMNS = 3 };

void rastermodel_module_init(void);
void rastermodel_insert_bar_treeview_columns(GtkTreeView *view);
gint rastermodel_sort_iter_compare_func(GtkTreeModel *model, GtkTreeIter *a, GtkTreeIter *b, gpointer user_data);
void rastermodel_on_cell_edited(GtkCellRendererText *cell, const gchar *path_string, const gchar *new_text,
                                gpointer view);
void rastermodel_update_post_editing(void);

void rastermodel_add_bar(GtkListStore *list);
void rastermodel_add_bar_left(void);
void rastermodel_add_bar_right(void);
gboolean rastermodel_foreach_find_last_used_line(GtkTreeModel *model, GtkTreePath *path, GtkTreeIter *iter,
                                                 gpointer line);
gboolean rastermodel_foreach_find_first_unused_line(GtkTreeModel *model, GtkTreePath *path, GtkTreeIter *iter,
                                                    gpointer line);
void rastermodel_remove_bar(GtkTreeView *view, GtkListStore *list);
void rastermodel_remove_bar_left(void);
void rastermodel_remove_bar_right(void);
void rastermodel_delete_all_bars(void);

void rastermodel_render_lines(int side, cairo_t *cr, int with_selection);
void rastermodel_render_lines_left(cairo_t *cr, int with_selection);
void rastermodel_render_lines_right(cairo_t *cr, int with_selection);
gboolean rastermodel_foreach_render_lines(GtkTreeModel *model, GtkTreePath *path, GtkTreeIter *iter, gpointer cr);
void rastermodel_mark_selection(GtkTreeView *view, GtkTreeModel *model, cairo_t *cr);

void rastermodel_get_bars(GtkTreeModel *model, unsigned char out[200], int fallback);
void rastermodel_get_bars_left(unsigned char out[200], int fallback);
void rastermodel_get_bars_right(unsigned char out[200], int fallback);

void rastermodel_button_press(GtkTreeView *view, GtkTreeModel *model, int row);
void rastermodel_button_press_left(int row);
void rastermodel_button_press_right(int row);
void rastermodel_move_cursor(GtkTreeView *view, GtkTreeModel *model, GtkTreeIter *row);

// Keyboard editing of the selected bar.
int rastermodel_key_press(GtkTreeView *view, GtkTreeModel *model, unsigned int keyval, unsigned int state);
int rastermodel_key_press_left(unsigned int keyval, unsigned int state);
int rastermodel_key_press_right(unsigned int keyval, unsigned int state);
int gtk_tree_model_iter_previous(GtkTreeModel *model, GtkTreeIter *row);

// Mode conversion and auto-extension.
void rastermodel_fill_models_from_arrays(void);
void rastermodel_fill_models_from_arrays_inner(GtkListStore *list);
void rastermodel_fill_arrays_from_models(int border_colour);
void rastermodel_fill_arrays_from_models_inner(GtkTreeModel *list, int border_colour);
void rastermodel_expand_picture(GdkPixbuf *picture, int border_colour);
void rastermodel_expand_picture_inner(GtkListStore *list, GdkPixbuf *picture, int border_colour);

// Project files.
void rastermodel_dump_models_to_key_file(GKeyFile *key_file);
void rastermodel_fill_models_from_key_file(GKeyFile *key_file);
void rastermodel_fill_models_from_key_file_internal(GtkListStore *list, GKeyFile *key_file, const char *group);

// A side's rows as values, in list order, and its selected row (-1 for none); setting
// the rows refills the list detached from its view, selecting -1 clears the selection.
std::vector<LineRun> rastermodel_get_rows(int side);
void rastermodel_set_rows(int side, const std::vector<LineRun> &rows);
int rastermodel_get_selected_index(int side);
void rastermodel_select_index(int side, int index);
// Both views show their "Color" cells on the bar's colour in the palette in force; this
// redraws them after a palette change.
void rastermodel_redraw_views(void);
