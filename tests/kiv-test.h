/* kiv-test.h: what the test programs share: expected messages, a display
 * and a shown chart, pixels read back and compared with reference
 * pictures, events sent through GTK's own path, and a driver that answers
 * the modal dialogs a chart runs. */
#ifndef KIV_TEST_H
#define KIV_TEST_H

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <gtkkiv.h>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

/* The library logs under its own domain; GLib's property system under
 * "GLib-GObject". */
#define KIV_LOG_DOMAIN "Gtkkiv"
#define kiv_expect_critical(glob)                                                                  \
  g_test_expect_message(KIV_LOG_DOMAIN, G_LOG_LEVEL_CRITICAL, (glob))
#define kiv_expect_warning(glob) g_test_expect_message(KIV_LOG_DOMAIN, G_LOG_LEVEL_WARNING, (glob))

namespace kivtest {

/* Counts emissions of a signal, whatever its arguments; on a signal that
 * returns a boolean it lets the emission go on. */
struct Counter {
  int n = 0;
  static gboolean bump(Counter *self) {
    self->n++;
    return FALSE;
  }
  gulong connect(gpointer instance, const char *signal) {
    return g_signal_connect_swapped(instance, signal, G_CALLBACK(bump), this);
  }
};

/* Checks pairs {got, want} for equality, naming the first that differs by
 * its place in the list: kiv_assert_each({a, 1}, {b, 2.5}). */
inline void assert_each(const char *file, int line,
                        std::initializer_list<std::pair<double, double>> pairs) {
  int i = 0;
  for (const auto &p : pairs) {
    if (!(p.first == p.second)) {
      gchar *msg = g_strdup_printf("pair %d: %.17g != %.17g", i, p.first, p.second);
      g_assertion_message(G_LOG_DOMAIN, file, line, "kiv_assert_each", msg);
      g_free(msg);
    }
    i++;
  }
}
#define kiv_assert_each(...) kivtest::assert_each(__FILE__, __LINE__, {__VA_ARGS__})

/* Runs body in a child process that runs the current test path again, and
 * matches what the child printed; a NULL glob is not checked. */
template <typename Body>
void in_subprocess(Body body, const char *stdout_glob, const char *stderr_glob) {
  if (g_test_subprocess()) {
    body();
    return;
  }
  g_test_trap_subprocess(NULL, 0, G_TEST_SUBPROCESS_DEFAULT);
  g_test_trap_assert_passed();
  if (stdout_glob != NULL) g_test_trap_assert_stdout(stdout_glob);
  if (stderr_glob != NULL) g_test_trap_assert_stderr(stderr_glob);
}

/* ---- A display, and widgets shown on it. ---- */

inline bool display_ok = false;

/* g_test_init and, when a display can be opened, GTK. */
inline void init(int *argc, char ***argv) {
  g_test_init(argc, argv, NULL);
  display_ok = gtk_init_check(argc, argv);
}

/* Registers a test that needs a display; without one it is skipped. */
inline void add_widget_test(const char *path, void (*fn)(void)) {
  g_test_add_data_func(path, reinterpret_cast<gconstpointer>(fn), [](gconstpointer data) {
    if (!display_ok)
      g_test_skip("no X display");
    else
      reinterpret_cast<void (*)(void)>(const_cast<gpointer>(data))();
  });
}

inline void drain() {
  while (gtk_events_pending()) gtk_main_iteration();
}

/* Runs the main loop for about ms milliseconds. */
inline void spin(int ms) {
  gint64 end = g_get_monotonic_time() + ms * 1000;
  while (g_get_monotonic_time() < end) {
    drain();
    g_usleep(1000);
  }
}

/* A widget in a toplevel window, allocated exactly the size asked for. */
struct Toplevel {
  GtkWidget *window;
  GtkWidget *widget;
  Toplevel(GtkWidget *w, int width, int height)
      : window(gtk_window_new(GTK_WINDOW_TOPLEVEL)), widget(w) {
    gtk_widget_set_size_request(widget, width, height);
    gtk_container_add(GTK_CONTAINER(window), widget);
    gtk_widget_show_all(window);
    settle(width, height);
  }
  ~Toplevel() { gtk_widget_destroy(window); }
  Toplevel(const Toplevel &) = delete;
  void resize(int width, int height) {
    gtk_widget_set_size_request(widget, width, height);
    gtk_window_resize(GTK_WINDOW(window), width, height);
    settle(width, height);
  }
  void settle(int width, int height) {
    for (int i = 0; i < 200; i++) {
      drain();
      GtkAllocation a;
      gtk_widget_get_allocation(widget, &a);
      if (a.width == width && a.height == height) return;
      g_usleep(5000);
    }
    g_error("the widget was not allocated %dx%d", width, height);
  }
};

/* Runs the main loop until the chart has been drawn once, so that its
 * canvas holds a layout. */
inline void wait_drawn(KivChart1D *chart) {
  for (int i = 0; i < 400 && chart->cnvs->xstp == 0.0; i++) {
    drain();
    g_usleep(5000);
  }
  g_assert_cmpfloat(chart->cnvs->xstp, !=, 0.0);
}

/* A chart (one- or two-dimensional) shown in a toplevel window, allocated
 * and drawn once, so that its canvas holds a layout. */
struct Shown : Toplevel {
  KivChart1D *chart;
  Shown(KivFunction *f, int width, int height) : Shown(kiv_chart1d_new(f), width, height) {}
  Shown(GtkWidget *w, int width, int height) : Toplevel(w, width, height), chart(KIV_CHART1D(w)) {
    wait_drawn(chart);
  }
};

/* A histogram of n bins over [lo, hi) holding 1, 2, ... n. */
inline KivHistogram *ramp_histogram(int n, double lo, double hi) {
  KivHistogram *h = kiv_histogram_new(n, lo, hi, NULL);
  for (int i = 0; i < n; i++) kiv_histogram_set_bin_content(h, i, i + 1);
  return h;
}

/* ---- Pixels read back. ---- */

struct Rgb {
  int r, g, b, a = 255;
  bool near(Rgb o, int tol = 0) const {
    return std::abs(r - o.r) <= tol && std::abs(g - o.g) <= tol && std::abs(b - o.b) <= tol;
  }
};

inline constexpr Rgb kWhite{255, 255, 255}, kBlack{0, 0, 0}, kRed{255, 0, 0}, kGreen{0, 255, 0},
    kBlue{0, 0, 255};

inline Rgb rgb(const GdkColor &c) { return {c.red >> 8, c.green >> 8, c.blue >> 8}; }

inline Rgb pixel(GdkPixbuf *pb, int x, int y) {
  g_assert_true(x >= 0 && y >= 0 && x < gdk_pixbuf_get_width(pb) && y < gdk_pixbuf_get_height(pb));
  int n = gdk_pixbuf_get_n_channels(pb);
  const guchar *p = gdk_pixbuf_get_pixels(pb) + y * gdk_pixbuf_get_rowstride(pb) + x * n;
  return {p[0], p[1], p[2], n == 4 ? p[3] : 255};
}

inline void assert_rgb(GdkPixbuf *pb, int x, int y, Rgb want, int tol = 0) {
  Rgb p = pixel(pb, x, y);
  if (!p.near(want, tol))
    g_error("pixel (%d, %d) is (%d, %d, %d), expected (%d, %d, %d)", x, y, p.r, p.g, p.b, want.r,
            want.g, want.b);
}

/* How many pixels of the rectangle [x0, x1) x [y0, y1) are not c. */
inline int count_not(GdkPixbuf *pb, int x0, int y0, int x1, int y1, Rgb c) {
  int n = 0;
  for (int y = y0; y < y1; y++)
    for (int x = x0; x < x1; x++) n += !pixel(pb, x, y).near(c);
  return n;
}

/* Decodes picture bytes (PNG, JPEG) into pixels. */
inline GdkPixbuf *decode(GString *bytes) {
  GdkPixbufLoader *loader = gdk_pixbuf_loader_new();
  GError *err = NULL;
  gdk_pixbuf_loader_write(loader, reinterpret_cast<const guchar *>(bytes->str), bytes->len, &err);
  g_assert_no_error(err);
  gdk_pixbuf_loader_close(loader, &err);
  g_assert_no_error(err);
  GdkPixbuf *pb = GDK_PIXBUF(g_object_ref(gdk_pixbuf_loader_get_pixbuf(loader)));
  g_object_unref(loader);
  return pb;
}

/* A chart's pictures: "pixmap" as pixels, the byte forms ("png", "pdf",
 * ...) as bytes; each read draws afresh. */
inline GdkPixbuf *read_pixmap(gpointer widget) {
  GdkPixbuf *pb = NULL;
  g_object_get(widget, "pixmap", &pb, NULL);
  g_assert_nonnull(pb);
  return pb;
}

inline GString *read_bytes(gpointer widget, const char *prop) {
  GString *s = NULL;
  g_object_get(widget, prop, &s, NULL);
  g_assert_nonnull(s);
  return s;
}

/* The largest difference of a channel (alpha included) between the
 * pixels at (x, y) of two pictures. */
inline int gap(GdkPixbuf *a, GdkPixbuf *b, int x, int y) {
  Rgb p = pixel(a, x, y), q = pixel(b, x, y);
  return std::max(
      {std::abs(p.r - q.r), std::abs(p.g - q.g), std::abs(p.b - q.b), std::abs(p.a - q.a)});
}

/* How many pixels of two pictures of one size differ by more than tol
 * levels; sum, when given, gets the gap of every pixel added. */
inline int differing(GdkPixbuf *a, GdkPixbuf *b, int tol, long *sum = NULL) {
  int n = 0;
  for (int y = 0; y < gdk_pixbuf_get_height(a); y++)
    for (int x = 0; x < gdk_pixbuf_get_width(a); x++) {
      int d = gap(a, b, x, y);
      n += d > tol;
      if (sum != NULL) *sum += d;
    }
  return n;
}

/* Compares a picture with tests/reference/NAME.png.  A pixel differs when
 * one of its channels (alpha included) is more than tol levels away from
 * the reference; the picture matches when its size is the reference's and
 * at most max_differing pixels differ.  On a mismatch the picture and a
 * difference image (differing pixels red over a faded reference) are
 * written to the build folder as NAME-out.png and NAME-diff.png.  With
 * KIV_UPDATE_REFERENCES set, the picture becomes the new reference. */
inline void assert_reference(GdkPixbuf *got, const char *name, int tol, int max_differing) {
  std::string base(name);
  g_autofree gchar *ref_path =
      g_test_build_filename(G_TEST_DIST, "reference", (base + ".png").c_str(), NULL);
  if (g_getenv("KIV_UPDATE_REFERENCES") != NULL) {
    g_assert_true(gdk_pixbuf_save(got, ref_path, "png", NULL, NULL));
    g_test_message("wrote %s", ref_path);
    return;
  }
  GError *err = NULL;
  GdkPixbuf *ref = gdk_pixbuf_new_from_file(ref_path, &err);
  g_assert_no_error(err);
  int w = gdk_pixbuf_get_width(got), h = gdk_pixbuf_get_height(got);
  bool same_size = w == gdk_pixbuf_get_width(ref) && h == gdk_pixbuf_get_height(ref);
  int n = same_size ? differing(got, ref, tol) : w * h;
  if (n > max_differing) {
    g_autofree gchar *out = g_test_build_filename(G_TEST_BUILT, (base + "-out.png").c_str(), NULL);
    g_autofree gchar *dif = g_test_build_filename(G_TEST_BUILT, (base + "-diff.png").c_str(), NULL);
    gdk_pixbuf_save(got, out, "png", NULL, NULL);
    GdkPixbuf *diff = gdk_pixbuf_new(GDK_COLORSPACE_RGB, FALSE, 8, w, h);
    for (int y = 0; same_size && y < h; y++)
      for (int x = 0; x < w; x++) {
        Rgb b = pixel(ref, x, y);
        guchar *d = gdk_pixbuf_get_pixels(diff) + y * gdk_pixbuf_get_rowstride(diff) + x * 3;
        bool differs = gap(got, ref, x, y) > tol;
        d[0] = differs ? 255 : 192 + (b.r + b.g + b.b) / 12;
        d[1] = d[2] = differs ? 0 : d[0];
      }
    if (same_size) gdk_pixbuf_save(diff, dif, "png", NULL, NULL);
    g_error("%s: %d pixels differ by more than %d levels (at most %d may); %dx%d against %dx%d; "
            "see %s and %s",
            name, n, tol, max_differing, w, h, gdk_pixbuf_get_width(ref),
            gdk_pixbuf_get_height(ref), out, dif);
  }
  g_object_unref(ref);
}

/* ---- Pointer and key events as the X server delivers them. ---- */

template <typename E> E &pointer_event(E &e, KivChart1D *h, double x, double y, guint state) {
  e.window = GDK_WINDOW(g_object_ref(gtk_widget_get_window(GTK_WIDGET(h))));
  e.send_event = TRUE;
  e.time = GDK_CURRENT_TIME;
  e.x = x;
  e.y = y;
  e.state = state;
  e.device = gdk_device_get_core_pointer();
  return e;
}

inline void send(GdkEvent *ev) {
  gtk_main_do_event(ev);
  gdk_event_free(ev);
}

inline void send_button(KivChart1D *h, GdkEventType type, guint button, double x, double y,
                        guint state = 0) {
  GdkEvent *ev = gdk_event_new(type);
  pointer_event(ev->button, h, x, y, state).button = button;
  send(ev);
}

inline void press(KivChart1D *h, guint button, double x, double y, guint state = 0) {
  send_button(h, GDK_BUTTON_PRESS, button, x, y, state);
}

/* The state of a release names the button that goes up. */
inline void release(KivChart1D *h, guint button, double x, double y, guint state = 0) {
  send_button(h, GDK_BUTTON_RELEASE, button, x, y, state | (GDK_BUTTON1_MASK << (button - 1)));
}

inline void motion(KivChart1D *h, double x, double y, guint state = 0) {
  GdkEvent *ev = gdk_event_new(GDK_MOTION_NOTIFY);
  pointer_event(ev->motion, h, x, y, state).is_hint = FALSE;
  send(ev);
}

/* A key for the toplevel window, which hands it to its focus widget. */
inline void send_key(GtkWidget *toplevel, guint keyval, guint state = 0) {
  GdkEvent *ev = gdk_event_new(GDK_KEY_PRESS);
  ev->key.window = GDK_WINDOW(g_object_ref(gtk_widget_get_window(toplevel)));
  ev->key.send_event = TRUE;
  ev->key.keyval = keyval;
  ev->key.state = state;
  ev->key.string = g_strdup("");
  send(ev);
}

/* ---- Menus and dialogs. ---- */

inline void find_all(GtkWidget *w, GType type, std::vector<GtkWidget *> *out) {
  if (G_TYPE_CHECK_INSTANCE_TYPE(w, type)) out->push_back(w);
  if (GTK_IS_CONTAINER(w)) {
    GList *children = gtk_container_get_children(GTK_CONTAINER(w));
    for (GList *l = children; l != NULL; l = l->next) find_all(GTK_WIDGET(l->data), type, out);
    g_list_free(children);
  }
}

inline GtkWidget *find_one(GtkWidget *w, GType type) {
  std::vector<GtkWidget *> found;
  find_all(w, type, &found);
  g_assert_cmpuint(found.size(), ==, 1);
  return found[0];
}

/* Clicks from an idle callback: a click may run a dialog of its own, which
 * must not run inside the driver's callback. */
inline void click_later(GtkWidget *button) {
  g_idle_add_full(
      G_PRIORITY_DEFAULT_IDLE,
      [](gpointer b) -> gboolean {
        gtk_button_clicked(GTK_BUTTON(b));
        return FALSE;
      },
      g_object_ref(button), g_object_unref);
}

/* Answers a dialog as a click on its button of that response would. */
inline void respond_later(GtkWidget *dialog, int response) {
  click_later(gtk_dialog_get_widget_for_response(GTK_DIALOG(dialog), response));
}

inline std::string title_of(GtkWidget *w) {
  const char *t = gtk_window_get_title(GTK_WINDOW(w));
  return t != NULL ? t : "";
}

/* Answers the dialogs that the chart runs, in the order expected: each
 * step waits for a shown dialog of its title and acts on it.  A dialog no
 * step expects, or one that does not come within 30 seconds (a file
 * chooser can be slow while the rest of the suite keeps both cores busy),
 * fails the test rather than leave it hanging in a modal loop. */
class DialogScript {
public:
  using Action = std::function<void(GtkWidget *dialog)>;

  DialogScript() : poll_(g_timeout_add(10, poll, this)), started_(g_get_monotonic_time()) {}
  ~DialogScript() {
    g_source_remove(poll_);
    if (next_ != steps_.size())
      g_error("the dialog \"%s\" never came", steps_[next_].title.c_str());
  }
  DialogScript(const DialogScript &) = delete;
  DialogScript &operator=(const DialogScript &) = delete;

  DialogScript &then(const char *title, Action act) {
    steps_.push_back({title, std::move(act)});
    return *this;
  }

private:
  struct Step {
    std::string title;
    Action act;
  };

  static gboolean poll(gpointer data) {
    DialogScript *s = static_cast<DialogScript *>(data);
    GtkWidget *fresh = NULL;
    GList *tops = gtk_window_list_toplevels();
    for (GList *l = tops; l != NULL; l = l->next)
      if (GTK_IS_DIALOG(l->data) && gtk_widget_get_visible(GTK_WIDGET(l->data)) &&
          g_object_get_data(G_OBJECT(l->data), "kivtest-answered") == NULL)
        fresh = GTK_WIDGET(l->data);
    g_list_free(tops);

    Step *step = s->next_ < s->steps_.size() ? &s->steps_[s->next_] : NULL;
    if (fresh != NULL && (step == NULL || step->title != title_of(fresh)))
      g_error("unexpected dialog \"%s\"", title_of(fresh).c_str());
    if (fresh != NULL) {
      g_object_set_data(G_OBJECT(fresh), "kivtest-answered", s);
      s->started_ = g_get_monotonic_time();
      s->next_++;
      step->act(fresh);
    } else if (step != NULL && g_get_monotonic_time() - s->started_ > 30 * G_USEC_PER_SEC) {
      g_error("waited in vain for the dialog \"%s\"", step->title.c_str());
    }
    return TRUE;
  }

  std::vector<Step> steps_;
  size_t next_ = 0;
  guint poll_;
  gint64 started_;
};

inline std::string item_label(GtkWidget *item) {
  GtkWidget *child = gtk_bin_get_child(GTK_BIN(item));
  return child != NULL && GTK_IS_LABEL(child) ? gtk_label_get_text(GTK_LABEL(child)) : "";
}

inline GtkWidget *menu_item(GtkWidget *menu, const char *label) {
  GtkWidget *found = NULL;
  GList *items = gtk_container_get_children(GTK_CONTAINER(menu));
  for (GList *l = items; l != NULL; l = l->next)
    if (item_label(GTK_WIDGET(l->data)) == label) found = GTK_WIDGET(l->data);
  g_list_free(items);
  if (found == NULL) g_error("no menu item \"%s\"", label);
  return found;
}

/* The popup menu on screen (not a submenu), or NULL. */
inline GtkWidget *shown_menu() {
  GtkWidget *found = NULL;
  GList *tops = gtk_window_list_toplevels();
  for (GList *l = tops; l != NULL; l = l->next) {
    GtkWidget *child = gtk_bin_get_child(GTK_BIN(l->data));
    if (child != NULL && GTK_IS_MENU(child) && gtk_widget_get_visible(GTK_WIDGET(l->data)) &&
        gtk_menu_get_attach_widget(GTK_MENU(child)) == NULL)
      found = child;
  }
  g_list_free(tops);
  return found;
}

/* Opens the chart's menu with the right button.  A menu needs the pointer,
 * which another program on the same X server (a test running beside this
 * one) may hold for a moment: GTK then does not show the menu, and the
 * user, here the test, presses again. */
inline GtkWidget *open_menu(KivChart1D *h) {
  for (int i = 0; i < 2000; i++) {
    press(h, 3, 10, 10);
    if (GtkWidget *menu = shown_menu()) return menu;
    spin(5);
  }
  g_error("the menu could not grab the pointer");
}

/* Chooses an item as the user does: each submenu on the path opened by
 * selecting its item (again while another program holds the pointer), then
 * the item activated.  Returns when the item's action, dialogs included,
 * is over and the menu gone. */
inline void choose(KivChart1D *h, std::initializer_list<const char *> path) {
  GtkWidget *shell = open_menu(h);
  const char *const *p = path.begin();
  for (; p + 1 != path.end(); ++p) {
    GtkWidget *item = menu_item(shell, *p);
    GtkWidget *submenu = gtk_menu_item_get_submenu(GTK_MENU_ITEM(item));
    for (int i = 0; !gtk_widget_get_mapped(submenu); i++) {
      if (i == 2000) g_error("the submenu \"%s\" could not grab the pointer", *p);
      if (i > 0) {
        gtk_menu_shell_deselect(GTK_MENU_SHELL(shell));
        spin(5);
      }
      gtk_menu_shell_select_item(GTK_MENU_SHELL(shell), item);
    }
    shell = submenu;
  }
  gtk_menu_shell_activate_item(GTK_MENU_SHELL(shell), menu_item(shell, *p), TRUE);
  drain();
}

} // namespace kivtest

#endif /* KIV_TEST_H */
