/* Tests of KivHistogram2D: fills, statistics and the text dump, refused
 * arguments and grids too big for an int, own and lent cell arrays and a
 * new count while lent, clones, weights dropped from a batch,
 * and producers in threads. */
#include "kiv-test.h"

#include <algorithm>

namespace {

double cell(KivHistogram2D *h, int ix, int iy) {
  return kiv_histogram2d_get_cell_content(h, ix, iy);
}
gsize bufsiz(KivHistogram2D *h) {
  return GPOINTER_TO_SIZE(g_object_get_data(G_OBJECT(h), "__bufsiz__"));
}
bool all_zero(KivHistogram2D *h, int n) { return std::count(h->y, h->y + n, 0.0) == n; }

void test_fill_and_dump() {
  KivHistogram2D *h = kiv_histogram2d_new(3, 0, 3, 2, 0, 1, NULL);
  kivtest::Counter changed;
  changed.connect(h, "changed");
  /* The statistics get the raw coordinates, not the cell centre.  Less
   * than a bin below the low edge still lands in bin 0; outside the grid
   * (NaN included) nothing changes but "changed" is emitted. */
  const double fills[][3] = {{1.25, 0.75, 2}, {-0.5, 0.25, 1},   {2.5, 0.1, -3},  {3.0, 0.5, 1},
                             {0.5, -0.6, 1},  {-1.0, 0.5, 1},    {0.5, 1e300, 1}, {NAN, 0.5, 1},
                             {0.5, NAN, 1},   {INFINITY, 0.5, 1}};
  for (const auto &f : fills) kiv_histogram2d_fill(h, f[0], f[1], f[2]);
  kiv_assert_each({changed.n, 10}, {h->vmin, -3}, {bufsiz(h), 6}, {h->vmax, 2},
                  {kiv_stats_get_nc(h->stat), 0}, {h->stat->s[0], 2.5 - 0.5 - 7.5},
                  {h->stat->s[1], 1.5 + 0.25 - 0.3}, {kiv_stats_get_min(h->stat, 0), -0.5},
                  {kiv_stats_get_max(h->stat, 1), 0.75});
  GString *dump = kiv_function_print(KIV_FUNCTION(h));
  const char *want = "2D 3 0.000000 3.000000 2 0.000000 1.000000\t[nxbin xmin xmax nybin ymin ymax "
                     "- data ( rows are Y, columns X )]\n"
                     "1.000000\t0.000000\t-3.000000\n0.000000\t2.000000\t0.000000\n";
  g_assert_cmpstr(dump->str, ==, want);
  g_string_free(dump, TRUE);
  /* Value at a point: outside the grid, the nearest edge cell. */
  const double at[][3] = {{-5, -5, 1}, {5, 5, 0}, {NAN, NAN, 1}, {1.5, 0.9, 2}, {2.9, -7, -3}};
  for (const auto &p : at)
    g_assert_cmpfloat(kiv_function2d_eval(KIV_FUNCTION2D(h), p[0], p[1]), ==, p[2]);
  /* Refused arguments, checked by the library's own logic. */
  kiv_expect_critical("kiv_histogram2d_new: assertion 'nx>0' failed");
  g_assert_null(kiv_histogram2d_new(0, 0, 1, 10, 0, 1, NULL));
  kiv_expect_critical("kiv_histogram2d_new: assertion 'ny>0' failed");
  g_assert_null(kiv_histogram2d_new(10, 0, 1, 0, 0, 1, NULL));
  kiv_expect_critical("*: assertion 'ix >= 0 && ix < histogram2d_x(h2d)->nbin' failed");
  g_assert_cmpfloat(cell(h, 3, 0), ==, 0.0);
  kiv_expect_critical("*: assertion 'iy >= 0 && iy < histogram2d_y(h2d)->nbin' failed");
  g_assert_cmpfloat(cell(h, 0, -1), ==, 0.0);
  kiv_expect_critical("*fill_n: assertion '(x != NULL && y != NULL) || n == 0' failed");
  kiv_histogram2d_fill_n(h, fills[0], NULL, fills[0], 1);
  kiv_expect_critical("kiv_histogram2d_new: a grid of 999999 x 999999 cells has more cells *");
  g_assert_null(kiv_histogram2d_new(999999, 0, 1, 999999, 0, 1, NULL));
  KivStats *s = kiv_stats_new();
  kiv_expect_critical("kiv_histogram2d_get_stats: assertion 'KIV_IS_HISTOGRAM2D(h2d)' failed");
  g_assert_cmpint(kiv_histogram2d_get_stats(reinterpret_cast<KivHistogram2D *>(s), s), ==, -1);
  g_test_assert_expected_messages();
  g_object_unref(s);
  /* A map has no point array. */
  KivTuple t;
  kiv_function_get_array(KIV_FUNCTION(h), &t, 0.0, 3.0);
  g_assert_true(t.n == 0 && t.P == NULL);
  /* A reset zeroes the cells and keeps the extrema and statistics. */
  kiv_histogram2d_reset(h);
  g_assert_true(changed.n == 11 && all_zero(h, 6) && h->vmin == -3 && h->stat->s[0] == -5.5);
  /* A batch reads no further than its count. */
  const double bx[] = {0.5, 2.5}, by[] = {0.25, 0.75};
  kiv_histogram2d_fill_n(h, bx, by, NULL, 1);
  g_assert_true(cell(h, 0, 0) == 1.0 && cell(h, 2, 1) == 0.0);
  g_object_unref(h);
}

/* Producers that hold the function's lock around their fills lose no
 * entry: cell (i % 4, i % 3) meets every cell once in 12 fills. */
gpointer producer(gpointer h) {
  for (int i = 0; i < 3600; i++) {
    kiv_function_lock(KIV_FUNCTION(h));
    kiv_histogram2d_fill(KIV_HISTOGRAM2D(h), i % 4 + 0.5, i % 3 + 0.5, 0.5);
    kiv_function_unlock(KIV_FUNCTION(h));
  }
  return NULL;
}

void test_lent_weights_threads() {
  /* The array outlives the histogram and is never freed by it.  Lending
   * rebuilds statistics and extrema from the cells, one entry per nonzero
   * finite cell at its centre weighted by its content. */
  std::vector<double> cells(100, 0.0);
  cells[1 + 10 * 2] = 4.0;
  KivHistogram2D *h = kiv_histogram2d_new(10, 0, 1, 10, 0, 1, cells.data());
  g_assert_true(h->owner == 0 && bufsiz(h) == 1 && h->vmax == 4 && kiv_stats_get_nc(h->stat) == 4);
  g_assert_true(fabs(kiv_stats_get_mean(h->stat, 0) - 0.15) < 1e-15 &&
                fabs(kiv_stats_get_mean(h->stat, 1) - 0.25) < 1e-15);
  for (auto c : {std::pair{21, 0.0}, {5, -2.0}, {7, (double)NAN}, {8, (double)INFINITY}, {99, 3.0}})
    cells[c.first] = c.second;
  g_object_set(h, "ptr", cells.data(), NULL);
  kiv_assert_each({h->vmin, -2}, {h->vmax, 3}, {kiv_stats_get_nc(h->stat), 1});
  /* Back to cells of its own, zero-filled; its own array handed back
   * stays owned.  A new count gives it cells of its own too. */
  g_object_set(h, "ptr", NULL, NULL);
  g_assert_true(h->owner == 1 && all_zero(h, 100) && h->vmax == 3.0 && std::isnan(cells[7]));
  gpointer own = h->y;
  g_object_set(h, "ptr", own, "ptr", cells.data(), "nx", 30, NULL); /* own, lent, own again */
  kiv_histogram2d_fill(h, 2.95, 0.95, 1);                           /* the step stays 0.1 */
  g_assert_true(h->owner == 1 && bufsiz(h) == 300 && cell(h, 29, 9) == 1 && cells[98] == 0.0);
  /* A clone copies cells, limits, extrema and statistics. */
  KivHistogram2D *c = kiv_histogram2d_clone(h);
  g_assert_true(c->y != h->y && c->vmin == -2 && c->vmax == 3 && kiv_stats_get_nc(c->stat) == 2);
  g_assert_cmpmem(c->y, 300 * sizeof(double), h->y, 300 * sizeof(double));
  for (gpointer o : {(gpointer)h, (gpointer)c}) g_object_unref(o);

  /* A NaN or infinite weight, or a sum that overflows, would leave a cell
   * that is no finite number and break the colour map, which sorts the
   * contents and scales by their range: such an entry is dropped with a
   * warning.  Single fills share that code with batches, which emit
   * "changed" once, or not at all when empty. */
  h = kiv_histogram2d_new(6, -1.3, 2.9, 5, 0.0, 1.0, NULL);
  kivtest::Counter changed;
  changed.connect(h, "changed");
  const double bx[] = {0.5, 0.55, 0.55, 0.55, 0.5, -1.0},
               by[] = {0.95, 0.55, 0.55, 0.55, 0.95, 0.1},
               bw[] = {1e308, NAN, INFINITY, -INFINITY, 1e308, -2};
  for (int i = 0; i < 3; i++)
    kiv_expect_warning("KivHistogram2D: weight * at (0.55, 0.55) would make cell (2, 2) *; *");
  kiv_expect_warning(
      "KivHistogram2D: weight 1e+308 at (0.5, 0.95) would make cell (2, 4) inf; entry dropped");
  kiv_histogram2d_fill_n(h, bx, by, bw, 6);
  kiv_histogram2d_fill_n(h, NULL, NULL, NULL, 0);
  kiv_histogram2d_fill_n(h, bx + 5, by + 5, NULL, 1);
  g_test_assert_expected_messages();
  kiv_assert_each({changed.n, 2}, {cell(h, 2, 4), 1e308}, {cell(h, 0, 0), -1}, {cell(h, 2, 2), 0},
                  {h->vmax, 1e308}, {h->vmin, -2}, {kiv_stats_get_nc(h->stat), 1e308},
                  {h->stat->s[0], 5e307}, {kiv_stats_get_min(h->stat, 1), 0.1});
  g_object_unref(h);
  /* Producers in real threads lose nothing: see producer(). */
  h = kiv_histogram2d_new(4, 0, 4, 3, 0, 3, NULL);
  GThread *threads[] = {g_thread_new("p", producer, h), g_thread_new("p", producer, h)};
  for (GThread *t : threads) g_thread_join(t);
  for (int i = 0; i < 12; i++) g_assert_cmpfloat(cell(h, i % 4, i / 4), ==, 300.0);
  g_assert_cmpfloat(kiv_stats_get_nc(h->stat), ==, 3600.0);
  g_object_unref(h);
}

} // namespace

int main(int argc, char **argv) {
  g_test_init(&argc, &argv, NULL);
  g_test_add_func("/histogram2d/fill-and-dump", test_fill_and_dump);
  g_test_add_func("/histogram2d/lent-array-weights-threads", test_lent_weights_threads);
  return g_test_run();
}
