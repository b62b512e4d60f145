// What the model portfolio adds to the pricing it cannot avoid: a market batch that touches
// every security of a portfolio of 200 rows, revalued through the model, against the
// pricing calls that this revaluation makes, on the same inputs.
#include "benchportfolio.h"
#include "benchutil.h"


#include "database/pricing.h"
#include "database/table.h"
#include "database/tableupdater.h"

#include <QCoreApplication>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

namespace {

constexpr int Rows = 200;
constexpr int Batches = 20;

// The pricing a row's revaluation makes: the inputs and, for a fixed price, the search.
struct RowPricing
{
    VolatInputParams in;
    bool put = false;
    bool priceFixed = false;
    double miv = 0.0;   // the volatility the Greeks are computed at
    double mp = 0.0;    // the fixed price
    double volat = 0.0; // where the search starts
    VolatBand band;
};

struct Portfolio : BenchPortfolio
{
    Portfolio() { fill(); }

    // The base code's futures, and its options nearest the money: half with the volatility
    // fixed, half with the price.
    void fill()
    {
        const OptCalcColumns& c = SecuritiesOptCalcDirectory::instance()->columns();
        std::vector<Record> futures, options;
        double center = 0.0;
        instruments(&futures, &options, &center);
        securities = futures;
        for (const Record& o : options)
            if (int(securities.size()) < Rows)
                securities.push_back(o);

        TableUpdater batch(table);
        for (size_t i = 0; i < securities.size(); ++i) {
            const Record& s = securities[i];
            const bool future = s.data(c.sectype).toChar() == QLatin1Char('F');
            const double step = s.data(c.price_step).toDouble();
            if (future || i % 2 == 0) {
                Record row = positionRow(s, 1, 5);
                const double price = s.data(future ? c.cur_kotir_real : c.theor_price).toDouble();
                row.data(QStringLiteral("mp")) = std::max(step, std::round(price / step) * step);
                table->insertRecord(row);
            } else {
                Record row = positionRow(s, 1, 3);
                row.data(QStringLiteral("miv")) = s.data(c.volat).toDouble() + 2.0;
                table->insertRecord(row);
            }
        }
    }

    // One batch of the market: every security of the portfolio and its base futures move,
    // back and forth by parity, so that each batch changes every valuation.
    void marketBatch(int parity)
    {
        const OptCalcColumns& c = SecuritiesOptCalcDirectory::instance()->columns();
        const int curKotir = tables.securities()->columnIndex(QStringLiteral("cur_kotir"));
        const double sign = parity ? 1.0 : -1.0;
        TableUpdater batch(tables.securities());
        for (const Record& s : securities) {
            Record r = s;
            const double step = s.data(c.price_step).toDouble();
            if (s.data(c.sectype).toChar() == QLatin1Char('F')) {
                const double price = s.data(c.cur_kotir_real).toDouble() + sign * step;
                r.data(c.cur_kotir_real) = price;
                r.data(curKotir) = price;
                tables.securities()->updated(r, std::min(c.cur_kotir_real, curKotir),
                                             std::max(c.cur_kotir_real, curKotir));
            } else {
                r.data(c.theor_price) = s.data(c.theor_price).toDouble() + sign * step;
                r.data(c.volat) = s.data(c.volat).toDouble() + sign * 0.01;
                tables.securities()->updated(r, std::min(c.theor_price, c.volat),
                                             std::max(c.theor_price, c.volat));
            }
        }
    }

    // The pricing that the last revaluation made, row by row.
    std::vector<RowPricing> pricingOfRows() const
    {
        std::vector<RowPricing> rows;
        const Table* t = table;
        const OptCalcColumns& c = SecuritiesOptCalcDirectory::instance()->columns();
        for (int row = 0; row < model->rowCount(); ++row) {
            const Record& r = model->at(row);
            if (r.data(t->columnIndex(QStringLiteral("sectype"))).toChar() != QLatin1Char('O'))
                continue;
            RowPricing p;
            model->fillVolatInputParams(r, p.in);
            const Record market = model->optCalcRecord(r).record;
            p.put = market.data(c.option_type).toChar() == QLatin1Char('P');
            p.priceFixed = r.data(t->columnIndex(QStringLiteral("miv_mp_flag"))).toInteger() & 4;
            p.miv = r.data(t->columnIndex(QStringLiteral("miv"))).toDouble();
            p.mp = r.data(t->columnIndex(QStringLiteral("mp"))).toDouble();
            p.volat = market.data(c.volat).toDouble();
            p.band = model->volatBand(model->securityRecord(r));
            rows.push_back(p);
        }
        return rows;
    }

    std::vector<Record> securities;
};

// The calls of one revaluation, as the model makes them: a fixed volatility prices once; a
// fixed price searches its volatility (and tries both bounds when out of reach), then
// prices at it.
double replay(const std::vector<RowPricing>& rows)
{
    double sink = 0.0;
    VolatOutputParams out;
    for (const RowPricing& p : rows) {
        if (p.priceFixed) {
            const double v = volatByTheorPrice(p.in, p.put, p.mp, p.volat, p.band.low - 0.001,
                                               p.band.high + 0.001, 1e-6, 1e-3);
            if (!p.band.contains(v)) {
                calcVolatParams(out, p.in, p.band.low);
                calcVolatParams(out, p.in, p.band.high);
            }
            sink += v;
        }
        calcVolatParams(out, p.in, p.miv);
        sink += out.gamma;
    }
    return sink;
}

Portfolio* thePortfolio = nullptr;
std::vector<RowPricing> pricing[2];

void prepare()
{
    Portfolio& p = *thePortfolio;
    for (int parity : {0, 1}) {
        p.marketBatch(parity);
        pricing[parity] = p.pricingOfRows();
    }
}

void revalue()
{
    for (int i = 0; i < Batches; ++i)
        thePortfolio->marketBatch(i % 2);
}

// The same batches with the model deaf to them: what the market costs by itself.
double bareBatches()
{
    Portfolio& p = *thePortfolio;
    SecuritiesOptCalcDirectory* directory = SecuritiesOptCalcDirectory::instance();
    QObject::disconnect(directory, SIGNAL(processUpdate(QList<Record>)), p.model.get(),
                        SLOT(securitiesChanged(QList<Record>)));
    const double seconds = bestSeconds(3, revalue);
    QObject::connect(directory, SIGNAL(processUpdate(QList<Record>)), p.model.get(),
                     SLOT(securitiesChanged(QList<Record>)));
    return seconds;
}

double pricingCalls()
{
    double sink = 0.0;
    for (int i = 0; i < Batches; ++i)
        sink += replay(pricing[i % 2]);
    return sink;
}

void BM_Revalue(benchmark::State& state)
{
    for (auto _ : state)
        revalue();
    state.SetItemsProcessed(state.iterations() * Batches * Rows);
}
BENCHMARK(BM_Revalue)->Unit(benchmark::kMillisecond);

void BM_PricingCalls(benchmark::State& state)
{
    for (auto _ : state)
        benchmark::DoNotOptimize(pricingCalls());
    state.SetItemsProcessed(state.iterations() * Batches * Rows);
}
BENCHMARK(BM_PricingCalls)->Unit(benchmark::kMillisecond);

void figures()
{
    // The three are timed in turns, so that a spell of a slower machine falls on all of them
    // alike; the shortest time of each counts.
    double sink = 0.0;
    double bareTime = 1e300, batchTime = 1e300, pricingTime = 1e300;
    for (int round = 0; round < 9; ++round) {
        bareTime = std::min(bareTime, bareBatches());
        batchTime = std::min(batchTime, bestSeconds(3, revalue));
        pricingTime = std::min(pricingTime, bestSeconds(3, [&] { sink += pricingCalls(); }));
    }
    benchmark::DoNotOptimize(sink);
    // The revaluation is what the batch costs with the model beyond what it costs without.
    const double revalueTime = batchTime - bareTime;
    std::printf("rows %d; a batch takes %.1f us, %.1f us of it without the model; the "
                "revaluation %.1f us, %.1f us of it pricing\n",
                thePortfolio->model->rowCount(), batchTime * 1e6 / Batches,
                bareTime * 1e6 / Batches, revalueTime * 1e6 / Batches, pricingTime * 1e6 / Batches);
    printFigure("portfolio.revalue_overhead", revalueTime / pricingTime);
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    Portfolio portfolio;
    thePortfolio = &portfolio;
    prepare();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    figures();
    return 0;
}
