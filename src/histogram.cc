/* histogram.cc: KivHistogram, a sampled function whose bins accumulate
 * weighted entries, drawn as a step outline, with the statistics of every
 * value filled and the extreme bin contents reached. */
#include "histogram.h"
#include "histogram-private.h"
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

using kiv::BatchPlan;
using kiv::histogram_fill_real;
using kiv::histogram_fill_batch;
using kiv::histogram_plan_batch;
using kiv::ProducerLock;

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

/* Producers call this at high rates under the lock: the instance is known
 * to be a histogram, so its base is reached without a checked cast. */
void kiv::histogram_fill_real(KivHistogram *self, double x, double w) {
  KivFunction *f = &self->parent;
  int bin = kiv_function_find_bin(f, x);
  kiv_stats_add(self->stat, x, 0.0, w);
  if (bin >= 0 && bin < f->nbin) {
    self->y[bin] += w;
    histogram_note_content(self, self->y[bin]);
  }
}

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
