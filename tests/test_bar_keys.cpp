// The keys of Extended mode on the selected bar of the main window's left list view.
#include <gdk/gdkkeysyms.h>

#include <vector>

#include "callbacks.h"
#include "main.h"
#include "rastermodel.h"
#include "testutil.h"

namespace {

constexpr unsigned int shift = 1, control = 4, alt = 8;

void set_colors(const std::vector<int> &starts) {
  gtk_list_store_clear(model_rasters_left);
  for (int start : starts)
    gtk_list_store_insert_with_values(model_rasters_left, nullptr, -1, 0, start, 1, 2, 2, 9, -1);
}

// Start line and colour of each row, in list order.
std::vector<std::pair<int, int>> rows() {
  std::vector<std::pair<int, int>> out;
  GtkTreeIter row;
  GtkTreeModel *model = GTK_TREE_MODEL(model_rasters_left);
  for (gboolean ok = gtk_tree_model_get_iter_first(model, &row); ok; ok = gtk_tree_model_iter_next(model, &row)) {
    out.emplace_back();
    gtk_tree_model_get(model, &row, 0, &out.back().first, 2, &out.back().second, -1);
  }
  return out;
}

std::vector<int> starts() {
  std::vector<int> out;
  for (auto [start, color] : rows()) out.push_back(start);
  return out;
}

int color_of(int index) { return rows().at(index).second; }

void select_row(int index) {
  GtkTreePath *path = gtk_tree_path_new_from_indices(index, -1);
  gtk_tree_view_set_cursor(GTK_TREE_VIEW(treeview_rasters_left), path, nullptr, FALSE);
  gtk_tree_path_free(path);
}

int selected_row() {
  GtkTreeModel *model;
  GtkTreeIter row;
  if (!gtk_tree_selection_get_selected(gtk_tree_view_get_selection(GTK_TREE_VIEW(treeview_rasters_left)), &model, &row))
    return -1;
  GtkTreePath *path = gtk_tree_model_get_path(model, &row);
  int index = gtk_tree_path_get_indices(path)[0];
  gtk_tree_path_free(path);
  return index;
}

class BarKeys : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_NE(start_app(), nullptr);
    picture_loaded = 1;
    interface_extended = 1;
    set_colors({60, 70, 80});
  }
};

TEST_F(BarKeys, NothingWithoutASelection) {
  for (unsigned int key : {GDK_Up, GDK_Down, GDK_Delete, GDK_1, GDK_KP_3, GDK_i}) {
    EXPECT_EQ(rastermodel_key_press_left(key, 0), 0) << key;
  }
  EXPECT_EQ(starts(), (std::vector<int>{60, 70, 80}));
  EXPECT_EQ(color_of(0), 9);
}

TEST_F(BarKeys, ColourKeys) {
  struct Case {
    unsigned int keyval, state;
    int color;  // -1: key does nothing
  };
  const std::vector<Case> cases{
      {GDK_1, 0, 0},          {GDK_8, shift, 7},       {GDK_q, 0, 8},           {GDK_i, alt, 15},
      {GDK_u, control, 14},   {GDK_KP_0, 0, 0},        {GDK_KP_0, control, 8},  {GDK_KP_3, control, 11},
      {GDK_KP_3, control | shift, 3}, {GDK_KP_3, alt, 3}, {GDK_KP_2, control, 10}, {GDK_KP_2, 0, 2},
      {GDK_KP_7, control, 15}, {GDK_KP_8, 0, -1},      {GDK_KP_8, control, -1}, {GDK_U, shift, -1},
      {GDK_Q, shift, -1},     {GDK_a, 0, -1},
  };
  for (const Case &c : cases) {
    set_colors({60, 70, 80});
    select_row(1);
    EXPECT_EQ(rastermodel_key_press_left(c.keyval, c.state), c.color >= 0 ? 1 : 0) << c.keyval << " " << c.state;
    EXPECT_EQ(color_of(1), c.color >= 0 ? c.color : 9) << c.keyval << " " << c.state;
    EXPECT_EQ(selected_row(), 1);
    EXPECT_EQ(color_of(0), 9);
  }
}

TEST_F(BarKeys, PreviousAndNext) {
  struct Case {
    int from;
    unsigned int keyval, state;
    int result, to;
  };
  const std::vector<Case> cases{
      {0, GDK_Up, 0, 0, 0},         {2, GDK_Down, 0, 0, 2},       {1, GDK_Up, 0, 1, 0},
      {1, GDK_Down, control, 1, 2}, {0, GDK_KP_2, shift, 1, 1},   {2, GDK_KP_8, shift, 1, 1},
      {0, GDK_KP_8, shift, 0, 0},   {2, GDK_KP_2, shift, 0, 2},
  };
  for (const Case &c : cases) {
    select_row(c.from);
    EXPECT_EQ(rastermodel_key_press_left(c.keyval, c.state), c.result) << c.keyval << " from " << c.from;
    EXPECT_EQ(selected_row(), c.to) << c.keyval << " from " << c.from;
  }
  EXPECT_EQ(starts(), (std::vector<int>{60, 70, 80}));

  GtkTreeIter row;
  ASSERT_TRUE(gtk_tree_model_get_iter_first(GTK_TREE_MODEL(model_rasters_left), &row));
  EXPECT_FALSE(gtk_tree_model_iter_previous(GTK_TREE_MODEL(model_rasters_left), &row));
  EXPECT_EQ(row.stamp, 0);
}

TEST_F(BarKeys, DeleteRemovesTheSelectedBar) {
  select_row(1);
  EXPECT_EQ(rastermodel_key_press_left(GDK_Delete, 0), 1);
  EXPECT_EQ(starts(), (std::vector<int>{60, 80}));
  EXPECT_EQ(selected_row(), 1);

  set_colors({60});
  select_row(0);
  EXPECT_EQ(rastermodel_key_press_left(GDK_Delete, 0), 1);
  EXPECT_TRUE(starts().empty());
  EXPECT_EQ(selected_row(), -1);
}

// A click gives the left border the focus; a key press on the window then reaches the
// selected bar through the border's key handler.
TEST_F(BarKeys, KeyEventOnTheFocusedBorder) {
  GdkEventButton press{};
  press.type = GDK_BUTTON_PRESS;
  press.window = drawingarea_left_border->window;
  press.button = 1;
  press.y = 70 - 3;
  gboolean handled = FALSE;
  g_signal_emit_by_name(drawingarea_left_border, "button-press-event", &press, &handled);
  ASSERT_TRUE(gtk_widget_has_focus(drawingarea_left_border));
  ASSERT_EQ(selected_row(), 1);

  GdkEvent *key = gdk_event_new(GDK_KEY_PRESS);
  key->key.window = GDK_WINDOW(g_object_ref(window_main->window));
  key->key.send_event = TRUE;
  key->key.keyval = GDK_e;
  key->key.state = GDK_MOD2_MASK;  // Num Lock does not count
  gtk_main_do_event(key);
  gdk_event_free(key);
  EXPECT_EQ(color_of(1), 10);
}

}  // namespace
