#include "datecolumndelegate.h"

#include "database/field.h"

#include <QDate>

DateColumnDelegate::DateColumnDelegate(QObject* parent) : ColumnModelDelegate(parent) {}

DateColumnDelegate::~DateColumnDelegate() = default;

FieldType::Type DateColumnDelegate::getType() const
{
    return FieldType::DateTime;
}

int DateColumnDelegate::type() const
{
    return QMetaType::QDate;
}

QString DateColumnDelegate::dateText(const datetime& value)
{
    if (value.isNull())
        return QString();
    return value.getDate().toString(QStringLiteral("dd.MM.yyyy"));
}

bool DateColumnDelegate::data(const Field& field, const Record& record, int role,
                              QVariant& result) const
{
    Q_UNUSED(record);
    switch (role) {
    case Qt::DisplayRole:
        result = field.isNull() ? QVariant() : QVariant(dateText(field.toDatetime()));
        return true;
    case Qt::EditRole:
        result = field.isNull() ? QVariant() : QVariant(field.toDatetime().getDate());
        return true;
    default:
        return false;
    }
}

bool DateColumnDelegate::compare(const Field& left, const Record& leftRecord, const Field& right,
                                 const Record& rightRecord, int& result, int role) const
{
    Q_UNUSED(leftRecord);
    Q_UNUSED(rightRecord);
    Q_UNUSED(role);
    // The text dd.MM.yyyy does not sort as dates do: order by the points in time.
    const bool leftNull = left.isNull(), rightNull = right.isNull();
    if (leftNull || rightNull)
        result = leftNull == rightNull ? 0 : (leftNull ? -1 : 1);
    else
        result = left.toDatetime().compare(right.toDatetime());
    return true;
}
