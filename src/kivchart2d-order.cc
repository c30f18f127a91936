/* kivchart2d-order.cc: the order of a two-dimensional chart's cells by
 * content without the index sort, where the contents allow it.
 *
 * The frame step orders every nonzero cell by content at each redraw, and
 * the index sort that decides the order of equal contents (and so which
 * neighbour's extra pixel shows) took about 120 of the 183 ms of a
 * 1000 x 1000 redraw (figure 5 of ./scripts/run-bench).  When no two
 * contents are equal there is only one order, and a radix sort finds it in
 * a few passes over memory; equal contents are found on the way, and then
 * the index sort decides as always. */
#include "kivchart2d-private.h"

#include <array>
#include <cstdint>
#include <cstring>

namespace {

constexpr int kDigitBits = 16;
constexpr int kDigits = 64 / kDigitBits;
constexpr size_t kBuckets = size_t{1} << kDigitBits;

/* The bits of a double as an unsigned number in the same order as the
 * values (NaN aside): negative values have all bits flipped, the others
 * only the sign. */
uint64_t ordered_bits(double v) {
  uint64_t u;
  std::memcpy(&u, &v, sizeof u);
  return (u >> 63) != 0 ? ~u : u | (uint64_t{1} << 63);
}

unsigned digit(uint64_t key, int d) {
  return static_cast<unsigned>(key >> (d * kDigitBits)) & (kBuckets - 1);
}

} // namespace

namespace kiv {

bool chart2d_sort_distinct(std::vector<SortedCell> &cells, int n,
                           std::vector<SortedCell> &scratch) {
  if (n < 2)
    return true;
  std::vector<std::array<int, kBuckets>> counts(kDigits);
  for (auto &c : counts)
    c.fill(0);
  for (int i = 0; i < n; i++) {
    uint64_t key = ordered_bits(cells[i].value);
    for (int d = 0; d < kDigits; d++)
      counts[d][digit(key, d)]++;
  }
  /* A least-significant-digit radix sort into scratch and back, leaving
   * out the digits that all keys share; cells keeps the input until the
   * order is known to be free of equal values. */
  std::vector<SortedCell> out(static_cast<size_t>(n));
  scratch.assign(cells.begin(), cells.begin() + n);
  for (int d = 0; d < kDigits; d++) {
    std::array<int, kBuckets> &c = counts[d];
    if (c[digit(ordered_bits(scratch[0].value), d)] == n)
      continue;
    int sum = 0;
    for (int &k : c) {
      int here = k;
      k = sum;
      sum += here;
    }
    for (int i = 0; i < n; i++)
      out[static_cast<size_t>(c[digit(ordered_bits(scratch[i].value), d)]++)] = scratch[i];
    scratch.swap(out);
  }
  for (int i = 1; i < n; i++)
    if (!(scratch[i - 1].value < scratch[i].value))
      return false;
  std::copy(scratch.begin(), scratch.end(), cells.begin());
  return true;
}

} // namespace kiv
