/* Stress tests of the data objects under real threads: producers fill
 * histograms, profiles, tracers, graphs and two-dimensional histograms
 * while a controller takes point arrays, rebins, changes ranges and writes
 * properties.  Afterwards every total must be exact, no array may have been
 * torn and nothing may have deadlocked (the harness's watchdog aborts).
 *
 * The values filled are multiples of 1/8 and the weights multiples of 1/2,
 * and every rebin and range change maps old bin edges onto new ones or
 * halves them, so that all sums are exact in double precision and can be
 * compared with ==. */
#include "kiv-stress.h"

#include <cstdio>
#include <vector>

namespace {

using kivstress::Lcg;
using kivstress::Scenario;
using kivstress::tag_of;
using kivstress::tagged;

void count_signal(gpointer, gpointer data) {
  static_cast<std::atomic<uint64_t> *>(data)->fetch_add(1, std::memory_order_relaxed);
}

/* Checks a dump's shape: a header line with the bin count, a title line,
 * then one line per bin of columns + 1 tab-separated numbers. */
void assert_dump_shape(GString *dump, int nbin, int columns) {
  g_assert_nonnull(dump);
  gchar **lines = g_strsplit(dump->str, "\n", -1);
  g_assert_cmpint(g_strv_length(lines), ==, nbin + 3);
  g_assert_cmpstr(lines[nbin + 2], ==, "");
  int n = -1;
  g_assert_cmpint(sscanf(lines[0], "1D %d", &n), ==, 1);
  g_assert_cmpint(n, ==, nbin);
  for (int i = 2; i < nbin + 2; i++) {
    gchar **cols = g_strsplit(lines[i], "\t", -1);
    g_assert_cmpint(g_strv_length(cols), ==, columns + 1);
    g_strfreev(cols);
  }
  g_strfreev(lines);
  g_string_free(dump, TRUE);
}

/* --- Histogram: fills against rebins and range changes ------------------ */

/* The binnings the controller moves through, in a cycle that conserves the
 * contents: every fill lies in [0, 16), which each of them covers, and the
 * content that a change of "xmin" relabels comes back to [0, 16) with the
 * next one before a rebin could drop it. */
struct Binning {
  int nbin;
  double xmin, step;
};
constexpr Binning kBinnings[] = {{16, 0, 1}, {8, 0, 2}, {32, -16, 1}, {32, -48, 2}};

class HistogramScenario : public Scenario {
public:
  HistogramScenario() {
    h_ = KIV_HISTOGRAM(g_object_new(counting_histogram_get_type(), "nx", 16, "xmin", 0.0, "xmax",
                                    16.0, "ptr", NULL, NULL));
    g_signal_connect(h_, "changed", G_CALLBACK(count_signal), &changed_);
  }
  ~HistogramScenario() override { g_object_unref(h_); }
  const char *name() const override { return "histogram"; }
  int readers() const override { return 1; }

  void produce(int id, uint64_t k) override {
    Lcg &r = rng_[id];
    double x = r.next() % 128 / 8.0;
    double w = 0.5 * (1 + k % 3);
    kiv_histogram_fill(h_, x, w);
    weight_[id] += w;
  }

  /* The controller owns every change of the binning, so it knows the
   * binning in force and can check the outline against it exactly. */
  void control(uint64_t k) override {
    KivFunction *f = KIV_FUNCTION(h_);
    switch (k % 6) {
    case 0: {
      const Binning &b = kBinnings[state_];
      KivTuple t = {0, NULL};
      kiv_function_get_array(f, &t, b.xmin, b.xmin + b.nbin * b.step);
      g_assert_cmpint(t.n, ==, 3 * b.nbin + 1);
      control_total_ = check_outline(t, control_total_);
      g_assert_true(&b == binning_of(t));
      kiv_function_clear_tuple(&t);
      break;
    }
    case 1:
      advance();
      break;
    case 2: {
      char name[32];
      g_snprintf(name, sizeof name, "h-%" G_GUINT64_FORMAT, k);
      kiv_function_set_name(f, name);
      gchar *back = kiv_function_get_name(f);
      g_assert_cmpstr(back, ==, name);
      g_free(back);
      break;
    }
    case 3: {
      /* A copy under the lock is a consistent one. */
      kiv_function_lock(f);
      KivHistogram *c = kiv_histogram_clone(h_);
      double sum = 0.0, csum = 0.0;
      for (int i = 0; i < f->nbin; i++) {
        sum += h_->y[i];
        csum += c->y[i];
      }
      double entries = kiv_histogram_entries(h_);
      kiv_function_unlock(f);
      g_assert_cmpfloat(csum, ==, sum);
      g_assert_cmpfloat(kiv_histogram_entries(c), ==, entries);
      g_assert_cmpfloat(entries, >=, sum);
      g_object_unref(c);
      break;
    }
    case 4: {
      const Binning &b = kBinnings[state_];
      assert_dump_shape(kiv_function_print(f), b.nbin, 1);
      break;
    }
    case 5: {
      const Binning &b = kBinnings[state_];
      g_assert_cmpint(kiv_function_get_npts(f), ==, b.nbin);
      g_assert_cmpfloat(kiv_function_get_xmin(f), ==, b.xmin);
      g_assert_cmpfloat(kiv_function_get_step(f), ==, b.step);
      g_assert_cmpfloat(kiv_function_get_xmax(f), ==, b.xmin + b.nbin * b.step);
      break;
    }
    }
  }

  void control_done() override { rebin_weight_ = kivtest::slot_weight; }

  /* A reader that knows nothing of the binning asks for more than the whole
   * range, as a chart zoomed out would, and sees one of the binnings. */
  void read(int, uint64_t) override {
    KivTuple t = {0, NULL};
    kiv_function_get_array(KIV_FUNCTION(h_), &t, -1e9, 1e9);
    g_assert_nonnull(binning_of(t));
    read_total_ = check_outline(t, read_total_);
    kiv_function_clear_tuple(&t);
    g_assert_cmpfloat(kiv_function_eval(KIV_FUNCTION(h_), 100.0), ==, 0.0);
  }

  void verify() override {
    double filled = 0.0, sum = 0.0;
    for (double w : weight_)
      filled += w;
    KivFunction *f = KIV_FUNCTION(h_);
    for (int i = 0; i < f->nbin; i++)
      sum += h_->y[i];
    g_assert_cmpfloat(filled, >, 0.0);
    g_assert_cmpfloat(sum, ==, filled);
    g_assert_cmpfloat(kiv_histogram_entries(h_), ==, filled + rebin_weight_);
    g_assert_cmpuint(changed_, ==, produced);
    g_assert_cmpfloat(control_total_, <=, filled);
    g_assert_cmpfloat(read_total_, <=, filled);
    g_test_message("stress histogram: %u binning changes", changes_);
  }

private:
  static const Binning *binning_of(const KivTuple &t) {
    if (t.n < 4 || t.n % 3 != 1)
      return nullptr;
    int m = (t.n - 1) / 3;
    for (const Binning &b : kBinnings)
      if (b.nbin == m && t.P[0].x == b.xmin && t.P[2].x - t.P[0].x == b.step)
        return &b;
    return nullptr;
  }

  /* Every step of the outline in place, no content negative, and a total
   * that never shrinks: the weights are positive and a rebin conserves. */
  static double check_outline(const KivTuple &t, double last_total) {
    const Binning *b = binning_of(t);
    g_assert_nonnull(b);
    int m = (t.n - 1) / 3;
    double prev = 0.0, total = 0.0;
    for (int k = 0; k < m; k++) {
      const KivPoint *p = t.P + 3 * k;
      double lower = b->xmin + k * b->step;
      g_assert_cmpfloat(p[0].x, ==, lower);
      g_assert_cmpfloat(p[1].x, ==, lower);
      g_assert_cmpfloat(p[2].x, ==, lower + b->step);
      g_assert_cmpfloat(p[0].y, ==, prev);
      g_assert_cmpfloat(p[1].y, ==, p[2].y);
      g_assert_cmpfloat(p[1].y, >=, 0.0);
      prev = p[1].y;
      total += prev;
    }
    g_assert_cmpfloat(t.P[3 * m].x, ==, b->xmin + m * b->step);
    g_assert_cmpfloat(t.P[3 * m].y, ==, 0.0);
    g_assert_cmpfloat(total, >=, last_total);
    return total;
  }

  /* 16 on [0, 16) -> 8 on [0, 16) -> 32 on [-16, 16) -> "xmin" -48 ->
   * "xmin" -16 -> 16 on [0, 16). */
  void advance() {
    static const int next[] = {1, 2, 3, 2};
    KivFunction *f = KIV_FUNCTION(h_);
    switch (state_) {
    case 0:
      kiv_histogram_rebin(h_, 8, 0.0, 16.0);
      break;
    case 1:
      kiv_histogram_rebin(h_, 32, -16.0, 16.0);
      break;
    case 2:
      if (back_to_start_) {
        kiv_histogram_rebin(h_, 16, 0.0, 16.0);
        state_ = 0;
        back_to_start_ = false;
        changes_++;
        return;
      }
      g_object_set(f, "xmin", -48.0, NULL);
      break;
    case 3:
      g_object_set(f, "xmin", -16.0, NULL);
      back_to_start_ = true;
      break;
    }
    state_ = next[state_];
    changes_++;
  }

  KivHistogram *h_;
  Lcg rng_[3] = {{1}, {2}, {3}};
  double weight_[3] = {0, 0, 0};
  int state_ = 0;
  bool back_to_start_ = false;
  unsigned changes_ = 0;
  double control_total_ = 0.0, read_total_ = 0.0, rebin_weight_ = 0.0;
  std::atomic<uint64_t> changed_{0};
};

/* --- Profile: fills under the lock, both entry points -------------------- */

/* Bin b only ever receives the value b + 1, so its mean is exactly b + 1
 * and its spread exactly 0 whatever the order of the fills: anything else
 * is a torn update. */
constexpr int kProfileBins = 8;

class ProfileScenario : public Scenario {
public:
  ProfileScenario() { p_ = kiv_profile_new(kProfileBins, 0.0, kProfileBins, NULL); }
  ~ProfileScenario() override { g_object_unref(p_); }
  const char *name() const override { return "profile"; }

  void produce(int id, uint64_t k) override {
    int b = rng_[id].next() % kProfileBins;
    double x = b + (k % 8) / 8.0;
    if (k % 4 == 0) {
      /* Locks by itself, weight 1. */
      kiv_histogram_fill(KIV_HISTOGRAM(p_), x, b + 1.0);
      weight_[id][b] += 1.0;
    } else {
      double w = 0.5 * (1 + k % 2);
      kiv_function_lock(KIV_FUNCTION(p_));
      kiv_profile_fill(p_, x, b + 1.0, w);
      kiv_function_unlock(KIV_FUNCTION(p_));
      weight_[id][b] += w;
    }
  }

  void control(uint64_t k) override {
    KivFunction *f = KIV_FUNCTION(p_);
    switch (k % 3) {
    case 0: {
      KivTuple t = {0, NULL};
      kiv_function_get_array(f, &t, 0.0, kProfileBins);
      g_assert_cmpint(t.n, ==, 3 * kProfileBins + 1);
      for (int b = 0; b < kProfileBins; b++) {
        double mean = t.P[3 * b + 1].y;
        g_assert_true(mean == 0.0 || mean == b + 1.0);
        g_assert_cmpfloat(t.P[3 * b + 2].y, ==, mean);
      }
      kiv_function_clear_tuple(&t);
      break;
    }
    case 1: {
      /* The profile's own properties take no lock: the reader holds it. */
      double *n = NULL, *rms = NULL;
      kiv_function_lock(f);
      g_object_get(p_, "ntotal", &n, "rms", &rms, NULL);
      kiv_function_unlock(f);
      for (int b = 0; b < kProfileBins; b++) {
        g_assert_cmpfloat(n[b], >=, last_n_[b]);
        last_n_[b] = n[b];
        g_assert_cmpfloat(rms[b], ==, 0.0);
      }
      g_free(n);
      g_free(rms);
      break;
    }
    case 2:
      assert_dump_shape(kiv_function_print(f), kProfileBins, 1);
      kiv_function_set_name(f, k % 2 ? "profile" : "p");
      break;
    }
  }

  void verify() override {
    double *n = NULL;
    g_object_get(p_, "ntotal", &n, NULL);
    double all = 0.0, ys = 0.0;
    for (int b = 0; b < kProfileBins; b++) {
      double want = 0.0;
      for (auto &w : weight_)
        want += w[b];
      g_assert_cmpfloat(n[b], ==, want);
      g_assert_cmpfloat(KIV_HISTOGRAM(p_)->y[b], ==, want > 0 ? b + 1.0 : 0.0);
      all += want;
      ys += want * (b + 1.0);
    }
    g_free(n);
    KivStats *st = KIV_HISTOGRAM(p_)->stat;
    g_assert_cmpfloat(all, >, 0.0);
    g_assert_cmpfloat(kiv_stats_get_nc(st), ==, all);
    g_assert_cmpfloat(st->s[1], ==, ys);
  }

private:
  KivProfile *p_;
  Lcg rng_[3] = {{11}, {12}, {13}};
  double weight_[3][kProfileBins] = {};
  double last_n_[kProfileBins] = {};
};

/* --- Tracer: fills against new lengths ---------------------------------- */

/* Producers tag their values (kivstress::tagged).  The history is the
 * latest fills in the order the lock let them in, so each producer's values
 * in it are consecutive and increasing.  The controller shortens the ring
 * only through "nx", which empties it, and lengthens it through the resize
 * wrapper, which keeps the history in order. */

constexpr int kLengths[] = {17, 40, 64};

void assert_history(const KivTuple &t, int max_len) {
  g_assert_cmpint(t.n, <=, max_len);
  double last[4] = {0, 0, 0, 0};
  for (int i = 0; i < t.n; i++) {
    g_assert_cmpfloat(t.P[i].x, ==, i);
    double v = t.P[i].y;
    int p = tag_of(v);
    g_assert_cmpint(p, >=, 1);
    g_assert_true(last[p] == 0.0 || v == last[p] + 4.0);
    last[p] = v;
  }
}

class TracerScenario : public Scenario {
public:
  TracerScenario() { tr_ = kiv_tracer_new(kLengths[0]); }
  ~TracerScenario() override { g_object_unref(tr_); }
  const char *name() const override { return "tracer"; }
  int readers() const override { return 1; }

  void produce(int id, uint64_t k) override {
    kiv_histogram_fill(KIV_HISTOGRAM(tr_), tagged(id + 1, k + 1), 1.0);
    last_[id] = k + 1;
  }

  void control(uint64_t k) override {
    KivFunction *f = KIV_FUNCTION(tr_);
    switch (k % 4) {
    case 0:
    case 2: {
      KivTuple t = {0, NULL};
      kiv_function_get_array(f, &t, 0.0, 0.0);
      assert_history(t, kLengths[length_]);
      kiv_function_clear_tuple(&t);
      break;
    }
    case 1:
      length_ = (length_ + 1) % 3;
      if (length_ == 0) {
        /* The tracer's "nx" handler takes no lock: the writer holds it. */
        kiv_function_lock(f);
        g_object_set(tr_, "nx", kLengths[0], NULL);
        kiv_function_unlock(f);
      } else {
        g_assert_cmpint(kiv_function_resize(f, kLengths[length_], 10), ==, 1);
      }
      break;
    case 3: {
      kiv_function_lock(f);
      int npoints = tr_->npoints;
      double entries = kiv_histogram_entries(KIV_HISTOGRAM(tr_));
      kiv_function_unlock(f);
      g_assert_cmpfloat(entries, ==, npoints);
      kiv_function_set_name(f, "trace");
      break;
    }
    }
  }

  void read(int, uint64_t) override {
    KivTuple t = {0, NULL};
    kiv_function_get_array(KIV_FUNCTION(tr_), &t, 0.0, 0.0);
    assert_history(t, kLengths[2]);
    kiv_function_clear_tuple(&t);
  }

  void verify() override {
    KivTuple t = {0, NULL};
    kiv_function_get_array(KIV_FUNCTION(tr_), &t, 0.0, 0.0);
    assert_history(t, kLengths[length_]);
    g_assert_cmpint(t.n, ==, tr_->npoints);
    /* A producer's newest value in the history is its last one. */
    double newest[4] = {0, 0, 0, 0}, sum = 0.0, sum2 = 0.0;
    for (int i = 0; i < t.n; i++) {
      double v = t.P[i].y;
      newest[tag_of(v)] = v;
      sum += v;
      sum2 += v * v;
    }
    for (int p = 1; p <= 3; p++)
      g_assert_true(newest[p] == 0.0 || newest[p] == tagged(p, last_[p - 1]));
    kiv_function_clear_tuple(&t);
    KivStats *st = KIV_HISTOGRAM(tr_)->stat;
    g_assert_cmpfloat(st->nc, ==, tr_->npoints);
    g_assert_cmpfloat(st->s[0], ==, sum);
    /* The squares may pass 2^53, where the running sum rounds. */
    g_assert_cmpfloat(fabs(st->s[2] - sum2), <=, sum2 * 1e-12);
    double max = 0.0;
    for (int p = 1; p <= 3; p++)
      if (last_[p - 1] > 0)
        max = MAX(max, tagged(p, last_[p - 1]));
    g_assert_cmpfloat(kiv_tracer_get_maximum(tr_), ==, max);
    g_assert_cmpfloat(kiv_tracer_get_minimum(tr_), ==, tagged(1, 1));
  }

private:
  KivTracer *tr_;
  uint64_t last_[3] = {0, 0, 0};
  int length_ = 0;
};

/* --- Graph: resets under the lock against evaluation and arrays ---------- */

/* Producer p resets the graph to p + 2 points at 0, 0.5, 1, ... all of the
 * value 4 g + p, where g counts the resets under the lock.  Whoever reads
 * the graph must see one whole reset: the right number of points for its
 * value, all of them equal. */
class GraphScenario : public Scenario {
public:
  GraphScenario() { g_ = kiv_graph_new(0, NULL, NULL); }
  ~GraphScenario() override { g_object_unref(g_); }
  const char *name() const override { return "graph"; }
  int readers() const override { return 1; }

  void produce(int id, uint64_t) override {
    double x[5], y[5];
    int n = id + 3;
    KivFunction *f = KIV_FUNCTION(g_);
    kiv_function_lock(f);
    double v = tagged(id + 1, ++generation_);
    for (int i = 0; i < n; i++) {
      x[i] = 0.5 * i;
      y[i] = v;
    }
    kiv_graph_reset(g_, n, x, y);
    kiv_function_unlock(f);
    resets_[id]++;
  }

  static void assert_whole(int n, const double *xv, const double *yv) {
    if (n == 0)
      return;
    g_assert_cmpint(n, ==, tag_of(yv[0]) + 2);
    for (int i = 0; i < n; i++) {
      g_assert_cmpfloat(xv[i], ==, 0.5 * i);
      g_assert_cmpfloat(yv[i], ==, yv[0]);
    }
  }

  void control(uint64_t k) override {
    KivFunction *f = KIV_FUNCTION(g_);
    if (k % 2 == 0) {
      KivTuple t = {0, NULL};
      kiv_function_get_array(f, &t, 0.0, 1.0);
      std::vector<double> xv, yv;
      for (int i = 0; i < t.n; i++) {
        xv.push_back(t.P[i].x);
        yv.push_back(t.P[i].y);
      }
      assert_whole(t.n, xv.data(), yv.data());
      kiv_function_clear_tuple(&t);
    } else {
      /* The graph's own properties take no lock: the reader holds it. */
      int n = 0;
      double *xv = NULL, *yv = NULL;
      kiv_function_lock(f);
      g_object_get(g_, "nx", &n, "xv", &xv, "yv", &yv, NULL);
      assert_whole(n, xv, yv);
      double lo = f->xmin, hi = f->xmax;
      kiv_function_unlock(f);
      if (n > 0) {
        g_assert_cmpfloat(lo, ==, 0.0);
        g_assert_cmpfloat(hi, ==, 0.5 * (n - 1));
      }
    }
  }

  void read(int, uint64_t k) override {
    double v = kiv_function_eval(KIV_FUNCTION(g_), 0.1 * (k % 20));
    g_assert_true(v == 0.0 || tag_of(v) >= 1);
  }

  void verify() override {
    uint64_t all = 0;
    for (uint64_t r : resets_)
      all += r;
    g_assert_cmpuint(all, ==, generation_);
    g_assert_cmpuint(all, ==, produced);
    g_assert_cmpint(KIV_FUNCTION(g_)->nbin, >, 0);
    assert_whole(KIV_FUNCTION(g_)->nbin, g_->xv, g_->yv);
    g_assert_cmpfloat(floor(g_->yv[0] / 4.0), ==, static_cast<double>(generation_));
  }

private:
  KivGraph *g_;
  uint64_t generation_ = 0; /* guarded by the graph's lock */
  uint64_t resets_[3] = {0, 0, 0};
};

/* --- Two-dimensional histogram: fills under the lock, range changes ------ */

/* Fills lie in [0, 8) x [0, 4); the controller moves "xmin" between 0 and
 * -8 and "ymin" between 0 and -4, which relabels the cells and keeps every
 * fill inside the grid.  Under the lock the cells always add up to the
 * statistics' entry count. */
class Histogram2DScenario : public Scenario {
public:
  Histogram2DScenario() {
    h_ = kiv_histogram2d_new(8, 0.0, 8.0, 4, 0.0, 4.0, NULL);
    g_signal_connect(h_, "changed", G_CALLBACK(count_signal), &changed_);
  }
  ~Histogram2DScenario() override { g_object_unref(h_); }
  const char *name() const override { return "histogram2d"; }

  void produce(int id, uint64_t k) override {
    uint32_t r = rng_[id].next();
    double x = r % 64 / 8.0, y = (r >> 6) % 32 / 8.0, w = 0.5 * (1 + k % 2);
    kiv_function_lock(KIV_FUNCTION(h_));
    kiv_histogram2d_fill(h_, x, y, w);
    kiv_function_unlock(KIV_FUNCTION(h_));
    weight_[id] += w;
  }

  double cell_sum() const {
    double s = 0.0;
    for (int iy = 0; iy < 4; iy++)
      for (int ix = 0; ix < 8; ix++)
        s += kiv_histogram2d_get_cell_content(h_, ix, iy);
    return s;
  }

  void control(uint64_t k) override {
    KivFunction *X = KIV_FUNCTION(h_);
    switch (k % 4) {
    case 0: {
      kiv_function_lock(X);
      double sum = cell_sum();
      KivStats *s = kiv_stats_new();
      g_assert_cmpint(kiv_histogram2d_get_stats(h_, s), ==, 0);
      double vmax = h_->vmax;
      kiv_function_unlock(X);
      g_assert_cmpfloat(sum, ==, kiv_stats_get_nc(s));
      g_assert_cmpfloat(sum, >=, last_sum_);
      g_assert_cmpfloat(vmax, <=, sum);
      last_sum_ = sum;
      g_object_unref(s);
      break;
    }
    case 1: {
      kiv_function_lock(X);
      KivHistogram2D *c = kiv_histogram2d_clone(h_);
      double sum = cell_sum();
      kiv_function_unlock(X);
      double csum = 0.0;
      for (int i = 0; i < 32; i++)
        csum += c->y[i];
      g_assert_cmpfloat(csum, ==, sum);
      g_assert_cmpfloat(kiv_stats_get_nc(c->stat), ==, sum);
      g_object_unref(c);
      break;
    }
    case 2:
      /* A base-class property: it takes the x lock by itself. */
      g_object_set(h_, "xmin", k % 8 == 2 ? -8.0 : 0.0, NULL);
      break;
    case 3:
      /* A y property takes the y function's lock only; fills read the y
       * binning under the x lock, which the writer therefore holds. */
      kiv_function_lock(X);
      g_object_set(h_, "ymin", k % 8 == 3 ? -4.0 : 0.0, NULL);
      kiv_function_unlock(X);
      kiv_function_set_name(X, "map");
      break;
    }
  }

  void verify() override {
    double filled = 0.0;
    for (double w : weight_)
      filled += w;
    g_assert_cmpfloat(filled, >, 0.0);
    g_assert_cmpfloat(cell_sum(), ==, filled);
    g_assert_cmpfloat(kiv_stats_get_nc(h_->stat), ==, filled);
    double max = 0.0;
    for (int i = 0; i < 32; i++)
      max = MAX(max, h_->y[i]);
    g_assert_cmpfloat(h_->vmax, ==, max);
    g_assert_cmpuint(changed_, ==, produced);
  }

private:
  KivHistogram2D *h_;
  Lcg rng_[3] = {{21}, {22}, {23}};
  double weight_[3] = {0, 0, 0};
  double last_sum_ = 0.0;
  std::atomic<uint64_t> changed_{0};
};

/* --- Tests ---------------------------------------------------------------- */

template <typename S>
void run_one() {
  S s;
  kivstress::run({&s}, kivstress::run_seconds());
}

/* Every kind at once, as an application with several producers and
 * charts would run them: the objects share no lock, so nothing may wait
 * on another object's. */
void test_all_at_once() {
  HistogramScenario h;
  ProfileScenario p;
  TracerScenario t;
  GraphScenario g;
  Histogram2DScenario h2;
  kivstress::run({&h, &p, &t, &g, &h2}, 2 * kivstress::run_seconds());
}

/* The watchdog itself: a program that hangs is aborted with a message
 * that names the test. */
void test_watchdog() {
  if (g_test_subprocess()) {
    kivstress::Watchdog dog("a hanging test", 0.2);
    dog.set_activity("sleeping");
    for (;;)
      g_usleep(10000);
  }
  g_test_trap_subprocess(NULL, 20 * G_USEC_PER_SEC, G_TEST_SUBPROCESS_DEFAULT);
  g_test_trap_assert_failed();
  g_test_trap_assert_stderr("*WATCHDOG: a hanging test did not finish within 0 s (sleeping)*");
}

} // namespace

int main(int argc, char **argv) {
  g_test_init(&argc, &argv, NULL);
  g_test_add_func("/stress/watchdog", test_watchdog);
  g_test_add_func("/stress/histogram", run_one<HistogramScenario>);
  g_test_add_func("/stress/profile", run_one<ProfileScenario>);
  g_test_add_func("/stress/tracer", run_one<TracerScenario>);
  g_test_add_func("/stress/graph", run_one<GraphScenario>);
  g_test_add_func("/stress/histogram2d", run_one<Histogram2DScenario>);
  g_test_add_func("/stress/all-at-once", test_all_at_once);
  return g_test_run();
}
