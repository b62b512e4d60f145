#include "viewwrapperportfoliotable.h"

#include "exporterproxyportfoliomodel.h"

#include <QTableView>

ViewWrapperPortfolioTable::ViewWrapperPortfolioTable(QTableView* view) : ViewWrapperTable(view) {}

ViewWrapperPortfolioTable::~ViewWrapperPortfolioTable() = default;

ExporterProxyModel* ViewWrapperPortfolioTable::createExporterModel() const
{
    QAbstractItemModel* model = view() ? view()->model() : nullptr;
    if (!model)
        return nullptr;
    auto* proxy = new ExporterProxyPortfolioModel(model, columnsExport());
    // Only rows the view hides or orders otherwise need a list of their own.
    const QList<int> rows = rowsExport();
    bool all = rows.size() == model->rowCount();
    for (int i = 0; all && i < rows.size(); ++i)
        all = rows.at(i) == i;
    if (!all)
        proxy->setRows(rows);
    return proxy;
}
