// Shared by the mode conversion and project bar test programs: a side's bars as values,
// in both forms (list rows and line arrays), and driving the main window's menu items.
#pragma once

#include <algorithm>
#include <ostream>
#include <string>
#include <vector>

#include "main.h"
#include "rasterarray.h"
#include "rastermodel.h"
#include "support.h"

struct Bar {
  int start, height, color;
  bool operator==(const Bar &) const = default;
};
using Bars = std::vector<Bar>;

inline std::ostream &operator<<(std::ostream &os, const Bar &b) {
  return os << "(" << b.start << "," << b.height << "," << b.color << ")";
}

inline GtkListStore *list_of(int side) { return side == 1 ? model_rasters_left : model_rasters_right; }

inline Bars bars(int side) {
  GtkTreeModel *model = GTK_TREE_MODEL(list_of(side));
  Bars out;
  GtkTreeIter row;
  for (gboolean ok = gtk_tree_model_get_iter_first(model, &row); ok; ok = gtk_tree_model_iter_next(model, &row)) {
    Bar b{};
    gtk_tree_model_get(model, &row, 0, &b.start, 1, &b.height, 2, &b.color, -1);
    out.push_back(b);
  }
  return out;
}

inline void set_bars(int side, const Bars &content) {
  gtk_list_store_clear(list_of(side));
  for (const Bar &b : content)
    gtk_list_store_insert_with_values(list_of(side), nullptr, -1, 0, b.start, 1, b.height, 2, b.color, -1);
}

// All 312 entries of one side's array.
inline std::vector<int> lines(int side) {
  const int *colors = side == 1 ? colors_left : colors_right;
  return {colors, colors + RASTER_LINES};
}

// A whole array as `fill` everywhere, with the given bars painted over it in order.
inline std::vector<int> painted(const Bars &content, int fill = -1) {
  std::vector<int> out(RASTER_LINES, fill);
  for (const Bar &b : content) std::fill(out.begin() + b.start, out.begin() + b.start + b.height, b.color);
  return out;
}

inline void set_lines(int side, const std::vector<int> &content) {
  std::copy(content.begin(), content.end(), side == 1 ? colors_left : colors_right);
}

inline void activate(const char *item) { gtk_menu_item_activate(GTK_MENU_ITEM(lookup_widget(window_main, item))); }

inline std::string status_text() {
  GtkWidget *area = gtk_statusbar_get_message_area(GTK_STATUSBAR(lookup_widget(window_main, "statusbar_main")));
  GList *children = gtk_container_get_children(GTK_CONTAINER(area));
  std::string text = children ? gtk_label_get_text(GTK_LABEL(children->data)) : "";
  g_list_free(children);
  return text;
}
