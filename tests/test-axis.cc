/* Tests of the axis helpers: getbins (round divisions, in single
 * precision) and get_order_of_magnitude (the axis multiplier). */
#include "kiv-test.h"

#include <cfloat>

static void test_axis() {
  const struct {
    float wmin, wmax;
    int nold;
    float win, low, high, width;
    int n;
  } cases[] = {
      {0, 10, 10, NAN, 0, 10, 1, 10},
      {0.5f, 9.5f, 10, NAN, 1, 9, 1, 8},
      {-3.7f, 12.2f, 10, NAN, -2, 12, 2, 7},
      /* A limit more than a ten-thousandth of a division from its argument
       * moves in (5e-5 from 0 in divisions of 0.1); one short of a division
       * boundary by 5e-4 of a width does not reach it. */
      {5e-5f, 1, 10, NAN, 0.1f, 1, 0.1f, 9},
      {0, 9.9995f, 10, NAN, 0, 9, 1, 9},
      /* The scaled width is exactly 1 in single precision: first rule. */
      {0, 1, 10, NAN, 0, 1, 0.1f, 10},
      {-1, 1, 10, NAN, -1, 1, 0.2f, 10},
      {-250, 250, 10, NAN, -250, 250, 50, 10},
      /* Five divisions are half of the ten wished for: retried with 11. */
      {0, 20.5f, 10, NAN, 0, 20, 2, 10},
      {1e29f, 1e30f, 10, NAN, 1e29f, 1e30f, 1e29f, 9},
      /* Reversed limits: the trim compares with Wmin = 10 and moves in.  An
       * exact negative multiple starts one division further down before
       * the trim brings it back.  The chart's minor divisions: a short axis
       * is not retried at half. */
      {10, 0, 10, NAN, 1, 10, 1, 9},
      {-10, -1, 10, NAN, -10, -1, 1, 9},
      {0, 2, 5, NAN, 0, 2, 0.5f, 4},
      {0, 10, 5, NAN, 0, 10, 2, 5},
      /* One division or fewer is 2 nominal ones: 0 to 6 in divisions of 3,
       * rounded to 5, gives limits 0 and 10; the width is doubled and the
       * count forced to 1 without recomputing the limits, then the trim
       * pulls 10 down by 10.  Nold = -1 without a usable width is the same
       * (0 to 10: limits 0 and 15, trimmed to 5); a usable width is kept. */
      {0, 6, 1, NAN, 0, 0, 10, 0},
      {0, 10, -1, 0.0f, 0, 5, 10, 0},
      {0, 10, -1, INFINITY, 0, 5, 10, 0},
      {0, 10, -1, 2.5f, 0, 10, 2.5f, 4},
      /* Equal limits are one unit apart; beyond 2^24 adding 1 does not
       * separate them, and one unit of their leading decade does. */
      {5, 5, 10, NAN, 5, 6, 0.1f, 10},
      {1e20f, 1e20f, 10, NAN, 1e20f, 2e20f, 1e19f, 10},
      {-3e7f, -3e7f, 10, NAN, -3e7f, -2e7f, 1e6f, 10},
      /* A nominal width above 1e30 is not rounded: one division between the
       * ordered limits, no trim; NaN limits give one division from 0 to 1. */
      {1e32f, -1e32f, 10, NAN, -1e32f, 1e32f, 2e32f, 1},
      {NAN, 1, 10, NAN, 0, 1, 1, 1},
      /* 2^25 wished, 2^24 found: the retry with 2^25 + 1 has the same
       * nominal width in single precision and must not loop for ever. */
      {0, 8388607.5f, 1 << 25, NAN, 0, 8388607.5f, 0.5f, (1 << 24) - 1},
      /* Infinite limits are the largest floats; a range wider than them
       * gets the largest float as width. */
      {-INFINITY, INFINITY, 10, NAN, -FLT_MAX, FLT_MAX, FLT_MAX, 1},
      {0, 1e-44f, 10, NAN, 0, 1e-44f, 1e-44f, 1},
      {FLT_MAX, FLT_MAX, 10, NAN, FLT_MAX - 1e38f, FLT_MAX, 1e38f, 1},
      /* Counts beyond the int range saturate before the trim of both ends. */
      {-1e30f, 1e30f, -1, 1e-30f, -2147483648.0f * 1e-30f, 2147483648.0f * 1e-30f, 1e-30f,
       G_MAXINT - 2},
  };
  for (const auto &c : cases) {
    /* Outputs are poisoned first, so that a path that forgets one shows. */
    float low = NAN, high = NAN, width = c.win, tol = c.width * 1e-5f + 1e-45f;
    int n = -12345;
    getbins(c.wmin, c.wmax, c.nold, &low, &high, &n, &width);
    g_assert_true(fabsf(low - c.low) < tol && fabsf(high - c.high) < tol &&
                  fabsf(width - c.width) < tol);
    g_assert_cmpint(n, ==, c.n);
  }

  /* get_order_of_magnitude: exponents are whole multiples of the scale;
   * only the magnitude of the logarithm counts, and a reversed range rounds
   * away from zero.  A scale that is no positive finite step (or so small
   * that the logarithm's quotient overflows), and a range that is no
   * finite number, give no multiplier. */
  const struct {
    double vmin, vmax, scale, m, e;
  } oom[] = {
      {0, 5000, 3, 5, 3},
      {0, 999, 3, 999, 0},
      {0, 1000, 3, 1, 3},
      {0, 0.5, 3, 0.5, 0},
      {0, 0.0005, 3, 5e-07, 3},
      {5000, 0, 3, -5e+09, -6},
      {7, 7, 3, 0, 0},
      {2, 1, 3, -1, 0},
      {0, 123456789, 3, 123.456789, 6},
      {0, 5000, 1, 5, 3},
      {0, 5000, 0, 5000, 0},
      {0, 5000, -3, 5000, 0},
      {0, 5000, NAN, 5000, 0},
      {0, 5000, 4.9406564584124654e-324, 5000, 0},
      {-1e308, 1e308, 3, INFINITY, 0},
      {0, NAN, 3, NAN, 0},
  };
  for (const auto &c : oom) {
    double m = 0, e = NAN;
    get_order_of_magnitude(c.vmin, c.vmax, c.scale, &m, &e);
    g_assert_cmpfloat(e, ==, c.e);
    g_assert_true(std::isfinite(c.m) ? fabs(m - c.m) <= fabs(c.m) * 1e-12
                                     : std::isnan(m) == std::isnan(c.m));
  }
}

int main(int argc, char **argv) {
  g_test_init(&argc, &argv, NULL);
  g_test_add_func("/axis/divisions-and-magnitude", test_axis);
  return g_test_run();
}
