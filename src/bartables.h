// bartables: the per-line colour tables of a project as data for a demo coder's own code:
// the left table, the right table (200 bytes each, line 51 first) and the border colour,
// as raw bytes or as assembler source with the labels bars_left, bars_right and bars_border.
#pragma once

#include <string>

#include "geometry.h"

struct BarTableFormat {
  const char *name;         // as quillbar-export's --format takes it
  const char *extension;    // given to a chosen file name that has none
  const char *filter_name;  // the export chooser's filter
  const char *comment;      // starts a comment line; null for raw bytes
  const char *prologue;     // a line before the labels (exports), or null
  const char *byte_directive;
};

// The assemblers, then raw bytes: the order of the export chooser's filters.
extern const BarTableFormat bartables_formats[4];

// The format called `name`, or null.
const BarTableFormat *bartables_format(const char *name);

// The file's bytes; an assembler source opens with a comment naming `project_name`.
std::string bartables_text(const BarTableFormat &format, const unsigned char left[picture_lines],
                           const unsigned char right[picture_lines], int border, const char *project_name);
