#include "recordstrans.h"

#include "table.h"
#include "tableupdater.h"

RecordsTrans::RecordsTrans(Table* table) : m_table(table) {}

RecordsTrans::~RecordsTrans()
{
    apply();
}

bool RecordsTrans::isEmpty() const
{
    return m_updates.isEmpty() && m_inserts.isEmpty() && m_removes.isEmpty();
}

void RecordsTrans::clear()
{
    m_updates.clear();
    m_updateAt.clear();
    m_inserts.clear();
    m_insertSet.clear();
    m_removes.clear();
    m_removeSet.clear();
}

RecordsTrans::Update& RecordsTrans::updateOf(const Record& row)
{
    const int at = m_updateAt.value(row, -1);
    if (at >= 0)
        return m_updates[at];
    m_updateAt.insert(row, m_updates.size());
    m_updates.append(Update{row, m_table->pendingValues(row).clone(), -1, -1});
    return m_updates.last();
}

void RecordsTrans::addInsert(const Record& record)
{
    if (!m_insertSet.contains(record)) {
        m_insertSet.insert(record, 0);
        m_inserts.append(record);
    }
}

void RecordsTrans::remove(const Record& record)
{
    if (record.isNull() || record.table() != m_table)
        return;
    if (m_insertSet.remove(record))
        m_inserts.removeAll(record);
    if (record.inTable() && !m_removeSet.contains(record)) {
        m_removeSet.insert(record, 0);
        m_removes.append(record);
    }
}

void RecordsTrans::apply()
{
    if (!m_table || isEmpty()) {
        clear();
        return;
    }
    TableUpdater batch(m_table);
    for (const Update& u : qAsConst(m_updates))
        if (u.firstColumn >= 0 && !m_removeSet.contains(u.row))
            m_table->updateRecord(u.row, u.values, u.firstColumn, u.lastColumn);
    for (const Record& r : qAsConst(m_inserts))
        m_table->insertRecord(r);
    for (const Record& r : qAsConst(m_removes))
        m_table->removeRecord(r);
    clear();
}
