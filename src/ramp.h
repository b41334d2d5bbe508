// ramp: colour ramps, as plain data. A ramp is a list of colours from dark to light; a
// shape orders it (rising, falling, or rising then falling back); the ordered colours are
// stretched over a range of lines as runs of (nearly) equal length.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "rasterarray.h"

constexpr int ramp_max_colours = 16;

struct RampPreset {
  const char *key;    // lower-case name, part of the dialog's widget names
  const char *label;  // the name shown in the dialog
  int count;
  std::array<int, ramp_max_colours> colours;  // dark to light by the C64's luminance
};

constexpr std::array<RampPreset, 7> ramp_presets{{
    {"grey", "Grey", 5, {0, 11, 12, 15, 1}},
    {"blue", "Blue", 4, {6, 14, 3, 1}},
    {"red", "Red", 5, {9, 2, 10, 7, 1}},
    {"green", "Green", 4, {9, 5, 13, 1}},
    {"purple", "Purple", 5, {6, 4, 10, 15, 1}},
    {"brown", "Brown", 5, {9, 8, 10, 7, 1}},
    {"fire", "Fire", 6, {9, 2, 8, 10, 7, 1}},
}};

enum class RampShape { Rising, Falling, RisingFalling };

std::vector<int> ramp_preset_colours(const RampPreset &preset);
// The ramp in the order of the shape; rising then falling shows the lightest colour once.
std::vector<int> ramp_shape(const std::vector<int> &ramp, RampShape shape);
// The colours spread over `lines` lines from `first_line` on, one run per colour: every
// run gets lines / count lines, and the remaining lines go one each to the runs nearest
// the middle, in pairs, so that the runs stay symmetric. Runs of no lines are left out.
std::vector<LineRun> ramp_runs(const std::vector<int> &colours, int first_line, int lines);
// Reads a custom ramp: 1 to 16 colour numbers 0..15, separated by blanks or commas.
// 1 on success; 0 with `error` set to the message for the user.
int ramp_parse(const char *text, std::vector<int> *colours, std::string *error);
