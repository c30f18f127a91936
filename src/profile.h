/* profile.h: KivProfile, a histogram whose bins hold the weighted mean of a
 * second variable, with the spread of that variable per bin. */
#ifndef KIV_PROFILE_H
#define KIV_PROFILE_H

#include "histogram.h"

G_BEGIN_DECLS

#define KIV_TYPE_PROFILE            (kiv_profile_get_type())
#define KIV_PROFILE(obj)            (G_TYPE_CHECK_INSTANCE_CAST((obj), KIV_TYPE_PROFILE, KivProfile))
#define KIV_PROFILE_CLASS(klass)    (G_TYPE_CHECK_CLASS_CAST((klass), KIV_TYPE_PROFILE, KivProfileClass))
#define KIV_IS_PROFILE(obj)         (G_TYPE_CHECK_INSTANCE_TYPE((obj), KIV_TYPE_PROFILE))
#define KIV_IS_PROFILE_CLASS(klass) (G_TYPE_CHECK_CLASS_TYPE((klass), KIV_TYPE_PROFILE))
#define KIV_PROFILE_GET_CLASS(obj)  (G_TYPE_INSTANCE_GET_CLASS((obj), KIV_TYPE_PROFILE, KivProfileClass))

typedef struct _KivProfile KivProfile;
typedef struct _KivProfileClass KivProfileClass;

/* The inherited contents y hold the weighted mean of y per bin; n holds the
 * weight sum and s the weighted mean of y^2 per bin (both owned). */
struct _KivProfile {
  KivHistogram H;
  double *n;
  double *s;
};

struct _KivProfileClass {
  KivHistogramClass parent_class;
};

KIV_API GType kiv_profile_get_type(void) G_GNUC_CONST;

KIV_API KivProfile *kiv_profile_new(int n, double xmin, double xmax, double *ptr);
KIV_API void kiv_profile_fill(KivProfile *p, double x, double y, double w);

G_END_DECLS

#endif /* KIV_PROFILE_H */
