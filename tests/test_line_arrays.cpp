// The line colour arrays of Compact mode: mouse selection on the real border areas,
// drawing (on an image surface and on screen), the export table and clearing.
#include <gdk/gdkkeysyms.h>

#include <cmath>

#include "callbacks.h"
#include "options.h"
#include "line_selection.h"
#include "palette.h"
#include "rasterarray.h"
#include "testutil.h"

namespace {

unsigned palette_colour(int index) {
  double rgb[3] = {0, 0, 0};
  palette_get_rgb_double_at_index(index, rgb);
  auto byte = [](double v) { return static_cast<unsigned>(std::lround(v * 255)); };
  return byte(rgb[0]) << 16 | byte(rgb[1]) << 8 | byte(rgb[2]);
}

constexpr unsigned BACKGROUND = 0xff00ff;  // not a C64 colour: shows where nothing was drawn
constexpr int WHITE = 1, BLACK = 0;
constexpr int UNDRAWN = -2;

// Renders one side into a fresh 48z x 296z image over the background.
cairo_surface_t *render(int side, int with_selection) {
  cairo_surface_t *s = cairo_image_surface_create(CAIRO_FORMAT_RGB24, 48 * options_expansion, 296 * options_expansion);
  cairo_t *cr = cairo_create(s);
  cairo_set_source_rgb(cr, 1, 0, 1);
  cairo_paint(cr);
  if (side == 1) rasterarray_render_lines_left(cr, with_selection);
  else rasterarray_render_lines_right(cr, with_selection);
  cairo_destroy(cr);
  cairo_surface_flush(s);
  return s;
}

unsigned surface_pixel(cairo_surface_t *s, int x, int y) {
  const unsigned char *row = cairo_image_surface_get_data(s) + y * cairo_image_surface_get_stride(s);
  return reinterpret_cast<const uint32_t *>(row)[x] & 0xffffff;
}

struct Probe {
  int side, with_selection, x, y, colour;  // x, y in zoom-1 pixels; colour index or UNDRAWN
};

// Left: bars 14 on line 51, 5 on 100, 2 on 250, cursor on 51.
// Right: the same bars, range 100 up to 90.
const Probe probes[] = {
    {1, 1, 4, 48, 14}, {1, 1, 47, 48, 14}, {1, 1, 4, 97, 5}, {1, 1, 47, 97, 5}, {1, 1, 4, 247, 2},
    {1, 1, 4, 98, UNDRAWN}, {1, 1, 20, 0, UNDRAWN}, {1, 1, 20, 295, UNDRAWN},
    {1, 1, 0, 0, BLACK}, {1, 1, 3, 295, BLACK}, {1, 1, 3, 97, BLACK},
    {1, 1, 0, 48, WHITE}, {1, 1, 3, 48, WHITE}, {1, 1, 3, 49, BLACK}, {1, 1, 3, 47, BLACK},
    {1, 0, 0, 48, BLACK},
    {0, 1, 0, 48, 14}, {0, 1, 43, 48, 14}, {0, 1, 0, 97, 5}, {0, 1, 43, 247, 2}, {0, 1, 0, 98, UNDRAWN},
    {0, 1, 44, 0, BLACK}, {0, 1, 47, 295, BLACK}, {0, 1, 44, 48, BLACK},
    {0, 1, 44, 86, BLACK}, {0, 1, 44, 87, WHITE}, {0, 1, 47, 97, WHITE}, {0, 1, 44, 98, BLACK},
    {0, 0, 44, 87, BLACK},
};

}  // namespace

TEST(LineArrays, DrawsBarsStripAndMark) {
  for (int zoom : {1, 3}) {
    options_expansion = zoom;
    reset_arrays();
    for (int *colors : {colors_left, colors_right}) colors[51] = 14, colors[100] = 5, colors[250] = 2;
    set_selection(0, {100, 90, 1});
    cairo_surface_t *surfaces[2][2];  // [side][with_selection]
    for (int side : {0, 1})
      for (int sel : {0, 1}) surfaces[side][sel] = render(side, sel);
    for (const Probe &p : probes) {
      const unsigned want = p.colour == UNDRAWN ? BACKGROUND : palette_colour(p.colour);
      // Both corners of the z x z block that stands for the pixel.
      for (int d : {0, zoom - 1})
        EXPECT_EQ(surface_pixel(surfaces[p.side][p.with_selection], p.x * zoom + d, p.y * zoom + d), want)
            << "zoom " << zoom << " side " << p.side << " sel " << p.with_selection << " at " << p.x << "," << p.y;
    }
    for (auto &pair : surfaces)
      for (cairo_surface_t *s : pair) cairo_surface_destroy(s);
  }
  options_expansion = 1;
}

TEST(LineArrays, ExportTableAndEntries) {
  reset_arrays();
  unsigned char out[200];
  rasterarray_get_bars_left(out, 6);
  for (unsigned char b : out) ASSERT_EQ(b, 6);
  colors_left[51] = 14;
  colors_right[250] = 3;
  rasterarray_get_bars_left(out, 6);
  EXPECT_EQ(out[0], 14);
  EXPECT_EQ(out[199], 6);
  rasterarray_get_bars_right(out, 0);
  EXPECT_EQ(out[0], 0);
  EXPECT_EQ(out[199], 3);

  // Indices wrap at 312; side 1 is the left array, anything else the right one.
  rasterarray_set_color_at_index(1, 312 + 60, 9);
  rasterarray_set_color_at_index(7, 61, 4);
  EXPECT_EQ(colors_left[60], 9);
  EXPECT_EQ(colors_right[61], 4);
  EXPECT_EQ(rasterarray_get_color_at_index(1, 60), 9);
  EXPECT_EQ(rasterarray_get_color_at_index(0, 312 + 61), 4);

  // Clearing empties both arrays and leaves the selection alone.
  set_selection(1, {90, 100, 1});
  rasterarray_delete_all_bars();
  for (int line = 0; line < RASTER_LINES; ++line) ASSERT_TRUE(colors_left[line] == -1 && colors_right[line] == -1);
  EXPECT_EQ(selection(1), (Selection{90, 100, 1}));
}

// ---- On the border areas of the running program ----

namespace {

GtkWidget *area(int side) { return side == 1 ? drawingarea_left_border : drawingarea_right_border; }

GdkEvent *new_event(GdkEventType type, GtkWidget *widget) {
  GdkEvent *ev = gdk_event_new(type);
  ev->any.window = GDK_WINDOW(g_object_ref(widget->window));
  return ev;
}

gboolean click(GtkWidget *widget, GdkEventType type, unsigned button, double y, unsigned state) {
  GdkEvent *ev = new_event(type, widget);
  ev->button.button = button;
  ev->button.x = 10;
  ev->button.y = y;
  ev->button.state = state;
  gboolean handled = FALSE;
  g_signal_emit_by_name(widget, "button-press-event", ev, &handled);
  gdk_event_free(ev);
  return handled;
}

gboolean key(GtkWidget *widget, unsigned keyval, unsigned state) {
  GdkEvent *ev = new_event(GDK_KEY_PRESS, widget);
  ev->key.keyval = keyval;
  ev->key.state = state;
  gboolean handled = FALSE;
  g_signal_emit_by_name(widget, "key-press-event", ev, &handled);
  gdk_event_free(ev);
  return handled;
}

// Whether a redraw of the widget is pending (and forgets it).
bool redraw_pending(GtkWidget *widget) {
  GdkRegion *region = gdk_window_get_update_area(widget->window);
  if (region) gdk_region_destroy(region);
  return region != nullptr;
}

class BorderAreas : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_NE(start_app(), nullptr);
    ASSERT_NE(drawingarea_left_border, nullptr);
    ASSERT_NE(drawingarea_right_border, nullptr);
    picture_loaded = 1;
    interface_extended = 0;
    options_expansion = 1;
    reset_arrays();
  }
  void TearDown() override { options_expansion = 1; }
};

constexpr unsigned SHIFT = GDK_SHIFT_MASK, NUM_LOCK = GDK_MOD2_MASK;

struct ClickCase {
  const char *what;
  Selection before;
  int zoom;
  GdkEventType type;
  unsigned button, state;
  double y;
  Selection after;
};

// Lines 40..69 hold colour 3, lines 70..79 colour 5, the rest none.
const ClickCase click_cases[] = {
    {"first picture line", {100, 100, 0}, 1, GDK_BUTTON_PRESS, 1, 0, 48, {51, 51, 0}},
    {"last picture line", {100, 100, 0}, 1, GDK_BUTTON_PRESS, 1, 0, 247, {250, 250, 0}},
    {"first line at zoom 2", {100, 100, 0}, 2, GDK_BUTTON_PRESS, 1, 0, 96, {51, 51, 0}},
    {"last line at zoom 2", {100, 100, 0}, 2, GDK_BUTTON_PRESS, 1, 0, 494.5, {250, 250, 0}},
    {"above the picture", {100, 100, 0}, 1, GDK_BUTTON_PRESS, 1, 0, 47, {100, 100, 0}},
    {"below the picture", {100, 100, 0}, 1, GDK_BUTTON_PRESS, 1, 0, 248, {100, 100, 0}},
    {"below the picture at zoom 2", {100, 100, 0}, 2, GDK_BUTTON_PRESS, 1, 0, 496, {100, 100, 0}},
    {"zoom 3, y 200", {100, 100, 0}, 3, GDK_BUTTON_PRESS, 1, 0, 200, {69, 69, 0}},
    {"Shift+click makes a range", {100, 100, 0}, 1, GDK_BUTTON_PRESS, 1, SHIFT, 87, {100, 90, 1}},
    {"Shift+click with Num Lock is plain", {100, 100, 0}, 1, GDK_BUTTON_PRESS, 1, SHIFT | NUM_LOCK, 87, {90, 90, 0}},
    {"double click on a run", {75, 75, 0}, 1, GDK_2BUTTON_PRESS, 1, 0, 72, {70, 79, 1}},
    {"double click on a run above the picture", {60, 60, 0}, 1, GDK_2BUTTON_PRESS, 1, 0, 57, {51, 69, 1}},
    {"double click on uncoloured lines", {100, 100, 0}, 1, GDK_2BUTTON_PRESS, 1, 0, 97, {80, 250, 1}},
    {"button 3", {100, 100, 0}, 1, GDK_BUTTON_PRESS, 3, 0, 97, {100, 100, 0}},
    {"triple click", {100, 100, 0}, 1, GDK_3BUTTON_PRESS, 1, 0, 57, {100, 100, 0}},
};

}  // namespace

TEST_F(BorderAreas, MouseSelection) {
  for (const ClickCase &c : click_cases) {
    for (int side : {1, 0}) {
      SCOPED_TRACE(std::string(c.what) + (side == 1 ? " (left)" : " (right)"));
      reset_arrays();
      for (int line = 40; line <= 79; ++line) rasterarray_set_color_at_index(side, line, line < 70 ? 3 : 5);
      set_selection(side, c.before);
      options_expansion = c.zoom;
      gtk_widget_grab_focus(area(1 - side));
      pump_events();
      redraw_pending(area(side));
      EXPECT_TRUE(click(area(side), c.type, c.button, c.y, c.state));
      EXPECT_EQ(selection(side), c.after);
      EXPECT_EQ(selection(1 - side), (Selection{51, 51, 0}));
      // Button 1 presses take the focus and redraw even outside the picture's rows.
      const bool acts = c.button == 1 && c.type != GDK_3BUTTON_PRESS;
      EXPECT_EQ(gtk_widget_is_focus(area(side)), acts);
      EXPECT_EQ(redraw_pending(area(side)), acts);
    }
  }
}

TEST_F(BorderAreas, KeysAreSwallowed) {
  gtk_widget_grab_focus(area(1));
  pump_events();
  redraw_pending(area(1));
  picture_loaded = 0;
  EXPECT_TRUE(key(area(1), GDK_5, 0));
  EXPECT_EQ(colors_left[51], -1);
  EXPECT_FALSE(redraw_pending(area(1)));

  // With a picture, the key reaches the array (Num Lock is masked off) and the area redraws.
  picture_loaded = 1;
  EXPECT_TRUE(key(area(1), GDK_KP_3, GDK_CONTROL_MASK | NUM_LOCK));
  EXPECT_EQ(colors_left[51], 11);
  EXPECT_TRUE(redraw_pending(area(1)));
}

TEST_F(BorderAreas, DrawsOnScreen) {
  colors_left[100] = 5;
  colors_right[60] = 13;
  set_selection(1, {95, 105, 1});
  for (int side : {1, 0}) gtk_widget_queue_draw(area(side));
  GdkPixbuf *left = grab_widget(area(1));
  GdkPixbuf *right = grab_widget(area(0));
  ASSERT_TRUE(left && right);
  const unsigned border = palette_colour(border_color_index);
  EXPECT_EQ(pixel_at(left, 4, 97), palette_colour(5));
  EXPECT_EQ(pixel_at(left, 47, 97), palette_colour(5));
  EXPECT_EQ(pixel_at(left, 20, 96), border);
  EXPECT_EQ(pixel_at(left, 0, 92), palette_colour(WHITE));
  EXPECT_EQ(pixel_at(left, 3, 102), palette_colour(WHITE));
  EXPECT_EQ(pixel_at(left, 0, 103), palette_colour(BLACK));
  EXPECT_EQ(pixel_at(right, 0, 57), palette_colour(13));
  EXPECT_EQ(pixel_at(right, 43, 57), palette_colour(13));
  EXPECT_EQ(pixel_at(right, 44, 48), palette_colour(WHITE));
  EXPECT_EQ(pixel_at(right, 47, 200), palette_colour(BLACK));
  g_object_unref(left);
  g_object_unref(right);
}
