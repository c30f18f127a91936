/* kivdefs.h: definitions shared by every public header of libgtkkiv. */
#ifndef KIV_DEFS_H
#define KIV_DEFS_H

#include <glib.h>

/* The shared object exports only what is marked KIV_API: the library is
 * built with hidden visibility by default, so helpers shared between its
 * source files stay private to it. */
#if defined(KIV_COMPILATION) && defined(__GNUC__)
#define KIV_API __attribute__((visibility("default")))
#else
#define KIV_API
#endif

#endif /* KIV_DEFS_H */
