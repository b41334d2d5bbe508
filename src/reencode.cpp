// reencode: rewrites the bitmap, screen and colour memory of a multicolour picture so that
// it shows the same pixels but keeps each colour in the same colour source from one cell
// to the next wherever it can, and orders the sources by colour value. The executable
// export uses it to make the data more regular for the cruncher.
//
// Reads the input record only; writes bitmap, screen, color and background of the output
// record and nothing else. Keeps no state between calls.
#include "reencode.h"

#include <array>
#include <utility>
#include <vector>

namespace {

constexpr int columns = 40;
constexpr int rows = 25;
constexpr int width = 160;  // double-wide pixels
constexpr int height = 200;
constexpr int no_colour = 0xBD;  // a slot that has never held a colour

// Slots 1..3 stand for the bit pairs 01, 10 and 11; index 0 is unused (bit pair 00 is
// always the background).
struct Slots {
  std::array<int, 4> colour{0, no_colour, no_colour, no_colour};
  std::array<bool, 4> in_use{};
  int count = 0;

  void take(int slot, int c) {
    colour[slot] = c;
    in_use[slot] = true;
    ++count;
  }
  bool holds_in_use(int c) const {
    for (int s = 1; s <= 3; ++s)
      if (in_use[s] && colour[s] == c) return true;
    return false;
  }
  void order_two(int a, int b) {
    if (colour[a] > colour[b]) std::swap(colour[a], colour[b]);
  }
};

// The picture as one colour index per double-wide pixel.
std::vector<unsigned char> decode(const PictureData &in, int background) {
  std::vector<unsigned char> image(width * height);
  for (int cell = 0; cell < columns * rows; ++cell) {
    const int sources[4] = {background, in.screen[cell] >> 4, in.screen[cell] & 15, in.color[cell] & 15};
    const int x0 = (cell % columns) * 4, y0 = (cell / columns) * 8;
    for (int y = 0; y < 8; ++y) {
      const unsigned char byte = in.bitmap[cell * 8 + y];
      for (int p = 0; p < 4; ++p)
        image[(y0 + y) * width + x0 + p] = static_cast<unsigned char>(sources[(byte >> (6 - 2 * p)) & 3]);
    }
  }
  return image;
}

}  // namespace

void reencode_process_picture_mc(const PictureData *in, PictureData *out) {
  const int background = in->background & 15;
  const std::vector<unsigned char> image = decode(*in, background);
  Slots slots;
  for (int cell = 0; cell < columns * rows; ++cell) {
    const int x0 = (cell % columns) * 4, y0 = (cell / columns) * 8;
    auto pixel = [&](int i) { return static_cast<int>(image[(y0 + i / 4) * width + x0 + i % 4]); };
    slots.in_use = {};
    slots.count = 0;

    // Keep: colours already in a slot stay there.
    for (int i = 0; i < 32; ++i) {
      for (int s = 1; s <= 3; ++s) {
        if (!slots.in_use[s] && slots.colour[s] == pixel(i)) {
          slots.take(s, pixel(i));
          break;
        }
      }
    }
    // Add: new colours go to the free slots in the order they first appear.
    for (int i = 0; i < 32; ++i) {
      const int c = pixel(i);
      if (c == background || slots.holds_in_use(c)) continue;
      for (int s = 1; s <= 3; ++s) {
        if (!slots.in_use[s]) {
          slots.take(s, c);
          break;
        }
      }
    }
    // Order by colour value; the in-use flags stay where they are.
    if (slots.count == 2) {
      slots.order_two(1, 2);
    } else if (slots.count == 3) {
      slots.order_two(1, 2);
      slots.order_two(2, 3);
      slots.order_two(1, 2);
    }

    for (int y = 0; y < 8; ++y) {
      unsigned char byte = 0;
      for (int p = 0; p < 4; ++p) {
        const int c = pixel(y * 4 + p);
        int pair = 0;
        if (c != background) {
          for (int s = 1; s <= 3; ++s) {
            if (slots.colour[s] == c) {
              pair = s;
              break;
            }
          }
        }
        byte = static_cast<unsigned char>(byte | pair << (6 - 2 * p));
      }
      out->bitmap[cell * 8 + y] = byte;
    }
    out->screen[cell] = static_cast<unsigned char>(((slots.colour[1] << 4) & 0xFF) | (slots.colour[2] & 15));
    out->color[cell] = static_cast<unsigned char>(slots.colour[3] & 15);
  }
  out->background = static_cast<unsigned char>(background);
}
