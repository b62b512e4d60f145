// One pass of the profile calculation for 200 option positions of the large simulated
// market (calls and puts of several expiries), both curve modes, over a grid of 1,000
// prices, against the same pricing calls replayed in a tight loop: what the pass adds to
// the pricing it cannot avoid.
#include "benchutil.h"

#include "marketdata/optcalcsecuritymodel.h"
#include "marketdata/securitiesoptcalcdirectory.h"
#include "marketdata/volatcoeffdirectory.h"
#include "portfolio/positionsvirtualtable.h"
#include "portfolio/positionvaluation.h"
#include "portfolio/valuationmode.h"
#include "portfolio/virtualportfoliomodel.h"
#include "profile/profilecalculator.h"

#include "c_api/icore.h"
#include "c_api/tableregistry.h"
#include "database/pricing.h"
#include "database/table.h"
#include "database/tableupdater.h"
#include "market/markettables.h"
#include "market/simulatedexchange.h"

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
const QString BaseCode = QStringLiteral("IDX");

struct Portfolio
{
    Portfolio() : exchange(&tables, options())
    {
        for (Table* t : tables.all())
            core.tables()->registerTable(t->name(), t);
        securityModel = std::make_unique<OptCalcSecurityModel>(BaseCode);
        securityModel->setFrozenTime(options().now);
        securityModel->setClockFrozen(true);
        table = PositionsVirtualTable::create();
        model = std::make_unique<VirtualPortfolioModel>(table, securityModel.get());
        model->setAccountFilterEnabled(false);
        model->setBaseCode(BaseCode);
        fill();
    }
    ~Portfolio()
    {
        model.reset();
        delete table;
        SecuritiesOptCalcDirectory::resetInstance();
        VolatCoeffDirectory::resetInstance();
    }

    static SimulatedExchange::Options options()
    {
        SimulatedExchange::Options o;
        o.seed = 1;
        o.now = datetime(QDate(2025, 3, 12)) + 10 * 3600 * 1000LL;
        return o;
    }

    // The options nearest the money, long and short by turns, with a grid over their strikes.
    void fill()
    {
        SecuritiesOptCalcDirectory* directory = SecuritiesOptCalcDirectory::instance();
        const OptCalcColumns& c = directory->columns();
        std::vector<Record> options;
        double center = 0.0;
        for (int i = 0; i < directory->count(); ++i) {
            const Record& r = directory->at(i).record;
            if (r.data(c.base_code).toString() != BaseCode)
                continue;
            if (r.data(c.sectype).toChar() == QLatin1Char('O'))
                options.push_back(r);
            else if (center == 0.0)
                center = r.data(c.cur_kotir_real).toDouble();
        }
        std::sort(options.begin(), options.end(), [&](const Record& a, const Record& b) {
            return std::fabs(a.data(c.strike).toDouble() - center) <
                   std::fabs(b.data(c.strike).toDouble() - center);
        });
        options.resize(std::min<size_t>(options.size(), Rows));

        double low = center, high = center;
        TableUpdater batch(table);
        for (size_t i = 0; i < options.size(); ++i) {
            const Record& s = options[i];
            expiries.insert(s.data(QStringLiteral("expdate")).toDatetime().msecs());
            low = std::min(low, s.data(c.strike).toDouble());
            high = std::max(high, s.data(c.strike).toDouble());
            Record row(table);
            for (const char* key :
                 {"stock_id", "board_id", "sec_id", "sectype", "sec_name", "expdate"})
                row.data(QLatin1String(key)) = s.data(QLatin1String(key));
            row.data(QStringLiteral("pos")) = i % 2 ? -1LL : 2LL;
            row.data(QStringLiteral("flags")) = 1;
            row.data(QStringLiteral("miv_mp_flag")) = 0;
            table->insertRecord(row);
        }
        for (int i = 0; i < GridPoints; ++i)
            grid.append(low + (high - low) * i / (GridPoints - 1));
    }

    ICore core;
    MarketTables tables;
    SimulatedExchange exchange;
    std::unique_ptr<OptCalcSecurityModel> securityModel;
    Table* table = nullptr;
    std::unique_ptr<VirtualPortfolioModel> model;
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
