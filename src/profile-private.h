/* profile-private.h: what the histogram's batched fill needs of profiles;
 * not installed. */
#ifndef KIV_PROFILE_PRIVATE_H
#define KIV_PROFILE_PRIVATE_H

#include "profile.h"

/* A batch of kiv_histogram_fill() calls on a profile, values v (1 where v
 * is NULL) at x, under the lock the caller holds; FALSE, with nothing
 * done, when h's fill is not the profile's own. */
gboolean _kiv_profile_fill_batch(KivHistogram *h, const double *x, const double *v, gsize n);

#endif /* KIV_PROFILE_PRIVATE_H */
