/* Tests of KivGauge: its properties and the tracer that records every
 * value, the needle's angle for values and ranges of every kind, and three
 * reference pictures that hold the band, ticks, scale labels, multiplier,
 * title, needle and value text at once. */
#include "kiv-test.h"

#include <cfloat>
#include <string>

namespace {

using namespace kivtest;

constexpr double kPi = G_PI;

std::string printed;

/* The gauge painted into an image of w by h, read back as pixels and
 * compared with a reference picture; with allocate, the gauge is first
 * given that size as a parent would.  The dial is placed only when the
 * gauge is allocated, and GTK skips an allocation that changes nothing
 * unless a resize was queued. */
GdkPixbuf *paint(KivGauge *gg, const char *name, int w, int h, bool allocate = true) {
  GtkAllocation a = {0, 0, w, h};
  gtk_widget_queue_resize(GTK_WIDGET(gg));
  if (allocate) gtk_widget_size_allocate(GTK_WIDGET(gg), &a);
  GdkPixmap *pixmap = gdk_pixmap_new(gdk_get_default_root_window(), w, h, -1);
  gauge_paint(gg, gdk_cairo_create(pixmap));
  GdkPixbuf *pb = gdk_pixbuf_get_from_drawable(NULL, pixmap, NULL, 0, 0, 0, 0, w, h);
  g_object_unref(pixmap);
  assert_reference(pb, name, 2, 0);
  return pb;
}

void test_gauge() {
  KivGauge *gg = KIV_GAUGE(g_object_ref_sink(kiv_gauge_new(5e29f, 0)));
  g_assert_true(g_str_equal(gg->color, "red") && gg->title == NULL && !gg->squared &&
                KIV_FUNCTION(gg->tracer)->nbin == 128);
  /* Painted before it has a size, a gauge takes the size it asks for, 17.5
   * letters "X" (175 pixels) square.  A reversed range to 5e29 has the
   * multiplier 10^-30, which puts the labels (all at the low end) and the
   * value far beyond the one-decimal form: they are written as exponents.
   *
   * Tall and squared, the dial takes the middle 180 by 180 and the title,
   * too long for any fixed buffer, is shown in full, centred, hanging from
   * row 180.  The scale -2.5 to 7.5 is labelled -2.0 to 7.0 only; a value
   * below it rests the needle at the low end.
   *
   * Wide, the dial is centred at (120, 90) with radius 90, squared or not.
   * The scale to 5000 is labelled 0.0 to 5.0 (2.5 raised off the top tick)
   * with the multiplier over the title, in the gauge's font; the value keeps
   * "sans".  A title that is not well-formed markup is shown as typed. */
  kiv_gauge_set_value(gg, FLT_MAX);
  g_object_unref(paint(gg, "gauge-unsized", 175, 175, false));
  g_object_set(gg, "xmin", -2.5, "xmax", 7.5, "title",
               "Primary loop pressure after heat exchanger B2, in kPa", NULL);
  kiv_gauge_set_squared(gg, TRUE);
  kiv_gauge_set_value(gg, -4);
  g_object_unref(paint(gg, "gauge-tall", 180, 240));
  g_object_set(gg, "xmin", 0.0, "xmax", 5000.0, "font", "serif", "title", "Flow & <rate", "color",
               "#2060c0", NULL);
  kiv_gauge_set_value(gg, 3750);
  g_object_unref(paint(gg, "gauge-wide", 240, 180));
  kiv_gauge_set_squared(gg, FALSE);
  GdkPixbuf *pb = paint(gg, "gauge-wide", 240, 180);
  /* The needle at 3750 points at pi/8; the band at pi (833), between the
   * major ticks and outside the minor ones, has the colour asked for. */
  assert_rgb(pb, int(120 + 60 * std::cos(kPi / 8)), int(90 - 60 * std::sin(kPi / 8)), kBlack, 60);
  assert_rgb(pb, 120 - 86, 90, {0x20, 0x60, 0xc0});
  g_object_unref(pb);
  /* The limits are floats: doubles beyond their range are held at the
   * largest float, a denormal becomes zero.  An unknown colour, however
   * long its name, is reported and changes nothing. */
  g_set_printerr_handler([](const char *text) { printed += text; });
  g_object_set(gg, "xmin", -1e308, "xmax", 4.9e-324, "depth", 16, "title", "Flow", "font", "serif",
               "color", "#00ff00", "color", std::string(300, 'r').c_str(), NULL);
  g_set_printerr_handler(NULL);
  g_assert_true(printed == "Cannot get color " + std::string(300, 'r') + "\n");
  gchar *s[3];
  double xmin, xmax;
  int depth;
  g_object_get(gg, "xmin", &xmin, "xmax", &xmax, "depth", &depth, "color", &s[0], "title", &s[1],
               "font", &s[2], NULL);
  kiv_assert_each({xmin, -FLT_MAX}, {xmax, 0.0}, {depth, 16}, {KIV_FUNCTION(gg->tracer)->nbin, 16});
  g_assert_true(g_str_equal(s[0], "#00ff00") && g_str_equal(s[1], "Flow") &&
                g_str_equal(s[2], "serif"));
  for (gchar *p : s) g_free(p);
  /* The caller may hand back the title itself. */
  kiv_gauge_set_title(gg, kiv_gauge_get_title(gg));
  g_assert_cmpstr(gg->title, ==, "Flow");
  kiv_expect_critical("kiv_gauge_set_color: assertion 'KIV_IS_GAUGE(gg)' failed");
  kiv_gauge_set_color(NULL, "red");
  kiv_expect_critical("kiv_gauge_set_color: assertion 'color_name != NULL' failed");
  kiv_gauge_set_color(gg, NULL);
  kiv_expect_critical("kiv_gauge_set_squared: assertion 'KIV_IS_GAUGE(gg)' failed");
  kiv_gauge_set_squared(NULL, TRUE);
  /* The context handed in is the painter's to destroy, also when the check
   * fails: memcheck sees it if not. */
  kiv_expect_critical("gauge_paint: assertion 'KIV_IS_GAUGE(gg)' failed");
  gauge_paint(NULL, gdk_cairo_create(gdk_get_default_root_window()));
  g_test_assert_expected_messages();
  /* Every value goes into the history, in range or not: -5, -3.5, ...
   * 23.5, and the largest float of the first picture before them. */
  for (int i = 0; i < 20; i++) kiv_gauge_set_value(gg, i * 1.5f - 5);
  kiv_assert_each({kiv_gauge_get_value(gg), 23.5}, {kiv_tracer_get_minimum(gg->tracer), -5.0},
                  {kiv_tracer_get_maximum(kiv_gauge_get_tracer(gg)), FLT_MAX});
  /* Rows of low and high limits, a value and its needle's angle.  The
   * angle (mathematical, y up) sweeps 270 degrees clockwise from 5pi/4 at
   * the low end; values outside the range rest on the nearer end, NaN on
   * the upper one.  An empty range shows xmin to xmin + 1, widened by
   * xmin / 65536 for large values (1e9 + 15258.8 is the float 1000015232)
   * and reaching down from the largest float; limits that are not finite
   * give the scale 0 to 1. */
  const double cases[][4] = {
      {0, 10, 2.5, 7 * kPi / 8},
      {0, 10, -1, 5 * kPi / 4},
      {0, 10, 11, -kPi / 4},
      {0, 10, NAN, -kPi / 4},
      {0, 10, INFINITY, -kPi / 4},
      {0, 10, -INFINITY, 5 * kPi / 4},
      {0, 10, 1e-45, 5 * kPi / 4},
      {-3, 1, 0, kPi / 8},
      {5, 5, 5.5, kPi / 2},
      {1e9, 1e9, 1000007616, kPi / 2},
      {1e9, 1e9, 2e9, -kPi / 4},
      {NAN, 5, 0.5, kPi / 2},
      {FLT_MAX, FLT_MAX, FLT_MAX, -kPi / 4},
      {FLT_MAX, FLT_MAX, 0, 5 * kPi / 4},
      {-FLT_MAX, FLT_MAX, 0, kPi / 2},
      {5, INFINITY, 1, -kPi / 4},
      {-INFINITY, 5, 0, 5 * kPi / 4},
  };
  for (const auto &c : cases) {
    kiv_gauge_set_range(gg, float(c[0]), float(c[1]));
    gauge_paint(gg, NULL);
    g_assert_cmpfloat_with_epsilon(gauge_get_phi(gg, c[2]), c[3], 1e-9);
  }
  g_object_unref(gg);
}

} // namespace

int main(int argc, char **argv) {
  init(&argc, &argv);
  add_widget_test("/gauge/dial", test_gauge);
  return g_test_run();
}
