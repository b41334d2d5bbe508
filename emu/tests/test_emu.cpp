// The emulator: the 6502 core, CIA timers, the video chip on plain memory, the whole machine
// running the exported player on each chip and the stored reference programs, and the tools.
#include <cairo.h>
#include <gtest/gtest.h>

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

// A PETSCII player laid out as the editor does it: left colour of line 51 + i is i mod 16,
// right (3 i + 5) mod 16, border 11, every screen cell a space on background 0.
Bytes petscii_player() {
  Bytes prg = prg_player_bytes(prg_petscii);
  for (int i = 0; i < picture_lines; i++) {
    prg[prg_offset(prg_left_table) + i] = static_cast<uint8_t>(i % 16);
    prg[prg_offset(prg_right_table) + i] = static_cast<uint8_t>((3 * i + 5) % 16);
  }
  prg[prg_offset(prg_border)] = 11;
  std::fill_n(prg.begin() + prg_offset(prg_petscii.screen), 1000, 0x20);
  return prg;
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

// A processor at `pc` on flat memory that holds `code` from `at` on, zero elsewhere.
struct Cpu {
  std::unique_ptr<M6502FlatMemory> memory = std::make_unique<M6502FlatMemory>();
  M6502 cpu;
  Cpu(const Bytes &code, uint16_t at, uint16_t pc) {
    std::copy(code.begin(), code.end(), memory->bytes + at);
    m6502_init(&cpu, memory->bus(), pc);
  }
};

// The video chip alone on plain memory.
struct Rig {
  uint8_t ram[65536]{};
  uint8_t colours[1024]{};
  Vic2 vic;
  explicit Rig(Vic2Model model = VIC2_PAL_6569) { vic2_init(&vic, model, Vic2Memory{ram, colours, c64_char_rom(), 0}); }
  void set(std::initializer_list<std::pair<int, int>> regs) {
    for (auto [reg, value] : regs) vic2_write(&vic, reg, static_cast<uint8_t>(value));
  }
  void run_frames(int n) {
    for (const uint64_t end = vic.beam.frames + n; vic.beam.frames < end;) vic2_cycle(&vic);
  }
  int pixel(int x, int line) const { return vic2_frame(&vic)[line * vic2_frame_width(&vic) + x]; }
};

constexpr int kBorder = 2, kBackground = 6;

// Runs a command through the shell; its exit status and what it printed.
std::pair<int, std::string> run_tool(const std::string &command) {
  std::string output;
  FILE *pipe = popen((command + " 2>&1").c_str(), "r");
  char buffer[4096];
  while (size_t n = pipe ? fread(buffer, 1, sizeof buffer, pipe) : 0) output.append(buffer, n);
  const int status = pipe ? pclose(pipe) : -1;
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, output};
}

// A file of the tools' tests in the temporary folder, written with `bytes` when given.
std::string temp_file(const char *name, const Bytes &bytes = {}) {
  const std::string path = testing::TempDir() + "quillbar-tools-" + name;
  if (!bytes.empty())
    std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char *>(bytes.data()), bytes.size());
  return path;
}

}  // namespace

// The public functional test image ends in an instruction that jumps to itself; $3469 is the
// one reached when every instruction, addressing mode and flag (decimal mode too) behaved.
TEST(M6502, PassesTheFunctionalTest) {
  const std::string path = shared("6502/6502_functional_test.bin");
  if (path.empty()) GTEST_SKIP() << "shared data not available";
  const Bytes image = file_bytes(path);
  ASSERT_EQ(image.size(), 65536u);
  Cpu c(image, 0, 0x0400);
  for (uint16_t before = 0; before != c.cpu.pc && c.cpu.cycles < 200000000 && !c.cpu.jammed;) {
    before = c.cpu.pc;
    m6502_step(&c.cpu);
  }
  EXPECT_EQ(c.cpu.pc, 0x3469) << std::hex << "trapped at " << c.cpu.pc;
  EXPECT_EQ(c.cpu.instructions, 30646177u);
  EXPECT_EQ(c.cpu.cycles, 96241367u);
}

// Cycles of single instructions run at $02F0 with X = Y = $10 and all flags but I clear:
// index and branch penalties, and the fixed counts of writes, read-modify-writes and calls.
TEST(M6502, InstructionCycles) {
  // clang-format off
  for (auto [what, code, cycles] : {std::tuple<const char *, Bytes, uint64_t>
      {"LDA abs,X", {0xBD, 0x10, 0x20}, 4}, {"LDA abs,X across a page", {0xBD, 0xF8, 0x20}, 5},
      {"STA abs,X", {0x9D, 0x10, 0x20}, 5}, {"INC abs,X", {0xFE, 0x10, 0x20}, 7}, {"LDA (zp,X)", {0xA1, 0x00}, 6},
      {"STA (zp),Y", {0x91, 0x00}, 6}, {"BEQ not taken", {0xF0, 0x10}, 2}, {"BNE taken", {0xD0, 0xFE}, 3},
      {"BNE taken across a page", {0xD0, 0x10}, 4}, {"JSR", {0x20, 0x00, 0x30}, 6}, {"RTS", {0x60}, 6},
      {"JMP (ind)", {0x6C, 0xFF, 0x10}, 5}, {"PLA", {0x68}, 4}, {"ASL zp", {0x06, 0x10}, 5}}) {
    // clang-format on
    Cpu c(code, 0x02F0, 0x02F0);
    c.cpu.x = c.cpu.y = 0x10;
    m6502_step(&c.cpu);
    EXPECT_EQ(c.cpu.cycles, cycles) << what;
  }
}

// An IRQ held while interrupts are masked is taken one instruction after CLI: seven cycles
// that push the return address and the status (I clear, B clear), then jump through $FFFE.
TEST(M6502, InterruptAfterCli) {
  Cpu c({0x58, 0xEA, 0xEA}, 0x0200, 0x0200);
  c.memory->bytes[0xFFFF] = 0x40;
  c.cpu.irq = true;
  for (int i = 0; i < 3; ++i) m6502_step(&c.cpu);
  EXPECT_EQ(std::pair(c.cpu.pc, c.cpu.cycles), std::pair(uint16_t(0x4000), uint64_t(11)));
  const uint8_t *top = c.memory->bytes + 0x0100 + c.cpu.s;
  EXPECT_EQ((Bytes{top[1], top[2], top[3]}), (Bytes{M6502_U, 0x02, 0x02}));
}

// Timer A counts down once per cycle, raises its flag on the cycle after 0, reloads from its
// latch and, in one-shot mode, stops; reading the interrupt register clears it.
TEST(Cia, TimerUnderflows) {
  // Control register, latch, cycles run; underflows seen, whether the timer still runs.
  for (auto [control, latch, cycles, underflows, running] : {std::tuple{int(CIA_CR_START), 9, 10, 1, true},
                                                             {CIA_CR_START, 9, 9, 0, true},
                                                             {CIA_CR_START, 9, 30, 3, true},
                                                             {CIA_CR_START | CIA_CR_ONESHOT, 9, 30, 1, false},
                                                             {CIA_CR_START, 0, 5, 5, true},
                                                             {0, 9, 30, 0, false}}) {
    SCOPED_TRACE(testing::Message() << "control " << control << " latch " << latch << " cycles " << cycles);
    Cia cia;
    cia_init(&cia);
    for (auto [reg, value] : {std::pair{CIA_TA_LO, latch & 0xFF},
                              {CIA_TA_HI, latch >> 8},
                              {CIA_ICR, CIA_ICR_SET | CIA_ICR_TA},
                              {CIA_CRA, control}})
      cia_write(&cia, reg, static_cast<uint8_t>(value));
    int seen = 0;
    for (int i = 0; i < cycles; i++) {
      cia_cycle(&cia);
      if (!cia_irq(&cia)) continue;
      seen++;
      EXPECT_EQ(cia_read(&cia, CIA_ICR), CIA_ICR_IR | CIA_ICR_TA);
    }
    EXPECT_EQ(seen, underflows);
    EXPECT_EQ(bool(cia_peek(&cia, CIA_CRA) & CIA_CR_START), running);
    EXPECT_FALSE(cia_irq(&cia));
  }
}

// The raster interrupt is raised in cycle 1 of its line, in cycle 2 on line 0; its flag stays
// until acknowledged, and a compare value the beam never reaches raises nothing.
TEST(Vic2, RasterInterruptCycle) {
  for (auto [model, compare, want] : {std::tuple{VIC2_PAL_6569, 0, 2},
                                      {VIC2_PAL_6569, 1, 1},
                                      {VIC2_PAL_6569, 311, 1},
                                      {VIC2_NTSC_6567R8, 262, 1},
                                      {VIC2_NTSC_6567R56A, 261, 1},
                                      {VIC2_PALN_6572, 300, 1},
                                      {VIC2_NTSC_6567R8, 300, -1}}) {
    SCOPED_TRACE(vic2_models[model].name + std::string(" line ") + std::to_string(compare));
    auto rig = std::make_unique<Rig>(model);
    rig->set({{VIC2_CTRL1, compare >> 1 & VIC2_CTRL1_RST8}, {VIC2_RASTER, compare}, {VIC2_IRQ_MASK, VIC2_IRQ_RASTER}});
    rig->run_frames(1);  // past a compare that matched at power-on
    rig->set({{VIC2_IRQ_FLAGS, VIC2_IRQ_ALL}});
    int line = -1, cycle = -1;
    for (int i = 0; i < 2 * 65 * 312 && line < 0; i++) {
      vic2_cycle(&rig->vic);
      if (vic2_irq(&rig->vic)) line = rig->vic.beam.line, cycle = rig->vic.beam.cycle;
    }
    EXPECT_EQ(std::pair(line, cycle), std::pair(want < 0 ? -1 : compare, want));
    if (want > 0) {
      EXPECT_EQ(vic2_peek(&rig->vic, VIC2_IRQ_FLAGS), 0xF1);
      rig->set({{VIC2_IRQ_FLAGS, VIC2_IRQ_RASTER}});
      EXPECT_FALSE(vic2_irq(&rig->vic));
    }
  }
}

// The window opens on the first pixel and line the row and column settings name and closes
// after the last; with the display disabled the whole frame is border. The bad lines that
// come with the display hold the bus from cycle 12 (reads) or 15 (writes) to 54.
TEST(Vic2, DisplayWindowAndBadLines) {
  // $D011, $D016; the window's left, right, top and bottom; the bad lines of a frame.
  for (auto [ctrl1, ctrl2, want, bad_lines] :
       {std::tuple{0x1B, 0x08, std::array{136, 455, 51, 250}, 25},  // 25 rows, 40 columns
        {0x13, 0x00, {143, 446, 55, 246}, 25},                      // 24 rows, 38 columns
        {0x1F, 0x08, {136, 455, 51, 250}, 25},                      // YSCROLL 7: bad lines $37..$F7, idle before
        {0x0B, 0x08, {-1, -1, -1, -1}, 0}}) {                       // display disabled
    SCOPED_TRACE(testing::Message() << std::hex << "$D011 " << ctrl1 << " $D016 " << ctrl2);
    auto rig = std::make_unique<Rig>();
    rig->set({{VIC2_CTRL1, ctrl1}, {VIC2_CTRL2, ctrl2}, {VIC2_BORDER, kBorder}, {VIC2_BACKGROUND0, kBackground}});
    rig->run_frames(2);
    std::array window = {-1, -1, -1, -1};
    for (int line = 0; line < 312; line++)
      for (int x = 0; x < 504; x++)
        if (rig->pixel(x, line) == kBackground) {
          if (window[2] < 0) window[0] = x, window[2] = line;
          window[0] = std::min(window[0], x), window[1] = std::max(window[1], x), window[3] = line;
        }
    EXPECT_EQ(window, want);
    int bad = 0, blocked_reads = 0, blocked_writes = 0;
    for (int i = 0; i < 63 * 312; i++) {
      bad += rig->vic.beam.cycle == kVic2BaLowCycle && vic2_blocks(&rig->vic, false);
      blocked_reads += vic2_blocks(&rig->vic, false);
      blocked_writes += vic2_blocks(&rig->vic, true);
      vic2_cycle(&rig->vic);
    }
    EXPECT_EQ((std::array{bad, blocked_reads, blocked_writes}),
              (std::array{bad_lines, 43 * bad_lines, 40 * bad_lines}));
  }
}

// The first cell's top pixel row in each mode from screen byte $A1, colour nibble $D, bitmap
// byte $1B and the ROM's glyphs: $A1 is the reversed "!" (top row $E7), with extended colours
// "!" itself (top row $18) on the background colour its top bits choose.
TEST(Vic2, GraphicsModes) {
  const int bg = kBackground, fg = 0xD, hi = 0xA, lo = 0x1, b1 = 3, b2 = 4, b3 = 7, mc = fg & 7;
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
    auto rig = std::make_unique<Rig>();
    rig->ram[0x0400] = 0xA1, rig->colours[0] = fg, rig->ram[0x2000] = 0x1B;
    rig->set({{VIC2_CTRL1, ctrl1}, {VIC2_CTRL2, ctrl2}, {VIC2_MEMORY, memory}, {VIC2_BORDER, kBorder}});
    rig->set(
        {{VIC2_BACKGROUND0, bg}, {VIC2_BACKGROUND0 + 1, b1}, {VIC2_BACKGROUND0 + 2, b2}, {VIC2_BACKGROUND0 + 3, b3}});
    rig->run_frames(2);
    std::array<int, 8> shown;
    for (int i = 0; i < 8; i++) shown[i] = rig->pixel(kVic2GraphicsLeft + i, kVic2WindowTop[1]);
    EXPECT_EQ(shown, pixels);
  }
}

// The player tells the chips apart by their lines and, on 312 lines, their cycles per line, and
// patches its six timing instructions: CMP zp (3 cycles) on PAL, CMP zp,X (4) on 64-cycle
// lines, CMP (zp),Y (5) on 65-cycle lines. Only then does every visible line's side border show
// its table colour beside the picture and the border colour elsewhere.
TEST(Machine, PlayerFindsEachVideoStandard) {
  const uint16_t patched[] = {0x0A23, 0x0A36, 0x0A56, 0x0A64, 0x0A85, 0x0AAA};
  const uint8_t opcode[VIC2_MODEL_COUNT] = {0xC5, 0xD1, 0xD5, 0xD1};
  for (int model = 0; model < VIC2_MODEL_COUNT; model++) {
    const Vic2ModelInfo *info = &vic2_models[model];
    SCOPED_TRACE(info->name);
    const auto m = run(petscii_player(), static_cast<Vic2Model>(model), 60);
    for (uint16_t address : patched) EXPECT_EQ(m->ram[address], opcode[model]) << std::hex << address;
    EXPECT_GT(m->stolen, 0u);
    std::vector<int> wrong;  // lines that show another colour on either side
    for (int i = 0; i < info->visible_lines; i++) {
      const int line = (info->first_line + i) % info->lines;
      const bool bar = line >= 51 && line <= 250;
      const int left = bar ? (line - 51) % 16 : 11, right = bar ? (3 * (line - 51) + 5) % 16 : 11;
      if (vic2_side_border_colour(info, vic2_frame(&m->vic), line, 1) != left ||
          vic2_side_border_colour(info, vic2_frame(&m->vic), line, 0) != right)
        wrong.push_back(line);
    }
    EXPECT_EQ(wrong, std::vector<int>{});
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

// prgcheck prints the borders and writes the frame as a PNG of the whole raster; an unknown
// machine is a usage error.
TEST(Tools, PrgcheckWritesTheFrame) {
  const std::string file = temp_file("player.prg", petscii_player()), png = temp_file("frame.png");
  for (auto [machine, model, width, height] : kMachines) {
    SCOPED_TRACE(machine);
    std::remove(png.c_str());
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
}

// framecmp finds a stored frame equal, then points at the one visible pixel changed in it and
// writes a difference image.
TEST(Tools, FramecmpPointsAtTheDifference) {
  const Bytes prg = petscii_player();
  const std::string file = temp_file("cmp.prg", prg), diff = temp_file("diff.png");
  const auto m = run(prg, VIC2_NTSC_6567R8, 100);
  Bytes frame(vic2_frame(&m->vic), vic2_frame(&m->vic) + 520 * 263);
  const std::string command = std::string(QUILLBAR_FRAMECMP) + " --machine ntsc --frames 100 --diff " + diff + " " +
                              file + " " + temp_file("cmp.idx", frame);
  auto [status, output] = run_tool(command);
  EXPECT_EQ(status, 0) << output;
  EXPECT_NE(output.find(": 0 differing pixels"), std::string::npos) << output;
  frame[5 * 520 + 300] ^= 1;   // line 5 is visible on NTSC, after the frame's end
  frame[20 * 520 + 300] ^= 1;  // line 20 is not
  temp_file("cmp.idx", frame);
  std::tie(status, output) = run_tool(command);
  EXPECT_EQ(status, 1);
  EXPECT_NE(output.find(": 1 differing pixels"), std::string::npos) << output;
  EXPECT_NE(output.find("line   5 x 300"), std::string::npos) << output;
  cairo_surface_t *image = cairo_image_surface_create_from_png(diff.c_str());
  EXPECT_EQ(cairo_surface_status(image), CAIRO_STATUS_SUCCESS);
  cairo_surface_destroy(image);
}
