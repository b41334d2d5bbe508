// The video chip on its own, fed from plain memory: raster interrupt cycles, the display
// window's edges for each row and column setting, bad lines, and the pixels of each
// graphics mode in the first character cell.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>

#include "c64.h"
#include "vic2.h"

namespace {

struct Rig {
  uint8_t ram[65536]{};
  uint8_t colours[1024]{};
  Vic2 vic;
  explicit Rig(Vic2Model model = VIC2_PAL_6569) { vic2_init(&vic, model, Vic2Memory{ram, colours, c64_char_rom(), 0}); }
  void set(int reg, uint8_t value) { vic2_write(&vic, reg, value); }
  void run_frames(int n) {
    const uint64_t end = vic.frames + n;
    while (vic.frames < end) vic2_cycle(&vic);
  }
  int pixel(int x, int line) const { return vic2_frame(&vic)[line * vic2_frame_width(&vic) + x]; }
};

constexpr int kBorder = 2, kBackground = 6;

}  // namespace

// The raster interrupt is raised in cycle 1 of its line, in cycle 2 on line 0; its flag stays
// until acknowledged, and a compare value the beam never reaches raises nothing.
TEST(Vic2, RasterInterruptCycle) {
  struct Row {
    Vic2Model model;
    int line, cycle;
  };
  const Row rows[] = {{VIC2_PAL_6569, 0, 2},      {VIC2_PAL_6569, 1, 1},        {VIC2_PAL_6569, 311, 1},
                      {VIC2_NTSC_6567R8, 262, 1}, {VIC2_NTSC_6567R56A, 261, 1}, {VIC2_PALN_6572, 300, 1},
                      {VIC2_NTSC_6567R8, 300, -1}};
  for (const Row &row : rows) {
    SCOPED_TRACE(vic2_models[row.model].name + std::string(" line ") + std::to_string(row.line));
    auto rig = std::make_unique<Rig>(row.model);
    rig->set(VIC2_CTRL1, static_cast<uint8_t>(row.line >> 1 & VIC2_CTRL1_RST8));
    rig->set(VIC2_RASTER, static_cast<uint8_t>(row.line));
    rig->set(VIC2_IRQ_MASK, VIC2_IRQ_RASTER);
    rig->run_frames(1);  // past a compare that matched at power-on
    rig->set(VIC2_IRQ_FLAGS, VIC2_IRQ_ALL);
    int line = -1, cycle = -1;
    for (int i = 0; i < 2 * 65 * 312 && line < 0; i++) {
      vic2_cycle(&rig->vic);
      if (vic2_irq(&rig->vic)) line = rig->vic.line, cycle = rig->vic.cycle;
    }
    EXPECT_EQ(line, row.cycle < 0 ? -1 : row.line);
    EXPECT_EQ(cycle, row.cycle);
    if (row.cycle > 0) {
      EXPECT_EQ(vic2_peek(&rig->vic, VIC2_IRQ_FLAGS), 0xF1);
      rig->set(VIC2_IRQ_FLAGS, VIC2_IRQ_RASTER);
      EXPECT_FALSE(vic2_irq(&rig->vic));
    }
  }
}

// The window opens on the first pixel and line the row and column settings name and closes
// after the last; with the display disabled the whole frame is border. The bad lines that
// come with the display hold the bus from cycle 12 (reads) or 15 (writes) to 54.
TEST(Vic2, DisplayWindowAndBadLines) {
  struct Row {
    uint8_t ctrl1, ctrl2;
    int left, right, top, bottom, bad_lines;
  };
  const Row rows[] = {
      {0x1B, 0x08, 136, 455, 51, 250, 25},  // 25 rows, 40 columns
      {0x13, 0x00, 143, 446, 55, 246, 25},  // 24 rows, 38 columns
      {0x1F, 0x08, 136, 455, 51, 250, 25},  // YSCROLL 7: bad lines $37..$F7, idle before
      {0x0B, 0x08, -1, -1, -1, -1, 0},      // display disabled
  };
  for (const Row &row : rows) {
    SCOPED_TRACE(testing::Message() << std::hex << "$D011 " << int(row.ctrl1) << " $D016 " << int(row.ctrl2));
    auto rig = std::make_unique<Rig>();
    rig->set(VIC2_CTRL1, row.ctrl1);
    rig->set(VIC2_CTRL2, row.ctrl2);
    rig->set(VIC2_BORDER, kBorder);
    rig->set(VIC2_BACKGROUND0, kBackground);
    rig->run_frames(2);
    int left = -1, right = -1, top = -1, bottom = -1;
    for (int line = 0; line < 312; line++)
      for (int x = 0; x < 504; x++)
        if (rig->pixel(x, line) == kBackground) {
          if (top < 0) top = line;
          bottom = line;
          if (left < 0 || x < left) left = x;
          right = std::max(right, x);
        }
    EXPECT_EQ((std::vector<int>{left, right, top, bottom}),
              (std::vector<int>{row.left, row.right, row.top, row.bottom}));
    int bad = 0, blocked_reads = 0, blocked_writes = 0;
    for (int i = 0; i < 63 * 312; i++) {
      if (rig->vic.cycle == kVic2BaLowCycle && vic2_blocks(&rig->vic, false)) bad++;
      blocked_reads += vic2_blocks(&rig->vic, false);
      blocked_writes += vic2_blocks(&rig->vic, true);
      vic2_cycle(&rig->vic);
    }
    EXPECT_EQ(bad, row.bad_lines);
    EXPECT_EQ(blocked_reads, 43 * row.bad_lines);
    EXPECT_EQ(blocked_writes, 40 * row.bad_lines);
  }
}

// The first cell's top pixel row in each mode, from the same data: screen byte $A1 (code 33 /
// colours $A and 1), colour nibble $D, bitmap byte $1B, the glyph rows of the character ROM.
TEST(Vic2, GraphicsModes) {
  struct Row {
    const char *mode;
    uint8_t ctrl1, ctrl2, memory;
    std::array<int, 8> pixels;
  };
  const int bg = kBackground, fg = 0xD, hi = 0xA, lo = 0x1, b1 = 3, b2 = 4, b3 = 7, mc = fg & 7;
  const Row rows[] = {
      // Code $A1 is the reversed "!" of the upper-case set (top row $E7); with extended colours
      // it is "!" itself (top row $18) on the background colour its top bits choose.
      {"text, upper case", 0x1B, 0x08, 0x14, {fg, fg, fg, bg, bg, fg, fg, fg}},
      {"multicolour text", 0x1B, 0x18, 0x14, {mc, mc, b2, b2, b1, b1, mc, mc}},
      {"extended colour text", 0x5B, 0x08, 0x14, {b2, b2, b2, fg, fg, b2, b2, b2}},
      {"hires bitmap", 0x3B, 0x08, 0x18, {lo, lo, lo, hi, hi, lo, hi, hi}},
      {"hires bitmap, XSCROLL 3", 0x3B, 0x0B, 0x18, {bg, bg, bg, lo, lo, lo, hi, hi}},
      {"multicolour bitmap", 0x3B, 0x18, 0x18, {bg, bg, hi, hi, lo, lo, fg, fg}},
      {"invalid: ECM with bitmap", 0x7B, 0x08, 0x18, {0, 0, 0, 0, 0, 0, 0, 0}},
  };
  for (const Row &row : rows) {
    SCOPED_TRACE(row.mode);
    auto rig = std::make_unique<Rig>();
    rig->ram[0x0400] = 0xA1;
    rig->colours[0] = fg;
    rig->ram[0x2000] = 0x1B;
    const uint8_t regs[][2] = {{VIC2_CTRL1, row.ctrl1},    {VIC2_CTRL2, row.ctrl2},
                               {VIC2_MEMORY, row.memory},  {VIC2_BORDER, kBorder},
                               {VIC2_BACKGROUND0, bg},     {VIC2_BACKGROUND0 + 1, b1},
                               {VIC2_BACKGROUND0 + 2, b2}, {VIC2_BACKGROUND0 + 3, static_cast<uint8_t>(b3)}};
    for (auto &r : regs) rig->set(r[0], r[1]);
    rig->run_frames(2);
    std::array<int, 8> shown;
    for (int i = 0; i < 8; i++) shown[i] = rig->pixel(kVic2GraphicsLeft + i, kVic2WindowTop[1]);
    EXPECT_EQ(shown, row.pixels);
  }
}
