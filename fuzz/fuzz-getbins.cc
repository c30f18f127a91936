/* Fuzzes getbins.  Input: Wmin, Wmax (floats), Nold (int32), the width
 * handed in (float), 16 bytes in all.  Whatever they are, the call returns
 * and writes every output: limits that are numbers and a positive finite
 * width, so that a caller stepping from the low limit by the width ends.
 * For an ordinary request (finite increasing limits, 2 to 1000 divisions,
 * a range not lost in the rounding of its own magnitude) the width is 1, 2
 * or 5 times a power of ten, the limits are the first and last multiples
 * of it inside the range within a ten-thousandth of a division (plus the
 * rounding of single precision), and the count matches the width. */
#include <gtkkiv.h>

#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

[[noreturn]] void fail(const char *what, float wmin, float wmax, int nold, float width_in,
                       float low, float high, int n, float width) {
  fprintf(stderr, "getbins(%.9g, %.9g, %d, width %.9g) -> low %.9g high %.9g n %d width %.9g: %s\n",
          wmin, wmax, nold, width_in, low, high, n, width, what);
  abort();
}

bool ordinary(float wmin, float wmax, int nold) {
  if (!std::isfinite(wmin) || !std::isfinite(wmax) || !(wmin < wmax)) return false;
  if (nold < 2 || nold > 1000) return false;
  double range = static_cast<double>(wmax) - wmin;
  double nominal = range / nold;
  if (nominal > 1e30 || nominal < 1e-30) return false;
  return range > fmax(fabs(wmin), fabs(wmax)) * 1e-2;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  if (size != 16) return 0;
  float wmin, wmax, width_in;
  int32_t nold;
  memcpy(&wmin, data, 4);
  memcpy(&wmax, data + 4, 4);
  memcpy(&nold, data + 8, 4);
  memcpy(&width_in, data + 12, 4);

  /* Poisoned, so that an output left unwritten shows. */
  float low = NAN, high = NAN, width = width_in;
  int n = INT_MIN;
  getbins(wmin, wmax, nold, &low, &high, &n, &width);
#define CHECK(cond)                                                                                \
  do {                                                                                             \
    if (!(cond)) fail(#cond, wmin, wmax, nold, width_in, low, high, n, width);                     \
  } while (0)

  CHECK(!std::isnan(low) && !std::isnan(high));
  CHECK(std::isfinite(width) && width > 0.0f);
  CHECK(n != INT_MIN);

  if (!ordinary(wmin, wmax, nold)) return 0;
  double mant = width / pow(10.0, floor(log10(width) + 1e-6));
  CHECK(fabs(mant - 1) < 1e-5 || fabs(mant - 2) < 1e-5 || fabs(mant - 5) < 1e-5);
  double t = width * 1e-4 + fabs(low) * 2.5e-7;
  double th = width * 1e-4 + fabs(high) * 2.5e-7;
  CHECK(low >= wmin - t);
  CHECK(low - width < wmin + t);
  CHECK(high <= wmax + th);
  CHECK(high + width > wmax - th);
  CHECK(fabs((static_cast<double>(high) - low) / width - n) < 1e-2);
  /* A range narrower than the width may hold no multiple of it (a width
   * of 5 rounded up from a nominal one just above 2 is 2.5 times that):
   * the limits then cross and the count is -1. */
  CHECK(n >= -1 && n <= 2 * nold + 1);
  return 0;
}
