#pragma once

#include "database_global.h"
#include "record.h"
#include "rowmap.h"

#include <QVector>

class Table;

// A set of pending inserts, updates and removals of one table, applied when the
// transaction is destroyed (or by apply()), unless clear() emptied it. Use it between
// Table::beginUpdate() and endUpdate() (a TableUpdater) so that indexes see one batch;
// outside a bracket it is applied as a batch of its own.
class DATABASE_EXPORT RecordsTrans
{
public:
    explicit RecordsTrans(Table* table);
    ~RecordsTrans();
    RecordsTrans(const RecordsTrans&) = delete;
    RecordsTrans& operator=(const RecordsTrans&) = delete;

    Table* table() const { return m_table; }
    bool isEmpty() const;
    void clear();
    // The row leaves the table when the transaction is applied.
    void remove(const Record& record);
    // Hands the pending changes to the table now and empties the transaction.
    void apply();

private:
    friend class RecordUpdater;
    struct Update
    {
        Record row;    // the table's row
        Record values; // its pending values
        int firstColumn;
        int lastColumn;
    };
    // The pending values of a row of the table, made on first use.
    Update& updateOf(const Record& row);
    void addInsert(const Record& record);

    Table* m_table;
    QVector<Update> m_updates;
    RowMap m_updateAt;
    QVector<Record> m_inserts;
    RowMap m_insertSet;
    QVector<Record> m_removes;
    RowMap m_removeSet;
};
