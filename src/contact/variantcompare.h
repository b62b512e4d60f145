#pragma once

#include "contact_global.h"

#include <QVariant>

// Compares two variants: negative when a goes before b, zero when they are equivalent,
// positive when a goes after b. The result is always -1, 0 or 1.
//
// It is a total preorder over all variants, so that sorting and binary search stay sound
// whatever a column holds:
// - Missing values come first and are all equivalent: an invalid variant, a null one (a null
//   QString, QDate, QDateTime, ...), the null datetime and the null Record.
// - Numbers next, compared exactly by value across types: bool (0 or 1), every integer type,
//   float, double and decimal. decimal 1.50 equals decimal 1.5, the int 3 and the double 3.0.
//   A NaN goes before every other number; all NaNs are equivalent.
// - Texts (QString, QChar) by UTF-16 code units, or by folded case under Qt::CaseInsensitive,
//   where "a" and "A" are equivalent.
// - Points in time: QDate, QDateTime and datetime by their wall-clock fields, so a QDate is
//   equivalent to the datetime of that day at 00:00.
// - Any other type after those, grouped by type id. Records go by their rows' order, as in a
//   sorted list of them; two values of another type by the type's registered comparators,
//   else by their text where they convert to one, else as equivalent.
CONTACT_EXPORT int variant_compare(const QVariant& a, const QVariant& b,
                                   Qt::CaseSensitivity sensitivity = Qt::CaseSensitive);
