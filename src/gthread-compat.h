/* gthread-compat.h: the mutex type of libgtkkiv. */
#ifndef KIV_GTHREAD_COMPAT_H
#define KIV_GTHREAD_COMPAT_H

#include <glib.h>

G_BEGIN_DECLS

/* Every data object and every chart serialises on one of these.  It is a
 * plain, non-recursive GLib mutex: whoever holds it must not call an
 * operation that takes it again. */
typedef GMutex KivMutex;

G_END_DECLS

#endif /* KIV_GTHREAD_COMPAT_H */
