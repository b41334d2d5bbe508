// exportcli: quillbar-export, every export of a project from the command line, without a
// window: the PRG, the PNG screenshot, the bar tables, a D64 disk image, and the check of
// what the C64 shows.
#pragma once

#include <string>
#include <vector>

#include "bartables.h"
#include "vic2.h"

struct ExportOptions {
  const char *prg = nullptr, *png = nullptr, *tables = nullptr, *d64 = nullptr;  // null: not wanted
  bool crunch = true;
  const BarTableFormat *format = bartables_format("bin");
  int palette = 0;  // as options_palette numbers them
  int reencode = 0;
  bool check = false;
  Vic2Model check_model = VIC2_PAL_6569;
  std::vector<const char *> projects;
};

// Reads the command line (argv[0] is the program); false with `error` saying what is wrong.
bool exportcli_parse(int argc, char **argv, ExportOptions *options, std::string *error);

// Runs quillbar-export: each project's outputs, one line on stderr for each failure. The exit
// status: 0, 1 when a project failed or its check found differing lines, 2 for a bad
// command line.
int exportcli_main(int argc, char **argv);
