#pragma once

#include "database_global.h"
#include "partitionlist.h"
#include "record.h"

// The record list of an index and its iteration.
class DATABASE_EXPORT IndexIterative
{
public:
    using const_iterator = PartitionList<Record>::const_iterator;

    virtual ~IndexIterative();

    const_iterator begin() const { return m_records.begin(); }
    const_iterator end() const { return m_records.end(); }
    const PartitionList<Record>& records() const { return m_records; }

protected:
    PartitionList<Record> m_records;
};
