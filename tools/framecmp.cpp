// quillbar-framecmp: runs a program on the emulated C64 and compares the last complete frame
// with a stored one over the area a monitor shows; prints the first differing pixels and
// writes a difference image. Exit status 0 when every visible pixel is equal.
#include <cstdio>
#include <cstdlib>
#include <memory>

#include "c64.h"
#include "frames.h"

namespace {

constexpr double kDefaultSeconds = 8.0;  // the stored frames show the machine 8 s after start
constexpr int kDefaultShown = 20;

int usage(const char *program) {
  std::fprintf(
      stderr,
      "usage: %s [--machine pal|ntsc|ntsc-old|paln] [--frames N] [--show N] [--diff OUT.png] FILE.prg FRAME.idx[.gz]\n",
      program);
  return 2;
}

}  // namespace

int main(int argc, char **argv) {
  Vic2Model model = VIC2_PAL_6569;
  int frames = 0;
  const char *diff_png = nullptr, *show = nullptr;
  std::vector<const char *> paths;
  if (!frame_parse_arguments(argc, argv, &model, &frames, {{"--show", &show}, {"--diff", &diff_png}}, &paths) ||
      paths.size() != 2)
    return usage(argv[0]);
  const int shown = show ? std::atoi(show) : kDefaultShown;
  const Vic2ModelInfo &info = vic2_models[model];
  if (frames <= 0) frames = static_cast<int>(kDefaultSeconds * info.clock_hz / (info.cycles_per_line * info.lines)) + 1;

  auto machine = std::make_unique<C64>();
  std::string error;
  if (!c64_start_file(machine.get(), paths[0], model, &error)) {
    std::fprintf(stderr, "%s: %s\n", paths[0], error.c_str());
    return 2;
  }
  std::vector<uint8_t> want;
  const size_t size = static_cast<size_t>(info.cycles_per_line) * 8 * info.lines;
  if (!frame_read(paths[1], size, &want, &error)) {
    std::fprintf(stderr, "%s: %s\n", paths[1], error.c_str());
    return 2;
  }
  c64_run_frames(machine.get(), frames);
  const uint8_t *got = vic2_frame(&machine->vic);
  const std::vector<FrameDiff> diffs = frame_compare(model, got, want.data());
  std::printf("%s, %d frames: %zu differing pixels in the visible area\n", info.name, frames, diffs.size());
  for (size_t i = 0; i < diffs.size() && static_cast<int>(i) < shown; i++)
    std::printf("  line %3d x %3d: model %2d, stored %2d\n", diffs[i].line, diffs[i].x, diffs[i].got, diffs[i].want);
  if (diff_png && !frame_write_diff_png(diff_png, model, got, want.data(), &error)) {
    std::fprintf(stderr, "%s: %s\n", diff_png, error.c_str());
    return 2;
  }
  return diffs.empty() ? 0 : 1;
}
