/* Every class under real threads at once.  Producer threads fill a
 * histogram (in batches), a profile (through both entry points), a tracer,
 * a graph (whole resets) and a two-dimensional histogram; a reader thread
 * fetches point arrays; and the main loop, while two charts, a colour map
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
#include <thread>

namespace {

/* Aborts the program when it is not stopped in time.  It polls instead of
 * waiting on a condition, so it needs nothing a deadlocked program holds. */
struct Watchdog {
  const char *what;
  double limit;
  std::atomic<const char *> activity{"starting"};
  std::atomic<bool> stop{false};
  std::thread thread{[this] {
    for (gint64 end = g_get_monotonic_time() + gint64(limit * 1e6); !stop; g_usleep(20000))
      if (g_get_monotonic_time() > end) {
        g_printerr("\nWATCHDOG: %s did not finish within %.0f s (%s): a deadlock or a livelock; "
                   "aborting\n", what, limit, activity.load());
        abort();
      }
  }};
  ~Watchdog() {
    stop = true;
    thread.join();
  }
};

/* Producer p (1 to 3) fills 4 s + p for s = 1, 2, ..., so that a reader
 * tells whose value it sees and in which order they came. */
double tagged(int p, uint64_t s) { return 4.0 * double(s) + p; }
int tag_of(double v) { return int(std::fmod(v, 4.0)); }

/* A check of every point array a class makes, run in its array slot under
 * the object's lock, so that it sees exactly what a redraw or a reader
 * receives. */
struct ArrayCheck {
  void (*fn)(const KivTuple &t);
  std::atomic<uint64_t> passed{0};
};

/* Rebins refill through the fill slot in the rebinning thread: the weight
 * they add there, counted per thread, tells the entries rebins made from
 * those the producers filled. */
thread_local double slot_weight = 0.0;

template <typename T> T *parent_class(gpointer obj) {
  return static_cast<T *>(g_type_class_peek_parent(G_OBJECT_GET_CLASS(obj)));
}
/* A subclass made at run time that replaces slots only. */
GType derived(GType parent, const char *name, GClassInitFunc init, ArrayCheck *check) {
  GTypeQuery q;
  g_type_query(parent, &q);
  GType type = g_type_register_static_simple(parent, name, q.class_size, init, q.instance_size,
                                             NULL, GTypeFlags(0));
  g_type_set_qdata(type, g_quark_from_static_string("kiv-check"), check);
  return type;
}
void checked_init(gpointer klass, gpointer) {
  KIV_FUNCTION_CLASS(klass)->array = [](KivFunction *f, KivTuple *t, double xa, double xb) {
    parent_class<KivFunctionClass>(f)->array(f, t, xa, xb);
    auto *check = static_cast<ArrayCheck *>(
        g_type_get_qdata(G_OBJECT_TYPE(f), g_quark_from_static_string("kiv-check")));
    check->fn(*t);
    check->passed++;
  };
}
void counting_init(gpointer klass, gpointer) {
  checked_init(klass, NULL);
  KIV_HISTOGRAM_CLASS(klass)->fill = [](KivHistogram *h, double x, double w) {
    slot_weight += w;
    parent_class<KivHistogramClass>(h)->fill(h, x, w);
  };
}

/* A batch fills one entry at each of 0.5, 1.5, ... 15.5: every bin inside
 * [0, 16) holds the same and every bin outside nothing, whatever the
 * binning. */
ArrayCheck lockstep_check{[](const KivTuple &t) {
  double inside = -1.0;
  for (int i = 1; i + 1 < t.n; i += 3) {
    const KivPoint &lo = t.P[i], &hi = t.P[i + 1];
    bool out = hi.x <= 0.0 || lo.x >= 16.0;
    inside = out || inside >= 0.0 ? inside : lo.y;
    g_assert_true(lo.x == t.P[i - 1].x && lo.y == hi.y && lo.y == (out ? 0.0 : inside));
  }
}};
/* Bin b of the profile only ever receives the value b + 1. */
ArrayCheck profile_check{[](const KivTuple &t) {
  for (int i = 1; i + 1 < t.n; i += 3)
    g_assert_true((t.P[i].y == 0.0 || t.P[i].y == t.P[i].x + 1.0) && t.P[i + 1].y == t.P[i].y);
}};
/* The history is the latest fills in the order the lock let them in, so
 * each producer's values in it are consecutive. */
ArrayCheck history_check{[](const KivTuple &t) {
  double last[4] = {0, 0, 0, 0};
  for (int i = 0; i < t.n; i++) {
    double v = t.P[i].y;
    g_assert_true(t.P[i].x == i && tag_of(v) >= 1 && (last[tag_of(v)] == 0 || v == last[tag_of(v)] + 4));
    last[tag_of(v)] = v;
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
void frame_init(gpointer klass, gpointer) {
  KIV_CHART1D_CLASS(klass)->draw_frame = [](KivChart1D *h) {
    parent_class<KivChart1DClass>(h)->draw_frame(h);
    g_assert_true(KIV_CHART2D(h)->nindx == 0 || KIV_CHART2D(h)->nindx == KIV_CHART2D(h)->ntot);
    g_assert_cmpfloat(h->cnvs->zmin, ==, h->cnvs->zmax);
    maps_checked++;
  };
}

constexpr int kProducers = 3, kBins = 8, kCells = 32;
/* Each binning covers [0, 16) with edges on it: nothing is lost and the
 * bins inside stay equal. */
constexpr double kBinnings[][3] = {{16, 0, 16}, {8, 0, 32}, {32, -16, 16}, {4, 0, 16}};
constexpr int kLengths[] = {17, 40, 64};

struct Filled {
  double histogram = 0, cells = 0, profile[kBins] = {};
  uint64_t batches = 0, traced = 0, resets = 0;
};

struct Stress {
  KivHistogram *h = KIV_HISTOGRAM(g_object_new(derived(KIV_TYPE_HISTOGRAM, "StressHistogram",
      counting_init, &lockstep_check), "nx", 16, "xmin", 0.0, "xmax", 16.0, "ptr", NULL, NULL));
  KivProfile *profile = KIV_PROFILE(g_object_new(derived(KIV_TYPE_PROFILE, "StressProfile",
      checked_init, &profile_check), "nx", kBins, "xmin", 0.0, "xmax", 8.0, "ptr", NULL, NULL));
  KivTracer *tracer = KIV_TRACER(g_object_new(derived(KIV_TYPE_TRACER, "StressTracer",
      checked_init, &history_check), "nx", 64, "xmin", 0.0, "xmax", 64.0, "ptr", NULL, NULL));
  KivGraph *graph = KIV_GRAPH(
      g_object_new(derived(KIV_TYPE_GRAPH, "StressGraph", checked_init, &graph_check), NULL));
  KivHistogram2D *h2 = kiv_histogram2d_new(8, 0.0, 8.0, 4, 0.0, 4.0, NULL);
  GtkWidget *widgets[4] = {kiv_chart1d_new(KIV_FUNCTION(h)), kiv_chart1d_new(KIV_FUNCTION(tracer)),
      GTK_WIDGET(g_object_new(derived(KIV_TYPE_CHART2D, "StressMap", frame_init, NULL), "func", h2,
                              "ctype", KIV_COLOR_2D_THERMAL, NULL)), kiv_gauge_new(0.0f, 100.0f)};
  Filled filled[kProducers];
  uint64_t generation = 0; /* guarded by the graph's lock */
  std::atomic<uint64_t> changed{0};
  std::atomic<bool> done{false};
  unsigned ops = 0, length = 2, exposes[4] = {0, 0, 0, 0};
  gchar *dir = g_dir_make_tmp("kiv-stress-XXXXXX", NULL);

  void produce(int id, uint64_t k) {
    Filled &mine = filled[id];
    double w = 0.5 * double(1 + k % 3), x[kCells], y[kCells], ws[kCells];
    for (int i = 0; i < kCells; i++)
      x[i] = i % 16 + 0.5, y[i] = i / 8 + 0.5, ws[i] = w;
    int b = int(k / 5 % kBins), n = id + 3;
    KivFunction *g = KIV_FUNCTION(graph), *p = KIV_FUNCTION(profile), *m = KIV_FUNCTION(h2);
    switch ((id + k) % 5) {
    case 0:
      kiv_histogram_fill_n(h, x, ws, 16);
      mine.histogram += 16 * w, mine.batches++;
      break;
    case 1: /* Both entry points; the one that locks by itself fills weight 1. */
      if (k % 2) {
        kiv_histogram_fill(KIV_HISTOGRAM(profile), b + 0.5, b + 1.0), w = 1.0;
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
      for (int i = 0; i < n; i++)
        x[i] = 0.5 * i, y[i] = tagged(id + 1, generation + 1);
      kiv_graph_reset(graph, n, x, y);
      generation++, mine.resets++;
      kiv_function_unlock(g);
      break;
    case 4: /* Cell (i % 8, i / 8) for each i: every cell once. */
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
    KivChart1D *a = KIV_CHART1D(s->widgets[0]);
    KivFunction *f = KIV_FUNCTION(s->h), *t = KIV_FUNCTION(s->tracer);
    unsigned k = s->ops++, on = k / 6 % 2;
    const double *b = kBinnings[k / 6 % 4];
    static const char *const kinds[][2] = {{"png", "\x89PNG"}, {"pdf", "%PDF"}, {"svg", "<?xml"}};
    gchar *path = g_build_filename(s->dir, "export", NULL), *bytes = NULL;
    double sum = 0, csum = 0, lo = 0, hi = 0;
    int logy = -1;
    switch (k % 6) {
    case 0: /* Chart A follows its main function's range; then a range of its own. */
      kiv_histogram_rebin(s->h, int(b[0]), b[1], b[2]);
      kiv_assert_each({a->xmin, b[1]}, {a->xmax, b[2]}, {double(f->nbin), b[0]});
      g_object_set(a, "hxmin", 2.0 - on, "hxmax", 14.0 + on, NULL);
      g_object_get(a, "hxmin", &lo, "hxmax", &hi, NULL);
      kiv_assert_each({lo, 2.0 - on}, {hi, 14.0 + on});
      break;
    case 1:
      kiv_chart1d_remove_curves(a);
      for (gpointer c : {gpointer(s->h), gpointer(s->profile), gpointer(s->graph)})
        kiv_chart1d_add_curve(a, KIV_FUNCTION(c));
      g_assert_true(kiv_chart1d_get_func(a, 0) == f && kiv_chart1d_get_n_func(a) == 3);
      break;
    case 2: /* Nothing else holds a canvas, so every write is taken. */
      g_object_set(a, "logy", on, "filled", !on, "stats", on, "xtitle", on ? "t" : "x", NULL);
      g_object_set(s->widgets[1], "stats", on, "vmin", 0.0, "vmax", on ? 50.0 : 0.0, NULL);
      g_object_set(s->widgets[2], "ctype", on ? KIV_COLOR_2D_BW : KIV_COLOR_2D_THERMAL, NULL);
      g_object_get(a, "logy", &logy, NULL);
      kiv_gauge_set_value(KIV_GAUGE(s->widgets[3]), float(k % 100));
      kiv_assert_each({double(logy), double(on)}, {kiv_gauge_get_value(KIV_GAUGE(s->widgets[3])), double(k % 100)});
      break;
    case 3: /* A picture of each chart while everything moves. */
      g_assert_cmpint(kiv_chart1d_print(KIV_CHART1D(s->widgets[k / 6 % 3]), path, kinds[k / 6 % 3][0]), ==, 0);
      g_assert_true(g_file_get_contents(path, &bytes, NULL, NULL) && g_str_has_prefix(bytes, kinds[k / 6 % 3][1]));
      g_remove(path);
      break;
    case 4: /* Shortening through "nx" empties the history; its handler takes no lock. */
      s->length = (s->length + 1) % 3;
      kiv_function_lock(t);
      if (s->length == 0)
        g_object_set(s->tracer, "nx", kLengths[0], NULL);
      kiv_function_unlock(t);
      g_assert_true(s->length == 0 || kiv_function_resize(t, kLengths[s->length], 10) == 1);
      break;
    case 5: { /* A copy under the lock is a consistent one. */
      kiv_function_lock(f);
      KivHistogram *c = kiv_histogram_clone(s->h);
      for (int i = 0; i < f->nbin; i++)
        sum += s->h->y[i], csum += c->y[i];
      lo = kiv_histogram_entries(s->h);
      kiv_function_unlock(f);
      kiv_function_lock(t);
      hi = kiv_histogram_entries(KIV_HISTOGRAM(s->tracer)) - s->tracer->npoints;
      kiv_function_unlock(t);
      kiv_assert_each({csum, sum}, {kiv_histogram_entries(c), lo}, {hi, 0});
      kiv_function_set_name(f, on ? "h" : "histogram");
      g_object_unref(c);
    }
    }
    g_free(path);
    g_free(bytes);
    return TRUE;
  }

  /* Nothing lost, nothing counted twice. */
  void verify() {
    Filled all;
    double tmax = 0, sum = 0, ys = 0, nall = 0, cells = 0, tsum = 0, *n = NULL;
    for (int p = 0; p < kProducers; p++) {
      all.histogram += filled[p].histogram, all.cells += filled[p].cells;
      all.batches += filled[p].batches, all.resets += filled[p].resets;
      for (int b = 0; b < kBins; b++)
        all.profile[b] += filled[p].profile[b];
      tmax = filled[p].traced > 0 ? MAX(tmax, tagged(p + 1, filled[p].traced)) : tmax;
    }
    for (int i = 0; i < KIV_FUNCTION(h)->nbin; i++)
      sum += h->y[i];
    kiv_assert_each({sum, all.histogram}, {kiv_histogram_entries(h), all.histogram + slot_weight},
                    {double(changed), double(all.batches)});
    g_object_get(profile, "ntotal", &n, NULL);
    for (int b = 0; b < kBins; b++) {
      kiv_assert_each({n[b], all.profile[b]}, {KIV_HISTOGRAM(profile)->y[b], n[b] > 0 ? b + 1.0 : 0});
      nall += n[b], ys += n[b] * (b + 1);
    }
    g_free(n);
    KivStats *pst = KIV_HISTOGRAM(profile)->stat, *tst = KIV_HISTOGRAM(tracer)->stat;
    KivTuple t = {0, NULL};
    kiv_function_get_array(KIV_FUNCTION(tracer), &t, 0.0, 0.0);
    for (int i = 0; i < t.n; i++)
      tsum += t.P[i].y;
    kiv_function_clear_tuple(&t);
    kiv_assert_each({kiv_stats_get_nc(pst), nall}, {pst->s[1], ys}, {tst->nc, double(tracer->npoints)},
                    {tst->s[0], tsum}, {kiv_tracer_get_maximum(tracer), tmax},
                    {kiv_tracer_get_minimum(tracer), tagged(1, 1)}, {double(all.resets), double(generation)},
                    {std::floor(graph->yv[0] / 4), double(generation)});
    for (int c = 0; c < kCells; c++) {
      g_assert_cmpfloat(h2->y[c], ==, h2->y[0]);
      cells += h2->y[c];
    }
    kiv_assert_each({cells, all.cells}, {kiv_stats_get_nc(h2->stat), all.cells}, {h2->vmax, h2->y[0]});
    for (const ArrayCheck *c : {&lockstep_check, &profile_check, &history_check, &graph_check})
      g_assert_cmpuint(c->passed, >, 0);
    g_assert_true(maps_checked > 0 && exposes[0] && exposes[1] && exposes[2] && exposes[3]);
  }
};

void test_all_at_once() {
  const char *env = g_getenv("KIV_STRESS_SECONDS");
  double seconds = env != NULL && g_ascii_strtod(env, NULL) > 0 ? g_ascii_strtod(env, NULL) : 2.0;
  Watchdog dog{g_test_get_path(), 60.0 + seconds};
  Stress s;
  GtkWidget *table = gtk_table_new(2, 2, TRUE);
  for (int i = 0; i < 4; i++) {
    gtk_table_attach_defaults(GTK_TABLE(table), s.widgets[i], i % 2, i % 2 + 1, i / 2, i / 2 + 1);
    g_signal_connect_after(s.widgets[i], "expose-event",
        G_CALLBACK((+[](GtkWidget *, GdkEvent *, unsigned *n) { return ++*n, FALSE; })), &s.exposes[i]);
  }
  kivtest::Toplevel shown(table, 640, 480);
  kiv_chart1d_sync_range(KIV_CHART1D(s.widgets[0]), TRUE);
  g_signal_connect_swapped(s.h, "changed", G_CALLBACK(+[](std::atomic<uint64_t> *n) { ++*n; }), &s.changed);
  for (int i = 0; i < 3; i++)
    kiv_chart1d_monitor_start(KIV_CHART1D(s.widgets[i]), 10);
  guint source = g_timeout_add(5, Stress::operate, &s);

  dog.activity = "threads running";
  std::vector<std::thread> threads;
  for (int id = 0; id < kProducers; id++)
    threads.emplace_back([&s, id] {
      for (uint64_t k = 0; !s.done; k++)
        s.produce(id, k);
    });
  threads.emplace_back([&s] { /* A reader asks for more than the whole range, as a chart zoomed out does. */
    for (uint64_t k = 0; !s.done; k++) {
      KivTuple t = {0, NULL};
      for (gpointer f : {gpointer(s.h), gpointer(s.profile), gpointer(s.tracer)})
        kiv_function_get_array(KIV_FUNCTION(f), &t, -1e9, 1e9), kiv_function_clear_tuple(&t);
      double v = kiv_function_eval(KIV_FUNCTION(s.graph), 0.1 * double(k % 20));
      g_assert_true(v == 0.0 || tag_of(v) >= 1);
    }
  });
  for (gint64 end = g_get_monotonic_time() + gint64(seconds * 1e6); g_get_monotonic_time() < end || s.ops < 24;)
    g_main_context_iteration(NULL, TRUE);
  s.done = true;
  dog.activity = "joining the threads";
  for (std::thread &t : threads)
    t.join();
  g_source_remove(source);
  for (int i = 0; i < 3; i++)
    kiv_chart1d_monitor_stop(KIV_CHART1D(s.widgets[i]));
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

/* ThreadSanitizer does not see GLib's mutex: g_mutex_lock() is an atomic
 * operation and a futex inside libglib, which is not instrumented, so
 * every access the library serialises with it would be reported as a race.
 * In a ThreadSanitizer build this program defines the calls itself: each
 * forwards to GLib's and tells the sanitizer what it did.  Calls from the
 * library and from libgobject reach these definitions; calls libglib makes
 * to itself do not, but they guard only GLib's own state.  A wait on a
 * condition gives the mutex up and takes it back inside libglib (Pango's
 * font loading thread waits so, beside the main thread). */
#if defined(__SANITIZE_THREAD__)
#include <dlfcn.h>
#include <sanitizer/tsan_interface.h>
#define KIV_GLIB(fn) ([] { static auto real = reinterpret_cast<decltype(&fn)>(dlsym(RTLD_NEXT, #fn)); return real; }())
static void tsan_acquired(GMutex *m, unsigned flags = 0) {
  __tsan_mutex_pre_lock(m, flags);
  __tsan_mutex_post_lock(m, flags, 0);
}
static void tsan_released(GMutex *m) {
  __tsan_mutex_pre_unlock(m, 0);
  __tsan_mutex_post_unlock(m, 0);
}
extern "C" {
void g_mutex_lock(GMutex *m) {
  KIV_GLIB(g_mutex_lock)(m);
  tsan_acquired(m);
}
gboolean g_mutex_trylock(GMutex *m) {
  gboolean locked = KIV_GLIB(g_mutex_trylock)(m);
  if (locked)
    tsan_acquired(m, __tsan_mutex_try_lock);
  return locked;
}
void g_mutex_unlock(GMutex *m) {
  tsan_released(m);
  KIV_GLIB(g_mutex_unlock)(m);
}
void g_cond_wait(GCond *c, GMutex *m) {
  tsan_released(m);
  KIV_GLIB(g_cond_wait)(c, m);
  tsan_acquired(m);
}
gboolean g_cond_wait_until(GCond *c, GMutex *m, gint64 end) {
  tsan_released(m);
  gboolean signalled = KIV_GLIB(g_cond_wait_until)(c, m, end);
  tsan_acquired(m);
  return signalled;
}
}
#endif
