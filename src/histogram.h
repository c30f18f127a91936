/* histogram.h: KivHistogram, a sampled function whose bins accumulate
 * weighted entries, with running statistics of what was filled. */
#ifndef KIV_HISTOGRAM_H
#define KIV_HISTOGRAM_H

#include "function.h"
#include "stats.h"

G_BEGIN_DECLS

/**
 * KIV_TYPE_HISTOGRAM:
 *
 * The #GType of #KivHistogram.
 */
#define KIV_TYPE_HISTOGRAM            (kiv_histogram_get_type())
/**
 * KIV_HISTOGRAM:
 * @obj: an instance of #KivHistogram or of a class derived from it
 *
 * Casts @obj to a #KivHistogram pointer.  GLib logs a warning about an invalid
 * cast when @obj is something else (unless cast checks are disabled).
 */
#define KIV_HISTOGRAM(obj)            (G_TYPE_CHECK_INSTANCE_CAST((obj), KIV_TYPE_HISTOGRAM, KivHistogram))
/**
 * KIV_HISTOGRAM_CLASS:
 * @klass: the class of #KivHistogram or of a class derived from it
 *
 * Casts @klass to a #KivHistogramClass pointer, with GLib's check.
 */
#define KIV_HISTOGRAM_CLASS(klass)    (G_TYPE_CHECK_CLASS_CAST((klass), KIV_TYPE_HISTOGRAM, KivHistogramClass))
/**
 * KIV_IS_HISTOGRAM:
 * @obj: any pointer to an instance, or %NULL
 *
 * Whether @obj is a #KivHistogram, or an instance of a class derived from it.
 * %NULL gives %FALSE.
 */
#define KIV_IS_HISTOGRAM(obj)         (G_TYPE_CHECK_INSTANCE_TYPE((obj), KIV_TYPE_HISTOGRAM))
/**
 * KIV_IS_HISTOGRAM_CLASS:
 * @klass: a class
 *
 * Whether @klass is #KivHistogramClass or a class derived from it.
 */
#define KIV_IS_HISTOGRAM_CLASS(klass) (G_TYPE_CHECK_CLASS_TYPE((klass), KIV_TYPE_HISTOGRAM))
/**
 * KIV_HISTOGRAM_GET_CLASS:
 * @obj: a #KivHistogram
 *
 * The class structure of @obj, as a #KivHistogramClass pointer.
 */
#define KIV_HISTOGRAM_GET_CLASS(obj)  (G_TYPE_INSTANCE_GET_CLASS((obj), KIV_TYPE_HISTOGRAM, KivHistogramClass))

typedef struct _KivHistogram KivHistogram;
typedef struct _KivHistogramClass KivHistogramClass;

/**
 * KivHistogram:
 * @y: the nbin bin contents
 * @owner: 1 when the histogram allocated @y and frees it; 0 when @y is an
 *   array lent by the caller through #KivHistogram:ptr, which the histogram
 *   fills in place and never frees
 * @stat: the statistics of every value filled, in range or not (owned)
 * @vmin: the lowest bin content reached, never above 0 after a reset
 * @vmax: the highest bin content reached, never below 0 after a reset
 *
 * A #KivFunction whose bins accumulate weighted entries, with running
 * statistics of what was filled.  Producers call kiv_histogram_fill() or
 * kiv_histogram_fill_n() from any thread; charts draw the contents as a
 * step outline and show the statistics.  There are no underflow or
 * overflow bins: values outside the range count in the statistics only.
 *
 * Safe from any thread without further care, because they take the
 * object's lock themselves: kiv_histogram_fill(), kiv_histogram_fill_n(),
 * kiv_histogram_reset(), bin access, kiv_histogram_rebin() and the
 * accessors of #KivFunction.  The statistics accessors, the copies and
 * kiv_histogram_resize() take no lock: a caller that needs a consistent
 * picture while another thread fills holds kiv_function_lock() around
 * them.
 */
struct _KivHistogram {
  KivFunction parent;
  double *y;
  int owner;
  KivStats *stat;
  double vmin;
  double vmax;
};

/**
 * KivHistogramClass:
 * @parent_class: the parent class
 * @fill: adds weight w at x; runs under the object's lock, held by
 *   kiv_histogram_fill(), and does not emit #KivHistogram::changed
 * @reset: clears the contents, the statistics and the extrema; runs under
 *   the lock
 * @changed: class handler of #KivHistogram::changed
 *
 * The virtual operations of #KivHistogram.  Profiles and tracers replace
 * @fill and @reset.
 */
struct _KivHistogramClass {
  KivFunctionClass parent_class;
  void (*fill)(KivHistogram *h, double val, double weight);
  void (*reset)(KivHistogram *h);
  void (*changed)(KivHistogram *h);
};

KIV_API GType kiv_histogram_get_type(void) G_GNUC_CONST;

/**
 * KivHistogram::changed:
 * @histogram: the histogram that changed
 *
 * Emitted after kiv_histogram_fill(), a non-empty kiv_histogram_fill_n()
 * and kiv_histogram_reset(), once the lock is released, and after every
 * write of #KivHistogram:ptr.  Setting single bins, re-sizing, rebinning and
 * recomputing the statistics do not emit it.  The library's charts do not
 * listen to it: it is for applications.  Handlers run in the thread that
 * filled.
 */

/**
 * KivHistogram:ptr:
 *
 * The bin contents.  Reading gives the live array.  Writing a caller's
 * array of nbin values makes the histogram use it in place (not copied,
 * never freed; it must outlive the histogram's use of it) and recomputes
 * the statistics from it; writing %NULL gives the histogram a zeroed array
 * of its own.  Every write emits #KivHistogram::changed.  A later re-size
 * leaves a lent array to its owner and goes back to an array of the
 * histogram's own.
 */

/**
 * KivHistogram:vmin:
 *
 * The lowest bin content reached, as kiv_histogram_vmin().
 */

/**
 * KivHistogram:vmax:
 *
 * The highest bin content reached, as kiv_histogram_vmax().
 */

/**
 * KivHistogram:stats:
 *
 * Writing any value recomputes the statistics from the contents, as
 * kiv_histogram_update_stats() does; the value itself is ignored.
 */

/**
 * kiv_histogram_new:
 * @n: the number of bins, at least 1
 * @xmin: the lower edge of the range
 * @xmax: the upper edge of the range
 * @ptr: (nullable) (type gpointer): %NULL for a histogram that keeps its
 *   own contents, or a caller's array of @n doubles that it uses in place
 *   (see #KivHistogram:ptr); bindings pass %NULL
 *
 * Creates a histogram of @n bins over [@xmin, @xmax).  With a caller's
 * array, the statistics are computed from its contents.  It emits
 * #KivHistogram::changed and #KivFunction::range-changed once each while it
 * is made.  A count below 1 logs the critical "n>0" and gives %NULL.
 *
 * Returns: (transfer full) (nullable): the new histogram, or %NULL
 */
KIV_API KivHistogram *kiv_histogram_new(gint n, gdouble xmin, gdouble xmax, gdouble *ptr);

/**
 * kiv_histogram_fill:
 * @h: a #KivHistogram
 * @val: the value
 * @weight: its weight (1 for a plain count)
 *
 * Adds @weight to the bin of @val and the entry (@val, @weight) to the
 * statistics, under the object's lock, then emits #KivHistogram::changed.
 * A value outside the range counts in the statistics only; NaN and
 * infinite weights reach the contents as the arithmetic gives them.  On a
 * profile this adds the value @weight at @val with weight 1; on a tracer it
 * appends @val to the history.  Safe from any thread; the caller must not
 * hold the lock.
 */
KIV_API void kiv_histogram_fill(KivHistogram *h, double val, double weight);

/**
 * kiv_histogram_fill_n:
 * @h: a #KivHistogram
 * @x: (array length=n): the values
 * @w: (array length=n) (nullable): their weights, or %NULL for weight 1
 *   each
 * @n: the number of values
 *
 * Fills the @n values @x[i] with weights @w[i] under one hold of the lock,
 * then emits #KivHistogram::changed once.  Contents, statistics and
 * extrema end up exactly as after @n calls of kiv_histogram_fill() with the
 * same values in the same order, so on a profile @w[i] is the value filled
 * at @x[i].  An empty batch changes and emits nothing.  Something that is
 * not a histogram, or a %NULL @x with a count, logs a critical.
 */
KIV_API void kiv_histogram_fill_n(KivHistogram *h, const double *x, const double *w, gsize n);

/**
 * kiv_histogram_reset:
 * @h: a #KivHistogram
 *
 * Clears the contents, the statistics and the extrema under the object's
 * lock, then emits #KivHistogram::changed.  A profile clears only its
 * per-bin sums, keeping the means shown; a tracer also empties its
 * history.
 */
KIV_API void kiv_histogram_reset(KivHistogram *h);

/**
 * kiv_histogram_set_bin_content:
 * @h: a #KivHistogram
 * @ibin: the bin, from 0 to nbin - 1
 * @val: the new content
 *
 * Sets one bin under the object's lock, without touching the statistics
 * or the extrema and without emitting #KivHistogram::changed.  Something
 * that is not a histogram, or a bin outside the range, logs a critical
 * ("ibin>=0 && ibin<nbin") and changes nothing.
 */
KIV_API void kiv_histogram_set_bin_content(KivHistogram *h, int ibin, double val);

/**
 * kiv_histogram_get_bin_content:
 * @h: a #KivHistogram
 * @ibin: the bin, from 0 to nbin - 1
 *
 * Reads one bin under the object's lock.  Something that is not a
 * histogram, or a bin outside the range, logs a critical ("ibin>=0 &&
 * ibin<nbin") and gives 0.
 *
 * Returns: the content of bin @ibin
 */
KIV_API double kiv_histogram_get_bin_content(KivHistogram *h, int ibin);

/**
 * kiv_histogram_resize:
 * @h: a #KivHistogram
 * @nbin: the new number of bins; below 1 keeps the present count, above
 *   999999 keeps it too, with a warning
 * @xmin: the new lower edge
 * @xmax: the new upper edge
 *
 * Gives the histogram a new binning with all contents 0, and emits
 * #KivFunction::range-changed.  The statistics and the extrema stay as
 * they were.  Takes no lock: the caller holds kiv_function_lock() while
 * other threads use the histogram.  A lent array is left to its owner.
 */
KIV_API void kiv_histogram_resize(KivHistogram *h, int nbin, double xmin, double xmax);

/**
 * kiv_histogram_rebin:
 * @h: a #KivHistogram
 * @nbin: the new number of bins; below 1 keeps the present count, above
 *   999999 keeps it too, with a warning
 * @xmin: the new lower edge
 * @xmax: the new upper edge, above @xmin
 *
 * Redistributes the contents over a new binning under the object's lock,
 * taking each old bin's content as spread evenly across it: content inside
 * the new range is kept (up to the linear interpolation), content outside
 * it is dropped.  Each new bin is filled once at its centre, so the
 * statistics afterwards hold the entries filled before plus one per new
 * bin.  #KivFunction::range-changed is emitted once while the lock is held
 * and once after; handlers must not take the lock.  Limits that are not
 * finite or not increasing are refused with a warning and change nothing.
 * Something that is not a histogram logs a critical.
 */
KIV_API void kiv_histogram_rebin(KivHistogram *h, int nbin, gdouble xmin, gdouble xmax);

/**
 * kiv_histogram_update_stats:
 * @h: a #KivHistogram
 *
 * Recomputes the statistics and the extrema from the contents: one entry
 * at each non-empty bin's centre, weighted by its content.  Takes no lock.
 * Something that is not a histogram logs a critical.
 */
KIV_API void kiv_histogram_update_stats(KivHistogram *h);

/**
 * kiv_histogram_get_stats:
 * @h: a #KivHistogram
 * @s: the #KivStats to copy into
 *
 * Copies the histogram's statistics into @s, as kiv_stats_copy().  Takes
 * no lock.  Something that is not a histogram, or an @s that is not a
 * #KivStats, logs a critical and gives -1.
 *
 * Returns: 0, or -1 on a failed check
 */
KIV_API int kiv_histogram_get_stats(KivHistogram *h, KivStats *s);

/**
 * kiv_histogram_get_values:
 * @h: a #KivHistogram
 * @sz: (out): set to the number of bins
 * @buffer: (out) (array length=sz) (transfer none): set to the live array
 *   of contents, which the caller must not free; bindings receive a copy
 *
 * Hands out the contents themselves, without a copy and without a lock:
 * hold kiv_function_lock() while reading them if other threads fill.
 * Something that is not a histogram logs a critical and sets 0 and %NULL.
 */
KIV_API void kiv_histogram_get_values(KivHistogram *h, int *sz, double **buffer);

/**
 * kiv_histogram_get_data: (skip)
 * @h: a #KivHistogram
 *
 * Copies the contents into a new array of nbin doubles.  Takes no lock
 * and makes no check.  Not available to bindings, since the length of the
 * copy is not returned with it: they use kiv_histogram_get_values(), which
 * gives them a copy too.
 *
 * Returns: (transfer full): the copy, freed with g_free()
 */
KIV_API gdouble *kiv_histogram_get_data(KivHistogram *h);

/**
 * kiv_histogram_clone:
 * @h: a #KivHistogram
 *
 * Makes an independent histogram with the same binning, contents,
 * statistics and extrema, keeping its own contents; the name is not
 * copied.  Takes no lock and makes no check.
 *
 * Returns: (transfer full): the copy
 */
KIV_API KivHistogram *kiv_histogram_clone(KivHistogram *h);

/**
 * kiv_histogram_mean:
 * @h: a #KivHistogram
 *
 * Reads the mean of the filled values from the statistics.  Takes no
 * lock and makes no check.
 *
 * Returns: the weighted mean of the values filled
 */
KIV_API gdouble kiv_histogram_mean(KivHistogram *h);

/**
 * kiv_histogram_rms:
 * @h: a #KivHistogram
 *
 * Reads the variance of the filled values from the statistics (not its
 * square root, see kiv_stats_get_rms()).  Takes no lock and makes no
 * check.
 *
 * Returns: the variance of the values filled
 */
KIV_API gdouble kiv_histogram_rms(KivHistogram *h);

/**
 * kiv_histogram_stdev:
 * @h: a #KivHistogram
 *
 * Reads the standard deviation of the filled values from the statistics.
 * Takes no lock and makes no check.
 *
 * Returns: the standard deviation of the values filled
 */
KIV_API gdouble kiv_histogram_stdev(KivHistogram *h);

/**
 * kiv_histogram_entries:
 * @h: a #KivHistogram
 *
 * Reads the sum of the weights filled, in range or not.  Takes no lock
 * and makes no check.
 *
 * Returns: the number of entries, weighted
 */
KIV_API gdouble kiv_histogram_entries(KivHistogram *h);

/**
 * kiv_histogram_min_value:
 * @h: a #KivHistogram
 *
 * Reads the smallest value filled (not a bin content).  Takes no lock
 * and makes no check.
 *
 * Returns: the smallest value filled, G_MAXDOUBLE before any
 */
KIV_API gdouble kiv_histogram_min_value(KivHistogram *h);

/**
 * kiv_histogram_max_value:
 * @h: a #KivHistogram
 *
 * Reads the largest value filled (not a bin content).  Takes no lock and
 * makes no check.
 *
 * Returns: the largest value filled, -G_MAXDOUBLE before any
 */
KIV_API gdouble kiv_histogram_max_value(KivHistogram *h);

/**
 * kiv_histogram_vmin:
 * @h: a #KivHistogram
 *
 * Reads the lowest bin content reached.  Takes no lock and makes no check.
 * The Vala bindings call this get_vmin(); in Python the field vmin of
 * the same name gives the value.
 *
 * Returns: the lowest content, at most 0
 */
KIV_API gdouble kiv_histogram_vmin(KivHistogram *h);

/**
 * kiv_histogram_vmax:
 * @h: a #KivHistogram
 *
 * Reads the highest bin content reached.  Takes no lock and makes no check.
 * The Vala bindings call this get_vmax(); in Python the field vmax of
 * the same name gives the value.
 *
 * Returns: the highest content, at least 0
 */
KIV_API gdouble kiv_histogram_vmax(KivHistogram *h);

G_END_DECLS

#endif /* KIV_HISTOGRAM_H */
