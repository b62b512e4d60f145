// The portfolio tables and models: the table of the model portfolio, the real portfolio's
// filter, what rebuilds a model, how market changes reach the views, the server time, the
// active rows and the reference points of the base asset.
#include "portfoliofixture.h"

#include "portfolio/rowintervals.h"

#include "support/vtableslot.h"

#include "connections_model/connectionsmanager.h"
#include "database/masterindex.h"

#include <QSignalSpy>
#include <QtTest>

#include <algorithm>
#include <random>

namespace {

QStringList names(const QAbstractItemModel& model)
{
    QStringList list;
    for (int row = 0; row < model.rowCount(); ++row)
        list << model.index(row, 0).data().toString();
    list.sort();
    return list;
}

// The blocks of neighbouring rows that are set, as [first, end) pairs.
QVector<int> blocks(const std::vector<bool>& rows)
{
    QVector<int> bounds;
    for (int row = 0; row < int(rows.size()); ++row) {
        const bool before = row > 0 && rows[size_t(row - 1)];
        if (rows[size_t(row)] != before)
            bounds << row;
    }
    if (!rows.empty() && rows.back())
        bounds << int(rows.size());
    return bounds;
}

} // namespace

class TestPortfolioModel : public QObject
{
    Q_OBJECT

private slots:
    void tableAndColumns();
    void realPortfolioFilter_data();
    void realPortfolioFilter();
    void rebuildOnFilterChanges();
    void rowIntervalsMerge();
    void securitiesChangedMergesRows();
    void serverTimeOncePerConnection();
    void activeRows();
    void referencePoints();
};

void TestPortfolioModel::tableAndColumns()
{
    PortfolioFixture f;
    // One row per security: a second row of the key takes the first one's place.
    f.addRow(QStringLiteral("RI-3.30"), 1);
    f.addRow(QStringLiteral("RI-3.30"), 7);
    QCOMPARE(f.model->rowCount(), 1);
    QCOMPARE(f.model->at(0).data(QStringLiteral("pos")).toInteger64(), 7LL);

    PortfolioModel real(f.market.positions(), &f.securityModel);
    QStringList headers;
    for (const QAbstractItemModel* model : {static_cast<QAbstractItemModel*>(&real),
                                            static_cast<QAbstractItemModel*>(f.model.get())}) {
        QStringList list;
        for (int c = 0; c < model->columnCount(); ++c)
            list << model->headerData(c, Qt::Horizontal, Qt::UserRole).toString();
        headers << list.join(QLatin1Char(' '));
    }
    QCOMPARE(headers.at(0), QStringLiteral("sec_name pos waprice expdate days_to_exercise "
                                           "sectype strike volat theor_price delta gamma vega "
                                           "theta"));
    QCOMPARE(headers.at(1), QStringLiteral("sec_name pos expdate days_to_exercise sectype strike "
                                           "volat theor_price delta gamma vega theta bid ask "
                                           "price cur_kotir_real miv mp miv_mp_flag flags"));
    const int volat = f.model->fieldIndex(QStringLiteral("volat"));
    QCOMPARE(f.model->headerData(volat, Qt::Horizontal).toString(),
             QStringLiteral("Волатильность, %"));
    QCOMPARE(f.model->headerData(f.model->fieldIndex(QStringLiteral("bid")), Qt::Horizontal,
                                 Qt::ToolTipRole),
             f.market.securities()->columnDef(QStringLiteral("bid")).description);

    // The three slots that the model portfolio fills follow one another in the table.
    const int first = vtableSlot(&PortfolioModel::onModelDataChanged);
    if (VTABLE_SLOTS_KNOWN) {
        QVERIFY(first > vtableSlot(&TableIndexModel::resort));
        QCOMPARE(vtableSlot(&PortfolioModel::onRowsInserted), first + 1);
        QCOMPARE(vtableSlot(&PortfolioModel::onModelReset), first + 2);
    }
}

void TestPortfolioModel::realPortfolioFilter_data()
{
    QTest::addColumn<QString>("account");
    QTest::addColumn<QString>("baseCode");
    QTest::addColumn<QStringList>("expected");
    QTest::newRow("RI of TEST01") << "TEST01"
                                  << "RI" << QStringList{"RI-3.30", "RI145000PA", "RI150000CA"};
    QTest::newRow("Si of TEST01") << "TEST01"
                                  << "Si" << QStringList{"Si92000CA"};
    QTest::newRow("Si of TEST02") << "TEST02"
                                  << "Si" << QStringList{"Si-3.30"};
    QTest::newRow("nobody") << ""
                            << "RI" << QStringList();
}

void TestPortfolioModel::realPortfolioFilter()
{
    QFETCH(QString, account);
    QFETCH(QString, baseCode);
    QFETCH(QStringList, expected);

    PortfolioFixture f;
    // Beside the fixture's: a position on the address board, one without a quantity, one
    // of another stock, and one in Si.
    Table* positions = f.market.positions();
    const Record model = positions->masterIndex()->at(0);
    auto add = [&](const QString& secName, int stock, const QVariant& pos) {
        const Record s = f.market.security(secName);
        Record r = model.clone();
        r.data(QStringLiteral("account")) = QStringLiteral("TEST01");
        r.data(QStringLiteral("stock_id")) = stock;
        r.data(QStringLiteral("board_id")) = s.data(QStringLiteral("board_id"));
        r.data(QStringLiteral("sec_id")) = s.data(QStringLiteral("sec_id"));
        r.data(QStringLiteral("sec_name")) = secName;
        r.data(QStringLiteral("pos")).setValue(pos);
        positions->insertRecord(r);
    };
    add(QStringLiteral("RI-3.30 адр"), 1, 4);
    add(QStringLiteral("RI-6.30"), 1, QVariant());
    add(QStringLiteral("RI150000CX"), 2, 1);
    add(QStringLiteral("Si92000CA"), 1, 2);

    PortfolioModel real(positions, &f.securityModel);
    real.setAccount(account);
    real.setBaseCode(baseCode);
    QCOMPARE(names(real), expected);
}

void TestPortfolioModel::rebuildOnFilterChanges()
{
    PortfolioFixture f;
    f.addRow(QStringLiteral("Si-3.30"), 1);
    PortfolioModel real(f.market.positions(), &f.securityModel);
    QSignalSpy realResets(&real, SIGNAL(modelReset()));
    QSignalSpy resets(f.model.get(), SIGNAL(modelReset()));

    // The model portfolio has no account: its rows stay as they are.
    f.model->setAccount(QStringLiteral("TEST01"));
    QCOMPARE(resets.count(), 0);
    QCOMPARE(f.model->rowCount(), 1);
    real.setAccount(QStringLiteral("TEST01"));
    real.setAccount(QStringLiteral("TEST01"));
    QCOMPARE(realResets.count(), 2); // cleared and built once
    f.model->setBaseCode(QStringLiteral("Si"));
    f.model->setBaseCode(QStringLiteral("Si"));
    QCOMPARE(resets.count(), 2);
    // An account that does not filter leaves the real model as well.
    real.setAccountFilterEnabled(false);
    real.setAccount(QStringLiteral("TEST02"));
    QCOMPARE(realResets.count(), 2);
}

void TestPortfolioModel::rowIntervalsMerge()
{
    std::mt19937 random(7);
    for (int round = 0; round < 200; ++round) {
        RowIntervals intervals;
        std::vector<bool> rows(40, false);
        for (int i = 0; i < 12; ++i) {
            const int first = int(random() % 40), end = first + 1 + int(random() % 6);
            intervals.insert(first, std::min(end, 40));
            for (int r = first; r < std::min(end, 40); ++r)
                rows[size_t(r)] = true;
        }
        QCOMPARE(intervals.boundaries(), blocks(rows));
    }
}

void TestPortfolioModel::securitiesChangedMergesRows()
{
    PortfolioFixture f;
    // Every instrument of the fixture that the directory knows, RI or not.
    SecuritiesOptCalcDirectory* directory = SecuritiesOptCalcDirectory::instance();
    for (int i = 0; i < directory->count(); ++i)
        f.addRow(directory->at(i).record.data(QStringLiteral("sec_name")).toString(), 1);
    const int rows = f.model->rowCount();
    QCOMPARE(rows, directory->count());
    const int volat = f.model->fieldIndex(QStringLiteral("volat"));
    const int curKotirReal = f.model->fieldIndex(QStringLiteral("cur_kotir_real"));

    std::mt19937 random(3);
    for (int round = 0; round < 100; ++round) {
        QList<Record> changed;
        std::vector<bool> hit(size_t(rows), false);
        for (int row = 0; row < rows; ++row) {
            if (random() % 3 == 0) {
                changed << f.model->securityRecord(f.model->at(row));
                hit[size_t(row)] = true;
            }
        }
        if (round % 10 == 0) // a security no row holds changes nothing
            changed << f.market.security(QStringLiteral("RI-3.30 адр"));
        std::sort(changed.begin(), changed.end());
        QSignalSpy spy(f.model.get(), SIGNAL(dataChanged(QModelIndex, QModelIndex, QVector<int>)));
        f.model->securitiesChanged(changed);
        // The valuation re-emits for the Greeks of option rows; the market's own signals
        // span the market columns.
        QVector<int> bounds;
        for (const QList<QVariant>& signal : spy) {
            const QModelIndex from = signal.at(0).toModelIndex(), to = signal.at(1).toModelIndex();
            if (from.column() != volat || to.column() != curKotirReal)
                continue;
            bounds << from.row() << to.row() + 1;
        }
        QCOMPARE(bounds, blocks(hit));
    }
}

void TestPortfolioModel::serverTimeOncePerConnection()
{
    PortfolioFixture f;
    QSignalSpy spy(f.model.get(), SIGNAL(serverTimeChanged()));
    ConnectionsManager* connections = ConnectionsManager::instance();
    const int other = connections->addTransport(QStringLiteral("OTHER"));
    const datetime now = TestMarket::serverNow();
    connections->setTransportTime(other, now + 1000);
    QCOMPARE(spy.count(), 0);
    f.market.setServerTime(now + 1000);
    f.market.setServerTime(now + 2000);
    QCOMPARE(spy.count(), 1);
    QCOMPARE(f.model->serverTime(), now + 2000);
    f.market.setServerTime(datetime());
    f.market.setServerTime(now + 3000);
    QCOMPARE(spy.count(), 2);
    f.model->onServerTimeChanged(connections->count(), now);
    QCOMPARE(f.model->serverTime(), now + 3000);
}

void TestPortfolioModel::activeRows()
{
    PortfolioFixture f;
    const Record future = f.addRow(QStringLiteral("RI-3.30"), 1);
    const Record call = f.addRow(QStringLiteral("RI150000CA"), 1);
    const Record off = f.addRow(QStringLiteral("RI155000CA"), 1);
    const Record foreign = f.addRow(QStringLiteral("Si-3.30"), 1);
    const Record expired = f.addRow(QStringLiteral("RI140000PB"), 1);
    const Record gone = f.addRow(QStringLiteral("RI160000PA"), 1);
    f.set(off, {{"flags", 0}});
    f.market.setField(QStringLiteral("RI140000PB"), QStringLiteral("expdate"),
                      QVariant::fromValue(datetime(QDate(2030, 3, 1))));
    f.market.delist(QStringLiteral("RI160000PA"));

    QList<int> expected{f.rowOf(future), f.rowOf(call)};
    std::sort(expected.begin(), expected.end());
    QCOMPARE(f.model->activeRows(), expected);
    QCOMPARE(f.model->activeRowCount(), 2);
    QCOMPARE(f.model->activeRowAt(1), expected.at(1));
    QCOMPARE(f.model->activeRowAt(2), -1);
    QVERIFY(!f.model->allActiveOfSectype(QLatin1Char('F')));
    QVERIFY(f.model->isRowActive(off, false));
    for (const Record& row : {off, foreign, expired, gone})
        QCOMPARE(f.model->activeRowName(f.rowOf(row)), QString());
    QCOMPARE(f.model->activeRowName(f.rowOf(call)), QStringLiteral("RI150000CA"));
    QCOMPARE(f.model->activeRowNameByKey(f.model->activeRowKey(QStringLiteral("RI150000CA"))),
             QStringLiteral("RI150000CA"));
    QCOMPARE(f.model->activeRowKey(QStringLiteral("RI155000CA")), QString());
    // A security gone from the market keeps its row, without market data.
    QVERIFY(!f.model->securityExists(gone));
    QVERIFY(f.model->optCalcRecord(gone).isNull());
    f.set(call, {{"flags", 0}});
    QVERIFY(f.model->allActiveOfSectype(QLatin1Char('F')));
    QVERIFY(!f.model->allActiveOfSectype(QChar()));
}

void TestPortfolioModel::referencePoints()
{
    PortfolioFixture f;
    VirtualPortfolioModel& m = *f.model;
    QCOMPARE(m.nearestFuture(), f.market.security(QStringLiteral("RI-3.30")));
    QCOMPARE(m.baseFuturePriceStep(), 10.0);
    // The nearest strike; on a tie the first one listed.
    QCOMPARE(m.strikeNearest(decimal(152600, 0)), decimal(155000, 0));
    QCOMPARE(m.strikeNearest(decimal(152500, 0)), decimal(150000, 0));
    QCOMPARE(m.strikeNearest(decimal(1, 0)), decimal(140000, 0));

    // No position: the nearest option series gives the base, at its strike nearest the price.
    f.market.setField(QStringLiteral("RI-3.30"), QStringLiteral("cur_kotir_real"),
                      QVariant::fromValue(decimal(153400, 0)));
    QVERIFY(m.nearestPositionFuture().isNull());
    QCOMPARE(m.centralStrike(), decimal(155000, 0));
    // A future position alone gives its own price.
    const Record june = f.addRow(QStringLiteral("RI-6.30"), 1);
    QCOMPARE(m.nearestPositionFuture(), june);
    QCOMPARE(m.centralStrike(), decimal(151200, 0));
    // An option goes before any future, the nearest expiry first.
    f.addRow(QStringLiteral("RI150000CA"), 1);
    const Record weekly = f.addRow(QStringLiteral("RI140000PB"), 1);
    QCOMPARE(m.nearestPositionFuture(), weekly);
    QCOMPARE(m.centralStrike(), decimal(155000, 0));
    // Without any quote the middle of the plot stands in for the price.
    for (const char* column : {"cur_kotir_real", "cur_kotir", "old_kotir"})
        f.market.setField(QStringLiteral("RI-3.30"), QLatin1String(column), QVariant());
    m.setPlotMiddle(141234.5);
    QCOMPARE(m.basePrice(f.market.security(QStringLiteral("RI-3.30"))), decimal(1412345, 1));
    QCOMPARE(m.centralStrike(), decimal(140000, 0));
    QCOMPARE(m.basePrice(Record()), decimal::zero);
}

QTEST_MAIN(TestPortfolioModel)
#include "tst_portfoliomodel.moc"
