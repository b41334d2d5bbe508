// preview: the "Preview on C64" window and the emulated machine behind it.
//
// Owns the window (window_preview), the machine and the bytes it runs, the image of the
// visible screen and the real-time timer; all live from opening the window to closing it.
// Reads the picture, the bars and the zoom and palette options; changes nothing of the editor.
// With "Crunched" checked it runs the export crunched in memory, as the cruncher writes it.
#include "preview.h"

#include <memory>
#include <string>
#include <vector>

#include "c64.h"
#include "callbacks.h"
#include "cruncher.h"
#include "exportcommands.h"
#include "geometry.h"
#include "inputmode.h"
#include "palette.h"
#include "prg_templates.h"
#include "state.h"
#include "support.h"

GtkWidget *window_preview = nullptr;

namespace {

struct MachineChoice {
  const char *label;
  Vic2Model model;
};
constexpr MachineChoice kMachines[] = {{"PAL", VIC2_PAL_6569}, {"NTSC", VIC2_NTSC_6567R8}, {"PAL-N", VIC2_PALN_6572}};

constexpr int kMaxCatchUpFrames = 3;  // after a stall, frames run at once before pacing starts over
constexpr int kSpacing = 4;

struct Preview {
  std::unique_ptr<C64> machine;
  Vic2Model model = VIC2_PAL_6569;
  bool crunched = false;  // run the crunched program, decrunch and all
  EditorBorders editor;   // the editor's bars when the program started
  Surface image;          // the visible area at zoom 1
  guint timer = 0;
  bool iconified = false;
  gint64 paced_from = 0;  // real time and frame count from which the timer keeps pace
  uint64_t paced_frames = 0;
};
Preview preview;

const Vic2ModelInfo &model_info() { return vic2_models[preview.model]; }

double frame_seconds() { return double(model_info().cycles_per_line) * model_info().lines / model_info().clock_hz; }

void restart_pacing() {
  preview.paced_from = g_get_monotonic_time();
  preview.paced_frames = preview_frames();
}

// The visible lines and columns of the last complete frame, in the palette in force.
void update_image() {
  const Vic2ModelInfo &m = model_info();
  const int width = m.last_x - m.first_x + 1, frame_width = m.cycles_per_line * 8;
  if (!preview.image || cairo_image_surface_get_width(preview.image.get()) != width ||
      cairo_image_surface_get_height(preview.image.get()) != m.visible_lines)
    preview.image.reset(cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, m.visible_lines));
  uint32_t colours[16];
  for (int i = 0; i < 16; i++) {
    unsigned char rgb[3];
    palette_get_rgb_at_index(i, rgb);
    colours[i] = uint32_t(rgb[0]) << 16 | rgb[1] << 8 | rgb[2];
  }
  cairo_surface_t *surface = preview.image.get();
  cairo_surface_flush(surface);
  unsigned char *data = cairo_image_surface_get_data(surface);
  const int stride = cairo_image_surface_get_stride(surface);
  const uint8_t *frame = vic2_frame(&preview.machine->vic);
  for (int y = 0; y < m.visible_lines; y++) {
    const uint8_t *row = frame + ((m.first_line + y) % m.lines) * frame_width + m.first_x;
    uint32_t *out = reinterpret_cast<uint32_t *>(data + y * stride);
    for (int x = 0; x < width; x++) out[x] = colours[row[x] & 15];
  }
  cairo_surface_mark_dirty(surface);
}

// The bars as the active mode draws them: Extended mode's rows in list order, or the runs of
// Compact mode's lines 51..250.
void update_status() {
  const Verdict verdict = verdict_compare(&model_info(), vic2_frame(&preview.machine->vic), preview.editor);
  OwnedString text(g_strdup_printf(_("%s, frame %llu: %s"), model_info().name,
                                   static_cast<unsigned long long>(preview_frames()), verdict_text(verdict).c_str()));
  gtk_label_set_text(GTK_LABEL(lookup_widget(window_preview, "label_preview_status")), text.get());
}

// The screen at the editor's zoom; a long status wraps within its width.
void set_area_size() {
  const Vic2ModelInfo &m = model_info();
  const int z = options_expansion, width = (m.last_x - m.first_x + 1) * z;
  gtk_widget_set_size_request(lookup_widget(window_preview, "drawingarea_preview"), width, m.visible_lines * z);
  gtk_widget_set_size_request(lookup_widget(window_preview, "label_preview_status"), width - 2 * kSpacing, -1);
}

void show_frame() {
  update_image();
  update_status();
  set_area_size();
  gtk_widget_queue_draw(lookup_widget(window_preview, "drawingarea_preview"));
}

void stop_timer() {
  if (preview.timer) g_source_remove(preview.timer);
  preview.timer = 0;
}

// Shows `message` in place of a running program, which is dropped.
void show_failure(const std::string &message) {
  stop_timer();
  preview.machine.reset();
  preview.image.reset();
  gtk_label_set_text(GTK_LABEL(lookup_widget(window_preview, "label_preview_status")), message.c_str());
  gtk_widget_queue_draw(lookup_widget(window_preview, "drawingarea_preview"));
}

// Loads what Export would write now (crunched if asked) into a freshly powered-on machine and
// runs it past its fade.
bool start_program() {
  std::vector<unsigned char> prg;
  if (!export_build_executable(&prg)) return false;
  if (preview.crunched) {
    std::vector<unsigned char> crunched;
    std::string error;
    if (!cruncher_crunch(prg, prg_start, &crunched, &error)) {
      show_failure(_("The cruncher failed: ") + error);
      return false;
    }
    prg = std::move(crunched);
  }
  preview.editor = inputmode_editor_borders(border_color_index);
  if (!preview.machine) preview.machine = std::make_unique<C64>();
  if (!c64_start(preview.machine.get(), prg, preview.model)) return false;
  c64_run_frames(preview.machine.get(),
                 preview.crunched ? preview_crunched_fast_forward_frames : preview_fast_forward_frames);
  restart_pacing();
  show_frame();
  return true;
}

gboolean on_timer(gpointer) {
  const double elapsed = (g_get_monotonic_time() - preview.paced_from) / 1e6;
  const uint64_t due = preview.paced_frames + static_cast<uint64_t>(elapsed / frame_seconds());
  uint64_t frames = preview_frames();
  if (due <= frames) return TRUE;
  if (due - frames > kMaxCatchUpFrames) restart_pacing();
  for (int i = 0; i < kMaxCatchUpFrames && frames < due; i++, frames++) c64_run_frame(preview.machine.get());
  show_frame();
  return TRUE;
}

// The timer runs while the window can be seen.
void update_timer() {
  const bool visible = window_preview && GTK_WIDGET_MAPPED(window_preview) && !preview.iconified && preview.machine;
  if (visible && !preview.timer) {
    restart_pacing();
    preview.timer = g_timeout_add(static_cast<guint>(frame_seconds() * 1000 / 2), on_timer, nullptr);
  } else if (!visible) {
    stop_timer();
  }
}

gboolean on_window_preview_map_event(GtkWidget *, GdkEvent *, gpointer) {
  update_timer();
  return FALSE;
}

gboolean on_window_preview_unmap_event(GtkWidget *, GdkEvent *, gpointer) {
  // Still mapped while this signal runs: stop the timer outright.
  stop_timer();
  return FALSE;
}

gboolean on_window_preview_window_state_event(GtkWidget *, GdkEventWindowState *event, gpointer) {
  preview.iconified = event->new_window_state & GDK_WINDOW_STATE_ICONIFIED;
  update_timer();
  return FALSE;
}

// Closing stops the emulation and frees the machine.
void on_window_preview_destroy(GtkObject *, gpointer) {
  stop_timer();
  preview.machine.reset();
  preview.image.reset();
  preview.iconified = false;
  window_preview = nullptr;
}

void on_combobox_preview_machine_changed(GtkComboBox *combo, gpointer) {
  const int active = gtk_combo_box_get_active(combo);
  if (active < 0) return;
  preview.model = kMachines[active].model;
  stop_timer();
  start_program();
  update_timer();
}

void on_button_preview_restart_clicked(GtkButton *, gpointer) {
  start_program();
  update_timer();
}

void on_checkbutton_preview_crunched_toggled(GtkToggleButton *button, gpointer) {
  preview.crunched = gtk_toggle_button_get_active(button);
  stop_timer();
  start_program();
  update_timer();
}

gboolean on_drawingarea_preview_expose_event(GtkWidget *widget, GdkEventExpose *event, gpointer) {
  if (!preview.image) return FALSE;
  CairoContext cr(gdk_cairo_create(widget->window));
  gdk_cairo_rectangle(cr.get(), &event->area);
  cairo_clip(cr.get());
  cairo_scale(cr.get(), options_expansion, options_expansion);
  cairo_set_source_surface(cr.get(), preview.image.get(), 0, 0);
  cairo_pattern_set_filter(cairo_get_source(cr.get()), CAIRO_FILTER_NEAREST);
  cairo_paint(cr.get());
  return TRUE;
}

}  // namespace

GtkWidget *create_window_preview(void) {
  GtkWidget *window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
  gtk_window_set_title(GTK_WINDOW(window), _("Preview on C64"));
  gtk_window_set_resizable(GTK_WINDOW(window), FALSE);
  GLADE_HOOKUP_OBJECT_NO_REF(window, window, "window_preview");

  GtkWidget *vbox = support_named_widget(window, gtk_vbox_new(FALSE, kSpacing), "vbox_preview");
  gtk_container_add(GTK_CONTAINER(window), vbox);
  GtkWidget *controls = support_named_widget(window, gtk_hbox_new(FALSE, kSpacing), "hbox_preview_controls");
  gtk_container_set_border_width(GTK_CONTAINER(controls), kSpacing);
  gtk_box_pack_start(GTK_BOX(vbox), controls, FALSE, FALSE, 0);
  gtk_box_pack_start(GTK_BOX(controls),
                     support_named_widget(window, gtk_label_new_with_mnemonic(_("_Machine:")), "label_preview_machine"),
                     FALSE, FALSE, 0);
  GtkWidget *combo = support_named_widget(window, gtk_combo_box_new_text(), "combobox_preview_machine");
  for (const MachineChoice &choice : kMachines) gtk_combo_box_append_text(GTK_COMBO_BOX(combo), choice.label);
  gtk_label_set_mnemonic_widget(GTK_LABEL(lookup_widget(window, "label_preview_machine")), combo);
  gtk_box_pack_start(GTK_BOX(controls), combo, FALSE, FALSE, 0);
  GtkWidget *restart =
      support_named_widget(window, gtk_button_new_with_mnemonic(_("_Restart")), "button_preview_restart");
  gtk_button_set_image(GTK_BUTTON(restart),
                       support_named_widget(window, gtk_image_new_from_stock("gtk-refresh", GTK_ICON_SIZE_BUTTON),
                                            "image_preview_restart"));
  gtk_box_pack_start(GTK_BOX(controls), restart, FALSE, FALSE, 0);
  GtkWidget *crunched =
      support_named_widget(window, gtk_check_button_new_with_mnemonic(_("_Crunched")), "checkbutton_preview_crunched");
  gtk_widget_set_tooltip_text(crunched, _("Run the program as the cruncher writes it, unpacking included"));
  gtk_box_pack_start(GTK_BOX(controls), crunched, FALSE, FALSE, 0);

  gtk_box_pack_start(GTK_BOX(vbox), support_named_widget(window, gtk_drawing_area_new(), "drawingarea_preview"), FALSE,
                     FALSE, 0);
  GtkWidget *status = support_named_widget(window, gtk_label_new(""), "label_preview_status");
  gtk_label_set_line_wrap(GTK_LABEL(status), TRUE);
  gtk_misc_set_alignment(GTK_MISC(status), 0.0, 0.5);
  gtk_misc_set_padding(GTK_MISC(status), kSpacing, kSpacing);
  gtk_box_pack_start(GTK_BOX(vbox), status, FALSE, FALSE, 0);

  g_signal_connect(window, "destroy", G_CALLBACK(on_window_preview_destroy), nullptr);
  g_signal_connect(window, "map_event", G_CALLBACK(on_window_preview_map_event), nullptr);
  g_signal_connect(window, "unmap_event", G_CALLBACK(on_window_preview_unmap_event), nullptr);
  g_signal_connect(window, "window_state_event", G_CALLBACK(on_window_preview_window_state_event), nullptr);
  g_signal_connect(combo, "changed", G_CALLBACK(on_combobox_preview_machine_changed), nullptr);
  g_signal_connect(restart, "clicked", G_CALLBACK(on_button_preview_restart_clicked), nullptr);
  g_signal_connect(crunched, "toggled", G_CALLBACK(on_checkbutton_preview_crunched_toggled), nullptr);
  g_signal_connect(lookup_widget(window, "drawingarea_preview"), "expose_event",
                   G_CALLBACK(on_drawingarea_preview_expose_event), nullptr);
  return window;
}

void on_menuitem_tools_preview_activate(GtkMenuItem *, gpointer) {
  if (!need_picture()) return;
  if (!window_preview) {
    window_preview = create_window_preview();
    if (window_main) gtk_window_set_transient_for(GTK_WINDOW(window_preview), GTK_WINDOW(window_main));
    preview.model = kMachines[0].model;
    preview.crunched = false;
    // Selecting the first machine starts the program.
    gtk_combo_box_set_active(GTK_COMBO_BOX(lookup_widget(window_preview, "combobox_preview_machine")), 0);
  } else {
    start_program();
  }
  gtk_window_present(GTK_WINDOW(window_preview));
  update_timer();
}

uint64_t preview_frames(void) { return preview.machine ? preview.machine->vic.beam.frames : 0; }

bool preview_running(void) { return preview.timer != 0; }
