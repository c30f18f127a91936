/* Tests of KivChart1D on a real X server: its properties and curve list,
 * the drawing (reference pictures, and pixels whose place follows from
 * worked numbers), colours, the pictures, kiv_chart1d_print, hostile input,
 * and the reduced drawing of curves that have many points to a pixel
 * column. */
#include "kiv-test.h"
#include "kivchart1d-private.h"

#include <algorithm>
#include <cfloat>
#include <cstring>
#include <functional>
#include <unistd.h>

namespace {

using namespace kivtest;

void unref_all(std::initializer_list<gpointer> objects) {
  for (gpointer o : objects) g_object_unref(o);
}

KivHistogram *histogram_of(double lo, double hi, std::initializer_list<double> contents) {
  KivHistogram *h = kiv_histogram_new(int(contents.size()), lo, hi, NULL);
  int i = 0;
  for (double v : contents) kiv_histogram_set_bin_content(h, i++, v);
  return h;
}

/* Makes each call, which must log the critical named with it. */
void expect_criticals(std::initializer_list<std::pair<const char *, std::function<void()>>> calls) {
  for (const auto &c : calls) {
    kiv_expect_critical(c.first);
    c.second();
  }
  g_test_assert_expected_messages();
}

/* The byte forms may hold zeros, where strstr() would stop. */
bool contains(GString *s, const char *needle) {
  return memmem(s->str, s->len, needle, strlen(needle)) != NULL;
}

/* Draws the chart afresh, checks the picture against its reference if it
 * has a name, and returns the number of points of the first curve. */
int draw(KivChart1D *h, const char *reference = NULL) {
  GdkPixbuf *pb = read_pixmap(h);
  if (reference != NULL) assert_reference(pb, reference, 2, 0);
  g_object_unref(pb);
  return h->xpt != NULL ? h->xpt[0].n : 0;
}

} // namespace

static void test_properties_and_curves(void) {
  KivHistogram *hist = kiv_histogram_new(10, 2.0, 12.0, NULL);
  KivChart1D *h = KIV_CHART1D(g_object_ref_sink(kiv_chart1d_new(KIV_FUNCTION(hist))));
  KivCanvas *c = h->cnvs;
  auto *lws =
      G_PARAM_SPEC_DOUBLE(g_object_class_find_property(G_OBJECT_GET_CLASS(h), "line_width"));
  kiv_assert_each({G_OBJECT(hist)->ref_count, 2}, {h->drawaxis, 0x11}, {h->attr, 0}, {h->xmin, 2},
                  {h->xmax, 12}, {h->tmout, -1}, {h->sync_id, -1}, {c->line_width, 1},
                  {lws->minimum, 0}, {lws->default_value, 1});
  /* The attribute tests answer with the attribute's bit; the title setters
   * ignore NULL; hxmin and hxmax write both the canvas and the chart; the y
   * limits fix the range only while they differ. */
  g_object_set(h, "logy", TRUE, "stats", TRUE, NULL);
  kiv_chart1d_logx(h, TRUE);
  kiv_chart1d_filled(h, TRUE);
  kiv_assert_each({kiv_chart1d_is_logy(h), 4}, {kiv_chart1d_stats(h), 8},
                  {kiv_chart1d_is_logx(h), 2}, {kiv_chart1d_is_filled(h), 1});
  kiv_chart1d_show_stats(h, FALSE);
  kiv_chart1d_set_xtitle(h, "Energy");
  kiv_chart1d_set_xtitle(h, NULL);
  g_object_set(h, "ytitle", "Counts", "hxmin", -1.0, "hxmax", 7.0, "vmin", 2.0, "vmax", 9.0,
               "text_font", "serif", "line_width", 2.5, NULL);
  gboolean logx = 0, logy = 0, filled = 0, stats = 1;
  g_object_get(h, "logx", &logx, "logy", &logy, "filled", &filled, "stats", &stats, NULL);
  kiv_assert_each({c->xmin, -1}, {c->xmax, 7}, {h->xmin, -1}, {h->xmax, 7}, {c->ymin, 2},
                  {h->vmax, 9}, {c->fixed, 1}, {c->line_width, 2.5}, {logx, 1}, {logy, 1},
                  {filled, 1}, {stats, 0}, {h->attr, KIV_FILLED | KIV_LOGX | KIV_LOGY});
  g_assert_true(!strcmp(c->text_font, "serif") && !strcmp(kiv_chart1d_get_xtitle(h), "Energy"));
  g_object_set(h, "xtitle", NULL, "hymax", 2.0, NULL);
  g_assert_true(!c->fixed && h->vmax == 2.0 && !kiv_chart1d_get_xtitle(h) &&
                !strcmp(kiv_chart1d_get_ytitle(h), "Counts"));
  /* A new main function replaces the old at the head and takes the range. */
  KivFunction *a = kiv_function_new(10, 0.0, 1.0, cos), *b = kiv_function_new(10, 5.0, 6.0, cos);
  kiv_chart1d_add_curve(h, a);
  kiv_chart1d_set_func(h, b);
  kiv_chart1d_set_func(h, NULL);
  g_assert_true(kiv_chart1d_get_func(h, 0) == b && kiv_chart1d_get_func(h, 1) == a &&
                !kiv_chart1d_get_func(h, 2));
  kiv_assert_each({kiv_chart1d_get_n_func(h), 2}, {h->xmin, 5}, {h->xmax, 6},
                  {G_OBJECT(hist)->ref_count, 1}, {G_OBJECT(a)->ref_count, 2});
  /* An empty chart shows [0, 11]. */
  kiv_chart1d_remove_curves(h);
  g_assert_true(draw(h) == 0 && !kiv_chart1d_get_n_func(h) && G_OBJECT(a)->ref_count == 1 &&
                c->ymax == 11.0);
  expect_criticals({{"kiv_chart1d_new: assertion 'ff != NULL' failed",
                     [] { g_assert_null(kiv_chart1d_new(NULL)); }},
                    {"kiv_chart1d_add_curve: assertion 'KIV_IS_FUNCTION(f)' failed",
                     [&] { kiv_chart1d_add_curve(h, NULL); }}});
  /* Range following asked for before a function comes connects the next
   * one, which becomes the main one, and lets it go when replaced. */
  h->sync_id = 0;
  kiv_chart1d_add_curve(h, a);
  g_object_set(a, "xmin", 3.0, "xmax", 8.0, NULL);
  g_assert_true(h->func == a && h->xmin == 3.0 && h->xmax == 8.0);
  kiv_chart1d_set_func(h, b);
  g_object_set(a, "xmin", -4.0, NULL);
  g_object_set(b, "xmax", 7.5, NULL);
  g_assert_true(h->xmin == 5.0 && h->xmax == 7.5);
  g_object_unref(h);
  /* A function that outlives the chart is no longer connected to it. */
  g_object_set(b, "xmax", 8.0, NULL);
  unref_all({a, b, hist});
}

static void test_drawing(void) {
  /* Zoomed beyond its range, with titles, a second curve and so a legend,
   * and the statistics of the bins shown: bins 2 to 9 (the last stands for
   * all beyond it), counted from 1250 on in steps of 500 (58 entries, mean
   * 2543.1, spread 830.63). */
  KivHistogram *hist = histogram_of(0.0, 5000.0, {1, 3, 6, 10, 14, 12, 8, 5, 2, 1});
  KivFunction *line = kiv_function_new(50, 0.0, 5000.0, [](double x) { return x / 500.0; });
  kiv_function_set_name(KIV_FUNCTION(hist), "data");
  kiv_function_set_name(line, "fit");
  Shown s(KIV_FUNCTION(hist), 240, 180);
  KivChart1D *h = s.chart;
  kiv_chart1d_set_colors(h, "background", "white", "axis", "blue", "curve", "red", NULL);
  kiv_chart1d_add_curve(h, line);
  kiv_chart1d_set_curve_colors(h, "red", "#008000", NULL);
  g_object_set(h, "xtitle", "Energy", "ytitle", "Counts", "stats", TRUE, "hxmin", 1000.0, "hxmax",
               6000.0, NULL);
  draw(h, "chart1d-histogram");
  /* Filled, both axes logarithmic, on top and on the right, a wider line. */
  KivHistogram *decades = histogram_of(1.0, 1000.0, {1, 3, 10, 30, 100, 300, 1000, 300, 30});
  kiv_chart1d_remove_curves(h);
  kiv_chart1d_add_curve(h, KIV_FUNCTION(decades));
  g_object_set(h, "filled", TRUE, "logx", TRUE, "logy", TRUE, "stats", FALSE, "line_width", 2.0,
               "xtitle", "Size", "ytitle", "N", NULL);
  kiv_chart1d_draw_x_axis(h, KIV_AXIS_RIGHT);
  kiv_chart1d_draw_y_axis(h, KIV_AXIS_RIGHT);
  draw(h, "chart1d-log");
  /* A tracer of 1 and 9 in turn, resized with the chart to one place a
   * pixel column of the plotting area (the width less 4 characters): the
   * box shows its 20 entries, mean 5 and spread 4, and the marker (in the
   * axis colour) spans 1 to 9 beside the y axis; both axes in the middle. */
  KivTracer *tr = kiv_tracer_new(20);
  for (int i = 0; i < 20; i++) kiv_histogram_fill(KIV_HISTOGRAM(tr), i % 2 ? 9.0 : 1.0, 1.0);
  kiv_chart1d_set_func(h, KIV_FUNCTION(tr));
  gtk_widget_queue_resize(s.widget);
  drain();
  g_object_set(h, "filled", FALSE, "logx", FALSE, "logy", FALSE, "stats", TRUE, "line_width", 1.0,
               "xtitle", NULL, "ytitle", NULL, NULL);
  kiv_chart1d_draw_x_axis(h, KIV_AXIS_MIDDLE);
  kiv_chart1d_draw_y_axis(h, KIV_AXIS_MIDDLE);
  draw(h, "chart1d-tracer");
  /* Bars of 50 and 100 in a range fixed to [0, 100]: the first fills the
   * lower half of the plotting area, the second the whole. */
  KivHistogram *bars = histogram_of(0.0, 2.0, {50, 100});
  kiv_chart1d_set_func(h, KIV_FUNCTION(bars));
  g_object_set(h, "filled", TRUE, "stats", FALSE, "vmin", 0.0, "vmax", 100.0, NULL);
  GdkPixbuf *pb = read_pixmap(h);
  KivCanvas *c = h->cnvs;
  int x0 = (3 * c->px0 + c->px1) / 4, x1 = (c->px0 + 3 * c->px1) / 4,
      y75 = (c->py0 + 3 * c->py1) / 4;
  for (auto p : {std::make_pair(x0, (3 * c->py0 + c->py1) / 4), {x1, y75}, {x1, c->py1 + 3}})
    assert_rgb(pb, p.first, p.second, kRed);
  assert_rgb(pb, x0, y75, kWhite);
  /* The y range of a redraw gets a tenth of the range, or of the value
   * when that is larger, added above, and below unless it starts at 0. */
  kiv_histogram_set_bin_content(bars, 0, 101);
  g_object_set(h, "filled", FALSE, "vmax", 0.0, NULL);
  draw(h);
  kiv_assert_each({c->ymin, 99}, {c->ymax, 102});
  unref_all({pb, hist, line, decades, tr, bars});
}

/* A window shows the off-screen picture, pixel for pixel. */
static void test_window(void) {
  KivHistogram *hist = ramp_histogram(10, 0.0, 10.0);
  GtkWidget *window = gtk_offscreen_window_new();
  GtkWidget *w = kiv_chart1d_new(KIV_FUNCTION(hist));
  gtk_widget_set_size_request(w, 200, 150);
  gtk_container_add(GTK_CONTAINER(window), w);
  gtk_widget_show_all(window);
  wait_drawn(KIV_CHART1D(w));
  gdk_window_process_all_updates();
  GdkPixbuf *shown = gtk_offscreen_window_get_pixbuf(GTK_OFFSCREEN_WINDOW(window));
  GdkPixbuf *image = read_pixmap(w);
  g_assert_cmpint(differing(shown, image, 0), ==, 0);
  unref_all({shown, image, hist});
  gtk_widget_destroy(window);
}

/* Colours, pictures, files and ranges no chart should get, on one chart,
 * in a child whose standard output and error are checked. */
static void test_colors_pictures_files(void) {
  in_subprocess(
      [] {
        KivHistogram *hist = ramp_histogram(10, 0.0, 10.0);
        Shown s(KIV_FUNCTION(hist), 240, 180);
        KivChart1D *h = s.chart;
        KivCanvas *c = h->cnvs;
        /* The first redraw took the theme's background, by name. */
        g_assert_true(c->color_names[KIV_COLOR_BACKGROUND][0] == '#' &&
                      strlen(c->color_names[KIV_COLOR_BACKGROUND]) == 13);
        /* Unknown keys are skipped (the next pair still counts); names that are
         * no colour, of any length, are reported and change nothing. */
        std::string key(300, 'k'), name(300, 'r');
        kiv_chart1d_set_colors(h, key.c_str(), "red", "axis", name.c_str(), "background", "#204060",
                               "foreground", "#ffff00", NULL);
        kiv_chart1d_set_curve_colors(h, "red", "blue", NULL);
        kiv_chart1d_set_curve_colors(h, name.c_str(), "#00ff00", "yellow", NULL);
        g_assert_true(!strcmp(c->color_names[KIV_COLOR_AXIS], "black") && h->colors_changed);
        kiv_expect_warning(("kiv_chart1d_set_colors: no color name given for " + key).c_str());
        kiv_chart1d_set_colors(h, key.c_str(), NULL);
        /* The redraw hands the colours to the style. */
        GdkPixbuf *pixmap = read_pixmap(h);
        g_assert_true(rgb(s.widget->style->bg[GTK_STATE_INSENSITIVE]).near({32, 64, 96}) &&
                      !h->colors_changed);
        g_assert_true(rgb(s.widget->style->fg[GTK_STATE_NORMAL]).near({255, 255, 0}) &&
                      pixel(pixmap, 1, 170).near({32, 64, 96}));
        g_assert_true(g_list_length(c->curve_colors) == 2 &&
                      rgb(*(GdkColor *)c->curve_colors->data).near(kGreen));
        /* The raster forms decode to the pixmap: PNG exactly, JPEG nearly. */
        for (const char *prop : {"png", "jpeg"}) {
          GString *bytes = read_bytes(h, prop);
          GdkPixbuf *pb = decode(bytes);
          g_assert_cmpint(differing(pb, pixmap, prop[0] == 'p' ? 0 : 64), <=,
                          prop[0] == 'p' ? 0 : 240 * 180 / 50);
          g_object_unref(pb);
          g_string_free(bytes, TRUE);
        }
        /* The vector forms: one page of 240 x 180 points, complete; PostScript,
         * not Encapsulated PostScript; the same bytes for bindings. */
        const char *const vectors[][4] = {
            {"pdf", "%PDF-", "/MediaBox [ 0 0 240 180 ]", "%%EOF"},
            {"svg", "<?xml", "width=\"240pt\" height=\"180pt\"", "</svg>"},
            {"eps", "%!PS-Adobe-3.0\n", "%%BoundingBox: 0 0 240 180", "%%Pages: 1"}};
        for (const auto &v : vectors) {
          GString *bytes = read_bytes(h, v[0]);
          GBytes *same = kiv_chart1d_get_picture(h, v[0], NULL);
          g_assert_true(!strncmp(bytes->str, v[1], strlen(v[1])) &&
                        g_bytes_get_size(same) == bytes->len);
          g_assert_true(contains(bytes, v[2]) && contains(bytes, v[3]) && !contains(bytes, "EPSF"));
          g_bytes_unref(same);
          g_string_free(bytes, TRUE);
        }
        /* kiv_chart1d_print writes a picture; a format that is no picture and
         * a file that cannot be opened are reported, and leave no file. */
        g_autofree gchar *dir = g_dir_make_tmp("test-chart1d-XXXXXX", NULL), *got = NULL;
        g_assert_cmpint(chdir(dir), ==, 0);
        for (const char *name : {"", "missing/plot.png", "."})
          g_assert_cmpint(kiv_chart1d_print(h, name, "png"), ==, -1);
        for (const char *type : {"gif", "pixmap", "pdf"})
          g_assert_cmpint(kiv_chart1d_print(h, type, type), ==, 0);
        g_assert_true(g_file_get_contents("pdf", &got, NULL, NULL) && !memcmp(got, "%PDF-", 5));
        g_assert_true(unlink("pdf") == 0 && rmdir(dir) == 0);
        expect_criticals({{"kiv_chart1d_print: assertion 'h != NULL' failed",
                           [] { kiv_chart1d_print(NULL, "x", "png"); }},
                          {"kiv_chart1d_print: assertion 'type != NULL' failed",
                           [&] { kiv_chart1d_print(h, "x", NULL); }},
                          {"kiv_chart1d_add_curve_color: assertion 'color_name != NULL' failed",
                           [&] { kiv_chart1d_add_curve_color(h, NULL); }},
                          {"_kiv_get_png: assertion 'KIV_IS_CHART1D(h)' failed",
                           [] { g_assert_null(_kiv_get_png(NULL)); }}});
        /* Ranges that cannot be mapped as they are, {xmin, xmax, shown from,
         * shown to}: an empty range is widened upwards by one unit (a
         * millionth where a unit is lost), limits that are not finite give
         * [0, 1], a width beyond the doubles is halved; all is drawn. */
        const double ranges[][4] = {{3, 3, 3, 4},
                                    {NAN, 5, 0, 1},
                                    {DBL_MAX, DBL_MAX, DBL_MAX - DBL_MAX * 1e-6, DBL_MAX},
                                    {-DBL_MAX, DBL_MAX, -DBL_MAX / 2, DBL_MAX / 2},
                                    {-4.9e-324, 4.9e-324, -4.9e-324, 1}};
        for (int i = 0; i < 10; i++) {
          const double *r = ranges[i / 2];
          g_object_set(h, "logx", i % 2, "logy", i % 2, "filled", i % 2, "stats", i % 2, NULL);
          h->xmin = r[0], h->xmax = r[1];
          GString *svg = read_bytes(h, "svg");
          g_assert_true(!contains(svg, "nan") && !contains(svg, "inf") &&
                        (i % 2 || (c->xmin == r[2] && c->xmax == r[3])));
          g_assert_true(!memcmp(&h->xmin, &r[0], sizeof r[0]) && g_string_free(svg, TRUE) == NULL);
        }
        unref_all({pixmap, hist});
      },
      "Cannot open  for writing\nCannot open missing/plot.png for writing\nCannot open . for "
      "writing\n"
      "Error. Very likely invalid picture format: gif\nError. Very likely invalid picture format: "
      "pixmap\n",
      ("Cannot get color " + std::string(300, 'r') + "\nadd_curve_color: Cannot get color " +
       std::string(300, 'r') + "\n")
          .c_str());
}

/* A curve of many more points than pixel columns is drawn from a summary;
 * its picture must stay that of every point (at most 0.01 % of the
 * plotting area more than 64 levels off, a mean difference of at most 1.5
 * levels), and its y range exactly that. */
static void test_reduced(void) {
  for (int n : {1000, 10000})
    for (int kind = 0; kind < 4; kind++) {
      /* A peak of noisy counts, uniform noise, sparse small counts, and a
       * low baseline with tall spikes. */
      KivHistogram *hist = kiv_histogram_new(n, 0.0, 1.0, NULL);
      g_autoptr(GRand) r = g_rand_new_with_seed(7 + n + kind);
      for (int i = 0; i < n; i++) {
        double z = (i - n / 2.0) / (n / 10.0), bell = 100.0 * std::exp(-z * z / 2.0);
        double y[] = {std::round(bell + std::sqrt(bell) * (g_rand_double(r) * 2 - 1)),
                      g_rand_double_range(r, 0.0, 100.0),
                      g_rand_int_range(r, 0, 50) ? 0.0 : g_rand_int_range(r, 1, 6),
                      g_rand_int_range(r, 0, 3) + (g_rand_int_range(r, 0, 500) == 0 ? 80.0 : 0.0)};
        hist->y[i] = y[kind];
      }
      Toplevel t(kiv_chart1d_new(KIV_FUNCTION(hist)), 480, 320);
      KivChart1D *h = KIV_CHART1D(t.widget);
      KivCanvas *c = h->cnvs;
      kiv_chart1d_set_colors(h, "background", "white", "curve", "blue", NULL);
      for (double width : {1.0, 3.0})
        for (double lo : {0.0, 0.45, 0.4}) {
          g_object_set(h, "line_width", width, "hxmin", lo, "hxmax", 1.0 - lo, NULL);
          /* The plotting area only: a wide line may overflow it alike in both. */
          GdkPixbuf *plot[2];
          double yrange[2][2];
          for (int every = 1; every >= 0; every--) {
            _kiv_chart1d_set_every_point(h, every);
            GdkPixbuf *pb = read_pixmap(h);
            plot[every] = gdk_pixbuf_new_subpixbuf(pb, c->px0, c->py1, c->px1 - c->px0 + 1,
                                                   c->py0 - c->py1 + 1);
            yrange[every][0] = c->ymin;
            yrange[every][1] = c->ymax;
            g_object_unref(pb);
          }
          long sum = 0, area = (c->px1 - c->px0 + 1) * (c->py0 - c->py1 + 1);
          g_assert_true(differing(plot[0], plot[1], 64, &sum) * 10000 <= area && sum <= 1.5 * area);
          g_assert_true(yrange[0][0] == yrange[1][0] && yrange[0][1] == yrange[1][1]);
          /* Up to four bins a pixel column are all kept (3 points a bin),
           * more are summed up in up to 16 buckets a column (4 points each). */
          int m = lo == 0.0 ? n
                            : kiv_function_find_bin(KIV_FUNCTION(hist), 1.0 - lo) -
                                  kiv_function_find_bin(KIV_FUNCTION(hist), lo) + 1;
          g_assert_cmpint(h->xpt[0].n, ==, m <= 4 * 480 ? 3 * m + 1 : 4 * std::min(m, 16 * 480));
          unref_all({plot[0], plot[1]});
        }
      /* A vector picture strokes the summary (in the curve colour, blue)
       * rather than paint pixels. */
      g_object_set(h, "hxmin", 0.0, "hxmax", 1.0, "line_width", 1.0, NULL);
      /* The pixels of a reduced bell of 10^4 bins, as its coverage painter
       * draws them (a stroke of the summary would differ slightly). */
      if (n == 10000 && kind == 0) draw(h, "chart1d-reduced");
      GString *svg = read_bytes(h, "svg");
      g_assert_true(contains(svg, "stroke:rgb(0%,0%,100%)") && !contains(svg, "<image"));
      g_string_free(svg, TRUE);
      /* A filled curve and a logarithmic x axis keep every point. */
      for (const char *attr : {"filled", "logx"}) {
        g_object_set(h, "hxmin", 0.0, "hxmax", 1.0, "filled", FALSE, attr, TRUE, NULL);
        g_assert_cmpint(draw(h), ==, 3 * n + 1);
      }
      g_object_unref(hist);
    }
}

int main(int argc, char **argv) {
  init(&argc, &argv);
  add_widget_test("/chart1d/properties-and-curves", test_properties_and_curves);
  add_widget_test("/chart1d/drawing", test_drawing);
  add_widget_test("/chart1d/window", test_window);
  add_widget_test("/chart1d/colors-pictures-files", test_colors_pictures_files);
  add_widget_test("/chart1d/reduced", test_reduced);
  return g_test_run();
}
