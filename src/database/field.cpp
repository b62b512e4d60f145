#include "field.h"

#include <cmath>
#include <cstring>
#include <limits>

namespace {

template <typename T> T load(const unsigned char* p)
{
    T v;
    std::memcpy(&v, p, sizeof(T));
    return v;
}

template <typename T> void store(unsigned char* p, T v)
{
    std::memcpy(p, &v, sizeof(T));
}

qint64 saturatedRound(double v)
{
    if (std::isnan(v))
        return 0;
    if (v >= 9.2e18)
        return std::numeric_limits<qint64>::max();
    if (v <= -9.2e18)
        return std::numeric_limits<qint64>::min();
    return std::llround(v);
}

int clampToInt(qint64 v)
{
    if (v > std::numeric_limits<int>::max())
        return std::numeric_limits<int>::max();
    if (v < std::numeric_limits<int>::min())
        return std::numeric_limits<int>::min();
    return int(v);
}

int compareDouble(double a, double b)
{
    return a < b ? -1 : (a > b ? 1 : 0);
}

bool isNumeric(int type)
{
    return type == FieldType::Integer || type == FieldType::Integer64 ||
           type == FieldType::Double || type == FieldType::Decimal;
}

} // namespace

int Field::textLength() const
{
    int n = 0;
    while (n < m_length && load<char16_t>(m_data + 2 * n) != 0)
        ++n;
    return n;
}

qint64 Field::convertedInteger64() const
{
    if (isNull())
        return 0;
    switch (m_type) {
    case FieldType::Integer:
        return load<qint32>(m_data);
    case FieldType::Integer64:
    case FieldType::DateTime:
        return load<qint64>(m_data);
    case FieldType::Double:
        return saturatedRound(load<double>(m_data));
    case FieldType::Decimal:
        return saturatedRound(decimal::fromRaw(load<qint64>(m_data)).toDouble());
    case FieldType::String:
        return toString().trimmed().toLongLong();
    default:
        return 0;
    }
}

int Field::convertedInteger() const
{
    if (!isNull() && m_type == FieldType::Integer)
        return load<qint32>(m_data);
    return clampToInt(toInteger64());
}

double Field::convertedDouble() const
{
    if (isNull())
        return 0.0;
    switch (m_type) {
    case FieldType::Integer:
        return load<qint32>(m_data);
    case FieldType::Integer64:
    case FieldType::DateTime:
        return double(load<qint64>(m_data));
    case FieldType::Double:
        return load<double>(m_data);
    case FieldType::Decimal:
        return decimal::fromRaw(load<qint64>(m_data)).toDouble();
    case FieldType::String:
        return decimal::fromAnyString(toString()).toDouble();
    default:
        return 0.0;
    }
}

decimal Field::convertedDecimal() const
{
    if (isNull())
        return decimal::zero;
    switch (m_type) {
    case FieldType::Integer:
        return decimal(load<qint32>(m_data), 0);
    case FieldType::Integer64:
        return decimal(load<qint64>(m_data), 0);
    case FieldType::Double:
        return decimal::fromDouble(load<double>(m_data), short(qBound(0, m_length, 10)));
    case FieldType::Decimal:
        return decimal::fromRaw(load<qint64>(m_data));
    case FieldType::String:
        return decimal::fromAnyString(toString());
    default:
        return decimal::zero;
    }
}

datetime Field::toDatetime() const
{
    if (isNull())
        return datetime();
    switch (m_type) {
    case FieldType::DateTime:
    case FieldType::Integer64:
        return datetime(load<qint64>(m_data));
    case FieldType::String:
        return datetime(toString());
    default:
        return datetime();
    }
}

QDate Field::toQDate() const
{
    return toDatetime().getDate();
}

QChar Field::convertedChar() const
{
    if (isNull())
        return QChar();
    if (m_type == FieldType::String)
        return m_length > 0 ? QChar(load<char16_t>(m_data)) : QChar();
    const QString text = toString();
    return text.isEmpty() ? QChar() : text.at(0);
}

QString Field::toString() const
{
    if (isNull())
        return QString();
    switch (m_type) {
    case FieldType::Integer:
        return QString::number(load<qint32>(m_data));
    case FieldType::Integer64:
        return QString::number(load<qint64>(m_data));
    case FieldType::Double:
        return QString::number(load<double>(m_data), 'g', 15);
    case FieldType::Decimal:
        return decimal::fromRaw(load<qint64>(m_data)).toString();
    case FieldType::DateTime:
        return datetime(load<qint64>(m_data)).toString();
    case FieldType::String:
        return QString(reinterpret_cast<const QChar*>(m_data), textLength());
    default:
        return QString();
    }
}

QString Field::asSharedString() const
{
    if (m_type != FieldType::String)
        return toString();
    if (isNull())
        return QString();
    return QString::fromRawData(reinterpret_cast<const QChar*>(m_data), textLength());
}

QVariant Field::toVariant() const
{
    if (isNull())
        return QVariant();
    switch (m_type) {
    case FieldType::Integer:
        return load<qint32>(m_data);
    case FieldType::Integer64:
        return qlonglong(load<qint64>(m_data));
    case FieldType::Double:
        return load<double>(m_data);
    case FieldType::Decimal:
        return QVariant::fromValue(decimal::fromRaw(load<qint64>(m_data)));
    case FieldType::DateTime:
        return QVariant::fromValue(datetime(load<qint64>(m_data)));
    case FieldType::String:
        return toString();
    default:
        return QVariant();
    }
}

int Field::compare(const Field& other) const
{
    const bool aNull = isNull(), bNull = other.isNull();
    if (aNull || bNull)
        return aNull == bNull ? 0 : (aNull ? -1 : 1);

    if (m_type == other.m_type) {
        switch (m_type) {
        case FieldType::Integer: {
            const qint32 a = load<qint32>(m_data), b = load<qint32>(other.m_data);
            return a < b ? -1 : (a > b ? 1 : 0);
        }
        case FieldType::Integer64:
        case FieldType::DateTime: {
            const qint64 a = load<qint64>(m_data), b = load<qint64>(other.m_data);
            return a < b ? -1 : (a > b ? 1 : 0);
        }
        case FieldType::Double:
            return compareDouble(load<double>(m_data), load<double>(other.m_data));
        case FieldType::Decimal:
            return decimal::fromRaw(load<qint64>(m_data))
                .compare(decimal::fromRaw(load<qint64>(other.m_data)));
        case FieldType::String: {
            const int la = textLength(), lb = other.textLength();
            const int n = qMin(la, lb);
            for (int i = 0; i < n; ++i) {
                const char16_t a = load<char16_t>(m_data + 2 * i);
                const char16_t b = load<char16_t>(other.m_data + 2 * i);
                if (a != b)
                    return a < b ? -1 : 1;
            }
            return la < lb ? -1 : (la > lb ? 1 : 0);
        }
        default:
            return 0;
        }
    }
    if (isNumeric(m_type) && isNumeric(other.m_type)) {
        if (m_type != FieldType::Double && other.m_type != FieldType::Double)
            return toDecimal().compare(other.toDecimal());
        return compareDouble(toDouble(), other.toDouble());
    }
    const QString a = toString(), b = other.toString();
    return a < b ? -1 : (b < a ? 1 : 0);
}

Field& Field::assignConverted(long long value)
{
    if (!m_data)
        return *this;
    switch (m_type) {
    case FieldType::Integer:
        store<qint32>(m_data, clampToInt(value));
        break;
    case FieldType::Integer64:
    case FieldType::DateTime:
        store<qint64>(m_data, value);
        break;
    case FieldType::Double:
        store<double>(m_data, double(value));
        break;
    case FieldType::Decimal: {
        decimal d(value, 0);
        d.setScale(short(m_length));
        store<qint64>(m_data, d.raw());
        break;
    }
    case FieldType::String:
        return *this = QString::number(value);
    default:
        return *this;
    }
    markSet();
    return *this;
}

Field& Field::operator=(double value)
{
    if (!m_data)
        return *this;
    switch (m_type) {
    case FieldType::Integer:
        store<qint32>(m_data, clampToInt(saturatedRound(value)));
        break;
    case FieldType::Integer64:
    case FieldType::DateTime:
        store<qint64>(m_data, saturatedRound(value));
        break;
    case FieldType::Double:
        store<double>(m_data, value);
        break;
    case FieldType::Decimal:
        store<qint64>(m_data, decimal::fromDouble(value, short(m_length)).raw());
        break;
    case FieldType::String:
        return *this = QString::number(value, 'g', 15);
    default:
        return *this;
    }
    markSet();
    return *this;
}

Field& Field::operator=(const QChar& value)
{
    return *this = QString(value);
}

Field& Field::operator=(const QString& value)
{
    if (!m_data)
        return *this;
    switch (m_type) {
    case FieldType::String: {
        const int n = qMin(value.size(), m_length);
        std::memcpy(m_data, value.constData(), size_t(n) * 2);
        if (n < m_length)
            std::memset(m_data + 2 * n, 0, size_t(m_length - n) * 2);
        break;
    }
    case FieldType::Integer:
    case FieldType::Integer64:
        return *this = static_cast<long long>(value.trimmed().toLongLong());
    case FieldType::Double:
        return *this = decimal::fromAnyString(value).toDouble();
    case FieldType::Decimal:
        return *this = decimal::fromAnyString(value);
    case FieldType::DateTime:
        return *this = datetime(value);
    default:
        return *this;
    }
    markSet();
    return *this;
}

Field& Field::assignConverted(const decimal& value)
{
    if (!m_data)
        return *this;
    switch (m_type) {
    case FieldType::Decimal: {
        decimal d = value;
        if (d.scale() != m_length)
            d.setScale(short(m_length));
        store<qint64>(m_data, d.raw());
        break;
    }
    case FieldType::Double:
        return *this = value.toDouble();
    case FieldType::String:
        return *this = value.toString();
    default:
        return *this = value.toDouble();
    }
    markSet();
    return *this;
}

Field& Field::operator=(const datetime& value)
{
    if (!m_data)
        return *this;
    switch (m_type) {
    case FieldType::DateTime:
    case FieldType::Integer64:
        store<qint64>(m_data, value.msecs());
        break;
    case FieldType::String:
        return *this = value.toString();
    default:
        return *this;
    }
    markSet();
    return *this;
}

Field& Field::operator=(const Field& other)
{
    if (!m_data || this == &other)
        return *this;
    if (other.isNull()) {
        setNull();
        return *this;
    }
    if (m_type == other.m_type && m_length == other.m_length) {
        const int size = FieldType::storedSize(m_type, m_length);
        std::memmove(m_data, other.m_data, size_t(size));
        markSet();
        return *this;
    }
    switch (other.m_type) {
    case FieldType::Integer:
    case FieldType::Integer64:
        return *this = static_cast<long long>(other.toInteger64());
    case FieldType::Double:
        return *this = other.toDouble();
    case FieldType::Decimal:
        return *this = other.toDecimal();
    case FieldType::DateTime:
        return *this = other.toDatetime();
    case FieldType::String:
        return *this = other.toString();
    default:
        return *this;
    }
}

void Field::setValue(const QVariant& value)
{
    if (!value.isValid() || value.isNull()) {
        setNull();
        return;
    }
    const int id = value.userType();
    if (id == qMetaTypeId<decimal>())
        *this = value.value<decimal>();
    else if (id == qMetaTypeId<datetime>())
        *this = value.value<datetime>();
    else if (id == QMetaType::QDate)
        *this = datetime(value.toDate());
    else if (id == QMetaType::QDateTime)
        *this = datetime(value.toDateTime());
    else if (id == QMetaType::Double || id == QMetaType::Float)
        *this = value.toDouble();
    else if (id == QMetaType::Int || id == QMetaType::UInt || id == QMetaType::LongLong ||
             id == QMetaType::ULongLong || id == QMetaType::Bool || id == QMetaType::Short ||
             id == QMetaType::Long)
        *this = static_cast<long long>(value.toLongLong());
    else if (id == QMetaType::QChar)
        *this = value.toChar();
    else
        *this = value.toString();
}

void Field::setNull()
{
    if (!m_data)
        return;
    std::memset(m_data, 0, size_t(FieldType::storedSize(m_type, m_length)));
    if (m_nullable && m_nullByte)
        *m_nullByte &= quint8(~m_nullMask);
}
