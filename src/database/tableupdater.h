#pragma once

#include "table.h"

// Brackets a batch of changes of a table for the length of a scope.
class TableUpdater
{
public:
    explicit TableUpdater(Table* table) : m_table(table)
    {
        if (m_table)
            m_table->beginUpdate();
    }
    ~TableUpdater()
    {
        if (m_table)
            m_table->endUpdate();
    }
    TableUpdater(const TableUpdater&) = delete;
    TableUpdater& operator=(const TableUpdater&) = delete;

private:
    Table* m_table;
};
