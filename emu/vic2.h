// The MOS VIC-II video chip, cycle by cycle, in four versions: PAL 6569, NTSC 6567R8, old NTSC
// 6567R56A and PAL-N 6572.
//
// Modelled: the raster counter and the raster interrupt; bad lines (the bad line condition,
// BA going low three cycles before the video matrix accesses, so that the processor may
// still write in those cycles); the video matrix, character and bitmap accesses with the
// video counter, row counter and display/idle states; the five graphics modes (standard and
// multicolour text, extended background colour, hires and multicolour bitmap, and black for
// the invalid ones) with X and Y scrolling; the border unit with its main and vertical
// flip-flops (38/40 columns, 24/25 rows, display enable); the 16K bank chosen by CIA 2 and
// the character ROM seen in banks 0 and 2. The chip draws 8 pixels per cycle into a frame of
// the whole raster, blanking included: row r is raster line r, pixel x is sprite X
// coordinate + 112, and cycle c draws x = 8 (c - 2) of its line (cycle 1 draws the last 8
// pixels of the line before, as the real chip does). Register writes reach the picture
// kVic2WriteDelay cycles later, where the beam is by then.
//
// Left out: sprites (never displayed; their DMA does not steal cycles), collisions, light
// pen, the grey-dot and other colour-change artefacts within a cycle, the DRAM refresh and
// the exact X coordinates of the blanking area on each version.
#pragma once

#include <cstdint>

enum Vic2Model : int { VIC2_PAL_6569, VIC2_NTSC_6567R8, VIC2_NTSC_6567R56A, VIC2_PALN_6572, VIC2_MODEL_COUNT };

struct Vic2ModelInfo {
  const char *name;
  int clock_hz;  // system clock of the machine built around it
  int cycles_per_line;
  int lines;
  // The part a monitor shows, in frame pixels: columns first_x..last_x, and `visible_lines`
  // raster lines from `first_line` on, wrapping past the frame's last line into line 0.
  int first_x, last_x;
  int first_line, visible_lines;
};
extern const Vic2ModelInfo vic2_models[VIC2_MODEL_COUNT];

// Registers ($D000 + n) and their bits.
enum Vic2Register : int {
  VIC2_CTRL1 = 0x11,
  VIC2_RASTER = 0x12,
  VIC2_SPRITE_ENABLE = 0x15,
  VIC2_CTRL2 = 0x16,
  VIC2_MEMORY = 0x18,
  VIC2_IRQ_FLAGS = 0x19,
  VIC2_IRQ_MASK = 0x1A,
  VIC2_SPRITE_COLLISIONS = 0x1E,
  VIC2_DATA_COLLISIONS = 0x1F,
  VIC2_BORDER = 0x20,
  VIC2_BACKGROUND0 = 0x21,
  VIC2_LAST_COLOUR = 0x2E,
  VIC2_REGISTER_COUNT = 0x40,
};
enum : uint8_t {
  VIC2_CTRL1_YSCROLL = 0x07,
  VIC2_CTRL1_RSEL = 0x08,
  VIC2_CTRL1_DEN = 0x10,
  VIC2_CTRL1_BMM = 0x20,
  VIC2_CTRL1_ECM = 0x40,
  VIC2_CTRL1_RST8 = 0x80,
  VIC2_CTRL2_XSCROLL = 0x07,
  VIC2_CTRL2_CSEL = 0x08,
  VIC2_CTRL2_MCM = 0x10,
  VIC2_MEMORY_CHARS = 0x0E,
  VIC2_MEMORY_BITMAP = 0x08,
  VIC2_MEMORY_MATRIX = 0xF0,
  VIC2_IRQ_RASTER = 0x01,
  VIC2_IRQ_ALL = 0x0F,
  VIC2_IRQ_ANY = 0x80,
};

// Timing, in cycles 1..cycles_per_line of a raster line, the same on all four versions.
constexpr int kVic2BaLowCycle = 12;        // BA falls: the processor stops at its next read
constexpr int kVic2VcLoadCycle = 14;       // VC := VCBASE, VMLI := 0 (RC := 0 on a bad line)
constexpr int kVic2FirstMatrixCycle = 15;  // c-accesses 15..54 on a bad line
constexpr int kVic2LastMatrixCycle = 54;
constexpr int kVic2FirstGraphicsCycle = 16;  // g-accesses 16..55
constexpr int kVic2RowCounterCycle = 58;     // RC = 7 ends the character row
constexpr int kVic2RasterIrqCycleLine0 = 2;  // line 0 raises its raster interrupt a cycle late
constexpr int kVic2WriteDelay = 3;           // a colour written in cycle c shows from cycle c + 3
constexpr int kVic2GraphicsDelay = 3;        // column k, fetched in cycle 16 + k, is drawn in 19 + k
constexpr int kVic2FirstBadLine = 0x30, kVic2LastBadLine = 0xF7;
constexpr int kVic2Columns = 40;
constexpr uint16_t kVic2VcMask = 0x3FF;  // the video counter's 10 bits

// Geometry of the frame and of the display window.
constexpr int kVic2FrameXOffset = 112;  // frame x = sprite X + 112
constexpr int kVic2MaxCyclesPerLine = 65, kVic2MaxLines = 312;
constexpr int kVic2MaxFrameWidth = 8 * kVic2MaxCyclesPerLine;
constexpr int kVic2WindowLeft[2] = {31 + kVic2FrameXOffset, 24 + kVic2FrameXOffset};     // by CSEL
constexpr int kVic2WindowRight[2] = {335 + kVic2FrameXOffset, 344 + kVic2FrameXOffset};  // by CSEL
constexpr int kVic2WindowTop[2] = {55, 51};                                              // by RSEL
constexpr int kVic2WindowBottom[2] = {247, 251};                                         // by RSEL
// Cycle c draws frame x = 8 (c - 2): column 0, fetched in the first graphics cycle, starts at
// the 40-column window's left edge at XSCROLL 0.
constexpr int kVic2GraphicsLeft = 8 * (kVic2FirstGraphicsCycle + kVic2GraphicsDelay - 2);
static_assert(kVic2GraphicsLeft == kVic2WindowLeft[1]);

// Memory as the chip sees it: RAM, the colour RAM (low nibbles) and the character ROM.
struct Vic2Memory {
  const uint8_t *ram;
  const uint8_t *color_ram;
  const uint8_t *char_rom;
  uint16_t bank;  // $0000, $4000, $8000 or $C000
};

// A register write on its way to the drawing.
struct Vic2PendingWrite {
  uint64_t clock;
  uint8_t reg, value;
};

// The chip's state, grouped by the unit that keeps it.
struct Vic2 {
  const Vic2ModelInfo *model;
  // Raster and cycle counters: where the beam is, and how far the chip has run.
  struct Beam {
    int line, cycle;  // raster line and cycle 1..cycles_per_line
    uint64_t clock;   // cycles since power-on
    uint64_t frames;  // frames completed
  } beam;
  // The border unit's flip-flops.
  struct Border {
    bool vertical, main;
  } border;
  // Memory pointers: what the chip's accesses read.
  Vic2Memory memory;
  // The registers as last written, the raster compare value and the interrupt latch.
  struct Registers {
    uint8_t reg[VIC2_REGISTER_COUNT];
    uint16_t raster_compare;
    uint8_t irq_flags;
  } regs;
  // The video matrix and graphics accesses: counters, states and the data of this row.
  struct Video {
    bool den_seen;       // DEN was set in some cycle of line $30: this frame has bad lines
    bool display_state;  // else idle
    uint16_t vc, vcbase;
    uint8_t rc, vmli;
    uint8_t matrix[kVic2Columns], colours[kVic2Columns], graphics[kVic2Columns];
  } video;
  // The drawing: the colour and mode registers as it sees them (kVic2WriteDelay cycles
  // late) with the writes still on their way, and two frames, one being drawn (`current`)
  // and one complete.
  struct Drawing {
    uint8_t shown[VIC2_REGISTER_COUNT];
    Vic2PendingWrite pending[8];
    uint8_t pending_head, pending_count;
    uint8_t frame[2][kVic2MaxFrameWidth * kVic2MaxLines];
    uint8_t current;
  } drawing;
};

// Powers the chip on at cycle 1 of line 0 with all registers zero.
void vic2_init(Vic2 *v, Vic2Model model, Vic2Memory memory);

// Runs the current cycle (after the processor's access in it) and steps the beam.
void vic2_cycle(Vic2 *v);

// True when the chip holds the bus in the current cycle for an access of that kind.
bool vic2_blocks(const Vic2 *v, bool write);

bool vic2_irq(const Vic2 *v);
uint8_t vic2_read(Vic2 *v, int reg);        // as the processor reads it (no collisions: 0)
uint8_t vic2_peek(const Vic2 *v, int reg);  // the same without side effects
void vic2_write(Vic2 *v, int reg, uint8_t value);

// The last complete frame: cycles_per_line * 8 pixels by `lines` rows of colour indices.
const uint8_t *vic2_frame(const Vic2 *v);
int vic2_frame_width(const Vic2 *v);

// The colour a side border shows over its whole visible width on raster `line` of a frame of
// that model (left: 1, right: 0), or -1 when the segment holds more than one colour.
int vic2_side_border_colour(const Vic2ModelInfo *model, const uint8_t *frame, int line, int left);
