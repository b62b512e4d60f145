#pragma once

#include "positionvaluationdata.h"
#include "profilepoint.h"

#include "marketdata/expiryclock.h"

#include "database/decimal.h"

#include <QVector>

// The trader's trial changes that the what-if profile applies: a shift of every model
// volatility, in points, and days taken off the time to expiry.
struct WhatIfShifts
{
    decimal volatShift;
    bool volatShiftEnabled = false;
    int daysShift = 0;
    bool daysShiftEnabled = false;
};

// The active rows of a model portfolio as one pass values them, read once with one clock
// and the what-if shifts of the moment, so that the pass touches no table.
struct ValuationSnapshot
{
    struct Row
    {
        int row = -1; // in the model
        PositionValuationData data;
    };
    QVector<Row> rows;
    ExpiryClock clock;
    bool hasClock = false;
    WhatIfShifts shifts;
};

// Years to the end of trading of a position on a profile (ValuationMode): a hundredth of a
// second at expiry, or without a clock; 0 for an unknown mode.
double yearsToExpiry(const ExpiryClock* clock, const datetime& lasttime, const datetime& expdate,
                     int mode, const WhatIfShifts& shifts);

// A position made ready to be valued at many prices on one profile: what depends on the
// profile alone (time, volatility, the kind of instrument) is worked out once.
struct PreparedValuation
{
    enum Kind { None, Call, Put, Future };
    Kind kind = None;
    bool priced = false; // an option, valued by the pricing formula
    VolatInputParams in;
    double volatility = 0.0;
    const PositionValuationData* data = nullptr; // must outlive this value
};

PreparedValuation prepareValuation(int mode, double years, const PositionValuationData& data,
                                   const WhatIfShifts& shifts);
// Sets the base price of the prepared inputs and values the position there.
ProfilePoint valueAt(PreparedValuation& prepared, double price);

// A position's profit and Greeks at one base price: the change of its value from today's
// market value in whole price steps times the quantity, and the Greeks times the quantity.
// The zero point for a price, mode, time or position that cannot be valued.
ProfilePoint profilePointOfData(double price, int mode, double years,
                                const PositionValuationData& data, const WhatIfShifts& shifts);
