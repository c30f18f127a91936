/* Tests of KivProfile: per-bin means and spreads, bins whose weights sum
 * to zero, reset, sums re-allocated for a new count, and producers in
 * threads.  Batched fills are compared with single fills in
 * test-histogram. */
#include "kiv-test.h"

namespace {

std::vector<double> read_array(KivProfile *p, const char *property) {
  double *a = NULL;
  g_object_get(p, property, &a, NULL);
  std::vector<double> v(a, a + KIV_FUNCTION(p)->nbin);
  g_free(a);
  return v;
}

/* Two producers fill under the lock.  Bin b gets the values b and b + 2
 * in equal numbers: mean b + 1 and spread 1 in any order. */
gpointer producer(gpointer p) {
  for (int k = 0; k < 4000; k++) {
    kiv_function_lock(KIV_FUNCTION(p));
    kiv_profile_fill(KIV_PROFILE(p), k / 2 % 8 + 0.25, k / 2 % 8 + k % 2 * 2.0, 1.0);
    kiv_function_unlock(KIV_FUNCTION(p));
  }
  return NULL;
}

void test_means_spread_threads() {
  kiv_expect_critical("kiv_profile_new: assertion 'n>0' failed");
  g_assert_null(kiv_profile_new(0, 0.0, 1.0, NULL));
  /* y = 2 with weight 3 and y = 6 with weight 1: mean 3, spread sqrt(3).
   * The statistics describe both variables.  Weights that sum to 0 leave
   * a bin as never filled; a denormal weight is a weight; huge values are
   * averaged as given.  Through the histogram the weight is 1; outside
   * the range nothing at all happens. */
  KivProfile *p = kiv_profile_new(5, 0.0, 5.0, NULL);
  KivHistogram *h = KIV_HISTOGRAM(p);
  kivtest::Counter changed;
  changed.connect(p, "changed");
  const double fills[][3] = {{0.5, 2, 3},     {0.5, 6, 1},     {1.5, -1, 0.5},
                             {2.5, 8, 0},     {3.5, 8, 2},     {3.5, 3, -2},
                             {4.5, 1e308, 1}, {4.5, 1e308, 1}, {2.5, 3, 4.9406564584124654e-324},
                             {5.0, 1, 1},     {-1.0, 1, 1},    {NAN, 1, 1}};
  for (const auto &f : fills) kiv_profile_fill(p, f[0], f[1], f[2]);
  std::vector<double> rms = read_array(p, "rms"), n = read_array(p, "ntotal");
  kiv_assert_each({h->y[0], 3.0}, {n[0], 4.0}, {rms[0], std::sqrt(3.0)}, {h->y[1], -1.0},
                  {rms[1], 0.0}, {h->y[2], 3.0}, {n[3], 0.0}, {h->y[3], 0.0}, {h->y[4], INFINITY},
                  {kiv_histogram_vmax(h), INFINITY}, {kiv_histogram_vmin(h), -1.0},
                  {kiv_histogram_entries(h), 6.5}, {kiv_stats_get_mean(h->stat, 0), 11.75 / 6.5},
                  {changed.n, 0});
  kiv_histogram_fill(h, 0.5, 7.0);
  kiv_histogram_fill(h, INFINITY, 7.0);
  kiv_assert_each({p->n[0], 5.0}, {h->y[0], 19.0 / 5.0}, {kiv_histogram_entries(h), 7.5});
  /* A reset clears the sums and keeps means, statistics and extrema; a
   * bin filled again starts afresh, another's spread reads its stale mean. */
  kiv_histogram_reset(h);
  kiv_profile_fill(p, 0.5, 10.0, 1.0);
  rms = read_array(p, "rms");
  kiv_assert_each({changed.n, 3}, {p->n[0], 1.0}, {p->n[1], 0.0}, {h->y[0], 10.0}, {rms[0], 0.0},
                  {h->y[1], -1.0}, {rms[1], 1.0}, {kiv_histogram_entries(h), 8.5},
                  {kiv_histogram_vmin(h), -1.0});
  /* A new count re-allocates the sums: everything starts over. */
  g_object_set(p, "nx", 8, NULL);
  g_assert_true(read_array(p, "ntotal") == std::vector<double>(8, 0.0) && p->s[7] == 0.0);
  g_object_unref(p);
  /* Producers in real threads lose nothing: see producer(). */
  p = kiv_profile_new(8, 0.0, 8.0, NULL);
  GThread *threads[] = {g_thread_new("p", producer, p), g_thread_new("p", producer, p)};
  for (GThread *t : threads) g_thread_join(t);
  rms = read_array(p, "rms");
  for (int b = 0; b < 8; b++)
    g_assert_true(p->n[b] == 1000 && fabs(KIV_HISTOGRAM(p)->y[b] - b - 1) < 1e-9 &&
                  fabs(rms[b] - 1) < 1e-9);
  g_object_unref(p);
}

} // namespace

int main(int argc, char **argv) {
  g_test_init(&argc, &argv, NULL);
  g_test_add_func("/profile/means-spread-threads", test_means_spread_threads);
  return g_test_run();
}
