#pragma once

#include "database/decimal.h"

#include <QString>

// Turns an axis value into its label: the number itself, or, with a unit and a reference
// price, the signed change from the reference in that unit ("+2.5%"). An empty text means
// no label.
class MetricUnitConverter
{
public:
    MetricUnitConverter() = default;
    virtual ~MetricUnitConverter() = default;

    void setReference(const decimal& reference) { m_reference = reference; }
    decimal reference() const { return m_reference; }
    // An empty unit also drops the reference.
    void setUnit(const QString& unit);
    QString unit() const { return m_unit; }
    // Both a reference and a unit are set.
    bool isActive() const;
    QString convert(double value) const;

private:
    decimal m_reference;
    QString m_unit;
};
