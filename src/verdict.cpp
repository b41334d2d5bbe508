// verdict: the comparison of what the C64 model shows in the side borders with what the
// editor draws there, and its one-line report.
//
// Owns nothing that lasts beyond a call; reads the machine models of the emulator and runs
// a machine of its own in verdict_run. Touches no editor state: the caller hands the bars in.
#include "verdict.h"

#include <memory>

#include "c64.h"
#include "geometry.h"

namespace {

// Whether the monitor of that model shows raster `line` (the visible lines wrap past the
// frame's last line into line 0).
bool machine_shows(const Vic2ModelInfo *model, int line) {
  return line < model->lines && (line - model->first_line + model->lines) % model->lines < model->visible_lines;
}

bool covers(const LineRun &bar, int line) { return line >= bar.start && line - bar.start < bar.height; }

// The bar the editor draws on `line`, or null.
const LineRun *drawn_bar(const std::vector<LineRun> &bars, int line) {
  const LineRun *drawn = nullptr;
  for (const LineRun &bar : bars)
    if (covers(bar, line)) drawn = &bar;
  return drawn;
}

const char *side_name(int side) { return side == side_left ? "left" : "right"; }

}  // namespace

Verdict verdict_compare(const Vic2ModelInfo *model, const uint8_t *frame, const EditorBorders &editor) {
  Verdict verdict;
  const int last_shown_line = first_shown_line + vert_border_height - 1;
  for (int line = first_shown_line; line <= last_shown_line; line++) {
    if (!machine_shows(model, line)) continue;
    bool differs = false;
    for (int side : {side_left, side_right}) {
      const LineRun *bar = drawn_bar(editor.bars[side], line);
      if (vic2_side_border_colour(model, frame, line, side) == (bar ? bar->color & 15 : editor.border)) continue;
      differs = true;
      if (verdict.cause_side < 0 && bar && bar->start + bar->height > last_picture_line + 1) {
        verdict.cause_side = side;
        verdict.cause = *bar;
      }
    }
    if (differs) verdict.lines.push_back(line);
  }
  return verdict;
}

bool verdict_run(const std::vector<uint8_t> &prg, Vic2Model model, int frames, const EditorBorders &editor,
                 Verdict *verdict, std::string *error) {
  auto machine = std::make_unique<C64>();
  if (!c64_start(machine.get(), prg, model, error)) return false;
  c64_run_frames(machine.get(), frames);
  *verdict = verdict_compare(machine->vic.model, vic2_frame(&machine->vic), editor);
  return true;
}

std::string verdict_text(const Verdict &verdict) {
  const std::size_t count = verdict.lines.size();
  if (count == 0) return "Bars match the editor";
  std::string text =
      count == 1 ? "1 line differs from the editor" : std::to_string(count) + " lines differ from the editor";
  text += ", from line " + std::to_string(verdict.lines.front());
  if (verdict.cause_side >= 0)
    text += std::string(": the ") + side_name(verdict.cause_side) + " bar at line " +
            std::to_string(verdict.cause.start) + " (height " + std::to_string(verdict.cause.height) +
            ") runs past line " + std::to_string(last_picture_line);
  return text;
}
