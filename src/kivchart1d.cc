/* kivchart1d.cc: KivChart1D, the drawing area that plots sampled functions
 * and histograms: its class and enumerations, properties, curve list, size
 * negotiation and the redraw pipeline.  The drawing steps, the canvas
 * layout, the colours and the pictures live in the kivchart1d-*.cc files. */
#include "kivchart1d.h"
#include "kivchart-protected.h"
#include "kivchart1d-private.h"
#include "axis.h"
#include "kiv-private.h"

#include <algorithm>
#include <cfloat>

enum {
  PROP_0,
  PROP_FUNC,
  PROP_XTITLE,
  PROP_YTITLE,
  PROP_LOGX,
  PROP_LOGY,
  PROP_FILLED,
  PROP_STATS,
  PROP_HXMAX,
  PROP_HXMIN,
  PROP_HYMAX,
  PROP_HYMIN,
  PROP_VMAX,
  PROP_VMIN,
  PROP_TEXT_FONT,
  PROP_AXIS_FONT,
  PROP_LINE_WIDTH,
  PROP_RESERVED, /* 17: kept free, nothing is installed under it */
  PROP_PIXMAP,
  PROP_PNG,
  PROP_JPEG,
  PROP_PDF,
  PROP_SVG,
  PROP_EPS,
};

G_DEFINE_TYPE_WITH_PRIVATE(KivChart1D, kiv_chart1d, GTK_TYPE_DRAWING_AREA)

KivChart1DPrivate *chart1d_private(KivChart1D *h) {
  return static_cast<KivChart1DPrivate *>(kiv_chart1d_get_instance_private(h));
}

namespace {

void chart1d_set_attr(KivChart1D *h, guint bit, gboolean z) {
  if (z)
    h->attr |= bit;
  else
    h->attr &= ~bit;
}

/* The "func" property: the new function replaces the main function at the
 * head of the curve list.  Caller holds the canvas mutex. */
void chart1d_replace_func(KivChart1D *h, KivFunction *f) {
  if (f == NULL || f == h->func)
    return;
  if (h->func != NULL) {
    h->curves = g_list_remove(h->curves, h->func);
    chart1d_disconnect_sync(h);
    g_object_unref(h->func);
  }
  h->func = f;
  if (h->sync_id >= 0)
    chart1d_connect_sync(h);
  g_object_ref(f);
  h->curves = g_list_prepend(h->curves, f);
  h->xmin = f->xmin;
  h->xmax = f->xmax;
  gtk_widget_queue_resize(GTK_WIDGET(h));
}

/* Every string setting of the chart is written here, by its property and
 * by its public setter alike.  The copy is made before the old string is
 * freed, so that a caller passing the chart's own string back is safe. */
void chart1d_replace_string(gchar **slot, const char *s) {
  gchar *copy = g_strdup(s);
  g_free(*slot);
  *slot = copy;
}

void chart1d_set_xlimit(KivChart1D *h, double *canvas_limit, double *chart_limit, double v) {
  *canvas_limit = v;
  *chart_limit = v;
  gtk_widget_queue_resize(GTK_WIDGET(h));
}

void chart1d_set_ylimit(KivChart1D *h, double *canvas_limit, double *chart_limit, double v) {
  KivCanvas *c = h->cnvs;
  *canvas_limit = v;
  *chart_limit = v;
  /* A NaN limit counts as different from the other one. */
  c->fixed = !(c->ymin == c->ymax);
}

/* The off-screen image of an allocation.  GTK never allocates less than
 * one pixel, but an image of no pixels would give the raster pictures
 * nothing to hold, so one pixel is the least made. */
void chart1d_new_surface(KivCanvas *c, int width, int height) {
  if (c->surface != NULL)
    cairo_surface_destroy(c->surface);
  c->surface = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, std::max(width, 1),
                                          std::max(height, 1));
}

} // namespace

void chart1d_connect_sync(KivChart1D *h) {
  h->sync_id = static_cast<int>(g_signal_connect(h->func, "range-changed",
                                                 G_CALLBACK(chart1d_range_changed), h));
}

void chart1d_disconnect_sync(KivChart1D *h) {
  if (h->sync_id >= 0 && h->func != NULL)
    g_signal_handler_disconnect(h->func, static_cast<gulong>(h->sync_id));
}

void chart1d_range_changed(KivFunction *f, KivChart1D *h) {
  g_return_if_fail(KIV_IS_CHART1D(h));
  h->xmin = f->xmin;
  h->xmax = f->xmax;
  gtk_widget_queue_draw(GTK_WIDGET(h));
}

static void kiv_chart1d_size_request(GtkWidget *widget, GtkRequisition *requisition) {
  KivChart1D *h = KIV_CHART1D(widget);
  KivCanvas *c = h->cnvs;

  kiv::LayoutPtr zzz(gtk_widget_create_pango_layout(widget, "ZZZ"));
  int zw = 0, zh = 0;
  pango_layout_get_pixel_size(zzz.get(), &zw, &zh);

  /* getbins leaves its outputs as they were for ranges it cannot divide
   * (beyond about 1e31), hence the preset; a request is kept to a sane
   * number of labels whatever the range. */
  float lo = 0.0f, hi = 0.0f, bw = 0.0f;
  int n = 10;
  getbins(static_cast<float>(h->xmin), static_cast<float>(h->xmax), 10, &lo, &hi, &n, &bw);
  n = std::clamp(n, 0, 50);

  requisition->width = zw * (n + 1) + 4 * c->character_width;
  requisition->height = zh * 8 + 4 * c->character_height;

  if (g_list_length(h->curves) > 1) {
    kiv::LayoutPtr legend(gtk_widget_create_pango_layout(widget, NULL));
    chart1d_fill_legend_layout(h, legend.get());
    int gw = 0, gh = 0;
    pango_layout_get_pixel_size(legend.get(), &gw, &gh);
    requisition->width += static_cast<int>(gw * 1.25);
    requisition->height = std::max(requisition->height, gh);
  }

  GTK_WIDGET_CLASS(kiv_chart1d_parent_class)->size_request(widget, requisition);
}

static void kiv_chart1d_size_allocate(GtkWidget *widget, GtkAllocation *allocation) {
  GTK_WIDGET_CLASS(kiv_chart1d_parent_class)->size_allocate(widget, allocation);

  KivChart1D *h = KIV_CHART1D(widget);
  KivCanvas *c = h->cnvs;
  kiv::MutexLock lock(&c->mutex);
  for (GList *l = h->curves; l != NULL; l = l->next)
    kiv_function_resize(KIV_FUNCTION(l->data), allocation->width - 4 * c->character_width,
                        allocation->height - 4 * c->character_height);
  if (h->func != NULL) {
    h->xmin = h->func->xmin;
    h->xmax = h->func->xmax;
  }
  chart1d_new_surface(c, allocation->width, allocation->height);
}

static gboolean kiv_chart1d_expose(GtkWidget *widget, GdkEventExpose *event) {
  KivChart1D *h = KIV_CHART1D(widget);
  kiv::CairoPtr window(gdk_cairo_create(widget->window));
  if (event != NULL) {
    cairo_rectangle(window.get(), event->area.x, event->area.y, event->area.width,
                    event->area.height);
    cairo_clip(window.get());
  }

  chart1d_draw_canvas(h, NULL);

  kiv::MutexLock lock(&h->cnvs->mutex);
  cairo_set_source_surface(window.get(), h->cnvs->surface, 0, 0);
  cairo_paint(window.get());
  window.reset();
  return FALSE;
}

void chart1d_draw_canvas(KivChart1D *h, cairo_t *cr) {
  /* The pass owns the context it is given from here on, whatever happens. */
  kiv::CairoPtr context(cr);
  g_return_if_fail(KIV_IS_CHART1D(h));

  KivCanvas *c = h->cnvs;
  GtkWidget *widget = GTK_WIDGET(h);
  KivChart1DClass *klass = KIV_CHART1D_GET_CLASS(h);

  /* A chart that was never allocated a size has no off-screen image yet;
   * it is drawn at the size it asks for, so that its pictures show the
   * whole chart.  The request is measured before the mutex is taken. */
  int width = 0, height = 0;
  if (c->surface == NULL)
    _kiv_chart1d_picture_size(h, &width, &height);

  kiv::MutexLock lock(&c->mutex);

  if (c->color_names[KIV_COLOR_BACKGROUND] == NULL) {
    kiv::CharPtr theme(gdk_color_to_string(&gtk_widget_get_style(widget)->bg[GTK_STATE_NORMAL]));
    kiv_chart1d_set_colors(h, "background", theme.get(), NULL);
  }

  _kiv_chart1d_release_tuples(h);

  if (h->colors_changed) {
    chart1d_set_style_colors(h);
    chart1d_set_curve_colors(h);
    h->colors_changed = FALSE;
  }

  if (c->surface == NULL)
    chart1d_new_surface(c, width, height);
  if (!context)
    context.reset(cairo_create(c->surface));
  c->cairo = context.get();

  kiv::set_source_color(c->cairo, h->colors[KIV_COLOR_BACKGROUND]);
  cairo_paint(c->cairo);
  kiv::set_source_color(c->cairo, h->colors[KIV_COLOR_FOREGROUND]);

  if (klass->draw_frame != NULL)
    klass->draw_frame(h);
  canvas_set(h);
  if (klass->draw_pixmap != NULL)
    klass->draw_pixmap(h);

  if (c->legend != NULL) {
    cairo_move_to(c->cairo, c->leg_x, c->leg_y);
    pango_cairo_show_layout(c->cairo, c->legend);
    g_object_unref(c->legend);
    c->legend = NULL;
  }

  if (klass->draw_axis != NULL)
    klass->draw_axis(h);
  if ((h->attr & KIV_STATS) && klass->draw_stats != NULL)
    klass->draw_stats(h);

  context.reset();
  c->cairo = NULL;
}

KivTuple *_kiv_chart1d_new_tuples(KivChart1D *h, int n) {
  _kiv_chart1d_release_tuples(h);
  h->xpt = n > 0 ? g_new0(KivTuple, n) : NULL;
  KivChart1DPrivate *priv = chart1d_private(h);
  priv->nxpt = n;
  priv->reduced = n > 0 ? g_new0(gboolean, n) : NULL;
  return h->xpt;
}

int _kiv_chart1d_n_tuples(KivChart1D *h) {
  return h->xpt != NULL ? chart1d_private(h)->nxpt : 0;
}

gboolean _kiv_chart1d_tuple_reduced(KivChart1D *h, int i) {
  KivChart1DPrivate *priv = chart1d_private(h);
  return h->xpt != NULL && i >= 0 && i < priv->nxpt && priv->reduced[i];
}

void _kiv_chart1d_set_every_point(KivChart1D *h, gboolean every) {
  g_return_if_fail(KIV_IS_CHART1D(h));
  chart1d_private(h)->every_point = every;
}

void _kiv_chart1d_release_tuples(KivChart1D *h) {
  KivChart1DPrivate *priv = chart1d_private(h);
  if (h->xpt != NULL) {
    for (int i = 0; i < priv->nxpt; i++)
      kiv_function_clear_tuple(&h->xpt[i]);
    g_free(h->xpt);
  }
  g_free(priv->reduced);
  priv->reduced = NULL;
  h->xpt = NULL;
  priv->nxpt = 0;
}

static void kiv_chart1d_finalize(GObject *object) {
  KivChart1D *h = KIV_CHART1D(object);
  KivCanvas *c = h->cnvs;

  /* A running monitor timer and a live range connection would otherwise
   * call into a chart that no longer exists. */
  kiv_chart1d_monitor_stop(h);
  chart1d_disconnect_sync(h);

  g_object_unref(c->stats);
  if (c->surface != NULL)
    cairo_surface_destroy(c->surface);
  if (c->legend != NULL)
    g_object_unref(c->legend);
  g_free(c->text_font);
  g_free(c->axis_font);
  for (gchar *name : c->color_names)
    g_free(name);
  g_list_free_full(c->curve_colors, g_free);
  g_mutex_clear(&c->mutex);
  g_free(c);
  g_free(h->evt);
  _kiv_chart1d_release_tuples(h);
  g_free(h->xtitle);
  g_free(h->ytitle);
  g_list_free_full(h->curves, g_object_unref);

  G_OBJECT_CLASS(kiv_chart1d_parent_class)->finalize(object);
}

static void kiv_chart1d_set_property(GObject *object, guint prop_id, const GValue *value,
                                     GParamSpec *pspec) {
  KivChart1D *h = KIV_CHART1D(object);
  KivCanvas *c = h->cnvs;
  kiv::PropertyWriteLock lock(&c->mutex);
  if (!lock.held())
    return;

  switch (prop_id) {
  case PROP_FUNC:
    chart1d_replace_func(h, KIV_FUNCTION(g_value_get_pointer(value)));
    break;
  case PROP_XTITLE:
    chart1d_replace_string(&h->xtitle, g_value_get_string(value));
    break;
  case PROP_YTITLE:
    chart1d_replace_string(&h->ytitle, g_value_get_string(value));
    break;
  case PROP_LOGX:
    chart1d_set_attr(h, KIV_LOGX, g_value_get_boolean(value));
    break;
  case PROP_LOGY:
    chart1d_set_attr(h, KIV_LOGY, g_value_get_boolean(value));
    break;
  case PROP_FILLED:
    chart1d_set_attr(h, KIV_FILLED, g_value_get_boolean(value));
    break;
  case PROP_STATS:
    chart1d_set_attr(h, KIV_STATS, g_value_get_boolean(value));
    break;
  case PROP_HXMIN:
    chart1d_set_xlimit(h, &c->xmin, &h->xmin, g_value_get_double(value));
    break;
  case PROP_HXMAX:
    chart1d_set_xlimit(h, &c->xmax, &h->xmax, g_value_get_double(value));
    break;
  case PROP_HYMIN:
  case PROP_VMIN:
    chart1d_set_ylimit(h, &c->ymin, &h->vmin, g_value_get_double(value));
    break;
  case PROP_HYMAX:
  case PROP_VMAX:
    chart1d_set_ylimit(h, &c->ymax, &h->vmax, g_value_get_double(value));
    break;
  case PROP_TEXT_FONT:
    chart1d_replace_string(&c->text_font, g_value_get_string(value));
    break;
  case PROP_AXIS_FONT:
    chart1d_replace_string(&c->axis_font, g_value_get_string(value));
    break;
  case PROP_LINE_WIDTH:
    c->line_width = g_value_get_double(value);
    break;
  default:
    G_OBJECT_WARN_INVALID_PROPERTY_ID(object, prop_id, pspec);
    break;
  }
}

static void kiv_chart1d_get_property(GObject *object, guint prop_id, GValue *value,
                                     GParamSpec *pspec) {
  KivChart1D *h = KIV_CHART1D(object);
  KivCanvas *c = h->cnvs;

  switch (prop_id) {
  case PROP_FUNC:
    g_value_set_pointer(value, h->func);
    break;
  case PROP_XTITLE:
    g_value_set_string(value, h->xtitle);
    break;
  case PROP_YTITLE:
    g_value_set_string(value, h->ytitle);
    break;
  case PROP_LOGX:
    g_value_set_boolean(value, (h->attr & KIV_LOGX) != 0);
    break;
  case PROP_LOGY:
    g_value_set_boolean(value, (h->attr & KIV_LOGY) != 0);
    break;
  case PROP_FILLED:
    g_value_set_boolean(value, (h->attr & KIV_FILLED) != 0);
    break;
  case PROP_STATS:
    g_value_set_boolean(value, (h->attr & KIV_STATS) != 0);
    break;
  case PROP_HXMIN:
    g_value_set_double(value, c->xmin);
    break;
  case PROP_HXMAX:
    g_value_set_double(value, c->xmax);
    break;
  case PROP_HYMIN:
    g_value_set_double(value, c->ymin);
    break;
  case PROP_HYMAX:
    g_value_set_double(value, c->ymax);
    break;
  case PROP_VMIN:
    g_value_set_double(value, h->vmin);
    break;
  case PROP_VMAX:
    g_value_set_double(value, h->vmax);
    break;
  case PROP_TEXT_FONT:
    g_value_set_string(value, c->text_font);
    break;
  case PROP_AXIS_FONT:
    g_value_set_string(value, c->axis_font);
    break;
  case PROP_LINE_WIDTH:
    g_value_set_double(value, c->line_width);
    break;
  case PROP_PIXMAP:
    g_value_take_object(value, _kiv_get_pixbuf(h));
    break;
  case PROP_PNG:
    g_value_take_boxed(value, _kiv_get_png(h));
    break;
  case PROP_JPEG:
    g_value_take_boxed(value, _kiv_get_jpeg(h));
    break;
  case PROP_PDF:
    g_value_take_boxed(value, _kiv_get_pdf(h));
    break;
  case PROP_SVG:
    g_value_take_boxed(value, _kiv_get_svg(h));
    break;
  case PROP_EPS:
    g_value_take_boxed(value, _kiv_get_eps(h));
    break;
  default:
    G_OBJECT_WARN_INVALID_PROPERTY_ID(object, prop_id, pspec);
    break;
  }
}

static void kiv_chart1d_class_init(KivChart1DClass *klass) {
  GObjectClass *object_class = G_OBJECT_CLASS(klass);
  GtkWidgetClass *widget_class = GTK_WIDGET_CLASS(klass);

  object_class->set_property = kiv_chart1d_set_property;
  object_class->get_property = kiv_chart1d_get_property;
  object_class->finalize = kiv_chart1d_finalize;

  widget_class->expose_event = kiv_chart1d_expose;
  widget_class->size_request = kiv_chart1d_size_request;
  widget_class->size_allocate = kiv_chart1d_size_allocate;

  klass->draw_pixmap = chart1d_draw_pixmap;
  klass->draw_frame = chart1d_draw_frame;
  klass->draw_stats = chart1d_draw_stats;
  klass->draw_axis = chart1d_draw_axis;
  klass->mouse = NULL;
  klass->xtra_menu = NULL;

  const GParamFlags rw = G_PARAM_READWRITE;
  const GParamFlags ro = G_PARAM_READABLE;
  g_object_class_install_property(object_class, PROP_FUNC,
      g_param_spec_pointer("func", "function", "Function to evaluate", rw));
  g_object_class_install_property(object_class, PROP_XTITLE,
      g_param_spec_string("xtitle", "X axis label", "Label for X axis", "X", rw));
  g_object_class_install_property(object_class, PROP_YTITLE,
      g_param_spec_string("ytitle", "Y axis label", "Label for Y axis", "Y", rw));
  g_object_class_install_property(object_class, PROP_LOGX,
      g_param_spec_boolean("logx", "X axis in log scale", "If set shows X axis in log scale",
                           FALSE, rw));
  g_object_class_install_property(object_class, PROP_LOGY,
      g_param_spec_boolean("logy", "Y axis in log scale", "If set shows Y axis in log scale",
                           FALSE, rw));
  g_object_class_install_property(object_class, PROP_FILLED,
      g_param_spec_boolean("filled", "Filled kiv1ds", "If set draws a filled histogram", FALSE,
                           rw));
  g_object_class_install_property(object_class, PROP_STATS,
      g_param_spec_boolean("stats", "Show stats", "If set shows the statistics", FALSE, rw));
  g_object_class_install_property(object_class, PROP_HXMIN,
      g_param_spec_double("hxmin", "hxmin", "Minimum value of X in the histogram range",
                          -DBL_MAX, DBL_MAX, 0.0, rw));
  g_object_class_install_property(object_class, PROP_HXMAX,
      g_param_spec_double("hxmax", "hxmax", "Maximum value of X in the histogram range",
                          -DBL_MAX, DBL_MAX, 1.0, rw));
  g_object_class_install_property(object_class, PROP_HYMIN,
      g_param_spec_double("hymin", "hymin", "Minimum value of Y in the histogram range",
                          -DBL_MAX, DBL_MAX, 0.0, rw));
  g_object_class_install_property(object_class, PROP_HYMAX,
      g_param_spec_double("hymax", "hymax", "Maximum value of Y in the histogram range",
                          -DBL_MAX, DBL_MAX, 1.0, rw));
  g_object_class_install_property(object_class, PROP_VMIN,
      g_param_spec_double("vmin", "vmin", "Minimum value to be shown", -DBL_MAX, DBL_MAX, 0.0,
                          rw));
  g_object_class_install_property(object_class, PROP_VMAX,
      g_param_spec_double("vmax", "vmax", "Maximum value to be shown", -DBL_MAX, DBL_MAX, 1.0,
                          rw));
  g_object_class_install_property(object_class, PROP_LINE_WIDTH,
      g_param_spec_double("line_width", "Line width", "The histogram line width", 0.0, DBL_MAX,
                          1.0, rw));
  g_object_class_install_property(object_class, PROP_TEXT_FONT,
      g_param_spec_string("text_font", "Text Font", "The font used for generic text", "sans",
                          rw));
  g_object_class_install_property(object_class, PROP_AXIS_FONT,
      g_param_spec_string("axis_font", "Axis Fong", "The font used for the Axis labels", "mono",
                          rw));
  g_object_class_install_property(object_class, PROP_PIXMAP,
      g_param_spec_object("pixmap", "pixmap", "Pixbuffer", GDK_TYPE_PIXBUF, ro));
  g_object_class_install_property(object_class, PROP_PNG,
      g_param_spec_boxed("png", "png", "png", G_TYPE_GSTRING, ro));
  g_object_class_install_property(object_class, PROP_JPEG,
      g_param_spec_boxed("jpeg", "jpeg", "jpeg", G_TYPE_GSTRING, ro));
  g_object_class_install_property(object_class, PROP_PDF,
      g_param_spec_boxed("pdf", "pdf", "pdf", G_TYPE_GSTRING, ro));
  g_object_class_install_property(object_class, PROP_SVG,
      g_param_spec_boxed("svg", "svg", "svg", G_TYPE_GSTRING, ro));
  g_object_class_install_property(object_class, PROP_EPS,
      g_param_spec_boxed("eps", "eps", "eps", G_TYPE_GSTRING, ro));
}

static void kiv_chart1d_init(KivChart1D *h) {
  KivCanvas *c = g_new0(KivCanvas, 1);
  h->cnvs = c;
  h->evt = g_new0(KivChartEvent, 1);
  c->stats = kiv_stats_new();
  c->cairo = NULL;
  g_mutex_init(&c->mutex);
  c->text_font = g_strdup("sans");
  c->axis_font = g_strdup("mono");
  c->line_width = 1.0;

  h->func = NULL;
  h->curves = NULL;
  h->xtitle = NULL;
  h->ytitle = NULL;
  h->xpt = NULL;
  h->vmin = h->vmax = h->xmin = h->xmax = h->ymin = h->ymax = 0.0;
  h->drawaxis = 0x11;
  h->attr = 0;
  h->colors_changed = FALSE;
  h->sync_id = -1;
  h->tmout = -1;

  /* The background stays unnamed: the first redraw takes the theme's. */
  kiv_chart1d_set_colors(h, "foreground", "black", "axis", "black", "curve", "black", NULL);

  gtk_widget_set_events(GTK_WIDGET(h), GDK_POINTER_MOTION_MASK | GDK_BUTTON_PRESS_MASK |
                                           GDK_BUTTON_RELEASE_MASK | GDK_KEY_PRESS_MASK);
  g_signal_connect(h, "button_press_event", G_CALLBACK(chart1d_button_press), NULL);
  g_signal_connect(h, "button_release_event", G_CALLBACK(chart1d_button_release), NULL);
  g_signal_connect(h, "motion_notify_event", G_CALLBACK(chart1d_motion_notify), NULL);
  g_signal_connect(h, "key_press_event", G_CALLBACK(chart1d_key_press), NULL);
}

GType kiv_chart_colors_get_type(void) {
  static gsize type_id = 0;
  if (g_once_init_enter(&type_id)) {
    static const GEnumValue values[] = {
        {KIV_COLOR_FOREGROUND, "KIV_COLOR_FOREGROUND", "foreground-color"},
        {KIV_COLOR_BACKGROUND, "KIV_COLOR_BACKGROUND", "background-color"},
        {KIV_COLOR_AXIS, "KIV_COLOR_AXIS", "axis-color"},
        {KIV_COLOR_CURVE, "KIV_COLOR_CURVE", "curve-color"},
        {0, NULL, NULL},
    };
    g_once_init_leave(&type_id, g_enum_register_static("KivChartColors", values));
  }
  return type_id;
}

GType kiv_chart_axis_pos_get_type(void) {
  static gsize type_id = 0;
  if (g_once_init_enter(&type_id)) {
    static const GEnumValue values[] = {
        {KIV_AXIS_NONE, "KIV_AXIS_NONE", "none"},
        {KIV_AXIS_LEFT, "KIV_AXIS_LEFT", "left"},
        {KIV_AXIS_MIDDLE, "KIV_AXIS_MIDDLE", "middle"},
        {KIV_AXIS_RIGHT, "KIV_AXIS_RIGHT", "right"},
        {KIV_AXIS_X_MASK, "KIV_AXIS_X_MASK", "x-mask"},
        {KIV_AXIS_Y_MASK, "KIV_AXIS_Y_MASK", "y-mask"},
        {KIV_AXIS_Z_MASK, "KIV_AXIS_Z_MASK", "z-mask"},
        {0, NULL, NULL},
    };
    g_once_init_leave(&type_id, g_enum_register_static("KivChartAxisPos", values));
  }
  return type_id;
}

GType kiv_chart_attr_get_type(void) {
  static gsize type_id = 0;
  if (g_once_init_enter(&type_id)) {
    static const GEnumValue values[] = {
        {KIV_FILLED, "KIV_FILLED", "filled"},
        {KIV_LOGX, "KIV_LOGX", "logx"},
        {KIV_LOGY, "KIV_LOGY", "logy"},
        {KIV_STATS, "KIV_STATS", "stats"},
        {0, NULL, NULL},
    };
    g_once_init_leave(&type_id, g_enum_register_static("KivChartAttr", values));
  }
  return type_id;
}

GType kiv_chart_axis_type(void) {
  static gsize type_id = 0;
  if (g_once_init_enter(&type_id)) {
    static const GEnumValue values[] = {
        {KIV_X_AXIS, "KIV_X_AXIS", "x-axis"},
        {KIV_Y_AXIS, "KIV_Y_AXIS", "y-axis"},
        {KIV_Z_AXIS, "KIV_Z_AXIS", "z-axis"},
        {0, NULL, NULL},
    };
    g_once_init_leave(&type_id, g_enum_register_static("KivChartAxisType", values));
  }
  return type_id;
}

GtkWidget *kiv_chart1d_new(KivFunction *ff) {
  g_return_val_if_fail(ff != NULL, NULL);

  return GTK_WIDGET(g_object_new(KIV_TYPE_CHART1D,
                                 "func", ff,
                                 "hxmin", ff->xmin,
                                 "hxmax", ff->xmax,
                                 NULL));
}

KivFunction *kiv_chart1d_get_func(KivChart1D *h, int n) {
  g_return_val_if_fail(KIV_IS_CHART1D(h), NULL);

  if (n < 0)
    return NULL;
  return static_cast<KivFunction *>(g_list_nth_data(h->curves, static_cast<guint>(n)));
}

int kiv_chart1d_get_n_func(KivChart1D *h) {
  g_return_val_if_fail(KIV_IS_CHART1D(h), 0);

  return static_cast<int>(g_list_length(h->curves));
}

void kiv_chart1d_add_curve(KivChart1D *h, KivFunction *f) {
  g_return_if_fail(KIV_IS_CHART1D(h));
  /* A NULL curve would be kept in the list and dereferenced by the next
   * redraw, so it is refused like a foreign chart. */
  g_return_if_fail(KIV_IS_FUNCTION(f));

  if (h->func == NULL) {
    kiv_chart1d_set_func(h, f);
    return;
  }
  {
    kiv::MutexLock lock(&h->cnvs->mutex);
    h->curves = g_list_append(h->curves, g_object_ref(f));
  }
  gtk_widget_queue_resize(GTK_WIDGET(h));
}

void kiv_chart1d_remove_curves(KivChart1D *h) {
  g_return_if_fail(KIV_IS_CHART1D(h));

  kiv::MutexLock lock(&h->cnvs->mutex);
  _kiv_chart1d_release_tuples(h);
  /* sync_id keeps its value: the next main function is connected again. */
  chart1d_disconnect_sync(h);
  g_list_free_full(h->curves, g_object_unref);
  h->curves = NULL;
  h->func = NULL;
}

void kiv_chart1d_set_func(KivChart1D *h, KivFunction *f) {
  g_object_set(h, "func", f, NULL);
}

void kiv_chart1d_draw_x_axis(KivChart1D *h, KivChartAxisPos val) {
  h->drawaxis = kiv::with_axis_pos(h->drawaxis, KIV_AXIS_X_MASK, static_cast<unsigned long>(val));
}

void kiv_chart1d_draw_y_axis(KivChart1D *h, KivChartAxisPos val) {
  h->drawaxis = kiv::with_axis_pos(h->drawaxis, KIV_AXIS_Y_MASK, static_cast<unsigned long>(val));
}

void kiv_chart1d_filled(KivChart1D *h, gboolean z) {
  chart1d_set_attr(h, KIV_FILLED, z);
}

void kiv_chart1d_logx(KivChart1D *h, gboolean z) {
  chart1d_set_attr(h, KIV_LOGX, z);
}

void kiv_chart1d_logy(KivChart1D *h, gboolean z) {
  chart1d_set_attr(h, KIV_LOGY, z);
}

void kiv_chart1d_show_stats(KivChart1D *h, gboolean z) {
  chart1d_set_attr(h, KIV_STATS, z);
}

gboolean kiv_chart1d_is_filled(KivChart1D *h) {
  return h->attr & KIV_FILLED;
}

gboolean kiv_chart1d_is_logx(KivChart1D *h) {
  return h->attr & KIV_LOGX;
}

gboolean kiv_chart1d_is_logy(KivChart1D *h) {
  return h->attr & KIV_LOGY;
}

gboolean kiv_chart1d_stats(KivChart1D *h) {
  return h->attr & KIV_STATS;
}

gchar *kiv_chart1d_get_xtitle(KivChart1D *h) {
  return h->xtitle;
}

gchar *kiv_chart1d_get_ytitle(KivChart1D *h) {
  return h->ytitle;
}

/* Unlike the "xtitle" property, which a NULL clears, the setters keep the
 * title they have when given NULL, and they write without the bounded
 * try-lock of property writes. */
void kiv_chart1d_set_xtitle(KivChart1D *h, const char *tit) {
  if (tit == NULL)
    return;
  chart1d_replace_string(&h->xtitle, tit);
}

void kiv_chart1d_set_ytitle(KivChart1D *h, const char *tit) {
  if (tit == NULL)
    return;
  chart1d_replace_string(&h->ytitle, tit);
}
