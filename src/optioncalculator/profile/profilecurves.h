#pragma once

#include <QMap>
#include <QPointF>
#include <QVector>

// The result of one pass of the profile calculation: a series of points per curve set
// (each active position in row order when partial curves are on, then the sum when
// summary curves are on), value (profit and the four Greeks) and profile (what-if,
// current, expiry), one point per grid price.
struct ProfileCurves
{
    using Series = QVector<QPointF>;
    // series[curveSet][valueIndex][profileType]
    QVector<QVector<QVector<Series>>> series;
    // Per value index: false when any point of that value could not be used.
    QMap<int, bool> valid;
    // Later plots of a batch draw from this result instead of computing again.
    bool reuse = false;

    bool isValid(int valueIndex) const { return valid.value(valueIndex, false); }
    int curveSetCount() const { return series.size(); }
};
