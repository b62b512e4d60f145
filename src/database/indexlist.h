#pragma once

#include "index.h"
#include "indexiterative.h"

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

protected:
    // Where a record stands in pointer order (or would stand), and whether it is there.
    int pointerPosition(const Record& record, bool* found) const;
};
