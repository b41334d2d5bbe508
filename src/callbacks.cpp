// callbacks: the signal handlers of the main window and the commands behind them: the
// screen view, the picture and project commands and the two exports.
//
// Owns the picture state (picture_loaded, pixbuf_picture, the paths), the border colour,
// the active input mode, the six drawing areas and the colour picker's strip. Handlers stay
// thin: the bars belong to rastermodel (Extended mode) and rasterarray (Compact mode), the
// options to options, the feedback to controls, decoding and rendering to hiresdecoder,
// the file choosers to fileopen; the player templates of the PRG are in prg_templates.h.
#include "callbacks.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "controls.h"
#include "fileopen.h"
#include "main.h"
#include "options.h"
#include "palette.h"
#include "prg_templates.h"
#include "rasterarray.h"
#include "rastermodel.h"
#include "reencode.h"
#include "support.h"
#include "undo.h"

int picture_loaded = 0;
GdkPixbuf *pixbuf_picture = nullptr;
int border_color_index = 0;
cairo_surface_t *surface_border_color = nullptr;
char *utf8_path_and_filename_picture = nullptr;
char *utf8_path_and_filename_project = nullptr;
int interface_extended = 1;

// Set while the project path names a file that Open project could not read as a project (a
// picture chosen by mistake, a damaged file: no key file, or one without any project group):
// Save then asks for a name rather than overwriting that file.
static int project_path_unread = 0;

GtkWidget *drawingarea_upper_border = nullptr;
GtkWidget *drawingarea_lower_border = nullptr;
GtkWidget *drawingarea_left_border = nullptr;
GtkWidget *drawingarea_right_border = nullptr;
GtkWidget *drawingarea_picture = nullptr;
GtkWidget *drawingarea_border_color = nullptr;

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

void redraw(GtkWidget *area) {
  if (area) gtk_widget_queue_draw(area);
}

void redraw_sides() {
  redraw(drawingarea_left_border);
  redraw(drawingarea_right_border);
}

// Replaces an owned string with a copy of `value`.
void replace_string(char *&owned, const char *value) {
  char *copy = g_strdup(value);
  g_free(owned);
  owned = copy;
}

CairoContext cairo_for(GtkWidget *widget) { return CairoContext(gdk_cairo_create(widget->window)); }

// What each input mode does with the bars. The pairs are indexed by the side flag
// ([1] left, [0] right); the active mode is looked up in one place, active_mode().
struct InputMode {
  std::array<void (*)(cairo_t *, int), 2> render_lines;
  std::array<void (*)(int row, unsigned int state, int double_click), 2> button_press;
  std::array<int (*)(unsigned int keyval, unsigned int state), 2> key_press;
  std::array<void (*)(unsigned char *, int), 2> get_bars;
  void (*save)(GKeyFile *);
  void (*load)(GKeyFile *);
  void (*expand)(GdkPixbuf *, int);
};

constexpr InputMode compact_mode{
    {rasterarray_render_lines_right, rasterarray_render_lines_left},
    {rasterarray_button_press_right, rasterarray_button_press_left},
    {rasterarray_key_press_right, rasterarray_key_press_left},
    {rasterarray_get_bars_right, rasterarray_get_bars_left},
    rasterarray_dump_models_to_key_file,
    rasterarray_fill_models_from_key_file,
    rasterarray_expand_picture,
};

constexpr InputMode extended_mode{
    {rastermodel_render_lines_right, rastermodel_render_lines_left},
    {[](int row, unsigned int, int) { rastermodel_button_press_right(row); },
     [](int row, unsigned int, int) { rastermodel_button_press_left(row); }},
    {rastermodel_key_press_right, rastermodel_key_press_left},
    {rastermodel_get_bars_right, rastermodel_get_bars_left},
    rastermodel_dump_models_to_key_file,
    rastermodel_fill_models_from_key_file,
    rastermodel_expand_picture,
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

void set_zoom_level(void) {
  const int z = options_expansion;
  const std::array<std::tuple<GtkWidget *, int, int>, 6> sizes = {{
      {drawingarea_upper_border, horiz_border_width, horiz_border_height},
      {drawingarea_lower_border, horiz_border_width, horiz_border_height},
      {drawingarea_left_border, vert_border_width, vert_border_height},
      {drawingarea_right_border, vert_border_width, vert_border_height},
      {drawingarea_picture, picture_width, picture_height},
      {drawingarea_border_color, palette_width, palette_height},
  }};
  for (const auto &[area, width, height] : sizes)
    if (area) gtk_widget_set_size_request(area, width * z, height * z);
}

void redraw_all_areas(void) {
  for (GtkWidget *area : {drawingarea_upper_border, drawingarea_left_border, drawingarea_right_border,
                          drawingarea_lower_border, drawingarea_picture, drawingarea_border_color})
    redraw(area);
}

static gboolean remember_area(GtkWidget *&global, GtkWidget *widget) {
  if (!global) global = widget;
  return TRUE;
}

gboolean on_drawingarea_upper_border_configure_event(GtkWidget *widget, GdkEventConfigure *, gpointer) {
  return remember_area(drawingarea_upper_border, widget);
}

gboolean on_drawingarea_lower_border_configure_event(GtkWidget *widget, GdkEventConfigure *, gpointer) {
  return remember_area(drawingarea_lower_border, widget);
}

gboolean on_drawingarea_left_border_configure_event(GtkWidget *widget, GdkEventConfigure *, gpointer) {
  return remember_area(drawingarea_left_border, widget);
}

gboolean on_drawingarea_right_border_configure_event(GtkWidget *widget, GdkEventConfigure *, gpointer) {
  return remember_area(drawingarea_right_border, widget);
}

gboolean on_drawingarea_picture_configure_event(GtkWidget *widget, GdkEventConfigure *, gpointer) {
  return remember_area(drawingarea_picture, widget);
}

static gboolean paint_border(GtkWidget *widget) {
  CairoContext cr = cairo_for(widget);
  palette_set_cairo_source(cr.get(), border_color_index);
  cairo_paint(cr.get());
  return TRUE;
}

gboolean on_drawingarea_upper_border_expose_event(GtkWidget *widget, GdkEventExpose *, gpointer) {
  return paint_border(widget);
}

gboolean on_drawingarea_lower_border_expose_event(GtkWidget *widget, GdkEventExpose *, gpointer) {
  return paint_border(widget);
}

// A side border: the border colour, then the active mode's bars of that side.
static gboolean paint_side_border(GtkWidget *widget, int side) {
  CairoContext cr = cairo_for(widget);
  palette_set_cairo_source(cr.get(), border_color_index);
  cairo_paint(cr.get());
  active_mode().render_lines[side](cr.get(), picture_loaded == 1);
  return TRUE;
}

gboolean on_drawingarea_left_border_expose_event(GtkWidget *widget, GdkEventExpose *, gpointer) {
  return paint_side_border(widget, 1);
}

gboolean on_drawingarea_right_border_expose_event(GtkWidget *widget, GdkEventExpose *, gpointer) {
  return paint_side_border(widget, 0);
}

gboolean on_drawingarea_picture_expose_event(GtkWidget *widget, GdkEventExpose *event, gpointer) {
  CairoContext cr = cairo_for(widget);
  if (!pixbuf_picture) {
    palette_set_cairo_source(cr.get(), 6);
    cairo_paint(cr.get());
    return TRUE;
  }
  const int z = options_expansion;
  OwnedPixbuf zoomed;
  if (z > 1) {
    zoomed.reset(gdk_pixbuf_new(GDK_COLORSPACE_RGB, TRUE, 8, picture_width * z, picture_height * z));
    if (!zoomed) return TRUE;
    gdk_pixbuf_scale(pixbuf_picture, zoomed.get(), 0, 0, picture_width * z, picture_height * z, 0.0, 0.0, z, z,
                     GDK_INTERP_NEAREST);
  }
  gdk_cairo_set_source_pixbuf(cr.get(), zoomed ? zoomed.get() : pixbuf_picture, 0, 0);
  gdk_cairo_rectangle(cr.get(), &event->area);
  cairo_fill(cr.get());
  return TRUE;
}

// The colour picker: a strip of the 16 colours, drawn off screen on every configure event
// (so a palette change, which forces one, rebuilds it) and copied on expose.
gboolean on_drawingarea_border_color_configure_event(GtkWidget *widget, GdkEventConfigure *, gpointer) {
  if (surface_border_color) cairo_surface_destroy(surface_border_color);
  const int z = options_expansion;
  surface_border_color =
      gdk_window_create_similar_surface(widget->window, CAIRO_CONTENT_COLOR, palette_width * z, palette_height * z);
  remember_area(drawingarea_border_color, widget);
  CairoContext cr(cairo_create(surface_border_color));
  palette_set_cairo_source(cr.get(), 0);
  cairo_paint(cr.get());
  for (int i = 0; i < 16; i++) {
    palette_set_cairo_source(cr.get(), i);
    cairo_rectangle(cr.get(), 16 * z * i, 1, 16 * z - 1, 16 * z - 2);
    cairo_fill(cr.get());
  }
  return TRUE;
}

gboolean on_drawingarea_border_color_expose_event(GtkWidget *widget, GdkEventExpose *event, gpointer) {
  if (!surface_border_color) return FALSE;
  CairoContext cr = cairo_for(widget);
  cairo_set_source_surface(cr.get(), surface_border_color, 0, 0);
  gdk_cairo_rectangle(cr.get(), &event->area);
  cairo_fill(cr.get());
  const int z = options_expansion;
  cairo_set_antialias(cr.get(), CAIRO_ANTIALIAS_NONE);
  cairo_set_line_width(cr.get(), 1.0);
  cairo_set_source_rgb(cr.get(), 1.0, 1.0, 1.0);
  cairo_rectangle(cr.get(), 16 * z * border_color_index + 1, 1, 16 * z - 1, 16 * z - 1);
  cairo_stroke(cr.get());
  return TRUE;
}

gboolean on_drawingarea_border_color_button_press_event(GtkWidget *, GdkEventButton *event, gpointer) {
  if (event->type != GDK_BUTTON_PRESS || event->button != 1) return FALSE;
  UserAction action;
  border_color_index = static_cast<int>(event->x / (16 * options_expansion)) % 16;
  for (GtkWidget *area : {drawingarea_border_color, drawingarea_upper_border, drawingarea_left_border,
                          drawingarea_right_border, drawingarea_lower_border})
    redraw(area);
  return TRUE;
}

// ---------------------------------------------------------------------------------------
// Mouse and keys on the side borders, handed to the active input mode

static gboolean side_border_button_press(GtkWidget *widget, GdkEventButton *event, int side) {
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

static gboolean side_border_key_press(GtkWidget *widget, GdkEventKey *event, int side) {
  if (picture_loaded == 0) return TRUE;
  UserAction action;
  const unsigned int state = event->state & (GDK_SHIFT_MASK | GDK_CONTROL_MASK | GDK_MOD1_MASK);
  if (active_mode().key_press[side](event->keyval, state) == 1) gtk_widget_queue_draw(widget);
  return TRUE;
}

gboolean on_drawingarea_left_border_button_press_event(GtkWidget *widget, GdkEventButton *event, gpointer) {
  return side_border_button_press(widget, event, 1);
}

gboolean on_drawingarea_right_border_button_press_event(GtkWidget *widget, GdkEventButton *event, gpointer) {
  return side_border_button_press(widget, event, 0);
}

gboolean on_drawingarea_left_border_key_press_event(GtkWidget *widget, GdkEventKey *event, gpointer) {
  return side_border_key_press(widget, event, 1);
}

gboolean on_drawingarea_right_border_key_press_event(GtkWidget *widget, GdkEventKey *event, gpointer) {
  return side_border_key_press(widget, event, 0);
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
  redraw_sides();
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

// A colour index brought into 0..15, negative values included (-1 gives 15).
int wrap_color_index(int value) { return ((value % 16) + 16) % 16; }

// The URI of a picture path, made absolute first; null when it cannot be expressed.
OwnedString picture_uri(const char *path) {
  if (!path) return nullptr;
  OwnedString absolute(g_path_is_absolute(path) ? g_strdup(path) : nullptr);
  if (!absolute) {
    OwnedString here(g_get_current_dir());
    absolute.reset(g_build_filename(here.get(), path, nullptr));
  }
  return OwnedString(g_filename_to_uri(absolute.get(), nullptr, nullptr));
}

// The picture a project names: the path of its URI when that is a regular file, else the
// file of the same base name beside the project when that is one. When neither exists the
// stored path is returned, or (for a value that is no file URI) the place beside the
// project, so that opening it reports the picture as missing.
OwnedString locate_project_picture(const char *value, const char *project_path) {
  OwnedString stored(g_filename_from_uri(value, nullptr, nullptr));
  if (stored && g_file_test(stored.get(), G_FILE_TEST_IS_REGULAR)) return stored;
  OwnedString base(g_path_get_basename(stored ? stored.get() : value));
  OwnedString folder(g_path_get_dirname(project_path));
  OwnedString beside(g_build_filename(folder.get(), base.get(), nullptr));
  if (stored && !g_file_test(beside.get(), G_FILE_TEST_IS_REGULAR)) return stored;
  return beside;
}

// Whether a key file holds any of a project's groups.
bool has_project_group(GKeyFile *key_file) {
  for (const char *group : {"image", "colors", "left", "right"})
    if (g_key_file_has_group(key_file, group)) return true;
  return false;
}

// Applies a parsed project: title, picture, border colour, the active mode's bars.
void apply_project(GKeyFile *key_file, const char *project_path) {
  OwnedString title(g_path_get_basename(project_path));
  controls_update_main_window_title(title.get());

  if (g_key_file_has_key(key_file, "image", "file", nullptr)) {
    OwnedString value(g_key_file_get_string(key_file, "image", "file", nullptr));
    OwnedString picture = locate_project_picture(value ? value.get() : "", project_path);
    picture_loaded = open_picture(picture.get(), 1);
  }
  if (g_key_file_has_key(key_file, "colors", "base", nullptr))
    border_color_index = wrap_color_index(g_key_file_get_integer(key_file, "colors", "base", nullptr));

  active_mode().load(key_file);

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
  OwnedString uri = picture_uri(utf8_path_and_filename_picture);
  OwnedString file_line(uri ? g_strdup_printf("file=%s\n", uri.get()) : g_strdup(""));
  OwnedString head(g_strdup_printf("# %s project file - do NOT edit\n[image]\n%s[colors]\nbase=%d\n",
                                   QUILLBAR_NAME_VERSION, file_line.get(), border_color_index));
  OwnedKeyFile key_file(g_key_file_new());
  if (!g_key_file_load_from_data(key_file.get(), head.get(), static_cast<gsize>(-1), G_KEY_FILE_KEEP_COMMENTS, nullptr))
    return 0;
  active_mode().save(key_file.get());

  GError *error = nullptr;
  gsize length = 0;
  OwnedString text(g_key_file_to_data(key_file.get(), &length, nullptr));
  if (!support_replace_file(path, text.get(), length, &error)) {
    report_write_error(error, path, "The project could not be written");
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
  OwnedKeyFile key_file(g_key_file_new());
  GError *error = nullptr;
  const bool read = g_key_file_load_from_file(key_file.get(), path.get(), G_KEY_FILE_KEEP_COMMENTS, &error);
  if (read)
    apply_project(key_file.get(), path.get());
  else
    controls_report_error(OwnedError(error).get(), "The project could not be read");
  replace_string(utf8_path_and_filename_project, path.get());
  project_path_unread = read && has_project_group(key_file.get()) ? 0 : 1;
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
// Exports: a PNG screenshot of the screen, and a self-running C64 program.
//
// The PNG is composed off screen at zoom 1 and shows PAL lines 16..287 with 32 pixels of
// side border on each side of the picture. The PRG is the load address, the player
// template of the picture's kind (prg_templates.h), the two per-line colour tables of
// lines 51..250, the border colour and the graphics where the template expects them; the
// cruncher then compresses it in place.

namespace {

std::vector<unsigned char> executable_bytes(const PrgKind &kind) {
  std::vector<unsigned char> prg = prg_player_bytes(kind);
  if (kind.has_charset && picture_data.charset != 0) prg[prg_offset(prg_charset_operand)] = prg_lower_case;
  prg[prg_offset(prg_border)] = static_cast<unsigned char>(border_color_index);
  export_get_bar_tables(&prg[prg_offset(prg_left_table)], &prg[prg_offset(prg_right_table)]);

  const PictureData *graphics = &picture_data;
  PictureData reencoded{};
  if (kind.may_reencode && options_reencode_graphics != 0) {
    reencode_process_picture_mc(&picture_data, &reencoded);
    graphics = &reencoded;
  }
  auto put = [&](unsigned address, const unsigned char *data, std::size_t size) {
    if (address) std::copy(data, data + size, prg.begin() + prg_offset(address));
  };
  put(kind.bitmap, graphics->bitmap, sizeof graphics->bitmap);
  put(kind.screen, graphics->screen, sizeof graphics->screen);
  put(kind.color, graphics->color, sizeof graphics->color);
  if (kind.background) prg[prg_offset(kind.background)] = graphics->background & 15;
  return prg;
}

int export_to_executable(const PrgKind &kind, const char *filename) {
  const std::vector<unsigned char> prg = executable_bytes(kind);
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

// An opaque image filled with the border colour.
Surface border_coloured_image(int width, int height) {
  Surface image(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, width, height));
  CairoContext cr(cairo_create(image.get()));
  palette_set_cairo_source(cr.get(), border_color_index);
  cairo_paint(cr.get());
  return image;
}

void paint_at(cairo_surface_t *target, cairo_surface_t *source, int x, int y) {
  CairoContext cr(cairo_create(target));
  cairo_set_source_surface(cr.get(), source, x, y);
  cairo_paint(cr.get());
}

}  // namespace

int export_hires_to_executable(const char *filename) { return export_to_executable(prg_hires, filename); }

int export_mc_to_executable(const char *filename) { return export_to_executable(prg_mc, filename); }

int export_petscii_to_executable(const char *filename) { return export_to_executable(prg_petscii, filename); }

void export_get_bar_tables(unsigned char *left, unsigned char *right) {
  active_mode().get_bars[1](left, border_color_index);
  active_mode().get_bars[0](right, border_color_index);
}

namespace {

// The PRG kind of the picture in memory and the export function that writes it.
struct ExecutableKind {
  PictureKind picture;
  const PrgKind *prg;
  int (*write)(const char *filename);
};
const ExecutableKind *executable_kind() {
  static const ExecutableKind kinds[] = {{PictureKind::petscii, &prg_petscii, export_petscii_to_executable},
                                         {PictureKind::hires, &prg_hires, export_hires_to_executable},
                                         {PictureKind::multicolor, &prg_mc, export_mc_to_executable}};
  for (const ExecutableKind &kind : kinds)
    if (kind.picture == hiresdecoder_picture_kind(picture_data.format)) return &kind;
  return nullptr;
}

}  // namespace

int export_build_executable(std::vector<unsigned char> *prg) {
  const ExecutableKind *kind = executable_kind();
  if (!kind) return 0;
  *prg = executable_bytes(*kind->prg);
  return 1;
}

int export_run_cruncher(const char *filename) {
  GdkWindow *window = window_main ? window_main->window : nullptr;
  GdkCursor *watch = gdk_cursor_new(GDK_WATCH);
  if (window) {
    gdk_window_set_cursor(window, watch);
    gdk_flush();
  }
  // One argument per word, so that any file name (quotes and spaces included) reaches the
  // cruncher whole: exomizer sfx 2061 <prg> -o <prg> -n.
  OwnedString program(g_build_filename(app_folder ? app_folder : ".", "exomizer", nullptr));
  std::string start = std::to_string(prg_start);
  char *argv[] = {program.get(),
                  const_cast<char *>("sfx"),
                  start.data(),
                  const_cast<char *>(filename),
                  const_cast<char *>("-o"),
                  const_cast<char *>(filename),
                  const_cast<char *>("-n"),
                  nullptr};
  GError *error = nullptr;
  int status = -1;
  const gboolean ran = g_spawn_sync(nullptr, argv, nullptr, G_SPAWN_CHILD_INHERITS_STDIN, nullptr, nullptr, nullptr,
                                    nullptr, &status, &error);
  OwnedError spawn_error(error);
  if (window) gdk_window_set_cursor(window, nullptr);
  gdk_cursor_unref(watch);
  if (!ran) {
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
  const ExecutableKind *kind = executable_kind();
  if (kind && kind->write(filename.get()) == 1) export_run_cruncher(filename.get());
}

cairo_surface_t *export_png_compose(void) {
  // The bar renderers draw at the zoom in force.
  const int saved_zoom = options_expansion;
  options_expansion = 1;

  Surface sides[2];  // indexed by the side flag: 1 left, 0 right
  for (int side : {1, 0}) {
    sides[side] = border_coloured_image(vert_border_width, vert_border_height);
    CairoContext cr(cairo_create(sides[side].get()));
    active_mode().render_lines[side](cr.get(), 0);
  }

  // Row y of the full screen shows PAL line y + 3, as in the side border areas.
  Surface screen = border_coloured_image(screen_width, vert_border_height);
  if (pixbuf_picture) {
    CairoContext cr(cairo_create(screen.get()));
    gdk_cairo_set_source_pixbuf(cr.get(), pixbuf_picture, vert_border_width, horiz_border_height);
    cairo_paint(cr.get());
  }
  paint_at(screen.get(), sides[1].get(), 0, 0);
  paint_at(screen.get(), sides[0].get(), vert_border_width + picture_width, 0);

  // The visible part: 32 pixels of side border and PAL lines 16..287.
  cairo_surface_t *output = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, png_width, png_height);
  paint_at(output, screen.get(), -png_first_column, -(png_first_line - first_shown_line));

  options_expansion = saved_zoom;
  return output;
}

// Collects what the PNG writer produces.
static cairo_status_t append_png_bytes(void *closure, const unsigned char *data, unsigned int length) {
  static_cast<std::string *>(closure)->append(reinterpret_cast<const char *>(data), length);
  return CAIRO_STATUS_SUCCESS;
}

// The PNG is made in memory first, so that a failed write never leaves a cut-off file in
// place of an earlier one.
int export_png_to_file(const char *filename) {
  Surface image(export_png_compose());
  std::string png;
  const bool written = cairo_surface_write_to_png_stream(image.get(), append_png_bytes, &png) == CAIRO_STATUS_SUCCESS &&
                       support_replace_file(filename, png.data(), png.size(), nullptr) == 1;
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
  redraw_sides();
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
    redraw_sides();
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

// Switches the palette: every area is resized away and back so that it is laid out and
// painted again (the picker's strip is rebuilt on its configure event), and the picture
// is rendered again in the new colours, keeping the border colour chosen by hand.
static void select_palette(int palette) {
  options_palette = palette;
  rastermodel_redraw_views();
  const int z = options_expansion;
  options_expansion = z < 2 ? z + 1 : z - 1;
  set_zoom_level();
  options_expansion = z;
  set_zoom_level();
  if (picture_loaded == 1) {
    OwnedString path(g_strdup(utf8_path_and_filename_picture));
    open_picture(path.get(), 0);
  }
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
