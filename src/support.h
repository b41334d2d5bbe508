// support: finding widgets by name, and small helpers shared by the shell modules. The
// bottom layer: includes no other module of the program.
#pragma once

#include <gtk/gtk.h>

#include <memory>

// The program's name and version, as the About box and the project files show it.
#define QUILLBAR_NAME_VERSION "Quillbar 1.4.2"

// Registers `widget` on `toplevel` under `name`, holding a reference that is dropped
// when the toplevel is destroyed.
#define GLADE_HOOKUP_OBJECT(component, widget, name) \
  g_object_set_data_full(G_OBJECT(component), name, g_object_ref(widget), (GDestroyNotify)g_object_unref)

// Registers `widget` on `toplevel` under `name` without a reference (the toplevel itself,
// the tooltips object).
#define GLADE_HOOKUP_OBJECT_NO_REF(component, widget, name) g_object_set_data(G_OBJECT(component), name, widget)

// Returns the widget registered under `name` on the toplevel that contains `widget`,
// or NULL after logging "Widget not found: %s".
GtkWidget *lookup_widget(GtkWidget *widget, const gchar *name);

// Registers `widget` under `name` on `toplevel` (holding a reference) and shows it unless
// told otherwise; returns the widget, for building a tree in one expression.
GtkWidget *support_named_widget(GtkWidget *toplevel, GtkWidget *widget, const char *name, bool show = true);

// The program's strings as the message catalogue translates them; N_ marks a string for
// the catalogue where it is translated later.
#define _(text) g_dgettext("quillbar", text)
#define N_(text) (text)

// Replaces the file at `path` with `length` bytes of `data` without ever leaving it half
// written: the bytes go to a temporary file beside it, which is renamed over it only after
// a complete write (on failure the old file stays as it was). Through a symbolic link the
// file the link points to is replaced and the link kept; an existing file keeps its
// permissions. 1 on success; 0 with a file error otherwise.
int support_replace_file(const char *path, const char *data, gsize length, GError **error);

// Sets a file error for the system error `code` on `path`, worded as GLib's file functions
// word theirs ("Failed to open file “…”: No such file or directory"). Returns 0.
int support_file_error(GError **error, const char *what, const char *path, int code);

// Owners of the toolkit's objects, released when they go out of scope.
template <typename T, void (*release)(T *)>
struct Releaser {
  void operator()(T *object) const { release(object); }
};
using OwnedString = std::unique_ptr<gchar, Releaser<void, g_free>>;
using OwnedError = std::unique_ptr<GError, Releaser<GError, g_error_free>>;
using OwnedPixbuf = std::unique_ptr<GdkPixbuf, Releaser<void, g_object_unref>>;
using OwnedKeyFile = std::unique_ptr<GKeyFile, Releaser<GKeyFile, g_key_file_free>>;
using OwnedDialog = std::unique_ptr<GtkWidget, Releaser<GtkWidget, gtk_widget_destroy>>;
using CairoContext = std::unique_ptr<cairo_t, Releaser<cairo_t, cairo_destroy>>;
using Surface = std::unique_ptr<cairo_surface_t, Releaser<cairo_surface_t, cairo_surface_destroy>>;
