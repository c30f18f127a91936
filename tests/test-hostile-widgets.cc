/* Hostile input to the widgets' entry points: NaN, infinities, denormals
 * and +-1e308 for every double a caller passes, colour names and keys
 * longer than 255 characters, texts that break Pango markup, long gauge
 * texts, file names that cannot be written, and pictures read before a
 * widget has a size.  Each must get its critical, its warning or a stated
 * answer, never a crash, a write past a buffer (the suite also runs under
 * the address sanitizer) or a half-written file.  What the class tests
 * already cover is not repeated here. */
#include "chart1d-fixture.h"

#include <cfloat>
#include <cstring>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

using namespace kivtest;

constexpr double kDenormal = 4.9406564584124654e-324;

/* Doubles the property system refuses, and those that reach the widget. */
const double kRefused[] = {NAN, INFINITY, -INFINITY};
const double kAccepted[] = {1e308, -1e308, kDenormal, -kDenormal, DBL_MIN, -0.0};

/* Texts that are not well-formed markup, and the markup that shows them as
 * typed. */
struct Broken {
  std::string text, shown;
};

std::vector<Broken> broken_texts() {
  std::vector<Broken> v;
  for (const char *t : {"<b", "R&D", "</i>", "<b>open", "<span foo=\"1\">x</span>", "a < b > c",
                        "&#xFFFFFFFF;"}) {
    gchar *escaped = g_markup_escape_text(t, -1);
    v.push_back({t, escaped});
    g_free(escaped);
  }
  /* Bytes that are not UTF-8 show as the replacement character. */
  v.push_back({"R\xff&D", "R\xef\xbf\xbd&amp;D"});
  return v;
}

void expect_refusal(const char *property) {
  std::string glob = std::string("*") + property + "*";
  g_test_expect_message("GLib-GObject", G_LOG_LEVEL_WARNING, glob.c_str());
}

/* Collects what the library prints with g_printerr. */
std::string printed_err;
void capture_printerr() {
  printed_err.clear();
  g_set_printerr_handler([](const gchar *s) { printed_err += s; });
}

/* A picture drawn whole: opaque everywhere, and its vector form free of
 * coordinates that are no number. */
void assert_drawn(gpointer widget) {
  GdkPixbuf *pb = read_pixmap(widget);
  int w = gdk_pixbuf_get_width(pb), h = gdk_pixbuf_get_height(pb);
  for (int y = 0; y < h; y += 7)
    for (int x = 0; x < w; x += 7)
      g_assert_cmpint(pixel(pb, x, y).a, ==, 255);
  g_object_unref(pb);
  GString *svg = read_bytes(widget, "svg");
  g_assert_null(strstr(svg->str, "nan"));
  g_assert_null(strstr(svg->str, "inf"));
  g_string_free(svg, TRUE);
}

/* Two pictures of the same chart agree pixel for pixel. */
bool same_pixels(GdkPixbuf *a, GdkPixbuf *b) {
  int w = gdk_pixbuf_get_width(a), h = gdk_pixbuf_get_height(a);
  if (w != gdk_pixbuf_get_width(b) || h != gdk_pixbuf_get_height(b))
    return false;
  for (int y = 0; y < h; y++)
    for (int x = 0; x < w; x++)
      if (!pixel(a, x, y).near(pixel(b, x, y)))
        return false;
  return true;
}

/* --- One-dimensional chart ------------------------------------------------- */

void test_chart1d_limits() {
  KivHistogram *hist = ramp_histogram(10, 0.0, 10.0);
  Shown s(KIV_FUNCTION(hist), 300, 200);
  KivChart1D *h = s.chart;
  const char *const limits[] = {"hxmin", "hxmax", "hymin", "hymax", "vmin", "vmax"};
  for (const char *p : limits) {
    double before = 0.0;
    g_object_get(h, p, &before, NULL);
    for (double v : kRefused) {
      expect_refusal(p);
      g_object_set(h, p, v, NULL);
      g_test_assert_expected_messages();
      double now = 0.0;
      g_object_get(h, p, &now, NULL);
      g_assert_cmpmem(&now, sizeof now, &before, sizeof before);
    }
    for (double v : kAccepted) {
      g_object_set(h, p, v, NULL);
      double now = 0.0;
      g_object_get(h, p, &now, NULL);
      g_assert_cmpmem(&now, sizeof now, &v, sizeof v);
      assert_drawn(h);
      g_object_set(h, "hxmin", 0.0, "hxmax", 10.0, "vmin", 0.0, "vmax", 0.0, NULL);
    }
  }
  /* Both ends at once, in every pairing. */
  for (double lo : kAccepted)
    for (double hi : kAccepted) {
      g_object_set(h, "hxmin", lo, "hxmax", hi, "hymin", hi, "hymax", lo, NULL);
      assert_drawn(h);
    }
  /* A range too narrow to divide by is shown as equal limits are. */
  g_object_set(h, "hxmin", -kDenormal, "hxmax", kDenormal, "hymin", 0.0, "hymax", kDenormal, NULL);
  assert_drawn(h);
  KivCanvas *c = h->cnvs;
  kiv_assert_each({c->xmin, -kDenormal}, {c->xmax, 1.0}, {c->ymin, 0.0}, {c->ymax, 1.0});
  g_object_unref(hist);
}

void test_chart1d_line_width() {
  KivHistogram *hist = ramp_histogram(10, 0.0, 10.0);
  Shown s(KIV_FUNCTION(hist), 300, 200);
  KivChart1D *h = s.chart;
  for (double v : {double(NAN), double(INFINITY), -double(INFINITY), -1.0}) {
    expect_refusal("line-width");
    g_object_set(h, "line_width", v, NULL);
    g_test_assert_expected_messages();
    g_assert_cmpfloat(h->cnvs->line_width, ==, 1.0);
  }
  /* GObject lets a negative denormal through; cairo takes it as 0. */
  for (double v : {1e308, kDenormal, 0.0, DBL_MIN, -kDenormal}) {
    g_object_set(h, "line_width", v, NULL);
    g_assert_cmpfloat(h->cnvs->line_width, ==, v);
    kiv_chart1d_filled(h, v == 0.0);
    assert_drawn(h);
  }
  g_object_unref(hist);
}

/* Functions whose range is as wide or as narrow as doubles go. */
void test_chart1d_function_ranges() {
  const double ranges[][2] = {{-1e308, 1e308}, {-DBL_MAX, DBL_MAX}, {0.0, kDenormal},
                              {1e308, DBL_MAX}, {-kDenormal, kDenormal}};
  for (const auto &r : ranges) {
    KivHistogram *hist = kiv_histogram_new(20, r[0], r[1], NULL);
    for (double x : {r[0], r[1], 0.0, double(NAN)})
      kiv_histogram_fill(hist, x, 1e308);
    Shown s(KIV_FUNCTION(hist), 300, 200);
    kiv_chart1d_show_stats(s.chart, TRUE);
    assert_drawn(s.chart);
    kiv_chart1d_logx(s.chart, TRUE);
    kiv_chart1d_logy(s.chart, TRUE);
    assert_drawn(s.chart);
    g_object_unref(hist);
  }
}

/* Titles, curve names and fonts are the caller's markup; text that is not
 * well-formed markup is shown as it was typed. */
void test_chart1d_texts() {
  KivHistogram *a = ramp_histogram(10, 0.0, 10.0), *b = ramp_histogram(10, 0.0, 10.0);
  Shown s(KIV_FUNCTION(a), 400, 300);
  KivChart1D *h = s.chart;
  kiv_chart1d_add_curve(h, KIV_FUNCTION(b));
  kiv_chart1d_show_stats(h, TRUE);
  s.resize(400, 300);
  auto picture = [&](const std::string &t) {
    kiv_chart1d_set_xtitle(h, t.c_str());
    kiv_chart1d_set_ytitle(h, t.c_str());
    kiv_function_set_name(KIV_FUNCTION(b), t.c_str());
    return read_pixmap(h);
  };
  for (const Broken &k : broken_texts()) {
    GdkPixbuf *got = picture(k.text), *want = picture(k.shown);
    g_assert_true(same_pixels(got, want));
    g_object_unref(got);
    g_object_unref(want);
  }
  std::string long_text(5000, 'W');
  kiv_chart1d_set_xtitle(h, long_text.c_str());
  kiv_function_set_name(KIV_FUNCTION(b), long_text.c_str());
  g_object_set(h, "text_font", long_text.c_str(), "axis_font", "<b&", NULL);
  assert_drawn(h);
  g_object_unref(a);
  g_object_unref(b);
}

void test_chart1d_colors() {
  KivHistogram *hist = ramp_histogram(10, 0.0, 10.0);
  Shown s(KIV_FUNCTION(hist), 300, 200);
  KivChart1D *h = s.chart;
  std::string long_key(300, 'k'), long_name(300, 'r'), long_hex = "#" + std::string(299, 'f');
  capture_printerr();
  /* A key that is none of the four is skipped; a name that is no colour
   * is reported and changes nothing, whatever its length. */
  kiv_chart1d_set_colors(h, long_key.c_str(), "red", "axis", long_name.c_str(), "curve",
                         long_hex.c_str(), "background", "<b&", NULL);
  assert_text(printed_err, "Cannot get color " + long_name + "\nCannot get color " + long_hex +
                              "\nCannot get color <b&\n");
  g_assert_cmpstr(h->cnvs->color_names[KIV_COLOR_AXIS], ==, "black");
  g_assert_cmpstr(h->cnvs->color_names[KIV_COLOR_CURVE], ==, "black");

  kiv_expect_warning(("kiv_chart1d_set_colors: no color name given for " + long_key).c_str());
  kiv_chart1d_set_colors(h, long_key.c_str(), NULL);
  g_test_assert_expected_messages();

  printed_err.clear();
  kiv_chart1d_set_curve_colors(h, long_name.c_str(), "blue", long_hex.c_str(), NULL);
  assert_text(printed_err, "add_curve_color: Cannot get color " + long_name +
                              "\nadd_curve_color: Cannot get color " + long_hex + "\n");
  g_assert_cmpuint(g_list_length(h->cnvs->curve_colors), ==, 1);
  g_set_printerr_handler(NULL);

  kiv_expect_critical("kiv_chart1d_add_curve_color: assertion 'color_name != NULL' failed");
  kiv_chart1d_add_curve_color(h, NULL);
  g_test_assert_expected_messages();
  assert_drawn(h);
  g_object_unref(hist);
}

/* File names that cannot be written: the call says so and leaves no file
 * behind, nor a part of one. */
void test_chart1d_print() {
  in_subprocess(
      [] {
        KivHistogram *hist = ramp_histogram(10, 0.0, 10.0);
        Shown s(KIV_FUNCTION(hist), 300, 200);
        gchar *dir = g_dir_make_tmp("hostile-widgets-XXXXXX", NULL);
        g_assert_cmpint(chdir(dir), ==, 0);
        g_assert_true(g_file_set_contents("plain-file", "x", 1, NULL));
        g_assert_cmpint(mkdir("a.dir", 0700), ==, 0);
        const char *const refused[] = {"", "no.such.dir/plot.png", "missing/plot.png",
                                       "plain-file/plot.png", "/proc/plot.png", "a.dir"};
        for (const char *name : refused)
          g_assert_cmpint(kiv_chart1d_print(s.chart, name, "png"), ==, -1);
        /* A format that is no picture: the file opened for it goes again. */
        for (const char *type : {"", "PNG", "png ", "pixmap", "line_width"})
          g_assert_cmpint(kiv_chart1d_print(s.chart, "a.dir/plot.x", type), ==, 0);
        /* A dot in a directory is just part of the name. */
        g_assert_cmpint(kiv_chart1d_print(s.chart, "a.dir/plot", "pdf"), ==, 0);
        gchar *data = NULL;
        gsize len = 0;
        g_assert_true(g_file_get_contents("a.dir/plot", &data, &len, NULL));
        g_assert_true(len > 5 && strncmp(data, "%PDF-", 5) == 0);
        g_assert_nonnull(memmem(data, len, "%%EOF", 5));
        g_free(data);
        GDir *d = g_dir_open("a.dir", 0, NULL);
        g_assert_cmpstr(g_dir_read_name(d), ==, "plot");
        g_assert_null(g_dir_read_name(d));
        g_dir_close(d);

        kiv_expect_critical("kiv_chart1d_print: assertion 'file_name != NULL' failed");
        g_assert_cmpint(kiv_chart1d_print(s.chart, NULL, "png"), ==, -1);
        kiv_expect_critical("kiv_chart1d_print: assertion 'type != NULL' failed");
        g_assert_cmpint(kiv_chart1d_print(s.chart, "a.dir/never", NULL), ==, -1);
        g_test_assert_expected_messages();
        g_assert_false(g_file_test("a.dir/never", G_FILE_TEST_EXISTS));
        std::string cmd = std::string("rm -rf '") + dir + "'";
        g_assert_cmpint(system(cmd.c_str()), ==, 0);
        g_free(dir);
        g_object_unref(hist);
      },
      "Cannot open  for writing\n"
      "Cannot open no.such.dir/plot.png for writing\n"
      "Cannot open missing/plot.png for writing\n"
      "Cannot open plain-file/plot.png for writing\n"
      "Cannot open /proc/plot.png for writing\n"
      "Cannot open a.dir for writing\n"
      "Error. Very likely invalid picture format: \n"
      "Error. Very likely invalid picture format: PNG\n"
      "Error. Very likely invalid picture format: png \n"
      "Error. Very likely invalid picture format: pixmap\n"
      "Error. Very likely invalid picture format: line_width\n",
      NULL);
}

/* --- Two-dimensional chart ------------------------------------------------- */

void test_chart2d_limits() {
  const double ranges[][2] = {{-1e308, 1e308}, {0.0, kDenormal}, {-DBL_MAX, DBL_MAX}};
  for (const auto &r : ranges) {
    KivHistogram2D *hist = kiv_histogram2d_new(8, r[0], r[1], 6, r[0], r[1], NULL);
    for (double v : {r[0], r[1], 0.0})
      kiv_histogram2d_fill(hist, v, v, 1e307);
    Shown s(kiv_chart2d_new(hist), 300, 200);
    for (double v : kRefused)
      for (const char *p : {"vmin", "vmax"}) {
        expect_refusal(p);
        g_object_set(s.chart, p, v, NULL);
        g_test_assert_expected_messages();
      }
    for (double v : kAccepted)
      g_object_set(s.chart, "vmin", v, "vmax", -v, "line_width", std::fabs(v), NULL);
    assert_drawn(s.chart);
    g_object_unref(hist);
  }
}

/* --- Gauge ------------------------------------------------------------------ */

/* The pixels of the gauge painted with the title given. */
std::string gauge_picture(KivGauge *gg, const char *title) {
  kiv_gauge_set_title(gg, title);
  cairo_surface_t *s = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, 300, 300);
  gauge_paint(gg, cairo_create(s));
  cairo_surface_flush(s);
  std::string bytes(reinterpret_cast<const char *>(cairo_image_surface_get_data(s)),
                    cairo_image_surface_get_stride(s) * 300);
  cairo_surface_destroy(s);
  return bytes;
}

/* The needle angle of x, with the scale of the last paint. */
double angle(KivGauge *gg, double x) {
  gauge_paint(gg, NULL);
  return gauge_get_phi(gg, x);
}

/* Every value is taken as it is; the needle rests on the nearer end of the
 * scale for the infinities and on the upper end for NaN. */
void test_gauge_values() {
  GtkWidget *w = kiv_gauge_new(0.0f, 10.0f);
  KivGauge *gg = KIV_GAUGE(w);
  Toplevel win(w, 300, 300);
  for (float v : {NAN, INFINITY, -INFINITY, FLT_MAX, -FLT_MAX, 1e-45f, -0.0f}) {
    kiv_gauge_set_value(gg, v);
    g_assert_cmpmem(&gg->val, sizeof v, &v, sizeof v);
    g_assert_true(std::isfinite(angle(gg, v)));
  }
  const double lo = angle(gg, 0.0), hi = angle(gg, 10.0);
  g_assert_cmpfloat(angle(gg, NAN), ==, hi);
  g_assert_cmpfloat(angle(gg, INFINITY), ==, hi);
  g_assert_cmpfloat(angle(gg, -INFINITY), ==, lo);
  g_assert_cmpfloat_with_epsilon(angle(gg, 1e-45), lo, 1e-12);
}

void test_gauge_limits() {
  GtkWidget *w = kiv_gauge_new(0.0f, 10.0f);
  KivGauge *gg = KIV_GAUGE(w);
  Toplevel win(w, 300, 300);
  for (const char *p : {"xmin", "xmax"})
    for (double v : kRefused) {
      expect_refusal(p);
      g_object_set(gg, p, v, NULL);
      g_test_assert_expected_messages();
    }
  g_assert_true(gg->xmin == 0.0f && gg->xmax == 10.0f);
  /* The limits are floats: a double beyond their range is held at the
   * largest float, a denormal one becomes zero. */
  const double kept[] = {FLT_MAX, -FLT_MAX, 0.0, -0.0, 0.0, -0.0};
  for (size_t i = 0; i < G_N_ELEMENTS(kAccepted); i++) {
    double got = 1.0;
    g_object_set(gg, "xmax", kAccepted[i], NULL);
    g_object_get(gg, "xmax", &got, NULL);
    g_assert_cmpmem(&got, sizeof got, &kept[i], sizeof got);
    g_assert_true(std::isfinite(angle(gg, 0.0)));
  }
  /* Limits that are no number or infinite give the scale 0 to 1. */
  const double k5pi4 = 5 * G_PI / 4;
  for (float bad : {NAN, INFINITY, -INFINITY})
    for (bool low : {true, false}) {
      kiv_gauge_set_range(gg, low ? bad : 5.0f, low ? 5.0f : bad);
      g_assert_cmpfloat_with_epsilon(angle(gg, 0.0), k5pi4, 1e-12);
      g_assert_cmpfloat_with_epsilon(angle(gg, 1.0), -G_PI / 4, 1e-12);
    }
  /* Extreme finite limits, and an empty range at the largest float, which
   * reaches down from it. */
  kiv_gauge_set_range(gg, -FLT_MAX, FLT_MAX);
  g_assert_cmpfloat_with_epsilon(angle(gg, 0.0), G_PI / 2, 1e-12);
  kiv_gauge_set_range(gg, FLT_MAX, FLT_MAX);
  g_assert_cmpfloat_with_epsilon(angle(gg, FLT_MAX), -G_PI / 4, 1e-12);
  g_assert_cmpfloat_with_epsilon(angle(gg, 0.0), k5pi4, 1e-12);
}

void test_gauge_texts() {
  GtkWidget *w = kiv_gauge_new(0.0f, 10.0f);
  KivGauge *gg = KIV_GAUGE(w);
  Toplevel win(w, 300, 300);
  /* A title that is not well-formed markup is shown as typed. */
  for (const Broken &k : broken_texts())
    g_assert_true(gauge_picture(gg, k.text.c_str()) == gauge_picture(gg, k.shown.c_str()));
  std::string long_text(5000, 'W');
  kiv_gauge_set_title(gg, long_text.c_str());
  g_object_set(gg, "font", long_text.c_str(), NULL);
  gauge_paint(gg, NULL);
  capture_printerr();
  std::string long_name(300, 'r');
  kiv_gauge_set_color(gg, long_name.c_str());
  assert_text(printed_err, "Cannot get color " + long_name + "\n");
  g_assert_cmpstr(gg->color, ==, "red");
  g_set_printerr_handler(NULL);
}

/* --- Before a size ------------------------------------------------------------ */

void test_unsized() {
  KivHistogram2D *hist = kiv_histogram2d_new(4, 0.0, 4.0, 4, 0.0, 4.0, NULL);
  kiv_histogram2d_fill(hist, 1.0, 1.0, 1.0);
  GtkWidget *c2 = GTK_WIDGET(g_object_ref_sink(kiv_chart2d_new(hist)));
  GtkRequisition req;
  gtk_widget_size_request(c2, &req);
  GdkPixbuf *pb = read_pixmap(c2);
  g_assert_true(gdk_pixbuf_get_width(pb) == req.width && gdk_pixbuf_get_height(pb) == req.height);
  g_object_unref(pb);
  g_object_unref(c2);
  g_object_unref(hist);

  /* A gauge is laid out at the size it asks for until it is given one. */
  KivGauge *gg = KIV_GAUGE(g_object_ref_sink(kiv_gauge_new(0.0f, 10.0f)));
  kiv_gauge_set_value(gg, 3.0f);
  gauge_paint(gg, NULL);
  std::string before = gauge_picture(gg, "Title");
  gtk_widget_size_request(GTK_WIDGET(gg), &req);
  GtkAllocation a = {0, 0, req.width, req.height};
  gtk_widget_size_allocate(GTK_WIDGET(gg), &a);
  g_assert_true(gauge_picture(gg, "Title") == before);
  g_object_unref(gg);
}

} // namespace

int main(int argc, char **argv) {
  g_test_init(&argc, &argv, NULL);
  init_display(&argc, &argv);
  add_widget_test("/hostile-widgets/chart1d/limits", test_chart1d_limits);
  add_widget_test("/hostile-widgets/chart1d/line-width", test_chart1d_line_width);
  add_widget_test("/hostile-widgets/chart1d/function-ranges", test_chart1d_function_ranges);
  add_widget_test("/hostile-widgets/chart1d/texts", test_chart1d_texts);
  add_widget_test("/hostile-widgets/chart1d/colors", test_chart1d_colors);
  add_widget_test("/hostile-widgets/chart1d/print", test_chart1d_print);
  add_widget_test("/hostile-widgets/chart2d/limits", test_chart2d_limits);
  add_widget_test("/hostile-widgets/gauge/values", test_gauge_values);
  add_widget_test("/hostile-widgets/gauge/limits", test_gauge_limits);
  add_widget_test("/hostile-widgets/gauge/texts", test_gauge_texts);
  add_widget_test("/hostile-widgets/unsized", test_unsized);
  return g_test_run();
}
