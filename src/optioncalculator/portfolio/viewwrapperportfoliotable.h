#pragma once

#include "basic_views/viewwrappertable.h"

// The export wrapper of a portfolio table: what the view shows, through
// ExporterProxyPortfolioModel.
class ViewWrapperPortfolioTable : public ViewWrapperTable
{
    Q_OBJECT
public:
    explicit ViewWrapperPortfolioTable(QTableView* view);
    ~ViewWrapperPortfolioTable() override;

protected:
    ExporterProxyModel* createExporterModel() const override;
};
