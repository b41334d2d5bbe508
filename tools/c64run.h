// A C64 just large enough to run the exported raster-bar programs: RAM with the PRG loaded,
// a PAL 6569 raster model (raster counter, raster interrupt, bad lines stalling the
// processor), the colour registers and colour RAM, the CIAs' interrupt controls, and a record
// of every write to the border colour register with the cycle it happened in.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "m6502.h"

constexpr int kC64CyclesPerLine = 63;
constexpr int kC64Lines = 312;
constexpr int kC64CyclesPerFrame = kC64CyclesPerLine * kC64Lines;

// Where the borders are looked at, as VIC-II cycles 1..63 of a raster line (cycle 1 is the one
// in which the raster counter steps). A write to $D020 made in cycle N is taken to show from
// the first pixel of cycle N + 1 on.
//
// On the 6569 cycle 1 starts at X coordinate $194, every cycle covers 8 pixels, and X wraps
// from $1F7 to 0 inside cycle 13; the 40-column display window spans X $018..$157. So the
// visible left border ($1F0..$017) lies in cycles 12.5..16.5 and the visible right border
// ($158..$177) in cycles 56.5..60.5. We look in the middle of each: X $004 (the first
// pixel of cycle 14) on the left and X $164 (the first pixel of cycle 58) on the right.
constexpr int kLeftBorderCycle = 14;
constexpr int kRightBorderCycle = 58;

struct BorderWrite {
  uint64_t clock;  // machine cycle counted from the start: frame, line and cycle follow from it
  uint8_t value;
};

struct C64 {
  uint8_t ram[65536];
  uint8_t color_ram[1024];  // 4 bits per cell
  uint8_t vic[0x40];        // registers as written
  M6502 cpu;
  uint64_t clock;           // cycles since power-on; clock 0 is cycle 1 of raster line 0
  uint16_t raster_compare;
  uint8_t irq_latch;        // $D019 bits 0..3
  bool display_frame;       // the display was enabled in line $30 of this frame: bad lines happen
  uint64_t stolen;          // cycles the processor was held for bad lines
  uint8_t cia_mask[2], cia_flags[2], cia_regs[2][16];
  uint8_t border_at_start;  // $D020 before the first recorded write
  std::vector<BorderWrite> border_writes;
};

// Powers the machine on as the KERNAL leaves it (video registers, cleared screen, $01 = $37,
// a small KERNAL stand-in for the NMI vector), loads the PRG at its load address and starts
// the processor at $080D, as "SYS 2061" does. False when the file is not a PRG.
bool c64_start(C64 *m, const std::vector<uint8_t> &prg);
bool c64_start_file(C64 *m, const std::string &path);

// Runs until `frames` full frames have passed since power-on.
void c64_run_frames(C64 *m, int frames);

// What the bus shows the processor at `address`, without side effects on the chips.
uint8_t c64_peek(const C64 *m, uint16_t address);

// The VIC-II register as the processor reads it (mode registers with their unused bits set).
uint8_t c64_vic_register(const C64 *m, int reg);

// The border colour (0..15) shown in `frame` on raster `line` at VIC-II `cycle`.
int c64_border_at(const C64 *m, int frame, int line, int cycle);

// The values written to $D020 in `frame` between cycle 1 of `line` and cycle 1 of the next,
// in order, with the cycles they were written in.
std::vector<std::pair<int, int>> c64_border_writes_on_line(const C64 *m, int frame, int line);
