// exportcommands: the editor's exports of the work in hand beside the menu commands of
// callbacks: the program's bytes as "Export to executable" builds them (for the preview and
// the disk image), the bar tables as raw bytes or assembler source, and the crunched program
// on a D64 disk image. Each export reports in the status bar.
//
// May touch: the picture record, the border colour and the paths (read only); the bars
// through inputmode; the status bar, error boxes and the cursor through controls; the
// files it is told to write.
#include "exportcommands.h"

#include <cstring>

#include "controls.h"
#include "diskimage.h"
#include "inputmode.h"
#include "options.h"
#include "prgexport.h"
#include "state.h"
#include "support.h"

namespace {

// The file the work is known by: the project's, or else the picture's.
const char *work_path() {
  return utf8_path_and_filename_project ? utf8_path_and_filename_project : utf8_path_and_filename_picture;
}

}  // namespace

int export_build_executable(std::vector<unsigned char> *prg) {
  const PrgKind *kind = prgexport_kind(picture_data.format);
  if (!kind) return 0;
  unsigned char left[picture_lines], right[picture_lines];
  inputmode_get_bar_tables(left, right, border_color_index);
  *prg = prgexport_build(*kind, picture_data, left, right, border_color_index, options_reencode_graphics);
  return 1;
}

int export_bar_tables_to_file(const char *filename, const BarTableFormat &format) {
  unsigned char left[picture_lines], right[picture_lines];
  inputmode_get_bar_tables(left, right, border_color_index);
  OwnedString name(work_path() ? g_path_get_basename(work_path()) : nullptr);
  const std::string text = bartables_text(format, left, right, border_color_index, name.get());
  GError *error = nullptr;
  if (!support_replace_file(filename, text.data(), text.size(), &error)) {
    controls_report_write_error(error, filename, "The bar tables could not be written");
    return 0;
  }
  controls_report_info("Bar tables exported");
  return 1;
}

int export_disk_image_to_file(const char *filename) {
  std::vector<unsigned char> prg, crunched;
  if (!export_build_executable(&prg)) return 0;
  OwnedString base(g_path_get_basename(work_path() ? work_path() : "quillbar"));
  if (char *dot = strrchr(base.get(), '.')) *dot = '\0';
  GError *error = nullptr;
  bool written = false;
  {
    ControlsBusyCursor busy;
    written = prgexport_crunch(app_folder, prg, &crunched, &error) == 1 &&
              diskimage_write(filename, crunched, base.get(), &error) == 1;
  }
  if (!written) {
    controls_report_write_error(error, filename, "The disk image could not be written");
    return 0;
  }
  controls_report_info("Successfully exported to disk image D64");
  return 1;
}
