/* quickstart: a worker thread fills a histogram in batches, a chart shows
 * it growing, and the picture is saved when the window closes. */
#include <gtkkiv.h>
#include <stdlib.h>

static gint stop;

static gpointer produce(gpointer data) {
  GRand *r = g_rand_new();
  double x[1000];
  while (!g_atomic_int_get(&stop)) {
    for (int i = 0; i < 1000; i++)
      x[i] = g_rand_double_range(r, 0.0, 50.0) + g_rand_double_range(r, 0.0, 50.0);
    kiv_histogram_fill_n(data, x, NULL, 1000); /* takes the histogram's lock */
    g_usleep(1000);
  }
  g_rand_free(r);
  return NULL;
}

int main(int argc, char **argv) {
  gtk_init(&argc, &argv);
  KivHistogram *h = kiv_histogram_new(100, 0.0, 100.0, NULL);
  GtkWidget *chart = kiv_chart1d_new(KIV_FUNCTION(h));
  kiv_chart1d_show_stats(KIV_CHART1D(chart), TRUE);
  kiv_chart1d_monitor_start(KIV_CHART1D(chart), 100); /* redraw every 100 ms */

  GtkWidget *window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
  gtk_window_set_default_size(GTK_WINDOW(window), 600, 400);
  gtk_container_add(GTK_CONTAINER(window), chart);
  g_signal_connect(window, "destroy", G_CALLBACK(gtk_main_quit), NULL);
  gtk_widget_show_all(window);

  GThread *worker = g_thread_new("producer", produce, h);
  if (argc > 2 && g_str_equal(argv[1], "--quit-after")) /* for unattended runs */
    g_timeout_add(atoi(argv[2]), (GSourceFunc) gtk_main_quit, NULL);
  gtk_main();

  kiv_chart1d_print(KIV_CHART1D(chart), "quickstart.png", "png");
  g_atomic_int_set(&stop, 1);
  g_thread_join(worker);
  g_print("%.0f entries, mean %.2f; picture in quickstart.png\n", kiv_histogram_entries(h),
          kiv_histogram_mean(h));
  g_object_unref(h);
  return 0;
}
