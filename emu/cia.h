// The MOS 6526 CIA, the parts the C64's programs here use: the two interval timers (counting
// system clock cycles, continuous or one-shot, with their latches and force-load), the
// interrupt control register with its mask, and port A as written (CIA 2 picks the video
// chip's 16K bank with it).
//
// Left out: the time-of-day clock, the serial port, the keyboard and joystick matrix (ports
// read as all lines high), timer B counting timer A underflows or the CNT pin, port B timer
// outputs, and the one- and two-cycle delays of the real chip between writing a control
// register or reading the interrupt register and the effect.
#pragma once

#include <cstdint>

enum CiaRegister : int {
  CIA_PRA = 0x00,
  CIA_PRB = 0x01,
  CIA_DDRA = 0x02,
  CIA_DDRB = 0x03,
  CIA_TA_LO = 0x04,
  CIA_TA_HI = 0x05,
  CIA_TB_LO = 0x06,
  CIA_TB_HI = 0x07,
  CIA_ICR = 0x0D,
  CIA_CRA = 0x0E,
  CIA_CRB = 0x0F,
  CIA_REGISTER_COUNT = 0x10,
};
enum : uint8_t {
  CIA_CR_START = 0x01,
  CIA_CR_ONESHOT = 0x08,
  CIA_CR_LOAD = 0x10,
  CIA_ICR_TA = 0x01,
  CIA_ICR_TB = 0x02,
  CIA_ICR_SOURCES = 0x1F,
  CIA_ICR_SET = 0x80,
  CIA_ICR_IR = 0x80,
};

struct Cia {
  uint8_t reg[CIA_REGISTER_COUNT];  // as last written (the timers' bytes are the latches)
  uint16_t counter[2];              // timers A and B
  uint8_t icr_data, icr_mask;
};

void cia_init(Cia *c);
uint8_t cia_read(Cia *c, int reg);        // reading the interrupt register clears it
uint8_t cia_peek(const Cia *c, int reg);  // the same without side effects
void cia_write(Cia *c, int reg, uint8_t value);
void cia_cycle(Cia *c);            // one system clock cycle
bool cia_irq(const Cia *c);        // the interrupt output (IRQ on CIA 1, NMI on CIA 2)
uint8_t cia_port_a(const Cia *c);  // port A lines: outputs as written, inputs high
