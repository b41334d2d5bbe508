// The exported PETSCII player built in memory, for the emulator's tests.
#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

#include "geometry.h"
#include "prg_templates.h"

// A PETSCII player with its tables, as the editor lays it out: left colour of line 51 + i is
// i mod 16, right (3 i + 5) mod 16, border 11, every screen cell a space on background 0.
inline std::vector<uint8_t> petscii_player() {
  std::vector<uint8_t> prg = prg_player_bytes(prg_petscii);
  for (int i = 0; i < picture_lines; i++) {
    prg[prg_offset(prg_left_table) + i] = static_cast<uint8_t>(i % 16);
    prg[prg_offset(prg_right_table) + i] = static_cast<uint8_t>((3 * i + 5) % 16);
  }
  prg[prg_offset(prg_border)] = 11;
  std::fill_n(prg.begin() + prg_offset(prg_petscii.screen), 1000, 0x20);
  return prg;
}
