// The emulator: the 6502 core against the public functional test (its timing is checked by
// the reference frames), the video chip's text and bitmap modes on plain memory, the whole
// machine against the stored reference frames of real exports on each chip, what it refuses
// to run, and the two command-line tools run as a user runs them.
#include <cairo.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <fstream>
#include <memory>

#include "c64.h"
#include "frames.h"
#include "geometry.h"
#include "prg_templates.h"

namespace {

using Bytes = std::vector<uint8_t>;

// Path of a file in the shared read-only data folder, or "" when it is absent.
std::string shared(const std::string &name) {
  const std::string path = std::string(QUILLBAR_SHARED_DIR) + "/" + name;
  return std::ifstream(path).good() ? path : std::string();
}
Bytes file_bytes(const std::string &path) {
  std::ifstream file(path, std::ios::binary);
  return Bytes(std::istreambuf_iterator<char>(file), {});
}

// A machine started on `prg`, run for `frames` frames.
std::unique_ptr<C64> run(const Bytes &prg, Vic2Model model, uint64_t frames) {
  auto m = std::make_unique<C64>();
  EXPECT_TRUE(c64_start(m.get(), prg, model));
  c64_run_frames(m.get(), frames);
  EXPECT_FALSE(m->cpu.jammed) << std::hex << m->cpu.pc;
  return m;
}

// The machines the tools name, with the size of their whole raster.
const std::tuple<const char *, Vic2Model, int, int> kMachines[] = {
    {"pal", VIC2_PAL_6569, 504, 312}, {"ntsc", VIC2_NTSC_6567R8, 520, 263}, {"paln", VIC2_PALN_6572, 520, 312}};

}  // namespace

// The public functional test image ends in an instruction that jumps to itself; $3469 is the
// one reached when every instruction, addressing mode and flag (decimal mode too) behaved.
TEST(M6502, PassesTheFunctionalTest) {
  const std::string path = shared("6502/6502_functional_test.bin");
  if (path.empty()) GTEST_SKIP() << "shared data not available";
  const Bytes image = file_bytes(path);
  ASSERT_EQ(image.size(), 65536u);
  auto memory = std::make_unique<M6502FlatMemory>();
  std::copy(image.begin(), image.end(), memory->bytes);
  M6502 cpu;
  m6502_init(&cpu, memory->bus(), 0x0400);
  for (uint16_t before = 0; before != cpu.pc && cpu.cycles < 200000000 && !cpu.jammed;) {
    before = cpu.pc;
    m6502_step(&cpu);
  }
  EXPECT_EQ(cpu.pc, 0x3469) << std::hex << "trapped at " << cpu.pc;
}

// The first cell's top pixel row in each mode from screen byte $A1, colour nibble $D, bitmap
// byte $1B and the ROM's glyphs: $A1 is the reversed "!" (top row $E7), with extended colours
// "!" itself (top row $18) on the background colour its top bits choose.
TEST(Vic2, GraphicsModes) {
  const int bg = 6, fg = 0xD, hi = 0xA, lo = 0x1, b1 = 3, b2 = 4, b3 = 7, mc = fg & 7;
  // clang-format off
  for (auto [mode, ctrl1, ctrl2, memory, pixels] : {
      std::tuple{"text, upper case", 0x1B, 0x08, 0x14, std::array{fg, fg, fg, bg, bg, fg, fg, fg}},
      {"multicolour text", 0x1B, 0x18, 0x14, {mc, mc, b2, b2, b1, b1, mc, mc}},
      {"extended colour text", 0x5B, 0x08, 0x14, {b2, b2, b2, fg, fg, b2, b2, b2}},
      {"hires bitmap", 0x3B, 0x08, 0x18, {lo, lo, lo, hi, hi, lo, hi, hi}},
      {"hires bitmap, XSCROLL 3", 0x3B, 0x0B, 0x18, {bg, bg, bg, lo, lo, lo, hi, hi}},
      {"multicolour bitmap", 0x3B, 0x18, 0x18, {bg, bg, hi, hi, lo, lo, fg, fg}},
      {"invalid: ECM with bitmap", 0x7B, 0x08, 0x18, {0, 0, 0, 0, 0, 0, 0, 0}}}) {
    // clang-format on
    SCOPED_TRACE(mode);
    auto ram = std::make_unique<std::array<uint8_t, 65536>>();
    uint8_t colours[kC64ColorRamSize]{};
    auto vic = std::make_unique<Vic2>();
    vic2_init(vic.get(), VIC2_PAL_6569, Vic2Memory{ram->data(), colours, c64_char_rom(), 0});
    (*ram)[0x0400] = 0xA1, colours[0] = fg, (*ram)[0x2000] = 0x1B;
    for (auto [reg, value] : {std::pair<int, int>{VIC2_CTRL1, ctrl1},
                              {VIC2_CTRL2, ctrl2},
                              {VIC2_MEMORY, memory},
                              {VIC2_BACKGROUND0, bg},
                              {VIC2_BACKGROUND0 + 1, b1},
                              {VIC2_BACKGROUND0 + 2, b2},
                              {VIC2_BACKGROUND0 + 3, b3}})
      vic2_write(vic.get(), reg, static_cast<uint8_t>(value));
    while (vic->beam.frames < 2) vic2_cycle(vic.get());
    const uint8_t *row = vic2_frame(vic.get()) + first_picture_line * vic2_frame_width(vic.get()) + kVic2GraphicsLeft;
    EXPECT_EQ(std::vector<int>(row, row + 8), std::vector<int>(pixels.begin(), pixels.end()));
  }
}

// Each stored program, run for the same 8 seconds on each machine, shows exactly the stored
// frame over the whole visible area.
TEST(Machine, MatchesTheReferenceFrames) {
  for (const char *program : {"hires-every-line", "multicolour-bars", "petscii-lower-edges"}) {
    const std::string prg = shared(std::string("c64-reference/") + program + ".prg");
    if (prg.empty()) GTEST_SKIP() << "shared data not available";
    for (auto [machine, model, width, height] : kMachines) {
      const std::string name = std::string(program) + "-" + machine;
      SCOPED_TRACE(name);
      const Vic2ModelInfo &info = vic2_models[model];
      std::vector<uint8_t> want;
      std::string error;
      ASSERT_TRUE(frame_read(shared("c64-reference/" + name + ".idx.gz"), size_t(width) * height, &want, &error))
          << error;
      const auto m = run(file_bytes(prg), model,
                         static_cast<uint64_t>(std::ceil(8.0 * info.clock_hz / (info.cycles_per_line * info.lines))));
      const std::vector<FrameDiff> diffs = frame_compare(model, vic2_frame(&m->vic), want.data());
      if (!diffs.empty())
        ADD_FAILURE() << diffs.size() << " differing pixels, the first at line " << diffs[0].line << " x " << diffs[0].x
                      << ": " << diffs[0].got << " instead of " << diffs[0].want;
    }
  }
}

// A program whose first line is not a SYS cannot be run; neither can a file too short to be
// a PRG or one that does not fit into memory.
TEST(Machine, StartsOnlyProgramsItCanRun) {
  const Bytes sys = {0x01, 0x08, 0x0B, 0x08, 0x0A, 0x00, 0x9E, 0x20, 0x32, 0x30, 0x36, 0x31, 0x00, 0x00, 0x00, 0x60};
  Bytes print = sys;
  print[6] = 0x99;  // PRINT
  for (auto [prg, runs] :
       {std::pair{sys, true}, {print, false}, {Bytes{0x01, 0x08}, false}, {Bytes(0x1000, 0xFF), false}}) {
    auto m = std::make_unique<C64>();
    std::string error;
    EXPECT_EQ(c64_start(m.get(), prg, VIC2_PAL_6569, &error), runs) << error;
    EXPECT_EQ(error.empty(), runs);
    if (runs) {
      EXPECT_EQ(m->cpu.pc, 2061);
      c64_run_frames(m.get(), 2);  // RTS into the stand-in's idle loop
      EXPECT_FALSE(m->cpu.jammed);
    }
  }
}

// The tools on a player whose left colour of line 51 + i is i mod 16, the right one
// (3 i + 5) mod 16. prgcheck prints the borders and writes the frame as a PNG of the whole
// raster; an unknown machine is a usage error. framecmp points at the one visible pixel
// changed in the frame the machine drew.
TEST(Tools, PrgcheckAndFramecmp) {
  auto run_tool = [](const std::string &command) {
    std::string output;
    FILE *pipe = popen((command + " 2>&1").c_str(), "r");
    char buffer[4096];
    while (size_t n = pipe ? fread(buffer, 1, sizeof buffer, pipe) : 0) output.append(buffer, n);
    const int status = pipe ? pclose(pipe) : -1;
    return std::pair(WIFEXITED(status) ? WEXITSTATUS(status) : -1, output);
  };
  std::string folder = testing::TempDir() + "quillbar-tools-XXXXXX";
  ASSERT_NE(mkdtemp(folder.data()), nullptr);
  auto write = [&](const char *name, const Bytes &bytes) {
    std::ofstream(folder + "/" + name, std::ios::binary)
        .write(reinterpret_cast<const char *>(bytes.data()), bytes.size());
    return folder + "/" + name;
  };
  Bytes prg = prg_player_bytes(prg_petscii);
  for (int i = 0; i < picture_lines; i++) {
    prg[prg_offset(prg_left_table) + i] = static_cast<uint8_t>(i % 16);
    prg[prg_offset(prg_right_table) + i] = static_cast<uint8_t>((3 * i + 5) % 16);
  }
  const std::string file = write("player.prg", prg), png = folder + "/frame.png";
  for (auto [machine, model, width, height] : kMachines) {
    SCOPED_TRACE(machine);
    const auto [status, output] =
        run_tool(std::string(QUILLBAR_PRGCHECK) + " --machine " + machine + " --frame-png " + png + " " + file);
    EXPECT_EQ(status, 0) << output;
    EXPECT_NE(output.find("\n    60    9     0  "), std::string::npos) << output;  // left 9, right 32 mod 16 = 0
    cairo_surface_t *image = cairo_image_surface_create_from_png(png.c_str());
    EXPECT_EQ(std::pair(cairo_image_surface_get_width(image), cairo_image_surface_get_height(image)),
              std::pair(width, height));
    cairo_surface_destroy(image);
  }
  EXPECT_EQ(run_tool(std::string(QUILLBAR_PRGCHECK) + " --machine c128 " + file).first, 2);

  const auto m = run(prg, VIC2_NTSC_6567R8, 100);
  Bytes frame(vic2_frame(&m->vic), vic2_frame(&m->vic) + 520 * 263);
  frame[5 * 520 + 300] ^= 1;   // line 5 is visible on NTSC, after the frame's end
  frame[20 * 520 + 300] ^= 1;  // line 20 is not
  const auto [status, output] = run_tool(std::string(QUILLBAR_FRAMECMP) + " --machine ntsc --frames 100 --diff " +
                                         folder + "/diff.png " + file + " " + write("frame.idx", frame));
  EXPECT_EQ(status, 1);
  EXPECT_NE(output.find(": 1 differing pixels"), std::string::npos) << output;
  EXPECT_NE(output.find("line   5 x 300"), std::string::npos) << output;
  for (const char *name : {"player.prg", "frame.png", "frame.idx", "diff.png"})
    std::remove((folder + "/" + name).c_str());
  rmdir(folder.c_str());
}
