/* Fuzzes the text dump of functions filled with arbitrary values.
 *
 * Input: one byte of shape (how many functions, 1 to 3), one byte of bin
 * count (1 to 32), the limits (two doubles), then names (bytes up to a 0,
 * one per function; an empty one leaves the function unnamed), then fills
 * of 16 bytes each (abscissa and weight as doubles, going round the
 * functions).  The third function is a plain one whose value is the last
 * weight read.  Tabs and line feeds are left out of names: the dump writes
 * names as they are, without escaping.  The same fills go to a
 * two-dimensional histogram.
 *
 * Both dumps must parse back: the line count, on every data line one
 * number per column, and in the 1D dump the header, the titles and the bin
 * centres in the first column (the 2D header is checked exactly by the
 * tests). */
#include <gtkkiv.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

double plain_value = 0.0;
double plain(double) { return plain_value; }

struct Reader {
  const uint8_t *p;
  size_t left;
  bool take(void *out, size_t n) {
    if (left < n) return false;
    memcpy(out, p, n);
    p += n;
    left -= n;
    return true;
  }
  int byte() {
    uint8_t b = 0;
    return take(&b, 1) ? b : 0;
  }
  double finite(double fallback) {
    double d;
    return take(&d, sizeof d) && std::isfinite(d) ? d : fallback;
  }
};

std::vector<std::string> split(const std::string &s, char sep) {
  std::vector<std::string> parts;
  size_t start = 0, at;
  while ((at = s.find(sep, start)) != std::string::npos) {
    parts.push_back(s.substr(start, at - start));
    start = at + 1;
  }
  parts.push_back(s.substr(start));
  return parts;
}

/* A number as the dump writes it, read back whole ("nan", "-nan" and
 * "inf" included). */
bool number(const std::string &field, double *out) {
  char *end = NULL;
  *out = strtod(field.c_str(), &end);
  return !field.empty() && *end == '\0';
}

/* The dump's lines, each split at tabs; it must end in a line feed. */
std::vector<std::vector<std::string>> rows(GString *out) {
  std::string dump(out->str, out->len);
  g_string_free(out, TRUE);
  if (dump.empty() || dump.back() != '\n') abort();
  std::vector<std::vector<std::string>> lines;
  for (const std::string &line : split(dump.substr(0, dump.size() - 1), '\n'))
    lines.push_back(split(line, '\t'));
  return lines;
}

#define CHECK(cond)                                                                                \
  do {                                                                                             \
    if (!(cond)) {                                                                                 \
      fprintf(stderr, "text dump: %s\n", #cond);                                                   \
      abort();                                                                                     \
    }                                                                                              \
  } while (0)

void check_1d(GList *functions, const std::vector<std::string> &names, int nbin) {
  GString *out = kiv_function_print_list(functions);
  CHECK(out != NULL);
  auto lines = rows(out);
  size_t k = names.size();
  CHECK(lines.size() == size_t(nbin) + 2);
  CHECK(lines[0].size() == 2 && lines[0][1] == "[nbin xmin xmax]");
  std::vector<std::string> head = split(lines[0][0], ' ');
  double v;
  CHECK(head.size() == 4 && head[0] == "1D" && number(head[1], &v) && v == nbin);
  CHECK(number(head[2], &v) && number(head[3], &v));
  CHECK(lines[1].size() == k + 1 && lines[1][0] == "\"X\"");
  for (size_t j = 0; j < k; j++) {
    std::string want = names[j].empty() ? "Function_" + std::to_string(j) : names[j];
    CHECK(lines[1][j + 1] == "\"" + want + "\"");
  }
  KivFunction *f0 = KIV_FUNCTION(functions->data);
  for (int i = 0; i < nbin; i++) {
    const std::vector<std::string> &cols = lines[i + 2];
    CHECK(cols.size() == k + 1);
    for (const std::string &c : cols) CHECK(number(c, &v));
    number(cols[0], &v);
    double centre = kiv_function_bin_center(f0, i);
    CHECK(fabs(v - centre) <= 5e-7 + fabs(centre) * 1e-15 || (std::isnan(v) && std::isnan(centre)));
  }
}

void check_2d(KivHistogram2D *h2, int nx, int ny) {
  auto lines = rows(kiv_function_print(KIV_FUNCTION(h2)));
  CHECK(lines.size() == size_t(ny) + 1 && lines[0].size() == 2);
  double v;
  for (int iy = 0; iy < ny; iy++) {
    CHECK(lines[iy + 1].size() == size_t(nx));
    for (const std::string &c : lines[iy + 1]) CHECK(number(c, &v));
  }
}

/* The library's warnings about what it refuses are expected here; a
 * critical means the fuzzer broke a precondition, which it must not. */
void on_log(const gchar *domain, GLogLevelFlags level, const gchar *message, gpointer) {
  if (level & (G_LOG_LEVEL_CRITICAL | G_LOG_LEVEL_ERROR)) {
    fprintf(stderr, "%s: %s\n", domain ? domain : "", message);
    abort();
  }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  static bool once = (g_log_set_default_handler(on_log, NULL), true);
  (void)once;

  Reader in{data, size};
  int k = 1 + in.byte() % 3;
  int nbin = 1 + in.byte() % 32;
  double xmin = in.finite(0.0), xmax = in.finite(1.0);
  if (xmin == xmax) xmax = xmin + 1.0 == xmin ? -xmin : xmin + 1.0;
  if (xmin == xmax) xmax = 1.0;

  std::vector<std::string> names(k);
  for (std::string &name : names)
    for (int c; (c = in.byte()) != 0;)
      if (c != '\t' && c != '\n') name.push_back(char(c));

  GList *functions = NULL;
  std::vector<KivHistogram *> hists;
  for (int j = 0; j < k; j++) {
    KivFunction *f = j == 2 ? kiv_function_new(nbin, xmin, xmax, plain)
                            : KIV_FUNCTION(kiv_histogram_new(nbin, xmin, xmax, NULL));
    if (j < 2) hists.push_back(KIV_HISTOGRAM(f));
    if (!names[j].empty()) kiv_function_set_name(f, names[j].c_str());
    functions = g_list_append(functions, f);
  }
  int nx = 1 + nbin % 7, ny = 1 + (nbin / 7) % 5;
  KivHistogram2D *h2 = kiv_histogram2d_new(nx, xmin, xmax, ny, -xmax, xmin, NULL);

  double x, w;
  for (int i = 0; in.take(&x, sizeof x) && in.take(&w, sizeof w); i++) {
    kiv_histogram_fill(hists[i % hists.size()], x, w);
    plain_value = w;
    kiv_histogram2d_fill(h2, x, w, w);
    kiv_histogram2d_fill(h2, w, x, 1.0);
  }
  check_1d(functions, names, nbin);
  check_2d(h2, nx, ny);

  /* A list whose bin counts differ is refused. */
  KivFunction *other = kiv_function_new(nbin + 1, 0.0, 1.0, NULL);
  GList *mixed = g_list_append(g_list_copy(functions), other);
  CHECK(kiv_function_print_list(mixed) == NULL);
  g_list_free(mixed);
  g_object_unref(other);
  g_object_unref(h2);
  g_list_free_full(functions, g_object_unref);
  return 0;
}
