// The built `exomizer` program run as a process, as the editor runs it: its exit status,
// its one-line messages, the output replacing the input only after success, and the input
// left untouched on every failure.
#include <glib.h>
#include <glib/gstdio.h>
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

#include "cruncher.h"
#include "sfxrun.h"

namespace {

using Bytes = std::vector<uint8_t>;

struct Folder {
  std::string path;
  Folder() {
    gchar *p = g_dir_make_tmp("cruncher-cli-XXXXXX", nullptr);
    path = p;
    g_free(p);
  }
  ~Folder() {
    GDir *dir = g_dir_open(path.c_str(), 0, nullptr);
    for (const gchar *name; dir && (name = g_dir_read_name(dir));) g_remove((path + "/" + name).c_str());
    if (dir) g_dir_close(dir);
    g_rmdir(path.c_str());
  }
  std::string file(const std::string &name) const { return path + "/" + name; }
};

void put(const std::string &path, const Bytes &b) {
  std::ofstream(path, std::ios::binary)
      .write(reinterpret_cast<const char *>(b.data()), static_cast<std::streamsize>(b.size()));
}
Bytes get(const std::string &path) {
  std::ifstream f(path, std::ios::binary);
  return Bytes((std::istreambuf_iterator<char>(f)), std::istreambuf_iterator<char>());
}

struct Result {
  int status;
  std::string out, err;
};
Result run(const std::vector<std::string> &args) {
  std::vector<gchar *> argv = {const_cast<gchar *>(QUILLBAR_CRUNCHER)};
  for (const std::string &a : args) argv.push_back(const_cast<gchar *>(a.c_str()));
  argv.push_back(nullptr);
  gchar *out = nullptr, *err = nullptr;
  gint status = -1;
  EXPECT_TRUE(
      g_spawn_sync(nullptr, argv.data(), nullptr, G_SPAWN_DEFAULT, nullptr, nullptr, &out, &err, &status, nullptr));
  Result r{g_spawn_check_wait_status(status, nullptr) ? 0 : 1, out ? out : "", err ? err : ""};
  g_free(out);
  g_free(err);
  return r;
}

const Bytes kProgram = [] {
  Bytes b = {0x01, 0x08, 0x0B, 0x08, 0x0A, 0x00, 0x9E, '2', '0', '6', '1', 0, 0, 0};
  for (int i = 0; i < 3000; ++i) b.push_back(static_cast<uint8_t>(i % 40 < 20 ? i / 40 : 0));
  return b;
}();

}  // namespace

// Each bad command line fails with one line on standard error naming the problem, and
// leaves the input as it was and no output behind.
TEST(CruncherCommandLine, RefusesWithOneLine) {
  Folder dir;
  const std::string in = dir.file("in.prg"), out = dir.file("out.prg");
  put(in, kProgram);
  put(dir.file("empty.prg"), {});
  put(dir.file("high.prg"), {0x00, 0x10, 0x60});
  put(dir.file("huge.prg"), Bytes(0xA000, 0x01));
  struct Row {
    std::vector<std::string> args;
    const char *message;
  };
  const Row rows[] = {
      {{}, "sfx"},
      {{"level", "2061", in, "-o", out}, "sfx"},
      {{"sfx", "2061", in}, "output"},
      {{"sfx", "2061", in, "-o"}, "-o needs"},
      {{"sfx", "2061", in, "-o", out, "-x"}, "unknown option -x"},
      {{"sfx", in, "-o", out}, "START"},
      {{"sfx", "20x1", in, "-o", out}, "bad start address"},
      {{"sfx", "2061", dir.file("missing.prg"), "-o", out}, "cannot read"},
      {{"sfx", "2061", dir.path, "-o", out}, "cannot read"},
      {{"sfx", "2061", dir.file("empty.prg"), "-o", out}, "not a PRG"},
      {{"sfx", "sys", dir.file("high.prg"), "-o", out}, "$0801"},
      {{"sfx", "$0800", in, "-o", out}, "outside"},
      {{"sfx", "2061", dir.file("huge.prg"), "-o", out}, "within"},
      {{"sfx", "2061", in, "-o", dir.file("no/such/folder.prg")}, "cannot write"},
  };
  for (const Row &row : rows) {
    const Result r = run(row.args);
    std::string line;
    for (const std::string &a : row.args) line += a + " ";
    EXPECT_NE(r.status, 0) << line;
    EXPECT_NE(r.err.find(row.message), std::string::npos) << line << "-> " << r.err;
    EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << line << "-> " << r.err;
    EXPECT_EQ(get(in), kProgram) << line;
    EXPECT_FALSE(g_file_test(out.c_str(), G_FILE_TEST_EXISTS)) << line;
  }
  GDir *folder = g_dir_open(dir.path.c_str(), 0, nullptr);
  int files = 0;
  while (g_dir_read_name(folder)) ++files;
  g_dir_close(folder);
  EXPECT_EQ(files, 4);  // no temporary files left
}

// The editor's own command line, with input and output the same file, and the other
// spellings of START; each result runs and restores the program. -h prints the usage.
TEST(CruncherCommandLine, CrunchesInPlaceAndToAnotherFile) {
  Folder dir;
  const std::string in = dir.file("pic.prg");
  struct Row {
    std::vector<std::string> args;
    std::string result;
  };
  const Row rows[] = {{{"sfx", "2061", in, "-o", in, "-n"}, in},
                      {{"sfx", "sys", in, "-o", dir.file("b.prg")}, dir.file("b.prg")},
                      {{"sfx", "$080d", "-n", in, "-o", dir.file("c.prg")}, dir.file("c.prg")},
                      {{"sfx", "0x80D", in, "-o", dir.file("d.prg"), "-n"}, dir.file("d.prg")}};
  for (const Row &row : rows) {
    put(in, kProgram);
    g_chmod(in.c_str(), 0640);
    const Result r = run(row.args);
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.err, "");
    const Bytes crunched = get(row.result);
    ASSERT_LT(crunched.size(), kProgram.size());
    SfxRun sfx;
    ASSERT_TRUE(sfx_run(crunched, 2061, &sfx));
    ASSERT_TRUE(sfx.reached);
    EXPECT_TRUE(std::equal(kProgram.begin() + 2, kProgram.end(), sfx.ram.begin() + kBasicStart));
    GStatBuf replaced{};
    if (row.result == in && g_stat(in.c_str(), &replaced) == 0) {
      EXPECT_EQ(replaced.st_mode & 0777, 0640u);  // the replaced file keeps its mode
    }
  }
  const Result help = run({"-h"});
  EXPECT_EQ(help.status, 0);
  EXPECT_NE(help.out.find("exomizer sfx START IN.prg -o OUT.prg [-n]"), std::string::npos);
}
