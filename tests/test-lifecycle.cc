/* The whole life of each widget, many times over: created with the data it
 * shows, mapped and drawn in a window, exported as pictures and text, and
 * destroyed, after which the widget and its data must be finalized.  The
 * number of rounds is KIV_LIFECYCLE_ROUNDS (20 by default); the test
 * command runs 1000 of them under LeakSanitizer and 100 under valgrind,
 * whose leak checks then see whatever a round leaves behind.  Every round writes a PNG picture and a
 * text dump; the vector pictures, whose font embedding costs memcheck
 * several times a whole round, are written every tenth round, which still
 * takes each of their paths a hundred times. */
#include "kiv-test.h"

#include <cairo-pdf.h>

namespace {

/* Whether round r also writes the vector pictures. */
bool vector_round(int r) {
  return r % 10 == 1;
}

int rounds() {
  const char *v = g_getenv("KIV_LIFECYCLE_ROUNDS");
  int n = v != NULL ? atoi(v) : 0;
  return n > 0 ? n : 20;
}

/* Watches objects that must be finalized by the end of a round. */
struct Finalized {
  gpointer alive[8] = {};
  int n = 0;
  ~Finalized() {
    for (gpointer p : alive)
      g_assert_null(p);
  }
  template <typename T>
  T *watch(T *object) {
    g_assert_cmpint(n, <, G_N_ELEMENTS(alive));
    alive[n] = object;
    g_object_add_weak_pointer(G_OBJECT(object), &alive[n++]);
    return object;
  }
};

/* The picture writer of the charts, as cairo calls it. */
cairo_status_t to_gstring(void *closure, const unsigned char *data, unsigned int length) {
  return _kiv_img_to_gstring(static_cast<GString **>(closure), data, length);
}

void assert_starts(GString *s, const char *prefix) {
  g_assert_nonnull(s);
  g_assert_true(g_str_has_prefix(s->str, prefix));
  g_string_free(s, TRUE);
}

/* Puts the widget into the window and draws it there, then lets export
 * take its pictures before the widget is destroyed. */
template <typename Export>
void show_and_destroy(GtkWidget *window, GtkWidget *w, Export export_pictures) {
  int exposed = 0;
  g_signal_connect_after(w, "expose-event", G_CALLBACK(+[](GtkWidget *, GdkEvent *, int *n) {
                           ++*n;
                           return FALSE;
                         }), &exposed);
  /* Small, since encoding the pictures is most of a round's work. */
  gtk_widget_set_size_request(w, 160, 120);
  gtk_container_add(GTK_CONTAINER(window), w);
  gtk_widget_show(w);
  /* The window's first map takes a round trip to the X server. */
  for (int i = 0; i < 10000 && exposed == 0; i++) {
    while (gtk_events_pending())
      gtk_main_iteration();
    if (exposed == 0)
      g_usleep(1000);
  }
  g_assert_cmpint(exposed, >, 0);
  export_pictures(w);
  gtk_widget_destroy(w);
}

struct Window {
  GtkWidget *w = gtk_window_new(GTK_WINDOW_TOPLEVEL);
  Window() { gtk_widget_show(w); }
  ~Window() { gtk_widget_destroy(w); }
};

/* A chart of three curves of 20 points, which the text dump puts side by
 * side, with legend, statistics, titles, range following and a monitor. */
void test_chart1d() {
  Window window;
  for (int r = rounds(); r > 0; r--) {
    Finalized done;
    KivHistogram *h = done.watch(kiv_histogram_new(20, 0.0, 10.0, NULL));
    KivProfile *p = done.watch(kiv_profile_new(20, 0.0, 10.0, NULL));
    double x[20], y[20];
    for (int i = 0; i < 20; i++) {
      x[i] = 0.5 * i;
      y[i] = i % 7;
      kiv_histogram_fill(h, x[i], y[i]);
      kiv_profile_fill(p, x[i], y[i], 1.0);
    }
    KivGraph *g = done.watch(kiv_graph_new(20, x, y));
    GtkWidget *w = done.watch(kiv_chart1d_new(KIV_FUNCTION(h)));
    KivChart1D *c = KIV_CHART1D(w);
    kiv_chart1d_add_curve(c, KIV_FUNCTION(p));
    kiv_chart1d_add_curve(c, KIV_FUNCTION(g));
    g_object_set(w, "xtitle", "x", "ytitle", "<i>n</i>", "stats", TRUE, NULL);
    kiv_chart1d_sync_range(c, TRUE);
    kiv_chart1d_monitor_start(c, 50);
    show_and_destroy(window.w, w, [c, r](GtkWidget *) {
      assert_starts(_kiv_get_png(c), "\x89PNG");
      if (vector_round(r))
        assert_starts(_kiv_get_pdf(c), "%PDF");
      assert_starts(kiv_function_print_list(c->curves), "1D 20 ");
    });
    for (gpointer o : {gpointer(h), gpointer(p), gpointer(g)})
      g_object_unref(o);
  }
}

void test_chart2d() {
  Window window;
  for (int r = rounds(); r > 0; r--) {
    Finalized done;
    KivHistogram2D *h = done.watch(kiv_histogram2d_new(10, 0.0, 10.0, 5, 0.0, 5.0, NULL));
    for (int i = 0; i < 50; i++)
      kiv_histogram2d_fill(h, i % 10, i % 5, i);
    GtkWidget *w = done.watch(kiv_chart2d_new(h));
    g_object_set(w, "ctype", KIV_COLOR_2D_BLUE, "stats", TRUE, NULL);
    show_and_destroy(window.w, w, [h, r](GtkWidget *chart) {
      assert_starts(kivtest::read_bytes(chart, "png"), "\x89PNG");
      if (vector_round(r))
        assert_starts(kivtest::read_bytes(chart, "svg"), "<?xml");
      assert_starts(kiv_function_print(KIV_FUNCTION(h)), "2D 10 ");
    });
    g_object_unref(h);
  }
}

/* The gauge has no picture properties: it paints into an image and into a
 * PDF surface of its own size, and its history is dumped as text. */
void test_gauge() {
  Window window;
  for (int r = rounds(); r > 0; r--) {
    Finalized done;
    GtkWidget *w = done.watch(kiv_gauge_new(0.0f, 50.0f));
    KivGauge *gg = KIV_GAUGE(w);
    done.watch(kiv_gauge_get_tracer(gg));
    kiv_gauge_set_title(gg, "<b>rate</b>");
    kiv_gauge_set_color(gg, "#00ff00");
    for (int i = 0; i < 20; i++)
      kiv_gauge_set_value(gg, static_cast<float>(i * 3));
    show_and_destroy(window.w, w, [gg, r](GtkWidget *shown) {
      int width = shown->allocation.width, height = shown->allocation.height;
      cairo_surface_t *image = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, width, height);
      gauge_paint(gg, cairo_create(image));
      GString *png = g_string_new(NULL);
      cairo_surface_write_to_png_stream(image, to_gstring, &png);
      cairo_surface_destroy(image);
      assert_starts(png, "\x89PNG");
      if (vector_round(r)) {
        GString *pdf = g_string_new(NULL);
        cairo_surface_t *doc = cairo_pdf_surface_create_for_stream(to_gstring, &pdf, width, height);
        gauge_paint(gg, cairo_create(doc));
        cairo_surface_destroy(doc);
        assert_starts(pdf, "%PDF");
      }
      assert_starts(kiv_function_print(KIV_FUNCTION(kiv_gauge_get_tracer(gg))), "1D 128 ");
    });
  }
}

} // namespace

int main(int argc, char **argv) {
  g_test_init(&argc, &argv, NULL);
  kivtest::init_display(&argc, &argv);
  kivtest::add_widget_test("/lifecycle/chart1d", test_chart1d);
  kivtest::add_widget_test("/lifecycle/chart2d", test_chart2d);
  kivtest::add_widget_test("/lifecycle/gauge", test_gauge);
  return g_test_run();
}
