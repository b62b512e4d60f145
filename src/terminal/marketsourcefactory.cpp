#include "marketsourcefactory.h"

#include "marketsource.h"

#include "market/csvmarketloader.h"
#include "market/markettables.h"
#include "market/simulatedexchange.h"

#include <QCoreApplication>

namespace {

QList<QPair<QString, Table*>> namedTables(const MarketTables& tables)
{
    return {{MarketTables::securitiesName(), tables.securities()},
            {MarketTables::positionsName(), tables.positions()},
            {MarketTables::volatCoeffName(), tables.volatCoeff()}};
}

// The simulated exchange, ticking on the main thread from start() to stop().
class SimulatedSource : public MarketSource
{
public:
    explicit SimulatedSource(const SimulatedExchange::Options& options)
        : m_exchange(&m_tables, options)
    {
        connect(&m_exchange, &MarketFeed::serverTimeChanged, this, &MarketSource::serverTime);
    }
    QList<QPair<QString, Table*>> tables() const override { return namedTables(m_tables); }
    void start() override
    {
        emit serverTime(m_exchange.now());
        m_exchange.start();
    }
    void stop() override { m_exchange.stop(); }

private:
    MarketTables m_tables;
    SimulatedExchange m_exchange;
};

// A snapshot of CSV files: loaded once, then still.
class SnapshotSource : public MarketSource
{
public:
    QList<QPair<QString, Table*>> tables() const override { return namedTables(m_tables); }
    void start() override {}
    void stop() override {}
    MarketTables* marketTables() { return &m_tables; }

private:
    MarketTables m_tables;
};

} // namespace

std::unique_ptr<MarketSource> createMarketSource(const TerminalOptions& options, QString* error)
{
    if (options.market == TerminalOptions::Market::Csv) {
        auto source = std::make_unique<SnapshotSource>();
        CsvMarketLoader loader(source->marketTables());
        // A file with a fault leaves its table empty; the others load all the same.
        if (!loader.load(options.csvDir) && error)
            *error = loader.errors().join(QLatin1Char('\n'));
        return source;
    }
    SimulatedExchange::Options simulation;
    simulation.seed = options.seed;
    simulation.tickRate = options.tickRate;
    simulation.large = options.large;
    return std::make_unique<SimulatedSource>(simulation);
}
