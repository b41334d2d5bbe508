// The exported PETSCII player built in memory, for the emulator's tests.
#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

#include "prg_templates.h"

// A PETSCII player with its tables, as the editor lays it out: left colour of line 51 + i is
// i mod 16, right (3 i + 5) mod 16, border 11, every screen cell a space on background 0.
inline std::vector<uint8_t> petscii_player() {
  std::vector<uint8_t> prg(4050, 0);
  prg[0] = prg_first_address & 0xFF;
  prg[1] = prg_first_address >> 8;
  std::copy(code_raster_petscii.begin(), code_raster_petscii.end(), prg.begin() + 2);
  for (int i = 0; i < 200; i++) {
    prg[770 + i] = static_cast<uint8_t>(i % 16);
    prg[1026 + i] = static_cast<uint8_t>((3 * i + 5) % 16);
  }
  prg[1281] = 11;
  std::fill(prg.begin() + 2049, prg.begin() + 3049, 0x20);
  return prg;
}
