/* Tests of KivGraph: interpolation, its limits, point arrays and reset. */
#include "kiv-test.h"

static void test_graph() {
  double x[] = {0, 1, 3}, y[] = {0, 10, 30};
  KivGraph *g = kiv_graph_new(3, x, y);
  KivFunction *f = KIV_FUNCTION(g);
  /* Whatever range is asked for, the array is the points themselves.
   * Before the first point and after the last (NaN too) the graph holds
   * the end values. */
  KivTuple t = {0, NULL};
  kiv_function_get_array(f, &t, 100.0, 200.0);
  kiv_assert_each({f->xmin, 0}, {f->xmax, 3}, {g->ymin, 0}, {g->ymax, 30},
                  {kiv_function_get_npts(f), 3}, {t.n, 3}, {t.P[1].x, 1}, {t.P[2].y, 30},
                  {kiv_function_eval(f, 0.5), 5}, {kiv_function_eval(f, 1), 10},
                  {kiv_function_eval(f, 2), 20}, {kiv_function_eval(f, 3), 30},
                  {kiv_function_eval(f, -1), 0}, {kiv_function_eval(f, 7), 30},
                  {kiv_function_eval(f, NAN), 30});
  kiv_function_clear_tuple(&t);

  /* Near the ends of the double range the interpolation does not
   * overflow. */
  double bx[] = {-1e308, 1e308};
  kiv_graph_reset(g, 2, bx, bx);
  g_assert_cmpfloat_with_epsilon(kiv_function_eval(f, 0.5e308), 0.5e308, 1e293);

  /* Abscissas out of order are scanned from the start, as given: the first
   * at or beyond 3 or 2.5 is the first point, so both read its value (a
   * binary search would land past the end). */
  double ux[] = {3, 2, 1}, uy[] = {30, 20, 10};
  kiv_graph_reset(g, 3, ux, uy);
  kiv_assert_each({kiv_function_eval(f, 3), 30}, {kiv_function_eval(f, 2.5), 30});

  /* Without abscissas the points are 0, 1, ... at 0 and the limits empty. */
  kiv_graph_reset(g, 4, NULL, y);
  kiv_assert_each({f->nbin, 4}, {g->xv[3], 3}, {g->yv[3], 0}, {f->xmin, G_MAXDOUBLE},
                  {f->xmax, -G_MAXDOUBLE}, {g->ymin, G_MAXDOUBLE}, {g->ymax, -G_MAXDOUBLE});
  /* Without points (a negative count is none) the graph reads 0
   * everywhere and has no array. */
  kiv_graph_reset(g, -3, x, y);
  kiv_function_get_array(f, &t, 0, 1);
  kiv_assert_each({f->nbin, 0}, {kiv_function_eval(f, 1.0), 0}, {t.n, 0});
  g_object_unref(g);
}

int main(int argc, char **argv) {
  g_test_init(&argc, &argv, NULL);
  g_test_add_func("/graph/points", test_graph);
  return g_test_run();
}
