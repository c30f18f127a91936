/* histogram2d.h: KivHistogram2D, weighted entries on a grid of nx x ny
 * cells, with the statistics of what was filled. */
#ifndef KIV_HISTOGRAM2D_H
#define KIV_HISTOGRAM2D_H

#include "function2d.h"
#include "stats.h"

G_BEGIN_DECLS

#define KIV_TYPE_HISTOGRAM2D            (kiv_histogram2d_get_type())
#define KIV_HISTOGRAM2D(obj)            (G_TYPE_CHECK_INSTANCE_CAST((obj), KIV_TYPE_HISTOGRAM2D, KivHistogram2D))
#define KIV_HISTOGRAM2D_CLASS(klass)    (G_TYPE_CHECK_CLASS_CAST((klass), KIV_TYPE_HISTOGRAM2D, KivHistogram2DClass))
#define KIV_IS_HISTOGRAM2D(obj)         (G_TYPE_CHECK_INSTANCE_TYPE((obj), KIV_TYPE_HISTOGRAM2D))
#define KIV_IS_HISTOGRAM2D_CLASS(klass) (G_TYPE_CHECK_CLASS_TYPE((klass), KIV_TYPE_HISTOGRAM2D))
#define KIV_HISTOGRAM2D_GET_CLASS(obj)  (G_TYPE_INSTANCE_GET_CLASS((obj), KIV_TYPE_HISTOGRAM2D, KivHistogram2DClass))

typedef struct _KivHistogram2D KivHistogram2D;
typedef struct _KivHistogram2DClass KivHistogram2DClass;

/* y holds the nx * ny cell contents, x fastest (cell (ix, iy) at
 * ix + nx * iy); owner is 1 when the histogram allocated y and frees it, 0
 * when y is an array lent by the caller through "ptr".  vmin and vmax are
 * the lowest and highest cell content seen; they start at 0. */
struct _KivHistogram2D {
  KivFunction2D parent;
  double *y;
  KivStats *stat;
  int owner;
  double vmin;
  double vmax;
};

struct _KivHistogram2DClass {
  KivFunction2DClass parent_class;
  void (*fill)(KivHistogram2D *h, double x, double y, double w);
  void (*reset)(KivHistogram2D *h);
  void (*changed)(KivHistogram2D *h);
};

KIV_API GType kiv_histogram2d_get_type(void) G_GNUC_CONST;

KIV_API KivHistogram2D *kiv_histogram2d_new(int nx, double xmin, double xmax, int ny,
                                            double ymin, double ymax, gdouble *ptr);
KIV_API void kiv_histogram2d_fill(KivHistogram2D *h2d, double x, double y, double w);
/* Fills the n entries (x[i], y[i]) with weights w[i] (weight 1 for all when
 * w is NULL) through the fill slot, then emits "changed" once: the cells,
 * statistics and extrema end up as after n kiv_histogram2d_fill() calls. */
KIV_API void kiv_histogram2d_fill_n(KivHistogram2D *h2d, const double *x, const double *y,
                                    const double *w, gsize n);
KIV_API void kiv_histogram2d_reset(KivHistogram2D *h2d);
KIV_API int kiv_histogram2d_get_stats(KivHistogram2D *h2d, KivStats *s);
KIV_API double kiv_histogram2d_get_cell_content(KivHistogram2D *h2d, int ix, int iy);
KIV_API KivHistogram2D *kiv_histogram2d_clone(KivHistogram2D *kiv);

G_END_DECLS

#endif /* KIV_HISTOGRAM2D_H */
