/* axis.h: round axis divisions and a common power-of-ten multiplier for a
 * value range, shared by the chart and gauge widgets. */
#ifndef KIV_AXIS_H
#define KIV_AXIS_H

#include "kivdefs.h"

G_BEGIN_DECLS

/* Splits vmax - vmin into *mantisa times 10 to the power *exponent, the
 * exponent being a whole multiple of scale (3 gives engineering steps). */
KIV_API void get_order_of_magnitude(double vmin, double vmax, double scale,
                                    double *mantisa, double *exponent);

/* Chooses about Nold divisions of [Wmin, Wmax] whose width is 1, 2 or 5
 * times a power of ten; *BinLow and *BinHigh are the first and last whole
 * multiples of the width inside the range and *Nbins the divisions between
 * them.  Nold = -1 with a positive *Bwidth keeps the caller's width. */
KIV_API void getbins(float Wmin, float Wmax, int Nold, float *BinLow,
                     float *BinHigh, int *Nbins, float *Bwidth);

G_END_DECLS

#endif /* KIV_AXIS_H */
