#pragma once

#include "field.h"
#include "record.h"

#include <QVariantList>

class Table;

// Adds to a column key the making of key records from values.
template <class Base> class MasterIndexKey : public Base
{
public:
    using Base::Base;

    // A detached key record with the key columns set from values, in key order.
    Record makeKey(const QVariantList& values) const
    {
        Record key(this->table());
        const int n = qMin(values.size(), this->m_columns.size());
        for (int i = 0; i < n; ++i)
            key.data(this->m_columns.at(i)).setValue(values.at(i));
        return key;
    }
    // The row with that key; a null Record if none.
    Record find(const QVariantList& values) const
    {
        if (!this->table())
            return Record();
        return this->findByKey(makeKey(values));
    }
};
