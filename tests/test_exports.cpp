// Executables played on the C64 model; the cruncher's call; the menu commands; the C64 preview.
#include <glib/gstdio.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <memory>

#include "bars_fixture.h"
#include "c64.h"
#include "file_commands.h"
#include "hiresdecoder.h"
#include "preview.h"

namespace {

struct Kind {
  const char *name;
  int (*write)(const char *);
  Bytes file;
  int reencode;
};
const Kind kKinds[] = {
    {"hires", export_hires_to_executable, picture_file(0x2000, 9009), 0},
    {"multicolour", export_mc_to_executable, picture_file(0x6000, 10003), 0},
    {"multicolour re-encoded", export_mc_to_executable, picture_file(0x6000, 10003), 1},
    {"petscii", export_petscii_to_executable, picture_file(0x1928, 2005, {{4, 0}}), 0},
    {"petscii lower case", export_petscii_to_executable, picture_file(0x1928, 2005, {{4, 1}}), 0},
};

// A stand-in cruncher in the application's folder: records its arguments, exits with `status`.
class PrgExport : public ExportTest {
 protected:
  void SetUp() override {
    ExportTest::SetUp();
    write_text(cruncher.file("exomizer"),
               "#!/bin/sh\ncd \"$(dirname \"$0\")\"\nprintf '%s\\n' \"$@\" > args\nexit $(cat status)\n");
    g_chmod(cruncher.file("exomizer").c_str(), 0755);
    write_text(cruncher.file("status"), "0");
    g_free(app_folder);
    app_folder = g_strdup(cruncher.path().c_str());
  }
  TempDir cruncher;
};

}  // namespace

// Each kind with Compact and Extended bars in turn (gaps, overlaps, past line 250) shows the
// editor's picture and every line's bar or the border colour (6); the record stays as it was.
TEST_F(PrgExport, PlayerShowsThePictureAndPlaysTheBars) {
  Bars left_bars{{245, 20, 3}}, right_bars;
  for (int k = 0; k < 28; ++k) left_bars.push_back({51 + 7 * k, 4, k % 16});
  left_bars.push_back({102, 10, 15});
  std::sort(left_bars.begin(), left_bars.end());  // as the list keeps them
  for (int k = 0; k < 18; ++k) right_bars.push_back({53 + 11 * k, 1 + k % 6, (k * 3 + 1) % 16});
  std::vector<int> left_lines = painted({}), right_lines = painted({});
  for (int line = 40; line <= 260; ++line) left_lines[line] = line % 5 ? line % 16 : -1;
  for (int line = 100; line < 200; ++line) right_lines[line] = (line * 5 + 3) % 16;

  for (const Kind &kind : kKinds) {
    interface_extended = (&kind - kKinds) % 2;  // Compact and Extended in turn
    SCOPED_TRACE(std::string(kind.name) + (interface_extended ? ", Extended" : ", Compact"));
    set_bars(1, left_bars), set_bars(0, right_bars);
    set_lines(1, left_lines), set_lines(0, right_lines);
    std::vector<int> want[2] = {interface_extended ? painted(right_bars, 6) : right_lines,
                                interface_extended ? painted(left_bars, 6) : left_lines};
    for (std::vector<int> &side : want) std::replace(side.begin(), side.end(), -1, 6);

    write_file(dir.file("picture"), kind.file);
    ASSERT_EQ(open_picture(dir.file("picture").c_str(), 0), 1);
    options_reencode_graphics = kind.reencode;
    const PictureData before = picture_data;
    ASSERT_EQ(kind.write(dir.file("out.prg").c_str()), 1);
    EXPECT_EQ(std::memcmp(&before, &picture_data, sizeof(PictureData)), 0);
    const std::string text = read_text(dir.file("out.prg"));
    if (kind.reencode) {  // the option is honoured: the same image in other bytes
      options_reencode_graphics = 0;
      ASSERT_EQ(kind.write(dir.file("plain.prg").c_str()), 1);
      EXPECT_NE(read_text(dir.file("plain.prg")), text);
    }

    auto m = std::make_unique<C64>();
    ASSERT_TRUE(c64_start(m.get(), Bytes(text.begin(), text.end())));
    c64_run_frames(m.get(), 45);
    ASSERT_FALSE(m->cpu.jammed) << std::hex << m->cpu.pc;
    const uint8_t *frame = vic2_frame(&m->vic);
    int differing = 0;
    for (int y = 0; y < picture_height; y++)
      for (int x = 0; x < picture_width; x++)
        differing += rgb_of(frame[(first_picture_line + y) * vic2_frame_width(&m->vic) + kVic2GraphicsLeft + x]) !=
                     pixel_at(pixbuf_picture, x, y);
    EXPECT_EQ(differing, 0) << "picture pixels unlike the editor's";

    // Each visible line's left and right colour: the bars on lines 51..250, else the border's.
    const Vic2ModelInfo *model = m->vic.model;
    std::vector<int> shown, wanted;
    for (int line = model->first_line; line < model->first_line + model->visible_lines; ++line) {
      const bool bar = line >= first_picture_line && line <= last_picture_line;
      for (int side : {1, 0}) {
        shown.push_back(vic2_side_border_colour(model, frame, line, side));
        wanted.push_back(bar ? want[side][line] : 6);
      }
    }
    EXPECT_EQ(shown, wanted);
  }
}

// A failed write (naming the file) and a missing cruncher are errors; the cruncher gets the
// name as one argument whatever it holds, and its exit status decides what is reported.
TEST_F(PrgExport, CruncherAndFailures) {
  EXPECT_EQ(export_hires_to_executable(dir.file("missing/out.prg").c_str()), 0);
  EXPECT_TRUE(status_text().starts_with(" Error: ")) << status_text();
  EXPECT_NE(status_text().find(dir.file("missing/out.prg")), status_text().find(dir.file("missing/out.prg.")));
  EXPECT_EQ(close_error_boxes(), 1);
  controls_update_main_statusbar("");
  for (const char *name : {"a \"quoted\" it's back\\slash $HOME.prg", "x\" -o \"elsewhere.prg"}) {
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

// The name suggested from the project or else the picture, the extension added unless typed, the
// executable's kind by format (0: none). The PNG keeps the zoom and shows a bar past the picture.
TEST_F(PrgExport, MenuCommands) {
  using Writer = int (*)(const char *);
  for (auto [project, format, typed, suggested, written, write] :
       {std::tuple<const char *, unsigned, const char *, const char *, const char *, Writer>{
            nullptr, 6, "out", "pic.prg", "out.prg", export_mc_to_executable},
        {"/pics/demo.ini", 2, "OUT.PRG", "demo.prg", "OUT.PRG", export_hires_to_executable},
        {nullptr, 1, "x.Prg", "pic.prg", "x.Prg.prg", export_petscii_to_executable},
        {nullptr, 0, "none", "pic.prg", "none.prg", nullptr}}) {
    set_file_names(project, "/pics/pic.koa");
    picture_data.format = format;
    std::string offered, direct;
    answer_save_chooser(dir.path(), typed, &offered);
    on_menuitem_export_activate(nullptr, nullptr);
    EXPECT_EQ(offered, suggested);
    if (write && write(dir.file("direct.prg").c_str())) direct = read_text(dir.file("direct.prg"));
    const std::string path = dir.file(written);
    EXPECT_EQ(g_file_test(path.c_str(), G_FILE_TEST_EXISTS) ? read_text(path) : "", direct) << typed;
  }

  write_file(dir.file("pic.art"), art_studio_picture(0x10, 6));
  ASSERT_EQ(open_picture(dir.file("pic.art").c_str(), 1), 1);
  options_expansion = 3;
  interface_extended = 1;
  rastermodel_set_rows(side_left, {{240, 43, 7}});  // drawn past the picture, down to line 282
  set_file_names("/pics/demo.ini", "/pics/logo.kla");
  answer_next_dialog(GTK_RESPONSE_OK, [this](GtkWidget *chooser) { choose_path(chooser, dir.file("shot.png")); });
  on_menuitem_export_to_png_activate(nullptr, nullptr);
  EXPECT_EQ(options_expansion, 3);
  GdkPixbuf *png = gdk_pixbuf_new_from_file(dir.file("shot.png").c_str(), nullptr);
  ASSERT_NE(png, nullptr);
  for (auto [line, colour] : {std::pair{239, border_color_index}, {240, 7}, {282, 7}, {283, border_color_index}})
    EXPECT_EQ(pixel_at(png, 10, line - png_first_line), rgb_of(colour)) << line;
  g_object_unref(png);
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

// Each machine plays the editor's bars at once, crunched or not (the same pixels); Restart takes
// a change; frames follow the clock only while shown; a bar past line 250 is named.
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
  EXPECT_EQ(status(), "PAL-N 6572, frame " + std::to_string(preview_fast_forward_frames) + ": Bars match the editor");
  EXPECT_EQ(shown(screen(), VIC2_PALN_6572, 470, 130), rgb_of(2));
  pump_events(300);
  EXPECT_NEAR(preview_frames(), preview_fast_forward_frames + 15, 5);  // about 15 more in 300 ms
  gtk_widget_hide(window_preview);
  pump_events(100);
  const uint64_t hidden = preview_frames();
  pump_events(200);
  EXPECT_EQ(preview_frames(), hidden);
  gtk_widget_show(window_preview);
  pump_events(200);
  EXPECT_GT(preview_frames(), hidden);

  gtk_combo_box_set_active(GTK_COMBO_BOX(widget("combobox_preview_machine")), 0);
  activate("menuitem_interface_extended");
  set_bars(1, {{240, 43, 1}});
  gtk_button_clicked(GTK_BUTTON(widget("button_preview_restart")));
  EXPECT_EQ(status(), "PAL 6569, frame " + std::to_string(preview_fast_forward_frames) +
                          ": 32 lines differ from the editor, from line 251: the left bar at line 240 (height 43) "
                          "runs past line 250");
  gtk_widget_destroy(window_preview);
  EXPECT_FALSE(preview_running());
}

// A line counts when a visible side border segment is not wholly the editor's colour.
TEST(PreviewCount, CountsLinesThatDiffer) {
  const Vic2ModelInfo *model = &vic2_models[VIC2_PAL_6569];
  const int width = model->cycles_per_line * 8;
  const std::vector<uint8_t> frame(static_cast<size_t>(width) * model->lines, 3);
  EditorBorders editor;
  editor.border = 3;
  for (auto [line, x, differing] : {std::tuple{51, model->first_x, 1},
                                    {250, model->last_x, 1},
                                    {100, kVic2GraphicsLeft - 1, 1},
                                    {100, kVic2GraphicsLeft + picture_width, 1},
                                    {100, model->first_x - 1, 0},
                                    {100, kVic2GraphicsLeft, 0},
                                    {15, 100, 0},
                                    {288, 100, 0}}) {
    std::vector<uint8_t> changed = frame;
    changed[line * width + x] = 9;
    EXPECT_EQ(verdict_compare(model, changed.data(), editor).lines.size(), size_t(differing)) << line << "," << x;
  }
}
