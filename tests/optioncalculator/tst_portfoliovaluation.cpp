// Valuation of the model portfolio with the real pricing functions: the states of a row's
// model values as valuation and market ticks carry them, the volatility band, and the
// valuation of a position at any price for the profiles.
#include "portfoliofixture.h"

#include <QSignalSpy>
#include <QtTest>

namespace {

constexpr double Step = 10.0;

double price(const VolatInputParams& in, double volatility, bool put)
{
    VolatOutputParams out;
    calcVolatParams(out, in, volatility);
    return put ? out.putPrice : out.callPrice;
}

// Years from the server's now to 19:00 of the expiry, less some days.
double yearsLeft(const Record& security, int days)
{
    const qint64 ms = security.data(QStringLiteral("expdate")).toDatetime() + 68400000 -
                      TestMarket::serverNow() - days * 86400000LL;
    return ms / 1000.0 / 3.1536e7;
}

} // namespace

class TestPortfolioValuation : public QObject
{
    Q_OBJECT

private slots:
    void rowStates_data();
    void rowStates();
    void editsAndTicks();
    void volatBand_data();
    void volatBand();
    void profilePointOfData_data();
    void profilePointOfData();
    void unusableValuesClearOnlyTheirFlag();
    void greeksToldOncePerPass();
};

void TestPortfolioValuation::rowStates_data()
{
    // Expected values: a decimal, an invalid variant for null, or a word: "market" (the
    // market's volat or price), "grid" (mp on the grid, within half a step of the price at
    // miv), "implied" (miv prices at mp, to its last digit), "bound" (mp the upper bound's
    // price on the grid, miv at the bound or just inside it, as the grid allows).
    QTest::addColumn<QString>("security");
    QTest::addColumn<int>("flag");
    QTest::addColumn<QVariant>("miv");
    QTest::addColumn<QVariant>("mp");
    QTest::addColumn<int>("expectedFlag");
    QTest::addColumn<QVariant>("expectedMiv");
    QTest::addColumn<QVariant>("expectedMp");

    const QVariant null, market = QStringLiteral("market"), grid = QStringLiteral("grid"),
                         implied = QStringLiteral("implied"), bound = QStringLiteral("bound");
    QTest::newRow("option, 0: the market's")
        << Call << 0 << dec(25) << dec(1230, 5) << 0 << market << market;
    QTest::newRow("option, 1 becomes 3 at the market's")
        << Call << 1 << null << null << 3 << market << grid;
    QTest::newRow("option, 2 keeps miv")
        << Call << 2 << dec(25) << dec(1230, 5) << 2 << dec(25) << null;
    QTest::newRow("option, 3: mp follows") << Call << 3 << dec(25) << null << 3 << dec(25) << grid;
    QTest::newRow("put, 3: mp follows") << Put << 3 << dec(40) << null << 3 << dec(40) << grid;
    QTest::newRow("option, 3 above the band")
        << Call << 3 << dec(500) << null << 3 << dec(200) << grid;
    QTest::newRow("option, 3 below the band") << Call << 3 << dec(1) << null << 3 << dec(5) << grid;
    QTest::newRow("option, 4 keeps mp")
        << Call << 4 << dec(25) << dec(1230, 5) << 4 << null << dec(1230, 5);
    QTest::newRow("option, 5: miv follows")
        << Call << 5 << null << dec(3000, 5) << 5 << implied << dec(3000, 5);
    QTest::newRow("option, 5 off the grid")
        << Call << 5 << null << dec(3004.5, 5) << 5 << implied << dec(3000, 5);
    QTest::newRow("option, 5 below a step")
        << Put << 5 << null << dec(3, 5) << 5 << implied << dec(10, 5);
    QTest::newRow("option, 5 out of reach")
        << Call << 5 << null << dec(50000, 5) << 5 << bound << bound;
    QTest::newRow("future, 0: the market's")
        << Future << 0 << null << dec(1, 5) << 0 << null << market;
    QTest::newRow("future, 1 becomes 5") << Future << 1 << null << null << 5 << null << market;
    QTest::newRow("future, 4 keeps mp")
        << Future << 4 << dec(25) << dec(149990, 5) << 4 << null << dec(149990, 5);
    QTest::newRow("future, 5 off the grid")
        << Future << 5 << null << dec(150004, 5) << 5 << null << dec(150000, 5);
}

void TestPortfolioValuation::rowStates()
{
    QFETCH(QString, security);
    QFETCH(int, flag);
    QFETCH(QVariant, miv);
    QFETCH(QVariant, mp);
    QFETCH(int, expectedFlag);
    QFETCH(QVariant, expectedMiv);
    QFETCH(QVariant, expectedMp);

    PortfolioFixture f;
    const Record row = f.addRow(security, 2, flag, miv, mp);
    const Record s = f.market.security(security);
    const bool isOption = security != Future;
    const bool put = s.data(QStringLiteral("option_type")).toString() == QLatin1String("P");
    QCOMPARE(PortfolioFixture::flag(row), expectedFlag);

    auto check = [&](const char* column, const QVariant& expected) {
        const Field field = row.data(QLatin1String(column));
        if (!expected.isValid())
            QVERIFY2(field.isNull(), column);
        else if (expected.userType() == decimal::metatypeId())
            QCOMPARE(field.toDecimal(), expected.value<decimal>());
    };
    check("miv", expectedMiv);
    check("mp", expectedMp);

    const VolatInputParams in = isOption ? f.inputs(security) : VolatInputParams();
    const double rowMiv = PortfolioFixture::dec(row, "miv").toDouble();
    const double rowMp = PortfolioFixture::dec(row, "mp").toDouble();
    if (expectedMiv == QStringLiteral("market"))
        QCOMPARE(PortfolioFixture::dec(row, "miv"),
                 decimal::fromDouble(s.data(QStringLiteral("volat")).toDouble(), 2));
    if (expectedMp == QStringLiteral("market"))
        QCOMPARE(PortfolioFixture::dec(row, "mp"),
                 s.data(isOption ? QStringLiteral("theor_price") : QStringLiteral("cur_kotir_real"))
                     .toDecimal());
    if (expectedMp == QStringLiteral("grid")) {
        QCOMPARE(std::fmod(rowMp, Step), 0.0);
        QVERIFY(rowMp >= Step);
        QVERIFY(std::fabs(rowMp - price(in, rowMiv, put)) <= Step / 2);
    }
    if (expectedMp == QStringLiteral("bound")) {
        QCOMPARE(std::fmod(rowMp, Step), 0.0);
        QVERIFY(std::fabs(rowMp - price(in, 200.0, put)) <= Step / 2);
        QVERIFY(rowMiv >= 199.9 && rowMiv <= 200.0);
    }
    if (expectedMiv == QStringLiteral("implied")) {
        // Half a unit of miv's last digit either way, and the search's accuracy, bracket
        // the price.
        const double a = price(in, rowMiv - 0.0065, put), b = price(in, rowMiv + 0.0065, put);
        QVERIFY2(std::min(a, b) <= rowMp && rowMp <= std::max(a, b),
                 qPrintable(QString::number(rowMiv)));
    }
    // With model values in use an option's Greeks are those at its miv; otherwise the row
    // keeps none of its own.
    if (isOption && (expectedFlag & 1)) {
        VolatOutputParams out;
        calcVolatParams(out, in, rowMiv);
        QCOMPARE(PortfolioFixture::dec(row, "delta"),
                 decimal::fromDouble(put ? out.putDelta : out.callDelta, 6));
        QCOMPARE(PortfolioFixture::dec(row, "gamma"), decimal::fromDouble(out.gamma, 10));
        QCOMPARE(PortfolioFixture::dec(row, "vega"), decimal::fromDouble(out.vega, 6));
        QCOMPARE(PortfolioFixture::dec(row, "theta"), decimal::fromDouble(out.theta, 6));
    } else if (flag == 0) {
        QVERIFY(row.data(QStringLiteral("delta")).isNull());
    }
}

void TestPortfolioValuation::editsAndTicks()
{
    PortfolioFixture f;
    const Record row = f.addRow(Call, 1);
    auto miv = [&] { return PortfolioFixture::dec(row, "miv").toDouble(); };
    auto mp = [&] { return PortfolioFixture::dec(row, "mp").toDouble(); };
    auto isNull = [&](const char* column) { return row.data(QLatin1String(column)).isNull(); };
    const double marketVolat = f.market.security(Call).data(QStringLiteral("volat")).toDouble();
    QCOMPARE(miv(), decimal::fromDouble(marketVolat, 2).toDouble());

    // Typing a volatility; the check box off keeps it and drops mp; on again, mp is back.
    f.set(row, {{"miv_mp_flag", 3}, {"miv", 30.0}});
    const double mpAt30 = mp();
    QVERIFY(std::fabs(mpAt30 - price(f.inputs(Call), 30, false)) <= Step / 2);
    f.set(row, {{"miv_mp_flag", 2}});
    QVERIFY(isNull("mp"));
    QCOMPARE(miv(), 30.0);
    f.set(row, {{"miv_mp_flag", 3}});
    QCOMPARE(mp(), mpAt30);

    // Typing a price; off keeps the price, drops miv; 0 goes back to the market.
    f.set(row, {{"miv_mp_flag", 5}, {"mp", 2000.0}});
    QVERIFY(miv() > 5 && miv() < 30);
    f.set(row, {{"miv_mp_flag", 4}});
    QVERIFY(isNull("miv"));
    QCOMPARE(mp(), 2000.0);
    f.set(row, {{"miv_mp_flag", 0}});
    QCOMPARE(miv(), decimal::fromDouble(marketVolat, 2).toDouble());
    f.set(row, {{"miv_mp_flag", 3}, {"miv", 30.0}});

    // Ticks. The base future's quote alone reaches no option row; the option's own tick
    // values it at the new quote, and the views learn of the new mp. A tick that changes
    // none of the row's values writes nothing.
    f.market.setField(Future, QStringLiteral("cur_kotir"), QVariant::fromValue(decimal(152000, 0)));
    QCOMPARE(mp(), mpAt30);
    QSignalSpy changes(f.model.get(), SIGNAL(dataChanged(QModelIndex, QModelIndex, QVector<int>)));
    auto mpChanged = [&] {
        const int column = f.model->fieldIndex(QStringLiteral("mp"));
        return std::any_of(changes.begin(), changes.end(), [&](const QList<QVariant>& change) {
            return change.at(0).toModelIndex().column() <= column &&
                   change.at(1).toModelIndex().column() >= column;
        });
    };
    for (int bid : {4000, 4010}) {
        changes.clear();
        f.market.setField(Call, QStringLiteral("bid"), QVariant::fromValue(decimal(bid, 0)));
        QCOMPARE(mpChanged(), bid == 4000);
    }
    QVERIFY(std::fabs(mp() - price(f.inputs(Call), 30, false)) <= Step / 2);
    QVERIFY(mp() > mpAt30 + 500);

    // With the price fixed a tick moves the volatility instead.
    f.set(row, {{"miv_mp_flag", 5}, {"mp", 5000.0}});
    const double mivBefore = miv();
    f.market.setField(Future, QStringLiteral("cur_kotir"), QVariant::fromValue(decimal(148000, 0)));
    f.market.setField(Call, QStringLiteral("bid"), QVariant::fromValue(decimal(4000, 0)));
    QVERIFY(miv() > mivBefore + 1);
    QCOMPARE(mp(), 5000.0);

    // Without a volatility of its own a row is priced on the smile, read anew once the
    // smile changed.
    f.set(row, {{"miv_mp_flag", 4}});
    f.market.setField(Call, QStringLiteral("bid"), QVariant::fromValue(decimal(4020, 0)));
    const decimal onSmile = PortfolioFixture::dec(row, "vega");
    f.market.setCoefficient(11, QStringLiteral("a"), 60.0);
    f.market.setField(Call, QStringLiteral("bid"), QVariant::fromValue(decimal(4030, 0)));
    QVERIFY(PortfolioFixture::dec(row, "vega") != onSmile);

    // Without any quote of the base the row is left as it stands.
    f.set(row, {{"miv_mp_flag", 3}, {"miv", 30.0}});
    const double mpBefore = mp();
    f.market.setField(Future, QStringLiteral("cur_kotir"), QVariant());
    f.market.setField(Future, QStringLiteral("old_kotir"), QVariant());
    f.set(row, {{"miv", 45.0}});
    QCOMPARE(miv(), 45.0);
    QCOMPARE(mp(), mpBefore);
}

void TestPortfolioValuation::volatBand_data()
{
    QTest::addColumn<QString>("security");
    QTest::addColumn<QVariant>("low");
    QTest::addColumn<QVariant>("high");
    QTest::addColumn<double>("expectedLow");
    QTest::addColumn<double>("expectedHigh");

    QTest::newRow("as published") << Call << dec(5) << dec(200) << 5.0 << 200.0;
    QTest::newRow("swapped") << Call << dec(200) << dec(5) << 5.0 << 200.0;
    QTest::newRow("zero limits: the defaults") << Call << dec(0) << dec(0) << 0.01 << 1000.0;
    QTest::newRow("no limits") << Call << QVariant() << QVariant() << 0.01 << 1000.0;
    QTest::newRow("upper zero") << Call << dec(7) << dec(0) << 7.0 << 1000.0;
    QTest::newRow("never down to zero") << Call << dec(0.001, 4) << dec(50) << 0.01 << 50.0;
    QTest::newRow("swapped, high below the default minimum: not swapped")
        << Call << dec(300) << dec(-5) << 300.0 << 300.0;
    QTest::newRow("swapped, low above the default maximum: not swapped")
        << Call << dec(2000) << dec(5) << 2000.0 << 2000.0;
    QTest::newRow("a future: the defaults") << Future << dec(5) << dec(200) << 0.01 << 1000.0;
}

void TestPortfolioValuation::volatBand()
{
    QFETCH(QString, security);
    QFETCH(QVariant, low);
    QFETCH(QVariant, high);
    QFETCH(double, expectedLow);
    QFETCH(double, expectedHigh);

    PortfolioFixture f;
    f.market.setField(security, QStringLiteral("volat_min"), low);
    f.market.setField(security, QStringLiteral("volat_max"), high);
    const VolatBand band = f.model->volatBand(f.market.security(security));
    QCOMPARE(band.low, expectedLow);
    QCOMPARE(band.high, expectedHigh);
    QCOMPARE(f.model->volatBand(Record()).high, VolatMaxDefault);
}

void TestPortfolioValuation::profilePointOfData_data()
{
    // volatility: the one the point must be valued at, -1 for the market's; days: the
    // shift of time expected, -1 for expiry.
    QTest::addColumn<QString>("security");
    QTest::addColumn<int>("flag");
    QTest::addColumn<int>("mode");
    QTest::addColumn<double>("shift");
    QTest::addColumn<int>("daysShift");
    QTest::addColumn<double>("price");
    QTest::addColumn<double>("volatility");
    QTest::addColumn<int>("days");

    QTest::newRow("call, current") << Call << 0 << 1 << 0.0 << 0 << 152000.0 << -1.0 << 0;
    QTest::newRow("put, current") << Put << 0 << 1 << 0.0 << 0 << 143000.0 << -1.0 << 0;
    QTest::newRow("current ignores miv and shifts")
        << Call << 3 << 1 << 5.0 << 3 << 152000.0 << -1.0 << 0;
    QTest::newRow("what-if: miv and shift") << Call << 3 << 0 << 5.0 << 0 << 152000.0 << 35.0 << 0;
    QTest::newRow("what-if: market volat when off")
        << Call << 2 << 0 << 0.0 << 0 << 152000.0 << -1.0 << 0;
    QTest::newRow("what-if: shift clamped up")
        << Put << 3 << 0 << 500.0 << 0 << 146000.0 << 200.0 << 0;
    QTest::newRow("what-if: shift clamped down")
        << Put << 3 << 0 << -500.0 << 0 << 146000.0 << 5.0 << 0;
    QTest::newRow("what-if: days") << Call << 0 << 0 << 0.0 << 5 << 149000.0 << -1.0 << 5;
    QTest::newRow("expiry: intrinsic, days ignored")
        << Call << 0 << 2 << 0.0 << 5 << 153456.0 << -1.0 << -1;
    QTest::newRow("expiry: put out of the money")
        << Put << 0 << 2 << 0.0 << 0 << 146000.0 << -1.0 << -1;
    QTest::newRow("future, what-if") << Future << 5 << 0 << 5.0 << 5 << 150123.0 << 0.0 << 0;
    QTest::newRow("future, expiry") << Future << 0 << 2 << 0.0 << 0 << 149876.0 << 0.0 << -1;
}

void TestPortfolioValuation::profilePointOfData()
{
    QFETCH(QString, security);
    QFETCH(int, flag);
    QFETCH(int, mode);
    QFETCH(double, shift);
    QFETCH(int, daysShift);
    QFETCH(double, price);
    QFETCH(double, volatility);
    QFETCH(int, days);

    PortfolioFixture f;
    const qint64 pos = -3;
    const Record row = f.addRow(security, pos, flag, dec(30));
    f.model->setVolatShift(decimal::fromDouble(shift, 2));
    f.model->setVolatShiftEnabled(shift != 0.0);
    f.model->setDaysShift(daysShift);
    f.model->setDaysShiftEnabled(daysShift != 0);
    const Record s = f.market.security(security);
    const PositionValuationData data = f.model->positionValuationData(f.rowOf(row));
    const double years = f.model->yearsToExpiry(data.lasttime, data.expdate, mode);
    const ProfilePoint point = f.model->profilePointOfData(price, mode, years, data);
    QCOMPARE(f.model->profilePointOfRow(price, mode, f.rowOf(row)).profit(), point.profit());

    double expected[ProfilePoint::ValueCount] = {};
    const double theor = s.data(QStringLiteral("theor_price")).toDouble();
    if (security == Future) {
        expected[0] = std::floor((price - 150000.0) / Step + 0.5) * Step * pos;
        expected[1] = pos;
    } else {
        QCOMPARE(years, days < 0 ? 0.01 / 3.1536e7 : yearsLeft(s, days));
        VolatInputParams in = f.inputs(security);
        in.basePrice = price;
        in.sqrtTime = std::sqrt(years);
        VolatOutputParams out;
        calcVolatParams(out, in,
                        volatility < 0 ? s.data(QStringLiteral("volat")).toDouble() : volatility);
        const bool put = security == Put;
        expected[0] =
            std::floor(((put ? out.putPrice : out.callPrice) - theor) / Step + 0.5) * Step * pos;
        expected[1] = pos * (put ? out.putDelta : out.callDelta);
        expected[2] = pos * out.gamma;
        expected[3] = pos * out.vega;
        expected[4] = pos * out.theta;
    }
    for (int i = 0; i < ProfilePoint::ValueCount; ++i) {
        QVERIFY(point.valid[i]);
        QVERIFY2(std::fabs(point.values[i] - expected[i]) <= 1e-9 * (1 + std::fabs(expected[i])),
                 qPrintable(
                     QStringLiteral("%1: %2 != %3").arg(i).arg(point.values[i]).arg(expected[i])));
    }
    // Profit comes in whole price steps.
    QCOMPARE(std::fmod(point.profit(), Step), 0.0);
    // No point without a price or a time, and none in an unknown mode.
    QVERIFY(!f.model->profilePointOfData(0.0, mode, years, data).valid[0]);
    QVERIFY(!f.model->profilePointOfData(price, mode, 0.0, data).valid[0]);
    QVERIFY(!f.model->profilePointOfData(price, 3, years, data).valid[0]);
}

void TestPortfolioValuation::unusableValuesClearOnlyTheirFlag()
{
    PortfolioFixture f;
    // Profit of this future leaves the range of a decimal above 150002; its delta does not.
    const qint64 huge = 1000000000000000LL;
    f.addRow(Future, huge);
    const Record put = f.addRow(Put, 2);
    const ProfilePoint putPoint = f.model->profilePoint(150030.0, 1, f.rowOf(put));
    const ProfilePoint sum = f.model->profilePoint(150030.0, 1, -1);
    QVERIFY(!sum.valid[ProfilePoint::Profit]);
    for (int i = ProfilePoint::Delta; i < ProfilePoint::ValueCount; ++i)
        QVERIFY(sum.valid[i]);
    QCOMPARE(sum.delta(), double(huge) + putPoint.delta());
    QCOMPARE(sum.vega(), putPoint.vega());

    // A row that is switched off is no part of the sum; with none left, nothing is usable.
    const ProfilePoint near = f.model->profilePoint(150000.0, 1, -1);
    QVERIFY(near.valid[ProfilePoint::Profit]);
    f.set(put, {{"flags", 0}});
    QCOMPARE(f.model->profilePoint(150000.0, 1, -1).gamma(), 0.0);
    QVERIFY(!f.model->profilePointOfRow(150000.0, 1, f.rowOf(put)).valid[ProfilePoint::Delta]);
    f.market.delist(Future);
    const ProfilePoint none = f.model->profilePoint(150000.0, 1, -1);
    QVERIFY(!none.valid[ProfilePoint::Delta] && none.delta() == 0.0);
}

void TestPortfolioValuation::greeksToldOncePerPass()
{
    PortfolioFixture f;
    QList<Record> options;
    for (const char* name : {"RI140000CA", "RI150000CA", "RI145000PA", "RI160000PB"})
        options << f.addRow(QLatin1String(name), 1, 3, dec(30));
    f.addRow(Future, 1, 5, QVariant(), dec(150000, 5));
    const int delta = f.model->fieldIndex(QStringLiteral("delta"));
    const int theta = f.model->fieldIndex(QStringLiteral("theta"));
    QSignalSpy spy(f.model.get(), SIGNAL(dataChanged(QModelIndex, QModelIndex, QVector<int>)));
    // The rows of the Greek notices, one list per notice.
    auto greekNotices = [&] {
        QList<QPair<int, int>> notices;
        for (const QList<QVariant>& signal : qAsConst(spy)) {
            const QModelIndex from = signal.at(0).toModelIndex(), to = signal.at(1).toModelIndex();
            if (from.column() == delta && to.column() == theta)
                notices.append({from.row(), to.row()});
        }
        return notices;
    };

    // A pass over every row values each option and tells all their Greeks at once.
    f.model->valueRows(f.model->index(0, 0),
                       f.model->index(f.model->rowCount() - 1, f.model->columnCount() - 1));
    const QList<QPair<int, int>> pass = greekNotices();
    QCOMPARE(pass.size(), 1);
    for (const Record& option : qAsConst(options)) {
        const int row = f.rowOf(option);
        QVERIFY2(pass.first().first <= row && row <= pass.first().second,
                 qPrintable(QString::number(row)));
    }

    // A row valued by itself is told at once, and alone.
    const int row = f.rowOf(options.at(2));
    spy.clear();
    f.model->valueOptionRow(row);
    QCOMPARE(greekNotices(), (QList<QPair<int, int>>{{row, row}}));
}

QTEST_MAIN(TestPortfolioValuation)
#include "tst_portfoliovaluation.moc"
