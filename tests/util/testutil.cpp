#include "testutil.h"

#include <sys/wait.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "palette.h"
#include "startup.h"
#include "state.h"
#include "support.h"

TempDir::TempDir() {
  g_autofree char *dir = g_dir_make_tmp("quillbar-test-XXXXXX", nullptr);
  path_ = dir ? dir : "";
}

TempDir::~TempDir() {
  std::error_code ec;
  if (!path_.empty()) std::filesystem::remove_all(path_, ec);
}

int run(std::vector<std::string> argv, std::string *output, std::string *errors) {
  std::vector<char *> args;
  for (std::string &arg : argv) args.push_back(arg.data());
  args.push_back(nullptr);
  g_autofree gchar *out = nullptr;
  g_autofree gchar *err = nullptr;
  int status = -1;
  const bool ran =
      g_spawn_sync(nullptr, args.data(), nullptr, G_SPAWN_SEARCH_PATH, nullptr, nullptr, &out, &err, &status, nullptr);
  if (output) *output = out ? out : "";
  if (errors) *errors = err ? err : "";
  return ran && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

void write_file(const std::string &path, const std::vector<unsigned char> &bytes) {
  g_autoptr(GError) error = nullptr;
  ASSERT_TRUE(
      g_file_set_contents(path.c_str(), reinterpret_cast<const char *>(bytes.data()), gssize(bytes.size()), &error))
      << error->message;
}

void write_text(const std::string &path, const std::string &text) {
  write_file(path, std::vector<unsigned char>(text.begin(), text.end()));
}

std::string read_text(const std::string &path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

GtkWidget *start_app() {
  if (!window_main) {
    startup_set_app_folder("./quillbar");
    startup_build_editor();
    pump_events(100);
  }
  return window_main;
}

void pump_events(int ms) {
  const gint64 until = g_get_monotonic_time() + gint64(ms) * 1000;
  for (;;) {
    gdk_flush();
    while (gtk_events_pending()) gtk_main_iteration_do(FALSE);
    if (g_get_monotonic_time() >= until) return;
    g_usleep(2000);
  }
}

GdkPixbuf *grab_widget(GtkWidget *widget) {
  pump_events(20);
  if (widget->window) gdk_window_process_updates(widget->window, TRUE);
  gdk_flush();
  const GtkAllocation a = widget->allocation;
  const bool own = gtk_widget_get_has_window(widget);  // else it draws into its parent's window at its place
  return gdk_pixbuf_get_from_drawable(nullptr, widget->window, nullptr, own ? 0 : a.x, own ? 0 : a.y, 0, 0, a.width,
                                      a.height);
}

unsigned int pixel_at(GdkPixbuf *pixbuf, int x, int y) {
  const guchar *p =
      gdk_pixbuf_get_pixels(pixbuf) + y * gdk_pixbuf_get_rowstride(pixbuf) + x * gdk_pixbuf_get_n_channels(pixbuf);
  return (p[0] << 16) | (p[1] << 8) | p[2];
}

std::vector<GtkWidget *> visible_dialogs(const char *title) {
  std::vector<GtkWidget *> found;
  GList *toplevels = gtk_window_list_toplevels();
  for (GList *l = toplevels; l; l = l->next)
    if (GTK_IS_DIALOG(l->data) && gtk_widget_get_visible(GTK_WIDGET(l->data)) &&
        (!title || g_strcmp0(gtk_window_get_title(GTK_WINDOW(l->data)), title) == 0))
      found.push_back(GTK_WIDGET(l->data));
  g_list_free(toplevels);
  return found;
}

namespace {
struct PendingAnswer {
  int response;
  std::function<void(GtkWidget *)> inspect;
  int tries = 0;
};

// Looks for the newest visible dialog every 10 ms, for 5 s at most, and answers it.
gboolean answer_dialog_cb(gpointer data) {
  auto *answer = static_cast<PendingAnswer *>(data);
  const std::vector<GtkWidget *> dialogs = visible_dialogs();
  if (dialogs.empty() && ++answer->tries <= 500) return TRUE;
  if (!dialogs.empty() && answer->inspect) answer->inspect(dialogs.back());
  if (!dialogs.empty()) gtk_dialog_response(GTK_DIALOG(dialogs.back()), answer->response);
  delete answer;
  return FALSE;
}
}  // namespace

void answer_next_dialog(int response, std::function<void(GtkWidget *)> inspect) {
  g_timeout_add(10, answer_dialog_cb, new PendingAnswer{response, std::move(inspect)});
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
