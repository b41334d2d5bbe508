// sfx_run: flat memory on the 6502 core (no ROMs, no interrupts; the decruncher needs
// neither), stepped until the program counter comes to the start address.
#include "sfxrun.h"

#include <algorithm>
#include <memory>

#include "cruncher.h"
#include "m6502.h"

bool sfx_run(const std::vector<uint8_t> &crunched, uint16_t start, SfxRun *run) {
  const long entry = cruncher_entry(crunched);
  if (entry < 0) return false;
  auto memory = std::make_unique<M6502FlatMemory>();
  uint32_t seed = 0x9E3779B9;
  for (uint8_t &b : memory->bytes) {
    seed = seed * 1664525 + 1013904223;
    b = static_cast<uint8_t>(seed >> 24);
  }
  memory->bytes[1] = 0x37;
  std::copy(crunched.begin() + 2, crunched.end(), memory->bytes + kBasicStart);
  run->ram_before.assign(memory->bytes, memory->bytes + 65536);
  M6502 cpu;
  m6502_init(&cpu, memory->bus(), static_cast<uint16_t>(entry));
  run->sp_before = cpu.s;
  do m6502_step(&cpu);  // at least once: the entry may be the start address itself
  while (cpu.pc != start && cpu.cycles < kSfxCycleLimit && !cpu.jammed);
  run->reached = cpu.pc == start;
  run->cycles = cpu.cycles;
  run->sp_after = cpu.s;
  run->ram.assign(memory->bytes, memory->bytes + 65536);
  return true;
}
