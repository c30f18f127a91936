/* graph.h: KivGraph, a polyline through given points, evaluated by linear
 * interpolation. */
#ifndef KIV_GRAPH_H
#define KIV_GRAPH_H

#include "function.h"

G_BEGIN_DECLS

/**
 * KIV_TYPE_GRAPH:
 *
 * The #GType of #KivGraph.
 */
#define KIV_TYPE_GRAPH            (kiv_graph_get_type())
/**
 * KIV_GRAPH:
 * @obj: an instance of #KivGraph or of a class derived from it
 *
 * Casts @obj to a #KivGraph pointer.  GLib logs a warning about an invalid
 * cast when @obj is something else (unless cast checks are disabled).
 */
#define KIV_GRAPH(obj)            (G_TYPE_CHECK_INSTANCE_CAST((obj), KIV_TYPE_GRAPH, KivGraph))
/**
 * KIV_GRAPH_CLASS:
 * @klass: the class of #KivGraph or of a class derived from it
 *
 * Casts @klass to a #KivGraphClass pointer, with GLib's check.
 */
#define KIV_GRAPH_CLASS(klass)    (G_TYPE_CHECK_CLASS_CAST((klass), KIV_TYPE_GRAPH, KivGraphClass))
/**
 * KIV_IS_GRAPH:
 * @obj: any pointer to an instance, or %NULL
 *
 * Whether @obj is a #KivGraph, or an instance of a class derived from it.
 * %NULL gives %FALSE.
 */
#define KIV_IS_GRAPH(obj)         (G_TYPE_CHECK_INSTANCE_TYPE((obj), KIV_TYPE_GRAPH))
/**
 * KIV_IS_GRAPH_CLASS:
 * @klass: a class
 *
 * Whether @klass is #KivGraphClass or a class derived from it.
 */
#define KIV_IS_GRAPH_CLASS(klass) (G_TYPE_CHECK_CLASS_TYPE((klass), KIV_TYPE_GRAPH))
/**
 * KIV_GRAPH_GET_CLASS:
 * @obj: a #KivGraph
 *
 * The class structure of @obj, as a #KivGraphClass pointer.
 */
#define KIV_GRAPH_GET_CLASS(obj)  (G_TYPE_INSTANCE_GET_CLASS((obj), KIV_TYPE_GRAPH, KivGraphClass))

typedef struct _KivGraph KivGraph;
typedef struct _KivGraphClass KivGraphClass;

/**
 * KivGraph:
 * @xv: the abscissas, nbin values, owned
 * @yv: the values, nbin values, owned
 * @ymin: the smallest value
 * @ymax: the largest value
 *
 * A polyline through given points, evaluated by linear interpolation
 * between them and drawn through them.  nbin of the #KivFunction part is
 * the number of points, xmin and xmax the smallest and largest abscissa;
 * the bin width is not kept.  The graph holds copies of the points, so the
 * caller's arrays can be reused at once.  Abscissas are expected in
 * increasing order; they are neither sorted nor tested.
 *
 * Evaluation keeps the first value before the first abscissa and the last
 * value after the last one; a graph without points is 0 everywhere.  A
 * point array holds every point whatever range is asked for.
 */
struct _KivGraph {
  KivFunction parent;
  double *xv;
  double *yv;
  double ymin;
  double ymax;
};

/**
 * KivGraphClass:
 * @parent_class: the parent class
 *
 * The class of #KivGraph, which adds no virtual operations.
 */
struct _KivGraphClass {
  KivFunctionClass parent_class;
};

KIV_API GType kiv_graph_get_type(void) G_GNUC_CONST;

/**
 * KivGraph:xv:
 *
 * The live array of abscissas.  Writes are accepted and ignored: points
 * are set with kiv_graph_new() and kiv_graph_reset().
 */

/**
 * KivGraph:yv:
 *
 * The live array of values.  Writes are accepted and ignored: points are
 * set with kiv_graph_new() and kiv_graph_reset().
 */

/**
 * kiv_graph_new:
 * @n: the number of points
 * @x: (array length=n) (nullable): the abscissas, in increasing order
 * @y: (array length=n) (nullable): the values
 *
 * Creates a graph through the @n points (@x[i], @y[i]), copied, as
 * kiv_graph_reset() does.
 *
 * Returns: (transfer full): the new graph
 */
KIV_API KivGraph *kiv_graph_new(int n, double *x, double *y);

/**
 * kiv_graph_reset:
 * @g: a #KivGraph
 * @n: the number of points; a negative count empties the graph
 * @x: (array length=n) (nullable): the abscissas, in increasing order
 * @y: (array length=n) (nullable): the values
 *
 * Replaces all points by copies of the @n points (@x[i], @y[i]) and sets
 * the extrema of both.  When @x or @y is %NULL the abscissas become 0, 1,
 * ... n - 1 with values 0, and the extrema are left empty (xmin and ymin
 * G_MAXDOUBLE, xmax and ymax -G_MAXDOUBLE).  Emits no
 * #KivFunction::range-changed.  Takes no lock and makes no check: hold
 * kiv_function_lock() if another thread evaluates or draws the graph.
 */
KIV_API void kiv_graph_reset(KivGraph *g, int n, double *x, double *y);

G_END_DECLS

#endif /* KIV_GRAPH_H */
