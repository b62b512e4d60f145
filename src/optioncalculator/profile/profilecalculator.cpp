#include "profilecalculator.h"

#include "plot/plotnumbers.h"
#include "portfolio/positionvaluation.h"
#include "portfolio/valuationmode.h"

#include <array>
#include <vector>

namespace {

ProfileCurves emptyResult()
{
    ProfileCurves result;
    for (int g = 0; g < ProfilePoint::ValueCount; ++g)
        result.valid[g] = false;
    return result;
}

} // namespace

ProfileCurves calculateProfiles(const ValuationSnapshot& snapshot, const QList<double>& grid,
                                int positionCount, int curveModes)
{
    ProfileCurves result = emptyResult();
    const bool partial = curveModes & PartialCurves;
    const bool summary = curveModes & SummaryCurves;
    if (grid.isEmpty() || positionCount < 1 || snapshot.rows.isEmpty() || !(partial || summary))
        return result;

    const int points = grid.size();
    const int sets = (partial ? positionCount : 0) + (summary ? 1 : 0);
    result.series.resize(sets);
    for (auto& set : result.series) {
        set.resize(ProfilePoint::ValueCount);
        for (auto& value : set) {
            value.resize(ValuationModeCount);
            for (auto& profile : value)
                profile.resize(points);
        }
    }
    std::array<std::vector<ProfilePoint>, ValuationModeCount> totals;
    if (summary) {
        ProfilePoint zero;
        std::fill(std::begin(zero.valid), std::end(zero.valid), true);
        for (auto& profile : totals)
            profile.assign(points, zero);
    }
    for (int g = 0; g < ProfilePoint::ValueCount; ++g)
        result.valid[g] = true;

    bool written = false;
    double lastStep = -1.0;
    const ExpiryClock* clock = snapshot.hasClock ? &snapshot.clock : nullptr;
    int curveSet = 0;
    for (const ValuationSnapshot::Row& row : snapshot.rows) {
        const PositionValuationData& data = row.data;
        if (data.priceStep <= 0.0 || data.sectype.isNull())
            continue;
        lastStep = data.priceStep;
        // A snapshot with more rows than counted has no series for the rest.
        const bool stored = partial && curveSet < positionCount;
        for (int profile = 0; profile < ValuationModeCount; ++profile) {
            const double years =
                yearsToExpiry(clock, data.lasttime, data.expdate, profile, snapshot.shifts);
            if (!(years > 0.0))
                return emptyResult();
            PreparedValuation prepared = prepareValuation(profile, years, data, snapshot.shifts);
            // The inner loop runs for every position, profile and price: its targets are
            // taken once here.
            QPointF* targets[ProfilePoint::ValueCount] = {};
            if (stored) {
                for (int g = 0; g < ProfilePoint::ValueCount; ++g)
                    targets[g] = result.series[curveSet][g][profile].data();
            }
            ProfilePoint* profileTotals = summary ? totals[profile].data() : nullptr;
            for (int i = 0; i < points; ++i) {
                const double x = grid.at(i);
                const ProfilePoint point = valueAt(prepared, x);
                if (summary) {
                    written = true;
                    ProfilePoint& total = profileTotals[i];
                    for (int g = 0; g < ProfilePoint::ValueCount; ++g) {
                        total.values[g] += point.values[g];
                        if (!point.valid[g] || !ProfilePoint::isUsable(total.values[g]))
                            total.valid[g] = false;
                    }
                }
                for (int g = 0; g < ProfilePoint::ValueCount; ++g) {
                    if (!point.valid[g])
                        result.valid[g] = false;
                }
                if (stored) {
                    written = true;
                    for (int g = 0; g < ProfilePoint::ValueCount; ++g)
                        targets[g][i] = QPointF(x, point.values[g]);
                }
            }
        }
        ++curveSet;
    }
    if (!written)
        return emptyResult();

    if (summary) {
        const int sum = partial ? positionCount : 0;
        const bool roundProfit = lastStep > 0.0 && !fuzzyZero(lastStep);
        for (int profile = 0; profile < ValuationModeCount; ++profile) {
            for (int i = 0; i < points; ++i) {
                const double x = grid.at(i);
                const ProfilePoint& total = totals[profile][i];
                for (int g = 0; g < ProfilePoint::ValueCount; ++g) {
                    if (!total.valid[g])
                        result.valid[g] = false;
                }
                // The rows may have different steps; the sum takes the last one's.
                double profit = total.values[ProfilePoint::Profit];
                if (roundProfit)
                    profit = roundHalfUp(profit / lastStep) * lastStep;
                result.series[sum][ProfilePoint::Profit][profile][i] = QPointF(x, profit);
                for (int g = 1; g < ProfilePoint::ValueCount; ++g)
                    result.series[sum][g][profile][i] = QPointF(x, total.values[g]);
            }
        }
    }
    return result;
}
