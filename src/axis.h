/* axis.h: round axis divisions and a common power-of-ten multiplier for a
 * value range, shared by the chart and gauge widgets. */
#ifndef KIV_AXIS_H
#define KIV_AXIS_H

#include "kivdefs.h"

G_BEGIN_DECLS

/**
 * get_order_of_magnitude:
 * @vmin: the lower end of the range
 * @vmax: the upper end of the range
 * @scale: the exponent step; 3 gives engineering multipliers
 * @mantisa: (out): set to the mantissa
 * @exponent: (out): set to the exponent, a whole multiple of @scale
 *
 * Splits the range @vmax - @vmin into @mantisa times 10 to the power
 * @exponent, for the common multiplier of an axis.  Only the size of the
 * logarithm counts: with @scale 3 a range of 5000 gives (5, 3) and a range
 * of 0.0005 gives (5e-07, 3); a reversed range gives a negative exponent,
 * rounded away from zero.  A range that is not finite, or a @scale that is
 * not a positive finite number, gives the range itself and exponent 0.
 * Both outputs are always written.
 */
KIV_API void get_order_of_magnitude(double vmin, double vmax, double scale,
                                    double *mantisa, double *exponent);

/**
 * getbins:
 * @Wmin: the lower end of the range
 * @Wmax: the upper end of the range
 * @Nold: the number of divisions wished for, or -1 to keep the width
 *   passed in @Bwidth
 * @BinLow: (out): set to the first division mark
 * @BinHigh: (out): set to the last division mark
 * @Nbins: (out): set to the number of divisions between them
 * @Bwidth: (inout): the division width; read only when @Nold is -1
 *
 * Chooses about @Nold round divisions of [@Wmin, @Wmax] for an axis, in
 * single precision.  The width is 1, 2 or 5 times a power of ten; @BinLow
 * and @BinHigh are the first and last whole multiples of it inside the
 * range (either may lie outside by less than a ten-thousandth of a
 * division).  For example 0 to 10 with 10 divisions gives 0, 10, 10
 * divisions of 1, and 0.5 to 9.5 gives 1, 9, 8 divisions of 1.  With
 * @Nold -1 and a positive finite @Bwidth that width is kept.
 *
 * Every output is always written: equal limits are opened by one unit,
 * NaN limits give one division from 0 to 1, infinite limits are taken as
 * the largest floats, and a range too wide or too narrow to round comes
 * back as one division between its own limits.
 */
KIV_API void getbins(float Wmin, float Wmax, int Nold, float *BinLow,
                     float *BinHigh, int *Nbins, float *Bwidth);

G_END_DECLS

#endif /* KIV_AXIS_H */
