// prgexport: the self-running C64 program of a picture and its bars, as bytes, and the
// cruncher run that compresses a written one. Plain functions over plain data: no window.
#pragma once

#include <glib.h>

#include <vector>

#include "geometry.h"
#include "hiresdecoder.h"
#include "prg_templates.h"

// The PRG kind that shows a picture of `format` (1..10); null for any other number.
const PrgKind *prgexport_kind(unsigned int format);

// The uncompressed PRG of `kind`: its player, the two colour tables of lines 51..250, the
// border colour and the picture's graphics; a multicolour picture is re-encoded first when
// `reencode` is not 0 (the record itself is not changed).
std::vector<unsigned char> prgexport_build(const PrgKind &kind, const PictureData &picture,
                                           const unsigned char left[picture_lines],
                                           const unsigned char right[picture_lines], int border, int reencode);

// Runs "exomizer sfx 2061 <file> -o <file> -n" from `folder`, replacing the file with its
// crunched form. Returns the cruncher's exit status (0 for success), or -1 with *error set
// when it could not be run.
int prgexport_run_cruncher(const char *folder, const char *filename, GError **error);

// The crunched form of `prg`, made by running the cruncher from `folder` on a copy in a
// temporary folder of its own. 1 on success; else 0 with *error set (the cruncher's exit
// status when it failed).
int prgexport_crunch(const char *folder, const std::vector<unsigned char> &prg, std::vector<unsigned char> *crunched,
                     GError **error);
