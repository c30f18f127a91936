/* Tests of KivChart2D: its class, colour schemes and menu entries, the
 * frame step's order of the cells by content (worked by hand, ties
 * included), its pictures against references and a few worked pixels, and
 * the selection of a colour range with the pointer. */
#include "kiv-test.h"
#include "kivchart2d-private.h"

#include <cfloat>

namespace {

using namespace kivtest;

/* An nx x ny histogram over [0, nx) x [0, ny) holding the cells given in
 * cell order, row by row from the bottom; the rest hold 0. */
KivHistogram2D *map_of(int nx, int ny, std::vector<double> cells = {}) {
  KivHistogram2D *h = kiv_histogram2d_new(nx, 0.0, nx, ny, 0.0, ny, NULL);
  std::copy(cells.begin(), cells.end(), h->y);
  return h;
}

/* A chart of the map, shown and drawn once at 240 x 180. */
struct Chart : Shown {
  KivChart2D *h;
  explicit Chart(KivHistogram2D *map)
      : Shown(kiv_chart2d_new(map), 240, 180), h(KIV_CHART2D(chart)) {}
};

void set_range(KivChart2D *h, const char *key, double fmin, double fmax) {
  Zrange z{fmin, fmax};
  g_free(g_object_steal_data(G_OBJECT(h), key));
  g_object_set_data(G_OBJECT(h), key, g_memdup2(&z, sizeof z));
}

/* A picture drawn afresh, as its bytes, first compared with the
 * reference of that name if one is given. */
std::string picture(KivChart2D *h, const char *reference = NULL) {
  GdkPixbuf *pb = read_pixmap(h);
  if (reference != NULL) assert_reference(pb, reference, 2, 0);
  std::string s(reinterpret_cast<const char *>(gdk_pixbuf_get_pixels(pb)),
                gdk_pixbuf_get_rowstride(pb) * gdk_pixbuf_get_height(pb));
  g_object_unref(pb);
  return s;
}

void test_class() {
  kiv_expect_critical("kiv_chart2d_new: assertion 'ff!=0' failed");
  g_assert_null(kiv_chart2d_new(NULL));

  /* The ramps of the schemes no picture shows, worked from their
   * trapezoids: colour 12 is at 12 / 25 of a cycle. */
  KivHistogram2D *hist = kiv_histogram2d_new(2, -1.0, 3.0, 2, -2.0, 8.0, NULL);
  Chart s(hist);
  const int rows[][4] = {{KIV_COLOR_2D_WB, 31456, 31456, 31456},
                         {KIV_COLOR_2D_GREEN, 0, 34078, 0},
                         {KIV_COLOR_2D_BLUE, 0, 0, 34078},
                         {KIV_COLOR_2D_THERMAL, 0, 31456, 65535}};
  for (const auto &k : rows) {
    g_object_set(s.h, "ctype", k[0], NULL);
    const GdkColor &col = s.h->colorlst[12];
    kiv_assert_each({col.red, k[1]}, {col.green, k[2]}, {col.blue, k[3]});
  }
  /* The end of the enumeration has no ramp: refused, and the scheme
   * stays thermal (checked with the writes below). */
  kiv_expect_critical("chart2d_build_colors: assertion 't < KIV_COLOR_2D_LAST' failed");
  g_object_set(s.h, "ctype", KIV_COLOR_2D_LAST, NULL);
  g_test_assert_expected_messages();

  /* While a redraw holds the canvas (a trylock fails whoever holds it),
   * the scheme and the flag are dropped; the limits are only stored, and
   * a redraw puts the histogram's ranges in their place. */
  KivChart1D *h1 = s.chart;
  g_mutex_lock(&h1->cnvs->mutex);
  g_object_set(s.h, "ctype", KIV_COLOR_2D_RED, "squared", TRUE, "vmin", 5.0, "vmax", 6.0, NULL);
  g_mutex_unlock(&h1->cnvs->mutex);
  kiv_assert_each({s.h->ctype, KIV_COLOR_2D_THERMAL}, {s.h->squared, FALSE}, {h1->vmin, 5.0},
                  {h1->vmax, 6.0});
  gint ctype = 0, squared = FALSE;
  double vmin = 0.0, vmax = 0.0;
  g_object_set(s.h, "ctype", KIV_COLOR_2D_GREEN, "squared", TRUE, NULL);
  g_object_unref(read_pixmap(s.h));
  g_object_get(s.h, "ctype", &ctype, "squared", &squared, "vmin", &vmin, "vmax", &vmax, NULL);
  kiv_assert_each({ctype, KIV_COLOR_2D_GREEN}, {squared, TRUE}, {vmin, -2.0}, {vmax, 8.0},
                  {h1->xmin, -1.0}, {h1->xmax, 3.0});

  /* The colours live as long as the window; without them no map. */
  gtk_widget_unrealize(GTK_WIDGET(s.h));
  kiv_assert_each({s.h->ncol, 0}, {s.h->colorlst == NULL, 1});
  g_object_unref(read_pixmap(s.h));
  gtk_widget_realize(GTK_WIDGET(s.h));
  kiv_assert_each({s.h->ncol, 25}, {s.h->colorlst[0].green, 65535});
  g_object_unref(hist);
}

/* The frame step's nonzero cells in order of content, with the range and
 * the index buffer (two ints a cell, kept when fewer are needed).  The
 * ties of the second map come in the order the quicksort leaves them,
 * worked by hand: its pivot, the median of cells 0, 5 and 11, is 4; the
 * partition puts the cells holding 4 last as 5 10 0 and leaves the others
 * as 11 9 3 4 1 6 8, which insertion then orders keeping ties as they
 * stand.  NaN goes last in cell order, the infinities order as numbers
 * and -0 is no content.  The last map has half of its range selected, a
 * range too wide for a double. */
void test_order() {
  double cells[12] = {};
  KivHistogram2D *hist = kiv_histogram2d_new(4, 0.0, 4.0, 3, 0.0, 3.0, cells);
  Chart s(hist);
  KivCanvas *c = s.chart->cnvs;
  const std::pair<std::vector<double>, const char *> cases[] = {
      {{NAN, INFINITY, -INFINITY, 3, 1, 2, NAN}, "2 4 5 3 1 0 6 / 1 3 14"},
      {{4, -1, 0, 2, -1, 4, 2, 0, -1, 2, 4, -1}, "11 4 1 8 9 3 6 5 10 0 / -1 4 20"},
      {{1, 1 + DBL_EPSILON, -2.5, 0, 1e300, -INFINITY, 5e-324, -0.0, -1e-300, 3, INFINITY, -7},
       "5 11 2 8 6 0 1 9 4 10 / -7 1e+300 20"},
      {{}, "/ 0 0 20"},
      {{-1e308, 1e308}, "0 1 / 0 1e+308 20"}};
  for (const auto &k : cases) {
    if (k.first.size() == 2) set_range(s.h, "zrange", 0.5, 1.0);
    std::fill(std::copy(k.first.begin(), k.first.end(), cells), cells + 12, 0.0);
    g_object_unref(read_pixmap(s.h));
    std::string got;
    for (int i = 0; i < s.h->nindx; i++) got += std::to_string(s.h->dindex[s.h->dkey[i]]) + " ";
    char tail[64];
    g_snprintf(tail, sizeof tail, "/ %g %g %d", c->zmin, c->zmax, s.h->bsiz);
    g_assert_cmpstr((got += tail).c_str(), ==, k.second);
  }
  g_object_unref(hist);
}

/* Three pictures that hold most of what the chart paints.  The first, in
 * the thermal scheme with both axes, has cells of 6 x 4 values ix + 2 iy - 2
 * (-2 to 9; NaN at (5, 0), +-inf at (0, 3) and (1, 3)) with the range 0.1
 * to 0.9 selected, -0.9 to 7.9: the scale's labels span that, its mark
 * beside it, and only the cells from 1 to 7 are painted, 1 in colour 21
 * (light blue), 4 in 55 (green), 7 in 88 (orange).  The second is squared,
 * black and white, with 200 x 150 cells smaller than a pixel, light at the
 * bottom left and dark at the top right, and a drag beyond the top of the
 * scale marked from 0.3 up.  The third is red, 400 x 3 cells narrower than
 * a pixel and taller than one: bright (1) to dark (400) from left to right
 * in the bottom row, dark to bright in the middle one, and dark all along
 * the top one, whose cells alternate 1 and 400 and the 400s come last. */
void test_pictures() {
  KivHistogram2D *hists[3] = {map_of(6, 4), map_of(200, 150), map_of(400, 3)};
  for (int b = 0; b < 24; b++)
    hists[0]->y[b] = b == 5    ? NAN
                     : b == 18 ? INFINITY
                     : b == 19 ? -INFINITY
                               : b % 6 + b / 6 * 2 - 2;
  for (int b = 0; b < 200 * 150; b++) hists[1]->y[b] = (b % 200 + b / 200) / 4 - 10;
  for (int b = 0; b < 1200; b++)
    hists[2]->y[b] = b < 400 ? b + 1 : b < 800 ? 800 - b : b % 2 != 0 ? 400 : 1;
  Chart thermal(hists[0]), bw(hists[1]), red(hists[2]);
  set_range(thermal.h, "zrange", 0.1, 0.9);
  g_object_set(bw.h, "ctype", KIV_COLOR_2D_BW, "squared", TRUE, NULL);
  set_range(bw.h, "__zrange", 0.3, 1.4);
  g_object_set(red.h, "ctype", KIV_COLOR_2D_RED, NULL);
  /* A redraw of unchanged cells puts back the pixels of the last one,
   * those painted afresh, for cells larger than a pixel, smaller and
   * narrower; a write into a cell that no fill announced is painted (in
   * the first two within the range, which stays as it was). */
  const char *names[] = {"chart2d-thermal", "chart2d-squared", "chart2d-red"};
  KivChart2D *charts[] = {thermal.h, bw.h, red.h};
  for (int i = 0; i < 3; i++) {
    std::string fresh = picture(charts[i], names[i]);
    g_assert_true(picture(charts[i]) == fresh);
    hists[i]->y[7] = -hists[i]->y[7];
    g_assert_true(picture(charts[i]) != fresh);
    g_object_unref(hists[i]);
  }
  /* A squared chart wider than tall narrows its plotting area instead. */
  bw.resize(400, 150);
  picture(bw.h);
  const KivCanvas *c = bw.chart->cnvs;
  g_assert_cmpint(c->px1 - c->px0, ==, c->py0 - c->py1);
  g_assert_cmpint(c->px1 - c->px0, <, 150);
}

/* One map, 1 at (0, 0), 2 at (2, 0) and 5 at (1, 1): worked pixels, the
 * selection with the pointer, the menu entries and equal contents; then
 * other functions and hostile binnings. */
void test_chart() {
  KivHistogram2D *hist = map_of(4, 2, {1, 0, 2, 0, 0, 5, 0, 0});
  Chart s(hist);
  KivChart1D *h1 = s.chart;
  KivCanvas *c = h1->cnvs;
  /* On the range 1 to 5 the thermal scheme paints 2 in colour
   * trunc(99 / 4) = 24, (0, 62913, 65535), and 5 in 99, (65535, 2621, 0). */
  GdkPixbuf *pb = read_pixmap(s.h);
  assert_rgb(pb, c->px0 + 5 * c->wx / 8, c->py0 - c->wy / 4, {0, 245, 255});
  assert_rgb(pb, c->px0 + 3 * c->wx / 8, c->py0 - 3 * c->wy / 4, {255, 10, 0});
  g_object_unref(pb);

  /* A press on the colour scale (or up to 15 pixels above or below it)
   * starts a drag, the release on it commits the range, low to high and
   * cut to the scale; a release elsewhere drops it, the middle button
   * clears the range. */
  auto f = [c](int y) { return (c->pz0 - y) / static_cast<double>(c->pz0 - c->pz1); };
  auto drag = [&s] { return static_cast<Zrange *>(g_object_get_data(G_OBJECT(s.h), "__zrange")); };
  auto range = [&s] { return static_cast<Zrange *>(g_object_get_data(G_OBJECT(s.h), "zrange")); };
  int x = c->cscale.x + c->cscale.width / 2, right = c->cscale.x + c->cscale.width;
  int ya = c->pz0 - (c->pz0 - c->pz1) / 4, yb = c->pz1 + 10;
  press(h1, 1, x, ya);
  kiv_assert_each({drag()->fmin, f(ya)}, {drag()->fmax, f(ya)}, {range() == NULL, 1});
  motion(h1, x, c->pz1 - 12, GDK_BUTTON1_MASK);
  g_assert_cmpfloat(drag()->fmax, ==, f(c->pz1 - 12));
  release(h1, 1, x, c->pz1 - 15);
  kiv_assert_each({drag() == NULL, 1}, {range()->fmin, f(ya)}, {range()->fmax, 1.0});
  press(h1, 1, x, yb);
  release(h1, 1, x, ya);
  press(h1, 1, x, c->pz1 - 15);
  kiv_assert_each({drag()->fmin, 1.0}, {drag()->fmax, f(c->pz1 - 15)});
  release(h1, 1, c->px0 + 10, ya);
  kiv_assert_each({drag() == NULL, 1}, {range()->fmin, f(ya)}, {range()->fmax, f(yb)});
  const int off[][2] = {{right + 1, ya}, {x, c->pz0 + 16}, {x, c->pz1 - 16}};
  for (const auto &p : off) {
    press(h1, 1, p[0], p[1]);
    g_assert_null(drag());
  }
  press(h1, 1, right, c->pz0 + 15);
  release(h1, 1, c->cscale.x, c->pz0 + 15);
  kiv_assert_each({range()->fmin, 0.0}, {range()->fmax, 0.0});
  press(h1, 2, c->px0 + 10, ya);
  release(h1, 2, c->px0 + 10, ya);
  g_assert_null(range());

  /* The entries at the end of the menu, as label, "*" when checked and
   * "|" when insensitive: they show the chart's state and act on it. */
  GtkWidget *menu = gtk_menu_new();
  KIV_CHART1D_GET_CLASS(h1)->xtra_menu(h1, menu);
  std::vector<GtkWidget *> items;
  find_all(menu, GTK_TYPE_MENU_ITEM, &items);
  std::string shown;
  for (GtkWidget *i : items) {
    bool on = GTK_IS_CHECK_MENU_ITEM(i) && gtk_check_menu_item_get_active(GTK_CHECK_MENU_ITEM(i));
    shown += item_label(i) + (on ? "*" : "") + (gtk_widget_is_sensitive(i) ? "," : "|");
  }
  g_assert_cmpstr(shown.c_str(), ==, "|Squared,|Black/White,White/Black,Red,Green,Blue,Thermal*,");
  gtk_menu_item_activate(GTK_MENU_ITEM(items[5]));
  gtk_menu_item_activate(GTK_MENU_ITEM(items[1]));
  kiv_assert_each({s.h->ctype, KIV_COLOR_2D_RED}, {s.h->ncol, 25}, {s.h->squared, TRUE});
  gtk_widget_destroy(menu);

  /* Equal contents: the plotting area stays background. */
  std::fill(hist->y, hist->y + 8, 3.0);
  pb = read_pixmap(s.h);
  g_assert_cmpint(count_not(pb, c->px0 + 9, c->py1 + 9, c->px1 - 9, c->py0 - 9,
                            rgb(h1->colors[KIV_COLOR_BACKGROUND])),
                  ==, 0);
  g_object_unref(pb);
  g_object_unref(hist);

  /* A chart of a plain function draws it as the one-dimensional chart
   * does.  Binnings and contents at the ends of the doubles give a vector
   * picture free of coordinates that are no number. */
  KivFunction *fn = kiv_function_new(20, 0.0, 10.0, [](double v) { return v; });
  Shown plain(GTK_WIDGET(g_object_new(KIV_TYPE_CHART2D, "func", fn, NULL)), 240, 180);
  kiv_assert_each({plain.chart->xpt[0].n > 0, 1}, {KIV_CHART2D(plain.chart)->nindx, 0});
  g_object_unref(fn);
  KivHistogram2D *wide = kiv_histogram2d_new(8, -DBL_MAX, DBL_MAX, 6, -4.9e-324, 4.9e-324, NULL);
  kiv_histogram2d_fill(wide, -DBL_MAX, -4.9e-324, 1e307);
  kiv_histogram2d_fill(wide, 0.0, 0.0, -1e307);
  Chart w(wide);
  GString *svg = read_bytes(w.h, "svg");
  g_assert_true(g_strrstr(svg->str, "nan") == NULL && g_strrstr(svg->str, "inf") == NULL);
  g_string_free(svg, TRUE);
  g_object_unref(wide);
}

} // namespace

int main(int argc, char **argv) {
  init(&argc, &argv);
  add_widget_test("/chart2d/class", test_class);
  add_widget_test("/chart2d/order", test_order);
  add_widget_test("/chart2d/pictures", test_pictures);
  add_widget_test("/chart2d/chart", test_chart);
  return g_test_run();
}
