/* map2d: a two-dimensional histogram shown as a colour map.  Drag on the
 * colour scale to select a colour range, middle-click it to clear it, and
 * right-click for the colour schemes and the square mode. */
#include <gtkkiv.h>
#include <math.h>
#include <stdlib.h>

int main(int argc, char **argv) {
  gtk_init(&argc, &argv);

  KivHistogram2D *h = kiv_histogram2d_new(80, -4.0, 4.0, 60, -3.0, 3.0, NULL);
  GRand *r = g_rand_new_with_seed(3);
  for (int i = 0; i < 200000; i++) {
    double u = g_rand_double_range(r, 1e-12, 1.0), v = g_rand_double(r);
    double a = sqrt(-2.0 * log(u)) * cos(2.0 * G_PI * v);
    double b = sqrt(-2.0 * log(u)) * sin(2.0 * G_PI * v);
    /* A ring around a correlated core. */
    if (i % 4 == 0)
      kiv_histogram2d_fill(h, 2.5 * cos(6.0 * v) + 0.2 * a, 2.0 * sin(6.0 * v) + 0.2 * b, 1.0);
    else
      kiv_histogram2d_fill(h, a, 0.7 * a + 0.5 * b, 1.0);
  }
  g_rand_free(r);

  GtkWidget *chart = kiv_chart2d_new(h);
  g_object_set(chart, "ctype", KIV_COLOR_2D_THERMAL, NULL);
  kiv_chart1d_set_xtitle(KIV_CHART1D(chart), "x");
  kiv_chart1d_set_ytitle(KIV_CHART1D(chart), "y");
  g_object_unref(h);

  GtkWidget *window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
  gtk_window_set_default_size(GTK_WINDOW(window), 560, 440);
  gtk_container_add(GTK_CONTAINER(window), chart);
  g_signal_connect(window, "destroy", G_CALLBACK(gtk_main_quit), NULL);
  gtk_widget_show_all(window);

  /* "--quit-after MS" lets the test suite run the example unattended. */
  if (argc > 2 && g_str_equal(argv[1], "--quit-after"))
    g_timeout_add(atoi(argv[2]), (GSourceFunc) gtk_main_quit, NULL);
  gtk_main();
  return 0;
}
