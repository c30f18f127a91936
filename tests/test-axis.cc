/* Tests of the axis helpers: getbins (round divisions, in single
 * precision) and get_order_of_magnitude (the axis multiplier). */
#include "kiv-test.h"

#include <cfloat>

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

/* Every output is written and the width is positive and finite, so that a
 * caller stepping from the low limit ends. */
void assert_usable(const Bins &b) {
  g_assert_true(std::isfinite(b.low) && std::isfinite(b.high));
  g_assert_true(std::isfinite(b.width) && b.width > 0);
  g_assert_cmpint(b.n, >=, 0);
  int steps = 0;
  for (float v = b.low; v <= b.high && steps < 100; v += b.width)
    steps++;
  g_assert_cmpint(steps, <, 100);
}

void test_getbins_values() {
  const struct {
    float wmin, wmax;
    int nold;
    float win, low, high, width;
    int n;
  } cases[] = {
      {0, 10, 10, NAN, 0, 10, 1, 10},
      {0.5f, 9.5f, 10, NAN, 1, 9, 1, 8},
      /* The scaled width is exactly 1 in single precision: first rule. */
      {0, 1, 10, NAN, 0, 1, 0.1f, 10},
      /* Five divisions are half of the ten wished for: retried with 11. */
      {0, 20.5f, 10, NAN, 0, 20, 2, 10},

      {-3.7f, 12.2f, 10, NAN, -2, 12, 2, 7},
      /* Reversed limits: the trim compares with Wmin = 10 and moves in. */
      {10, 0, 10, NAN, 1, 10, 1, 9},
      {-1, -10, 10, NAN, -10, -1, 1, 9},
      /* An exact negative multiple starts one division further down
       * before the trim brings it back. */
      {-10, -1, 10, NAN, -10, -1, 1, 9},
      {-1, 1, 10, NAN, -1, 1, 0.2f, 10},
      {-250, 250, 10, NAN, -250, 250, 50, 10},
      {1e29f, 1e30f, 10, NAN, 1e29f, 1e30f, 1e29f, 9},
      /* The chart's minor divisions; a short axis is not retried at half. */
      {0, 2, 5, NAN, 0, 2, 0.5f, 4},
      {0, 10, 5, NAN, 0, 10, 2, 5},
      /* One division or fewer: 0 to 10 in 2 nominal divisions of 5 gives
       * limits 0 and 15; the width is doubled and the count forced to 1
       * without recomputing the limits, then the trim pulls 15 down by 10.
       * Nold = -1 without a usable width is the same. */
      {0, 10, 1, NAN, 0, 5, 10, 0},
      {0, 10, -1, 0.0f, 0, 5, 10, 0},
      {0, 10, -1, INFINITY, 0, 5, 10, 0},
      /* A usable fixed width is kept. */
      {0, 10, -1, 2.5f, 0, 10, 2.5f, 4},
      /* Equal limits are one unit apart; beyond 2^24 adding 1 does not
       * separate them, and one unit of their leading decade does. */
      {5, 5, 10, NAN, 5, 6, 0.1f, 10},
      {1e6f, 1e6f, 10, NAN, 1e6f, 1e6f + 1, 0.1f, 10},
      {1e20f, 1e20f, 10, NAN, 1e20f, 2e20f, 1e19f, 10},
      {-3e7f, -3e7f, 10, NAN, -3e7f, -2e7f, 1e6f, 10},
      /* A nominal width above 1e30 is not rounded: one division between
       * the ordered limits, no trim. */
      {-1e32f, 1e32f, 10, NAN, -1e32f, 1e32f, 2e32f, 1},
      {1e32f, -1e32f, 10, NAN, -1e32f, 1e32f, 2e32f, 1},
      /* NaN limits: one division from 0 to 1. */
      {NAN, 1, 10, NAN, 0, 1, 1, 1},
      {0, NAN, 10, NAN, 0, 1, 1, 1},
      /* 2^25 wished, 2^24 found: the retry with 2^25 + 1 has the same
       * nominal width in single precision and must not loop for ever. */
      {0, 8388607.5f, 1 << 25, NAN, 0, 8388607.5f, 0.5f, (1 << 24) - 1},
  };
  for (const auto &c : cases) {
    Bins b = bins(c.wmin, c.wmax, c.nold, c.win);
    g_assert_cmpfloat_with_epsilon(b.low, c.low, c.width * 1e-5f);
    g_assert_cmpfloat_with_epsilon(b.high, c.high, c.width * 1e-5f);
    g_assert_cmpfloat_with_epsilon(b.width, c.width, c.width * 1e-6f);
    g_assert_cmpint(b.n, ==, c.n);
  }
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
    double t = b.width * 1e-4 + fabs(b.low) * 2e-7, th = b.width * 1e-4 + fabs(b.high) * 2e-7;
    g_assert_true(b.low >= wmin - t && b.low - b.width < wmin + t);
    g_assert_true(b.high <= wmax + th && b.high + b.width > wmax - th);
    g_assert_cmpfloat(fabs((b.high - b.low) / b.width - b.n), <, 1e-2);
    g_assert_cmpint(b.n, <=, 2 * nold + 1);
  }
  g_rand_free(r);
}

/* The cases the rounding cannot handle as it is. */
void test_getbins_open_cases() {
  for (float big : {1e20f, -3e7f, FLT_MAX})
    assert_usable(bins(big, big, 10));
  /* At the top of the float range the unit is taken downward. */
  Bins b = bins(FLT_MAX, FLT_MAX, 10);
  g_assert_true(b.high == FLT_MAX && b.low < FLT_MAX);
  assert_usable(bins(-1e32f, 1e32f, 10));
  /* A range wider than the largest float gets it as width; infinite
   * limits are the largest floats. */
  b = bins(-3e38f, 3e38f, 10);
  assert_usable(b);
  g_assert_cmpfloat(b.width, ==, FLT_MAX);
  b = bins(-INFINITY, INFINITY, 10);
  assert_usable(b);
  g_assert_true(b.low == -FLT_MAX && b.high == FLT_MAX);
  b = bins(0, INFINITY, 10);
  assert_usable(b);
  g_assert_cmpfloat(b.high, ==, FLT_MAX);
  /* A range narrower than the smallest normal float has no decade. */
  b = bins(0, 1e-44f, 10);
  g_assert_true(b.low == 0 && b.high == 1e-44f && b.n == 1 && b.width > 0);
  /* Counts beyond the int range saturate, defined. */
  b = bins(-1e30f, 1e30f, -1, 1e-30f);
  g_assert_true(b.width == 1e-30f && b.n > 0);
  b = bins(0, 1, G_MAXINT);
  g_assert_true(std::isfinite(b.low) && std::isfinite(b.high) && b.width > 0 && b.n > 0);
}

void test_order_of_magnitude() {
  const struct {
    double vmin, vmax, scale, m, e;
  } cases[] = {
      {0, 5000, 3, 5, 3},     {0, 999, 3, 999, 0},      {0, 1000, 3, 1, 3},
      {0, 0.5, 3, 0.5, 0},    {0, 0.0005, 3, 5e-07, 3}, {5000, 0, 3, -5e+09, -6},
      {7, 7, 3, 0, 0},        {2, 1, 3, -1, 0},         {0, 123456789, 3, 123.456789, 6},
      /* Exponents are whole multiples of the scale. */
      {0, 5000, 1, 5, 3},
      /* A scale that is no positive finite step: no multiplier. */
      {0, 5000, 0, 5000, 0},    {0, 5000, -3, 5000, 0},     {0, 5000, NAN, 5000, 0},
      {0, 5000, INFINITY, 5000, 0},
  };
  for (const auto &c : cases) {
    double m = NAN, e = NAN;
    get_order_of_magnitude(c.vmin, c.vmax, c.scale, &m, &e);
    g_assert_cmpfloat_with_epsilon(m, c.m, fabs(c.m) * 1e-12 + 1e-300);
    g_assert_cmpfloat(e, ==, c.e);
  }
  /* A range that is no finite number has exponent 0 and the range as
   * mantissa, never a NaN exponent. */
  const double bad[][2] = {{0, NAN}, {-1e308, 1e308}, {0, INFINITY}};
  for (const auto &r : bad) {
    double m = 0, e = NAN;
    get_order_of_magnitude(r[0], r[1], 3, &m, &e);
    g_assert_cmpfloat(e, ==, 0);
    g_assert_true(std::isnan(m) == std::isnan(r[1] - r[0]) && !std::isfinite(m));
  }
}

} // namespace

int main(int argc, char **argv) {
  g_test_init(&argc, &argv, NULL);
  g_test_add_func("/axis/getbins/values", test_getbins_values);
  g_test_add_func("/axis/getbins/invariants", test_getbins_invariants);
  g_test_add_func("/axis/getbins/open-cases", test_getbins_open_cases);
  g_test_add_func("/axis/order-of-magnitude", test_order_of_magnitude);
  return g_test_run();
}
