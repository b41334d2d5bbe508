// exportcommands: the program's bytes for the work in hand, and the bar-table and disk-image
// exports of the editor (File > "Export bar tables..." and "Export to disk image...").
#pragma once

#include <vector>

#include "bartables.h"

// The bytes the export of the current picture's kind writes (uncompressed); 0 for no kind.
int export_build_executable(std::vector<unsigned char> *prg);
// Bar tables and disk image exports: the active mode's tables in `format` (the comment
// naming the project's file, or else the picture's), and the crunched program on a D64
// image under that file's name; each reports in the status bar and gives 1 when written.
int export_bar_tables_to_file(const char *filename, const BarTableFormat &format);
int export_disk_image_to_file(const char *filename);
