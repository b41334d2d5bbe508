// The main window and dialogs: names, tree, menus, tool bar, signal wiring, geometry, and
// lookup_widget's climb and warning.
#include <gdk/gdkkeysyms.h>

#include <map>
#include <string>
#include <vector>

#include "callbacks.h"
#include "interface.h"
#include "support.h"
#include "testutil.h"

namespace {

// A freshly built, never shown main window (before any option is applied).
struct Pristine {
  GtkWidget *window = create_window_main();
  ~Pristine() { gtk_widget_destroy(window); }
  GtkWidget *operator[](const char *name) const { return lookup_widget(window, name); }
};

std::string label_of(GtkWidget *w) {
  GtkWidget *child = GTK_IS_BIN(w) ? gtk_bin_get_child(GTK_BIN(w)) : w;
  return GTK_IS_LABEL(child) ? gtk_label_get_label(GTK_LABEL(child)) : "";
}

std::string tooltip_of(GtkWidget *w) {
  GtkTooltipsData *data = gtk_tooltips_data_get(w);
  return data && data->tip_text ? data->tip_text : "";
}

bool connected(gpointer object, const char *signal, GCallback handler) {
  guint id = g_signal_lookup(signal, G_OBJECT_TYPE(object));
  return id && g_signal_handler_find(object, GSignalMatchType(G_SIGNAL_MATCH_ID | G_SIGNAL_MATCH_FUNC), id, 0,
                                     nullptr, reinterpret_cast<gpointer>(handler), nullptr);
}

// The accelerator bound to a widget's "activate", if any, and the group holding it.
GtkAccelKey *accel_of(GtkWidget *w, GtkAccelGroup **group_out) {
  GList *closures = gtk_widget_list_accel_closures(w);
  GtkAccelKey *key = nullptr;
  for (GList *l = closures; l && !key; l = l->next) {
    *group_out = gtk_accel_group_from_accel_closure(static_cast<GClosure *>(l->data));
    key = gtk_accel_group_find(
        *group_out, [](GtkAccelKey *, GClosure *c, gpointer data) -> gboolean { return c == data; }, l->data);
  }
  g_list_free(closures);
  return key;
}

#define ACT(name) G_CALLBACK(on_##name##_activate)
const auto kF = GdkModifierType(0), kShift = GDK_SHIFT_MASK, kAlt = GDK_MOD1_MASK, kCtrl = GDK_CONTROL_MASK;

struct MenuExp {
  const char *menu, *name;
  GType type;
  const char *label, *image, *stock;
  guint key;
  GdkModifierType mods;
  const char *tooltip;
  GCallback handler;
  int group;  // radio group, or 0
  bool active;
};

TEST(Interface, MenusMatchTheirTable) {
  const GType img = GTK_TYPE_IMAGE_MENU_ITEM, sep = GTK_TYPE_SEPARATOR_MENU_ITEM, radio = GTK_TYPE_RADIO_MENU_ITEM,
              plain = GTK_TYPE_MENU_ITEM;
  const MenuExp rows[] = {
      {nullptr, "menuitem_file", img, "_File", "image502", "gtk-floppy", 0, kF, "", nullptr, 0, false},
      {"menuitem_file_menu", "menuitem_open_project", img, "_Open project...", "image504", "gtk-open", GDK_KEY_F1, kF, "Open a saved project", ACT(menuitem_open_project), 0, false},
      {"menuitem_file_menu", "menuitem_save_project", img, "_Save project", "image620", "gtk-save", GDK_KEY_F2, kF, "Save the current project to an existing file", ACT(menuitem_save_project), 0, false},
      {"menuitem_file_menu", "menuitem_save_project_as", img, "Save project _as...", "image505", "gtk-save-as", GDK_KEY_F2, kShift, "Save the current project to a new file", ACT(menuitem_save_project_as), 0, false},
      {"menuitem_file_menu", "separator1", sep, "", nullptr, nullptr, 0, kF, "", nullptr, 0, false},
      {"menuitem_file_menu", "menuitem_open_picture", img, "Load _picture...", "image503", "gtk-open", GDK_KEY_F3, kF, "Load a picture", ACT(menuitem_open_picture), 0, false},
      {"menuitem_file_menu", "menuitem_reload_picture", img, "_Reload picture", "image506", "gtk-refresh", GDK_KEY_F4, kF, "Reload the current picture to pick up any changes that might have occurred since it was last opened", ACT(menuitem_reload_picture), 0, false},
      {"menuitem_file_menu", "separator3", sep, "", nullptr, nullptr, 0, kF, "", nullptr, 0, false},
      {"menuitem_file_menu", "menuitem_export_to_png", img, "Export to PNG _image...", "image554", "gtk-select-color", 0, kF, "Export the project to a PNG image that can be used as a release screenshot for CSDb", ACT(menuitem_export_to_png), 0, false},
      {"menuitem_file_menu", "menuitem_export", img, "Export to _executable...", "image507", "gtk-convert", 0, kF, "Export project to a self-contained executable that can be used to release to CSDb", ACT(menuitem_export), 0, false},
      {"menuitem_file_menu", "separator4", sep, "", nullptr, nullptr, 0, kF, "", nullptr, 0, false},
      {"menuitem_file_menu", "menuitem_quit", img, "_Quit", nullptr, "gtk-quit", GDK_KEY_q, kCtrl, "", ACT(menuitem_quit), 0, false},
      {nullptr, "menuitem_preferences", img, "_Preferences", "image508", "gtk-preferences", 0, kF, "", nullptr, 0, false},
      {"menuitem_preferences_menu", "menuitem_interface", plain, "_Input mode", nullptr, nullptr, 0, kF, "", nullptr, 0, false},
      {"menuitem_interface_menu", "menuitem_interface_extended", radio, "_Extended", nullptr, nullptr, 0, kF, "", ACT(menuitem_interface_extended), 1, true},
      {"menuitem_interface_menu", "menuitem_interface_compact", radio, "_Compact", nullptr, nullptr, 0, kF, "", ACT(menuitem_interface_compact), 1, false},
      {"menuitem_preferences_menu", "menuitem_palette", plain, "_Palette", nullptr, nullptr, 0, kF, "", nullptr, 0, false},
      {"menuitem_palette_menu", "menuitem_palette_peptos", radio, "_Pepto", nullptr, nullptr, GDK_KEY_a, kAlt, "", ACT(menuitem_palette_peptos), 2, true},
      {"menuitem_palette_menu", "menuitem_palette_high_contrast", radio, "_High contrast", nullptr, nullptr, GDK_KEY_s, kAlt, "", ACT(menuitem_palette_high_contrast), 2, false},
      {"menuitem_palette_menu", "menuitem_palette_pixcen", radio, "Pi_xcen", nullptr, nullptr, GDK_KEY_d, kAlt, "", ACT(menuitem_palette_pixcen), 2, false},
      {"menuitem_palette_menu", "menuitem_palette_ccs64", radio, "CC_S64", nullptr, nullptr, GDK_KEY_g, kAlt, "", ACT(menuitem_palette_ccs64), 2, false},
      {"menuitem_preferences_menu", "menuitem_zoom", img, "_Zoom", "image509", "gtk-zoom-in", 0, kF, "", nullptr, 0, false},
      {"menuitem_zoom_menu", "menuitem_zoom_1x", radio, "_1x", nullptr, nullptr, GDK_KEY_F5, kF, "", ACT(menuitem_zoom_1x), 3, true},
      {"menuitem_zoom_menu", "menuitem_zoom_2x", radio, "_2x", nullptr, nullptr, GDK_KEY_F6, kF, "", ACT(menuitem_zoom_2x), 3, false},
      {"menuitem_zoom_menu", "menuitem_zoom_3x", radio, "_3x", nullptr, nullptr, GDK_KEY_F7, kF, "", ACT(menuitem_zoom_3x), 3, false},
      {"menuitem_zoom_menu", "menuitem_zoom_4x", radio, "_4x", nullptr, nullptr, GDK_KEY_F8, kF, "", ACT(menuitem_zoom_4x), 3, false},
      {"menuitem_preferences_menu", "menuitem_reencode_graphics", GTK_TYPE_CHECK_MENU_ITEM, "_Re-encode graphics", nullptr, nullptr, 0, kF, "If enabled, upon exporting a project to an executable, graphic data for MC pictures is re-encoded so that they might compress better", ACT(menuitem_reencode_graphics), 0, false},
      {nullptr, "menuitem_border", img, "_Border", "image510", "gtk-select-all", 0, kF, "", nullptr, 0, false},
      {"menuitem_border_menu", "menuitem_select_left_border", plain, "Select _left border", nullptr, nullptr, GDK_KEY_z, kAlt, "", ACT(menuitem_select_left_border), 0, false},
      {"menuitem_border_menu", "menuitem_select_right_border", plain, "Select _right border", nullptr, nullptr, GDK_KEY_x, kAlt, "", ACT(menuitem_select_right_border), 0, false},
      {nullptr, "menuitem_tools", img, "_Tools", "image511", "gtk-execute", 0, kF, "", nullptr, 0, false},
      {"menuitem_tools_menu", "menuitem_tools_auto_expand_picture", img, "_Auto extend picture", "image512", "gtk-zoom-fit", GDK_KEY_F12, kF, "Automatically create raster bars by simply extending a picture at its edges", ACT(menuitem_tools_auto_expand_picture), 0, false},
      {nullptr, "menuitem_help", img, "_Help", "image513", "gtk-help", 0, kF, "", nullptr, 0, false},
      {"menuitem_help_menu", "menuitem_about", img, "_About", nullptr, "gtk-about", 0, kF, "", ACT(menuitem_about), 0, false},
  };
  Pristine w;
  GSList *accel_groups = gtk_accel_groups_from_object(G_OBJECT(w.window));
  ASSERT_EQ(g_slist_length(accel_groups), 1u);
  GList *bar_items = gtk_container_get_children(GTK_CONTAINER(w["menubar_main"]));
  std::vector<GtkWidget *> group_head(4, nullptr);
  std::map<std::string, int> position_in;
  int bar_position = 0;
  for (const MenuExp &r : rows) {
    SCOPED_TRACE(r.name);
    GtkWidget *item = w[r.name];
    ASSERT_NE(item, nullptr);
    EXPECT_EQ(G_OBJECT_TYPE(item), r.type);
    EXPECT_EQ(lookup_widget(item, "window_main"), w.window);  // climbs out of nested menus
    if (r.menu) {
      GtkWidget *menu = w[r.menu];
      ASSERT_TRUE(GTK_IS_MENU(menu));
      std::string owner(r.menu);
      EXPECT_EQ(gtk_menu_get_attach_widget(GTK_MENU(menu)), w[owner.substr(0, owner.size() - 5).c_str()]);
      GList *items = gtk_container_get_children(GTK_CONTAINER(menu));
      EXPECT_EQ(g_list_nth_data(items, position_in[r.menu]++), item);
      g_list_free(items);
    } else {
      EXPECT_EQ(g_list_nth_data(bar_items, bar_position++), item);
    }
    EXPECT_EQ(label_of(item), r.label);
    EXPECT_EQ(tooltip_of(item), r.tooltip);
    EXPECT_EQ(gtk_widget_get_sensitive(item), r.type != sep);
    if (r.stock) {
      GtkWidget *image = gtk_image_menu_item_get_image(GTK_IMAGE_MENU_ITEM(item));
      if (r.image) {
        EXPECT_EQ(image, w[r.image]);
      }
      gchar *stock = nullptr;
      GtkIconSize size;
      gtk_image_get_stock(GTK_IMAGE(image), &stock, &size);
      EXPECT_STREQ(stock, r.stock);
      EXPECT_EQ(size, GTK_ICON_SIZE_MENU);
    }
    GtkAccelGroup *group = nullptr;
    GtkAccelKey *key = accel_of(item, &group);
    EXPECT_EQ(key ? key->accel_key : 0u, r.key);
    if (key) {
      EXPECT_EQ(key->accel_mods, r.mods);
      EXPECT_TRUE(key->accel_flags & GTK_ACCEL_VISIBLE);
      EXPECT_EQ(group, accel_groups->data);
    }
    EXPECT_EQ(r.handler != nullptr, g_signal_has_handler_pending(item, g_signal_lookup("activate", GTK_TYPE_MENU_ITEM), 0, TRUE));
    if (r.handler) {
      EXPECT_TRUE(connected(item, "activate", r.handler));
    }
    if (GTK_IS_CHECK_MENU_ITEM(item)) {
      EXPECT_EQ(gtk_check_menu_item_get_active(GTK_CHECK_MENU_ITEM(item)), r.active);
    }
    if (r.group) {
      GtkWidget *&head = group_head[r.group];
      if (!head) head = item;
      GSList *members = gtk_radio_menu_item_get_group(GTK_RADIO_MENU_ITEM(head));
      EXPECT_TRUE(g_slist_find(members, item));
      EXPECT_EQ(g_slist_length(members), r.group == 1 ? 2u : 4u);
    }
  }
  EXPECT_EQ(bar_position, int(g_list_length(bar_items)));
  g_list_free(bar_items);
}

TEST(Interface, ToolBarMatchesItsTable) {
  struct Row {
    const char *name, *stock, *label, *tooltip;
    GCallback handler;
  };
  const Row rows[] = {
      {"toolbutton_add_bar_left", "gtk-add", "Left", "Add a raster bar on the left border", G_CALLBACK(on_toolbutton_add_bar_left_clicked)},
      {"toolbutton_remove_bar_left", "gtk-remove", "Left", "Remove the selected raster bar from the left border", G_CALLBACK(on_toolbutton_remove_bar_left_clicked)},
      {"separatortoolitem2", nullptr, nullptr, nullptr, nullptr},
      {"toolbutton_add_bar_right", "gtk-add", "Right", "Add a raster bar on the right border", G_CALLBACK(on_toolbutton_add_bar_right_clicked)},
      {"toolbutton_remove_bar_right", "gtk-remove", "Right", "Remove the selected raster bar from the right border", G_CALLBACK(on_toolbutton_remove_bar_right_clicked)},
      {"separatortoolitem1", nullptr, nullptr, nullptr, nullptr},
      {"toolbutton_delete_all_bars", "gtk-delete", "All", "Delete all raster bars", G_CALLBACK(on_toolbutton_delete_all_bars_clicked)},
  };
  Pristine w;
  GtkToolbar *toolbar = GTK_TOOLBAR(w["toolbar_main"]);
  EXPECT_EQ(gtk_toolbar_get_style(toolbar), GTK_TOOLBAR_BOTH);
  EXPECT_EQ(gtk_toolbar_get_orientation(toolbar), GTK_ORIENTATION_VERTICAL);
  ASSERT_EQ(gtk_toolbar_get_n_items(toolbar), int(std::size(rows)));
  for (int i = 0; i < int(std::size(rows)); i++) {
    const Row &r = rows[i];
    SCOPED_TRACE(r.name);
    GtkToolItem *item = gtk_toolbar_get_nth_item(toolbar, i);
    EXPECT_EQ(GTK_WIDGET(item), w[r.name]);
    if (!r.stock) {
      EXPECT_TRUE(GTK_IS_SEPARATOR_TOOL_ITEM(item));
      continue;
    }
    ASSERT_TRUE(GTK_IS_TOOL_BUTTON(item));
    EXPECT_STREQ(gtk_tool_button_get_label(GTK_TOOL_BUTTON(item)), r.label);
    gchar *stock = nullptr;
    GtkIconSize size;
    gtk_image_get_stock(GTK_IMAGE(gtk_tool_button_get_icon_widget(GTK_TOOL_BUTTON(item))), &stock, &size);
    EXPECT_STREQ(stock, r.stock);
    EXPECT_EQ(size, gtk_toolbar_get_icon_size(toolbar));
    // The toolkit hands tool-item tips given through a tooltips object to the button's own tooltip.
    gchar *tip = gtk_widget_get_tooltip_text(gtk_bin_get_child(GTK_BIN(item)));
    EXPECT_STREQ(tip, r.tooltip);
    g_free(tip);
    EXPECT_TRUE(connected(item, "clicked", r.handler));
  }
}

TEST(Interface, OtherSignalsAreWired) {
#define SIG(widget, signal) {#widget, #signal, G_CALLBACK(on_##widget##_##signal)}
  const struct { const char *widget, *signal; GCallback handler; } rows[] = {
      SIG(window_main, delete_event),
      SIG(drawingarea_left_border, configure_event), SIG(drawingarea_left_border, expose_event),
      SIG(drawingarea_left_border, button_press_event), SIG(drawingarea_left_border, key_press_event),
      SIG(drawingarea_left_border, motion_notify_event),
      SIG(drawingarea_right_border, configure_event), SIG(drawingarea_right_border, expose_event),
      SIG(drawingarea_right_border, button_press_event), SIG(drawingarea_right_border, key_press_event),
      SIG(drawingarea_right_border, motion_notify_event),
      SIG(drawingarea_upper_border, configure_event), SIG(drawingarea_upper_border, expose_event),
      SIG(drawingarea_picture, configure_event), SIG(drawingarea_picture, expose_event),
      SIG(drawingarea_lower_border, configure_event), SIG(drawingarea_lower_border, expose_event),
      SIG(treeview_rasters_left, cursor_changed), SIG(treeview_rasters_right, cursor_changed),
      SIG(drawingarea_border_color, configure_event), SIG(drawingarea_border_color, expose_event),
      SIG(drawingarea_border_color, button_press_event),
  };
  Pristine w;
  for (const auto &r : rows) EXPECT_TRUE(connected(w[r.widget], r.signal, r.handler)) << r.widget << " " << r.signal;
  // Input handlers only where the areas take input: the picture and the horizontal borders get none.
  for (const char *name : {"drawingarea_picture", "drawingarea_upper_border", "drawingarea_lower_border"})
    for (const char *signal : {"button_press_event", "key_press_event", "motion_notify_event"})
      EXPECT_FALSE(g_signal_has_handler_pending(w[name], g_signal_lookup(signal, GTK_TYPE_WIDGET), 0, TRUE)) << name;
}

TEST(Interface, TreeAndPacking) {
  // Children of each box in packing order: expand, fill, padding.
  const struct { const char *parent, *child; bool expand, fill; guint padding; } rows[] = {
      {"vbox_topmost", "menubar_main", false, false, 0}, {"vbox_topmost", "hbox_topmost", true, true, 0},
      {"vbox_topmost", "hbox_zoom", false, false, 0}, {"vbox_topmost", "statusbar_main", false, false, 0},
      {"hbox_topmost", "aspectframe_drawingareas", false, true, 0}, {"hbox_topmost", "hbox_controls", true, true, 0},
      {"hbox_drawingareas", "drawingarea_left_border", false, true, 0},
      {"hbox_drawingareas", "vbox_drawingareas", false, true, 0},
      {"hbox_drawingareas", "drawingarea_right_border", false, true, 0},
      {"vbox_drawingareas", "drawingarea_upper_border", true, true, 0},
      {"vbox_drawingareas", "drawingarea_picture", true, true, 0},
      {"vbox_drawingareas", "drawingarea_lower_border", true, true, 0},
      {"hbox_controls", "toolbar_main", false, false, 0}, {"hbox_controls", "vbox_left_rasterbars", true, true, 0},
      {"hbox_controls", "vbox_right_rasterbars", true, true, 0},
      {"vbox_left_rasterbars", "label_left_rasterbars", false, false, 0},
      {"vbox_left_rasterbars", "scrolledwindow_rasters_left", true, true, 0},
      {"vbox_right_rasterbars", "label_right_raster_bars", false, false, 0},
      {"vbox_right_rasterbars", "scrolledwindow_rasters_right", true, true, 0},
      {"hbox_zoom", "label_border_color", false, false, 0}, {"hbox_zoom", "aspectframe_border_color", false, false, 0},
  };
  Pristine w;
  for (const auto &r : rows) {
    SCOPED_TRACE(r.child);
    GtkWidget *box = w[r.parent], *child = w[r.child];
    ASSERT_EQ(gtk_widget_get_parent(child), box);
    GList *children = gtk_container_get_children(GTK_CONTAINER(box));
    int before = 0;
    for (const auto &o : rows) before += (&o < &r && o.parent == r.parent);
    EXPECT_EQ(g_list_index(children, child), before);
    g_list_free(children);
    gboolean expand, fill;
    guint padding;
    GtkPackType pack;
    gtk_box_query_child_packing(GTK_BOX(box), child, &expand, &fill, &padding, &pack);
    EXPECT_EQ(bool(expand), r.expand);
    EXPECT_EQ(bool(fill), r.fill);
    EXPECT_EQ(padding, r.padding);
    EXPECT_TRUE(gtk_widget_get_visible(child));
  }
  // Single-child containers.
  const char *chains[][2] = {{"aspectframe_drawingareas", "alignment_drawingareas"},
                             {"alignment_drawingareas", "hbox_drawingareas"},
                             {"aspectframe_border_color", "alignment_border_color"},
                             {"alignment_border_color", "drawingarea_border_color"},
                             {"scrolledwindow_rasters_left", "treeview_rasters_left"},
                             {"scrolledwindow_rasters_right", "treeview_rasters_right"},
                             {"window_main", "vbox_topmost"}};
  for (auto &c : chains) EXPECT_EQ(gtk_bin_get_child(GTK_BIN(w[c[0]])), w[c[1]]) << c[0];
  for (const char *side : {"left", "right"}) {
    std::string tree = std::string("treeview_rasters_") + side, scrolled = std::string("scrolledwindow_rasters_") + side;
    EXPECT_FALSE(gtk_tree_view_get_enable_search(GTK_TREE_VIEW(w[tree.c_str()])));
    GtkPolicyType h, v;
    gtk_scrolled_window_get_policy(GTK_SCROLLED_WINDOW(w[scrolled.c_str()]), &h, &v);
    EXPECT_EQ(h, GTK_POLICY_AUTOMATIC);
    EXPECT_EQ(v, GTK_POLICY_AUTOMATIC);
    EXPECT_EQ(gtk_scrolled_window_get_shadow_type(GTK_SCROLLED_WINDOW(w[scrolled.c_str()])), GTK_SHADOW_IN);
  }
  EXPECT_EQ(label_of(w["label_left_rasterbars"]), "Left raster bars");
  EXPECT_EQ(label_of(w["label_right_raster_bars"]), "Right raster bars");
  EXPECT_EQ(label_of(w["label_border_color"]), "Base color: ");
  EXPECT_FALSE(gtk_statusbar_get_has_resize_grip(GTK_STATUSBAR(w["statusbar_main"])));
  EXPECT_FALSE(gtk_window_get_resizable(GTK_WINDOW(w.window)));
  EXPECT_TRUE(g_str_has_prefix(gtk_window_get_title(GTK_WINDOW(w.window)), "Quillbar - "));
}

TEST(Interface, OnlyTheSideBordersTakeInput) {
  Pristine w;
  const gint input = GDK_KEY_PRESS_MASK | GDK_BUTTON_PRESS_MASK | GDK_POINTER_MOTION_MASK;
  for (const char *name : {"drawingarea_left_border", "drawingarea_right_border"}) {
    EXPECT_TRUE(gtk_widget_get_can_focus(w[name])) << name;
    EXPECT_EQ(gtk_widget_get_events(w[name]), input | GDK_POINTER_MOTION_HINT_MASK) << name;
  }
  for (const char *name : {"drawingarea_picture", "drawingarea_upper_border", "drawingarea_lower_border"}) {
    EXPECT_FALSE(gtk_widget_get_can_focus(w[name])) << name;
    EXPECT_EQ(gtk_widget_get_events(w[name]) & input, 0) << name;
  }
  EXPECT_FALSE(gtk_widget_get_can_focus(w["drawingarea_border_color"]));
  EXPECT_EQ(gtk_widget_get_events(w["drawingarea_border_color"]) & input, GDK_BUTTON_PRESS_MASK);
}

TEST(Interface, AreasFormTheScreenAtZoomOne) {
  GtkWidget *window = start_app();
  pump_events(50);
  auto at = [&](const char *name) { return lookup_widget(window, name)->allocation; };
  GtkAllocation l = at("drawingarea_left_border"), u = at("drawingarea_upper_border"), p = at("drawingarea_picture"),
                d = at("drawingarea_lower_border"), r = at("drawingarea_right_border"), c = at("drawingarea_border_color");
  EXPECT_EQ((std::vector<int>{l.width, l.height, r.width, r.height}), (std::vector<int>{48, 296, 48, 296}));
  EXPECT_EQ((std::vector<int>{u.width, u.height, p.width, p.height, d.width, d.height}),
            (std::vector<int>{320, 48, 320, 200, 320, 48}));
  EXPECT_EQ((std::vector<int>{u.x, p.x, d.x, r.x}), (std::vector<int>{l.x + 48, l.x + 48, l.x + 48, l.x + 368}));
  EXPECT_EQ((std::vector<int>{u.y, p.y, d.y, r.y}), (std::vector<int>{l.y, l.y + 48, l.y + 248, l.y}));
  EXPECT_EQ(c.width, 256);
  EXPECT_EQ(c.height, 16);
}

TEST(Interface, Dialogs) {
  struct Row {
    GtkWidget *(*build)();
    const char *name, *title;
    GtkFileChooserAction action;
    const char *vbox, *area, *cancel, *ok, *ok_stock;
  };
  for (const Row &r : {Row{create_filechooserdialog_open, "filechooserdialog_open", "Open picture file",
                           GTK_FILE_CHOOSER_ACTION_OPEN, "dialog_vbox1", "dialog_action_area1", "button1", "button2", "gtk-open"},
                       Row{create_filechooserdialog_save, "filechooserdialog_save", "Save work to file",
                           GTK_FILE_CHOOSER_ACTION_SAVE, "dialog_vbox2", "dialog_action_area2", "button3", "button4", "gtk-save"}}) {
    SCOPED_TRACE(r.name);
    GtkWidget *d = r.build();
    EXPECT_EQ(lookup_widget(d, r.name), d);
    EXPECT_STREQ(gtk_window_get_title(GTK_WINDOW(d)), r.title);
    EXPECT_EQ(gtk_file_chooser_get_action(GTK_FILE_CHOOSER(d)), r.action);
    EXPECT_TRUE(gtk_window_get_modal(GTK_WINDOW(d)));
    EXPECT_EQ(gtk_container_get_border_width(GTK_CONTAINER(d)), 5u);
    EXPECT_EQ(lookup_widget(d, r.vbox), GTK_DIALOG(d)->vbox);
    EXPECT_EQ(lookup_widget(d, r.area), GTK_DIALOG(d)->action_area);
    EXPECT_EQ(gtk_button_box_get_layout(GTK_BUTTON_BOX(GTK_DIALOG(d)->action_area)), GTK_BUTTONBOX_END);
    GtkWidget *cancel = lookup_widget(d, r.cancel), *ok = lookup_widget(d, r.ok);
    EXPECT_STREQ(gtk_button_get_label(GTK_BUTTON(cancel)), "gtk-cancel");
    EXPECT_STREQ(gtk_button_get_label(GTK_BUTTON(ok)), r.ok_stock);
    EXPECT_EQ(gtk_dialog_get_response_for_widget(GTK_DIALOG(d), cancel), GTK_RESPONSE_CANCEL);
    EXPECT_EQ(gtk_dialog_get_response_for_widget(GTK_DIALOG(d), ok), GTK_RESPONSE_OK);
    EXPECT_TRUE(gtk_widget_get_can_default(cancel) && gtk_widget_get_can_default(ok));
    EXPECT_FALSE(gtk_widget_has_default(cancel));
    EXPECT_TRUE(gtk_widget_has_default(ok));
    gtk_widget_destroy(d);
  }
  GtkWidget *q = create_dialog_yes_no_confirmation();
  EXPECT_EQ(lookup_widget(q, "dialog_yes_no_confirmation"), q);
  EXPECT_STREQ(gtk_window_get_title(GTK_WINDOW(q)), "Confirmation request");
  EXPECT_TRUE(gtk_window_get_modal(GTK_WINDOW(q)));
  EXPECT_EQ(lookup_widget(q, "vbox_yes_no_confirmation"), GTK_DIALOG(q)->vbox);
  GtkWidget *label = lookup_widget(q, "label_yes_no_confirmation");
  EXPECT_EQ(gtk_widget_get_parent(label), GTK_DIALOG(q)->vbox);
  EXPECT_STREQ(gtk_label_get_text(GTK_LABEL(label)), "");
  EXPECT_EQ(gtk_label_get_justify(GTK_LABEL(label)), GTK_JUSTIFY_CENTER);
  GtkWidget *buttons = lookup_widget(q, "hbuttonbox_yes_no_confirmation");
  EXPECT_EQ(buttons, GTK_DIALOG(q)->action_area);
  EXPECT_EQ(gtk_button_box_get_layout(GTK_BUTTON_BOX(buttons)), GTK_BUTTONBOX_SPREAD);
  GtkWidget *yes = lookup_widget(q, "button_yes_no_confirmation_yes"), *no = lookup_widget(q, "button_yes_no_confirmation_no");
  EXPECT_TRUE(gtk_widget_get_can_default(yes) && gtk_widget_get_can_default(no));
  EXPECT_FALSE(gtk_widget_has_default(yes) || gtk_widget_has_default(no));
  gtk_widget_show(q);  // (a focused button then stands in as the default)
  pump_events(20);
  EXPECT_EQ(gtk_widget_get_parent(yes), buttons);
  EXPECT_LT(yes->allocation.x, no->allocation.x);  // Yes on the left
  EXPECT_STREQ(gtk_button_get_label(GTK_BUTTON(yes)), "gtk-yes");
  EXPECT_STREQ(gtk_button_get_label(GTK_BUTTON(no)), "gtk-no");
  EXPECT_EQ(gtk_dialog_get_response_for_widget(GTK_DIALOG(q), yes), GTK_RESPONSE_YES);
  EXPECT_EQ(gtk_dialog_get_response_for_widget(GTK_DIALOG(q), no), GTK_RESPONSE_NO);
  gtk_widget_destroy(q);
}

TEST(Interface, LookupClimbsAndWarnsOnUnknownNames) {
  Pristine w;
  struct Log { std::vector<std::string> messages; GLogLevelFlags level{}; } log;
  guint handler = g_log_set_handler(nullptr, GLogLevelFlags(G_LOG_LEVEL_MASK | G_LOG_FLAG_FATAL),
                                    [](const gchar *, GLogLevelFlags level, const gchar *message, gpointer data) {
                                      auto *l = static_cast<Log *>(data);
                                      l->messages.push_back(message), l->level = level;
                                    }, &log);
  EXPECT_EQ(lookup_widget(w["drawingarea_picture"], "no_such_widget"), nullptr);
  // Names belong to their own toplevel: a dialog does not see the main window's widgets.
  GtkWidget *q = create_dialog_yes_no_confirmation();
  EXPECT_EQ(lookup_widget(lookup_widget(q, "button_yes_no_confirmation_no"), "statusbar_main"), nullptr);
  gtk_widget_destroy(q);
  // A widget outside any container climbs through the "GladeParentKey" it carries.
  GtkWidget *popup = gtk_menu_new(), *item = gtk_menu_item_new();
  gtk_menu_shell_append(GTK_MENU_SHELL(popup), item);
  g_object_set_data(G_OBJECT(popup), "GladeParentKey", w.window);
  EXPECT_EQ(lookup_widget(item, "statusbar_main"), w["statusbar_main"]);
  gtk_widget_destroy(popup);
  g_log_remove_handler(nullptr, handler);
  EXPECT_EQ(log.messages,
            (std::vector<std::string>{"Widget not found: no_such_widget", "Widget not found: statusbar_main"}));
  EXPECT_EQ(log.level & G_LOG_LEVEL_MASK, G_LOG_LEVEL_WARNING);
  EXPECT_FALSE(log.level & G_LOG_FLAG_FATAL);
}

}  // namespace
