#pragma once

#include <QList>

#include <functional>
#include <optional>

// The arithmetic of the price axis, kept apart from the Qwt classes that use it so that it
// works on plain lists: where the ticks go and which of them get a label.

// The three tick lists of a scale division.
struct ScaleTicks
{
    QList<double> minor;
    QList<double> medium;
    QList<double> major;
};

// Moves the ticks so that the major tick nearest to reference falls on it. The reference
// is first snapped to a whole number when it lies within one unit of the strikes' last
// digit of one (strikeDecimals < 0: no such unit known, no snapping). Only ticks strictly
// inside (x1, x2) are kept. Nothing to do (reference outside [x1, x2], already on a major
// tick, no major ticks, a bound not finite) gives no value.
std::optional<ScaleTicks> shiftTicksToReference(const ScaleTicks& ticks, double x1, double x2,
                                                double reference, int strikeDecimals);

// The ticks that may get a label, ascending: the major ticks, then the medium ones, and
// the highlighted value when highlighting is on, it lies strictly inside (lower, upper) and
// it is no tick yet. *highlightIndex receives the index of the highlighted value, -1 when
// it is not in the list; with highlighting off it may still be a tick, and its parity then
// steers the thinning all the same.
QList<double> labelCandidates(const QList<double>& major, const QList<double>& medium,
                              bool highlightEnabled, double highlight, double lower, double upper,
                              int* highlightIndex);

// Whether the labels of two neighbouring ticks (left < right) would overlap.
using LabelOverlap = std::function<bool(double left, double right)>;

// Whether any two neighbours of the list overlap; lists of fewer than 2 never do.
bool labelsOverlap(const QList<double>& ticks, const LabelOverlap& overlap);

// Thins the sorted candidates until neighbouring labels no longer overlap. First it tries
// to drop just the highlighted label's nearer neighbour; failing that it keeps every second
// tick, again and again, at most tickCount - 1 times, always on the highlighted tick's
// parity so that its label survives. highlightIndex is its index in ticks or -1;
// tickCount the number of major and medium ticks of the division. An empty result means
// the halving never ran: the axis then labels its major and medium ticks.
QList<double> thinLabels(const QList<double>& ticks, int highlightIndex, int tickCount,
                         const LabelOverlap& overlap);
