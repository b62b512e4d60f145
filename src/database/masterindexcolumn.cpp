#include "masterindexcolumn.h"

MasterIndex_Column::MasterIndex_Column(Table* table, const QStringList& columns)
    : MasterIndexKey<MasterIndex_Column_Pure>(table, columns)
{
}

MasterIndex_Column::MasterIndex_Column(Table* table, const QVector<int>& columns)
    : MasterIndexKey<MasterIndex_Column_Pure>(table, columns)
{
}

MasterIndex_Column::~MasterIndex_Column() = default;

QString MasterIndex_Column::getClassName() const
{
    return QStringLiteral("MasterIndex_Column");
}

MasterIndex_Column* MasterIndex_Column::create(Table* table, const QStringList& columns)
{
    return new MasterIndex_Column(table, columns);
}
