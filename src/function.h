/* function.h: KivFunction, a function sampled on equal bins over a range.
 * The base class of everything a chart can plot. */
#ifndef KIV_FUNCTION_H
#define KIV_FUNCTION_H

#include <glib-object.h>
#include "kivdefs.h"
#include "gthread-compat.h"

G_BEGIN_DECLS

/**
 * KIV_TYPE_FUNCTION:
 *
 * The #GType of #KivFunction.
 */
#define KIV_TYPE_FUNCTION            (kiv_function_get_type())
/**
 * KIV_FUNCTION:
 * @obj: an instance of #KivFunction or of a class derived from it
 *
 * Casts @obj to a #KivFunction pointer.  GLib logs a warning about an invalid
 * cast when @obj is something else (unless cast checks are disabled).
 */
#define KIV_FUNCTION(obj)            (G_TYPE_CHECK_INSTANCE_CAST((obj), KIV_TYPE_FUNCTION, KivFunction))
/**
 * KIV_FUNCTION_CLASS:
 * @klass: the class of #KivFunction or of a class derived from it
 *
 * Casts @klass to a #KivFunctionClass pointer, with GLib's check.
 */
#define KIV_FUNCTION_CLASS(klass)    (G_TYPE_CHECK_CLASS_CAST((klass), KIV_TYPE_FUNCTION, KivFunctionClass))
/**
 * KIV_IS_FUNCTION:
 * @obj: any pointer to an instance, or %NULL
 *
 * Whether @obj is a #KivFunction, or an instance of a class derived from it.
 * %NULL gives %FALSE.
 */
#define KIV_IS_FUNCTION(obj)         (G_TYPE_CHECK_INSTANCE_TYPE((obj), KIV_TYPE_FUNCTION))
/**
 * KIV_IS_FUNCTION_CLASS:
 * @klass: a class
 *
 * Whether @klass is #KivFunctionClass or a class derived from it.
 */
#define KIV_IS_FUNCTION_CLASS(klass) (G_TYPE_CHECK_CLASS_TYPE((klass), KIV_TYPE_FUNCTION))
/**
 * KIV_FUNCTION_GET_CLASS:
 * @obj: a #KivFunction
 *
 * The class structure of @obj, as a #KivFunctionClass pointer.
 */
#define KIV_FUNCTION_GET_CLASS(obj)  (G_TYPE_INSTANCE_GET_CLASS((obj), KIV_TYPE_FUNCTION, KivFunctionClass))

/**
 * KivPoint:
 * @x: the abscissa
 * @y: the value at @x
 *
 * One point of a sampled function, as charts draw it.
 */
typedef struct _KivPoint {
  double x;
  double y;
} KivPoint;

/**
 * KivTuple:
 * @n: the number of points in @P
 * @P: (array length=n) (nullable): the points, %NULL when @n is 0
 *
 * A point array, filled by kiv_function_get_array() and owned by whoever
 * holds the tuple.  The holder releases the points with
 * kiv_function_clear_tuple() before the tuple is filled again or goes away:
 * a fill does not free what the tuple held.
 */
typedef struct _KivTuple {
  int n;
  KivPoint *P;
} KivTuple;

/**
 * KivGFunction1D:
 * @x: the abscissa
 *
 * A plain function of one variable, evaluated by a #KivFunction.
 *
 * Returns: the value at @x
 */
typedef double (*KivGFunction1D)(double x);

typedef struct _KivFunction KivFunction;
typedef struct _KivFunctionClass KivFunctionClass;
typedef struct _KivFunctionPrivate KivFunctionPrivate;

/**
 * KivFunction:
 * @func: the evaluation function, or %NULL for a function that is 0
 *   everywhere
 * @nbin: the number of bins, at least 1
 * @xmin: the lower edge of the range
 * @xmax: the upper edge of the range
 * @step: the bin width, (@xmax - @xmin) / @nbin
 * @name: the name shown in text dumps and legends, or %NULL
 *
 * A function sampled on @nbin equal bins between @xmin and @xmax: the base
 * class of everything a chart can plot.  Bin i covers
 * [@xmin + i @step, @xmin + (i + 1) @step).
 *
 * A plain #KivFunction evaluates @func; the histogram, profile, tracer,
 * graph and two-dimensional classes answer from stored data instead.  The
 * class holds the bin arithmetic that every data object and chart shares
 * (kiv_function_find_bin(), kiv_function_bin_center()), the point arrays
 * that charts draw (kiv_function_get_array()), and one non-recursive mutex
 * per object, with which producer threads and charts take turns.
 *
 * The fields may be read directly while the object's lock is held
 * (kiv_function_lock()); they are written through the properties, which
 * keep @step in agreement with the others.
 */
struct _KivFunction {
  GObject parent;
  /*< private >*/
  KivFunctionPrivate *priv;
  /*< public >*/
  KivGFunction1D func;
  int nbin;
  double xmin;
  double xmax;
  double step;
  gchar *name;
};

/**
 * KivFunctionClass:
 * @parent_class: the parent class
 * @eval: returns the value at x; the base class calls the object's
 *   function, or gives 0 without one
 * @array: fills a point array for a range; the base class samples the bin
 *   lower edges of the range asked for
 * @resize: tells the function the pixel size of the area it is drawn in;
 *   returns 1 when the function changed its binning in answer, else 0 (only
 *   tracers do)
 * @print: returns the text dump of the function
 * @range_changed: class handler of #KivFunction::range-changed
 *
 * The virtual operations of #KivFunction.  @eval, @array and @resize run
 * with the object's lock held by their public wrappers and must not take
 * it again.
 */
struct _KivFunctionClass {
  GObjectClass parent_class;
  double (*eval)(KivFunction *f, double val);
  void (*array)(KivFunction *f, KivTuple *t, double xmin, double xmax);
  int (*resize)(KivFunction *f, int width, int height);
  GString *(*print)(KivFunction *f);
  void (*range_changed)(KivFunction *f);
};

KIV_API GType kiv_function_get_type(void) G_GNUC_CONST;

/**
 * KivFunction::range-changed:
 * @function: the function whose range or binning changed
 *
 * Emitted whenever the range or the bin count changes: after a write of
 * #KivFunction:nx, #KivFunction:xmin, #KivFunction:xmax or
 * #KivFunction:range, and after a rebin or re-size of a subclass.  Several
 * such writes in one g_object_set() call emit it once, after the call.
 * Handlers read the new range through the accessors; they run after the
 * property write has released the lock.
 */

/**
 * KivFunction:name:
 *
 * The name of the function, shown as its column title in text dumps and
 * in a chart's legend; %NULL until one is set.  Names are used byte for
 * byte, without quoting or escaping.
 */

/**
 * KivFunction:range:
 *
 * A write announces a range changed by other means: nothing is stored, and
 * #KivFunction::range-changed is emitted.  Reading it always yields %NULL.
 */

/**
 * KivFunction:func:
 *
 * The evaluation function (a #KivGFunction1D), or %NULL for a function
 * that is 0 everywhere.  A two-dimensional function keeps a
 * #KivGFunction2D here instead.
 */

/**
 * KivFunction:nx:
 *
 * The number of bins, from 1 to 999999.  A write recomputes the bin width
 * and emits #KivFunction::range-changed; histograms also re-size and zero
 * their contents.
 */

/**
 * KivFunction:xmin:
 *
 * The lower edge of the range.  A write recomputes the bin width and emits
 * #KivFunction::range-changed.
 */

/**
 * KivFunction:xmax:
 *
 * The upper edge of the range.  A write recomputes the bin width and emits
 * #KivFunction::range-changed.  A function whose range is exactly [0, 0]
 * reads its bin count here.
 */

/**
 * KivFunction:xstep:
 *
 * The bin width.  A write keeps the lower edge, takes the bin count nearest
 * to the range divided by the new width and moves the upper edge to the
 * last whole bin; it emits no #KivFunction::range-changed.  A width that
 * gives no bin count from 1 to 999999 (zero, infinite, NaN or of the wrong
 * sign) is refused with a warning.
 */

/**
 * kiv_function_new:
 * @nx: the number of bins, at least 1
 * @x_min: the lower edge of the range
 * @x_max: the upper edge of the range; it must differ from @x_min, and may
 *   lie below it (the bin width is then negative)
 * @ptr: (scope forever) (nullable): the function to evaluate, or %NULL for
 *   one that is 0 everywhere; it is kept for the object's whole life
 *
 * Creates a function sampled on @nx bins over [@x_min, @x_max), which emits
 * #KivFunction::range-changed once when it is made.
 *
 * A count below 1 or equal limits log a critical ("nx>0", "x_min !=
 * x_max") and give %NULL; a count above 999999 is refused by the "nx"
 * property with a warning, leaving one bin.
 *
 * Returns: (transfer full) (nullable): the new function, or %NULL
 */
KIV_API KivFunction *kiv_function_new(int nx, double x_min, double x_max, KivGFunction1D ptr);

/**
 * kiv_function_eval:
 * @f: a #KivFunction
 * @val: the abscissa
 *
 * Evaluates the function at @val through its class: the formula of a plain
 * function, the bin content of a histogram, the interpolation of a graph.
 * Takes the object's lock, so the caller must not hold it.
 *
 * Returns: the value at @val
 */
KIV_API double kiv_function_eval(KivFunction *f, double val);

/**
 * kiv_function_get_array:
 * @f: a #KivFunction
 * @t: (out caller-allocates): the tuple to fill; the points it held are
 *   not freed, so clear it first
 * @xmin: the lower end of the range wanted
 * @xmax: the upper end of the range wanted
 *
 * Fills @t with the points a chart draws for [@xmin, @xmax): a plain
 * function is sampled at its bin width from @xmin on, a histogram gives its
 * step outline, a tracer and a graph all their points whatever the range.
 * An empty range gives no points; a range that would need more than 2^26
 * points is refused with a warning and gives none.  Takes the object's
 * lock, so the caller must not hold it.  Release the points with
 * kiv_function_clear_tuple().
 */
KIV_API void kiv_function_get_array(KivFunction *f, KivTuple *t, double xmin, double xmax);

/**
 * kiv_function_clear_tuple:
 * @t: a tuple filled by kiv_function_get_array()
 *
 * Frees the points of @t and leaves it empty (no points, @P %NULL), ready
 * to be filled again.
 */
KIV_API void kiv_function_clear_tuple(KivTuple *t);

/**
 * kiv_function_resize:
 * @f: a #KivFunction
 * @width: the width in pixels of the area the function is drawn in
 * @height: its height in pixels
 *
 * Tells the function the size of the chart area that shows it; a chart
 * calls this at every size allocation.  A tracer takes @width as the length
 * of its history, so that it shows one value per pixel column; other
 * functions ignore the call.  Takes the object's lock.
 *
 * Returns: 1 when the function changed its binning in answer, else 0
 */
KIV_API int kiv_function_resize(KivFunction *f, int width, int height);

/**
 * kiv_function_get_npts:
 * @f: a #KivFunction
 *
 * Reads #KivFunction:nx under the object's lock.  A %NULL @f logs a
 * critical and gives 0.
 *
 * Returns: the number of bins
 */
KIV_API int kiv_function_get_npts(KivFunction *f);

/**
 * kiv_function_get_xmin:
 * @f: a #KivFunction
 *
 * Reads #KivFunction:xmin under the object's lock.  A %NULL @f logs a
 * critical and gives 0.
 *
 * Returns: the lower edge of the range
 */
KIV_API double kiv_function_get_xmin(KivFunction *f);

/**
 * kiv_function_get_xmax:
 * @f: a #KivFunction
 *
 * Reads #KivFunction:xmax under the object's lock (the bin count for a
 * range of exactly [0, 0]).  A %NULL @f logs a critical and gives 0.
 *
 * Returns: the upper edge of the range
 */
KIV_API double kiv_function_get_xmax(KivFunction *f);

/**
 * kiv_function_get_step:
 * @f: a #KivFunction
 *
 * Reads #KivFunction:xstep under the object's lock.  A %NULL @f logs a
 * critical and gives 0.
 *
 * Returns: the bin width
 */
KIV_API double kiv_function_get_step(KivFunction *f);

/**
 * kiv_function_find_bin:
 * @f: a #KivFunction
 * @x: the abscissa
 *
 * Finds the bin that holds @x: (@x - xmin) / step, truncated toward zero.
 * Because of the truncation an @x less than one bin width below the range
 * falls into bin 0.  Takes no lock; a caller racing with range changes
 * holds kiv_function_lock().  A %NULL @f logs a critical and gives -1.
 *
 * Returns: the bin index; -1 below the range or for a NaN, nbin at or
 *   above the upper edge
 */
KIV_API int kiv_function_find_bin(KivFunction *f, double x);

/**
 * kiv_function_bin_center:
 * @f: a #KivFunction
 * @ib: a bin index; indices outside the range are computed the same way
 *
 * Gives the centre of bin @ib, (@ib + 0.5) step + xmin.  Takes no lock.  A
 * %NULL @f logs a critical and gives G_MAXDOUBLE.
 *
 * Returns: the centre of the bin
 */
KIV_API double kiv_function_bin_center(KivFunction *f, int ib);

/**
 * kiv_function_get_name:
 * @f: a #KivFunction
 *
 * Reads #KivFunction:name under the object's lock.  A %NULL @f logs a
 * critical and gives %NULL.
 *
 * Returns: (transfer full) (nullable): a copy of the name, freed with
 *   g_free(), or %NULL when none was set
 */
KIV_API gchar *kiv_function_get_name(KivFunction *f);

/**
 * kiv_function_set_name:
 * @f: a #KivFunction
 * @name: (nullable): the new name, copied, or %NULL to remove it
 *
 * Writes #KivFunction:name under the object's lock.  A %NULL @f logs a
 * critical.
 */
KIV_API void kiv_function_set_name(KivFunction *f, const gchar *name);

/**
 * kiv_function_print:
 * @f: a #KivFunction
 *
 * Writes the function as text.  A one-dimensional function gives a header
 * line "1D nbin xmin xmax", a line of column titles ("X" and the name in
 * double quotes) and one line per bin with its centre and value; a
 * two-dimensional function gives a header "2D ..." and one line per y bin
 * with the values of its x bins.  Numbers are printed with "%f" in the
 * current numeric locale, columns separated by tabs.  Values are read
 * through kiv_function_eval(), so the caller must not hold the lock.  A
 * %NULL @f logs a critical and gives %NULL.
 *
 * Returns: (transfer full) (nullable): the text, freed with
 *   g_string_free(), or %NULL
 */
KIV_API GString *kiv_function_print(KivFunction *f);

/**
 * kiv_function_print_list:
 * @list_of_functions: (element-type KivFunction) (nullable): the functions,
 *   all with the same number of bins
 *
 * Writes several functions side by side as text, one column each, in the
 * one-dimensional format of kiv_function_print(), at the bin centres of the
 * first.  An unnamed function is titled "Function_j" after its place j in
 * the list.  Each function's binning and name are read under its lock, so a
 * producer may fill meanwhile; values may then move from one line to the
 * next.
 *
 * Returns: (transfer full) (nullable): the text, freed with
 *   g_string_free(); %NULL, without a message, for an empty list, an
 *   element that is not a #KivFunction, or unequal bin counts
 */
KIV_API GString *kiv_function_print_list(GList *list_of_functions);

/**
 * kiv_function_lock:
 * @f: a #KivFunction
 *
 * Takes the object's mutex, waiting for it.  The mutex is not recursive:
 * while it is held, the caller must not call the operations that take it
 * themselves (kiv_function_eval(), kiv_function_get_array(),
 * kiv_function_resize(), the property accessors, kiv_histogram_fill() and
 * the other locking calls of the subclasses).  Producers hold it around the
 * calls that do not lock (kiv_profile_fill(), two-dimensional histograms).
 * Something that is not a #KivFunction logs a critical.
 */
KIV_API void kiv_function_lock(KivFunction *f);

/**
 * kiv_function_unlock:
 * @f: a #KivFunction
 *
 * Releases the mutex taken with kiv_function_lock() or
 * kiv_function_trylock().  Something that is not a #KivFunction logs a
 * critical.
 */
KIV_API void kiv_function_unlock(KivFunction *f);

/**
 * kiv_function_trylock:
 * @f: a #KivFunction
 *
 * Takes the object's mutex if it is free, without waiting.  Something that
 * is not a #KivFunction logs a critical and gives %FALSE.
 *
 * Returns: %TRUE when the caller now holds the mutex (release it with
 *   kiv_function_unlock()), %FALSE when it is held elsewhere
 */
KIV_API gboolean kiv_function_trylock(KivFunction *f);

G_END_DECLS

#endif /* KIV_FUNCTION_H */
