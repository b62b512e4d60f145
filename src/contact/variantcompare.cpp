#include "variantcompare.h"

#include <database/datetime.h>
#include <database/decimal.h>
#include <database/record.h>

#include <QByteArray>
#include <QDate>
#include <QDateTime>
#include <QTime>

#include <cmath>

namespace {

using int128 = __int128;
using uint128 = unsigned __int128;

// The order of the groups is the order of their values.
enum class Kind { Missing, Number, Text, Time, Other };

template <typename T> int sign(const T& a, const T& b)
{
    return a < b ? -1 : (a > b ? 1 : 0);
}

int signOf(int value)
{
    return value < 0 ? -1 : (value > 0 ? 1 : 0);
}

bool isNumberType(int type)
{
    switch (type) {
    case QMetaType::Bool:
    case QMetaType::Char:
    case QMetaType::SChar:
    case QMetaType::UChar:
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::Long:
    case QMetaType::ULong:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Float:
    case QMetaType::Double:
        return true;
    default:
        return type == decimal::metatypeId();
    }
}

Kind kindOf(const QVariant& v)
{
    if (!v.isValid() || v.isNull())
        return Kind::Missing;
    const int type = v.userType();
    if (type == datetime::metatypeId())
        return v.value<datetime>().isNull() ? Kind::Missing : Kind::Time;
    if (type == qMetaTypeId<Record>())
        return v.value<Record>().isNull() ? Kind::Missing : Kind::Other;
    if (isNumberType(type))
        return Kind::Number;
    if (type == QMetaType::QString || type == QMetaType::QChar)
        return Kind::Text;
    if (type == QMetaType::QDate || type == QMetaType::QDateTime)
        return Kind::Time;
    return Kind::Other;
}

// ---- Numbers -------------------------------------------------------------------------------

constexpr int MaxDecimalScale = decimal::MaxScale;

uint128 pow10(int n)
{
    uint128 p = 1;
    for (int i = 0; i < n; ++i)
        p *= 10;
    return p;
}

int bitLength(uint128 x)
{
    const quint64 high = quint64(x >> 64);
    if (high)
        return 128 - __builtin_clzll(high);
    const quint64 low = quint64(x);
    return low ? 64 - __builtin_clzll(low) : 0;
}

// Compares a with b * 2^shift without overflow; a < 2^127, b < 2^127.
int compareShifted(uint128 a, uint128 b, int shift)
{
    if (b == 0)
        return a == 0 ? 0 : 1;
    const int bitsA = bitLength(a);
    const int bitsB = bitLength(b) + shift;
    if (bitsA != bitsB)
        return bitsA < bitsB ? -1 : 1;
    // Equal lengths of at most 127 bits: the shift cannot overflow.
    return sign(a, b << shift);
}

// Every number a variant can hold, kept exactly: a sign and a magnitude whole + fraction,
// the fraction being fraction / 10^exponent (decimal) or fraction / 2^exponent (binary).
// A double is kept as it is as well, for the plain comparison of two doubles.
struct Number
{
    bool isDouble = false;
    bool isNaN = false;
    double real = 0;
    int sign = 0;
    uint128 whole = 0;
    uint128 fraction = 0;
    int exponent = 0;
    bool binary = false;
};

// Beyond every integer and decimal: what infinities and huge doubles count as against them.
const uint128 HugeWhole = uint128(1) << 100;

void setMagnitude(Number* n, uint128 magnitude)
{
    n->whole = magnitude;
    n->sign = magnitude == 0 ? 0 : 1;
}

Number fromDouble(double d)
{
    Number n;
    n.isDouble = true;
    n.real = d;
    if (std::isnan(d)) {
        n.isNaN = true;
        return n;
    }
    n.sign = d < 0 ? -1 : (d > 0 ? 1 : 0);
    const double x = std::fabs(d);
    if (x == 0)
        return n;
    if (std::isinf(x) || x >= std::ldexp(1.0, 100)) {
        n.whole = HugeWhole;
        return n;
    }
    int e = 0;
    const double f = std::frexp(x, &e); // x = f * 2^e, 0.5 <= f < 1
    const quint64 m = quint64(std::ldexp(f, 53));
    const int shift = 53 - e; // x = m / 2^shift
    if (shift <= 0) {
        n.whole = uint128(m) << -shift;
    } else if (shift >= 64) {
        n.fraction = m;
        n.exponent = shift;
        n.binary = true;
    } else {
        n.whole = m >> shift;
        n.fraction = m & ((quint64(1) << shift) - 1);
        n.exponent = shift;
        n.binary = true;
    }
    return n;
}

Number numberOf(const QVariant& v)
{
    const int type = v.userType();
    Number n;
    switch (type) {
    case QMetaType::Bool:
        setMagnitude(&n, v.toBool() ? 1 : 0);
        return n;
    case QMetaType::UChar:
    case QMetaType::UShort:
    case QMetaType::UInt:
    case QMetaType::ULong:
    case QMetaType::ULongLong:
        setMagnitude(&n, v.toULongLong());
        return n;
    case QMetaType::Float:
    case QMetaType::Double:
        return fromDouble(v.toDouble());
    default:
        break;
    }
    if (type == decimal::metatypeId()) {
        const decimal d = v.value<decimal>();
        // Scale bits beyond the finest scale are read as the finest, as decimal::compare does.
        const int scale = qMin<int>(d.scale(), MaxDecimalScale);
        const int128 mantissa = d.value();
        const uint128 magnitude = uint128(mantissa < 0 ? -mantissa : mantissa);
        const uint128 unit = pow10(scale);
        n.whole = magnitude / unit;
        n.fraction = magnitude % unit;
        n.exponent = scale;
        n.sign = mantissa < 0 ? -1 : (mantissa > 0 ? 1 : 0);
        return n;
    }
    // The signed integer types.
    const int128 value = v.toLongLong();
    n.whole = uint128(value < 0 ? -value : value);
    n.sign = value < 0 ? -1 : (value > 0 ? 1 : 0);
    return n;
}

int compareFractions(const Number& a, const Number& b)
{
    if (!a.binary && !b.binary) // both below 10^18: the products stay below 10^36
        return sign(a.fraction * pow10(b.exponent), b.fraction * pow10(a.exponent));
    if (a.binary && b.binary) {
        if (a.exponent >= b.exponent)
            return compareShifted(a.fraction, b.fraction, a.exponent - b.exponent);
        return -compareShifted(b.fraction, a.fraction, b.exponent - a.exponent);
    }
    if (a.binary) // a / 2^ea against b / 10^eb, that is a * 10^eb against b * 2^ea
        return compareShifted(a.fraction * pow10(b.exponent), b.fraction, a.exponent);
    return -compareFractions(b, a);
}

int compareNumbers(const QVariant& va, const QVariant& vb)
{
    const Number a = numberOf(va);
    const Number b = numberOf(vb);
    if (a.isNaN || b.isNaN)
        return a.isNaN == b.isNaN ? 0 : (a.isNaN ? -1 : 1);
    if (a.isDouble && b.isDouble)
        return sign(a.real, b.real);
    if (a.sign != b.sign)
        return sign(a.sign, b.sign);
    if (a.sign == 0)
        return 0;
    int magnitude = sign(a.whole, b.whole);
    if (magnitude == 0)
        magnitude = compareFractions(a, b);
    return a.sign > 0 ? magnitude : -magnitude;
}

// ---- Texts and times -----------------------------------------------------------------------

QString textOf(const QVariant& v)
{
    return v.userType() == QMetaType::QChar ? QString(v.toChar()) : v.toString();
}

// Wall-clock milliseconds since 1970-01-01 00:00; 128 bits hold every QDate there is.
int128 wallClockOf(const QDate& date, const QTime& time)
{
    constexpr qint64 EpochJulianDay = 2440588;
    return int128(date.toJulianDay() - EpochJulianDay) * datetime::MsecsPerDay +
           (time.isValid() ? time.msecsSinceStartOfDay() : 0);
}

int128 timeOf(const QVariant& v)
{
    const int type = v.userType();
    if (type == QMetaType::QDate)
        return wallClockOf(v.toDate(), QTime());
    if (type == QMetaType::QDateTime) {
        const QDateTime dt = v.toDateTime();
        return wallClockOf(dt.date(), dt.time());
    }
    return v.value<datetime>().msecs();
}

int compareOther(const QVariant& a, const QVariant& b, Qt::CaseSensitivity sensitivity)
{
    const int type = a.userType();
    if (type != b.userType())
        return sign(type, b.userType());
    if (type == QMetaType::QByteArray)
        return signOf(a.toByteArray().compare(b.toByteArray(), sensitivity));
    if (type == QMetaType::QTime)
        return sign(a.toTime().msecsSinceStartOfDay(), b.toTime().msecsSinceStartOfDay());
    if (type == qMetaTypeId<Record>()) {
        const Record ra = a.value<Record>();
        const Record rb = b.value<Record>();
        return ra < rb ? -1 : (rb < ra ? 1 : 0);
    }
    int result = 0;
    if (QMetaType::compare(a.constData(), b.constData(), type, &result))
        return signOf(result);
    if (a.canConvert<QString>())
        return signOf(QString::compare(a.toString(), b.toString(), sensitivity));
    return 0;
}

} // namespace

int variant_compare(const QVariant& a, const QVariant& b, Qt::CaseSensitivity sensitivity)
{
    const Kind ka = kindOf(a);
    const Kind kb = kindOf(b);
    if (ka != kb)
        return sign(int(ka), int(kb));
    switch (ka) {
    case Kind::Missing:
        return 0;
    case Kind::Number:
        return compareNumbers(a, b);
    case Kind::Text:
        return signOf(QString::compare(textOf(a), textOf(b), sensitivity));
    case Kind::Time:
        return sign(timeOf(a), timeOf(b));
    case Kind::Other:
        return compareOther(a, b, sensitivity);
    }
    return 0;
}
