/* function-private.h: what KivFunction shares with the rest of the library's
 * C++ sources; not installed. */
#ifndef KIV_FUNCTION_PRIVATE_H
#define KIV_FUNCTION_PRIVATE_H

#include "function.h"

G_BEGIN_DECLS

/* Applies a new bin width the way a write of "xstep" does: recomputes nbin
 * and xmax from it, or refuses it with a warning and returns FALSE when it
 * yields no bin count from 1 to 999999.  The caller holds the mutex. */
gboolean _kiv_function_set_step(KivFunction *self, double s);

G_END_DECLS

namespace kiv {

/* The bin of x: truncation toward zero, so a quotient in (-1, 0) is bin 0;
 * below that, and NaN, -1; at or past the top, nbin.  The comparisons are
 * made on the double so that NaN and huge quotients never reach an int
 * conversion.  Inline so that batched fills keep their loops vectorised. */
inline int bin_of(double x, double xmin, double step, int nbin) {
  double q = (x - xmin) / step;
  return !(q > -1.0) ? -1 : q >= nbin ? nbin : static_cast<int>(q);
}

/* Holds a function's mutex for the lifetime of a scope. */
class FunctionLock {
public:
  explicit FunctionLock(KivFunction *f) : f_(f) { kiv_function_lock(f_); }
  ~FunctionLock() { kiv_function_unlock(f_); }
  FunctionLock(const FunctionLock &) = delete;
  FunctionLock &operator=(const FunctionLock &) = delete;

private:
  KivFunction *f_;
};

} // namespace kiv

#endif /* KIV_FUNCTION_PRIVATE_H */
