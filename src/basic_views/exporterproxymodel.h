#pragma once

#include "basic_views_global.h"

#include <QAbstractProxyModel>
#include <QList>

// The rows and columns of a table model that an export writes, in the order it writes
// them: by default every row and no column; setColumns() and setRows() choose. Subclasses
// change what a cell exports in data().
//
// It follows its source: changes of values pass through; chosen rows follow their records
// through inserts, removals and sorting, chosen columns through inserts and removals, and
// what leaves the source leaves the export.
class BASIC_VIEWS_EXPORT ExporterProxyModel : public QAbstractProxyModel
{
    Q_OBJECT
public:
    explicit ExporterProxyModel(QObject* parent = nullptr);
    ExporterProxyModel(QAbstractItemModel* source, const QList<int>& columns,
                       QObject* parent = nullptr);
    ~ExporterProxyModel() override;

    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;

    void setSourceModel(QAbstractItemModel* source) override;
    // Source columns; numbers out of range are dropped.
    void setColumns(const QList<int>& columns);
    QList<int> columns() const { return m_columns; }
    // Source rows; numbers out of range are dropped.
    void setRows(const QList<int>& rows);
    // Back to every row of the source.
    void setAllRows();
    bool hasAllRows() const { return m_allRows; }

    QModelIndex index(int row, int column,
                      const QModelIndex& parent = QModelIndex()) const override;
    QModelIndex parent(const QModelIndex& child) const override;
    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QModelIndex mapToSource(const QModelIndex& proxyIndex) const override;
    QModelIndex mapFromSource(const QModelIndex& sourceIndex) const override;
    QVariant headerData(int section, Qt::Orientation orientation,
                        int role = Qt::DisplayRole) const override;

private:
    void beginSourceChange();
    void endSourceChange();
    void onColumnsInserted(const QModelIndex& parent, int first, int last);
    void onColumnsRemoved(const QModelIndex& parent, int first, int last);
    void onSourceDataChanged(const QModelIndex& topLeft, const QModelIndex& bottomRight,
                             const QVector<int>& roles);
    void dropMissing();
    int sourceRow(int row) const;

    QList<int> m_columns;
    QList<QPersistentModelIndex> m_rows; // column 0 of each chosen row
    bool m_allRows = true;
    QList<QMetaObject::Connection> m_connections;
};
