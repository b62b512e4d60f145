#pragma once

#include "masterindexcolumnpure.h"
#include "masterindexkey.h"

// The general column key.
class DATABASE_EXPORT MasterIndex_Column : public MasterIndexKey<MasterIndex_Column_Pure>
{
public:
    MasterIndex_Column(Table* table, const QStringList& columns);
    MasterIndex_Column(Table* table, const QVector<int>& columns);
    ~MasterIndex_Column() override;

    QString getClassName() const override;

    // A general key over the named columns; as a table's key, or built as a free-standing
    // lookup over the table's rows.
    static MasterIndex_Column* create(Table* table, const QStringList& columns);
};
