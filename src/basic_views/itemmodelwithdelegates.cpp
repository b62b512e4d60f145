#include "itemmodelwithdelegates.h"

#include "columnmodeldelegate.h"
#include "headerlayout.h"

#include "database/field.h"
#include "database/table.h"

#include <QLocale>

ItemModelWithDelegates::ItemModelWithDelegates(QObject* parent) : QAbstractItemModel(parent) {}

ItemModelWithDelegates::~ItemModelWithDelegates() = default;

void ItemModelWithDelegates::setColumnsTable(Table* table)
{
    m_columnsTable = table;
}

Table* ItemModelWithDelegates::columnsTable() const
{
    return m_columnsTable.data();
}

int ItemModelWithDelegates::columnCount(const QModelIndex& parent) const
{
    Q_UNUSED(parent);
    return m_columns.size();
}

Record ItemModelWithDelegates::recordByIndex(const QModelIndex& index) const
{
    Q_UNUSED(index);
    return Record();
}

QVariant ItemModelWithDelegates::data(const QModelIndex& index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid))
        return QVariant();
    return recordData(recordByIndex(index), index.column(), role);
}

Qt::ItemFlags ItemModelWithDelegates::flags(const QModelIndex& index) const
{
    if (!index.isValid())
        return Qt::NoItemFlags;
    return Qt::ItemIsEnabled | Qt::ItemIsSelectable;
}

QVariant ItemModelWithDelegates::headerData(int section, Qt::Orientation orientation,
                                            int role) const
{
    if (orientation == Qt::Vertical)
        return role == Qt::DisplayRole ? QVariant(section + 1) : QVariant();
    if (section < 0 || section >= m_columns.size())
        return QVariant();
    const Column& column = m_columns.at(section);
    if (column.delegate) {
        QVariant value;
        if (column.delegate->headerData(role, value))
            return value;
    }
    switch (role) {
    case Qt::DisplayRole:
        return column.title.isEmpty() ? column.name : column.title;
    case Qt::ToolTipRole:
        return column.toolTip.isEmpty() ? QVariant() : QVariant(column.toolTip);
    case Qt::UserRole:
    case HeaderLayout::ColumnNameRole:
        return column.name;
    case HeaderLayout::DefaultHiddenRole:
        return column.hiddenByDefault;
    default:
        return QVariant();
    }
}

int ItemModelWithDelegates::appendColumn(const Column& column)
{
    beginResetModel();
    m_columns.append(column);
    endResetModel();
    return m_columns.size() - 1;
}

int ItemModelWithDelegates::addColumn(int field)
{
    Table* table = m_columnsTable.data();
    if (!table || field < 0 || field >= table->columnCount())
        return -1;
    const TableColumnDef& def = table->columnDef(field);
    Column column;
    column.field = field;
    column.name = def.name;
    column.title = def.title;
    column.toolTip = def.description;
    column.type = def.type;
    column.hiddenByDefault = !def.visible;
    return appendColumn(column);
}

int ItemModelWithDelegates::addColumn(const QString& fieldName)
{
    Table* table = m_columnsTable.data();
    return table ? addColumn(table->columnIndex(fieldName)) : -1;
}

void ItemModelWithDelegates::adopt(ColumnModelDelegate* delegate)
{
    if (delegate && !delegate->parent())
        delegate->setParent(this);
}

int ItemModelWithDelegates::addColumnDelegate(ColumnModelDelegate* delegate, int field,
                                              const QString& name, const QString& title,
                                              const QString& toolTip)
{
    Column column;
    Table* table = m_columnsTable.data();
    if (table && field >= 0 && field < table->columnCount()) {
        const TableColumnDef& def = table->columnDef(field);
        column.field = field;
        column.name = def.name;
        column.title = def.title;
        column.toolTip = def.description;
        column.type = def.type;
    }
    if (!name.isEmpty())
        column.name = name;
    if (!title.isEmpty())
        column.title = title;
    if (!toolTip.isEmpty())
        column.toolTip = toolTip;
    if (delegate && column.field < 0)
        column.type = delegate->getType();
    adopt(delegate);
    column.delegate = delegate;
    return appendColumn(column);
}

void ItemModelWithDelegates::setColumnDelegate(int column, ColumnModelDelegate* delegate)
{
    if (column < 0 || column >= m_columns.size())
        return;
    adopt(delegate);
    m_columns[column].delegate = delegate;
    emit headerDataChanged(Qt::Horizontal, column, column);
    emitColumnChanged(column, QVector<int>());
}

ColumnModelDelegate* ItemModelWithDelegates::columnDelegate(int column) const
{
    if (column < 0 || column >= m_columns.size())
        return nullptr;
    return m_columns.at(column).delegate.data();
}

void ItemModelWithDelegates::clearColumns()
{
    if (m_columns.isEmpty())
        return;
    beginResetModel();
    m_columns.clear();
    endResetModel();
}

void ItemModelWithDelegates::setColumnAlignment(int column, Qt::Alignment alignment)
{
    if (column < 0 || column >= m_columns.size())
        return;
    m_columns[column].alignment = alignment;
    m_columns[column].alignmentSet = true;
    emitColumnChanged(column, {Qt::TextAlignmentRole});
}

Qt::Alignment ItemModelWithDelegates::defaultAlignment(const Column& column) const
{
    switch (column.type) {
    case FieldType::Integer:
    case FieldType::Integer64:
    case FieldType::Double:
    case FieldType::Decimal:
        return Qt::AlignRight | Qt::AlignVCenter;
    default:
        return Qt::AlignLeft | Qt::AlignVCenter;
    }
}

Qt::Alignment ItemModelWithDelegates::columnAlignment(int column) const
{
    if (column < 0 || column >= m_columns.size())
        return Qt::AlignLeft | Qt::AlignVCenter;
    const Column& c = m_columns.at(column);
    return c.alignmentSet ? c.alignment : defaultAlignment(c);
}

int ItemModelWithDelegates::fieldIndex(const QString& name) const
{
    for (int i = 0; i < m_columns.size(); ++i)
        if (m_columns.at(i).name == name)
            return i;
    return -1;
}

int ItemModelWithDelegates::columnField(int column) const
{
    if (column < 0 || column >= m_columns.size())
        return -1;
    return m_columns.at(column).field;
}

QString ItemModelWithDelegates::columnName(int column) const
{
    if (column < 0 || column >= m_columns.size())
        return QString();
    return m_columns.at(column).name;
}

void ItemModelWithDelegates::emitColumnChanged(int column, const QVector<int>& roles)
{
    const int rows = rowCount();
    if (rows > 0)
        emit dataChanged(index(0, column), index(rows - 1, column), roles);
}

bool ItemModelWithDelegates::changedColumnSpan(int firstField, int lastField, int* left,
                                               int* right) const
{
    int l = -1, r = -1;
    for (int i = 0; i < m_columns.size(); ++i) {
        const Column& c = m_columns.at(i);
        const bool affected =
            c.delegate || (c.field >= 0 && c.field >= firstField && c.field <= lastField);
        if (!affected)
            continue;
        if (l < 0)
            l = i;
        r = i;
    }
    *left = l;
    *right = r;
    return l >= 0;
}

QString ItemModelWithDelegates::displayText(const Field& field)
{
    if (field.isNull())
        return QString();
    switch (field.type()) {
    case FieldType::Decimal:
        return field.toDecimal().toSystemString();
    case FieldType::Double: {
        const int digits = qBound(0, field.length(), 15);
        QString text = QString::number(field.toDouble(), 'f', digits);
        const int point = text.indexOf(QLatin1Char('.'));
        if (point >= 0)
            text[point] = QLocale::system().decimalPoint();
        return text;
    }
    default:
        // Dates show as dd.MM.yyyy, with the time only when it is not midnight.
        return field.toString();
    }
}

QVariant ItemModelWithDelegates::recordData(const Record& record, int column, int role) const
{
    if (column < 0 || column >= m_columns.size())
        return QVariant();
    const Column& c = m_columns.at(column);
    if (role == Qt::TextAlignmentRole && !c.delegate)
        return int(columnAlignment(column));
    // A record outlives its table only as memory: none of its cells may be read then.
    if (record.isNull() || !m_columnsTable || record.table() != m_columnsTable.data())
        return QVariant();
    const Field field = c.field >= 0 ? record.data(c.field) : Field();
    if (c.delegate) {
        QVariant result;
        if (c.delegate->data(field, record, role, result))
            return result;
        if (role == Qt::TextAlignmentRole)
            return int(columnAlignment(column));
    }
    switch (role) {
    case Qt::DisplayRole:
        return field.isNull() ? QVariant() : QVariant(displayText(field));
    case Qt::EditRole:
    case Qt::UserRole:
        return field.toVariant();
    default:
        return QVariant();
    }
}
