#include "optcalcdatecolumndelegate.h"

#include "portfoliomodel.h"

#include "database/field.h"
#include "database/table.h"

OptCalcDateColumnDelegate::OptCalcDateColumnDelegate(PortfolioModel* model, QObject* parent)
    : DateColumnDelegate(parent), m_model(model),
      m_expdateColumn(
          model && model->table() ? model->table()->columnIndex(QStringLiteral("expdate")) : -1)
{
}

OptCalcDateColumnDelegate::~OptCalcDateColumnDelegate() = default;

datetime OptCalcDateColumnDelegate::expiryOf(const PortfolioModel* model, const Record& row,
                                             int expdateColumn)
{
    const Field own = row.data(expdateColumn);
    if (!own.isNull())
        return own.toDatetime();
    return model ? model->expiryDate(row) : datetime();
}

datetime OptCalcDateColumnDelegate::shownDate(const Field& field, const Record& record) const
{
    return field.isNull() ? expiryOf(m_model, record, m_expdateColumn) : field.toDatetime();
}

bool OptCalcDateColumnDelegate::data(const Field& field, const Record& record, int role,
                                     QVariant& result) const
{
    if (role != Qt::DisplayRole && role != Qt::EditRole)
        return false;
    const datetime date = shownDate(field, record);
    if (date.isNull())
        result = QVariant();
    else
        result = role == Qt::DisplayRole ? QVariant(dateText(date)) : QVariant(date.getDate());
    return true;
}

bool OptCalcDateColumnDelegate::compare(const Field& left, const Record& leftRecord,
                                        const Field& right, const Record& rightRecord, int& result,
                                        int role) const
{
    Q_UNUSED(role);
    result = shownDate(left, leftRecord).compare(shownDate(right, rightRecord));
    return true;
}
