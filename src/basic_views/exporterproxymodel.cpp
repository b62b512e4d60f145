#include "exporterproxymodel.h"

ExporterProxyModel::ExporterProxyModel(QObject* parent) : QAbstractProxyModel(parent) {}

ExporterProxyModel::ExporterProxyModel(QAbstractItemModel* source, const QList<int>& columns,
                                       QObject* parent)
    : QAbstractProxyModel(parent)
{
    setSourceModel(source);
    setColumns(columns);
}

ExporterProxyModel::~ExporterProxyModel() = default;

QVariant ExporterProxyModel::data(const QModelIndex& index, int role) const
{
    const QModelIndex source = mapToSource(index);
    return source.isValid() ? source.data(role) : QVariant();
}

void ExporterProxyModel::setSourceModel(QAbstractItemModel* source)
{
    beginResetModel();
    for (const QMetaObject::Connection& connection : qAsConst(m_connections))
        disconnect(connection);
    m_connections.clear();
    QAbstractProxyModel::setSourceModel(source);
    if (source) {
        using M = QAbstractItemModel;
        const auto begin = &ExporterProxyModel::beginSourceChange;
        const auto end = &ExporterProxyModel::endSourceChange;
        m_connections
            << connect(source, &M::modelAboutToBeReset, this, begin)
            << connect(source, &M::modelReset, this, end)
            << connect(source, &M::layoutAboutToBeChanged, this, begin)
            << connect(source, &M::layoutChanged, this, end)
            << connect(source, &M::rowsAboutToBeInserted, this, begin)
            << connect(source, &M::rowsInserted, this, end)
            << connect(source, &M::rowsAboutToBeRemoved, this, begin)
            << connect(source, &M::rowsRemoved, this, end)
            << connect(source, &M::rowsAboutToBeMoved, this, begin)
            << connect(source, &M::rowsMoved, this, end)
            << connect(source, &M::columnsAboutToBeInserted, this, begin)
            << connect(source, &M::columnsInserted, this, &ExporterProxyModel::onColumnsInserted)
            << connect(source, &M::columnsAboutToBeRemoved, this, begin)
            << connect(source, &M::columnsRemoved, this, &ExporterProxyModel::onColumnsRemoved)
            << connect(source, &M::columnsAboutToBeMoved, this, begin)
            << connect(source, &M::columnsMoved, this, end)
            << connect(source, &M::dataChanged, this, &ExporterProxyModel::onSourceDataChanged);
    }
    dropMissing();
    endResetModel();
}

void ExporterProxyModel::setColumns(const QList<int>& columns)
{
    beginResetModel();
    m_columns = columns;
    dropMissing();
    endResetModel();
}

void ExporterProxyModel::setRows(const QList<int>& rows)
{
    beginResetModel();
    m_rows.clear();
    if (QAbstractItemModel* source = sourceModel()) {
        for (int row : rows)
            m_rows << QPersistentModelIndex(source->index(row, 0));
    }
    m_allRows = false;
    dropMissing();
    endResetModel();
}

void ExporterProxyModel::setAllRows()
{
    beginResetModel();
    m_rows.clear();
    m_allRows = true;
    endResetModel();
}

QModelIndex ExporterProxyModel::index(int row, int column, const QModelIndex& parent) const
{
    if (parent.isValid() || row < 0 || column < 0 || row >= rowCount() || column >= columnCount())
        return QModelIndex();
    return createIndex(row, column);
}

QModelIndex ExporterProxyModel::parent(const QModelIndex& child) const
{
    Q_UNUSED(child);
    return QModelIndex();
}

int ExporterProxyModel::rowCount(const QModelIndex& parent) const
{
    if (parent.isValid() || !sourceModel())
        return 0;
    return m_allRows ? sourceModel()->rowCount() : m_rows.size();
}

int ExporterProxyModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() || !sourceModel() ? 0 : m_columns.size();
}

int ExporterProxyModel::sourceRow(int row) const
{
    if (row < 0)
        return -1;
    if (m_allRows)
        return row;
    return row < m_rows.size() && m_rows.at(row).isValid() ? m_rows.at(row).row() : -1;
}

QModelIndex ExporterProxyModel::mapToSource(const QModelIndex& proxyIndex) const
{
    const QAbstractItemModel* source = sourceModel();
    if (!source || !proxyIndex.isValid() || proxyIndex.model() != this ||
        proxyIndex.column() >= m_columns.size())
        return QModelIndex();
    // Checked against the source as it is now, since it may have shrunk since.
    return source->index(sourceRow(proxyIndex.row()), m_columns.at(proxyIndex.column()));
}

QModelIndex ExporterProxyModel::mapFromSource(const QModelIndex& sourceIndex) const
{
    if (!sourceIndex.isValid() || sourceIndex.model() != sourceModel() ||
        sourceIndex.parent().isValid())
        return QModelIndex();
    const int column = m_columns.indexOf(sourceIndex.column());
    int row = m_allRows ? sourceIndex.row() : -1;
    for (int i = 0; row < 0 && i < m_rows.size(); ++i) {
        if (m_rows.at(i).row() == sourceIndex.row())
            row = i;
    }
    return column < 0 || row < 0 ? QModelIndex() : index(row, column);
}

QVariant ExporterProxyModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    const QAbstractItemModel* source = sourceModel();
    if (!source)
        return QVariant();
    if (orientation == Qt::Horizontal) {
        if (section < 0 || section >= m_columns.size())
            return QVariant();
        return source->headerData(m_columns.at(section), orientation, role);
    }
    const int row = sourceRow(section);
    return row < 0 ? QVariant() : source->headerData(row, orientation, role);
}

void ExporterProxyModel::beginSourceChange()
{
    beginResetModel();
}

void ExporterProxyModel::endSourceChange()
{
    dropMissing();
    endResetModel();
}

void ExporterProxyModel::onColumnsInserted(const QModelIndex& parent, int first, int last)
{
    if (!parent.isValid()) {
        for (int& column : m_columns) {
            if (column >= first)
                column += last - first + 1;
        }
    }
    endSourceChange();
}

void ExporterProxyModel::onColumnsRemoved(const QModelIndex& parent, int first, int last)
{
    if (!parent.isValid()) {
        QList<int> kept;
        for (int column : qAsConst(m_columns)) {
            if (column < first)
                kept << column;
            else if (column > last)
                kept << column - (last - first + 1);
        }
        m_columns = kept;
    }
    endSourceChange();
}

void ExporterProxyModel::onSourceDataChanged(const QModelIndex& topLeft,
                                             const QModelIndex& bottomRight,
                                             const QVector<int>& roles)
{
    if (topLeft.parent().isValid() || rowCount() == 0 || columnCount() == 0)
        return;
    if (!m_allRows) {
        emit dataChanged(index(0, 0), index(rowCount() - 1, columnCount() - 1), roles);
        return;
    }
    const int first = qMax(0, topLeft.row());
    const int last = qMin(rowCount() - 1, bottomRight.row());
    if (first <= last)
        emit dataChanged(index(first, 0), index(last, columnCount() - 1), roles);
}

void ExporterProxyModel::dropMissing()
{
    const QAbstractItemModel* source = sourceModel();
    const int rows = source ? source->rowCount() : 0;
    const int columns = source ? source->columnCount() : 0;
    QList<int> keptColumns;
    for (int column : qAsConst(m_columns)) {
        if (column >= 0 && column < columns)
            keptColumns << column;
    }
    m_columns = keptColumns;
    QList<QPersistentModelIndex> keptRows;
    for (const QPersistentModelIndex& row : qAsConst(m_rows)) {
        if (row.isValid() && row.row() < rows)
            keptRows << row;
    }
    m_rows = keptRows;
}
