#pragma once

#include "optcalccolumns.h"

#include "database/record.h"

// One instrument of the securities directory: its row and the directory's column numbers,
// so that a reader takes a field as record.data(columns->strike) without a look-up by name.
// A failed look-up gives a null record; its columns then are all -1, and nothing reads
// through them.
struct OptCalcSecurity
{
    Record record;
    const OptCalcColumns* columns = nullptr;

    bool isNull() const { return record.isNull(); }
};

// The name the portfolio side uses for the same thing.
using OptCalcRecord = OptCalcSecurity;
