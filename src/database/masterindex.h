#pragma once

#include "indexsort.h"

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

private:
    friend class Table;
    // The table keeps its rows here and changes them directly, without notifications.
    int insertRow(const Record& record);
    bool removeRow(const Record& record);
    void takeRows(PartitionList<Record>& into);
};
