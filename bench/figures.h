/* figures.h: the figures of the benchmark suite, each printing one table:
 * the fill figures (fill.cc) and the drawing figures (draw.cc). */
#ifndef KIV_BENCH_FIGURES_H
#define KIV_BENCH_FIGURES_H

#include "harness.h"

namespace kivbench {

/* Figure 1: single fills in one thread, against GSL and Boost.Histogram. */
void figure_fill(const Options &o);
/* Figure 2: batch fills against Boost.Histogram filling from arrays. */
void figure_batch(const Options &o);
/* Figure 3: several producer threads filling one histogram. */
void figure_contention(const Options &o);
/* Figure 4: redraw of a one-dimensional chart against matplotlib's stairs. */
void figure_redraw_1d(const Options &o);
/* Figure 5: redraw of a two-dimensional chart against matplotlib's
 * pcolormesh. */
void figure_redraw_2d(const Options &o);
/* Figure 6: producers filling beside a live chart, and the chart's memory
 * over many redraws. */
void figure_live(const Options &o);

} // namespace kivbench

#endif /* KIV_BENCH_FIGURES_H */
