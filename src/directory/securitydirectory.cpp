#include "securitydirectory.h"

#include "c_api/icore.h"
#include "c_api/tableregistry.h"
#include "database/masterindex.h"
#include "database/table.h"

SecurityDirectory& SecurityDirectory::i()
{
    static SecurityDirectory directory;
    return directory;
}

Table* SecurityDirectory::table() const
{
    const ICore* core = ICore::instance();
    return core ? core->tables()->table(QStringLiteral("securities")) : nullptr;
}

const SecurityDirectory::Columns& SecurityDirectory::columnsOf(Table* table) const
{
    // A table keeps its columns once it has rows, so one look-up per table suffices; a table
    // that still lacks some is asked again.
    if (m_table != table || !m_columns.hasKey() || m_columns.baseCode < 0 ||
        m_columns.decimals < 0) {
        m_table = table;
        m_columns.stockId = table->columnIndex(QStringLiteral("stock_id"));
        m_columns.boardId = table->columnIndex(QStringLiteral("board_id"));
        m_columns.secId = table->columnIndex(QStringLiteral("sec_id"));
        m_columns.baseCode = table->columnIndex(QStringLiteral("base_code"));
        m_columns.decimals = table->columnIndex(QStringLiteral("decimals"));
    }
    return m_columns;
}

Record SecurityDirectory::recordById(int stockId, int boardId, long long secId) const
{
    Table* t = table();
    if (!t || !t->masterIndex())
        return Record();
    const Columns& c = columnsOf(t);
    if (!c.hasKey())
        return Record();
    Record key(t);
    key.data(c.stockId) = stockId;
    key.data(c.boardId) = boardId;
    key.data(c.secId) = secId;
    return t->masterIndex()->findByKey(key);
}

QString SecurityDirectory::baseById(int stockId, int boardId, long long secId) const
{
    const Record r = recordById(stockId, boardId, secId);
    if (r.isNull())
        return QString();
    return r.data(m_columns.baseCode).toString();
}

bool SecurityDirectory::recordExists(int stockId, int boardId, long long secId) const
{
    return !recordById(stockId, boardId, secId).isNull();
}

int SecurityDirectory::decimalsById(int stockId, int boardId, long long secId) const
{
    const Record r = recordById(stockId, boardId, secId);
    if (r.isNull())
        return 0;
    return r.data(m_columns.decimals).toInteger();
}
