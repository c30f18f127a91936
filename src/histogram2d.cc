/* histogram2d.cc: KivHistogram2D, weighted entries on a grid of cells held
 * in one flat array, either the histogram's own or one lent by the caller.
 *
 * Nothing here locks: producers in other threads hold kiv_function_lock()
 * around their fills, as for every data object. */
#include "histogram2d.h"
#include "kiv-private.h"
#include "function-private.h"
#include "stats-private.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>

/* What the cell array y really holds, kept beside the public fields so
 * that no access can reach past it, whatever changed the bin counts. */
typedef struct _KivHistogram2DPrivate {
  gsize ncells;  /* doubles in y */
  int cells_nx;  /* the grid y was laid out for */
  int cells_ny;
} KivHistogram2DPrivate;

enum {
  PROP_0,
  PROP_NX,
  PROP_NY,
  PROP_PTR,
  PROP_VMIN,
  PROP_VMAX,
};

enum {
  CHANGED,
  LAST_SIGNAL,
};

static guint histogram2d_signals[LAST_SIGNAL];

G_DEFINE_TYPE_WITH_PRIVATE(KivHistogram2D, kiv_histogram2d, KIV_TYPE_FUNCTION2D)

namespace {

constexpr const char *kBufsizKey = "__bufsiz__";

KivHistogram2DPrivate *histogram2d_priv(KivHistogram2D *self) {
  return static_cast<KivHistogram2DPrivate *>(kiv_histogram2d_get_instance_private(self));
}

/* The two axes.  Fills reach them for every entry, so they go straight to
 * the parent record rather than through a checked cast: self is always a
 * two-dimensional histogram here. */
KivFunction *histogram2d_x(KivHistogram2D *self) {
  return &self->parent.X;
}

KivFunction *histogram2d_y(KivHistogram2D *self) {
  return self->parent.Y;
}

/* Cell numbers are ints (the chart indexes and sorts them as such), so a
 * grid of more than G_MAXINT cells is refused: 999999 x 999999 would
 * otherwise wrap to a small count and every fill would write past it. */
bool histogram2d_cells_fit(const char *who, int nx, int ny) {
  if (static_cast<int64_t>(nx) * ny <= G_MAXINT)
    return true;
  g_critical("%s: a grid of %d x %d cells has more cells than an int can count; refused", who,
             nx, ny);
  return false;
}

/* Index of cell (ix, iy) of the current grid, or -1 when the array does
 * not reach it.  That happens only after a count was changed behind the
 * histogram's back (written straight into the y function, or a step write
 * whose new layout was refused); such cells are then out of reach rather
 * than out of bounds. */
int64_t histogram2d_index(KivHistogram2D *self, int ix, int iy) {
  int64_t b = ix + static_cast<int64_t>(histogram2d_x(self)->nbin) * iy;
  return b >= 0 && static_cast<gsize>(b) < histogram2d_priv(self)->ncells ? b : -1;
}

gsize histogram2d_grid_cells(KivHistogram2D *self) {
  gsize n = static_cast<gsize>(histogram2d_x(self)->nbin) * histogram2d_y(self)->nbin;
  return std::min(n, histogram2d_priv(self)->ncells);
}

/* Puts cells of the histogram's own, zero-filled, for an nx x ny grid in
 * place of the current ones, which are freed only if the histogram owns
 * them.  On failure (too many cells, or no memory) nothing changes. */
bool histogram2d_lay_out(KivHistogram2D *self, const char *who, int nx, int ny) {
  if (!histogram2d_cells_fit(who, nx, ny))
    return false;
  gsize n = static_cast<gsize>(nx) * ny;
  double *cells = g_try_new0(double, n);
  if (cells == NULL) {
    g_critical("%s: no memory for %d x %d cells; refused", who, nx, ny);
    return false;
  }
  if (self->owner)
    g_free(self->y);
  self->y = cells;
  self->owner = 1;
  KivHistogram2DPrivate *priv = histogram2d_priv(self);
  priv->ncells = n;
  priv->cells_nx = nx;
  priv->cells_ny = ny;
  return true;
}

/* Writing "nx" or "ny".  The cells are always replaced by zero-filled
 * ones of the histogram's own.  When they lived in a caller's array, that
 * array is left as it is, neither freed nor resized: it was lent for the
 * old grid and cannot hold the new one, so the histogram takes back its
 * own cells (owner 1) and the caller may lend a fitting array again. */
void histogram2d_set_counts(KivHistogram2D *self, const char *who, int nx, int ny) {
  KivFunction *X = histogram2d_x(self), *Y = histogram2d_y(self);
  if (nx == X->nbin && ny == Y->nbin)
    return;
  if (!histogram2d_lay_out(self, who, nx, ny))
    return;
  /* The step is left alone: callers set the range after the count. */
  X->nbin = nx;
  Y->nbin = ny;
}

void histogram2d_widen(KivHistogram2D *self, double v) {
  if (v > self->vmax)
    self->vmax = v;
  if (self->vmin > v)
    self->vmin = v;
}

/* Lending an array: statistics and extrema are rebuilt from its cells,
 * each nonzero cell counting as one entry at its cell centre with its
 * content as weight.  Cells that hold no finite number are left out, so
 * that a stray NaN or infinity in the caller's data does not make every
 * mean and extremum NaN; they stay in the array as they are. */
void histogram2d_scan(KivHistogram2D *self) {
  KivFunction *X = histogram2d_x(self), *Y = histogram2d_y(self);
  self->vmin = self->vmax = 0.0;
  kiv_stats_reset(self->stat);
  const int nx = X->nbin, ny = Y->nbin;
  for (int ix = 0; ix < nx; ix++) {
    for (int iy = 0; iy < ny; iy++) {
      int64_t b = histogram2d_index(self, ix, iy);
      if (b < 0)
        continue;
      double v = self->y[b];
      if (v == 0.0 || !std::isfinite(v))
        continue;
      kiv_stats_add(self->stat, kiv_function_bin_center(X, ix), kiv_function_bin_center(Y, iy), v);
      histogram2d_widen(self, v);
    }
  }
}

void histogram2d_lend(KivHistogram2D *self, double *p) {
  KivFunction *X = histogram2d_x(self), *Y = histogram2d_y(self);
  /* Handing the histogram its own array (as read from "ptr") keeps it
   * owned: freeing it first would leave the histogram reading freed
   * memory.  The statistics are rebuilt all the same. */
  if (p != self->y || !self->owner) {
    if (self->owner)
      g_free(self->y);
    self->y = p;
    self->owner = 0;
    KivHistogram2DPrivate *priv = histogram2d_priv(self);
    priv->ncells = static_cast<gsize>(X->nbin) * Y->nbin;
    priv->cells_nx = X->nbin;
    priv->cells_ny = Y->nbin;
  }
  histogram2d_scan(self);
}

/* One entry into the cells, with the sums and the extrema held where the
 * caller keeps them (the histogram itself, or registers for a batch). */
template <typename Sums>
inline void histogram2d_enter(KivHistogram2D *self, Sums *st, double *vmin, double *vmax,
                              double x, double y, double w) {
  KivFunction *X = histogram2d_x(self), *Y = histogram2d_y(self);
  int ix = kiv::bin_of(x, X->xmin, X->step, X->nbin);
  if (ix < 0 || ix >= X->nbin)
    return;
  int iy = kiv::bin_of(y, Y->xmin, Y->step, Y->nbin);
  if (iy < 0 || iy >= Y->nbin)
    return;
  int64_t b = histogram2d_index(self, ix, iy);
  if (b < 0)
    return;
  /* A cell that held NaN or an infinity would break every later use of
   * the contents: the colour map sorts them and scales by their range.
   * An entry that would put one there (a NaN or infinite weight, or a sum
   * that overflows) is dropped with a warning, before anything changes. */
  double v = self->y[b] + w;
  if (!std::isfinite(v)) {
    g_warning("KivHistogram2D: weight %g at (%g, %g) would make cell (%d, %d) %g; entry dropped",
              w, x, y, ix, iy, v);
    return;
  }
  self->y[b] = v;
  if (v > *vmax)
    *vmax = v;
  if (*vmin > v)
    *vmin = v;
  kiv::stats_add(st, x, y, w);
}

void histogram2d_fill_real(KivHistogram2D *self, double x, double y, double w) {
  histogram2d_enter(self, self->stat, &self->vmin, &self->vmax, x, y, w);
}

/* The class's own fill over a batch, with the sums and extrema in
 * registers: about half the time of a fill through the slot per entry
 * (figure 2 of ./scripts/run-bench), and the same operations in the same
 * order, so the same bits. */
void histogram2d_fill_batch(KivHistogram2D *self, const double *x, const double *y,
                            const double *w, gsize n) {
  kiv::StatsSums st(self->stat);
  double vmin = self->vmin, vmax = self->vmax;
  for (gsize i = 0; i < n; i++)
    histogram2d_enter(self, &st, &vmin, &vmax, x[i], y[i], w != NULL ? w[i] : 1.0);
  st.store(self->stat);
  self->vmin = vmin;
  self->vmax = vmax;
}

void histogram2d_reset_real(KivHistogram2D *self) {
  std::fill_n(self->y, histogram2d_grid_cells(self), 0.0);
}

double histogram2d_eval2d(KivFunction2D *f, double x, double y) {
  KivHistogram2D *self = KIV_HISTOGRAM2D(f);
  KivFunction *X = histogram2d_x(self), *Y = histogram2d_y(self);
  int ix = std::clamp(kiv_function_find_bin(X, x), 0, X->nbin - 1);
  int iy = std::clamp(kiv_function_find_bin(Y, y), 0, Y->nbin - 1);
  int64_t b = histogram2d_index(self, ix, iy);
  return b >= 0 ? self->y[b] : 0.0;
}

/* Runs once per merged notification of "nx" or "ny" (and of the steps,
 * whose writes re-derive a bin count without passing the count setters). */
void histogram2d_size_notified(GObject *object, GParamSpec *, gpointer) {
  KivHistogram2D *self = KIV_HISTOGRAM2D(object);
  KivHistogram2DPrivate *priv = histogram2d_priv(self);
  const int nx = histogram2d_x(self)->nbin, ny = histogram2d_y(self)->nbin;

  /* A step write changed a count: the cells are laid out anew for it, as
   * a count write would have done.  Should that be refused, the accesses
   * stay within the old array, which histogram2d_index() guarantees. */
  if (nx != priv->cells_nx || ny != priv->cells_ny) {
    if (!histogram2d_lay_out(self, "KivHistogram2D", nx, ny))
      return;
  }

  gsize recorded = GPOINTER_TO_SIZE(g_object_get_data(object, kBufsizKey));
  gsize n = static_cast<gsize>(nx) * ny;
  if (!self->owner || n <= recorded)
    return;
  double *cells = g_try_renew(double, self->y, n);
  if (cells == NULL) {
    g_critical("KivHistogram2D: no memory for %d x %d cells", nx, ny);
    return;
  }
  self->y = cells;
  priv->ncells = n;
  KIV_HISTOGRAM2D_GET_CLASS(self)->reset(self);
  g_object_set_data(object, kBufsizKey, GSIZE_TO_POINTER(n));
}

} // namespace

static void kiv_histogram2d_finalize(GObject *object) {
  KivHistogram2D *self = KIV_HISTOGRAM2D(object);
  if (self->owner)
    g_free(self->y);
  self->y = NULL;
  g_clear_object(&self->stat);
  G_OBJECT_CLASS(kiv_histogram2d_parent_class)->finalize(object);
}

static void kiv_histogram2d_set_property(GObject *object, guint prop_id, const GValue *value,
                                         GParamSpec *pspec) {
  KivHistogram2D *self = KIV_HISTOGRAM2D(object);

  switch (prop_id) {
  case PROP_NX:
    histogram2d_set_counts(self, "KivHistogram2D \"nx\"", g_value_get_int(value),
                           histogram2d_y(self)->nbin);
    break;
  case PROP_NY:
    histogram2d_set_counts(self, "KivHistogram2D \"ny\"", histogram2d_x(self)->nbin,
                           g_value_get_int(value));
    break;
  case PROP_PTR: {
    double *p = static_cast<double *>(g_value_get_pointer(value));
    if (p != NULL) {
      histogram2d_lend(self, p);
    } else {
      KivFunction *X = histogram2d_x(self), *Y = histogram2d_y(self);
      histogram2d_lay_out(self, "KivHistogram2D \"ptr\"", X->nbin, Y->nbin);
    }
    break;
  }
  default:
    G_OBJECT_WARN_INVALID_PROPERTY_ID(object, prop_id, pspec);
    break;
  }
}

static void kiv_histogram2d_get_property(GObject *object, guint prop_id, GValue *value,
                                         GParamSpec *pspec) {
  KivHistogram2D *self = KIV_HISTOGRAM2D(object);

  switch (prop_id) {
  case PROP_NX:
    g_value_set_int(value, histogram2d_x(self)->nbin);
    break;
  case PROP_NY:
    g_value_set_int(value, histogram2d_y(self)->nbin);
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
  default:
    G_OBJECT_WARN_INVALID_PROPERTY_ID(object, prop_id, pspec);
    break;
  }
}

static void kiv_histogram2d_class_init(KivHistogram2DClass *klass) {
  GObjectClass *object_class = G_OBJECT_CLASS(klass);
  KivFunctionClass *function_class = KIV_FUNCTION_CLASS(klass);
  KivFunction2DClass *function2d_class = KIV_FUNCTION2D_CLASS(klass);

  object_class->set_property = kiv_histogram2d_set_property;
  object_class->get_property = kiv_histogram2d_get_property;
  object_class->finalize = kiv_histogram2d_finalize;

  /* No point array: the contents are read cell by cell. */
  function_class->array = NULL;
  function2d_class->eval2d = histogram2d_eval2d;
  klass->fill = histogram2d_fill_real;
  klass->reset = histogram2d_reset_real;
  klass->changed = NULL;

  g_object_class_override_property(object_class, PROP_NX, "nx");
  g_object_class_override_property(object_class, PROP_NY, "ny");
  g_object_class_install_property(object_class, PROP_PTR,
      g_param_spec_pointer("ptr", "ptr", "Pointer to data", G_PARAM_READWRITE));
  g_object_class_install_property(object_class, PROP_VMIN,
      g_param_spec_double("vmin", "vmin", "Minimum value of Z", -G_MAXDOUBLE, G_MAXDOUBLE, 0.0,
                          G_PARAM_READABLE));
  g_object_class_install_property(object_class, PROP_VMAX,
      g_param_spec_double("vmax", "vmax", "Maximum value of Z", -G_MAXDOUBLE, G_MAXDOUBLE, 0.0,
                          G_PARAM_READABLE));

  histogram2d_signals[CHANGED] =
      g_signal_new("changed", G_TYPE_FROM_CLASS(klass), G_SIGNAL_RUN_FIRST,
                   G_STRUCT_OFFSET(KivHistogram2DClass, changed), NULL, NULL,
                   g_cclosure_marshal_VOID__VOID, G_TYPE_NONE, 0);
}

static void kiv_histogram2d_init(KivHistogram2D *self) {
  KivFunction *X = histogram2d_x(self), *Y = histogram2d_y(self);
  KivHistogram2DPrivate *priv = histogram2d_priv(self);
  self->vmin = self->vmax = 0.0;
  self->owner = 1;
  priv->cells_nx = X->nbin;
  priv->cells_ny = Y->nbin;
  priv->ncells = static_cast<gsize>(X->nbin) * Y->nbin;
  self->y = g_new0(double, priv->ncells);
  g_object_set_data(G_OBJECT(self), kBufsizKey, GSIZE_TO_POINTER(priv->ncells));
  self->stat = kiv_stats_new();
  for (const char *signal : {"notify::nx", "notify::ny", "notify::xstep", "notify::ystep"})
    g_signal_connect(self, signal, G_CALLBACK(histogram2d_size_notified), NULL);
}

KivHistogram2D *kiv_histogram2d_new(int nx, double xmin, double xmax, int ny, double ymin,
                                    double ymax, gdouble *ptr) {
  g_return_val_if_fail(nx>0, NULL);
  g_return_val_if_fail(ny>0, NULL);
  if (!histogram2d_cells_fit(G_STRFUNC, nx, ny))
    return NULL;

  return KIV_HISTOGRAM2D(g_object_new(KIV_TYPE_HISTOGRAM2D,
                                      "nx", nx,
                                      "xmin", xmin,
                                      "xmax", xmax,
                                      "ny", ny,
                                      "ymin", ymin,
                                      "ymax", ymax,
                                      "ptr", ptr,
                                      NULL));
}

void kiv_histogram2d_fill(KivHistogram2D *h2d, double x, double y, double w) {
  g_return_if_fail(h2d != NULL);
  g_return_if_fail(KIV_IS_HISTOGRAM2D(h2d));
  KIV_HISTOGRAM2D_GET_CLASS(h2d)->fill(h2d, x, y, w);
  g_signal_emit(h2d, histogram2d_signals[CHANGED], 0);
}

void kiv_histogram2d_fill_n(KivHistogram2D *h2d, const double *x, const double *y,
                            const double *w, gsize n) {
  g_return_if_fail(h2d != NULL);
  g_return_if_fail(KIV_IS_HISTOGRAM2D(h2d));
  g_return_if_fail((x != NULL && y != NULL) || n == 0);
  /* An empty batch is zero fills, so it emits nothing. */
  if (n == 0)
    return;
  auto fill = KIV_HISTOGRAM2D_GET_CLASS(h2d)->fill;
  if (fill == histogram2d_fill_real) {
    histogram2d_fill_batch(h2d, x, y, w, n);
  } else {
    for (gsize i = 0; i < n; i++)
      fill(h2d, x[i], y[i], w != NULL ? w[i] : 1.0);
  }
  g_signal_emit(h2d, histogram2d_signals[CHANGED], 0);
}

void kiv_histogram2d_reset(KivHistogram2D *h2d) {
  g_return_if_fail(KIV_IS_HISTOGRAM2D(h2d));
  KIV_HISTOGRAM2D_GET_CLASS(h2d)->reset(h2d);
  g_signal_emit(h2d, histogram2d_signals[CHANGED], 0);
}

int kiv_histogram2d_get_stats(KivHistogram2D *h2d, KivStats *s) {
  g_return_val_if_fail(KIV_IS_HISTOGRAM2D(h2d), -1);
  g_return_val_if_fail(s != NULL, -1);
  g_return_val_if_fail(KIV_IS_STATS(s), -1);
  kiv_stats_copy(h2d->stat, s);
  return 0;
}

double kiv_histogram2d_get_cell_content(KivHistogram2D *h2d, int ix, int iy) {
  g_return_val_if_fail(ix >= 0 && ix < histogram2d_x(h2d)->nbin, 0.0);
  g_return_val_if_fail(iy >= 0 && iy < histogram2d_y(h2d)->nbin, 0.0);
  int64_t b = histogram2d_index(h2d, ix, iy);
  return b >= 0 ? h2d->y[b] : 0.0;
}

KivHistogram2D *kiv_histogram2d_clone(KivHistogram2D *kiv) {
  g_return_val_if_fail(KIV_IS_HISTOGRAM2D(kiv), NULL);
  KivFunction *X = histogram2d_x(kiv), *Y = histogram2d_y(kiv);
  KivHistogram2D *copy =
      kiv_histogram2d_new(X->nbin, X->xmin, X->xmax, Y->nbin, Y->xmin, Y->xmax, NULL);
  if (copy == NULL)
    return NULL;
  std::copy_n(kiv->y, histogram2d_grid_cells(kiv), copy->y);
  copy->vmin = kiv->vmin;
  copy->vmax = kiv->vmax;
  kiv_stats_copy(kiv->stat, copy->stat);
  return copy;
}
