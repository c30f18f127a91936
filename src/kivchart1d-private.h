/* kivchart1d-private.h: what the one-dimensional chart's source files, and
 * the charts derived from it inside the library, share; not installed. */
#ifndef KIV_CHART1D_PRIVATE_H
#define KIV_CHART1D_PRIVATE_H

#include "kivchart-protected.h"

#include <memory>

namespace kiv {

/* Owners for the cairo, Pango and GLib objects of a drawing pass, so that
 * every early return releases what the pass made. */
struct CairoDestroy {
  void operator()(cairo_t *cr) const { cairo_destroy(cr); }
};
struct SurfaceDestroy {
  void operator()(cairo_surface_t *s) const { cairo_surface_destroy(s); }
};
struct ObjectUnref {
  void operator()(gpointer o) const { g_object_unref(o); }
};
struct GFree {
  void operator()(gpointer p) const { g_free(p); }
};

using CairoPtr = std::unique_ptr<cairo_t, CairoDestroy>;
using SurfacePtr = std::unique_ptr<cairo_surface_t, SurfaceDestroy>;
template <typename T>
using ObjectPtr = std::unique_ptr<T, ObjectUnref>;
using LayoutPtr = ObjectPtr<PangoLayout>;
using CharPtr = std::unique_ptr<gchar, GFree>;

/* cairo takes colour components from 0 to 1, GDK keeps 16-bit ones. */
inline void set_source_color(cairo_t *cr, const GdkColor &c) {
  cairo_set_source_rgb(cr, c.red / 65535.0, c.green / 65535.0, c.blue / 65535.0);
}

/* Hands out the chart's per-curve colours in turn, starting again from
 * the head of the list when it runs out, or the fallback colour when the
 * list is empty.  Curves and legend walk it the same way, so that each
 * legend line has the colour of its curve. */
class CurveColorCycle {
public:
  CurveColorCycle(GList *colors, const GdkColor *fallback)
      : head_(colors), next_(colors), fallback_(fallback) {}

  const GdkColor &next() {
    if (head_ == NULL)
      return *fallback_;
    if (next_ == NULL)
      next_ = head_;
    const GdkColor *c = static_cast<const GdkColor *>(next_->data);
    next_ = next_->next;
    return *c;
  }

private:
  GList *head_;
  GList *next_;
  const GdkColor *fallback_;
};

} // namespace kiv

/* Bits of KivChartEvent.button: a button is held down, a button was
 * released, a key was pressed. */
enum {
  KIV_BUTTON_PRESS = 1,
  KIV_BUTTON_RELEASE = 2,
  KIV_KEY_PRESS = 4,
};

/* The whole redraw: into cr when given, otherwise into the canvas's own
 * off-screen image.  Takes the canvas mutex and always destroys the
 * context it drew with, also the caller's. */
void chart1d_draw_canvas(KivChart1D *h, cairo_t *cr);

/* The default drawing steps of the class. */
void chart1d_draw_frame(KivChart1D *h);
void chart1d_draw_pixmap(KivChart1D *h);
void chart1d_draw_stats(KivChart1D *h);
void chart1d_draw_axis(KivChart1D *h);
/* One axis: axopts is its KivChartAxisPos value, logx non-zero for a
 * logarithmic axis. */
void draw_axis(KivChart1D *h, KivChartAxisType axtype, int axopts, int logx);
/* Fills the layout with one line per curve, name in the curve's colour. */
void chart1d_fill_legend_layout(KivChart1D *h, PangoLayout *layout);

/* Colours: store and allocate one chart colour, hand foreground and
 * background to the widget's style, allocate the curve colours. */
void chart1d_set_color(KivChart1D *h, int i, GdkColor *col);
void chart1d_set_style_colors(KivChart1D *h);
void chart1d_set_curve_colors(KivChart1D *h);

/* Handler of the main function's "range-changed" while the chart follows
 * its range. */
void chart1d_range_changed(KivFunction *f, KivChart1D *h);

/* Replaces the point arrays of the last redraw by n empty ones (h->xpt),
 * remembering their number so that they are released exactly. */
KivTuple *_kiv_chart1d_new_tuples(KivChart1D *h, int n);
void _kiv_chart1d_release_tuples(KivChart1D *h);
int _kiv_chart1d_n_tuples(KivChart1D *h);

/* The two-dimensional chart derives from this class in its own source
 * file; the layout and the axes only need to know whether an instance is
 * one and whether it wants a square plotting area. */
gboolean _kiv_chart1d_is_2d(KivChart1D *h);
gboolean _kiv_chart1d_is_squared(KivChart1D *h);

/* The pixel size of the chart's pictures: its allocation, or, for a chart
 * that has never been allocated one, the size it requests. */
void _kiv_chart1d_picture_size(KivChart1D *h, int *width, int *height);

#endif /* KIV_CHART1D_PRIVATE_H */
