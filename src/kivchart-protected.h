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

/* All pixel values are device pixels of the off-screen image, y growing
 * downwards.  The layout fields are those of the last canvas_set(). */
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

KIV_API void canvas_set(KivChart1D *h);
KIV_API void canvas_transform(KivCanvas *cnvs, double x, double y, KivPoint *pt);
KIV_API void canvas_transform_inv(KivCanvas *cnvs, int ix, int iy, double *x, double *y);
/* A new array of t->n pixel positions, freed with g_free(). */
KIV_API KivPoint *canvas_transform_tuple(KivCanvas *cnvs, KivTuple *t);

/* Text in the widget's style font with the family replaced by the given
 * one; all texts are Pango markup. */
KIV_API PangoLayout *_kiv_get_pango_layout(GtkWidget *w, cairo_t *cr, const char *font_family);
KIV_API void _kiv_draw_string(GtkWidget *w, cairo_t *cairo, gint x, gint y, const char *s,
                              const char *font_family);
KIV_API void _kiv_get_layout_extent(GtkWidget *w, cairo_t *cairo, const char *text,
                                    PangoRectangle *fsize, const char *font);

G_END_DECLS

#endif /* KIV_CHART_PROTECTED_H */
