// The whole machine: CIA timers, the exported player's own video-standard detection and bars
// on each of the four chips, and the stored reference frames matched pixel for pixel.
#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <memory>

#include "c64.h"
#include "frames.h"
#include "player.h"

namespace {

std::string shared(const std::string &name) {
  const std::string path = std::string(QUILLBAR_SHARED_DIR) + "/" + name;
  return std::ifstream(path).good() ? path : std::string();
}

}  // namespace

// Timer A counts down once per cycle, raises its flag on the cycle after 0, reloads from its
// latch and, in one-shot mode, stops; reading the interrupt register clears it.
TEST(Cia, TimerUnderflows) {
  struct Row {
    uint8_t control;
    uint16_t latch;
    int cycles;
    int underflows;
    bool running;
  };
  const Row rows[] = {{CIA_CR_START, 9, 10, 1, true}, {CIA_CR_START, 9, 9, 0, true},
                      {CIA_CR_START, 9, 30, 3, true}, {CIA_CR_START | CIA_CR_ONESHOT, 9, 30, 1, false},
                      {CIA_CR_START, 0, 5, 5, true},  {0, 9, 30, 0, false}};
  for (const Row &row : rows) {
    SCOPED_TRACE(testing::Message() << "control " << int(row.control) << " latch " << row.latch << " cycles "
                                    << row.cycles);
    Cia cia;
    cia_init(&cia);
    cia_write(&cia, CIA_TA_LO, row.latch & 0xFF);
    cia_write(&cia, CIA_TA_HI, row.latch >> 8);
    cia_write(&cia, CIA_ICR, CIA_ICR_SET | CIA_ICR_TA);
    cia_write(&cia, CIA_CRA, row.control);
    int underflows = 0;
    for (int i = 0; i < row.cycles; i++) {
      cia_cycle(&cia);
      if (cia_irq(&cia)) {
        underflows++;
        EXPECT_EQ(cia_read(&cia, CIA_ICR), CIA_ICR_IR | CIA_ICR_TA);
      }
    }
    EXPECT_EQ(underflows, row.underflows);
    EXPECT_EQ(bool(cia_peek(&cia, CIA_CRA) & CIA_CR_START), row.running);
    EXPECT_FALSE(cia_irq(&cia));
  }
}

// The player reads the number of lines and, on 312 lines, how far a counter gets between two
// lines, and patches its six timing instructions: CMP zp (3 cycles) on PAL, CMP zp,X (4) on
// 64-cycle lines, CMP (zp),Y (5) on 65-cycle lines. Only with all that right does every
// visible side border segment of lines 51..250 show its table colour and every other line the
// border colour.
TEST(Machine, PlayerFindsEachVideoStandard) {
  const uint16_t patched[] = {0x0A23, 0x0A36, 0x0A56, 0x0A64, 0x0A85, 0x0AAA};
  const uint8_t opcode[VIC2_MODEL_COUNT] = {0xC5, 0xD1, 0xD5, 0xD1};
  const std::vector<uint8_t> prg = petscii_player();
  for (int model = 0; model < VIC2_MODEL_COUNT; model++) {
    const Vic2ModelInfo *info = &vic2_models[model];
    SCOPED_TRACE(info->name);
    auto m = std::make_unique<C64>();
    ASSERT_TRUE(c64_start(m.get(), prg, static_cast<Vic2Model>(model)));
    c64_run_frames(m.get(), 60);
    ASSERT_FALSE(m->cpu.jammed);
    for (uint16_t address : patched) EXPECT_EQ(m->ram[address], opcode[model]) << std::hex << address;
    EXPECT_GT(m->stolen, 0u);
    const uint8_t *frame = vic2_frame(&m->vic);
    int wrong = 0;
    for (int i = 0; i < info->visible_lines; i++) {
      const int line = (info->first_line + i) % info->lines;
      const bool bar = line >= 51 && line <= 250;
      const int left = bar ? (line - 51) % 16 : 11, right = bar ? (3 * (line - 51) + 5) % 16 : 11;
      if (vic2_side_border_colour(info, frame, line, 1) != left ||
          vic2_side_border_colour(info, frame, line, 0) != right) {
        ADD_FAILURE() << "line " << line;
        if (++wrong == 5) break;
      }
    }
  }
}

// A program whose first line is not a SYS cannot be run; neither can a file too short to be
// a PRG or one that does not fit into memory.
TEST(Machine, StartsOnlyProgramsItCanRun) {
  struct Row {
    std::vector<uint8_t> prg;
    bool runs;
  };
  const std::vector<uint8_t> sys = {0x01, 0x08, 0x0B, 0x08, 0x0A, 0x00, 0x9E, 0x20,
                                    0x32, 0x30, 0x36, 0x31, 0x00, 0x00, 0x00, 0x60};
  std::vector<uint8_t> print = sys;
  print[6] = 0x99;  // PRINT
  const Row rows[] = {{sys, true}, {print, false}, {{0x01, 0x08}, false}, {std::vector<uint8_t>(0x1000, 0xFF), false}};
  for (const Row &row : rows) {
    auto m = std::make_unique<C64>();
    std::string error;
    EXPECT_EQ(c64_start(m.get(), row.prg, VIC2_PAL_6569, &error), row.runs) << error;
    EXPECT_EQ(error.empty(), row.runs);
    if (row.runs) {
      EXPECT_EQ(m->cpu.pc, 2061);
      c64_run_frames(m.get(), 2);  // RTS into the stand-in's idle loop
      EXPECT_FALSE(m->cpu.jammed);
    }
  }
}

// Each stored program, run for the same 8 seconds on each machine, shows exactly the stored
// frame over the whole visible area.
TEST(Machine, MatchesTheReferenceFrames) {
  const char *programs[] = {"hires-every-line", "multicolour-bars", "petscii-lower-edges"};
  struct Machine {
    const char *suffix;
    Vic2Model model;
  };
  const Machine machines[] = {{"pal", VIC2_PAL_6569}, {"ntsc", VIC2_NTSC_6567R8}, {"paln", VIC2_PALN_6572}};
  constexpr double kSeconds = 8.0;
  for (const char *program : programs) {
    const std::string prg = shared(std::string("c64-reference/") + program + ".prg");
    if (prg.empty()) GTEST_SKIP() << "shared data not available";
    for (const Machine &machine : machines) {
      const std::string name = std::string(program) + "-" + machine.suffix;
      SCOPED_TRACE(name);
      const Vic2ModelInfo &info = vic2_models[machine.model];
      std::vector<uint8_t> want;
      std::string error;
      ASSERT_TRUE(frame_read(shared("c64-reference/" + name + ".idx.gz"), size_t(info.cycles_per_line) * 8 * info.lines,
                             &want, &error))
          << error;
      auto m = std::make_unique<C64>();
      ASSERT_TRUE(c64_start_file(m.get(), prg, machine.model));
      c64_run_frames(m.get(),
                     static_cast<uint64_t>(std::ceil(kSeconds * info.clock_hz / (info.cycles_per_line * info.lines))));
      const std::vector<FrameDiff> diffs = frame_compare(machine.model, vic2_frame(&m->vic), want.data());
      EXPECT_EQ(diffs.size(), 0u);
      if (!diffs.empty())
        ADD_FAILURE() << "first at line " << diffs[0].line << " x " << diffs[0].x << ": " << diffs[0].got
                      << " instead of " << diffs[0].want;
    }
  }
}
