/* Tests of KivHistogram: fills and their statistics, refused arguments,
 * contents on loan and the step outline, rebinning, batched fills (of
 * histograms, profiles and tracers) that must leave bit for bit what
 * single fills leave, and producers in threads while this one rebins. */
#include "kiv-test.h"

#include <algorithm>
#include <cstring>
#include <tuple>

namespace {

bool contents_are(KivHistogram *h, std::vector<double> want) {
  return KIV_FUNCTION(h)->nbin == (int)want.size() &&
         !memcmp(h->y, want.data(), want.size() * sizeof(double));
}

/* Entries, mean, extreme contents and extreme values filled. */
#define assert_stats(h, n, mean, vmin, vmax, lo, hi)                                               \
  kiv_assert_each({kiv_histogram_entries(h), n}, {kiv_histogram_mean(h), mean},                    \
                  {kiv_histogram_vmin(h), vmin}, {kiv_histogram_vmax(h), vmax},                    \
                  {kiv_histogram_min_value(h), lo}, {kiv_histogram_max_value(h), hi})

/* The points of the step outline over [lo, hi], flattened to x, y, x, y... */
std::vector<double> outline(KivHistogram *h, double lo, double hi) {
  KivTuple t = {0, NULL};
  kiv_function_get_array(KIV_FUNCTION(h), &t, lo, hi);
  std::vector<double> v(t.n ? &t.P->x : NULL, t.n ? &t.P->x + 2 * t.n : NULL);
  kiv_function_clear_tuple(&t);
  return v;
}

void test_fill_and_stats() {
  KivHistogram *h = kiv_histogram_new(10, 0.0, 10.0, NULL);
  kivtest::Counter changed;
  changed.connect(h, "changed");
  /* The upper edge belongs to no bin and less than a bin below the range
   * lands in bin 0; both count as entries.  -0 is no new minimum. */
  for (auto f : {std::pair{10.0, 1.0}, {-0.5, 1.0}, {2.5, 3.0}, {2.7, -5.0}, {7.5, -0.0}})
    kiv_histogram_fill(h, f.first, f.second);
  g_assert_true(contents_are(h, {1, 0, -2, 0, 0, 0, 0, 0, 0, 0}));
  assert_stats(h, 0.0, 0.0, -2.0, 3.0, -0.5, 10.0); /* weights sum to 0: mean 0 */
  h->y[9] = 4.0; /* the value at a point: the last bin includes the upper edge */
  for (auto p : {std::pair{10.0, 4.0}, {10.01, 0.0}, {-0.01, 0.0}, {NAN, 0.0}})
    g_assert_cmpfloat(kiv_function_eval(KIV_FUNCTION(h), p.first), ==, p.second);
  kiv_histogram_reset(h);
  g_assert_true(changed.n == 6 && contents_are(h, std::vector<double>(10, 0.0)));
  assert_stats(h, 0.0, 0.0, 0.0, 0.0, G_MAXDOUBLE, -G_MAXDOUBLE);
  kiv_histogram_resize(h, 4, 0.0, 4.0);
  for (double x : {1.0, 2.0, 3.0}) kiv_histogram_fill(h, x, 1.0);
  KivStats *s = kiv_stats_new();
  g_assert_true(kiv_histogram_get_stats(h, s) == 0 && s->s[2] == 14.0 &&
                fabs(kiv_histogram_rms(h) - 2.0 / 3) < 1e-15 &&
                fabs(kiv_histogram_stdev(h) - sqrt(2.0 / 3)) < 1e-15);
  /* Refused arguments: the library's own preconditions, nothing changed. */
  kiv_expect_critical("kiv_histogram_new: assertion 'n>0' failed");
  g_assert_null(kiv_histogram_new(0, 0, 1, NULL));
  kiv_expect_critical("kiv_histogram_get_bin_content: assertion 'ibin>=0 && ibin<nbin' failed");
  g_assert_cmpfloat(kiv_histogram_get_bin_content(h, 4), ==, 0.0);
  kiv_expect_critical("kiv_histogram_set_bin_content: assertion 'ibin>=0 && ibin<nbin' failed");
  kiv_histogram_set_bin_content(h, -1, 1);
  kiv_expect_critical("kiv_histogram_fill_n: assertion 'x != NULL || n == 0' failed");
  kiv_histogram_fill_n(h, NULL, h->y, 3);
  g_test_assert_expected_messages();
  g_assert_true(changed.n == 9 && kiv_histogram_entries(h) == 3.0);
  g_object_unref(s);
  g_object_unref(h);
  /* Contents on loan: fills, clones and resets see the caller's array. */
  double data[] = {0, 2, 0, 1, 123}, *own = NULL; /* a canary past the contents */
  h = kiv_histogram_new(4, 0.0, 4.0, data);
  kiv_histogram_fill(h, 3.2, 1.0);
  KivHistogram *c = kiv_histogram_clone(h);
  kiv_histogram_fill(c, 0.5, 4.0);
  g_assert_true(contents_are(c, {4, 2, 0, 2}) && data[0] == 0 && data[3] == 2);
  assert_stats(c, 8.0, (6.5 + 3.2 + 2.0) / 8, 0.0, 4.0, 0.5, 3.5);
  g_object_unref(c);
  /* The outline rises, tops and falls at the bin edges; limits beyond the
   * range are clamped to the outer bins; a request within a bin gives
   * that bin, a reversed one nothing. */
  g_assert_true(outline(h, 1.2, 4.0) ==
                std::vector<double>({1, 0, 1, 2, 2, 2, 2, 2, 2, 0, 3, 0, 3, 0, 3, 2, 4, 2, 4, 0}));
  kiv_assert_each({outline(h, -1e308, INFINITY).size(), 26}, {outline(h, NAN, NAN).size(), 8},
                  {outline(h, 1.5, 0.5).size(), 0});
  kiv_histogram_reset(h);
  g_assert_true(data[1] == 0.0 && data[3] == 0.0);
  /* A new count gives the histogram an array of its own; that array
   * handed back stays owned and rebuilds the statistics; NULL gives zeros
   * of its own. */
  g_object_set(h, "nx", 3, NULL);
  g_object_get(h, "ptr", &own, NULL);
  own[1] = 5.0;
  g_object_set(h, "ptr", own, NULL);
  g_assert_true(h->y == own && h->owner == 1 && kiv_histogram_entries(h) == 5.0);
  g_object_set(h, "ptr", NULL, NULL);
  g_assert_true(contents_are(h, {0, 0, 0}) && h->owner == 1 && data[4] == 123.0);
  g_object_unref(h);
}

void test_rebin() {
  KivHistogram *h = kiv_histogram_new(4, 0.0, 4.0, NULL);
  KivFunction *f = KIV_FUNCTION(h);
  std::copy_n(std::begin({1.0, 2.0, 3.0, 4.0}), 4, h->y);
  /* Each row rebins what the row before left (or 1 2 3 4 on a fresh [0,
   * 4)): a new bin gets what the old bins it covers held, split evenly
   * within an old bin.  A count below 1 keeps the count. */
  const std::tuple<bool, int, double, double, std::vector<double>> rows[] = {
      {false, 2, 0, 4, {3, 7}},           {true, 2, 1, 3, {2, 3}},
      {false, 4, 1, 3, {1, 1, 1.5, 1.5}}, {false, 3, -1, 5, {0, 5, 0}},
      {true, 0, 0, 8, {3, 7, 0, 0}},      {false, -3, 0, 4, {1.5, 1.5, 3.5, 3.5}}};
  for (const auto &[fresh, n, lo, hi, want] : rows) {
    if (fresh) {
      kiv_histogram_resize(h, 4, 0.0, 4.0);
      std::copy_n(std::begin({1.0, 2.0, 3.0, 4.0}), 4, h->y);
    }
    kiv_histogram_rebin(h, n, lo, hi);
    g_assert_true(contents_are(h, want) && f->xmin == lo && f->xmax == hi);
  }
  assert_stats(h, 45.0, 103.0 / 45, 0.0, 7.0, 0.0, 7.0); /* one entry per new bin at its centre */
  /* Refused limits: a warning, and nothing changes.  A count "nx" would
   * refuse keeps the present count, with a warning. */
  kivtest::Counter range;
  range.connect(h, "range-changed");
  const double refused[][2] = {{NAN, 4}, {0, INFINITY},   {4, 0},
                               {2, 2},   {-1e308, 1e308}, {0, 5e-324}};
  for (const auto &lim : refused) {
    kiv_expect_warning("kiv_histogram_rebin: cannot rebin to [*]; limits must be finite and "
                       "increasing");
    kiv_histogram_rebin(h, 1000, lim[0], lim[1]);
  }
  kiv_expect_warning("kiv_histogram_rebin: 1000000 bins is more than 999999; keeping 4 bins");
  kiv_histogram_rebin(h, 1000000, 0.0, 4.0);
  g_test_assert_expected_messages();
  g_assert_true(contents_are(h, {1.5, 1.5, 3.5, 3.5}) && f->step == 1.0 && range.n == 2);
  kiv_histogram_fill(h, 3.5, 2.0);
  kiv_histogram_rebin(h, 999999, 0.0, 4.0);
  g_assert_true(fabs(h->y[999998] - 5.5 / 249999.75) < 1e-15);
  /* A new step re-bins as a new count does, the contents zeroed. */
  g_object_set(h, "xstep", 0.3, NULL);
  kiv_histogram_fill(h, 0.85, 1.0);
  g_assert_true(f->nbin == 13 && kiv_function_get_step(f) == 0.3 && h->y[2] == 1.0 &&
                std::count(h->y, h->y + 13, 0.0) == 12);
  g_object_unref(h);
}

/* Contents, statistics, extrema, the sums of profiles and the ring of
 * tracers, as raw bytes. */
std::vector<double> state(KivHistogram *h) {
  int n = KIV_FUNCTION(h)->nbin;
  std::vector<double> v(h->y, h->y + n);
  v.insert(v.end(), &h->stat->nc, &h->stat->nc + 10);
  v.insert(v.end(), {h->vmin, h->vmax});
  if (KIV_IS_PROFILE(h)) {
    v.insert(v.end(), KIV_PROFILE(h)->n, KIV_PROFILE(h)->n + n);
    v.insert(v.end(), KIV_PROFILE(h)->s, KIV_PROFILE(h)->s + n);
  }
  if (KIV_IS_TRACER(h))
    v.insert(v.end(), {(double)KIV_TRACER(h)->index, (double)KIV_TRACER(h)->npoints});
  return v;
}

/* a singly, b in batches of sizes that start and end on and off the
 * blocks of 256 a batch works in; then both are compared byte for byte. */
void fill_both(KivHistogram *a, KivHistogram *b, const std::vector<double> &x, const double *w) {
  const gsize sizes[] = {1, 255, 256, 257, 300, 1000, 2000};
  for (size_t i = 0; i < x.size(); i++) kiv_histogram_fill(a, x[i], w != NULL ? w[i] : 1.0);
  for (gsize i = 0, k = 0, m; i < x.size(); i += m, k++) {
    m = std::min(sizes[k % 7], x.size() - i);
    kiv_histogram_fill_n(b, x.data() + i, w != NULL ? w + i : NULL, m);
  }
  std::vector<double> sa = state(a), sb = state(b);
  g_assert_cmpmem(sa.data(), sa.size() * sizeof(double), sb.data(), sb.size() * sizeof(double));
}

void test_fill_n() {
  KivHistogram *(*const makes[])() = {
      [] { return kiv_histogram_new(7, -1.3, 2.9, NULL); },
      [] { return KIV_HISTOGRAM(kiv_profile_new(9, -2.0, 5.0, NULL)); },
      [] { return KIV_HISTOGRAM(kiv_tracer_new(50)); }};
  const double cycle[] = {1.0, 0.0, -2.5, 3.0, 0.125, 1e-300, 7.0}, negative[] = {-1.0, -2.0};
  const std::vector<double> px = {0.5, 1.5, INFINITY, 2.5, 1.5, -INFINITY, NAN, 0.5, 3.5},
                            pw = {1.0, INFINITY, 2.0, NAN, -INFINITY, 1.0, 3.0, 2.0, 1.0};
  for (auto make : makes) {
    KivHistogram *a = make(), *b = make();
    KivFunction *f = KIV_FUNCTION(a);
    /* Each edge and its neighbouring doubles, NaN, infinities, huge and
     * tiny values, signed zeros, then values a little beyond the range on
     * both sides; enough for a batch to span several blocks. */
    std::vector<double> x = {NAN, INFINITY, -INFINITY, 1e308, -1e308, 0.0, -0.0, 5e-324}, w;
    for (int k = -2; k <= f->nbin + 1; k++)
      for (double d : {-HUGE_VAL, 0.0, HUGE_VAL})
        x.push_back(std::nextafter(f->xmin + k * f->step, d == 0.0 ? f->xmin + k * f->step : d));
    for (guint64 r = 42; x.size() < 1100; r = r * 6364136223846793005ULL + 1442695040888963407ULL)
      x.push_back(f->xmin + (f->xmax - f->xmin) * (1.2 * (r >> 11) / 9007199254740992.0 - 0.1));
    for (size_t i = 0; i < x.size(); i++) w.push_back(cycle[i % 7]);
    /* A sum of -0 (from a record written by hand) stays -0 while only -0
     * terms are added: the terms w y and w x y of a histogram are zeros
     * signed like w and w x.  One "changed" per batch, none for an empty
     * one; the batches of 1 and 1 then add to sums under way. */
    for (KivHistogram *h : {a, b}) h->stat->s[1] = h->stat->s[3] = h->stat->s[4] = -0.0;
    kivtest::Counter changed;
    changed.connect(b, "changed");
    kiv_histogram_fill_n(b, x.data(), NULL, 0);
    fill_both(a, b, {0.3, 1.5}, negative);
    g_assert_cmpint(changed.n, ==, 2);
    fill_both(a, b, x, NULL);
    /* The bins found ahead for the next batch are those of the old range. */
    for (KivHistogram *h : {b, a}) g_object_set(h, "xmin", f->xmin - 0.25, NULL);
    fill_both(a, b, x, w.data());
    fill_both(a, b, px, pw.data()); /* NaN and infinities poison sums in a particular way */
    for (KivHistogram *h : {a, b}) g_object_unref(h);
  }
}

/* Two producers fill while this thread rebins between 16 and 8 bins
 * and takes text dumps, each of one binning.  Weights and edges are
 * dyadic, so rebins keep the contents exactly. */
gpointer producer(gpointer h) {
  const double x[] = {0.5, 7.0, 15.5}, w[] = {0.5, 1.0, 1.5};
  for (int k = 0; k < 3000; k++) kiv_histogram_fill_n(KIV_HISTOGRAM(h), x, w, 3);
  return NULL;
}

void test_threads() {
  KivHistogram *h = kiv_histogram_new(16, 0.0, 16.0, NULL);
  GThread *threads[] = {g_thread_new("p", producer, h), g_thread_new("p", producer, h)};
  for (int k = 0; k < 100; k++) {
    kiv_histogram_rebin(h, k % 2 ? 16 : 8, 0.0, 16.0);
    GString *dump = kiv_function_print(KIV_FUNCTION(h));
    int n = 0;
    g_assert_true(sscanf(dump->str, "1D %d 0.000000 16.000000\t", &n) == 1 && (n == 8 || n == 16));
    g_assert_cmpint(std::count(dump->str, dump->str + dump->len, '\n'), ==, n + 2);
    g_string_free(dump, TRUE);
  }
  for (GThread *t : threads) g_thread_join(t);
  kiv_histogram_rebin(h, 1, 0.0, 16.0);
  g_assert_cmpfloat(h->y[0], ==, 2 * 3000 * 3.0);
  g_object_unref(h);
}

} // namespace

int main(int argc, char **argv) {
  g_test_init(&argc, &argv, NULL);
  g_test_add_func("/histogram/fill-and-stats", test_fill_and_stats);
  g_test_add_func("/histogram/rebin", test_rebin);
  g_test_add_func("/histogram/fill-n", test_fill_n);
  g_test_add_func("/histogram/threads", test_threads);
  return g_test_run();
}
