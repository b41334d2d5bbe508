// The executable export with the project's own cruncher: export programs of every kind, from
// the sample pictures (when present) and from generated pictures, crunched and run on the
// 6502 core until they reach their start, must be back byte for byte; and the export
// command, with the built cruncher in the program's folder, writes a crunched program that
// plays the same bars on the C64 model as the uncrunched one.
#include <glib/gstdio.h>

#include <memory>

#include "c64.h"
#include "cruncher.h"
#include "file_commands.h"
#include "hiresdecoder.h"
#include "sfxrun.h"

namespace {

using Bytes = std::vector<unsigned char>;
constexpr long kTemplateStart = 2061;

Bytes read_bytes(const std::string &path) {
  const std::string text = read_text(path);
  return Bytes(text.begin(), text.end());
}

int (*writer_for(unsigned format))(const char *) {
  return format == 1   ? export_petscii_to_executable
         : format <= 5 ? export_hires_to_executable
                       : export_mc_to_executable;
}

// A picture of each kind with structure and noise, as pictures have.
void generate_picture(unsigned format, unsigned seed) {
  picture_data = PictureData{};
  picture_data.format = format;
  picture_data.charset = seed & 1;
  unsigned x = seed * 2654435761u;
  auto noise = [&] { return x = x * 1103515245 + 12345, x >> 24; };
  for (int i = 0; i < 8000; ++i)
    picture_data.bitmap[i] = static_cast<unsigned char>(i / 320 % 3 == 0 ? 0 : i % 8 < 4 ? 0xAA : noise());
  for (int i = 0; i < 1000; ++i) {
    picture_data.screen[i] = static_cast<unsigned char>(i % 40 < 20 ? 0x10 : noise());
    picture_data.color[i] = static_cast<unsigned char>(i / 40);
  }
  picture_data.background = 0x1B;
}

class CrunchedExport : public ExportTest {
 protected:
  void SetUp() override {
    ExportTest::SetUp();
    interface_extended = 0;  // a few bars in Compact mode
    for (int line = 70; line < 90; ++line) colors_left[line] = line % 16;
    for (int line = 150; line < 160; ++line) colors_right[line] = 2;
  }
  // Exports the picture in picture_data, crunches it and runs it.
  void expect_round_trip(const std::string &what) {
    SCOPED_TRACE(what);
    const std::string path = dir.file("export.prg");
    ASSERT_EQ(writer_for(picture_data.format)(path.c_str()), 1);
    const Bytes prg = read_bytes(path);
    Bytes out;
    std::string error;
    ASSERT_TRUE(cruncher_crunch(prg, kTemplateStart, &out, &error)) << error;
    EXPECT_LT(out.size(), prg.size() / 2);
    SfxRun run;
    ASSERT_TRUE(sfx_run(out, kTemplateStart, &run));
    ASSERT_TRUE(run.reached);
    EXPECT_TRUE(std::equal(prg.begin() + 2, prg.end(), run.ram.begin() + kBasicStart)) << "program bytes differ";
    EXPECT_EQ(run.ram[1], 0x37);
    EXPECT_EQ(run.sp_after, run.sp_before);
  }
};

// Per visible raster line, the left then the right border colour a program shows on the C64
// model in the last frame of `frames`, started as RUN starts it (at its SYS line).
std::vector<int> borders_shown(const Bytes &prg, int frames) {
  auto m = std::make_unique<C64>();
  EXPECT_TRUE(c64_start(m.get(), prg));
  c64_run_frames(m.get(), frames);
  EXPECT_FALSE(m->cpu.jammed);
  const Vic2ModelInfo *model = m->vic.model;
  std::vector<int> shown;
  for (int line = model->first_line; line < model->first_line + model->visible_lines; ++line)
    for (int left : {1, 0}) shown.push_back(vic2_side_border_colour(model, vic2_frame(&m->vic), line, left));
  return shown;
}

}  // namespace

TEST_F(CrunchedExport, SamplePicturesComeBackByteForByte) {
  const std::string folder = shared_data("pictures");
  SKIP_WITHOUT_SHARED(folder);
  GDir *dir_handle = g_dir_open(folder.c_str(), 0, nullptr);
  ASSERT_NE(dir_handle, nullptr);
  int pictures = 0;
  for (const gchar *name; (name = g_dir_read_name(dir_handle));) {
    GdkPixbuf *image = nullptr;
    if (!hiresdecoder_decode_hires_screen_file((folder + "/" + name).c_str(), 0, &image, &picture_data, nullptr))
      continue;
    g_object_unref(image);
    ++pictures;
    for (int reencode : {0, 1}) {
      if (reencode && picture_data.format <= 5) continue;
      options_reencode_graphics = reencode;
      expect_round_trip(std::string(name) + (reencode ? " re-encoded" : ""));
    }
  }
  g_dir_close(dir_handle);
  EXPECT_EQ(pictures, 20);
}

TEST_F(CrunchedExport, GeneratedPicturesOfEachKindComeBack) {
  struct Row {
    const char *what;
    unsigned format;
    int reencode;
  };
  const Row rows[] = {{"hires", 2, 0},
                      {"multicolour", 6, 0},
                      {"multicolour re-encoded", 7, 1},
                      {"petscii", 1, 0},
                      {"petscii lower case", 1, 0}};
  unsigned seed = 0;
  for (const Row &row : rows) {
    generate_picture(row.format, seed++);
    options_reencode_graphics = row.reencode;
    expect_round_trip(row.what);
  }
}

// The menu command with the built cruncher beside the program: success is reported, the
// file is crunched in place, and on the C64 model it shows the same bars as the program
// before crunching, after its unpacking time.
TEST_F(CrunchedExport, ExportCommandWritesACrunchedProgramThatPlaysTheSameBars) {
  gchar *folder = g_path_get_dirname(QUILLBAR_CRUNCHER);
  g_free(app_folder);
  app_folder = folder;
  unsigned seed = 7;
  for (unsigned format : {2u, 6u, 1u}) {
    SCOPED_TRACE(format);
    generate_picture(format, seed++);
    set_file_names(nullptr, "/pics/pic.koa");
    ASSERT_EQ(writer_for(format)(dir.file("plain.prg").c_str()), 1);
    const Bytes plain = read_bytes(dir.file("plain.prg"));
    std::string suggested;
    answer_save_chooser(dir.path(), "crunched", &suggested);
    on_menuitem_export_activate(nullptr, nullptr);
    EXPECT_EQ(status_text(), " Info: Successfully exported to executable PRG");
    const Bytes crunched = read_bytes(dir.file("crunched.prg"));
    ASSERT_LT(crunched.size(), plain.size());
    const long entry = cruncher_entry(crunched);
    ASSERT_GT(entry, kTemplateStart);  // its own SYS line, into the decruncher
    const std::vector<int> before = borders_shown(plain, 60);
    const int first = 2 * (75 - 16);  // line 75's left colour: two per line from line 16, the first one seen on PAL
    EXPECT_EQ((std::vector<int>{before[first], before[first + 1], before[first + 160], before[first + 161]}),
              (std::vector<int>{75 % 16, 6, 6, 2}));  // lines 75 and 155, left and right
    EXPECT_EQ(borders_shown(crunched, 160), before);
  }
}
