#include "decimalportfoliodelegate.h"

#include "portfoliomodel.h"

#include "database/field.h"

DecimalPortfolioDelegate::DecimalPortfolioDelegate(PortfolioModel* model, QObject* parent)
    : ColumnModelDelegate(parent), m_model(model)
{
}

DecimalPortfolioDelegate::~DecimalPortfolioDelegate() = default;

FieldType::Type DecimalPortfolioDelegate::getType() const
{
    return FieldType::Decimal;
}

int DecimalPortfolioDelegate::type() const
{
    return decimal::metatypeId();
}

bool DecimalPortfolioDelegate::compare(const Field& left, const Record& leftRecord,
                                       const Field& right, const Record& rightRecord, int& result,
                                       int role) const
{
    Q_UNUSED(role);
    return ColumnModelDelegate::compare(left, leftRecord, right, rightRecord, result,
                                        Qt::DisplayRole);
}

short DecimalPortfolioDelegate::scaleOf(int decimals, const OptCalcRecord& security)
{
    if (decimals >= 0)
        return short(qMin(decimals, int(decimal::MaxScale)));
    if (security.isNull())
        return -1;
    const Field own = security.record.data(security.columns->decimals);
    if (own.isNull())
        return -1;
    return short(qBound(0, own.toInteger(), int(decimal::MaxScale)));
}

bool DecimalPortfolioDelegate::isFuture(const Record& row) const
{
    return m_model->sectypeOf(row).toChar() == QLatin1Char('F');
}

bool DecimalPortfolioDelegate::isOption(const Record& row) const
{
    return m_model->sectypeOf(row).toChar() == QLatin1Char('O');
}
