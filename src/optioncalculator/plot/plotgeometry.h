#pragma once

// The arithmetic of the plot's zoom, pan and tracker over plain values: intervals in plot
// coordinates, the data's rectangle and the scale maps of the canvas. The plot, its panner
// and picker only translate events and widgets into these calls.

#include <QLineF>
#include <QList>
#include <QPoint>
#include <QPointF>
#include <QRectF>

#include <qwt_interval.h>
#include <qwt_scale_map.h>
#include <qwt_series_data.h>

#include <optional>

// Corners of a set of points: the least x and y and the largest x and y. Empty, the least
// are DBL_MAX and the largest -DBL_MAX.
struct PlotBounds
{
    double minX;
    double minY;
    double maxX;
    double maxY;

    static PlotBounds empty();
    bool isEmpty() const { return minX > maxX || minY > maxY; }
    void include(const QPointF& point);
};

// New intervals for the axes; an axis whose flag is clear stays as it is.
struct AxisChange
{
    bool changeX = false;
    bool changeY = false;
    QwtInterval x;
    QwtInterval y;
};

// Everything a wheel step over the plot depends on.
struct WheelZoomRequest
{
    int delta = 0;       // angle delta, 120 a notch
    QPointF cursor;      // the cursor's last place on the canvas, in plot coordinates
    QwtInterval x;       // the axes as they stand
    QwtInterval y;
    QRectF data;         // dataRect() of the plot
    double minXRange = -1.0;
    bool onXAxis = false; // the wheel is over the price axis
    bool onYAxis = false; // over the value axis
    bool control = false;
    bool shift = false;
};

// Whole wheel steps of a delta: 120 is one, 100 none.
int wheelSteps(int delta);
// The factor a wheel step scales the view by: 0.9 and 1.1 for one step in and out, 0.89
// and 1.11 for more; 0 for none.
double wheelZoomFactor(int steps);
// The new view of a wheel step around the cursor, or nothing when the step does nothing
// (no whole step, no data, zoomed in to the limits, zoomed out with all the data in view).
std::optional<AxisChange> wheelZoom(const WheelZoomRequest& request);

// Zoom of one axis by a drag on it: a tenth of the range at a time, growing towards the
// side where data lies outside, shrinking around the middle. Nothing when the axis is
// already as small as minRange allows, when growing with all the data in view, or when
// shrinking would turn the interval over.
std::optional<QwtInterval> axisDragZoom(const QwtInterval& axis, double dataMin, double dataMax,
                                        bool grow, double minRange);

// Which bound of an axis panLimit() examines.
enum class AxisEdge { Lower, Upper };
// The part of a pan of pixels that brings an edge of the axis at most a tenth of its range
// past value, the data's edge, tried in the fractions 0/1, 1/1, 0/2, 1/2, 2/2, 0/3 ... 9/9;
// DBL_MAX when no fraction does.
double panLimit(double value, AxisEdge edge, const QwtScaleMap& map, double pixels);
// The move a pan by (dx, dy) pixels makes, given the canvas maps of the axes as they stand:
// unchanged inside the data or wholly off it, shortened or refused where it would carry the
// view away past an edge of the data. Nothing when there is no data or nothing would move.
std::optional<QPoint> panMove(const QwtScaleMap& xMap, const QwtScaleMap& yMap, bool xEnabled,
                              bool yEnabled, const QRectF& data, int dx, int dy);

// The distance of a curve from the cursor in a plane where the data rectangle spans 0 to
// 100 on both axes; -1 when it has none (no samples, no data).
double curveDistance(const QwtSeriesData<QPointF>& samples, const QRectF& data,
                     const QPointF& cursor);

// The samples inside the view (borders included) widen the bounds.
void includeSamplesInView(const QwtSeriesData<QPointF>& samples, const QRectF& view,
                          PlotBounds& bounds);
// Each pair of neighbouring samples of which exactly one lies in the view.
void appendBorderCrossings(const QwtSeriesData<QPointF>& samples, const QRectF& view,
                           QList<QLineF>& segments);
