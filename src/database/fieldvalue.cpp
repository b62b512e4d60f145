#include "fieldvalue.h"

#include <cstring>

void FieldValue::allocate(FieldType::Type type, int length, bool nullable)
{
    const int size = qMax(8, FieldType::storedSize(type, length));
    m_storage = QByteArray(size, '\0');
    m_null = 0;
    m_data = reinterpret_cast<unsigned char*>(m_storage.data());
    m_nullByte = &m_null;
    m_nullMask = 1;
    m_type = quint8(type);
    m_length = length;
    m_nullable = nullable;
}

FieldValue::FieldValue(FieldType::Type type, int length, bool nullable)
{
    allocate(type, length, nullable);
}

FieldValue::FieldValue(const Field& cell) : Field()
{
    if (!cell.isValid())
        return;
    allocate(cell.type(), cell.length(), cell.isNullable());
    Field::operator=(cell);
}

FieldValue::FieldValue(const FieldValue& other) : Field()
{
    if (!other.isValid())
        return;
    allocate(other.type(), other.length(), other.isNullable());
    std::memcpy(m_data, other.m_data, size_t(m_storage.size()));
    m_null = other.m_null;
}

FieldValue& FieldValue::operator=(const FieldValue& other)
{
    if (this == &other)
        return *this;
    if (!other.isValid()) {
        m_storage.clear();
        m_data = nullptr;
        m_nullByte = nullptr;
        m_type = FieldType::Invalid;
        m_length = 0;
        return *this;
    }
    allocate(other.type(), other.length(), other.isNullable());
    std::memcpy(m_data, other.m_data, size_t(m_storage.size()));
    m_null = other.m_null;
    return *this;
}

FieldConstValue::FieldConstValue(const QChar& value) : FieldConstValue(QString(value)) {}

FieldConstValue::FieldConstValue(int value)
{
    allocate(FieldType::Integer, 0, true);
    Field::operator=(value);
}

FieldConstValue::FieldConstValue(long long value)
{
    allocate(FieldType::Integer64, 0, true);
    Field::operator=(value);
}

FieldConstValue::FieldConstValue(double value)
{
    allocate(FieldType::Double, 15, true);
    Field::operator=(value);
}

FieldConstValue::FieldConstValue(const QString& value)
{
    allocate(FieldType::String, value.size(), true);
    Field::operator=(value);
}

FieldConstValue::FieldConstValue(const decimal& value)
{
    allocate(FieldType::Decimal, value.scale(), true);
    Field::operator=(value);
}

FieldConstValue::FieldConstValue(const datetime& value)
{
    allocate(FieldType::DateTime, 0, true);
    Field::operator=(value);
}

FieldConstValue FieldConstValue::fromValue(const Field& cell)
{
    FieldConstValue v;
    if (cell.isValid()) {
        v.allocate(cell.type(), cell.length(), cell.isNullable());
        static_cast<Field&>(v) = cell;
    }
    return v;
}
