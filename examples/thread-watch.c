/* thread-watch: fill a histogram from a worker thread and watch it grow.
 * kiv_histogram_fill takes the histogram's lock, so the producer needs no
 * care of its own; the chart picks up new contents on its monitoring timer. */
#include <gtkkiv.h>
#include <math.h>
#include <stdlib.h>

static volatile gint stop;

static gpointer produce(gpointer data) {
  KivHistogram *h = data;
  GRand *r = g_rand_new();
  while (!g_atomic_int_get(&stop)) {
    double u = g_rand_double_range(r, 1e-12, 1.0), v = g_rand_double(r);
    kiv_histogram_fill(h, 50.0 + 12.0 * sqrt(-2.0 * log(u)) * cos(2.0 * G_PI * v), 1.0);
    if (g_rand_int_range(r, 0, 1000) == 0)
      g_usleep(100);
  }
  g_rand_free(r);
  return NULL;
}

int main(int argc, char **argv) {
  gtk_init(&argc, &argv);

  KivHistogram *h = kiv_histogram_new(100, 0.0, 100.0, NULL);
  kiv_function_set_name(KIV_FUNCTION(h), "live");
  GtkWidget *chart = kiv_chart1d_new(KIV_FUNCTION(h));
  kiv_chart1d_show_stats(KIV_CHART1D(chart), TRUE);
  kiv_chart1d_set_xtitle(KIV_CHART1D(chart), "channel");

  GtkWidget *window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
  gtk_window_set_default_size(GTK_WINDOW(window), 600, 400);
  gtk_container_add(GTK_CONTAINER(window), chart);
  g_signal_connect(window, "destroy", G_CALLBACK(gtk_main_quit), NULL);
  gtk_widget_show_all(window);

  GThread *producer = g_thread_new("producer", produce, h);
  kiv_chart1d_monitor_start(KIV_CHART1D(chart), 100);

  /* "--quit-after MS" lets the test suite run the example unattended. */
  if (argc > 2 && g_str_equal(argv[1], "--quit-after"))
    g_timeout_add(atoi(argv[2]), (GSourceFunc) gtk_main_quit, NULL);
  gtk_main();

  g_atomic_int_set(&stop, 1);
  g_thread_join(producer);
  g_print("%.0f entries, mean %.2f\n", kiv_histogram_entries(h), kiv_histogram_mean(h));
  g_object_unref(h);
  return 0;
}
