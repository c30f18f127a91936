/* Tests of KivGraph: interpolation, limits, point arrays and reset. */
#include "kiv-test.h"

namespace {

void test_interpolation() {
  double x[] = {0, 1, 3}, y[] = {0, 10, 30};
  KivGraph *g = kiv_graph_new(3, x, y);
  KivFunction *f = KIV_FUNCTION(g);
  /* The graph holds copies: the caller's arrays may change at once. */
  x[1] = 100;
  y[1] = -100;
  g_assert_cmpfloat(kiv_function_eval(f, 0.5), ==, 5.0);
  g_assert_cmpfloat(kiv_function_eval(f, 1.0), ==, 10.0);
  g_assert_cmpfloat(kiv_function_eval(f, 2.0), ==, 20.0);
  g_assert_cmpfloat(kiv_function_eval(f, 3.0), ==, 30.0);
  g_assert_cmpfloat(kiv_function_eval(f, -1.0), ==, 0.0);
  g_assert_cmpfloat(kiv_function_eval(f, 7.0), ==, 30.0);
  g_assert_cmpfloat(f->xmin, ==, 0.0);
  g_assert_cmpfloat(f->xmax, ==, 3.0);
  g_assert_cmpfloat(g->ymin, ==, 0.0);
  g_assert_cmpfloat(g->ymax, ==, 30.0);
  g_assert_cmpint(kiv_function_get_npts(f), ==, 3);

  /* Whatever range is asked for, the array is the points themselves. */
  KivTuple t = {0, NULL};
  kiv_function_get_array(f, &t, 100.0, 200.0);
  g_assert_cmpint(t.n, ==, 3);
  g_assert_cmpfloat(t.P[2].x, ==, 3.0);
  g_assert_cmpfloat(t.P[2].y, ==, 30.0);
  kiv_function_clear_tuple(&t);

  /* Writes of the point properties are accepted and ignored. */
  double other[] = {5, 6, 7};
  gpointer xv = NULL;
  g_object_set(g, "nx", 7, "xv", other, "yv", other, NULL);
  g_object_get(g, "xv", &xv, NULL);
  g_assert_true(xv == g->xv);
  g_assert_cmpint(f->nbin, ==, 3);
  g_assert_cmpfloat(kiv_function_eval(f, 2.0), ==, 20.0);

  /* Edges near the end of the double range interpolate without overflow. */
  double bx[] = {-1e308, 1e308}, by[] = {0, 1e308};
  kiv_graph_reset(g, 2, bx, by);
  g_assert_cmpfloat_with_epsilon(kiv_function_eval(f, 0.0), 0.5e308, 1e293);
  g_assert_cmpfloat_with_epsilon(kiv_function_eval(f, 0.5e308), 0.75e308, 1e293);
  double cx[] = {-1e308, 1e308}, cy[] = {-1e308, 1e308};
  kiv_graph_reset(g, 2, cx, cy);
  g_assert_cmpfloat_with_epsilon(kiv_function_eval(f, 1e307), 1e307, 1e292);
  double x0[] = {0, 1, 3}, y0[] = {0, 10, 30};
  kiv_graph_reset(g, 3, x0, y0);

  /* Abscissas out of order are scanned from the start, as given:
   * the first one at or beyond 2 is 5, reached from 0. */
  double ux[] = {0, 5, 1}, uy[] = {0, 50, 10};
  KivGraph *u = kiv_graph_new(3, ux, uy);
  g_assert_cmpfloat(kiv_function_eval(KIV_FUNCTION(u), 2.0), ==, 20.0);
  g_object_unref(u);

  /* A NaN argument lies beyond every abscissa. */
  g_assert_cmpfloat(kiv_function_eval(f, NAN), ==, 30.0);
  g_object_unref(g);
}

void test_reset_and_empty() {
  double y[] = {1, 2, 3, 4};
  KivGraph *g = kiv_graph_new(4, NULL, y);
  KivFunction *f = KIV_FUNCTION(g);
  g_assert_cmpint(f->nbin, ==, 4);
  for (int i = 0; i < 4; i++) {
    g_assert_cmpfloat(g->xv[i], ==, i);
    g_assert_cmpfloat(g->yv[i], ==, 0.0);
  }
  g_assert_cmpfloat(f->xmin, ==, G_MAXDOUBLE);
  g_assert_cmpfloat(f->xmax, ==, -G_MAXDOUBLE);

  kivtest::Counter rc;
  rc.connect(g, "range-changed");
  double x2[] = {-2, 2}, y2[] = {4, -4};
  kiv_graph_reset(g, 2, x2, y2);
  g_assert_cmpint(rc.n, ==, 0);
  g_assert_cmpfloat(kiv_function_eval(f, 0.0), ==, 0.0);
  g_assert_cmpfloat(g->ymin, ==, -4.0);

  /* Without points the graph reads as 0 everywhere and has no array. */
  kiv_graph_reset(g, 0, x2, y2);
  g_assert_cmpfloat(kiv_function_eval(f, 1.0), ==, 0.0);
  KivTuple t = {0, NULL};
  kiv_function_get_array(f, &t, 0, 1);
  g_assert_cmpint(t.n, ==, 0);
  g_assert_null(t.P);
  kiv_graph_reset(g, -3, NULL, NULL);
  g_assert_cmpint(f->nbin, ==, 0);
  g_assert_cmpfloat(kiv_function_eval(f, 1.0), ==, 0.0);
  g_object_unref(g);

  /* A graph made without properties has no points either. */
  g = KIV_GRAPH(g_object_new(KIV_TYPE_GRAPH, NULL));
  g_assert_cmpfloat(kiv_function_eval(KIV_FUNCTION(g), 0.5), ==, 0.0);
  g_object_unref(g);
}

} // namespace

int main(int argc, char **argv) {
  g_test_init(&argc, &argv, NULL);
  g_test_add_func("/graph/interpolation", test_interpolation);
  g_test_add_func("/graph/reset-and-empty", test_reset_and_empty);
  return g_test_run();
}
