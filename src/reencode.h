// reencode: rewrites multicolour picture data so that it compresses better.
#pragma once

#include "hiresdecoder.h"

void reencode_process_picture_mc(const PictureData *in, PictureData *out);
