/* Faults once found by the stress, hostile and fuzz work, kept as tests so
 * that they stay fixed. */
#include "kiv-stress.h"

#include <cstring>

namespace {

/* A dump taken while another thread rebins and renames the function: the
 * dump reads the bin count, the bin centres (xmin and step) and the name
 * without the function's lock, so it can mix two binnings (a header of one
 * and centres of the other) and read a name that the renaming thread has
 * just freed.  A dump must show one binning and a whole name. */
class DumpScenario : public kivstress::Scenario {
public:
  DumpScenario() { h_ = kiv_histogram_new(16, 0.0, 16.0, NULL); }
  ~DumpScenario() override { g_object_unref(h_); }
  const char *name() const override { return "dump"; }
  int producers() const override { return 1; }
  int readers() const override { return 1; }

  void produce(int, uint64_t k) override { kiv_histogram_fill(h_, k % 16 + 0.5, 1.0); }

  void control(uint64_t k) override {
    if (k % 2)
      kiv_histogram_rebin(h_, k % 4 == 1 ? 8 : 16, 0.0, 16.0);
    else
      kiv_function_set_name(KIV_FUNCTION(h_), k % 4 ? "a long name, freed at every rename" : "b");
  }

  void read(int, uint64_t) override {
    GString *dump = kiv_function_print(KIV_FUNCTION(h_));
    gchar **lines = g_strsplit(dump->str, "\n", -1);
    int n = 0;
    double lo = 0, hi = 0;
    g_assert_cmpint(sscanf(lines[0], "1D %d %lf %lf", &n, &lo, &hi), ==, 3);
    g_assert_true(n == 8 || n == 16);
    g_assert_true(strcmp(lines[1], "\"X\"\t\"b\"") == 0 ||
                  strcmp(lines[1], "\"X\"\t\"a long name, freed at every rename\"") == 0 ||
                  strcmp(lines[1], "\"X\"\t\"Function_0\"") == 0);
    for (int i = 0; i < n; i++) {
      double centre = g_ascii_strtod(lines[i + 2], NULL);
      g_assert_cmpfloat(centre, ==, lo + (i + 0.5) * (hi - lo) / n);
    }
    g_strfreev(lines);
    g_string_free(dump, TRUE);
  }

  void verify() override {}

private:
  KivHistogram *h_;
};

void test_dump_while_rebinning() {
  DumpScenario s;
  kivstress::run({&s}, kivstress::run_seconds());
}

/* get_order_of_magnitude refuses a scale that is not a positive finite
 * number with exponent 0, but a positive scale so small that the quotient
 * of the logarithm overflows (a denormal) gives an infinite exponent and a
 * mantissa of 0, whose product is no longer the range. */
void test_order_of_magnitude_tiny_scale() {
  for (double scale : {4.9406564584124654e-324, 1e-310}) {
    double m = NAN, e = NAN;
    get_order_of_magnitude(0.0, 5000.0, scale, &m, &e);
    g_assert_true(std::isfinite(e));
    g_assert_cmpfloat_with_epsilon(m * pow(10.0, e), 5000.0, 1e-9);
  }
}

} // namespace

int main(int argc, char **argv) {
  g_test_init(&argc, &argv, NULL);
  g_test_add_func("/regressions/dump-while-rebinning", test_dump_while_rebinning);
  g_test_add_func("/regressions/order-of-magnitude-tiny-scale", test_order_of_magnitude_tiny_scale);
  return g_test_run();
}
