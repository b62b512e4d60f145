#pragma once

// The range, in percent, that a model volatility of a security may take.
struct VolatBand
{
    double low = 0.0;
    double high = 0.0;

    double clamp(double volatility) const
    {
        const double below = volatility < high ? volatility : high;
        return below > low ? below : low;
    }
    bool contains(double volatility) const { return volatility >= low && volatility <= high; }
};
