// preview: the "Preview on C64" window. Runs the program that Export would write for the
// current picture and bars on the emulated C64 of the chosen machine, in real time at the
// editor's zoom, and tells whether the side borders it shows match the editor's bars.
#pragma once

#include <gtk/gtk.h>

#include <cstdint>

#include "vic2.h"

// Frames run at once when the program starts, past the player's 16-frame fade, so that the
// user sees the result at once.
constexpr int preview_fast_forward_frames = 60;
// The same for the crunched program, which first unpacks itself. Measured as the first frame
// equal to the uncrunched program's frame 60: 55 on PAL for a plain hires picture, 82..89 on PAL and
// 88..96 on NTSC for the largest crunched exports (6.8 KB, about 0.9 million cycles of
// unpacking); the slowest unpacking the cruncher allows (62 cycles a byte) adds some 8 more.
constexpr int preview_crunched_fast_forward_frames = 120;

// The window while it is open, else NULL.
extern GtkWidget *window_preview;

// Tools > Preview on C64... (F9): opens the window (or brings it forward) and starts the
// program afresh; without a picture reports " Info: First open a picture or project".
void on_menuitem_tools_preview_activate(GtkMenuItem *menuitem, gpointer user_data);

GtkWidget *create_window_preview(void);

// Lines 51..250 whose visible left or right border in `frame` is not wholly the colour of the
// export tables (entry i for line 51 + i).
int preview_count_differing_lines(const Vic2ModelInfo *model, const uint8_t *frame, const uint8_t *left,
                                  const uint8_t *right);

// Frames emulated since the program was started, and whether the real-time timer runs.
uint64_t preview_frames(void);
bool preview_running(void);
