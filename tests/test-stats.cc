/* Tests of KivStats: worked figures through every property, weights,
 * degenerate data and the checks of its accessors. */
#include "kiv-test.h"

namespace {

/* The twelve properties in one vector, to compare with worked figures. */
std::vector<double> figures(KivStats *s) {
  std::vector<double> v;
  for (const char *p : {"nc", "mean_x", "rms_x", "stdev_x", "xmin", "xmax", "mean_y", "rms_y",
                        "stdev_y", "ymin", "ymax", "corr"})
    g_object_get(s, p, &v.emplace_back(0), NULL);
  return v;
}

void test_figures() {
  /* Empty (after a reset): no NaN from 0 / 0, and extrema that any entry
   * replaces. */
  KivStats *s = kiv_stats_new(), *c = kiv_stats_new();
  const std::vector<double> empty = {0, 0, 0, 0,           G_MAXDOUBLE,  -G_MAXDOUBLE,
                                     0, 0, 0, G_MAXDOUBLE, -G_MAXDOUBLE, 0};
  /* x = 0 1 2 5, y = 6 2 4 4: means 2 and 4, variances 3.5 and 2, and a
   * covariance of -0.5, so a correlation of -0.5 / sqrt(7). */
  for (double x : {0, 1, 2, 5}) kiv_stats_add(s, x, x == 0 ? 6 : x == 1 ? 2 : 4, 1.0);
  kiv_stats_copy(s, c);
  kiv_stats_reset(s);
  std::vector<double> got = figures(c),
                      want = {4, 2, 3.5, sqrt(3.5), 0, 5, 4, 2, sqrt(2.0), 2, 6, -0.5 / sqrt(7.0)};
  for (int i = 0; i < 12; i++) g_assert_cmpfloat_with_epsilon(got[i], want[i], 1e-15);

  /* Weights count in every sum; the variance needs a weight of 2; a
   * constant variable correlates 0, not NaN.  A reset empties every sum. */
  const struct {
    double pts[2][3], mean, var, corr;
  } sets[] = {{{{1, 3, 3}, {5, -1, 1}}, 2, 3, -1},
              {{{1, 0, 1}, {3, 0, 1}}, 2, 1, 0},
              {{{1, 0, .5}, {3, 0, .5}}, 2, 0, 0}};
  for (const auto &set : sets) {
    for (const auto &p : set.pts) kiv_stats_add(s, p[0], p[1], p[2]);
    kiv_assert_each({kiv_stats_get_mean(s, 0), set.mean}, {kiv_stats_get_rms(s, 0), set.var});
    g_assert_cmpfloat_with_epsilon(kiv_stats_get_correlation(s), set.corr, 1e-15);
    kiv_stats_reset(s);
    g_assert_true(figures(s) == empty);
  }
  /* Ten equal values leave the variance a rounding error below 0: the
   * deviation is 0, not NaN.  A NaN entry shows in the sums only. */
  for (int i = 0; i < 11; i++) kiv_stats_add(s, i < 10 ? 0.7 : NAN, 0.7, 1.0);
  kiv_assert_each({kiv_stats_get_rms(s, 1) < 0, 1}, {kiv_stats_get_stdev(s, 1), 0},
                  {kiv_stats_get_min(s, 0), 0.7}, {kiv_stats_get_max(s, 0), 0.7},
                  {std::isnan(kiv_stats_get_mean(s, 0)), 1});

  /* Each accessor checks its object and which variable it is asked for. */
  for (auto get : {kiv_stats_get_mean, kiv_stats_get_rms, kiv_stats_get_stdev, kiv_stats_get_min,
                   kiv_stats_get_max}) {
    kiv_expect_critical("kiv_stats_get_*: assertion 'self != NULL' failed");
    kiv_expect_critical("kiv_stats_get_*: assertion '(w>=0&&w<2)' failed");
    kiv_expect_critical("kiv_stats_get_*: assertion '(w>=0&&w<2)' failed");
    kiv_assert_each({get(NULL, 0), 0}, {get(s, 2), 0}, {get(s, -1), 0});
  }
  g_test_assert_expected_messages();
  g_object_unref(c);
  g_object_unref(s);
}

} // namespace

int main(int argc, char **argv) {
  g_test_init(&argc, &argv, NULL);
  g_test_add_func("/stats/figures", test_figures);
  return g_test_run();
}
