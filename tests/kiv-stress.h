/* kiv-stress.h: the harness of the stress tests.  A scenario has producer
 * threads, one controller thread and optionally reader threads that all run
 * against one deadline; a watchdog aborts the program with a clear message
 * when they do not finish in time (a deadlock or a livelock), so that a
 * hang fails the test instead of stalling the test run.
 *
 * In a ThreadSanitizer build it also makes GLib's mutex visible to the
 * sanitizer (see the end of this file); include it in exactly one source
 * file of a test program. */
#ifndef KIV_STRESS_H
#define KIV_STRESS_H

#include "kiv-test.h"

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

namespace kivstress {

/* A duration from the environment (seconds), or the default. */
inline double env_seconds(const char *name, double fallback) {
  const char *v = g_getenv(name);
  double d = v ? g_ascii_strtod(v, NULL) : 0.0;
  return d > 0.0 ? d : fallback;
}

/* How long each scenario runs: KIV_STRESS_SECONDS, 1 s by default. */
inline double run_seconds() {
  return env_seconds("KIV_STRESS_SECONDS", 1.0);
}

/* Aborts the program when it is not stopped within the limit.  It polls
 * rather than waiting on a condition variable, so that it depends on
 * nothing that a deadlocked program might hold. */
class Watchdog {
public:
  Watchdog(std::string what, double limit_seconds)
      : what_(std::move(what)),
        deadline_(g_get_monotonic_time() + static_cast<gint64>(limit_seconds * G_USEC_PER_SEC)),
        limit_(limit_seconds) {
    thread_ = g_thread_new("watchdog", watch, this);
  }
  ~Watchdog() {
    stop_ = true;
    g_thread_join(thread_);
  }
  Watchdog(const Watchdog &) = delete;
  Watchdog &operator=(const Watchdog &) = delete;

  /* What is running now, named in the message if the limit passes. */
  void set_activity(const char *activity) { activity_ = activity; }

private:
  static gpointer watch(gpointer data) {
    auto *self = static_cast<Watchdog *>(data);
    while (!self->stop_) {
      if (g_get_monotonic_time() > self->deadline_) {
        const char *activity = self->activity_;
        g_printerr("\nWATCHDOG: %s did not finish within %.0f s (%s): a deadlock or a "
                   "livelock; aborting\n",
                   self->what_.c_str(), self->limit_, activity ? activity : "no detail");
        abort();
      }
      g_usleep(20000);
    }
    return NULL;
  }

  std::string what_;
  gint64 deadline_;
  double limit_;
  std::atomic<bool> stop_{false};
  std::atomic<const char *> activity_{nullptr};
  GThread *thread_;
};

/* The limit of the watchdog: KIV_STRESS_WATCHDOG seconds, or 60 plus the
 * run time (the sanitizers slow every thread down, not the deadline). */
inline double watchdog_seconds(double run) {
  return env_seconds("KIV_STRESS_WATCHDOG", 60.0 + run);
}

/* One kind of object under load.  Producers, controller and readers are
 * called in a loop until the deadline, each call one operation; the calls
 * of one role all come from the same thread.  verify() runs after every
 * thread has been joined. */
class Scenario {
public:
  virtual ~Scenario() = default;
  virtual const char *name() const = 0;
  virtual int producers() const { return 3; }
  virtual int readers() const { return 0; }
  /* A controller that must run in the thread that called run(), as one
   * that drives GTK widgets must; at most one per run. */
  virtual bool controls_from_calling_thread() const { return false; }
  virtual void produce(int id, uint64_t k) = 0;
  virtual void control(uint64_t k) = 0;
  virtual void read(int, uint64_t) {}
  /* Runs in the controller's thread after its last operation. */
  virtual void control_done() {}
  virtual void verify() = 0;

  std::atomic<uint64_t> produced{0}, controlled{0}, readings{0};
};

namespace detail {

enum class Role { produce, control, read };

struct Worker {
  Scenario *scenario;
  Role role;
  int id;
  gint64 deadline;
};

inline gpointer work(gpointer data) {
  auto *w = static_cast<Worker *>(data);
  /* Every thread does at least one operation, however late a loaded
   * machine (or valgrind's scheduler) starts it. */
  uint64_t k = 0;
  do {
    switch (w->role) {
    case Role::produce:
      w->scenario->produce(w->id, k);
      break;
    case Role::control:
      w->scenario->control(k);
      break;
    case Role::read:
      w->scenario->read(w->id, k);
      break;
    }
    k++;
  } while (g_get_monotonic_time() < w->deadline);
  switch (w->role) {
  case Role::produce:
    w->scenario->produced += k;
    break;
  case Role::control:
    w->scenario->control_done();
    w->scenario->controlled += k;
    break;
  case Role::read:
    w->scenario->readings += k;
    break;
  }
  return NULL;
}

} // namespace detail

/* Runs the scenarios at the same time for the given number of seconds
 * under a watchdog, then verifies each and reports what was done as a
 * test message of the form "stress <name>: ...". */
inline void run(const std::vector<Scenario *> &scenarios, double seconds) {
  Watchdog dog(g_test_get_path(), watchdog_seconds(seconds));
  std::vector<detail::Worker> workers;
  gint64 deadline = g_get_monotonic_time() + static_cast<gint64>(seconds * G_USEC_PER_SEC);
  for (Scenario *s : scenarios) {
    for (int i = 0; i < s->producers(); i++)
      workers.push_back({s, detail::Role::produce, i, deadline});
    workers.push_back({s, detail::Role::control, 0, deadline});
    for (int i = 0; i < s->readers(); i++)
      workers.push_back({s, detail::Role::read, i, deadline});
  }
  dog.set_activity("threads running");
  std::vector<GThread *> threads;
  detail::Worker *here = nullptr;
  for (detail::Worker &w : workers) {
    if (w.role == detail::Role::control && w.scenario->controls_from_calling_thread()) {
      g_assert_null(here);
      here = &w;
    } else {
      threads.push_back(g_thread_new("stress", detail::work, &w));
    }
  }
  if (here)
    detail::work(here);
  dog.set_activity("joining the threads");
  for (GThread *t : threads)
    g_thread_join(t);
  dog.set_activity("verifying the totals");
  for (Scenario *s : scenarios) {
    s->verify();
    g_test_message("stress %s: %.1f s, %d producers %" G_GUINT64_FORMAT
                   " operations, controller %" G_GUINT64_FORMAT " operations, %d readers %"
                   G_GUINT64_FORMAT " operations",
                   s->name(), seconds, s->producers(), s->produced.load(), s->controlled.load(),
                   s->readers(), s->readings.load());
  }
}

/* A value that names its producer: producer p (1 to 3) fills 4 s + p for
 * s = 1, 2, ..., so that a reader tells whose value it sees and in which
 * order they came. */
inline double tagged(int p, uint64_t s) {
  return 4.0 * static_cast<double>(s) + p;
}

inline int tag_of(double v) {
  return static_cast<int>(std::fmod(v, 4.0));
}

/* A small generator per thread, so that producers share no state. */
struct Lcg {
  uint32_t state;
  uint32_t next() {
    state = state * 1664525u + 1013904223u;
    return state >> 8;
  }
};

} // namespace kivstress

/* ThreadSanitizer does not see GLib's mutex: on Linux g_mutex_lock() is an
 * atomic operation and a futex inside libglib, which is not instrumented,
 * so every access that the library serialises with it would be reported
 * as a race.  In a ThreadSanitizer build the test program therefore
 * defines the GMutex calls itself: each forwards to GLib's and tells the
 * sanitizer what it did.  Calls from the library and from libgobject
 * reach these definitions through the dynamic linker; calls that libglib
 * makes to itself do not, but they guard only GLib's own state. */
#if defined(__SANITIZE_THREAD__)
#define KIV_STRESS_TSAN 1
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define KIV_STRESS_TSAN 1
#endif
#endif

#ifdef KIV_STRESS_TSAN
#include <cstdio>
#include <dlfcn.h>
#include <sanitizer/tsan_interface.h>

namespace kivstress {
template <typename Fn>
Fn glib_symbol(const char *name) {
  void *sym = dlsym(RTLD_NEXT, name);
  if (sym == NULL) {
    fprintf(stderr, "kiv-stress: %s not found in GLib\n", name);
    abort();
  }
  return reinterpret_cast<Fn>(sym);
}
} // namespace kivstress

extern "C" {

void g_mutex_init(GMutex *mutex) {
  static auto real = kivstress::glib_symbol<void (*)(GMutex *)>("g_mutex_init");
  real(mutex);
  __tsan_mutex_create(mutex, 0);
}

void g_mutex_clear(GMutex *mutex) {
  static auto real = kivstress::glib_symbol<void (*)(GMutex *)>("g_mutex_clear");
  __tsan_mutex_destroy(mutex, 0);
  real(mutex);
}

void g_mutex_lock(GMutex *mutex) {
  static auto real = kivstress::glib_symbol<void (*)(GMutex *)>("g_mutex_lock");
  __tsan_mutex_pre_lock(mutex, 0);
  real(mutex);
  __tsan_mutex_post_lock(mutex, 0, 0);
}

gboolean g_mutex_trylock(GMutex *mutex) {
  static auto real = kivstress::glib_symbol<gboolean (*)(GMutex *)>("g_mutex_trylock");
  __tsan_mutex_pre_lock(mutex, __tsan_mutex_try_lock);
  gboolean locked = real(mutex);
  __tsan_mutex_post_lock(mutex, locked ? __tsan_mutex_try_lock
                                       : __tsan_mutex_try_lock | __tsan_mutex_try_lock_failed, 0);
  return locked;
}

void g_mutex_unlock(GMutex *mutex) {
  static auto real = kivstress::glib_symbol<void (*)(GMutex *)>("g_mutex_unlock");
  __tsan_mutex_pre_unlock(mutex, 0);
  real(mutex);
  __tsan_mutex_post_unlock(mutex, 0);
}

/* A wait on a condition gives the mutex up and takes it back inside
 * libglib, where the sanitizer does not see it: it is told so around the
 * wait (Pango's font loading thread waits so, beside the main thread). */
gboolean g_cond_wait_until(GCond *cond, GMutex *mutex, gint64 end_time) {
  static auto real =
      kivstress::glib_symbol<gboolean (*)(GCond *, GMutex *, gint64)>("g_cond_wait_until");
  __tsan_mutex_pre_unlock(mutex, 0);
  __tsan_mutex_post_unlock(mutex, 0);
  gboolean signalled = real(cond, mutex, end_time);
  __tsan_mutex_pre_lock(mutex, 0);
  __tsan_mutex_post_lock(mutex, 0, 0);
  return signalled;
}

void g_cond_wait(GCond *cond, GMutex *mutex) {
  static auto real = kivstress::glib_symbol<void (*)(GCond *, GMutex *)>("g_cond_wait");
  __tsan_mutex_pre_unlock(mutex, 0);
  __tsan_mutex_post_unlock(mutex, 0);
  real(cond, mutex);
  __tsan_mutex_pre_lock(mutex, 0);
  __tsan_mutex_post_lock(mutex, 0, 0);
}

} // extern "C"
#endif /* KIV_STRESS_TSAN */

#endif /* KIV_STRESS_H */
