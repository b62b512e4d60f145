#pragma once

#include "basic_views_global.h"

#include "database/index.h"

#include <QAbstractListModel>
#include <QHash>
#include <QMap>
#include <QStringList>

// The distinct non-empty texts of one column of a table, in ascending order, following the
// table as it changes: a value appears with its first row and goes with its last. A table
// without the column, or a table that is gone, gives an empty or a frozen list.
class BASIC_VIEWS_EXPORT DistinctValueModel : public QAbstractListModel, public Index
{
    Q_OBJECT
public:
    DistinctValueModel(Table* table, const QString& column, QObject* parent = nullptr);
    ~DistinctValueModel() override;

    QStringList values() const { return m_values; }

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;

    // Index
    void clear(bool notifyDependents) override;
    void add(const Record& record) override;
    void remove(const Record& record, int position) override;
    bool contains(const Record& record) const override;
    void update(const Record& record, int firstColumn, int lastColumn, int position) override;
    QString getClassName() const override;

private:
    QString valueOf(const Record& record) const;
    void count(const QString& value);
    void uncount(const QString& value);

    int m_column = -1;
    QHash<Record, QString> m_valueOf;
    QMap<QString, int> m_rows; // rows per value
    QStringList m_values;
};
