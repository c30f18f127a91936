/* Fuzzes the suffix rules of the "Print..." dialog: the check of a file
 * name's suffix against the picture format and the name with the format's
 * suffix appended.
 *
 * Input: one byte choosing the format (one of the five the dialog offers,
 * or, from 5 on, a format of the input's own up to a 0 byte), then the
 * file name (up to a 0 byte or the end).
 *
 * Whatever the name: the check depends only on the text after the last
 * "." and not on its case, and a name without "." has no suffix.  The
 * appended name is the name, a "." and the format's suffix (".jpg" for
 * JPEG), and it fits the format: the dialog never asks twice, so applying
 * its answer again leaves the name as it is.  A suffix that is the
 * format's own in any case fits. */
#include "kivchart1d-private.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

const char *const kFormats[] = {"png", "jpeg", "pdf", "svg", "eps"};

[[noreturn]] void fail(const char *what, const std::string &name, const std::string &format) {
  fprintf(stderr, "suffix of \"%s\" as %s: %s\n", name.c_str(), format.c_str(), what);
  abort();
}

int check(const std::string &name, const std::string &format) {
  return _kiv_picture_suffix_check(name.c_str(), format.c_str());
}

std::string appended(const std::string &name, const std::string &format) {
  gchar *s = _kiv_picture_name_with_suffix(name.c_str(), format.c_str());
  std::string out(s);
  g_free(s);
  return out;
}

/* The name the dialog writes when the user answers every question with
 * OK. */
std::string accepted(const std::string &name, const std::string &format) {
  return check(name, format) == KIV_SUFFIX_FITS ? name : appended(name, format);
}

std::string with_case(std::string s, bool upper) {
  for (char &c : s) c = upper ? g_ascii_toupper(c) : g_ascii_tolower(c);
  return s;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  if (size == 0) return 0;
  const char *p = reinterpret_cast<const char *>(data) + 1;
  const char *end = reinterpret_cast<const char *>(data) + size;
  std::string format;
  bool known = data[0] < 5;
  if (known) {
    format = kFormats[data[0]];
  } else {
    const char *nul = static_cast<const char *>(memchr(p, 0, end - p));
    format.assign(p, nul != NULL ? nul : end);
    p = nul != NULL ? nul + 1 : end;
  }
  const char *nul = static_cast<const char *>(memchr(p, 0, end - p));
  std::string name(p, nul != NULL ? nul : end);

#define CHECK(cond)                                                                                \
  do {                                                                                             \
    if (!(cond)) fail(#cond, name, format);                                                        \
  } while (0)

  int verdict = check(name, format);
  CHECK(verdict == KIV_SUFFIX_FITS || verdict == KIV_SUFFIX_MISSING || verdict == KIV_SUFFIX_WRONG);
  size_t dot = name.rfind('.');
  CHECK((verdict == KIV_SUFFIX_MISSING) == (dot == std::string::npos));
  if (dot != std::string::npos) CHECK(check(name.substr(dot), format) == verdict);
  CHECK(check(with_case(name, true), format) == verdict &&
        check(with_case(name, false), format) == verdict);

  const std::string suffix = format.find("jpeg") != std::string::npos ? "jpg" : format;
  std::string longer = appended(name, format);
  CHECK(longer == name + "." + suffix);
  if (!known) return 0;

  CHECK(check(longer, format) == KIV_SUFFIX_FITS);
  std::string once = accepted(name, format);
  CHECK(accepted(once, format) == once);
  CHECK(check(name + "." + with_case(suffix, true), format) == KIV_SUFFIX_FITS);
  return 0;
}
