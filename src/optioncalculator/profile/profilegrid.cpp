#include "profilegrid.h"

#include "plot/plotnumbers.h"

#include <algorithm>
#include <cfloat>
#include <cmath>

bool viewBesideStrikes(const QList<double>& strikes, double viewLow, double viewHigh)
{
    return !strikes.isEmpty() && (viewLow > strikes.last() || strikes.first() > viewHigh);
}

QList<double> profileGrid(const QList<double>& strikes, double viewLow, double viewHigh,
                          double strikeStep, double basePriceStep)
{
    if (strikes.isEmpty() || !(strikeStep > 0.0) || !std::isfinite(viewLow)
        || !std::isfinite(viewHigh) || viewBesideStrikes(strikes, viewLow, viewHigh))
        return {};
    const double first = strikes.first(), last = strikes.last();

    // The visible part of the strikes, widened by one strike each side.
    double leftBound = DBL_MAX, rightBound = -DBL_MAX;
    for (int i = 0; i + 1 < strikes.size(); ++i) {
        const double s0 = strikes.at(i), s1 = strikes.at(i + 1);
        if (std::fabs(s0) <= 1e-12 || std::fabs(s1) <= 1e-12 || s0 < 0.0 || s1 < 0.0)
            continue;
        if (s0 > s1)
            return {};
        const bool in0 = viewLow <= s0 && s0 <= viewHigh;
        const bool in1 = viewLow <= s1 && s1 <= viewHigh;
        if (in0 && !in1)
            rightBound = s1;
        else if (!in0 && in1)
            leftBound = s0;
    }
    if (leftBound == DBL_MAX)
        leftBound = first;
    if (rightBound == -DBL_MAX)
        rightBound = last;
    if (!(leftBound < rightBound))
        return {};

    // A step added in floating point: points need not fall on strikes.
    QList<double> coarse;
    double x = first;
    coarse.append(x);
    while (last >= x) {
        x += strikeStep;
        coarse.append(x);
    }
    if (x > last && !fuzzyEqual(x, last))
        coarse.removeLast();

    const double span = viewHigh - viewLow;
    const bool wide = basePriceStep * 100.0 >= span;
    // Strikes closer than the step would leave no whole step in the window: take it as one.
    const double n = std::max(0.0, std::trunc((rightBound - leftBound) / strikeStep) - 1.0);
    if (n >= 100.0 || wide)
        return coarse;

    const int k = int(std::ceil(100.0 / (n + 1.0)));
    const double fine = strikeStep / (k + 1);
    QList<double> grid;
    grid.reserve(coarse.size() * (k + 1));
    for (double c : coarse) {
        grid.append(c);
        if ((c >= leftBound || fuzzyEqual(c, leftBound)) && rightBound > c
            && !fuzzyEqual(c, rightBound)) {
            double point = c;
            for (int j = 0; j < k; ++j) {
                point += fine;
                grid.append(point);
            }
        }
    }
    return grid;
}
