// preview: the "Preview on C64" window. Runs the program that Export would write for the
// current picture and bars on the emulated C64 of the chosen machine, in real time at the
// editor's zoom, and tells whether the side borders it shows match the editor's (verdict.h).
#pragma once

#include <gtk/gtk.h>

#include <cstdint>

#include "verdict.h"

// The window while it is open, else NULL.
extern GtkWidget *window_preview;

// Tools > Preview on C64... (F9): opens the window (or brings it forward) and starts the
// program afresh; without a picture reports " Info: First open a picture or project".
void on_menuitem_tools_preview_activate(GtkMenuItem *menuitem, gpointer user_data);

GtkWidget *create_window_preview(void);

// Frames emulated since the program was started, and whether the real-time timer runs.
uint64_t preview_frames(void);
bool preview_running(void);
