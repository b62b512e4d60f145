#pragma once

#include "basic_views/groupmentstrike.h"
#include "basic_views/treeindexmodel.h"
#include "database/datetime.h"
#include "database/decimal.h"

#include <QList>
#include <QString>

// The distinct strikes of the options of one base code, one row each in ascending order,
// optionally of one expiry date only. Strikes can be cut at both ends of the list, and
// strikes of a date can be excluded by the caller.
//
// Price updates of existing options change no strike, so batches of updates alone are
// ignored.
class StrikeByBaseCodeModel : public TreeIndexModel
{
    Q_OBJECT
public:
    StrikeByBaseCodeModel(Table* table, QObject* parent = nullptr);
    ~StrikeByBaseCodeModel() override;

    void setBaseCode(const QString& baseCode);
    const QString& baseCode() const { return m_baseCode; }
    // Only the options of that expiry date; a null date: all dates.
    void setExpDate(const datetime& expDate);
    const datetime& expDate() const { return m_expDate; }
    // Excludes the strikes given for the date given. The same list again, or an empty list
    // for the same date, keeps what is excluded; another date replaces it.
    void setExcludedStrikes(const datetime& date, const QList<decimal>& strikes);
    // Cuts the count highest (lowest) strikes of the list, besides those cut at the other
    // end; a count of 0 cuts none. With refresh the model shows the result at once.
    void excludeHighest(int count, bool refresh);
    void excludeLowest(int count, bool refresh);

    // The row of a strike; -1 if it is not shown.
    int rowOfStrike(const decimal& strike) const;
    // The strike of a row; zero for a row that does not exist.
    decimal strikeAt(int row) const;

    bool filter(const Record& record) const override;
    void preprocess(const QList<Record>& removed, const QList<Record>& updated, int firstColumn,
                    int lastColumn, const QList<Record>& inserted,
                    const QList<Record>& replaced) override;
    void process(const QList<Record>& removed, const QList<Record>& updated, int firstColumn,
                 int lastColumn, const QList<Record>& inserted) override;

private:
    void refresh();

    QString m_baseCode;
    datetime m_expDate;
    QList<decimal> m_excludedLow;
    QList<decimal> m_excludedHigh;
    QList<decimal> m_excludedList;
    datetime m_excludedDate;
    int m_baseCodeColumn;
    int m_stockIdColumn;
    int m_boardIdColumn;
    int m_expdateColumn;
    int m_strikeColumn;
    GroupmentStrike m_groupment;
};
