#pragma once

#include "profilecurves.h"

#include <QList>

struct ValuationSnapshot;

// The curve modes of a calculator: bit 0 one curve per position, bit 1 the portfolio's sum.
enum CurveMode : int { PartialCurves = 1, SummaryCurves = 2 };

// The profiles of a model portfolio along a grid of base prices: every active row of the
// snapshot valued at every grid price on the three profiles, as a series per position
// (partialCurves) and, last, the sum (summaryCurves). The sum's profit is rounded to the
// price step of the last row valued. Knows no widget and reads no table.
ProfileCurves calculateProfiles(const ValuationSnapshot& snapshot, const QList<double>& grid,
                                int positionCount, int curveModes);
