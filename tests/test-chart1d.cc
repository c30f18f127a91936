/* Tests of KivChart1D on a real X server: the class, its properties and
 * curve list, the canvas layout and mappings, the drawing steps read back
 * as pixels, colours, the pictures and kiv_chart1d_print. */
#include "kiv-test.h"

#include <atomic>
#include <cfloat>
#include <cstring>
#include <string>
#include <unistd.h>

namespace {

/* ---------------------------------------------------------------------
 * Fixtures: a chart shown in a toplevel window of a known size.
 * ------------------------------------------------------------------- */

using namespace kivtest;

struct Shown : Toplevel {
  KivChart1D *chart;
  Shown(GtkWidget *w, int width, int height) : Toplevel(w, width, height), chart(KIV_CHART1D(w)) {}
  Shown(KivFunction *f, int width, int height) : Shown(kiv_chart1d_new(f), width, height) {}
};

/* The pixel that shows the data point (x, y). */
void assert_at(KivChart1D *h, GdkPixbuf *pb, double x, double y, Rgb want) {
  KivPoint p;
  canvas_transform(h->cnvs, x, y, &p);
  assert_rgb(pb, (int)p.x, (int)p.y, want);
}

/* Draws the chart afresh and throws the picture away: the canvas keeps
 * the layout of that redraw. */
void redraw(KivChart1D *h) {
  g_object_unref(read_pixmap(h));
}

void plain_colors(KivChart1D *h) {
  kiv_chart1d_set_colors(h, "background", "white", "axis", "blue", "curve", "red", "foreground",
                         "black", NULL);
}

/* A histogram of n bins on [lo, hi) with the given contents. */
KivHistogram *histogram_of(int n, double lo, double hi, std::initializer_list<double> contents) {
  KivHistogram *h = kiv_histogram_new(n, lo, hi, NULL);
  int i = 0;
  for (double v : contents)
    kiv_histogram_set_bin_content(h, i++, v);
  return h;
}

PangoRectangle extent(KivChart1D *h, const char *text, const char *font = "sans") {
  PangoRectangle r;
  _kiv_get_layout_extent(GTK_WIDGET(h), NULL, text, &r, font);
  return r;
}

double flat(double) {
  return 3.0;
}

double ramp(double x) {
  return x;
}

std::string gtest_tmp(const char *name) {
  return std::string(g_get_tmp_dir()) + "/chart1d-" + std::to_string(getpid()) + "-" + name;
}

} // namespace

/* ---------------------------------------------------------------------
 * Class, construction and the simple interface.
 * ------------------------------------------------------------------- */

static void test_new(void) {
  kiv_expect_critical("kiv_chart1d_new: assertion 'ff != NULL' failed");
  g_assert_null(kiv_chart1d_new(NULL));
  g_test_assert_expected_messages();

  KivHistogram *hist = kiv_histogram_new(10, 2.0, 12.0, NULL);
  KivChart1D *h = KIV_CHART1D(g_object_ref_sink(kiv_chart1d_new(KIV_FUNCTION(hist))));
  /* The chart holds one reference on its function, and drops it. */
  g_assert_cmpint(G_OBJECT(hist)->ref_count, ==, 2);
  g_assert_true(h->drawaxis == 0x11 && h->attr == 0 && h->xmin == 2.0 && h->xmax == 12.0);
  g_assert_true(h->tmout == -1 && h->sync_id == -1 && h->evt != NULL && h->evt->button == 0);
  for (int i : {KIV_COLOR_FOREGROUND, KIV_COLOR_AXIS, KIV_COLOR_CURVE}) {
    g_assert_cmpuint(h->colors[i].red | h->colors[i].green | h->colors[i].blue, ==, 0);
    g_assert_cmpstr(h->cnvs->color_names[i], ==, "black");
  }
  g_assert_null(h->cnvs->color_names[KIV_COLOR_BACKGROUND]);
  g_assert_cmpstr(h->cnvs->text_font, ==, "sans");
  g_assert_cmpstr(h->cnvs->axis_font, ==, "mono");
  g_assert_true(h->cnvs->line_width == 1.0 && KIV_IS_STATS(h->cnvs->stats));
  g_object_unref(h);
  g_assert_cmpint(G_OBJECT(hist)->ref_count, ==, 1);
  g_object_unref(hist);
}

static void test_enums(void) {
  struct {
    GType type;
    const char *name;
    std::initializer_list<std::pair<int, const char *>> values;
  } cases[] = {
      {kiv_chart_colors_get_type(), "KivChartColors",
       {{0, "foreground-color"}, {1, "background-color"}, {2, "axis-color"}, {3, "curve-color"}}},
      {kiv_chart_axis_pos_get_type(), "KivChartAxisPos",
       {{0, "none"}, {1, "left"}, {2, "middle"}, {4, "right"}, {15, "x-mask"}, {240, "y-mask"},
        {3840, "z-mask"}}},
      {kiv_chart_attr_get_type(), "KivChartAttr",
       {{1, "filled"}, {2, "logx"}, {4, "logy"}, {8, "stats"}}},
      {kiv_chart_axis_type(), "KivChartAxisType", {{0, "x-axis"}, {1, "y-axis"}, {2, "z-axis"}}},
  };
  for (auto &c : cases) {
    g_assert_true(G_TYPE_IS_ENUM(c.type));
    g_assert_cmpstr(g_type_name(c.type), ==, c.name);
    GEnumClass *klass = G_ENUM_CLASS(g_type_class_ref(c.type));
    g_assert_cmpuint(klass->n_values, ==, c.values.size());
    for (auto &v : c.values)
      g_assert_cmpstr(g_enum_get_value(klass, v.first)->value_nick, ==, v.second);
    g_type_class_unref(klass);
  }
}

static void test_properties(void) {
  static const struct {
    guint id;
    const char *name, *nick, *blurb;
    GType type;
    bool writable;
  } specs[] = {
      {1, "func", "function", "Function to evaluate", G_TYPE_POINTER, true},
      {2, "xtitle", "X axis label", "Label for X axis", G_TYPE_STRING, true},
      {3, "ytitle", "Y axis label", "Label for Y axis", G_TYPE_STRING, true},
      {4, "logx", "X axis in log scale", "If set shows X axis in log scale", G_TYPE_BOOLEAN, true},
      {5, "logy", "Y axis in log scale", "If set shows Y axis in log scale", G_TYPE_BOOLEAN, true},
      {6, "filled", "Filled kiv1ds", "If set draws a filled histogram", G_TYPE_BOOLEAN, true},
      {7, "stats", "Show stats", "If set shows the statistics", G_TYPE_BOOLEAN, true},
      {9, "hxmin", "hxmin", "Minimum value of X in the histogram range", G_TYPE_DOUBLE, true},
      {8, "hxmax", "hxmax", "Maximum value of X in the histogram range", G_TYPE_DOUBLE, true},
      {11, "hymin", "hymin", "Minimum value of Y in the histogram range", G_TYPE_DOUBLE, true},
      {10, "hymax", "hymax", "Maximum value of Y in the histogram range", G_TYPE_DOUBLE, true},
      {13, "vmin", "vmin", "Minimum value to be shown", G_TYPE_DOUBLE, true},
      {12, "vmax", "vmax", "Maximum value to be shown", G_TYPE_DOUBLE, true},
      {16, "line_width", "Line width", "The histogram line width", G_TYPE_DOUBLE, true},
      {14, "text_font", "Text Font", "The font used for generic text", G_TYPE_STRING, true},
      {15, "axis_font", "Axis Fong", "The font used for the Axis labels", G_TYPE_STRING, true},
      {18, "pixmap", "pixmap", "Pixbuffer", GDK_TYPE_PIXBUF, false},
      {19, "png", "png", "png", G_TYPE_GSTRING, false},
      {20, "jpeg", "jpeg", "jpeg", G_TYPE_GSTRING, false},
      {21, "pdf", "pdf", "pdf", G_TYPE_GSTRING, false},
      {22, "svg", "svg", "svg", G_TYPE_GSTRING, false},
      {23, "eps", "eps", "eps", G_TYPE_GSTRING, false},
  };
  GObjectClass *klass = G_OBJECT_CLASS(g_type_class_ref(KIV_TYPE_CHART1D));
  guint n = 0, own = 0;
  GParamSpec **all = g_object_class_list_properties(klass, &n);
  for (guint i = 0; i < n; i++)
    own += all[i]->owner_type == KIV_TYPE_CHART1D;
  g_free(all);
  g_assert_cmpuint(own, ==, G_N_ELEMENTS(specs));
  for (const auto &spec : specs) {
    GParamSpec *p = g_object_class_find_property(klass, spec.name);
    g_assert_true(p != NULL && p->owner_type == KIV_TYPE_CHART1D && p->value_type == spec.type);
    g_assert_cmpuint(p->param_id, ==, spec.id);
    g_assert_cmpstr(g_param_spec_get_nick(p), ==, spec.nick);
    g_assert_cmpstr(g_param_spec_get_blurb(p), ==, spec.blurb);
    g_assert_cmpint(p->flags & (G_PARAM_READWRITE | G_PARAM_CONSTRUCT), ==,
                    spec.writable ? G_PARAM_READWRITE : G_PARAM_READABLE);
  }
  GParamSpecDouble *lw = G_PARAM_SPEC_DOUBLE(g_object_class_find_property(klass, "line_width"));
  g_assert_true(lw->minimum == 0.0 && lw->default_value == 1.0);
  g_type_class_unref(klass);
}

static void test_property_values(void) {
  KivFunction *f = kiv_function_new(10, 0.0, 5.0, flat);
  KivChart1D *h = KIV_CHART1D(g_object_ref_sink(kiv_chart1d_new(f)));
  /* The attribute tests answer with the attribute's bit. */
  g_object_set(h, "logy", TRUE, "stats", TRUE, NULL);
  g_assert_cmpint(kiv_chart1d_is_logy(h), ==, 4);
  g_assert_cmpint(kiv_chart1d_stats(h), ==, 8);
  kiv_chart1d_logx(h, TRUE);
  kiv_chart1d_filled(h, TRUE);
  kiv_chart1d_show_stats(h, FALSE);
  g_assert_cmpuint(h->attr, ==, KIV_FILLED | KIV_LOGX | KIV_LOGY);
  kiv_chart1d_draw_x_axis(h, KIV_AXIS_RIGHT);
  kiv_chart1d_draw_y_axis(h, KIV_AXIS_MIDDLE);
  g_assert_cmpuint(h->drawaxis, ==, 0x24);
  kiv_chart1d_draw_y_axis(h, KIV_AXIS_NONE);
  g_assert_cmpuint(h->drawaxis, ==, 0x04);

  /* Titles: the setter ignores NULL, the property clears. */
  kiv_chart1d_set_xtitle(h, "Energy");
  kiv_chart1d_set_xtitle(h, NULL);
  g_assert_cmpstr(kiv_chart1d_get_xtitle(h), ==, "Energy");
  g_object_set(h, "xtitle", NULL, "ytitle", "Counts", NULL);
  g_assert_null(kiv_chart1d_get_xtitle(h));
  g_assert_cmpstr(kiv_chart1d_get_ytitle(h), ==, "Counts");

  /* hxmin/hxmax write both the canvas and the chart; the y limits only
   * fix the range when they differ. */
  g_object_set(h, "hxmin", -1.0, "hxmax", 7.0, NULL);
  g_assert_true(h->xmin == -1.0 && h->cnvs->xmax == 7.0);
  g_object_set(h, "vmin", 2.0, "vmax", 9.0, NULL);
  g_assert_true(h->cnvs->fixed);
  double hymin = 0, vmax = 0;
  g_object_get(h, "hymin", &hymin, "vmax", &vmax, NULL);
  g_assert_true(hymin == 2.0 && vmax == 9.0);
  g_object_set(h, "hymax", 2.0, NULL);
  g_assert_true(!h->cnvs->fixed && h->vmax == 2.0);
  /* The other properties read back what was written. */
  g_object_set(h, "text_font", "serif", "axis_font", "courier", "line_width", 2.5, NULL);
  gchar *tf = NULL, *af = NULL;
  double lw = 0;
  gboolean logx = FALSE, filled = FALSE;
  gpointer fp = NULL;
  g_object_get(h, "text_font", &tf, "axis_font", &af, "line_width", &lw, "logx", &logx, "filled",
               &filled, "func", &fp, NULL);
  g_assert_true(g_strcmp0(tf, "serif") == 0 && g_strcmp0(af, "courier") == 0 && lw == 2.5);
  g_assert_true(logx && filled && fp == f);
  g_free(tf);
  g_free(af);
  g_object_unref(h);
  g_object_unref(f);
}

static void test_curves(void) {
  KivFunction *a = kiv_function_new(10, 0.0, 1.0, flat);
  KivFunction *b = kiv_function_new(10, 0.0, 2.0, ramp);
  KivFunction *c = kiv_function_new(10, 5.0, 6.0, ramp);
  KivChart1D *h = KIV_CHART1D(g_object_ref_sink(kiv_chart1d_new(a)));
  kiv_chart1d_add_curve(h, b);
  g_assert_true(kiv_chart1d_get_n_func(h) == 2 && kiv_chart1d_get_func(h, 1) == b);
  g_assert_true(kiv_chart1d_get_func(h, 5) == NULL && kiv_chart1d_get_func(h, -1) == NULL);
  g_assert_cmpint(G_OBJECT(b)->ref_count, ==, 2);

  /* A new main function replaces the old at the head and takes the range. */
  kiv_chart1d_set_func(h, c);
  g_assert_true(kiv_chart1d_get_n_func(h) == 2 && kiv_chart1d_get_func(h, 0) == c);
  g_assert_true(kiv_chart1d_get_func(h, 1) == b && h->xmin == 5.0 && h->xmax == 6.0);
  g_assert_cmpint(G_OBJECT(a)->ref_count, ==, 1);
  kiv_chart1d_set_func(h, NULL);
  g_assert_true(h->func == c);

  kiv_chart1d_remove_curves(h);
  g_assert_true(kiv_chart1d_get_n_func(h) == 0 && h->func == NULL);
  g_assert_true(G_OBJECT(b)->ref_count == 1 && G_OBJECT(c)->ref_count == 1);
  /* On an empty chart a curve becomes the main function. */
  kiv_chart1d_add_curve(h, a);
  g_assert_true(h->func == a && h->xmax == 1.0);

  kiv_expect_critical("kiv_chart1d_get_n_func: assertion 'KIV_IS_CHART1D(h)' failed");
  g_assert_cmpint(kiv_chart1d_get_n_func(reinterpret_cast<KivChart1D *>(a)), ==, 0);
  kiv_expect_critical("kiv_chart1d_get_func: assertion 'KIV_IS_CHART1D(h)' failed");
  g_assert_null(kiv_chart1d_get_func(NULL, 0));
  kiv_expect_critical("kiv_chart1d_add_curve: assertion 'KIV_IS_CHART1D(h)' failed");
  kiv_chart1d_add_curve(NULL, a);
  kiv_expect_critical("kiv_chart1d_add_curve: assertion 'KIV_IS_FUNCTION(f)' failed");
  kiv_chart1d_add_curve(h, NULL);
  g_test_assert_expected_messages();
  g_assert_cmpint(kiv_chart1d_get_n_func(h), ==, 1);
  g_object_unref(h);
  g_assert_cmpint(G_OBJECT(a)->ref_count, ==, 1);
  for (KivFunction *f : {a, b, c})
    g_object_unref(f);
}

/* While range following is on, the connection moves with the main
 * function and survives the removal of the curves. */
static void test_range_following(void) {
  KivFunction *a = kiv_function_new(10, 0.0, 1.0, flat);
  KivFunction *b = kiv_function_new(10, 0.0, 1.0, flat);
  KivChart1D *h = KIV_CHART1D(g_object_ref_sink(kiv_chart1d_new(a)));
  /* Following requested before any function: the next one is connected. */
  kiv_chart1d_remove_curves(h);
  h->sync_id = 0;
  kiv_chart1d_add_curve(h, a);
  g_assert_cmpint(h->sync_id, >, 0);
  g_object_set(a, "xmin", 3.0, "xmax", 8.0, NULL);
  g_assert_true(h->xmin == 3.0 && h->xmax == 8.0);
  /* The old function is disconnected when it is replaced. */
  kiv_chart1d_set_func(h, b);
  g_object_set(a, "xmin", -4.0, NULL);
  g_assert_cmpfloat(h->xmin, ==, 0.0);
  g_object_set(b, "xmax", 2.0, NULL);
  g_assert_cmpfloat(h->xmax, ==, 2.0);
  /* Finalising the chart disconnects it from a function that outlives it. */
  g_object_unref(h);
  g_object_set(b, "xmax", 3.0, NULL);
  g_object_unref(a);
  g_object_unref(b);
}

/* Writes give up after about 100 ms of a held canvas and are lost; a lock
 * released within that time lets them through. */
static void test_property_write_lock(void) {
  KivFunction *f = kiv_function_new(10, 0.0, 1.0, flat);
  KivChart1D *h = KIV_CHART1D(g_object_ref_sink(kiv_chart1d_new(f)));
  struct Holder {
    GMutex *mutex;
    gint64 hold_us;
    std::atomic<int> held{0}, release{0};
  };
  for (gint64 hold_us : {G_MAXINT64 / 2, gint64(30000)}) {
    Holder hd{&h->cnvs->mutex, hold_us};
    GThread *t = g_thread_new("holder", [](gpointer data) -> gpointer {
      auto *hd = static_cast<Holder *>(data);
      g_mutex_lock(hd->mutex);
      hd->held = 1;
      for (gint64 end = g_get_monotonic_time() + hd->hold_us;
           !hd->release && g_get_monotonic_time() < end;)
        g_usleep(1000);
      g_mutex_unlock(hd->mutex);
      return NULL;
    }, &hd);
    while (!hd.held)
      g_usleep(1000);
    gint64 t0 = g_get_monotonic_time();
    g_object_set(h, "line_width", hold_us > 30000 ? 4.0 : 5.0, NULL);
    gint64 waited = g_get_monotonic_time() - t0;
    hd.release = 1;
    g_thread_join(t);
    if (hold_us > 30000)
      g_assert_true(h->cnvs->line_width == 1.0 && waited >= 90000);
    else
      g_assert_cmpfloat(h->cnvs->line_width, ==, 5.0);
  }
  g_object_unref(h);
  g_object_unref(f);
}

/* ---------------------------------------------------------------------
 * Size negotiation, layout and mapping.
 * ------------------------------------------------------------------- */

static void test_size(void) {
  KivTracer *tr = kiv_tracer_new(50);
  KivFunction *other = kiv_function_new(10, 0.0, 50.0, flat);
  kiv_function_set_name(other, "a rather long curve name");
  Shown s(KIV_FUNCTION(tr), 400, 260);
  KivChart1D *h = s.chart;
  KivCanvas *c = h->cnvs;
  redraw(h);
  /* The tracer is told the width of its plotting area in pixels. */
  s.resize(420, 260);
  g_assert_cmpint(KIV_FUNCTION(tr)->nbin, ==, 420 - 4 * c->character_width);
  g_assert_cmpfloat(h->xmax, ==, KIV_FUNCTION(tr)->xmax);

  /* The handler itself, as GTK runs it: a size set by the caller would
   * replace what gtk_widget_size_request() reports. */
  GtkWidget *w = GTK_WIDGET(h);
  GtkWidgetClass *wc = GTK_WIDGET_GET_CLASS(h);
  wc->size_request(w, &w->requisition);
  GtkRequisition one = w->requisition;
  PangoLayout *zzz = gtk_widget_create_pango_layout(GTK_WIDGET(h), "ZZZ");
  int zw, zh;
  pango_layout_get_pixel_size(zzz, &zw, &zh);
  g_object_unref(zzz);
  float lo, hi, bw = 0;
  int nb = 0;
  getbins(h->xmin, h->xmax, 10, &lo, &hi, &nb, &bw);
  g_assert_cmpint(one.width, ==, zw * (nb + 1) + 4 * c->character_width);
  g_assert_cmpint(one.height, ==, zh * 8 + 4 * c->character_height);
  kiv_chart1d_add_curve(h, other);
  wc->size_request(w, &w->requisition);
  g_assert_cmpint(w->requisition.width, >, one.width);
  g_object_unref(other);
  g_object_unref(tr);
}

static void test_layout(void) {
  KivHistogram *hist = histogram_of(10, 0.0, 10.0, {0, 10, 20, 30, 40, 50, 50, 40, 30, 20});
  Shown s(KIV_FUNCTION(hist), 400, 300);
  KivChart1D *h = s.chart;
  KivCanvas *c = h->cnvs;
  redraw(h);
  PangoRectangle x = extent(h, "X"), sx = extent(h, "<span size=\"smaller\">X</span>");
  int cw = x.width, ch = x.height;
  kiv_assert_each({c->character_width, cw}, {c->character_height, ch},
                  {c->small_character_width, sx.width}, {c->small_character_height, sx.height},
                  {c->canvas_width, 400}, {c->canvas_height, 300});
  g_assert_cmpint(c->small_character_height, <, ch);
  /* Data from 0 to 50 show from 0 to 55; the widest y label is "+55". */
  g_assert_cmpfloat_with_epsilon(c->ymax, 55.0, 1e-12);
  g_assert_true(c->ymin == 0.0 && c->mantisa_x == 1.0 && c->mantisa_y == 1.0);
  g_assert_true(!c->logx && !c->logy);
  kiv_assert_each({c->ox, extent(h, "+55").width + 3 * cw}, {c->wz, c->ox}, {c->oy, 2 * ch},
                  {c->py0, 300 - (int)(1.25 * ch)}, {c->py1, c->oy}, {c->wy, c->py0 - c->py1},
                  {c->px0, c->ox}, {c->wx, 400 - 2 * c->ox}, {c->px1, c->ox + c->wx},
                  {c->xstp, c->wx / 10.0}, {c->ystp, (c->py0 - c->py1) / (c->ymax - c->ymin)});
  /* An x title makes room at the bottom. */
  kiv_chart1d_set_xtitle(h, "Energy");
  redraw(h);
  g_assert_cmpint(c->py0, ==, 300 - (int)(2.5 * ch));
  /* Without axes the margins are one character wide and high. */
  kiv_chart1d_draw_x_axis(h, KIV_AXIS_NONE);
  kiv_chart1d_draw_y_axis(h, KIV_AXIS_NONE);
  redraw(h);
  kiv_assert_each({c->ox, cw}, {c->wz, cw}, {c->oy, (int)(1.5 * ch)}, {c->py0, 300 - ch},
                  {c->wx, 400 - 2 * cw});

  /* Two curves: the legend narrows the mapping, not px1, and is centred
   * on the plotting area. */
  KivFunction *f = kiv_function_new(10, 0.0, 10.0, ramp);
  kiv_chart1d_add_curve(h, f);
  redraw(h);
  canvas_set(h);
  g_assert_nonnull(c->legend);
  int gw, gh;
  pango_layout_get_pixel_size(c->legend, &gw, &gh);
  kiv_assert_each({c->wx, 400 - 2 * cw - gw}, {c->px1, 400 - cw},
                  {c->leg_x, c->ox + c->wx + (int)(gw * 0.25 / 2.0)},
                  {c->leg_y, c->py1 + (c->wy - gh) / 2}, {c->xstp, c->wx / 10.0});
  g_object_unref(f);
  g_object_unref(hist);
}

static void test_layout_log(void) {
  KivFunction *f = kiv_function_new(30, 1.0, 1000.0, ramp);
  Shown s(f, 400, 300);
  KivChart1D *h = s.chart;
  KivCanvas *c = h->cnvs;
  kiv_chart1d_logx(h, TRUE);
  redraw(h);
  g_assert_true(c->logx && c->lxmin == 0.0 && c->xstp == c->wx / 4.0);
  KivPoint p, q;
  canvas_transform(c, 0.0, 1.0, &p);
  canvas_transform(c, 3.0, 1.0, &q);
  g_assert_true(p.x == c->px0 && q.x == c->px0 + 3 * c->xstp);
  double dx, dy;
  canvas_transform_inv(c, c->px0, c->py0, &dx, &dy);
  g_assert_cmpfloat(dx, ==, c->lxmin);
  /* Points reach the mapping as logarithms. */
  g_assert_cmpfloat(h->xpt[0].P[0].x, ==, 0.0);

  /* A non-positive lower limit starts at decade 0, a non-positive upper
   * one counts as 10; limits a decade or more the wrong way round would
   * give no decade, or a negative count: the axis gets one decade. */
  const double cases[][4] = {{-5.0, 100.0, 0.0, 3.0}, {-5.0, -1.0, 0.0, 2.0}, {100.0, 1.0, 2.0, 1.0}};
  for (const auto &k : cases) {
    h->xmin = k[0];
    h->xmax = k[1];
    redraw(h);
    g_assert_true(c->lxmin == k[2] && c->xstp == c->wx / k[3]);
  }
  /* The y axis: values of 0 or below sit at the logarithm 0. */
  kiv_chart1d_logx(h, FALSE);
  kiv_chart1d_logy(h, TRUE);
  h->xmin = 1.0;
  h->xmax = 1000.0;
  redraw(h);
  g_assert_true(c->logy && !c->logx && c->lymin == 0.0);
  g_object_unref(f);
}

static void test_transforms(void) {
  KivCanvas c;
  memset(&c, 0, sizeof c);
  c.xmax = 10.0;
  c.ymax = 5.0;
  c.px0 = 50;
  c.py0 = 250;
  c.py1 = 50;
  c.xstp = 30.0;
  c.ystp = 40.0;
  /* Linear, then both axes logarithmic from 10 and 0.1: y is clamped to
   * the plotting area, x is not. */
  const double cases[][6] = {
      {0, 5.0, 2.5, 200.0, 150.0, 1}, {0, 20.0, 10.0, 650.0, 50.0, 0},
      {0, -1.0, -1.0, 20.0, 250.0, 0}, {0, 0.0, 0.0, 50.0, 250.0, 1},
      {1, 1.0, -1.0, 50.0, 250.0, 1},
  };
  for (const auto &k : cases) {
    c.logx = c.logy = k[0] != 0;
    c.lxmin = k[0] != 0 ? 1.0 : 0.0;
    c.lymin = k[0] != 0 ? -1.0 : 0.0;
    KivPoint p;
    canvas_transform(&c, k[1], k[2], &p);
    g_assert_true(p.x == k[3] && p.y == k[4]);
    double x, y;
    canvas_transform_inv(&c, (int)k[3], (int)k[4], &x, &y);
    g_assert_true(k[5] == 0 || (x == k[1] && y == k[2]));
  }
  c.logx = c.logy = FALSE;
  KivPoint pts[] = {{0.0, 0.0}, {10.0, 5.0}, {1.0, 99.0}};
  KivTuple t = {3, pts};
  KivPoint *px = canvas_transform_tuple(&c, &t);
  g_assert_true(px[0].x == 50.0 && px[1].x == 350.0 && px[1].y == 50.0 && px[2].y == 50.0);
  g_free(px);
}

/* The reserve and square area of the two-dimensional chart.  Given a
 * plain function, it leaves the frame and the curves to this class, so the
 * z range set here stays as it is. */
static void test_layout_2d(void) {
  KivFunction *f = kiv_function_new(10, 0.0, 10.0, ramp);
  GtkWidget *w = GTK_WIDGET(g_object_new(KIV_TYPE_CHART2D, "func", f, NULL));
  Shown s(w, 400, 300);
  KivChart1D *h = s.chart;
  KivCanvas *c = h->cnvs;
  c->zmin = 0.0;
  c->zmax = 5000.0;
  g_object_unref(read_pixmap(h));
  int cw = c->character_width;
  g_assert_cmpint(c->cscale.width, ==, static_cast<int>(3.5 * cw));
  g_assert_cmpint(c->px1, ==, 400 - static_cast<int>(3.5 * cw + c->cscale.width));
  g_assert_cmpint(c->wx, ==, c->px1 - c->ox);
  g_assert_cmpint(c->cscale.x, ==, c->px1 + cw);
  g_assert_cmpint(c->cscale.y, ==, c->py1);
  g_assert_cmpint(c->cscale.height, ==, c->wy);
  g_assert_cmpint(c->wz, ==, c->wy);
  g_assert_cmpint(c->pz0, ==, c->py0);
  g_assert_cmpint(c->pz1, ==, c->py1);
  g_assert_cmpint(c->oz, ==, c->cscale.x + c->cscale.width);
  g_assert_cmpfloat(c->mantisa_z, ==, 1000.0);
  g_assert_cmpfloat(c->exponent_z, ==, 3.0);
  g_assert_cmpfloat(c->zstp, ==, c->wz / 5000.0);

  /* Square: the wider side is cut to the shorter. */
  g_object_set(w, "squared", TRUE, NULL);
  g_object_unref(read_pixmap(h));
  g_assert_cmpint(c->wx, ==, c->wy);
  g_assert_cmpint(c->px1, ==, c->px0 + c->wx);
  g_assert_cmpint(c->cscale.x, ==, c->px1 + cw);

  /* An empty colour range (all cells equal) maps nothing anywhere. */
  c->zmin = c->zmax = 7.0;
  GdkPixbuf *pb = read_pixmap(h);
  g_assert_cmpfloat(c->zstp, ==, 0.0);
  g_object_unref(pb);
  g_object_unref(f);
}

/* ---------------------------------------------------------------------
 * The frame step: points and y range.
 * ------------------------------------------------------------------- */

static void test_frame(void) {
  KivHistogram *a = histogram_of(5, 0.0, 5.0, {10, 20, 30, 40, 50});
  KivHistogram *b = histogram_of(3, 0.0, 3.0, {100, 100, 100});
  KivHistogram *n = histogram_of(3, 0.0, 3.0, {-20, -10, -15});
  /* The outline is levelled at its ends; the filled one keeps the base
   * line of 0. */
  const struct {
    KivHistogram *hist;
    bool filled;
    double lo, hi;
  } ranges[] = {{a, false, 6.0, 54.0}, {a, true, 0.0, 55.0}, {b, false, 99.0, 111.0},
                {n, false, -21.0, -9.0}};
  for (const auto &r : ranges) {
    KivChart1D *h = KIV_CHART1D(g_object_ref_sink(kiv_chart1d_new(KIV_FUNCTION(r.hist))));
    kiv_chart1d_filled(h, r.filled);
    redraw(h);
    g_assert_cmpfloat_with_epsilon(h->cnvs->ymin, r.lo, 1e-9);
    g_assert_cmpfloat_with_epsilon(h->cnvs->ymax, r.hi, 1e-9);
    g_object_unref(h);
  }

  KivChart1D *h = KIV_CHART1D(g_object_ref_sink(kiv_chart1d_new(KIV_FUNCTION(a))));
  redraw(h);
  KivTuple *t = &h->xpt[0];
  g_assert_true(t->n == 16 && t->P[0].y == 10.0 && t->P[15].y == 50.0);
  kiv_chart1d_filled(h, TRUE);
  redraw(h);
  g_assert_true(h->xpt[0].P[0].y == 0.0 && h->xpt[0].P[15].y == 0.0);
  /* A fixed range stays; logarithms are taken all the same, 0 for values
   * of 0 or less. */
  g_object_set(h, "vmin", 1.0, "vmax", 1000.0, NULL);
  kiv_chart1d_logy(h, TRUE);
  redraw(h);
  g_assert_true(h->cnvs->ymin == 1.0 && h->cnvs->ymax == 1000.0);
  g_assert_true(h->xpt[0].P[0].y == 0.0 && h->xpt[0].P[1].y == 1.0);
  g_assert_cmpfloat_with_epsilon(h->xpt[0].P[4].y, log10(20.0), 1e-12);
  /* Equal limits give the range back to the data. */
  g_object_set(h, "vmax", 1.0, NULL);
  kiv_chart1d_logy(h, FALSE);
  redraw(h);
  g_assert_cmpfloat(h->cnvs->ymin, ==, 0.0);
  g_assert_cmpfloat_with_epsilon(h->cnvs->ymax, 55.0, 1e-9);
  /* No curve at all: [0, 11] and no point arrays. */
  kiv_chart1d_remove_curves(h);
  g_assert_null(h->xpt);
  redraw(h);
  g_assert_true(h->cnvs->ymin == 0.0 && h->cnvs->ymax == 11.0);
  g_object_unref(h);
  for (KivHistogram *k : {a, b, n})
    g_object_unref(k);
}

/* ---------------------------------------------------------------------
 * Pixels.
 * ------------------------------------------------------------------- */

static void test_pixels(void) {
  KivHistogram *hist = histogram_of(10, 0.0, 10.0, {10, 20, 30, 40, 50, 50, 40, 30, 20, 10});
  Shown s(KIV_FUNCTION(hist), 300, 200);
  KivChart1D *h = s.chart;
  KivCanvas *c = h->cnvs;
  plain_colors(h);
  g_object_set(h, "line_width", 3.0, NULL);
  GdkPixbuf *pb = read_pixmap(h);
  g_assert_true(gdk_pixbuf_get_width(pb) == 300 && gdk_pixbuf_get_height(pb) == 200);
  g_assert_true(gdk_pixbuf_get_has_alpha(pb));
  g_assert_true(pixel(pb, 0, 0).a == 255 && pixel(pb, 299, 199).a == 255);
  /* Pure red on the outline (red first, not blue: the byte order) and
   * background above and below it. */
  assert_at(h, pb, 4.5, 50.0, kRed);
  assert_at(h, pb, 0.5, 10.0, kRed);
  assert_at(h, pb, 0.5, 40.0, kWhite);
  assert_at(h, pb, 4.5, 25.0, kWhite);
  /* The axes in the axis colour: x at py0, y at px0. */
  assert_rgb(pb, c->px0 + c->wx / 3 + 3, c->py0, kBlue);
  assert_rgb(pb, c->px0, (c->py0 + c->py1) / 2 + 3, kBlue);
  /* The right margin stays empty without statistics. */
  g_assert_cmpint(count_not(pb, c->px1 + 2, 0, 300, c->py0, kWhite), ==, 0);
  g_object_unref(pb);

  /* Filled: the inside takes the curve colour. */
  kiv_chart1d_filled(h, TRUE);
  pb = read_pixmap(h);
  assert_at(h, pb, 4.5, 25.0, kRed);
  g_object_unref(pb);

  /* The statistics box sits in the top-right corner, one character below
   * the top, its right edge on the image's. */
  kiv_chart1d_filled(h, FALSE);
  kiv_chart1d_show_stats(h, TRUE);
  pb = read_pixmap(h);
  int ch = c->character_height;
  g_assert_cmpint(count_not(pb, 300 - 40, ch, 300, ch + c->small_character_height, kWhite), >, 0);
  g_assert_cmpint(count_not(pb, 300 - 40, 0, 300, ch, kWhite), ==, 0);
  g_object_unref(pb);
  g_object_unref(hist);
}

/* Three curves and two curve colours: red, blue, red again, in the
 * curves and in the legend. */
static void test_pixels_legend(void) {
  KivFunction *a = kiv_function_new(10, 0.0, 10.0, flat);
  KivFunction *b = kiv_function_new(10, 0.0, 10.0, ramp);
  KivHistogram *hc = histogram_of(10, 0.0, 10.0, {8, 8, 8, 8, 8, 8, 8, 8, 8, 8});
  kiv_function_set_name(a, "flat");
  kiv_function_set_name(b, "ramp");
  Shown s(a, 400, 300);
  KivChart1D *h = s.chart;
  KivCanvas *c = h->cnvs;
  plain_colors(h);
  kiv_chart1d_add_curve(h, b);
  kiv_chart1d_add_curve(h, KIV_FUNCTION(hc));
  kiv_chart1d_set_curve_colors(h, "red", "blue", NULL);
  g_object_set(h, "line_width", 3.0, NULL);
  GdkPixbuf *pb = read_pixmap(h);
  assert_at(h, pb, 0.5, 3.0, kRed);
  assert_at(h, pb, 6.0, 8.0, kRed);
  /* The ramp is drawn at its sample points: look on its vertical edge. */
  const KivPoint *rp = h->xpt[1].P;
  assert_at(h, pb, (rp[3].x + rp[4].x) / 2, (rp[3].y + rp[4].y) / 2, kBlue);

  /* The legend right of the plotting area, its lines in the same colours. */
  canvas_set(h);
  int gw, gh;
  pango_layout_get_pixel_size(c->legend, &gw, &gh);
  g_assert_cmpstr(pango_layout_get_text(c->legend), ==, "flat\nramp\n[unnamed]\n");
  g_assert_cmpint(c->leg_x, >=, c->px0 + c->wx);
  /* Pixels of one strong primary colour in some lines of the legend. */
  int line = gh / 3;
  auto count = [&](int first, int last, int Rgb::*strong) {
    int n = 0;
    for (int y = c->leg_y + first * line; y < c->leg_y + last * line; y++)
      for (int x = c->leg_x; x < c->leg_x + gw; x++) {
        Rgb v = pixel(pb, x, y);
        n += v.*strong > 200 && v.r + v.g + v.b - v.*strong < 80;
      }
    return n;
  };
  g_assert_true(count(0, 1, &Rgb::r) > 0 && count(0, 1, &Rgb::b) == 0);
  g_assert_true(count(1, 2, &Rgb::b) > 0 && count(2, 3, &Rgb::r) > 0);
  /* Nothing of the legend above it. */
  g_assert_cmpint(count_not(pb, c->leg_x, c->py1, c->leg_x + gw, c->leg_y, kWhite), ==, 0);
  g_object_unref(pb);

  /* Without curve colours the curves take the curve colour and the
   * legend the foreground colour. */
  kiv_chart1d_set_curve_colors(h, NULL);
  kiv_chart1d_set_colors(h, "curve", "#00ff00", NULL);
  pb = read_pixmap(h);
  assert_at(h, pb, 0.5, 3.0, kGreen);
  for (int Rgb::*primary : {&Rgb::r, &Rgb::g, &Rgb::b})
    g_assert_cmpint(count(0, 3, primary), ==, 0);
  g_object_unref(pb);
  g_object_unref(a);
  g_object_unref(b);
  g_object_unref(hc);
}

/* The expose handler copies the off-screen image onto the window. */
static void test_expose(void) {
  KivHistogram *hist = histogram_of(4, 0.0, 4.0, {1, 3, 2, 4});
  Shown s(KIV_FUNCTION(hist), 240, 160);
  plain_colors(s.chart);
  gtk_widget_queue_draw(s.widget);
  gdk_window_process_all_updates();
  gdk_flush();
  GdkPixbuf *screen = gdk_pixbuf_get_from_drawable(NULL, gtk_widget_get_window(s.widget), NULL, 0,
                                                   0, 0, 0, 240, 160);
  GdkPixbuf *image = read_pixmap(s.chart);
  for (int y = 0; y < 160; y++)
    for (int x = 0; x < 240; x++)
      assert_rgb(screen, x, y, pixel(image, x, y));
  g_object_unref(screen);
  g_object_unref(image);
  g_object_unref(hist);
}

/* ---------------------------------------------------------------------
 * Axes.
 * ------------------------------------------------------------------- */

static void test_value_for_label(void) {
  const struct {
    float v;
    double scale;
    int log;
    float want;
    const char *text;
  } cases[] = {
      {3e-6f, 1.0, 0, 0.0f, "0"},     {2.0f, 1.0, 1, 100.0f, "100"},
      {3.0f, 1.0, 1, 1000.0f, "1e+03"}, {4500.0f, 1000.0, 0, 4.5f, "4.5"},
  };
  char label[32];
  for (const auto &c : cases) {
    g_assert_cmpfloat(get_value_for_label(c.v, c.scale, c.log, label), ==, c.want);
    g_assert_cmpstr(label, ==, c.text);
  }
  g_assert_cmpfloat(get_value_for_label(-0.25f, 1.0, 0, NULL), ==, -0.25f);
}

static void test_axis_ticks(void) {
  KivFunction *f = kiv_function_new(10, 0.0, 10.0, flat);
  Shown s(f, 560, 300);
  KivChart1D *h = s.chart;
  KivCanvas *c = h->cnvs;
  plain_colors(h);
  g_object_set(h, "vmin", -3.7, "vmax", 12.2, NULL);
  GdkPixbuf *pb = read_pixmap(h);
  int oy = c->py0;
  auto px = [&](double v) { return (int)(v * c->xstp + c->px0); };
  auto py = [&](double v) { return (int)(c->py0 - (v - c->ymin) * c->ystp); };
  /* x: major ticks (5 pixels) at every unit, minor ticks (2 pixels) every
   * 0.2, nothing in between; y over [-3.7, 12.2]: majors every 2 from -2
   * to 12, none at -3. */
  const struct {
    int x, y;
    Rgb want;
  } ticks[] = {
      {px(5.0), oy - 4, kBlue},          {px(10.0), oy - 4, kBlue},
      {px(5.2), oy - 2, kBlue},          {px(5.2), oy - 4, kWhite},
      {px(5.3), oy - 2, kWhite},         {px(5.1), oy - 2, kWhite},
      {c->px0 + 3, py(-2.0) - 1, kBlue}, {c->px0 + 3, py(12.0) - 1, kBlue},
      {c->px0 + 3, py(-3.0), kWhite},    {c->px0 + 3, py(11.0), kWhite},
  };
  for (const auto &t : ticks)
    assert_rgb(pb, t.x, t.y, t.want);
  g_object_unref(pb);

  /* x over [0, 5000]: labels in thousands. */
  g_object_set(h, "hxmin", 0.0, "hxmax", 5000.0, NULL);
  redraw(h);
  g_assert_true(c->mantisa_x == 1000.0 && c->exponent_x == 3.0);

  /* A range wider than 1e8 draws no axis at all; the other axis stays. */
  g_object_set(f, "xmax", 1e9, NULL);
  h->xmin = 0.0;
  h->xmax = 1e9;
  pb = read_pixmap(h);
  g_assert_cmpint(count_not(pb, c->px0 + 2, c->py0 - 6, c->px1, c->canvas_height, kWhite), ==, 0);
  assert_rgb(pb, c->px0, (c->py0 + c->py1) / 2, kBlue);
  g_object_unref(pb);

  /* No axes: nothing at the axis places, but the read-out is drawn. */
  g_object_set(f, "xmax", 10.0, NULL);
  h->xmin = 0.0;
  h->xmax = 10.0;
  kiv_chart1d_draw_x_axis(h, KIV_AXIS_NONE);
  kiv_chart1d_draw_y_axis(h, KIV_AXIS_NONE);
  pb = read_pixmap(h);
  assert_rgb(pb, px(5.0), c->py0, kWhite);
  assert_rgb(pb, c->px0, (c->py0 + c->py1) / 2, kWhite);
  int readout = count_not(pb, 0, 0, 120, c->small_character_height, kWhite);
  g_assert_cmpint(readout, >, 0);
  g_object_unref(pb);
  /* During a drag the long read-out; a zero DY gives no trouble. */
  h->evt->button = 1;
  h->evt->x0 = h->evt->x = 2.0;
  h->evt->y0 = h->evt->y = 1.0;
  pb = read_pixmap(h);
  g_assert_cmpint(count_not(pb, 0, 0, c->canvas_width, c->small_character_height, kWhite), >,
                  readout);
  g_object_unref(pb);
  g_object_unref(f);
}

/* An axis on top and on the right, and in the middle. */
static void test_axis_positions(void) {
  KivFunction *f = kiv_function_new(10, 0.0, 10.0, flat);
  Shown s(f, 400, 300);
  KivChart1D *h = s.chart;
  KivCanvas *c = h->cnvs;
  plain_colors(h);
  kiv_chart1d_draw_x_axis(h, KIV_AXIS_RIGHT);
  kiv_chart1d_draw_y_axis(h, KIV_AXIS_RIGHT);
  GdkPixbuf *pb = read_pixmap(h);
  g_assert_cmpint(c->ox, ==, c->character_width);
  assert_rgb(pb, (c->px0 + c->px1) / 2 + 1, c->py1, kBlue);
  assert_rgb(pb, c->px1, (c->py0 + c->py1) / 2 + 1, kBlue);
  assert_rgb(pb, (c->px0 + c->px1) / 2 + 1, c->py0, kWhite);
  g_object_unref(pb);
  kiv_chart1d_draw_x_axis(h, KIV_AXIS_MIDDLE);
  kiv_chart1d_draw_y_axis(h, KIV_AXIS_MIDDLE);
  pb = read_pixmap(h);
  assert_rgb(pb, c->px0 + c->wx / 4, c->py0 - c->wy / 2, kBlue);
  assert_rgb(pb, c->px0 + c->wx / 2, c->py1 + c->wy / 4, kBlue);
  g_object_unref(pb);
  g_object_unref(f);
}

/* ---------------------------------------------------------------------
 * Statistics box and tracer marker.
 * ------------------------------------------------------------------- */

static void test_stats(void) {
  KivHistogram *hist = histogram_of(10, 0.0, 10.0, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10});
  Shown s(KIV_FUNCTION(hist), 400, 300);
  KivChart1D *h = s.chart;
  KivCanvas *c = h->cnvs;
  kiv_chart1d_show_stats(h, TRUE);
  /* From the lower edge of bin 3 to inside bin 5: bins 3, 4 and 5, each
   * at its centre with its content as weight. */
  h->xmin = 3.0;
  h->xmax = 5.5;
  redraw(h);
  KivStats *want = kiv_stats_new();
  kiv_stats_add(want, 3.5, 0, 4);
  kiv_stats_add(want, 4.5, 0, 5);
  kiv_stats_add(want, 5.5, 0, 6);
  g_assert_cmpfloat(kiv_stats_get_nc(c->stats), ==, 15.0);
  g_assert_cmpfloat_with_epsilon(kiv_stats_get_mean(c->stats, 0), 69.5 / 15.0, 1e-12);
  g_assert_cmpfloat_with_epsilon(kiv_stats_get_stdev(c->stats, 0), kiv_stats_get_stdev(want, 0),
                                 1e-12);
  g_object_unref(want);
  /* Beyond the histogram's range the bins are clamped to the last. */
  h->xmin = 8.5;
  h->xmax = 30.0;
  redraw(h);
  g_assert_cmpfloat(kiv_stats_get_nc(c->stats), ==, 19.0);
  /* The full range shows the histogram's own statistics: the zoom
   * statistics are not recomputed. */
  h->xmin = 0.0;
  h->xmax = 10.0;
  kiv_stats_add(c->stats, 1.0, 0, 1000.0);
  redraw(h);
  g_assert_cmpfloat(kiv_stats_get_nc(c->stats), ==, 1019.0);

  /* A plain function has no statistics box. */
  KivFunction *f = kiv_function_new(10, 0.0, 10.0, flat);
  kiv_chart1d_remove_curves(h);
  kiv_chart1d_add_curve(h, f);
  plain_colors(h);
  GdkPixbuf *pb = read_pixmap(h);
  g_assert_cmpint(count_not(pb, c->px1 + 2, 0, 400, c->py1, kWhite), ==, 0);
  g_object_unref(pb);
  g_object_unref(f);
  g_object_unref(hist);
}

static void test_tracer_marker(void) {
  KivTracer *tr = kiv_tracer_new(20);
  for (int i = 0; i < 20; i++)
    kiv_histogram_fill(KIV_HISTOGRAM(tr), i % 2 ? 9.0 : 1.0, 1.0);
  Shown s(KIV_FUNCTION(tr), 400, 300);
  KivChart1D *h = s.chart;
  plain_colors(h);
  /* The trace itself is drawn in the background colour, out of the way. */
  kiv_chart1d_set_colors(h, "axis", "#00ff00", "curve", "white", NULL);
  kiv_chart1d_show_stats(h, TRUE);
  GdkPixbuf *pb = read_pixmap(h);
  KivPoint m, top;
  canvas_transform(h->cnvs, 0, 5.0, &m);
  canvas_transform(h->cnvs, 0, 9.0, &top);
  int ym = (int)m.y, d = abs((int)(top.y - m.y)), x0 = h->cnvs->px0 + 2;
  g_assert_cmpint(d, >, 8);
  /* The bar: full width near its ends, cut by the notch at the mean. */
  assert_rgb(pb, x0 + 2, ym - d + 2, kGreen);
  assert_rgb(pb, x0 + 2, ym + d - 3, kGreen);
  assert_rgb(pb, x0, ym - 2, kGreen);
  assert_rgb(pb, x0 + 3, ym, kWhite);
  assert_rgb(pb, x0 + 2, ym - d - 3, kWhite);
  g_object_unref(pb);
  g_object_unref(tr);
}

/* ---------------------------------------------------------------------
 * Colours.
 * ------------------------------------------------------------------- */

namespace {

void assert_color(const GdkColor &c, const char *name) {
  GdkColor want;
  g_assert_true(gdk_color_parse(name, &want));
  g_assert_true(c.red == want.red && c.green == want.green && c.blue == want.blue);
}

} // namespace

static void test_colors(void) {
  KivFunction *f = kiv_function_new(10, 0.0, 10.0, flat);
  KivChart1D *h = KIV_CHART1D(g_object_ref_sink(kiv_chart1d_new(f)));
  KivCanvas *c = h->cnvs;
  /* Unknown keys are skipped, the next pair still counts; the colours
   * are handed to the style at the next redraw. */
  h->colors_changed = FALSE;
  kiv_chart1d_set_colors(h, "Curve", "red", "axis", "navy", NULL);
  assert_color(h->colors[KIV_COLOR_AXIS], "navy");
  g_assert_cmpstr(c->color_names[KIV_COLOR_AXIS], ==, "navy");
  g_assert_cmpstr(c->color_names[KIV_COLOR_CURVE], ==, "black");
  g_assert_true(h->colors_changed);
  /* A key without a name ends the call with a warning. */
  kiv_expect_warning("kiv_chart1d_set_colors: no color name given for axis");
  kiv_chart1d_set_colors(h, "axis", NULL);
  g_test_assert_expected_messages();
  g_assert_cmpstr(c->color_names[KIV_COLOR_AXIS], ==, "navy");

  /* Curve colours: each call replaces the list; none removes it. */
  kiv_chart1d_set_curve_colors(h, "red", "blue", NULL);
  kiv_chart1d_set_curve_colors(h, "#ff0000", "yellow", NULL);
  g_assert_cmpuint(g_list_length(c->curve_colors), ==, 2);
  assert_color(*static_cast<GdkColor *>(c->curve_colors->data), "#ff0000");
  assert_color(*static_cast<GdkColor *>(c->curve_colors->next->data), "yellow");
  kiv_chart1d_add_curve_color(h, const_cast<gchar *>("cyan"));
  g_assert_cmpuint(g_list_length(c->curve_colors), ==, 3);
  kiv_chart1d_set_curve_colors(h, NULL);
  g_assert_null(c->curve_colors);

  kiv_expect_critical("kiv_chart1d_set_curve_colors: assertion 'KIV_IS_CHART1D(h)' failed");
  kiv_chart1d_set_curve_colors(reinterpret_cast<KivChart1D *>(f), "red", NULL);
  kiv_expect_critical("kiv_chart1d_add_curve_color: assertion 'KIV_IS_CHART1D(h)' failed");
  kiv_chart1d_add_curve_color(NULL, const_cast<gchar *>("red"));
  g_test_assert_expected_messages();
  g_object_unref(h);
  g_object_unref(f);
}

/* The theme background until one is given, and the colours handed to
 * the widget's style at the next redraw. */
static void test_colors_theme(void) {
  KivFunction *f = kiv_function_new(10, 0.0, 10.0, flat);
  Shown s(f, 200, 150);
  KivChart1D *h = s.chart;
  KivCanvas *c = h->cnvs;
  /* The first expose has taken the theme's background. */
  GdkColor theme = h->colors[KIV_COLOR_BACKGROUND];
  gchar *name = gdk_color_to_string(&theme);
  g_assert_cmpstr(c->color_names[KIV_COLOR_BACKGROUND], ==, name);
  g_assert_cmpuint(strlen(name), ==, 13);
  g_free(name);
  GdkPixbuf *pb = read_pixmap(h);
  assert_rgb(pb, 1, 140, rgb(theme));
  g_object_unref(pb);

  kiv_chart1d_set_colors(h, "background", "#204060", "foreground", "#ffff00", NULL);
  pb = read_pixmap(h);
  assert_rgb(pb, 1, 140, {0x20, 0x40, 0x60});
  g_object_unref(pb);
  g_assert_false(h->colors_changed);
  GtkStyle *style = gtk_widget_get_style(GTK_WIDGET(h));
  for (int st = GTK_STATE_NORMAL; st <= GTK_STATE_INSENSITIVE; st++) {
    assert_color(style->bg[st], "#204060");
    assert_color(style->fg[st], "#ffff00");
  }
  /* On a realized chart the curve colours are allocated when added. */
  h->colors_changed = FALSE;
  kiv_chart1d_add_curve_color(h, const_cast<gchar *>("orange"));
  g_assert_cmpuint(g_list_length(c->curve_colors), ==, 1);
  g_assert_false(h->colors_changed);
  g_object_unref(f);
}

/* Unknown names leave the colours as they were, names of any length are
 * used whole. */
static void test_color_messages(void) {
  in_subprocess([] {
    KivFunction *f = kiv_function_new(10, 0.0, 10.0, flat);
    KivChart1D *h = KIV_CHART1D(g_object_ref_sink(kiv_chart1d_new(f)));
    kiv_chart1d_set_colors(h, "axis", "nosuchcolour", NULL);
    g_assert_cmpstr(h->cnvs->color_names[KIV_COLOR_AXIS], ==, "black");
    assert_color(h->colors[KIV_COLOR_AXIS], "black");
    kiv_chart1d_add_curve_color(h, const_cast<gchar *>("notacolour"));
    g_assert_null(h->cnvs->curve_colors);
    kiv_chart1d_set_colors(h, "curve", (std::string(300, 'q') + "END").c_str(), NULL);
    g_object_unref(h);
    g_object_unref(f);
  }, NULL, "Cannot get color nosuchcolour\n"
           "add_curve_color: Cannot get color notacolour\n"
           "Cannot get color qqq*qqqEND\n*");
}

/* ---------------------------------------------------------------------
 * Pictures.
 * ------------------------------------------------------------------- */

namespace {

/* The byte forms may hold zeros, where g_strstr_len() would stop. */
const char *find(const char *from, const char *end, const char *needle) {
  return static_cast<const char *>(memmem(from, end - from, needle, strlen(needle)));
}

bool contains(GString *s, const char *needle) {
  return find(s->str, s->str + s->len, needle) != NULL;
}

int count_pages(GString *pdf) {
  int n = 0;
  const char *p = pdf->str, *end = pdf->str + pdf->len;
  while ((p = find(p, end, "/Type /Page")) != NULL) {
    p += strlen("/Type /Page");
    n += p < end && *p != 's';
  }
  return n;
}

} // namespace

static void test_pictures(void) {
  KivHistogram *hist = histogram_of(10, 0.0, 10.0, {10, 20, 30, 40, 50, 50, 40, 30, 20, 10});
  Shown s(KIV_FUNCTION(hist), 300, 200);
  KivChart1D *h = s.chart;
  plain_colors(h);
  kiv_chart1d_filled(h, TRUE);
  g_object_set(h, "line_width", 3.0, NULL);

  /* The raster forms decode to the picture: red inside, white above. */
  for (const char *prop : {"png", "jpeg"}) {
    GString *bytes = read_bytes(h, prop);
    g_assert_cmpint(memcmp(bytes->str, prop[0] == 'p' ? "\x89PNG\r\n" : "\xff\xd8\xff", 3), ==, 0);
    GdkPixbuf *pb = decode(bytes);
    g_assert_true(gdk_pixbuf_get_width(pb) == 300 && gdk_pixbuf_get_height(pb) == 200);
    KivPoint p, q;
    canvas_transform(h->cnvs, 4.5, 25.0, &p);
    canvas_transform(h->cnvs, 4.5, 53.0, &q);
    int tol = prop[0] == 'p' ? 0 : 40;
    g_assert_true(pixel(pb, (int)p.x, (int)p.y).near(kRed, tol));
    g_assert_true(pixel(pb, (int)q.x, (int)q.y).near(kWhite, tol));
    g_object_unref(pb);
    g_string_free(bytes, TRUE);
  }
  /* The vector forms: one page of 300 x 200 points, complete. */
  const struct {
    const char *prop, *magic;
    std::initializer_list<const char *> has;
  } vectors[] = {
      {"pdf", "%PDF-", {"/MediaBox [ 0 0 300 200 ]", "%%EOF"}},
      {"svg", "<?xml", {"width=\"300pt\" height=\"200pt\"", "</svg>"}},
      {"eps", "%!PS-Adobe-3.0\n", {"%%BoundingBox: 0 0 300 200", "%%Pages: 1", "%%EOF"}},
  };
  for (const auto &v : vectors) {
    GString *bytes = read_bytes(h, v.prop);
    g_assert_cmpint(strncmp(bytes->str, v.magic, strlen(v.magic)), ==, 0);
    for (const char *text : v.has)
      g_assert_true(contains(bytes, text));
    if (v.prop[0] == 'p')
      g_assert_cmpint(count_pages(bytes), ==, 1);
    /* PostScript, not Encapsulated PostScript. */
    if (v.prop[0] == 'e')
      g_assert_false(contains(bytes, "EPSF"));
    g_string_free(bytes, TRUE);
  }
  /* Each read draws afresh: the data as they are now. */
  kiv_histogram_set_bin_content(hist, 4, 0.0);
  GdkPixbuf *pb = read_pixmap(h);
  assert_at(h, pb, 4.5, 25.0, kWhite);
  g_object_unref(pb);

  /* The same bytes for bindings, and an error for a format there is not. */
  GString *prop = read_bytes(h, "png");
  GBytes *bytes = kiv_chart1d_get_picture(h, "png", NULL);
  g_assert_cmpmem(g_bytes_get_data(bytes, NULL), g_bytes_get_size(bytes), prop->str, prop->len);
  g_bytes_unref(bytes);
  g_string_free(prop, TRUE);
  bytes = kiv_chart1d_get_picture(h, "eps", NULL);
  g_assert_cmpint(memcmp(g_bytes_get_data(bytes, NULL), "%!PS-Adobe-3.0\n", 15), ==, 0);
  g_bytes_unref(bytes);
  GError *error = NULL;
  g_assert_null(kiv_chart1d_get_picture(h, "gif", &error));
  g_assert_error(error, KIV_CHART_ERROR, KIV_CHART_ERROR_UNKNOWN_FORMAT);
  g_assert_cmpstr(error->message, ==, "unknown picture format \"gif\": use png, jpeg, pdf, svg or eps");
  g_clear_error(&error);

  kiv_expect_critical("_kiv_get_png: assertion 'KIV_IS_CHART1D(h)' failed");
  g_assert_null(_kiv_get_png(NULL));
  g_test_assert_expected_messages();
  g_object_unref(hist);
}

static void test_img_to_gstring(void) {
  GString *s = g_string_new("ab");
  GString *before = s;
  const unsigned char bytes[] = {'c', 0, 'd'};
  g_assert_cmpint(_kiv_img_to_gstring(&s, bytes, 3), ==, CAIRO_STATUS_SUCCESS);
  g_assert_true(s == before);
  g_assert_cmpmem(s->str, s->len, "abc\0d", 5);
  g_string_free(s, TRUE);
}

/* kiv_chart1d_print writes a picture file; unknown formats and files that
 * cannot be opened are reported on standard output. */
static void test_print(void) {
  in_subprocess([] {
    KivHistogram *hist = histogram_of(4, 0.0, 4.0, {1, 3, 2, 4});
    Shown s(KIV_FUNCTION(hist), 200, 150);
    const char *const types[][2] = {{"png", "\x89PNG"}, {"pdf", "%PDF-"}, {"gif", NULL},
                                    {"pixmap", NULL}};
    for (const auto &t : types) {
      std::string file = gtest_tmp("plot.") + t[0];
      g_assert_cmpint(kiv_chart1d_print(s.chart, file.c_str(), t[0]), ==, 0);
      gchar *data = NULL;
      g_assert_true(g_file_get_contents(file.c_str(), &data, NULL, NULL) == (t[1] != NULL));
      g_assert_true(t[1] == NULL || strncmp(data, t[1], strlen(t[1])) == 0);
      g_free(data);
      unlink(file.c_str());
    }
    g_assert_cmpint(kiv_chart1d_print(s.chart, "/nonexistent-dir/x.png", "png"), ==, -1);
    std::string file = gtest_tmp("plot.png");
    kiv_expect_critical("kiv_chart1d_print: assertion 'h != NULL' failed");
    g_assert_cmpint(kiv_chart1d_print(NULL, file.c_str(), "png"), ==, -1);
    kiv_expect_critical("kiv_chart1d_print: assertion 'KIV_IS_CHART1D(h)' failed");
    g_assert_cmpint(kiv_chart1d_print(reinterpret_cast<KivChart1D *>(hist), file.c_str(), "png"),
                    ==, -1);
    g_test_assert_expected_messages();
    g_assert_false(g_file_test(file.c_str(), G_FILE_TEST_EXISTS));
    g_object_unref(hist);
  }, "Error. Very likely invalid picture format: gif\n"
     "Error. Very likely invalid picture format: pixmap\n"
     "Cannot open /nonexistent-dir/x.png for writing\n", NULL);
}

/* ---------------------------------------------------------------------
 * What the chart does with ranges and sizes it cannot map as they are.
 * ------------------------------------------------------------------- */

static void test_unusable_ranges(void) {
  KivHistogram *hist = histogram_of(10, 0.0, 10.0, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10});
  Shown s(KIV_FUNCTION(hist), 300, 200);
  KivChart1D *h = s.chart;
  KivCanvas *c = h->cnvs;
  kiv_chart1d_show_stats(h, TRUE);
  struct {
    double xmin, xmax, want_lo, want_hi;
  } cases[] = {
      /* An empty range is widened by one unit upwards. */
      {3.0, 3.0, 3.0, 4.0},
      {1e300, 1e300, 1e300, 1e300 + 1e294},
      {DBL_MAX, DBL_MAX, DBL_MAX - DBL_MAX * 1e-6, DBL_MAX},
      /* Limits that are not finite give [0, 1]. */
      {NAN, 5.0, 0.0, 1.0},
      {0.0, INFINITY, 0.0, 1.0},
      /* A width beyond the doubles is halved. */
      {-DBL_MAX, DBL_MAX, -DBL_MAX / 2, DBL_MAX / 2},
      /* Usable, but finer than single precision can divide for the axis,
       * which is then left out rather than looping. */
      {1e12, 1e12 + 100.0, 1e12, 1e12 + 100.0},
  };
  for (auto &k : cases) {
    h->xmin = k.xmin;
    h->xmax = k.xmax;
    GdkPixbuf *pb = read_pixmap(h);
    g_assert_true(c->xmin == k.want_lo && c->xmax == k.want_hi);
    g_assert_true(std::isfinite(c->xstp) && c->xstp > 0);
    g_assert_cmpint(pixel(pb, 150, 100).a, ==, 255);
    g_object_unref(pb);
    /* The chart's own limits stay as they were given. */
    g_assert_cmpmem(&h->xmin, sizeof h->xmin, &k.xmin, sizeof k.xmin);
  }
  h->xmin = 0.0;
  h->xmax = 10.0;

  /* GLib keeps NaN out of the properties, but the canvas fields are open
   * to callers: a fixed y range with a NaN limit is mapped as [0, 1], in
   * the vector forms too. */
  c->ymin = NAN;
  c->ymax = 5.0;
  c->fixed = TRUE;
  GString *svg = read_bytes(h, "svg");
  g_assert_true(c->ymin == 0.0 && c->ymax == 1.0 && std::isfinite(c->ystp));
  g_assert_false(contains(svg, "nan"));
  g_string_free(svg, TRUE);

  /* NaN, infinite and huge contents: the drawing goes on around them. */
  g_object_set(h, "vmin", 0.0, "vmax", 0.0, NULL);
  kiv_histogram_set_bin_content(hist, 2, NAN);
  kiv_histogram_set_bin_content(hist, 3, INFINITY);
  kiv_histogram_set_bin_content(hist, 4, -DBL_MAX);
  for (gboolean filled : {gboolean(FALSE), gboolean(TRUE)}) {
    kiv_chart1d_filled(h, filled);
    GString *pdf = read_bytes(h, "pdf");
    g_assert_true(contains(pdf, "%%EOF"));
    g_string_free(pdf, TRUE);
    kiv_chart1d_logy(h, TRUE);
    redraw(h);
  }
  g_object_unref(hist);
}

/* A chart that was never allocated a size draws its pictures at the size
 * it requests. */
static void test_never_allocated(void) {
  KivHistogram *hist = histogram_of(4, 0.0, 4.0, {1, 3, 2, 4});
  KivChart1D *h = KIV_CHART1D(g_object_ref_sink(kiv_chart1d_new(KIV_FUNCTION(hist))));
  g_assert_null(h->cnvs->surface);
  GtkRequisition req;
  gtk_widget_size_request(GTK_WIDGET(h), &req);
  g_assert_true(req.width > 1 && req.height > 1);
  GString *pdf = read_bytes(h, "pdf");
  gchar *box = g_strdup_printf("/MediaBox [ 0 0 %d %d ]", req.width, req.height);
  g_assert_true(contains(pdf, box));
  g_free(box);
  g_string_free(pdf, TRUE);
  GString *png = read_bytes(h, "png");
  GdkPixbuf *pbs[] = {read_pixmap(h), decode(png)};
  for (GdkPixbuf *pb : pbs) {
    g_assert_true(gdk_pixbuf_get_width(pb) == req.width && gdk_pixbuf_get_height(pb) == req.height);
    g_object_unref(pb);
  }
  g_string_free(png, TRUE);
  g_object_unref(h);
  g_object_unref(hist);
}

/* A producer thread fills while the chart draws its statistics. */
static void test_threads(void) {
  struct Producer {
    KivHistogram *hist;
    std::atomic<int> stop{0};
    int filled = 0;
  } p;
  p.hist = kiv_histogram_new(50, 0.0, 10.0, NULL);
  Shown s(KIV_FUNCTION(p.hist), 300, 200);
  kiv_chart1d_show_stats(s.chart, TRUE);
  GThread *t = g_thread_new("producer", [](gpointer data) -> gpointer {
    Producer *p = static_cast<Producer *>(data);
    GRand *r = g_rand_new_with_seed(7);
    for (; !p->stop; p->filled++)
      kiv_histogram_fill(p->hist, g_rand_double_range(r, 0.0, 10.0), 1.0);
    g_rand_free(r);
    return NULL;
  }, &p);
  for (int i = 0; i < 10; i++) {
    s.chart->xmin = i % 2 ? 2.0 : 0.0;
    redraw(s.chart);
    while (gtk_events_pending())
      gtk_main_iteration();
  }
  p.stop = 1;
  g_thread_join(t);
  g_assert_cmpfloat(kiv_histogram_entries(p.hist), ==, p.filled);
  g_object_unref(p.hist);
}

int main(int argc, char **argv) {
  g_test_init(&argc, &argv, NULL);
  bool display = gtk_init_check(&argc, &argv);

  g_test_add_func("/chart1d/transforms", test_transforms);
  g_test_add_func("/chart1d/value-for-label", test_value_for_label);
  g_test_add_func("/chart1d/img-to-gstring", test_img_to_gstring);
  if (!display) {
    /* Everything else is a widget on a display. */
    g_test_add_func("/chart1d/widgets", [] { g_test_skip("no X display"); });
    return g_test_run();
  }
  g_test_add_func("/chart1d/new", test_new);
  g_test_add_func("/chart1d/enums", test_enums);
  g_test_add_func("/chart1d/properties", test_properties);
  g_test_add_func("/chart1d/property-values", test_property_values);
  g_test_add_func("/chart1d/property-write-lock", test_property_write_lock);
  g_test_add_func("/chart1d/curves", test_curves);
  g_test_add_func("/chart1d/range-following", test_range_following);
  g_test_add_func("/chart1d/size", test_size);
  g_test_add_func("/chart1d/layout", test_layout);
  g_test_add_func("/chart1d/layout-log", test_layout_log);
  g_test_add_func("/chart1d/layout-2d", test_layout_2d);
  g_test_add_func("/chart1d/frame", test_frame);
  g_test_add_func("/chart1d/pixels", test_pixels);
  g_test_add_func("/chart1d/pixels-legend", test_pixels_legend);
  g_test_add_func("/chart1d/expose", test_expose);
  g_test_add_func("/chart1d/axis-ticks", test_axis_ticks);
  g_test_add_func("/chart1d/axis-positions", test_axis_positions);
  g_test_add_func("/chart1d/stats", test_stats);
  g_test_add_func("/chart1d/tracer-marker", test_tracer_marker);
  g_test_add_func("/chart1d/colors", test_colors);
  g_test_add_func("/chart1d/colors/theme", test_colors_theme);
  g_test_add_func("/chart1d/colors/messages", test_color_messages);
  g_test_add_func("/chart1d/pictures", test_pictures);
  g_test_add_func("/chart1d/print", test_print);
  g_test_add_func("/chart1d/unusable-ranges", test_unusable_ranges);
  g_test_add_func("/chart1d/never-allocated", test_never_allocated);
  g_test_add_func("/chart1d/threads", test_threads);
  return g_test_run();
}
