#pragma once

#include <QString>

// The three ways a position is valued on a profile. They differ only in the time left to
// expiry and in the volatility taken: the what-if profile applies the trader's shifts and
// model volatilities, the current one values at market volatility as of now, the expiry
// profile at market volatility a hundredth of a second before expiry.
enum ValuationMode : int {
    WhatIfValuation = 0,
    CurrentValuation = 1,
    ExpiryValuation = 2,
    ValuationModeCount = 3
};

// The title of a profile, as the plots and their tables show it; empty for an unknown mode.
QString valuationModeTitle(int mode);
