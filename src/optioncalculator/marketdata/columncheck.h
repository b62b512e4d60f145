#pragma once

#include <QByteArray>
#include <QVector>

// The check of a block of column numbers looked up in a terminal table. A class reads its
// rows by these numbers only, so a column that the table lacks is a fault of the terminal's
// build, not a condition to run on: the check stops the program and names the positions in
// the block that stayed unset.
class ColumnCheck
{
public:
    // The positions whose number is negative, each followed by a blank ("6 22 "); empty
    // when every column was found.
    static QByteArray unsetPositions(const QVector<int>& columns);

    // Stops the program with a fatal message when a position is unset; file and line name
    // the class that made the block.
    static void verify(const QVector<int>& columns, const char* file, int line);
};

// Checks a block of column numbers where it is made.
#define CHECK_COLUMNS_FUNC(columns) ColumnCheck::verify((columns), __FILE__, __LINE__)
