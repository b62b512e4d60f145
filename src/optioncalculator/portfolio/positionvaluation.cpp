#include "positionvaluation.h"

#include "valuationmode.h"

#include "database/exchangeconventions.h"
#include "database/pricing.h"

#include <algorithm>
#include <cmath>

double yearsToExpiry(const ExpiryClock* clock, const datetime& lasttime, const datetime& expdate,
                     int mode, const WhatIfShifts& shifts)
{
    if (mode > ExpiryValuation)
        return 0.0;
    // A hundredth of a second: at expiry an option is worth its intrinsic value.
    const double tiny = 0.01 / Exchange::SecondsPerYear;
    if (mode == ExpiryValuation || !clock)
        return tiny;
    const qint64 offset = mode == WhatIfValuation && shifts.daysShiftEnabled
                              ? qint64(shifts.daysShift) * Exchange::SecondsPerDay
                              : 0;
    const qint64 seconds = clock->secondsToExpiry(lasttime, expdate, offset);
    return seconds > 0 ? double(seconds) / Exchange::SecondsPerYear : tiny;
}

ProfilePoint profilePointOfData(double price, int mode, double years,
                                const PositionValuationData& data, const WhatIfShifts& shifts)
{
    ProfilePoint point;
    if (!(price > 0.0) || mode >= ValuationModeCount || !(years > 0.0) || !(data.priceStep > 0.0) ||
        data.sectype.isNull())
        return point;

    VolatOutputParams out;
    if (data.sectype == QLatin1Char('O')) {
        VolatInputParams in = data.params;
        in.strike = data.strike;
        in.basePrice = price;
        in.sqrtTime = std::sqrt(years);
        if (std::isinf(in.sqrtTime))
            return point;
        in.volatLow = data.volatLow;
        in.volatHigh = data.volatHigh;
        // Only the what-if profile sees model volatility and the trader's shift.
        decimal volatility =
            mode == WhatIfValuation && (data.mivMpFlag & ModelValuesInUse) ? data.miv : data.volat;
        if (mode == WhatIfValuation && shifts.volatShiftEnabled)
            volatility += shifts.volatShift;
        const double clamped =
            std::max(std::min(volatility.toDouble(), data.volatHigh), data.volatLow);
        calcVolatParams(out, in, decimal::fromDouble(clamped, volatility.scale()).toDouble());
    }

    const double quantity = double(data.pos);
    double change = 0.0;
    double delta = 0.0;
    if (data.optionType == QLatin1Char('C')) {
        change = out.callPrice - data.theorPrice;
        delta = quantity * out.callDelta;
    } else if (data.optionType == QLatin1Char('P')) {
        change = out.putPrice - data.theorPrice;
        delta = quantity * out.putDelta;
    } else if (data.sectype == QLatin1Char('F') && data.optionType.isNull()) {
        change = price - data.curKotirReal;
        delta = quantity;
    } else {
        return point;
    }
    // Whole price steps, halves up.
    point.values[ProfilePoint::Profit] =
        std::floor(change / data.priceStep + 0.5) * data.priceStep * quantity;
    point.values[ProfilePoint::Delta] = delta;
    point.values[ProfilePoint::Gamma] = quantity * out.gamma;
    point.values[ProfilePoint::Vega] = quantity * out.vega;
    point.values[ProfilePoint::Theta] = quantity * out.theta;
    for (int i = 0; i < ProfilePoint::ValueCount; ++i)
        point.valid[i] = ProfilePoint::isUsable(point.values[i]);
    return point;
}
