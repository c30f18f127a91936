/* Tests of KivChart2D: its class, colour schemes and menu entries, the
 * frame step's order of the cells by content (worked by hand, ties
 * included), its pictures against references and a few worked pixels, and
 * the selection of a colour range with the pointer. */
#include "kiv-test.h"
#include "kivchart2d-private.h"

#include <cfloat>
#include <cstring>
#include <numeric>
#include <string>
#include <vector>

namespace {

using namespace kivtest;

/* An nx x ny histogram over [0, nx) x [0, ny) holding the cells given in
 * cell order, row by row from the bottom; the rest hold 0. */
KivHistogram2D *map_of(int nx, int ny, std::vector<double> cells, double *lent = NULL) {
  KivHistogram2D *h = kiv_histogram2d_new(nx, 0.0, nx, ny, 0.0, ny, lent);
  std::copy(cells.begin(), cells.end(), h->y);
  return h;
}

/* A chart of the map, shown and drawn once at 240 x 180. */
struct Chart : Shown {
  KivChart2D *h;
  KivCanvas *c;
  explicit Chart(KivHistogram2D *map)
      : Shown(kiv_chart2d_new(map), 240, 180), h(KIV_CHART2D(chart)), c(chart->cnvs) {}
};

Zrange *range_of(KivChart2D *h, const char *key) {
  return static_cast<Zrange *>(g_object_get_data(G_OBJECT(h), key));
}

void set_range(KivChart2D *h, const char *key, double fmin, double fmax) {
  g_free(g_object_steal_data(G_OBJECT(h), key));
  Zrange z{fmin, fmax};
  g_object_set_data(G_OBJECT(h), key, g_memdup2(&z, sizeof z));
}

/* A picture drawn afresh, as its bytes. */
std::string picture(KivChart2D *h) {
  GdkPixbuf *pb = read_pixmap(h);
  std::string s(reinterpret_cast<const char *>(gdk_pixbuf_get_pixels(pb)),
                gdk_pixbuf_get_rowstride(pb) * gdk_pixbuf_get_height(pb));
  g_object_unref(pb);
  return s;
}

/* Whether the widget waits for a redraw; asking forgets it. */
bool redraw_queued(gpointer w) {
  GdkRegion *r = gdk_window_get_update_area(gtk_widget_get_window(GTK_WIDGET(w)));
  if (r != NULL)
    gdk_region_destroy(r);
  return r != NULL;
}

void test_class() {
  GEnumClass *e = G_ENUM_CLASS(g_type_class_ref(KIV_TYPE_CHART_COLOR_SCHEME));
  std::string nicks;
  for (guint i = 0; i < e->n_values; i++)
    nicks += std::to_string(e->values[i].value) + e->values[i].value_nick + " ";
  g_assert_cmpstr(nicks.c_str(), ==, "0bw 1wb 2red 3green 4blue 5thermal 6last ");
  g_type_class_unref(e);

  kiv_expect_critical("kiv_chart2d_new: assertion 'ff!=0' failed");
  g_assert_null(kiv_chart2d_new(NULL));
  kiv_expect_critical("kiv_chart2d_set_squared: assertion 'h2d != NULL' failed");
  kiv_chart2d_set_squared(NULL, TRUE);
  KivHistogram2D *hist = kiv_histogram2d_new(2, -1.0, 3.0, 2, -2.0, 8.0, NULL);
  GtkWidget *one = g_object_ref_sink(kiv_chart1d_new(KIV_FUNCTION(hist)));
  kiv_expect_critical("kiv_chart2d_set_squared: assertion 'KIV_IS_CHART2D(h2d)' failed");
  kiv_chart2d_set_squared(reinterpret_cast<KivChart2D *>(one), TRUE);
  g_test_assert_expected_messages();
  g_object_unref(one);
  /* Without the constructor no scheme is applied yet. */
  KivChart2D *bare = KIV_CHART2D(g_object_ref_sink(g_object_new(KIV_TYPE_CHART2D, NULL)));
  kiv_assert_each({bare->ctype, KIV_COLOR_2D_BW}, {bare->ncol, 0});
  g_object_unref(bare);

  /* Each scheme's ramp, worked from its trapezoids at float steps. */
  KivChart2D *h = KIV_CHART2D(g_object_ref_sink(kiv_chart2d_new(hist)));
  kiv_assert_each({h->ctype, KIV_COLOR_2D_THERMAL}, {h->ncol, 100}, {h->squared, FALSE});
  const struct {
    KivChartColorScheme t;
    int ncol, i, r, g, b;
  } rows[] = {
      {KIV_COLOR_2D_BW, 25, 1, 62913, 62913, 62913}, {KIV_COLOR_2D_BW, 25, 24, 2621, 2621, 2621},
      {KIV_COLOR_2D_WB, 25, 12, 31456, 31456, 31456}, {KIV_COLOR_2D_RED, 25, 12, 34078, 0, 0},
      {KIV_COLOR_2D_GREEN, 25, 12, 0, 34078, 0},      {KIV_COLOR_2D_BLUE, 25, 0, 0, 0, 65535},
      {KIV_COLOR_2D_THERMAL, 100, 0, 0, 0, 65535},    {KIV_COLOR_2D_THERMAL, 100, 25, 0, 65534, 65535},
      {KIV_COLOR_2D_THERMAL, 100, 26, 0, 65535, 62913}, {KIV_COLOR_2D_THERMAL, 100, 50, 0, 65535, 0},
      {KIV_COLOR_2D_THERMAL, 100, 75, 65534, 65535, 0}, {KIV_COLOR_2D_THERMAL, 100, 99, 65535, 2621, 0},
  };
  for (const auto &k : rows) {
    g_object_set(h, "ctype", k.t, NULL);
    const GdkColor &col = h->colorlst[k.i];
    kiv_assert_each({h->ncol, k.ncol}, {col.red, k.r}, {col.green, k.g}, {col.blue, k.b});
  }
  /* The end of the enumeration has no ramp: refused, the list kept. */
  GdkColor *list = h->colorlst;
  kiv_expect_critical("chart2d_build_colors: assertion 't < KIV_COLOR_2D_LAST' failed");
  g_object_set(h, "ctype", KIV_COLOR_2D_LAST, NULL);
  g_test_expect_message("GLib-GObject", G_LOG_LEVEL_WARNING, "*ctype*");
  g_object_set(h, "ctype", 7, NULL);
  g_test_assert_expected_messages();
  kiv_assert_each({h->ctype, KIV_COLOR_2D_THERMAL}, {h->colorlst == list, 1});

  /* "vmin" and "vmax" are only stored: a redraw puts the y range there. */
  int ctype = 0;
  gboolean squared = FALSE;
  double vmin = 0.0, vmax = 0.0;
  g_object_set(h, "squared", TRUE, "vmin", 5.0, "vmax", 6.0, NULL);
  g_object_get(h, "ctype", &ctype, "squared", &squared, "vmin", &vmin, "vmax", &vmax, NULL);
  kiv_assert_each({ctype, KIV_COLOR_2D_THERMAL}, {squared, TRUE}, {vmin, 5.0}, {vmax, 6.0});
  g_object_unref(read_pixmap(h));
  g_object_get(h, "vmin", &vmin, "vmax", &vmax, NULL);
  kiv_assert_each({vmin, -2.0}, {vmax, 8.0}, {KIV_CHART1D(h)->xmin, -1.0},
                  {KIV_CHART1D(h)->xmax, 3.0});

  /* While a redraw in another thread holds the canvas, the scheme and the
   * flag are dropped; "vmin" does not wait. */
  struct Hold {
    GMutex *m;
    gint state;
  } hold{&KIV_CHART1D(h)->cnvs->mutex, 0};
  GThread *t = g_thread_new("redraw", [](gpointer p) -> gpointer {
    Hold *hd = static_cast<Hold *>(p);
    g_mutex_lock(hd->m);
    g_atomic_int_set(&hd->state, 1);
    while (g_atomic_int_get(&hd->state) == 1)
      g_usleep(1000);
    g_mutex_unlock(hd->m);
    return NULL;
  }, &hold);
  while (g_atomic_int_get(&hold.state) == 0)
    g_usleep(1000);
  g_object_set(h, "ctype", KIV_COLOR_2D_RED, "squared", FALSE, "vmin", -3.0, NULL);
  g_atomic_int_set(&hold.state, 2);
  g_thread_join(t);
  kiv_assert_each({h->ncol, 100}, {h->squared, TRUE}, {KIV_CHART1D(h)->vmin, -3.0});

  /* The colours live as long as the window; without them no map. */
  g_object_set(h, "ctype", KIV_COLOR_2D_GREEN, NULL);
  GtkWidget *window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
  gtk_container_add(GTK_CONTAINER(window), GTK_WIDGET(h));
  gtk_widget_realize(GTK_WIDGET(h));
  gtk_widget_unrealize(GTK_WIDGET(h));
  kiv_assert_each({h->ncol, 0}, {h->colorlst == NULL, 1});
  g_object_unref(read_pixmap(h));
  gtk_widget_realize(GTK_WIDGET(h));
  kiv_assert_each({h->ncol, 25}, {h->colorlst[0].green, 65535});
  gtk_widget_destroy(window);
  g_object_unref(h);
  g_object_unref(hist);
}

/* The frame step lists the nonzero cells in dindex and their entries in
 * order of content in dkey.  The ties come in the order the quicksort
 * leaves them, worked by hand: the median of entries 0, 4 and 9 (4) splits
 * off the entries holding 4, then insertion orders the rest as it finds
 * them, 9 3 1 6 7 2 5.  NaN goes last in cell order, the infinities order
 * as numbers and -0 is no content. */
void test_order() {
  double cells[12];
  KivHistogram2D *hist = kiv_histogram2d_new(4, 0.0, 4.0, 3, 0.0, 3.0, cells);
  KivChart2D *h = KIV_CHART2D(g_object_ref_sink(kiv_chart2d_new(hist)));
  KivCanvas *c = KIV_CHART1D(h)->cnvs;
  const double eps = 2.220446049250313e-16;
  const struct {
    std::vector<double> cells;
    std::vector<int> dindex, dkey;
    double zmin, zmax;
    int bsiz;
  } cases[] = {
      {{NAN, INFINITY, -INFINITY, 3, 1, 2, NAN}, {0, 1, 2, 3, 4, 5, 6}, {2, 4, 5, 3, 1, 0, 6},
       1, 3, 14},
      {{4, -1, 0, 2, -1, 4, 2, 0, -1, 2, 4, -1}, {0, 1, 3, 4, 5, 6, 8, 9, 10, 11},
       {9, 3, 1, 6, 7, 2, 5, 4, 8, 0}, -1, 4, 20},
      {{1, 1 + eps, -2.5, 0, 1e300, -INFINITY, 5e-324, -0.0, -1e-300, 3, INFINITY, -7},
       {0, 1, 2, 4, 5, 6, 8, 9, 10, 11}, {4, 9, 2, 6, 5, 0, 1, 7, 3, 8}, -7, 1e300, 20},
      {{}, {}, {}, 0, 0, 20},
  };
  for (const auto &k : cases) {
    std::fill(std::copy(k.cells.begin(), k.cells.end(), cells), cells + 12, 0.0);
    g_object_unref(read_pixmap(h));
    g_assert_true(std::vector<int>(h->dindex, h->dindex + h->nindx) == k.dindex);
    g_assert_true(std::vector<int>(h->dkey, h->dkey + h->nindx) == k.dkey);
    kiv_assert_each({c->zmin, k.zmin}, {c->zmax, k.zmax}, {h->bsiz, k.bsiz}, {h->ntot, 12});
  }
  /* A part of a range too wide for a double is still one. */
  cells[0] = -1e308;
  cells[1] = 1e308;
  set_range(h, "zrange", 0.5, 1.0);
  g_object_unref(read_pixmap(h));
  kiv_assert_each({c->zmin, 0.0}, {c->zmax, 1e308});
  g_object_unref(h);
  g_object_unref(hist);

  /* A stack too small for the pending ranges: the message, and no sort. */
  static std::string printed;
  GPrintFunc old = g_set_printerr_handler([](const gchar *s) { printed += s; });
  std::vector<int> entries(100);
  std::iota(entries.begin(), entries.end(), 0);
  int stack[2];
  g_assert_false(kiv::chart2d_index_sort(100, entries.data(), [](int e) { return -e; }, stack, 2));
  g_set_printerr_handler(old);
  g_assert_cmpstr(printed.c_str(), ==, "gtkkiv2d:sort NSTACK too small");
}

/* Three pictures that hold most of what the chart paints.  The first, in
 * the thermal scheme with both axes, has cells of 6 x 4 values ix + 2 iy - 2
 * (-2 to 9; NaN at (5, 0), +-inf at (0, 3) and (1, 3)) with the range 0.1
 * to 0.9 selected, -0.9 to 7.9: the scale's labels span that, its mark
 * beside it, and only the cells from 1 to 7 are painted, 1 in colour 21
 * (blue), 4 in 55 (green), 7 in 88 (orange).  The second is squared, black
 * and white, with 200 x 150 cells smaller than a pixel and a drag beyond
 * the top of the scale marked from 0.3 up.  The third is red, 400 x 3
 * cells narrower than a pixel and taller than one: bright (1) to dark
 * (400) from left to right in the bottom row, dark to bright in the
 * middle one, and dark all along the top one, whose cells alternate 1 and
 * 400 and the 400s are painted last. */
void test_pictures() {
  std::vector<double> v(24);
  for (int b = 0; b < 24; b++)
    v[b] = b % 6 + 2 * (b / 6) - 2;
  v[5] = NAN;
  v[18] = INFINITY;
  v[19] = -INFINITY;
  KivHistogram2D *hist = map_of(6, 4, v);
  Chart thermal(hist);
  set_range(thermal.h, "__zrange", 0.6, 0.7);
  set_range(thermal.h, "zrange", 0.1, 0.9);
  GdkPixbuf *pb = read_pixmap(thermal.h);
  assert_reference(pb, "chart2d-thermal", 2, 0);
  g_object_unref(pb);
  g_object_unref(hist);

  hist = map_of(200, 150, {});
  for (int b = 0; b < 200 * 150; b++)
    hist->y[b] = (b % 200 + b / 200) / 4 - 10;
  Chart bw(hist);
  g_object_set(bw.h, "ctype", KIV_COLOR_2D_BW, "squared", TRUE, NULL);
  set_range(bw.h, "__zrange", 0.3, 1.4);
  pb = read_pixmap(bw.h);
  assert_reference(pb, "chart2d-squared", 2, 0);
  g_object_unref(pb);
  g_object_unref(hist);

  hist = map_of(400, 3, {});
  for (int ix = 0; ix < 400; ix++) {
    hist->y[ix] = ix + 1;
    hist->y[400 + ix] = 400 - ix;
    hist->y[800 + ix] = ix % 2 != 0 ? 400 : 1;
  }
  Chart red(hist);
  g_object_set(red.h, "ctype", KIV_COLOR_2D_RED, NULL);
  pb = read_pixmap(red.h);
  assert_reference(pb, "chart2d-red", 2, 0);
  g_object_unref(pb);
  g_object_unref(hist);
}

/* Worked pixels: on the range 1 to 5, the thermal scheme paints 2 in
 * colour trunc(99 / 4) = 24, (0, 62913, 65535), and 5 in colour 99,
 * (65535, 2621, 0).  A map of equal contents, or none, paints no cell, and
 * the pixmap step leaves the caller's line width. */
void test_cells() {
  KivHistogram2D *hist = map_of(2, 2, {1, 2, 5, 0});
  Chart s(hist);
  GdkPixbuf *pb = read_pixmap(s.h);
  assert_rgb(pb, s.c->px0 + 3 * s.c->wx / 4, s.c->py0 - s.c->wy / 4, {0, 245, 255});
  assert_rgb(pb, s.c->px0 + s.c->wx / 4, s.c->py0 - 3 * s.c->wy / 4, {255, 10, 0});
  g_object_unref(pb);
  Rgb background = rgb(s.chart->colors[KIV_COLOR_BACKGROUND]);
  for (double v : {3.0, 0.0}) {
    std::fill(hist->y, hist->y + 4, v);
    pb = read_pixmap(s.h);
    g_assert_cmpint(count_not(pb, s.c->px0 + 9, s.c->py1 + 9, s.c->px1 - 9, s.c->py0 - 9,
                              background), ==, 0);
    g_object_unref(pb);
  }
  cairo_surface_t *surface = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, 240, 180);
  cairo_t *cr = cairo_create(surface);
  cairo_set_line_width(cr, 3.0);
  s.c->cairo = cr;
  KIV_CHART1D_GET_CLASS(s.chart)->draw_pixmap(s.chart);
  s.c->cairo = NULL;
  g_assert_cmpfloat(cairo_get_line_width(cr), ==, 3.0);
  cairo_destroy(cr);
  cairo_surface_destroy(surface);
  g_object_unref(hist);

  /* A redraw of unchanged cells puts back the pixels of the last one: they
   * are those a chart painting afresh gives, for cells smaller and larger
   * than a pixel, and a write that no fill announced is painted. */
  for (int n : {300, 12}) {
    hist = map_of(n, n, {});
    for (int b = 0; b < n * n; b++)
      hist->y[b] = b * 7919 % 1009;
    Chart a(hist), fresh(hist);
    std::string first = picture(a.h), again = picture(a.h);
    g_assert_true(again == first && picture(fresh.h) == again);
    hist->y[n * n / 2 + n / 2] = 1008;
    std::string written = picture(a.h);
    g_assert_true(written != first && picture(fresh.h) == written);
    g_object_unref(hist);
  }
}

/* A press on the colour scale (or up to 15 pixels above or below it)
 * starts a drag, the release on it commits the range, low to high and cut
 * to the scale; a release elsewhere drops it, the middle button clears
 * it. */
void test_selection() {
  KivHistogram2D *hist = map_of(4, 2, {1, 0, 2, 0, 0, 5, 0, 0});
  Chart s(hist);
  KivChart1D *h1 = s.chart;
  KivCanvas *c = s.c;
  auto f = [c](int y) { return (c->pz0 - y) / static_cast<double>(c->pz0 - c->pz1); };
  auto drag = [&s] { return range_of(s.h, "__zrange"); };
  auto range = [&s] { return range_of(s.h, "zrange"); };
  int x = c->cscale.x + c->cscale.width / 2, right = c->cscale.x + c->cscale.width;
  int ya = c->pz0 - (c->pz0 - c->pz1) / 4, yb = c->pz1 + 10;
  press(h1, 1, x, ya);
  kiv_assert_each({drag()->fmin, f(ya)}, {drag()->fmax, f(ya)}, {range() == NULL, 1});
  motion(h1, x, c->pz1 - 12, GDK_BUTTON1_MASK);
  g_assert_cmpfloat(drag()->fmax, ==, f(c->pz1 - 12));
  release(h1, 1, x, c->pz1 - 15);
  kiv_assert_each({drag() == NULL, 1}, {range()->fmin, f(ya)}, {range()->fmax, 1.0});
  g_object_unref(read_pixmap(s.h));
  kiv_assert_each({c->zmin, 1.0 + f(ya) * 4.0}, {c->zmax, 5.0});

  press(h1, 1, x, yb);
  release(h1, 1, x, ya);
  kiv_assert_each({range()->fmin, f(ya)}, {range()->fmax, f(yb)});
  Zrange *kept = range();
  press(h1, 1, x, c->pz1 - 15);
  kiv_assert_each({drag()->fmin, 1.0}, {drag()->fmax, f(c->pz1 - 15)});
  release(h1, 1, c->px0 + 10, ya);
  kiv_assert_each({drag() == NULL, 1}, {range() == kept, 1}, {kept->fmax, f(yb)});
  const int off[][2] = {{right + 1, ya}, {c->cscale.x - 1, ya}, {x, c->pz0 + 16}, {x, c->pz1 - 16}};
  for (const auto &p : off) {
    press(h1, 1, p[0], p[1]);
    g_assert_null(drag());
    release(h1, 1, p[0], p[1]);
  }
  press(h1, 1, right, c->pz0 + 15);
  g_assert_cmpfloat(drag()->fmin, ==, 0.0);
  release(h1, 1, c->cscale.x, c->pz0 + 15);
  kiv_assert_each({range()->fmin, 0.0}, {range()->fmax, 0.0});

  /* A second press before a release (a double click) starts afresh. */
  press(h1, 1, x, c->pz0 - 20);
  send_button(h1, GDK_2BUTTON_PRESS, 1, x, c->pz0 - 60);
  g_assert_cmpfloat(drag()->fmin, ==, f(c->pz0 - 60));
  release(h1, 1, x, c->pz0 - 20);
  kiv_assert_each({range()->fmin, f(c->pz0 - 20)}, {range()->fmax, f(c->pz0 - 60)});
  press(h1, 2, c->px0 + 10, ya);
  g_assert_null(range());
  release(h1, 2, c->px0 + 10, ya);
  g_object_unref(read_pixmap(s.h));
  kiv_assert_each({c->zmin, 1.0}, {c->zmax, 5.0});
  /* Records still set when the chart goes are freed with it. */
  set_range(s.h, "zrange", 0.1, 0.2);
  press(h1, 1, x, ya);
  g_object_unref(hist);
}

/* The chart's entries at the end of a menu: a separator, "Squared", a
 * separator and one item per scheme, checked as the chart is. */
std::vector<GtkWidget *> entries(KivChart2D *h, GtkWidget *menu) {
  static const char *const labels[] = {"",      "Squared", "",     "Black/White", "White/Black",
                                       "Red",   "Green",   "Blue", "Thermal"};
  KIV_CHART1D_GET_CLASS(h)->xtra_menu(KIV_CHART1D(h), menu);
  std::vector<GtkWidget *> items;
  find_all(menu, GTK_TYPE_MENU_ITEM, &items);
  g_assert_cmpuint(items.size(), ==, 9);
  for (int i = 0; i < 9; i++) {
    bool check = GTK_IS_CHECK_MENU_ITEM(items[i]);
    g_assert_cmpstr(item_label(items[i]).c_str(), ==, labels[i]);
    kiv_assert_each({gtk_widget_is_sensitive(items[i]), check}, {check, labels[i][0] != 0});
    if (check)
      g_assert_cmpint(gtk_check_menu_item_get_active(GTK_CHECK_MENU_ITEM(items[i])), ==,
                      i == 1 ? h->squared : i - 3 == static_cast<int>(h->ctype));
  }
  return items;
}

void test_menu() {
  KivHistogram2D *hist = map_of(4, 2, {1, 0, 2, 0, 0, 5, 0, 0});
  Chart s(hist);
  GtkWidget *menu = g_object_ref_sink(gtk_menu_new());
  std::vector<GtkWidget *> items = entries(s.h, menu);
  drain();
  gtk_menu_item_activate(GTK_MENU_ITEM(items[5]));
  kiv_assert_each({s.h->ctype, KIV_COLOR_2D_RED}, {s.h->ncol, 25}, {redraw_queued(s.h), 1});
  gtk_menu_item_activate(GTK_MENU_ITEM(items[1]));
  kiv_assert_each({s.h->squared, TRUE}, {redraw_queued(s.h), 1});
  g_object_set(s.h, "ctype", KIV_COLOR_2D_BLUE, NULL);
  g_assert_true(redraw_queued(s.h));
  gtk_widget_destroy(menu);
  g_object_unref(menu);
  menu = g_object_ref_sink(gtk_menu_new());
  items = entries(s.h, menu);
  gtk_menu_item_activate(GTK_MENU_ITEM(items[1]));
  g_assert_false(s.h->squared);

  kiv_expect_critical("chart2d_xtra_menu: assertion 'h != NULL' failed");
  KIV_CHART1D_GET_CLASS(s.h)->xtra_menu(NULL, menu);
  kiv_expect_critical("chart2d_xtra_menu: assertion 'menu != NULL' failed");
  KIV_CHART1D_GET_CLASS(s.h)->xtra_menu(s.chart, NULL);
  kiv_expect_critical("chart2d_xtra_menu: assertion 'GTK_IS_MENU(menu)' failed");
  KIV_CHART1D_GET_CLASS(s.h)->xtra_menu(s.chart, s.window);
  GtkWidget *one = g_object_ref_sink(kiv_chart1d_new(KIV_FUNCTION(hist)));
  kiv_expect_critical("chart2d_xtra_menu: assertion 'KIV_IS_CHART2D(h)' failed");
  KIV_CHART1D_GET_CLASS(s.h)->xtra_menu(KIV_CHART1D(one), menu);
  g_test_assert_expected_messages();
  g_object_unref(one);
  gtk_widget_destroy(menu);
  g_object_unref(menu);
  g_object_unref(hist);
}

/* A chart of a plain function draws it as the one-dimensional chart does;
 * one without a function draws no map. */
void test_other_functions() {
  KivFunction *f = kiv_function_new(20, 0.0, 10.0, [](double x) { return x; });
  Shown s(GTK_WIDGET(g_object_new(KIV_TYPE_CHART2D, "func", f, NULL)), 240, 180);
  g_object_unref(read_pixmap(s.chart));
  kiv_assert_each({s.chart->xpt[0].n > 0, 1}, {KIV_CHART2D(s.chart)->nindx, 0});
  g_object_unref(f);
  GtkWidget *empty = g_object_ref_sink(GTK_WIDGET(g_object_new(KIV_TYPE_CHART2D, NULL)));
  kiv_expect_critical("chart2d_draw_frame: assertion 'KIV_IS_FUNCTION(h->func)' failed");
  kiv_expect_critical("chart2d_draw_pixmap: assertion 'KIV_IS_FUNCTION(h->func)' failed");
  g_object_unref(read_pixmap(empty));
  g_test_assert_expected_messages();
  g_object_unref(empty);
}

/* Binnings and contents at the ends of the doubles, and limits that are
 * no number: refused, and the picture drawn whole, its vector form free of
 * coordinates that are none. */
void test_hostile() {
  const double ranges[][2] = {{-1e308, 1e308}, {0.0, 4.9406564584124654e-324}, {-DBL_MAX, DBL_MAX}};
  for (const auto &r : ranges) {
    KivHistogram2D *hist = kiv_histogram2d_new(8, r[0], r[1], 6, r[0], r[1], NULL);
    for (double v : {r[0], r[1], 0.0})
      kiv_histogram2d_fill(hist, v, v, 1e307);
    Chart s(hist);
    for (const char *p : {"vmin", "vmax"})
      for (double v : {NAN, INFINITY, -INFINITY}) {
        g_test_expect_message("GLib-GObject", G_LOG_LEVEL_WARNING, (std::string("*") + p + "*").c_str());
        g_object_set(s.h, p, v, NULL);
        g_test_assert_expected_messages();
      }
    for (double v : {1e308, -1e308, 4.9406564584124654e-324, DBL_MIN, -0.0})
      g_object_set(s.h, "vmin", v, "vmax", -v, "line_width", std::fabs(v), NULL);
    GdkPixbuf *pb = read_pixmap(s.h);
    for (int y = 0; y < 180; y++)
      for (int x = 0; x < 240; x++)
        g_assert_cmpint(pixel(pb, x, y).a, ==, 255);
    g_object_unref(pb);
    GString *svg = read_bytes(s.h, "svg");
    g_assert_true(strstr(svg->str, "nan") == NULL && strstr(svg->str, "inf") == NULL);
    g_string_free(svg, TRUE);
    g_object_unref(hist);
  }
}

} // namespace

int main(int argc, char **argv) {
  init(&argc, &argv);
  add_widget_test("/chart2d/class", test_class);
  add_widget_test("/chart2d/order", test_order);
  add_widget_test("/chart2d/pictures", test_pictures);
  add_widget_test("/chart2d/cells", test_cells);
  add_widget_test("/chart2d/selection", test_selection);
  add_widget_test("/chart2d/menu", test_menu);
  add_widget_test("/chart2d/other-functions", test_other_functions);
  add_widget_test("/chart2d/hostile", test_hostile);
  return g_test_run();
}
