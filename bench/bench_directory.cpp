// The calculator's look-up of an instrument, which stands in the inner loop of portfolio
// valuation, against the terminal's reference of securities, on the large simulated market.
#include "benchutil.h"

#include "marketdata/securitiesoptcalcdirectory.h"

#include "c_api/icore.h"
#include "c_api/tableregistry.h"
#include "directory/securitydirectory.h"
#include "market/markettables.h"
#include "market/simulatedexchange.h"

#include "database/masterindex.h"
#include "database/table.h"

#include <QCoreApplication>

#include <benchmark/benchmark.h>

#include <random>
#include <vector>

namespace {

constexpr int Lookups = 1000000;

struct Key
{
    int board;
    qint64 secId;
};

// The large market registered in a core, as the terminal has it.
struct Market
{
    Market() : exchange(&tables, options())
    {
        core.tables()->registerTable(MarketTables::securitiesName(), tables.securities());
        directory = SecuritiesOptCalcDirectory::instance();
        // Random instruments of the derivatives boards, each looked up by both.
        const int secId = tables.securities()->columnIndex(QStringLiteral("sec_id"));
        const int board = tables.securities()->columnIndex(QStringLiteral("board_id"));
        std::vector<Key> present;
        for (const Record& r : tables.securities()->masterIndex()->records())
            if (directory->filter(r))
                present.push_back({r.data(board).toInteger(), r.data(secId).toInteger64()});
        std::mt19937 rng(11);
        keys.reserve(Lookups);
        for (int i = 0; i < Lookups; ++i)
            keys.push_back(present[rng() % present.size()]);
    }
    ~Market() { SecuritiesOptCalcDirectory::resetInstance(); }

    static SimulatedExchange::Options options()
    {
        SimulatedExchange::Options o;
        o.seed = 1;
        o.large = true;
        o.now = datetime(QDate(2025, 3, 12)) + 10 * 3600 * 1000LL;
        return o;
    }

    long findAll() const
    {
        long found = 0;
        for (const Key& k : keys)
            found += !directory->find(1, k.secId).isNull();
        return found;
    }
    long recordByIdAll() const
    {
        long found = 0;
        for (const Key& k : keys)
            found += !SecurityDirectory::i().recordById(1, k.board, k.secId).isNull();
        return found;
    }

    ICore core;
    MarketTables tables;
    SimulatedExchange exchange;
    SecuritiesOptCalcDirectory* directory = nullptr;
    std::vector<Key> keys;
};

// Made in main(), inside the application's lifetime.
Market* theMarket = nullptr;

const Market& market()
{
    return *theMarket;
}

void BM_DirectoryFind(benchmark::State& state)
{
    const Market& m = market();
    for (auto _ : state)
        benchmark::DoNotOptimize(m.findAll());
    state.SetItemsProcessed(state.iterations() * Lookups);
}
BENCHMARK(BM_DirectoryFind)->Unit(benchmark::kMillisecond);

void BM_SecurityDirectoryRecordById(benchmark::State& state)
{
    const Market& m = market();
    for (auto _ : state)
        benchmark::DoNotOptimize(m.recordByIdAll());
    state.SetItemsProcessed(state.iterations() * Lookups);
}
BENCHMARK(BM_SecurityDirectoryRecordById)->Unit(benchmark::kMillisecond);

void figures()
{
    const Market& m = market();
    long sink = 0;
    const double findTime = bestSeconds(5, [&] { sink += m.findAll(); });
    const double recordByIdTime = bestSeconds(5, [&] { sink += m.recordByIdAll(); });
    benchmark::DoNotOptimize(sink);
    std::printf("instruments %d, lookups %d, find %.1f ns, recordById %.1f ns\n",
                m.directory->count(), Lookups, findTime * 1e9 / Lookups,
                recordByIdTime * 1e9 / Lookups);
    printFigure("directory.find_speedup", recordByIdTime / findTime);
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    Market m;
    theMarket = &m;
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    figures();
    return 0;
}
