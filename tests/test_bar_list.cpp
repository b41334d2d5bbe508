// The bar lists of Extended mode on the main window's real list views, tool buttons and
// left/right border areas: cell edits, adding, removing, delete all, drawing, the
// per-line table and picking a bar with the mouse.
#include <algorithm>
#include <array>
#include <cstdint>
#include <vector>

#include "callbacks.h"
#include "controls.h"
#include "main.h"
#include "options.h"
#include "palette.h"
#include "rastermodel.h"
#include "support.h"
#include "testutil.h"

namespace {

struct Bar {
  int start, height, color;
  bool operator==(const Bar &) const = default;
};

std::ostream &operator<<(std::ostream &os, const Bar &b) {
  return os << "(" << b.start << "," << b.height << "," << b.color << ")";
}

std::vector<Bar> bars(GtkListStore *list) {
  std::vector<Bar> out;
  GtkTreeIter row;
  for (gboolean ok = gtk_tree_model_get_iter_first(GTK_TREE_MODEL(list), &row); ok;
       ok = gtk_tree_model_iter_next(GTK_TREE_MODEL(list), &row)) {
    Bar b{};
    gtk_tree_model_get(GTK_TREE_MODEL(list), &row, 0, &b.start, 1, &b.height, 2, &b.color, -1);
    out.push_back(b);
  }
  return out;
}

void set_bars(GtkListStore *list, const std::vector<Bar> &content) {
  gtk_list_store_clear(list);
  for (const Bar &b : content) gtk_list_store_insert_with_values(list, nullptr, -1, 0, b.start, 1, b.height, 2, b.color, -1);
}

void select_row(GtkWidget *view, int index) {
  GtkTreePath *path = gtk_tree_path_new_from_indices(index, -1);
  gtk_tree_view_set_cursor(GTK_TREE_VIEW(view), path, nullptr, FALSE);
  gtk_tree_path_free(path);
}

int selected_row(GtkWidget *view) {
  GtkTreeModel *model;
  GtkTreeIter row;
  if (!gtk_tree_selection_get_selected(gtk_tree_view_get_selection(GTK_TREE_VIEW(view)), &model, &row)) return -1;
  GtkTreePath *path = gtk_tree_model_get_path(model, &row);
  int index = gtk_tree_path_get_indices(path)[0];
  gtk_tree_path_free(path);
  return index;
}

unsigned int rgb_of(int color) {
  unsigned char rgb[3];
  palette_get_rgb_at_index(color, rgb);
  return (rgb[0] << 16) | (rgb[1] << 8) | rgb[2];
}

void click(const char *button) { g_signal_emit_by_name(lookup_widget(window_main, button), "clicked"); }

std::string status_text() {
  GtkWidget *area = gtk_statusbar_get_message_area(GTK_STATUSBAR(lookup_widget(window_main, "statusbar_main")));
  GList *children = gtk_container_get_children(GTK_CONTAINER(area));
  std::string text = children ? gtk_label_get_text(GTK_LABEL(children->data)) : "";
  g_list_free(children);
  return text;
}

class BarList : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_NE(start_app(), nullptr);
    picture_loaded = 1;
    interface_extended = 1;
    options_expansion = 1;
    set_zoom_level();
    border_color_index = 6;
    rastermodel_delete_all_bars();
  }
};

TEST_F(BarList, CellEditsThroughTheRenderersKeepTheRanges) {
  struct Case {
    int column;
    const char *text;
    Bar after;
  };
  const Bar before{100, 10, 3};
  const std::vector<Case> cases{
      {0, "50", before},         {0, "251", before},      {0, "51", {51, 10, 3}},   {0, "250", {250, 10, 3}},
      {0, "120abc", {120, 10, 3}}, {0, "abc", before},    {0, "", before},          {1, "200", {100, 151, 3}},
      {1, "151", {100, 151, 3}}, {1, "201", before}, {1, "-1", before},       {1, "0", {100, 0, 3}},    {1, " 5", {100, 5, 3}},
      {2, "16", before},         {2, "-1", before},       {2, "15", {100, 10, 15}}, {2, "x1", before},
  };
  GtkTreeView *view = GTK_TREE_VIEW(treeview_rasters_left);
  for (const Case &c : cases) {
    set_bars(model_rasters_left, {before});
    GList *cells = gtk_cell_layout_get_cells(GTK_CELL_LAYOUT(gtk_tree_view_get_column(view, c.column)));
    ASSERT_NE(cells, nullptr);
    g_signal_emit_by_name(cells->data, "edited", "0", c.text);
    g_list_free(cells);
    EXPECT_EQ(bars(model_rasters_left), (std::vector<Bar>{c.after})) << "column " << c.column << " text '" << c.text << "'";
  }

  // A new start line moves the row to its place.
  set_bars(model_rasters_left, {{60, 1, 1}, {100, 2, 2}});
  GList *cells = gtk_cell_layout_get_cells(GTK_CELL_LAYOUT(gtk_tree_view_get_column(view, 0)));
  g_signal_emit_by_name(cells->data, "edited", "0", "150");
  g_list_free(cells);
  EXPECT_EQ(bars(model_rasters_left), (std::vector<Bar>{{100, 2, 2}, {150, 1, 1}}));
}

TEST_F(BarList, AddFindsTheEndOrTheFirstGap) {
  click("toolbutton_add_bar_left");
  click("toolbutton_add_bar_left");
  EXPECT_EQ(bars(model_rasters_left), (std::vector<Bar>{{51, 1, 1}, {52, 1, 1}}));
  EXPECT_TRUE(bars(model_rasters_right).empty());

  struct Case {
    std::vector<Bar> before;
    int new_line;  // 0: nothing added
  };
  const std::vector<Case> cases{
      {{{51, 100, 2}, {200, 51, 3}}, 151},
      {{{51, 200, 2}}, 51},
      {{{51, 200, 2}, {252, 1, 3}}, 0},  // the only gap starts at line 251
  };
  for (const Case &c : cases) {
    set_bars(model_rasters_right, c.before);
    click("toolbutton_add_bar_right");
    std::vector<Bar> after = bars(model_rasters_right);
    if (c.new_line == 0) {
      EXPECT_EQ(after, c.before);
    } else {
      EXPECT_EQ(after.size(), c.before.size() + 1);
      EXPECT_NE(std::find(after.begin(), after.end(), Bar{c.new_line, 1, 1}), after.end()) << c.new_line;
    }
  }
}

TEST_F(BarList, RemoveSelectsTheFollowingRow) {
  set_bars(model_rasters_left, {{60, 1, 1}, {70, 1, 2}, {80, 1, 3}});
  click("toolbutton_remove_bar_left");  // nothing selected
  EXPECT_EQ(bars(model_rasters_left).size(), 3u);

  select_row(treeview_rasters_left, 1);
  click("toolbutton_remove_bar_left");
  EXPECT_EQ(bars(model_rasters_left), (std::vector<Bar>{{60, 1, 1}, {80, 1, 3}}));
  EXPECT_EQ(selected_row(treeview_rasters_left), 1);

  click("toolbutton_remove_bar_left");  // the last row
  EXPECT_EQ(bars(model_rasters_left), (std::vector<Bar>{{60, 1, 1}}));
  EXPECT_EQ(selected_row(treeview_rasters_left), -1);
}

TEST_F(BarList, DeleteAllAsksFirst) {
  set_bars(model_rasters_left, {{60, 1, 1}});
  set_bars(model_rasters_right, {{70, 1, 2}});
  answer_next_dialog(GTK_RESPONSE_NO);
  click("toolbutton_delete_all_bars");
  EXPECT_EQ(bars(model_rasters_left).size(), 1u);
  EXPECT_EQ(bars(model_rasters_right).size(), 1u);

  answer_next_dialog(GTK_RESPONSE_YES);
  click("toolbutton_delete_all_bars");
  EXPECT_TRUE(bars(model_rasters_left).empty());
  EXPECT_TRUE(bars(model_rasters_right).empty());
  EXPECT_EQ(gtk_tree_view_get_model(GTK_TREE_VIEW(treeview_rasters_left)), GTK_TREE_MODEL(model_rasters_left));
}

TEST_F(BarList, ToolButtonsNeedAPicture) {
  picture_loaded = 0;
  set_bars(model_rasters_left, {{60, 1, 1}});
  set_bars(model_rasters_right, {{70, 1, 2}});
  select_row(treeview_rasters_left, 0);
  select_row(treeview_rasters_right, 0);
  for (const char *button : {"toolbutton_add_bar_left", "toolbutton_remove_bar_left", "toolbutton_add_bar_right",
                             "toolbutton_remove_bar_right", "toolbutton_delete_all_bars"}) {
    controls_update_main_statusbar("");
    click(button);
    EXPECT_EQ(status_text(), " Info: First open a picture or project") << button;
  }
  EXPECT_EQ(bars(model_rasters_left), (std::vector<Bar>{{60, 1, 1}}));
  EXPECT_EQ(bars(model_rasters_right), (std::vector<Bar>{{70, 1, 2}}));
}

TEST_F(BarList, OverlapLaterRowShowsFirstRowIsPicked) {
  set_bars(model_rasters_left, {{60, 20, 2}, {70, 5, 5}});
  std::array<unsigned char, 200> table{};
  rastermodel_get_bars_left(table.data(), 6);
  for (int line = 51; line <= 250; ++line) {
    int expected = line >= 70 && line <= 74 ? 5 : line >= 60 && line < 80 ? 2 : 6;
    EXPECT_EQ(table[line - 51], expected) << "line " << line;
  }
  rastermodel_get_bars_right(table.data(), 9);
  EXPECT_EQ(std::count(table.begin(), table.end(), 9), 200);

  for (int zoom : {1, 3}) {
    options_expansion = zoom;
    set_zoom_level();
    pump_events(50);
    gtk_widget_queue_draw(drawingarea_left_border);
    GdkPixbuf *shot = grab_widget(drawingarea_left_border);
    ASSERT_NE(shot, nullptr);
    for (auto [line, color] : std::vector<std::pair<int, int>>{{59, 6}, {60, 2}, {69, 2}, {70, 5}, {74, 5}, {75, 2}, {79, 2}, {80, 6}}) {
      for (int dy : {0, zoom - 1})
        EXPECT_EQ(pixel_at(shot, 20 * zoom, (line - 3) * zoom + dy), rgb_of(color)) << "zoom " << zoom << " line " << line;
    }
    g_object_unref(shot);

    GdkEventButton press{};
    press.type = GDK_BUTTON_PRESS;
    press.window = drawingarea_left_border->window;
    press.button = 1;
    press.y = (72 - 3) * zoom;
    gboolean handled = FALSE;
    gtk_tree_selection_unselect_all(gtk_tree_view_get_selection(GTK_TREE_VIEW(treeview_rasters_left)));
    g_signal_emit_by_name(drawingarea_left_border, "button-press-event", &press, &handled);
    EXPECT_EQ(selected_row(treeview_rasters_left), 0) << "zoom " << zoom;
  }
}

// Renders one side into an image painted beforehand in a colour that no palette has.
struct Rendered {
  cairo_surface_t *surface;
  explicit Rendered(int side, int with_selection)
      : surface(cairo_image_surface_create(CAIRO_FORMAT_RGB24, 48 * options_expansion, 296 * options_expansion)) {
    cairo_t *cr = cairo_create(surface);
    cairo_set_source_rgb(cr, 1.0, 0.0, 1.0);
    cairo_paint(cr);
    (side ? rastermodel_render_lines_left : rastermodel_render_lines_right)(cr, with_selection);
    cairo_destroy(cr);
    cairo_surface_flush(surface);
  }
  ~Rendered() { cairo_surface_destroy(surface); }
  unsigned int at(int x, int y) const {
    auto *row = cairo_image_surface_get_data(surface) + y * cairo_image_surface_get_stride(surface);
    return reinterpret_cast<const uint32_t *>(row)[x] & 0xffffff;
  }
};

TEST_F(BarList, DrawsBarsStripAndSelectionMark) {
  constexpr unsigned int background = 0xff00ff;
  set_bars(model_rasters_left, {{100, 3, 5}, {120, 0, 7}, {140, -5, 9}});
  set_bars(model_rasters_right, {{100, 3, 5}});
  select_row(treeview_rasters_left, 0);
  select_row(treeview_rasters_right, 0);
  for (int z : {1, 2}) {
    options_expansion = z;
    for (int side : {1, 0}) {
      int bar_x = side ? 4 * z : 0, strip_x = side ? 0 : 44 * z;
      for (int with_selection : {0, 1}) {
        Rendered img(side, with_selection);
        SCOPED_TRACE(testing::Message() << "zoom " << z << " side " << side << " selection " << with_selection);
        for (int y : {97 * z, 99 * z + z - 1}) {  // first and last pixel row of lines 100..102
          EXPECT_EQ(img.at(bar_x, y), rgb_of(5));
          EXPECT_EQ(img.at(bar_x + 44 * z - 1, y), rgb_of(5));
          EXPECT_EQ(img.at(strip_x + 4 * z - 1, y), with_selection ? rgb_of(1) : rgb_of(0));
        }
        EXPECT_EQ(img.at(bar_x, 97 * z - 1), background);
        EXPECT_EQ(img.at(bar_x, 100 * z), background);
        EXPECT_EQ(img.at(bar_x, 117 * z), background);  // the bar of height 0
        EXPECT_EQ(img.at(bar_x, 135 * z), background);  // a negative height covers nothing either
        EXPECT_EQ(img.at(strip_x, 100 * z), rgb_of(0));
        EXPECT_EQ(img.at(strip_x, 0), rgb_of(0));
        EXPECT_EQ(img.at(strip_x + 4 * z - 1, 296 * z - 1), rgb_of(0));
      }
    }
  }
  EXPECT_NE(rgb_of(1), rgb_of(0));

  // On screen the mark follows picture_loaded.
  options_expansion = 1;
  set_zoom_level();
  for (int loaded : {1, 0}) {
    picture_loaded = loaded;
    gtk_widget_queue_draw(drawingarea_left_border);
    GdkPixbuf *shot = grab_widget(drawingarea_left_border);
    EXPECT_EQ(pixel_at(shot, 1, 98), loaded ? rgb_of(1) : rgb_of(0));
    g_object_unref(shot);
  }
}

}  // namespace
