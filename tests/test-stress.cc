/* Every class under real threads at once.  Producer threads fill two
 * histograms (in batches), a profile, a tracer, a graph (whole resets) and
 * a two-dimensional histogram, while the main loop, with two charts, a
 * colour map and a gauge redrawing on short timers in a mapped window,
 * rebins, resizes, changes ranges, swaps curves, writes properties,
 * exports and reads the point arrays.  What a reader sees must never be
 * torn, every total must be exact afterwards, and a watchdog turns a
 * deadlock or a livelock into a failure with a message instead of a
 * stalled run.
 *
 * Weights are multiples of 1/2 and every binning splits [0, 16) at powers
 * of two, so all sums are exact and compare with ==. */
#include "kiv-test.h"
#include "kivchart-protected.h"

#include <atomic>
#include <thread>

namespace {

/* Producer p (1 to 3) fills 4 s + p for s = 1, 2, ..., so that a reader
 * tells whose value it sees and in which order they came. */
double tagged(int p, uint64_t s) { return 4.0 * double(s) + p; }
int tag_of(double v) { return int(std::fmod(v, 4.0)); }

/* Rebins refill through the fill slot in the rebinning thread: the weight
 * they add there, counted per thread, tells the entries rebins made from
 * those the producers filled (whose batches go through the slot entry by
 * entry, as a subclass's do). */
thread_local double slot_weight = 0.0;

GType counting_histogram_type() {
  GTypeQuery q;
  g_type_query(KIV_TYPE_HISTOGRAM, &q);
  auto init = [](gpointer klass, gpointer) {
    KIV_HISTOGRAM_CLASS(klass)->fill = [](KivHistogram *h, double x, double w) {
      slot_weight += w;
      KIV_HISTOGRAM_CLASS(g_type_class_peek(KIV_TYPE_HISTOGRAM))->fill(h, x, w);
    };
  };
  return g_type_register_static_simple(KIV_TYPE_HISTOGRAM, "StressHistogram", q.class_size, init,
                                       q.instance_size, NULL, GTypeFlags(0));
}

/* Fetches a point array while the producers go on and checks it whole. */
void check_array(gpointer f, double xa, double xb, void (*check)(const KivTuple &t)) {
  KivTuple t = {0, NULL};
  kiv_function_get_array(KIV_FUNCTION(f), &t, xa, xb);
  check(t);
  kiv_function_clear_tuple(&t);
}

/* A batch fills one entry at each of 0.5, 1.5, ... 15.5: whatever the
 * binning, the bins inside [0, 16) hold the same and the others nothing. */
void lockstep(const KivTuple &t) {
  double inside = t.P[1 + 3 * int(-t.P[0].x / (t.P[2].x - t.P[0].x))].y;
  for (int i = 1; i + 1 < t.n; i += 3) {
    bool out = t.P[i + 1].x <= 0.0 || t.P[i].x >= 16.0;
    g_assert_true(t.P[i].x == t.P[i - 1].x && t.P[i].y == t.P[i + 1].y);
    g_assert_cmpfloat(t.P[i].y, ==, out ? 0.0 : inside);
  }
}

constexpr int kProducers = 3, kBins = 8, kCells = 32, kLengths[] = {17, 40, 64};
/* Each binning covers [0, 16) with edges on it: nothing is lost and the
 * bins inside stay equal. */
constexpr double kBinnings[][3] = {{8, 0, 32}, {32, -16, 16}, {4, 0, 16}, {16, 0, 16}};

struct Stress {
  KivHistogram *h = KIV_HISTOGRAM(g_object_new(counting_histogram_type(), "nx", 16, "xmin", 0.0,
                                               "xmax", 16.0, "ptr", NULL, NULL));
  /* A histogram of the library's own class fills a batch in one folded loop
   * with bins found before it takes the lock, which a rebin must void. */
  KivHistogram *h0 = kiv_histogram_new(16, 0.0, 16.0, NULL);
  KivProfile *profile = kiv_profile_new(kBins, 0.0, kBins, NULL);
  KivTracer *tracer = kiv_tracer_new(kLengths[2]);
  KivGraph *graph = kiv_graph_new(0, NULL, NULL);
  KivHistogram2D *h2 = kiv_histogram2d_new(16, 0.0, 16.0, 2, 0.0, 2.0, NULL);
  GtkWidget *w[4] = {kiv_chart1d_new(KIV_FUNCTION(h)), kiv_chart1d_new(KIV_FUNCTION(tracer)),
                     kiv_chart2d_new(h2), kiv_gauge_new(0.0f, 100.0f)};
  /* What the producers filled, in halves, which integers add exactly. */
  std::atomic<uint64_t> histogram{0}, cells{0}, profile_bins[kBins] = {}, resets{0};
  uint64_t traced[kProducers] = {}, generation = 0; /* generation: under the graph's lock */
  std::atomic<bool> done{false};
  unsigned ops = 0, length = 2;

  void produce(int id, uint64_t k) {
    double w = 0.5 * double(1 + k % 3), x[kCells], y[kCells], ws[kCells], gx[5], gy[5];
    for (int i = 0; i < kCells; i++) {
      x[i] = i % 16 + 0.5;
      y[i] = i / 16 + 0.5;
      ws[i] = w;
    }
    int b = int(k % kBins), n = id + 3;
    /* One entry at each of 0.5, 1.5, ... 15.5, and one in every cell of the map. */
    kiv_histogram_fill_n(h, x, ws, 16);
    kiv_histogram_fill_n(h0, x, ws, 16);
    histogram += uint64_t(32 * w);
    kiv_function_lock(KIV_FUNCTION(h2));
    kiv_histogram2d_fill_n(h2, x, y, ws, kCells);
    kiv_function_unlock(KIV_FUNCTION(h2));
    cells += uint64_t(2 * kCells * w);
    kiv_histogram_fill(KIV_HISTOGRAM(tracer), tagged(id + 1, ++traced[id]), 1.0);
    /* p + 2 points at 0, 0.5, 1 ... all of the value 4 g + p. */
    kiv_function_lock(KIV_FUNCTION(graph));
    for (int i = 0; i < n; i++) {
      gx[i] = 0.5 * i;
      gy[i] = tagged(id + 1, generation + 1);
    }
    kiv_graph_reset(graph, n, gx, gy);
    generation++;
    resets++;
    kiv_function_unlock(KIV_FUNCTION(graph));
    /* Bin b only ever receives the value b + 1, with weight 1. */
    kiv_histogram_fill(KIV_HISTOGRAM(profile), b + 0.25 * double(k % 4), b + 1.0);
    profile_bins[b] += 2;
  }

  /* The main loop's side, on a timeout of its own beside the charts'. */
  static gboolean operate(gpointer data) {
    auto *s = static_cast<Stress *>(data);
    KivChart1D *a = KIV_CHART1D(s->w[0]);
    KivChart2D *map = KIV_CHART2D(s->w[2]);
    KivFunction *f = KIV_FUNCTION(s->h), *t = KIV_FUNCTION(s->tracer);
    unsigned k = s->ops++, on = k % 2;
    const double *b = kBinnings[k % 4];
    /* Chart A follows its main function's range, then takes one of its own. */
    kiv_histogram_rebin(s->h, int(b[0]), b[1], b[2]);
    kiv_histogram_rebin(s->h0, int(b[0]), b[1], b[2]);
    kiv_assert_each({a->xmin, b[1]}, {a->xmax, b[2]}, {double(f->nbin), b[0]});
    g_object_set(a, "hxmin", 2.0 - on, "hxmax", 14.0 + on, NULL);
    kiv_chart1d_remove_curves(a);
    for (gpointer c : {gpointer(s->h), gpointer(s->profile), gpointer(s->graph)})
      kiv_chart1d_add_curve(a, KIV_FUNCTION(c));
    g_assert_true(kiv_chart1d_get_func(a, 0) == f && kiv_chart1d_get_n_func(a) == 3);
    /* Nothing else holds a canvas, so every write is taken. */
    g_object_set(a, "logy", on, "filled", !on, "stats", on, "xtitle", on ? "t" : "x", NULL);
    g_object_set(s->w[1], "stats", on, "vmin", 0.0, "vmax", on ? 50.0 : 0.0, NULL);
    g_object_set(map, "ctype", on ? KIV_COLOR_2D_BW : KIV_COLOR_2D_THERMAL, NULL);
    kiv_gauge_set_value(KIV_GAUGE(s->w[3]), float(k % 100));
    g_assert_cmpfloat(kiv_gauge_get_value(KIV_GAUGE(s->w[3])), ==, k % 100);
    kiv_function_set_name(f, on ? "h" : "histogram");
    /* A picture of each chart in turn while everything moves. */
    static const char *const kinds[][2] = {{"png", "\x89PNG"}, {"pdf", "%PDF"}, {"svg", "<?xml"}};
    GString *picture = kivtest::read_bytes(s->w[k % 3], kinds[k % 3][0]);
    g_assert_true(g_str_has_prefix(picture->str, kinds[k % 3][1]));
    g_string_free(picture, TRUE);
    /* Shortening through "nx" empties the history; its handler takes no lock. */
    kiv_function_lock(t);
    if ((s->length = (s->length + 1) % 3) == 0) g_object_set(s->tracer, "nx", kLengths[0], NULL);
    kiv_function_unlock(t);
    g_assert_true(s->length == 0 || kiv_function_resize(t, kLengths[s->length], 10) == 1);
    /* Whole batches only, whatever the binning, asked beyond the whole range. */
    check_array(s->h, -1e9, 1e9, lockstep);
    check_array(s->h0, -1e9, 1e9, lockstep);
    check_array(s->profile, 0, kBins, [](const KivTuple &t) {
      for (int i = 1; i + 1 < t.n; i += 3)
        g_assert_true((t.P[i].y == 0 || t.P[i].y == t.P[i].x + 1) && t.P[i + 1].y == t.P[i].y);
    });
    /* The history is the latest fills in the order the lock let them in. */
    check_array(s->tracer, 0, 0, [](const KivTuple &t) {
      double last[4] = {0, 0, 0, 0};
      for (int i = 0; i < t.n; i++) {
        double v = t.P[i].y, &mine = last[tag_of(v)];
        g_assert_true(t.P[i].x == i && tag_of(v) >= 1 && (mine == 0 || v == mine + 4));
        mine = v;
      }
    });
    check_array(s->graph, 0, 2, [](const KivTuple &t) {
      for (int i = 0; i < t.n; i++)
        g_assert_true(t.n == tag_of(t.P[0].y) + 2 && t.P[i].x == 0.5 * i && t.P[i].y == t.P[0].y);
    });
    /* The last colour map drawn saw all cells equal: all indexed or none, one colour. */
    g_assert_true(map->nindx == 0 || map->nindx == map->ntot);
    g_assert_cmpfloat(KIV_CHART1D(map)->cnvs->zmin, ==, KIV_CHART1D(map)->cnvs->zmax);
    return TRUE;
  }

  /* Nothing lost, nothing counted twice. */
  void verify() {
    double tmax = 0, sum = 0, sum0 = 0, csum = 0, *n = NULL;
    for (int p = 0; p < kProducers; p++)
      tmax = traced[p] > 0 ? MAX(tmax, tagged(p + 1, traced[p])) : tmax;
    for (int i = 0; i < KIV_FUNCTION(h)->nbin; i++) sum += h->y[i], sum0 += h0->y[i];
    kiv_assert_each({sum, histogram / 2.0}, {sum0, histogram / 2.0},
                    {kiv_histogram_entries(h), histogram / 2.0 + slot_weight});
    g_object_get(profile, "ntotal", &n, NULL);
    for (int b = 0; b < kBins; b++)
      kiv_assert_each({n[b], profile_bins[b] / 2.0},
                      {KIV_HISTOGRAM(profile)->y[b], n[b] > 0 ? b + 1.0 : 0});
    g_free(n);
    for (int c = 0; c < kCells; c++) csum += h2->y[c] == h2->y[0] ? h2->y[c] : G_MAXDOUBLE;
    /* The tracer's smallest value ever is producer 1's first, 4 + 1. */
    kiv_assert_each({KIV_HISTOGRAM(tracer)->stat->nc, double(tracer->npoints)},
                    {kiv_tracer_get_maximum(tracer), tmax}, {kiv_tracer_get_minimum(tracer), 5.0},
                    {double(resets), double(generation)},
                    {std::floor(graph->yv[0] / 4), double(generation)}, {csum, cells / 2.0},
                    {kiv_stats_get_nc(h2->stat), cells / 2.0}, {h2->vmax, h2->y[0]});
  }
};

void test_all_at_once() {
  const char *env = g_getenv("KIV_STRESS_SECONDS");
  double seconds = env != NULL && g_ascii_strtod(env, NULL) > 0 ? g_ascii_strtod(env, NULL) : 2.0;
  /* A deadlock or a livelock aborts the program with a message instead of
   * stalling the test run; the watchdog sleeps in a thread of its own and
   * needs nothing the others might hold. */
  std::thread([limit = 60.0 + seconds] {
    g_usleep(gulong(limit * G_USEC_PER_SEC));
    g_printerr("\nWATCHDOG: test-stress did not finish within %.0f s: a deadlock or a livelock; "
               "aborting\n",
               limit);
    abort();
  }).detach();
  Stress s;
  GtkWidget *table = gtk_table_new(2, 2, TRUE);
  for (int i = 0; i < 4; i++)
    gtk_table_attach_defaults(GTK_TABLE(table), s.w[i], i % 2, i % 2 + 1, i / 2, i / 2 + 1);
  kivtest::Toplevel shown(table, 640, 480);
  kiv_chart1d_sync_range(KIV_CHART1D(s.w[0]), TRUE);
  for (int i = 0; i < 3; i++) kiv_chart1d_monitor_start(KIV_CHART1D(s.w[i]), 10);
  guint source = g_timeout_add(5, Stress::operate, &s);

  std::vector<std::thread> threads;
  for (int id = 0; id < kProducers; id++)
    threads.emplace_back([&s, id] {
      for (uint64_t k = 0; !s.done; k++) s.produce(id, k);
    });
  gint64 end = g_get_monotonic_time() + gint64(seconds * G_USEC_PER_SEC);
  while (g_get_monotonic_time() < end || s.ops < 24) g_main_context_iteration(NULL, TRUE);
  s.done = true;
  for (std::thread &t : threads) t.join();
  g_source_remove(source);
  s.verify();
  g_object_unref(s.h0);
  for (gpointer o :
       {gpointer(s.h), gpointer(s.profile), gpointer(s.tracer), gpointer(s.graph), gpointer(s.h2)})
    g_object_unref(o);
}

} // namespace

int main(int argc, char **argv) {
  kivtest::init(&argc, &argv);
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
#define GLIB(fn)                                                                                   \
  ([] {                                                                                            \
    static auto real = reinterpret_cast<decltype(&fn)>(dlsym(RTLD_NEXT, #fn));                     \
    return real;                                                                                   \
  }())
static void acquired(GMutex *m) { __tsan_mutex_pre_lock(m, 0), __tsan_mutex_post_lock(m, 0, 0); }
static void released(GMutex *m) { __tsan_mutex_pre_unlock(m, 0), __tsan_mutex_post_unlock(m, 0); }
extern "C" {
void g_mutex_lock(GMutex *m) { GLIB(g_mutex_lock)(m), acquired(m); }
gboolean g_mutex_trylock(GMutex *m) { return GLIB(g_mutex_trylock)(m) ? acquired(m), TRUE : FALSE; }
void g_mutex_unlock(GMutex *m) { released(m), GLIB(g_mutex_unlock)(m); }
void g_cond_wait(GCond *c, GMutex *m) { released(m), GLIB(g_cond_wait)(c, m), acquired(m); }
gboolean g_cond_wait_until(GCond *c, GMutex *m, gint64 end) {
  released(m);
  gboolean signalled = GLIB(g_cond_wait_until)(c, m, end);
  return acquired(m), signalled;
}
}
#endif
