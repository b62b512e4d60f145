#pragma once

#include <QString>

// Number helpers of the plots: comparisons that forgive rounding noise, rounding with ties
// towards plus infinity, and the texts of axis labels and tracker values. None of them
// reports an error: a value that cannot be shown gives an empty text or -1.

// True when the two differ by no more than a 1e-12 part of the smaller magnitude.
bool fuzzyEqual(double a, double b);
// fuzzyEqual(1.0, x + 1.0): zero to within rounding noise of one.
bool fuzzyZero(double x);
// The nearest whole number, ties towards plus infinity (-1.5 gives -1).
double roundHalfUp(double d);

// Fixed notation with that many decimals, without trailing zeros or a bare point; "-0"
// shows as "0". Negative decimals, NaN or infinity give an empty text.
QString formatNumber(double value, int decimals);
// The digits after the point of formatNumber(value, 10). With limited, the integer digits
// count too: 17 of them or more give -1, and together the two never exceed 16.
int decimalsOf(double value, bool limited);
// The value rounded to a multiple of step, half away from zero, as text; empty when the
// step is not positive or the value is not a number.
QString roundToStepText(double value, double step);
