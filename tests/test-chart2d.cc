/* Tests of KivChart2D on a real X server: the colour schemes, the class and
 * its properties, the frame step (index buffer, sort, value range), the
 * picture read back pixel by pixel against the drawing that a colour map is
 * defined by, the selection of a value range with pointer events and the
 * entries of the popup menu. */
#include "chart1d-fixture.h"
#include "kivchart2d-private.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <string>
#include <cstring>
#include <vector>

namespace {

/* ---------------------------------------------------------------------
 * Fixtures.
 * ------------------------------------------------------------------- */

using kivtest::kWhite;
using kivtest::Rgb;
using kivtest::pixel;
using kivtest::read_pixmap;

constexpr Rgb kBlack{0, 0, 0};

/* A two-dimensional chart shown in a toplevel window of a known size, once
 * it has been drawn.  The window is moved to the far corner of the screen,
 * out of the way of the windows of tests running beside this one (which
 * may read their own back from the screen). */
struct Shown : kivtest::Shown {
  KivChart2D *chart2d;
  Shown(GtkWidget *w, int width, int height)
      : kivtest::Shown(w, width, height), chart2d(KIV_CHART2D(w)) {
    GdkScreen *screen = gtk_widget_get_screen(w);
    gtk_window_move(GTK_WINDOW(window), gdk_screen_get_width(screen) - width,
                    gdk_screen_get_height(screen) - height);
    kivtest::drain();
  }
  KivChart1D *c1() const { return chart; }
  KivCanvas *canvas() const { return chart->cnvs; }
};

/* An nx x ny histogram over [0, nx) x [0, ny) whose cells hold the values
 * given, in cell order, the rest 0. */
KivHistogram2D *histogram_of(int nx, int ny, std::initializer_list<double> cells = {}) {
  KivHistogram2D *h = kiv_histogram2d_new(nx, 0.0, nx, ny, 0.0, ny, NULL);
  int b = 0;
  for (double v : cells)
    h->y[b++] = v;
  return h;
}

/* A chart of the histogram with plain colours and, unless asked for,
 * without axes, so that everything below the read-out is colour map. */
GtkWidget *plain_chart(KivHistogram2D *hist, bool axes = false) {
  GtkWidget *w = kiv_chart2d_new(hist);
  kiv_chart1d_set_colors(KIV_CHART1D(w), "background", "white", "foreground", "black", "axis",
                         "black", NULL);
  if (!axes) {
    kiv_chart1d_draw_x_axis(KIV_CHART1D(w), KIV_AXIS_NONE);
    kiv_chart1d_draw_y_axis(KIV_CHART1D(w), KIV_AXIS_NONE);
  }
  return w;
}

/* The pixel at the centre of cell (ix, iy). */
void cell_centre(KivChart2D *h, int ix, int iy, int *x, int *y) {
  KivCanvas *c = KIV_CHART1D(h)->cnvs;
  KivFunction2D *f = KIV_FUNCTION2D(KIV_CHART1D(h)->func);
  *x = static_cast<int>(c->px0 + (ix + 0.5) * c->xstp * f->X.step);
  *y = static_cast<int>(c->py0 - (iy + 0.5) * c->ystp * f->Y->step);
}

Rgb cell_pixel(GdkPixbuf *pb, KivChart2D *h, int ix, int iy) {
  int x = 0, y = 0;
  cell_centre(h, ix, iy, &x, &y);
  return pixel(pb, x, y);
}

Zrange *zrange(KivChart2D *h, const char *key = "zrange") {
  return static_cast<Zrange *>(g_object_get_data(G_OBJECT(h), key));
}

void set_zrange(KivChart2D *h, double fmin, double fmax, const char *key = "zrange") {
  g_free(g_object_steal_data(G_OBJECT(h), key));
  Zrange *z = g_new(Zrange, 1);
  z->fmin = fmin;
  z->fmax = fmax;
  g_object_set_data(G_OBJECT(h), key, z);
}

void set_source(cairo_t *cr, const GdkColor &c) {
  cairo_set_source_rgb(cr, c.red / 65535.0, c.green / 65535.0, c.blue / 65535.0);
}

void box(cairo_t *cr, const GdkColor &c, double x, double y, double w, double hh) {
  set_source(cr, c);
  cairo_rectangle(cr, x, y, w, hh);
  cairo_fill_preserve(cr);
  cairo_stroke(cr);
}

/* The colour map as it is defined, drawn with cairo from the state the
 * chart's last redraw left (canvas layout, value range, index lists and
 * colours) onto the background: the mark of the selection, the colour
 * scale from the top down and every cell in the range in increasing order
 * of content, each filled and outlined at a quarter of a pixel. */
cairo_surface_t *defined_map(KivChart2D *h) {
  KivChart1D *h1 = KIV_CHART1D(h);
  KivCanvas *c = h1->cnvs;
  cairo_surface_t *s =
      cairo_image_surface_create(CAIRO_FORMAT_ARGB32, c->canvas_width, c->canvas_height);
  cairo_t *cr = cairo_create(s);
  set_source(cr, h1->colors[KIV_COLOR_BACKGROUND]);
  cairo_paint(cr);
  set_source(cr, h1->colors[KIV_COLOR_FOREGROUND]);
  cairo_set_line_width(cr, 0.25);

  Zrange *z = zrange(h) != NULL ? zrange(h) : zrange(h, "__zrange");
  if (z != NULL) {
    double a = std::clamp(z->fmin, 0.0, 1.0), b = std::clamp(z->fmax, 0.0, 1.0);
    int top = c->pz0 - static_cast<int>(std::max(a, b) * c->wz);
    int bottom = c->pz0 - static_cast<int>(std::min(a, b) * c->wz);
    cairo_rectangle(cr, c->cscale.x + c->cscale.width + 5, top, 2, bottom - top);
    cairo_fill(cr);
  }

  float step = static_cast<float>(c->cscale.height) / h->ncol;
  int bh = std::max(1, static_cast<int>(1 + step));
  double y = c->cscale.y;
  for (int k = 0; k < h->ncol; k++) {
    if (k > 0)
      y += step;
    box(cr, h->colorlst[h->ncol - 1 - k], c->cscale.x, k == 0 ? c->cscale.y : static_cast<int>(y),
        c->cscale.width, bh);
  }

  KivHistogram2D *hist = KIV_HISTOGRAM2D(h1->func);
  KivFunction2D *f2 = KIV_FUNCTION2D(hist);
  double delta = c->zmax - c->zmin;
  if (h->nindx > 0 && delta != 0.0) {
    double f = (h->ncol - 1) / delta;
    double sx = c->xstp * f2->X.step, sy = c->ystp * f2->Y->step;
    int w = std::max(1, static_cast<int>(1 + sx)), hh = std::max(1, static_cast<int>(1 + sy));
    for (int k = 0; k < h->nindx; k++) {
      int b = h->dindex[h->dkey[k]];
      double v = hist->y[b] - c->zmin;
      if (v < 0)
        continue;
      if (v > delta)
        break;
      int ix = b % f2->X.nbin, iy = b / f2->X.nbin;
      int ci = std::min(static_cast<int>(f * v), h->ncol - 1);
      box(cr, h->colorlst[ci], static_cast<int>(ix * sx + c->px0),
          static_cast<int>(c->py0 - (iy + 1) * sy), w, hh);
    }
  }
  cairo_destroy(cr);
  cairo_surface_flush(s);
  return s;
}

/* The chart's picture below its top margin (where the read-out is) equals
 * the defined drawing, pixel for pixel. */
void assert_picture_is_defined_map(KivChart2D *h) {
  GdkPixbuf *pb = read_pixmap(h);
  cairo_surface_t *want = defined_map(h);
  KivCanvas *c = KIV_CHART1D(h)->cnvs;
  int differ = 0, first_x = -1, first_y = -1;
  for (int y = c->oy; y < c->canvas_height; y++)
    for (int x = 0; x < c->canvas_width; x++)
      if (!pixel(pb, x, y).near(pixel(want, x, y)) && differ++ == 0) {
        first_x = x;
        first_y = y;
      }
  if (differ != 0) {
    Rgb got = pixel(pb, first_x, first_y), w = pixel(want, first_x, first_y);
    g_error("%d pixels differ from the defined map, the first at (%d, %d): (%d, %d, %d) "
            "instead of (%d, %d, %d)",
            differ, first_x, first_y, got.r, got.g, got.b, w.r, w.g, w.b);
  }
  cairo_surface_destroy(want);
  g_object_unref(pb);
}

/* Counts the expose events of a widget. */
struct Exposures {
  int n = 0;
  static gboolean bump(GtkWidget *, GdkEvent *, gpointer data) {
    static_cast<Exposures *>(data)->n++;
    return FALSE;
  }
  explicit Exposures(GtkWidget *w) { g_signal_connect(w, "expose-event", G_CALLBACK(bump), this); }
};

} // namespace

/* ---------------------------------------------------------------------
 * The enumeration, the class and its properties.
 * ------------------------------------------------------------------- */

static void test_enum(void) {
  GType t = kiv_chart_color_scheme_get_type();
  g_assert_true(G_TYPE_IS_ENUM(t));
  g_assert_cmpstr(g_type_name(t), ==, "KivChart2DColorScheme");
  static const char *const nicks[] = {"bw", "wb", "red", "green", "blue", "thermal", "last"};
  GEnumClass *klass = G_ENUM_CLASS(g_type_class_ref(t));
  g_assert_cmpuint(klass->n_values, ==, G_N_ELEMENTS(nicks));
  for (int v = 0; v < static_cast<int>(G_N_ELEMENTS(nicks)); v++)
    g_assert_cmpstr(g_enum_get_value(klass, v)->value_nick, ==, nicks[v]);
  g_assert_cmpstr(g_enum_get_value(klass, KIV_COLOR_2D_THERMAL)->value_name, ==,
                  "KIV_COLOR_2D_THERMAL");
  g_type_class_unref(klass);

  g_assert_cmpstr(g_type_name(KIV_TYPE_CHART2D), ==, "KivChart2D");
  g_assert_true(g_type_parent(KIV_TYPE_CHART2D) == KIV_TYPE_CHART1D);
}

static void test_properties(void) {
  GObjectClass *klass = G_OBJECT_CLASS(g_type_class_ref(KIV_TYPE_CHART2D));
  guint n = 0;
  GParamSpec **all = g_object_class_list_properties(klass, &n);
  int own = 0;
  for (guint i = 0; i < n; i++) {
    GParamSpec *p = all[i];
    if (p->owner_type != KIV_TYPE_CHART2D)
      continue;
    own++;
    g_assert_true(p->flags & G_PARAM_READABLE);
    g_assert_true(p->flags & G_PARAM_WRITABLE);
    g_assert_false(p->flags & G_PARAM_CONSTRUCT);
    std::string name = p->name;
    if (name == "ctype") {
      g_assert_cmpuint(p->param_id, ==, 1);
      g_assert_cmpstr(g_param_spec_get_nick(p), ==, "Color Scheme");
      g_assert_cmpstr(g_param_spec_get_blurb(p), ==, "Color Scheme");
      g_assert_true(p->value_type == KIV_TYPE_CHART_COLOR_SCHEME);
      g_assert_cmpint(G_PARAM_SPEC_ENUM(p)->default_value, ==, KIV_COLOR_2D_THERMAL);
    } else if (name == "squared") {
      g_assert_cmpuint(p->param_id, ==, 2);
      g_assert_cmpstr(g_param_spec_get_nick(p), ==, "Squared histogram");
      g_assert_cmpstr(g_param_spec_get_blurb(p), ==, "If set the histogram will be drawn squared");
      g_assert_false(G_PARAM_SPEC_BOOLEAN(p)->default_value);
    } else {
      g_assert_not_reached();
    }
  }
  g_assert_cmpint(own, ==, 2);
  /* "vmin" and "vmax" are the parent's, overridden (see test_vmin_vmax for
   * what the override does). */
  for (const char *name : {"vmin", "vmax"})
    g_assert_true(g_object_class_find_property(klass, name)->owner_type == KIV_TYPE_CHART1D);
  g_free(all);
  g_type_class_unref(klass);
}

static void test_new(void) {
  kiv_expect_critical("kiv_chart2d_new: assertion 'ff!=0' failed");
  g_assert_null(kiv_chart2d_new(NULL));
  g_test_assert_expected_messages();

  KivHistogram2D *hist = histogram_of(3, 2);
  KivChart2D *h = KIV_CHART2D(g_object_ref_sink(kiv_chart2d_new(hist)));
  g_assert_true(KIV_IS_CHART1D(h));
  g_assert_true(KIV_CHART1D(h)->func == KIV_FUNCTION(hist));
  g_assert_cmpint(h->ctype, ==, KIV_COLOR_2D_THERMAL);
  g_assert_cmpint(h->ncol, ==, 100);
  g_assert_nonnull(h->colorlst);
  g_assert_false(h->squared);
  g_assert_cmpint(h->bsiz, ==, -1);
  g_assert_cmpint(h->nindx, ==, 0);
  g_assert_cmpint(h->ntot, ==, 0);
  g_assert_null(h->dindex);
  g_assert_null(h->dkey);
  int ctype = -1;
  gboolean squared = TRUE;
  g_object_get(h, "ctype", &ctype, "squared", &squared, NULL);
  g_assert_cmpint(ctype, ==, KIV_COLOR_2D_THERMAL);
  g_assert_false(squared);

  /* A chart made without the constructor has no scheme applied yet. */
  KivChart2D *bare = KIV_CHART2D(g_object_ref_sink(g_object_new(KIV_TYPE_CHART2D, NULL)));
  g_assert_cmpint(bare->ctype, ==, KIV_COLOR_2D_BW);
  g_assert_cmpint(bare->ncol, ==, 0);
  g_assert_null(bare->colorlst);
  g_object_unref(bare);

  kiv_expect_critical("kiv_chart2d_set_squared: assertion 'h2d != NULL' failed");
  kiv_chart2d_set_squared(NULL, TRUE);
  KivChart1D *one = KIV_CHART1D(g_object_ref_sink(kiv_chart1d_new(KIV_FUNCTION(hist))));
  kiv_expect_critical("kiv_chart2d_set_squared: assertion 'KIV_IS_CHART2D(h2d)' failed");
  kiv_chart2d_set_squared(reinterpret_cast<KivChart2D *>(one), TRUE);
  g_test_assert_expected_messages();
  g_object_unref(one);

  g_object_unref(h);
  g_assert_cmpint(G_OBJECT(hist)->ref_count, ==, 1);
  g_object_unref(hist);
}

/* ---------------------------------------------------------------------
 * Colour schemes.
 * ------------------------------------------------------------------- */

namespace {

struct Row {
  int i;
  guint16 r, g, b;
};

void assert_scheme(KivChart2D *h, KivChartColorScheme t, int ncol, std::initializer_list<Row> rows) {
  g_object_set(h, "ctype", t, NULL);
  g_assert_cmpint(h->ctype, ==, t);
  g_assert_cmpint(h->ncol, ==, ncol);
  for (const Row &row : rows) {
    const GdkColor &c = h->colorlst[row.i];
    if (c.red != row.r || c.green != row.g || c.blue != row.b)
      g_error("scheme %d, colour %d is (%u, %u, %u), expected (%u, %u, %u)", t, row.i, c.red,
              c.green, c.blue, row.r, row.g, row.b);
  }
}

} // namespace

static void test_schemes(void) {
  KivHistogram2D *hist = histogram_of(2, 2);
  KivChart2D *h = KIV_CHART2D(g_object_ref_sink(kiv_chart2d_new(hist)));

  assert_scheme(h, KIV_COLOR_2D_BW, 25,
                {{0, 65535, 65535, 65535}, {1, 62913, 62913, 62913}, {12, 34078, 34078, 34078},
                 {24, 2621, 2621, 2621}});
  assert_scheme(h, KIV_COLOR_2D_WB, 25,
                {{0, 0, 0, 0}, {1, 2621, 2621, 2621}, {12, 31456, 31456, 31456},
                 {24, 62913, 62913, 62913}});
  assert_scheme(h, KIV_COLOR_2D_RED, 25,
                {{0, 65535, 0, 0}, {12, 34078, 0, 0}, {24, 2621, 0, 0}});
  assert_scheme(h, KIV_COLOR_2D_GREEN, 25,
                {{0, 0, 65535, 0}, {12, 0, 34078, 0}, {24, 0, 2621, 0}});
  assert_scheme(h, KIV_COLOR_2D_BLUE, 25,
                {{0, 0, 0, 65535}, {12, 0, 0, 34078}, {24, 0, 0, 2621}});
  assert_scheme(h, KIV_COLOR_2D_THERMAL, 100,
                {{0, 0, 0, 65535}, {12, 0, 31456, 65535}, {25, 0, 65534, 65535},
                 {26, 0, 65535, 62913}, {50, 0, 65535, 0}, {62, 31456, 65535, 0},
                 {75, 65534, 65535, 0}, {76, 65535, 62913, 0}, {99, 65535, 2621, 0}});

  /* Grey ramps are grey all along; white/black rises, black/white falls. */
  assert_scheme(h, KIV_COLOR_2D_WB, 25, {});
  for (int i = 1; i < 25; i++) {
    const GdkColor &c = h->colorlst[i];
    g_assert_true(c.red == c.green && c.green == c.blue);
    g_assert_cmpuint(c.red, >, h->colorlst[i - 1].red);
  }

  g_object_unref(h);
  g_object_unref(hist);
}

/* KIV_COLOR_2D_LAST ends the enumeration and has no ramp: the property
 * takes it like any value of the type, and the chart refuses it. */
static void test_scheme_last(void) {
  KivHistogram2D *hist = histogram_of(2, 2);
  KivChart2D *h = KIV_CHART2D(g_object_ref_sink(kiv_chart2d_new(hist)));
  g_object_set(h, "ctype", KIV_COLOR_2D_RED, NULL);
  GdkColor *list = h->colorlst;

  kiv_expect_critical("chart2d_build_colors: assertion 't < KIV_COLOR_2D_LAST' failed");
  g_object_set(h, "ctype", KIV_COLOR_2D_LAST, NULL);
  g_test_assert_expected_messages();
  g_assert_cmpint(h->ctype, ==, KIV_COLOR_2D_RED);
  g_assert_cmpint(h->ncol, ==, 25);
  g_assert_true(h->colorlst == list);
  g_assert_cmpuint(h->colorlst[0].red, ==, 65535);

  /* Values beyond the enumeration never reach the chart. */
  g_test_expect_message("GLib-GObject", G_LOG_LEVEL_WARNING, "*ctype*");
  g_object_set(h, "ctype", 7, NULL);
  g_test_assert_expected_messages();
  g_assert_cmpint(h->ctype, ==, KIV_COLOR_2D_RED);

  g_object_unref(h);
  g_object_unref(hist);
}

/* The list is rebuilt when the window is made and released when it goes;
 * one scheme after another leaves one list of its own length. */
static void test_realize(void) {
  KivHistogram2D *hist = histogram_of(2, 2, {1, 2, 3, 4});
  GtkWidget *w = GTK_WIDGET(g_object_ref_sink(kiv_chart2d_new(hist)));
  KivChart2D *h = KIV_CHART2D(w);
  g_object_set(h, "ctype", KIV_COLOR_2D_BLUE, "ctype", KIV_COLOR_2D_THERMAL, NULL);
  g_assert_cmpint(h->ncol, ==, 100);
  g_object_set(h, "ctype", KIV_COLOR_2D_GREEN, NULL);
  g_assert_cmpint(h->ncol, ==, 25);

  GtkWidget *window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
  gtk_container_add(GTK_CONTAINER(window), w);
  gtk_widget_realize(w);
  g_assert_true(gtk_widget_get_realized(w));
  g_assert_cmpint(h->ncol, ==, 25);
  g_assert_cmpuint(h->colorlst[0].green, ==, 65535);

  gtk_widget_unrealize(w);
  g_assert_cmpint(h->ncol, ==, 0);
  g_assert_null(h->colorlst);

  /* Without colours nothing of the map is drawn. */
  GdkPixbuf *pb = read_pixmap(h);
  g_object_unref(pb);

  g_object_set(h, "ctype", KIV_COLOR_2D_WB, NULL);
  gtk_widget_realize(w);
  g_assert_cmpint(h->ncol, ==, 25);
  g_assert_cmpuint(h->colorlst[24].red, ==, 62913);
  gtk_widget_destroy(window);
  g_assert_cmpint(h->ncol, ==, 0);
  g_object_unref(w);
  g_object_unref(hist);
}

/* "vmin" and "vmax" only store: the redraw puts the histogram's y range
 * in their place. */
static void test_vmin_vmax(void) {
  KivHistogram2D *hist = kiv_histogram2d_new(4, -1.0, 3.0, 5, -2.0, 8.0, NULL);
  KivChart2D *h = KIV_CHART2D(g_object_ref_sink(kiv_chart2d_new(hist)));
  KivCanvas *c = KIV_CHART1D(h)->cnvs;
  double ymin = c->ymin, ymax = c->ymax;
  gboolean fixed = c->fixed;

  g_object_set(h, "vmin", 5.0, "vmax", 6.0, NULL);
  double vmin = 0, vmax = 0;
  g_object_get(h, "vmin", &vmin, "vmax", &vmax, NULL);
  g_assert_cmpfloat(vmin, ==, 5.0);
  g_assert_cmpfloat(vmax, ==, 6.0);
  g_assert_cmpfloat(c->ymin, ==, ymin);
  g_assert_cmpfloat(c->ymax, ==, ymax);
  g_assert_cmpint(c->fixed, ==, fixed);

  g_object_unref(read_pixmap(h));
  g_object_get(h, "vmin", &vmin, "vmax", &vmax, NULL);
  g_assert_cmpfloat(vmin, ==, -2.0);
  g_assert_cmpfloat(vmax, ==, 8.0);
  g_assert_cmpfloat(c->ymin, ==, -2.0);
  g_assert_cmpfloat(c->ymax, ==, 8.0);
  g_assert_cmpfloat(c->xmin, ==, -1.0);
  g_assert_cmpfloat(KIV_CHART1D(h)->xmax, ==, 3.0);

  g_object_unref(h);
  g_object_unref(hist);
}

namespace {

struct Holder {
  GMutex *mutex;
  gint held = 0;
  gint release = 0;
};

gpointer hold_canvas(gpointer data) {
  Holder *h = static_cast<Holder *>(data);
  g_mutex_lock(h->mutex);
  g_atomic_int_set(&h->held, 1);
  while (!g_atomic_int_get(&h->release))
    g_usleep(1000);
  g_mutex_unlock(h->mutex);
  return NULL;
}

} // namespace

/* "ctype" and "squared" are written under the canvas mutex and dropped
 * after about 100 ms when a redraw keeps it; "vmin" and "vmax" do not
 * wait for it at all. */
static void test_property_write_lock(void) {
  KivHistogram2D *hist = histogram_of(2, 2);
  KivChart2D *h = KIV_CHART2D(g_object_ref_sink(kiv_chart2d_new(hist)));
  Holder holder;
  holder.mutex = &KIV_CHART1D(h)->cnvs->mutex;
  GThread *t = g_thread_new("holder", hold_canvas, &holder);
  while (!g_atomic_int_get(&holder.held))
    g_usleep(1000);

  gint64 t0 = g_get_monotonic_time();
  g_object_set(h, "ctype", KIV_COLOR_2D_RED, "squared", TRUE, NULL);
  g_assert_cmpint(g_get_monotonic_time() - t0, >=, 180000);
  g_assert_cmpint(h->ctype, ==, KIV_COLOR_2D_THERMAL);
  g_assert_cmpint(h->ncol, ==, 100);
  g_assert_false(h->squared);
  g_object_set(h, "vmin", -3.0, NULL);
  g_assert_cmpfloat(KIV_CHART1D(h)->vmin, ==, -3.0);

  g_atomic_int_set(&holder.release, 1);
  g_thread_join(t);
  g_object_set(h, "ctype", KIV_COLOR_2D_RED, "squared", TRUE, NULL);
  g_assert_cmpint(h->ncol, ==, 25);
  g_assert_true(h->squared);
  g_object_unref(h);
  g_object_unref(hist);
}

namespace {

GType sub_chart2d_type() {
  static GType t = 0;
  if (t == 0) {
    t = g_type_register_static_simple(
        KIV_TYPE_CHART2D, "SubChart2D", sizeof(KivChart2DClass),
        [](gpointer klass, gpointer) {
          /* GObject does not pass the handlers on: the chart's own take
           * the new id. */
          GObjectClass *oc = G_OBJECT_CLASS(klass);
          GObjectClass *parent = G_OBJECT_CLASS(g_type_class_peek_parent(klass));
          oc->set_property = parent->set_property;
          oc->get_property = parent->get_property;
          g_object_class_install_property(oc, 42,
              g_param_spec_int("extra", "", "", 0, 9, 0, G_PARAM_READWRITE));
        },
        sizeof(KivChart2D), NULL, GTypeFlags(0));
  }
  return t;
}

} // namespace

static void test_invalid_property_id(void) {
  GObject *o = G_OBJECT(g_object_ref_sink(g_object_new(sub_chart2d_type(), NULL)));
  kiv_expect_warning("*kivchart2d.cc:*: invalid property id 42 for \"extra\" of type "
                     "'GParamInt' in 'SubChart2D'");
  g_object_set(o, "extra", 3, NULL);
  kiv_expect_warning("*kivchart2d.cc:*: invalid property id 42 for \"extra\"*");
  int v = 0;
  g_object_get(o, "extra", &v, NULL);
  g_test_assert_expected_messages();
  g_object_unref(o);
}

/* ---------------------------------------------------------------------
 * The sort.
 * ------------------------------------------------------------------- */

namespace {

std::vector<int> sorted_entries(const std::vector<double> &keys, int *stack, int nstack,
                                bool *done = NULL) {
  std::vector<int> indx(keys.size());
  std::iota(indx.begin(), indx.end(), 0);
  const double *k = keys.data();
  bool ok = kiv::chart2d_index_sort(static_cast<int>(keys.size()), indx.data(),
                                    [k](int e) { return k[e]; }, stack, nstack);
  if (done != NULL)
    *done = ok;
  return indx;
}

void assert_sorted(const std::vector<double> &keys, const std::vector<int> &indx) {
  std::vector<int> seen(indx);
  std::sort(seen.begin(), seen.end());
  for (size_t i = 0; i < seen.size(); i++)
    g_assert_cmpint(seen[i], ==, static_cast<int>(i));
  for (size_t i = 1; i < indx.size(); i++)
    g_assert_cmpfloat(keys[indx[i - 1]], <=, keys[indx[i]]);
}

std::string printed;

void keep_printed(const gchar *s) {
  printed += s;
}

} // namespace

static void test_sort(void) {
  int stack[128];
  GRand *rand = g_rand_new_with_seed(7);
  for (int n : {0, 1, 2, 7, 8, 9, 31, 1000, 65536}) {
    for (int spread : {3, 1000000}) {
      std::vector<double> keys(static_cast<size_t>(n));
      for (double &k : keys)
        k = g_rand_int_range(rand, -spread, spread);
      assert_sorted(keys, sorted_entries(keys, stack, 128));
    }
  }

  /* Ordered, reversed, all equal, and infinities among them. */
  std::vector<double> up(5000), down(5000), flat(5000, 2.5);
  std::iota(up.begin(), up.end(), 0.0);
  std::iota(down.rbegin(), down.rend(), 0.0);
  assert_sorted(up, sorted_entries(up, stack, 128));
  assert_sorted(down, sorted_entries(down, stack, 128));
  assert_sorted(flat, sorted_entries(flat, stack, 128));
  std::vector<double> inf = {3, -INFINITY, 1e308, INFINITY, -1e308, 0, 2, 1, 5, 4, -INFINITY};
  assert_sorted(inf, sorted_entries(inf, stack, 128));

  /* Up to eight entries are sorted by insertion: equal keys stay in order. */
  std::vector<double> ties = {2, 1, 2, 1, 0, 2, 1};
  std::vector<int> want = {4, 1, 3, 6, 0, 2, 5};
  g_assert_true(sorted_entries(ties, stack, 128) == want);

  /* A stack too small for the ranges pending: the message, and the sort
   * gives up. */
  printed.clear();
  GPrintFunc old = g_set_printerr_handler(keep_printed);
  bool done = true;
  std::vector<double> many(1000);
  for (double &k : many)
    k = g_rand_double(rand);
  sorted_entries(many, stack, 2, &done);
  g_set_printerr_handler(old);
  g_assert_false(done);
  g_assert_cmpstr(printed.c_str(), ==, "gtkkiv2d:sort NSTACK too small");
  g_rand_free(rand);
}

/* ---------------------------------------------------------------------
 * The frame step.
 * ------------------------------------------------------------------- */

static void test_frame_index(void) {
  KivHistogram2D *hist = histogram_of(3, 2, {7, 0, 0, 0, 0, 3});
  KivChart2D *h = KIV_CHART2D(g_object_ref_sink(kiv_chart2d_new(hist)));
  g_object_unref(read_pixmap(h));
  g_assert_cmpint(h->ntot, ==, 6);
  g_assert_cmpint(h->nindx, ==, 2);
  g_assert_cmpint(h->bsiz, ==, 4);
  g_assert_cmpint(h->dindex[0], ==, 0);
  g_assert_cmpint(h->dindex[1], ==, 5);
  g_assert_true(h->dkey == h->dindex + 2);
  g_assert_cmpint(h->dkey[0], ==, 1);
  g_assert_cmpint(h->dkey[1], ==, 0);
  KivCanvas *c = KIV_CHART1D(h)->cnvs;
  g_assert_cmpfloat(c->zmin, ==, 3.0);
  g_assert_cmpfloat(c->zmax, ==, 7.0);

  /* Two nonzero cells again: the same buffer. */
  gint *buffer = h->dindex;
  hist->y[0] = hist->y[5] = 0.0;
  hist->y[1] = 4.0;
  hist->y[4] = -1.0;
  g_object_unref(read_pixmap(h));
  g_assert_true(h->dindex == buffer);
  g_assert_cmpint(h->bsiz, ==, 4);
  g_assert_cmpint(h->dindex[0], ==, 1);
  g_assert_cmpint(h->dindex[1], ==, 4);
  g_assert_cmpint(h->dkey[0], ==, 1);

  /* Three: it grows to 6 ints; back to one, it keeps its size. */
  hist->y[2] = 9.0;
  g_object_unref(read_pixmap(h));
  g_assert_cmpint(h->bsiz, ==, 6);
  g_assert_cmpint(h->nindx, ==, 3);
  hist->y[1] = hist->y[4] = 0.0;
  g_object_unref(read_pixmap(h));
  g_assert_cmpint(h->bsiz, ==, 6);
  g_assert_cmpint(h->nindx, ==, 1);
  g_assert_true(h->dkey == h->dindex + 1);

  /* All zero. */
  hist->y[2] = 0.0;
  g_object_unref(read_pixmap(h));
  g_assert_cmpint(h->nindx, ==, 0);
  g_assert_cmpfloat(c->zmin, ==, 0.0);
  g_assert_cmpfloat(c->zmax, ==, 0.0);

  g_object_unref(h);
  g_object_unref(hist);
}

static void test_frame_range(void) {
  KivHistogram2D *hist = histogram_of(4, 2, {1, 0, 2, 0, 0, 5, 0, 0});
  KivChart2D *h = KIV_CHART2D(g_object_ref_sink(kiv_chart2d_new(hist)));
  KivCanvas *c = KIV_CHART1D(h)->cnvs;
  g_object_unref(read_pixmap(h));
  g_assert_cmpfloat(c->zmin, ==, 1.0);
  g_assert_cmpfloat(c->zmax, ==, 5.0);

  /* The fractions refer to the whole range of the nonzero contents. */
  set_zrange(h, 0.25, 0.5);
  g_object_unref(read_pixmap(h));
  g_assert_cmpfloat(c->zmin, ==, 2.0);
  g_assert_cmpfloat(c->zmax, ==, 3.0);
  g_object_unref(read_pixmap(h));
  g_assert_cmpfloat(c->zmin, ==, 2.0);

  /* A drag in progress does not narrow the range. */
  g_free(g_object_steal_data(G_OBJECT(h), "zrange"));
  set_zrange(h, 0.5, 0.75, "__zrange");
  g_object_unref(read_pixmap(h));
  g_assert_cmpfloat(c->zmin, ==, 1.0);
  g_assert_cmpfloat(c->zmax, ==, 5.0);

  /* Negative contents count like positive ones. */
  hist->y[0] = -4.0;
  hist->y[2] = 4.0;
  hist->y[5] = 0.0;
  g_object_unref(read_pixmap(h));
  g_assert_cmpfloat(c->zmin, ==, -4.0);
  g_assert_cmpfloat(c->zmax, ==, 4.0);

  g_object_unref(h);
  g_object_unref(hist);
}

/* The order of the frame step is that of the index sort on the contents
 * of the nonzero cells, ties included. */
static void test_frame_order(void) {
  GRand *rand = g_rand_new_with_seed(5);
  KivHistogram2D *hist = histogram_of(300, 200);
  for (int b = 0; b < 300 * 200; b++)
    hist->y[b] = g_rand_int_range(rand, -3, 30);
  KivChart2D *h = KIV_CHART2D(g_object_ref_sink(kiv_chart2d_new(hist)));
  g_object_unref(read_pixmap(h));
  std::vector<double> keys;
  for (int b = 0; b < 300 * 200; b++)
    if (hist->y[b] != 0.0) {
      g_assert_cmpint(h->dindex[keys.size()], ==, b);
      keys.push_back(hist->y[b]);
    }
  g_assert_cmpint(h->nindx, ==, static_cast<int>(keys.size()));
  int stack[128];
  std::vector<int> want = sorted_entries(keys, stack, 128);
  g_assert_true(std::equal(want.begin(), want.end(), h->dkey));
  g_assert_cmpfloat(KIV_CHART1D(h)->cnvs->zmin, ==, -3.0);
  g_assert_cmpfloat(KIV_CHART1D(h)->cnvs->zmax, ==, 29.0);
  g_object_unref(h);
  g_object_unref(hist);
  g_rand_free(rand);
}

/* Distinct contents take another way to their order, and a redraw of
 * unchanged contents keeps the index; both must give the order of the
 * index sort, also after a write into the cells that no fill announced. */
static void test_frame_order_distinct(void) {
  GRand *rand = g_rand_new_with_seed(6);
  KivHistogram2D *hist = histogram_of(300, 200);
  for (int b = 0; b < 300 * 200; b++)
    hist->y[b] = b % 7 == 0 ? 0.0 : g_rand_double_range(rand, -1000.0, 1000.0);
  KivChart2D *h = KIV_CHART2D(g_object_ref_sink(kiv_chart2d_new(hist)));
  int stack[128];
  for (int round = 0; round < 4; round++) {
    if (round == 2)
      hist->y[10] = 5000.0;
    if (round == 3)
      hist->y[11] = hist->y[12];
    g_object_unref(read_pixmap(h));
    std::vector<double> keys;
    for (int b = 0; b < 300 * 200; b++)
      if (hist->y[b] != 0.0)
        keys.push_back(hist->y[b]);
    g_assert_cmpint(h->nindx, ==, static_cast<int>(keys.size()));
    std::vector<int> want = sorted_entries(keys, stack, 128);
    g_assert_true(std::equal(want.begin(), want.end(), h->dkey));
  }
  g_assert_cmpfloat(KIV_CHART1D(h)->cnvs->zmax, ==, 5000.0);
  g_object_unref(h);
  g_object_unref(hist);
  g_rand_free(rand);
}

namespace {

bool same_picture(GdkPixbuf *a, GdkPixbuf *b) {
  size_t len = static_cast<size_t>(gdk_pixbuf_get_rowstride(a)) * gdk_pixbuf_get_height(a);
  return gdk_pixbuf_get_rowstride(a) == gdk_pixbuf_get_rowstride(b) &&
         gdk_pixbuf_get_height(a) == gdk_pixbuf_get_height(b) &&
         std::memcmp(gdk_pixbuf_get_pixels(a), gdk_pixbuf_get_pixels(b), len) == 0;
}

} // namespace

/* A redraw of unchanged cells puts back the pixels of the last one; they
 * must be those a chart drawing the map afresh paints, for cells of one
 * pixel and of many, and must follow a write no fill announced and a new
 * colour range at once. */
static void test_repainted_cells(void) {
  for (int n : {1000, 40}) {
    KivHistogram2D *hist = histogram_of(n, n);
    for (int b = 0; b < n * n; b++)
      hist->y[b] = static_cast<double>((static_cast<gint64>(b) * 7919) % 1009);
    Shown s(plain_chart(hist), 400, 300);
    GdkPixbuf *first = read_pixmap(s.chart2d);
    GdkPixbuf *again = read_pixmap(s.chart2d);
    g_assert_true(same_picture(first, again));
    {
      Shown other(plain_chart(hist), 400, 300);
      GdkPixbuf *theirs = read_pixmap(other.chart2d);
      g_assert_true(same_picture(again, theirs));
      g_object_unref(theirs);
    }
    hist->y[n * n / 2 + n / 2] = 5000.0;
    GdkPixbuf *written = read_pixmap(s.chart2d);
    g_assert_false(same_picture(first, written));
    Zrange *zr = g_new(Zrange, 1);
    zr->fmin = 0.0;
    zr->fmax = 0.1;
    g_object_set_data(G_OBJECT(s.chart2d), "zrange", zr);
    GdkPixbuf *ranged = read_pixmap(s.chart2d);
    g_assert_false(same_picture(written, ranged));
    Shown fresh(plain_chart(hist), 400, 300);
    g_object_set_data(G_OBJECT(fresh.chart2d), "zrange", zr);
    GdkPixbuf *afresh = read_pixmap(fresh.chart2d);
    g_assert_true(same_picture(ranged, afresh));
    g_object_set_data(G_OBJECT(fresh.chart2d), "zrange", NULL);
    g_object_set_data(G_OBJECT(s.chart2d), "zrange", NULL);
    g_free(zr);
    for (GdkPixbuf *pb : {first, again, written, ranged, afresh})
      g_object_unref(pb);
    g_object_unref(hist);
  }
}

/* Cells holding NaN or an infinity, as a lent array may: NaN counts as
 * nonzero but is ordered after every value; the range is that of the
 * finite contents, and such cells are never drawn. */
static void test_frame_nan_inf(void) {
  double cells[12] = {NAN, INFINITY, -INFINITY, 3.0, 1.0, 2.0, 0, 0, 0, 0, 0, 0};
  KivHistogram2D *hist = kiv_histogram2d_new(4, 0.0, 4.0, 3, 0.0, 3.0, cells);
  GtkWidget *w = plain_chart(hist);
  Shown s(w, 400, 300);
  KivChart2D *h = s.chart2d;
  KivCanvas *c = s.canvas();
  GdkPixbuf *pb = read_pixmap(h);
  g_assert_cmpint(h->nindx, ==, 6);
  std::vector<int> dkey(h->dkey, h->dkey + 6);
  g_assert_true((dkey == std::vector<int>{2, 4, 5, 3, 1, 0}));
  g_assert_cmpfloat(c->zmin, ==, 1.0);
  g_assert_cmpfloat(c->zmax, ==, 3.0);
  for (int b : {0, 1, 2, 6})
    g_assert_true(cell_pixel(pb, h, b % 4, b / 4).near(kWhite));
  g_assert_true(cell_pixel(pb, h, 0, 1).near(kivtest::rgb(h->colorlst[0])));
  g_assert_true(cell_pixel(pb, h, 1, 1).near(kivtest::rgb(h->colorlst[49])));
  g_assert_true(cell_pixel(pb, h, 3, 0).near(kivtest::rgb(h->colorlst[99])));
  g_object_unref(pb);
  assert_picture_is_defined_map(h);

  /* Contents at the ends of the doubles: a range whose width overflows
   * still maps them, and the fractions of it stay finite. */
  std::fill(cells, cells + 12, 0.0);
  cells[0] = -1e308;
  cells[1] = 1e308;
  pb = read_pixmap(h);
  g_assert_true(cell_pixel(pb, h, 0, 0).near(kivtest::rgb(h->colorlst[0])));
  g_assert_true(cell_pixel(pb, h, 1, 0).near(kivtest::rgb(h->colorlst[0])));
  g_object_unref(pb);
  set_zrange(h, 0.5, 1.0);
  g_object_unref(read_pixmap(h));
  g_assert_cmpfloat(c->zmin, ==, 0.0);
  g_assert_cmpfloat(c->zmax, ==, 1e308);

  /* No finite content at all, and a range made NaN by hand: no cell. */
  set_zrange(h, NAN, 1.0);
  pb = read_pixmap(h);
  g_assert_true(cell_pixel(pb, h, 1, 0).near(kWhite));
  g_object_unref(pb);
  cells[0] = NAN;
  cells[1] = INFINITY;
  pb = read_pixmap(h);
  g_assert_cmpfloat(c->zmin, ==, 0.0);
  g_assert_cmpfloat(c->zmax, ==, 0.0);
  g_assert_true(cell_pixel(pb, h, 0, 0).near(kWhite));
  g_object_unref(pb);
  g_object_unref(hist);
}

/* ---------------------------------------------------------------------
 * The picture.
 * ------------------------------------------------------------------- */

/* Contents 1, 2 and 5 in the thermal scheme: colours 0, 24 and 99; the
 * zero cells show the background.  With the part from a quarter to a half
 * of the range selected, only the cell with 2 is drawn, in colour 0. */
static void test_cell_colors(void) {
  KivHistogram2D *hist = histogram_of(4, 2, {1, 0, 2, 0, 0, 5, 0, 0});
  Shown s(plain_chart(hist, true), 400, 300);
  KivChart2D *h = s.chart2d;
  GdkPixbuf *pb = read_pixmap(h);
  g_assert_true(cell_pixel(pb, h, 0, 0).near(kivtest::rgb(h->colorlst[0])));
  g_assert_true(cell_pixel(pb, h, 2, 0).near(kivtest::rgb(h->colorlst[24])));
  g_assert_true(cell_pixel(pb, h, 1, 1).near(kivtest::rgb(h->colorlst[99])));
  g_assert_true(kivtest::rgb(h->colorlst[99]).near(Rgb{255, 10, 0}));
  for (int b : {1, 3, 4, 6, 7})
    g_assert_true(cell_pixel(pb, h, b % 4, b / 4).near(kWhite));
  g_object_unref(pb);

  set_zrange(h, 0.25, 0.5);
  pb = read_pixmap(h);
  g_assert_true(cell_pixel(pb, h, 0, 0).near(kWhite));
  g_assert_true(cell_pixel(pb, h, 2, 0).near(kivtest::rgb(h->colorlst[0])));
  g_assert_true(cell_pixel(pb, h, 1, 1).near(kWhite));
  g_object_unref(pb);

  /* Another scheme, another colour at the same index. */
  g_free(g_object_steal_data(G_OBJECT(h), "zrange"));
  g_object_set(h, "ctype", KIV_COLOR_2D_RED, NULL);
  pb = read_pixmap(h);
  g_assert_true(cell_pixel(pb, h, 0, 0).near(kivtest::rgb(h->colorlst[0])));
  g_assert_true(cell_pixel(pb, h, 0, 0).near(Rgb{255, 0, 0}));
  g_assert_true(cell_pixel(pb, h, 2, 0).near(kivtest::rgb(h->colorlst[6])));
  g_assert_true(cell_pixel(pb, h, 1, 1).near(kivtest::rgb(h->colorlst[24])));
  g_object_unref(pb);
  g_object_unref(hist);
}

/* The whole map against its definition: large cells, cells narrower than
 * a pixel in one direction, and cells smaller than a pixel, in several
 * schemes, with and without a selection. */
static void test_picture_matches_definition(void) {
  GRand *rand = g_rand_new_with_seed(11);
  struct Case {
    int nx, ny;
    KivChartColorScheme scheme;
    double zero_share;
  } cases[] = {
      {7, 5, KIV_COLOR_2D_THERMAL, 0.3},   {600, 3, KIV_COLOR_2D_BW, 0.1},
      {500, 400, KIV_COLOR_2D_THERMAL, 0.3}, {640, 480, KIV_COLOR_2D_WB, 0.0},
      {413, 377, KIV_COLOR_2D_GREEN, 0.5},
  };
  for (const Case &k : cases) {
    KivHistogram2D *hist = histogram_of(k.nx, k.ny);
    for (int b = 0; b < k.nx * k.ny; b++)
      hist->y[b] = g_rand_double(rand) < k.zero_share ? 0.0 : g_rand_int_range(rand, -50, 400);
    Shown s(plain_chart(hist), 400, 300);
    g_object_set(s.chart2d, "ctype", k.scheme, NULL);
    assert_picture_is_defined_map(s.chart2d);
    set_zrange(s.chart2d, 0.1, 0.6);
    assert_picture_is_defined_map(s.chart2d);
    set_zrange(s.chart2d, 0.3, 1.2, "__zrange");
    assert_picture_is_defined_map(s.chart2d);
    g_object_unref(hist);
  }
  g_rand_free(rand);
}

/* An all-zero histogram and one of equal contents: the colour scale is
 * drawn, no cell is. */
static void test_nothing_to_map(void) {
  KivHistogram2D *hist = histogram_of(5, 4);
  Shown s(plain_chart(hist), 400, 300);
  KivChart2D *h = s.chart2d;
  KivCanvas *c = s.canvas();
  for (double v : {0.0, 3.0}) {
    std::fill(hist->y, hist->y + 20, v);
    GdkPixbuf *pb = read_pixmap(h);
    for (int b = 0; b < 20; b++)
      g_assert_true(cell_pixel(pb, h, b % 5, b / 5).near(kWhite));
    int x = c->cscale.x + c->cscale.width / 2;
    kivtest::assert_rgb(pb, x, c->cscale.y, kivtest::rgb(h->colorlst[99]));
    kivtest::assert_rgb(pb, x, c->cscale.y + c->cscale.height - 2, kivtest::rgb(h->colorlst[0]));
    g_object_unref(pb);
    assert_picture_is_defined_map(h);
  }
  g_object_unref(hist);
}

/* The mark of a drag from a fifth of the scale beyond its top: from the
 * top of the scale down to the fifth, two pixels wide, five pixels right
 * of the scale. */
static void test_selection_mark(void) {
  KivHistogram2D *hist = histogram_of(2, 2, {1, 2, 3, 4});
  Shown s(plain_chart(hist), 400, 300);
  KivChart2D *h = s.chart2d;
  KivCanvas *c = s.canvas();
  set_zrange(h, 0.2, 1.4, "__zrange");
  GdkPixbuf *pb = read_pixmap(h);
  int x = c->cscale.x + c->cscale.width + 5;
  int top = c->pz0 - c->wz, bottom = c->pz0 - static_cast<int>(0.2 * c->wz);
  for (int y = top; y < bottom; y++) {
    kivtest::assert_rgb(pb, x, y, kBlack);
    kivtest::assert_rgb(pb, x + 1, y, kBlack);
    kivtest::assert_rgb(pb, x - 1, y, kWhite);
    kivtest::assert_rgb(pb, x + 2, y, kWhite);
  }
  kivtest::assert_rgb(pb, x, top - 1, kWhite);
  kivtest::assert_rgb(pb, x, bottom, kWhite);
  g_object_unref(pb);

  /* A committed range is marked rather than the drag. */
  set_zrange(h, 0.5, 0.75);
  pb = read_pixmap(h);
  kivtest::assert_rgb(pb, x, c->pz0 - static_cast<int>(0.75 * c->wz), kBlack);
  kivtest::assert_rgb(pb, x, c->pz0 - static_cast<int>(0.75 * c->wz) - 1, kWhite);
  kivtest::assert_rgb(pb, x, c->pz0 - static_cast<int>(0.5 * c->wz), kWhite);
  g_object_unref(pb);
  g_object_unref(hist);
}

/* In square mode the map takes the shorter side of the plotting area;
 * setting the flag redraws the chart. */
static void test_squared(void) {
  KivHistogram2D *hist = histogram_of(10, 10);
  for (int b = 0; b < 100; b++)
    hist->y[b] = b + 1;
  Shown s(plain_chart(hist, true), 600, 300);
  KivChart2D *h = s.chart2d;
  KivCanvas *c = s.canvas();
  Exposures exposed(GTK_WIDGET(h));
  g_object_unref(read_pixmap(h));
  int wx = c->wx, wy = c->wy;
  g_assert_cmpint(wx, >, wy);

  g_object_set(h, "squared", TRUE, NULL);
  g_assert_true(h->squared);
  kivtest::drain();
  g_assert_cmpint(exposed.n, >, 0);
  GdkPixbuf *pb = read_pixmap(h);
  g_assert_cmpint(c->wx, ==, wy);
  g_assert_cmpint(c->wy, ==, wy);
  g_assert_cmpint(c->cscale.x, ==, c->px0 + wy + c->character_width);
  int mid = c->py0 - wy / 2;
  g_assert_false(pixel(pb, c->px0 + wy - 3, mid).near(kWhite));
  g_assert_true(pixel(pb, c->px0 + wy + 3, mid).near(kWhite));
  g_assert_true(pixel(pb, c->px0 + (wx + wy) / 2, mid).near(kWhite));
  g_object_unref(pb);

  int before = exposed.n;
  kiv_chart2d_set_squared(h, FALSE);
  kivtest::drain();
  g_assert_cmpint(exposed.n, >, before);
  gboolean squared = TRUE;
  g_object_get(h, "squared", &squared, NULL);
  g_assert_false(squared);
  pb = read_pixmap(h);
  g_assert_cmpint(c->wx, ==, wx);
  g_assert_false(pixel(pb, c->px0 + (wx + wy) / 2, mid).near(kWhite));
  g_object_unref(pb);
  g_object_unref(hist);
}

/* However the pixmap step ends, the line width is the caller's again. */
static void test_line_width_restored(void) {
  KivHistogram2D *hist = histogram_of(3, 3, {1, 2, 3});
  Shown s(plain_chart(hist), 300, 200);
  KivChart2D *h = s.chart2d;
  KivChart1D *h1 = s.c1();
  KivChart1DClass *klass = KIV_CHART1D_GET_CLASS(h1);
  g_object_unref(read_pixmap(h));

  cairo_surface_t *surface = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, 300, 200);
  cairo_t *cr = cairo_create(surface);
  auto step = [&] {
    cairo_set_line_width(cr, 3.0);
    h1->cnvs->cairo = cr;
    klass->draw_pixmap(h1);
    h1->cnvs->cairo = NULL;
    g_assert_cmpfloat(cairo_get_line_width(cr), ==, 3.0);
  };
  step(); /* cells drawn */
  std::fill(hist->y, hist->y + 9, 0.0);
  klass->draw_frame(h1);
  step(); /* no nonzero cell */
  hist->y[4] = hist->y[5] = 2.0;
  klass->draw_frame(h1);
  step(); /* no range */
  GdkColor *list = h->colorlst;
  int ncol = h->ncol;
  h->colorlst = NULL;
  h->ncol = 0;
  step(); /* no colours */
  h->colorlst = list;
  h->ncol = ncol;
  cairo_destroy(cr);
  cairo_surface_destroy(surface);
  g_object_unref(hist);
}

/* A chart of a plain function leaves frame and curves to the
 * one-dimensional chart; one without a function draws no map. */
static void test_other_functions(void) {
  KivFunction *f = kiv_function_new(20, 0.0, 10.0, [](double x) { return x; });
  Shown s(GTK_WIDGET(g_object_new(KIV_TYPE_CHART2D, "func", f, NULL)), 300, 200);
  KivChart2D *h = s.chart2d;
  GdkPixbuf *pb = read_pixmap(h);
  g_assert_nonnull(s.c1()->xpt);
  g_assert_cmpint(s.c1()->xpt[0].n, >, 0);
  g_assert_cmpint(h->nindx, ==, 0);
  g_assert_cmpint(h->ntot, ==, 0);
  g_assert_cmpint(s.canvas()->cscale.width, >, 0);
  g_object_unref(pb);
  g_object_unref(f);

  KivChart2D *empty = KIV_CHART2D(g_object_ref_sink(g_object_new(KIV_TYPE_CHART2D, NULL)));
  kiv_expect_critical("chart2d_draw_frame: assertion 'KIV_IS_FUNCTION(h->func)' failed");
  kiv_expect_critical("chart2d_draw_pixmap: assertion 'KIV_IS_FUNCTION(h->func)' failed");
  g_object_unref(read_pixmap(empty));
  g_test_assert_expected_messages();
  g_object_unref(empty);
}

/* ---------------------------------------------------------------------
 * Selection with the pointer: button and motion events as the X server
 * delivers them, through GTK's event path (the chart's own handlers run
 * first, as in use).  Events sent through the server itself would reach
 * whatever window of a test running beside this one lies on top.
 * ------------------------------------------------------------------- */

namespace {

struct Pointer {
  KivChart1D *h;
  void press(guint b, int x, int y) { kivtest::press(h, b, x, y); }
  void release(guint b, int x, int y) { kivtest::release(h, b, x, y); }
  void move(int x, int y) { kivtest::motion(h, x, y, GDK_BUTTON1_MASK); }
};

double frac(KivCanvas *c, int y) {
  return (c->pz0 - y) / static_cast<double>(c->pz0 - c->pz1);
}

} // namespace

static void test_selection_events(void) {
  KivHistogram2D *hist = histogram_of(4, 2, {1, 0, 2, 0, 0, 5, 0, 0});
  Shown s(plain_chart(hist, true), 400, 300);
  KivChart2D *h = s.chart2d;
  KivCanvas *c = s.canvas();
  Pointer p{KIV_CHART1D(h)};
  int x = c->cscale.x + c->cscale.width / 2;
  int ya = c->pz0 - (c->pz0 - c->pz1) / 4, yb = c->pz1 + 10;
  g_assert_cmpint(c->pz0 - c->pz1, >, 100);

  /* Press on the scale, drag above it, release on it: committed, in
   * order, clamped at the release. */
  p.press(1, x, ya);
  Zrange *drag = zrange(h, "__zrange");
  g_assert_nonnull(drag);
  g_assert_cmpfloat(drag->fmin, ==, frac(c, ya));
  g_assert_cmpfloat(drag->fmax, ==, frac(c, ya));
  g_assert_null(zrange(h));
  p.move(x, c->pz1 - 12);
  g_assert_cmpfloat(drag->fmax, ==, frac(c, c->pz1 - 12));
  g_assert_cmpfloat(drag->fmax, >, 1.0);
  p.release(1, x, yb);
  g_assert_null(zrange(h, "__zrange"));
  g_assert_nonnull(zrange(h));
  g_assert_cmpfloat(zrange(h)->fmin, ==, frac(c, ya));
  g_assert_cmpfloat(zrange(h)->fmax, ==, frac(c, yb));

  /* The committed range decides which cells are drawn: from 1 + 0.25 * 4
   * up, so the cell with 1 is not. */
  GdkPixbuf *pb = read_pixmap(h);
  g_assert_cmpfloat(c->zmin, ==, 1.0 + frac(c, ya) * 4.0);
  g_assert_true(cell_pixel(pb, h, 0, 0).near(kWhite));
  g_assert_false(cell_pixel(pb, h, 2, 0).near(kWhite));
  g_object_unref(pb);

  /* Downwards: the same range. */
  p.press(1, x, yb);
  p.release(1, x, ya);
  g_assert_cmpfloat(zrange(h)->fmin, ==, frac(c, ya));
  g_assert_cmpfloat(zrange(h)->fmax, ==, frac(c, yb));

  /* Within the tolerance above the top: on the scale, the start clamped;
   * released away from the scale: the drag is dropped, the range stays. */
  Zrange *kept = zrange(h);
  p.press(1, x, c->pz1 - 10);
  g_assert_cmpfloat(zrange(h, "__zrange")->fmin, ==, 1.0);
  g_assert_cmpfloat(zrange(h, "__zrange")->fmax, ==, frac(c, c->pz1 - 10));
  p.release(1, c->px0 + 10, ya);
  g_assert_null(zrange(h, "__zrange"));
  g_assert_true(zrange(h) == kept);
  g_assert_cmpfloat(kept->fmax, ==, frac(c, yb));

  /* The edges of the hit test: the right edge and 15 pixels below the
   * bottom are on the scale, a pixel beyond either is not. */
  int right = c->cscale.x + c->cscale.width;
  p.press(1, right + 1, ya);
  g_assert_null(zrange(h, "__zrange"));
  p.release(1, right + 1, ya);
  p.press(1, x, c->pz0 + 16);
  g_assert_null(zrange(h, "__zrange"));
  p.release(1, x, c->pz0 + 16);
  p.press(1, right, c->pz0 + 15);
  g_assert_nonnull(zrange(h, "__zrange"));
  g_assert_cmpfloat(zrange(h, "__zrange")->fmin, ==, 0.0);
  p.release(1, c->cscale.x, c->pz0 + 15);
  g_assert_cmpfloat(zrange(h)->fmin, ==, 0.0);
  g_assert_cmpfloat(zrange(h)->fmax, ==, 0.0);

  /* The middle button clears the range: all values again. */
  p.press(2, c->px0 + 10, ya);
  g_assert_null(zrange(h));
  p.release(2, c->px0 + 10, ya);
  g_object_unref(read_pixmap(h));
  g_assert_cmpfloat(c->zmin, ==, 1.0);
  g_assert_cmpfloat(c->zmax, ==, 5.0);

  /* Records still set when the chart goes are freed with it. */
  set_zrange(h, 0.1, 0.2);
  set_zrange(h, 0.3, 0.4, "__zrange");
  g_object_unref(hist);
}

/* A second press before any release (a double click reports one) starts
 * the drag afresh at the second press. */
static void test_selection_second_press(void) {
  KivHistogram2D *hist = histogram_of(4, 2, {1, 0, 2, 0, 0, 5, 0, 0});
  Shown s(plain_chart(hist), 400, 300);
  KivChart2D *h = s.chart2d;
  KivCanvas *c = s.canvas();
  int x = c->cscale.x + 1, y1 = c->pz0 - 20, y2 = c->pz0 - 60;
  auto send = [&](GdkEventType type, int y) {
    kivtest::send_button(KIV_CHART1D(h), type, 1, x, y);
  };
  send(GDK_BUTTON_PRESS, y1);
  send(GDK_2BUTTON_PRESS, y2);
  g_assert_cmpfloat(zrange(h, "__zrange")->fmin, ==, frac(c, y2));
  send(GDK_BUTTON_RELEASE, y1);
  g_assert_null(zrange(h, "__zrange"));
  g_assert_cmpfloat(zrange(h)->fmin, ==, frac(c, y1));
  g_assert_cmpfloat(zrange(h)->fmax, ==, frac(c, y2));
  g_object_unref(hist);
}

/* ---------------------------------------------------------------------
 * Popup menu.
 * ------------------------------------------------------------------- */

namespace {

std::vector<GtkWidget *> menu_items(GtkWidget *menu) {
  GList *children = gtk_container_get_children(GTK_CONTAINER(menu));
  std::vector<GtkWidget *> items;
  for (GList *l = children; l != NULL; l = l->next)
    items.push_back(GTK_WIDGET(l->data));
  g_list_free(children);
  return items;
}

/* The eight entries the chart appends, in order, with their states. */
void assert_entries(const std::vector<GtkWidget *> &items, size_t from, bool squared,
                    int scheme) {
  static const char *const labels[] = {"Black/White", "White/Black", "Red",
                                       "Green",       "Blue",        "Thermal"};
  g_assert_cmpuint(items.size(), ==, from + 9);
  for (size_t sep : {from, from + 2}) {
    g_assert_true(GTK_IS_MENU_ITEM(items[sep]));
    g_assert_false(gtk_widget_is_sensitive(items[sep]));
    g_assert_true(kivtest::item_label(items[sep]).empty());
  }
  g_assert_true(GTK_IS_CHECK_MENU_ITEM(items[from + 1]));
  assert_text(kivtest::item_label(items[from + 1]), "Squared");
  g_assert_cmpint(gtk_check_menu_item_get_active(GTK_CHECK_MENU_ITEM(items[from + 1])), ==,
                  squared);
  for (int i = 0; i < 6; i++) {
    GtkWidget *item = items[from + 3 + i];
    g_assert_true(GTK_IS_CHECK_MENU_ITEM(item));
    assert_text(kivtest::item_label(item), labels[i]);
    g_assert_cmpint(gtk_check_menu_item_get_active(GTK_CHECK_MENU_ITEM(item)), ==,
                    i == scheme);
  }
}

} // namespace

static void test_menu_entries(void) {
  KivHistogram2D *hist = histogram_of(4, 2, {1, 0, 2, 0, 0, 5, 0, 0});
  Shown s(plain_chart(hist, true), 400, 300);
  KivChart2D *h = s.chart2d;
  KivChart1DClass *klass = KIV_CHART1D_GET_CLASS(h);
  g_assert_nonnull(klass->xtra_menu);

  GtkWidget *menu = g_object_ref_sink(gtk_menu_new());
  klass->xtra_menu(KIV_CHART1D(h), menu);
  std::vector<GtkWidget *> items = menu_items(menu);
  assert_entries(items, 0, false, KIV_COLOR_2D_THERMAL);

  /* "Red": its scheme, drawn at the next redraw. */
  Exposures exposed(GTK_WIDGET(h));
  kivtest::drain();
  int before = exposed.n;
  gtk_menu_item_activate(GTK_MENU_ITEM(items[5]));
  g_assert_cmpint(h->ctype, ==, KIV_COLOR_2D_RED);
  g_assert_cmpint(h->ncol, ==, 25);
  kivtest::drain();
  g_assert_cmpint(exposed.n, >, before);
  GdkPixbuf *pb = read_pixmap(h);
  g_assert_true(cell_pixel(pb, h, 1, 1).near(kivtest::rgb(h->colorlst[24])));
  g_assert_true(cell_pixel(pb, h, 0, 0).near(Rgb{255, 0, 0}));
  g_object_unref(pb);

  /* "Squared" takes the item's state. */
  before = exposed.n;
  gtk_menu_item_activate(GTK_MENU_ITEM(items[1]));
  g_assert_true(h->squared);
  kivtest::drain();
  g_assert_cmpint(exposed.n, >, before);
  gtk_menu_item_activate(GTK_MENU_ITEM(items[1]));
  g_assert_false(h->squared);
  gtk_widget_destroy(menu);
  g_object_unref(menu);

  /* A menu built afresh shows the state of the moment. */
  h->squared = TRUE;
  menu = g_object_ref_sink(gtk_menu_new());
  klass->xtra_menu(KIV_CHART1D(h), menu);
  assert_entries(menu_items(menu), 0, true, KIV_COLOR_2D_RED);
  h->squared = FALSE;

  kiv_expect_critical("chart2d_xtra_menu: assertion 'h != NULL' failed");
  klass->xtra_menu(NULL, menu);
  kiv_expect_critical("chart2d_xtra_menu: assertion 'menu != NULL' failed");
  klass->xtra_menu(KIV_CHART1D(h), NULL);
  GtkWidget *label = g_object_ref_sink(gtk_label_new("x"));
  kiv_expect_critical("chart2d_xtra_menu: assertion 'GTK_IS_MENU(menu)' failed");
  klass->xtra_menu(KIV_CHART1D(h), label);
  KivChart1D *one = KIV_CHART1D(g_object_ref_sink(kiv_chart1d_new(KIV_FUNCTION(hist))));
  kiv_expect_critical("chart2d_xtra_menu: assertion 'KIV_IS_CHART2D(h)' failed");
  klass->xtra_menu(one, menu);
  g_test_assert_expected_messages();
  g_assert_cmpuint(menu_items(menu).size(), ==, 9);
  g_object_unref(one);
  g_object_unref(label);
  gtk_widget_destroy(menu);
  g_object_unref(menu);
  g_object_unref(hist);
}

/* The right button opens the chart's menu with the entries at its end. */
static void test_menu_popup(void) {
  KivHistogram2D *hist = histogram_of(4, 2, {1, 0, 2, 0, 0, 5, 0, 0});
  Shown s(plain_chart(hist, true), 400, 300);
  KivChart1D *h = s.c1();
  g_object_set(h, "ctype", KIV_COLOR_2D_BLUE, NULL);
  GtkWidget *menu = kivtest::open_menu(h);
  std::vector<GtkWidget *> items = menu_items(menu);
  gtk_menu_popdown(GTK_MENU(menu));
  kivtest::release(h, 3, 10, 10);
  g_assert_cmpuint(items.size(), >=, 9);
  assert_text(kivtest::item_label(items[0]), "Print...");
  assert_entries(items, items.size() - 9, false, KIV_COLOR_2D_BLUE);
  kivtest::drain();
  g_object_unref(hist);
}

int main(int argc, char **argv) {
  g_test_init(&argc, &argv, NULL);
  bool display = gtk_init_check(&argc, &argv);

  g_test_add_func("/chart2d/sort", test_sort);
  if (!display) {
    g_test_add_func("/chart2d/widgets", [] { g_test_skip("no X display"); });
    return g_test_run();
  }
  g_test_add_func("/chart2d/enum", test_enum);
  g_test_add_func("/chart2d/properties", test_properties);
  g_test_add_func("/chart2d/new", test_new);
  g_test_add_func("/chart2d/schemes", test_schemes);
  g_test_add_func("/chart2d/scheme-last", test_scheme_last);
  g_test_add_func("/chart2d/realize", test_realize);
  g_test_add_func("/chart2d/vmin-vmax", test_vmin_vmax);
  g_test_add_func("/chart2d/property-write-lock", test_property_write_lock);
  g_test_add_func("/chart2d/invalid-property-id", test_invalid_property_id);
  g_test_add_func("/chart2d/frame/index", test_frame_index);
  g_test_add_func("/chart2d/frame/range", test_frame_range);
  g_test_add_func("/chart2d/frame/order", test_frame_order);
  g_test_add_func("/chart2d/frame/order-distinct", test_frame_order_distinct);
  g_test_add_func("/chart2d/picture/repainted", test_repainted_cells);
  g_test_add_func("/chart2d/frame/nan-inf", test_frame_nan_inf);
  g_test_add_func("/chart2d/picture/cell-colors", test_cell_colors);
  g_test_add_func("/chart2d/picture/definition", test_picture_matches_definition);
  g_test_add_func("/chart2d/picture/nothing-to-map", test_nothing_to_map);
  g_test_add_func("/chart2d/picture/selection-mark", test_selection_mark);
  g_test_add_func("/chart2d/picture/squared", test_squared);
  g_test_add_func("/chart2d/picture/line-width", test_line_width_restored);
  g_test_add_func("/chart2d/picture/other-functions", test_other_functions);
  g_test_add_func("/chart2d/selection", test_selection_events);
  g_test_add_func("/chart2d/selection/second-press", test_selection_second_press);
  g_test_add_func("/chart2d/menu/entries", test_menu_entries);
  g_test_add_func("/chart2d/menu/popup", test_menu_popup);
  return g_test_run();
}
