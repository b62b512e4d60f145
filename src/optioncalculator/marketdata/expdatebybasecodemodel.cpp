#include "expdatebybasecodemodel.h"

#include "database/table.h"

ExpdateByBaseCodeModel::ExpdateByBaseCodeModel(Table* table, QObject* parent)
    : TreeIndexModel(table, parent),
      m_baseCodeColumn(table ? table->columnIndex(QStringLiteral("base_code")) : -1),
      m_stockIdColumn(table ? table->columnIndex(QStringLiteral("stock_id")) : -1),
      m_boardIdColumn(table ? table->columnIndex(QStringLiteral("board_id")) : -1),
      m_groupment(table)
{
    setGroupmentList({&m_groupment});
}

ExpdateByBaseCodeModel::~ExpdateByBaseCodeModel() = default;

void ExpdateByBaseCodeModel::setBaseCode(const QString& baseCode)
{
    m_baseCode = baseCode;
    refresh();
}

void ExpdateByBaseCodeModel::setFutures(bool futures)
{
    m_futures = futures;
    refresh();
}

int ExpdateByBaseCodeModel::rowOfDate(const datetime& date) const
{
    const QModelIndexList hits =
        match(index(0, 0), Qt::UserRole, QVariant::fromValue(date), 1, Qt::MatchExactly);
    return hits.isEmpty() ? -1 : hits.first().row();
}

datetime ExpdateByBaseCodeModel::dateAt(int row) const
{
    if (row < 0 || row >= rowCount())
        return datetime();
    return datetime::fromVariant(data(index(row, 0), Qt::UserRole));
}

bool ExpdateByBaseCodeModel::filter(const Record& record) const
{
    return record.data(m_stockIdColumn).toInteger() == 1 &&
           record.data(m_boardIdColumn).toInteger() == (m_futures ? 1 : 14) &&
           record.data(m_baseCodeColumn).asSharedString() == m_baseCode;
}

void ExpdateByBaseCodeModel::preprocess(const QList<Record>& removed, const QList<Record>& updated,
                                        int firstColumn, int lastColumn,
                                        const QList<Record>& inserted,
                                        const QList<Record>& replaced)
{
    if (removed.isEmpty() && inserted.isEmpty())
        return;
    TreeIndexModel::preprocess(removed, updated, firstColumn, lastColumn, inserted, replaced);
}

void ExpdateByBaseCodeModel::process(const QList<Record>& removed, const QList<Record>& updated,
                                     int firstColumn, int lastColumn, const QList<Record>& inserted)
{
    if (removed.isEmpty() && inserted.isEmpty())
        return;
    TreeIndexModel::process(removed, updated, firstColumn, lastColumn, inserted);
}

void ExpdateByBaseCodeModel::refresh()
{
    // A rebuild resets the alignment of the columns.
    rebuild();
    for (int column = 0; column < columnCount(); ++column)
        setColumnAlignment(column, Qt::AlignLeft);
}
