#pragma once

#include "itemmodelwithdelegates.h"

#include "database/index.h"

// An item model that is an index on its table: the table tells it of every change, and
// it shows the records that the subclasses keep. It attaches itself to the table; the
// owner then calls build().
//
// Rows are ordered by compare(), which by default orders by the sort column (its
// delegate's compare, or the field's order); records that compare equal stand in the
// order of their row pointers, so that every record has exactly one place.
//
// When the table is destroyed the model empties and stops following it.
class BASIC_VIEWS_EXPORT ItemIndexModel : public ItemModelWithDelegates, public Index
{
    Q_OBJECT
public:
    explicit ItemIndexModel(Table* table, QObject* parent = nullptr);
    ~ItemIndexModel() override;

    using Index::table;
    QString getClassName() const override;

    // Makes one model column of each table column, in the table's order.
    virtual void setup();
    // Orders the rows by a model column (-1: no column).
    virtual void setSort(int column, Qt::SortOrder order);
    // Sorts the rows anew, after the order itself changed.
    virtual void resort() = 0;
    // The order of two records: less than, equal to or greater than zero.
    virtual int compare(const Record& left, const Record& right) const;

    // A view's request to sort.
    void sort(int column, Qt::SortOrder order = Qt::AscendingOrder) override;

    int sortColumn() const { return m_sortColumn; }
    Qt::SortOrder sortOrder() const { return m_sortOrder; }
    // The role whose values stand in the sort order: Qt::UserRole unless set; a delegate
    // of the sort column is asked to compare for this role.
    int sortRole() const { return m_sortRole; }
    void setSortRole(int role);

protected:
    // Whether a change of the table columns first..last can move a record in the order.
    // Without a sort column the order is compare()'s, which a subclass may base on any
    // column.
    virtual bool orderDependsOn(int firstColumn, int lastColumn) const;
    // compare(), then the row pointers.
    int compareFull(const Record& left, const Record& right) const
    {
        const int c = compare(left, right);
        if (c != 0)
            return c;
        return left.rowBlock() < right.rowBlock() ? -1 : (left.rowBlock() > right.rowBlock());
    }

private:
    void onTableDestroyed();

    int m_sortColumn = -1;
    Qt::SortOrder m_sortOrder = Qt::AscendingOrder;
    int m_sortRole = Qt::UserRole;
};
