#include "marketdump.h"

#include "database/index.h"
#include "database/masterindexcolumnpure.h"
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

QStringList dumpAll(const MarketTables& tables)
{
    QStringList all;
    for (const Table* t : tables.all())
        all << t->name() << dumpTable(t);
    return all;
}

bool onGrid(decimal value, decimal step)
{
    value.setScale(MarketTables::PriceScale);
    step.setScale(MarketTables::PriceScale);
    return step.value() > 0 && value.value() % step.value() == 0;
}

Record securityByKey(const Table* securities, int board, qint64 secId)
{
    Record key(securities);
    key.data(QStringLiteral("stock_id")) = 1;
    key.data(QStringLiteral("board_id")) = board;
    key.data(QStringLiteral("sec_id")) = static_cast<long long>(secId);
    return securities->masterIndex()->findByKey(key);
}

Record coefficientsOf(const Table* volatCoeff, int isinId)
{
    Record key(volatCoeff);
    key.data(QStringLiteral("isin_id")) = isinId;
    return volatCoeff->masterIndex()->findByKey(key);
}

// The pricing input of an option as a reader of the tables makes it: the base future's
// quote, the smile of the series and the time left from the option's lasttime.
VolatInputParams pricingInput(const MarketTables& tables, const Record& option)
{
    const MarketTables::SecuritiesColumns sc(tables.securities());
    const MarketTables::VolatCoeffColumns vc(tables.volatCoeff());
    VolatInputParams in;
    in.strike = option.data(sc.strike).toDouble();
    const Record base =
        securityByKey(tables.securities(), 1, option.data(sc.mainSecId).toInteger64());
    in.basePrice = base.data(sc.curKotir).toDouble();
    const qint64 end = option.data(sc.expdate).toDatetime().msecs() + TradingEndMs;
    const double seconds = double(end - option.data(sc.lasttime).toDatetime().msecs()) / 1000.0;
    in.sqrtTime = std::sqrt(std::max(0.0, seconds) / 3.1536e7);
    const Record c = coefficientsOf(tables.volatCoeff(), option.data(sc.baseIsinId).toInteger());
    in.a = c.data(vc.a).toDouble();
    in.b = c.data(vc.b).toDouble();
    in.c = c.data(vc.c).toDouble();
    in.d = c.data(vc.d).toDouble();
    in.e = c.data(vc.e).toDouble();
    in.s = c.data(vc.s).toDouble();
    in.volatLow = option.data(sc.volatMin).toDouble();
    in.volatHigh = option.data(sc.volatMax).toDouble();
    return in;
}

// Everything that must hold of the market at any moment; empty when it does.
QStringList marketProblems(const MarketTables& tables, const datetime& now)
{
    QStringList problems;
    const Table* sec = tables.securities();
    const MarketTables::SecuritiesColumns sc(sec);
    const MarketTables::PositionsColumns pc(tables.positions());
    auto problem = [&](const Record& r, const QString& what) {
        if (problems.size() < 20)
            problems << QStringLiteral("%1: %2").arg(r.data(sc.secName).toString(), what);
    };
    auto sameDecimal = [](const Field& cell, double value) {
        return cell.toDecimal() == decimal::fromDouble(value, short(cell.length()));
    };

    // Strikes by series and option type.
    QMap<QPair<int, QString>, QList<decimal>> strikes;
    QSet<int> seriesWithOptions;
    for (const Record& r : sec->masterIndex()->records()) {
        const QString type = r.data(sc.sectype).toString();
        const decimal step = r.data(sc.priceStep).toDecimal();
        const datetime expdate = r.data(sc.expdate).toDatetime();
        if (expdate.isNull() || expdate.msecs() + TradingEndMs <= now.msecs())
            problem(r, QStringLiteral("trading has ended"));
        const datetime last = r.data(sc.lasttime).toDatetime();
        if (last.isNull() || last > now)
            problem(r, QStringLiteral("lasttime %1 is not before now").arg(last.toString()));
        if (r.data(sc.stockId).toInteger() != 1)
            problem(r, QStringLiteral("not of the derivatives market"));
        if (!onGrid(r.data(sc.ask).toDecimal(), step) ||
            !onGrid(r.data(sc.price).toDecimal(), step))
            problem(r, QStringLiteral("ask or last price off the grid"));
        if (!r.data(sc.bid).isNull() && !onGrid(r.data(sc.bid).toDecimal(), step))
            problem(r, QStringLiteral("bid off the grid"));
        if (r.data(sc.price).toDecimal() < step || r.data(sc.ask).toDecimal() < step)
            problem(r, QStringLiteral("a price below one step"));
        const decimal theor = r.data(sc.theorPrice).toDecimal();
        if ((!r.data(sc.bid).isNull() && r.data(sc.bid).toDecimal() > theor) ||
            r.data(sc.ask).toDecimal() < theor)
            problem(r, QStringLiteral("theoretical price outside bid and ask"));

        if (type == QLatin1String("F")) {
            if (r.data(sc.boardId).toInteger() != 1 || !r.data(sc.optionType).toString().isEmpty())
                problem(r, QStringLiteral("future not on board 1"));
            if (!onGrid(r.data(sc.curKotir).toDecimal(), step) ||
                r.data(sc.curKotir).toDecimal() != r.data(sc.price).toDecimal() ||
                r.data(sc.curKotirReal).toDecimal() != r.data(sc.price).toDecimal() ||
                theor != r.data(sc.price).toDecimal())
                problem(r, QStringLiteral("future quotes disagree"));
            if (r.data(sc.bid).isNull() || r.data(sc.bid).toDecimal() >= theor ||
                r.data(sc.ask).toDecimal() <= theor)
                problem(r, QStringLiteral("future bid and ask not around its price"));
            continue;
        }
        if (type != QLatin1String("O")) {
            problem(r, QStringLiteral("unknown sectype %1").arg(type));
            continue;
        }
        if (r.data(sc.boardId).toInteger() != 14)
            problem(r, QStringLiteral("option not on board 14"));
        const Record base = securityByKey(sec, 1, r.data(sc.mainSecId).toInteger64());
        if (base.isNull() || base.data(sc.sectype).toString() != QLatin1String("F")) {
            problem(r, QStringLiteral("no base future"));
            continue;
        }
        if (base.data(sc.baseCode).toString() != r.data(sc.baseCode).toString())
            problem(r, QStringLiteral("base future of another base code"));
        if (base.data(sc.expdate).toDatetime() < expdate)
            problem(r, QStringLiteral("base future expires first"));
        const int isinId = r.data(sc.baseIsinId).toInteger();
        if (coefficientsOf(tables.volatCoeff(), isinId).isNull()) {
            problem(r, QStringLiteral("no coefficients for series %1").arg(isinId));
            continue;
        }
        seriesWithOptions.insert(isinId);
        const decimal strike = r.data(sc.strike).toDecimal();
        if (r.data(sc.strike).isNull() || strike <= decimal::zero || !onGrid(strike, step))
            problem(r, QStringLiteral("strike off the grid"));
        strikes[{isinId, r.data(sc.optionType).toString()}] << strike;

        const VolatInputParams in = pricingInput(tables, r);
        const double smile = qBound(in.volatLow, smileVolatility(in), in.volatHigh);
        if (!sameDecimal(r.data(sc.volat), smile))
            problem(r, QStringLiteral("volat %1 is not the smile's %2")
                           .arg(r.data(sc.volat).toString())
                           .arg(smile));
        VolatOutputParams out;
        calcVolatParams(out, in, r.data(sc.volat).toDouble());
        const bool put = r.data(sc.optionType).toString() == QLatin1String("P");
        if (!sameDecimal(r.data(sc.theorPrice), put ? out.putPrice : out.callPrice))
            problem(r, QStringLiteral("theor_price %1 is not the price at volat, %2")
                           .arg(theor.toString())
                           .arg(put ? out.putPrice : out.callPrice));
        if (!sameDecimal(r.data(sc.delta), put ? out.putDelta : out.callDelta) ||
            !sameDecimal(r.data(sc.gamma), out.gamma) || !sameDecimal(r.data(sc.vega), out.vega) ||
            !sameDecimal(r.data(sc.theta), out.theta))
            problem(r, QStringLiteral("Greeks are not those at volat"));
        if (r.data(sc.volatMin).isNull() || r.data(sc.volatMax).isNull() ||
            r.data(sc.volatMin).toDouble() <= 0 ||
            r.data(sc.volatMin).toDouble() > r.data(sc.volatMax).toDouble())
            problem(r, QStringLiteral("no volatility band"));
    }

    for (auto it = strikes.begin(); it != strikes.end(); ++it) {
        QList<decimal> list = it.value();
        std::sort(list.begin(), list.end());
        if (list.size() < 20 || list.size() > 60)
            problems
                << QStringLiteral("series %1: %2 strikes").arg(it.key().first).arg(list.size());
        for (int i = 2; i < list.size(); ++i)
            if (list[i] - list[i - 1] != list[1] - list[0] || list[i] == list[i - 1])
                problems
                    << QStringLiteral("series %1: strikes not evenly spaced").arg(it.key().first);
        const QString other =
            it.key().second == QLatin1String("C") ? QStringLiteral("P") : QStringLiteral("C");
        QList<decimal> counterpart = strikes.value({it.key().first, other});
        std::sort(counterpart.begin(), counterpart.end());
        if (counterpart != list)
            problems << QStringLiteral("series %1: calls and puts on different strikes")
                            .arg(it.key().first);
    }
    const MarketTables::VolatCoeffColumns vc(tables.volatCoeff());
    for (const Record& c : tables.volatCoeff()->masterIndex()->records())
        if (!seriesWithOptions.contains(c.data(vc.isinId).toInteger()))
            problems << QStringLiteral("coefficients of series %1 without options")
                            .arg(c.data(vc.isinId).toInteger());

    for (const Record& p : tables.positions()->masterIndex()->records()) {
        const Record s =
            securityByKey(sec, p.data(pc.boardId).toInteger(), p.data(pc.secId).toInteger64());
        const QString name =
            p.data(pc.account).toString() + QLatin1Char(' ') + p.data(pc.secName).toString();
        if (s.isNull()) {
            problems << name + QStringLiteral(": position without a security");
            continue;
        }
        if (s.data(sc.secName).toString() != p.data(pc.secName).toString() ||
            s.data(sc.sectype).toString() != p.data(pc.sectype).toString() ||
            s.data(sc.expdate).toDatetime() != p.data(pc.expdate).toDatetime())
            problems << name + QStringLiteral(": position disagrees with its security");
        if (p.data(pc.pos).isNull() || p.data(pc.pos).toInteger64() == 0)
            problems << name + QStringLiteral(": empty position");
        if (p.data(pc.waprice).isNull() || p.data(pc.waprice).toDecimal() <= decimal::zero ||
            !onGrid(p.data(pc.waprice).toDecimal(), s.data(sc.priceStep).toDecimal()))
            problems << name + QStringLiteral(": average price off the grid");
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
    void tableLayout_data();
    void tableLayout();
    void sameSeedSameTables();
    void listing();
    void invariants_data();
    void invariants();
    void ticksAreBatches();
    void smileDriftRepricesItsSeries();
    void endedSeriesLeave();
    void serverTimeFollowsTheClock();
    void timerRunsTicks();
    void tablesGoFirst();
};

void TestSimulatedExchange::tableLayout_data()
{
    QTest::addColumn<QString>("table");
    QTest::addColumn<QStringList>("key");
    QTest::addColumn<QStringList>("columns"); // name:type[:length][:null]

    QStringList securities = {"stock_id:1",       "board_id:1",        "sec_id:2",
                              "sec_name:5:40",    "sec_fullname:5:80", "sectype:5:1",
                              "option_type:5:1",  "base_code:5:20",    "strike:4:4:null",
                              "expdate:6:0:null", "decimals:1",        "price_step:4:4"};
    for (const char* name :
         {"volat", "theor_price", "delta", "gamma", "vega", "theta", "bid", "ask", "price",
          "cur_kotir_real", "cur_kotir", "old_kotir", "volat_min", "volat_max"})
        securities << QStringLiteral("%1:4").arg(QLatin1String(name));
    securities << QStringList{"base_isin_id:1:0:null",
                              "main_sec_id:2:0:null",
                              "isin_id:1",
                              "europe:1",
                              "lasttime:6:0:null",
                              "lot_size:1"};
    QTest::newRow("securities") << "securities" << QStringList{"stock_id", "board_id", "sec_id"}
                                << securities;
    QTest::newRow("positions") << "positions"
                               << QStringList{"account", "stock_id", "board_id", "sec_id"}
                               << QStringList{"account:5:20", "stock_id:1",    "board_id:1",
                                              "sec_id:2",     "sec_name:5:40", "sectype:5:1",
                                              "pos:2:0:null", "waprice:4",     "expdate:6"};
    QTest::newRow("tz.volat_coeff")
        << "tz.volat_coeff" << QStringList{"isin_id"}
        << QStringList{"isin_id:1", "a:4", "b:4", "c:4", "d:4", "e:4", "s:4"};
}

void TestSimulatedExchange::tableLayout()
{
    QFETCH(QString, table);
    QFETCH(QStringList, key);
    QFETCH(QStringList, columns);
    MarketTables tables;
    const Table* t = nullptr;
    for (const Table* candidate : tables.all())
        if (candidate->name() == table)
            t = candidate;
    QVERIFY(t);
    QCOMPARE(t->columnCount(), columns.size());
    const QRegularExpression russian(QStringLiteral("[А-Яа-я]"));
    for (const QString& spec : columns) {
        const QStringList parts = spec.split(QLatin1Char(':'));
        const TableColumnDef& def = t->columnDef(parts[0]);
        QVERIFY2(def.type == parts[1].toInt(), qPrintable(spec));
        if (parts.size() > 2 && parts[1] != QLatin1String("4"))
            QVERIFY2(def.length == parts[2].toInt(), qPrintable(spec));
        if (parts.size() > 3)
            QVERIFY2(def.nullable, qPrintable(spec));
        if (key.contains(parts[0]))
            QVERIFY2(!def.nullable, qPrintable(spec));
        QVERIFY2(def.title.contains(russian) || def.title == parts[0], qPrintable(spec));
        QVERIFY2(def.description.contains(russian), qPrintable(spec));
    }
    QCOMPARE(t->masterIndex()->getClassName(), QStringLiteral("MasterIndex_Struct"));
    QCOMPARE(static_cast<const MasterIndex_Column_Pure*>(t->masterIndex())->keyColumnNames(), key);
    if (table == QLatin1String("securities"))
        QCOMPARE(t->columnDef(QStringLiteral("base_code")).description,
                 QStringLiteral("Код базового актива"));
}

// The same seed gives the same market; a second exchange's listing replaces the rows of the
// tables, and its ticks reach them.
void TestSimulatedExchange::sameSeedSameTables()
{
    MarketTables tables, fresh;
    SimulatedExchange first(&tables, optionsOf(8));
    SimulatedExchange alone(&fresh, optionsOf(7));
    QVERIFY(fresh.securities()->rowCount() > 0);
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
    QCOMPARE(exchange.instrumentCount(), tables.securities()->rowCount());

    struct Seen
    {
        decimal step;
        int futures = 0;
        QSet<qint64> weekly, monthly;
    };
    QMap<QString, Seen> bases;
    QMap<int, QPair<decimal, decimal>> strikeRange; // series: lowest and highest strike
    for (const Record& r : tables.securities()->masterIndex()->records()) {
        Seen& seen = bases[r.data(sc.baseCode).toString()];
        seen.step = r.data(sc.priceStep).toDecimal();
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
    QCOMPARE(bases["IDX"].step, decimal(10, 0));
    QCOMPARE(bases["USDRUB"].step, decimal(1, 0));
    QCOMPARE(bases["BRENT"].step, decimal(1, 2));
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
    if (large)
        QVERIFY2(tables.securities()->rowCount() >= 20000,
                 qPrintable(QString::number(tables.securities()->rowCount())));
    exchange.tick(ticks);
    QCOMPARE(exchange.tickCount(), qint64(ticks));
    if (ticks > 0)
        QVERIFY(exchange.lastTickUpdates() > 0);
    const QStringList problems = marketProblems(tables, exchange.now());
    QVERIFY2(problems.isEmpty(), qPrintable(problems.join(QLatin1Char('\n'))));
}

void TestSimulatedExchange::ticksAreBatches()
{
    MarketTables tables;
    SimulatedExchange exchange(&tables, optionsOf(11));
    const MarketTables::SecuritiesColumns sc(tables.securities());
    QMap<qint64, QSet<Record>> optionsOfFuture;
    for (const Record& r : tables.securities()->masterIndex()->records())
        if (r.data(sc.sectype).toString() == QLatin1String("O"))
            optionsOfFuture[r.data(sc.mainSecId).toInteger64()].insert(r);

    BatchObserver observer(tables.securities());
    int moves = 0;
    int lastBatchRows = 0;
    QStringList problems;
    observer.handler = [&](const QList<Record>& removed, const QList<Record>& updated,
                           const QList<Record>& inserted) {
        if (!removed.isEmpty() || !inserted.isEmpty())
            problems << QStringLiteral("rows came or went");
        const QSet<Record> changed(updated.begin(), updated.end());
        lastBatchRows = changed.size();
        for (const Record& r : updated) {
            if (r.data(sc.sectype).toString() != QLatin1String("F"))
                continue;
            ++moves;
            for (const Record& option : optionsOfFuture.value(r.data(sc.secId).toInteger64()))
                if (!changed.contains(option))
                    problems << r.data(sc.secName).toString() + QStringLiteral(" moved alone");
        }
    };
    const int ticks = 100;
    for (int i = 0; i < ticks; ++i) {
        exchange.tick();
        QCOMPARE(lastBatchRows, exchange.lastTickUpdates());
    }
    QVERIFY2(problems.isEmpty(), qPrintable(problems.mid(0, 5).join(QLatin1Char('\n'))));
    QCOMPARE(observer.begins, ticks);
    QCOMPARE(observer.ends, ticks);
    QCOMPARE(observer.batches, ticks);
    QCOMPARE(observer.singleUpdates, 0);
    QVERIFY(moves >= ticks);
}

void TestSimulatedExchange::smileDriftRepricesItsSeries()
{
    MarketTables tables;
    SimulatedExchange exchange(&tables, optionsOf(12));
    const MarketTables::SecuritiesColumns sc(tables.securities());
    const MarketTables::VolatCoeffColumns vc(tables.volatCoeff());
    QMap<int, QSet<Record>> optionsOfSeries;
    for (const Record& r : tables.securities()->masterIndex()->records())
        if (r.data(sc.sectype).toString() == QLatin1String("O"))
            optionsOfSeries[r.data(sc.baseIsinId).toInteger()].insert(r);

    BatchObserver coefficients(tables.volatCoeff());
    BatchObserver securities(tables.securities());
    QSet<int> drifted;
    QStringList problems;
    QMap<int, QString> before;
    for (const Record& c : tables.volatCoeff()->masterIndex()->records())
        before[c.data(vc.isinId).toInteger()] = c.data(vc.a).toString();
    coefficients.handler = [&](const QList<Record>&, const QList<Record>& updated,
                               const QList<Record>&) {
        if (securities.begins != securities.ends)
            problems << QStringLiteral("coefficients changed inside a batch of securities");
        for (const Record& r : updated)
            drifted.insert(r.data(vc.isinId).toInteger());
    };
    securities.handler = [&](const QList<Record>&, const QList<Record>& updated,
                             const QList<Record>&) {
        const QSet<Record> changed(updated.begin(), updated.end());
        for (int isinId : qAsConst(drifted))
            for (const Record& option : optionsOfSeries.value(isinId))
                if (!changed.contains(option))
                    problems << QStringLiteral("series %1 kept its prices").arg(isinId);
        drifted.clear();
    };
    exchange.tick(200);
    QVERIFY2(problems.isEmpty(), qPrintable(problems.mid(0, 5).join(QLatin1Char('\n'))));
    QVERIFY(coefficients.batches > 10);
    QVERIFY(coefficients.batches < 200);
    int changedSeries = 0;
    for (const Record& c : tables.volatCoeff()->masterIndex()->records())
        changedSeries += before[c.data(vc.isinId).toInteger()] != c.data(vc.a).toString();
    QVERIFY(changedSeries > 0);
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

void TestSimulatedExchange::serverTimeFollowsTheClock()
{
    MarketTables tables;
    SimulatedExchange::Options options = optionsOf(1);
    options.tickRate = 10;
    SimulatedExchange exchange(&tables, options);
    QCOMPARE(exchange.serverTime(), Wednesday);
    QSignalSpy spy(&exchange, &MarketFeed::serverTimeChanged);
    exchange.tick(3);
    QCOMPARE(spy.count(), 3);
    QCOMPARE(spy.at(0).at(0).value<datetime>(), Wednesday + 100);
    QCOMPARE(spy.at(2).at(0).value<datetime>(), Wednesday + 300);
    QCOMPARE(exchange.serverTime(), Wednesday + 300);
}

void TestSimulatedExchange::timerRunsTicks()
{
    MarketTables tables;
    SimulatedExchange::Options options = optionsOf(1);
    options.tickRate = 50;
    SimulatedExchange exchange(&tables, options);
    QSignalSpy spy(&exchange, &SimulatedExchange::ticked);
    exchange.start();
    QVERIFY(spy.wait(10000));
    exchange.stop();
    QVERIFY(!exchange.isRunning());
    QCOMPARE(exchange.tickCount(), qint64(spy.count()));
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
