/* figures.h: the figures of the benchmark suite, each printing one table.
 * The drawing figures (charts against matplotlib) are to join these, in a
 * file of their own, once the chart widgets are complete. */
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

} // namespace kivbench

#endif /* KIV_BENCH_FIGURES_H */
