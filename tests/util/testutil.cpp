#include "testutil.h"

#include <glib/gstdio.h>

#include <cstdlib>

#include "main.h"
#include "palette.h"
#include "support.h"

TempDir::TempDir() {
  char *dir = g_dir_make_tmp("quillbar-test-XXXXXX", nullptr);
  path_ = dir ? dir : "";
  g_free(dir);
}

static void remove_tree(const std::string &path) {
  if (g_file_test(path.c_str(), G_FILE_TEST_IS_DIR) && !g_file_test(path.c_str(), G_FILE_TEST_IS_SYMLINK)) {
    g_chmod(path.c_str(), 0700);
    if (GDir *dir = g_dir_open(path.c_str(), 0, nullptr)) {
      while (const char *name = g_dir_read_name(dir)) remove_tree(path + "/" + name);
      g_dir_close(dir);
    }
    g_rmdir(path.c_str());
  } else {
    g_remove(path.c_str());
  }
}

TempDir::~TempDir() {
  if (!path_.empty()) remove_tree(path_);
}

void write_file(const std::string &path, const std::vector<unsigned char> &bytes) {
  GError *error = nullptr;
  gboolean ok = g_file_set_contents(path.c_str(), reinterpret_cast<const char *>(bytes.data()),
                                    static_cast<gssize>(bytes.size()), &error);
  ASSERT_TRUE(ok) << (error ? error->message : "");
}

void write_text(const std::string &path, const std::string &text) {
  write_file(path, std::vector<unsigned char>(text.begin(), text.end()));
}

std::string read_text(const std::string &path) {
  char *contents = nullptr;
  gsize length = 0;
  if (!g_file_get_contents(path.c_str(), &contents, &length, nullptr)) return {};
  std::string text(contents, length);
  g_free(contents);
  return text;
}

const std::string &test_config_home() {
  static std::string home = g_getenv("XDG_CONFIG_HOME") ? g_getenv("XDG_CONFIG_HOME") : "";
  return home;
}

GtkWidget *start_app() {
  if (!window_main) {
    main_set_app_folder("./quillbar");
    main_start_up();
    pump_events(100);
  }
  return window_main;
}

void pump_events(int ms) {
  gint64 until = g_get_monotonic_time() + static_cast<gint64>(ms) * 1000;
  for (;;) {
    gdk_flush();
    while (gtk_events_pending()) gtk_main_iteration_do(FALSE);
    if (g_get_monotonic_time() >= until) break;
    g_usleep(2000);
  }
}

GdkPixbuf *grab_widget(GtkWidget *widget) {
  pump_events(20);
  if (widget->window) gdk_window_process_updates(widget->window, TRUE);
  gdk_flush();
  GtkAllocation a = widget->allocation;
  GdkWindow *win = widget->window;
  int x = 0, y = 0;
  if (!gtk_widget_get_has_window(widget)) {
    x = a.x;
    y = a.y;
  }
  return gdk_pixbuf_get_from_drawable(nullptr, win, nullptr, x, y, 0, 0, a.width, a.height);
}

unsigned int pixel_at(GdkPixbuf *pixbuf, int x, int y) {
  const guchar *p =
      gdk_pixbuf_get_pixels(pixbuf) + y * gdk_pixbuf_get_rowstride(pixbuf) + x * gdk_pixbuf_get_n_channels(pixbuf);
  return (p[0] << 16) | (p[1] << 8) | p[2];
}

namespace {
struct PendingAnswer {
  int response;
  std::function<void(GtkWidget *)> inspect;
  bool close;
  int tries = 0;
};

gboolean answer_dialog_cb(gpointer data) {
  auto *answer = static_cast<PendingAnswer *>(data);
  GList *toplevels = gtk_window_list_toplevels();
  GtkWidget *dialog = nullptr;
  for (GList *l = toplevels; l; l = l->next) {
    GtkWidget *w = GTK_WIDGET(l->data);
    if (GTK_IS_DIALOG(w) && gtk_widget_get_visible(w) && gtk_window_get_modal(GTK_WINDOW(w))) dialog = w;
  }
  g_list_free(toplevels);
  if (!dialog) {
    if (++answer->tries > 500) {
      delete answer;
      return FALSE;
    }
    return TRUE;  // not shown yet: look again
  }
  if (answer->inspect) answer->inspect(dialog);
  if (answer->close) {
    GdkEvent *event = gdk_event_new(GDK_DELETE);
    event->any.window = GDK_WINDOW(g_object_ref(dialog->window));
    event->any.send_event = TRUE;
    gtk_main_do_event(event);
    gdk_event_free(event);
  } else {
    gtk_dialog_response(GTK_DIALOG(dialog), answer->response);
  }
  delete answer;
  return FALSE;
}
}  // namespace

void answer_next_dialog(int response, std::function<void(GtkWidget *)> inspect, bool close) {
  g_timeout_add(10, answer_dialog_cb, new PendingAnswer{response, std::move(inspect), close});
}

std::string shared_data(const std::string &name) {
  std::string path = std::string(QUILLBAR_SHARED_DIR) + "/" + name;
  return g_file_test(path.c_str(), G_FILE_TEST_EXISTS) ? path : std::string();
}

unsigned int rgb_of(int index) {
  unsigned char rgb[3];
  palette_get_rgb_at_index(index, rgb);
  return rgb[0] << 16 | rgb[1] << 8 | rgb[2];
}

std::string status_text() {
  GtkWidget *bar = lookup_widget(window_main, "statusbar_main");
  GList *children = gtk_container_get_children(GTK_CONTAINER(gtk_statusbar_get_message_area(GTK_STATUSBAR(bar))));
  std::string text = children && GTK_IS_LABEL(children->data) ? gtk_label_get_text(GTK_LABEL(children->data)) : "";
  g_list_free(children);
  return text;
}

void activate(const char *item) { gtk_menu_item_activate(GTK_MENU_ITEM(lookup_widget(window_main, item))); }
