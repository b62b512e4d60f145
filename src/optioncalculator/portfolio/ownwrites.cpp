#include "ownwrites.h"

#include "database/table.h"

OwnWrites::RowScope::RowScope(OwnWrites& writes, Table* table, const Record& row)
    : m_writes(writes), m_table(table), m_outerRow(writes.m_row),
      m_outerColumns(writes.m_rowColumns)
{
    m_writes.m_row = row;
    m_writes.m_rowColumns = 0;
}

OwnWrites::RowScope::~RowScope()
{
    const Record row = m_writes.m_row;
    const quint32 columns = m_writes.m_rowColumns;
    m_writes.m_row = m_outerRow;
    m_writes.m_rowColumns = m_outerColumns;
    if (columns == 0 || !m_table || !row.inTable())
        return;
    m_writes.m_pending[row] |= columns;
    int first = 0;
    while (!(columns & (1u << first)))
        ++first;
    int last = 31;
    while (!(columns & (1u << last)))
        --last;
    m_table->updated(row, first, last, -1);
}

void OwnWrites::written(Table* table, const Record& row, int column)
{
    if (!table || !row.inTable() || row.table() != table)
        return;
    if (row == m_row && bit(column)) {
        m_rowColumns |= bit(column);
        return;
    }
    m_pending[row] |= bit(column);
    table->updated(row, column, column, -1);
}

void OwnWrites::beginBatch(const QList<Record>& updated, const QList<Record>& removed)
{
    for (const Record& row : updated) {
        const auto it = m_pending.constFind(row);
        if (it != m_pending.cend()) {
            m_batch.insert(row, *it);
            m_pending.erase(it);
        }
    }
    for (const Record& row : removed)
        m_pending.remove(row);
}

bool OwnWrites::takeBatchColumns(const Record& row, quint32* columns)
{
    const auto it = m_batch.find(row);
    if (it == m_batch.end())
        return false;
    *columns = *it;
    m_batch.erase(it);
    return true;
}
