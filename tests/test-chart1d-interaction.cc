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
  void wait_for(int k) {
    int want = n + k;
    for (int i = 0; i < 5000 && n < want; i++)
      spin(2);
    g_assert_cmpint(n, >=, want);
  }
};

/* 1, 2, ... 10 over [0, 10) on white with the Y range [0, 20]; the chart's
 * size gives a plotting area of 200 x 120 pixels, so quarters of it are
 * round data values. */
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
  /* Pointer events at quarters of the plotting area. */
  double px(double qx) { return c->px0 + qx * c->wx / 4; }
  double py(double qy) { return c->py0 - qy * c->wy / 4; }
  void drag(double ax, double ay, double bx, double by, guint state, guint up = 1) {
    motion(h, px(ax), py(ay));
    press(h, 1, 0, 0, state);
    release(h, up, px(bx), py(by), state);
  }
};

} // namespace

/* Fractions of a pixel are cut off; with Control held the pointer is not
 * followed; a drag shows anchor, point, differences and ratio. */
static void test_pointer(void) {
  Ramp r;
  KivChart1D *h = r.h;
  g_assert_cmpint(r.c->wx, ==, 200);
  g_assert_cmpint(r.c->wy, ==, 120);
  motion(h, r.px(0) + 0.9, r.py(0) + 0.9);
  kiv_assert_each({h->evt->x, 0.0}, {h->evt->y, 0.0});
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
  /* Control, right to left: X low to high, Y kept. */
  r.drag(3, 1, 1, 3, GDK_CONTROL_MASK);
  kiv_assert_each({h->xmin, 2.5}, {h->xmax, 7.5}, {h->vmin, 0.0}, {h->vmax, 20.0});
  g_object_unref(read_pixmap(h));
  kiv_assert_each({r.c->xmin, 2.5}, {r.c->xmax, 7.5});
  /* Shift: Y through "vmin" and "vmax", X kept. */
  r.drag(1, 3, 2, 1, GDK_SHIFT_MASK);
  kiv_assert_each({h->xmin, 2.5}, {h->xmax, 7.5}, {h->vmin, 5.0}, {h->vmax, 15.0});
  g_assert_true(r.c->fixed);
  /* The middle button: the function's X range, an automatic Y range. */
  Exposes ex(h);
  press(h, 2, 20, 20);
  release(h, 2, 20, 20);
  kiv_assert_each({h->xmin, 0.0}, {h->xmax, 10.0}, {h->vmin, 0.0}, {h->vmax, 0.0});
  g_assert_false(r.c->fixed);
  ex.wait_for(1);
  /* Both; a release of another button zooms nothing. */
  r.fix_y();
  r.drag(0, 0, 2, 2, GDK_CONTROL_MASK | GDK_SHIFT_MASK, 3);
  kiv_assert_each({h->xmin, 0.0}, {h->xmax, 10.0}, {h->vmin, 0.0}, {h->vmax, 20.0});
  release(h, 1, r.px(2), r.py(2), GDK_CONTROL_MASK | GDK_SHIFT_MASK);
  kiv_assert_each({h->xmin, 0.0}, {h->xmax, 5.0}, {h->vmin, 0.0}, {h->vmax, 10.0});
  /* A click without movement: no empty X range; Y automatic again. */
  r.drag(1, 1, 1, 1, GDK_CONTROL_MASK | GDK_SHIFT_MASK);
  kiv_assert_each({h->xmin, 0.0}, {h->xmax, 5.0}, {h->vmin, 5.0}, {h->vmax, 5.0});
  g_assert_false(r.c->fixed);
}

/* On log axes the pointer maps to decimal logarithms; a zoom stores the
 * values themselves. */
static void test_zoom_log(void) {
  Ramp r;
  kiv_chart1d_logx(r.h, TRUE);
  kiv_chart1d_logy(r.h, TRUE);
  g_object_set(r.h, "hxmin", 1.0, "hxmax", 1e3, "vmin", 1.0, "vmax", 1e3, NULL);
  g_object_unref(read_pixmap(r.h));
  r.drag(1, 3, 2, 2, GDK_CONTROL_MASK | GDK_SHIFT_MASK);
  kiv_assert_each({r.h->xmin, 10.0}, {r.h->xmax, 100.0}, {r.h->vmin, 100.0}, {r.h->vmax, 1000.0});
}

/* Every key that reaches the chart is echoed and goes no further. */
static void test_keys(void) {
  in_subprocess(
      [] {
        Ramp r;
        GtkWidget *w = GTK_WIDGET(r.h);
        gtk_widget_set_can_focus(w, TRUE);
        gtk_widget_grab_focus(w);
        Counter later;
        g_signal_connect_swapped(w, "key-press-event", G_CALLBACK(Counter::bump), &later);
        send_key(r.s.window, GDK_KEY_a);
        send_key(r.s.window, GDK_KEY_Tab, GDK_CONTROL_MASK);
        g_assert_cmpint(later.n, ==, 0);
        g_assert_true(gtk_widget_is_focus(w));
      },
      "Key 97 61\nKey 65289 ff09\n", NULL);
}

int main(int argc, char **argv) {
  kivtest::init(&argc, &argv);
  add_widget_test("/chart1d-interaction/pointer", test_pointer);
  add_widget_test("/chart1d-interaction/zoom", test_zoom);
  add_widget_test("/chart1d-interaction/zoom-log", test_zoom_log);
  add_widget_test("/chart1d-interaction/keys", test_keys);
  return g_test_run();
}
