/* The chart as a user meets it on a real X server: pointer read-out, zooms,
 * keys, range following and the monitoring timer, then the popup menu and
 * every dialog it runs, answered from the test so that colours really
 * change, histograms are really rebinned and files really written. */
#include "kiv-test.h"

#include <gdk/gdkkeysyms.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>

using namespace kivtest;

namespace {

#define assert_text(got, want) g_assert_cmpstr(std::string(got).c_str(), ==, std::string(want).c_str())

/* Counts the redraws of the whole chart; a part of the window uncovered by
 * another program's window is not one. */
struct Exposes {
  int n = 0;
  explicit Exposes(KivChart1D *h) {
    g_signal_connect(h, "expose-event", G_CALLBACK(+[](GtkWidget *w, GdkEventExpose *ev, Exposes *e) {
                       GtkAllocation a;
                       gtk_widget_get_allocation(w, &a);
                       e->n += ev->area.width == a.width && ev->area.height == a.height;
                       return FALSE;
                     }), this);
  }
  /* Waits for k more redraws; the bound only keeps a broken timer from
   * hanging the test. */
  void wait_for(int k, int since) {
    for (int i = 0; i < 5000 && n < since + k; i++)
      spin(2);
    g_assert_cmpint(n, >=, since + k);
  }
};

/* 1, 2, ... 10 over [0, 10) on white with the Y range [0, 20]; the chart's
 * size gives a plotting area of 200 x 120 pixels, so that the pointer at
 * quarters of it reads round data values. */
struct Ramp {
  KivHistogram *hist = ramp_histogram(10, 0.0, 10.0);
  Shown s{KIV_FUNCTION(hist), 320, 175};
  KivChart1D *h = s.chart;
  KivCanvas *c = h->cnvs;
  Ramp() {
    kiv_chart1d_set_colors(h, "background", "white", "foreground", "black", NULL);
    fix_y();
  }
  ~Ramp() { g_object_unref(hist); }
  /* A new style asks for a new allocation, which resets the X range: it is
   * let happen before the Y range is fixed. */
  void fix_y() {
    g_object_unref(read_pixmap(h));
    drain();
    g_object_set(h, "vmin", 0.0, "vmax", 20.0, NULL);
    g_object_unref(read_pixmap(h));
  }
  double px(double qx) { return c->px0 + qx * c->wx / 4; }
  double py(double qy) { return c->py0 - qy * c->wy / 4; }
  void drag(double ax, double ay, double bx, double by, guint state, guint up = 1) {
    motion(h, px(ax), py(ay));
    press(h, 1, 0, 0, state);
    release(h, up, px(bx), py(by), state);
  }
};

const guint kBoth = GDK_CONTROL_MASK | GDK_SHIFT_MASK;

} // namespace

/* Fractions of a pixel are cut off; with Control held the pointer is not
 * followed; a drag shows anchor, point, differences and ratio. */
static void test_pointer(void) {
  Ramp r;
  KivChart1D *h = r.h;
  kiv_assert_each({r.c->wx, 200}, {r.c->wy, 120});
  motion(h, r.px(0) + 0.9, r.py(0) + 0.9);
  motion(h, r.px(2), r.py(2), GDK_CONTROL_MASK);
  kiv_assert_each({h->evt->x, 0.0}, {h->evt->y, 0.0});
  motion(h, r.px(1), r.py(1));
  press(h, 1, 0, 0);
  motion(h, r.px(2), r.py(3));
  kiv_assert_each({h->evt->x0, 2.5}, {h->evt->y0, 5.0}, {h->evt->x, 5.0}, {h->evt->y, 15.0},
                  {h->evt->button, 1});
  assert_reference(read_pixmap(h), "chart1d-interaction-drag", 2, 0);
  release(h, 1, r.px(2), r.py(3));
  motion(h, r.px(3), r.py(2));
  kiv_assert_each({h->evt->button, 2}, {h->xmax, 10.0}, {h->vmax, 20.0});
  assert_reference(read_pixmap(h), "chart1d-interaction-hover", 2, 0);
}

static void test_zoom(void) {
  Ramp r;
  KivChart1D *h = r.h;
  /* Control, right to left: X low to high; then Shift: Y only. */
  r.drag(3, 1, 1, 3, GDK_CONTROL_MASK);
  kiv_assert_each({h->xmin, 2.5}, {h->xmax, 7.5}, {h->vmin, 0.0}, {h->vmax, 20.0});
  g_object_unref(read_pixmap(h));
  kiv_assert_each({r.c->xmin, 2.5}, {r.c->xmax, 7.5});
  r.drag(1, 3, 2, 1, GDK_SHIFT_MASK);
  kiv_assert_each({h->xmin, 2.5}, {h->xmax, 7.5}, {h->vmin, 5.0}, {h->vmax, 15.0}, {r.c->fixed, 1});
  /* The middle button: the function's X range, an automatic Y range. */
  Exposes ex(h);
  press(h, 2, 20, 20);
  kiv_assert_each({h->xmin, 0.0}, {h->xmax, 10.0}, {h->vmin, 0.0}, {h->vmax, 0.0}, {r.c->fixed, 0});
  ex.wait_for(1, 0);
  /* Both; a release of another button zooms nothing. */
  r.fix_y();
  r.drag(0, 0, 2, 2, kBoth, 3);
  kiv_assert_each({h->xmax, 10.0}, {h->vmax, 20.0});
  release(h, 1, r.px(2), r.py(2), kBoth);
  kiv_assert_each({h->xmin, 0.0}, {h->xmax, 5.0}, {h->vmin, 0.0}, {h->vmax, 10.0});
  /* A click without movement: no empty X range; Y automatic again. */
  r.drag(1, 1, 1, 1, kBoth);
  kiv_assert_each({h->xmin, 0.0}, {h->xmax, 5.0}, {h->vmin, 5.0}, {h->vmax, 5.0}, {r.c->fixed, 0});
  /* On log axes the pointer maps to decades, three of them in a quarter
   * each here; a zoom stores the values themselves. */
  kiv_chart1d_logx(h, TRUE);
  kiv_chart1d_logy(h, TRUE);
  g_object_set(h, "hxmin", 1.0, "hxmax", 1e3, "vmin", 1.0, "vmax", 1e3, NULL);
  g_object_unref(read_pixmap(h));
  r.drag(1, 3, 2, 2, kBoth);
  kiv_assert_each({h->xmin, 10.0}, {h->xmax, 100.0}, {h->vmin, 100.0}, {h->vmax, 1000.0});
}

/* Every key that reaches the chart is echoed and goes no further. */
static void test_keys(void) {
  in_subprocess([] {
    Ramp r;
    gtk_widget_set_can_focus(GTK_WIDGET(r.h), TRUE);
    gtk_widget_grab_focus(GTK_WIDGET(r.h));
    Counter later;
    g_signal_connect_swapped(r.h, "key-press-event", G_CALLBACK(Counter::bump), &later);
    send_key(r.s.window, GDK_KEY_a);
    send_key(r.s.window, GDK_KEY_Tab, GDK_CONTROL_MASK);
    g_assert_cmpint(later.n, ==, 0);
  }, "Key 97 61\nKey 65289 ff09\n", NULL);
}

/* Following is off, on, or on and waiting for a main function. */
static void test_sync(void) {
  KivHistogram *hist = ramp_histogram(10, 0.0, 10.0);
  KivFunction *f = KIV_FUNCTION(hist), *g = kiv_function_new(10, 0.0, 1.0, NULL);
  KivChart1D *h = KIV_CHART1D(g_object_ref_sink(kiv_chart1d_new(f)));
  kiv_chart1d_sync_range(h, TRUE);
  kiv_chart1d_sync_range(h, TRUE);
  kiv_histogram_rebin(hist, 20, -1.0, 1.0);
  /* Asked twice, connected once: one "off" ends it. */
  kiv_chart1d_sync_range(h, FALSE);
  g_object_set(f, "xmin", -4.0, NULL);
  kiv_assert_each({h->xmin, -1.0}, {h->xmax, 1.0}, {h->sync_id, -1});
  /* After the curves are removed the next function is followed, unless
   * following is turned off meanwhile. */
  kiv_chart1d_sync_range(h, TRUE);
  kiv_chart1d_remove_curves(h);
  g_object_set(f, "xmin", -5.0, NULL);
  kiv_chart1d_add_curve(h, g);
  g_object_set(g, "xmax", 3.0, NULL);
  kiv_assert_each({h->xmin, 0.0}, {h->xmax, 3.0});
  kiv_chart1d_remove_curves(h);
  kiv_chart1d_sync_range(h, FALSE);
  kiv_chart1d_add_curve(h, f);
  g_object_set(f, "xmin", -6.0, NULL);
  kiv_assert_each({h->xmin, -5.0});
  /* Asked without a function: GLib refuses, the request stands. */
  kiv_chart1d_remove_curves(h);
  g_test_expect_message("GLib-GObject", G_LOG_LEVEL_WARNING, "invalid (NULL) pointer instance");
  g_test_expect_message("GLib-GObject", G_LOG_LEVEL_CRITICAL, "*G_TYPE_CHECK_INSTANCE*");
  kiv_chart1d_sync_range(h, TRUE);
  kiv_chart1d_add_curve(h, g);
  g_object_set(g, "xmin", -3.0, NULL);
  kiv_assert_each({h->xmin, -3.0});
  kiv_expect_critical("kiv_chart1d_sync_range: assertion 'KIV_IS_CHART1D(h)' failed");
  kiv_chart1d_sync_range(reinterpret_cast<KivChart1D *>(g), TRUE);
  g_test_assert_expected_messages();
  g_object_unref(h);
  g_object_set(g, "xmin", -2.0, NULL);
  g_object_unref(g);
  g_object_unref(hist);
}

/* A producer fills from its own thread while the timer refreshes the
 * chart: what the chart shows changes while it runs, and no fill is lost.
 * Ticks while another thread holds the canvas are skipped, not waited for:
 * a waiting tick would block the main loop until the holder gives up after
 * 3 seconds, and its redraw would be counted. */
static void test_monitor(void) {
  Ramp r;
  Exposes ex(r.h);
  auto shown = [&] {
    cairo_surface_t *s = r.c->surface;
    return std::string(reinterpret_cast<const char *>(cairo_image_surface_get_data(s)),
                       cairo_image_surface_get_stride(s) * cairo_image_surface_get_height(s));
  };
  kiv_chart1d_show_stats(r.h, TRUE);
  g_object_unref(read_pixmap(r.h));
  std::string before = shown();
  double entries = kiv_histogram_entries(r.hist);
  kiv_chart1d_monitor_stop(r.h);
  kiv_chart1d_monitor_start(r.h, 100000);
  guint first = r.h->tmout;
  kiv_chart1d_monitor_start(r.h, 10);
  g_assert_null(g_main_context_find_source_by_id(NULL, first));
  std::atomic<bool> stop{false}, held{false}, done{false};
  int filled = 0;
  std::thread producer([&] {
    for (; !stop; filled++) {
      kiv_histogram_fill(r.hist, (filled % 97) / 10.0, 1.0);
      if (filled % 64 == 0)
        g_usleep(100);
    }
  });
  ex.wait_for(3, ex.n);
  std::string early = shown();
  ex.wait_for(3, ex.n);
  stop = true;
  producer.join();
  g_assert_true(before != early && early != shown());
  g_assert_cmpfloat(kiv_histogram_entries(r.hist), ==, entries + filled);
  kiv_chart1d_monitor_stop(r.h);
  drain();
  std::thread holder([&] {
    g_mutex_lock(&r.c->mutex);
    held = true;
    for (int i = 0; i < 3000 && !done; i++)
      g_usleep(1000);
    g_mutex_unlock(&r.c->mutex);
  });
  while (!held)
    g_usleep(1000);
  kiv_chart1d_monitor_start(r.h, 5);
  int n = ex.n;
  spin(100);
  g_assert_cmpint(ex.n, ==, n);
  done = true;
  holder.join();
  ex.wait_for(1, n);
  guint id = r.h->tmout;
  kiv_chart1d_monitor_stop(r.h);
  kiv_assert_each({r.h->tmout, -1}, {g_main_context_find_source_by_id(NULL, id) == NULL, 1});
}

/* A chart destroyed with its timer running, its range followed and its
 * menu open leaves nothing behind that could call into it. */
static void test_destroy_live(void) {
  Ramp *r = new Ramp;
  KivHistogram *hist = KIV_HISTOGRAM(g_object_ref(r->hist));
  kiv_chart1d_monitor_start(r->h, 5);
  kiv_chart1d_sync_range(r->h, TRUE);
  guint id = r->h->tmout;
  gpointer chart = r->h, menu = open_menu(r->h);
  g_object_add_weak_pointer(G_OBJECT(chart), &chart);
  g_object_add_weak_pointer(G_OBJECT(menu), &menu);
  spin(30);
  delete r;
  g_assert_true(chart == NULL && menu == NULL);
  g_assert_null(g_main_context_find_source_by_id(NULL, id));
  kiv_histogram_rebin(hist, 5, 0.0, 1.0);
  spin(30);
  g_object_unref(hist);
}

int main(int argc, char **argv) {
  kivtest::init(&argc, &argv);
  add_widget_test("/chart1d-interaction/pointer", test_pointer);
  add_widget_test("/chart1d-interaction/zoom", test_zoom);
  add_widget_test("/chart1d-interaction/keys", test_keys);
  add_widget_test("/chart1d-interaction/sync", test_sync);
  add_widget_test("/chart1d-interaction/monitor", test_monitor);
  add_widget_test("/chart1d-interaction/destroy-live", test_destroy_live);
  return g_test_run();
}
