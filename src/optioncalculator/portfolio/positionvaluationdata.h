#pragma once

#include "database/datetime.h"
#include "database/decimal.h"
#include "database/pricing.h"

#include <QChar>

// The bits of a row's miv_mp_flag: its model volatility and price are in use, and which of
// the two the trader fixed.
enum MivMpFlag : int { ModelValuesInUse = 1, MivFixed = 2, MpFixed = 4 };

// What the valuation of one row of the model portfolio needs, read once from the row, its
// security and the smile, so that a profile can value the position at many prices without
// touching a table. The initial values mean "no data": a priceStep not above 0 or a null
// sectype, and the row is not valued at all.
struct PositionValuationData
{
    double priceStep = -1.0;
    QChar sectype;
    // Smile coefficients and volatility limits of an option; strike, base price and time
    // are filled in at each price.
    VolatInputParams params;
    QChar optionType;
    double theorPrice = 0.0;
    double curKotirReal = 0.0;
    double strike = 0.0;
    decimal volat;
    decimal miv;
    int mivMpFlag = 0;
    double volatLow = 0.0;
    double volatHigh = 0.0;
    qint64 pos = 0;
    datetime lasttime;
    datetime expdate;
};
