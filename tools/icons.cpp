// quillbar-icons: writes the compiled-in application icon as PNG files for the desktop's icon
// theme, one per size: OUTDIR/<size>x<size>/quillbar.png. Run by the build, needs no display.
// Owns nothing but its output files; reads the icon image of the program.
#include <gdk-pixbuf/gdk-pixbuf.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "rasters_icon_xpm.h"

int main(int argc, char **argv) {
  if (argc < 3) {
    std::fprintf(stderr, "usage: %s OUTDIR SIZE...\n", argv[0]);
    return 2;
  }
  GdkPixbuf *icon = gdk_pixbuf_new_from_xpm_data(const_cast<const char **>(rasters_icon_xpm));
  if (!icon) return 1;
  const int native = gdk_pixbuf_get_width(icon);
  int status = 0;
  for (int i = 2; i < argc; i++) {
    const int size = std::atoi(argv[i]);
    if (size <= 0) {
      std::fprintf(stderr, "%s: bad size %s\n", argv[0], argv[i]);
      return 2;
    }
    // Whole multiples keep the bands' sharp edges; smaller sizes are averaged.
    GdkPixbuf *scaled =
        gdk_pixbuf_scale_simple(icon, size, size, size % native == 0 ? GDK_INTERP_NEAREST : GDK_INTERP_HYPER);
    const std::string folder = std::string(argv[1]) + "/" + argv[i] + "x" + argv[i];
    const std::string file = folder + "/quillbar.png";
    GError *error = nullptr;
    if (g_mkdir_with_parents(folder.c_str(), 0755) != 0 ||
        !gdk_pixbuf_save(scaled, file.c_str(), "png", &error, NULL)) {
      std::fprintf(stderr, "%s: cannot write %s: %s\n", argv[0], file.c_str(), error ? error->message : "no folder");
      if (error) g_error_free(error);
      status = 1;
    }
    g_object_unref(scaled);
  }
  g_object_unref(icon);
  return status;
}
