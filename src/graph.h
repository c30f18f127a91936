/* graph.h: KivGraph, a polyline through given points, evaluated by linear
 * interpolation. */
#ifndef KIV_GRAPH_H
#define KIV_GRAPH_H

#include "function.h"

G_BEGIN_DECLS

#define KIV_TYPE_GRAPH            (kiv_graph_get_type())
#define KIV_GRAPH(obj)            (G_TYPE_CHECK_INSTANCE_CAST((obj), KIV_TYPE_GRAPH, KivGraph))
#define KIV_GRAPH_CLASS(klass)    (G_TYPE_CHECK_CLASS_CAST((klass), KIV_TYPE_GRAPH, KivGraphClass))
#define KIV_IS_GRAPH(obj)         (G_TYPE_CHECK_INSTANCE_TYPE((obj), KIV_TYPE_GRAPH))
#define KIV_IS_GRAPH_CLASS(klass) (G_TYPE_CHECK_CLASS_TYPE((klass), KIV_TYPE_GRAPH))
#define KIV_GRAPH_GET_CLASS(obj)  (G_TYPE_INSTANCE_GET_CLASS((obj), KIV_TYPE_GRAPH, KivGraphClass))

typedef struct _KivGraph KivGraph;
typedef struct _KivGraphClass KivGraphClass;

struct _KivGraph {
  KivFunction parent;
  double *xv;
  double *yv;
  double ymin;
  double ymax;
};

struct _KivGraphClass {
  KivFunctionClass parent_class;
};

KIV_API GType kiv_graph_get_type(void) G_GNUC_CONST;

KIV_API KivGraph *kiv_graph_new(int n, double *x, double *y);
KIV_API void kiv_graph_reset(KivGraph *g, int n, double *x, double *y);

G_END_DECLS

#endif /* KIV_GRAPH_H */
