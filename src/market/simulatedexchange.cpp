#include "simulatedexchange.h"

#include "marketrandom.h"
#include "markettables.h"

#include "database/pricing.h"
#include "database/exchangeconventions.h"
#include "database/table.h"
#include "database/tableupdater.h"

#include <QPair>
#include <QTimer>
#include <QVector>

#include <algorithm>
#include <climits>
#include <cmath>

namespace {

using Exchange::DerivativesMarket;
using Exchange::FuturesBoard;
using Exchange::OptionsBoard;
using Exchange::SecondsPerYear;
constexpr qint64 MsecsPerDay = 86400000;
// The mantissa of 1 at the scale of prices.
constexpr qint64 PriceUnit = 10000;
static_assert(MarketTables::PriceScale == 4, "PriceUnit follows the scale of prices");

// How often things happen: an option trades at a re-pricing, an asset moves in a tick
// (besides the one that always does), a smile drifts in a tick.
constexpr double TradeChance = 0.1;
constexpr double MoveChance = 0.3;
constexpr double DriftChance = 0.2;

// A base asset as the exchange lists it. Prices and steps are mantissas at the price scale.
struct AssetSpec
{
    const char* code;
    const char* subject; // what the future is on, for the full names
    double price;
    qint64 step;
    int decimals;
    qint64 strikeStep;
    int weeklyStrikes;
    int monthlyStrikes;
    double a, b, c, d; // the smile of a typical series, in percent
    double carry;      // yearly premium of a later future over the nearest
    int maxMove;       // steps of one move at most
};

// The first three make the ordinary market; the large one lists all.
const AssetSpec AssetSpecs[] = {
    {"IDX", QT_TRANSLATE_NOOP("SimulatedExchange", "индекс голубых фишек"), 112340, 10 * PriceUnit,
     0, 2500 * PriceUnit, 20, 40, 24, 6, 1.5, -4, 0.08, 5},
    {"USDRUB", QT_TRANSLATE_NOOP("SimulatedExchange", "курс доллар США — российский рубль"), 92460,
     PriceUnit, 0, 500 * PriceUnit, 20, 30, 12, 4, 2, 1.5, 0.12, 5},
    {"BRENT", QT_TRANSLATE_NOOP("SimulatedExchange", "нефть сорта Brent"), 82.37, 100, 2, 5000, 24,
     36, 33, 8, 1, -2, -0.02, 3},
    {"IDXB", QT_TRANSLATE_NOOP("SimulatedExchange", "индекс банковского сектора"), 14560,
     10 * PriceUnit, 0, 250 * PriceUnit, 20, 40, 28, 7, 1.5, -5, 0.08, 5},
    {"EURRUB", QT_TRANSLATE_NOOP("SimulatedExchange", "курс евро — российский рубль"), 99870,
     PriceUnit, 0, 500 * PriceUnit, 20, 30, 13, 4, 2, 1, 0.1, 5},
    {"GOLD", QT_TRANSLATE_NOOP("SimulatedExchange", "золото"), 2345.6, 100, 2, 25 * PriceUnit, 24,
     36, 17, 5, 1, 1, 0.03, 8},
    {"IDXE", QT_TRANSLATE_NOOP("SimulatedExchange", "индекс энергетического сектора"), 23450,
     10 * PriceUnit, 0, 500 * PriceUnit, 20, 40, 26, 6, 1.5, -4, 0.07, 5},
    {"CNYRUB", QT_TRANSLATE_NOOP("SimulatedExchange", "курс китайский юань — российский рубль"),
     12650, PriceUnit, 0, 100 * PriceUnit, 20, 30, 10, 3, 2, 1, 0.09, 3},
    {"SILV", QT_TRANSLATE_NOOP("SimulatedExchange", "серебро"), 28.45, 100, 2, 2500, 24, 36, 27, 7,
     1, 1.5, 0.03, 3},
    {"IDXM", QT_TRANSLATE_NOOP("SimulatedExchange", "индекс металлургического сектора"), 8750,
     10 * PriceUnit, 0, 250 * PriceUnit, 20, 40, 30, 7, 1.5, -4, 0.07, 4},
    {"GBPRUB", QT_TRANSLATE_NOOP("SimulatedExchange", "курс фунт стерлингов — российский рубль"),
     116400, PriceUnit, 0, 500 * PriceUnit, 20, 30, 14, 4, 2, 1, 0.11, 5},
    {"NGAS", QT_TRANSLATE_NOOP("SimulatedExchange", "природный газ"), 2.85, 100, 2, 500, 24, 36, 45,
     10, 1, 3, -0.05, 2},
};
constexpr int OrdinaryAssets = 3;

// How much the exchange lists.
struct Listing
{
    int assets;
    int futures;        // quarterly contracts per asset
    int weeklySeries;   // Thursdays ahead
    int monthlySeries;  // months ahead
    double strikeScale; // times the asset's number of strikes, within 20..60
};
constexpr Listing OrdinaryListing = {OrdinaryAssets, 4, 4, 3, 1.0};
constexpr Listing LargeListing = {int(sizeof(AssetSpecs) / sizeof(AssetSpecs[0])), 4, 16, 9, 2.0};

QDate thirdThursday(int year, int month)
{
    const QDate first(year, month, 1);
    return first.addDays((Qt::Thursday - first.dayOfWeek() + 7) % 7 + 14);
}

qint64 tradingEnd(const QDate& date)
{
    return datetime(date).msecs() + Exchange::EndOfTradingMs;
}

// Square root of the years left until the end of trading.
double sqrtYearsLeft(qint64 endMs, qint64 nowMs)
{
    const double seconds = double(endMs - nowMs) / 1000.0;
    return seconds > 0.0 ? std::sqrt(seconds / SecondsPerYear) : 0.0;
}

double rounded(double value, int scale)
{
    return decimal::fromDouble(value, short(scale)).toDouble();
}

QString monthCode(const QDate& date)
{
    return QStringLiteral("%1.%2")
        .arg(date.month())
        .arg(date.year() % 100, 2, 10, QLatin1Char('0'));
}

} // namespace

struct SimulatedExchange::Private
{
    struct Asset
    {
        const AssetSpec* spec;
        QString code;
        double stepValue;  // the step as a number
        qint64 floorSteps; // a walk does not go below this
        QVector<int> futures;
    };
    struct Future
    {
        Record row;
        int asset;
        qint64 secId;
        qint64 endMs;
        qint64 steps; // price in steps
        double price; // the price as the table holds it
        QVector<int> series;
        bool alive = true;
    };
    struct Series
    {
        Record coefficients;
        int future;
        int isinId;
        qint64 endMs;
        double a, b, c, d, e, s; // as the table holds them
        double volatMin, volatMax;
        int firstOption;
        int optionCount = 0;
        bool alive = true;
        bool dirty = false;
    };
    struct Option
    {
        Record row;
        int series;
        qint64 secId;
        double strike;
        bool put;
    };
    struct Position
    {
        Record row;
        qint64 secId;
    };

    Private(SimulatedExchange* owner, MarketTables* tables, const Options& options);

    qint64 clock() const;
    void list();
    void listAsset(const AssetSpec& spec, const Listing& listing, const QVector<QDate>& quarterly,
                   const QVector<QPair<QDate, bool>>& series);
    void listPositions();
    void addPosition(const QString& account, const Record& security, qint64 secId, qint64 pos,
                     const decimal& waprice);
    Record newSecurity(qint64 secId, int board, const Asset& asset, const QDate& expiry);
    void writeFuture(Future& f, bool listing);
    void writeOption(Option& o, bool listing);
    decimal priceOfSteps(const Asset& asset, qint64 steps) const
    {
        return decimal(steps * asset.spec->step, MarketTables::PriceScale);
    }
    void setFuturePrice(Future& f, qint64 steps)
    {
        f.steps = steps;
        f.price = priceOfSteps(assets[f.asset], steps).toDouble();
    }
    void writeCoefficients(Series& s);
    void markDirty(int series);

    void runTick();
    void endTrading();
    void moveAsset(int asset);
    void driftSmile(int series);
    void updateNextEnd();

    SimulatedExchange* q;
    Options options;
    Table* securities;
    Table* positionsTable;
    Table* volatCoeff;
    const MarketTables::SecuritiesColumns sc;
    const MarketTables::PositionsColumns pc;
    const MarketTables::VolatCoeffColumns vc;
    MarketRandom random;
    qint64 startMs = 0;
    qint64 nowMs = 0;
    qint64 ticks = 0;
    qint64 nextEndMs = LLONG_MAX;
    int intervalMs = 200;
    int lastUpdates = 0;
    int aliveInstruments = 0;

    QVector<Asset> assets;
    QVector<Future> futures;
    QVector<Series> series;
    QVector<Option> optionRows;
    QVector<Position> positionRows;
    QVector<int> dirty;
    // Rows whose trading ended, gathered for removal.
    QVector<Record> ended;
    QVector<qint64> endedSecIds;
    qint64 nextSecId = 100001;
    int nextIsinId = 5001;
};

SimulatedExchange::Private::Private(SimulatedExchange* owner, MarketTables* tables,
                                    const Options& o)
    : q(owner), options(o), securities(tables->securities()), positionsTable(tables->positions()),
      volatCoeff(tables->volatCoeff()), sc(securities), pc(positionsTable), vc(volatCoeff),
      random(o.seed)
{
    options.tickRate = qBound(1, options.tickRate, 1000);
    intervalMs = 1000 / options.tickRate;
    startMs = options.now.isNull() ? datetime::now().msecs() : options.now.msecs();
    nowMs = startMs;
}

qint64 SimulatedExchange::Private::clock() const
{
    if (!options.now.isNull())
        return startMs + ticks * intervalMs;
    // The machine's clock may step back; the exchange's does not.
    return qMax(nowMs, datetime::now().msecs());
}

Record SimulatedExchange::Private::newSecurity(qint64 secId, int board, const Asset& asset,
                                               const QDate& expiry)
{
    Record r(securities);
    r.data(sc.stockId) = DerivativesMarket;
    r.data(sc.boardId) = board;
    r.data(sc.secId) = static_cast<long long>(secId);
    r.data(sc.baseCode) = asset.code;
    r.data(sc.expdate) = datetime(expiry);
    r.data(sc.decimals) = asset.spec->decimals;
    r.data(sc.priceStep) = priceOfSteps(asset, 1);
    r.data(sc.lotSize) = 1;
    return r;
}

void SimulatedExchange::Private::list()
{
    const Listing& listing = options.large ? LargeListing : OrdinaryListing;
    const QDate today = datetime(nowMs).getDate();
    auto listed = [this](const QDate& date) { return tradingEnd(date) > nowMs; };

    QVector<QDate> quarterly;
    for (QDate month(today.year(), today.month(), 1); quarterly.size() < listing.futures;
         month = month.addMonths(1)) {
        const QDate expiry = thirdThursday(month.year(), month.month());
        if (month.month() % 3 == 0 && listed(expiry))
            quarterly.append(expiry);
    }

    // Series by expiry date; true for a weekly one. A Thursday that is a monthly expiry
    // belongs to the monthly series.
    QVector<QPair<QDate, bool>> seriesDates;
    for (QDate month(today.year(), today.month(), 1);
         std::count_if(seriesDates.begin(), seriesDates.end(),
                       [](const QPair<QDate, bool>& s) { return !s.second; }) <
         listing.monthlySeries;
         month = month.addMonths(1)) {
        const QDate expiry = thirdThursday(month.year(), month.month());
        if (listed(expiry))
            seriesDates.append({expiry, false});
    }
    QDate thursday = today.addDays((Qt::Thursday - today.dayOfWeek() + 7) % 7);
    for (int added = 0; added < listing.weeklySeries; thursday = thursday.addDays(7)) {
        if (!listed(thursday))
            continue;
        ++added;
        const bool monthly =
            std::any_of(seriesDates.begin(), seriesDates.end(), [&](const QPair<QDate, bool>& s) {
                return !s.second && s.first == thursday;
            });
        if (!monthly)
            seriesDates.append({thursday, true});
    }
    std::sort(seriesDates.begin(), seriesDates.end());

    for (int i = 0; i < listing.assets; ++i)
        listAsset(AssetSpecs[i], listing, quarterly, seriesDates);
    listPositions();

    // The exchange's rows replace whatever the tables held, each table in one batch.
    {
        TableUpdater batch(securities);
        securities->clear();
        for (const Future& f : qAsConst(futures))
            securities->insertRecord(f.row);
        for (const Option& o : qAsConst(optionRows))
            securities->insertRecord(o.row);
    }
    {
        TableUpdater batch(volatCoeff);
        volatCoeff->clear();
        for (const Series& s : qAsConst(series))
            volatCoeff->insertRecord(s.coefficients);
    }
    {
        TableUpdater batch(positionsTable);
        positionsTable->clear();
        for (const Position& p : qAsConst(positionRows))
            positionsTable->insertRecord(p.row);
    }
    aliveInstruments = futures.size() + optionRows.size();
    updateNextEnd();
}

void SimulatedExchange::Private::listAsset(const AssetSpec& spec, const Listing& listing,
                                           const QVector<QDate>& quarterly,
                                           const QVector<QPair<QDate, bool>>& seriesDates)
{
    const int assetIndex = assets.size();
    Asset asset;
    asset.spec = &spec;
    asset.code = QLatin1String(spec.code);
    asset.stepValue = double(spec.step) / PriceUnit;
    const qint64 startSteps =
        std::llround(spec.price * PriceUnit * random.uniform(0.97, 1.03) / double(spec.step));
    asset.floorSteps = qMax<qint64>(1, startSteps / 4);
    assets.append(asset);
    const QString subject = SimulatedExchange::tr(spec.subject);

    for (const QDate& expiry : quarterly) {
        Future f;
        f.asset = assetIndex;
        f.secId = nextSecId++;
        f.endMs = tradingEnd(expiry);
        const double years = double(f.endMs - nowMs) / 1000.0 / SecondsPerYear;
        setFuturePrice(
            f, qMax<qint64>(1, std::llround(double(startSteps) * (1.0 + spec.carry * years))));
        f.row = newSecurity(f.secId, FuturesBoard, asset, expiry);
        const QString name = QStringLiteral("%1-%2").arg(asset.code, monthCode(expiry));
        f.row.data(sc.secName) = name;
        f.row.data(sc.secFullname) =
            SimulatedExchange::tr("Фьючерс на %1, исп. %2")
                .arg(subject, expiry.toString(QStringLiteral("dd.MM.yyyy")));
        f.row.data(sc.sectype) = QStringLiteral("F");
        f.row.data(sc.optionType) = QString();
        f.row.data(sc.isinId) = int(f.secId);
        f.row.data(sc.europe) = 0;
        writeFuture(f, true);
        assets[assetIndex].futures.append(futures.size());
        futures.append(f);
    }

    for (const auto& date : seriesDates) {
        const QDate expiry = date.first;
        const bool weekly = date.second;
        // Options rest on the nearest future that is still trading at their expiry.
        int futureIndex = -1;
        for (int fi : qAsConst(assets[assetIndex].futures))
            if (futures[fi].endMs >= tradingEnd(expiry)) {
                futureIndex = fi;
                break;
            }
        if (futureIndex < 0)
            continue;
        Future& base = futures[futureIndex];

        Series s;
        s.future = futureIndex;
        s.isinId = nextIsinId++;
        s.endMs = tradingEnd(expiry);
        s.a = rounded(spec.a + random.uniform(-1.0, 1.0) + (weekly ? 1.5 : 0.0),
                      MarketTables::CoeffScale);
        s.b = rounded(spec.b * random.uniform(0.8, 1.2), MarketTables::CoeffScale);
        s.c = rounded(spec.c, MarketTables::CoeffScale);
        s.d = rounded(spec.d * random.uniform(0.8, 1.2), MarketTables::CoeffScale);
        s.e = 1.0;
        s.s = rounded(random.uniform(-0.05, 0.05), MarketTables::CoeffScale);
        s.volatMin = rounded(qMax(1.0, std::floor(0.4 * spec.a)), MarketTables::VolatLimitScale);
        s.volatMax = rounded(std::ceil(3.0 * spec.a + 2.0 * spec.b), MarketTables::VolatLimitScale);
        s.coefficients = Record(volatCoeff);
        s.coefficients.data(vc.isinId) = s.isinId;
        writeCoefficients(s);

        const int strikes =
            qBound(20,
                   int(std::lround((weekly ? spec.weeklyStrikes : spec.monthlyStrikes) *
                                   listing.strikeScale)),
                   60);
        const qint64 baseMantissa = base.steps * spec.step;
        const qint64 center =
            qint64(std::llround(double(baseMantissa) / double(spec.strikeStep))) * spec.strikeStep;
        const QString futureName = base.row.data(sc.secName).toString();
        const QString shortDate = expiry.toString(QStringLiteral("dd.MM.yy"));
        const QString longDate = expiry.toString(QStringLiteral("dd.MM.yyyy"));
        s.firstOption = optionRows.size();
        const int seriesIndex = series.size();
        for (int k = 0; k < strikes; ++k) {
            const decimal strike(center + (k - strikes / 2) * spec.strikeStep,
                                 MarketTables::PriceScale);
            const QString strikeText = QString::number(strike.toDouble(), 'f', spec.decimals);
            for (const bool put : {false, true}) {
                Option o;
                o.series = seriesIndex;
                o.secId = nextSecId++;
                o.strike = strike.toDouble();
                o.put = put;
                o.row = newSecurity(o.secId, OptionsBoard, assets[assetIndex], expiry);
                o.row.data(sc.secName) =
                    QStringLiteral("%1 %2%3 %4")
                        .arg(futureName, QLatin1String(put ? "P" : "C"), strikeText, shortDate);
                o.row.data(sc.secFullname) =
                    SimulatedExchange::tr("Опцион %1 на фьючерс %2, страйк %3, исп. %4")
                        .arg(put ? SimulatedExchange::tr("пут") : SimulatedExchange::tr("колл"),
                             futureName, strikeText, longDate);
                o.row.data(sc.sectype) = QStringLiteral("O");
                o.row.data(sc.optionType) = QLatin1String(put ? "P" : "C");
                o.row.data(sc.strike) = strike;
                o.row.data(sc.volatMin) =
                    decimal::fromDouble(s.volatMin, MarketTables::VolatLimitScale);
                o.row.data(sc.volatMax) =
                    decimal::fromDouble(s.volatMax, MarketTables::VolatLimitScale);
                o.row.data(sc.baseIsinId) = s.isinId;
                o.row.data(sc.mainSecId) = static_cast<long long>(base.secId);
                o.row.data(sc.isinId) = int(o.secId);
                o.row.data(sc.europe) = 1;
                optionRows.append(o);
                ++s.optionCount;
            }
        }
        series.append(s);
        base.series.append(seriesIndex);
        for (int i = s.firstOption; i < s.firstOption + s.optionCount; ++i)
            writeOption(optionRows[i], true);
    }
}

void SimulatedExchange::Private::listPositions()
{
    const QString accounts[] = {QStringLiteral("DEMO"), QStringLiteral("DEMO2")};
    for (int account = 0; account < 2; ++account) {
        for (int ai = 0; ai < assets.size(); ++ai) {
            // Each account trades about half of the assets, the first asset both.
            if (ai != 0 && ai % 2 != account)
                continue;
            const Asset& asset = assets[ai];
            if (asset.futures.isEmpty())
                continue;
            const Future& f = futures[asset.futures.first()];
            const qint64 futurePos = random.sign() * random.between(1, 10);
            const qint64 futureCost = qMax<qint64>(1, f.steps + random.between(-20, 20));
            addPosition(accounts[account], f.row, f.secId, futurePos,
                        priceOfSteps(asset, futureCost));

            // Options near the money of the nearest series of the asset's two nearest futures.
            QVector<int> seriesOfAsset;
            for (int k = 0; k < qMin(2, asset.futures.size()); ++k)
                if (!futures[asset.futures[k]].series.isEmpty())
                    seriesOfAsset.append(futures[asset.futures[k]].series.first());
            for (int si : qAsConst(seriesOfAsset)) {
                const Series& s = series[si];
                const int strikes = s.optionCount / 2;
                for (int n = 0; n < 2; ++n) {
                    const int k = qBound(0, strikes / 2 + random.between(-3, 3), strikes - 1);
                    const Option& o = optionRows[s.firstOption + 2 * k + random.below(2)];
                    const qint64 lastSteps =
                        std::llround(o.row.data(sc.price).toDouble() / asset.stepValue);
                    const qint64 cost = qMax<qint64>(1, lastSteps + random.between(-5, 5));
                    addPosition(accounts[account], o.row, o.secId,
                                random.sign() * random.between(1, 20), priceOfSteps(asset, cost));
                }
            }
        }
    }
}

void SimulatedExchange::Private::addPosition(const QString& account, const Record& security,
                                             qint64 secId, qint64 pos, const decimal& waprice)
{
    for (const Position& p : qAsConst(positionRows))
        if (p.secId == secId && p.row.data(pc.account).toString() == account)
            return;
    Position p;
    p.secId = secId;
    p.row = Record(positionsTable);
    p.row.data(pc.account) = account;
    p.row.data(pc.stockId) = security.data(sc.stockId).toInteger();
    p.row.data(pc.boardId) = security.data(sc.boardId).toInteger();
    p.row.data(pc.secId) = static_cast<long long>(secId);
    p.row.data(pc.secName) = security.data(sc.secName).toString();
    p.row.data(pc.sectype) = security.data(sc.sectype).toString();
    p.row.data(pc.pos) = static_cast<long long>(pos);
    p.row.data(pc.waprice) = waprice;
    p.row.data(pc.expdate) = security.data(sc.expdate).toDatetime();
    positionRows.append(p);
}

void SimulatedExchange::Private::writeCoefficients(Series& s)
{
    Record& r = s.coefficients;
    r.data(vc.a) = decimal::fromDouble(s.a, MarketTables::CoeffScale);
    r.data(vc.b) = decimal::fromDouble(s.b, MarketTables::CoeffScale);
    r.data(vc.c) = decimal::fromDouble(s.c, MarketTables::CoeffScale);
    r.data(vc.d) = decimal::fromDouble(s.d, MarketTables::CoeffScale);
    r.data(vc.e) = decimal::fromDouble(s.e, MarketTables::CoeffScale);
    r.data(vc.s) = decimal::fromDouble(s.s, MarketTables::CoeffScale);
}

void SimulatedExchange::Private::writeFuture(Future& f, bool listing)
{
    const Asset& asset = assets[f.asset];
    const decimal price = priceOfSteps(asset, f.steps);
    Record& r = f.row;
    r.data(sc.theorPrice) = price;
    r.data(sc.bid) = priceOfSteps(asset, qMax<qint64>(1, f.steps - random.between(1, 3)));
    r.data(sc.ask) = priceOfSteps(asset, f.steps + random.between(1, 3));
    r.data(sc.price) = price;
    r.data(sc.curKotirReal) = price;
    r.data(sc.curKotir) = price;
    if (listing)
        r.data(sc.oldKotir) = price;
    r.data(sc.lasttime) = datetime(nowMs);
}

void SimulatedExchange::Private::writeOption(Option& o, bool listing)
{
    const Series& s = series[o.series];
    const Future& f = futures[s.future];
    const Asset& asset = assets[f.asset];

    VolatInputParams in;
    in.strike = o.strike;
    in.basePrice = f.price;
    in.sqrtTime = sqrtYearsLeft(s.endMs, nowMs);
    in.a = s.a;
    in.b = s.b;
    in.c = s.c;
    in.d = s.d;
    in.e = s.e;
    in.s = s.s;
    in.volatLow = s.volatMin;
    in.volatHigh = s.volatMax;
    const decimal volat = decimal::fromDouble(qBound(s.volatMin, smileVolatility(in), s.volatMax),
                                              MarketTables::VolatScale);
    VolatOutputParams out;
    calcVolatParams(out, in, volat.toDouble());
    const double theor = o.put ? out.putPrice : out.callPrice;

    Record& r = o.row;
    r.data(sc.volat) = volat;
    r.data(sc.theorPrice) = decimal::fromDouble(theor, MarketTables::PriceScale);
    r.data(sc.delta) =
        decimal::fromDouble(o.put ? out.putDelta : out.callDelta, MarketTables::DeltaScale);
    r.data(sc.gamma) = decimal::fromDouble(out.gamma, MarketTables::GammaScale);
    r.data(sc.vega) = decimal::fromDouble(out.vega, MarketTables::VegaScale);
    r.data(sc.theta) = decimal::fromDouble(out.theta, MarketTables::ThetaScale);

    // Quotes on the price grid, at least a step away from the theoretical price on either
    // side; nobody bids for an option worth less than a step.
    const double steps = theor / asset.stepValue;
    const double half = std::max(1.0, std::round(steps * random.uniform(0.002, 0.02)));
    const qint64 bidSteps = qint64(std::floor(steps - half));
    const qint64 askSteps = qint64(std::ceil(steps + half));
    if (bidSteps >= 1)
        r.data(sc.bid) = priceOfSteps(asset, bidSteps);
    else
        r.data(sc.bid).setNull();
    r.data(sc.ask) = priceOfSteps(asset, askSteps);
    if (listing || random.chance(TradeChance)) {
        const qint64 lastSteps = listing ? qMax<qint64>(1, std::llround(steps))
                                         : random.between(qMax<qint64>(1, bidSteps), askSteps);
        const decimal last = priceOfSteps(asset, lastSteps);
        r.data(sc.price) = last;
        r.data(sc.curKotirReal) = last;
        r.data(sc.curKotir) = last;
        if (listing)
            r.data(sc.oldKotir) = last;
    }
    // The time the values above hold for.
    r.data(sc.lasttime) = datetime(nowMs);
}

void SimulatedExchange::Private::markDirty(int index)
{
    Series& s = series[index];
    if (s.alive && !s.dirty) {
        s.dirty = true;
        dirty.append(index);
    }
}

void SimulatedExchange::Private::updateNextEnd()
{
    nextEndMs = LLONG_MAX;
    for (const Future& f : qAsConst(futures))
        if (f.alive)
            nextEndMs = qMin(nextEndMs, f.endMs);
    for (const Series& s : qAsConst(series))
        if (s.alive)
            nextEndMs = qMin(nextEndMs, s.endMs);
}

void SimulatedExchange::Private::endTrading()
{
    ended.clear();
    endedSecIds.clear();
    QVector<Record> endedCoefficients;
    for (Series& s : series) {
        if (!s.alive || s.endMs > nowMs)
            continue;
        s.alive = false;
        endedCoefficients.append(s.coefficients);
        for (int i = s.firstOption; i < s.firstOption + s.optionCount; ++i) {
            ended.append(optionRows[i].row);
            endedSecIds.append(optionRows[i].secId);
        }
    }
    for (Future& f : futures) {
        if (!f.alive || f.endMs > nowMs)
            continue;
        f.alive = false;
        ended.append(f.row);
        endedSecIds.append(f.secId);
    }
    aliveInstruments -= ended.size();
    updateNextEnd();

    if (!endedCoefficients.isEmpty()) {
        TableUpdater batch(volatCoeff);
        for (const Record& r : qAsConst(endedCoefficients))
            volatCoeff->removeRecord(r);
    }
    QVector<Record> endedPositions;
    for (int i = positionRows.size() - 1; i >= 0; --i) {
        if (endedSecIds.contains(positionRows[i].secId)) {
            endedPositions.append(positionRows[i].row);
            positionRows.remove(i);
        }
    }
    if (!endedPositions.isEmpty()) {
        TableUpdater batch(positionsTable);
        for (const Record& r : qAsConst(endedPositions))
            positionsTable->removeRecord(r);
    }
}

void SimulatedExchange::Private::moveAsset(int index)
{
    const Asset& asset = assets[index];
    int move = random.sign() * random.between(1, asset.spec->maxMove);
    bool first = true;
    for (int fi : asset.futures) {
        Future& f = futures[fi];
        if (!f.alive)
            continue;
        // All contracts of an asset move together; the walk turns back at the floor of
        // the nearest, so that no price reaches zero.
        if (first && f.steps + move < asset.floorSteps)
            move = -move;
        first = false;
        setFuturePrice(f, qMax<qint64>(1, f.steps + move));
        writeFuture(f, false);
        securities->updated(f.row, sc.theorPrice, sc.lasttime);
        ++lastUpdates;
        for (int si : qAsConst(f.series))
            markDirty(si);
    }
}

void SimulatedExchange::Private::driftSmile(int index)
{
    Series& s = series[index];
    const AssetSpec& spec = *assets[futures[s.future].asset].spec;
    s.a = rounded(qBound(0.6 * spec.a, s.a + random.uniform(-0.15, 0.15), 1.6 * spec.a),
                  MarketTables::CoeffScale);
    s.b = rounded(qBound(0.0, s.b + random.uniform(-0.05, 0.05), 2.0 * spec.b),
                  MarketTables::CoeffScale);
    s.d = rounded(
        qBound(-2.0 * std::abs(spec.d), s.d + random.uniform(-0.05, 0.05), 2.0 * std::abs(spec.d)),
        MarketTables::CoeffScale);
    s.s = rounded(qBound(-0.1, s.s + random.uniform(-0.01, 0.01), 0.1), MarketTables::CoeffScale);
    writeCoefficients(s);
    volatCoeff->updated(s.coefficients, vc.a, vc.s);
    markDirty(index);
}

void SimulatedExchange::Private::runTick()
{
    ++ticks;
    nowMs = clock();
    lastUpdates = 0;
    if (nowMs >= nextEndMs)
        endTrading();
    else
        ended.clear();

    if (random.chance(DriftChance) && !series.isEmpty()) {
        const int index = random.below(series.size());
        if (series[index].alive) {
            TableUpdater batch(volatCoeff);
            driftSmile(index);
        }
    }

    {
        TableUpdater batch(securities);
        for (const Record& r : qAsConst(ended))
            securities->removeRecord(r);
        // One asset moves in every tick, any other now and then.
        const int lead = random.below(assets.size());
        for (int i = 0; i < assets.size(); ++i)
            if (i == lead || random.chance(MoveChance))
                moveAsset(i);
        for (int si : qAsConst(dirty)) {
            Series& s = series[si];
            s.dirty = false;
            if (!s.alive)
                continue;
            for (int i = s.firstOption; i < s.firstOption + s.optionCount; ++i) {
                Option& o = optionRows[i];
                writeOption(o, false);
                securities->updated(o.row, sc.volat, sc.lasttime);
            }
            lastUpdates += s.optionCount;
        }
        dirty.clear();
    }
    q->setServerTime(datetime(nowMs));
}

SimulatedExchange::SimulatedExchange(MarketTables* tables, QObject* parent)
    : SimulatedExchange(tables, Options(), parent)
{
}

SimulatedExchange::SimulatedExchange(MarketTables* tables, const Options& options, QObject* parent)
    : MarketFeed(tables, parent), d(new Private(this, tables, options)), m_timer(new QTimer(this))
{
    d->list();
    m_timer->setInterval(d->intervalMs);
    m_timer->setTimerType(Qt::PreciseTimer);
    connect(m_timer, &QTimer::timeout, this, [this] { tick(); });
    setServerTime(datetime(d->nowMs));
    setTransportStatus(Connected);
}

SimulatedExchange::~SimulatedExchange() = default;

const SimulatedExchange::Options& SimulatedExchange::options() const
{
    return d->options;
}

datetime SimulatedExchange::now() const
{
    return datetime(d->nowMs);
}

int SimulatedExchange::tickInterval() const
{
    return d->intervalMs;
}

void SimulatedExchange::tick(int count)
{
    if (!tables()) {
        stop();
        return;
    }
    for (int i = 0; i < count; ++i) {
        d->runTick();
        emit ticked();
    }
}

void SimulatedExchange::start()
{
    m_timer->start();
}

void SimulatedExchange::stop()
{
    m_timer->stop();
}

bool SimulatedExchange::isRunning() const
{
    return m_timer->isActive();
}

int SimulatedExchange::instrumentCount() const
{
    return d->aliveInstruments;
}

int SimulatedExchange::lastTickUpdates() const
{
    return d->lastUpdates;
}

qint64 SimulatedExchange::tickCount() const
{
    return d->ticks;
}
