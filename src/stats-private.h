/* stats-private.h: the running sums' update, shared by kiv_stats_add()
 * and the fills that make it at high rates; not installed. */
#ifndef KIV_STATS_PRIVATE_H
#define KIV_STATS_PRIVATE_H

#include "stats.h"

namespace kiv {

/* One weighted entry, the operations of kiv_stats_add() in its order, so
 * that an inlined fill adds bit for bit what a call would. */
inline void stats_add(KivStats *self, double x, double y, double w) {
  self->nc += w;
  const double v[2] = {x, y};
  for (int i = 0; i < 2; i++) {
    self->s[i] += w * v[i];
    self->s[i + 2] += w * v[i] * v[i];
    if (v[i] > self->xmax[i])
      self->xmax[i] = v[i];
    if (v[i] < self->xmin[i])
      self->xmin[i] = v[i];
  }
  self->s[4] += w * x * y;
}

} // namespace kiv

#endif /* KIV_STATS_PRIVATE_H */
