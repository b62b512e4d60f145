// The profile engine without a widget: the grid of prices over the strikes and the view,
// and the calculation of the profiles, checked against valuations made here by other means
// (payoffs at expiry, futures by hand) on the shared test market.
#include "portfoliofixture.h"

#include "profile/profilecalculator.h"
#include "profile/profilegrid.h"

#include "portfolio/positionvaluation.h"
#include "portfolio/valuationmode.h"

#include <QtTest>

#include <cmath>

namespace {

QList<double> strikes(double first, double last, double step)
{
    QList<double> list;
    for (double s = first; s <= last + 1e-9; s += step)
        list.append(s);
    return list;
}

// A future's row as a snapshot holds it, valued by hand: (x - quote) in whole steps.
ValuationSnapshot::Row future(double step, double quote, qint64 pos)
{
    ValuationSnapshot::Row row;
    row.data.sectype = QLatin1Char('F');
    row.data.priceStep = step;
    row.data.curKotirReal = quote;
    row.data.pos = pos;
    return row;
}

double profitOf(const ProfileCurves& curves, int set, int profile, int i)
{
    return curves.series.at(set).at(ProfilePoint::Profit).at(profile).at(i).y();
}

} // namespace

class TestProfile : public QObject
{
    Q_OBJECT

private slots:
    void grid_data();
    void grid();
    void curveSets_data();
    void curveSets();
    void againstPayoffAtExpiry();
    void boughtAtTheoryIsFlatToday();
    void sumRoundedToLastRowsStep_data();
    void sumRoundedToLastRowsStep();
    void valueOutOfRangeClearsItsPlotOnly();
};

void TestProfile::grid_data()
{
    QTest::addColumn<QList<double>>("strikes");
    QTest::addColumn<double>("low");
    QTest::addColumn<double>("high");
    QTest::addColumn<double>("baseStep");
    QTest::addColumn<int>("size");
    QTest::addColumn<double>("fineFrom"); // points from here to fineTo lie fine apart
    QTest::addColumn<double>("fineTo");
    QTest::addColumn<double>("fine");

    const QList<double> three{100, 110, 120};
    // Strikes 100, 110, 120, view 105 to 115: bounds 100 and 120, one step inside, 50
    // points in each step.
    QTest::newRow("window of one step") << three << 105.0 << 115.0 << 0.01 << 103 << 100.0
                                        << 120.0 << 10.0 / 51;
    // All strikes in view: ten steps of ten points each.
    QTest::newRow("view wider than the strikes")
        << strikes(100, 200, 10) << 50.0 << 250.0 << 0.01 << 111 << 100.0 << 200.0 << 10.0 / 11;
    // Strikes 130 to 150 in view, widened to 120 and 160: four steps of 25 points.
    QTest::newRow("part of the strikes") << strikes(100, 200, 10) << 125.0 << 155.0 << 0.01
                                         << 111 << 120.0 << 160.0 << 10.0 / 26;
    QTest::newRow("more than a hundred steps in view")
        << strikes(100, 1300, 10) << 0.0 << 2000.0 << 0.01 << 121 << 100.0 << 1300.0 << 10.0;
    QTest::newRow("narrower than a hundred base steps")
        << three << 105.0 << 115.0 << 1.0 << 3 << 100.0 << 120.0 << 10.0;
    QTest::newRow("beside the strikes") << three << 130.0 << 150.0 << 0.01 << 0 << 0.0 << 0.0
                                        << 0.0;
    QTest::newRow("an axis never set") << three << -1.0 << 1.0 << 0.01 << 0 << 0.0 << 0.0 << 0.0;
    QTest::newRow("strikes out of order") << QList<double>{100, 120, 110} << 105.0 << 115.0
                                          << 0.01 << 0 << 0.0 << 0.0 << 0.0;
    QTest::newRow("no strikes") << QList<double>{} << 105.0 << 115.0 << 0.01 << 0 << 0.0 << 0.0
                                << 0.0;
}

void TestProfile::grid()
{
    QFETCH(QList<double>, strikes);
    QFETCH(double, low);
    QFETCH(double, high);
    QFETCH(double, baseStep);
    QFETCH(int, size);
    QFETCH(double, fineFrom);
    QFETCH(double, fineTo);
    QFETCH(double, fine);

    const QList<double> grid = profileGrid(strikes, low, high, 10.0, baseStep);
    QCOMPARE(grid.size(), size);
    if (grid.isEmpty())
        return;
    QCOMPARE(grid.first(), strikes.first());
    QVERIFY(qAbs(grid.last() - strikes.last()) < 1e-9);
    for (int i = 0; i + 1 < grid.size(); ++i) {
        const double gap = grid.at(i + 1) - grid.at(i);
        const bool inWindow = grid.at(i) >= fineFrom - 1e-9 && grid.at(i + 1) <= fineTo + 1e-9;
        QVERIFY2(qAbs(gap - (inWindow ? fine : 10.0)) < 1e-9,
                 qPrintable(QStringLiteral("%1 to %2").arg(grid.at(i)).arg(grid.at(i + 1))));
    }
}

void TestProfile::curveSets_data()
{
    QTest::addColumn<int>("modes");
    QTest::addColumn<int>("sets");
    QTest::newRow("partial") << int(PartialCurves) << 3;
    QTest::newRow("summary") << int(SummaryCurves) << 1;
    QTest::newRow("both, the sum last") << int(PartialCurves | SummaryCurves) << 4;
    QTest::newRow("neither") << 0 << 0;
}

void TestProfile::curveSets()
{
    QFETCH(int, modes);
    QFETCH(int, sets);

    PortfolioFixture f;
    f.addRow(Call, -1);
    f.addRow(Put, 3);
    f.addRow(Future, 2);
    const QList<double> grid{140000, 150000, 160000};
    const ProfileCurves curves = calculateProfiles(f.model->valuationSnapshot(), grid, 3, modes);
    QCOMPARE(curves.curveSetCount(), sets);
    for (int g = 0; g < ProfilePoint::ValueCount; ++g)
        QCOMPARE(curves.isValid(g), sets > 0);
    if (sets == 0)
        return;

    // The positions add up to the portfolio as the model values it at one price, and the
    // sum, last, is that value.
    const int partials = modes & PartialCurves ? 3 : 0;
    for (int profile = 0; profile < ValuationModeCount; ++profile) {
        for (int i = 0; i < grid.size(); ++i) {
            const ProfilePoint whole = f.model->profilePoint(grid.at(i), profile, -1);
            double delta = 0.0;
            for (int k = 0; k < partials; ++k)
                delta += curves.series[k][ProfilePoint::Delta][profile][i].y();
            if (partials)
                QVERIFY(qAbs(delta - whole.delta()) < 1e-9);
            if (modes & SummaryCurves) {
                QCOMPARE(curves.series[sets - 1][ProfilePoint::Delta][profile][i],
                         QPointF(grid.at(i), whole.delta()));
                QCOMPARE(profitOf(curves, sets - 1, profile, i), whole.profit());
            }
        }
    }
}

void TestProfile::againstPayoffAtExpiry()
{
    PortfolioFixture f;
    f.addRow(Call, -1);
    f.addRow(Future, 2);
    const double callTheory = f.market.security(Call).data(QStringLiteral("theor_price")).toDouble();
    const double quote = f.market.security(Future).data(QStringLiteral("cur_kotir_real")).toDouble();
    const QList<double> grid{140000, 150000, 153330, 160000};
    const ProfileCurves curves = calculateProfiles(f.model->valuationSnapshot(), grid, 2,
                                                   PartialCurves | SummaryCurves);
    QCOMPARE(curves.curveSetCount(), 3);
    for (int i = 0; i < grid.size(); ++i) {
        const double x = grid.at(i);
        // At expiry the call is worth what it pays: short one, in whole steps of 10.
        const double call = -std::floor((std::max(x - 150000.0, 0.0) - callTheory) / 10 + 0.5) * 10;
        const double fut = 2 * (x - quote);
        QCOMPARE(profitOf(curves, 0, ExpiryValuation, i), call);
        QCOMPARE(profitOf(curves, 1, ExpiryValuation, i), fut);
        QCOMPARE(profitOf(curves, 2, ExpiryValuation, i), call + fut);
        // Deltas at expiry: the call's is 0 or 1 a contract, the future's its quantity.
        const double callDelta = x > 150000 ? -1.0 : (x < 150000 ? 0.0 : -0.5);
        QVERIFY(qAbs(curves.series[0][ProfilePoint::Delta][ExpiryValuation][i].y() - callDelta)
                < 1e-5);
        QCOMPARE(curves.series[1][ProfilePoint::Delta][CurrentValuation][i].y(), 2.0);
    }
}

void TestProfile::boughtAtTheoryIsFlatToday()
{
    PortfolioFixture f;
    f.addRow(Put, 1);
    const double base =
        f.market.security(Future).data(QStringLiteral("cur_kotir")).toDouble();
    const ProfileCurves curves =
        calculateProfiles(f.model->valuationSnapshot(), {base}, 1, PartialCurves);
    // Today, at today's price, the model price is the exchange's theory: no profit.
    QCOMPARE(profitOf(curves, 0, CurrentValuation, 0), 0.0);
    // Without a what-if setting the what-if profile is today's.
    QCOMPARE(profitOf(curves, 0, WhatIfValuation, 0), 0.0);
}

void TestProfile::sumRoundedToLastRowsStep_data()
{
    QTest::addColumn<bool>("fineLast");
    QTest::addColumn<double>("sum");
    // At 103 over quotes of 100: 3 in steps of 1, 5 in steps of 5 (3 rounds up), 8 together.
    QTest::newRow("step 5 last") << false << 10.0;
    QTest::newRow("step 1 last") << true << 8.0;
}

void TestProfile::sumRoundedToLastRowsStep()
{
    QFETCH(bool, fineLast);
    QFETCH(double, sum);
    ValuationSnapshot snapshot;
    snapshot.rows = {future(1, 100, 1), future(5, 100, 1)};
    if (fineLast)
        std::swap(snapshot.rows[0], snapshot.rows[1]);
    const ProfileCurves curves =
        calculateProfiles(snapshot, {103}, 2, PartialCurves | SummaryCurves);
    QCOMPARE(profitOf(curves, fineLast ? 1 : 0, CurrentValuation, 0), 3.0);
    QCOMPARE(profitOf(curves, fineLast ? 0 : 1, CurrentValuation, 0), 5.0);
    QCOMPARE(profitOf(curves, 2, CurrentValuation, 0), sum);
}

void TestProfile::valueOutOfRangeClearsItsPlotOnly()
{
    // At its own quote a future of 2e16 contracts has no profit, but a delta beyond what
    // the plots can hold.
    ValuationSnapshot snapshot;
    snapshot.rows = {future(1, 100, 20000000000000000LL)};
    ProfileCurves curves = calculateProfiles(snapshot, {100}, 1, SummaryCurves);
    const QList<bool> expected{true, false, true, true, true};
    for (int g = 0; g < ProfilePoint::ValueCount; ++g)
        QCOMPARE(curves.isValid(g), expected.at(g));

    // Rows that cannot be valued, or nothing to value, give nothing at all.
    ValuationSnapshot none;
    none.rows = {ValuationSnapshot::Row()};
    curves = calculateProfiles(none, {100}, 1, SummaryCurves);
    QCOMPARE(curves.curveSetCount(), 0);
    QVERIFY(!curves.isValid(0));
    QCOMPARE(calculateProfiles(snapshot, {}, 1, SummaryCurves).curveSetCount(), 0);
    QCOMPARE(calculateProfiles(snapshot, {100}, 0, SummaryCurves).curveSetCount(), 0);
}

QTEST_MAIN(TestProfile)
#include "tst_profile.moc"
