/* histogram-batch.cc: kiv_histogram_fill_n() on a plain histogram.
 *
 * One call per value costs a producer about 43 ns (the mutex and the
 * "changed" emission, figure 1 of ./scripts/run-bench); a batch pays them
 * once and fills at Boost.Histogram's speed from arrays (figure 2).  To
 * get there, the statistics are kept in registers and added in the order
 * of single fills (the same bits), the values are scanned for NaN,
 * infinities and signed zeros before the lock is taken, and the bins of a
 * thread's next batch are found while another producer holds the lock.
 * Profiles get a register-held loop of their own; other subclasses that
 * replace the fill slot get it called once per value. */
#include "histogram-private.h"
#include "profile-private.h"
#include "kiv-private.h"

#include <algorithm>
#include <cfloat>
#include <cstring>

namespace {

using namespace kiv;

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

} // namespace

namespace kiv {

bool Binning::operator==(const Binning &o) const {
  return std::memcmp(&xmin, &o.xmin, sizeof xmin) == 0 &&
         std::memcmp(&step, &o.step, sizeof step) == 0 && nbin == o.nbin;
}

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
} // namespace kiv

namespace {

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

} // namespace

namespace kiv {

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

} // namespace kiv
