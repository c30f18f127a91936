/* histogram.cc: KivHistogram, a sampled function whose bins accumulate
 * weighted entries, drawn as a step outline, with the statistics of every
 * value filled and the extreme bin contents reached. */
#include "histogram.h"
#include "profile-private.h"
#include "function-private.h"
#include "graph.h"
#include "kiv-private.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstring>
#include <vector>

enum {
  PROP_0,
  PROP_NPTS,
  PROP_PTR,
  PROP_VMIN,
  PROP_VMAX,
  PROP_STATS,
  PROP_XSTEP,
};

enum {
  CHANGED,
  LAST_SIGNAL,
};

static guint histogram_signals[LAST_SIGNAL];

G_DEFINE_TYPE(KivHistogram, kiv_histogram, KIV_TYPE_FUNCTION)

namespace {

/* The same limit as the "nx" property: more bins than this are refused. */
constexpr int kMaxBins = 999999;

/* Gives the histogram n zeroed bins.  A caller's array is never re-sized
 * or freed: it is left to the caller and replaced by an owned one. */
void histogram_resize_contents(KivHistogram *self, int n) {
  if (self->owner) {
    self->y = g_renew(double, self->y, n);
  } else {
    self->y = g_new(double, n);
    self->owner = 1;
  }
  std::fill_n(self->y, n, 0.0);
}

void histogram_note_content(KivHistogram *self, double v) {
  if (v > self->vmax)
    self->vmax = v;
  if (v < self->vmin)
    self->vmin = v;
}

/* Lets a processor that polls a lock pause between attempts. */
inline void histogram_cpu_relax() {
#if defined(__x86_64__) || defined(__i386__)
  __builtin_ia32_pause();
#elif defined(__aarch64__)
  __asm__ __volatile__("yield");
#endif
}

/* How a producer takes a histogram's lock.  Two producers on two cores
 * that take turns at every fill spend their time passing the lock, the
 * contents and GLib's signal lock from one cache to the other, and one
 * asleep on the mutex has the other wake it, a system call, at every
 * unlock: together they fill at a fraction of the rate of one.  So a
 * producer that finds the lock taken steps aside for a moment, leaving
 * the other to fill alone from warm caches, and waits on the mutex itself
 * only after a few such attempts.
 *
 * A batch holds the lock for many values, long enough for a producer on
 * another processor to poll for it a little first: it then takes the lock
 * as soon as the holder lets go, having scanned its values and found its
 * bins meanwhile.  (Polling for a lock held for one value would only pass
 * its cache line to and fro.)
 *
 * What ends up filled is the same either way; only the turns the
 * producers take change.  A producer that meets a reader instead (a chart
 * copying the contents) steps aside too, and so waits longer than on the
 * mutex; charts hold the lock for microseconds a few times a second, so
 * that is rare outside a stress test. */
class ProducerLock {
public:
  ProducerLock(KivFunction *f, bool batch) : f_(f) {
    static const bool several_processors = g_get_num_processors() > 1;
    if (batch && several_processors) {
      const gint64 until = g_get_monotonic_time() + kPollUs;
      do {
        if (kiv_function_trylock(f_))
          return;
        for (int i = 0; i < 32; i++)
          histogram_cpu_relax();
      } while (g_get_monotonic_time() < until);
    }
    for (int attempt = 0; attempt < kStepsAside; attempt++) {
      if (kiv_function_trylock(f_))
        return;
      g_usleep(kStepAsideUs);
    }
    kiv_function_lock(f_);
  }
  ~ProducerLock() { kiv_function_unlock(f_); }
  ProducerLock(const ProducerLock &) = delete;
  ProducerLock &operator=(const ProducerLock &) = delete;

private:
  static constexpr gint64 kPollUs = 30;
  static constexpr int kStepsAside = 8;
  static constexpr gulong kStepAsideUs = 50;
  KivFunction *f_;
};

/* Producers call this at high rates under the lock: the instance is known
 * to be a histogram, so its base is reached without a checked cast. */
void histogram_fill_real(KivHistogram *self, double x, double w) {
  KivFunction *f = &self->parent;
  int bin = kiv_function_find_bin(f, x);
  kiv_stats_add(self->stat, x, 0.0, w);
  if (bin >= 0 && bin < f->nbin) {
    self->y[bin] += w;
    histogram_note_content(self, self->y[bin]);
  }
}

/* Folding the statistics into a batch loop (below) is exact only where the
 * compiler evaluates every product and sum as written.  A target where it
 * may fuse a multiply with an add, or keep more precision than a double,
 * could round the folded copy differently from kiv_stats_add(); there a
 * batch goes through the fill slot entry by entry instead. */
#if defined(__FP_FAST_FMA) || (defined(FLT_EVAL_METHOD) && FLT_EVAL_METHOD != 0)
constexpr bool kFoldStats = false;
#else
constexpr bool kFoldStats = true;
#endif

/* The sums of x and its extrema, held in locals while a batch fills.
 * add() makes kiv_stats_add()'s own operations on them for an entry
 * (x, 0, w), in its order, so that they end bit for bit as the same
 * entries added one at a time leave them.  The sums and extrema that
 * involve y are left to histogram_add_zero_terms(). */
class FoldedStats {
public:
  explicit FoldedStats(const KivStats *st)
      : nc_(st->nc), s0_(st->s[0]), s2_(st->s[2]), xmin_(st->xmin[0]), xmax_(st->xmax[0]) {}

  void add(double x, double w) {
    nc_ += w;
    s0_ += w * x;
    s2_ += w * x * x;
    if (x > xmax_)
      xmax_ = x;
    if (x < xmin_)
      xmin_ = x;
  }

  void store(KivStats *st) const {
    st->nc = nc_;
    st->s[0] = s0_;
    st->s[2] = s2_;
    st->xmin[0] = xmin_;
    st->xmax[0] = xmax_;
  }

private:
  double nc_, s0_, s2_, xmin_, xmax_;
};

/* What a bin number depends on besides the value. */
struct Binning {
  double xmin, step;
  int nbin;

  static Binning of(const KivFunction *f) { return {f->xmin, f->step, f->nbin}; }

  /* Compared bit for bit: the same bits give the same bins. */
  bool operator==(const Binning &o) const {
    return std::memcmp(&xmin, &o.xmin, sizeof xmin) == 0 &&
           std::memcmp(&step, &o.step, sizeof step) == 0 && nbin == o.nbin;
  }
};

/* The bin of each of m values, by kiv_function_find_bin()'s rule. */
void histogram_find_bins(const Binning &b, const double *x, gsize m, int *bins) {
  for (gsize i = 0; i < m; i++)
    bins[i] = kiv::bin_of(x[i], b.xmin, b.step, b.nbin);
}

/* Bins found before a batch takes the lock, per thread, for up to
 * kEarlyBins values, with the binning the thread saw the last time it held
 * a histogram's lock.  The batch uses them only if its histogram has that
 * binning once the lock is held; a producer filling one histogram finds
 * them right at every batch after its first, and divides while another
 * producer holds the lock. */
constexpr gsize kEarlyBins = 1 << 16;
class EarlyBins {
public:
  EarlyBins() = default;
  EarlyBins(const EarlyBins &) = delete;
  EarlyBins &operator=(const EarlyBins &) = delete;
  ~EarlyBins() { g_free(bins_); }

  /* Room for n bins; what was there before may be lost. */
  int *reserve(gsize n) {
    if (n > size_) {
      g_free(bins_);
      bins_ = g_new(int, n);
      size_ = n;
    }
    return bins_;
  }
  const int *data() const { return bins_; }

private:
  int *bins_ = NULL;
  gsize size_ = 0;
};

thread_local EarlyBins early_bins;
thread_local Binning last_binning = {0.0, 0.0, 0}; /* no histogram has 0 bins */

/* What the values and weights of a batch tell before any is filled. */
struct BatchScan {
  bool finite;       /* every product w x is finite: no NaN or infinite
                      * value or weight, no overflow */
  bool plus_zero_w;  /* some w has its sign bit clear */
  bool plus_zero_wx; /* some w x has its sign bit clear */
};

/* Looks at the bits: an exponent of all ones (infinities and NaNs), and
 * the signs.  Written so that the compiler vectorises it, which it does
 * not do with comparisons. */
template <bool Weighted>
BatchScan histogram_scan(const double *x, const double *w, gsize m) {
  constexpr guint64 kExponent = G_GUINT64_CONSTANT(0x7ff0000000000000);
  constexpr guint64 kCarry = G_GUINT64_CONSTANT(0x0010000000000000);
  guint64 carried = 0, clear_w = 0, clear_wx = 0;
  for (gsize i = 0; i < m; i++) {
    const double wi = Weighted ? w[i] : 1.0;
    const double p = wi * x[i];
    guint64 wbits, pbits;
    std::memcpy(&wbits, &wi, sizeof wbits);
    std::memcpy(&pbits, &p, sizeof pbits);
    /* Only an exponent of all ones carries into the sign bit. */
    carried |= (pbits & kExponent) + kCarry;
    clear_w |= ~wbits;
    clear_wx |= ~pbits;
  }
  return {(carried >> 63) == 0, (clear_w >> 63) != 0, (clear_wx >> 63) != 0};
}

/* How a batch will be filled, decided before the lock is taken, so that
 * producers in other threads can fill meanwhile: whether the fill slot
 * folds, the scan of the values and weights, and the early bins. */
struct BatchPlan {
  bool fold;
  BatchScan scan;
  gsize early;     /* values whose bins are in early_bins */
  Binning binning; /* the binning they were found with */
};

BatchPlan histogram_plan_batch(KivHistogram *self, const double *x, const double *w, gsize n) {
  BatchPlan plan = {};
  plan.fold = kFoldStats && KIV_HISTOGRAM_GET_CLASS(self)->fill == histogram_fill_real;
  if (!plan.fold)
    return plan;
  plan.scan = w != NULL ? histogram_scan<true>(x, w, n) : histogram_scan<false>(x, w, n);
  if (last_binning.nbin > 0) {
    plan.early = std::min(n, kEarlyBins);
    plan.binning = last_binning;
    histogram_find_bins(plan.binning, x, plan.early, early_bins.reserve(plan.early));
  }
  return plan;
}

/* A histogram fills y = 0 for every entry, so the terms w y, w y y and
 * w x y that kiv_stats_add() adds to the last three sums are zeros signed
 * like w, w and w x (or NaN, when w or w x is not finite), and the extrema
 * of y only ever meet 0.  Adding a zero leaves a sum as it is, except that
 * +0 turns a sum of -0 into +0, and leaves a NaN as it is; so once the
 * entries with a NaN term have been added one at a time, adding a single
 * +0 where the batch has any +0 term ends the sums as adding every term in
 * order does.  Meeting 0 once does to the extrema of y what meeting it for
 * every entry does. */
void histogram_add_zero_terms(KivStats *st, const BatchScan &scan) {
  if (scan.plus_zero_w) {
    st->s[1] += 0.0;
    st->s[3] += 0.0;
  }
  if (scan.plus_zero_wx)
    st->s[4] += 0.0;
  const double y = 0.0;
  if (y > st->xmax[1])
    st->xmax[1] = y;
  if (y < st->xmin[1])
    st->xmin[1] = y;
}

/* histogram_fill_real() for a whole batch, with the statistics and the
 * extrema kept in registers until the end, and the bins of each block of
 * values found ahead of the sums, or early.  The caller holds the lock.
 *
 * A block holding an entry whose product w x is not finite goes through
 * the single fill entry by entry instead.  When two NaNs meet in a sum,
 * which of them comes out depends on the order of the operands that the
 * compiler chose, and the sign of a NaN shows in a chart's statistics
 * box; with finite products no term of a sum is a NaN, so the folded sums
 * come out bit for bit as kiv_stats_add()'s. */
template <bool Weighted>
void histogram_fill_folded(KivHistogram *self, const double *x, const double *w, gsize n,
                           const BatchPlan &plan) {
  constexpr gsize kBlock = 256;
  KivFunction *f = &self->parent;
  const Binning binning = Binning::of(f);
  const gsize early = plan.binning == binning ? plan.early : 0;
  last_binning = binning;
  double *y = self->y;
  const int nbin = f->nbin;
  double vmin = self->vmin, vmax = self->vmax;
  FoldedStats sums(self->stat);
  int found[kBlock];
  for (gsize start = 0; start < n; start += kBlock) {
    const gsize m = std::min(kBlock, n - start);
    const double *xb = x + start;
    const double *wb = Weighted ? w + start : NULL;
    if (!plan.scan.finite && !histogram_scan<Weighted>(xb, wb, m).finite) {
      sums.store(self->stat);
      self->vmin = vmin;
      self->vmax = vmax;
      for (gsize i = 0; i < m; i++)
        histogram_fill_real(self, xb[i], Weighted ? wb[i] : 1.0);
      sums = FoldedStats(self->stat);
      vmin = self->vmin;
      vmax = self->vmax;
      continue;
    }
    const int *bins = found;
    if (start + m <= early)
      bins = early_bins.data() + start;
    else
      histogram_find_bins(binning, xb, m, found);
    for (gsize i = 0; i < m; i++) {
      const double wi = Weighted ? wb[i] : 1.0;
      sums.add(xb[i], wi);
      const int bin = bins[i];
      if (bin >= 0 && bin < nbin) {
        double v = y[bin] += wi;
        if (v > vmax)
          vmax = v;
        if (v < vmin)
          vmin = v;
      }
    }
  }
  sums.store(self->stat);
  histogram_add_zero_terms(self->stat, plan.scan);
  self->vmin = vmin;
  self->vmax = vmax;
}

/* A batch under the lock the caller holds.  Subclasses that replace the
 * fill slot (profiles, tracers, an application's own) get it called once
 * per entry, exactly as single fills would; the histogram's own slot is
 * folded into one loop. */
void histogram_fill_batch(KivHistogram *self, const double *x, const double *w, gsize n,
                          const BatchPlan &plan) {
  if (plan.fold) {
    if (w != NULL)
      histogram_fill_folded<true>(self, x, w, n, plan);
    else
      histogram_fill_folded<false>(self, x, w, n, plan);
    return;
  }
  if (KIV_IS_PROFILE(self) && _kiv_profile_fill_batch(self, x, w, n))
    return;
  auto fill = KIV_HISTOGRAM_GET_CLASS(self)->fill;
  for (gsize i = 0; i < n; i++)
    fill(self, x[i], w != NULL ? w[i] : 1.0);
}

void histogram_reset_real(KivHistogram *self) {
  std::fill_n(self->y, KIV_FUNCTION(self)->nbin, 0.0);
  kiv_stats_reset(self->stat);
  self->vmin = 0.0;
  self->vmax = 0.0;
}

int histogram_clamp_bin(KivFunction *f, double x) {
  return std::clamp(kiv_function_find_bin(f, x), 0, f->nbin - 1);
}

double histogram_eval(KivFunction *f, double x) {
  /* Written so that a NaN abscissa also reads as outside the range. */
  if (!(x >= f->xmin && x <= f->xmax))
    return 0.0;
  return KIV_HISTOGRAM(f)->y[histogram_clamp_bin(f, x)];
}

void histogram_array(KivFunction *f, KivTuple *t, double xa, double xb) {
  t->n = 0;
  t->P = NULL;
  const double *y = KIV_HISTOGRAM(f)->y;
  int i1 = histogram_clamp_bin(f, xa);
  int i2 = histogram_clamp_bin(f, xb);
  if (i2 < i1)
    return;
  int m = i2 - i1 + 1;
  t->n = 3 * m + 1;
  t->P = g_new(KivPoint, t->n);
  double prev = 0.0;
  for (int k = 0; k < m; k++) {
    int i = i1 + k;
    double lower = f->xmin + i * f->step;
    t->P[3 * k] = {lower, prev};
    t->P[3 * k + 1] = {lower, y[i]};
    t->P[3 * k + 2] = {lower + f->step, y[i]};
    prev = y[i];
  }
  t->P[3 * m] = {t->P[3 * m - 1].x, 0.0};
}

/* Rebin counts the "nx" property would refuse are not applied: a count
 * below 1 (the chart's range dialog passes 0 when no number was typed)
 * keeps the present count, as kiv_histogram_resize() does, and a count
 * above 999999 keeps it too, with a warning, rather than asking for
 * gigabytes of bins. */
int histogram_usable_count(KivHistogram *self, int nbin, const char *caller) {
  int current = KIV_FUNCTION(self)->nbin;
  if (nbin > kMaxBins) {
    g_warning("%s: %d bins is more than %d; keeping %d bins", caller, nbin, kMaxBins, current);
    return current;
  }
  return nbin >= 1 ? nbin : current;
}

} // namespace

static void kiv_histogram_finalize(GObject *object) {
  KivHistogram *self = KIV_HISTOGRAM(object);
  if (self->owner)
    g_free(self->y);
  self->y = NULL;
  g_clear_object(&self->stat);
  G_OBJECT_CLASS(kiv_histogram_parent_class)->finalize(object);
}

/* The histogram's own properties take no lock: kiv_histogram_rebin()
 * writes "nx" while it holds the mutex.  "xstep" is the exception, since
 * it stands in for a base-class property that does lock. */
static void kiv_histogram_set_property(GObject *object, guint prop_id,
                                       const GValue *value, GParamSpec *pspec) {
  KivHistogram *self = KIV_HISTOGRAM(object);
  KivFunction *f = KIV_FUNCTION(object);

  switch (prop_id) {
  case PROP_NPTS: {
    int n = g_value_get_int(value);
    histogram_resize_contents(self, n);
    f->nbin = n;
    f->step = (f->xmax - f->xmin) / f->nbin;
    g_object_notify(object, "range");
    break;
  }
  case PROP_PTR: {
    double *p = static_cast<double *>(g_value_get_pointer(value));
    if (p != NULL) {
      /* Handing back the array the histogram already holds (read through
       * "ptr") keeps its ownership: it must be neither freed under the
       * caller's feet nor leaked. */
      if (p != self->y) {
        if (self->owner)
          g_free(self->y);
        self->y = p;
        self->owner = 0;
      }
      kiv_histogram_update_stats(self);
    } else {
      if (self->owner)
        g_free(self->y);
      self->y = g_new0(double, f->nbin);
      self->owner = 1;
    }
    g_signal_emit(object, histogram_signals[CHANGED], 0);
    break;
  }
  case PROP_STATS:
    kiv_histogram_update_stats(self);
    break;
  case PROP_XSTEP: {
    /* The base class would change the bin count without touching the
     * contents.  Here a new step re-bins the way a write of "nx" does: the
     * contents follow the new count, zeroed, and "range" is notified so
     * that charts and profiles hear of the new binning.  A step refused by
     * the base class (no bin count from 1 to 999999) changes nothing. */
    kiv::FunctionLock lock(f);
    if (_kiv_function_set_step(f, g_value_get_double(value))) {
      histogram_resize_contents(self, f->nbin);
      g_object_notify(object, "range");
    }
    break;
  }
  default:
    G_OBJECT_WARN_INVALID_PROPERTY_ID(object, prop_id, pspec);
    break;
  }
}

static void kiv_histogram_get_property(GObject *object, guint prop_id, GValue *value,
                                       GParamSpec *pspec) {
  KivHistogram *self = KIV_HISTOGRAM(object);
  KivFunction *f = KIV_FUNCTION(object);

  switch (prop_id) {
  case PROP_NPTS:
    g_value_set_int(value, f->nbin);
    break;
  case PROP_PTR:
    g_value_set_pointer(value, self->y);
    break;
  case PROP_VMIN:
    g_value_set_double(value, self->vmin);
    break;
  case PROP_VMAX:
    g_value_set_double(value, self->vmax);
    break;
  case PROP_XSTEP: {
    kiv::FunctionLock lock(f);
    g_value_set_double(value, f->step);
    break;
  }
  default:
    G_OBJECT_WARN_INVALID_PROPERTY_ID(object, prop_id, pspec);
    break;
  }
}

static void kiv_histogram_class_init(KivHistogramClass *klass) {
  GObjectClass *object_class = G_OBJECT_CLASS(klass);
  KivFunctionClass *function_class = KIV_FUNCTION_CLASS(klass);

  object_class->set_property = kiv_histogram_set_property;
  object_class->get_property = kiv_histogram_get_property;
  object_class->finalize = kiv_histogram_finalize;

  function_class->eval = histogram_eval;
  function_class->array = histogram_array;

  klass->fill = histogram_fill_real;
  klass->reset = histogram_reset_real;
  klass->changed = NULL;

  g_object_class_override_property(object_class, PROP_NPTS, "nx");
  g_object_class_install_property(object_class, PROP_PTR,
      g_param_spec_pointer("ptr", "ptr to data", "Pointer to data", G_PARAM_READWRITE));
  g_object_class_install_property(object_class, PROP_VMIN,
      g_param_spec_double("vmin", "vmin", "Minimum histogramed value", -G_MAXDOUBLE, G_MAXDOUBLE,
                          0.0, G_PARAM_READABLE));
  g_object_class_install_property(object_class, PROP_VMAX,
      g_param_spec_double("vmax", "vmax", "Maximum histogramed value", -G_MAXDOUBLE, G_MAXDOUBLE,
                          1.0, G_PARAM_READABLE));
  g_object_class_install_property(object_class, PROP_STATS,
      g_param_spec_int("stats", "stats", "Updates the statistics", -2147483647, 2147483647, 0,
                       G_PARAM_WRITABLE));
  g_object_class_override_property(object_class, PROP_XSTEP, "xstep");

  histogram_signals[CHANGED] =
      g_signal_new("changed", G_TYPE_FROM_CLASS(klass), G_SIGNAL_RUN_FIRST,
                   G_STRUCT_OFFSET(KivHistogramClass, changed), NULL, NULL,
                   g_cclosure_marshal_VOID__VOID, G_TYPE_NONE, 0);
}

static void kiv_histogram_init(KivHistogram *self) {
  self->y = g_new(double, KIV_FUNCTION(self)->nbin);
  self->owner = 1;
  self->stat = kiv_stats_new();
  self->vmin = 0.0;
  self->vmax = 0.0;
  /* A subclass's own reset cannot run yet: its fields are set up after
   * this, so the histogram's reset is called directly. */
  histogram_reset_real(self);
}

KivHistogram *kiv_histogram_new(gint n, gdouble xmin, gdouble xmax, gdouble *ptr) {
  g_return_val_if_fail(n>0, NULL);

  return KIV_HISTOGRAM(g_object_new(KIV_TYPE_HISTOGRAM,
                                    "nx", n,
                                    "xmin", xmin,
                                    "xmax", xmax,
                                    "ptr", ptr,
                                    NULL));
}

void kiv_histogram_fill(KivHistogram *h, double val, double weight) {
  {
    ProducerLock lock(&h->parent, false);
    KIV_HISTOGRAM_GET_CLASS(h)->fill(h, val, weight);
  }
  g_signal_emit(h, histogram_signals[CHANGED], 0);
}

void kiv_histogram_fill_n(KivHistogram *h, const double *x, const double *w, gsize n) {
  g_return_if_fail(KIV_IS_HISTOGRAM(h));
  g_return_if_fail(x != NULL || n == 0);
  /* An empty batch is zero fills: nothing changes, so nothing is emitted
   * and the lock is not even taken. */
  if (n == 0)
    return;
  const BatchPlan plan = histogram_plan_batch(h, x, w, n);
  {
    ProducerLock lock(&h->parent, true);
    histogram_fill_batch(h, x, w, n, plan);
  }
  g_signal_emit(h, histogram_signals[CHANGED], 0);
}

void kiv_histogram_reset(KivHistogram *h) {
  {
    kiv::FunctionLock lock(KIV_FUNCTION(h));
    KIV_HISTOGRAM_GET_CLASS(h)->reset(h);
  }
  g_signal_emit(h, histogram_signals[CHANGED], 0);
}

void kiv_histogram_set_bin_content(KivHistogram *h, int ibin, double val) {
  g_return_if_fail(KIV_IS_HISTOGRAM(h));
  KivFunction *f = KIV_FUNCTION(h);
  kiv::FunctionLock lock(f);
  int nbin = f->nbin;
  g_return_if_fail(ibin>=0 && ibin<nbin);
  h->y[ibin] = val;
}

double kiv_histogram_get_bin_content(KivHistogram *h, int ibin) {
  g_return_val_if_fail(KIV_IS_HISTOGRAM(h), 0.0);
  KivFunction *f = KIV_FUNCTION(h);
  kiv::FunctionLock lock(f);
  int nbin = f->nbin;
  g_return_val_if_fail(ibin>=0 && ibin<nbin, 0.0);
  return h->y[ibin];
}

void kiv_histogram_resize(KivHistogram *h, int nbin, double xmin, double xmax) {
  KivFunction *f = KIV_FUNCTION(h);
  int n = histogram_usable_count(h, nbin, G_STRFUNC);
  histogram_resize_contents(h, n);
  f->nbin = n;
  f->xmin = xmin;
  f->xmax = xmax;
  f->step = (xmax - xmin) / n;
  g_object_notify(G_OBJECT(h), "range");
}

void kiv_histogram_rebin(KivHistogram *h, int nbin, gdouble xmin, gdouble xmax) {
  g_return_if_fail(KIV_IS_HISTOGRAM(h));
  KivFunction *f = KIV_FUNCTION(h);

  {
    kiv::FunctionLock lock(f);
    /* Limits that are not finite, equal or reversed would leave a range
     * without a usable step, or drop every content on the floor (no new
     * bin centre lies inside a reversed range); such a rebin is refused
     * and the histogram stays as it was. */
    int n = f->nbin;
    double s = (xmax - xmin) / n;
    bool usable = std::isfinite(xmin) && std::isfinite(xmax) && xmin < xmax && std::isfinite(s);
    if (usable) {
      n = histogram_usable_count(h, nbin, G_STRFUNC);
      s = (xmax - xmin) / n;
    }
    if (!usable || !(s > 0.0)) {
      g_warning("%s: cannot rebin to [%g, %g]; limits must be finite and increasing",
                G_STRFUNC, xmin, xmax);
      return;
    }

    int old_n = f->nbin;
    std::vector<double> edge(old_n + 1), cumul(old_n + 1);
    edge[0] = f->xmin;
    cumul[0] = 0.0;
    for (int i = 1; i <= old_n; i++) {
      edge[i] = f->xmin + i * f->step;
      cumul[i] = cumul[i - 1] + h->y[i - 1];
    }
    KivGraph *cumulative = kiv_graph_new(old_n + 1, edge.data(), cumul.data());
    KivFunction *c = KIV_FUNCTION(cumulative);

    f->xmin = xmin;
    f->xmax = xmax;
    g_object_set(h, "nx", n, NULL);

    KivHistogramClass *klass = KIV_HISTOGRAM_GET_CLASS(h);
    for (int j = 0; j < n; j++) {
      double a = xmin + j * s;
      double centre = a + s / 2;
      if (centre < xmin || centre >= xmax)
        continue;
      double w = kiv_function_eval(c, a + s) - kiv_function_eval(c, a);
      klass->fill(h, centre, w);
    }
    g_object_unref(cumulative);
  }
  g_signal_emit_by_name(h, "range-changed");
}

void kiv_histogram_update_stats(KivHistogram *h) {
  g_return_if_fail(KIV_IS_HISTOGRAM(h));
  KivFunction *f = KIV_FUNCTION(h);
  kiv_stats_reset(h->stat);
  h->vmin = 0.0;
  h->vmax = 0.0;
  for (int i = 0; i < f->nbin; i++) {
    double v = h->y[i];
    if (v == 0.0)
      continue;
    kiv_stats_add(h->stat, kiv_function_bin_center(f, i), 0.0, v);
    histogram_note_content(h, v);
  }
}

int kiv_histogram_get_stats(KivHistogram *h, KivStats *s) {
  g_return_val_if_fail(KIV_IS_HISTOGRAM(h), -1);
  g_return_val_if_fail(s!=NULL, -1);
  g_return_val_if_fail(KIV_IS_STATS(s), -1);
  kiv_stats_copy(h->stat, s);
  return 0;
}

void kiv_histogram_get_values(KivHistogram *h, int *sz, double **buffer) {
  if (sz != NULL)
    *sz = 0;
  if (buffer != NULL)
    *buffer = NULL;
  g_return_if_fail(KIV_IS_HISTOGRAM(h));
  g_return_if_fail(sz != NULL && buffer != NULL);
  *sz = KIV_FUNCTION(h)->nbin;
  *buffer = h->y;
}

gdouble *kiv_histogram_get_data(KivHistogram *h) {
  int n = KIV_FUNCTION(h)->nbin;
  gdouble *copy = g_new(gdouble, n);
  std::copy_n(h->y, n, copy);
  return copy;
}

KivHistogram *kiv_histogram_clone(KivHistogram *h) {
  KivFunction *f = KIV_FUNCTION(h);
  KivHistogram *c = kiv_histogram_new(f->nbin, f->xmin, f->xmax, NULL);
  c->vmin = h->vmin;
  c->vmax = h->vmax;
  std::copy_n(h->y, f->nbin, c->y);
  kiv_stats_copy(h->stat, c->stat);
  return c;
}

gdouble kiv_histogram_mean(KivHistogram *h) {
  return kiv_stats_get_mean(h->stat, 0);
}

gdouble kiv_histogram_rms(KivHistogram *h) {
  return kiv_stats_get_rms(h->stat, 0);
}

gdouble kiv_histogram_stdev(KivHistogram *h) {
  return kiv_stats_get_stdev(h->stat, 0);
}

gdouble kiv_histogram_entries(KivHistogram *h) {
  return kiv_stats_get_nc(h->stat);
}

gdouble kiv_histogram_min_value(KivHistogram *h) {
  return kiv_stats_get_min(h->stat, 0);
}

gdouble kiv_histogram_max_value(KivHistogram *h) {
  return kiv_stats_get_max(h->stat, 0);
}

gdouble kiv_histogram_vmin(KivHistogram *h) {
  return h->vmin;
}

gdouble kiv_histogram_vmax(KivHistogram *h) {
  return h->vmax;
}
