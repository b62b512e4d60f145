#include "database/datetime.h"
#include "database/decimal.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QDataStream>
#include <QLocale>
#include <QMutex>
#include <QMutexLocker>
#include <QThread>
#include <QtTest>

#include <cmath>
#include <ctime>
#include <limits>

namespace {

decimal parsed(const QString& text)
{
    bool ok = false;
    const decimal d = decimal::fromAnyString(text, &ok);
    if (!ok)
        qWarning("test data does not parse: %s", qPrintable(text));
    return d;
}

// Switches the process time zone for the life of the object.
class TimeZone
{
public:
    explicit TimeZone(const QByteArray& zone) : m_had(qEnvironmentVariableIsSet("TZ"))
    {
        m_old = qgetenv("TZ");
        qputenv("TZ", zone);
        tzset();
    }
    ~TimeZone()
    {
        if (m_had)
            qputenv("TZ", m_old);
        else
            qunsetenv("TZ");
        tzset();
    }

private:
    bool m_had;
    QByteArray m_old;
};

qint64 utcMsecs(const QDate& date, const QTime& time = QTime(0, 0))
{
    return QDateTime(date, time, Qt::UTC).toMSecsSinceEpoch();
}

} // namespace

class Emitter : public QObject
{
    Q_OBJECT
signals:
    void sent(decimal value, datetime time);
};

class Receiver : public QObject
{
    Q_OBJECT
public:
    bool received()
    {
        QMutexLocker lock(&m_mutex);
        return m_received;
    }
    decimal value()
    {
        QMutexLocker lock(&m_mutex);
        return m_value;
    }
    datetime time()
    {
        QMutexLocker lock(&m_mutex);
        return m_time;
    }
    QThread* handlerThread()
    {
        QMutexLocker lock(&m_mutex);
        return m_thread;
    }

public slots:
    void take(decimal value, datetime time)
    {
        QMutexLocker lock(&m_mutex);
        m_value = value;
        m_time = time;
        m_thread = QThread::currentThread();
        m_received = true;
    }

private:
    QMutex m_mutex;
    bool m_received = false;
    decimal m_value;
    datetime m_time;
    QThread* m_thread = nullptr;
};

class TestDecimal : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();

    void construct_data();
    void construct();
    void fromText_data();
    void fromText();
    void compare_data();
    void compare();
    void minimumMaximum();
    void zeroAtAnyScale();
    void arithmetic_data();
    void arithmetic();
    void saturation();
    void setScale_data();
    void setScale();
    void fromDouble_data();
    void fromDouble();
    void fromDoubleHalves_data();
    void fromDoubleHalves();
    void toDouble();
    void texts_data();
    void texts();
    void fromVariant_data();
    void fromVariant();
    void variantConversions();
    void streamDecimal();

    void datetimeFromDate_data();
    void datetimeFromDate();
    void datetimeSummerTimeGap();
    void datetimeNow();
    void datetimeNull();
    void datetimeParse_data();
    void datetimeParse();
    void datetimeToString_data();
    void datetimeToString();
    void datetimeFromVariant();

    void variantStreamRoundTrip();
    void queuedSignalAcrossThreads();
};

void TestDecimal::initTestCase()
{
    // Before anything in this program has touched the types: the library registered them
    // by name when it was loaded.
    QVERIFY(QMetaType::type("decimal") != QMetaType::UnknownType);
    QVERIFY(QMetaType::type("datetime") != QMetaType::UnknownType);
    QCOMPARE(QMetaType::type("decimal"), decimal::metatypeId());
    QCOMPARE(QMetaType::type("datetime"), datetime::metatypeId());
    // main() chose a locale with a comma, so that the system texts differ from toString().
    QCOMPARE(QLocale::system().decimalPoint(), QLatin1Char(','));
}

void TestDecimal::construct_data()
{
    QTest::addColumn<qlonglong>("value");
    QTest::addColumn<int>("scale");
    QTest::addColumn<qlonglong>("mantissa");
    QTest::addColumn<int>("expectedScale");
    QTest::addColumn<QString>("text");

    QTest::newRow("plain") << 123450LL << 2 << 123450LL << 2 << "1234.50";
    QTest::newRow("negative fraction") << -50LL << 2 << -50LL << 2 << "-0.50";
    QTest::newRow("negative") << -123450LL << 2 << -123450LL << 2 << "-1234.50";
    QTest::newRow("zero scale 0") << 0LL << 0 << 0LL << 0 << "0";
    QTest::newRow("zero scale 3") << 0LL << 3 << 0LL << 3 << "0.000";
    QTest::newRow("max scale") << 1LL << 18 << 1LL << 18 << "0.000000000000000001";
    QTest::newRow("largest mantissa")
        << decimal::MaxMantissa << 0 << decimal::MaxMantissa << 0 << "288230376151711743";
    // What the scale cannot hold moves to a coarser scale, rounded once.
    QTest::newRow("mantissa too large") << std::numeric_limits<qlonglong>::max() << 2
                                        << 92233720368547758LL << 0 << "92233720368547758";
    QTest::newRow("fits at scale 1 once rounded")
        << 2882303761517117425LL << 2 << decimal::MaxMantissa << 1 << "28823037615171174.3";
    QTest::newRow("rounding pushes to scale 0")
        << 2882303761517117435LL << 2 << 28823037615171174LL << 0 << "28823037615171174";
    QTest::newRow("mantissa too small") << std::numeric_limits<qlonglong>::min() << 0
                                        << -decimal::MaxMantissa << 0 << "-288230376151711743";
    QTest::newRow("scale beyond 18 rounds") << 149LL << 20 << 1LL << 18 << "0.000000000000000001";
    QTest::newRow("scale beyond 18 rounds half")
        << -150LL << 20 << -2LL << 18 << "-0.000000000000000002";
    QTest::newRow("scale 37") << std::numeric_limits<qlonglong>::max() << 37 << 1LL << 18
                              << "0.000000000000000001";
    QTest::newRow("scale 38") << std::numeric_limits<qlonglong>::max() << 38 << 0LL << 18
                              << "0.000000000000000000";
    QTest::newRow("huge scale") << 5LL << 32000 << 0LL << 18 << "0.000000000000000000";
    QTest::newRow("negative scale") << -12LL << -2 << -1200LL << 0 << "-1200";
    QTest::newRow("negative scale saturates")
        << 5LL << -30 << decimal::MaxMantissa << 0 << "288230376151711743";
}

void TestDecimal::construct()
{
    QFETCH(qlonglong, value);
    QFETCH(int, scale);
    QFETCH(qlonglong, mantissa);
    QFETCH(int, expectedScale);
    QFETCH(QString, text);

    const decimal d(value, short(scale));
    QCOMPARE(d.value(), mantissa);
    QCOMPARE(int(d.scale()), expectedScale);
    QCOMPARE(d.negative(), mantissa < 0);
    QCOMPARE(d.toString(), text);

    decimal viaSet(7, 1);
    viaSet.set(value, short(scale));
    QCOMPARE(viaSet.raw(), d.raw());
    QCOMPARE(decimal::fromRaw(d.raw()).raw(), d.raw());
}

void TestDecimal::fromText_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("ok");
    QTest::addColumn<QString>("expected");

    QTest::newRow("point") << "1234.5" << true << "1234.5";
    QTest::newRow("comma") << "1234,50" << true << "1234.50";
    QTest::newRow("spaces and sign") << "  -0,5 " << true << "-0.5";
    QTest::newRow("tab") << "\t12\n" << true << "12";
    QTest::newRow("plus") << "+7" << true << "7";
    QTest::newRow("leading zeros") << "007.10" << true << "7.10";
    QTest::newRow("many leading zeros") << "000000000000000000000000001" << true << "1";
    QTest::newRow("bare fraction") << ".5" << true << "0.5";
    QTest::newRow("negative bare fraction") << "-,25" << true << "-0.25";
    QTest::newRow("dangling point") << "5." << true << "5";
    QTest::newRow("negative zero") << "-0.00" << true << "0.00";
    QTest::newRow("upper limit") << "9999999999999998" << true << "9999999999999998";
    QTest::newRow("lower limit") << "-9999999999999998" << true << "-9999999999999998";
    QTest::newRow("limit with zero fraction")
        << "9999999999999998.000" << true << "9999999999999998.0";
    QTest::newRow("rounds up to the limit")
        << "9999999999999997.96" << true << "9999999999999998.0";
    QTest::newRow("19 fraction digits round")
        << "0.1234567890123456789" << true << "0.123456789012345679";
    QTest::newRow("half of the last digit")
        << "0.0000000000000000005" << true << "0.000000000000000001";
    QTest::newRow("negative half of the last digit")
        << "-0.0000000000000000005" << true << "-0.000000000000000001";
    QTest::newRow("below half of the last digit")
        << "0.00000000000000000049999" << true << "0.000000000000000000";
    QTest::newRow("scale shrinks to fit")
        << "12345678.123456789012" << true << "12345678.1234567890";
    QTest::newRow("scale shrinks and rounds")
        << "-12345678.123456789952" << true << "-12345678.1234567900";

    QTest::newRow("above the limit") << "9999999999999999" << false << "0";
    QTest::newRow("below the limit") << "-9999999999999999" << false << "0";
    QTest::newRow("just above the limit") << "9999999999999998.01" << false << "0";
    QTest::newRow("far above the limit") << "123456789012345678901234567890" << false << "0";
    QTest::newRow("empty") << "" << false << "0";
    QTest::newRow("spaces") << "   " << false << "0";
    QTest::newRow("sign only") << "-" << false << "0";
    QTest::newRow("point only") << "." << false << "0";
    QTest::newRow("comma only") << "," << false << "0";
    QTest::newRow("exponent") << "1e5" << false << "0";
    QTest::newRow("two points") << "1.2.3" << false << "0";
    QTest::newRow("point and comma") << "1,2.3" << false << "0";
    QTest::newRow("double sign") << "--1" << false << "0";
    QTest::newRow("mixed signs") << "+-1" << false << "0";
    QTest::newRow("trailing sign") << "1-" << false << "0";
    QTest::newRow("sign apart") << "- 1" << false << "0";
    QTest::newRow("space inside") << "1 000" << false << "0";
    QTest::newRow("hex") << "0x10" << false << "0";
    QTest::newRow("trailing letters") << "1.5abc" << false << "0";
    QTest::newRow("letters") << "abc" << false << "0";
    QTest::newRow("infinity") << "inf" << false << "0";
    QTest::newRow("not a number") << "nan" << false << "0";
    QTest::newRow("arabic digits") << QString::fromUtf8("\u0661\u0662") << false << "0";
}

void TestDecimal::fromText()
{
    QFETCH(QString, text);
    QFETCH(bool, ok);
    QFETCH(QString, expected);

    bool parsedOk = !ok;
    const decimal d = decimal::fromAnyString(text, &parsedOk);
    QCOMPARE(parsedOk, ok);
    QCOMPARE(d.toString(), expected);
    if (!ok)
        QCOMPARE(d.value(), 0LL);
    // The constructor reads text the same way, and also gives zero for no number.
    QCOMPARE(decimal(text).raw(), d.raw());
    // Without an ok flag nothing breaks either.
    QCOMPARE(decimal::fromAnyString(text).raw(), d.raw());
}

void TestDecimal::compare_data()
{
    QTest::addColumn<qlonglong>("am");
    QTest::addColumn<int>("as");
    QTest::addColumn<qlonglong>("bm");
    QTest::addColumn<int>("bs");
    QTest::addColumn<int>("expected");

    QTest::newRow("equal same scale") << 15LL << 1 << 15LL << 1 << 0;
    QTest::newRow("equal across scales") << 15LL << 1 << 150LL << 2 << 0;
    QTest::newRow("zero across scales") << 0LL << 0 << 0LL << 18 << 0;
    QTest::newRow("greater across scales") << 15LL << 1 << 149LL << 2 << 1;
    QTest::newRow("less across scales") << 1499LL << 3 << 15LL << 1 << -1;
    QTest::newRow("negatives across scales") << -15LL << 1 << -149LL << 2 << -1;
    QTest::newRow("sign decides") << -1LL << 18 << 1LL << 0 << -1;
    QTest::newRow("tiny versus zero") << 1LL << 18 << 0LL << 0 << 1;
    // Cross-multiplied, these overflow 64 bits.
    QTest::newRow("large mantissa, scale 1 step")
        << decimal::MaxMantissa << 0 << decimal::MaxMantissa << 1 << 1;
    QTest::newRow("large integer, 18 steps")
        << decimal::MaxMantissa << 0 << decimal::MaxMantissa << 18 << 1;
    QTest::newRow("large negative, 18 steps") << -decimal::MaxMantissa << 0 << -1LL << 18 << -1;
    QTest::newRow("fine versus large, 18 steps") << decimal::MaxMantissa << 18 << 288LL << 0 << -1;
    QTest::newRow("large both") << decimal::MaxMantissa << 2 << decimal::MaxMantissa - 1 << 2 << 1;
    QTest::newRow("large equal across scales")
        << 288230376151711700LL << 2 << 2882303761517117LL << 0 << 0;
}

void TestDecimal::compare()
{
    QFETCH(qlonglong, am);
    QFETCH(int, as);
    QFETCH(qlonglong, bm);
    QFETCH(int, bs);
    QFETCH(int, expected);

    const decimal a(am, short(as));
    const decimal b(bm, short(bs));
    QCOMPARE(a.compare(b), expected);
    QCOMPARE(b.compare(a), -expected);
    QCOMPARE(a == b, expected == 0);
    QCOMPARE(a != b, expected != 0);
    QCOMPARE(a < b, expected < 0);
    QCOMPARE(a <= b, expected <= 0);
    QCOMPARE(a > b, expected > 0);
    QCOMPARE(a >= b, expected >= 0);
}

void TestDecimal::minimumMaximum()
{
    const QList<decimal> others = {decimal::zero,
                                   decimal(-decimal::MaxMantissa, 0),
                                   decimal(decimal::MaxMantissa, 1),
                                   decimal(-decimal::MaxMantissa, 18),
                                   decimal(std::numeric_limits<qlonglong>::min(), 0),
                                   parsed("-9999999999999998"),
                                   parsed("9999999999999998"),
                                   decimal(1, 18),
                                   decimal(-1, 18),
                                   decimal::fromDouble(-std::numeric_limits<double>::infinity(), 0),
                                   parsed("-1") * decimal::maximum};
    for (const decimal& d : others) {
        QVERIFY2(decimal::minimum < d, qPrintable(d.toString()));
        QVERIFY2(d > decimal::minimum, qPrintable(d.toString()));
        QVERIFY2(decimal::maximum > d, qPrintable(d.toString()));
    }
    QVERIFY(decimal::maximum > decimal(decimal::MaxMantissa - 1, 0));
    QVERIFY(decimal::maximum > parsed("9999999999999998"));
    QVERIFY(decimal::minimum < decimal::maximum);
    QVERIFY(decimal::minimum.negative());
    QVERIFY(!decimal::maximum.negative());
    // Negating the lowest value must not overflow: it saturates to the highest.
    QCOMPARE((-decimal::minimum).raw(), decimal::maximum.raw());
}

void TestDecimal::zeroAtAnyScale()
{
    QCOMPARE(decimal::zero.value(), 0LL);
    QVERIFY(decimal::zero.isZero());
    QVERIFY(!decimal::zero.negative());
    for (short s = 0; s <= decimal::MaxScale; ++s) {
        const decimal z(0, s);
        QCOMPARE(z.value(), 0LL);
        QVERIFY(z.isZero());
        QVERIFY(z == decimal::zero);
        QCOMPARE(decimal::fromDouble(0.0, s).value(), 0LL);
        QVERIFY(!decimal::fromDouble(-0.0, s).negative());
        QCOMPARE(decimal::fromDouble(-0.0, s).value(), 0LL);
        QCOMPARE((-z).value(), 0LL);
    }
    QCOMPARE(decimal().value(), 0LL);
    QCOMPARE(decimal(QStringLiteral("0.000")).value(), 0LL);
    QCOMPARE(decimal(QStringLiteral("x")).value(), 0LL);
    QCOMPARE((parsed("1.25") - parsed("1.250")).value(), 0LL);
}

void TestDecimal::arithmetic_data()
{
    QTest::addColumn<QString>("a");
    QTest::addColumn<QString>("b");
    QTest::addColumn<QString>("sum");
    QTest::addColumn<QString>("difference");
    QTest::addColumn<QString>("product");

    QTest::newRow("scales align") << "1.5"
                                  << "2.25"
                                  << "3.75"
                                  << "-0.75"
                                  << "3.38";
    QTest::newRow("integers") << "12"
                              << "-5"
                              << "7"
                              << "17"
                              << "-60";
    QTest::newRow("product rounds down") << "1.05"
                                         << "1.05"
                                         << "2.10"
                                         << "0.00"
                                         << "1.10";
    QTest::newRow("product rounds half away") << "0.5"
                                              << "0.5"
                                              << "1.0"
                                              << "0.0"
                                              << "0.3";
    QTest::newRow("negative product rounds half away") << "-0.5"
                                                       << "0.5"
                                                       << "0.0"
                                                       << "-1.0"
                                                       << "-0.3";
    QTest::newRow("product keeps larger scale") << "2"
                                                << "0.125"
                                                << "2.125"
                                                << "1.875"
                                                << "0.250";
    QTest::newRow("fine scales") << "0.1"
                                 << "0.000000000000000001"
                                 << "0.100000000000000001"
                                 << "0.099999999999999999"
                                 << "0.000000000000000000";
    QTest::newRow("too fine for the sum") << "0.000000000000000001"
                                          << "1"
                                          << "1.00000000000000000"
                                          << "-1.00000000000000000"
                                          << "0.000000000000000001";
    QTest::newRow("tiny product vanishes") << "0.000000001"
                                           << "0.000000001"
                                           << "0.000000002"
                                           << "0.000000000"
                                           << "0.000000000";
    QTest::newRow("near limits") << "9999999999999998"
                                 << "-9999999999999998"
                                 << "0"
                                 << "19999999999999996"
                                 << "-288230376151711743";
}

void TestDecimal::arithmetic()
{
    QFETCH(QString, a);
    QFETCH(QString, b);
    QFETCH(QString, sum);
    QFETCH(QString, difference);
    QFETCH(QString, product);

    const decimal x = parsed(a);
    const decimal y = parsed(b);
    QCOMPARE((x + y).toString(), sum);
    QCOMPARE((x - y).toString(), difference);
    QCOMPARE((x * y).toString(), product);
    QCOMPARE((y * x).toString(), product);
    QCOMPARE((-(y - x)).toString(), difference);

    decimal acc = x;
    acc += y;
    QCOMPARE(acc.toString(), sum);
    acc = x;
    acc -= y;
    QCOMPARE(acc.toString(), difference);
}

void TestDecimal::saturation()
{
    const decimal top(decimal::MaxMantissa, 0);
    const decimal bottom(-decimal::MaxMantissa, 0);
    const decimal one(1, 0);

    QCOMPARE((top + one).value(), decimal::MaxMantissa);
    QVERIFY(!(top + one).negative());
    QCOMPARE((top - (-one)).value(), decimal::MaxMantissa);
    QCOMPARE((bottom - one).value(), -decimal::MaxMantissa);
    QCOMPARE((top + top).value(), decimal::MaxMantissa);
    QCOMPARE((bottom + bottom).value(), -decimal::MaxMantissa);
    QCOMPARE((top * top).value(), decimal::MaxMantissa);
    QCOMPARE((top * bottom).value(), -decimal::MaxMantissa);
    QCOMPARE((top * std::numeric_limits<long long>::min()).value(), -decimal::MaxMantissa);
    QCOMPARE((parsed("-1.5") * 4LL).toString(), QStringLiteral("-6.0"));
    QCOMPARE((parsed("-1.5") * -4LL).toString(), QStringLiteral("6.0"));

    // A large integer does not fit a fine scale: the result keeps the value at a coarser one.
    const decimal aligned = top + decimal(1, 18);
    QCOMPARE(int(aligned.scale()), 0);
    QCOMPARE(aligned.value(), decimal::MaxMantissa);
    QCOMPARE((parsed("1000000") * parsed("0.000000000001")).toString(),
             QStringLiteral("0.000001000000"));
    QCOMPARE((parsed("100000000000") * parsed("1.000000001")).toString(),
             QStringLiteral("100000000100.000000"));

    decimal grown(100000000000000000LL, 0);
    grown.setScale(18);
    QCOMPARE(grown.toString(), QStringLiteral("100000000000000000"));
}

void TestDecimal::setScale_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("scale");
    QTest::addColumn<QString>("expected");

    QTest::newRow("half up") << "1.25" << 1 << "1.3";
    QTest::newRow("below half") << "1.24" << 1 << "1.2";
    QTest::newRow("negative half") << "-1.25" << 1 << "-1.3";
    QTest::newRow("to integer") << "1.5" << 0 << "2";
    QTest::newRow("negative to integer") << "-0.5" << 0 << "-1";
    QTest::newRow("rounds away to zero") << "-0.0049" << 2 << "0.00";
    QTest::newRow("just below half, many digits") << "2.4999999999999999" << 0 << "2";
    QTest::newRow("grow") << "1.2" << 3 << "1.200";
    QTest::newRow("beyond 18") << "0.2" << 30 << "0.200000000000000000";
    QTest::newRow("finest that fits") << "1.2" << 18 << "1.20000000000000000";
    QTest::newRow("finest that fits, larger") << "-300" << 18 << "-300.00000000000000";
    QTest::newRow("negative") << "7.5" << -3 << "8";
}

void TestDecimal::setScale()
{
    QFETCH(QString, text);
    QFETCH(int, scale);
    QFETCH(QString, expected);

    decimal d = parsed(text);
    d.setScale(short(scale));
    QCOMPARE(d.toString(), expected);
    if (d.isZero())
        QVERIFY(!d.negative());
}

void TestDecimal::fromDouble_data()
{
    QTest::addColumn<double>("value");
    QTest::addColumn<int>("scale");
    QTest::addColumn<QString>("expected");

    const double inf = std::numeric_limits<double>::infinity();
    QTest::newRow("0.285") << 0.285 << 2 << "0.29";
    QTest::newRow("2.675") << 2.675 << 2 << "2.68";
    QTest::newRow("-1.005") << -1.005 << 2 << "-1.01";
    QTest::newRow("1.005") << 1.005 << 2 << "1.01";
    QTest::newRow("0.125") << 0.125 << 2 << "0.13";
    QTest::newRow("1.45") << 1.45 << 1 << "1.5";
    QTest::newRow("0.5 to integer") << 0.5 << 0 << "1";
    QTest::newRow("-0.5 to integer") << -0.5 << 0 << "-1";
    QTest::newRow("just below half") << 0.284999999 << 2 << "0.28";
    QTest::newRow("closer below half") << 0.2849999999999 << 2 << "0.28";
    QTest::newRow("just above half") << 0.2850000001 << 2 << "0.29";
    QTest::newRow("whole number") << 123.0 << 3 << "123.000";
    QTest::newRow("large whole number") << 1e15 << 2 << "1000000000000000.00";
    QTest::newRow("limit") << 9999999999999998.0 << 0 << "9999999999999998";
    QTest::newRow("limit negative") << -9999999999999998.0 << 0 << "-9999999999999998";
    QTest::newRow("1e17 stays whole") << 1e17 << 0 << "100000000000000000";
    QTest::newRow("tiny") << 1e-20 << 5 << "0.00000";
    QTest::newRow("scale 18") << 0.1 << 18 << "0.100000000000000000";
    QTest::newRow("negative scale") << 2.5 << -1 << "3";
    QTest::newRow("scale above 18") << 0.25 << 25 << "0.250000000000000000";
    QTest::newRow("finest scale that fits") << 0.5 << 18 << "0.50000000000000000";
    QTest::newRow("NaN") << std::numeric_limits<double>::quiet_NaN() << 2 << "0.00";
    QTest::newRow("+inf") << inf << 2 << "288230376151711743";
    QTest::newRow("-inf") << -inf << 0 << "-288230376151711743";
    QTest::newRow("out of range") << 1e300 << 4 << "288230376151711743";
    QTest::newRow("too fine a scale") << 1e15 << 3 << "1000000000000000.00";
    QTest::newRow("out of range negative") << -1e20 << 0 << "-288230376151711743";
}

void TestDecimal::fromDouble()
{
    QFETCH(double, value);
    QFETCH(int, scale);
    QFETCH(QString, expected);

    QCOMPARE(decimal::fromDouble(value, short(scale)).toString(), expected);
}

void TestDecimal::fromDoubleHalves_data()
{
    QTest::addColumn<int>("scale");
    QTest::addColumn<qlonglong>("from");

    for (int scale = 0; scale <= 6; ++scale) {
        QTest::addRow("scale %d small", scale) << scale << 0LL;
        QTest::addRow("scale %d large", scale) << scale << 1000000000LL;
    }
    QTest::addRow("scale 2 near 2^40") << 2 << (1LL << 40);
}

// Every double typed as a decimal text with one digit more than the scale rounds as that
// text does: "x5" away from zero, "x49" down, "x51" up, whatever its binary form.
void TestDecimal::fromDoubleHalves()
{
    QFETCH(int, scale);
    QFETCH(qlonglong, from);

    auto text = [](qlonglong digits, int decimals) {
        QString t = QString::number(digits).rightJustified(decimals + 1, QLatin1Char('0'));
        t.insert(t.size() - decimals, QLatin1Char('.'));
        return t;
    };
    for (qlonglong k = from; k < from + 3000; ++k) {
        const struct
        {
            qlonglong digits;
            int decimals;
            qlonglong rounded;
        } cases[] = {{k * 10 + 5, scale + 1, k + 1},
                     {k * 100 + 49, scale + 2, k},
                     {k * 100 + 51, scale + 2, k + 1}};
        for (const auto& c : cases) {
            const QString t = text(c.digits, c.decimals);
            const double v = t.toDouble();
            const decimal up = decimal::fromDouble(v, short(scale));
            const decimal down = decimal::fromDouble(-v, short(scale));
            if (up.value() != c.rounded || down.value() != -c.rounded)
                QFAIL(qPrintable(QStringLiteral("%1 at scale %2 gave %3 and %4")
                                     .arg(t)
                                     .arg(scale)
                                     .arg(up.toString(), down.toString())));
        }
    }
}

void TestDecimal::toDouble()
{
    // Correctly rounded: the nearest double to the decimal, not an approximation of it.
    QVERIFY(parsed("0.29").toDouble() == 0.29);
    QVERIFY(parsed("-1234.56").toDouble() == -1234.56);
    QVERIFY(parsed("0.000000000000000001").toDouble() == 1e-18);
    QVERIFY(decimal(7, 0).toDouble() == 7.0);
    QVERIFY(decimal::zero.toDouble() == 0.0);
    // A raw value with scale bits no decimal has does not read out of bounds.
    QVERIFY(std::isfinite(decimal::fromRaw(31).toDouble()));
}

void TestDecimal::texts_data()
{
    QTest::addColumn<qlonglong>("mantissa");
    QTest::addColumn<int>("scale");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("system");
    QTest::addColumn<QString>("systemShort");

    QTest::newRow("all digits") << -123450LL << 2 << "-1234.50"
                                << "-1234,50"
                                << "-1234,5";
    QTest::newRow("negative fraction") << -50LL << 2 << "-0.50"
                                       << "-0,50"
                                       << "-0,5";
    QTest::newRow("integer") << 42LL << 0 << "42"
                             << "42"
                             << "42";
    QTest::newRow("zero scale 0") << 0LL << 0 << "0"
                                  << "0"
                                  << "0";
    QTest::newRow("zero scale 2") << 0LL << 2 << "0.00"
                                  << "0,00"
                                  << "0";
    QTest::newRow("no bare point") << 1200LL << 2 << "12.00"
                                   << "12,00"
                                   << "12";
    QTest::newRow("negative no bare point") << -1200LL << 2 << "-12.00"
                                            << "-12,00"
                                            << "-12";
    QTest::newRow("ten keeps its zero") << 1000LL << 2 << "10.00"
                                        << "10,00"
                                        << "10";
    QTest::newRow("leading fraction zeros") << 5LL << 4 << "0.0005"
                                            << "0,0005"
                                            << "0,0005";
    QTest::newRow("inner zeros") << 10010LL << 3 << "10.010"
                                 << "10,010"
                                 << "10,01";
    QTest::newRow("max scale") << -decimal::MaxMantissa << 18 << "-0.288230376151711743"
                               << "-0,288230376151711743"
                               << "-0,288230376151711743";
}

void TestDecimal::texts()
{
    QFETCH(qlonglong, mantissa);
    QFETCH(int, scale);
    QFETCH(QString, text);
    QFETCH(QString, system);
    QFETCH(QString, systemShort);

    const decimal d(mantissa, short(scale));
    QCOMPARE(d.toString(), text);
    QCOMPARE(d.toSystemString(), system);
    QCOMPARE(d.toSystemStringShort(), systemShort);
    // What is written is read back unchanged, scale included.
    QCOMPARE(decimal(text).raw(), d.raw());
    QCOMPARE(decimal(system).raw(), d.raw());
}

void TestDecimal::fromVariant_data()
{
    QTest::addColumn<QVariant>("variant");
    QTest::addColumn<bool>("ok");
    QTest::addColumn<QString>("expected");

    const double inf = std::numeric_limits<double>::infinity();
    QTest::newRow("decimal") << decimal(-125, 2).toVariant() << true << "-1.25";
    QTest::newRow("int") << QVariant(5) << true << "5";
    QTest::newRow("negative long long")
        << QVariant(qlonglong(-9999999999999998LL)) << true << "-9999999999999998";
    QTest::newRow("long long too large") << QVariant(qlonglong(9999999999999999LL)) << false << "0";
    QTest::newRow("unsigned too large") << QVariant(qulonglong(1) << 63) << false << "0";
    QTest::newRow("unsigned") << QVariant(7u) << true << "7";
    QTest::newRow("double") << QVariant(0.1) << true << "0.1";
    QTest::newRow("double negative") << QVariant(-2.675) << true << "-2.675";
    QTest::newRow("double whole") << QVariant(3.0) << true << "3";
    QTest::newRow("double limit") << QVariant(9999999999999998.0) << true << "9999999999999998";
    QTest::newRow("double too large") << QVariant(1e17) << false << "0";
    QTest::newRow("double NaN") << QVariant(std::nan("")) << false << "0";
    QTest::newRow("double inf") << QVariant(inf) << false << "0";
    QTest::newRow("text comma") << QVariant(QStringLiteral("1,5")) << true << "1.5";
    QTest::newRow("text bad") << QVariant(QStringLiteral("1.5x")) << false << "0";
    QTest::newRow("text empty") << QVariant(QString()) << false << "0";
    QTest::newRow("bytes") << QVariant(QByteArray("2.50")) << true << "2.50";
    QTest::newRow("invalid") << QVariant() << false << "0";
    QTest::newRow("null int") << QVariant(QVariant::Int) << false << "0";
    QTest::newRow("bool") << QVariant(true) << false << "0";
    QTest::newRow("date") << QVariant(QDate(2024, 1, 15)) << false << "0";
    QTest::newRow("datetime") << datetime(QDate(2024, 1, 15)).toVariant() << false << "0";
}

void TestDecimal::fromVariant()
{
    QFETCH(QVariant, variant);
    QFETCH(bool, ok);
    QFETCH(QString, expected);

    QCOMPARE(decimal::canConvert(variant), ok);
    bool converted = !ok;
    const decimal d = decimal::fromVariant(variant, &converted);
    QCOMPARE(converted, ok);
    QCOMPARE(d.toString(), expected);
}

void TestDecimal::variantConversions()
{
    const decimal d(-123450, 2);
    const QVariant v = d.toVariant();
    QCOMPARE(v.userType(), decimal::metatypeId());
    QCOMPARE(v.value<decimal>().raw(), d.raw());
    // What views need to show a cell without knowing the type.
    QCOMPARE(v.toString(), QStringLiteral("-1234.50"));
    QVERIFY(v.toDouble() == -1234.5);
    QVERIFY(v.canConvert<double>());
    QCOMPARE(QVariant(QStringLiteral("2,5")).value<decimal>().toString(), QStringLiteral("2.5"));
    // Equal decimals at different scales are equal variants too.
    QVERIFY(v == decimal(-1234500, 3).toVariant());
    QVERIFY(v != decimal(-1234501, 3).toVariant());
}

void TestDecimal::streamDecimal()
{
    const QList<decimal> values = {decimal::zero, decimal(-50, 2), decimal(1, 18), decimal::minimum,
                                   decimal::maximum};
    QByteArray bytes;
    {
        QDataStream out(&bytes, QIODevice::WriteOnly);
        for (const decimal& d : values)
            out << d;
    }
    QCOMPARE(bytes.size(), values.size() * 8);
    QDataStream in(bytes);
    for (const decimal& d : values) {
        decimal read(99, 1);
        in >> read;
        QCOMPARE(read.raw(), d.raw());
    }
    QCOMPARE(in.status(), QDataStream::Ok);

    // A short stream and one with impossible scale bits give zero, never garbage.
    decimal read(99, 1);
    QDataStream shortStream(QByteArray("\x00\x01\x02", 3));
    shortStream >> read;
    QVERIFY(shortStream.status() != QDataStream::Ok);
    QCOMPARE(read.raw(), decimal::zero.raw());

    QByteArray badScale;
    QDataStream(&badScale, QIODevice::WriteOnly) << qint64((5 << 5) | 25);
    read = decimal(99, 1);
    QDataStream badStream(badScale);
    badStream >> read;
    QCOMPARE(badStream.status(), QDataStream::ReadCorruptData);
    QCOMPARE(read.raw(), decimal::zero.raw());
}

void TestDecimal::datetimeFromDate_data()
{
    QTest::addColumn<QByteArray>("zone");
    QTest::addColumn<int>("januaryOffsetHours");
    QTest::addColumn<QDate>("date");

    const struct
    {
        const char* zone;
        int offset;
    } zones[] = {{"UTC", 0},        {"Europe/Moscow", 3},       {"America/New_York", -5},
                 {"Asia/Tokyo", 9}, {"Pacific/Kiritimati", 14}, {"Pacific/Pago_Pago", -11}};
    const QDate dates[] = {QDate(2024, 1, 15), QDate(2024, 3, 10),  QDate(2024, 3, 31),
                           QDate(2024, 11, 3), QDate(2024, 10, 27), QDate(2024, 2, 29),
                           QDate(1970, 1, 2),  QDate(2099, 12, 31), QDate(1969, 12, 31)};
    for (const auto& z : zones) {
        for (const QDate& d : dates) {
            QTest::addRow("%s %s", z.zone, qPrintable(d.toString(Qt::ISODate)))
                << QByteArray(z.zone) << z.offset << d;
        }
    }
}

void TestDecimal::datetimeFromDate()
{
    QFETCH(QByteArray, zone);
    QFETCH(int, januaryOffsetHours);
    QFETCH(QDate, date);

    TimeZone tz(zone);
    // The zone really is in force, or the rest of this proves nothing.
    QCOMPARE(QDateTime(QDate(2023, 1, 15), QTime(12, 0), Qt::LocalTime).offsetFromUtc(),
             januaryOffsetHours * 3600);

    const datetime midnight(date);
    QCOMPARE(midnight.msecs(), utcMsecs(date));
    QCOMPARE(midnight.getDate(), date);
    QCOMPARE(midnight.getDateTime().date(), date);
    QCOMPARE(midnight.getDateTime().time(), QTime(0, 0));
    QCOMPARE(midnight.getDateTime().timeSpec(), Qt::LocalTime);

    const datetime evening = midnight + 68400000;
    QCOMPARE(evening.getDate(), date);
    QCOMPARE(evening.getDateTime().date(), date);
    QCOMPARE(evening.getDateTime().time(), QTime(19, 0));
    QCOMPARE(evening.toString(), date.toString(QStringLiteral("dd.MM.yyyy")) + " 19:00:00");

    // A local QDateTime of that wall-clock time gives the same value, and so does one in
    // UTC that shows those fields.
    QCOMPARE(datetime(QDateTime(date, QTime(19, 0), Qt::LocalTime)).msecs(), evening.msecs());
    QCOMPARE(datetime(QDateTime(date, QTime(19, 0), Qt::UTC)).msecs(), evening.msecs());
    QCOMPARE(datetime(evening.getDateTime()).msecs(), evening.msecs());

    // The last millisecond of the day is still that day.
    QCOMPARE((midnight + (datetime::MsecsPerDay - 1)).getDate(), date);
    QCOMPARE((midnight + (datetime::MsecsPerDay + 1)).getDate(), date.addDays(1));
}

void TestDecimal::datetimeSummerTimeGap()
{
    TimeZone tz("America/New_York");
    // 2024-03-10 02:30 does not exist on a New York clock; the fields survive anyway.
    const datetime inGap = datetime(QDate(2024, 3, 10)) + (2 * 3600 + 30 * 60) * 1000LL;
    const QDateTime shown = inGap.getDateTime();
    QVERIFY(shown.isValid());
    QCOMPARE(shown.date(), QDate(2024, 3, 10));
    QCOMPARE(shown.time(), QTime(2, 30));
    QCOMPARE(datetime(shown).msecs(), inGap.msecs());

    // The hour that repeats in autumn keeps its fields too.
    const datetime repeated = datetime(QDate(2024, 11, 3)) + (1 * 3600 + 30 * 60) * 1000LL;
    QCOMPARE(repeated.getDateTime().time(), QTime(1, 30));
    QCOMPARE(datetime(repeated.getDateTime()).msecs(), repeated.msecs());
}

void TestDecimal::datetimeNow()
{
    // Far from UTC, so that reading the UTC clock instead of the local one shows.
    TimeZone tz("Asia/Tokyo");
    const datetime before(QDateTime::currentDateTime());
    const datetime now = datetime::now();
    const datetime after(QDateTime::currentDateTime());
    QVERIFY(before <= now);
    QVERIFY(now <= after);
    QVERIFY(after - before < 60000);
}

void TestDecimal::datetimeNull()
{
    const datetime null;
    QVERIFY(null.isNull());
    QCOMPARE(null.msecs(), 0LL);
    QVERIFY(!null.getDate().isValid());
    QVERIFY(!null.getDateTime().isValid());
    QVERIFY(null.toString().isEmpty());
    const datetime dates[] = {datetime(QDate(1970, 1, 1)) + 1, datetime(QDate(1970, 1, 2)),
                              datetime(QDate(2024, 1, 15)), datetime(QDate(9999, 12, 31)),
                              datetime(QStringLiteral("15.01.2024 19:00"))};
    for (const datetime& d : dates) {
        QVERIFY(!d.isNull());
        QCOMPARE(null.compare(d), -1);
        QCOMPARE(d.compare(null), 1);
        QVERIFY(null < d);
    }
    QCOMPARE(null.compare(datetime()), 0);
    // Dates no QDateTime can carry give null rather than garbage.
    QVERIFY(datetime(QDate()).isNull());
    QVERIFY(datetime(QDateTime()).isNull());
    QVERIFY(datetime(QDate(200000000, 1, 1)).isNull());
}

void TestDecimal::datetimeParse_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<qint64>("expected"); // 0: null

    const QDate day(2024, 1, 15);
    QTest::newRow("date") << "15.01.2024" << utcMsecs(day);
    QTest::newRow("short day and month") << "5.1.2024" << utcMsecs(QDate(2024, 1, 5));
    QTest::newRow("minutes") << "15.01.2024 19:00" << utcMsecs(day, QTime(19, 0));
    QTest::newRow("seconds") << "15.01.2024 19:00:05" << utcMsecs(day, QTime(19, 0, 5));
    QTest::newRow("milliseconds") << "15.01.2024 19:00:05.250"
                                  << utcMsecs(day, QTime(19, 0, 5, 250));
    QTest::newRow("one-digit hour") << "15.01.2024 9:30" << utcMsecs(day, QTime(9, 30));
    QTest::newRow("spaces around") << "  15.01.2024   10:00 " << utcMsecs(day, QTime(10, 0));
    QTest::newRow("iso date") << "2024-01-15" << utcMsecs(day);
    QTest::newRow("iso T") << "2024-01-15T19:00" << utcMsecs(day, QTime(19, 0));
    QTest::newRow("iso space") << "2024-01-15 19:00:05" << utcMsecs(day, QTime(19, 0, 5));
    QTest::newRow("iso fraction") << "2024-01-15T19:00:05.5" << utcMsecs(day, QTime(19, 0, 5, 500));
    QTest::newRow("leap day") << "29.02.2024" << utcMsecs(QDate(2024, 2, 29));
    QTest::newRow("before 1970") << "31.12.1969 23:00"
                                 << utcMsecs(QDate(1969, 12, 31), QTime(23, 0));

    QTest::newRow("empty") << "" << qint64(0);
    QTest::newRow("no leap day") << "29.02.2023" << qint64(0);
    QTest::newRow("day 32") << "32.01.2024" << qint64(0);
    QTest::newRow("month 13") << "2024-13-01" << qint64(0);
    QTest::newRow("hour 25") << "15.01.2024 25:00" << qint64(0);
    QTest::newRow("second 60") << "2024-01-15 19:00:60" << qint64(0);
    QTest::newRow("two-digit year") << "15.01.24" << qint64(0);
    QTest::newRow("slashes") << "15/01/2024" << qint64(0);
    QTest::newRow("hour alone") << "15.01.2024 19" << qint64(0);
    QTest::newRow("dangling T") << "2024-01-15T" << qint64(0);
    QTest::newRow("time zone") << "2024-01-15T19:00Z" << qint64(0);
    QTest::newRow("four fraction digits") << "15.01.2024 19:00:05.1234" << qint64(0);
    QTest::newRow("words") << "yesterday" << qint64(0);
    QTest::newRow("arabic digits") << QString::fromUtf8("\u0661\u0665.01.2024") << qint64(0);
}

void TestDecimal::datetimeParse()
{
    QFETCH(QString, text);
    QFETCH(qint64, expected);

    const datetime d(text);
    QCOMPARE(d.msecs(), expected);
    QCOMPARE(datetime::fromVariant(QVariant(text)).msecs(), expected);
}

void TestDecimal::datetimeToString_data()
{
    QTest::addColumn<QDateTime>("fields");
    QTest::addColumn<QString>("text");

    QTest::newRow("midnight") << QDateTime(QDate(2024, 1, 15), QTime(0, 0)) << "15.01.2024";
    QTest::newRow("evening") << QDateTime(QDate(2024, 1, 15), QTime(19, 0))
                             << "15.01.2024 19:00:00";
    QTest::newRow("seconds") << QDateTime(QDate(2024, 12, 5), QTime(7, 8, 9))
                             << "05.12.2024 07:08:09";
    QTest::newRow("milliseconds dropped")
        << QDateTime(QDate(2024, 1, 15), QTime(0, 0, 0, 1)) << "15.01.2024 00:00:00";
    QTest::newRow("before 1970") << QDateTime(QDate(1969, 12, 31), QTime(23, 59, 59))
                                 << "31.12.1969 23:59:59";
}

void TestDecimal::datetimeToString()
{
    QFETCH(QDateTime, fields);
    QFETCH(QString, text);

    const datetime d(fields);
    QCOMPARE(d.toString(), text);
    if (fields.time().msec() == 0)
        QCOMPARE(datetime(text).msecs(), d.msecs());
}

void TestDecimal::datetimeFromVariant()
{
    const datetime d = datetime(QDate(2024, 1, 15)) + 68400000;
    QCOMPARE(datetime::fromVariant(d.toVariant()).msecs(), d.msecs());
    QCOMPARE(d.toVariant().userType(), datetime::metatypeId());
    QCOMPARE(datetime::fromVariant(QVariant(QDate(2024, 1, 15))).msecs(),
             utcMsecs(QDate(2024, 1, 15)));
    QCOMPARE(datetime::fromVariant(QVariant(QDateTime(QDate(2024, 1, 15), QTime(19, 0)))).msecs(),
             d.msecs());
    QVERIFY(datetime::fromVariant(QVariant()).isNull());
    QVERIFY(datetime::fromVariant(QVariant(5)).isNull());
    QVERIFY(datetime::fromVariant(decimal(5, 0).toVariant()).isNull());

    // What views need to show a cell without knowing the type.
    const QVariant v = d.toVariant();
    QCOMPARE(v.toDateTime().date(), QDate(2024, 1, 15));
    QCOMPARE(v.toDateTime().time(), QTime(19, 0));
    QCOMPARE(v.toDate(), QDate(2024, 1, 15));
    QCOMPARE(v.toString(), QStringLiteral("15.01.2024 19:00:00"));
    QVERIFY(v == (datetime(QDate(2024, 1, 15)) + 68400000).toVariant());
    QVERIFY(v != datetime(QDate(2024, 1, 15)).toVariant());
}

void TestDecimal::variantStreamRoundTrip()
{
    const decimal d(-123450, 2);
    const datetime t = datetime(QDate(2024, 1, 15)) + 68400000;
    QVariantList list = {d.toVariant(), t.toVariant(), decimal::minimum.toVariant(),
                         datetime().toVariant()};
    QByteArray bytes;
    {
        QDataStream out(&bytes, QIODevice::WriteOnly);
        out << list;
        QCOMPARE(out.status(), QDataStream::Ok);
    }
    QVariantList read;
    QDataStream in(bytes);
    in >> read;
    QCOMPARE(in.status(), QDataStream::Ok);
    QCOMPARE(read.size(), 4);
    QCOMPARE(read.at(0).userType(), decimal::metatypeId());
    QCOMPARE(read.at(0).value<decimal>().raw(), d.raw());
    QCOMPARE(read.at(1).userType(), datetime::metatypeId());
    QCOMPARE(read.at(1).value<datetime>().msecs(), t.msecs());
    QCOMPARE(read.at(2).value<decimal>().raw(), decimal::minimum.raw());
    QVERIFY(read.at(3).value<datetime>().isNull());
}

void TestDecimal::queuedSignalAcrossThreads()
{
    Emitter emitter;
    Receiver receiver;
    QThread thread;
    receiver.moveToThread(&thread);
    // By the names of the types, as connections made from text need them.
    QVERIFY(connect(&emitter, SIGNAL(sent(decimal, datetime)), &receiver,
                    SLOT(take(decimal, datetime)), Qt::QueuedConnection));
    thread.start();

    const decimal d(-123450, 2);
    const datetime t = datetime(QDate(2024, 1, 15)) + 68400000;
    emit emitter.sent(d, t);
    QTRY_VERIFY(receiver.received());
    thread.quit();
    QVERIFY(thread.wait(10000));

    QCOMPARE(receiver.value().raw(), d.raw());
    QCOMPARE(receiver.time().msecs(), t.msecs());
    QCOMPARE(receiver.handlerThread(), &thread);
}

int main(int argc, char** argv)
{
    // A locale whose decimal point is a comma, for the system texts.
    qputenv("LC_ALL", "ru_RU.UTF-8");
    QCoreApplication app(argc, argv);
    TestDecimal test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_decimal.moc"
