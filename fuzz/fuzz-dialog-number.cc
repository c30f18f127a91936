/* Fuzzes the number conversion of the chart's dialogs, chart1d_get_double.
 *
 * Input: one byte choosing the white space put in front (one of the six
 * ASCII white-space characters, or none), then the text (up to a 0 byte).
 * The same bytes, from the second on, are also read as a double that is
 * written out and read back.
 *
 * The fuzzer runs in a locale whose decimal separator is a comma when one
 * is installed: the conversion must not follow it.  Whatever the text:
 * the result is the number that C-locale strtod reads from it, or the
 * default when it reads none or reports the value out of range; white
 * space in front and text behind that cannot continue a number change
 * nothing; and a double written in full reads back bit for bit (a
 * subnormal one may be refused as out of range, giving the default). */
#include <gtkkiv.h>

#include <cerrno>
#include <clocale>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <locale.h>
#include <string>

namespace {

/* A default no text reads as: a NaN with a payload of its own. */
double sentinel() {
  uint64_t bits = 0x7ff8dead0000beefULL;
  double d;
  memcpy(&d, &bits, sizeof d);
  return d;
}

bool same(double a, double b) { return memcmp(&a, &b, sizeof a) == 0; }

[[noreturn]] void fail(const char *what, const std::string &text, double got) {
  fprintf(stderr, "chart1d_get_double(\"%s\") = %.17g: %s\n", text.c_str(), got, what);
  abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  static locale_t c_locale = [] {
    setlocale(LC_ALL, "de_DE.UTF-8");
    return newlocale(LC_ALL_MASK, "C", static_cast<locale_t>(0));
  }();
  if (size == 0) return 0;
  static const char kSpace[] = " \t\n\v\f\r";
  const std::string space = data[0] % 7 < 6 ? std::string(1, kSpace[data[0] % 7]) : "";
  const char *body = reinterpret_cast<const char *>(data) + 1;
  std::string text(body, strnlen(body, size - 1));
  const double def = sentinel();
  double got = chart1d_get_double(text.c_str(), def);

#define CHECK(cond)                                                                                \
  do {                                                                                             \
    if (!(cond)) fail(#cond, text, got);                                                           \
  } while (0)

  char *end = NULL;
  errno = 0;
  double ref = strtod_l(text.c_str(), &end, c_locale);
  bool none = end == text.c_str() || errno == ERANGE;
  CHECK(same(got, none ? def : ref));
  CHECK(same(chart1d_get_double((space + text).c_str(), def), got));
  CHECK(same(chart1d_get_double((text + ";x").c_str(), def), got));
  CHECK(same(chart1d_get_double(text.c_str(), 1.5), none ? 1.5 : got));

  if (size < 1 + sizeof(double)) return 0;
  double d;
  memcpy(&d, data + 1, sizeof d);
  char buf[G_ASCII_DTOSTR_BUF_SIZE];
  text = space + g_ascii_dtostr(buf, sizeof buf, d) + " and more";
  got = chart1d_get_double(text.c_str(), def);
  if (std::isnan(d))
    CHECK(std::isnan(got) && !same(got, def));
  else if (std::fpclassify(d) == FP_SUBNORMAL)
    CHECK(same(got, d) || same(got, def));
  else
    CHECK(same(got, d));
  return 0;
}
