/* Tests of KivFunction: bin arithmetic, point arrays, properties and
 * "range-changed", the instance mutex, and the text dump that every
 * one-dimensional class (histograms included) shares. */
#include "kiv-test.h"

#include <clocale>
#include <thread>

namespace {

double square(double x) { return x * x; }
double four_x(double x) { return 4.0 * x; }

/* Compares a dump byte for byte and frees it. */
void assert_dump(GString *s, const char *want) {
  g_assert_cmpstr(s->str, ==, want);
  g_string_free(s, TRUE);
}

void test_bins_array_properties() {
  kiv_expect_critical("kiv_function_new: assertion 'nx>0' failed");
  g_assert_null(kiv_function_new(0, 0, 1, square));
  /* Ten bins of 0.5 from 1: a quotient in (-1, 0) truncates to bin 0,
   * -1 and below (and NaN) are -1, the top edge and beyond are nbin. */
  KivFunction *f = kiv_function_new(10, 1.0, 6.0, NULL);
  kiv_expect_critical("kiv_function_find_bin: assertion 'f != NULL' failed");
  kiv_expect_critical("kiv_function_bin_center: assertion 'f != NULL' failed");
  kiv_assert_each({kiv_function_find_bin(NULL, 1), -1},
                  {kiv_function_bin_center(NULL, 1), G_MAXDOUBLE},
                  {kiv_function_find_bin(f, 0.75), 0}, {kiv_function_find_bin(f, 0.5), -1},
                  {kiv_function_find_bin(f, 1.6), 1}, {kiv_function_find_bin(f, 5.99), 9},
                  {kiv_function_find_bin(f, 6), 10}, {kiv_function_find_bin(f, 1e300), 10},
                  {kiv_function_find_bin(f, NAN), -1}, {kiv_function_bin_center(f, 0), 1.25},
                  {kiv_function_bin_center(f, -1), 0.75}, {kiv_function_bin_center(f, 12), 7.25},
                  {kiv_function_eval(f, 0.3), 0.0}, {kiv_function_get_xmin(f), 1.0},
                  {kiv_function_get_step(f), 0.5}, {kiv_function_resize(f, 100, 100), 0});
  g_object_unref(f);

  /* A reversed range has a negative step.  The requested range, not the
   * function's, places the points; one narrower than a step, reversed or
   * NaN gives none. */
  f = kiv_function_new(4, 1.0, 0.0, square);
  KivTuple t = {0, NULL};
  const double cases[][3] = {{0, 1, 4},   {2, 3, 4}, {-1, -0.75, 1},
                             {0, 0.2, 0}, {1, 0, 0}, {NAN, 1, 0}};
  for (const auto &c : cases) {
    kiv_function_get_array(f, &t, c[1], c[0]);
    g_assert_cmpint(t.n, ==, c[2]);
    if (t.n > 0)
      kiv_assert_each({t.P[0].x, c[1]}, {t.P[0].y, c[1] * c[1]},
                      {t.P[t.n - 1].x, c[1] - 0.25 * (t.n - 1)});
    kiv_function_clear_tuple(&t);
    g_assert_true(t.P == NULL && t.n == 0);
  }
  /* A request for billions of points is refused instead of allocated. */
  kiv_expect_warning("function_array_real: 4e+300 points requested for [1e+300, 0]; refusing");
  kiv_function_get_array(f, &t, 1e300, 0.0);
  /* While this thread holds the mutex, another one's trylock fails. */
  kiv_function_lock(f);
  std::thread([f] { g_assert_false(kiv_function_trylock(f)); }).join();
  kiv_function_unlock(f);
  g_object_unref(f);

  /* A count above the property's range is refused: the count stays 1. */
  g_test_expect_message("GLib-GObject", G_LOG_LEVEL_WARNING, "*nx*");
  f = kiv_function_new(1000000, 0.0, 1.0, square);
  g_test_assert_expected_messages();
  kivtest::Counter rc;
  rc.connect(f, "range-changed");
  /* A write of several range properties announces the range once; each
   * of them recomputes the step (xmin and nx are written last here, xmax
   * is by the two-dimensional function's y writes). */
  g_object_set(f, "xmax", 3.0, "xmin", -1.0, NULL);
  kiv_assert_each({rc.n, 1}, {f->step, 4.0}, {kiv_function_get_npts(f), 1});
  g_object_set(f, "range", NULL, "xmin", 1.0, "xmax", 11.0, "nx", 8, NULL);
  kiv_assert_each({rc.n, 2}, {f->step, 1.25});

  /* "xstep" rebins to the nearest whole count without announcing it
   * (10 / 4 = 2.5 gives 3 bins), from 1 bin to 999999 at most. */
  g_object_set(f, "xstep", 4.0, NULL);
  kiv_assert_each({rc.n, 2}, {f->nbin, 3}, {f->xmax, 13.0});
  g_object_set(f, "xmin", 0.0, "xmax", 999998.5, "xstep", 1.0, NULL);
  kiv_assert_each({f->nbin, 999999}, {kiv_function_get_xmax(f), 999999});
  g_object_set(f, "xmax", 10.0, "xstep", 20.0, NULL);
  kiv_assert_each({f->nbin, 1}, {kiv_function_get_xmax(f), 20});
  kiv_expect_warning(
      "KivFunction: xstep 1 gives no bin count from 1 to 999999 on [0, 1e+06]; ignored");
  g_object_set(f, "xmax", 999999.5, "xstep", 1.0, NULL);
  g_test_assert_expected_messages();
  kiv_assert_each({f->nbin, 1}, {f->step, 999999.5});
  /* A range of exactly [0, 0] reads back its bin count as xmax. */
  g_object_set(f, "xmax", 0.0, "nx", 3, NULL);
  kiv_assert_each({kiv_function_get_xmax(f), 3.0}, {f->xmax, 0.0});
  g_object_unref(f);
}

/* Only the first function's binning counts: the others are sampled at its
 * bin centres, named or numbered by their place in the list. */
void test_dump() {
  KivHistogram *h = kivtest::ramp_histogram(3, 1.0, 2.5);
  KivFunction *b = kiv_function_new(1, 0.0, 1.0, NULL),
              *wide = kiv_function_new(3, 0.0, 100.0, four_x);
  kiv_function_set_name(KIV_FUNCTION(h), "h");
  kiv_function_set_name(wide, "say \"hi\"");
  g_object_set(b, "xmax", 0.0, "nx", 3, NULL);
  GList *l = g_list_append(g_list_append(g_list_append(NULL, h), b), wide);
  assert_dump(
      kiv_function_print_list(l),
      "1D 3 1.000000 2.500000\t[nbin xmin xmax]\n"
      "\"X\"\t\"h\"\t\"Function_1\"\t\"say \"hi\"\"\n1.250000\t1.000000\t0.000000\t5.000000\n"
      "1.750000\t2.000000\t0.000000\t7.000000\n2.250000\t3.000000\t0.000000\t9.000000\n");
  /* A range of exactly [0, 0] shows the bin count as its upper limit. */
  assert_dump(kiv_function_print(b),
              "1D 3 0.000000 3.000000\t[nbin xmin xmax]\n\"X\"\t\"Function_0\"\n"
              "0.000000\t0.000000\n0.000000\t0.000000\n0.000000\t0.000000\n");
  /* Refused: a later function of another bin count, a later element that
   * is no function, and no list at all. */
  l = g_list_append(l, kiv_stats_new());
  g_assert_null(kiv_function_print_list(l));
  g_object_unref(g_list_last(l)->data);
  g_list_last(l)->data = kiv_function_new(1, 0.0, 1.0, NULL);
  g_assert_null(kiv_function_print_list(l));
  g_assert_null(kiv_function_print_list(NULL));
  g_list_free_full(l, g_object_unref);
}

/* %f follows the numeric locale: under one with a decimal comma every
 * number takes the comma and nothing else changes (tabs, quotes, labels,
 * integers without grouping). */
void test_comma_locale() {
  if (setlocale(LC_NUMERIC, "de_DE.UTF-8") == NULL)
    return g_test_skip("the locale de_DE.UTF-8 is not installed");
  KivFunction *a = kiv_function_new(2, 0.0, 1234.0, four_x);
  assert_dump(kiv_function_print(a),
              "1D 2 0,000000 1234,000000\t[nbin xmin xmax]\n\"X\"\t\"Function_0\"\n"
              "308,500000\t1234,000000\n925,500000\t3702,000000\n");
  setlocale(LC_NUMERIC, "C");
  g_object_unref(a);
}

} // namespace

int main(int argc, char **argv) {
  g_test_init(&argc, &argv, NULL);
  g_test_add_func("/function/bins-array-properties", test_bins_array_properties);
  g_test_add_func("/function/dump", test_dump);
  g_test_add_func("/function/comma-locale", test_comma_locale);
  return g_test_run();
}
