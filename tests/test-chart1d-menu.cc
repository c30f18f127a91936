/* Tests of the popup menu of KivChart1D and of its dialogs on a real X
 * server: the menu is opened with a right-button press, items are chosen
 * as a user would, and every modal dialog is answered from the test, so
 * that colours really change, histograms are really rebinned and files
 * really written. */
#include "chart1d-fixture.h"

#include <algorithm>
#include <csignal>
#include <cstring>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace kivtest;

namespace {

double ramp(double x) {
  return x;
}

/* The items of a menu: labels, "-" for a separator, and "+" or " " before
 * a check item that is on or off. */
std::string menu_text(GtkWidget *menu) {
  std::string out;
  GList *items = gtk_container_get_children(GTK_CONTAINER(menu));
  for (GList *l = items; l != NULL; l = l->next) {
    GtkWidget *item = GTK_WIDGET(l->data);
    out += l == items ? "" : "|";
    if (GTK_IS_SEPARATOR_MENU_ITEM(item))
      out += gtk_widget_is_sensitive(item) ? "sensitive separator" : "-";
    else if (GTK_IS_CHECK_MENU_ITEM(item))
      out += (gtk_check_menu_item_get_active(GTK_CHECK_MENU_ITEM(item)) ? "+" : " ") +
             item_label(item);
    else
      out += item_label(item);
  }
  g_list_free(items);
  return out;
}

std::string submenu_text(GtkWidget *menu, const char *label) {
  return menu_text(gtk_menu_item_get_submenu(GTK_MENU_ITEM(menu_item(menu, label))));
}

/* The labels and entries packed straight into a dialog's content area:
 * label texts, and entries as "[text]". */
std::string fields(GtkWidget *dialog, std::vector<GtkWidget *> *entries = NULL) {
  std::string out;
  GList *kids = gtk_container_get_children(
      GTK_CONTAINER(gtk_dialog_get_content_area(GTK_DIALOG(dialog))));
  for (GList *l = kids; l != NULL; l = l->next) {
    GtkWidget *w = GTK_WIDGET(l->data);
    if (GTK_IS_LABEL(w))
      out += std::string(gtk_label_get_text(GTK_LABEL(w))) + " ";
    if (GTK_IS_ENTRY(w)) {
      out += std::string("[") + gtk_entry_get_text(GTK_ENTRY(w)) + "] ";
      if (entries != NULL)
        entries->push_back(w);
    }
  }
  g_list_free(kids);
  return out;
}

/* The range dialog of an axis answered with texts for its entries, after
 * checking its fields when want is given. */
void change_range(KivChart1D *h, const char *axis, std::vector<std::string> texts,
                  int response = GTK_RESPONSE_ACCEPT, std::string want = "") {
  DialogScript ds;
  ds.then(axis[0] == 'X' ? "Set the X axis range" : "Set the Y axis range", [&](GtkWidget *d) {
    std::vector<GtkWidget *> entries;
    std::string f = fields(d, &entries);
    if (!want.empty())
      assert_text(f, want);
    for (size_t i = 0; i < texts.size(); i++)
      gtk_entry_set_text(GTK_ENTRY(entries.at(i)), texts[i].c_str());
    respond_later(d, response);
  });
  choose(h, {axis, "Change range..."});
}

/* A directory of its own, made the current one, so that names without a
 * directory land there too. */
struct TempDir {
  std::string path;
  gchar *old_cwd = g_get_current_dir();
  TempDir() {
    gchar *p = g_dir_make_tmp("chart1d-menu-XXXXXX", NULL);
    path = p;
    g_free(p);
    g_assert_cmpint(chdir(path.c_str()), ==, 0);
  }
  ~TempDir() {
    g_assert_cmpint(chdir(old_cwd), ==, 0);
    g_free(old_cwd);
    std::string cmd = "rm -rf '" + path + "'";
    g_assert_cmpint(system(cmd.c_str()), ==, 0);
  }
  std::string listing() const {
    std::vector<std::string> names;
    GDir *d = g_dir_open(path.c_str(), 0, NULL);
    while (const char *n = g_dir_read_name(d))
      names.push_back(n);
    g_dir_close(d);
    std::sort(names.begin(), names.end());
    std::string out;
    for (auto &n : names)
      out += (out.empty() ? "" : " ") + n;
    return out;
  }
};

std::string contents(const std::string &file) {
  gchar *data = NULL;
  gsize len = 0;
  if (!g_file_get_contents(file.c_str(), &data, &len, NULL))
    return "<missing>";
  std::string s(data, len);
  g_free(data);
  return s;
}

/* Answers the "Print..." dialog with a name and a format. */
DialogScript::Action print_as(std::string name, std::string format) {
  return [name, format](GtkWidget *d) {
    gtk_entry_set_text(GTK_ENTRY(find_one(d, GTK_TYPE_ENTRY)), name.c_str());
    GtkComboBox *combo = GTK_COMBO_BOX(find_one(d, GTK_TYPE_COMBO_BOX));
    const char *formats[] = {"png", "jpeg", "pdf", "svg", "eps"};
    for (int i = 0; i < 5; i++) {
      gtk_combo_box_set_active(combo, i);
      gchar *f = gtk_combo_box_text_get_active_text(GTK_COMBO_BOX_TEXT(combo));
      assert_text(f, formats[i]);
      g_free(f);
      if (format == formats[i])
        break;
    }
    respond_later(d, GTK_RESPONSE_ACCEPT);
  };
}

/* Answers the "Save as text..." dialog, which has no format. */
void save_text(KivChart1D *h, const char *name) {
  std::string n = name;
  DialogScript ds;
  ds.then("Save Histogram as text", [n](GtkWidget *d) {
    std::vector<GtkWidget *> combos;
    find_all(d, GTK_TYPE_COMBO_BOX, &combos);
    g_assert_true(combos.empty());
    gtk_entry_set_text(GTK_ENTRY(find_one(d, GTK_TYPE_ENTRY)), n.c_str());
    respond_later(d, GTK_RESPONSE_ACCEPT);
  });
  choose(h, {"Save as text..."});
}

/* Presses a dialog's browse button, checks the chooser's title and filter
 * names, cancels it and accepts the dialog with the name it left. */
void browse_and_cancel(KivChart1D *h, const char *dialog, const char *item, const char *chooser,
                       const char *filters, const char *name) {
  DialogScript ds;
  ds.then(dialog, [](GtkWidget *d) { click_later(find_button(d, GTK_STOCK_OPEN)); })
      .then(chooser,
            [filters](GtkWidget *d) {
              g_assert_cmpint(gtk_file_chooser_get_action(GTK_FILE_CHOOSER(d)), ==,
                              GTK_FILE_CHOOSER_ACTION_SAVE);
              std::string names;
              GSList *list = gtk_file_chooser_list_filters(GTK_FILE_CHOOSER(d));
              for (GSList *l = list; l != NULL; l = l->next) {
                const char *n = gtk_file_filter_get_name(GTK_FILE_FILTER(l->data));
                names += std::string(n ? n : "(none)") + ";";
              }
              g_slist_free(list);
              assert_text(names, filters);
              respond_later(d, GTK_RESPONSE_CANCEL);
            })
      .back_to(dialog, [name](GtkWidget *d) {
        assert_text(gtk_entry_get_text(GTK_ENTRY(find_one(d, GTK_TYPE_ENTRY))), name);
        respond_later(d, GTK_RESPONSE_ACCEPT);
      });
  choose(h, {item});
}

guint menu_windows() {
  guint n = 0;
  GList *tops = gtk_window_list_toplevels();
  for (GList *l = tops; l != NULL; l = l->next)
    n += GTK_IS_MENU(gtk_bin_get_child(GTK_BIN(l->data)));
  g_list_free(tops);
  return n;
}

} // namespace

static void test_get_double(void) {
  struct {
    const char *text;
    double want;
  } cases[] = {
      {"1.5", 1.5},   {"  -2e3 and more", -2000.0}, {"\t1e308", 1e308}, {"12,5", 12.0},
      {"", 7.0},      {"   ", 7.0},                 {"abc", 7.0},       {"-", 7.0},
      {"1e400", 7.0}, {"-1e400", 7.0},              {"1e-400", 7.0},    {NULL, 7.0},
  };
  for (auto &k : cases)
    g_assert_cmpfloat(chart1d_get_double(k.text, 7.0), ==, k.want);
  g_assert_true(std::isinf(chart1d_get_double("inf", 7.0)));
}

/* The items in order, the check items showing the chart's flags, and the
 * table pointing at the chart whose menu was built last. */
static void test_menu_structure(void) {
  KivHistogram *hist = ramp_histogram(10, 0.0, 10.0);
  Shown a(KIV_FUNCTION(hist), 300, 200), b(KIV_FUNCTION(hist), 300, 200);
  kiv_chart1d_logx(a.chart, TRUE);
  kiv_chart1d_show_stats(a.chart, TRUE);
  for (Shown *s : {&a, &b}) {
    GtkWidget *menu = open_menu(s->chart);
    bool is_a = s == &a;
    assert_text(menu_text(menu), std::string("Print...|Save as text...|-|colors|-|X axis...|"
                                             "Y axis...|-|") +
                                     (is_a ? "+" : " ") + "Show stats| filled|" +
                                     (is_a ? "+" : " ") + "log(x)| log(y)");
    assert_text(submenu_text(menu, "colors"), "Foreground...|Background...|Axis...|Curve...");
    assert_text(submenu_text(menu, "X axis..."), "down|middle|top|none|-|Change range...");
    assert_text(submenu_text(menu, "Y axis..."), "left|middle|right|none|-|Change range...");
    for (int i = 0; i < 24; i++) {
      g_assert_cmpint(itmData[i].item, ==, i);
      g_assert_true(itmData[i].kiv == s->chart);
    }
    g_assert_cmpuint(s->chart->evt->button, ==, 1);
    gtk_menu_shell_cancel(GTK_MENU_SHELL(menu));
  }
  g_object_unref(hist);
}

/* Each setting item changes exactly its setting, and the chart is redrawn. */
static void test_menu_actions(void) {
  KivHistogram *hist = ramp_histogram(10, 0.0, 10.0);
  Shown s(KIV_FUNCTION(hist), 300, 200);
  KivChart1D *h = s.chart;
  int exposes = 0;
  g_signal_connect(h, "expose-event", G_CALLBACK(+[](GtkWidget *, GdkEvent *, int *n) {
                     (*n)++;
                     return FALSE;
                   }),
                   &exposes);
  struct {
    const char *submenu, *label;
    guint attr;
    unsigned long drawaxis;
  } cases[] = {
      {NULL, "filled", 1, 0x11},         {NULL, "log(x)", 3, 0x11},
      {NULL, "log(y)", 7, 0x11},         {NULL, "Show stats", 15, 0x11},
      {NULL, "log(x)", 13, 0x11},        {"X axis...", "top", 13, 0x14},
      {"X axis...", "middle", 13, 0x12}, {"X axis...", "none", 13, 0x10},
      {"X axis...", "down", 13, 0x11},   {"Y axis...", "right", 13, 0x41},
      {"Y axis...", "middle", 13, 0x21}, {"Y axis...", "none", 13, 0x01},
      {"Y axis...", "left", 13, 0x11},
  };
  for (auto &k : cases) {
    drain();
    exposes = 0;
    if (k.submenu != NULL)
      choose(h, {k.submenu, k.label});
    else
      choose(h, {k.label});
    g_assert_cmpuint(h->attr, ==, k.attr);
    g_assert_cmpuint(h->drawaxis, ==, k.drawaxis);
    g_assert_cmpint(exposes, >, 0);
  }
  assert_text(menu_text(open_menu(h)), "Print...|Save as text...|-|colors|-|X axis...|"
                                       "Y axis...|-|+Show stats|+filled| log(x)|+log(y)");
  g_object_unref(hist);
}

/* Every menu is destroyed once used, an item chosen or not: a thousand
 * menus leave none behind.  One never closed goes with the next press. */
static void test_menu_disposal(void) {
  KivHistogram *hist = ramp_histogram(10, 0.0, 10.0);
  Shown s(KIV_FUNCTION(hist), 300, 200);
  for (int i = 0; i < 1000; i++) {
    gpointer menu = open_menu(s.chart);
    g_object_add_weak_pointer(G_OBJECT(menu), &menu);
    if (i % 100 == 0)
      choose(GTK_WIDGET(menu), {"X axis...", i % 200 == 0 ? "top" : "down"});
    else
      gtk_menu_shell_cancel(GTK_MENU_SHELL(menu));
    drain();
    if (menu != NULL)
      g_error("menu %d is still there", i);
  }
  g_assert_cmpuint(menu_windows(), ==, 0);
  g_assert_cmpuint(s.chart->drawaxis, ==, 0x11);

  gpointer menu = open_menu(s.chart);
  g_object_add_weak_pointer(G_OBJECT(menu), &menu);
  gtk_menu_popdown(GTK_MENU(menu));
  open_menu(s.chart);
  g_assert_null(menu);
  g_assert_cmpuint(menu_windows(), ==, 4); /* one menu and its three submenus */
  g_object_unref(hist);
}

static void test_colors(void) {
  KivHistogram *hist = ramp_histogram(10, 0.0, 10.0);
  Shown s(KIV_FUNCTION(hist), 300, 200);
  KivChart1D *h = s.chart;
  const char *items[] = {"Foreground...", "Background...", "Axis...", "Curve..."};
  const char *titles[] = {"Choose foreground color", "Choose background color",
                          "Choose axis color", "Choose curve color"};
  for (int i = 0; i < 4; i++) {
    GdkColor old = h->colors[i], pick = {0, 0x1234, 0x5678, 0x9abc};
    for (const char *button : {"cancel-button", "ok-button"}) {
      DialogScript ds;
      ds.then(titles[i], [&](GtkWidget *d) {
        GtkWidget *sel = NULL, *b = NULL;
        g_object_get(d, "color-selection", &sel, button, &b, NULL);
        GtkColorSelection *cs = GTK_COLOR_SELECTION(sel);
        GdkColor cur, prev;
        gtk_color_selection_get_current_color(cs, &cur);
        gtk_color_selection_get_previous_color(cs, &prev);
        g_assert_true(gdk_color_equal(&cur, &old) && gdk_color_equal(&prev, &old));
        g_assert_true(gtk_color_selection_get_has_palette(cs));
        g_assert_cmpuint(gtk_container_get_border_width(GTK_CONTAINER(sel)), ==, 10);
        gtk_color_selection_set_current_color(cs, &pick);
        click_later(b);
        g_object_unref(sel);
        g_object_unref(b);
      });
      choose(h, {"colors", items[i]});
      g_assert_true(gdk_color_equal(&h->colors[i], button[0] == 'c' ? &old : &pick));
    }
  }
  GdkPixbuf *pb = NULL;
  g_object_get(h, "pixmap", &pb, NULL);
  const guchar *p = gdk_pixbuf_get_pixels(pb) + 150 * 4;
  g_assert_true(p[0] == 0x12 && p[1] == 0x56 && p[2] == 0x9a);
  g_object_unref(pb);
  g_object_unref(hist);
}

/* 100 bins rebinned to 50 over 0 to 10, typed as 10 and 0; a chart that
 * follows the histogram takes the new range, one that does not keeps its
 * own.  Bin counts that are no number, or beyond any int, are passed on
 * and refused by the histogram. */
static void range_rebin(void) {
  KivHistogram *hist = ramp_histogram(100, 0.0, 100.0);
  KivFunction *f = KIV_FUNCTION(hist);
  Shown s(f, 300, 200), follower(f, 300, 200), other(f, 300, 200);
  kiv_chart1d_sync_range(follower.chart, TRUE);

  change_range(s.chart, "X axis...", {"50", "10", "0"}, GTK_RESPONSE_ACCEPT,
               "N. bin [100] X min [] X max [] ");
  g_assert_cmpint(f->nbin, ==, 50);
  g_assert_true(f->xmin == 0.0 && f->xmax == 10.0);
  g_assert_true(s.chart->xmin == 0.0 && s.chart->xmax == 10.0);
  g_assert_cmpfloat(follower.chart->xmax, ==, 10.0);
  g_assert_cmpfloat(other.chart->xmax, ==, 100.0);
  double sum = 0.0;
  for (int i = 0; i < 50; i++)
    sum += kiv_histogram_get_bin_content(hist, i);
  g_assert_cmpfloat_with_epsilon(sum, 55.0, 1e-9);

  change_range(s.chart, "X axis...", {"many", "0", "20"});
  g_assert_true(f->nbin == 50 && f->xmax == 20.0);
  kiv_expect_warning("kiv_histogram_rebin: 2147483647 bins is more than 999999; keeping 50 bins");
  change_range(s.chart, "X axis...", {"99999999999999", "0", "30"});
  g_test_assert_expected_messages();
  g_assert_true(f->nbin == 50 && f->xmax == 30.0);
  g_object_unref(hist);
}

static void test_range_rebin(void) {
  in_subprocess(range_rebin, "**New numnber of bins: 50\n**New numnber of bins: 0\n"
                "**New numnber of bins: 2147483647\n", NULL);
}

/* The "N. bin" field is there for the X axis of a single histogram only
 * (a tracer is one too, its bins following the chart's width). */
static void test_range_fields(void) {
  KivHistogram *hist = ramp_histogram(10, 0.0, 10.0);
  KivFunction *fn = kiv_function_new(10, 0.0, 10.0, ramp);
  KivTracer *tr = kiv_tracer_new(20);
  Shown one(KIV_FUNCTION(hist), 300, 200), two(KIV_FUNCTION(hist), 300, 200);
  Shown plain(fn, 300, 200), tracer(KIV_FUNCTION(tr), 300, 200);
  kiv_chart1d_add_curve(two.chart, fn);
  std::string nbin = "N. bin [" + std::to_string(KIV_FUNCTION(tr)->nbin) + "] ";
  change_range(one.chart, "Y axis...", {}, GTK_RESPONSE_REJECT, "Y min [] Y max [] ");
  change_range(two.chart, "X axis...", {}, GTK_RESPONSE_REJECT, "X min [] X max [] ");
  change_range(plain.chart, "X axis...", {}, GTK_RESPONSE_REJECT, "X min [] X max [] ");
  change_range(tracer.chart, "X axis...", {}, GTK_RESPONSE_REJECT, nbin + "X min [] X max [] ");
  g_object_unref(hist);
  g_object_unref(fn);
  g_object_unref(tr);
}

/* Without a bin field the function's own range changes, and the chart's.
 * Bad numbers read as 0, swapped limits are put in order; limits that end
 * up equal, or are not finite, change nothing. */
static void test_range_values(void) {
  KivFunction *fn = kiv_function_new(10, 0.0, 10.0, ramp);
  Shown s(fn, 300, 200);
  KivChart1D *h = s.chart;
  KivCanvas *c = h->cnvs;
  struct {
    const char *lo, *hi;
    double want_lo, want_hi;
  } cases[] = {
      {"8", "2", 2.0, 8.0},        {"abc", "4", 0.0, 4.0},       {"", "-3", -3.0, 0.0},
      {"5", "5", -3.0, 0.0},       {"1e400", "7", 0.0, 7.0},     {"", "", 0.0, 7.0},
      {" 1.5e2xyz", "-1e308", -1e308, 150.0},                    {"nan", "3", -1e308, 150.0},
      {"-inf", "3", -1e308, 150.0},
  };
  for (auto &k : cases) {
    change_range(h, "X axis...", {k.lo, k.hi});
    g_assert_true(fn->xmin == k.want_lo && fn->xmax == k.want_hi);
    g_assert_true(h->xmin == k.want_lo && h->xmax == k.want_hi);
    g_assert_true(c->xmin == k.want_lo && c->xmax == k.want_hi);
  }
  change_range(h, "X axis...", {"1", "2"}, GTK_RESPONSE_REJECT);
  g_assert_cmpfloat(fn->xmax, ==, 150.0);

  change_range(h, "Y axis...", {"30", "-10"});
  g_assert_true(c->ymin == -10.0 && c->ymax == 30.0 && c->fixed);
  change_range(h, "Y axis...", {"x", "y"});
  g_assert_true(c->ymin == -10.0 && c->ymax == 30.0 && c->fixed);

  /* A chart without functions still shows the range given. */
  kiv_chart1d_remove_curves(h);
  change_range(h, "X axis...", {"-4", "4"});
  g_assert_true(h->xmin == -4.0 && h->xmax == 4.0);
  g_object_unref(fn);
}

/* The suffix rules of "Print...", with the questions they ask. */
static void test_print(void) {
  KivHistogram *hist = ramp_histogram(10, 0.0, 10.0);
  Shown s(KIV_FUNCTION(hist), 300, 200);
  TempDir dir;
  g_assert_cmpint(mkdir("data.old", 0700), ==, 0);
  const std::string none = "The file does not have a suffix.\nDo you want me to add the right "
                           "one ? ";
  const std::string wrong = "The file does not have or have the wrong\nsuffix. Do you want me "
                            "to add the right one ? ";
  struct {
    const char *name, *format;
    const std::string *question;
    int answer;
    const char *file, *magic;
  } cases[] = {
      {"plot", "pdf", &none, GTK_RESPONSE_ACCEPT, "plot.pdf", "%PDF-"},
      {"plot", "jpeg", &none, GTK_RESPONSE_ACCEPT, "plot.jpg", "\xff\xd8\xff"},
      {"plot", "eps", &none, GTK_RESPONSE_REJECT, "plot", "%!PS"},
      {"plot.JPG", "png", NULL, 0, "plot.JPG", "\x89PNG"},
      {"plot.Svg", "svg", NULL, 0, "plot.Svg", "<?xml"},
      {"plot.txt", "svg", &wrong, GTK_RESPONSE_ACCEPT, "plot.txt.svg", "<?xml"},
      {"plot.txt", "svg", &wrong, GTK_RESPONSE_REJECT, "plot.txt", "<?xml"},
      {"plot.ps", "eps", &wrong, GTK_RESPONSE_ACCEPT, "plot.ps.eps", "%!PS"},
      {"data.old/plot", "png", &wrong, GTK_RESPONSE_ACCEPT, "data.old/plot.png", "\x89PNG"},
      {"", "png", &none, GTK_RESPONSE_ACCEPT, ".png", "\x89PNG"},
  };
  for (auto &k : cases) {
    {
      DialogScript ds;
      ds.then("Save Histogram image", print_as(k.name, k.format));
      if (k.question != NULL)
        ds.then(k.question == &none ? "No file suffix" : "No or wrong file suffix",
                [&k](GtkWidget *d) {
                  assert_text(fields(d), *k.question);
                  respond_later(d, k.answer);
                });
      choose(s.chart, {"Print..."});
    }
    if (contents(k.file).compare(0, strlen(k.magic), k.magic) != 0)
      g_error("%s as %s did not write %s", k.name, k.format, k.file);
    unlink(k.file);
  }
  assert_text(dir.listing(), "data.old");

  /* Cancelled: nothing written; the dialog starts empty and at "png". */
  {
    DialogScript ds;
    ds.then("Save Histogram image", [](GtkWidget *d) {
      gchar *f = gtk_combo_box_text_get_active_text(
          GTK_COMBO_BOX_TEXT(find_one(d, GTK_TYPE_COMBO_BOX)));
      assert_text(f, "png");
      g_free(f);
      GtkEntry *entry = GTK_ENTRY(find_one(d, GTK_TYPE_ENTRY));
      assert_text(gtk_entry_get_text(entry), "");
      gtk_entry_set_text(entry, "never.png");
      respond_later(d, GTK_RESPONSE_REJECT);
    });
    choose(s.chart, {"Print..."});
  }
  assert_text(dir.listing(), "data.old");

  browse_and_cancel(s.chart, "Save Histogram image", "Print...", "Open file",
                    "PNG files;JPEG Files;JPEG Files;PDF Files;PS Files;SVG Files;All;",
                    "histogram.png");
  assert_text(contents("histogram.png").substr(0, 4), "\x89PNG");
  g_object_unref(hist);
}

static void test_print_unwritable(void) {
  in_subprocess(
      [] {
        KivHistogram *hist = ramp_histogram(10, 0.0, 10.0);
        Shown s(KIV_FUNCTION(hist), 300, 200);
        DialogScript ds;
        ds.then("Save Histogram image", print_as("/nonexistent-dir/plot.png", "png"));
        choose(s.chart, {"Print..."});
        g_object_unref(hist);
      },
      "Cannot open /nonexistent-dir/plot.png for writing\n", NULL);
}

static double wave(double x, double y) {
  return x + 10 * y;
}

static void test_as_text(void) {
  KivHistogram *hist = ramp_histogram(5, 0.0, 5.0);
  KivFunction *fa = kiv_function_new(5, 0.0, 5.0, ramp);
  KivFunction *coarse = kiv_function_new(2, 0.0, 5.0, ramp);
  KivFunction2D *f2 = kiv_function2d_new(3, 0.0, 3.0, 2, 0.0, 2.0, wave);
  Shown three(KIV_FUNCTION(hist), 300, 200), flat(KIV_FUNCTION(f2), 300, 200);
  kiv_chart1d_add_curve(three.chart, fa);
  kiv_chart1d_add_curve(three.chart, fa);
  TempDir dir;

  /* All curves side by side, under the name as typed. */
  save_text(three.chart, "curves.dat.x");
  GString *want = kiv_function_print_list(three.chart->curves);
  assert_text(contents("curves.dat.x"), want->str);
  g_string_free(want, TRUE);
  /* The two-dimensional dump of a two-dimensional function. */
  save_text(flat.chart, "map");
  want = kiv_function_print(KIV_FUNCTION(f2));
  assert_text(contents("map"), want->str);
  g_string_free(want, TRUE);

  browse_and_cancel(three.chart, "Save Histogram as text", "Save as text...",
                    "Output text file", "(none);(none);", "data.txt");
  assert_text(contents("data.txt").substr(0, 5), "1D 5 ");

  /* Curves of different binnings have no common table: nothing written,
   * not even an empty file; nor where a file cannot be opened. */
  kiv_chart1d_add_curve(three.chart, coarse);
  kiv_expect_warning("on_kiv_as_text: the curves of this chart have no common table; "
                     "odd.txt not written");
  save_text(three.chart, "odd.txt");
  kiv_expect_warning("Could not open output file /nonexistent-dir/x.txt\n");
  save_text(flat.chart, "/nonexistent-dir/x.txt");
  kiv_expect_warning("Could not open output file \n");
  save_text(flat.chart, "");
  g_test_assert_expected_messages();
  assert_text(dir.listing(), "curves.dat.x data.txt map");
  g_object_unref(coarse);
  g_object_unref(f2);
  g_object_unref(fa);
  g_object_unref(hist);
}

/* Files may grow to 100 bytes only: what cannot be written whole is not
 * left behind; what fits is written. */
static void write_failure(void) {
  KivHistogram *hist = ramp_histogram(200, 0.0, 200.0);
  Shown s(KIV_FUNCTION(hist), 300, 200);
  TempDir dir;
  signal(SIGXFSZ, SIG_IGN);
  struct rlimit lim = {100, 100};
  g_assert_cmpint(setrlimit(RLIMIT_FSIZE, &lim), ==, 0);

  g_assert_cmpint(kiv_chart1d_print(s.chart, "big.png", "png"), ==, -1);
  {
    DialogScript ds;
    ds.then("Save Histogram image", print_as("big.pdf", "pdf"));
    choose(s.chart, {"Print..."});
  }
  kiv_expect_warning("Could not write output file big.txt\n");
  save_text(s.chart, "big.txt");
  g_test_assert_expected_messages();
  assert_text(dir.listing(), "");

  KivFunction *tiny = kiv_function_new(1, 0.0, 1.0, ramp);
  kiv_chart1d_remove_curves(s.chart);
  kiv_chart1d_add_curve(s.chart, tiny);
  save_text(s.chart, "small.txt");
  assert_text(dir.listing(), "small.txt");
  g_object_unref(tiny);
  g_object_unref(hist);
}

static void test_write_failure(void) {
  in_subprocess(write_failure, "Cannot write big.png\nCannot write big.pdf\n", NULL);
}

/* Filters with and without a name, the path chosen; opening, cancelled. */
static void test_get_file_name(void) {
  TempDir dir;
  DialogScript ds;
  ds.then("Pick one",
          [&dir](GtkWidget *d) {
            GtkFileChooser *fc = GTK_FILE_CHOOSER(d);
            g_assert_cmpint(gtk_file_chooser_get_action(fc), ==, GTK_FILE_CHOOSER_ACTION_SAVE);
            GSList *filters = gtk_file_chooser_list_filters(fc);
            GtkFileFilter *png = GTK_FILE_FILTER(filters->data);
            GtkFileFilter *any = GTK_FILE_FILTER(filters->next->data);
            g_assert_null(filters->next->next);
            g_slist_free(filters);
            assert_text(gtk_file_filter_get_name(png), "Pictures");
            g_assert_null(gtk_file_filter_get_name(any));
            GtkFileFilterInfo info = {GTK_FILE_FILTER_DISPLAY_NAME, NULL, NULL, "a.png", NULL};
            g_assert_true(gtk_file_filter_filter(png, &info) && gtk_file_filter_filter(any, &info));
            info.display_name = "a.txt";
            g_assert_false(gtk_file_filter_filter(png, &info));
            info.display_name = "notes";
            g_assert_false(gtk_file_filter_filter(any, &info));
            gtk_file_chooser_set_current_folder(fc, dir.path.c_str());
            gtk_file_chooser_set_current_name(fc, "chosen.png");
            respond_later(d, GTK_RESPONSE_ACCEPT);
          })
      .then("Open one", [](GtkWidget *d) {
        GtkFileChooser *fc = GTK_FILE_CHOOSER(d);
        g_assert_cmpint(gtk_file_chooser_get_action(fc), ==, GTK_FILE_CHOOSER_ACTION_OPEN);
        g_assert_null(gtk_file_chooser_list_filters(fc));
        respond_later(d, GTK_RESPONSE_CANCEL);
      });
  const char *filters[] = {"Pictures|*.png", "*.*", NULL};
  gchar *name = get_file_name("Pick one", FALSE, filters);
  assert_text(name, dir.path + "/chosen.png");
  g_free(name);
  g_assert_null(get_file_name("Open one", TRUE, NULL));
}

int main(int argc, char **argv) {
  g_test_init(&argc, &argv, NULL);
  g_test_add_func("/chart1d-menu/get-double", test_get_double);
  if (!gtk_init_check(&argc, &argv)) {
    g_test_add_func("/chart1d-menu/widgets", [] { g_test_skip("no X display"); });
    return g_test_run();
  }
  /* Submenus open at once when their item is selected; a chosen file goes
   * into a list of recent files of the test's own. */
  g_object_set(gtk_settings_get_default(), "gtk-menu-popup-delay", 0, NULL);
  keep_to_corner(GDK_GRAVITY_NORTH_EAST);
  TempDir *data_home = g_test_subprocess() ? NULL : new TempDir;
  if (data_home != NULL)
    g_setenv("XDG_DATA_HOME", data_home->path.c_str(), TRUE);

  g_test_add_func("/chart1d-menu/structure", test_menu_structure);
  g_test_add_func("/chart1d-menu/actions", test_menu_actions);
  g_test_add_func("/chart1d-menu/disposal", test_menu_disposal);
  g_test_add_func("/chart1d-menu/colors", test_colors);
  g_test_add_func("/chart1d-menu/range-rebin", test_range_rebin);
  g_test_add_func("/chart1d-menu/range-fields", test_range_fields);
  g_test_add_func("/chart1d-menu/range-values", test_range_values);
  g_test_add_func("/chart1d-menu/print", test_print);
  g_test_add_func("/chart1d-menu/print-unwritable", test_print_unwritable);
  g_test_add_func("/chart1d-menu/as-text", test_as_text);
  g_test_add_func("/chart1d-menu/write-failure", test_write_failure);
  g_test_add_func("/chart1d-menu/get-file-name", test_get_file_name);
  int status = g_test_run();
  delete data_home;
  return status;
}
