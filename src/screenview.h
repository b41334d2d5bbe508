// screenview: the simulated screen's drawing areas: their sizes at the zoom, redraw
// requests, and painting the picture, the borders and the border colour picker.
#pragma once

#include <gtk/gtk.h>

// Applies options_expansion to the six drawing areas' size requests.
void set_zoom_level(void);
// Queues a redraw of every drawing area / of a single one (nothing for null) / of the two
// side borders.
void redraw_all_areas(void);
void screenview_redraw(GtkWidget *area);
void screenview_redraw_sides(void);

// Stores `widget` in `global` unless it holds one already (the configure handlers).
gboolean screenview_remember_area(GtkWidget *&global, GtkWidget *widget);

// A cairo context on a drawing area's window; the caller destroys it.
cairo_t *screenview_cairo_for(GtkWidget *area);
// Fills the whole context with the colour `index`.
void screenview_paint_colour(cairo_t *cr, int index);
// The picture area: `picture` (or the light blue of an empty screen when null) scaled by
// `zoom`, within `clip`.
void screenview_paint_picture(cairo_t *cr, GdkPixbuf *picture, const GdkRectangle *clip, int zoom);

// The border colour picker: (re)draws the strip of the 16 colours in surface_border_color
// for `picker` at `zoom` in the palette in force; paints the strip with a frame around
// `border`; and gives the colour at x.
void screenview_build_palette_strip(GtkWidget *picker, int zoom);
gboolean screenview_paint_palette_strip(cairo_t *cr, const GdkRectangle *clip, int border, int zoom);
int screenview_colour_at(double x, int zoom);
