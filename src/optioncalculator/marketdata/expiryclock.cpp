#include "expiryclock.h"

#include "database/exchangeconventions.h"

qint64 ExpiryClock::secondsToExpiry(const datetime& lastTime, const datetime& expDate,
                                    qint64 offset) const
{
    if (expDate.isNull())
        return 0;
    const datetime endOfTrading = expDate + Exchange::EndOfTradingMs;
    datetime current = now;
    if ((!lastTime.isNull() || !serverTime.isNull()) && connected)
        current = qMax(lastTime, serverTime);
    return (endOfTrading - current) / 1000 - offset;
}
