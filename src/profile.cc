/* profile.cc: KivProfile, a histogram whose bins hold the weighted mean of
 * a second variable, with its weight sum and mean square per bin. */
#include "profile.h"
#include "kiv-private.h"
#include "function-private.h"
#include "stats-private.h"
#include "profile-private.h"

#include <algorithm>
#include <cmath>

/* The number of values in n and s.  It follows nbin through the range
 * handler; the fill and the readers go by it, so that a change of the bin
 * count whose "range-changed" has not arrived yet (notifications frozen by
 * the caller) can never make them index past the per-bin sums. */
typedef struct {
  int nalloc;
} KivProfilePrivate;

enum {
  PROP_0,
  PROP_RMS,
  PROP_NTOT,
};

G_DEFINE_TYPE_WITH_PRIVATE(KivProfile, kiv_profile, KIV_TYPE_HISTOGRAM)

namespace {

KivProfilePrivate *prof_private(KivProfile *self) {
  return static_cast<KivProfilePrivate *>(kiv_profile_get_instance_private(self));
}

void prof_reset(KivHistogram *h) {
  KivProfile *self = KIV_PROFILE(h);
  int n = prof_private(self)->nalloc;
  std::fill_n(self->n, n, 0.0);
  std::fill_n(self->s, n, 0.0);
}

void prof_allocate(KivProfile *self) {
  int nbin = KIV_FUNCTION(self)->nbin;
  g_free(self->n);
  g_free(self->s);
  self->n = g_new0(double, nbin);
  self->s = g_new0(double, nbin);
  prof_private(self)->nalloc = nbin;
}

/* Runs on every "range-changed", also with the lock held by a rebin, so it
 * must not lock. */
void prof_range_changed(KivProfile *self, gpointer) {
  prof_allocate(self);
}

/* One entry into the per-bin sums, with the statistics and the extrema
 * held where the caller keeps them (the profile itself, or registers for a
 * batch).  Fills run at high rates, so the parent records are reached
 * directly rather than through checked casts. */
template <typename Sums>
inline void prof_enter(KivProfile *p, Sums *st, double *vmin, double *vmax, double x, double y,
                       double w) {
  KivHistogram *h = &p->H;
  KivFunction *f = &h->parent;
  int b = kiv::bin_of(x, f->xmin, f->step, f->nbin);
  if (b < 0 || b >= f->nbin || b >= prof_private(p)->nalloc)
    return;

  double N = p->n[b] + w;
  if (N == 0.0) {
    /* Weights that sum to zero (a first fill of weight 0, or weights that
     * cancel) leave the bin without a defined mean.  Rather than divide by
     * zero and show NaN or infinity, the bin goes back to the state of a
     * bin never filled: weight sum, mean and mean square 0. */
    h->y[b] = 0.0;
    p->s[b] = 0.0;
  } else {
    h->y[b] = (p->n[b] * h->y[b] + w * y) / N;
    p->s[b] = (p->n[b] * p->s[b] + w * y * y) / N;
  }
  p->n[b] = N;

  kiv::stats_add(st, x, y, w);
  if (h->y[b] > *vmax)
    *vmax = h->y[b];
  if (h->y[b] < *vmin)
    *vmin = h->y[b];
}

/* kiv_profile_fill() once the instance is known to be a profile. */
void prof_fill(KivProfile *p, double x, double y, double w) {
  prof_enter(p, p->H.stat, &p->H.vmin, &p->H.vmax, x, y, w);
}

/* The slot is only ever called on profiles. */
void prof_fill_slot(KivHistogram *h, double x, double v) {
  prof_fill(reinterpret_cast<KivProfile *>(h), x, v, 1.0);
}

/* A new array of nbin values, f(b) for the bins that have sums and 0 for
 * any the sums do not cover yet. */
template <typename PerBin>
double *prof_per_bin(KivProfile *self, PerBin f) {
  int nbin = KIV_FUNCTION(self)->nbin;
  int n = std::min(nbin, prof_private(self)->nalloc);
  double *out = g_new0(double, nbin);
  for (int b = 0; b < n; b++)
    out[b] = f(b);
  return out;
}

} // namespace

static void kiv_profile_finalize(GObject *object) {
  KivProfile *self = KIV_PROFILE(object);
  g_free(self->n);
  g_free(self->s);
  G_OBJECT_CLASS(kiv_profile_parent_class)->finalize(object);
}

static void kiv_profile_get_property(GObject *object, guint prop_id, GValue *value,
                                     GParamSpec *pspec) {
  KivProfile *self = KIV_PROFILE(object);
  const double *mean = KIV_HISTOGRAM(self)->y;

  switch (prop_id) {
  case PROP_RMS:
    /* The absolute value guards against a rounding error making the
     * difference slightly negative. */
    g_value_set_pointer(value, prof_per_bin(self, [&](int b) {
      return std::sqrt(std::fabs(self->s[b] - mean[b] * mean[b]));
    }));
    break;
  case PROP_NTOT:
    g_value_set_pointer(value, prof_per_bin(self, [&](int b) { return self->n[b]; }));
    break;
  default:
    G_OBJECT_WARN_INVALID_PROPERTY_ID(object, prop_id, pspec);
    break;
  }
}

static void kiv_profile_class_init(KivProfileClass *klass) {
  GObjectClass *object_class = G_OBJECT_CLASS(klass);
  KivHistogramClass *histogram_class = KIV_HISTOGRAM_CLASS(klass);

  object_class->get_property = kiv_profile_get_property;
  object_class->finalize = kiv_profile_finalize;

  histogram_class->fill = prof_fill_slot;
  histogram_class->reset = prof_reset;

  g_object_class_install_property(object_class, PROP_RMS,
      g_param_spec_pointer("rms", "RMS of profile data", "Pointer to rms of data",
                           G_PARAM_READABLE));
  g_object_class_install_property(object_class, PROP_NTOT,
      g_param_spec_pointer("ntotal", "events of profile data",
                           "Pointer to statistics of profile data", G_PARAM_READABLE));
}

static void kiv_profile_init(KivProfile *self) {
  self->n = NULL;
  self->s = NULL;
  prof_allocate(self);
  g_signal_connect(self, "range-changed", G_CALLBACK(prof_range_changed), NULL);
}

KivProfile *kiv_profile_new(int n, double xmin, double xmax, double *ptr) {
  g_return_val_if_fail(n>0, NULL);

  return KIV_PROFILE(g_object_new(KIV_TYPE_PROFILE,
                                  "nx", n,
                                  "xmin", xmin,
                                  "xmax", xmax,
                                  "ptr", ptr,
                                  NULL));
}

gboolean _kiv_profile_fill_batch(KivHistogram *h, const double *x, const double *v, gsize n) {
  if (KIV_HISTOGRAM_GET_CLASS(h)->fill != prof_fill_slot)
    return FALSE;
  /* The statistics and extrema in registers: the same operations in the
   * same order as single fills, at about half their cost per entry
   * (figure 2 of ./scripts/run-bench). */
  KivProfile *p = reinterpret_cast<KivProfile *>(h);
  kiv::StatsSums st(h->stat);
  double vmin = h->vmin, vmax = h->vmax;
  for (gsize i = 0; i < n; i++)
    prof_enter(p, &st, &vmin, &vmax, x[i], v != NULL ? v[i] : 1.0, 1.0);
  st.store(h->stat);
  h->vmin = vmin;
  h->vmax = vmax;
  return TRUE;
}

void kiv_profile_fill(KivProfile *p, double x, double y, double w) {
  g_return_if_fail(KIV_IS_PROFILE(p));
  prof_fill(p, x, y, w);
}
