// The VIC-II: per cycle, the bad line condition, the video matrix and graphics accesses, the
// row counter, then 8 pixels through the border unit; at the end of a line the vertical
// border and the beam's step to the next line, with the raster interrupt.
#include "vic2.h"

#include <cstring>
#include <iterator>

const Vic2ModelInfo vic2_models[VIC2_MODEL_COUNT] = {
    {"PAL 6569", 985248, 63, 312, 90, 495, 16, 272},
    {"NTSC 6567R8", 1022727, 65, 263, 80, 499, 28, 247},
    {"NTSC 6567R56A", 1022727, 64, 262, 80, 499, 28, 246},
    {"PAL-N 6572", 1023440, 65, 312, 80, 499, 16, 272},
};

namespace {

constexpr uint16_t kIdleAddress = 0x3FFF, kIdleAddressEcm = 0x39FF;
constexpr uint16_t kEcmAddressMask = 0x39FF;  // ECM forces address bits 9 and 10 low
constexpr int kCharRomBankMask = 0x4000;      // banks 0 and 2 see the character ROM
constexpr uint16_t kCharRomWindow = 0x1000, kCharRomWindowMask = 0x3000;
constexpr uint64_t kFill = 0x0101010101010101ULL;

// For each graphics byte, 8 bytes that are $FF where its bit is set, leftmost pixel first.
struct BitMasks {
  uint8_t mask[256][8];
  constexpr BitMasks() : mask() {
    for (int g = 0; g < 256; g++)
      for (int i = 0; i < 8; i++) mask[g][i] = g & (0x80 >> i) ? 0xFF : 0;
  }
};
constexpr BitMasks kBitMasks;

bool is_delayed(int reg) {
  return reg == VIC2_CTRL1 || reg == VIC2_CTRL2 || (reg >= VIC2_BORDER && reg <= VIC2_LAST_COLOUR);
}

uint8_t fetch(const Vic2 *v, uint16_t address) {
  address &= 0x3FFF;
  if (!(v->memory.bank & kCharRomBankMask) && (address & kCharRomWindowMask) == kCharRomWindow)
    return v->memory.char_rom[address & 0x0FFF];
  return v->memory.ram[v->memory.bank | address];
}

bool bad_line(const Vic2 *v) {
  const uint8_t ctrl1 = v->regs.reg[VIC2_CTRL1];
  if (v->beam.line < kVic2FirstBadLine || v->beam.line > kVic2LastBadLine) return false;
  if (!v->video.den_seen && !(v->beam.line == kVic2FirstBadLine && (ctrl1 & VIC2_CTRL1_DEN))) return false;
  return (v->beam.line & VIC2_CTRL1_YSCROLL) == (ctrl1 & VIC2_CTRL1_YSCROLL);
}

void check_raster_irq(Vic2 *v) {
  if (v->beam.line == v->regs.raster_compare) v->regs.irq_flags |= VIC2_IRQ_RASTER;
}

// The vertical flip-flop's two rules, applied in the last cycle of a line and at the left edge.
void vertical_border_rules(Vic2 *v, uint8_t ctrl1) {
  const bool rsel = ctrl1 & VIC2_CTRL1_RSEL;
  if (v->beam.line == kVic2WindowBottom[rsel]) v->border.vertical = true;
  if (v->beam.line == kVic2WindowTop[rsel] && (ctrl1 & VIC2_CTRL1_DEN)) v->border.vertical = false;
}

void apply_due_writes(Vic2 *v) {
  while (v->drawing.pending_count &&
         v->drawing.pending[v->drawing.pending_head].clock + kVic2WriteDelay <= v->beam.clock) {
    const Vic2PendingWrite &w = v->drawing.pending[v->drawing.pending_head];
    v->drawing.shown[w.reg] = w.value;
    v->drawing.pending_head = (v->drawing.pending_head + 1) % std::size(v->drawing.pending);
    v->drawing.pending_count--;
  }
}

// The 8 pixels of graphics column k in the mode shown.
void column_pixels(const Vic2 *v, int k, uint8_t px[8]) {
  const uint8_t *s = v->drawing.shown;
  const uint8_t g = v->video.graphics[k], c = v->video.matrix[k], colour = v->video.colours[k];
  const int mode = (s[VIC2_CTRL1] & (VIC2_CTRL1_ECM | VIC2_CTRL1_BMM)) | (s[VIC2_CTRL2] & VIC2_CTRL2_MCM);
  uint8_t pair[4];
  bool multi = false;
  uint8_t fg = 0, bg = 0;
  switch (mode) {
    case 0:  // standard text
      fg = colour, bg = s[VIC2_BACKGROUND0];
      break;
    case VIC2_CTRL2_MCM:  // multicolour text: colour bit 3 picks multicolour per cell
      if (colour & 8) {
        multi = true;
        pair[0] = s[VIC2_BACKGROUND0], pair[1] = s[VIC2_BACKGROUND0 + 1], pair[2] = s[VIC2_BACKGROUND0 + 2];
        pair[3] = colour & 7;
      } else {
        fg = colour & 7, bg = s[VIC2_BACKGROUND0];
      }
      break;
    case VIC2_CTRL1_BMM:  // hires bitmap
      fg = c >> 4, bg = c & 15;
      break;
    case VIC2_CTRL1_BMM | VIC2_CTRL2_MCM:  // multicolour bitmap
      multi = true;
      pair[0] = s[VIC2_BACKGROUND0], pair[1] = c >> 4, pair[2] = c & 15, pair[3] = colour;
      break;
    case VIC2_CTRL1_ECM:  // extended background colour text
      fg = colour, bg = s[VIC2_BACKGROUND0 + (c >> 6)];
      break;
    default:  // invalid modes show black
      std::memset(px, 0, 8);
      return;
  }
  if (multi) {
    for (int i = 0; i < 8; i += 2) px[i] = px[i + 1] = pair[g >> (6 - i) & 3];
  } else {
    uint64_t mask;
    std::memcpy(&mask, kBitMasks.mask[g], 8);
    const uint64_t pixels = (fg * kFill & mask) | (bg * kFill & ~mask);
    std::memcpy(px, &pixels, 8);
  }
}

// The graphics pixel at frame x (inside the display window).
struct Sequencer {
  int column = -1;
  uint8_t px[8];
};

uint8_t graphics_pixel(const Vic2 *v, Sequencer *seq, int x) {
  const int offset = x - kVic2GraphicsLeft - (v->drawing.shown[VIC2_CTRL2] & VIC2_CTRL2_XSCROLL);
  if (offset < 0 || offset >= 8 * kVic2Columns) return v->drawing.shown[VIC2_BACKGROUND0];
  const int k = offset >> 3;
  if (k != seq->column) {
    column_pixels(v, k, seq->px);
    seq->column = k;
  }
  return seq->px[offset & 7];
}

// Draws the 8 pixels of this cycle.
void draw(Vic2 *v) {
  apply_due_writes(v);
  const int width = v->model->cycles_per_line * 8;
  int row = v->beam.line, x = 8 * (v->beam.cycle - 2);
  if (v->beam.cycle == 1) {
    row = row ? row - 1 : v->model->lines - 1;
    x = width - 8;
  }
  uint8_t *out = v->drawing.frame[v->drawing.current] + row * width + x;
  const uint8_t ctrl1 = v->drawing.shown[VIC2_CTRL1];
  const bool csel = v->drawing.shown[VIC2_CTRL2] & VIC2_CTRL2_CSEL;
  const int left = kVic2WindowLeft[csel], right = kVic2WindowRight[csel];
  const uint8_t border = v->drawing.shown[VIC2_BORDER] & 15;
  const bool edge = (left >= x && left < x + 8) || (right >= x && right < x + 8);
  if (!edge && v->border.main) {
    const uint64_t fill = border * kFill;
    std::memcpy(out, &fill, 8);
    return;
  }
  const int offset = x - kVic2GraphicsLeft;
  if (!edge && !(v->drawing.shown[VIC2_CTRL2] & VIC2_CTRL2_XSCROLL) && offset >= 0 && offset < 8 * kVic2Columns) {
    column_pixels(v, offset >> 3, out);  // a whole column in this cycle's 8 pixels
    return;
  }
  Sequencer seq;
  for (int i = 0; i < 8; i++) {
    if (x + i == right) v->border.main = true;
    if (x + i == left) {
      vertical_border_rules(v, ctrl1);
      if (!v->border.vertical) v->border.main = false;
    }
    out[i] = v->border.main ? border : graphics_pixel(v, &seq, x + i);
  }
}

// The memory accesses of this cycle.
void access(Vic2 *v, bool bad) {
  const int c = v->beam.cycle;
  const uint8_t ctrl1 = v->regs.reg[VIC2_CTRL1], memory = v->regs.reg[VIC2_MEMORY];
  if (c == kVic2VcLoadCycle) {
    v->video.vc = v->video.vcbase;
    v->video.vmli = 0;
    if (bad) v->video.rc = 0;
  }
  if (c >= kVic2FirstGraphicsCycle && c < kVic2FirstGraphicsCycle + kVic2Columns) {
    const int k = c - kVic2FirstGraphicsCycle;
    uint16_t address;
    if (v->video.display_state) {
      if (ctrl1 & VIC2_CTRL1_BMM)
        address = static_cast<uint16_t>((memory & VIC2_MEMORY_BITMAP) << 10 | v->video.vc << 3 | v->video.rc);
      else
        address = static_cast<uint16_t>((memory & VIC2_MEMORY_CHARS) << 10 | v->video.matrix[v->video.vmli] << 3 |
                                        v->video.rc);
      if (ctrl1 & VIC2_CTRL1_ECM) address &= kEcmAddressMask;
      v->video.graphics[k] = fetch(v, address);
      v->video.vc = (v->video.vc + 1) & kVic2VcMask;
      v->video.vmli++;
    } else {
      v->video.graphics[k] = fetch(v, ctrl1 & VIC2_CTRL1_ECM ? kIdleAddressEcm : kIdleAddress);
      v->video.matrix[k] = v->video.colours[k] = 0;
    }
  }
  // The c-access in the second half of the cycle reads what VC points at after the g-access.
  if (bad && c >= kVic2FirstMatrixCycle && c <= kVic2LastMatrixCycle) {
    v->video.matrix[v->video.vmli] = fetch(v, static_cast<uint16_t>((memory & VIC2_MEMORY_MATRIX) << 6 | v->video.vc));
    v->video.colours[v->video.vmli] = v->memory.color_ram[v->video.vc] & 15;
  }
  if (c == kVic2RowCounterCycle) {
    if (v->video.rc == 7) {
      v->video.vcbase = v->video.vc;
      if (!bad) v->video.display_state = false;
    }
    if (v->video.display_state) v->video.rc = (v->video.rc + 1) & 7;
  }
}

void step_beam(Vic2 *v) {
  v->beam.clock++;
  const int cycle = v->beam.cycle + 1;
  if (cycle <= v->model->cycles_per_line) {
    v->beam.cycle = cycle;
    if (cycle == kVic2RasterIrqCycleLine0 && v->beam.line == 0) check_raster_irq(v);
    return;
  }
  vertical_border_rules(v, v->regs.reg[VIC2_CTRL1]);
  v->beam.cycle = 1;
  if (++v->beam.line == v->model->lines) {
    v->beam.line = 0;
    v->video.vcbase = 0;
    v->video.den_seen = false;
  } else {
    check_raster_irq(v);
  }
}

}  // namespace

void vic2_init(Vic2 *v, Vic2Model model, Vic2Memory memory) {
  std::memset(static_cast<void *>(v), 0, sizeof *v);
  v->model = &vic2_models[model];
  v->memory = memory;
  v->beam.line = 0;
  v->beam.cycle = 1;
  v->border.vertical = v->border.main = true;
}

bool vic2_blocks(const Vic2 *v, bool write) {
  const int c = v->beam.cycle;
  if (c < (write ? kVic2FirstMatrixCycle : kVic2BaLowCycle) || c > kVic2LastMatrixCycle) return false;
  return bad_line(v);
}

void vic2_cycle(Vic2 *v) {
  if (v->beam.line == kVic2FirstBadLine && (v->regs.reg[VIC2_CTRL1] & VIC2_CTRL1_DEN)) v->video.den_seen = true;
  const bool bad = bad_line(v);
  if (bad) v->video.display_state = true;
  access(v, bad);
  draw(v);
  if (v->beam.cycle == 1 && v->beam.line == 0) {
    v->drawing.current ^= 1;
    v->beam.frames++;
  }
  step_beam(v);
}

bool vic2_irq(const Vic2 *v) { return v->regs.irq_flags & v->regs.reg[VIC2_IRQ_MASK] & VIC2_IRQ_ALL; }

uint8_t vic2_peek(const Vic2 *v, int reg) {
  reg &= VIC2_REGISTER_COUNT - 1;
  switch (reg) {
    case VIC2_CTRL1: return static_cast<uint8_t>((v->regs.reg[reg] & 0x7F) | (v->beam.line >> 1 & VIC2_CTRL1_RST8));
    case VIC2_RASTER: return static_cast<uint8_t>(v->beam.line);
    case VIC2_CTRL2: return v->regs.reg[reg] | 0xC0;
    case VIC2_MEMORY: return v->regs.reg[reg] | 0x01;
    case VIC2_IRQ_FLAGS: return static_cast<uint8_t>(v->regs.irq_flags | 0x70 | (vic2_irq(v) ? VIC2_IRQ_ANY : 0));
    case VIC2_IRQ_MASK: return v->regs.reg[reg] | 0xF0;
    case VIC2_SPRITE_COLLISIONS:
    case VIC2_DATA_COLLISIONS: return 0;
    default:
      if (reg > VIC2_LAST_COLOUR) return 0xFF;
      return reg >= VIC2_BORDER ? v->regs.reg[reg] | 0xF0 : v->regs.reg[reg];
  }
}

uint8_t vic2_read(Vic2 *v, int reg) { return vic2_peek(v, reg); }

void vic2_write(Vic2 *v, int reg, uint8_t value) {
  reg &= VIC2_REGISTER_COUNT - 1;
  switch (reg) {
    case VIC2_CTRL1:
      v->regs.raster_compare = static_cast<uint16_t>((v->regs.raster_compare & 0xFF) | (value & VIC2_CTRL1_RST8) << 1);
      check_raster_irq(v);
      break;
    case VIC2_RASTER:
      v->regs.raster_compare = static_cast<uint16_t>((v->regs.raster_compare & 0x100) | value);
      check_raster_irq(v);
      return;
    case VIC2_IRQ_FLAGS: v->regs.irq_flags &= ~value & VIC2_IRQ_ALL; return;
    case VIC2_IRQ_MASK: value &= VIC2_IRQ_ALL; break;
    default:
      if (reg > VIC2_LAST_COLOUR) return;
      if (reg >= VIC2_BORDER) value &= 15;
  }
  v->regs.reg[reg] = value;
  if (!is_delayed(reg)) return;
  if (v->drawing.pending_count == std::size(v->drawing.pending)) {  // cannot happen at one write per cycle
    v->drawing.shown[v->drawing.pending[v->drawing.pending_head].reg] =
        v->drawing.pending[v->drawing.pending_head].value;
    v->drawing.pending_head = (v->drawing.pending_head + 1) % std::size(v->drawing.pending);
    v->drawing.pending_count--;
  }
  const int slot = (v->drawing.pending_head + v->drawing.pending_count) % std::size(v->drawing.pending);
  v->drawing.pending[slot] = {v->beam.clock, static_cast<uint8_t>(reg), value};
  v->drawing.pending_count++;
}

const uint8_t *vic2_frame(const Vic2 *v) { return v->drawing.frame[v->drawing.current ^ 1]; }

int vic2_frame_width(const Vic2 *v) { return v->model->cycles_per_line * 8; }

int vic2_side_border_colour(const Vic2ModelInfo *model, const uint8_t *frame, int line, int left) {
  const uint8_t *row = frame + line * model->cycles_per_line * 8;
  const int first = left ? model->first_x : kVic2WindowRight[1], last = left ? kVic2WindowLeft[1] - 1 : model->last_x;
  for (int x = first + 1; x <= last; x++)
    if (row[x] != row[first]) return -1;
  return row[first];
}
