// interface: construction of the main window. The menus, the tool bar and the signal
// wiring are data tables walked by one builder each; the rest of the tree is built by hand
// below. Every widget is registered under its name on its toplevel, so that lookup_widget
// finds it. The dialogs are built in dialogs.cpp.
//
// Owns nothing at run time; connects the handlers of callbacks, controls (About), preview,
// rampdialog and undo, and touches no global state. Only start-up includes it.
#include "interface.h"

#include <gdk/gdkkeysyms.h>

#include <array>
#include <tuple>

#include "callbacks.h"
#include "controls.h"
#include "preview.h"
#include "rampdialog.h"
#include "support.h"
#include "undo.h"

namespace {

using MenuHandler = void (*)(GtkMenuItem *, gpointer);
using ToolHandler = void (*)(GtkToolButton *, gpointer);

enum class Kind { Image, Stock, Plain, Radio, Check, Separator };

// clang-format off
struct MenuRow {
  const char *parent;   // registered name of the submenu that holds the item, nullptr for the bar
  const char *name;
  Kind kind;
  const char *label;    // mnemonic label; unused by stock items and separators
  const char *stock;    // stock id of the icon (image items) or of the whole item (stock items)
  const char *image;    // registered name of the icon of an image item
  guint key;            // accelerator, 0 for none
  GdkModifierType mods;
  const char *tooltip;
  MenuHandler handler;  // of "activate"
  const char *submenu;  // registered name of the submenu the item opens
  int group;            // radio group, 1..3
  bool active;          // initial state of radio and check items
};
// clang-format on

constexpr auto kNone = GdkModifierType(0);
constexpr auto kShift = GDK_SHIFT_MASK;
constexpr auto kAlt = GDK_MOD1_MASK;
constexpr auto kControl = GDK_CONTROL_MASK;

// clang-format off
// Parents come before their children, and items in the order they appear in their menu.
constexpr MenuRow kMenuRows[] = {
    {nullptr, "menuitem_file", Kind::Image, N_("_File"), "gtk-floppy", "image502", 0, kNone, nullptr, nullptr, "menuitem_file_menu", 0, false},
    {"menuitem_file_menu", "menuitem_open_project", Kind::Image, N_("_Open project..."), "gtk-open", "image504", GDK_KEY_F1, kNone, N_("Open a saved project"), on_menuitem_open_project_activate, nullptr, 0, false},
    {"menuitem_file_menu", "menuitem_save_project", Kind::Image, N_("_Save project"), "gtk-save", "image620", GDK_KEY_F2, kNone, N_("Save the current project to an existing file"), on_menuitem_save_project_activate, nullptr, 0, false},
    {"menuitem_file_menu", "menuitem_save_project_as", Kind::Image, N_("Save project _as..."), "gtk-save-as", "image505", GDK_KEY_F2, kShift, N_("Save the current project to a new file"), on_menuitem_save_project_as_activate, nullptr, 0, false},
    {"menuitem_file_menu", "separator1", Kind::Separator, nullptr, nullptr, nullptr, 0, kNone, nullptr, nullptr, nullptr, 0, false},
    {"menuitem_file_menu", "menuitem_open_picture", Kind::Image, N_("Load _picture..."), "gtk-open", "image503", GDK_KEY_F3, kNone, N_("Load a picture"), on_menuitem_open_picture_activate, nullptr, 0, false},
    {"menuitem_file_menu", "menuitem_reload_picture", Kind::Image, N_("_Reload picture"), "gtk-refresh", "image506", GDK_KEY_F4, kNone, N_("Reload the current picture to pick up any changes that might have occurred since it was last opened"), on_menuitem_reload_picture_activate, nullptr, 0, false},
    {"menuitem_file_menu", "separator3", Kind::Separator, nullptr, nullptr, nullptr, 0, kNone, nullptr, nullptr, nullptr, 0, false},
    {"menuitem_file_menu", "menuitem_export_to_png", Kind::Image, N_("Export to PNG _image..."), "gtk-select-color", "image554", 0, kNone, N_("Export the project to a PNG image that can be used as a release screenshot for CSDb"), on_menuitem_export_to_png_activate, nullptr, 0, false},
    {"menuitem_file_menu", "menuitem_export", Kind::Image, N_("Export to _executable..."), "gtk-convert", "image507", 0, kNone, N_("Export project to a self-contained executable that can be used to release to CSDb"), on_menuitem_export_activate, nullptr, 0, false},
    {"menuitem_file_menu", "menuitem_export_bar_tables", Kind::Image, N_("Export bar _tables..."), "gtk-index", "image_export_bar_tables", 0, kNone, N_("Export the colours of the bars, line by line, as assembler source or binary data for your own code"), on_menuitem_export_bar_tables_activate, nullptr, 0, false},
    {"menuitem_file_menu", "menuitem_export_disk_image", Kind::Image, N_("Export to _disk image..."), "gtk-floppy", "image_export_disk_image", 0, kNone, N_("Export the crunched executable on a D64 disk image, for an emulator or a real disk drive"), on_menuitem_export_disk_image_activate, nullptr, 0, false},
    {"menuitem_file_menu", "separator4", Kind::Separator, nullptr, nullptr, nullptr, 0, kNone, nullptr, nullptr, nullptr, 0, false},
    {"menuitem_file_menu", "menuitem_quit", Kind::Stock, nullptr, "gtk-quit", nullptr, 0, kNone, nullptr, on_menuitem_quit_activate, nullptr, 0, false},

    // No mnemonic: Alt+E paints colour 10 on a focused border. No Ctrl+Y either: y paints.
    {nullptr, "menuitem_edit", Kind::Image, N_("Edit"), "gtk-edit", "image_edit", 0, kNone, nullptr, nullptr, "menuitem_edit_menu", 0, false},
    {"menuitem_edit_menu", "menuitem_undo", Kind::Image, N_("_Undo"), "gtk-undo", "image_undo", GDK_KEY_z, kControl, N_("Undo the last change to the bars"), on_menuitem_undo_activate, nullptr, 0, false},
    {"menuitem_edit_menu", "menuitem_redo", Kind::Image, N_("_Redo"), "gtk-redo", "image_redo", GDK_KEY_z, GdkModifierType(kControl | kShift), N_("Redo the change that was undone last"), on_menuitem_redo_activate, nullptr, 0, false},

    {nullptr, "menuitem_preferences", Kind::Image, N_("_Preferences"), "gtk-preferences", "image508", 0, kNone, nullptr, nullptr, "menuitem_preferences_menu", 0, false},
    {"menuitem_preferences_menu", "menuitem_interface", Kind::Plain, N_("_Input mode"), nullptr, nullptr, 0, kNone, nullptr, nullptr, "menuitem_interface_menu", 0, false},
    {"menuitem_interface_menu", "menuitem_interface_extended", Kind::Radio, N_("_Extended"), nullptr, nullptr, 0, kNone, nullptr, on_menuitem_interface_extended_activate, nullptr, 1, true},
    {"menuitem_interface_menu", "menuitem_interface_compact", Kind::Radio, N_("_Compact"), nullptr, nullptr, 0, kNone, nullptr, on_menuitem_interface_compact_activate, nullptr, 1, false},
    {"menuitem_preferences_menu", "menuitem_palette", Kind::Plain, N_("_Palette"), nullptr, nullptr, 0, kNone, nullptr, nullptr, "menuitem_palette_menu", 0, false},
    {"menuitem_palette_menu", "menuitem_palette_peptos", Kind::Radio, N_("_Pepto"), nullptr, nullptr, GDK_KEY_a, kAlt, nullptr, on_menuitem_palette_peptos_activate, nullptr, 2, true},
    {"menuitem_palette_menu", "menuitem_palette_high_contrast", Kind::Radio, N_("_High contrast"), nullptr, nullptr, GDK_KEY_s, kAlt, nullptr, on_menuitem_palette_high_contrast_activate, nullptr, 2, false},
    {"menuitem_palette_menu", "menuitem_palette_pixcen", Kind::Radio, N_("Pi_xcen"), nullptr, nullptr, GDK_KEY_d, kAlt, nullptr, on_menuitem_palette_pixcen_activate, nullptr, 2, false},
    {"menuitem_palette_menu", "menuitem_palette_ccs64", Kind::Radio, N_("CC_S64"), nullptr, nullptr, GDK_KEY_g, kAlt, nullptr, on_menuitem_palette_ccs64_activate, nullptr, 2, false},
    {"menuitem_preferences_menu", "menuitem_zoom", Kind::Image, N_("_Zoom"), "gtk-zoom-in", "image509", 0, kNone, nullptr, nullptr, "menuitem_zoom_menu", 0, false},
    {"menuitem_zoom_menu", "menuitem_zoom_1x", Kind::Radio, N_("_1x"), nullptr, nullptr, GDK_KEY_F5, kNone, nullptr, on_menuitem_zoom_1x_activate, nullptr, 3, true},
    {"menuitem_zoom_menu", "menuitem_zoom_2x", Kind::Radio, N_("_2x"), nullptr, nullptr, GDK_KEY_F6, kNone, nullptr, on_menuitem_zoom_2x_activate, nullptr, 3, false},
    {"menuitem_zoom_menu", "menuitem_zoom_3x", Kind::Radio, N_("_3x"), nullptr, nullptr, GDK_KEY_F7, kNone, nullptr, on_menuitem_zoom_3x_activate, nullptr, 3, false},
    {"menuitem_zoom_menu", "menuitem_zoom_4x", Kind::Radio, N_("_4x"), nullptr, nullptr, GDK_KEY_F8, kNone, nullptr, on_menuitem_zoom_4x_activate, nullptr, 3, false},
    {"menuitem_preferences_menu", "menuitem_reencode_graphics", Kind::Check, N_("_Re-encode graphics"), nullptr, nullptr, 0, kNone, N_("If enabled, upon exporting a project to an executable, graphic data for MC pictures is re-encoded so that they might compress better"), on_menuitem_reencode_graphics_activate, nullptr, 0, false},

    {nullptr, "menuitem_border", Kind::Image, N_("_Border"), "gtk-select-all", "image510", 0, kNone, nullptr, nullptr, "menuitem_border_menu", 0, false},
    {"menuitem_border_menu", "menuitem_select_left_border", Kind::Plain, N_("Select _left border"), nullptr, nullptr, GDK_KEY_z, kAlt, nullptr, on_menuitem_select_left_border_activate, nullptr, 0, false},
    {"menuitem_border_menu", "menuitem_select_right_border", Kind::Plain, N_("Select _right border"), nullptr, nullptr, GDK_KEY_x, kAlt, nullptr, on_menuitem_select_right_border_activate, nullptr, 0, false},

    {nullptr, "menuitem_tools", Kind::Image, N_("_Tools"), "gtk-execute", "image511", 0, kNone, nullptr, nullptr, "menuitem_tools_menu", 0, false},
    {"menuitem_tools_menu", "menuitem_tools_auto_expand_picture", Kind::Image, N_("_Auto extend picture"), "gtk-zoom-fit", "image512", GDK_KEY_F12, kNone, N_("Automatically create raster bars by simply extending a picture at its edges"), on_menuitem_tools_auto_expand_picture_activate, nullptr, 0, false},
    {"menuitem_tools_menu", "menuitem_tools_ramp", Kind::Image, N_("_Ramp..."), "gtk-select-color", "image_ramp", GDK_KEY_F11, kNone, N_("Paint a colour ramp over the selected lines or bar"), on_menuitem_tools_ramp_activate, nullptr, 0, false},
    {"menuitem_tools_menu", "menuitem_tools_preview", Kind::Image, N_("_Preview on C64..."), "gtk-media-play", "image514", GDK_KEY_F9, kNone, N_("Run the exported program on an emulated PAL, NTSC or PAL-N C64"), on_menuitem_tools_preview_activate, nullptr, 0, false},

    {nullptr, "menuitem_help", Kind::Image, N_("_Help"), "gtk-help", "image513", 0, kNone, nullptr, nullptr, "menuitem_help_menu", 0, false},
    {"menuitem_help_menu", "menuitem_about", Kind::Stock, nullptr, "gtk-about", nullptr, 0, kNone, nullptr, on_menuitem_about_activate, nullptr, 0, false},
};
// clang-format on

struct ToolRow {
  const char *name;
  const char *stock;  // nullptr for a separator
  const char *label;
  const char *tooltip;
  ToolHandler handler;  // of "clicked"
};

constexpr ToolRow kToolRows[] = {
    {"toolbutton_add_bar_left", "gtk-add", N_("Left"), N_("Add a raster bar on the left border"),
     on_toolbutton_add_bar_left_clicked},
    {"toolbutton_remove_bar_left", "gtk-remove", N_("Left"), N_("Remove the selected raster bar from the left border"),
     on_toolbutton_remove_bar_left_clicked},
    {"separatortoolitem2", nullptr, nullptr, nullptr, nullptr},
    {"toolbutton_add_bar_right", "gtk-add", N_("Right"), N_("Add a raster bar on the right border"),
     on_toolbutton_add_bar_right_clicked},
    {"toolbutton_remove_bar_right", "gtk-remove", N_("Right"),
     N_("Remove the selected raster bar from the right border"), on_toolbutton_remove_bar_right_clicked},
    {"separatortoolitem1", nullptr, nullptr, nullptr, nullptr},
    {"toolbutton_delete_all_bars", "gtk-delete", N_("All"), N_("Delete all raster bars"),
     on_toolbutton_delete_all_bars_clicked},
};

struct SignalRow {
  const char *widget;
  const char *signal;
  GCallback handler;
};

// Signals of the window and of the widgets outside the menus and the tool bar.
const SignalRow kSignalRows[] = {
    {"window_main", "delete_event", G_CALLBACK(on_window_main_delete_event)},
    {"drawingarea_left_border", "configure_event", G_CALLBACK(on_drawingarea_left_border_configure_event)},
    {"drawingarea_left_border", "expose_event", G_CALLBACK(on_drawingarea_left_border_expose_event)},
    {"drawingarea_left_border", "button_press_event", G_CALLBACK(on_drawingarea_left_border_button_press_event)},
    {"drawingarea_left_border", "key_press_event", G_CALLBACK(on_drawingarea_left_border_key_press_event)},
    {"drawingarea_left_border", "motion_notify_event", G_CALLBACK(on_drawingarea_left_border_motion_notify_event)},
    {"drawingarea_upper_border", "configure_event", G_CALLBACK(on_drawingarea_upper_border_configure_event)},
    {"drawingarea_upper_border", "expose_event", G_CALLBACK(on_drawingarea_upper_border_expose_event)},
    {"drawingarea_picture", "configure_event", G_CALLBACK(on_drawingarea_picture_configure_event)},
    {"drawingarea_picture", "expose_event", G_CALLBACK(on_drawingarea_picture_expose_event)},
    {"drawingarea_lower_border", "configure_event", G_CALLBACK(on_drawingarea_lower_border_configure_event)},
    {"drawingarea_lower_border", "expose_event", G_CALLBACK(on_drawingarea_lower_border_expose_event)},
    {"drawingarea_right_border", "configure_event", G_CALLBACK(on_drawingarea_right_border_configure_event)},
    {"drawingarea_right_border", "expose_event", G_CALLBACK(on_drawingarea_right_border_expose_event)},
    {"drawingarea_right_border", "button_press_event", G_CALLBACK(on_drawingarea_right_border_button_press_event)},
    {"drawingarea_right_border", "key_press_event", G_CALLBACK(on_drawingarea_right_border_key_press_event)},
    {"drawingarea_right_border", "motion_notify_event", G_CALLBACK(on_drawingarea_right_border_motion_notify_event)},
    {"treeview_rasters_left", "cursor_changed", G_CALLBACK(on_treeview_rasters_left_cursor_changed)},
    {"treeview_rasters_right", "cursor_changed", G_CALLBACK(on_treeview_rasters_right_cursor_changed)},
    {"drawingarea_border_color", "configure_event", G_CALLBACK(on_drawingarea_border_color_configure_event)},
    {"drawingarea_border_color", "expose_event", G_CALLBACK(on_drawingarea_border_color_expose_event)},
    {"drawingarea_border_color", "button_press_event", G_CALLBACK(on_drawingarea_border_color_button_press_event)},
};

GtkWidget *registered(GtkWidget *toplevel, const char *name) {
  return GTK_WIDGET(g_object_get_data(G_OBJECT(toplevel), name));
}

void pack(GtkWidget *box, GtkWidget *child, bool expand, bool fill, guint padding = 0) {
  gtk_box_pack_start(GTK_BOX(box), child, expand, fill, padding);
}

GtkWidget *new_menu_item(const MenuRow &row, GtkAccelGroup *accel_group, std::array<GSList *, 4> &groups) {
  switch (row.kind) {
    case Kind::Image: return gtk_image_menu_item_new_with_mnemonic(_(row.label));
    case Kind::Stock: return gtk_image_menu_item_new_from_stock(row.stock, accel_group);
    case Kind::Plain: return gtk_menu_item_new_with_mnemonic(_(row.label));
    case Kind::Check: return gtk_check_menu_item_new_with_mnemonic(_(row.label));
    case Kind::Separator: return gtk_separator_menu_item_new();
    case Kind::Radio: {
      GSList *&group = groups.at(row.group);
      GtkWidget *item = gtk_radio_menu_item_new_with_mnemonic(group, _(row.label));
      group = gtk_radio_menu_item_get_group(GTK_RADIO_MENU_ITEM(item));
      return item;
    }
  }
  return nullptr;
}

void build_menus(GtkWidget *window, GtkWidget *menubar, GtkAccelGroup *accel_group, GtkTooltips *tooltips) {
  std::array<GSList *, 4> groups{};
  for (const MenuRow &row : kMenuRows) {
    GtkWidget *item = support_named_widget(window, new_menu_item(row, accel_group, groups), row.name);
    gtk_container_add(GTK_CONTAINER(row.parent ? registered(window, row.parent) : menubar), item);

    if (row.kind == Kind::Image) {
      GtkWidget *image =
          support_named_widget(window, gtk_image_new_from_stock(row.stock, GTK_ICON_SIZE_MENU), row.image);
      gtk_image_menu_item_set_image(GTK_IMAGE_MENU_ITEM(item), image);
    }
    if (row.kind == Kind::Separator) gtk_widget_set_sensitive(item, FALSE);
    if (row.kind == Kind::Radio || row.kind == Kind::Check)
      gtk_check_menu_item_set_active(GTK_CHECK_MENU_ITEM(item), row.active);
    if (row.key) gtk_widget_add_accelerator(item, "activate", accel_group, row.key, row.mods, GTK_ACCEL_VISIBLE);
    if (row.tooltip) gtk_tooltips_set_tip(tooltips, item, _(row.tooltip), nullptr);
    if (row.submenu)
      gtk_menu_item_set_submenu(GTK_MENU_ITEM(item), support_named_widget(window, gtk_menu_new(), row.submenu, false));
  }
}

void build_toolbar(GtkWidget *window, GtkWidget *toolbar, GtkTooltips *tooltips) {
  GtkIconSize icon_size = gtk_toolbar_get_icon_size(GTK_TOOLBAR(toolbar));
  for (const ToolRow &row : kToolRows) {
    GtkToolItem *item;
    if (row.stock) {
      GtkWidget *icon = gtk_image_new_from_stock(row.stock, icon_size);
      gtk_widget_show(icon);
      item = gtk_tool_button_new(icon, _(row.label));
      gtk_tool_item_set_tooltip(item, tooltips, _(row.tooltip), nullptr);
    } else {
      item = gtk_separator_tool_item_new();
    }
    gtk_container_add(GTK_CONTAINER(toolbar), support_named_widget(window, GTK_WIDGET(item), row.name));
  }
}

void connect_signals(GtkWidget *window) {
  for (const MenuRow &row : kMenuRows)
    if (row.handler) g_signal_connect(registered(window, row.name), "activate", G_CALLBACK(row.handler), nullptr);
  for (const ToolRow &row : kToolRows)
    if (row.handler) g_signal_connect(registered(window, row.name), "clicked", G_CALLBACK(row.handler), nullptr);
  for (const SignalRow &row : kSignalRows)
    g_signal_connect(registered(window, row.widget), row.signal, row.handler, nullptr);
}

GtkWidget *new_drawing_area(int width, int height, gint events, bool focusable) {
  GtkWidget *area = gtk_drawing_area_new();
  gtk_widget_set_size_request(area, width, height);
  gtk_widget_set_events(area, events);
  if (focusable) GTK_WIDGET_SET_FLAGS(area, GTK_CAN_FOCUS);
  return area;
}

// An aspect frame without label holding a stretching alignment, the frame used around
// the screen view and around the colour picker.
GtkWidget *new_aspect_frame(GtkWidget *window, const char *frame_name, const char *alignment_name, GtkWidget *child) {
  GtkWidget *frame = support_named_widget(window, gtk_aspect_frame_new(nullptr, 0.5, 0.5, 1.0, TRUE), frame_name);
  GtkWidget *alignment = support_named_widget(window, gtk_alignment_new(0.5, 0.5, 1.0, 1.0), alignment_name);
  gtk_container_add(GTK_CONTAINER(frame), alignment);
  gtk_container_add(GTK_CONTAINER(alignment), child);
  return frame;
}

GtkWidget *new_raster_list(GtkWidget *window, const char *box_name, const char *label_name, const char *label,
                           int label_xpad, const char *scrolled_name, const char *treeview_name) {
  GtkWidget *box = support_named_widget(window, gtk_vbox_new(FALSE, 0), box_name);
  GtkWidget *title = support_named_widget(window, gtk_label_new(label), label_name);
  gtk_label_set_justify(GTK_LABEL(title), GTK_JUSTIFY_CENTER);
  gtk_misc_set_padding(GTK_MISC(title), label_xpad, 0);
  pack(box, title, false, false);

  GtkWidget *scrolled = support_named_widget(window, gtk_scrolled_window_new(nullptr, nullptr), scrolled_name);
  gtk_scrolled_window_set_policy(GTK_SCROLLED_WINDOW(scrolled), GTK_POLICY_AUTOMATIC, GTK_POLICY_AUTOMATIC);
  gtk_scrolled_window_set_shadow_type(GTK_SCROLLED_WINDOW(scrolled), GTK_SHADOW_IN);
  pack(box, scrolled, true, true);

  GtkWidget *treeview = support_named_widget(window, gtk_tree_view_new(), treeview_name);
  gtk_tree_view_set_enable_search(GTK_TREE_VIEW(treeview), FALSE);
  gtk_container_add(GTK_CONTAINER(scrolled), treeview);
  return box;
}

}  // namespace

GtkWidget *create_window_main(void) {
  constexpr gint kBorderEvents =
      GDK_KEY_PRESS_MASK | GDK_BUTTON_PRESS_MASK | GDK_POINTER_MOTION_MASK | GDK_POINTER_MOTION_HINT_MASK;

  GtkWidget *window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
  gtk_window_set_title(GTK_WINDOW(window), _("Quillbar - raster bar editor for C64 graphics"));
  gtk_window_set_position(GTK_WINDOW(window), GTK_WIN_POS_CENTER);
  gtk_window_set_resizable(GTK_WINDOW(window), FALSE);
  GLADE_HOOKUP_OBJECT_NO_REF(window, window, "window_main");

  GtkTooltips *tooltips = gtk_tooltips_new();
  GLADE_HOOKUP_OBJECT_NO_REF(window, tooltips, "tooltips");
  GtkAccelGroup *accel_group = gtk_accel_group_new();

  GtkWidget *vbox_topmost = support_named_widget(window, gtk_vbox_new(FALSE, 0), "vbox_topmost");
  gtk_container_add(GTK_CONTAINER(window), vbox_topmost);

  GtkWidget *menubar = support_named_widget(window, gtk_menu_bar_new(), "menubar_main");
  pack(vbox_topmost, menubar, false, false);
  build_menus(window, menubar, accel_group, tooltips);

  GtkWidget *hbox_topmost = support_named_widget(window, gtk_hbox_new(FALSE, 0), "hbox_topmost");
  pack(vbox_topmost, hbox_topmost, true, true);

  // The simulated screen: left border | upper border, picture, lower border | right border.
  GtkWidget *hbox_areas = support_named_widget(window, gtk_hbox_new(FALSE, 0), "hbox_drawingareas");
  pack(hbox_topmost, new_aspect_frame(window, "aspectframe_drawingareas", "alignment_drawingareas", hbox_areas), false,
       true);
  auto side_border = [&](const char *name) {
    pack(hbox_areas,
         support_named_widget(window, new_drawing_area(vert_border_width, vert_border_height, kBorderEvents, true),
                              name),
         false, true);
  };
  side_border("drawingarea_left_border");
  GtkWidget *vbox_areas = support_named_widget(window, gtk_vbox_new(FALSE, 0), "vbox_drawingareas");
  pack(hbox_areas, vbox_areas, false, true);
  for (auto [name, width, height] : {std::tuple{"drawingarea_upper_border", horiz_border_width, horiz_border_height},
                                     std::tuple{"drawingarea_picture", picture_width, picture_height},
                                     std::tuple{"drawingarea_lower_border", horiz_border_width, horiz_border_height}})
    pack(vbox_areas, support_named_widget(window, new_drawing_area(width, height, 0, false), name), true, true);
  side_border("drawingarea_right_border");

  // The Extended mode's controls: tool bar and the two bar lists.
  GtkWidget *hbox_controls = support_named_widget(window, gtk_hbox_new(FALSE, 0), "hbox_controls");
  pack(hbox_topmost, hbox_controls, true, true);
  GtkWidget *toolbar = support_named_widget(window, gtk_toolbar_new(), "toolbar_main");
  gtk_toolbar_set_style(GTK_TOOLBAR(toolbar), GTK_TOOLBAR_BOTH);
  gtk_toolbar_set_orientation(GTK_TOOLBAR(toolbar), GTK_ORIENTATION_VERTICAL);
  pack(hbox_controls, toolbar, false, false);
  build_toolbar(window, toolbar, tooltips);
  pack(hbox_controls,
       new_raster_list(window, "vbox_left_rasterbars", "label_left_rasterbars", _("Left raster bars"), 24,
                       "scrolledwindow_rasters_left", "treeview_rasters_left"),
       true, true);
  pack(hbox_controls,
       new_raster_list(window, "vbox_right_rasterbars", "label_right_raster_bars", _("Right raster bars"), 20,
                       "scrolledwindow_rasters_right", "treeview_rasters_right"),
       true, true);

  // Border colour picker.
  GtkWidget *hbox_zoom = support_named_widget(window, gtk_hbox_new(FALSE, 0), "hbox_zoom");
  pack(vbox_topmost, hbox_zoom, false, false);
  GtkWidget *label_border_color = support_named_widget(window, gtk_label_new(_("Base color: ")), "label_border_color");
  gtk_misc_set_padding(GTK_MISC(label_border_color), 5, 0);
  pack(hbox_zoom, label_border_color, false, false);
  GtkWidget *picker =
      support_named_widget(window, new_drawing_area(palette_width, palette_height, GDK_BUTTON_PRESS_MASK, false),
                           "drawingarea_border_color");
  pack(hbox_zoom, new_aspect_frame(window, "aspectframe_border_color", "alignment_border_color", picker), false, false);

  GtkWidget *statusbar = support_named_widget(window, gtk_statusbar_new(), "statusbar_main");
  gtk_statusbar_set_has_resize_grip(GTK_STATUSBAR(statusbar), FALSE);
  pack(vbox_topmost, statusbar, false, false);

  connect_signals(window);
  gtk_window_add_accel_group(GTK_WINDOW(window), accel_group);
  g_object_unref(accel_group);  // the window holds its own reference
  return window;
}
