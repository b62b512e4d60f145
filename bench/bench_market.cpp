// The simulated exchange's ticks in the large market: what a batch of instrument updates
// costs the feed and the table together.
#include "benchutil.h"

#include "market/markettables.h"
#include "market/simulatedexchange.h"

#include <QCoreApplication>

#include <benchmark/benchmark.h>

#include <algorithm>

namespace {

SimulatedExchange::Options largeMarket()
{
    SimulatedExchange::Options options;
    options.seed = 1;
    options.large = true;
    // A fixed clock, so that every run prices the same market.
    options.now = datetime(QDate(2025, 3, 12)) + 10 * 3600 * 1000LL;
    return options;
}

void BM_LargeTick(benchmark::State& state)
{
    MarketTables tables;
    SimulatedExchange exchange(&tables, largeMarket());
    qint64 updates = 0;
    for (auto _ : state) {
        exchange.tick();
        updates += exchange.lastTickUpdates();
    }
    state.SetItemsProcessed(updates);
}
BENCHMARK(BM_LargeTick)->Unit(benchmark::kMillisecond);

void figures()
{
    MarketTables tables;
    SimulatedExchange exchange(&tables, largeMarket());
    constexpr int Ticks = 20;
    double best = 1e300;
    for (int run = 0; run < 5; ++run) {
        qint64 updates = 0;
        const double seconds = bestSeconds(1, [&] {
            for (int i = 0; i < Ticks; ++i) {
                exchange.tick();
                updates += exchange.lastTickUpdates();
            }
        });
        best = std::min(best, seconds * 1e6 / (double(updates) / 1000.0));
    }
    printFigure("market.large_tick_us", best);
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    figures();
    return 0;
}
