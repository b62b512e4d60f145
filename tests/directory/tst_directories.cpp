#include "c_api/icore.h"
#include "c_api/tableregistry.h"
#include "database/fieldvalue.h"
#include "database/masterindexcolumn.h"
#include "database/table.h"
#include "directory/boarddirectory.h"
#include "directory/optiotypedirectory.h"
#include "directory/sectypedirectory.h"
#include "directory/securitydirectory.h"

#include <QtTest>

#include <memory>

namespace {

// A small "securities" table. The columns may come in another order, as another feed
// could build them.
struct Securities
{
    explicit Securities(bool otherOrder = false) : table(QStringLiteral("securities"))
    {
        if (otherOrder) {
            table.addColumn(QStringLiteral("decimals"), FieldType::Integer, 0, true,
                            QStringLiteral("Точность"));
            table.addColumn(QStringLiteral("base_code"), FieldType::String, 20, false,
                            QStringLiteral("Базовый актив"));
        }
        table.addColumn(QStringLiteral("sec_id"), FieldType::Integer64, 0, false,
                        QStringLiteral("Инструмент"));
        table.addColumn(QStringLiteral("board_id"), FieldType::Integer, 0, false,
                        QStringLiteral("Режим"));
        table.addColumn(QStringLiteral("stock_id"), FieldType::Integer, 0, false,
                        QStringLiteral("Биржа"));
        table.setMasterIndex(MasterIndex_Column::create(
            &table,
            {QStringLiteral("stock_id"), QStringLiteral("board_id"), QStringLiteral("sec_id")}));
        if (!otherOrder) {
            table.addColumn(QStringLiteral("base_code"), FieldType::String, 20, false,
                            QStringLiteral("Базовый актив"));
            table.addColumn(QStringLiteral("decimals"), FieldType::Integer, 0, true,
                            QStringLiteral("Точность"));
        }
    }

    // A decimals of -1 leaves the cell null.
    void add(int stock, int board, long long secId, const QString& base, int decimals)
    {
        Record r(&table);
        r.data(QStringLiteral("stock_id")) = stock;
        r.data(QStringLiteral("board_id")) = board;
        r.data(QStringLiteral("sec_id")) = secId;
        r.data(QStringLiteral("base_code")) = base;
        if (decimals >= 0)
            r.data(QStringLiteral("decimals")) = decimals;
        table.insertRecord(r);
    }

    void fill()
    {
        add(1, 1, 100, QStringLiteral("RTS"), 0);
        // The same sec_id on another board is another security.
        add(1, 14, 100, QStringLiteral("RTS"), 2);
        add(1, 14, 200, QStringLiteral("Si"), 3);
        add(2, 1, 100, QStringLiteral("GOLD"), 5);
        add(1, 1, 5000000000LL, QStringLiteral("BR"), -1);
    }

    Table table;
};

void verifyNoAnswers()
{
    SecurityDirectory& d = SecurityDirectory::i();
    QVERIFY(d.recordById(1, 1, 100).isNull());
    QVERIFY(d.baseById(1, 1, 100).isEmpty());
    QVERIFY(!d.recordExists(1, 1, 100));
    QCOMPARE(d.decimalsById(1, 1, 100), 0);
}

} // namespace

class TestDirectories : public QObject
{
    Q_OBJECT
private slots:
    void securitiesWithoutCoreOrTable();
    void securitiesById_data();
    void securitiesById();
    void securitiesFollowTheRegisteredTable();
    void securitiesWithoutKeyColumns();
    void boards_data();
    void boards();
    void secTypeNames_data();
    void secTypeNames();
    void optionTypeNames_data();
    void optionTypeNames();
};

void TestDirectories::securitiesWithoutCoreOrTable()
{
    QCOMPARE(SecurityDirectory::i().table(), nullptr);
    verifyNoAnswers();

    ICore core;
    QCOMPARE(SecurityDirectory::i().table(), nullptr);
    verifyNoAnswers();

    // Another table's name is no help.
    Securities positions;
    positions.fill();
    core.tables()->registerTable(QStringLiteral("positions"), &positions.table);
    verifyNoAnswers();
}

void TestDirectories::securitiesById_data()
{
    QTest::addColumn<int>("stock");
    QTest::addColumn<int>("board");
    QTest::addColumn<qlonglong>("secId");
    QTest::addColumn<bool>("exists");
    QTest::addColumn<QString>("base");
    QTest::addColumn<int>("decimals");

    QTest::newRow("future") << 1 << 1 << 100LL << true << "RTS" << 0;
    QTest::newRow("option, same sec_id") << 1 << 14 << 100LL << true << "RTS" << 2;
    QTest::newRow("other stock") << 2 << 1 << 100LL << true << "GOLD" << 5;
    QTest::newRow("64-bit id, null decimals") << 1 << 1 << 5000000000LL << true << "BR" << 0;
    QTest::newRow("id on another board") << 1 << 1 << 200LL << false << "" << 0;
    QTest::newRow("unknown board") << 1 << 2 << 100LL << false << "" << 0;
    QTest::newRow("id cut to 32 bits") << 1 << 1 << 705032704LL << false << "" << 0;
}

void TestDirectories::securitiesById()
{
    QFETCH(int, stock);
    QFETCH(int, board);
    QFETCH(qlonglong, secId);
    QFETCH(bool, exists);
    QFETCH(QString, base);
    QFETCH(int, decimals);

    ICore core;
    Securities securities;
    securities.fill();
    core.tables()->registerTable(QStringLiteral("securities"), &securities.table);
    SecurityDirectory& d = SecurityDirectory::i();
    QCOMPARE(d.table(), &securities.table);

    const Record r = d.recordById(stock, board, secId);
    QCOMPARE(r.isNull(), !exists);
    QCOMPARE(d.recordExists(stock, board, secId), exists);
    QCOMPARE(d.baseById(stock, board, secId), base);
    QCOMPARE(d.decimalsById(stock, board, secId), decimals);
    // The table's own row, not a copy.
    if (exists)
        QVERIFY(r.inTable() && r.data(QStringLiteral("sec_id")).toInteger64() == secId);
}

void TestDirectories::securitiesFollowTheRegisteredTable()
{
    ICore core;
    SecurityDirectory& d = SecurityDirectory::i();
    {
        Securities first;
        first.fill();
        core.tables()->registerTable(QStringLiteral("securities"), &first.table);
        QCOMPARE(d.baseById(1, 14, 200), QStringLiteral("Si"));
    }
    // The table is gone: no answers, and nothing read from freed memory.
    QCOMPARE(d.table(), nullptr);
    verifyNoAnswers();

    // A new table with its columns in another order is read by its own column numbers.
    Securities second(true);
    second.fill();
    core.tables()->registerTable(QStringLiteral("securities"), &second.table);
    QCOMPARE(d.baseById(1, 14, 200), QStringLiteral("Si"));
    QCOMPARE(d.decimalsById(2, 1, 100), 5);
    QVERIFY(!d.recordExists(1, 1, 200));

    // Rows that leave the table leave the directory.
    second.table.removeRecord(d.recordById(1, 14, 200));
    QVERIFY(!d.recordExists(1, 14, 200));
    QVERIFY(d.recordExists(1, 14, 100));
}

void TestDirectories::securitiesWithoutKeyColumns()
{
    ICore core;
    Table odd(QStringLiteral("securities"));
    odd.addColumn(QStringLiteral("sec_id"), FieldType::Integer64, 0, false, QStringLiteral("Id"));
    odd.setMasterIndex(MasterIndex_Column::create(&odd, {QStringLiteral("sec_id")}));
    Record r(&odd);
    r.data(0) = 100LL;
    odd.insertRecord(r);
    core.tables()->registerTable(QStringLiteral("securities"), &odd);
    verifyNoAnswers();
}

void TestDirectories::boards_data()
{
    QTest::addColumn<int>("stock");
    QTest::addColumn<int>("board");
    QTest::addColumn<bool>("anonymous");
    QTest::addColumn<bool>("address");

    QTest::newRow("futures") << 1 << 1 << true << false;
    QTest::newRow("negotiated deals") << 1 << 2 << false << true;
    QTest::newRow("unknown board") << 1 << 3 << false << false;
    QTest::newRow("futures board of another stock") << 2 << 1 << false << false;
}

void TestDirectories::boards()
{
    QFETCH(int, stock);
    QFETCH(int, board);
    QFETCH(bool, anonymous);
    QFETCH(bool, address);
    QCOMPARE(BoardDirectory::i().isAnonymById(stock, board), anonymous);
    QCOMPARE(BoardDirectory::i().isAddressById(stock, board), address);
}

void TestDirectories::secTypeNames_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("name");
    QTest::newRow("future") << "F"
                            << "Фьючерс";
    QTest::newRow("option") << "O"
                            << "Опцион";
    QTest::newRow("empty") << ""
                           << "";
}

void TestDirectories::secTypeNames()
{
    QFETCH(QString, key);
    QFETCH(QString, name);
    QCOMPARE(SecTypeDirectory::i().nameByKey(FieldConstValue(key)), name);
    // A cell never written holds no code.
    QCOMPARE(SecTypeDirectory::i().nameByKey(FieldValue(FieldType::String, 1)), QString());
}

void TestDirectories::optionTypeNames_data()
{
    QTest::addColumn<QChar>("key");
    QTest::addColumn<QString>("name");
    QTest::newRow("call") << QChar('C') << "Колл";
    QTest::newRow("put") << QChar('P') << "Пут";
    QTest::newRow("lower case is another code") << QChar('c') << "c";
    QTest::newRow("null") << QChar() << "";
}

void TestDirectories::optionTypeNames()
{
    QFETCH(QChar, key);
    QFETCH(QString, name);
    QCOMPARE(OptioTypeDirectory::i().nameByKey(key), name);
}

QTEST_GUILESS_MAIN(TestDirectories)
#include "tst_directories.moc"
