/* kivchart2d.h: KivChart2D, the chart that shows a two-dimensional
 * histogram as a colour map beside a colour scale with its own value axis. */
#ifndef KIV_CHART2D_H
#define KIV_CHART2D_H

#include "kivchart1d.h"
#include "histogram2d.h"

G_BEGIN_DECLS

#define KIV_TYPE_CHART2D            (kiv_chart2d_get_type())
#define KIV_CHART2D(obj)            (G_TYPE_CHECK_INSTANCE_CAST((obj), KIV_TYPE_CHART2D, KivChart2D))
#define KIV_CHART2D_CLASS(klass)    (G_TYPE_CHECK_CLASS_CAST((klass), KIV_TYPE_CHART2D, KivChart2DClass))
#define KIV_IS_CHART2D(obj)         (G_TYPE_CHECK_INSTANCE_TYPE((obj), KIV_TYPE_CHART2D))
#define KIV_IS_CHART2D_CLASS(klass) (G_TYPE_CHECK_CLASS_TYPE((klass), KIV_TYPE_CHART2D))
#define KIV_CHART2D_GET_CLASS(obj)  (G_TYPE_INSTANCE_GET_CLASS((obj), KIV_TYPE_CHART2D, KivChart2DClass))

#define KIV_TYPE_CHART_COLOR_SCHEME (kiv_chart_color_scheme_get_type())

/* The colour ramps of the map.  KIV_COLOR_2D_LAST only ends the list. */
typedef enum {
  KIV_COLOR_2D_BW = 0,
  KIV_COLOR_2D_WB = 1,
  KIV_COLOR_2D_RED = 2,
  KIV_COLOR_2D_GREEN = 3,
  KIV_COLOR_2D_BLUE = 4,
  KIV_COLOR_2D_THERMAL = 5,
  KIV_COLOR_2D_LAST = 6
} KivChartColorScheme;

/* A part of the colour scale as two fractions of its height, 0 at the
 * bottom and 1 at the top.  A chart keeps the range in force as its object
 * data "zrange" (fmin <= fmax, both in [0, 1]) and a selection being
 * dragged as "__zrange"; both are allocated with g_malloc and set with
 * g_object_set_data. */
typedef struct _Zrange {
  double fmin;
  double fmax;
} Zrange;

typedef struct _KivChart2D KivChart2D;
typedef struct _KivChart2DClass KivChart2DClass;

/* colorlst holds ncol colours, index 0 for the lowest value.  After a
 * redraw, dindex[0 .. nindx-1] are the nonzero cells in cell order and
 * dkey (inside the same buffer of bsiz ints) orders them by content. */
struct _KivChart2D {
  KivChart1D parent;
  KivChartColorScheme ctype;
  int ncol;
  GdkColor *colorlst;
  gboolean squared;
  int ntot;
  int nindx;
  int bsiz;
  gint *dindex;
  gint *dkey;
};

struct _KivChart2DClass {
  KivChart1DClass parent_class;
};

KIV_API GType kiv_chart_color_scheme_get_type(void) G_GNUC_CONST;
KIV_API GType kiv_chart2d_get_type(void) G_GNUC_CONST;

KIV_API GtkWidget *kiv_chart2d_new(KivHistogram2D *ff);
KIV_API void kiv_chart2d_set_squared(KivChart2D *h2d, gboolean squared);

G_END_DECLS

#endif /* KIV_CHART2D_H */
