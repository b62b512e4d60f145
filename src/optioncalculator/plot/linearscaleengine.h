#pragma once

#include "database/decimal.h"

#include <qwt_scale_engine.h>

// The price axis' scale engine: the ticks of the usual linear division, shifted so that one
// major tick falls exactly on the reference price (the base asset's current price).
class LinearScaleEngine : public QwtLinearScaleEngine
{
public:
    // Reads the decimals of the strikes from the terminal's table "securities".
    explicit LinearScaleEngine(uint base = 10);

    void setReference(const decimal& reference) { m_reference = reference; }
    decimal reference() const { return m_reference; }
    int strikeDecimals() const { return m_strikeDecimals; }

    QwtScaleDiv divideScale(double x1, double x2, int maxMajorSteps, int maxMinorSteps,
                            double stepSize = 0.0) const override;

private:
    decimal m_reference;
    int m_strikeDecimals = -1;
};
