// The C64 model behind c64run.h: memory map, VIC-II raster counter, raster interrupt and bad
// lines, CIA interrupt controls, and the border colour record read back per raster line.
//
// Simplifications, none of which the raster-bar player depends on:
// - No ROMs. BASIC and the character ROM are not there (their addresses read RAM); the KERNAL
//   is a stand-in holding only its NMI and IRQ entry code and the hardware vectors.
// - Bad lines hold the processor exactly as the chip does when no sprites are on: from
//   cycle 12 (BA low) reads wait until cycle 55; writes still go through in cycles 12..14.
//   Sprite DMA is not modelled.
// - A raster interrupt for line 0 is raised in cycle 1 like every other line (the chip
//   raises it one cycle later).
// - CIA timers are not counted: starting timer A with its interrupt enabled raises that
//   interrupt at once, once; the CIA 2 interrupt is the processor's NMI.
#include "c64run.h"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>

namespace {

// The KERNAL stand-in, $E000-$FFFF: NMI entry at $FE43 (SEI, JMP ($0318)), an RTI at $FE47
// for the default NMI vector, and IRQ entry at $FF48 (save the registers, JMP ($0314)).
struct Kernal {
  uint8_t rom[0x2000]{};
  Kernal() {
    const uint8_t nmi[] = {0x78, 0x6C, 0x18, 0x03, 0x40};
    const uint8_t irq[] = {0x48, 0x8A, 0x48, 0x98, 0x48, 0xBA, 0xBD, 0x04, 0x01, 0x29,
                           0x10, 0xF0, 0x03, 0x6C, 0x16, 0x03, 0x6C, 0x14, 0x03};
    std::memcpy(rom + 0x1E43, nmi, sizeof nmi);
    std::memcpy(rom + 0x1F48, irq, sizeof irq);
    const uint8_t vectors[] = {0x43, 0xFE, 0xE2, 0xFC, 0x48, 0xFF};
    std::memcpy(rom + 0x1FFA, vectors, sizeof vectors);
  }
};
const Kernal kernal;

int line_of(uint64_t clock) { return static_cast<int>(clock % kC64CyclesPerFrame / kC64CyclesPerLine); }
int cycle_of(uint64_t clock) { return static_cast<int>(clock % kC64CyclesPerLine) + 1; }

bool io_visible(const C64 *m) { return (m->ram[1] & 3) && (m->ram[1] & 4); }
bool kernal_visible(const C64 *m) { return m->ram[1] & 2; }

bool bad_line(const C64 *m) {
  int line = line_of(m->clock);
  return m->display_frame && line >= 0x30 && line <= 0xF7 && (line & 7) == (m->vic[0x11] & 7);
}

void update_interrupts(C64 *m) {
  bool vic_irq = m->irq_latch & m->vic[0x1A] & 0x0F;
  m->cpu.irq = vic_irq || (m->cia_flags[0] & m->cia_mask[0]);
}

void check_raster_compare(C64 *m) {
  if (line_of(m->clock) == m->raster_compare) m->irq_latch |= 1;
}

// One clock cycle passes.
void tick(C64 *m) {
  m->clock++;
  int line = line_of(m->clock);
  if (cycle_of(m->clock) == 1) {
    if (line == 0) m->display_frame = false;
    check_raster_compare(m);
  }
  if (line == 0x30 && (m->vic[0x11] & 0x10)) m->display_frame = true;
  update_interrupts(m);
}

// Holds the processor while the video chip has the bus on a bad line.
void wait_for_bus(C64 *m, bool write) {
  for (;;) {
    int cycle = cycle_of(m->clock);
    if (!bad_line(m) || cycle < (write ? 15 : 12) || cycle > 54) return;
    tick(m);
    m->stolen++;
  }
}

uint8_t vic_read(const C64 *m, int reg) {
  int line = line_of(m->clock);
  switch (reg) {
    case 0x11: return static_cast<uint8_t>((m->vic[0x11] & 0x7F) | (line >> 1 & 0x80));
    case 0x12: return static_cast<uint8_t>(line);
    case 0x16: return m->vic[0x16] | 0xC0;
    case 0x18: return m->vic[0x18] | 0x01;
    case 0x19: return static_cast<uint8_t>(m->irq_latch | 0x70 | (m->irq_latch & m->vic[0x1A] ? 0x80 : 0));
    case 0x1A: return m->vic[0x1A] | 0xF0;
    default: return reg >= 0x2F ? 0xFF : reg >= 0x20 ? m->vic[reg] | 0xF0 : m->vic[reg];
  }
}

void vic_write(C64 *m, int reg, uint8_t value) {
  switch (reg) {
    case 0x11:
      m->vic[reg] = value;
      m->raster_compare = static_cast<uint16_t>((m->raster_compare & 0xFF) | (value & 0x80) << 1);
      check_raster_compare(m);
      break;
    case 0x12:
      m->raster_compare = (m->raster_compare & 0x100) | value;
      check_raster_compare(m);
      break;
    case 0x19: m->irq_latch &= ~value & 0x0F; break;
    case 0x1A: m->vic[reg] = value & 0x0F; break;
    case 0x20:
      m->vic[reg] = value & 0x0F;
      m->border_writes.push_back({m->clock, static_cast<uint8_t>(value & 0x0F)});
      break;
    default:
      if (reg < 0x2F) m->vic[reg] = reg >= 0x20 ? value & 0x0F : value;
  }
  update_interrupts(m);
}

uint8_t cia_read(C64 *m, int n, int reg) {
  if (reg != 0x0D) return m->cia_regs[n][reg];
  uint8_t flags = m->cia_flags[n] | (m->cia_flags[n] & m->cia_mask[n] ? 0x80 : 0);
  m->cia_flags[n] = 0;
  update_interrupts(m);
  return flags;
}

void cia_raise(C64 *m, int n, uint8_t flag) {
  bool was_asserted = m->cia_flags[n] & m->cia_mask[n];
  m->cia_flags[n] |= flag;
  if (n == 1 && !was_asserted && (m->cia_flags[n] & m->cia_mask[n])) m->cpu.nmi = true;
  update_interrupts(m);
}

void cia_write(C64 *m, int n, int reg, uint8_t value) {
  if (reg == 0x0D) {
    if (value & 0x80) m->cia_mask[n] |= value & 0x1F;
    else m->cia_mask[n] &= ~value & 0x1F;
    cia_raise(m, n, 0);
    return;
  }
  m->cia_regs[n][reg] = reg == 0x0E ? value & ~0x10 : value;
  if (reg == 0x0E && (value & 1)) cia_raise(m, n, 1);  // timer A runs out at once
}

uint8_t bus_read(void *ctx, uint16_t address) {
  C64 *m = static_cast<C64 *>(ctx);
  wait_for_bus(m, false);
  uint8_t value;
  if (address >= 0xD000 && address < 0xE000 && io_visible(m)) {
    if (address < 0xD400) value = vic_read(m, address & 0x3F);
    else if (address >= 0xD800 && address < 0xDC00) value = m->color_ram[address & 0x3FF];
    else if (address >= 0xDC00 && address < 0xDE00) value = cia_read(m, address >= 0xDD00, address & 0x0F);
    else value = 0;
  } else {
    value = c64_peek(m, address);
  }
  tick(m);
  return value;
}

void bus_write(void *ctx, uint16_t address, uint8_t value) {
  C64 *m = static_cast<C64 *>(ctx);
  wait_for_bus(m, true);
  if (address >= 0xD000 && address < 0xE000 && io_visible(m)) {
    if (address < 0xD400) vic_write(m, address & 0x3F, value);
    else if (address >= 0xD800 && address < 0xDC00) m->color_ram[address & 0x3FF] = value & 0x0F;
    else if (address >= 0xDC00 && address < 0xDE00) cia_write(m, address >= 0xDD00, address & 0x0F, value);
  } else {
    m->ram[address] = value;
  }
  tick(m);
}

}  // namespace

uint8_t c64_peek(const C64 *m, uint16_t address) {
  if (address >= 0xE000 && kernal_visible(m)) return kernal.rom[address - 0xE000];
  if (address >= 0xD000 && address < 0xE000 && io_visible(m)) {
    if (address < 0xD400) return vic_read(m, address & 0x3F);
    if (address >= 0xD800 && address < 0xDC00) return m->color_ram[address & 0x3FF];
    return 0;
  }
  return m->ram[address];
}

uint8_t c64_vic_register(const C64 *m, int reg) { return vic_read(m, reg & 0x3F); }

bool c64_start(C64 *m, const std::vector<uint8_t> &prg) {
  if (prg.size() < 3) return false;
  const size_t load = prg[0] | prg[1] << 8;
  if (load + prg.size() - 2 > 0x10000) return false;
  *m = C64{};
  m->ram[0] = 0x2F;
  m->ram[1] = 0x37;
  std::memset(m->ram + 0x0400, 0x20, 1000);  // the cleared screen, light blue on blue
  std::memset(m->color_ram, 0x0E, sizeof m->color_ram);
  const uint8_t vectors[] = {0x31, 0xEA, 0x66, 0xFE, 0x47, 0xFE};  // $0314 IRQ, BRK, NMI
  std::memcpy(m->ram + 0x0314, vectors, sizeof vectors);
  m->vic[0x11] = 0x1B;
  m->vic[0x16] = 0xC8;
  m->vic[0x18] = 0x15;
  m->vic[0x20] = m->border_at_start = 0x0E;
  m->vic[0x21] = 0x06;
  m->cia_mask[0] = 0x01;  // the KERNAL's timer interrupt
  std::copy(prg.begin() + 2, prg.end(), m->ram + load);
  m6502_init(&m->cpu, M6502Bus{bus_read, bus_write, m}, 0x080D);
  return true;
}

bool c64_start_file(C64 *m, const std::string &path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) return false;
  std::vector<uint8_t> prg((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  return c64_start(m, prg);
}

void c64_run_frames(C64 *m, int frames) {
  const uint64_t end = static_cast<uint64_t>(frames) * kC64CyclesPerFrame;
  while (m->clock < end && !m->cpu.jammed) m6502_step(&m->cpu);
}

int c64_border_at(const C64 *m, int frame, int line, int cycle) {
  const uint64_t when = static_cast<uint64_t>(frame) * kC64CyclesPerFrame + line * kC64CyclesPerLine + cycle - 1;
  auto after = std::lower_bound(m->border_writes.begin(), m->border_writes.end(), when,
                                [](const BorderWrite &w, uint64_t t) { return w.clock < t; });
  return after == m->border_writes.begin() ? m->border_at_start : std::prev(after)->value;
}

std::vector<std::pair<int, int>> c64_border_writes_on_line(const C64 *m, int frame, int line) {
  const uint64_t start = static_cast<uint64_t>(frame) * kC64CyclesPerFrame + line * kC64CyclesPerLine;
  std::vector<std::pair<int, int>> writes;
  for (const BorderWrite &w : m->border_writes)
    if (w.clock >= start && w.clock < start + kC64CyclesPerLine) writes.push_back({cycle_of(w.clock), w.value});
  return writes;
}
