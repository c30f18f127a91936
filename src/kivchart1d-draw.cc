/* kivchart1d-draw.cc: the default drawing steps of KivChart1D: the frame
 * (points and y range of a redraw), the curves, the legend text, the
 * statistics box with the tracer marker, and the axes with their labels,
 * titles and the pointer read-out. */
#include "kivchart-protected.h"
#include "kivchart1d-private.h"
#include "axis.h"
#include "function-private.h"
#include "histogram.h"
#include "tracer.h"
#include "kiv-private.h"

#include <pango/pangocairo.h>

#include <cfloat>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

/* Length of a major tick, of a minor tick, in pixels. */
constexpr int kMajorTick = 5;
constexpr int kMinorTick = 2;

/* More divisions than this on one axis can only come from a range that
 * single precision cannot divide (limits near 1e30, or a width below the
 * spacing of floats at the limits); such an axis is not drawn rather than
 * looping for ever or piling up ticks. */
constexpr float kMaxDivisions = 1000.0f;

double chart1d_to_log(double v) {
  return v > 0.0 ? std::log10(v) : 0.0;
}

/* Widens the y range of the redraw so that the data fill it with a tenth
 * of its height to spare at the top, and at the bottom unless the data
 * start at exactly 0. */
void chart1d_finish_yrange(KivCanvas *c) {
  bool have_min = c->ymin != DBL_MAX;
  bool have_max = c->ymax != -DBL_MAX;
  if (!have_min && !have_max) {
    c->ymin = c->ymax = 0.0;
  } else if (!have_min) {
    c->ymin = c->ymax;
  } else if (!have_max) {
    c->ymax = c->ymin;
  }
  if (c->ymin == c->ymax)
    c->ymax = c->ymin + 10.0;
  double r = c->ymax - c->ymin;
  if (std::fabs(c->ymin) * 0.1 > r)
    r = std::fabs(c->ymin) * 0.1;
  if (c->ymin != 0.0)
    c->ymin -= 0.1 * r;
  c->ymax += 0.1 * r;
}

/* Where an axis and its ticks go.  Vertical axes (y and the z axis of a
 * two-dimensional chart) grow upwards from oy, the x axis to the right. */
struct AxisGeometry {
  KivChartAxisType type;
  int ox;
  int oy;
  double lo;
  double f;

  int position(double v) const {
    return type == KIV_X_AXIS ? kiv::trunc_to_int((v - lo) * f + ox)
                              : kiv::trunc_to_int(oy - (v - lo) * f);
  }

  void tick(cairo_t *cr, int p, int length) const {
    if (type == KIV_X_AXIS) {
      cairo_move_to(cr, p, oy);
      cairo_line_to(cr, p, oy - length);
    } else {
      cairo_move_to(cr, ox, p);
      cairo_line_to(cr, ox + length, p);
    }
  }
};

/* The pixel of an axis placed at the left (bottom), middle or right (top)
 * position. */
int axis_place(int axopts, int left, int middle, int right) {
  return (axopts & KIV_AXIS_LEFT) ? left : (axopts & KIV_AXIS_MIDDLE) ? middle : right;
}

bool divisions_usable(float low, float high, float width) {
  return std::isfinite(width) && width > 0.0f && std::isfinite(low) && std::isfinite(high) &&
         (high - low) / width <= kMaxDivisions;
}

} // namespace

void chart1d_draw_frame(KivChart1D *h) {
  KivCanvas *c = h->cnvs;
  bool logx = h->attr & KIV_LOGX;
  bool logy = h->attr & KIV_LOGY;

  c->xmin = h->xmin;
  c->xmax = h->xmax;
  if (!c->fixed) {
    c->ymin = DBL_MAX;
    c->ymax = -DBL_MAX;
  }

  /* Filled curves keep every point (the fill is the polygon itself), and
   * so do curves on a logarithmic x axis, whose points are not spread
   * evenly over the pixel columns. */
  KivChart1DPrivate *priv = chart1d_private(h);
  bool reducible = !(h->attr & KIV_FILLED) && !logx && !priv->every_point;
  int columns = c->surface != NULL ? cairo_image_surface_get_width(c->surface) : 0;
  KivTuple *tuples = _kiv_chart1d_new_tuples(h, static_cast<int>(g_list_length(h->curves)));
  int i = 0;
  for (GList *l = h->curves; l != NULL; l = l->next, i++) {
    KivTuple *t = &tuples[i];
    KivFunction *f = KIV_FUNCTION(l->data);
    priv->reduced[i] = reducible && chart1d_reduce_curve(f, t, h->xmin, h->xmax, columns);
    if (!priv->reduced[i]) {
      kiv_function_get_array(f, t, h->xmin, h->xmax);
      /* An outline does not drop to the base line at its two ends (a
       * reduced curve comes levelled). */
      if (!(h->attr & KIV_FILLED) && t->n >= 2) {
        t->P[0].y = t->P[1].y;
        t->P[t->n - 1].y = t->P[t->n - 2].y;
      }
    }

    for (int k = 0; k < t->n; k++) {
      KivPoint *p = &t->P[k];
      if (!c->fixed) {
        if (p->y < c->ymin)
          c->ymin = p->y;
        if (p->y > c->ymax)
          c->ymax = p->y;
      }
      if (logy)
        p->y = chart1d_to_log(p->y);
      if (logx)
        p->x = chart1d_to_log(p->x);
    }
  }

  if (!c->fixed)
    chart1d_finish_yrange(c);
}

void chart1d_draw_pixmap(KivChart1D *h) {
  KivCanvas *c = h->cnvs;
  cairo_t *cr = c->cairo;
  kiv::StepState state(cr);
  cairo_set_line_width(cr, c->line_width);
  cairo_set_line_join(cr, CAIRO_LINE_JOIN_ROUND);

  kiv::CurveColorCycle colors(c->curve_colors, &h->colors[KIV_COLOR_CURVE]);
  int ntuples = _kiv_chart1d_n_tuples(h);
  for (int i = 0; i < ntuples; i++) {
    kiv::set_source_color(cr, colors.next());
    if (_kiv_chart1d_tuple_reduced(h, i)) {
      chart1d_paint_reduced(cr, c, &h->xpt[i]);
      continue;
    }
    std::unique_ptr<KivPoint, kiv::GFree> px(canvas_transform_tuple(c, &h->xpt[i]));
    cairo_new_path(cr);
    chart1d_outline_path(cr, px.get(), h->xpt[i].n);
    if (h->attr & KIV_FILLED)
      cairo_fill_preserve(cr);
    cairo_stroke(cr);
  }
}

void chart1d_fill_legend_layout(KivChart1D *h, PangoLayout *layout) {
  GString *text = g_string_new("");
  kiv::CurveColorCycle colors(h->cnvs->curve_colors, &h->colors[KIV_COLOR_FOREGROUND]);
  for (GList *l = h->curves; l != NULL; l = l->next) {
    const GdkColor &col = colors.next();
    char hex[8];
    g_snprintf(hex, sizeof hex, "#%02x%02x%02x", col.red >> 8, col.green >> 8, col.blue >> 8);
    gchar *name = NULL;
    g_object_get(l->data, "name", &name, NULL);
    kiv::CharPtr shown(_kiv_safe_markup(name != NULL ? name : "[unnamed]"));
    g_string_append_printf(text, "<span foreground=\"%s\">%s</span>\n", hex, shown.get());
    g_free(name);
  }
  pango_layout_set_markup(layout, text->str, -1);
  g_string_free(text, TRUE);
}

namespace {

struct StatsSnapshot {
  double entries, mean, stdev;
  double tmean = 0.0, trms = 0.0; /* a tracer's own mean and rms */
};

/* A producer may be filling the histogram in another thread: its
 * statistics and contents are read under its own lock (taken after the
 * canvas mutex, as everywhere).  Over a zoomed x range the statistics are
 * those of the bins shown. */
StatsSnapshot chart1d_read_stats(KivChart1D *h) {
  KivCanvas *c = h->cnvs;
  KivFunction *f = h->func;
  KivHistogram *hist = KIV_HISTOGRAM(f);
  StatsSnapshot s;
  kiv::FunctionLock lock(f);
  KivStats *st = hist->stat;
  if (!(h->xmin == f->xmin && h->xmax == f->xmax)) {
    st = c->stats;
    kiv_stats_reset(st);
    int last = f->nbin - 1;
    int b1 = CLAMP(kiv_function_find_bin(f, c->xmin), 0, last);
    int b2 = CLAMP(kiv_function_find_bin(f, c->xmax), 0, last);
    double x = c->xmin + 0.5 * f->step;
    for (int b = b1; b <= b2; b++) {
      kiv_stats_add(st, x, 0, hist->y[b]);
      x += f->step;
    }
  }
  s.entries = kiv_stats_get_nc(st);
  s.mean = kiv_stats_get_mean(st, 0);
  s.stdev = kiv_stats_get_stdev(st, 0);
  if (KIV_IS_TRACER(f)) {
    s.tmean = kiv_histogram_mean(hist);
    s.trms = kiv_histogram_rms(hist);
  }
  return s;
}

} // namespace

void chart1d_draw_stats(KivChart1D *h) {
  if (h->func == NULL || !KIV_IS_HISTOGRAM(h->func))
    return;

  KivCanvas *c = h->cnvs;
  cairo_t *cr = c->cairo;
  KivFunction *f = h->func;
  const StatsSnapshot s = chart1d_read_stats(h);

  kiv::CharPtr text(g_strdup_printf(
      "<span size=\"smaller\">Entries : % .4e\nMean   : %.4e\nRMS    : %.4e</span>", s.entries,
      s.mean, s.stdev));
  PangoRectangle r;
  _kiv_get_layout_extent(GTK_WIDGET(h), cr, text.get(), &r, "sans");
  _kiv_draw_string(GTK_WIDGET(h), cr, c->canvas_width - r.width, c->character_height, text.get(),
                   "sans");

  if (!KIV_IS_TRACER(f))
    return;

  /* A bar over the mean +- the spread beside the y axis, notched on its
   * right with the tip at the mean. */
  KivPoint p0, p1;
  canvas_transform(c, 0, s.tmean, &p0);
  canvas_transform(c, 0, s.tmean + std::sqrt(s.trms), &p1);
  int ym = kiv::trunc_to_int(p0.y);
  int d = std::abs(kiv::trunc_to_int(p1.y - p0.y));
  if (d <= 3)
    d = 4;
  unsigned long yopts = kiv::axis_pos(h->drawaxis, KIV_AXIS_Y_MASK);
  int X = yopts == KIV_AXIS_LEFT ? c->px0 : yopts == KIV_AXIS_RIGHT ? c->px1 : c->px0 + c->wx / 2;
  int x0 = X + 2, x1 = X + 6;
  const int poly[][2] = {{x0, ym - d}, {x1, ym - d}, {x1, ym - 4}, {x0, ym},
                         {x1, ym + 4}, {x1, ym + d}, {x0, ym + d}, {x0, ym - d}};
  cairo_new_path(cr);
  for (const auto &v : poly)
    cairo_line_to(cr, v[0], v[1]);
  cairo_close_path(cr);
  kiv::set_source_color(cr, h->colors[KIV_COLOR_AXIS]);
  cairo_fill_preserve(cr);
  cairo_stroke(cr);
  kiv::set_source_color(cr, h->colors[KIV_COLOR_FOREGROUND]);
}

float get_value_for_label(float x, double scale, int logx, char *label) {
  float v = static_cast<float>(x / scale);
  if (std::fabs(v) < 1e-5)
    v = 0.0f;
  if (logx)
    v = std::pow(10.0f, v);
  if (label != NULL)
    std::sprintf(label, "%.3g", v);
  return v;
}

namespace {

/* An axis as drawn: where it goes, its range (in decades on a logarithmic
 * axis), its length in pixels, the multiplier of its labels and its title. */
struct AxisLayout {
  AxisGeometry g;
  double hi = 0.0;
  int aw = 0;
  double scale = 1.0;
  const char *title = NULL;
};

/* The major divisions, and the minor ones within each major division. */
struct AxisDivisions {
  double eps = 0.0;
  float wmn = 0.0f, wmx = 0.0f, bw = 0.0f;
  float wmn2 = 0.0f, wmx2 = 0.0f, bw2 = 0.0f;
  bool minor_ticks = false;
};

AxisLayout axis_layout(KivChart1D *h, KivChartAxisType axtype, int axopts, int logx) {
  KivCanvas *c = h->cnvs;
  AxisLayout a = {{axtype, 0, 0, 0.0, 0.0}};
  AxisGeometry &g = a.g;
  switch (axtype) {
  case KIV_X_AXIS:
    a.title = h->xtitle;
    g.ox = c->px0;
    g.oy = axis_place(axopts, c->py0, c->py0 - c->wy / 2, c->py1);
    a.aw = c->wx;
    g.lo = c->xmin;
    a.hi = c->xmax;
    g.f = c->xstp;
    a.scale = logx ? 1.0 : c->mantisa_x;
    break;
  case KIV_Y_AXIS:
    a.title = h->ytitle;
    g.oy = c->py0;
    g.ox = axis_place(axopts, c->px0, c->px0 + c->wx / 2, c->px1);
    a.aw = c->wy;
    if (_kiv_chart1d_is_2d(h)) {
      g_object_get(h, "hymin", &g.lo, "hymax", &a.hi, NULL);
    } else {
      g.lo = c->ymin;
      a.hi = c->ymax;
    }
    g.f = c->ystp;
    a.scale = logx ? 1.0 : c->mantisa_y;
    break;
  case KIV_Z_AXIS:
    g.oy = c->py0;
    g.ox = c->oz;
    a.aw = c->wz;
    g.f = c->zstp;
    a.scale = c->mantisa_z;
    g.lo = c->zmin;
    a.hi = c->zmax;
    break;
  }
  if (logx) {
    g.lo = g.lo > 0.0 ? std::log10(g.lo) : 0.0;
    a.hi = a.hi > 0.0 ? std::rint(std::log10(a.hi) + 0.5) : std::rint(0.5);
  }
  if (a.title == NULL)
    a.title = " ";
  return a;
}

/* Fewer major divisions where ten labels would not fit.  Returns false
 * when the axis has nothing to show. */
bool axis_divisions(KivChart1D *h, const AxisLayout &a, int logx, AxisDivisions *d) {
  KivCanvas *c = h->cnvs;
  /* The canvas layout leaves finite x and y ranges, but the z range and
   * the y range read back from a two-dimensional chart come as they are:
   * an axis without finite limits has nothing to show. */
  if (!std::isfinite(a.g.lo) || !std::isfinite(a.hi))
    return false;
  d->eps = std::fabs(a.hi - a.g.lo) * 1e-5;
  if (std::log10(d->eps) > 3)
    return false;

  int ndiv = 10;
  if (a.g.type == KIV_X_AXIS) {
    char label[32];
    get_value_for_label(static_cast<float>(c->xmax), a.scale, logx, label);
    if (c->character_width * 10 * static_cast<int>(std::strlen(label)) > c->wx)
      ndiv = 5;
  } else if (c->wy < static_cast<int>(10 * 1.2 * c->character_height)) {
    ndiv = 5;
  }

  int nb = 0;
  getbins(static_cast<float>(a.g.lo), static_cast<float>(a.hi), ndiv, &d->wmn, &d->wmx, &nb,
          &d->bw);
  if (std::fabs(a.g.lo - d->wmn) > d->eps)
    d->wmn = d->wmn - d->bw;
  if (std::fabs(d->wmx - a.hi) > d->eps)
    d->wmx = d->wmx + d->bw;
  if (!divisions_usable(d->wmn, d->wmx, d->bw))
    return false;

  double w2 = logx ? std::pow(10.0, d->bw) : d->bw;
  int nb2 = 0;
  getbins(0.0f, static_cast<float>(w2), 5, &d->wmn2, &d->wmx2, &nb2, &d->bw2);
  d->minor_ticks = divisions_usable(d->wmn2, d->wmx2, d->bw2);
  return true;
}

void draw_axis_ticks(KivChart1D *h, const AxisLayout &a, const AxisDivisions &d, int logx) {
  KivCanvas *c = h->cnvs;
  cairo_t *cr = c->cairo;
  GtkWidget *widget = GTK_WIDGET(h);
  const AxisGeometry &g = a.g;

  cairo_new_path(cr);
  cairo_move_to(cr, g.ox, g.oy);
  if (g.type == KIV_X_AXIS)
    cairo_line_to(cr, g.ox + a.aw, g.oy);
  else
    cairo_line_to(cr, g.ox, g.oy - a.aw);

  for (float x = d.wmn; x <= d.wmx; x += d.bw) {
    char label[32];
    get_value_for_label(x, a.scale, logx, label);
    int p = g.position(x);
    if (g.lo <= x && x <= a.hi) {
      g.tick(cr, p, kMajorTick);
      PangoRectangle r;
      _kiv_get_layout_extent(widget, cr, label, &r, c->text_font);
      if (g.type == KIV_X_AXIS)
        _kiv_draw_string(widget, cr, p - r.width / 2, static_cast<int>(g.oy + 0.2 * r.height),
                         label, c->text_font);
      else
        _kiv_draw_string(widget, cr, g.ox - (r.width + 4), static_cast<int>(p + (-r.height) / 2),
                         label, c->text_font);
    }
    if (!d.minor_ticks)
      continue;
    for (float x1 = d.wmn2 + d.bw2; x1 < d.wmx2 + d.eps; x1 += d.bw2) {
      float v = logx ? static_cast<float>(x + std::log10(x1)) : x + x1;
      if (g.lo < v && v < a.hi)
        g.tick(cr, g.position(v), kMinorTick);
    }
  }
  cairo_stroke(cr);
}

void draw_axis_title(KivChart1D *h, const AxisLayout &a) {
  KivCanvas *c = h->cnvs;
  cairo_t *cr = c->cairo;
  GtkWidget *widget = GTK_WIDGET(h);
  kiv::CharPtr shown(_kiv_safe_markup(a.title));
  kiv::CharPtr text(a.scale != 1.0
                        ? g_strdup_printf("<b>%s</b>  x10<sup>%d</sup>", shown.get(),
                                          kiv::trunc_to_int(std::log10(a.scale)))
                        : g_strdup_printf("<b>%s</b>", shown.get()));
  PangoRectangle r;
  _kiv_get_layout_extent(widget, cr, text.get(), &r, c->text_font);
  /* The x title sits on the bottom edge of the widget's allocation, which
   * the off-screen image always has the size of. */
  if (a.g.type == KIV_X_AXIS)
    _kiv_draw_string(widget, cr, a.g.ox + a.aw - r.width, c->canvas_height - r.height,
                     text.get(), c->text_font);
  else
    _kiv_draw_string(widget, cr, a.g.ox - c->character_height, a.g.oy - a.aw - r.height,
                     text.get(), c->text_font);
}

} // namespace

void draw_axis(KivChart1D *h, KivChartAxisType axtype, int axopts, int logx) {
  const AxisLayout a = axis_layout(h, axtype, axopts, logx);
  AxisDivisions d;
  if (!axis_divisions(h, a, logx, &d))
    return;
  draw_axis_ticks(h, a, d, logx);
  draw_axis_title(h, a);
}

void chart1d_draw_axis(KivChart1D *h) {
  KivCanvas *c = h->cnvs;
  cairo_t *cr = c->cairo;

  if (h->drawaxis != 0) {
    kiv::set_source_color(cr, h->colors[KIV_COLOR_AXIS]);
    int ybits = static_cast<int>(kiv::axis_pos(h->drawaxis, KIV_AXIS_Y_MASK));
    int xbits = static_cast<int>(kiv::axis_pos(h->drawaxis, KIV_AXIS_X_MASK));
    if (ybits != 0)
      draw_axis(h, KIV_Y_AXIS, ybits, h->attr & KIV_LOGY);
    if (xbits != 0)
      draw_axis(h, KIV_X_AXIS, xbits, h->attr & KIV_LOGX);
    if (_kiv_chart1d_is_2d(h))
      draw_axis(h, KIV_Z_AXIS, KIV_AXIS_LEFT, 0);
    kiv::set_source_color(cr, h->colors[KIV_COLOR_FOREGROUND]);
  }

  /* The read-out is formatted into a string of its own length, so the
   * longest form (seven numbers) always fits. */
  const KivChartEvent *e = h->evt;
  kiv::CharPtr readout(
      (e->button & KIV_BUTTON_PRESS)
          ? g_strdup_printf("<span size=\"smaller\">X0: %.3g Y0: %.3g X1 %.3g Y1 %.3g DX %.3g "
                            "DY %.3g dx/dy %.3g</span>",
                            e->x0, e->y0, e->x, e->y, e->x - e->x0, e->y - e->y0,
                            (e->x - e->x0) / (e->y - e->y0))
          : g_strdup_printf("<span size=\"smaller\">X: %.3g Y: %3g</span>", e->x, e->y));
  _kiv_draw_string(GTK_WIDGET(h), cr, 0, 0, readout.get(), c->text_font);
}
