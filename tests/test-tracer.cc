/* Tests of KivTracer: the ring and its oldest-first array, the statistics
 * of the history, new lengths from charts and properties, and producers
 * in threads.  Batched fills are compared with single fills in
 * test-histogram. */
#include "kiv-test.h"

#include <atomic>

namespace {

std::vector<double> history(KivTracer *tr) {
  KivTuple t = {0, NULL};
  kiv_function_get_array(KIV_FUNCTION(tr), &t, 0.0, 0.0);
  std::vector<double> v;
  for (int i = 0; i < t.n; i++)
    v.push_back(t.P[i].x == i ? t.P[i].y : NAN); /* oldest first at x = 0, 1, 2... */
  return kiv_function_clear_tuple(&t), v;
}

void assert_history(KivTracer *tr, std::vector<double> want) { g_assert_true(history(tr) == want); }

/* Count and mean of the history, extremes of all values ever filled. */
#define assert_stats(tr, n, mean, lo, hi)                                                          \
  kiv_assert_each({kiv_histogram_entries(KIV_HISTOGRAM(tr)), n}, {kiv_tracer_get_mean(tr), mean},  \
                  {kiv_tracer_get_minimum(tr), lo}, {kiv_tracer_get_maximum(tr), hi})

void fill_all(KivTracer *tr, std::initializer_list<double> values) {
  for (double v : values) kiv_histogram_fill(KIV_HISTOGRAM(tr), v, 1.0);
}

void test_ring() {
  kiv_expect_critical("kiv_tracer_new: assertion 'n>0' failed");
  g_assert_null(kiv_tracer_new(0));
  KivTracer *tr = kiv_tracer_new(5);
  KivFunction *f = KIV_FUNCTION(tr);
  g_assert_true(f->nbin == 5 && f->xmin == 0.0 && f->xmax == 5.0 && f->step == 1.0);
  assert_history(tr, {});
  kivtest::Counter changed;
  changed.connect(tr, "changed");
  fill_all(tr, {1, 2, 3});
  assert_history(tr, {1, 2, 3});
  g_assert_cmpfloat_with_epsilon(kiv_tracer_get_rms(tr), 2.0 / 3.0, 1e-15);
  fill_all(tr, {4, 5, 6, 7});
  assert_history(tr, {3, 4, 5, 6, 7});
  assert_stats(tr, 5, 5.0, 1.0, 7.0);
  kiv_assert_each({changed.n, 7}, {tr->index, 2}, {tr->npoints, 5}, {kiv_tracer_get_rms(tr), 2.0},
                  {kiv_histogram_vmax(KIV_HISTOGRAM(tr)), 7.0},
                  {kiv_histogram_vmin(KIV_HISTOGRAM(tr)), 0.0},
                  /* Evaluation reads the ring by place, not by age. */
                  {kiv_function_eval(f, 0.5), 6.0}, {kiv_function_eval(f, 2.5), 3.0});
  /* The weight is ignored. */
  kiv_histogram_fill(KIV_HISTOGRAM(tr), 8.0, 0.0);
  kiv_histogram_fill(KIV_HISTOGRAM(tr), 9.0, 10.0);
  assert_history(tr, {5, 6, 7, 8, 9});
  assert_stats(tr, 5, 7.0, 1.0, 9.0);

  /* A new length empties the ring and the history with it; the extremes
   * of all values filled stay.  A length below 1 keeps the count. */
  g_object_set(tr, "xmin", 3.0, "xmax", 7.9, NULL); /* "xmin" is fixed at 0 */
  g_assert_true(f->xmin == 0.0 && f->nbin == 7 && f->xmax == 7.0 && f->step == 1.0 &&
                KIV_HISTOGRAM(tr)->y[6] == 0);
  assert_stats(tr, 0, 0.0, 1.0, 9.0);
  fill_all(tr, {10, 20});
  assert_history(tr, {10, 20});
  assert_stats(tr, 2, 15.0, 1.0, 20.0);
  g_object_set(tr, "xmax", 0.5, NULL);
  g_assert_cmpint(f->nbin, ==, 7);
  assert_history(tr, {});
  /* A reset clears the extremes too; the next value starts a new trace. */
  fill_all(tr, {5, 6});
  kiv_histogram_reset(KIV_HISTOGRAM(tr));
  assert_history(tr, {});
  assert_stats(tr, 0, 0.0, G_MAXDOUBLE, -G_MAXDOUBLE);
  g_assert_true(changed.n == 14 && kiv_histogram_vmax(KIV_HISTOGRAM(tr)) == 0.0);
  fill_all(tr, {-4});
  assert_history(tr, {-4});
  assert_stats(tr, 1, -4.0, -4.0, -4.0);
  g_object_unref(tr);
}

void test_resize() {
  KivTracer *tr = kiv_tracer_new(5);
  fill_all(tr, {1, 2, 3, 4, 5, 6, 7});
  KivFunction *f = KIV_FUNCTION(tr);
  kivtest::Counter range;
  range.connect(tr, "range-changed");
  /* The same width, or one that gives no ring, changes nothing. */
  for (int bad : {5, 0, -1, G_MININT, 1000000, G_MAXINT})
    g_assert_cmpint(kiv_function_resize(f, bad, 10), ==, 0);
  assert_history(tr, {3, 4, 5, 6, 7});
  /* Shrinking keeps the first places; the statistics still hold the
   * five values 3 to 7, and the next fill drops the one it overwrites. */
  g_assert_cmpint(kiv_function_resize(f, 3, 0), ==, 1);
  g_assert_true(f->nbin == 3 && f->xmax == 3.0 && f->step == 1.0 && tr->index == 2 &&
                tr->npoints == 3);
  assert_history(tr, {3, 6, 7});
  assert_stats(tr, 5, 5.0, 1.0, 7.0);
  fill_all(tr, {8});
  assert_history(tr, {6, 7, 8});
  g_assert_true(kiv_tracer_get_mean(tr) == 30.0 / 5.0 && range.n == 0);
  /* Growing lays the history out oldest first and shows no place that
   * holds no value. */
  g_assert_cmpint(kiv_function_resize(f, 6, 0), ==, 1);
  assert_history(tr, {6, 7, 8});
  fill_all(tr, {9, 10, 11, 12});
  assert_history(tr, {7, 8, 9, 10, 11, 12});
  g_object_unref(tr);
  /* Subtraction cannot take a NaN or an infinity back out of the sums:
   * they are rebuilt until the offending values have left the ring. */
  tr = kiv_tracer_new(3);
  fill_all(tr, {1, NAN, 2});
  g_assert_true(std::isnan(kiv_tracer_get_mean(tr)));
  fill_all(tr, {3, INFINITY});
  g_assert_cmpfloat(kiv_tracer_get_mean(tr), ==, INFINITY);
  fill_all(tr, {1e308, 4, 5});
  g_assert_cmpfloat(kiv_tracer_get_mean(tr), ==, (1e308 + 9) / 3);
  fill_all(tr, {6});
  assert_history(tr, {4, 5, 6});
  assert_stats(tr, 3, 5.0, 1.0, INFINITY);
  g_assert_cmpfloat_with_epsilon(kiv_tracer_get_rms(tr), 2.0 / 3.0, 1e-12);
  g_object_unref(tr);
}

/* Four producers fill distinct values while this thread takes arrays:
 * each shows every producer's values in the order filled.  At the end
 * the history holds the last 64 values, one producer's last among them. */
std::atomic<int> running;

gpointer producer(gpointer data) {
  static std::atomic<int> ids{1};
  double id = ids++;
  for (int seq = 1; seq <= 3000; seq++)
    kiv_histogram_fill(KIV_HISTOGRAM(data), id * 1e7 + seq, 1.0);
  return running--, nullptr;
}

void test_threads() {
  KivTracer *tr = kiv_tracer_new(64);
  GThread *threads[4];
  running = 4;
  for (auto &t : threads) t = g_thread_new("producer", producer, tr);
  for (bool last = false; !last;) {
    last = running == 0;
    std::vector<double> h = history(tr);
    double newest[5] = {0, 0, 0, 0, 0};
    for (double v : h) {
      g_assert_cmpfloat(v, >, newest[int(v / 1e7)]);
      newest[int(v / 1e7)] = v;
    }
    g_assert_true(h.size() <= 64 && (!last || (h.size() == 64 && fmod(h[63], 1e7) == 3000)));
  }
  for (GThread *t : threads) g_thread_join(t);
  g_assert_cmpfloat(kiv_histogram_entries(KIV_HISTOGRAM(tr)), ==, 64);
  g_object_unref(tr);
}

} // namespace

int main(int argc, char **argv) {
  g_test_init(&argc, &argv, NULL);
  g_test_add_func("/tracer/ring-and-properties", test_ring);
  g_test_add_func("/tracer/resize-and-bad-values", test_resize);
  g_test_add_func("/tracer/threads", test_threads);
  return g_test_run();
}
