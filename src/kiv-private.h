/* kiv-private.h: helpers shared by the library's own sources; not installed. */
#ifndef KIV_PRIVATE_H
#define KIV_PRIVATE_H

#include <cairo.h>
#include <glib-object.h>
#include <pango/pango.h>
#include <cmath>
#include <memory>

/* Under g++ GLib names the failing function with __PRETTY_FUNCTION__, which
 * spells out the whole C++ signature.  The library's criticals must read as
 * those of a C library ("kiv_function_new: assertion 'nx>0' failed"), so the
 * plain function name is used instead. */
#undef G_STRFUNC
#define G_STRFUNC ((const char *) (__func__))

/* A caller's text (a title, a curve name) as markup to be put inside the
 * library's own: the text itself when it is well-formed markup, otherwise
 * the text escaped, so that "R&D" or "<b" shows as typed.  Free with
 * g_free(). */
gchar *_kiv_safe_markup(const char *text);

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

/* The one owner of the library's C objects: GPtr<T> releases what it holds
 * with the deleter of T when it goes out of scope, so that every early
 * return releases what a function made.  A GObject type needs nothing more
 * (the default unrefs it); other types specialise Deleter. */
template <typename T>
struct Deleter {
  void operator()(T *p) const { g_object_unref(p); }
};
template <>
struct Deleter<gchar> {
  void operator()(gchar *p) const { g_free(p); }
};
template <>
struct Deleter<cairo_t> {
  void operator()(cairo_t *p) const { cairo_destroy(p); }
};
template <>
struct Deleter<cairo_surface_t> {
  void operator()(cairo_surface_t *p) const { cairo_surface_destroy(p); }
};

template <typename T>
using GPtr = std::unique_ptr<T, Deleter<T>>;

/* The names the sources have long used for the same owners. */
using CharPtr = GPtr<gchar>;
using CairoPtr = GPtr<cairo_t>;
using SurfacePtr = GPtr<cairo_surface_t>;
using LayoutPtr = GPtr<PangoLayout>;
template <typename T>
using ObjectPtr = GPtr<T>;

/* Frees any g_malloc'ed memory, for an owner of an array of records. */
struct GFree {
  void operator()(gpointer p) const { g_free(p); }
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
