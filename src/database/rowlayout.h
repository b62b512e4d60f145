#pragma once

#include "field.h"

#include <QAtomicInt>

class Table;

// What a field access needs of a column, packed: the column definitions themselves are
// large and would spread a row's reads over many cache lines.
struct ColumnSlot
{
    qint32 offset = 0;   // of the data in the column area
    qint32 length = 0;   // as in the definition
    qint32 nullByte = 0; // offset of the column's null byte in the column area
    quint8 nullMask = 0;
    quint8 type = 0;
    bool nullable = false;
};

// A table's row layout, which every row points to, so that a field is found without a
// call into the table.
struct RowLayout
{
    const Table* table = nullptr;
    const ColumnSlot* columns = nullptr; // one per column, in column order
    int count = 0;
};

// The block of one row: a two-word header, then the table's column area.
struct RowHeader
{
    QAtomicInt ref;
    quint32 flags; // RowHeader::InTable while the row belongs to its table
    const RowLayout* layout;

    enum Flag : quint32 { InTable = 1 };

    // The cell of a column in the row block this header starts; an absent column gives a
    // field that reads as null and writes nowhere.
    Q_ALWAYS_INLINE Field cell(int column)
    {
        if (uint(column) >= uint(layout->count))
            return Field();
        const ColumnSlot& slot = layout->columns[column];
        unsigned char* area = reinterpret_cast<unsigned char*>(this) + sizeof(RowHeader);
        return Field(area + slot.offset, area + slot.nullByte, slot.nullMask,
                     FieldType::Type(slot.type), slot.length, slot.nullable);
    }
};
static_assert(sizeof(RowHeader) == 2 * sizeof(void*), "a row header is two words");
