/* Tests of the text dumps, byte for byte: one or several one-dimensional
 * functions side by side, and two-dimensional functions as a grid. */
#include "kiv-test.h"

#include <clocale>
#include <cstring>
#include <string>

namespace {

const std::string kHeader2D = "\t[nxbin xmin xmax nybin ymin ymax - data ( rows are Y, columns X )]\n";

/* Compares a dump with the expected text and frees it. */
void assert_dump(GString *s, const std::string &expected) {
  g_assert_nonnull(s);
  g_assert_cmpstr(s->str, ==, expected.c_str());
  g_assert_cmpuint(s->len, ==, expected.size());
  g_string_free(s, TRUE);
}

double four_x(double x) {
  return 4.0 * x;
}

double one_zero_two(double x) {
  return x < 1.0 ? 1.0 : x < 2.0 ? 0.0 : 2.0;
}

double plane(double x, double y) {
  return x + 10.0 * y;
}

void test_1d() {
  /* A histogram of 3 bins on [0, 3) with contents 1, 0, 2 named h, and a
   * plain function with the same values, dump the same. */
  KivHistogram *h = kiv_histogram_new(3, 0.0, 3.0, NULL);
  kiv_histogram_fill(h, 0.5, 1.0);
  kiv_histogram_fill(h, 2.2, 2.0);
  KivFunction *f = kiv_function_new(3, 0.0, 3.0, one_zero_two);
  for (KivFunction *g : {KIV_FUNCTION(h), f}) {
    kiv_function_set_name(g, "h");
    assert_dump(kiv_function_print(g), "1D 3 0.000000 3.000000\t[nbin xmin xmax]\n"
                                       "\"X\"\t\"h\"\n"
                                       "0.500000\t1.000000\n"
                                       "1.500000\t0.000000\n"
                                       "2.500000\t2.000000\n");
  }
  g_object_unref(f);
  g_object_unref(h);

  /* Unnamed functions are titled by their place in the list, names are
   * written as they are, and only the first function's range counts: the
   * others are sampled at its bin centres. */
  KivFunction *a = kiv_function_new(2, 0.0, 1.0, four_x);
  KivFunction *b = kiv_function_new(2, 0.0, 1.0, NULL);
  KivFunction *wide = kiv_function_new(2, 0.0, 100.0, four_x);
  kiv_function_set_name(a, "a");
  kiv_function_set_name(wide, "say \"hi\"");
  GList *l = g_list_append(g_list_append(g_list_append(NULL, a), b), wide);
  assert_dump(kiv_function_print_list(l), "1D 2 0.000000 1.000000\t[nbin xmin xmax]\n"
                                          "\"X\"\t\"a\"\t\"Function_1\"\t\"say \"hi\"\"\n"
                                          "0.250000\t1.000000\t0.000000\t1.000000\n"
                                          "0.750000\t3.000000\t0.000000\t3.000000\n");
  kiv_function_set_name(a, "");
  l = g_list_reverse(l);
  assert_dump(kiv_function_print_list(l), "1D 2 0.000000 100.000000\t[nbin xmin xmax]\n"
                                          "\"X\"\t\"say \"hi\"\"\t\"Function_1\"\t\"\"\n"
                                          "25.000000\t100.000000\t0.000000\t100.000000\n"
                                          "75.000000\t300.000000\t0.000000\t300.000000\n");
  g_list_free_full(l, g_object_unref);

  /* Large values in fixed notation; a range of exactly [0, 0] shows the
   * bin count as its upper limit. */
  f = kiv_function_new(2, -2e20, 2e20, four_x);
  assert_dump(kiv_function_print(f),
              "1D 2 -200000000000000000000.000000 200000000000000000000.000000\t[nbin xmin xmax]\n"
              "\"X\"\t\"Function_0\"\n"
              "-100000000000000000000.000000\t-400000000000000000000.000000\n"
              "100000000000000000000.000000\t400000000000000000000.000000\n");
  g_object_set(f, "xmin", 0.0, "xmax", 0.0, NULL);
  assert_dump(kiv_function_print(f), "1D 2 0.000000 2.000000\t[nbin xmin xmax]\n"
                                     "\"X\"\t\"Function_0\"\n"
                                     "0.000000\t0.000000\n"
                                     "0.000000\t0.000000\n");
  g_object_unref(f);
}

void test_1d_refusals() {
  g_assert_null(kiv_function_print_list(NULL));
  KivFunction *a = kiv_function_new(2, 0.0, 1.0, NULL);
  KivFunction *b = kiv_function_new(3, 0.0, 1.0, NULL);
  KivStats *s = kiv_stats_new();
  /* A first element that is no function; a later one of another bin
   * count or no function. */
  const gpointer pairs[][2] = {{s, a}, {a, b}, {a, s}};
  for (const auto &p : pairs) {
    GList *l = g_list_append(g_list_append(NULL, p[0]), p[1]);
    g_assert_null(kiv_function_print_list(l));
    g_list_free(l);
  }
  kiv_expect_critical("kiv_function_print: assertion 'f != NULL' failed");
  g_assert_null(kiv_function_print(NULL));
  g_test_assert_expected_messages();
  g_object_unref(s);
  g_object_unref(a);
  g_object_unref(b);
}

void test_2d() {
  /* x + 10 y at the centres of 3 x 2 cells: rows are y, columns x, no
   * title line and no coordinate column. */
  KivFunction2D *f = kiv_function2d_new(3, 0.0, 3.0, 2, 0.0, 2.0, plane);
  kiv_function_set_name(KIV_FUNCTION(f), "ignored");
  assert_dump(kiv_function_print(KIV_FUNCTION(f)), "2D 3 0.000000 3.000000 2 0.000000 2.000000" +
                                                       kHeader2D +
                                                       "5.500000\t6.500000\t7.500000\n"
                                                       "15.500000\t16.500000\t17.500000\n");
  /* Reversed and negative ranges; a single column has no tab. */
  g_object_set(f, "nx", 1, "xmin", 1.0, "xmax", -1.0, "ny", 3, "ymin", -3.0, "ymax", 0.0, NULL);
  assert_dump(kiv_function_print(KIV_FUNCTION(f)),
              "2D 1 1.000000 -1.000000 3 -3.000000 0.000000" + kHeader2D +
                  "-25.000000\n-15.000000\n-5.000000\n");
  /* Without a function every value is 0. */
  g_object_set(f, "func", NULL, "nx", 2, "xmin", 0.0, "xmax", 1.0, "ny", 1, NULL);
  assert_dump(kiv_function_print(KIV_FUNCTION(f)),
              "2D 2 0.000000 1.000000 1 -3.000000 0.000000" + kHeader2D + "0.000000\t0.000000\n");
  g_object_unref(f);

  KivHistogram2D *h = kiv_histogram2d_new(3, 0.0, 1.5, 2, -1.0, 1.0, NULL);
  kiv_histogram2d_fill(h, 0.25, -0.5, 1.25);
  kiv_histogram2d_fill(h, 1.25, 0.5, -2.0);
  kiv_histogram2d_fill(h, 1.25, 0.5, 0.5);
  kiv_histogram2d_fill(h, 0.75, 0.5, 1e6);
  assert_dump(kiv_function_print(KIV_FUNCTION(h)), "2D 3 0.000000 1.500000 2 -1.000000 1.000000" +
                                                       kHeader2D +
                                                       "1.250000\t0.000000\t0.000000\n"
                                                       "0.000000\t1000000.000000\t-1.500000\n");
  g_object_unref(h);
}

/* %f follows the process's numeric locale: under one with a decimal comma
 * every number takes the comma and nothing else changes (tabs, quotes,
 * labels, integers without grouping). */
void test_comma_locale() {
  const char *name = NULL;
  for (const char *n : {"de_DE.UTF-8", "de_DE.utf8", "de_DE", "fr_FR.UTF-8", "fr_FR.utf8",
                        "nl_NL.UTF-8", "es_ES.UTF-8", "it_IT.UTF-8", "ru_RU.UTF-8"})
    if (name == NULL && setlocale(LC_NUMERIC, n) && strcmp(localeconv()->decimal_point, ",") == 0)
      name = n;
  setlocale(LC_NUMERIC, "C");
  if (name == NULL) {
    g_test_skip("no locale with a decimal comma is installed (e.g. de_DE.UTF-8)");
    return;
  }
  kivtest::in_subprocess([name] {
    g_assert_nonnull(setlocale(LC_NUMERIC, name));
    KivFunction *a = kiv_function_new(1234, 0.0, 1234.0, four_x);
    kiv_function_set_name(a, "a.b");
    GString *s = kiv_function_print(a);
    const char *want = "1D 1234 0,000000 1234,000000\t[nbin xmin xmax]\n"
                       "\"X\"\t\"a.b\"\n"
                       "0,500000\t2,000000\n";
    g_assert_cmpint(strncmp(s->str, want, strlen(want)), ==, 0);
    g_string_free(s, TRUE);
    g_object_unref(a);
    KivFunction2D *f = kiv_function2d_new(2, 0.0, 2.0, 1, 0.0, 1.0, plane);
    assert_dump(kiv_function_print(KIV_FUNCTION(f)),
                "2D 2 0,000000 2,000000 1 0,000000 1,000000" + kHeader2D + "5,500000\t6,500000\n");
    g_object_unref(f);
  }, NULL, NULL);
}

} // namespace

int main(int argc, char **argv) {
  g_test_init(&argc, &argv, NULL);
  /* The byte-for-byte comparisons assume the decimal point. */
  setlocale(LC_NUMERIC, "C");
  g_test_add_func("/print/1d", test_1d);
  g_test_add_func("/print/1d/refusals", test_1d_refusals);
  g_test_add_func("/print/2d", test_2d);
  g_test_add_func("/print/comma-locale", test_comma_locale);
  return g_test_run();
}
