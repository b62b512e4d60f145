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

#include <algorithm>

namespace {

// A small "securities" table. The columns may come in the reverse order, as another feed
// could build them.
struct Securities
{
    explicit Securities(bool reversed = false) : table(QStringLiteral("securities"))
    {
        QStringList names{"sec_id", "board_id", "stock_id", "base_code", "decimals"};
        if (reversed)
            std::reverse(names.begin(), names.end());
        for (const QString& name : names) {
            const FieldType::Type type = name == "sec_id"      ? FieldType::Integer64
                                         : name == "base_code" ? FieldType::String
                                                               : FieldType::Integer;
            table.addColumn(name, type, type == FieldType::String ? 20 : 0, name == "decimals",
                            QString());
        }
        table.setMasterIndex(MasterIndex_Column::create(
            &table,
            {QStringLiteral("stock_id"), QStringLiteral("board_id"), QStringLiteral("sec_id")}));
        add(1, 1, 100, QStringLiteral("RTS"), 0);
        // The same sec_id on another board is another security.
        add(1, 14, 100, QStringLiteral("RTS"), 2);
        add(1, 14, 200, QStringLiteral("Si"), 3);
        add(2, 1, 100, QStringLiteral("GOLD"), 5);
        add(1, 1, 5000000000LL, QStringLiteral("BR"), -1);
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
    void securitiesWithoutAnswers();
    void securitiesById_data();
    void securitiesById();
    void securitiesFollowTheRegisteredTable();
    void names_data();
    void names();
};

void TestDirectories::securitiesWithoutAnswers()
{
    QCOMPARE(SecurityDirectory::i().table(), nullptr);
    verifyNoAnswers();

    ICore core;
    QCOMPARE(SecurityDirectory::i().table(), nullptr);
    verifyNoAnswers();

    // Another table's name is no help.
    Securities positions;
    core.tables()->registerTable(QStringLiteral("positions"), &positions.table);
    verifyNoAnswers();

    // Nor is a table without the key columns.
    Table odd(QStringLiteral("securities"));
    odd.addColumn(QStringLiteral("sec_id"), FieldType::Integer64, 0, false, QStringLiteral("Id"));
    odd.setMasterIndex(MasterIndex_Column::create(&odd, {QStringLiteral("sec_id")}));
    Record r(&odd);
    r.data(0) = 100LL;
    odd.insertRecord(r);
    core.tables()->registerTable(QStringLiteral("securities"), &odd);
    verifyNoAnswers();
}

void TestDirectories::securitiesById_data()
{
    QTest::addColumn<int>("stock");
    QTest::addColumn<int>("board");
    QTest::addColumn<qlonglong>("secId");
    QTest::addColumn<QString>("base"); // empty for no security
    QTest::addColumn<int>("decimals");
    QTest::addColumn<QString>("boardKind");

    const QString anonymous = QStringLiteral("anonymous");
    QTest::newRow("future") << 1 << 1 << 100LL << "RTS" << 0 << anonymous;
    QTest::newRow("option, same sec_id") << 1 << 14 << 100LL << "RTS" << 2 << anonymous;
    QTest::newRow("other stock") << 2 << 1 << 100LL << "GOLD" << 5 << "";
    QTest::newRow("64-bit id, null decimals") << 1 << 1 << 5000000000LL << "BR" << 0 << anonymous;
    QTest::newRow("id on another board") << 1 << 1 << 200LL << "" << 0 << anonymous;
    QTest::newRow("id cut to 32 bits") << 1 << 1 << 705032704LL << "" << 0 << anonymous;
    QTest::newRow("negotiated deals") << 1 << 2 << 100LL << "" << 0 << "address";
    QTest::newRow("unknown board") << 1 << 3 << 100LL << "" << 0 << "";
}

// Securities by their key, and the kind of their board.
void TestDirectories::securitiesById()
{
    QFETCH(int, stock);
    QFETCH(int, board);
    QFETCH(qlonglong, secId);
    QFETCH(QString, base);
    QFETCH(int, decimals);
    QFETCH(QString, boardKind);

    ICore core;
    Securities securities;
    core.tables()->registerTable(QStringLiteral("securities"), &securities.table);
    SecurityDirectory& d = SecurityDirectory::i();
    const Record r = d.recordById(stock, board, secId);
    QCOMPARE(r.isNull(), base.isEmpty());
    QCOMPARE(d.baseById(stock, board, secId), base);
    QCOMPARE(d.decimalsById(stock, board, secId), decimals);
    // The table's own row, not a copy.
    if (!base.isEmpty())
        QVERIFY(r.inTable() && r.data(QStringLiteral("sec_id")).toInteger64() == secId);

    QCOMPARE(BoardDirectory::i().isAnonymById(stock, board), boardKind == "anonymous");
    QCOMPARE(BoardDirectory::i().isAddressById(stock, board), boardKind == "address");
}

void TestDirectories::securitiesFollowTheRegisteredTable()
{
    ICore core;
    SecurityDirectory& d = SecurityDirectory::i();
    {
        Securities first;
        core.tables()->registerTable(QStringLiteral("securities"), &first.table);
        QCOMPARE(d.baseById(1, 14, 200), QStringLiteral("Si"));
    }
    // The table is gone: no answers, and nothing read from freed memory.
    QCOMPARE(d.table(), nullptr);
    verifyNoAnswers();

    // A new table with its columns in another order is read by its own column numbers.
    Securities second(true);
    core.tables()->registerTable(QStringLiteral("securities"), &second.table);
    QCOMPARE(d.baseById(1, 14, 200), QStringLiteral("Si"));
    QCOMPARE(d.decimalsById(2, 1, 100), 5);
    QVERIFY(!d.recordExists(1, 1, 200));

    // Rows that leave the table leave the directory.
    second.table.removeRecord(d.recordById(1, 14, 200));
    QVERIFY(!d.recordExists(1, 14, 200));
    QVERIFY(d.recordExists(1, 14, 100));
}

void TestDirectories::names_data()
{
    // A security type by its code, or an option type by its letter.
    QTest::addColumn<QString>("key");
    QTest::addColumn<bool>("optionType");
    QTest::addColumn<QString>("name");
    QTest::newRow("future") << "F" << false << "Фьючерс";
    QTest::newRow("option") << "O" << false << "Опцион";
    QTest::newRow("empty security type") << "" << false << "";
    QTest::newRow("call") << "C" << true << "Колл";
    QTest::newRow("put") << "P" << true << "Пут";
    QTest::newRow("lower case is another code") << "c" << true << "c";
    QTest::newRow("null option type") << "" << true << "";
}

void TestDirectories::names()
{
    QFETCH(QString, key);
    QFETCH(bool, optionType);
    QFETCH(QString, name);
    if (optionType)
        QCOMPARE(OptioTypeDirectory::i().nameByKey(key.isEmpty() ? QChar() : key.at(0)), name);
    else
        QCOMPARE(SecTypeDirectory::i().nameByKey(FieldConstValue(key)), name);
    // A cell never written holds no code.
    QCOMPARE(SecTypeDirectory::i().nameByKey(FieldValue(FieldType::String, 1)), QString());
}

QTEST_GUILESS_MAIN(TestDirectories)
#include "tst_directories.moc"
