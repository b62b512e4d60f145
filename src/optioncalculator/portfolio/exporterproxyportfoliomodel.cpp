#include "exporterproxyportfoliomodel.h"

#include "portfoliomodel.h"

#include "database/field.h"
#include "database/table.h"

ExporterProxyPortfolioModel::ExporterProxyPortfolioModel(QObject* parent)
    : ExporterProxyModel(parent)
{
}

ExporterProxyPortfolioModel::ExporterProxyPortfolioModel(QAbstractItemModel* source,
                                                         const QList<int>& columns, QObject* parent)
    : ExporterProxyModel(source, columns, parent)
{
}

ExporterProxyPortfolioModel::~ExporterProxyPortfolioModel() = default;

QVariant ExporterProxyPortfolioModel::data(const QModelIndex& index, int role) const
{
    const auto* portfolio = qobject_cast<const PortfolioModel*>(sourceModel());
    const QModelIndex source = mapToSource(index);
    if (!portfolio || !source.isValid() || (role != Qt::DisplayRole && role != Qt::EditRole))
        return ExporterProxyModel::data(index, role);
    const QString column = portfolio->columnName(source.column());
    if (column == QLatin1String("miv_mp_flag")) {
        const Record row = portfolio->recordByIndex(source);
        if (!portfolio->securityExists(row))
            return QVariant();
        return row.data(portfolio->columnField(source.column())).toInteger();
    }
    if (column == QLatin1String("flags"))
        return source.data(Qt::EditRole).toInt() & 1;
    return ExporterProxyModel::data(index, role);
}
