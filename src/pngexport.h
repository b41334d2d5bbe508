// pngexport: the PNG screenshot of the simulated screen, from plain data: no window.
#pragma once

#include <cairo.h>
#include <gdk-pixbuf/gdk-pixbuf.h>
#include <glib.h>

#include "geometry.h"

// The 384 x 272 image of PAL lines 16..287 with 32 pixels of side border on each side:
// `picture` (320 x 200, or null) at its place, the rest in the border colour, and the side
// borders as the editor draws them (every bar on every shown line, a later bar over an
// earlier one), all in `palette` (0..3, as options_palette numbers them). The caller
// destroys it.
cairo_surface_t *pngexport_compose(GdkPixbuf *picture, const EditorBorders &editor, int palette);

// Writes `image` as a PNG file at `path`, made in memory first so that a failed write never
// leaves a cut-off file in place of an earlier one. 1 when written; else 0 (with *error when
// the file could not be written).
int pngexport_write(cairo_surface_t *image, const char *path, GError **error);
