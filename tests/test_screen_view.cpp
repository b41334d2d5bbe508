// The simulated screen: picture area, borders, colour picker and zoom, checked in the
// pixels the real drawing areas put on the (virtual) screen.
#include <vector>

#include "callbacks.h"
#include "main.h"
#include "options.h"
#include "palette.h"
#include "support.h"
#include "testutil.h"

namespace {

unsigned int palette_rgb_of(int index) {
  unsigned char rgb[3] = {0, 0, 0};
  palette_get_rgb_at_index(index, rgb);
  return (rgb[0] << 16) | (rgb[1] << 8) | rgb[2];
}

void activate(const char *name) {
  gtk_menu_item_activate(GTK_MENU_ITEM(lookup_widget(window_main, name)));
  pump_events(50);
}

void set_zoom(int z) {
  char name[32];
  g_snprintf(name, sizeof name, "menuitem_zoom_%dx", z);
  activate(name);
}

gboolean click(GtkWidget *widget, GdkEventType type, double x, double y) {
  GdkEvent *event = gdk_event_new(type);
  event->button.window = GDK_WINDOW(g_object_ref(widget->window));
  event->button.send_event = TRUE;
  event->button.button = 1;
  event->button.x = x;
  event->button.y = y;
  gboolean handled = gtk_widget_event(widget, event);
  gdk_event_free(event);
  return handled;
}

// An Art Studio hires picture: every cell has its own pair of colours and a diagonal
// pattern, so any misplaced or mis-scaled pixel shows.
std::string make_hires_picture(const TempDir &dir) {
  std::vector<unsigned char> file(9009, 0);
  file[0] = 0x00;
  file[1] = 0x20;
  for (int cell = 0; cell < 1000; cell++) {
    for (int row = 0; row < 8; row++) file[2 + cell * 8 + row] = static_cast<unsigned char>(0x81 >> (row % 4)) ^ cell;
    file[8002 + cell] = static_cast<unsigned char>(((cell % 16) << 4) | ((cell / 16 + 3) % 16));
  }
  file[9002] = 18;  // border colour, taken modulo 16
  std::string path = dir.file("stripes.art");
  write_file(path, file);
  return path;
}

class ScreenView : public ::testing::Test {
 protected:
  void SetUp() override {
    start_app();
    gtk_window_move(GTK_WINDOW(window_main), 0, 0);  // keep the 4x view on the screen
    activate("menuitem_palette_peptos");
    set_zoom(1);
  }
  void TearDown() override {
    border_color_index = 0;
    if (pixbuf_picture) g_object_unref(pixbuf_picture);
    pixbuf_picture = nullptr;
    picture_loaded = 0;
    set_zoom(1);
  }
};

TEST_F(ScreenView, EmptyScreenIsBlueWithBordersInColourZero) {
  for (const char *palette : {"menuitem_palette_peptos", "menuitem_palette_ccs64"}) {
    activate(palette);
    GdkPixbuf *picture = grab_widget(drawingarea_picture);
    ASSERT_NE(picture, nullptr);
    EXPECT_EQ(pixel_at(picture, 0, 0), palette_rgb_of(6)) << palette;
    EXPECT_EQ(pixel_at(picture, 319, 199), palette_rgb_of(6)) << palette;
    g_object_unref(picture);
    for (GtkWidget *area : {drawingarea_upper_border, drawingarea_lower_border, drawingarea_left_border,
                            drawingarea_right_border}) {
      GdkPixbuf *border = grab_widget(area);
      ASSERT_NE(border, nullptr);
      int w = gdk_pixbuf_get_width(border), h = gdk_pixbuf_get_height(border);
      EXPECT_EQ(pixel_at(border, w / 2, h / 2), palette_rgb_of(0)) << palette;
      g_object_unref(border);
    }
  }
  EXPECT_EQ(palette_rgb_of(0), 0x101010u);  // the CCS64 black was really in force
}

TEST_F(ScreenView, PictureIsDrawnPixelExactAtEveryZoom) {
  TempDir dir;
  ASSERT_EQ(open_picture(make_hires_picture(dir).c_str(), 1), 1);
  picture_loaded = 1;
  EXPECT_EQ(border_color_index, 2);
  for (int z = 1; z <= 4; z++) {
    set_zoom(z);
    redraw_all_areas();
    EXPECT_EQ(drawingarea_picture->allocation.width, 320 * z);
    EXPECT_EQ(drawingarea_left_border->allocation.height, 296 * z);
    GdkPixbuf *shown = grab_widget(drawingarea_picture);
    ASSERT_NE(shown, nullptr);
    ASSERT_EQ(gdk_pixbuf_get_width(shown), 320 * z);
    ASSERT_EQ(gdk_pixbuf_get_height(shown), 200 * z);
    int wrong = 0;
    for (int y = 0; y < 200 * z && wrong < 5; y++)
      for (int x = 0; x < 320 * z && wrong < 5; x++)
        if (pixel_at(shown, x, y) != pixel_at(pixbuf_picture, x / z, y / z)) {
          ADD_FAILURE() << "zoom " << z << " pixel " << x << "," << y;
          wrong++;
        }
    g_object_unref(shown);
    GdkPixbuf *upper = grab_widget(drawingarea_upper_border);
    EXPECT_EQ(pixel_at(upper, 10, 10), palette_rgb_of(2));
    g_object_unref(upper);
  }
}

TEST_F(ScreenView, PickerStripLayoutAndFrame) {
  for (int z : {1, 2}) {
    set_zoom(z);
    border_color_index = 5;
    gtk_widget_queue_draw(drawingarea_border_color);
    GdkPixbuf *strip = grab_widget(drawingarea_border_color);
    ASSERT_NE(strip, nullptr);
    ASSERT_EQ(gdk_pixbuf_get_width(strip), 256 * z);
    ASSERT_EQ(gdk_pixbuf_get_height(strip), 16 * z);
    const int s = 16 * z;
    for (int i = 0; i < 16; i++) {
      EXPECT_EQ(pixel_at(strip, i * s + s / 2, s / 2), palette_rgb_of(i)) << "swatch " << i << " zoom " << z;
      if (i == 5) continue;  // framed
      EXPECT_EQ(pixel_at(strip, i * s + s - 1, s / 2), palette_rgb_of(0)) << "separator after " << i;
      EXPECT_EQ(pixel_at(strip, i * s + s / 2, 0), palette_rgb_of(0)) << "top row " << i;
      EXPECT_EQ(pixel_at(strip, i * s + s / 2, s - 1), palette_rgb_of(0)) << "bottom row " << i;
    }
    // The white frame runs round swatch 5 only (swatch 1 is white itself).
    int white_in_5 = 0, white_elsewhere = 0;
    for (int y = 0; y < s; y++)
      for (int x = 0; x < 256 * z; x++)
        if (pixel_at(strip, x, y) == 0xFFFFFF && (x < s || x >= 2 * s))
          (x >= 5 * s && x <= 6 * s ? white_in_5 : white_elsewhere)++;
    EXPECT_GE(white_in_5, 4 * (s - 2)) << "zoom " << z;
    EXPECT_EQ(white_elsewhere, 0) << "zoom " << z;
    EXPECT_NE(pixel_at(strip, 5 * s + s / 2, s / 2), 0xFFFFFFu);
    g_object_unref(strip);
  }
}

TEST_F(ScreenView, PickerClicksPickColours) {
  set_zoom(3);
  EXPECT_TRUE(click(drawingarea_border_color, GDK_BUTTON_PRESS, 47, 5));
  EXPECT_EQ(border_color_index, 0);
  EXPECT_TRUE(click(drawingarea_border_color, GDK_BUTTON_PRESS, 48, 5));
  EXPECT_EQ(border_color_index, 1);
  set_zoom(1);
  EXPECT_TRUE(click(drawingarea_border_color, GDK_BUTTON_PRESS, 255, 5));
  EXPECT_EQ(border_color_index, 15);
  GdkPixbuf *lower = grab_widget(drawingarea_lower_border);
  EXPECT_EQ(pixel_at(lower, 5, 5), palette_rgb_of(15));
  g_object_unref(lower);

  // Of a double click only the single presses pick; the double press is left unhandled.
  EXPECT_TRUE(click(drawingarea_border_color, GDK_BUTTON_PRESS, 40, 5));
  EXPECT_EQ(border_color_index, 2);
  EXPECT_FALSE(click(drawingarea_border_color, GDK_2BUTTON_PRESS, 120, 5));
  EXPECT_EQ(border_color_index, 2);
}

TEST_F(ScreenView, PickerExposeBeforeConfigureDrawsNothing) {
  cairo_surface_t *strip = surface_border_color;
  surface_border_color = nullptr;
  GdkEventExpose expose{};
  expose.type = GDK_EXPOSE;
  expose.window = drawingarea_border_color->window;
  expose.area = {0, 0, 256, 16};
  EXPECT_FALSE(on_drawingarea_border_color_expose_event(drawingarea_border_color, &expose, nullptr));
  surface_border_color = strip;
}

}  // namespace
