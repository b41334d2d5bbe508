// support: the bottom layer of the shell: finding and registering widgets by name, the
// message catalogue's lookup, replacing files safely and the owners of the toolkit's
// objects. Includes no other module of the program.
//
// May touch: the widgets it is given and the files it is asked to replace.
#include "support.h"

#include <fcntl.h>
#include <glib/gstdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>

GtkWidget *lookup_widget(GtkWidget *widget, const gchar *name) {
  GtkWidget *parent = nullptr;
  for (;;) {
    if (GTK_IS_MENU(widget))
      parent = gtk_menu_get_attach_widget(GTK_MENU(widget));
    else
      parent = widget->parent;
    if (!parent) parent = static_cast<GtkWidget *>(g_object_get_data(G_OBJECT(widget), "GladeParentKey"));
    if (!parent) break;
    widget = parent;
  }
  auto *found = static_cast<GtkWidget *>(g_object_get_data(G_OBJECT(widget), name));
  if (!found) g_warning("Widget not found: %s", name);
  return found;
}

GtkWidget *support_named_widget(GtkWidget *toplevel, GtkWidget *widget, const char *name, bool show) {
  if (show) gtk_widget_show(widget);
  GLADE_HOOKUP_OBJECT(toplevel, widget, name);
  return widget;
}

namespace {

// Links followed before giving up, as the system does.
constexpr int max_link_depth = 40;

// The file that writing to `path` would reach: symbolic links followed, each relative link
// taken from the folder of the link. A dangling link gives the path it points to.
std::string follow_links(const char *path) {
  std::string target = path;
  for (int depth = 0; depth < max_link_depth && g_file_test(target.c_str(), G_FILE_TEST_IS_SYMLINK); ++depth) {
    OwnedString next(g_file_read_link(target.c_str(), nullptr));
    if (!next) break;
    if (g_path_is_absolute(next.get())) {
      target = next.get();
    } else {
      OwnedString folder(g_path_get_dirname(target.c_str()));
      target = OwnedString(g_build_filename(folder.get(), next.get(), nullptr)).get();
    }
  }
  return target;
}

bool write_all(int fd, const char *data, gsize length) {
  while (length > 0) {
    const ssize_t n = write(fd, data, length);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    data += n;
    length -= static_cast<gsize>(n);
  }
  return true;
}

}  // namespace

int support_file_error(GError **error, const char *what, const char *path, int code) {
  OwnedString name(g_filename_display_name(path));
  g_set_error(error, G_FILE_ERROR, g_file_error_from_errno(code), "%s \u201c%s\u201d: %s", what, name.get(),
              g_strerror(code));
  return 0;
}

int support_replace_file(const char *path, const char *data, gsize length, GError **error) {
  const std::string target = follow_links(path);
  GStatBuf old;
  const bool existed = g_stat(target.c_str(), &old) == 0;

  OwnedString folder(g_path_get_dirname(target.c_str()));
  OwnedString base(g_path_get_basename(target.c_str()));
  OwnedString pattern(g_strdup_printf("%s/.%s.XXXXXX", folder.get(), base.get()));
  const int fd = g_mkstemp_full(pattern.get(), O_RDWR | O_CLOEXEC, 0666);  // the umask applies to a new file
  const std::string temporary = pattern.get();
  if (fd < 0) return support_file_error(error, "Failed to create file", target.c_str(), errno);

  // The data must be on the disk before the rename makes it the file.
  bool written = write_all(fd, data, length) && fsync(fd) == 0;
  int code = errno;
  if (written && existed && fchmod(fd, old.st_mode & 07777) != 0) code = errno, written = false;
  if (close(fd) != 0 && written) code = errno, written = false;
  if (written && g_rename(temporary.c_str(), target.c_str()) != 0) code = errno, written = false;
  if (!written) {
    g_unlink(temporary.c_str());
    return support_file_error(error, "Failed to write file", target.c_str(), code);
  }
  return 1;
}
