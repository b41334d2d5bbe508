// verdict: whether the C64 shows the side borders the editor shows. The exported program is
// run on the C64 model and the colour of each side border on every raster line that the
// editor's border areas show (lines 3..298, where the machine shows them too) is compared
// with the colour the editor draws there. Plain data in, plain data out: the preview window
// and quillbar-export both report with it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "geometry.h"
#include "vic2.h"

// Frames run before the comparison: past the player's 16-frame fade and its set-up.
constexpr int preview_fast_forward_frames = 60;
// The same for the crunched program, which first unpacks itself. Measured as the first frame
// equal to the uncrunched program's frame 60: 55 on PAL for a plain hires picture, 82..89 on PAL and
// 88..96 on NTSC for the largest crunched exports (6.8 KB, about 0.9 million cycles of
// unpacking); the slowest unpacking the cruncher allows (62 cycles a byte) adds some 8 more.
constexpr int preview_crunched_fast_forward_frames = 120;

struct Verdict {
  std::vector<int> lines;  // the differing raster lines, in ascending order
  // A bar that reaches past the picture lines over a differing line (the export tables hold
  // lines 51..250 only): its side flag, or -1 when no bar is to blame.
  int cause_side = -1;
  LineRun cause{};
};

// Compares a complete frame of `model` with the editor's side borders.
Verdict verdict_compare(const Vic2ModelInfo *model, const uint8_t *frame, const EditorBorders &editor);

// Runs `prg` on a freshly powered-on machine for `frames` frames and compares the last
// complete one. False with `error` set when the machine cannot run the program.
bool verdict_run(const std::vector<uint8_t> &prg, Vic2Model model, int frames, const EditorBorders &editor,
                 Verdict *verdict, std::string *error);

// "Bars match the editor" when nothing differs; else how many lines differ, the first one and
// the bar to blame: "2 lines differ from the editor, from line 251: the left bar at line 240
// (height 12) runs past line 250".
std::string verdict_text(const Verdict &verdict);
