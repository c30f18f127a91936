/* Tests of the batched fills: a batch must leave a histogram, profile,
 * tracer or two-dimensional histogram bit for bit as the same single fills
 * leave it, emit "changed" once, and refuse bad arguments. */
#include "chart1d-fixture.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

/* Inherits every slot: batches take the folded path of the histogram. */
typedef struct {
  KivHistogram parent;
} PlainChild;
typedef struct {
  KivHistogramClass parent_class;
} PlainChildClass;

G_DEFINE_TYPE(PlainChild, plain_child, KIV_TYPE_HISTOGRAM)

static void plain_child_class_init(PlainChildClass *) {}
static void plain_child_init(PlainChild *) {}

/* Replaces the fill slot (recording what it is given) and has a class
 * handler for "changed". */
typedef struct {
  KivHistogram parent;
  std::vector<double> *seen;
  int class_changed;
} Recorder;
typedef struct {
  KivHistogramClass parent_class;
} RecorderClass;

G_DEFINE_TYPE(Recorder, recorder, KIV_TYPE_HISTOGRAM)

static void recorder_fill(KivHistogram *h, double x, double w) {
  Recorder *self = reinterpret_cast<Recorder *>(h);
  self->seen->push_back(x);
  self->seen->push_back(w);
  KIV_HISTOGRAM_CLASS(recorder_parent_class)->fill(h, x, w);
}

static void recorder_changed(KivHistogram *h) {
  reinterpret_cast<Recorder *>(h)->class_changed++;
}

static void recorder_finalize(GObject *object) {
  delete reinterpret_cast<Recorder *>(object)->seen;
  G_OBJECT_CLASS(recorder_parent_class)->finalize(object);
}

static void recorder_class_init(RecorderClass *klass) {
  G_OBJECT_CLASS(klass)->finalize = recorder_finalize;
  KIV_HISTOGRAM_CLASS(klass)->fill = recorder_fill;
  KIV_HISTOGRAM_CLASS(klass)->changed = recorder_changed;
}

static void recorder_init(Recorder *self) {
  self->seen = new std::vector<double>;
  self->class_changed = 0;
}

namespace {

const double kNaN = std::numeric_limits<double>::quiet_NaN();
const double kInf = std::numeric_limits<double>::infinity();

/* A small deterministic generator, so that failures reproduce. */
struct Lcg {
  guint64 state;
  double next() {
    state = state * 6364136223846793005ULL + 1442695040888963407ULL;
    return static_cast<double>(state >> 11) / 9007199254740992.0;
  }
};

/* Values that probe every branch of the bin rule: each bin edge and its
 * neighbouring doubles (quotients just below and above whole numbers,
 * -1 among them), NaN, infinities, huge and tiny values, then plain values
 * a little beyond the range on both sides.  There are enough of them for a
 * batch to span several blocks. */
std::vector<double> awkward_values(KivFunction *f, int count) {
  std::vector<double> v;
  for (int k = -2; k <= f->nbin + 1; k++) {
    double e = f->xmin + k * f->step;
    v.push_back(e);
    v.push_back(std::nextafter(e, -kInf));
    v.push_back(std::nextafter(e, kInf));
  }
  v.push_back(f->xmin - 0.5 * f->step);
  for (double s : {kNaN, kInf, -kInf, 1e308, -1e308, 0.0, -0.0, 4.9e-324})
    v.push_back(s);
  Lcg g{42};
  double width = f->xmax - f->xmin;
  while (static_cast<int>(v.size()) < count)
    v.push_back(f->xmin - 0.1 * width + 1.2 * width * g.next());
  return v;
}

std::vector<double> some_weights(gsize n) {
  const double cycle[] = {1.0, 0.0, -2.5, 3.0, 0.125, 1e-300, 7.0};
  std::vector<double> w(n);
  for (gsize i = 0; i < n; i++)
    w[i] = cycle[i % G_N_ELEMENTS(cycle)];
  return w;
}

/* Bit for bit the same doubles: signs of zeros, and the signs of NaNs,
 * which a chart's statistics box shows as "nan" or "-nan". */
void assert_same_bits(const double *a, const double *b, gsize n) {
  for (gsize i = 0; i < n; i++) {
    if (std::memcmp(&a[i], &b[i], sizeof(double)) != 0)
      g_error("double %" G_GSIZE_FORMAT " of %" G_GSIZE_FORMAT " differs: %a and %a", i, n,
              a[i], b[i]);
  }
}

void assert_same_stats(KivStats *a, KivStats *b) {
  assert_same_bits(&a->nc, &b->nc, 1);
  assert_same_bits(a->s, b->s, 5);
  assert_same_bits(a->xmin, b->xmin, 2);
  assert_same_bits(a->xmax, b->xmax, 2);
}

void assert_same_histogram(KivHistogram *a, KivHistogram *b) {
  g_assert_cmpint(KIV_FUNCTION(a)->nbin, ==, KIV_FUNCTION(b)->nbin);
  assert_same_bits(a->y, b->y, KIV_FUNCTION(a)->nbin);
  assert_same_stats(a->stat, b->stat);
  assert_same_bits(&a->vmin, &b->vmin, 1);
  assert_same_bits(&a->vmax, &b->vmax, 1);
}

void fill_singly(KivHistogram *h, const std::vector<double> &x, const double *w) {
  for (gsize i = 0; i < x.size(); i++)
    kiv_histogram_fill(h, x[i], w != NULL ? w[i] : 1.0);
}

/* Fills in batches of the given sizes, cycling through them, so that
 * batches start and end on and off the block boundaries. */
void fill_batched(KivHistogram *h, const std::vector<double> &x, const double *w,
                  std::initializer_list<gsize> sizes) {
  gsize i = 0;
  while (i < x.size()) {
    for (gsize size : sizes) {
      gsize m = std::min(size, x.size() - i);
      kiv_histogram_fill_n(h, x.data() + i, w != NULL ? w + i : NULL, m);
      i += m;
    }
  }
}

/* Builds two instances of a type, fills one singly and the other in
 * batches (after the same few single fills, so that a batch adds to sums
 * already under way), and hands both to the caller. */
template <typename Make>
void fill_both(Make make, bool weighted, KivHistogram **singly, KivHistogram **batched,
               std::vector<double> *values = NULL) {
  *singly = make();
  *batched = make();
  std::vector<double> x = awkward_values(KIV_FUNCTION(*singly), 1100);
  std::vector<double> w = some_weights(x.size());
  const double *wp = weighted ? w.data() : NULL;
  for (double start : {0.3, -7.0})
    for (KivHistogram *h : {*singly, *batched})
      kiv_histogram_fill(h, start, 2.0);
  fill_singly(*singly, x, wp);
  fill_batched(*batched, x, wp, {1, 255, 256, 257, 300});
  if (values != NULL)
    *values = x;
}

void test_histogram() {
  for (bool weighted : {false, true}) {
    /* A step that is not a round binary number, so that quotients round. */
    auto make = [] { return kiv_histogram_new(7, -1.3, 2.9, NULL); };
    KivHistogram *a, *b;
    fill_both(make, weighted, &a, &b);
    g_assert_cmpfloat(a->stat->nc, !=, 0.0);
    assert_same_histogram(a, b);
    g_object_unref(a);
    g_object_unref(b);

    /* A subclass that keeps the histogram's fill behaves the same. */
    auto make_child = [] {
      return KIV_HISTOGRAM(g_object_new(plain_child_get_type(), "nx", 1000, "xmin", 0.0,
                                        "xmax", 1000.0, NULL));
    };
    fill_both(make_child, weighted, &a, &b);
    assert_same_histogram(a, b);
    g_object_unref(a);
    g_object_unref(b);
  }
}

/* NaN and infinite weights and values poison sums, contents and extrema
 * in a particular way; a batch must poison them the same way. */
void test_poisoned() {
  const std::vector<double> x = {0.5, 1.5, kInf, 2.5, 1.5, -kInf, kNaN, 0.5, 3.5};
  const std::vector<double> w = {1.0, kInf, 2.0, kNaN, -kInf, 1.0, 3.0, 2.0, 1.0};
  for (gsize cut : {gsize(0), gsize(3), x.size()}) {
    KivHistogram *a = kiv_histogram_new(4, 0.0, 4.0, NULL);
    KivHistogram *b = kiv_histogram_new(4, 0.0, 4.0, NULL);
    fill_singly(a, x, w.data());
    kiv_histogram_fill_n(b, x.data(), w.data(), cut);
    kiv_histogram_fill_n(b, x.data() + cut, w.data() + cut, x.size() - cut);
    g_assert_true(std::isnan(a->stat->s[0]));
    assert_same_histogram(a, b);
    g_object_unref(a);
    g_object_unref(b);
  }
}

/* Batches after a change of range, of bin count, a rebin, and batches
 * alternating between two histograms find the bins of the binning in
 * force, as single fills do. */
void test_binning_changes() {
  auto run = [](KivHistogram *h, KivHistogram *other, bool batched) {
    std::vector<double> x;
    Lcg g{3};
    for (int i = 0; i < 3000; i++)
      x.push_back(-2.0 + 16.0 * g.next());
    auto fill = [&](KivHistogram *target) {
      if (batched)
        fill_batched(target, x, NULL, {1000, 2000});
      else
        fill_singly(target, x, NULL);
    };
    fill(h);
    g_object_set(h, "xmin", 0.5, NULL);
    fill(h);
    g_object_set(h, "nx", 13, NULL);
    fill(h);
    kiv_histogram_rebin(h, 7, 0.0, 14.0);
    fill(h);
    fill(other);
    fill(h);
  };
  KivHistogram *a = kiv_histogram_new(10, 0.0, 10.0, NULL);
  KivHistogram *b = kiv_histogram_new(10, 0.0, 10.0, NULL);
  KivHistogram *other_a = kiv_histogram_new(30, -1.0, 12.0, NULL);
  KivHistogram *other_b = kiv_histogram_new(30, -1.0, 12.0, NULL);
  run(a, other_a, false);
  run(b, other_b, true);
  assert_same_histogram(a, b);
  assert_same_histogram(other_a, other_b);
  for (KivHistogram *h : {a, b, other_a, other_b})
    g_object_unref(h);
}

/* A sum that holds -0 stays -0 while only -0 terms are added to it and
 * turns +0 with the first +0 term; the terms w y and w x y of a histogram
 * are zeros signed like w and w x.  Sums of -0 only arise from a record
 * written by hand, which is what this does. */
void test_signed_zeros() {
  KivHistogram *a = kiv_histogram_new(4, 0.0, 4.0, NULL);
  KivHistogram *b = kiv_histogram_new(4, 0.0, 4.0, NULL);
  for (KivHistogram *h : {a, b})
    h->stat->s[1] = h->stat->s[3] = h->stat->s[4] = -0.0;
  const std::vector<double> x = {0.5, 1.5, 2.5, -0.5, 3.5, 1.5};
  const std::vector<double> steps[] = {
      {-1.0, -2.0, -0.0, -3.0, -1.0, -4.0}, /* every term -0 but w x y of x = -0.5 */
      {-1.0, -2.0, 5.0, -3.0, -1.0, -4.0},  /* a positive weight */
  };
  for (const std::vector<double> &w : steps) {
    fill_singly(a, x, w.data());
    kiv_histogram_fill_n(b, x.data(), w.data(), x.size());
    assert_same_histogram(a, b);
  }
  g_assert_true(std::signbit(a->stat->s[1]) == false);
  g_object_unref(a);
  g_object_unref(b);

  /* Batches of two blocks, one of them with a NaN weight (filled value by
   * value), the +0 term in the one or the other block. */
  for (gsize plus_at : {gsize(10), gsize(280)}) {
    a = kiv_histogram_new(4, 0.0, 4.0, NULL);
    b = kiv_histogram_new(4, 0.0, 4.0, NULL);
    for (KivHistogram *h : {a, b})
      h->stat->s[1] = h->stat->s[3] = h->stat->s[4] = -0.0;
    std::vector<double> xs(300, 1.5), ws(300, -1.0);
    ws[270] = kNaN;
    ws[plus_at] = 2.0;
    fill_singly(a, xs, ws.data());
    kiv_histogram_fill_n(b, xs.data(), ws.data(), xs.size());
    assert_same_histogram(a, b);
    g_object_unref(a);
    g_object_unref(b);
  }

  /* Without weights every term w y is +0. */
  a = kiv_histogram_new(4, 0.0, 4.0, NULL);
  b = kiv_histogram_new(4, 0.0, 4.0, NULL);
  for (KivHistogram *h : {a, b})
    h->stat->s[1] = h->stat->s[3] = h->stat->s[4] = -0.0;
  fill_singly(a, {-0.5}, NULL);
  kiv_histogram_fill_n(b, std::vector<double>{-0.5}.data(), NULL, 1);
  assert_same_histogram(a, b);
  g_object_unref(a);
  g_object_unref(b);
}

void test_profile() {
  for (bool weighted : {false, true}) {
    auto make = [] { return KIV_HISTOGRAM(kiv_profile_new(9, -2.0, 5.0, NULL)); };
    KivHistogram *a, *b;
    fill_both(make, weighted, &a, &b);
    assert_same_histogram(a, b);
    KivProfile *pa = KIV_PROFILE(a), *pb = KIV_PROFILE(b);
    assert_same_bits(pa->n, pb->n, 9);
    assert_same_bits(pa->s, pb->s, 9);
    g_object_unref(a);
    g_object_unref(b);
  }
}

void test_tracer() {
  auto make = [] { return KIV_HISTOGRAM(kiv_tracer_new(50)); };
  KivHistogram *a, *b;
  fill_both(make, true, &a, &b);
  assert_same_histogram(a, b);
  g_assert_cmpint(KIV_TRACER(a)->index, ==, KIV_TRACER(b)->index);
  g_assert_cmpint(KIV_TRACER(a)->npoints, ==, 50);
  g_assert_cmpint(KIV_TRACER(b)->npoints, ==, 50);
  g_object_unref(a);
  g_object_unref(b);
}

/* A replaced fill slot sees every entry of a batch, in order, with weight
 * 1 when no weights are given; a class handler of "changed" runs once per
 * batch. */
void test_replaced_slot() {
  Recorder *r = static_cast<Recorder *>(
      g_object_new(recorder_get_type(), "nx", 4, "xmin", 0.0, "xmax", 4.0, NULL));
  KivHistogram *h = KIV_HISTOGRAM(r);
  const double x[] = {0.5, 9.0, 2.5};
  const double w[] = {2.0, 3.0, -1.0};
  kiv_histogram_fill_n(h, x, w, 3);
  kiv_histogram_fill_n(h, x, NULL, 2);
  std::vector<double> want = {0.5, 2.0, 9.0, 3.0, 2.5, -1.0, 0.5, 1.0, 9.0, 1.0};
  g_assert_cmpint(r->seen->size(), ==, want.size());
  assert_same_bits(r->seen->data(), want.data(), want.size());
  g_assert_cmpint(r->class_changed, ==, 2);
  g_assert_cmpfloat(h->y[0], ==, 3.0);
  g_assert_cmpfloat(h->y[2], ==, -1.0);
  g_assert_cmpfloat(kiv_histogram_entries(h), ==, 6.0);
  g_object_unref(h);
}

gboolean count_hook(GSignalInvocationHint *, guint, const GValue *, gpointer data) {
  static_cast<kivtest::Counter *>(data)->n++;
  return TRUE;
}

/* Every fill, batch and reset reaches a connected handler and an emission
 * hook; a batch counts once, an empty batch not at all. */
void test_changed() {
  KivHistogram *h = kiv_histogram_new(10, 0.0, 10.0, NULL);
  guint id = g_signal_lookup("changed", KIV_TYPE_HISTOGRAM);
  kivtest::Counter hooked;
  gulong hook = g_signal_add_emission_hook(id, 0, count_hook, &hooked, NULL);
  const double x[] = {1.0, 2.0, 3.0, 40.0};

  kiv_histogram_fill(h, 1.0, 1.0);  /* nobody connected yet */
  g_assert_cmpint(hooked.n, ==, 1);

  kivtest::Counter changed;
  gulong handler = changed.connect(h, "changed");
  kiv_histogram_fill_n(h, x, NULL, 4);
  g_assert_cmpint(changed.n, ==, 1);
  kiv_histogram_fill_n(h, x, NULL, 0);
  kiv_histogram_fill_n(h, NULL, NULL, 0);
  g_assert_cmpint(changed.n, ==, 1);
  g_assert_cmpfloat(kiv_histogram_entries(h), ==, 5.0);
  for (int i = 0; i < 3; i++)
    kiv_histogram_fill(h, 5.5, 1.0);
  kiv_histogram_reset(h);
  g_assert_cmpint(changed.n, ==, 5);
  g_assert_cmpint(hooked.n, ==, 6);

  g_signal_handler_disconnect(h, handler);
  kiv_histogram_fill_n(h, x, NULL, 4);
  g_assert_cmpint(changed.n, ==, 5);
  g_assert_cmpint(hooked.n, ==, 7);
  g_signal_remove_emission_hook(id, hook);
  g_object_unref(h);
}

void test_criticals() {
  KivHistogram *h = kiv_histogram_new(4, 0.0, 4.0, NULL);
  kivtest::Counter changed;
  changed.connect(h, "changed");
  const double x[] = {1.0};

  kiv_expect_critical("kiv_histogram_fill_n: assertion 'KIV_IS_HISTOGRAM(h)' failed");
  kiv_histogram_fill_n(NULL, x, NULL, 1);
  KivStats *s = kiv_stats_new();
  kiv_expect_critical("kiv_histogram_fill_n: assertion 'KIV_IS_HISTOGRAM(h)' failed");
  kiv_histogram_fill_n(reinterpret_cast<KivHistogram *>(s), x, NULL, 1);
  kiv_expect_critical("kiv_histogram_fill_n: assertion 'x != NULL || n == 0' failed");
  kiv_histogram_fill_n(h, NULL, x, 3);
  g_test_assert_expected_messages();

  g_assert_cmpint(changed.n, ==, 0);
  g_assert_cmpfloat(kiv_histogram_entries(h), ==, 0.0);
  g_object_unref(s);
  g_object_unref(h);
}

struct Producer {
  KivHistogram *h;
  const std::vector<double> *x;
  gsize begin, end;
};

gpointer produce(gpointer data) {
  Producer *p = static_cast<Producer *>(data);
  gsize i = p->begin, size = 1;
  while (i < p->end) {
    gsize m = std::min(size, p->end - i);
    kiv_histogram_fill_n(p->h, p->x->data() + i, NULL, m);
    i += m;
    if (i < p->end)
      kiv_histogram_fill(p->h, (*p->x)[i++], 1.0);
    size = size * 3 % 97 + 1;
  }
  return NULL;
}

/* Batches and single fills from four threads at once lose nothing: with
 * weight 1 every count is exact whatever the interleaving. */
void test_threads() {
  const int kThreads = 4;
  KivHistogram *h = kiv_histogram_new(100, 0.0, 100.0, NULL);
  std::vector<double> x(40000);
  Lcg g{7};
  std::vector<double> want(100, 0.0);
  for (double &v : x) {
    v = -5.0 + 110.0 * g.next();
    int b = kiv_function_find_bin(KIV_FUNCTION(h), v);
    if (b >= 0 && b < 100)
      want[b] += 1.0;
  }
  Producer p[kThreads];
  GThread *t[kThreads];
  for (int i = 0; i < kThreads; i++) {
    p[i] = {h, &x, x.size() * i / kThreads, x.size() * (i + 1) / kThreads};
    t[i] = g_thread_new("producer", produce, &p[i]);
  }
  for (int round = 0; round < 50; round++) {
    KivTuple tuple;
    kiv_function_get_array(KIV_FUNCTION(h), &tuple, 0.0, 100.0);
    g_assert_cmpint(tuple.n, ==, 301);
    kiv_function_clear_tuple(&tuple);
  }
  for (GThread *thread : t)
    g_thread_join(thread);
  g_assert_cmpfloat(kiv_histogram_entries(h), ==, static_cast<double>(x.size()));
  assert_same_bits(h->y, want.data(), 100);
  g_assert_cmpfloat(h->vmax, ==, *std::max_element(want.begin(), want.end()));
  g_object_unref(h);
}

gpointer fill_both_ways(gpointer data) {
  KivHistogram *h = static_cast<KivHistogram *>(data);
  const double x[] = {0.5, 1.5, 2.5};
  kiv_histogram_fill_n(h, x, NULL, 3);
  kiv_histogram_fill(h, 3.5, 1.0);
  return NULL;
}

/* A producer that finds the lock taken steps aside a few times, then waits
 * on the mutex: however long the lock is held, it fills only after. */
void test_waits_for_lock() {
  KivHistogram *h = kiv_histogram_new(4, 0.0, 4.0, NULL);
  kiv_function_lock(KIV_FUNCTION(h));
  GThread *t = g_thread_new("producer", fill_both_ways, h);
  g_usleep(50000);
  g_assert_cmpfloat(h->stat->nc, ==, 0.0);
  kiv_function_unlock(KIV_FUNCTION(h));
  g_thread_join(t);
  g_assert_cmpfloat(kiv_histogram_entries(h), ==, 4.0);
  g_object_unref(h);
}

void assert_same_histogram2d(KivHistogram2D *a, KivHistogram2D *b) {
  int nx = KIV_FUNCTION(a)->nbin, ny = KIV_FUNCTION2D(a)->Y->nbin;
  assert_same_bits(a->y, b->y, static_cast<gsize>(nx) * ny);
  assert_same_stats(a->stat, b->stat);
  assert_same_bits(&a->vmin, &b->vmin, 1);
  assert_same_bits(&a->vmax, &b->vmax, 1);
}

void test_histogram2d() {
  for (bool weighted : {false, true}) {
    KivHistogram2D *a = kiv_histogram2d_new(6, -1.3, 2.9, 5, 0.0, 1.0, NULL);
    KivHistogram2D *b = kiv_histogram2d_new(6, -1.3, 2.9, 5, 0.0, 1.0, NULL);
    std::vector<double> x = awkward_values(KIV_FUNCTION(a), 700);
    std::vector<double> y = awkward_values(KIV_FUNCTION2D(a)->Y, 700);
    std::vector<double> w = some_weights(x.size());
    const double *wp = weighted ? w.data() : NULL;
    kivtest::Counter changed;
    changed.connect(b, "changed");
    for (gsize i = 0; i < x.size(); i++)
      kiv_histogram2d_fill(a, x[i], y[i], wp != NULL ? wp[i] : 1.0);
    kiv_histogram2d_fill_n(b, x.data(), y.data(), wp, 300);
    kiv_histogram2d_fill_n(b, x.data() + 300, y.data() + 300, wp != NULL ? wp + 300 : NULL,
                           x.size() - 300);
    kiv_histogram2d_fill_n(b, NULL, NULL, NULL, 0);
    g_assert_cmpint(changed.n, ==, 2);
    g_assert_cmpfloat(a->stat->nc, !=, 0.0);
    assert_same_histogram2d(a, b);
    g_object_unref(a);
    g_object_unref(b);
  }

  /* An entry the single fill drops with a warning is dropped, with the
   * same warning, from a batch. */
  KivHistogram2D *h = kiv_histogram2d_new(2, 0.0, 2.0, 2, 0.0, 2.0, NULL);
  const double x[] = {0.5, 1.5, 0.5}, y[] = {0.5, 1.5, 1.5}, w[] = {1.0, kNaN, 2.0};
  kiv_expect_warning("KivHistogram2D: weight nan at (1.5, 1.5)*entry dropped");
  kiv_histogram2d_fill_n(h, x, y, w, 3);
  g_test_assert_expected_messages();
  g_assert_cmpfloat(h->y[0], ==, 1.0);
  g_assert_cmpfloat(h->y[2], ==, 2.0);
  g_assert_cmpfloat(h->y[3], ==, 0.0);
  g_assert_cmpfloat(h->stat->nc, ==, 3.0);

  kiv_expect_critical("kiv_histogram2d_fill_n: assertion 'h2d != NULL' failed");
  kiv_histogram2d_fill_n(NULL, x, y, w, 3);
  KivStats *s = kiv_stats_new();
  kiv_expect_critical("kiv_histogram2d_fill_n: assertion 'KIV_IS_HISTOGRAM2D(h2d)' failed");
  kiv_histogram2d_fill_n(reinterpret_cast<KivHistogram2D *>(s), x, y, w, 3);
  kiv_expect_critical(
      "kiv_histogram2d_fill_n: assertion '(x != NULL && y != NULL) || n == 0' failed");
  kiv_histogram2d_fill_n(h, x, NULL, w, 3);
  g_test_assert_expected_messages();
  g_assert_cmpfloat(h->stat->nc, ==, 3.0);
  g_object_unref(s);
  g_object_unref(h);
}

/* What a chart shows of a histogram, its step outline and its text dump,
 * is the same after a batch as after single fills. */
void test_outline_and_dump() {
  KivHistogram *a, *b;
  fill_both([] { return kiv_histogram_new(7, -1.3, 2.9, NULL); }, true, &a, &b);
  KivTuple ta, tb;
  kiv_function_get_array(KIV_FUNCTION(a), &ta, -1.3, 2.9);
  kiv_function_get_array(KIV_FUNCTION(b), &tb, -1.3, 2.9);
  g_assert_cmpint(ta.n, ==, 22);
  g_assert_cmpmem(ta.P, ta.n * sizeof(KivPoint), tb.P, tb.n * sizeof(KivPoint));
  kiv_function_clear_tuple(&ta);
  kiv_function_clear_tuple(&tb);
  GString *da = kiv_function_print(KIV_FUNCTION(a));
  GString *db = kiv_function_print(KIV_FUNCTION(b));
  g_assert_cmpstr(da->str, ==, db->str);
  g_string_free(da, TRUE);
  g_string_free(db, TRUE);
  g_object_unref(a);
  g_object_unref(b);
}

GString *picture_of(KivHistogram *h) {
  kivtest::Shown shown(KIV_FUNCTION(h), 320, 240);
  kiv_chart1d_show_stats(shown.chart, TRUE);
  GString *png = NULL;
  g_object_get(shown.chart, "png", &png, NULL);
  g_assert_nonnull(png);
  return png;
}

/* The chart's picture, statistics box included, is byte for byte the
 * same. */
void test_pictures() {
  KivHistogram *a, *b;
  fill_both([] { return kiv_histogram_new(40, 0.0, 4.0, NULL); }, true, &a, &b);
  GString *pa = picture_of(a), *pb = picture_of(b);
  g_assert_cmpmem(pa->str, pa->len, pb->str, pb->len);
  g_string_free(pa, TRUE);
  g_string_free(pb, TRUE);
  g_object_unref(a);
  g_object_unref(b);
}

} // namespace

int main(int argc, char **argv) {
  g_test_init(&argc, &argv, NULL);
  bool display = gtk_init_check(&argc, &argv);
  g_test_add_func("/fill-n/histogram", test_histogram);
  g_test_add_func("/fill-n/poisoned", test_poisoned);
  g_test_add_func("/fill-n/signed-zeros", test_signed_zeros);
  g_test_add_func("/fill-n/binning-changes", test_binning_changes);
  g_test_add_func("/fill-n/profile", test_profile);
  g_test_add_func("/fill-n/tracer", test_tracer);
  g_test_add_func("/fill-n/replaced-slot", test_replaced_slot);
  g_test_add_func("/fill-n/changed", test_changed);
  g_test_add_func("/fill-n/criticals", test_criticals);
  g_test_add_func("/fill-n/threads", test_threads);
  g_test_add_func("/fill-n/waits-for-lock", test_waits_for_lock);
  g_test_add_func("/fill-n/histogram2d", test_histogram2d);
  g_test_add_func("/fill-n/outline-and-dump", test_outline_and_dump);
  if (display)
    g_test_add_func("/fill-n/pictures", test_pictures);
  else
    g_test_add_func("/fill-n/pictures", [] { g_test_skip("no X display"); });
  return g_test_run();
}
