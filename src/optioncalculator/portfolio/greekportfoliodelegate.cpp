#include "greekportfoliodelegate.h"

#include "portfoliomodel.h"

#include "database/field.h"
#include "database/table.h"

namespace {

int columnOf(const PortfolioModel* model, const QString& name)
{
    const Table* table = model ? model->table() : nullptr;
    return table ? table->columnIndex(name) : -1;
}

} // namespace

GreekPortfolioDelegate::GreekPortfolioDelegate(PortfolioModel* model, Getter getter,
                                               const QString& name, int decimals,
                                               const decimal& defaultValue, QObject* parent)
    : DecimalPortfolioDelegate(model, parent), m_getter(getter), m_decimals(decimals),
      m_defaultValue(defaultValue), m_ownColumn(columnOf(model, name)),
      m_flagColumn(columnOf(model, QStringLiteral("miv_mp_flag"))),
      m_posColumn(columnOf(model, QStringLiteral("pos")))
{
}

GreekPortfolioDelegate::~GreekPortfolioDelegate() = default;

decimal GreekPortfolioDelegate::perContract(const Record& row) const
{
    if (!isOption(row))
        return m_defaultValue;
    const bool ownValuation =
        m_ownColumn >= 0 && m_flagColumn >= 0 && (row.data(m_flagColumn).toInteger() & 1);
    if (ownValuation)
        return row.data(m_ownColumn).toDecimal();
    const OptCalcRecord security = m_model->optCalcRecord(row);
    return security.isNull() || !security.columns || !m_getter ? decimal::zero : m_getter(security);
}

bool GreekPortfolioDelegate::data(const Field& field, const Record& record, int role,
                                  QVariant& result) const
{
    Q_UNUSED(field);
    if (role != Qt::DisplayRole)
        return false;
    result = QVariant();
    if (!m_model->securityExists(record))
        return true;
    // Contracts times the value per contract, at the value's scale; a result too large for
    // a decimal saturates rather than wraps.
    const long long contracts = record.data(m_posColumn).toInteger64();
    decimal value = perContract(record) * contracts;
    const short scale = scaleOf(m_decimals, m_model->optCalcRecord(record));
    if (scale >= 0)
        value.setScale(scale);
    result = value.toVariant();
    return true;
}
