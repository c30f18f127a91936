/* main.cc: kiv-bench, the benchmark suite of libgtkkiv.  Prints one table
 * per figure, our library and its peers measured in the same run on the
 * same data, then whether each goal was met.
 *
 *   kiv-bench [--reps N] [--values N] [--batch N] [--threads N] [--figure ID]...
 */
#include "figures.h"

#include <gtkkiv.h>

#include <boost/version.hpp>
#include <gsl/gsl_version.h>

#include <cstdio>
#include <cstring>
#include <thread>

namespace {

const kivbench::Figure kFigures[] = {
    {"1", "fill, one thread", kivbench::figure_fill},
    {"2", "batch fill", kivbench::figure_batch},
    {"3", "contention", kivbench::figure_contention},
    {"4", "redraw, one-dimensional chart", kivbench::figure_redraw_1d},
    {"5", "redraw, two-dimensional chart", kivbench::figure_redraw_2d},
    {"6", "live chart beside producers", kivbench::figure_live},
};

void print_setting(const kivbench::Options &o) {
  printf("kiv-bench: libgtkkiv against its peers, %d timed runs of each, medians reported\n",
         o.reps);
  printf("  machine: %u CPUs online; GLib %u.%u.%u, GSL %s, Boost %d.%d.%d, g++ %s%s\n",
         std::thread::hardware_concurrency(), glib_major_version, glib_minor_version,
         glib_micro_version, GSL_VERSION, BOOST_VERSION / 100000, BOOST_VERSION / 100 % 1000,
         BOOST_VERSION % 100, __VERSION__,
#ifdef __OPTIMIZE__
         ", optimised"
#else
         ", NOT optimised: the figures mean little"
#endif
  );
  /* Other work on the machine slows every contender, and some more than
   * others: the figures are only as good as the machine was quiet. */
  gchar *load = NULL;
  if (g_file_get_contents("/proc/loadavg", &load, NULL, NULL)) {
    gchar **f = g_strsplit(load, " ", 4);
    if (g_strv_length(f) >= 3)
      printf("  load average at the start: %s %s %s (1, 5, 15 min)\n", f[0], f[1], f[2]);
    g_strfreev(f);
    g_free(load);
  }
}

} // namespace

int main(int argc, char **argv) {
  kivbench::Options o;
  gint reps = o.reps, threads = o.threads;
  gint64 values = static_cast<gint64>(o.values), batch = static_cast<gint64>(o.batch);
  gchar **only = NULL;
  GOptionEntry entries[] = {
      {"reps", 'r', 0, G_OPTION_ARG_INT, &reps, "Timed runs of each contender (7)", "N"},
      {"values", 'n', 0, G_OPTION_ARG_INT64, &values, "Values filled per run (10000000)", "N"},
      {"batch", 'b', 0, G_OPTION_ARG_INT64, &batch, "Values per batch call (4096)", "N"},
      {"threads", 't', 0, G_OPTION_ARG_INT, &threads, "Producer threads in figure 3 (4)", "N"},
      {"figure", 'f', 0, G_OPTION_ARG_STRING_ARRAY, &only, "Run only this figure (repeatable)",
       "ID"},
      {NULL, 0, 0, G_OPTION_ARG_NONE, NULL, NULL, NULL},
  };
  GOptionContext *ctx =
      g_option_context_new("- libgtkkiv against GSL, Boost.Histogram and matplotlib");
  g_option_context_add_main_entries(ctx, entries, NULL);
  GError *err = NULL;
  bool parsed = g_option_context_parse(ctx, &argc, &argv, &err);
  g_option_context_free(ctx);
  if (!parsed || reps < 1 || values < 1000 || batch < 1 || threads < 1) {
    fprintf(stderr, "kiv-bench: %s\n", err ? err->message : "counts must be positive "
                                                           "(at least 1000 values)");
    g_clear_error(&err);
    return 2;
  }
  o.reps = reps;
  o.values = static_cast<gsize>(values);
  o.batch = static_cast<gsize>(batch);
  o.threads = threads;

  gint64 started = g_get_monotonic_time();
  print_setting(o);
  for (const kivbench::Figure &f : kFigures) {
    bool wanted = only == NULL;
    for (gchar **id = only; id != NULL && *id != NULL; id++)
      wanted = wanted || strcmp(*id, f.id) == 0;
    if (wanted)
      f.run(o);
  }
  g_strfreev(only);
  kivbench::print_goal_summary();
  printf("  whole run: %.0f s\n", (g_get_monotonic_time() - started) / 1e6);
  return 0;
}
