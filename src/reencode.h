// reencode: rewrites multicolour picture data so that it compresses better.
#pragma once

#include "hiresdecoder.h"

// Writes into `out` the same multicolour image with each cell's colours in a regular order
// and slot, which packs better; `in` is left as it is.
void reencode_process_picture_mc(const PictureData *in, PictureData *out);
