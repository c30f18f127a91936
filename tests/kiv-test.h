/* kiv-test.h: small helpers shared by the test programs. */
#ifndef KIV_TEST_H
#define KIV_TEST_H

#include <gtkkiv.h>
#include <cmath>
#include <cstdlib>
#include <initializer_list>
#include <utility>

/* The library logs under its own domain; GLib's property system under
 * "GLib-GObject". */
#define KIV_LOG_DOMAIN "Gtkkiv"

/* Expects one critical from the library whose text matches the glob. */
#define kiv_expect_critical(glob) \
  g_test_expect_message(KIV_LOG_DOMAIN, G_LOG_LEVEL_CRITICAL, (glob))
#define kiv_expect_warning(glob) \
  g_test_expect_message(KIV_LOG_DOMAIN, G_LOG_LEVEL_WARNING, (glob))

namespace kivtest {

/* Counts emissions of a signal, whatever its arguments. */
struct Counter {
  int n = 0;
  static void bump(Counter *self) { self->n++; }
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
  if (stdout_glob != NULL)
    g_test_trap_assert_stdout(stdout_glob);
  if (stderr_glob != NULL)
    g_test_trap_assert_stderr(stderr_glob);
}

/* ---- Widgets: a display, a sized toplevel, pixels read back. ---- */

inline bool display_ok = false;

inline void init_display(int *argc, char ***argv) {
  display_ok = gtk_init_check(argc, argv);
}

/* Registers a test that needs a display and is skipped without one. */
inline void add_widget_test(const char *path, void (*fn)(void)) {
  g_test_add_data_func(path, reinterpret_cast<gconstpointer>(fn), [](gconstpointer data) {
    if (!display_ok)
      g_test_skip("no X display");
    else
      reinterpret_cast<void (*)(void)>(const_cast<gpointer>(data))();
  });
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
      while (gtk_events_pending())
        gtk_main_iteration();
      GtkAllocation a;
      gtk_widget_get_allocation(widget, &a);
      if (a.width == width && a.height == height)
        return;
      g_usleep(5000);
    }
    g_error("the widget was not allocated %dx%d", width, height);
  }
};

struct Rgb {
  int r, g, b, a = 255;
  bool near(Rgb o, int tol = 0) const {
    return std::abs(r - o.r) <= tol && std::abs(g - o.g) <= tol && std::abs(b - o.b) <= tol;
  }
};

inline constexpr Rgb kWhite{255, 255, 255}, kRed{255, 0, 0}, kGreen{0, 255, 0}, kBlue{0, 0, 255};

inline Rgb rgb(const GdkColor &c) {
  return {c.red >> 8, c.green >> 8, c.blue >> 8};
}

inline Rgb pixel(GdkPixbuf *pb, int x, int y) {
  g_assert_true(x >= 0 && y >= 0 && x < gdk_pixbuf_get_width(pb) && y < gdk_pixbuf_get_height(pb));
  int n = gdk_pixbuf_get_n_channels(pb);
  const guchar *p = gdk_pixbuf_get_pixels(pb) + y * gdk_pixbuf_get_rowstride(pb) + x * n;
  return {p[0], p[1], p[2], n == 4 ? p[3] : 255};
}

inline Rgb pixel(cairo_surface_t *s, int x, int y) {
  cairo_surface_flush(s);
  const unsigned char *row = cairo_image_surface_get_data(s) + y * cairo_image_surface_get_stride(s);
  guint32 p = reinterpret_cast<const guint32 *>(row)[x];
  return {int(p >> 16 & 0xff), int(p >> 8 & 0xff), int(p & 0xff), int(p >> 24)};
}

inline void assert_rgb(GdkPixbuf *pb, int x, int y, Rgb want) {
  Rgb p = pixel(pb, x, y);
  if (!p.near(want))
    g_error("pixel (%d, %d) is (%d, %d, %d), expected (%d, %d, %d)", x, y, p.r, p.g, p.b, want.r,
            want.g, want.b);
}

/* How many pixels of the rectangle [x0, x1) x [y0, y1) are not c. */
inline int count_not(GdkPixbuf *pb, int x0, int y0, int x1, int y1, Rgb c) {
  int n = 0;
  for (int y = y0; y < y1; y++)
    for (int x = x0; x < x1; x++)
      n += !pixel(pb, x, y).near(c);
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

} // namespace kivtest

/* A histogram that adds up, per thread, the weights its fill slot receives:
 * a rebin refills through the slot in the rebinning thread, so a test can
 * tell the entries rebins added from those the producers filled.  Each test
 * program is one source file, so the type is defined here once per program. */
typedef struct {
  KivHistogram parent;
} CountingHistogram;
typedef struct {
  KivHistogramClass parent_class;
} CountingHistogramClass;

G_DEFINE_TYPE(CountingHistogram, counting_histogram, KIV_TYPE_HISTOGRAM)

namespace kivtest {
inline thread_local double slot_weight = 0.0;
} // namespace kivtest

static void counting_histogram_fill(KivHistogram *h, double x, double w) {
  kivtest::slot_weight += w;
  KIV_HISTOGRAM_CLASS(counting_histogram_parent_class)->fill(h, x, w);
}

static void counting_histogram_class_init(CountingHistogramClass *klass) {
  KIV_HISTOGRAM_CLASS(klass)->fill = counting_histogram_fill;
}

static void counting_histogram_init(CountingHistogram *) {}

#endif /* KIV_TEST_H */
