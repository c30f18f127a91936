/* kivchart1d-colors.cc: the four chart colours and the per-curve colours
 * of KivChart1D, set by name and handed to GTK at the next redraw. */
#include "kivchart-protected.h"
#include "kivchart1d-private.h"
#include "kiv-private.h"

#include <cstdarg>
#include <cstring>

namespace {

/* The keys of kiv_chart1d_set_colors, in KivChartColors order. */
const char *const kColorKeys[KIV_NCOLORS] = {"foreground", "background", "axis", "curve"};

int chart1d_color_index(const char *key) {
  for (int i = 0; i < KIV_NCOLORS; i++)
    if (std::strcmp(key, kColorKeys[i]) == 0)
      return i;
  return -1;
}

gboolean chart1d_alloc_color(KivChart1D *h, GdkColor *col) {
  return gdk_colormap_alloc_color(gtk_widget_get_colormap(GTK_WIDGET(h)), col, FALSE, FALSE);
}

} // namespace

void chart1d_set_color(KivChart1D *h, int i, GdkColor *col) {
  if (col != &h->colors[i])
    h->colors[i] = *col;
  if (gtk_widget_get_realized(GTK_WIDGET(h)) && !chart1d_alloc_color(h, &h->colors[i]))
    g_printerr("chart1d_set_color: could not allocate color %d\n", i);
  h->colors_changed = TRUE;
}

void chart1d_set_style_colors(KivChart1D *h) {
  GtkWidget *widget = GTK_WIDGET(h);
  kiv::ObjectPtr<GtkStyle> style(gtk_style_copy(gtk_widget_get_style(widget)));
  for (int state = GTK_STATE_NORMAL; state <= GTK_STATE_INSENSITIVE; state++) {
    style->fg[state] = h->colors[KIV_COLOR_FOREGROUND];
    style->bg[state] = h->colors[KIV_COLOR_BACKGROUND];
  }
  gtk_widget_set_style(widget, style.get());
}

void chart1d_set_curve_colors(KivChart1D *h) {
  /* A colour that cannot be allocated is still drawn with its components;
   * only the colour map entry is missing. */
  for (GList *l = h->cnvs->curve_colors; l != NULL; l = l->next)
    chart1d_alloc_color(h, static_cast<GdkColor *>(l->data));
}

/* Keys and names are used as given, of whatever length: nothing is copied
 * into a buffer of fixed size. */
void kiv_chart1d_set_colors(KivChart1D *h, ...) {
  va_list ap;
  va_start(ap, h);
  for (;;) {
    const char *key = va_arg(ap, const char *);
    if (key == NULL)
      break;
    const char *name = va_arg(ap, const char *);
    if (name == NULL) {
      g_warning("kiv_chart1d_set_colors: no color name given for %s", key);
      break;
    }
    int i = chart1d_color_index(key);
    if (i < 0)
      continue;
    GdkColor col;
    if (!gdk_color_parse(name, &col)) {
      g_printerr("Cannot get color %s\n", name);
      continue;
    }
    h->colors[i] = col;
    chart1d_set_color(h, i, &h->colors[i]);
    g_free(h->cnvs->color_names[i]);
    h->cnvs->color_names[i] = g_strdup(name);
  }
  va_end(ap);
}

void kiv_chart1d_set_curve_colors(KivChart1D *h, ...) {
  g_return_if_fail(KIV_IS_CHART1D(h));

  g_list_free_full(h->cnvs->curve_colors, g_free);
  h->cnvs->curve_colors = NULL;

  va_list ap;
  va_start(ap, h);
  for (;;) {
    gchar *name = va_arg(ap, gchar *);
    if (name == NULL)
      break;
    kiv_chart1d_add_curve_color(h, name);
  }
  va_end(ap);
}

void kiv_chart1d_add_curve_color(KivChart1D *h, gchar *color_name) {
  g_return_if_fail(KIV_IS_CHART1D(h));
  g_return_if_fail(color_name != NULL);

  GdkColor *col = g_new0(GdkColor, 1);
  if (!gdk_color_parse(color_name, col)) {
    g_printerr("add_curve_color: Cannot get color %s\n", color_name);
    g_free(col);
    return;
  }
  if (!gtk_widget_get_realized(GTK_WIDGET(h))) {
    h->cnvs->curve_colors = g_list_append(h->cnvs->curve_colors, col);
    h->colors_changed = TRUE;
  } else if (chart1d_alloc_color(h, col)) {
    h->cnvs->curve_colors = g_list_append(h->cnvs->curve_colors, col);
  } else {
    g_printerr("add_curve_color: could not allocate color %s\n", color_name);
    g_free(col);
  }
}
