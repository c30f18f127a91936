/* stats.h: KivStats, weighted running statistics of one or two variables. */
#ifndef KIV_STATS_H
#define KIV_STATS_H

#include <glib-object.h>
#include "kivdefs.h"

G_BEGIN_DECLS

/**
 * KIV_TYPE_STATS:
 *
 * The #GType of #KivStats.
 */
#define KIV_TYPE_STATS            (kiv_stats_get_type())
/**
 * KIV_STATS:
 * @obj: an instance of #KivStats or of a class derived from it
 *
 * Casts @obj to a #KivStats pointer.  GLib logs a warning about an invalid
 * cast when @obj is something else (unless cast checks are disabled).
 */
#define KIV_STATS(obj)            (G_TYPE_CHECK_INSTANCE_CAST((obj), KIV_TYPE_STATS, KivStats))
/**
 * KIV_STATS_CLASS:
 * @klass: the class of #KivStats or of a class derived from it
 *
 * Casts @klass to a #KivStatsClass pointer, with GLib's check.
 */
#define KIV_STATS_CLASS(klass)    (G_TYPE_CHECK_CLASS_CAST((klass), KIV_TYPE_STATS, KivStatsClass))
/**
 * KIV_IS_STATS:
 * @obj: any pointer to an instance, or %NULL
 *
 * Whether @obj is a #KivStats, or an instance of a class derived from it.
 * %NULL gives %FALSE.
 */
#define KIV_IS_STATS(obj)         (G_TYPE_CHECK_INSTANCE_TYPE((obj), KIV_TYPE_STATS))
/**
 * KIV_IS_STATS_CLASS:
 * @klass: a class
 *
 * Whether @klass is #KivStatsClass or a class derived from it.
 */
#define KIV_IS_STATS_CLASS(klass) (G_TYPE_CHECK_CLASS_TYPE((klass), KIV_TYPE_STATS))
/**
 * KIV_STATS_GET_CLASS:
 * @obj: a #KivStats
 *
 * The class structure of @obj, as a #KivStatsClass pointer.
 */
#define KIV_STATS_GET_CLASS(obj)  (G_TYPE_INSTANCE_GET_CLASS((obj), KIV_TYPE_STATS, KivStatsClass))

typedef struct _KivStats KivStats;
typedef struct _KivStatsClass KivStatsClass;

/**
 * KivStats:
 * @nc: the sum of the weights (the number of entries when all weights
 *   are 1)
 * @s: the weighted sums: s[0] of w x, s[1] of w y, s[2] of w x², s[3] of
 *   w y², s[4] of w x y
 * @xmin: the smallest x (index 0) and y (index 1) added; G_MAXDOUBLE while
 *   empty
 * @xmax: the largest x (index 0) and y (index 1) added; -G_MAXDOUBLE while
 *   empty
 *
 * Weighted running statistics of one or two variables, x and y: the
 * number of entries, means, variances, standard deviations, extrema and
 * the correlation of x and y.  No sample is stored, so an entry costs
 * constant time and memory.  Histograms keep one of what they were filled
 * with; a caller that fills only x passes y = 0.
 *
 * A #KivStats has no lock of its own: one owned by a histogram is read and
 * written under the histogram's lock, a stand-alone one is used from one
 * thread at a time.  Degenerate data never divide by zero: the accessors
 * give 0 for no entries, for a total weight below 2 (the moments) and for
 * a zero product of deviations (the correlation).
 */
struct _KivStats {
  GObject __parent__;
  double nc;
  double s[5];
  double xmin[2];
  double xmax[2];
};

/**
 * KivStatsClass:
 * @parent_class: the parent class
 *
 * The class of #KivStats, which adds no virtual operations.
 */
struct _KivStatsClass {
  GObjectClass parent_class;
};

KIV_API GType kiv_stats_get_type(void) G_GNUC_CONST;

/**
 * KivStats:nc:
 *
 * The sum of the weights of all entries (their count when every weight
 * is 1).
 */

/**
 * KivStats:mean-x:
 *
 * The weighted mean of x, as kiv_stats_get_mean() with index 0.
 */

/**
 * KivStats:mean-y:
 *
 * The weighted mean of y, as kiv_stats_get_mean() with index 1.
 */

/**
 * KivStats:rms-x:
 *
 * The weighted variance of x, as kiv_stats_get_rms() with index 0.
 */

/**
 * KivStats:rms-y:
 *
 * The weighted variance of y, as kiv_stats_get_rms() with index 1.
 */

/**
 * KivStats:stdev-x:
 *
 * The standard deviation of x, as kiv_stats_get_stdev() with index 0.
 */

/**
 * KivStats:stdev-y:
 *
 * The standard deviation of y, as kiv_stats_get_stdev() with index 1.
 */

/**
 * KivStats:corr:
 *
 * The correlation of x and y, as kiv_stats_get_correlation().
 */

/**
 * KivStats:xmin:
 *
 * The smallest x added, G_MAXDOUBLE while empty.
 */

/**
 * KivStats:xmax:
 *
 * The largest x added, -G_MAXDOUBLE while empty.
 */

/**
 * KivStats:ymin:
 *
 * The smallest y added, G_MAXDOUBLE while empty.
 */

/**
 * KivStats:ymax:
 *
 * The largest y added, -G_MAXDOUBLE while empty.
 */

/**
 * kiv_stats_new:
 *
 * Creates an empty statistics record.
 *
 * Returns: (transfer full): the new record
 */
KIV_API KivStats *kiv_stats_new(void);

/**
 * kiv_stats_add:
 * @self: a #KivStats
 * @x: the first variable
 * @y: the second variable (0 when only x is kept)
 * @w: the weight; zero and negative weights are taken as given
 *
 * Adds the entry (@x, @y) with weight @w to the sums.  The extrema follow
 * @x and @y whatever the weight.  A %NULL @self logs a critical.
 */
KIV_API void kiv_stats_add(KivStats *self, double x, double y, double w);

/**
 * kiv_stats_reset:
 * @self: a #KivStats
 *
 * Empties the record: weight and sums 0, minima G_MAXDOUBLE, maxima
 * -G_MAXDOUBLE.  A %NULL @self logs a critical.
 */
KIV_API void kiv_stats_reset(KivStats *self);

/**
 * kiv_stats_copy:
 * @self: the #KivStats to copy from
 * @cpy: the #KivStats to copy into
 *
 * Copies the weight, the sums and the extrema of @self into @cpy, which
 * stays independent of @self afterwards.  Both must be valid records: this
 * call makes no check.
 */
KIV_API void kiv_stats_copy(KivStats *self, KivStats *cpy);

/**
 * kiv_stats_get_nc:
 * @self: a #KivStats
 *
 * A %NULL @self logs a critical and gives 0.
 *
 * Returns: the sum of the weights
 */
KIV_API gdouble kiv_stats_get_nc(KivStats *self);

/**
 * kiv_stats_get_mean:
 * @self: a #KivStats
 * @w: which variable: 0 for x, 1 for y
 *
 * A %NULL @self or an index other than 0 and 1 logs a critical ("self !=
 * NULL", "(w>=0&&w<2)") and gives 0.
 *
 * Returns: the weighted mean, 0 while the weight sum is not positive
 */
KIV_API gdouble kiv_stats_get_mean(KivStats *self, int w);

/**
 * kiv_stats_get_rms:
 * @self: a #KivStats
 * @w: which variable: 0 for x, 1 for y
 *
 * Gives the second central moment, Σ w v² / nc - mean²: the variance of
 * the weighted entries (divided by nc, not nc - 1), not its square root.
 * A %NULL @self or an index other than 0 and 1 logs a critical ("self !=
 * NULL", "(w>=0&&w<2)") and gives 0.
 *
 * Returns: the variance, 0 while the weight sum is below 2
 */
KIV_API gdouble kiv_stats_get_rms(KivStats *self, int w);

/**
 * kiv_stats_get_stdev:
 * @self: a #KivStats
 * @w: which variable: 0 for x, 1 for y
 *
 * Gives the square root of kiv_stats_get_rms().  Equal values whose
 * variance comes out a rounding error below 0 give 0, never NaN.
 * A %NULL @self or an index other than 0 and 1 logs a critical ("self !=
 * NULL", "(w>=0&&w<2)") and gives 0.
 *
 * Returns: the standard deviation
 */
KIV_API gdouble kiv_stats_get_stdev(KivStats *self, int w);

/**
 * kiv_stats_get_min:
 * @self: a #KivStats
 * @w: which variable: 0 for x, 1 for y
 *
 * A %NULL @self or an index other than 0 and 1 logs a critical ("self !=
 * NULL", "(w>=0&&w<2)") and gives 0.
 *
 * Returns: the smallest value added, G_MAXDOUBLE while empty
 */
KIV_API gdouble kiv_stats_get_min(KivStats *self, int w);

/**
 * kiv_stats_get_max:
 * @self: a #KivStats
 * @w: which variable: 0 for x, 1 for y
 *
 * A %NULL @self or an index other than 0 and 1 logs a critical ("self !=
 * NULL", "(w>=0&&w<2)") and gives 0.
 *
 * Returns: the largest value added, -G_MAXDOUBLE while empty
 */
KIV_API gdouble kiv_stats_get_max(KivStats *self, int w);

/**
 * kiv_stats_get_correlation:
 * @self: a #KivStats
 *
 * Gives the correlation coefficient of x and y, from -1 to 1.  A %NULL
 * @self logs a critical and gives 0.
 *
 * Returns: the correlation; 0 without entries or when either variable
 *   does not vary
 */
KIV_API gdouble kiv_stats_get_correlation(KivStats *self);

G_END_DECLS

#endif /* KIV_STATS_H */
