// The 6502 core against the public functional test image, and the exported programs of
// each picture kind run on the C64 model: the picture data in place, the mode registers,
// and the bars of both sides shown line by line in the side borders.
#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>

#include "c64.h"
#include "file_commands.h"

// The image ends in an instruction that jumps to itself; $3469 is the one reached when every
// instruction, addressing mode and flag (decimal mode included) behaved.
TEST(M6502, PassesTheFunctionalTest) {
  const std::string path = shared_data("6502/6502_functional_test.bin");
  SKIP_WITHOUT_SHARED(path);
  std::ifstream file(path, std::ios::binary);
  const std::vector<char> image((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  ASSERT_EQ(image.size(), 65536u);
  auto memory = std::make_unique<M6502FlatMemory>();
  std::memcpy(memory->bytes, image.data(), image.size());
  M6502 cpu;
  m6502_init(&cpu, memory->bus(), 0x0400);
  for (uint16_t before = 0; before != cpu.pc && cpu.cycles < 200000000 && !cpu.jammed;) {
    before = cpu.pc;
    m6502_step(&cpu);
  }
  EXPECT_EQ(cpu.pc, 0x3469) << std::hex << "trapped at " << cpu.pc;
  EXPECT_EQ(cpu.instructions, 30646177u);
  EXPECT_EQ(cpu.cycles, 96241367u);
}

// Cycles of single instructions run at $02F0 with X = Y = $10 and all flags but I clear:
// index and branch penalties, and the fixed counts of writes, read-modify-writes and calls.
TEST(M6502, InstructionCycles) {
  struct Row {
    const char *what;
    std::vector<uint8_t> code;
    uint64_t cycles;
  };
  const Row rows[] = {{"LDA abs,X", {0xBD, 0x10, 0x20}, 4},
                      {"LDA abs,X across a page", {0xBD, 0xF8, 0x20}, 5},
                      {"STA abs,X", {0x9D, 0x10, 0x20}, 5},
                      {"INC abs,X", {0xFE, 0x10, 0x20}, 7},
                      {"LDA (zp,X)", {0xA1, 0x00}, 6},
                      {"STA (zp),Y", {0x91, 0x00}, 6},
                      {"BEQ not taken", {0xF0, 0x10}, 2},
                      {"BNE taken", {0xD0, 0xFE}, 3},
                      {"BNE taken across a page", {0xD0, 0x10}, 4},
                      {"JSR", {0x20, 0x00, 0x30}, 6},
                      {"RTS", {0x60}, 6},
                      {"JMP (ind)", {0x6C, 0xFF, 0x10}, 5},
                      {"PLA", {0x68}, 4},
                      {"ASL zp", {0x06, 0x10}, 5}};
  auto memory = std::make_unique<M6502FlatMemory>();
  for (const Row &row : rows) {
    std::memset(memory->bytes, 0, sizeof memory->bytes);
    std::copy(row.code.begin(), row.code.end(), memory->bytes + 0x02F0);
    M6502 cpu;
    m6502_init(&cpu, memory->bus(), 0x02F0);
    cpu.x = cpu.y = 0x10;
    m6502_step(&cpu);
    EXPECT_EQ(cpu.cycles, row.cycles) << row.what;
  }
}

// An IRQ held while interrupts are masked is taken one instruction after CLI: seven cycles
// that push the return address and the status (I clear, B clear), then jump through $FFFE.
TEST(M6502, InterruptAfterCli) {
  auto memory = std::make_unique<M6502FlatMemory>();
  std::memset(memory->bytes, 0, sizeof memory->bytes);
  const uint8_t code[] = {0x58, 0xEA, 0xEA};
  std::copy(code, code + 3, memory->bytes + 0x0200);
  memory->bytes[0xFFFF] = 0x40;
  M6502 cpu;
  m6502_init(&cpu, memory->bus(), 0x0200);
  cpu.irq = true;
  for (int i = 0; i < 3; ++i) m6502_step(&cpu);
  EXPECT_EQ(cpu.pc, 0x4000);
  EXPECT_EQ(cpu.cycles, 11u);
  const uint8_t *top = memory->bytes + 0x0100 + cpu.s;
  EXPECT_EQ((std::vector<int>{top[1], top[2], top[3]}), (std::vector<int>{M6502_U, 0x02, 0x02}));
}

namespace {

using Bytes = std::vector<unsigned char>;

struct Kind {
  const char *name;
  int (*write)(const char *);
  unsigned format, charset;
  bool compact;  // bars from the Compact arrays, else from the Extended lists
  uint8_t d011, d016, d018;
  bool colour;  // colour RAM and background come from the picture
};
const Kind kinds[] = {
    {"hires", export_hires_to_executable, 2, 0, true, 0x3B, 0xC8, 0x18, false},
    {"multicolour", export_mc_to_executable, 6, 0, false, 0x3B, 0xD8, 0x18, true},
    {"petscii", export_petscii_to_executable, 1, 0, true, 0x1B, 0xC8, 0x15, true},
    {"petscii lower case", export_petscii_to_executable, 1, 1, false, 0x1B, 0xC8, 0x17, true},
};

// The fade's 16 steps take two frames each (a step maps all of colour RAM, more than a frame's
// worth of cycles), then blanking, copying and the mode set-up take a frame each: the bars
// play from frame 37 on. Look at a frame well after that.
constexpr int kFrames = 45;

class PrgPlayer : public ExportTest {
 protected:
  // A picture whose screen, colour and background bytes are easy to tell apart, and bars
  // on both sides: Compact colours that change on every line, or Extended bars of varied
  // heights and gaps.
  void fill(const Kind &kind) {
    picture_data.format = kind.format;
    picture_data.charset = kind.charset;
    for (int i = 0; i < 8000; ++i) picture_data.bitmap[i] = static_cast<unsigned char>(i * 13 + 5);
    for (int i = 0; i < 1000; ++i) {
      picture_data.screen[i] = static_cast<unsigned char>(i * 7 + 1);
      picture_data.color[i] = static_cast<unsigned char>(i * 3 + 2);
    }
    picture_data.background = 0x1B;
    interface_extended = kind.compact ? 0 : 1;
    for (int line = first_picture_line; line <= last_picture_line; ++line) {
      colors_left[line] = line % 16;
      colors_right[line] = (line * 5 + 3) % 16;
    }
    for (int k = 0; k < 28; ++k)
      gtk_list_store_insert_with_values(model_rasters_left, nullptr, -1, 0, 51 + 7 * k, 1, 4, 2, k % 16, -1);
    for (int k = 0; k < 18; ++k)
      gtk_list_store_insert_with_values(model_rasters_right, nullptr, -1, 0, 53 + 11 * k, 1, 1 + k % 6, 2,
                                        (k * 3 + 1) % 16, -1);
  }
};

}  // namespace

TEST_F(PrgPlayer, ShowsThePictureAndPlaysTheBars) {
  for (const Kind &kind : kinds) {
    SCOPED_TRACE(kind.name);
    rastermodel_delete_all_bars();
    rasterarray_delete_all_bars();
    fill(kind);
    ASSERT_EQ(kind.write(dir.file("out.prg").c_str()), 1);
    const std::string text = read_text(dir.file("out.prg"));
    const Bytes prg(text.begin(), text.end());
    // The tables at $0B01 and $0C01, file offsets from the load address $0801 on.
    const Bytes left(prg.begin() + 0x0B01 - 0x07FF, prg.begin() + 0x0B01 - 0x07FF + picture_lines);
    const Bytes right(prg.begin() + 0x0C01 - 0x07FF, prg.begin() + 0x0C01 - 0x07FF + picture_lines);
    ASSERT_GT(std::count_if(left.begin(), left.end(), [](int c) { return c != 6; }), 100);
    ASSERT_GT(std::count_if(right.begin(), right.end(), [](int c) { return c != 6; }), 50);

    auto m = std::make_unique<C64>();
    ASSERT_TRUE(c64_start(m.get(), prg));
    c64_run_frames(m.get(), kFrames);
    ASSERT_FALSE(m->cpu.jammed) << std::hex << m->cpu.pc;
    const Vic2ModelInfo *model = m->vic.model;
    const uint8_t *frame = vic2_frame(&m->vic);

    EXPECT_EQ(Bytes(m->ram + 0x0400, m->ram + 0x07E8), Bytes(picture_data.screen, picture_data.screen + 1000));
    if (kind.format != 1) {
      EXPECT_EQ(Bytes(m->ram + 0x2000, m->ram + 0x3F40), Bytes(picture_data.bitmap, picture_data.bitmap + 8000));
    }
    if (kind.colour) {
      for (int i = 0; i < 1000; ++i) ASSERT_EQ(m->color_ram[i], picture_data.color[i] & 15) << i;
      EXPECT_EQ(m->vic.reg[VIC2_BACKGROUND0], 0x0B);
    }
    EXPECT_EQ((Bytes{m->vic.reg[VIC2_CTRL1], m->vic.reg[VIC2_CTRL2], m->vic.reg[VIC2_MEMORY],
                     m->vic.reg[VIC2_SPRITE_ENABLE]}),
              (Bytes{kind.d011, kind.d016, kind.d018, 0}));

    // In the borders: the table's colours on lines 51..250, the border colour elsewhere, each
    // over the whole visible width.
    std::vector<int> left_shown, right_shown, left_wanted, right_wanted;
    for (int line = model->first_line; line < model->first_line + model->visible_lines; ++line) {
      const bool bar = line >= first_picture_line && line <= last_picture_line;
      left_shown.push_back(vic2_side_border_colour(model, frame, line, 1));
      right_shown.push_back(vic2_side_border_colour(model, frame, line, 0));
      left_wanted.push_back(bar ? left[line - first_picture_line] : 6);
      right_wanted.push_back(bar ? right[line - first_picture_line] : 6);
    }
    EXPECT_EQ(left_shown, left_wanted);
    EXPECT_EQ(right_shown, right_wanted);
    // The writes behind it, in order: left of 51, then per line its right colour and the next
    // line's left colour, the border colour last; none in the frame outside lines 50..250.
    std::vector<int> expected, written;
    for (int i = 0; i < picture_lines; ++i) expected.insert(expected.end(), {left[i], right[i]});
    expected.push_back(6);
    for (const C64BorderWrite &w : m->last_border_writes) {
      EXPECT_TRUE(w.line >= first_picture_line - 1 && w.line <= last_picture_line) << w.line << ":" << int(w.cycle);
      written.push_back(w.value);
    }
    EXPECT_EQ(written, expected);
  }
}
