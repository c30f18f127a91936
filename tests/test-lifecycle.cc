/* The whole life of each widget, round after round: created with the data
 * it shows, drawn in a window, exported as pictures and text, destroyed,
 * after which the widget and its data must be finalized.  The number of
 * rounds is KIV_LIFECYCLE_ROUNDS (3 by default): the test command runs
 * 1000 under LeakSanitizer and 100 under valgrind, whose leak checks then
 * see whatever a round leaves behind.  The vector pictures, whose font
 * embedding costs memcheck several rounds' worth, are written every tenth
 * round only, which still takes each of their paths a hundred times. */
#include "kiv-test.h"

#include <cairo-pdf.h>

namespace {

using namespace kivtest;

int rounds() {
  const char *v = g_getenv("KIV_LIFECYCLE_ROUNDS");
  int n = v != NULL ? atoi(v) : 0;
  return n > 0 ? n : 3;
}

cairo_status_t to_gstring(void *closure, const unsigned char *data, unsigned int length) {
  return _kiv_img_to_gstring(static_cast<GString **>(closure), data, length);
}

void assert_starts(GString *s, const char *prefix) {
  g_assert_true(s != NULL && g_str_has_prefix(s->str, prefix));
  g_string_free(s, TRUE);
}

/* What one round makes: the widget, the data objects the test holds a
 * reference to, and the exports, with or without the vector pictures. */
struct Round {
  GtkWidget *widget;
  std::vector<gpointer> data;
  std::function<void(bool vector)> export_all;
};

/* Each round's widget goes into the window, is drawn there and exported,
 * then destroyed; once the test drops its data, nothing may be left. */
void live(Round (*make)()) {
  GtkWidget *window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
  gtk_widget_show(window);
  for (int r = rounds(); r > 0; r--) {
    Round round = make();
    std::vector<gpointer> alive(round.data);
    alive.push_back(round.widget);
    for (gpointer &p : alive)
      g_object_add_weak_pointer(G_OBJECT(p), &p);
    int exposed = 0;
    g_signal_connect_after(round.widget, "expose-event",
                           G_CALLBACK(+[](GtkWidget *, GdkEvent *, int *n) { return ++*n < 0; }),
                           &exposed);
    /* Small, since encoding the pictures is most of a round's work. */
    gtk_widget_set_size_request(round.widget, 160, 120);
    gtk_container_add(GTK_CONTAINER(window), round.widget);
    gtk_widget_show(round.widget);
    /* The window's first map takes a round trip to the X server. */
    for (int i = 0; i < 10000 && exposed == 0; i++) {
      drain();
      g_usleep(1000);
    }
    g_assert_cmpint(exposed, >, 0);
    round.export_all(r % 10 == 1);
    gtk_widget_destroy(round.widget);
    for (gpointer o : round.data)
      g_object_unref(o);
    for (gpointer p : alive)
      g_assert_null(p);
  }
  gtk_widget_destroy(window);
}

/* Three curves of 20 points, which the text dump puts side by side, with
 * statistics, titles, range following and a running monitor. */
Round chart1d() {
  KivHistogram *h = kiv_histogram_new(20, 0.0, 10.0, NULL);
  KivProfile *p = kiv_profile_new(20, 0.0, 10.0, NULL);
  double x[20], y[20];
  for (int i = 0; i < 20; i++) {
    x[i] = 0.5 * i;
    y[i] = i % 7;
    kiv_histogram_fill(h, x[i], y[i]);
    kiv_profile_fill(p, x[i], y[i], 1.0);
  }
  KivGraph *g = kiv_graph_new(20, x, y);
  KivChart1D *c = KIV_CHART1D(kiv_chart1d_new(KIV_FUNCTION(h)));
  kiv_chart1d_add_curve(c, KIV_FUNCTION(p));
  kiv_chart1d_add_curve(c, KIV_FUNCTION(g));
  g_object_set(c, "xtitle", "x", "ytitle", "<i>n</i>", "stats", TRUE, NULL);
  kiv_chart1d_sync_range(c, TRUE);
  kiv_chart1d_monitor_start(c, 50);
  return {GTK_WIDGET(c), {h, p, g}, [c](bool vector) {
            assert_starts(_kiv_get_png(c), "\x89PNG");
            if (vector)
              assert_starts(_kiv_get_pdf(c), "%PDF");
            assert_starts(kiv_function_print_list(c->curves), "1D 20 ");
          }};
}

Round chart2d() {
  KivHistogram2D *h = kiv_histogram2d_new(10, 0.0, 10.0, 5, 0.0, 5.0, NULL);
  for (int i = 0; i < 50; i++)
    kiv_histogram2d_fill(h, i % 10, i % 5, i);
  GtkWidget *w = kiv_chart2d_new(h);
  g_object_set(w, "ctype", KIV_COLOR_2D_BLUE, "stats", TRUE, NULL);
  return {w, {h}, [w, h](bool vector) {
            assert_starts(read_bytes(w, "png"), "\x89PNG");
            if (vector)
              assert_starts(read_bytes(w, "svg"), "<?xml");
            assert_starts(kiv_function_print(KIV_FUNCTION(h)), "2D 10 ");
          }};
}

/* The gauge has no picture properties: it paints into an image and into
 * a PDF surface, and its history is dumped as text.  The test holds the
 * tracer too, to see that the gauge lets it go. */
Round gauge() {
  KivGauge *gg = KIV_GAUGE(kiv_gauge_new(0.0f, 50.0f));
  kiv_gauge_set_title(gg, "<b>rate</b>");
  kiv_gauge_set_color(gg, "#00ff00");
  for (int i = 0; i < 20; i++)
    kiv_gauge_set_value(gg, i * 3.0f);
  return {GTK_WIDGET(gg), {g_object_ref(gg->tracer)}, [gg](bool vector) {
            cairo_surface_t *image = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, 160, 120);
            gauge_paint(gg, cairo_create(image));
            GString *png = g_string_new(NULL), *pdf = g_string_new(NULL);
            cairo_surface_write_to_png_stream(image, to_gstring, &png);
            cairo_surface_destroy(image);
            assert_starts(png, "\x89PNG");
            cairo_surface_t *doc = cairo_pdf_surface_create_for_stream(to_gstring, &pdf, 160, 120);
            if (vector)
              gauge_paint(gg, cairo_create(doc));
            cairo_surface_destroy(doc);
            assert_starts(pdf, "%PDF");
            assert_starts(kiv_function_print(KIV_FUNCTION(gg->tracer)), "1D 128 ");
          }};
}

} // namespace

int main(int argc, char **argv) {
  init(&argc, &argv);
  add_widget_test("/lifecycle/chart1d", [] { live(chart1d); });
  add_widget_test("/lifecycle/chart2d", [] { live(chart2d); });
  add_widget_test("/lifecycle/gauge", [] { live(gauge); });
  return g_test_run();
}
