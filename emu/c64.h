// The C64 that runs exported programs: 64K RAM under the I/O area and the ROMs, the colour
// RAM, the character ROM (the same glyphs the editor draws), the processor port at $00/$01,
// the VIC-II, both CIAs (CIA 1 on IRQ, CIA 2 on NMI) and a small KERNAL stand-in.
//
// The stand-in leaves the machine as the KERNAL leaves it after LOAD and RUN: the VIC-II
// showing the cleared text screen (screen on, 25 rows, 40 columns, so that bad lines steal
// cycles from the start), CIA 1 timer A running with its interrupt enabled, CIA 2 selecting
// bank 0, $01 = $37. It runs a program as RUN does when its first BASIC line is a SYS: the
// processor enters the machine code with a return address that leads to an idle loop. Its ROM
// holds only the hardware vectors, the IRQ and NMI entry code and a timer interrupt handler
// that acknowledges CIA 1.
//
// Left out: the BASIC interpreter and the rest of the KERNAL (reading $A000-$BFFF and
// $E000-$FFFF gives the RAM below or the stand-in), the SID, the keyboard, the cartridge
// port and the open-bus values of unused addresses (they read 0).
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "cia.h"
#include "m6502.h"
#include "vic2.h"

constexpr uint16_t kC64LoadAddress = 0x0801;  // start of BASIC programs
constexpr int kC64ColorRamSize = 1024;
constexpr int kC64CharRomSize = 4096;  // upper-case set, then lower-case set

// One write to the border colour register, where the beam was.
struct C64BorderWrite {
  uint16_t line;
  uint8_t cycle, value;
};

struct C64 {
  uint8_t ram[65536];
  uint8_t color_ram[kC64ColorRamSize];  // low nibbles
  M6502 cpu;
  Vic2 vic;
  Cia cia[2];
  bool nmi_line;                                   // CIA 2's interrupt output in the last cycle (NMI is edge-triggered)
  uint64_t stolen;                                 // cycles the processor waited for the video chip
  std::vector<C64BorderWrite> border_writes;       // in the frame being drawn
  std::vector<C64BorderWrite> last_border_writes;  // in the last complete frame
};

// The character ROM as the video chip sees it.
const uint8_t *c64_char_rom();

// Powers on the machine of that video chip, loads the PRG at its load address and runs it
// as RUN does. False (with `error` set when given) when the file is no PRG, does not fit,
// or its first BASIC line is not a SYS.
bool c64_start(C64 *m, const std::vector<uint8_t> &prg, Vic2Model model = VIC2_PAL_6569, std::string *error = nullptr);
bool c64_start_file(C64 *m, const std::string &path, Vic2Model model = VIC2_PAL_6569, std::string *error = nullptr);

// Runs until `frames` frames have been completed since power-on.
void c64_run_frames(C64 *m, uint64_t frames);
// Runs until the next frame is complete.
void c64_run_frame(C64 *m);

// What the processor reads at `address`, without side effects on the chips.
uint8_t c64_peek(const C64 *m, uint16_t address);
