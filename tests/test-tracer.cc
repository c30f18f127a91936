/* Tests of KivTracer: the ring and its oldest-first array, the history
 * statistics, new lengths from charts and properties, and threads. */
#include "kiv-test.h"

#include <atomic>
#include <unordered_map>
#include <vector>

/* A tracer that logs every value its fill slot stores, in the order the
 * lock let them in, so that threaded tests know the true history. */
typedef struct {
  KivTracer parent;
} LoggingTracer;
typedef struct {
  KivTracerClass parent_class;
} LoggingTracerClass;

G_DEFINE_TYPE(LoggingTracer, logging_tracer, KIV_TYPE_TRACER)

static std::vector<double> fill_log;

static void logging_fill(KivHistogram *h, double x, double w) {
  fill_log.push_back(x);
  KIV_HISTOGRAM_CLASS(logging_tracer_parent_class)->fill(h, x, w);
}

static void logging_tracer_class_init(LoggingTracerClass *klass) {
  KIV_HISTOGRAM_CLASS(klass)->fill = logging_fill;
}

static void logging_tracer_init(LoggingTracer *) {}

namespace {

std::vector<double> history(KivTracer *tr) {
  KivTuple t = {0, NULL};
  kiv_function_get_array(KIV_FUNCTION(tr), &t, 0.0, 0.0);
  std::vector<double> v;
  for (int i = 0; i < t.n; i++) {
    g_assert_cmpfloat(t.P[i].x, ==, i);
    v.push_back(t.P[i].y);
  }
  kiv_function_clear_tuple(&t);
  return v;
}

void assert_history(KivTracer *tr, std::vector<double> want) {
  std::vector<double> got = history(tr);
  g_assert_cmpint(got.size(), ==, want.size());
  for (size_t i = 0; i < want.size(); i++)
    g_assert_cmpfloat(got[i], ==, want[i]);
}

/* Count, mean and extremes of the history. */
void assert_stats(KivTracer *tr, double entries, double mean, double lo, double hi) {
  g_assert_cmpfloat(kiv_histogram_entries(KIV_HISTOGRAM(tr)), ==, entries);
  g_assert_cmpfloat(kiv_tracer_get_mean(tr), ==, mean);
  g_assert_cmpfloat(kiv_tracer_get_minimum(tr), ==, lo);
  g_assert_cmpfloat(kiv_tracer_get_maximum(tr), ==, hi);
}

void fill_all(KivTracer *tr, std::initializer_list<double> values) {
  for (double v : values)
    kiv_histogram_fill(KIV_HISTOGRAM(tr), v, 1.0);
}

KivTracer *full_tracer_of_five() {
  KivTracer *tr = kiv_tracer_new(5);
  fill_all(tr, {1, 2, 3, 4, 5, 6, 7});
  return tr;
}

void test_ring() {
  kiv_expect_critical("*kiv_tracer_new*n>0*");
  g_assert_null(kiv_tracer_new(0));
  g_test_assert_expected_messages();

  KivTracer *tr = kiv_tracer_new(5);
  KivFunction *f = KIV_FUNCTION(tr);
  g_assert_true(f->nbin == 5 && f->xmin == 0.0 && f->xmax == 5.0 && f->step == 1.0);
  assert_history(tr, {});
  kivtest::Counter changed;
  changed.connect(tr, "changed");
  fill_all(tr, {1, 2, 3});
  g_assert_cmpint(changed.n, ==, 3);
  assert_history(tr, {1, 2, 3});
  g_assert_cmpfloat_with_epsilon(kiv_tracer_get_rms(tr), 2.0 / 3.0, 1e-12);

  fill_all(tr, {4, 5, 6, 7});
  assert_history(tr, {3, 4, 5, 6, 7});
  g_assert_true(tr->index == 2 && tr->npoints == 5);
  assert_stats(tr, 5, 5.0, 1.0, 7.0);
  g_assert_cmpfloat(kiv_tracer_get_rms(tr), ==, 2.0);
  g_assert_true(kiv_histogram_vmax(KIV_HISTOGRAM(tr)) == 7.0);
  g_assert_true(kiv_histogram_vmin(KIV_HISTOGRAM(tr)) == 0.0);
  /* Evaluation reads the ring by place, not by age. */
  g_assert_cmpfloat(kiv_function_eval(f, 0.5), ==, 6.0);
  g_assert_cmpfloat(kiv_function_eval(f, 2.5), ==, 3.0);
  /* The weight is ignored. */
  kiv_histogram_fill(KIV_HISTOGRAM(tr), 8.0, 0.0);
  kiv_histogram_fill(KIV_HISTOGRAM(tr), 9.0, 10.0);
  assert_history(tr, {5, 6, 7, 8, 9});
  assert_stats(tr, 5, 7.0, 1.0, 9.0);
  g_object_unref(tr);
}

/* A new length or a reset empties the ring and the history with it; the
 * next value is the first of a new trace. */
void test_properties_and_reset() {
  KivTracer *tr = full_tracer_of_five();
  KivFunction *f = KIV_FUNCTION(tr);
  kivtest::Counter range;
  range.connect(tr, "range-changed");
  /* "xmin" is fixed at 0 and "xstep" at 1. */
  g_object_set(tr, "xmin", 3.0, NULL);
  kiv_expect_warning("*invalid property id*xstep*KivTracer*");
  g_object_set(tr, "xstep", 2.0, NULL);
  g_test_assert_expected_messages();
  g_assert_true(f->xmin == 0.0 && f->step == 1.0);
  assert_history(tr, {3, 4, 5, 6, 7});
  g_assert_cmpint(range.n, ==, 0);

  /* The extremes of all values ever filled stay. */
  g_object_set(tr, "xmax", 7.9, NULL);
  g_assert_cmpint(range.n, ==, 1);
  g_assert_true(f->nbin == 7 && f->xmax == 7.0 && f->step == 1.0);
  for (int i = 0; i < 7; i++)
    g_assert_cmpfloat(KIV_HISTOGRAM(tr)->y[i], ==, 0.0);
  assert_history(tr, {});
  g_assert_cmpint(tr->npoints, ==, 0);
  assert_stats(tr, 0, 0.0, 1.0, 7.0);
  fill_all(tr, {10, 20});
  assert_history(tr, {10, 20});
  assert_stats(tr, 2, 15.0, 1.0, 20.0);

  g_object_set(tr, "nx", 3, NULL);
  g_assert_cmpfloat(f->xmax, ==, 3.0);
  assert_history(tr, {});
  fill_all(tr, {1, 2, 3, 4});
  assert_history(tr, {2, 3, 4});
  /* "xmax" below 1 keeps the count, as a resize does. */
  g_object_set(tr, "xmax", 0.5, NULL);
  g_assert_cmpint(f->nbin, ==, 3);
  assert_history(tr, {});

  /* A reset clears the extremes too. */
  fill_all(tr, {5, 6});
  kivtest::Counter changed;
  changed.connect(tr, "changed");
  kiv_histogram_reset(KIV_HISTOGRAM(tr));
  g_assert_cmpint(changed.n, ==, 1);
  assert_history(tr, {});
  g_assert_cmpfloat(kiv_histogram_entries(KIV_HISTOGRAM(tr)), ==, 0.0);
  g_assert_cmpfloat(kiv_tracer_get_maximum(tr), ==, -G_MAXDOUBLE);
  g_assert_cmpfloat(kiv_histogram_vmax(KIV_HISTOGRAM(tr)), ==, 0.0);
  fill_all(tr, {-4});
  assert_history(tr, {-4});
  g_assert_cmpint(tr->index, ==, 1);
  assert_stats(tr, 1, -4.0, -4.0, -4.0);
  g_object_unref(tr);
}

void test_resize() {
  KivTracer *tr = full_tracer_of_five();
  KivFunction *f = KIV_FUNCTION(tr);
  kivtest::Counter range;
  range.connect(tr, "range-changed");
  /* The same width, or one that gives no ring, changes nothing. */
  for (int bad : {5, 0, -1, G_MININT, 1000000, G_MAXINT})
    g_assert_cmpint(kiv_function_resize(f, bad, 10), ==, 0);
  g_assert_cmpint(f->nbin, ==, 5);
  assert_history(tr, {3, 4, 5, 6, 7});

  /* Shrinking keeps the first places. */
  g_assert_cmpint(kiv_function_resize(f, 3, 0), ==, 1);
  g_assert_true(f->nbin == 3 && f->xmax == 3.0 && f->step == 1.0);
  g_assert_true(tr->index == 2 && tr->npoints == 3);
  assert_history(tr, {3, 6, 7});
  g_assert_cmpint(range.n, ==, 0);
  /* The statistics still hold the five values 3 to 7; the next fill drops
   * the value it overwrites (3) from them. */
  assert_stats(tr, 5, 5.0, 1.0, 7.0);
  fill_all(tr, {8});
  assert_history(tr, {6, 7, 8});
  g_assert_cmpfloat(kiv_tracer_get_mean(tr), ==, 30.0 / 5.0);

  /* Growing lays the history out oldest first and delivers no place that
   * holds no value. */
  g_assert_cmpint(kiv_function_resize(f, 6, 0), ==, 1);
  assert_history(tr, {6, 7, 8});
  g_assert_cmpfloat(kiv_tracer_get_mean(tr), ==, 30.0 / 5.0);
  fill_all(tr, {9, 10, 11, 12});
  assert_history(tr, {7, 8, 9, 10, 11, 12});
  g_object_unref(tr);

  /* Also when the history wraps round the end of the ring. */
  tr = full_tracer_of_five();
  g_assert_cmpint(kiv_function_resize(KIV_FUNCTION(tr), 8, 0), ==, 1);
  assert_history(tr, {3, 4, 5, 6, 7});
  fill_all(tr, {8});
  assert_history(tr, {3, 4, 5, 6, 7, 8});
  g_assert_cmpfloat(kiv_tracer_get_mean(tr), ==, 5.5);
  g_assert_cmpfloat_with_epsilon(kiv_tracer_get_rms(tr), 17.5 / 6.0, 1e-12);
  g_object_unref(tr);

  /* A ring lent by the caller is left to the caller. */
  double ring[4] = {0, 0, 0, 0};
  tr = kiv_tracer_new(4);
  g_object_set(tr, "ptr", ring, NULL);
  fill_all(tr, {1, 2});
  g_assert_cmpfloat(ring[1], ==, 2.0);
  g_assert_cmpint(kiv_function_resize(KIV_FUNCTION(tr), 9, 0), ==, 1);
  g_assert_cmpint(KIV_HISTOGRAM(tr)->owner, ==, 1);
  assert_history(tr, {1, 2});
  fill_all(tr, {3});
  g_assert_cmpfloat(ring[2], ==, 0.0);
  g_object_unref(tr);
}

void test_bad_values() {
  KivTracer *tr = kiv_tracer_new(3);
  fill_all(tr, {1, NAN, 2});
  g_assert_true(std::isnan(kiv_tracer_get_mean(tr)));
  fill_all(tr, {3, INFINITY});
  g_assert_cmpfloat(kiv_tracer_get_mean(tr), ==, INFINITY);
  /* Once the offending values have left the ring the figures recover. */
  fill_all(tr, {1e308, 4, 5});
  g_assert_cmpfloat(kiv_tracer_get_mean(tr), ==, (1e308 + 9) / 3);
  fill_all(tr, {6});
  assert_history(tr, {4, 5, 6});
  assert_stats(tr, 3, 5.0, 1.0, INFINITY);
  g_assert_cmpfloat_with_epsilon(kiv_tracer_get_rms(tr), 2.0 / 3.0, 1e-12);
  g_object_unref(tr);
}

/* Threads: four producers fill distinct values while this thread takes
 * arrays (and, given widths, resizes the ring before each as a chart
 * would).  Returns the arrays seen and the order the lock let values in. */
struct Producer {
  KivTracer *tr;
  int id;
  gint64 deadline;
  std::atomic<int> *running;
};

gpointer trace_producer(gpointer data) {
  auto *p = static_cast<Producer *>(data);
  for (int seq = 1; seq <= 200000 && g_get_monotonic_time() < p->deadline; seq++)
    kiv_histogram_fill(KIV_HISTOGRAM(p->tr), p->id * 1e7 + seq, 1.0);
  (*p->running)--;
  return NULL;
}

std::vector<std::vector<double>> run_producers(KivTracer *tr, int width_a, int width_b,
                                               std::unordered_map<double, size_t> *order) {
  fill_log.clear();
  std::atomic<int> running{4};
  Producer producers[4];
  GThread *threads[4];
  for (int i = 0; i < 4; i++) {
    producers[i] = {tr, i + 1, g_get_monotonic_time() + G_USEC_PER_SEC / 2, &running};
    threads[i] = g_thread_new("producer", trace_producer, &producers[i]);
  }
  std::vector<std::vector<double>> seen;
  for (int k = 0; running > 0; k++) {
    int width = k % 2 ? width_a : width_b;
    if (width > 0)
      g_assert_cmpint(kiv_function_resize(KIV_FUNCTION(tr), width, 300), ==, 1);
    std::vector<double> s = history(tr);
    if (width > 0)
      g_assert_cmpint(s.size(), <=, width);
    if (seen.size() < 20000)
      seen.push_back(std::move(s));
  }
  for (GThread *t : threads)
    g_thread_join(t);
  for (size_t i = 0; i < fill_log.size(); i++)
    (*order)[fill_log[i]] = i;
  g_assert_cmpint(order->size(), ==, fill_log.size());
  return seen;
}

KivTracer *logging_tracer(int n) {
  return KIV_TRACER(g_object_new(logging_tracer_get_type(), "nx", n, "xmin", 0.0, "xmax",
                                 static_cast<double>(n), "ptr", NULL, NULL));
}

/* Every array is the latest run of the values in the order the lock let
 * them in. */
void test_threads() {
  constexpr int kLength = 64;
  KivTracer *tr = logging_tracer(kLength);
  std::unordered_map<double, size_t> order;
  auto seen = run_producers(tr, 0, 0, &order);
  g_assert_cmpint(fill_log.size(), >, 10 * kLength);
  for (const auto &s : seen) {
    if (s.empty())
      continue;
    size_t first = order.at(s[0]);
    g_assert_cmpint(s.size(), ==, MIN(first + s.size(), static_cast<size_t>(kLength)));
    for (size_t i = 1; i < s.size(); i++)
      g_assert_cmpint(order.at(s[i]), ==, first + i);
  }
  std::vector<double> last = history(tr);
  g_assert_cmpint(last.size(), ==, kLength);
  double sum = 0.0;
  for (int i = 0; i < kLength; i++) {
    g_assert_cmpfloat(last[i], ==, fill_log[fill_log.size() - kLength + i]);
    sum += last[i];
  }
  g_assert_cmpfloat(kiv_histogram_entries(KIV_HISTOGRAM(tr)), ==, kLength);
  g_assert_cmpfloat(kiv_tracer_get_mean(tr), ==, sum / kLength);
  g_object_unref(tr);
}

/* With the width of a chart changing all the time, an array shows only
 * values filled, or 0. */
void test_threads_resizing() {
  KivTracer *tr = logging_tracer(32);
  std::unordered_map<double, size_t> order;
  for (const auto &s : run_producers(tr, 48, 17, &order))
    for (double v : s)
      g_assert_true(v == 0.0 || order.count(v) == 1);
  g_object_unref(tr);
}

} // namespace

int main(int argc, char **argv) {
  g_test_init(&argc, &argv, NULL);
  g_test_add_func("/tracer/ring", test_ring);
  g_test_add_func("/tracer/properties-and-reset", test_properties_and_reset);
  g_test_add_func("/tracer/resize", test_resize);
  g_test_add_func("/tracer/bad-values", test_bad_values);
  g_test_add_func("/tracer/threads", test_threads);
  g_test_add_func("/tracer/threads-resizing", test_threads_resizing);
  return g_test_run();
}
