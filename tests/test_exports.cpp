// The two exports, written to real files: the PRG of each picture kind, its colour tables
// from both input modes, re-encoding, failures, the cruncher and the menu command; the PNG
// screenshot of 384 x 272 drawn 1:1 whatever the zoom, through the menu.
#include <glib/gstdio.h>

#include <cstring>
#include <random>

#include "file_commands.h"
#include "reencode.h"

namespace {

using Bytes = std::vector<unsigned char>;
// The file offset of a C64 address: the program loads at $0801, after its 2-byte load address.
constexpr int at(unsigned address) { return static_cast<int>(address) - 0x07FF; }
struct Kind {
  int (*write)(const char *);
  unsigned format;
  size_t length;
};
const Kind hires{export_hires_to_executable, 2, at(0x4328)}, mc{export_mc_to_executable, 6, at(0x4711)},
    petscii{export_petscii_to_executable, 1, at(0x17D1)};

// A picture of random bytes with background 0x1B, and a stand-in cruncher in the
// application's folder that records its arguments and ends with the status it is told.
class PrgExport : public ExportTest {
 protected:
  void SetUp() override {
    ExportTest::SetUp();
    std::mt19937 random(77);
    for (auto *block : {picture_data.bitmap, picture_data.screen, picture_data.color})
      for (int i = 0; i < (block == picture_data.bitmap ? 8000 : 1000); ++i)
        block[i] = static_cast<unsigned char>(random());
    picture_data.background = 0x1B;
    picture_data.charset = 0;
    write_text(cruncher.file("exomizer"),
               "#!/bin/sh\ncd \"$(dirname \"$0\")\"\nprintf '%s\\n' \"$@\" > args\nexit $(cat status)\n");
    g_chmod(cruncher.file("exomizer").c_str(), 0755);
    write_text(cruncher.file("status"), "0");
    app_folder = g_strdup(cruncher.path().c_str());
  }
  Bytes build(const Kind &kind) {
    picture_data.format = kind.format;
    EXPECT_EQ(kind.write(dir.file("out.prg").c_str()), 1);
    const std::string text = read_text(dir.file("out.prg"));
    return Bytes(text.begin(), text.end());
  }
  TempDir cruncher;
};

}  // namespace

// Each kind's size, load address and template start, the bytes patched for its mode, the
// border colour at $0D00 and the background with its upper bits cleared. $0988 is also the
// PETSCII character set's byte.
TEST_F(PrgExport, LayoutOfEachKind) {
  const std::vector<std::pair<Kind, Bytes>> kinds = {
      {hires, {0x5E, 0, 0, 0, 0x3F}}, {mc, {0x7F, 0x3B, 0x18, 0xD8, 0x3F}}, {petscii, {0x7F, 0x1B, 0x15, 0xC8, 0x10}}};
  for (auto [kind, patched] : kinds) {
    const Bytes prg = build(kind);
    ASSERT_EQ(prg.size(), kind.length);
    EXPECT_EQ(Bytes(prg.begin(), prg.begin() + 11),
              (Bytes{0x01, 0x08, 0x0B, 0x08, 0x0A, 0x00, 0x9E, 0x32, 0x30, 0x36, 0x31}));
    EXPECT_EQ((Bytes{prg[at(0x0822)], prg[at(0x0983)], prg[at(0x0988)], prg[at(0x098D)], prg[at(0x0944)]}), patched)
        << kind.length;
    EXPECT_EQ(prg[at(0x0D00)], 6) << kind.length;
    if (kind.format != 2) {
      EXPECT_EQ(prg.back(), 0x0B) << kind.length;
    }
  }
  picture_data.charset = 1;  // lower case
  EXPECT_EQ(build(petscii)[at(0x0988)], 0x17);
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
  ASSERT_EQ(prg.size(), mc.length);
  const auto *graphics = reinterpret_cast<const unsigned char *>(&expected);  // bitmap, screen, colour
  EXPECT_EQ(Bytes(prg.begin() + at(0x2000), prg.end() - 1), Bytes(graphics, graphics + 10000));
}

// Both tables (raster lines 51..250) come from the active input mode, and hold the border
// colour where it has no bars: first with no bars at all, then with Extended bars on lines
// 100..104 left and 245..264 right, and Compact colours on 40..60 left and 250..260 right.
TEST_F(PrgExport, ColourTablesFromTheActiveMode) {
  struct Expect {
    int mode, table, first, last, colour;
  };  // table entries first..last in `colour`
  const Expect expects[] = {
      {1, at(0x0B01), 49, 53, 7}, {1, at(0x0C01), 194, 199, 3}, {0, at(0x0B01), 0, 9, 2}, {0, at(0x0C01), 199, 199, 4}};
  for (bool bars : {false, true}) {
    if (bars) {
      gtk_list_store_insert_with_values(model_rasters_left, nullptr, -1, 0, 100, 1, 5, 2, 7,
                                        -1);  // line, height, colour
      gtk_list_store_insert_with_values(model_rasters_right, nullptr, -1, 0, 245, 1, 20, 2, 3, -1);
      for (int line = 40; line <= 60; ++line) colors_left[line] = 2;
      for (int line = 250; line <= 260; ++line) colors_right[line] = 4;
    }
    for (const Expect &e : expects) {
      interface_extended = e.mode;
      const Bytes prg = build(petscii);
      for (int i = 0; i < picture_lines; ++i)
        ASSERT_EQ(prg[e.table + i], bars && i >= e.first && i <= e.last ? e.colour : 6)
            << bars << e.mode << e.table << " " << i;
    }
  }
}

// A failed write and a missing cruncher are errors; the cruncher's arguments; its exit
// status decides whether success is reported.
TEST_F(PrgExport, CruncherAndFailures) {
  EXPECT_EQ(export_hires_to_executable(dir.file("missing/out.prg").c_str()), 0);
  EXPECT_TRUE(status_text().starts_with(" Error: ") && names_file(status_text(), dir.file("missing/out.prg")))
      << status_text();
  EXPECT_EQ(close_error_boxes(), 1);
  const std::string prg = dir.file("my pic.prg");
  EXPECT_EQ(export_run_cruncher(prg.c_str()), 1);
  EXPECT_EQ(status_text(), " Info: Successfully exported to executable PRG");
  EXPECT_EQ(read_text(cruncher.file("args")), "sfx\n2061\n" + prg + "\n-o\n" + prg + "\n-n\n");
  controls_update_main_statusbar("before");
  write_text(cruncher.file("status"), "3");
  EXPECT_EQ(export_run_cruncher(prg.c_str()), 0);
  EXPECT_EQ(status_text(), "before");
  g_remove(cruncher.file("exomizer").c_str());
  EXPECT_EQ(export_run_cruncher(prg.c_str()), 0);
  EXPECT_TRUE(status_text().starts_with(" Error: ")) << status_text();
  EXPECT_EQ(close_error_boxes(), 1);
}

// The menu command: the suggested name, the ".prg" rule and the kind by format (0: none).
TEST_F(PrgExport, MenuCommand) {
  struct Row {
    const char *project;
    unsigned format;
    const char *typed, *suggested, *written;
    off_t length;
  };
  const Row rows[] = {{nullptr, 6, "out", "pic.prg", "out.prg", off_t(mc.length)},
                      {"/pics/demo.ini", 2, "OUT.PRG", "demo.prg", "OUT.PRG", off_t(hires.length)},
                      {nullptr, 1, "x.Prg", "pic.prg", "x.Prg.prg", off_t(petscii.length)},
                      {nullptr, 0, "none", "pic.prg", "none.prg", 0}};
  for (const Row &row : rows) {
    set_file_names(row.project, "/pics/pic.koa");
    picture_data.format = row.format;
    std::string suggested;
    answer_save_chooser(dir.path(), row.typed, &suggested);
    on_menuitem_export_activate(nullptr, nullptr);
    EXPECT_EQ(suggested, row.suggested);
    GStatBuf file{};
    EXPECT_EQ(g_stat(dir.file(row.written).c_str(), &file) == 0 ? file.st_size : 0, row.length) << row.typed;
  }
}

using PngExport = ExportTest;

TEST_F(PngExport, ScreenshotThroughTheMenu) {
  // A plain picture of colour 2, and in Compact mode bars of colour 5 (left) and 7 (right) on lines 51..60.
  if (pixbuf_picture) g_object_unref(pixbuf_picture);
  pixbuf_picture = gdk_pixbuf_new(GDK_COLORSPACE_RGB, TRUE, 8, 320, 200);
  gdk_pixbuf_fill(pixbuf_picture, rgb_of(2) << 8 | 0xFF);
  interface_extended = 0;
  for (int line = 51; line <= 60; ++line) colors_left[line] = 5, colors_right[line] = 7;
  options_expansion = 3;
  // The name rules are shared with the executable export: here the project's name is offered.
  set_file_names("/pics/demo.ini", "/pics/logo.kla");
  std::string suggested;
  answer_save_chooser(dir.path(), "shot", &suggested);
  on_menuitem_export_to_png_activate(nullptr, nullptr);
  EXPECT_EQ(suggested, "demo.png");
  EXPECT_EQ(options_expansion, 3);
  GdkPixbuf *png = gdk_pixbuf_new_from_file(dir.file("shot.png").c_str(), nullptr);
  ASSERT_NE(png, nullptr);
  EXPECT_EQ((std::pair{gdk_pixbuf_get_width(png), gdk_pixbuf_get_height(png)}), (std::pair{384, 272}));
  // The bars in both side borders beside the picture's top lines, then the picture itself.
  const int points[][3] = {{0, 35, 5},  {31, 44, 5},   {0, 34, 6},    {0, 45, 6},   {32, 44, 2},  {351, 234, 2},
                           {32, 34, 6}, {352, 234, 6}, {351, 235, 6}, {352, 35, 7}, {383, 44, 7}, {352, 45, 6}};
  for (auto [x, y, colour] : points) EXPECT_EQ(pixel_at(png, x, y), rgb_of(colour)) << x << "," << y;
  g_object_unref(png);
  EXPECT_EQ(export_png_to_file(dir.file("missing/shot.png").c_str()), 0);
  EXPECT_EQ(status_text(), " Info: Failed to export project to PNG");
}
