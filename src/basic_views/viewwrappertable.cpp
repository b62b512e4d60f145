#include "viewwrappertable.h"

#include <QHeaderView>
#include <QTableView>

ViewWrapperTable::ViewWrapperTable(QTableView* view) : ViewWrapper(view) {}

ViewWrapperTable::~ViewWrapperTable() = default;

QTableView* ViewWrapperTable::tableView() const
{
    return static_cast<QTableView*>(view());
}

QList<int> ViewWrapperTable::columnsAllTable(const QAbstractItemModel* model)
{
    QList<int> columns;
    const int count = model ? model->columnCount() : 0;
    for (int column = 0; column < count; ++column)
        columns << column;
    return columns;
}

QList<int> ViewWrapperTable::columnsAll() const
{
    const QTableView* table = tableView();
    return columnsAllTable(table ? table->model() : nullptr);
}

QList<int> ViewWrapperTable::columnsExport() const
{
    QList<int> columns;
    const QTableView* table = tableView();
    if (!table || !table->model())
        return columns;
    const QHeaderView* header = table->horizontalHeader();
    for (int visual = 0; visual < header->count(); ++visual) {
        const int logical = header->logicalIndex(visual);
        if (!header->isSectionHidden(logical))
            columns << logical;
    }
    return columns;
}

QList<int> ViewWrapperTable::rowsExport() const
{
    QList<int> rows;
    const QTableView* table = tableView();
    if (!table || !table->model())
        return rows;
    // In the order the view shows them, which a sorting header may have changed.
    const QHeaderView* header = table->verticalHeader();
    const int count = table->model()->rowCount();
    rows.reserve(count);
    for (int visual = 0; visual < count; ++visual) {
        const int logical = header->count() == count ? header->logicalIndex(visual) : visual;
        if (!table->isRowHidden(logical))
            rows << logical;
    }
    return rows;
}
