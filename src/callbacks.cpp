// callbacks: the signal handlers of the main window and the commands behind them: the
// picture and project commands and the exports.
//
// Owns the picture state (picture_loaded, pixbuf_picture, the paths), the border colour
// and the active input mode. Handlers stay one call deep: the bars belong to rastermodel
// (Extended mode) and rasterarray (Compact mode), the drawing areas to screenview, the
// options to options, the feedback to controls, decoding and rendering to hiresdecoder,
// the file choosers to fileopen, the project file to projectfile, and the bytes and images
// of the exports to prgexport, pngexport, bartables and diskimage.
//
// May touch: the globals it owns; the options (through their menu items and
// options_save_to_file); the bars through inputmode, rastermodel and rasterarray; the
// drawing areas through screenview; the window's cursor while the cruncher runs.
#include "callbacks.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string>

#include "controls.h"
#include "exportcommands.h"
#include "fileopen.h"
#include "hiresdecoder.h"
#include "inputmode.h"
#include "options.h"
#include "pngexport.h"
#include "prgexport.h"
#include "projectfile.h"
#include "rasterarray.h"
#include "rastermodel.h"
#include "screenview.h"
#include "state.h"
#include "support.h"
#include "undo.h"

int picture_loaded = 0;
GdkPixbuf *pixbuf_picture = nullptr;
int border_color_index = 0;
char *utf8_path_and_filename_picture = nullptr;
char *utf8_path_and_filename_project = nullptr;
int interface_extended = 1;

// Set while the project path names a file that Open project could not read as a project (a
// picture chosen by mistake, a damaged file: no key file, or one without any project group):
// Save then asks for a name rather than overwriting that file.
static int project_path_unread = 0;

namespace {

constexpr const char *kNeedPicture = "First open a picture or project";

void report_info(const char *text) { controls_report_info(text); }

// Replaces an owned string with a copy of `value`.
void replace_string(char *&owned, const char *value) {
  char *copy = g_strdup(value);
  g_free(owned);
  owned = copy;
}

CairoContext cairo_for(GtkWidget *widget) { return CairoContext(screenview_cairo_for(widget)); }

}  // namespace

// ---------------------------------------------------------------------------------------
// Shutdown

void cleanup_before_quitting(void) {
  if (surface_border_color) {
    cairo_surface_destroy(surface_border_color);
    surface_border_color = nullptr;
  }
  if (pixbuf_picture) {
    g_object_unref(pixbuf_picture);
    pixbuf_picture = nullptr;
  }
}

// The question of both ways of quitting; on Yes the options are saved (with the window's
// position) and the images released.
static bool quit_confirmed() {
  if (controls_get_user_confirmation("Are you sure you want to quit?") != 1) return false;
  options_save_to_file();
  cleanup_before_quitting();
  return true;
}

void on_menuitem_quit_activate(GtkMenuItem *, gpointer) {
  if (quit_confirmed()) gtk_main_quit();
}

// The window stays open (TRUE) unless the user confirms.
gboolean on_window_main_delete_event(GtkWidget *, GdkEvent *, gpointer) { return quit_confirmed() ? FALSE : TRUE; }

// ---------------------------------------------------------------------------------------
// Screen view

gboolean on_drawingarea_upper_border_configure_event(GtkWidget *widget, GdkEventConfigure *, gpointer) {
  return screenview_remember_area(drawingarea_upper_border, widget);
}

gboolean on_drawingarea_lower_border_configure_event(GtkWidget *widget, GdkEventConfigure *, gpointer) {
  return screenview_remember_area(drawingarea_lower_border, widget);
}

gboolean on_drawingarea_left_border_configure_event(GtkWidget *widget, GdkEventConfigure *, gpointer) {
  return screenview_remember_area(drawingarea_left_border, widget);
}

gboolean on_drawingarea_right_border_configure_event(GtkWidget *widget, GdkEventConfigure *, gpointer) {
  return screenview_remember_area(drawingarea_right_border, widget);
}

gboolean on_drawingarea_picture_configure_event(GtkWidget *widget, GdkEventConfigure *, gpointer) {
  return screenview_remember_area(drawingarea_picture, widget);
}

static gboolean paint_border(GtkWidget *widget) {
  screenview_paint_colour(cairo_for(widget).get(), border_color_index);
  return TRUE;
}

gboolean on_drawingarea_upper_border_expose_event(GtkWidget *widget, GdkEventExpose *, gpointer) {
  return paint_border(widget);
}

gboolean on_drawingarea_lower_border_expose_event(GtkWidget *widget, GdkEventExpose *, gpointer) {
  return paint_border(widget);
}

// A side border: the border colour, then the active mode's bars of that side.
static gboolean paint_side_border(GtkWidget *widget, BorderSide side) {
  CairoContext cr = cairo_for(widget);
  screenview_paint_colour(cr.get(), border_color_index);
  inputmode_render_lines(side, cr.get(), picture_loaded == 1, options_expansion);
  return TRUE;
}

gboolean on_drawingarea_left_border_expose_event(GtkWidget *widget, GdkEventExpose *, gpointer) {
  return paint_side_border(widget, side_left);
}

gboolean on_drawingarea_right_border_expose_event(GtkWidget *widget, GdkEventExpose *, gpointer) {
  return paint_side_border(widget, side_right);
}

gboolean on_drawingarea_picture_expose_event(GtkWidget *widget, GdkEventExpose *event, gpointer) {
  screenview_paint_picture(cairo_for(widget).get(), pixbuf_picture, &event->area, options_expansion);
  return TRUE;
}

// The colour picker: a strip of the 16 colours, drawn off screen on every configure event
// and whenever the palette changes, and copied on expose.
gboolean on_drawingarea_border_color_configure_event(GtkWidget *widget, GdkEventConfigure *, gpointer) {
  screenview_remember_area(drawingarea_border_color, widget);
  screenview_build_palette_strip(widget, options_expansion);
  return TRUE;
}

gboolean on_drawingarea_border_color_expose_event(GtkWidget *widget, GdkEventExpose *event, gpointer) {
  return screenview_paint_palette_strip(cairo_for(widget).get(), &event->area, border_color_index, options_expansion);
}

gboolean on_drawingarea_border_color_button_press_event(GtkWidget *, GdkEventButton *event, gpointer) {
  if (event->type != GDK_BUTTON_PRESS || event->button != 1) return FALSE;
  UserAction action;
  border_color_index = screenview_colour_at(event->x, options_expansion);
  for (GtkWidget *area : {drawingarea_border_color, drawingarea_upper_border, drawingarea_left_border,
                          drawingarea_right_border, drawingarea_lower_border})
    screenview_redraw(area);
  return TRUE;
}

// ---------------------------------------------------------------------------------------
// Mouse and keys on the side borders, handed to the active input mode

static gboolean side_border_button_press(GtkWidget *widget, GdkEventButton *event, BorderSide side) {
  if (picture_loaded == 0) return TRUE;
  if ((event->type != GDK_BUTTON_PRESS && event->type != GDK_2BUTTON_PRESS) || event->button != 1) return TRUE;
  int y = static_cast<int>(event->y);
  if (options_expansion > 1) y /= options_expansion;
  gtk_widget_grab_focus(widget);
  const int row = y - horiz_border_height;
  inputmode_button_press(side, row, event->state, event->type == GDK_2BUTTON_PRESS ? 1 : 0);
  gtk_widget_queue_draw(widget);
  return TRUE;
}

static gboolean side_border_key_press(GtkWidget *widget, GdkEventKey *event, BorderSide side) {
  if (picture_loaded == 0) return TRUE;
  UserAction action;
  const unsigned int state = event->state & (GDK_SHIFT_MASK | GDK_CONTROL_MASK | GDK_MOD1_MASK);
  if (inputmode_key_press(side, event->keyval, state) == 1) gtk_widget_queue_draw(widget);
  return TRUE;
}

gboolean on_drawingarea_left_border_button_press_event(GtkWidget *widget, GdkEventButton *event, gpointer) {
  return side_border_button_press(widget, event, side_left);
}

gboolean on_drawingarea_right_border_button_press_event(GtkWidget *widget, GdkEventButton *event, gpointer) {
  return side_border_button_press(widget, event, side_right);
}

gboolean on_drawingarea_left_border_key_press_event(GtkWidget *widget, GdkEventKey *event, gpointer) {
  return side_border_key_press(widget, event, side_left);
}

gboolean on_drawingarea_right_border_key_press_event(GtkWidget *widget, GdkEventKey *event, gpointer) {
  return side_border_key_press(widget, event, side_right);
}

gboolean on_drawingarea_left_border_motion_notify_event(GtkWidget *, GdkEventMotion *, gpointer) { return FALSE; }

gboolean on_drawingarea_right_border_motion_notify_event(GtkWidget *, GdkEventMotion *, gpointer) { return FALSE; }

// ---------------------------------------------------------------------------------------
// Extended mode's tool buttons and list views

bool need_picture() {
  if (picture_loaded != 0) return true;
  report_info(kNeedPicture);
  return false;
}

// An add or remove button: the operation on its side's list, then that side is redrawn.
static void bar_button(void (*operation)(void), GtkWidget *area) {
  if (!need_picture()) return;
  UserAction action;
  operation();
  screenview_redraw(area);
}

void on_toolbutton_add_bar_left_clicked(GtkToolButton *, gpointer) {
  bar_button(rastermodel_add_bar_left, drawingarea_left_border);
}

void on_toolbutton_remove_bar_left_clicked(GtkToolButton *, gpointer) {
  bar_button(rastermodel_remove_bar_left, drawingarea_left_border);
}

void on_toolbutton_add_bar_right_clicked(GtkToolButton *, gpointer) {
  bar_button(rastermodel_add_bar_right, drawingarea_right_border);
}

void on_toolbutton_remove_bar_right_clicked(GtkToolButton *, gpointer) {
  bar_button(rastermodel_remove_bar_right, drawingarea_right_border);
}

void on_toolbutton_delete_all_bars_clicked(GtkToolButton *, gpointer) {
  if (!need_picture()) return;
  if (controls_get_user_confirmation("<b>WARNING!!!</b>\n\nAre you sure you want to proceed?") != 1) return;
  UserAction action;
  rastermodel_delete_all_bars();
  screenview_redraw_sides();
}

void on_treeview_rasters_left_cursor_changed(GtkTreeView *, gpointer) { screenview_redraw(drawingarea_left_border); }

void on_treeview_rasters_right_cursor_changed(GtkTreeView *, gpointer) { screenview_redraw(drawingarea_right_border); }

// ---------------------------------------------------------------------------------------
// Picture and project commands

int open_picture(const char *path, int border_flag) {
  if (pixbuf_picture) {
    g_object_unref(pixbuf_picture);
    pixbuf_picture = nullptr;
  }
  picture_data.format = 0;
  picture_data.border = -1;
  GError *error = nullptr;
  if (hiresdecoder_decode_hires_screen_file(path, 0, &pixbuf_picture, &picture_data, &error) == 1) {
    OwnedString base(g_path_get_basename(path));
    controls_update_main_window_title(base.get());
    replace_string(utf8_path_and_filename_picture, path);
    if (border_flag == 1 && picture_data.border != -1) border_color_index = picture_data.border % 16;
    return 1;
  }
  controls_report_error(OwnedError(error).get(), "Unknown picture format");
  return 0;
}

// Opening and saving pictures and projects through the menus: the choosers return a path,
// open_picture decodes it, and projectfile reads and writes the project's key file.

namespace {

// Applies a project as read: title, picture, border colour, the active mode's bars.
void apply_project(const ProjectRecord &project, const char *project_path) {
  OwnedString title(g_path_get_basename(project_path));
  controls_update_main_window_title(title.get());

  if (project.has_picture)
    picture_loaded = open_picture(projectfile_picture_path(project.picture, project_path).c_str(), 1);
  if (project.has_base) border_color_index = project.base;

  inputmode_apply_project(project);

  for (GtkWidget *area :
       {drawingarea_upper_border, drawingarea_left_border, drawingarea_right_border, drawingarea_lower_border})
    screenview_redraw(area);
  if (picture_loaded == 1) screenview_redraw(drawingarea_picture);
  screenview_redraw(drawingarea_border_color);
  report_info("Project opened");
  options_save_to_file();
}

// A file's base name with everything from its last "." replaced by ".ini".
OwnedString project_name_for(const char *path) {
  OwnedString base(g_path_get_basename(path));
  if (char *dot = strrchr(base.get(), '.')) *dot = '\0';
  return OwnedString(g_strdup_printf("%s.ini", base.get()));
}

// Runs the project save chooser with `suggestion`, then saves under the chosen name, which
// gets ".ini" unless it already ends in ".ini" or ".INI", and makes it the project path.
void save_project_under_chosen_name(const char *suggestion) {
  char *chosen = nullptr;
  if (fileopen_save_project_file(suggestion, &chosen) != 1) return;
  OwnedString chosen_path(chosen);
  OwnedString final_name(g_str_has_suffix(chosen, ".ini") || g_str_has_suffix(chosen, ".INI")
                             ? g_strdup(chosen)
                             : g_strdup_printf("%s.ini", chosen));
  save_project_to_file(final_name.get());
  replace_string(utf8_path_and_filename_project, final_name.get());
  project_path_unread = 0;  // the user chose this file to write to
}

}  // namespace

int save_project_to_file(const char *path) {
  const std::array<std::vector<LineRun>, 2> bars{inputmode_bars(side_right), inputmode_bars(side_left)};
  GError *error = nullptr;
  if (!projectfile_write(path, utf8_path_and_filename_picture, border_color_index, bars, &error)) {
    if (error) controls_report_write_error(error, path, "The project could not be written");
    return 0;
  }
  report_info("Project saved");
  options_save_to_file();
  OwnedString title(g_path_get_basename(path));
  controls_update_main_window_title(title.get());
  return 1;
}

// Suggests the project's own name, or else the picture's name with ".ini" in place of its
// extension.
void choose_name_and_save_project_to_file(void) {
  OwnedString suggestion;
  if (utf8_path_and_filename_project)
    suggestion.reset(g_path_get_basename(utf8_path_and_filename_project));
  else if (utf8_path_and_filename_picture)
    suggestion = project_name_for(utf8_path_and_filename_picture);
  save_project_under_chosen_name(suggestion.get());
}

void on_menuitem_open_project_activate(GtkMenuItem *, gpointer) {
  char *chosen = nullptr;
  if (fileopen_open_project_file(&chosen) != 1) return;
  OwnedString path(chosen);
  UserAction action;
  ProjectRecord project;
  GError *error = nullptr;
  const bool read = projectfile_read(path.get(), &project, &error) == 1;
  if (read)
    apply_project(project, path.get());
  else
    controls_report_error(OwnedError(error).get(), "The project could not be read");
  replace_string(utf8_path_and_filename_project, path.get());
  project_path_unread = read && project.is_project ? 0 : 1;
}

void on_menuitem_save_project_activate(GtkMenuItem *, gpointer) {
  if (!need_picture()) return;
  if (!utf8_path_and_filename_project)
    choose_name_and_save_project_to_file();
  else if (project_path_unread)  // never overwrite a file that was not read as a project
    save_project_under_chosen_name(project_name_for(utf8_path_and_filename_project).get());
  else
    save_project_to_file(utf8_path_and_filename_project);
}

void on_menuitem_save_project_as_activate(GtkMenuItem *, gpointer) {
  if (!need_picture()) return;
  choose_name_and_save_project_to_file();
}

// Decodes `path` as the current picture; on success redraws and reports `done`.
static void load_picture_and_report(const char *path, const char *done) {
  UserAction action;
  picture_loaded = open_picture(path, 1);
  if (picture_loaded != 1) return;
  redraw_all_areas();
  report_info(done);
  options_save_to_file();
}

void on_menuitem_open_picture_activate(GtkMenuItem *, gpointer) {
  char *chosen = nullptr;
  if (fileopen_open_picture_file(&chosen) != 1) return;
  OwnedString path(chosen);
  load_picture_and_report(path.get(), "Picture opened");
}

void on_menuitem_reload_picture_activate(GtkMenuItem *, gpointer) {
  if (picture_loaded != 1 || !utf8_path_and_filename_picture) return;
  OwnedString path(g_strdup(utf8_path_and_filename_picture));
  load_picture_and_report(path.get(), "Picture reloaded");
}

// ---------------------------------------------------------------------------------------
// Exports: a PNG screenshot of the screen (pngexport), and a self-running C64 program
// (prgexport) that the cruncher then compresses in place.

namespace {

int export_to_executable(const PrgKind &kind, const char *filename) {
  unsigned char left[picture_lines], right[picture_lines];
  export_get_bar_tables(left, right);
  const std::vector<unsigned char> prg =
      prgexport_build(kind, picture_data, left, right, border_color_index, options_reencode_graphics);
  GError *error = nullptr;
  if (!g_file_set_contents(filename, reinterpret_cast<const char *>(prg.data()), static_cast<gssize>(prg.size()),
                           &error)) {
    controls_report_write_error(error, filename, "The program could not be written");
    return 0;
  }
  return 1;
}

}  // namespace

int export_hires_to_executable(const char *filename) { return export_to_executable(prg_hires, filename); }

int export_mc_to_executable(const char *filename) { return export_to_executable(prg_mc, filename); }

int export_petscii_to_executable(const char *filename) { return export_to_executable(prg_petscii, filename); }

void export_get_bar_tables(unsigned char *left, unsigned char *right) {
  inputmode_get_bar_tables(left, right, border_color_index);
}

int export_run_cruncher(const char *filename) {
  GError *error = nullptr;
  int status = 0;
  {
    ControlsBusyCursor busy;
    status = prgexport_run_cruncher(app_folder, filename, &error);
  }
  OwnedError spawn_error(error);
  if (status < 0) {
    controls_report_error(spawn_error.get(), "The cruncher could not be run");
    return 0;
  }
  if (status != 0) return 0;
  report_info("Successfully exported to executable PRG");
  return 1;
}

void on_menuitem_export_activate(GtkMenuItem *, gpointer) {
  if (!need_picture()) return;
  OwnedString filename(fileopen_choose_export_name(fileopen_save_executable_file, ".prg"));
  if (!filename) return;
  const PrgKind *kind = prgexport_kind(picture_data.format);
  if (kind && export_to_executable(*kind, filename.get()) == 1) export_run_cruncher(filename.get());
}

void on_menuitem_export_bar_tables_activate(GtkMenuItem *, gpointer) {
  if (!need_picture()) return;
  const BarTableFormat *format = nullptr;
  OwnedString filename(fileopen_choose_tables_name(&format));
  if (filename) export_bar_tables_to_file(filename.get(), *format);
}

void on_menuitem_export_disk_image_activate(GtkMenuItem *, gpointer) {
  if (!need_picture()) return;
  OwnedString filename(fileopen_choose_export_name(fileopen_save_disk_image_file, ".d64"));
  if (filename) export_disk_image_to_file(filename.get());
}

int export_png_to_file(const char *filename) {
  Surface image(pngexport_compose(pixbuf_picture, inputmode_editor_borders(border_color_index), options_palette));
  const bool written = pngexport_write(image.get(), filename, nullptr) == 1;
  report_info(written ? "Project exported to PNG" : "Failed to export project to PNG");
  return written ? 1 : 0;
}

void on_menuitem_export_to_png_activate(GtkMenuItem *, gpointer) {
  if (!need_picture()) return;
  OwnedString filename(fileopen_choose_export_name(fileopen_save_png_file, ".png"));
  if (filename) export_png_to_file(filename.get());
}

// ---------------------------------------------------------------------------------------
// Tools menu: extending the picture's outer columns into bars.
// The bars of both sides are replaced by the picture's leftmost and rightmost pixel
// columns, as bars (Extended mode) or line colours (Compact mode).

void on_menuitem_tools_auto_expand_picture_activate(GtkMenuItem *, gpointer) {
  if (!need_picture()) return;
  UserAction action;
  rastermodel_delete_all_bars();
  inputmode_expand_picture(pixbuf_picture, border_color_index);
  screenview_redraw_sides();
  report_info("Picture extended");
}

// ---------------------------------------------------------------------------------------
// Preferences and Border menus

static bool item_active(GtkMenuItem *item) { return gtk_check_menu_item_get_active(GTK_CHECK_MENU_ITEM(item)); }

static void show_controls(bool shown) {
  if (GtkWidget *controls = lookup_widget(window_main, "hbox_controls")) {
    if (shown)
      gtk_widget_show(controls);
    else
      gtk_widget_hide(controls);
  }
}

// Switches the input mode, converting the bars of the old mode into the new one; the
// chosen mode is also the option for the next start.
static void select_input_mode(int extended) {
  UserAction action;
  if (interface_extended != extended) {
    if (extended == 1)
      rastermodel_fill_models_from_arrays();
    else
      rastermodel_fill_arrays_from_models(border_color_index);
    show_controls(extended == 1);
    interface_extended = extended;
    screenview_redraw_sides();
  }
  if (extended == 0 && drawingarea_left_border) gtk_widget_grab_focus(drawingarea_left_border);
  options_input_mode = extended;
  options_save_to_file();
}

void on_menuitem_interface_extended_activate(GtkMenuItem *item, gpointer) {
  if (item_active(item)) select_input_mode(1);
}

void on_menuitem_interface_compact_activate(GtkMenuItem *item, gpointer) {
  if (item_active(item)) select_input_mode(0);
}

// Switches the palette: the picker's strip is rebuilt and the picture rendered again in the
// new colours (keeping the border colour chosen by hand), and everything is redrawn.
static void select_palette(int palette) {
  options_palette = palette;
  rastermodel_redraw_views();
  screenview_build_palette_strip(drawingarea_border_color, options_expansion);
  if (picture_loaded == 1) {
    OwnedString path(g_strdup(utf8_path_and_filename_picture));
    open_picture(path.get(), 0);
  }
  redraw_all_areas();
  options_save_to_file();
}

void on_menuitem_palette_peptos_activate(GtkMenuItem *, gpointer) { select_palette(0); }

void on_menuitem_palette_high_contrast_activate(GtkMenuItem *, gpointer) { select_palette(1); }

void on_menuitem_palette_pixcen_activate(GtkMenuItem *, gpointer) { select_palette(2); }

void on_menuitem_palette_ccs64_activate(GtkMenuItem *, gpointer) { select_palette(3); }

static void select_zoom(GtkMenuItem *item, int z) {
  if (!item_active(item)) return;
  options_expansion = z;
  set_zoom_level();
  options_save_to_file();
}

void on_menuitem_zoom_1x_activate(GtkMenuItem *item, gpointer) { select_zoom(item, 1); }

void on_menuitem_zoom_2x_activate(GtkMenuItem *item, gpointer) { select_zoom(item, 2); }

void on_menuitem_zoom_3x_activate(GtkMenuItem *item, gpointer) { select_zoom(item, 3); }

void on_menuitem_zoom_4x_activate(GtkMenuItem *item, gpointer) { select_zoom(item, 4); }

void on_menuitem_reencode_graphics_activate(GtkMenuItem *item, gpointer) {
  options_reencode_graphics = item_active(item) ? 1 : 0;
  options_save_to_file();
}

void on_menuitem_select_left_border_activate(GtkMenuItem *, gpointer) {
  if (drawingarea_left_border) gtk_widget_grab_focus(drawingarea_left_border);
}

void on_menuitem_select_right_border_activate(GtkMenuItem *, gpointer) {
  if (drawingarea_right_border) gtk_widget_grab_focus(drawingarea_right_border);
}
