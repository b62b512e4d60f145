#include "itemvalueorder.h"

#include "database/datetime.h"
#include "database/decimal.h"
#include "database/record.h"

#include <cmath>

namespace {

enum class Kind { Invalid, Integer, Floating, Decimal, DateTime, Text, Record, Other };

Kind kindOf(const QVariant& v)
{
    if (!v.isValid())
        return Kind::Invalid;
    const int type = v.userType();
    switch (type) {
    case QMetaType::Bool:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::Long:
    case QMetaType::ULong:
    case QMetaType::Char:
    case QMetaType::SChar:
    case QMetaType::UChar:
        return Kind::Integer;
    case QMetaType::Double:
    case QMetaType::Float:
        return Kind::Floating;
    case QMetaType::QString:
    case QMetaType::QChar:
    case QMetaType::QByteArray:
        return Kind::Text;
    default:
        break;
    }
    if (type == decimal::metatypeId())
        return Kind::Decimal;
    if (type == datetime::metatypeId())
        return Kind::DateTime;
    if (type == qMetaTypeId<Record>())
        return Kind::Record;
    return Kind::Other;
}

int rankOf(Kind kind)
{
    switch (kind) {
    case Kind::Invalid:
        return 0;
    case Kind::Integer:
    case Kind::Floating:
    case Kind::Decimal:
    case Kind::DateTime:
        return 1;
    case Kind::Text:
        return 2;
    case Kind::Record:
        return 3;
    case Kind::Other:
        break;
    }
    return 4;
}

template <typename T> int sign(T a, T b)
{
    return a < b ? -1 : (b < a ? 1 : 0);
}

qint64 integerOf(const QVariant& v, Kind kind)
{
    return kind == Kind::DateTime ? v.value<datetime>().msecs() : v.toLongLong();
}

double doubleOf(const QVariant& v, Kind kind)
{
    switch (kind) {
    case Kind::Decimal:
        return v.value<decimal>().toDouble();
    case Kind::DateTime:
        return double(v.value<datetime>().msecs());
    default:
        return v.toDouble();
    }
}

int compareDoubles(double a, double b)
{
    // NaN stands before every number, so that the order stays total.
    const bool aNan = std::isnan(a), bNan = std::isnan(b);
    if (aNan || bNan)
        return aNan == bNan ? 0 : (aNan ? -1 : 1);
    return sign(a, b);
}

int compareNumbers(const QVariant& a, Kind ka, const QVariant& b, Kind kb)
{
    const bool aExact = ka == Kind::Integer || ka == Kind::DateTime;
    const bool bExact = kb == Kind::Integer || kb == Kind::DateTime;
    if (ka == Kind::Decimal && kb == Kind::Decimal)
        return a.value<decimal>().compare(b.value<decimal>());
    if (aExact && bExact)
        return sign(integerOf(a, ka), integerOf(b, kb));
    if (ka == Kind::Decimal && bExact)
        return a.value<decimal>().compare(decimal(integerOf(b, kb), 0));
    if (aExact && kb == Kind::Decimal)
        return decimal(integerOf(a, ka), 0).compare(b.value<decimal>());
    return compareDoubles(doubleOf(a, ka), doubleOf(b, kb));
}

} // namespace

int compareItemValues(const QVariant& left, const QVariant& right, Qt::CaseSensitivity cs)
{
    const Kind kl = kindOf(left), kr = kindOf(right);
    const int rl = rankOf(kl), rr = rankOf(kr);
    if (rl != rr)
        return rl < rr ? -1 : 1;
    switch (rl) {
    case 0:
        return 0;
    case 1:
        return compareNumbers(left, kl, right, kr);
    case 3:
        return sign(left.value<Record>().rowBlock(), right.value<Record>().rowBlock());
    default:
        break;
    }
    const int c = QString::compare(left.toString(), right.toString(), cs);
    return c < 0 ? -1 : (c > 0 ? 1 : 0);
}
