/* export: a chart's picture and data written to files, without showing a
 * window to anyone.  Usage: export [DIR]  (default: the current folder). */
#include <gtkkiv.h>
#include <stdio.h>

int main(int argc, char **argv) {
  gtk_init(&argc, &argv);
  const char *dir = argc > 1 ? argv[1] : ".";

  KivHistogram *h = kiv_histogram_new(50, -5.0, 5.0, NULL);
  kiv_function_set_name(KIV_FUNCTION(h), "noise");
  GRand *r = g_rand_new_with_seed(42);
  for (int i = 0; i < 100000; i++) {
    double x = 0.0;
    for (int k = 0; k < 12; k++) /* sum of 12 uniforms: nearly normal */
      x += g_rand_double(r);
    kiv_histogram_fill(h, x - 6.0, 1.0);
  }
  g_rand_free(r);

  GtkWidget *chart = kiv_chart1d_new(KIV_FUNCTION(h));
  kiv_chart1d_show_stats(KIV_CHART1D(chart), TRUE);
  kiv_chart1d_filled(KIV_CHART1D(chart), TRUE);
  kiv_chart1d_set_curve_colors(KIV_CHART1D(chart), "steel blue", NULL);
  kiv_chart1d_set_xtitle(KIV_CHART1D(chart), "x");

  /* The pictures are drawn at the widget's size: give it one. */
  GtkWidget *window = gtk_offscreen_window_new();
  gtk_window_set_default_size(GTK_WINDOW(window), 600, 400);
  gtk_container_add(GTK_CONTAINER(window), chart);
  gtk_widget_show_all(window);
  while (gtk_events_pending())
    gtk_main_iteration();

  int failures = 0;
  const char *types[] = {"png", "pdf", "svg", "eps", "jpeg"};
  for (size_t i = 0; i < G_N_ELEMENTS(types); i++) {
    gchar *path = g_strdup_printf("%s/noise.%s", dir, types[i]);
    int rc = kiv_chart1d_print(KIV_CHART1D(chart), path, types[i]);
    printf("%s %s\n", rc == 0 ? "wrote" : "FAILED", path);
    failures += rc != 0;
    g_free(path);
  }

  GString *text = kiv_function_print(KIV_FUNCTION(h));
  gchar *path = g_build_filename(dir, "noise.txt", NULL);
  if (g_file_set_contents(path, text->str, text->len, NULL))
    printf("wrote %s\n", path);
  else
    failures++;
  g_free(path);
  g_string_free(text, TRUE);

  gtk_widget_destroy(window);
  g_object_unref(h);
  return failures ? 1 : 0;
}
