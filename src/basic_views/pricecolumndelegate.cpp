#include "pricecolumndelegate.h"

#include "database/field.h"
#include "database/record.h"
#include "database/table.h"

PriceColumnDelegate::PriceColumnDelegate(QObject* parent) : ColumnModelDelegate(parent) {}

PriceColumnDelegate::~PriceColumnDelegate() = default;

FieldType::Type PriceColumnDelegate::getType() const
{
    return FieldType::Decimal;
}

int PriceColumnDelegate::type() const
{
    return decimal::metatypeId();
}

int PriceColumnDelegate::decimalsOf(const Record& record) const
{
    const Table* table = record.table();
    if (!table)
        return -1;
    auto it = m_decimalsColumn.constFind(table);
    if (it == m_decimalsColumn.constEnd())
        it = m_decimalsColumn.insert(table, table->columnIndex(QStringLiteral("decimals")));
    if (it.value() < 0)
        return -1;
    const Field cell = record.data(it.value());
    if (cell.isNull())
        return -1;
    const int decimals = cell.toInteger();
    return decimals >= 0 && decimals <= decimal::MaxScale ? decimals : -1;
}

bool PriceColumnDelegate::data(const Field& field, const Record& record, int role,
                               QVariant& result) const
{
    if (role != Qt::DisplayRole && role != Qt::EditRole)
        return false;
    if (field.isNull()) {
        result = QVariant();
        return true;
    }
    decimal value = field.toDecimal();
    const int decimals = decimalsOf(record);
    if (decimals >= 0)
        value.setScale(short(decimals));
    result = role == Qt::DisplayRole ? QVariant(value.toSystemString()) : value.toVariant();
    return true;
}

bool PriceColumnDelegate::compare(const Field& left, const Record& leftRecord, const Field& right,
                                  const Record& rightRecord, int& result, int role) const
{
    Q_UNUSED(leftRecord);
    Q_UNUSED(rightRecord);
    Q_UNUSED(role);
    result = left.compare(right);
    return true;
}
