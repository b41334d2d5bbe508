// callbacks: the signal handlers of the main window and the commands behind them: the
// picture and project commands and the two exports.
//
// Owns the picture state (picture_loaded, pixbuf_picture, the paths), the border colour
// and the active input mode. Handlers stay one call deep: the bars belong to rastermodel
// (Extended mode) and rasterarray (Compact mode), the drawing areas to screenview, the
// options to options, the feedback to controls, decoding and rendering to hiresdecoder,
// the file choosers to fileopen, the project file to projectfile, and the bytes and images
// of the exports to prgexport and pngexport.
//
// May touch: every global of state.h, through the modules that own the bars and the view.
#include "callbacks.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string>

#include "controls.h"
#include "fileopen.h"
#include "hiresdecoder.h"
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

// GLib writes a file through a temporary one beside it and names that one ("p.ini.I1SCZ3")
// when it cannot be created: the message is given the file the user chose instead.
std::string message_naming(const char *message, const char *path) {
  std::string text = message;
  OwnedString shown(g_filename_display_name(path));
  const std::string temporary = std::string(shown.get()) + ".";
  constexpr std::size_t kSuffix = 7;  // "." and the six random characters
  const std::size_t at = text.find(temporary);
  if (at != std::string::npos && at + temporary.size() - 1 + kSuffix <= text.size())
    text.erase(at + temporary.size() - 1, kSuffix);
  return text;
}

// Reports a failed write of `path` (taking the error, which may be null) like
// controls_report_error, with the message naming `path`.
void report_write_error(GError *error, const char *path, const char *fallback) {
  OwnedError owned(error);
  const std::string text = owned ? message_naming(owned->message, path) : fallback;
  controls_report_error(nullptr, text.c_str());
}

void redraw(GtkWidget *area) { screenview_redraw(area); }

// Replaces an owned string with a copy of `value`.
void replace_string(char *&owned, const char *value) {
  char *copy = g_strdup(value);
  g_free(owned);
  owned = copy;
}

CairoContext cairo_for(GtkWidget *widget) { return CairoContext(screenview_cairo_for(widget)); }

// What each input mode does with the bars. The pairs are indexed by the side flag
// ([1] left, [0] right); the active mode is looked up in one place, active_mode().
struct InputMode {
  void (*render_lines)(int side, cairo_t *, int with_selection, int zoom);
  std::array<void (*)(int row, unsigned int state, int double_click), 2> button_press;
  std::array<int (*)(unsigned int keyval, unsigned int state), 2> key_press;
  std::array<void (*)(unsigned char *, int), 2> get_bars;
  void (*expand)(GdkPixbuf *, int);
  std::vector<LineRun> (*bars)(int side);       // a side's bars as a project holds them
  void (*apply)(const ProjectRecord &project);  // takes the bars of a project as read
};

constexpr InputMode compact_mode{
    rasterarray_render_lines,
    {rasterarray_button_press_right, rasterarray_button_press_left},
    {rasterarray_key_press_right, rasterarray_key_press_left},
    {rasterarray_get_bars_right, rasterarray_get_bars_left},
    rasterarray_expand_picture,
    [](int side) { return rasterarray_runs(rasterarray_lines_of(side)); },
    [](const ProjectRecord &project) {
      for (BorderSide side : {side_left, side_right})
        std::copy(project.lines[side].begin(), project.lines[side].end(), rasterarray_lines_of(side));
    },
};

constexpr InputMode extended_mode{
    rastermodel_render_lines,
    {[](int row, unsigned int, int) { rastermodel_button_press_right(row); },
     [](int row, unsigned int, int) { rastermodel_button_press_left(row); }},
    {rastermodel_key_press_right, rastermodel_key_press_left},
    {rastermodel_get_bars_right, rastermodel_get_bars_left},
    rastermodel_expand_picture,
    rastermodel_get_rows,
    [](const ProjectRecord &project) {
      for (BorderSide side : {side_left, side_right}) rastermodel_set_rows(side, project.bars[side]);
    },
};

const InputMode &active_mode() { return interface_extended == 1 ? extended_mode : compact_mode; }

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

void on_menuitem_quit_activate(GtkMenuItem *, gpointer) {
  if (controls_get_user_confirmation("Are you sure you want to quit?") != 1) return;
  options_save_to_file();
  cleanup_before_quitting();
  gtk_main_quit();
}

gboolean on_window_main_delete_event(GtkWidget *, GdkEvent *, gpointer) {
  if (controls_get_user_confirmation("Are you sure you want to quit?") != 1) return TRUE;
  options_save_to_file();
  cleanup_before_quitting();
  return FALSE;
}

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
  active_mode().render_lines(side, cr.get(), picture_loaded == 1, options_expansion);
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
    redraw(area);
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
  active_mode().button_press[side](row, event->state, event->type == GDK_2BUTTON_PRESS ? 1 : 0);
  gtk_widget_queue_draw(widget);
  return TRUE;
}

static gboolean side_border_key_press(GtkWidget *widget, GdkEventKey *event, BorderSide side) {
  if (picture_loaded == 0) return TRUE;
  UserAction action;
  const unsigned int state = event->state & (GDK_SHIFT_MASK | GDK_CONTROL_MASK | GDK_MOD1_MASK);
  if (active_mode().key_press[side](event->keyval, state) == 1) gtk_widget_queue_draw(widget);
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
  redraw(area);
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

void on_treeview_rasters_left_cursor_changed(GtkTreeView *, gpointer) { redraw(drawingarea_left_border); }

void on_treeview_rasters_right_cursor_changed(GtkTreeView *, gpointer) { redraw(drawingarea_right_border); }

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
// open_picture decodes it, and a project is the picture's URI, the border colour and the
// active mode's bar groups in one key file.

namespace {

// Applies a project as read: title, picture, border colour, the active mode's bars.
void apply_project(const ProjectRecord &project, const char *project_path) {
  OwnedString title(g_path_get_basename(project_path));
  controls_update_main_window_title(title.get());

  if (project.has_picture)
    picture_loaded = open_picture(projectfile_picture_path(project.picture, project_path).c_str(), 1);
  if (project.has_base) border_color_index = project.base;

  active_mode().apply(project);

  for (GtkWidget *area :
       {drawingarea_upper_border, drawingarea_left_border, drawingarea_right_border, drawingarea_lower_border})
    redraw(area);
  if (picture_loaded == 1) redraw(drawingarea_picture);
  redraw(drawingarea_border_color);
  report_info("Project opened");
  options_save_to_file();
}

}  // namespace

int save_project_to_file(const char *path) {
  const std::array<std::vector<LineRun>, 2> bars{active_mode().bars(side_right), active_mode().bars(side_left)};
  GError *error = nullptr;
  if (!projectfile_write(path, utf8_path_and_filename_picture, border_color_index, bars, &error)) {
    if (error) report_write_error(error, path, "The project could not be written");
    return 0;
  }
  report_info("Project saved");
  options_save_to_file();
  OwnedString title(g_path_get_basename(path));
  controls_update_main_window_title(title.get());
  return 1;
}

namespace {

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
    report_write_error(error, filename, "The program could not be written");
    return 0;
  }
  return 1;
}

// The name offered in an export chooser: the project's file name, or else the picture's,
// with its extension (from the last ".") replaced by `extension`.
OwnedString suggested_export_name(const char *extension) {
  const char *path = utf8_path_and_filename_project ? utf8_path_and_filename_project : utf8_path_and_filename_picture;
  if (!path) return nullptr;
  OwnedString base(g_path_get_basename(path));
  if (char *dot = strrchr(base.get(), '.')) *dot = '\0';
  return OwnedString(g_strconcat(base.get(), extension, nullptr));
}

// The chosen name, with `extension` appended unless it already ends in it, in lower or
// upper case.
OwnedString export_name_with_extension(const char *chosen, const char *extension) {
  OwnedString upper(g_ascii_strup(extension, -1));
  const bool has = g_str_has_suffix(chosen, extension) || g_str_has_suffix(chosen, upper.get());
  return OwnedString(has ? g_strdup(chosen) : g_strconcat(chosen, extension, nullptr));
}

// Runs the export chooser with the suggested name; the file name to write, or null when
// the user cancelled.
OwnedString choose_export_name(int (*chooser)(const char *, char **), const char *extension) {
  OwnedString suggestion = suggested_export_name(extension);
  char *chosen = nullptr;
  const bool picked = chooser(suggestion.get(), &chosen) == 1;
  OwnedString chosen_name(chosen);
  if (!picked || !chosen_name) return nullptr;
  return export_name_with_extension(chosen_name.get(), extension);
}

}  // namespace

int export_hires_to_executable(const char *filename) { return export_to_executable(prg_hires, filename); }

int export_mc_to_executable(const char *filename) { return export_to_executable(prg_mc, filename); }

int export_petscii_to_executable(const char *filename) { return export_to_executable(prg_petscii, filename); }

void export_get_bar_tables(unsigned char *left, unsigned char *right) {
  active_mode().get_bars[side_left](left, border_color_index);
  active_mode().get_bars[side_right](right, border_color_index);
}

int export_build_executable(std::vector<unsigned char> *prg) {
  const PrgKind *kind = prgexport_kind(picture_data.format);
  if (!kind) return 0;
  unsigned char left[picture_lines], right[picture_lines];
  export_get_bar_tables(left, right);
  *prg = prgexport_build(*kind, picture_data, left, right, border_color_index, options_reencode_graphics);
  return 1;
}

int export_run_cruncher(const char *filename) {
  GdkWindow *window = window_main ? window_main->window : nullptr;
  GdkCursor *watch = gdk_cursor_new(GDK_WATCH);
  if (window) {
    gdk_window_set_cursor(window, watch);
    gdk_flush();
  }
  GError *error = nullptr;
  const int status = prgexport_run_cruncher(app_folder, filename, &error);
  OwnedError spawn_error(error);
  if (window) gdk_window_set_cursor(window, nullptr);
  gdk_cursor_unref(watch);
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
  OwnedString filename = choose_export_name(fileopen_save_executable_file, ".prg");
  if (!filename) return;
  const PrgKind *kind = prgexport_kind(picture_data.format);
  if (kind && export_to_executable(*kind, filename.get()) == 1) export_run_cruncher(filename.get());
}

int export_png_to_file(const char *filename) {
  unsigned char left[picture_lines], right[picture_lines];
  export_get_bar_tables(left, right);
  Surface image(pngexport_compose(pixbuf_picture, border_color_index, left, right, options_palette));
  const bool written = pngexport_write(image.get(), filename, nullptr) == 1;
  report_info(written ? "Project exported to PNG" : "Failed to export project to PNG");
  return written ? 1 : 0;
}

void on_menuitem_export_to_png_activate(GtkMenuItem *, gpointer) {
  if (!need_picture()) return;
  OwnedString filename = choose_export_name(fileopen_save_png_file, ".png");
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
  active_mode().expand(pixbuf_picture, border_color_index);
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
