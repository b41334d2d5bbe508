// The main window and dialogs: widget names, menus, tool bar, signal wiring, input
// masks, geometry, and lookup_widget's warning.
#include <map>
#include <string>
#include <vector>

#include "callbacks.h"
#include "interface.h"
#include "preview.h"
#include "rampdialog.h"
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

#define ACT(name) G_CALLBACK(on_##name##_activate)
#define CLK(name) G_CALLBACK(on_##name##_clicked)

// Kinds: i image item, s stock item, p plain, r radio, c check, - separator; t tool button, | tool separator.
const struct Item {
  const char *parent, *name;
  char kind;
  const char *label, *accel, *tooltip;
  GCallback handler;
  const char *image;
  int group;
  bool active;  // the image of an image item; radio group or 0; initial state
} kItems[] = {
    {"menubar_main", "menuitem_file", 'i', "_File", "", "", nullptr, "image502", 0, false},
    {"menuitem_file_menu", "menuitem_open_project", 'i', "_Open project...", "F1", "Open a saved project",
     ACT(menuitem_open_project), "image504", 0, false},
    {"menuitem_file_menu", "menuitem_save_project", 'i', "_Save project", "F2",
     "Save the current project to an existing file", ACT(menuitem_save_project), "image620", 0, false},
    {"menuitem_file_menu", "menuitem_save_project_as", 'i', "Save project _as...", "Shift+F2",
     "Save the current project to a new file", ACT(menuitem_save_project_as), "image505", 0, false},
    {"menuitem_file_menu", "separator1", '-', "", "", "", nullptr, nullptr, 0, false},
    {"menuitem_file_menu", "menuitem_open_picture", 'i', "Load _picture...", "F3", "Load a picture",
     ACT(menuitem_open_picture), "image503", 0, false},
    {"menuitem_file_menu", "menuitem_reload_picture", 'i', "_Reload picture", "F4",
     "Reload the current picture to pick up any changes that might have occurred since it was last opened",
     ACT(menuitem_reload_picture), "image506", 0, false},
    {"menuitem_file_menu", "separator3", '-', "", "", "", nullptr, nullptr, 0, false},
    {"menuitem_file_menu", "menuitem_export_to_png", 'i', "Export to PNG _image...", "",
     "Export the project to a PNG image that can be used as a release screenshot for CSDb", ACT(menuitem_export_to_png),
     "image554", 0, false},
    {"menuitem_file_menu", "menuitem_export", 'i', "Export to _executable...", "",
     "Export project to a self-contained executable that can be used to release to CSDb", ACT(menuitem_export),
     "image507", 0, false},
    {"menuitem_file_menu", "separator4", '-', "", "", "", nullptr, nullptr, 0, false},
    {"menuitem_file_menu", "menuitem_quit", 's', "_Quit", "Ctrl+Q", "", ACT(menuitem_quit), nullptr, 0, false},
    {"menubar_main", "menuitem_edit", 'i', "Edit", "", "", nullptr, "image_edit", 0, false},
    {"menuitem_edit_menu", "menuitem_undo", 'i', "_Undo", "Ctrl+Z", "Undo the last change to the bars",
     ACT(menuitem_undo), "image_undo", 0, false},
    {"menuitem_edit_menu", "menuitem_redo", 'i', "_Redo", "Shift+Ctrl+Z", "Redo the change that was undone last",
     ACT(menuitem_redo), "image_redo", 0, false},
    {"menubar_main", "menuitem_preferences", 'i', "_Preferences", "", "", nullptr, "image508", 0, false},
    {"menuitem_preferences_menu", "menuitem_interface", 'p', "_Input mode", "", "", nullptr, nullptr, 0, false},
    {"menuitem_interface_menu", "menuitem_interface_extended", 'r', "_Extended", "", "",
     ACT(menuitem_interface_extended), nullptr, 1, true},
    {"menuitem_interface_menu", "menuitem_interface_compact", 'r', "_Compact", "", "", ACT(menuitem_interface_compact),
     nullptr, 1, false},
    {"menuitem_preferences_menu", "menuitem_palette", 'p', "_Palette", "", "", nullptr, nullptr, 0, false},
    {"menuitem_palette_menu", "menuitem_palette_peptos", 'r', "_Pepto", "Alt+A", "", ACT(menuitem_palette_peptos),
     nullptr, 2, true},
    {"menuitem_palette_menu", "menuitem_palette_high_contrast", 'r', "_High contrast", "Alt+S", "",
     ACT(menuitem_palette_high_contrast), nullptr, 2, false},
    {"menuitem_palette_menu", "menuitem_palette_pixcen", 'r', "Pi_xcen", "Alt+D", "", ACT(menuitem_palette_pixcen),
     nullptr, 2, false},
    {"menuitem_palette_menu", "menuitem_palette_ccs64", 'r', "CC_S64", "Alt+G", "", ACT(menuitem_palette_ccs64),
     nullptr, 2, false},
    {"menuitem_preferences_menu", "menuitem_zoom", 'i', "_Zoom", "", "", nullptr, "image509", 0, false},
    {"menuitem_zoom_menu", "menuitem_zoom_1x", 'r', "_1x", "F5", "", ACT(menuitem_zoom_1x), nullptr, 3, true},
    {"menuitem_zoom_menu", "menuitem_zoom_2x", 'r', "_2x", "F6", "", ACT(menuitem_zoom_2x), nullptr, 3, false},
    {"menuitem_zoom_menu", "menuitem_zoom_3x", 'r', "_3x", "F7", "", ACT(menuitem_zoom_3x), nullptr, 3, false},
    {"menuitem_zoom_menu", "menuitem_zoom_4x", 'r', "_4x", "F8", "", ACT(menuitem_zoom_4x), nullptr, 3, false},
    {"menuitem_preferences_menu", "menuitem_reencode_graphics", 'c', "_Re-encode graphics", "",
     "If enabled, upon exporting a project to an executable, graphic data for MC pictures is re-encoded so that they "
     "might compress better",
     ACT(menuitem_reencode_graphics), nullptr, 0, false},
    {"menubar_main", "menuitem_border", 'i', "_Border", "", "", nullptr, "image510", 0, false},
    {"menuitem_border_menu", "menuitem_select_left_border", 'p', "Select _left border", "Alt+Z", "",
     ACT(menuitem_select_left_border), nullptr, 0, false},
    {"menuitem_border_menu", "menuitem_select_right_border", 'p', "Select _right border", "Alt+X", "",
     ACT(menuitem_select_right_border), nullptr, 0, false},
    {"menubar_main", "menuitem_tools", 'i', "_Tools", "", "", nullptr, "image511", 0, false},
    {"menuitem_tools_menu", "menuitem_tools_auto_expand_picture", 'i', "_Auto extend picture", "F12",
     "Automatically create raster bars by simply extending a picture at its edges",
     ACT(menuitem_tools_auto_expand_picture), "image512", 0, false},
    {"menuitem_tools_menu", "menuitem_tools_ramp", 'i', "_Ramp...", "F11",
     "Paint a colour ramp over the selected lines or bar", ACT(menuitem_tools_ramp), "image_ramp", 0, false},
    {"menuitem_tools_menu", "menuitem_tools_preview", 'i', "_Preview on C64...", "F9",
     "Run the exported program on an emulated PAL, NTSC or PAL-N C64", ACT(menuitem_tools_preview), "image514", 0,
     false},
    {"menubar_main", "menuitem_help", 'i', "_Help", "", "", nullptr, "image513", 0, false},
    {"menuitem_help_menu", "menuitem_about", 's', "_About", "", "", ACT(menuitem_about), nullptr, 0, false},
    {"toolbar_main", "toolbutton_add_bar_left", 't', "Left", "", "Add a raster bar on the left border",
     CLK(toolbutton_add_bar_left), nullptr, 0, false},
    {"toolbar_main", "toolbutton_remove_bar_left", 't', "Left", "",
     "Remove the selected raster bar from the left border", CLK(toolbutton_remove_bar_left), nullptr, 0, false},
    {"toolbar_main", "separatortoolitem2", '|', "", "", "", nullptr, nullptr, 0, false},
    {"toolbar_main", "toolbutton_add_bar_right", 't', "Right", "", "Add a raster bar on the right border",
     CLK(toolbutton_add_bar_right), nullptr, 0, false},
    {"toolbar_main", "toolbutton_remove_bar_right", 't', "Right", "",
     "Remove the selected raster bar from the right border", CLK(toolbutton_remove_bar_right), nullptr, 0, false},
    {"toolbar_main", "separatortoolitem1", '|', "", "", "", nullptr, nullptr, 0, false},
    {"toolbar_main", "toolbutton_delete_all_bars", 't', "All", "", "Delete all raster bars",
     CLK(toolbutton_delete_all_bars), nullptr, 0, false},
};

// Menu items and tool bar items in their order, with what the user sees of them; the
// window's other widgets by name.
TEST(Interface, MenusAndToolBarMatchTheirTable) {
  const std::map<char, GType> types = {{'i', GTK_TYPE_IMAGE_MENU_ITEM}, {'s', GTK_TYPE_IMAGE_MENU_ITEM},
                                       {'p', GTK_TYPE_MENU_ITEM},       {'r', GTK_TYPE_RADIO_MENU_ITEM},
                                       {'c', GTK_TYPE_CHECK_MENU_ITEM}, {'-', GTK_TYPE_SEPARATOR_MENU_ITEM},
                                       {'t', GTK_TYPE_TOOL_BUTTON},     {'|', GTK_TYPE_SEPARATOR_TOOL_ITEM}};
  Pristine w;
  std::map<std::string, int> position;
  std::map<int, GSList *> radio_groups;
  for (const Item &r : kItems) {
    SCOPED_TRACE(r.name);
    GtkWidget *item = w[r.name];
    ASSERT_NE(item, nullptr);
    EXPECT_EQ(G_OBJECT_TYPE(item), types.at(r.kind));
    ASSERT_EQ(gtk_widget_get_parent(item), w[r.parent]);
    GList *siblings = gtk_container_get_children(GTK_CONTAINER(w[r.parent]));
    EXPECT_EQ(g_list_index(siblings, item), position[r.parent]++);
    g_list_free(siblings);
    EXPECT_EQ(lookup_widget(item, "window_main"), w.window);  // climbs out of nested menus
    EXPECT_EQ(shown(item), (std::vector<std::string>{r.label, r.accel, r.tooltip}));
    EXPECT_EQ(gtk_widget_get_sensitive(item), r.kind != '-');
    if (GTK_IS_IMAGE_MENU_ITEM(item)) {
      EXPECT_EQ(gtk_image_menu_item_get_use_stock(GTK_IMAGE_MENU_ITEM(item)), r.kind == 's');
      if (r.image) {
        EXPECT_EQ(gtk_image_menu_item_get_image(GTK_IMAGE_MENU_ITEM(item)), w[r.image]);
      }
    }
    if (GTK_IS_CHECK_MENU_ITEM(item)) {
      EXPECT_EQ(gtk_check_menu_item_get_active(GTK_CHECK_MENU_ITEM(item)), r.active);
    }
    if (r.group) {
      GSList *&members = radio_groups[r.group];
      if (!members) members = gtk_radio_menu_item_get_group(GTK_RADIO_MENU_ITEM(item));
      EXPECT_TRUE(g_slist_find(members, item) && g_slist_length(members) == (r.group == 1 ? 2u : 4u));
    }
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

// Every handler: the window's signals plus the menu items' "activate" and the tool buttons' "clicked".
TEST(Interface, EveryHandlerIsConnected) {
#define SIG(widget, signal) \
  { #widget, #signal, G_CALLBACK(on_##widget##_##signal) }
#define DRAWN(area) SIG(area, configure_event), SIG(area, expose_event)
#define INPUT(area) SIG(area, button_press_event), SIG(area, key_press_event), SIG(area, motion_notify_event)
  struct Connection {
    const char *widget, *signal;
    GCallback handler;
  };
  std::vector<Connection> wiring = {SIG(window_main, delete_event),
                                    SIG(treeview_rasters_left, cursor_changed),
                                    SIG(treeview_rasters_right, cursor_changed),
                                    DRAWN(drawingarea_left_border),
                                    INPUT(drawingarea_left_border),
                                    DRAWN(drawingarea_right_border),
                                    INPUT(drawingarea_right_border),
                                    DRAWN(drawingarea_upper_border),
                                    DRAWN(drawingarea_picture),
                                    DRAWN(drawingarea_lower_border),
                                    DRAWN(drawingarea_border_color),
                                    SIG(drawingarea_border_color, button_press_event)};
  for (const Item &r : kItems)
    if (r.handler) wiring.push_back({r.name, r.kind == 't' ? "clicked" : "activate", r.handler});
  Pristine w;
  for (const Connection &c : wiring) {
    gpointer widget = w[c.widget];
    guint id = g_signal_lookup(c.signal, G_OBJECT_TYPE(widget));
    EXPECT_TRUE(id && g_signal_handler_find(widget, GSignalMatchType(G_SIGNAL_MATCH_ID | G_SIGNAL_MATCH_FUNC), id, 0,
                                            nullptr, reinterpret_cast<gpointer>(c.handler), nullptr))
        << c.widget << " " << c.signal;
  }
}

// At zoom 1 the side borders, upper and lower border and picture form the 416 x 296 screen;
// only the side borders take the focus and key, button and motion events, the picker clicks.
TEST(Interface, DrawingAreasFormTheScreenAndOnlyTheSideBordersTakeInput) {
  const gint input = GDK_KEY_PRESS_MASK | GDK_BUTTON_PRESS_MASK | GDK_POINTER_MOTION_MASK;
  const struct {
    const char *name;
    int x, y, width, height;
    gint events;
  } areas[] = {{"drawingarea_left_border", 0, 0, 48, 296, input},
               {"drawingarea_upper_border", 48, 0, 320, 48, 0},
               {"drawingarea_picture", 48, 48, 320, 200, 0},
               {"drawingarea_lower_border", 48, 248, 320, 48, 0},
               {"drawingarea_right_border", 368, 0, 48, 296, input},
               {"drawingarea_border_color", -1, -1, 256, 16, GDK_BUTTON_PRESS_MASK}};
  GtkWidget *window = start_app();
  pump_events(50);
  const GtkAllocation origin = lookup_widget(window, areas[0].name)->allocation;
  for (const auto &a : areas) {
    GtkWidget *area = lookup_widget(window, a.name);
    GtkAllocation r = area->allocation;
    if (a.x < 0) r.x = origin.x - 1, r.y = origin.y - 1;  // the picker lies elsewhere
    EXPECT_EQ((std::vector{r.x - origin.x, r.y - origin.y, r.width, r.height}),
              (std::vector{a.x, a.y, a.width, a.height}))
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
  } rows[] = {{create_filechooserdialog_open,
               "Open picture file",
               {"filechooserdialog_open", "dialog_vbox1", "dialog_action_area1"},
               "button1",
               "button2",
               GTK_RESPONSE_CANCEL,
               GTK_RESPONSE_OK,
               GTK_FILE_CHOOSER_ACTION_OPEN},
              {create_filechooserdialog_save,
               "Save work to file",
               {"filechooserdialog_save", "dialog_vbox2", "dialog_action_area2"},
               "button3",
               "button4",
               GTK_RESPONSE_CANCEL,
               GTK_RESPONSE_OK,
               GTK_FILE_CHOOSER_ACTION_SAVE},
              {create_dialog_yes_no_confirmation,
               "Confirmation request",
               {"dialog_yes_no_confirmation", "vbox_yes_no_confirmation", "label_yes_no_confirmation",
                "hbuttonbox_yes_no_confirmation"},
               "button_yes_no_confirmation_no",
               "button_yes_no_confirmation_yes",
               GTK_RESPONSE_NO,
               GTK_RESPONSE_YES,
               -1}};
  for (const auto &r : rows) {
    SCOPED_TRACE(r.title);
    GtkWidget *d = r.build();
    for (const char *name : r.names) EXPECT_NE(lookup_widget(d, name), nullptr) << name;
    EXPECT_STREQ(gtk_window_get_title(GTK_WINDOW(d)), r.title);
    GtkWidget *no = lookup_widget(d, r.no), *yes = lookup_widget(d, r.yes);
    EXPECT_EQ(gtk_dialog_get_response_for_widget(GTK_DIALOG(d), no), r.no_response);
    EXPECT_EQ(gtk_dialog_get_response_for_widget(GTK_DIALOG(d), yes), r.yes_response);
    if (r.action >= 0) {
      EXPECT_EQ(gtk_file_chooser_get_action(GTK_FILE_CHOOSER(d)), r.action);
      EXPECT_TRUE(gtk_widget_has_default(yes));
    }
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
