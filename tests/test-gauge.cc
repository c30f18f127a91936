/* Tests of KivGauge: properties and the tracer, then what a paint puts
 * where, read back from an image: the dial's geometry, the needle, the band
 * colour, the scale's labels and multiplier, the value and the title. */
#include "kiv-test.h"

#include <kivchart-protected.h>

#include <algorithm>
#include <cfloat>
#include <cstring>
#include <string>
#include <vector>

namespace {

using namespace kivtest;

constexpr double kPi = G_PI;

/* A floating gauge sunk into a reference of the test's own. */
struct Gauge {
  KivGauge *gg;
  Gauge(float lo, float hi) : gg(KIV_GAUGE(g_object_ref_sink(kiv_gauge_new(lo, hi)))) {}
  ~Gauge() { g_object_unref(gg); }
};

Rgb fg(KivGauge *gg) {
  return rgb(gtk_widget_get_style(GTK_WIDGET(gg))->fg[GTK_STATE_NORMAL]);
}

Rgb bg(KivGauge *gg) {
  return rgb(gtk_widget_get_style(GTK_WIDGET(gg))->bg[GTK_STATE_NORMAL]);
}

/* The needle angle of v on a scale from lo to hi. */
double angle_of(double v, double lo = 0, double hi = 1) {
  return 5 * kPi / 4 - (v - lo) / (hi - lo) * 3 * kPi / 2;
}

PangoLayout *layout_of(KivGauge *gg, cairo_t *cr, const char *family, const char *markup,
                       int *w, int *h) {
  PangoLayout *layout = _kiv_get_pango_layout(GTK_WIDGET(gg), cr, family);
  pango_layout_set_markup(layout, markup, -1);
  pango_layout_get_pixel_size(layout, w, h);
  return layout;
}

int row_height(KivGauge *gg, const char *family, const char *markup) {
  int w, h;
  g_object_unref(layout_of(gg, NULL, family, markup, &w, &h));
  return h;
}

/* The gauge allocated w by h as a parent would and painted into an image,
 * with the dial it should show: centre (ox, oy) and radius r.  Scale,
 * title and multiplier are expected in the gauge's font family, the value
 * always in "sans". */
struct Shot {
  KivGauge *gg;
  int w, h;
  double ox, oy, r, needle;
  cairo_surface_t *image;
  std::string family;

  Shot(KivGauge *g, int w_ = 300, int h_ = 200, double ox_ = 150, double oy_ = 100,
       double r_ = 100)
      : gg(g), w(w_), h(h_), ox(ox_), oy(oy_), r(r_),
        image(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, w_, h_)) {
    GtkAllocation a = {0, 0, w, h};
    gtk_widget_size_allocate(GTK_WIDGET(gg), &a);
    gauge_paint(gg, cairo_create(image));
    g_assert_cmpint(cairo_surface_status(image), ==, CAIRO_STATUS_SUCCESS);
    needle = gauge_get_phi(gg, gg->val);
    gchar *font = NULL;
    g_object_get(gg, "font", &font, NULL);
    family = font;
    g_free(font);
  }
  ~Shot() { cairo_surface_destroy(image); }
  Shot(const Shot &) = delete;

  int px(double phi, double rad) const { return int(ox + rad * std::cos(phi)); }
  int py(double phi, double rad) const { return int(oy - rad * std::sin(phi)); }
  bool inside(int i, int j) const { return i >= 0 && j >= 0 && i < w && j < h; }
  Rgb at(double phi, double rad) const { return pixel(image, px(phi, rad), py(phi, rad)); }

  /* How many pixels within one of the point at (phi, rad) are of colour
   * c, and how many lie in the image. */
  int count_near(double phi, double rad, Rgb c, int tol, int *in_image = NULL) const {
    int n = 0, total = 0;
    for (int dy = -1; dy <= 1; dy++)
      for (int dx = -1; dx <= 1; dx++) {
        int i = px(phi, rad) + dx, j = py(phi, rad) + dy;
        if (inside(i, j)) {
          total++;
          n += pixel(image, i, j).near(c, tol);
        }
      }
    if (in_image)
      *in_image = total;
    return n;
  }
  bool all_bg(double phi, double rad) const {
    int total;
    return count_near(phi, rad, bg(gg), 0, &total) == total;
  }

  /* The needle: foreground along the ray at phi between the hub and the
   * labels, background just beside it, and nothing of it beyond the rim. */
  void assert_needle(double phi) const {
    g_assert_cmpfloat_with_epsilon(needle, phi, 1e-6);
    for (double f : {0.3, 0.4})
      g_assert_cmpint(count_near(phi, f * r, fg(gg), 60), >, 0);
    g_assert_true(all_bg(phi - 0.15, 0.35 * r) && all_bg(phi + 0.15, 0.35 * r));
    g_assert_true(all_bg(phi, r + 4));
  }

  /* Distance of pixel (i, j)'s centre from the needle. */
  double from_needle(int i, int j) const {
    double x = i + 0.5 - ox, y = oy - (j + 0.5);
    double t = std::clamp(x * std::cos(needle) + y * std::sin(needle), 0.0, r);
    return std::hypot(x - t * std::cos(needle), y - t * std::sin(needle));
  }

  /* Whether the image shows markup in the font family with its top-left
   * corner at (tx, ty): the text is drawn alone on the background and its
   * logical rectangle compared pixel by pixel, leaving out what the needle
   * may cover and the rows from max_row down. */
  bool shows(const char *font, const char *markup, double tx, double ty,
             int max_row = G_MAXINT) const {
    cairo_surface_t *want = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, w, h);
    cairo_t *cr = cairo_create(want);
    GtkStyle *style = gtk_widget_get_style(GTK_WIDGET(gg));
    gdk_cairo_set_source_color(cr, &style->bg[GTK_STATE_NORMAL]);
    cairo_paint(cr);
    gdk_cairo_set_source_color(cr, &style->fg[GTK_STATE_NORMAL]);
    int tw, th;
    PangoLayout *layout = layout_of(gg, cr, font, markup, &tw, &th);
    cairo_move_to(cr, tx, ty);
    pango_cairo_show_layout(cr, layout);
    g_object_unref(layout);
    cairo_destroy(cr);
    bool same = true, inked = false;
    for (int j = int(std::floor(ty)); j < std::min(int(std::ceil(ty + th)), max_row); j++)
      for (int i = int(std::floor(tx)); i < int(std::ceil(tx + tw)); i++) {
        if (!inside(i, j) || from_needle(i, j) < 2.5)
          continue;
        Rgb want_px = pixel(want, i, j);
        same = same && pixel(image, i, j).near(want_px);
        inked = inked || !want_px.near(bg(gg));
      }
    cairo_surface_destroy(want);
    return same && inked;
  }

  /* A scale label, centred on radius rl of its angle and raised by half
   * its height at the top. */
  bool shows_label(double phi, const char *text) const {
    int xw, xh, tw, th;
    PangoLayout *x_layout = gtk_widget_create_pango_layout(GTK_WIDGET(gg), "X");
    pango_layout_get_pixel_size(x_layout, &xw, &xh);
    g_object_unref(x_layout);
    double rl = 0.8 * r - std::sqrt(double(xw * xw + xh * xh));
    g_object_unref(layout_of(gg, NULL, family.c_str(), text, &tw, &th));
    double yo = th / 2.0 + rl * std::sin(phi) + (std::fabs(phi - kPi / 2) < 0.018 ? th / 2.0 : 0);
    return shows(family.c_str(), text, ox + rl * std::cos(phi) - tw / 2.0, oy - yo);
  }
  /* The value, centred just under the hub. */
  bool shows_value(const char *text) const {
    int tw, th;
    g_object_unref(layout_of(gg, NULL, "sans", text, &tw, &th));
    return shows("sans", text, ox - tw / 2, oy + th / 2.0);
  }
  /* A title or multiplier row whose top is at row. */
  bool shows_row(const char *markup, int row, int max_row = G_MAXINT) const {
    int tw, th;
    g_object_unref(layout_of(gg, NULL, family.c_str(), markup, &tw, &th));
    return shows(family.c_str(), markup, ox - tw / 2, row, max_row);
  }
};

void test_properties() {
  Gauge g(-2.5f, 7.5f);
  KivGauge *gg = g.gg;
  gchar *color = NULL, *title = NULL, *font = NULL;
  double xmin = 0, xmax = 0;
  int depth = 0;
  g_object_get(gg, "color", &color, "title", &title, "font", &font, "depth", &depth, "xmin", &xmin,
               "xmax", &xmax, NULL);
  g_assert_true(g_strcmp0(color, "red") == 0 && title == NULL && g_strcmp0(font, "sans") == 0);
  g_assert_true(depth == 128 && xmin == -2.5 && xmax == 7.5 && !gg->squared);
  g_free(color);
  g_free(font);
  /* The depth is the tracer's length; below 16 GLib refuses it. */
  g_test_expect_message("GLib-GObject", G_LOG_LEVEL_WARNING, "*depth*");
  g_object_set(gg, "depth", 10, NULL);
  g_test_assert_expected_messages();
  g_object_set(gg, "depth", 16, "title", "Flow", NULL);
  g_assert_cmpint(KIV_FUNCTION(kiv_gauge_get_tracer(gg))->nbin, ==, 16);
  /* The caller may hand back the title itself. */
  kiv_gauge_set_title(gg, kiv_gauge_get_title(gg));
  g_assert_cmpstr(gg->title, ==, "Flow");
  kiv_gauge_set_title(gg, NULL);
  g_assert_null(gg->title);
  kiv_gauge_set_color(gg, "#00ff00");

  kiv_expect_critical("kiv_gauge_set_color: assertion 'KIV_IS_GAUGE(gg)' failed");
  kiv_gauge_set_color(NULL, "red");
  kiv_expect_critical("kiv_gauge_set_color: assertion 'color_name != NULL' failed");
  kiv_gauge_set_color(gg, NULL);
  kiv_expect_critical("kiv_gauge_set_squared: assertion 'KIV_IS_GAUGE(gg)' failed");
  kiv_gauge_set_squared(NULL, TRUE);
  /* The context handed in is destroyed also when the check fails. */
  cairo_surface_t *one = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, 1, 1);
  cairo_t *cr = cairo_create(one);
  cairo_surface_destroy(one);
  kiv_expect_critical("gauge_paint: assertion 'KIV_IS_GAUGE(gg)' failed");
  gauge_paint(NULL, cr);
  g_test_assert_expected_messages();
  g_assert_cmpstr(gg->color, ==, "#00ff00");

  /* The size request is a square of 17.5 letters "X". */
  int xw, xh;
  PangoLayout *layout = gtk_widget_create_pango_layout(GTK_WIDGET(gg), "X");
  pango_layout_get_pixel_size(layout, &xw, &xh);
  g_object_unref(layout);
  GtkRequisition req;
  gtk_widget_size_request(GTK_WIDGET(gg), &req);
  g_assert_true(req.width == int(xw * 17.5) && req.height == int(xw * 17.5));
  /* Without an allocation it paints at the size it asks for. */
  gauge_paint(gg, NULL);
}

void test_unknown_color() {
  in_subprocess([] {
    Gauge g(0, 1);
    kiv_gauge_set_color(g.gg, "no-such-colour");
    g_assert_cmpstr(g.gg->color, ==, "red");
  }, NULL, "Cannot get color no-such-colour\n");
}

/* Every value goes into the history, in range or not. */
void test_tracer() {
  Gauge g(0, 10);
  g_object_set(g.gg, "depth", 16, NULL);
  for (int i = 0; i < 20; i++)
    kiv_gauge_set_value(g.gg, i * 1.5f - 5);
  g_assert_cmpfloat(kiv_gauge_get_value(g.gg), ==, 23.5);
  KivTuple t = {0, NULL};
  kiv_function_get_array(KIV_FUNCTION(kiv_gauge_get_tracer(g.gg)), &t, 0, 0);
  g_assert_cmpint(t.n, ==, 16);
  for (int i = 0; i < 16; i++)
    g_assert_cmpfloat(t.P[i].y, ==, (i + 4) * 1.5 - 5);
  kiv_function_clear_tuple(&t);
  g_assert_cmpfloat(kiv_tracer_get_minimum(g.gg->tracer), ==, -5.0);
}

/* Widget sizes with and without the square flag: centre, radius, band and
 * the row the title hangs from (the bottom of the dial's area, cy). */
void test_geometry() {
  const struct {
    int w, h;
    gboolean squared;
    double ox, oy, r, cy;
  } cases[] = {
      {300, 200, FALSE, 150, 100, 100, 200},
      {300, 200, TRUE, 150, 100, 100, 200},
      {200, 400, FALSE, 100, 200, 100, 400},
      {200, 400, TRUE, 100, 200, 100, 200},
  };
  const char *title = "<b>Gauge</b>";
  for (const auto &c : cases) {
    Gauge g(0, 1);
    kiv_gauge_set_squared(g.gg, c.squared);
    kiv_gauge_set_title(g.gg, "Gauge");
    kiv_gauge_set_value(g.gg, 0.3f);
    Shot s(g.gg, c.w, c.h, c.ox, c.oy, c.r);
    s.assert_needle(angle_of(0.3));
    /* Band colour between major ticks, none in the gap at the bottom;
     * the hub in the middle. */
    for (double v : {0.05, 0.55, 0.95})
      g_assert_true(s.at(angle_of(v), 0.95 * c.r).near(kRed));
    g_assert_true(s.all_bg(-kPi / 2 + 0.5, 0.9 * c.r));
    g_assert_cmpint(s.count_near(0, 0, fg(g.gg), 0), ==, 9);
    /* Where the title runs into the hub only its rows above it count. */
    int top = int(c.cy) - row_height(g.gg, "sans", title) - 2;
    int hub_top = int(c.oy - 0.05 * c.r) - 1;
    g_assert_true(s.shows_row(title, top, hub_top > top ? hub_top : G_MAXINT));
    g_assert_false(s.shows_row(title, top - 3));
  }
}

/* The needle for values below, inside and above the range; the value text
 * shows the value itself. */
void test_needle() {
  const struct {
    float v;
    double phi;
    const char *text;
  } cases[] = {
      {-3.0f, 5 * kPi / 4, "-3.0"}, {0.37f, angle_of(0.37f), "0.4"}, {0.75f, kPi / 8, "0.8"},
      {4.0f, -kPi / 4, "4.0"},      {NAN, -kPi / 4, "nan"},
  };
  for (const auto &c : cases) {
    Gauge g(0, 1);
    kiv_gauge_set_value(g.gg, c.v);
    Shot s(g.gg);
    s.assert_needle(c.phi);
    g_assert_true(s.shows_value(c.text));
    g_assert_false(s.shows_value("0.0"));
  }
}

/* Labels and multiplier of three ranges, and the reading of a scale to
 * 5000: 2500 is written "2.5" with the needle upright. */
void test_scale() {
  const struct {
    float hi;
    std::vector<const char *> labels;
    bool multiplier;
    const char *value;
  } cases[] = {
      {1.0f, {"0.0", "0.1", "0.2", "0.3", "0.4", "0.5", "0.6", "0.7", "0.8", "0.9", "1.0"}, false,
       "0.5"},
      {5000.0f, {"0.0", "0.5", "1.0", "1.5", "2.0", "2.5", "3.0", "3.5", "4.0", "4.5", "5.0"}, true,
       "2.5"},
      {0.0005f, std::vector<const char *>(11, "0.0"), true, "0.0"},
  };
  const char *x10 = "x10<sup>3</sup>";
  for (const auto &c : cases) {
    Gauge g(0, c.hi);
    kiv_gauge_set_value(g.gg, c.hi / 2);
    Shot s(g.gg);
    for (int i = 0; i <= 10; i++)
      g_assert_true(s.shows_label(angle_of(i / 10.0), c.labels[i]));
    g_assert_false(s.shows_label(angle_of(0.1), "0.7"));
    g_assert_true(s.shows_value(c.value));
    s.assert_needle(kPi / 2);
    /* Without a title the multiplier sits right above the bottom. */
    g_assert_true(s.shows_row(x10, 200 - row_height(g.gg, "sans", x10) - 2) == c.multiplier);
    for (int y = 170; y < 200 && !c.multiplier; y++)
      for (int x = 120; x < 180; x++)
        g_assert_true(pixel(s.image, x, y).near(bg(g.gg)));
  }

  /* With a title the multiplier stacks on top of it.  Labels, title and
   * multiplier take the gauge's font family, the value keeps "sans". */
  Gauge g(0, 5000);
  g_object_set(g.gg, "font", "serif", "title", "Rate", NULL);
  kiv_gauge_set_value(g.gg, 2500);
  Shot s(g.gg);
  int title_top = 200 - row_height(g.gg, "serif", "<b>Rate</b>") - 2;
  g_assert_true(s.shows_row("<b>Rate</b>", title_top));
  g_assert_true(s.shows_row(x10, title_top - row_height(g.gg, "serif", x10) - 2));
  g_assert_true(s.shows_label(angle_of(0.3), "1.5"));
  g_assert_true(s.shows_value("2.5"));
}

/* Texts too long for a 50-character buffer: the title is shown in full and
 * a value far beyond the scale in exponent form. */
void test_long_texts() {
  const char *title = "Primary loop pressure after heat exchanger B2";
  g_assert_cmpint(strlen(title), >, 42);
  Gauge g(0, 1);
  kiv_gauge_set_title(g.gg, title);
  Shot s(g.gg, 500, 300, 250, 150, 150);
  std::string markup = std::string("<b>") + title + "</b>";
  g_assert_true(s.shows_row(markup.c_str(), 300 - row_height(g.gg, "sans", markup.c_str()) - 2));
  /* A reversed range of 5e29 has the multiplier 10^-30, so that both the
   * value and the labels divided by it have dozens of digits. */
  Gauge r(5e29f, 0);
  kiv_gauge_set_value(r.gg, FLT_MAX);
  Shot q(r.gg, 500, 300, 250, 150, 150);
  g_assert_true(q.shows_value("3.40282e+68"));
}

/* An empty range is shown as the unit range above xmin, widened for large
 * values enough to stay apart in single precision. */
void test_empty_range() {
  Gauge g(5, 5);
  kiv_gauge_set_value(g.gg, 5.5f);
  Shot s(g.gg);
  s.assert_needle(kPi / 2);
  g_assert_cmpfloat_with_epsilon(gauge_get_phi(g.gg, 5.0), 5 * kPi / 4, 1e-9);
  g_assert_cmpfloat_with_epsilon(gauge_get_phi(g.gg, 9.0), -kPi / 4, 1e-6);
  g_assert_true(s.shows_label(5 * kPi / 4, "5.0") && s.shows_label(-kPi / 4, "6.0"));
  kiv_gauge_set_range(g.gg, 1e9f, 1e9f);
  Shot t(g.gg);
  double lo = gauge_get_phi(g.gg, 1e9), hi = gauge_get_phi(g.gg, 2e9);
  g_assert_cmpfloat_with_epsilon(lo - hi, 3 * kPi / 2, 1e-6);
}

/* A gauge in a real window: allocation and expose paint it on screen. */
void test_window() {
  GtkWidget *gauge = kiv_gauge_new(0, 100);
  KivGauge *gg = KIV_GAUGE(gauge);
  kiv_gauge_set_value(gg, 50);
  Toplevel win(gauge, 300, 200);
  kiv_gauge_set_color(gg, "blue");
  kiv_gauge_set_title(gg, "Live");
  win.settle(300, 200);
  GdkPixmap *pixmap = gtk_widget_get_snapshot(gauge, NULL);
  GdkPixbuf *pb = gdk_pixbuf_get_from_drawable(NULL, pixmap, NULL, 0, 0, 0, 0, 300, 200);
  auto at = [&](double phi, double rad) {
    return pixel(pb, int(150 + rad * std::cos(phi)), int(100 - rad * std::sin(phi)));
  };
  g_assert_true(at(angle_of(0.45), 90).near(kBlue));
  g_assert_true(at(kPi / 2, 35).near(fg(gg), 60));
  g_object_unref(pb);
  g_object_unref(pixmap);
}

} // namespace

int main(int argc, char **argv) {
  g_test_init(&argc, &argv, NULL);
  init_display(&argc, &argv);
  add_widget_test("/gauge/properties", test_properties);
  add_widget_test("/gauge/unknown-color", test_unknown_color);
  add_widget_test("/gauge/tracer", test_tracer);
  add_widget_test("/gauge/geometry", test_geometry);
  add_widget_test("/gauge/needle", test_needle);
  add_widget_test("/gauge/scale", test_scale);
  add_widget_test("/gauge/long-texts", test_long_texts);
  add_widget_test("/gauge/empty-range", test_empty_range);
  add_widget_test("/gauge/window", test_window);
  return g_test_run();
}
