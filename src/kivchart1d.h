/* kivchart1d.h: KivChart1D, the drawing area that plots one or more
 * sampled functions and histograms against a common x range. */
#ifndef KIV_CHART1D_H
#define KIV_CHART1D_H

#include "kivgtk.h"
#include <cairo.h>
#include "kivdefs.h"
#include "function.h"

G_BEGIN_DECLS

#define KIV_TYPE_CHART1D            (kiv_chart1d_get_type())
#define KIV_CHART1D(obj)            (G_TYPE_CHECK_INSTANCE_CAST((obj), KIV_TYPE_CHART1D, KivChart1D))
#define KIV_CHART1D_CLASS(klass)    (G_TYPE_CHECK_CLASS_CAST((klass), KIV_TYPE_CHART1D, KivChart1DClass))
#define KIV_IS_CHART1D(obj)         (G_TYPE_CHECK_INSTANCE_TYPE((obj), KIV_TYPE_CHART1D))
#define KIV_IS_CHART1D_CLASS(klass) (G_TYPE_CHECK_CLASS_TYPE((klass), KIV_TYPE_CHART1D))
#define KIV_CHART1D_GET_CLASS(obj)  (G_TYPE_INSTANCE_GET_CLASS((obj), KIV_TYPE_CHART1D, KivChart1DClass))

#define KIV_TYPE_CHART_COLORS       (kiv_chart_colors_get_type())
#define KIV_TYPE_CHART_AXIS_POS     (kiv_chart_axis_pos_get_type())
#define KIV_TYPE_CHART_ATTR         (kiv_chart_attr_get_type())
#define KIV_TYPE_CHART_AXIS_TYPE    (kiv_chart_axis_type())

/* Index of a chart colour in KivChart1D.colors. */
typedef enum {
  KIV_COLOR_FOREGROUND = 0,
  KIV_COLOR_BACKGROUND = 1,
  KIV_COLOR_AXIS = 2,
  KIV_COLOR_CURVE = 3,
  KIV_NCOLORS = 4
} KivChartColors;

/* Position of an axis.  For the x axis LEFT is the bottom edge of the
 * plotting area and RIGHT its top edge.  The masks select one axis in
 * KivChart1D.drawaxis: bits 0-3 the x axis, bits 4-7 the y axis. */
typedef enum {
  KIV_AXIS_NONE = 0,
  KIV_AXIS_LEFT = 1,
  KIV_AXIS_MIDDLE = 2,
  KIV_AXIS_RIGHT = 4,
  KIV_AXIS_X_MASK = 0xF,
  KIV_AXIS_Y_MASK = 0xF0,
  KIV_AXIS_Z_MASK = 0xF00
} KivChartAxisPos;

/* Attribute bits of KivChart1D.attr. */
typedef enum {
  KIV_FILLED = 1,
  KIV_LOGX = 2,
  KIV_LOGY = 4,
  KIV_STATS = 8
} KivChartAttr;

typedef enum {
  KIV_X_AXIS = 0,
  KIV_Y_AXIS = 1,
  KIV_Z_AXIS = 2
} KivChartAxisType;

/* The pointer state of a chart: button is a bit set (1 while a button is
 * held down, 2 once one was released); x, y is the last pointer position
 * and x0, y0 the anchor of the current drag, both in data coordinates. */
typedef struct _KivChartEvent {
  unsigned int key;
  unsigned int button;
  double x;
  double y;
  double x0;
  double y0;
} KivChartEvent;

/* The drawing state of a chart, declared in kivchart-protected.h. */
typedef struct _KivCanvas KivCanvas;

typedef struct _KivChart1D KivChart1D;
typedef struct _KivChart1DClass KivChart1DClass;

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

struct _KivChart1DClass {
  GtkDrawingAreaClass parent_class;
  void (*draw_pixmap)(KivChart1D *h);
  void (*draw_frame)(KivChart1D *h);
  void (*draw_stats)(KivChart1D *h);
  void (*draw_axis)(KivChart1D *h);
  void (*mouse)(KivChart1D *h);
  void (*xtra_menu)(KivChart1D *h, GtkWidget *menu);
};

KIV_API GType kiv_chart1d_get_type(void) G_GNUC_CONST;
KIV_API GType kiv_chart_colors_get_type(void) G_GNUC_CONST;
KIV_API GType kiv_chart_axis_pos_get_type(void) G_GNUC_CONST;
KIV_API GType kiv_chart_attr_get_type(void) G_GNUC_CONST;
KIV_API GType kiv_chart_axis_type(void) G_GNUC_CONST;

KIV_API GtkWidget *kiv_chart1d_new(KivFunction *ff);

KIV_API KivFunction *kiv_chart1d_get_func(KivChart1D *h, int n);
KIV_API int kiv_chart1d_get_n_func(KivChart1D *h);
KIV_API void kiv_chart1d_add_curve(KivChart1D *h, KivFunction *f);
KIV_API void kiv_chart1d_remove_curves(KivChart1D *h);
KIV_API void kiv_chart1d_set_func(KivChart1D *h, KivFunction *f);

KIV_API void kiv_chart1d_draw_x_axis(KivChart1D *h, KivChartAxisPos val);
KIV_API void kiv_chart1d_draw_y_axis(KivChart1D *h, KivChartAxisPos val);
KIV_API void kiv_chart1d_filled(KivChart1D *h, gboolean z);
KIV_API void kiv_chart1d_logx(KivChart1D *h, gboolean z);
KIV_API void kiv_chart1d_logy(KivChart1D *h, gboolean z);
KIV_API void kiv_chart1d_show_stats(KivChart1D *h, gboolean z);
KIV_API gboolean kiv_chart1d_is_filled(KivChart1D *h);
KIV_API gboolean kiv_chart1d_is_logx(KivChart1D *h);
KIV_API gboolean kiv_chart1d_is_logy(KivChart1D *h);
KIV_API gboolean kiv_chart1d_stats(KivChart1D *h);

KIV_API gchar *kiv_chart1d_get_xtitle(KivChart1D *h);
KIV_API gchar *kiv_chart1d_get_ytitle(KivChart1D *h);
KIV_API void kiv_chart1d_set_xtitle(KivChart1D *h, const char *tit);
KIV_API void kiv_chart1d_set_ytitle(KivChart1D *h, const char *tit);

/* Colours are given by name ("black", "#ff0000"): pairs of a key
 * ("foreground", "background", "axis" or "curve") and a name, ended by
 * NULL; the curve colours are a NULL-terminated list of names. */
KIV_API void kiv_chart1d_set_colors(KivChart1D *h, ...) G_GNUC_NULL_TERMINATED;
KIV_API void kiv_chart1d_set_curve_colors(KivChart1D *h, ...) G_GNUC_NULL_TERMINATED;
KIV_API void kiv_chart1d_add_curve_color(KivChart1D *h, gchar *color_name);

/* The value shown at axis position x; formatted into label with "%.3g"
 * when label is not NULL. */
KIV_API float get_value_for_label(float x, double scale, int logx, char *label);

/* The chart's picture, drawn afresh at each call and owned by the caller. */
KIV_API GdkPixbuf *_kiv_get_pixbuf(KivChart1D *h);
KIV_API GString *_kiv_get_png(KivChart1D *h);
KIV_API GString *_kiv_get_jpeg(KivChart1D *h);
KIV_API GString *_kiv_get_pdf(KivChart1D *h);
KIV_API GString *_kiv_get_svg(KivChart1D *h);
KIV_API GString *_kiv_get_eps(KivChart1D *h);
/* The cairo write function of the byte forms: the closure is the address
 * of the receiving GString pointer. */
KIV_API cairo_status_t _kiv_img_to_gstring(GString **str, const unsigned char *data,
                                           unsigned int length);

/* Writes the picture property named by type ("png", "jpeg", "pdf", "svg"
 * or "eps") to file_name; 0 when done, -1 when the file cannot be opened
 * or written whole (no part of it is then left). */
KIV_API int kiv_chart1d_print(KivChart1D *h, const char *file_name, const char *type);

/* Refreshes the chart every tim milliseconds from the main loop, so that
 * data filled by other threads shows up; a running refresh is replaced. */
KIV_API void kiv_chart1d_monitor_start(KivChart1D *kiv, int tim);
KIV_API void kiv_chart1d_monitor_stop(KivChart1D *kiv);
/* While on, the chart takes its main function's x range whenever that
 * function's range or binning changes. */
KIV_API void kiv_chart1d_sync_range(KivChart1D *h, gboolean z);

/* The records that the items of a chart's popup menu act through: one per
 * menu identifier, all rewritten for the chart whose menu is built. */
typedef struct {
  int item;
  KivChart1D *kiv;
} item_data;

KIV_API extern item_data itmData[];

/* The number in a text field: leading white space allowed, trailing text
 * ignored; def when there is no number or it is out of range. */
KIV_API double chart1d_get_double(const char *str, double def);

/* Runs a file chooser and returns the chosen path (g_free it), or NULL.
 * filters is NULL or a NULL-terminated list of patterns, each optionally
 * preceded by a display name and "|" ("PNG files|*.png"). */
KIV_API gchar *get_file_name(const char *title, gboolean for_open, const char **filters);

G_END_DECLS

#endif /* KIV_CHART1D_H */
