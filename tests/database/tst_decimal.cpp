#include "database/datetime.h"
#include "database/decimal.h"

#include <QCoreApplication>
#include <QDataStream>
#include <QLocale>
#include <QScopeGuard>
#include <QtTest>

#include <cmath>
#include <cstdlib>
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

// Switches the process time zone until the guard returned goes away.
auto timeZone(const QByteArray& zone)
{
    const bool had = qEnvironmentVariableIsSet("TZ");
    const QByteArray old = qgetenv("TZ");
    qputenv("TZ", zone);
    tzset();
    return qScopeGuard([had, old] {
        had ? qputenv("TZ", old) : qunsetenv("TZ");
        tzset();
    });
}

qint64 utcMsecs(const QDate& date, const QTime& time = QTime(0, 0))
{
    return QDateTime(date, time, Qt::UTC).toMSecsSinceEpoch();
}

constexpr qlonglong LongMax = std::numeric_limits<qlonglong>::max();

} // namespace

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
    void minimumMaximumAndZero();
    void arithmetic_data();
    void arithmetic();
    void saturation();
    void rounding_data();
    void rounding();
    void fromDoubleHalves_data();
    void fromDoubleHalves();
    void fromVariant_data();
    void fromVariant();

    void datetimeFromDate_data();
    void datetimeFromDate();
    void datetimeNow();
    void datetimeNull();
    void datetimeParse_data();
    void datetimeParse();
    void variantConversions();

    void streams();
};

void TestDecimal::initTestCase()
{
    // Before anything in this program has touched the types: the library
    // registered them by name when it was loaded, as queued calls and connections
    // made from text need them.
    QCOMPARE(QMetaType::type("decimal"), decimal::metatypeId());
    QCOMPARE(QMetaType::type("datetime"), datetime::metatypeId());
    QVERIFY(decimal::metatypeId() != QMetaType::UnknownType);
    QVERIFY(datetime::metatypeId() != QMetaType::UnknownType);
    // main() chose a locale with a comma, so that the system texts differ from
    // toString().
    QCOMPARE(QLocale::system().decimalPoint(), QLatin1Char(','));
}

void TestDecimal::construct_data()
{
    QTest::addColumn<qlonglong>("value");
    QTest::addColumn<int>("scale");
    QTest::addColumn<qlonglong>("mantissa");
    QTest::addColumn<int>("expectedScale");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("systemShort");

    const qlonglong maxM = decimal::MaxMantissa;
    struct Row
    {
        const char* name;
        qlonglong value;
        int scale;
        qlonglong mantissa;
        int expectedScale;
        const char *text, *systemShort;
    };
    const Row rows[] = {
        {"negative fraction", -50LL, 2, -50LL, 2, "-0.50", "-0,5"},
        {"zero scale 3", 0LL, 3, 0LL, 3, "0.000", "0"},
        {"no bare point", -1200LL, 2, -1200LL, 2, "-12.00", "-12"},
        {"ten keeps its zero", 1000LL, 2, 1000LL, 2, "10.00", "10"},
        {"leading fraction zeros", 5LL, 4, 5LL, 4, "0.0005", "0,0005"},
        {"inner zeros", 10010LL, 3, 10010LL, 3, "10.010", "10,01"},
        {"max scale", -maxM, 18, -maxM, 18, "-0.288230376151711743", "-0,288230376151711743"},
        // What the scale cannot hold moves to a coarser scale, rounded once.
        {"mantissa too large", LongMax, 2, 92233720368547758LL, 0, "92233720368547758",
         "92233720368547758"},
        {"fits at scale 1 once rounded", 2882303761517117425LL, 2, maxM, 1, "28823037615171174.3",
         "28823037615171174,3"},
        {"rounding pushes to scale 0", 2882303761517117435LL, 2, 28823037615171174LL, 0,
         "28823037615171174", "28823037615171174"},
        {"mantissa too small", std::numeric_limits<qlonglong>::min(), 0, -maxM, 0,
         "-288230376151711743", "-288230376151711743"},
        {"scale beyond 18 rounds half", -150LL, 20, -2LL, 18, "-0.000000000000000002",
         "-0,000000000000000002"},
        {"huge scale", 5LL, 32000, 0LL, 18, "0.000000000000000000", "0"},
        {"negative scale", -12LL, -2, -1200LL, 0, "-1200", "-1200"},
        {"negative scale saturates", 5LL, -30, maxM, 0, "288230376151711743", "288230376151711743"},
    };
    for (const Row& r : rows)
        QTest::newRow(r.name) << r.value << r.scale << r.mantissa << r.expectedScale
                              << QString(r.text) << QString(r.systemShort);
}

void TestDecimal::construct()
{
    QFETCH(qlonglong, value);
    QFETCH(int, scale);
    QFETCH(qlonglong, mantissa);
    QFETCH(int, expectedScale);
    QFETCH(QString, text);
    QFETCH(QString, systemShort);

    const decimal d(value, short(scale));
    QCOMPARE(d.value(), mantissa);
    QCOMPARE(int(d.scale()), expectedScale);
    QCOMPARE(d.toString(), text);
    QCOMPARE(d.toSystemString(), QString(text).replace(QLatin1Char('.'), QLatin1Char(',')));
    QCOMPARE(d.toSystemStringShort(), systemShort);
    // Correctly rounded: the nearest double to the decimal, not an approximation
    // of it.
    if (std::llabs(mantissa) < (1LL << 53))
        QVERIFY(d.toDouble() == text.toDouble());

    decimal viaSet(7, 1);
    viaSet.set(value, short(scale));
    QCOMPARE(viaSet.raw(), d.raw());
    // What is written is read back unchanged, scale included, where it is in
    // range.
    if (std::fabs(d.toDouble()) <= decimal::MaxAbsValue) {
        QCOMPARE(decimal(text).raw(), d.raw());
        QCOMPARE(decimal(d.toSystemString()).raw(), d.raw());
    }
}

void TestDecimal::fromText_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("ok");
    QTest::addColumn<QString>("expected");

    QTest::newRow("point and plus") << "+1234.5" << true << "1234.5";
    QTest::newRow("comma") << "1234,50" << true << "1234.50";
    QTest::newRow("spaces and sign") << " \t -0,5 \n" << true << "-0.5";
    QTest::newRow("negative bare fraction") << "-,25" << true << "-0.25";
    QTest::newRow("negative zero") << "-0.00" << true << "0.00";
    QTest::newRow("limit with zero fraction")
        << "9999999999999998.000" << true << "9999999999999998.0";
    QTest::newRow("rounds up to the limit")
        << "9999999999999997.96" << true << "9999999999999998.0";
    QTest::newRow("19 fraction digits round")
        << "0.1234567890123456789" << true << "0.123456789012345679";
    QTest::newRow("negative half of the last digit")
        << "-0.0000000000000000005" << true << "-0.000000000000000001";
    QTest::newRow("below half of the last digit")
        << "0.00000000000000000049999" << true << "0.000000000000000000";
    QTest::newRow("scale shrinks and rounds")
        << "-12345678.123456789952" << true << "-12345678.1234567900";

    // No number, or one beyond the limits: zero and ok false.
    for (const char* text : {"9999999999999999", "-9999999999999999", "9999999999999998.01",
                             "123456789012345678901234567890", "", "   ", "-", ".", "1e5", "1.2.3",
                             "1,2.3", "+-1", "1-", "- 1", "1 000", "1.5abc", "nan"})
        QTest::addRow("bad '%s'", text) << QString(text) << false << "0";
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
    // The constructor reads text the same way, and also gives zero for no number;
    // without an ok flag nothing breaks either.
    QCOMPARE(decimal(text).raw(), d.raw());
    QCOMPARE(decimal::fromAnyString(text).raw(), d.raw());
}

void TestDecimal::compare_data()
{
    QTest::addColumn<qlonglong>("am");
    QTest::addColumn<int>("as");
    QTest::addColumn<qlonglong>("bm");
    QTest::addColumn<int>("bs");
    QTest::addColumn<int>("expected");

    QTest::newRow("equal across scales") << 15LL << 1 << 150LL << 2 << 0;
    QTest::newRow("greater across scales") << 15LL << 1 << 149LL << 2 << 1;
    QTest::newRow("negatives across scales") << -15LL << 1 << -149LL << 2 << -1;
    QTest::newRow("sign decides") << -1LL << 18 << 1LL << 0 << -1;
    // Cross-multiplied, these overflow 64 bits.
    QTest::newRow("large integer, 18 steps")
        << decimal::MaxMantissa << 0 << decimal::MaxMantissa << 18 << 1;
    QTest::newRow("large negative, 18 steps") << -decimal::MaxMantissa << 0 << -1LL << 18 << -1;
    QTest::newRow("fine versus large, 18 steps") << decimal::MaxMantissa << 18 << 288LL << 0 << -1;
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
}

void TestDecimal::minimumMaximumAndZero()
{
    const QList<decimal> others = {decimal::zero,
                                   decimal(-decimal::MaxMantissa, 0),
                                   decimal(decimal::MaxMantissa, 1),
                                   decimal(-decimal::MaxMantissa, 18),
                                   decimal::fromDouble(-std::numeric_limits<double>::infinity(), 0),
                                   parsed("-1") * decimal::maximum};
    for (const decimal& d : others) {
        QVERIFY2(decimal::minimum < d, qPrintable(d.toString()));
        QVERIFY2(decimal::maximum > d, qPrintable(d.toString()));
    }
    // Negating the lowest value must not overflow: it saturates to the highest.
    QCOMPARE((-decimal::minimum).raw(), decimal::maximum.raw());

    // Zero at every scale equals zero and is never negative, however it was made.
    for (short s = 0; s <= decimal::MaxScale; ++s) {
        const decimal z(0, s);
        QVERIFY(z == decimal::zero);
        QVERIFY(!decimal::fromDouble(-0.0, s).negative());
        QVERIFY(!(-z).negative());
    }
    QVERIFY((parsed("1.25") - parsed("1.250")).isZero());
}

void TestDecimal::arithmetic_data()
{
    // a, b, a + b, a - b, a * b
    QTest::addColumn<QStringList>("values");

    QTest::newRow("scales align") << QStringList{"1.5", "2.25", "3.75", "-0.75", "3.38"};
    QTest::newRow("product rounds down") << QStringList{"1.05", "1.05", "2.10", "0.00", "1.10"};
    QTest::newRow("negative product rounds half away")
        << QStringList{"-0.5", "0.5", "0.0", "-1.0", "-0.3"};
    QTest::newRow("product keeps larger scale")
        << QStringList{"2", "0.125", "2.125", "1.875", "0.250"};
    QTest::newRow("fine scales") << QStringList{"0.1", "0.000000000000000001",
                                                "0.100000000000000001", "0.099999999999999999",
                                                "0.000000000000000000"};
    QTest::newRow("too fine for the sum")
        << QStringList{"0.000000000000000001", "1", "1.00000000000000000", "-1.00000000000000000",
                       "0.000000000000000001"};
    QTest::newRow("near limits") << QStringList{"9999999999999998", "-9999999999999998", "0",
                                                "19999999999999996", "-288230376151711743"};
}

void TestDecimal::arithmetic()
{
    QFETCH(QStringList, values);
    const decimal x = parsed(values[0]);
    const decimal y = parsed(values[1]);
    QCOMPARE((x + y).toString(), values[2]);
    QCOMPARE((x - y).toString(), values[3]);
    QCOMPARE((x * y).toString(), values[4]);
    QCOMPARE((y * x).toString(), values[4]);
    QCOMPARE((-(y - x)).toString(), values[3]);
}

void TestDecimal::saturation()
{
    const decimal top(decimal::MaxMantissa, 0);
    const decimal bottom(-decimal::MaxMantissa, 0);
    const decimal one(1, 0);

    QCOMPARE((top + one).raw(), top.raw());
    QCOMPARE((bottom - one).raw(), bottom.raw());
    QCOMPARE((top * bottom).raw(), bottom.raw());
    QCOMPARE((top * std::numeric_limits<long long>::min()).raw(), bottom.raw());
    QCOMPARE((parsed("-1.5") * -4LL).toString(), QStringLiteral("6.0"));

    // A large integer does not fit a fine scale: the result keeps the value at a
    // coarser one.
    QCOMPARE((top + decimal(1, 18)).raw(), top.raw());
    QCOMPARE((parsed("1000000") * parsed("0.000000000001")).toString(),
             QStringLiteral("0.000001000000"));
    QCOMPARE((parsed("100000000000") * parsed("1.000000001")).toString(),
             QStringLiteral("100000000100.000000"));
    decimal grown(100000000000000000LL, 0);
    grown.setScale(18);
    QCOMPARE(grown.toString(), QStringLiteral("100000000000000000"));
}

// A text rescaled, or a double made a decimal, rounds half away from zero.
void TestDecimal::rounding_data()
{
    QTest::addColumn<QVariant>("input"); // text: setScale, double: fromDouble
    QTest::addColumn<int>("scale");
    QTest::addColumn<QString>("expected");

    QTest::newRow("below half") << QVariant("1.24") << 1 << "1.2";
    QTest::newRow("negative half") << QVariant("-1.25") << 1 << "-1.3";
    QTest::newRow("rounds away to zero") << QVariant("-0.0049") << 2 << "0.00";
    QTest::newRow("just below half, many digits") << QVariant("2.4999999999999999") << 0 << "2";
    QTest::newRow("beyond 18") << QVariant("0.2") << 30 << "0.200000000000000000";
    QTest::newRow("finest that fits") << QVariant("-300") << 18 << "-300.00000000000000";
    QTest::newRow("negative") << QVariant("7.5") << -3 << "8";

    // The halves of short decimal texts are covered wholesale by fromDoubleHalves.
    const double inf = std::numeric_limits<double>::infinity();
    QTest::newRow("double close below half") << QVariant(0.2849999999999) << 2 << "0.28";
    QTest::newRow("double 1e17 stays whole") << QVariant(1e17) << 0 << "100000000000000000";
    QTest::newRow("double, too fine a scale") << QVariant(1e15) << 3 << "1000000000000000.00";
    QTest::newRow("double tiny") << QVariant(1e-20) << 5 << "0.00000";
    QTest::newRow("double, negative scale") << QVariant(2.5) << -1 << "3";
    QTest::newRow("double, scale above 18") << QVariant(0.25) << 25 << "0.250000000000000000";
    QTest::newRow("double, finest scale that fits") << QVariant(0.5) << 18 << "0.50000000000000000";
    QTest::newRow("double NaN") << QVariant(std::numeric_limits<double>::quiet_NaN()) << 2
                                << "0.00";
    QTest::newRow("double +inf") << QVariant(inf) << 2 << "288230376151711743";
    QTest::newRow("double out of range") << QVariant(1e300) << 4 << "288230376151711743";
}

void TestDecimal::rounding()
{
    QFETCH(QVariant, input);
    QFETCH(int, scale);
    QFETCH(QString, expected);

    decimal d;
    if (input.userType() == QMetaType::Double) {
        d = decimal::fromDouble(input.toDouble(), short(scale));
    } else {
        d = parsed(input.toString());
        d.setScale(short(scale));
    }
    QCOMPARE(d.toString(), expected);
    if (d.isZero())
        QVERIFY(!d.negative());
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

// Every double typed as a decimal text with one digit more than the scale
// rounds as that text does: "x5" away from zero, "x49" down, "x51" up, whatever
// its binary form.
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

void TestDecimal::fromVariant_data()
{
    QTest::addColumn<QVariant>("variant");
    QTest::addColumn<bool>("ok");
    QTest::addColumn<QString>("expected");

    QTest::newRow("decimal") << decimal(-125, 2).toVariant() << true << "-1.25";
    QTest::newRow("int") << QVariant(5) << true << "5";
    QTest::newRow("long long too large") << QVariant(qlonglong(9999999999999999LL)) << false << "0";
    QTest::newRow("unsigned") << QVariant(7u) << true << "7";
    QTest::newRow("unsigned too large") << QVariant(qulonglong(1) << 63) << false << "0";
    QTest::newRow("double") << QVariant(0.1) << true << "0.1";
    QTest::newRow("double limit") << QVariant(9999999999999998.0) << true << "9999999999999998";
    QTest::newRow("double too large") << QVariant(1e17) << false << "0";
    QTest::newRow("double NaN") << QVariant(std::nan("")) << false << "0";
    QTest::newRow("text comma") << QVariant(QStringLiteral("1,5")) << true << "1.5";
    QTest::newRow("bytes") << QVariant(QByteArray("2.50")) << true << "2.50";
    QTest::newRow("invalid") << QVariant() << false << "0";
    QTest::newRow("null int") << QVariant(QVariant::Int) << false << "0";
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

// What views need to show and match a cell without knowing the type.
void TestDecimal::variantConversions()
{
    const QVariant v = decimal(-123450, 2).toVariant();
    QCOMPARE(v.toString(), QStringLiteral("-1234.50"));
    QVERIFY(v.toDouble() == -1234.5);
    QCOMPARE(QVariant(QStringLiteral("2,5")).value<decimal>().toString(), QStringLiteral("2.5"));
    // Equal decimals at different scales are equal variants too.
    QVERIFY(v == decimal(-1234500, 3).toVariant());
    QVERIFY(v != decimal(-1234501, 3).toVariant());
    const QVariant t = (datetime(QDate(2024, 1, 15)) + 68400000).toVariant();
    QCOMPARE(t.toDateTime(), QDateTime(QDate(2024, 1, 15), QTime(19, 0)));
    QCOMPARE(t.toString(), QStringLiteral("15.01.2024 19:00:00"));
    QVERIFY(t != datetime(QDate(2024, 1, 15)).toVariant());
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

    const auto tz = timeZone(zone);
    // The zone really is in force, or the rest of this proves nothing.
    QCOMPARE(QDateTime(QDate(2023, 1, 15), QTime(12, 0), Qt::LocalTime).offsetFromUtc(),
             januaryOffsetHours * 3600);

    const datetime midnight(date);
    QCOMPARE(midnight.msecs(), utcMsecs(date));
    QCOMPARE(midnight.getDate(), date);
    QCOMPARE(midnight.getDateTime(), QDateTime(date, QTime(0, 0), Qt::LocalTime));
    QCOMPARE(midnight.toString(), date.toString(QStringLiteral("dd.MM.yyyy")));
    QCOMPARE((midnight + 1).toString(), date.toString(QStringLiteral("dd.MM.yyyy")) + " 00:00:00");

    const datetime evening = midnight + 68400000;
    QCOMPARE(evening.getDate(), date);
    QCOMPARE(evening.getDateTime().time(), QTime(19, 0));
    QCOMPARE(evening.toString(), date.toString(QStringLiteral("dd.MM.yyyy")) + " 19:00:00");
    QCOMPARE(datetime(evening.toString()).msecs(), evening.msecs());

    // A local QDateTime of that wall-clock time gives the same value, and so does
    // one in UTC that shows those fields.
    QCOMPARE(datetime(QDateTime(date, QTime(19, 0), Qt::LocalTime)).msecs(), evening.msecs());
    QCOMPARE(datetime(QDateTime(date, QTime(19, 0), Qt::UTC)).msecs(), evening.msecs());

    // The last millisecond of the day is still that day, and its milliseconds are
    // not shown.
    const datetime last = midnight + (datetime::MsecsPerDay - 1);
    QCOMPARE(last.getDate(), date);
    QCOMPARE(last.toString(), date.toString(QStringLiteral("dd.MM.yyyy")) + " 23:59:59");
    QCOMPARE((last + 2).getDate(), date.addDays(1));

    // 02:30 of a spring-forward night does not exist on the local clock, and 01:30 of an
    // autumn night comes twice; the fields survive anyway.
    for (int hour : {1, 2}) {
        const datetime night = midnight + (hour * 60 + 30) * 60000LL;
        QCOMPARE(night.getDateTime().time(), QTime(hour, 30));
        QCOMPARE(datetime(night.getDateTime()).msecs(), night.msecs());
    }
}

void TestDecimal::datetimeNow()
{
    // Far from UTC, so that reading the UTC clock instead of the local one shows.
    const auto tz = timeZone("Asia/Tokyo");
    const datetime before(QDateTime::currentDateTime());
    const datetime now = datetime::now();
    const datetime after(QDateTime::currentDateTime());
    QVERIFY(before <= now);
    QVERIFY(now <= after);
}

void TestDecimal::datetimeNull()
{
    const datetime null;
    QVERIFY(!null.getDate().isValid() && !null.getDateTime().isValid());
    QVERIFY(null.toString().isEmpty());
    const datetime first = datetime(QDate(1970, 1, 1)) + 1;
    QVERIFY(!first.isNull());
    QCOMPARE(null.compare(first), -1);
    QCOMPARE(first.compare(null), 1);
    QCOMPARE(null.compare(datetime()), 0);
    // Dates no QDateTime can carry give null rather than garbage.
    QVERIFY(datetime(QDate()).isNull());
    QVERIFY(datetime(QDateTime()).isNull());
    QVERIFY(datetime(QDate(200000000, 1, 1)).isNull());
}

void TestDecimal::datetimeParse_data()
{
    QTest::addColumn<QVariant>("input");
    QTest::addColumn<qint64>("expected"); // 0: null

    const QDate day(2024, 1, 15);
    const auto row = [](const char* name, const QVariant& input, qint64 expected) {
        QTest::newRow(name) << input << expected;
    };
    row("date", "15.01.2024", utcMsecs(day));
    row("milliseconds", "15.01.2024 19:00:05.250", utcMsecs(day, QTime(19, 0, 5, 250)));
    row("one-digit hour, spaces around", "  15.01.2024   9:30 ", utcMsecs(day, QTime(9, 30)));
    row("iso date", "2024-01-15", utcMsecs(day));
    row("iso T", "2024-01-15T19:00", utcMsecs(day, QTime(19, 0)));
    row("iso fraction", "2024-01-15T19:00:05.5", utcMsecs(day, QTime(19, 0, 5, 500)));
    row("before 1970", "31.12.1969 23:00", utcMsecs(QDate(1969, 12, 31), QTime(23, 0)));
    for (const char* text : {"", "29.02.2023", "2024-13-01", "15.01.2024 25:00",
                             "2024-01-15 19:00:60", "15.01.24", "15/01/2024", "15.01.2024 19",
                             "2024-01-15T", "2024-01-15T19:00Z", "15.01.2024 19:00:05.1234"})
        QTest::addRow("bad '%s'", text) << QVariant(text) << qint64(0);
    row("arabic digits", QString::fromUtf8("\u0661\u0665.01.2024"), 0);

    // Variants of other types.
    row("datetime", (datetime(day) + 68400000).toVariant(), utcMsecs(day, QTime(19, 0)));
    row("QDate", day, utcMsecs(day));
    row("local QDateTime", QDateTime(day, QTime(19, 0)), utcMsecs(day, QTime(19, 0)));
    row("invalid", QVariant(), 0);
    row("int", 5, 0);
    row("decimal", decimal(5, 0).toVariant(), 0);
}

void TestDecimal::datetimeParse()
{
    QFETCH(QVariant, input);
    QFETCH(qint64, expected);

    QCOMPARE(datetime::fromVariant(input).msecs(), expected);
    if (input.userType() == QMetaType::QString)
        QCOMPARE(datetime(input.toString()).msecs(), expected);
}

void TestDecimal::streams()
{
    // Plain and inside variants, as settings files and queued signals carry them.
    const QList<decimal> values = {decimal(-50, 2), decimal(1, 18), decimal::minimum,
                                   decimal::maximum};
    const datetime t = datetime(QDate(2024, 1, 15)) + 68400000;
    QVariantList variants;
    for (const decimal& d : values)
        variants << d.toVariant();
    variants << t.toVariant() << datetime().toVariant();
    QByteArray bytes;
    {
        QDataStream out(&bytes, QIODevice::WriteOnly);
        out << variants;
    }
    QDataStream in(bytes);
    QVariantList read;
    in >> read;
    QCOMPARE(in.status(), QDataStream::Ok);
    QCOMPARE(read.size(), variants.size());
    for (int i = 0; i < values.size(); ++i) {
        QCOMPARE(read.at(i).userType(), decimal::metatypeId());
        QCOMPARE(read.at(i).value<decimal>().raw(), values.at(i).raw());
    }
    QCOMPARE(read.at(values.size()).userType(), datetime::metatypeId());
    QCOMPARE(read.at(values.size()).value<datetime>().msecs(), t.msecs());
    QVERIFY(read.last().value<datetime>().isNull());

    // A short stream and one with impossible scale bits give zero, never garbage.
    decimal bad(99, 1);
    QDataStream shortStream(QByteArray("\x00\x01\x02", 3));
    shortStream >> bad;
    QVERIFY(shortStream.status() != QDataStream::Ok);
    QCOMPARE(bad.raw(), decimal::zero.raw());

    QByteArray badScale;
    QDataStream(&badScale, QIODevice::WriteOnly) << qint64((5 << 5) | 25);
    bad = decimal(99, 1);
    QDataStream badStream(badScale);
    badStream >> bad;
    QCOMPARE(badStream.status(), QDataStream::ReadCorruptData);
    QCOMPARE(bad.raw(), decimal::zero.raw());
    // Such a raw value does not read out of bounds either.
    QVERIFY(std::isfinite(decimal::fromRaw(31).toDouble()));
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
