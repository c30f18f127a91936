/* histogram-private.h: what the histogram shares with its batched fills
 * (histogram-batch.cc); not installed. */
#ifndef KIV_HISTOGRAM_PRIVATE_H
#define KIV_HISTOGRAM_PRIVATE_H

#include "histogram.h"
#include "function-private.h"

namespace kiv {

/* Lets a processor that polls a lock pause between attempts. */
inline void histogram_cpu_relax() {
#if defined(__x86_64__) || defined(__i386__)
  __builtin_ia32_pause();
#elif defined(__aarch64__)
  __asm__ __volatile__("yield");
#endif
}

/* How a producer takes a histogram's lock.  Two producers on two cores
 * that take turns at every fill spend their time passing the lock, the
 * contents and GLib's signal lock from one cache to the other, and one
 * asleep on the mutex has the other wake it, a system call, at every
 * unlock: together they fill at a fraction of the rate of one.  So a
 * producer that finds the lock taken steps aside for a moment, leaving
 * the other to fill alone from warm caches, and waits on the mutex itself
 * only after a few such attempts.
 *
 * A batch holds the lock for many values, long enough for a producer on
 * another processor to poll for it a little first: it then takes the lock
 * as soon as the holder lets go, having scanned its values and found its
 * bins meanwhile.  (Polling for a lock held for one value would only pass
 * its cache line to and fro.)
 *
 * What ends up filled is the same either way; only the turns the
 * producers take change.  A producer that meets a reader instead (a chart
 * copying the contents) steps aside too, and so waits longer than on the
 * mutex; charts hold the lock for microseconds a few times a second, so
 * that is rare outside a stress test. */
class ProducerLock {
public:
  ProducerLock(KivFunction *f, bool batch) : f_(f) {
    static const bool several_processors = g_get_num_processors() > 1;
    if (batch && several_processors) {
      const gint64 until = g_get_monotonic_time() + kPollUs;
      do {
        if (kiv_function_trylock(f_))
          return;
        for (int i = 0; i < 32; i++)
          histogram_cpu_relax();
      } while (g_get_monotonic_time() < until);
    }
    for (int attempt = 0; attempt < kStepsAside; attempt++) {
      if (kiv_function_trylock(f_))
        return;
      g_usleep(kStepAsideUs);
    }
    kiv_function_lock(f_);
  }
  ~ProducerLock() { kiv_function_unlock(f_); }
  ProducerLock(const ProducerLock &) = delete;
  ProducerLock &operator=(const ProducerLock &) = delete;

private:
  static constexpr gint64 kPollUs = 30;
  static constexpr int kStepsAside = 8;
  static constexpr gulong kStepAsideUs = 50;
  KivFunction *f_;
};

/* The histogram's own fill slot: one entry, under the lock the caller
 * holds. */
void histogram_fill_real(KivHistogram *self, double x, double w);

/* What the values and weights of a batch tell before any is filled. */
struct BatchScan {
  bool finite;       /* every product w x is finite: no NaN or infinite
                      * value or weight, no overflow */
  bool plus_zero_w;  /* some w has its sign bit clear */
  bool plus_zero_wx; /* some w x has its sign bit clear */
};

/* What a bin number depends on besides the value. */
struct Binning {
  double xmin, step;
  int nbin;

  static Binning of(const KivFunction *f) { return {f->xmin, f->step, f->nbin}; }

  /* Compared bit for bit: the same bits give the same bins. */
  bool operator==(const Binning &o) const;
};

/* How a batch will be filled, decided before the lock is taken, so that
 * producers in other threads can fill meanwhile: whether the fill slot
 * folds, the scan of the values and weights, and the early bins. */
struct BatchPlan {
  bool fold;
  BatchScan scan;
  gsize early;     /* values whose bins are in early_bins */
  Binning binning; /* the binning they were found with */
};

BatchPlan histogram_plan_batch(KivHistogram *self, const double *x, const double *w, gsize n);

/* A batch under the lock the caller holds. */
void histogram_fill_batch(KivHistogram *self, const double *x, const double *w, gsize n,
                          const BatchPlan &plan);

} // namespace kiv

#endif /* KIV_HISTOGRAM_PRIVATE_H */
