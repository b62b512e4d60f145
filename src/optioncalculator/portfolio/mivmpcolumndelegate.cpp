#include "mivmpcolumndelegate.h"

#include "portfoliomodel.h"

#include "database/field.h"
#include "database/table.h"

MivMpColumnDelegate::MivMpColumnDelegate(PortfolioModel* model, int mask, int decimals,
                                         bool forFutures, QObject* parent)
    : DecimalPortfolioDelegate(model, parent), m_mask(mask), m_decimals(decimals),
      m_forFutures(forFutures),
      m_flagColumn(
          model && model->table() ? model->table()->columnIndex(QStringLiteral("miv_mp_flag")) : -1)
{
}

MivMpColumnDelegate::~MivMpColumnDelegate() = default;

bool MivMpColumnDelegate::data(const Field& field, const Record& record, int role,
                               QVariant& result) const
{
    if (role != Qt::DisplayRole && role != Qt::EditRole && role != InUseRole && role != FixedRole)
        return false;
    result = QVariant();
    if (!m_model->securityExists(record) || (isFuture(record) && !m_forFutures))
        return true;
    const int flag = record.data(m_flagColumn).toInteger();
    if (role == InUseRole || role == FixedRole) {
        const bool fixed = (flag & m_mask) != 0;
        result = role == FixedRole ? fixed : fixed && (flag & 1);
        return true;
    }
    if (flag != 0 && !(flag & 1) && !(flag & m_mask))
        return true;
    const OptCalcRecord security = m_model->optCalcRecord(record);
    if (security.isNull() || field.isNull())
        return true;
    decimal value = field.toDecimal();
    const short scale = scaleOf(m_decimals, security);
    if (scale >= 0)
        value.setScale(scale);
    result = role == Qt::EditRole ? QVariant(value.toSystemString()) : value.toVariant();
    return true;
}
