// quillbar-prgcheck: runs an exported raster-bar program on the emulated C64 and prints what
// the side borders show on each raster line of the picture; optionally writes the last
// complete frame as a PNG image.
#include <cstdio>
#include <cstdlib>
#include <memory>

#include "c64.h"
#include "frames.h"
#include "geometry.h"

namespace {

constexpr int kDefaultFrames = 60;  // the fade and the set-up are over after about 40
constexpr int kMinFrames = 2;

int usage(const char *program) {
  std::fprintf(stderr, "usage: %s [--machine pal|ntsc|ntsc-old|paln] [--frames N] [--frame-png OUT.png] FILE.prg\n",
               program);
  return 2;
}

}  // namespace

int main(int argc, char **argv) {
  Vic2Model model = VIC2_PAL_6569;
  int frames = kDefaultFrames;
  const char *png = nullptr;
  std::vector<const char *> files;
  if (!frame_parse_arguments(argc, argv, &model, &frames, {{"--frame-png", &png}}, &files) || files.size() != 1)
    return usage(argv[0]);
  const char *path = files[0];
  if (frames < kMinFrames) {
    std::fprintf(stderr, "--frames must be at least %d\n", kMinFrames);
    return 2;
  }
  auto machine = std::make_unique<C64>();
  std::string error;
  if (!c64_start_file(machine.get(), path, model, &error)) {
    std::fprintf(stderr, "%s: %s\n", path, error.c_str());
    return 1;
  }
  c64_run_frames(machine.get(), frames);
  const C64 *m = machine.get();
  const Vic2ModelInfo *info = m->vic.model;
  const uint8_t *frame = vic2_frame(&m->vic);
  if (m->cpu.jammed) std::printf("# processor stopped at $%04X (opcode $%02X)\n", m->cpu.pc, c64_peek(m, m->cpu.pc));
  std::printf(
      "# %s, after %d frames, as last written: $D011=%02X $D016=%02X $D018=%02X $D015=%02X $D020=%02X $D021=%02X\n",
      info->name, frames, m->vic.regs.reg[VIC2_CTRL1], m->vic.regs.reg[VIC2_CTRL2], m->vic.regs.reg[VIC2_MEMORY],
      m->vic.regs.reg[VIC2_SPRITE_ENABLE], m->vic.regs.reg[VIC2_BORDER], m->vic.regs.reg[VIC2_BACKGROUND0]);
  std::printf("# last complete frame: colour of each visible side border (-1: more than one);\n");
  std::printf("# writes to $D020 as cycle:colour\n# line left right  writes\n");
  for (int line = first_picture_line - 1; line <= last_picture_line; ++line) {
    std::printf("%6d %4d %5d  ", line, vic2_side_border_colour(info, frame, line, 1),
                vic2_side_border_colour(info, frame, line, 0));
    for (const C64BorderWrite &w : m->last_border_writes)
      if (w.line == line) std::printf(" %d:%d", w.cycle, w.value);
    std::printf("\n");
  }
  if (png && !frame_write_png(png, frame, vic2_frame_width(&m->vic), info->lines, &error)) {
    std::fprintf(stderr, "%s: %s\n", png, error.c_str());
    return 1;
  }
  return 0;
}
