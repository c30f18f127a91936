/* kivchart1d-reduce.cc: curves of many more points than the chart has
 * pixel columns.
 *
 * A spectrum of 10^6 channels drawn point by point meant copying 3 million
 * points under the histogram's lock and stroking all of them: 1.2 to 1.6 s
 * a redraw, with producers stalled for tens of milliseconds, where a
 * 100-bin chart takes about a millisecond (figure 4 of ./scripts/run-bench).
 * Here such a curve is cut down, in one pass over the contents, to eight
 * buckets of adjacent points per pixel column of the canvas: each keeps its
 * first and last point, its lowest and its highest level.  Nothing of the
 * picture depends on more: the stroke of a dense outline with round joins
 * is, column by column, one vertical run from the lowest reach of the line
 * to the highest, so the painter works out each pixel's coverage of that
 * run itself and paints it through a mask instead of asking cairo to
 * stroke thousands of tall segments.  The picture stays visually the same
 * as the stroke of every point (tests/test-chart1d-reduce.cc measures it),
 * and the redraw costs the same whatever the bin count.
 *
 * Vector pictures have no pixels to cover: they stroke the buckets' points
 * as a polyline, eight buckets a pixel being finer than the four a pixel
 * that a printed chart needs. */
#include "kivchart1d-private.h"
#include "function-private.h"
#include "histogram.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

namespace {

/* A curve is reduced when it has more points than this many per pixel
 * column of the canvas, and then into this many buckets per column. */
constexpr int kPointsPerColumn = 4;
constexpr int kBucketsPerColumn = 16;
/* Horizontal samples per pixel at which the painter measures coverage. */
constexpr int kSamplesPerPixel = 32;

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

/* The running summary of one bucket: its first and last point and where
 * it reaches its lowest and its highest level.  NaN levels are passed
 * over, as the y range of the every-point frame step passes them over. */
struct Bucket {
  KivPoint first = {0.0, 0.0}, last = {0.0, 0.0};
  KivPoint lo = {0.0, kInf}, hi = {0.0, -kInf};

  void start(KivPoint p) {
    first = last = p;
    lo = {p.x, kInf};
    hi = {p.x, -kInf};
    add(p);
  }
  void add(KivPoint p) {
    if (p.y < lo.y)
      lo = p;
    if (p.y > hi.y)
      hi = p;
  }
  /* Four points in the order they come: the first, the lowest and the
   * highest, the last. */
  KivPoint *write(KivPoint *out) const {
    KivPoint a = lo, b = hi;
    if (!(lo.y <= hi.y))
      a.y = b.y = kNaN;
    if (b.x < a.x)
      std::swap(a, b);
    out[0] = first;
    out[1] = a;
    out[2] = b;
    out[3] = last;
    return out + 4;
  }
};

/* The first class of the function's ancestry whose array slot it uses is
 * the one whose contents rule its points: a subclass with a point array
 * of its own is not read from the contents behind its back. */
bool uses_array_of(KivFunction *f, GType type) {
  gpointer klass = g_type_class_peek(type);
  return klass != NULL && KIV_FUNCTION_GET_CLASS(f)->array == KIV_FUNCTION_CLASS(klass)->array;
}

/* A histogram's step outline over the bins that [xa, xb] touches, as the
 * histogram's array slot would give it, in buckets of adjacent bins. */
bool reduce_histogram(KivFunction *f, double xa, double xb, int columns, KivTuple *t) {
  kiv::FunctionLock lock(f);
  const double *y = KIV_HISTOGRAM(f)->y;
  int nbin = f->nbin;
  if (y == NULL || nbin <= 0)
    return false;
  int i1 = std::clamp(kiv::bin_of(xa, f->xmin, f->step, nbin), 0, nbin - 1);
  int i2 = std::clamp(kiv::bin_of(xb, f->xmin, f->step, nbin), 0, nbin - 1);
  int64_t m = i2 - i1 + 1;
  if (m <= static_cast<int64_t>(kPointsPerColumn) * columns)
    return false;
  int64_t k = std::min<int64_t>(m, static_cast<int64_t>(kBucketsPerColumn) * columns);
  t->P = g_new(KivPoint, 4 * k);
  t->n = static_cast<int>(4 * k);
  KivPoint *out = t->P;
  Bucket b;
  for (int64_t j = 0; j < k; j++) {
    int s = i1 + static_cast<int>(j * m / k);
    int e = i1 + static_cast<int>((j + 1) * m / k);
    /* The extremes are found first and placed after, so that the search
     * runs over plain minima and maxima. */
    double lo = kInf, hi = -kInf;
    for (int i = s; i < e; i++) {
      lo = std::min(lo, y[i]);
      hi = std::max(hi, y[i]);
    }
    auto centre = [&](double v) {
      int i = s;
      while (i < e - 1 && y[i] != v)
        i++;
      return f->xmin + (i + 0.5) * f->step;
    };
    /* The ends as the every-point outline computes them. */
    b.first = {f->xmin + s * f->step, y[s]};
    b.last = {f->xmin + (e - 1) * f->step + f->step, y[e - 1]};
    b.lo = {centre(lo), lo};
    b.hi = {centre(hi), hi};
    out = b.write(out);
  }
  return true;
}

/* Buckets of a polyline whose n points, given by point(i), lie in
 * increasing x inside [xmin, xmax], levelled at its two ends like every
 * unfilled outline.  A bucket is a slice of the x range, so that a
 * polyline of uneven density still gets eight buckets a pixel. */
template <typename Point>
int reduce_polyline(Point point, int n, double xmin, double xmax, int columns, KivPoint *out) {
  int k = kBucketsPerColumn * columns;
  double scale = k / (xmax - xmin);
  KivPoint *start = out;
  Bucket b;
  int current = -1;
  for (int i = 0; i < n; i++) {
    KivPoint p = point(i);
    if (n >= 2 && i == 0)
      p.y = point(1).y;
    else if (n >= 2 && i == n - 1)
      p.y = point(n - 2).y;
    int slice = std::min(k - 1, static_cast<int>((p.x - xmin) * scale));
    if (slice != current) {
      if (current >= 0)
        out = b.write(out);
      current = slice;
      b.start(p);
    } else {
      b.last = p;
      b.add(p);
    }
  }
  if (current >= 0)
    out = b.write(out);
  return static_cast<int>(out - start);
}

/* Graphs, plain functions and tracers go through their point array (a
 * tracer keeps as many values as its chart is wide, and so is never
 * reduced).  Only a
 * polyline in increasing x, inside the chart's x range and with no gap
 * wider than half a pixel is reduced: where points are sparse the line
 * between them is what shows, and that is cairo's to stroke. */
bool reduce_point_array(KivFunction *f, double xmin, double xmax, int columns, KivTuple *t) {
  KivTuple all = {0, NULL};
  kiv_function_get_array(f, &all, xmin, xmax);
  int n = all.n;
  bool dense = n > kPointsPerColumn * columns && xmax > xmin;
  double gap = (xmax - xmin) / (2.0 * columns);
  for (int i = 0; dense && i < n; i++) {
    double x = all.P[i].x;
    dense = x >= xmin && x <= xmax && (i == 0 || (x >= all.P[i - 1].x && x - all.P[i - 1].x <= gap));
  }
  if (dense) {
    t->P = g_new(KivPoint, 4 * std::min(n, kBucketsPerColumn * columns));
    t->n = reduce_polyline([&](int i) { return all.P[i]; }, n, xmin, xmax, columns, t->P);
  }
  kiv_function_clear_tuple(&all);
  return dense;
}

/* The vertical run that the stroke covers at some x: from the highest
 * reach of the round line around the points within half a line width to
 * the lowest, in device pixels (y grows downwards). */
struct Run {
  double top = kInf, bottom = -kInf;
};

/* Coverage of one pixel column by the runs of its samples, accumulated
 * exactly in y: partial rows at the two ends of a run, whole rows through
 * a difference array. */
class ColumnCoverage {
public:
  explicit ColumnCoverage(int height) : part_(height + 1, 0.0f), whole_(height + 2, 0.0f) {}

  void add(double top, double bottom, float weight) {
    int h = static_cast<int>(part_.size()) - 1;
    top = std::max(top, 0.0);
    bottom = std::min(bottom, static_cast<double>(h));
    if (!(bottom > top))
      return;
    int ia = static_cast<int>(top), ib = static_cast<int>(bottom);
    if (ia == ib) {
      part_[ia] += static_cast<float>(bottom - top) * weight;
    } else {
      part_[ia] += static_cast<float>(ia + 1 - top) * weight;
      part_[ib] += static_cast<float>(bottom - ib) * weight;
      whole_[ia + 1] += weight;
      whole_[ib] -= weight;
    }
    first_ = std::min(first_, ia);
    last_ = std::max(last_, ib);
  }

  /* Writes the column into the mask and clears it for the next one. */
  void flush(unsigned char *mask, int stride, int height) {
    float run = 0.0f;
    for (int r = first_; r <= last_; r++) {
      run += whole_[r];
      if (r < height) {
        float v = std::min(1.0f, part_[r] + run);
        mask[r * stride] = static_cast<unsigned char>(v * 255.0f + 0.5f);
      }
      part_[r] = 0.0f;
      whole_[r] = 0.0f;
    }
    if (last_ >= 0)
      whole_[last_ + 1] = 0.0f;
    first_ = std::numeric_limits<int>::max();
    last_ = -1;
  }

private:
  std::vector<float> part_, whole_;
  int first_ = std::numeric_limits<int>::max();
  int last_ = -1;
};

/* Paints the coverage of the round line around the points p[0 .. n-1]
 * (in increasing x, finite) in the current source, through an A8 mask as
 * wide as the curve and as high as the canvas.  The points of a dense
 * curve lie closer than a line width, so the line around them is the line
 * along the curve. */
void paint_coverage(cairo_t *cr, const std::vector<KivPoint> &p, int height, double radius) {
  int c0 = static_cast<int>(std::floor(p.front().x - radius));
  int c1 = static_cast<int>(std::ceil(p.back().x + radius));
  if (c1 <= c0 || height <= 0)
    return;
  kiv::SurfacePtr mask(cairo_image_surface_create(CAIRO_FORMAT_A8, c1 - c0, height));
  if (cairo_surface_status(mask.get()) != CAIRO_STATUS_SUCCESS)
    return;
  cairo_surface_flush(mask.get());
  unsigned char *data = cairo_image_surface_get_data(mask.get());
  int stride = cairo_image_surface_get_stride(mask.get());
  ColumnCoverage column(height);
  const float weight = 1.0f / kSamplesPerPixel;
  /* The round line's reach at a distance, in steps of 1/1024 pixel: a
   * table rather than a square root for every point of every sample. */
  constexpr double kSteps = 1024.0;
  std::vector<double> reach(static_cast<size_t>(radius * kSteps) + 1);
  for (size_t k = 0; k < reach.size(); k++)
    reach[k] = std::sqrt(std::max(0.0, radius * radius - (k / kSteps) * (k / kSteps)));
  size_t from = 0;
  for (int c = c0; c < c1; c++) {
    for (int s = 0; s < kSamplesPerPixel; s++) {
      double x = c + (s + 0.5) / kSamplesPerPixel;
      while (from < p.size() && p[from].x <= x - radius)
        from++;
      Run run;
      for (size_t i = from; i < p.size() && p[i].x < x + radius; i++) {
        double r = reach[static_cast<size_t>(std::fabs(p[i].x - x) * kSteps)];
        run.top = std::min(run.top, p[i].y - r);
        run.bottom = std::max(run.bottom, p[i].y + r);
      }
      column.add(run.top, run.bottom, weight);
    }
    column.flush(data + (c - c0), stride, height);
  }
  cairo_surface_mark_dirty(mask.get());
  cairo_mask_surface(cr, mask.get(), c0, 0);
}

} // namespace

gboolean chart1d_reduce_curve(KivFunction *f, KivTuple *t, double xmin, double xmax, int columns) {
  t->n = 0;
  t->P = NULL;
  if (columns <= 0 || !(xmax > xmin))
    return FALSE;
  if (KIV_IS_HISTOGRAM(f) && uses_array_of(f, KIV_TYPE_HISTOGRAM))
    return reduce_histogram(f, xmin, xmax, columns, t);
  return reduce_point_array(f, xmin, xmax, columns, t);
}

void chart1d_paint_reduced(cairo_t *cr, KivCanvas *c, KivTuple *t) {
  if (t->n < 4)
    return;
  std::unique_ptr<KivPoint, kiv::GFree> px(canvas_transform_tuple(c, t));
  const KivPoint *p = px.get();
  cairo_surface_t *target = cairo_get_target(cr);
  cairo_matrix_t m;
  cairo_get_matrix(cr, &m);
  bool pixels = cairo_surface_get_type(target) == CAIRO_SURFACE_TYPE_IMAGE && m.xx == 1.0 &&
                m.yy == 1.0 && m.xy == 0.0 && m.yx == 0.0 && m.x0 == 0.0 && m.y0 == 0.0;
  if (!pixels) {
    cairo_new_path(cr);
    chart1d_outline_path(cr, p, t->n);
    cairo_stroke(cr);
    return;
  }
  std::vector<KivPoint> points;
  points.reserve(t->n);
  /* A bucket of one bin repeats its level four times; one point of each
   * place is enough. */
  for (int i = 0; i < t->n; i++)
    if (std::isfinite(p[i].x) && std::isfinite(p[i].y) &&
        (points.empty() || points.back().x != p[i].x || points.back().y != p[i].y))
      points.push_back(p[i]);
  if (!points.empty())
    paint_coverage(cr, points, cairo_image_surface_get_height(target),
                   0.5 * cairo_get_line_width(cr));
}

int chart1d_outline_path(cairo_t *cr, const KivPoint *px, int n) {
  int added = 0;
  for (int k = 0; k < n; k++) {
    /* A NaN in the data, or an x beyond any pixel, has no place on the
     * canvas: the outline goes on from the previous point to the next. */
    if (!std::isfinite(px[k].x) || !std::isfinite(px[k].y))
      continue;
    cairo_line_to(cr, px[k].x, px[k].y);
    added++;
  }
  return added;
}
