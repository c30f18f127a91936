/* Tests of KivFunction: construction, bin arithmetic, point arrays,
 * properties, "range-changed" and the instance mutex. */
#include "kiv-test.h"

#include <atomic>

namespace {

double square(double x) { return x * x; }

void test_new_and_checks() {
  kivtest::Counter rc;
  /* Construction emits "range-changed" once; a class-wide emission hook
   * sees it although no handler can be connected before the object exists. */
  gpointer klass = g_type_class_ref(KIV_TYPE_FUNCTION);
  guint sig = g_signal_lookup("range-changed", KIV_TYPE_FUNCTION);
  gulong hook = g_signal_add_emission_hook(
      sig, 0,
      [](GSignalInvocationHint *, guint, const GValue *, gpointer data) -> gboolean {
        static_cast<kivtest::Counter *>(data)->n++;
        return TRUE;
      },
      &rc, NULL);
  KivFunction *f = kiv_function_new(10, 0.0, 1.0, NULL);
  g_signal_remove_emission_hook(sig, hook);
  g_type_class_unref(klass);
  g_assert_cmpint(rc.n, ==, 1);

  g_assert_cmpint(f->nbin, ==, 10);
  g_assert_cmpfloat_with_epsilon(f->step, 0.1, 1e-15);
  g_assert_cmpfloat(kiv_function_eval(f, 0.3), ==, 0.0);
  g_assert_null(kiv_function_get_name(f));
  g_object_unref(f);

  kiv_expect_critical("kiv_function_new: assertion 'nx>0' failed");
  g_assert_null(kiv_function_new(0, 0, 1, square));
  kiv_expect_critical("kiv_function_new: assertion 'x_min != x_max' failed");
  g_assert_null(kiv_function_new(5, 2.0, 2.0, square));
  g_test_assert_expected_messages();

  /* Above the property range the count is refused and stays at 1. */
  g_test_expect_message("GLib-GObject", G_LOG_LEVEL_WARNING, "*nx*");
  f = kiv_function_new(1000000, 0.0, 1.0, square);
  g_test_assert_expected_messages();
  g_assert_cmpint(f->nbin, ==, 1);
  g_object_unref(f);

  /* A reversed range is allowed and gives a negative step. */
  f = kiv_function_new(4, 1.0, 0.0, square);
  g_assert_cmpfloat(f->step, ==, -0.25);
  g_assert_cmpint(kiv_function_find_bin(f, 0.9), ==, 0);
  g_assert_cmpint(kiv_function_find_bin(f, 0.1), ==, 3);
  g_object_unref(f);
}

void test_bins() {
  KivFunction *f = kiv_function_new(10, 0.0, 10.0, NULL);
  g_assert_cmpint(kiv_function_find_bin(f, -0.5), ==, 0);
  g_assert_cmpint(kiv_function_find_bin(f, -1.0), ==, -1);
  g_assert_cmpint(kiv_function_find_bin(f, 9.999), ==, 9);
  g_assert_cmpint(kiv_function_find_bin(f, 10.0), ==, 10);
  g_assert_cmpint(kiv_function_find_bin(f, 1e300), ==, 10);
  g_assert_cmpint(kiv_function_find_bin(f, -1e300), ==, -1);
  g_assert_cmpint(kiv_function_find_bin(f, NAN), ==, -1);
  g_assert_cmpint(kiv_function_find_bin(f, INFINITY), ==, 10);
  g_assert_cmpint(kiv_function_find_bin(f, -INFINITY), ==, -1);
  g_assert_cmpfloat(kiv_function_bin_center(f, 0), ==, 0.5);
  g_assert_cmpfloat(kiv_function_bin_center(f, -1), ==, -0.5);
  g_assert_cmpfloat(kiv_function_bin_center(f, 12), ==, 12.5);

  kiv_expect_critical("kiv_function_find_bin: assertion 'f != NULL' failed");
  g_assert_cmpint(kiv_function_find_bin(NULL, 1.0), ==, -1);
  kiv_expect_critical("kiv_function_bin_center: assertion 'f != NULL' failed");
  g_assert_cmpfloat(kiv_function_bin_center(NULL, 1), ==, G_MAXDOUBLE);
  g_test_assert_expected_messages();
  g_object_unref(f);
}

void test_array() {
  KivFunction *f = kiv_function_new(4, 0.0, 1.0, square);
  KivTuple t = {0, NULL};
  kiv_function_get_array(f, &t, 0.0, 1.0);
  g_assert_cmpint(t.n, ==, 4);
  const double xs[] = {0, 0.25, 0.5, 0.75};
  for (int i = 0; i < 4; i++) {
    g_assert_cmpfloat(t.P[i].x, ==, xs[i]);
    g_assert_cmpfloat(t.P[i].y, ==, xs[i] * xs[i]);
  }
  kiv_function_clear_tuple(&t);
  g_assert_null(t.P);
  g_assert_cmpint(t.n, ==, 0);

  /* The requested range, not the function's, decides where points fall. */
  kiv_function_get_array(f, &t, 2.0, 3.0);
  g_assert_cmpint(t.n, ==, 4);
  g_assert_cmpfloat(t.P[1].x, ==, 2.25);
  g_assert_cmpfloat(t.P[1].y, ==, 2.25 * 2.25);
  kiv_function_clear_tuple(&t);

  /* Narrower than a step, reversed or NaN: an empty tuple. */
  const double bad[][2] = {{0.0, 0.2}, {1.0, 0.0}, {NAN, 1.0}, {0.0, NAN}};
  for (const auto &r : bad) {
    kiv_function_get_array(f, &t, r[0], r[1]);
    g_assert_cmpint(t.n, ==, 0);
    g_assert_null(t.P);
  }

  /* A request for billions of points is refused instead of allocated. */
  kiv_expect_warning("*points requested*");
  kiv_function_get_array(f, &t, 0.0, 1e300);
  g_test_assert_expected_messages();
  g_assert_cmpint(t.n, ==, 0);
  g_object_unref(f);
}

void test_properties() {
  KivFunction *f = kiv_function_new(10, 0.0, 1.0, square);
  kivtest::Counter rc;
  rc.connect(f, "range-changed");

  /* Several range properties in one call: one signal. */
  g_object_set(f, "xmin", -1.0, "xmax", 3.0, NULL);
  g_assert_cmpint(rc.n, ==, 1);
  g_assert_cmpfloat(f->step, ==, 0.4);
  g_object_set(f, "nx", 8, NULL);
  g_assert_cmpint(rc.n, ==, 2);
  g_assert_cmpfloat(f->step, ==, 0.5);
  g_object_set(f, "range", NULL, NULL);
  g_assert_cmpint(rc.n, ==, 3);
  g_assert_cmpint(kiv_function_get_npts(f), ==, 8);
  g_assert_cmpfloat(kiv_function_get_xmin(f), ==, -1.0);
  g_assert_cmpfloat(kiv_function_get_xmax(f), ==, 3.0);
  g_assert_cmpfloat(kiv_function_get_step(f), ==, 0.5);

  gpointer range = &rc, fn = NULL;
  g_object_get(f, "range", &range, "func", &fn, NULL);
  g_assert_null(range);
  g_assert_true(fn == reinterpret_cast<gpointer>(square));

  /* "xstep" rebins the range without announcing it. */
  g_object_set(f, "xmin", 0.0, "xmax", 1.0, NULL);
  rc.n = 0;
  g_object_set(f, "xstep", 0.3, NULL);
  g_assert_cmpint(rc.n, ==, 0);
  g_assert_cmpint(f->nbin, ==, 3);
  g_assert_cmpfloat_with_epsilon(f->xmax, 0.9, 1e-12);

  /* Steps that give no bin count from 1 to 999999 are refused; the
   * function keeps its binning. */
  const double bad_steps[] = {0.0, -0.3, 5.0, 1e-9};
  for (double s : bad_steps) {
    kiv_expect_warning("KivFunction: xstep * gives no bin count*");
    g_object_set(f, "xstep", s, NULL);
    g_test_assert_expected_messages();
    g_assert_cmpint(f->nbin, ==, 3);
    g_assert_cmpfloat(f->step, ==, 0.3);
  }
  /* NaN and infinity never reach the class: GLib's range check refuses
   * them, for the limits as for the step. */
  const char *props[] = {"xstep", "xmin", "xmax"};
  for (const char *p : props) {
    for (double v : {NAN, INFINITY, -INFINITY}) {
      g_test_expect_message("GLib-GObject", G_LOG_LEVEL_WARNING, "*out of range*");
      g_object_set(f, p, v, NULL);
      g_test_assert_expected_messages();
    }
  }
  g_assert_cmpint(f->nbin, ==, 3);
  g_assert_cmpfloat(f->xmin, ==, 0.0);

  /* A range of exactly [0, 0] reads back its bin count as xmax. */
  g_object_set(f, "xmin", 0.0, "xmax", 0.0, NULL);
  g_assert_cmpfloat(kiv_function_get_xmax(f), ==, 3.0);

  kiv_function_set_name(f, "energy");
  gchar *name = kiv_function_get_name(f);
  g_assert_cmpstr(name, ==, "energy");
  g_free(name);
  kiv_function_set_name(f, NULL);
  g_assert_null(f->name);

  g_test_expect_message("GLib-GObject", G_LOG_LEVEL_WARNING, "*no property named*");
  g_object_set(f, "nosuch", 1, NULL);
  g_test_assert_expected_messages();
  g_object_unref(f);
}

/* The invalid-id warning comes from our own handler, reached only through
 * a property id the class did not install; a subclass that installs one
 * without handling it routes it to the base handler. */
struct Sub {
  KivFunction parent;
};
struct SubClass {
  KivFunctionClass parent_class;
};
G_DEFINE_TYPE(Sub, sub, KIV_TYPE_FUNCTION)
void sub_init(Sub *) {}
void sub_class_init(SubClass *klass) {
  GObjectClass *parent = G_OBJECT_CLASS(sub_parent_class);
  G_OBJECT_CLASS(klass)->set_property = parent->set_property;
  G_OBJECT_CLASS(klass)->get_property = parent->get_property;
  /* Same property id space as the base class: id 42 is unknown to it. */
  g_object_class_install_property(G_OBJECT_CLASS(klass), 42,
      g_param_spec_int("extra", "extra", "extra", 0, 10, 0, G_PARAM_READWRITE));
}

void test_invalid_property_id() {
  GObject *o = G_OBJECT(g_object_new(sub_get_type(), NULL));
  kiv_expect_warning("*function.cc:*: invalid property id 42 for \"extra\" of type 'GParamInt' in 'Sub'");
  g_object_set(o, "extra", 3, NULL);
  g_test_assert_expected_messages();
  g_object_unref(o);
}

struct LockShare {
  KivFunction *f;
  std::atomic<int> result{-1};
};

void test_trylock_other_thread() {
  KivFunction *f = kiv_function_new(10, 0.0, 1.0, NULL);
  LockShare share;
  share.f = f;

  kiv_function_lock(f);
  GThread *th = g_thread_new("try", [](gpointer d) -> gpointer {
    auto *s = static_cast<LockShare *>(d);
    gint64 t0 = g_get_monotonic_time();
    s->result = kiv_function_trylock(s->f);
    /* Returns at once, without waiting for the holder. */
    g_assert_cmpint(g_get_monotonic_time() - t0, <, G_USEC_PER_SEC);
    return NULL;
  }, &share);
  g_thread_join(th);
  g_assert_cmpint(share.result, ==, FALSE);
  kiv_function_unlock(f);

  g_assert_true(kiv_function_trylock(f));
  kiv_function_unlock(f);

  kiv_expect_critical("kiv_function_lock: assertion 'KIV_IS_FUNCTION(f)' failed");
  kiv_function_lock(NULL);
  GObject *other = G_OBJECT(kiv_stats_new());
  kiv_expect_critical("kiv_function_trylock: assertion 'KIV_IS_FUNCTION(f)' failed");
  g_assert_false(kiv_function_trylock(reinterpret_cast<KivFunction *>(other)));
  g_test_assert_expected_messages();
  g_object_unref(other);
  g_object_unref(f);
}

/* Writers set xmin and xmax together so that the width stays 10; readers
 * take the mutex and must never see one half of a write. */
void test_property_threads() {
  KivFunction *f = kiv_function_new(10, 0.0, 10.0, NULL);
  std::atomic<bool> stop{false};
  std::atomic<int> torn{0};
  struct Ctx {
    KivFunction *f;
    std::atomic<bool> *stop;
    std::atomic<int> *torn;
  } ctx{f, &stop, &torn};

  auto writer = [](gpointer d) -> gpointer {
    auto *c = static_cast<Ctx *>(d);
    for (int i = 0; !*c->stop; i++) {
      double lo = (i % 100) * 1.0;
      kiv_function_lock(c->f);
      c->f->xmin = lo;
      c->f->xmax = lo + 10.0;
      kiv_function_unlock(c->f);
      g_object_set(c->f, "nx", 10 + i % 5, NULL);
    }
    return NULL;
  };
  auto reader = [](gpointer d) -> gpointer {
    auto *c = static_cast<Ctx *>(d);
    while (!*c->stop) {
      double lo = 0, hi = 0;
      int n = 0;
      g_object_get(c->f, "xmin", &lo, "xmax", &hi, "nx", &n, NULL);
      kiv_function_lock(c->f);
      double w = c->f->xmax - c->f->xmin, s = c->f->step * c->f->nbin;
      kiv_function_unlock(c->f);
      if (w != 10.0 || std::fabs(s - 10.0) > 1e-9 || n < 10 || n > 14)
        (*c->torn)++;
    }
    return NULL;
  };
  GThread *th[4] = {g_thread_new("w1", writer, &ctx), g_thread_new("w2", writer, &ctx),
                    g_thread_new("r1", reader, &ctx), g_thread_new("r2", reader, &ctx)};
  g_usleep(300 * 1000);
  stop = true;
  for (GThread *t : th)
    g_thread_join(t);
  g_assert_cmpint(torn, ==, 0);
  g_object_unref(f);
}

void test_print() {
  KivFunction *a = kiv_function_new(2, 0.0, 1.0, square);
  KivFunction *b = kiv_function_new(2, 0.0, 1.0, NULL);
  kiv_function_set_name(a, "a");
  GList *l = g_list_append(g_list_append(NULL, a), b);
  GString *s = kiv_function_print_list(l);
  g_assert_cmpstr(s->str, ==,
                  "1D 2 0.000000 1.000000\t[nbin xmin xmax]\n"
                  "\"X\"\t\"a\"\t\"Function_1\"\n"
                  "0.250000\t0.062500\t0.000000\n"
                  "0.750000\t0.562500\t0.000000\n");
  g_string_free(s, TRUE);

  s = kiv_function_print(b);
  g_assert_cmpstr(s->str, ==,
                  "1D 2 0.000000 1.000000\t[nbin xmin xmax]\n"
                  "\"X\"\t\"Function_0\"\n"
                  "0.250000\t0.000000\n"
                  "0.750000\t0.000000\n");
  g_string_free(s, TRUE);

  g_object_set(b, "nx", 3, NULL);
  g_assert_null(kiv_function_print_list(l));
  g_assert_null(kiv_function_print_list(NULL));
  kiv_expect_critical("kiv_function_print: assertion 'f != NULL' failed");
  g_assert_null(kiv_function_print(NULL));
  g_test_assert_expected_messages();
  g_list_free(l);
  g_object_unref(a);
  g_object_unref(b);
}

} // namespace

int main(int argc, char **argv) {
  g_test_init(&argc, &argv, NULL);
  g_test_add_func("/function/new", test_new_and_checks);
  g_test_add_func("/function/bins", test_bins);
  g_test_add_func("/function/array", test_array);
  g_test_add_func("/function/properties", test_properties);
  g_test_add_func("/function/invalid-property-id", test_invalid_property_id);
  g_test_add_func("/function/trylock", test_trylock_other_thread);
  g_test_add_func("/function/property-threads", test_property_threads);
  g_test_add_func("/function/print", test_print);
  return g_test_run();
}
