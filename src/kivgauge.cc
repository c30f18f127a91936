/* kivgauge.cc: KivGauge, a drawing area that shows one value as a needle on
 * a round dial and records every value it is given in its own tracer. */
#include "kivgauge.h"
#include "axis.h"
#include "kivchart-protected.h"
#include "kiv-private.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <utility>

struct _KivGaugePrivate {
  double ox;          /* centre of the dial in widget pixels */
  double oy;
  double rx;          /* radii of the dial, always equal */
  double ry;
  double cx;          /* size of the dial's drawing area */
  double cy;
  double cdiag;       /* diagonal of the letter "X" in the widget's font */
  double pannel;      /* band width, a fraction of the radius */
  double angmn;       /* needle angle of xmin */
  double step;        /* radians per unit of value */
  double dot;         /* hub radius, a fraction of the radius */
  double sx;
  double ex;          /* decimal exponent of the scale's multiplier */
  cairo_t *cairo;     /* context of the paint in progress, or NULL */
  cairo_surface_t *surface;
  GdkFont *ticks;     /* reserved */
  GdkFont *label;
  GdkFont *upper;
  char *font_family;  /* of the scale labels, title and multiplier */
  GdkColor color;     /* band colour */
  /* The gauge mutex.  The painter (expose, gauge_paint) and size
   * allocation hold it while they lay out and draw; the setters and property
   * writes of the range, title, font and colour hold it only for the swap
   * of the stored value, so a setter called from another thread never
   * frees a string the painter is reading.  It is a leaf: nothing else is
   * taken while it is held, and gtk calls that may paint are made outside
   * it.  The tracer's own mutex is never held together with it. */
  KivMutex mutex;
};

enum {
  PROP_0,
  PROP_XMIN,
  PROP_XMAX,
  PROP_TITLE,
  PROP_COLOR,
  PROP_FONT,
  PROP_DEPTH,
};

G_DEFINE_TYPE_WITH_PRIVATE(KivGauge, kiv_gauge, GTK_TYPE_DRAWING_AREA)

namespace {

constexpr double kPi = G_PI;
constexpr double kBandWidth = 0.2;     /* of the radius */
constexpr double kHubRadius = 0.05;    /* of the radius */
constexpr int kTracerDepth = 128;
constexpr double kRequestInLetters = 17.5;
constexpr int kMajorDivisions = 10;
constexpr int kMinorDivisions = 5;
constexpr float kTrimTolerance = 1e-5f;
constexpr double kTopLabelWindow = 0.018;  /* radians around straight up */
constexpr int kRowGap = 2;                 /* pixels between title rows */
constexpr std::size_t kTextSize = 50;

/* A scale asks for 10 divisions and gets a couple of dozen at most; the
 * bound only matters for ranges too wide to divide in single precision. */
constexpr int kMaxDivisions = 1000;

using kiv::CairoPtr;
using kiv::CharPtr;
using kiv::LayoutPtr;

/* A markup text laid out for painting, with its logical size in pixels. */
struct Text {
  LayoutPtr layout;
  int width;
  int height;
};

Text gauge_layout_text(GtkWidget *widget, cairo_t *cr, const char *family, const char *markup) {
  LayoutPtr layout(_kiv_get_pango_layout(widget, cr, family));
  pango_layout_set_markup(layout.get(), markup, -1);
  PangoRectangle logical;
  pango_layout_get_pixel_extents(layout.get(), NULL, &logical);
  return Text{std::move(layout), logical.width, logical.height};
}

/* Texts are placed by their top-left corner, at fractional positions where
 * the dial's centre falls between pixels. */
void gauge_show_text(cairo_t *cr, const Text &text, double x, double y) {
  cairo_move_to(cr, x, y);
  pango_cairo_show_layout(cr, text.layout.get());
}

/* Writes v with one decimal into a text buffer.  A value very far from the
 * scale (with a reversed range the multiplier can be tiny) does not fit in
 * that form; cutting it would show a wrong number, so it is written in
 * exponent form instead, which always fits. */
void gauge_format_number(char (&buf)[kTextSize], double v) {
  int n = g_snprintf(buf, sizeof buf, "%.1f", v);
  if (n < 0 || static_cast<std::size_t>(n) >= sizeof buf)
    g_snprintf(buf, sizeof buf, "%.6g", v);
}

/* Logical pixel size of the letter "X" in the widget's font. */
void gauge_letter_size(GtkWidget *widget, int *width, int *height) {
  LayoutPtr layout(gtk_widget_create_pango_layout(widget, "X"));
  pango_layout_get_pixel_size(layout.get(), width, height);
}

/* The limits are kept in single precision.  A double beyond its range
 * (the properties take up to DBL_MAX) is held at the largest float of its
 * sign rather than overflowing to infinity. */
float gauge_to_float(double v) {
  return static_cast<float>(std::clamp(v, -static_cast<double>(FLT_MAX),
                                       static_cast<double>(FLT_MAX)));
}

/* The limits of the scale shown.  An empty range has no width to spread
 * the 270 degrees over: its step would be infinite and every angle NaN.
 * Such a gauge shows the range from xmin to xmin + 1, as the axis
 * divisions treat equal limits, widened for large values so that the end
 * still differs from xmin in single precision (and reaching down from
 * xmin where it would pass the largest float).  Limits that are not
 * numbers or infinite (kiv_gauge_set_range takes any float) cannot be
 * divided or mapped at all: the scale is then 0 to 1, as a chart shows
 * such a range, while the value text still shows the value itself. */
struct Scale {
  float lo;
  float hi;
};

Scale gauge_scale(const KivGauge *gg) {
  if (!std::isfinite(gg->xmin) || !std::isfinite(gg->xmax))
    return {0.0f, 1.0f};
  if (gg->xmax != gg->xmin)
    return {gg->xmin, gg->xmax};
  double span = std::max(1.0, std::fabs(static_cast<double>(gg->xmin)) / 65536.0);
  double end = gg->xmin + span;
  if (end <= FLT_MAX)
    return {gg->xmin, static_cast<float>(end)};
  return {static_cast<float>(gg->xmin - span), gg->xmin};
}

/* Calls fn(x) for the divisions x = first + i * width up to last, the last
 * one included or not.  They are counted, not accumulated: the width comes
 * in single precision, and adding it up can overshoot the last division
 * (ten steps of 0.1f pass 1.0) and lose the end of the scale.  A width that
 * is not positive comes from a range that could not be divided (NaN or
 * infinite limits) and gives no division. */
template <typename Fn>
void gauge_each_division(double first, double last, double width, bool with_last, Fn fn) {
  if (!(width > 0.0))
    return;
  double count = std::rint((last - first) / width);
  if (!(count >= 0.0))
    return;
  int n = std::min(kiv::trunc_to_int(count), kMaxDivisions) + (with_last ? 1 : 0);
  for (int i = 0; i < n; i++)
    fn(first + i * width);
}

/* Strokes the part of the ray at angle phi between radii r0 and r1; the
 * angle is mathematical, y pointing up. */
void gauge_ray(cairo_t *cr, const KivGaugePrivate *priv, double phi, double r0, double r1) {
  cairo_move_to(cr, priv->ox + r0 * std::cos(phi), priv->oy - r0 * std::sin(phi));
  cairo_line_to(cr, priv->ox + r1 * std::cos(phi), priv->oy - r1 * std::sin(phi));
  cairo_stroke(cr);
}

void gauge_disc(cairo_t *cr, const KivGaugePrivate *priv, double r, const GdkColor *color) {
  gdk_cairo_set_source_color(cr, color);
  cairo_arc(cr, priv->ox, priv->oy, r, 0.0, 2.0 * kPi);
  cairo_fill(cr);
}

/* The major divisions of the scale, and the minor ones within a major one. */
struct Divisions {
  float wmn = 0.0f, wmx = 0.0f, bw = 0.0f;
  float mwmn = 0.0f, mwmx = 0.0f, mbw = 0.0f;
};

Divisions gauge_divisions(float lo, float hi) {
  /* getbins() leaves its outputs alone for a range it cannot divide, so
   * they start out as an empty scale. */
  Divisions d;
  int nbins = 0;
  getbins(lo, hi, kMajorDivisions, &d.wmn, &d.wmx, &nbins, &d.bw);
  /* getbins() lets its limits lie outside the range by a sliver of a
   * division.  A label there would be clamped onto the end of the scale
   * with a value the range does not hold, so such a limit moves inward. */
  if (lo - d.wmn > kTrimTolerance)
    d.wmn += d.bw;
  if (d.wmx - hi > kTrimTolerance)
    d.wmx -= d.bw;
  int mnbins = 0;
  getbins(0.0f, d.bw, kMinorDivisions, &d.mwmn, &d.mwmx, &mnbins, &d.mbw);
  return d;
}

/* The angle of the low end of the scale and the angle per unit of value. */
void gauge_set_angles(KivGaugePrivate *priv, float lo, float hi) {
  const double range = 2.0 * (kPi - std::fabs(std::atan2(priv->rx, priv->ry)));
  double angmn = std::atan2(-priv->ry, -priv->rx);
  if (angmn < 0.0)
    angmn += 2.0 * kPi;
  priv->angmn = angmn;
  priv->step = range / (static_cast<double>(hi) - lo);
}

/* The coloured band with its ticks, then the face and the hub over it. */
void gauge_draw_band(KivGauge *gg, const Divisions &d) {
  KivGaugePrivate *priv = gg->priv;
  GtkStyle *style = gtk_widget_get_style(GTK_WIDGET(gg));
  cairo_t *cr = priv->cairo;
  const double pc = priv->pannel;
  const double r = priv->rx;
  const double r0 = priv->rx * (1.0 - pc);
  const double r1 = priv->rx * (1.0 - pc / 2.0);
  const double beta = std::atan2(priv->ry, priv->rx);
  const double ox = priv->ox, oy = priv->oy;

  /* The band is clipped out of a full disc: 270 degrees between r0 and r,
   * open at the bottom.  cairo measures these angles with y down. */
  cairo_save(cr);
  const double start = beta + kPi / 2.0, end = kPi / 2.0 - beta;
  cairo_move_to(cr, ox + r0 * std::cos(start), oy + r0 * std::sin(start));
  cairo_line_to(cr, ox + r * std::cos(start), oy + r * std::sin(start));
  cairo_arc(cr, ox, oy, r, start, end);
  cairo_arc_negative(cr, ox, oy, r0, end, start);
  cairo_clip(cr);
  gauge_disc(cr, priv, r, &priv->color);

  gdk_cairo_set_source_color(cr, &style->fg[GTK_STATE_NORMAL]);
  gauge_each_division(d.wmn, d.wmx, d.bw, true,
                      [&](double x) { gauge_ray(cr, priv, gauge_get_phi(gg, x), r0, r); });
  gauge_each_division(d.wmn, d.wmx, d.bw, false, [&](double x) {
    gauge_each_division(d.mwmn, d.mwmx, d.mbw, false,
                        [&](double y) { gauge_ray(cr, priv, gauge_get_phi(gg, x + y), r0, r1); });
  });
  cairo_restore(cr);

  gauge_disc(cr, priv, r0, &style->bg[GTK_STATE_NORMAL]);
  gauge_disc(cr, priv, priv->rx * priv->dot, &style->fg[GTK_STATE_NORMAL]);
}

/* The value of each major division, inside the band, divided by s. */
void gauge_draw_labels(KivGauge *gg, const Divisions &d, double s) {
  KivGaugePrivate *priv = gg->priv;
  GtkWidget *widget = GTK_WIDGET(gg);
  cairo_t *cr = priv->cairo;
  const double rl = priv->rx * (1.0 - priv->pannel) - priv->cdiag;
  gauge_each_division(d.wmn, d.wmx, d.bw, true, [&](double x) {
    double phi = gauge_get_phi(gg, x);
    char buf[kTextSize];
    gauge_format_number(buf, x / s);
    Text text = gauge_layout_text(widget, cr, priv->font_family, buf);
    double xo = rl * std::cos(phi) - text.width / 2.0;
    double yo = text.height / 2.0 + rl * std::sin(phi);
    /* The top label would touch the band's top tick: it is raised. */
    if (std::fabs(phi - kPi / 2.0) < kTopLabelWindow)
      yo += 0.5 * text.height;
    gauge_show_text(cr, text, priv->ox + xo, priv->oy - yo);
  });
}

/* Title and multiplier are stacked upward from the bottom of the area. */
void gauge_draw_titles(KivGauge *gg, double s, double e) {
  KivGaugePrivate *priv = gg->priv;
  GtkWidget *widget = GTK_WIDGET(gg);
  cairo_t *cr = priv->cairo;
  const double ox = priv->ox;
  int row = kiv::trunc_to_int(priv->cy);
  if (gg->title != NULL) {
    /* The title is the caller's markup and may be of any length: it is
     * formatted on the heap and shown in full, since cutting it to a fixed
     * buffer could split a tag or a character and lose the whole text.
     * A title that is not well-formed markup is shown as typed. */
    CharPtr shown(_kiv_safe_markup(gg->title));
    CharPtr markup(g_strdup_printf("<b>%s</b>", shown.get()));
    Text text = gauge_layout_text(widget, cr, priv->font_family, markup.get());
    row -= text.height + kRowGap;
    gauge_show_text(cr, text, ox - text.width / 2, row);
  }
  if (s != 1.0) {
    char buf[kTextSize];
    g_snprintf(buf, sizeof buf, "x10<sup>%d</sup>", kiv::trunc_to_int(e));
    Text text = gauge_layout_text(widget, cr, priv->font_family, buf);
    row -= text.height + kRowGap;
    gauge_show_text(cr, text, ox - text.width / 2, row);
  }
}

/* Builds the scale for the current range and draws band, ticks, face, hub,
 * labels, title and multiplier with the context of the paint in progress. */
void gauge_update_scale(KivGauge *gg) {
  g_return_if_fail(KIV_IS_GAUGE(gg));
  KivGaugePrivate *priv = gg->priv;
  const Scale scale = gauge_scale(gg);
  const float lo = scale.lo, hi = scale.hi;

  double mantisa, e;
  get_order_of_magnitude(lo, hi, 3.0, &mantisa, &e);
  const double s = e != 0.0 ? std::pow(10.0, e) : 1.0;

  const Divisions d = gauge_divisions(lo, hi);
  gauge_set_angles(priv, lo, hi);
  gauge_draw_band(gg, d);
  gauge_draw_labels(gg, d, s);
  gauge_draw_titles(gg, s, e);
  priv->ex = e;
}

void gauge_size_request(GtkWidget *widget, GtkRequisition *requisition) {
  int width, height;
  gauge_letter_size(widget, &width, &height);
  requisition->width = requisition->height = kiv::trunc_to_int(width * kRequestInLetters);
  GTK_WIDGET_CLASS(kiv_gauge_parent_class)->size_request(widget, requisition);
}

gboolean gauge_expose(GtkWidget *widget, GdkEventExpose *event) {
  g_return_val_if_fail(KIV_IS_GAUGE(widget), FALSE);
  cairo_t *cr = gdk_cairo_create(gtk_widget_get_window(widget));
  if (event != NULL) {
    gdk_cairo_rectangle(cr, &event->area);
    cairo_clip(cr);
  }
  gauge_paint(KIV_GAUGE(widget), cr);
  return FALSE;
}

/* Places the dial in an area of the given size and makes the private
 * image of that size.  Caller holds the private mutex. */
void gauge_place(KivGauge *gg, int width, int height) {
  KivGaugePrivate *priv = gg->priv;
  if (priv->surface != NULL)
    cairo_surface_destroy(priv->surface);
  priv->surface = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, width, height);

  int w, h;
  gauge_letter_size(GTK_WIDGET(gg), &w, &h);
  priv->cdiag = std::sqrt(static_cast<double>(w * w + h * h));

  double cx = width, cy = height;
  double x_offset = 0.0, y_offset = 0.0;
  if (gg->squared) {
    if (cx > cy) {
      x_offset = (cx - cy) / 2.0;
      cx = cy;
    } else {
      y_offset = (cy - cx) / 2.0;
      cy = cx;
    }
  }
  priv->ox = cx / 2.0 + x_offset;
  priv->oy = cy / 2.0 + y_offset;
  priv->rx = priv->ry = std::min(cx / 2.0, cy / 2.0);
  priv->cx = cx;
  priv->cy = cy;
}

void gauge_size_allocate(GtkWidget *widget, GtkAllocation *allocation) {
  g_return_if_fail(KIV_IS_GAUGE(widget));
  g_return_if_fail(allocation != NULL);
  GTK_WIDGET_CLASS(kiv_gauge_parent_class)->size_allocate(widget, allocation);

  KivGauge *gg = KIV_GAUGE(widget);
  {
    kiv::MutexLock lock(&gg->priv->mutex);
    gauge_place(gg, allocation->width, allocation->height);
  }
  if (gtk_widget_get_realized(widget))
    gauge_expose(widget, NULL);
}

/* The one write path of the settings the painter reads: properties and
 * public setters both come here.  A string is copied before the old one
 * goes, since the caller may pass that very string back. */
void gauge_replace_string(KivGauge *gg, char **slot, const char *s) {
  gchar *copy = g_strdup(s);
  gchar *old = NULL;
  {
    kiv::MutexLock lock(&gg->priv->mutex);
    old = *slot;
    *slot = copy;
  }
  g_free(old);
}

void gauge_store_range(KivGauge *gg, float *limit, float v) {
  kiv::MutexLock lock(&gg->priv->mutex);
  *limit = v;
}

} // namespace

static void kiv_gauge_finalize(GObject *object) {
  g_return_if_fail(KIV_IS_GAUGE(object));
  KivGauge *gg = KIV_GAUGE(object);
  KivGaugePrivate *priv = gg->priv;
  g_clear_object(&gg->tracer);
  if (priv->surface != NULL)
    cairo_surface_destroy(priv->surface);
  g_free(gg->title);
  g_free(gg->color);
  g_free(priv->font_family);
  g_mutex_clear(&priv->mutex);
  G_OBJECT_CLASS(kiv_gauge_parent_class)->finalize(object);
}

static void kiv_gauge_set_property(GObject *object, guint prop_id, const GValue *value,
                                   GParamSpec *pspec) {
  g_return_if_fail(KIV_IS_GAUGE(object));
  KivGauge *gg = KIV_GAUGE(object);
  switch (prop_id) {
  case PROP_XMIN:
    gauge_store_range(gg, &gg->xmin, gauge_to_float(g_value_get_double(value)));
    break;
  case PROP_XMAX:
    gauge_store_range(gg, &gg->xmax, gauge_to_float(g_value_get_double(value)));
    break;
  case PROP_TITLE:
    kiv_gauge_set_title(gg, g_value_get_string(value));
    break;
  case PROP_COLOR:
    kiv_gauge_set_color(gg, g_value_get_string(value));
    break;
  case PROP_FONT:
    gauge_replace_string(gg, &gg->priv->font_family, g_value_get_string(value));
    break;
  case PROP_DEPTH:
    g_object_set(gg->tracer, "nx", g_value_get_int(value), NULL);
    break;
  default:
    G_OBJECT_WARN_INVALID_PROPERTY_ID(object, prop_id, pspec);
    break;
  }
}

static void kiv_gauge_get_property(GObject *object, guint prop_id, GValue *value,
                                   GParamSpec *pspec) {
  g_return_if_fail(KIV_IS_GAUGE(object));
  KivGauge *gg = KIV_GAUGE(object);
  switch (prop_id) {
  case PROP_XMIN:
    g_value_set_double(value, gg->xmin);
    break;
  case PROP_XMAX:
    g_value_set_double(value, gg->xmax);
    break;
  case PROP_TITLE:
    g_value_set_string(value, gg->title);
    break;
  case PROP_COLOR:
    g_value_set_string(value, gg->color);
    break;
  case PROP_FONT:
    g_value_set_string(value, gg->priv->font_family);
    break;
  case PROP_DEPTH: {
    int nx = 0;
    g_object_get(gg->tracer, "nx", &nx, NULL);
    g_value_set_int(value, nx);
    break;
  }
  default:
    G_OBJECT_WARN_INVALID_PROPERTY_ID(object, prop_id, pspec);
    break;
  }
}

static void kiv_gauge_class_init(KivGaugeClass *klass) {
  GObjectClass *object_class = G_OBJECT_CLASS(klass);
  GtkWidgetClass *widget_class = GTK_WIDGET_CLASS(klass);

  object_class->set_property = kiv_gauge_set_property;
  object_class->get_property = kiv_gauge_get_property;
  object_class->finalize = kiv_gauge_finalize;

  widget_class->size_request = gauge_size_request;
  widget_class->size_allocate = gauge_size_allocate;
  widget_class->expose_event = gauge_expose;

  const GParamFlags rw = static_cast<GParamFlags>(G_PARAM_READWRITE);
  g_object_class_install_property(object_class, PROP_XMIN,
      g_param_spec_double("xmin", "xmin", "Minimum value of X", -G_MAXDOUBLE, G_MAXDOUBLE, 0.0, rw));
  g_object_class_install_property(object_class, PROP_XMAX,
      g_param_spec_double("xmax", "xmax", "Maximum value of X", -G_MAXDOUBLE, G_MAXDOUBLE, 1.0, rw));
  g_object_class_install_property(object_class, PROP_TITLE,
      g_param_spec_string("title", "Graph Title", "Graph Title", "Title", rw));
  g_object_class_install_property(object_class, PROP_COLOR,
      g_param_spec_string("color", "Graph Color", "Graph Color", "Color", rw));
  g_object_class_install_property(object_class, PROP_FONT,
      g_param_spec_string("font", "Font", "Font", "Font", rw));
  g_object_class_install_property(object_class, PROP_DEPTH,
      g_param_spec_int("depth", "depth", "the memory depth", 16, 999999, kTracerDepth, rw));
}

static void kiv_gauge_init(KivGauge *gg) {
  gg->priv = static_cast<KivGaugePrivate *>(kiv_gauge_get_instance_private(gg));
  KivGaugePrivate *priv = gg->priv;
  g_mutex_init(&priv->mutex);
  priv->pannel = kBandWidth;
  priv->dot = kHubRadius;
  priv->sx = 1.0;
  priv->ex = 0.0;
  priv->cairo = NULL;
  priv->surface = NULL;
  priv->ticks = priv->label = priv->upper = NULL;
  priv->font_family = g_strdup("sans");

  gg->val = 0.0f;
  gg->xmin = 0.0f;
  gg->xmax = 1.0f;
  gg->title = NULL;
  gg->color = NULL;
  gg->squared = FALSE;
  gg->tracer = kiv_tracer_new(kTracerDepth);
  kiv_gauge_set_color(gg, "red");
}

GtkWidget *kiv_gauge_new(float xmin, float xmax) {
  return GTK_WIDGET(g_object_new(KIV_TYPE_GAUGE, "xmin", static_cast<double>(xmin), "xmax",
                                 static_cast<double>(xmax), NULL));
}

void kiv_gauge_set_value(KivGauge *gg, float v) {
  gg->val = v;
  kiv_histogram_fill(KIV_HISTOGRAM(gg->tracer), v, 1.0);
  gtk_widget_queue_draw(GTK_WIDGET(gg));
}

float kiv_gauge_get_value(KivGauge *gg) {
  return gg->val;
}

void kiv_gauge_set_title(KivGauge *gg, const char *tit) {
  gauge_replace_string(gg, &gg->title, tit);
  if (gtk_widget_get_realized(GTK_WIDGET(gg)))
    gtk_widget_queue_resize(GTK_WIDGET(gg));
}

char *kiv_gauge_get_title(KivGauge *gg) {
  return gg->title;
}

void kiv_gauge_set_range(KivGauge *gg, float xmin, float xmax) {
  gauge_store_range(gg, &gg->xmin, xmin);
  gauge_store_range(gg, &gg->xmax, xmax);
  gtk_widget_queue_draw(GTK_WIDGET(gg));
}

void kiv_gauge_set_color(KivGauge *gg, const char *color_name) {
  g_return_if_fail(KIV_IS_GAUGE(gg));
  g_return_if_fail(color_name != NULL);
  GdkColor parsed;
  if (!gdk_color_parse(color_name, &parsed)) {
    g_printerr("Cannot get color %s\n", color_name);
    return;
  }
  GtkWidget *widget = GTK_WIDGET(gg);
  if (gtk_widget_get_realized(widget))
    gdk_color_alloc(gtk_widget_get_colormap(widget), &parsed);
  gauge_replace_string(gg, &gg->color, color_name);
  kiv::MutexLock lock(&gg->priv->mutex);
  gg->priv->color = parsed;
}

void kiv_gauge_set_squared(KivGauge *gg, gboolean squared) {
  g_return_if_fail(KIV_IS_GAUGE(gg));
  gg->squared = squared;
  gtk_widget_queue_draw(GTK_WIDGET(gg));
}

KivTracer *kiv_gauge_get_tracer(KivGauge *gg) {
  return gg->tracer;
}

double gauge_get_phi(KivGauge *gg, double x) {
  const Scale scale = gauge_scale(gg);
  const double lo = scale.lo, hi = scale.hi;
  double v;
  if (x >= lo && x <= hi)
    v = x;
  else
    v = x < lo ? lo : hi;
  return gg->priv->angmn - (v - lo) * gg->priv->step;
}

void gauge_paint(KivGauge *gg, cairo_t *cairo) {
  /* The context is ours to destroy from here on, also when the check
   * below fails. */
  CairoPtr owned(cairo);
  g_return_if_fail(KIV_IS_GAUGE(gg));
  KivGaugePrivate *priv = gg->priv;
  GtkWidget *widget = GTK_WIDGET(gg);

  /* Before its first allocation the gauge has neither a dial nor an image
   * of its own: it is laid out at the size it asks for, as a chart draws
   * its pictures before it has a size.  The request is measured before
   * the mutex is taken. */
  GtkRequisition req = {0, 0};
  if (priv->surface == NULL)
    gtk_widget_size_request(widget, &req);

  kiv::MutexLock lock(&priv->mutex);
  if (priv->surface == NULL)
    gauge_place(gg, std::max(req.width, 1), std::max(req.height, 1));
  if (!owned)
    owned.reset(cairo_create(priv->surface));
  cairo_t *cr = owned.get();
  priv->cairo = cr;

  GtkStyle *style = gtk_widget_get_style(widget);
  gdk_cairo_set_source_color(cr, &style->bg[GTK_STATE_NORMAL]);
  cairo_paint(cr);
  gdk_cairo_set_source_color(cr, &style->fg[GTK_STATE_NORMAL]);
  cairo_set_line_cap(cr, CAIRO_LINE_CAP_ROUND);
  cairo_set_line_join(cr, CAIRO_LINE_JOIN_ROUND);

  gauge_update_scale(gg);

  gdk_cairo_set_source_color(cr, &style->fg[GTK_STATE_NORMAL]);
  gauge_ray(cr, priv, gauge_get_phi(gg, gg->val), 0.0, priv->rx);

  /* The value is always written in "sans": the "font" property sets the
   * family of the scale, title and multiplier only. */
  char buf[kTextSize];
  gauge_format_number(buf, gg->val / std::pow(10.0, priv->ex));
  Text text = gauge_layout_text(widget, cr, "sans", buf);
  gauge_show_text(cr, text, priv->ox - text.width / 2, priv->oy + text.height / 2.0);

  priv->cairo = NULL;
  owned.reset();
}
