/* histogram.h: KivHistogram, a sampled function whose bins accumulate
 * weighted entries, with running statistics of what was filled. */
#ifndef KIV_HISTOGRAM_H
#define KIV_HISTOGRAM_H

#include "function.h"
#include "stats.h"

G_BEGIN_DECLS

#define KIV_TYPE_HISTOGRAM            (kiv_histogram_get_type())
#define KIV_HISTOGRAM(obj)            (G_TYPE_CHECK_INSTANCE_CAST((obj), KIV_TYPE_HISTOGRAM, KivHistogram))
#define KIV_HISTOGRAM_CLASS(klass)    (G_TYPE_CHECK_CLASS_CAST((klass), KIV_TYPE_HISTOGRAM, KivHistogramClass))
#define KIV_IS_HISTOGRAM(obj)         (G_TYPE_CHECK_INSTANCE_TYPE((obj), KIV_TYPE_HISTOGRAM))
#define KIV_IS_HISTOGRAM_CLASS(klass) (G_TYPE_CHECK_CLASS_TYPE((klass), KIV_TYPE_HISTOGRAM))
#define KIV_HISTOGRAM_GET_CLASS(obj)  (G_TYPE_INSTANCE_GET_CLASS((obj), KIV_TYPE_HISTOGRAM, KivHistogramClass))

typedef struct _KivHistogram KivHistogram;
typedef struct _KivHistogramClass KivHistogramClass;

/* y holds nbin contents; owner is 1 when the histogram allocated y and
 * frees it, 0 when y is an array lent by the caller through "ptr".
 * vmin and vmax are the lowest and highest bin content reached. */
struct _KivHistogram {
  KivFunction parent;
  double *y;
  int owner;
  KivStats *stat;
  double vmin;
  double vmax;
};

struct _KivHistogramClass {
  KivFunctionClass parent_class;
  void (*fill)(KivHistogram *h, double x, double w);
  void (*reset)(KivHistogram *h);
  void (*changed)(KivHistogram *h);
};

KIV_API GType kiv_histogram_get_type(void) G_GNUC_CONST;

KIV_API KivHistogram *kiv_histogram_new(gint n, gdouble xmin, gdouble xmax, gdouble *ptr);
KIV_API void kiv_histogram_fill(KivHistogram *h, double val, double weight);
/* Fills n values x[i] with weights w[i] (weight 1 for all when w is NULL)
 * under one hold of the lock, then emits "changed" once.  Contents,
 * statistics and extrema end up exactly as after n kiv_histogram_fill()
 * calls with the same values in the same order (so on a profile w[i] is
 * the value filled at x[i]).  An empty batch changes and emits nothing. */
KIV_API void kiv_histogram_fill_n(KivHistogram *h, const double *x, const double *w, gsize n);
KIV_API void kiv_histogram_reset(KivHistogram *h);
KIV_API void kiv_histogram_set_bin_content(KivHistogram *h, int ibin, double val);
KIV_API double kiv_histogram_get_bin_content(KivHistogram *h, int ibin);
KIV_API void kiv_histogram_resize(KivHistogram *h, int nbin, double xmin, double xmax);
KIV_API void kiv_histogram_rebin(KivHistogram *h, int nbin, gdouble xmin, gdouble xmax);
KIV_API void kiv_histogram_update_stats(KivHistogram *h);
KIV_API int kiv_histogram_get_stats(KivHistogram *h, KivStats *s);
KIV_API void kiv_histogram_get_values(KivHistogram *h, int *sz, double **buffer);
KIV_API gdouble *kiv_histogram_get_data(KivHistogram *h);
KIV_API KivHistogram *kiv_histogram_clone(KivHistogram *h);

KIV_API gdouble kiv_histogram_mean(KivHistogram *h);
KIV_API gdouble kiv_histogram_rms(KivHistogram *h);
KIV_API gdouble kiv_histogram_stdev(KivHistogram *h);
KIV_API gdouble kiv_histogram_entries(KivHistogram *h);
KIV_API gdouble kiv_histogram_min_value(KivHistogram *h);
KIV_API gdouble kiv_histogram_max_value(KivHistogram *h);
KIV_API gdouble kiv_histogram_vmin(KivHistogram *h);
KIV_API gdouble kiv_histogram_vmax(KivHistogram *h);

G_END_DECLS

#endif /* KIV_HISTOGRAM_H */
