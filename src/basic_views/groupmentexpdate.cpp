#include "groupmentexpdate.h"

#include "datecolumndelegate.h"

#include "database/field.h"
#include "database/table.h"

GroupmentExpDate::GroupmentExpDate(Table* table) : Groupment(table)
{
    setKeyColumn(table ? table->columnIndex(QStringLiteral("expdate")) : -1);
}

GroupmentExpDate::~GroupmentExpDate() = default;

QString GroupmentExpDate::groupKey(const Record& record) const
{
    const Field cell = record.data(keyColumn());
    if (cell.isNull() || cell.toDatetime().isNull())
        return QString();
    return cell.toDatetime().getDate().toString(Qt::ISODate);
}

QString GroupmentExpDate::groupName(const Record& record) const
{
    const Field cell = record.data(keyColumn());
    return cell.isNull() ? QString() : DateColumnDelegate::dateText(cell.toDatetime());
}

QVariant GroupmentExpDate::groupValue(const Record& record) const
{
    const Field cell = record.data(keyColumn());
    if (cell.isNull() || cell.toDatetime().isNull())
        return QVariant();
    return QVariant::fromValue(datetime(cell.toDatetime().getDate()));
}
