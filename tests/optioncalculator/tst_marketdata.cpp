// The calculator's directories of securities and volatility coefficients, the guard that
// makes them, and the check of their columns.
#include "marketdata/securitiesoptcalcdirectory.h"
#include "marketdata/singletonguard.h"
#include "marketdata/volatcoeffdirectory.h"

#include "support/testmarket.h"

#include "c_api/icore.h"
#include "c_api/tableregistry.h"
#include "database/masterindexcolumn.h"
#include "database/pricing.h"
#include "database/table.h"
#include "database/tableupdater.h"
#include "market/markettables.h"

#include <QProcess>
#include <QSemaphore>
#include <QtTest>

#include <algorithm>
#include <cstring>
#include <memory>
#include <stdexcept>

namespace {

const char* const incompleteTableArgument = "--directory-over-incomplete-table";

// What the child process does: a directory over a "securities" without "volat" and
// "europe", which must stop it.
int buildDirectoryOverIncompleteTable(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    ICore core;
    std::unique_ptr<Table> complete(MarketTables::createSecurities(nullptr));
    Table securities(QStringLiteral("securities"));
    for (const TableColumnDef* column : complete->fieldDefs())
        if (column->name != QLatin1String("volat") && column->name != QLatin1String("europe"))
            securities.addColumn(*column);
    securities.setMasterIndex(MasterIndex_Column::create(
        &securities,
        {QStringLiteral("stock_id"), QStringLiteral("board_id"), QStringLiteral("sec_id")}));
    core.tables()->registerTable(QStringLiteral("securities"), &securities);
    SecuritiesOptCalcDirectory::instance();
    return 0;
}

// Counts its constructions; fails while failuresLeft, and waits for release once started
// is set.
struct Probe
{
    static inline int made = 0, failuresLeft = 0;
    static inline QSemaphore *started = nullptr, *release = nullptr;
    Probe()
    {
        if (started) {
            started->release();
            release->acquire();
        }
        if (failuresLeft > 0) {
            --failuresLeft;
            throw std::runtime_error("not yet");
        }
        ++made;
    }
};

} // namespace

class TestMarketData : public QObject
{
    Q_OBJECT

private slots:
    void cleanup();

    void directoryHoldsTheDerivatives();
    void directorySignals();
    void coefficients();
    void coefficientsTableMissing();
    void guardRetriesAndMakesOne();
    void missingColumnStopsTheProgram();
};

void TestMarketData::cleanup()
{
    // Each test has tables of its own; the directories must not outlive them.
    SecuritiesOptCalcDirectory::resetInstance();
    VolatCoeffDirectory::resetInstance();
}

void TestMarketData::directoryHoldsTheDerivatives()
{
    TestMarket market;
    SecuritiesOptCalcDirectory* directory = SecuritiesOptCalcDirectory::instance();

    // The futures and options boards of stock 1 (the fixture has 30 such rows), in the
    // order of (stock, sec); the rows of the other board and stock are looked for below.
    QCOMPARE(directory->count(), 30);
    for (int i = 1; i < directory->count(); ++i)
        QVERIFY(directory->at(i - 1).record.data(QStringLiteral("sec_id")).toInteger64() <
                directory->at(i).record.data(QStringLiteral("sec_id")).toInteger64());

    const OptCalcSecurity& call = directory->find(1, market.secId(QStringLiteral("RI150000CA")));
    QCOMPARE(call.record, market.security(QStringLiteral("RI150000CA")));
    QCOMPARE(call.record.data(call.columns->strike).toDecimal(), decimal(150000, 0));
    QCOMPARE(call.record.data(call.columns->base_isin_id).toInteger(), 11);

    // Other boards, other stocks and unknown keys give the null security.
    for (const auto& key : {qMakePair(1, market.secId(QStringLiteral("RI-3.30 адр"))),
                            qMakePair(2, market.secId(QStringLiteral("RI150000CX"))),
                            qMakePair(1, market.secId(QStringLiteral("RI150000CX"))),
                            qMakePair(1, qint64(999999)), qMakePair(2, qint64(1000))}) {
        const OptCalcSecurity& none = directory->find(key.first, key.second);
        QVERIFY(none.isNull());
        QCOMPARE(none.columns->strike, -1);
    }

    // A build tells nobody, however many rows it takes.
    QSignalSpy inserted(directory, &SecuritiesOptCalcDirectory::rowsInserted);
    directory->clear();
    QCOMPARE(directory->count(), 0);
    directory->build();
    QCOMPARE(directory->count(), 30);
    QCOMPARE(inserted.count(), 0);

    // Once the table is gone nothing is held, and nothing reads a dead row.
    delete market.securities();
    QCOMPARE(directory->count(), 0);
    QVERIFY(directory->find(1, market.secIds().first()).isNull());
}

void TestMarketData::directorySignals()
{
    TestMarket market;
    SecuritiesOptCalcDirectory* directory = SecuritiesOptCalcDirectory::instance();
    QSignalSpy updates(directory, &SecuritiesOptCalcDirectory::processUpdate);
    QSignalSpy inserted(directory, &SecuritiesOptCalcDirectory::rowsInserted);
    QSignalSpy removed(directory, &SecuritiesOptCalcDirectory::rowsRemoved);
    auto quiet = [&] { return updates.isEmpty() && inserted.isEmpty() && removed.isEmpty(); };

    // One signal per batch, its records in row order, foreign rows left out.
    const QStringList names = {QStringLiteral("Si-3.30"), QStringLiteral("RI150000PB"),
                               QStringLiteral("RI-3.30 адр"), QStringLiteral("RI-3.30")};
    {
        TableUpdater batch(market.securities());
        for (const QString& name : names)
            market.setPrice(name, decimal(1, 0));
    }
    QCOMPARE(updates.count(), 1);
    QList<Record> expected;
    for (const QString& name : names)
        if (name != QStringLiteral("RI-3.30 адр"))
            expected << market.security(name);
    std::sort(expected.begin(), expected.end());
    QCOMPARE(updates.takeFirst().first().value<QList<Record>>(), expected);
    QVERIFY(quiet());

    // Batches of other boards and stocks only: nothing.
    market.setPrice(QStringLiteral("RI-3.30 адр"), decimal(2, 0));
    market.setField(QStringLiteral("RI150000CX"), QStringLiteral("bid"),
                    QVariant::fromValue(decimal(3, 0)));
    QVERIFY(quiet());

    // Listing and delisting.
    const qint64 listed = market.listOption(decimal(165000, 0), false);
    QCOMPARE(inserted.count(), 1);
    QCOMPARE(inserted.takeFirst(), QVariantList({1, listed}));
    QVERIFY(!directory->find(1, listed).isNull());
    const qint64 put = market.secId(QStringLiteral("RI140000PA"));
    market.delist(QStringLiteral("RI140000PA"));
    QCOMPARE(removed.count(), 1);
    QCOMPARE(removed.takeFirst(), QVariantList({1, put}));
    QVERIFY(directory->find(1, put).isNull());
    QVERIFY(quiet());

    // A row that never entered leaves silently.
    market.delist(QStringLiteral("RI-3.30 адр"));
    market.delist(QStringLiteral("RI150000CX"));
    QVERIFY(quiet());

    // The same key again replaces the record, and still announces it.
    const int count = directory->count();
    const Record copy = market.security(QStringLiteral("RI-3.30")).clone();
    directory->add(copy);
    QCOMPARE(directory->count(), count);
    QCOMPARE(inserted.count(), 1);
    QCOMPARE(directory->find(1, market.secId(QStringLiteral("RI-3.30"))).record, copy);
}

void TestMarketData::coefficients()
{
    TestMarket market;
    VolatCoeffDirectory* directory = VolatCoeffDirectory::instance();
    QVERIFY(directory->hasCoefficients(12));
    QVERIFY(!directory->hasCoefficients(13));

    VolatInputParams in;
    in.strike = 145000.0;
    QVERIFY(directory->coefficients(12, in));
    QCOMPARE((QList<double>{in.a, in.b, in.c, in.d, in.e, in.s, in.strike}),
             (QList<double>{32, 5, 0.8, -2, 1, 0.05, 145000}));
    const VolatInputParams before = in;
    QVERIFY(!directory->coefficients(13, in));
    QVERIFY(std::memcmp(&before, &in, sizeof in) == 0);

    // One signal for each batch of the coefficients, none for another table; the key
    // follows the batches.
    QSignalSpy changed(directory, &VolatCoeffDirectory::dataChanged);
    market.setCoefficient(12, QStringLiteral("a"), 33.5);
    market.setCoefficient(13, QStringLiteral("b"), 1.0);
    {
        TableUpdater batch(market.volatCoeff());
        market.setCoefficient(11, QStringLiteral("s"), 0.1);
        market.setCoefficient(21, QStringLiteral("e"), 2.0);
    }
    market.setPrice(QStringLiteral("RI-3.30"), decimal(150010, 0));
    QCOMPARE(changed.count(), 3);
    QVERIFY(directory->coefficients(12, in));
    QCOMPARE(in.a, 33.5);
    QVERIFY(directory->hasCoefficients(13));
    directory->dependentEndUpdate(market.securities());
    directory->dependentEndUpdate(nullptr);
    QCOMPARE(changed.count(), 3);

    // After the terminal destroyed the table, both lookups fail cleanly.
    delete market.volatCoeff();
    QVERIFY(!directory->hasCoefficients(12));
    const VolatInputParams last = in;
    QVERIFY(!directory->coefficients(12, in));
    QVERIFY(std::memcmp(&last, &in, sizeof in) == 0);
}

void TestMarketData::coefficientsTableMissing()
{
    ICore core;
    for (int attempt = 0; attempt < 2; ++attempt) {
        try {
            VolatCoeffDirectory::instance();
            QFAIL("made without its table");
        } catch (const QString& message) {
            QCOMPARE(message, QStringLiteral("Таблица tz.volat_coeff отсутствует"));
        }
    }
    // The next attempt after the table arrived succeeds.
    core.tables()->registerTable(MarketTables::volatCoeffName(),
                                 MarketTables::createVolatCoeff(&core));
    VolatCoeffDirectory* directory = VolatCoeffDirectory::instance();
    QVERIFY(directory);
    QVERIFY(!directory->hasCoefficients(11));
}

void TestMarketData::guardRetriesAndMakesOne()
{
    SingletonGuard<Probe> guard;
    Probe::failuresLeft = 2;
    for (int attempt = 0; attempt < 2; ++attempt) {
        QVERIFY_EXCEPTION_THROWN(guard.instance(), std::runtime_error);
        QCOMPARE(guard.state(), SingletonGuard<Probe>::Failed);
    }
    QVERIFY(guard.instance());
    QCOMPARE(guard.instance(), guard.instance());
    QCOMPARE(Probe::made, 1);
    guard.reset();

    // A second caller while the first is constructing waits for the same object.
    QSemaphore started, release;
    Probe::made = 0;
    Probe::started = &started;
    Probe::release = &release;
    Probe* first = nullptr;
    Probe* second = nullptr;
    std::unique_ptr<QThread> a(QThread::create([&] { first = guard.instance(); }));
    a->start();
    started.acquire();
    QCOMPARE(guard.state(), SingletonGuard<Probe>::InProgress);
    std::unique_ptr<QThread> b(QThread::create([&] { second = guard.instance(); }));
    b->start();
    release.release();
    QVERIFY(a->wait());
    QVERIFY(b->wait());
    Probe::started = Probe::release = nullptr;
    QVERIFY(first);
    QCOMPARE(second, first);
    QCOMPARE(Probe::made, 1);
}

void TestMarketData::missingColumnStopsTheProgram()
{
    QProcess child;
    child.start(QCoreApplication::applicationFilePath(),
                {QString::fromLatin1(incompleteTableArgument)});
    QVERIFY(child.waitForFinished());
    QVERIFY(child.exitStatus() == QProcess::CrashExit || child.exitCode() != 0);
    const QString output = QString::fromUtf8(child.readAllStandardError());
    QVERIFY2(output.contains(QRegularExpression(QStringLiteral(
                 "ASSERT failure in CHECK_COLUMNS_FUNC!\nUnsetted struct members found! Members "
                 "position: 6 22 \nFile \\S*securitiesoptcalcdirectory\\.cpp, Line \\d+"))),
             qPrintable(output));
}

int main(int argc, char** argv)
{
    if (argc > 1 && std::strcmp(argv[1], incompleteTableArgument) == 0)
        return buildDirectoryOverIncompleteTable(argc, argv);
    QCoreApplication app(argc, argv);
    TestMarketData test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_marketdata.moc"
