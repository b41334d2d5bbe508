// The cruncher on generated programs, each crunched program run on the 6502 core from its
// SYS line to the start address: every program byte back in place, $00, $01 and the stack
// as they were (the rest of the zero page is the decruncher's); the programs that cannot
// fit are refused; the start address and SYS line readers.
#include <gtest/gtest.h>

#include <random>

#include "cruncher.h"
#include "sfxrun.h"

namespace {

using Bytes = std::vector<uint8_t>;

constexpr size_t kBasicBytes = kBasicEnd - kBasicStart;

Bytes prg_at(unsigned load, const Bytes &data) {
  Bytes prg(2 + data.size());
  prg[0] = static_cast<uint8_t>(load);
  prg[1] = static_cast<uint8_t>(load >> 8);
  std::copy(data.begin(), data.end(), prg.begin() + 2);
  return prg;
}

Bytes random_bytes(size_t n, unsigned seed) {
  std::mt19937 random(seed);
  Bytes b(n);
  for (uint8_t &x : b) x = static_cast<uint8_t>(random());
  return b;
}

// Picture-like data: 8-byte cells repeating with variations, zero gaps, a 1000-byte block.
Bytes bitmap_like(size_t n) {
  Bytes b(n, 0);
  std::mt19937 random(5);
  for (size_t i = 0; i < n; ++i) {
    if (i % 4000 > 3000) continue;  // zero gaps
    b[i] = static_cast<uint8_t>(i % 8 < 4           ? 0x55 << (i / 320 % 2)
                                : random() % 3 == 0 ? random()
                                                    : b[i >= 8 ? i - 8 : i]);
  }
  return b;
}

// n bytes from `alphabet` letters, each run of `repeat` bytes copied from `distance` back.
Bytes shaped(size_t n, unsigned alphabet, size_t distance, size_t repeat, unsigned seed) {
  Bytes b = random_bytes(n, seed);
  for (size_t i = 0; i < n; ++i) {
    if (alphabet) b[i] = static_cast<uint8_t>(b[i] % alphabet);
    if (distance && i >= distance && i % (2 * repeat) < repeat) b[i] = b[i - distance];
  }
  return b;
}

Bytes concat(Bytes a, const Bytes &b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

// Crunches and runs; checks everything a freshly started program may rely on.
void expect_round_trip(const std::string &what, const Bytes &prg, long start) {
  SCOPED_TRACE(what);
  Bytes out;
  std::string error;
  CrunchStats stats;
  ASSERT_TRUE(cruncher_crunch(prg, start, &out, &error, &stats)) << error;
  EXPECT_EQ(out[0] | out[1] << 8, static_cast<int>(kBasicStart));
  EXPECT_EQ(stats.output_bytes, out.size());
  const uint16_t entry = static_cast<uint16_t>(start == kStartFromSys ? cruncher_sys_address(prg) : start);
  SfxRun run;
  ASSERT_TRUE(sfx_run(out, entry, &run));
  ASSERT_TRUE(run.reached) << "cycles " << run.cycles;
  const unsigned load = prg[0] | prg[1] << 8;
  EXPECT_TRUE(std::equal(prg.begin() + 2, prg.end(), run.ram.begin() + load)) << "program bytes differ";
  EXPECT_EQ(run.ram[0], run.ram_before[0]);
  EXPECT_EQ(run.ram[1], 0x37);
  EXPECT_EQ(run.sp_after, run.sp_before);
  EXPECT_TRUE(std::equal(run.ram.begin() + 0x100 + run.sp_before + 1, run.ram.begin() + 0x200,
                         run.ram_before.begin() + 0x100 + run.sp_before + 1))
      << "stack above SP";
}

}  // namespace

// Every shape of program the stream codes differently: literal runs and matches of every
// length, near and far offsets, lengths past one piece of the copy and past one token.
TEST(Cruncher, RestoresEveryKindOfProgram) {
  Bytes basic_sys = {0x0B, 0x08, 0x0A, 0x00, 0x9E, '2', '0', '6', '1', 0, 0, 0, 0xEA, 0x60};
  Bytes with_sys = prg_at(kBasicStart, basic_sys);
  Bytes picture_with_sys = basic_sys;  // its SYS line kept as the crunched file's own
  picture_with_sys.resize(basic_sys.size() - 2);
  const Bytes picture = bitmap_like(9000);
  picture_with_sys.insert(picture_with_sys.end(), picture.begin(), picture.end());
  const Bytes own_line = prg_at(kBasicStart, picture_with_sys);
  struct Row {
    const char *what;
    Bytes prg;
    long start;
  };
  const Row rows[] = {
      {"one byte", prg_at(kBasicStart, {0x60}), kBasicStart},
      {"one byte high up", prg_at(0x9D00, {0x60}), 0x9D00},
      {"noise", prg_at(kBasicStart, random_bytes(1000, 2)), 0x0900},
      {"noise, large: literal runs past 255 bytes", prg_at(0x1000, random_bytes(12000, 1)), 0x1000 + 11999},
      {"one byte repeated, longer than one token may be", prg_at(kBasicStart, Bytes(38000, 0)), kBasicStart},
      {"a period of 3, longer than one piece", prg_at(kBasicStart, shaped(20000, 0, 3, 20000, 8)), 0x2000},
      {"short alphabet", prg_at(kBasicStart, shaped(9000, 3, 0, 1, 4)), 0x2000},
      {"near repeats", prg_at(kBasicStart, shaped(9000, 0, 3, 40, 5)), kBasicStart},
      {"far repeats, lengths past 256", prg_at(kBasicStart, shaped(30000, 0, 20000, 700, 6)), kBasicStart},
      {"repeats of 510 and 384 bytes, lengths past a first piece",
       prg_at(kBasicStart, concat(shaped(3000, 0, 1000, 510, 10), shaped(6000, 0, 1000, 384, 9))), kBasicStart},
      {"incompressible stretches of 300 between repeats", prg_at(kBasicStart, shaped(9000, 0, 1000, 300, 7)),
       kBasicStart},
      {"picture-like", prg_at(kBasicStart, bitmap_like(15000)), 2061},
      {"loads above the crunched file", prg_at(0x8000, bitmap_like(4000)), 0x8000},
      {"start from the SYS line", with_sys, kStartFromSys},
      {"a picture behind its own SYS line", own_line, kStartFromSys},
      {"the whole BASIC area", prg_at(kBasicStart, bitmap_like(kBasicBytes)), kBasicStart},
  };
  for (const Row &row : rows) expect_round_trip(row.what, row.prg, row.start);
  Bytes out;  // the picture's load address and SYS line are the crunched file's
  std::string error;
  ASSERT_TRUE(cruncher_crunch(own_line, kStartFromSys, &out, &error)) << error;
  EXPECT_TRUE(std::equal(out.begin(), out.begin() + 14, own_line.begin()));
}

// Programs that cannot fit are refused with a message, the output untouched.
TEST(Cruncher, RefusesWhatCannotFit) {
  struct Row {
    const char *what;
    Bytes prg;
    long start;
    const char *message;
  };
  const Row rows[] = {
      {"past the BASIC area", prg_at(kBasicStart, Bytes(kBasicBytes + 1, 0)), kBasicStart, "must lie within"},
      {"random filling it", prg_at(kBasicStart, random_bytes(kBasicBytes - 200, 3)), kBasicStart, "too large"},
      {"below the BASIC area", prg_at(0x0400, Bytes(10, 0)), 0x0400, "must lie within"},
      {"start before the data", prg_at(0x1000, Bytes(10, 0)), 0x0FFF, "outside"},
      {"start after the data", prg_at(0x1000, Bytes(10, 0)), 0x100A, "outside"},
      {"sys without a SYS line", prg_at(kBasicStart, Bytes(10, 0)), kStartFromSys, "no SYS"},
      {"sys with another load address", prg_at(0x1000, Bytes(10, 0)), kStartFromSys, "$0801"},
      {"no data", Bytes{0x01, 0x08}, kBasicStart, "not a PRG"},
  };
  for (const Row &row : rows) {
    Bytes out = {1, 2, 3};
    std::string error;
    EXPECT_FALSE(cruncher_crunch(row.prg, row.start, &out, &error)) << row.what;
    EXPECT_NE(error.find(row.message), std::string::npos) << row.what << ": " << error;
    EXPECT_EQ(error.find('\n'), std::string::npos) << row.what;
    EXPECT_EQ(out, (Bytes{1, 2, 3})) << row.what;
  }
}

TEST(Cruncher, StartAddressesAndSysLines) {
  struct Row {
    const char *text;
    bool ok;
    long value;
  };
  const Row rows[] = {{"0X1000", true, 0x1000},  // the usual spellings: the command line's test
                      {"65535", true, 65535},   {"65536", false, 0}, {"$", false, 0},   {"12a", false, 0},
                      {"", false, 0},           {"-1", false, 0},    {"SYS", false, 0}, {"$10000", false, 0}};
  for (const Row &row : rows) {
    long value = 0;
    EXPECT_EQ(cruncher_parse_start(row.text, &value), row.ok) << row.text;
    if (row.ok) {
      EXPECT_EQ(value, row.value) << row.text;
    }
  }
  // SYS 49152, as typed with a space (the round trips and refusals read the other SYS lines).
  EXPECT_EQ(cruncher_sys_address({0x01, 0x08, 0x0B, 0x08, 0x0A, 0x00, 0x9E, ' ', '4', '9', '1', '5', '2', 0}), 49152);
}
