// The built `exomizer` run as the editor runs it: exit status, one-line messages, the input kept on failure.
#include <glib.h>
#include <glib/gstdio.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "cruncher.h"
#include "sfxrun.h"

namespace {

using Bytes = std::vector<uint8_t>;

struct Folder {
  std::string path = std::filesystem::temp_directory_path() / "cruncher-cli-XXXXXX";
  Folder() { EXPECT_NE(mkdtemp(path.data()), nullptr); }
  ~Folder() { std::filesystem::remove_all(path); }
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

// Each bad command line fails with one line naming the problem, the input kept, no output left.
TEST(CruncherCommandLine, RefusesWithOneLine) {
  Folder dir;
  const std::string in = dir.file("in.prg"), out = dir.file("out.prg");
  put(in, kProgram);
  struct Row {
    std::vector<std::string> args;
    const char *message;
  };
  const Row rows[] = {
      {{}, "sfx"},
      {{"sfx", "2061", in}, "output"},
      {{"sfx", "2061", in, "-o"}, "-o needs"},
      {{"sfx", "2061", in, "-o", out, "-x"}, "unknown option -x"},
      {{"sfx", in, "-o", out}, "START"},
      {{"sfx", "20x1", in, "-o", out}, "bad start address"},
      {{"sfx", "2061", dir.file("missing.prg"), "-o", out}, "cannot read"},
      {{"sfx", "2061", dir.path, "-o", out}, "cannot read"},
      {{"sfx", "$0800", in, "-o", out}, "outside"},  // the library's refusals: its own test
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
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.path), {}), 1);  // no temporary files left
}

// The editor's command line (in and out the same file), the spellings of START; -h prints the usage.
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
