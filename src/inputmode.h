// inputmode: the active input mode's hold on the bars. Exactly one mode owns them at a
// time (interface_extended): Extended mode's bar lists (rastermodel) or Compact mode's
// line arrays (rasterarray); the commands reach the bars through these functions, which
// hand each call to the active mode.
#pragma once

#include <gtk/gtk.h>

#include <vector>

#include "geometry.h"
#include "projectfile.h"

// Draws a side's bars into its border area at `zoom` (the border colour painted first by
// the caller), with the selection mark when `with_selection` is 1.
void inputmode_render_lines(int side, cairo_t *cr, int with_selection, int zoom);
// A click on `row` (relative to the picture's top) and a key, `state` masked to Shift,
// Control and Alt; the key gives 1 when the border area must be redrawn.
void inputmode_button_press(int side, int row, unsigned int state, int double_click);
int inputmode_key_press(int side, unsigned int keyval, unsigned int state);
// The 200-entry colour tables of lines 51..250 for the exports, `border` where no bar is.
void inputmode_get_bar_tables(unsigned char left[picture_lines], unsigned char right[picture_lines], int border);
// Replaces the bars with the picture's outer columns.
void inputmode_expand_picture(GdkPixbuf *picture, int border);
// A side's bars as a project file holds them, and taking the bars of a project as read.
std::vector<LineRun> inputmode_bars(int side);
// Both sides' bars in drawing order with `border`: what the side border areas show.
EditorBorders inputmode_editor_borders(int border);
void inputmode_apply_project(const ProjectRecord &project);
