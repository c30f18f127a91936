/* Tests of the live behaviour of KivChart1D on a real X server, with events
 * sent through GTK's own event path: the pointer read-out, the zooms and
 * the view reset, the key echo, range following and the monitoring timer. */
#include "chart1d-fixture.h"

#include <gdk/gdkkeysyms.h>

#include <atomic>

using namespace kivtest;

namespace {

void redraw(KivChart1D *h) {
  GdkPixbuf *pb = NULL;
  g_object_get(h, "pixmap", &pb, NULL);
  g_object_unref(pb);
}

/* The histogram 1, 2, ... 10 over [0, 10) shown with the Y range [0, 20]. */
struct RampChart {
  KivHistogram *hist = ramp_histogram(10, 0.0, 10.0);
  Shown shown;
  KivChart1D *h;
  KivCanvas *c;
  RampChart(int width = 400) : shown(KIV_FUNCTION(hist), width, 250), h(shown.chart), c(h->cnvs) {
    kiv_chart1d_set_colors(h, "background", "white", "foreground", "black", NULL);
    fix_y();
  }
  ~RampChart() { g_object_unref(hist); }
  /* The redraw also applies new colours, and a new style asks for a new
   * size allocation, which resets the X range: it is let happen here. */
  void fix_y() {
    g_object_set(h, "vmin", 0.0, "vmax", 20.0, NULL);
    redraw(h);
    drain();
  }
  /* The data position of a pixel, whole pixels only, as last laid out. */
  double x_at(double px) {
    double x, y;
    canvas_transform_inv(c, static_cast<int>(px), 0, &x, &y);
    return x;
  }
  double y_at(double py) {
    double x, y;
    canvas_transform_inv(c, 0, static_cast<int>(py), &x, &y);
    return y;
  }
};

/* Counts the redraws of a whole chart, and the longest of them.  The X
 * server's exposes of parts of the window that other programs' windows
 * uncovered are not counted. */
struct Exposes {
  std::atomic<int> n{0};
  gint64 longest = 0, started = 0;
  explicit Exposes(KivChart1D *h) {
    g_signal_connect(h, "expose-event", G_CALLBACK(+[](GtkWidget *w, GdkEventExpose *ev,
                                                       Exposes *e) {
                       GtkAllocation a;
                       gtk_widget_get_allocation(w, &a);
                       e->n += ev->area.width == a.width && ev->area.height == a.height;
                       e->started = g_get_monotonic_time();
                       return FALSE;
                     }),
                     this);
    g_signal_connect_after(h, "expose-event",
                           G_CALLBACK(+[](GtkWidget *, GdkEvent *, Exposes *e) {
                             e->longest = std::max(e->longest, g_get_monotonic_time() - e->started);
                             return FALSE;
                           }),
                           this);
  }
};

/* The chart's top-left corner must show exactly the read-out of its
 * pointer record, drawn alone in black on white. */
void assert_readout(KivChart1D *h) {
  const KivChartEvent *e = h->evt;
  gchar *text =
      (e->button & 1) ? g_strdup_printf("<span size=\"smaller\">X0: %.3g Y0: %.3g X1 %.3g Y1 "
                                        "%.3g DX %.3g DY %.3g dx/dy %.3g</span>",
                                        e->x0, e->y0, e->x, e->y, e->x - e->x0, e->y - e->y0,
                                        (e->x - e->x0) / (e->y - e->y0))
                      : g_strdup_printf("<span size=\"smaller\">X: %.3g Y: %3g</span>", e->x, e->y);
  PangoRectangle r;
  _kiv_get_layout_extent(GTK_WIDGET(h), NULL, text, &r, "sans");
  cairo_surface_t *s = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, r.width, r.height);
  cairo_t *cr = cairo_create(s);
  cairo_set_source_rgb(cr, 1, 1, 1);
  cairo_paint(cr);
  cairo_set_source_rgb(cr, 0, 0, 0);
  _kiv_draw_string(GTK_WIDGET(h), cr, 0, 0, text, "sans");
  cairo_destroy(cr);
  redraw(h);
  cairo_surface_t *chart = h->cnvs->surface;
  int differ = 0;
  for (int y = 0; y < r.height; y++)
    for (int x = 0; x < r.width; x++)
      if (reinterpret_cast<guint32 *>(cairo_image_surface_get_data(s) +
                                      y * cairo_image_surface_get_stride(s))[x] !=
          reinterpret_cast<guint32 *>(cairo_image_surface_get_data(chart) +
                                      y * cairo_image_surface_get_stride(chart))[x])
        differ++;
  cairo_surface_destroy(s);
  if (differ != 0)
    g_error("the read-out is not %s: %d pixels differ", text, differ);
  g_free(text);
}

guint handlers_with_data(gpointer instance, gpointer data) {
  guint n = g_signal_handlers_block_matched(instance, G_SIGNAL_MATCH_DATA, 0, 0, NULL, NULL, data);
  g_signal_handlers_unblock_matched(instance, G_SIGNAL_MATCH_DATA, 0, 0, NULL, NULL, data);
  return n;
}

} // namespace

/* The pointer is followed (fractions of a pixel cut off), except with
 * Control held; a drag shows anchor, point, differences and ratio. */
static void test_pointer(void) {
  RampChart rc(600);
  KivChart1D *h = rc.h;
  KivCanvas *c = rc.c;
  Exposes ex(h);

  motion(h, c->px0 + 0.9, c->py0 + 0.9);
  g_assert_cmpfloat(h->evt->x, ==, 0.0);
  g_assert_cmpfloat(h->evt->y, ==, 0.0);
  motion(h, c->px0 + c->wx, c->py1);
  g_assert_cmpfloat_with_epsilon(h->evt->x, 10.0, 1e-9);
  g_assert_cmpfloat_with_epsilon(h->evt->y, 20.0, 1e-9);
  drain();
  int before = ex.n;
  g_assert_cmpint(before, >=, 1);
  motion(h, c->px0 + 10, c->py0 - 10, GDK_CONTROL_MASK);
  drain();
  g_assert_cmpfloat_with_epsilon(h->evt->x, 10.0, 1e-9);
  g_assert_cmpint(ex.n, ==, before);

  motion(h, c->px0 + 100, c->py0 - 50);
  assert_readout(h);
  double ax = h->evt->x, ay = h->evt->y;
  press(h, 1, c->px0 + 7, c->py0 - 7);
  g_assert_cmpuint(h->evt->button, ==, 1);
  motion(h, c->px0 + 250, c->py0 - 120);
  g_assert_cmpfloat(h->evt->x0, ==, ax);
  g_assert_cmpfloat(h->evt->y0, ==, ay);
  assert_readout(h);
  release(h, 1, c->px0 + 250, c->py0 - 120);
  g_assert_cmpuint(h->evt->button, ==, 2);
  g_assert_cmpuint(h->evt->key, ==, 0);
  assert_readout(h);
  g_assert_cmpfloat(h->xmax, ==, 10.0);
  g_assert_cmpfloat(h->vmax, ==, 20.0);

  /* DY 0: the ratio as "%.3g" prints a division by zero. */
  press(h, 1, 0, 0);
  motion(h, c->px0 + 300, c->py0 - 120);
  assert_readout(h);
  release(h, 1, 0, 0);
}

static void test_zoom(void) {
  RampChart rc;
  KivChart1D *h = rc.h;
  KivCanvas *c = rc.c;
  Exposes ex(h);
  const guint both = GDK_CONTROL_MASK | GDK_SHIFT_MASK;
  double ax = rc.x_at(c->px0 + 200.7), bx = rc.x_at(c->px0 + 60.5);
  double ay = rc.y_at(c->py0 - 30.2), by = rc.y_at(c->py0 - 110.9);

  /* Control, right to left: X low to high; moves with Control held do
   * not shift the anchor. */
  motion(h, c->px0 + 200.7, c->py0 - 30.2);
  press(h, 1, 0, 0, GDK_CONTROL_MASK);
  motion(h, c->px0 + 60.5, c->py0 - 110.9, GDK_CONTROL_MASK);
  release(h, 1, c->px0 + 60.5, c->py0 - 110.9, GDK_CONTROL_MASK);
  g_assert_cmpfloat(h->xmin, ==, bx);
  g_assert_cmpfloat(h->xmax, ==, ax);
  g_assert_cmpfloat(h->vmax, ==, 20.0);
  drain();
  g_assert_cmpint(ex.n, >=, 1);
  g_assert_cmpfloat(c->xmin, ==, bx);

  /* Shift: Y through "vmin" and "vmax". */
  rc.fix_y();
  double xmax = h->xmax;
  ay = rc.y_at(c->py0 - 30.2);
  by = rc.y_at(c->py0 - 110.9);
  motion(h, c->px0 + 200.7, c->py0 - 30.2);
  press(h, 1, 0, 0, GDK_SHIFT_MASK);
  release(h, 1, c->px0 + 60.5, c->py0 - 110.9, GDK_SHIFT_MASK);
  g_assert_cmpfloat(h->vmin, ==, ay);
  g_assert_cmpfloat(h->vmax, ==, by);
  g_assert_true(c->fixed);
  g_assert_cmpfloat(h->xmax, ==, xmax);

  /* The middle button: the function's X range, an automatic Y range. */
  int before = ex.n;
  press(h, 2, 20, 20);
  release(h, 2, 20, 20);
  g_assert_cmpfloat(h->xmin, ==, 0.0);
  g_assert_cmpfloat(h->xmax, ==, 10.0);
  g_assert_cmpfloat(h->vmin, ==, 0.0);
  g_assert_cmpfloat(h->vmax, ==, 0.0);
  g_assert_false(c->fixed);
  drain();
  g_assert_cmpint(ex.n, >, before);

  /* Both, and a release of another button zooms nothing. */
  rc.fix_y();
  ax = rc.x_at(c->px0 + 30), bx = rc.x_at(c->px0 + 300);
  ay = rc.y_at(c->py0 - 10), by = rc.y_at(c->py0 - 150);
  motion(h, c->px0 + 30, c->py0 - 10);
  press(h, 1, 0, 0, both);
  release(h, 3, c->px0 + 300, c->py0 - 150, both);
  g_assert_cmpfloat(h->xmax, ==, 10.0);
  release(h, 1, c->px0 + 300, c->py0 - 150, both);
  g_assert_cmpfloat(h->xmin, ==, ax);
  g_assert_cmpfloat(h->xmax, ==, bx);
  g_assert_cmpfloat(h->vmin, ==, ay);
  g_assert_cmpfloat(h->vmax, ==, by);

  /* A click without movement: with Control it would be an empty X range,
   * and the chart keeps the one it shows; with Shift it asks for the
   * automatic Y range again. */
  rc.fix_y();
  motion(h, c->px0 + 120, c->py0 - 40);
  press(h, 1, 0, 0, both);
  release(h, 1, c->px0 + 120, c->py0 - 40, both);
  g_assert_cmpfloat(h->xmin, ==, ax);
  g_assert_cmpfloat(h->xmax, ==, bx);
  g_assert_cmpfloat(h->vmin, ==, h->vmax);
  redraw(h);
  g_assert_cmpfloat(c->xmin, ==, ax);
  g_assert_false(c->fixed);
  g_assert_cmpfloat(c->ymax, >, 5.0);
}

/* On logarithmic axes the pointer maps to decimal logarithms, which the
 * read-out shows; a zoom stores the values themselves, as all ranges are
 * in data units. */
static void test_zoom_log(void) {
  KivHistogram *hist = ramp_histogram(999, 1.0, 1000.0);
  Shown s(KIV_FUNCTION(hist), 400, 250);
  KivChart1D *h = s.chart;
  KivCanvas *c = h->cnvs;
  kiv_chart1d_logx(h, TRUE);
  kiv_chart1d_logy(h, TRUE);
  g_object_set(h, "vmin", 1.0, "vmax", 1000.0, NULL);
  redraw(h);
  g_assert_cmpfloat(c->xstp, ==, c->wx / 4.0);

  int x1 = c->px0 + c->wx / 4, x2 = c->px0 + c->wx / 2;
  int y1 = c->py0 - c->wy / 4, y2 = c->py0 - c->wy / 2;
  double lx2, ly2;
  canvas_transform_inv(c, x2, y2, &lx2, &ly2);
  motion(h, x1, y1);
  g_assert_cmpfloat_with_epsilon(h->evt->x, 1.0, 0.02);
  g_assert_cmpfloat_with_epsilon(h->evt->y, 1.0, 0.02);
  double lx1 = h->evt->x, ly1 = h->evt->y;
  press(h, 1, 0, 0, GDK_CONTROL_MASK | GDK_SHIFT_MASK);
  release(h, 1, x2, y2, GDK_CONTROL_MASK | GDK_SHIFT_MASK);
  g_assert_cmpfloat(h->xmin, ==, pow(10.0, lx1));
  g_assert_cmpfloat(h->xmax, ==, pow(10.0, lx2));
  g_assert_cmpfloat(h->vmin, ==, pow(10.0, ly1));
  g_assert_cmpfloat(h->vmax, ==, pow(10.0, ly2));
  g_assert_cmpfloat_with_epsilon(h->xmax, 100.0, 5.0);
  redraw(h);
  g_assert_cmpfloat(c->xmin, ==, h->xmin);
  g_assert_cmpfloat_with_epsilon(c->lxmin, 1.0, 0.02);
  g_object_unref(hist);
}

/* Every key that reaches the chart is echoed and goes no further. */
static void test_keys(void) {
  in_subprocess(
      [] {
        RampChart rc;
        GtkWidget *w = GTK_WIDGET(rc.h);
        gtk_widget_set_can_focus(w, TRUE);
        gtk_widget_grab_focus(w);
        int later = 0;
        g_signal_connect(w, "key-press-event", G_CALLBACK(+[](GtkWidget *, GdkEvent *, int *n) {
                           (*n)++;
                           return FALSE;
                         }),
                         &later);
        send_key(rc.shown.window, GDK_KEY_a);
        send_key(rc.shown.window, GDK_KEY_Escape);
        send_key(rc.shown.window, GDK_KEY_Tab, GDK_CONTROL_MASK);
        g_assert_cmpint(later, ==, 0);
        g_assert_true(gtk_widget_is_focus(w));
      },
      "Key 97 61\nKey 65307 ff1b\nKey 65289 ff09\n", NULL);
}

/* Following is off, on, or on and waiting for a main function. */
static void test_sync(void) {
  KivHistogram *hist = ramp_histogram(10, 0.0, 10.0);
  KivFunction *f = KIV_FUNCTION(hist);
  KivFunction *g = kiv_function_new(10, 0.0, 1.0, NULL);
  KivChart1D *h = KIV_CHART1D(g_object_ref_sink(kiv_chart1d_new(f)));
  g_assert_cmpint(h->sync_id, ==, -1);

  kiv_chart1d_sync_range(h, TRUE);
  int id = h->sync_id;
  kiv_chart1d_sync_range(h, TRUE);
  g_assert_cmpint(h->sync_id, ==, id);
  g_assert_cmpuint(handlers_with_data(f, h), ==, 1);
  kiv_histogram_rebin(hist, 20, -1.0, 1.0);
  g_assert_cmpfloat(h->xmin, ==, -1.0);
  g_assert_cmpfloat(h->xmax, ==, 1.0);

  kiv_chart1d_sync_range(h, FALSE);
  kiv_chart1d_sync_range(h, FALSE);
  g_assert_cmpint(h->sync_id, ==, -1);
  g_assert_cmpuint(handlers_with_data(f, h), ==, 0);
  g_object_set(f, "xmin", -4.0, NULL);
  g_assert_cmpfloat(h->xmin, ==, -1.0);

  /* Waiting after the curves are removed: the next function is followed,
   * unless following is turned off meanwhile. */
  kiv_chart1d_sync_range(h, TRUE);
  kiv_chart1d_remove_curves(h);
  g_assert_cmpint(h->sync_id, >=, 0);
  g_assert_cmpuint(handlers_with_data(f, h), ==, 0);
  kiv_chart1d_add_curve(h, g);
  g_object_set(g, "xmax", 3.0, NULL);
  g_assert_cmpfloat(h->xmax, ==, 3.0);
  kiv_chart1d_remove_curves(h);
  kiv_chart1d_sync_range(h, FALSE);
  kiv_chart1d_add_curve(h, f);
  g_assert_cmpuint(handlers_with_data(f, h), ==, 0);

  /* Asked for without a function: GLib refuses the connection, the
   * request stands. */
  kiv_chart1d_remove_curves(h);
  g_test_expect_message("GLib-GObject", G_LOG_LEVEL_WARNING, "invalid (NULL) pointer instance");
  g_test_expect_message("GLib-GObject", G_LOG_LEVEL_CRITICAL, "*G_TYPE_CHECK_INSTANCE*");
  kiv_chart1d_sync_range(h, TRUE);
  g_test_assert_expected_messages();
  kiv_chart1d_add_curve(h, g);
  g_object_set(g, "xmin", -3.0, NULL);
  g_assert_cmpfloat(h->xmin, ==, -3.0);

  kiv_expect_critical("kiv_chart1d_sync_range: assertion 'KIV_IS_CHART1D(h)' failed");
  kiv_chart1d_sync_range(reinterpret_cast<KivChart1D *>(g), TRUE);
  g_test_assert_expected_messages();
  g_object_unref(h);
  g_assert_cmpuint(handlers_with_data(g, h), ==, 0);
  g_object_unref(g);
  g_object_unref(hist);
}

namespace {

gpointer hold_for_300ms(gpointer mutex) {
  g_mutex_lock(static_cast<GMutex *>(mutex));
  g_usleep(300000);
  g_mutex_unlock(static_cast<GMutex *>(mutex));
  return NULL;
}

} // namespace

static void test_monitor(void) {
  RampChart rc;
  KivChart1D *h = rc.h;
  Exposes ex(h);
  kiv_chart1d_monitor_stop(h);
  g_assert_cmpint(h->tmout, ==, -1);

  /* Started twice: one timer, of the second period. */
  kiv_chart1d_monitor_start(h, 100000);
  guint first = static_cast<guint>(h->tmout);
  kiv_chart1d_monitor_start(h, 20);
  g_assert_null(g_main_context_find_source_by_id(NULL, first));
  g_assert_nonnull(g_main_context_find_source_by_id(NULL, static_cast<guint>(h->tmout)));
  ex.n = 0;
  spin(300);
  g_assert_cmpint(ex.n, >=, 4);

  /* Ticks while the canvas is held are skipped: a redraw queued then
   * would wait in the expose handler until the canvas is free. */
  kiv_chart1d_monitor_stop(h);
  drain();
  GThread *t = g_thread_new("holder", hold_for_300ms, &h->cnvs->mutex);
  while (g_mutex_trylock(&h->cnvs->mutex))
    g_mutex_unlock(&h->cnvs->mutex);
  kiv_chart1d_monitor_start(h, 10);
  ex.n = 0;
  gint64 t0 = g_get_monotonic_time();
  spin(200);
  g_assert_cmpint(ex.n, ==, 0);
  g_assert_cmpint(g_get_monotonic_time() - t0, <, 290000);
  g_thread_join(t);
  spin(100);
  g_assert_cmpint(ex.n, >=, 1);

  kiv_chart1d_monitor_stop(h);
  g_assert_cmpint(h->tmout, ==, -1);
  drain();
  ex.n = 0;
  spin(100);
  g_assert_cmpint(ex.n, ==, 0);

  /* A chart that is not on screen keeps its timer and does nothing. */
  KivChart1D *off = KIV_CHART1D(g_object_ref_sink(kiv_chart1d_new(KIV_FUNCTION(rc.hist))));
  kiv_chart1d_monitor_start(off, 5);
  guint id = static_cast<guint>(off->tmout);
  spin(30);
  g_assert_nonnull(g_main_context_find_source_by_id(NULL, id));
  g_assert_null(off->cnvs->surface);
  g_object_unref(off);
  g_assert_null(g_main_context_find_source_by_id(NULL, id));
}

namespace {

struct Producer {
  KivHistogram *hist;
  std::atomic<int> stop{0};
  int filled = 0;
  gint64 longest = 0;
};

gpointer produce(gpointer data) {
  Producer *p = static_cast<Producer *>(data);
  GRand *r = g_rand_new_with_seed(11);
  while (!p->stop) {
    double x = g_rand_double_range(r, 0.0, 10.0);
    gint64 t0 = g_get_monotonic_time();
    kiv_histogram_fill(p->hist, x * x / 10.0, 1.0);
    p->longest = std::max(p->longest, g_get_monotonic_time() - t0);
    if (++p->filled % 64 == 0)
      g_usleep(100);
  }
  g_rand_free(r);
  return NULL;
}

/* What the last expose copied onto the window.  The window's own pixels
 * may be covered by other programs' windows and cannot be read back. */
std::string shown_image(KivChart1D *h) {
  cairo_surface_t *s = h->cnvs->surface;
  return std::string(reinterpret_cast<const char *>(cairo_image_surface_get_data(s)),
                     cairo_image_surface_get_stride(s) * cairo_image_surface_get_height(s));
}

} // namespace

/* A producer fills from its own thread while the timer refreshes the chart:
 * the picture on screen changes, and the producer waits at most for the
 * copy of one redraw. */
static void test_monitor_producer(void) {
  KivHistogram *hist = kiv_histogram_new(50, 0.0, 10.0, NULL);
  Shown s(KIV_FUNCTION(hist), 300, 200);
  KivChart1D *h = s.chart;
  kiv_chart1d_show_stats(h, TRUE);
  Exposes ex(h);
  drain();
  std::string empty = shown_image(h);

  Producer p;
  p.hist = hist;
  kiv_chart1d_monitor_start(h, 25);
  GThread *t = g_thread_new("producer", produce, &p);
  spin(200);
  int early_exposes = ex.n;
  std::string early = shown_image(h);
  spin(200);
  p.stop = 1;
  g_thread_join(t);
  spin(60);
  kiv_chart1d_monitor_stop(h);

  g_assert_cmpint(early_exposes, >=, 3);
  g_assert_cmpint(ex.n, >=, early_exposes + 3);
  g_assert_true(empty != early);
  g_assert_true(early != shown_image(h));
  g_assert_cmpfloat(kiv_histogram_entries(hist), ==, p.filled);
  /* Scheduling adds delays of its own to a fill; a producer held for a
   * whole redraw and more would be well beyond them. */
  if (p.longest > ex.longest + 50000)
    g_error("a fill took %d us, the longest redraw %d us", int(p.longest), int(ex.longest));
  g_object_unref(hist);
}

/* A chart destroyed with its timer running, its range followed and its
 * menu open leaves nothing behind that could call into it. */
static void test_destroy_live(void) {
  KivHistogram *hist = ramp_histogram(10, 0.0, 10.0);
  Shown *s = new Shown(KIV_FUNCTION(hist), 300, 200);
  KivChart1D *h = s->chart;
  kiv_chart1d_monitor_start(h, 5);
  kiv_chart1d_sync_range(h, TRUE);
  guint id = static_cast<guint>(h->tmout);
  gpointer chart_alive = h, menu_alive = open_menu(h);
  g_object_add_weak_pointer(G_OBJECT(h), &chart_alive);
  g_object_add_weak_pointer(G_OBJECT(menu_alive), &menu_alive);
  spin(30);

  delete s;
  g_assert_null(chart_alive);
  g_assert_null(menu_alive);
  g_assert_null(g_main_context_find_source_by_id(NULL, id));
  g_assert_false(g_signal_has_handler_pending(hist, g_signal_lookup("range-changed",
                                                                    KIV_TYPE_FUNCTION),
                                              0, TRUE));
  kiv_histogram_rebin(hist, 5, 0.0, 1.0);
  spin(30);
  g_object_unref(hist);
}

int main(int argc, char **argv) {
  g_test_init(&argc, &argv, NULL);
  if (!gtk_init_check(&argc, &argv)) {
    g_test_add_func("/chart1d-events/widgets", [] { g_test_skip("no X display"); });
    return g_test_run();
  }
  keep_to_corner(GDK_GRAVITY_SOUTH_EAST);
  g_test_add_func("/chart1d-events/pointer", test_pointer);
  g_test_add_func("/chart1d-events/zoom", test_zoom);
  g_test_add_func("/chart1d-events/zoom-log", test_zoom_log);
  g_test_add_func("/chart1d-events/keys", test_keys);
  g_test_add_func("/chart1d-events/sync", test_sync);
  g_test_add_func("/chart1d-events/monitor", test_monitor);
  g_test_add_func("/chart1d-events/monitor-producer", test_monitor_producer);
  g_test_add_func("/chart1d-events/destroy-live", test_destroy_live);
  return g_test_run();
}
