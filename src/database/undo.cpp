#include "undo.h"

#include "masterindex.h"
#include "table.h"
#include "tableupdater.h"

namespace {

Record detached(const Record& record)
{
    return record.inTable() ? record.clone() : record;
}

// The row with the key of from takes the values of to; only the columns that differ
// are reported as changed.
void replaceRow(Table* table, const Record& from, const Record& to)
{
    if (!table || from.isNull() || to.isNull())
        return;
    const Record row = table->findRow(from);
    if (row.isNull())
        return;
    int first = -1, last = -1;
    for (int c = 0; c < table->columnCount(); ++c) {
        if (!row.sameValues(to, c, c)) {
            if (first < 0)
                first = c;
            last = c;
        }
    }
    if (first >= 0)
        table->updateRecord(row, to.clone(), first, last);
}

void insertCopy(Table* table, const Record& record)
{
    if (table && !record.isNull())
        table->insertRecord(record.clone());
}

void removeRow(Table* table, const Record& key)
{
    if (!table)
        return;
    const Record row = table->findRow(key);
    if (!row.isNull())
        table->removeRecord(row);
}

} // namespace

namespace Undo {

Clear::Clear(Table* table, QUndoCommand* parent) : QUndoCommand(parent), m_table(table) {}

void Clear::redo()
{
    if (!m_table)
        return;
    m_rows.clear();
    for (const Record& r : m_table->masterIndex()->records())
        m_rows.append(r.clone());
    m_table->clear();
}

void Clear::undo()
{
    if (!m_table)
        return;
    TableUpdater batch(m_table);
    for (const Record& r : qAsConst(m_rows))
        insertCopy(m_table, r);
}

Update::Update(Table* table, const Record& before, const Record& after, QUndoCommand* parent)
    : QUndoCommand(parent), m_table(table), m_before(detached(before)), m_after(detached(after))
{
}

void Update::redo()
{
    replaceRow(m_table, m_before, m_after);
}

void Update::undo()
{
    replaceRow(m_table, m_after, m_before);
}

Transaction::Transaction(Table* table, QUndoCommand* parent) : QUndoCommand(parent), m_table(table)
{
}

Table* Transaction::table() const
{
    return m_table.data();
}

void Transaction::redo()
{
    TableUpdater batch(m_table);
    QUndoCommand::redo();
}

void Transaction::undo()
{
    TableUpdater batch(m_table);
    QUndoCommand::undo();
}

TransCommand::TransCommand(Transaction* transaction)
    : QUndoCommand(transaction), m_transaction(transaction)
{
}

Table* TransCommand::table() const
{
    return m_transaction ? m_transaction->table() : nullptr;
}

TransInsert::TransInsert(const Record& record, Transaction* transaction)
    : TransCommand(transaction), m_record(detached(record))
{
}

void TransInsert::redo()
{
    insertCopy(table(), m_record);
}

void TransInsert::undo()
{
    removeRow(table(), m_record);
}

TransUpdate::TransUpdate(const Record& before, const Record& after, Transaction* transaction)
    : TransCommand(transaction), m_before(detached(before)), m_after(detached(after))
{
}

void TransUpdate::redo()
{
    replaceRow(table(), m_before, m_after);
}

void TransUpdate::undo()
{
    replaceRow(table(), m_after, m_before);
}

TransDelete::TransDelete(const Record& record, Transaction* transaction)
    : TransCommand(transaction), m_record(detached(record))
{
}

void TransDelete::redo()
{
    removeRow(table(), m_record);
}

void TransDelete::undo()
{
    insertCopy(table(), m_record);
}

} // namespace Undo
