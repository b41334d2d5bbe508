// The main window and dialogs: widget names, menus, tool bar, signal wiring, input
// masks, geometry, and lookup_widget's warning.
#include <map>
#include <string>
#include <vector>

#include "callbacks.h"
#include "controls.h"
#include "dialogs.h"
#include "interface.h"
#include "preview.h"
#include "rampdialog.h"
#include "state.h"
#include "support.h"
#include "testutil.h"
#include "undo.h"

namespace {

// A freshly built, never shown main window (before any option is applied).
struct Pristine {
  GtkWidget *window = create_window_main();
  ~Pristine() { gtk_widget_destroy(window); }
  GtkWidget *operator[](const char *name) const { return lookup_widget(window, name); }
};

// What the user sees of an item: label, accelerator and tooltip (which tool buttons hand
// to the button inside).
std::vector<std::string> shown(GtkWidget *w) {
  GtkWidget *child = gtk_bin_get_child(GTK_BIN(w));
  gchar *tip = gtk_widget_get_tooltip_text(GTK_IS_TOOL_BUTTON(w) ? child : w);
  std::string label = GTK_IS_TOOL_BUTTON(w) ? gtk_tool_button_get_label(GTK_TOOL_BUTTON(w))
                      : GTK_IS_LABEL(child) ? gtk_label_get_label(GTK_LABEL(child))
                                            : "";
  std::string accel;  // as shown, e.g. "Shift+F2"
  if (GTK_IS_ACCEL_LABEL(child))
    gtk_accel_label_refetch(GTK_ACCEL_LABEL(child)), accel = GTK_ACCEL_LABEL(child)->accel_string;
  std::vector<std::string> seen = {label, accel.erase(0, accel.find_first_not_of(' ')), tip ? tip : ""};
  g_free(tip);
  return seen;
}

// Whether `handler` is connected to the widget's `signal`.
bool connected(gpointer widget, const char *signal, GCallback handler) {
  const guint id = g_signal_lookup(signal, G_OBJECT_TYPE(widget));
  return id && g_signal_handler_find(widget, GSignalMatchType(G_SIGNAL_MATCH_ID | G_SIGNAL_MATCH_FUNC), id, 0, nullptr,
                                     reinterpret_cast<gpointer>(handler), nullptr);
}

// Kinds: i image item, s stock item, p plain, r radio (R: the active one of its menu), c check,
// - separator; t tool button, | tool separator. A: a menu item whose "activate" has its handler,
// C: a tool button whose "clicked" has, N: no handler. Rows: parent, name, kind, image, label,
// accelerator, tooltip.
struct Item {
  const char *parent, *name;
  GCallback handler;
  char kind;
  const char *image, *label, *accel, *tooltip = "";
};
#define A(parent, name, ...) \
  { #parent, #name, G_CALLBACK(on_##name##_activate), __VA_ARGS__ }
#define C(parent, name, ...) \
  { #parent, #name, G_CALLBACK(on_##name##_clicked), __VA_ARGS__ }
#define N(parent, name, ...) \
  { #parent, #name, nullptr, __VA_ARGS__ }
// clang-format off
const Item kItems[] = {
    N(menubar_main, menuitem_file, 'i', "image502", "_File", ""),
    A(menuitem_file_menu, menuitem_open_project, 'i', "image504", "_Open project...", "F1", "Open a saved project"),
    A(menuitem_file_menu, menuitem_save_project, 'i', "image620", "_Save project", "F2", "Save the current project to an existing file"),
    A(menuitem_file_menu, menuitem_save_project_as, 'i', "image505", "Save project _as...", "Shift+F2", "Save the current project to a new file"),
    N(menuitem_file_menu, separator1, '-', nullptr, "", ""),
    A(menuitem_file_menu, menuitem_open_picture, 'i', "image503", "Load _picture...", "F3", "Load a picture"),
    A(menuitem_file_menu, menuitem_reload_picture, 'i', "image506", "_Reload picture", "F4", "Reload the current picture to pick up any changes that might have occurred since it was last opened"),
    N(menuitem_file_menu, separator3, '-', nullptr, "", ""),
    A(menuitem_file_menu, menuitem_export_to_png, 'i', "image554", "Export to PNG _image...", "", "Export the project to a PNG image that can be used as a release screenshot for CSDb"),
    A(menuitem_file_menu, menuitem_export, 'i', "image507", "Export to _executable...", "", "Export project to a self-contained executable that can be used to release to CSDb"),
    A(menuitem_file_menu, menuitem_export_bar_tables, 'i', "image_export_bar_tables", "Export bar _tables...", "", "Export the colours of the bars, line by line, as assembler source or binary data for your own code"),
    A(menuitem_file_menu, menuitem_export_disk_image, 'i', "image_export_disk_image", "Export to _disk image...", "", "Export the crunched executable on a D64 disk image, for an emulator or a real disk drive"),
    N(menuitem_file_menu, separator4, '-', nullptr, "", ""),
    A(menuitem_file_menu, menuitem_quit, 's', nullptr, "_Quit", "Ctrl+Q"),
    N(menubar_main, menuitem_edit, 'i', "image_edit", "Edit", ""),
    A(menuitem_edit_menu, menuitem_undo, 'i', "image_undo", "_Undo", "Ctrl+Z", "Undo the last change to the bars"),
    A(menuitem_edit_menu, menuitem_redo, 'i', "image_redo", "_Redo", "Shift+Ctrl+Z", "Redo the change that was undone last"),
    N(menubar_main, menuitem_preferences, 'i', "image508", "_Preferences", ""),
    N(menuitem_preferences_menu, menuitem_interface, 'p', nullptr, "_Input mode", ""),
    A(menuitem_interface_menu, menuitem_interface_extended, 'R', nullptr, "_Extended", ""),
    A(menuitem_interface_menu, menuitem_interface_compact, 'r', nullptr, "_Compact", ""),
    N(menuitem_preferences_menu, menuitem_palette, 'p', nullptr, "_Palette", ""),
    A(menuitem_palette_menu, menuitem_palette_peptos, 'R', nullptr, "_Pepto", "Alt+A"),
    A(menuitem_palette_menu, menuitem_palette_high_contrast, 'r', nullptr, "_High contrast", "Alt+S"),
    A(menuitem_palette_menu, menuitem_palette_pixcen, 'r', nullptr, "Pi_xcen", "Alt+D"),
    A(menuitem_palette_menu, menuitem_palette_ccs64, 'r', nullptr, "CC_S64", "Alt+G"),
    N(menuitem_preferences_menu, menuitem_zoom, 'i', "image509", "_Zoom", ""),
    A(menuitem_zoom_menu, menuitem_zoom_1x, 'R', nullptr, "_1x", "F5"),
    A(menuitem_zoom_menu, menuitem_zoom_2x, 'r', nullptr, "_2x", "F6"),
    A(menuitem_zoom_menu, menuitem_zoom_3x, 'r', nullptr, "_3x", "F7"),
    A(menuitem_zoom_menu, menuitem_zoom_4x, 'r', nullptr, "_4x", "F8"),
    A(menuitem_preferences_menu, menuitem_reencode_graphics, 'c', nullptr, "_Re-encode graphics", "", "If enabled, upon exporting a project to an executable, graphic data for MC pictures is re-encoded so that they might compress better"),
    N(menubar_main, menuitem_border, 'i', "image510", "_Border", ""),
    A(menuitem_border_menu, menuitem_select_left_border, 'p', nullptr, "Select _left border", "Alt+Z"),
    A(menuitem_border_menu, menuitem_select_right_border, 'p', nullptr, "Select _right border", "Alt+X"),
    N(menubar_main, menuitem_tools, 'i', "image511", "_Tools", ""),
    A(menuitem_tools_menu, menuitem_tools_auto_expand_picture, 'i', "image512", "_Auto extend picture", "F12", "Automatically create raster bars by simply extending a picture at its edges"),
    A(menuitem_tools_menu, menuitem_tools_ramp, 'i', "image_ramp", "_Ramp...", "F11", "Paint a colour ramp over the selected lines or bar"),
    A(menuitem_tools_menu, menuitem_tools_preview, 'i', "image514", "_Preview on C64...", "F9", "Run the exported program on an emulated PAL, NTSC or PAL-N C64"),
    N(menubar_main, menuitem_help, 'i', "image513", "_Help", ""),
    A(menuitem_help_menu, menuitem_about, 's', nullptr, "_About", ""),
    C(toolbar_main, toolbutton_add_bar_left, 't', nullptr, "Left", "", "Add a raster bar on the left border"),
    C(toolbar_main, toolbutton_remove_bar_left, 't', nullptr, "Left", "", "Remove the selected raster bar from the left border"),
    N(toolbar_main, separatortoolitem2, '|', nullptr, "", ""),
    C(toolbar_main, toolbutton_add_bar_right, 't', nullptr, "Right", "", "Add a raster bar on the right border"),
    C(toolbar_main, toolbutton_remove_bar_right, 't', nullptr, "Right", "", "Remove the selected raster bar from the right border"),
    N(toolbar_main, separatortoolitem1, '|', nullptr, "", ""),
    C(toolbar_main, toolbutton_delete_all_bars, 't', nullptr, "All", "", "Delete all raster bars"),
};
// clang-format on

// Menu items and tool bar items in their order, with what the user sees of them and their
// handlers; the window's other widgets by name.
TEST(Interface, MenusAndToolBarMatchTheirTable) {
  const std::map<char, GType> types = {
      {'i', GTK_TYPE_IMAGE_MENU_ITEM},     {'s', GTK_TYPE_IMAGE_MENU_ITEM}, {'p', GTK_TYPE_MENU_ITEM},
      {'r', GTK_TYPE_RADIO_MENU_ITEM},     {'R', GTK_TYPE_RADIO_MENU_ITEM}, {'c', GTK_TYPE_CHECK_MENU_ITEM},
      {'-', GTK_TYPE_SEPARATOR_MENU_ITEM}, {'t', GTK_TYPE_TOOL_BUTTON},     {'|', GTK_TYPE_SEPARATOR_TOOL_ITEM}};
  Pristine w;
  std::map<std::string, int> position, radios;
  for (const Item &r : kItems) radios[r.parent] += r.kind == 'r' || r.kind == 'R';
  for (const Item &r : kItems) {
    SCOPED_TRACE(r.name);
    GtkWidget *item = w[r.name];
    ASSERT_NE(item, nullptr);
    EXPECT_EQ(G_OBJECT_TYPE(item), types.at(r.kind));
    ASSERT_EQ(gtk_widget_get_parent(item), w[r.parent]);
    GList *siblings = gtk_container_get_children(GTK_CONTAINER(w[r.parent]));
    EXPECT_EQ(g_list_index(siblings, item), position[r.parent]++);
    EXPECT_EQ(lookup_widget(item, "window_main"), w.window);  // climbs out of nested menus
    EXPECT_EQ(shown(item), (std::vector<std::string>{r.label, r.accel, r.tooltip}));
    EXPECT_EQ(gtk_widget_get_sensitive(item), r.kind != '-');
    if (GTK_IS_IMAGE_MENU_ITEM(item)) {
      EXPECT_EQ(gtk_image_menu_item_get_use_stock(GTK_IMAGE_MENU_ITEM(item)), r.kind == 's');
      EXPECT_TRUE(!r.image || gtk_image_menu_item_get_image(GTK_IMAGE_MENU_ITEM(item)) == w[r.image]);
    }
    EXPECT_EQ(GTK_IS_CHECK_MENU_ITEM(item) && gtk_check_menu_item_get_active(GTK_CHECK_MENU_ITEM(item)), r.kind == 'R');
    if (GTK_IS_RADIO_MENU_ITEM(item)) {  // one group per menu, holding all its radio items
      GSList *group = gtk_radio_menu_item_get_group(GTK_RADIO_MENU_ITEM(item));
      EXPECT_EQ(g_slist_length(group), unsigned(radios[r.parent]));
      for (GSList *m = group; m; m = m->next) EXPECT_NE(g_list_find(siblings, m->data), nullptr);
    }
    g_list_free(siblings);
    EXPECT_TRUE(!r.handler || connected(item, r.kind == 't' ? "clicked" : "activate", r.handler));
  }
  EXPECT_EQ(g_slist_length(gtk_accel_groups_from_object(G_OBJECT(w.window))), 1u);  // the accelerators work there
  // The rest of the window's tree not named by the other tests.
  for (const char *name : {"vbox_topmost", "hbox_topmost", "aspectframe_drawingareas", "alignment_drawingareas",
                           "hbox_drawingareas", "vbox_drawingareas", "hbox_controls", "vbox_left_rasterbars",
                           "label_left_rasterbars", "scrolledwindow_rasters_left", "vbox_right_rasterbars",
                           "label_right_raster_bars", "scrolledwindow_rasters_right", "hbox_zoom", "label_border_color",
                           "aspectframe_border_color", "alignment_border_color", "statusbar_main"})
    EXPECT_TRUE(GTK_IS_WIDGET(w[name]) && gtk_widget_get_toplevel(w[name]) == w.window) << name;
}

// The window's own signals, the drawing areas' and the lists' (the items' are in their table).
TEST(Interface, EveryHandlerIsConnected) {
#define SIG(widget, signal) \
  { #widget, #signal, G_CALLBACK(on_##widget##_##signal) }
#define DRAWN(area) SIG(area, configure_event), SIG(area, expose_event)
#define INPUT(area) SIG(area, button_press_event), SIG(area, key_press_event), SIG(area, motion_notify_event)
  const struct {
    const char *widget, *signal;
    GCallback handler;
  } wiring[] = {// clang-format off
      SIG(window_main, delete_event), SIG(treeview_rasters_left, cursor_changed), SIG(treeview_rasters_right, cursor_changed),
      DRAWN(drawingarea_left_border), INPUT(drawingarea_left_border), DRAWN(drawingarea_right_border),
      INPUT(drawingarea_right_border), DRAWN(drawingarea_upper_border), DRAWN(drawingarea_picture),
      DRAWN(drawingarea_lower_border), DRAWN(drawingarea_border_color), SIG(drawingarea_border_color, button_press_event)};
  // clang-format on
  Pristine w;
  for (const auto &c : wiring) EXPECT_TRUE(connected(w[c.widget], c.signal, c.handler)) << c.widget << " " << c.signal;
}

// At zoom 1 the side borders, upper and lower border and picture form the 416 x 296 screen;
// only the side borders take the focus and key, button and motion events, the picker clicks.
TEST(Interface, DrawingAreasFormTheScreenAndOnlyTheSideBordersTakeInput) {
  const gint input = GDK_KEY_PRESS_MASK | GDK_BUTTON_PRESS_MASK | GDK_POINTER_MOTION_MASK;
  const struct {
    const char *name;
    int x, y, width, height;
    gint events;
  } areas[] = {// clang-format off
      {"drawingarea_left_border", 0, 0, 48, 296, input}, {"drawingarea_upper_border", 48, 0, 320, 48, 0},
      {"drawingarea_picture", 48, 48, 320, 200, 0}, {"drawingarea_lower_border", 48, 248, 320, 48, 0},
      {"drawingarea_right_border", 368, 0, 48, 296, input}, {"drawingarea_border_color", -1, -1, 256, 16, GDK_BUTTON_PRESS_MASK}};
  // clang-format on
  start_app();
  pump_events(50);
  const GtkAllocation origin = lookup_widget(window_main, areas[0].name)->allocation;
  for (const auto &a : areas) {
    GtkWidget *area = lookup_widget(window_main, a.name);
    GtkAllocation r = area->allocation;
    if (a.x < 0) r.x = origin.x - 1, r.y = origin.y - 1;  // the picker lies elsewhere
    EXPECT_EQ(std::tuple(r.x - origin.x, r.y - origin.y, r.width, r.height), std::tuple(a.x, a.y, a.width, a.height))
        << a.name;
    EXPECT_EQ(gtk_widget_get_events(area) & input, a.events) << a.name;
    EXPECT_EQ(gtk_widget_get_can_focus(area), a.events == input) << a.name;
  }
}

// The dialogs' names, titles and button responses; the choosers' action and default button.
TEST(Interface, Dialogs) {
  const struct {
    GtkWidget *(*build)();
    const char *title;
    std::vector<const char *> names;
    const char *no, *yes;
    int no_response, yes_response, action;
  } rows[] = {
      // clang-format off
      {create_filechooserdialog_open, "Open picture file", {"filechooserdialog_open", "dialog_vbox1", "dialog_action_area1"},
       "button1", "button2", GTK_RESPONSE_CANCEL, GTK_RESPONSE_OK, GTK_FILE_CHOOSER_ACTION_OPEN},
      {create_filechooserdialog_save, "Save work to file", {"filechooserdialog_save", "dialog_vbox2", "dialog_action_area2"},
       "button3", "button4", GTK_RESPONSE_CANCEL, GTK_RESPONSE_OK, GTK_FILE_CHOOSER_ACTION_SAVE},
      {create_dialog_yes_no_confirmation, "Confirmation request",
       {"dialog_yes_no_confirmation", "vbox_yes_no_confirmation", "label_yes_no_confirmation", "hbuttonbox_yes_no_confirmation"},
       "button_yes_no_confirmation_no", "button_yes_no_confirmation_yes", GTK_RESPONSE_NO, GTK_RESPONSE_YES, -1},
      // clang-format on
  };
  for (const auto &r : rows) {
    GtkWidget *d = r.build(), *no = lookup_widget(d, r.no), *yes = lookup_widget(d, r.yes);
    for (const char *name : r.names) EXPECT_NE(lookup_widget(d, name), nullptr) << name;
    EXPECT_STREQ(gtk_window_get_title(GTK_WINDOW(d)), r.title);
    EXPECT_EQ(std::pair(gtk_dialog_get_response_for_widget(GTK_DIALOG(d), no),
                        gtk_dialog_get_response_for_widget(GTK_DIALOG(d), yes)),
              std::pair(r.no_response, r.yes_response))
        << r.title;
    EXPECT_EQ(GTK_IS_FILE_CHOOSER(d) ? int(gtk_file_chooser_get_action(GTK_FILE_CHOOSER(d))) : -1, r.action);
    EXPECT_TRUE(r.action < 0 || gtk_widget_has_default(yes)) << r.title;
    gtk_widget_destroy(d);
  }
}

// An unknown name gives NULL and a (non-fatal) warning naming it.
TEST(Interface, UnknownNameGivesNullAndAWarning) {
  using Log = std::vector<std::pair<std::string, int>>;
  Log log;
  guint handler = g_log_set_handler(
      nullptr, GLogLevelFlags(G_LOG_LEVEL_MASK | G_LOG_FLAG_FATAL),
      [](const gchar *, GLogLevelFlags level, const gchar *message, gpointer data) {
        static_cast<Log *>(data)->emplace_back(message, level);
      },
      &log);
  Pristine w;
  EXPECT_EQ(lookup_widget(w["drawingarea_picture"], "no_such_widget"), nullptr);
  g_log_remove_handler(nullptr, handler);
  EXPECT_EQ(log, (Log{{"Widget not found: no_such_widget", G_LOG_LEVEL_WARNING}}));
}

}  // namespace
