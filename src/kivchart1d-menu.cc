/* kivchart1d-menu.cc: the popup menu of a chart, the table of item records
 * its actions go through, and the dialogs for a chart colour and for the
 * range (and binning) of an axis. */
#include "kivchart-protected.h"
#include "kivchart1d-private.h"
#include "histogram.h"
#include "kiv-private.h"

#include <cerrno>
#include <cstdio>
#include <utility>

item_data itmData[LAST_C];

namespace {

void on_item_activate(GtkWidget *w, item_data *p);

GtkWidget *add_item(GtkWidget *menu, const char *name) {
  GtkWidget *item = gtk_menu_item_new_with_mnemonic(name);
  gtk_widget_show(item);
  gtk_menu_shell_append(GTK_MENU_SHELL(menu), item);
  return item;
}

GtkWidget *add_submenu(GtkWidget *item) {
  GtkWidget *menu = gtk_menu_new();
  gtk_menu_item_set_submenu(GTK_MENU_ITEM(item), menu);
  return menu;
}

/* The state of a check item is set before its handler is connected, so
 * that building the menu triggers no action. */
GtkWidget *add_action(GtkWidget *menu, const char *name, int code, gboolean check,
                      gboolean val) {
  GtkWidget *item;
  if (check) {
    item = gtk_check_menu_item_new_with_label(name);
    gtk_check_menu_item_set_active(GTK_CHECK_MENU_ITEM(item), val);
  } else {
    item = gtk_menu_item_new_with_label(name);
  }
  gtk_widget_show(item);
  gtk_menu_shell_append(GTK_MENU_SHELL(menu), item);
  g_signal_connect(item, "activate", G_CALLBACK(on_item_activate), &itmData[code]);
  return item;
}

GtkWidget *add_separator(GtkWidget *menu) {
  GtkWidget *item = gtk_separator_menu_item_new();
  gtk_widget_show(item);
  gtk_menu_shell_append(GTK_MENU_SHELL(menu), item);
  gtk_widget_set_sensitive(item, FALSE);
  return item;
}

/* The axis submenus: the three positions, "none" and the range dialog. */
void add_axis_actions(GtkWidget *menu, const char *const labels[3], const int codes[3],
                      int none, int range) {
  for (int i = 0; i < 3; i++)
    add_action(menu, labels[i], codes[i], FALSE, FALSE);
  add_action(menu, "none", none, FALSE, FALSE);
  add_separator(menu);
  add_action(menu, "Change range...", range, FALSE, FALSE);
}

void chart1d_create_colorsel(item_data *itmD) {
  static const char *const titles[KIV_NCOLORS] = {
      "Choose foreground color", "Choose background color", "Choose axis color",
      "Choose curve color"};
  KivChart1D *h = itmD->kiv;
  int i = itmD->item;

  GtkWidget *dialog = gtk_color_selection_dialog_new(titles[i]);
  GtkWidget *selection = NULL;
  g_object_get(dialog, "color-selection", &selection, NULL);
  kiv::ObjectPtr<GtkWidget> selection_ref(selection);
  GtkColorSelection *sel = GTK_COLOR_SELECTION(selection);
  gtk_color_selection_set_previous_color(sel, &h->colors[i]);
  gtk_color_selection_set_current_color(sel, &h->colors[i]);
  gtk_color_selection_set_has_palette(sel, TRUE);
  gtk_container_set_border_width(GTK_CONTAINER(selection), 10);

  if (gtk_dialog_run(GTK_DIALOG(dialog)) == GTK_RESPONSE_OK) {
    GdkColor col;
    gtk_color_selection_get_current_color(sel, &col);
    chart1d_set_color(h, i, &col);
    gtk_widget_queue_draw(GTK_WIDGET(h));
  }
  gtk_widget_destroy(dialog);
}

/* Packs a label and a new entry holding text under each other. */
GtkWidget *add_field(GtkWidget *box, const char *label, const char *text) {
  gtk_box_pack_start(GTK_BOX(box), gtk_label_new(label), FALSE, TRUE, 0);
  GtkWidget *entry = gtk_entry_new();
  gtk_entry_set_text(GTK_ENTRY(entry), text);
  gtk_box_pack_start(GTK_BOX(box), entry, FALSE, TRUE, 0);
  return entry;
}

/* The bin count typed into the "N. bin" field: its leading decimal
 * integer, 0 when there is none.  A count beyond the int range is held at
 * its end, and the rebin decides what to do with it. */
int chart1d_get_nbin(const char *text) {
  gint64 n = g_ascii_strtoll(text, NULL, 10);
  return static_cast<int>(CLAMP(n, static_cast<gint64>(G_MININT), static_cast<gint64>(G_MAXINT)));
}

void chart1d_change_axis_range(KivChart1D *kiv, KivChartAxisType iaxis) {
  bool xaxis = iaxis == KIV_X_AXIS;
  GtkWidget *dialog =
      _kiv_chart1d_new_dialog(xaxis ? "Set the X axis range" : "Set the Y axis range");
  GtkWidget *box = gtk_dialog_get_content_area(GTK_DIALOG(dialog));

  GtkWidget *nbin_entry = NULL;
  if (xaxis && kiv_chart1d_get_n_func(kiv) == 1 && KIV_IS_HISTOGRAM(kiv->func)) {
    kiv::CharPtr nbin(g_strdup_printf("%d", kiv->func->nbin));
    nbin_entry = add_field(box, "N. bin", nbin.get());
  }
  GtkWidget *min_entry = add_field(box, xaxis ? "X min" : "Y min", "");
  GtkWidget *max_entry = add_field(box, xaxis ? "X max" : "Y max", "");

  gtk_widget_show_all(dialog);
  if (gtk_dialog_run(GTK_DIALOG(dialog)) == GTK_RESPONSE_ACCEPT) {
    double vmin = chart1d_get_double(gtk_entry_get_text(GTK_ENTRY(min_entry)), 0.0);
    double vmax = chart1d_get_double(gtk_entry_get_text(GTK_ENTRY(max_entry)), 0.0);
    if (vmin > vmax)
      std::swap(vmin, vmax);
    /* Equal limits change nothing.  Neither do "inf" or "nan", which read
     * as numbers but make no range (the chart's properties would refuse
     * them with a warning). */
    if (vmin != vmax && std::isfinite(vmin) && std::isfinite(vmax)) {
      if (xaxis) {
        {
          kiv::MutexLock lock(&kiv->cnvs->mutex);
          KivFunction *f = kiv_chart1d_get_func(kiv, 0);
          if (f != NULL && nbin_entry != NULL) {
            int nbin = chart1d_get_nbin(gtk_entry_get_text(GTK_ENTRY(nbin_entry)));
            printf("**New numnber of bins: %d\n", nbin);
            kiv_histogram_rebin(KIV_HISTOGRAM(f), nbin, vmin, vmax);
          } else if (f != NULL) {
            g_object_set(f, "xmin", vmin, "xmax", vmax, NULL);
          }
        }
        g_object_set(kiv, "hxmin", vmin, "hxmax", vmax, NULL);
      } else {
        g_object_set(kiv, "hymin", vmin, "hymax", vmax, NULL);
      }
      /* The new range shows at once, not only at the next expose. */
      gtk_widget_queue_draw(GTK_WIDGET(kiv));
    }
  }
  gtk_widget_hide(dialog);
  gtk_widget_destroy(dialog);
}

/* The items that only change a setting of the chart: the axis positions
 * and the four flags. */
struct AxisAction {
  int code;
  void (*set)(KivChart1D *, KivChartAxisPos);
  KivChartAxisPos pos;
};

const AxisAction kAxisActions[] = {
    {CXAXIS_LEFT, kiv_chart1d_draw_x_axis, KIV_AXIS_LEFT},
    {CXAXIS_RIGHT, kiv_chart1d_draw_x_axis, KIV_AXIS_RIGHT},
    {CXAXIS_MIDDLE, kiv_chart1d_draw_x_axis, KIV_AXIS_MIDDLE},
    {CXAXIS_NONE, kiv_chart1d_draw_x_axis, KIV_AXIS_NONE},
    {CYAXIS_LEFT, kiv_chart1d_draw_y_axis, KIV_AXIS_LEFT},
    {CYAXIS_RIGHT, kiv_chart1d_draw_y_axis, KIV_AXIS_RIGHT},
    {CYAXIS_MIDDLE, kiv_chart1d_draw_y_axis, KIV_AXIS_MIDDLE},
    {CYAXIS_NONE, kiv_chart1d_draw_y_axis, KIV_AXIS_NONE},
};

struct FlagAction {
  int code;
  void (*set)(KivChart1D *, gboolean);
};

const FlagAction kFlagActions[] = {
    {CFILL, kiv_chart1d_filled},
    {CLOGY, kiv_chart1d_logy},
    {CLOGX, kiv_chart1d_logx},
    {CSTATS, kiv_chart1d_show_stats},
};

/* Runs the action of a setting item; false when the item is none. */
bool chart1d_change_setting(GtkWidget *w, item_data *p) {
  for (const AxisAction &a : kAxisActions)
    if (a.code == p->item) {
      a.set(p->kiv, a.pos);
      return true;
    }
  for (const FlagAction &f : kFlagActions)
    if (f.code == p->item) {
      f.set(p->kiv, gtk_check_menu_item_get_active(GTK_CHECK_MENU_ITEM(w)));
      return true;
    }
  return false;
}

void on_item_activate(GtkWidget *w, item_data *p) {
  KivChart1D *h = p->kiv;
  /* Records of a table that no menu has filled yet act on nothing. */
  if (h == NULL)
    return;

  if (p->item >= CFOREG && p->item <= CCURVE)
    chart1d_create_colorsel(p);
  else if (p->item == CXAXIS_RANGE)
    chart1d_change_axis_range(h, KIV_X_AXIS);
  else if (p->item == CYAXIS_RANGE)
    chart1d_change_axis_range(h, KIV_Y_AXIS);
  else if (chart1d_change_setting(w, p))
    /* The setters change the settings only: the whole chart is redrawn to
     * show the change at once. */
    gtk_widget_queue_draw(GTK_WIDGET(h));
}

} // namespace

GtkWidget *chart1d_create_menu(KivChart1D *h) {
  for (int i = 0; i < LAST_C; i++) {
    itmData[i].item = i;
    itmData[i].kiv = h;
  }

  GtkWidget *menu = gtk_menu_new();
  g_signal_connect(add_item(menu, "Print..."), "activate", G_CALLBACK(on_kiv_print), h);
  g_signal_connect(add_item(menu, "Save as text..."), "activate", G_CALLBACK(on_kiv_as_text), h);
  add_separator(menu);

  GtkWidget *colors = add_submenu(add_item(menu, "colors"));
  add_action(colors, "Foreground...", CFOREG, FALSE, FALSE);
  add_action(colors, "Background...", CBACKG, FALSE, FALSE);
  add_action(colors, "Axis...", CAXIS, FALSE, FALSE);
  add_action(colors, "Curve...", CCURVE, FALSE, FALSE);
  add_separator(menu);

  static const char *const xlabels[3] = {"down", "middle", "top"};
  static const int xcodes[3] = {CXAXIS_LEFT, CXAXIS_MIDDLE, CXAXIS_RIGHT};
  add_axis_actions(add_submenu(add_item(menu, "X axis...")), xlabels, xcodes, CXAXIS_NONE,
                   CXAXIS_RANGE);
  static const char *const ylabels[3] = {"left", "middle", "right"};
  static const int ycodes[3] = {CYAXIS_LEFT, CYAXIS_MIDDLE, CYAXIS_RIGHT};
  add_axis_actions(add_submenu(add_item(menu, "Y axis...")), ylabels, ycodes, CYAXIS_NONE,
                   CYAXIS_RANGE);
  add_separator(menu);

  add_action(menu, "Show stats", CSTATS, TRUE, kiv_chart1d_stats(h));
  add_action(menu, "filled", CFILL, TRUE, kiv_chart1d_is_filled(h));
  add_action(menu, "log(x)", CLOGX, TRUE, kiv_chart1d_is_logx(h));
  add_action(menu, "log(y)", CLOGY, TRUE, kiv_chart1d_is_logy(h));

  KivChart1DClass *klass = KIV_CHART1D_GET_CLASS(h);
  if (klass->xtra_menu != NULL)
    klass->xtra_menu(h, menu);
  return menu;
}

double chart1d_get_double(const char *str, double def) {
  if (str == NULL)
    return def;
  /* Read the same way whatever the user's locale, like the text dumps:
   * the decimal separator is always the point. */
  char *end = NULL;
  errno = 0;
  double v = g_ascii_strtod(str, &end);
  if (end == str || errno == ERANGE)
    return def;
  return v;
}
