// Writes that fail half way (full disk), saving through symbolic links, special and huge files
// chosen as pictures: nothing may crash, block or lose a file. (Overflowing bars: fuzz/regressions.)
#include <glib/gstdio.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>

#include "file_commands.h"
#include "hiresdecoder.h"

namespace {

using Robustness = ExportTest;

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

// Every writer, to a file and through a symbolic link: a write failing half way leaves the earlier
// file as it was and no temporary file; a whole one keeps the link and the permissions.
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
      const auto entries = std::distance(std::filesystem::recursive_directory_iterator(dir.path()), {});
      {
        FullDisk full(200);
        EXPECT_EQ(write(path.c_str()), 0);
      }
      EXPECT_TRUE(read_text(target) == old) << "the earlier file changed";
      EXPECT_EQ(std::distance(std::filesystem::recursive_directory_iterator(dir.path()), {}),
                entries);  // no temporary file
      EXPECT_EQ(write(path.c_str()), 1);
      EXPECT_TRUE(read_text(target) != old) << "not replaced";
      EXPECT_EQ(g_file_test(path.c_str(), G_FILE_TEST_IS_SYMLINK), linked);
      GStatBuf info;
      ASSERT_EQ(g_stat(target.c_str(), &info), 0);
      EXPECT_EQ(info.st_mode & 07777, 0640u);
    }
  close_error_boxes();
}

// Special and huge files are refused with the decoder's message, unread: each is decoded in a
// child that checks how much it read (the alarm ends one that blocks, so that it fails).
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
