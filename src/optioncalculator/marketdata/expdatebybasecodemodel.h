#pragma once

#include "basic_views/groupmentexpdate.h"
#include "basic_views/treeindexmodel.h"
#include "database/datetime.h"

#include <QString>

// The distinct expiry dates of one base code, one row each in ascending order: of its
// futures, or of its options.
//
// Price updates of existing instruments change no date, so batches of updates alone are
// ignored.
class ExpdateByBaseCodeModel : public TreeIndexModel
{
    Q_OBJECT
public:
    ExpdateByBaseCodeModel(Table* table, QObject* parent = nullptr);
    ~ExpdateByBaseCodeModel() override;

    // An empty code matches only instruments without one.
    void setBaseCode(const QString& baseCode);
    const QString& baseCode() const { return m_baseCode; }
    // The dates of futures (the default), or of options.
    void setFutures(bool futures);
    bool futures() const { return m_futures; }

    // The row of a date; -1 if it is not shown.
    int rowOfDate(const datetime& date) const;
    // The date of a row; null for a row that does not exist.
    datetime dateAt(int row) const;

    bool filter(const Record& record) const override;
    void preprocess(const QList<Record>& removed, const QList<Record>& updated, int firstColumn,
                    int lastColumn, const QList<Record>& inserted,
                    const QList<Record>& replaced) override;
    void process(const QList<Record>& removed, const QList<Record>& updated, int firstColumn,
                 int lastColumn, const QList<Record>& inserted) override;

private:
    void refresh();

    QString m_baseCode;
    int m_baseCodeColumn;
    int m_stockIdColumn;
    int m_boardIdColumn;
    GroupmentExpDate m_groupment;
    bool m_futures = true;
};
