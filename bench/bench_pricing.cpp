// Valuation and implied volatility of options on futures, against QuantLib's Black-76
// formulas and against the cost of the transcendental functions a valuation can't avoid.
//
// Google Benchmark reports the raw timings. The figures (ratios and accuracy counts) are
// measured afterwards in main, in the same process on the same inputs, each timing the best
// of several interleaved passes so that load from other processes cancels out.

#include "database/pricing.h"

#include <benchmark/benchmark.h>
#include <ql/errors.hpp>
#include <ql/pricingengines/blackcalculator.hpp>
#include <ql/pricingengines/blackformula.hpp>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <random>
#include <vector>

namespace {

// What a caller asks of the solver: prices to 1e-12 of the future's price and
// volatilities to 1e-10 of a percentage point.
constexpr double PriceAccuracyOfF = 1e-12;
constexpr double VolAccuracy = 1e-10;

struct Option
{
    VolatInputParams in;
    double vol = 0.0; // percent
    bool put = false;
    double price = 0.0;   // at vol, from calcVolatParams
    double stdDev = 0.0;  // vol sqrt(T), as QuantLib takes it
    double timeValue = 0; // price above intrinsic
};

double logUniform(std::mt19937_64& rng, double lo, double hi)
{
    std::uniform_real_distribution<double> u(std::log(lo), std::log(hi));
    return std::exp(u(rng));
}

Option makeOption(double f, double moneyness, double vol, double years, bool put)
{
    Option o;
    o.in.basePrice = f;
    o.in.strike = f * moneyness;
    o.in.sqrtTime = std::sqrt(years);
    o.vol = vol;
    o.put = put;
    o.stdDev = vol / 100.0 * o.in.sqrtTime;
    VolatOutputParams out;
    calcVolatParams(out, o.in, vol);
    o.price = put ? out.putPrice : out.callPrice;
    const double intrinsic = put ? std::max(o.in.strike - f, 0.0) : std::max(f - o.in.strike, 0.0);
    o.timeValue = o.price - intrinsic;
    return o;
}

constexpr double Hour = 1.0 / (365.0 * 24.0);

// 10,000 options: futures of several price scales, strikes 0.3-3 times the future,
// volatilities 1-300 %, one hour to three years, calls and puts.
const std::vector<Option>& grid()
{
    static const std::vector<Option> options = [] {
        std::mt19937_64 rng(20261122);
        std::bernoulli_distribution coin(0.5);
        std::vector<Option> v;
        v.reserve(10000);
        for (int i = 0; i < 10000; ++i) {
            const double f = logUniform(rng, 1.0, 1e5);
            const double m = logUniform(rng, 0.3, 3.0);
            const double vol = logUniform(rng, 1.0, 300.0);
            const double years = logUniform(rng, Hour, 3.0);
            v.push_back(makeOption(f, m, vol, years, coin(rng)));
        }
        return v;
    }();
    return options;
}

QuantLib::Option::Type qlType(const Option& o)
{
    return o.put ? QuantLib::Option::Put : QuantLib::Option::Call;
}

double oursPricing(const std::vector<Option>& options)
{
    double sum = 0.0;
    VolatOutputParams out;
    for (const Option& o : options) {
        calcVolatParams(out, o.in, o.vol);
        sum += out.callPrice + out.putPrice + out.callDelta + out.putDelta + out.gamma + out.vega +
               out.theta;
    }
    return sum;
}

double quantLibPricing(const std::vector<Option>& options)
{
    double sum = 0.0;
    for (const Option& o : options) {
        const double t = o.in.sqrtTime * o.in.sqrtTime;
        QuantLib::BlackCalculator c(qlType(o), o.in.strike, o.in.basePrice, o.stdDev, 1.0);
        sum += c.value() + c.deltaForward() + c.gammaForward() + c.vega(t) +
               c.theta(o.in.basePrice, t);
    }
    return sum;
}

// The functions no Black-76 valuation does without: the log of moneyness, the root of time,
// N(d1), N(d2) and the density at d1.
double transcendentalFloor(const std::vector<Option>& options)
{
    double sum = 0.0;
    for (const Option& o : options) {
        const double st = std::sqrt(o.in.sqrtTime * o.in.sqrtTime);
        const double v = 0.01 * o.vol * st;
        const double x = std::log(o.in.basePrice / o.in.strike);
        const double d1 = x / v + 0.5 * v;
        const double d2 = d1 - v;
        sum += std::erfc(-d1 * M_SQRT1_2) + std::erfc(-d2 * M_SQRT1_2) + std::exp(-0.5 * d1 * d1);
    }
    return sum;
}

double oursImplied(const Option& o)
{
    return volatByTheorPrice(o.in, o.put, o.price, 50.0, VolatMinDefault, VolatMaxDefault,
                             PriceAccuracyOfF * o.in.basePrice, VolAccuracy);
}

double oursImpliedAll(const std::vector<Option>& options)
{
    double sum = 0.0;
    for (const Option& o : options)
        sum += oursImplied(o);
    return sum;
}

// QuantLib throws where it can't invert; its failures are part of its cost.
double quantLibImplied(const Option& o, bool* ok = nullptr)
{
    try {
        const double sd = QuantLib::blackFormulaImpliedStdDev(qlType(o), o.in.strike,
                                                              o.in.basePrice, o.price, 1.0);
        if (ok)
            *ok = true;
        return 100.0 * sd / o.in.sqrtTime;
    } catch (const QuantLib::Error&) {
        if (ok)
            *ok = false;
        return 0.0;
    }
}

double quantLibImpliedAll(const std::vector<Option>& options)
{
    double sum = 0.0;
    for (const Option& o : options)
        sum += quantLibImplied(o);
    return sum;
}

// The volatility at which the option is worth exactly the given (double) price, in long
// double. Deep in the money a price a few ulps above intrinsic no longer tells the
// volatility it was made from; this is the one any solver can be held to.
long double cdfL(long double x)
{
    return 0.5L * std::erfc(-x / std::sqrt(2.0L));
}

double exactImpliedVol(const Option& o)
{
    const long double f = o.in.basePrice, k = o.in.strike;
    const bool callOtm = k >= f;
    long double target = o.price;
    if (o.put == callOtm)
        target -= o.put ? k - f : f - k;
    const long double a = callOtm ? f : k, b = callOtm ? k : f;
    const long double x = std::log(a / b);
    const auto price = [&](long double v) {
        const long double d1 = x / v + 0.5L * v;
        return a * cdfL(d1) - b * cdfL(d1 - v);
    };
    long double lo = 1e-9L, hi = 100.0L;
    long double v = o.stdDev;
    for (int i = 0; i < 200; ++i) {
        const long double p = price(v);
        if (p < target)
            lo = v;
        else
            hi = v;
        const long double d1 = x / v + 0.5L * v;
        const long double vega = a * std::exp(-0.5L * d1 * d1) / std::sqrt(2.0L * M_PIl);
        long double next = v - (p - target) / vega;
        if (!(next > lo && next < hi))
            next = std::sqrt(lo * hi);
        if (std::fabs(next - v) <= 1e-17L * v || hi - lo <= 1e-17L * lo)
            return static_cast<double>(100.0L * next / o.in.sqrtTime);
        v = next;
    }
    return static_cast<double>(100.0L * v / o.in.sqrtTime);
}

template <typename F> double bestSeconds(int passes, F&& pass, double& sink)
{
    double best = HUGE_VAL;
    for (int i = 0; i < passes; ++i) {
        const auto t0 = std::chrono::steady_clock::now();
        sink += pass();
        const auto t1 = std::chrono::steady_clock::now();
        best = std::min(best, std::chrono::duration<double>(t1 - t0).count());
    }
    return best;
}

void BM_calcVolatParams(benchmark::State& state)
{
    const auto& options = grid();
    for (auto _ : state)
        benchmark::DoNotOptimize(oursPricing(options));
    state.SetItemsProcessed(state.iterations() * options.size());
}
BENCHMARK(BM_calcVolatParams);

void BM_QuantLibBlackCalculator(benchmark::State& state)
{
    const auto& options = grid();
    for (auto _ : state)
        benchmark::DoNotOptimize(quantLibPricing(options));
    state.SetItemsProcessed(state.iterations() * options.size());
}
BENCHMARK(BM_QuantLibBlackCalculator);

void BM_TranscendentalFloor(benchmark::State& state)
{
    const auto& options = grid();
    for (auto _ : state)
        benchmark::DoNotOptimize(transcendentalFloor(options));
    state.SetItemsProcessed(state.iterations() * options.size());
}
BENCHMARK(BM_TranscendentalFloor);

void BM_volatByTheorPrice(benchmark::State& state)
{
    const auto& options = grid();
    for (auto _ : state)
        benchmark::DoNotOptimize(oursImpliedAll(options));
    state.SetItemsProcessed(state.iterations() * options.size());
}
BENCHMARK(BM_volatByTheorPrice);

void BM_QuantLibImpliedStdDev(benchmark::State& state)
{
    const auto& options = grid();
    for (auto _ : state)
        benchmark::DoNotOptimize(quantLibImpliedAll(options));
    state.SetItemsProcessed(state.iterations() * options.size());
}
BENCHMARK(BM_QuantLibImpliedStdDev);

void printFigure(const char* name, double value)
{
    std::printf("figure %s %.6g\n", name, value);
}

void pricingFigures()
{
    const auto& options = grid();
    double sink = 0.0;
    double ours = HUGE_VAL, ql = HUGE_VAL, floor = HUGE_VAL;
    for (int round = 0; round < 10; ++round) {
        ours = std::min(ours, bestSeconds(
                                  3, [&] { return oursPricing(options); }, sink));
        ql = std::min(ql, bestSeconds(
                              3, [&] { return quantLibPricing(options); }, sink));
        floor = std::min(floor, bestSeconds(
                                    3, [&] { return transcendentalFloor(options); }, sink));
    }
    benchmark::DoNotOptimize(sink);
    printFigure("pricing.speedup_vs_quantlib", ql / ours);
    printFigure("pricing.ratio_to_floor", ours / floor);
}

void impliedFigures()
{
    const auto& options = grid();
    double sink = 0.0;
    double ours = HUGE_VAL, ql = HUGE_VAL;
    for (int round = 0; round < 5; ++round) {
        ours = std::min(ours, bestSeconds(
                                  2, [&] { return oursImpliedAll(options); }, sink));
        ql = std::min(ql, bestSeconds(
                              2, [&] { return quantLibImpliedAll(options); }, sink));
    }
    benchmark::DoNotOptimize(sink);
    printFigure("iv.speedup_vs_quantlib", ql / ours);

    // Failures: prices at least 1e-12 F above intrinsic whose volatility comes back more
    // than 1e-8 (relative) off the exact implied volatility of that price.
    int failures = 0, qlFailures = 0, counted = 0, offGenerating = 0;
    for (const Option& o : options) {
        if (!(o.timeValue >= 1e-12 * o.in.basePrice))
            continue;
        ++counted;
        const double exact = exactImpliedVol(o);
        const double mine = oursImplied(o);
        if (!(std::fabs(mine - exact) <= 1e-8 * exact))
            ++failures;
        if (!(std::fabs(mine - o.vol) <= 1e-8 * o.vol))
            ++offGenerating;
        bool ok = false;
        const double theirs = quantLibImplied(o, &ok);
        if (!ok || !(std::fabs(theirs - exact) <= 1e-8 * exact))
            ++qlFailures;
    }
    printFigure("iv.failures", failures);
    printFigure("iv.quantlib_failures", qlFailures);
    std::printf("(%d prices counted; %d of them are more than 1e-8 off the volatility they were "
                "made from, by the rounding of in-the-money prices to double)\n",
                counted, offGenerating);

    // Round trips on a lattice, where vega is above 1e-6 F.
    double worst = 0.0;
    const int steps = 24;
    for (int im = 0; im <= steps; ++im) {
        const double m = 0.3 * std::pow(10.0, double(im) / steps);
        for (int iv = 0; iv <= steps; ++iv) {
            const double vol = std::pow(300.0, double(iv) / steps);
            for (int it = 0; it <= steps; ++it) {
                const double years = Hour * std::pow(3.0 / Hour, double(it) / steps);
                for (bool put : {false, true}) {
                    const Option o = makeOption(100.0, m, vol, years, put);
                    VolatOutputParams out;
                    calcVolatParams(out, o.in, vol);
                    if (!(out.vega > 1e-6 * o.in.basePrice))
                        continue;
                    worst = std::max(worst, std::fabs(oursImplied(o) - vol) / vol);
                }
            }
        }
    }
    printFigure("iv.max_rel_error", worst);
}

} // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    pricingFigures();
    impliedFigures();
    return 0;
}
