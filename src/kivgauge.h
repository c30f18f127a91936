/* kivgauge.h: KivGauge, a dial that shows one value as a needle over a
 * coloured 270-degree band and keeps the history of its values in a tracer. */
#ifndef KIV_GAUGE_H
#define KIV_GAUGE_H

#include "kivgtk.h"
#include <cairo.h>
#include "kivdefs.h"
#include "tracer.h"

G_BEGIN_DECLS

#define KIV_TYPE_GAUGE            (kiv_gauge_get_type())
#define KIV_GAUGE(obj)            (G_TYPE_CHECK_INSTANCE_CAST((obj), KIV_TYPE_GAUGE, KivGauge))
#define KIV_GAUGE_CLASS(klass)    (G_TYPE_CHECK_CLASS_CAST((klass), KIV_TYPE_GAUGE, KivGaugeClass))
#define KIV_IS_GAUGE(obj)         (G_TYPE_CHECK_INSTANCE_TYPE((obj), KIV_TYPE_GAUGE))
#define KIV_IS_GAUGE_CLASS(klass) (G_TYPE_CHECK_CLASS_TYPE((klass), KIV_TYPE_GAUGE))
#define KIV_GAUGE_GET_CLASS(obj)  (G_TYPE_INSTANCE_GET_CLASS((obj), KIV_TYPE_GAUGE, KivGaugeClass))

typedef struct _KivGauge KivGauge;
typedef struct _KivGaugeClass KivGaugeClass;
typedef struct _KivGaugePrivate KivGaugePrivate;

struct _KivGauge {
  GtkDrawingArea widget;
  KivGaugePrivate *priv;
  float val;           /* current value */
  float xmin;          /* value at the start of the scale */
  float xmax;          /* value at the end of the scale */
  gchar *title;        /* shown under the dial; may be NULL */
  gchar *color;        /* name of the band colour last set successfully */
  gboolean squared;    /* keep the dial's drawing area square */
  KivTracer *tracer;   /* every value set, owned */
};

struct _KivGaugeClass {
  GtkDrawingAreaClass parent_class;
};

KIV_API GType kiv_gauge_get_type(void) G_GNUC_CONST;

KIV_API GtkWidget *kiv_gauge_new(float xmin, float xmax);

KIV_API void kiv_gauge_set_value(KivGauge *gg, float v);
KIV_API float kiv_gauge_get_value(KivGauge *gg);
KIV_API void kiv_gauge_set_title(KivGauge *gg, const char *tit);
/* The title itself, not a copy. */
KIV_API char *kiv_gauge_get_title(KivGauge *gg);
KIV_API void kiv_gauge_set_range(KivGauge *gg, float xmin, float xmax);
/* A colour name ("red") or a hexadecimal form ("#rrggbb"). */
KIV_API void kiv_gauge_set_color(KivGauge *gg, const char *color_name);
KIV_API void kiv_gauge_set_squared(KivGauge *gg, gboolean squared);
/* The gauge's own tracer; no new reference. */
KIV_API KivTracer *kiv_gauge_get_tracer(KivGauge *gg);

/* The needle angle of the value x in radians (counter-clockwise, y up),
 * with the scale of the last paint. */
KIV_API double gauge_get_phi(KivGauge *gg, double x);
/* Paints the whole gauge with the given context, or into the gauge's own
 * off-screen image when it is NULL.  The context is destroyed. */
KIV_API void gauge_paint(KivGauge *gg, cairo_t *cairo);

G_END_DECLS

#endif /* KIV_GAUGE_H */
