// The simulated screen: picture area, borders, colour picker and zoom, checked in the
// pixels the real drawing areas put on the (virtual) screen.
#include <string>
#include <utility>
#include <vector>

#include "callbacks.h"
#include "main.h"
#include "palette.h"
#include "support.h"
#include "testutil.h"

namespace {

void set_zoom(int z) {
  activate(("menuitem_zoom_" + std::to_string(z) + "x").c_str());
  pump_events(50);
}

// A press of `type` at x on the colour picker; returns whether it was handled.
gboolean click(GdkEventType type, double x) {
  // type, window, send_event, time, x, y, axes, state, button, device, x_root, y_root
  GdkEventButton event{type, drawingarea_border_color->window, TRUE, 0, x, 5, nullptr, 0, 1, nullptr, 0, 0};
  return gtk_widget_event(drawingarea_border_color, reinterpret_cast<GdkEvent *>(&event));
}

class ScreenView : public ::testing::Test {
 protected:
  void SetUp() override {
    start_app();
    gtk_window_move(GTK_WINDOW(window_main), 0, 0);  // keep the 4x view on the screen
    set_zoom(1);
  }
  void TearDown() override {
    g_clear_object(&pixbuf_picture);
    picture_loaded = border_color_index = 0;
  }
};

TEST_F(ScreenView, EmptyScreenIsBlueWithBordersInColourZero) {
  for (const char *palette : {"menuitem_palette_peptos", "menuitem_palette_ccs64"}) {
    activate(palette);
    pump_events(50);
    for (GtkWidget *area : {drawingarea_picture, drawingarea_upper_border, drawingarea_lower_border,
                            drawingarea_left_border, drawingarea_right_border}) {
      GdkPixbuf *shot = grab_widget(area);
      EXPECT_EQ(pixel_at(shot, gdk_pixbuf_get_width(shot) / 2, gdk_pixbuf_get_height(shot) / 2),
                rgb_of(area == drawingarea_picture ? 6 : 0))
          << palette << " " << gtk_widget_get_name(area);
      g_object_unref(shot);
    }
  }
  EXPECT_EQ(rgb_of(0), 0x101010u);  // the CCS64 black was really in force
}

// At zoom z a loaded picture (an Art Studio file of varied bytes) shows each of its pixels
// as a z x z block, and the picker strip shows swatches of 16z x 16z separated by colour 0,
// with top and bottom rows in colour 0 and a white frame round the current colour (5) only.
TEST_F(ScreenView, PictureAndPickerAreDrawnPixelExactAtEveryZoom) {
  TempDir dir;
  std::vector<unsigned char> file(9009);
  file[1] = 0x20;
  for (size_t i = 2; i < 9002; i++) file[i] = i * 37 % 251;
  write_file(dir.file("picture.art"), file);
  ASSERT_EQ(open_picture(dir.file("picture.art").c_str(), 1), 1);
  picture_loaded = 1;
  border_color_index = 5;
  for (int z = 1; z <= 4; z++) {
    set_zoom(z);
    redraw_all_areas();
    GdkPixbuf *shown = grab_widget(drawingarea_picture), *strip = grab_widget(drawingarea_border_color);
    ASSERT_EQ(std::pair(gdk_pixbuf_get_width(shown), gdk_pixbuf_get_height(shown)), std::pair(320 * z, 200 * z));
    for (int y = 0; y < 200 * z; y++)
      for (int x = 0; x < 320 * z; x++)
        ASSERT_EQ(pixel_at(shown, x, y), pixel_at(pixbuf_picture, x / z, y / z)) << z << "x at " << x << "," << y;
    const int s = 16 * z;
    ASSERT_EQ(std::pair(gdk_pixbuf_get_width(strip), gdk_pixbuf_get_height(strip)), std::pair(16 * s, s));
    int white_in_frame = 0;
    for (int y = 0; y < s; y++)
      for (int x = 0; x < 16 * s; x++) {
        const unsigned int rgb = pixel_at(strip, x, y);
        if (x >= 5 * s && x <= 6 * s)
          white_in_frame += rgb == 0xFFFFFF;
        else
          ASSERT_EQ(rgb, rgb_of(x % s == s - 1 || y == 0 || y == s - 1 ? 0 : x / s))
              << "strip at " << z << "x " << x << "," << y;
      }
    EXPECT_GE(white_in_frame, 4 * (s - 2)) << z << "x";
    EXPECT_EQ(pixel_at(strip, 5 * s + s / 2, s / 2), rgb_of(5)) << z << "x";
    g_object_unref(shown);
    g_object_unref(strip);
  }
}

TEST_F(ScreenView, PickerExposeBeforeConfigureDrawsNothing) {
  cairo_surface_t *surface = std::exchange(surface_border_color, nullptr);
  GdkEventExpose expose{GDK_EXPOSE, drawingarea_border_color->window, FALSE, {0, 0, 256, 16}, nullptr, 0};
  EXPECT_FALSE(on_drawingarea_border_color_expose_event(drawingarea_border_color, &expose, nullptr));
  surface_border_color = surface;
}

// A press picks the swatch under it; of a double click only the single presses pick.
TEST_F(ScreenView, PickerClicksPickColours) {
  for (auto [zoom, x, index] : {std::tuple{3, 47, 0}, {3, 48, 1}, {1, 255, 15}, {1, 40, 2}}) {
    set_zoom(zoom);
    EXPECT_TRUE(click(GDK_BUTTON_PRESS, x));
    EXPECT_EQ(border_color_index, index) << "zoom " << zoom << " x " << x;
  }
  EXPECT_FALSE(click(GDK_2BUTTON_PRESS, 120));
  EXPECT_EQ(border_color_index, 2);
}

}  // namespace
