#include "decimal.h"

#include <QDataStream>
#include <QLocale>

#include <cmath>
#include <cstring>
#include <limits>

namespace {

using int128 = __int128;

struct PowersOfTen
{
    qint64 value[decimal::MaxScale + 1];
    constexpr PowersOfTen() : value()
    {
        qint64 p = 1;
        for (int i = 0; i <= decimal::MaxScale; ++i) {
            value[i] = p;
            if (i < decimal::MaxScale)
                p *= 10;
        }
    }
    constexpr qint64 operator[](int n) const { return value[n]; }
};
constexpr PowersOfTen Pow10;
static_assert(Pow10[decimal::MaxScale] == 1000000000000000000LL, "10^18 is the finest step");

// The integer part of MaxAbsValue; texts beyond it are refused.
constexpr qint64 MaxAbsInteger = 9999999999999998LL;

// A raw value read from storage may carry any scale bits; computations never index past 18.
// The distance from a finite non-negative double to the next one up.
double ulpOf(double x)
{
    quint64 bits;
    std::memcpy(&bits, &x, sizeof bits);
    const int exponent = int(bits >> 52) & 0x7ff;
    if (exponent <= 52) // the next double up is a subnormal step away, or the step is one
        return std::nextafter(x, std::numeric_limits<double>::infinity()) - x;
    const quint64 ulpBits = quint64(exponent - 52) << 52;
    double ulp;
    std::memcpy(&ulp, &ulpBits, sizeof ulp);
    return ulp;
}

int usableScale(const decimal& d)
{
    const int s = d.scale();
    return s > decimal::MaxScale ? decimal::MaxScale : s;
}

bool fits(int128 mantissa)
{
    return mantissa <= decimal::MaxMantissa && mantissa >= -decimal::MaxMantissa;
}

decimal make(qint64 mantissa, int scale)
{
    // Shifting the unsigned pattern keeps a negative mantissa well defined.
    return decimal::fromRaw(qint64(quint64(mantissa) << 5) | scale);
}

// Integer division rounding half away from zero.
int128 divideRounded(int128 value, int128 divisor)
{
    int128 quotient = value / divisor;
    const int128 remainder = value % divisor;
    const int128 twice = remainder < 0 ? -2 * remainder : 2 * remainder;
    if (twice >= divisor)
        quotient += value < 0 ? -1 : 1;
    return quotient;
}

// A result at the scale asked for, or, if it does not fit there, at the finest scale that
// holds it (rounded once, half away from zero): 1 + 0.000000000000000001 is 1.00000000000000000
// rather than a saturated 0.288. Only what no scale holds saturates.
decimal fitted(int128 mantissa, int scale)
{
    if (fits(mantissa))
        return make(qint64(mantissa), scale);
    for (int s = scale - 1; s >= 0; --s) {
        const int128 m = divideRounded(mantissa, Pow10[scale - s]);
        if (fits(m))
            return make(qint64(m), s);
    }
    return make(mantissa > 0 ? decimal::MaxMantissa : -decimal::MaxMantissa, 0);
}

// The mantissa moved from one scale to another; both 0..MaxScale, |mantissa| < 2^63.
int128 rescaled(int128 mantissa, int from, int to)
{
    if (to > from)
        return mantissa * Pow10[to - from];
    if (to < from)
        return divideRounded(mantissa, Pow10[from - to]);
    return mantissa;
}

bool isAsciiDigit(QChar c)
{
    return c >= QLatin1Char('0') && c <= QLatin1Char('9');
}

} // namespace

const decimal decimal::zero = decimal::fromRaw(0);
const decimal decimal::minimum = decimal::fromRaw(std::numeric_limits<qint64>::min());
const decimal decimal::maximum = decimal::fromRaw(qint64(quint64(decimal::MaxMantissa) << 5));

decimal::decimal(const QString& text) : m_raw(fromAnyString(text).m_raw) {}

void decimal::set(long long value, short scale)
{
    // A scale outside 0..MaxScale is honoured by moving the value to the nearest usable one.
    int128 mantissa = value;
    int target = scale;
    if (scale < 0) {
        target = 0;
        for (int i = scale; i < 0 && mantissa != 0; ++i) {
            mantissa *= 10;
            if (mantissa > MaxMantissa || mantissa < -MaxMantissa)
                break;
        }
    } else if (scale > MaxScale) {
        target = MaxScale;
        // One division, so that the rounding happens once; 10^38 still fits 128 bits and
        // any larger divisor leaves nothing of a 64-bit value.
        const int drop = scale - MaxScale;
        if (drop > 38) {
            mantissa = 0;
        } else {
            int128 divisor = 1;
            for (int i = 0; i < drop; ++i)
                divisor *= 10;
            mantissa = divideRounded(mantissa, divisor);
        }
    }
    m_raw = fitted(mantissa, target).m_raw;
}

void decimal::setScale(short scale)
{
    const int target = scale < 0 ? 0 : (scale > MaxScale ? MaxScale : scale);
    m_raw = fitted(rescaled(value(), usableScale(*this), target), target).m_raw;
}

int decimal::compare(const decimal& other) const
{
    const int sa = usableScale(*this);
    const int sb = usableScale(other);
    int128 a = value();
    int128 b = other.value();
    if (sa < sb)
        a *= Pow10[sb - sa];
    else if (sb < sa)
        b *= Pow10[sa - sb];
    return a < b ? -1 : (a > b ? 1 : 0);
}

decimal decimal::operator-() const
{
    return fitted(-int128(value()), usableScale(*this));
}

decimal decimal::operator+(const decimal& other) const
{
    const int sa = usableScale(*this);
    const int sb = usableScale(other);
    const int s = qMax(sa, sb);
    return fitted(rescaled(value(), sa, s) + rescaled(other.value(), sb, s), s);
}

decimal decimal::operator-(const decimal& other) const
{
    const int sa = usableScale(*this);
    const int sb = usableScale(other);
    const int s = qMax(sa, sb);
    return fitted(rescaled(value(), sa, s) - rescaled(other.value(), sb, s), s);
}

decimal& decimal::operator+=(const decimal& other)
{
    *this = *this + other;
    return *this;
}

decimal& decimal::operator-=(const decimal& other)
{
    *this = *this - other;
    return *this;
}

decimal decimal::operator*(const decimal& other) const
{
    const int sa = usableScale(*this);
    const int sb = usableScale(other);
    // |product| < 2^116, well inside 128 bits; its scale is sa + sb.
    const int128 product = int128(value()) * other.value();
    return fitted(divideRounded(product, Pow10[qMin(sa, sb)]), qMax(sa, sb));
}

decimal decimal::operator*(long long factor) const
{
    return fitted(int128(value()) * factor, usableScale(*this));
}

QString decimal::toString() const
{
    const qint64 v = value();
    const int s = usableScale(*this);
    // |v| <= 2^58, so negating cannot overflow.
    const quint64 magnitude = quint64(v < 0 ? -v : v);
    QString text;
    text.reserve(24);
    if (v < 0)
        text += QLatin1Char('-');
    text += QString::number(magnitude / quint64(Pow10[s]));
    if (s > 0) {
        text += QLatin1Char('.');
        text += QString::number(magnitude % quint64(Pow10[s])).rightJustified(s, QLatin1Char('0'));
    }
    return text;
}

QString decimal::toSystemString() const
{
    QString text = toString();
    const int point = text.indexOf(QLatin1Char('.'));
    if (point >= 0)
        text[point] = QLocale::system().decimalPoint();
    return text;
}

QString decimal::toSystemStringShort() const
{
    QString text = toString();
    const int point = text.indexOf(QLatin1Char('.'));
    if (point < 0)
        return text;
    int end = text.size();
    while (end > point + 1 && text.at(end - 1) == QLatin1Char('0'))
        --end;
    if (end == point + 1) {
        text.truncate(point);
        return text;
    }
    text.truncate(end);
    text[point] = QLocale::system().decimalPoint();
    return text;
}

QVariant decimal::toVariant() const
{
    return QVariant::fromValue(*this);
}

decimal decimal::fromDoubleExact(double value, short scale)
{
    const double* Powers = DoublePowers;
    int s = scale < 0 ? 0 : (scale > MaxScale ? MaxScale : scale);
    if (std::isnan(value))
        return make(0, s);
    const double magnitude = std::fabs(value);
    double scaled = magnitude * Powers[s];
    // As in arithmetic: a coarser scale before saturation.
    while (s > 0 && scaled >= double(MaxMantissa))
        scaled = magnitude * Powers[--s];
    if (!(scaled < double(MaxMantissa)))
        return make(value > 0 ? MaxMantissa : -MaxMantissa, 0);

    // 0.285 is stored as 0.28499999999999998 and scales to 28.499999999999996. The stored
    // value and the product each err by at most 1.5 ulps of the product together, so a
    // fraction that close below one half was meant as one half.
    // The conversion truncates, which for a non-negative value is the floor.
    qint64 mantissa = qint64(scaled);
    const double fraction = scaled - double(mantissa);
    if (fraction > 0 && fraction >= 0.5 - 3 * ulpOf(scaled))
        ++mantissa;
    if (mantissa > MaxMantissa)
        return fitted(value < 0 ? -mantissa : mantissa, s);
    return make(value < 0 ? -mantissa : mantissa, s);
}

decimal decimal::fromAnyString(const QString& text, bool* ok)
{
    if (ok)
        *ok = false;
    const QString t = text.trimmed();
    const QChar systemPoint = QLocale::system().decimalPoint();
    int i = 0;
    const int n = t.size();

    bool minus = false;
    if (i < n && (t.at(i) == QLatin1Char('-') || t.at(i) == QLatin1Char('+'))) {
        minus = t.at(i) == QLatin1Char('-');
        ++i;
    }

    qint64 integer = 0;
    int integerDigits = 0;
    for (; i < n && isAsciiDigit(t.at(i)); ++i) {
        ++integerDigits;
        integer = integer * 10 + (t.at(i).unicode() - '0');
        if (integer > MaxAbsInteger)
            return zero;
    }

    const int fractionStart = i < n && (t.at(i) == QLatin1Char('.') ||
                                        t.at(i) == QLatin1Char(',') || t.at(i) == systemPoint)
                                  ? i + 1
                                  : -1;
    int fractionDigits = 0;
    if (fractionStart > 0) {
        for (i = fractionStart; i < n && isAsciiDigit(t.at(i)); ++i)
            ++fractionDigits;
    }
    if (i != n || integerDigits + fractionDigits == 0)
        return zero;

    auto fractionDigit = [&](int k) { return t.at(fractionStart + k).unicode() - '0'; };
    if (integer == MaxAbsInteger) {
        for (int k = 0; k < fractionDigits; ++k) {
            if (fractionDigit(k) != 0)
                return zero;
        }
    }

    // Keep every digit given (trailing zeros too, they make the scale) unless the mantissa
    // would not fit: then drop fraction digits, rounding half away from zero.
    int scale = qMin<int>(fractionDigits, MaxScale);
    int128 mantissa = 0;
    for (;; --scale) {
        mantissa = integer;
        for (int k = 0; k < scale; ++k)
            mantissa = mantissa * 10 + fractionDigit(k);
        if (scale < fractionDigits && fractionDigit(scale) >= 5)
            mantissa += 1;
        if (mantissa <= MaxMantissa || scale == 0)
            break;
    }

    if (ok)
        *ok = true;
    return make(qint64(minus ? -mantissa : mantissa), scale);
}

bool decimal::canConvert(const QVariant& value)
{
    bool ok = false;
    fromVariant(value, &ok);
    return ok;
}

decimal decimal::fromVariant(const QVariant& value, bool* ok)
{
    if (ok)
        *ok = false;
    const int type = value.userType();
    if (type == metatypeId()) {
        if (ok)
            *ok = true;
        return value.value<decimal>();
    }
    // A null variant is a missing value, not a zero.
    if (!value.isValid() || value.isNull())
        return zero;

    switch (type) {
    case QMetaType::Int:
    case QMetaType::Long:
    case QMetaType::LongLong:
    case QMetaType::Short:
    case QMetaType::SChar:
    case QMetaType::Char: {
        const qlonglong v = value.toLongLong();
        if (v > MaxAbsInteger || v < -MaxAbsInteger)
            return zero;
        if (ok)
            *ok = true;
        return make(v, 0);
    }
    case QMetaType::UInt:
    case QMetaType::ULong:
    case QMetaType::ULongLong:
    case QMetaType::UShort:
    case QMetaType::UChar: {
        const qulonglong v = value.toULongLong();
        if (v > qulonglong(MaxAbsInteger))
            return zero;
        if (ok)
            *ok = true;
        return make(qint64(v), 0);
    }
    case QMetaType::Double:
    case QMetaType::Float: {
        const double v = value.toDouble();
        if (!std::isfinite(v) || std::fabs(v) > MaxAbsValue)
            return zero;
        // The shortest text that reads back as the same double is what was meant: 0.1 is
        // "0.1" at scale 1, not 0.1000000000000000055511.
        return fromAnyString(QString::number(v, 'f', QLocale::FloatingPointShortest), ok);
    }
    case QMetaType::QString:
    case QMetaType::QByteArray:
        return fromAnyString(value.toString(), ok);
    default:
        return zero;
    }
}

int decimal::metatypeId()
{
    return qMetaTypeId<decimal>();
}

QDataStream& operator<<(QDataStream& out, const decimal& value)
{
    out << qint64(value.raw());
    return out;
}

QDataStream& operator>>(QDataStream& in, decimal& value)
{
    qint64 raw = 0;
    in >> raw;
    if (in.status() != QDataStream::Ok) {
        value = decimal::zero;
        return in;
    }
    // Scale bits above 18 are no decimal of ours: reject instead of guessing.
    if ((raw & 31) > decimal::MaxScale) {
        value = decimal::zero;
        in.setStatus(QDataStream::ReadCorruptData);
        return in;
    }
    value = decimal::fromRaw(raw);
    return in;
}

namespace {

decimal decimalFromString(const QString& text)
{
    return decimal::fromAnyString(text);
}

// At load, so that settings files and queued connections know the type by name before
// anybody asks for it.
void registerDecimalType()
{
    qRegisterMetaType<decimal>("decimal");
    qRegisterMetaTypeStreamOperators<decimal>("decimal");
    QMetaType::registerComparators<decimal>();
    QMetaType::registerConverter<decimal, double>(&decimal::toDouble);
    QMetaType::registerConverter<decimal, QString>(&decimal::toString);
    QMetaType::registerConverter<QString, decimal>(&decimalFromString);
}

} // namespace

Q_CONSTRUCTOR_FUNCTION(registerDecimalType)
