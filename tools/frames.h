// Whole-raster frames as the emulator draws them (one colour index per pixel, row r = raster
// line r, x = sprite X + 112): reading stored frames, comparing them over the area a monitor
// shows, and writing them as PNG images in the Pepto palette.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

#include "vic2.h"

struct FrameDiff {
  int x, line, got, want;
};

// Reads a frame of `size` bytes, gzip-compressed or raw. False with `error` set otherwise.
bool frame_read(const std::string &path, size_t size, std::vector<uint8_t> *pixels, std::string *error);

// Every pixel of the visible area (display window and visible borders, every visible line)
// where the frames differ, line by line in the order a monitor shows them.
std::vector<FrameDiff> frame_compare(Vic2Model model, const uint8_t *got, const uint8_t *want);

bool frame_write_png(const std::string &path, const uint8_t *pixels, int width, int height, std::string *error);

// `want` dimmed, with the differing pixels of the visible area in their `got` colour framed by
// nothing else: what the model shows wrongly stands out.
bool frame_write_diff_png(const std::string &path, Vic2Model model, const uint8_t *got, const uint8_t *want,
                          std::string *error);

// "pal", "ntsc", "ntsc-old" or "paln" to the model; false for other names.
bool frame_model_from_name(const std::string &name, Vic2Model *model);

// The tools' command line: --machine NAME, --frames N and the tool's own options that take a
// value (`named`: option and where its value goes); the other words are files. False on an
// unknown option, a missing value or an unknown machine.
struct FrameOption {
  const char *option;
  const char **value;
};
bool frame_parse_arguments(int argc, char **argv, Vic2Model *model, int *frames,
                           std::initializer_list<FrameOption> named, std::vector<const char *> *files);
