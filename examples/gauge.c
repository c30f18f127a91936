/* gauge: one value on a dial.  A timer moves the value as a slow sine; the
 * gauge keeps every value in its tracer, whose statistics are printed at
 * the end. */
#include <gtkkiv.h>
#include <math.h>
#include <stdio.h>
#include <stdlib.h>

static gboolean tick(gpointer data) {
  static int n = 0;
  KivGauge *gauge = data;
  kiv_gauge_set_value(gauge, (float) (2500.0 + 2000.0 * sin(0.1 * n++)));
  gtk_widget_queue_draw(GTK_WIDGET(gauge));
  return TRUE;
}

int main(int argc, char **argv) {
  gtk_init(&argc, &argv);

  GtkWidget *gauge = kiv_gauge_new(0.0f, 5000.0f);
  kiv_gauge_set_title(KIV_GAUGE(gauge), "pressure (Pa)");
  kiv_gauge_set_color(KIV_GAUGE(gauge), "steel blue");

  GtkWidget *window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
  gtk_window_set_default_size(GTK_WINDOW(window), 320, 300);
  gtk_container_add(GTK_CONTAINER(window), gauge);
  g_signal_connect(window, "destroy", G_CALLBACK(gtk_main_quit), NULL);
  gtk_widget_show_all(window);
  g_timeout_add(50, tick, gauge);

  /* "--quit-after MS" lets the test suite run the example unattended. */
  if (argc > 2 && g_str_equal(argv[1], "--quit-after"))
    g_timeout_add(atoi(argv[2]), (GSourceFunc) gtk_main_quit, NULL);
  gtk_main();

  KivTracer *history = kiv_gauge_get_tracer(KIV_GAUGE(gauge));
  printf("%d values, mean %.1f, min %.1f, max %.1f\n", KIV_TRACER(history)->npoints,
         kiv_tracer_get_mean(history), kiv_tracer_get_minimum(history),
         kiv_tracer_get_maximum(history));
  return 0;
}
