#include "marketdump.h"

#include "database/masterindex.h"
#include "market/csvmarketloader.h"
#include "market/markettables.h"
#include "market/simulatedexchange.h"

#include <QDir>
#include <QTemporaryDir>
#include <QtTest>

namespace {

QByteArray lines(std::initializer_list<const char*> list)
{
    QByteArray out;
    for (const char* line : list)
        out += QByteArray(line) + '\n';
    return out;
}

// A small snapshot: columns in an order of their own and not all of them, a byte order
// mark, Windows line ends and a blank line.
const QByteArray GoodSecurities =
    "\xEF\xBB\xBF"
    "sec_id;board_id;stock_id;sec_name;sectype;option_type;base_code;strike;expdate;"
    "price_step;bid;ask;price;main_sec_id;base_isin_id;lasttime\r\n"
    "100;1;1;IDX-6.25;F;;IDX;;2025-06-19;10;112980;113010;113000;;;2025-03-12 10:00:00\r\n"
    "101;14;1;IDX-6.25 C115000;O;C;IDX;115000;2025-06-19;10;;2000;1500;100;7;"
    "2025-03-12 10:00:01.250\r\n"
    "\r\n"
    " 102 ; 14 ;1;IDX-6.25 P115000;O;P;IDX; 115000.5 ;2025-06-19;10;3000;3100;3050;100;7;\r\n";
const QByteArray GoodPositions =
    lines({"account;stock_id;board_id;sec_id;sec_name;sectype;pos;waprice;expdate",
           "DEMO;1;1;100;IDX-6.25;F;-3;112900.5;2025-06-19",
           "DEMO;1;14;101;IDX-6.25 C115000;O;;;2025-06-19"});
const QByteArray GoodCoefficients = lines({"isin_id;a;b;c;d;e;s", "7;25.5;6;1.5;-4;1;-0.01"});

QString path(const QTemporaryDir& dir, const QString& file)
{
    return QDir(dir.path()).filePath(file);
}

void writeGood(const QTemporaryDir& dir)
{
    QVERIFY(writeFile(path(dir, CsvMarketLoader::securitiesFileName()), GoodSecurities));
    QVERIFY(writeFile(path(dir, CsvMarketLoader::positionsFileName()), GoodPositions));
    QVERIFY(writeFile(path(dir, CsvMarketLoader::volatCoeffFileName()), GoodCoefficients));
}

Table* tableOfFile(const MarketTables& tables, const QString& file)
{
    if (file == CsvMarketLoader::securitiesFileName())
        return tables.securities();
    if (file == CsvMarketLoader::positionsFileName())
        return tables.positions();
    return tables.volatCoeff();
}

Record securityByKey(const Table* securities, int board, qint64 secId)
{
    Record key(securities);
    key.data(QStringLiteral("stock_id")) = 1;
    key.data(QStringLiteral("board_id")) = board;
    key.data(QStringLiteral("sec_id")) = static_cast<long long>(secId);
    return securities->masterIndex()->findByKey(key);
}

} // namespace

class TestCsvLoader : public QObject
{
    Q_OBJECT

private slots:
    void goodFilesLoad();
    void roundTripOfTheSimulatedMarket();
    void reloadReplacesTheRows();
    void badFile_data();
    void badFile();
    void missingOrUnreadableFile_data();
    void missingOrUnreadableFile();
    void fileNameAsGiven();
    void tooManyErrors();
};

void TestCsvLoader::goodFilesLoad()
{
    QTemporaryDir dir;
    writeGood(dir);
    MarketTables tables;
    CsvMarketLoader loader(&tables);
    QVERIFY2(loader.load(dir.path()), qPrintable(loader.errors().join(QLatin1Char('\n'))));
    QCOMPARE(tables.securities()->rowCount(), 3);
    QCOMPARE(tables.positions()->rowCount(), 2);
    QCOMPARE(tables.volatCoeff()->rowCount(), 1);

    const MarketTables::SecuritiesColumns sc(tables.securities());
    const Record future = securityByKey(tables.securities(), 1, 100);
    QVERIFY(future.data(sc.strike).isNull());
    QVERIFY(!future.data(sc.optionType).isNull());
    QCOMPARE(future.data(sc.optionType).toString(), QString());
    QCOMPARE(future.data(sc.expdate).toDatetime(), datetime(QDate(2025, 6, 19)));
    QCOMPARE(future.data(sc.bid).toDecimal(), decimal(112980, 0));
    // Columns the file lacks: null where nullable, zero otherwise.
    QVERIFY(future.data(sc.volat).isNull());
    QCOMPARE(future.data(sc.lotSize).toInteger(), 0);

    const Record call = securityByKey(tables.securities(), 14, 101);
    QVERIFY(call.data(sc.bid).isNull());
    QCOMPARE(call.data(sc.lasttime).toDatetime(),
             datetime(QDate(2025, 3, 12)) + (10 * 3600 * 1000 + 1250));
    QCOMPARE(call.data(sc.mainSecId).toInteger64(), qint64(100));
    const Record put = securityByKey(tables.securities(), 14, 102);
    QCOMPARE(put.data(sc.strike).toDecimal(), decimal(1150005, 1));
    QVERIFY(put.data(sc.lasttime).isNull());

    const MarketTables::PositionsColumns pc(tables.positions());
    const Record first = tables.positions()->masterIndex()->records().first();
    QCOMPARE(first.data(pc.account).toString(), QStringLiteral("DEMO"));
    QCOMPARE(first.data(pc.pos).toInteger64(), qint64(-3));
    QCOMPARE(first.data(pc.waprice).toDecimal(), decimal(1129005, 1));
    QVERIFY(tables.positions()->masterIndex()->records().last().data(pc.pos).isNull());

    const MarketTables::VolatCoeffColumns vc(tables.volatCoeff());
    const Record coefficients = tables.volatCoeff()->masterIndex()->records().first();
    QCOMPARE(coefficients.data(vc.d).toDouble(), -4.0);
    QCOMPARE(coefficients.data(vc.s).toDouble(), -0.01);
}

void TestCsvLoader::roundTripOfTheSimulatedMarket()
{
    MarketTables source;
    SimulatedExchange::Options options;
    options.seed = 9;
    options.now = datetime(QDate(2025, 3, 12)) + 36000000;
    SimulatedExchange exchange(&source, options);
    exchange.tick(10);

    QTemporaryDir dir;
    QVERIFY(writeFile(path(dir, CsvMarketLoader::securitiesFileName()),
                      csvOfTable(source.securities())));
    QVERIFY(
        writeFile(path(dir, CsvMarketLoader::positionsFileName()), csvOfTable(source.positions())));
    QVERIFY(writeFile(path(dir, CsvMarketLoader::volatCoeffFileName()),
                      csvOfTable(source.volatCoeff())));
    MarketTables copy;
    CsvMarketLoader loader(&copy);
    QVERIFY2(loader.load(dir.path()),
             qPrintable(loader.errors().mid(0, 5).join(QLatin1Char('\n'))));
    for (int i = 0; i < 3; ++i)
        QCOMPARE(dumpTable(copy.all().at(i)), dumpTable(source.all().at(i)));
}

void TestCsvLoader::reloadReplacesTheRows()
{
    QTemporaryDir dir;
    writeGood(dir);
    MarketTables tables;
    CsvMarketLoader loader(&tables);
    QVERIFY(loader.load(dir.path()));
    QVERIFY(writeFile(path(dir, CsvMarketLoader::volatCoeffFileName()),
                      lines({"isin_id;a", "8;20", "9;21"})));
    QVERIFY(loader.load(dir.path()));
    QCOMPARE(
        dumpTable(tables.volatCoeff()),
        (QStringList{"isin_id;a;b;c;d;e;s", "8;20.000000;0;0;0;0;0", "9;21.000000;0;0;0;0;0"}));
}

void TestCsvLoader::badFile_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("error"); // after "FILE:"

    const QString sec = CsvMarketLoader::securitiesFileName();
    const QString pos = CsvMarketLoader::positionsFileName();
    const QString coeff = CsvMarketLoader::volatCoeffFileName();
    const char* head = "stock_id;board_id;sec_id;sec_name;strike;expdate;lasttime";

    QTest::newRow("unknown column") << sec << lines({"stock_id;board_id;sec_id;sec_nam", "1;1;5;X"})
                                    << "1: неизвестный столбец sec_nam";
    QTest::newRow("key column missing") << sec << lines({"stock_id;board_id;sec_name", "1;1;X"})
                                        << "1: нет ключевого столбца sec_id";
    QTest::newRow("column twice") << sec << lines({"stock_id;board_id;sec_id;strike;strike"})
                                  << "1: столбец strike указан дважды";
    QTest::newRow("empty file") << sec << QByteArray() << "1: нет строки заголовка";
    QTest::newRow("empty column name")
        << sec << lines({"stock_id;;sec_id", "1;2;3"}) << "1: пустое имя столбца 2";
    QTest::newRow("too few cells")
        << sec << lines({head, "1;1;100;A;5;2025-06-19;", "1;1;101;B;5;2025-06-19"})
        << "3: неверное число полей: 6 вместо 7";
    QTest::newRow("too many cells") << sec << lines({head, "1;1;100;A;5;2025-06-19;;"})
                                    << "2: неверное число полей: 8 вместо 7";
    QTest::newRow("integer out of range") << sec << lines({head, "1;99999999999;100;A;5;;"})
                                          << "2: неверное целое число в столбце board_id";
    QTest::newRow("bad 64-bit integer") << sec << lines({head, "1;1;1e5;A;5;2025-06-19;"})
                                        << "2: неверное целое число в столбце sec_id";
    QTest::newRow("decimal comma") << sec << lines({head, "1;1;100;A;1,5;2025-06-19;"})
                                   << "2: неверное число в столбце strike";
    QTest::newRow("bare point") << sec << lines({head, "1;1;100;A;5.;2025-06-19;"})
                                << "2: неверное число в столбце strike";
    QTest::newRow("more digits than the column holds")
        << sec << lines({head, "1;1;100;A;1.12345;2025-06-19;"})
        << "2: больше 4 знаков после точки в столбце strike";
    QTest::newRow("number too large") << sec << lines({head, "1;1;100;A;99999999999999999999;;"})
                                      << "2: неверное число в столбце strike";
    QTest::newRow("no such date") << sec << lines({head, "1;1;100;A;5;2025-02-30;"})
                                  << "2: неверная дата в столбце expdate";
    QTest::newRow("no such time") << sec << lines({head, "1;1;100;A;5;2025-06-19;2025-06-19 25:00"})
                                  << "2: неверная дата в столбце lasttime";
    QTest::newRow("text too long")
        << sec << lines({head, "1;1;100;ABCDEFGHIJABCDEFGHIJABCDEFGHIJABCDEFGHIJK;5;;"})
        << "2: текст длиннее 40 знаков в столбце sec_name";
    QTest::newRow("empty cell of a column without null")
        << sec << lines({head, ";1;100;A;5;2025-06-19;"})
        << "2: пустое значение в столбце stock_id";
    QTest::newRow("key twice") << sec
                               << lines({head, "1;1;100;A;5;;", "1;1;101;B;5;;", "1;1;100;C;5;;",
                                         "1;1;102;D;5;;"})
                               << "4: ключ 1|1|100 повторяет строку 2";
    QTest::newRow("not UTF-8") << sec << lines({head, "1;1;100;A;5;;", "1;1;101;\xff\xfe;5;;"})
                               << "3: неверная кодировка строки, ожидается UTF-8";
    QTest::newRow("bad coefficient")
        << coeff << lines({"isin_id;a;b", "7;25;6", "8;x;6"}) << "3: неверное число в столбце a";
    QTest::newRow("coefficients without series")
        << coeff << lines({"a;b", "25;6"}) << "1: нет ключевого столбца isin_id";
}

void TestCsvLoader::badFile()
{
    QFETCH(QString, file);
    QFETCH(QByteArray, content);
    QFETCH(QString, error);
    QTemporaryDir dir;
    writeGood(dir);
    const QString expected = path(dir, file) + QLatin1Char(':') + error;

    // Into empty tables: the bad table stays empty, the others load.
    {
        MarketTables tables;
        CsvMarketLoader loader(&tables);
        QVERIFY(writeFile(path(dir, file), content));
        QVERIFY(!loader.load(dir.path()));
        QCOMPARE(loader.errors(), QStringList{expected});
        for (Table* t : tables.all())
            QCOMPARE(t->rowCount() == 0, t == tableOfFile(tables, file));
    }
    // Over a loaded market: every table keeps what it had.
    {
        writeGood(dir);
        MarketTables tables;
        CsvMarketLoader loader(&tables);
        QVERIFY(loader.load(dir.path()));
        QStringList before;
        for (Table* t : tables.all())
            before << dumpTable(t);
        QVERIFY(writeFile(path(dir, file), content));
        QVERIFY(!loader.load(dir.path()));
        QCOMPARE(loader.errors(), QStringList{expected});
        QStringList after;
        for (Table* t : tables.all())
            after << dumpTable(t);
        QCOMPARE(after, before);
    }
}

void TestCsvLoader::missingOrUnreadableFile_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<bool>("folder"); // a folder in the file's place, which cannot be read
    QTest::addColumn<QString>("error");
    QTest::newRow("missing") << CsvMarketLoader::positionsFileName() << false
                             << ":0: файл не найден";
    QTest::newRow("unreadable") << CsvMarketLoader::volatCoeffFileName() << true
                                << ":0: не удаётся открыть файл";
}

void TestCsvLoader::missingOrUnreadableFile()
{
    QFETCH(QString, file);
    QFETCH(bool, folder);
    QFETCH(QString, error);
    QTemporaryDir dir;
    writeGood(dir);
    MarketTables tables;
    CsvMarketLoader loader(&tables);
    QVERIFY(loader.load(dir.path()));
    const Table* table = tableOfFile(tables, file);
    const QStringList before = dumpTable(table);
    QVERIFY(QFile::remove(path(dir, file)));
    if (folder)
        QVERIFY(QDir(dir.path()).mkdir(file));
    QVERIFY(!loader.load(dir.path()));
    QCOMPARE(loader.errors(), QStringList{path(dir, file) + error});
    // The table keeps what it had; the others load.
    QCOMPARE(dumpTable(table), before);
    QCOMPARE(tables.securities()->rowCount(), 3);
}

void TestCsvLoader::fileNameAsGiven()
{
    QTemporaryDir dir;
    const QString given = dir.path() + "//./odd name.csv";
    QVERIFY(writeFile(given, lines({"isin_id;a", "7;1", "7;2"})));
    MarketTables tables;
    CsvMarketLoader loader(&tables);
    QVERIFY(!loader.loadTable(tables.volatCoeff(), given));
    QCOMPARE(loader.errors(), QStringList{given + ":3: ключ 7 повторяет строку 2"});
    QVERIFY(loader.loadTable(tables.securities(), path(dir, "none.csv")) == false);
    QCOMPARE(loader.errors().size(), 1);
}

void TestCsvLoader::tooManyErrors()
{
    QByteArray content = "isin_id;a\n";
    for (int i = 0; i < 30; ++i)
        content += "x;1\n";
    QTemporaryDir dir;
    const QString file = path(dir, "coefficients.csv");
    QVERIFY(writeFile(file, content));
    MarketTables tables;
    CsvMarketLoader loader(&tables);
    QVERIFY(!loader.loadTable(tables.volatCoeff(), file));
    QCOMPARE(loader.errors().size(), 21);
    QCOMPARE(loader.errors().first(), file + ":2: неверное целое число в столбце isin_id");
    QCOMPARE(loader.errors().last(), file + ":22: слишком много ошибок, файл дальше не читается");
}

QTEST_GUILESS_MAIN(TestCsvLoader)
#include "tst_csvloader.moc"
