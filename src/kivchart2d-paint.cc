/* kivchart2d-paint.cc: the cells of a two-dimensional chart's colour map.
 *
 * Every nonzero cell is filled and outlined in order of content, and cairo
 * takes about a microsecond for each: a 1000 x 1000 map took some 60 ms a
 * redraw to paint (figure 5 of ./scripts/run-bench).  A cell that covers
 * one pixel is painted here straight into the image, in cairo's own
 * arithmetic, and a redraw that would paint the same cells over the same
 * picture (pointer motion, a paused acquisition) puts back the pixels of
 * the last one: about 2 ms for that map. */
#include "kivchart2d-private.h"
#include "function2d.h"
#include "kiv-private.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

using kiv::fill_and_stroke_box;
using kiv::kMapLineWidth;
using kiv::SortedCell;

namespace {

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

} // namespace

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
