/* fill-and-print: a sampled function, running statistics and a graph, printed
 * as text.  Build it against the installed library with
 *   cc fill-and-print.c $(pkg-config --cflags --libs gtkkiv) -lm
 */
#include <gtkkiv.h>
#include <math.h>
#include <stdio.h>

static double gaussian(double x) {
  return exp(-0.5 * x * x);
}

static void on_range_changed(KivFunction *f, gpointer user_data) {
  (void) user_data;
  printf("range changed: %d bins on [%g, %g)\n", kiv_function_get_npts(f),
         kiv_function_get_xmin(f), kiv_function_get_xmax(f));
}

int main(void) {
  KivFunction *f = kiv_function_new(8, -2.0, 2.0, gaussian);
  kiv_function_set_name(f, "gauss");
  g_signal_connect(f, "range-changed", G_CALLBACK(on_range_changed), NULL);

  GString *dump = kiv_function_print(f);
  fputs(dump->str, stdout);
  g_string_free(dump, TRUE);

  /* Weighted statistics of the sampled values. */
  KivStats *s = kiv_stats_new();
  for (int i = 0; i < f->nbin; i++) {
    double x = kiv_function_bin_center(f, i);
    kiv_stats_add(s, x, 0.0, kiv_function_eval(f, x));
  }
  printf("entries %.4f mean %.4f stdev %.4f\n", kiv_stats_get_nc(s),
         kiv_stats_get_mean(s, 0), kiv_stats_get_stdev(s, 0));

  /* A graph through three points, evaluated between them. */
  double x[] = {0.0, 1.0, 3.0}, y[] = {0.0, 10.0, 30.0};
  KivGraph *g = kiv_graph_new(3, x, y);
  printf("graph(2) = %g\n", kiv_function_eval(KIV_FUNCTION(g), 2.0));

  g_object_set(f, "xmin", -3.0, "xmax", 3.0, NULL);

  g_object_unref(g);
  g_object_unref(s);
  g_object_unref(f);
  return 0;
}
