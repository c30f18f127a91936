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

using kiv::fill_and_stroke_box;
using kiv::kMapLineWidth;
using kiv::SortedCell;


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

} // namespace

KivChart2DPrivate *chart2d_private(KivChart2D *h) {
  return static_cast<KivChart2DPrivate *>(kiv_chart2d_get_instance_private(h));
}

namespace {

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
  kiv::StepState state(cr);
  cairo_set_line_width(cr, kMapLineWidth);

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
