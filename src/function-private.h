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
