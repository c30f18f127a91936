/* kiv-private.h: helpers shared by the library's own sources; not installed. */
#ifndef KIV_PRIVATE_H
#define KIV_PRIVATE_H

#include <glib-object.h>
#include <cmath>

/* Under g++ GLib names the failing function with __PRETTY_FUNCTION__, which
 * spells out the whole C++ signature.  The library's criticals must read as
 * those of a C library ("kiv_function_new: assertion 'nx>0' failed"), so the
 * plain function name is used instead. */
#undef G_STRFUNC
#define G_STRFUNC ((const char *) (__func__))

namespace kiv {

/* Holds a GMutex for the lifetime of a scope. */
class MutexLock {
public:
  explicit MutexLock(GMutex *m) : m_(m) { g_mutex_lock(m_); }
  ~MutexLock() { g_mutex_unlock(m_); }
  MutexLock(const MutexLock &) = delete;
  MutexLock &operator=(const MutexLock &) = delete;

private:
  GMutex *m_;
};

/* Truncates toward zero like a C cast, but defined for every double:
 * NaN gives 0 and values beyond the int range saturate.  Bin counts and
 * indices computed from caller data go through here, since casting an
 * out-of-range double to int is undefined behaviour. */
inline int trunc_to_int(double v) {
  if (std::isnan(v))
    return 0;
  if (v >= 2147483647.0)
    return G_MAXINT;
  if (v <= -2147483648.0)
    return G_MININT;
  return static_cast<int>(v);
}

} // namespace kiv

#endif /* KIV_PRIVATE_H */
