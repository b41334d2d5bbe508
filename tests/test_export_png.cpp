// The PNG export through the menu: the suggested name, the ".png" rule, and the 384 x 272
// screenshot drawn 1:1 whatever the zoom.
#include "file_commands.h"

using PngExport = ExportTest;

TEST_F(PngExport, ScreenshotThroughTheMenu) {
  // A plain picture of colour 2, and in Compact mode a left bar of colour 5 on lines 51..60.
  if (pixbuf_picture) g_object_unref(pixbuf_picture);
  pixbuf_picture = gdk_pixbuf_new(GDK_COLORSPACE_RGB, TRUE, 8, 320, 200);
  gdk_pixbuf_fill(pixbuf_picture, rgb_of(2) << 8 | 0xFF);
  interface_extended = 0;
  for (int line = 51; line <= 60; ++line) colors_left[line] = 5, colors_right[line] = 7;
  options_expansion = 3;
  struct Row { const char *project, *typed, *suggested, *written; };
  const Row rows[] = {{nullptr, "shot", "logo.png", "shot.png"},
                      {"/pics/demo.ini", "shot.PNG", "demo.png", "shot.PNG"},
                      {nullptr, "shot.Png", "logo.png", "shot.Png.png"}};
  // The bars in both side borders beside the picture's top lines, then the picture itself.
  struct Point { int x, y, colour; };
  const Point points[] = {{0, 35, 5},    {31, 44, 5}, {0, 34, 6},    {0, 45, 6},    {32, 44, 2},   {351, 234, 2},
                          {32, 34, 6},   {352, 234, 6}, {351, 235, 6}, {352, 35, 7}, {383, 44, 7}, {352, 45, 6}};
  for (const Row &row : rows) {
    SCOPED_TRACE(row.typed);
    set_file_names(row.project, "/pics/logo.kla");
    std::string suggested;
    answer_save_chooser(dir.path(), row.typed, &suggested);
    on_menuitem_export_to_png_activate(nullptr, nullptr);
    EXPECT_EQ(suggested, row.suggested);
    EXPECT_EQ(options_expansion, 3);
    GdkPixbuf *png = gdk_pixbuf_new_from_file(dir.file(row.written).c_str(), nullptr);
    ASSERT_NE(png, nullptr);
    EXPECT_EQ((std::pair{gdk_pixbuf_get_width(png), gdk_pixbuf_get_height(png)}), (std::pair{384, 272}));
    for (const Point &p : points) EXPECT_EQ(pixel_at(png, p.x, p.y), rgb_of(p.colour)) << p.x << "," << p.y;
    g_object_unref(png);
  }
  EXPECT_EQ(export_png_to_file(dir.file("missing/shot.png").c_str()), 0);
  EXPECT_EQ(status_text(), " Info: Failed to export project to PNG");
}
