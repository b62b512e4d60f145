#pragma once

#include "field.h"

#include <QByteArray>

// A Field that owns its value; copyable.
class DATABASE_EXPORT FieldValue : public Field
{
public:
    FieldValue() = default;
    // A copy of a cell's type and value.
    FieldValue(const Field& cell);
    FieldValue(const FieldValue& other);
    FieldValue& operator=(const FieldValue& other);
    // A value of the given type, null until written.
    FieldValue(FieldType::Type type, int length, bool nullable = true);

    using Field::operator=;

protected:
    void allocate(FieldType::Type type, int length, bool nullable);

private:
    QByteArray m_storage;
    unsigned char m_null = 0;
};

// A FieldValue made from a constant.
class DATABASE_EXPORT FieldConstValue : public FieldValue
{
public:
    FieldConstValue() = default;
    FieldConstValue(const QChar& value);
    FieldConstValue(int value);
    FieldConstValue(long long value);
    FieldConstValue(double value);
    FieldConstValue(const QString& value);
    FieldConstValue(const decimal& value);
    FieldConstValue(const datetime& value);

    static FieldConstValue fromValue(const Field& cell);
};
