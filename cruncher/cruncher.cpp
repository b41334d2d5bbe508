// The compressor behind cruncher.h: an optimal parse of the program read from its end, the
// bit stream the decruncher in decrunch.s reads, and the layout of the crunched file. The
// stream format and the decruncher's patch points come from decrunch.s (through the
// generated decrunch_image.h); this file only follows them.
#include "cruncher.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstring>
#include <limits>

#include "decrunch_image.h"

namespace {

using Bytes = std::vector<uint8_t>;

constexpr unsigned kCoreLinkedAt = kDecrunch_core;  // the build links core here and one page $10 higher
constexpr unsigned kCoreOffset = sizeof(kDecrunchLo) - (kDecrunch_core_end - kCoreLinkedAt);  // init's size
constexpr unsigned kCoreBytes = kDecrunch_core_end - kCoreLinkedAt;
constexpr unsigned kCopyBytes = 512;                        // init copies core and tail in two halves of at most a page
constexpr unsigned kTailMax = kCopyBytes - 2 - kCoreBytes;  // each half under 256 bytes
constexpr int kClasses = kDecrunch_OFFSET_CLASSES;
static_assert(sizeof(kDecrunchLo) == sizeof(kDecrunchHi));
static_assert(kCoreBytes < kCopyBytes);

// Offset classes as decrunch.s defines them: the nearest in NEAR_BITS bits from offset 1,
// the farther ones tabulated from class 1 on.
struct OffsetClass {
  int prefix_bits, value_bits;
  bool raw;  // the low 8 bits come as a whole byte
  unsigned base, size;
  unsigned bias;  // the length is sent less this: the class's shortest match is bias + 1
};
struct OffsetClasses {
  std::array<OffsetClass, kClasses> c{};
  unsigned limit = 0;  // one past the largest offset
  OffsetClasses() {
    auto core = [](unsigned label) { return kDecrunchLo[kCoreOffset + label - kCoreLinkedAt]; };
    c[0] = {1, static_cast<int>(kDecrunch_NEAR_BITS), false, 1, 1u << kDecrunch_NEAR_BITS, 0};
    for (int i = 1; i < kClasses; ++i) {
      OffsetClass &k = c[i];
      k.prefix_bits = i < kClasses - 1 ? i + 1 : kClasses - 1;
      k.raw = true;
      const unsigned marker = core(kDecrunch_offset_bits + i);  // leaves A after the bits
      k.value_bits = (marker ? 8 - __builtin_ctz(marker) : 0) + 8;
      k.base = (core(kDecrunch_offset_base_lo + i - 1) | core(kDecrunch_offset_base_hi + i - 1) << 8) + 1;  // less 1
      k.size = 1u << k.value_bits;
      k.bias = core(kDecrunch_length_bias + i - 1);
    }
    limit = kDecrunch_OFFSET_END + 1;  // offset - 1 from OFFSET_END on ends the stream
  }
  int of(unsigned offset) const {
    for (int i = 0; i < kClasses; ++i)
      if (offset >= c[i].base && offset < c[i].base + c[i].size) return i;
    return -1;
  }
  int cost(unsigned offset) const {
    const OffsetClass &k = c[of(offset)];
    return k.prefix_bits + k.value_bits;
  }
};
const OffsetClasses classes;

int gamma_bits(unsigned n) { return 2 * (31 - __builtin_clz(n)) + 1; }

// The number a new offset match's length is sent as: the length less its class's bias (the
// nearest offsets send the length itself: only they may copy a single byte).
unsigned length_code(unsigned offset, size_t length) {
  return static_cast<unsigned>(length - classes.c[classes.of(offset)].bias);
}

enum Kind : uint8_t { kLiteral, kRepeat, kNew };
struct Token {
  Kind kind;
  unsigned length, offset;
};

// The stream as the decruncher reads it, with the number of bytes read before each write.
class BitWriter {
 public:
  Bytes bytes;
  void bit(int b) {
    if (free_ == last_) {
      at_ = bytes.size();
      bytes.push_back(first_ ? 1 : 0);  // the first register byte brings its own sentinel
      last_ = first_ ? 1 : 0;
      first_ = false;
      free_ = 8;
    }
    --free_;
    if (b) bytes[at_] |= static_cast<uint8_t>(1 << free_);
  }
  void bits(unsigned value, int count) {
    for (int i = count - 1; i >= 0; --i) bit(value >> i & 1);
  }
  void gamma(unsigned n) {
    const int top = 31 - __builtin_clz(n);
    for (int i = top - 1; i >= 0; --i) {
      bit(1);
      bit(n >> i & 1);
    }
    bit(0);
  }
  void byte(uint8_t b) { bytes.push_back(b); }

 private:
  size_t at_ = 0;
  int free_ = 0, last_ = 0;  // bits left in the register byte at at_; the first keeps its bit 0
  bool first_ = true;
};

void put_offset(BitWriter &w, unsigned offset) {
  const int i = classes.of(offset);
  for (int k = 0; k < i && k < kClasses - 1; ++k) w.bit(1);
  if (i < kClasses - 1) w.bit(0);
  const OffsetClass &k = classes.c[i];
  const unsigned value = offset - k.base;
  if (k.raw) {
    w.bits(value >> 8, k.value_bits - 8);
    w.byte(static_cast<uint8_t>(value));
  } else {
    w.bits(value, k.value_bits);
  }
}

// One arrival in the parse: the cheapest way found to have produced `pos` bytes ending in
// a literal run (state 0) or a match (state 1).
struct Arrival {
  uint32_t cost = std::numeric_limits<uint32_t>::max();
  uint32_t from = 0;  // position before the token
  uint8_t from_state = 0;
  Token token{kLiteral, 0, 0};
  unsigned repeat = 0;  // the offset a repeat match would use
};

constexpr unsigned kLiteralRunsTried = 32;             // from each match; longer runs grow one byte at a time
constexpr unsigned kMaxLength = kDecrunch_MAX_LENGTH;  // of every token: longer runs take several
constexpr int kChainLimit = 1024;
// Costs in the parse are in sixteenths of a bit. Each new token is charged extra for its
// decoding time, by kind and, for new offsets, by class (the nearest decode fastest): the
// parse then trades a little size for speed where a token saves only a bit or two. These
// weights bring the decrunch time of the editor's export programs to 35 cycles per byte for
// 1 % more size than none would; see docs/performance.md for the trade.
constexpr uint32_t kBit = 16;
constexpr uint32_t kLiteralRunCharge = 16, kRepeatCharge = 20;
constexpr std::array<uint32_t, kClasses> kNewOffsetCharge = {36, 40, 44, 48};
static_assert(kClasses == 4, "a charge for each offset class");

// Optimal parse of `r` (the program from its last byte down): arrivals for every length.
std::vector<std::array<Arrival, 2>> parse(const Bytes &r) {
  const size_t n = r.size();
  std::vector<std::array<Arrival, 2>> at(n + 1);
  at[0][1].cost = 0;  // the start behaves as after a match (the first literal run needs no bit)
  std::vector<int32_t> head(65536, -1), prev(n, -1);
  size_t i_now = 0;
  auto relax = [&](size_t pos, int state, uint32_t cost, size_t from, int from_state, Token t, unsigned repeat) {
    if (from == i_now)  // a new token (growing a literal run is not one)
      cost += t.kind == kNew      ? kNewOffsetCharge[classes.of(t.offset)]
              : t.kind == kRepeat ? kRepeatCharge
                                  : kLiteralRunCharge;
    Arrival &a = at[pos][state];
    if (cost < a.cost) a = Arrival{cost, static_cast<uint32_t>(from), static_cast<uint8_t>(from_state), t, repeat};
  };
  auto match_length = [&](size_t i, unsigned offset) {
    size_t k = 0;
    while (i + k < n && r[i + k] == r[i + k - offset]) ++k;
    return k;
  };
  auto lengths = [](size_t lo, size_t hi, auto each) {
    for (size_t k = lo; k <= hi && k <= kMaxLength; ++k) each(k);
  };
  for (size_t i = 0; i < n; ++i) {
    i_now = i;
    // Candidates: the nearest offset for each longer length (hash chain of byte pairs).
    std::vector<std::pair<unsigned, size_t>> found;
    if (i + 1 < n) {
      size_t best = 1;
      int steps = 0;
      for (int32_t j = head[r[i] << 8 | r[i + 1]]; j >= 0 && steps < kChainLimit; j = prev[j], ++steps) {
        const unsigned offset = static_cast<unsigned>(i - j);
        if (offset >= classes.limit) break;
        if (i + best >= n || r[i + best] != r[i + best - offset]) continue;  // cannot be longer
        const size_t k = match_length(i, offset);
        if (k > best) {
          found.push_back({offset, k});
          best = k;
          if (i + k == n || k >= kMaxLength) break;  // no token is longer
        }
      }
      prev[i] = head[r[i] << 8 | r[i + 1]];
      head[r[i] << 8 | r[i + 1]] = static_cast<int32_t>(i);
    }
    for (int state = 0; state < 2; ++state) {
      const Arrival here = at[i][state];
      if (here.cost == std::numeric_limits<uint32_t>::max()) continue;
      if (state == 1) {
        const size_t most = std::min<size_t>(n - i, kLiteralRunsTried);
        for (size_t k = 1; k <= most; ++k)
          relax(i + k, 0, here.cost + kBit * (1 + gamma_bits(k) + 8 * k), i, 1, {kLiteral, static_cast<unsigned>(k), 0},
                here.repeat);
      } else {
        // Longer runs: this run grown by one byte. A run of the longest length is followed
        // as a match is, so that another literal run may go on from it.
        const unsigned k = here.token.length;
        if (k < kMaxLength)
          relax(i + 1, k + 1 == kMaxLength ? 1 : 0, here.cost + kBit * (8 + gamma_bits(k + 1) - gamma_bits(k)),
                here.from, 1, {kLiteral, k + 1, 0}, here.repeat);
      }
      if (state == 0 && here.repeat && here.repeat <= i) {
        lengths(1, match_length(i, here.repeat), [&](size_t k) {
          relax(i + k, 1, here.cost + kBit * (1 + gamma_bits(k)), i, 0,
                {kRepeat, static_cast<unsigned>(k), here.repeat}, here.repeat);
        });
      }
      for (unsigned offset = classes.c[0].base; offset < classes.c[0].base + classes.c[0].size && offset <= i; ++offset)
        if (r[i] == r[i - offset]) {  // a single byte from near by
          relax(i + 1, 1, here.cost + kBit * (1 + classes.cost(offset) + gamma_bits(1)), i, state, {kNew, 1, offset},
                offset);
          break;
        }
      size_t shorter = 1;
      for (const auto &candidate : found) {
        const unsigned offset = candidate.first;
        const size_t longest = candidate.second;
        const int offset_cost = 1 + classes.cost(offset);
        const size_t shortest = std::max<size_t>(shorter + 1, classes.c[classes.of(offset)].bias + 1);
        lengths(shortest, longest, [&](size_t k) {
          relax(i + k, 1, here.cost + kBit * (offset_cost + gamma_bits(length_code(offset, k))), i, state,
                {kNew, static_cast<unsigned>(k), offset}, offset);
        });
        shorter = longest;
      }
    }
  }
  return at;
}

// The tokens of the cheapest parse of the first `length` bytes.
std::vector<Token> tokens_to(const std::vector<std::array<Arrival, 2>> &at, size_t length) {
  std::vector<Token> tokens;
  int state = at[length][0].cost <= at[length][1].cost ? 0 : 1;
  for (size_t pos = length; pos > 0;) {
    const Arrival &a = at[pos][state];
    tokens.push_back(a.token);
    pos = a.from;
    state = a.from_state;
  }
  std::reverse(tokens.begin(), tokens.end());
  return tokens;
}

// Encodes the tokens of r; `reads[i]` = stream bytes read before output byte i is written.
Bytes encode(const std::vector<Token> &tokens, const Bytes &r, std::vector<uint32_t> *reads, CrunchStats *stats) {
  BitWriter w;
  size_t pos = 0;
  for (size_t t = 0; t < tokens.size(); ++t) {
    const Token &k = tokens[t];
    const size_t before = w.bytes.size() * 8;
    if (t > 0) w.bit(k.kind == kNew);
    if (k.kind == kNew) {
      put_offset(w, k.offset);
      w.gamma(length_code(k.offset, k.length));
    } else {
      w.gamma(k.length);
    }
    if (stats) {
      (k.kind == kLiteral ? stats->literal_bits : stats->match_bits) += w.bytes.size() * 8 - before;
      ++(k.kind == kLiteral ? stats->literal_runs : k.kind == kRepeat ? stats->repeat_matches : stats->new_matches);
    }
    for (size_t i = 0; i < k.length; ++i) {
      if (k.kind == kLiteral) w.byte(r[pos + i]);
      (*reads)[pos + i] = static_cast<uint32_t>(w.bytes.size());
    }
    if (stats && k.kind == kLiteral) stats->literal_bytes += k.length;
    pos += k.length;
  }
  w.bit(1);
  put_offset(w, classes.limit);
  return w.bytes;
}

void put16(Bytes &b, size_t at, unsigned value) {
  b[at] = static_cast<uint8_t>(value);
  b[at + 1] = static_cast<uint8_t>(value >> 8);
}

// The BASIC line "0 SYS<address>" at $0801, with the end-of-program link after it.
Bytes basic_line(unsigned address) {
  const std::string digits = std::to_string(address);
  Bytes line(5 + digits.size() + 3, 0);
  line[4] = 0x9E;  // SYS
  std::copy(digits.begin(), digits.end(), line.begin() + 5);
  put16(line, 0, kBasicStart + static_cast<unsigned>(line.size()) - 2);
  return line;
}

// Core relocated to run at `page` * 256: the bytes that differ between the two links are
// the high bytes of core's own addresses.
Bytes relocated_core(unsigned page) {
  Bytes core(kDecrunchLo + kCoreOffset, kDecrunchLo + sizeof(kDecrunchLo));
  for (size_t i = 0; i < core.size(); ++i)
    if (kDecrunchLo[kCoreOffset + i] != kDecrunchHi[kCoreOffset + i])
      core[i] = static_cast<uint8_t>(core[i] - (kCoreLinkedAt >> 8) + page);
  return core;
}

unsigned core_at(unsigned label) { return label - kCoreLinkedAt; }

}  // namespace

bool cruncher_parse_start(const std::string &text, long *start) {
  if (text == "sys") {
    *start = kStartFromSys;
    return true;
  }
  int base = 10;
  size_t skip = 0;
  if (text.starts_with("$"))
    base = 16, skip = 1;
  else if (text.starts_with("0x") || text.starts_with("0X"))
    base = 16, skip = 2;
  const std::string digits = text.substr(skip);
  if (digits.empty() || digits.size() > 6) return false;
  long value = 0;
  for (char ch : digits) {
    const int d = ch >= '0' && ch <= '9'                                        ? ch - '0'
                  : base == 16 && std::isxdigit(static_cast<unsigned char>(ch)) ? std::tolower(ch) - 'a' + 10
                                                                                : -1;
    if (d < 0) return false;
    value = value * base + d;
  }
  if (value > 0xFFFF) return false;
  *start = value;
  return true;
}

long cruncher_sys_address(const std::vector<uint8_t> &prg) {
  if (prg.size() < 8 || prg[0] != (kBasicStart & 0xFF) || prg[1] != kBasicStart >> 8) return -1;
  size_t i = 6;  // after load address, link and line number
  while (i < prg.size() && prg[i] == ' ') ++i;
  if (i >= prg.size() || prg[i] != 0x9E) return -1;
  ++i;
  while (i < prg.size() && prg[i] == ' ') ++i;
  long value = 0;
  size_t digits = 0;
  for (; i < prg.size() && prg[i] >= '0' && prg[i] <= '9' && digits < 6; ++i, ++digits)
    value = value * 10 + prg[i] - '0';
  return digits && value <= 0xFFFF ? value : -1;
}

bool cruncher_crunch(const std::vector<uint8_t> &prg, long start, std::vector<uint8_t> *out, std::string *error,
                     CrunchStats *stats) {
  if (prg.size() < 3) {
    *error = "not a PRG file (it needs a load address and at least one byte)";
    return false;
  }
  const unsigned load = prg[0] | prg[1] << 8;
  const size_t n = prg.size() - 2;
  if (start == kStartFromSys) {
    if (load != kBasicStart) {
      *error = "\"sys\" needs a program that loads at $0801";
      return false;
    }
    start = cruncher_sys_address(prg);
    if (start < 0) {
      *error = "no SYS address in the program's first BASIC line";
      return false;
    }
  }
  if (load < kBasicStart || load + n > kBasicEnd) {
    *error = "the program must lie within $0801-$9FFF";
    return false;
  }
  if (start < static_cast<long>(load) || start >= static_cast<long>(load + n)) {
    *error = "start address outside the loaded data";
    return false;
  }

  Bytes r(prg.rbegin(), prg.rend() - 2);  // the program from its last byte down
  const auto at = parse(r);
  std::vector<uint32_t> reads(n);
  const unsigned end = static_cast<unsigned>(load + n);

  // The smallest tail for which the writes never reach unread stream bytes while the stream
  // lies straight after the BASIC line; failing that, the stream is placed above the program.
  for (size_t tail = 0;; ++tail) {
    const bool above = tail > std::min<size_t>(kTailMax, n - 1);  // the stream holds at least one token
    const size_t kept = above ? 0 : tail;
    const std::vector<Token> tokens = tokens_to(at, n - kept);
    CrunchStats counted;
    const Bytes stream = encode(tokens, r, &reads, &counted);
    const size_t p = stream.size();
    unsigned line_bytes = static_cast<unsigned>(basic_line(kBasicStart).size());
    unsigned stream_at = kBasicStart + line_bytes;
    if (above) stream_at = std::max(stream_at, end);
    unsigned init_at = static_cast<unsigned>(stream_at + p);
    if (basic_line(init_at).size() != line_bytes) {  // a fifth digit
      line_bytes = static_cast<unsigned>(basic_line(init_at).size());
      stream_at = above ? std::max<unsigned>(kBasicStart + line_bytes, end) : kBasicStart + line_bytes;
      init_at = static_cast<unsigned>(stream_at + p);
    }
    if (!above) {
      bool safe = true;
      for (size_t i = 0; i < n - kept && safe; ++i) {
        const unsigned w = end - 1 - static_cast<unsigned>(i);
        safe = !(w >= stream_at && w < stream_at + p - reads[i]);
      }
      if (!safe) continue;
    }
    const unsigned core_load = init_at + kCoreOffset;
    const unsigned file_end = static_cast<unsigned>(core_load + kCoreBytes + kept);
    // init copies whole pages upwards: the copy must not overlap what it still has to read.
    const unsigned run = (std::max(end, core_load + kCopyBytes) + 255) & ~255u;
    if (file_end > kBasicEnd || run + kCopyBytes > kBasicEnd) {
      *error = "the program is too large: crunched, it would not fit in memory with the decruncher";
      return false;
    }

    Bytes file = basic_line(init_at);
    file.insert(file.begin(), {static_cast<uint8_t>(kBasicStart), static_cast<uint8_t>(kBasicStart >> 8)});
    file.resize(2 + stream_at - kBasicStart, 0);
    file.insert(file.end(), stream.rbegin(), stream.rend());
    const size_t init_pos = file.size();
    file.insert(file.end(), kDecrunchLo, kDecrunchLo + kCoreOffset);
    const unsigned half = static_cast<unsigned>(kCoreBytes + kept + 1) / 2;
    file[init_pos + kDecrunch_copy_half] = static_cast<uint8_t>(half);
    put16(file, init_pos + kDecrunch_init_src, core_load - 1);
    put16(file, init_pos + kDecrunch_init_dst, run - 1);
    put16(file, init_pos + kDecrunch_init_src2, core_load - 1 + half);
    put16(file, init_pos + kDecrunch_init_dst2, run - 1 + half);
    put16(file, init_pos + kDecrunch_init_jmp, run);
    const size_t core_pos = file.size();
    const Bytes core = relocated_core(run >> 8);
    file.insert(file.end(), core.begin(), core.end());
    put16(file, core_pos + core_at(kDecrunch_dst_ptr), end - 1);
    file[core_pos + core_at(kDecrunch_stream_lo)] = static_cast<uint8_t>(stream_at + p - 1);
    file[core_pos + core_at(kDecrunch_stream_hi)] = static_cast<uint8_t>((stream_at + p - 1) >> 8);
    file[core_pos + core_at(kDecrunch_tail_len)] = static_cast<uint8_t>(kept);
    put16(file, core_pos + core_at(kDecrunch_tail_dst), load - 1);
    put16(file, core_pos + core_at(kDecrunch_start_addr), static_cast<unsigned>(start));
    file.insert(file.end(), prg.begin() + 2, prg.begin() + 2 + kept);

    if (stats) {
      *stats = counted;
      stats->input_bytes = n;
      stats->output_bytes = file.size();
      stats->stream_bytes = p;
      stats->tail_bytes = kept;
      stats->decruncher_bytes = file.size() - p - kept - 2 - (stream_at - kBasicStart - line_bytes);
    }
    *out = std::move(file);
    return true;
  }
}
