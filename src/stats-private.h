/* stats-private.h: the running sums' update, shared by kiv_stats_add()
 * and the fills that make it at high rates; not installed. */
#ifndef KIV_STATS_PRIVATE_H
#define KIV_STATS_PRIVATE_H

#include "stats.h"

namespace kiv {

/* The sums of a KivStats held apart from it, in registers for a batch of
 * fills: stores into the contents could otherwise alias the sums and make
 * every entry reload them. */
struct StatsSums {
  double nc;
  double s[5];
  double xmin[2];
  double xmax[2];

  explicit StatsSums(const KivStats *st) : nc(st->nc) {
    for (int i = 0; i < 5; i++)
      s[i] = st->s[i];
    for (int i = 0; i < 2; i++) {
      xmin[i] = st->xmin[i];
      xmax[i] = st->xmax[i];
    }
  }
  void store(KivStats *st) const {
    st->nc = nc;
    for (int i = 0; i < 5; i++)
      st->s[i] = s[i];
    for (int i = 0; i < 2; i++) {
      st->xmin[i] = xmin[i];
      st->xmax[i] = xmax[i];
    }
  }
};

/* One weighted entry, the operations of kiv_stats_add() in its order, so
 * that an inlined fill adds bit for bit what a call would.  Sums is a
 * KivStats or a StatsSums. */
template <typename Sums>
inline void stats_add(Sums *self, double x, double y, double w) {
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
