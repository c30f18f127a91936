/* kiv-demo: a simulated experiment watched live.
 *
 * Worker threads produce events as fast as they can and fill, each under the
 * library's locking rules: the energy of a signal and of a background (two
 * histograms in one chart, with a legend), a second variable against the
 * energy (a profile), the correlated pair (a two-dimensional histogram).  The
 * main thread samples the event rate ten times a second into a tracer and a
 * gauge.  Every chart refreshes on its own monitoring timer while the
 * producers fill; the status line shows the fill rate, so one sees that
 * drawing does not slow the producers down.
 *
 *   kiv-demo                              opens the window
 *   kiv-demo --snapshot DIR --seconds N   runs N seconds, then writes every
 *                                         chart and the gauge as PNG and PDF
 *                                         and the histograms as text into DIR
 */
#include <gtkkiv.h>
#include <cairo-pdf.h>
#include <errno.h>
#include <math.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#define N_WORKERS 2
#define BATCH 1000

typedef struct {
  KivHistogram *signal;
  KivHistogram *background;
  KivProfile *profile;
  KivHistogram2D *map;
  KivTracer *rate;
  GtkWidget *energy_chart;
  GtkWidget *profile_chart;
  GtkWidget *map_chart;
  GtkWidget *rate_chart;
  GtkWidget *gauge;
  GtkWidget *status;
  volatile gint stop;
  volatile gint batches; /* filled by the workers, BATCH events each */
  gint last_batches;
  gint64 last_time;
  GThread *workers[N_WORKERS];
} Experiment;

/* A normal deviate by the Box-Muller method, from the worker's own
 * generator (GRand is not shared between threads). */
static double gauss(GRand *r, double mean, double sigma) {
  double u = g_rand_double_range(r, 1e-12, 1.0), v = g_rand_double(r);
  return mean + sigma * sqrt(-2.0 * log(u)) * cos(2.0 * G_PI * v);
}

static gpointer produce(gpointer data) {
  Experiment *ex = data;
  GRand *r = g_rand_new();
  while (!g_atomic_int_get(&ex->stop)) {
    for (int i = 0; i < BATCH; i++) {
      /* A peak at 5 MeV over a falling background. */
      double e = gauss(r, 5.0, 0.8);
      double b = -3.0 * log(g_rand_double_range(r, 1e-12, 1.0));
      double y = 0.6 * e + gauss(r, 0.0, 0.4);
      kiv_histogram_fill(ex->signal, e, 1.0);
      kiv_histogram_fill(ex->background, b, 1.0);

      /* The profile and the two-dimensional histogram do not lock by
       * themselves: the producer holds the lock around its fills. */
      kiv_function_lock(KIV_FUNCTION(ex->profile));
      kiv_profile_fill(ex->profile, e, y, 1.0);
      kiv_function_unlock(KIV_FUNCTION(ex->profile));

      kiv_function_lock(KIV_FUNCTION(ex->map));
      kiv_histogram2d_fill(ex->map, e, y, 1.0);
      kiv_function_unlock(KIV_FUNCTION(ex->map));
    }
    g_atomic_int_inc(&ex->batches);
    /* A short rest between batches, as a real acquisition waits for its
     * hardware; it also leaves the drawing some of the two cores. */
    g_usleep(200);
  }
  g_rand_free(r);
  return NULL;
}

/* Ten times a second: the event rate into the tracer, the gauge and the
 * status line. */
static gboolean sample_rate(gpointer data) {
  Experiment *ex = data;
  gint64 now = g_get_monotonic_time();
  gint batches = g_atomic_int_get(&ex->batches);
  double dt = (now - ex->last_time) / 1e6;
  double rate = dt > 0 ? (batches - ex->last_batches) * (double) BATCH / dt : 0.0;
  ex->last_time = now;
  ex->last_batches = batches;

  kiv_histogram_fill(KIV_HISTOGRAM(ex->rate), rate / 1000.0, 1.0);
  kiv_gauge_set_value(KIV_GAUGE(ex->gauge), (float) (rate / 1000.0));
  gtk_widget_queue_draw(ex->gauge);

  gchar *text = g_strdup_printf("%d producer threads: %.0f events/s, %.3g events in all; "
                                "charts refresh every 200 ms",
                                N_WORKERS, rate, (double) batches * BATCH);
  gtk_label_set_text(GTK_LABEL(ex->status), text);
  g_free(text);
  return TRUE;
}

static GtkWidget *framed(GtkWidget *w, const char *title, int width, int height) {
  GtkWidget *frame = gtk_frame_new(title);
  gtk_widget_set_size_request(w, width, height);
  gtk_container_add(GTK_CONTAINER(frame), w);
  return frame;
}

static void build_data(Experiment *ex) {
  ex->signal = kiv_histogram_new(200, 0.0, 10.0, NULL);
  ex->background = kiv_histogram_new(200, 0.0, 10.0, NULL);
  kiv_function_set_name(KIV_FUNCTION(ex->signal), "signal");
  kiv_function_set_name(KIV_FUNCTION(ex->background), "background");
  ex->profile = kiv_profile_new(50, 0.0, 10.0, NULL);
  kiv_function_set_name(KIV_FUNCTION(ex->profile), "y vs E");
  ex->map = kiv_histogram2d_new(100, 0.0, 10.0, 80, 0.0, 8.0, NULL);
  kiv_function_set_name(KIV_FUNCTION(ex->map), "y vs E");
  ex->rate = kiv_tracer_new(300);
  kiv_function_set_name(KIV_FUNCTION(ex->rate), "rate");
}

static GtkWidget *build_window(Experiment *ex) {
  KivChart1D *c;

  ex->energy_chart = kiv_chart1d_new(KIV_FUNCTION(ex->signal));
  c = KIV_CHART1D(ex->energy_chart);
  kiv_chart1d_add_curve(c, KIV_FUNCTION(ex->background));
  kiv_chart1d_set_curve_colors(c, "blue", "red", NULL);
  kiv_chart1d_set_xtitle(c, "E (MeV)");
  kiv_chart1d_set_ytitle(c, "events");
  kiv_chart1d_show_stats(c, TRUE);

  ex->profile_chart = kiv_chart1d_new(KIV_FUNCTION(ex->profile));
  c = KIV_CHART1D(ex->profile_chart);
  kiv_chart1d_set_curve_colors(c, "dark green", NULL);
  kiv_chart1d_set_xtitle(c, "E (MeV)");
  kiv_chart1d_set_ytitle(c, "mean y");
  g_object_set(c, "line_width", 2.0, NULL);

  ex->map_chart = kiv_chart2d_new(ex->map);
  c = KIV_CHART1D(ex->map_chart);
  kiv_chart1d_set_xtitle(c, "E (MeV)");
  kiv_chart1d_set_ytitle(c, "y");

  ex->rate_chart = kiv_chart1d_new(KIV_FUNCTION(ex->rate));
  c = KIV_CHART1D(ex->rate_chart);
  kiv_chart1d_set_curve_colors(c, "purple", NULL);
  kiv_chart1d_set_xtitle(c, "samples (0.1 s)");
  kiv_chart1d_set_ytitle(c, "kevents/s");
  g_object_set(c, "line_width", 1.5, NULL);

  ex->gauge = kiv_gauge_new(0.0f, 2000.0f);
  kiv_gauge_set_title(KIV_GAUGE(ex->gauge), "rate (kevents/s)");
  kiv_gauge_set_color(KIV_GAUGE(ex->gauge), "orange");

  ex->status = gtk_label_new("starting");
  gtk_misc_set_alignment(GTK_MISC(ex->status), 0.0f, 0.5f);

  GtkWidget *top = gtk_hbox_new(FALSE, 4);
  gtk_box_pack_start(GTK_BOX(top), framed(ex->energy_chart, "Energy", 560, 380), TRUE, TRUE, 0);
  gtk_box_pack_start(GTK_BOX(top), framed(ex->map_chart, "Correlation", 460, 380), TRUE, TRUE, 0);
  GtkWidget *bottom = gtk_hbox_new(FALSE, 4);
  gtk_box_pack_start(GTK_BOX(bottom), framed(ex->profile_chart, "Profile", 380, 260), TRUE, TRUE, 0);
  gtk_box_pack_start(GTK_BOX(bottom), framed(ex->rate_chart, "Rate history", 380, 260), TRUE, TRUE, 0);
  gtk_box_pack_start(GTK_BOX(bottom), framed(ex->gauge, "Rate", 260, 260), FALSE, FALSE, 0);
  GtkWidget *box = gtk_vbox_new(FALSE, 4);
  gtk_box_pack_start(GTK_BOX(box), top, TRUE, TRUE, 0);
  gtk_box_pack_start(GTK_BOX(box), bottom, TRUE, TRUE, 0);
  gtk_box_pack_start(GTK_BOX(box), ex->status, FALSE, FALSE, 2);

  GtkWidget *window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
  gtk_window_set_title(GTK_WINDOW(window),
                       "kiv-demo: right-click a chart for its menu, Ctrl-drag to zoom");
  gtk_container_set_border_width(GTK_CONTAINER(window), 4);
  gtk_container_add(GTK_CONTAINER(window), box);
  return window;
}

static void start(Experiment *ex) {
  ex->last_time = g_get_monotonic_time();
  for (int i = 0; i < N_WORKERS; i++)
    ex->workers[i] = g_thread_new("producer", produce, ex);
  kiv_chart1d_monitor_start(KIV_CHART1D(ex->energy_chart), 200);
  kiv_chart1d_monitor_start(KIV_CHART1D(ex->profile_chart), 200);
  kiv_chart1d_monitor_start(KIV_CHART1D(ex->map_chart), 200);
  kiv_chart1d_monitor_start(KIV_CHART1D(ex->rate_chart), 200);
  g_timeout_add(100, sample_rate, ex);
}

static void stop(Experiment *ex) {
  g_atomic_int_set(&ex->stop, 1);
  for (int i = 0; i < N_WORKERS; i++)
    g_thread_join(ex->workers[i]);
}

/* The gauge has no picture properties: it paints into a surface of ours. */
static gboolean write_gauge(GtkWidget *gauge, const char *path, gboolean pdf) {
  int w = gauge->allocation.width, h = gauge->allocation.height;
  cairo_surface_t *s = pdf ? cairo_pdf_surface_create(path, w, h)
                           : cairo_image_surface_create(CAIRO_FORMAT_ARGB32, w, h);
  gauge_paint(KIV_GAUGE(gauge), cairo_create(s));
  cairo_status_t st = pdf ? CAIRO_STATUS_SUCCESS : cairo_surface_write_to_png(s, path);
  cairo_surface_finish(s);
  if (st == CAIRO_STATUS_SUCCESS)
    st = cairo_surface_status(s);
  cairo_surface_destroy(s);
  return st == CAIRO_STATUS_SUCCESS;
}

static gboolean write_text(KivFunction *f, const char *path) {
  GString *dump = kiv_function_print(f);
  gboolean ok = dump && g_file_set_contents(path, dump->str, dump->len, NULL);
  if (dump)
    g_string_free(dump, TRUE);
  return ok;
}

/* The whole window as the X server shows it. */
static gboolean write_window(GtkWidget *window, const char *path) {
  GdkPixbuf *shot = gdk_pixbuf_get_from_drawable(NULL, window->window, NULL, 0, 0, 0, 0,
                                                 window->allocation.width,
                                                 window->allocation.height);
  gboolean ok = shot && gdk_pixbuf_save(shot, path, "png", NULL, NULL);
  if (shot)
    g_object_unref(shot);
  return ok;
}

static int snapshot(Experiment *ex, GtkWidget *window, const char *dir) {
  static const struct {
    const char *name;
    size_t offset;
  } charts[] = {
      {"energy", G_STRUCT_OFFSET(Experiment, energy_chart)},
      {"profile", G_STRUCT_OFFSET(Experiment, profile_chart)},
      {"correlation", G_STRUCT_OFFSET(Experiment, map_chart)},
      {"rate", G_STRUCT_OFFSET(Experiment, rate_chart)},
  };
  static const char *const formats[] = {"png", "pdf"};
  int failures = 0;

  if (g_mkdir_with_parents(dir, 0755) != 0) {
    fprintf(stderr, "kiv-demo: cannot create %s: %s\n", dir, g_strerror(errno));
    return 1;
  }
  gchar *shot = g_build_filename(dir, "window.png", NULL);
  gboolean shot_ok = write_window(window, shot);
  printf("%s %s\n", shot_ok ? "wrote" : "FAILED", shot);
  failures += !shot_ok;
  g_free(shot);
  for (size_t i = 0; i < G_N_ELEMENTS(charts); i++) {
    GtkWidget *chart = G_STRUCT_MEMBER(GtkWidget *, ex, charts[i].offset);
    for (size_t j = 0; j < G_N_ELEMENTS(formats); j++) {
      gchar *path = g_strdup_printf("%s/%s.%s", dir, charts[i].name, formats[j]);
      int rc = kiv_chart1d_print(KIV_CHART1D(chart), path, formats[j]);
      printf("%s %s\n", rc == 0 ? "wrote" : "FAILED", path);
      failures += rc != 0;
      g_free(path);
    }
  }
  for (size_t j = 0; j < G_N_ELEMENTS(formats); j++) {
    gchar *path = g_strdup_printf("%s/gauge.%s", dir, formats[j]);
    gboolean ok = write_gauge(ex->gauge, path, j == 1);
    printf("%s %s\n", ok ? "wrote" : "FAILED", path);
    failures += !ok;
    g_free(path);
  }
  const struct {
    const char *name;
    KivFunction *f;
  } dumps[] = {
      {"energy.txt", KIV_FUNCTION(ex->signal)},
      {"correlation.txt", KIV_FUNCTION(ex->map)},
  };
  for (size_t i = 0; i < G_N_ELEMENTS(dumps); i++) {
    gchar *path = g_build_filename(dir, dumps[i].name, NULL);
    gboolean ok = write_text(dumps[i].f, path);
    printf("%s %s\n", ok ? "wrote" : "FAILED", path);
    failures += !ok;
    g_free(path);
  }
  return failures ? 1 : 0;
}

static gboolean quit_loop(gpointer loop) {
  g_main_loop_quit(loop);
  return FALSE;
}

int main(int argc, char **argv) {
  gchar *snapshot_dir = NULL;
  gint seconds = 5;
  GOptionEntry entries[] = {
      {"snapshot", 0, 0, G_OPTION_ARG_FILENAME, &snapshot_dir,
       "Run without interaction, then write every picture and dump into DIR", "DIR"},
      {"seconds", 0, 0, G_OPTION_ARG_INT, &seconds, "How long a snapshot run lasts (default 5)",
       "N"},
      {NULL, 0, 0, 0, NULL, NULL, NULL},
  };
  GError *error = NULL;
  if (!gtk_init_with_args(&argc, &argv, "- live histograms of a simulated experiment", entries,
                          NULL, &error)) {
    fprintf(stderr, "kiv-demo: %s\n", error ? error->message : "cannot open the display");
    return 1;
  }

  Experiment ex;
  memset(&ex, 0, sizeof ex);
  build_data(&ex);
  GtkWidget *window = build_window(&ex);
  gtk_widget_show_all(window);
  start(&ex);

  int rc = 0;
  if (snapshot_dir) {
    GMainLoop *loop = g_main_loop_new(NULL, FALSE);
    g_timeout_add_seconds(seconds > 0 ? (guint) seconds : 1, quit_loop, loop);
    g_main_loop_run(loop);
    g_main_loop_unref(loop);
    stop(&ex);
    printf("%s\n", gtk_label_get_text(GTK_LABEL(ex.status)));
    rc = snapshot(&ex, window, snapshot_dir);
    gtk_widget_destroy(window);
  } else {
    g_signal_connect(window, "destroy", G_CALLBACK(gtk_main_quit), NULL);
    gtk_main();
    stop(&ex);
  }

  g_object_unref(ex.signal);
  g_object_unref(ex.background);
  g_object_unref(ex.profile);
  g_object_unref(ex.map);
  g_object_unref(ex.rate);
  g_free(snapshot_dir);
  return rc;
}
