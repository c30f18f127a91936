/* gthread-compat.h: the mutex type of libgtkkiv. */
#ifndef KIV_GTHREAD_COMPAT_H
#define KIV_GTHREAD_COMPAT_H

#include <glib.h>

G_BEGIN_DECLS

/**
 * KivMutex:
 *
 * The mutex of every data object and every chart: a plain, non-recursive
 * #GMutex.  Whoever holds it must not call an operation that takes it
 * again.  Data objects lock theirs with kiv_function_lock().
 */
typedef GMutex KivMutex;

G_END_DECLS

#endif /* KIV_GTHREAD_COMPAT_H */
