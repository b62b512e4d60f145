#include "marketfeedfactory.h"

#include "marketfeed.h"

#include <QCoreApplication>

// The simulated exchange (--market sim) and the snapshot loader (--market csv:DIR) are
// chosen here.
std::unique_ptr<MarketFeed> createMarketFeed(const TerminalOptions& options, QString* error)
{
    Q_UNUSED(options)
    if (error)
        *error = QCoreApplication::translate("MarketFeed", "рынок ещё не подключён");
    return nullptr;
}
