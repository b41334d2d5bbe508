// The 6502 against the public functional test; the machine against the reference frames of real
// exports on each chip (timing, the video modes in use); what it refuses; the two tools.
#include <cmath>
#include <memory>

#include "c64.h"
#include "frames.h"
#include "geometry.h"
#include "prg_templates.h"
#include "testutil.h"

namespace {

using Bytes = std::vector<uint8_t>;

Bytes file_bytes(const std::string &path) {
  const std::string text = read_text(path);
  return Bytes(text.begin(), text.end());
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

// The public functional test ends in a jump to itself: at $3469 when every instruction behaved.
TEST(M6502, PassesTheFunctionalTest) {
  const std::string path = shared_data("6502/6502_functional_test.bin");
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

// Each stored program run 8 seconds on each machine shows exactly the stored frame.
TEST(Machine, MatchesTheReferenceFrames) {
  for (const char *program : {"hires-every-line", "multicolour-bars", "petscii-lower-edges"}) {
    const std::string prg = shared_data(std::string("c64-reference/") + program + ".prg");
    if (prg.empty()) GTEST_SKIP() << "shared data not available";
    for (auto [machine, model, width, height] : kMachines) {
      const std::string name = std::string(program) + "-" + machine;
      SCOPED_TRACE(name);
      const Vic2ModelInfo &info = vic2_models[model];
      std::vector<uint8_t> want;
      std::string error;
      ASSERT_TRUE(frame_read(shared_data("c64-reference/" + name + ".idx.gz"), size_t(width) * height, &want, &error))
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

// Refused: a first line that is no SYS, a file too short to be a PRG or too large for memory.
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
  }
}

// A player whose left colour of line 51 + i is i mod 16, the right one (3 i + 5) mod 16: prgcheck
// prints the borders and writes a PNG; framecmp points at the one visible pixel changed.
TEST(Tools, PrgcheckAndFramecmp) {
  TempDir dir;
  Bytes prg = prg_player_bytes(prg_petscii);
  for (int i = 0; i < picture_lines; i++) {
    prg[prg_offset(prg_left_table) + i] = static_cast<uint8_t>(i % 16);
    prg[prg_offset(prg_right_table) + i] = static_cast<uint8_t>((3 * i + 5) % 16);
  }
  const auto m = run(prg, VIC2_NTSC_6567R8, 100);
  Bytes frame(vic2_frame(&m->vic), vic2_frame(&m->vic) + 520 * 263);
  frame[5 * 520 + 300] ^= 1;   // line 5 is visible on NTSC, after the frame's end
  frame[20 * 520 + 300] ^= 1;  // line 20 is not
  const std::string file = dir.file("player.prg"), png = dir.file("frame.png"), idx = dir.file("frame.idx");
  write_file(file, prg);
  write_file(idx, frame);
  std::string output, errors;
  EXPECT_EQ(run({QUILLBAR_PRGCHECK, "--machine", "ntsc", "--frame-png", png, file}, &output, &errors), 0) << errors;
  EXPECT_NE(output.find("\n    60    9     0  "), std::string::npos) << output;  // left 9, right 32 mod 16 = 0
  EXPECT_TRUE(g_file_test(png.c_str(), G_FILE_TEST_IS_REGULAR));
  EXPECT_EQ(run({QUILLBAR_FRAMECMP, "--machine", "ntsc", "--frames", "100", file, idx}, &output, &errors), 1);
  EXPECT_NE((output + errors).find(": 1 differing pixels"), std::string::npos) << output << errors;
  EXPECT_NE((output + errors).find("line   5 x 300"), std::string::npos) << output << errors;
}
