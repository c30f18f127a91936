/* function.h: KivFunction, a function sampled on equal bins over a range.
 * The base class of everything a chart can plot. */
#ifndef KIV_FUNCTION_H
#define KIV_FUNCTION_H

#include <glib-object.h>
#include "kivdefs.h"
#include "gthread-compat.h"

G_BEGIN_DECLS

#define KIV_TYPE_FUNCTION            (kiv_function_get_type())
#define KIV_FUNCTION(obj)            (G_TYPE_CHECK_INSTANCE_CAST((obj), KIV_TYPE_FUNCTION, KivFunction))
#define KIV_FUNCTION_CLASS(klass)    (G_TYPE_CHECK_CLASS_CAST((klass), KIV_TYPE_FUNCTION, KivFunctionClass))
#define KIV_IS_FUNCTION(obj)         (G_TYPE_CHECK_INSTANCE_TYPE((obj), KIV_TYPE_FUNCTION))
#define KIV_IS_FUNCTION_CLASS(klass) (G_TYPE_CHECK_CLASS_TYPE((klass), KIV_TYPE_FUNCTION))
#define KIV_FUNCTION_GET_CLASS(obj)  (G_TYPE_INSTANCE_GET_CLASS((obj), KIV_TYPE_FUNCTION, KivFunctionClass))

typedef struct _KivPoint {
  double x;
  double y;
} KivPoint;

/* A point array: n points in P (NULL when n is 0), owned by the holder of
 * the tuple and released with kiv_function_clear_tuple(). */
typedef struct _KivTuple {
  int n;
  KivPoint *P;
} KivTuple;

typedef double (*KivGFunction1D)(double x);

typedef struct _KivFunction KivFunction;
typedef struct _KivFunctionClass KivFunctionClass;
typedef struct _KivFunctionPrivate KivFunctionPrivate;

struct _KivFunction {
  GObject parent;
  KivFunctionPrivate *priv;
  KivGFunction1D func;
  int nbin;
  double xmin;
  double xmax;
  double step;
  gchar *name;
};

struct _KivFunctionClass {
  GObjectClass parent_class;
  double (*eval)(KivFunction *f, double x);
  void (*array)(KivFunction *f, KivTuple *t, double xmin, double xmax);
  int (*resize)(KivFunction *f, int width, int height);
  GString *(*print)(KivFunction *f);
  void (*range_changed)(KivFunction *f);
};

KIV_API GType kiv_function_get_type(void) G_GNUC_CONST;

KIV_API KivFunction *kiv_function_new(int nx, double x_min, double x_max, KivGFunction1D ptr);
KIV_API double kiv_function_eval(KivFunction *f, double val);
KIV_API void kiv_function_get_array(KivFunction *f, KivTuple *t, double xmin, double xmax);
KIV_API void kiv_function_clear_tuple(KivTuple *t);
KIV_API int kiv_function_resize(KivFunction *f, int width, int height);

KIV_API int kiv_function_get_npts(KivFunction *f);
KIV_API double kiv_function_get_xmin(KivFunction *f);
KIV_API double kiv_function_get_xmax(KivFunction *f);
KIV_API double kiv_function_get_step(KivFunction *f);

KIV_API int kiv_function_find_bin(KivFunction *f, double x);
KIV_API double kiv_function_bin_center(KivFunction *f, int ib);

KIV_API gchar *kiv_function_get_name(KivFunction *f);
KIV_API void kiv_function_set_name(KivFunction *f, const gchar *name);

KIV_API GString *kiv_function_print(KivFunction *f);
KIV_API GString *kiv_function_print_list(GList *list_of_functions);

KIV_API void kiv_function_lock(KivFunction *f);
KIV_API void kiv_function_unlock(KivFunction *f);
KIV_API gboolean kiv_function_trylock(KivFunction *f);

G_END_DECLS

#endif /* KIV_FUNCTION_H */
