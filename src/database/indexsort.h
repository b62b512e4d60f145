#pragma once

#include "indexlist.h"
#include "rangeset.h"

#include <QSet>
#include <QVector>

// An IndexList kept sorted by compare(); records that compare equal stand in the order of
// their row pointers, so every record has exactly one place.
class DATABASE_EXPORT IndexSort : public IndexList
{
public:
    explicit IndexSort(Table* table);
    ~IndexSort() override;

    void add(const Record& record) override;
    void remove(const Record& record, int position) override;
    bool contains(const Record& record) const override;
    int indexOf(const Record& record) const override;
    void process(const QList<Record>& removed, const QList<Record>& updated, int firstColumn,
                 int lastColumn, const QList<Record>& inserted) override;
    void update(const Record& record, int firstColumn, int lastColumn, int position) override;
    QString getClassName() const override;

    // Moves count records starting at from so that the first of them stands at to.
    virtual void move(int from, int to, int count);
    virtual void removeRanges(const RangeSet<int>& positions);
    virtual int compare(const Record& a, const Record& b) const;
    // The position of this very record, trying hint first; -1 if absent.
    virtual int find(const Record& record, int hint);
    // The first position whose record has a key equal to key's; negative if none
    // (-1 - the position where it would stand).
    virtual int search(const Record& key, int hint) const;
    // The last such position; negative if none.
    virtual int searchLast(const Record& key, int hint) const;
    // The position of the record itself by key and row pointer; negative if absent.
    virtual int searchFull(const Record& record, int hint) const;
    // Sorts the list anew, after the order itself changed.
    virtual void resort();

    // Whether a change of the columns first..last can move a record in this order.
    bool orderDependsOn(int firstColumn, int lastColumn) const;

protected:
    // Where a record stands in this order (or would stand), and whether it is there.
    int sortedPosition(const Record& record, bool* found) const;
    // The columns that compare() reads; an empty list means "any column".
    void setSortColumns(const QVector<int>& columns) { m_sortColumns = columns; }
    // Puts the record at position back in order after its sort key changed.
    void reposition(int position);
    // Position of the record by its row pointer alone, for a record whose key changed
    // in place: a walk over the list.
    int findByPointer(const Record& record) const { return m_records.indexOf(record); }
    int compareFull(const Record& a, const Record& b) const
    {
        const int c = compare(a, b);
        if (c != 0)
            return c;
        return a.rowBlock() < b.rowBlock() ? -1 : (a.rowBlock() > b.rowBlock() ? 1 : 0);
    }

private:
    QVector<int> m_sortColumns;
    // Records of a batch whose order may have changed, taken out while it is processed.
    QSet<Record> m_displaced;
};
