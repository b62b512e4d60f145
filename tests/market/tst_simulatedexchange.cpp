#include "marketdump.h"

#include "database/index.h"
#include "database/pricing.h"
#include "market/markettables.h"
#include "market/simulatedexchange.h"

#include <QMap>
#include <QSet>
#include <QSignalSpy>
#include <QtTest>

#include <cmath>
#include <functional>

namespace {

constexpr qint64 TradingEndMs = 68400000;

datetime at(const QDate& date, int hour, int minute)
{
    return datetime(date) + (hour * 3600LL + minute * 60LL) * 1000LL;
}

// A Wednesday morning: the week's Thursday series is a day away.
const datetime Wednesday = at(QDate(2025, 3, 12), 10, 0);

SimulatedExchange::Options optionsOf(quint64 seed, const datetime& now = Wednesday,
                                     bool large = false)
{
    SimulatedExchange::Options o;
    o.seed = seed;
    o.now = now;
    o.large = large;
    return o;
}

bool onGrid(decimal value, decimal step)
{
    value.setScale(MarketTables::PriceScale);
    step.setScale(MarketTables::PriceScale);
    return step.value() > 0 && value.value() % step.value() == 0;
}

Record coefficientsOf(const Table* volatCoeff, int isinId)
{
    Record key(volatCoeff);
    key.data(QStringLiteral("isin_id")) = isinId;
    return volatCoeff->masterIndex()->findByKey(key);
}

// Everything that must hold of the market at any moment; empty when it does.
QStringList marketProblems(const MarketTables& tables, const datetime& now)
{
    QStringList problems;
    const Table* sec = tables.securities();
    const MarketTables::SecuritiesColumns sc(sec);
    const MarketTables::PositionsColumns pc(tables.positions());
    const MarketTables::VolatCoeffColumns vc(tables.volatCoeff());
    auto require = [&](bool ok, const QString& name, const QString& what) {
        if (!ok && problems.size() < 20)
            problems << name + QStringLiteral(": ") + what;
    };
    auto sameDecimal = [](const Field& cell, double value) {
        return cell.toDecimal() == decimal::fromDouble(value, short(cell.length()));
    };

    // Strikes by series and option type.
    QMap<QPair<int, QString>, QList<decimal>> strikes;
    QSet<int> seriesWithOptions;
    for (const Record& r : sec->masterIndex()->records()) {
        const QString name = r.data(sc.secName).toString();
        const QString type = r.data(sc.sectype).toString();
        const decimal step = r.data(sc.priceStep).toDecimal();
        const datetime expdate = r.data(sc.expdate).toDatetime();
        const datetime last = r.data(sc.lasttime).toDatetime();
        const decimal bid = r.data(sc.bid).toDecimal(), ask = r.data(sc.ask).toDecimal();
        const decimal price = r.data(sc.price).toDecimal();
        const decimal theor = r.data(sc.theorPrice).toDecimal();
        const bool noBid = r.data(sc.bid).isNull();
        require(!expdate.isNull() && expdate.msecs() + TradingEndMs > now.msecs(), name,
                QStringLiteral("trading has ended"));
        require(!last.isNull() && last <= now, name, QStringLiteral("lasttime not before now"));
        require(r.data(sc.stockId).toInteger() == 1, name, QStringLiteral("not a derivative"));
        require(onGrid(ask, step) && onGrid(price, step) && (noBid || onGrid(bid, step)) &&
                    price >= step && ask >= step,
                name, QStringLiteral("a price off the grid or below one step"));
        require((noBid || bid <= theor) && ask >= theor, name,
                QStringLiteral("theoretical price outside bid and ask"));

        if (type == QLatin1String("F")) {
            require(r.data(sc.boardId).toInteger() == 1 &&
                        r.data(sc.optionType).toString().isEmpty(),
                    name, QStringLiteral("future not on board 1"));
            require(onGrid(r.data(sc.curKotir).toDecimal(), step) &&
                        r.data(sc.curKotir).toDecimal() == price &&
                        r.data(sc.curKotirReal).toDecimal() == price && theor == price,
                    name, QStringLiteral("future quotes disagree"));
            require(!noBid && bid < theor && ask > theor, name,
                    QStringLiteral("future bid and ask not around its price"));
            continue;
        }
        require(type == QLatin1String("O") && r.data(sc.boardId).toInteger() == 14, name,
                QStringLiteral("not an option on board 14"));
        const Record base = securityByKey(sec, 1, r.data(sc.mainSecId).toInteger64());
        const int isinId = r.data(sc.baseIsinId).toInteger();
        const Record c = coefficientsOf(tables.volatCoeff(), isinId);
        if (base.isNull() || base.data(sc.sectype).toString() != QLatin1String("F") || c.isNull()) {
            require(false, name, QStringLiteral("no base future or coefficients"));
            continue;
        }
        require(base.data(sc.baseCode).toString() == r.data(sc.baseCode).toString() &&
                    base.data(sc.expdate).toDatetime() >= expdate,
                name, QStringLiteral("base future of another base code or expiring first"));
        seriesWithOptions.insert(isinId);
        const decimal strike = r.data(sc.strike).toDecimal();
        require(!r.data(sc.strike).isNull() && strike > decimal::zero && onGrid(strike, step), name,
                QStringLiteral("strike off the grid"));
        strikes[{isinId, r.data(sc.optionType).toString()}] << strike;

        // Priced as a reader of the tables would: the base future's quote, the smile of the
        // series and the time left from the option's lasttime.
        VolatInputParams in;
        in.strike = strike.toDouble();
        in.basePrice = base.data(sc.curKotir).toDouble();
        const double seconds = (expdate.msecs() + TradingEndMs - last.msecs()) / 1000.0;
        in.sqrtTime = std::sqrt(std::max(0.0, seconds) / 3.1536e7);
        double* coefficients[] = {&in.a, &in.b, &in.c, &in.d, &in.e, &in.s};
        const int columns[] = {vc.a, vc.b, vc.c, vc.d, vc.e, vc.s};
        for (int i = 0; i < 6; ++i)
            *coefficients[i] = c.data(columns[i]).toDouble();
        in.volatLow = r.data(sc.volatMin).toDouble();
        in.volatHigh = r.data(sc.volatMax).toDouble();
        require(!r.data(sc.volatMin).isNull() && !r.data(sc.volatMax).isNull() && in.volatLow > 0 &&
                    in.volatLow <= in.volatHigh,
                name, QStringLiteral("no volatility band"));
        const double smile = qBound(in.volatLow, smileVolatility(in), in.volatHigh);
        require(sameDecimal(r.data(sc.volat), smile), name,
                QStringLiteral("volat is not the smile's %1").arg(smile));
        VolatOutputParams out;
        calcVolatParams(out, in, r.data(sc.volat).toDouble());
        const bool put = r.data(sc.optionType).toString() == QLatin1String("P");
        require(sameDecimal(r.data(sc.theorPrice), put ? out.putPrice : out.callPrice) &&
                    sameDecimal(r.data(sc.delta), put ? out.putDelta : out.callDelta) &&
                    sameDecimal(r.data(sc.gamma), out.gamma) &&
                    sameDecimal(r.data(sc.vega), out.vega) &&
                    sameDecimal(r.data(sc.theta), out.theta),
                name, QStringLiteral("price or Greeks not those at volat"));
    }

    for (auto it = strikes.begin(); it != strikes.end(); ++it) {
        const QString name = QStringLiteral("series %1").arg(it.key().first);
        QList<decimal> list = it.value();
        std::sort(list.begin(), list.end());
        require(list.size() >= 20 && list.size() <= 60, name, QStringLiteral("strike count"));
        for (int i = 2; i < list.size(); ++i)
            require(list[i] - list[i - 1] == list[1] - list[0] && list[i] != list[i - 1], name,
                    QStringLiteral("strikes not evenly spaced"));
        const QString other =
            it.key().second == QLatin1String("C") ? QStringLiteral("P") : QStringLiteral("C");
        QList<decimal> counterpart = strikes.value({it.key().first, other});
        std::sort(counterpart.begin(), counterpart.end());
        require(counterpart == list, name, QStringLiteral("calls and puts on different strikes"));
    }
    for (const Record& c : tables.volatCoeff()->masterIndex()->records())
        require(seriesWithOptions.contains(c.data(vc.isinId).toInteger()),
                c.data(vc.isinId).toString(), QStringLiteral("coefficients without options"));

    for (const Record& p : tables.positions()->masterIndex()->records()) {
        const Record s =
            securityByKey(sec, p.data(pc.boardId).toInteger(), p.data(pc.secId).toInteger64());
        const QString name =
            p.data(pc.account).toString() + QLatin1Char(' ') + p.data(pc.secName).toString();
        if (s.isNull()) {
            require(false, name, QStringLiteral("position without a security"));
            continue;
        }
        require(s.data(sc.secName).toString() == p.data(pc.secName).toString() &&
                    s.data(sc.sectype).toString() == p.data(pc.sectype).toString() &&
                    s.data(sc.expdate).toDatetime() == p.data(pc.expdate).toDatetime(),
                name, QStringLiteral("position disagrees with its security"));
        require(!p.data(pc.pos).isNull() && p.data(pc.pos).toInteger64() != 0, name,
                QStringLiteral("empty position"));
        require(!p.data(pc.waprice).isNull() && p.data(pc.waprice).toDecimal() > decimal::zero &&
                    onGrid(p.data(pc.waprice).toDecimal(), s.data(sc.priceStep).toDecimal()),
                name, QStringLiteral("average price off the grid"));
    }
    return problems;
}

// Sees the batches of a table as an index of the terminal does.
class BatchObserver : public Index
{
public:
    using Handler = std::function<void(const QList<Record>& removed, const QList<Record>& updated,
                                       const QList<Record>& inserted)>;
    explicit BatchObserver(Table* table) : Index(table) { table->addIndex(this); }

    void beginUpdate() override { ++begins; }
    void endUpdate() override { ++ends; }
    void process(const QList<Record>& removed, const QList<Record>& updated, int, int,
                 const QList<Record>& inserted) override
    {
        ++batches;
        removedRows += removed.size();
        if (handler)
            handler(removed, updated, inserted);
    }
    void update(const Record&, int, int, int) override { ++singleUpdates; }

    int begins = 0;
    int ends = 0;
    int batches = 0;
    int singleUpdates = 0;
    int removedRows = 0;
    Handler handler;
};

} // namespace

class TestSimulatedExchange : public QObject
{
    Q_OBJECT

private slots:
    void sameSeedSameTables();
    void listing();
    void invariants_data();
    void invariants();
    void ticksAreBatches();
    void endedSeriesLeave();
    void clockAndTimer();
    void tablesGoFirst();
};

// The same seed gives the same market; a second exchange's listing replaces the rows of the
// tables, and its ticks reach them.
void TestSimulatedExchange::sameSeedSameTables()
{
    MarketTables tables, fresh;
    SimulatedExchange first(&tables, optionsOf(8));
    SimulatedExchange alone(&fresh, optionsOf(7));
    for (int i = 0; i < 3; ++i) // the seed is not ignored
        QVERIFY(dumpTable(tables.all().at(i)) != dumpTable(fresh.all().at(i)));
    SimulatedExchange second(&tables, optionsOf(7));
    QCOMPARE(dumpAll(tables), dumpAll(fresh));
    second.tick(40);
    alone.tick(40);
    QCOMPARE(dumpAll(tables), dumpAll(fresh));
}

void TestSimulatedExchange::listing()
{
    MarketTables tables;
    SimulatedExchange exchange(&tables, optionsOf(3));
    const MarketTables::SecuritiesColumns sc(tables.securities());
    // The columns fit the typed key index: no fallback to the general one.
    for (const Table* t : tables.all())
        QCOMPARE(t->masterIndex()->getClassName(), QStringLiteral("MasterIndex_Struct"));

    struct Seen
    {
        int futures = 0;
        QSet<qint64> weekly, monthly;
    };
    QMap<QString, Seen> bases;
    QMap<int, QPair<decimal, decimal>> strikeRange; // series: lowest and highest strike
    for (const Record& r : tables.securities()->masterIndex()->records()) {
        Seen& seen = bases[r.data(sc.baseCode).toString()];
        const QString fullname = r.data(sc.secFullname).toString();
        QVERIFY2(fullname.size() < 80 && r.data(sc.secName).toString().size() < 40,
                 qPrintable(fullname));
        const QDate expiry = r.data(sc.expdate).toDatetime().getDate();
        QCOMPARE(expiry.dayOfWeek(), int(Qt::Thursday));
        if (r.data(sc.sectype).toString() == QLatin1String("F")) {
            ++seen.futures;
            QVERIFY(expiry.month() % 3 == 0 && expiry.day() >= 15 && expiry.day() <= 21);
            QVERIFY(fullname.startsWith(QStringLiteral("Фьючерс на ")));
            continue;
        }
        QVERIFY(fullname.startsWith(QStringLiteral("Опцион ")));
        const bool monthly = expiry.day() >= 15 && expiry.day() <= 21;
        (monthly ? seen.monthly : seen.weekly).insert(datetime(expiry).msecs());
        auto& range = strikeRange[r.data(sc.baseIsinId).toInteger()];
        const decimal strike = r.data(sc.strike).toDecimal();
        if (range.first.isZero() || strike < range.first)
            range.first = strike;
        if (strike > range.second)
            range.second = strike;
    }
    QCOMPARE(bases.keys(), (QStringList{"BRENT", "IDX", "USDRUB"}));
    for (const Seen& seen : bases) {
        QCOMPARE(seen.futures, 4);
        // On a Wednesday in March: Thursdays of 13, 20 (monthly and quarterly) and 27 March
        // and 3 April; monthly series in March, April and May.
        QCOMPARE(seen.weekly.size(), 3);
        QCOMPARE(seen.monthly.size(), 3);
    }
    // Each series' strikes enclose its future's price.
    for (const Record& r : tables.securities()->masterIndex()->records()) {
        if (r.data(sc.sectype).toString() != QLatin1String("O"))
            continue;
        const Record base =
            securityByKey(tables.securities(), 1, r.data(sc.mainSecId).toInteger64());
        const auto range = strikeRange.value(r.data(sc.baseIsinId).toInteger());
        const decimal price = base.data(sc.price).toDecimal();
        QVERIFY(range.first < price && price < range.second);
    }

    const MarketTables::PositionsColumns pc(tables.positions());
    QMap<QString, QSet<QString>> held;
    for (const Record& p : tables.positions()->masterIndex()->records())
        held[p.data(pc.account).toString()].insert(p.data(pc.sectype).toString());
    QCOMPARE(held.keys(), (QStringList{"DEMO", "DEMO2"}));
    for (const QSet<QString>& kinds : held)
        QCOMPARE(kinds, (QSet<QString>{"F", "O"}));
    QCOMPARE(exchange.transportStatus(), MarketFeed::Connected);
}

void TestSimulatedExchange::invariants_data()
{
    QTest::addColumn<quint64>("seed");
    QTest::addColumn<int>("ticks");
    QTest::addColumn<bool>("large");
    QTest::newRow("listing") << quint64(1) << 0 << false;
    QTest::newRow("after one tick") << quint64(2) << 1 << false;
    QTest::newRow("after 500 ticks") << quint64(3) << 500 << false;
    QTest::newRow("large market") << quint64(5) << 3 << true;
}

void TestSimulatedExchange::invariants()
{
    QFETCH(quint64, seed);
    QFETCH(int, ticks);
    QFETCH(bool, large);
    MarketTables tables;
    SimulatedExchange exchange(&tables, optionsOf(seed, Wednesday, large));
    exchange.tick(ticks);
    const QStringList problems = marketProblems(tables, exchange.now());
    QVERIFY2(problems.isEmpty(), qPrintable(problems.join(QLatin1Char('\n'))));
}

// A tick is one batch of the securities, in which a future moves with all its options; a
// smile that drifts does so in a batch of its own before, and its whole series is repriced.
void TestSimulatedExchange::ticksAreBatches()
{
    MarketTables tables;
    SimulatedExchange exchange(&tables, optionsOf(11));
    const MarketTables::SecuritiesColumns sc(tables.securities());
    const MarketTables::VolatCoeffColumns vc(tables.volatCoeff());
    QMap<qint64, QSet<Record>> optionsOfFuture;
    QMap<int, QSet<Record>> optionsOfSeries;
    for (const Record& r : tables.securities()->masterIndex()->records()) {
        if (r.data(sc.sectype).toString() == QLatin1String("O")) {
            optionsOfFuture[r.data(sc.mainSecId).toInteger64()].insert(r);
            optionsOfSeries[r.data(sc.baseIsinId).toInteger()].insert(r);
        }
    }
    const QStringList coefficientsBefore = dumpTable(tables.volatCoeff());

    BatchObserver coefficients(tables.volatCoeff());
    BatchObserver securities(tables.securities());
    int moves = 0;
    int lastBatchRows = 0;
    QSet<int> drifted;
    QStringList problems;
    coefficients.handler = [&](const QList<Record>&, const QList<Record>& updated,
                               const QList<Record>&) {
        if (securities.begins != securities.ends)
            problems << QStringLiteral("coefficients changed inside a batch of securities");
        for (const Record& r : updated)
            drifted.insert(r.data(vc.isinId).toInteger());
    };
    securities.handler = [&](const QList<Record>& removed, const QList<Record>& updated,
                             const QList<Record>& inserted) {
        if (!removed.isEmpty() || !inserted.isEmpty())
            problems << QStringLiteral("rows came or went");
        const QSet<Record> changed(updated.begin(), updated.end());
        lastBatchRows = changed.size();
        for (const Record& r : updated) {
            if (r.data(sc.sectype).toString() != QLatin1String("F"))
                continue;
            ++moves;
            if (!changed.contains(optionsOfFuture.value(r.data(sc.secId).toInteger64())))
                problems << r.data(sc.secName).toString() + QStringLiteral(" moved alone");
        }
        for (int isinId : qAsConst(drifted))
            if (!changed.contains(optionsOfSeries.value(isinId)))
                problems << QStringLiteral("series %1 kept its prices").arg(isinId);
        drifted.clear();
    };
    const int ticks = 200;
    for (int i = 0; i < ticks; ++i) {
        exchange.tick();
        QCOMPARE(lastBatchRows, exchange.lastTickUpdates());
    }
    QVERIFY2(problems.isEmpty(), qPrintable(problems.mid(0, 5).join(QLatin1Char('\n'))));
    QCOMPARE(securities.begins, ticks);
    QCOMPARE(securities.ends, ticks);
    QCOMPARE(securities.batches, ticks);
    QCOMPARE(securities.singleUpdates, 0);
    QVERIFY(moves >= ticks);
    QVERIFY(coefficients.batches > 10 && coefficients.batches < ticks);
    QVERIFY(dumpTable(tables.volatCoeff()) != coefficientsBefore);
}

void TestSimulatedExchange::endedSeriesLeave()
{
    // Two minutes before the end of trading of the weekly series of 13 March 2025.
    const QDate expiry(2025, 3, 13);
    MarketTables tables;
    SimulatedExchange exchange(&tables, optionsOf(4, at(expiry, 18, 58)));
    const MarketTables::SecuritiesColumns sc(tables.securities());
    const MarketTables::PositionsColumns pc(tables.positions());
    auto countExpiring = [&](const Table* table, int column) {
        int n = 0;
        for (const Record& r : table->masterIndex()->records())
            n += r.data(column).toDatetime() == datetime(expiry);
        return n;
    };
    const int listed = tables.securities()->rowCount();
    const int expiring = countExpiring(tables.securities(), sc.expdate);
    QVERIFY(expiring >= 3 * 40);
    QVERIFY(countExpiring(tables.positions(), pc.expdate) > 0);
    const int coefficientRows = tables.volatCoeff()->rowCount();

    BatchObserver observer(tables.securities());
    exchange.tick(5 * 60); // a minute of ticks: still trading
    QCOMPARE(tables.securities()->rowCount(), listed);
    exchange.tick(5 * 90);
    QVERIFY(exchange.now() > at(expiry, 19, 0));
    QCOMPARE(countExpiring(tables.securities(), sc.expdate), 0);
    QCOMPARE(countExpiring(tables.positions(), pc.expdate), 0);
    QCOMPARE(tables.securities()->rowCount(), listed - expiring);
    QCOMPARE(exchange.instrumentCount(), tables.securities()->rowCount());
    QCOMPARE(tables.volatCoeff()->rowCount(), coefficientRows - 3);
    QCOMPARE(observer.removedRows, expiring);
    QCOMPARE(observer.begins, 5 * 150);
    const QStringList problems = marketProblems(tables, exchange.now());
    QVERIFY2(problems.isEmpty(), qPrintable(problems.join(QLatin1Char('\n'))));
}

// A tick moves the exchange's clock by a tenth of a second at ten ticks a second; the timer
// runs ticks until stopped.
void TestSimulatedExchange::clockAndTimer()
{
    MarketTables tables;
    SimulatedExchange::Options options = optionsOf(1);
    options.tickRate = 10;
    SimulatedExchange exchange(&tables, options);
    QCOMPARE(exchange.serverTime(), Wednesday);
    QSignalSpy times(&exchange, &MarketFeed::serverTimeChanged);
    exchange.tick(3);
    QCOMPARE(times.count(), 3);
    QCOMPARE(times.at(0).at(0).value<datetime>(), Wednesday + 100);
    QCOMPARE(exchange.serverTime(), Wednesday + 300);

    QSignalSpy ticks(&exchange, &SimulatedExchange::ticked);
    exchange.start();
    QVERIFY(ticks.wait(10000));
    exchange.stop();
    QVERIFY(!exchange.isRunning());
    QCOMPARE(exchange.tickCount(), qint64(3 + ticks.count()));
}

void TestSimulatedExchange::tablesGoFirst()
{
    auto* tables = new MarketTables;
    SimulatedExchange exchange(tables, optionsOf(1));
    exchange.start();
    delete tables;
    exchange.tick();
    QCOMPARE(exchange.tickCount(), qint64(0));
    QVERIFY(!exchange.isRunning());
}

QTEST_GUILESS_MAIN(TestSimulatedExchange)
#include "tst_simulatedexchange.moc"
