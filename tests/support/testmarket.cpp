#include "testmarket.h"
#include "c_api/icore.h"
#include "c_api/tableregistry.h"
#include "connections_model/connectionsmanager.h"
#include "database/pricing.h"
#include "database/table.h"
#include "database/tableupdater.h"
#include "market/markettables.h"
#include <QDate>
#include <QTime>
#include <cmath>

namespace {

constexpr int SecondsPerYear = 31536000;
constexpr qint64 EndOfTradingMs = 68400000; // 19:00

QString optionName(const QString& base, const decimal& strike, bool put, const QChar& series)
{
    return QStringLiteral("%1%2%3%4")
        .arg(base)
        .arg(std::llround(strike.toDouble()))
        .arg(put ? QLatin1Char('P') : QLatin1Char('C'))
        .arg(series);
}

} // namespace

TestMarket::TestMarket(ICore* core, QObject* parent) : QObject(parent), m_core(core)
{
    if (!m_core) {
        m_core = new ICore(this);
        m_ownsCore = true;
    }
    m_securities = MarketTables::createSecurities(this);
    m_positions = MarketTables::createPositions(this);
    m_volatCoeff = MarketTables::createVolatCoeff(this);
    m_core->tables()->registerTable(MarketTables::securitiesName(), m_securities);
    m_core->tables()->registerTable(MarketTables::positionsName(), m_positions);
    m_core->tables()->registerTable(MarketTables::volatCoeffName(), m_volatCoeff);

    ConnectionsManager* connections = ConnectionsManager::instance();
    m_transport = connections->addTransport(QStringLiteral("KESTREL"));
    setServerTime(serverNow());
    setConnected(true);

    build();
}

TestMarket::~TestMarket()
{
    if (!m_ownsCore && m_core) {
        m_core->tables()->unregisterTable(MarketTables::securitiesName());
        m_core->tables()->unregisterTable(MarketTables::positionsName());
        m_core->tables()->unregisterTable(MarketTables::volatCoeffName());
    }
}

datetime TestMarket::serverNow()
{
    return datetime(QDateTime(QDate(2030, 3, 2), QTime(12, 0)));
}

void TestMarket::build()
{
    const QDate march(2030, 3, 20), june(2030, 6, 18), week(2030, 3, 13);
    {
        TableUpdater coefficients(m_volatCoeff);
        addCoefficients(11, 30.0, 4.0, 0.8, -3.0, 1.5, 0.0);
        addCoefficients(12, 32.0, 5.0, 0.8, -2.0, 1.0, 0.05);
        addCoefficients(21, 12.0, 2.0, 1.0, 1.0, 1.0, 0.0);
    }
    TableUpdater securities(m_securities);
    addFuture(QStringLiteral("RI-3.30"), QStringLiteral("RI"), march, decimal(150000, 0),
              decimal(10, 0), 0);
    addFuture(QStringLiteral("RI-6.30"), QStringLiteral("RI"), june, decimal(151200, 0),
              decimal(10, 0), 0);
    for (int k = 140000; k <= 160000; k += 5000) {
        for (bool put : {false, true}) {
            addOption(QStringLiteral("RI"), QStringLiteral("RI-3.30"), QLatin1Char('A'), march, 11,
                      decimal(k, 0), put);
            addOption(QStringLiteral("RI"), QStringLiteral("RI-3.30"), QLatin1Char('B'), week, 12,
                      decimal(k, 0), put);
        }
    }
    addFuture(QStringLiteral("Si-3.30"), QStringLiteral("Si"), march, decimal(90000, 0),
              decimal(1, 0), 0);
    for (int k : {88000, 90000, 92000})
        for (bool put : {false, true})
            addOption(QStringLiteral("Si"), QStringLiteral("Si-3.30"), QLatin1Char('A'), march, 21,
                      decimal(k, 0), put);
    addFuture(QStringLiteral("GZ-3.30"), QStringLiteral("GZ"), march, decimal(25050, 2),
              decimal(1, 2), 2);

    // Rows the calculator must not take: an address board, another stock.
    addFuture(QStringLiteral("RI-3.30 адр"), QStringLiteral("RI"), march, decimal(150000, 0),
              decimal(10, 0), 0, 2);
    addOption(QStringLiteral("RI"), QStringLiteral("RI-3.30"), QLatin1Char('X'), march, 11,
              decimal(150000, 0), false, 2);

    TableUpdater positions(m_positions);
    addPosition(QStringLiteral("TEST01"), QStringLiteral("RI-3.30"), 2, decimal(149800, 0));
    addPosition(QStringLiteral("TEST01"), QStringLiteral("RI150000CA"), -1, decimal(4000, 0));
    addPosition(QStringLiteral("TEST01"), QStringLiteral("RI145000PA"), 3, decimal(2500, 0));
    addPosition(QStringLiteral("TEST02"), QStringLiteral("Si-3.30"), -5, decimal(90100, 0));
}

Record TestMarket::newSecurity(qint64 secId, const QString& base, int stock, int board,
                               const QDate& expiry)
{
    const MarketTables::SecuritiesColumns sc(m_securities);
    Record r(m_securities);
    r.data(sc.stockId) = stock;
    r.data(sc.boardId) = board;
    r.data(sc.secId) = static_cast<long long>(secId);
    r.data(sc.baseCode) = base;
    r.data(sc.expdate) = datetime(expiry);
    r.data(sc.lotSize) = 1;
    r.data(sc.isinId) = int(secId);
    r.data(sc.lasttime) = serverNow();
    m_secIds.append(secId);
    return r;
}

qint64 TestMarket::addFuture(const QString& name, const QString& base, const QDate& expiry,
                             const decimal& price, const decimal& step, int decimals, int board)
{
    const MarketTables::SecuritiesColumns sc(m_securities);
    const qint64 id = m_nextSecId++;
    Record r = newSecurity(id, base, 1, board, expiry);
    r.data(sc.secName) = name;
    r.data(sc.secFullname) = QStringLiteral("Фьючерс %1").arg(name);
    r.data(sc.sectype) = QStringLiteral("F");
    r.data(sc.optionType) = QString();
    r.data(sc.decimals) = decimals;
    r.data(sc.priceStep) = step;
    r.data(sc.europe) = 0;
    for (int column : {sc.theorPrice, sc.price, sc.curKotirReal, sc.curKotir, sc.oldKotir})
        r.data(column) = price;
    r.data(sc.bid) = price - step;
    r.data(sc.ask) = price + step;
    m_securities->insertRecord(r);
    return id;
}

qint64 TestMarket::addOption(const QString& base, const QString& future, const QChar& series,
                             const QDate& expiry, int isinId, const decimal& strike, bool put,
                             int stock)
{
    const MarketTables::SecuritiesColumns sc(m_securities);
    const Record base_ = security(future);
    const qint64 id = m_nextSecId++;
    Record r = newSecurity(id, base, stock, 14, expiry);
    const QString name = optionName(base, strike, put, series);
    r.data(sc.secName) = name;
    r.data(sc.secFullname) = QStringLiteral("Опцион %1").arg(name);
    r.data(sc.sectype) = QStringLiteral("O");
    r.data(sc.optionType) = QLatin1String(put ? "P" : "C");
    r.data(sc.strike) = strike;
    r.data(sc.decimals) = base_.data(sc.decimals).toInteger();
    r.data(sc.priceStep) = base_.data(sc.priceStep).toDecimal();
    r.data(sc.volatMin) = decimal(500, 2);
    r.data(sc.volatMax) = decimal(20000, 2);
    r.data(sc.baseIsinId) = isinId;
    r.data(sc.mainSecId) = static_cast<long long>(base_.data(sc.secId).toInteger64());
    r.data(sc.europe) = 1;
    price(r, base_, isinId);
    m_securities->insertRecord(r);
    return id;
}

void TestMarket::price(Record& option, const Record& future, int isinId)
{
    const MarketTables::SecuritiesColumns sc(m_securities);
    const MarketTables::VolatCoeffColumns vc(m_volatCoeff);
    Record key(m_volatCoeff);
    key.data(vc.isinId) = isinId;
    const Record coefficients = m_volatCoeff->findRow(key);

    VolatInputParams in;
    in.strike = option.data(sc.strike).toDouble();
    in.basePrice = future.data(sc.price).toDouble();
    const qint64 ms = option.data(sc.expdate).toDatetime().msecs() + EndOfTradingMs -
                      serverNow().msecs();
    in.sqrtTime = std::sqrt(double(ms / 1000) / SecondsPerYear);
    in.a = coefficients.data(vc.a).toDouble();
    in.b = coefficients.data(vc.b).toDouble();
    in.c = coefficients.data(vc.c).toDouble();
    in.d = coefficients.data(vc.d).toDouble();
    in.e = coefficients.data(vc.e).toDouble();
    in.s = coefficients.data(vc.s).toDouble();
    in.volatLow = option.data(sc.volatMin).toDouble();
    in.volatHigh = option.data(sc.volatMax).toDouble();
    const decimal volat = decimal::fromDouble(smileVolatility(in), MarketTables::VolatScale);
    VolatOutputParams out;
    calcVolatParams(out, in, volat.toDouble());
    const bool put = option.data(sc.optionType).toString() == QLatin1String("P");
    const double theor = put ? out.putPrice : out.callPrice;
    const double step = option.data(sc.priceStep).toDouble();
    const decimal onGrid =
        decimal::fromDouble(std::max(1.0, std::round(theor / step)) * step, PriceScale);

    option.data(sc.volat) = volat;
    option.data(sc.theorPrice) = decimal::fromDouble(theor, PriceScale);
    option.data(sc.delta) =
        decimal::fromDouble(put ? out.putDelta : out.callDelta, MarketTables::DeltaScale);
    option.data(sc.gamma) = decimal::fromDouble(out.gamma, MarketTables::GammaScale);
    option.data(sc.vega) = decimal::fromDouble(out.vega, MarketTables::VegaScale);
    option.data(sc.theta) = decimal::fromDouble(out.theta, MarketTables::ThetaScale);
    for (int column : {sc.price, sc.curKotirReal, sc.curKotir, sc.oldKotir})
        option.data(column) = onGrid;
    option.data(sc.bid) = onGrid - option.data(sc.priceStep).toDecimal();
    option.data(sc.ask) = onGrid + option.data(sc.priceStep).toDecimal();
}

void TestMarket::addCoefficients(int isinId, double a, double b, double c, double d, double e,
                                 double s)
{
    const MarketTables::VolatCoeffColumns vc(m_volatCoeff);
    Record r(m_volatCoeff);
    r.data(vc.isinId) = isinId;
    r.data(vc.a) = decimal::fromDouble(a, MarketTables::CoeffScale);
    r.data(vc.b) = decimal::fromDouble(b, MarketTables::CoeffScale);
    r.data(vc.c) = decimal::fromDouble(c, MarketTables::CoeffScale);
    r.data(vc.d) = decimal::fromDouble(d, MarketTables::CoeffScale);
    r.data(vc.e) = decimal::fromDouble(e, MarketTables::CoeffScale);
    r.data(vc.s) = decimal::fromDouble(s, MarketTables::CoeffScale);
    m_volatCoeff->insertRecord(r);
}

void TestMarket::addPosition(const QString& account, const QString& secName, qint64 pos,
                             const decimal& waprice)
{
    const MarketTables::SecuritiesColumns sc(m_securities);
    const MarketTables::PositionsColumns pc(m_positions);
    const Record s = security(secName);
    Record r(m_positions);
    r.data(pc.account) = account;
    r.data(pc.stockId) = s.data(sc.stockId).toInteger();
    r.data(pc.boardId) = s.data(sc.boardId).toInteger();
    r.data(pc.secId) = static_cast<long long>(s.data(sc.secId).toInteger64());
    r.data(pc.secName) = secName;
    r.data(pc.sectype) = s.data(sc.sectype).toString();
    r.data(pc.pos) = static_cast<long long>(pos);
    r.data(pc.waprice) = waprice;
    r.data(pc.expdate) = s.data(sc.expdate).toDatetime();
    m_positions->insertRecord(r);
}

qint64 TestMarket::secId(const QString& secName) const
{
    const Record r = security(secName);
    if (r.isNull())
        return -1;
    return r.data(QStringLiteral("sec_id")).toInteger64();
}

Record TestMarket::security(const QString& secName) const
{
    const int column = m_securities->columnIndex(QStringLiteral("sec_name"));
    for (qint64 id : m_secIds) {
        const Record r = security(id);
        if (!r.isNull() && r.data(column).toString() == secName)
            return r;
    }
    return Record();
}

Record TestMarket::security(qint64 id) const
{
    const MarketTables::SecuritiesColumns sc(m_securities);
    // The key is (stock_id, board_id, sec_id); ids are unique, so try the boards in use.
    for (int stock : {1, 2}) {
        for (int board : {1, 2, 14}) {
            Record key(m_securities);
            key.data(sc.stockId) = stock;
            key.data(sc.boardId) = board;
            key.data(sc.secId) = static_cast<long long>(id);
            const Record r = m_securities->findRow(key);
            if (!r.isNull())
                return r;
        }
    }
    return Record();
}

void TestMarket::setPrice(const QString& secName, const decimal& value)
{
    const MarketTables::SecuritiesColumns sc(m_securities);
    Record r = security(secName);
    if (r.isNull())
        return;
    TableUpdater batch(m_securities);
    r.data(sc.price) = value;
    r.data(sc.theorPrice) = value;
    r.data(sc.curKotirReal) = value;
    m_securities->updated(r, qMin(sc.price, qMin(sc.theorPrice, sc.curKotirReal)),
                          qMax(sc.price, qMax(sc.theorPrice, sc.curKotirReal)));
}

void TestMarket::setField(const QString& secName, const QString& column, const QVariant& value)
{
    Record r = security(secName);
    const int c = m_securities->columnIndex(column);
    if (r.isNull() || c < 0)
        return;
    TableUpdater batch(m_securities);
    r.data(c).setValue(value);
    m_securities->updated(r, c, c);
}

qint64 TestMarket::listOption(const decimal& strike, bool put)
{
    TableUpdater batch(m_securities);
    return addOption(QStringLiteral("RI"), QStringLiteral("RI-3.30"), QLatin1Char('A'),
                     QDate(2030, 3, 20), 11, strike, put);
}

void TestMarket::delist(const QString& secName)
{
    const Record r = security(secName);
    if (r.isNull())
        return;
    m_secIds.removeAll(r.data(QStringLiteral("sec_id")).toInteger64());
    m_securities->removeRecord(r);
}

void TestMarket::setCoefficient(int isinId, const QString& column, double value)
{
    const MarketTables::VolatCoeffColumns vc(m_volatCoeff);
    Record row(m_volatCoeff);
    row.data(vc.isinId) = isinId;
    const Record present = m_volatCoeff->findRow(row);
    if (!present.isNull())
        row = present.clone();
    row.data(column) = decimal::fromDouble(value, MarketTables::CoeffScale);
    m_volatCoeff->insertRecord(row);
}

void TestMarket::setConnected(bool connected)
{
    ConnectionsManager::instance()->setTransportStatus(
        m_transport, connected ? ITransport::Connected : ITransport::Disconnected);
}

void TestMarket::setServerTime(const datetime& time)
{
    ConnectionsManager::instance()->setTransportTime(m_transport, time);
}
