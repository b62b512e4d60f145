#include "daystoexercisecolumndelegate.h"

#include "optcalcdatecolumndelegate.h"
#include "portfoliomodel.h"

#include "marketdata/optcalcsecuritymodel.h"

#include "database/table.h"

DaysToExerciseColumnDelegate::DaysToExerciseColumnDelegate(PortfolioModel* model, QObject* parent)
    : ColumnModelDelegate(parent), m_model(model),
      m_expdateColumn(
          model && model->table() ? model->table()->columnIndex(QStringLiteral("expdate")) : -1)
{
}

DaysToExerciseColumnDelegate::~DaysToExerciseColumnDelegate() = default;

FieldType::Type DaysToExerciseColumnDelegate::getType() const
{
    return FieldType::Integer;
}

int DaysToExerciseColumnDelegate::type() const
{
    return QMetaType::Int;
}

bool DaysToExerciseColumnDelegate::data(const Field& field, const Record& record, int role,
                                        QVariant& result) const
{
    Q_UNUSED(field);
    if (role != Qt::DisplayRole)
        return false;
    result = QVariant();
    const datetime expiry = OptCalcDateColumnDelegate::expiryOf(m_model, record, m_expdateColumn);
    if (expiry.isNull())
        return true;
    const OptCalcSecurityModel* clock = m_model->securityModel();
    const datetime now = clock && clock->useFixedNow() ? clock->fixedNow() : datetime::now();
    result = int(now.getDate().daysTo(expiry.getDate()));
    return true;
}

bool DaysToExerciseColumnDelegate::compare(const Field& left, const Record& leftRecord,
                                           const Field& right, const Record& rightRecord,
                                           int& result, int role) const
{
    Q_UNUSED(role);
    return ColumnModelDelegate::compare(left, leftRecord, right, rightRecord, result,
                                        Qt::DisplayRole);
}
