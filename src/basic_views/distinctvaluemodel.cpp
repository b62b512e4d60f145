#include "distinctvaluemodel.h"

#include "database/table.h"

#include <algorithm>

DistinctValueModel::DistinctValueModel(Table* table, const QString& column, QObject* parent)
    : QAbstractListModel(parent), Index(table)
{
    if (!table)
        return;
    m_column = table->columnIndex(column);
    if (m_column < 0)
        return;
    table->addIndex(this);
    build();
}

DistinctValueModel::~DistinctValueModel() = default;

int DistinctValueModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : m_values.size();
}

QVariant DistinctValueModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || index.row() >= m_values.size())
        return QVariant();
    if (role == Qt::DisplayRole || role == Qt::EditRole || role == Qt::ToolTipRole)
        return m_values.at(index.row());
    return QVariant();
}

void DistinctValueModel::clear(bool notifyDependents)
{
    Q_UNUSED(notifyDependents);
    beginResetModel();
    m_valueOf.clear();
    m_rows.clear();
    m_values.clear();
    endResetModel();
}

void DistinctValueModel::add(const Record& record)
{
    if (m_valueOf.contains(record))
        return;
    const QString value = valueOf(record);
    m_valueOf.insert(record, value);
    count(value);
}

void DistinctValueModel::remove(const Record& record, int position)
{
    Q_UNUSED(position);
    const auto it = m_valueOf.find(record);
    if (it == m_valueOf.end())
        return;
    const QString value = it.value();
    m_valueOf.erase(it);
    uncount(value);
}

bool DistinctValueModel::contains(const Record& record) const
{
    return m_valueOf.contains(record);
}

void DistinctValueModel::update(const Record& record, int firstColumn, int lastColumn, int position)
{
    Q_UNUSED(position);
    if (firstColumn >= 0 && (m_column < firstColumn || m_column > lastColumn))
        return;
    const auto it = m_valueOf.find(record);
    if (it == m_valueOf.end()) {
        add(record);
        return;
    }
    const QString value = valueOf(record);
    if (value == it.value())
        return;
    const QString old = it.value();
    it.value() = value;
    count(value);
    uncount(old);
}

QString DistinctValueModel::getClassName() const
{
    return QStringLiteral("DistinctValueModel");
}

QString DistinctValueModel::valueOf(const Record& record) const
{
    return record.data(m_column).toString().trimmed();
}

void DistinctValueModel::count(const QString& value)
{
    if (value.isEmpty())
        return;
    int& rows = m_rows[value];
    if (rows++ > 0)
        return;
    const int at =
        int(std::lower_bound(m_values.cbegin(), m_values.cend(), value) - m_values.cbegin());
    beginInsertRows(QModelIndex(), at, at);
    m_values.insert(at, value);
    endInsertRows();
}

void DistinctValueModel::uncount(const QString& value)
{
    const auto it = m_rows.find(value);
    if (it == m_rows.end())
        return;
    if (--it.value() > 0)
        return;
    m_rows.erase(it);
    const int at = m_values.indexOf(value);
    if (at < 0)
        return;
    beginRemoveRows(QModelIndex(), at, at);
    m_values.removeAt(at);
    endRemoveRows();
}
