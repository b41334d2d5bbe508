// Files a user can throw at the editor: bars from a project that cover no line, writes that
// fail half way (full disk), saving through symbolic links, and special and huge files chosen
// as pictures. Nothing may crash, block, or lose a file.
#include <fcntl.h>
#include <glib/gstdio.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <set>

#include "file_commands.h"

namespace {

using Robustness = ExportTest;

// The image the left border area draws at zoom `z` over border colour 6, the selected bar marked.
Surface draw_left_border(int z) {
  options_expansion = z;
  Surface image(cairo_image_surface_create(CAIRO_FORMAT_RGB24, vert_border_width * z, vert_border_height * z));
  CairoContext cr(cairo_create(image.get()));
  double rgb[3];
  palette_get_rgb_double_at_index(6, rgb);
  cairo_set_source_rgb(cr.get(), rgb[0], rgb[1], rgb[2]);
  cairo_paint(cr.get());
  rastermodel_render_lines_left(cr.get(), 1);
  cairo_surface_flush(image.get());
  options_expansion = 1;
  return image;
}

unsigned int surface_pixel(cairo_surface_t *image, int x, int y) {
  const unsigned char *row = cairo_image_surface_get_data(image) + y * cairo_image_surface_get_stride(image);
  return reinterpret_cast<const uint32_t *>(row)[x] & 0xFFFFFF;
}

// Every file and folder under `folder`, to see that no temporary file was left behind.
std::set<std::string> entries_under(const std::string &folder) {
  std::set<std::string> names;
  for (const auto &entry : std::filesystem::recursive_directory_iterator(folder)) names.insert(entry.path());
  return names;
}

// Limits the size of any file this process writes, as a full disk would, while in scope; a
// write past the limit fails instead of ending the process.
struct FullDisk {
  rlimit old{};
  void (*handler)(int) = std::signal(SIGXFSZ, SIG_IGN);
  explicit FullDisk(rlim_t bytes) {
    getrlimit(RLIMIT_FSIZE, &old);
    const rlimit limit{bytes, old.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~FullDisk() {
    setrlimit(RLIMIT_FSIZE, &old);
    std::signal(SIGXFSZ, handler);
  }
};

// The three writers of the program, each writing `path` with the state the fixture set up.
const std::pair<const char *, int (*)(const char *)> kWriters[] = {
    {"PNG export", export_png_to_file},
    {"project", save_project_to_file},
    {"configuration",
     [](const char *path) {
       char *saved = std::exchange(utf8_path_configfile, g_strdup(path));
       const int ok = options_save_to_file();
       g_free(std::exchange(utf8_path_configfile, saved));
       return ok;
     }},
};

}  // namespace

// Project bars whose start and height overflow when multiplied by the zoom, or that cover no
// line, draw nothing at any zoom, and no selection mark either; a real bar beside them is
// drawn where it belongs: lines 60..64 in colour 2.
TEST_F(Robustness, BarsThatCoverNoLineDrawNothing) {
  for (auto [name, start, height] : {std::tuple{"huge start, large negative height", 2147483647, -2147483396},
                                     {"large negative height", 100, -2147483000},
                                     {"height 0", 100, 0}}) {
    SCOPED_TRACE(name);
    const std::string text =
        "[left]\nstart=60;" + std::to_string(start) + ";\nheight=5;" + std::to_string(height) + ";\ncolor=2;1;\n";
    OwnedKeyFile key_file(g_key_file_new());
    ASSERT_TRUE(g_key_file_load_from_data(key_file.get(), text.c_str(), text.size(), G_KEY_FILE_NONE, nullptr));
    rastermodel_fill_models_from_key_file(key_file.get());
    ASSERT_EQ(gtk_tree_model_iter_n_children(GTK_TREE_MODEL(model_rasters_left), nullptr), 2);
    // Select the row that covers no line (the list sorts it behind the real bar).
    GtkTreePath *path = gtk_tree_path_new_from_indices(start > 60 ? 1 : 0, -1);
    gtk_tree_view_set_cursor(GTK_TREE_VIEW(treeview_rasters_left), path, nullptr, FALSE);
    gtk_tree_path_free(path);
    for (int z = 1; z <= 4; ++z) {
      Surface image = draw_left_border(z);
      for (int y = 0; y < vert_border_height * z; ++y) {
        const int line = y / z + 3;
        ASSERT_EQ(surface_pixel(image.get(), 24 * z, y), rgb_of(line >= 60 && line < 65 ? 2 : 6))
            << "zoom " << z << " row " << y;
        ASSERT_EQ(surface_pixel(image.get(), 0, y), rgb_of(0)) << "mark at zoom " << z << " row " << y;
      }
    }
  }
}

// Every writer, to a file and through a symbolic link to one (as many keep their configuration
// or work in a synced folder): a write that fails half way (a full disk) reports failure and
// leaves the earlier file byte for byte as it was and no temporary file behind; with room the
// same write replaces the file the link points to, the link stays a link and the file keeps its
// permissions.
TEST_F(Robustness, WritesReplaceTheFileWhole) {
  set_file_names(nullptr, "/pics/logo.kla");
  if (pixbuf_picture) g_object_unref(pixbuf_picture);
  pixbuf_picture = gdk_pixbuf_new(GDK_COLORSPACE_RGB, TRUE, 8, 320, 200);
  gdk_pixbuf_fill(pixbuf_picture, 0x336699FF);
  for (int i = 0; i < 40; ++i) rastermodel_add_bar_left();  // makes the project longer than the limit
  g_mkdir(dir.file("real").c_str(), 0700);
  const std::string old(4096, 'x');  // a good earlier file, longer than the limit
  for (auto [writer, write] : kWriters)
    for (bool linked : {false, true}) {
      const std::string name = writer + std::string(linked ? ".link" : ""), target = dir.file("real/" + name);
      const std::string path = linked ? dir.file(name) : target;
      SCOPED_TRACE(path);
      write_text(target, old);
      g_chmod(target.c_str(), 0640);
      ASSERT_TRUE(!linked || symlink(("real/" + name).c_str(), path.c_str()) == 0);
      const std::set<std::string> entries = entries_under(dir.path());
      {
        FullDisk full(200);
        EXPECT_EQ(write(path.c_str()), 0);
      }
      EXPECT_TRUE(read_text(target) == old) << "the earlier file changed";
      EXPECT_EQ(entries_under(dir.path()), entries);
      EXPECT_EQ(write(path.c_str()), 1);
      EXPECT_NE(read_text(target), old);
      EXPECT_EQ(g_file_test(path.c_str(), G_FILE_TEST_IS_SYMLINK), linked);
      GStatBuf info;
      ASSERT_EQ(g_stat(target.c_str(), &info), 0);
      EXPECT_EQ(info.st_mode & 07777, 0640u);
    }
  close_error_boxes();
}

// Special and huge files are refused with the decoder's own message at once, without being
// read: each is decoded in a child process, which checks the message and how many bytes it
// read (a FIFO would block forever and /dev/zero would fill memory if they were read; the
// alarm only ends a child that blocks, so that such a fault fails instead of hanging).
TEST_F(Robustness, SpecialAndHugeFilesAreRefusedUnread) {
  const std::string fifo = dir.file("picture.kla"), huge = dir.file("huge.kla");
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  // A Koala load address, then 300 MB that take no room on the disk.
  write_file(huge, {0x00, 0x60});
  ASSERT_EQ(truncate(huge.c_str(), 300 * 1024 * 1024), 0);
  const auto bytes_read = [] {
    std::ifstream io("/proc/self/io");
    std::string key;
    long long value = 0;
    while (io >> key >> value && key != "rchar:") continue;
    return value;
  };
  for (auto [path, format, message] :
       {std::tuple<std::string, unsigned, const char *>{fifo, 0, "Unknown picture format"},
        {"/dev/zero", 0, "Unknown picture format"},
        {dir.path(), 0, "Unknown picture format"},
        {huge, 0, "Unknown picture format"},
        {huge, 7, "Wrong file size\nExpected: 10003\nActual: 314572800"}}) {
    SCOPED_TRACE(path);
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      alarm(30);
      const long long before = bytes_read();
      GdkPixbuf *image = nullptr;
      GError *error = nullptr;
      const int ok = hiresdecoder_decode_hires_screen_file(path.c_str(), format, &image, nullptr, &error);
      const long long read = bytes_read() - before;
      _exit(ok != 0 || image ? 1 : !error || g_strcmp0(error->message, message) != 0 ? 2 : read > 64 * 1024 ? 3 : 0);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status)) << "the decoder blocked or crashed";
    EXPECT_EQ(WEXITSTATUS(status), 0) << "1: not refused, 2: another message, 3: the file was read";
  }
}
