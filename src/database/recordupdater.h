#pragma once

#include "database_global.h"
#include "field.h"
#include "record.h"

class RecordsTrans;

// Opens a row for writing in a transaction for the length of a scope. A row of the table
// is written in a pending copy, and the columns touched are reported as changed; a row
// that is not in the table is written directly and inserted.
class DATABASE_EXPORT RecordUpdater
{
public:
    RecordUpdater(const Record& record, RecordsTrans& transaction);
    ~RecordUpdater();
    RecordUpdater(const RecordUpdater&) = delete;
    RecordUpdater& operator=(const RecordUpdater&) = delete;

    // The cell to write; the column counts as changed.
    Field data(int column);
    Field data(const QString& columnName);
    // Widens the range of changed columns that will be reported.
    void extendColumns(int firstColumn, int lastColumn);
    // The row being written: the pending copy for a row of the table.
    const Record& record() const { return m_target; }

private:
    Record m_record;
    Record m_target;
    RecordsTrans& m_transaction;
    int m_firstColumn = -1;
    int m_lastColumn = -1;
    bool m_insert = false;
};
