/* Tests of KivFunction2D: its grid dump and cell numbering, and the y
 * function it owns and forwards the y properties to. */
#include "kiv-test.h"

namespace {

double plane(double x, double y) { return x + 10.0 * y; }

/* A property's value, read through the property system. */
template <typename T = double> T prop(gpointer object, const char *name) {
  T v{};
  g_object_get(object, name, &v, NULL);
  return v;
}

void test_grid() {
  kiv_expect_critical("kiv_function2d_new: assertion 'nx>0' failed");
  kiv_expect_critical("kiv_function2d_new: assertion 'ny>0' failed");
  g_assert_true(!kiv_function2d_new(0, 0, 1, 3, 0, 1, plane) &&
                !kiv_function2d_new(4, 0, 1, 0, 0, 1, plane));
  /* x + 10 y at the centres of 3 x 2 cells: rows are y, columns x.
   * "func" reaches func2d only: the x part has none and reads 0. */
  KivFunction2D *f = kiv_function2d_new(3, 0.0, 3.0, 2, 1.0, 2.0, plane);
  GString *s = kiv_function_print(KIV_FUNCTION(f));
  g_assert_cmpstr(s->str, ==,
                  "2D 3 0.000000 3.000000 2 1.000000 2.000000\t[nxbin xmin xmax nybin ymin ymax "
                  "- data ( rows are Y, columns X )]\n13.000000\t14.000000\t15.000000\n"
                  "18.000000\t19.000000\t20.000000\n");
  g_string_free(s, TRUE);
  g_object_set(f, "func", NULL, NULL);
  kiv_assert_each({kiv_function2d_eval(f, 0.5, 2.0), 0.0},
                  {kiv_function_eval(KIV_FUNCTION(f), 0.5), 0.0});

  /* Cell numbers outside the grid follow the same arithmetic, truncating
   * toward zero, and saturate where an int cannot count them. */
  int ix = 0, iy = 0;
  kiv_function2d_find_cell_from_bin(f, -7, &ix, &iy);
  kiv_assert_each({kiv_function2d_find_bin_from_cell(f, 2, 4), 14}, {ix, -1}, {iy, -2},
                  {kiv_function2d_find_bin_from_cell(f, G_MININT, G_MININT), G_MININT});
  g_object_unref(f);
  f = kiv_function2d_new(999999, 0, 1, 999999, 0, 1, NULL);
  kiv_assert_each({prop<int>(f, "npts"), G_MAXINT},
                  {kiv_function2d_find_bin_from_cell(f, 999998, 999998), G_MAXINT},
                  {kiv_function2d_find_bin_from_cell(f, 999998, 2000), 2000997998});
  g_object_unref(f);

  /* The y properties are forwarded to the y function, which recomputes
   * its step; "ystep" re-derives the y count the way "xstep" does. */
  f = kiv_function2d_new(4, 0, 1, 3, 0, 1, NULL);
  g_object_set(f, "ny", 8, "ymin", -1.0, "ymax", 3.0, NULL);
  kiv_assert_each({kiv_function2d_Y(f)->nbin, 8}, {kiv_function2d_Y(f)->step, 0.5},
                  {prop<int>(f, "ny"), 8});
  g_object_set(f, "ystep", 1.0, "xmin", -2.0, "nx", 6, NULL);
  kiv_assert_each({prop<int>(f, "npts"), 24}, {prop(f, "ystep"), 1}, {prop(f, "ymin"), -1});
  g_object_unref(f);
}

} // namespace

int main(int argc, char **argv) {
  g_test_init(&argc, &argv, NULL);
  g_test_add_func("/function2d/grid", test_grid);
  return g_test_run();
}
