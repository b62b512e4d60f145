#pragma once

#include "terminaloptions.h"

#include <QString>

#include <memory>

class MarketFeed;

// The feed the options ask for (--market, --seed, --tick-rate, --large); null with a
// one-line reason in error when there is none, e.g. a snapshot that does not load.
std::unique_ptr<MarketFeed> createMarketFeed(const TerminalOptions& options, QString* error);
