#include "ownwrites.h"

#include "database/table.h"

#include <QtAlgorithms>

#include <algorithm>
#include <utility>

OwnWrites::RowScope::RowScope(OwnWrites& writes, Table* table, const Record& row,
                               quint32 triggers)
    : m_writes(writes), m_table(table), m_outerRow(writes.m_row),
      m_outerColumns(writes.m_rowColumns), m_triggers(triggers)
{
    // No handle is copied: a valuation opens a scope for every row.
    m_writes.m_row = &row;
    m_writes.m_rowColumns = 0;
}

OwnWrites::RowScope::~RowScope()
{
    const Record& row = *m_writes.m_row;
    const quint32 columns = m_writes.m_rowColumns;
    m_writes.m_row = m_outerRow;
    m_writes.m_rowColumns = m_outerColumns;
    if (columns == 0 || !m_table || !row.inTable())
        return;
    m_writes.note(row, columns, (columns & m_triggers) != 0);
    const int first = int(qCountTrailingZeroBits(columns));
    const int last = 31 - int(qCountLeadingZeroBits(columns));
    m_table->updated(row, first, last, -1);
}

void OwnWrites::writtenOutsideScope(Table* table, const Record& row, int column)
{
    if (!table || !row.inTable() || row.table() != table)
        return;
    // Outside a row's valuation nothing says what the write means to the row.
    note(row, bit(column), true);
    table->updated(row, column, column, -1);
}

std::vector<OwnWrites::Write>::iterator OwnWrites::find(std::vector<Write>& writes,
                                                        const Record& row, size_t* next)
{
    // Rows are mostly looked up in the order they are noted: the entry after the last one
    // found comes first.
    if (*next < writes.size() && writes[*next].row == row)
        return writes.begin() + long((*next)++);
    Write key;
    key.row = row;
    const auto it = std::lower_bound(writes.begin(), writes.end(), key);
    if (it == writes.end() || it->row != row)
        return writes.end();
    *next = size_t(it - writes.begin()) + 1;
    return it;
}

void OwnWrites::beginBatch(const QList<Record>& updated, const QList<Record>& removed)
{
    if (m_pending.empty())
        return;
    // One entry a row, its columns together.
    if (!std::is_sorted(m_pending.begin(), m_pending.end()))
        std::stable_sort(m_pending.begin(), m_pending.end());
    auto last = m_pending.begin();
    for (auto it = m_pending.begin() + 1; it != m_pending.end(); ++it) {
        if (it->row == last->row) {
            last->columns |= it->columns;
            last->triggers = last->triggers || it->triggers;
        } else if (++last != it)
            *last = std::move(*it);
    }
    m_pending.erase(last + 1, m_pending.end());

    const size_t earlier = m_batch.size();
    size_t next = 0;
    bool inert = earlier == 0 && !updated.isEmpty();
    for (const Record& row : updated) {
        const auto it = find(m_pending, row, &next);
        if (it == m_pending.end() || it->taken) {
            inert = false; // a change of somebody else's
            continue;
        }
        it->taken = true;
        inert = inert && !it->triggers;
        const auto told = std::lower_bound(m_batch.begin(), m_batch.begin() + earlier, *it);
        if (told != m_batch.begin() + earlier && told->row == row)
            *told = {row, it->columns, it->triggers};
        else
            m_batch.push_back({row, it->columns, it->triggers});
    }
    m_batchInert = inert;
    next = 0;
    for (const Record& row : removed) {
        const auto it = find(m_pending, row, &next);
        if (it != m_pending.end())
            it->taken = true;
    }
    m_pending.erase(
        std::remove_if(m_pending.begin(), m_pending.end(), [](const Write& w) { return w.taken; }),
        m_pending.end());
    if (!std::is_sorted(m_batch.begin(), m_batch.end()))
        std::sort(m_batch.begin(), m_batch.end());
    m_batchNext = 0;
    m_batchLeft = size_t(
        std::count_if(m_batch.begin(), m_batch.end(), [](const Write& w) { return !w.taken; }));
}

bool OwnWrites::takeFromBatch(const Record& row, quint32* columns)
{
    const auto it = find(m_batch, row, &m_batchNext);
    if (it == m_batch.end() || it->taken)
        return false;
    *columns = it->triggers ? it->columns : 0u;
    it->taken = true;
    --m_batchLeft;
    return true;
}
