#pragma once

#include "index.h"
#include "indexiterative.h"

#include <QVector>

// Keeps the records of its table that pass filter(). The list is in the order of the
// records' row pointers, which makes membership a binary search.
class DATABASE_EXPORT IndexList : public Index, public IndexIterative
{
public:
    explicit IndexList(Table* table);
    ~IndexList() override;

    void clear(bool notifyDependents) override;
    using Index::clear;
    void build(bool notifyDependents) override;
    using Index::build;
    void add(const Record& record) override;
    void remove(const Record& record, int position) override;
    bool contains(const Record& record) const override;
    void update(const Record& record, int firstColumn, int lastColumn, int position) override;
    int indexOf(const Record& record) const override;
    QString getClassName() const override;

    const Record& at(int i) const { return m_records.at(i); }
    int count() const { return m_records.count(); }

    // Whether a change of the columns first..last can change which records pass filter().
    bool filterDependsOn(int firstColumn, int lastColumn) const;

protected:
    // The columns that filter() reads, when they are known: a change of other columns then
    // costs the index nothing. Without this call any column may matter.
    void setFilterColumns(const QVector<int>& columns)
    {
        m_filterColumns = columns;
        m_filterColumnsKnown = true;
    }
    // Where a record stands in pointer order (or would stand), and whether it is there.
    int pointerPosition(const Record& record, bool* found) const;

private:
    QVector<int> m_filterColumns;
    bool m_filterColumnsKnown = false;
};
