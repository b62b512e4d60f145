#pragma once

#include "basic_views/exporterproxymodel.h"

// The export of a portfolio table. The two flag columns show check boxes in the table, which
// a file cannot hold: "miv_mp_flag" exports its number, "flags" whether the row takes part
// in the calculation, as 1 or 0.
class ExporterProxyPortfolioModel : public ExporterProxyModel
{
    Q_OBJECT
public:
    explicit ExporterProxyPortfolioModel(QObject* parent = nullptr);
    ExporterProxyPortfolioModel(QAbstractItemModel* source, const QList<int>& columns,
                                QObject* parent = nullptr);
    ~ExporterProxyPortfolioModel() override;

    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
};
