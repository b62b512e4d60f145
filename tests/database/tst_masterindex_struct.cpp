#include "database/masterindex_struct.h"
#include "database/recordstrans.h"
#include "database/recordupdater.h"
#include "database/tableupdater.h"

#include <QRandomGenerator>
#include <QTest>

#include <memory>

namespace {

// The layout of the calculator's plot table: (stock_id, sec_id, profile_type, kotir).
std::unique_ptr<Table> plotsTable(int profileLength = 30, bool kotirNullable = false)
{
    auto t = std::make_unique<Table>(QStringLiteral("plots"));
    t->addColumn(QStringLiteral("stock_id"), FieldType::Integer, 0, false, QString());
    t->addColumn(QStringLiteral("sec_id"), FieldType::Integer64, 0, false, QString());
    t->addColumn(QStringLiteral("profile_type"), FieldType::String, profileLength, false,
                 QString());
    t->addColumn(QStringLiteral("kotir"), FieldType::Decimal, 4, kotirNullable, QString());
    t->addColumn(QStringLiteral("value"), FieldType::Double, 10, true, QString());
    return t;
}

const QStringList PlotKey = {"stock_id", "sec_id", "profile_type", "kotir"};
const QStringList PositionKey = {"stock_id", "board_id", "sec_id"};

std::unique_ptr<Table> positionsTable(FieldType::Type secIdType = FieldType::Integer64)
{
    auto t = std::make_unique<Table>(QStringLiteral("positions_virtual"));
    t->addColumn(QStringLiteral("stock_id"), FieldType::Integer, 0, false, QString());
    t->addColumn(QStringLiteral("board_id"), FieldType::Integer, 0, false, QString());
    t->addColumn(QStringLiteral("sec_id"), secIdType, 0, false, QString());
    t->addColumn(QStringLiteral("pos"), FieldType::Integer64, 0, true, QString());
    return t;
}

using PlotIndex = MasterIndex_Struct<int, __int64, ucharn<30>, decimal>;
using PositionIndex = MasterIndex_Struct<int, int, __int64>;

} // namespace

class TestMasterIndexStruct : public QObject
{
    Q_OBJECT

private slots:
    void ordersAsTheGeneralKey();
    void positionsKey();
    void fallbacks_data();
    void fallbacks();
    void textOrdersByCodeUnit();
    void findByKeyFollowsEveryChange();
    void findByKeyInATableOfOneRow();
};

void TestMasterIndexStruct::ordersAsTheGeneralKey()
{
    auto t = plotsTable();
    MasterIndex* fast = PlotIndex::create(t.get(), PlotKey);
    QCOMPARE(fast->getClassName(), QStringLiteral("MasterIndex_Struct"));
    QVERIFY(dynamic_cast<MasterIndex_Column*>(fast)); // a drop-in for the general key
    t->setMasterIndex(fast);
    MasterIndex_Column* general = MasterIndex_Column::create(t.get(), PlotKey);
    t->addIndex(general);

    QRandomGenerator rng(2026);
    const QStringList profiles = {"Текущий", "Экспирация", "Изменённый", "", "Z", "a"};
    {
        TableUpdater batch(t.get());
        RecordsTrans trans(t.get());
        for (int i = 0; i < 3000; ++i) {
            Record r(t.get());
            RecordUpdater u(r, trans);
            u.data(0) = int(rng.bounded(3)) - 1;
            u.data(1) = static_cast<long long>(rng.bounded(40)) - 20;
            u.data(2) = profiles.at(rng.bounded(profiles.size()));
            u.data(3) = decimal(qint64(rng.bounded(2000)) - 1000, 4);
            u.data(4) = double(i);
        }
    }
    QVERIFY(t->rowCount() > 1000);
    QCOMPARE(general->count(), t->rowCount());
    for (int i = 0; i < t->rowCount(); ++i) {
        QCOMPARE(fast->at(i), general->at(i));
        if (i > 0)
            QVERIFY(fast->compare(fast->at(i - 1), fast->at(i)) < 0);
    }
    // Both find every row by a key record built from the key columns alone.
    for (int i = 0; i < t->rowCount(); i += 37) {
        Record key(t.get());
        for (int c = 0; c < 4; ++c)
            key.data(c) = fast->at(i).data(c);
        QCOMPARE(fast->search(key, -1), i);
        QCOMPARE(general->search(key, -1), i);
        QCOMPARE(fast->findRecord(fast->at(i).toString()), fast->at(i));
    }
    // Random keys, most of them absent, land where the general key puts them, with a hint
    // right, wrong or out of range.
    for (int i = 0; i < 500; ++i) {
        Record key(t.get());
        key.data(0) = int(rng.bounded(3)) - 1;
        key.data(1) = static_cast<long long>(rng.bounded(44)) - 22;
        key.data(2) = profiles.at(rng.bounded(profiles.size()));
        key.data(3) = decimal(qint64(rng.bounded(2000)) - 1000, 4);
        const int expected = general->search(key, -1);
        const int hint = int(rng.bounded(t->rowCount() + 2)) - 1;
        QCOMPARE(fast->search(key, hint), expected);
        if (expected >= 0)
            QCOMPARE(fast->search(key, expected), expected);
    }
    QCOMPARE(fast->search(Record(), 0), -1);
    delete general;
}

void TestMasterIndexStruct::positionsKey()
{
    auto t = positionsTable();
    t->setMasterIndex(PositionIndex::create(t.get(), PositionKey));
    QCOMPARE(t->masterIndex()->getClassName(), QStringLiteral("MasterIndex_Struct"));
    const qint64 ids[] = {5, -3, 1LL << 40, 0, 7};
    for (qint64 id : ids) {
        Record r(t.get());
        r.data(0) = 1;
        r.data(1) = id == 7 ? 14 : 1;
        r.data(2) = static_cast<long long>(id);
        t->insertRecord(r);
    }
    QStringList order;
    for (const Record& r : t->masterIndex()->records())
        order << r.toString();
    QCOMPARE(order, QStringList({"1|1|-3", "1|1|0", "1|1|5", "1|1|1099511627776", "1|14|7"}));
    // A column outside the key has no part in the comparison.
    Record a = t->masterIndex()->at(0).clone();
    a.data(3) = 500LL;
    QCOMPARE(t->masterIndex()->compare(a, t->masterIndex()->at(0)), 0);
}

void TestMasterIndexStruct::fallbacks_data()
{
    QTest::addColumn<int>("profileLength");
    QTest::addColumn<bool>("nullable");
    QTest::addColumn<QStringList>("columns");
    QTest::addColumn<QString>("message"); // the reason the warning gives
    QTest::addColumn<int>("rows");        // distinct keys among the 20 rows written

    QTest::newRow("nullable column")
        << 30 << true << PlotKey << "column can't be nullable 3:'kotir'" << 20;
    QTest::newRow("text of another length")
        << 20 << false << PlotKey << "incorrect column 2:'profile_type' type length: 60!=40" << 20;
    QTest::newRow("too few columns")
        << 30 << false << QStringList({"stock_id", "sec_id", "profile_type"})
        << "incorrect columns count 4!=3" << 10;
    QTest::newRow("wrong type") << 30 << false
                                << QStringList({"sec_id", "sec_id", "profile_type", "kotir"})
                                << "incorrect column 0:'sec_id' type: int!=int64" << 20;
    QTest::newRow("missing column")
        << 30 << false << QStringList({"stock_id", "sec_id", "profile", "kotir"})
        << "incorrect column 2:'profile' type: string!=invalid" << 20;
}

void TestMasterIndexStruct::fallbacks()
{
    QFETCH(int, profileLength);
    QFETCH(bool, nullable);
    QFETCH(QStringList, columns);
    QFETCH(QString, message);
    QFETCH(int, rows);

    auto t = plotsTable(profileLength, nullable);
    QTest::ignoreMessage(QtWarningMsg, qPrintable("ThisIndexType : Cannot create optimized "
                                                  "MasterIndex for 'plots': MasterIndex_Struct: " +
                                                  message));
    MasterIndex* index = PlotIndex::create(t.get(), columns);
    QVERIFY(index);
    QCOMPARE(index->getClassName(), QStringLiteral("MasterIndex_Column"));
    t->setMasterIndex(index);

    // The table works as before with the general key.
    for (int i = 0; i < 20; ++i) {
        Record r(t.get());
        r.data(0) = 1;
        r.data(1) = static_cast<long long>(i % 5);
        r.data(2) = QStringLiteral("p%1").arg(i % 2);
        r.data(3) = decimal(i, 0);
        t->insertRecord(r);
    }
    QCOMPARE(t->rowCount(), rows);
    for (int i = 1; i < t->rowCount(); ++i)
        QVERIFY(index->compare(index->at(i - 1), index->at(i)) < 0);
}

void TestMasterIndexStruct::textOrdersByCodeUnit()
{
    auto t = plotsTable();
    t->setMasterIndex(PlotIndex::create(t.get(), PlotKey));
    // By code unit: "B" 0x42 < "a" 0x61 < "Я" 0x42F < "ё" 0x451, whatever the locale says.
    const QStringList texts = {"a", "B", "ё", "Я", "ab", ""};
    for (const QString& text : texts) {
        Record r(t.get());
        r.data(0) = 1;
        r.data(2) = text;
        t->insertRecord(r);
    }
    QStringList order;
    for (const Record& r : t->masterIndex()->records())
        order << r.data(2).toString();
    QCOMPARE(order, QStringList({"", "B", "a", "ab", "Я", "ё"}));
}

// Look-ups by key go through a cache of rows found before; whatever happened to those rows
// since (removed, rekeyed in place or in a batch, replaced by a new row with the same key,
// the table cleared), the answer must be the one a scan of the table gives.
void TestMasterIndexStruct::findByKeyFollowsEveryChange()
{
    auto t = positionsTable();
    t->setMasterIndex(PositionIndex::create(t.get(), PositionKey));
    QCOMPARE(t->masterIndex()->getClassName(), QStringLiteral("MasterIndex_Struct"));
    const int secIds = 40;
    auto keyOf = [&](int board, qint64 secId) {
        Record k(t.get());
        k.data(0) = 1;
        k.data(1) = board;
        k.data(2) = static_cast<long long>(secId);
        return k;
    };
    auto scan = [&](int board, qint64 secId) {
        for (const Record& r : t->masterIndex()->records())
            if (r.data(1).toInteger() == board && r.data(2).toInteger64() == secId)
                return r;
        return Record();
    };
    QRandomGenerator rng(2024);
    for (int step = 0; step < 3000; ++step) {
        const int board = rng.bounded(2) ? 1 : 14;
        const qint64 secId = rng.bounded(secIds);
        const Record row = scan(board, secId);
        switch (rng.bounded(6)) {
        case 0: // a new row, or new values for the row of that key
            t->insertRecord(keyOf(board, secId));
            break;
        case 1:
            if (!row.isNull())
                t->removeRecord(row);
            break;
        case 2: // the key rewritten in place, when the new key is free
            if (!row.isNull()) {
                const qint64 to = rng.bounded(secIds);
                if (scan(board, to).isNull()) {
                    Record r = row;
                    r.data(2) = static_cast<long long>(to);
                    t->updated(r, 2, 2);
                }
            }
            break;
        case 3: // the key changed through a transaction
            if (!row.isNull()) {
                const qint64 to = rng.bounded(secIds);
                if (scan(board, to).isNull()) {
                    RecordsTrans trans(t.get());
                    RecordUpdater(row, trans).data(2) = static_cast<long long>(to);
                }
            }
            break;
        case 4: // removed and another row with the same key inserted in one batch
            if (!row.isNull()) {
                TableUpdater batch(t.get());
                t->removeRecord(row);
                t->insertRecord(keyOf(board, secId));
            }
            break;
        default:
            if (rng.bounded(50) == 0)
                t->clear();
            break;
        }
        for (int probe = 0; probe < 4; ++probe) {
            const int b = rng.bounded(2) ? 1 : 14;
            const qint64 s = rng.bounded(secIds);
            const Record expected = scan(b, s);
            const Record found = t->masterIndex()->findByKey(keyOf(b, s));
            QVERIFY2(found == expected,
                     qPrintable(QStringLiteral("step %1 key %2/%3").arg(step).arg(b).arg(s)));
            QVERIFY(found == t->masterIndex()->findByKey(keyOf(b, s)));
        }
    }
}

void TestMasterIndexStruct::findByKeyInATableOfOneRow()
{
    auto t = positionsTable();
    t->setMasterIndex(PositionIndex::create(t.get(), PositionKey));
    Record key(t.get());
    key.data(0) = 1;
    key.data(1) = 14;
    key.data(2) = 7LL;
    t->insertRecord(key.clone());
    const Record row = t->masterIndex()->findByKey(key);
    QVERIFY(!row.isNull());
    QCOMPARE(t->masterIndex()->findByKey(key), row);
    // A new row of the same key replaces the values of the one present.
    Record again = key.clone();
    again.data(3) = 5LL;
    t->insertRecord(again);
    QCOMPARE(t->rowCount(), 1);
    QCOMPARE(t->masterIndex()->findByKey(key).data(3).toInteger64(), 5LL);
}

QTEST_GUILESS_MAIN(TestMasterIndexStruct)
#include "tst_masterindex_struct.moc"
