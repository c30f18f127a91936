/* function2d.h: KivFunction2D, a function of two variables sampled on a
 * grid of nx x ny cells.  The object itself is the x binning; it owns a
 * plain KivFunction that holds the y binning. */
#ifndef KIV_FUNCTION2D_H
#define KIV_FUNCTION2D_H

#include "function.h"

G_BEGIN_DECLS

/**
 * KIV_TYPE_FUNCTION2D:
 *
 * The #GType of #KivFunction2D.
 */
#define KIV_TYPE_FUNCTION2D            (kiv_function2d_get_type())
/**
 * KIV_FUNCTION2D:
 * @obj: an instance of #KivFunction2D or of a class derived from it
 *
 * Casts @obj to a #KivFunction2D pointer.  GLib logs a warning about an invalid
 * cast when @obj is something else (unless cast checks are disabled).
 */
#define KIV_FUNCTION2D(obj)            (G_TYPE_CHECK_INSTANCE_CAST((obj), KIV_TYPE_FUNCTION2D, KivFunction2D))
/**
 * KIV_FUNCTION2D_CLASS:
 * @klass: the class of #KivFunction2D or of a class derived from it
 *
 * Casts @klass to a #KivFunction2DClass pointer, with GLib's check.
 */
#define KIV_FUNCTION2D_CLASS(klass)    (G_TYPE_CHECK_CLASS_CAST((klass), KIV_TYPE_FUNCTION2D, KivFunction2DClass))
/**
 * KIV_IS_FUNCTION2D:
 * @obj: any pointer to an instance, or %NULL
 *
 * Whether @obj is a #KivFunction2D, or an instance of a class derived from it.
 * %NULL gives %FALSE.
 */
#define KIV_IS_FUNCTION2D(obj)         (G_TYPE_CHECK_INSTANCE_TYPE((obj), KIV_TYPE_FUNCTION2D))
/**
 * KIV_IS_FUNCTION2D_CLASS:
 * @klass: a class
 *
 * Whether @klass is #KivFunction2DClass or a class derived from it.
 */
#define KIV_IS_FUNCTION2D_CLASS(klass) (G_TYPE_CHECK_CLASS_TYPE((klass), KIV_TYPE_FUNCTION2D))
/**
 * KIV_FUNCTION2D_GET_CLASS:
 * @obj: a #KivFunction2D
 *
 * The class structure of @obj, as a #KivFunction2DClass pointer.
 */
#define KIV_FUNCTION2D_GET_CLASS(obj)  (G_TYPE_INSTANCE_GET_CLASS((obj), KIV_TYPE_FUNCTION2D, KivFunction2DClass))

/**
 * KivGFunction2D:
 * @x: the first variable
 * @y: the second variable
 *
 * A plain function of two variables, evaluated by a #KivFunction2D.
 *
 * Returns: the value at (@x, @y)
 */
typedef double (*KivGFunction2D)(double x, double y);

typedef struct _KivFunction2D KivFunction2D;
typedef struct _KivFunction2DClass KivFunction2DClass;

/**
 * KivFunction2D:
 * @X: the object itself as its x binning: nbin is nx, with the range,
 *   step, name, lock and #KivFunction::range-changed of the x axis
 * @Y: the y binning, a plain #KivFunction owned by the object: nbin is ny,
 *   xmin and xmax the y range
 * @func2d: the evaluation function, or %NULL for a function that is 0
 *   everywhere
 *
 * A function of two variables sampled on a grid of nx x ny cells.  Cell
 * (ix, iy) has the number ix + nx iy, x running fastest.  The
 * #KivFunction calls apply to the x axis; on kiv_function2d_Y() they give
 * the y bins and centres.  The #KivFunction:func property sets @func2d
 * here, so the one-dimensional evaluation and point arrays of a
 * two-dimensional function are zeros; its values are read with
 * kiv_function2d_eval(), its text dump is a grid.
 *
 * The x properties lock the object as for any function, the y properties
 * lock the y function; evaluation takes no lock.
 *
 * Bindings that show instance fields as attributes (PyGObject) let the
 * fields @X and @Y hide kiv_function2d_X() and kiv_function2d_Y(); there the
 * y binning is read through the y properties.  The Vala bindings name the
 * two calls get_x_function() and get_y_function().
 */
struct _KivFunction2D {
  KivFunction X;
  KivFunction *Y;
  KivGFunction2D func2d;
};

/**
 * KivFunction2DClass:
 * @parent_class: the parent class
 * @eval2d: returns the value at (x, y); the base class calls the object's
 *   function, or gives 0 without one
 *
 * The virtual operations of #KivFunction2D.
 */
struct _KivFunction2DClass {
  KivFunctionClass parent_class;
  double (*eval2d)(KivFunction2D *f, double x, double y);
};

KIV_API GType kiv_function2d_get_type(void) G_GNUC_CONST;

/**
 * KivFunction2D:npts:
 *
 * The number of cells, nx times ny (the largest int when the product does
 * not fit in one).  Read only.
 */

/**
 * KivFunction2D:ny:
 *
 * The number of y bins, from 1 to 999999: #KivFunction:nx of the y
 * function, which emits its own #KivFunction::range-changed.
 */

/**
 * KivFunction2D:ymin:
 *
 * The lower edge of the y range: #KivFunction:xmin of the y function.
 */

/**
 * KivFunction2D:ymax:
 *
 * The upper edge of the y range: #KivFunction:xmax of the y function.
 */

/**
 * KivFunction2D:ystep:
 *
 * The y bin width: #KivFunction:xstep of the y function.
 */

/**
 * kiv_function2d_new:
 * @nx: the number of x bins, at least 1
 * @xmin: the lower edge of the x range
 * @xmax: the upper edge of the x range, not equal to @xmin
 * @ny: the number of y bins, at least 1
 * @ymin: the lower edge of the y range
 * @ymax: the upper edge of the y range, not equal to @ymin
 * @ptr: (scope forever) (nullable): the function to evaluate, or %NULL for
 *   one that is 0 everywhere; it is kept for the object's whole life
 *
 * Creates a function of two variables on a grid of @nx x @ny cells over
 * [@xmin, @xmax) x [@ymin, @ymax).  A failed check logs a critical ("nx>0",
 * "xmin!=xmax", "ny>0", "ymin!=ymax", tested in that order) and gives
 * %NULL.
 *
 * Returns: (transfer full) (nullable): the new function, or %NULL
 */
KIV_API KivFunction2D *kiv_function2d_new(int nx, double xmin, double xmax, int ny, double ymin,
                                          double ymax, KivGFunction2D ptr);

/**
 * kiv_function2d_eval:
 * @f: a #KivFunction2D
 * @x: the first variable
 * @y: the second variable
 *
 * Evaluates the function at (@x, @y) through its class: the formula of a
 * plain two-dimensional function, the content of the cell that holds the
 * point for a two-dimensional histogram.  Takes no lock and makes no
 * check.
 *
 * Returns: the value at (@x, @y)
 */
KIV_API double kiv_function2d_eval(KivFunction2D *f, double x, double y);

/**
 * kiv_function2d_find_bin_from_cell:
 * @h2d: a #KivFunction2D
 * @ix: the x bin
 * @iy: the y bin
 *
 * Numbers a cell, x running fastest.  Cells outside the grid are numbered
 * the same way, without a check; a number beyond the int range saturates.
 *
 * Returns: @ix + nx @iy
 */
KIV_API int kiv_function2d_find_bin_from_cell(KivFunction2D *h2d, int ix, int iy);

/**
 * kiv_function2d_find_cell_from_bin:
 * @h2d: a #KivFunction2D
 * @ib: a cell number
 * @ix: (out) (optional): set to the x bin, @ib modulo nx
 * @iy: (out) (optional): set to the y bin, @ib divided by nx
 *
 * Finds the cell of a number, the inverse of
 * kiv_function2d_find_bin_from_cell() inside the grid.  Makes no check.
 */
KIV_API void kiv_function2d_find_cell_from_bin(KivFunction2D *h2d, int ib, int *ix, int *iy);

/**
 * kiv_function2d_X:
 * @h2d: a #KivFunction2D
 *
 * Gives the x binning, which is the object itself seen as a #KivFunction.
 * Something that is not a #KivFunction2D logs a critical and gives %NULL.
 *
 * Returns: (transfer none): the x function
 */
KIV_API KivFunction *kiv_function2d_X(KivFunction2D *h2d);

/**
 * kiv_function2d_Y:
 * @h2d: a #KivFunction2D
 *
 * Gives the y binning, a plain #KivFunction owned by @h2d.  Something that
 * is not a #KivFunction2D logs a critical and gives %NULL.
 *
 * Returns: (transfer none): the y function
 */
KIV_API KivFunction *kiv_function2d_Y(KivFunction2D *h2d);

G_END_DECLS

#endif /* KIV_FUNCTION2D_H */
