// exportcli: quillbar-export, every export of a project from the command line, without a
// window: the PRG, the PNG screenshot, the bar tables, a D64 disk image, and the check of
// what the C64 shows.
#pragma once

// Runs quillbar-export with its command line: each project's outputs, one line on stderr for
// each failure, the check's verdict on stdout. The exit status: 0, 1 when a project failed or
// its check found differing lines, 2 for a bad command line.
int exportcli_main(int argc, char **argv);
