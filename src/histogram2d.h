/* histogram2d.h: KivHistogram2D, weighted entries on a grid of nx x ny
 * cells, with the statistics of what was filled. */
#ifndef KIV_HISTOGRAM2D_H
#define KIV_HISTOGRAM2D_H

#include "function2d.h"
#include "stats.h"

G_BEGIN_DECLS

/**
 * KIV_TYPE_HISTOGRAM2D:
 *
 * The #GType of #KivHistogram2D.
 */
#define KIV_TYPE_HISTOGRAM2D            (kiv_histogram2d_get_type())
/**
 * KIV_HISTOGRAM2D:
 * @obj: an instance of #KivHistogram2D or of a class derived from it
 *
 * Casts @obj to a #KivHistogram2D pointer.  GLib logs a warning about an
 * invalid cast when @obj is something else (unless cast checks are
 * disabled).
 */
#define KIV_HISTOGRAM2D(obj)            (G_TYPE_CHECK_INSTANCE_CAST((obj), KIV_TYPE_HISTOGRAM2D, KivHistogram2D))
/**
 * KIV_HISTOGRAM2D_CLASS:
 * @klass: the class of #KivHistogram2D or of a class derived from it
 *
 * Casts @klass to a #KivHistogram2DClass pointer, with GLib's check.
 */
#define KIV_HISTOGRAM2D_CLASS(klass)    (G_TYPE_CHECK_CLASS_CAST((klass), KIV_TYPE_HISTOGRAM2D, KivHistogram2DClass))
/**
 * KIV_IS_HISTOGRAM2D:
 * @obj: any pointer to an instance, or %NULL
 *
 * Whether @obj is a #KivHistogram2D, or an instance of a class derived from it.
 * %NULL gives %FALSE.
 */
#define KIV_IS_HISTOGRAM2D(obj)         (G_TYPE_CHECK_INSTANCE_TYPE((obj), KIV_TYPE_HISTOGRAM2D))
/**
 * KIV_IS_HISTOGRAM2D_CLASS:
 * @klass: a class
 *
 * Whether @klass is #KivHistogram2DClass or a class derived from it.
 */
#define KIV_IS_HISTOGRAM2D_CLASS(klass) (G_TYPE_CHECK_CLASS_TYPE((klass), KIV_TYPE_HISTOGRAM2D))
/**
 * KIV_HISTOGRAM2D_GET_CLASS:
 * @obj: a #KivHistogram2D
 *
 * The class structure of @obj, as a #KivHistogram2DClass pointer.
 */
#define KIV_HISTOGRAM2D_GET_CLASS(obj)  (G_TYPE_INSTANCE_GET_CLASS((obj), KIV_TYPE_HISTOGRAM2D, KivHistogram2DClass))

typedef struct _KivHistogram2D KivHistogram2D;
typedef struct _KivHistogram2DClass KivHistogram2DClass;

/**
 * KivHistogram2D:
 * @y: the nx x ny cell contents, x running fastest: cell (ix, iy) at
 *   ix + nx iy
 * @stat: the statistics of the entries inside the grid, in raw
 *   coordinates (owned)
 * @owner: 1 when the histogram allocated @y and frees it; 0 when @y is an
 *   array lent by the caller through #KivHistogram2D:ptr, never freed
 * @vmin: the lowest cell content seen; it starts at 0
 * @vmax: the highest cell content seen; it starts at 0
 *
 * Weighted entries on a grid of nx x ny cells over an x and a y range,
 * with the statistics of what was filled: what a #KivChart2D draws as a
 * colour map.  Entries outside the grid are dropped, from the cells and
 * the statistics alike.  A fill never puts NaN or an infinity into a
 * cell: an entry that would is dropped with a warning.
 *
 * No call of this class takes the lock.  A producer that fills from
 * another thread than the one that draws holds kiv_function_lock() around
 * its fills, and so does anything else that writes while a chart reads.
 */
struct _KivHistogram2D {
  KivFunction2D parent;
  double *y;
  KivStats *stat;
  int owner;
  double vmin;
  double vmax;
};

/**
 * KivHistogram2DClass:
 * @parent_class: the parent class
 * @fill: adds weight w to the cell of (x, y); does not emit
 *   #KivHistogram2D::changed
 * @reset: sets every cell to 0
 * @changed: class handler of #KivHistogram2D::changed
 *
 * The virtual operations of #KivHistogram2D.
 */
struct _KivHistogram2DClass {
  KivFunction2DClass parent_class;
  void (*fill)(KivHistogram2D *h2d, double x, double y, double w);
  void (*reset)(KivHistogram2D *h2d);
  void (*changed)(KivHistogram2D *h);
};

KIV_API GType kiv_histogram2d_get_type(void) G_GNUC_CONST;

/**
 * KivHistogram2D::changed:
 * @histogram: the histogram that was filled or reset
 *
 * Emitted after every kiv_histogram2d_fill() that passes its checks,
 * inside the grid or not, after a non-empty kiv_histogram2d_fill_n() and
 * after kiv_histogram2d_reset().  Handlers run in the thread that filled.
 */

/**
 * KivHistogram2D:ptr:
 *
 * The cell contents.  Reading gives the live array.  Writing a caller's
 * array of nx x ny doubles makes the histogram use it in place (not
 * copied, never freed; it must outlive the histogram's use of it) and
 * rebuilds the statistics and extrema from its cells: each finite,
 * nonzero cell counts as one entry at the cell's centre with its content
 * as weight.  Writing %NULL gives the histogram zeroed cells of its own.  A
 * later change of nx or ny leaves a lent array to its owner and goes back
 * to zeroed cells of the histogram's own.
 */

/**
 * KivHistogram2D:vmin:
 *
 * The lowest cell content seen, at most 0.  Read only.
 */

/**
 * KivHistogram2D:vmax:
 *
 * The highest cell content seen, at least 0.  Read only.
 */

/**
 * kiv_histogram2d_new:
 * @nx: the number of x bins, at least 1
 * @xmin: the lower edge of the x range
 * @xmax: the upper edge of the x range
 * @ny: the number of y bins, at least 1
 * @ymin: the lower edge of the y range
 * @ymax: the upper edge of the y range
 * @ptr: (nullable) (type gpointer): %NULL for a histogram that keeps its
 *   own cells, or a caller's array of @nx x @ny doubles that it uses in
 *   place (see #KivHistogram2D:ptr); bindings pass %NULL
 *
 * Creates a two-dimensional histogram of @nx x @ny cells over [@xmin,
 * @xmax) x [@ymin, @ymax), all cells 0 unless a caller's array is given.
 * A count below 1 logs a critical ("nx>0", "ny>0") and gives %NULL, and so
 * does a grid of more than 2^31 - 1 cells.
 *
 * Returns: (transfer full) (nullable): the new histogram, or %NULL
 */
KIV_API KivHistogram2D *kiv_histogram2d_new(int nx, double xmin, double xmax, int ny,
                                            double ymin, double ymax, gdouble *ptr);

/**
 * kiv_histogram2d_fill:
 * @h2d: a #KivHistogram2D
 * @x: the first variable
 * @y: the second variable
 * @w: the weight
 *
 * Adds @w to the cell that holds (@x, @y) and the entry to the statistics,
 * then emits #KivHistogram2D::changed.  A point outside the grid changes
 * nothing; an entry that would leave NaN or an infinity in the cell is
 * dropped with a warning.  Takes no lock: see #KivHistogram2D.  Something
 * that is not a #KivHistogram2D logs a critical.
 */
KIV_API void kiv_histogram2d_fill(KivHistogram2D *h2d, double x, double y, double w);

/**
 * kiv_histogram2d_fill_n:
 * @h2d: a #KivHistogram2D
 * @x: (array length=n): the first variables
 * @y: (array length=n): the second variables
 * @w: (array length=n) (nullable): the weights, or %NULL for weight 1 each
 * @n: the number of entries
 *
 * Fills the @n entries (@x[i], @y[i]) with weights @w[i], then emits
 * #KivHistogram2D::changed once: cells, statistics and extrema end up as
 * after @n calls of kiv_histogram2d_fill().  An empty batch changes and
 * emits nothing.  Takes no lock.  Something that is not a
 * #KivHistogram2D, or %NULL arrays with a count, log a critical.
 */
KIV_API void kiv_histogram2d_fill_n(KivHistogram2D *h2d, const double *x, const double *y,
                                    const double *w, gsize n);

/**
 * kiv_histogram2d_reset:
 * @h2d: a #KivHistogram2D
 *
 * Sets every cell to 0, a lent array's too, then emits
 * #KivHistogram2D::changed.  The statistics and the extrema stay as they
 * were.  Takes no lock.  Something that is not a #KivHistogram2D logs a
 * critical.
 */
KIV_API void kiv_histogram2d_reset(KivHistogram2D *h2d);

/**
 * kiv_histogram2d_get_stats:
 * @h2d: a #KivHistogram2D
 * @s: the #KivStats to copy into
 *
 * Copies the histogram's statistics into @s, as kiv_stats_copy().
 * Something that is not a #KivHistogram2D, or an @s that is not a
 * #KivStats, logs a critical and gives -1.
 *
 * Returns: 0, or -1 on a failed check
 */
KIV_API int kiv_histogram2d_get_stats(KivHistogram2D *h2d, KivStats *s);

/**
 * kiv_histogram2d_get_cell_content:
 * @h2d: a #KivHistogram2D
 * @ix: the x bin, from 0 to nx - 1
 * @iy: the y bin, from 0 to ny - 1
 *
 * Reads one cell.  A cell outside the grid logs a critical and gives 0.
 * Takes no lock.
 *
 * Returns: the content of cell (@ix, @iy)
 */
KIV_API double kiv_histogram2d_get_cell_content(KivHistogram2D *h2d, int ix, int iy);

/**
 * kiv_histogram2d_clone:
 * @kiv: a #KivHistogram2D
 *
 * Makes an independent histogram with the same grid, cells, statistics and
 * extrema, keeping its own cells; the name is not copied.  Something that
 * is not a #KivHistogram2D logs a critical and gives %NULL.
 *
 * Returns: (transfer full) (nullable): the copy, or %NULL
 */
KIV_API KivHistogram2D *kiv_histogram2d_clone(KivHistogram2D *kiv);

G_END_DECLS

#endif /* KIV_HISTOGRAM2D_H */
