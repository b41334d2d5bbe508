// Times the work the editor repeats while the user looks at pictures and paints bars:
// decoding and rendering a picture (every open, reload, palette change and preview), the
// zoomed copy the picture area makes on every expose, the per-line export tables and the
// re-encoding of a multicolour picture. Prints the mean time per call.
//
// Usage: quillbar-bench [PICTURE]   (without a picture, a generated Koala file is used)
#include <gdk-pixbuf/gdk-pixbuf.h>

#include <chrono>
#include <cstdio>
#include <string>
#include <vector>

#include "c64pixbufs.h"
#include "hiresdecoder.h"
#include "rasterarray.h"
#include "reencode.h"
#include "state.h"

namespace {

template <typename Work>
void measure(const char *what, int runs, Work work) {
  const auto start = std::chrono::steady_clock::now();
  for (int i = 0; i < runs; i++) work();
  const std::chrono::duration<double, std::micro> spent = std::chrono::steady_clock::now() - start;
  std::printf("%-34s %10.1f us\n", what, spent.count() / runs);
}

std::string generated_koala() {
  std::vector<char> bytes(10003);
  bytes[1] = 0x60;
  for (size_t i = 2; i < bytes.size(); i++) bytes[i] = static_cast<char>(i * 2654435761u >> 13);
  gchar *path = g_build_filename(g_get_tmp_dir(), "quillbar-bench.kla", nullptr);
  g_file_set_contents(path, bytes.data(), static_cast<gssize>(bytes.size()), nullptr);
  std::string result = path;
  g_free(path);
  return result;
}

}  // namespace

int main(int argc, char **argv) {
  c64pixbufs_module_init();
  const std::string picture = argc > 1 ? argv[1] : generated_koala();

  GdkPixbuf *image = nullptr;
  measure("decode and render", 200, [&] {
    if (image) g_object_unref(image);
    image = nullptr;
    hiresdecoder_decode_hires_screen_file(picture.c_str(), 0, &image, &picture_data, nullptr);
  });
  if (!image) {
    std::fprintf(stderr, "%s: not a picture\n", picture.c_str());
    return 1;
  }
  for (int z = 2; z <= 4; z++) {
    char what[64];
    std::snprintf(what, sizeof what, "zoomed copy at %dx", z);
    measure(what, 100, [&] {
      GdkPixbuf *scaled = gdk_pixbuf_new(GDK_COLORSPACE_RGB, TRUE, 8, 320 * z, 200 * z);
      gdk_pixbuf_scale(image, scaled, 0, 0, 320 * z, 200 * z, 0, 0, z, z, GDK_INTERP_NEAREST);
      g_object_unref(scaled);
    });
  }
  unsigned char table[200];
  measure("per-line table (Compact mode)", 10000, [&] { rasterarray_get_bars_left(table, 0); });
  PictureData out{};
  measure("multicolour re-encoding", 200, [&] { reencode_process_picture_mc(&picture_data, &out); });
  g_object_unref(image);
  return 0;
}
