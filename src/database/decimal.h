#pragma once

#include "database_global.h"

#include <QMetaType>
#include <QString>
#include <QVariant>

#include <cmath>

class QDataStream;

// A fixed-point number packed in 64 bits: a signed mantissa in the upper 59 bits and the
// scale (digits after the point, 0..MaxScale) in the lower 5. Passed by value like an
// integer. Numbers whose magnitude exceeds MaxAbsValue do not fit and are refused wherever
// an ok flag exists. A result that its scale cannot hold takes the finest scale that can
// (rounded half away from zero); only what no scale holds saturates at +-MaxMantissa.
class DATABASE_EXPORT decimal
{
public:
    static constexpr short MaxScale = 18;
    static constexpr long long MaxMantissa = (1LL << 58) - 1;
    static constexpr double MaxAbsValue = 9999999999999998.0;

    static const decimal zero;
    // Below every other value: "nothing found yet" for a maximum search.
    static const decimal minimum;
    // Above every other value: "nothing found yet" for a minimum search.
    static const decimal maximum;

    constexpr decimal() : m_raw(0) {}
    decimal(long long value, short scale) : m_raw(0)
    {
        // A mantissa that fits at a usable scale is stored as it is; the rest is fitted.
        if (scale >= 0 && scale <= MaxScale && value <= MaxMantissa && value >= -MaxMantissa)
            m_raw = qint64(quint64(value) << ScaleBits) | scale;
        else
            set(value, scale);
    }
    // Text with "." or "," as the separator; what is no number gives zero.
    explicit decimal(const QString& text);

    void set(long long value, short scale);
    // Changes the scale, rounding half away from zero when digits are dropped; a value the
    // scale cannot hold keeps the finest scale that can.
    void setScale(short scale);
    short scale() const { return short(m_raw & ScaleMask); }
    long long value() const { return m_raw >> ScaleBits; }
    // Correctly rounded for mantissas below 2^53: the powers of ten up to 1e22 are exact.
    double toDouble() const
    {
        const int s = scale();
        return double(value()) / DoublePowers[s > MaxScale ? MaxScale : s];
    }

    int compare(const decimal& other) const;
    bool negative() const { return m_raw < 0; }
    bool isZero() const { return value() == 0; }

    decimal operator-() const;
    decimal operator+(const decimal& other) const;
    decimal operator-(const decimal& other) const;
    decimal& operator+=(const decimal& other);
    decimal& operator-=(const decimal& other);
    // Multiplication keeps the larger scale of the two, rounding half away from zero.
    decimal operator*(const decimal& other) const;
    decimal operator*(long long factor) const;

    // Equal bits are equal values, and so are different mantissas at one scale unequal.
    bool operator==(const decimal& o) const
    {
        if (m_raw == o.m_raw)
            return true;
        return scale() != o.scale() && compare(o) == 0;
    }
    bool operator!=(const decimal& o) const { return !(*this == o); }
    bool operator<(const decimal& o) const { return compare(o) < 0; }
    bool operator<=(const decimal& o) const { return compare(o) <= 0; }
    bool operator>(const decimal& o) const { return compare(o) > 0; }
    bool operator>=(const decimal& o) const { return compare(o) >= 0; }

    // "-1234.50": all digits of the scale, "." as the separator.
    QString toString() const;
    // The same with the system locale's decimal point.
    QString toSystemString() const;
    // toSystemString() without trailing zeros of the fraction (and without a bare point).
    QString toSystemStringShort() const;
    QVariant toVariant() const;

    // Rounds half away from zero to the scale (a coarser one if the value does not fit);
    // NaN gives zero, out of range saturates.
    static decimal fromDouble(double value, short scale)
    {
        // The common case inline, the valuation converts every Greek it computes: a value
        // that fits its scale, with a fraction clear of one half. Below 2^43 the stored
        // double errs far less than the 0.01 that separates the two.
        if (scale >= 0 && scale <= MaxScale) {
            const double scaled = (value < 0 ? -value : value) * DoublePowers[scale];
            if (scaled < 8796093022208.0) { // 2^43; NaN fails too
                qint64 mantissa = qint64(scaled);
                const double fraction = scaled - double(mantissa);
                // One test for the rare case: which side a fraction falls is a coin toss.
                if (std::fabs(fraction - 0.495) >= 0.005) {
                    mantissa += fraction >= 0.5 ? 1 : 0;
                    return fromRaw(qint64(quint64(value < 0 ? -mantissa : mantissa) << ScaleBits) |
                                   scale);
                }
            }
        }
        return fromDoubleExact(value, scale);
    }
    // Accepts "." or "," as the separator, a sign, spaces around; ok false for no number
    // or one beyond MaxAbsValue (the result is then zero).
    static decimal fromAnyString(const QString& text, bool* ok = nullptr);
    // Whether a variant holds a decimal or a value that converts to one.
    static bool canConvert(const QVariant& value);
    // A decimal from a variant holding a decimal, a number or a text; zero and ok false otherwise.
    static decimal fromVariant(const QVariant& value, bool* ok = nullptr);
    static int metatypeId();

    // The packed 64 bits, for raw storage in a row.
    qint64 raw() const { return m_raw; }
    static constexpr decimal fromRaw(qint64 raw)
    {
        decimal d;
        d.m_raw = raw;
        return d;
    }

private:
    static constexpr double DoublePowers[MaxScale + 1] = {
        1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15, 1e16,
        1e17, 1e18};
    static decimal fromDoubleExact(double value, short scale);
    static constexpr int ScaleBits = 5;
    static constexpr qint64 ScaleMask = (1 << ScaleBits) - 1;
    qint64 m_raw;
};

Q_DECLARE_METATYPE(decimal)

DATABASE_EXPORT QDataStream& operator<<(QDataStream& out, const decimal& value);
DATABASE_EXPORT QDataStream& operator>>(QDataStream& in, decimal& value);
