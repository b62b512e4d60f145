#include "strikebybasecodemodel.h"

#include "database/table.h"

StrikeByBaseCodeModel::StrikeByBaseCodeModel(Table* table, QObject* parent)
    : TreeIndexModel(table, parent),
      m_baseCodeColumn(table ? table->columnIndex(QStringLiteral("base_code")) : -1),
      m_stockIdColumn(table ? table->columnIndex(QStringLiteral("stock_id")) : -1),
      m_boardIdColumn(table ? table->columnIndex(QStringLiteral("board_id")) : -1),
      m_expdateColumn(table ? table->columnIndex(QStringLiteral("expdate")) : -1),
      m_strikeColumn(table ? table->columnIndex(QStringLiteral("strike")) : -1), m_groupment(table)
{
    setGroupmentList({&m_groupment});
}

StrikeByBaseCodeModel::~StrikeByBaseCodeModel() = default;

void StrikeByBaseCodeModel::setBaseCode(const QString& baseCode)
{
    m_baseCode = baseCode;
    refresh();
}

void StrikeByBaseCodeModel::setExpDate(const datetime& expDate)
{
    if (expDate == m_expDate)
        return;
    m_expDate = expDate;
    refresh();
}

void StrikeByBaseCodeModel::setExcludedStrikes(const datetime& date, const QList<decimal>& strikes)
{
    if (date.isNull())
        return;
    if (date == m_excludedDate && (strikes == m_excludedList || strikes.isEmpty()))
        return;
    m_excludedDate = date;
    m_excludedList = strikes;
    refresh();
}

void StrikeByBaseCodeModel::excludeLowest(int count, bool refresh)
{
    m_excludedLow.clear();
    if (count > 0) {
        // The rebuild brings back what this end cut before; the other end stays cut.
        rebuild();
        const int cut = qMin(count, rowCount());
        for (int row = 0; row < cut; ++row) {
            const decimal strike = strikeAt(row);
            if (!m_excludedHigh.contains(strike))
                m_excludedLow.append(strike);
        }
    }
    if (refresh)
        this->refresh();
}

void StrikeByBaseCodeModel::excludeHighest(int count, bool refresh)
{
    m_excludedHigh.clear();
    if (count > 0) {
        rebuild();
        const int rows = rowCount();
        const int cut = qMin(count, rows);
        for (int row = rows - 1; row >= rows - cut; --row) {
            const decimal strike = strikeAt(row);
            if (!m_excludedLow.contains(strike))
                m_excludedHigh.append(strike);
        }
    }
    if (refresh)
        this->refresh();
}

int StrikeByBaseCodeModel::rowOfStrike(const decimal& strike) const
{
    const QModelIndexList hits =
        match(index(0, 0), Qt::UserRole, QVariant::fromValue(strike), 1, Qt::MatchExactly);
    return hits.isEmpty() ? -1 : hits.first().row();
}

decimal StrikeByBaseCodeModel::strikeAt(int row) const
{
    if (row < 0 || row >= rowCount())
        return decimal::zero;
    bool ok = false;
    const decimal strike = decimal::fromVariant(data(index(row, 0), Qt::UserRole), &ok);
    return ok ? strike : decimal::zero;
}

bool StrikeByBaseCodeModel::filter(const Record& record) const
{
    if (record.isNull())
        return false;
    const decimal strike = record.data(m_strikeColumn).toDecimal();
    if (strike.value() == 0 || record.data(m_boardIdColumn).toInteger() != 14 ||
        record.data(m_stockIdColumn).toInteger() != 1)
        return false;
    if (!m_baseCode.isEmpty() && record.data(m_baseCodeColumn).asSharedString() != m_baseCode)
        return false;
    if (!m_expDate.isNull() && record.data(m_expdateColumn).toDatetime() != m_expDate)
        return false;
    return !m_excludedList.contains(strike) && !m_excludedLow.contains(strike) &&
           !m_excludedHigh.contains(strike);
}

void StrikeByBaseCodeModel::preprocess(const QList<Record>& removed, const QList<Record>& updated,
                                       int firstColumn, int lastColumn,
                                       const QList<Record>& inserted, const QList<Record>& replaced)
{
    if (removed.isEmpty() && inserted.isEmpty())
        return;
    TreeIndexModel::preprocess(removed, updated, firstColumn, lastColumn, inserted, replaced);
}

void StrikeByBaseCodeModel::process(const QList<Record>& removed, const QList<Record>& updated,
                                    int firstColumn, int lastColumn, const QList<Record>& inserted)
{
    if (removed.isEmpty() && inserted.isEmpty())
        return;
    TreeIndexModel::process(removed, updated, firstColumn, lastColumn, inserted);
}

void StrikeByBaseCodeModel::refresh()
{
    // A rebuild resets the alignment of the columns.
    rebuild();
    for (int column = 0; column < columnCount(); ++column)
        setColumnAlignment(column, Qt::AlignLeft);
}
