#pragma once

// The value of a position, or of a whole portfolio, at one price of the base asset: profit
// and the four Greeks, each with a flag that tells whether it is usable. A value that the
// host's decimal cannot hold is not usable; the zero point has every flag clear.
struct ProfilePoint
{
    // Indexes of the values, the same as the plots' value indexes.
    enum Value { Profit = 0, Delta = 1, Gamma = 2, Vega = 3, Theta = 4, ValueCount = 5 };

    double values[ValueCount] = {0.0, 0.0, 0.0, 0.0, 0.0};
    bool valid[ValueCount] = {false, false, false, false, false};

    double profit() const { return values[Profit]; }
    double delta() const { return values[Delta]; }
    double gamma() const { return values[Gamma]; }
    double vega() const { return values[Vega]; }
    double theta() const { return values[Theta]; }

    // The largest magnitude the host's decimal holds; values beyond it are unusable.
    static constexpr double MaxUsable = 9999999999999998.0;
    static bool isUsable(double value) { return value >= -MaxUsable && value <= MaxUsable; }
};
