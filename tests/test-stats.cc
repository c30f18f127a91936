/* Tests of KivStats: the worked figures, degenerate data and its checks. */
#include "kiv-test.h"

namespace {

double prop(KivStats *s, const char *name) {
  double v = -1.0;
  g_object_get(s, name, &v, NULL);
  return v;
}

void test_empty() {
  KivStats *s = kiv_stats_new();
  g_assert_cmpfloat(kiv_stats_get_nc(s), ==, 0.0);
  for (int w = 0; w < 2; w++) {
    g_assert_cmpfloat(kiv_stats_get_mean(s, w), ==, 0.0);
    g_assert_cmpfloat(kiv_stats_get_rms(s, w), ==, 0.0);
    g_assert_cmpfloat(kiv_stats_get_stdev(s, w), ==, 0.0);
    g_assert_cmpfloat(kiv_stats_get_min(s, w), ==, G_MAXDOUBLE);
    g_assert_cmpfloat(kiv_stats_get_max(s, w), ==, -G_MAXDOUBLE);
  }
  g_assert_cmpfloat(kiv_stats_get_correlation(s), ==, 0.0);
  g_assert_cmpfloat(prop(s, "xmin"), ==, G_MAXDOUBLE);
  g_assert_cmpfloat(prop(s, "ymax"), ==, -G_MAXDOUBLE);
  g_object_unref(s);
}

void test_figures() {
  KivStats *s = kiv_stats_new();
  for (double x : {1.0, 2.0, 3.0})
    kiv_stats_add(s, x, 0.0, 1.0);
  g_assert_cmpfloat(kiv_stats_get_nc(s), ==, 3.0);
  g_assert_cmpfloat(kiv_stats_get_mean(s, 0), ==, 2.0);
  g_assert_cmpfloat_with_epsilon(kiv_stats_get_rms(s, 0), 2.0 / 3.0, 1e-15);
  g_assert_cmpfloat_with_epsilon(kiv_stats_get_stdev(s, 0), 0.816496580927726, 1e-12);
  g_assert_cmpfloat(kiv_stats_get_min(s, 0), ==, 1.0);
  g_assert_cmpfloat(kiv_stats_get_max(s, 0), ==, 3.0);
  g_assert_cmpfloat(kiv_stats_get_mean(s, 1), ==, 0.0);
  g_assert_cmpfloat(kiv_stats_get_rms(s, 1), ==, 0.0);
  g_assert_cmpfloat(kiv_stats_get_correlation(s), ==, 0.0);
  /* The properties compute the same figures as the accessors. */
  g_assert_cmpfloat(prop(s, "nc"), ==, 3.0);
  g_assert_cmpfloat(prop(s, "mean_x"), ==, 2.0);
  g_assert_cmpfloat(prop(s, "rms_x"), ==, kiv_stats_get_rms(s, 0));
  g_assert_cmpfloat(prop(s, "stdev_x"), ==, kiv_stats_get_stdev(s, 0));
  g_assert_cmpfloat(prop(s, "xmax"), ==, 3.0);
  g_assert_cmpfloat(prop(s, "ymin"), ==, 0.0);
  g_assert_cmpfloat(prop(s, "corr"), ==, 0.0);

  /* A copy is independent of its source. */
  KivStats *c = kiv_stats_new();
  kiv_stats_copy(s, c);
  kiv_stats_add(c, 10.0, 0.0, 1.0);
  g_assert_cmpfloat(kiv_stats_get_nc(s), ==, 3.0);
  g_assert_cmpfloat(kiv_stats_get_max(s, 0), ==, 3.0);
  g_assert_cmpfloat(kiv_stats_get_nc(c), ==, 4.0);

  kiv_stats_reset(c);
  g_assert_cmpfloat(kiv_stats_get_nc(c), ==, 0.0);
  g_assert_cmpfloat(kiv_stats_get_min(c, 0), ==, G_MAXDOUBLE);
  g_object_unref(c);
  g_object_unref(s);
}

void test_weights_and_correlation() {
  KivStats *s = kiv_stats_new();
  kiv_stats_add(s, 5.0, 0.0, 1.0);
  g_assert_cmpfloat(kiv_stats_get_mean(s, 0), ==, 5.0);
  g_assert_cmpfloat(kiv_stats_get_rms(s, 0), ==, 0.0);
  /* Weight 0 moves only the extrema. */
  kiv_stats_add(s, -7.0, 9.0, 0.0);
  g_assert_cmpfloat(kiv_stats_get_nc(s), ==, 1.0);
  g_assert_cmpfloat(kiv_stats_get_mean(s, 0), ==, 5.0);
  g_assert_cmpfloat(kiv_stats_get_min(s, 0), ==, -7.0);
  g_assert_cmpfloat(kiv_stats_get_max(s, 1), ==, 9.0);
  g_object_unref(s);

  s = kiv_stats_new();
  for (int i = 1; i <= 3; i++)
    kiv_stats_add(s, i, 2.0 * i, 1.0);
  g_assert_cmpfloat_with_epsilon(kiv_stats_get_correlation(s), 1.0, 1e-12);
  g_object_unref(s);
  s = kiv_stats_new();
  for (int i = 1; i <= 3; i++)
    kiv_stats_add(s, i, 8.0 - 2.0 * i, 1.0);
  g_assert_cmpfloat_with_epsilon(kiv_stats_get_correlation(s), -1.0, 1e-12);
  g_assert_cmpfloat_with_epsilon(prop(s, "corr"), -1.0, 1e-12);

  /* Weighted: x = 1 with weight 3 and x = 5 with weight 1. */
  kiv_stats_reset(s);
  kiv_stats_add(s, 1.0, 0.0, 3.0);
  kiv_stats_add(s, 5.0, 0.0, 1.0);
  g_assert_cmpfloat(kiv_stats_get_mean(s, 0), ==, 2.0);
  g_assert_cmpfloat(kiv_stats_get_rms(s, 0), ==, 3.0);

  /* Many equal values: the variance may round below zero, the deviation
   * must still be 0 and never NaN. */
  kiv_stats_reset(s);
  for (int i = 0; i < 10; i++)
    kiv_stats_add(s, 0.1, 0.1, 1.0);
  g_assert_cmpfloat(kiv_stats_get_stdev(s, 0), >=, 0.0);
  g_assert_false(std::isnan(kiv_stats_get_stdev(s, 0)));
  g_assert_false(std::isnan(kiv_stats_get_correlation(s)));
  g_object_unref(s);
}

void test_checks() {
  KivStats *s = kiv_stats_new();
  kiv_expect_critical("kiv_stats_get_mean: assertion '(w>=0&&w<2)' failed");
  g_assert_cmpfloat(kiv_stats_get_mean(s, 2), ==, 0.0);
  kiv_expect_critical("kiv_stats_get_max: assertion '(w>=0&&w<2)' failed");
  g_assert_cmpfloat(kiv_stats_get_max(s, -1), ==, 0.0);
  kiv_expect_critical("kiv_stats_get_nc: assertion 'self != NULL' failed");
  g_assert_cmpfloat(kiv_stats_get_nc(NULL), ==, 0.0);
  kiv_expect_critical("kiv_stats_add: assertion 'self != NULL' failed");
  kiv_stats_add(NULL, 1, 1, 1);
  kiv_expect_critical("kiv_stats_get_correlation: assertion 'self != NULL' failed");
  g_assert_cmpfloat(kiv_stats_get_correlation(NULL), ==, 0.0);
  g_test_assert_expected_messages();

  /* Read-only: the property system refuses writes. */
  g_test_expect_message("GLib-GObject", G_LOG_LEVEL_WARNING, "*nc*not writable*");
  g_object_set(s, "nc", 3.0, NULL);
  g_test_assert_expected_messages();
  g_object_unref(s);
}

} // namespace

int main(int argc, char **argv) {
  g_test_init(&argc, &argv, NULL);
  g_test_add_func("/stats/empty", test_empty);
  g_test_add_func("/stats/figures", test_figures);
  g_test_add_func("/stats/weights-correlation", test_weights_and_correlation);
  g_test_add_func("/stats/checks", test_checks);
  return g_test_run();
}
