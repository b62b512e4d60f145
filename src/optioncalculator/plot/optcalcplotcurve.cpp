#include "optcalcplotcurve.h"

#include <QPen>

OptCalcPlotCurve::OptCalcPlotCurve(QObject* parent, const QString& title)
    : QObject(parent), QwtPlotCurve(title)
{
}

void OptCalcPlotCurve::setVisible(bool visible)
{
    emit visibilityChanged(visible);
    QwtPlotCurve::setVisible(visible);
}

bool OptCalcPlotCurve::isValid() const
{
    if (rtti() != QwtPlotItem::Rtti_PlotCurve || title().text().isEmpty() || dataSize() == 0
        || !pen().color().isValid() || !m_plot)
        return false;
    const QRectF bounds = boundingRect();
    if (!(bounds.width() >= 0) || !(bounds.height() >= 0))
        return false;

    const bool valueKnown = m_valueIndex >= 0 && m_valueIndex <= 4;
    const bool profileKnown = m_profileType >= 0 && m_profileType <= 2;
    switch (m_drawType) {
    case PositionCurve:
        return valueKnown && profileKnown && m_modelIndex.isValid();
    case SumCurve:
        return valueKnown && profileKnown;
    case BasePriceLine:
        return !valueKnown && !profileKnown;
    default:
        return false;
    }
}

bool OptCalcPlotCurve::hasSampleAt(double x) const
{
    const QwtSeriesData<QPointF>* samples = data();
    for (size_t i = 0, n = samples->size(); i < n; ++i) {
        if (samples->sample(i).x() == x)
            return true;
    }
    return false;
}

void OptCalcPlotCurve::applyAppearance(const QColor& color, Qt::PenStyle style)
{
    setLegendIconSize(QSize(50, 2));
    setRenderHint(QwtPlotItem::RenderAntialiased, true);
    setStyle(QwtPlotCurve::Lines);
    setLegendAttribute(QwtPlotCurve::LegendShowLine, true);
    setItemAttribute(QwtPlotItem::Legend, true);
    setPen(QPen(QBrush(color), 2.0, style, Qt::SquareCap, Qt::BevelJoin));
}
