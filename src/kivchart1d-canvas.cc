/* kivchart1d-canvas.cc: the layout of a chart's canvas (margins, axis
 * multipliers, legend reserve, the colour-scale reserve and square area of
 * the two-dimensional chart, linear and logarithmic mappings), the
 * transforms between data and pixels, and the Pango text helpers that all
 * chart and gauge text goes through. */
#include "kivchart-protected.h"
#include "kivchart1d-private.h"
#include "axis.h"
#include "kiv-private.h"

#include <pango/pangocairo.h>

#include <algorithm>
#include <cmath>

namespace {

/* The axis multiplier of a range: 10^exponent, or 1 for exponent 0. */
void canvas_axis_multiplier(double lo, double hi, double *mantisa, double *exponent) {
  double m = 0.0;
  get_order_of_magnitude(lo, hi, 3.0, &m, exponent);
  *mantisa = *exponent != 0.0 ? std::pow(10.0, *exponent) : 1.0;
}

/* Ranges narrower than this are mapped as if their limits were equal: a
 * step of pixels per unit over them overflows a double (the widest canvas
 * has some 10^9 pixels), which would put every tick and label infinitely
 * far away. */
constexpr double kNarrowestRange = 1e-290;

/* The mapping divides by the width of the range, so a range that has none
 * (equal limits, a width too narrow to divide by, a NaN or infinite limit,
 * or a width that overflows a double) is replaced on the canvas by one
 * that has: equal limits are widened upwards by one unit (by a millionth
 * of the value where one unit is lost in rounding), a range without finite
 * limits becomes [0, 1], and a width that overflows is halved about zero.
 * The chart's own limits are not touched; the next redraw starts again
 * from them. */
void canvas_make_range_usable(double *lo, double *hi) {
  if (!std::isfinite(*lo) || !std::isfinite(*hi)) {
    *lo = 0.0;
    *hi = 1.0;
    return;
  }
  if (std::fabs(*hi - *lo) < kNarrowestRange) {
    double d = std::max(1.0, std::fabs(*lo) * 1e-6);
    if (std::isfinite(*lo + d)) {
      *hi = *lo + d;
    } else {
      *lo -= d;
    }
    return;
  }
  if (!std::isfinite(*hi - *lo)) {
    *lo *= 0.5;
    *hi *= 0.5;
  }
}

/* Pixels per unit of a linear axis, or per decade of a logarithmic one.
 * A logarithmic axis spans rint(l2 - l1) + 1 decades from the logarithm of
 * its lower limit; limits whose logarithms round to a count below one
 * (an upper limit a decade or more under the lower one) are given one
 * decade rather than a division by zero or a mirrored axis. */
double canvas_axis_step(int pixels, double lo, double hi, bool log, gboolean *is_log,
                        double *log_lo) {
  *is_log = FALSE;
  if (!log)
    return pixels / (hi - lo);
  double l2 = hi > 0.0 ? std::log10(hi) : 1.0;
  double l1 = lo > 0.0 ? std::log10(lo) : 0.0;
  double decades = std::max(1.0, std::rint(l2 - l1) + 1.0);
  *is_log = TRUE;
  *log_lo = l1;
  return pixels / decades;
}

/* Where a two-dimensional chart keeps its square flag, as object data. */
GQuark chart1d_square_flag_quark() {
  static const GQuark quark = g_quark_from_static_string("kiv-chart1d-square-flag");
  return quark;
}

} // namespace

void _kiv_chart1d_set_square_flag(KivChart1D *h, const gboolean *squared) {
  g_object_set_qdata(G_OBJECT(h), chart1d_square_flag_quark(),
                     const_cast<gboolean *>(squared));
}

gboolean _kiv_chart1d_is_2d(KivChart1D *h) {
  return g_object_get_qdata(G_OBJECT(h), chart1d_square_flag_quark()) != NULL;
}

gboolean _kiv_chart1d_is_squared(KivChart1D *h) {
  const gboolean *squared =
      static_cast<const gboolean *>(g_object_get_qdata(G_OBJECT(h), chart1d_square_flag_quark()));
  return squared != NULL && *squared;
}

namespace {

/* The character sizes of the text font and the size of the off-screen
 * image, which the margins are counted in. */
void canvas_measure(KivChart1D *h) {
  KivCanvas *c = h->cnvs;
  GtkWidget *widget = GTK_WIDGET(h);
  PangoRectangle r;
  _kiv_get_layout_extent(widget, c->cairo, "X", &r, c->text_font);
  c->character_width = r.width;
  c->character_height = r.height;
  _kiv_get_layout_extent(widget, c->cairo, "<span size=\"smaller\">X</span>", &r, c->text_font);
  c->small_character_width = r.width;
  c->small_character_height = r.height;

  c->canvas_width = c->surface != NULL ? cairo_image_surface_get_width(c->surface) : 0;
  c->canvas_height = c->surface != NULL ? cairo_image_surface_get_height(c->surface) : 0;
}

/* The margins and the plotting area: room for the y labels on the left,
 * the x labels and title below, and the colour scale of a 2D chart on the
 * right. */
void canvas_place_plot(KivChart1D *h, bool is2d) {
  KivCanvas *c = h->cnvs;
  unsigned long xopts = kiv::axis_pos(h->drawaxis, KIV_AXIS_X_MASK);
  unsigned long yopts = kiv::axis_pos(h->drawaxis, KIV_AXIS_Y_MASK);
  PangoRectangle r;
  kiv::CharPtr label(g_strdup_printf("%+0.4g", std::ceil(c->ymax / c->mantisa_y)));
  _kiv_get_layout_extent(GTK_WIDGET(h), c->cairo, label.get(), &r, c->text_font);
  int label_width = r.width;

  c->ox = (yopts & KIV_AXIS_LEFT) ? label_width + 3 * c->character_width : c->character_width;
  c->oy = (xopts & KIV_AXIS_LEFT) ? 2 * c->character_height
                                  : static_cast<int>(1.5 * c->character_height);

  if (is2d) {
    canvas_axis_multiplier(c->zmin, c->zmax, &c->mantisa_z, &c->exponent_z);
    c->cscale.width = static_cast<int>(3.5 * c->character_width);
    c->wz = static_cast<int>(3.5 * c->character_width + c->cscale.width);
  } else {
    c->wz = c->ox;
  }

  c->wx = c->canvas_width - c->ox - c->wz;
  c->px0 = c->ox;
  c->px1 = c->ox + c->wx;

  int bottom;
  if ((xopts & KIV_AXIS_LEFT) && h->xtitle != NULL)
    bottom = static_cast<int>(2.5 * c->character_height);
  else if (xopts & KIV_AXIS_LEFT)
    bottom = static_cast<int>(1.25 * c->character_height);
  else
    bottom = c->character_height;
  c->py0 = c->canvas_height - bottom;
  c->py1 = c->oy;
  c->wy = c->py0 - c->py1;
}

/* A squared 2D chart shrinks the longer side of its plotting area. */
void canvas_make_square(KivCanvas *c) {
  if (c->wx > c->wy) {
    c->wx = c->wy;
    c->px1 = c->px0 + c->wx;
  } else {
    c->wy = c->wx;
    c->py0 = c->py1 + c->wy;
  }
}

/* With more than one curve the legend takes its width from the plotting
 * area, beside it and centred on it. */
void canvas_place_legend(KivChart1D *h) {
  KivCanvas *c = h->cnvs;
  if (c->legend != NULL) {
    g_object_unref(c->legend);
    c->legend = NULL;
  }
  if (g_list_length(h->curves) <= 1)
    return;
  c->legend = _kiv_get_pango_layout(GTK_WIDGET(h), c->cairo, c->text_font);
  chart1d_fill_legend_layout(h, c->legend);
  int gw = 0, gh = 0;
  pango_layout_get_pixel_size(c->legend, &gw, &gh);
  c->wx -= gw;
  c->leg_x = c->ox + c->wx + static_cast<int>(gw * 0.25 / 2.0);
  c->leg_y = c->py1 + (c->wy - gh) / 2;
}

void canvas_place_color_scale(KivCanvas *c) {
  c->cscale.height = c->wy;
  c->cscale.x = c->px1 + c->character_width;
  c->cscale.y = c->py1;
  c->wz = c->wy;
  c->pz0 = c->py0;
  c->pz1 = c->py1;
  c->oz = c->cscale.x + c->cscale.width;
  /* A histogram whose nonzero cells all hold one value (or none) has an
   * empty colour range, which the colour map must see as it is: the
   * scale then maps every value to the bottom of the axis.  So does a
   * range too narrow to divide by. */
  double zstp = c->wz / (c->zmax - c->zmin);
  c->zstp = std::isfinite(zstp) ? zstp : 0.0;
}

} // namespace

void canvas_set(KivChart1D *h) {
  g_return_if_fail(KIV_IS_CHART1D(h));

  KivCanvas *c = h->cnvs;
  bool is2d = _kiv_chart1d_is_2d(h);

  canvas_make_range_usable(&c->xmin, &c->xmax);
  canvas_make_range_usable(&c->ymin, &c->ymax);
  canvas_axis_multiplier(c->xmin, c->xmax, &c->mantisa_x, &c->exponent_x);
  canvas_axis_multiplier(c->ymin, c->ymax, &c->mantisa_y, &c->exponent_y);

  canvas_measure(h);
  canvas_place_plot(h, is2d);
  if (is2d && _kiv_chart1d_is_squared(h))
    canvas_make_square(c);
  canvas_place_legend(h);
  if (is2d)
    canvas_place_color_scale(c);

  c->xstp = canvas_axis_step(c->wx, c->xmin, c->xmax, h->attr & KIV_LOGX, &c->logx, &c->lxmin);
  c->ystp = canvas_axis_step(c->py0 - c->py1, c->ymin, c->ymax, h->attr & KIV_LOGY, &c->logy,
                             &c->lymin);
}

void canvas_transform(KivCanvas *cnvs, double x, double y, KivPoint *pt) {
  double x0 = cnvs->logx ? cnvs->lxmin : cnvs->xmin;
  double y0 = cnvs->logy ? cnvs->lymin : cnvs->ymin;
  pt->x = (x - x0) * cnvs->xstp + cnvs->px0;
  pt->y = cnvs->py0 - (y - y0) * cnvs->ystp;
  if (pt->y > cnvs->py0)
    pt->y = cnvs->py0;
  if (pt->y < cnvs->py1)
    pt->y = cnvs->py1;
}

void canvas_transform_inv(KivCanvas *cnvs, int ix, int iy, double *x, double *y) {
  double x0 = cnvs->logx ? cnvs->lxmin : cnvs->xmin;
  double y0 = cnvs->logy ? cnvs->lymin : cnvs->ymin;
  *x = (ix - cnvs->px0) / cnvs->xstp + x0;
  *y = y0 - (iy - cnvs->py0) / cnvs->ystp;
}

KivPoint *canvas_transform_tuple(KivCanvas *cnvs, KivTuple *t) {
  KivPoint *out = g_new(KivPoint, t->n);
  for (int i = 0; i < t->n; i++)
    canvas_transform(cnvs, t->P[i].x, t->P[i].y, &out[i]);
  return out;
}

PangoLayout *_kiv_get_pango_layout(GtkWidget *w, cairo_t *, const char *font_family) {
  PangoLayout *layout = pango_layout_new(gtk_widget_get_pango_context(w));
  PangoFontDescription *desc = pango_font_description_copy(gtk_widget_get_style(w)->font_desc);
  pango_font_description_set_family(desc, font_family);
  pango_layout_set_font_description(layout, desc);
  pango_font_description_free(desc);
  return layout;
}

void _kiv_draw_string(GtkWidget *w, cairo_t *cairo, gint x, gint y, const char *s,
                      const char *font_family) {
  kiv::LayoutPtr layout(_kiv_get_pango_layout(w, cairo, font_family));
  pango_layout_set_markup(layout.get(), s, -1);
  cairo_move_to(cairo, x, y);
  pango_cairo_show_layout(cairo, layout.get());
}

/* Broken markup would make Pango refuse the whole layout with a warning
 * at every redraw, and a legend or title with it would show nothing.  Such
 * text is not markup the caller meant, so it is shown as plain text; text
 * that is not even UTF-8 has its bad bytes replaced first. */
gchar *_kiv_safe_markup(const char *text) {
  kiv::CharPtr valid(g_utf8_make_valid(text, -1));
  if (pango_parse_markup(valid.get(), -1, 0, NULL, NULL, NULL, NULL))
    return valid.release();
  return g_markup_escape_text(valid.get(), -1);
}

void _kiv_get_layout_extent(GtkWidget *w, cairo_t *cairo, const char *text,
                            PangoRectangle *fsize, const char *font) {
  kiv::LayoutPtr layout(_kiv_get_pango_layout(w, cairo, font));
  pango_layout_set_markup(layout.get(), text, -1);
  pango_layout_get_pixel_extents(layout.get(), NULL, fsize);
}
