/* Every class under real threads at once.  Producer threads fill a
 * histogram (in batches), a profile (both entry points), a tracer, a graph
 * (whole resets) and a two-dimensional histogram; a reader thread fetches
 * their point arrays; and the main loop, while two charts, a colour map
 * and a gauge redraw on short timers in a mapped window, rebins, resizes,
 * changes ranges, swaps curves, writes properties, takes copies and
 * exports.  Every point array is checked where it is made, under the
 * object's lock, so a torn update fails wherever it is seen; every total is
 * exact afterwards; and a watchdog turns a deadlock or a livelock into a
 * failure with a message instead of a stalled run.
 *
 * Weights are multiples of 1/2 and every binning splits [0, 16) at powers
 * of two, so all sums are exact and compare with ==. */
#include "kiv-test.h"
#include "kivchart-protected.h"

#include <glib/gstdio.h>

#include <atomic>
#include <cstdio>
#include <string>

namespace {

/* Aborts the program when it is not stopped in time.  It polls instead of
 * waiting on a condition, so it needs nothing a deadlocked program holds. */
struct Watchdog {
  const char *what;
  double limit;
  gint64 deadline = g_get_monotonic_time() + gint64(limit * G_USEC_PER_SEC);
  std::atomic<const char *> activity{"starting"};
  std::atomic<bool> stop{false};
  GThread *thread = g_thread_new("watchdog", watch, this);
  ~Watchdog() {
    stop = true;
    g_thread_join(thread);
  }
  static gpointer watch(gpointer data) {
    auto *self = static_cast<Watchdog *>(data);
    for (; !self->stop; g_usleep(20000))
      if (g_get_monotonic_time() > self->deadline) {
        g_printerr("\nWATCHDOG: %s did not finish within %.0f s (%s): a deadlock or a livelock; "
                   "aborting\n", self->what, self->limit, self->activity.load());
        abort();
      }
    return NULL;
  }
};

/* KIV_STRESS_SECONDS, or a short default for the plain test run. */
double run_seconds() {
  const char *v = g_getenv("KIV_STRESS_SECONDS");
  double d = v ? g_ascii_strtod(v, NULL) : 0.0;
  return d > 0.0 ? d : 2.0;
}

/* Producer p (1 to 3) fills 4 s + p for s = 1, 2, ..., so that a reader
 * tells whose value it sees and in which order they came. */
double tagged(int p, uint64_t s) { return 4.0 * double(s) + p; }
int tag_of(double v) { return int(std::fmod(v, 4.0)); }

/* A check of every point array a class makes, run in its array slot under
 * the object's lock, so it sees exactly what a redraw or reader receives. */
struct ArrayCheck {
  void (*fn)(const KivTuple &t);
  std::atomic<uint64_t> passed{0};
};
GQuark check_quark() { return g_quark_from_static_string("kiv-stress-check"); }

/* Rebins refill through the fill slot in the rebinning thread: the weight
 * they add, counted per thread, tells the entries rebins made from those
 * the producers filled. */
thread_local double slot_weight = 0.0;

/* A subclass of parent made at run time that only replaces slots. */
GType derived(GType parent, const char *name, GClassInitFunc init, ArrayCheck *check) {
  GTypeQuery q;
  g_type_query(parent, &q);
  GType type = g_type_register_static_simple(parent, name, q.class_size, init, q.instance_size,
                                             NULL, GTypeFlags(0));
  g_type_set_qdata(type, check_quark(), check);
  return type;
}
template <typename T> T *parent_class(gpointer obj) {
  return static_cast<T *>(g_type_class_peek_parent(G_OBJECT_GET_CLASS(obj)));
}
void checked_array(KivFunction *f, KivTuple *t, double xa, double xb) {
  parent_class<KivFunctionClass>(f)->array(f, t, xa, xb);
  auto *check = static_cast<ArrayCheck *>(g_type_get_qdata(G_OBJECT_TYPE(f), check_quark()));
  check->fn(*t);
  check->passed++;
}
void checked_init(gpointer klass, gpointer) { KIV_FUNCTION_CLASS(klass)->array = checked_array; }
void counting_init(gpointer klass, gpointer) {
  checked_init(klass, NULL);
  KIV_HISTOGRAM_CLASS(klass)->fill = [](KivHistogram *h, double x, double w) {
    slot_weight += w;
    parent_class<KivHistogramClass>(h)->fill(h, x, w);
  };
}

/* Producers fill one entry at each of 0.5, 1.5, ... 15.5 in one batch, so
 * every bin inside [0, 16) holds the same and every bin outside nothing,
 * whatever the binning. */
ArrayCheck lockstep_check{[](const KivTuple &t) {
  g_assert_cmpint(t.n % 3, ==, 1);
  double inside = -1.0;
  for (int i = 1; i + 1 < t.n; i += 3) {
    const KivPoint &lo = t.P[i], &hi = t.P[i + 1];
    g_assert_true(lo.x == t.P[i - 1].x && lo.y == hi.y);
    bool out = hi.x <= 0.0 || lo.x >= 16.0;
    inside = out || inside >= 0.0 ? inside : lo.y;
    g_assert_cmpfloat(lo.y, ==, out ? 0.0 : inside);
  }
}};
/* Bin b of the profile only ever receives the value b + 1. */
ArrayCheck profile_check{[](const KivTuple &t) {
  for (int i = 1; i + 1 < t.n; i += 3)
    g_assert_true((t.P[i].y == 0.0 || t.P[i].y == t.P[i].x + 1.0) && t.P[i + 1].y == t.P[i].y);
}};
/* The history is the latest fills in the order the lock let them in: each
 * producer's values in it are consecutive. */
ArrayCheck history_check{[](const KivTuple &t) {
  double last[4] = {0, 0, 0, 0};
  for (int i = 0; i < t.n; i++) {
    double v = t.P[i].y;
    int p = tag_of(v);
    g_assert_true(t.P[i].x == i && p >= 1 && (last[p] == 0.0 || v == last[p] + 4.0));
    last[p] = v;
  }
}};
/* Producer p resets the graph to p + 2 points at 0, 0.5, 1 ... all of the
 * value 4 g + p: a reader sees one whole reset. */
ArrayCheck graph_check{[](const KivTuple &t) {
  for (int i = 0; i < t.n; i++)
    g_assert_true(t.n == tag_of(t.P[0].y) + 2 && t.P[i].x == 0.5 * i && t.P[i].y == t.P[0].y);
}};
/* A batch fills every cell at once: a colour map sees all cells equal, so
 * it indexes all of them or none, over a colour range of one value. */
std::atomic<uint64_t> maps_checked{0};
void checked_frame(KivChart1D *h) {
  parent_class<KivChart1DClass>(h)->draw_frame(h);
  g_assert_true(KIV_CHART2D(h)->nindx == 0 || KIV_CHART2D(h)->nindx == KIV_CHART2D(h)->ntot);
  g_assert_cmpfloat(h->cnvs->zmin, ==, h->cnvs->zmax);
  maps_checked++;
}

constexpr int kProducers = 3, kBins = 8, kCells = 32;
struct Binning {
  int nbin;
  double xmin, xmax;
};
/* Each covers [0, 16) with edges on it: nothing is lost, the bins inside
 * stay equal. */
constexpr Binning kBinnings[] = {{16, 0, 16}, {8, 0, 32}, {32, -16, 16}, {4, 0, 16}};
constexpr int kLengths[] = {17, 40, 64};

struct Filled {
  double histogram = 0, cells = 0, profile[kBins] = {};
  uint64_t batches = 0, traced = 0, resets = 0;
};

struct Stress {
  KivHistogram *h = KIV_HISTOGRAM(g_object_new(
      derived(KIV_TYPE_HISTOGRAM, "StressHistogram", counting_init, &lockstep_check), "nx", 16,
      "xmin", 0.0, "xmax", 16.0, "ptr", NULL, NULL));
  KivProfile *profile = KIV_PROFILE(g_object_new(
      derived(KIV_TYPE_PROFILE, "StressProfile", checked_init, &profile_check), "nx", kBins,
      "xmin", 0.0, "xmax", double(kBins), "ptr", NULL, NULL));
  KivTracer *tracer = KIV_TRACER(g_object_new(
      derived(KIV_TYPE_TRACER, "StressTracer", checked_init, &history_check), "nx", kLengths[2],
      "xmin", 0.0, "xmax", 64.0, "ptr", NULL, NULL));
  KivGraph *graph = KIV_GRAPH(
      g_object_new(derived(KIV_TYPE_GRAPH, "StressGraph", checked_init, &graph_check), NULL));
  KivHistogram2D *h2 = kiv_histogram2d_new(8, 0.0, 8.0, 4, 0.0, 4.0, NULL);
  GtkWidget *chart_a = kiv_chart1d_new(KIV_FUNCTION(h));
  GtkWidget *chart_b = kiv_chart1d_new(KIV_FUNCTION(tracer));
  GtkWidget *chart2d = GTK_WIDGET(g_object_new(
      derived(KIV_TYPE_CHART2D, "StressChart2D", [](gpointer klass, gpointer) {
        KIV_CHART1D_CLASS(klass)->draw_frame = checked_frame;
      }, NULL), "func", h2, "ctype", KIV_COLOR_2D_THERMAL, NULL));
  GtkWidget *gauge = kiv_gauge_new(0.0f, 100.0f);
  GtkWidget *table = gtk_table_new(2, 2, TRUE);
  Filled filled[kProducers];
  uint64_t generation = 0; /* guarded by the graph's lock */
  std::atomic<uint64_t> changed{0}, readings{0};
  std::atomic<bool> done{false};
  unsigned ops = 0, binning = 0, length = 2, exposes[4] = {0, 0, 0, 0};
  gchar *dir = g_dir_make_tmp("kiv-stress-XXXXXX", NULL);

  void produce(int id, uint64_t k) {
    Filled &mine = filled[id];
    double w = 0.5 * double(1 + k % 3), x[kCells], y[kCells], ws[kCells];
    for (int i = 0; i < kCells; i++) {
      x[i] = i % 16 + 0.5;
      y[i] = i / 8 + 0.5;
      ws[i] = w;
    }
    KivFunction *g = KIV_FUNCTION(graph), *p = KIV_FUNCTION(profile), *m = KIV_FUNCTION(h2);
    int b = int(k / 5 % kBins), n = id + 3;
    switch ((id + k) % 5) {
    case 0:
      kiv_histogram_fill_n(h, x, ws, 16);
      mine.histogram += 16 * w;
      mine.batches++;
      break;
    case 1: /* Both entry points: one locks by itself, with weight 1. */
      if (k % 2) {
        kiv_histogram_fill(KIV_HISTOGRAM(profile), b + 0.5, b + 1.0);
        w = 1.0;
      } else {
        kiv_function_lock(p);
        kiv_profile_fill(profile, b + 0.25, b + 1.0, w);
        kiv_function_unlock(p);
      }
      mine.profile[b] += w;
      break;
    case 2:
      kiv_histogram_fill(KIV_HISTOGRAM(tracer), tagged(id + 1, ++mine.traced), 1.0);
      break;
    case 3:
      kiv_function_lock(g);
      for (int i = 0; i < n; i++) {
        x[i] = 0.5 * i;
        y[i] = tagged(id + 1, generation + 1);
      }
      kiv_graph_reset(graph, n, x, y);
      generation++;
      kiv_function_unlock(g);
      mine.resets++;
      break;
    case 4: /* Cells are (i % 8, i / 8): every one once. */
      for (int i = 0; i < kCells; i++)
        x[i] = i % 8 + 0.5;
      kiv_function_lock(m);
      kiv_histogram2d_fill_n(h2, x, y, ws, kCells);
      kiv_function_unlock(m);
      mine.cells += kCells * w;
      break;
    }
  }

  /* The main loop's side, on a timeout of its own beside the charts'. */
  static gboolean operate(gpointer data) {
    auto *s = static_cast<Stress *>(data);
    KivChart1D *a = KIV_CHART1D(s->chart_a);
    KivFunction *f = KIV_FUNCTION(s->h), *t = KIV_FUNCTION(s->tracer), *m = KIV_FUNCTION(s->h2);
    unsigned k = s->ops++, on = k / 8 % 2;
    switch (k % 8) {
    case 0: { /* Chart A follows its main function's range. */
      const Binning &b = kBinnings[++s->binning % 4];
      kiv_histogram_rebin(s->h, b.nbin, b.xmin, b.xmax);
      kiv_assert_each({a->xmin, b.xmin}, {a->xmax, b.xmax}, {double(f->nbin), double(b.nbin)});
      break;
    }
    case 1: {
      double lo = 0, hi = 0, want = on ? -4.0 : 2.0;
      g_object_set(a, "hxmin", want, "hxmax", 14.0 - want, NULL);
      g_object_get(a, "hxmin", &lo, "hxmax", &hi, NULL);
      kiv_assert_each({lo, want}, {hi, 14.0 - want});
      break;
    }
    case 2:
      kiv_chart1d_remove_curves(a);
      kiv_chart1d_add_curve(a, f);
      kiv_chart1d_add_curve(a, KIV_FUNCTION(s->profile));
      if (on)
        kiv_chart1d_add_curve(a, KIV_FUNCTION(s->graph));
      g_assert_cmpint(kiv_chart1d_get_n_func(a), ==, 2 + on);
      break;
    case 3: { /* Nothing else holds a canvas, so every write is taken. */
      g_object_set(a, "logy", on, "filled", !on, "stats", on, "xtitle", on ? "t" : "x", NULL);
      g_object_set(s->chart_b, "stats", on, "vmin", 0.0, "vmax", on ? 50.0 : 0.0, NULL);
      g_object_set(s->chart2d, "ctype", on ? KIV_COLOR_2D_BW : KIV_COLOR_2D_THERMAL, NULL);
      int logy = -1, ctype = -1;
      g_object_get(a, "logy", &logy, NULL);
      g_object_get(s->chart2d, "ctype", &ctype, NULL);
      kiv_assert_each({double(logy), double(on)}, {double(ctype), on ? 1.0 * KIV_COLOR_2D_BW : 1.0 * KIV_COLOR_2D_THERMAL});
      kiv_gauge_set_value(KIV_GAUGE(s->gauge), float(k % 100));
      g_assert_cmpfloat(kiv_gauge_get_value(KIV_GAUGE(s->gauge)), ==, k % 100);
      break;
    }
    case 4: { /* Pictures while everything moves, and the text of A's function. */
      static const char *const kinds[][2] = {{"png", "\x89PNG"}, {"pdf", "%PDF"}, {"svg", "<?xml"}};
      GtkWidget *c = k / 8 % 3 == 0 ? s->chart_a : k / 8 % 3 == 1 ? s->chart2d : s->chart_b;
      gchar *path = g_build_filename(s->dir, kinds[k / 8 % 3][0], NULL), *bytes = NULL;
      g_assert_cmpint(kiv_chart1d_print(KIV_CHART1D(c), path, kinds[k / 8 % 3][0]), ==, 0);
      g_assert_true(g_file_get_contents(path, &bytes, NULL, NULL));
      g_assert_true(g_str_has_prefix(bytes, kinds[k / 8 % 3][1]));
      g_remove(path);
      g_free(path);
      g_free(bytes);
      GString *text = kiv_function_print(kiv_chart1d_get_func(a, 0));
      int nbin = 0;
      g_assert_true(sscanf(text->str, "1D %d", &nbin) == 1 && nbin == f->nbin);
      g_string_free(text, TRUE);
      break;
    }
    case 5: /* Shortening through "nx" empties the history: its handler takes no lock. */
      s->length = (s->length + 1) % 3;
      kiv_function_lock(t);
      if (s->length == 0)
        g_object_set(s->tracer, "nx", kLengths[0], NULL);
      kiv_function_unlock(t);
      if (s->length != 0)
        g_assert_cmpint(kiv_function_resize(t, kLengths[s->length], 10), ==, 1);
      break;
    case 6: { /* Copies under the lock are consistent ones. */
      KivStats *st = kiv_stats_new();
      kiv_function_lock(f);
      KivHistogram *c = kiv_histogram_clone(s->h);
      double sum = 0, csum = 0, entries = kiv_histogram_entries(s->h);
      for (int i = 0; i < f->nbin; i++) {
        sum += s->h->y[i];
        csum += c->y[i];
      }
      kiv_function_unlock(f);
      kiv_function_lock(m);
      double cells = 0;
      for (int i = 0; i < kCells; i++)
        cells += kiv_histogram2d_get_cell_content(s->h2, i % 8, i / 8);
      kiv_histogram2d_get_stats(s->h2, st);
      kiv_function_unlock(m);
      kiv_function_lock(t);
      double traced = kiv_histogram_entries(KIV_HISTOGRAM(s->tracer)), npoints = s->tracer->npoints;
      kiv_function_unlock(t);
      kiv_assert_each({csum, sum}, {kiv_histogram_entries(c), entries}, {cells, kiv_stats_get_nc(st)}, {traced, npoints});
      g_object_unref(c);
      g_object_unref(st);
      break;
    }
    case 7:
      kiv_function_set_name(f, on ? "h" : "histogram");
      break;
    }
    return TRUE;
  }

  /* Nothing lost, nothing counted twice. */
  void verify() {
    Filled all;
    double hmax = 0, ys = 0, nall = 0, *n = NULL;
    for (int p = 0; p < kProducers; p++) {
      all.histogram += filled[p].histogram;
      all.cells += filled[p].cells;
      all.batches += filled[p].batches;
      all.resets += filled[p].resets;
      for (int b = 0; b < kBins; b++)
        all.profile[b] += filled[p].profile[b];
      if (filled[p].traced > 0)
        hmax = MAX(hmax, tagged(p + 1, filled[p].traced));
    }
    double sum = 0;
    for (int i = 0; i < KIV_FUNCTION(h)->nbin; i++)
      sum += h->y[i];
    kiv_assert_each({sum, all.histogram}, {kiv_histogram_entries(h), all.histogram + slot_weight},
                    {double(changed), double(all.batches)});
    g_object_get(profile, "ntotal", &n, NULL);
    for (int b = 0; b < kBins; b++) {
      kiv_assert_each({n[b], all.profile[b]}, {KIV_HISTOGRAM(profile)->y[b], n[b] > 0 ? b + 1.0 : 0});
      nall += n[b];
      ys += n[b] * (b + 1);
    }
    g_free(n);
    KivStats *pst = KIV_HISTOGRAM(profile)->stat, *tst = KIV_HISTOGRAM(tracer)->stat;
    kiv_assert_each({kiv_stats_get_nc(pst), nall}, {pst->s[1], ys});
    KivTuple t = {0, NULL};
    kiv_function_get_array(KIV_FUNCTION(tracer), &t, 0.0, 0.0);
    double tsum = 0;
    for (int i = 0; i < t.n; i++)
      tsum += t.P[i].y;
    kiv_assert_each({double(t.n), double(tracer->npoints)}, {tst->nc, double(t.n)}, {tst->s[0], tsum},
                    {kiv_tracer_get_maximum(tracer), hmax}, {kiv_tracer_get_minimum(tracer), tagged(1, 1)});
    kiv_function_clear_tuple(&t);
    kiv_assert_each({double(all.resets), double(generation)}, {std::floor(graph->yv[0] / 4), double(generation)});
    double cells = 0;
    for (int c = 0; c < kCells; c++) {
      g_assert_cmpfloat(h2->y[c], ==, h2->y[0]);
      cells += h2->y[c];
    }
    kiv_assert_each({cells, all.cells}, {kiv_stats_get_nc(h2->stat), all.cells}, {h2->vmax, h2->y[0]});
    for (unsigned e : exposes)
      g_assert_cmpuint(e, >, 0);
    for (const ArrayCheck *c : {&lockstep_check, &profile_check, &history_check, &graph_check})
      g_assert_cmpuint(c->passed, >, 0);
    g_assert_cmpuint(maps_checked, >, 0);
    g_test_message("stress: %u operations, %" G_GUINT64_FORMAT " readings, %u %u %u %u redraws",
                   ops, readings.load(), exposes[0], exposes[1], exposes[2], exposes[3]);
  }
};

struct Producer {
  Stress *s;
  int id;
};

void test_all_at_once() {
  double seconds = run_seconds();
  Watchdog dog{g_test_get_path(), 60.0 + seconds};
  Stress s;
  GtkWidget *widgets[] = {s.chart_a, s.chart_b, s.chart2d, s.gauge};
  for (int i = 0; i < 4; i++) {
    gtk_table_attach_defaults(GTK_TABLE(s.table), widgets[i], i % 2, i % 2 + 1, i / 2, i / 2 + 1);
    g_signal_connect_after(widgets[i], "expose-event", G_CALLBACK((+[](GtkWidget *, GdkEvent *, unsigned *n) { return ++*n, FALSE; })), &s.exposes[i]);
  }
  kivtest::Toplevel shown(s.table, 640, 480);
  kiv_chart1d_add_curve(KIV_CHART1D(s.chart_a), KIV_FUNCTION(s.profile));
  kiv_chart1d_sync_range(KIV_CHART1D(s.chart_a), TRUE);
  g_signal_connect_swapped(s.h, "changed", G_CALLBACK(+[](std::atomic<uint64_t> *n) { ++*n; }), &s.changed);
  for (GtkWidget *c : {s.chart_a, s.chart_b, s.chart2d})
    kiv_chart1d_monitor_start(KIV_CHART1D(c), 10);
  guint source = g_timeout_add(5, Stress::operate, &s);

  dog.activity = "threads running";
  gint64 deadline = g_get_monotonic_time() + gint64(seconds * G_USEC_PER_SEC);
  Producer producers[kProducers];
  std::vector<GThread *> threads;
  for (int i = 0; i < kProducers; i++) {
    producers[i] = {&s, i};
    threads.push_back(g_thread_new("producer", [](gpointer data) -> gpointer {
      auto *p = static_cast<Producer *>(data);
      for (uint64_t k = 0; !p->s->done; k++)
        p->s->produce(p->id, k);
      return NULL;
    }, &producers[i]));
  }
  threads.push_back(g_thread_new("reader", [](gpointer data) -> gpointer {
    auto *s = static_cast<Stress *>(data);
    for (uint64_t k = 0; !s->done; k++, s->readings++) {
      KivTuple t = {0, NULL};
      for (gpointer f : {gpointer(s->h), gpointer(s->profile), gpointer(s->tracer)}) {
        kiv_function_get_array(KIV_FUNCTION(f), &t, -1e9, 1e9);
        kiv_function_clear_tuple(&t);
      }
      double v = kiv_function_eval(KIV_FUNCTION(s->graph), 0.1 * double(k % 20));
      g_assert_true(v == 0.0 || tag_of(v) >= 1);
    }
    return NULL;
  }, &s));
  while (g_get_monotonic_time() < deadline || s.ops < 16)
    g_main_context_iteration(NULL, TRUE);
  s.done = true;
  dog.activity = "joining the threads";
  for (GThread *t : threads)
    g_thread_join(t);
  g_source_remove(source);
  for (GtkWidget *c : {s.chart_a, s.chart_b, s.chart2d})
    kiv_chart1d_monitor_stop(KIV_CHART1D(c));
  dog.activity = "verifying the totals";
  s.verify();
  for (gpointer o : {gpointer(s.h), gpointer(s.profile), gpointer(s.tracer), gpointer(s.graph), gpointer(s.h2)})
    g_object_unref(o);
  g_rmdir(s.dir);
  g_free(s.dir);
}

/* The watchdog itself: a program that hangs is aborted with a message that
 * names what hung. */
void test_watchdog() {
  if (g_test_subprocess()) {
    Watchdog dog{"a hanging test", 0.2};
    dog.activity = "sleeping";
    for (;;)
      g_usleep(10000);
  }
  g_test_trap_subprocess(NULL, 20 * G_USEC_PER_SEC, G_TEST_SUBPROCESS_DEFAULT);
  g_test_trap_assert_failed();
  g_test_trap_assert_stderr("*WATCHDOG: a hanging test did not finish within 0 s (sleeping)*");
}

} // namespace

int main(int argc, char **argv) {
  kivtest::init(&argc, &argv);
  g_test_add_func("/stress/watchdog", test_watchdog);
  kivtest::add_widget_test("/stress/all-at-once", test_all_at_once);
  return g_test_run();
}
