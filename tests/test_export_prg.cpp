// The executable export: the PRG of each picture kind as written to a real file, its
// colour tables from both input modes, re-encoding, write failures and the cruncher run.
#include <glib/gstdio.h>

#include <cstring>
#include <random>
#include <vector>

#include "export_setup.h"
#include "reencode.h"

namespace {

using Bytes = std::vector<unsigned char>;

Bytes read_bytes(const std::string &path) {
  const std::string text = read_text(path);
  return Bytes(text.begin(), text.end());
}

// File offset of a C64 address in the PRG.
constexpr int at(int address) { return address - 0x0801 + 2; }

struct Kind {
  const char *name;
  int (*write)(const char *);
  unsigned format;
  size_t length;
};
const Kind hires{"hires", export_hires_to_executable, 2, 15145};
const Kind mc{"multicolour", export_mc_to_executable, 6, 16146};
const Kind petscii{"PETSCII", export_petscii_to_executable, 1, 4050};

class PrgExport : public ExportTest {
 protected:
  void SetUp() override {
    ExportTest::SetUp();
    std::mt19937 random(77);
    for (auto &b : picture_data.bitmap) b = static_cast<unsigned char>(random());
    for (auto &b : picture_data.screen) b = static_cast<unsigned char>(random());
    for (auto &b : picture_data.color) b = static_cast<unsigned char>(random());
    picture_data.background = 0x1B;
    picture_data.charset = 0;
  }
  Bytes build(const Kind &kind) {
    picture_data.format = kind.format;
    const std::string path = dir.file("out.prg");
    EXPECT_EQ(kind.write(path.c_str()), 1);
    return read_bytes(path);
  }
  static void expect_block(const Bytes &prg, int offset, const unsigned char *data, size_t size) {
    ASSERT_GE(prg.size(), offset + size);
    EXPECT_EQ(std::memcmp(&prg[offset], data, size), 0) << "block at " << offset;
  }
  TempDir dir;
};

}  // namespace

TEST_F(PrgExport, LayoutOfEachKind) {
  struct Expect {
    Kind kind;
    unsigned char mode_call, d011, d018, d016;  // $0822, and the set-up's values at $0983/$0988/$098D
  };
  // Hires keeps its set-up at $095E, so $0983..$098D lie in the zero gap.
  for (const Expect &e : {Expect{hires, 0x5E, 0, 0, 0}, Expect{mc, 0x7F, 0x3B, 0x18, 0xD8},
                          Expect{petscii, 0x7F, 0x1B, 0x15, 0xC8}}) {
    SCOPED_TRACE(e.kind.name);
    const Bytes prg = build(e.kind);
    ASSERT_EQ(prg.size(), e.kind.length);
    EXPECT_EQ(prg[0], 0x01);
    EXPECT_EQ(prg[1], 0x08);
    EXPECT_EQ(Bytes(prg.begin() + 2, prg.begin() + 11), (Bytes{0x0B, 0x08, 0x0A, 0x00, 0x9E, 0x32, 0x30, 0x36, 0x31}));
    EXPECT_EQ(prg[at(0x0822)], e.mode_call);
    EXPECT_EQ(prg[at(0x0983)], e.d011);
    EXPECT_EQ(prg[at(0x0988)], e.d018);
    EXPECT_EQ(prg[at(0x098D)], e.d016);
    EXPECT_EQ(prg[at(0x0AC9)], 0x40);  // the RTI that ends every template
    EXPECT_EQ(prg[at(0x0B01) - 1], 0);
    EXPECT_EQ(prg[at(0x0D00)], 6);
    for (int offset : {at(0x0AFF), at(0x0BC9), at(0x0C00), at(0x0CC9), at(0x0D01), at(0x0FFF)})
      EXPECT_EQ(prg[offset], 0) << offset;
  }
  // The PETSCII copy routine reads from $1000 / $13E8 / $17D0.
  const Bytes text = build(petscii);
  EXPECT_EQ(text[at(0x0943)], 0x00);
  EXPECT_EQ(text[at(0x0944)], 0x10);
  EXPECT_EQ(text[at(0x0979)], 0xD0);
  EXPECT_EQ(text[at(0x097A)], 0x17);
  const Bytes multi = build(mc);
  EXPECT_EQ(multi[at(0x0944)], 0x3F);
  EXPECT_EQ(multi[at(0x0978)], 0xAD);
}

TEST_F(PrgExport, GraphicsBlocksAndBackground) {
  Bytes prg = build(hires);
  expect_block(prg, 6145, picture_data.bitmap, 8000);
  expect_block(prg, 14145, picture_data.screen, 1000);

  prg = build(mc);
  expect_block(prg, 6145, picture_data.bitmap, 8000);
  expect_block(prg, 14145, picture_data.screen, 1000);
  expect_block(prg, 15145, picture_data.color, 1000);
  EXPECT_EQ(prg[16145], 0x0B);

  for (unsigned char charset : {0, 1}) {
    picture_data.charset = charset;
    prg = build(petscii);
    EXPECT_EQ(prg[393], charset ? 0x17 : 0x15);
    expect_block(prg, 2049, picture_data.screen, 1000);
    expect_block(prg, 3049, picture_data.color, 1000);
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
  expect_block(prg, 6145, expected.bitmap, 8000);
  expect_block(prg, 14145, expected.screen, 1000);
  expect_block(prg, 15145, expected.color, 1000);
  EXPECT_EQ(prg[16145], 0x0B);
  EXPECT_EQ(build(mc), prg);  // a second export gives the same file
}

TEST_F(PrgExport, ColourTablesFromTheActiveMode) {
  const int left = 770, right = 1026;
  // No bars: the border colour everywhere.
  for (int mode : {1, 0}) {
    interface_extended = mode;
    const Bytes prg = build(hires);
    EXPECT_EQ(Bytes(prg.begin() + left, prg.begin() + left + 200), Bytes(200, 6));
    EXPECT_EQ(Bytes(prg.begin() + right, prg.begin() + right + 200), Bytes(200, 6));
  }

  // Extended: a bar on lines 100..104 left, one on 245..264 right (only 245..250 count).
  add_extended_bar(1, 100, 5, 7);
  add_extended_bar(0, 245, 20, 3);
  // Compact: lines 40..60 left, 250..260 right; switched off, these must not show.
  paint_compact_lines(1, 40, 60, 2);
  paint_compact_lines(0, 250, 260, 4);
  struct Expect {
    int mode;
    int side_offset, first, last, colour;
  };
  for (const Expect &e : {Expect{1, left, 49, 53, 7}, Expect{1, right, 194, 199, 3}, Expect{0, left, 0, 9, 2},
                          Expect{0, right, 199, 199, 4}}) {
    interface_extended = e.mode;
    const Bytes prg = build(petscii);
    for (int i = 0; i < 200; ++i)
      ASSERT_EQ(prg[e.side_offset + i], i >= e.first && i <= e.last ? e.colour : 6)
          << "mode " << e.mode << " table " << e.side_offset << " entry " << i;
  }
}

TEST_F(PrgExport, WriteFailureIsReported) {
  picture_data.format = 2;
  const std::string path = dir.file("missing/out.prg");
  EXPECT_EQ(export_hires_to_executable(path.c_str()), 0);
  EXPECT_EQ(status_text().rfind(" Error: ", 0), 0u) << status_text();
  pump_events(20);
  EXPECT_EQ(close_message_boxes(), 1);
  EXPECT_EQ(export_mc_to_executable(dir.path().c_str()), 0);  // a folder is no file either
  EXPECT_EQ(close_message_boxes(), 1);
}

// The cruncher is run from the application's folder with the PRG as input and output;
// a stand-in script records its arguments and ends with the status it is told.
TEST_F(PrgExport, CruncherRun) {
  TempDir tools;
  const std::string script = tools.file("exomizer");
  write_text(script, "#!/bin/sh\nprintf '%s\\n' \"$@\" > \"$(dirname \"$0\")/args\"\nexit $(cat \"$(dirname \"$0\")/status\")\n");
  g_chmod(script.c_str(), 0755);
  app_folder = g_strdup(tools.path().c_str());
  const std::string prg = dir.file("my pic.prg");

  write_text(tools.file("status"), "0");
  EXPECT_EQ(export_run_cruncher(prg.c_str()), 1);
  EXPECT_EQ(status_text(), " Info: Successfully exported to executable PRG");
  EXPECT_EQ(read_text(tools.file("args")), "sfx\n2061\n" + prg + "\n-o\n" + prg + "\n-n\n");
  EXPECT_EQ(gdk_window_get_cursor(window_main->window), nullptr);

  controls_update_main_statusbar("before");
  write_text(tools.file("status"), "3");
  EXPECT_EQ(export_run_cruncher(prg.c_str()), 0);
  EXPECT_EQ(status_text(), "before");
  EXPECT_EQ(close_message_boxes(), 0);

  g_remove(script.c_str());
  EXPECT_EQ(export_run_cruncher(prg.c_str()), 0);
  EXPECT_EQ(status_text().rfind(" Error: ", 0), 0u) << status_text();
  EXPECT_EQ(close_message_boxes(), 1);
  EXPECT_EQ(gdk_window_get_cursor(window_main->window), nullptr);
}

TEST_F(PrgExport, NeedsAPicture) {
  picture_loaded = 0;
  on_menuitem_export_activate(nullptr, nullptr);
  EXPECT_EQ(status_text(), " Info: First open a picture or project");
}
