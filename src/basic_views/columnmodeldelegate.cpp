#include "columnmodeldelegate.h"

#include "contact/variantcompare.h"

#include "database/field.h"
#include "database/record.h"

ColumnModelDelegate::ColumnModelDelegate(QObject* parent) : QObject(parent) {}

ColumnModelDelegate::~ColumnModelDelegate() = default;

bool ColumnModelDelegate::headerData(int role, QVariant& value) const
{
    Q_UNUSED(role);
    Q_UNUSED(value);
    return false;
}

FieldType::Type ColumnModelDelegate::getType() const
{
    return FieldType::Invalid;
}

int ColumnModelDelegate::type() const
{
    return QMetaType::UnknownType;
}

bool ColumnModelDelegate::data(const Field& field, const Record& record, int role,
                               QVariant& result) const
{
    Q_UNUSED(field);
    Q_UNUSED(record);
    Q_UNUSED(role);
    Q_UNUSED(result);
    return false;
}

bool ColumnModelDelegate::compare(const Field& left, const Record& leftRecord, const Field& right,
                                  const Record& rightRecord, int& result, int role) const
{
    QVariant a, b;
    const bool hasLeft = data(left, leftRecord, role, a);
    const bool hasRight = data(right, rightRecord, role, b);
    if (!hasLeft && !hasRight)
        return false;
    if (!hasLeft)
        a = left.toVariant();
    if (!hasRight)
        b = right.toVariant();
    return compare(a, b, result);
}

bool ColumnModelDelegate::compare(const QVariant& left, const QVariant& right, int& result) const
{
    result = variant_compare(left, right, Qt::CaseSensitive);
    return true;
}
