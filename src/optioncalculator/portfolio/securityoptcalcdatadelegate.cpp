#include "securityoptcalcdatadelegate.h"

#include "portfoliomodel.h"

SecurityOptCalcDataDelegate::SecurityOptCalcDataDelegate(PortfolioModel* model, Getter getter,
                                                         int decimals, bool forFutures,
                                                         bool forOptions, QObject* parent)
    : DecimalPortfolioDelegate(model, parent), m_getter(getter), m_decimals(decimals),
      m_forFutures(forFutures), m_forOptions(forOptions)
{
}

SecurityOptCalcDataDelegate::~SecurityOptCalcDataDelegate() = default;

bool SecurityOptCalcDataDelegate::data(const Field& field, const Record& record, int role,
                                       QVariant& result) const
{
    Q_UNUSED(field);
    if (role != Qt::DisplayRole)
        return false;
    result = QVariant();
    if (!m_model->securityExists(record))
        return true;
    if ((isFuture(record) && !m_forFutures) || (isOption(record) && !m_forOptions))
        return true;
    const OptCalcRecord security = m_model->optCalcRecord(record);
    if (security.isNull() || !security.columns || !m_getter)
        return true;
    decimal value = m_getter(security);
    const short scale = scaleOf(m_decimals, security);
    if (scale >= 0)
        value.setScale(scale);
    result = value.toVariant();
    return true;
}
