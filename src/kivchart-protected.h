/* kivchart-protected.h: the drawing state that the chart widgets share
 * (KivCanvas), its coordinate mapping and the Pango text helpers.  Charts
 * derived from KivChart1D read and extend the layout through it. */
#ifndef KIV_CHART_PROTECTED_H
#define KIV_CHART_PROTECTED_H

#include "kivchart1d.h"
#include <pango/pango.h>
#include "kivdefs.h"
#include "gthread-compat.h"
#include "function.h"
#include "stats.h"

G_BEGIN_DECLS

/**
 * KivCanvas:
 * @character_height: the logical height of the text "X" in the text font
 * @character_width: the logical width of the text "X" in the text font
 * @small_character_height: the logical height of a smaller "X" (the size
 *   of the read-out and statistics texts)
 * @small_character_width: the logical width of that smaller "X"
 * @canvas_width: the width of the off-screen image
 * @canvas_height: the height of the off-screen image
 * @wx: the width of the plotting area used by the mapping (narrowed by
 *   the legend)
 * @wy: the height of the plotting area
 * @wz: the right-hand margin of a one-dimensional chart; the height of the
 *   colour scale of a #KivChart2D
 * @ox: the left margin: the x of the plotting area's left edge
 * @oy: the top margin: the y of the plotting area's top edge
 * @oz: the x of the value axis of a #KivChart2D, at the right edge of its
 *   colour scale
 * @px0: the x of the left edge of the plotting area, where the mapping
 *   starts
 * @px1: the x of the right edge of the plotting area as laid out before
 *   room is made for the legend
 * @py0: the y of the bottom edge of the plotting area, where the mapping
 *   starts
 * @py1: the y of the top edge of the plotting area
 * @pz0: the y of the bottom of the colour scale of a #KivChart2D
 * @pz1: the y of the top of the colour scale of a #KivChart2D
 * @surface: (nullable): the off-screen image, ARGB32, made at each size
 *   allocation in the allocation's size; %NULL before the first one
 * @cairo: (nullable): the drawing context of the redraw in progress,
 *   %NULL outside a redraw
 * @mutex: the canvas mutex, which serialises redraws, size allocations,
 *   the removal of the curves and property writes
 * @cscale: the rectangle of the colour scale of a #KivChart2D
 * @text_font: the font family of the chart's texts
 *   (#KivChart1D:text-font)
 * @axis_font: the font family of #KivChart1D:axis-font, which no text uses
 * @line_width: the width of the curves' lines (#KivChart1D:line-width)
 * @fixed: %TRUE while the y limits given by the caller differ, so that
 *   they fix the y range instead of the data
 * @xmin: the lower end of the x range shown
 * @xmax: the upper end of the x range shown
 * @ymin: the lower end of the y range shown (a data value even on a
 *   logarithmic axis)
 * @ymax: the upper end of the y range shown
 * @zmin: the lowest value of the colour range of a #KivChart2D
 * @zmax: the highest value of the colour range of a #KivChart2D
 * @xstp: pixels per unit of x, or per decade on a logarithmic axis
 * @ystp: pixels per unit of y, or per decade on a logarithmic axis
 * @zstp: pixels per unit of value on the colour scale of a #KivChart2D
 * @mantisa_x: the multiplier of the x labels: 10 to @exponent_x, or 1
 * @mantisa_y: the multiplier of the y labels: 10 to @exponent_y, or 1
 * @mantisa_z: the multiplier of the value labels of a #KivChart2D
 * @exponent_x: the power of ten of the x labels, a multiple of 3
 * @exponent_y: the power of ten of the y labels, a multiple of 3
 * @exponent_z: the power of ten of the value labels, a multiple of 3
 * @logx: whether the layout maps x logarithmically
 * @logy: whether the layout maps y logarithmically
 * @lxmin: the decimal logarithm of the lower end of a logarithmic x axis,
 *   where the mapping starts
 * @lymin: the decimal logarithm of the lower end of a logarithmic y axis
 * @curve_colors: (element-type GdkColor): the per-curve colours, owned,
 *   used in turn by the curves and the legend
 * @legend: (nullable): the legend of the redraw in progress, from the
 *   layout until the redraw has shown it
 * @leg_x: the x of the legend's top-left corner
 * @leg_y: the y of the legend's top-left corner
 * @color_names: the names last given for the four chart colours, indexed
 *   by #KivChartColors, each %NULL until given
 * @stats: the statistics of the bins in view, for the statistics box of a
 *   zoomed histogram
 *
 * The drawing state of a chart: one per #KivChart1D (and so per
 * #KivChart2D), in #KivChart1D.cnvs, made with the chart and released
 * with it.  It holds the off-screen image that every redraw paints, the
 * context of the redraw in progress, the canvas mutex, the fonts and the
 * layout of the plotting area.
 *
 * Pixel values are device pixels of the off-screen image, with y growing
 * downwards.  The layout fields are those that canvas_set() computed for
 * the last redraw; they keep their values between redraws, which is what
 * the mouse handlers and canvas_transform_inv() map against.  Read the
 * canvas in the main thread; a derived chart's drawing steps read and
 * extend it during the redraw, with the mutex held.
 */
struct _KivCanvas {
  int character_height;
  int character_width;
  int small_character_height;
  int small_character_width;
  int canvas_width;
  int canvas_height;
  int wx;  /* width of the plotting area used by the mapping */
  int wy;  /* height of the plotting area */
  int wz;  /* right-hand reserve; colour-scale height of a 2D chart */
  int ox;  /* left margin */
  int oy;  /* top margin */
  int oz;  /* x of the z axis of a 2D chart */
  int px0;
  int px1;
  int py0;
  int py1;
  int pz0;
  int pz1;
  cairo_surface_t *surface; /* off-screen image, ARGB32 */
  cairo_t *cairo;           /* context of the redraw in progress, or NULL */
  /* The canvas mutex.  The redraw, the pictures, size allocation, the
   * curve list's changes (kiv_chart1d_add_curve(), kiv_chart1d_remove_curves())
   * and property writes contend for it; it protects the canvas, the curve
   * list and the chart's settings.  Lock order: the canvas mutex first,
   * then the mutex of a curve being read.  Property writes take it with a
   * bounded try-lock (10 attempts, 10 ms apart) and drop the write when it
   * stays taken: a redraw may hold it for long, and the draw hooks run with
   * it held, so a property written from a hook, or from the main loop
   * during a long picture, gives up instead of deadlocking or freezing. */
  KivMutex mutex;
  GdkRectangle cscale;      /* colour scale of a 2D chart */
  gchar *text_font;
  gchar *axis_font;
  double line_width;
  gboolean fixed;           /* the caller fixed the y range */
  double xmin;
  double xmax;
  double ymin;
  double ymax;
  double zmin;
  double zmax;
  double xstp;              /* pixels per data unit (per decade when log) */
  double ystp;
  double zstp;
  double mantisa_x;         /* axis multiplier: 10^exponent or 1 */
  double mantisa_y;
  double mantisa_z;
  double exponent_x;
  double exponent_y;
  double exponent_z;
  gboolean logx;
  gboolean logy;
  double lxmin;             /* log10 of the lower end of a log axis */
  double lymin;
  GList *curve_colors;      /* owned GdkColor, used in turn by the curves */
  PangoLayout *legend;
  int leg_x;
  int leg_y;
  gchar *color_names[KIV_NCOLORS];
  KivStats *stats;          /* statistics of the visible bins when zoomed */
};

/**
 * canvas_set:
 * @h: a chart
 *
 * Lays out the canvas of @h for a redraw: the character metrics of the
 * text font, the margins (room for the labels of axes in the
 * @KIV_AXIS_LEFT position, and for the x title), the multipliers of the
 * axis labels, the plotting area, the legend when there is more than one
 * curve, the colour scale and square area of a #KivChart2D, and the pixel
 * steps of the linear or logarithmic mapping.  A range without width
 * (equal limits, or a limit that is not finite) is widened on the canvas
 * so that the mapping stays finite; the chart's own limits are left alone.
 *
 * The redraw calls it after #KivChart1DClass.draw_frame has set the
 * ranges and before #KivChart1DClass.draw_pixmap, with the canvas mutex
 * held and #KivCanvas.cairo set; that is the only place it belongs.  A @h
 * that is not a chart logs the critical "canvas_set: assertion
 * 'KIV_IS_CHART1D(h)' failed".
 */
KIV_API void canvas_set(KivChart1D *h);
/**
 * canvas_transform:
 * @cnvs: a laid-out canvas; it is not checked
 * @x: the x of a point, its decimal logarithm on a logarithmic axis
 * @y: the y of a point, its decimal logarithm on a logarithmic axis
 * @pt: (out caller-allocates): receives the pixel position
 *
 * Maps a point in data coordinates to pixels of the off-screen image with
 * the layout of the last canvas_set().  The y is held inside the plotting
 * area (above it at its top edge, below it at its bottom edge); the x is
 * not limited.
 */
KIV_API void canvas_transform(KivCanvas *cnvs, double x, double y, KivPoint *pt);
/**
 * canvas_transform_inv:
 * @cnvs: a laid-out canvas; it is not checked
 * @ix: the x of a pixel
 * @iy: the y of a pixel
 * @x: (out): receives the x in data coordinates
 * @y: (out): receives the y in data coordinates
 *
 * Maps a pixel back to data coordinates with the layout of the last
 * canvas_set(), the inverse of canvas_transform() without its limit on y.
 * On a logarithmic axis the result is the decimal logarithm of the value.
 * Before the first layout the steps are 0 and the results are not finite.
 */
KIV_API void canvas_transform_inv(KivCanvas *cnvs, int ix, int iy, double *x, double *y);
/**
 * canvas_transform_tuple: (skip)
 * @cnvs: a laid-out canvas; it is not checked
 * @t: the points to map, in data coordinates as canvas_transform() takes
 *   them
 *
 * Maps every point of @t to pixels with canvas_transform().  The result
 * is an array whose length is the point count of @t, which no annotation
 * can name: language bindings call canvas_transform() for each point
 * instead.
 *
 * Returns: (transfer full): a new array of @t->n pixel positions, which
 *   the caller frees with g_free(); %NULL when @t has no points
 */
KIV_API KivPoint *canvas_transform_tuple(KivCanvas *cnvs, KivTuple *t);

/**
 * _kiv_get_pango_layout:
 * @w: the widget that the text belongs to
 * @cr: (nullable): a drawing context; not used
 * @font_family: the font family, such as "sans"
 *
 * A new, empty layout on the widget's Pango context, in the font of the
 * widget's style with the family replaced by @font_family: the size
 * always comes from the style.  All texts of the charts and the gauge are
 * made this way, as Pango markup.
 *
 * Returns: (transfer full): the layout, which the caller releases with
 *   g_object_unref()
 */
KIV_API PangoLayout *_kiv_get_pango_layout(GtkWidget *w, cairo_t *cr, const char *font_family);
/**
 * _kiv_draw_string:
 * @w: the widget that the text belongs to
 * @cairo: the context to draw with
 * @x: the x of the text's top-left corner
 * @y: the y of the text's top-left corner
 * @s: the text, Pango markup
 * @font_family: the font family, as for _kiv_get_pango_layout()
 *
 * Draws the markup @s with its top-left corner at (@x, @y), in the
 * current source colour of @cairo, and moves the current point there.
 * Markup that does not parse draws nothing, and Pango logs a warning.
 */
KIV_API void _kiv_draw_string(GtkWidget *w, cairo_t *cairo, gint x, gint y, const char *s,
                              const char *font_family);
/**
 * _kiv_get_layout_extent:
 * @w: the widget that the text belongs to
 * @cairo: (nullable): a drawing context; not used
 * @text: the text, Pango markup
 * @fsize: (out caller-allocates): receives the logical extent of the text,
 *   in pixels
 * @font: the font family, as for _kiv_get_pango_layout()
 *
 * Measures the markup @text as _kiv_draw_string() would draw it.
 */
KIV_API void _kiv_get_layout_extent(GtkWidget *w, cairo_t *cairo, const char *text,
                                    PangoRectangle *fsize, const char *font);

G_END_DECLS

#endif /* KIV_CHART_PROTECTED_H */
