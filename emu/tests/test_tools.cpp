// The command-line tools as a user runs them: prgcheck prints the borders and writes the frame
// as a PNG of the whole raster; framecmp finds a stored frame equal, then points at the one
// pixel changed in it and writes a difference image.
#include <cairo.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <memory>

#include "c64.h"
#include "player.h"

namespace {

struct ToolRun {
  int status;
  std::string output;
};

ToolRun run(const std::string &command) {
  ToolRun result{-1, ""};
  FILE *pipe = popen((command + " 2>&1").c_str(), "r");
  if (!pipe) return result;
  char buffer[4096];
  while (size_t n = fread(buffer, 1, sizeof buffer, pipe)) result.output.append(buffer, n);
  const int status = pclose(pipe);
  result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return result;
}

std::string temp_path(const char *name) { return std::string(testing::TempDir()) + "quillbar-tools-" + name; }

void write(const std::string &path, const uint8_t *bytes, size_t size) {
  std::ofstream(path, std::ios::binary)
      .write(reinterpret_cast<const char *>(bytes), static_cast<std::streamsize>(size));
}

}  // namespace

TEST(Tools, PrgcheckWritesTheFrame) {
  const std::vector<uint8_t> prg = petscii_player();
  const std::string file = temp_path("player.prg"), png = temp_path("frame.png");
  write(file, prg.data(), prg.size());
  struct Row {
    const char *machine;
    int width, height;
  };
  for (const Row &row : {Row{"pal", 504, 312}, Row{"ntsc", 520, 263}, Row{"paln", 520, 312}}) {
    SCOPED_TRACE(row.machine);
    std::remove(png.c_str());
    const ToolRun r =
        run(std::string(QUILLBAR_PRGCHECK) + " --machine " + row.machine + " --frame-png " + png + " " + file);
    EXPECT_EQ(r.status, 0) << r.output;
    EXPECT_NE(r.output.find("\n    60    9     0  "), std::string::npos)
        << r.output;  // line 60: left 9, right 32 mod 16 = 0
    cairo_surface_t *image = cairo_image_surface_create_from_png(png.c_str());
    EXPECT_EQ(cairo_image_surface_get_width(image), row.width);
    EXPECT_EQ(cairo_image_surface_get_height(image), row.height);
    cairo_surface_destroy(image);
  }
  EXPECT_EQ(run(std::string(QUILLBAR_PRGCHECK) + " --machine c128 " + file).status, 2);
}

TEST(Tools, FramecmpPointsAtTheDifference) {
  const std::vector<uint8_t> prg = petscii_player();
  const std::string file = temp_path("cmp.prg"), stored = temp_path("cmp.idx"), diff = temp_path("diff.png");
  write(file, prg.data(), prg.size());
  auto m = std::make_unique<C64>();
  ASSERT_TRUE(c64_start(m.get(), prg, VIC2_NTSC_6567R8));
  c64_run_frames(m.get(), 100);
  std::vector<uint8_t> frame(vic2_frame(&m->vic), vic2_frame(&m->vic) + 520 * 263);
  write(stored, frame.data(), frame.size());
  const std::string command =
      std::string(QUILLBAR_FRAMECMP) + " --machine ntsc --frames 100 --diff " + diff + " " + file + " " + stored;
  ToolRun r = run(command);
  EXPECT_EQ(r.status, 0) << r.output;
  EXPECT_NE(r.output.find(": 0 differing pixels"), std::string::npos) << r.output;

  frame[5 * 520 + 300] ^= 1;   // line 5 is visible on NTSC, after the frame's end
  frame[20 * 520 + 300] ^= 1;  // line 20 is not
  write(stored, frame.data(), frame.size());
  r = run(command);
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.output.find(": 1 differing pixels"), std::string::npos) << r.output;
  EXPECT_NE(r.output.find("line   5 x 300"), std::string::npos) << r.output;
  cairo_surface_t *image = cairo_image_surface_create_from_png(diff.c_str());
  EXPECT_EQ(cairo_surface_status(image), CAIRO_STATUS_SUCCESS);
  cairo_surface_destroy(image);
}
