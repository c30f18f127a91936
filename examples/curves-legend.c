/* curves-legend: several functions in one chart, told apart by a legend.
 * A plain function, a histogram and a graph share the x range of the first
 * curve; each gets the next colour of the chart's curve colour list. */
#include <gtkkiv.h>
#include <math.h>
#include <stdlib.h>

static double damped(double x) {
  return 40.0 * exp(-0.3 * x) * cos(x) + 40.0;
}

int main(int argc, char **argv) {
  gtk_init(&argc, &argv);

  KivFunction *f = kiv_function_new(200, 0.0, 10.0, damped);
  kiv_function_set_name(f, "40 e<sup>-0.3x</sup> cos x + 40");

  KivHistogram *h = kiv_histogram_new(20, 0.0, 10.0, NULL);
  kiv_function_set_name(KIV_FUNCTION(h), "histogram");
  GRand *r = g_rand_new_with_seed(7);
  for (int i = 0; i < 1000; i++)
    kiv_histogram_fill(h, g_rand_double_range(r, 0.0, 10.0), 1.0);
  g_rand_free(r);

  double gx[] = {0, 2.5, 5, 7.5, 10}, gy[] = {10, 70, 20, 60, 30};
  KivGraph *g = kiv_graph_new(5, gx, gy);
  kiv_function_set_name(KIV_FUNCTION(g), "graph");

  GtkWidget *chart = kiv_chart1d_new(f);
  kiv_chart1d_add_curve(KIV_CHART1D(chart), KIV_FUNCTION(h));
  kiv_chart1d_add_curve(KIV_CHART1D(chart), KIV_FUNCTION(g));
  kiv_chart1d_set_curve_colors(KIV_CHART1D(chart), "navy", "firebrick", "forest green", NULL);
  kiv_chart1d_set_xtitle(KIV_CHART1D(chart), "x");
  kiv_chart1d_set_ytitle(KIV_CHART1D(chart), "y");
  /* The chart holds its own references. */
  g_object_unref(f);
  g_object_unref(h);
  g_object_unref(g);

  GtkWidget *window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
  gtk_window_set_default_size(GTK_WINDOW(window), 640, 400);
  gtk_container_add(GTK_CONTAINER(window), chart);
  g_signal_connect(window, "destroy", G_CALLBACK(gtk_main_quit), NULL);
  gtk_widget_show_all(window);

  /* "--quit-after MS" lets the test suite run the example unattended. */
  if (argc > 2 && g_str_equal(argv[1], "--quit-after"))
    g_timeout_add(atoi(argv[2]), (GSourceFunc) gtk_main_quit, NULL);
  gtk_main();
  return 0;
}
