/* draw.cc: the drawing figures.  Our charts redraw at 800 x 600 pixels
 * against matplotlib's Agg backend drawing the same data at the same size
 * in a python3 child, and a chart refreshing beside producers costs them
 * throughput and, over many redraws, must not cost memory.
 *
 * A redraw of ours is a complete expose, as a window sees it: the frame
 * step fetching the points, the layout, the curves or cells, the axes and
 * the copy of the off-screen image to the window, forced and waited for.
 * matplotlib's is fig.canvas.draw(), timed in the child's own loop. */
#include "figures.h"

#include <gtkkiv.h>
#include <kivchart1d-private.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdio>
#include <thread>
#include <unistd.h>

#ifndef KIV_BENCH_DIR
#error "KIV_BENCH_DIR must name the directory of matplotlib-redraw.py"
#endif

namespace kivbench {

namespace {

constexpr int kWidth = 800;
constexpr int kHeight = 600;

/* Whether there is a display to draw on; a figure without one is skipped,
 * and says so. */
bool have_display(const char *figure) {
  static int ok = -1;
  if (ok < 0)
    ok = gtk_init_check(NULL, NULL) ? 1 : 0;
  if (ok != 1)
    printf("\nFigure %s skipped: no display\n", figure);
  return ok == 1;
}

void settle() {
  gdk_display_sync(gdk_display_get_default());
  while (gtk_events_pending())
    gtk_main_iteration();
}

/* A chart in a toplevel window, mapped and allocated 800 x 600 pixels. */
class Shown {
public:
  explicit Shown(GtkWidget *chart) : window_(gtk_window_new(GTK_WINDOW_TOPLEVEL)), chart(chart) {
    gtk_widget_set_size_request(chart, kWidth, kHeight);
    gtk_container_add(GTK_CONTAINER(window_), chart);
    gtk_widget_show_all(window_);
    for (int i = 0; i < 1000; i++) {
      settle();
      GtkAllocation a;
      gtk_widget_get_allocation(chart, &a);
      if (gtk_widget_get_mapped(chart) && a.width == kWidth && a.height == kHeight)
        return;
      g_usleep(2000);
    }
    fprintf(stderr, "kiv-bench: the chart was not shown at %dx%d\n", kWidth, kHeight);
    exit(2);
  }
  ~Shown() { gtk_widget_destroy(window_); }
  Shown(const Shown &) = delete;
  Shown &operator=(const Shown &) = delete;

  /* The events the copy to the window brings back are handled, as a main
   * loop would; left queued, they pile up in Xlib. */
  void redraw() {
    GdkWindow *w = gtk_widget_get_window(chart);
    gdk_window_invalidate_rect(w, NULL, FALSE);
    gdk_window_process_updates(w, FALSE);
    settle();
  }

private:
  GtkWidget *window_;

public:
  GtkWidget *chart;
};

/* Writes the values to a temporary file for the python3 child; returns
 * its name (g_free() it, after unlinking the file). */
gchar *write_doubles(const std::vector<double> &v) {
  gchar *name = NULL;
  int fd = g_file_open_tmp("kiv-bench-XXXXXX.dat", &name, NULL);
  size_t bytes = v.size() * sizeof(double);
  bool ok = fd >= 0 && write(fd, v.data(), bytes) == static_cast<ssize_t>(bytes);
  if (fd >= 0)
    close(fd);
  if (!ok) {
    fprintf(stderr, "kiv-bench: could not write the data for matplotlib\n");
    exit(2);
  }
  return name;
}

/* matplotlib's redraw of the data as a contender: its milliseconds come
 * from the child's own loop.  Without a usable matplotlib the contender
 * has no runs, and the caller leaves its rows and goals out. */
Contender matplotlib(const char *name, const std::vector<double> &data,
                     std::vector<std::string> args, int reps) {
  Contender c(name, 1, [] {});
  gchar *file = write_doubles(data);
  std::string script = std::string(KIV_BENCH_DIR) + "/matplotlib-redraw.py";
  std::vector<std::string> argv = {"/usr/bin/python3", script, args[0], file};
  argv.insert(argv.end(), args.begin() + 1, args.end());
  argv.push_back(std::to_string(reps));
  std::vector<gchar *> cargv;
  for (std::string &a : argv)
    cargv.push_back(&a[0]);
  cargv.push_back(NULL);
  gchar *out = NULL, *err = NULL;
  gint status = 0;
  GError *error = NULL;
  bool ran = g_spawn_sync(NULL, cargv.data(), NULL, G_SPAWN_DEFAULT, NULL, NULL, &out, &err,
                          &status, &error) &&
             g_spawn_check_wait_status(status, &error);
  if (ran) {
    gchar **f = g_strsplit(g_strstrip(out), " ", -1);
    for (gchar **s = f; *s != NULL; s++)
      c.seconds.push_back(g_ascii_strtod(*s, NULL) / 1e3);
    g_strfreev(f);
  } else {
    fprintf(stderr, "kiv-bench: matplotlib did not run (%s): %s\n",
            error ? error->message : "", err ? err : "");
  }
  g_clear_error(&error);
  g_free(out);
  g_free(err);
  unlink(file);
  g_free(file);
  return c;
}

std::string ms(const Contender &c) {
  return format("%.1f", c.median() * 1e3);
}

std::string ms_range(const Contender &c) {
  return format("%.1f..%.1f", c.fastest() * 1e3, c.slowest() * 1e3);
}

/* The counts of n bins filled with a bell over [-5, 5) peaking at 100
 * entries a bin: noisy where it is high, single counts over an empty
 * baseline in its tails, as a live histogram looks. */
std::vector<double> bell_counts(int n) {
  std::vector<double> v(static_cast<size_t>(n));
  GRand *r = g_rand_new_with_seed(4);
  for (int b = 0; b < n; b++) {
    double z = -5.0 + 10.0 * (b + 0.5) / n, mean = 100.0 * std::exp(-z * z / 2.0);
    /* Poisson by inversion, in steps that keep exp(-mean) away from 0. */
    double count = 0.0;
    for (double left = mean; left > 0.0; left -= 30.0) {
      double m = std::min(left, 30.0), u = g_rand_double(r), p = std::exp(-m), sum = p;
      double k = 0.0;
      while (u > sum && k < 1000.0) {
        k += 1.0;
        p *= m / k;
        sum += p;
      }
      count += k;
    }
    v[static_cast<size_t>(b)] = count;
  }
  g_rand_free(r);
  return v;
}

long resident_kib() {
  long pages = 0, resident = 0;
  FILE *f = fopen("/proc/self/statm", "r");
  if (f == NULL || fscanf(f, "%ld %ld", &pages, &resident) != 2)
    resident = 0;
  if (f != NULL)
    fclose(f);
  return resident * (sysconf(_SC_PAGESIZE) / 1024);
}

} // namespace

namespace {

/* Uniform contents in [0, 100): every pixel column of a large histogram
 * spans the whole height, the case where most strokes lie inside others. */
std::vector<double> uniform_contents(int n) {
  std::vector<double> v(static_cast<size_t>(n));
  GRand *r = g_rand_new_with_seed(5);
  for (double &x : v)
    x = g_rand_double_range(r, 0.0, 100.0);
  g_rand_free(r);
  return v;
}

struct Redraw1D {
  double ours = 0.0, every = 0.0, mpl = 0.0; /* median ms; 0 when not measured */
};

/* Our redraw of the contents, reduced and, when every_point, with every
 * point stroked, and matplotlib's stairs of the same contents; a row each. */
Redraw1D redraw_1d(const Options &o, Table &t, const char *what, const std::vector<double> &v,
                   bool every_point) {
  int n = static_cast<int>(v.size());
  KivHistogram *hist = kiv_histogram_new(n, -5.0, 5.0, NULL);
  std::copy(v.begin(), v.end(), hist->y);
  Redraw1D r;
  Contender m = matplotlib("", v, {"stairs", "-5", "5"}, o.reps);
  if (!m.seconds.empty()) {
    r.mpl = m.median() * 1e3;
    t.row({format("matplotlib stairs, %d bins, %s", n, what), ms(m), ms_range(m), "", ""});
  }
  Shown s(kiv_chart1d_new(KIV_FUNCTION(hist)));
  KivChart1D *chart = KIV_CHART1D(s.chart);
  for (bool every : {false, true}) {
    if (every && !every_point)
      break;
    int points = 0;
    std::vector<Contender> c;
    c.push_back({format("KivChart1D, %d bins, %s%s", n, what, every ? ", every point" : ""), 1,
                 [&] { s.redraw(); }, [&] { _kiv_chart1d_set_full_outline(chart, every); },
                 [&] { points = _kiv_chart1d_outline_points(chart); }});
    measure(c, o.reps);
    double median = c[0].median() * 1e3;
    (every ? r.every : r.ours) = median;
    t.row({c[0].name, ms(c[0]), ms_range(c[0]), format("%d", points),
           r.mpl > 0 ? format("%.2fx", r.mpl / median) : "-"});
  }
  _kiv_chart1d_set_full_outline(chart, FALSE);
  g_object_unref(hist);
  return r;
}

} // namespace

void figure_redraw_1d(const Options &o) {
  if (!have_display("4"))
    return;
  Table t(format("Figure 4: redraw of a one-dimensional chart, %dx%d; median of %d redraws",
                 kWidth, kHeight, o.reps),
          {"contender", "ms/redraw", "runs (ms)", "points stroked", "matplotlib / ours"});
  const int sizes[] = {100, 10000, 999999};
  Redraw1D bell[3];
  for (int i = 0; i < 3; i++)
    bell[i] = redraw_1d(o, t, "bell", bell_counts(sizes[i]), i == 1);
  /* For comparison, without goals: where most strokes lie inside others. */
  redraw_1d(o, t, "uniform", uniform_contents(10000), true);
  redraw_1d(o, t, "uniform", uniform_contents(999999), false);
  t.note("bell: counts of a bell peaking at 100 a bin; uniform: contents uniform in [0, 100).");
  t.note("The outline is cut down to what shapes its picture, which stays the picture of");
  t.note("every point byte for byte (tests/test-chart1d-outline.cc); 999999 bins is the");
  t.note("most \"nx\" allows.");
  const char *why[] = {
      "cairo strokes every step with round joins through its antialiasing rasteriser",
      "here the reduction leaves out next to nothing that shapes the antialiased edges, and "
      "cairo strokes the 30 000 points with round joins, where Agg simplifies the path first "
      "(which changes the picture)",
      "only strokes provably inside others may go without changing a pixel: the noisy core, the "
      "single counts over the empty baseline and the slivers that cairo's round joins leave "
      "keep a third of a million points, and all 3 million are still fetched, transformed and "
      "examined; Agg simplifies the path (which changes the picture)"};
  for (int i = 0; i < 3; i++)
    if (bell[i].mpl > 0)
      check_goal(t, "4", format("redraw at least 10x faster than matplotlib, %d bins", sizes[i]),
                 bell[i].mpl / bell[i].ours, Want::AtLeast, 10.0, why[i]);
  check_goal(t, "4", "999999 bins within 5x the time of 100 bins", bell[2].ours / bell[0].ours,
             Want::AtMost, 5.0, why[2]);
  t.print();
}

void figure_redraw_2d(const Options &o) {
  if (!have_display("5"))
    return;
  const int sizes[] = {100, 1000};
  Table t(format("Figure 5: redraw of a two-dimensional chart, %dx%d, every cell nonzero; median "
                 "of %d redraws",
                 kWidth, kHeight, o.reps),
          {"contender", "ms/redraw", "runs (ms)", "matplotlib / ours"});
  double ours_ms[2] = {0, 0}, mpl_ms[2] = {0, 0};
  GRand *r = g_rand_new_with_seed(1);
  for (int i = 0; i < 2; i++) {
    int n = sizes[i];
    std::vector<double> cells(static_cast<size_t>(n) * n);
    for (double &v : cells)
      v = 1.0 + g_rand_double_range(r, 0.0, 1000.0);
    KivHistogram2D *hist = kiv_histogram2d_new(n, 0.0, 1.0, n, 0.0, 1.0, NULL);
    std::copy(cells.begin(), cells.end(), hist->y);
    std::vector<Contender> c;
    {
      Shown s(kiv_chart2d_new(hist));
      c.push_back({format("KivChart2D, %d x %d cells", n, n), 1, [&] { s.redraw(); }});
      measure(c, o.reps);
    }
    g_object_unref(hist);
    Contender m = matplotlib(format("matplotlib pcolormesh, %d x %d", n, n).c_str(), cells,
                             {"pcolormesh", std::to_string(n)}, o.reps);
    ours_ms[i] = c[0].median() * 1e3;
    if (!m.seconds.empty()) {
      mpl_ms[i] = m.median() * 1e3;
      t.row({m.name, ms(m), ms_range(m), ""});
    }
    t.row({c[0].name, ms(c[0]), ms_range(c[0]),
           mpl_ms[i] > 0 ? format("%.1fx", mpl_ms[i] / ours_ms[i]) : "-"});
  }
  g_rand_free(r);
  const char *why[] = {
      "each of the 10 000 cells is filled and stroked through cairo, about a microsecond each, "
      "where Agg draws the mesh in one pass",
      "every redraw indexes and sorts the million cells by content (the chart's index sort, "
      "whose order of equal contents decides which neighbour's extra pixel shows) and paints "
      "them one by one"};
  check_goal(t, "5", "1000 x 1000 cells, ms per redraw", ours_ms[1], Want::AtMost, 200.0, why[1]);
  for (int i = 0; i < 2; i++)
    if (mpl_ms[i] > 0)
      check_goal(t, "5", format("at least 5x faster than matplotlib, %d x %d", sizes[i], sizes[i]),
                 mpl_ms[i] / ours_ms[i], Want::AtLeast, 5.0, why[i]);
  t.print();
}

namespace {

/* Values per second that o.threads producers fill into h in the given
 * time, one call per value or in batches, while the main loop runs. */
double producer_rate(const Options &o, KivHistogram *h, bool batches, double seconds) {
  std::vector<double> values(1 << 16);
  GRand *r = g_rand_new_with_seed(9);
  for (double &v : values)
    v = g_rand_double_range(r, 0.0, 1000.0);
  g_rand_free(r);
  std::atomic<bool> stop(false);
  std::atomic<gsize> filled(0);
  std::vector<std::thread> threads;
  for (int i = 0; i < o.threads; i++)
    threads.emplace_back([&, i] {
      gsize n = 0, at = static_cast<gsize>(i) * 4099 % values.size();
      while (!stop.load(std::memory_order_relaxed)) {
        gsize k = batches ? std::min<gsize>(o.batch, values.size() - at) : 1;
        if (batches)
          kiv_histogram_fill_n(h, &values[at], NULL, k);
        else
          kiv_histogram_fill(h, values[at], 1.0);
        n += k;
        at = (at + k) % values.size();
      }
      filled += n;
    });
  gint64 start = g_get_monotonic_time();
  bool done = false;
  g_timeout_add(static_cast<guint>(seconds * 1000), [](gpointer d) -> gboolean {
    *static_cast<bool *>(d) = true;
    return FALSE;
  }, &done);
  while (!done)
    g_main_context_iteration(NULL, TRUE);
  stop = true;
  for (std::thread &t : threads)
    t.join();
  return static_cast<double>(filled.load()) / ((g_get_monotonic_time() - start) / 1e6);
}

gboolean count_expose(GtkWidget *, GdkEventExpose *, gpointer n) {
  ++*static_cast<int *>(n);
  return FALSE;
}

} // namespace

void figure_live(const Options &o) {
  if (!have_display("6"))
    return;
  const double seconds = 1.0;
  Table t(format("Figure 6: live -- %d producers fill a 1000-bin histogram for %.0f s, without a "
                 "chart and while one refreshes every 50 ms; median of %d runs each",
                 o.threads, seconds, o.reps),
          {"producers", "no chart (M values/s)", "with chart", "with / without", "redraws/s"});
  for (bool batches : {false, true}) {
    KivHistogram *h = kiv_histogram_new(1000, 0.0, 1000.0, NULL);
    std::vector<double> without, with, redraws;
    for (int rep = 0; rep < o.reps; rep++) {
      without.push_back(producer_rate(o, h, batches, seconds));
      Shown s(kiv_chart1d_new(KIV_FUNCTION(h)));
      int exposed = 0;
      g_signal_connect_after(s.chart, "expose-event", G_CALLBACK(count_expose), &exposed);
      kiv_chart1d_monitor_start(KIV_CHART1D(s.chart), 50);
      with.push_back(producer_rate(o, h, batches, seconds));
      kiv_chart1d_monitor_stop(KIV_CHART1D(s.chart));
      redraws.push_back(exposed / seconds);
    }
    g_object_unref(h);
    auto median = [](std::vector<double> v) {
      std::sort(v.begin(), v.end());
      return v[v.size() / 2];
    };
    double a = median(without), b = median(with);
    const char *name = batches ? "kiv_histogram_fill_n" : "kiv_histogram_fill";
    t.row({name, format("%.1f", a / 1e6), format("%.1f", b / 1e6), format("%.2f", b / a),
           format("%.0f", median(redraws))});
    check_goal(t, "6", format("%s throughput with a live chart vs without", name), b / a,
               Want::AtLeast, 0.9,
               "the redraws take the main thread's core from the producers, who outnumber the "
               "cores");
  }

  /* Memory: the resident size after 100 redraws and after 10 000. */
  KivHistogram *h = kiv_histogram_new(1000, 0.0, 1000.0, NULL);
  for (int b = 0; b < 1000; b++)
    h->y[b] = b % 37;
  long after100 = 0, after1000 = 0, after10000 = 0;
  {
    Shown s(kiv_chart1d_new(KIV_FUNCTION(h)));
    for (int i = 1; i <= 10000; i++) {
      s.redraw();
      if (i == 100)
        after100 = resident_kib();
      if (i == 1000)
        after1000 = resident_kib();
    }
    after10000 = resident_kib();
  }
  g_object_unref(h);
  t.note(format("resident size after 100 redraws %ld KiB, after 1000 %ld KiB, after 10 000 %ld KiB",
                after100, after1000, after10000));
  check_goal(t, "6", "resident size growth from 100 to 10 000 redraws, KiB",
             static_cast<double>(after10000 - after100), Want::AtMost, 0.0,
             format("it grew by %ld KiB from 1000 to 10 000 redraws", after10000 - after1000));
  t.print();
}

} // namespace kivbench
