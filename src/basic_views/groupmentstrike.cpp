#include "groupmentstrike.h"

#include "database/field.h"
#include "database/table.h"

GroupmentStrike::GroupmentStrike(Table* table) : Groupment(table)
{
    setKeyColumn(table ? table->columnIndex(QStringLiteral("strike")) : -1);
}

GroupmentStrike::~GroupmentStrike() = default;

QString GroupmentStrike::groupKey(const Record& record) const
{
    const Field cell = record.data(keyColumn());
    return cell.isNull() ? QString() : cell.toDecimal().toString();
}

QString GroupmentStrike::groupName(const Record& record) const
{
    const Field cell = record.data(keyColumn());
    return cell.isNull() ? QString() : cell.toDecimal().toSystemStringShort();
}

QVariant GroupmentStrike::groupValue(const Record& record) const
{
    return record.data(keyColumn()).toVariant();
}
