#pragma once

#include "database/datetime.h"

// The calculator's clock for the time left to an expiry, as a plain value: the machine's
// "now" (or the one a pass froze), and the exchange's time while its transport is connected.
// A pass takes it once, so that every position of the pass sees one instant.
struct ExpiryClock
{
    datetime now;
    datetime serverTime;
    bool connected = false;

    // Seconds from now to the end of trading of expDate, less offset; 0 for a null expDate.
    // While connected and lastTime or the server time is known, "now" is the later of the
    // two: the exchange's clock goes before the machine's.
    qint64 secondsToExpiry(const datetime& lastTime, const datetime& expDate, qint64 offset) const;
};
