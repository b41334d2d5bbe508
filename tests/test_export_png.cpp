// The PNG export through the menu: the suggested name, the ".png" ending, and the 384 x 272
// screenshot drawn 1:1 whatever the zoom.
#include "file_commands.h"

using PngExport = ExportTest;

TEST_F(PngExport, ScreenshotThroughTheMenu) {
  // A plain picture of colour 2, and in Compact mode bars of colour 5 (left) and 7 (right) on lines 51..60.
  if (pixbuf_picture) g_object_unref(pixbuf_picture);
  pixbuf_picture = gdk_pixbuf_new(GDK_COLORSPACE_RGB, TRUE, 8, 320, 200);
  gdk_pixbuf_fill(pixbuf_picture, rgb_of(2) << 8 | 0xFF);
  interface_extended = 0;
  for (int line = 51; line <= 60; ++line) colors_left[line] = 5, colors_right[line] = 7;
  options_expansion = 3;
  // The name rules are shared with the executable export: here the project's name is offered.
  set_file_names("/pics/demo.ini", "/pics/logo.kla");
  std::string suggested;
  answer_save_chooser(dir.path(), "shot", &suggested);
  on_menuitem_export_to_png_activate(nullptr, nullptr);
  EXPECT_EQ(suggested, "demo.png");
  EXPECT_EQ(options_expansion, 3);
  GdkPixbuf *png = gdk_pixbuf_new_from_file(dir.file("shot.png").c_str(), nullptr);
  ASSERT_NE(png, nullptr);
  EXPECT_EQ((std::pair{gdk_pixbuf_get_width(png), gdk_pixbuf_get_height(png)}), (std::pair{384, 272}));
  // The bars in both side borders beside the picture's top lines, then the picture itself.
  const int points[][3] = {{0, 35, 5},  {31, 44, 5},   {0, 34, 6},    {0, 45, 6},   {32, 44, 2},  {351, 234, 2},
                           {32, 34, 6}, {352, 234, 6}, {351, 235, 6}, {352, 35, 7}, {383, 44, 7}, {352, 45, 6}};
  for (auto [x, y, colour] : points) EXPECT_EQ(pixel_at(png, x, y), rgb_of(colour)) << x << "," << y;
  g_object_unref(png);
  EXPECT_EQ(export_png_to_file(dir.file("missing/shot.png").c_str()), 0);
  EXPECT_EQ(status_text(), " Info: Failed to export project to PNG");
}
