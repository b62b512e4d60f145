#pragma once

#include "fieldtype.h"

#include <QString>

// The descriptor of one column; a copyable value.
struct ColumnDef
{
    FieldType::Type type = FieldType::Invalid;
    int length = 0; // scale of a decimal, characters of a text, digits shown of a double
    QString name;
    bool nullable = false;
    bool visible = true;
    QString title;
    QString description;
};

// A column together with where it lies in a row.
struct TableColumnDef : ColumnDef
{
    int dataOffset = 0; // from the start of the row's column area
    int dataSize = 0;   // bytes
    int column = -1;    // its number in the table; its bit in the row's null bytes
};
