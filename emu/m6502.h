// An NMOS 6502 core: the documented instructions with decimal mode, IRQ and NMI entry, and
// one bus access per clock cycle (dummy reads and writes included), so that the machine
// around it sees every access in the cycle in which the real chip makes it.
//
// Left out: the undocumented opcodes (fetching one stops the processor, `jammed`), the RDY
// line as such (the machine holds the processor inside its bus calls instead) and the 6510's
// I/O port at $00/$01, which the C64 machine keeps in its RAM.
#pragma once

#include <cstdint>

enum : uint8_t {
  M6502_C = 0x01,
  M6502_Z = 0x02,
  M6502_I = 0x04,
  M6502_D = 0x08,
  M6502_B = 0x10,
  M6502_U = 0x20,
  M6502_V = 0x40,
  M6502_N = 0x80,
};

// The machine's side of the bus. Every call is one clock cycle; the machine advances its
// own clock in it (and may hold the processor there, as the C64's video chip does).
struct M6502Bus {
  uint8_t (*read)(void *ctx, uint16_t address);
  void (*write)(void *ctx, uint16_t address, uint8_t value);
  void *ctx;
};

// 64 KB of plain RAM and nothing else on the bus: for running code without a machine.
struct M6502FlatMemory {
  uint8_t bytes[65536];
  M6502Bus bus() { return M6502Bus{read, write, this}; }
  static uint8_t read(void *ctx, uint16_t a) { return static_cast<M6502FlatMemory *>(ctx)->bytes[a]; }
  static void write(void *ctx, uint16_t a, uint8_t v) { static_cast<M6502FlatMemory *>(ctx)->bytes[a] = v; }
};

struct M6502 {
  uint16_t pc;
  uint8_t a, x, y, s, p;
  bool irq;         // IRQ input, a level held by the machine
  bool nmi;         // NMI edge seen by the machine; cleared when the processor takes it
  bool jammed;      // an undocumented opcode was fetched; the processor stops
  uint64_t cycles;  // bus cycles made so far
  uint64_t instructions;
  bool irq_seen;  // IRQ input asserted and I flag clear in the last cycle
  bool irq_poll;  // the same one cycle earlier: decides at the end of an instruction
  M6502Bus bus;
};

// Sets up the processor with its registers as the C64's KERNAL leaves them and PC at `pc`.
void m6502_init(M6502 *cpu, M6502Bus bus, uint16_t pc);

// Runs one instruction, or enters a pending interrupt (NMI before IRQ) instead.
void m6502_step(M6502 *cpu);
