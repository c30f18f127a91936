/* Compiled, not run: every public header must build in a C++ program
 * with -Wall -Wextra -Werror, as C++ users include them. */
#include <kivdefs.h>
#include <gthread-compat.h>
#include <kivgtk.h>
#include <function.h>
#include <stats.h>
#include <graph.h>
#include <axis.h>
#include <function2d.h>
#include <histogram2d.h>
#include <histogram.h>
#include <profile.h>
#include <tracer.h>
#include <kivchart1d.h>
#include <kivchart-protected.h>
#include <kivchart2d.h>
#include <kivgauge.h>
#include <gtkkiv.h>

int main() {
  KivHistogram *h = kiv_histogram_new(10, 0.0, 1.0, nullptr);
  const double x[] = {0.5};
  kiv_histogram_fill_n(h, x, nullptr, 1);
  g_object_unref(h);
  return 0;
}
