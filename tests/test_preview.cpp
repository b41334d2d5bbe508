// Tools > Preview on C64: the window, built and found by name, runs the exported program on
// each machine, shows its frames at the editor's zoom, counts lines against the editor's bars,
// keeps real time only while it can be seen, and lets go of the machine when closed.
#include <cstring>
#include <map>

#include "c64.h"
#include "file_commands.h"
#include "preview.h"

namespace {

constexpr int kBorder = 6;

class Preview : public ExportTest {
 protected:
  void SetUp() override {
    ExportTest::SetUp();
    write_file(dir.file("pic.art"), art_studio_picture(0x10, kBorder));  // white ink on black paper
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
    EXPECT_EQ(shown(s, model, 470, 130), rgb_of(kBorder));
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

// A line counts when either of its visible side border segments is not wholly its colour.
TEST(PreviewCount, CountsLinesThatDiffer) {
  const Vic2ModelInfo *model = &vic2_models[VIC2_PAL_6569];
  const int width = model->cycles_per_line * 8;
  const std::vector<uint8_t> frame(static_cast<size_t>(width) * model->lines, 3);
  uint8_t left[200], right[200];
  std::memset(left, 3, sizeof left);
  std::memset(right, 3, sizeof right);
  for (auto [line, x, differing] : {std::tuple{51, model->first_x, 1},
                                    {250, model->last_x, 1},
                                    {100, 135, 1},
                                    {100, 456, 1},
                                    {100, model->first_x - 1, 0},
                                    {100, 136, 0},
                                    {50, 100, 0}}) {
    std::vector<uint8_t> changed = frame;
    changed[line * width + x] = 9;
    EXPECT_EQ(preview_count_differing_lines(model, changed.data(), left, right), differing) << line << "," << x;
  }
  right[0] = 4;
  EXPECT_EQ(preview_count_differing_lines(model, frame.data(), left, right), 1);
}
