// The CIA's timers and interrupt control.
#include "cia.h"

#include <cstring>

namespace {

constexpr int kControl[2] = {CIA_CRA, CIA_CRB};
constexpr int kLatchLo[2] = {CIA_TA_LO, CIA_TB_LO};
constexpr uint8_t kFlag[2] = {CIA_ICR_TA, CIA_ICR_TB};

uint16_t latch(const Cia *c, int t) {
  return static_cast<uint16_t>(c->reg[kLatchLo[t]] | c->reg[kLatchLo[t] + 1] << 8);
}

}  // namespace

void cia_init(Cia *c) {
  std::memset(c, 0, sizeof *c);
  c->reg[CIA_TA_LO] = c->reg[CIA_TA_HI] = c->reg[CIA_TB_LO] = c->reg[CIA_TB_HI] = 0xFF;
  c->counter[0] = c->counter[1] = 0xFFFF;
}

uint8_t cia_port_a(const Cia *c) { return static_cast<uint8_t>(c->reg[CIA_PRA] | ~c->reg[CIA_DDRA]); }

uint8_t cia_peek(const Cia *c, int reg) {
  switch (reg & 0x0F) {
    case CIA_PRA: return cia_port_a(c);
    case CIA_PRB: return static_cast<uint8_t>(c->reg[CIA_PRB] | ~c->reg[CIA_DDRB]);
    case CIA_TA_LO: return c->counter[0] & 0xFF;
    case CIA_TA_HI: return c->counter[0] >> 8;
    case CIA_TB_LO: return c->counter[1] & 0xFF;
    case CIA_TB_HI: return c->counter[1] >> 8;
    case CIA_ICR: return static_cast<uint8_t>(c->icr_data | (cia_irq(c) ? CIA_ICR_IR : 0));
    default: return c->reg[reg & 0x0F];
  }
}

uint8_t cia_read(Cia *c, int reg) {
  const uint8_t value = cia_peek(c, reg);
  if ((reg & 0x0F) == CIA_ICR) c->icr_data = 0;
  return value;
}

void cia_write(Cia *c, int reg, uint8_t value) {
  reg &= 0x0F;
  if (reg == CIA_ICR) {
    if (value & CIA_ICR_SET)
      c->icr_mask |= value & CIA_ICR_SOURCES;
    else
      c->icr_mask &= ~value & CIA_ICR_SOURCES;
    return;
  }
  c->reg[reg] = value;
  for (int t = 0; t < 2; t++) {
    // Writing the high latch byte of a stopped timer loads it, as does the force-load bit.
    if ((reg == kLatchLo[t] + 1 && !(c->reg[kControl[t]] & CIA_CR_START)) ||
        (reg == kControl[t] && (value & CIA_CR_LOAD))) {
      c->counter[t] = latch(c, t);
      c->reg[kControl[t]] &= ~CIA_CR_LOAD;
    }
  }
}

void cia_cycle(Cia *c) {
  for (int t = 0; t < 2; t++) {
    uint8_t &control = c->reg[kControl[t]];
    if (!(control & CIA_CR_START)) continue;
    if (c->counter[t]) {
      c->counter[t]--;
      continue;
    }
    c->icr_data |= kFlag[t];
    c->counter[t] = latch(c, t);
    if (control & CIA_CR_ONESHOT) control &= ~CIA_CR_START;
  }
}

bool cia_irq(const Cia *c) { return c->icr_data & c->icr_mask; }
