/* Tests of the reduced outlines of KivChart1D: a histogram of many more
 * bins than pixel columns is stroked from far fewer points, and its
 * picture is, byte for byte, the picture of every point. */
#include "kiv-test.h"
#include "kivchart1d-private.h"

#include <cmath>
#include <cstring>

namespace {

using namespace kivtest;

/* Contents of the test histograms. */
enum Shape {
  /* Uniform in [0, 100): every pixel column spans the whole height. */
  SPIKES,
  /* A noisy band along a sine, with one bin in a hundred sticking out. */
  BAND,
  /* Counts of a bell of n bins filled with 4 n entries: dense in the
   * middle, single counts over an empty baseline in the tails. */
  COUNTS,
};

KivHistogram *histogram(int n, Shape shape) {
  KivHistogram *h = kiv_histogram_new(n, 0.0, 1.0, NULL);
  GRand *r = g_rand_new_with_seed(11);
  for (int i = 0; i < n; i++) {
    double v = 0.0;
    if (shape == SPIKES) {
      v = g_rand_double_range(r, 0.0, 100.0);
    } else if (shape == BAND) {
      v = 50.0 + 20.0 * std::sin(i * 6.28 / n * 3) + g_rand_double_range(r, 0.0, 8.0);
      if (g_rand_int_range(r, 0, 100) == 0)
        v += g_rand_double_range(r, 0.0, 30.0);
    } else {
      /* A Poisson count by inversion. */
      double z = (i - n / 2.0) / (n / 8.0);
      double mean = 4.0 * 8.0 / std::sqrt(2.0 * G_PI) * std::exp(-z * z / 2.0);
      double u = g_rand_double(r), p = std::exp(-mean), sum = p;
      while (u > sum && v < 1000.0) {
        v += 1.0;
        p *= mean / v;
        sum += p;
      }
    }
    h->y[i] = v;
  }
  g_rand_free(r);
  return h;
}

/* Draws the chart with reduced outlines and with every point; returns the
 * number of points each handed to cairo after checking the pictures are
 * the same. */
void compare(KivChart1D *h, int *reduced, int *full) {
  _kiv_chart1d_set_full_outline(h, FALSE);
  GdkPixbuf *a = read_pixmap(h);
  *reduced = _kiv_chart1d_outline_points(h);
  _kiv_chart1d_set_full_outline(h, TRUE);
  GdkPixbuf *b = read_pixmap(h);
  *full = _kiv_chart1d_outline_points(h);
  _kiv_chart1d_set_full_outline(h, FALSE);
  int height = gdk_pixbuf_get_height(a), stride = gdk_pixbuf_get_rowstride(a);
  int row = gdk_pixbuf_get_width(a) * gdk_pixbuf_get_n_channels(a);
  g_assert_cmpint(gdk_pixbuf_get_height(b), ==, height);
  for (int y = 0; y < height; y++)
    if (std::memcmp(gdk_pixbuf_get_pixels(a) + y * stride, gdk_pixbuf_get_pixels(b) + y * stride,
                    row) != 0)
      g_error("pixel row %d of the reduced outline differs from every point's", y);
  g_object_unref(a);
  g_object_unref(b);
}

} // namespace

/* Each case names its bins, contents, line width and, for a zoomed view,
 * the x range shown; the reduction must have left out at least a third of
 * the points where the bins outnumber the pixel columns. */
static void test_same_pictures(void) {
  struct Case {
    int bins;
    Shape shape;
    double width;
    double lo, hi;
  };
  const Case cases[] = {
      {100, BAND, 1.0, 0.0, 1.0},      {10000, SPIKES, 1.0, 0.0, 1.0},
      {10000, SPIKES, 3.0, 0.0, 1.0},  {100000, BAND, 1.0, 0.0, 1.0},
      {100000, BAND, 1.0, 0.3, 0.4},   {20000, COUNTS, 2.0, 0.0, 1.0},
  };
  for (const Case &k : cases) {
    KivHistogram *hist = histogram(k.bins, k.shape);
    Toplevel t(kiv_chart1d_new(KIV_FUNCTION(hist)), 300, 225);
    KivChart1D *h = KIV_CHART1D(t.widget);
    kiv_chart1d_set_colors(h, "background", "white", "curve", "red", NULL);
    g_object_set(h, "line_width", k.width, "hxmin", k.lo, "hxmax", k.hi, NULL);
    int reduced = 0, full = 0;
    compare(h, &reduced, &full);
    g_test_message("%d bins, width %g, [%g, %g]: %d of %d points", k.bins, k.width, k.lo, k.hi,
                   reduced, full);
    g_assert_cmpint(full, ==, h->xpt[0].n);
    if (k.bins == 100)
      g_assert_cmpint(reduced, ==, full);
    else
      g_assert_cmpint(reduced, <, full * 2 / 3);
    g_object_unref(hist);
  }
}

/* A filled histogram keeps every point: its fill is the polygon itself. */
static void test_filled(void) {
  KivHistogram *hist = histogram(10000, SPIKES);
  Toplevel t(kiv_chart1d_new(KIV_FUNCTION(hist)), 300, 225);
  KivChart1D *h = KIV_CHART1D(t.widget);
  kiv_chart1d_filled(h, TRUE);
  g_object_unref(read_pixmap(h));
  g_assert_cmpint(_kiv_chart1d_outline_points(h), ==, 30001);
  g_object_unref(hist);
}

int main(int argc, char **argv) {
  g_test_init(&argc, &argv, NULL);
  init_display(&argc, &argv);
  add_widget_test("/chart1d-outline/same-pictures", test_same_pictures);
  add_widget_test("/chart1d-outline/filled", test_filled);
  return g_test_run();
}
