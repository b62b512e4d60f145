#pragma once

#include "database_global.h"
#include "record.h"

#include <QList>
#include <QPointer>
#include <QString>

class Table;

// The notification interface of everything that follows a table. A table calls its
// indexes with batches of removed, updated and inserted records between beginUpdate() and
// endUpdate(), or singly through update() after Table::updated.
//
// The order of the virtual operations is part of the plug-in contract.
class DATABASE_EXPORT Index
{
public:
    explicit Index(Table* table);
    virtual ~Index();

    virtual void clear(bool notifyDependents);
    virtual void clear();
    virtual void build(bool notifyDependents);
    virtual void build();
    virtual void rebuild();
    virtual void add(const Record& record);
    // Announces a batch before the table applies it. replaced holds, for each record of
    // updated in the same order, a row with the values it is about to take.
    virtual void preprocess(const QList<Record>& removed, const QList<Record>& updated,
                            int firstColumn, int lastColumn, const QList<Record>& inserted,
                            const QList<Record>& replaced);
    // One applied batch. The default removes, updates and adds record by record.
    virtual void process(const QList<Record>& removed, const QList<Record>& updated,
                         int firstColumn, int lastColumn, const QList<Record>& inserted);
    virtual void remove(const Record& record, int position);
    virtual bool filter(const Record& record) const;
    virtual bool contains(const Record& record) const;
    virtual void update(const Record& record, int firstColumn, int lastColumn, int position);
    virtual int indexOf(const Record& record) const;
    virtual void beginUpdate();
    virtual void endUpdate();
    virtual void dependentBeginUpdate(Table* table);
    virtual void dependentEndUpdate(Table* table);
    virtual QString getClassName() const;

    // The table followed; null once it is gone.
    Table* table() const { return m_table.isNull() ? nullptr : m_tablePointer; }

protected:
    // Calls add() for each row of the table that passes filter(), under the table's lock.
    void addAllRows();

private:
    QPointer<Table> m_table;  // says when the table is gone
    Table* m_tablePointer;    // the same table, read without a cast to a type only declared
};
