#pragma once

#include "database_global.h"
#include "rowlayout.h"

#include <QAtomicInt>
#include <QMetaType>
#include <QString>

class Table;
class QDataStream;

// A counted handle to one row, one pointer wide. A row may live outside its table
// (a detached row): made fresh by Record(const Table*), or by clone().
class DATABASE_EXPORT Record
{
public:
    Record() = default;
    // A fresh detached row of the table's layout: every nullable cell null, the rest zero.
    explicit Record(const Table* table);
    Record(const Record& other) : m_row(other.m_row)
    {
        if (m_row)
            header()->ref.ref();
    }
    Record(Record&& other) noexcept : m_row(other.m_row) { other.m_row = nullptr; }
    Record& operator=(const Record& other)
    {
        Record copy(other);
        std::swap(m_row, copy.m_row);
        return *this;
    }
    Record& operator=(Record&& other) noexcept
    {
        std::swap(m_row, other.m_row);
        return *this;
    }
    ~Record()
    {
        if (m_row && !header()->ref.deref())
            release();
    }

    bool isNull() const { return m_row == nullptr; }
    const Table* table() const { return m_row ? header()->layout->table : nullptr; }

    // The cell of a column; a column the table lacks gives a field that reads as
    // null, zero or empty and writes nowhere.
    Q_ALWAYS_INLINE Field data(int column) { return m_row ? header()->cell(column) : Field(); }
    Q_ALWAYS_INLINE Field data(int column) const
    {
        return m_row ? header()->cell(column) : Field();
    }
    Field data(const QString& columnName);
    Field data(const QString& columnName) const;

    // A detached row with equal values.
    Record clone() const;
    // Whether the row is at present a row of its table.
    bool inTable() const { return m_row && (header()->flags & RowHeader::InTable); }
    // The text of the row's key.
    QString toString() const;

    // Copies all cells of another row of the same layout into this one.
    void copyValuesFrom(const Record& other);
    // Whether the column area bytes of the columns first..last are equal in both rows.
    bool sameValues(const Record& other, int firstColumn, int lastColumn) const;

    // The raw row block (header first) and the column area.
    unsigned char* rowBlock() const { return m_row; }
    unsigned char* columnArea() const { return m_row ? m_row + sizeof(RowHeader) : nullptr; }

    bool operator==(const Record& o) const { return m_row == o.m_row; }
    bool operator!=(const Record& o) const { return m_row != o.m_row; }
    bool operator<(const Record& o) const { return m_row < o.m_row; }

private:
    friend class Table;
    RowHeader* header() const { return reinterpret_cast<RowHeader*>(m_row); }
    void setInTable(bool in);
    void release();

    unsigned char* m_row = nullptr;
};

Q_DECLARE_METATYPE(Record)
Q_DECLARE_TYPEINFO(Record, Q_MOVABLE_TYPE);

inline uint qHash(const Record& r, uint seed = 0)
{
    return ::qHash(reinterpret_cast<quintptr>(r.rowBlock()), seed);
}

// A record travels in a stream as its table's name, key text and values; reading one back
// gives a null record, since a stream cannot name a live table.
DATABASE_EXPORT QDataStream& operator<<(QDataStream& out, const Record& record);
DATABASE_EXPORT QDataStream& operator>>(QDataStream& in, Record& record);
