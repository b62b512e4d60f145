#include "optiontypecolumndelegate.h"

#include "database/field.h"

OptionTypeColumnDelegate::OptionTypeColumnDelegate(QObject* parent) : ColumnModelDelegate(parent) {}

OptionTypeColumnDelegate::~OptionTypeColumnDelegate() = default;

FieldType::Type OptionTypeColumnDelegate::getType() const
{
    return FieldType::String;
}

int OptionTypeColumnDelegate::type() const
{
    return QMetaType::QString;
}

QString OptionTypeColumnDelegate::typeName(const QString& code)
{
    if (code == QLatin1String("C"))
        return tr("Колл");
    if (code == QLatin1String("P"))
        return tr("Пут");
    return code;
}

bool OptionTypeColumnDelegate::data(const Field& field, const Record& record, int role,
                                    QVariant& result) const
{
    Q_UNUSED(record);
    switch (role) {
    case Qt::DisplayRole:
        result = field.isNull() ? QVariant() : QVariant(typeName(field.toString()));
        return true;
    case Qt::EditRole:
        result = field.isNull() ? QVariant() : QVariant(field.toString());
        return true;
    default:
        return false;
    }
}

bool OptionTypeColumnDelegate::compare(const Field& left, const Record& leftRecord,
                                       const Field& right, const Record& rightRecord, int& result,
                                       int role) const
{
    Q_UNUSED(leftRecord);
    Q_UNUSED(rightRecord);
    Q_UNUSED(role);
    result = left.compare(right);
    return true;
}
