#include "checkeditemmodelbytable.h"

#include "c_api/icore.h"
#include "c_api/tableregistry.h"
#include "database/masterindex.h"
#include "database/table.h"
#include "database/tablelocker.h"

#include <algorithm>

CheckedItemModelByTable::CheckedItemModelByTable(const QString& tableName, const QString& column,
                                                 QObject* parent)
    : QAbstractListModel(parent), m_tableName(tableName), m_columnName(column)
{
}

CheckedItemModelByTable::CheckedItemModelByTable(Table* table, const QString& column,
                                                 QObject* parent)
    : QAbstractListModel(parent), m_tableName(table ? table->name() : QString()), m_table(table),
      m_columnName(column)
{
}

CheckedItemModelByTable::~CheckedItemModelByTable() = default;

Table* CheckedItemModelByTable::table() const
{
    if (m_table)
        return m_table.data();
    const ICore* core = ICore::instance();
    return core && !m_tableName.isEmpty() ? core->tables()->table(m_tableName) : nullptr;
}

void CheckedItemModelByTable::setTable(Table* table)
{
    m_table = table;
    if (table)
        m_tableName = table->name();
}

int CheckedItemModelByTable::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : m_values.size();
}

QVariant CheckedItemModelByTable::data(const QModelIndex& index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return QVariant();
    const QString& value = m_values.at(index.row());
    switch (role) {
    case Qt::DisplayRole:
    case Qt::EditRole:
    case Qt::UserRole:
        return value;
    case Qt::CheckStateRole:
        if (!m_checkable)
            return QVariant();
        return m_checked.contains(value) ? Qt::Checked : Qt::Unchecked;
    default:
        return QVariant();
    }
}

bool CheckedItemModelByTable::setData(const QModelIndex& index, const QVariant& value, int role)
{
    if (role != Qt::CheckStateRole || !m_checkable ||
        !checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return false;
    const QString& item = m_values.at(index.row());
    const bool checked = value.toInt() == Qt::Checked;
    if (checked == m_checked.contains(item))
        return true;
    if (checked)
        m_checked.insert(item);
    else
        m_checked.remove(item);
    emit dataChanged(index, index, {Qt::CheckStateRole});
    emit checkedValuesChanged();
    return true;
}

Qt::ItemFlags CheckedItemModelByTable::flags(const QModelIndex& index) const
{
    if (!index.isValid())
        return Qt::NoItemFlags;
    Qt::ItemFlags f = Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemNeverHasChildren;
    if (m_checkable)
        f |= Qt::ItemIsUserCheckable;
    return f;
}

void CheckedItemModelByTable::setItemsCheckable(bool checkable)
{
    if (checkable == m_checkable)
        return;
    beginResetModel();
    m_checkable = checkable;
    endResetModel();
}

void CheckedItemModelByTable::beginPopulate(const Table* table)
{
    Q_UNUSED(table);
}

bool CheckedItemModelByTable::filter(const Record& record) const
{
    Q_UNUSED(record);
    return true;
}

void CheckedItemModelByTable::populate()
{
    QStringList values;
    Table* t = table();
    const int column = t ? t->columnIndex(m_columnName) : -1;
    if (t && column >= 0 && t->masterIndex()) {
        beginPopulate(t);
        TableLocker locker(t);
        QSet<QString> seen;
        for (const Record& r : t->masterIndex()->records()) {
            if (!filter(r))
                continue;
            const QString value = r.data(column).toString();
            if (value.isEmpty() || seen.contains(value))
                continue;
            seen.insert(value);
            values.append(value);
        }
    }
    std::sort(values.begin(), values.end());
    beginResetModel();
    m_values = values;
    const QSet<QString> present(values.begin(), values.end());
    const bool checksChanged = !(m_checked - present).isEmpty();
    m_checked &= present;
    endResetModel();
    if (checksChanged)
        emit checkedValuesChanged();
}

QStringList CheckedItemModelByTable::checkedValues() const
{
    QStringList out;
    for (const QString& v : m_values)
        if (m_checked.contains(v))
            out.append(v);
    return out;
}

void CheckedItemModelByTable::setCheckedValues(const QStringList& values)
{
    QSet<QString> checked;
    for (const QString& v : values)
        if (m_values.contains(v))
            checked.insert(v);
    if (checked == m_checked)
        return;
    m_checked = checked;
    if (!m_values.isEmpty())
        emit dataChanged(index(0), index(m_values.size() - 1), {Qt::CheckStateRole});
    emit checkedValuesChanged();
}

void CheckedItemModelByTable::setAllChecked(bool checked)
{
    setCheckedValues(checked ? m_values : QStringList());
}
