// One pass of the profile calculation for 200 option positions of the large simulated
// market (calls and puts of several expiries), both curve modes, over a grid of 1,000
// prices, against the same pricing calls replayed in a tight loop: what the pass adds to
// the pricing it cannot avoid.
#include "benchportfolio.h"
#include "benchutil.h"

#include "portfolio/positionvaluation.h"
#include "portfolio/valuationmode.h"
#include "profile/profilecalculator.h"

#include "database/pricing.h"
#include "database/tableupdater.h"

#include <QCoreApplication>
#include <QSet>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

namespace {

constexpr int Rows = 200;
constexpr int GridPoints = 1000;

struct Portfolio : BenchPortfolio
{
    Portfolio() { fill(); }

    // The options nearest the money, long and short by turns, with a grid over their strikes.
    void fill()
    {
        const OptCalcColumns& c = SecuritiesOptCalcDirectory::instance()->columns();
        std::vector<Record> futures, options;
        double center = 0.0;
        instruments(&futures, &options, &center);
        options.resize(std::min<size_t>(options.size(), Rows));

        double low = center, high = center;
        TableUpdater batch(table);
        for (size_t i = 0; i < options.size(); ++i) {
            const Record& s = options[i];
            expiries.insert(s.data(QStringLiteral("expdate")).toDatetime().msecs());
            low = std::min(low, s.data(c.strike).toDouble());
            high = std::max(high, s.data(c.strike).toDouble());
            table->insertRecord(positionRow(s, i % 2 ? -1 : 2, 0));
        }
        for (int i = 0; i < GridPoints; ++i)
            grid.append(low + (high - low) * i / (GridPoints - 1));
    }

    QList<double> grid;
    QSet<qint64> expiries;
};

Portfolio* thePortfolio = nullptr;

double pass()
{
    const Portfolio& p = *thePortfolio;
    const ValuationSnapshot snapshot = p.model->valuationSnapshot();
    const ProfileCurves curves = calculateProfiles(snapshot, p.grid, snapshot.rows.size(),
                                                   PartialCurves | SummaryCurves);
    return curves.series.last()[0][0].last().y();
}

// The pricing calls of a pass, with their inputs made ready beforehand.
struct Call
{
    VolatInputParams in;
    double volatility = 0.0;
};
std::vector<Call> calls;

void prepareReplay()
{
    const ValuationSnapshot snapshot = thePortfolio->model->valuationSnapshot();
    for (const ValuationSnapshot::Row& row : snapshot.rows) {
        for (int profile = 0; profile < ValuationModeCount; ++profile) {
            const double years = yearsToExpiry(&snapshot.clock, row.data.lasttime,
                                               row.data.expdate, profile, snapshot.shifts);
            Call call;
            call.in = row.data.params;
            call.in.strike = row.data.strike;
            call.in.sqrtTime = std::sqrt(years);
            call.in.volatLow = row.data.volatLow;
            call.in.volatHigh = row.data.volatHigh;
            call.volatility = row.data.volat.toDouble();
            for (double x : thePortfolio->grid) {
                call.in.basePrice = x;
                calls.push_back(call);
            }
        }
    }
}

double replay()
{
    double sink = 0.0;
    VolatOutputParams out;
    for (const Call& call : calls) {
        calcVolatParams(out, call.in, call.volatility);
        sink += out.callPrice + out.gamma;
    }
    return sink;
}

void BM_ProfilePass(benchmark::State& state)
{
    for (auto _ : state)
        benchmark::DoNotOptimize(pass());
    state.SetItemsProcessed(state.iterations() * Rows * 3 * GridPoints);
}
BENCHMARK(BM_ProfilePass)->Unit(benchmark::kMillisecond);

void figures()
{
    // Timed in turns, so that a slow spell of the machine falls on both alike.
    double sink = 0.0;
    double passTime = 1e300, replayTime = 1e300;
    for (int round = 0; round < 5; ++round) {
        passTime = std::min(passTime, bestSeconds(2, [&] { sink += pass(); }));
        replayTime = std::min(replayTime, bestSeconds(2, [&] { sink += replay(); }));
    }
    benchmark::DoNotOptimize(sink);
    std::printf("positions %d of %d expiries, grid %d; a pass takes %.1f ms, its %zu pricing "
                "calls %.1f ms\n",
                thePortfolio->model->rowCount(), int(thePortfolio->expiries.size()),
                int(thePortfolio->grid.size()), passTime * 1e3, calls.size(), replayTime * 1e3);
    printFigure("profile.pass_overhead", passTime / replayTime);
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    Portfolio portfolio;
    thePortfolio = &portfolio;
    prepareReplay();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    figures();
    return 0;
}
