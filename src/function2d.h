/* function2d.h: KivFunction2D, a function of two variables sampled on a
 * grid of nx x ny cells.  The object itself is the x binning; it owns a
 * plain KivFunction that holds the y binning. */
#ifndef KIV_FUNCTION2D_H
#define KIV_FUNCTION2D_H

#include "function.h"

G_BEGIN_DECLS

#define KIV_TYPE_FUNCTION2D            (kiv_function2d_get_type())
#define KIV_FUNCTION2D(obj)            (G_TYPE_CHECK_INSTANCE_CAST((obj), KIV_TYPE_FUNCTION2D, KivFunction2D))
#define KIV_FUNCTION2D_CLASS(klass)    (G_TYPE_CHECK_CLASS_CAST((klass), KIV_TYPE_FUNCTION2D, KivFunction2DClass))
#define KIV_IS_FUNCTION2D(obj)         (G_TYPE_CHECK_INSTANCE_TYPE((obj), KIV_TYPE_FUNCTION2D))
#define KIV_IS_FUNCTION2D_CLASS(klass) (G_TYPE_CHECK_CLASS_TYPE((klass), KIV_TYPE_FUNCTION2D))
#define KIV_FUNCTION2D_GET_CLASS(obj)  (G_TYPE_INSTANCE_GET_CLASS((obj), KIV_TYPE_FUNCTION2D, KivFunction2DClass))

typedef double (*KivGFunction2D)(double x, double y);

typedef struct _KivFunction2D KivFunction2D;
typedef struct _KivFunction2DClass KivFunction2DClass;

/* X is the x binning (nbin = nx); Y, owned, the y binning (nbin = ny).
 * Cell (ix, iy) has the number ix + nx * iy.  The "func" property sets
 * func2d; X's own func stays NULL. */
struct _KivFunction2D {
  KivFunction X;
  KivFunction *Y;
  KivGFunction2D func2d;
};

struct _KivFunction2DClass {
  KivFunctionClass parent_class;
  double (*eval2d)(KivFunction2D *f, double x, double y);
};

KIV_API GType kiv_function2d_get_type(void) G_GNUC_CONST;

KIV_API KivFunction2D *kiv_function2d_new(int nx, double xmin, double xmax, int ny, double ymin,
                                          double ymax, KivGFunction2D ptr);
KIV_API double kiv_function2d_eval(KivFunction2D *f, double x, double y);
KIV_API int kiv_function2d_find_bin_from_cell(KivFunction2D *h2d, int ix, int iy);
KIV_API void kiv_function2d_find_cell_from_bin(KivFunction2D *h2d, int ib, int *ix, int *iy);
KIV_API KivFunction *kiv_function2d_X(KivFunction2D *h2d);
KIV_API KivFunction *kiv_function2d_Y(KivFunction2D *h2d);

G_END_DECLS

#endif /* KIV_FUNCTION2D_H */
