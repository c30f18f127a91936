/* kivdefs.h: definitions shared by every public header of libgtkkiv. */
#ifndef KIV_DEFS_H
#define KIV_DEFS_H

#include <glib.h>

/**
 * KIV_API:
 *
 * Marks a declaration that the shared object exports.  The library is
 * built with hidden visibility, so helpers shared between its source files
 * stay private to it; for programs that use the library the mark expands
 * to nothing.
 */
#if defined(KIV_COMPILATION) && defined(__GNUC__)
#define KIV_API __attribute__((visibility("default")))
#else
#define KIV_API
#endif

#endif /* KIV_DEFS_H */
