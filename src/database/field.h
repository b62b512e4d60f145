#pragma once

#include "database_global.h"
#include "datetime.h"
#include "decimal.h"
#include "fieldtype.h"

#include <QChar>
#include <QDate>
#include <QString>
#include <QVariant>

#include <cstring>

// A short-lived view of one cell. A nullable cell holds a value exactly when its bit in the
// row's null bytes is set. Writing changes the row in place and tells nobody: the writer
// then calls Table::updated or works inside a RecordUpdater.
//
// Copying a Field copies the view; assigning one Field to another writes the value.
class DATABASE_EXPORT Field
{
public:
    // A cell that does not exist: reads as null, zero or empty, writes nowhere.
    Field() = default;
    Field(unsigned char* data, unsigned char* nullByte, quint8 nullMask, FieldType::Type type,
          int length, bool nullable)
        : m_data(data), m_nullByte(nullByte), m_length(length), m_type(quint8(type)),
          m_nullMask(nullMask), m_nullable(nullable)
    {
    }
    Field(const Field&) = default;

    bool isValid() const { return m_data != nullptr; }
    Q_ALWAYS_INLINE bool isNull() const { return !m_data || (m_nullable && !(*m_nullByte & m_nullMask)); }
    FieldType::Type type() const { return FieldType::Type(m_type); }
    int length() const { return m_length; }
    bool isNullable() const { return m_nullable; }

    // The reads of a cell of the type asked for are inline: the valuation makes millions.
    Q_ALWAYS_INLINE int toInteger() const
    {
        return m_type == FieldType::Integer && !isNull() ? stored<qint32>() : convertedInteger();
    }
    Q_ALWAYS_INLINE qint64 toInteger64() const
    {
        return (m_type == FieldType::Integer64 || m_type == FieldType::DateTime) && !isNull()
                   ? stored<qint64>()
                   : convertedInteger64();
    }
    Q_ALWAYS_INLINE double toDouble() const
    {
        if (m_type == FieldType::Decimal && !isNull())
            return decimal::fromRaw(stored<qint64>()).toDouble();
        return m_type == FieldType::Double && !isNull() ? stored<double>() : convertedDouble();
    }
    Q_ALWAYS_INLINE decimal toDecimal() const
    {
        return m_type == FieldType::Decimal && !isNull() ? decimal::fromRaw(stored<qint64>())
                                                          : convertedDecimal();
    }
    datetime toDatetime() const;
    QDate toQDate() const;
    // The first character of a text; QChar() if none.
    Q_ALWAYS_INLINE QChar toChar() const
    {
        return m_type == FieldType::String && m_length > 0 && !isNull()
                   ? QChar(stored<char16_t>())
                   : convertedChar();
    }
    QString toString() const;
    // A text cell's characters without a copy: valid only while the row lives unchanged.
    QString asSharedString() const;
    // The cell's own value: int, qlonglong, double, decimal, datetime or QString; invalid
    // for null.
    QVariant toVariant() const;

    operator int() const { return toInteger(); }
    operator long long() const { return toInteger64(); }
    operator QString() const { return toString(); }
    operator decimal() const { return toDecimal(); }

    // Nulls first, then by value; numbers compare as numbers across types, texts by code unit.
    int compare(const Field& other) const;
    bool operator==(const Field& other) const { return compare(other) == 0; }
    bool operator!=(const Field& other) const { return compare(other) != 0; }

    // Writes into a cell of the same type are inline: a feed makes millions.
    Field& operator=(int value)
    {
        if (m_type != FieldType::Integer)
            return assignConverted(static_cast<long long>(value));
        std::memcpy(m_data, &value, sizeof value);
        markSet();
        return *this;
    }
    Field& operator=(long long value)
    {
        if (m_type != FieldType::Integer64 && m_type != FieldType::DateTime)
            return assignConverted(value);
        const qint64 stored = value;
        std::memcpy(m_data, &stored, sizeof stored);
        markSet();
        return *this;
    }
    Field& operator=(double value);
    Field& operator=(const QChar& value);
    Field& operator=(const QString& value);
    Field& operator=(const decimal& value)
    {
        if (m_type != FieldType::Decimal || value.scale() != m_length)
            return assignConverted(value);
        const qint64 raw = value.raw();
        std::memcpy(m_data, &raw, sizeof raw);
        markSet();
        return *this;
    }
    Field& operator=(const datetime& value);
    Field& operator=(const Field& other); // writes the other cell's value (or null)
    // Writes a variant of any of the types above; an invalid variant writes null.
    void setValue(const QVariant& value);
    void setNull();

protected:
    void markSet() const
    {
        if (m_nullByte)
            *m_nullByte |= m_nullMask;
    }
    int textLength() const;
    template <typename T> T stored() const
    {
        T value;
        std::memcpy(&value, m_data, sizeof value);
        return value;
    }
    int convertedInteger() const;
    qint64 convertedInteger64() const;
    double convertedDouble() const;
    decimal convertedDecimal() const;
    QChar convertedChar() const;
    Field& assignConverted(const decimal& value);
    Field& assignConverted(long long value);

    unsigned char* m_data = nullptr;
    unsigned char* m_nullByte = nullptr;
    int m_length = 0;
    quint8 m_type = FieldType::Invalid;
    quint8 m_nullMask = 0;
    bool m_nullable = false;
};
