// Times the emulator: one frame of an exported hires player (bars on every line, after the
// fade) emulated and drawn, on each machine. Prints milliseconds of processor time per frame
// (time the process ran, so that other programs on a busy machine count less) and how many
// times faster than the real machine that is.
//
// Usage: quillbar-bench-emu [FILE.prg]   (without a file, a generated hires player is used)
#include <cstdio>
#include <ctime>
#include <memory>
#include <vector>

#include "c64.h"
#include "geometry.h"
#include "prg_templates.h"

namespace {

constexpr int kWarmUpFrames = 60, kTimedFrames = 2000;

std::vector<uint8_t> generated_player() {
  std::vector<uint8_t> prg = prg_player_bytes(prg_hires);
  for (int i = 0; i < picture_lines; i++) {
    prg[prg_offset(prg_left_table) + i] = static_cast<uint8_t>(i % 16);
    prg[prg_offset(prg_right_table) + i] = static_cast<uint8_t>((7 * i + 3) % 16);
  }
  prg[prg_offset(prg_border)] = 6;
  for (size_t i = prg_offset(prg_hires.bitmap); i < prg.size(); i++)
    prg[i] = static_cast<uint8_t>(i * 2654435761u >> 13);
  return prg;
}

double cpu_ms() {
  timespec now;
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return now.tv_sec * 1e3 + now.tv_nsec / 1e6;
}

}  // namespace

int main(int argc, char **argv) {
  const Vic2Model models[] = {VIC2_PAL_6569, VIC2_NTSC_6567R8, VIC2_PALN_6572};
  for (Vic2Model model : models) {
    auto m = std::make_unique<C64>();
    std::string error;
    const bool started = argc > 1 ? c64_start_file(m.get(), argv[1], model, &error)
                                  : c64_start(m.get(), generated_player(), model, &error);
    if (!started) {
      std::fprintf(stderr, "%s: %s\n", argv[1], error.c_str());
      return 1;
    }
    c64_run_frames(m.get(), kWarmUpFrames);
    const double start = cpu_ms();
    c64_run_frames(m.get(), kWarmUpFrames + kTimedFrames);
    const double spent = cpu_ms() - start;
    const Vic2ModelInfo &info = vic2_models[model];
    const double per_frame = spent / kTimedFrames;
    const double real_frame = 1000.0 * info.cycles_per_line * info.lines / info.clock_hz;
    std::printf("%-14s %7.3f ms per frame  (%5.1f x real time)\n", info.name, per_frame, real_frame / per_frame);
  }
  return 0;
}
