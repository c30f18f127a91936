/* Tests of KivTracer: the ring and its oldest-first array, the statistics
 * of the history, new lengths from charts and properties, and producers
 * in threads.  Batched fills are compared with single fills in
 * test-histogram. */
#include "kiv-test.h"

#include <atomic>

namespace {

/* The history, oldest first at x = 0, 1, 2..., after filling values. */
std::vector<double> fill(KivTracer *tr, std::initializer_list<double> values) {
  for (double v : values) kiv_histogram_fill(KIV_HISTOGRAM(tr), v, 1.0);
  KivTuple t = {0, NULL};
  kiv_function_get_array(KIV_FUNCTION(tr), &t, 0.0, 0.0);
  std::vector<double> v;
  for (int i = 0; i < t.n; i++) v.push_back(t.P[i].x == i ? t.P[i].y : NAN);
  kiv_function_clear_tuple(&t);
  return v;
}

/* Count and mean of the history, extremes of all values ever filled. */
#define assert_stats(tr, n, mean, lo, hi)                                                          \
  kiv_assert_each({kiv_histogram_entries(KIV_HISTOGRAM(tr)), n}, {kiv_tracer_get_mean(tr), mean},  \
                  {kiv_tracer_get_minimum(tr), lo}, {kiv_tracer_get_maximum(tr), hi})

using V = std::vector<double>;

/* Two producers fill distinct rising values while this thread takes
 * arrays: each shows every producer's values in the order filled. */
gpointer producer(gpointer tr) {
  static std::atomic<int> ids{1};
  double id = ids++;
  for (int seq = 1; seq <= 3000; seq++) kiv_histogram_fill(KIV_HISTOGRAM(tr), id * 1e7 + seq, 1);
  return NULL;
}

void test_ring_resize_threads() {
  kiv_expect_critical("kiv_tracer_new: assertion 'n>0' failed");
  g_assert_null(kiv_tracer_new(0));
  KivTracer *tr = kiv_tracer_new(5);
  KivFunction *f = KIV_FUNCTION(tr);
  kivtest::Counter changed;
  changed.connect(tr, "changed");
  g_assert_true(fill(tr, {}) == V() && fill(tr, {1, 2, 3, 4, 5, 6, 7}) == V({3, 4, 5, 6, 7}));
  assert_stats(tr, 5, 5.0, 1.0, 7.0);
  /* Evaluation reads the ring by place, not by age. */
  kiv_assert_each({changed.n, 7}, {tr->index, 2}, {kiv_tracer_get_rms(tr), 2.0},
                  {kiv_histogram_vmax(KIV_HISTOGRAM(tr)), 7.0},
                  {kiv_histogram_vmin(KIV_HISTOGRAM(tr)), 0.0}, {kiv_function_eval(f, 0.5), 6.0},
                  {kiv_function_eval(f, 2.5), 3.0});
  /* The same width, or one that gives no ring, changes nothing. */
  for (int bad : {5, 0, -1, G_MININT, 1000000, G_MAXINT})
    g_assert_cmpint(kiv_function_resize(f, bad, 10), ==, 0);
  /* Shrinking keeps the first places; the statistics still hold the
   * five values 3 to 7, and the next fill drops the one it overwrites. */
  g_assert_cmpint(kiv_function_resize(f, 3, 0), ==, 1);
  g_assert_true(f->xmax == 3.0 && tr->index == 2 && tr->npoints == 3);
  assert_stats(tr, 5, 5.0, 1.0, 7.0);
  g_assert_true(fill(tr, {8, 9}) == V({7, 8, 9}) && kiv_tracer_get_mean(tr) == 33.0 / 5.0);
  /* Growing lays the history out oldest first and shows no place that
   * holds no value. */
  g_assert_cmpint(kiv_function_resize(f, 6, 0), ==, 1);
  g_assert_true(fill(tr, {10, 11, 12}) == V({7, 8, 9, 10, 11, 12}));
  /* A new length from properties empties the ring and the history with
   * it; the extremes of all values filled stay.  "xmin" is fixed at 0. */
  g_object_set(tr, "xmin", 3.0, "xmax", 7.9, NULL);
  g_assert_true(f->xmin == 0.0 && f->nbin == 7 && f->step == 1.0 && KIV_HISTOGRAM(tr)->y[6] == 0);
  assert_stats(tr, 0, 0.0, 1.0, 12.0);
  g_assert_true(fill(tr, {10, 20}) == V({10, 20}));
  assert_stats(tr, 2, 15.0, 1.0, 20.0);
  /* A reset clears the extremes too; the next value starts a new trace. */
  kiv_histogram_reset(KIV_HISTOGRAM(tr));
  assert_stats(tr, 0, 0.0, G_MAXDOUBLE, -G_MAXDOUBLE);
  g_assert_true(fill(tr, {-4}) == V({-4}) && changed.n == 16);
  assert_stats(tr, 1, -4.0, -4.0, -4.0);
  g_object_unref(tr);
  /* Subtraction cannot take a NaN or an infinity back out of the sums:
   * they are rebuilt until the offending values have left the ring. */
  tr = kiv_tracer_new(3);
  fill(tr, {1, NAN, 2});
  g_assert_true(std::isnan(kiv_tracer_get_mean(tr)));
  fill(tr, {3, INFINITY, 1e308, 4, 5});
  g_assert_cmpfloat(kiv_tracer_get_mean(tr), ==, (1e308 + 9) / 3);
  g_assert_true(fill(tr, {6}) == V({4, 5, 6}));
  assert_stats(tr, 3, 5.0, 1.0, INFINITY);
  g_assert_cmpfloat_with_epsilon(kiv_tracer_get_rms(tr), 2.0 / 3.0, 1e-12);
  g_object_unref(tr);
  /* Producers in real threads, the ring read meanwhile: see producer(). */
  tr = kiv_tracer_new(64);
  GThread *threads[] = {g_thread_new("p", producer, tr), g_thread_new("p", producer, tr)};
  for (int k = 0; k < 200; k++) {
    double newest[3] = {0, 0, 0};
    for (double v : fill(tr, {})) {
      g_assert_cmpfloat(v, >, newest[int(v / 1e7)]);
      newest[int(v / 1e7)] = v;
    }
  }
  for (GThread *t : threads) g_thread_join(t);
  g_assert_cmpfloat(fmod(fill(tr, {}).back(), 1e7), ==, 3000);
  g_object_unref(tr);
}

} // namespace

int main(int argc, char **argv) {
  g_test_init(&argc, &argv, NULL);
  g_test_add_func("/tracer/ring-resize-threads", test_ring_resize_threads);
  return g_test_run();
}
