// The C64 machine: memory map, bus cycles shared by processor and video chip, interrupt
// lines, and the KERNAL stand-in that powers on and starts programs.
#include "c64.h"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>

#include "c64_charsets_xpm.h"

namespace {

// Processor port bits at $01.
constexpr uint8_t kLoram = 0x01, kHiram = 0x02, kCharen = 0x04;
constexpr uint8_t kPortDirection = 0x2F, kPortKernal = 0x37;

constexpr uint16_t kIoStart = 0xD000, kVicEnd = 0xD400, kColorRamStart = 0xD800, kCia1Start = 0xDC00,
                   kCia2Start = 0xDD00, kIoEnd = 0xE000;
constexpr uint16_t kScreen = 0x0400, kScreenSize = 1000;
constexpr uint8_t kSpace = 0x20, kLightBlue = 14, kBlue = 6;

// KERNAL stand-in, $E000-$FFFF.
constexpr uint16_t kKernalStart = 0xE000;
constexpr uint16_t kIrqEntry = 0xFF48, kNmiEntry = 0xFE43, kNmiDefault = 0xFE47, kTimerIrq = 0xEA31,
                   kResetEntry = 0xFCE2, kIdleLoop = 0xE5CD;
constexpr uint16_t kIrqVector = 0x0314, kBrkVector = 0x0316, kNmiVector = 0x0318;
constexpr uint8_t kSysToken = 0x9E, kBasicSpace = 0x20;
constexpr uint16_t kBasicEndPointer = 0x2D;  // where LOAD leaves the end of the program
constexpr uint16_t kCia1TimerPal = 0x4025;   // the KERNAL's 60 Hz keyboard scan interrupt
constexpr uint8_t kCia2BankPort = 0x97, kCia2BankDirection = 0x3F;

struct Kernal {
  uint8_t rom[0x2000]{};
  void put(uint16_t address, std::initializer_list<uint8_t> bytes) {
    std::copy(bytes.begin(), bytes.end(), rom + (address - kKernalStart));
  }
  Kernal() {
    put(kNmiEntry, {0x78, 0x6C, kNmiVector & 0xFF, kNmiVector >> 8});                  // SEI; JMP ($0318)
    put(kNmiDefault, {0x40});                                                          // RTI
    put(kIrqEntry, {0x48, 0x8A, 0x48, 0x98, 0x48, 0xBA, 0xBD, 0x04, 0x01, 0x29, 0x10,  // save registers, BRK?
                    0xF0, 0x03, 0x6C, kBrkVector & 0xFF, kBrkVector >> 8, 0x6C, kIrqVector & 0xFF, kIrqVector >> 8});
    put(kTimerIrq, {0xAD, 0x0D, 0xDC, 0x68, 0xA8, 0x68, 0xAA, 0x68, 0x40});  // ack CIA 1, restore, RTI
    put(kIdleLoop, {0x4C, kIdleLoop & 0xFF, kIdleLoop >> 8});                // JMP to itself
    put(0xFFFA,
        {kNmiEntry & 0xFF, kNmiEntry >> 8, kResetEntry & 0xFF, kResetEntry >> 8, kIrqEntry & 0xFF, kIrqEntry >> 8});
  }
};
const Kernal kernal;

// The character ROM, taken from the editor's compiled-in glyph images (a dot is a set pixel).
constexpr int kXpmFirstRow = 3, kGlyphsPerRow = 32;
struct CharRom {
  uint8_t bytes[kC64CharRomSize]{};
  static void cut(const char *const *xpm, uint8_t *out) {
    for (int code = 0; code < 256; code++)
      for (int row = 0; row < 8; row++) {
        const char *pixels = xpm[kXpmFirstRow + 8 * (code / kGlyphsPerRow) + row] + 8 * (code % kGlyphsPerRow);
        uint8_t byte = 0;
        for (int bit = 0; bit < 8; bit++) byte = static_cast<uint8_t>(byte << 1 | (pixels[bit] == '.'));
        out[code * 8 + row] = byte;
      }
  }
  CharRom() {
    cut(c64_upp_xpm, bytes);
    cut(c64_low_xpm, bytes + kC64CharRomSize / 2);
  }
};
const CharRom char_rom;

uint8_t port(const C64 *m) { return m->ram[1] & (kLoram | kHiram | kCharen); }
bool io_visible(const C64 *m) { return (port(m) & kCharen) && (port(m) & (kLoram | kHiram)); }
bool char_rom_visible(const C64 *m) { return !(port(m) & kCharen) && (port(m) & (kLoram | kHiram)); }
bool kernal_visible(const C64 *m) { return port(m) & kHiram; }

void update_bank(C64 *m) { m->vic.memory.bank = static_cast<uint16_t>((~cia_port_a(&m->cia[1]) & 3) << 14); }

// The end of one bus cycle: the chips run it, interrupt lines follow.
void end_cycle(C64 *m) {
  const uint64_t frames = m->vic.beam.frames;
  vic2_cycle(&m->vic);
  cia_cycle(&m->cia[0]);
  cia_cycle(&m->cia[1]);
  m->cpu.irq = vic2_irq(&m->vic) || cia_irq(&m->cia[0]);
  const bool nmi = cia_irq(&m->cia[1]);
  if (nmi && !m->nmi_line) m->cpu.nmi = true;
  m->nmi_line = nmi;
  if (m->vic.beam.frames != frames) {
    m->last_border_writes.swap(m->border_writes);
    m->border_writes.clear();
  }
}

void wait_for_bus(C64 *m, bool write) {
  while (vic2_blocks(&m->vic, write)) {
    end_cycle(m);
    m->stolen++;
  }
}

uint8_t io_read(C64 *m, uint16_t address) {
  if (address < kVicEnd) return vic2_read(&m->vic, address);
  if (address < kColorRamStart) return 0;
  if (address < kCia1Start) return m->color_ram[address & (kC64ColorRamSize - 1)];
  if (address < kCia2Start) return cia_read(&m->cia[0], address);
  if (address < kCia2Start + 0x100) return cia_read(&m->cia[1], address);
  return 0;
}

void io_write(C64 *m, uint16_t address, uint8_t value) {
  if (address < kVicEnd) {
    if ((address & (VIC2_REGISTER_COUNT - 1)) == VIC2_BORDER)
      m->border_writes.push_back({static_cast<uint16_t>(m->vic.beam.line), static_cast<uint8_t>(m->vic.beam.cycle),
                                  static_cast<uint8_t>(value & 15)});
    vic2_write(&m->vic, address, value);
  } else if (address >= kColorRamStart && address < kCia1Start) {
    m->color_ram[address & (kC64ColorRamSize - 1)] = value & 15;
  } else if (address >= kCia1Start && address < kCia2Start) {
    cia_write(&m->cia[0], address, value);
  } else if (address >= kCia2Start && address < kCia2Start + 0x100) {
    cia_write(&m->cia[1], address, value);
    update_bank(m);
  }
}

uint8_t bus_read(void *ctx, uint16_t address) {
  C64 *m = static_cast<C64 *>(ctx);
  wait_for_bus(m, false);
  const uint8_t value =
      address >= kIoStart && address < kIoEnd && io_visible(m) ? io_read(m, address) : c64_peek(m, address);
  end_cycle(m);
  return value;
}

void bus_write(void *ctx, uint16_t address, uint8_t value) {
  C64 *m = static_cast<C64 *>(ctx);
  wait_for_bus(m, true);
  if (address >= kIoStart && address < kIoEnd && io_visible(m))
    io_write(m, address, value);
  else
    m->ram[address] = value;  // writes under the ROMs reach RAM
  end_cycle(m);
}

// The address of "SYS n" when that is the first statement of the BASIC program at $0801.
bool sys_address(const C64 *m, uint16_t *address) {
  int p = kC64LoadAddress + 4;  // after the link and the line number
  while (m->ram[p] == kBasicSpace) p++;
  if (m->ram[p++] != kSysToken) return false;
  while (m->ram[p] == kBasicSpace) p++;
  unsigned value = 0;
  int digits = 0;
  for (; m->ram[p] >= '0' && m->ram[p] <= '9' && digits < 6; p++, digits++) value = value * 10 + (m->ram[p] - '0');
  if (!digits || value > 0xFFFF) return false;
  *address = static_cast<uint16_t>(value);
  return true;
}

bool fail(std::string *error, const char *message) {
  if (error) *error = message;
  return false;
}

}  // namespace

const uint8_t *c64_char_rom() { return char_rom.bytes; }

uint8_t c64_peek(const C64 *m, uint16_t address) {
  if (address >= kKernalStart) return kernal_visible(m) ? kernal.rom[address - kKernalStart] : m->ram[address];
  if (address >= kIoStart && address < kIoEnd) {
    if (char_rom_visible(m)) return char_rom.bytes[address & 0x0FFF];
    if (io_visible(m)) {
      if (address < kVicEnd) return vic2_peek(&m->vic, address);
      if (address >= kColorRamStart && address < kCia1Start) return m->color_ram[address & (kC64ColorRamSize - 1)];
      if (address >= kCia1Start && address < kCia2Start) return cia_peek(&m->cia[0], address);
      if (address >= kCia2Start && address < kCia2Start + 0x100) return cia_peek(&m->cia[1], address);
      return 0;
    }
  }
  return m->ram[address];
}

bool c64_start(C64 *m, const std::vector<uint8_t> &prg, Vic2Model model, std::string *error) {
  if (prg.size() < 3) return fail(error, "too short for a PRG");
  const size_t load = prg[0] | prg[1] << 8;
  if (load + prg.size() - 2 > 0x10000) return fail(error, "does not fit into memory at its load address");

  std::memset(m->ram, 0, sizeof m->ram);
  std::memset(m->color_ram, kLightBlue, sizeof m->color_ram);
  m->ram[0] = kPortDirection;
  m->ram[1] = kPortKernal;
  std::memset(m->ram + kScreen, kSpace, kScreenSize);
  const uint16_t vectors[] = {kTimerIrq, kResetEntry, kNmiDefault};  // $0314 IRQ, BRK, NMI
  for (int i = 0; i < 3; i++) {
    m->ram[kIrqVector + 2 * i] = vectors[i] & 0xFF;
    m->ram[kIrqVector + 2 * i + 1] = vectors[i] >> 8;
  }
  std::copy(prg.begin() + 2, prg.end(), m->ram + load);
  const uint16_t end = static_cast<uint16_t>(load + prg.size() - 2);
  m->ram[kBasicEndPointer] = end & 0xFF;
  m->ram[kBasicEndPointer + 1] = end >> 8;
  uint16_t start;
  if (load != kC64LoadAddress || !sys_address(m, &start)) return fail(error, "does not start with a SYS line at $0801");

  vic2_init(&m->vic, model, Vic2Memory{m->ram, m->color_ram, char_rom.bytes, 0});
  const std::pair<int, uint8_t> video[] = {
      {VIC2_CTRL1, 0x1B},        {VIC2_CTRL2, 0xC8},        {VIC2_MEMORY, 0x15},       {VIC2_BORDER, kLightBlue},
      {VIC2_BACKGROUND0, kBlue}, {VIC2_BACKGROUND0 + 1, 1}, {VIC2_BACKGROUND0 + 2, 2}, {VIC2_BACKGROUND0 + 3, 3}};
  for (auto [reg, value] : video) m->vic.regs.reg[reg] = m->vic.drawing.shown[reg] = value;
  for (Cia &cia : m->cia) cia_init(&cia);
  m->cia[0].reg[CIA_TA_LO] = kCia1TimerPal & 0xFF;
  m->cia[0].reg[CIA_TA_HI] = kCia1TimerPal >> 8;
  m->cia[0].counter[0] = kCia1TimerPal;
  m->cia[0].reg[CIA_CRA] = CIA_CR_START;
  m->cia[0].icr_mask = CIA_ICR_TA;
  m->cia[1].reg[CIA_PRA] = kCia2BankPort;
  m->cia[1].reg[CIA_DDRA] = kCia2BankDirection;
  update_bank(m);
  m->nmi_line = false;
  m->stolen = 0;
  m->border_writes.clear();
  m->last_border_writes.clear();

  m6502_init(&m->cpu, M6502Bus{bus_read, bus_write, m}, start);
  // As SYS does: the machine code returns (if ever) into the idle loop.
  const uint16_t back = kIdleLoop - 1;
  m->ram[0x100 + m->cpu.s--] = back >> 8;
  m->ram[0x100 + m->cpu.s--] = back & 0xFF;
  return true;
}

bool c64_start_file(C64 *m, const std::string &path, Vic2Model model, std::string *error) {
  std::ifstream file(path, std::ios::binary);
  if (!file) return fail(error, "cannot be read");
  const std::vector<uint8_t> prg((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  return c64_start(m, prg, model, error);
}

void c64_run_frames(C64 *m, uint64_t frames) {
  while (m->vic.beam.frames < frames) {
    if (m->cpu.jammed)
      end_cycle(m);
    else
      m6502_step(&m->cpu);
  }
}

void c64_run_frame(C64 *m) { c64_run_frames(m, m->vic.beam.frames + 1); }
