// Shared by the export test programs: the started application with a picture marked as
// loaded and no bars, bars made through each input mode, and answering a save chooser.
#pragma once

#include <string>

#include "callbacks.h"
#include "controls.h"
#include "file_dialogs.h"
#include "main.h"
#include "options.h"
#include "rasterarray.h"
#include "rastermodel.h"

// Answers the next save chooser: notes the name it suggests, then types `typed` into it
// in the folder `folder`.
inline void answer_save_chooser(const std::string &folder, const std::string &typed, std::string *suggested) {
  answer_next_dialog(GTK_RESPONSE_OK, [=](GtkWidget *dialog) {
    gtk_file_chooser_set_current_folder(GTK_FILE_CHOOSER(dialog), folder.c_str());
    settle([&] { return chooser_filename(dialog).starts_with(folder + "/"); });
    *suggested = chooser_filename(dialog).substr(folder.size() + 1);
    choose_path(dialog, folder + "/" + typed);
  });
}

// A bar of the Extended mode, made as the user makes one: the tool button's add, then
// edits of the new row's cells (height and colour first, then the start line, which
// moves the row to its place).
inline void add_extended_bar(int side, int start, int height, int colour) {
  GtkTreeView *view = GTK_TREE_VIEW(side == 1 ? treeview_rasters_left : treeview_rasters_right);
  (side == 1 ? rastermodel_add_bar_left : rastermodel_add_bar_right)();
  const int rows = gtk_tree_model_iter_n_children(gtk_tree_view_get_model(view), nullptr);
  char *path = g_strdup_printf("%d", rows - 1);
  for (auto [column, value] : {std::pair{1, height}, std::pair{2, colour}, std::pair{0, start}}) {
    GList *cells = gtk_cell_layout_get_cells(GTK_CELL_LAYOUT(gtk_tree_view_get_column(view, column)));
    char *text = g_strdup_printf("%d", value);
    g_signal_emit_by_name(cells->data, "edited", path, text);
    g_free(text);
    g_list_free(cells);
  }
  g_free(path);
}

// Compact mode: colour `colour` on raster lines first..last of one side.
inline void paint_compact_lines(int side, int first, int last, int colour) {
  for (int line = first; line <= last; ++line) (side == 1 ? colors_left : colors_right)[line] = colour;
}

class ExportTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_NE(start_app(), nullptr);
    picture_loaded = 1;
    interface_extended = 1;
    border_color_index = 6;
    options_reencode_graphics = 0;
    rastermodel_delete_all_bars();
    rasterarray_delete_all_bars();
    close_error_boxes();
    controls_update_main_statusbar("");
  }
  void TearDown() override { close_error_boxes(); }
};
