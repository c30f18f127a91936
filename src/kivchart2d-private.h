/* kivchart2d-private.h: the index sort of the two-dimensional chart's
 * frame step, kept apart so that it can be exercised on its own; not
 * installed. */
#ifndef KIV_CHART2D_PRIVATE_H
#define KIV_CHART2D_PRIVATE_H

#include <glib.h>

#include <utility>
#include <vector>

namespace kiv {

/* A nonzero cell as the frame step read it: its content, its entry in
 * dindex and its cell number. */
struct SortedCell {
  double value;
  int entry;
  int cell;
};

/* Puts cells[0 .. n-1] (no NaN among them) in increasing order of value
 * when no two values are equal, and returns true; the order is then the
 * only one there is, the one chart2d_index_sort() gives too.  With equal
 * values it returns false and leaves cells as they were, for that sort to
 * decide the order of the equals.  scratch is reused from call to call. */
bool chart2d_sort_distinct(std::vector<SortedCell> &cells, int n,
                           std::vector<SortedCell> &scratch);

/* Ranges of up to this many entries are put in order by straight
 * insertion rather than partitioned. */
constexpr int kChart2DInsertionRange = 7;

/* Puts indx[0 .. n-1], a list of entries, in order of their keys key(e)
 * (the keys never decrease along indx; equal keys keep their order within
 * ranges that are sorted by insertion).  A quicksort with median-of-three
 * pivots that partitions the larger part last: the pending larger parts
 * wait on stack, which holds nstack ints (two per range).  Since every
 * pending part is at least as large as all that comes after it, 64 ranges
 * are enough for any count that fits in an int.  When the stack is full
 * all the same, the message is printed and the sort gives up with indx
 * partly sorted; the result is then false.  No key may be NaN: the
 * partition relies on every key comparing with every other one.
 *
 * The entries are moved whole, so an entry may carry its key along (a
 * record rather than an index): the sort then reads keys in order instead
 * of all over memory, and since it compares and moves exactly as it would
 * with bare indices, the order it leaves is the same. */
template <typename Entry, typename Key>
bool chart2d_index_sort(int n, Entry *indx, Key key, int *stack, int nstack) {
  int l = 0, ir = n - 1, jstack = 0;
  for (;;) {
    if (ir - l < kChart2DInsertionRange) {
      for (int j = l + 1; j <= ir; j++) {
        Entry t = indx[j];
        double a = key(t);
        int i = j - 1;
        while (i >= l && key(indx[i]) > a) {
          indx[i + 1] = indx[i];
          i--;
        }
        indx[i + 1] = t;
      }
      if (jstack == 0)
        return true;
      ir = stack[--jstack];
      l = stack[--jstack];
      continue;
    }

    int k = l + (ir - l) / 2;
    std::swap(indx[k], indx[l + 1]);
    if (key(indx[l]) > key(indx[ir]))
      std::swap(indx[l], indx[ir]);
    if (key(indx[l + 1]) > key(indx[ir]))
      std::swap(indx[l + 1], indx[ir]);
    if (key(indx[l]) > key(indx[l + 1]))
      std::swap(indx[l], indx[l + 1]);
    int i = l + 1, j = ir;
    Entry t = indx[l + 1];
    double a = key(t);
    for (;;) {
      do
        i++;
      while (key(indx[i]) < a);
      do
        j--;
      while (key(indx[j]) > a);
      if (j < i)
        break;
      std::swap(indx[i], indx[j]);
    }
    indx[l + 1] = indx[j];
    indx[j] = t;

    if (jstack + 2 > nstack) {
      g_printerr("gtkkiv2d:sort NSTACK too small");
      return false;
    }
    if (ir - i + 1 >= j - l) {
      stack[jstack++] = i;
      stack[jstack++] = ir;
      ir = j - 1;
    } else {
      stack[jstack++] = l;
      stack[jstack++] = j - 1;
      l = i;
    }
  }
}

} // namespace kiv

#endif /* KIV_CHART2D_PRIVATE_H */
