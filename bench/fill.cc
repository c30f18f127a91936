/* fill.cc: the fill figures.  Our histogram against GSL's and Boost's on
 * the same values: one call per value, batches from arrays, and several
 * producer threads filling one histogram.
 *
 * Every contender checks in its finish() that it counted every value, so
 * that a loop the compiler found a way around, or a fill that lost values,
 * cannot pass for a fast one. */
#include "figures.h"

#include <gtkkiv.h>

#include <boost/histogram.hpp>
#include <gsl/gsl_histogram.h>
#include <gsl/gsl_histogram2d.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <thread>

namespace kivbench {

namespace {

namespace bh = boost::histogram;

/* The one-dimensional range: 1000 bins over [0, 1000).  Two-dimensional
 * rows use 100 x 100 cells over the same range on both axes. */
constexpr int kBins = 1000;
constexpr int kBins2 = 100;
constexpr double kLow = 0.0;
constexpr double kHigh = 1000.0;

/* Boost 1.74 has no public span type; this is the one its own array fills
 * take. */
using Span = bh::detail::span<const double>;

/* x and y are uniform over the range for 95 % of the values; the other 5 %
 * lie outside it, half below and half above, within 5 % of its width, at
 * random places in the sequence.  Those below keep the width of the widest
 * bin (a two-dimensional one) clear of the range, where our bin rule
 * (truncation toward zero) would still count them in the first bin and
 * the peers would not.  w are weights in
 * [0.5, 1.5).  The seed is fixed: every contender and every run fills the
 * same values. */
struct Data {
  std::vector<double> x, y, w;
};

const Data &fill_data(gsize n) {
  static Data d;
  if (d.x.size() == n)
    return d;
  std::mt19937_64 gen(20240611);
  std::uniform_real_distribution<double> u(0.0, 1.0);
  auto value = [&] {
    double width = kHigh - kLow;
    if (u(gen) >= 0.05)
      return kLow + width * u(gen);
    double off = 0.05 * width * u(gen);
    return u(gen) < 0.5 ? kLow - width / kBins2 - off : kHigh + off;
  };
  d.x.resize(n);
  d.y.resize(n);
  d.w.resize(n);
  for (gsize i = 0; i < n; i++) {
    d.x[i] = value();
    d.y[i] = value();
    d.w[i] = 0.5 + u(gen);
  }
  return d;
}

void expect(bool ok, const std::string &what) {
  if (!ok) {
    fprintf(stderr, "kiv-bench: %s\n", what.c_str());
    exit(2);
  }
}

/* Calls body(first, count) on consecutive chunks of at most batch values. */
template <typename Body>
void in_batches(gsize n, gsize batch, Body body) {
  for (gsize i = 0; i < n; i += batch)
    body(i, std::min(batch, n - i));
}

void noop_handler(gpointer, gpointer) {}

/* How many of the values our bin rule puts inside nbins bins over the
 * range: the peers count the same ones, the data keeping clear of the
 * only place where the rules differ. */
gsize inside(const std::vector<double> &v, gsize n, int nbins) {
  KivHistogram *h = kiv_histogram_new(nbins, kLow, kHigh, NULL);
  gsize count = 0;
  for (gsize i = 0; i < n; i++) {
    int b = kiv_function_find_bin(KIV_FUNCTION(h), v[i]);
    count += b >= 0 && b < nbins;
  }
  g_object_unref(h);
  return count;
}

} // namespace

void figure_fill(const Options &o) {
  const Data &d = fill_data(o.values);
  const gsize n = o.values;
  /* The rows that only break a fill into its parts, and the one with a
   * handler connected (ten times slower), run on a tenth of the values. */
  const gsize part = n / 10;
  const double all = static_cast<double>(n);
  const double in_range = static_cast<double>(inside(d.x, n, kBins));

  gsl_histogram *g = NULL;
  auto b = bh::make_histogram(bh::axis::regular<>(kBins, kLow, kHigh));
  KivHistogram *h = NULL;
  gpointer klass = g_type_class_ref(KIV_TYPE_HISTOGRAM); /* so that "changed" exists */
  guint changed = g_signal_lookup("changed", KIV_TYPE_HISTOGRAM);
  expect(changed != 0, "no signal \"changed\"");
  volatile gboolean sink = FALSE;

  auto kiv_new = [&] { h = kiv_histogram_new(kBins, kLow, kHigh, NULL); };
  auto kiv_check = [&](double want) {
    return [&h, want] {
      expect(kiv_histogram_entries(h) == want, "kiv_histogram_fill lost values");
      g_object_unref(h);
    };
  };
  auto kiv_drop = [&] { g_object_unref(h); };

  std::vector<Contender> c;
  c.push_back({"GSL gsl_histogram_increment (no lock, no signal)", n,
               [&] {
                 for (double v : d.x)
                   gsl_histogram_increment(g, v);
               },
               [&] {
                 g = gsl_histogram_alloc(kBins);
                 gsl_histogram_set_ranges_uniform(g, kLow, kHigh);
               },
               [&] {
                 expect(gsl_histogram_sum(g) == in_range, "GSL lost values");
                 gsl_histogram_free(g);
               }});
  c.push_back({"Boost.Histogram h(x) (no lock)", n,
               [&] {
                 for (double v : d.x)
                   b(v);
               },
               [&] { b.reset(); },
               [&] { expect(bh::algorithm::sum(b) == all, "Boost lost values"); }});
  c.push_back({"kiv_histogram_fill (lock, \"changed\", nobody connected)", n,
               [&] {
                 for (double v : d.x)
                   kiv_histogram_fill(h, v, 1.0);
               },
               kiv_new, kiv_check(all)});
  c.push_back({"kiv_histogram_fill, one handler connected", part,
               [&] {
                 for (gsize i = 0; i < part; i++)
                   kiv_histogram_fill(h, d.x[i], 1.0);
               },
               [&] {
                 kiv_new();
                 g_signal_connect(h, "changed", G_CALLBACK(noop_handler), NULL);
               },
               kiv_check(static_cast<double>(part))});
  c.push_back({"  part: kiv_function_lock + kiv_function_unlock", part,
               [&] {
                 for (gsize i = 0; i < part; i++) {
                   kiv_function_lock(KIV_FUNCTION(h));
                   kiv_function_unlock(KIV_FUNCTION(h));
                 }
               },
               kiv_new, kiv_drop});
  c.push_back({"  part: g_signal_emit \"changed\", nobody connected", part,
               [&] {
                 for (gsize i = 0; i < part; i++)
                   g_signal_emit(h, changed, 0);
               },
               kiv_new, kiv_drop});
  c.push_back({"  part: g_signal_has_handler_pending \"changed\"", part,
               [&] {
                 for (gsize i = 0; i < part; i++)
                   sink = sink | g_signal_has_handler_pending(h, changed, 0, TRUE);
               },
               kiv_new, kiv_drop});
  measure(c, o.reps);
  g_type_class_unref(klass);

  const Contender &gsl = c[0], &boost = c[1], &fill = c[2], &lock = c[4], &emit = c[5];
  Table t(format("Figure 1: fill, one thread -- %" G_GSIZE_FORMAT " values, %d bins, 5 %% "
                 "outside the range; median of %d runs",
                 n, kBins, o.reps),
          {"contender", "ns/value", "runs (ns/value)", "vs GSL", "vs Boost"});
  for (const Contender &k : c)
    t.row({k.name, ns_per_value(k), ns_range(k), ratio(k, gsl), ratio(k, boost)});
  check_goal(t, "1", "kiv_histogram_fill per value vs GSL's increment", fill.ns() / gsl.ns(),
             Want::AtMost, 2.0,
             format("the mutex alone costs %.1f ns and the emission %.1f ns, each more than GSL's "
                    "whole increment (%.1f ns)",
                    lock.ns(), emit.ns(), gsl.ns()));
  check_goal(t, "1", "\"changed\" with nobody connected, share of a single fill",
             emit.ns() / fill.ns(), Want::AtMost, 0.10,
             "g_signal_emit and the cheapest public check (g_signal_has_handler_pending) both "
             "take GLib's process-wide signal lock and look the instance up; GLib 2.74 has no "
             "lock-free way to tell whether anyone listens (a batch pays it once)");
  t.print();
}

void figure_batch(const Options &o) {
  const Data &d = fill_data(o.values);
  const gsize n = o.values, batch = o.batch;
  const double all = static_cast<double>(n);
  const double in_range = static_cast<double>(inside(d.x, n, kBins));
  gsize in_grid = 0;
  {
    KivHistogram *probe = kiv_histogram_new(kBins2, kLow, kHigh, NULL);
    KivFunction *f = KIV_FUNCTION(probe);
    for (gsize i = 0; i < n; i++) {
      int bx = kiv_function_find_bin(f, d.x[i]), by = kiv_function_find_bin(f, d.y[i]);
      in_grid += bx >= 0 && bx < kBins2 && by >= 0 && by < kBins2;
    }
    g_object_unref(probe);
  }

  auto b = bh::make_histogram(bh::axis::regular<>(kBins, kLow, kHigh));
  auto bd = bh::make_histogram_with(bh::dense_storage<double>(),
                                    bh::axis::regular<>(kBins, kLow, kHigh));
  auto b2 = bh::make_histogram(bh::axis::regular<>(kBins2, kLow, kHigh),
                               bh::axis::regular<>(kBins2, kLow, kHigh));
  auto bp = bh::make_profile(bh::axis::regular<>(kBins, kLow, kHigh));
  gsl_histogram2d *g2 = NULL;
  KivHistogram *h = NULL;
  KivHistogram2D *h2 = NULL;

  auto kiv_new = [&] { h = kiv_histogram_new(kBins, kLow, kHigh, NULL); };
  auto kiv_check = [&] {
    expect(kiv_histogram_entries(h) == all, "kiv_histogram_fill_n lost values");
    g_object_unref(h);
  };
  auto kiv_weighted_check = [&] {
    expect(kiv_histogram_entries(h) > 0.5 * all, "kiv_histogram_fill_n lost weights");
    g_object_unref(h);
  };
  auto profile_new = [&] { h = KIV_HISTOGRAM(kiv_profile_new(kBins, kLow, kHigh, NULL)); };
  auto profile_check = [&] {
    expect(kiv_histogram_entries(h) == in_range, "profile lost values");
    g_object_unref(h);
  };
  auto h2_new = [&] {
    h2 = kiv_histogram2d_new(kBins2, kLow, kHigh, kBins2, kLow, kHigh, NULL);
  };
  auto h2_check = [&] {
    expect(h2->stat->nc == static_cast<double>(in_grid), "2D histogram lost values");
    g_object_unref(h2);
  };

  /* Rows come in groups (one-dimensional, weighted, 2D, profile): each
   * row is compared with the first row of its group, Boost's array fill,
   * and a batch row with our single calls of the same group. */
  struct Row {
    int peer, single;
  };
  std::vector<Contender> c;
  std::vector<Row> rows;
  auto add = [&](int peer, int single, Contender k) {
    rows.push_back({peer, single});
    c.push_back(std::move(k));
  };
  add(0, -1, {"Boost.Histogram fill(array), default storage", n,
              [&] {
                in_batches(n, batch, [&](gsize i, gsize m) { b.fill(Span(&d.x[i], m)); });
              },
              [&] { b.reset(); },
              [&] { expect(bh::algorithm::sum(b) == all, "Boost lost values"); }});
  add(0, -1, {"Boost.Histogram fill(array), double storage", n,
              [&] {
                in_batches(n, batch, [&](gsize i, gsize m) { bd.fill(Span(&d.x[i], m)); });
              },
              [&] { bd.reset(); },
              [&] { expect(bh::algorithm::sum(bd) == all, "Boost lost values"); }});
  add(0, -1, {"kiv_histogram_fill, one call per value", n,
              [&] {
                for (double v : d.x)
                  kiv_histogram_fill(h, v, 1.0);
              },
              kiv_new, kiv_check});
  add(0, 2, {"kiv_histogram_fill_n", n,
             [&] {
               in_batches(n, batch,
                          [&](gsize i, gsize m) { kiv_histogram_fill_n(h, &d.x[i], NULL, m); });
             },
             kiv_new, kiv_check});
  add(4, -1, {"Boost.Histogram fill(array, weight(array))", n,
              [&] {
                in_batches(n, batch, [&](gsize i, gsize m) {
                  b.fill(Span(&d.x[i], m), bh::weight(Span(&d.w[i], m)));
                });
              },
              [&] { b.reset(); },
              [&] { expect(bh::algorithm::sum(b) > 0.5 * all, "Boost lost weights"); }});
  add(4, 2, {"kiv_histogram_fill_n with weights", n,
             [&] {
               in_batches(n, batch, [&](gsize i, gsize m) {
                 kiv_histogram_fill_n(h, &d.x[i], &d.w[i], m);
               });
             },
             kiv_new, kiv_weighted_check});
  add(6, -1, {"2D: GSL gsl_histogram2d_increment", n,
              [&] {
                for (gsize i = 0; i < n; i++)
                  gsl_histogram2d_increment(g2, d.x[i], d.y[i]);
              },
              [&] {
                g2 = gsl_histogram2d_alloc(kBins2, kBins2);
                gsl_histogram2d_set_ranges_uniform(g2, kLow, kHigh, kLow, kHigh);
              },
              [&] {
                expect(gsl_histogram2d_sum(g2) == static_cast<double>(in_grid),
                       "GSL 2D lost values");
                gsl_histogram2d_free(g2);
              }});
  add(7, -1, {"2D: Boost.Histogram fill(arrays)", n,
              [&] {
                in_batches(n, batch, [&](gsize i, gsize m) {
                  std::array<Span, 2> xy = {Span(&d.x[i], m), Span(&d.y[i], m)};
                  b2.fill(xy);
                });
              },
              [&] { b2.reset(); },
              [&] { expect(bh::algorithm::sum(b2) == all, "Boost 2D lost values"); }});
  add(7, -1, {"2D: kiv_histogram2d_fill, one call per entry", n,
              [&] {
                for (gsize i = 0; i < n; i++)
                  kiv_histogram2d_fill(h2, d.x[i], d.y[i], 1.0);
              },
              h2_new, h2_check});
  add(7, 8, {"2D: kiv_histogram2d_fill_n", n,
             [&] {
               in_batches(n, batch, [&](gsize i, gsize m) {
                 kiv_histogram2d_fill_n(h2, &d.x[i], &d.y[i], NULL, m);
               });
             },
             h2_new, h2_check});
  add(10, -1, {"profile: Boost.Histogram fill(array, sample(array))", n,
               [&] {
                 in_batches(n, batch, [&](gsize i, gsize m) {
                   bp.fill(Span(&d.x[i], m), bh::sample(Span(&d.y[i], m)));
                 });
               },
               [&] { bp.reset(); },
               [&] {
                 double count = 0.0;
                 for (auto &&cell : bh::indexed(bp, bh::coverage::all))
                   count += cell->count();
                 expect(count == all, "Boost profile lost values");
               }});
  add(10, -1, {"profile: kiv_histogram_fill, one call per value", n,
               [&] {
                 for (gsize i = 0; i < n; i++)
                   kiv_histogram_fill(h, d.x[i], d.y[i]);
               },
               profile_new, profile_check});
  add(10, 11, {"profile: kiv_histogram_fill_n", n,
               [&] {
                 in_batches(n, batch, [&](gsize i, gsize m) {
                   kiv_histogram_fill_n(h, &d.x[i], &d.y[i], m);
                 });
               },
               profile_new, profile_check});
  measure(c, o.reps);

  Table t(format("Figure 2: batch fill -- %" G_GSIZE_FORMAT " values in calls of %" G_GSIZE_FORMAT
                 " (Boost too); 2D: %d x %d cells; median of %d runs",
                 n, batch, kBins2, kBins2, o.reps),
          {"contender", "ns/value", "runs (ns/value)", "vs Boost array", "vs our single calls"});
  for (size_t i = 0; i < c.size(); i++)
    t.row({c[i].name, ns_per_value(c[i]), ns_range(c[i]), ratio(c[i], c[rows[i].peer]),
           rows[i].single >= 0 ? ratio(c[i], c[rows[i].single]) : ""});
  const char *why = "our fill also updates the statistics (five weighted sums and the extrema of "
                    "every value), which Boost's does not";
  check_goal(t, "2", "kiv_histogram_fill_n per value vs Boost's array fill", c[3].ns() / c[0].ns(),
             Want::AtMost, 1.0, why);
  t.note(format("  (against Boost with double storage, its fastest here: %.2fx)",
                c[3].ns() / c[1].ns()));
  check_goal(t, "2", "kiv_histogram_fill_n with weights vs Boost's weighted array fill",
             c[5].ns() / c[4].ns(), Want::AtMost, 1.0, why);
  check_goal(t, "2", "kiv_histogram2d_fill_n vs Boost's 2D array fill", c[9].ns() / c[7].ns(),
             Want::AtMost, 1.0,
             "each entry is checked for a cell it would make infinite, and the five sums and "
             "both extrema of the statistics are kept, which Boost's fill does not");
  check_goal(t, "2", "profile kiv_histogram_fill_n vs Boost's profile array fill",
             c[12].ns() / c[10].ns(), Want::AtMost, 1.0,
             "each entry updates the bin's mean and mean square with a division each, as a single "
             "fill does (the same bits), where Boost's mean needs one");
  t.print();
}

void figure_contention(const Options &o) {
  const Data &d = fill_data(o.values);
  const gsize n = o.values, batch = o.batch;
  /* Batches fill the values several times over, so that a run lasts long
   * enough (a tenth of a second or more) for the scheduler's moods to
   * average out. */
  const int passes[2] = {1, 5};
  KivHistogram *h = NULL;

  /* Each producer fills its own slice of the values. */
  auto producers = [&](int threads, bool batched) {
    std::vector<std::thread> pool;
    for (int t = 0; t < threads; t++) {
      gsize begin = n * t / threads, end = n * (t + 1) / threads;
      pool.emplace_back([&, begin, end] {
        if (batched) {
          for (int pass = 0; pass < passes[1]; pass++)
            in_batches(end - begin, batch, [&](gsize i, gsize m) {
              kiv_histogram_fill_n(h, &d.x[begin + i], NULL, m);
            });
        } else {
          for (gsize i = begin; i < end; i++)
            kiv_histogram_fill(h, d.x[i], 1.0);
        }
      });
    }
    for (std::thread &t : pool)
      t.join();
  };

  std::vector<int> counts = {1, 2, o.threads};
  std::sort(counts.begin(), counts.end());
  counts.erase(std::unique(counts.begin(), counts.end()), counts.end());
  std::vector<Contender> c;
  for (bool batched : {false, true}) {
    const gsize values = n * passes[batched];
    for (int threads : counts) {
      c.push_back({format("%s, %d threads", batched ? "batches" : "single", threads), values,
                   [&, threads, batched] { producers(threads, batched); },
                   [&] { h = kiv_histogram_new(kBins, kLow, kHigh, NULL); },
                   [&, values] {
                     expect(kiv_histogram_entries(h) == static_cast<double>(values),
                            "producers lost values");
                     g_object_unref(h);
                   }});
    }
  }
  measure(c, o.reps);

  std::vector<std::string> header = {"calls"};
  for (int threads : counts)
    header.push_back(format("%d thread%s (Mvalues/s)", threads, threads > 1 ? "s" : ""));
  header.push_back(format("%d vs 1", o.threads));
  Table t(format("Figure 3: contention -- producers fill one histogram with %" G_GSIZE_FORMAT
                 " values in all, one by one or in batches of %" G_GSIZE_FORMAT " (those %d "
                 "times over); %u CPUs online; median of %d runs",
                 n, batch, passes[1], std::thread::hardware_concurrency(), o.reps),
          header);
  double rel[2];
  const size_t k = counts.size();
  for (size_t mode = 0; mode < 2; mode++) {
    std::vector<std::string> r = {mode ? "kiv_histogram_fill_n" : "kiv_histogram_fill"};
    for (size_t j = 0; j < k; j++)
      r.push_back(format("%.1f", c[mode * k + j].rate() / 1e6));
    size_t many = std::find(counts.begin(), counts.end(), o.threads) - counts.begin();
    rel[mode] = c[mode * k + many].rate() / c[mode * k].rate();
    r.push_back(format("%.2f", rel[mode]));
    t.row(r);
  }
  check_goal(t, "3", format("single fills, %d threads vs 1 (aggregate rate)", o.threads), rel[0],
             Want::AtLeast, 0.5,
             "producers that fill at once pass the histogram's mutex, its contents and GLib's "
             "signal lock between the caches of the processors at every value");
  check_goal(t, "3", format("batches, %d threads vs 1 (aggregate rate)", o.threads), rel[1],
             Want::AtLeast, 1.0,
             "the sums of a batch are added under the histogram's mutex, value by value in the "
             "order of single fills; only the scan of the values and their bins run outside it");
  t.print();
}

} // namespace kivbench
