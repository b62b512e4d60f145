#pragma once

#include "database/record.h"

#include <QList>

#include <vector>

class Table;

// The valuation's own writes to the rows of a table, by row and column.
//
// The table reports the changed columns of a batch as one range. In that range the
// valuation's own writes of, say, mp and the Greeks would span miv_mp_flag and look like a
// change of how the row is valued. So the valuation notes what it writes, and when the
// batch with those writes is told, a row that holds them is known by those columns alone.
//
// Within one row's valuation the writes are told to the table once, over the span of the
// columns written: inside a batch that says what several notices would.
class OwnWrites
{
public:
    // Holds back the table's notices of one row's writes while it lives.
    class RowScope
    {
    public:
        // triggers: the columns whose write makes the row be valued again. The row must
        // outlive the scope.
        RowScope(OwnWrites& writes, Table* table, const Record& row, quint32 triggers);
        ~RowScope();
        RowScope(const RowScope&) = delete;
        RowScope& operator=(const RowScope&) = delete;

    private:
        OwnWrites& m_writes;
        Table* m_table;
        const Record* m_outerRow;
        quint32 m_outerColumns;
        quint32 m_triggers;
    };

    // A cell of a row of table was written; the table is told now, or when the row's scope
    // ends. Columns from 32 on are told but not noted.
    void written(Table* table, const Record& row, int column)
    {
        if (m_row && row == *m_row && bit(column) && !row.isNull()) {
            m_rowColumns |= bit(column);
            return;
        }
        writtenOutsideScope(table, row, column);
    }

    // The writes that a batch carries, taken before the batch is told; writes made while
    // it is told go out with the next one.
    void beginBatch(const QList<Record>& updated, const QList<Record>& removed);
    void endBatch()
    {
        m_batch.clear();
        m_batchLeft = 0;
        m_batchNext = 0;
        m_batchInert = false;
    }
    // Whether the told batch holds nothing but own writes that value no row again: the
    // notices of its changes need no look at the rows.
    bool batchIsInert() const { return m_batchInert; }
    bool batchHasWrites() const { return m_batchLeft > 0; }
    // Takes the columns written in a row of the told batch; false if the row has none. The
    // columns are none when the writes do not value the row again.
    bool takeBatchColumns(const Record& row, quint32* columns)
    {
        // Most walks see no batch at all: they need no look-up.
        return m_batchLeft > 0 && takeFromBatch(row, columns);
    }

    static quint32 bit(int column) { return column >= 0 && column < 32 ? 1u << column : 0u; }

private:
    struct Write
    {
        Record row;
        quint32 columns = 0;
        bool triggers = true; // the writes value the row again
        bool taken = false;

        bool operator<(const Write& other) const { return row < other.row; }
    };
    // A whole batch of rows is noted and then looked up once each: sorted vectors cost a
    // fraction of a hash's allocations. The pending writes stand in the order they were
    // made, a row possibly more than once; the batch's are sorted by row.
    // next: where the entry after the last one found stands.
    static std::vector<Write>::iterator find(std::vector<Write>& writes, const Record& row,
                                             size_t* next);
    void note(const Record& row, quint32 columns, bool triggers)
    {
        m_pending.push_back({row, columns, triggers});
    }
    void writtenOutsideScope(Table* table, const Record& row, int column);
    bool takeFromBatch(const Record& row, quint32* columns);

    std::vector<Write> m_pending;
    std::vector<Write> m_batch;
    size_t m_batchLeft = 0; // entries of the batch not yet taken
    size_t m_batchNext = 0;
    bool m_batchInert = false;
    const Record* m_row = nullptr; // of the innermost row scope
    quint32 m_rowColumns = 0;
};
