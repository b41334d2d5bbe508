// The cruncher: turns a C64 program (PRG) into a smaller self-extracting one that loads at
// $0801, starts with its own BASIC SYS line, unpacks the program to its load address and
// jumps to its start. Pure functions over byte vectors; the command line lives in main.cpp.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

// The C64 memory a crunched program may use: the BASIC area.
constexpr unsigned kBasicStart = 0x0801;
constexpr unsigned kBasicEnd = 0xA000;  // one past
constexpr long kStartFromSys = -1;      // START taken from the input's BASIC SYS line

// Where the bytes of a crunched program go.
struct CrunchStats {
  size_t input_bytes = 0;                      // program bytes, without the load address
  size_t output_bytes = 0;                     // the crunched file, load address included
  size_t stream_bytes = 0;                     // crunched data
  size_t decruncher_bytes = 0;                 // BASIC line, init and core
  size_t tail_bytes = 0;                       // lowest program bytes kept as they are
  size_t literal_bytes = 0, literal_bits = 0;  // literal bytes, and bits spent on runs
  size_t match_bits = 0;                       // bits spent on matches (offsets, lengths, selectors)
  size_t literal_runs = 0, repeat_matches = 0, new_matches = 0;
};

// Crunches `prg` (load address first). `start` is the address to jump to, or kStartFromSys.
// False with a one-line message in `error` when the input cannot be crunched.
bool cruncher_crunch(const std::vector<uint8_t> &prg, long start, std::vector<uint8_t> *out, std::string *error,
                     CrunchStats *stats = nullptr);

// Reads START as decimal, $hex or 0xhex (0..65535), or "sys" (kStartFromSys). False if neither.
bool cruncher_parse_start(const std::string &text, long *start);

// The address of a "SYS <number>" in the first BASIC line of a PRG loading at $0801, or -1.
long cruncher_sys_address(const std::vector<uint8_t> &prg);

// The address the decruncher of a crunched program is entered at (its SYS line), as
// cruncher_sys_address.
inline long cruncher_entry(const std::vector<uint8_t> &crunched) { return cruncher_sys_address(crunched); }
