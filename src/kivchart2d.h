/* kivchart2d.h: KivChart2D, the chart that shows a two-dimensional
 * histogram as a colour map beside a colour scale with its own value axis. */
#ifndef KIV_CHART2D_H
#define KIV_CHART2D_H

#include "kivchart1d.h"
#include "histogram2d.h"

G_BEGIN_DECLS

/**
 * KIV_TYPE_CHART2D:
 *
 * The #GType of #KivChart2D.
 */
#define KIV_TYPE_CHART2D            (kiv_chart2d_get_type())
/**
 * KIV_CHART2D:
 * @obj: an instance of #KivChart2D
 *
 * Casts @obj to a #KivChart2D pointer.  GLib logs a warning about an
 * invalid cast when @obj is something else (unless cast checks are
 * disabled).
 */
#define KIV_CHART2D(obj)            (G_TYPE_CHECK_INSTANCE_CAST((obj), KIV_TYPE_CHART2D, KivChart2D))
/**
 * KIV_CHART2D_CLASS:
 * @klass: the class of #KivChart2D
 *
 * Casts @klass to a #KivChart2DClass pointer, with GLib's check.
 */
#define KIV_CHART2D_CLASS(klass)    (G_TYPE_CHECK_CLASS_CAST((klass), KIV_TYPE_CHART2D, KivChart2DClass))
/**
 * KIV_IS_CHART2D:
 * @obj: any pointer to an instance, or %NULL
 *
 * Whether @obj is a #KivChart2D.  %NULL gives %FALSE.
 */
#define KIV_IS_CHART2D(obj)         (G_TYPE_CHECK_INSTANCE_TYPE((obj), KIV_TYPE_CHART2D))
/**
 * KIV_IS_CHART2D_CLASS:
 * @klass: a class
 *
 * Whether @klass is #KivChart2DClass.
 */
#define KIV_IS_CHART2D_CLASS(klass) (G_TYPE_CHECK_CLASS_TYPE((klass), KIV_TYPE_CHART2D))
/**
 * KIV_CHART2D_GET_CLASS:
 * @obj: a #KivChart2D
 *
 * The class structure of @obj, as a #KivChart2DClass pointer.
 */
#define KIV_CHART2D_GET_CLASS(obj)  (G_TYPE_INSTANCE_GET_CLASS((obj), KIV_TYPE_CHART2D, KivChart2DClass))

/**
 * KIV_TYPE_CHART_COLOR_SCHEME:
 *
 * The #GType of the enumeration #KivChartColorScheme, registered under the
 * name "KivChart2DColorScheme".
 */
#define KIV_TYPE_CHART_COLOR_SCHEME (kiv_chart_color_scheme_get_type())

/**
 * KivChartColorScheme:
 * @KIV_COLOR_2D_BW: 25 grey levels from white (lowest) to near black
 * @KIV_COLOR_2D_WB: 25 grey levels from black (lowest) to near white
 * @KIV_COLOR_2D_RED: 25 reds from full red (lowest) to dark red
 * @KIV_COLOR_2D_GREEN: 25 greens from full green (lowest) to dark green
 * @KIV_COLOR_2D_BLUE: 25 blues from full blue (lowest) to dark blue
 * @KIV_COLOR_2D_THERMAL: 100 colours from blue through cyan, green and
 *   yellow to red (highest)
 * @KIV_COLOR_2D_LAST: ends the list; not a scheme, and refused by
 *   #KivChart2D:ctype
 *
 * The colour ramps with which a #KivChart2D paints its cells, set through
 * #KivChart2D:ctype or the popup menu.  The type system knows this
 * enumeration under the name "KivChart2DColorScheme", which is also the
 * type of #KivChart2D:ctype; introspection therefore lists it twice, as
 * #KivChartColorScheme and as #KivChart2DColorScheme, with the same
 * values.
 */
typedef enum {
  KIV_COLOR_2D_BW = 0,
  KIV_COLOR_2D_WB = 1,
  KIV_COLOR_2D_RED = 2,
  KIV_COLOR_2D_GREEN = 3,
  KIV_COLOR_2D_BLUE = 4,
  KIV_COLOR_2D_THERMAL = 5,
  KIV_COLOR_2D_LAST = 6
} KivChartColorScheme;

/**
 * KivChart2DColorScheme:
 * @KIV_COLOR_2D_BW: as in #KivChartColorScheme
 * @KIV_COLOR_2D_WB: as in #KivChartColorScheme
 * @KIV_COLOR_2D_RED: as in #KivChartColorScheme
 * @KIV_COLOR_2D_GREEN: as in #KivChartColorScheme
 * @KIV_COLOR_2D_BLUE: as in #KivChartColorScheme
 * @KIV_COLOR_2D_THERMAL: as in #KivChartColorScheme
 * @KIV_COLOR_2D_LAST: as in #KivChartColorScheme
 *
 * The name under which the type system knows #KivChartColorScheme, and so
 * the type of #KivChart2D:ctype.  There is no C type of this name: C code
 * uses #KivChartColorScheme, whose values these are.
 */

/**
 * Zrange:
 * @fmin: the lower end, as a fraction of the colour scale's height
 * @fmax: the upper end, as a fraction of the colour scale's height
 *
 * A part of the colour scale of a #KivChart2D, as two fractions of its
 * height: 0 at the bottom (the smallest nonzero content of the histogram)
 * and 1 at the top (the largest).  A chart keeps the range its colours
 * span as its object data "zrange" (@fmin <= @fmax, both in [0, 1]), and
 * a selection being dragged on the scale as "__zrange" (@fmin where the
 * drag began, @fmax where the pointer is).  A left-button drag on the
 * scale sets "zrange" and a middle click removes it, so that the colours
 * span all contents again.
 *
 * An application may impose a range in the same way: allocate the record
 * with g_malloc() (or g_new()) and set it with g_object_set_data() under
 * "zrange", after taking any record already there with
 * g_object_steal_data() and freeing it; the chart frees the record it
 * holds when it is finalised.  The fractions always refer to the full
 * range of the contents, whatever range is shown.
 */
typedef struct _Zrange {
  double fmin;
  double fmax;
} Zrange;

typedef struct _KivChart2D KivChart2D;
typedef struct _KivChart2DClass KivChart2DClass;

/**
 * KivChart2D:
 * @parent: the parent instance
 * @ctype: the colour scheme of @colorlst
 * @ncol: the number of colours in @colorlst (25 or 100), 0 when there is
 *   no list
 * @colorlst: (nullable): the @ncol colours of the map, index 0 for the
 *   lowest content, allocated in the widget's colormap; %NULL while the
 *   chart is unrealized after having been realized
 * @squared: whether the plotting area is kept square
 * @ntot: the number of cells of the histogram at the last redraw
 * @nindx: the number of nonzero cells at the last redraw
 * @bsiz: the number of ints that the buffer of @dindex holds, -1 when
 *   there is none; it grows as needed and never shrinks
 * @dindex: (nullable): after a redraw, @dindex[0 .. @nindx - 1] are the
 *   numbers of the nonzero cells (ix + nx * iy) in increasing order
 * @dkey: (nullable): points into the buffer of @dindex, @nindx entries on:
 *   @dkey[0 .. @nindx - 1] orders the entries of @dindex by content, the
 *   smallest first
 *
 * A chart that shows a #KivHistogram2D as a colour map: every nonzero cell
 * is painted as a rectangle whose colour encodes its content, beside a
 * colour scale with its own value axis at the right of the plotting area.
 * The colours span the range from the smallest to the largest nonzero
 * content, or the part of it selected on the colour scale (see #Zrange);
 * cells outside that part, and cells holding NaN, are not painted.
 *
 * It derives from #KivChart1D and keeps everything of it that is not
 * specific to one dimension: the redraw, the axes and titles, fonts and
 * colours, the monitoring timer, the picture properties and
 * kiv_chart1d_print(), the popup menu and the pointer read-out.  The whole
 * histogram is always shown: each redraw takes its x and y ranges, so the
 * x and y zooms of the mouse have no lasting effect.  A left-button drag
 * on the colour scale selects the part of the values that the colours
 * span, and a middle click spans all values again.  The popup menu gets a
 * "Squared" switch and the six colour schemes.
 *
 * A chart whose main function is a #KivFunction but not a
 * #KivHistogram2D draws its curves as a one-dimensional chart would, in
 * the plotting area of a two-dimensional one.  Use the chart from the
 * main thread, as #KivChart1D.
 */
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

/**
 * KivChart2D:ctype:
 *
 * The colour scheme of the map, a #KivChartColorScheme.  Setting it builds
 * the list of colours of that scheme and queues a redraw; the value
 * @KIV_COLOR_2D_LAST is refused with the critical "chart2d_build_colors:
 * assertion 't < KIV_COLOR_2D_LAST' failed" and the scheme stays as it
 * was.  A chart made by kiv_chart2d_new() starts with
 * @KIV_COLOR_2D_THERMAL, the registered default.  As every property write,
 * the change is dropped silently when a redraw holds the canvas for more
 * than about 100 ms.
 */
/**
 * KivChart2D:squared:
 *
 * Whether the plotting area is kept square: the longer side is cut to the
 * length of the shorter, keeping the left and top edges.  Setting it acts
 * as kiv_chart2d_set_squared().
 */
/**
 * KivChart2D:vmin:
 *
 * The lower end of the histogram's y range.  The chart overrides the
 * property of #KivChart1D: each redraw writes the y range of the histogram
 * into it, so setting it only stores the value until then and fixes
 * nothing; reading it gives the lower y limit of the histogram drawn last.
 */
/**
 * KivChart2D:vmax:
 *
 * The upper end of the histogram's y range; see #KivChart2D:vmin.
 */

/**
 * KivChart2DClass:
 * @parent_class: the parent class
 *
 * The class of #KivChart2D.  It replaces the drawing steps
 * #KivChart1DClass.draw_frame (index the nonzero cells and find the range
 * of the colours) and #KivChart1DClass.draw_pixmap (the colour scale, the
 * mark of a selected range and the cells), and fills
 * #KivChart1DClass.xtra_menu; it adds no slots of its own.
 */
struct _KivChart2DClass {
  KivChart1DClass parent_class;
};

/**
 * kiv_chart_color_scheme_get_type:
 *
 * Registers the enumeration #KivChartColorScheme, under the name
 * "KivChart2DColorScheme", on first use.
 *
 * Returns: the #GType of #KivChartColorScheme
 */
KIV_API GType kiv_chart_color_scheme_get_type(void) G_GNUC_CONST;
/**
 * kiv_chart2d_get_type:
 *
 * Registers the class "KivChart2D", derived from #KivChart1D, on first
 * use.  Call it first from the main thread.
 *
 * Returns: the #GType of #KivChart2D
 */
KIV_API GType kiv_chart2d_get_type(void) G_GNUC_CONST;

/**
 * kiv_chart2d_new:
 * @ff: the histogram to show
 *
 * Makes a chart that shows @ff as a colour map in the
 * @KIV_COLOR_2D_THERMAL scheme.  The chart takes a reference on @ff and
 * draws its contents afresh at every redraw, under the histogram's lock,
 * so producers may keep filling it from other threads (see
 * kiv_chart1d_monitor_start()).
 *
 * A %NULL @ff logs the critical "kiv_chart2d_new: assertion 'ff!=0'
 * failed" and returns %NULL.
 *
 * Returns: (transfer floating) (nullable): the new chart, or %NULL when
 *   @ff is %NULL
 */
KIV_API GtkWidget *kiv_chart2d_new(KivHistogram2D *ff);
/**
 * kiv_chart2d_set_squared:
 * @h2d: a two-dimensional chart
 * @squared: %TRUE to keep the plotting area square
 *
 * Sets whether the plotting area is kept square (see
 * #KivChart2D:squared) and queues a redraw.  A %NULL or non-chart @h2d
 * logs a critical ("kiv_chart2d_set_squared: assertion 'h2d != NULL'
 * failed", "... assertion 'KIV_IS_CHART2D(h2d)' failed") and changes
 * nothing.
 */
KIV_API void kiv_chart2d_set_squared(KivChart2D *h2d, gboolean squared);

G_END_DECLS

#endif /* KIV_CHART2D_H */
