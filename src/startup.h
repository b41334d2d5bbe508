// startup: the program's start-up sequence, as main() runs it and as the tests run it
// to build the editor exactly as the program does.
#pragma once

// Stores the directory part of argv0 in app_folder ("." when it has none).
void startup_set_app_folder(const char *argv0);

// Everything between initialising the toolkit and running its main loop, in this order:
// builds and shows the main window (whose drawing areas store their handles on their first
// configure event), connects its "destroy" to the main loop's end, attaches the icon,
// builds the character sets and the bar lists, loads the options and applies them to the
// menus and the window's position, and starts the undo history empty.
void startup_build_editor(void);
