// Files a user can throw at the editor: bars from a project that cover no line, writes that
// fail half way (full disk), special and huge files chosen as pictures, export names full of
// quotes, and saving through symbolic links. Nothing may crash, block, or lose a file.
#include <fcntl.h>
#include <glib/gstdio.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <fstream>

#include "file_commands.h"

namespace {

using Robustness = ExportTest;

// The image a side border area shows at zoom `z`: border colour 6, then the left bars with
// the selected one marked.
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

std::string file_bytes(const std::string &path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

// Names of the files in a folder, to see that no temporary file was left behind.
std::vector<std::string> folder_entries(const std::string &folder) {
  std::vector<std::string> names;
  if (GDir *dir = g_dir_open(folder.c_str(), 0, nullptr)) {
    while (const char *name = g_dir_read_name(dir)) names.push_back(name);
    g_dir_close(dir);
  }
  std::sort(names.begin(), names.end());
  return names;
}

// Limits the size of any file this process writes, as a full disk would, while in scope.
class FullDisk {
 public:
  explicit FullDisk(rlim_t bytes) {
    old_handler_ = std::signal(SIGXFSZ, SIG_IGN);  // a write past the limit fails instead
    getrlimit(RLIMIT_FSIZE, &old_);
    rlimit limit = old_;
    limit.rlim_cur = bytes;
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~FullDisk() {
    setrlimit(RLIMIT_FSIZE, &old_);
    std::signal(SIGXFSZ, old_handler_);
  }

 private:
  rlimit old_{};
  void (*old_handler_)(int);
};

// The three writers of the program, each writing `path` with the state the fixture set up.
struct Writer {
  const char *name;
  int (*write)(const char *path);
};
const Writer kWriters[] = {
    {"PNG export", export_png_to_file},
    {"project", save_project_to_file},
    {"configuration",
     [](const char *path) {
       char *saved = utf8_path_configfile;
       utf8_path_configfile = g_strdup(path);
       const int ok = options_save_to_file();
       g_free(utf8_path_configfile);
       utf8_path_configfile = saved;
       return ok;
     }},
};

}  // namespace

// Project bars whose start and height overflow when multiplied by the zoom, or that cover no
// line, draw nothing at any zoom, and no selection mark either; a real bar beside them is
// drawn where it belongs.
TEST_F(Robustness, BarsThatCoverNoLineDrawNothing) {
  struct Row {
    const char *name;
    int start, height;
  };
  const Row rows[] = {{"huge start, large negative height", 2147483647, -2147483396},
                      {"large negative height", 100, -2147483000},
                      {"height 0", 100, 0}};
  constexpr int real_start = 60, real_height = 5, real_colour = 2;
  for (const Row &row : rows) {
    SCOPED_TRACE(row.name);
    const std::string text = "[left]\nstart=" + std::to_string(real_start) + ";" + std::to_string(row.start) +
                             ";\nheight=" + std::to_string(real_height) + ";" + std::to_string(row.height) +
                             ";\ncolor=" + std::to_string(real_colour) + ";1;\n";
    OwnedKeyFile key_file(g_key_file_new());
    ASSERT_TRUE(g_key_file_load_from_data(key_file.get(), text.c_str(), text.size(), G_KEY_FILE_NONE, nullptr));
    rastermodel_fill_models_from_key_file(key_file.get());
    ASSERT_EQ(gtk_tree_model_iter_n_children(GTK_TREE_MODEL(model_rasters_left), nullptr), 2);
    // Select the row that covers no line (the list sorts it behind the real bar).
    GtkTreePath *path = gtk_tree_path_new_from_indices(row.start > real_start ? 1 : 0, -1);
    gtk_tree_view_set_cursor(GTK_TREE_VIEW(treeview_rasters_left), path, nullptr, FALSE);
    gtk_tree_path_free(path);
    for (int z = 1; z <= 4; ++z) {
      Surface image = draw_left_border(z);
      for (int y = 0; y < vert_border_height * z; ++y) {
        const int line = y / z + 3;
        const bool on_bar = line >= real_start && line < real_start + real_height;
        ASSERT_EQ(surface_pixel(image.get(), 24 * z, y), rgb_of(on_bar ? real_colour : 6))
            << "zoom " << z << " row " << y;
        ASSERT_EQ(surface_pixel(image.get(), 0, y), rgb_of(0)) << "mark at zoom " << z << " row " << y;
      }
    }
  }
}

// A write that fails half way (a full disk) leaves the earlier file byte for byte as it was
// and no temporary file behind, for every writer of the program; the writer reports failure.
TEST_F(Robustness, FailedWriteKeepsTheOldFile) {
  set_file_names(nullptr, "/pics/logo.kla");
  if (pixbuf_picture) g_object_unref(pixbuf_picture);
  pixbuf_picture = gdk_pixbuf_new(GDK_COLORSPACE_RGB, TRUE, 8, 320, 200);
  gdk_pixbuf_fill(pixbuf_picture, 0x336699FF);
  for (int i = 0; i < 40; ++i) rastermodel_add_bar_left();  // makes the project longer than the limit
  for (const Writer &writer : kWriters) {
    SCOPED_TRACE(writer.name);
    const std::string target = dir.file(std::string(writer.name) + ".out");
    const std::string old(4096, 'x');  // a good earlier file, longer than the limit
    write_text(target, old);
    const auto entries = folder_entries(dir.path());
    int result = -1;
    {
      FullDisk full(200);
      result = writer.write(target.c_str());
    }
    EXPECT_EQ(result, 0);
    EXPECT_TRUE(file_bytes(target) == old) << "the earlier file changed";
    EXPECT_EQ(folder_entries(dir.path()), entries);
    // With room on the disk the same write replaces the file.
    EXPECT_EQ(writer.write(target.c_str()), 1);
    EXPECT_NE(file_bytes(target), old);
  }
  close_error_boxes();
}

// Saving through a symbolic link (as many keep their configuration or work in a synced
// folder) writes the file the link points to: the link stays a link, the file keeps its
// permissions and gets the new content.
TEST_F(Robustness, SavingThroughALinkWritesItsTarget) {
  set_file_names(nullptr, "/pics/logo.kla");
  g_mkdir(dir.file("real").c_str(), 0700);
  for (const Writer &writer : kWriters) {
    SCOPED_TRACE(writer.name);
    const std::string target = dir.file("real/" + std::string(writer.name));
    const std::string link = dir.file(std::string(writer.name) + ".link");
    write_text(target, "old");
    g_chmod(target.c_str(), 0640);
    ASSERT_EQ(symlink(("real/" + std::string(writer.name)).c_str(), link.c_str()), 0);
    EXPECT_EQ(writer.write(link.c_str()), 1);
    EXPECT_TRUE(g_file_test(link.c_str(), G_FILE_TEST_IS_SYMLINK));
    EXPECT_NE(file_bytes(target), "old");
    EXPECT_EQ(file_bytes(link), file_bytes(target));
    GStatBuf info;
    ASSERT_EQ(g_stat(target.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0640u);
  }
}

// Special and huge files are refused with the decoder's own message at once, without being
// read: each is decoded in a child process, which checks the message and how many bytes it
// read (a FIFO would block forever and /dev/zero would fill memory if they were read; the
// alarm only ends a child that blocks, so that such a fault fails instead of hanging).
TEST_F(Robustness, SpecialAndHugeFilesAreRefusedUnread) {
  const std::string fifo = dir.file("picture.kla");
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  const std::string huge = dir.file("huge.kla");
  {
    const int fd = open(huge.c_str(), O_WRONLY | O_CREAT, 0600);
    ASSERT_GE(fd, 0);
    const unsigned char koala_load[2] = {0x00, 0x60};
    ASSERT_EQ(write(fd, koala_load, 2), 2);
    ASSERT_EQ(ftruncate(fd, 300 * 1024 * 1024), 0);  // sparse: takes no room on the disk
    close(fd);
  }
  struct Row {
    std::string path;
    unsigned int format;
    const char *message;
  };
  const Row rows[] = {
      {fifo, 0, "Unknown picture format"},
      {"/dev/zero", 0, "Unknown picture format"},
      {dir.path(), 0, "Unknown picture format"},
      {huge, 0, "Unknown picture format"},
      {huge, 7, "Wrong file size\nExpected: 10003\nActual: 314572800"},
  };
  for (const Row &row : rows) {
    SCOPED_TRACE(row.path);
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      alarm(30);
      auto bytes_read = [] {
        std::ifstream io("/proc/self/io");
        std::string key;
        long long value = 0;
        while (io >> key >> value)
          if (key == "rchar:") return value;
        return 0LL;
      };
      const long long before = bytes_read();
      GdkPixbuf *image = nullptr;
      GError *error = nullptr;
      const int ok = hiresdecoder_decode_hires_screen_file(row.path.c_str(), row.format, &image, nullptr, &error);
      const long long read = bytes_read() - before;
      int code = 0;
      if (ok != 0 || image)
        code = 1;
      else if (!error || g_strcmp0(error->message, row.message) != 0)
        code = 2;
      else if (read > 64 * 1024)
        code = 3;
      _exit(code);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status)) << "the decoder blocked or crashed";
    EXPECT_EQ(WEXITSTATUS(status), 0) << "1: not refused, 2: another message, 3: the file was read";
  }
}

// The cruncher gets the export's name as one argument whatever it holds: quotes, spaces,
// words that look like its own options.
TEST_F(Robustness, CruncherGetsAnyNameWhole) {
  TempDir cruncher;
  write_text(cruncher.file("exomizer"), "#!/bin/sh\ncd \"$(dirname \"$0\")\"\nprintf '%s\\n' \"$@\" > args\n");
  g_chmod(cruncher.file("exomizer").c_str(), 0755);
  char *saved = app_folder;
  app_folder = g_strdup(cruncher.path().c_str());
  for (const char *name : {"plain.prg", "two words.prg", "a \"quoted\" name.prg", "it's.prg", "x\" -o \"elsewhere.prg",
                           "back\\slash $HOME.prg"}) {
    SCOPED_TRACE(name);
    const std::string prg = dir.file(name);
    EXPECT_EQ(export_run_cruncher(prg.c_str()), 1);
    EXPECT_EQ(read_text(cruncher.file("args")), "sfx\n2061\n" + prg + "\n-o\n" + prg + "\n-n\n");
  }
  g_free(app_folder);
  app_folder = saved;
}
