// The models of the calculator over the securities of a base code: the security model and
// its clock, the tree of distinct values, and the strikes and expiry dates.
#include "marketdata/expdatebybasecodemodel.h"
#include "marketdata/optcalcsecuritymodel.h"
#include "marketdata/sectreemodel.h"
#include "marketdata/strikebybasecodemodel.h"

#include "support/testmarket.h"

#include "database/table.h"
#include "database/tableupdater.h"

#include <QAbstractItemModelTester>
#include <QtTest>

#include <memory>
#include <vector>

namespace {

const datetime weekly(QDate(2030, 3, 13));
const datetime monthly(QDate(2030, 3, 20));
constexpr qint64 Hour = 3600000;

// Spies on every change that a model can tell its views of.
std::vector<std::unique_ptr<QSignalSpy>> spiesOn(const QList<QAbstractItemModel*>& models)
{
    std::vector<std::unique_ptr<QSignalSpy>> spies;
    for (QAbstractItemModel* model : models)
        for (const char* signal :
             {SIGNAL(modelReset()), SIGNAL(rowsInserted(QModelIndex, int, int)),
              SIGNAL(rowsRemoved(QModelIndex, int, int)),
              SIGNAL(dataChanged(QModelIndex, QModelIndex)), SIGNAL(layoutChanged())})
            spies.push_back(std::make_unique<QSignalSpy>(model, signal));
    return spies;
}

QList<double> strikesOf(const StrikeByBaseCodeModel& model)
{
    QList<double> strikes;
    for (int row = 0; row < model.rowCount(); ++row)
        strikes << model.strikeAt(row).toDouble();
    return strikes;
}

} // namespace

class TestSecurityModels : public QObject
{
    Q_OBJECT

private slots:
    void secondsToExpiry_data();
    void secondsToExpiry();
    void expiryAndUpdateOnlyBatches();
    void secTreeMatchesAsTheWalk();
    void strikes();
    void expiryDates();
};

void TestSecurityModels::secondsToExpiry_data()
{
    // Times after 00:00 of the expiry date; -1 for a null time.
    QTest::addColumn<bool>("connected");
    QTest::addColumn<qint64>("serverTime");
    QTest::addColumn<qint64>("lastTime");
    QTest::addColumn<qint64>("fixedNow");
    QTest::addColumn<qint64>("offset");
    QTest::addColumn<qint64>("expected");

    QTest::newRow("connected: the server's time goes before the fixed now")
        << true << 18 * Hour << 12 * Hour << 10 * Hour << 0LL << 3600LL;
    QTest::newRow("connected: a later lasttime goes before the server's time")
        << true << 17 * Hour << 18 * Hour + 1800000 << 10 * Hour << 0LL << 1800LL;
    QTest::newRow("connected without any time: the fixed now")
        << true << -1LL << -1LL << 19 * Hour - 1000 << 0LL << 1LL;
    QTest::newRow("disconnected: the fixed now, truncated")
        << false << 18 * Hour << 18 * Hour << 19 * Hour - 1 << 0LL << 0LL;
    QTest::newRow("past the end, truncated towards zero")
        << false << -1LL << -1LL << 19 * Hour + 1500 << 0LL << -1LL;
    QTest::newRow("offset") << false << -1LL << -1LL << 18 * Hour << 600LL << 3000LL;
}

void TestSecurityModels::secondsToExpiry()
{
    QFETCH(bool, connected);
    QFETCH(qint64, serverTime);
    QFETCH(qint64, lastTime);
    QFETCH(qint64, fixedNow);
    QFETCH(qint64, offset);
    QFETCH(qint64, expected);
    auto at = [](qint64 ms) { return ms < 0 ? datetime() : weekly + ms; };

    TestMarket market;
    market.setServerTime(at(serverTime));
    market.setConnected(connected);
    OptCalcSecurityModel model(QStringLiteral("RI"));
    // The names of the valuation passes; the expiry test below uses the others.
    model.setFrozenTime(at(fixedNow));
    model.setClockFrozen(true);
    QCOMPARE(model.secondsToExpiry(at(lastTime), weekly, offset), expected);
    QCOMPARE(model.secondsToExpiry(at(lastTime), datetime(), offset), 0LL);
}

void TestSecurityModels::expiryAndUpdateOnlyBatches()
{
    TestMarket market;
    market.setConnected(false);
    QObject owner;
    OptCalcSecurityModel* model =
        OptCalcSecurityModel::createSecurityModel(QStringLiteral("RI"), &owner);
    model->setFixedNow(weekly + 19 * Hour - 1000);
    model->setUseFixedNow(true);
    model->build();
    new QAbstractItemModelTester(model, QAbstractItemModelTester::FailureReportingMode::Fatal,
                                 model);
    // Two futures, two series of five strikes, calls and puts; nothing of other codes.
    QCOMPARE(model->rowCount(), 22);

    // At 19:00 the weekly series has expired, but a batch of updates alone reaches nothing.
    model->setFixedNow(weekly + 19 * Hour);
    const int strike = market.securities()->columnIndex(QStringLiteral("strike"));
    SecTreeModel tree(model, strike);
    tree.build();
    StrikeByBaseCodeModel strikes(market.securities());
    strikes.setBaseCode(QStringLiteral("RI"));
    ExpdateByBaseCodeModel dates(market.securities());
    dates.setBaseCode(QStringLiteral("RI"));
    const auto spies = spiesOn({model, &tree, &strikes, &dates});
    market.setPrice(QStringLiteral("RI150000CB"), decimal(1, 0));
    market.setField(QStringLiteral("RI145000PA"), QStringLiteral("strike"),
                    QVariant::fromValue(decimal(147500, 0)));
    for (const auto& spy : spies)
        QVERIFY2(spy->isEmpty(), spy->signal().constData());
    QCOMPARE(model->rowCount(), 22);
    QCOMPARE(strikes.rowOfStrike(decimal(147500, 0)), -1);

    // A batch that lists an instrument takes the expired row that it updates out.
    const Record expired = market.security(QStringLiteral("RI150000CB"));
    qint64 listed = 0;
    {
        TableUpdater batch(market.securities());
        market.setPrice(QStringLiteral("RI150000CB"), decimal(2, 0));
        listed = market.listOption(decimal(165000, 0), false);
    }
    QCOMPARE(model->rowCount(), 22);
    QCOMPARE(model->indexOf(expired), -1);
    QVERIFY(model->indexOf(market.security(listed)) >= 0);
    QCOMPARE(strikes.rowOfStrike(decimal(165000, 0)), 5);
    // Anew, the whole weekly series is gone.
    model->rebuild();
    QCOMPARE(model->rowCount(), 13);
}

void TestSecurityModels::secTreeMatchesAsTheWalk()
{
    TestMarket market;
    const Table* securities = market.securities();
    const int strike = securities->columnIndex(QStringLiteral("strike"));
    const int optionType = securities->columnIndex(QStringLiteral("option_type"));
    const int expdate = securities->columnIndex(QStringLiteral("expdate"));
    // Listed from the top, so that the rows' order is not the strikes'.
    for (int k = 39; k >= 0; --k)
        market.listOption(decimal(161000 + 1000 * k, 0), k % 2 == 0);

    auto owner = std::make_unique<QObject>();
    OptCalcSecurityModel* source =
        OptCalcSecurityModel::createSecurityModel(QStringLiteral("RI"), owner.get());
    source->build();
    QPointer<OptCalcSecurityModel> watch(source);
    auto tree = std::make_unique<SecTreeModel>(source, strike);
    tree->setFieldFilter(
        {{optionType, FieldConstValue(QStringLiteral("C"))}, {expdate, FieldConstValue(monthly)}});
    tree->build();
    QCOMPARE(tree->rowCount(), 25);

    for (int row = 0; row < tree->rowCount(); ++row) {
        const QVariant value = tree->data(tree->index(row, strike), Qt::EditRole);
        const Record security = tree->data(tree->index(row, 0), Qt::UserRole).value<Record>();
        QCOMPARE(security.data(strike).toDecimal(), value.value<decimal>());
        QCOMPARE(security.data(optionType).toString(), QStringLiteral("C"));
        QCOMPARE(security.data(expdate).toDatetime(), monthly);

        // The values of the sort column are found by halves, as the walk finds them.
        for (int column : {0, strike}) {
            const QModelIndex start = tree->index(row % 7, column);
            for (int flags : {int(Qt::MatchExactly), int(Qt::MatchExactly | Qt::MatchWrap)})
                QCOMPARE(tree->match(start, Qt::EditRole, value, 1, Qt::MatchFlags(flags)),
                         tree->QAbstractItemModel::match(start, Qt::EditRole, value, 1,
                                                         Qt::MatchFlags(flags)));
        }
        // Role 256 gives securities, which do not stand in order: the walk finds them.
        const QModelIndex top = tree->index(0, strike);
        const QVariant record = QVariant::fromValue(security);
        QCOMPARE(tree->match(top, Qt::UserRole, record, 1, Qt::MatchExactly),
                 QModelIndexList{tree->index(row, strike)});
    }
    // Another column: the walk.
    const QModelIndex types = tree->index(3, optionType);
    QCOMPARE(tree->match(types, Qt::EditRole, QStringLiteral("C"), -1, Qt::MatchWrap),
             tree->QAbstractItemModel::match(types, Qt::EditRole, QStringLiteral("C"), -1,
                                             Qt::MatchWrap));

    // The source forgets a tree that goes first; it outlives its owner while a tree lives,
    // and feeds it.
    {
        SecTreeModel gone(source, strike);
    }
    owner.reset();
    QVERIFY(watch);
    market.listOption(decimal(139000, 0), false);
    QCOMPARE(tree->rowCount(), 26);
    QCOMPARE(tree->data(tree->index(0, strike), Qt::EditRole).value<decimal>(), decimal(139000, 0));
    tree.reset();
    QVERIFY(!watch);
}

void TestSecurityModels::strikes()
{
    TestMarket market;
    StrikeByBaseCodeModel model(market.securities());
    new QAbstractItemModelTester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal,
                                 &model);
    model.setBaseCode(QString());
    QCOMPARE(strikesOf(model),
             QList<double>({88000, 90000, 92000, 140000, 145000, 150000, 155000, 160000}));
    model.setBaseCode(QStringLiteral("RI"));
    const QList<double> all = {140000, 145000, 150000, 155000, 160000};
    QCOMPARE(strikesOf(model), all);
    QCOMPARE(model.rowOfStrike(decimal(1500000, 1)), 2);
    QCOMPARE(model.rowOfStrike(decimal(150001, 0)), -1);
    QCOMPARE(model.strikeAt(-1).value(), 0LL);
    QCOMPARE(model.strikeAt(5).value(), 0LL);

    // Cuts at both ends: each end keeps what the other cut; without refresh nothing shows.
    auto cut = [&model](bool lowest, int count, bool refresh) {
        lowest ? model.excludeLowest(count, refresh) : model.excludeHighest(count, refresh);
        return strikesOf(model);
    };
    QCOMPARE(cut(true, 2, true), QList<double>({150000, 155000, 160000}));
    QCOMPARE(cut(false, 2, true), QList<double>({150000}));
    QCOMPARE(cut(false, 5, true), QList<double>());
    QCOMPARE(cut(true, 0, true), QList<double>({140000, 145000}));
    QCOMPARE(cut(true, 3, true), QList<double>());
    QCOMPARE(cut(false, 0, false), QList<double>());
    QCOMPARE(cut(true, 1, true), QList<double>({145000, 150000, 155000, 160000}));
    QCOMPARE(cut(true, 0, true), all);

    // Strikes excluded for a date.
    model.setExcludedStrikes(monthly, {decimal(145000, 0), decimal(160000, 0)});
    QCOMPARE(strikesOf(model), QList<double>({140000, 150000, 155000}));
    QSignalSpy resets(&model, &QAbstractItemModel::modelReset);
    model.setExcludedStrikes(monthly, {});
    model.setExcludedStrikes(monthly, {decimal(1450000, 1), decimal(160000, 0)});
    model.setExcludedStrikes(datetime(), {decimal(140000, 0)});
    QCOMPARE(resets.count(), 0);
    model.setExcludedStrikes(weekly, {});
    QCOMPARE(strikesOf(model), all);

    // Only one expiry date; new listings arrive.
    market.listOption(decimal(165000, 0), true);
    QCOMPARE(model.rowCount(), 6);
    model.setExpDate(weekly);
    QCOMPARE(strikesOf(model), all);
}

void TestSecurityModels::expiryDates()
{
    TestMarket market;
    ExpdateByBaseCodeModel model(market.securities());
    auto dates = [&model] {
        QList<datetime> out;
        for (int row = 0; row < model.rowCount(); ++row)
            out << model.dateAt(row);
        return out;
    };
    model.setBaseCode(QStringLiteral("RI"));
    QCOMPARE(dates(), QList<datetime>({monthly, datetime(QDate(2030, 6, 18))}));
    model.setFutures(false);
    QCOMPARE(dates(), QList<datetime>({weekly, monthly}));
    QCOMPARE(model.rowOfDate(monthly), 1);
    QCOMPARE(model.rowOfDate(datetime(QDate(2030, 6, 18))), -1);
    QVERIFY(model.dateAt(2).isNull());
    model.setBaseCode(QStringLiteral("GZ"));
    QCOMPARE(model.rowCount(), 0);
    model.setFutures(true);
    QCOMPARE(dates(), QList<datetime>({monthly}));
    model.setBaseCode(QString());
    QCOMPARE(model.rowCount(), 0);
}

QTEST_GUILESS_MAIN(TestSecurityModels)
#include "tst_securitymodels.moc"
