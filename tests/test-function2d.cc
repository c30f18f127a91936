/* Tests of KivFunction2D: construction, the y function it owns, its
 * properties and signals, cell numbering and evaluation. */
#include "kiv-test.h"

#include <atomic>

namespace {

double plane(double x, double y) {
  return x + 10.0 * y;
}

void test_new_and_checks() {
  KivFunction2D *f = kiv_function2d_new(4, 0, 1, 3, 0, 1, NULL);
  int npts = 0;
  double ystep = 0, ymin = -1;
  g_object_get(f, "npts", &npts, "ystep", &ystep, "ymin", &ymin, NULL);
  g_assert_true(npts == 12 && ymin == 0.0);
  g_assert_cmpfloat_with_epsilon(ystep, 1.0 / 3.0, 1e-15);
  g_assert_cmpfloat(kiv_function2d_eval(f, 0.1, 0.5), ==, 0.0);

  /* The object is its own x function; the y function is a separate plain
   * function that it owns, and each answers the one-dimensional calls. */
  KivFunction *X = kiv_function2d_X(f), *Y = kiv_function2d_Y(f);
  g_assert_true(X == KIV_FUNCTION(f));
  g_assert_true(G_OBJECT_TYPE(Y) == KIV_TYPE_FUNCTION);
  g_assert_cmpint(kiv_function_find_bin(X, 0.6), ==, 2);
  g_assert_cmpint(kiv_function_find_bin(Y, 0.6), ==, 1);
  g_assert_cmpfloat_with_epsilon(kiv_function_bin_center(Y, 2), 5.0 / 6.0, 1e-15);
  /* The y function lives exactly as long as its owner. */
  g_object_add_weak_pointer(G_OBJECT(Y), reinterpret_cast<gpointer *>(&Y));
  g_object_unref(f);
  g_assert_null(Y);

  const struct {
    int nx;
    double x0, x1;
    int ny;
    double y0, y1;
    const char *msg;
  } bad[] = {
      {0, 0, 1, 3, 0, 1, "kiv_function2d_new: assertion 'nx>0' failed"},
      {4, 1, 1, 3, 0, 1, "kiv_function2d_new: assertion 'xmin!=xmax' failed"},
      {4, 0, 1, 0, 0, 1, "kiv_function2d_new: assertion 'ny>0' failed"},
      {4, 0, 1, 3, 2, 2, "kiv_function2d_new: assertion 'ymin!=ymax' failed"},
  };
  for (const auto &b : bad) {
    kiv_expect_critical(b.msg);
    g_assert_null(kiv_function2d_new(b.nx, b.x0, b.x1, b.ny, b.y0, b.y1, plane));
  }
  g_test_assert_expected_messages();
}

void test_func_property() {
  KivFunction2D *f = kiv_function2d_new(4, 0, 1, 3, 0, 1, plane);
  gpointer func = NULL;
  g_object_get(f, "func", &func, NULL);
  g_assert_true(func == reinterpret_cast<gpointer>(plane));
  g_assert_cmpfloat(kiv_function2d_eval(f, 0.5, 2.0), ==, 20.5);
  /* "func" reaches func2d only: the x part has no function and reads 0. */
  g_assert_null(KIV_FUNCTION(f)->func);
  g_assert_cmpfloat(kiv_function_eval(KIV_FUNCTION(f), 0.5), ==, 0.0);
  g_object_set(f, "func", NULL, NULL);
  g_assert_cmpfloat(kiv_function2d_eval(f, 0.5, 2.0), ==, 0.0);
  g_object_unref(f);
}

void test_cells() {
  KivFunction2D *f = kiv_function2d_new(4, 0, 1, 3, 0, 1, NULL);
  int ix = -1, iy = -1;
  for (int j = 0; j < 3; j++)
    for (int i = 0; i < 4; i++) {
      int b = kiv_function2d_find_bin_from_cell(f, i, j);
      g_assert_cmpint(b, ==, i + 4 * j);
      kiv_function2d_find_cell_from_bin(f, b, &ix, &iy);
      g_assert_true(ix == i && iy == j);
    }
  /* No range check: outside the grid the same arithmetic, truncating
   * toward zero. */
  g_assert_cmpint(kiv_function2d_find_bin_from_cell(f, -1, 0), ==, -1);
  kiv_function2d_find_cell_from_bin(f, -5, &ix, &iy);
  g_assert_true(ix == -1 && iy == -1);
  g_object_unref(f);

  /* The largest grid has more cells than an int counts: "npts" and cell
   * numbers saturate instead of wrapping. */
  f = kiv_function2d_new(999999, 0, 1, 999999, 0, 1, NULL);
  int npts = 0;
  g_object_get(f, "npts", &npts, NULL);
  g_assert_cmpint(npts, ==, G_MAXINT);
  g_assert_cmpint(kiv_function2d_find_bin_from_cell(f, 999998, 999998), ==, G_MAXINT);
  g_assert_cmpint(kiv_function2d_find_bin_from_cell(f, 999998, 2000), ==, 2000997998);
  g_object_unref(f);
}

void test_y_properties() {
  KivFunction2D *f = kiv_function2d_new(4, 0, 1, 3, 0, 1, NULL);
  KivFunction *Y = kiv_function2d_Y(f);
  kivtest::Counter own_range, y_range, ymin_notify;
  own_range.connect(f, "range-changed");
  y_range.connect(Y, "range-changed");
  ymin_notify.connect(f, "notify::ymin");

  /* A y write acts on the y function, which recomputes its step and
   * announces its own range change; the 2D object only notifies. */
  g_object_set(f, "ymin", -1.0, NULL);
  g_assert_cmpfloat_with_epsilon(kiv_function_get_step(Y), 2.0 / 3.0, 1e-15);
  g_assert_cmpint(y_range.n, ==, 1);
  g_assert_cmpint(ymin_notify.n, ==, 1);
  g_object_set(f, "ny", 8, "ymax", 3.0, NULL);
  g_assert_true(Y->nbin == 8 && Y->xmax == 3.0 && Y->step == 0.5);
  g_assert_cmpint(y_range.n, ==, 3);
  g_assert_cmpint(own_range.n, ==, 0);

  /* "ystep" re-derives the y count the way "xstep" does. */
  g_object_set(f, "ystep", 1.0, NULL);
  int ny = 0;
  g_object_get(f, "ny", &ny, NULL);
  g_assert_true(ny == 4 && Y->xmax == 3.0);

  /* The x part is the object's own and leaves the y function alone. */
  g_object_set(f, "xmin", -2.0, "nx", 6, NULL);
  g_assert_cmpint(own_range.n, ==, 1);
  g_assert_cmpint(y_range.n, ==, 3);
  int npts = 0;
  g_object_get(f, "npts", &npts, NULL);
  g_assert_cmpint(npts, ==, 24);

  /* "ymax" reads the plain field: a y range of [0, 0] reads 0, not the
   * bin count that the y function's own "xmax" reports. */
  g_object_set(f, "ymin", 0.0, "ymax", 0.0, NULL);
  double ymax = -1;
  g_object_get(f, "ymax", &ymax, NULL);
  g_assert_cmpfloat(ymax, ==, 0.0);
  g_assert_cmpfloat(kiv_function_get_xmax(Y), ==, 4.0);
  g_object_unref(f);
}

/* A y write takes the y function's lock, not the x part's: it goes through
 * while the x lock is held and waits for a holder of the y lock. */
struct YLockShare {
  KivFunction2D *f;
  std::atomic<bool> done{false};
};

void test_y_lock() {
  KivFunction2D *f = kiv_function2d_new(4, 0, 1, 3, 0, 1, NULL);
  kiv_function_lock(KIV_FUNCTION(f));
  g_object_set(f, "ny", 5, NULL);
  kiv_function_unlock(KIV_FUNCTION(f));
  g_assert_cmpint(kiv_function2d_Y(f)->nbin, ==, 5);

  YLockShare share;
  share.f = f;
  kiv_function_lock(kiv_function2d_Y(f));
  GThread *th = g_thread_new("ywrite", [](gpointer d) -> gpointer {
    auto *s = static_cast<YLockShare *>(d);
    g_object_set(s->f, "ymax", 7.0, NULL);
    s->done = true;
    return NULL;
  }, &share);
  g_usleep(50000);
  g_assert_false(share.done);
  kiv_function_unlock(kiv_function2d_Y(f));
  g_thread_join(th);
  g_assert_cmpfloat(kiv_function2d_Y(f)->xmax, ==, 7.0);
  g_object_unref(f);
}

/* The invalid-id warning is reached through a subclass that installs an
 * id of its own and routes it to the two-dimensional handlers. */
struct Sub2D {
  KivFunction2D parent;
};
struct Sub2DClass {
  KivFunction2DClass parent_class;
};
G_DEFINE_TYPE(Sub2D, sub2d, KIV_TYPE_FUNCTION2D)
void sub2d_init(Sub2D *) {}
void sub2d_class_init(Sub2DClass *klass) {
  GObjectClass *parent = G_OBJECT_CLASS(sub2d_parent_class);
  G_OBJECT_CLASS(klass)->set_property = parent->set_property;
  G_OBJECT_CLASS(klass)->get_property = parent->get_property;
  g_object_class_install_property(G_OBJECT_CLASS(klass), 42,
      g_param_spec_int("extra", "extra", "extra", 0, 10, 0, G_PARAM_READWRITE));
}

void test_invalid_property_id() {
  GObject *o = G_OBJECT(g_object_new(sub2d_get_type(), NULL));
  int v = 0;
  for (int i = 0; i < 2; i++)
    kiv_expect_warning(
        "*function2d.cc:*: invalid property id 42 for \"extra\" of type 'GParamInt' in 'Sub2D'");
  g_object_set(o, "extra", 3, NULL);
  g_object_get(o, "extra", &v, NULL);
  g_test_assert_expected_messages();
  g_object_unref(o);
}

} // namespace

int main(int argc, char **argv) {
  g_test_init(&argc, &argv, NULL);
  g_test_add_func("/function2d/new", test_new_and_checks);
  g_test_add_func("/function2d/func", test_func_property);
  g_test_add_func("/function2d/cells", test_cells);
  g_test_add_func("/function2d/y-properties", test_y_properties);
  g_test_add_func("/function2d/y-lock", test_y_lock);
  g_test_add_func("/function2d/invalid-property-id", test_invalid_property_id);
  return g_test_run();
}
