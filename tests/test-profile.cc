/* Tests of KivProfile: per-bin means and spreads, reset, the range handler,
 * empty bins and filling from threads under the lock. */
#include "kiv-test.h"

#include <atomic>
#include <vector>

namespace {

std::vector<double> read_array(KivProfile *p, const char *property) {
  double *a = NULL;
  g_object_get(p, property, &a, NULL);
  std::vector<double> v(a, a + KIV_FUNCTION(p)->nbin);
  g_free(a);
  return v;
}

void test_means_and_spread() {
  kiv_expect_critical("*kiv_profile_new*n>0*");
  g_assert_null(kiv_profile_new(-1, 0.0, 1.0, NULL));
  g_test_assert_expected_messages();

  /* y = 2 with weight 3 and y = 6 with weight 1: mean 3, spread sqrt(3). */
  KivProfile *p = kiv_profile_new(1, 0.0, 1.0, NULL);
  KivHistogram *h = KIV_HISTOGRAM(p);
  kiv_profile_fill(p, 0.5, 2.0, 3.0);
  kiv_profile_fill(p, 0.5, 6.0, 1.0);
  g_assert_cmpfloat(h->y[0], ==, 3.0);
  g_assert_cmpfloat(p->s[0], ==, 12.0);
  g_assert_cmpfloat(read_array(p, "ntotal")[0], ==, 4.0);
  g_assert_cmpfloat_with_epsilon(read_array(p, "rms")[0], std::sqrt(3.0), 1e-12);
  g_assert_true(kiv_histogram_vmax(h) == 3.0 && kiv_histogram_vmin(h) == 0.0);
  /* The statistics describe both variables. */
  g_assert_cmpfloat(kiv_histogram_entries(h), ==, 4.0);
  g_assert_cmpfloat(kiv_stats_get_mean(h->stat, 0), ==, 0.5);
  g_assert_cmpfloat(kiv_stats_get_mean(h->stat, 1), ==, 3.0);

  /* Through the histogram interface: weight 1, under the lock, "changed". */
  kivtest::Counter changed;
  changed.connect(p, "changed");
  kiv_histogram_fill(h, 0.5, 7.0);
  g_assert_cmpint(changed.n, ==, 1);
  g_assert_cmpfloat(p->n[0], ==, 5.0);
  g_assert_cmpfloat(h->y[0], ==, 19.0 / 5.0);

  /* Outside the range nothing at all happens. */
  for (double x : {1.0, 3.0, -1.0, (double)NAN, (double)INFINITY, -1e308}) {
    kiv_profile_fill(p, x, 100.0, 1.0);
    kiv_histogram_fill(h, x, 100.0);
  }
  g_assert_cmpfloat(kiv_histogram_entries(h), ==, 5.0);
  g_assert_cmpfloat(p->n[0], ==, 5.0);
  g_assert_cmpfloat(kiv_histogram_vmax(h), ==, 19.0 / 5.0);

  KivHistogram *plain = kiv_histogram_new(1, 0.0, 1.0, NULL);
  kiv_expect_critical("*kiv_profile_fill*KIV_IS_PROFILE*");
  kiv_profile_fill(reinterpret_cast<KivProfile *>(plain), 0.5, 1.0, 1.0);
  kiv_expect_critical("*kiv_profile_fill*KIV_IS_PROFILE*");
  kiv_profile_fill(NULL, 0.5, 1.0, 1.0);
  g_test_assert_expected_messages();
  g_assert_cmpfloat(plain->y[0], ==, 0.0);
  g_object_unref(plain);
  g_object_unref(p);
}

void test_reset() {
  KivProfile *p = kiv_profile_new(2, 0.0, 2.0, NULL);
  KivHistogram *h = KIV_HISTOGRAM(p);
  kiv_profile_fill(p, 0.5, 4.0, 2.0);
  kiv_profile_fill(p, 1.5, -3.0, 1.0);
  kivtest::Counter changed;
  changed.connect(p, "changed");
  kiv_histogram_reset(h);
  g_assert_cmpint(changed.n, ==, 1);
  /* Sums cleared; means, statistics and extrema kept. */
  g_assert_true(p->n[0] == 0.0 && p->s[1] == 0.0);
  g_assert_true(h->y[0] == 4.0 && h->y[1] == -3.0);
  g_assert_cmpfloat(kiv_histogram_entries(h), ==, 3.0);
  g_assert_cmpfloat(kiv_histogram_vmin(h), ==, -3.0);
  /* A bin filled again starts afresh; the spread of one not filled again
   * reads from its stale mean. */
  kiv_profile_fill(p, 0.5, 10.0, 1.0);
  g_assert_true(h->y[0] == 10.0 && p->n[0] == 1.0);
  std::vector<double> rms = read_array(p, "rms");
  g_assert_true(rms[0] == 0.0 && rms[1] == 3.0);
  g_object_unref(p);
}

void test_range_handler() {
  double means[] = {1, 2, 3};
  KivProfile *p = kiv_profile_new(3, 0.0, 3.0, means);
  KivHistogram *h = KIV_HISTOGRAM(p);
  g_assert_true(h->y == means && h->owner == 0);
  kiv_profile_fill(p, 1.5, 5.0, 1.0);
  g_assert_cmpfloat(means[1], ==, 5.0);

  /* A new range relabels the bins: means stay, sums start over. */
  g_object_set(p, "xmin", 3.0, "xmax", 6.0, NULL);
  g_assert_true(h->y[1] == 5.0 && p->n[1] == 0.0);
  /* A new count: everything starts over, the caller's array untouched. */
  g_object_set(p, "nx", 5, NULL);
  std::vector<double> n = read_array(p, "ntotal");
  g_assert_cmpint(n.size(), ==, 5);
  for (int b = 0; b < 5; b++)
    g_assert_true(h->y[b] == 0.0 && p->s[b] == 0.0 && n[b] == 0.0);
  g_assert_cmpfloat(means[2], ==, 3.0);

  /* A new step changes the count; the sums follow it. */
  g_object_set(p, "xstep", 1.5, NULL);
  g_assert_cmpint(KIV_FUNCTION(p)->nbin, ==, 2);
  kiv_profile_fill(p, 5.9, 2.0, 1.0);
  g_assert_cmpfloat(p->n[1], ==, 1.0);

  /* While notifications are held back the sums are the old size: fills
   * into bins they do not cover are dropped, and the arrays read 0 there. */
  g_object_freeze_notify(G_OBJECT(p));
  g_object_set(p, "nx", 8, NULL);
  kiv_profile_fill(p, 5.9, 2.0, 1.0);
  g_assert_cmpfloat(h->y[7], ==, 0.0);
  kiv_profile_fill(p, 3.1, 2.0, 4.0);
  g_assert_cmpfloat(p->n[0], ==, 4.0);
  std::vector<double> rms = read_array(p, "rms");
  g_assert_true(rms.size() == 8 && rms[7] == 0.0);
  g_object_thaw_notify(G_OBJECT(p));
  kiv_profile_fill(p, 5.9, 2.0, 1.0);
  g_assert_cmpfloat(p->n[7], ==, 1.0);

  /* A rebin re-allocates the sums from inside the lock. */
  kiv_histogram_rebin(h, 4, 3.0, 6.0);
  g_assert_cmpint(read_array(p, "ntotal").size(), ==, 4);
  g_object_unref(p);
}

/* A first fill of weight 0, or weights that cancel, leave no weight to
 * divide by: such a bin reads as never filled. */
void test_empty_weight_sum() {
  KivProfile *p = kiv_profile_new(3, 0.0, 3.0, NULL);
  KivHistogram *h = KIV_HISTOGRAM(p);
  kiv_profile_fill(p, 0.5, 8.0, 0.0);
  kiv_profile_fill(p, 1.5, 8.0, 2.0);
  kiv_profile_fill(p, 1.5, 3.0, -2.0);
  for (int b = 0; b < 2; b++)
    g_assert_true(h->y[b] == 0.0 && p->s[b] == 0.0 && p->n[b] == 0.0);
  for (double v : read_array(p, "rms"))
    g_assert_true(std::isfinite(v));
  kiv_profile_fill(p, 1.5, 6.0, 0.5);
  g_assert_true(h->y[1] == 6.0 && p->s[1] == 36.0);
  /* Huge values are averaged as given: no crash, the arithmetic shows. */
  kiv_profile_fill(p, 2.5, 1e308, 1.0);
  kiv_profile_fill(p, 2.5, 1e308, 1.0);
  g_assert_true(h->y[2] == INFINITY && p->s[2] == INFINITY);
  g_object_unref(p);
}

/* Four producers fill under the function's lock while this thread takes
 * point arrays and the weight sums under the same lock.  Bin b receives
 * the values b and b + 2 in equal numbers: mean b + 1 and spread 1 in any
 * order. */
constexpr int kBins = 8;
constexpr int kPerProducer = 20000;

struct ProfileRun {
  KivProfile *p;
  std::atomic<int> running{4};
};

gpointer profile_producer(gpointer data) {
  ProfileRun *run = static_cast<ProfileRun *>(data);
  for (int k = 0; k < kPerProducer; k++) {
    int b = k / 2 % kBins;
    kiv_function_lock(KIV_FUNCTION(run->p));
    kiv_profile_fill(run->p, b + 0.25, k % 2 ? b + 2.0 : b, 1.0);
    kiv_function_unlock(KIV_FUNCTION(run->p));
  }
  run->running--;
  return NULL;
}

void test_threads() {
  ProfileRun run;
  run.p = kiv_profile_new(kBins, 0.0, kBins, NULL);
  KivFunction *f = KIV_FUNCTION(run.p);
  GThread *threads[4];
  for (auto &t : threads)
    t = g_thread_new("producer", profile_producer, &run);
  std::vector<double> last(kBins, 0.0);
  for (int arrays = 0; run.running > 0 || arrays == 0; arrays++) {
    KivTuple t = {0, NULL};
    kiv_function_get_array(f, &t, 0.0, kBins);
    g_assert_cmpint(t.n, ==, 3 * kBins + 1);
    for (int b = 0; b < kBins; b++) {
      double mean = t.P[3 * b + 1].y;
      g_assert_cmpfloat(t.P[3 * b + 2].y, ==, mean);
      /* A bin's mean always lies between the values filled into it. */
      g_assert_true(mean == 0.0 || (mean >= b - 1e-9 && mean <= b + 2.0 + 1e-9));
    }
    kiv_function_clear_tuple(&t);
    kiv_function_lock(f);
    std::vector<double> n = read_array(run.p, "ntotal");
    kiv_function_unlock(f);
    for (int b = 0; b < kBins; b++) {
      g_assert_cmpfloat(n[b], >=, last[b]);
      last[b] = n[b];
    }
  }
  for (auto &t : threads)
    g_thread_join(t);

  std::vector<double> n = read_array(run.p, "ntotal"), rms = read_array(run.p, "rms");
  for (int b = 0; b < kBins; b++) {
    g_assert_cmpfloat(n[b], ==, 4.0 * kPerProducer / kBins);
    g_assert_cmpfloat_with_epsilon(KIV_HISTOGRAM(run.p)->y[b], b + 1.0, 1e-9);
    g_assert_cmpfloat_with_epsilon(rms[b], 1.0, 1e-6);
  }
  g_assert_cmpfloat(kiv_histogram_entries(KIV_HISTOGRAM(run.p)), ==, 4.0 * kPerProducer);
  g_object_unref(run.p);
}

} // namespace

int main(int argc, char **argv) {
  g_test_init(&argc, &argv, NULL);
  g_test_add_func("/profile/means-and-spread", test_means_and_spread);
  g_test_add_func("/profile/reset", test_reset);
  g_test_add_func("/profile/range-handler", test_range_handler);
  g_test_add_func("/profile/empty-weight-sum", test_empty_weight_sum);
  g_test_add_func("/profile/threads", test_threads);
  return g_test_run();
}
