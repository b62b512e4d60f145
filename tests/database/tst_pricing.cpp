#include "database/pricing.h"

#include <QtTest>

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

constexpr double Inf = std::numeric_limits<double>::infinity();
constexpr double NaN = std::numeric_limits<double>::quiet_NaN();
constexpr double Hour = 1.0 / (365.0 * 24.0);

VolatInputParams option(double f, double k, double years)
{
    VolatInputParams in;
    in.basePrice = f;
    in.strike = k;
    in.sqrtTime = std::sqrt(years);
    return in;
}

// The smile's coefficients a, b, c, d, e and s.
VolatInputParams withSmile(VolatInputParams in, const QVector<double>& c)
{
    in.a = c[0];
    in.b = c[1];
    in.c = c[2];
    in.d = c[3];
    in.e = c[4];
    in.s = c[5];
    return in;
}

VolatOutputParams value(const VolatInputParams& in, double vol)
{
    VolatOutputParams out;
    calcVolatParams(out, in, vol);
    return out;
}

double outputAt(const VolatOutputParams& out, int i)
{
    const double all[] = {out.callDelta, out.putDelta,  out.gamma,   out.vega,
                          out.theta,     out.callPrice, out.putPrice};
    return all[i];
}

bool sameOutputs(const VolatOutputParams& a, const VolatOutputParams& b)
{
    for (int i = 0; i < 7; ++i)
        if (outputAt(a, i) != outputAt(b, i))
            return false;
    return true;
}

// Central differences at h and h/2 combined (Richardson) so that the h² term cancels.
template <typename Fn> double centralDifference(Fn fn, double x, double h)
{
    const double wide = (fn(x + h) - fn(x - h)) / (2 * h);
    const double narrow = (fn(x + h / 2) - fn(x - h / 2)) / h;
    return (4 * narrow - wide) / 3;
}

bool near(double actual, double expected, double rel, double abs = 0.0)
{
    return std::fabs(actual - expected) <= rel * std::fabs(expected) + abs;
}

// Options spread over the ranges the calculator meets: moneyness, time and volatility.
void addOptionRows()
{
    QTest::addColumn<double>("f");
    QTest::addColumn<double>("k");
    QTest::addColumn<double>("years");
    QTest::addColumn<double>("vol");
    QTest::newRow("atm month") << 100.0 << 100.0 << 1.0 / 12 << 30.0;
    QTest::newRow("itm call year") << 100.0 << 80.0 << 1.0 << 25.0;
    QTest::newRow("deep otm call") << 100.0 << 250.0 << 0.5 << 35.0;
    QTest::newRow("deep itm call") << 100.0 << 35.0 << 0.5 << 35.0;
    QTest::newRow("index future") << 152340.0 << 160000.0 << 0.1 << 22.5;
    QTest::newRow("low vol long") << 1.5 << 1.45 << 3.0 << 3.0;
    QTest::newRow("high vol short") << 100.0 << 90.0 << 3.0 / 365 << 250.0;
}

} // namespace

class TestPricing : public QObject
{
    Q_OBJECT

private slots:
    void normalCdfMatchesLongDouble();
    void smileAtKnownPoints_data();
    void smileAtKnownPoints();
    void noArbitrage_data();
    void noArbitrage();
    void smallPricesKeepRelativePrecision();
    void greeksMatchDifferences_data();
    void greeksMatchDifferences();
    void expiryLimits_data();
    void expiryLimits();
    void nonPositivePricesGiveZeros();
    void nonFiniteInputsGiveFiniteOutputs_data();
    void nonFiniteInputsGiveFiniteOutputs();
    void bandClampsVolatility();
    void nonPositiveVolatilityUsesSmile_data();
    void nonPositiveVolatilityUsesSmile();
    void impliedRoundTrip_data();
    void impliedRoundTrip();
    void impliedBounds_data();
    void impliedBounds();
    void impliedDegenerateInputsStayInBand_data();
    void impliedDegenerateInputsStayInBand();
};

void TestPricing::normalCdfMatchesLongDouble()
{
    const long double sqrtHalf = std::sqrt(0.5L);
    double worst = 0.0, worstAt = 0.0;
    // An irregular step, so that the grid doesn't sit on round numbers only.
    for (double x = -37.0; x <= 8.0; x += 0.000731) {
        const long double exact = 0.5L * std::erfc(-static_cast<long double>(x) * sqrtHalf);
        const double err = static_cast<double>(std::fabs((normalCdf(x) - exact) / exact));
        if (!(err <= worst)) {
            worst = err;
            worstAt = x;
        }
    }
    QVERIFY2(worst <= 1e-14,
             qPrintable(QString("relative error %1 at %2").arg(worst).arg(worstAt)));
    QCOMPARE(normalCdf(-Inf), 0.0);
    QCOMPARE(normalCdf(Inf), 1.0);
    QCOMPARE(normalCdf(0.0), 0.5);
}

void TestPricing::smileAtKnownPoints_data()
{
    QTest::addColumn<double>("f");
    QTest::addColumn<double>("k");
    QTest::addColumn<double>("years");
    QTest::addColumn<QVector<double>>("coeffs"); // a, b, c, d, e, s
    QTest::addColumn<double>("expected");
    // Values of the formula worked out separately for each set.
    QTest::newRow("skew and smile")
        << 100.0 << 110.0 << 0.25 << QVector<double>{30, 10, 2, -5, 3, 0.1} << 29.72049018118654;
    QTest::newRow("linear skew, e = 0")
        << 100.0 << 80.0 << 1.0 << QVector<double>{25, 4, 0.5, 8, 0, -0.2} << 24.815922693987478;
    QTest::newRow("e tiny, as e = 0")
        << 100.0 << 80.0 << 1.0 << QVector<double>{25, 4, 0.5, 8, 1e-300, -0.2}
        << 24.815922693987478;
    QTest::newRow("at the money, shifted")
        << 2500.0 << 2500.0 << 0.04 << QVector<double>{18, 6, 1.5, 2, 0.5, 0.3}
        << 18.162144739433806;
    QTest::newRow("negative b and d")
        << 75000.0 << 60000.0 << 0.5 << QVector<double>{40, -8, 3, -12, 2, 0} << 41.31194665332988;
}

void TestPricing::smileAtKnownPoints()
{
    QFETCH(double, f);
    QFETCH(double, k);
    QFETCH(double, years);
    QFETCH(QVector<double>, coeffs);
    QFETCH(double, expected);
    const double got = smileVolatility(withSmile(option(f, k, years), coeffs));
    QVERIFY2(near(got, expected, 1e-13), qPrintable(QString::number(got, 'g', 17)));
}

void TestPricing::noArbitrage_data()
{
    addOptionRows();
}

// Parity, the bounds of prices and Greeks, and prices that rise with the volatility.
void TestPricing::noArbitrage()
{
    QFETCH(double, f);
    QFETCH(double, k);
    QFETCH(double, years);
    const VolatInputParams in = option(f, k, years);
    VolatOutputParams prev = value(in, 0.5);
    for (double vol = 0.6; vol <= 1000.0; vol *= 1.2) {
        const VolatOutputParams out = value(in, vol);
        const QByteArray at = QByteArray::number(vol) + " %";
        QVERIFY2(near(out.callPrice - out.putPrice, f - k, 0.0, 1e-13 * std::max(f, k)), at);
        QVERIFY2(out.callPrice >= std::max(f - k, 0.0) && out.putPrice >= std::max(k - f, 0.0), at);
        QVERIFY2(out.callPrice <= f && out.putPrice <= k, at);
        QVERIFY2(near(out.callDelta - out.putDelta, 1.0, 0.0, 1e-15), at);
        QVERIFY2(out.callDelta >= 0.0 && out.callDelta <= 1.0, at);
        QVERIFY2(out.gamma >= 0.0 && out.vega >= 0.0 && out.theta <= 0.0, at);
        QVERIFY2(out.callPrice >= prev.callPrice && out.putPrice >= prev.putPrice, at);
        // Where vega says the price must move by more than its rounding, it does.
        if (out.vega * vol * 0.2 > 1e-9 * out.callPrice)
            QVERIFY2(out.callPrice > prev.callPrice, at);
        prev = out;
    }
}

// Out of the money the price is what the trader sees of a far strike and what the implied
// volatility is solved from: it must not be a difference of near-equal large numbers.
void TestPricing::smallPricesKeepRelativePrecision()
{
    const auto cdf = [](long double x) { return 0.5L * std::erfc(-x / std::sqrt(2.0L)); };
    double worst = 0.0;
    QString worstAt;
    for (double m : {0.3, 0.6, 0.9, 0.99, 1.01, 1.1, 1.5, 3.0}) {
        for (double vol = 1.0; vol <= 300.0; vol *= 1.9) {
            for (double years = Hour; years <= 3.0; years *= 2.7) {
                const double f = 100.0, k = f * m;
                const VolatInputParams in = option(f, k, years);
                const VolatOutputParams out = value(in, vol);
                const long double v = vol / 100.0L * in.sqrtTime;
                const long double d1 = std::log(static_cast<long double>(f) / k) / v + v / 2;
                const long double d2 = d1 - v;
                const long double exact =
                    k >= f ? f * cdf(d1) - k * cdf(d2) : k * cdf(-d2) - f * cdf(-d1);
                if (exact < 1e-290L)
                    continue;
                // The rounding of d1 costs about d1² ulps; subtracting N(d2) from N(d1)
                // about |d2| / v.
                const double allowed =
                    1e-14 * (1.0 + static_cast<double>(d1 * d1 + std::fabs(d2) / v));
                const double got = k >= f ? out.callPrice : out.putPrice;
                const double err = static_cast<double>(std::fabs((got - exact) / exact));
                if (err / allowed > worst) {
                    worst = err / allowed;
                    worstAt =
                        QString("K/F %1, %2 %, %3 years: %4").arg(m).arg(vol).arg(years).arg(err);
                }
            }
        }
    }
    QVERIFY2(worst <= 1.0, qPrintable(worstAt));
}

void TestPricing::greeksMatchDifferences_data()
{
    addOptionRows();
}

void TestPricing::greeksMatchDifferences()
{
    QFETCH(double, f);
    QFETCH(double, k);
    QFETCH(double, years);
    QFETCH(double, vol);
    const VolatInputParams in = option(f, k, years);
    const VolatOutputParams out = value(in, vol);
    const auto at = [&](double ff, double yy, double vv) { return value(option(ff, k, yy), vv); };

    const double df = 1e-3 * f;
    const double callDelta =
        centralDifference([&](double x) { return at(x, years, vol).callPrice; }, f, df);
    const double putDelta =
        centralDifference([&](double x) { return at(x, years, vol).putPrice; }, f, df);
    const double gamma =
        centralDifference([&](double x) { return at(x, years, vol).callDelta; }, f, df);
    QVERIFY2(near(out.callDelta, callDelta, 1e-7, 1e-10), qPrintable(QString::number(callDelta)));
    QVERIFY2(near(out.putDelta, putDelta, 1e-7, 1e-10), qPrintable(QString::number(putDelta)));
    QVERIFY2(near(out.gamma, gamma, 1e-7, 1e-10 / f), qPrintable(QString::number(gamma)));

    const double vega =
        centralDifference([&](double x) { return at(f, years, x).callPrice; }, vol, 1e-3 * vol);
    QVERIFY2(near(out.vega, vega, 1e-7, 1e-12 * f), qPrintable(QString::number(vega)));

    // Theta per calendar day: the price change as a day's fraction of time passes.
    const double thetaPerYear =
        -centralDifference([&](double x) { return at(f, x, vol).callPrice; }, years, 1e-3 * years);
    QVERIFY2(near(out.theta, thetaPerYear / 365.0, 1e-7, 1e-12 * f),
             qPrintable(QString::number(thetaPerYear / 365.0)));
}

void TestPricing::expiryLimits_data()
{
    QTest::addColumn<double>("f");
    QTest::addColumn<double>("st");
    QTest::addColumn<double>("vol");
    QTest::addColumn<double>("callDelta");
    QTest::addColumn<double>("callPrice");
    QTest::addColumn<double>("putPrice");
    // Strike 100 throughout.
    QTest::newRow("itm call at expiry") << 112.5 << 0.0 << 30.0 << 1.0 << 12.5 << 0.0;
    QTest::newRow("otm call at expiry") << 87.0 << 0.0 << 30.0 << 0.0 << 0.0 << 13.0;
    QTest::newRow("atm at expiry") << 100.0 << 0.0 << 30.0 << 0.5 << 0.0 << 0.0;
    QTest::newRow("itm, root of time tiny") << 101.0 << 1e-300 << 30.0 << 1.0 << 1.0 << 0.0;
    QTest::newRow("atm, root of time tiny") << 100.0 << 1e-300 << 30.0 << 0.5 << 0.0 << 0.0;
    QTest::newRow("volatility tiny") << 100.0 << 0.5 << 1e-300 << 0.5 << 0.0 << 0.0;
}

void TestPricing::expiryLimits()
{
    QFETCH(double, f);
    QFETCH(double, st);
    QFETCH(double, vol);
    QFETCH(double, callDelta);
    QFETCH(double, callPrice);
    QFETCH(double, putPrice);
    VolatInputParams in = option(f, 100.0, 0.0);
    in.sqrtTime = st;
    in.volatLow = 0.0; // no band, so that a tiny volatility stays tiny
    const VolatOutputParams out = value(in, vol);
    QCOMPARE(out.callDelta, callDelta);
    QCOMPARE(out.putDelta, callDelta - 1.0);
    QCOMPARE(out.callPrice, callPrice);
    QCOMPARE(out.putPrice, putPrice);
    QCOMPARE(out.gamma, 0.0);
    QCOMPARE(out.vega, 0.0);
    QCOMPARE(out.theta, 0.0);
}

void TestPricing::nonPositivePricesGiveZeros()
{
    for (const auto& fk : {std::make_pair(100.0, 0.0), std::make_pair(100.0, -50.0),
                           std::make_pair(0.0, 100.0), std::make_pair(-5.0, 100.0)}) {
        VolatOutputParams out;
        out.callDelta = out.putDelta = out.gamma = out.vega = out.theta = out.callPrice =
            out.putPrice = 7.0;
        calcVolatParams(out, option(fk.first, fk.second, 0.5), 30.0);
        for (int i = 0; i < 7; ++i)
            QCOMPARE(outputAt(out, i), 0.0);
    }
}

void TestPricing::nonFiniteInputsGiveFiniteOutputs_data()
{
    QTest::addColumn<int>("field"); // index into the eleven doubles, 11 for the volatility
    QTest::addColumn<double>("bad");
    const char* names[] = {"strike", "base", "root of time", "a",    "b",         "c", "d",
                           "e",      "s",    "low",          "high", "volatility"};
    for (int field = 0; field < 12; ++field)
        for (double bad : {NaN, Inf, -Inf, 1e308, -1e308, 1e-310, 0.0})
            QTest::addRow("%s = %g", names[field], bad) << field << bad;
}

void TestPricing::nonFiniteInputsGiveFiniteOutputs()
{
    QFETCH(int, field);
    QFETCH(double, bad);
    VolatInputParams in = option(100.0, 110.0, 0.25);
    in.b = 3;
    in.d = -2;
    double vol = 35.0;
    double* fields[] = {&in.strike, &in.basePrice, &in.sqrtTime, &in.a,        &in.b,         &in.c,
                        &in.d,      &in.e,         &in.s,        &in.volatLow, &in.volatHigh, &vol};
    *fields[field] = bad;
    // The smile on its own too, also with e = 0, its linear branch.
    VolatInputParams linear = in;
    linear.e = field == 7 ? bad : 0.0;
    QVERIFY(std::isfinite(smileVolatility(in)) && std::isfinite(smileVolatility(linear)));
    // With the volatility given, the smile isn't consulted: try both.
    for (double v : {vol, 0.0}) {
        const VolatOutputParams out = value(in, v);
        for (int i = 0; i < 7; ++i)
            QVERIFY2(std::isfinite(outputAt(out, i)), qPrintable(QString("output %1").arg(i)));
    }
}

void TestPricing::bandClampsVolatility()
{
    VolatInputParams in = option(100.0, 105.0, 0.2);
    in.volatLow = 15.0;
    in.volatHigh = 60.0;
    QVERIFY(sameOutputs(value(in, 95.0), value(in, 60.0)));
    QVERIFY(sameOutputs(value(in, 3.0), value(in, 15.0)));
    QVERIFY(!sameOutputs(value(in, 40.0), value(in, 60.0)));

    // Not a band: low above high, or low not above 0. The volatility is taken as it is.
    VolatInputParams noBand = in;
    noBand.volatLow = 70.0;
    QVERIFY(!sameOutputs(value(noBand, 95.0), value(noBand, 60.0)));
    noBand.volatLow = 0.0;
    QVERIFY(!sameOutputs(value(noBand, 95.0), value(noBand, 60.0)));
    QVERIFY(!sameOutputs(value(noBand, 3.0), value(noBand, 15.0)));
}

void TestPricing::nonPositiveVolatilityUsesSmile_data()
{
    QTest::addColumn<double>("vol");
    QTest::addColumn<double>("high");
    QTest::newRow("zero") << 0.0 << 1000.0;
    QTest::newRow("negative") << -12.0 << 1000.0;
    QTest::newRow("nan") << NaN << 1000.0;
    QTest::newRow("zero, smile above the band") << 0.0 << 20.0;
}

void TestPricing::nonPositiveVolatilityUsesSmile()
{
    QFETCH(double, vol);
    QFETCH(double, high);
    VolatInputParams in = withSmile(option(100.0, 120.0, 0.25), {30, 10, 2, -5, 3, 0.1});
    in.volatHigh = high;
    const double smile = smileVolatility(in);
    QVERIFY(smile > 25.0 && smile != 50.0);
    QVERIFY(sameOutputs(value(in, vol), value(in, std::min(smile, high))));
}

void TestPricing::impliedRoundTrip_data()
{
    QTest::addColumn<double>("moneyness");
    for (double m : {0.3, 0.45, 0.7, 0.9, 0.98, 1.0, 1.03, 1.2, 1.6, 2.2, 3.0})
        QTest::addRow("K/F %g", m) << m;
}

// Volatility 1-300 %, one hour to three years, calls and puts, at accuracies a caller would
// ask for. Where the price is above intrinsic by at least 1e-12 F and vega is meaningful
// against the rounding of the price, the volatility comes back to 1e-8.
void TestPricing::impliedRoundTrip()
{
    QFETCH(double, moneyness);
    const double f = 2500.0, k = f * moneyness;
    int checked = 0, total = 0;
    const int steps = 9;
    for (int iv = 0; iv <= steps; ++iv) {
        const double vol = std::pow(300.0, double(iv) / steps);
        for (int it = 0; it <= steps; ++it) {
            const double years = Hour * std::pow(3.0 / Hour, double(it) / steps);
            const VolatInputParams in = option(f, k, years);
            const VolatOutputParams out = value(in, vol);
            for (bool put : {false, true}) {
                ++total;
                const double price = put ? out.putPrice : out.callPrice;
                const double intrinsic = put ? std::max(k - f, 0.0) : std::max(f - k, 0.0);
                const double got = volatByTheorPrice(in, put, price, 50.0, VolatMinDefault,
                                                     VolatMaxDefault, 1e-12 * f, 1e-10);
                QVERIFY(got >= VolatMinDefault && got <= VolatMaxDefault);
                // vega * vol: the price change of a relative volatility change of one.
                if (price - intrinsic < 1e-12 * f || out.vega * vol < 1e-6 * price)
                    continue;
                ++checked;
                QVERIFY2(near(got, vol, 1e-8), qPrintable(QString("%1 %2 years %3 %: got %4")
                                                              .arg(put ? "put" : "call")
                                                              .arg(years)
                                                              .arg(vol)
                                                              .arg(got, 0, 'g', 17)));
            }
        }
    }
    // Far from the money most short options are worth nothing, but not all.
    QVERIFY2(checked * 8 >= total, qPrintable(QString("%1 of %2").arg(checked).arg(total)));
}

void TestPricing::impliedBounds_data()
{
    QTest::addColumn<double>("k");
    QTest::addColumn<bool>("put");
    QTest::addColumn<double>("atVol"); // when above 0, the price is the one at this volatility
    QTest::addColumn<double>("price");
    QTest::addColumn<double>("low");
    QTest::addColumn<double>("high");
    QTest::addColumn<double>("expected");
    // Future 100, half a year.
    QTest::newRow("below intrinsic") << 90.0 << false << 0.0 << 9.5 << 10.0 << 80.0 << 10.0;
    QTest::newRow("at intrinsic") << 110.0 << true << 0.0 << 10.0 << 10.0 << 80.0 << 10.0;
    QTest::newRow("zero otm") << 130.0 << false << 0.0 << 0.0 << 10.0 << 80.0 << 10.0;
    QTest::newRow("negative") << 100.0 << true << 0.0 << -1.0 << 10.0 << 80.0 << 10.0;
    QTest::newRow("below the band") << 105.0 << false << 5.0 << 0.0 << 10.0 << 80.0 << 10.0;
    QTest::newRow("in the band") << 105.0 << false << 37.0 << 0.0 << 10.0 << 80.0 << 37.0;
    QTest::newRow("above the band") << 95.0 << true << 95.0 << 0.0 << 10.0 << 80.0 << 80.0;
    QTest::newRow("at the limit") << 95.0 << false << 0.0 << 100.0 << 10.0 << 80.0 << 80.0;
    QTest::newRow("above the limit") << 95.0 << true << 0.0 << 500.0 << 10.0 << 80.0 << 80.0;
    QTest::newRow("swapped band") << 120.0 << false << 50.0 << 0.0 << 80.0 << 10.0 << 50.0;
    QTest::newRow("no band: defaults, high")
        << 120.0 << true << 2000.0 << 0.0 << NaN << Inf << 1000.0;
    QTest::newRow("no band: defaults, low")
        << 120.0 << true << 0.001 << 0.0 << -Inf << 90.0 << 0.01;
}

void TestPricing::impliedBounds()
{
    QFETCH(double, k);
    QFETCH(bool, put);
    QFETCH(double, atVol);
    QFETCH(double, price);
    QFETCH(double, low);
    QFETCH(double, high);
    QFETCH(double, expected);
    VolatInputParams in = option(100.0, k, 0.5);
    if (atVol > 0.0) {
        VolatInputParams noBand = in;
        noBand.volatLow = 0.0;
        const VolatOutputParams out = value(noBand, atVol);
        price = put ? out.putPrice : out.callPrice;
    }
    const double got = volatByTheorPrice(in, put, price, 40.0, low, high, 1e-10, 1e-8);
    QVERIFY2(near(got, expected, 1e-8), qPrintable(QString::number(got, 'g', 17)));
}

void TestPricing::impliedDegenerateInputsStayInBand_data()
{
    QTest::addColumn<double>("f");
    QTest::addColumn<double>("k");
    QTest::addColumn<double>("st");
    QTest::addColumn<double>("price");
    QTest::addColumn<double>("start");
    QTest::newRow("nan price") << 100.0 << 100.0 << 0.5 << NaN << 30.0;
    QTest::newRow("expiry") << 100.0 << 90.0 << 0.0 << 12.0 << 30.0;
    QTest::newRow("infinite time") << 100.0 << 90.0 << Inf << 12.0 << 300.0;
    QTest::newRow("zero future") << 0.0 << 90.0 << 0.5 << 12.0 << 30.0;
    QTest::newRow("nan strike") << 100.0 << NaN << 0.5 << 12.0 << -Inf;
    QTest::newRow("huge strike") << 1e-300 << 1e300 << 0.5 << 1e-301 << 30.0;
    QTest::newRow("tiny time") << 100.0 << 100.0 << 1e-300 << 1.0 << 30.0;
    QTest::newRow("tiny price") << 100.0 << 200.0 << 0.01 << 1e-320 << 30.0;
}

void TestPricing::impliedDegenerateInputsStayInBand()
{
    QFETCH(double, f);
    QFETCH(double, k);
    QFETCH(double, st);
    QFETCH(double, price);
    QFETCH(double, start);
    VolatInputParams in;
    in.basePrice = f;
    in.strike = k;
    in.sqrtTime = st;
    for (bool put : {false, true}) {
        const double got = volatByTheorPrice(in, put, price, start, 5.0, 200.0, 1e-10, 1e-8);
        QVERIFY2(got >= 5.0 && got <= 200.0, qPrintable(QString::number(got)));
    }
}

QTEST_APPLESS_MAIN(TestPricing)
#include "tst_pricing.moc"
