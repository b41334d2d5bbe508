// pngexport: composes the PNG screenshot off screen at zoom 1 and writes it. Row y of the
// full screen (416 x 296) shows PAL line y + 3, as in the side border areas; the written
// part is its columns 16..399 and rows 13..284.
//
// May touch: nothing but its arguments and the file it is told to write.
#include "pngexport.h"

#include <string>

#include "palette.h"
#include "support.h"

namespace {

void set_colour(cairo_t *cr, int palette, int index) {
  double rgb[3] = {0.0, 0.0, 0.0};
  palette_get_rgb_double_in(palette, index, rgb);
  cairo_set_source_rgb(cr, rgb[0], rgb[1], rgb[2]);
}

// Collects what the PNG writer produces.
cairo_status_t append_png_bytes(void *closure, const unsigned char *data, unsigned int length) {
  static_cast<std::string *>(closure)->append(reinterpret_cast<const char *>(data), length);
  return CAIRO_STATUS_SUCCESS;
}

}  // namespace

cairo_surface_t *pngexport_compose(GdkPixbuf *picture, const EditorBorders &editor, int palette) {
  Surface screen(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, screen_width, vert_border_height));
  {
    CairoContext cr(cairo_create(screen.get()));
    set_colour(cr.get(), palette, editor.border);
    cairo_paint(cr.get());
    if (picture) {
      gdk_cairo_set_source_pixbuf(cr.get(), picture, vert_border_width, horiz_border_height);
      cairo_paint(cr.get());
    }
    // The bars as the border areas draw them at zoom 1, cut to the shown lines; the black
    // strip at the outer edge of each border lies outside the written part.
    cairo_set_antialias(cr.get(), CAIRO_ANTIALIAS_NONE);
    const int x[2] = {vert_border_width + picture_width, outer_strip_width};  // by the side flag
    for (int side : {side_left, side_right})
      for (const LineRun &bar : editor.bars[side]) {
        const PixelRows rows = line_rows(bar.start, bar.height, 1);
        if (rows.height <= 0) continue;
        set_colour(cr.get(), palette, bar.color & 15);
        cairo_rectangle(cr.get(), x[side], rows.y, bar_width, rows.height);
        cairo_fill(cr.get());
      }
  }
  cairo_surface_t *output = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, png_width, png_height);
  CairoContext cr(cairo_create(output));
  cairo_set_source_surface(cr.get(), screen.get(), -png_first_column, -(png_first_line - first_shown_line));
  cairo_paint(cr.get());
  return output;
}

int pngexport_write(cairo_surface_t *image, const char *path, GError **error) {
  std::string png;
  if (cairo_surface_write_to_png_stream(image, append_png_bytes, &png) != CAIRO_STATUS_SUCCESS) return 0;
  return support_replace_file(path, png.data(), png.size(), error);
}
