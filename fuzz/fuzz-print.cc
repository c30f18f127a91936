/* Fuzzes the text dump of functions filled with arbitrary values.
 *
 * Input: one byte of shape (how many functions, 1 to 3), one byte of bin
 * count (1 to 32), the limits (two doubles), then names (bytes up to a 0,
 * one per function; an empty one leaves the function unnamed), then fills
 * of 16 bytes each (abscissa and weight as doubles, going round the
 * functions).  The last function of three is a plain function whose value
 * is the last weight read.  Tabs and line feeds are left out of names: the
 * dump writes names as they are, without escaping.
 *
 * The same bytes also fill a two-dimensional histogram.
 *
 * The dump must parse back: its line count, the header's fields, the
 * titles, and on every data line one tab-separated number per column,
 * the first of them the bin centre. */
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

double plain(double) {
  return plain_value;
}

struct Reader {
  const uint8_t *p;
  size_t left;
  bool take(void *out, size_t n) {
    if (left < n)
      return false;
    memcpy(out, p, n);
    p += n;
    left -= n;
    return true;
  }
  int byte() {
    uint8_t b = 0;
    return take(&b, 1) ? b : 0;
  }
  double number(double fallback) {
    double d;
    return take(&d, sizeof d) ? d : fallback;
  }
};

[[noreturn]] void fail(const char *what, const std::string &dump) {
  fprintf(stderr, "text dump: %s\n---\n%s---\n", what, dump.c_str());
  abort();
}

#define CHECK(cond, dump)                                                             \
  do {                                                                                \
    if (!(cond))                                                                      \
      fail(#cond, dump);                                                              \
  } while (0)

/* A number as the dump writes it, read back whole ("nan", "-nan", "inf"
 * included). */
bool parses(const std::string &field, double *out) {
  if (field.empty())
    return false;
  char *end = NULL;
  *out = strtod(field.c_str(), &end);
  return *end == '\0';
}

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

/* The space-separated fields of a header line, which must end in the
 * fixed label. */
std::vector<std::string> header_fields(const std::string &h, const std::string &label,
                                       const std::string &dump) {
  CHECK(h.size() > label.size() && h.compare(h.size() - label.size(), label.size(), label) == 0,
        dump);
  return split(h.substr(0, h.size() - label.size()), ' ');
}

/* Limits the property system accepts. */
double usable(double v, double fallback) {
  return std::isfinite(v) ? v : fallback;
}

/* The library's warnings about what it refuses are expected here; a
 * critical means the fuzzer broke a precondition, which it must not. */
void on_log(const gchar *domain, GLogLevelFlags level, const gchar *message, gpointer) {
  if (level & (G_LOG_LEVEL_CRITICAL | G_LOG_LEVEL_ERROR)) {
    fprintf(stderr, "%s: %s\n", domain ? domain : "", message);
    abort();
  }
}

void check_1d(GList *functions, const std::vector<std::string> &names, int nbin) {
  KivFunction *f0 = KIV_FUNCTION(functions->data);
  GString *out = kiv_function_print_list(functions);
  if (out == NULL) {
    fprintf(stderr, "text dump: NULL for functions of equal bin counts\n");
    abort();
  }
  std::string dump(out->str, out->len);
  g_string_free(out, TRUE);
  size_t k = names.size();

  CHECK(!dump.empty() && dump.back() == '\n', dump);
  std::vector<std::string> lines = split(dump.substr(0, dump.size() - 1), '\n');
  CHECK(lines.size() == static_cast<size_t>(nbin) + 2, dump);

  std::vector<std::string> head = header_fields(lines[0], "\t[nbin xmin xmax]", dump);
  double lo, hi, count;
  CHECK(head.size() == 4 && head[0] == "1D", dump);
  CHECK(parses(head[1], &count) && count == nbin, dump);
  CHECK(parses(head[2], &lo) && parses(head[3], &hi), dump);

  std::vector<std::string> titles = split(lines[1], '\t');
  CHECK(titles.size() == k + 1 && titles[0] == "\"X\"", dump);
  for (size_t j = 0; j < k; j++) {
    std::string want = names[j].empty() ? "Function_" + std::to_string(j) : names[j];
    CHECK(titles[j + 1] == "\"" + want + "\"", dump);
  }

  for (int i = 0; i < nbin; i++) {
    std::vector<std::string> cols = split(lines[i + 2], '\t');
    CHECK(cols.size() == k + 1, dump);
    double v;
    for (const std::string &c : cols)
      CHECK(parses(c, &v), dump);
    parses(cols[0], &v);
    double centre = kiv_function_bin_center(f0, i);
    CHECK(v == centre || fabs(v - centre) <= 5e-7 + fabs(centre) * 1e-15 ||
              (std::isnan(v) && std::isnan(centre)),
          dump);
  }
}

void check_2d(KivHistogram2D *h2, int nx, int ny) {
  GString *out = kiv_function_print(KIV_FUNCTION(h2));
  std::string dump(out->str, out->len);
  g_string_free(out, TRUE);
  CHECK(!dump.empty() && dump.back() == '\n', dump);
  std::vector<std::string> lines = split(dump.substr(0, dump.size() - 1), '\n');
  CHECK(lines.size() == static_cast<size_t>(ny) + 1, dump);
  std::vector<std::string> head = header_fields(
      lines[0], "\t[nxbin xmin xmax nybin ymin ymax - data ( rows are Y, columns X )]", dump);
  CHECK(head.size() == 7 && head[0] == "2D", dump);
  double v;
  for (size_t i = 1; i < head.size(); i++)
    CHECK(parses(head[i], &v), dump);
  CHECK(parses(head[1], &v) && v == nx && parses(head[4], &v) && v == ny, dump);
  for (int iy = 0; iy < ny; iy++) {
    std::vector<std::string> cols = split(lines[iy + 1], '\t');
    CHECK(cols.size() == static_cast<size_t>(nx), dump);
    for (const std::string &c : cols)
      CHECK(parses(c, &v), dump);
  }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  static bool once = [] {
    g_log_set_default_handler(on_log, NULL);
    return true;
  }();
  (void)once;

  Reader in{data, size};
  int k = 1 + in.byte() % 3;
  int nbin = 1 + in.byte() % 32;
  double xmin = usable(in.number(0.0), 0.0);
  double xmax = usable(in.number(1.0), 1.0);
  if (xmin == xmax)
    xmax = xmin + 1.0 == xmin ? -xmin : xmin + 1.0;
  if (xmin == xmax)
    xmax = 1.0;

  std::vector<std::string> names(k);
  for (std::string &name : names) {
    int c;
    while ((c = in.byte()) != 0)
      if (c != '\t' && c != '\n')
        name.push_back(static_cast<char>(c));
  }

  GList *functions = NULL;
  std::vector<KivHistogram *> hists;
  for (int j = 0; j < k; j++) {
    KivFunction *f;
    if (j == 2) {
      f = kiv_function_new(nbin, xmin, xmax, plain);
    } else {
      KivHistogram *h = kiv_histogram_new(nbin, xmin, xmax, NULL);
      hists.push_back(h);
      f = KIV_FUNCTION(h);
    }
    if (!names[j].empty())
      kiv_function_set_name(f, names[j].c_str());
    functions = g_list_append(functions, f);
  }

  int nx = 1 + nbin % 7, ny = 1 + (nbin / 7) % 5;
  KivHistogram2D *h2 = kiv_histogram2d_new(nx, xmin, xmax, ny, -xmax, xmin, NULL);

  double x, w;
  for (int i = 0; in.take(&x, sizeof x) && in.take(&w, sizeof w); i++) {
    if (!hists.empty())
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
  if (kiv_function_print_list(mixed) != NULL)
    abort();
  g_list_free(mixed);
  g_object_unref(other);

  g_object_unref(h2);
  g_list_free_full(functions, g_object_unref);
  return 0;
}
