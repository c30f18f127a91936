/* kivgauge.h: KivGauge, a dial that shows one value as a needle over a
 * coloured 270-degree band and keeps the history of its values in a tracer. */
#ifndef KIV_GAUGE_H
#define KIV_GAUGE_H

#include "kivgtk.h"
#include <cairo.h>
#include "kivdefs.h"
#include "tracer.h"

G_BEGIN_DECLS

/**
 * KIV_TYPE_GAUGE:
 *
 * The #GType of #KivGauge.
 */
#define KIV_TYPE_GAUGE            (kiv_gauge_get_type())
/**
 * KIV_GAUGE:
 * @obj: an instance of #KivGauge
 *
 * Casts @obj to a #KivGauge pointer.  GLib logs a warning about an invalid
 * cast when @obj is something else (unless cast checks are disabled).
 */
#define KIV_GAUGE(obj)            (G_TYPE_CHECK_INSTANCE_CAST((obj), KIV_TYPE_GAUGE, KivGauge))
/**
 * KIV_GAUGE_CLASS:
 * @klass: the class of #KivGauge
 *
 * Casts @klass to a #KivGaugeClass pointer, with GLib's check.
 */
#define KIV_GAUGE_CLASS(klass)    (G_TYPE_CHECK_CLASS_CAST((klass), KIV_TYPE_GAUGE, KivGaugeClass))
/**
 * KIV_IS_GAUGE:
 * @obj: any pointer to an instance, or %NULL
 *
 * Whether @obj is a #KivGauge.  %NULL gives %FALSE.
 */
#define KIV_IS_GAUGE(obj)         (G_TYPE_CHECK_INSTANCE_TYPE((obj), KIV_TYPE_GAUGE))
/**
 * KIV_IS_GAUGE_CLASS:
 * @klass: a class
 *
 * Whether @klass is #KivGaugeClass.
 */
#define KIV_IS_GAUGE_CLASS(klass) (G_TYPE_CHECK_CLASS_TYPE((klass), KIV_TYPE_GAUGE))
/**
 * KIV_GAUGE_GET_CLASS:
 * @obj: a #KivGauge
 *
 * The class structure of @obj, as a #KivGaugeClass pointer.
 */
#define KIV_GAUGE_GET_CLASS(obj)  (G_TYPE_INSTANCE_GET_CLASS((obj), KIV_TYPE_GAUGE, KivGaugeClass))

typedef struct _KivGauge KivGauge;
typedef struct _KivGaugeClass KivGaugeClass;
/**
 * KivGaugePrivate:
 *
 * The private data of a gauge: the geometry of the dial, the scale of the
 * last paint, the off-screen image, the font family, the band colour and
 * the gauge's mutex.  Its layout is not part of the interface.
 */
typedef struct _KivGaugePrivate KivGaugePrivate;

/**
 * KivGauge:
 * @widget: the parent instance
 * @priv: the private data
 * @val: the current value
 * @xmin: the value at the start of the scale (lower left)
 * @xmax: the value at the end of the scale (lower right)
 * @title: (nullable): the title shown under the dial, Pango markup
 * @color: the name of the band colour last set successfully
 * @squared: whether the dial's drawing area is kept square
 * @tracer: the history of the values set; the gauge owns it
 *
 * A dial that shows one value as a needle over a coloured band of 270
 * degrees, open at the bottom, with a scale of round numbers, the value
 * written under the centre, an optional title and the common power of ten
 * of the scale (a multiple of 3) when there is one.  A value outside the
 * range puts the needle on the nearer end of the scale, while the text
 * still shows the value itself.
 *
 * Every value given to kiv_gauge_set_value() is also appended to a
 * #KivTracer that the gauge owns (kiv_gauge_get_tracer()), which keeps the
 * latest #KivGauge:depth values, so that an application can plot the
 * history elsewhere, in a #KivChart1D for example.
 *
 * The gauge is used from the thread that runs the GTK main loop: its
 * setters queue redraws.  Every expose paints the whole gauge afresh, in
 * the colours of the widget's style, with the band in the gauge's own
 * colour.  Change the fields only through the calls and properties of the
 * gauge.  The class defines no signals of its own.
 */
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

/**
 * KivGauge:xmin:
 *
 * The value at the start of the scale, stored in single precision; a
 * value beyond the range of a float is held at the largest float of its
 * sign.  A new gauge has the value given to kiv_gauge_new().  Setting it
 * queues no redraw.
 */
/**
 * KivGauge:xmax:
 *
 * The value at the end of the scale, stored in single precision; see
 * #KivGauge:xmin.  A range whose ends are equal is shown from #KivGauge:xmin
 * to one unit above it (more for very large values), and a range with an
 * end that is not finite as 0 to 1.
 */
/**
 * KivGauge:title:
 *
 * The title shown under the dial, in bold; setting it acts as
 * kiv_gauge_set_title(), and %NULL removes the title.  The registered
 * default "Title" is not applied: a new gauge has no title.
 */
/**
 * KivGauge:color:
 *
 * The name of the band colour; setting it acts as kiv_gauge_set_color(),
 * so a name that is not a colour changes nothing.  A new gauge's band is
 * "red"; the registered default "Color" is not applied.
 */
/**
 * KivGauge:font:
 *
 * The font family of the scale labels, the title and the multiplier; the
 * value under the centre is always written in "sans".  A new gauge uses
 * "sans"; the registered default "Font" is not applied.  Setting it queues
 * no redraw.
 */
/**
 * KivGauge:depth:
 *
 * The number of values the gauge's tracer keeps, 16 to 999999; 128 in a
 * new gauge.  It is the tracer's #KivFunction:nx.  A value outside the
 * range is refused by GLib with a warning.
 */

/**
 * KivGaugeClass:
 * @parent_class: the parent class
 *
 * The class of #KivGauge; it adds no slots.
 */
struct _KivGaugeClass {
  GtkDrawingAreaClass parent_class;
};

/**
 * kiv_gauge_get_type:
 *
 * Registers the class "KivGauge", derived from #GtkDrawingArea, on first
 * use.  Call it first from the main thread.
 *
 * Returns: the #GType of #KivGauge
 */
KIV_API GType kiv_gauge_get_type(void) G_GNUC_CONST;

/**
 * kiv_gauge_new:
 * @xmin: the value at the start of the scale
 * @xmax: the value at the end of the scale
 *
 * Makes a gauge over the range from @xmin to @xmax, showing the value 0,
 * with a red band, no title and a tracer of 128 values.  It asks for a
 * square of 17.5 times the width of the letter "X" in the widget's font.
 *
 * Returns: (transfer floating): the new gauge
 */
KIV_API GtkWidget *kiv_gauge_new(float xmin, float xmax);

/**
 * kiv_gauge_set_value:
 * @gg: a gauge; it is not checked
 * @v: the new value
 *
 * Shows @v: the needle points to it (to the nearer end of the scale when
 * it is outside the range) and the text under the centre gives it divided
 * by the multiplier of the scale, with one decimal.  @v is also appended
 * to the gauge's tracer, in range or not, under the tracer's lock.  Queues
 * a redraw; call it from the main thread.
 */
KIV_API void kiv_gauge_set_value(KivGauge *gg, float v);
/**
 * kiv_gauge_get_value:
 * @gg: a gauge; it is not checked
 *
 * The value shown.
 *
 * Returns: the value last set, 0 in a new gauge
 */
KIV_API float kiv_gauge_get_value(KivGauge *gg);
/**
 * kiv_gauge_set_title:
 * @gg: a gauge; it is not checked
 * @tit: (nullable): the title, Pango markup, or %NULL for none
 *
 * Replaces the title shown in bold under the dial by a copy of @tit (@tit
 * may be the gauge's own title).  Text that is not well-formed markup is
 * shown as typed.  On a realized gauge a resize is queued, which redraws
 * it.
 */
KIV_API void kiv_gauge_set_title(KivGauge *gg, const char *tit);
/**
 * kiv_gauge_get_title:
 * @gg: a gauge; it is not checked
 *
 * The title of the gauge.
 *
 * Returns: (transfer none) (nullable): the gauge's own string, valid until
 *   the title changes, or %NULL when there is no title
 */
KIV_API char *kiv_gauge_get_title(KivGauge *gg);
/**
 * kiv_gauge_set_range:
 * @gg: a gauge; it is not checked
 * @xmin: the value at the start of the scale
 * @xmax: the value at the end of the scale
 *
 * Sets the range of the scale and queues a redraw, which builds the new
 * scale.  A range whose ends are equal is shown from @xmin to one unit
 * above it (more for very large values), and a range with an end that is
 * NaN or infinite as 0 to 1; the value text still shows the value.
 */
KIV_API void kiv_gauge_set_range(KivGauge *gg, float xmin, float xmax);
/**
 * kiv_gauge_set_color:
 * @gg: a gauge
 * @color_name: a colour name that gdk_color_parse() reads: "red", or a
 *   hexadecimal form such as "#00ff00"
 *
 * Sets the colour of the band and remembers its name in #KivGauge.color.
 * A name that cannot be parsed prints "Cannot get color NAME" on standard
 * error and changes nothing.  A %NULL or non-gauge @gg or a %NULL
 * @color_name logs a critical ("kiv_gauge_set_color: assertion
 * 'KIV_IS_GAUGE(gg)' failed", "... assertion 'color_name != NULL'
 * failed").  Queues no redraw: the colour shows at the next one.
 */
KIV_API void kiv_gauge_set_color(KivGauge *gg, const char *color_name);
/**
 * kiv_gauge_set_squared:
 * @gg: a gauge
 * @squared: %TRUE to keep the dial's drawing area square
 *
 * Sets whether the dial's drawing area is a square centred in the widget
 * rather than the whole widget, with the title and multiplier stacked up
 * from the bottom of that square.  The dial is placed at size allocation,
 * so the change shows from the next one on (gtk_widget_queue_resize()
 * brings one about); a redraw is queued.  A %NULL or non-gauge @gg logs
 * the critical "kiv_gauge_set_squared: assertion 'KIV_IS_GAUGE(gg)'
 * failed".
 */
KIV_API void kiv_gauge_set_squared(KivGauge *gg, gboolean squared);
/**
 * kiv_gauge_get_tracer:
 * @gg: a gauge; it is not checked
 *
 * The tracer that records every value set on the gauge.  Take a reference
 * to keep it beyond the life of the gauge.
 *
 * Returns: (transfer none): the gauge's own tracer
 */
KIV_API KivTracer *kiv_gauge_get_tracer(KivGauge *gg);

/**
 * gauge_get_phi:
 * @gg: a gauge; it is not checked
 * @x: a value
 *
 * The angle of the needle for @x, with the scale of the last paint: in
 * radians, counter-clockwise from the right with y pointing up, from 5/4
 * pi at the start of the scale down to -1/4 pi at its end.  A value
 * outside the range gets the angle of the nearer end, NaN that of the end
 * of the scale.  Before the first paint the result is 0.
 *
 * Returns: the angle in radians
 */
KIV_API double gauge_get_phi(KivGauge *gg, double x);
/**
 * gauge_paint:
 * @gg: a gauge
 * @cairo: (nullable) (transfer full): the context to paint with, or
 *   %NULL to paint into the gauge's own off-screen image
 *
 * Paints the whole gauge: background, band, ticks, labels, title,
 * multiplier, needle and value, laid out for the gauge's last size
 * allocation, or, before the first one, for the size the gauge asks for.
 * The gauge's mutex is held during the paint.  The call
 * takes over @cairo and destroys it when done, also when @gg is not a
 * gauge: then the critical "gauge_paint: assertion 'KIV_IS_GAUGE(gg)'
 * failed" is logged.  Call it from the main thread.
 */
KIV_API void gauge_paint(KivGauge *gg, cairo_t *cairo);

G_END_DECLS

#endif /* KIV_GAUGE_H */
