// rampdialog: the ramp dialog (built like the other dialogs: every widget registered on it
// under its name) and the Tools > Ramp... command that runs it and paints the ramp.
//
// May touch: the line arrays and selection of Compact mode, the bar lists (through
// rastermodel), the status bar, redraws of the side borders. The painting is one undo step.
#include "rampdialog.h"

#include <string>

#include "callbacks.h"
#include "controls.h"
#include "geometry.h"
#include "palette.h"
#include "rastermodel.h"
#include "state.h"
#include "support.h"
#include "undo.h"

namespace {

constexpr int swatch_size = palette_width / 16;  // one colour of a strip, as in the colour picker
constexpr int custom_choice = static_cast<int>(ramp_presets.size());

struct ShapeRow {
  const char *name, *label;
  RampShape shape;
};

constexpr std::array<ShapeRow, 3> shape_rows{{
    {"radiobutton_ramp_rising", "_Rising", RampShape::Rising},
    {"radiobutton_ramp_falling", "_Falling", RampShape::Falling},
    {"radiobutton_ramp_rising_falling", "Rising _then falling", RampShape::RisingFalling},
}};

// The choice of the last painting, offered again next time.
int last_choice = 1;  // blue
int last_shape = 2;   // rising then falling
std::string last_custom;

GtkWidget *registered(GtkWidget *dialog, const std::string &name) {
  return GTK_WIDGET(g_object_get_data(G_OBJECT(dialog), name.c_str()));
}

std::string choice_name(int choice) {
  return std::string("radiobutton_ramp_") + (choice == custom_choice ? "custom" : ramp_presets[choice].key);
}

// A strip of swatches; the colours are stored on the area as "colours" (a std::vector).
gboolean expose_strip(GtkWidget *area, GdkEventExpose *, gpointer) {
  const auto *colours = static_cast<const std::vector<int> *>(g_object_get_data(G_OBJECT(area), "colours"));
  if (!colours) return FALSE;
  cairo_t *cr = gdk_cairo_create(area->window);
  for (std::size_t i = 0; i < colours->size(); ++i) {
    palette_set_cairo_source(cr, (*colours)[i]);
    cairo_rectangle(cr, static_cast<double>(i) * swatch_size, 0, swatch_size, swatch_size);
    cairo_fill(cr);
  }
  // A dark outline, so that light colours stand out from the dialog.
  cairo_set_source_rgb(cr, 0.3, 0.3, 0.3);
  cairo_set_line_width(cr, 1.0);
  cairo_rectangle(cr, 0.5, 0.5, static_cast<double>(colours->size()) * swatch_size - 1, swatch_size - 1);
  cairo_stroke(cr);
  cairo_destroy(cr);
  return TRUE;
}

GtkWidget *new_strip(const std::vector<int> &colours) {
  GtkWidget *area = gtk_drawing_area_new();
  gtk_widget_set_size_request(area, static_cast<int>(colours.size()) * swatch_size, swatch_size);
  g_object_set_data_full(G_OBJECT(area), "colours", new std::vector<int>(colours),
                         [](gpointer data) { delete static_cast<std::vector<int> *>(data); });
  g_signal_connect(area, "expose_event", G_CALLBACK(expose_strip), nullptr);
  return area;
}

// A click on the 16-colour strip adds that colour to the custom ramp and picks it.
gboolean on_palette_strip_pressed(GtkWidget *area, GdkEventButton *event, gpointer) {
  if (event->type != GDK_BUTTON_PRESS || event->button != 1) return FALSE;
  GtkWidget *dialog = gtk_widget_get_toplevel(area);
  const int colour = static_cast<int>(event->x) / swatch_size;
  if (colour < 0 || colour > 15) return TRUE;
  GtkEntry *entry = GTK_ENTRY(registered(dialog, "entry_ramp_custom"));
  std::string text = gtk_entry_get_text(entry);
  if (!text.empty() && text.back() != ' ') text += ' ';
  gtk_entry_set_text(entry, (text + std::to_string(colour)).c_str());
  gtk_toggle_button_set_active(GTK_TOGGLE_BUTTON(registered(dialog, choice_name(custom_choice))), TRUE);
  return TRUE;
}

void pick_custom(GtkEditable *entry, gpointer) {
  GtkWidget *dialog = gtk_widget_get_toplevel(GTK_WIDGET(entry));
  gtk_toggle_button_set_active(GTK_TOGGLE_BUTTON(registered(dialog, choice_name(custom_choice))), TRUE);
}

GtkWidget *new_frame(GtkWidget *dialog, GtkWidget *box, const char *name, const char *title, const char *box_name) {
  GtkWidget *frame = support_named_widget(dialog, gtk_frame_new(title), name);
  gtk_box_pack_start(GTK_BOX(box), frame, FALSE, FALSE, 4);
  GtkWidget *inner = support_named_widget(dialog, gtk_vbox_new(FALSE, 2), box_name);
  gtk_container_set_border_width(GTK_CONTAINER(inner), 6);
  gtk_container_add(GTK_CONTAINER(frame), inner);
  return inner;
}

// The shaped colours the dialog's choice stands for; 0 with `error` set when the custom
// text is not a ramp.
int read_choice(GtkWidget *dialog, std::vector<int> *colours, std::string *error) {
  int choice = 0;
  while (choice < custom_choice &&
         !gtk_toggle_button_get_active(GTK_TOGGLE_BUTTON(registered(dialog, choice_name(choice)))))
    ++choice;
  std::vector<int> ramp;
  const char *custom = gtk_entry_get_text(GTK_ENTRY(registered(dialog, "entry_ramp_custom")));
  if (choice == custom_choice) {
    if (!ramp_parse(custom, &ramp, error)) return 0;
  } else {
    ramp = ramp_preset_colours(ramp_presets[choice]);
  }
  int shape = 0;
  while (shape < static_cast<int>(shape_rows.size()) - 1 &&
         !gtk_toggle_button_get_active(GTK_TOGGLE_BUTTON(registered(dialog, shape_rows[shape].name))))
    ++shape;
  *colours = ramp_shape(ramp, shape_rows[shape].shape);
  last_choice = choice, last_shape = shape, last_custom = custom;
  return 1;
}

}  // namespace

GtkWidget *create_dialog_ramp(void) {
  GtkWidget *dialog = gtk_dialog_new();
  gtk_window_set_title(GTK_WINDOW(dialog), "Colour ramp");
  gtk_window_set_position(GTK_WINDOW(dialog), GTK_WIN_POS_CENTER);
  gtk_window_set_modal(GTK_WINDOW(dialog), TRUE);
  gtk_window_set_resizable(GTK_WINDOW(dialog), FALSE);
  gtk_window_set_type_hint(GTK_WINDOW(dialog), GDK_WINDOW_TYPE_HINT_DIALOG);
  if (window_main) gtk_window_set_transient_for(GTK_WINDOW(dialog), GTK_WINDOW(window_main));
  GLADE_HOOKUP_OBJECT_NO_REF(dialog, dialog, "dialog_ramp");

  GtkWidget *vbox = support_named_widget(dialog, GTK_DIALOG(dialog)->vbox, "vbox_ramp");
  gtk_container_set_border_width(GTK_CONTAINER(vbox), 6);
  GtkWidget *target = support_named_widget(dialog, gtk_label_new(""), "label_ramp_target");
  gtk_box_pack_start(GTK_BOX(vbox), target, FALSE, FALSE, 4);

  // The ramps: each preset with its strip, then the custom ramp with the colour strip.
  GtkWidget *ramps = new_frame(dialog, vbox, "frame_ramp_colours", "Ramp", "vbox_ramp_colours");
  GtkSizeGroup *labels = gtk_size_group_new(GTK_SIZE_GROUP_HORIZONTAL);
  GSList *group = nullptr;
  for (int choice = 0; choice <= custom_choice; ++choice) {
    GtkWidget *row = gtk_hbox_new(FALSE, 8);
    gtk_widget_show(row);
    gtk_box_pack_start(GTK_BOX(ramps), row, FALSE, FALSE, 0);
    const bool custom = choice == custom_choice;
    GtkWidget *radio = gtk_radio_button_new_with_label(group, custom ? "Custom" : ramp_presets[choice].label);
    group = gtk_radio_button_get_group(GTK_RADIO_BUTTON(radio));
    gtk_size_group_add_widget(labels, radio);
    gtk_box_pack_start(GTK_BOX(row), support_named_widget(dialog, radio, choice_name(choice).c_str()), FALSE, FALSE, 0);
    if (custom) {
      GtkWidget *entry = support_named_widget(dialog, gtk_entry_new(), "entry_ramp_custom");
      gtk_entry_set_text(GTK_ENTRY(entry), last_custom.c_str());
      g_signal_connect(entry, "changed", G_CALLBACK(pick_custom), nullptr);
      gtk_box_pack_start(GTK_BOX(row), entry, TRUE, TRUE, 0);
    } else {
      const std::string strip = std::string("drawingarea_ramp_") + ramp_presets[choice].key;
      GtkWidget *area =
          support_named_widget(dialog, new_strip(ramp_preset_colours(ramp_presets[choice])), strip.c_str());
      gtk_box_pack_start(GTK_BOX(row), area, FALSE, FALSE, 0);
    }
  }
  g_object_unref(labels);
  GtkWidget *hint = support_named_widget(dialog, gtk_label_new("Click colours to add them to the custom ramp:"),
                                         "label_ramp_palette");
  gtk_misc_set_alignment(GTK_MISC(hint), 0.0, 0.5);
  gtk_box_pack_start(GTK_BOX(ramps), hint, FALSE, FALSE, 2);
  std::vector<int> all_colours(16);
  for (int i = 0; i < 16; ++i) all_colours[i] = i;
  GtkWidget *palette = support_named_widget(dialog, new_strip(all_colours), "drawingarea_ramp_palette");
  gtk_widget_add_events(palette, GDK_BUTTON_PRESS_MASK);
  g_signal_connect(palette, "button_press_event", G_CALLBACK(on_palette_strip_pressed), nullptr);
  GtkWidget *palette_row = gtk_hbox_new(FALSE, 0);
  gtk_widget_show(palette_row);
  gtk_box_pack_start(GTK_BOX(palette_row), palette, FALSE, FALSE, 0);
  gtk_box_pack_start(GTK_BOX(ramps), palette_row, FALSE, FALSE, 0);

  GtkWidget *shapes = new_frame(dialog, vbox, "frame_ramp_shape", "Shape", "vbox_ramp_shape");
  group = nullptr;
  for (const ShapeRow &row : shape_rows) {
    GtkWidget *radio = gtk_radio_button_new_with_mnemonic(group, row.label);
    group = gtk_radio_button_get_group(GTK_RADIO_BUTTON(radio));
    gtk_box_pack_start(GTK_BOX(shapes), support_named_widget(dialog, radio, row.name), FALSE, FALSE, 0);
  }

  GtkWidget *message = support_named_widget(dialog, gtk_label_new(""), "label_ramp_message");
  gtk_label_set_line_wrap(GTK_LABEL(message), TRUE);
  gtk_box_pack_start(GTK_BOX(vbox), message, FALSE, FALSE, 4);

  support_named_widget(dialog, GTK_DIALOG(dialog)->action_area, "dialog_action_area_ramp");
  GtkWidget *cancel = support_named_widget(dialog, gtk_button_new_from_stock("gtk-cancel"), "button_ramp_cancel");
  gtk_dialog_add_action_widget(GTK_DIALOG(dialog), cancel, GTK_RESPONSE_CANCEL);
  GtkWidget *ok = support_named_widget(dialog, gtk_button_new_from_stock("gtk-ok"), "button_ramp_ok");
  gtk_dialog_add_action_widget(GTK_DIALOG(dialog), ok, GTK_RESPONSE_OK);
  GTK_WIDGET_SET_FLAGS(ok, GTK_CAN_DEFAULT);
  gtk_widget_grab_default(ok);

  // The choice of the last painting (set after the entry, whose changes pick Custom).
  gtk_toggle_button_set_active(GTK_TOGGLE_BUTTON(registered(dialog, choice_name(last_choice))), TRUE);
  gtk_toggle_button_set_active(GTK_TOGGLE_BUTTON(registered(dialog, shape_rows[last_shape].name)), TRUE);
  return dialog;
}

int ramp_target_side(void) {
  GtkWidget *focus = window_main ? gtk_window_get_focus(GTK_WINDOW(window_main)) : nullptr;
  return focus && (focus == drawingarea_right_border || focus == treeview_rasters_right) ? 0 : 1;
}

int ramp_target_lines(int side, int *first, int *last) {
  if (interface_extended != 1) {
    const int start = side == 1 ? selection_start_left : selection_start_right;
    const int end = side == 1 ? selection_end_left : selection_end_right;
    const int active = side == 1 ? selection_active_left : selection_active_right;
    *first = active == 1 ? std::min(start, end) : start;
    *last = active == 1 ? std::max(start, end) : start;
    return 1;
  }
  const int selected = rastermodel_get_selected_index(side);
  if (selected < 0) {
    *first = first_picture_line, *last = last_picture_line;
    return 1;
  }
  const LineRun bar = rastermodel_get_rows(side)[selected];
  *first = std::max(bar.start, first_picture_line);
  *last = std::min(bar.start + bar.height - 1, last_picture_line);
  return *first <= *last;
}

int ramp_paint(int side, const std::vector<int> &colours) {
  int first = 0, last = 0;
  if (colours.empty() || !ramp_target_lines(side, &first, &last)) return 0;
  UserAction action;
  const std::vector<LineRun> runs = ramp_runs(colours, first, last - first + 1);
  if (interface_extended != 1) {
    for (const LineRun &run : runs)
      for (int line = run.start; line < run.start + run.height; ++line)
        rasterarray_set_color_at_index(side, line, run.color);
  } else {
    // The selected bar, or with none selected the whole side, gives way to one bar per run.
    std::vector<LineRun> rows = rastermodel_get_rows(side);
    const int selected = rastermodel_get_selected_index(side);
    if (selected >= 0)
      rows.erase(rows.begin() + selected);
    else
      rows.clear();
    rows.insert(rows.end(), runs.begin(), runs.end());
    rastermodel_set_rows(side, rows);
  }
  GtkWidget *area = side == 1 ? drawingarea_left_border : drawingarea_right_border;
  if (area) gtk_widget_queue_draw(area);
  return 1;
}

void on_menuitem_tools_ramp_activate(GtkMenuItem *, gpointer) {
  if (!need_picture()) return;
  const int side = ramp_target_side();
  int first = 0, last = 0;
  if (!ramp_target_lines(side, &first, &last)) {
    controls_report_info("The selected bar has no lines to paint");
    return;
  }
  OwnedDialog dialog(create_dialog_ramp());
  OwnedString target(g_strdup_printf("%s border, lines %d to %d", side == 1 ? "Left" : "Right", first, last));
  gtk_label_set_text(GTK_LABEL(registered(dialog.get(), "label_ramp_target")), target.get());
  while (gtk_dialog_run(GTK_DIALOG(dialog.get())) == GTK_RESPONSE_OK) {
    std::vector<int> colours;
    std::string error;
    if (!read_choice(dialog.get(), &colours, &error)) {
      // The dialog stays open with what was typed, and says what is wrong.
      gtk_label_set_text(GTK_LABEL(registered(dialog.get(), "label_ramp_message")), error.c_str());
      continue;
    }
    if (ramp_paint(side, colours)) controls_report_info("Ramp painted");
    break;
  }
}
