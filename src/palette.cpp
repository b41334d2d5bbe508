// palette: not written yet.
#include "palette.h"

const PaletteBytes palette_rgb{};
const PaletteBytes palette_hc_rgb{};
const PaletteBytes palette_pixcen_rgb{};
const PaletteBytes palette_ccs64_rgb{};
const PaletteDoubles palette_rgb_double{};
const PaletteDoubles palette_hc_rgb_double{};
const PaletteDoubles palette_pixcen_rgb_double{};
const PaletteDoubles palette_ccs64_rgb_double{};
void palette_get_rgb_at_index(int index, unsigned char rgb[3]) { }
void palette_get_rgb_double_at_index(int index, double rgb[3]) { }
void palette_get_pepto_rgb_at_index(int index, unsigned char rgb[3]) { }
unsigned int palette_get_index_for_rgb(const unsigned char rgb[3]) { return {}; }
