#include "recordupdater.h"

#include "recordstrans.h"
#include "table.h"

RecordUpdater::RecordUpdater(const Record& record, RecordsTrans& transaction)
    : m_record(record), m_transaction(transaction)
{
    if (record.isNull() || record.table() != transaction.table()) {
        qWarning("RecordUpdater: the row does not belong to the transaction's table");
        return;
    }
    if (record.inTable()) {
        m_target = transaction.updateOf(record).values;
    } else {
        m_target = record;
        m_insert = true;
    }
}

RecordUpdater::~RecordUpdater()
{
    if (m_target.isNull())
        return;
    if (m_insert) {
        m_transaction.addInsert(m_record);
        return;
    }
    if (m_firstColumn < 0)
        return;
    RecordsTrans::Update& u = m_transaction.updateOf(m_record);
    if (u.firstColumn < 0 || m_firstColumn < u.firstColumn)
        u.firstColumn = m_firstColumn;
    if (m_lastColumn > u.lastColumn)
        u.lastColumn = m_lastColumn;
}

Field RecordUpdater::data(int column)
{
    if (m_target.isNull())
        return Field();
    Field cell = m_target.data(column);
    if (cell.isValid())
        extendColumns(column, column);
    return cell;
}

Field RecordUpdater::data(const QString& columnName)
{
    const Table* t = m_target.table();
    return data(t ? t->columnIndex(columnName) : -1);
}

void RecordUpdater::extendColumns(int firstColumn, int lastColumn)
{
    if (lastColumn < firstColumn)
        std::swap(firstColumn, lastColumn);
    if (lastColumn < 0)
        return;
    firstColumn = qMax(0, firstColumn);
    if (m_firstColumn < 0 || firstColumn < m_firstColumn)
        m_firstColumn = firstColumn;
    if (lastColumn > m_lastColumn)
        m_lastColumn = lastColumn;
}
