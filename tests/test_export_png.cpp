// The PNG export: the composed 384 x 272 screenshot in both input modes and at any zoom,
// and the file written (or not) with its status message.
#include "export_setup.h"
#include "line_selection.h"
#include "palette.h"

namespace {

// 0xAARRGGBB of an ARGB32 image.
unsigned int argb_at(cairo_surface_t *image, int x, int y) {
  const unsigned char *row = cairo_image_surface_get_data(image) + y * cairo_image_surface_get_stride(image);
  return reinterpret_cast<const guint32 *>(row)[x];
}

class PngExport : public ExportTest {
 protected:
  void SetUp() override {
    ExportTest::SetUp();
    options_expansion = 1;
    // A plain red picture (colour 2).
    if (pixbuf_picture) g_object_unref(pixbuf_picture);
    pixbuf_picture = gdk_pixbuf_new(GDK_COLORSPACE_RGB, TRUE, 8, 320, 200);
    gdk_pixbuf_fill(pixbuf_picture, rgb_of(2) << 8 | 0xFF);
  }
  TempDir dir;
};

// Left bar colour 5 on lines 51..60 (selected), right bar colour 7 on lines 240..250.
void make_bars(int mode) {
  interface_extended = mode;
  if (mode == 1) {
    add_extended_bar(1, 51, 10, 5);
    add_extended_bar(0, 240, 11, 7);
    GtkTreePath *first = gtk_tree_path_new_first();
    gtk_tree_view_set_cursor(GTK_TREE_VIEW(treeview_rasters_left), first, nullptr, FALSE);
    gtk_tree_path_free(first);
  } else {
    paint_compact_lines(1, 51, 60, 5);
    paint_compact_lines(0, 240, 250, 7);
    set_selection(1, {51, 60, 1});
  }
}

}  // namespace

TEST_F(PngExport, ComposedScreenshotInBothModesAtZoomThree) {
  struct Point {
    int x, y, colour;
  };
  const Point points[] = {
      {0, 35, 5},    {31, 44, 5},   {0, 34, 6},    {0, 45, 6},     // left bar, lines 51..60
      {352, 224, 7}, {383, 234, 7}, {352, 223, 6}, {383, 235, 6},  // right bar, lines 240..250
      {32, 35, 2},   {351, 234, 2}, {32, 34, 6},   {351, 235, 6},  // picture
      {200, 0, 6},   {200, 271, 6},                                // upper and lower border
  };
  for (int mode : {1, 0}) {
    SCOPED_TRACE(mode == 1 ? "Extended" : "Compact");
    rastermodel_delete_all_bars();
    reset_arrays();
    make_bars(mode);
    options_expansion = 3;
    cairo_surface_t *image = export_png_compose();
    EXPECT_EQ(options_expansion, 3);
    ASSERT_EQ(cairo_image_surface_get_format(image), CAIRO_FORMAT_ARGB32);
    ASSERT_EQ(cairo_image_surface_get_width(image), 384);
    ASSERT_EQ(cairo_image_surface_get_height(image), 272);
    cairo_surface_flush(image);
    for (const Point &p : points)
      EXPECT_EQ(argb_at(image, p.x, p.y), 0xFF000000 | rgb_of(p.colour)) << p.x << "," << p.y;
    int marks = 0;  // the selected bar's white mark must not show
    for (int y = 0; y < 272; ++y)
      for (int x = 0; x < 384; ++x) marks += argb_at(image, x, y) == (0xFF000000 | rgb_of(1));
    EXPECT_EQ(marks, 0);
    cairo_surface_destroy(image);
  }
}

TEST_F(PngExport, WritesTheFileOrSaysWhyNot) {
  make_bars(1);
  const std::string path = dir.file("shot.png");
  EXPECT_EQ(export_png_to_file(path.c_str()), 1);
  EXPECT_EQ(status_text(), " Info: Project exported to PNG");
  GdkPixbuf *png = gdk_pixbuf_new_from_file(path.c_str(), nullptr);
  ASSERT_NE(png, nullptr);
  EXPECT_EQ(gdk_pixbuf_get_width(png), 384);
  EXPECT_EQ(gdk_pixbuf_get_height(png), 272);
  EXPECT_EQ(pixel_at(png, 10, 40), rgb_of(5));
  EXPECT_EQ(pixel_at(png, 100, 100), rgb_of(2));
  g_object_unref(png);

  EXPECT_EQ(export_png_to_file(dir.file("missing/shot.png").c_str()), 0);
  EXPECT_EQ(status_text(), " Info: Failed to export project to PNG");
  EXPECT_EQ(close_error_boxes(), 0);
}

// The menu command: the suggested name and the name written.
TEST_F(PngExport, MenuCommand) {
  struct Row {
    const char *project, *picture, *typed, *suggested, *written;
  };
  const Row rows[] = {
      {nullptr, "/pics/logo.kla", "shot", "logo.png", "shot.png"},
      {"/pics/demo.ini", "/pics/logo.kla", "shot.PNG", "demo.png", "shot.PNG"},
      {nullptr, "/pics/noext", "shot.Png", "noext.png", "shot.Png.png"},
  };
  for (const Row &row : rows) {
    SCOPED_TRACE(row.typed);
    g_free(utf8_path_and_filename_project);
    utf8_path_and_filename_project = g_strdup(row.project);
    g_free(utf8_path_and_filename_picture);
    utf8_path_and_filename_picture = g_strdup(row.picture);
    std::string suggested;
    answer_save_chooser(dir.path(), row.typed, &suggested);
    on_menuitem_export_to_png_activate(nullptr, nullptr);
    EXPECT_EQ(suggested, row.suggested);
    GdkPixbuf *png = gdk_pixbuf_new_from_file(dir.file(row.written).c_str(), nullptr);
    ASSERT_NE(png, nullptr);
    EXPECT_EQ((std::pair{gdk_pixbuf_get_width(png), gdk_pixbuf_get_height(png)}), (std::pair{384, 272}));
    g_object_unref(png);
  }

  picture_loaded = 0;
  on_menuitem_export_to_png_activate(nullptr, nullptr);
  EXPECT_EQ(status_text(), " Info: First open a picture or project");
}
