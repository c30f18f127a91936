/* kivchart2d-private.h: the index sort of the two-dimensional chart's
 * frame step, kept apart so that it can be exercised on its own; not
 * installed. */
#ifndef KIV_CHART2D_PRIVATE_H
#define KIV_CHART2D_PRIVATE_H

#include "kivchart2d.h"
#include "kivchart1d-private.h"

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

/* The outline of every cell and colour box. */
constexpr double kMapLineWidth = 0.25;

inline void fill_and_stroke_box(cairo_t *cr, const GdkColor &col, double x, double y, double w,
                                double hgt) {
  kiv::set_source_color(cr, col);
  cairo_rectangle(cr, x, y, w, hgt);
  cairo_fill_preserve(cr);
  cairo_stroke(cr);
}

} // namespace kiv

/* The chart's private record. */
struct KivChart2DPrivate {
  /* The nonzero cells of the last frame step in the order of dkey, so that
   * the pixmap step walks through contents and cell numbers in order
   * rather than all over the histogram. */
  std::vector<kiv::SortedCell> sorted;
  /* The radix sort's second buffer. */
  std::vector<kiv::SortedCell> scratch;
  /* The contents the index was built from, bit for bit, and how many of
   * its entries were sorted (the NaN cells come after them): a redraw of
   * the same contents (pointer motion, a paused acquisition) keeps the
   * index.  A fill counter would not do, since a caller may write into an
   * array lent through "ptr" without any fill; comparing 8 MB costs about
   * a millisecond where ordering a million cells costs a hundred. */
  std::vector<double> indexed;
  int nsorted = 0;
  /* Whether the last frame step kept the index of the one before. */
  bool index_kept = false;
  /* The image before and after the cells of the last redraw were painted
   * into it, and what the painting depended on: a redraw of an unchanged
   * map into an unchanged picture copies the cells' pixels back instead of
   * painting a million cells again (pointer motion redraws the chart):
   * 2 ms instead of 65 for 1000 x 1000 cells (figure 5). */
  struct PaintedCells {
    std::vector<double> inputs;
    std::vector<guint32> before, after;
    int last = -1; /* colour of the last cell painted */
  } painted;
};
KivChart2DPrivate *chart2d_private(KivChart2D *h);

/* Paints the cells of the last frame step, in order of content, into cr
 * (kivchart2d-paint.cc). */
void chart2d_draw_cells(KivChart2D *h, cairo_t *cr);

#endif /* KIV_CHART2D_PRIVATE_H */
