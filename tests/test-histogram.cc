/* Tests of KivHistogram: filling, contents on loan, bin access, the step
 * outline, statistics, re-sizing, rebinning, and filling from threads. */
#include "kiv-test.h"

#include <atomic>
#include <cstring>
#include <vector>

/* A histogram that adds up the weights its fill slot receives in each
 * thread, so that a test can tell the entries a rebin adds (the rebin calls
 * the slot in the rebinning thread) from those of the producers. */
typedef struct {
  KivHistogram parent;
} CountingHistogram;
typedef struct {
  KivHistogramClass parent_class;
} CountingHistogramClass;

G_DEFINE_TYPE(CountingHistogram, counting_histogram, KIV_TYPE_HISTOGRAM)

static thread_local double slot_weight = 0.0;

static void counting_fill(KivHistogram *h, double x, double w) {
  slot_weight += w;
  KIV_HISTOGRAM_CLASS(counting_histogram_parent_class)->fill(h, x, w);
}

static void counting_histogram_class_init(CountingHistogramClass *klass) {
  KIV_HISTOGRAM_CLASS(klass)->fill = counting_fill;
}

static void counting_histogram_init(CountingHistogram *) {}

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

gboolean count_emission(GSignalInvocationHint *, guint, const GValue *, gpointer data) {
  static_cast<kivtest::Counter *>(data)->n++;
  return TRUE;
}

/* Counts every emission of a signal by any instance, also those during
 * construction, before a handler could be connected. */
struct Hook {
  guint id;
  gulong hook;
  kivtest::Counter count;
  gpointer klass;
  Hook(GType type, const char *name) : klass(g_type_class_ref(type)) {
    id = g_signal_lookup(name, type);
    hook = g_signal_add_emission_hook(id, 0, count_emission, &count, NULL);
  }
  ~Hook() {
    g_signal_remove_emission_hook(id, hook);
    g_type_class_unref(klass);
  }
};

void test_new_and_fill() {
  {
    Hook changed(KIV_TYPE_HISTOGRAM, "changed"), range(KIV_TYPE_FUNCTION, "range-changed");
    KivHistogram *h = kiv_histogram_new(10, 0.0, 10.0, NULL);
    g_assert_cmpint(changed.count.n, ==, 1);
    g_assert_cmpint(range.count.n, ==, 1);
    g_object_unref(h);
  }

  kiv_expect_critical("*kiv_histogram_new*n>0*");
  g_assert_null(kiv_histogram_new(0, 0.0, 1.0, NULL));
  g_test_assert_expected_messages();

  KivHistogram *h = kiv_histogram_new(10, 0.0, 10.0, NULL);
  KivFunction *f = KIV_FUNCTION(h);
  g_assert_true(h->owner == 1);
  g_assert_cmpfloat(f->step, ==, 1.0);
  for (int i = 0; i < 10; i++)
    g_assert_cmpfloat(h->y[i], ==, 0.0);
  g_assert_cmpfloat(kiv_histogram_vmin(h), ==, 0.0);
  g_assert_cmpfloat(kiv_histogram_vmax(h), ==, 0.0);
  g_assert_cmpfloat(kiv_histogram_entries(h), ==, 0.0);

  kivtest::Counter changed;
  changed.connect(h, "changed");
  /* The upper edge belongs to no bin; a value less than one bin below the
   * range lands in bin 0.  Both count as entries. */
  kiv_histogram_fill(h, 10.0, 1.0);
  kiv_histogram_fill(h, -0.5, 1.0);
  g_assert_cmpfloat(h->y[9], ==, 0.0);
  g_assert_cmpfloat(h->y[0], ==, 1.0);
  g_assert_cmpfloat(kiv_histogram_entries(h), ==, 2.0);
  g_assert_cmpint(changed.n, ==, 2);

  kiv_histogram_fill(h, 2.5, 3.0);
  kiv_histogram_fill(h, 2.7, -5.0);
  g_assert_cmpfloat(h->y[2], ==, -2.0);
  g_assert_cmpfloat(kiv_histogram_vmax(h), ==, 3.0);
  g_assert_cmpfloat(kiv_histogram_vmin(h), ==, -2.0);
  double vmin = 0, vmax = 0;
  g_object_get(h, "vmin", &vmin, "vmax", &vmax, NULL);
  g_assert_cmpfloat(vmin, ==, -2.0);
  g_assert_cmpfloat(vmax, ==, 3.0);
  g_assert_cmpfloat(kiv_histogram_min_value(h), ==, -0.5);
  g_assert_cmpfloat(kiv_histogram_max_value(h), ==, 10.0);
  /* Weighted sums: 10 - 0.5 + 7.5 - 13.5 over a weight of 0. */
  g_assert_cmpfloat(kiv_histogram_mean(h), ==, 0.0);

  /* Values at the edges: x = xmax reads the last bin, beyond reads 0. */
  h->y[9] = 4.0;
  g_assert_cmpfloat(kiv_function_eval(f, 10.0), ==, 4.0);
  g_assert_cmpfloat(kiv_function_eval(f, 10.01), ==, 0.0);
  g_assert_cmpfloat(kiv_function_eval(f, -0.01), ==, 0.0);
  g_assert_cmpfloat(kiv_function_eval(f, NAN), ==, 0.0);
  g_assert_cmpfloat(kiv_function_eval(f, 2.0), ==, -2.0);

  kiv_histogram_reset(h);
  g_assert_cmpint(changed.n, ==, 5);
  g_assert_cmpfloat(sum_contents(h), ==, 0.0);
  g_assert_cmpfloat(kiv_histogram_entries(h), ==, 0.0);
  g_assert_cmpfloat(kiv_histogram_vmin(h), ==, 0.0);
  g_assert_cmpfloat(kiv_histogram_vmax(h), ==, 0.0);
  g_assert_cmpfloat(kiv_histogram_min_value(h), ==, G_MAXDOUBLE);
  g_object_unref(h);
}

void test_statistics() {
  KivHistogram *h = kiv_histogram_new(4, 0.0, 4.0, NULL);
  for (double x : {1.0, 2.0, 3.0})
    kiv_histogram_fill(h, x, 1.0);
  g_assert_cmpfloat(kiv_histogram_entries(h), ==, 3.0);
  g_assert_cmpfloat(kiv_histogram_mean(h), ==, 2.0);
  g_assert_cmpfloat_with_epsilon(kiv_histogram_rms(h), 2.0 / 3.0, 1e-12);
  g_assert_cmpfloat_with_epsilon(kiv_histogram_stdev(h), std::sqrt(2.0 / 3.0), 1e-12);

  KivStats *s = kiv_stats_new();
  g_assert_cmpint(kiv_histogram_get_stats(h, s), ==, 0);
  g_assert_cmpfloat(s->nc, ==, 3.0);
  g_assert_cmpfloat(s->s[0], ==, 6.0);
  g_assert_cmpfloat(s->xmin[0], ==, 1.0);
  g_assert_cmpfloat(s->xmax[0], ==, 3.0);

  kiv_expect_critical("*kiv_histogram_get_stats*s!=NULL*");
  g_assert_cmpint(kiv_histogram_get_stats(h, NULL), ==, -1);
  kiv_expect_critical("*kiv_histogram_get_stats*KIV_IS_STATS*");
  g_assert_cmpint(kiv_histogram_get_stats(h, reinterpret_cast<KivStats *>(h)), ==, -1);
  kiv_expect_critical("*kiv_histogram_get_stats*KIV_IS_HISTOGRAM*");
  g_assert_cmpint(kiv_histogram_get_stats(reinterpret_cast<KivHistogram *>(s), s), ==, -1);
  g_test_assert_expected_messages();

  /* Recomputing from the contents puts one entry per non-empty bin at its
   * centre, weighted by the content; the stats written value is ignored. */
  h->y[0] = 0.0;
  h->y[1] = 2.0;
  h->y[2] = 0.0;
  h->y[3] = -1.0;
  g_object_set(h, "stats", 12345, NULL);
  g_assert_cmpfloat(kiv_histogram_entries(h), ==, 1.0);
  g_assert_cmpfloat(kiv_histogram_mean(h), ==, (2 * 1.5 - 3.5) / 1.0);
  g_assert_cmpfloat(kiv_histogram_min_value(h), ==, 1.5);
  g_assert_cmpfloat(kiv_histogram_max_value(h), ==, 3.5);
  g_assert_cmpfloat(kiv_histogram_vmin(h), ==, -1.0);
  g_assert_cmpfloat(kiv_histogram_vmax(h), ==, 2.0);
  g_object_unref(s);
  g_object_unref(h);
}

void test_borrowed_contents() {
  double data[] = {0, 2, 0, 1};
  kivtest::Counter changed;
  KivHistogram *h = kiv_histogram_new(4, 0.0, 4.0, data);
  g_assert_true(h->y == data);
  g_assert_cmpint(h->owner, ==, 0);
  g_assert_cmpfloat(kiv_histogram_entries(h), ==, 3.0);
  g_assert_cmpfloat_with_epsilon(kiv_histogram_mean(h), (2 * 1.5 + 1 * 3.5) / 3, 1e-12);
  g_assert_cmpfloat(kiv_histogram_vmax(h), ==, 2.0);

  /* Filling works in place on the caller's array. */
  kiv_histogram_fill(h, 3.2, 1.0);
  g_assert_cmpfloat(data[3], ==, 2.0);

  gpointer p = NULL;
  g_object_get(h, "ptr", &p, NULL);
  g_assert_true(p == data);
  int sz = 0;
  double *live = NULL;
  kiv_histogram_get_values(h, &sz, &live);
  g_assert_cmpint(sz, ==, 4);
  g_assert_true(live == data);
  double *copy = kiv_histogram_get_data(h);
  g_assert_true(copy != data);
  g_assert_cmpint(memcmp(copy, data, sizeof data), ==, 0);
  g_free(copy);

  /* A new bin count gives the histogram an array of its own and leaves
   * the caller's alone. */
  changed.connect(h, "changed");
  g_object_set(h, "nx", 3, NULL);
  g_assert_true(h->y != data);
  g_assert_cmpint(h->owner, ==, 1);
  g_assert_cmpfloat(data[1], ==, 2.0);
  assert_contents(h, {0, 0, 0});
  g_assert_cmpint(changed.n, ==, 0);

  /* Handing back the histogram's own array keeps it owned. */
  double *own = h->y;
  own[1] = 5.0;
  g_object_set(h, "ptr", own, NULL);
  g_assert_true(h->y == own);
  g_assert_cmpint(h->owner, ==, 1);
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
  g_assert_cmpfloat(other[0], ==, 1.0);

  kiv_expect_critical("*kiv_histogram_get_values*KIV_IS_HISTOGRAM*");
  sz = 7;
  live = data;
  kiv_histogram_get_values(NULL, &sz, &live);
  g_test_assert_expected_messages();
  g_assert_cmpint(sz, ==, 0);
  g_assert_null(live);
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
  kiv_expect_critical("*kiv_histogram_set_bin_content*ibin>=0 && ibin<nbin*");
  kiv_histogram_set_bin_content(h, -1, 1.0);
  kiv_expect_critical("*kiv_histogram_set_bin_content*ibin>=0 && ibin<nbin*");
  kiv_histogram_set_bin_content(h, G_MAXINT, 1.0);
  KivFunction *plain = kiv_function_new(3, 0.0, 1.0, NULL);
  kiv_expect_critical("*kiv_histogram_get_bin_content*KIV_IS_HISTOGRAM*");
  g_assert_cmpfloat(kiv_histogram_get_bin_content(reinterpret_cast<KivHistogram *>(plain), 0),
                    ==, 0.0);
  kiv_expect_critical("*kiv_histogram_set_bin_content*KIV_IS_HISTOGRAM*");
  kiv_histogram_set_bin_content(NULL, 0, 1.0);
  g_test_assert_expected_messages();
  g_object_unref(plain);

  /* The failed checks released the lock. */
  g_assert_true(kiv_function_trylock(KIV_FUNCTION(h)));
  kiv_function_unlock(KIV_FUNCTION(h));
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
  for (int i = 0; i < 7; i++) {
    g_assert_cmpfloat(t.P[i].x, ==, want[i].x);
    g_assert_cmpfloat(t.P[i].y, ==, want[i].y);
  }
  kiv_function_clear_tuple(&t);

  /* A request narrower than a bin gives that bin; limits beyond the range
   * are clamped to the outer bins; a reversed request gives nothing. */
  kiv_function_get_array(KIV_FUNCTION(h), &t, 1.2, 1.3);
  g_assert_cmpint(t.n, ==, 4);
  g_assert_cmpfloat(t.P[1].y, ==, 3.0);
  kiv_function_clear_tuple(&t);
  kiv_function_get_array(KIV_FUNCTION(h), &t, -1e308, INFINITY);
  g_assert_cmpint(t.n, ==, 7);
  kiv_function_clear_tuple(&t);
  kiv_function_get_array(KIV_FUNCTION(h), &t, NAN, NAN);
  g_assert_cmpint(t.n, ==, 4);
  kiv_function_clear_tuple(&t);
  kiv_function_get_array(KIV_FUNCTION(h), &t, 1.5, 0.5);
  g_assert_cmpint(t.n, ==, 0);
  g_assert_null(t.P);
  g_object_unref(h);
}

void test_print() {
  KivHistogram *h = kiv_histogram_new(3, 0.0, 3.0, NULL);
  kiv_function_set_name(KIV_FUNCTION(h), "h");
  kiv_histogram_fill(h, 0.5, 1.0);
  kiv_histogram_fill(h, 2.5, 2.0);
  GString *s = kiv_function_print(KIV_FUNCTION(h));
  g_assert_cmpstr(s->str, ==,
                  "1D 3 0.000000 3.000000\t[nbin xmin xmax]\n"
                  "\"X\"\t\"h\"\n"
                  "0.500000\t1.000000\n"
                  "1.500000\t0.000000\n"
                  "2.500000\t2.000000\n");
  g_string_free(s, TRUE);
  g_object_unref(h);
}

void test_clone() {
  KivHistogram *h = kiv_histogram_new(4, -2.0, 2.0, NULL);
  kiv_function_set_name(KIV_FUNCTION(h), "source");
  kiv_histogram_fill(h, -1.5, 2.0);
  kiv_histogram_fill(h, 1.5, -1.0);
  kiv_histogram_fill(h, 9.0, 1.0);
  KivHistogram *c = kiv_histogram_clone(h);
  g_assert_cmpint(KIV_FUNCTION(c)->nbin, ==, 4);
  g_assert_cmpfloat(KIV_FUNCTION(c)->xmin, ==, -2.0);
  g_assert_cmpfloat(KIV_FUNCTION(c)->xmax, ==, 2.0);
  g_assert_null(KIV_FUNCTION(c)->name);
  g_assert_cmpint(c->owner, ==, 1);
  g_assert_true(c->y != h->y);
  assert_contents(c, {2, 0, 0, -1});
  g_assert_cmpfloat(kiv_histogram_entries(c), ==, 2.0);
  g_assert_cmpfloat(kiv_histogram_max_value(c), ==, 9.0);
  g_assert_cmpfloat(kiv_histogram_vmin(c), ==, -1.0);
  g_assert_cmpfloat(kiv_histogram_vmax(c), ==, 2.0);

  kiv_histogram_fill(c, 0.5, 4.0);
  assert_contents(h, {2, 0, 0, -1});
  g_assert_cmpfloat(kiv_histogram_entries(h), ==, 2.0);
  g_assert_cmpfloat(kiv_histogram_vmax(h), ==, 2.0);
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
  g_assert_cmpint(kiv_function_get_npts(f), ==, 8);
  g_assert_cmpfloat(f->step, ==, 0.5);
  g_assert_cmpfloat(sum_contents(h), ==, 0.0);
  g_assert_cmpfloat(kiv_histogram_entries(h), ==, 3.0);
  g_assert_cmpfloat(kiv_histogram_vmax(h), ==, 3.0);

  kiv_histogram_fill(h, 1.0, 1.0);
  kiv_histogram_resize(h, 5, -5.0, 5.0);
  g_assert_cmpint(range.n, ==, 2);
  g_assert_cmpint(f->nbin, ==, 5);
  g_assert_cmpfloat(f->xmin, ==, -5.0);
  g_assert_cmpfloat(f->step, ==, 2.0);
  g_assert_cmpfloat(sum_contents(h), ==, 0.0);
  g_assert_cmpfloat(kiv_histogram_entries(h), ==, 4.0);

  /* A count below 1 keeps the bin count. */
  h->y[4] = 1.0;
  kiv_histogram_resize(h, 0, 0.0, 10.0);
  g_assert_cmpint(f->nbin, ==, 5);
  g_assert_cmpfloat(f->step, ==, 2.0);
  g_assert_cmpfloat(h->y[4], ==, 0.0);
  kiv_histogram_resize(h, -7, 0.0, 5.0);
  g_assert_cmpint(f->nbin, ==, 5);
  g_assert_cmpfloat(f->step, ==, 1.0);

  /* So does a count that "nx" would refuse, with a warning. */
  kiv_expect_warning("*kiv_histogram_resize*2000000 bins*keeping 5*");
  kiv_histogram_resize(h, 2000000, 0.0, 5.0);
  g_test_assert_expected_messages();
  g_assert_cmpint(f->nbin, ==, 5);

  g_test_expect_message("GLib-GObject", G_LOG_LEVEL_WARNING, "*nx*");
  g_object_set(h, "nx", 0, NULL);
  g_test_assert_expected_messages();
  g_assert_cmpint(f->nbin, ==, 5);
  g_object_unref(h);
}

void test_xstep() {
  KivHistogram *h = kiv_histogram_new(10, 0.0, 1.0, NULL);
  KivFunction *f = KIV_FUNCTION(h);
  kivtest::Counter range;
  range.connect(h, "range-changed");
  for (int i = 0; i < 10; i++)
    kiv_histogram_fill(h, i / 10.0 + 0.05, 1.0);

  /* A new step re-bins like "nx": the contents follow the new count. */
  g_object_set(h, "xstep", 0.3, NULL);
  g_assert_cmpint(f->nbin, ==, 3);
  g_assert_cmpfloat_with_epsilon(f->xmax, 0.9, 1e-12);
  g_assert_cmpfloat(kiv_function_get_step(f), ==, 0.3);
  assert_contents(h, {0, 0, 0});
  g_assert_cmpint(range.n, ==, 1);
  g_assert_cmpfloat(kiv_histogram_entries(h), ==, 10.0);
  kiv_histogram_fill(h, 0.85, 1.0);
  assert_contents(h, {0, 0, 1});

  /* Steps that give no bin count from 1 to 999999 change nothing. */
  for (double bad : std::initializer_list<double>{0.0, -0.3, 1e-300, NAN, INFINITY}) {
    /* The property system itself refuses NaN and infinities. */
    if (std::isfinite(bad))
      kiv_expect_warning("*xstep*ignored*");
    else
      g_test_expect_message("GLib-GObject", G_LOG_LEVEL_WARNING, "*xstep*");
    g_object_set(h, "xstep", bad, NULL);
    g_test_assert_expected_messages();
    g_assert_cmpint(f->nbin, ==, 3);
    assert_contents(h, {0, 0, 1});
  }
  g_assert_cmpint(range.n, ==, 1);
  g_object_unref(h);
}

/* Records whether the lock was held at each emission of "range-changed". */
struct LockProbe {
  KivFunction *f;
  std::vector<bool> held;
  static void on_range(KivFunction *f, LockProbe *p) {
    bool free_lock = kiv_function_trylock(f);
    if (free_lock)
      kiv_function_unlock(f);
    p->held.push_back(!free_lock);
  }
};

void test_rebin() {
  double data[] = {1, 2, 3, 4};
  KivHistogram *h = kiv_histogram_new(4, 0.0, 4.0, NULL);
  KivFunction *f = KIV_FUNCTION(h);
  for (int i = 0; i < 4; i++)
    h->y[i] = data[i];

  kiv_histogram_rebin(h, 4, 0.0, 4.0);
  assert_contents(h, {1, 2, 3, 4});
  /* One entry per new bin, at its centre, weighted by its content. */
  g_assert_cmpfloat(kiv_histogram_entries(h), ==, 10.0);
  g_assert_cmpfloat(kiv_histogram_mean(h), ==, (0.5 + 3.0 + 7.5 + 14.0) / 10.0);

  LockProbe probe{f, {}};
  g_signal_connect(h, "range-changed", G_CALLBACK(LockProbe::on_range), &probe);
  kiv_histogram_rebin(h, 2, 0.0, 4.0);
  assert_contents(h, {3, 7});
  g_assert_cmpfloat(f->step, ==, 2.0);
  g_assert_cmpfloat(kiv_histogram_entries(h), ==, 20.0);
  g_assert_cmpfloat(kiv_histogram_vmax(h), ==, 7.0);
  /* First from the new bin count, with the lock held, then once more
   * after the lock is released. */
  g_assert_cmpint(probe.held.size(), ==, 2);
  g_assert_true(probe.held[0]);
  g_assert_false(probe.held[1]);

  kiv_histogram_resize(h, 4, 0.0, 4.0);
  for (int i = 0; i < 4; i++)
    h->y[i] = data[i];
  kiv_histogram_rebin(h, 2, 1.0, 3.0);
  assert_contents(h, {2, 3});
  g_assert_cmpfloat(f->xmin, ==, 1.0);
  g_assert_cmpfloat(f->xmax, ==, 3.0);

  /* Splitting bins shares each content evenly. */
  kiv_histogram_rebin(h, 4, 1.0, 3.0);
  assert_contents(h, {1, 1, 1.5, 1.5});
  /* A range wider than the contents keeps them all. */
  kiv_histogram_rebin(h, 3, -1.0, 5.0);
  assert_contents(h, {0, 5, 0});
  g_object_unref(h);
}

void test_rebin_bad_input() {
  KivHistogram *h = kiv_histogram_new(4, 0.0, 4.0, NULL);
  KivFunction *f = KIV_FUNCTION(h);
  for (int i = 0; i < 4; i++)
    h->y[i] = i + 1;

  /* No count typed (0) or a negative one: the range changes, the count
   * stays. */
  kiv_histogram_rebin(h, 0, 0.0, 8.0);
  g_assert_cmpint(f->nbin, ==, 4);
  g_assert_cmpfloat(f->step, ==, 2.0);
  assert_contents(h, {3, 7, 0, 0});
  kiv_histogram_rebin(h, -3, 0.0, 4.0);
  assert_contents(h, {1.5, 1.5, 3.5, 3.5});

  kiv_expect_warning("*kiv_histogram_rebin*1000000 bins*keeping 4*");
  kiv_histogram_rebin(h, 1000000, 0.0, 4.0);
  g_test_assert_expected_messages();
  assert_contents(h, {1.5, 1.5, 3.5, 3.5});

  kivtest::Counter range;
  range.connect(h, "range-changed");
  const double bad[][2] = {{NAN, 4.0}, {0.0, NAN},       {-INFINITY, 4.0}, {0.0, INFINITY},
                           {4.0, 0.0}, {2.0, 2.0},       {-1e308, 1e308},  {0.0, 5e-324}};
  for (const auto &lim : bad) {
    kiv_expect_warning("*kiv_histogram_rebin*cannot rebin*");
    kiv_histogram_rebin(h, 1000, lim[0], lim[1]);
    g_test_assert_expected_messages();
    g_assert_cmpint(f->nbin, ==, 4);
    g_assert_cmpfloat(f->xmin, ==, 0.0);
    g_assert_cmpfloat(f->xmax, ==, 4.0);
    g_assert_cmpfloat(f->step, ==, 1.0);
    assert_contents(h, {1.5, 1.5, 3.5, 3.5});
  }
  g_assert_cmpint(range.n, ==, 0);
  g_assert_true(kiv_function_trylock(f));
  kiv_function_unlock(f);

  /* The largest count "nx" allows, then a huge but finite range: the
   * content is kept throughout. */
  kiv_histogram_rebin(h, 999999, 0.0, 4.0);
  g_assert_cmpint(f->nbin, ==, 999999);
  g_assert_cmpfloat_with_epsilon(sum_contents(h), 10.0, 1e-6);
  g_assert_cmpfloat_with_epsilon(h->y[999998], 3.5 / 249999.75, 1e-12);
  kiv_histogram_rebin(h, 2, 0.0, 1e308);
  g_assert_cmpfloat(f->step, ==, 5e307);
  g_assert_cmpint(f->nbin, ==, 2);
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
  for (double x : std::initializer_list<double>{NAN, INFINITY, -INFINITY, 1e308, -1e308})
    kiv_histogram_fill(h, x, 1.0);
  g_assert_cmpfloat(sum_contents(h), ==, 0.0);
  g_assert_cmpfloat(kiv_histogram_entries(h), ==, 5.0);
  g_assert_cmpfloat(kiv_histogram_max_value(h), ==, INFINITY);
  g_assert_cmpfloat(kiv_histogram_min_value(h), ==, -INFINITY);

  /* Weights are added as given, whatever they are. */
  kiv_histogram_fill(h, 0.5, 1e308);
  kiv_histogram_fill(h, 0.5, 1e308);
  g_assert_cmpfloat(h->y[0], ==, INFINITY);
  kiv_histogram_fill(h, 1.5, NAN);
  g_assert_true(std::isnan(h->y[1]));
  kiv_histogram_fill(h, 2.5, -INFINITY);
  g_assert_cmpfloat(h->y[2], ==, -INFINITY);
  g_assert_cmpfloat(kiv_histogram_vmax(h), ==, INFINITY);
  g_assert_cmpfloat(kiv_histogram_vmin(h), ==, -INFINITY);
  g_assert_cmpfloat(h->y[3], ==, 0.0);

  /* Such contents rebin without harm. */
  kiv_histogram_rebin(h, 2, 0.0, 4.0);
  g_assert_cmpint(KIV_FUNCTION(h)->nbin, ==, 2);
  KivTuple t = {0, NULL};
  kiv_function_get_array(KIV_FUNCTION(h), &t, 0.0, 4.0);
  g_assert_cmpint(t.n, ==, 7);
  kiv_function_clear_tuple(&t);
  g_object_unref(h);
}

/* Concurrency: four producers fill while another thread takes point arrays
 * and rebins back and forth between 16 and 8 bins.  All weights and edges
 * are dyadic, so the rebins conserve the contents exactly. */
struct FillRun {
  KivHistogram *h;
  std::atomic<int> running{0};
  gint64 deadline;
};

struct ProducerResult {
  double all = 0.0;
  double inside = 0.0;
};

gpointer producer(gpointer data) {
  FillRun *run = static_cast<FillRun *>(data);
  auto *res = new ProducerResult;
  guint32 seed = g_random_int();
  for (int k = 0; g_get_monotonic_time() < run->deadline; k++) {
    seed = seed * 1664525u + 1013904223u;
    /* x in [-4, 20) on multiples of 1/8: never within two units below 0,
     * where truncation would count it in bin 0 of either binning. */
    double x = static_cast<int>(seed >> 8) % 192 / 8.0 - 4.0;
    if (x > -2.0 && x < 0.0)
      x = -3.0;
    double w = (k % 3 + 1) * 0.5;
    kiv_histogram_fill(run->h, x, w);
    res->all += w;
    if (x >= 0.0 && x < 16.0)
      res->inside += w;
  }
  run->running--;
  return res;
}

void test_threads() {
  FillRun run;
  run.h = KIV_HISTOGRAM(g_object_new(counting_histogram_get_type(), "nx", 16, "xmin", 0.0,
                                     "xmax", 16.0, "ptr", NULL, NULL));
  KivFunction *f = KIV_FUNCTION(run.h);
  run.deadline = g_get_monotonic_time() + G_USEC_PER_SEC;
  run.running = 4;
  GThread *threads[4];
  for (auto &t : threads)
    t = g_thread_new("producer", producer, &run);

  slot_weight = 0.0;
  double last_total = 0.0;
  int arrays = 0, rebins = 0;
  while (run.running > 0) {
    KivTuple t = {0, NULL};
    kiv_function_get_array(f, &t, 0.0, 16.0);
    g_assert_cmpint(t.n % 3, ==, 1);
    int m = (t.n - 1) / 3;
    g_assert_true(m == 8 || m == 16);
    double step = 16.0 / m, total = 0.0, prev = 0.0;
    for (int k = 0; k < m; k++) {
      const KivPoint *p = t.P + 3 * k;
      g_assert_cmpfloat(p[0].x, ==, k * step);
      g_assert_cmpfloat(p[1].x, ==, k * step);
      g_assert_cmpfloat(p[2].x, ==, (k + 1) * step);
      g_assert_cmpfloat(p[0].y, ==, prev);
      g_assert_cmpfloat(p[1].y, ==, p[2].y);
      g_assert_cmpfloat(p[1].y, >=, 0.0);
      prev = p[1].y;
      total += prev;
    }
    g_assert_cmpfloat(t.P[3 * m].x, ==, 16.0);
    g_assert_cmpfloat(t.P[3 * m].y, ==, 0.0);
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
  g_test_message("%d arrays, %d rebins", arrays, rebins);
  g_assert_cmpint(rebins, >, 10);
  g_assert_cmpfloat(inside, >, 0.0);
  g_assert_cmpfloat(sum_contents(run.h), ==, inside);
  /* Every rebin added one entry per new bin, weighted by its content. */
  g_assert_cmpfloat(kiv_histogram_entries(run.h), ==, all + slot_weight);
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
  g_test_add_func("/histogram/print", test_print);
  g_test_add_func("/histogram/clone", test_clone);
  g_test_add_func("/histogram/resize-and-nx", test_resize_and_nx);
  g_test_add_func("/histogram/xstep", test_xstep);
  g_test_add_func("/histogram/rebin", test_rebin);
  g_test_add_func("/histogram/rebin-bad-input", test_rebin_bad_input);
  g_test_add_func("/histogram/bad-values", test_bad_values);
  g_test_add_func("/histogram/threads", test_threads);
  return g_test_run();
}
