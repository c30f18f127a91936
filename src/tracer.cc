/* tracer.cc: KivTracer, the most recent values of a series in a ring of
 * nbin places, shown oldest first at x = 0, 1, 2, ... */
#include "tracer.h"
#include "kiv-private.h"

#include <algorithm>
#include <cmath>

enum {
  PROP_0,
  PROP_NPTS,
  PROP_XMIN,
  PROP_XMAX,
  PROP_XSTEP,
};

G_DEFINE_TYPE(KivTracer, kiv_tracer, KIV_TYPE_HISTOGRAM)

namespace {

/* The same limit as the "nx" property. */
constexpr int kMaxPlaces = 999999;

/* Place in y of the oldest value of the history. */
int tracer_oldest(KivTracer *self) {
  int p = self->index - self->npoints;
  return p < 0 ? p + KIV_FUNCTION(self)->nbin : p;
}

/* Sets the history sums of the statistics (count, sum and sum of squares)
 * from the values held, leaving the all-time extrema alone. */
void tracer_recount(KivTracer *self) {
  KivStats *st = KIV_HISTOGRAM(self)->stat;
  const double *y = KIV_HISTOGRAM(self)->y;
  int nbin = KIV_FUNCTION(self)->nbin;
  double sum = 0.0, sum2 = 0.0;
  for (int i = 0, p = tracer_oldest(self); i < self->npoints; i++, p++) {
    if (p >= nbin)
      p = 0;
    sum += y[p];
    sum2 += y[p] * y[p];
  }
  st->nc = self->npoints;
  st->s[0] = sum;
  st->s[2] = sum2;
}

/* A new length zeroes the values; the history is emptied with them, so
 * that the array never shows the zeros as values, and the count and sums
 * of the statistics keep describing the values held.  The all-time
 * extrema stay. */
void tracer_forget_history(KivTracer *self) {
  self->index = 0;
  self->npoints = 0;
  tracer_recount(self);
}

void tracer_set_length(KivTracer *self, int n) {
  kiv_histogram_resize(KIV_HISTOGRAM(self), n, 0.0, n);
  tracer_forget_history(self);
}

void tracer_fill(KivHistogram *h, double x, double) {
  KivTracer *self = KIV_TRACER(h);
  int nbin = KIV_FUNCTION(h)->nbin;
  KivStats *st = h->stat;

  if (self->index >= nbin)
    self->index = 0;
  if (self->npoints < nbin) {
    self->npoints++;
  } else {
    double old = h->y[self->index];
    st->nc -= 1;
    st->s[0] -= old;
    st->s[2] -= old * old;
  }
  h->y[self->index] = x;
  self->index++;
  kiv_stats_add(st, x, 0.0, 1.0);
  /* Subtraction cannot take an infinity or a NaN back out of a sum (nor
   * the square of a value near 1e308, which overflows).  Once such a sum
   * appears it is rebuilt from the values held, so that it recovers as
   * soon as the offending value has left the history. */
  if (!std::isfinite(st->s[0]) || !std::isfinite(st->s[2]))
    tracer_recount(self);

  if (x > h->vmax)
    h->vmax = x;
  if (h->vmin > x)
    h->vmin = x;
}

/* The inherited reset clears values, statistics and extrema; the history
 * goes with them, so the next value starts a new trace at x = 0. */
void tracer_reset(KivHistogram *h) {
  KIV_HISTOGRAM_CLASS(kiv_tracer_parent_class)->reset(h);
  KivTracer *self = KIV_TRACER(h);
  self->index = 0;
  self->npoints = 0;
}

void tracer_array(KivFunction *f, KivTuple *t, double, double) {
  t->n = 0;
  t->P = NULL;
  g_return_if_fail(KIV_IS_TRACER(f));
  KivTracer *self = KIV_TRACER(f);
  const double *y = KIV_HISTOGRAM(f)->y;
  int m = std::min(self->npoints, f->nbin);
  if (m <= 0)
    return;
  t->P = g_new(KivPoint, m);
  t->n = m;
  for (int i = 0, p = tracer_oldest(self); i < m; i++, p++) {
    if (p >= f->nbin)
      p = 0;
    t->P[i] = {static_cast<double>(i), y[p]};
  }
}

int tracer_resize(KivFunction *f, int width, int) {
  g_return_val_if_fail(KIV_IS_TRACER(f), 0);
  KivTracer *self = KIV_TRACER(f);
  KivHistogram *h = KIV_HISTOGRAM(f);
  int old = f->nbin;
  if (width == old)
    return 0;
  /* A plotting area without columns (a widget being laid out) or wider
   * than "nx" allows gives no ring length: the ring stays as it is. */
  if (width < 1 || width > kMaxPlaces)
    return 0;

  double *ring = g_new(double, width);
  if (width > old) {
    /* Growing: the history is laid out oldest first from place 0 and the
     * new places are zero, so the array keeps showing exactly the values
     * filled, in order, and never a place that holds no value. */
    int p = tracer_oldest(self);
    for (int i = 0; i < self->npoints; i++, p++) {
      if (p >= old)
        p = 0;
      ring[i] = h->y[p];
    }
    std::fill(ring + self->npoints, ring + width, 0.0);
    self->index = self->npoints;
  } else {
    std::copy_n(h->y, width, ring);
    if (self->index >= width)
      self->index = 0;
    if (self->npoints > width)
      self->npoints = width;
  }
  /* A caller's array lent through "ptr" is left to the caller. */
  if (h->owner)
    g_free(h->y);
  h->y = ring;
  h->owner = 1;
  f->nbin = width;
  f->xmax = width;
  /* The statistics are left as they were: a chart re-sizes its tracers at
   * every size allocation, and the figures describe what was filled, not
   * the pixel width of whoever shows it. */
  return 1;
}

} // namespace

/* Like the histogram's, these handlers take no lock: a rebin writes "nx"
 * with the mutex held. */
static void kiv_tracer_set_property(GObject *object, guint prop_id, const GValue *value,
                                    GParamSpec *pspec) {
  KivTracer *self = KIV_TRACER(object);

  switch (prop_id) {
  case PROP_NPTS:
    tracer_set_length(self, g_value_get_int(value));
    break;
  case PROP_XMIN:
    /* The abscissa of a tracer is the age of a value: it starts at 0. */
    break;
  case PROP_XMAX:
    tracer_set_length(self, kiv::trunc_to_int(g_value_get_double(value)));
    break;
  default:
    /* "xstep" included: the step of a tracer is fixed at 1. */
    G_OBJECT_WARN_INVALID_PROPERTY_ID(object, prop_id, pspec);
    break;
  }
}

static void kiv_tracer_get_property(GObject *object, guint prop_id, GValue *value,
                                    GParamSpec *pspec) {
  KivFunction *f = KIV_FUNCTION(object);

  switch (prop_id) {
  case PROP_NPTS:
    g_value_set_int(value, f->nbin);
    break;
  case PROP_XMIN:
    g_value_set_double(value, f->xmin);
    break;
  case PROP_XMAX:
    g_value_set_double(value, f->xmax);
    break;
  case PROP_XSTEP:
    g_value_set_double(value, f->step);
    break;
  default:
    G_OBJECT_WARN_INVALID_PROPERTY_ID(object, prop_id, pspec);
    break;
  }
}

static void kiv_tracer_class_init(KivTracerClass *klass) {
  GObjectClass *object_class = G_OBJECT_CLASS(klass);
  KivFunctionClass *function_class = KIV_FUNCTION_CLASS(klass);
  KivHistogramClass *histogram_class = KIV_HISTOGRAM_CLASS(klass);

  object_class->set_property = kiv_tracer_set_property;
  object_class->get_property = kiv_tracer_get_property;

  function_class->array = tracer_array;
  function_class->resize = tracer_resize;
  histogram_class->fill = tracer_fill;
  histogram_class->reset = tracer_reset;

  g_object_class_override_property(object_class, PROP_NPTS, "nx");
  g_object_class_override_property(object_class, PROP_XMIN, "xmin");
  g_object_class_override_property(object_class, PROP_XMAX, "xmax");
  g_object_class_override_property(object_class, PROP_XSTEP, "xstep");
}

static void kiv_tracer_init(KivTracer *self) {
  KivFunction *f = KIV_FUNCTION(self);
  f->xmin = 0.0;
  f->step = 1.0;
  self->index = 0;
  self->npoints = 0;
}

KivTracer *kiv_tracer_new(int n) {
  g_return_val_if_fail(n>0, NULL);

  return KIV_TRACER(g_object_new(KIV_TYPE_TRACER,
                                 "nx", n,
                                 "xmin", 0.0,
                                 "xmax", static_cast<double>(n),
                                 "ptr", NULL,
                                 NULL));
}

gdouble kiv_tracer_get_maximum(KivTracer *tr) {
  return kiv_histogram_max_value(KIV_HISTOGRAM(tr));
}

gdouble kiv_tracer_get_minimum(KivTracer *tr) {
  return kiv_histogram_min_value(KIV_HISTOGRAM(tr));
}

gdouble kiv_tracer_get_mean(KivTracer *tr) {
  return kiv_histogram_mean(KIV_HISTOGRAM(tr));
}

gdouble kiv_tracer_get_rms(KivTracer *tr) {
  return kiv_histogram_rms(KIV_HISTOGRAM(tr));
}
