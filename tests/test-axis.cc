/* Tests of the axis helpers: getbins (round divisions, in single
 * precision) and get_order_of_magnitude (the axis multiplier). */
#include "kiv-test.h"

#include <cfloat>
#include <cstdint>

namespace {

struct Bins {
  float low, high, width;
  int n;
};

/* Outputs are poisoned first, so that a path that forgets one shows. */
Bins bins(float wmin, float wmax, int nold, float width_in = NAN) {
  Bins b = {NAN, NAN, width_in, -12345};
  getbins(wmin, wmax, nold, &b.low, &b.high, &b.n, &b.width);
  return b;
}

void assert_bins(const Bins &b, float low, float high, float width, int n) {
  g_assert_cmpfloat_with_epsilon(b.low, low, fabsf(width) * 1e-5f);
  g_assert_cmpfloat_with_epsilon(b.high, high, fabsf(width) * 1e-5f);
  g_assert_cmpfloat_with_epsilon(b.width, width, fabsf(width) * 1e-6f);
  g_assert_cmpint(b.n, ==, n);
}

void test_getbins_worked_values() {
  assert_bins(bins(0, 10, 10), 0, 10, 1, 10);
  assert_bins(bins(0.5f, 9.5f, 10), 1, 9, 1, 8);
  /* The scaled width is exactly 1 in single precision and takes the
   * first rule, not the second. */
  Bins b = bins(0, 1, 10);
  g_assert_cmpfloat(b.width, ==, 0.1f);
  assert_bins(b, 0, 1, 0.1f, 10);
  /* Five divisions of 5 are half of the ten wished for: retried with 11. */
  assert_bins(bins(0, 20.5f, 10), 0, 20, 2, 10);
  assert_bins(bins(0, 7, 10), 0, 7, 1, 7);
  assert_bins(bins(0, 2, 5), 0, 2, 0.5f, 4);
  assert_bins(bins(-3.7f, 12.2f, 10), -2, 12, 2, 7);
  /* Equal limits become one unit wide. */
  assert_bins(bins(5, 5, 10), 5, 6, 0.1f, 10);
  /* Reversed limits: the trim compares with Wmin = 10 and moves in. */
  assert_bins(bins(10, 0, 10), 1, 10, 1, 9);
  /* Fixed width: the caller's width is kept. */
  b = bins(0, 10, -1, 2.5f);
  assert_bins(b, 0, 10, 2.5f, 4);
  g_assert_cmpfloat(b.width, ==, 2.5f);
}

void test_getbins_other_ranges() {
  /* Negative limits: an exact negative multiple starts one division
   * further down before the trim brings it back. */
  assert_bins(bins(-10, -1, 10), -10, -1, 1, 9);
  assert_bins(bins(-1, 1, 10), -1, 1, 0.2f, 10);
  assert_bins(bins(-250, 250, 10), -250, 250, 50, 10);
  /* Reversed and negative. */
  assert_bins(bins(-1, -10, 10), -10, -1, 1, 9);
  /* Tiny and huge ranges keep 1-2-5 widths. */
  assert_bins(bins(1e-6f, 9e-6f, 10), 1e-6f, 9e-6f, 1e-6f, 8);
  assert_bins(bins(0, 3e20f, 10), 0, 3e20f, 5e19f, 6);
  assert_bins(bins(1e29f, 1e30f, 10), 1e29f, 1e30f, 1e29f, 9);
  /* The chart's minor divisions: 0 to the major width in 5. */
  assert_bins(bins(0, 2, 5), 0, 2, 0.5f, 4);
  assert_bins(bins(0, 0.2f, 5), 0, 0.2f, 0.05f, 4);
  /* A short axis asks for 5 divisions and is not retried at half. */
  assert_bins(bins(0, 10, 5), 0, 10, 2, 5);
  /* One division or fewer asked for: 0 to 10 in 2 nominal divisions of 5
   * gives limits 0 and 15; the width is doubled to 10 and the count forced
   * to 1 without recomputing the limits, and the trim then pulls 15 down
   * by the doubled width. */
  assert_bins(bins(0, 10, 1), 0, 5, 10, 0);
  assert_bins(bins(0, 10, 0), 0, 5, 10, 0);
  /* Nold = -1 without a usable width is the normal mode with two. */
  assert_bins(bins(0, 10, -1, 0.0f), 0, 5, 10, 0);
}

/* Whatever the range, divisions are 1, 2 or 5 times a power of ten and the
 * limits are the first and last multiples of it inside the range. */
void test_getbins_invariants() {
  GRand *r = g_rand_new_with_seed(20061);
  for (int i = 0; i < 20000; i++) {
    double scale = pow(10.0, g_rand_double_range(r, -20, 20));
    float a = (float)(g_rand_double_range(r, -1, 1) * scale);
    float c = (float)(g_rand_double_range(r, -1, 1) * scale);
    float wmin = fminf(a, c), wmax = fmaxf(a, c);
    if (!(wmax - wmin > fmaxf(fabsf(wmin), fabsf(wmax)) * 1e-2f))
      continue;
    int nold = g_rand_int_range(r, 2, 30);
    Bins b = bins(wmin, wmax, nold);
    double mant = b.width / pow(10.0, floor(log10(b.width) + 1e-6));
    g_assert_true(fabs(mant - 1) < 1e-5 || fabs(mant - 2) < 1e-5 || fabs(mant - 5) < 1e-5);
    double t = b.width * 1e-4 + fabs(b.low) * 2e-7;
    double th = b.width * 1e-4 + fabs(b.high) * 2e-7;
    g_assert_cmpfloat(b.low, >=, wmin - t);
    g_assert_cmpfloat(b.low - b.width, <, wmin + t);
    g_assert_cmpfloat(b.high, <=, wmax + th);
    g_assert_cmpfloat(b.high + b.width, >, wmax - th);
    double q = (b.high - b.low) / b.width;
    g_assert_cmpfloat(fabs(q - b.n), <, 1e-2);
    g_assert_cmpint(b.n, <=, 2 * nold + 1);
  }
  g_rand_free(r);
}

/* The cases the algorithm leaves open: every output is written, widths are
 * positive and finite, so a caller stepping from the low limit ends. */
void assert_usable(const Bins &b) {
  g_assert_true(std::isfinite(b.low) && std::isfinite(b.high));
  g_assert_true(std::isfinite(b.width) && b.width > 0);
  g_assert_cmpint(b.n, >=, 0);
  int steps = 0;
  for (float v = b.low; v <= b.high && steps < 100; v += b.width)
    steps++;
  g_assert_cmpint(steps, <, 100);
}

void test_getbins_open_cases() {
  /* Equal limits beyond 2^24 do not separate by adding 1: they are opened
   * by one unit of their leading decade. */
  Bins b = bins(1e20f, 1e20f, 10);
  assert_usable(b);
  assert_bins(b, 1e20f, 2e20f, 1e19f, 10);
  b = bins(-3e7f, -3e7f, 10);
  assert_usable(b);
  assert_bins(b, -3e7f, -2e7f, 1e6f, 10);
  /* At the top of the float range the unit is taken downward. */
  b = bins(FLT_MAX, FLT_MAX, 10);
  assert_usable(b);
  g_assert_cmpfloat(b.high, ==, FLT_MAX);
  g_assert_cmpfloat(b.low, <, FLT_MAX);
  /* Equal limits below 2^24 still follow the plain rule. */
  assert_bins(bins(1e6f, 1e6f, 10), 1e6f, 1e6f + 1, 0.1f, 10);

  /* A nominal width above 1e30 is not rounded: one division between the
   * limits as given (ordered), with no trim. */
  b = bins(-1e32f, 1e32f, 10);
  assert_usable(b);
  g_assert_cmpfloat(b.low, ==, -1e32f);
  g_assert_cmpfloat(b.high, ==, 1e32f);
  g_assert_cmpfloat(b.width, ==, 2e32f);
  g_assert_cmpint(b.n, ==, 1);
  b = bins(1e32f, -1e32f, 10);
  g_assert_cmpfloat(b.low, ==, -1e32f);
  g_assert_cmpfloat(b.high, ==, 1e32f);
  /* A range wider than the largest float gets the largest float as width. */
  b = bins(-3e38f, 3e38f, 10);
  assert_usable(b);
  g_assert_cmpfloat(b.width, ==, FLT_MAX);
  /* Infinite limits are the largest floats. */
  b = bins(-INFINITY, INFINITY, 10);
  assert_usable(b);
  g_assert_cmpfloat(b.low, ==, -FLT_MAX);
  g_assert_cmpfloat(b.high, ==, FLT_MAX);
  b = bins(0, INFINITY, 10);
  assert_usable(b);
  g_assert_cmpfloat(b.high, ==, FLT_MAX);

  /* NaN limits: one division from 0 to 1. */
  const float nan_limits[][2] = {{NAN, 1}, {0, NAN}, {NAN, NAN}};
  for (const auto &p : nan_limits) {
    b = bins(p[0], p[1], 10);
    assert_bins(b, 0, 1, 1, 1);
  }

  /* A range narrower than the smallest normal float has no decade. */
  b = bins(0, 1e-44f, 10);
  g_assert_cmpfloat(b.low, ==, 0);
  g_assert_cmpfloat(b.high, ==, 1e-44f);
  g_assert_cmpint(b.n, ==, 1);
  g_assert_cmpfloat(b.width, >, 0);

  /* A fixed width that is infinite is not usable: normal mode with 2. */
  b = bins(0, 10, -1, INFINITY);
  assert_bins(b, 0, 5, 10, 0);
  /* A fixed width far below the range saturates the counts, defined. */
  b = bins(-1e30f, 1e30f, -1, 1e-30f);
  g_assert_cmpfloat(b.width, ==, 1e-30f);
  g_assert_cmpint(b.n, >, 0);
}

/* The retry at half the wished-for count cannot hang when the count has
 * no float of its own any more. */
void test_getbins_huge_counts() {
  /* 2^25 wished, 2^24 found (divisions of 0.5 up to 2^23 - 0.5): the
   * retry with 2^25 + 1 gives the same nominal width in single precision
   * and would find the same half count for ever. */
  Bins b = bins(0, 8388607.5f, 1 << 25);
  assert_bins(b, 0, 8388607.5f, 0.5f, (1 << 24) - 1);
  b = bins(0, 1, G_MAXINT);
  g_assert_true(std::isfinite(b.low) && std::isfinite(b.high));
  g_assert_cmpfloat(b.width, >, 0);
  g_assert_cmpint(b.n, >, 0);
}

struct Order {
  double m, e;
};

Order order(double vmin, double vmax, double scale = 3.0) {
  Order o = {NAN, NAN};
  get_order_of_magnitude(vmin, vmax, scale, &o.m, &o.e);
  return o;
}

void test_order_of_magnitude() {
  const struct {
    double vmin, vmax, m, e;
  } cases[] = {
      {0, 5000, 5, 3},    {0, 999, 999, 0},    {0, 1000, 1, 3},
      {0, 0.5, 0.5, 0},   {0, 0.0005, 5e-07, 3}, {5000, 0, -5e+09, -6},
      {7, 7, 0, 0},       {-1e6, 1e6, 2, 6},   {0, 1e-9, 1e-18, 9},
      {2, 1, -1, 0},      {0, 123456789, 123.456789, 6},
  };
  for (const auto &c : cases) {
    Order o = order(c.vmin, c.vmax);
    g_assert_cmpfloat_with_epsilon(o.m, c.m, fabs(c.m) * 1e-12 + 1e-300);
    g_assert_cmpfloat(o.e, ==, c.e);
    g_assert_cmpfloat_with_epsilon(o.m * pow(10, o.e), c.vmax - c.vmin,
                                   fabs(c.vmax - c.vmin) * 1e-12 + 1e-300);
  }
  /* Another scale: exponents are whole multiples of it. */
  Order o = order(0, 5000, 1.0);
  g_assert_cmpfloat(o.e, ==, 3);
  g_assert_cmpfloat_with_epsilon(o.m, 5, 1e-12);

  /* A range or scale that is no finite number has exponent 0 and the
   * range as mantissa, never a NaN exponent. */
  o = order(0, NAN);
  g_assert_true(std::isnan(o.m));
  g_assert_cmpfloat(o.e, ==, 0);
  o = order(-1e308, 1e308);
  g_assert_true(std::isinf(o.m));
  g_assert_cmpfloat(o.e, ==, 0);
  o = order(0, INFINITY);
  g_assert_cmpfloat(o.e, ==, 0);
  for (double scale : {0.0, -3.0, (double)NAN, (double)INFINITY}) {
    o = order(0, 5000, scale);
    g_assert_cmpfloat(o.m, ==, 5000);
    g_assert_cmpfloat(o.e, ==, 0);
  }
}

} // namespace

int main(int argc, char **argv) {
  g_test_init(&argc, &argv, NULL);
  g_test_add_func("/axis/getbins/worked-values", test_getbins_worked_values);
  g_test_add_func("/axis/getbins/other-ranges", test_getbins_other_ranges);
  g_test_add_func("/axis/getbins/invariants", test_getbins_invariants);
  g_test_add_func("/axis/getbins/open-cases", test_getbins_open_cases);
  g_test_add_func("/axis/getbins/huge-counts", test_getbins_huge_counts);
  g_test_add_func("/axis/order-of-magnitude", test_order_of_magnitude);
  return g_test_run();
}
