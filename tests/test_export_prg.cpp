// The executable export: the PRG of each picture kind as written to a real file, its
// colour tables from both input modes, re-encoding, write failures and the cruncher run.
#include <glib/gstdio.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "export_setup.h"
#include "reencode.h"

namespace {

using Bytes = std::vector<unsigned char>;

constexpr int at(int address) { return address - 0x0801 + 2; }  // file offset of a C64 address

struct Kind {
  int (*write)(const char *);
  unsigned format;
  size_t length;
};
const Kind hires{export_hires_to_executable, 2, 15145}, mc{export_mc_to_executable, 6, 16146},
    petscii{export_petscii_to_executable, 1, 4050};

class PrgExport : public ExportTest {
 protected:
  void SetUp() override {
    ExportTest::SetUp();
    std::mt19937 random(77);
    for (auto *block : {picture_data.bitmap, picture_data.screen, picture_data.color})
      for (int i = 0; i < (block == picture_data.bitmap ? 8000 : 1000); ++i) block[i] = static_cast<unsigned char>(random());
    picture_data.background = 0x1B;
    picture_data.charset = 0;
  }
  Bytes build(const Kind &kind) {
    picture_data.format = kind.format;
    const std::string path = dir.file("out.prg");
    EXPECT_EQ(kind.write(path.c_str()), 1);
    const std::string text = read_text(path);
    return Bytes(text.begin(), text.end());
  }
  static bool holds(const Bytes &prg, int offset, const unsigned char *data, size_t size) {
    return prg.size() >= offset + size && std::memcmp(&prg[offset], data, size) == 0;
  }
  TempDir dir;
};

}  // namespace

TEST_F(PrgExport, LayoutOfEachKind) {
  struct Expect {
    Kind kind;
    unsigned char mode_call, d011, d018, d016, screen_page;  // $0822, $0983, $0988, $098D, $0944
  };
  // Hires keeps its set-up at $095E, so $0983..$098D lie in its zero gap.
  for (const Expect &e : {Expect{hires, 0x5E, 0, 0, 0, 0x3F}, Expect{mc, 0x7F, 0x3B, 0x18, 0xD8, 0x3F},
                          Expect{petscii, 0x7F, 0x1B, 0x15, 0xC8, 0x10}}) {
    SCOPED_TRACE(e.kind.length);
    const Bytes prg = build(e.kind);
    ASSERT_EQ(prg.size(), e.kind.length);
    EXPECT_EQ(Bytes(prg.begin(), prg.begin() + 11), (Bytes{0x01, 0x08, 0x0B, 0x08, 0x0A, 0x00, 0x9E, 0x32, 0x30, 0x36, 0x31}));
    EXPECT_EQ((Bytes{prg[at(0x0822)], prg[at(0x0983)], prg[at(0x0988)], prg[at(0x098D)], prg[at(0x0944)]}),
              (Bytes{e.mode_call, e.d011, e.d018, e.d016, e.screen_page}));
    EXPECT_EQ(prg[at(0x0AC9)], 0x40);  // the RTI that ends every template
    EXPECT_EQ(prg[at(0x0D00)], 6);     // border colour
    for (int offset : {at(0x0AFF), at(0x0B00), at(0x0BC9), at(0x0C00), at(0x0CC9), at(0x0D01), at(0x0FFF)})
      EXPECT_EQ(prg[offset], 0) << offset;
  }
}

TEST_F(PrgExport, GraphicsBlocksAndBackground) {
  Bytes prg = build(hires);
  EXPECT_TRUE(holds(prg, 6145, picture_data.bitmap, 8000) && holds(prg, 14145, picture_data.screen, 1000));
  prg = build(mc);
  EXPECT_TRUE(holds(prg, 6145, picture_data.bitmap, 8000) && holds(prg, 14145, picture_data.screen, 1000) &&
              holds(prg, 15145, picture_data.color, 1000));
  EXPECT_EQ(prg[16145], 0x0B);
  for (unsigned char charset : {0, 1}) {
    picture_data.charset = charset;
    prg = build(petscii);
    EXPECT_EQ(prg[393], charset ? 0x17 : 0x15);
    EXPECT_TRUE(holds(prg, 2049, picture_data.screen, 1000) && holds(prg, 3049, picture_data.color, 1000));
    EXPECT_EQ(prg[4049], 0x0B);
  }
}

TEST_F(PrgExport, ReencodedGraphicsWhenTheOptionIsOn) {
  picture_data.format = mc.format;
  const PictureData before = picture_data;
  options_reencode_graphics = 1;
  const Bytes prg = build(mc);
  EXPECT_EQ(std::memcmp(&before, &picture_data, sizeof(PictureData)), 0);
  PictureData expected{};
  reencode_process_picture_mc(&picture_data, &expected);
  ASSERT_NE(std::memcmp(expected.screen, picture_data.screen, 1000), 0);  // it does change this picture
  EXPECT_TRUE(holds(prg, 6145, expected.bitmap, 8000) && holds(prg, 14145, expected.screen, 1000) &&
              holds(prg, 15145, expected.color, 1000));
  EXPECT_EQ(build(mc), prg);  // a second export gives the same file
}

TEST_F(PrgExport, ColourTablesFromTheActiveMode) {
  const int left = 770, right = 1026;
  for (int mode : {1, 0}) {  // no bars: the border colour everywhere
    interface_extended = mode;
    const Bytes prg = build(hires);
    EXPECT_EQ(Bytes(prg.begin() + left, prg.begin() + left + 200), Bytes(200, 6));
    EXPECT_EQ(Bytes(prg.begin() + right, prg.begin() + right + 200), Bytes(200, 6));
  }
  // Extended: lines 100..104 left, 245..264 right (only 245..250 count). Compact: lines
  // 40..60 left, 250..260 right. Each mode's bars must not show while the other is active.
  add_extended_bar(1, 100, 5, 7);
  add_extended_bar(0, 245, 20, 3);
  paint_compact_lines(1, 40, 60, 2);
  paint_compact_lines(0, 250, 260, 4);
  struct Expect {
    int mode, table, first, last, colour;
  };
  for (const Expect &e : {Expect{1, left, 49, 53, 7}, Expect{1, right, 194, 199, 3}, Expect{0, left, 0, 9, 2},
                          Expect{0, right, 199, 199, 4}}) {
    interface_extended = e.mode;
    const Bytes prg = build(petscii);
    for (int i = 0; i < 200; ++i)
      ASSERT_EQ(prg[e.table + i], i >= e.first && i <= e.last ? e.colour : 6) << e.mode << " " << e.table << " " << i;
  }
}

TEST_F(PrgExport, WriteFailureIsReported) {
  picture_data.format = 2;
  EXPECT_EQ(export_hires_to_executable(dir.file("missing/out.prg").c_str()), 0);
  EXPECT_EQ(status_text().rfind(" Error: ", 0), 0u) << status_text();
  EXPECT_EQ(close_error_boxes(), 1);
  EXPECT_EQ(export_mc_to_executable(dir.path().c_str()), 0);  // a folder is no file either
  EXPECT_EQ(close_error_boxes(), 1);
}

// A stand-in cruncher in the application's folder: it records its arguments and ends
// with the status it is told.
struct FakeCruncher {
  TempDir folder;
  explicit FakeCruncher(int status) {
    write_text(folder.file("exomizer"), "#!/bin/sh\ncd \"$(dirname \"$0\")\"\nprintf '%s\\n' \"$@\" > args\nexit $(cat status)\n");
    g_chmod(folder.file("exomizer").c_str(), 0755);
    set_status(status);
    app_folder = g_strdup(folder.path().c_str());
  }
  void set_status(int status) { write_text(folder.file("status"), std::to_string(status)); }
  std::string args() { return read_text(folder.file("args")); }
  static std::string expected_args(const std::string &prg) { return "sfx\n2061\n" + prg + "\n-o\n" + prg + "\n-n\n"; }
};

TEST_F(PrgExport, CruncherRun) {
  FakeCruncher cruncher(0);
  const std::string prg = dir.file("my pic.prg");
  EXPECT_EQ(export_run_cruncher(prg.c_str()), 1);
  EXPECT_EQ(status_text(), " Info: Successfully exported to executable PRG");
  EXPECT_EQ(cruncher.args(), FakeCruncher::expected_args(prg));

  controls_update_main_statusbar("before");
  cruncher.set_status(3);
  EXPECT_EQ(export_run_cruncher(prg.c_str()), 0);
  EXPECT_EQ(status_text(), "before");
  EXPECT_EQ(close_error_boxes(), 0);

  g_remove(cruncher.folder.file("exomizer").c_str());
  EXPECT_EQ(export_run_cruncher(prg.c_str()), 0);
  EXPECT_EQ(status_text().rfind(" Error: ", 0), 0u) << status_text();
  EXPECT_EQ(close_error_boxes(), 1);
  EXPECT_EQ(gdk_window_get_cursor(window_main->window), nullptr);  // the watch cursor is gone
}

// The menu command: the suggested name, the name written, the kind by format, the cruncher.
TEST_F(PrgExport, MenuCommand) {
  FakeCruncher cruncher(0);
  struct Row {
    const char *project, *picture;
    unsigned format;
    const char *typed, *suggested, *written;
    size_t length;
  };
  const Row rows[] = {
      {nullptr, "/pics/pic.koa", 6, "out", "pic.prg", "out.prg", 16146},
      {"/pics/demo.ini", "/pics/pic.koa", 2, "OUT.PRG", "demo.prg", "OUT.PRG", 15145},
      {nullptr, "/pics/noext", 1, "x.Prg", "noext.prg", "x.Prg.prg", 4050},
  };
  for (const Row &row : rows) {
    SCOPED_TRACE(row.typed);
    g_free(utf8_path_and_filename_project);
    utf8_path_and_filename_project = g_strdup(row.project);
    g_free(utf8_path_and_filename_picture);
    utf8_path_and_filename_picture = g_strdup(row.picture);
    picture_data.format = row.format;
    controls_update_main_statusbar("");
    std::string suggested;
    answer_save_chooser(dir.path(), row.typed, &suggested);
    on_menuitem_export_activate(nullptr, nullptr);
    EXPECT_EQ(suggested, row.suggested);
    EXPECT_EQ(read_text(dir.file(row.written)).size(), row.length);
    EXPECT_EQ(cruncher.args(), FakeCruncher::expected_args(dir.file(row.written)));
    EXPECT_EQ(status_text(), " Info: Successfully exported to executable PRG");
  }

  // No known format, or a cancelled chooser: nothing written, nothing said.
  controls_update_main_statusbar("before");
  picture_data.format = 0;
  std::string suggested;
  answer_save_chooser(dir.path(), "none", &suggested);
  on_menuitem_export_activate(nullptr, nullptr);
  picture_data.format = 2;
  answer_next_dialog(GTK_RESPONSE_CANCEL);
  on_menuitem_export_activate(nullptr, nullptr);
  EXPECT_FALSE(g_file_test(dir.file("none.prg").c_str(), G_FILE_TEST_EXISTS));
  EXPECT_EQ(status_text(), "before");

  picture_loaded = 0;
  on_menuitem_export_activate(nullptr, nullptr);
  EXPECT_EQ(status_text(), " Info: First open a picture or project");
}
