// projectfile: the project file, a key file naming the picture, the border colour and the
// bars of each side, read into and written from plain data: no window.
#pragma once

#include <glib.h>

#include <array>
#include <string>
#include <vector>

#include "geometry.h"

// A project as read. The bars of each side (indexed by the side flag: [1] left, [0] right)
// come in both forms, as each input mode takes them from the file.
struct ProjectRecord {
  bool is_project = false;                   // the file holds any of the groups "image", "colors", "left", "right"
  bool has_picture = false;                  // the key "file" of "image" is there
  std::string picture;                       // its value, the picture's file URI
  bool has_base = false;                     // the key "base" of "colors" is there
  int base = 0;                              // its value brought into 0..15
  std::array<std::vector<LineRun>, 2> bars;  // Extended mode: the rows its list takes
  std::array<std::array<int, RASTER_LINES>, 2> lines;  // Compact mode: a colour or -1 per line
};

// Reads the project at `path` into *record; 0 with *error when it is no key file.
int projectfile_read(const char *path, ProjectRecord *record, GError **error);

// The picture a project at `project_path` names by `uri`: the URI's path when that is a
// regular file, else the file of the same base name beside the project when that is one.
// When neither exists, the stored path, or (for a value that is no file URI) the place
// beside the project, so that opening it reports the picture as missing.
std::string projectfile_picture_path(const std::string &uri, const char *project_path);

// Writes a project: `picture_path` (or no "file" key when null) as a URI of its absolute
// path, the border colour, and the bars of each side as given ([1] left, [0] right). 1 when
// written; else 0, with *error when the file could not be written.
int projectfile_write(const char *path, const char *picture_path, int base,
                      const std::array<std::vector<LineRun>, 2> &bars, GError **error);

// One group's three parallel lists "start", "height" and "color": reading gives as many
// bars as the shortest list has values (a missing or malformed list counts as empty);
// writing always sets all three lists, also when they are empty.
std::vector<LineRun> projectfile_read_bar_group(GKeyFile *key_file, const char *group);
void projectfile_write_bar_group(GKeyFile *key_file, const char *group, const std::vector<LineRun> &bars);

// A group's bars as Extended mode takes them: every entry that starts beside the picture
// and ends by its last line, overlaps and empty bars included, its colour taken modulo 16;
// entries whose colour comes out negative are dropped.
std::vector<LineRun> projectfile_extended_bars(GKeyFile *key_file, const char *group);
// A group's bars as Compact mode takes them into `lines` (every entry -1 first): painted in
// file order, so that a later bar wins; bars reaching outside the picture lines or without
// lines are skipped, and a colour that comes out negative modulo 16 clears its lines.
void projectfile_compact_lines(GKeyFile *key_file, const char *group, int lines[RASTER_LINES]);

// The group of each side, indexed by the side flag.
constexpr std::array<const char *, 2> projectfile_groups{"right", "left"};
