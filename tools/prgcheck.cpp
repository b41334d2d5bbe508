// quillbar-prgcheck: runs an exported raster-bar program on the small C64 model and prints
// what the side borders show on each raster line of the picture, for checking files by hand.
#include <cstdio>
#include <cstdlib>
#include <memory>

#include "c64run.h"
#include "geometry.h"

int main(int argc, char **argv) {
  if (argc < 2 || argc > 3) {
    std::fprintf(stderr, "usage: %s FILE.prg [FRAMES]\n", argv[0]);
    return 2;
  }
  const int frames = argc == 3 ? std::atoi(argv[2]) : 45;
  if (frames < 2) {
    std::fprintf(stderr, "FRAMES must be at least 2\n");
    return 2;
  }
  auto machine = std::make_unique<C64>();
  if (!c64_start_file(machine.get(), argv[1])) {
    std::fprintf(stderr, "%s: cannot read a PRG from this file\n", argv[1]);
    return 1;
  }
  c64_run_frames(machine.get(), frames);
  const C64 *m = machine.get();
  if (m->cpu.jammed) std::printf("# processor stopped at $%04X (opcode $%02X)\n", m->cpu.pc, c64_peek(m, m->cpu.pc));
  std::printf("# after %d frames, as last written: $D011=%02X $D016=%02X $D018=%02X $D015=%02X $D020=%02X $D021=%02X\n",
              frames, m->vic[0x11], m->vic[0x16], m->vic[0x18], m->vic[0x15], m->vic[0x20], m->vic[0x21]);
  const int frame = frames - 2;  // the last complete frame
  std::printf("# frame %d, left border at cycle %d, right border at cycle %d; writes to $D020 as cycle:colour\n",
              frame, kLeftBorderCycle, kRightBorderCycle);
  std::printf("# line left right  writes\n");
  for (int line = first_picture_line; line <= last_picture_line; ++line) {
    std::printf("%6d %4d %5d  ", line, c64_border_at(m, frame, line, kLeftBorderCycle),
                c64_border_at(m, frame, line, kRightBorderCycle));
    for (auto [cycle, value] : c64_border_writes_on_line(m, frame, line)) std::printf(" %d:%d", cycle, value);
    std::printf("\n");
  }
  return 0;
}
