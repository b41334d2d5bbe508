// The compressor behind cruncher.h: an optimal parse of the program read from its end, the
// bit stream the decruncher in decrunch.s reads, and the layout of the crunched file. The
// stream format and the decruncher's patch points come from decrunch.s (through the
// generated decrunch_image.h and decrunch_short_image.h); this file only follows them.
#include "cruncher.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <cstring>
#include <limits>

namespace {

// An assembled decruncher: init, then the image of core (linked where it runs, in the zero
// page, with the tail after it), and the addresses of its labels, as the generated headers
// give them.
struct DecrunchImage {
  const unsigned char *bytes;
  size_t size;
  unsigned core, core_end, dst_ptr, init, init_bytes, init_end, init_src, start_addr, stream_hi, stream_lo, tail_dst;
  constexpr unsigned init_size() const { return init_end - init; }
  constexpr unsigned core_size() const { return core_end - core; }
  constexpr unsigned tail_max() const { return std::min(0x100 - core_end, 0xFF - core_size()); }  // init copies 255
};

}  // namespace

#include "decrunch_image.h"        // kDecrunch: literal runs of any length
#include "decrunch_short_image.h"  // kDecrunchShort: literal runs of at most 255 bytes

namespace {

using Bytes = std::vector<uint8_t>;

static_assert(kDecrunch.size == kDecrunch.init_size() + kDecrunch.core_size() && kDecrunch.core_end < 0x100);
static_assert(kDecrunchShort.size == kDecrunchShort.init_size() + kDecrunchShort.core_size());
constexpr unsigned kTailMax = std::min(kDecrunch.tail_max(), kDecrunchShort.tail_max());
constexpr unsigned kShortLiteralsMax = 255;  // the longest literal run kDecrunchShort copies

constexpr size_t kJumpBytes = 3;    // JMP init, where a program's own SYS line lands
constexpr size_t kOwnLineMax = 32;  // program bytes below its SYS address kept as they are, at most

// The offsets as decrunch.s decodes them (new_offset).
constexpr unsigned kOffsetLowBits = 7;                   // below the gamma-coded high part
constexpr unsigned kOffsetEnd = 255u << kOffsetLowBits;  // offsets up to here; a high part past 255 ends the stream

// A gamma number n, the first piece of a length (at most `first_max`: 255, or 254 where the
// decruncher adds 1). Past that, a first piece P of 1 to `first_max` in 16 bits (as the 8 bits
// of a number from 256 on), then a gamma number K: pieces of K, K + 1, ... 254 follow, so that
// n = P + (the sum of K to 254). long_split gives {P, K} for the largest K (P is 0 where none).
constexpr unsigned kFirstPieceMax = 255, kPieceMax = 254;
constexpr unsigned pieces_from(unsigned k) { return (kPieceMax * (kPieceMax + 1) - (k - 1) * k) / 2; }
std::pair<unsigned, unsigned> long_split(unsigned n, unsigned first_max) {
  // The largest k with (k - 1) k <= room, from the square root, then made exact.
  const long room = static_cast<long>(kPieceMax * (kPieceMax + 1)) - 2 * (static_cast<long>(n) - first_max);
  unsigned k = room < 0 ? 1 : std::min(kPieceMax, static_cast<unsigned>((1 + std::sqrt(1.0 + 4.0 * room)) / 2));
  while (k > 1 && static_cast<long>(k - 1) * k > room) --k;
  while (k < kPieceMax && static_cast<long>(k) * (k + 1) <= room) ++k;
  return {n > pieces_from(k) ? n - pieces_from(k) : 0, k};
}
int gamma_bits(unsigned n, unsigned first_max = kFirstPieceMax) {
  return n <= first_max ? 2 * (31 - __builtin_clz(n)) + 1 : 16 + gamma_bits(long_split(n, first_max).second);
}

// A new offset match's length less 1 has a first piece of at most 254 (the decruncher adds 1
// to it), which every length allows but one.
bool new_length_sendable(uint32_t length) {
  return length - 1 <= kFirstPieceMax - 1 || long_split(length - 1, kFirstPieceMax - 1).first > 0;
}
unsigned offset_high(unsigned offset) { return ((offset - 1) >> kOffsetLowBits) + 1; }
// A new offset match: the selector, the gamma high part, the low byte (whose spare bit starts
// the length's gamma code) and the rest of the length's code.
int new_match_bits(unsigned offset, unsigned length) {
  return 1 + gamma_bits(offset_high(offset)) + 8 + gamma_bits(length - 1, kFirstPieceMax - 1) - 1;
}

enum Kind : uint8_t { kLiteral, kRepeat, kNew };

// The stream in the order the decruncher reads it: the bytes of the bit register, each taken
// when its first bit is needed, between whole bytes.
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
  // The gamma code of n (see gamma_bits), without its first bit when `skip_first`.
  void gamma(unsigned n, bool skip_first = false, unsigned first_max = kFirstPieceMax) {
    if (n > first_max) {
      const auto [first, count] = long_split(n, first_max);
      long_form(first, count, skip_first);
      return;
    }
    const int top = 31 - __builtin_clz(n);
    for (int i = top - 1; i >= 0; --i) {
      if (!skip_first || i != top - 1) bit(1);
      bit(n >> i & 1);
    }
    if (!skip_first || top > 0) bit(0);
  }
  // A first piece and the count after it, as gamma sends numbers past `first_max`.
  void long_form(unsigned first, unsigned count, bool skip_first = false) {
    for (int i = 7; i >= 0; --i) {
      if (!skip_first || i != 7) bit(1);
      bit(first >> i & 1);
    }
    gamma(count);
  }
  void byte(uint8_t b) { bytes.push_back(b); }

 private:
  size_t at_ = 0;
  int free_ = 0, last_ = 0;  // bits left in the register byte at at_; the first keeps its bit 0
  bool first_ = true;
};

// One arrival in the parse: a way to have produced `pos` bytes ending in a literal run or a
// match, with the offset a repeat match would use. Each position keeps the cheapest few
// arrivals of each state with different repeat offsets.
struct Arrival {
  uint32_t cost = std::numeric_limits<uint32_t>::max();  // in kBit
  uint32_t from = 0;                                     // position before the token
  uint16_t repeat = 0;                                   // 0: none yet; a match's own offset
  uint16_t length = 0;
  uint8_t from_slot = 0;
  Kind kind = kLiteral;
};
Arrival arrival(uint32_t cost, unsigned repeat, size_t from, uint8_t from_slot, Kind kind, unsigned length) {
  return {cost, static_cast<uint32_t>(from), static_cast<uint16_t>(repeat), static_cast<uint16_t>(length), from_slot,
          kind};
}
struct Token {
  Kind kind;
  unsigned length, offset;
};

constexpr int kArrivals = 64;              // per position and state
constexpr int kSlots = 2 * kArrivals;      // literal-run arrivals, then match arrivals
static_assert(kSlots <= 256);              // an arrival keeps its source slot in a byte
constexpr unsigned kLiteralRunsTried = 4;  // from each match; longer runs grow one byte at a time
constexpr size_t kLengthsTried = 128;      // of each match; beyond, only the longest
constexpr size_t kMaxLength = pieces_from(1) + kFirstPieceMax - 1;    // of a token, as the decruncher counts its pieces
static_assert(kOffsetEnd <= UINT16_MAX && kMaxLength <= UINT16_MAX);  // as an arrival keeps them
constexpr int kChainLimit = 8192;
constexpr size_t kLongEnough = 256;  // a match this long ends the search for longer ones
constexpr int kExtraSteps = 128;     // chain steps whose offsets are candidates too, though no longer
constexpr uint32_t kNone = std::numeric_limits<uint32_t>::max();
// Costs in the parse are in sixteenths of a bit.
constexpr uint32_t kBit = 16;
// An arrival dearer than the cheapest of its state at its position by more than this is not
// kept: to pay off, its repeat offset would have to save more bits later than a repeat match
// saves (on the sample programs: the same output as without the limit, in half the time).
constexpr uint32_t kWorthMargin = 16 * kBit;
// Each token is charged extra for its decoding time, by kind: the parse then trades a little
// size for speed where a token saves only a bit or two, and breaks ties between parses of one
// size towards fewer tokens. These bring the editor's export programs from 34.9 to 34.4
// cycles per byte for 1 byte more; see docs/performance.md for the trade.
constexpr uint32_t kLiteralCharge = 4, kRepeatCharge = 2, kNewCharge = 6;

class Parse {
 public:
  explicit Parse(const Bytes &r) : r_(r), n_(r.size()), at_((n_ + 1) * kSlots) {
    at_[kArrivals].cost = 0;  // the start behaves as after a match (the first literal run needs no bit)
    std::vector<int32_t> head(65536, -1), prev(n_, -1);
    std::vector<std::pair<unsigned, size_t>> found;  // the nearest offset for each longer length
    for (size_t i = 0; i < n_; ++i) {
      found.clear();
      extra_.clear();
      if (i + 1 < n_) {
        const unsigned pair = r[i] << 8 | r[i + 1];
        size_t best = 1;
        int steps = 0;
        for (int32_t j = head[pair]; j >= 0 && steps < kChainLimit; j = prev[j], ++steps) {
          const unsigned offset = static_cast<unsigned>(i - j);
          if (offset > kOffsetEnd) break;
          if (steps < kExtraSteps && (i + best >= n_ || r[i + best] != r[i + best - offset])) {  // an extra
            size_t k = 2;
            while (k < kLengthsTried && i + k < n_ && r[i + k] == r[i + k - offset]) ++k;
            extra_.push_back({offset, k});
            continue;
          }
          if (i + best >= n_ || r[i + best] != r[i + best - offset]) continue;  // cannot be longer
          const size_t k = match_length(i, offset);
          if (k > best) {
            found.push_back({offset, k});
            best = k;
            if (i + k == n_ || k >= kLongEnough) break;
          }
        }
        prev[i] = head[pair];
        head[pair] = static_cast<int32_t>(i);
      }
      step(i, found);
    }
  }

  // The tokens of the cheapest parse of the first `length` bytes (none if there is none).
  std::vector<Token> tokens_to(size_t length) const {
    int slot = 0;
    for (int s = 1; s < kSlots; ++s)
      if (at_[length * kSlots + s].cost < at_[length * kSlots + slot].cost) slot = s;
    std::vector<Token> tokens;
    if (at_[length * kSlots + slot].cost == kNone) return tokens;
    for (size_t pos = length; pos > 0;) {
      const Arrival &a = at_[pos * kSlots + slot];
      tokens.push_back({a.kind, a.length, a.kind == kLiteral ? 0u : a.repeat});
      pos = a.from;
      slot = a.from_slot;
    }
    std::reverse(tokens.begin(), tokens.end());
    return tokens;
  }

 private:
  // The match at i with `offset`; one found at i - 1 with the same offset is one shorter
  // here, so that long runs cost no more than short ones.
  size_t match_length(size_t i, unsigned offset) {
    Known &known = known_[offset % known_.size()];
    if (known.offset == offset && known.at + 1 == i && known.length > 0) {
      known = {offset, i, known.length - 1};
      return known.length;
    }
    size_t k = 0;
    for (uint64_t a, b; i + k + 8 <= n_; k += 8) {  // eight bytes at a time, then the rest
      std::memcpy(&a, &r_[i + k], 8);
      std::memcpy(&b, &r_[i + k - offset], 8);
      if (a != b) break;
    }
    while (i + k < n_ && r_[i + k] == r_[i + k - offset]) ++k;
    known = {offset, i, k};
    return k;
  }
  // Keeps `a` among the cheapest arrivals of its state at `pos`, one per repeat offset.
  void put(size_t pos, int state, const Arrival &a) {
    Arrival *s = &at_[pos * kSlots + state * kArrivals];
    int q = kArrivals - 1;
    if (s[q].cost <= a.cost) return;  // no dearer arrival to replace, of its repeat offset or another
    if (s[0].cost != kNone && a.cost > s[0].cost + kWorthMargin) return;
    for (int k = 0; k < kArrivals && s[k].cost != kNone; ++k)  // the empty ones come last
      if (s[k].repeat == a.repeat) {
        if (s[k].cost <= a.cost) return;
        q = k;
        break;
      }
    for (; q > 0 && s[q - 1].cost > a.cost; --q) s[q] = s[q - 1];
    s[q] = a;
  }
  // Lengths lo..hi of a match at i: every one up to kLengthsTried, then only those that end
  // where a tail may start (near the program's start) and the longest.
  template <typename F>
  void lengths(size_t i, size_t lo, size_t hi, F each) const {
    hi = std::min(hi, kMaxLength);
    const size_t tail_zone = n_ - i > kLengthsTried ? n_ - i - kLengthsTried : 0;
    for (size_t k = lo; k <= hi;
         k = k >= kLengthsTried && k + 1 < std::min(hi, tail_zone) ? std::min(hi, tail_zone) : k + 1)
      each(static_cast<uint32_t>(k));
  }
  void step(size_t i, const std::vector<std::pair<unsigned, size_t>> &found) {
    const Arrival *runs = &at_[i * kSlots], *matches = runs + kArrivals;
    for (uint8_t q = 0; q < kArrivals; ++q) {
      const Arrival &run = runs[q];
      if (run.cost == kNone) continue;
      if (run.length < kMaxLength) {
        Arrival grown = run;  // this run one byte longer
        grown.cost += kBit * (8 + gamma_bits(run.length + 1) - gamma_bits(run.length));
        ++grown.length;
        put(i + 1, 0, grown);
      }
      if (run.repeat && run.repeat <= i)
        lengths(i, 1, match_length(i, run.repeat), [&](uint32_t k) {
          put(i + k, 1, arrival(run.cost + kBit * (1 + gamma_bits(k)) + kRepeatCharge, run.repeat, i, q, kRepeat, k));
        });
    }
    for (uint8_t q = 0; q < kArrivals; ++q) {
      const Arrival &m = matches[q];
      if (m.cost == kNone) continue;
      const uint32_t most = static_cast<uint32_t>(std::min<size_t>(n_ - i, kLiteralRunsTried));
      for (uint32_t k = 1; k <= most; ++k)
        put(i + k, 0,
            arrival(m.cost + kBit * (1 + gamma_bits(k) + 8 * k) + kLiteralCharge, m.repeat, i,
                    static_cast<uint8_t>(kArrivals + q), kLiteral, k));
    }
    uint8_t best = 0;  // a new offset costs the same after either state
    for (uint8_t s = 1; s < kSlots; ++s)
      if (runs[s].cost < runs[best].cost) best = s;
    if (runs[best].cost == kNone) return;
    size_t shorter = 1;
    for (const auto &candidate : found) {
      const unsigned offset = candidate.first;
      lengths(i, shorter + 1, candidate.second, [&](uint32_t k) {
        if (!new_length_sendable(k)) --k;  // one byte shorter instead
        put(i + k, 1,
            arrival(runs[best].cost + kBit * new_match_bits(offset, k) + kNewCharge, offset, i, best, kNew, k));
      });
      shorter = candidate.second;
    }
    for (const auto &candidate : extra_) {
      const uint32_t k = static_cast<uint32_t>(candidate.second);
      put(i + k, 1,
          arrival(runs[best].cost + kBit * new_match_bits(candidate.first, k) + kNewCharge, candidate.first, i, best,
                  kNew, k));
    }
  }

  const Bytes &r_;
  size_t n_;
  // The offsets of the nearest chain steps that match no longer than a nearer one, with their
  // match length (at most kLengthsTried): dearer now, they may set up a repeat match later.
  std::vector<std::pair<unsigned, size_t>> extra_;
  std::vector<Arrival> at_;
  struct Known {
    unsigned offset = 0;
    size_t at = 0, length = 0;
  };
  std::array<Known, 256> known_{};
};

// Encodes the tokens of r; `reads[i]` = stream bytes read before output byte i is written.
Bytes encode(const std::vector<Token> &tokens, const Bytes &r, size_t tail, std::vector<uint32_t> *reads,
             CrunchStats *stats) {
  BitWriter w;
  size_t pos = 0;
  auto new_offset = [&w](unsigned offset, unsigned length) {
    w.bit(1);
    w.gamma(offset_high(offset));
    w.byte(static_cast<uint8_t>(((offset - 1) & 0x7F) << 1 | (length - 1 > 1)));
    w.gamma(length - 1, true, kFirstPieceMax - 1);
  };
  for (size_t t = 0; t < tokens.size(); ++t) {
    const Token &k = tokens[t];
    const size_t before = w.bytes.size() * 8;
    if (k.kind == kNew) {
      new_offset(k.offset, k.length);
    } else {
      if (t > 0) w.bit(0);
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
  // The end: a high part past 255, its count the tail's length.
  w.bit(1);
  w.long_form(1, static_cast<unsigned>(tail));
  return w.bytes;
}

// The lowest stream start from `from` on at which no write of the decruncher (the i-th at
// end - 1 - i, after reads[i] stream bytes) reaches a stream byte not read yet: a start s is
// safe when s <= end - 1 - i - p + reads[i] for every write i at or above s (i < end - s).
unsigned lowest_safe_start(const std::vector<uint32_t> &reads, size_t coded, unsigned end, size_t p, unsigned from) {
  std::vector<long> lowest(coded + 1, std::numeric_limits<long>::max());  // of the first m limits
  for (size_t i = 0; i < coded; ++i) lowest[i + 1] = std::min(lowest[i], static_cast<long>(end - 1 - i - p + reads[i]));
  for (long s = from;; ++s)
    if (s <= lowest[std::clamp<long>(static_cast<long>(end) - s, 0, static_cast<long>(coded))])
      return static_cast<unsigned>(s);
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
  const Parse parse(r);
  std::vector<uint32_t> reads(n);
  const unsigned end = static_cast<unsigned>(load + n);

  // A program at $0801 whose first BASIC line SYSes a few bytes in (to the byte after the
  // line in the editor's exports) may keep its bytes below the SYS address as the crunched
  // file's own, with a jump to init at the SYS address: they need no crunching and no tail.
  const long sys = load == kBasicStart ? cruncher_sys_address(prg) : -1;
  const size_t own_line = sys > static_cast<long>(load) &&
                                  sys + static_cast<long>(kJumpBytes) < static_cast<long>(end) &&
                                  static_cast<size_t>(sys - load) <= kOwnLineMax
                              ? static_cast<size_t>(sys - load)
                              : 0;

  // The tail (at least one byte; with a program of one byte the stream holds it too) and
  // the zero gap before the stream that make the smallest file in which the writes never
  // reach unread stream bytes; with the program's own line and without.
  struct Layout {
    size_t skip = 0, kept = 0, coded = 0, size = 0;
    unsigned stream_at = 0, line_bytes = 0;
    Bytes stream;
    CrunchStats counted;
    const DecrunchImage *image = nullptr;
  } best;
  for (const size_t skip : own_line ? std::vector<size_t>{own_line, 0} : std::vector<size_t>{0}) {
    const size_t m = n - skip;  // the bytes to restore: the tail and the coded part
    for (size_t tail = 1; tail <= std::min<size_t>(kTailMax, std::max<size_t>(m - 1, 1)); ++tail) {
      Layout l;
      l.skip = skip;
      l.kept = tail;
      l.coded = m > tail ? m - tail : m;
      const std::vector<Token> tokens = parse.tokens_to(l.coded);
      if (tokens.empty()) continue;  // no token ends there
      l.stream = encode(tokens, r, tail, &reads, &l.counted);
      const bool long_literals = std::any_of(tokens.begin(), tokens.end(), [](const Token &t) {
        return t.kind == kLiteral && t.length > kShortLiteralsMax;
      });
      l.image = long_literals ? &kDecrunch : &kDecrunchShort;
      const size_t p = l.stream.size();
      if (skip) {
        l.line_bytes = static_cast<unsigned>(skip + kJumpBytes);
        l.stream_at = lowest_safe_start(reads, l.coded, end, p, kBasicStart + l.line_bytes);
      } else {
        for (unsigned digits_at = kBasicStart;
             l.line_bytes != basic_line(digits_at).size();) {  // a fifth digit moves it
          l.line_bytes = static_cast<unsigned>(basic_line(digits_at).size());
          l.stream_at = lowest_safe_start(reads, l.coded, end, p, kBasicStart + l.line_bytes);
          digits_at = static_cast<unsigned>(l.stream_at + p);
        }
      }
      l.size = l.stream_at + p + l.image->size + l.kept;
      const bool no_gap = l.stream_at == kBasicStart + l.line_bytes;
      if (!best.size || l.size < best.size) best = std::move(l);
      if (no_gap) break;  // a longer tail only adds bytes
    }
  }
  if (!best.size || best.size > kBasicEnd) {
    *error = "the program is too large: crunched, it would not fit in memory with the decruncher";
    return false;
  }
  const size_t kept = best.kept, p = best.stream.size(), skip = best.skip;
  const unsigned stream_at = best.stream_at, line_bytes = best.line_bytes;
  const unsigned init_at = static_cast<unsigned>(stream_at + p);
  const Bytes &stream = best.stream;
  Bytes file;
  if (skip) {
    file.assign(prg.begin(), prg.begin() + 2 + static_cast<long>(skip));
    file.insert(file.end(), {0x4C, static_cast<uint8_t>(init_at), static_cast<uint8_t>(init_at >> 8)});  // JMP init
  } else {
    file = basic_line(init_at);
    file.insert(file.begin(), {static_cast<uint8_t>(kBasicStart), static_cast<uint8_t>(kBasicStart >> 8)});
  }
  file.resize(2 + stream_at - kBasicStart, 0);
  file.insert(file.end(), stream.rbegin(), stream.rend());
  const DecrunchImage &image = *best.image;
  const size_t init_pos = file.size(), core_pos = init_pos + image.init_size();
  file.insert(file.end(), image.bytes, image.bytes + image.size);
  file[init_pos + image.init_bytes - image.init] = static_cast<uint8_t>(image.core_size() + kept);
  put16(file, init_pos + image.init_src - image.init, init_at + image.init_size() - 1);
  auto core_at = [&](unsigned label) { return core_pos + label - image.core; };
  put16(file, core_at(image.dst_ptr), end - 1);
  file[core_at(image.stream_lo)] = static_cast<uint8_t>(stream_at + p - 1);
  file[core_at(image.stream_hi)] = static_cast<uint8_t>((stream_at + p - 1) >> 8);
  put16(file, core_at(image.tail_dst), static_cast<unsigned>(load + skip - 1));
  put16(file, core_at(image.start_addr), static_cast<unsigned>(start));
  const auto tail_from = prg.begin() + 2 + static_cast<long>(skip);
  file.insert(file.end(), tail_from, tail_from + static_cast<long>(kept));

  if (stats) {
    *stats = best.counted;
    stats->input_bytes = n;
    stats->output_bytes = file.size();
    stats->stream_bytes = p;
    stats->tail_bytes = kept;
    stats->decruncher_bytes = file.size() - p - kept - 2 - (stream_at - kBasicStart - line_bytes);
  }
  *out = std::move(file);
  return true;
}
