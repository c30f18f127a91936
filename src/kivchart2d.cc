/* kivchart2d.cc: KivChart2D, the chart that draws a two-dimensional
 * histogram as a colour map: its colour schemes, the frame step that
 * indexes and sorts the nonzero cells, the pixmap step that paints the
 * colour scale, the selection mark and the cells, the selection of a value
 * range with the mouse and its entries in the popup menu.  Everything else
 * (canvas, pipeline, axes, pictures) is the one-dimensional chart's. */
#include "kivchart2d.h"
#include "kivchart-protected.h"
#include "kivchart1d-private.h"
#include "kivchart2d-private.h"
#include "function2d.h"
#include "histogram2d.h"
#include "function-private.h"
#include "kiv-private.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <new>
#include <vector>

using kiv::SortedCell;

struct KivChart2DPrivate {
  /* The nonzero cells of the last frame step in the order of dkey, so that
   * the pixmap step walks through contents and cell numbers in order
   * rather than all over the histogram. */
  std::vector<SortedCell> sorted;
  /* The radix sort's second buffer. */
  std::vector<SortedCell> scratch;
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

enum {
  PROP_0,
  PROP_CTYPE,
  PROP_SQUARED,
  PROP_VMAX,
  PROP_VMIN,
};

G_DEFINE_TYPE_WITH_PRIVATE(KivChart2D, kiv_chart2d, KIV_TYPE_CHART1D)

namespace {

constexpr const char *kZrangeKey = "zrange";
constexpr const char *kDragKey = "__zrange";

/* Pixels above and below the colour scale that still count as on it. */
constexpr int tolerance = 15;

/* The outline of every cell and colour box. */
constexpr double kMapLineWidth = 0.25;

constexpr int kColorsPerCycle = 25;

/* The sort's stack of pending ranges, two ints each, shared by all charts:
 * only the main thread draws. */
constexpr int kSortStackRanges = 64;
int sort_stack[2 * kSortStackRanges];

struct SchemeRamp {
  int cycles;
  int r, g, b; /* offsets of the three channels on the ramp */
};

/* Indexed by KivChartColorScheme. */
constexpr SchemeRamp kSchemes[KIV_COLOR_2D_LAST] = {
    {1, 3, 3, 3}, /* black and white */
    {1, 0, 0, 0}, /* white and black */
    {1, 3, 5, 5}, /* red */
    {1, 5, 3, 5}, /* green */
    {1, 5, 5, 3}, /* blue */
    {4, 4, 6, 2}, /* thermal */
};

/* One 16-bit intensity of a trapezoid of period 6 at v + o: rising over
 * the first unit, flat at full over two, falling over one, zero over two. */
guint16 color_factor(double v, int o) {
  double x = v + o;
  int k = kiv::trunc_to_int(x) % 6;
  double f;
  switch (k) {
  case 0:
    f = x - std::floor(x);
    break;
  case 1:
  case 2:
    f = 1.0;
    break;
  case 3:
    f = 1.0 - x + std::floor(x);
    break;
  default:
    f = 0.0;
    break;
  }
  return static_cast<guint16>(kiv::trunc_to_int(65535.0 * f));
}

/* Fractions of the colour scale are kept in [0, 1]; a NaN (from a scale
 * of no height, or a record set by hand) counts as the bottom. */
double clamp_fraction(double f) {
  if (!(f >= 0.0))
    return 0.0;
  return std::min(f, 1.0);
}

/* ---------------------------------------------------------------------
 * Colour list.
 * ------------------------------------------------------------------- */

void chart2d_release_colors(KivChart2D *h) {
  if (h->colorlst != NULL) {
    gdk_colormap_free_colors(gtk_widget_get_colormap(GTK_WIDGET(h)), h->colorlst, h->ncol);
    g_free(h->colorlst);
  }
  h->colorlst = NULL;
  h->ncol = 0;
}

/* KIV_COLOR_2D_LAST only ends the enumeration, yet the "ctype" property
 * accepts it like every registered value.  It has no ramp, so it is
 * refused with a critical and the current scheme and list stay as they
 * are; the result says whether the list was rebuilt.  The caller holds the
 * canvas mutex, so that no redraw sees a list half built. */
bool chart2d_build_colors(KivChart2D *h, KivChartColorScheme t) {
  g_return_val_if_fail(KIV_IS_CHART2D(h), false);
  g_return_val_if_fail(t < KIV_COLOR_2D_LAST, false);

  chart2d_release_colors(h);
  h->ctype = t;
  const SchemeRamp &ramp = kSchemes[t];
  int ncol = kColorsPerCycle * ramp.cycles;
  float step = static_cast<float>(ramp.cycles) / static_cast<float>(ncol);
  GdkColormap *colormap = gtk_widget_get_colormap(GTK_WIDGET(h));
  GdkColor *colors = g_new(GdkColor, ncol);
  for (int i = 0; i < ncol; i++) {
    double v = i * static_cast<double>(step);
    colors[i].pixel = 0;
    colors[i].red = color_factor(v, ramp.r);
    colors[i].green = color_factor(v, ramp.g);
    colors[i].blue = color_factor(v, ramp.b);
    /* A colour the colormap cannot hold is still drawn by cairo from its
     * intensities; only its pixel value stays 0. */
    gdk_colormap_alloc_color(colormap, &colors[i], FALSE, TRUE);
  }
  h->colorlst = colors;
  h->ncol = ncol;
  return true;
}

/* ---------------------------------------------------------------------
 * Frame step: index and sort the nonzero cells, find the value range.
 * ------------------------------------------------------------------- */

KivChart2DPrivate *chart2d_private(KivChart2D *h) {
  return static_cast<KivChart2DPrivate *>(kiv_chart2d_get_instance_private(h));
}

/* Fills dindex with the nonzero cells in cell order and dkey with their
 * order by content, and keeps the cells so ordered for the pixmap step.
 * Cells holding NaN have no place in an order: they are put after all the
 * others, in cell order, and only the rest is sorted (infinities order as
 * numbers); with no NaN this is exactly the index sort of all nindx
 * entries.  Returns the number of entries sorted. */
int chart2d_index_cells(KivChart2D *h, const double *cells, int ntot, int nnan) {
  KivChart2DPrivate *priv = chart2d_private(h);
  std::vector<SortedCell> &sorted = priv->sorted;
  sorted.resize(static_cast<size_t>(h->nindx));
  int e = 0, front = 0, back = h->nindx - nnan;
  for (int b = 0; b < ntot; b++) {
    double v = cells[b];
    if (v == 0.0)
      continue;
    h->dindex[e] = b;
    sorted[std::isnan(v) ? back++ : front++] = {v, e, b};
    e++;
  }
  if (!kiv::chart2d_sort_distinct(sorted, front, priv->scratch))
    kiv::chart2d_index_sort(front, sorted.data(), [](const SortedCell &c) { return c.value; },
                            sort_stack, 2 * kSortStackRanges);
  for (int k = 0; k < h->nindx; k++)
    h->dkey[k] = sorted[k].entry;
  return front;
}

/* Whether the index of the last frame step was built from these very
 * contents; otherwise they are kept for the next one to compare with. */
bool chart2d_index_current(KivChart2D *h, const double *cells, int ntot) {
  std::vector<double> &indexed = chart2d_private(h)->indexed;
  size_t n = static_cast<size_t>(ntot);
  if (indexed.size() == n && h->dindex != NULL &&
      std::memcmp(indexed.data(), cells, n * sizeof(double)) == 0)
    return true;
  indexed.assign(cells, cells + n);
  return false;
}

/* Counts the nonzero cells, grows the index buffer and builds the index;
 * returns the number of entries sorted. */
int chart2d_build_index(KivChart2D *h2, const double *cells, int ntot) {
  int nindx = 0, nnan = 0;
  for (int b = 0; b < ntot; b++) {
    nindx += cells[b] != 0.0;
    nnan += std::isnan(cells[b]);
  }
  /* The buffer holds both lists, 2 * nindx ints: more nonzero cells than
   * that can count are not drawn. */
  if (nindx > G_MAXINT / 2) {
    g_critical("%s: %d nonzero cells are more than the chart can index; nothing is drawn",
               "chart2d_draw_frame", nindx);
    nindx = 0;
  }
  h2->nindx = nindx;
  if (nindx == 0)
    return 0;
  if (h2->bsiz < 2 * nindx) {
    g_free(h2->dindex);
    h2->dindex = g_new(gint, 2 * nindx);
    h2->bsiz = 2 * nindx;
  }
  h2->dkey = h2->dindex + nindx;
  return chart2d_index_cells(h2, cells, ntot, nnan);
}

/* The value range of the map: the smallest and largest nonzero content.
 * Infinite and NaN contents are not values a scale can span: the range is
 * that of the finite ones (cells beyond it are skipped or end the drawing
 * like any cell outside the range), and false is returned when there is
 * no finite content at all. */
bool chart2d_content_range(const std::vector<SortedCell> &sorted, int nsorted, double *lo,
                           double *hi) {
  int first = 0, last = nsorted - 1;
  while (first <= last && !std::isfinite(sorted[first].value))
    first++;
  while (last >= first && !std::isfinite(sorted[last].value))
    last--;
  if (first > last)
    return false;
  *lo = sorted[first].value;
  *hi = sorted[last].value;
  return true;
}

/* A point at fraction f of the range [lo, hi].  A range whose width
 * overflows a double is weighted from its two ends instead. */
double chart2d_fraction_of(double lo, double hi, double f) {
  double d = hi - lo;
  if (std::isfinite(d))
    return lo + f * d;
  return lo * (1.0 - f) + hi * f;
}

void chart2d_draw_frame(KivChart1D *h) {
  g_return_if_fail(KIV_IS_CHART2D(h));
  g_return_if_fail(KIV_IS_FUNCTION(h->func));
  if (!KIV_IS_HISTOGRAM2D(h->func)) {
    KIV_CHART1D_CLASS(kiv_chart2d_parent_class)->draw_frame(h);
    return;
  }

  KivChart2D *h2 = KIV_CHART2D(h);
  KivCanvas *c = h->cnvs;
  KivHistogram2D *hist = KIV_HISTOGRAM2D(h->func);
  KivFunction *X = &KIV_FUNCTION2D(hist)->X;
  KivFunction *Y = KIV_FUNCTION2D(hist)->Y;
  /* Producers fill under the histogram's lock; the cells are counted and
   * then indexed, and a fill between the two passes would add a nonzero
   * cell that the index buffer has no room for. */
  kiv::FunctionLock lock(X);
  const double *cells = hist->y;

  /* The histogram never lays out more cells than an int counts; counts
   * written past it into its binnings give no grid at all. */
  gint64 grid = X->nbin > 0 && Y->nbin > 0 ? static_cast<gint64>(X->nbin) * Y->nbin : 0;
  int ntot = grid <= G_MAXINT ? static_cast<int>(grid) : 0;
  KivChart2DPrivate *priv = chart2d_private(h2);
  h2->ntot = ntot;
  c->zmin = c->zmax = 0.0;
  priv->index_kept = chart2d_index_current(h2, cells, ntot);
  if (!priv->index_kept) {
    priv->sorted.clear();
    priv->nsorted = chart2d_build_index(h2, cells, ntot);
  }
  double lo = 0.0, hi = 0.0;
  if (h2->nindx > 0 && chart2d_content_range(priv->sorted, priv->nsorted, &lo, &hi)) {
    c->zmin = lo;
    c->zmax = hi;
    const Zrange *zr = static_cast<const Zrange *>(g_object_get_data(G_OBJECT(h), kZrangeKey));
    if (zr != NULL) {
      c->zmax = chart2d_fraction_of(lo, hi, zr->fmax);
      c->zmin = chart2d_fraction_of(lo, hi, zr->fmin);
    }
  }

  c->xmin = h->xmin = X->xmin;
  c->xmax = h->xmax = X->xmax;
  c->ymin = h->vmin = Y->xmin;
  c->ymax = h->vmax = Y->xmax;
}

/* ---------------------------------------------------------------------
 * Pixmap step.
 * ------------------------------------------------------------------- */

/* Sets the line width of the map and puts the caller's back on every way
 * out of the step. */
class LineWidthScope {
public:
  LineWidthScope(cairo_t *cr, double width) : cr_(cr), saved_(cairo_get_line_width(cr)) {
    cairo_set_line_width(cr, width);
  }
  ~LineWidthScope() { cairo_set_line_width(cr_, saved_); }
  LineWidthScope(const LineWidthScope &) = delete;
  LineWidthScope &operator=(const LineWidthScope &) = delete;

private:
  cairo_t *cr_;
  double saved_;
};

void fill_and_stroke_box(cairo_t *cr, const GdkColor &col, double x, double y, double w,
                         double hgt) {
  kiv::set_source_color(cr, col);
  cairo_rectangle(cr, x, y, w, hgt);
  cairo_fill_preserve(cr);
  cairo_stroke(cr);
}

/* A map of a large histogram has several cells to each pixel, and cairo
 * takes about a microsecond for each.  A cell that covers one pixel is
 * painted here straight into the image instead: its pixel takes the colour
 * and the outline blends it into the eight neighbours with the coverage
 * that cairo's rasteriser gives them, in the same 8-bit arithmetic.  Both
 * are measured from cairo itself once, and the model is used only after it
 * reproduced a scene of cairo's pixel for pixel; otherwise every cell goes
 * through cairo. */
class PixelCellPainter {
public:
  /* What one colour leaves on the cell's pixel, and its share in each of
   * the nine pixels around, two 8-bit channels to a word (red and blue,
   * alpha and green). */
  struct Ink {
    guint32 centre;
    guint32 rb[9];
    guint32 ag[9];
  };

  static const PixelCellPainter &get() {
    static gsize done = 0;
    static PixelCellPainter painter;
    if (g_once_init_enter(&done)) {
      painter.calibrate();
      g_once_init_leave(&done, 1);
    }
    return painter;
  }

  bool usable() const { return usable_; }

  /* The inks of n colours, as cairo fills a pixel with each. */
  std::vector<Ink> inks_of(const GdkColor *colors, int n) const {
    std::vector<guint32> pixels = pixels_of(colors, n);
    std::vector<Ink> inks(static_cast<size_t>(n));
    for (int i = 0; i < n; i++)
      inks[i] = ink(pixels[i]);
    return inks;
  }

  /* Whether cells drawn into cr may be painted here: an ARGB32 image
   * drawn to directly, with the state the model was measured with. */
  static bool applies(cairo_t *cr) {
    cairo_surface_t *t = cairo_get_target(cr);
    if (cairo_get_group_target(cr) != t || cairo_surface_get_type(t) != CAIRO_SURFACE_TYPE_IMAGE ||
        cairo_image_surface_get_format(t) != CAIRO_FORMAT_ARGB32 ||
        cairo_surface_status(t) != CAIRO_STATUS_SUCCESS)
      return false;
    double ox = 0.0, oy = 0.0, sx = 0.0, sy = 0.0;
    cairo_surface_get_device_offset(t, &ox, &oy);
    cairo_surface_get_device_scale(t, &sx, &sy);
    cairo_matrix_t m;
    cairo_get_matrix(cr, &m);
    if (ox != 0.0 || oy != 0.0 || sx != 1.0 || sy != 1.0 || m.xx != 1.0 || m.yy != 1.0 ||
        m.xy != 0.0 || m.yx != 0.0 || m.x0 != 0.0 || m.y0 != 0.0)
      return false;
    if (cairo_get_operator(cr) != CAIRO_OPERATOR_OVER ||
        cairo_get_antialias(cr) != CAIRO_ANTIALIAS_DEFAULT ||
        cairo_get_line_join(cr) != CAIRO_LINE_JOIN_MITER || cairo_get_miter_limit(cr) < 2.0 ||
        cairo_get_line_width(cr) != kMapLineWidth || cairo_get_dash_count(cr) != 0)
      return false;
    return unclipped(cr, cairo_image_surface_get_width(t), cairo_image_surface_get_height(t));
  }

  /* Paints the cell at pixel (x, y) of an image of width x height pixels,
   * stride counted in pixels. */
  void paint(guint32 *data, int stride, int width, int height, int x, int y,
             const Ink &ink) const {
    if (x >= 1 && x < width - 1 && y >= 1 && y < height - 1) {
      guint32 *row = data + (y - 1) * stride + x - 1;
      row[0] = blend(ink, 0, row[0]);
      row[1] = blend(ink, 1, row[1]);
      row[2] = blend(ink, 2, row[2]);
      row += stride;
      row[0] = blend(ink, 3, row[0]);
      row[1] = ink.centre;
      row[2] = blend(ink, 5, row[2]);
      row += stride;
      row[0] = blend(ink, 6, row[0]);
      row[1] = blend(ink, 7, row[1]);
      row[2] = blend(ink, 8, row[2]);
      return;
    }
    /* At the edges of the image, only what lies on it. */
    for (int dy = -1; dy <= 1; dy++) {
      int py = y + dy;
      for (int dx = -1; dx <= 1; dx++) {
        int px = x + dx;
        if (px < 0 || px >= width || py < 0 || py >= height)
          continue;
        int i = (dy + 1) * 3 + dx + 1;
        guint32 &d = data[py * stride + px];
        d = i == kCentre ? ink.centre : blend(ink, i, d);
      }
    }
  }

private:
  bool usable_ = false;
  guint32 mask_[9] = {}; /* coverage of the outline, row by row around the cell */
  guint32 bias_ = 0;     /* rounding bias of the 8-bit products, in both lanes */

  static constexpr int kCentre = 4;
  static constexpr guint32 kLanes = 0x00ff00ffu;

  static bool unclipped(cairo_t *cr, int width, int height) {
    cairo_rectangle_list_t *l = cairo_copy_clip_rectangle_list(cr);
    bool whole = l->status == CAIRO_STATUS_SUCCESS && l->num_rectangles == 1 &&
                 l->rectangles[0].x <= 0.0 && l->rectangles[0].y <= 0.0 &&
                 l->rectangles[0].x + l->rectangles[0].width >= width &&
                 l->rectangles[0].y + l->rectangles[0].height >= height;
    cairo_rectangle_list_destroy(l);
    return whole;
  }

  /* The pixel values cairo writes when it fills a pixel with each colour. */
  static std::vector<guint32> pixels_of(const GdkColor *colors, int n) {
    std::vector<guint32> out(static_cast<size_t>(n));
    kiv::SurfacePtr s(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, std::max(n, 1), 1));
    kiv::CairoPtr cr(cairo_create(s.get()));
    for (int i = 0; i < n; i++) {
      kiv::set_source_color(cr.get(), colors[i]);
      cairo_rectangle(cr.get(), i, 0, 1, 1);
      cairo_fill(cr.get());
    }
    cairo_surface_flush(s.get());
    const guint32 *row = reinterpret_cast<const guint32 *>(cairo_image_surface_get_data(s.get()));
    std::copy_n(row, n, out.begin());
    return out;
  }

  /* a * m / 255 rounded, in the two 8-bit lanes of a. */
  guint32 mul(guint32 a, guint32 m) const {
    guint32 t = a * m + bias_;
    return ((t + ((t >> 8) & kLanes)) >> 8) & kLanes;
  }

  /* a + b in each lane, saturated at 255. */
  static guint32 add(guint32 a, guint32 b) {
    guint32 t = a + b;
    t |= 0x01000100u - ((t >> 8) & kLanes);
    return t & kLanes;
  }

  /* The source over d with the coverage at position i. */
  guint32 blend(const Ink &ink, int i, guint32 d) const {
    guint32 n = 255 - mask_[i];
    return add(ink.rb[i], mul(d & kLanes, n)) | add(ink.ag[i], mul((d >> 8) & kLanes, n)) << 8;
  }

  Ink ink(guint32 pixel) const {
    Ink k;
    for (int i = 0; i < 9; i++) {
      k.rb[i] = mul(pixel & kLanes, mask_[i]);
      k.ag[i] = mul((pixel >> 8) & kLanes, mask_[i]);
    }
    /* The fill leaves the colour, which its own outline then covers in
     * part. */
    k.centre = blend(k, kCentre, pixel);
    return k;
  }

  static void draw_cairo_cell(cairo_t *cr, const GdkColor &col, int x, int y) {
    fill_and_stroke_box(cr, col, x, y, 1, 1);
  }

  void calibrate() {
    /* The coverage of the outline on and around its pixel: a white
     * outline on black leaves it in every channel. */
    kiv::SurfacePtr s(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, 3, 3));
    kiv::CairoPtr cr(cairo_create(s.get()));
    cairo_set_source_rgb(cr.get(), 0.0, 0.0, 0.0);
    cairo_paint(cr.get());
    cairo_set_source_rgb(cr.get(), 1.0, 1.0, 1.0);
    cairo_set_line_width(cr.get(), kMapLineWidth);
    cairo_rectangle(cr.get(), 1, 1, 1, 1);
    cairo_stroke(cr.get());
    cairo_surface_flush(s.get());
    const guchar *data = cairo_image_surface_get_data(s.get());
    int stride = cairo_image_surface_get_stride(s.get());
    for (int y = 0; y < 3; y++)
      for (int x = 0; x < 3; x++)
        mask_[y * 3 + x] = reinterpret_cast<const guint32 *>(data + y * stride)[x] & 0xff;

    /* Pixman rounds its 8-bit products with a bias of 0x80, cairo's own
     * span fillers with 0x7f. */
    for (guint32 bias : {0x80u, 0x7fu}) {
      bias_ = bias | bias << 16;
      if (reproduces_cairo()) {
        usable_ = true;
        return;
      }
    }
  }

  /* Random cells in random colours, some across the edges, over a random
   * opaque background: painted by cairo and by the model. */
  bool reproduces_cairo() const {
    constexpr int kSize = 10, kCells = 400, kColors = 24;
    GRand *rand = g_rand_new_with_seed(20240611);
    GdkColor colors[kColors];
    for (GdkColor &col : colors) {
      col.pixel = 0;
      col.red = static_cast<guint16>(g_rand_int_range(rand, 0, 65536));
      col.green = static_cast<guint16>(g_rand_int_range(rand, 0, 65536));
      col.blue = static_cast<guint16>(g_rand_int_range(rand, 0, 65536));
    }
    colors[0].red = colors[0].green = colors[0].blue = 65535;
    colors[1].red = colors[1].green = colors[1].blue = 0;
    std::vector<Ink> inks = inks_of(colors, kColors);

    kiv::SurfacePtr s(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, kSize, kSize));
    cairo_surface_flush(s.get());
    guint32 *cdata = reinterpret_cast<guint32 *>(cairo_image_surface_get_data(s.get()));
    int stride = cairo_image_surface_get_stride(s.get()) / 4;
    std::vector<guint32> model(static_cast<size_t>(kSize * stride));
    for (int y = 0; y < kSize; y++)
      for (int x = 0; x < kSize; x++)
        model[y * stride + x] = cdata[y * stride + x] = 0xff000000u | g_rand_int(rand);
    cairo_surface_mark_dirty(s.get());

    kiv::CairoPtr cr(cairo_create(s.get()));
    cairo_set_line_width(cr.get(), kMapLineWidth);
    for (int i = 0; i < kCells; i++) {
      int x = g_rand_int_range(rand, -1, kSize + 1);
      int y = g_rand_int_range(rand, -1, kSize + 1);
      int ci = g_rand_int_range(rand, 0, kColors);
      draw_cairo_cell(cr.get(), colors[ci], x, y);
      paint(model.data(), stride, kSize, kSize, x, y, inks[ci]);
    }
    g_rand_free(rand);
    cairo_surface_flush(s.get());
    for (int y = 0; y < kSize; y++)
      for (int x = 0; x < kSize; x++)
        if (model[y * stride + x] != cdata[y * stride + x])
          return false;
    return true;
  }
};

/* The mark of the selected part of the value range, right of the colour
 * scale: a committed "zrange" in preference to a drag in progress. */
void chart2d_draw_selection_mark(KivChart1D *h, cairo_t *cr) {
  KivCanvas *c = h->cnvs;
  const Zrange *zr = static_cast<const Zrange *>(g_object_get_data(G_OBJECT(h), kZrangeKey));
  if (zr == NULL)
    zr = static_cast<const Zrange *>(g_object_get_data(G_OBJECT(h), kDragKey));
  if (zr == NULL)
    return;
  double fmin = clamp_fraction(zr->fmin), fmax = clamp_fraction(zr->fmax);
  int top = c->pz0 - kiv::trunc_to_int(std::max(fmin, fmax) * c->wz);
  int bottom = c->pz0 - kiv::trunc_to_int(std::min(fmin, fmax) * c->wz);
  cairo_rectangle(cr, c->cscale.x + c->cscale.width + 5, top, 2, bottom - top);
  cairo_fill(cr);
}

/* One box per colour, the highest at the top. */
void chart2d_draw_color_scale(KivChart2D *h, cairo_t *cr) {
  const GdkRectangle &cs = KIV_CHART1D(h)->cnvs->cscale;
  float step = static_cast<float>(cs.height) / static_cast<float>(h->ncol);
  int box = std::max(1, kiv::trunc_to_int(1 + step));
  double y = cs.y;
  for (int k = 0; k < h->ncol; k++) {
    if (k > 0)
      y += step;
    int top = k == 0 ? cs.y : kiv::trunc_to_int(y);
    fill_and_stroke_box(cr, h->colorlst[h->ncol - 1 - k], cs.x, top, cs.width, box);
  }
}

/* The cells, in increasing order of content, with the contents the frame
 * step ordered them by. */
/* Everything that the cells painted into an image depend on besides the
 * index and the picture under them. */
std::vector<double> chart2d_paint_inputs(KivChart2D *h, double sx, double sy, int n,
                                         cairo_surface_t *image) {
  const KivCanvas *c = KIV_CHART1D(h)->cnvs;
  std::vector<double> in = {c->zmin,
                            c->zmax,
                            sx,
                            sy,
                            double(c->px0),
                            double(c->py0),
                            double(cairo_image_surface_get_width(image)),
                            double(cairo_image_surface_get_height(image)),
                            double(cairo_image_surface_get_stride(image)),
                            double(n),
                            double(h->ncol)};
  for (int i = 0; i < h->ncol; i++)
    in.insert(in.end(), {double(h->colorlst[i].red), double(h->colorlst[i].green),
                         double(h->colorlst[i].blue)});
  return in;
}

/* Puts back the cells of the last redraw when nothing they depend on has
 * changed, the picture under them included; returns whether it did. */
bool chart2d_repaint_cells(KivChart2D *h, const std::vector<double> &inputs, guint32 *data,
                           size_t pixels, cairo_t *cr) {
  KivChart2DPrivate *priv = chart2d_private(h);
  KivChart2DPrivate::PaintedCells &p = priv->painted;
  if (!priv->index_kept || p.inputs != inputs || p.before.size() != pixels ||
      std::memcmp(p.before.data(), data, pixels * sizeof(guint32)) != 0)
    return false;
  std::copy(p.after.begin(), p.after.end(), data);
  cairo_surface_mark_dirty(cairo_get_target(cr));
  if (p.last >= 0)
    kiv::set_source_color(cr, h->colorlst[p.last]);
  return true;
}

void chart2d_draw_cells(KivChart2D *h, cairo_t *cr) {
  KivChart1D *h1 = KIV_CHART1D(h);
  KivCanvas *c = h1->cnvs;
  KivFunction2D *f2 = KIV_FUNCTION2D(h1->func);

  double delta = c->zmax - c->zmin;
  /* An empty range has no colours to spread; nor has one made of NaN
   * (fractions of NaN imposed through "zrange"). */
  if (delta == 0.0 || std::isnan(delta))
    return;
  double f = (h->ncol - 1) / delta;
  double sx = c->xstp * f2->X.step;
  double sy = c->ystp * f2->Y->step;
  int width = std::max(1, kiv::trunc_to_int(1 + sx));
  int height = std::max(1, kiv::trunc_to_int(1 + sy));
  KivChart2DPrivate *priv = chart2d_private(h);
  const std::vector<SortedCell> &sorted = priv->sorted;
  int n = std::min(h->nindx, static_cast<int>(sorted.size()));

  /* An image drawn to directly: its pixels can be kept and put back, and
   * cells of one pixel painted into it here. */
  const PixelCellPainter &painter = PixelCellPainter::get();
  bool image = PixelCellPainter::applies(cr);
  bool direct = image && width == 1 && height == 1 && painter.usable();
  cairo_surface_t *target = cairo_get_target(cr);
  guint32 *data = NULL;
  int stride = 0, iw = 0, ih = 0;
  size_t pixels = 0;
  std::vector<double> inputs;
  if (image) {
    cairo_surface_flush(target);
    data = reinterpret_cast<guint32 *>(cairo_image_surface_get_data(target));
    stride = cairo_image_surface_get_stride(target) / 4;
    iw = cairo_image_surface_get_width(target);
    ih = cairo_image_surface_get_height(target);
    pixels = static_cast<size_t>(stride) * ih;
    inputs = chart2d_paint_inputs(h, sx, sy, n, target);
    if (chart2d_repaint_cells(h, inputs, data, pixels, cr))
      return;
    priv->painted.inputs.clear();
    priv->painted.before.assign(data, data + pixels);
  }
  std::vector<PixelCellPainter::Ink> inks;
  if (direct)
    inks = painter.inks_of(h->colorlst, h->ncol);

  int last = -1;
  for (int k = 0; k < n; k++) {
    int b = sorted[k].cell;
    double v = sorted[k].value - c->zmin;
    if (v < 0.0)
      continue;
    /* Cells above the range end the drawing; so do those that hold NaN,
     * which the frame step put last. */
    if (!(v <= delta))
      break;
    int ix = 0, iy = 0;
    kiv_function2d_find_cell_from_bin(f2, b, &ix, &iy);
    int x = kiv::trunc_to_int(ix * sx + c->px0);
    int y = kiv::trunc_to_int(c->py0 - (iy + 1) * sy);
    int ci = std::clamp(kiv::trunc_to_int(f * v), 0, h->ncol - 1);
    if (direct)
      painter.paint(data, stride, iw, ih, x, y, inks[ci]);
    else
      fill_and_stroke_box(cr, h->colorlst[ci], x, y, width, height);
    last = ci;
  }

  if (direct) {
    cairo_surface_mark_dirty(target);
    /* cairo would have left the colour of the last cell as the source. */
    if (last >= 0)
      kiv::set_source_color(cr, h->colorlst[last]);
  }
  if (image) {
    cairo_surface_flush(target);
    priv->painted.inputs = std::move(inputs);
    priv->painted.after.assign(data, data + pixels);
    priv->painted.last = last;
  }
}

void chart2d_draw_pixmap(KivChart1D *h) {
  g_return_if_fail(KIV_IS_CHART2D(h));
  g_return_if_fail(KIV_IS_FUNCTION(h->func));
  if (!KIV_IS_HISTOGRAM2D(h->func)) {
    KIV_CHART1D_CLASS(kiv_chart2d_parent_class)->draw_pixmap(h);
    return;
  }

  KivChart2D *h2 = KIV_CHART2D(h);
  if (h2->ncol == 0)
    return;
  cairo_t *cr = h->cnvs->cairo;
  LineWidthScope width(cr, kMapLineWidth);

  chart2d_draw_selection_mark(h, cr);
  chart2d_draw_color_scale(h2, cr);
  if (h2->nindx == 0)
    return;
  chart2d_draw_cells(h2, cr);
}

/* ---------------------------------------------------------------------
 * Selection of a value range on the colour scale.
 * ------------------------------------------------------------------- */

/* The fraction of the colour scale at height y: 0 at its bottom, 1 at its
 * top. */
double chart2d_scale_fraction(KivChart2D *h, double y) {
  const KivCanvas *c = KIV_CHART1D(h)->cnvs;
  return (c->pz0 - y) / static_cast<double>(c->pz0 - c->pz1);
}

bool in_color_scale(KivChart2D *h, const GdkEventButton *event) {
  const KivCanvas *c = KIV_CHART1D(h)->cnvs;
  double w = c->cscale.width / 2.0;
  return std::fabs(event->x - c->cscale.x - w) <= w && c->pz1 - tolerance <= event->y &&
         event->y <= c->pz0 + tolerance;
}

Zrange *chart2d_take_range(KivChart2D *h, const char *key) {
  return static_cast<Zrange *>(g_object_steal_data(G_OBJECT(h), key));
}

gboolean chart2d_button_press(GtkWidget *widget, GdkEventButton *event, gpointer) {
  KivChart2D *h = KIV_CHART2D(widget);
  if (event->button == 2) {
    g_free(chart2d_take_range(h, kZrangeKey));
  } else if (event->button == 1 && in_color_scale(h, event)) {
    Zrange *zr = g_new0(Zrange, 1);
    double f = chart2d_scale_fraction(h, event->y);
    zr->fmax = f;
    zr->fmin = clamp_fraction(f);
    /* A second press without a release (a double click reports one) starts
     * the drag afresh; the record of the first is not leaked. */
    g_free(chart2d_take_range(h, kDragKey));
    g_object_set_data(G_OBJECT(h), kDragKey, zr);
  }
  return FALSE;
}

gboolean chart2d_motion_notify(GtkWidget *widget, GdkEventMotion *event, gpointer) {
  KivChart2D *h = KIV_CHART2D(widget);
  Zrange *zr = static_cast<Zrange *>(g_object_get_data(G_OBJECT(h), kDragKey));
  if (zr != NULL)
    zr->fmax = chart2d_scale_fraction(h, event->y);
  return FALSE;
}

gboolean chart2d_button_release(GtkWidget *widget, GdkEventButton *event, gpointer) {
  KivChart2D *h = KIV_CHART2D(widget);
  Zrange *zr = chart2d_take_range(h, kDragKey);
  if (zr == NULL)
    return FALSE;
  if (in_color_scale(h, event)) {
    zr->fmax = clamp_fraction(chart2d_scale_fraction(h, event->y));
    if (zr->fmin > zr->fmax)
      std::swap(zr->fmin, zr->fmax);
    g_free(chart2d_take_range(h, kZrangeKey));
    g_object_set_data(G_OBJECT(h), kZrangeKey, zr);
  } else {
    g_free(zr);
  }
  return FALSE;
}

/* ---------------------------------------------------------------------
 * Popup menu entries.
 * ------------------------------------------------------------------- */

constexpr const char *kSchemeKey = "kiv-chart2d-scheme";

struct SchemeEntry {
  const char *label;
  KivChartColorScheme scheme;
};

constexpr SchemeEntry kSchemeEntries[] = {
    {"Black/White", KIV_COLOR_2D_BW}, {"White/Black", KIV_COLOR_2D_WB},
    {"Red", KIV_COLOR_2D_RED},        {"Green", KIV_COLOR_2D_GREEN},
    {"Blue", KIV_COLOR_2D_BLUE},      {"Thermal", KIV_COLOR_2D_THERMAL},
};

void chart2d_on_squared(GtkCheckMenuItem *item, KivChart2D *h) {
  kiv_chart2d_set_squared(h, gtk_check_menu_item_get_active(item));
}

void chart2d_on_scheme(GtkMenuItem *item, KivChart2D *h) {
  gpointer data = g_object_get_data(G_OBJECT(item), kSchemeKey);
  auto scheme = static_cast<KivChartColorScheme>(GPOINTER_TO_INT(data));
  {
    kiv::MutexLock lock(&KIV_CHART1D(h)->cnvs->mutex);
    chart2d_build_colors(h, scheme);
  }
  gtk_widget_queue_draw(GTK_WIDGET(h));
}

/* An empty item, insensitive, parts the chart's entries from the rest. */
void chart2d_append_separator(GtkWidget *menu) {
  GtkWidget *item = gtk_menu_item_new();
  gtk_widget_show(item);
  gtk_menu_shell_append(GTK_MENU_SHELL(menu), item);
  gtk_widget_set_sensitive(item, FALSE);
}

/* A check item showing state; its handler is connected after the state is
 * set, so that building the menu changes nothing. */
GtkWidget *chart2d_append_check(GtkWidget *menu, GtkWidget *item, gboolean state) {
  gtk_check_menu_item_set_active(GTK_CHECK_MENU_ITEM(item), state);
  gtk_widget_show(item);
  gtk_menu_shell_append(GTK_MENU_SHELL(menu), item);
  return item;
}

void chart2d_xtra_menu(KivChart1D *h, GtkWidget *menu) {
  g_return_if_fail(h != NULL);
  g_return_if_fail(menu != NULL);
  g_return_if_fail(GTK_IS_MENU(menu));
  g_return_if_fail(KIV_IS_CHART2D(h));

  KivChart2D *h2 = KIV_CHART2D(h);
  chart2d_append_separator(menu);
  GtkWidget *squared = chart2d_append_check(
      menu, gtk_check_menu_item_new_with_mnemonic("Squared"), h2->squared);
  g_signal_connect(squared, "activate", G_CALLBACK(chart2d_on_squared), h2);
  chart2d_append_separator(menu);
  for (const SchemeEntry &e : kSchemeEntries) {
    GtkWidget *item = chart2d_append_check(menu, gtk_check_menu_item_new_with_label(e.label),
                                           h2->ctype == e.scheme);
    g_object_set_data(G_OBJECT(item), kSchemeKey, GINT_TO_POINTER(e.scheme));
    g_signal_connect(item, "activate", G_CALLBACK(chart2d_on_scheme), h2);
  }
}

} // namespace

/* ---------------------------------------------------------------------
 * Class.
 * ------------------------------------------------------------------- */

static void kiv_chart2d_realize(GtkWidget *widget) {
  GTK_WIDGET_CLASS(kiv_chart2d_parent_class)->realize(widget);
  /* The colours are allocated again in the colormap the window has. */
  if (gtk_widget_get_realized(widget)) {
    KivChart2D *h = KIV_CHART2D(widget);
    kiv::MutexLock lock(&KIV_CHART1D(h)->cnvs->mutex);
    chart2d_build_colors(h, h->ctype);
  }
}

static void kiv_chart2d_unrealize(GtkWidget *widget) {
  KivChart2D *h = KIV_CHART2D(widget);
  {
    kiv::MutexLock lock(&KIV_CHART1D(h)->cnvs->mutex);
    chart2d_release_colors(h);
  }
  GTK_WIDGET_CLASS(kiv_chart2d_parent_class)->unrealize(widget);
}

static void kiv_chart2d_finalize(GObject *object) {
  KivChart2D *h = KIV_CHART2D(object);
  chart2d_private(h)->~KivChart2DPrivate();
  chart2d_release_colors(h);
  g_free(h->dindex);
  h->dindex = h->dkey = NULL;
  h->bsiz = -1;
  h->nindx = h->ntot = 0;
  /* The range records are the chart's to free (they come from g_malloc
   * whoever set them), also when they are still set at the end. */
  g_free(chart2d_take_range(h, kZrangeKey));
  g_free(chart2d_take_range(h, kDragKey));

  G_OBJECT_CLASS(kiv_chart2d_parent_class)->finalize(object);
}

static void kiv_chart2d_set_property(GObject *object, guint prop_id, const GValue *value,
                                     GParamSpec *pspec) {
  g_return_if_fail(KIV_IS_CHART2D(object));
  KivChart2D *h = KIV_CHART2D(object);

  switch (prop_id) {
  case PROP_CTYPE: {
    kiv::PropertyWriteLock lock(&KIV_CHART1D(h)->cnvs->mutex);
    if (lock.held() &&
        chart2d_build_colors(h, static_cast<KivChartColorScheme>(g_value_get_enum(value))))
      gtk_widget_queue_draw(GTK_WIDGET(h));
    break;
  }
  case PROP_SQUARED: {
    kiv::PropertyWriteLock lock(&KIV_CHART1D(h)->cnvs->mutex);
    if (lock.held())
      kiv_chart2d_set_squared(h, g_value_get_boolean(value));
    break;
  }
  /* Only stored, without the canvas: the frame step puts the histogram's
   * y range in their place at every redraw. */
  case PROP_VMIN:
    KIV_CHART1D(h)->vmin = g_value_get_double(value);
    break;
  case PROP_VMAX:
    KIV_CHART1D(h)->vmax = g_value_get_double(value);
    break;
  default:
    G_OBJECT_WARN_INVALID_PROPERTY_ID(object, prop_id, pspec);
    break;
  }
}

static void kiv_chart2d_get_property(GObject *object, guint prop_id, GValue *value,
                                     GParamSpec *pspec) {
  g_return_if_fail(KIV_IS_CHART2D(object));
  KivChart2D *h = KIV_CHART2D(object);

  switch (prop_id) {
  case PROP_CTYPE:
    g_value_set_enum(value, h->ctype);
    break;
  case PROP_SQUARED:
    g_value_set_boolean(value, h->squared);
    break;
  case PROP_VMIN:
    g_value_set_double(value, KIV_CHART1D(h)->vmin);
    break;
  case PROP_VMAX:
    g_value_set_double(value, KIV_CHART1D(h)->vmax);
    break;
  default:
    G_OBJECT_WARN_INVALID_PROPERTY_ID(object, prop_id, pspec);
    break;
  }
}

static void kiv_chart2d_class_init(KivChart2DClass *klass) {
  GObjectClass *object_class = G_OBJECT_CLASS(klass);
  GtkWidgetClass *widget_class = GTK_WIDGET_CLASS(klass);
  KivChart1DClass *chart_class = KIV_CHART1D_CLASS(klass);

  object_class->set_property = kiv_chart2d_set_property;
  object_class->get_property = kiv_chart2d_get_property;
  object_class->finalize = kiv_chart2d_finalize;

  widget_class->realize = kiv_chart2d_realize;
  widget_class->unrealize = kiv_chart2d_unrealize;

  chart_class->draw_pixmap = chart2d_draw_pixmap;
  chart_class->draw_frame = chart2d_draw_frame;
  chart_class->xtra_menu = chart2d_xtra_menu;

  g_object_class_install_property(object_class, PROP_CTYPE,
      g_param_spec_enum("ctype", "Color Scheme", "Color Scheme", KIV_TYPE_CHART_COLOR_SCHEME,
                        KIV_COLOR_2D_THERMAL, G_PARAM_READWRITE));
  g_object_class_install_property(object_class, PROP_SQUARED,
      g_param_spec_boolean("squared", "Squared histogram",
                           "If set the histogram will be drawn squared", FALSE,
                           G_PARAM_READWRITE));
  g_object_class_override_property(object_class, PROP_VMIN, "vmin");
  g_object_class_override_property(object_class, PROP_VMAX, "vmax");
}

static void kiv_chart2d_init(KivChart2D *h) {
  new (chart2d_private(h)) KivChart2DPrivate();
  h->ctype = KIV_COLOR_2D_BW;
  h->ncol = 0;
  h->colorlst = NULL;
  h->squared = FALSE;
  h->bsiz = -1;
  h->nindx = h->ntot = 0;
  h->dindex = h->dkey = NULL;
  _kiv_chart1d_set_square_flag(KIV_CHART1D(h), &h->squared);

  /* After the one-dimensional chart's handlers, which its own
   * initialisation connected. */
  g_signal_connect(h, "button_press_event", G_CALLBACK(chart2d_button_press), NULL);
  g_signal_connect(h, "button_release_event", G_CALLBACK(chart2d_button_release), NULL);
  g_signal_connect(h, "motion_notify_event", G_CALLBACK(chart2d_motion_notify), NULL);
}

/* ---------------------------------------------------------------------
 * Public interface.
 * ------------------------------------------------------------------- */

GType kiv_chart_color_scheme_get_type(void) {
  static gsize type_id = 0;
  if (g_once_init_enter(&type_id)) {
    static const GEnumValue values[] = {
        {KIV_COLOR_2D_BW, "KIV_COLOR_2D_BW", "bw"},
        {KIV_COLOR_2D_WB, "KIV_COLOR_2D_WB", "wb"},
        {KIV_COLOR_2D_RED, "KIV_COLOR_2D_RED", "red"},
        {KIV_COLOR_2D_GREEN, "KIV_COLOR_2D_GREEN", "green"},
        {KIV_COLOR_2D_BLUE, "KIV_COLOR_2D_BLUE", "blue"},
        {KIV_COLOR_2D_THERMAL, "KIV_COLOR_2D_THERMAL", "thermal"},
        {KIV_COLOR_2D_LAST, "KIV_COLOR_2D_LAST", "last"},
        {0, NULL, NULL},
    };
    g_once_init_leave(&type_id, g_enum_register_static("KivChart2DColorScheme", values));
  }
  return type_id;
}

GtkWidget *kiv_chart2d_new(KivHistogram2D *ff) {
  g_return_val_if_fail(ff!=0, NULL);

  return GTK_WIDGET(g_object_new(KIV_TYPE_CHART2D,
                                 "func", ff,
                                 "ctype", KIV_COLOR_2D_THERMAL,
                                 NULL));
}

void kiv_chart2d_set_squared(KivChart2D *h2d, gboolean squared) {
  g_return_if_fail(h2d != NULL);
  g_return_if_fail(KIV_IS_CHART2D(h2d));

  h2d->squared = squared;
  gtk_widget_queue_draw(GTK_WIDGET(h2d));
}
