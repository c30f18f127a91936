/* kivchart1d-private.h: what the one-dimensional chart's source files, and
 * the charts derived from it inside the library, share; not installed. */
#ifndef KIV_CHART1D_PRIVATE_H
#define KIV_CHART1D_PRIVATE_H

#include "kivchart-protected.h"
#include "kiv-private.h"

namespace kiv {

/* Property writes give up rather than wait for a redraw that holds the
 * canvas for long (see the canvas mutex): 10 attempts, 10 ms apart.
 * held() tells whether the mutex was taken; a write that did not get it
 * is dropped. */
class PropertyWriteLock {
public:
  explicit PropertyWriteLock(GMutex *m) {
    for (int i = 0; i < kAttempts; i++) {
      if (g_mutex_trylock(m)) {
        m_ = m;
        return;
      }
      g_usleep(kRetryMicroseconds);
    }
  }
  ~PropertyWriteLock() {
    if (m_ != NULL)
      g_mutex_unlock(m_);
  }
  PropertyWriteLock(const PropertyWriteLock &) = delete;
  PropertyWriteLock &operator=(const PropertyWriteLock &) = delete;
  bool held() const { return m_ != NULL; }

private:
  static constexpr int kAttempts = 10;
  static constexpr gulong kRetryMicroseconds = 10000;
  GMutex *m_ = NULL;
};

/* KivChart1D.drawaxis keeps one #KivChartAxisPos per axis, each in the
 * bits of its mask (KIV_AXIS_X_MASK, KIV_AXIS_Y_MASK); these read and
 * replace one axis's position.  A position is stored as given, as it always
 * was, so a value wider than its field spills over like before. */
constexpr int axis_mask_shift(unsigned long mask) {
  return (mask & 1UL) != 0 ? 0 : 1 + axis_mask_shift(mask >> 1);
}
inline unsigned long axis_pos(unsigned long drawaxis, unsigned long mask) {
  return (drawaxis & mask) >> axis_mask_shift(mask);
}
inline unsigned long with_axis_pos(unsigned long drawaxis, unsigned long mask,
                                   unsigned long pos) {
  return (drawaxis & ~mask) | (pos << axis_mask_shift(mask));
}

/* Saves the context's state for a drawing step (line width, join) and
 * puts it back when the step ends, however it ends, all but the source:
 * the steps after it draw in the colour the step left, as the redraw
 * expects. */
class StepState {
public:
  explicit StepState(cairo_t *cr) : cr_(cr) { cairo_save(cr_); }
  ~StepState() {
    cairo_pattern_t *source = cairo_pattern_reference(cairo_get_source(cr_));
    cairo_restore(cr_);
    cairo_set_source(cr_, source);
    cairo_pattern_destroy(source);
  }
  StepState(const StepState &) = delete;
  StepState &operator=(const StepState &) = delete;

private:
  cairo_t *cr_;
};

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
 * its range, and its connection to and from the main function (the
 * disconnection leaves sync_id as it is). */
void chart1d_range_changed(KivFunction *f, KivChart1D *h);
void chart1d_connect_sync(KivChart1D *h);
void chart1d_disconnect_sync(KivChart1D *h);

/* The chart's own mouse and key handlers, connected when it is made.  The
 * button and motion handlers let the event go on, so that a derived chart
 * connects its own handlers after them. */
gboolean chart1d_button_press(GtkWidget *w, GdkEventButton *event, gpointer data);
gboolean chart1d_button_release(GtkWidget *w, GdkEventButton *event, gpointer data);
gboolean chart1d_motion_notify(GtkWidget *w, GdkEventMotion *event, gpointer data);
gboolean chart1d_key_press(GtkWidget *w, GdkEventKey *event, gpointer data);

/* Identifiers of the popup menu's items, the index of each in itmData.
 * The colour identifiers equal the KivChartColors indices. */
enum {
  CFOREG = KIV_COLOR_FOREGROUND,
  CBACKG = KIV_COLOR_BACKGROUND,
  CAXIS = KIV_COLOR_AXIS,
  CCURVE = KIV_COLOR_CURVE,
  CXAXIS_LEFT,
  CXAXIS_RIGHT,
  CXAXIS_MIDDLE,
  CXAXIS_RANGE,
  CXAXIS_NONE,
  CYAXIS_LEFT,
  CYAXIS_RIGHT,
  CYAXIS_MIDDLE,
  CYAXIS_RANGE,
  CYAXIS_NONE,
  CFILL,
  CLOGY,
  CLOGX,
  CSTATS,
  C2D_BW,
  C2D_WB,
  C2D_RED,
  C2D_GREEN,
  C2D_BLUE,
  C2D_THERMAL,
  LAST_C
};

/* The popup menu of a chart, built afresh for each right-button press; a
 * derived chart appends its items through the class slot xtra_menu. */
GtkWidget *chart1d_create_menu(KivChart1D *h);

/* The "Print..." and "Save as text..." dialogs of the popup menu. */
void on_kiv_print(GtkWidget *w, KivChart1D *h);
void on_kiv_as_text(GtkWidget *w, KivChart1D *h);

/* A modal dialog without parent, with the buttons OK (GTK_RESPONSE_ACCEPT)
 * and Cancel (GTK_RESPONSE_REJECT): the frame of all the chart's own
 * dialogs. */
GtkWidget *_kiv_chart1d_new_dialog(const char *title);

/* The chart's private record. */
struct KivChart1DPrivate {
  /* Number of point arrays in xpt: the number of curves when they were
   * fetched, which curves added or removed since do not change. */
  int nxpt;
  /* Which of them hold a reduced curve (kivchart1d-reduce.cc), nxpt
   * flags allocated with them. */
  gboolean *reduced;
  /* Draws every point of every curve, as the reference of the reduced
   * ones (_kiv_chart1d_set_every_point()). */
  gboolean every_point;
};
KivChart1DPrivate *chart1d_private(KivChart1D *h);

/* Adds the outline through the pixel points px[0 .. n-1], those with a
 * coordinate that is not finite left out, to cr's path.  Returns the
 * number of points added. */
int chart1d_outline_path(cairo_t *cr, const KivPoint *px, int n);

/* A curve of many more points in [xmin, xmax] than the canvas has pixel
 * columns (columns), cut down to four points per bucket of adjacent
 * points: the first and the last, the lowest and the highest level.  Its
 * levels give the y range that every point would give.  FALSE, with t
 * empty, when the curve is to be drawn point by point. */
gboolean chart1d_reduce_curve(KivFunction *f, KivTuple *t, double xmin, double xmax,
                              int columns);
/* Draws a reduced curve (data coordinates) with the line width and the
 * source colour of cr. */
void chart1d_paint_reduced(cairo_t *cr, KivCanvas *c, KivTuple *t);

/* Replaces the point arrays of the last redraw by n empty ones (h->xpt),
 * remembering their number so that they are released exactly. */
KivTuple *_kiv_chart1d_new_tuples(KivChart1D *h, int n);
void _kiv_chart1d_release_tuples(KivChart1D *h);
int _kiv_chart1d_n_tuples(KivChart1D *h);
/* Whether point array i of the last redraw holds a reduced curve. */
gboolean _kiv_chart1d_tuple_reduced(KivChart1D *h, int i);

/* The two-dimensional chart derives from this class in its own source
 * file; the layout and the axes only need to know whether an instance is
 * one and whether it wants a square plotting area.  The derived chart
 * hands over the address of its square flag when an instance is
 * initialised (the flag lives as long as the instance); an instance that
 * never did is a one-dimensional chart. */
void _kiv_chart1d_set_square_flag(KivChart1D *h, const gboolean *squared);
gboolean _kiv_chart1d_is_2d(KivChart1D *h);
gboolean _kiv_chart1d_is_squared(KivChart1D *h);

/* The pixel size of the chart's pictures: its allocation, or, for a chart
 * that has never been allocated one, the size it requests. */
void _kiv_chart1d_picture_size(KivChart1D *h, int *width, int *height);

/* The suffix rules of the "Print..." dialog, without its questions, so
 * that they can be checked apart from GTK.  The check tells whether the
 * file name's suffix fits the picture format, or is missing, or fits
 * another; the name with the format's suffix appended is ".jpg" for JPEG
 * and "." and the format for the others (g_free() it). */
enum { KIV_SUFFIX_FITS, KIV_SUFFIX_MISSING, KIV_SUFFIX_WRONG };
G_BEGIN_DECLS
/* Test hook of the reduced curves: draw every point of the chart's curves
 * (or again reduce those that are worth it). */
KIV_API void _kiv_chart1d_set_every_point(KivChart1D *h, gboolean every);
KIV_API int _kiv_picture_suffix_check(const char *name, const char *format);
KIV_API gchar *_kiv_picture_name_with_suffix(const char *name, const char *format);
G_END_DECLS

#endif /* KIV_CHART1D_PRIVATE_H */
