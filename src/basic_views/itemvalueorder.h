#pragma once

#include "basic_views_global.h"

#include <QVariant>

// A total order of the values that the models give, less than, equal to or greater than
// zero: invalid values first, then numbers (integers, floating point, decimal, datetime)
// by value across their types, then texts, then anything else by its text. Records order
// by their row pointers. It agrees with Field::compare for the values of cells.
BASIC_VIEWS_EXPORT int compareItemValues(const QVariant& left, const QVariant& right,
                                         Qt::CaseSensitivity cs = Qt::CaseSensitive);
