// reencode: not written yet.
#include "reencode.h"

void reencode_process_picture_mc(const PictureData *in, PictureData *out) { }
