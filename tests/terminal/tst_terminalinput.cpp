#include "terminal/commandline.h"
#include "terminal/ordertextparser.h"

#include <QtTest>

Q_DECLARE_METATYPE(TerminalOptions)

// What a test expects of an options struct, as text: one line that names every field, so
// that a case states all it expects and a wrong field shows in the diff.
static QString describe(const TerminalOptions& o)
{
    QStringList open;
    for (const OpenRequest& r : o.open)
        open << r.viewId + "=" + r.key;
    return QStringLiteral("config=%1 plugins=%2 market=%3 csv=%4 seed=%5 rate=%6 large=%7 "
                          "open=[%8] shot=%9/%10 quit=%11 list=%12")
        .arg(o.configDir, o.pluginDir,
             o.market == TerminalOptions::Market::Csv ? QStringLiteral("csv")
                                                      : QStringLiteral("sim"),
             o.csvDir)
        .arg(o.seed)
        .arg(o.tickRate)
        .arg(o.large)
        .arg(open.join(','), o.screenshotFile)
        .arg(o.screenshotDelayMs)
        .arg(o.quitAfterMs)
        .arg(o.listPlugins);
}

// The orders of a package as text, one "board;stock;sec;price;quantity" each.
static QString describe(const OrderPackage& p)
{
    QStringList parts{p.baseCode + "/" + p.account};
    for (const PostponedOrder& o : p.orders)
        parts << QStringLiteral("%1;%2;%3;%4;%5")
                     .arg(o.boardId)
                     .arg(o.stockId)
                     .arg(o.secId)
                     .arg(o.price.toString())
                     .arg(o.quantity);
    return parts.join('|');
}

class TestTerminalInput : public QObject
{
    Q_OBJECT

private slots:
    void goodCommandLines_data();
    void goodCommandLines();
    void badCommandLines_data();
    void badCommandLines();
    void goodOrderTexts_data();
    void goodOrderTexts();
    void badOrderTexts_data();
    void badOrderTexts();
};

void TestTerminalInput::goodCommandLines_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("expected");

    const QString defaults = describe(TerminalOptions());
    QTest::newRow("nothing") << QStringList() << defaults;
    QTest::newRow("everything")
        << QStringList{"--config-dir",
                       "/c",
                       "--plugin-dir=/p",
                       "--market",
                       "csv:/data/snap",
                       "--seed",
                       "18446744073709551615",
                       "--tick-rate",
                       "1000",
                       "--large",
                       "--open",
                       "OptCalcWindow:RTS",
                       "--open",
                       "PostponedOrders:RTS;A|1;1;2;3;4",
                       "--screenshot",
                       "s.png",
                       "--screenshot-delay",
                       "0",
                       "--quit-after",
                       "4000",
                       "--list-plugins"}
        << "config=/c plugins=/p market=csv csv=/data/snap seed=18446744073709551615 rate=1000 "
           "large=1 open=[OptCalcWindow=RTS,PostponedOrders=RTS;A|1;1;2;3;4] shot=s.png/0 "
           "quit=4000 list=1";
    QTest::newRow("sim market, single dash, empty key, colon in key")
        << QStringList{"-market", "sim", "-open", "V:", "--open", "V:a:b", "-seed", "0"}
        << "config= plugins= market=sim csv= seed=0 rate=5 large=0 open=[V=,V=a:b] shot=/0 "
           "quit=-1 list=0";
}

void TestTerminalInput::goodCommandLines()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, expected);
    arguments.prepend("optcalc-terminal");
    const CommandLine::Result result = CommandLine::parse(arguments);
    QCOMPARE(result.error, QString());
    QCOMPARE(result.action, CommandLine::Result::Run);
    QCOMPARE(result.exitCode, 0);
    QCOMPARE(describe(result.options), expected);
}

void TestTerminalInput::badCommandLines_data()
{
    QTest::addColumn<QStringList>("arguments");
    // A word the message must hold: the option or the value at fault.
    QTest::addColumn<QString>("named");

    QTest::newRow("unknown option") << QStringList{"--colour", "red"} << "--colour";
    QTest::newRow("positional argument") << QStringList{"stray"} << "stray";
    QTest::newRow("missing value") << QStringList{"--large", "--seed"} << "--seed";
    QTest::newRow("value for a flag") << QStringList{"--large=yes"} << "--large";
    QTest::newRow("seed not a number") << QStringList{"--seed", "abc"} << "abc";
    QTest::newRow("negative seed") << QStringList{"--seed", "-1"} << "--seed";
    QTest::newRow("seed too large") << QStringList{"--seed", "18446744073709551616"} << "--seed";
    QTest::newRow("seed with spaces") << QStringList{"--seed", " 7"} << "--seed";
    QTest::newRow("zero tick rate") << QStringList{"--tick-rate", "0"} << "--tick-rate";
    QTest::newRow("huge tick rate") << QStringList{"--tick-rate", "1001"} << "--tick-rate";
    QTest::newRow("fractional tick rate") << QStringList{"--tick-rate", "2.5"} << "2.5";
    QTest::newRow("unknown market") << QStringList{"--market", "live"} << "live";
    QTest::newRow("csv without folder") << QStringList{"--market", "csv:"} << "--market";
    QTest::newRow("open without view") << QStringList{"--open", ":RTS"} << ":RTS";
    QTest::newRow("open without colon") << QStringList{"--open", "OptCalcWindow"} << "--open";
    QTest::newRow("empty config dir") << QStringList{"--config-dir="} << "--config-dir";
    QTest::newRow("delay without screenshot")
        << QStringList{"--screenshot-delay", "100"} << "--screenshot";
    QTest::newRow("negative quit-after") << QStringList{"--quit-after", "-5"} << "--quit-after";
}

void TestTerminalInput::badCommandLines()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, named);
    arguments.prepend("optcalc-terminal");
    const CommandLine::Result result = CommandLine::parse(arguments);
    QCOMPARE(result.action, CommandLine::Result::Error);
    QCOMPARE(result.exitCode, 2);
    QVERIFY2(result.error.contains(named), qPrintable(result.error));
    QVERIFY2(!result.error.contains('\n'), qPrintable(result.error));
    // Russian, not the parser's own English.
    QVERIFY2(result.error.contains(QRegularExpression("[а-яА-Я]")), qPrintable(result.error));
}

void TestTerminalInput::goodOrderTexts_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("expected");

    QTest::newRow("head alone") << "RTS;DEMO"
                                << "RTS/DEMO";
    QTest::newRow("buy and sell") << "RTS;DEMO|1;1;100500;125000;3|14;1;7000000001;1250.5;-2"
                                  << "RTS/DEMO|1;1;100500;125000;3|14;1;7000000001;1250.5;-2";
    QTest::newRow("comma as point, spaces around") << "Si;DEMO2| 14 ; 1 ; 42 ; 0,0125 ; +1 "
                                                   << "Si/DEMO2|14;1;42;0.0125;1";
}

void TestTerminalInput::goodOrderTexts()
{
    QFETCH(QString, text);
    QFETCH(QString, expected);
    const OrderPackage package = OrderTextParser::parse(text);
    QCOMPARE(package.error, QString());
    QCOMPARE(describe(package), expected);
}

void TestTerminalInput::badOrderTexts_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("named");

    // Name, text, a word the message must hold.
    const char* rows[][3] = {
        {"empty", "", "пуст"},
        {"head without account", "RTS", "RTS"},
        {"head with empty account", "RTS;|1;1;1;1;1", "RTS;"},
        {"head with three parts", "RTS;A;B", "RTS;A;B"},
        {"too few fields", "RTS;A|1;1;1;1", "Заявка 1"},
        {"too many fields", "RTS;A|1;1;1;1;1;1", "Заявка 1"},
        {"board not a number", "RTS;A|x;1;1;1;1", "«x»"},
        {"security not a number", "RTS;A|1;1;1e3;1;1", "«1e3»"},
        {"price not a number", "RTS;A|1;1;1;12abc;1", "«12abc»"},
        {"zero quantity", "RTS;A|1;1;1;1;0", "количество"},
        {"fractional quantity", "RTS;A|1;1;1;1;1.5", "«1.5»"},
        {"second order bad", "RTS;A|1;1;1;1;1|1;1;1;1;", "Заявка 2"},
        {"trailing separator", "RTS;A|1;1;1;1;1|", "Заявка 2"},
    };
    for (const auto& r : rows)
        QTest::newRow(r[0]) << QString::fromUtf8(r[1]) << QString::fromUtf8(r[2]);
}

void TestTerminalInput::badOrderTexts()
{
    QFETCH(QString, text);
    QFETCH(QString, named);
    const OrderPackage package = OrderTextParser::parse(text);
    QVERIFY2(package.error.contains(named), qPrintable(package.error));
    // Nothing of a refused package is kept: no part of it can be sent.
    QVERIFY(package.orders.isEmpty());
    QVERIFY(package.account.isEmpty());
}

QTEST_GUILESS_MAIN(TestTerminalInput)
#include "tst_terminalinput.moc"
