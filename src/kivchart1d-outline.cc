/* kivchart1d-outline.cc: the path of a curve's outline as its stroke
 * needs it.
 *
 * A histogram of many more bins than the chart has pixel columns draws an
 * outline of millions of points whose strokes lie on top of each other,
 * and cairo's rasteriser spends its time on edges that nobody sees: a
 * spiky histogram of 10^5 bins took a minute per redraw.  Here such an
 * outline is cut down to the pieces that shape the picture, which must
 * stay the picture of every point, pixel for pixel.  Plain minimum and
 * maximum per pixel column do not give that under antialiasing (edge
 * pixels changed by up to 225 levels), so what is left out is only what
 * provably lies inside the stroke of what is kept:
 *
 * - Everything is done in cairo's own fixed point (1/256 pixel), so that a
 *   point here is the point cairo rasterises.
 * - A step outline (moves right, up and down, never left) is cut into
 *   groups of sub-columns narrower than the line.  Within a group the
 *   strokes of two vertical pieces at one height, one left and one right
 *   of a point, cover the point's whole stroke; the leftmost and the
 *   rightmost piece at each height are therefore never covered and always
 *   kept, and a piece whose stroke is covered on both sides (with half a
 *   line to spare) can go.
 * - cairo's round join at a turn from right to up (device y grows down)
 *   takes a sliver below-left of the corner out of the stroke, which other
 *   strokes over it put back.  Where such a corner is kept, enough
 *   sub-columns stay over its sliver, or everything around it is kept as
 *   it is; a corner that goes must have had its sliver covered.
 * - Two passes, the second with groups shifted by half a group: the first
 *   joins a run of covered pieces by a connector inside the stroke (which
 *   never turns from right to up), the second leaves such runs out and
 *   starts a new sub-path after them.
 *
 * Curves drawn into vector surfaces, filled curves, other joins and lines,
 * and outlines that are not step outlines are drawn point by point. */
#include "kivchart1d-private.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

namespace {

struct Pt {
  int64_t x, y;
};

bool same(Pt a, Pt b) {
  return a.x == b.x && a.y == b.y;
}

/* Directions of a move in device space, y growing downwards. */
enum Dir { NONE, EAST, NORTH, SOUTH };

Dir dir_of(Pt a, Pt b) {
  return b.x > a.x ? EAST : b.y < a.y ? NORTH : SOUTH;
}

/* Sub-paths as one array of points and the index where each starts. */
struct Subpaths {
  std::vector<Pt> pts;
  std::vector<size_t> starts;
  void begin() {
    if (!starts.empty() && pts.size() - starts.back() < 2)
      pts.resize(starts.back());
    else
      starts.push_back(pts.size());
  }
  void add(Pt q) {
    if (starts.empty())
      starts.push_back(0);
    if (pts.size() == starts.back() || !same(pts.back(), q))
      pts.push_back(q);
  }
  void finish() {
    if (!starts.empty() && pts.size() - starts.back() < 2) {
      pts.resize(starts.back());
      starts.pop_back();
    }
  }
};

/* cairo drops a point equal to the previous one and merges moves in the
 * same direction; so does this. */
void simplify(std::vector<Pt> &p) {
  size_t w = 0;
  for (size_t i = 0; i < p.size(); i++) {
    if (w > 0 && same(p[w - 1], p[i]))
      continue;
    if (w > 1 && dir_of(p[w - 2], p[w - 1]) == dir_of(p[w - 1], p[i])) {
      p[w - 1] = p[i];
      continue;
    }
    p[w++] = p[i];
  }
  p.resize(w);
}

/* Sizes in fixed point for a line width: bounds of half the width, the
 * width of the groups (less than the line), and how far the sliver of a
 * turn from right to up reaches across and up from its lowest point, at
 * y + r: the pen vertex that cairo's fan adds behind the corner lies at
 * most one pen step (2 pi / vertices, the vertices counted as cairo 1.16
 * does for its default tolerance) past straight down. */
struct OutlineGeometry {
  int64_t r_lo, r_hi, group, sliver_x, sliver_y;
  explicit OutlineGeometry(double width) {
    double r = width / 2.0;
    r_hi = static_cast<int64_t>(std::ceil(r * 256.0)) + 1;
    r_lo = static_cast<int64_t>(std::floor(r * 256.0)) - 1;
    group = 2 * r_lo - 2;
    int n = 4;
    if (r > 0.1) {
      n = static_cast<int>(std::ceil(2.0 * G_PI / std::acos(1.0 - 0.1 / r)));
      n = std::max(4, n + n % 2);
    }
    double step = 2.0 * G_PI / n;
    sliver_x = static_cast<int64_t>(std::ceil(r_hi * std::sin(step)));
    sliver_y = static_cast<int64_t>(std::ceil(r_hi * (1.0 - std::cos(step))));
  }
};

/* One pass over a continuous step outline, with the groups starting at
 * offset. */
class OutlinePass {
public:
  OutlinePass(const OutlineGeometry &geo, int64_t offset)
      : r_(geo.r_hi), rl_(geo.r_lo), m_(geo.r_hi + kMargin), g_(geo.group), sx_(geo.sliver_x),
        sy_(geo.sliver_y), off_(offset) {}

  /* Adds the reduced outline of p to out: with breaks, runs of covered
   * pieces are left out; otherwise they are joined by connectors so that
   * out gets one sub-path. */
  void run(const std::vector<Pt> &p, bool breaks, Subpaths &out);

private:
  /* Fixed-point units of slack against rounding in cairo's offsets. */
  static constexpr int64_t kMargin = 4;

  /* A sub-column: the points at one x; lo and hi span its vertical pieces,
   * plo/phi (slo/shi) those of its group up to (from) it. */
  struct Col {
    int64_t x, lo, hi, plo, phi, slo, shi;
    int64_t group;
  };
  struct Box {
    int64_t xlo, xhi, ylo, yhi;
  };
  struct Keep {
    int64_t x, ylo, yhi;
  };
  struct Piece {
    Pt a, b;
    int col;
    bool covered;
  };

  int64_t r_, rl_, m_, g_, sx_, sy_, off_;
  std::vector<Col> cols_;
  std::vector<int> colof_;     /* the sub-column of each point */
  std::vector<size_t> first_;  /* the first piece of each segment */
  std::vector<Box> zones_;     /* left exactly as they are; sorted by xlo */
  int64_t zone_w_ = 0;
  std::vector<Keep> keeps_;    /* kept over slivers; sorted by x */
  std::vector<Piece> pieces_;
  std::vector<std::pair<int64_t, int64_t>> cut_, parts_;
  std::vector<int64_t> ys_;
  Subpaths *out_ = nullptr;

  int64_t group_of(int64_t x) const {
    int64_t v = x - off_;
    return v >= 0 ? v / g_ : -((-v + g_ - 1) / g_);
  }
  /* The span of the vertical pieces of column k's group strictly left
   * (right) of x. */
  bool left(int64_t x, int k, int64_t *lo, int64_t *hi) const;
  bool right(int64_t x, int k, int64_t *lo, int64_t *hi) const;
  bool spans(int64_t lo, int64_t hi, int64_t a, int64_t b) const {
    return lo <= a - m_ && hi >= b + m_;
  }
  bool covered_point(Pt v, int k) const {
    int64_t a, b, c, d;
    return left(v.x, k, &a, &b) && right(v.x, k, &c, &d) && spans(a, b, v.y, v.y) &&
           spans(c, d, v.y, v.y);
  }
  bool in_zone(int64_t xlo, int64_t xhi, int64_t ylo, int64_t yhi) const;
  void classify(const std::vector<Pt> &p);
  /* Sub-columns kept over the sliver of a corner, none when too few span
   * its box (see examine()). */
  struct Cover {
    size_t first, count;
  };
  Cover examine(const std::vector<Pt> &p, const std::vector<size_t> &corners, size_t ci,
                std::vector<Keep> &found) const;
  Box sliver_box(Pt v) const {
    return Box{v.x - sx_ - kMargin, v.x + sx_ + kMargin, v.y + r_ - sy_ - kMargin,
               v.y + r_ + kMargin};
  }
  Dir last_dir() const;
  void connect(const std::vector<Pt> &run, size_t i, size_t j, int k, Dir dout);
};

bool OutlinePass::left(int64_t x, int k, int64_t *lo, int64_t *hi) const {
  int64_t g = cols_[k].group;
  while (k + 1 < static_cast<int>(cols_.size()) && cols_[k + 1].x < x)
    k++;
  while (k >= 0 && cols_[k].x >= x)
    k--;
  if (k < 0 || cols_[k].group != g)
    return false;
  *lo = cols_[k].plo;
  *hi = cols_[k].phi;
  return true;
}

bool OutlinePass::right(int64_t x, int k, int64_t *lo, int64_t *hi) const {
  int64_t g = cols_[k].group;
  while (k > 0 && cols_[k - 1].x > x)
    k--;
  while (k < static_cast<int>(cols_.size()) && cols_[k].x <= x)
    k++;
  if (k >= static_cast<int>(cols_.size()) || cols_[k].group != g)
    return false;
  *lo = cols_[k].slo;
  *hi = cols_[k].shi;
  return true;
}

bool OutlinePass::in_zone(int64_t xlo, int64_t xhi, int64_t ylo, int64_t yhi) const {
  auto it = std::lower_bound(zones_.begin(), zones_.end(), xlo - zone_w_,
                             [](const Box &z, int64_t v) { return z.xlo < v; });
  for (; it != zones_.end() && it->xlo <= xhi; ++it)
    if (it->xhi >= xlo && it->yhi >= ylo && it->ylo <= yhi)
      return true;
  return false;
}

/* Cuts every segment into pieces whose stroke others cover and the rest;
 * zones and keeps are never covered. */
void OutlinePass::classify(const std::vector<Pt> &p) {
  std::sort(zones_.begin(), zones_.end(), [](const Box &a, const Box &b) { return a.xlo < b.xlo; });
  zone_w_ = 0;
  for (const Box &z : zones_)
    zone_w_ = std::max(zone_w_, z.xhi - z.xlo);
  std::sort(keeps_.begin(), keeps_.end(), [](const Keep &a, const Keep &b) { return a.x < b.x; });
  pieces_.clear();
  pieces_.reserve(p.size() + p.size() / 2);
  first_.resize(p.size());
  for (size_t i = 0; i + 1 < p.size(); i++) {
    Pt a = p[i], b = p[i + 1];
    int k = colof_[i];
    first_[i] = pieces_.size();
    if (a.x != b.x) {
      int k2 = colof_[i + 1];
      bool c = cols_[k].group == cols_[k2].group && covered_point(a, k) && covered_point(b, k2) &&
               !in_zone(a.x, b.x, a.y, a.y);
      pieces_.push_back({a, b, k, c});
      continue;
    }
    int64_t l1, h1, l2, h2, lo = 1, hi = 0;
    if (left(a.x, k, &l1, &h1) && right(a.x, k, &l2, &h2)) {
      lo = std::max(l1, l2) + m_;
      hi = std::min(h1, h2) - m_;
    }
    lo = std::max(lo, std::min(a.y, b.y));
    hi = std::min(hi, std::max(a.y, b.y));
    parts_.clear();
    if (lo < hi) {
      cut_.clear();
      auto zt = std::lower_bound(zones_.begin(), zones_.end(), a.x - zone_w_,
                                 [](const Box &z, int64_t v) { return z.xlo < v; });
      for (; zt != zones_.end() && zt->xlo <= a.x; ++zt)
        if (zt->xhi >= a.x && zt->yhi >= lo && zt->ylo <= hi)
          cut_.push_back({zt->ylo - 1, zt->yhi + 1});
      auto kt = std::lower_bound(keeps_.begin(), keeps_.end(), a.x,
                                 [](const Keep &z, int64_t v) { return z.x < v; });
      for (; kt != keeps_.end() && kt->x == a.x; ++kt)
        if (kt->yhi >= lo && kt->ylo <= hi)
          cut_.push_back({kt->ylo - 1, kt->yhi + 1});
      std::sort(cut_.begin(), cut_.end());
      int64_t y = lo;
      for (const auto &f : cut_) {
        if (f.first > y)
          parts_.push_back({y, std::min(f.first, hi)});
        y = std::max(y, f.second);
        if (y >= hi)
          break;
      }
      if (y < hi)
        parts_.push_back({y, hi});
    }
    ys_.assign({a.y, b.y});
    for (const auto &iv : parts_) {
      ys_.push_back(iv.first);
      ys_.push_back(iv.second);
    }
    if (a.y < b.y)
      std::sort(ys_.begin(), ys_.end());
    else
      std::sort(ys_.begin(), ys_.end(), std::greater<int64_t>());
    ys_.erase(std::unique(ys_.begin(), ys_.end()), ys_.end());
    for (size_t t = 0; t + 1 < ys_.size(); t++) {
      int64_t y0 = std::min(ys_[t], ys_[t + 1]), y1 = std::max(ys_[t], ys_[t + 1]);
      bool c = false;
      for (const auto &iv : parts_)
        c = c || (y0 >= iv.first && y1 <= iv.second);
      pieces_.push_back({{a.x, ys_[t]}, {a.x, ys_[t + 1]}, k, c});
    }
  }
}

/* The sliver of the corner corners[ci] lies in a box below it, as do the
 * slivers of the corners whose boxes meet it.  If more sub-columns span
 * the whole box than corners take slivers out of it, keeping those gives
 * a stroke over every point of it before and after: they are added to
 * found.  Otherwise (count 0) everything near it must be kept as it is. */
OutlinePass::Cover OutlinePass::examine(const std::vector<Pt> &p,
                                        const std::vector<size_t> &corners, size_t ci,
                                        std::vector<Keep> &found) const {
  Box b = sliver_box(p[corners[ci]]);
  size_t lo = ci, hi = ci;
  while (lo > 0 && p[corners[lo - 1]].x >= b.xlo - sx_ - kMargin)
    lo--;
  while (hi + 1 < corners.size() && p[corners[hi + 1]].x <= b.xhi + sx_ + kMargin)
    hi++;
  size_t slivers = 0;
  for (size_t cj = lo; cj <= hi; cj++) {
    Box o = sliver_box(p[corners[cj]]);
    if (o.xhi >= b.xlo && o.xlo <= b.xhi && o.yhi >= b.ylo && o.ylo <= b.yhi)
      slivers++;
  }
  Cover c{found.size(), 0};
  auto it = std::lower_bound(cols_.begin(), cols_.end(), b.xhi - rl_,
                             [](const Col &col, int64_t x) { return col.x < x; });
  for (; it != cols_.end() && it->x <= b.xlo + rl_ && c.count <= slivers; ++it)
    if (it->lo <= b.ylo && it->hi >= b.yhi) {
      found.push_back({it->x, b.ylo, b.yhi});
      c.count++;
    }
  if (c.count <= slivers) {
    found.resize(c.first);
    c.count = 0;
  }
  return c;
}

Dir OutlinePass::last_dir() const {
  const std::vector<Pt> &pts = out_->pts;
  if (pts.size() < 2 || pts.size() - out_->starts.back() < 2)
    return NONE;
  return dir_of(pts[pts.size() - 2], pts.back());
}

/* Joins the covered points run[i] and run[j] of column k's group inside
 * the stroke: up or down at run[i].x to a height just above run[j] (the
 * height of run[j] when the outline does not go on upwards from there),
 * right, and down.  Turns from right to up are avoided, by a step down
 * first where one would start; where the stroke does not cover such a
 * connector, the run is split and its halves joined. */
void OutlinePass::connect(const std::vector<Pt> &run, size_t i, size_t j, int k, Dir dout) {
  Pt P = run[i], Q = run[j];
  Dir din = last_dir();
  int64_t h = (P.x != Q.x && dout == NORTH) ? Q.y - 1 : Q.y;
  bool ok = i + 1 == j;
  if (!ok) {
    int64_t a, b, c, d, e, f;
    int64_t ylo = std::min({P.y, h, Q.y}), yhi = std::max({P.y + 1, h, Q.y});
    ok = left(P.x, k, &a, &b) && right(P.x, k, &c, &d) && spans(a, b, ylo, yhi) &&
         spans(c, d, ylo, yhi) && right(Q.x, k, &e, &f) && spans(e, f, h, h) &&
         !in_zone(P.x, P.x, ylo, yhi) && !in_zone(P.x, Q.x, h, h) &&
         !in_zone(Q.x, Q.x, std::min(h, Q.y), std::max(h, Q.y));
  }
  if (!ok) {
    size_t mid = (i + j) / 2;
    connect(run, i, mid, k, dir_of(run[mid], run[mid + 1]));
    connect(run, mid, j, k, dout);
    return;
  }
  if (i + 1 == j) {
    if (din == EAST && dir_of(P, Q) == NORTH)
      out_->add({P.x, P.y + 1});
    out_->add(Q);
    return;
  }
  int64_t ty = P.x == Q.x ? Q.y : h;
  if (ty < P.y && din == EAST)
    out_->add({P.x, P.y + 1});
  out_->add({P.x, ty});
  out_->add({Q.x, h});
  out_->add(Q);
}

void OutlinePass::run(const std::vector<Pt> &p, bool breaks, Subpaths &out) {
  out_ = &out;
  cols_.clear();
  colof_.assign(p.size(), 0);
  for (size_t i = 0; i < p.size(); i++) {
    if (cols_.empty() || cols_.back().x != p[i].x) {
      cols_.push_back({p[i].x, p[i].y, p[i].y, 0, 0, 0, 0, group_of(p[i].x)});
    } else {
      cols_.back().lo = std::min(cols_.back().lo, p[i].y);
      cols_.back().hi = std::max(cols_.back().hi, p[i].y);
    }
    colof_[i] = static_cast<int>(cols_.size()) - 1;
  }
  for (size_t k = 0; k < cols_.size(); k++) {
    Col &c = cols_[k];
    c.plo = c.lo;
    c.phi = c.hi;
    if (k > 0 && cols_[k - 1].group == c.group) {
      c.plo = std::min(c.plo, cols_[k - 1].plo);
      c.phi = std::max(c.phi, cols_[k - 1].phi);
    }
  }
  for (size_t k = cols_.size(); k-- > 0;) {
    Col &c = cols_[k];
    c.slo = c.lo;
    c.shi = c.hi;
    if (k + 1 < cols_.size() && cols_[k + 1].group == c.group) {
      c.slo = std::min(c.slo, cols_[k + 1].slo);
      c.shi = std::max(c.shi, cols_[k + 1].shi);
    }
  }

  /* Protect the corners from right to up, those kept and those whose
   * sliver would go with them, until keeping some keeps no others. */
  std::vector<size_t> corners;
  for (size_t i = 1; i + 1 < p.size(); i++)
    if (p[i].x > p[i - 1].x && p[i + 1].x == p[i].x && p[i + 1].y < p[i].y)
      corners.push_back(i);
  std::vector<Keep> found;
  std::vector<Cover> cover(corners.size());
  for (size_t ci = 0; ci < corners.size(); ci++)
    cover[ci] = examine(p, corners, ci, found);
  std::vector<char> done(corners.size(), 0);
  zones_.clear();
  keeps_.clear();
  for (bool changed = true; changed;) {
    classify(p);
    changed = false;
    for (size_t ci = 0; ci < corners.size(); ci++) {
      size_t v = corners[ci];
      bool kept = !pieces_[first_[v - 1]].covered && !pieces_[first_[v]].covered;
      if (done[ci] || (!kept && cover[ci].count > 0))
        continue;
      if (cover[ci].count > 0) {
        keeps_.insert(keeps_.end(), found.begin() + cover[ci].first,
                      found.begin() + cover[ci].first + cover[ci].count);
      } else {
        Box b = sliver_box(p[v]);
        int64_t e = r_ + kMargin;
        zones_.push_back({b.xlo - e, b.xhi + e, b.ylo - e, b.yhi + e});
      }
      done[ci] = 1;
      changed = true;
    }
  }

  /* Runs of covered pieces, from the first point of the first to the last
   * of the last. */
  std::vector<Pt> run;
  int runk = 0;
  auto flush = [&](Dir dout) {
    if (run.size() > 1) {
      if (breaks)
        out.begin();
      else
        connect(run, 0, run.size() - 1, runk, dout);
    }
    run.clear();
  };
  out.begin();
  out.add(p[0]);
  for (const Piece &pc : pieces_) {
    if (pc.covered && !run.empty() && cols_[runk].group != cols_[pc.col].group)
      flush(NONE);
    if (pc.covered) {
      if (run.empty()) {
        run.push_back(pc.a);
        runk = pc.col;
      }
      run.push_back(pc.b);
    } else {
      if (!run.empty())
        flush(dir_of(pc.a, pc.b));
      out.add(pc.a);
      out.add(pc.b);
    }
  }
  flush(NONE);
  out.finish();
}

/* Whether cr rasterises a path as this file assumes: cairo 1.16, whose
 * stroker and rasteriser it was checked against, an image surface without
 * device offset or scale, the identity matrix, cairo's default tolerance
 * and antialiasing, round joins, and a line between 1 and 8 pixels wide,
 * whose round joins have pen edges shorter than a row of pixels. */
bool reducible_context(cairo_t *cr) {
  if (cairo_version() / 100 != CAIRO_VERSION_ENCODE(1, 16, 0) / 100)
    return false;
  cairo_surface_t *target = cairo_get_target(cr);
  if (cairo_surface_get_type(target) != CAIRO_SURFACE_TYPE_IMAGE)
    return false;
  double ox, oy, sx, sy;
  cairo_surface_get_device_offset(target, &ox, &oy);
  cairo_surface_get_device_scale(target, &sx, &sy);
  cairo_matrix_t m;
  cairo_get_matrix(cr, &m);
  double w = cairo_get_line_width(cr);
  return ox == 0.0 && oy == 0.0 && sx == 1.0 && sy == 1.0 && m.xx == 1.0 && m.yx == 0.0 &&
         m.xy == 0.0 && m.yy == 1.0 && m.x0 == 0.0 && m.y0 == 0.0 &&
         cairo_get_tolerance(cr) == 0.1 && cairo_get_antialias(cr) == CAIRO_ANTIALIAS_DEFAULT &&
         cairo_get_line_join(cr) == CAIRO_LINE_JOIN_ROUND && w >= 1.0 && w <= 8.0;
}

/* cairo's conversion to fixed point: to the nearest 1/256, ties to even;
 * far beyond any image, coordinates are not converted. */
bool to_fixed(double v, int64_t *f) {
  if (!(std::fabs(v) < 1 << 22))
    return false;
  *f = static_cast<int64_t>(std::nearbyint(v * 256.0));
  return true;
}

/* The reduced outline, or false when the points are no step outline
 * worth reducing. */
bool reduce_outline(cairo_t *cr, const KivPoint *px, int n, Subpaths *out) {
  std::vector<Pt> p;
  p.reserve(n);
  for (int i = 0; i < n; i++) {
    if (!std::isfinite(px[i].x) || !std::isfinite(px[i].y))
      continue;
    Pt q;
    if (!to_fixed(px[i].x, &q.x) || !to_fixed(px[i].y, &q.y))
      return false;
    p.push_back(q);
  }
  simplify(p);
  /* Worth trying only with many points per pixel column: with fewer than
   * about 20 bins a column, the pieces that shape the edges are most of
   * the outline (a bell of 10^4 bins over 720 columns kept them all). */
  if (p.size() < 64 || static_cast<int64_t>(p.size()) < 64 * ((p.back().x - p.front().x) / 256 + 1))
    return false;
  for (size_t i = 0; i + 1 < p.size(); i++)
    if (p[i + 1].x < p[i].x || (p[i + 1].x != p[i].x && p[i + 1].y != p[i].y))
      return false;

  /* Where the outline is not much denser than the pixel columns, the
   * connectors of the first pass can add more points than they save; the
   * second then works on the outline itself. */
  OutlineGeometry geo(cairo_get_line_width(cr));
  Subpaths joined;
  OutlinePass(geo, 0).run(p, false, joined);
  if (joined.starts.size() == 1 && joined.pts.size() < p.size())
    OutlinePass(geo, geo.group / 2).run(joined.pts, true, *out);
  else
    OutlinePass(geo, 0).run(p, true, *out);
  return out->pts.size() < p.size();
}

} // namespace

int chart1d_outline_path(cairo_t *cr, const KivPoint *px, int n, bool reduce) {
  Subpaths s;
  if (reduce && reducible_context(cr) && reduce_outline(cr, px, n, &s)) {
    for (size_t k = 0; k < s.starts.size(); k++) {
      size_t end = k + 1 < s.starts.size() ? s.starts[k + 1] : s.pts.size();
      cairo_move_to(cr, s.pts[s.starts[k]].x / 256.0, s.pts[s.starts[k]].y / 256.0);
      for (size_t i = s.starts[k] + 1; i < end; i++)
        cairo_line_to(cr, s.pts[i].x / 256.0, s.pts[i].y / 256.0);
    }
    return static_cast<int>(s.pts.size());
  }
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

void _kiv_chart1d_set_full_outline(KivChart1D *h, gboolean full) {
  g_return_if_fail(KIV_IS_CHART1D(h));
  chart1d_private(h)->full_outline = full;
}

int _kiv_chart1d_outline_points(KivChart1D *h) {
  g_return_val_if_fail(KIV_IS_CHART1D(h), 0);
  return chart1d_private(h)->outline_points;
}
