/* tracer.h: KivTracer, the most recent values of a series kept in a ring
 * and shown oldest first. */
#ifndef KIV_TRACER_H
#define KIV_TRACER_H

#include "histogram.h"

G_BEGIN_DECLS

/**
 * KIV_TYPE_TRACER:
 *
 * The #GType of #KivTracer.
 */
#define KIV_TYPE_TRACER            (kiv_tracer_get_type())
/**
 * KIV_TRACER:
 * @obj: an instance of #KivTracer or of a class derived from it
 *
 * Casts @obj to a #KivTracer pointer.  GLib logs a warning about an invalid
 * cast when @obj is something else (unless cast checks are disabled).
 */
#define KIV_TRACER(obj)            (G_TYPE_CHECK_INSTANCE_CAST((obj), KIV_TYPE_TRACER, KivTracer))
/**
 * KIV_TRACER_CLASS:
 * @klass: the class of #KivTracer or of a class derived from it
 *
 * Casts @klass to a #KivTracerClass pointer, with GLib's check.
 */
#define KIV_TRACER_CLASS(klass)    (G_TYPE_CHECK_CLASS_CAST((klass), KIV_TYPE_TRACER, KivTracerClass))
/**
 * KIV_IS_TRACER:
 * @obj: any pointer to an instance, or %NULL
 *
 * Whether @obj is a #KivTracer, or an instance of a class derived from it.
 * %NULL gives %FALSE.
 */
#define KIV_IS_TRACER(obj)         (G_TYPE_CHECK_INSTANCE_TYPE((obj), KIV_TYPE_TRACER))
/**
 * KIV_IS_TRACER_CLASS:
 * @klass: a class
 *
 * Whether @klass is #KivTracerClass or a class derived from it.
 */
#define KIV_IS_TRACER_CLASS(klass) (G_TYPE_CHECK_CLASS_TYPE((klass), KIV_TYPE_TRACER))
/**
 * KIV_TRACER_GET_CLASS:
 * @obj: a #KivTracer
 *
 * The class structure of @obj, as a #KivTracerClass pointer.
 */
#define KIV_TRACER_GET_CLASS(obj)  (G_TYPE_INSTANCE_GET_CLASS((obj), KIV_TYPE_TRACER, KivTracerClass))

typedef struct _KivTracer KivTracer;
typedef struct _KivTracerClass KivTracerClass;

/**
 * KivTracer:
 * @index: the place in the ring that the next value goes to, 0 to nbin
 * @npoints: the number of values held, 0 to nbin
 *
 * The most recent values of a series, kept in a ring of nbin places (the
 * histogram's contents) and shown oldest first at x = 0, 1, 2, ...
 * Values are appended with kiv_histogram_fill(), whose weight is ignored.
 * The statistics count, average and spread the values held, while the
 * minimum and maximum are those of every value filled since the tracer
 * was made or last reset.
 *
 * A chart that shows a tracer passes it the pixel width of its plotting
 * area at every size allocation (kiv_function_resize()), and the tracer
 * takes that width as its length, one value per pixel column.  A longer
 * ring keeps the history, oldest first; a shorter one keeps its first
 * places and what they hold of the history.  A new length set through
 * #KivFunction:nx or #KivFunction:xmax empties the history, and so does
 * kiv_histogram_reset().  The x range is fixed at
 * [0, nbin) with a bin width of 1: writes of #KivFunction:xmin are
 * ignored and writes of #KivFunction:xstep are refused with a warning.
 */
struct _KivTracer {
  KivHistogram parent;
  int index;
  int npoints;
};

/**
 * KivTracerClass:
 * @parent_class: the parent class
 *
 * The class of #KivTracer, which replaces the fill, reset, point-array and
 * resize operations and adds none.
 */
struct _KivTracerClass {
  KivHistogramClass parent_class;
};

KIV_API GType kiv_tracer_get_type(void) G_GNUC_CONST;

/**
 * kiv_tracer_new:
 * @n: the number of places, at least 1
 *
 * Creates an empty tracer of @n places over [0, @n).  A count below 1 logs
 * the critical "n>0" and gives %NULL.
 *
 * Returns: (transfer full) (nullable): the new tracer, or %NULL
 */
KIV_API KivTracer *kiv_tracer_new(int n);

/**
 * kiv_tracer_get_maximum:
 * @tr: a #KivTracer
 *
 * Reads the largest value filled since the tracer was made or reset.
 * Takes no lock and makes no check.
 *
 * Returns: the maximum, -G_MAXDOUBLE before any value
 */
KIV_API gdouble kiv_tracer_get_maximum(KivTracer *tr);

/**
 * kiv_tracer_get_minimum:
 * @tr: a #KivTracer
 *
 * Reads the smallest value filled since the tracer was made or reset.
 * Takes no lock and makes no check.
 *
 * Returns: the minimum, G_MAXDOUBLE before any value
 */
KIV_API gdouble kiv_tracer_get_minimum(KivTracer *tr);

/**
 * kiv_tracer_get_mean:
 * @tr: a #KivTracer
 *
 * Reads the mean of the values held.  Takes no lock and makes no check.
 *
 * Returns: the mean, 0 while empty
 */
KIV_API gdouble kiv_tracer_get_mean(KivTracer *tr);

/**
 * kiv_tracer_get_rms:
 * @tr: a #KivTracer
 *
 * Reads the variance of the values held (not its square root).  Takes no
 * lock and makes no check.
 *
 * Returns: the variance, 0 with fewer than two values
 */
KIV_API gdouble kiv_tracer_get_rms(KivTracer *tr);

G_END_DECLS

#endif /* KIV_TRACER_H */
