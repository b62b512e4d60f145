#include "plotgeometry.h"

#include "plotnumbers.h"

#include <algorithm>
#include <cfloat>
#include <cmath>

PlotBounds PlotBounds::empty()
{
    return {DBL_MAX, DBL_MAX, -DBL_MAX, -DBL_MAX};
}

void PlotBounds::include(const QPointF& point)
{
    minX = std::min(minX, point.x());
    minY = std::min(minY, point.y());
    maxX = std::max(maxX, point.x());
    maxY = std::max(maxY, point.y());
}

int wheelSteps(int delta)
{
    return delta / 8 / 15;
}

double wheelZoomFactor(int steps)
{
    if (steps == 1)
        return 0.9;
    if (steps == -1)
        return 1.1;
    if (steps > 1)
        return 0.89;
    if (steps < -1)
        return 1.11;
    return 0.0;
}

std::optional<AxisChange> wheelZoom(const WheelZoomRequest& request)
{
    const int steps = wheelSteps(request.delta);
    const double factor = wheelZoomFactor(steps);
    if (steps == 0 || request.cursor.isNull())
        return std::nullopt;
    const QRectF& data = request.data;
    if (!(data.width() > 0) || data.height() < 0)
        return std::nullopt;

    const double lowerX = request.x.minValue(), upperX = request.x.maxValue();
    const double lowerY = request.y.minValue(), upperY = request.y.maxValue();
    const double width = upperX - lowerX, height = upperY - lowerY;
    if (!(width > 0) || !(height > 0))
        return std::nullopt;

    const bool zoomIn = steps > 0;
    double newWidth = width, newHeight = height;
    if (zoomIn || data.width() > width) {
        newWidth = width * factor;
        newHeight = newWidth * height / width;
    } else if (data.height() > height) {
        // The width in this line is intended: a step out widens the height alone by the
        // factor once the data fits across.
        newHeight = width * factor * height / width;
    } else {
        // Zooming out stops once all of the data is in view; nothing moved, so auto-scale
        // stays as it is.
        return std::nullopt;
    }
    if (zoomIn && (request.minXRange > newWidth || 1e-8 > newHeight))
        return std::nullopt;

    // Zooming out pins an edge of the view that lies beyond the data, so that the view
    // widens towards the data only.
    double newLeft = 0.0, newTop = 0.0;
    bool pinnedX = false, pinnedY = false, topAtUpper = false;
    if (!zoomIn) {
        if (data.x() > lowerX) {
            pinnedX = true;
            newLeft = lowerX;
        }
        if (upperX > data.x() + data.width()) {
            pinnedX = true;
            newLeft = upperX - newWidth;
        }
        if (data.y() > lowerY) {
            pinnedY = true;
            newTop = lowerY + newHeight;
        }
        if (upperY > data.y() + data.height()) {
            topAtUpper = true;
            newTop = upperY;
        }
    }
    // Elsewhere the cursor keeps its relative place in the view.
    const QPointF& c = request.cursor;
    if (!topAtUpper && !pinnedY)
        newTop = c.y() + (upperY - c.y()) / height * newHeight;
    if (!pinnedX)
        newLeft = c.x() - (c.x() - lowerX) / width * newWidth;

    enum Span { DataSpan, ViewSpan, DataOrViewSpan };
    bool changeX = false, changeY = false;
    Span span = ViewSpan;
    const bool neitherAxis = !request.onXAxis && !request.onYAxis;
    if ((request.control && request.shift) || (!request.control && !request.shift && neitherAxis)) {
        changeX = changeY = true;
        span = DataSpan;
    } else if (request.onXAxis) {
        changeX = true;
    } else if (request.onYAxis) {
        changeY = true;
    } else if (request.control) {
        changeX = true;
    } else {
        changeY = true;
        span = DataOrViewSpan;
    }

    AxisChange change;
    if (changeX) {
        change.changeX = true;
        change.x = QwtInterval(newLeft, newLeft + newWidth);
    }
    if (changeY) {
        // The vertical zoom of a plain step follows the height of the data, not of the view.
        double height = newHeight;
        if (span == DataSpan)
            height = std::min(data.height() * factor, newHeight);
        else if (span == DataOrViewSpan)
            height = std::min(data.height(), newHeight);
        const double newBottom = newTop - height;
        // An axis of no height would show nothing: it is left alone like one turned over.
        if (newBottom < newTop) {
            change.changeY = true;
            change.y = QwtInterval(newBottom, newTop);
        }
    }
    if (!std::isfinite(change.x.minValue()) || !std::isfinite(change.x.maxValue()))
        change.changeX = false;
    if (!std::isfinite(change.y.minValue()) || !std::isfinite(change.y.maxValue()))
        change.changeY = false;
    return change;
}

std::optional<QwtInterval> axisDragZoom(const QwtInterval& axis, double dataMin, double dataMax,
                                        bool grow, double minRange)
{
    const double lower = axis.minValue(), upper = axis.maxValue();
    if (!grow && minRange > upper - lower)
        return std::nullopt;
    const double delta = (upper - lower) * 0.1 * 0.5;
    const bool fitsLow = dataMin >= lower;
    const bool fitsHigh = upper >= dataMax;
    if (grow && fitsLow && fitsHigh)
        return std::nullopt;
    if (!grow && lower + delta > upper - delta)
        return std::nullopt;
    if (!grow)
        return QwtInterval(lower + delta, upper - delta);
    if (fitsLow)
        return QwtInterval(lower, upper + 2 * delta);
    if (fitsHigh)
        return QwtInterval(lower - 2 * delta, upper);
    return QwtInterval(lower - delta, upper + delta);
}

double panLimit(double value, AxisEdge edge, const QwtScaleMap& map, double pixels)
{
    const double lower = map.s1(), upper = map.s2();
    const double edgePixel = map.transform(edge == AxisEdge::Lower ? lower : upper);
    const double tenth = (upper - lower) * 0.1;
    for (int i = 1; i <= 9; ++i) {
        for (int j = 0; j <= i; ++j) {
            const double step = j * pixels / i;
            const double candidate = map.invTransform(edgePixel - step);
            if (edge == AxisEdge::Upper) {
                if (candidate > value && tenth > candidate - value)
                    return step;
            } else if (value > candidate && tenth > value - candidate) {
                return step;
            }
        }
    }
    return DBL_MAX;
}

std::optional<QPoint> panMove(const QwtScaleMap& xMap, const QwtScaleMap& yMap, bool xEnabled,
                              bool yEnabled, const QRectF& data, int dx, int dy)
{
    // The view after the move, as the base panner would set it.
    double newLeft = 0.0, newRight = 0.0, newLow = 0.0, newHigh = 0.0;
    if (xEnabled) {
        newLeft = xMap.invTransform(xMap.transform(xMap.s1()) - dx);
        newRight = xMap.invTransform(xMap.transform(xMap.s2()) - dx);
    }
    if (yEnabled) {
        newLow = yMap.invTransform(yMap.transform(yMap.s1()) - dy);
        newHigh = yMap.invTransform(yMap.transform(yMap.s2()) - dy);
    }
    const QRectF view(newLeft, newLow, newRight - newLeft, newHigh - newLow);
    if (!(view.width() > 0) || view.height() < 0)
        return std::nullopt;
    QRectF r = data;
    if (!(r.width() > 0) || r.height() < 0)
        return std::nullopt;
    // A flat curve may be panned a little above and below.
    if (r.height() == 0)
        r = QRectF(r.x(), r.y() - view.height() / 4, r.width(), view.height() / 2);

    const double rRight = r.x() + r.width(), rTop = r.y() + r.height();
    const double viewRight = view.x() + view.width(), viewTop = view.y() + view.height();
    const bool xOverlap = r.x() <= viewRight && view.x() <= rRight;
    QRectF inter;
    const double left = std::max(r.x(), view.x()), right = std::min(rRight, viewRight);
    const double bottom = std::max(r.y(), view.y()), top = std::min(rTop, viewTop);
    if (left <= right && bottom <= top)
        inter = QRectF(left, bottom, right - left, top - bottom);
    const bool onData = fuzzyEqual(inter.x(), view.x()) && fuzzyEqual(inter.y(), view.y())
                        && fuzzyEqual(inter.width(), view.width())
                        && fuzzyEqual(inter.height(), view.height());
    // A view wholly on the data, or wholly off it, goes where it is dragged.
    if (onData || !xOverlap)
        return QPoint(dx, dy);

    auto limit = [](bool enabled, double value, AxisEdge edge, const QwtScaleMap& map,
                    double pixels) {
        return enabled ? panLimit(value, edge, map, pixels) : DBL_MAX;
    };
    double stepX = dx, stepY = dy;
    if (r.x() > view.x() && dx >= 1) {
        stepX = 0;
        if (xMap.s1() > r.x()) {
            const double step = std::fabs(limit(xEnabled, r.x(), AxisEdge::Lower, xMap, dx));
            stepX = step > dx ? 0 : step;
        }
    }
    if (viewRight > rRight && dx < 0) {
        stepX = 0;
        if (rRight > xMap.s2()) {
            const double step = limit(xEnabled, rRight, AxisEdge::Upper, xMap, dx);
            stepX = std::fabs(step) > -dx ? 0 : step;
        }
    }
    if (viewTop > rTop && dy >= 1) {
        stepY = 0;
        if (rTop > yMap.s2()) {
            const double step = limit(yEnabled, rTop, AxisEdge::Upper, yMap, dy);
            stepY = std::fabs(step) > dy ? 0 : step;
        }
    }
    if (r.y() > view.y() && dy < 0) {
        stepY = 0;
        if (yMap.s1() > r.y()) {
            const double step = limit(yEnabled, r.y(), AxisEdge::Lower, yMap, dy);
            stepY = std::fabs(step) > -dy ? 0 : step;
        }
    }
    if (fuzzyZero(stepX) && fuzzyZero(stepY))
        return std::nullopt;
    return QPoint(int(roundHalfUp(stepX)), int(roundHalfUp(stepY)));
}

double curveDistance(const QwtSeriesData<QPointF>& samples, const QRectF& data,
                     const QPointF& cursor)
{
    const size_t count = samples.size();
    if (count == 0 || !(data.width() > 0) || data.height() < 0)
        return -1.0;
    const double minX = data.x(), maxX = data.x() + data.width();
    const double minY = data.y(), maxY = data.y() + data.height();
    if (minY > maxY || minX >= maxX)
        return -1.0;

    const double scaleX = 100.0 / (maxX - minX);
    const bool flat = maxY == minY;
    const double scaleY = flat ? 0.0 : 100.0 / (maxY - minY);
    const double cx = (cursor.x() - minX) * scaleX;
    const double cy = flat ? cursor.y() - minY : (cursor.y() - minY) * scaleY;
    double best = DBL_MAX;
    for (size_t i = 0; i < count; ++i) {
        const QPointF p = samples.sample(i);
        const double ddx = (p.x() - minX) * scaleX - cx;
        const double ddy = (p.y() - minY) * scaleY - cy;
        best = std::min(best, ddx * ddx + ddy * ddy);
    }
    return std::sqrt(best);
}

namespace {

bool inView(const QPointF& p, const QRectF& view)
{
    return p.x() >= view.left() && p.x() <= view.right() && p.y() >= view.top()
           && p.y() <= view.bottom();
}

} // namespace

void includeSamplesInView(const QwtSeriesData<QPointF>& samples, const QRectF& view,
                          PlotBounds& bounds)
{
    for (size_t i = 0, n = samples.size(); i < n; ++i) {
        const QPointF p = samples.sample(i);
        if (inView(p, view))
            bounds.include(p);
    }
}

void appendBorderCrossings(const QwtSeriesData<QPointF>& samples, const QRectF& view,
                           QList<QLineF>& segments)
{
    const size_t n = samples.size();
    if (n < 2)
        return;
    QPointF previous = samples.sample(0);
    bool previousIn = inView(previous, view);
    for (size_t i = 1; i < n; ++i) {
        const QPointF p = samples.sample(i);
        const bool in = inView(p, view);
        if (in != previousIn)
            segments.append(QLineF(previous, p));
        previous = p;
        previousIn = in;
    }
}
