// support: finding widgets by name, and small helpers shared by the shell modules.
#pragma once

#include <gtk/gtk.h>

// Registers `widget` on `toplevel` under `name`, holding a reference that is dropped
// when the toplevel is destroyed.
#define GLADE_HOOKUP_OBJECT(component, widget, name) \
  g_object_set_data_full(G_OBJECT(component), name, g_object_ref(widget), (GDestroyNotify)g_object_unref)

// Registers `widget` on `toplevel` under `name` without a reference (the toplevel itself,
// the tooltips object).
#define GLADE_HOOKUP_OBJECT_NO_REF(component, widget, name) \
  g_object_set_data(G_OBJECT(component), name, widget)

// Returns the widget registered under `name` on the toplevel that contains `widget`,
// or NULL after logging "Widget not found: %s".
GtkWidget *lookup_widget(GtkWidget *widget, const gchar *name);
