#include "scaleticks.h"

#include "plotnumbers.h"

#include <algorithm>
#include <cmath>

namespace {

QList<double> shifted(const QList<double>& ticks, double shift, double x1, double x2)
{
    QList<double> result;
    result.reserve(ticks.size());
    for (const double t : ticks) {
        const double moved = t - shift;
        if (moved > x1 && moved < x2)
            result.append(moved);
    }
    return result;
}

QList<double> withParity(const QList<double>& source, int parity)
{
    QList<double> result;
    result.reserve(source.size() / 2 + 1);
    for (int i = parity; i < source.size(); i += 2)
        result.append(source.at(i));
    return result;
}

} // namespace

std::optional<ScaleTicks> shiftTicksToReference(const ScaleTicks& ticks, double x1, double x2,
                                                double reference, int strikeDecimals)
{
    // A bound that is no number would make every comparison below false and empty the lists.
    if (!std::isfinite(x1) || !std::isfinite(x2) || !std::isfinite(reference))
        return std::nullopt;

    double r = reference;
    // A price a hair off a whole number is that number; without the strikes' decimals the
    // hair is unknown, and snapping by a unit of 10^1 would move real prices.
    if (strikeDecimals >= 0) {
        const double rounded = roundHalfUp(r);
        if (std::fabs(r - rounded) < 1.0 / std::pow(10.0, strikeDecimals))
            r = rounded;
    }
    if (x1 > r || r > x2)
        return std::nullopt;

    if (ticks.major.isEmpty())
        return std::nullopt;
    double largest = ticks.major.first();
    double nearest = ticks.major.first();
    for (const double t : ticks.major) {
        if (fuzzyEqual(t, r))
            return std::nullopt;
        largest = std::max(largest, t);
        // Strictly nearer only: on a tie the first one stays.
        if (std::fabs(t - r) < std::fabs(nearest - r))
            nearest = t;
    }
    if (!(largest >= nearest))
        return std::nullopt;

    const double shift = nearest - r;
    ScaleTicks result;
    result.minor = shifted(ticks.minor, shift, x1, x2);
    result.medium = shifted(ticks.medium, shift, x1, x2);
    result.major = shifted(ticks.major, shift, x1, x2);
    return result;
}

QList<double> labelCandidates(const QList<double>& major, const QList<double>& medium,
                              bool highlightEnabled, double highlight, double lower, double upper,
                              int* highlightIndex)
{
    QList<double> ticks = major + medium;
    if (highlightEnabled && highlight > lower && highlight < upper && !ticks.contains(highlight))
        ticks.append(highlight);
    std::sort(ticks.begin(), ticks.end());
    if (highlightIndex)
        *highlightIndex = ticks.indexOf(highlight);
    return ticks;
}

bool labelsOverlap(const QList<double>& ticks, const LabelOverlap& overlap)
{
    for (int i = 0; i + 1 < ticks.size(); ++i) {
        if (overlap(ticks.at(i), ticks.at(i + 1)))
            return true;
    }
    return false;
}

QList<double> thinLabels(const QList<double>& ticks, int highlightIndex, int tickCount,
                         const LabelOverlap& overlap)
{
    if (ticks.size() < 2 || !labelsOverlap(ticks, overlap))
        return ticks;
    int h = highlightIndex >= 0 && highlightIndex < ticks.size() ? highlightIndex : -1;

    // Often the current price only crowds one neighbour: dropping that one label costs
    // less than halving the whole axis.
    if (h >= 0) {
        QList<int> pairs; // the left index of each overlapping pair
        for (int i = 0; i + 1 < ticks.size(); ++i) {
            if (overlap(ticks.at(i), ticks.at(i + 1)))
                pairs.append(i);
        }
        const bool holdsHighlight = pairs.contains(h) || pairs.contains(h - 1);
        if (holdsHighlight && pairs.size() == 1) {
            int neighbour;
            if (h == 0)
                neighbour = 1;
            else if (h == ticks.size() - 1)
                neighbour = h - 1;
            else
                neighbour =
                    ticks.at(h) - ticks.at(h - 1) < ticks.at(h + 1) - ticks.at(h) ? h - 1 : h + 1;
            QList<double> copy = ticks;
            copy.removeAt(neighbour);
            if (!labelsOverlap(copy, overlap))
                return copy;
        }
    }

    // Halving on the highlighted tick's parity keeps it in every round.
    int parity = h >= 0 ? h % 2 : 0;
    QList<double> labels;
    for (int round = 0; round < tickCount - 1; ++round) {
        const QList<double> source = labels.isEmpty() ? ticks : labels;
        if (h >= 0) {
            const int at = source.indexOf(ticks.at(h));
            if (at >= 0)
                parity = at % 2;
        }
        labels = withParity(source, parity);
        if (labels == source || !labelsOverlap(labels, overlap))
            break;
    }
    return labels;
}
