/* The whole life of every widget, round after round: created with the data
 * it shows, drawn in a window, exported as pictures, destroyed, after
 * which the widgets and their data must be finalized.  The number of
 * rounds is KIV_LIFECYCLE_ROUNDS (3 by default): the test command runs
 * 1000 under LeakSanitizer and 100 under valgrind, whose leak checks then
 * see whatever a round leaves behind.  The vector pictures, whose font
 * embedding costs memcheck several rounds' worth, are written every tenth
 * round only, which still takes each of their paths a hundred times. */
#include "kiv-test.h"

#include <cairo-pdf.h>

namespace {

using namespace kivtest;

void assert_starts(GString *s, const char *prefix) {
  g_assert_true(s != NULL && g_str_has_prefix(s->str, prefix));
  g_string_free(s, TRUE);
}

void test_rounds() {
  const char *env = g_getenv("KIV_LIFECYCLE_ROUNDS");
  for (int r = env != NULL && atoi(env) > 0 ? atoi(env) : 3; r > 0; r--) {
    /* A gauge; a colour map; a chart of a histogram and the gauge's
     * history, with statistics, titles, range following and a monitor. */
    KivHistogram *h = ramp_histogram(20, 0.0, 10.0);
    KivHistogram2D *h2 = kiv_histogram2d_new(10, 0.0, 10.0, 5, 0.0, 5.0, NULL);
    KivGauge *gg = KIV_GAUGE(kiv_gauge_new(0.0f, 50.0f));
    kiv_histogram2d_fill(h2, 2.5, 1.5, 4.0);
    kiv_gauge_set_value(gg, 30.0f);
    KivChart1D *c1 = KIV_CHART1D(kiv_chart1d_new(KIV_FUNCTION(h)));
    kiv_chart1d_add_curve(c1, KIV_FUNCTION(gg->tracer));
    g_object_set(c1, "xtitle", "x", "ytitle", "<i>n</i>", "stats", TRUE, NULL);
    kiv_chart1d_sync_range(c1, TRUE);
    kiv_chart1d_monitor_start(c1, 50);
    GtkWidget *c2 = kiv_chart2d_new(h2), *box = gtk_hbox_new(TRUE, 0);
    g_object_set(c2, "ctype", KIV_COLOR_2D_BLUE, "stats", TRUE, NULL);
    g_object_set(gg, "title", "<b>rate</b>", "color", "#00ff00", NULL);
    /* The test holds the gauge's tracer too, to see that the gauge and the
     * chart let it go.  The widgets, from the fourth on, are drawn side by
     * side. */
    gpointer alive[] = {h, h2, g_object_ref(gg->tracer), c1, c2, gg};
    for (int i = 0; i < 6; i++) g_object_add_weak_pointer(G_OBJECT(alive[i]), &alive[i]);
    int exposed[3] = {0, 0, 0};
    for (int i = 3; i < 6; i++) {
      g_signal_connect_after(alive[i], "expose-event",
                             G_CALLBACK(+[](GtkWidget *, GdkEvent *, int *n) { return ++*n < 0; }),
                             &exposed[i - 3]);
      gtk_box_pack_start(GTK_BOX(box), GTK_WIDGET(alive[i]), TRUE, TRUE, 0);
    }
    /* Small, since encoding the pictures is most of a round's work.  The
     * window's first map takes a round trip to the X server. */
    Toplevel *window = new Toplevel(box, 480, 120);
    for (int i = 0; i < 10000 && !(exposed[0] && exposed[1] && exposed[2]); i++, g_usleep(1000))
      drain();
    g_assert_true(exposed[0] && exposed[1] && exposed[2]);
    /* The test drops its data while the widgets still hold them. */
    for (int i = 0; i < 3; i++) g_object_unref(alive[i]);
    assert_starts(_kiv_get_png(c1), "\x89PNG");
    assert_starts(read_bytes(c2, "png"), "\x89PNG");
    /* The gauge has no picture properties: it paints into a surface of
     * the test's own. */
    if (r % 10 == 1) {
      assert_starts(_kiv_get_pdf(c1), "%PDF");
      assert_starts(read_bytes(c2, "svg"), "<?xml");
      cairo_surface_t *doc = cairo_pdf_surface_create(NULL, 160, 120);
      gauge_paint(gg, cairo_create(doc));
      cairo_surface_destroy(doc);
    }
    delete window;
    for (gpointer o : alive) g_assert_null(o);
  }
}

} // namespace

int main(int argc, char **argv) {
  init(&argc, &argv);
  add_widget_test("/lifecycle/rounds", test_rounds);
  return g_test_run();
}
