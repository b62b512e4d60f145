#include "priceportfoliodelegate.h"

#include "portfoliomodel.h"

#include "database/field.h"

PricePortfolioDelegate::PricePortfolioDelegate(PortfolioModel* model, QObject* parent)
    : DecimalPortfolioDelegate(model, parent)
{
}

PricePortfolioDelegate::~PricePortfolioDelegate() = default;

bool PricePortfolioDelegate::data(const Field& field, const Record& record, int role,
                                  QVariant& result) const
{
    if (role != Qt::DisplayRole)
        return false;
    result = QVariant();
    if (!m_model->securityExists(record) || (!isFuture(record) && !isOption(record)) ||
        field.isNull())
        return true;
    const OptCalcRecord security = m_model->optCalcRecord(record);
    const short scale = scaleOf(-1, security);
    if (scale < 0)
        return true;
    decimal value = field.toDecimal();
    value.setScale(scale);
    result = value.toVariant();
    return true;
}
