#include "optcalcplot.h"

#include "linearscaleengine.h"
#include "metricunitscaledraw.h"
#include "optcalcplotcurve.h"
#include "optcalcplotlegend.h"
#include "optcalcplotpanner.h"
#include "optcalcplotpicker.h"
#include "plotgeometry.h"
#include "plotnumbers.h"

#include "marketdata/frozenclock.h"
#include "portfolio/profilepoint.h"
#include "portfolio/virtualportfoliomodel.h"

#include <QMouseEvent>
#include <QPen>
#include <QWheelEvent>

#include <qwt_picker_machine.h>
#include <qwt_plot_canvas.h>
#include <qwt_plot_grid.h>
#include <qwt_plot_layout.h>
#include <qwt_scale_widget.h>

#include <cfloat>
#include <cmath>

namespace {

// The smallest height a drag or a wheel step may shrink the value axis to.
constexpr double MinYRange = 1e-8;
const QColor GridMajorColor(QStringLiteral("#b2beb5"));
const QColor GridMinorColor(QStringLiteral("#cccccc"));

QPen plotPen(const QColor& color, double width)
{
    return QPen(QBrush(color), width, Qt::SolidLine, Qt::SquareCap, Qt::BevelJoin);
}

bool finite(double a, double b)
{
    return std::isfinite(a) && std::isfinite(b);
}

// The interval of an axis' division; false when it is empty, null or invalid.
bool divisionInterval(const QwtPlot* plot, int axis, QwtInterval* interval)
{
    const QwtScaleDiv& div = plot->axisScaleDiv(axis);
    if (div.isEmpty())
        return false;
    *interval = div.interval();
    return interval->isValid() && !interval->isNull();
}

// Sums of a curve's positions valued at one edge of the view.
struct EdgeSums
{
    double values[ProfilePoint::ValueCount] = {0.0, 0.0, 0.0, 0.0, 0.0};
    bool valid[ProfilePoint::ValueCount] = {true, true, true, true, true};
    bool computed = false;

    void add(const ProfilePoint& point)
    {
        computed = true;
        for (int i = 0; i < ProfilePoint::ValueCount; ++i) {
            values[i] += point.values[i];
            if (!point.valid[i] || !ProfilePoint::isUsable(values[i]))
                valid[i] = false;
        }
    }
};

} // namespace

QRectF dataRect(const QWidget* canvas)
{
    const auto* plot = canvas ? qobject_cast<const QwtPlot*>(canvas->parentWidget()) : nullptr;
    if (!plot)
        return QRectF(0, 0, 0, 0);
    PlotBounds bounds = PlotBounds::empty();
    for (QwtPlotItem* item : plot->itemList(QwtPlotItem::Rtti_PlotCurve)) {
        const auto* curve = dynamic_cast<const OptCalcPlotCurve*>(item);
        if (!curve || !curve->isValid() || !curve->isVisible()
            || curve->drawType() == OptCalcPlotCurve::BasePriceLine)
            continue;
        const QRectF r = curve->boundingRect();
        bounds.include(r.topLeft());
        bounds.include(r.bottomRight());
    }
    if (bounds.isEmpty())
        return QRectF(0, 0, 0, 0);
    return QRectF(bounds.minX, bounds.minY, bounds.maxX - bounds.minX, bounds.maxY - bounds.minY);
}

OptCalcPlot::OptCalcPlot(VirtualPortfolioModel* model, QWidget* parent)
    : QwtPlot(parent), m_model(model)
{
    initPlot();
}

OptCalcPlot::~OptCalcPlot() = default;

void OptCalcPlot::initPlot()
{
    auto* canvas = qobject_cast<QwtPlotCanvas*>(this->canvas());
    m_panner = new OptCalcPlotPanner(canvas);
    m_panner->setMouseButton(Qt::LeftButton, Qt::NoModifier);
    connect(m_panner, &OptCalcPlotPanner::updateLabels, this, &OptCalcPlot::updateAxisLabels);
    connect(m_panner, &OptCalcPlotPanner::autoScaleEnabled, this, &OptCalcPlot::autoScaleEnabled);

    m_picker = new OptCalcPlotPicker(m_model, QwtPlot::xBottom, QwtPlot::yLeft, canvas);
    m_picker->setStateMachine(new QwtPickerTrackerMachine);
    m_picker->setTrackerMode(QwtPicker::AlwaysOn);
    m_picker->setRubberBand(QwtPicker::CrossRubberBand);
    m_picker->setRubberBandPen(plotPen(Qt::black, 1));
    m_picker->setTrackerPen(QPen(Qt::black));
    m_panner->setCursor(Qt::ClosedHandCursor);

    // The plot owns what it is given: the engine and both scale draws.
    m_scaleEngine = new LinearScaleEngine(10);
    setAxisScaleEngine(QwtPlot::xBottom, m_scaleEngine);
    m_xScaleDraw = new MetricUnitScaleDraw(font());
    m_yScaleDraw = new MetricUnitScaleDraw(font());
    setAxisScaleDraw(QwtPlot::xBottom, m_xScaleDraw);
    setAxisScaleDraw(QwtPlot::yLeft, m_yScaleDraw);

    const QColor white(Qt::white);
    setCanvasBackground(QBrush(white));
    const QString sheet = QStringLiteral("QWidget { background-color: %1 }").arg(white.name());
    setStyleSheet(sheet);
    axisWidget(QwtPlot::xBottom)->setStyleSheet(sheet);
    axisWidget(QwtPlot::yLeft)->setStyleSheet(sheet);

    axisWidget(QwtPlot::xBottom)->installEventFilter(this);
    setAutoReplot(false);
}

bool OptCalcPlot::eventFilter(QObject* object, QEvent* event)
{
    const bool result = QwtPlot::eventFilter(object, event);
    // Label thinning needs real font metrics, which the first paint of the axis has.
    if (object == axisWidget(QwtPlot::xBottom) && event->type() == QEvent::Paint && m_xScaleDraw
        && !m_xScaleDraw->labelLayoutReady()) {
        m_xScaleDraw->setLabelLayoutReady(true);
        m_xScaleDraw->updateLabels();
    }
    return result;
}

QSize OptCalcPlot::minimumSizeHint() const
{
    return QSize(20, 20);
}

void OptCalcPlot::setValueStep(double step)
{
    m_picker->setValueStep(step);
    replot();
}

double OptCalcPlot::valueStep() const
{
    return m_picker->valueStep();
}

void OptCalcPlot::setUnit(const QString& unit)
{
    m_xScaleDraw->setUnit(unit);
    m_picker->setUnit(unit);
}

QString OptCalcPlot::unit() const
{
    return m_xScaleDraw->unit();
}

QString OptCalcPlot::xLabel(double value) const
{
    return m_xScaleDraw->label(value).text();
}

void OptCalcPlot::setReferenceValue(const decimal& value)
{
    m_xScaleDraw->setReference(value);
    m_picker->setReference(value);
    m_scaleEngine->setReference(value);
}

void OptCalcPlot::setHighlightEnabled(bool enabled)
{
    m_xScaleDraw->setHighlightEnabled(enabled);
}

void OptCalcPlot::setHighlightValue(double value)
{
    m_xScaleDraw->setHighlightValue(value);
}

void OptCalcPlot::setCurveGroupVisible(int group, bool visible)
{
    m_picker->setCurveGroupVisible(group, visible);
}

void OptCalcPlot::setTrackerEnabled(bool enabled)
{
    m_picker->setTrackerMode(enabled ? QwtPicker::AlwaysOn : QwtPicker::AlwaysOff);
}

void OptCalcPlot::invalidateYLabels()
{
    m_yScaleDraw->invalidateCache();
}

void OptCalcPlot::setAxisRange(int axis, double min, double max, double step)
{
    if ((axis != QwtPlot::yLeft && axis != QwtPlot::xBottom) || !finite(min, max) || min > max)
        return;
    if (axis == QwtPlot::yLeft && max - min > step)
        updateBasePriceLine(min, max, -1.0);
    setAxisScale(axis, min, max, step);
}

void OptCalcPlot::updateAutoScale()
{
    if (m_panner->autoScale()) {
        QPair<double, double> range = visibleProfileRange();
        double& min = range.first;
        double& max = range.second;
        if (min > max && !fuzzyEqual(min, max)) {
            replot();
            return;
        }
        if (fuzzyEqual(min, max)) {
            max += 1.0;
            min -= 1.0;
        }
        if (!(min > max)) {
            if (max - min > 0)
                updateBasePriceLine(min, max, -1.0);
            setAxisScale(QwtPlot::yLeft, min, max, 0.0);
        }
    } else {
        const QwtScaleDiv& div = axisScaleDiv(QwtPlot::yLeft);
        const double min = div.lowerBound(), max = div.upperBound();
        if (!(min > max)) {
            if (max - min > 0)
                updateBasePriceLine(min, max, -1.0);
            setAxisScale(QwtPlot::yLeft, min, max, 0.0);
        }
    }
    replot();
    m_xScaleDraw->updateLabels();
    m_yScaleDraw->updateLabels();
    updateValuePrecision();
    replot();
}

QPair<double, double> OptCalcPlot::visibleProfileRange() const
{
    const QPair<double, double> invalid(1.0, -1.0);
    QwtInterval xInterval;
    if (!divisionInterval(this, QwtPlot::xBottom, &xInterval) || m_plotIndex < 0 || m_plotIndex > 4
        || !m_model)
        return invalid;
    const double step = m_model->baseFuturePriceStep();
    if (step < 0 || fuzzyZero(step))
        return invalid;
    const double xLow = roundHalfUp(xInterval.minValue() / step) * step;
    const double xHigh = roundHalfUp(xInterval.maxValue() / step) * step;

    const FrozenClock clock(m_model->securityModel());
    QVector<PositionValuationData> rows;
    for (int row = 0, n = m_model->rowCount(); row < n; ++row)
        rows.append(m_model->positionValuationData(row));

    double min = DBL_MAX, max = -DBL_MAX;
    bool nothingVisible = true;
    for (QwtPlotItem* item : itemList(QwtPlotItem::Rtti_PlotCurve)) {
        const auto* curve = dynamic_cast<const OptCalcPlotCurve*>(item);
        if (!curve)
            continue;
        if (!curve->isValid() || !curve->isVisible()
            || curve->drawType() == OptCalcPlotCurve::BasePriceLine) {
            // A hidden base price line still counts as something on view.
            if (curve->drawType() == OptCalcPlotCurve::BasePriceLine && !curve->isVisible())
                nothingVisible = false;
            continue;
        }
        nothingVisible = false;

        // The curve valued at the edges where it has no sample.
        const bool lowKnown = curve->hasSampleAt(xLow);
        const bool highKnown = curve->hasSampleAt(xHigh);
        EdgeSums low, high;
        if (!lowKnown || !highKnown) {
            int first = 0, last = rows.size() - 1;
            if (curve->drawType() == OptCalcPlotCurve::PositionCurve) {
                const QModelIndex index = curve->modelIndex();
                if (!index.isValid() || index.row() < 0 || index.row() >= rows.size())
                    return invalid;
                first = last = index.row();
            }
            for (int row = first; row <= last; ++row) {
                const PositionValuationData& data = rows.at(row);
                if (!(data.priceStep > 0) || data.sectype.isNull())
                    continue;
                const double years = m_model->yearsToExpiry(data.lasttime, data.expdate,
                                                            curve->profileType());
                if (years <= 0)
                    return invalid;
                if (!lowKnown)
                    low.add(m_model->profilePointOfData(xLow, curve->profileType(), years, data));
                if (!highKnown)
                    high.add(m_model->profilePointOfData(xHigh, curve->profileType(), years, data));
            }
            for (const EdgeSums* edge : {&low, &high}) {
                if (!edge->computed)
                    continue;
                if (!edge->valid[m_plotIndex])
                    return invalid;
                min = std::min(min, edge->values[m_plotIndex]);
                max = std::max(max, edge->values[m_plotIndex]);
            }
        }
        // Samples are sorted by x: the walk ends past the right edge.
        const QwtSeriesData<QPointF>* samples = curve->data();
        for (size_t i = 0, n = samples->size(); i < n; ++i) {
            const QPointF p = samples->sample(i);
            if (p.x() > xHigh)
                break;
            if (p.x() >= xLow) {
                min = std::min(min, p.y());
                max = std::max(max, p.y());
            }
        }
    }
    if (nothingVisible)
        return QPair<double, double>(0.0, 0.0);
    return QPair<double, double>(min, max);
}

void OptCalcPlot::updateLabels()
{
    m_xScaleDraw->updateLabels();
    m_yScaleDraw->updateLabels();
    updateValuePrecision();
    replot();
}

void OptCalcPlot::refreshXAxis()
{
    m_xScaleDraw->updateLabels();
    replot();
    m_xScaleDraw->invalidateCache();
    updateAxes();
    replot();
    QwtScaleWidget* axis = axisWidget(QwtPlot::xBottom);
    axis->repaint();
    axis->update();
}

void OptCalcPlot::enableGrid(bool withMinorLines)
{
    const QwtPlotItemList grids = itemList(QwtPlotItem::Rtti_PlotGrid);
    if (grids.isEmpty())
        return;
    auto* grid = static_cast<QwtPlotGrid*>(grids.first());
    grid->enableX(true);
    grid->enableY(true);
    grid->enableXMin(withMinorLines);
    grid->enableYMin(withMinorLines);
    grid->setMajorPen(plotPen(GridMajorColor, withMinorLines ? 2 : 1));
    if (withMinorLines)
        grid->setMinorPen(plotPen(GridMinorColor, 1));
}

void OptCalcPlot::resetCurves()
{
    for (OptCalcPlotCurve* curve : curves()) {
        if (curve->drawType() == OptCalcPlotCurve::BasePriceLine)
            continue;
        curve->setItemAttribute(QwtPlotItem::Legend, false);
        curve->setModelIndex(QPersistentModelIndex());
        curve->setVisible(false);
        curve->setSamples(QVector<QPointF>());
        curve->setTitle(QString());
        curve->setPen(plotPen(Qt::white, 0));
        curve->setRenderHint(QwtPlotItem::RenderAntialiased, false);
        curve->setStyle(QwtPlotCurve::NoCurve);
        curve->setLegendAttribute(QwtPlotCurve::LegendShowLine, false);
        curve->setDrawType(-1);
        curve->setValueIndex(-1);
        curve->setProfileType(-1);
        disconnect(curve, &OptCalcPlotCurve::visibilityChanged, nullptr, nullptr);
    }
}

QList<OptCalcPlotCurve*> OptCalcPlot::curves() const
{
    QList<OptCalcPlotCurve*> list;
    for (QwtPlotItem* item : itemList(QwtPlotItem::Rtti_PlotCurve)) {
        if (auto* curve = dynamic_cast<OptCalcPlotCurve*>(item))
            list.append(curve);
    }
    return list;
}

void OptCalcPlot::updateLegendContents(bool applyHidden)
{
    QwtPlot::updateLegend();
    if (!applyHidden)
        return;
    if (auto* legend = qobject_cast<OptCalcPlotLegend*>(this->legend()))
        legend->applyHiddenItems();
}

void OptCalcPlot::disableAutoScale()
{
    if (m_panner->autoScale())
        emit autoScaleEnabled(false);
}

OptCalcPlotCurve* OptCalcPlot::basePriceCurve() const
{
    for (OptCalcPlotCurve* curve : curves()) {
        if (curve->drawType() == OptCalcPlotCurve::BasePriceLine)
            return curve;
    }
    return nullptr;
}

void OptCalcPlot::updateBasePriceLine(double low, double high, double x)
{
    OptCalcPlotCurve* line = basePriceCurve();
    if (!line || !finite(low, high))
        return;
    if (x < 0) {
        // The line's middle point lies exactly on zero: that is where it stands.
        bool found = false;
        const QwtSeriesData<QPointF>* samples = line->data();
        for (size_t i = 0, n = samples->size(); i < n && !found; ++i) {
            if (samples->sample(i).y() == 0.0) {
                x = samples->sample(i).x();
                found = true;
            }
        }
        if (!found || x < 0)
            return;
    }
    if (!std::isfinite(x))
        return;
    // A very steep polyline over the visible height and a tenth beyond, always reaching
    // below and above zero.
    const double overshoot = (high - low) * 0.1;
    const QVector<QPointF> samples{
        QPointF(x - 1e-5, low >= 0 ? -1.0 : low - overshoot),
        QPointF(x, 0.0),
        QPointF(x + 1e-5, 0 >= high ? 1.0 : high + overshoot),
    };
    line->setSamples(samples);
}

bool OptCalcPlot::viewRect(QRectF* rect) const
{
    const QwtScaleDiv& x = axisScaleDiv(QwtPlot::xBottom);
    const QwtScaleDiv& y = axisScaleDiv(QwtPlot::yLeft);
    const double width = x.upperBound() - x.lowerBound();
    const double height = y.upperBound() - y.lowerBound();
    if (!(width > 0) || !(height > 0))
        return false;
    *rect = QRectF(x.lowerBound(), y.lowerBound(), width, height);
    return true;
}

QRectF OptCalcPlot::visibleBounds() const
{
    PlotBounds bounds = PlotBounds::empty();
    QRectF view;
    if (viewRect(&view)) {
        for (OptCalcPlotCurve* curve : curves()) {
            if (curve->isVisible() && curve->isValid())
                includeSamplesInView(*curve->data(), view, bounds);
        }
    }
    return QRectF(QPointF(bounds.minX, bounds.minY), QPointF(bounds.maxX, bounds.maxY));
}

QList<QLineF> OptCalcPlot::crossingSegments() const
{
    QList<QLineF> segments;
    QRectF view;
    if (!viewRect(&view))
        return segments;
    for (OptCalcPlotCurve* curve : curves()) {
        if (curve->isVisible() && curve->isValid())
            appendBorderCrossings(*curve->data(), view, segments);
    }
    return segments;
}

int OptCalcPlot::yTickDecimals() const
{
    const QwtScaleDiv& div = m_yScaleDraw->scaleDiv();
    QList<double> ticks = div.ticks(QwtScaleDiv::MajorTick) + div.ticks(QwtScaleDiv::MediumTick);
    if (ticks.isEmpty())
        return 0;
    std::sort(ticks.begin(), ticks.end());
    if (ticks.last() - ticks.first() > 2.0)
        return 0;
    int decimals = 0;
    for (double tick : ticks)
        decimals = std::max(decimals, decimalsOf(tick, false));
    return decimals;
}

void OptCalcPlot::updateValuePrecision()
{
    const int decimals = yTickDecimals();
    const QwtScaleDiv& div = m_yScaleDraw->scaleDiv();
    const double range = div.upperBound() - div.lowerBound();
    if ((range > 2.0 && decimals == 0) || (range <= 2.0 && decimals != 0))
        m_yScaleDraw->invalidateCache();

    double rowStep = -1.0;
    if (m_plotIndex == 0 && m_model) {
        for (int row = 0, n = m_model->rowCount(); row < n; ++row) {
            const PositionValuationData data = m_model->positionValuationData(row);
            if (data.priceStep > 0 && !data.sectype.isNull()) {
                rowStep = data.priceStep;
                break;
            }
        }
    }
    // The profit is told in whole price steps of the positions; nothing known, nothing set.
    auto useRowStep = [&] {
        if (rowStep > 0 && !fuzzyZero(rowStep)) {
            m_picker->setValueStep(rowStep);
            replot();
        }
    };
    if (decimals == 0) {
        if (div.ticks(QwtScaleDiv::MajorTick).isEmpty()) {
            replot();
        } else if (m_plotIndex == 0) {
            useRowStep();
        } else {
            m_picker->setValueStep(1.0);
            replot();
        }
    } else if (m_plotIndex != 0) {
        m_picker->setValueStep(QStringLiteral("1.0E-%1").arg(decimals + 1).toDouble());
        replot();
    } else {
        useRowStep();
    }
}

bool OptCalcPlot::axisRectContains(int axis, const QPointF& point) const
{
    return plotLayout()->scaleRect(axis).contains(point);
}

void OptCalcPlot::wheelEvent(QWheelEvent* event)
{
    const QPointF p = event->position();
    WheelZoomRequest request;
    request.onXAxis = axisRectContains(QwtPlot::xBottom, p);
    request.onYAxis = axisRectContains(QwtPlot::yLeft, p);
    if (!m_mouseZoomEnabled)
        return;
    request.delta = event->angleDelta().y();
    // The wheel works only once the cursor has been over the canvas.
    request.cursor = m_picker->lastPoint();
    const QwtScaleDiv& x = axisScaleDiv(QwtPlot::xBottom);
    const QwtScaleDiv& y = axisScaleDiv(QwtPlot::yLeft);
    request.x = QwtInterval(x.lowerBound(), x.upperBound());
    request.y = QwtInterval(y.lowerBound(), y.upperBound());
    request.data = dataRect(canvas());
    request.minXRange = m_minXRange;
    request.control = event->modifiers() & Qt::ControlModifier;
    request.shift = event->modifiers() & Qt::ShiftModifier;
    const std::optional<AxisChange> change = wheelZoom(request);
    if (!change)
        return;

    disableAutoScale();
    if (change->changeX)
        setAxisScale(QwtPlot::xBottom, change->x.minValue(), change->x.maxValue(), 0);
    if (change->changeY) {
        if (change->y.width() > 0)
            updateBasePriceLine(change->y.minValue(), change->y.maxValue(), -1.0);
        setAxisScale(QwtPlot::yLeft, change->y.minValue(), change->y.maxValue(), 0);
    }
    replot();
    emit updateAxisLabels();
}

void OptCalcPlot::mousePressEvent(QMouseEvent* event)
{
    const QPointF p = event->localPos();
    const bool onAxis =
        axisRectContains(QwtPlot::xBottom, p) || axisRectContains(QwtPlot::yLeft, p);
    m_pressPoint = onAxis ? p : QPointF();
    m_lastDragPoint = QPointF();
    QwtPlot::mousePressEvent(event);
}

void OptCalcPlot::mouseMoveEvent(QMouseEvent* event)
{
    if (!m_mouseZoomEnabled || m_pressPoint.isNull()) {
        QwtPlot::mouseMoveEvent(event);
        return;
    }
    // The axis is the one pressed on, wherever the mouse is now.
    const QPointF from = m_lastDragPoint.isNull() ? m_pressPoint : m_lastDragPoint;
    int axis = -1;
    double previous = 0.0, current = 0.0;
    if (axisRectContains(QwtPlot::xBottom, m_pressPoint)) {
        axis = QwtPlot::xBottom;
        previous = from.x();
        current = event->localPos().x();
    } else if (axisRectContains(QwtPlot::yLeft, m_pressPoint)) {
        axis = QwtPlot::yLeft;
        previous = from.y();
        current = event->localPos().y();
    }
    QwtInterval interval;
    const QRectF data = dataRect(canvas());
    if (axis < 0 || previous == current || !divisionInterval(this, axis, &interval)
        || !(data.width() > 0) || data.height() < 0) {
        QwtPlot::mouseMoveEvent(event);
        return;
    }
    const bool grow = current > previous;
    const bool onX = axis == QwtPlot::xBottom;
    const std::optional<QwtInterval> zoomed =
        axisDragZoom(interval, onX ? data.left() : data.top(), onX ? data.right() : data.bottom(),
                     grow, onX ? m_minXRange : MinYRange);
    if (!zoomed) {
        QwtPlot::mouseMoveEvent(event);
        return;
    }
    disableAutoScale();
    setAxisRange(axis, zoomed->minValue(), zoomed->maxValue(), 0);
    m_lastDragPoint = event->localPos();
    updateLabels();
    refreshXAxis();
    QwtPlot::mouseMoveEvent(event);
}

void OptCalcPlot::setCurveVisible(const QString& curveTitle, bool visible)
{
    // A legend that is not on screen is being rebuilt with its tab; its signals mean nothing.
    const auto* legend = qobject_cast<const OptCalcPlotLegend*>(sender());
    if (!legend || !legend->isVisible() || curveTitle.isEmpty())
        return;
    for (OptCalcPlotCurve* curve : curves()) {
        if (!curve->isValid() || curve->title().text() != curveTitle)
            continue;
        curve->setVisible(visible);
        if (curve->drawType() != OptCalcPlotCurve::BasePriceLine)
            updateAutoScale();
        else
            replot();
        return;
    }
}
