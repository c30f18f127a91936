/* Fuzzes get_order_of_magnitude.  Input: vmin, vmax, scale (doubles), 24
 * bytes in all.  Whatever they are, both outputs are written and the
 * exponent is a number.  A range or a scale that is no finite number (or a
 * scale not above 0) gives exponent 0 and the range as mantissa.  For a
 * scale of ordinary size the exponent is a whole multiple of it, has the
 * sign of the range, and mantissa times ten to the exponent gives the
 * range back wherever both are representable. */
#include <gtkkiv.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

[[noreturn]] void fail(const char *what, double vmin, double vmax, double scale, double m,
                       double e) {
  fprintf(stderr, "get_order_of_magnitude(%.17g, %.17g, %.17g) -> (%.17g, %.17g): %s\n", vmin, vmax,
          scale, m, e, what);
  abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  if (size != 24) return 0;
  double vmin, vmax, scale;
  memcpy(&vmin, data, 8);
  memcpy(&vmax, data + 8, 8);
  memcpy(&scale, data + 16, 8);

  double m = NAN, e = NAN;
  get_order_of_magnitude(vmin, vmax, scale, &m, &e);
#define CHECK(cond)                                                                                \
  do {                                                                                             \
    if (!(cond)) fail(#cond, vmin, vmax, scale, m, e);                                             \
  } while (0)

  double value = vmax - vmin;
  CHECK(!std::isnan(e));
  if (!std::isfinite(value) || !std::isfinite(scale) || !(scale > 0.0)) {
    CHECK(e == 0.0);
    CHECK(m == value || (std::isnan(m) && std::isnan(value)));
    return 0;
  }
  /* The callers pass 3.  Scales far from that are held only to the
   * checks above: a scale near the smallest double makes the quotient of
   * the logarithm overflow (tests/test-axis.cc). */
  if (scale < 1e-3 || scale > 1e3) return 0;
  CHECK(std::isfinite(e));
  double q = e / scale;
  CHECK(fabs(q - nearbyint(q)) <= 1e-9 * fabs(q) + 1e-9);
  if (value > 0.0) CHECK(e >= 0.0);
  if (value < 0.0) CHECK(e <= 0.0);
  if (value == 0.0) CHECK(e == 0.0 && m == 0.0);
  double b = pow(10.0, e);
  if (std::isfinite(b) && b != 0.0 && std::isnormal(m) && std::isnormal(value))
    CHECK(fabs(m * b - value) <= 1e-12 * fabs(value));
  return 0;
}
