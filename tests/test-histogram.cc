/* Tests of KivHistogram: filling, contents on loan, bin access, the step
 * outline, statistics, re-sizing, rebinning, and filling from threads. */
#include "kiv-test.h"

#include <atomic>
#include <cstring>
#include <vector>

namespace {

double sum_contents(KivHistogram *h) {
  double s = 0.0;
  for (int i = 0; i < KIV_FUNCTION(h)->nbin; i++)
    s += h->y[i];
  return s;
}

void assert_contents(KivHistogram *h, std::initializer_list<double> want) {
  g_assert_cmpint(KIV_FUNCTION(h)->nbin, ==, static_cast<int>(want.size()));
  int i = 0;
  for (double v : want)
    g_assert_cmpfloat_with_epsilon(h->y[i++], v, 1e-12);
}

/* Entries, mean and the extreme contents. */
void assert_stats(KivHistogram *h, double entries, double mean, double vmin, double vmax) {
  g_assert_cmpfloat(kiv_histogram_entries(h), ==, entries);
  g_assert_cmpfloat_with_epsilon(kiv_histogram_mean(h), mean, 1e-12);
  g_assert_cmpfloat(kiv_histogram_vmin(h), ==, vmin);
  g_assert_cmpfloat(kiv_histogram_vmax(h), ==, vmax);
}

void assert_array(KivHistogram *h, double lo, double hi, int n) {
  KivTuple t = {0, NULL};
  kiv_function_get_array(KIV_FUNCTION(h), &t, lo, hi);
  g_assert_cmpint(t.n, ==, n);
  kiv_function_clear_tuple(&t);
}

/* The lock is free again (a failed check must release it). */
void assert_unlocked(KivHistogram *h) {
  g_assert_true(kiv_function_trylock(KIV_FUNCTION(h)));
  kiv_function_unlock(KIV_FUNCTION(h));
}

gboolean count_emission(GSignalInvocationHint *, guint, const GValue *, gpointer data) {
  static_cast<kivtest::Counter *>(data)->n++;
  return TRUE;
}

void test_new_and_fill() {
  /* Construction emits "changed" and "range-changed" once each, before a
   * handler could be connected: counted with emission hooks. */
  kivtest::Counter hooked[2];
  const std::pair<GType, const char *> sigs[] = {{KIV_TYPE_HISTOGRAM, "changed"},
                                                 {KIV_TYPE_FUNCTION, "range-changed"}};
  gpointer klass = g_type_class_ref(KIV_TYPE_HISTOGRAM);
  gulong hooks[2];
  for (int i = 0; i < 2; i++)
    hooks[i] = g_signal_add_emission_hook(g_signal_lookup(sigs[i].second, sigs[i].first), 0,
                                          count_emission, &hooked[i], NULL);
  KivHistogram *h = kiv_histogram_new(10, 0.0, 10.0, NULL);
  for (int i = 0; i < 2; i++) {
    g_signal_remove_emission_hook(g_signal_lookup(sigs[i].second, sigs[i].first), hooks[i]);
    g_assert_cmpint(hooked[i].n, ==, 1);
  }
  g_type_class_unref(klass);

  kiv_expect_critical("*kiv_histogram_new*n>0*");
  g_assert_null(kiv_histogram_new(0, 0.0, 1.0, NULL));
  g_test_assert_expected_messages();

  KivFunction *f = KIV_FUNCTION(h);
  g_assert_cmpfloat(sum_contents(h), ==, 0.0);
  kivtest::Counter changed;
  changed.connect(h, "changed");
  /* The upper edge belongs to no bin; a value less than one bin below the
   * range lands in bin 0.  Both count as entries. */
  kiv_histogram_fill(h, 10.0, 1.0);
  kiv_histogram_fill(h, -0.5, 1.0);
  g_assert_true(h->y[9] == 0.0 && h->y[0] == 1.0);
  g_assert_cmpfloat(kiv_histogram_entries(h), ==, 2.0);
  g_assert_cmpint(changed.n, ==, 2);
  kiv_histogram_fill(h, 2.5, 3.0);
  kiv_histogram_fill(h, 2.7, -5.0);
  g_assert_cmpfloat(h->y[2], ==, -2.0);
  /* Weighted sums: 10 - 0.5 + 7.5 - 13.5 over a weight of 0. */
  assert_stats(h, 0.0, 0.0, -2.0, 3.0);
  g_assert_cmpfloat(kiv_histogram_min_value(h), ==, -0.5);
  g_assert_cmpfloat(kiv_histogram_max_value(h), ==, 10.0);

  /* Values at the edges: x = xmax reads the last bin, beyond reads 0. */
  h->y[9] = 4.0;
  const double at[][2] = {{10.0, 4.0}, {10.01, 0.0}, {-0.01, 0.0}, {NAN, 0.0}, {2.0, -2.0}};
  for (const auto &p : at)
    g_assert_cmpfloat(kiv_function_eval(f, p[0]), ==, p[1]);

  kiv_histogram_reset(h);
  g_assert_cmpint(changed.n, ==, 5);
  g_assert_cmpfloat(sum_contents(h), ==, 0.0);
  assert_stats(h, 0.0, 0.0, 0.0, 0.0);
  g_assert_cmpfloat(kiv_histogram_min_value(h), ==, G_MAXDOUBLE);
  g_object_unref(h);
}

void test_statistics() {
  KivHistogram *h = kiv_histogram_new(4, 0.0, 4.0, NULL);
  for (double x : {1.0, 2.0, 3.0})
    kiv_histogram_fill(h, x, 1.0);
  assert_stats(h, 3.0, 2.0, 0.0, 1.0);
  g_assert_cmpfloat_with_epsilon(kiv_histogram_rms(h), 2.0 / 3.0, 1e-12);
  g_assert_cmpfloat_with_epsilon(kiv_histogram_stdev(h), std::sqrt(2.0 / 3.0), 1e-12);
  KivStats *s = kiv_stats_new();
  g_assert_cmpint(kiv_histogram_get_stats(h, s), ==, 0);
  g_assert_true(s->nc == 3.0 && s->s[0] == 6.0 && s->xmin[0] == 1.0 && s->xmax[0] == 3.0);

  kiv_expect_critical("*kiv_histogram_get_stats*s!=NULL*");
  g_assert_cmpint(kiv_histogram_get_stats(h, NULL), ==, -1);
  kiv_expect_critical("*kiv_histogram_get_stats*KIV_IS_STATS*");
  g_assert_cmpint(kiv_histogram_get_stats(h, reinterpret_cast<KivStats *>(h)), ==, -1);
  kiv_expect_critical("*kiv_histogram_get_stats*KIV_IS_HISTOGRAM*");
  g_assert_cmpint(kiv_histogram_get_stats(reinterpret_cast<KivHistogram *>(s), s), ==, -1);
  g_test_assert_expected_messages();
  g_object_unref(s);

  /* Recomputing from the contents puts one entry per non-empty bin at its
   * centre, weighted by the content; the value written is ignored. */
  h->y[0] = 0.0;
  h->y[1] = 2.0;
  h->y[2] = 0.0;
  h->y[3] = -1.0;
  g_object_set(h, "stats", 12345, NULL);
  assert_stats(h, 1.0, 2 * 1.5 - 3.5, -1.0, 2.0);
  g_assert_cmpfloat(kiv_histogram_min_value(h), ==, 1.5);
  g_assert_cmpfloat(kiv_histogram_max_value(h), ==, 3.5);
  g_object_unref(h);
}

void test_borrowed_contents() {
  double data[] = {0, 2, 0, 1};
  KivHistogram *h = kiv_histogram_new(4, 0.0, 4.0, data);
  g_assert_true(h->y == data && h->owner == 0);
  assert_stats(h, 3.0, (2 * 1.5 + 1 * 3.5) / 3, 0.0, 2.0);
  /* Filling works in place on the caller's array. */
  kiv_histogram_fill(h, 3.2, 1.0);
  g_assert_cmpfloat(data[3], ==, 2.0);
  int sz = 0;
  double *live = NULL;
  gpointer ptr = NULL;
  kiv_histogram_get_values(h, &sz, &live);
  g_object_get(h, "ptr", &ptr, NULL);
  g_assert_true(sz == 4 && live == data && ptr == data);
  double *copy = kiv_histogram_get_data(h);
  g_assert_true(copy != data);
  g_assert_cmpint(memcmp(copy, data, sizeof data), ==, 0);
  g_free(copy);

  /* A new bin count gives the histogram an array of its own and leaves
   * the caller's alone. */
  kivtest::Counter changed;
  changed.connect(h, "changed");
  g_object_set(h, "nx", 3, NULL);
  g_assert_true(h->y != data && h->owner == 1);
  g_assert_cmpfloat(data[1], ==, 2.0);
  assert_contents(h, {0, 0, 0});
  g_assert_cmpint(changed.n, ==, 0);
  /* Handing back the histogram's own array keeps it owned. */
  double *own = h->y;
  own[1] = 5.0;
  g_object_set(h, "ptr", own, NULL);
  g_assert_true(h->y == own && h->owner == 1);
  g_assert_cmpfloat(kiv_histogram_entries(h), ==, 5.0);
  g_assert_cmpint(changed.n, ==, 1);
  /* "ptr" = NULL replaces the contents by zeros, statistics untouched. */
  g_object_set(h, "ptr", NULL, NULL);
  g_assert_cmpint(h->owner, ==, 1);
  assert_contents(h, {0, 0, 0});
  g_assert_cmpfloat(kiv_histogram_entries(h), ==, 5.0);
  g_assert_cmpint(changed.n, ==, 2);
  /* Borrowed again, then released: the histogram never frees it. */
  double other[] = {1, 1, 1};
  g_object_set(h, "ptr", other, NULL);
  g_assert_cmpfloat(kiv_histogram_entries(h), ==, 3.0);
  g_object_unref(h);

  kiv_expect_critical("*kiv_histogram_get_values*KIV_IS_HISTOGRAM*");
  sz = 7;
  kiv_histogram_get_values(NULL, &sz, &live);
  g_test_assert_expected_messages();
  g_assert_true(sz == 0 && live == NULL);
}

void test_bin_access() {
  KivHistogram *h = kiv_histogram_new(3, 0.0, 3.0, NULL);
  kivtest::Counter changed;
  changed.connect(h, "changed");
  kiv_histogram_set_bin_content(h, 2, 7.5);
  g_assert_cmpfloat(kiv_histogram_get_bin_content(h, 2), ==, 7.5);
  g_assert_cmpint(changed.n, ==, 0);

  kiv_expect_critical("*kiv_histogram_get_bin_content*ibin>=0 && ibin<nbin*");
  g_assert_cmpfloat(kiv_histogram_get_bin_content(h, 3), ==, 0.0);
  for (int bad : {-1, G_MAXINT}) {
    kiv_expect_critical("*kiv_histogram_set_bin_content*ibin>=0 && ibin<nbin*");
    kiv_histogram_set_bin_content(h, bad, 1.0);
  }
  KivFunction *plain = kiv_function_new(3, 0.0, 1.0, NULL);
  kiv_expect_critical("*kiv_histogram_get_bin_content*KIV_IS_HISTOGRAM*");
  g_assert_cmpfloat(kiv_histogram_get_bin_content(reinterpret_cast<KivHistogram *>(plain), 0),
                    ==, 0.0);
  kiv_expect_critical("*kiv_histogram_set_bin_content*KIV_IS_HISTOGRAM*");
  kiv_histogram_set_bin_content(NULL, 0, 1.0);
  g_test_assert_expected_messages();
  g_object_unref(plain);
  assert_unlocked(h);
  g_object_unref(h);
}

void test_array() {
  KivHistogram *h = kiv_histogram_new(2, 0.0, 2.0, NULL);
  h->y[0] = 1.0;
  h->y[1] = 3.0;
  KivTuple t = {0, NULL};
  kiv_function_get_array(KIV_FUNCTION(h), &t, 0.0, 2.0);
  const KivPoint want[] = {{0, 0}, {0, 1}, {1, 1}, {1, 1}, {1, 3}, {2, 3}, {2, 0}};
  g_assert_cmpint(t.n, ==, 7);
  g_assert_cmpmem(t.P, sizeof want, want, sizeof want);
  kiv_function_clear_tuple(&t);
  /* A request narrower than a bin gives that bin; limits beyond the range
   * are clamped to the outer bins; a reversed request gives nothing. */
  kiv_function_get_array(KIV_FUNCTION(h), &t, 1.2, 1.3);
  g_assert_true(t.n == 4 && t.P[1].y == 3.0);
  kiv_function_clear_tuple(&t);
  assert_array(h, -1e308, INFINITY, 7);
  assert_array(h, NAN, NAN, 4);
  kiv_function_get_array(KIV_FUNCTION(h), &t, 1.5, 0.5);
  g_assert_true(t.n == 0 && t.P == NULL);
  g_object_unref(h);
}

void test_clone() {
  KivHistogram *h = kiv_histogram_new(4, -2.0, 2.0, NULL);
  kiv_function_set_name(KIV_FUNCTION(h), "source");
  kiv_histogram_fill(h, -1.5, 2.0);
  kiv_histogram_fill(h, 1.5, -1.0);
  kiv_histogram_fill(h, 9.0, 1.0);
  KivHistogram *c = kiv_histogram_clone(h);
  KivFunction *cf = KIV_FUNCTION(c);
  g_assert_true(cf->xmin == -2.0 && cf->xmax == 2.0 && cf->name == NULL);
  g_assert_true(c->owner == 1 && c->y != h->y);
  assert_contents(c, {2, 0, 0, -1});
  assert_stats(c, 2.0, kiv_histogram_mean(h), -1.0, 2.0);
  g_assert_cmpfloat(kiv_histogram_max_value(c), ==, 9.0);
  /* Independent of its source. */
  kiv_histogram_fill(c, 0.5, 4.0);
  assert_contents(h, {2, 0, 0, -1});
  assert_stats(h, 2.0, kiv_histogram_mean(h), -1.0, 2.0);
  g_object_unref(c);
  g_object_unref(h);
}

void test_resize_and_nx() {
  KivHistogram *h = kiv_histogram_new(4, 0.0, 4.0, NULL);
  KivFunction *f = KIV_FUNCTION(h);
  kivtest::Counter range;
  range.connect(h, "range-changed");
  kiv_histogram_fill(h, 1.0, 3.0);
  /* "nx" re-sizes and zeroes the contents; statistics stay. */
  g_object_set(h, "nx", 8, NULL);
  g_assert_cmpint(range.n, ==, 1);
  g_assert_true(kiv_function_get_npts(f) == 8 && f->step == 0.5);
  g_assert_cmpfloat(sum_contents(h), ==, 0.0);
  assert_stats(h, 3.0, 1.0, 0.0, 3.0);

  kiv_histogram_fill(h, 1.0, 1.0);
  kiv_histogram_resize(h, 5, -5.0, 5.0);
  g_assert_cmpint(range.n, ==, 2);
  g_assert_true(f->nbin == 5 && f->xmin == -5.0 && f->step == 2.0);
  g_assert_cmpfloat(sum_contents(h), ==, 0.0);
  g_assert_cmpfloat(kiv_histogram_entries(h), ==, 4.0);

  /* A count below 1 keeps the bin count, and the range still changes. */
  h->y[4] = 1.0;
  kiv_histogram_resize(h, 0, 0.0, 10.0);
  g_assert_true(f->nbin == 5 && f->step == 2.0 && h->y[4] == 0.0);
  kiv_histogram_resize(h, -7, 0.0, 5.0);
  g_assert_true(f->nbin == 5 && f->step == 1.0);
  /* So does a count that "nx" would refuse, with a warning. */
  kiv_expect_warning("*kiv_histogram_resize*2000000 bins*keeping 5*");
  kiv_histogram_resize(h, 2000000, 0.0, 5.0);
  g_test_assert_expected_messages();
  g_assert_cmpint(f->nbin, ==, 5);
  g_object_unref(h);
}

/* A new step re-bins like "nx": the contents follow the new count. */
void test_xstep() {
  KivHistogram *h = kiv_histogram_new(10, 0.0, 1.0, NULL);
  KivFunction *f = KIV_FUNCTION(h);
  kivtest::Counter range;
  range.connect(h, "range-changed");
  for (int i = 0; i < 10; i++)
    kiv_histogram_fill(h, i / 10.0 + 0.05, 1.0);
  g_object_set(h, "xstep", 0.3, NULL);
  g_assert_cmpint(f->nbin, ==, 3);
  g_assert_cmpfloat_with_epsilon(f->xmax, 0.9, 1e-12);
  g_assert_cmpfloat(kiv_function_get_step(f), ==, 0.3);
  assert_contents(h, {0, 0, 0});
  g_assert_cmpint(range.n, ==, 1);
  g_assert_cmpfloat(kiv_histogram_entries(h), ==, 10.0);
  kiv_histogram_fill(h, 0.85, 1.0);

  /* Steps that give no bin count from 1 to 999999 change nothing; GLib
   * itself refuses NaN and infinities. */
  for (double bad : {0.0, -0.3, 1e-300, (double)NAN, (double)INFINITY}) {
    if (std::isfinite(bad))
      kiv_expect_warning("*xstep*ignored*");
    else
      g_test_expect_message("GLib-GObject", G_LOG_LEVEL_WARNING, "*xstep*");
    g_object_set(h, "xstep", bad, NULL);
    g_test_assert_expected_messages();
    assert_contents(h, {0, 0, 1});
  }
  g_assert_cmpint(range.n, ==, 1);
  g_object_unref(h);
}

/* Records whether the lock was held at each emission of "range-changed". */
void record_lock(KivFunction *f, std::vector<bool> *held) {
  bool free_lock = kiv_function_trylock(f);
  if (free_lock)
    kiv_function_unlock(f);
  held->push_back(!free_lock);
}

void set_contents(KivHistogram *h, std::initializer_list<double> v) {
  kiv_histogram_resize(h, static_cast<int>(v.size()), 0.0, static_cast<double>(v.size()));
  int i = 0;
  for (double x : v)
    h->y[i++] = x;
}

void test_rebin() {
  KivHistogram *h = kiv_histogram_new(4, 0.0, 4.0, NULL);
  KivFunction *f = KIV_FUNCTION(h);
  set_contents(h, {1, 2, 3, 4});
  kiv_histogram_rebin(h, 4, 0.0, 4.0);
  assert_contents(h, {1, 2, 3, 4});
  /* One entry per new bin, at its centre, weighted by its content. */
  assert_stats(h, 10.0, (0.5 + 3.0 + 7.5 + 14.0) / 10.0, 0.0, 4.0);

  std::vector<bool> held;
  g_signal_connect(h, "range-changed", G_CALLBACK(record_lock), &held);
  kiv_histogram_rebin(h, 2, 0.0, 4.0);
  assert_contents(h, {3, 7});
  g_assert_cmpfloat(f->step, ==, 2.0);
  g_assert_cmpfloat(kiv_histogram_entries(h), ==, 20.0);
  g_assert_cmpfloat(kiv_histogram_vmax(h), ==, 7.0);
  /* First from the new bin count with the lock held, then once more after
   * the lock is released. */
  g_assert_cmpint(held.size(), ==, 2);
  g_assert_true(held[0] && !held[1]);
  g_signal_handlers_disconnect_by_func(h, (gpointer)record_lock, &held);

  set_contents(h, {1, 2, 3, 4});
  kiv_histogram_rebin(h, 2, 1.0, 3.0);
  assert_contents(h, {2, 3});
  g_assert_true(f->xmin == 1.0 && f->xmax == 3.0);
  /* Splitting bins shares each content evenly; a range wider than the
   * contents keeps them all. */
  kiv_histogram_rebin(h, 4, 1.0, 3.0);
  assert_contents(h, {1, 1, 1.5, 1.5});
  kiv_histogram_rebin(h, 3, -1.0, 5.0);
  assert_contents(h, {0, 5, 0});

  /* No count typed (0) or a negative one: the range changes, the count
   * stays; a count beyond "nx"'s range is refused with a warning. */
  set_contents(h, {1, 2, 3, 4});
  kiv_histogram_rebin(h, 0, 0.0, 8.0);
  g_assert_true(f->nbin == 4 && f->step == 2.0);
  assert_contents(h, {3, 7, 0, 0});
  kiv_histogram_rebin(h, -3, 0.0, 4.0);
  assert_contents(h, {1.5, 1.5, 3.5, 3.5});
  kiv_expect_warning("*kiv_histogram_rebin*1000000 bins*keeping 4*");
  kiv_histogram_rebin(h, 1000000, 0.0, 4.0);
  g_test_assert_expected_messages();
  assert_contents(h, {1.5, 1.5, 3.5, 3.5});

  kivtest::Counter range;
  range.connect(h, "range-changed");
  const double bad[][2] = {{NAN, 4.0}, {0.0, NAN}, {-INFINITY, 4.0}, {0.0, INFINITY},
                           {4.0, 0.0}, {2.0, 2.0}, {-1e308, 1e308},  {0.0, 5e-324}};
  for (const auto &lim : bad) {
    kiv_expect_warning("*kiv_histogram_rebin*cannot rebin*");
    kiv_histogram_rebin(h, 1000, lim[0], lim[1]);
    g_test_assert_expected_messages();
    g_assert_true(f->xmin == 0.0 && f->xmax == 4.0 && f->step == 1.0);
    assert_contents(h, {1.5, 1.5, 3.5, 3.5});
  }
  g_assert_cmpint(range.n, ==, 0);
  assert_unlocked(h);

  /* The largest count "nx" allows, then a huge but finite range: the
   * content is kept throughout. */
  kiv_histogram_rebin(h, 999999, 0.0, 4.0);
  g_assert_cmpint(f->nbin, ==, 999999);
  g_assert_cmpfloat_with_epsilon(sum_contents(h), 10.0, 1e-6);
  g_assert_cmpfloat_with_epsilon(h->y[999998], 3.5 / 249999.75, 1e-12);
  kiv_histogram_rebin(h, 2, 0.0, 1e308);
  g_assert_cmpfloat(f->step, ==, 5e307);
  g_assert_cmpfloat_with_epsilon(h->y[0], 10.0, 1e-6);
  g_assert_cmpfloat(h->y[1], ==, 0.0);

  kiv_expect_critical("*kiv_histogram_rebin*KIV_IS_HISTOGRAM*");
  kiv_histogram_rebin(NULL, 4, 0.0, 1.0);
  g_test_assert_expected_messages();
  g_object_unref(h);
}

void test_bad_values() {
  KivHistogram *h = kiv_histogram_new(4, 0.0, 4.0, NULL);
  /* Values outside the range reach the statistics only. */
  for (double x : {(double)NAN, (double)INFINITY, -(double)INFINITY, 1e308, -1e308})
    kiv_histogram_fill(h, x, 1.0);
  g_assert_cmpfloat(sum_contents(h), ==, 0.0);
  g_assert_cmpfloat(kiv_histogram_entries(h), ==, 5.0);
  g_assert_true(kiv_histogram_max_value(h) == INFINITY && kiv_histogram_min_value(h) == -INFINITY);
  /* Weights are added as given, whatever they are. */
  kiv_histogram_fill(h, 0.5, 1e308);
  kiv_histogram_fill(h, 0.5, 1e308);
  kiv_histogram_fill(h, 1.5, NAN);
  kiv_histogram_fill(h, 2.5, -INFINITY);
  g_assert_true(h->y[0] == INFINITY && std::isnan(h->y[1]) && h->y[2] == -INFINITY);
  g_assert_true(kiv_histogram_vmax(h) == INFINITY && kiv_histogram_vmin(h) == -INFINITY);
  /* Such contents rebin without harm. */
  kiv_histogram_rebin(h, 2, 0.0, 4.0);
  assert_array(h, 0.0, 4.0, 7);
  g_object_unref(h);
}

/* Four producers fill while this thread takes point arrays and rebins back
 * and forth between 16 and 8 bins.  Weights and edges are dyadic, so the
 * rebins conserve the contents exactly. */
struct FillRun {
  KivHistogram *h;
  std::atomic<int> running{4};
  gint64 deadline;
};

struct ProducerResult {
  double all = 0.0, inside = 0.0;
};

gpointer producer(gpointer data) {
  FillRun *run = static_cast<FillRun *>(data);
  auto *res = new ProducerResult;
  guint32 seed = g_random_int();
  for (int k = 0; g_get_monotonic_time() < run->deadline; k++) {
    seed = seed * 1664525u + 1013904223u;
    /* x in [-4, 20) on multiples of 1/8, never within two units below 0,
     * where truncation would count it in bin 0 of either binning. */
    double x = static_cast<int>(seed >> 8) % 192 / 8.0 - 4.0;
    if (x > -2.0 && x < 0.0)
      x = -3.0;
    double w = (k % 3 + 1) * 0.5;
    kiv_histogram_fill(run->h, x, w);
    res->all += w;
    res->inside += x >= 0.0 && x < 16.0 ? w : 0.0;
  }
  run->running--;
  return res;
}

void test_threads() {
  FillRun run;
  run.h = KIV_HISTOGRAM(g_object_new(counting_histogram_get_type(), "nx", 16, "xmin", 0.0,
                                     "xmax", 16.0, "ptr", NULL, NULL));
  KivFunction *f = KIV_FUNCTION(run.h);
  run.deadline = g_get_monotonic_time() + G_USEC_PER_SEC / 2;
  GThread *threads[4];
  for (auto &t : threads)
    t = g_thread_new("producer", producer, &run);
  kivtest::slot_weight = 0.0;
  double last_total = 0.0;
  int arrays = 0, rebins = 0;
  while (run.running > 0) {
    KivTuple t = {0, NULL};
    kiv_function_get_array(f, &t, 0.0, 16.0);
    int m = (t.n - 1) / 3;
    g_assert_true(t.n % 3 == 1 && (m == 8 || m == 16));
    double step = 16.0 / m, total = 0.0, prev = 0.0;
    for (int k = 0; k < m; k++) {
      const KivPoint *p = t.P + 3 * k;
      g_assert_true(p[0].x == k * step && p[1].x == k * step && p[2].x == (k + 1) * step);
      g_assert_true(p[0].y == prev && p[1].y == p[2].y && p[1].y >= 0.0);
      prev = p[1].y;
      total += prev;
    }
    g_assert_true(t.P[3 * m].x == 16.0 && t.P[3 * m].y == 0.0);
    /* Positive weights only: what a picture shows never shrinks. */
    g_assert_cmpfloat(total, >=, last_total);
    last_total = total;
    kiv_function_clear_tuple(&t);
    if (++arrays % 4 == 0) {
      kiv_histogram_rebin(run.h, rebins++ % 2 ? 16 : 8, 0.0, 16.0);
      g_assert_cmpfloat(f->xmax, ==, 16.0);
    }
  }
  double all = 0.0, inside = 0.0;
  for (auto &t : threads) {
    auto *res = static_cast<ProducerResult *>(g_thread_join(t));
    all += res->all;
    inside += res->inside;
    delete res;
  }
  g_assert_cmpint(rebins, >, 10);
  g_assert_cmpfloat(inside, >, 0.0);
  g_assert_cmpfloat(sum_contents(run.h), ==, inside);
  /* Every rebin added one entry per new bin, weighted by its content. */
  g_assert_cmpfloat(kiv_histogram_entries(run.h), ==, all + kivtest::slot_weight);
  g_object_unref(run.h);
}

} // namespace

int main(int argc, char **argv) {
  g_test_init(&argc, &argv, NULL);
  g_test_add_func("/histogram/new-and-fill", test_new_and_fill);
  g_test_add_func("/histogram/statistics", test_statistics);
  g_test_add_func("/histogram/borrowed-contents", test_borrowed_contents);
  g_test_add_func("/histogram/bin-access", test_bin_access);
  g_test_add_func("/histogram/array", test_array);
  g_test_add_func("/histogram/clone", test_clone);
  g_test_add_func("/histogram/resize-and-nx", test_resize_and_nx);
  g_test_add_func("/histogram/xstep", test_xstep);
  g_test_add_func("/histogram/rebin", test_rebin);
  g_test_add_func("/histogram/bad-values", test_bad_values);
  g_test_add_func("/histogram/threads", test_threads);
  return g_test_run();
}
