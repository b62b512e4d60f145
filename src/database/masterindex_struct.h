#pragma once

#include "decimal.h"
#include "masterindexcolumn.h"
#include "table.h"

#include <QStringList>

#include <cstring>

#ifndef _MSC_VER
typedef long long __int64;
#endif

// A text key of N 16-bit characters, compared by code unit.
template <int N> struct ucharn
{
    unsigned short chars[N];
};

namespace MasterIndex_Helper {

struct NullType
{
};

// What a key type requires of its column, and how two raw cells of it compare.
template <class T> struct Key;

// A signed integer cell.
template <typename Int, int Type> struct IntegerKey
{
    static constexpr int type = Type;
    static constexpr int width = sizeof(Int);
    static int compare(const unsigned char* a, const unsigned char* b)
    {
        Int x, y;
        std::memcpy(&x, a, sizeof(Int));
        std::memcpy(&y, b, sizeof(Int));
        return x < y ? -1 : (x > y ? 1 : 0);
    }
    static uint hash(const unsigned char* a)
    {
        Int x;
        std::memcpy(&x, a, sizeof(Int));
        return ::qHash(x);
    }
};

template <> struct Key<int> : IntegerKey<qint32, FieldType::Integer>
{
};

template <> struct Key<__int64> : IntegerKey<qint64, FieldType::Integer64>
{
};

template <int N> struct Key<ucharn<N>>
{
    static constexpr int type = FieldType::String;
    static constexpr int width = 2 * N;
    static int compare(const unsigned char* a, const unsigned char* b)
    {
        for (int i = 0; i < N; ++i) {
            unsigned short x, y;
            std::memcpy(&x, a + 2 * i, 2);
            std::memcpy(&y, b + 2 * i, 2);
            if (x != y)
                return x < y ? -1 : 1;
        }
        return 0;
    }
    static uint hash(const unsigned char* a) { return qHashBits(a, 2 * N); }
};

template <> struct Key<decimal>
{
    static constexpr int type = FieldType::Decimal;
    static constexpr int width = 8;
    static int compare(const unsigned char* a, const unsigned char* b)
    {
        qint64 x, y;
        std::memcpy(&x, a, 8);
        std::memcpy(&y, b, 8);
        return decimal::fromRaw(x).compare(decimal::fromRaw(y));
    }
    // Equal values of different scales compare equal, so they must hash by value.
    static uint hash(const unsigned char* a)
    {
        qint64 x;
        std::memcpy(&x, a, 8);
        return ::qHash(decimal::fromRaw(x).toDouble());
    }
};

// The general key instead of an optimized one that could not be made, with a warning.
DATABASE_EXPORT MasterIndex* fallback(Table* table, const QStringList& columns,
                                      const QString& error);

// Checks the column at position for a key type; returns its offset in a row block.
DATABASE_EXPORT int verifyColumn(const Table* table, const QStringList& columns, int position,
                                 int requiredType, int requiredWidth);
DATABASE_EXPORT void verifyCount(const QStringList& columns, int required);

// IndexSort::search with the comparison of raw rows inlined: no virtual call and no field
// access per step of the binary search. A null key has no row to compare and is found nowhere.
template <class Compare>
int searchRows(const PartitionList<Record>& rows, const Record& key, int hint, Compare compare)
{
    if (key.isNull())
        return -1;
    const unsigned char* k = key.rowBlock();
    const int n = rows.count();
    if (hint >= 0 && hint < n && compare(rows.at(hint).rowBlock(), k) == 0 &&
        (hint == 0 || compare(rows.at(hint - 1).rowBlock(), k) < 0))
        return hint;
    const int pos =
        rows.lowerBound([&](const Record& e) { return compare(e.rowBlock(), k) < 0; });
    if (pos < n && compare(rows.at(pos).rowBlock(), k) == 0)
        return pos;
    return -pos - 1;
}

template <class Index> MasterIndex* create(Table* table, const QStringList& columns)
{
    try {
        return new Index(table, columns);
    } catch (const QString& error) {
        return fallback(table, columns, error);
    }
}

} // namespace MasterIndex_Helper

// A table key that compares raw row memory, the type of each key column fixed at compile
// time. Each instance derives from the instance with its first type removed; each level
// holds the offset of its own column. The constructors throw a QString when the table's
// columns do not fit; create() then falls back to the general MasterIndex_Column.
template <class T1, class T2 = MasterIndex_Helper::NullType,
          class T3 = MasterIndex_Helper::NullType, class T4 = MasterIndex_Helper::NullType,
          class T5 = MasterIndex_Helper::NullType, class T6 = MasterIndex_Helper::NullType,
          class T7 = MasterIndex_Helper::NullType, class T8 = MasterIndex_Helper::NullType>
class MasterIndex_Struct
    : public MasterIndex_Struct<T2, T3, T4, T5, T6, T7, T8, MasterIndex_Helper::NullType>
{
    using Base = MasterIndex_Struct<T2, T3, T4, T5, T6, T7, T8, MasterIndex_Helper::NullType>;

public:
    MasterIndex_Struct(Table* table, const QStringList& columns, int position = 0)
        : Base(table, columns, position + 1),
          m_offset(MasterIndex_Helper::verifyColumn(table, columns, position,
                                                    MasterIndex_Helper::Key<T1>::type,
                                                    MasterIndex_Helper::Key<T1>::width))
    {
        this->setKeyHash(&MasterIndex_Struct::hashOf);
    }

    static MasterIndex* create(Table* table, const QStringList& columns)
    {
        return MasterIndex_Helper::create<MasterIndex_Struct>(table, columns);
    }

    int compare(const Record& a, const Record& b) const override
    {
        return compareRows(a.rowBlock(), b.rowBlock());
    }
    int search(const Record& key, int hint) const override
    {
        return MasterIndex_Helper::searchRows(
            this->records(), key, hint,
            [this](const unsigned char* a, const unsigned char* b) { return compareRows(a, b); });
    }

protected:
    int compareRows(const unsigned char* a, const unsigned char* b) const
    {
        const int r = MasterIndex_Helper::Key<T1>::compare(a + m_offset, b + m_offset);
        return r != 0 ? r : Base::compareRows(a, b);
    }
    uint hashRow(const unsigned char* row) const
    {
        return MasterIndex_Helper::Key<T1>::hash(row + m_offset) * 31u + Base::hashRow(row);
    }
    static uint hashOf(const MasterIndex* index, const unsigned char* row)
    {
        return static_cast<const MasterIndex_Struct*>(index)->hashRow(row);
    }

private:
    int m_offset;
};

// The last level: one key column, on top of the general column key.
template <class T1>
class MasterIndex_Struct<T1, MasterIndex_Helper::NullType, MasterIndex_Helper::NullType,
                         MasterIndex_Helper::NullType, MasterIndex_Helper::NullType,
                         MasterIndex_Helper::NullType, MasterIndex_Helper::NullType,
                         MasterIndex_Helper::NullType> : public MasterIndex_Column
{
public:
    MasterIndex_Struct(Table* table, const QStringList& columns, int position = 0)
        : MasterIndex_Column(table, columns), m_offset(verifiedOffset(table, columns, position))
    {
        setKeyHash(&MasterIndex_Struct::hashOf);
    }

    static MasterIndex* create(Table* table, const QStringList& columns)
    {
        return MasterIndex_Helper::create<MasterIndex_Struct>(table, columns);
    }

    int compare(const Record& a, const Record& b) const override
    {
        return compareRows(a.rowBlock(), b.rowBlock());
    }
    int search(const Record& key, int hint) const override
    {
        return MasterIndex_Helper::searchRows(
            records(), key, hint,
            [this](const unsigned char* a, const unsigned char* b) { return compareRows(a, b); });
    }
    QString getClassName() const override { return QStringLiteral("MasterIndex_Struct"); }

protected:
    int compareRows(const unsigned char* a, const unsigned char* b) const
    {
        return MasterIndex_Helper::Key<T1>::compare(a + m_offset, b + m_offset);
    }
    uint hashRow(const unsigned char* row) const
    {
        return MasterIndex_Helper::Key<T1>::hash(row + m_offset);
    }
    static uint hashOf(const MasterIndex* index, const unsigned char* row)
    {
        return static_cast<const MasterIndex_Struct*>(index)->hashRow(row);
    }

private:
    static int verifiedOffset(const Table* table, const QStringList& columns, int position)
    {
        MasterIndex_Helper::verifyCount(columns, position + 1);
        return MasterIndex_Helper::verifyColumn(table, columns, position,
                                                MasterIndex_Helper::Key<T1>::type,
                                                MasterIndex_Helper::Key<T1>::width);
    }

    int m_offset;
};
