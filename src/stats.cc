/* stats.cc: KivStats, weighted running sums of one or two variables. */
#include "stats.h"
#include "stats-private.h"
#include "kiv-private.h"

#include <cmath>

enum {
  PROP_0,
  PROP_NC,
  PROP_X_MEAN,
  PROP_X_RMS,
  PROP_X_STDEV,
  PROP_X_MIN,
  PROP_X_MAX,
  PROP_Y_MEAN,
  PROP_Y_RMS,
  PROP_Y_STDEV,
  PROP_Y_MIN,
  PROP_Y_MAX,
  PROP_CORR,
};

G_DEFINE_TYPE(KivStats, kiv_stats, G_TYPE_OBJECT)

static void kiv_stats_get_property(GObject *object, guint prop_id, GValue *value,
                                   GParamSpec *pspec) {
  KivStats *self = KIV_STATS(object);

  switch (prop_id) {
  case PROP_NC:
    g_value_set_double(value, kiv_stats_get_nc(self));
    break;
  case PROP_X_MEAN:
    g_value_set_double(value, kiv_stats_get_mean(self, 0));
    break;
  case PROP_Y_MEAN:
    g_value_set_double(value, kiv_stats_get_mean(self, 1));
    break;
  case PROP_X_RMS:
    g_value_set_double(value, kiv_stats_get_rms(self, 0));
    break;
  case PROP_Y_RMS:
    g_value_set_double(value, kiv_stats_get_rms(self, 1));
    break;
  case PROP_X_STDEV:
    g_value_set_double(value, kiv_stats_get_stdev(self, 0));
    break;
  case PROP_Y_STDEV:
    g_value_set_double(value, kiv_stats_get_stdev(self, 1));
    break;
  case PROP_CORR:
    g_value_set_double(value, kiv_stats_get_correlation(self));
    break;
  case PROP_X_MIN:
    g_value_set_double(value, kiv_stats_get_min(self, 0));
    break;
  case PROP_X_MAX:
    g_value_set_double(value, kiv_stats_get_max(self, 0));
    break;
  case PROP_Y_MIN:
    g_value_set_double(value, kiv_stats_get_min(self, 1));
    break;
  case PROP_Y_MAX:
    g_value_set_double(value, kiv_stats_get_max(self, 1));
    break;
  default:
    G_OBJECT_WARN_INVALID_PROPERTY_ID(object, prop_id, pspec);
    break;
  }
}

static void kiv_stats_class_init(KivStatsClass *klass) {
  GObjectClass *object_class = G_OBJECT_CLASS(klass);
  object_class->get_property = kiv_stats_get_property;

  struct Prop {
    guint id;
    const char *name, *nick, *blurb;
  };
  static const Prop props[] = {
      {PROP_NC, "nc", "nc", "Number of entries"},
      {PROP_X_MEAN, "mean_x", "X mean", "Mean value of X"},
      {PROP_Y_MEAN, "mean_y", "Y mean", "Mean value of Y"},
      {PROP_X_RMS, "rms_x", "X rms", "RMS of X"},
      {PROP_Y_RMS, "rms_y", "Y rms", "RMS of Y"},
      {PROP_X_STDEV, "stdev_x", "X stdev", "Standard deviation of X"},
      {PROP_Y_STDEV, "stdev_y", "Y stdev", "Standard deviation of Y"},
      {PROP_CORR, "corr", "XY correlation", "X and Y correlation"},
      {PROP_X_MIN, "xmin", "xmin", "X minimum value"},
      {PROP_X_MAX, "xmax", "xmax", "X maximum value"},
      {PROP_Y_MIN, "ymin", "ymin", "Y minimum value"},
      {PROP_Y_MAX, "ymax", "ymax", "Y maximum value"},
  };
  for (const Prop &p : props)
    g_object_class_install_property(object_class, p.id,
        g_param_spec_double(p.name, p.nick, p.blurb, -G_MAXDOUBLE, G_MAXDOUBLE, 0.0,
                            G_PARAM_READABLE));
}

static void kiv_stats_init(KivStats *self) {
  kiv_stats_reset(self);
}

KivStats *kiv_stats_new(void) {
  return KIV_STATS(g_object_new(KIV_TYPE_STATS, NULL));
}

void kiv_stats_add(KivStats *self, double x, double y, double w) {
  g_return_if_fail(self != NULL);
  kiv::stats_add(self, x, y, w);
}

void kiv_stats_reset(KivStats *self) {
  g_return_if_fail(self != NULL);
  self->nc = 0.0;
  for (double &s : self->s)
    s = 0.0;
  self->xmin[0] = self->xmin[1] = G_MAXDOUBLE;
  self->xmax[0] = self->xmax[1] = -G_MAXDOUBLE;
}

void kiv_stats_copy(KivStats *self, KivStats *cpy) {
  cpy->nc = self->nc;
  for (int i = 0; i < 5; i++)
    cpy->s[i] = self->s[i];
  for (int i = 0; i < 2; i++) {
    cpy->xmin[i] = self->xmin[i];
    cpy->xmax[i] = self->xmax[i];
  }
}

gdouble kiv_stats_get_nc(KivStats *self) {
  g_return_val_if_fail(self != NULL, 0.0);
  return self->nc;
}

gdouble kiv_stats_get_mean(KivStats *self, int w) {
  g_return_val_if_fail(self != NULL, 0.0);
  g_return_val_if_fail((w>=0&&w<2), 0.0);
  return self->nc > 0.0 ? self->s[w] / self->nc : 0.0;
}

gdouble kiv_stats_get_rms(KivStats *self, int w) {
  g_return_val_if_fail(self != NULL, 0.0);
  g_return_val_if_fail((w>=0&&w<2), 0.0);
  if (self->nc < 2.0)
    return 0.0;
  double mean = self->s[w] / self->nc;
  return self->s[w + 2] / self->nc - mean * mean;
}

gdouble kiv_stats_get_stdev(KivStats *self, int w) {
  g_return_val_if_fail(self != NULL, 0.0);
  g_return_val_if_fail((w>=0&&w<2), 0.0);
  /* Equal values can leave the variance a rounding error below zero; the
   * deviation of such data is 0, not NaN. */
  double rms = kiv_stats_get_rms(self, w);
  return rms > 0.0 ? std::sqrt(rms) : 0.0;
}

gdouble kiv_stats_get_min(KivStats *self, int w) {
  g_return_val_if_fail(self != NULL, 0.0);
  g_return_val_if_fail((w>=0&&w<2), 0.0);
  return self->xmin[w];
}

gdouble kiv_stats_get_max(KivStats *self, int w) {
  g_return_val_if_fail(self != NULL, 0.0);
  g_return_val_if_fail((w>=0&&w<2), 0.0);
  return self->xmax[w];
}

gdouble kiv_stats_get_correlation(KivStats *self) {
  g_return_val_if_fail(self != NULL, 0.0);
  if (self->nc <= 0.0)
    return 0.0;
  double d = kiv_stats_get_stdev(self, 0) * kiv_stats_get_stdev(self, 1);
  if (d == 0.0)
    return 0.0;
  return (self->s[4] / self->nc - kiv_stats_get_mean(self, 0) * kiv_stats_get_mean(self, 1)) / d;
}
