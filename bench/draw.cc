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

/* The kinds of contents of figure 4, each as a live spectrum can look:
 * the bell above; uniform noise in [0, 100), where every pixel column of a
 * large histogram spans the whole height; sparse, 2 % of the bins with 1
 * to 5 counts; spiky, a low baseline with one bin in 500 at 80 more. */
enum Kind { BELL, UNIFORM, SPARSE, SPIKY };
const char *const kKindNames[] = {"bell", "uniform", "sparse", "spiky"};

std::vector<double> contents(Kind kind, int n) {
  if (kind == BELL)
    return bell_counts(n);
  std::vector<double> v(static_cast<size_t>(n));
  GRand *r = g_rand_new_with_seed(5 + kind);
  for (double &x : v) {
    if (kind == UNIFORM)
      x = g_rand_double_range(r, 0.0, 100.0);
    else if (kind == SPARSE)
      x = g_rand_int_range(r, 0, 50) == 0 ? g_rand_int_range(r, 1, 6) : 0.0;
    else
      x = g_rand_int_range(r, 0, 3) + (g_rand_int_range(r, 0, 500) == 0 ? 80.0 : 0.0);
  }
  g_rand_free(r);
  return v;
}

/* The plotting areas of the chart drawn reduced and drawn point by point:
 * the share of pixels more than 64 levels off in their largest channel,
 * in %, and the mean of that difference. */
std::pair<double, double> fidelity(KivChart1D *chart) {
  GdkPixbuf *pic[2];
  for (int every = 0; every < 2; every++) {
    _kiv_chart1d_set_every_point(chart, every);
    g_object_get(chart, "pixmap", &pic[every], NULL);
  }
  _kiv_chart1d_set_every_point(chart, FALSE);
  const KivCanvas *c = chart->cnvs;
  long over = 0, count = 0;
  double sum = 0.0;
  int stride = gdk_pixbuf_get_rowstride(pic[0]), nc = gdk_pixbuf_get_n_channels(pic[0]);
  for (int y = c->py1; y <= c->py0; y++)
    for (int x = c->px0; x <= c->px1; x++) {
      const guchar *p = gdk_pixbuf_get_pixels(pic[0]) + y * stride + x * nc;
      const guchar *q = gdk_pixbuf_get_pixels(pic[1]) + y * stride + x * nc;
      int d = std::max({std::abs(p[0] - q[0]), std::abs(p[1] - q[1]), std::abs(p[2] - q[2])});
      over += d > 64;
      sum += d;
      count++;
    }
  g_object_unref(pic[0]);
  g_object_unref(pic[1]);
  return {100.0 * over / count, sum / count};
}

/* The longest a producer waited for the histogram's lock while the chart
 * redrew it reps times, in ms: an upper bound of the time a redraw holds
 * the lock, the one producer never contending with another. */
double longest_lock_wait(Shown &s, KivHistogram *h, int reps) {
  std::atomic<bool> stop(false);
  std::atomic<gint64> longest(0);
  std::thread producer([&] {
    while (!stop.load(std::memory_order_relaxed)) {
      gint64 t0 = g_get_monotonic_time();
      kiv_histogram_fill(h, 0.5, 0.0);
      gint64 dt = g_get_monotonic_time() - t0;
      if (dt > longest.load())
        longest = dt;
      g_usleep(100);
    }
  });
  for (int i = 0; i < reps; i++)
    s.redraw();
  stop = true;
  producer.join();
  return longest.load() / 1e3;
}

struct Redraw1D {
  double ours = 0.0, mpl = 0.0; /* median ms; 0 when not measured */
};

/* Our redraw of the contents and matplotlib's stairs of the same, a row
 * each, with the fidelity of the reduced picture or the longest lock wait
 * of a producer where they are measured. */
Redraw1D redraw_1d(const Options &o, Table &t, Kind kind, int n) {
  std::vector<double> v = contents(kind, n);
  KivHistogram *hist = kiv_histogram_new(n, -5.0, 5.0, NULL);
  std::copy(v.begin(), v.end(), hist->y);
  Redraw1D r;
  std::string what = format("%d bins, %s", n, kKindNames[kind]);
  Contender m = matplotlib("", v, {"stairs", "-5", "5"}, o.reps);
  if (!m.seconds.empty()) {
    r.mpl = m.median() * 1e3;
    t.row({"matplotlib stairs, " + what, ms(m), ms_range(m), "", "", ""});
  }
  Shown s(kiv_chart1d_new(KIV_FUNCTION(hist)));
  KivChart1D *chart = KIV_CHART1D(s.chart);
  std::vector<Contender> c;
  c.push_back({"KivChart1D, " + what, 1, [&] { s.redraw(); }});
  measure(c, o.reps);
  r.ours = c[0].median() * 1e3;
  /* The reference of every point takes cairo minutes at a million bins
   * of noise: the fidelity is measured at 10 000 (the test's slow sweep
   * goes further). */
  std::string fid = "-", lock = "-";
  if (n == 10000) {
    std::pair<double, double> f = fidelity(chart);
    fid = format("%.4f %% / %.2f", f.first, f.second);
  }
  if (n > 100000)
    lock = format("%.2f", longest_lock_wait(s, hist, o.reps));
  t.row({c[0].name, ms(c[0]), ms_range(c[0]),
         r.mpl > 0 ? format("%.1fx", r.mpl / r.ours) : "-", fid, lock});
  g_object_unref(hist);
  return r;
}

} // namespace

void figure_redraw_1d(const Options &o) {
  if (!have_display("4"))
    return;
  Table t(format("Figure 4: redraw of a one-dimensional chart, %dx%d; median of %d redraws",
                 kWidth, kHeight, o.reps),
          {"contender", "ms/redraw", "runs (ms)", "matplotlib / ours",
           "pixels >64 off / mean diff", "lock wait (ms)"});
  const int sizes[] = {100, 10000, 999999};
  for (Kind kind : {BELL, UNIFORM, SPARSE, SPIKY}) {
    Redraw1D r[3];
    for (int i = 0; i < 3; i++)
      r[i] = redraw_1d(o, t, kind, sizes[i]);
    for (int i = 0; i < 3; i++)
      if (r[i].mpl > 0)
        check_goal(t, "4", format("at least 10x faster than matplotlib, %d bins, %s", sizes[i],
                                  kKindNames[kind]),
                   r[i].mpl / r[i].ours, Want::AtLeast, 10.0,
                   "the fixed cost of a redraw (text layout, axes, the copy to the window)");
    check_goal(t, "4", format("999999 bins within 5x the time of 100 bins, %s", kKindNames[kind]),
               r[2].ours / r[0].ours, Want::AtMost, 5.0, "the reduction's pass over the bins");
  }
  t.note("A curve of more than four points a pixel column is drawn from a summary of sixteen");
  t.note("buckets a column (src/kivchart1d-reduce.cc); the fidelity columns compare its plotting");
  t.note("area with the drawing of every point (goal: at most 0.01 % over 64 levels, mean at");
  t.note("most 1.5).  The lock wait is the longest a producer waited for the histogram's lock");
  t.note("during the redraws (goal: at most 2 ms).  999999 bins is the most \"nx\" allows.");
  t.print();
}

namespace {

/* A pointer motion over the middle of the chart, as the window system
 * sends it, and the redraw it asks for. */
void move_pointer(Shown &s, int step) {
  GdkEvent *e = gdk_event_new(GDK_MOTION_NOTIFY);
  e->motion.window = GDK_WINDOW(g_object_ref(gtk_widget_get_window(s.chart)));
  e->motion.x = kWidth / 2 + step % 7;
  e->motion.y = kHeight / 2;
  gtk_widget_event(s.chart, e);
  gdk_event_free(e);
  gdk_window_process_updates(gtk_widget_get_window(s.chart), FALSE);
  settle();
}

/* Redraws of the map while a producer fills it under its lock, in
 * batches of 1000 entries as fast as it can. */
Contender redraw_while_filling(const std::string &name, Shown &s, KivHistogram2D *hist,
                               int reps) {
  std::atomic<bool> stop(false);
  std::thread producer([&] {
    GRand *r = g_rand_new_with_seed(3);
    std::vector<double> x(1000), y(1000);
    while (!stop.load(std::memory_order_relaxed)) {
      for (size_t i = 0; i < x.size(); i++) {
        x[i] = g_rand_double(r);
        y[i] = g_rand_double(r);
      }
      kiv_function_lock(&KIV_FUNCTION2D(hist)->X);
      kiv_histogram2d_fill_n(hist, x.data(), y.data(), NULL, x.size());
      kiv_function_unlock(&KIV_FUNCTION2D(hist)->X);
      g_usleep(1000);
    }
    g_rand_free(r);
  });
  std::vector<Contender> c;
  c.push_back({name, 1, [&] { s.redraw(); }});
  measure(c, reps);
  stop = true;
  producer.join();
  return c[0];
}

} // namespace

void figure_redraw_2d(const Options &o) {
  if (!have_display("5"))
    return;
  const int sizes[] = {100, 1000};
  Table t(format("Figure 5: redraw of a two-dimensional chart, %dx%d, every cell nonzero; median "
                 "of %d redraws",
                 kWidth, kHeight, o.reps),
          {"contender", "ms/redraw", "runs (ms)", "matplotlib / ours"});
  GRand *r = g_rand_new_with_seed(1);
  for (int n : sizes) {
    std::vector<double> cells(static_cast<size_t>(n) * n);
    for (double &v : cells)
      v = 1.0 + g_rand_double_range(r, 0.0, 1000.0);
    KivHistogram2D *hist = kiv_histogram2d_new(n, 0.0, 1.0, n, 0.0, 1.0, NULL);
    std::copy(cells.begin(), cells.end(), hist->y);
    Contender m = matplotlib(format("matplotlib pcolormesh, %d x %d", n, n).c_str(), cells,
                             {"pcolormesh", std::to_string(n)}, o.reps);
    double mpl = m.seconds.empty() ? 0.0 : m.median() * 1e3;
    if (mpl > 0)
      t.row({m.name, ms(m), ms_range(m), ""});
    Shown s(kiv_chart2d_new(hist));
    std::vector<Contender> c;
    c.push_back({format("KivChart2D, %d x %d, unchanged", n, n), 1, [&] { s.redraw(); }});
    int step = 0;
    c.push_back({format("KivChart2D, %d x %d, pointer motion, unchanged", n, n), 1,
                 [&] { move_pointer(s, step++); }});
    measure(c, o.reps);
    c.push_back(redraw_while_filling(format("KivChart2D, %d x %d, while a producer fills", n, n),
                                     s, hist, o.reps));
    for (const Contender &k : c)
      t.row({k.name, ms(k), ms_range(k), mpl > 0 ? format("%.1fx", mpl / (k.median() * 1e3)) : "-"});
    double unchanged = c[1].median() * 1e3, filling = c[2].median() * 1e3;
    if (n == 1000) {
      check_goal(t, "5", "1000 x 1000 cells while a producer fills, ms per redraw", filling,
                 Want::AtMost, 50.0,
                 "each changed redraw orders the million cells and paints them one by one in "
                 "order of content, which decides which neighbour's extra pixel shows");
      check_goal(t, "5", "1000 x 1000 cells unchanged (pointer motion), ms per redraw", unchanged,
                 Want::AtMost, 15.0, "");
    }
    if (mpl > 0)
      check_goal(t, "5", format("at least 5x faster than matplotlib while filling, %d x %d", n, n),
                 mpl / filling, Want::AtLeast, 5.0,
                 n == 100 ? "cells larger than a pixel are filled and stroked through cairo, about "
                            "a microsecond each"
                          : "ordering and painting a million cells in order of content");
    g_object_unref(hist);
  }
  g_rand_free(r);
  t.note("Unchanged redraws keep the index and put back the cells' pixels when nothing they");
  t.note("depend on changed; a producer's fills make every redraw order and paint afresh.");
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
  Table t(format("Figure 6: live -- %d producers fill a histogram for %.0f s, without a chart "
                 "and while one refreshes every 50 ms; median of %d runs each",
                 o.threads, seconds, o.reps),
          {"producers", "no chart (M values/s)", "with chart", "with / without", "redraws/s"});
  for (int bins : {1000, 999999})
    for (bool batches : {false, true}) {
      KivHistogram *h = kiv_histogram_new(bins, 0.0, 1000.0, NULL);
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
      std::string name = format("%s, %d bins", batches ? "kiv_histogram_fill_n" : "kiv_histogram_fill",
                                bins);
      t.row({name, format("%.1f", a / 1e6), format("%.1f", b / 1e6), format("%.2f", b / a),
             format("%.0f", median(redraws))});
      check_goal(t, "6", name + " throughput with a live chart vs without", b / a, Want::AtLeast,
                 bins > 1000 ? 0.95 : 0.9,
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
