// The NMOS 6502 core: addressing modes with their dummy bus cycles, the instruction set,
// binary and decimal arithmetic, and interrupt entry.
#include "m6502.h"

namespace {

enum Kind { READ, WRITE, RMW };

// An interrupt is taken after an instruction when it was asserted (and not masked) by its
// next-to-last cycle: each cycle passes on what the cycle before it saw.
void poll(M6502 *c) {
  c->irq_poll = c->irq_seen;
  c->irq_seen = c->irq && !(c->p & M6502_I);
}

uint8_t rd(M6502 *c, uint16_t address) {
  poll(c);
  c->cycles++;
  return c->bus.read(c->bus.ctx, address);
}

void wr(M6502 *c, uint16_t address, uint8_t value) {
  poll(c);
  c->cycles++;
  c->bus.write(c->bus.ctx, address, value);
}

uint8_t fetch(M6502 *c) { return rd(c, c->pc++); }
void push(M6502 *c, uint8_t value) { wr(c, 0x100 | c->s--, value); }
uint8_t pull(M6502 *c) { return rd(c, 0x100 | ++c->s); }

void set_nz(M6502 *c, uint8_t value) {
  c->p = (c->p & ~(M6502_N | M6502_Z)) | (value & M6502_N) | (value ? 0 : M6502_Z);
}
void set_flag(M6502 *c, uint8_t flag, bool on) { c->p = on ? c->p | flag : c->p & ~flag; }

// Effective addresses. Indexed modes read the unfixed address first when the index carries
// into the high byte, and always for writes and read-modify-writes.
uint16_t zp(M6502 *c) { return fetch(c); }
uint16_t zp_indexed(M6502 *c, uint8_t index) {
  uint8_t base = fetch(c);
  rd(c, base);
  return static_cast<uint8_t>(base + index);
}
uint16_t absolute(M6502 *c) {
  uint16_t lo = fetch(c);
  return lo | fetch(c) << 8;
}
uint16_t indexed(M6502 *c, uint16_t base, uint8_t index, Kind kind) {
  uint16_t address = base + index;
  if (kind != READ || (address ^ base) & 0xFF00) rd(c, (base & 0xFF00) | (address & 0xFF));
  return address;
}
uint16_t abs_indexed(M6502 *c, uint8_t index, Kind kind) { return indexed(c, absolute(c), index, kind); }
uint16_t ind_x(M6502 *c) {
  uint8_t pointer = fetch(c);
  rd(c, pointer);
  pointer += c->x;
  uint16_t lo = rd(c, pointer);
  return lo | rd(c, static_cast<uint8_t>(pointer + 1)) << 8;
}
uint16_t ind_y(M6502 *c, Kind kind) {
  uint8_t pointer = fetch(c);
  uint16_t lo = rd(c, pointer);
  uint16_t base = lo | rd(c, static_cast<uint8_t>(pointer + 1)) << 8;
  return indexed(c, base, c->y, kind);
}

void adc(M6502 *c, uint8_t v) {
  unsigned carry = c->p & M6502_C;
  unsigned sum = c->a + v + carry;
  if (!(c->p & M6502_D)) {
    set_flag(c, M6502_V, ~(c->a ^ v) & (c->a ^ sum) & 0x80);
    set_flag(c, M6502_C, sum > 0xFF);
    c->a = static_cast<uint8_t>(sum);
    set_nz(c, c->a);
    return;
  }
  // Decimal: Z from the binary sum, N and V from the high digit before its correction.
  unsigned lo = (c->a & 0x0F) + (v & 0x0F) + carry;
  if (lo > 9) lo += 6;
  unsigned hi = (c->a >> 4) + (v >> 4) + (lo > 0x0F);
  set_flag(c, M6502_Z, (sum & 0xFF) == 0);
  set_flag(c, M6502_N, hi & 8);
  set_flag(c, M6502_V, ~(c->a ^ v) & (c->a ^ (hi << 4)) & 0x80);
  if (hi > 9) hi += 6;
  set_flag(c, M6502_C, hi > 0x0F);
  c->a = static_cast<uint8_t>(hi << 4 | (lo & 0x0F));
}

void sbc(M6502 *c, uint8_t v) {
  unsigned borrow = ~c->p & M6502_C;
  unsigned diff = c->a - v - borrow;
  set_flag(c, M6502_V, (c->a ^ v) & (c->a ^ diff) & 0x80);
  set_flag(c, M6502_C, diff < 0x100);
  uint8_t binary = static_cast<uint8_t>(diff);
  set_nz(c, binary);  // flags are those of the binary result in both modes
  if (!(c->p & M6502_D)) {
    c->a = binary;
    return;
  }
  int lo = (c->a & 0x0F) - (v & 0x0F) - static_cast<int>(borrow);
  int hi = (c->a >> 4) - (v >> 4);
  if (lo < 0) {
    lo -= 6;
    hi--;
  }
  if (hi < 0) hi -= 6;
  c->a = static_cast<uint8_t>(hi << 4 | (lo & 0x0F));
}

void compare(M6502 *c, uint8_t reg, uint8_t v) {
  set_flag(c, M6502_C, reg >= v);
  set_nz(c, static_cast<uint8_t>(reg - v));
}

void bit(M6502 *c, uint8_t v) {
  c->p = (c->p & ~(M6502_N | M6502_V | M6502_Z)) | (v & (M6502_N | M6502_V)) | ((c->a & v) ? 0 : M6502_Z);
}

uint8_t asl(M6502 *c, uint8_t v) {
  set_flag(c, M6502_C, v & 0x80);
  v <<= 1;
  set_nz(c, v);
  return v;
}
uint8_t lsr(M6502 *c, uint8_t v) {
  set_flag(c, M6502_C, v & 1);
  v >>= 1;
  set_nz(c, v);
  return v;
}
uint8_t rol(M6502 *c, uint8_t v) {
  uint8_t r = static_cast<uint8_t>(v << 1 | (c->p & M6502_C));
  set_flag(c, M6502_C, v & 0x80);
  set_nz(c, r);
  return r;
}
uint8_t ror(M6502 *c, uint8_t v) {
  uint8_t r = static_cast<uint8_t>(v >> 1 | (c->p & M6502_C) << 7);
  set_flag(c, M6502_C, v & 1);
  set_nz(c, r);
  return r;
}
uint8_t inc(M6502 *c, uint8_t v) {
  set_nz(c, ++v);
  return v;
}
uint8_t dec(M6502 *c, uint8_t v) {
  set_nz(c, --v);
  return v;
}

// Read-modify-write: the unmodified value is written back first, then the result.
void rmw(M6502 *c, uint16_t address, uint8_t (*op)(M6502 *, uint8_t)) {
  uint8_t v = rd(c, address);
  wr(c, address, v);
  wr(c, address, op(c, v));
}
void rmw_a(M6502 *c, uint8_t (*op)(M6502 *, uint8_t)) {
  rd(c, c->pc);
  c->a = op(c, c->a);
}

void branch(M6502 *c, bool taken) {
  int8_t offset = static_cast<int8_t>(fetch(c));
  if (!taken) return;
  rd(c, c->pc);
  uint16_t target = static_cast<uint16_t>(c->pc + offset);
  if ((target ^ c->pc) & 0xFF00) rd(c, (c->pc & 0xFF00) | (target & 0xFF));
  c->pc = target;
}

// The seven cycles of BRK, IRQ and NMI: the status is pushed with B set only for BRK.
void interrupt(M6502 *c, uint16_t vector, bool brk) {
  if (brk) {
    fetch(c);
  } else {
    rd(c, c->pc);
    rd(c, c->pc);
  }
  push(c, c->pc >> 8);
  push(c, c->pc & 0xFF);
  push(c, c->p | M6502_U | (brk ? M6502_B : 0));
  c->p |= M6502_I;
  uint16_t lo = rd(c, vector);
  c->pc = lo | rd(c, vector + 1) << 8;
}

void implied(M6502 *c) { rd(c, c->pc); }

}  // namespace

void m6502_init(M6502 *cpu, M6502Bus bus, uint16_t pc) {
  *cpu = M6502{};
  cpu->bus = bus;
  cpu->pc = pc;
  cpu->s = 0xF6;
  cpu->p = M6502_U | M6502_I;
}

void m6502_step(M6502 *c) {
  if (c->jammed) return;
  if (c->nmi) {
    c->nmi = false;
    interrupt(c, 0xFFFA, false);
    return;
  }
  if (c->irq_poll) {
    interrupt(c, 0xFFFE, false);
    c->irq_poll = c->irq_seen = false;
    return;
  }
  c->instructions++;
  uint8_t op = fetch(c);
  // The opcode table reads best one instruction a line.
  // clang-format off
  switch (op) {
    // Loads, stores and the arithmetic/logic group, by addressing mode.
#define READ_OPS(code, body)                                                      \
  case code + 0x09: { uint8_t v = fetch(c); body; break; }                         \
  case code + 0x05: { uint8_t v = rd(c, zp(c)); body; break; }                     \
  case code + 0x15: { uint8_t v = rd(c, zp_indexed(c, c->x)); body; break; }       \
  case code + 0x0D: { uint8_t v = rd(c, absolute(c)); body; break; }               \
  case code + 0x1D: { uint8_t v = rd(c, abs_indexed(c, c->x, READ)); body; break; } \
  case code + 0x19: { uint8_t v = rd(c, abs_indexed(c, c->y, READ)); body; break; } \
  case code + 0x01: { uint8_t v = rd(c, ind_x(c)); body; break; }                  \
  case code + 0x11: { uint8_t v = rd(c, ind_y(c, READ)); body; break; }
    READ_OPS(0x00, c->a |= v; set_nz(c, c->a))
    READ_OPS(0x20, c->a &= v; set_nz(c, c->a))
    READ_OPS(0x40, c->a ^= v; set_nz(c, c->a))
    READ_OPS(0x60, adc(c, v))
    READ_OPS(0xA0, c->a = v; set_nz(c, v))
    READ_OPS(0xC0, compare(c, c->a, v))
    READ_OPS(0xE0, sbc(c, v))
#undef READ_OPS
    case 0x85: wr(c, zp(c), c->a); break;
    case 0x95: wr(c, zp_indexed(c, c->x), c->a); break;
    case 0x8D: wr(c, absolute(c), c->a); break;
    case 0x9D: wr(c, abs_indexed(c, c->x, WRITE), c->a); break;
    case 0x99: wr(c, abs_indexed(c, c->y, WRITE), c->a); break;
    case 0x81: wr(c, ind_x(c), c->a); break;
    case 0x91: wr(c, ind_y(c, WRITE), c->a); break;

    case 0xA2: c->x = fetch(c); set_nz(c, c->x); break;
    case 0xA6: c->x = rd(c, zp(c)); set_nz(c, c->x); break;
    case 0xB6: c->x = rd(c, zp_indexed(c, c->y)); set_nz(c, c->x); break;
    case 0xAE: c->x = rd(c, absolute(c)); set_nz(c, c->x); break;
    case 0xBE: c->x = rd(c, abs_indexed(c, c->y, READ)); set_nz(c, c->x); break;
    case 0xA0: c->y = fetch(c); set_nz(c, c->y); break;
    case 0xA4: c->y = rd(c, zp(c)); set_nz(c, c->y); break;
    case 0xB4: c->y = rd(c, zp_indexed(c, c->x)); set_nz(c, c->y); break;
    case 0xAC: c->y = rd(c, absolute(c)); set_nz(c, c->y); break;
    case 0xBC: c->y = rd(c, abs_indexed(c, c->x, READ)); set_nz(c, c->y); break;
    case 0x86: wr(c, zp(c), c->x); break;
    case 0x96: wr(c, zp_indexed(c, c->y), c->x); break;
    case 0x8E: wr(c, absolute(c), c->x); break;
    case 0x84: wr(c, zp(c), c->y); break;
    case 0x94: wr(c, zp_indexed(c, c->x), c->y); break;
    case 0x8C: wr(c, absolute(c), c->y); break;

    case 0xE0: compare(c, c->x, fetch(c)); break;
    case 0xE4: compare(c, c->x, rd(c, zp(c))); break;
    case 0xEC: compare(c, c->x, rd(c, absolute(c))); break;
    case 0xC0: compare(c, c->y, fetch(c)); break;
    case 0xC4: compare(c, c->y, rd(c, zp(c))); break;
    case 0xCC: compare(c, c->y, rd(c, absolute(c))); break;
    case 0x24: bit(c, rd(c, zp(c))); break;
    case 0x2C: bit(c, rd(c, absolute(c))); break;

    // Shifts, rotates, increments and decrements.
#define RMW_OPS(code, fn)                                              \
  case code + 0x06: rmw(c, zp(c), fn); break;                         \
  case code + 0x16: rmw(c, zp_indexed(c, c->x), fn); break;           \
  case code + 0x0E: rmw(c, absolute(c), fn); break;                   \
  case code + 0x1E: rmw(c, abs_indexed(c, c->x, RMW), fn); break;
    RMW_OPS(0x00, asl)
    RMW_OPS(0x20, rol)
    RMW_OPS(0x40, lsr)
    RMW_OPS(0x60, ror)
    RMW_OPS(0xC0, dec)
    RMW_OPS(0xE0, inc)
#undef RMW_OPS
    case 0x0A: rmw_a(c, asl); break;
    case 0x2A: rmw_a(c, rol); break;
    case 0x4A: rmw_a(c, lsr); break;
    case 0x6A: rmw_a(c, ror); break;

    // Register transfers, increments and flags.
    case 0xAA: implied(c); c->x = c->a; set_nz(c, c->x); break;
    case 0xA8: implied(c); c->y = c->a; set_nz(c, c->y); break;
    case 0x8A: implied(c); c->a = c->x; set_nz(c, c->a); break;
    case 0x98: implied(c); c->a = c->y; set_nz(c, c->a); break;
    case 0xBA: implied(c); c->x = c->s; set_nz(c, c->x); break;
    case 0x9A: implied(c); c->s = c->x; break;
    case 0xE8: implied(c); set_nz(c, ++c->x); break;
    case 0xC8: implied(c); set_nz(c, ++c->y); break;
    case 0xCA: implied(c); set_nz(c, --c->x); break;
    case 0x88: implied(c); set_nz(c, --c->y); break;
    case 0x18: implied(c); c->p &= ~M6502_C; break;
    case 0x38: implied(c); c->p |= M6502_C; break;
    case 0x58: implied(c); c->p &= ~M6502_I; break;
    case 0x78: implied(c); c->p |= M6502_I; break;
    case 0xB8: implied(c); c->p &= ~M6502_V; break;
    case 0xD8: implied(c); c->p &= ~M6502_D; break;
    case 0xF8: implied(c); c->p |= M6502_D; break;
    case 0xEA: implied(c); break;

    // Stack.
    case 0x48: implied(c); push(c, c->a); break;
    case 0x08: implied(c); push(c, c->p | M6502_B | M6502_U); break;
    case 0x68: implied(c); rd(c, 0x100 | c->s); c->a = pull(c); set_nz(c, c->a); break;
    case 0x28: implied(c); rd(c, 0x100 | c->s); c->p = (pull(c) & ~M6502_B) | M6502_U; break;

    // Jumps, calls, returns and branches.
    case 0x4C: c->pc = absolute(c); break;
    case 0x6C: {
      uint16_t pointer = absolute(c);
      uint16_t lo = rd(c, pointer);
      c->pc = lo | rd(c, (pointer & 0xFF00) | ((pointer + 1) & 0xFF)) << 8;  // no carry into the page
      break;
    }
    case 0x20: {
      uint16_t lo = fetch(c);
      rd(c, 0x100 | c->s);
      push(c, c->pc >> 8);
      push(c, c->pc & 0xFF);
      c->pc = lo | fetch(c) << 8;
      break;
    }
    case 0x60: {
      implied(c);
      rd(c, 0x100 | c->s);
      uint16_t lo = pull(c);
      c->pc = lo | pull(c) << 8;
      rd(c, c->pc++);
      break;
    }
    case 0x40: {
      implied(c);
      rd(c, 0x100 | c->s);
      c->p = (pull(c) & ~M6502_B) | M6502_U;
      uint16_t lo = pull(c);
      c->pc = lo | pull(c) << 8;
      break;
    }
    case 0x00: interrupt(c, 0xFFFE, true); break;
    case 0x10: branch(c, !(c->p & M6502_N)); break;
    case 0x30: branch(c, c->p & M6502_N); break;
    case 0x50: branch(c, !(c->p & M6502_V)); break;
    case 0x70: branch(c, c->p & M6502_V); break;
    case 0x90: branch(c, !(c->p & M6502_C)); break;
    case 0xB0: branch(c, c->p & M6502_C); break;
    case 0xD0: branch(c, !(c->p & M6502_Z)); break;
    case 0xF0: branch(c, c->p & M6502_Z); break;

    default:
      c->jammed = true;
      c->pc--;
      break;
  }
  // clang-format on
}
