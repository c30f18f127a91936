/* chart2d-redraw.cc: how long a two-dimensional chart of 800 x 600 pixels
 * takes to redraw a histogram whose every cell is nonzero, from 100 x 100
 * to 1000 x 1000 cells.  Each redraw is a complete expose (frame step with
 * the sort, colour scale, cells, axes, copy to the window), forced and
 * waited for; the median of several is reported.
 *
 *   chart2d-redraw [--reps N]
 *
 * Needs an X display (run it under xvfb-run when there is none). */
#include <gtkkiv.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

constexpr int kWidth = 800;
constexpr int kHeight = 600;

void settle() {
  gdk_display_sync(gdk_display_get_default());
  while (gtk_events_pending())
    gtk_main_iteration();
}

/* Milliseconds of each of reps complete redraws of the chart. */
std::vector<double> time_redraws(GtkWidget *chart, int reps) {
  std::vector<double> ms;
  GdkWindow *window = gtk_widget_get_window(chart);
  for (int i = 0; i < reps; i++) {
    gint64 t0 = g_get_monotonic_time();
    gdk_window_invalidate_rect(window, NULL, FALSE);
    gdk_window_process_updates(window, FALSE);
    gdk_display_sync(gdk_display_get_default());
    ms.push_back((g_get_monotonic_time() - t0) / 1000.0);
  }
  return ms;
}

double median(std::vector<double> v) {
  std::sort(v.begin(), v.end());
  return v[v.size() / 2];
}

/* Median milliseconds per redraw of an n x n histogram with every cell
 * nonzero. */
double redraw_ms(int n, int reps, GRand *rand) {
  KivHistogram2D *hist = kiv_histogram2d_new(n, 0.0, 1.0, n, 0.0, 1.0, NULL);
  for (int b = 0; b < n * n; b++)
    hist->y[b] = 1.0 + g_rand_double_range(rand, 0.0, 1000.0);

  GtkWidget *window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
  GtkWidget *chart = kiv_chart2d_new(hist);
  gtk_widget_set_size_request(chart, kWidth, kHeight);
  gtk_container_add(GTK_CONTAINER(window), chart);
  gtk_widget_show_all(window);
  for (int i = 0; i < 1000; i++) {
    settle();
    GtkAllocation a;
    gtk_widget_get_allocation(chart, &a);
    if (gtk_widget_get_mapped(chart) && a.width == kWidth && a.height == kHeight)
      break;
    g_usleep(2000);
  }

  time_redraws(chart, 1); /* the first one grows the index buffer */
  double ms = median(time_redraws(chart, reps));
  KivChart2D *h = KIV_CHART2D(chart);
  if (h->nindx != n * n) {
    fprintf(stderr, "chart2d-redraw: %d of %d cells indexed\n", h->nindx, n * n);
    exit(1);
  }
  gtk_widget_destroy(window);
  g_object_unref(hist);
  return ms;
}

} // namespace

int main(int argc, char **argv) {
  int reps = 9;
  for (int i = 1; i < argc; i++) {
    if (std::strcmp(argv[i], "--reps") == 0 && i + 1 < argc) {
      reps = std::max(1, std::atoi(argv[++i]));
    } else {
      fprintf(stderr, "usage: %s [--reps N]\n", argv[0]);
      return 2;
    }
  }
  if (!gtk_init_check(&argc, &argv)) {
    fprintf(stderr, "chart2d-redraw: no X display\n");
    return 77;
  }

  GRand *rand = g_rand_new_with_seed(1);
  printf("chart2d-redraw: %dx%d chart, every cell nonzero, median of %d redraws\n", kWidth,
         kHeight, reps);
  printf("%12s %12s %14s %14s\n", "cells", "ms/redraw", "ns/cell", "vs 100x100");
  double base = 0.0;
  for (int n : {100, 200, 500, 1000}) {
    double ms = redraw_ms(n, reps, rand);
    if (base == 0.0)
      base = ms;
    printf("%5d x %-5d %12.1f %14.1f %13.1fx\n", n, n, ms, ms * 1e6 / (double(n) * n),
           ms / base);
  }
  g_rand_free(rand);
  return 0;
}
