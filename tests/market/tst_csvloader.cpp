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

// In the order of MarketTables::all().
const QStringList Files = {CsvMarketLoader::securitiesFileName(),
                           CsvMarketLoader::positionsFileName(),
                           CsvMarketLoader::volatCoeffFileName()};

QString path(const QTemporaryDir& dir, const QString& file)
{
    return QDir(dir.path()).filePath(file);
}

void writeGood(const QTemporaryDir& dir)
{
    const QByteArray contents[] = {GoodSecurities, GoodPositions, GoodCoefficients};
    for (int i = 0; i < 3; ++i)
        QVERIFY(writeFile(path(dir, Files[i]), contents[i]));
}

Table* tableOfFile(const MarketTables& tables, const QString& file)
{
    return tables.all().at(Files.indexOf(file));
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
    void fileNameAsGivenAndTooManyErrors();
};

// What the round trip below does not meet: a byte order mark, Windows line ends, a blank
// line, columns in an order of their own or missing, blanks around cells, dates without a time.
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
    QCOMPARE(future.data(sc.expdate).toDatetime(), datetime(QDate(2025, 6, 19)));
    // Columns the file lacks: null where nullable, zero otherwise.
    QVERIFY(future.data(sc.volat).isNull());
    QCOMPARE(future.data(sc.lotSize).toInteger(), 0);

    const Record call = securityByKey(tables.securities(), 14, 101);
    QVERIFY(call.data(sc.bid).isNull());
    QCOMPARE(call.data(sc.lasttime).toDatetime(),
             datetime(QDate(2025, 3, 12)) + (10 * 3600 * 1000 + 1250));
    const Record put = securityByKey(tables.securities(), 14, 102);
    QCOMPARE(put.data(sc.strike).toDecimal(), decimal(1150005, 1));
    QVERIFY(put.data(sc.lasttime).isNull());

    const MarketTables::PositionsColumns pc(tables.positions());
    QCOMPARE(tables.positions()->masterIndex()->records().first().data(pc.pos).toInteger64(),
             qint64(-3));
    QVERIFY(tables.positions()->masterIndex()->records().last().data(pc.pos).isNull());
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
    for (const QString& file : Files)
        QVERIFY(writeFile(path(dir, file),
                          dumpTable(tableOfFile(source, file), true).join('\n').toUtf8() + '\n'));
    MarketTables copy;
    CsvMarketLoader loader(&copy);
    QVERIFY2(loader.load(dir.path()),
             qPrintable(loader.errors().mid(0, 5).join(QLatin1Char('\n'))));
    QCOMPARE(dumpAll(copy), dumpAll(source));
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
    QTest::addColumn<QByteArray>("content"); // or "<missing>", or "<folder>" in its place
    QTest::addColumn<QString>("error");      // after "FILE:"

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
    QTest::newRow("missing") << pos << QByteArray("<missing>") << "0: файл не найден";
    QTest::newRow("unreadable") << coeff << QByteArray("<folder>") << "0: не удаётся открыть файл";
}

void TestCsvLoader::badFile()
{
    QFETCH(QString, file);
    QFETCH(QByteArray, content);
    QFETCH(QString, error);

    // Over a loaded market first, then into empty tables: the bad file's table keeps what it
    // had, the others load.
    QList<QStringList> good;
    for (bool loadedBefore : {true, false}) {
        QTemporaryDir dir;
        writeGood(dir);
        MarketTables tables;
        CsvMarketLoader loader(&tables);
        if (loadedBefore) {
            QVERIFY(loader.load(dir.path()));
            for (const Table* t : tables.all())
                good << dumpTable(t);
        }
        const Table* bad = tableOfFile(tables, file);
        const QStringList before = dumpTable(bad);
        QVERIFY(QFile::remove(path(dir, file)));
        if (content == "<folder>") // which cannot be read as a file
            QVERIFY(QDir(dir.path()).mkdir(file));
        else if (content != "<missing>")
            QVERIFY(writeFile(path(dir, file), content));
        QVERIFY(!loader.load(dir.path()));
        QCOMPARE(loader.errors(), QStringList{path(dir, file) + QLatin1Char(':') + error});
        for (int i = 0; i < 3; ++i)
            QCOMPARE(dumpTable(tables.all().at(i)),
                     tables.all().at(i) == bad ? before : good.at(i));
    }
}

// Errors name the file as it was given, and stop at twenty.
void TestCsvLoader::fileNameAsGivenAndTooManyErrors()
{
    QTemporaryDir dir;
    const QString given = dir.path() + "//./odd name.csv";
    QByteArray content = "isin_id;a\n";
    for (int i = 0; i < 30; ++i)
        content += "x;1\n";
    QVERIFY(writeFile(given, content));
    MarketTables tables;
    CsvMarketLoader loader(&tables);
    QVERIFY(!loader.loadTable(tables.volatCoeff(), given));
    QCOMPARE(loader.errors().size(), 21);
    QCOMPARE(loader.errors().first(), given + ":2: неверное целое число в столбце isin_id");
    QCOMPARE(loader.errors().last(), given + ":22: слишком много ошибок, файл дальше не читается");
    QVERIFY(!loader.loadTable(tables.securities(), path(dir, "none.csv")));
    QCOMPARE(loader.errors().size(), 1);
}

QTEST_GUILESS_MAIN(TestCsvLoader)
#include "tst_csvloader.moc"
