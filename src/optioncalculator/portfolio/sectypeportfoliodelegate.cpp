#include "sectypeportfoliodelegate.h"

#include "portfoliomodel.h"

#include "database/field.h"
#include "directory/optiotypedirectory.h"
#include "directory/sectypedirectory.h"

SecTypePortfolioDelegate::SecTypePortfolioDelegate(PortfolioModel* model, QObject* parent)
    : ColumnModelDelegate(parent), m_model(model)
{
}

SecTypePortfolioDelegate::~SecTypePortfolioDelegate() = default;

FieldType::Type SecTypePortfolioDelegate::getType() const
{
    return FieldType::String;
}

int SecTypePortfolioDelegate::type() const
{
    return QMetaType::QString;
}

bool SecTypePortfolioDelegate::data(const Field& field, const Record& record, int role,
                                    QVariant& result) const
{
    if (role != Qt::DisplayRole)
        return false;
    QString text;
    if (m_model->securityExists(record)) {
        text = SecTypeDirectory::i().nameByKey(field);
        if (field.toChar() == QLatin1Char('O')) {
            const OptCalcRecord security = m_model->optCalcRecord(record);
            if (!security.isNull() && security.columns)
                text = OptioTypeDirectory::i().nameByKey(
                    security.record.data(security.columns->option_type).toChar());
        }
    }
    result = text;
    return true;
}

bool SecTypePortfolioDelegate::compare(const Field& left, const Record& leftRecord,
                                       const Field& right, const Record& rightRecord, int& result,
                                       int role) const
{
    Q_UNUSED(role);
    return ColumnModelDelegate::compare(left, leftRecord, right, rightRecord, result,
                                        Qt::DisplayRole);
}
