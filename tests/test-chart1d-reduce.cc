/* Tests of the reduced curves of KivChart1D: a curve of many more points
 * than pixel columns is drawn from a summary of its contents, and its
 * picture must stay visually that of every point: at most 0.01 % of the
 * plotting area's pixels may differ by more than 64 levels (largest of the
 * three channels), and the mean difference may be at most 1.5 levels.  The
 * y range must come out exactly as every point gives it. */
#include "kiv-test.h"
#include "kivchart1d-private.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <vector>

namespace {

using namespace kivtest;

enum Contents { BELL, UNIFORM, SPARSE, SPIKY };
const char *const kContentsNames[] = {"bell", "uniform", "sparse", "spiky"};

/* Counts as an experiment gives them: a peak of about 100 a bin with its
 * noise and single counts in the tails; uniform noise in [0, 100); 2 % of
 * the bins with 1 to 5 counts; a low baseline with tall spikes. */
std::vector<double> contents(int n, Contents kind) {
  std::vector<double> y(n);
  GRand *r = g_rand_new_with_seed(7 + n + kind);
  for (int i = 0; i < n; i++) {
    double v = 0.0;
    if (kind == BELL) {
      double z = (i - n / 2.0) / (n / 10.0);
      double mean = 100.0 * std::exp(-z * z / 2.0);
      v = mean < 1.0 ? (g_rand_double(r) < mean ? 1.0 : 0.0)
                     : std::max(0.0, std::round(mean + std::sqrt(mean) * (g_rand_double(r) * 2 - 1)));
    } else if (kind == UNIFORM) {
      v = g_rand_double_range(r, 0.0, 100.0);
    } else if (kind == SPARSE) {
      v = g_rand_int_range(r, 0, 50) == 0 ? g_rand_int_range(r, 1, 6) : 0.0;
    } else {
      v = g_rand_int_range(r, 0, 3) + (g_rand_int_range(r, 0, 500) == 0 ? 80.0 : 0.0);
    }
    y[i] = v;
  }
  g_rand_free(r);
  return y;
}

struct Fidelity {
  double over64; /* share of plot pixels more than 64 levels off, in % */
  double mean;   /* mean of the largest channel difference */
};

/* The plotting area of two pictures of one chart, compared. */
Fidelity compare(KivChart1D *h, GdkPixbuf *a, GdkPixbuf *b) {
  const KivCanvas *c = h->cnvs;
  long over = 0, count = 0;
  double sum = 0.0;
  for (int y = c->py1; y <= c->py0; y++)
    for (int x = c->px0; x <= c->px1; x++) {
      Rgb p = pixel(a, x, y), q = pixel(b, x, y);
      int d = std::max({std::abs(p.r - q.r), std::abs(p.g - q.g), std::abs(p.b - q.b)});
      over += d > 64;
      sum += d;
      count++;
    }
  return {100.0 * over / count, sum / count};
}

/* Draws the chart reduced and point by point and checks the two pictures
 * and y ranges against each other; returns the points of the reduced
 * curve. */
int check_equivalent(KivChart1D *h, const char *what) {
  _kiv_chart1d_set_every_point(h, TRUE);
  GdkPixbuf *every = read_pixmap(h);
  double ymin = h->cnvs->ymin, ymax = h->cnvs->ymax;
  _kiv_chart1d_set_every_point(h, FALSE);
  GdkPixbuf *reduced = read_pixmap(h);
  int points = h->xpt[0].n;
  Fidelity f = compare(h, every, reduced);
  g_test_message("%s: %d points, %.4f %% over 64, mean %.3f", what, points, f.over64, f.mean);
  if (f.over64 > 0.01 || f.mean > 1.5) {
    gdk_pixbuf_save(every, "reduce-every.png", "png", NULL, NULL);
    gdk_pixbuf_save(reduced, "reduce-reduced.png", "png", NULL, NULL);
    g_test_message("%s: not equivalent (pictures written)", what);
    g_test_fail();
  }
  g_assert_cmpfloat(h->cnvs->ymin, ==, ymin);
  g_assert_cmpfloat(h->cnvs->ymax, ==, ymax);
  g_object_unref(every);
  g_object_unref(reduced);
  return points;
}

} // namespace

/* Histograms of every size and kind of contents, at three line widths,
 * over their whole range and zoomed.  The largest take seconds to draw
 * point by point, so they run with -m slow only. */
static void test_histograms(void) {
  const int sizes[] = {1000, 10000, 100000, 999999};
  for (int n : sizes) {
    if (n > 10000 && !g_test_slow())
      continue;
    for (int kind = BELL; kind <= SPIKY; kind++) {
      std::vector<double> y = contents(n, static_cast<Contents>(kind));
      KivHistogram *hist = kiv_histogram_new(n, 0.0, 1.0, NULL);
      std::copy(y.begin(), y.end(), hist->y);
      Toplevel t(kiv_chart1d_new(KIV_FUNCTION(hist)), 480, 320);
      KivChart1D *h = KIV_CHART1D(t.widget);
      kiv_chart1d_set_colors(h, "background", "white", "curve", "blue", NULL);
      for (double width : {1.0, 2.0, 3.0})
        for (double lo : {0.0, 0.45}) {
          g_object_set(h, "line_width", width, "hxmin", lo, "hxmax", lo == 0.0 ? 1.0 : 0.55, NULL);
          gchar *what = g_strdup_printf("%d %s, width %g, from %g", n, kContentsNames[kind], width, lo);
          int points = check_equivalent(h, what);
          g_free(what);
          /* A curve of up to four points a pixel column keeps them all. */
          int shown = lo == 0.0 ? n : n / 10 + 1;
          if (shown <= 4 * 480)
            g_assert_cmpint(points, >=, 3 * shown);
          else
            g_assert_cmpint(points, <=, 4 * 16 * 480);
        }
      g_object_unref(hist);
    }
  }
}

double wiggle(double x) {
  return 50.0 + 45.0 * std::sin(3000.0 * x * x);
}

/* A sampled function and a graph are polylines; their reduced pictures
 * meet the same measure, over a range that does not start at 0.  Of
 * 20 000 points on a canvas 480 pixels wide, each of the 16 x 480 buckets
 * gets some: four points each. */
static void test_polylines(void) {
  std::vector<double> y = contents(20000, UNIFORM);
  std::vector<double> x(y.size());
  for (size_t i = 0; i < x.size(); i++)
    x[i] = 1.0 + i / 20000.0;
  KivGraph *graph = kiv_graph_new(static_cast<int>(x.size()), x.data(), y.data());
  KivFunction *function = kiv_function_new(20000, 1.0, 2.0, wiggle);
  for (KivFunction *f : {function, KIV_FUNCTION(graph)}) {
    Toplevel t(kiv_chart1d_new(f), 480, 320);
    KivChart1D *h = KIV_CHART1D(t.widget);
    kiv_chart1d_set_colors(h, "background", "white", "curve", "blue", NULL);
    g_object_set(h, "hxmin", 1.0, "hxmax", 2.0, NULL);
    g_assert_cmpint(check_equivalent(h, G_OBJECT_TYPE_NAME(f)), ==, 4 * 16 * 480);
  }
  g_object_unref(function);
  g_object_unref(graph);
}

/* What is not reduced: a filled curve, a logarithmic x axis, a graph with
 * a gap wider than half a pixel, and one of no more than four points a
 * pixel column keep every point. */
static void test_every_point_kept(void) {
  KivHistogram *hist = kiv_histogram_new(10000, 1.0, 2.0, NULL);
  Toplevel t(kiv_chart1d_new(KIV_FUNCTION(hist)), 300, 225);
  KivChart1D *h = KIV_CHART1D(t.widget);
  kiv_chart1d_filled(h, TRUE);
  g_object_unref(read_pixmap(h));
  g_assert_cmpint(h->xpt[0].n, ==, 30001);
  kiv_chart1d_filled(h, FALSE);
  g_object_unref(read_pixmap(h));
  g_assert_cmpint(h->xpt[0].n, <, 30001);
  kiv_chart1d_logx(h, TRUE);
  g_object_unref(read_pixmap(h));
  g_assert_cmpint(h->xpt[0].n, ==, 30001);
  g_object_unref(hist);

  /* Graphs of n points over [0, xmax]: one with a gap of 95 at its end,
   * and one of fewer than four points a column. */
  auto points_drawn = [](int n, double xmax, double step) {
    std::vector<double> x(static_cast<size_t>(n)), y(static_cast<size_t>(n), 1.0);
    for (int i = 0; i < n; i++)
      x[static_cast<size_t>(i)] = i < n - 1 ? i * step : xmax;
    KivGraph *graph = kiv_graph_new(n, x.data(), y.data());
    Toplevel g(kiv_chart1d_new(KIV_FUNCTION(graph)), 300, 225);
    g_object_set(g.widget, "hxmin", 0.0, "hxmax", xmax, NULL);
    g_object_unref(read_pixmap(g.widget));
    int drawn = KIV_CHART1D(g.widget)->xpt[0].n;
    g_object_unref(graph);
    return drawn;
  };
  g_assert_cmpint(points_drawn(5000, 100.0, 1e-3), ==, 5000);
  g_assert_cmpint(points_drawn(1000, 0.999, 1e-3), ==, 1000);
}

/* A vector picture strokes the reduced curve: a PDF of a million bins of
 * noise stays small. */
static void test_vector(void) {
  std::vector<double> y = contents(999999, UNIFORM);
  KivHistogram *hist = kiv_histogram_new(999999, 0.0, 1.0, NULL);
  std::copy(y.begin(), y.end(), hist->y);
  Toplevel t(kiv_chart1d_new(KIV_FUNCTION(hist)), 800, 600);
  GString *pdf = read_bytes(t.widget, "pdf");
  g_test_message("PDF of 999999 bins: %zu bytes", pdf->len);
  g_assert_cmpuint(pdf->len, <, 2 * 1024 * 1024);
  g_assert_cmpint(KIV_CHART1D(t.widget)->xpt[0].n, <=, 4 * 16 * 800);
  g_string_free(pdf, TRUE);
  g_object_unref(hist);
}

int main(int argc, char **argv) {
  g_test_init(&argc, &argv, NULL);
  init_display(&argc, &argv);
  add_widget_test("/chart1d-reduce/histograms", test_histograms);
  add_widget_test("/chart1d-reduce/polylines", test_polylines);
  add_widget_test("/chart1d-reduce/every-point-kept", test_every_point_kept);
  add_widget_test("/chart1d-reduce/vector", test_vector);
  return g_test_run();
}
