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

PreparedValuation prepareValuation(int mode, double years, const PositionValuationData& data,
                                   const WhatIfShifts& shifts)
{
    PreparedValuation prepared;
    prepared.data = &data;
    if (mode < 0 || mode >= ValuationModeCount || !(years > 0.0) || !(data.priceStep > 0.0)
        || data.sectype.isNull())
        return prepared;
    if (data.optionType == QLatin1Char('C') || data.optionType == QLatin1Char('P'))
        prepared.kind = data.optionType == QLatin1Char('C') ? PreparedValuation::Call
                                                            : PreparedValuation::Put;
    else if (data.sectype == QLatin1Char('F') && data.optionType.isNull())
        prepared.kind = PreparedValuation::Future;
    else
        return prepared;

    if (data.sectype == QLatin1Char('O')) {
        VolatInputParams& in = prepared.in;
        in = data.params;
        in.strike = data.strike;
        in.sqrtTime = std::sqrt(years);
        if (std::isinf(in.sqrtTime)) {
            prepared.kind = PreparedValuation::None;
            return prepared;
        }
        in.volatLow = data.volatLow;
        in.volatHigh = data.volatHigh;
        // Only the what-if profile sees model volatility and the trader's shift.
        decimal volatility =
            mode == WhatIfValuation && (data.mivMpFlag & ModelValuesInUse) ? data.miv : data.volat;
        if (mode == WhatIfValuation && shifts.volatShiftEnabled)
            volatility += shifts.volatShift;
        const double clamped =
            std::max(std::min(volatility.toDouble(), data.volatHigh), data.volatLow);
        prepared.volatility = decimal::fromDouble(clamped, volatility.scale()).toDouble();
        prepared.priced = true;
    }
    return prepared;
}

ProfilePoint valueAt(PreparedValuation& prepared, double price)
{
    ProfilePoint point;
    if (prepared.kind == PreparedValuation::None || !(price > 0.0))
        return point;
    const PositionValuationData& data = *prepared.data;
    VolatOutputParams out;
    if (prepared.priced) {
        prepared.in.basePrice = price;
        calcVolatParams(out, prepared.in, prepared.volatility);
    }

    const double quantity = double(data.pos);
    double change = 0.0;
    double delta = 0.0;
    switch (prepared.kind) {
    case PreparedValuation::Call:
        change = out.callPrice - data.theorPrice;
        delta = quantity * out.callDelta;
        break;
    case PreparedValuation::Put:
        change = out.putPrice - data.theorPrice;
        delta = quantity * out.putDelta;
        break;
    default:
        change = price - data.curKotirReal;
        delta = quantity;
        break;
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

ProfilePoint profilePointOfData(double price, int mode, double years,
                                const PositionValuationData& data, const WhatIfShifts& shifts)
{
    if (!(price > 0.0))
        return ProfilePoint();
    PreparedValuation prepared = prepareValuation(mode, years, data, shifts);
    return valueAt(prepared, price);
}
