// The two exports, written to real files. The PRG of each picture kind run on the C64 model
// (the picture data in place, the mode registers, the bars of both sides line by line in the
// side borders), its colour tables from both input modes, re-encoding, failures, the cruncher
// and the menu command; the PNG screenshot of 384 x 272 drawn 1:1 whatever the zoom. Tools >
// Preview on C64: the window runs the exported program on each machine at the editor's zoom,
// counts lines against the editor's bars, keeps real time only while it can be seen, and lets
// go of the machine when closed.
#include <glib/gstdio.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <memory>

#include "c64.h"
#include "file_commands.h"
#include "preview.h"
#include "prg_templates.h"
#include "reencode.h"

namespace {

using Bytes = std::vector<unsigned char>;

struct Kind {
  const char *name;
  int (*write)(const char *);
  unsigned format, charset;
  size_t length;
  uint8_t d011, d016, d018;  // the mode registers the player sets
  bool colour;               // colour RAM and background come from the picture
};
const Kind kKinds[] = {
    {"hires", export_hires_to_executable, 2, 0, prg_offset(0x4328), 0x3B, 0xC8, 0x18, false},
    {"multicolour", export_mc_to_executable, 6, 0, prg_offset(0x4711), 0x3B, 0xD8, 0x18, true},
    {"petscii", export_petscii_to_executable, 1, 0, prg_offset(0x17D1), 0x1B, 0xC8, 0x15, true},
    {"petscii lower case", export_petscii_to_executable, 1, 1, prg_offset(0x17D1), 0x1B, 0xC8, 0x17, true},
};
const Kind &kHires = kKinds[0], &kMc = kKinds[1], &kPetscii = kKinds[2];

// A picture whose bitmap, screen and colour bytes are easy to tell apart, background 0x1B,
// and a stand-in cruncher in the application's folder that records its arguments and ends
// with the status it is told.
class PrgExport : public ExportTest {
 protected:
  void SetUp() override {
    ExportTest::SetUp();
    for (int i = 0; i < 8000; ++i) picture_data.bitmap[i] = static_cast<unsigned char>(i * 13 + 5);
    for (int i = 0; i < 1000; ++i) picture_data.screen[i] = i * 7 + 1, picture_data.color[i] = i * 3 + 2;
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
    picture_data.charset = kind.charset;
    EXPECT_EQ(kind.write(dir.file("out.prg").c_str()), 1);
    const std::string text = read_text(dir.file("out.prg"));
    return Bytes(text.begin(), text.end());
  }
  TempDir cruncher;
};

}  // namespace

// Each kind, with Compact colours that change on every line and Extended bars of varied
// heights and gaps in turn, run on the C64 model well after the fade (16 steps of two
// frames, then a frame each for blanking, copying and the mode set-up).
TEST_F(PrgExport, PlayerShowsThePictureAndPlaysTheBars) {
  for (int line = first_picture_line; line <= last_picture_line; ++line)
    colors_left[line] = line % 16, colors_right[line] = (line * 5 + 3) % 16;
  for (int k = 0; k < 28; ++k)
    gtk_list_store_insert_with_values(model_rasters_left, nullptr, -1, 0, 51 + 7 * k, 1, 4, 2, k % 16, -1);
  for (int k = 0; k < 18; ++k)
    gtk_list_store_insert_with_values(model_rasters_right, nullptr, -1, 0, 53 + 11 * k, 1, 1 + k % 6, 2,
                                      (k * 3 + 1) % 16, -1);
  for (const Kind &kind : kKinds) {
    SCOPED_TRACE(kind.name);
    interface_extended = (&kind - kKinds) % 2;  // Compact and Extended in turn
    const Bytes prg = build(kind);
    ASSERT_EQ(prg.size(), kind.length);
    // The tables at $0B01 and $0C01.
    const Bytes left(prg.begin() + prg_offset(0x0B01), prg.begin() + prg_offset(0x0B01) + picture_lines),
        right(prg.begin() + prg_offset(0x0C01), prg.begin() + prg_offset(0x0C01) + picture_lines);
    ASSERT_GT(std::count_if(left.begin(), left.end(), [](int c) { return c != 6; }), 100);
    ASSERT_GT(std::count_if(right.begin(), right.end(), [](int c) { return c != 6; }), 50);

    auto m = std::make_unique<C64>();
    ASSERT_TRUE(c64_start(m.get(), prg));
    c64_run_frames(m.get(), 45);
    ASSERT_FALSE(m->cpu.jammed) << std::hex << m->cpu.pc;
    EXPECT_EQ(Bytes(m->ram + 0x0400, m->ram + 0x07E8), Bytes(picture_data.screen, picture_data.screen + 1000));
    if (kind.format != 1) {
      EXPECT_EQ(Bytes(m->ram + 0x2000, m->ram + 0x3F40), Bytes(picture_data.bitmap, picture_data.bitmap + 8000));
    }
    if (kind.colour) {
      for (int i = 0; i < 1000; ++i) ASSERT_EQ(m->color_ram[i], picture_data.color[i] & 15) << i;
      EXPECT_EQ(prg.back(), 0x0B);  // the background with its upper bits cleared
      EXPECT_EQ(m->vic.regs.reg[VIC2_BACKGROUND0], 0x0B);
    }
    EXPECT_EQ((Bytes{m->vic.regs.reg[VIC2_CTRL1], m->vic.regs.reg[VIC2_CTRL2], m->vic.regs.reg[VIC2_MEMORY],
                     m->vic.regs.reg[VIC2_SPRITE_ENABLE]}),
              (Bytes{kind.d011, kind.d016, kind.d018, 0}));

    // Each visible line's left and right colour: the tables' on lines 51..250, else the border's.
    const Vic2ModelInfo *model = m->vic.model;
    std::vector<int> shown, wanted;
    for (int line = model->first_line; line < model->first_line + model->visible_lines; ++line) {
      const int i = line - first_picture_line;
      const bool bar = line >= first_picture_line && line <= last_picture_line;
      for (int side : {1, 0}) shown.push_back(vic2_side_border_colour(model, vic2_frame(&m->vic), line, side));
      wanted.insert(wanted.end(), {bar ? left[i] : 6, bar ? right[i] : 6});
    }
    EXPECT_EQ(shown, wanted);
    // The writes behind it, in order: left of 51, then per line its right colour and the next
    // line's left colour, the border colour last; none in the frame outside lines 50..250.
    std::vector<int> expected, written;
    for (int i = 0; i < picture_lines; ++i) expected.insert(expected.end(), {left[i], right[i]});
    expected.push_back(6);
    for (const C64BorderWrite &w : m->last_border_writes) {
      EXPECT_TRUE(w.line >= first_picture_line - 1 && w.line <= last_picture_line) << w.line << ":" << int(w.cycle);
      written.push_back(w.value);
    }
    EXPECT_EQ(written, expected);
  }
}

TEST_F(PrgExport, ReencodedGraphicsWhenTheOptionIsOn) {
  picture_data.format = kMc.format;
  const PictureData before = picture_data;
  options_reencode_graphics = 1;
  const Bytes prg = build(kMc);
  EXPECT_EQ(std::memcmp(&before, &picture_data, sizeof(PictureData)), 0);
  PictureData expected{};
  reencode_process_picture_mc(&picture_data, &expected);
  ASSERT_NE(std::memcmp(expected.screen, picture_data.screen, 1000), 0);  // it does change this picture
  ASSERT_EQ(prg.size(), kMc.length);
  const auto *graphics = reinterpret_cast<const unsigned char *>(&expected);  // bitmap, screen, colour
  EXPECT_EQ(Bytes(prg.begin() + prg_offset(0x2000), prg.end() - 1), Bytes(graphics, graphics + 10000));
}

// Both tables (raster lines 51..250) come from the active input mode, and hold the border
// colour where it has no bars: first with no bars at all, then with Extended bars on lines
// 100..104 left and 245..264 right, and Compact colours on 40..60 left and 250..260 right.
TEST_F(PrgExport, ColourTablesFromTheActiveMode) {
  // Input mode, table; its entries first..last in `colour`.
  const struct {
    int mode, table, first, last, colour;
  } expects[] = {{1, prg_offset(0x0B01), 49, 53, 7},
                 {1, prg_offset(0x0C01), 194, 199, 3},
                 {0, prg_offset(0x0B01), 0, 9, 2},
                 {0, prg_offset(0x0C01), 199, 199, 4}};
  for (bool bars : {false, true}) {
    if (bars) {
      gtk_list_store_insert_with_values(model_rasters_left, nullptr, -1, 0, 100, 1, 5, 2, 7, -1);
      gtk_list_store_insert_with_values(model_rasters_right, nullptr, -1, 0, 245, 1, 20, 2, 3, -1);
      for (int line = 40; line <= 60; ++line) colors_left[line] = 2;
      for (int line = 250; line <= 260; ++line) colors_right[line] = 4;
    }
    for (const auto &e : expects) {
      interface_extended = e.mode;
      const Bytes prg = build(kPetscii);
      for (int i = 0; i < picture_lines; ++i)
        ASSERT_EQ(prg[e.table + i], bars && i >= e.first && i <= e.last ? e.colour : 6)
            << bars << e.mode << e.table << " " << i;
    }
  }
}

// A failed write and a missing cruncher are errors; the cruncher gets the export's name as
// one argument whatever it holds (quotes, spaces, words that look like its own options), and
// its exit status decides whether success is reported.
TEST_F(PrgExport, CruncherAndFailures) {
  EXPECT_EQ(export_hires_to_executable(dir.file("missing/out.prg").c_str()), 0);
  EXPECT_TRUE(status_text().starts_with(" Error: ") && names_file(status_text(), dir.file("missing/out.prg")))
      << status_text();
  EXPECT_EQ(close_error_boxes(), 1);
  controls_update_main_statusbar("");
  for (const char *name : {"plain.prg", "two words.prg", "a \"quoted\" name.prg", "it's.prg", "x\" -o \"elsewhere.prg",
                           "back\\slash $HOME.prg"}) {
    const std::string prg = dir.file(name);
    EXPECT_EQ(export_run_cruncher(prg.c_str()), 1) << name;
    EXPECT_EQ(read_text(cruncher.file("args")), "sfx\n2061\n" + prg + "\n-o\n" + prg + "\n-n\n");
  }
  EXPECT_EQ(status_text(), " Info: Successfully exported to executable PRG");
  const std::string prg = dir.file("my pic.prg");
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
  for (auto [project, format, typed, suggested, written, length] :
       {std::tuple<const char *, unsigned, const char *, const char *, const char *, off_t>{
            nullptr, 6, "out", "pic.prg", "out.prg", kMc.length},
        {"/pics/demo.ini", 2, "OUT.PRG", "demo.prg", "OUT.PRG", kHires.length},
        {nullptr, 1, "x.Prg", "pic.prg", "x.Prg.prg", kPetscii.length},
        {nullptr, 0, "none", "pic.prg", "none.prg", 0}}) {
    set_file_names(project, "/pics/pic.koa");
    picture_data.format = format;
    std::string offered;
    answer_save_chooser(dir.path(), typed, &offered);
    on_menuitem_export_activate(nullptr, nullptr);
    EXPECT_EQ(offered, suggested);
    GStatBuf file{};
    EXPECT_EQ(g_stat(dir.file(written).c_str(), &file) == 0 ? file.st_size : 0, length) << typed;
  }
}

using PngExport = ExportTest;

// A plain picture of colour 2, and in Compact mode bars of colour 5 (left) and 7 (right) on
// lines 51..60, exported at zoom 3 under the project's name.
TEST_F(PngExport, ScreenshotThroughTheMenu) {
  if (pixbuf_picture) g_object_unref(pixbuf_picture);
  pixbuf_picture = gdk_pixbuf_new(GDK_COLORSPACE_RGB, TRUE, 8, 320, 200);
  gdk_pixbuf_fill(pixbuf_picture, rgb_of(2) << 8 | 0xFF);
  interface_extended = 0;
  for (int line = 51; line <= 60; ++line) colors_left[line] = 5, colors_right[line] = 7;
  options_expansion = 3;
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

namespace {

class Preview : public ExportTest {
 protected:
  void SetUp() override {
    ExportTest::SetUp();
    write_file(dir.file("pic.art"), art_studio_picture(0x10, 6));  // white ink on black paper
    ASSERT_EQ(open_picture(dir.file("pic.art").c_str(), 1), 1);
    // Compact mode bars: a different colour on every line of the left border, one bar right.
    activate("menuitem_interface_compact");
    for (int line = 51; line <= 250; line++) colors_left[line] = line % 16;
    for (int line = 100; line < 120; line++) colors_right[line] = 7;
  }
  void TearDown() override {
    if (window_preview) gtk_widget_destroy(window_preview);
  }
  static GtkWidget *widget(const char *name) { return lookup_widget(window_preview, name); }
  static std::string status() { return gtk_label_get_text(GTK_LABEL(widget("label_preview_status"))); }
  // What the preview shows: its width, then every pixel row by row.
  static std::vector<unsigned> screen() {
    GdkPixbuf *grab = grab_widget(widget("drawingarea_preview"));
    const int width = gdk_pixbuf_get_width(grab), height = gdk_pixbuf_get_height(grab);
    std::vector<unsigned> pixels = {unsigned(width)};
    for (int y = 0; y < height; y++)
      for (int x = 0; x < width; x++) pixels.push_back(pixel_at(grab, x, y));
    g_object_unref(grab);
    return pixels;
  }
  // The colour shown at frame pixel x of raster line `line` of that machine.
  static unsigned shown(const std::vector<unsigned> &screen, Vic2Model model, int x, int line) {
    const int z = options_expansion;
    const Vic2ModelInfo &m = vic2_models[model];
    return screen[1 + ((line - m.first_line) * z + z / 2) * screen[0] + (x - m.first_x) * z + z / 2];
  }
};

}  // namespace

// Each machine runs the program past its fade at once and plays the editor's bars, and so does
// the crunched program once it has unpacked itself, showing the very same pixels; a changed bar
// reaches the machine on Restart. Without a picture nothing opens.
TEST_F(Preview, RunsTheExportOnEachMachine) {
  activate("menuitem_zoom_2x");
  activate("menuitem_tools_preview");
  ASSERT_NE(window_preview, nullptr);
  EXPECT_FALSE(gtk_toggle_button_get_active(GTK_TOGGLE_BUTTON(widget("checkbutton_preview_crunched"))));
  std::map<std::pair<int, bool>, std::vector<unsigned>> screens;  // by machine and crunching
  for (auto [active, model, name, crunched] : {std::tuple{0, VIC2_PAL_6569, "PAL 6569", false},
                                               {0, VIC2_PAL_6569, "PAL 6569", true},
                                               {1, VIC2_NTSC_6567R8, "NTSC 6567R8", true},
                                               {1, VIC2_NTSC_6567R8, "NTSC 6567R8", false},
                                               {2, VIC2_PALN_6572, "PAL-N 6572", false}}) {
    SCOPED_TRACE(std::string(name) + (crunched ? " crunched" : ""));
    gtk_toggle_button_set_active(GTK_TOGGLE_BUTTON(widget("checkbutton_preview_crunched")), crunched);
    gtk_combo_box_set_active(GTK_COMBO_BOX(widget("combobox_preview_machine")), active);
    const int frame = crunched ? preview_crunched_fast_forward_frames : preview_fast_forward_frames;
    // Before the timer's first tick.
    EXPECT_EQ(status(), std::string(name) + ", frame " + std::to_string(frame) + ": Bars match the editor");
    const std::vector<unsigned> &s = screens[{active, crunched}] = screen();
    EXPECT_EQ(shown(s, model, 100, 60), rgb_of(60 % 16));  // left border
    EXPECT_EQ(shown(s, model, 470, 110), rgb_of(7));       // right border bar
    EXPECT_EQ(shown(s, model, 470, 130), rgb_of(6));
    EXPECT_EQ(shown(s, model, 200, 60), rgb_of(0));  // the picture's black paper
  }
  for (int active : {0, 1}) EXPECT_TRUE((screens[{active, false}] == screens[{active, true}])) << active;
  colors_right[130] = 2;
  gtk_button_clicked(GTK_BUTTON(widget("button_preview_restart")));
  EXPECT_EQ(status(), "PAL-N 6572, frame 60: Bars match the editor");
  EXPECT_EQ(shown(screen(), VIC2_PALN_6572, 470, 130), rgb_of(2));

  gtk_widget_destroy(window_preview);
  picture_loaded = 0;
  activate("menuitem_tools_preview");
  EXPECT_EQ(window_preview, nullptr);
  EXPECT_EQ(status_text(), " Info: First open a picture or project");
}

// The frames follow the clock while the window shows; hidden, the machine stands still;
// closed, it is gone.
TEST_F(Preview, RunsInRealTimeOnlyWhileShown) {
  activate("menuitem_tools_preview");
  pump_events(300);
  EXPECT_TRUE(preview_running());
  EXPECT_NEAR(preview_frames(), 75, 5);  // 60 fast-forwarded, then about 15 in 300 ms
  gtk_widget_hide(window_preview);
  pump_events(100);
  EXPECT_FALSE(preview_running());
  const uint64_t hidden = preview_frames();
  pump_events(200);
  EXPECT_EQ(preview_frames(), hidden);
  gtk_widget_show(window_preview);
  pump_events(200);
  EXPECT_TRUE(preview_running());
  EXPECT_GT(preview_frames(), hidden);
  gtk_widget_destroy(window_preview);
  EXPECT_EQ(window_preview, nullptr);
  EXPECT_FALSE(preview_running());
  EXPECT_EQ(preview_frames(), 0u);
}

// A line counts when either of its visible side border segments is not wholly the colour the
// editor draws there, on every line both show.
TEST(PreviewCount, CountsLinesThatDiffer) {
  const Vic2ModelInfo *model = &vic2_models[VIC2_PAL_6569];
  const int width = model->cycles_per_line * 8;
  const std::vector<uint8_t> frame(static_cast<size_t>(width) * model->lines, 3);
  EditorBorders editor;
  editor.border = 3;
  for (auto [line, x, differing] : {std::tuple{51, model->first_x, 1},
                                    {250, model->last_x, 1},
                                    {100, 135, 1},
                                    {100, 456, 1},
                                    {100, model->first_x - 1, 0},
                                    {100, 136, 0},
                                    {16, 100, 1},
                                    {287, 100, 1},
                                    {15, 100, 0},
                                    {288, 100, 0}}) {
    std::vector<uint8_t> changed = frame;
    changed[line * width + x] = 9;
    EXPECT_EQ(verdict_compare(model, changed.data(), editor).lines.size(), size_t(differing)) << line << "," << x;
  }
  editor.bars[0] = {{51, 1, 4}};
  EXPECT_EQ(verdict_compare(model, frame.data(), editor).lines, std::vector<int>{51});
}
