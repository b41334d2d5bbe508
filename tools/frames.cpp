// Frame files and comparisons for the emulator's tools and tests. Colours come from the
// editor's palette module (Pepto); PNG files are written through cairo.
#include "frames.h"

#include <cairo.h>
#include <zlib.h>
#include <cstdlib>

#include "palette.h"

namespace {

constexpr int kDimShift = 2;  // unchanged pixels of a difference image at a quarter brightness

struct ModelName {
  const char *name;
  Vic2Model model;
};
constexpr ModelName kModelNames[] = {
    {"pal", VIC2_PAL_6569}, {"ntsc", VIC2_NTSC_6567R8}, {"ntsc-old", VIC2_NTSC_6567R56A}, {"paln", VIC2_PALN_6572}};

uint32_t argb(int index, int shift) {
  const auto &rgb = palette_rgb[index & 15];
  return 0xFF000000u | (rgb[0] >> shift) << 16 | (rgb[1] >> shift) << 8 | (rgb[2] >> shift);
}

template <typename Pixel>
bool write_png(const std::string &path, int width, int height, Pixel pixel, std::string *error) {
  cairo_surface_t *surface = cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height);
  unsigned char *data = cairo_image_surface_get_data(surface);
  const int stride = cairo_image_surface_get_stride(surface);
  cairo_surface_flush(surface);
  for (int y = 0; y < height; y++) {
    uint32_t *row = reinterpret_cast<uint32_t *>(data + y * stride);
    for (int x = 0; x < width; x++) row[x] = pixel(x, y);
  }
  cairo_surface_mark_dirty(surface);
  const cairo_status_t status = cairo_surface_write_to_png(surface, path.c_str());
  cairo_surface_destroy(surface);
  if (status != CAIRO_STATUS_SUCCESS) {
    *error = cairo_status_to_string(status);
    return false;
  }
  return true;
}

}  // namespace

bool frame_read(const std::string &path, size_t size, std::vector<uint8_t> *pixels, std::string *error) {
  gzFile file = gzopen(path.c_str(), "rb");
  if (!file) {
    *error = "cannot be opened";
    return false;
  }
  pixels->assign(size + 1, 0);
  const int got = gzread(file, pixels->data(), static_cast<unsigned>(size + 1));
  gzclose(file);
  if (got != static_cast<int>(size)) {
    *error = "holds " + std::to_string(got) + " pixels, not " + std::to_string(size);
    return false;
  }
  pixels->resize(size);
  return true;
}

std::vector<FrameDiff> frame_compare(Vic2Model model, const uint8_t *got, const uint8_t *want) {
  const Vic2ModelInfo &m = vic2_models[model];
  const int width = m.cycles_per_line * 8;
  std::vector<FrameDiff> diffs;
  for (int i = 0; i < m.visible_lines; i++) {
    const int line = (m.first_line + i) % m.lines;
    for (int x = m.first_x; x <= m.last_x; x++) {
      const int at = line * width + x;
      if (got[at] != want[at]) diffs.push_back({x, line, got[at], want[at]});
    }
  }
  return diffs;
}

bool frame_write_png(const std::string &path, const uint8_t *pixels, int width, int height, std::string *error) {
  return write_png(
      path, width, height, [&](int x, int y) { return argb(pixels[y * width + x], 0); }, error);
}

bool frame_write_diff_png(const std::string &path, Vic2Model model, const uint8_t *got, const uint8_t *want,
                          std::string *error) {
  const Vic2ModelInfo &m = vic2_models[model];
  const int width = m.cycles_per_line * 8;
  std::vector<uint8_t> differs(static_cast<size_t>(width) * m.lines, 0);
  for (const FrameDiff &d : frame_compare(model, got, want)) differs[d.line * width + d.x] = 1;
  return write_png(
      path, width, m.lines,
      [&](int x, int y) {
        const int at = y * width + x;
        return differs[at] ? argb(got[at], 0) : argb(want[at], kDimShift);
      },
      error);
}

bool frame_model_from_name(const std::string &name, Vic2Model *model) {
  for (const ModelName &entry : kModelNames)
    if (name == entry.name) {
      *model = entry.model;
      return true;
    }
  return false;
}

bool frame_parse_arguments(int argc, char **argv, Vic2Model *model, int *frames,
                           std::initializer_list<FrameOption> named, std::vector<const char *> *files) {
  for (int i = 1; i < argc; i++) {
    const std::string word = argv[i];
    if (word.empty() || word[0] != '-') {
      files->push_back(argv[i]);
      continue;
    }
    if (i + 1 == argc) return false;
    const char *value = argv[++i];
    if (word == "--machine") {
      if (!frame_model_from_name(value, model)) return false;
    } else if (word == "--frames") {
      *frames = std::atoi(value);
    } else {
      const FrameOption *match = nullptr;
      for (const FrameOption &option : named)
        if (word == option.option) match = &option;
      if (!match) return false;
      *match->value = value;
    }
  }
  return true;
}
