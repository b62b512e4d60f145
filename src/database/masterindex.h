#pragma once

#include "indexsort.h"

#include <QVector>
#include <vector>

// An IndexSort that is, or can be, a table's key: no two of its rows compare equal.
// As a table's key it holds every row of the table.
class DATABASE_EXPORT MasterIndex : public IndexSort
{
public:
    explicit MasterIndex(Table* table);
    ~MasterIndex() override;

    bool contains(const Record& record) const override;
    QString getClassName() const override;

    // The record whose key's text form (toText of a column key) is the string given;
    // a null Record if none.
    Record findRecord(const QString& key) const;
    // The record with the same key as the key record given; a null Record if none.
    Record findByKey(const Record& key) const;
    // Whether this index is the key of its table.
    bool isTableKey() const;
    // Whether a change of the columns first..last can change a row's key.
    bool keyDependsOn(int firstColumn, int lastColumn) const
    {
        return orderDependsOn(firstColumn, lastColumn);
    }

protected:
    // A hash of a row's key, given the row block; equal keys must hash equally. An index
    // that sets one gets a cache in front of the binary search of findByKey().
    using KeyHash = uint (*)(const MasterIndex* index, const unsigned char* row);
    void setKeyHash(KeyHash hash) { m_keyHash = hash; }

private:
    friend class Table;
    // Rows found by key, in sets of four ways picked by the key's hash. Each way keeps the
    // full hash beside the row, so a look-up touches a row only when the hash matches, and
    // the row is then checked against the key: a row removed or rekeyed since simply
    // misses, and the cache never needs to follow the list. Four ways keep keys that share
    // a set from pushing each other out. Filled by look-ups, so not for concurrent use,
    // like the table itself.
    // One cache line a set: a look-up touches one line before the row.
    struct alignas(64) LookupSet
    {
        static constexpr int Ways = 4;
        uint hashes[Ways] = {};
        Record rows[Ways];
    };
    uint hashOf(const Record& row) const;
    // The cached row of the key, or null; a pointer, so that a hit costs no count.
    const Record* cachedRow(const Record& key) const;
    void cacheRow(const Record& key, const Record& row) const;
    void forgetRow(const Record& row);
    KeyHash m_keyHash = nullptr;
    mutable std::vector<LookupSet> m_lookup;

    // The table keeps its rows here and changes them directly, without notifications.
    int insertRow(const Record& record);
    bool removeRow(const Record& record);
    void takeRows(PartitionList<Record>& into);
};
