#pragma once

#include "database_global.h"

// Column type codes. The numbers are part of the plug-in contract.
struct DATABASE_EXPORT FieldType
{
    enum Type {
        Invalid = 0,
        Integer = 1,   // 32-bit signed
        Integer64 = 2, // 64-bit signed
        Double = 3,    // 64-bit float; the length is the number of digits shown
        Decimal = 4,   // decimal; the length is the scale
        String = 5,    // fixed-length text of 16-bit characters; the length is in characters
        DateTime = 6   // datetime
    };

    // "int", "int64", "double", "decimal", "string", "datetime"; "invalid" for anything else.
    static const char* typeName(int type);
    // Bytes a cell of this type and length takes in a row.
    static int storedSize(int type, int length);
    // Alignment of such a cell in a row.
    static int alignment(int type);
};

// A column type and its length, e.g. {FieldType::Integer, 0} or {FieldType::String, 40}.
struct FieldDef
{
    FieldType::Type type;
    int length;
};
