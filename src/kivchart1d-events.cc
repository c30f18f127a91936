/* kivchart1d-events.cc: the live behaviour of a chart: the pointer
 * read-out and the zooms of the mouse, the view reset of the middle button,
 * the popup menu of the right button, the key echo, the following of the
 * main function's range and the monitoring timer. */
#include "kivchart-protected.h"
#include "kivchart1d-private.h"
#include "kiv-private.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace {

/* The object data under which a chart keeps the menu of its last
 * right-button press until that menu has been used. */
constexpr const char kMenuKey[] = "kiv-chart1d-popup-menu";

/* Widget pixels to data coordinates with the layout of the last redraw.
 * Before the first redraw there is no layout to map against (the steps are
 * zero), and the position is not converted: false is returned. */
bool chart1d_pointer(KivChart1D *h, double px, double py, double *x, double *y) {
  KivCanvas *c = h->cnvs;
  if (!(std::isfinite(c->xstp) && c->xstp != 0.0 && std::isfinite(c->ystp) && c->ystp != 0.0))
    return false;
  canvas_transform_inv(c, kiv::trunc_to_int(px), kiv::trunc_to_int(py), x, y);
  return true;
}

/* On a logarithmic axis the mapping yields decimal logarithms, while the
 * chart's ranges, the "vmin"/"vmax" limits and the points fetched for a
 * redraw are all in data units: a zoom on such an axis stores the values
 * themselves, 10 raised to the mapped positions.  The read-out keeps
 * showing the positions as mapped. */
double chart1d_axis_value(double v, gboolean log) {
  return log ? std::pow(10.0, v) : v;
}

/* A Control drag: the X range between anchor and release, low to high.  A
 * click without movement would give an empty range, and a drag on a
 * logarithmic axis can end beyond the doubles; neither is a range to show,
 * so such a zoom keeps the range the chart had. */
void chart1d_zoom_x(KivChart1D *h, double a, double b) {
  gboolean log = h->cnvs->logx;
  double lo = chart1d_axis_value(std::min(a, b), log);
  double hi = chart1d_axis_value(std::max(a, b), log);
  if (!(std::isfinite(lo) && std::isfinite(hi) && lo < hi))
    return;
  h->xmin = lo;
  h->xmax = hi;
}

/* A Shift drag: the Y limits through the properties, lower one first.
 * Equal limits are a request for the automatic range again; limits that
 * are not finite the properties would refuse with a warning, and the zoom
 * is dropped instead. */
void chart1d_zoom_y(KivChart1D *h, double a, double b) {
  gboolean log = h->cnvs->logy;
  double lo = chart1d_axis_value(std::min(a, b), log);
  double hi = chart1d_axis_value(std::max(a, b), log);
  if (!(std::isfinite(lo) && std::isfinite(hi)))
    return;
  g_object_set(h, "vmin", lo, NULL);
  g_object_set(h, "vmax", hi, NULL);
}

/* The middle button: the main function's X range and an automatic Y
 * range. */
void chart1d_reset_view(KivChart1D *h) {
  if (h->func != NULL) {
    h->xmin = h->func->xmin;
    h->xmax = h->func->xmax;
  }
  g_object_set(h, "vmin", 0.0, NULL);
  g_object_set(h, "vmax", 0.0, NULL);
  gtk_widget_queue_draw(GTK_WIDGET(h));
}

/* A menu that has been closed, with or without a choice, is destroyed from
 * an idle callback: it is closed before the chosen item is activated, and
 * the item must still be there to run its action. */
struct MenuDisposal {
  KivChart1D *chart;
  GtkWidget *menu;
};

gboolean chart1d_menu_dispose(gpointer data) {
  MenuDisposal *d = static_cast<MenuDisposal *>(data);
  /* A later press may have replaced the menu already, which destroyed it. */
  if (g_object_get_data(G_OBJECT(d->chart), kMenuKey) == d->menu)
    g_object_set_data(G_OBJECT(d->chart), kMenuKey, NULL);
  return FALSE;
}

void chart1d_menu_disposal_free(gpointer data) {
  MenuDisposal *d = static_cast<MenuDisposal *>(data);
  g_object_unref(d->menu);
  g_object_unref(d->chart);
  g_free(d);
}

void chart1d_menu_deactivated(GtkWidget *menu, KivChart1D *h) {
  MenuDisposal *d = g_new(MenuDisposal, 1);
  d->chart = KIV_CHART1D(g_object_ref(h));
  d->menu = GTK_WIDGET(g_object_ref(menu));
  g_idle_add_full(G_PRIORITY_DEFAULT_IDLE, chart1d_menu_dispose, d, chart1d_menu_disposal_free);
}

/* Also runs while the chart is finalised: the menu must not report its
 * closing to a chart that is going away. */
void chart1d_menu_destroy(gpointer menu) {
  g_signal_handlers_disconnect_matched(menu, G_SIGNAL_MATCH_FUNC, 0, 0, NULL,
                                       reinterpret_cast<gpointer>(chart1d_menu_deactivated), NULL);
  gtk_widget_destroy(GTK_WIDGET(menu));
}

/* Each press builds a new menu.  The chart holds it as object data, so
 * that it is destroyed once closed, when the next press replaces it (a
 * menu that could not grab the pointer is never shown nor closed), or at
 * the latest with the chart, whose items it refers to. */
void chart1d_popup_menu(KivChart1D *h, GdkEventButton *event) {
  GtkWidget *menu = chart1d_create_menu(h);
  g_object_set_data_full(G_OBJECT(h), kMenuKey, menu, chart1d_menu_destroy);
  g_signal_connect(menu, "deactivate", G_CALLBACK(chart1d_menu_deactivated), h);
  gtk_menu_popup(GTK_MENU(menu), NULL, NULL, NULL, NULL, event->button, event->time);
}

gboolean chart1d_update(gpointer data) {
  KivChart1D *kiv = static_cast<KivChart1D *>(data);
  if (!gtk_widget_get_realized(GTK_WIDGET(kiv)))
    return TRUE;
  /* A redraw or a change of the curves in progress: this tick is skipped
   * rather than waited for. */
  if (!g_mutex_trylock(&kiv->cnvs->mutex))
    return TRUE;
  g_mutex_unlock(&kiv->cnvs->mutex);
  gtk_widget_queue_draw(GTK_WIDGET(kiv));
  return TRUE;
}

} // namespace

gboolean chart1d_motion_notify(GtkWidget *w, GdkEventMotion *event, gpointer) {
  KivChart1D *h = KIV_CHART1D(w);
  /* With Control held the tracked position stays where it was, so that the
   * anchor of a later press can be chosen before moving away. */
  if (event->state & GDK_CONTROL_MASK)
    return FALSE;
  double x = 0.0, y = 0.0;
  if (!chart1d_pointer(h, event->x, event->y, &x, &y))
    return FALSE;
  h->evt->x = x;
  h->evt->y = y;
  gtk_widget_queue_draw(w);
  return FALSE;
}

gboolean chart1d_button_press(GtkWidget *w, GdkEventButton *event, gpointer) {
  KivChart1D *h = KIV_CHART1D(w);
  KivChartEvent *e = h->evt;
  switch (event->button) {
  case 2:
    chart1d_reset_view(h);
    break;
  case 3:
    chart1d_popup_menu(h, event);
    break;
  default:
    break;
  }
  e->button |= KIV_BUTTON_PRESS;
  e->x0 = e->x;
  e->y0 = e->y;
  return FALSE;
}

gboolean chart1d_button_release(GtkWidget *w, GdkEventButton *event, gpointer) {
  KivChart1D *h = KIV_CHART1D(w);
  KivChartEvent *e = h->evt;
  e->button |= KIV_BUTTON_RELEASE;
  e->button &= ~static_cast<unsigned int>(KIV_BUTTON_PRESS);
  if (event->button != 1)
    return FALSE;

  double x = 0.0, y = 0.0;
  if (!chart1d_pointer(h, event->x, event->y, &x, &y))
    return FALSE;
  bool control = event->state & GDK_CONTROL_MASK;
  bool shift = event->state & GDK_SHIFT_MASK;
  if (control)
    chart1d_zoom_x(h, x, e->x0);
  if (shift)
    chart1d_zoom_y(h, y, e->y0);
  if (control || shift)
    gtk_widget_queue_draw(w);
  return FALSE;
}

gboolean chart1d_key_press(GtkWidget *, GdkEventKey *event, gpointer) {
  printf("Key %d %x\n", static_cast<int>(event->keyval), event->keyval);
  return TRUE;
}

void kiv_chart1d_monitor_start(KivChart1D *kiv, int tim) {
  if (kiv->tmout >= 0)
    kiv_chart1d_monitor_stop(kiv);
  kiv->tmout = static_cast<int>(g_timeout_add(static_cast<guint>(tim), chart1d_update, kiv));
}

void kiv_chart1d_monitor_stop(KivChart1D *kiv) {
  if (kiv->tmout >= 0)
    g_source_remove(static_cast<guint>(kiv->tmout));
  kiv->tmout = -1;
}

void kiv_chart1d_sync_range(KivChart1D *h, gboolean z) {
  g_return_if_fail(KIV_IS_CHART1D(h));

  if (z) {
    /* Without a main function the connection fails (GLib says so) but the
     * request stands: sync_id is not negative, and the next main function
     * is connected. */
    if (h->sync_id < 0)
      chart1d_connect_sync(h);
  } else if (h->sync_id >= 0) {
    chart1d_disconnect_sync(h);
    h->sync_id = -1;
  }
}
