/* stats.h: KivStats, weighted running statistics of one or two variables. */
#ifndef KIV_STATS_H
#define KIV_STATS_H

#include <glib-object.h>
#include "kivdefs.h"

G_BEGIN_DECLS

#define KIV_TYPE_STATS            (kiv_stats_get_type())
#define KIV_STATS(obj)            (G_TYPE_CHECK_INSTANCE_CAST((obj), KIV_TYPE_STATS, KivStats))
#define KIV_STATS_CLASS(klass)    (G_TYPE_CHECK_CLASS_CAST((klass), KIV_TYPE_STATS, KivStatsClass))
#define KIV_IS_STATS(obj)         (G_TYPE_CHECK_INSTANCE_TYPE((obj), KIV_TYPE_STATS))
#define KIV_IS_STATS_CLASS(klass) (G_TYPE_CHECK_CLASS_TYPE((klass), KIV_TYPE_STATS))
#define KIV_STATS_GET_CLASS(obj)  (G_TYPE_INSTANCE_GET_CLASS((obj), KIV_TYPE_STATS, KivStatsClass))

typedef struct _KivStats KivStats;
typedef struct _KivStatsClass KivStatsClass;

/* s[0] = sum w*x, s[1] = sum w*y, s[2] = sum w*x^2, s[3] = sum w*y^2,
 * s[4] = sum w*x*y; index 0 of xmin/xmax is x, index 1 is y. */
struct _KivStats {
  GObject __parent__;
  double nc;
  double s[5];
  double xmin[2];
  double xmax[2];
};

struct _KivStatsClass {
  GObjectClass parent_class;
};

KIV_API GType kiv_stats_get_type(void) G_GNUC_CONST;

KIV_API KivStats *kiv_stats_new(void);
KIV_API void kiv_stats_add(KivStats *self, double x, double y, double w);
KIV_API void kiv_stats_reset(KivStats *self);
KIV_API void kiv_stats_copy(KivStats *self, KivStats *cpy);
KIV_API gdouble kiv_stats_get_nc(KivStats *self);
KIV_API gdouble kiv_stats_get_mean(KivStats *self, int w);
KIV_API gdouble kiv_stats_get_rms(KivStats *self, int w);
KIV_API gdouble kiv_stats_get_stdev(KivStats *self, int w);
KIV_API gdouble kiv_stats_get_min(KivStats *self, int w);
KIV_API gdouble kiv_stats_get_max(KivStats *self, int w);
KIV_API gdouble kiv_stats_get_correlation(KivStats *self);

G_END_DECLS

#endif /* KIV_STATS_H */
