/* function.cc: KivFunction, the sampled function every data object derives
 * from: bin arithmetic, point arrays, the instance mutex and "range-changed". */
#include "function.h"
#include "function-private.h"
#include "kiv-private.h"

#include <cmath>
#include <string>
#include <vector>

struct _KivFunctionPrivate {
  /* The function mutex.  Producer threads (fills, resizes, property
   * writes) and the charts that read the bins and statistics contend for
   * it; it protects everything the object stores.  It is not recursive,
   * and it is always taken last: a chart takes it with its canvas mutex
   * already held, never the other way round, and nothing takes a canvas
   * or gauge mutex while holding it.  Inside the library hold it with
   * kiv::FunctionLock. */
  KivMutex mutex;
};

enum {
  PROP_0,
  PROP_NAME,
  PROP_RANGE,
  PROP_NPTS,
  PROP_XMIN,
  PROP_XMAX,
  PROP_XSTEP,
  PROP_FCN,
};

enum {
  RANGE_CHANGED,
  LAST_SIGNAL,
};

static guint function_signals[LAST_SIGNAL];

G_DEFINE_TYPE_WITH_PRIVATE(KivFunction, kiv_function, G_TYPE_OBJECT)

namespace {

/* Larger point arrays than this are refused: a requested range thousands of
 * times wider than the function's own would otherwise ask for gigabytes of
 * points that no chart can show. */
constexpr double kMaxArrayPoints = 1 << 26;

void function_recompute_step(KivFunction *self) {
  self->step = (self->xmax - self->xmin) / self->nbin;
}

/* Every write that notifies "range" ends up here, so "range-changed" is
 * emitted once per merged notification, after the writer released the
 * mutex. */
void function_range_notified(GObject *object, GParamSpec *, gpointer) {
  g_signal_emit(object, function_signals[RANGE_CHANGED], 0);
}

double function_eval_real(KivFunction *self, double x) {
  return self->func ? self->func(x) : 0.0;
}

void function_array_real(KivFunction *self, KivTuple *t, double xmin, double xmax) {
  t->n = 0;
  t->P = NULL;
  g_return_if_fail(KIV_IS_FUNCTION(self));

  double d = (xmax - xmin) / self->step;
  if (!(d >= 1.0))
    return;
  if (d > kMaxArrayPoints) {
    g_warning("%s: %g points requested for [%g, %g]; refusing", G_STRFUNC, d, xmin, xmax);
    return;
  }
  int n = static_cast<int>(d);
  KivFunctionClass *klass = KIV_FUNCTION_GET_CLASS(self);
  t->P = g_new(KivPoint, n);
  t->n = n;
  for (int i = 0; i < n; i++) {
    double x = i * self->step + xmin;
    t->P[i].x = x;
    t->P[i].y = klass->eval(self, x);
  }
}

int function_resize_real(KivFunction *, int, int) {
  return 0;
}

GString *function_print_real(KivFunction *self) {
  GList single = {self, NULL, NULL};
  return kiv_function_print_list(&single);
}

} // namespace

static void kiv_function_finalize(GObject *object) {
  KivFunction *self = KIV_FUNCTION(object);
  g_free(self->name);
  g_mutex_clear(&self->priv->mutex);
  G_OBJECT_CLASS(kiv_function_parent_class)->finalize(object);
}

static void kiv_function_set_property(GObject *object, guint prop_id,
                                      const GValue *value, GParamSpec *pspec) {
  KivFunction *self = KIV_FUNCTION(object);
  kiv::MutexLock lock(&self->priv->mutex);

  switch (prop_id) {
  case PROP_NAME:
    g_free(self->name);
    self->name = g_value_dup_string(value);
    break;
  case PROP_RANGE:
    /* Nothing to store: GObject's own notification of "range" after this
     * write is what announces a range changed by other means. */
    break;
  case PROP_NPTS:
    self->nbin = g_value_get_int(value);
    function_recompute_step(self);
    g_object_notify(object, "range");
    break;
  case PROP_XMIN:
    self->xmin = g_value_get_double(value);
    function_recompute_step(self);
    g_object_notify(object, "range");
    break;
  case PROP_XMAX:
    self->xmax = g_value_get_double(value);
    function_recompute_step(self);
    g_object_notify(object, "range");
    break;
  case PROP_XSTEP:
    _kiv_function_set_step(self, g_value_get_double(value));
    break;
  case PROP_FCN:
    self->func = reinterpret_cast<KivGFunction1D>(g_value_get_pointer(value));
    break;
  default:
    G_OBJECT_WARN_INVALID_PROPERTY_ID(object, prop_id, pspec);
    break;
  }
}

static void kiv_function_get_property(GObject *object, guint prop_id,
                                      GValue *value, GParamSpec *pspec) {
  KivFunction *self = KIV_FUNCTION(object);
  kiv::MutexLock lock(&self->priv->mutex);

  switch (prop_id) {
  case PROP_NAME:
    g_value_set_string(value, self->name);
    break;
  case PROP_RANGE:
    g_value_set_pointer(value, NULL);
    break;
  case PROP_NPTS:
    g_value_set_int(value, self->nbin);
    break;
  case PROP_XMIN:
    g_value_set_double(value, self->xmin);
    break;
  case PROP_XMAX:
    /* A range of exactly [0, 0] stands for "bin numbers": report the count. */
    if (self->xmin == 0.0 && self->xmax == 0.0)
      g_value_set_double(value, self->nbin);
    else
      g_value_set_double(value, self->xmax);
    break;
  case PROP_XSTEP:
    g_value_set_double(value, self->step);
    break;
  case PROP_FCN:
    g_value_set_pointer(value, reinterpret_cast<gpointer>(self->func));
    break;
  default:
    G_OBJECT_WARN_INVALID_PROPERTY_ID(object, prop_id, pspec);
    break;
  }
}

static void kiv_function_class_init(KivFunctionClass *klass) {
  GObjectClass *object_class = G_OBJECT_CLASS(klass);

  object_class->set_property = kiv_function_set_property;
  object_class->get_property = kiv_function_get_property;
  object_class->finalize = kiv_function_finalize;

  klass->eval = function_eval_real;
  klass->array = function_array_real;
  klass->resize = function_resize_real;
  klass->print = function_print_real;
  klass->range_changed = NULL;

  const GParamFlags rw = static_cast<GParamFlags>(G_PARAM_READWRITE);
  g_object_class_install_property(object_class, PROP_NAME,
      g_param_spec_string("name", "The name of the function", "The name of the function",
                          "<unnamed>", rw));
  g_object_class_install_property(object_class, PROP_RANGE,
      g_param_spec_pointer("range", "The range of the function", "The range of the function.", rw));
  g_object_class_install_property(object_class, PROP_FCN,
      g_param_spec_pointer("func", "function", "Function to evaluate", rw));
  g_object_class_install_property(object_class, PROP_NPTS,
      g_param_spec_int("nx", "nx", "Number of points in X", 1, 999999, 10, rw));
  g_object_class_install_property(object_class, PROP_XMIN,
      g_param_spec_double("xmin", "xmin", "Minimum value of X", -G_MAXDOUBLE, G_MAXDOUBLE, 0.0, rw));
  g_object_class_install_property(object_class, PROP_XMAX,
      g_param_spec_double("xmax", "xmax", "Maximum value of X", -G_MAXDOUBLE, G_MAXDOUBLE, 1.0, rw));
  g_object_class_install_property(object_class, PROP_XSTEP,
      g_param_spec_double("xstep", "xstep", "step in X", -G_MAXDOUBLE, G_MAXDOUBLE, 1.0, rw));

  function_signals[RANGE_CHANGED] =
      g_signal_new("range-changed", G_TYPE_FROM_CLASS(klass), G_SIGNAL_RUN_FIRST,
                   G_STRUCT_OFFSET(KivFunctionClass, range_changed), NULL, NULL,
                   g_cclosure_marshal_VOID__VOID, G_TYPE_NONE, 0);
}

static void kiv_function_init(KivFunction *self) {
  self->priv = static_cast<KivFunctionPrivate *>(kiv_function_get_instance_private(self));
  g_mutex_init(&self->priv->mutex);
  self->func = NULL;
  self->nbin = 1;
  self->xmin = 0.0;
  self->xmax = 1.0;
  self->step = 0.0;
  self->name = NULL;
  g_signal_connect(self, "notify::range", G_CALLBACK(function_range_notified), NULL);
}

/* Shared with the subclasses that keep contents per bin, which must resize
 * them when a new step changes the bin count.  Caller holds the mutex. */
gboolean _kiv_function_set_step(KivFunction *self, double s) {
  /* A step that yields no whole bin count between 1 and 999999 (zero, the
   * wrong sign for the range, NaN, infinite, or far too small) is refused
   * with a warning: accepting it would leave nbin below 1 and every
   * division by the step meaningless. */
  double d = (self->xmax - self->xmin) / s + 0.5;
  if (!std::isfinite(s) || s == 0.0 || !(d >= 1.0 && d < 1000000.0)) {
    g_warning("KivFunction: xstep %g gives no bin count from 1 to 999999 on [%g, %g]; ignored",
              s, self->xmin, self->xmax);
    return FALSE;
  }
  self->step = s;
  self->nbin = static_cast<int>(d);
  self->xmax = self->xmin + self->nbin * self->step;
  return TRUE;
}

KivFunction *kiv_function_new(int nx, double x_min, double x_max, KivGFunction1D ptr) {
  g_return_val_if_fail(nx>0, NULL);
  g_return_val_if_fail(x_min != x_max, NULL);

  return KIV_FUNCTION(g_object_new(KIV_TYPE_FUNCTION,
                                   "nx", nx,
                                   "xmin", x_min,
                                   "xmax", x_max,
                                   "func", reinterpret_cast<gpointer>(ptr),
                                   NULL));
}

double kiv_function_eval(KivFunction *f, double val) {
  kiv::MutexLock lock(&f->priv->mutex);
  KivFunctionClass *klass = KIV_FUNCTION_GET_CLASS(f);
  return klass->eval ? klass->eval(f, val) : 0.0;
}

void kiv_function_get_array(KivFunction *f, KivTuple *t, double xmin, double xmax) {
  g_return_if_fail(t != NULL);
  t->n = 0;
  t->P = NULL;
  kiv::MutexLock lock(&f->priv->mutex);
  /* Some subclasses (the two-dimensional histogram) have no point array. */
  KivFunctionClass *klass = KIV_FUNCTION_GET_CLASS(f);
  if (klass->array)
    klass->array(f, t, xmin, xmax);
}

void kiv_function_clear_tuple(KivTuple *t) {
  g_return_if_fail(t != NULL);
  g_free(t->P);
  t->P = NULL;
  t->n = 0;
}

int kiv_function_resize(KivFunction *f, int width, int height) {
  kiv::MutexLock lock(&f->priv->mutex);
  KivFunctionClass *klass = KIV_FUNCTION_GET_CLASS(f);
  return klass->resize ? klass->resize(f, width, height) : 0;
}

int kiv_function_get_npts(KivFunction *f) {
  g_return_val_if_fail(f != NULL, 0);
  int n = 0;
  g_object_get(f, "nx", &n, NULL);
  return n;
}

double kiv_function_get_xmin(KivFunction *f) {
  g_return_val_if_fail(f != NULL, 0.0);
  double v = 0.0;
  g_object_get(f, "xmin", &v, NULL);
  return v;
}

double kiv_function_get_xmax(KivFunction *f) {
  g_return_val_if_fail(f != NULL, 0.0);
  double v = 0.0;
  g_object_get(f, "xmax", &v, NULL);
  return v;
}

double kiv_function_get_step(KivFunction *f) {
  g_return_val_if_fail(f != NULL, 0.0);
  double v = 0.0;
  g_object_get(f, "xstep", &v, NULL);
  return v;
}

int kiv_function_find_bin(KivFunction *f, double x) {
  g_return_val_if_fail(f != NULL, -1);
  return kiv::bin_of(x, f->xmin, f->step, f->nbin);
}

double kiv_function_bin_center(KivFunction *f, int ib) {
  g_return_val_if_fail(f != NULL, G_MAXDOUBLE);
  return (ib + 0.5) * f->step + f->xmin;
}

gchar *kiv_function_get_name(KivFunction *f) {
  g_return_val_if_fail(f != NULL, NULL);
  gchar *name = NULL;
  g_object_get(f, "name", &name, NULL);
  return name;
}

void kiv_function_set_name(KivFunction *f, const gchar *name) {
  g_return_if_fail(f != NULL);
  g_object_set(f, "name", name, NULL);
}

GString *kiv_function_print(KivFunction *f) {
  g_return_val_if_fail(f != NULL, NULL);
  KivFunctionClass *klass = KIV_FUNCTION_GET_CLASS(f);
  return klass->print ? klass->print(f) : NULL;
}

GString *kiv_function_print_list(GList *list_of_functions) {
  if (list_of_functions == NULL || !KIV_IS_FUNCTION(list_of_functions->data))
    return NULL;

  /* The binning and names are copied under each function's lock, so that a
   * producer thread that rebins or renames meanwhile neither tears the
   * header from the abscissae nor frees a name being written. */
  struct Column {
    KivFunction *f;
    int nbin;
    double xmin, xmax, step;
    std::string name;
    bool named;
  };
  std::vector<Column> cols;
  for (GList *l = list_of_functions; l != NULL; l = l->next) {
    /* Later elements are checked too: reading the bin count of something
     * that is not a function would read past the object. */
    if (!KIV_IS_FUNCTION(l->data))
      return NULL;
    KivFunction *f = KIV_FUNCTION(l->data);
    kiv::FunctionLock lock(f);
    /* The upper edge as "xmax" reads it: a range of [0, 0] shows the count. */
    double xmax = f->xmin == 0.0 && f->xmax == 0.0 ? f->nbin : f->xmax;
    cols.push_back({f, f->nbin, f->xmin, xmax, f->step, f->name ? f->name : "", f->name != NULL});
  }
  const Column &c0 = cols.front();
  for (const Column &c : cols)
    if (c.nbin != c0.nbin)
      return NULL;

  GString *out = g_string_new(NULL);
  g_string_append_printf(out, "1D %d %f %f\t[nbin xmin xmax]\n", c0.nbin, c0.xmin, c0.xmax);
  g_string_append(out, "\"X\"\t");
  for (size_t j = 0; j < cols.size(); j++) {
    char sep = j + 1 < cols.size() ? '\t' : '\n';
    if (cols[j].named)
      g_string_append_printf(out, "\"%s\"%c", cols[j].name.c_str(), sep);
    else
      g_string_append_printf(out, "\"Function_%zu\"%c", j, sep);
  }
  for (int i = 0; i < c0.nbin; i++) {
    double x = (i + 0.5) * c0.step + c0.xmin;
    g_string_append_printf(out, "%f\t", x);
    for (size_t j = 0; j < cols.size(); j++)
      g_string_append_printf(out, j + 1 < cols.size() ? "%f\t" : "%f\n",
                             kiv_function_eval(cols[j].f, x));
  }
  return out;
}

void kiv_function_lock(KivFunction *f) {
  g_return_if_fail(KIV_IS_FUNCTION(f));
  g_mutex_lock(&f->priv->mutex);
}

void kiv_function_unlock(KivFunction *f) {
  g_return_if_fail(KIV_IS_FUNCTION(f));
  g_mutex_unlock(&f->priv->mutex);
}

gboolean kiv_function_trylock(KivFunction *f) {
  g_return_val_if_fail(KIV_IS_FUNCTION(f), FALSE);
  return g_mutex_trylock(&f->priv->mutex);
}
