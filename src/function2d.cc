/* function2d.cc: KivFunction2D, a function of two variables on a grid.
 * The object is its own x binning and owns a plain KivFunction for the y
 * binning; the y properties are forwarded to that function, so that its
 * lock, step and "range-changed" behave as for any other function. */
#include "function2d.h"
#include "kiv-private.h"

#include <algorithm>
#include <cstdint>

enum {
  PROP_0,
  PROP_NPTS,
  PROP_NY,
  PROP_YMIN,
  PROP_YMAX,
  PROP_YSTEP,
  PROP_FCN2D,
};

G_DEFINE_TYPE(KivFunction2D, kiv_function2d, KIV_TYPE_FUNCTION)

namespace {

int function2d_clamp_to_int(int64_t v) {
  return static_cast<int>(std::clamp<int64_t>(v, G_MININT, G_MAXINT));
}

double function2d_eval_real(KivFunction2D *self, double x, double y) {
  return self->func2d ? self->func2d(x, y) : 0.0;
}

/* The grid row by row, y outer and x inner, each value taken at the
 * centres of its x and y bins.  Only the header reads go through the
 * locking accessors; the values are read without a lock, one at a time. */
GString *function2d_print(KivFunction *f) {
  KivFunction2D *self = KIV_FUNCTION2D(f);
  KivFunction *X = kiv_function2d_X(self);
  KivFunction *Y = kiv_function2d_Y(self);
  const int nx = X->nbin;
  const int ny = Y->nbin;

  GString *out = g_string_new(NULL);
  g_string_append_printf(out,
                         "2D %d %f %f %d %f %f\t[nxbin xmin xmax nybin ymin ymax - data ( rows "
                         "are Y, columns X )]\n",
                         nx, kiv_function_get_xmin(X), kiv_function_get_xmax(X), ny,
                         kiv_function_get_xmin(Y), kiv_function_get_xmax(Y));
  for (int iy = 0; iy < ny; iy++) {
    double y = kiv_function_bin_center(Y, iy);
    for (int ix = 0; ix < nx; ix++) {
      double x = kiv_function_bin_center(X, ix);
      g_string_append_printf(out, ix + 1 < nx ? "%f\t" : "%f\n", kiv_function2d_eval(self, x, y));
    }
  }
  return out;
}

} // namespace

static void kiv_function2d_finalize(GObject *object) {
  KivFunction2D *self = KIV_FUNCTION2D(object);
  g_clear_object(&self->Y);
  G_OBJECT_CLASS(kiv_function2d_parent_class)->finalize(object);
}

/* No lock is taken here: the y writes go through the y function's own
 * property system, which locks that function. */
static void kiv_function2d_set_property(GObject *object, guint prop_id, const GValue *value,
                                        GParamSpec *pspec) {
  KivFunction2D *self = KIV_FUNCTION2D(object);

  switch (prop_id) {
  case PROP_NY:
    g_object_set(self->Y, "nx", g_value_get_int(value), NULL);
    break;
  case PROP_YMIN:
    g_object_set(self->Y, "xmin", g_value_get_double(value), NULL);
    break;
  case PROP_YMAX:
    g_object_set(self->Y, "xmax", g_value_get_double(value), NULL);
    break;
  case PROP_YSTEP:
    g_object_set(self->Y, "xstep", g_value_get_double(value), NULL);
    break;
  case PROP_FCN2D:
    self->func2d = reinterpret_cast<KivGFunction2D>(g_value_get_pointer(value));
    break;
  default:
    G_OBJECT_WARN_INVALID_PROPERTY_ID(object, prop_id, pspec);
    break;
  }
}

static void kiv_function2d_get_property(GObject *object, guint prop_id, GValue *value,
                                        GParamSpec *pspec) {
  KivFunction2D *self = KIV_FUNCTION2D(object);

  switch (prop_id) {
  case PROP_NPTS:
    /* Both counts may reach 999999, whose product does not fit in an int:
     * such a grid reports the largest int rather than a wrapped count. */
    g_value_set_int(value, function2d_clamp_to_int(static_cast<int64_t>(self->X.nbin) *
                                                   self->Y->nbin));
    break;
  case PROP_NY:
    g_value_set_int(value, self->Y->nbin);
    break;
  case PROP_YMIN:
    g_value_set_double(value, self->Y->xmin);
    break;
  case PROP_YMAX:
    g_value_set_double(value, self->Y->xmax);
    break;
  case PROP_YSTEP:
    g_value_set_double(value, self->Y->step);
    break;
  case PROP_FCN2D:
    g_value_set_pointer(value, reinterpret_cast<gpointer>(self->func2d));
    break;
  default:
    G_OBJECT_WARN_INVALID_PROPERTY_ID(object, prop_id, pspec);
    break;
  }
}

static void kiv_function2d_class_init(KivFunction2DClass *klass) {
  GObjectClass *object_class = G_OBJECT_CLASS(klass);
  KivFunctionClass *function_class = KIV_FUNCTION_CLASS(klass);

  object_class->set_property = kiv_function2d_set_property;
  object_class->get_property = kiv_function2d_get_property;
  object_class->finalize = kiv_function2d_finalize;

  function_class->print = function2d_print;
  klass->eval2d = function2d_eval_real;

  const GParamFlags rw = G_PARAM_READWRITE;
  g_object_class_override_property(object_class, PROP_FCN2D, "func");
  g_object_class_install_property(object_class, PROP_NPTS,
      g_param_spec_int("npts", "npts", "Number of points (nx x ny)", 1, 999999, 10,
                       G_PARAM_READABLE));
  g_object_class_install_property(object_class, PROP_NY,
      g_param_spec_int("ny", "ny", "Number of points in Y", 1, 999999, 10, rw));
  g_object_class_install_property(object_class, PROP_YMIN,
      g_param_spec_double("ymin", "ymin", "Minimum value of Y", -G_MAXDOUBLE, G_MAXDOUBLE, 0.0, rw));
  g_object_class_install_property(object_class, PROP_YMAX,
      g_param_spec_double("ymax", "ymax", "Maximum value of Y", -G_MAXDOUBLE, G_MAXDOUBLE, 1.0, rw));
  g_object_class_install_property(object_class, PROP_YSTEP,
      g_param_spec_double("ystep", "ystep", "step in Y", -G_MAXDOUBLE, G_MAXDOUBLE, 1.0, rw));
}

static void kiv_function2d_init(KivFunction2D *self) {
  KivFunction *x = &self->X;
  self->func2d = NULL;
  self->Y = KIV_FUNCTION(g_object_new(KIV_TYPE_FUNCTION,
                                      "nx", x->nbin,
                                      "xmin", x->xmin,
                                      "xmax", x->xmax,
                                      "func", NULL,
                                      NULL));
}

KivFunction2D *kiv_function2d_new(int nx, double xmin, double xmax, int ny, double ymin,
                                  double ymax, KivGFunction2D ptr) {
  g_return_val_if_fail(nx>0, NULL);
  g_return_val_if_fail(xmin!=xmax, NULL);
  g_return_val_if_fail(ny>0, NULL);
  g_return_val_if_fail(ymin!=ymax, NULL);

  return KIV_FUNCTION2D(g_object_new(KIV_TYPE_FUNCTION2D,
                                     "nx", nx,
                                     "xmin", xmin,
                                     "xmax", xmax,
                                     "ny", ny,
                                     "ymin", ymin,
                                     "ymax", ymax,
                                     "func", reinterpret_cast<gpointer>(ptr),
                                     NULL));
}

double kiv_function2d_eval(KivFunction2D *f, double x, double y) {
  KivFunction2DClass *klass = KIV_FUNCTION2D_GET_CLASS(f);
  return klass->eval2d ? klass->eval2d(f, x, y) : 0.0;
}

/* Cell numbers outside the grid are computed too; one that does not fit
 * in an int saturates instead of overflowing. */
int kiv_function2d_find_bin_from_cell(KivFunction2D *h2d, int ix, int iy) {
  return function2d_clamp_to_int(ix + static_cast<int64_t>(h2d->X.nbin) * iy);
}

void kiv_function2d_find_cell_from_bin(KivFunction2D *h2d, int ib, int *ix, int *iy) {
  const int nx = h2d->X.nbin;
  if (ix)
    *ix = ib % nx;
  if (iy)
    *iy = ib / nx;
}

KivFunction *kiv_function2d_X(KivFunction2D *h2d) {
  g_return_val_if_fail(KIV_IS_FUNCTION2D(h2d), NULL);
  return &h2d->X;
}

KivFunction *kiv_function2d_Y(KivFunction2D *h2d) {
  g_return_val_if_fail(KIV_IS_FUNCTION2D(h2d), NULL);
  return h2d->Y;
}
