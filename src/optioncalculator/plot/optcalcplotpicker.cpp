#include "optcalcplotpicker.h"

#include "optcalcplot.h"
#include "optcalcplotcurve.h"
#include "optcalcplotlegend.h"
#include "plotgeometry.h"
#include "plotnumbers.h"

#include "portfolio/profilepoint.h"
#include "portfolio/valuationmode.h"
#include "portfolio/virtualportfoliomodel.h"

#include <QApplication>
#include <QTimer>

#include <qwt_plot.h>

#include <cfloat>
#include <cmath>

namespace {

constexpr int StepRetryMs = 1000;

// The point's value of that index, or nothing when it is not usable.
bool usableValue(const ProfilePoint& point, int index, double* value)
{
    if (index < 0 || index >= ProfilePoint::ValueCount || !point.valid[index])
        return false;
    *value = point.values[index];
    return ProfilePoint::isUsable(*value);
}

} // namespace

OptCalcPlotPicker::OptCalcPlotPicker(VirtualPortfolioModel* model, int xAxis, int yAxis,
                                     QWidget* canvas)
    : QwtPlotPicker(xAxis, yAxis, canvas), m_model(model), m_stepTimer(new QTimer(this))
{
    m_stepTimer->setInterval(StepRetryMs);
    connect(m_stepTimer, &QTimer::timeout, this, &OptCalcPlotPicker::onTimerTimeout);
}

OptCalcPlotPicker::~OptCalcPlotPicker()
{
    if (m_stepTimer->isActive())
        m_stepTimer->stop();
}

void OptCalcPlotPicker::setCurveGroupVisible(int group, bool visible)
{
    if (group == 0)
        m_partialCurvesMode = visible ? 0 : -1;
    else if (group == 1)
        m_summaryCurvesMode = visible ? 1 : -1;
}

bool OptCalcPlotPicker::stepTimerActive() const
{
    return m_stepTimer->isActive();
}

void OptCalcPlotPicker::onTimerTimeout()
{
    if (m_model)
        m_priceStep = m_model->baseFuturePriceStep();
}

QwtText OptCalcPlotPicker::trackerText(const QPoint& pos) const
{
    // The wheel zooms around this point, so it follows the cursor whatever is shown.
    m_lastPoint = invTransform(pos);
    const QwtPlot* plot = this->plot();
    if (!plot)
        return QwtText();
    const QwtScaleDiv& xDiv = plot->axisScaleDiv(xAxis());
    const double x = m_lastPoint.x();
    if (x < std::min(xDiv.lowerBound(), xDiv.upperBound())
        || x > std::max(xDiv.lowerBound(), xDiv.upperBound()))
        return QwtText();

    if (m_priceStep < 0 || fuzzyZero(m_priceStep)) {
        if (!m_stepTimer->isActive())
            m_stepTimer->start();
        if (m_model)
            m_priceStep = m_model->baseFuturePriceStep();
        if (m_priceStep < 0 || fuzzyZero(m_priceStep))
            return QwtText();
    }
    const double price = roundHalfUp(x / m_priceStep) * m_priceStep;
    const int decimals = decimalsOf(m_priceStep, false);
    if (decimals < 0 || !std::isfinite(price))
        return QwtText();
    const decimal priceValue = decimal::fromDouble(price, short(decimals));

    // The curves of entries checked in the legend.
    const auto* legend = qobject_cast<const OptCalcPlotLegend*>(plot->legend());
    QList<OptCalcPlotCurve*> curves;
    for (QwtPlotItem* item : plot->itemList(QwtPlotItem::Rtti_PlotCurve)) {
        auto* curve = dynamic_cast<OptCalcPlotCurve*>(item);
        if (!curve || !curve->isValid() || curve->drawType() == OptCalcPlotCurve::BasePriceLine)
            continue;
        bool found = false;
        if (legend && legend->isItemChecked(curve->title().text(), &found) && found)
            curves.append(curve);
    }

    QList<decimal> values;
    QList<OptCalcPlotCurve*> shown;
    bool summary = m_summaryCurvesMode == 1 && m_partialCurvesMode == -1;
    if (m_partialCurvesMode == 0) {
        OptCalcPlotCurve* nearest = nearestCurve(curves);
        if (!nearest || !nearest->isValid())
            return QwtText();
        if (nearest->drawType() == OptCalcPlotCurve::PositionCurve) {
            const QModelIndex index = nearest->modelIndex();
            if (!index.isValid() || !m_model)
                return QwtText();
            const ProfilePoint point =
                m_model->profilePoint(price, nearest->profileType(), index.row());
            double value = 0.0;
            if (!usableValue(point, nearest->valueIndex(), &value))
                return QwtText();
            const decimal rounded = roundToValueStep(value);
            if (rounded == decimal::zero && std::fabs(value) > m_valueStep)
                return QwtText();
            values.append(rounded);
            shown.append(nearest);
        } else if (nearest->drawType() == OptCalcPlotCurve::SumCurve) {
            summary = true;
        } else {
            return QwtText();
        }
    }
    if (summary && m_model) {
        for (OptCalcPlotCurve* curve : curves) {
            if (curve->drawType() != OptCalcPlotCurve::SumCurve)
                continue;
            const ProfilePoint point = m_model->profilePoint(price, curve->profileType(), -1);
            double value = 0.0;
            if (!usableValue(point, curve->valueIndex(), &value))
                continue;
            const decimal rounded = roundToValueStep(value);
            if (rounded == decimal::zero && std::fabs(value) > m_valueStep)
                continue;
            values.append(rounded);
            shown.append(curve);
        }
    }

    const QString text = trackerString(priceValue, values, shown);
    if (text.isEmpty())
        return QwtText();
    QwtText tracker(text, QwtText::PlainText);
    QFont font = plot->font();
    font.setPointSize(int(roundHalfUp(QApplication::font().pointSize() * 1.2)));
    tracker.setFont(font);
    tracker.setRenderFlags((tracker.renderFlags() & ~Qt::AlignHCenter) | Qt::AlignLeft);
    return tracker;
}

decimal OptCalcPlotPicker::roundToValueStep(double value) const
{
    if (m_valueStep < 0 || fuzzyZero(m_valueStep))
        return decimal::zero;
    const QString text = roundToStepText(value, m_valueStep);
    bool ok = false;
    const double number = text.toDouble(&ok);
    if (text.isEmpty() || !ok)
        return decimal::zero;
    const int valueDecimals = decimalsOf(number, true);
    const int stepDecimals = decimalsOf(m_valueStep, false);
    if (valueDecimals < 0 || stepDecimals < 0)
        return decimal::zero;
    return decimal::fromDouble(number, short(std::min(valueDecimals, stepDecimals)));
}

QString OptCalcPlotPicker::trackerString(const decimal& price, const QList<decimal>& values,
                                         const QList<OptCalcPlotCurve*>& curves) const
{
    if (values.size() != curves.size())
        return QString();
    // Lines are joined at the end, so that the last one never ends in a line break.
    QStringList lines;
    if (curves.size() == 1 && curves.first()->drawType() == OptCalcPlotCurve::PositionCurve) {
        const OptCalcPlotCurve* curve = curves.first();
        if (!curve->isValid())
            return QString();
        const QStringList parts = curve->title().text().split(QLatin1Char('('));
        if (parts.size() != 2)
            return QString();
        QString name = parts.first();
        while (!name.isEmpty() && name.back().isSpace())
            name.chop(1);
        if (name.isEmpty())
            return QString();
        lines << tr("Имя инструмента: %1").arg(name);
    }
    lines << tr("Цена БА: %1").arg(price.toSystemString());
    if (MetricUnitConverter::isActive()) {
        const QString converted = convert(price.toDouble());
        if (converted.isEmpty())
            return QString();
        lines << tr("Цена БА: %1").arg(converted);
    }
    for (int i = 0; i < curves.size(); ++i) {
        const OptCalcPlotCurve* curve = curves.at(i);
        if (!curve || !curve->isValid())
            continue;
        const QString name = valuationModeTitle(curve->profileType());
        if (name.isEmpty())
            return QString();
        lines << QStringLiteral("%1: %2").arg(name, values.at(i).toSystemString());
    }
    return lines.join(QLatin1Char('\n'));
}

OptCalcPlotCurve* OptCalcPlotPicker::nearestCurve(const QList<OptCalcPlotCurve*>& curves) const
{
    const QRectF data = dataRect(canvas());
    const QPointF cursor(roundHalfUp(m_lastPoint.x() / m_priceStep) * m_priceStep,
                         m_lastPoint.y());
    OptCalcPlotCurve* nearest = nullptr;
    double best = DBL_MAX;
    for (OptCalcPlotCurve* curve : curves) {
        if (!curve->isValid() || curve->drawType() == OptCalcPlotCurve::BasePriceLine)
            continue;
        const double distance = curveDistance(*curve->data(), data, cursor);
        if (distance >= 0 && distance < best) {
            best = distance;
            nearest = curve;
        }
    }
    return nearest;
}
