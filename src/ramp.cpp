// ramp: shaping a colour ramp and stretching it over lines; reading a ramp typed by the
// user. Plain functions, no state; the dialog and the painting are in rampdialog.cpp.
#include "ramp.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>

std::vector<int> ramp_preset_colours(const RampPreset &preset) {
  return {preset.colours.begin(), preset.colours.begin() + preset.count};
}

std::vector<int> ramp_shape(const std::vector<int> &ramp, RampShape shape) {
  std::vector<int> shaped(ramp);
  if (shape == RampShape::Falling) std::reverse(shaped.begin(), shaped.end());
  if (shape == RampShape::RisingFalling && !ramp.empty()) shaped.insert(shaped.end(), ramp.rbegin() + 1, ramp.rend());
  return shaped;
}

std::vector<LineRun> ramp_runs(const std::vector<int> &colours, int first_line, int lines) {
  const int count = static_cast<int>(colours.size());
  if (count == 0 || lines <= 0) return {};
  std::vector<int> length(count, lines / count);
  int extra = lines % count;
  // An odd count has one middle run, which takes an odd extra line; then pairs around
  // it (around the two middle runs of an even count) from the inside out. Only an even
  // count with an odd number of extra lines leaves one line that cannot be paired; it
  // goes to the upper run of the next pair.
  int below = count / 2 - 1, above = (count + 1) / 2;
  if (count % 2 == 1) {
    if (extra % 2 == 1) length[count / 2] += 1, extra -= 1;
  }
  for (; extra >= 2; extra -= 2, --below, ++above) length[below] += 1, length[above] += 1;
  if (extra == 1) length[below] += 1;

  std::vector<LineRun> runs;
  int line = first_line;
  for (int i = 0; i < count; ++i) {
    if (length[i] > 0) runs.push_back({line, length[i], colours[i]});
    line += length[i];
  }
  return runs;
}

int ramp_parse(const char *text, std::vector<int> *colours, std::string *error) {
  static const char *const message = "Type 1 to 16 colour numbers from 0 to 15, separated by spaces or commas";
  colours->clear();
  for (const char *p = text ? text : ""; *p;) {
    if (std::isspace(static_cast<unsigned char>(*p)) || *p == ',') {
      ++p;
      continue;
    }
    char *end = nullptr;
    const long value = std::strtol(p, &end, 10);
    const bool separated = *end == '\0' || std::isspace(static_cast<unsigned char>(*end)) || *end == ',';
    if (end == p || !separated || value < 0 || value > 15 || colours->size() == ramp_max_colours) {
      *error = message;
      return 0;
    }
    colours->push_back(static_cast<int>(value));
    p = end;
  }
  if (colours->empty()) {
    *error = message;
    return 0;
  }
  return 1;
}
