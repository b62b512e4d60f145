#include "metricunitconverter.h"

#include "plotnumbers.h"

#include <cmath>

void MetricUnitConverter::setUnit(const QString& unit)
{
    m_unit = unit;
    // A plain axis has no use for a reference; a stale one would come back with the next unit.
    if (m_unit.isEmpty())
        m_reference = decimal::zero;
}

bool MetricUnitConverter::isActive() const
{
    return !m_reference.isZero() && !m_unit.isEmpty();
}

QString MetricUnitConverter::convert(double value) const
{
    // Through the text first: the axis' values carry rounding noise that a label must not show.
    const QString text = formatNumber(value, 10);
    if (text.isEmpty())
        return QString();
    bool ok = false;
    const double number = text.toDouble(&ok);
    if (!ok)
        return QString();
    const int decimals = decimalsOf(number, true);
    if (decimals < 0)
        return QString();
    decimal shown = decimal::fromDouble(number, short(decimals));

    if (!m_reference.isZero() && !m_unit.isEmpty()) {
        const double ref = m_reference.toDouble();
        if (ref == 0.0)
            return QString();
        const double percent = (value - ref) * 100.0 / ref;
        if (std::isinf(percent))
            return QString();
        shown = decimal::fromDouble(percent, 2);
    }

    if (isActive() && shown > decimal::zero)
        return QStringLiteral("+%1%2").arg(shown.toSystemStringShort(), m_unit);
    if (isActive())
        return QStringLiteral("%1%2").arg(shown.toSystemStringShort(), m_unit);
    return shown.toSystemStringShort();
}
