#include "itemindexmodel.h"

#include "columnmodeldelegate.h"

#include "database/field.h"
#include "database/table.h"

ItemIndexModel::ItemIndexModel(Table* table, QObject* parent)
    : ItemModelWithDelegates(parent), Index(table)
{
    setColumnsTable(table);
    if (table) {
        table->addIndex(this);
        connect(table, &QObject::destroyed, this, &ItemIndexModel::onTableDestroyed);
    }
    ItemIndexModel::setup();
}

ItemIndexModel::~ItemIndexModel() = default;

QString ItemIndexModel::getClassName() const
{
    return QStringLiteral("ItemIndexModel");
}

void ItemIndexModel::setup()
{
    clearColumns();
    Table* t = table();
    if (!t)
        return;
    for (int c = 0; c < t->columnCount(); ++c)
        addColumn(c);
}

void ItemIndexModel::onTableDestroyed()
{
    // The rows' cells cannot be read any more; only the handles go.
    clear(false);
}

void ItemIndexModel::setSort(int column, Qt::SortOrder order)
{
    m_sortColumn = column >= 0 && column < columnCount() ? column : -1;
    m_sortOrder = order;
    resort();
}

void ItemIndexModel::sort(int column, Qt::SortOrder order)
{
    setSort(column, order);
}

void ItemIndexModel::setSortRole(int role)
{
    if (role == m_sortRole)
        return;
    m_sortRole = role;
    if (m_sortColumn >= 0)
        resort();
}

int ItemIndexModel::compare(const Record& left, const Record& right) const
{
    if (m_sortColumn < 0 || m_sortColumn >= columnCount())
        return 0;
    const int field = columnField(m_sortColumn);
    const Field a = field >= 0 ? left.data(field) : Field();
    const Field b = field >= 0 ? right.data(field) : Field();
    int result = 0;
    const ColumnModelDelegate* delegate = columnDelegate(m_sortColumn);
    if (!delegate || !delegate->compare(a, left, b, right, result, m_sortRole))
        result = a.compare(b);
    return m_sortOrder == Qt::DescendingOrder ? -result : result;
}

bool ItemIndexModel::orderDependsOn(int firstColumn, int lastColumn) const
{
    if (m_sortColumn < 0 || columnDelegate(m_sortColumn))
        return true;
    const int field = columnField(m_sortColumn);
    return field >= firstColumn && field <= lastColumn;
}
