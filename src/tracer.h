/* tracer.h: KivTracer, the most recent values of a series kept in a ring
 * and shown oldest first. */
#ifndef KIV_TRACER_H
#define KIV_TRACER_H

#include "histogram.h"

G_BEGIN_DECLS

#define KIV_TYPE_TRACER            (kiv_tracer_get_type())
#define KIV_TRACER(obj)            (G_TYPE_CHECK_INSTANCE_CAST((obj), KIV_TYPE_TRACER, KivTracer))
#define KIV_TRACER_CLASS(klass)    (G_TYPE_CHECK_CLASS_CAST((klass), KIV_TYPE_TRACER, KivTracerClass))
#define KIV_IS_TRACER(obj)         (G_TYPE_CHECK_INSTANCE_TYPE((obj), KIV_TYPE_TRACER))
#define KIV_IS_TRACER_CLASS(klass) (G_TYPE_CHECK_CLASS_TYPE((klass), KIV_TYPE_TRACER))
#define KIV_TRACER_GET_CLASS(obj)  (G_TYPE_INSTANCE_GET_CLASS((obj), KIV_TYPE_TRACER, KivTracerClass))

typedef struct _KivTracer KivTracer;
typedef struct _KivTracerClass KivTracerClass;

/* The ring is the inherited array y of nbin places; index is the place the
 * next value goes to and npoints the number of values held. */
struct _KivTracer {
  KivHistogram parent;
  int index;
  int npoints;
};

struct _KivTracerClass {
  KivHistogramClass parent_class;
};

KIV_API GType kiv_tracer_get_type(void) G_GNUC_CONST;

KIV_API KivTracer *kiv_tracer_new(int n);
KIV_API gdouble kiv_tracer_get_maximum(KivTracer *tr);
KIV_API gdouble kiv_tracer_get_minimum(KivTracer *tr);
KIV_API gdouble kiv_tracer_get_mean(KivTracer *tr);
KIV_API gdouble kiv_tracer_get_rms(KivTracer *tr);

G_END_DECLS

#endif /* KIV_TRACER_H */
