// main: the program's entry point and the process-wide state that every module shares.
//
// main() itself lives in main.cpp, outside the library; the state it sets up and the
// start-up sequence it runs live in support.cpp so that the tests can build the
// application exactly as the program does.
#pragma once

#include <gtk/gtk.h>

// The main window; every widget is found from it by name (lookup_widget).
extern GtkWidget *window_main;

// Directory part of the program's first command-line word ("." when it has none).
// Set once at start and never freed; the executable export looks for the cruncher there.
extern char *app_folder;

// Stores the directory part of argv0 in app_folder.
void main_set_app_folder(const char *argv0);

// The start-up sequence after the toolkit is initialised: builds and shows the main window,
// attaches the icon, builds the character sets and the bar lists, loads and applies the
// options. main() then runs the main loop.
void main_start_up(void);
