#pragma once

#include "terminaloptions.h"

#include <QString>

#include <memory>

class MarketSource;

// The feed the options ask for (--market, --seed, --tick-rate, --large). The faults of a
// snapshot, one "FILE:LINE: reason" a line, go into error; its tables that loaded still
// come with the source.
std::unique_ptr<MarketSource> createMarketSource(const TerminalOptions& options, QString* error);
