/* Tests of KivHistogram2D: fills, statistics, own and lent cell arrays,
 * size changes, clones, bad input and producers in threads. */
#include "kiv-test.h"

#include <atomic>
#include <vector>

namespace {

gsize bufsiz(KivHistogram2D *h) {
  return GPOINTER_TO_SIZE(g_object_get_data(G_OBJECT(h), "__bufsiz__"));
}

double cell(KivHistogram2D *h, int ix, int iy) {
  return kiv_histogram2d_get_cell_content(h, ix, iy);
}

bool all_cells_zero(KivHistogram2D *h) {
  int nx = KIV_FUNCTION(h)->nbin, ny = kiv_function2d_Y(KIV_FUNCTION2D(h))->nbin;
  for (int iy = 0; iy < ny; iy++)
    for (int ix = 0; ix < nx; ix++)
      if (cell(h, ix, iy) != 0.0)
        return false;
  return true;
}

KivHistogram2D *unit_10x10(gdouble *ptr = NULL) {
  return kiv_histogram2d_new(10, 0, 1, 10, 0, 1, ptr);
}

void test_new_and_fill() {
  KivHistogram2D *h = unit_10x10();
  g_assert_true(h->owner == 1 && all_cells_zero(h) && bufsiz(h) == 100);
  int npts = 0;
  gpointer ptr = NULL;
  g_object_get(h, "npts", &npts, "ptr", &ptr, NULL);
  g_assert_true(npts == 100 && ptr == h->y);
  /* There is no point array. */
  KivTuple t = {5, NULL};
  kiv_function_get_array(KIV_FUNCTION(h), &t, 0, 1);
  g_assert_true(t.n == 0 && t.P == NULL);

  kivtest::Counter changed;
  changed.connect(h, "changed");
  kiv_histogram2d_fill(h, 0.25, 0.75, 2.0);
  g_assert_true(h->y[72] == 2.0 && h->vmax == 2.0 && h->vmin == 0.0);
  /* The statistics get the raw coordinates, not the cell centre. */
  g_assert_cmpfloat(kiv_stats_get_nc(h->stat), ==, 2.0);
  g_assert_cmpfloat(kiv_stats_get_mean(h->stat, 0), ==, 0.25);
  g_assert_cmpfloat(kiv_stats_get_mean(h->stat, 1), ==, 0.75);
  /* Outside the grid (NaN included) nothing changes; "changed" all the
   * same. */
  const double outside[][2] = {{1.0, 0.5}, {0.5, -0.2}, {-1.0, 0.5}, {0.5, 1e300},
                               {NAN, 0.5}, {0.5, NAN},  {INFINITY, 0.5}};
  for (const auto &p : outside)
    kiv_histogram2d_fill(h, p[0], p[1], 1.0);
  g_assert_cmpint(changed.n, ==, 8);
  g_assert_cmpfloat(kiv_stats_get_nc(h->stat), ==, 2.0);
  double sum = 0;
  for (int i = 0; i < 100; i++)
    sum += h->y[i];
  g_assert_cmpfloat(sum, ==, 2.0);
  /* Less than a bin below the low edge still lands in bin 0; a negative
   * weight widens vmin only. */
  kiv_histogram2d_fill(h, -0.05, 0.05, 1.0);
  kiv_histogram2d_fill(h, 0.95, 0.05, -3.0);
  g_assert_true(cell(h, 0, 0) == 1.0 && cell(h, 9, 0) == -3.0);
  double vmin = 0;
  g_object_get(h, "vmin", &vmin, NULL);
  g_assert_true(vmin == -3.0 && h->vmax == 2.0);

  /* Value at a point: outside the grid, the nearest edge cell. */
  h->y[0] = 11;
  h->y[99] = 99;
  const double at[][3] = {{-5, -5, 11}, {5, 5, 99}, {NAN, NAN, 11}, {0.25, 0.75, 2}, {0.95, -7, -3}};
  for (const auto &p : at)
    g_assert_cmpfloat(kiv_function2d_eval(KIV_FUNCTION2D(h), p[0], p[1]), ==, p[2]);

  /* Reset zeroes the cells and keeps vmin, vmax and the statistics (whose
   * weights add up to 0 here). */
  kiv_histogram2d_reset(h);
  g_assert_cmpint(changed.n, ==, 11);
  g_assert_true(all_cells_zero(h) && h->vmin == -3.0 && h->vmax == 2.0);
  g_assert_cmpfloat(kiv_stats_get_nc(h->stat), ==, 0.0);
  g_assert_cmpfloat(h->stat->s[0], ==, 2 * 0.25 - 0.05 - 3 * 0.95);
  g_object_unref(h);
}

void test_checks() {
  kiv_expect_critical("kiv_histogram2d_new: assertion 'nx>0' failed");
  g_assert_null(kiv_histogram2d_new(0, 0, 1, 10, 0, 1, NULL));
  kiv_expect_critical("kiv_histogram2d_new: assertion 'ny>0' failed");
  g_assert_null(kiv_histogram2d_new(10, 0, 1, -1, 0, 1, NULL));
  g_test_assert_expected_messages();

  KivHistogram2D *h = unit_10x10();
  KivFunction2D *f = kiv_function2d_new(2, 0, 1, 2, 0, 1, NULL);
  kiv_histogram2d_fill(h, 0.5, 0.5, 1);
  kivtest::Counter changed;
  changed.connect(h, "changed");
  kiv_expect_critical("kiv_histogram2d_fill: assertion 'h2d != NULL' failed");
  kiv_histogram2d_fill(NULL, 0.5, 0.5, 1);
  kiv_expect_critical("kiv_histogram2d_fill: assertion 'KIV_IS_HISTOGRAM2D*' failed");
  kiv_histogram2d_fill(reinterpret_cast<KivHistogram2D *>(f), 0.5, 0.5, 1);

  KivStats *s = kiv_stats_new();
  g_assert_cmpint(kiv_histogram2d_get_stats(h, s), ==, 0);
  g_assert_true(kiv_stats_get_nc(s) == 1 && kiv_stats_get_mean(s, 0) == 0.5);
  g_assert_true(kiv_stats_get_min(s, 1) == 0.5 && kiv_stats_get_max(s, 1) == 0.5);
  kiv_expect_critical("kiv_histogram2d_get_stats: assertion 'KIV_IS_HISTOGRAM2D*' failed");
  g_assert_cmpint(kiv_histogram2d_get_stats(NULL, s), ==, -1);
  kiv_expect_critical("kiv_histogram2d_get_stats: assertion 's != NULL' failed");
  g_assert_cmpint(kiv_histogram2d_get_stats(h, NULL), ==, -1);
  kiv_expect_critical("kiv_histogram2d_get_stats: assertion 'KIV_IS_STATS*' failed");
  g_assert_cmpint(kiv_histogram2d_get_stats(h, reinterpret_cast<KivStats *>(f)), ==, -1);
  kiv_expect_critical("kiv_histogram2d_get_cell_content: assertion 'ix >= 0*' failed");
  g_assert_cmpfloat(kiv_histogram2d_get_cell_content(h, 10, 0), ==, 0.0);
  kiv_expect_critical("kiv_histogram2d_get_cell_content: assertion 'iy >= 0*' failed");
  g_assert_cmpfloat(kiv_histogram2d_get_cell_content(h, 0, -1), ==, 0.0);
  g_test_assert_expected_messages();
  g_assert_cmpint(changed.n, ==, 0);
  g_object_unref(s);
  g_object_unref(f);
  g_object_unref(h);
}

void test_lent_array() {
  /* The array outlives the histogram and must not be freed by it. */
  std::vector<double> cells(100, 0.0);
  cells[1 + 10 * 2] = 4.0;
  KivHistogram2D *h = unit_10x10(cells.data());
  g_assert_true(h->owner == 0 && h->y == cells.data() && bufsiz(h) == 1);
  /* One entry of weight 4 at the centre of cell (1, 2). */
  g_assert_true(h->vmin == 0 && h->vmax == 4 && kiv_stats_get_nc(h->stat) == 4);
  g_assert_cmpfloat_with_epsilon(kiv_stats_get_mean(h->stat, 0), 0.15, 1e-15);
  g_assert_cmpfloat_with_epsilon(kiv_stats_get_mean(h->stat, 1), 0.25, 1e-15);
  /* Fills and resets act on the caller's array. */
  kiv_histogram2d_fill(h, 0.05, 0.05, 1.5);
  g_assert_cmpfloat(cells[0], ==, 1.5);
  kiv_histogram2d_reset(h);
  g_assert_true(cells[0] == 0.0 && cells[21] == 0.0 && h->vmax == 4);

  /* Lending again rebuilds statistics and extrema from the cells; cells
   * that hold no finite number are left out of them. */
  cells[5] = -2.0;
  cells[7] = NAN;
  cells[8] = INFINITY;
  cells[99] = 3.0;
  g_object_set(h, "ptr", cells.data(), NULL);
  g_assert_true(h->vmin == -2.0 && h->vmax == 3.0 && kiv_stats_get_nc(h->stat) == 1.0);
  g_assert_cmpfloat_with_epsilon(kiv_stats_get_min(h->stat, 0), 0.55, 1e-15);
  g_assert_cmpfloat_with_epsilon(kiv_stats_get_max(h->stat, 1), 0.95, 1e-15);
  g_assert_true(std::isnan(cells[7]));

  /* Back to cells of its own: zero-filled, statistics kept. */
  g_object_set(h, "ptr", NULL, NULL);
  g_assert_true(h->owner == 1 && h->y != cells.data() && all_cells_zero(h));
  g_assert_true(h->vmax == 3.0 && cells[99] == 3.0);
  /* Handing the histogram its own array keeps it owned (no free of the
   * array in use); the statistics are rebuilt from it. */
  h->y[3] = 6.0;
  gpointer own = h->y;
  g_object_set(h, "ptr", own, NULL);
  g_assert_true(h->owner == 1 && h->y == own && cell(h, 3, 0) == 6.0);
  g_assert_cmpfloat(kiv_stats_get_nc(h->stat), ==, 6.0);
  g_object_unref(h);
  g_assert_cmpfloat(cells[99], ==, 3.0);

  /* A new count while lent gives the histogram cells of its own: the
   * caller's array is neither freed nor resized nor written. */
  double *lent = g_new0(double, 100);
  lent[42] = 7.0;
  h = unit_10x10(lent);
  g_object_set(h, "nx", 30, NULL);
  g_assert_true(h->owner == 1 && h->y != lent && all_cells_zero(h) && bufsiz(h) == 300);
  /* The step stays 0.1 until the range is set again. */
  kiv_histogram2d_fill(h, 2.95, 0.95, 1);
  g_assert_cmpfloat(cell(h, 29, 9), ==, 1);
  for (int i = 0; i < 100; i++)
    g_assert_cmpfloat(lent[i], ==, i == 42 ? 7.0 : 0.0);
  g_object_unref(h);
  g_free(lent);
}

void test_size_changes() {
  KivHistogram2D *h = unit_10x10();
  kiv_histogram2d_fill(h, 0.55, 0.55, 5);
  KivFunction *X = KIV_FUNCTION(h), *Y = kiv_function2d_Y(KIV_FUNCTION2D(h));
  /* A new count: fresh zero cells, the step left for the range write that
   * follows, extrema and statistics kept, the buffer record raised. */
  g_object_set(h, "nx", 20, NULL);
  g_assert_true(X->nbin == 20 && X->step == 0.1 && bufsiz(h) == 200 && all_cells_zero(h));
  g_assert_true(h->vmax == 5 && kiv_stats_get_nc(h->stat) == 5);
  g_object_set(h, "xmax", 2.0, NULL);
  kiv_histogram2d_fill(h, 1.95, 0.95, 1);
  g_assert_cmpfloat(cell(h, 19, 9), ==, 1);
  /* Shrinking keeps the record at the largest count so far; the same
   * count changes nothing. */
  g_object_set(h, "ny", 3, NULL);
  g_assert_true(Y->nbin == 3 && bufsiz(h) == 200 && all_cells_zero(h));
  kiv_histogram2d_fill(h, 0.05, 0.05, 1);
  g_object_set(h, "ny", 3, NULL);
  g_assert_cmpfloat(cell(h, 0, 0), ==, 1);
  /* A step write re-derives a count; the cells follow it, so that no fill
   * reaches past them. */
  g_object_set(h, "ymax", 1.0, NULL);
  g_object_set(h, "ystep", 0.05, NULL);
  g_assert_true(Y->nbin == 20 && bufsiz(h) == 400);
  g_object_set(h, "xstep", 0.05, NULL);
  g_assert_cmpint(X->nbin, ==, 40);
  kiv_histogram2d_fill(h, 1.99, 0.99, 2);
  g_assert_true(cell(h, 39, 19) == 2 && h->y[40 * 20 - 1] == 2);
  g_object_unref(h);

  /* A count written straight into the y function bypasses the histogram;
   * its cells stay as they were, and no access reaches past them. */
  h = unit_10x10();
  g_object_set(kiv_function2d_Y(KIV_FUNCTION2D(h)), "nx", 50, NULL);
  for (int i = 0; i < 50; i++)
    kiv_histogram2d_fill(h, 0.95, i / 50.0 + 0.01, 1);
  g_assert_cmpfloat(kiv_function2d_eval(KIV_FUNCTION2D(h), 0.95, 0.99), ==, 0);
  kiv_histogram2d_reset(h);
  g_object_unref(kiv_histogram2d_clone(h));
  g_string_free(kiv_function_print(KIV_FUNCTION(h)), TRUE);
  g_object_unref(h);
}

void test_too_many_cells() {
  kiv_expect_critical("kiv_histogram2d_new: a grid of 999999 x 999999 cells has more cells than "
                      "an int can count; refused");
  g_assert_null(kiv_histogram2d_new(999999, 0, 1, 999999, 0, 1, NULL));
  kiv_expect_critical("kiv_histogram2d_new: a grid of 65536 x 32768 cells*refused");
  g_assert_null(kiv_histogram2d_new(65536, 0, 1, 32768, 0, 1, NULL));
  g_test_assert_expected_messages();

  /* 2200 x 999999 is just above the int range: refused, and the histogram
   * stays usable with its cells and contents as they were. */
  KivHistogram2D *h = kiv_histogram2d_new(2200, 0, 1, 2200, 0, 1, NULL);
  kiv_histogram2d_fill(h, 0.55, 0.55, 3);
  double *before = h->y;
  kiv_expect_critical("KivHistogram2D \"nx\": a grid of 999999 x 2200 cells has more cells than an "
                      "int can count; refused");
  g_object_set(h, "nx", 999999, NULL);
  kiv_expect_critical("KivHistogram2D \"ny\": a grid of 2200 x 999999 cells*refused");
  g_object_set(h, "ny", 999999, NULL);
  g_test_assert_expected_messages();
  g_assert_true(KIV_FUNCTION(h)->nbin == 2200 && kiv_function2d_Y(KIV_FUNCTION2D(h))->nbin == 2200);
  g_assert_true(bufsiz(h) == 2200 * 2200 && h->y == before && cell(h, 1210, 1210) == 3);
  kiv_histogram2d_fill(h, 0.99999, 0.99999, 1);
  g_assert_cmpfloat(cell(h, 2199, 2199), ==, 1);
  g_object_unref(h);

  /* The widest grid that fits in the property ranges and an int. */
  h = kiv_histogram2d_new(999999, 0, 1, 2, 0, 1, NULL);
  kiv_histogram2d_fill(h, 0.9999999, 0.99, 1);
  g_assert_cmpfloat(cell(h, 999998, 1), ==, 1);
  g_object_unref(h);
}

/* A NaN or infinite weight, or a sum that overflows, would leave a cell
 * that is no finite number and break the colour map, which sorts the
 * contents and scales by their range.  Such entries are dropped with a
 * warning; "changed" is still emitted. */
void test_bad_weights() {
  KivHistogram2D *h = unit_10x10();
  kiv_histogram2d_fill(h, 0.15, 0.15, 1e308);
  kivtest::Counter changed;
  changed.connect(h, "changed");
  for (double w : {(double)NAN, (double)INFINITY, -(double)INFINITY}) {
    kiv_expect_warning("KivHistogram2D: weight * at (0.55, 0.55) would make cell (5, 5) *; entry dropped");
    kiv_histogram2d_fill(h, 0.55, 0.55, w);
  }
  kiv_expect_warning("KivHistogram2D: weight 1e+308 at (0.15, 0.15) would make cell (1, 1) inf; "
                     "entry dropped");
  kiv_histogram2d_fill(h, 0.15, 0.15, 1e308);
  g_test_assert_expected_messages();
  g_assert_cmpint(changed.n, ==, 4);
  for (int i = 0; i < 100; i++)
    g_assert_true(std::isfinite(h->y[i]));
  g_assert_true(cell(h, 1, 1) == 1e308 && cell(h, 5, 5) == 0);
  g_assert_true(h->vmax == 1e308 && h->vmin == 0 && kiv_stats_get_nc(h->stat) == 1e308);
  g_assert_cmpfloat(kiv_stats_get_mean(h->stat, 0), ==, 0.15);
  g_object_unref(h);
}

void test_clone() {
  KivHistogram2D *h = kiv_histogram2d_new(4, -1, 1, 3, 10, 40, NULL);
  kiv_function_set_name(KIV_FUNCTION(h), "source");
  kiv_histogram2d_fill(h, -0.9, 15, 2);
  kiv_histogram2d_fill(h, 0.9, 35, -1);
  KivHistogram2D *c = kiv_histogram2d_clone(h);
  g_assert_true(c->y != h->y && c->owner == 1);
  KivFunction *cx = KIV_FUNCTION(c), *cy = kiv_function2d_Y(KIV_FUNCTION2D(c));
  g_assert_true(cx->nbin == 4 && cx->xmin == -1 && cx->xmax == 1 && cx->name == NULL);
  g_assert_true(cy->nbin == 3 && cy->xmin == 10 && cy->xmax == 40);
  g_assert_cmpmem(c->y, 12 * sizeof(double), h->y, 12 * sizeof(double));
  g_assert_true(c->vmin == -1 && c->vmax == 2 && kiv_stats_get_nc(c->stat) == 1);
  g_assert_cmpfloat(kiv_stats_get_mean(c->stat, 1), ==, h->stat->s[1]);
  /* Independent both ways. */
  kiv_histogram2d_fill(c, -0.9, 15, 1);
  g_assert_true(cell(c, 0, 0) == 3 && cell(h, 0, 0) == 2);
  kiv_histogram2d_reset(h);
  g_assert_true(cell(c, 3, 2) == -1 && kiv_stats_get_nc(c->stat) == 2);
  g_object_unref(h);
  g_object_unref(c);
}

/* Producers in several threads that hold the function's lock around their
 * fills lose no entry.  Each fills a row of its own and the last row,
 * which all share. */
constexpr int kThreads = 4;
constexpr int kFills = 20000;

struct Producer {
  KivHistogram2D *h;
  int id;
};

void test_threads() {
  KivHistogram2D *h = kiv_histogram2d_new(8, 0, 8, kThreads + 1, 0, kThreads + 1, NULL);
  std::atomic<int> changed{0};
  g_signal_connect_swapped(h, "changed", G_CALLBACK(+[](std::atomic<int> *n) { (*n)++; }),
                           &changed);
  Producer p[kThreads];
  GThread *th[kThreads];
  for (int t = 0; t < kThreads; t++) {
    p[t] = {h, t};
    th[t] = g_thread_new("fill", [](gpointer d) -> gpointer {
      auto *pr = static_cast<Producer *>(d);
      for (int i = 0; i < kFills; i++) {
        kiv_function_lock(KIV_FUNCTION(pr->h));
        kiv_histogram2d_fill(pr->h, (i % 8) + 0.5, pr->id + 0.5, 1.0);
        kiv_histogram2d_fill(pr->h, (i % 8) + 0.5, kThreads + 0.5, 0.5);
        kiv_function_unlock(KIV_FUNCTION(pr->h));
      }
      return NULL;
    }, &p[t]);
  }
  for (GThread *t : th)
    g_thread_join(t);
  g_assert_cmpint(changed, ==, 2 * kThreads * kFills);
  for (int ix = 0; ix < 8; ix++) {
    g_assert_cmpfloat(cell(h, ix, kThreads), ==, kThreads * kFills / 8 * 0.5);
    for (int iy = 0; iy < kThreads; iy++)
      g_assert_cmpfloat(cell(h, ix, iy), ==, kFills / 8);
  }
  g_assert_cmpfloat(kiv_stats_get_nc(h->stat), ==, kThreads * kFills * 1.5);
  g_assert_cmpfloat(h->vmax, ==, kThreads * kFills / 8 * 0.5);
  g_object_unref(h);
}

/* The invalid-id warning is reached through a subclass that installs an
 * id of its own and routes it to the histogram's handlers. */
struct SubH2D {
  KivHistogram2D parent;
};
struct SubH2DClass {
  KivHistogram2DClass parent_class;
};
G_DEFINE_TYPE(SubH2D, subh2d, KIV_TYPE_HISTOGRAM2D)
void subh2d_init(SubH2D *) {}
void subh2d_class_init(SubH2DClass *klass) {
  GObjectClass *parent = G_OBJECT_CLASS(subh2d_parent_class);
  G_OBJECT_CLASS(klass)->set_property = parent->set_property;
  G_OBJECT_CLASS(klass)->get_property = parent->get_property;
  g_object_class_install_property(G_OBJECT_CLASS(klass), 42,
      g_param_spec_int("extra", "extra", "extra", 0, 10, 0, G_PARAM_READWRITE));
}

void test_invalid_property_id() {
  GObject *o = G_OBJECT(g_object_new(subh2d_get_type(), NULL));
  kiv_expect_warning(
      "*histogram2d.cc:*: invalid property id 42 for \"extra\" of type 'GParamInt' in 'SubH2D'");
  g_object_set(o, "extra", 3, NULL);
  g_test_assert_expected_messages();
  g_object_unref(o);
}

} // namespace

int main(int argc, char **argv) {
  g_test_init(&argc, &argv, NULL);
  g_test_add_func("/histogram2d/new-and-fill", test_new_and_fill);
  g_test_add_func("/histogram2d/checks", test_checks);
  g_test_add_func("/histogram2d/lent-array", test_lent_array);
  g_test_add_func("/histogram2d/size-changes", test_size_changes);
  g_test_add_func("/histogram2d/too-many-cells", test_too_many_cells);
  g_test_add_func("/histogram2d/bad-weights", test_bad_weights);
  g_test_add_func("/histogram2d/clone", test_clone);
  g_test_add_func("/histogram2d/threads", test_threads);
  g_test_add_func("/histogram2d/invalid-property-id", test_invalid_property_id);
  return g_test_run();
}
