// quillbar-export: the command-line exporter's entry point (exportcli does the work).
#include "exportcli.h"

int main(int argc, char *argv[]) { return exportcli_main(argc, argv); }
