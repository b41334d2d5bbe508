// screenview: the screen view's drawing areas. Owns the six drawing area handles (each
// stored by its own first configure event) and the picker's strip surface_border_color.
//
// May touch: the drawing areas (sizes, redraws, painting) and the palette lookups; reads
// the zoom option where it applies it. The handlers in callbacks.cpp call in here.
#include "screenview.h"

#include <array>
#include <tuple>

#include "palette.h"
#include "state.h"
#include "support.h"

GtkWidget *drawingarea_upper_border = nullptr;
GtkWidget *drawingarea_lower_border = nullptr;
GtkWidget *drawingarea_left_border = nullptr;
GtkWidget *drawingarea_right_border = nullptr;
GtkWidget *drawingarea_picture = nullptr;
GtkWidget *drawingarea_border_color = nullptr;
cairo_surface_t *surface_border_color = nullptr;

namespace {

constexpr int empty_screen_colour = 6;  // blue, as the C64 starts up
constexpr int swatch = palette_width / 16;

}  // namespace

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

void screenview_redraw(GtkWidget *area) {
  if (area) gtk_widget_queue_draw(area);
}

void screenview_redraw_sides(void) {
  screenview_redraw(drawingarea_left_border);
  screenview_redraw(drawingarea_right_border);
}

void redraw_all_areas(void) {
  for (GtkWidget *area : {drawingarea_upper_border, drawingarea_left_border, drawingarea_right_border,
                          drawingarea_lower_border, drawingarea_picture, drawingarea_border_color})
    screenview_redraw(area);
}

gboolean screenview_remember_area(GtkWidget *&global, GtkWidget *widget) {
  if (!global) global = widget;
  return TRUE;
}

cairo_t *screenview_cairo_for(GtkWidget *area) { return gdk_cairo_create(area->window); }

void screenview_paint_colour(cairo_t *cr, int index) {
  palette_set_cairo_source(cr, index);
  cairo_paint(cr);
}

void screenview_paint_picture(cairo_t *cr, GdkPixbuf *picture, const GdkRectangle *clip, int z) {
  if (!picture) {
    screenview_paint_colour(cr, empty_screen_colour);
    return;
  }
  OwnedPixbuf zoomed;
  if (z > 1) {
    zoomed.reset(gdk_pixbuf_new(GDK_COLORSPACE_RGB, TRUE, 8, picture_width * z, picture_height * z));
    if (!zoomed) return;
    gdk_pixbuf_scale(picture, zoomed.get(), 0, 0, picture_width * z, picture_height * z, 0.0, 0.0, z, z,
                     GDK_INTERP_NEAREST);
  }
  gdk_cairo_set_source_pixbuf(cr, zoomed ? zoomed.get() : picture, 0, 0);
  gdk_cairo_rectangle(cr, clip);
  cairo_fill(cr);
}

void screenview_build_palette_strip(GtkWidget *picker, int z) {
  if (!picker || !picker->window) return;
  if (surface_border_color) cairo_surface_destroy(surface_border_color);
  surface_border_color =
      gdk_window_create_similar_surface(picker->window, CAIRO_CONTENT_COLOR, palette_width * z, palette_height * z);
  CairoContext cr(cairo_create(surface_border_color));
  screenview_paint_colour(cr.get(), 0);
  for (int i = 0; i < 16; i++) {
    palette_set_cairo_source(cr.get(), i);
    cairo_rectangle(cr.get(), swatch * z * i, 1, swatch * z - 1, swatch * z - 2);
    cairo_fill(cr.get());
  }
}

gboolean screenview_paint_palette_strip(cairo_t *cr, const GdkRectangle *clip, int border, int z) {
  if (!surface_border_color) return FALSE;
  cairo_set_source_surface(cr, surface_border_color, 0, 0);
  gdk_cairo_rectangle(cr, clip);
  cairo_fill(cr);
  cairo_set_antialias(cr, CAIRO_ANTIALIAS_NONE);
  cairo_set_line_width(cr, 1.0);
  cairo_set_source_rgb(cr, 1.0, 1.0, 1.0);
  cairo_rectangle(cr, swatch * z * border + 1, 1, swatch * z - 1, swatch * z - 1);
  cairo_stroke(cr);
  return TRUE;
}

int screenview_colour_at(double x, int z) { return static_cast<int>(x / (swatch * z)) % 16; }
