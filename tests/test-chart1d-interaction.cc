/* The chart as a user meets it on a real X server: pointer read-out, zooms,
 * keys and the monitoring timer, then the popup menu and
 * every dialog it runs, answered from the test so that colours really
 * change, histograms are really rebinned and files really written. */
#include "kiv-test.h"
#include "kivchart1d-private.h"

#include <unistd.h>

using namespace kivtest;

namespace {

/* A std::string checked: g_assert_cmpstr would keep a pointer into a
 * temporary that is gone by the time it compares. */
void assert_text(const std::string &got, const std::string &want) {
  g_assert_cmpstr(got.c_str(), ==, want.c_str());
}
double ramp(double x) { return x; }

/* 1, 2, ... 10 over [0, 10) on white with the Y range [0, 20]; the chart's
 * size gives a plotting area of 200 x 120 pixels, so that the pointer at
 * quarters of it (px, py) reads round data values.  A new style asks for a
 * new allocation, which resets the X range: it is let happen first.  The
 * redraws are counted after the chart's own handler (one before it that
 * returns nothing could stop the redraw); the bound of a wait only keeps a
 * broken timer from hanging the test. */
struct Ramp : Counter {
  KivHistogram *hist = ramp_histogram(10, 0.0, 10.0);
  Shown s{KIV_FUNCTION(hist), 320, 175};
  KivChart1D *h = s.chart;
  KivCanvas *c = h->cnvs;
  Ramp() {
    g_signal_connect_data(h, "expose-event", G_CALLBACK(bump), this, NULL,
                          GConnectFlags(G_CONNECT_SWAPPED | G_CONNECT_AFTER));
    kiv_chart1d_set_colors(h, "background", "white", "foreground", "black", NULL);
    g_object_unref(read_pixmap(h));
    drain();
    fix_y();
  }
  ~Ramp() { g_object_unref(hist); }
  void wait_for(int want) {
    for (int i = 0; i < 5000 && n < want; i++) spin(2);
  }
  void fix_y() {
    g_object_set(h, "vmin", 0.0, "vmax", 20.0, NULL);
    g_object_unref(read_pixmap(h));
  }
  double px(double q) { return c->px0 + q * c->wx / 4; }
  double py(double q) { return c->py0 - q * c->wy / 4; }
  void drag(double ax, double ay, double bx, double by, guint state) {
    motion(h, px(ax), py(ay));
    press(h, 1, 0, 0, state);
    release(h, 1, px(bx), py(by), state);
  }
};

/* A menu as text: labels, "-" for a separator, "+" or " " before a check
 * item that is on or off, a submenu's items in brackets. */
std::string menu_text(GtkWidget *menu) {
  std::string out;
  GList *items = gtk_container_get_children(GTK_CONTAINER(menu));
  for (GList *l = items; l != NULL; l = l->next) {
    GtkWidget *item = GTK_WIDGET(l->data), *sub = gtk_menu_item_get_submenu(GTK_MENU_ITEM(item));
    out += std::string(l == items ? "" : "|") + (GTK_IS_SEPARATOR_MENU_ITEM(item) ? "-" : "");
    out += !GTK_IS_CHECK_MENU_ITEM(item) ? "" : GTK_CHECK_MENU_ITEM(item)->active ? "+" : " ";
    out += item_label(item) + (sub != NULL ? "(" + menu_text(sub) + ")" : "");
  }
  g_list_free(items);
  return out;
}

/* How a dialog of a title is answered: the texts of its entries, joined
 * by "|", checked against want, then texts typed into them; a format
 * (jpeg, pdf, svg, eps) picked in its combo box, or png left as offered;
 * a response. */
struct Answer {
  const char *title;
  std::vector<std::string> texts;
  const char *want = NULL;
  int response = GTK_RESPONSE_ACCEPT, format = -1;
};

/* Chooses a menu item and answers the dialogs it runs. */
void run(KivChart1D *h, std::initializer_list<const char *> path, std::vector<Answer> answers) {
  DialogScript ds;
  for (const Answer &a : answers)
    ds.then(a.title, [a](GtkWidget *d) {
      std::vector<GtkWidget *> entries;
      std::string f;
      find_all(d, GTK_TYPE_ENTRY, &entries);
      for (size_t i = 0; i < entries.size(); i++)
        f += (i ? "|" : "") + std::string(gtk_entry_get_text(GTK_ENTRY(entries[i])));
      g_assert_true(a.want == NULL || f == a.want);
      for (size_t i = 0; i < a.texts.size(); i++)
        gtk_entry_set_text(GTK_ENTRY(entries.at(i)), a.texts[i].c_str());
      if (a.format > 0)
        gtk_combo_box_set_active(GTK_COMBO_BOX(find_one(d, GTK_TYPE_COMBO_BOX)), a.format);
      respond_later(d, a.response);
    });
  choose(h, path);
}

/* Saves as text, or with a format as a picture; sets an axis range. */
void save(KivChart1D *h, std::string name, int format = -1, const char *ask = NULL, int yes = 0) {
  std::vector<Answer> steps{
      {format < 0 ? "Save Histogram as text" : "Save Histogram image", {name}, ""}};
  steps[0].format = format;
  if (ask != NULL) steps.push_back({ask, {}, NULL, yes});
  run(h, {format < 0 ? "Save as text..." : "Print..."}, steps);
}
void range(KivChart1D *h, char axis, std::vector<std::string> texts, const char *want = "|",
           int response = GTK_RESPONSE_ACCEPT) {
  run(h, {axis == 'X' ? "X axis..." : "Y axis...", "Change range..."},
      {{axis == 'X' ? "Set the X axis range" : "Set the Y axis range", texts, want, response}});
}

/* A file's first bytes, or with no name the listing of the current
 * folder. */
std::string read(const char *file, size_t n = 1000) {
  gchar *data = NULL;
  bool ok = file == NULL ? g_spawn_command_line_sync("ls", &data, NULL, NULL, NULL)
                         : g_file_get_contents(file, &data, NULL, NULL);
  std::string text = ok ? std::string(data).substr(0, n) : "<missing>";
  g_free(data);
  return text;
}

const guint kBoth = GDK_CONTROL_MASK | GDK_SHIFT_MASK;

} // namespace

/* Fractions of a pixel are cut off; with Control held the pointer is not
 * followed; a drag shows anchor, point, differences and ratio, and only
 * modifiers make it a zoom: X with Control, Y with Shift (equal limits
 * mean an automatic range again; another button zooms nothing), on log
 * axes in decades; the middle button resets both.  One timer, of the last
 * period asked for, redraws the chart; a chart destroyed with its timer
 * running and its menu open leaves nothing behind.  (Fills from other
 * threads while the timer runs are the stress test's.) */
static void test_pointer_zoom_monitor(void) {
  Ramp &r = *new Ramp;
  KivChart1D *h = r.h;
  KivChartEvent *e = h->evt;
  motion(h, r.px(2), r.py(2));
  motion(h, r.px(0), r.py(0), GDK_CONTROL_MASK);
  kiv_assert_each({r.c->wx, 200}, {r.c->wy, 120}, {e->x, 5.0}, {e->y, 10.0});
  motion(h, r.px(1) + 0.9, r.py(1) + 0.9);
  press(h, 1, 0, 0);
  motion(h, r.px(2), r.py(3));
  kiv_assert_each({e->x0, 2.5}, {e->y0, 5.0}, {e->x, 5.0}, {e->y, 15.0}, {e->button, 1});
  GdkPixbuf *drag = read_pixmap(h);
  assert_reference(drag, "chart1d-interaction-drag", 2, 0);
  release(h, 1, 0, 0);
  motion(h, r.px(3), r.py(2));
  kiv_assert_each({e->button, 2}, {h->xmax, 10.0}, {h->vmax, 20.0});
  GdkPixbuf *hover = read_pixmap(h);
  assert_reference(hover, "chart1d-interaction-hover", 2, 0);
  g_object_unref(drag);
  g_object_unref(hover);
  r.drag(3, 1, 1, 3, GDK_CONTROL_MASK);
  r.drag(1, 3, 2, 1, GDK_SHIFT_MASK);
  kiv_assert_each({h->xmin, 2.5}, {h->xmax, 7.5}, {h->vmin, 5.0}, {h->vmax, 15.0}, {r.c->fixed, 1});
  r.n = 0;
  press(h, 2, 20, 20);
  r.wait_for(1);
  kiv_assert_each({h->xmin, 0.0}, {h->xmax, 10.0}, {h->vmin, 0.0}, {h->vmax, 0.0}, {r.c->fixed, 0},
                  {r.n > 0, 1});
  r.fix_y();
  r.drag(0, 0, 2, 2, kBoth);
  release(h, 2, r.px(1), r.py(1), kBoth);
  kiv_assert_each({h->xmin, 0.0}, {h->xmax, 5.0}, {h->vmin, 0.0}, {h->vmax, 10.0});
  r.drag(1, 1, 1, 1, kBoth);
  kiv_assert_each({h->xmax, 5.0}, {h->vmin, 5.0}, {h->vmax, 5.0}, {r.c->fixed, 0});
  kiv_chart1d_logy(h, TRUE);
  kiv_chart1d_logx(h, TRUE);
  g_object_set(h, "hxmin", 1.0, "hxmax", 1e3, "vmin", 1.0, "vmax", 1e3, NULL);
  g_object_unref(read_pixmap(h));
  r.drag(1, 3, 2, 2, kBoth);
  kiv_assert_each({h->xmin, 10.0}, {h->xmax, 100.0}, {h->vmin, 100.0}, {h->vmax, 1000.0});
  kiv_chart1d_logx(h, FALSE);
  kiv_chart1d_monitor_start(h, 100000);
  guint first = h->tmout;
  kiv_chart1d_monitor_start(h, 10);
  r.wait_for(r.n + 4);
  g_assert_null(g_main_context_find_source_by_id(NULL, first));
  guint id = h->tmout;
  gpointer chart = h, menu = open_menu(h);
  g_object_add_weak_pointer(G_OBJECT(chart), &chart);
  g_object_add_weak_pointer(G_OBJECT(menu), &menu);
  int redraws = r.n;
  delete &r;
  g_assert_true(redraws > 4 && chart == NULL && menu == NULL);
  g_assert_null(g_main_context_find_source_by_id(NULL, id));
}

/* Text read as a number: its leading number, or the default when there is
 * none or it is out of range.  The menu's check items show the chart's
 * flags; each setting item changes exactly its setting and redraws the
 * chart.  Each colour dialog, cancelled, changes nothing; accepted, its
 * colour. */
static void test_menu_colors(void) {
  std::pair<const char *, double> numbers[] = {{"1.5", 1.5},   {"  -2e3 and more", -2000.0},
                                               {"12,5", 12.0}, {"abc", 7.0},
                                               {"1e400", 7.0}, {"1e-400", 7.0},
                                               {NULL, 7.0},    {"inf", INFINITY}};
  for (auto &k : numbers) g_assert_cmpfloat(chart1d_get_double(k.first, 7.0), ==, k.second);
  Ramp r;
  kiv_chart1d_logx(r.h, TRUE);
  kiv_chart1d_show_stats(r.h, TRUE);
  GtkWidget *menu = open_menu(r.h);
  assert_text(menu_text(menu),
              "Print...|Save as text...|-|colors(Foreground...|Background...|Axis...|Curve...)|-|"
              "X axis...(down|middle|top|none|-|Change range...)|Y axis...(left|middle|right|none|"
              "-|Change range...)|-|+Show stats| filled|+log(x)| log(y)");
  gtk_menu_shell_cancel(GTK_MENU_SHELL(menu));
  std::tuple<const char *, const char *, guint, unsigned long> cases[] = {
      {NULL, "filled", 11, 0x11},       {NULL, "log(x)", 9, 0x11},
      {NULL, "log(y)", 13, 0x11},       {NULL, "Show stats", 5, 0x11},
      {NULL, "log(x)", 7, 0x11},        {"X axis...", "top", 7, 0x14},
      {"X axis...", "middle", 7, 0x12}, {"X axis...", "none", 7, 0x10},
      {"X axis...", "down", 7, 0x11},   {"Y axis...", "right", 7, 0x41},
      {"Y axis...", "middle", 7, 0x21}, {"Y axis...", "none", 7, 0x01},
      {"Y axis...", "left", 7, 0x11}};
  for (auto &[submenu, label, attr, drawaxis] : cases) {
    r.n = 0;
    submenu != NULL ? choose(r.h, {submenu, label}) : choose(r.h, {label});
    r.wait_for(1);
    kiv_assert_each({r.h->attr, attr}, {r.h->drawaxis, drawaxis}, {r.n > 0, 1});
  }
  const char *names[] = {"foreground", "background", "axis", "curve", "foreground"};
  GdkColor pick = {0, 0x1234, 0x5678, 0x9abc}, old = r.h->colors[0];
  for (int i = 0; i < 5; i++) {
    std::string item = std::string(1, g_ascii_toupper(names[i][0])) + (names[i] + 1) + "...";
    DialogScript ds;
    ds.then((std::string("Choose ") + names[i] + " color").c_str(), [&](GtkWidget *d) {
      GtkColorSelectionDialog *c = GTK_COLOR_SELECTION_DIALOG(d);
      gtk_color_selection_set_current_color(GTK_COLOR_SELECTION(c->colorsel), &pick);
      click_later(i == 0 ? c->cancel_button : c->ok_button);
    });
    choose(r.h, {"colors", item.c_str()});
    g_assert_true(gdk_color_equal(&r.h->colors[i % 4], i == 0 ? &old : &pick));
  }
}

/* Every key that reaches the chart is echoed and goes no further.  The
 * "N. bin" field is there for the X axis of a single histogram only; 100
 * bins are rebinned to 50 over 0 to 10, typed as 10 and 0; bin counts that
 * are no number, or beyond any int, are passed on and refused by the
 * histogram.  Without a bin field the function's own range changes, and
 * the chart's: bad numbers read as 0, swapped limits are put in order;
 * limits that end up equal, or are not finite, change nothing; nor does a
 * cancel.  "Print..." writes the format picked, under a name that lacks
 * the format's suffix only when the user says so.  As text, all curves
 * side by side; curves of different binnings have no common table, and
 * nothing is written, not even an empty file; nor where a file cannot be
 * opened. */
static void test_dialogs(void) {
  in_subprocess(
      [] {
        Ramp r;
        KivFunction *f = KIV_FUNCTION(r.hist), *fn = kiv_function_new(10, 0.0, 10.0, ramp);
        gtk_widget_set_can_focus(GTK_WIDGET(r.h), TRUE);
        gtk_widget_grab_focus(GTK_WIDGET(r.h));
        Counter later;
        later.connect(r.h, "key-press-event");
        send_key(r.s.window, 'a');
        range(r.h, 'Y', {"30", "-10"});
        kiv_assert_each({r.c->ymin, -10.0}, {r.c->ymax, 30.0}, {r.c->fixed, 1}, {later.n, 0});
        kiv_histogram_rebin(r.hist, 100, 0.0, 100.0);
        range(r.h, 'X', {"50", "10", "0"}, "100||");
        kiv_assert_each({f->nbin, 50}, {f->xmin, 0.0}, {f->xmax, 10.0}, {r.h->xmin, 0.0},
                        {r.h->xmax, 10.0});
        kiv_expect_warning(
            "kiv_histogram_rebin: 2147483647 bins is more than 999999; keeping 50 bins");
        range(r.h, 'X', {"many", "0", "20"}, "50||");
        range(r.h, 'X', {"99999999999999", "0", "30"}, "50||");
        kiv_assert_each({f->nbin, 50}, {f->xmax, 30.0});
        kiv_chart1d_add_curve(r.h, fn);
        range(r.h, 'X', {}, "|", GTK_RESPONSE_REJECT);
        kiv_chart1d_remove_curves(r.h);
        kiv_chart1d_add_curve(r.h, fn);
        std::tuple<const char *, const char *, double, double, bool> cases[] = {
            {"8", "2", 2, 8, 1},
            {"abc", "-4", -4, 0, 1},
            {"5", "5", -4, 0, 1},
            {"nan", "3", -4, 0, 1},
            {"1", "2", -4, 0, 0}};
        for (auto &[lo, hi, want_lo, want_hi, ok] : cases) {
          range(r.h, 'X', {lo, hi}, "|", ok ? GTK_RESPONSE_ACCEPT : GTK_RESPONSE_REJECT);
          kiv_assert_each({fn->xmin, want_lo}, {fn->xmax, want_hi}, {r.h->xmin, want_lo},
                          {r.h->xmax, want_hi});
        }
        g_object_unref(fn);
        KivFunction *fa = kiv_function_new(5, 0.0, 5.0, ramp);
        KivHistogram *hist = ramp_histogram(5, 0.0, 5.0);
        Shown s(KIV_FUNCTION(hist), 300, 200);
        std::tuple<const char *, int, const char *, int, const char *, const char *> prints[] = {
            {"plot", 1, "No file suffix", GTK_RESPONSE_ACCEPT, "plot.jpg", "\xff\xd8\xff"},
            {"plot", 4, "No file suffix", GTK_RESPONSE_REJECT, "plot", "%!PS"},
            {"plot.JPG", 2, NULL, 0, "plot.JPG", "%PDF-"},
            {"plot.txt", 0, "No or wrong file suffix", GTK_RESPONSE_ACCEPT, "plot.txt.png",
             "\x89PNG"}};
        for (auto &[name, format, question, answer, file, magic] : prints) {
          save(s.chart, name, format, question, answer);
          assert_text(read(file, strlen(magic)), magic);
          unlink(file);
        }
        kiv_chart1d_add_curve(s.chart, fa);
        save(s.chart, "curves.dat.x");
        assert_text(
            read("curves.dat.x"),
            "1D 5 0.000000 5.000000\t[nbin xmin xmax]\n\"X\"\t\"Function_0\"\t"
            "\"Function_1\"\n0.500000\t1.000000\t0.500000\n1.500000\t2.000000\t1.500000\n2.500000\t"
            "3.000000\t2.500000\n3.500000\t4.000000\t3.500000\n4.500000\t5.000000\t4.500000\n");
        kiv_expect_warning("Could not open output file /nonexistent-dir/x.txt\n");
        save(s.chart, "/nonexistent-dir/x.txt");
        kiv_chart1d_add_curve(s.chart, kiv_function_new(2, 0.0, 5.0, ramp));
        unlink("curves.dat.x");
        kiv_expect_warning(
            "on_kiv_as_text: the curves of this chart have no common table; odd.txt not written");
        save(s.chart, "odd.txt");
        assert_text(read(NULL), "");
      },
      "Key 97 61\n**New numnber of bins: 50\n**New numnber of bins: 0\n"
      "**New numnber of bins: 2147483647\n",
      NULL);
}

int main(int argc, char **argv) {
  kivtest::init(&argc, &argv);
  add_widget_test("/chart1d-interaction/pointer-zoom-monitor", test_pointer_zoom_monitor);
  add_widget_test("/chart1d-interaction/menu-colors", test_menu_colors);
  add_widget_test("/chart1d-interaction/dialogs", test_dialogs);
  /* Submenus open at once when their item is selected. */
  if (display_ok) g_object_set(gtk_settings_get_default(), "gtk-menu-popup-delay", 0, NULL);
  /* A folder of the run's own (a test in a child process has one of its
   * child's) takes the files written. */
  g_autofree gchar *dir = g_dir_make_tmp("kiv-interaction-XXXXXX", NULL);
  g_assert_cmpint(chdir(dir), ==, 0);
  int failed = g_test_run();
  g_assert_cmpint(system((std::string("rm -r '") + dir + "'").c_str()), ==, 0);
  return failed;
}
