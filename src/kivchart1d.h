/* kivchart1d.h: KivChart1D, the drawing area that plots one or more
 * sampled functions and histograms against a common x range. */
#ifndef KIV_CHART1D_H
#define KIV_CHART1D_H

#include "kivgtk.h"
#include <cairo.h>
#include "kivdefs.h"
#include "function.h"

G_BEGIN_DECLS

/**
 * KIV_TYPE_CHART1D:
 *
 * The #GType of #KivChart1D.
 */
#define KIV_TYPE_CHART1D            (kiv_chart1d_get_type())
/**
 * KIV_CHART1D:
 * @obj: an instance of #KivChart1D or of a class derived from it
 *
 * Casts @obj to a #KivChart1D pointer.  GLib logs a warning about an
 * invalid cast when @obj is something else (unless cast checks are
 * disabled).
 */
#define KIV_CHART1D(obj)            (G_TYPE_CHECK_INSTANCE_CAST((obj), KIV_TYPE_CHART1D, KivChart1D))
/**
 * KIV_CHART1D_CLASS:
 * @klass: the class of #KivChart1D or of a class derived from it
 *
 * Casts @klass to a #KivChart1DClass pointer, with GLib's check.
 */
#define KIV_CHART1D_CLASS(klass)    (G_TYPE_CHECK_CLASS_CAST((klass), KIV_TYPE_CHART1D, KivChart1DClass))
/**
 * KIV_IS_CHART1D:
 * @obj: any pointer to an instance, or %NULL
 *
 * Whether @obj is a #KivChart1D, or an instance of a class derived from it
 * such as #KivChart2D.  %NULL gives %FALSE.
 */
#define KIV_IS_CHART1D(obj)         (G_TYPE_CHECK_INSTANCE_TYPE((obj), KIV_TYPE_CHART1D))
/**
 * KIV_IS_CHART1D_CLASS:
 * @klass: a class
 *
 * Whether @klass is #KivChart1DClass or a class derived from it.
 */
#define KIV_IS_CHART1D_CLASS(klass) (G_TYPE_CHECK_CLASS_TYPE((klass), KIV_TYPE_CHART1D))
/**
 * KIV_CHART1D_GET_CLASS:
 * @obj: a #KivChart1D
 *
 * The class structure of @obj, as a #KivChart1DClass pointer.
 */
#define KIV_CHART1D_GET_CLASS(obj)  (G_TYPE_INSTANCE_GET_CLASS((obj), KIV_TYPE_CHART1D, KivChart1DClass))

/**
 * KIV_TYPE_CHART_COLORS:
 *
 * The #GType of the enumeration #KivChartColors.
 */
#define KIV_TYPE_CHART_COLORS       (kiv_chart_colors_get_type())
/**
 * KIV_TYPE_CHART_AXIS_POS:
 *
 * The #GType of the enumeration #KivChartAxisPos.
 */
#define KIV_TYPE_CHART_AXIS_POS     (kiv_chart_axis_pos_get_type())
/**
 * KIV_TYPE_CHART_ATTR:
 *
 * The #GType of the enumeration #KivChartAttr.
 */
#define KIV_TYPE_CHART_ATTR         (kiv_chart_attr_get_type())
/**
 * KIV_TYPE_CHART_AXIS_TYPE:
 *
 * The #GType of the enumeration #KivChartAxisType.  Its type function is
 * kiv_chart_axis_type(), without the usual "_get_type" ending.
 */
#define KIV_TYPE_CHART_AXIS_TYPE    (kiv_chart_axis_type())

/**
 * KivChartColors:
 * @KIV_COLOR_FOREGROUND: the foreground: the pointer read-out, the
 *   statistics box and, while the chart has no per-curve colours, the
 *   lines of the legend
 * @KIV_COLOR_BACKGROUND: the background that fills the whole picture
 * @KIV_COLOR_AXIS: the axis lines, ticks, tick labels and axis titles, and
 *   the mean marker of a tracer
 * @KIV_COLOR_CURVE: the colour of every curve while the chart has no
 *   per-curve colours (see kiv_chart1d_add_curve_color())
 * @KIV_NCOLORS: the number of chart colours, not a colour; it is not
 *   registered with the type system
 *
 * The four colours of a chart: the indices of #KivChart1D.colors.  They
 * are set by name with kiv_chart1d_set_colors(), whose keys are
 * "foreground", "background", "axis" and "curve", or by the user through
 * the "colors" submenu of the chart's popup menu.
 */
typedef enum {
  KIV_COLOR_FOREGROUND = 0,
  KIV_COLOR_BACKGROUND = 1,
  KIV_COLOR_AXIS = 2,
  KIV_COLOR_CURVE = 3,
  KIV_NCOLORS = 4
} KivChartColors;

/**
 * KivChartAxisPos:
 * @KIV_AXIS_NONE: the axis is not drawn
 * @KIV_AXIS_LEFT: the usual place: the y axis along the left edge of the
 *   plotting area, the x axis along its bottom edge
 * @KIV_AXIS_MIDDLE: across the middle of the plotting area
 * @KIV_AXIS_RIGHT: the y axis along the right edge of the plotting area,
 *   the x axis along its top edge
 * @KIV_AXIS_X_MASK: the bits of #KivChart1D.drawaxis that hold the
 *   position of the x axis
 * @KIV_AXIS_Y_MASK: the bits of #KivChart1D.drawaxis that hold the
 *   position of the y axis (a position shifted left by 4)
 * @KIV_AXIS_Z_MASK: bits set aside for a third axis; the chart neither
 *   sets nor reads them (the value axis of a #KivChart2D is always drawn)
 *
 * Where an axis of a chart is drawn, as given to
 * kiv_chart1d_draw_x_axis() and kiv_chart1d_draw_y_axis().  For the x axis
 * "left" means the bottom edge and "right" the top edge.  The margins of
 * the plotting area make room for the labels only of axes in the
 * @KIV_AXIS_LEFT position.  When a position holds more than one bit,
 * @KIV_AXIS_LEFT wins over @KIV_AXIS_MIDDLE, which wins over
 * @KIV_AXIS_RIGHT.
 */
typedef enum {
  KIV_AXIS_NONE = 0,
  KIV_AXIS_LEFT = 1,
  KIV_AXIS_MIDDLE = 2,
  KIV_AXIS_RIGHT = 4,
  KIV_AXIS_X_MASK = 0xF,
  KIV_AXIS_Y_MASK = 0xF0,
  KIV_AXIS_Z_MASK = 0xF00
} KivChartAxisPos;

/**
 * KivChartAttr:
 * @KIV_FILLED: curves are drawn as filled polygons rather than outlines
 * @KIV_LOGX: the x axis is logarithmic
 * @KIV_LOGY: the y axis is logarithmic
 * @KIV_STATS: the statistics box of the main histogram is shown
 *
 * The attribute bits of #KivChart1D.attr, set by kiv_chart1d_filled(),
 * kiv_chart1d_logx(), kiv_chart1d_logy() and kiv_chart1d_show_stats(), by
 * the boolean properties of the same names, or by the check items of the
 * popup menu.
 */
typedef enum {
  KIV_FILLED = 1,
  KIV_LOGX = 2,
  KIV_LOGY = 4,
  KIV_STATS = 8
} KivChartAttr;

/**
 * KivChartAxisType:
 * @KIV_X_AXIS: the horizontal axis
 * @KIV_Y_AXIS: the vertical axis of the data
 * @KIV_Z_AXIS: the value axis beside the colour scale of a #KivChart2D
 *
 * The axes of a chart.  The library uses them to tell its axes apart when
 * drawing and in its axis range dialogs; no public call takes one.
 */
typedef enum {
  KIV_X_AXIS = 0,
  KIV_Y_AXIS = 1,
  KIV_Z_AXIS = 2
} KivChartAxisType;

/**
 * KivChartEvent:
 * @key: not used; it stays 0
 * @button: a bit set: 1 while a mouse button is held down over the chart,
 *   2 once a button has been released (that bit stays set)
 * @x: the x of the last pointer position, in data coordinates
 * @y: the y of the last pointer position, in data coordinates
 * @x0: the x of the anchor of the current (or last) drag: the pointer
 *   position tracked when the button went down
 * @y0: the y of that anchor
 *
 * The pointer state of a chart, held in #KivChart1D.evt, zero-filled when
 * the chart is made and written by the chart's own mouse handlers.  The
 * pointer read-out in the top-left corner shows it at every redraw: the
 * last position while no button is held, and the anchor, the current
 * position, their differences and the ratio of the differences while one
 * is.  Positions are mapped with the layout of the last redraw, so none is
 * tracked before the first one; on a logarithmic axis they are decimal
 * logarithms of the data values.  Pointer motion with Control held leaves
 * the position as it was.
 */
typedef struct _KivChartEvent {
  unsigned int key;
  unsigned int button;
  double x;
  double y;
  double x0;
  double y0;
} KivChartEvent;

/* The drawing state of a chart, declared and documented in
 * kivchart-protected.h. */
typedef struct _KivCanvas KivCanvas;

typedef struct _KivChart1D KivChart1D;
typedef struct _KivChart1DClass KivChart1DClass;

/**
 * KivChart1D:
 * @parent: the parent instance
 * @cnvs: the drawing state: the off-screen image, the layout of the last
 *   redraw, the fonts and the canvas mutex (see #KivCanvas)
 * @func: (nullable): the main function: the first of @curves, whose x range
 *   is the chart's; %NULL after kiv_chart1d_remove_curves()
 * @colors: the four chart colours, indexed by #KivChartColors
 * @curves: (element-type KivFunction): the plotted functions, the main
 *   function first; the chart holds one reference on each
 * @evt: the pointer state shown by the read-out
 * @xpt: (nullable): the point arrays fetched by the last redraw, one per
 *   curve, or %NULL.  An unfilled curve on a linear x axis with more than
 *   four points per pixel column of the chart is reduced: its array holds
 *   four points per bucket of adjacent points (sixteen buckets per column),
 *   the first point, the lowest and the highest level where they occur and
 *   the last point, so that its y range is exactly that of every point.
 *   Other curves hold every point, histograms as a step outline
 * @xtitle: (nullable): the title of the x axis, Pango markup
 * @ytitle: (nullable): the title of the y axis, Pango markup
 * @tmout: the source id of the monitoring timer, -1 when there is none
 * @sync_id: the handler id of the connection to the main function's
 *   #KivFunction::range-changed, -1 while the chart does not follow that
 *   range
 * @drawaxis: the axis positions: the #KivChartAxisPos of the x axis in
 *   bits 0-3, that of the y axis in bits 4-7; 0x11 in a new chart
 * @xmin: the lower end of the x range shown
 * @xmax: the upper end of the x range shown
 * @ymin: not used; it stays 0
 * @ymax: not used; it stays 0
 * @vmin: the lower y limit last given through #KivChart1D:vmin or
 *   #KivChart1D:hymin
 * @vmax: the upper y limit last given through #KivChart1D:vmax or
 *   #KivChart1D:hymax
 * @colors_changed: %TRUE while colours set since the last redraw have not
 *   yet been handed to the widget's style
 * @attr: the #KivChartAttr bits in force
 *
 * A drawing area that plots one or more sampled functions (#KivFunction
 * and its subclasses: histograms, profiles, tracers, graphs) against a
 * common x range, with axes, titles, a legend when there is more than one
 * curve, an optional statistics box and a pointer read-out.
 *
 * A chart holds a reference on each function it plots but copies none of
 * their data: every redraw fetches the points afresh under each function's
 * own lock, so that producers may keep filling from other threads.  New
 * contents show at the next redraw, which any expose, any pointer motion
 * over the chart, or the timer of kiv_chart1d_monitor_start() causes.
 *
 * Every expose draws the whole chart into an off-screen image and copies
 * it to the window; the pictures of the image properties
 * (#KivChart1D:png and the others) are drawn the same way.  The user
 * measures with the pointer (a drag shows its extent in the read-out),
 * zooms the x range with a Control drag and the y range with a Shift drag
 * of the left button, restores the whole range with the middle button and
 * opens a popup menu with the right button.  The menu saves the picture or
 * the data as text, sets the colours, the axis positions, the ranges (and,
 * for a single histogram, the number of bins), the statistics box, filled
 * drawing and logarithmic axes.  Key presses on the chart are echoed on
 * standard output and go no further.
 *
 * All calls on a chart belong in the thread that runs the GTK main loop.
 * The chart serialises its redraws, its size allocations, the removal of
 * its curves and every property write on its canvas mutex; a property
 * write waits at most about 100 ms (10 attempts, 10 ms apart) for that
 * mutex and is dropped without a message when it stays taken.  None of the
 * plain setters queues a redraw: call gtk_widget_queue_draw() afterwards,
 * or let the monitoring timer do it.
 *
 * The fields are public for classes derived from the chart, such as
 * #KivChart2D, and for reading; change them only through the calls and
 * properties of the chart.  The class defines no signals of its own.
 */
struct _KivChart1D {
  GtkDrawingArea parent;
  KivCanvas *cnvs;
  KivFunction *func;
  GdkColor colors[KIV_NCOLORS];
  GList *curves;
  KivChartEvent *evt;
  KivTuple *xpt;
  gchar *xtitle;
  gchar *ytitle;
  int tmout;
  int sync_id;
  unsigned long drawaxis;
  double xmin;
  double xmax;
  double ymin;
  double ymax;
  double vmin;
  double vmax;
  gboolean colors_changed;
  guint attr;
};

/**
 * KivChart1D:func:
 *
 * The main function, a #KivFunction held as a plain pointer.  Setting it
 * replaces the main function at the head of the curves (see
 * kiv_chart1d_set_func()); %NULL, or the main function itself, changes
 * nothing.  Reading it adds no reference.
 */
/**
 * KivChart1D:xtitle:
 *
 * The title of the x axis, Pango markup.  Setting it to %NULL removes
 * the title.  The registered default "X" is not applied: a new chart has
 * no title.
 */
/**
 * KivChart1D:ytitle:
 *
 * The title of the y axis, Pango markup.  Setting it to %NULL removes
 * the title.  The registered default "Y" is not applied: a new chart has
 * no title.
 */
/**
 * KivChart1D:logx:
 *
 * Whether the x axis is logarithmic: the @KIV_LOGX bit of
 * #KivChart1D.attr (see kiv_chart1d_logx()).
 */
/**
 * KivChart1D:logy:
 *
 * Whether the y axis is logarithmic: the @KIV_LOGY bit of
 * #KivChart1D.attr (see kiv_chart1d_logy()).
 */
/**
 * KivChart1D:filled:
 *
 * Whether the curves are drawn filled: the @KIV_FILLED bit of
 * #KivChart1D.attr (see kiv_chart1d_filled()).
 */
/**
 * KivChart1D:stats:
 *
 * Whether the statistics box is shown: the @KIV_STATS bit of
 * #KivChart1D.attr (see kiv_chart1d_show_stats()).
 */
/**
 * KivChart1D:hxmin:
 *
 * The lower end of the x range.  Setting it changes the range shown and
 * queues a resize.  Every size allocation gives a chart with a main
 * function that function's range again, and the resize queued by the
 * write leads to one on a shown chart, so the value lasts only until
 * then; to show another x range, change the main function's range, or
 * zoom with the mouse.  Reading gives the lower end of the x range of the
 * last redraw, or the value set since.
 */
/**
 * KivChart1D:hxmax:
 *
 * The upper end of the x range; see #KivChart1D:hxmin.
 */
/**
 * KivChart1D:hymin:
 *
 * The lower end of the y range: setting it acts exactly as setting
 * #KivChart1D:vmin.  Reading gives the lower end of the y range of the
 * last redraw, margins included, or the value set.
 */
/**
 * KivChart1D:hymax:
 *
 * The upper end of the y range: setting it acts exactly as setting
 * #KivChart1D:vmax.  Reading gives the upper end of the y range of the
 * last redraw, margins included, or the value set.
 */
/**
 * KivChart1D:vmin:
 *
 * The lower y limit.  While the two y limits differ (a NaN counts as
 * different) they fix the y range of the chart; once they are equal, as
 * in a new chart, each redraw fits the y range to the data, with a tenth
 * of its height to spare at the top, and at the bottom unless the data
 * start at 0.  Set both limits, or set them equal to return to the
 * automatic range, which a middle click does.  Reading gives the value
 * last set.  Queues no redraw.
 *
 * A #KivChart2D overrides this property: see #KivChart2D:vmin.
 */
/**
 * KivChart1D:vmax:
 *
 * The upper y limit; see #KivChart1D:vmin.
 *
 * A #KivChart2D overrides this property: see #KivChart2D:vmax.
 */
/**
 * KivChart1D:line-width:
 *
 * The width of the curves' lines, in pixels; 1.0 in a new chart.  The
 * axes keep the default width.  The property may also be named
 * "line_width".
 */
/**
 * KivChart1D:text-font:
 *
 * The font family of every text of the chart: labels, titles, legend and
 * read-out ("sans" in a new chart; the statistics box always uses
 * "sans").  The size comes from the widget's style.  The property may
 * also be named "text_font".
 */
/**
 * KivChart1D:axis-font:
 *
 * A font family name ("mono" in a new chart) that is stored and reported
 * but used by no text: the axis labels are drawn in #KivChart1D:text-font.
 * The property may also be named "axis_font".
 */
/**
 * KivChart1D:pixmap:
 *
 * The picture of the chart as a #GdkPixbuf, drawn afresh at each read
 * (see _kiv_get_pixbuf()).  The reader owns the pixbuf.  Read it in the
 * main thread.
 */
/**
 * KivChart1D:png:
 *
 * The picture of the chart as the bytes of a PNG file in a #GString,
 * drawn afresh at each read (see _kiv_get_png()).  The reader frees the
 * string with g_string_free().  Read it in the main thread.
 */
/**
 * KivChart1D:jpeg:
 *
 * The picture of the chart as the bytes of a JPEG file in a #GString,
 * drawn afresh at each read (see _kiv_get_jpeg()); empty when the encoder
 * fails.  The reader frees the string with g_string_free().
 */
/**
 * KivChart1D:pdf:
 *
 * The picture of the chart as a one-page PDF file in a #GString, drawn
 * afresh at each read (see _kiv_get_pdf()).  The reader frees the string
 * with g_string_free().
 */
/**
 * KivChart1D:svg:
 *
 * The picture of the chart as an SVG file in a #GString, drawn afresh at
 * each read (see _kiv_get_svg()).  The reader frees the string with
 * g_string_free().
 */
/**
 * KivChart1D:eps:
 *
 * The picture of the chart as a PostScript file in a #GString, drawn
 * afresh at each read (see _kiv_get_eps()).  The reader frees the string
 * with g_string_free().
 */

/**
 * KivChart1DClass:
 * @parent_class: the parent class
 * @draw_pixmap: draws the curves (a #KivChart2D: the colour map and its
 *   scale) once the layout is set
 * @draw_frame: fetches the points of every curve for the x range shown
 *   and works out the y range of the redraw, before the layout is set
 * @draw_stats: draws the statistics box; called last, and only while
 *   @KIV_STATS is set
 * @draw_axis: draws the axes, their labels and titles, and the pointer
 *   read-out
 * @mouse: not used: the library neither sets nor calls it
 * @xtra_menu: appends a derived class's own items to the popup menu,
 *   after the chart's own items; %NULL in #KivChart1D
 *
 * The class of #KivChart1D.  Each redraw calls, in order, @draw_frame, the
 * layout of the canvas, @draw_pixmap, the legend, @draw_axis and, while
 * the statistics box is on, @draw_stats.  The steps run in the main thread
 * with the canvas mutex held and the context of the redraw in
 * #KivCanvas.cairo; a step left %NULL is skipped.  Derived classes
 * replace the steps they draw differently and chain up to the others.
 */
/**
 * KivChart1DClass::draw_pixmap:
 * @h: the chart being redrawn
 *
 * Draws the curves from the point arrays that @draw_frame fetched, in the
 * per-curve colours in turn or the curve colour, with the chart's line
 * width, filled while @KIV_FILLED is set.  #KivChart2D draws its colour
 * scale and cells here instead.  Runs in the redraw, after the layout,
 * with the canvas mutex held and the context in #KivCanvas.cairo.
 */
/**
 * KivChart1DClass::draw_frame:
 * @h: the chart being redrawn
 *
 * Fetches the points of every curve for the x range shown into
 * #KivChart1D.xpt, taking each function's lock in turn, and, unless the y
 * limits fix the range, works out the y range of the redraw from the data.
 * On logarithmic axes it converts the points to decimal logarithms.  Runs
 * first in the redraw, before the layout, with the canvas mutex held.
 */
/**
 * KivChart1DClass::draw_stats:
 * @h: the chart being redrawn
 *
 * Draws the statistics box of the main histogram in the top-right corner
 * (see kiv_chart1d_show_stats()).  Runs last in the redraw, only while
 * @KIV_STATS is set, with the canvas mutex held.
 */
/**
 * KivChart1DClass::draw_axis:
 * @h: the chart being redrawn
 *
 * Draws the axes in the positions of #KivChart1D.drawaxis, in the axis
 * colour, with ticks, labels, titles and the power of ten of the labels,
 * then the pointer read-out in the top-left corner.  For a #KivChart2D it
 * also draws the value axis beside the colour scale.  Runs after the
 * curves and the legend, with the canvas mutex held.
 */
/**
 * KivChart1DClass::mouse:
 * @h: a chart
 *
 * Not used: the library neither sets nor calls this slot; the mouse is
 * handled by signal handlers that the chart connects to itself.
 */
/**
 * KivChart1DClass::xtra_menu:
 * @h: the chart whose popup menu is being built
 * @menu: the popup menu, a #GtkMenu holding the chart's own items
 *
 * Appends a derived class's own items to the popup menu, after the
 * chart's own items.  The menu is built afresh at each right-button press,
 * in the main thread; #KivChart2D adds its "Squared" switch and colour
 * schemes here.
 */
struct _KivChart1DClass {
  GtkDrawingAreaClass parent_class;
  void (*draw_pixmap)(KivChart1D *h);
  void (*draw_frame)(KivChart1D *h);
  void (*draw_stats)(KivChart1D *h);
  void (*draw_axis)(KivChart1D *h);
  void (*mouse)(KivChart1D *h);
  void (*xtra_menu)(KivChart1D *h, GtkWidget *menu);
};

/**
 * kiv_chart1d_get_type:
 *
 * Registers the class "KivChart1D", derived from #GtkDrawingArea, on first
 * use.  Call it first from the main thread: the registration is not
 * guarded against two threads using it for the first time together.
 *
 * Returns: the #GType of #KivChart1D
 */
KIV_API GType kiv_chart1d_get_type(void) G_GNUC_CONST;
/**
 * kiv_chart_colors_get_type:
 *
 * Registers the enumeration #KivChartColors (without @KIV_NCOLORS) on
 * first use.
 *
 * Returns: the #GType of #KivChartColors
 */
KIV_API GType kiv_chart_colors_get_type(void) G_GNUC_CONST;
/**
 * kiv_chart_axis_pos_get_type:
 *
 * Registers the enumeration #KivChartAxisPos on first use.
 *
 * Returns: the #GType of #KivChartAxisPos
 */
KIV_API GType kiv_chart_axis_pos_get_type(void) G_GNUC_CONST;
/**
 * kiv_chart_attr_get_type:
 *
 * Registers the enumeration #KivChartAttr on first use.
 *
 * Returns: the #GType of #KivChartAttr
 */
KIV_API GType kiv_chart_attr_get_type(void) G_GNUC_CONST;
/**
 * kiv_chart_axis_type:
 *
 * Registers the enumeration #KivChartAxisType on first use.  It is the
 * type function of that enumeration although its name lacks the usual
 * "_get_type" ending; introspection therefore sees it as a plain function
 * and the enumeration as one without a #GType.
 *
 * Returns: the #GType of #KivChartAxisType
 */
KIV_API GType kiv_chart_axis_type(void) G_GNUC_CONST;

/**
 * kiv_chart1d_new:
 * @ff: the main function of the chart: a #KivFunction or an instance of
 *   any class derived from it
 *
 * Makes a chart that plots @ff over its whole x range.  The chart takes a
 * reference on @ff and gives it up when the curves are removed or the
 * chart is finalised.  The chart starts with both axes in the
 * @KIV_AXIS_LEFT position, no titles, no attribute set, black foreground,
 * axis and curve colours, and the theme's background until a background
 * colour is set.  It has no y range of its own: each redraw fits the data
 * until #KivChart1D:vmin and #KivChart1D:vmax fix one.
 *
 * A %NULL @ff logs the critical "kiv_chart1d_new: assertion 'ff != NULL'
 * failed" and returns %NULL.
 *
 * Returns: (transfer floating) (nullable): the new chart, or %NULL when
 *   @ff is %NULL
 */
KIV_API GtkWidget *kiv_chart1d_new(KivFunction *ff);

/**
 * kiv_chart1d_get_func:
 * @h: a chart
 * @n: the position of the curve, 0 for the main function
 *
 * The @n-th function plotted by the chart, in the order they were added.
 * A @h that is not a chart logs the critical "kiv_chart1d_get_func:
 * assertion 'KIV_IS_CHART1D(h)' failed" and returns %NULL.
 *
 * Returns: (transfer none) (nullable): the function, or %NULL when @n is
 *   negative or not below kiv_chart1d_get_n_func()
 */
KIV_API KivFunction *kiv_chart1d_get_func(KivChart1D *h, int n);
/**
 * kiv_chart1d_get_n_func:
 * @h: a chart
 *
 * The number of functions the chart plots, the main function included.
 * A @h that is not a chart logs the critical "kiv_chart1d_get_n_func:
 * assertion 'KIV_IS_CHART1D(h)' failed" and returns 0.
 *
 * Returns: the number of curves
 */
KIV_API int kiv_chart1d_get_n_func(KivChart1D *h);
/**
 * kiv_chart1d_add_curve:
 * @h: a chart
 * @f: the function to plot as well; not %NULL
 *
 * Adds @f to the functions the chart plots, after the others, and queues
 * a resize so that the legend finds room.  The chart takes a reference on
 * @f.  A chart without a main function (after
 * kiv_chart1d_remove_curves()) makes @f its main function instead, as
 * kiv_chart1d_set_func() does.  With more than one curve the chart shows a
 * legend of the curves' names (#KivFunction:name, "[unnamed]" when there
 * is none; markup is honoured when it is well formed) at the right of the
 * plotting area.  Curves are drawn in the
 * per-curve colours in turn (kiv_chart1d_add_curve_color()), or all in the
 * curve colour.
 *
 * A @h that is not a chart logs the critical "kiv_chart1d_add_curve:
 * assertion 'KIV_IS_CHART1D(h)' failed", an @f that is not a function
 * "kiv_chart1d_add_curve: assertion 'KIV_IS_FUNCTION(f)' failed", and
 * nothing is added.
 */
KIV_API void kiv_chart1d_add_curve(KivChart1D *h, KivFunction *f);
/**
 * kiv_chart1d_remove_curves:
 * @h: a chart
 *
 * Removes every function from the chart, the main function included, and
 * gives up the chart's references on them; #KivChart1D.func becomes
 * %NULL.  The point arrays of the last redraw are released as well.  If
 * the chart follows its main function's range (kiv_chart1d_sync_range()),
 * the connection to that function is removed but the request stands: the
 * next main function is connected again.  No redraw is queued; add a
 * function before the chart is drawn again.
 *
 * The call waits for a redraw in progress (it takes the canvas mutex).  A
 * @h that is not a chart logs the critical "kiv_chart1d_remove_curves:
 * assertion 'KIV_IS_CHART1D(h)' failed".
 */
KIV_API void kiv_chart1d_remove_curves(KivChart1D *h);
/**
 * kiv_chart1d_set_func:
 * @h: a chart
 * @f: (nullable): the new main function
 *
 * Makes @f the chart's main function by setting #KivChart1D:func: the old
 * main function is removed from the curves and its reference given up,
 * @f takes its place at the head of the curves with a reference held by
 * the chart, the chart's x range becomes that of @f and a resize is
 * queued.  A %NULL @f, or the main function itself, changes nothing.  As
 * every property write, the change is dropped silently when a redraw
 * holds the canvas for more than about 100 ms.
 */
KIV_API void kiv_chart1d_set_func(KivChart1D *h, KivFunction *f);

/**
 * kiv_chart1d_draw_x_axis:
 * @h: a chart; it is not checked
 * @val: @KIV_AXIS_NONE, @KIV_AXIS_LEFT (bottom), @KIV_AXIS_MIDDLE or
 *   @KIV_AXIS_RIGHT (top)
 *
 * Sets where the x axis is drawn: bits 0-3 of #KivChart1D.drawaxis take
 * @val as it is.  Queues no redraw.
 */
KIV_API void kiv_chart1d_draw_x_axis(KivChart1D *h, KivChartAxisPos val);
/**
 * kiv_chart1d_draw_y_axis:
 * @h: a chart; it is not checked
 * @val: @KIV_AXIS_NONE, @KIV_AXIS_LEFT, @KIV_AXIS_MIDDLE or
 *   @KIV_AXIS_RIGHT
 *
 * Sets where the y axis is drawn: bits 4-7 of #KivChart1D.drawaxis take
 * @val as it is.  Queues no redraw.
 */
KIV_API void kiv_chart1d_draw_y_axis(KivChart1D *h, KivChartAxisPos val);
/**
 * kiv_chart1d_filled:
 * @h: a chart; it is not checked
 * @z: %TRUE to fill the curves, %FALSE to draw outlines
 *
 * Sets or clears @KIV_FILLED, like #KivChart1D:filled but without the
 * canvas mutex.  A filled curve is closed from its last point back to its
 * first; an outline keeps the level of its end bins up to its two ends.
 * Queues no redraw.
 */
KIV_API void kiv_chart1d_filled(KivChart1D *h, gboolean z);
/**
 * kiv_chart1d_logx:
 * @h: a chart; it is not checked
 * @z: %TRUE for a logarithmic x axis
 *
 * Sets or clears @KIV_LOGX, like #KivChart1D:logx but without the canvas
 * mutex.  A logarithmic axis starts at the decimal logarithm of the lower
 * end of the range (0 when that end is not positive) and spans whole
 * decades; values that are not positive are drawn at 1.  Queues no
 * redraw.
 */
KIV_API void kiv_chart1d_logx(KivChart1D *h, gboolean z);
/**
 * kiv_chart1d_logy:
 * @h: a chart; it is not checked
 * @z: %TRUE for a logarithmic y axis
 *
 * Sets or clears @KIV_LOGY, like #KivChart1D:logy but without the canvas
 * mutex; see kiv_chart1d_logx().  Queues no redraw.
 */
KIV_API void kiv_chart1d_logy(KivChart1D *h, gboolean z);
/**
 * kiv_chart1d_show_stats:
 * @h: a chart; it is not checked
 * @z: %TRUE to show the statistics box
 *
 * Sets or clears @KIV_STATS, like #KivChart1D:stats but without the
 * canvas mutex.  The box, in the top-right corner, shows the entries, the
 * mean and the standard deviation of the main function when it is a
 * #KivHistogram: those of the whole histogram while the chart shows its
 * whole range, otherwise those of the bins in view.  For a #KivTracer a
 * bar beside the y axis marks the mean of its values and their spread.
 * Other functions get no box.  Queues no redraw.
 */
KIV_API void kiv_chart1d_show_stats(KivChart1D *h, gboolean z);
/**
 * kiv_chart1d_is_filled:
 * @h: a chart; it is not checked
 *
 * Whether curves are drawn filled.
 *
 * Returns: @KIV_FILLED (1) when they are, 0 otherwise
 */
KIV_API gboolean kiv_chart1d_is_filled(KivChart1D *h);
/**
 * kiv_chart1d_is_logx:
 * @h: a chart; it is not checked
 *
 * Whether the x axis is logarithmic.
 *
 * Returns: @KIV_LOGX (2) when it is, 0 otherwise; compare the result with
 *   0, not with %TRUE
 */
KIV_API gboolean kiv_chart1d_is_logx(KivChart1D *h);
/**
 * kiv_chart1d_is_logy:
 * @h: a chart; it is not checked
 *
 * Whether the y axis is logarithmic.
 *
 * Returns: @KIV_LOGY (4) when it is, 0 otherwise; compare the result with
 *   0, not with %TRUE
 */
KIV_API gboolean kiv_chart1d_is_logy(KivChart1D *h);
/**
 * kiv_chart1d_stats:
 * @h: a chart; it is not checked
 *
 * Whether the statistics box is shown.
 *
 * Returns: @KIV_STATS (8) when it is, 0 otherwise; compare the result with
 *   0, not with %TRUE
 */
KIV_API gboolean kiv_chart1d_stats(KivChart1D *h);

/**
 * kiv_chart1d_get_xtitle:
 * @h: a chart; it is not checked
 *
 * The title of the x axis.
 *
 * Returns: (transfer none) (nullable): the chart's own string, valid until
 *   the title changes, or %NULL when there is no title
 */
KIV_API gchar *kiv_chart1d_get_xtitle(KivChart1D *h);
/**
 * kiv_chart1d_get_ytitle:
 * @h: a chart; it is not checked
 *
 * The title of the y axis.
 *
 * Returns: (transfer none) (nullable): the chart's own string, valid until
 *   the title changes, or %NULL when there is no title
 */
KIV_API gchar *kiv_chart1d_get_ytitle(KivChart1D *h);
/**
 * kiv_chart1d_set_xtitle:
 * @h: a chart; it is not checked
 * @tit: (nullable): the title, Pango markup
 *
 * Replaces the title of the x axis by a copy of @tit.  The title is drawn
 * in bold at the bottom right, followed by the power of ten of the axis
 * labels when they have one.  Text that is not well-formed markup is
 * shown as typed.  A %NULL @tit keeps the title as it is (set
 * #KivChart1D:xtitle to %NULL to remove it).  Queues no redraw.
 */
KIV_API void kiv_chart1d_set_xtitle(KivChart1D *h, const char *tit);
/**
 * kiv_chart1d_set_ytitle:
 * @h: a chart; it is not checked
 * @tit: (nullable): the title, Pango markup
 *
 * Replaces the title of the y axis by a copy of @tit; it is drawn above
 * the axis.  Text that is not well-formed markup is shown as typed.  A
 * %NULL @tit keeps the title as it is (set
 * #KivChart1D:ytitle to %NULL to remove it).  Queues no redraw.
 */
KIV_API void kiv_chart1d_set_ytitle(KivChart1D *h, const char *tit);

/**
 * kiv_chart1d_set_colors:
 * @h: a chart; it is not checked
 * @...: pairs of a key and a colour name, ended by %NULL
 *
 * Sets chart colours by name.  Each key is "foreground", "background",
 * "axis" or "curve" (see #KivChartColors); each name is anything
 * gdk_color_parse() reads: a colour of the X colour database ("black") or
 * a hexadecimal form ("#ff0000").  For example:
 *
 * |[<!-- language="C" -->
 * kiv_chart1d_set_colors (chart, "background", "white", "curve", "#0000ff", NULL);
 * ]|
 *
 * An unknown key skips its pair without a message.  A name that cannot be
 * parsed prints "Cannot get color NAME" on standard error and keeps that
 * colour as it was.  A key followed by %NULL logs the warning
 * "kiv_chart1d_set_colors: no color name given for KEY" and ends the call.
 * The colours reach the picture at the next redraw, which this call does
 * not queue.  Not available to language bindings, since it takes a
 * variable list of arguments.
 */
KIV_API void kiv_chart1d_set_colors(KivChart1D *h, ...) G_GNUC_NULL_TERMINATED;
/**
 * kiv_chart1d_set_curve_colors:
 * @h: a chart
 * @...: colour names, ended by %NULL
 *
 * Replaces the per-curve colours by the colours named, in order, each
 * added as by kiv_chart1d_add_curve_color().  With no name at all it
 * removes them: curves are then drawn in the curve colour and legend lines
 * in the foreground colour.  A @h that is not a chart logs the critical
 * "kiv_chart1d_set_curve_colors: assertion 'KIV_IS_CHART1D(h)' failed".
 * Queues no redraw.  Not available to language bindings, since it takes a
 * variable list of arguments; they call kiv_chart1d_add_curve_color().
 */
KIV_API void kiv_chart1d_set_curve_colors(KivChart1D *h, ...) G_GNUC_NULL_TERMINATED;
/**
 * kiv_chart1d_add_curve_color:
 * @h: a chart
 * @color_name: a colour name that gdk_color_parse() reads ("red",
 *   "#00ff00")
 *
 * Appends a colour to the per-curve colours.  The curves, and the lines of
 * the legend, take these colours in turn from the first, starting again
 * from the first when there are more curves than colours.
 *
 * A name that cannot be parsed prints "add_curve_color: Cannot get color
 * NAME" on standard error; on a realized chart a colour the colormap
 * cannot hold prints "add_curve_color: could not allocate color NAME";
 * either way nothing is added.  A @h that is not a chart or a %NULL name
 * logs a critical ("kiv_chart1d_add_curve_color: assertion
 * 'KIV_IS_CHART1D(h)' failed", "... assertion 'color_name != NULL'
 * failed").  Queues no redraw.
 */
KIV_API void kiv_chart1d_add_curve_color(KivChart1D *h, gchar *color_name);

/**
 * get_value_for_label:
 * @x: a position on an axis
 * @scale: the axis multiplier, a power of ten (1.0 for none)
 * @logx: non-zero for a logarithmic axis, where @x is a decimal logarithm
 * @label: (nullable) (out caller-allocates) (array fixed-size=16) (element-type gchar):
 *   a buffer of at least 16 bytes for the text of the label, or %NULL
 *
 * The value that an axis label shows at position @x: @x divided by
 * @scale, 0 when that is below 1e-5 in magnitude, and 10 raised to it on a
 * logarithmic axis.  The computation is done in single precision.  When
 * @label is given it receives the value formatted with "%.3g" ("0",
 * "2.5", "1e+03"), at most 10 bytes with the terminating nul.
 *
 * Returns: the value of the label
 */
KIV_API float get_value_for_label(float x, double scale, int logx, char *label);

/**
 * _kiv_get_pixbuf:
 * @h: a chart
 *
 * Draws the chart afresh into its off-screen image and copies that image.
 * The picture has the size of the chart's allocation, or the size it
 * requests when it has never been allocated one; it shows the data as
 * they are at the call, with the legend, the statistics box and the
 * pointer read-out.  Reading #KivChart1D:pixmap does the same.  Call it
 * from the main thread.  A @h that is not a chart logs the critical
 * "_kiv_get_pixbuf: assertion 'KIV_IS_CHART1D(h)' failed" and returns
 * %NULL.
 *
 * Returns: (transfer full) (nullable): a new RGBA pixbuf that the caller
 *   releases with g_object_unref()
 */
KIV_API GdkPixbuf *_kiv_get_pixbuf(KivChart1D *h);
/**
 * _kiv_get_png:
 * @h: a chart
 *
 * Draws the chart afresh, as _kiv_get_pixbuf() does, and encodes the
 * picture as a PNG file.  Reading #KivChart1D:png does the same.  A @h
 * that is not a chart logs the critical "_kiv_get_png: assertion
 * 'KIV_IS_CHART1D(h)' failed" and returns %NULL.
 *
 * Returns: (transfer full) (nullable): the bytes of the PNG file, which
 *   the caller frees with g_string_free()
 */
KIV_API GString *_kiv_get_png(KivChart1D *h);
/**
 * _kiv_get_jpeg:
 * @h: a chart
 *
 * Draws the chart afresh, as _kiv_get_pixbuf() does, and encodes the
 * picture as a JPEG file at the encoder's default quality.  Reading
 * #KivChart1D:jpeg does the same.  When the encoder fails, "Error creating
 * jpeg: MESSAGE" is printed on standard output and the string is empty.
 * A @h that is not a chart logs the critical "_kiv_get_jpeg: assertion
 * 'KIV_IS_CHART1D(h)' failed" and returns %NULL.
 *
 * Returns: (transfer full) (nullable): the bytes of the JPEG file, which
 *   the caller frees with g_string_free()
 */
KIV_API GString *_kiv_get_jpeg(KivChart1D *h);
/**
 * _kiv_get_pdf:
 * @h: a chart
 *
 * Draws the chart afresh into a one-page PDF document whose page has the
 * chart's size in points, one point to a pixel.  Reading #KivChart1D:pdf
 * does the same.  A @h that is not a chart logs the critical
 * "_kiv_get_pdf: assertion 'KIV_IS_CHART1D(h)' failed" and returns
 * %NULL.
 *
 * Returns: (transfer full) (nullable): the bytes of the PDF file, which
 *   the caller frees with g_string_free()
 */
KIV_API GString *_kiv_get_pdf(KivChart1D *h);
/**
 * _kiv_get_svg:
 * @h: a chart
 *
 * Draws the chart afresh into an SVG document of the chart's size.
 * Reading #KivChart1D:svg does the same.  A @h that is not a chart logs
 * the critical "_kiv_get_svg: assertion 'KIV_IS_CHART1D(h)' failed" and
 * returns %NULL.
 *
 * Returns: (transfer full) (nullable): the bytes of the SVG file, which
 *   the caller frees with g_string_free()
 */
KIV_API GString *_kiv_get_svg(KivChart1D *h);
/**
 * _kiv_get_eps:
 * @h: a chart
 *
 * Draws the chart afresh into a PostScript document of the chart's size
 * in points.  Despite the name it is cairo's ordinary PostScript output,
 * not Encapsulated PostScript.  Reading #KivChart1D:eps does the same.  A
 * @h that is not a chart logs the critical "_kiv_get_eps: assertion
 * 'KIV_IS_CHART1D(h)' failed" and returns %NULL.
 *
 * Returns: (transfer full) (nullable): the bytes of the PostScript file,
 *   which the caller frees with g_string_free()
 */
KIV_API GString *_kiv_get_eps(KivChart1D *h);
/**
 * _kiv_img_to_gstring:
 * @str: (inout) (transfer none): the address of the string that receives
 *   the bytes
 * @data: (array length=length) (element-type guint8): the bytes to append
 * @length: the number of bytes in @data
 *
 * Appends @length bytes of @data to *@str.  It is the cairo write function
 * with which the picture calls fill their strings: give it to cairo's
 * stream functions with the address of a #GString pointer as closure.
 *
 * Returns: %CAIRO_STATUS_SUCCESS, always
 */
KIV_API cairo_status_t _kiv_img_to_gstring(GString **str, const unsigned char *data,
                                           unsigned int length);

/**
 * KIV_CHART_ERROR:
 *
 * The error domain of kiv_chart1d_get_picture().
 */
#define KIV_CHART_ERROR (kiv_chart_error_quark())
/**
 * kiv_chart_error_quark:
 *
 * The quark of #KIV_CHART_ERROR.
 *
 * Returns: the error domain of the charts
 */
KIV_API GQuark kiv_chart_error_quark(void);

/**
 * KivChartError:
 * @KIV_CHART_ERROR_UNKNOWN_FORMAT: the picture format is none of "png",
 *   "jpeg", "pdf", "svg" and "eps"
 *
 * The errors of #KIV_CHART_ERROR.
 */
typedef enum {
  KIV_CHART_ERROR_UNKNOWN_FORMAT,
} KivChartError;

/**
 * kiv_chart1d_get_picture:
 * @chart: a chart (or a two-dimensional chart)
 * @format: "png", "jpeg", "pdf", "svg" or "eps"
 * @error: return location for a #GError, or %NULL
 *
 * Draws the chart afresh and returns its picture in @format: the same
 * bytes as reading the property of that name, as #GBytes, which language
 * bindings hand over as a byte string (a #GString property reaches Python
 * as text and fails on the first byte of a PNG).  An unknown @format sets
 * @error to %KIV_CHART_ERROR_UNKNOWN_FORMAT and returns %NULL.  Call it in
 * the GTK main thread.
 *
 * Returns: (transfer full) (nullable): the bytes of the picture, or %NULL
 *   on error
 */
KIV_API GBytes *kiv_chart1d_get_picture(KivChart1D *chart, const char *format, GError **error);

/**
 * kiv_chart1d_print:
 * @h: a chart
 * @file_name: (type filename): the file to write; an existing file is
 *   replaced
 * @type: the picture to write: "png", "jpeg", "pdf", "svg" or "eps"
 *
 * Writes the picture of the chart in the format @type to @file_name.  The
 * picture is drawn afresh by reading the chart property of that name.
 *
 * When the file cannot be opened, "Cannot open FILE for writing" is
 * printed on standard output and -1 is returned.  When the bytes cannot
 * all be written (a full disk), "Cannot write FILE" is printed, the file
 * is removed and -1 is returned: no truncated picture is left.  Any other
 * @type ("gif", "pixmap") prints "Error. Very likely invalid picture
 * format: TYPE" and removes the file, which was opened first (so a file
 * of that name that existed before is gone too), and 0 is returned.  A
 * file that is not a regular one, such as a device, is never removed.
 *
 * A %NULL or non-chart @h, a %NULL @file_name or a %NULL @type logs a
 * critical ("kiv_chart1d_print: assertion 'h != NULL' failed",
 * "... 'KIV_IS_CHART1D(h)' failed", "... 'file_name != NULL' failed",
 * "... 'type != NULL' failed") and returns -1.  Call it from the main
 * thread.
 *
 * Returns: 0 when the picture was written, or when @type names no
 *   picture; -1 when the file could not be written
 */
KIV_API int kiv_chart1d_print(KivChart1D *h, const char *file_name, const char *type);

/**
 * kiv_chart1d_monitor_start:
 * @kiv: a chart; it is not checked
 * @tim: the period in milliseconds, greater than 0
 *
 * Redraws the chart every @tim milliseconds from the default main loop,
 * so that data filled by other threads show up.  A timer already running
 * is replaced, so there is never more than one.  A tick is skipped while
 * the chart is not realized or while a redraw (or a change of its curves)
 * holds the canvas.  The timer runs until kiv_chart1d_monitor_stop() or
 * until the chart is finalised.  Call it from the main thread.
 */
KIV_API void kiv_chart1d_monitor_start(KivChart1D *kiv, int tim);
/**
 * kiv_chart1d_monitor_stop:
 * @kiv: a chart; it is not checked
 *
 * Stops the timer of kiv_chart1d_monitor_start().  Harmless when no timer
 * runs.
 */
KIV_API void kiv_chart1d_monitor_stop(KivChart1D *kiv);
/**
 * kiv_chart1d_sync_range:
 * @h: a chart
 * @z: %TRUE to follow the main function's range, %FALSE to stop
 *
 * While on, the chart takes the x range of its main function and queues a
 * redraw whenever that function emits #KivFunction::range-changed, that
 * is whenever its range or binning changes (including a rebin from
 * another chart's range dialog).  The connection follows the main
 * function when #KivChart1D:func replaces it.  Turning it on twice makes
 * one connection, off twice disconnects once.  On a chart without a main
 * function GLib logs a critical about the failed connection, but the
 * request stands and the next main function is connected.
 *
 * The chart is told in the thread that changes the function, and queues
 * its redraw from there: while this is on, change the function's range
 * from the main thread only.  A @h that is not a chart logs the critical
 * "kiv_chart1d_sync_range: assertion 'KIV_IS_CHART1D(h)' failed".
 */
KIV_API void kiv_chart1d_sync_range(KivChart1D *h, gboolean z);

/**
 * item_data:
 * @item: the identifier of a popup menu item, the record's index in
 *   #itmData
 * @kiv: (nullable): the chart that the item acts on, %NULL until a menu
 *   was built
 *
 * The record through which an item of a chart's popup menu acts: each
 * item of the menu is connected with the address of its record in
 * #itmData.
 */
typedef struct {
  int item;
  KivChart1D *kiv;
} item_data;

/**
 * itmData:
 *
 * The item records of the charts' popup menus: one per menu item
 * identifier, 24 in all, zero until the first menu is built.  Every time a
 * chart builds its popup menu (at each right-button press) all records are
 * rewritten with their index and that chart, so the table always refers to
 * the chart whose menu is open.  It is shared by all charts and only read
 * and written in the main thread; applications have no reason to change
 * it.
 */
KIV_API extern item_data itmData[];

/**
 * chart1d_get_double:
 * @str: (nullable): the text of an entry
 * @def: the value to return when @str holds no number
 *
 * The number at the start of @str, as the chart's range dialogs read their
 * entries: leading white space is skipped, trailing text ignored, and the
 * decimal separator is always "." whatever the locale.  "inf" and "nan"
 * read as numbers.
 *
 * Returns: the number, or @def when @str is %NULL, does not start with a
 *   number, or holds one too large or too small for a double
 */
KIV_API double chart1d_get_double(const char *str, double def);

/**
 * get_file_name:
 * @title: the title of the dialog
 * @for_open: %TRUE to choose a file to open, %FALSE one to save
 * @filters: (nullable) (array zero-terminated=1): %NULL, or a
 *   %NULL-terminated list of file filters, each a shell pattern
 *   optionally preceded by a display name and "|" ("PNG files|*.png")
 *
 * Runs a modal file chooser with Cancel and Open buttons and the given
 * filters, in a nested main loop, and destroys it.  Call it from the main
 * thread.
 *
 * Returns: (transfer full) (nullable) (type filename): the chosen path,
 *   which the caller frees with g_free(), or %NULL when the user
 *   cancelled
 */
KIV_API gchar *get_file_name(const char *title, gboolean for_open, const char **filters);

G_END_DECLS

#endif /* KIV_CHART1D_H */
