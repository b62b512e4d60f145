#include "masterindex_struct.h"

#include <QDebug>

namespace MasterIndex_Helper {

void verifyCount(const QStringList& columns, int required)
{
    if (columns.size() != required)
        throw QString(QStringLiteral("MasterIndex_Struct: incorrect columns count %1!=%2"))
            .arg(required)
            .arg(columns.size());
}

int verifyColumn(const Table* table, const QStringList& columns, int position, int requiredType,
                 int requiredWidth)
{
    const QString name = columns.value(position);
    const TableColumnDef& def = table ? table->columnDef(name) : TableColumnDef();
    // Raw memory has no null state, so a key column must always hold a value.
    if (def.nullable)
        throw QString(QStringLiteral("MasterIndex_Struct: column can't be nullable %1:'%2'"))
            .arg(position)
            .arg(name);
    if (def.type != requiredType)
        throw QString(QStringLiteral("MasterIndex_Struct: incorrect column %1:'%2' type: %4!=%5"))
            .arg(position)
            .arg(name)
            .arg(QString::fromLatin1(FieldType::typeName(requiredType)))
            .arg(QString::fromLatin1(FieldType::typeName(def.type)));
    if (def.dataSize != requiredWidth)
        throw QString(
            QStringLiteral("MasterIndex_Struct: incorrect column %1:'%2' type length: %4!=%5"))
            .arg(position)
            .arg(name)
            .arg(requiredWidth)
            .arg(def.dataSize);
    return int(sizeof(RowHeader)) + def.dataOffset;
}

MasterIndex* fallback(Table* table, const QStringList& columns, const QString& error)
{
    const QString text =
        QStringLiteral("ThisIndexType : Cannot create optimized MasterIndex for '%1': ")
            .arg(table ? table->name() : QString()) +
        error;
    MasterIndex* index = new MasterIndex_Column(table, columns);
    qWarning().noquote() << text;
    return index;
}

} // namespace MasterIndex_Helper

// The instances that the calculator's tables use.
template class MasterIndex_Struct<int, int, __int64>;
template class MasterIndex_Struct<int, __int64, ucharn<30>, decimal>;
