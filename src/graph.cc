/* graph.cc: KivGraph, a polyline through copied points, evaluated by linear
 * interpolation between them. */
#include "graph.h"
#include "kiv-private.h"

#include <algorithm>
#include <cmath>

struct KivGraphPrivate {
  /* TRUE when the abscissas never decrease, as evaluation expects; a
   * binary search then finds the same point as a scan from the start. */
  gboolean sorted;
};

enum {
  PROP_0,
  PROP_NPTS,
  PROP_XV,
  PROP_YV,
};

G_DEFINE_TYPE_WITH_PRIVATE(KivGraph, kiv_graph, KIV_TYPE_FUNCTION)

namespace {

KivGraphPrivate *graph_private(KivGraph *self) {
  return static_cast<KivGraphPrivate *>(kiv_graph_get_instance_private(self));
}

/* Index of the first abscissa at or beyond x, or n when there is none. */
int graph_first_at_or_beyond(KivGraph *self, int n, double x) {
  if (std::isnan(x))
    return n;
  if (graph_private(self)->sorted)
    return static_cast<int>(std::lower_bound(self->xv, self->xv + n, x) - self->xv);
  int i = 0;
  while (i < n && !(self->xv[i] >= x))
    i++;
  return i;
}

double graph_eval(KivFunction *f, double x) {
  KivGraph *self = KIV_GRAPH(f);
  int n = f->nbin;
  /* A graph without points has nothing to interpolate; it reads as 0 so
   * that a chart or a rebin fed with it sees a flat line, not garbage. */
  if (n <= 0 || self->xv == NULL)
    return 0.0;
  int i = graph_first_at_or_beyond(self, n, x);
  if (i == n)
    return self->yv[n - 1];
  if (i == 0)
    return self->yv[0];
  const double *xv = self->xv, *yv = self->yv;
  double v = yv[i - 1] + (yv[i] - yv[i - 1]) * (x - xv[i - 1]) / (xv[i] - xv[i - 1]);
  /* Near the ends of the double range a difference or the product
   * overflows although the result does not.  Halved operands give it, at
   * the cost of roundings that the plain formula does not have, so they
   * are used only then. */
  if (!std::isfinite(v) && std::isfinite(x)) {
    double t = (0.5 * x - 0.5 * xv[i - 1]) / (0.5 * xv[i] - 0.5 * xv[i - 1]);
    v = yv[i - 1] + 2.0 * ((0.5 * yv[i] - 0.5 * yv[i - 1]) * t);
  }
  return v;
}

void graph_array(KivFunction *f, KivTuple *t, double, double) {
  KivGraph *self = KIV_GRAPH(f);
  int n = f->nbin > 0 && self->xv ? f->nbin : 0;
  t->n = n;
  t->P = n > 0 ? g_new(KivPoint, n) : NULL;
  for (int i = 0; i < n; i++) {
    t->P[i].x = self->xv[i];
    t->P[i].y = self->yv[i];
  }
}

} // namespace

static void kiv_graph_finalize(GObject *object) {
  KivGraph *self = KIV_GRAPH(object);
  g_free(self->xv);
  g_free(self->yv);
  G_OBJECT_CLASS(kiv_graph_parent_class)->finalize(object);
}

/* Points are set only through kiv_graph_new() and kiv_graph_reset(): the
 * three properties accept writes and ignore them. */
static void kiv_graph_set_property(GObject *object, guint prop_id, const GValue *,
                                   GParamSpec *pspec) {
  g_return_if_fail(KIV_IS_GRAPH(object));
  switch (prop_id) {
  case PROP_NPTS:
  case PROP_XV:
  case PROP_YV:
    break;
  default:
    G_OBJECT_WARN_INVALID_PROPERTY_ID(object, prop_id, pspec);
    break;
  }
}

static void kiv_graph_get_property(GObject *object, guint prop_id, GValue *value,
                                   GParamSpec *pspec) {
  g_return_if_fail(KIV_IS_GRAPH(object));
  KivGraph *self = KIV_GRAPH(object);
  switch (prop_id) {
  case PROP_NPTS:
    g_value_set_int(value, KIV_FUNCTION(self)->nbin);
    break;
  case PROP_XV:
    g_value_set_pointer(value, self->xv);
    break;
  case PROP_YV:
    g_value_set_pointer(value, self->yv);
    break;
  default:
    G_OBJECT_WARN_INVALID_PROPERTY_ID(object, prop_id, pspec);
    break;
  }
}

static void kiv_graph_class_init(KivGraphClass *klass) {
  GObjectClass *object_class = G_OBJECT_CLASS(klass);
  KivFunctionClass *function_class = KIV_FUNCTION_CLASS(klass);

  object_class->set_property = kiv_graph_set_property;
  object_class->get_property = kiv_graph_get_property;
  object_class->finalize = kiv_graph_finalize;

  function_class->eval = graph_eval;
  function_class->array = graph_array;

  g_object_class_override_property(object_class, PROP_NPTS, "nx");
  g_object_class_install_property(object_class, PROP_XV,
      g_param_spec_pointer("xv", "ptr to abscisas", "Pointer to abscisas", G_PARAM_READWRITE));
  g_object_class_install_property(object_class, PROP_YV,
      g_param_spec_pointer("yv", "ptr to valuess", "Pointer to values", G_PARAM_READWRITE));
}

static void kiv_graph_init(KivGraph *self) {
  KIV_FUNCTION(self)->nbin = 0;
  self->xv = NULL;
  self->yv = NULL;
  self->ymin = 0.0;
  self->ymax = 0.0;
}

KivGraph *kiv_graph_new(int n, double *x, double *y) {
  KivGraph *g = KIV_GRAPH(g_object_new(KIV_TYPE_GRAPH, NULL));
  kiv_graph_reset(g, n, x, y);
  return g;
}

void kiv_graph_reset(KivGraph *g, int n, double *x, double *y) {
  KivFunction *f = KIV_FUNCTION(g);
  /* A negative count would size the copies negatively; it empties the
   * graph instead. */
  if (n < 0)
    n = 0;
  g_free(g->xv);
  g_free(g->yv);
  g->xv = g_new(double, n);
  g->yv = g_new(double, n);
  g->ymin = G_MAXDOUBLE;
  f->xmin = G_MAXDOUBLE;
  g->ymax = -G_MAXDOUBLE;
  f->xmax = -G_MAXDOUBLE;
  if (x != NULL && y != NULL) {
    for (int i = 0; i < n; i++) {
      g->xv[i] = x[i];
      g->yv[i] = y[i];
      if (x[i] < f->xmin)
        f->xmin = x[i];
      if (x[i] > f->xmax)
        f->xmax = x[i];
      if (y[i] < g->ymin)
        g->ymin = y[i];
      if (y[i] > g->ymax)
        g->ymax = y[i];
    }
  } else {
    for (int i = 0; i < n; i++) {
      g->xv[i] = i;
      g->yv[i] = 0.0;
    }
  }
  gboolean sorted = TRUE;
  for (int i = 1; i < n && sorted; i++)
    sorted = g->xv[i - 1] <= g->xv[i];
  graph_private(g)->sorted = sorted;
  f->nbin = n;
}
