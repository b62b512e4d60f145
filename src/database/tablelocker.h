#pragma once

#include "table.h"

// Holds off changes of a table for the length of a scope, e.g. while walking its rows.
class TableLocker
{
public:
    explicit TableLocker(Table* table) : m_table(table)
    {
        if (m_table)
            m_table->lock();
    }
    ~TableLocker()
    {
        if (m_table)
            m_table->unlock();
    }
    TableLocker(const TableLocker&) = delete;
    TableLocker& operator=(const TableLocker&) = delete;

private:
    Table* m_table;
};
