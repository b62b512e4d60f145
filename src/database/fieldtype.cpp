#include "fieldtype.h"

const char* FieldType::typeName(int type)
{
    switch (type) {
    case Integer:
        return "int";
    case Integer64:
        return "int64";
    case Double:
        return "double";
    case Decimal:
        return "decimal";
    case String:
        return "string";
    case DateTime:
        return "datetime";
    default:
        return "invalid";
    }
}

int FieldType::storedSize(int type, int length)
{
    switch (type) {
    case Integer:
        return 4;
    case Integer64:
    case Double:
    case Decimal:
    case DateTime:
        return 8;
    case String:
        return length > 0 ? 2 * length : 0;
    default:
        return 0;
    }
}

int FieldType::alignment(int type)
{
    switch (type) {
    case Integer:
        return 4;
    case String:
        return 2;
    case Invalid:
        return 1;
    default:
        return 8;
    }
}
