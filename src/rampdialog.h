// rampdialog: Tools > Ramp..., the dialog that picks a colour ramp and its shape, and
// painting the ramp over the lines of the selected side in the active input mode.
#pragma once

#include <gtk/gtk.h>

#include <vector>

#include "ramp.h"

// A new, not yet shown ramp dialog (transient for the main window when there is one).
GtkWidget *create_dialog_ramp(void);

// The side the ramp fills: the right one when its border area or list has the focus,
// else the left one.
int ramp_target_side(void);
// The lines a ramp fills on a side in the active mode: the selected range or cursor line
// (Compact), the selected bar's lines or 51..250 (Extended). 0 when there are none.
int ramp_target_lines(int side, int *first, int *last);
// Paints the shaped colours over the target lines of `side` as one user action;
// 1 when painted.
int ramp_paint(int side, const std::vector<int> &colours);

void on_menuitem_tools_ramp_activate(GtkMenuItem *menuitem, gpointer user_data);
