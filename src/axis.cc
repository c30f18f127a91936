/* axis.cc: round axis divisions (getbins) and the common power-of-ten
 * multiplier of an axis (get_order_of_magnitude).
 *
 * getbins works in single precision on purpose: the charts hand it their
 * ranges as floats, and the rounding of the float arithmetic decides some
 * results (0 to 1 in ten divisions lands on a scaled width of exactly 1). */
#include "axis.h"
#include "kiv-private.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstdint>

namespace {

/* Nominal widths above this are not rounded. */
constexpr double kMaxNominalWidth = 1e30;

/* Powers of ten are computed in double precision and rounded once. */
float pow10f(int k) {
  return static_cast<float>(std::pow(10.0, k));
}

/* Truncation toward zero, lowered by one for a negative quotient, so that
 * an exact negative multiple gives the division below it.  Quotients
 * beyond the int range saturate instead of being converted undefinedly. */
int division_index(float a) {
  int i = kiv::trunc_to_int(a);
  return a < 0.0f ? (i == G_MININT ? i : i - 1) : i;
}

/* Limits so large that adding 1.0 in single precision does not separate
 * them would give a zero nominal width, of which no decade can be taken.
 * They are opened by one unit of their own leading decade instead (1e20
 * becomes 1e20 to 2e20), downward when upward would overflow. */
void separate_equal_limits(float *low, float *high) {
  *high = *low + 1.0f;
  if (*high != *low)
    return;
  float unit = pow10f(static_cast<int>(std::floor(std::log10(std::fabs(static_cast<double>(*low))))));
  *high = *low + unit;
  if (!std::isfinite(*high)) {
    *high = *low;
    *low = *low - unit;
  }
}

/* The range is handed back as one division between its own limits, with
 * no trim.  The difference of two limits of opposite sign can exceed the
 * float range; the width is then the largest float, so that a caller
 * stepping from *BinLow by *Bwidth still stops. */
void getbins_single_division(float low, float high, float *BinLow, float *BinHigh, int *Nbins,
                             float *Bwidth) {
  float width = high - low;
  *BinLow = low;
  *BinHigh = high;
  *Nbins = 1;
  *Bwidth = std::isfinite(width) ? width : FLT_MAX;
}

} // namespace

void get_order_of_magnitude(double vmin, double vmax, double scale, double *mantisa,
                            double *exponent) {
  double value = vmax - vmin;
  /* A range that is not a finite number, or a scale that is not a positive
   * finite step, has no order of magnitude: the range is handed back with
   * exponent 0 so that callers show no multiplier instead of "nan". */
  if (!std::isfinite(value) || !std::isfinite(scale) || !(scale > 0.0)) {
    *mantisa = value;
    *exponent = 0.0;
    return;
  }
  double sign = value < 0.0 ? -1.0 : 1.0;
  double t = value != 0.0 ? std::log10(std::fabs(value)) / scale : 0.0;
  /* Only the magnitude of the logarithm counts, so ranges below 1 get a
   * positive exponent too; a reversed range rounds away from zero. */
  double e = sign > 0.0 ? sign * scale * std::trunc(std::fabs(t))
                        : sign * scale * std::ceil(std::fabs(t));
  double b = e != 0.0 ? std::pow(10.0, e) : 1.0;
  /* A scale so small that the quotient of the logarithm overflows gives no
   * usable power of ten either: no multiplier, as for a bad scale. */
  if (!std::isfinite(e) || !std::isfinite(b) || b == 0.0) {
    e = 0.0;
    b = 1.0;
  }
  *mantisa = value / b;
  *exponent = e;
}

void getbins(float Wmin, float Wmax, int Nold, float *BinLow, float *BinHigh, int *Nbins,
             float *Bwidth) {
  /* NaN limits describe no range at all: one division of 1 from 0 gives
   * callers finite labels and a loop that ends. */
  if (std::isnan(Wmin) || std::isnan(Wmax)) {
    getbins_single_division(0.0f, 1.0f, BinLow, BinHigh, Nbins, Bwidth);
    return;
  }
  /* Infinite limits are taken as the largest floats, which the rules for
   * very wide ranges below then cover. */
  Wmin = std::fmax(-FLT_MAX, std::fmin(FLT_MAX, Wmin));
  Wmax = std::fmax(-FLT_MAX, std::fmin(FLT_MAX, Wmax));

  float low = Wmax > Wmin ? Wmin : Wmax;
  float high = Wmin > Wmax ? Wmin : Wmax;
  if (low == high)
    separate_equal_limits(&low, &high);

  /* The caller's width is kept only when it is a usable one; an infinite
   * width would put every multiple at infinity. */
  const bool fixed = Nold == -1 && *Bwidth > 0.0f && std::isfinite(*Bwidth);
  int n = Nold >= 2 ? Nold : 2;
  int k = 0;
  int s = 1;
  float last_nominal = -1.0f;

  for (;;) {
    if (!fixed) {
      float w = (high - low) / static_cast<float>(n);
      /* Nominal widths beyond 1e30, and those below the smallest normal
       * float (only ranges within about 1e-37 of each other have them),
       * are not rounded: the decade of the first would overflow the float
       * powers of ten and that of the second is not even finite. */
      if (static_cast<double>(w) > kMaxNominalWidth || !(w >= FLT_MIN)) {
        getbins_single_division(low, high, BinLow, BinHigh, Nbins, Bwidth);
        return;
      }
      /* A retry that no longer changes the nominal width (n beyond 2^24
       * has no float of its own) would repeat itself for ever; its result
       * is the one already found. */
      if (w == last_nominal)
        break;
      last_nominal = w;

      k = kiv::trunc_to_int(std::log10(static_cast<double>(w)));
      if (w <= 1.0f)
        k--;
      float m = pow10f(-k) * w;
      if (m <= 1.0f) {
        s = 1;
      } else if (m <= 2.0f) {
        s = 2;
      } else if (m <= 5.0f) {
        s = 5;
      } else {
        s = 1;
        k++;
      }
      *Bwidth = pow10f(k) * static_cast<float>(s);
    }

    const float width = *Bwidth;
    int lo_index = division_index(low / width);
    int hi_index = division_index(high / width + 1.00001f);
    if (fixed) {
      *BinLow = static_cast<float>(lo_index) * width;
      *BinHigh = static_cast<float>(hi_index) * width;
    } else {
      *BinLow = pow10f(k) * static_cast<float>(static_cast<int64_t>(lo_index) * s);
      *BinHigh = pow10f(k) * static_cast<float>(static_cast<int64_t>(hi_index) * s);
    }
    const int64_t count = static_cast<int64_t>(hi_index) - lo_index;
    *Nbins = static_cast<int>(std::min<int64_t>(count, G_MAXINT));
    if (fixed)
      break;

    if (Nold <= 5) {
      if (Nold > 1 || *Nbins == 1)
        break;
      /* One division or fewer was asked for: double the width, keep the
       * limits. */
      *Bwidth *= 2.0f;
      *Nbins = 1;
      break;
    }
    /* Exactly half the wished-for count: try again with one more. */
    if (2 * static_cast<int64_t>(*Nbins) == Nold && n < G_MAXINT) {
      n++;
      continue;
    }
    break;
  }

  /* Each limit moves one division inward unless it already lies within a
   * ten-thousandth of a division of the argument it stands for. */
  const float tolerance = *Bwidth * 0.0001f;
  if (std::fabs(*BinLow - Wmin) >= tolerance) {
    *BinLow += *Bwidth;
    *Nbins -= 1;
  }
  if (std::fabs(*BinHigh - Wmax) >= tolerance) {
    *BinHigh -= *Bwidth;
    *Nbins -= 1;
  }
}
