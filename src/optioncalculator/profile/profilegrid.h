#pragma once

#include <QList>

// The prices at which the profiles are computed: every step of the strikes from the first
// strike to the last, and, where the user looks (the visible strikes widened by one strike
// each side), at least about a hundred points, unless the view holds a hundred steps already
// or is narrower than a hundred steps of the base's own price.
//
// strikes: ascending and positive (a zero or negative strike is passed over); a strike
// below its predecessor gives no grid. view: the price axis, lower to upper. Empty when the
// view lies beside the strikes or nothing can be made.
QList<double> profileGrid(const QList<double>& strikes, double viewLow, double viewHigh,
                          double strikeStep, double basePriceStep);

// The price axis lies wholly below or above the strikes.
bool viewBesideStrikes(const QList<double>& strikes, double viewLow, double viewHigh);
