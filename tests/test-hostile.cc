/* Hostile input to every entry point of the data objects: NaN, infinities,
 * denormals and +-1e308 for every double a caller passes, bin counts of 0,
 * below 0, 999999 and above, and names that break markup or run long.
 * Each must get its critical, its warning or a stated answer, never a
 * crash, a hang or a write past a buffer (the suite also runs under the
 * address sanitizer and valgrind).  Cases the class tests already cover
 * are not repeated here. */
#include "kiv-test.h"

#include <cfloat>
#include <climits>
#include <cstring>
#include <string>
#include <vector>

namespace {

constexpr double kDenormal = 4.9406564584124654e-324;

/* Doubles the property system refuses ("out of range" from GObject). */
const double kRefused[] = {NAN, INFINITY, -INFINITY};
/* Doubles that pass it and reach the class. */
const double kAccepted[] = {1e308, -1e308, kDenormal, -kDenormal, DBL_MIN, -0.0};
/* Every hostile double. */
const double kHostile[] = {NAN, INFINITY, -INFINITY, 1e308, -1e308, kDenormal, -kDenormal};

void expect_refusal(const char *property) {
  std::string glob = std::string("*") + property + "*";
  g_test_expect_message("GLib-GObject", G_LOG_LEVEL_WARNING, glob.c_str());
}

/* Splits a dump into its lines (the text after the last line feed must be
 * empty) and frees it. */
std::vector<std::string> dump_lines(GString *dump) {
  g_assert_nonnull(dump);
  g_assert_cmpint(dump->len, >, 0);
  g_assert_cmpint(dump->str[dump->len - 1], ==, '\n');
  std::vector<std::string> lines;
  gchar **parts = g_strsplit(dump->str, "\n", -1);
  for (gchar **p = parts; *p; p++)
    lines.push_back(*p);
  g_strfreev(parts);
  g_string_free(dump, TRUE);
  lines.pop_back();
  return lines;
}

/* Counts below 1 fail the constructor's check, which returns NULL. */
template <typename Make>
void assert_counts_refused(const char *critical, Make make) {
  for (int n : {-1, G_MININT}) {
    kiv_expect_critical(critical);
    g_assert_null(make(n));
  }
  g_test_assert_expected_messages();
}

/* The read-only entry points of a one-dimensional function at hostile
 * arguments: bins stay within -1 ... nbin, and the dump has its header,
 * title and one line of two columns per bin. */
void exercise_reads(KivFunction *f) {
  const int nbin = f->nbin;
  for (double x : kHostile) {
    int b = kiv_function_find_bin(f, x);
    g_assert_cmpint(b, >=, -1);
    g_assert_cmpint(b, <=, nbin);
    (void)kiv_function_eval(f, x);
  }
  for (int ib : {G_MININT, -1, 0, nbin, G_MAXINT})
    (void)kiv_function_bin_center(f, ib);
  std::vector<std::string> lines = dump_lines(kiv_function_print(f));
  g_assert_cmpint(lines.size(), ==, nbin + 2);
  for (int i = 2; i < nbin + 2; i++)
    g_assert_nonnull(strchr(lines[i].c_str(), '\t'));
}

/* --- KivFunction ---------------------------------------------------------- */

void test_function_new() {
  /* Counts below 1 fail the check; above the property's range the count is
   * refused by GObject and stays 1. */
  assert_counts_refused("kiv_function_new: assertion 'nx>0' failed",
                        [](int n) { return kiv_function_new(n, 0.0, 1.0, NULL); });
  expect_refusal("nx");
  KivFunction *f = kiv_function_new(G_MAXINT, 0.0, 1.0, NULL);
  g_test_assert_expected_messages();
  g_assert_cmpint(f->nbin, ==, 1);
  exercise_reads(f);
  g_object_unref(f);
  f = kiv_function_new(999999, -1e308, 1e308, NULL);
  g_assert_cmpint(f->nbin, ==, 999999);
  g_object_unref(f);

  /* Limits that are no number are refused by GObject and leave the
   * instance's own (0 and 1). */
  for (double v : kRefused) {
    expect_refusal("xmin");
    f = kiv_function_new(4, v, 1.0, NULL);
    g_test_assert_expected_messages();
    g_assert_cmpfloat(f->xmin, ==, 0.0);
    exercise_reads(f);
    g_object_unref(f);
  }

  /* A range wider than the largest double has an infinite step: every
   * finite x falls in bin 0 and the array of its own range is empty. */
  f = kiv_function_new(10, -1e308, 1e308, NULL);
  g_assert_cmpfloat(f->step, ==, INFINITY);
  g_assert_cmpint(kiv_function_find_bin(f, 0.0), ==, 0);
  g_assert_cmpint(kiv_function_find_bin(f, 1e308), ==, -1);
  KivTuple t = {0, NULL};
  kiv_function_get_array(f, &t, f->xmin, f->xmax);
  g_assert_cmpint(t.n, ==, 0);
  g_assert_null(t.P);
  exercise_reads(f);
  g_object_unref(f);

  /* A range of one denormal in ten bins has a step of 0: no x falls in a
   * bin, and the array of its own range would need infinitely many points,
   * which is refused with a warning. */
  f = kiv_function_new(10, 0.0, kDenormal, NULL);
  g_assert_cmpfloat(f->step, ==, 0.0);
  g_assert_cmpint(kiv_function_find_bin(f, 0.0), ==, -1);
  g_assert_cmpint(kiv_function_find_bin(f, kDenormal), ==, 10);
  kiv_expect_warning("*inf points requested*refusing*");
  kiv_function_get_array(f, &t, 0.0, kDenormal);
  g_test_assert_expected_messages();
  g_assert_cmpint(t.n, ==, 0);
  exercise_reads(f);
  g_object_unref(f);
}

void test_function_properties() {
  KivFunction *f = kiv_function_new(10, 0.0, 1.0, NULL);
  for (int n : {0, -1, G_MININT, 1000000, G_MAXINT}) {
    expect_refusal("nx");
    g_object_set(f, "nx", n, NULL);
    g_test_assert_expected_messages();
    g_assert_cmpint(f->nbin, ==, 10);
  }
  /* Accepted limits are stored as given; the bin count never leaves
   * 1 ... 999999 and the reads stay in bounds. */
  for (double v : kAccepted) {
    g_object_set(f, "xmin", 0.0, "xmax", 1.0, NULL);
    g_object_set(f, "xmax", v, NULL);
    g_assert_cmpfloat(kiv_function_get_xmax(f), ==, v == 0.0 ? 10.0 : v);
    g_assert_cmpint(f->nbin, ==, 10);
    exercise_reads(f);
    g_object_set(f, "xmin", v, "xmax", 1.0, NULL);
    exercise_reads(f);
  }
  /* A step from an accepted double gives no usable bin count and is
   * refused by the class. */
  g_object_set(f, "xmin", -1e308, "xmax", 1e308, NULL);
  for (double s : {1e308, -1e308, kDenormal, DBL_MIN}) {
    kiv_expect_warning("KivFunction: xstep * gives no bin count from 1 to 999999*ignored");
    g_object_set(f, "xstep", s, NULL);
    g_test_assert_expected_messages();
    g_assert_cmpint(f->nbin, ==, 10);
  }
  g_object_unref(f);
}

/* Requested ranges of a point array: whatever they are, the array is
 * empty or a bounded number of points, and a request for too many is
 * refused with a warning. */
void test_function_array() {
  KivFunction *f = kiv_function_new(4, 0.0, 1.0, NULL);
  KivTuple t = {0, NULL};
  const double empty[][2] = {{INFINITY, INFINITY}, {-INFINITY, -INFINITY}, {0.0, kDenormal},
                             {1e308, -1e308},      {INFINITY, -INFINITY},  {NAN, NAN}};
  for (const auto &r : empty) {
    kiv_function_get_array(f, &t, r[0], r[1]);
    g_assert_cmpint(t.n, ==, 0);
    g_assert_null(t.P);
  }
  const double huge[][2] = {{-INFINITY, INFINITY}, {0.0, INFINITY}, {-1e308, 1e308}, {0.0, 1e308}};
  for (const auto &r : huge) {
    kiv_expect_warning("*points requested*refusing");
    kiv_function_get_array(f, &t, r[0], r[1]);
    g_test_assert_expected_messages();
    g_assert_cmpint(t.n, ==, 0);
  }
  /* Points far out still evaluate at the requested abscissas. */
  kiv_function_get_array(f, &t, 1e15, 1e15 + 1.0);
  g_assert_cmpint(t.n, ==, 4);
  g_assert_cmpfloat(t.P[3].x, ==, 1e15 + 0.75);
  kiv_function_clear_tuple(&t);
  kiv_expect_critical("kiv_function_get_array: assertion 't != NULL' failed");
  kiv_function_get_array(f, NULL, 0.0, 1.0);
  kiv_expect_critical("kiv_function_clear_tuple: assertion 't != NULL' failed");
  kiv_function_clear_tuple(NULL);
  g_test_assert_expected_messages();
  g_object_unref(f);
}

/* Names reach the dump byte for byte, without quoting or escaping:
 * markup, entities and very long names come back unchanged, and a name
 * with a tab or a line feed shows them as they are. */
void test_function_names() {
  KivFunction *a = kiv_function_new(2, 0.0, 1.0, NULL);
  KivFunction *b = kiv_function_new(2, 0.0, 1.0, NULL);
  GList *l = g_list_append(g_list_append(NULL, a), b);
  std::string long_name(300, 'n'), huge_name(100000, '<');
  const std::string names[] = {"<b",          "&",     "</i>unbalanced<b>", "&amp;&lt;", "<span x='",
                               long_name,     huge_name, "\xc3\xa9t\xc3\xa9", "\xff\xfe",  "%s%n%d"};
  for (const std::string &n : names) {
    kiv_function_set_name(a, n.c_str());
    gchar *back = kiv_function_get_name(a);
    g_assert_cmpstr(back, ==, n.c_str());
    g_free(back);
    std::vector<std::string> lines = dump_lines(kiv_function_print_list(l));
    g_assert_cmpint(lines.size(), ==, 4);
    g_assert_true(lines[1] == "\"X\"\t\"" + n + "\"\t\"Function_1\"");
    g_assert_true(lines[2] == "0.250000\t0.000000\t0.000000");
  }

  kiv_function_set_name(a, "two\tcolumns");
  kiv_function_set_name(b, "two\nlines");
  std::vector<std::string> lines = dump_lines(kiv_function_print_list(l));
  g_assert_cmpint(lines.size(), ==, 5);
  g_assert_true(lines[1] == "\"X\"\t\"two\tcolumns\"\t\"two");
  g_assert_true(lines[2] == "lines\"");
  g_list_free(l);
  g_object_unref(a);
  g_object_unref(b);
}

/* --- KivFunction2D -------------------------------------------------------- */

void test_function2d_new() {
  assert_counts_refused("kiv_function2d_new: assertion 'nx>0' failed",
                        [](int n) { return kiv_function2d_new(n, 0, 1, 2, 0, 1, NULL); });
  assert_counts_refused("kiv_function2d_new: assertion 'ny>0' failed",
                        [](int n) { return kiv_function2d_new(2, 0, 1, n, 0, 1, NULL); });
  expect_refusal("ny");
  KivFunction2D *f = kiv_function2d_new(2, 0, 1, 1000000, 0, 1, NULL);
  g_test_assert_expected_messages();
  g_assert_cmpint(kiv_function2d_Y(f)->nbin, ==, 1);
  g_object_unref(f);

  for (double v : kRefused) {
    expect_refusal("ymax");
    f = kiv_function2d_new(2, 0, 1, 3, 0, v, NULL);
    g_test_assert_expected_messages();
    g_assert_cmpfloat(kiv_function2d_Y(f)->xmax, ==, 1.0);
    g_object_unref(f);
  }
  /* Accepted limits: the grid keeps its counts and the dump its shape. */
  for (double v : kAccepted) {
    if (v == 0.0)
      continue;
    f = kiv_function2d_new(3, -v, v, 2, 0, v, NULL);
    KivFunction *X = kiv_function2d_X(f), *Y = kiv_function2d_Y(f);
    g_assert_cmpint(X->nbin, ==, 3);
    g_assert_cmpint(Y->nbin, ==, 2);
    for (double x : kHostile)
      g_assert_cmpfloat(kiv_function2d_eval(f, x, x), ==, 0.0);
    std::vector<std::string> lines = dump_lines(kiv_function_print(X));
    g_assert_cmpint(lines.size(), ==, 3);
    for (int i = 1; i < 3; i++) {
      gchar **cols = g_strsplit(lines[i].c_str(), "\t", -1);
      g_assert_cmpint(g_strv_length(cols), ==, 3);
      g_strfreev(cols);
    }
    g_object_unref(f);
  }
}

/* --- KivStats ------------------------------------------------------------- */

/* Sums take what IEEE arithmetic gives, so a NaN or an infinity shows in
 * the mean; the figures a display shows as they are never become NaN: the
 * extrema skip NaN, the standard deviation is 0 when the variance is no
 * number, and so is a correlation that cannot be computed. */
void test_stats_add() {
  KivStats *s = kiv_stats_new();
  for (double v : kHostile) {
    for (int role = 0; role < 3; role++) {
      kiv_stats_reset(s);
      double x[] = {1.0, 2.0, 3.0}, y[] = {2.0, 1.0, 5.0}, w[] = {1.0, 1.0, 1.0};
      double *target = role == 0 ? x : role == 1 ? y : w;
      target[1] = v;
      for (int i = 0; i < 3; i++)
        kiv_stats_add(s, x[i], y[i], w[i]);
      for (int k = 0; k < 2; k++) {
        g_assert_false(std::isnan(kiv_stats_get_min(s, k)));
        g_assert_false(std::isnan(kiv_stats_get_max(s, k)));
        g_assert_false(std::isnan(kiv_stats_get_stdev(s, k)));
        g_assert_cmpfloat(kiv_stats_get_stdev(s, k), >=, 0.0);
      }
      double c = kiv_stats_get_correlation(s);
      g_assert_true(std::isnan(c) || (c >= -1.0 - 1e-9 && c <= 1.0 + 1e-9) ||
                    std::isinf(kiv_stats_get_nc(s)) || std::isnan(kiv_stats_get_nc(s)));
      if (role == 0 && !std::isnan(v)) {
        g_assert_cmpfloat(kiv_stats_get_min(s, 0), ==, MIN(v, 1.0));
        g_assert_cmpfloat(kiv_stats_get_max(s, 0), ==, MAX(v, 3.0));
      }
      if (role == 0 && std::isnan(v)) {
        g_assert_cmpfloat(kiv_stats_get_min(s, 0), ==, 1.0);
        g_assert_true(std::isnan(kiv_stats_get_mean(s, 0)));
      }
    }
  }
  /* A denormal weight counts as the tiny weight it is. */
  kiv_stats_reset(s);
  kiv_stats_add(s, 5.0, 0.0, kDenormal);
  g_assert_cmpfloat(kiv_stats_get_nc(s), ==, kDenormal);
  g_assert_cmpfloat(kiv_stats_get_mean(s, 0), ==, 5.0);
  for (int w : {G_MININT, G_MAXINT}) {
    kiv_expect_critical("kiv_stats_get_rms: assertion '(w>=0&&w<2)' failed");
    g_assert_cmpfloat(kiv_stats_get_rms(s, w), ==, 0.0);
  }
  g_test_assert_expected_messages();
  g_object_unref(s);
}

/* --- KivHistogram --------------------------------------------------------- */

/* Fills at every hostile abscissa and weight: nothing lands outside the
 * contents (the sanitizers watch), and the reads keep their bounds. */
void fill_hostile(KivHistogram *h) {
  double before = kiv_histogram_entries(h);
  for (double x : kHostile)
    kiv_histogram_fill(h, x, 1.0);
  /* A plain histogram counts every value in its statistics. */
  if (G_OBJECT_TYPE(h) == KIV_TYPE_HISTOGRAM && std::isfinite(before))
    g_assert_cmpfloat(kiv_histogram_entries(h), ==, before + G_N_ELEMENTS(kHostile));
  for (double w : kHostile)
    kiv_histogram_fill(h, 0.5 * (KIV_FUNCTION(h)->xmin + KIV_FUNCTION(h)->xmax), w);
  KivTuple t = {0, NULL};
  kiv_function_get_array(KIV_FUNCTION(h), &t, -INFINITY, INFINITY);
  /* Bins from the clamped lookups of the two ends: all of them, fewer
   * where a step of 0 or infinity sends both ends to one bin, or none
   * where a reversed range puts the ends in reverse order. */
  g_assert_true(t.n == 0 || t.n % 3 == 1);
  g_assert_cmpint(t.n, <=, 3 * KIV_FUNCTION(h)->nbin + 1);
  kiv_function_clear_tuple(&t);
  exercise_reads(KIV_FUNCTION(h));
}

void test_histogram_new() {
  assert_counts_refused("kiv_histogram_new: assertion 'n>0' failed",
                        [](int n) { return kiv_histogram_new(n, 0.0, 1.0, NULL); });

  /* Above the property's range: refused by GObject, one bin, usable. */
  for (int n : {1000000, G_MAXINT}) {
    expect_refusal("nx");
    KivHistogram *h = kiv_histogram_new(n, 0.0, 1.0, NULL);
    g_test_assert_expected_messages();
    g_assert_cmpint(KIV_FUNCTION(h)->nbin, ==, 1);
    g_assert_cmpfloat(KIV_FUNCTION(h)->step, ==, 1.0);
    fill_hostile(h);
    g_object_unref(h);
  }
  KivHistogram *h = kiv_histogram_new(999999, 0.0, 1.0, NULL);
  kiv_histogram_fill(h, 0.9999995, 2.0);
  g_assert_cmpfloat(h->y[999999 - 1], ==, 2.0);
  g_object_unref(h);

  for (double v : kRefused) {
    expect_refusal("xmax");
    h = kiv_histogram_new(4, 0.0, v, NULL);
    g_test_assert_expected_messages();
    g_assert_cmpfloat(KIV_FUNCTION(h)->xmax, ==, 1.0);
    fill_hostile(h);
    g_object_unref(h);
  }
  /* Limits the constructor takes as given, equal ones included: the
   * statistics count every fill, the contents only those that find a
   * bin. */
  const double limits[][2] = {{-1e308, 1e308}, {0.0, kDenormal}, {kDenormal, 0.0},
                              {0.0, 0.0},      {1e308, 1e308},   {-kDenormal, kDenormal}};
  for (const auto &lim : limits) {
    h = kiv_histogram_new(5, lim[0], lim[1], NULL);
    fill_hostile(h);
    g_object_unref(h);
  }
}

/* Denormal, negative-zero and alternating huge weights. */
void test_histogram_fill() {
  KivHistogram *h = kiv_histogram_new(4, 0.0, 4.0, NULL);
  kiv_histogram_fill(h, 0.5, kDenormal);
  kiv_histogram_fill(h, 1.5, -0.0);
  kiv_histogram_fill(h, 2.5, 1e308);
  kiv_histogram_fill(h, 2.5, -1e308);
  g_assert_cmpfloat(h->y[0], ==, kDenormal);
  g_assert_cmpfloat(kiv_histogram_vmax(h), ==, 1e308);
  g_assert_cmpfloat(h->y[2], ==, 0.0);
  g_assert_cmpfloat(h->y[1], ==, 0.0);
  /* -0.0 is not below 0: vmin stays. */
  g_assert_cmpfloat(kiv_histogram_vmin(h), ==, 0.0);
  /* The denormal is lost against 1e308 in the weight sum. */
  g_assert_cmpfloat(kiv_histogram_entries(h), ==, 0.0);
  g_object_unref(h);
}

void test_histogram_bin_content() {
  KivHistogram *h = kiv_histogram_new(4, 0.0, 4.0, NULL);
  for (int ib : {G_MININT, 4, G_MAXINT}) {
    kiv_expect_critical("kiv_histogram_get_bin_content: assertion 'ibin>=0 && ibin<nbin' failed");
    g_assert_cmpfloat(kiv_histogram_get_bin_content(h, ib), ==, 0.0);
    kiv_expect_critical("kiv_histogram_set_bin_content: assertion 'ibin>=0 && ibin<nbin' failed");
    kiv_histogram_set_bin_content(h, ib, 1.0);
  }
  g_test_assert_expected_messages();
  /* Values are stored as given; recomputing the statistics from them
   * leaves the extreme contents free of NaN. */
  const double values[] = {NAN, INFINITY, -1e308, kDenormal};
  for (int i = 0; i < 4; i++)
    kiv_histogram_set_bin_content(h, i, values[i]);
  g_assert_true(std::isnan(kiv_histogram_get_bin_content(h, 0)));
  g_assert_cmpfloat(kiv_histogram_get_bin_content(h, 3), ==, kDenormal);
  g_object_set(h, "stats", 0, NULL);
  g_assert_cmpfloat(kiv_histogram_vmax(h), ==, INFINITY);
  g_assert_cmpfloat(kiv_histogram_vmin(h), ==, -1e308);
  g_object_unref(h);
}

/* kiv_histogram_resize takes its limits directly, without the property
 * system's range check: NaN and infinite limits are stored, and the
 * histogram stays usable with contents of the right size. */
void test_histogram_resize() {
  KivHistogram *h = kiv_histogram_new(4, 0.0, 4.0, NULL);
  for (double lo : kHostile) {
    for (double hi : {1.0, double(INFINITY), double(NAN), kDenormal}) {
      kiv_histogram_resize(h, 3, lo, hi);
      g_assert_cmpint(KIV_FUNCTION(h)->nbin, ==, 3);
      fill_hostile(h);
      g_assert_cmpint(kiv_function_get_npts(KIV_FUNCTION(h)), ==, 3);
    }
  }
  kiv_histogram_resize(h, G_MININT, 0.0, 1.0);
  g_assert_cmpint(KIV_FUNCTION(h)->nbin, ==, 3);
  kiv_expect_warning("kiv_histogram_resize: 2147483647 bins is more than 999999; keeping 3 bins");
  kiv_histogram_resize(h, G_MAXINT, 0.0, 1.0);
  g_test_assert_expected_messages();
  g_assert_cmpint(KIV_FUNCTION(h)->nbin, ==, 3);
  /* From such a binning, a rebin to a sane one is safe too. */
  kiv_histogram_resize(h, 3, NAN, INFINITY);
  h->y[1] = 5.0;
  kiv_histogram_rebin(h, 2, 0.0, 1.0);
  g_assert_cmpint(KIV_FUNCTION(h)->nbin, ==, 2);
  g_object_unref(h);
}

/* A caller's array with hostile contents: the histogram works in place
 * and never writes past the nbin values it was told about. */
void test_histogram_ptr() {
  std::vector<double> data = {NAN, INFINITY, -INFINITY, 1e308, kDenormal, -0.0, 0.0};
  /* A canary just past the contents. */
  data.push_back(123.0);
  KivHistogram *h = kiv_histogram_new(7, 0.0, 7.0, data.data());
  g_assert_cmpint(h->owner, ==, 0);
  g_assert_cmpfloat(kiv_histogram_vmax(h), ==, INFINITY);
  g_assert_cmpfloat(kiv_histogram_vmin(h), ==, -INFINITY);
  fill_hostile(h);
  kiv_histogram_reset(h);
  for (int i = 0; i < 7; i++)
    g_assert_cmpfloat(data[i], ==, 0.0);
  g_assert_cmpfloat(data[7], ==, 123.0);
  KivHistogram *c = kiv_histogram_clone(h);
  g_assert_cmpint(c->owner, ==, 1);
  g_object_unref(c);
  g_object_unref(h);
  g_assert_cmpfloat(data[7], ==, 123.0);
}

/* --- KivProfile ----------------------------------------------------------- */

void test_profile() {
  assert_counts_refused("kiv_profile_new: assertion 'n>0' failed",
                        [](int n) { return kiv_profile_new(n, 0.0, 1.0, NULL); });
  expect_refusal("nx");
  KivProfile *p = kiv_profile_new(G_MAXINT, 0.0, 1.0, NULL);
  g_test_assert_expected_messages();
  g_assert_cmpint(KIV_FUNCTION(p)->nbin, ==, 1);
  double *n = NULL;
  g_object_get(p, "ntotal", &n, NULL);
  g_assert_cmpfloat(n[0], ==, 0.0);
  g_free(n);
  g_object_unref(p);

  /* Hostile values and weights reach a bin's sums as the arithmetic gives
   * them; bins filled only with sane ones are untouched, and the reads
   * of the per-bin figures stay in bounds. */
  p = kiv_profile_new(8, 0.0, 8.0, NULL);
  int b = 0;
  for (double v : kHostile) {
    kiv_profile_fill(p, b + 0.5, v, 1.0);
    kiv_profile_fill(p, b + 1.5, 2.0, v);
    b += 2;
    if (b >= 8)
      b = 0;
  }
  double *rms = NULL;
  g_object_get(p, "rms", &rms, "ntotal", &n, NULL);
  g_free(rms);
  g_free(n);
  fill_hostile(KIV_HISTOGRAM(p));
  g_object_unref(p);

  /* A denormal weight is a weight: the mean is the value filled. */
  p = kiv_profile_new(1, 0.0, 1.0, NULL);
  kiv_profile_fill(p, 0.5, 3.0, kDenormal);
  g_assert_cmpfloat(KIV_HISTOGRAM(p)->y[0], ==, 3.0);
  g_assert_cmpfloat(p->n[0], ==, kDenormal);
  g_object_unref(p);
}

/* --- KivTracer ------------------------------------------------------------ */

void test_tracer() {
  assert_counts_refused("kiv_tracer_new: assertion 'n>0' failed",
                        [](int n) { return kiv_tracer_new(n); });

  /* Above the property's range: "nx" is refused by GObject and the length
   * that "xmax" asks for is refused by the re-size; one place, usable. */
  expect_refusal("nx");
  kiv_expect_warning("kiv_histogram_resize: 1000000 bins is more than 999999; keeping 1 bins");
  KivTracer *tr = kiv_tracer_new(1000000);
  g_test_assert_expected_messages();
  KivFunction *f = KIV_FUNCTION(tr);
  g_assert_cmpint(f->nbin, ==, 1);
  for (double v : kHostile)
    kiv_histogram_fill(KIV_HISTOGRAM(tr), v, v);
  KivTuple t = {0, NULL};
  kiv_function_get_array(f, &t, 0.0, 0.0);
  g_assert_cmpint(t.n, ==, 1);
  g_assert_cmpfloat(t.P[0].y, ==, -kDenormal);
  kiv_function_clear_tuple(&t);
  g_object_unref(tr);

  /* "xmax" from hostile doubles: refused by GObject, or truncated to a
   * length that the re-size keeps or refuses; the ring never changes to
   * a length outside 1 ... 999999. */
  tr = kiv_tracer_new(4);
  f = KIV_FUNCTION(tr);
  for (double v : kRefused) {
    expect_refusal("xmax");
    g_object_set(tr, "xmax", v, NULL);
    g_test_assert_expected_messages();
    g_assert_cmpint(f->nbin, ==, 4);
  }
  kiv_expect_warning("kiv_histogram_resize: 2147483647 bins is more than 999999; keeping 4 bins");
  g_object_set(tr, "xmax", 1e308, NULL);
  g_test_assert_expected_messages();
  for (double v : {-1e308, kDenormal, -kDenormal, 0.999}) {
    g_object_set(tr, "xmax", v, NULL);
    g_assert_cmpint(f->nbin, ==, 4);
  }
  for (double v : {1.0, 2.0, 3.0, 4.0, 5.0})
    kiv_histogram_fill(KIV_HISTOGRAM(tr), v, 1.0);
  kiv_function_get_array(f, &t, 0.0, 0.0);
  g_assert_cmpint(t.n, ==, 4);
  g_assert_cmpfloat(t.P[3].y, ==, 5.0);
  kiv_function_clear_tuple(&t);
  exercise_reads(f);
  g_object_unref(tr);
}

/* --- KivGraph ------------------------------------------------------------- */

void test_graph() {
  /* The largest and the first refused bin count of the other classes. */
  for (int n : {999999, 1000000}) {
    KivGraph *g = kiv_graph_new(n, NULL, NULL);
    g_assert_cmpint(KIV_FUNCTION(g)->nbin, ==, n);
    g_assert_cmpfloat(kiv_function_eval(KIV_FUNCTION(g), n + 5.0), ==, 0.0);
    g_object_unref(g);
  }
  KivGraph *g = kiv_graph_new(G_MININT, NULL, NULL);
  g_assert_cmpint(KIV_FUNCTION(g)->nbin, ==, 0);
  g_object_unref(g);

  /* Hostile abscissas and values, in and out of order: evaluation returns
   * a number or NaN, never reads outside the points. */
  const double xs[][4] = {{NAN, 0, 1, 2},         {0, NAN, 1, 2},       {-INFINITY, 0, 1, INFINITY},
                          {-1e308, 0, 1e308, 1e308}, {0, kDenormal, 2 * kDenormal, 1}, {3, 2, 1, 0}};
  const double ys[][4] = {{0, 1, 2, 3}, {NAN, 1, 2, 3}, {0, INFINITY, -INFINITY, 1}, {1e308, -1e308, 1e308, 0}};
  for (const auto &x : xs) {
    for (const auto &y : ys) {
      g = kiv_graph_new(4, const_cast<double *>(x), const_cast<double *>(y));
      for (double at : kHostile)
        (void)kiv_function_eval(KIV_FUNCTION(g), at);
      for (double at : {0.5, 1.0, 1.5})
        (void)kiv_function_eval(KIV_FUNCTION(g), at);
      KivTuple t = {0, NULL};
      kiv_function_get_array(KIV_FUNCTION(g), &t, NAN, NAN);
      g_assert_cmpint(t.n, ==, 4);
      kiv_function_clear_tuple(&t);
      g_object_unref(g);
    }
  }
  /* Between finite points the interpolation stays finite. */
  double x[] = {-1e308, kDenormal, 1e308}, y[] = {-1e308, 0.0, 1e308};
  g = kiv_graph_new(3, x, y);
  for (double at : {-5e307, 0.0, kDenormal, 1e307, 1e308})
    g_assert_true(std::isfinite(kiv_function_eval(KIV_FUNCTION(g), at)));
  g_object_unref(g);
}

/* --- KivHistogram2D ------------------------------------------------------- */

void test_histogram2d_new_and_fill() {
  assert_counts_refused("kiv_histogram2d_new: assertion 'nx>0' failed",
                        [](int n) { return kiv_histogram2d_new(n, 0, 1, 2, 0, 1, NULL); });
  assert_counts_refused("kiv_histogram2d_new: assertion 'ny>0' failed",
                        [](int n) { return kiv_histogram2d_new(2, 0, 1, n, 0, 1, NULL); });

  /* A count above the property's range is refused by GObject; the cells
   * are laid out for the counts in force. */
  expect_refusal("nx");
  KivHistogram2D *h = kiv_histogram2d_new(1000000, 0, 1, 3, 0, 1, NULL);
  g_test_assert_expected_messages();
  g_assert_cmpint(KIV_FUNCTION(h)->nbin, ==, 1);
  kiv_histogram2d_fill(h, 0.5, 0.9, 2.0);
  g_assert_cmpfloat(kiv_histogram2d_get_cell_content(h, 0, 2), ==, 2.0);
  g_object_unref(h);

  /* Hostile limits: every fill lands in a cell or nowhere; the value at
   * any point reads a cell. */
  const double limits[][4] = {{-1e308, 1e308, 0, 1}, {0, kDenormal, 0, 1},  {0, 1, kDenormal, 0},
                              {0, 0, 0, 0},          {1e308, -1e308, 1, 0}, {-kDenormal, kDenormal, -1e308, 1e308}};
  for (const auto &lim : limits) {
    h = kiv_histogram2d_new(3, lim[0], lim[1], 2, lim[2], lim[3], NULL);
    for (double x : kHostile)
      for (double y : kHostile)
        kiv_histogram2d_fill(h, x, y, 1.0);
    kiv_histogram2d_fill(h, 0.5 * (lim[0] + lim[1]), 0.5 * (lim[2] + lim[3]), kDenormal);
    for (double x : kHostile)
      (void)kiv_function2d_eval(KIV_FUNCTION2D(h), x, -x);
    std::vector<std::string> lines = dump_lines(kiv_function_print(KIV_FUNCTION(h)));
    g_assert_cmpint(lines.size(), ==, 3);
    KivHistogram2D *c = kiv_histogram2d_clone(h);
    g_assert_nonnull(c);
    g_object_unref(c);
    g_object_unref(h);
  }
  for (double v : kRefused) {
    expect_refusal("ymin");
    h = kiv_histogram2d_new(2, 0, 1, 2, v, 1, NULL);
    g_test_assert_expected_messages();
    g_object_unref(h);
  }
}

void test_histogram2d_cells() {
  KivHistogram2D *h = kiv_histogram2d_new(3, 0, 1, 2, 0, 1, NULL);
  for (int i : {G_MININT, 3, G_MAXINT}) {
    kiv_expect_critical("kiv_histogram2d_get_cell_content: assertion 'ix >= 0*' failed");
    g_assert_cmpfloat(kiv_histogram2d_get_cell_content(h, i, 0), ==, 0.0);
  }
  for (int i : {G_MININT, 2, G_MAXINT}) {
    kiv_expect_critical("kiv_histogram2d_get_cell_content: assertion 'iy >= 0*' failed");
    g_assert_cmpfloat(kiv_histogram2d_get_cell_content(h, 0, i), ==, 0.0);
  }
  g_test_assert_expected_messages();
  /* Cell numbers outside the grid follow the arithmetic, saturated. */
  g_assert_cmpint(kiv_function2d_find_bin_from_cell(KIV_FUNCTION2D(h), G_MAXINT, G_MAXINT), ==,
                  G_MAXINT);
  g_assert_cmpint(kiv_function2d_find_bin_from_cell(KIV_FUNCTION2D(h), G_MININT, G_MININT), ==,
                  G_MININT);
  int ix = 0, iy = 0;
  kiv_function2d_find_cell_from_bin(KIV_FUNCTION2D(h), G_MININT, &ix, &iy);
  g_assert_cmpint(ix + 3 * iy, ==, G_MININT);
  g_object_unref(h);
}

} // namespace

int main(int argc, char **argv) {
  g_test_init(&argc, &argv, NULL);
  g_test_add_func("/hostile/function/new", test_function_new);
  g_test_add_func("/hostile/function/properties", test_function_properties);
  g_test_add_func("/hostile/function/array", test_function_array);
  g_test_add_func("/hostile/function/names", test_function_names);
  g_test_add_func("/hostile/function2d/new", test_function2d_new);
  g_test_add_func("/hostile/stats/add", test_stats_add);
  g_test_add_func("/hostile/histogram/new", test_histogram_new);
  g_test_add_func("/hostile/histogram/fill", test_histogram_fill);
  g_test_add_func("/hostile/histogram/bin-content", test_histogram_bin_content);
  g_test_add_func("/hostile/histogram/resize", test_histogram_resize);
  g_test_add_func("/hostile/histogram/ptr", test_histogram_ptr);
  g_test_add_func("/hostile/profile", test_profile);
  g_test_add_func("/hostile/tracer", test_tracer);
  g_test_add_func("/hostile/graph", test_graph);
  g_test_add_func("/hostile/histogram2d/new-and-fill", test_histogram2d_new_and_fill);
  g_test_add_func("/hostile/histogram2d/cells", test_histogram2d_cells);
  return g_test_run();
}
