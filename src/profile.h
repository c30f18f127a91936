/* profile.h: KivProfile, a histogram whose bins hold the weighted mean of a
 * second variable, with the spread of that variable per bin. */
#ifndef KIV_PROFILE_H
#define KIV_PROFILE_H

#include "histogram.h"

G_BEGIN_DECLS

/**
 * KIV_TYPE_PROFILE:
 *
 * The #GType of #KivProfile.
 */
#define KIV_TYPE_PROFILE            (kiv_profile_get_type())
/**
 * KIV_PROFILE:
 * @obj: an instance of #KivProfile or of a class derived from it
 *
 * Casts @obj to a #KivProfile pointer.  GLib logs a warning about an invalid
 * cast when @obj is something else (unless cast checks are disabled).
 */
#define KIV_PROFILE(obj)            (G_TYPE_CHECK_INSTANCE_CAST((obj), KIV_TYPE_PROFILE, KivProfile))
/**
 * KIV_PROFILE_CLASS:
 * @klass: the class of #KivProfile or of a class derived from it
 *
 * Casts @klass to a #KivProfileClass pointer, with GLib's check.
 */
#define KIV_PROFILE_CLASS(klass)    (G_TYPE_CHECK_CLASS_CAST((klass), KIV_TYPE_PROFILE, KivProfileClass))
/**
 * KIV_IS_PROFILE:
 * @obj: any pointer to an instance, or %NULL
 *
 * Whether @obj is a #KivProfile, or an instance of a class derived from it.
 * %NULL gives %FALSE.
 */
#define KIV_IS_PROFILE(obj)         (G_TYPE_CHECK_INSTANCE_TYPE((obj), KIV_TYPE_PROFILE))
/**
 * KIV_IS_PROFILE_CLASS:
 * @klass: a class
 *
 * Whether @klass is #KivProfileClass or a class derived from it.
 */
#define KIV_IS_PROFILE_CLASS(klass) (G_TYPE_CHECK_CLASS_TYPE((klass), KIV_TYPE_PROFILE))
/**
 * KIV_PROFILE_GET_CLASS:
 * @obj: a #KivProfile
 *
 * The class structure of @obj, as a #KivProfileClass pointer.
 */
#define KIV_PROFILE_GET_CLASS(obj)  (G_TYPE_INSTANCE_GET_CLASS((obj), KIV_TYPE_PROFILE, KivProfileClass))

typedef struct _KivProfile KivProfile;
typedef struct _KivProfileClass KivProfileClass;

/**
 * KivProfile:
 * @H: the histogram part, whose contents y hold the weighted mean of y in
 *   each bin
 * @n: the weight sum of each bin, nbin values, owned
 * @s: the weighted mean of y² in each bin, nbin values, owned
 *
 * A histogram that shows how a second variable y behaves as a function of
 * x: each bin holds the weighted mean of the y values filled into it, and
 * keeps their weight sum and mean square, from which the spread of y in
 * the bin follows.  Charts and text dumps show the means like the contents
 * of any histogram.  The statistics describe both variables, so the
 * correlation of x and y can be read from them.
 *
 * kiv_histogram_fill() adds a value with weight 1 under the lock;
 * kiv_profile_fill() takes a weight and no lock.  The range or bin count
 * changes only while nothing fills the profile: the per-bin sums are
 * replaced without the lock.  A bin whose weights sum to 0 goes back to
 * the state of a bin never filled (mean, mean square and weight 0).
 */
struct _KivProfile {
  KivHistogram H;
  double *n;
  double *s;
};

/**
 * KivProfileClass:
 * @parent_class: the parent class
 *
 * The class of #KivProfile, which replaces the histogram's fill and reset
 * operations and adds none.
 */
struct _KivProfileClass {
  KivHistogramClass parent_class;
};

KIV_API GType kiv_profile_get_type(void) G_GNUC_CONST;

/**
 * KivProfile:rms:
 *
 * A new array of nbin doubles, freed by the reader with g_free(): the
 * spread of y in each bin, the square root of |mean of y² - mean²|.  Read
 * only; takes no lock.  Bindings see an untyped pointer, which they cannot
 * read or free.
 */

/**
 * KivProfile:ntotal:
 *
 * A new array of nbin doubles, freed by the reader with g_free(): the
 * weight sum of each bin.  Read only; takes no lock.  Bindings see an
 * untyped pointer, which they cannot read or free.
 */

/**
 * kiv_profile_new:
 * @n: the number of bins, at least 1
 * @xmin: the lower edge of the range
 * @xmax: the upper edge of the range
 * @ptr: (nullable) (type gpointer): %NULL, or a caller's array of @n
 *   doubles for the bin means, used in place as #KivHistogram:ptr;
 *   bindings pass %NULL
 *
 * Creates a profile of @n bins over [@xmin, @xmax).  A count below 1 logs
 * the critical "n>0" and gives %NULL.
 *
 * Returns: (transfer full) (nullable): the new profile, or %NULL
 */
KIV_API KivProfile *kiv_profile_new(int n, double xmin, double xmax, double *ptr);

/**
 * kiv_profile_fill:
 * @p: a #KivProfile
 * @x: the abscissa
 * @y: the value added to the mean of the bin of @x
 * @w: its weight
 *
 * Adds @y with weight @w to the bin of @x and the entry (@x, @y, @w) to
 * the statistics.  An @x outside the range changes nothing, not even the
 * statistics.  Takes no lock and emits nothing: a producer in another
 * thread holds kiv_function_lock() around it, or fills through
 * kiv_histogram_fill(), which locks.  Something that is not a
 * #KivProfile logs a critical.
 */
KIV_API void kiv_profile_fill(KivProfile *p, double x, double y, double w);

G_END_DECLS

#endif /* KIV_PROFILE_H */
