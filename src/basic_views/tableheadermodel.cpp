#include "tableheadermodel.h"

#include "database/settings.h"

TableHeaderModel::TableHeaderModel(QAbstractItemModel* source, QObject* parent)
    : QAbstractListModel(parent), m_source(source)
{
    resetToDefaults();
}

TableHeaderModel::~TableHeaderModel() = default;

void TableHeaderModel::read(const Settings& settings)
{
    HeaderLayout stored;
    stored.read(settings);
    setLayout(stored);
}

void TableHeaderModel::write(Settings& settings) const
{
    layout().write(settings);
}

HeaderLayout TableHeaderModel::layout() const
{
    HeaderLayout result;
    for (const Entry& entry : m_entries)
        result.columns << entry.column;
    result.sortKey = m_sortKey;
    result.sortOrder = m_sortOrder;
    return result;
}

void TableHeaderModel::setLayout(const HeaderLayout& layout)
{
    beginResetModel();
    m_entries.clear();
    const HeaderLayout fitted = layout.completed(m_source);
    for (const HeaderLayout::Column& column : fitted.columns)
        m_entries << Entry{column, HeaderLayout::sectionOf(m_source, column.key)};
    m_sortKey = fitted.sortKey;
    m_sortOrder = fitted.sortOrder;
    endResetModel();
}

void TableHeaderModel::resetToDefaults()
{
    setLayout(HeaderLayout::defaults(m_source));
}

void TableHeaderModel::showAll()
{
    for (Entry& entry : m_entries)
        entry.column.hidden = false;
    if (!m_entries.isEmpty())
        emit dataChanged(index(0), index(m_entries.size() - 1), {Qt::CheckStateRole});
}

int TableHeaderModel::section(int row) const
{
    return row >= 0 && row < m_entries.size() ? m_entries.at(row).section : -1;
}

int TableHeaderModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : m_entries.size();
}

QVariant TableHeaderModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || index.row() >= m_entries.size())
        return QVariant();
    const Entry& entry = m_entries.at(index.row());
    switch (role) {
    case Qt::DisplayRole:
        return columnTitle(entry.section);
    case Qt::ToolTipRole:
        return m_source ? m_source->headerData(entry.section, Qt::Horizontal, Qt::ToolTipRole)
                        : QVariant();
    case Qt::CheckStateRole:
        return entry.column.hidden ? Qt::Unchecked : Qt::Checked;
    default:
        return QVariant();
    }
}

bool TableHeaderModel::setData(const QModelIndex& index, const QVariant& value, int role)
{
    if (role != Qt::CheckStateRole || !index.isValid() || index.row() >= m_entries.size())
        return false;
    const bool hidden = value.toInt() == Qt::Unchecked;
    Entry& entry = m_entries[index.row()];
    if (hidden == entry.column.hidden)
        return true;
    // The view keeps at least one column.
    if (hidden && shownCount() <= 1)
        return false;
    entry.column.hidden = hidden;
    emit dataChanged(index, index, {Qt::CheckStateRole});
    return true;
}

Qt::ItemFlags TableHeaderModel::flags(const QModelIndex& index) const
{
    if (!index.isValid())
        return Qt::NoItemFlags;
    return Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsUserCheckable;
}

bool TableHeaderModel::moveRows(const QModelIndex& sourceParent, int sourceRow, int count,
                                const QModelIndex& destinationParent, int destinationChild)
{
    if (sourceParent.isValid() || destinationParent.isValid() || count < 1 || sourceRow < 0 ||
        sourceRow + count > m_entries.size() || destinationChild < 0 ||
        destinationChild > m_entries.size() ||
        (destinationChild >= sourceRow && destinationChild <= sourceRow + count))
        return false;
    beginMoveRows(QModelIndex(), sourceRow, sourceRow + count - 1, QModelIndex(), destinationChild);
    const QList<Entry> moved = m_entries.mid(sourceRow, count);
    for (int i = 0; i < count; ++i)
        m_entries.removeAt(sourceRow);
    const int insertAt = destinationChild > sourceRow ? destinationChild - count : destinationChild;
    for (int i = 0; i < count; ++i)
        m_entries.insert(insertAt + i, moved.at(i));
    endMoveRows();
    return true;
}

QString TableHeaderModel::columnTitle(int section) const
{
    if (!m_source)
        return QString();
    QString title = m_source->headerData(section, Qt::Horizontal, Qt::DisplayRole).toString();
    if (title.isEmpty())
        title = m_source->headerData(section, Qt::Horizontal, Qt::ToolTipRole).toString();
    return title.isEmpty() ? HeaderLayout::columnKey(m_source, section) : title;
}

int TableHeaderModel::shownCount() const
{
    int shown = 0;
    for (const Entry& entry : m_entries)
        shown += entry.column.hidden ? 0 : 1;
    return shown;
}
