// Runs a crunched program on the project's 6502 core, as BASIC's RUN would start it: 64 KB
// of RAM filled with a pattern, the file loaded at $0801, $01 = $37, and the processor
// entered at the address of the file's SYS line. Used by the tests and the benchmark.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

struct SfxRun {
  bool reached = false;  // PC came to `start` within the cycle limit
  uint64_t cycles = 0;   // processor cycles from entry to `start`
  uint8_t sp_before = 0, sp_after = 0;
  std::vector<uint8_t> ram_before, ram;  // memory at entry and at `start`
};

constexpr uint64_t kSfxCycleLimit = 100'000'000;

// False if the file has no SYS line at $0801.
bool sfx_run(const std::vector<uint8_t> &crunched, uint16_t start, SfxRun *run);
