/* Stress of the widgets under real threads: producers fill a histogram, a
 * profile, a tracer, a graph and a two-dimensional histogram while two
 * one-dimensional charts, a two-dimensional chart and a gauge, mapped in a
 * window, redraw on their monitoring timers, and the main loop rebins,
 * changes ranges, swaps curves, writes properties and exports pictures and
 * text on a timeout of its own.  Every point array a redraw fetches, and
 * the value range of every colour map, is checked where it is made; every
 * total is checked exactly afterwards; the harness's watchdog turns a
 * deadlock into a failure.
 *
 * Weights are multiples of 1/2 and every binning splits [0, 16) at powers
 * of two, so that all sums are exact and compare with ==. */
#include "kiv-stress.h"
#include "kivchart-protected.h"

#include <glib/gstdio.h>

#include <cstdio>
#include <string>

namespace {

using kivstress::tag_of;
using kivstress::tagged;

/* ---- Classes that check what a redraw reads, where it is read -------------- */

/* A check of a point array and the number of arrays it passed.  It runs in
 * the class's array slot, under the object's lock, so it sees exactly what
 * the chart's redraw receives. */
struct ArrayCheck {
  void (*fn)(const KivTuple &t);
  std::atomic<uint64_t> passed{0};
};

GQuark check_quark() {
  return g_quark_from_static_string("kiv-stress-array-check");
}

void checked_array(KivFunction *f, KivTuple *t, double xa, double xb) {
  auto *parent = KIV_FUNCTION_CLASS(g_type_class_peek_parent(G_OBJECT_GET_CLASS(f)));
  parent->array(f, t, xa, xb);
  auto *check = static_cast<ArrayCheck *>(g_type_get_qdata(G_OBJECT_TYPE(f), check_quark()));
  check->fn(*t);
  check->passed++;
}

/* A subclass of parent, made at run time, that only replaces slots. */
GType derived_type(GType parent, const char *name, GClassInitFunc class_init) {
  GTypeQuery q;
  g_type_query(parent, &q);
  return g_type_register_static_simple(parent, name, q.class_size, class_init, q.instance_size,
                                       NULL, GTypeFlags(0));
}

GType checked_type(GType parent, const char *name, ArrayCheck *check) {
  GType type = derived_type(parent, name, [](gpointer klass, gpointer) {
    KIV_FUNCTION_CLASS(klass)->array = checked_array;
  });
  g_type_set_qdata(type, check_quark(), check);
  return type;
}

/* Producers fill one entry at each of 0.5, 1.5, ... 15.5 in one batch, so
 * under the lock every bin inside [0, 16) holds the same and every bin
 * outside holds nothing, whatever the binning. */
ArrayCheck lockstep_check{[](const KivTuple &t) {
  double inside = -1.0;
  for (int i = 1; i + 1 < t.n; i += 3) {
    const KivPoint &lo = t.P[i], &hi = t.P[i + 1];
    g_assert_cmpfloat(lo.y, ==, hi.y);
    if (hi.x <= 0.0 || lo.x >= 16.0)
      g_assert_cmpfloat(lo.y, ==, 0.0);
    else if (inside < 0.0)
      inside = lo.y;
    else
      g_assert_cmpfloat(lo.y, ==, inside);
  }
}};

/* Bin b of the profile receives only the value b + 1: its mean is 0 or
 * exactly b + 1. */
constexpr int kProfileBins = 8;
ArrayCheck profile_check{[](const KivTuple &t) {
  for (int i = 1; i + 1 < t.n; i += 3) {
    double mean = t.P[i].y;
    g_assert_true(mean == 0.0 || mean == t.P[i].x + 1.0);
    g_assert_cmpfloat(t.P[i + 1].y, ==, mean);
  }
}};

/* Producers fill tagged values: each producer's values in the history
 * increase. */
ArrayCheck history_check{[](const KivTuple &t) {
  double last[4] = {0, 0, 0, 0};
  for (int i = 0; i < t.n; i++) {
    double v = t.P[i].y;
    int p = tag_of(v);
    g_assert_true(p >= 1 && v > last[p]);
    last[p] = v;
  }
}};

/* Producer p resets the graph to p + 2 points at 0, 0.5, 1 ... all of the
 * value 4 g + p: a reader sees one whole reset. */
ArrayCheck graph_check{[](const KivTuple &t) {
  if (t.n == 0)
    return;
  g_assert_cmpint(t.n, ==, tag_of(t.P[0].y) + 2);
  for (int i = 0; i < t.n; i++) {
    g_assert_cmpfloat(t.P[i].x, ==, 0.5 * i);
    g_assert_cmpfloat(t.P[i].y, ==, t.P[0].y);
  }
}};

/* Producers fill every cell once per batch under the lock: a colour map
 * sees all cells equal, so it indexes all of them or none and its value
 * range is a single value. */
std::atomic<uint64_t> maps_checked{0};

void checked_frame(KivChart1D *h) {
  auto *parent = KIV_CHART1D_CLASS(g_type_class_peek_parent(G_OBJECT_GET_CLASS(h)));
  parent->draw_frame(h);
  KivChart2D *h2 = KIV_CHART2D(h);
  g_assert_true(h2->nindx == 0 || h2->nindx == h2->ntot);
  g_assert_cmpfloat(h->cnvs->zmin, ==, h->cnvs->zmax);
  maps_checked++;
}

/* ---- The scenario ----------------------------------------------------------- */

constexpr int kProducers = 3;
constexpr int kCellsX = 8, kCellsY = 4;

/* The main thread's rebins go round these; each covers [0, 16) with edges
 * on it, so no content is lost and the bins inside stay equal. */
struct Binning {
  int nbin;
  double xmin, xmax;
};
constexpr Binning kBinnings[] = {{16, 0, 16}, {8, 0, 32}, {32, -16, 16}, {4, 0, 16}};

/* What one producer filled, for the exact totals. */
struct Filled {
  double histogram = 0.0, cells = 0.0, profile[kProfileBins] = {};
  uint64_t traced = 0, resets = 0;
};

gboolean count_expose(GtkWidget *, GdkEventExpose *, gpointer counter) {
  ++*static_cast<unsigned *>(counter);
  return FALSE;
}

GtkWidget *grid_of(std::initializer_list<GtkWidget *> widgets) {
  GtkWidget *table = gtk_table_new(2, 2, TRUE);
  guint i = 0;
  for (GtkWidget *w : widgets) {
    gtk_table_attach_defaults(GTK_TABLE(table), w, i % 2, i % 2 + 1, i / 2, i / 2 + 1);
    i++;
  }
  return table;
}

class WidgetScenario : public kivstress::Scenario {
public:
  WidgetScenario() {
    KivChart1D *a = KIV_CHART1D(chart_a_);
    kiv_chart1d_add_curve(a, KIV_FUNCTION(profile_));
    kiv_chart1d_add_curve(a, KIV_FUNCTION(graph_));
    kiv_chart1d_sync_range(a, TRUE);
    kiv_chart1d_add_curve(KIV_CHART1D(chart_b_), KIV_FUNCTION(h_));
    GtkWidget *widgets[] = {chart_a_, chart_b_, chart2d_, gauge_};
    for (int i = 0; i < 4; i++)
      g_signal_connect_after(widgets[i], "expose-event", G_CALLBACK(count_expose), &exposes_[i]);
    for (GtkWidget *c : {chart_a_, chart_b_, chart2d_})
      kiv_chart1d_monitor_start(KIV_CHART1D(c), 10);
    op_source_ = g_timeout_add(5, operate, this);
  }
  ~WidgetScenario() override {
    for (const char *f : {"a.png", "2d.pdf", "b.svg"})
      g_remove((dir_ + "/" + f).c_str());
    g_rmdir(dir_.c_str());
    for (gpointer o : {gpointer(h_), gpointer(profile_), gpointer(tracer_), gpointer(graph_),
                       gpointer(h2_)})
      g_object_unref(o);
  }
  const char *name() const override { return "widgets"; }
  int producers() const override { return kProducers; }
  bool controls_from_calling_thread() const override { return true; }

  void produce(int id, uint64_t k) override {
    Filled &mine = filled_[id];
    double w = 0.5 * (1 + k % 3);
    switch ((id + k) % 5) {
    case 0: {
      double x[16], ws[16];
      for (int i = 0; i < 16; i++) {
        x[i] = i + 0.5;
        ws[i] = w;
      }
      kiv_histogram_fill_n(h_, x, ws, 16);
      mine.histogram += 16 * w;
      break;
    }
    case 1: {
      int b = static_cast<int>(k / 5 % kProfileBins);
      kiv_function_lock(KIV_FUNCTION(profile_));
      kiv_profile_fill(profile_, b + 0.5, b + 1.0, w);
      kiv_function_unlock(KIV_FUNCTION(profile_));
      mine.profile[b] += w;
      break;
    }
    case 2:
      kiv_histogram_fill(KIV_HISTOGRAM(tracer_), tagged(id + 1, ++mine.traced), 1.0);
      break;
    case 3: {
      double x[5], y[5];
      int n = id + 3;
      kiv_function_lock(KIV_FUNCTION(graph_));
      for (int i = 0; i < n; i++) {
        x[i] = 0.5 * i;
        y[i] = tagged(id + 1, generation_ + 1);
      }
      kiv_graph_reset(graph_, n, x, y);
      generation_++;
      kiv_function_unlock(KIV_FUNCTION(graph_));
      mine.resets++;
      break;
    }
    case 4:
      kiv_function_lock(KIV_FUNCTION(h2_));
      for (int c = 0; c < kCellsX * kCellsY; c++)
        kiv_histogram2d_fill(h2_, c % kCellsX + 0.5, c / kCellsX + 0.5, w);
      kiv_function_unlock(KIV_FUNCTION(h2_));
      mine.cells += kCellsX * kCellsY * w;
      break;
    }
  }

  /* The charts' timers and the operations run from the main loop. */
  void control(uint64_t) override { g_main_context_iteration(NULL, TRUE); }

  void control_done() override {
    g_source_remove(op_source_);
    for (GtkWidget *c : {chart_a_, chart_b_, chart2d_})
      kiv_chart1d_monitor_stop(KIV_CHART1D(c));
    rebin_weight_ = kivtest::slot_weight;
  }

  void verify() override {
    Filled all;
    for (const Filled &f : filled_) {
      all.histogram += f.histogram;
      all.cells += f.cells;
      for (int b = 0; b < kProfileBins; b++)
        all.profile[b] += f.profile[b];
      all.resets += f.resets;
    }
    verify_histogram(all.histogram);
    verify_others(all);
    for (unsigned n : exposes_)
      g_assert_cmpuint(n, >, 0);
    for (const ArrayCheck *c : {&lockstep_check, &profile_check, &history_check, &graph_check})
      g_assert_cmpuint(c->passed, >, 0);
    g_assert_cmpuint(maps_checked, >, 0);
    g_assert_cmpuint(exports_, >, 0);
    g_test_message("stress widgets: redraws %u, %u, %u, %u (charts A, B, 2D, gauge); "
                   "%" G_GUINT64_FORMAT " point arrays and %" G_GUINT64_FORMAT " colour maps "
                   "checked; %u rebins, %u range changes, %u curve swaps, %u property writes, "
                   "%u exports",
                   exposes_[0], exposes_[1], exposes_[2], exposes_[3],
                   lockstep_check.passed + profile_check.passed + history_check.passed +
                       graph_check.passed,
                   maps_checked.load(), counts_[0], counts_[1], counts_[2], counts_[3], exports_);
  }

private:
  /* Nothing lost, nothing counted twice: the bins hold what the producers
   * filled, the entries count the rebins' refills too, and a last redraw
   * shows the final contents. */
  void verify_histogram(double filled) {
    KivFunction *f = KIV_FUNCTION(h_);
    double sum = 0.0;
    for (int i = 0; i < f->nbin; i++)
      sum += h_->y[i];
    g_assert_cmpfloat(filled, >, 0.0);
    g_assert_cmpfloat(sum, ==, filled);
    g_assert_cmpfloat(kiv_histogram_entries(h_), ==, filled + rebin_weight_);

    g_object_set(chart_a_, "logy", FALSE, NULL);
    g_object_unref(kivtest::read_pixmap(chart_a_));
    const KivTuple &t = KIV_CHART1D(chart_a_)->xpt[0];
    g_assert_cmpint(t.n, >, 3);
    for (int i = 1; i + 1 < t.n; i += 3)
      g_assert_cmpfloat(t.P[i].y, ==, kiv_function_eval(f, t.P[i].x));
  }

  void verify_others(const Filled &all) {
    double *n = NULL;
    g_object_get(profile_, "ntotal", &n, NULL);
    for (int b = 0; b < kProfileBins; b++) {
      g_assert_cmpfloat(n[b], ==, all.profile[b]);
      g_assert_cmpfloat(KIV_HISTOGRAM(profile_)->y[b], ==, n[b] > 0 ? b + 1.0 : 0.0);
    }
    g_free(n);

    double max = 0.0, min = G_MAXDOUBLE;
    for (int p = 1; p <= kProducers; p++) {
      uint64_t last = filled_[p - 1].traced;
      if (last > 0) {
        max = MAX(max, tagged(p, last));
        min = MIN(min, tagged(p, 1));
      }
    }
    g_assert_cmpfloat(kiv_tracer_get_maximum(tracer_), ==, max);
    g_assert_cmpfloat(kiv_tracer_get_minimum(tracer_), ==, min);
    g_assert_cmpfloat(KIV_HISTOGRAM(tracer_)->stat->nc, ==, tracer_->npoints);

    g_assert_cmpuint(all.resets, ==, generation_);
    KivTuple t = {0, NULL};
    kiv_function_get_array(KIV_FUNCTION(graph_), &t, 0.0, 0.0);
    g_assert_cmpfloat(std::floor(t.P[0].y / 4.0), ==, static_cast<double>(generation_));
    kiv_function_clear_tuple(&t);

    double sum = 0.0;
    for (int c = 0; c < kCellsX * kCellsY; c++) {
      g_assert_cmpfloat(h2_->y[c], ==, h2_->y[0]);
      sum += h2_->y[c];
    }
    g_assert_cmpfloat(sum, ==, all.cells);
    g_assert_cmpfloat(kiv_stats_get_nc(h2_->stat), ==, all.cells);
  }

  static gboolean operate(gpointer data) {
    auto *self = static_cast<WidgetScenario *>(data);
    unsigned k = self->ops_++;
    switch (k % 6) {
    case 0:
      self->rebin();
      break;
    case 1:
      self->change_range(k / 6);
      break;
    case 2:
      self->swap_curves(k / 6);
      break;
    case 3:
      self->write_properties(k / 6 % 2);
      break;
    case 4:
      self->export_one();
      break;
    case 5:
      kiv_gauge_set_value(KIV_GAUGE(self->gauge_), static_cast<float>(k % 100));
      g_assert_cmpfloat(kiv_gauge_get_value(KIV_GAUGE(self->gauge_)), ==, k % 100);
      break;
    }
    if (k % 6 < 4)
      self->counts_[k % 6]++;
    return TRUE;
  }

  /* Chart A follows its main function's range while synchronised. */
  void rebin() {
    binning_ = (binning_ + 1) % G_N_ELEMENTS(kBinnings);
    const Binning &b = kBinnings[binning_];
    kiv_histogram_rebin(h_, b.nbin, b.xmin, b.xmax);
    g_assert_cmpfloat(KIV_CHART1D(chart_a_)->xmin, ==, b.xmin);
    g_assert_cmpfloat(KIV_CHART1D(chart_a_)->xmax, ==, b.xmax);
  }

  void change_range(unsigned k) {
    static const double limits[][2] = {{2, 14}, {-4, 20}, {0, 16}};
    const double *lim = limits[k % 3];
    g_object_set(chart_a_, "hxmin", lim[0], "hxmax", lim[1], NULL);
    double lo = 0.0, hi = 0.0;
    g_object_get(chart_a_, "hxmin", &lo, "hxmax", &hi, NULL);
    kiv_assert_each({lo, lim[0]}, {hi, lim[1]});
  }

  void swap_curves(unsigned k) {
    KivChart1D *a = KIV_CHART1D(chart_a_);
    kiv_chart1d_remove_curves(a);
    g_assert_cmpint(kiv_chart1d_get_n_func(a), ==, 0);
    kiv_chart1d_add_curve(a, KIV_FUNCTION(h_));
    kiv_chart1d_add_curve(a, KIV_FUNCTION(profile_));
    if (k % 2)
      kiv_chart1d_add_curve(a, KIV_FUNCTION(graph_));
    g_assert_true(kiv_chart1d_get_func(a, 0) == KIV_FUNCTION(h_));
    g_assert_cmpint(kiv_chart1d_get_n_func(a), ==, k % 2 ? 3 : 2);
  }

  /* Nothing else holds a canvas, so every write is taken. */
  void write_properties(gboolean on) {
    g_object_set(chart_a_, "logy", on, "filled", !on, "stats", on, "line_width", on ? 2.0 : 1.0,
                 "xtitle", on ? "position" : "x", NULL);
    g_object_set(chart_b_, "stats", on, "vmin", 0.0, "vmax", on ? 50.0 : 0.0, NULL);
    g_object_set(chart2d_, "ctype", on ? KIV_COLOR_2D_BW : KIV_COLOR_2D_THERMAL, "squared", on,
                 NULL);
    gboolean logy = !on, squared = !on;
    double width = 0.0;
    int ctype = -1;
    g_object_get(chart_a_, "logy", &logy, "line_width", &width, NULL);
    g_object_get(chart2d_, "ctype", &ctype, "squared", &squared, NULL);
    g_assert_cmpint(logy, ==, on);
    g_assert_cmpfloat(width, ==, on ? 2.0 : 1.0);
    g_assert_cmpint(ctype, ==, on ? KIV_COLOR_2D_BW : KIV_COLOR_2D_THERMAL);
    g_assert_cmpint(squared, ==, on);
  }

  void export_one() {
    static const struct {
      GtkWidget *WidgetScenario::*chart;
      const char *file, *type, *start;
    } kinds[] = {{&WidgetScenario::chart_a_, "a.png", "png", "\x89PNG"},
                 {&WidgetScenario::chart2d_, "2d.pdf", "pdf", "%PDF"},
                 {&WidgetScenario::chart_b_, "b.svg", "svg", "<?xml"}};
    unsigned k = exports_++ % 4;
    if (k == 3) {
      /* The text of chart A's main function: a header with its bins. */
      GString *text = kiv_function_print(kiv_chart1d_get_func(KIV_CHART1D(chart_a_), 0));
      int nbin = 0;
      g_assert_cmpint(sscanf(text->str, "1D %d", &nbin), ==, 1);
      g_assert_cmpint(nbin, ==, KIV_FUNCTION(h_)->nbin);
      g_string_free(text, TRUE);
      return;
    }
    std::string path = dir_ + "/" + kinds[k].file;
    g_assert_cmpint(kiv_chart1d_print(KIV_CHART1D(this->*kinds[k].chart), path.c_str(),
                                      kinds[k].type), ==, 0);
    gchar *bytes = NULL;
    g_assert_true(g_file_get_contents(path.c_str(), &bytes, NULL, NULL));
    g_assert_true(g_str_has_prefix(bytes, kinds[k].start));
    g_free(bytes);
  }

  KivHistogram *h_ = KIV_HISTOGRAM(
      g_object_new(checked_type(counting_histogram_get_type(), "StressLockstep", &lockstep_check),
                   "nx", 16, "xmin", 0.0, "xmax", 16.0, "ptr", NULL, NULL));
  KivProfile *profile_ = KIV_PROFILE(
      g_object_new(checked_type(KIV_TYPE_PROFILE, "StressProfile", &profile_check), "nx",
                   kProfileBins, "xmin", 0.0, "xmax", double(kProfileBins), "ptr", NULL, NULL));
  KivTracer *tracer_ = KIV_TRACER(
      g_object_new(checked_type(KIV_TYPE_TRACER, "StressTracer", &history_check), "nx", 64,
                   "xmin", 0.0, "xmax", 64.0, "ptr", NULL, NULL));
  KivGraph *graph_ =
      KIV_GRAPH(g_object_new(checked_type(KIV_TYPE_GRAPH, "StressGraph", &graph_check), NULL));
  KivHistogram2D *h2_ = kiv_histogram2d_new(kCellsX, 0.0, kCellsX, kCellsY, 0.0, kCellsY, NULL);

  GtkWidget *chart_a_ = kiv_chart1d_new(KIV_FUNCTION(h_));
  GtkWidget *chart_b_ = kiv_chart1d_new(KIV_FUNCTION(tracer_));
  GtkWidget *chart2d_ = GTK_WIDGET(g_object_new(
      derived_type(KIV_TYPE_CHART2D, "StressChart2D",
                   [](gpointer klass, gpointer) {
                     KIV_CHART1D_CLASS(klass)->draw_frame = checked_frame;
                   }),
      "func", h2_, "ctype", KIV_COLOR_2D_THERMAL, NULL));
  GtkWidget *gauge_ = kiv_gauge_new(0.0f, 100.0f);
  kivtest::Toplevel shown_{grid_of({chart_a_, chart_b_, chart2d_, gauge_}), 640, 480};
  std::string dir_ = [] {
    gchar *d = g_dir_make_tmp("kiv-stress-XXXXXX", NULL);
    std::string s = d;
    g_free(d);
    return s;
  }();

  Filled filled_[kProducers];
  uint64_t generation_ = 0; /* guarded by the graph's lock */
  double rebin_weight_ = 0.0;
  guint op_source_ = 0;
  unsigned ops_ = 0, exports_ = 0, binning_ = 0;
  unsigned counts_[4] = {0, 0, 0, 0}, exposes_[4] = {0, 0, 0, 0};
};

} // namespace

int main(int argc, char **argv) {
  g_test_init(&argc, &argv, NULL);
  kivtest::init_display(&argc, &argv);
  kivtest::add_widget_test("/stress-widgets/all-at-once", [] {
    WidgetScenario s;
    kivstress::run({&s}, 2 * kivstress::run_seconds());
  });
  return g_test_run();
}
