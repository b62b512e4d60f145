#include "contact/objectdeleter.h"
#include "contact/variantcompare.h"

#include "database/datetime.h"
#include "database/decimal.h"
#include "database/record.h"
#include "database/table.h"

#include <QPointer>
#include <QRandomGenerator>
#include <QWidget>
#include <QtTest>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
#include <vector>

namespace {

int sign(int value)
{
    return value < 0 ? -1 : (value > 0 ? 1 : 0);
}

QString describe(const QVariant& v)
{
    QString text;
    QDebug(&text).nospace() << v;
    if (v.userType() == decimal::metatypeId())
        text += QLatin1Char(' ') + v.value<decimal>().toString();
    else if (v.userType() == datetime::metatypeId())
        text += QLatin1Char(' ') + QString::number(v.value<datetime>().msecs());
    return text;
}

// ---- random variants: small pools, so that equal values of different types are frequent --

QVariant randomNumber(QRandomGenerator& rng)
{
    const qlonglong minLong = std::numeric_limits<qlonglong>::min();
    const qlonglong maxLong = std::numeric_limits<qlonglong>::max();
    const qlonglong longs[] = {minLong, minLong + 1, -(1LL << 53) - 1, -3,     -1, 0,
                               1,       3,           (1LL << 53) + 1,  maxLong};
    static const qulonglong ulongs[] = {
        0, 1, 3, (1ULL << 53) + 1, 1ULL << 63, std::numeric_limits<qulonglong>::max()};
    const double inf = std::numeric_limits<double>::infinity(), nan = std::nan("");
    const double two53 = std::ldexp(1.0, 53);
    const double doubles[] = {nan,   -inf,   inf,    -0.0,   0.0,       0.1,          0.5,
                              1.5,   3.0,    -2.5,   -3.0,   two53,     1024 * two53, 2048 * two53,
                              1e300, -1e300, 1e-300, 5e-324, 1.0 / 3.0, 2.675};
    switch (rng.bounded(8)) {
    case 0:
        return QVariant(rng.bounded(2) == 1);
    case 1:
        return QVariant(int(rng.bounded(-4, 5)));
    case 2:
        return QVariant(uint(rng.bounded(0, 5)));
    case 3:
        return QVariant(longs[rng.bounded(int(std::size(longs)))]);
    case 4:
        return QVariant(ulongs[rng.bounded(int(std::size(ulongs)))]);
    case 5:
        if (rng.bounded(2))
            return QVariant(float(doubles[rng.bounded(int(std::size(doubles)))]));
        return QVariant(doubles[rng.bounded(int(std::size(doubles)))]);
    case 6:
        // Quarters and other short fractions: equal to some of the doubles and integers.
        return QVariant(double(rng.bounded(-16, 17)) / 4.0);
    default: {
        switch (rng.bounded(6)) {
        case 0:
            return decimal::minimum.toVariant();
        case 1:
            return decimal::maximum.toVariant();
        case 2: // 0.1, 2.675, 1/3 to 18 places: the neighbours of the doubles above
            return decimal::fromAnyString(
                       QStringLiteral("0.1;2.675;0.333333333333333333;9007199254740993")
                           .split(QLatin1Char(';'))
                           .at(rng.bounded(4)))
                .toVariant();
        default: {
            const int scale = rng.bounded(0, 4);
            int mantissa = rng.bounded(-400, 401);
            return decimal(mantissa, short(scale)).toVariant();
        }
        }
    }
    }
}

// records: a few rows to mix in, a null one among them.
QVariant randomValue(QRandomGenerator& rng, const QVector<QVariant>& records)
{
    static const QStringList texts = {QString(""), "a",  "A",  "b", "B", "ab",
                                      "aB",        "Ab", "ba", "é", "É"};
    const QDate day(2024, 3, 1);
    switch (rng.bounded(10)) {
    case 0:
        switch (rng.bounded(4)) {
        case 0:
            return QVariant();
        case 1:
            return QVariant(QString());
        case 2:
            return QVariant(QDate());
        default:
            return datetime().toVariant();
        }
    case 1:
    case 2:
    case 3:
        return randomNumber(rng);
    case 4:
        return QVariant(texts.at(rng.bounded(texts.size())));
    case 5:
        return QVariant(QChar(QLatin1Char("aAbB"[rng.bounded(4)])));
    case 6: {
        const QDate d = day.addDays(rng.bounded(-2, 3));
        switch (rng.bounded(3)) {
        case 0:
            return QVariant(d);
        case 1:
            return QVariant(QDateTime(d, QTime(rng.bounded(2) ? 19 : 0, 0)));
        default:
            return (datetime(d) + (rng.bounded(2) ? 68400000 : 0)).toVariant();
        }
    }
    case 7:
        return QVariant(QByteArray(1, "aAb"[rng.bounded(3)]));
    case 8:
        return QVariant(QTime(rng.bounded(24), 0));
    default:
        switch (rng.bounded(4)) {
        case 0:
            return QVariant(QSize(rng.bounded(3), 1));
        case 3:
            return records.at(rng.bounded(records.size()));
        case 1:
            return QVariant(QPoint(rng.bounded(3), 1));
        default:
            return QVariant(QStringList{QString::number(rng.bounded(3))});
        }
    }
}

// A test object that logs its destruction by name.
class Logged : public QObject
{
public:
    Logged(QObject* parent, QStringList* log, const QString& name)
        : QObject(parent), m_log(log), m_name(name)
    {
    }
    ~Logged() override { *m_log << m_name; }

private:
    QStringList* m_log;
    QString m_name;
};

} // namespace

class tst_Helpers : public QObject
{
    Q_OBJECT

private slots:
    void deleterGoesWithLastParent_data();
    void deleterGoesWithLastParent();
    void deleterParentBookkeeping();
    void deleterDeletedFirst();

    void compareKnownPairs_data();
    void compareKnownPairs();
    void compareIsTotalPreorder_data();
    void compareIsTotalPreorder();
    void compareRecords();

private:
    QVector<QVariant> someRecords() const;

    Table m_table{QStringLiteral("rows")};
};

QVector<QVariant> tst_Helpers::someRecords() const
{
    QVector<QVariant> records{QVariant::fromValue(Record())};
    for (int i = 0; i < 3; ++i)
        records << QVariant::fromValue(Record(&m_table));
    return records;
}

void tst_Helpers::deleterGoesWithLastParent_data()
{
    QTest::addColumn<QVector<int>>("order");
    QTest::addColumn<bool>("widgets");
    for (int n = 1; n <= 3; ++n) {
        QVector<int> order;
        for (int i = 0; i < n; ++i)
            order << i;
        do {
            for (const bool widgets : {false, true}) {
                QString name = widgets ? QStringLiteral("widgets") : QStringLiteral("objects");
                for (const int i : order)
                    name += QLatin1Char(' ') + QString::number(i);
                QTest::newRow(qPrintable(name)) << order << widgets;
            }
        } while (std::next_permutation(order.begin(), order.end()));
    }
}

void tst_Helpers::deleterGoesWithLastParent()
{
    QFETCH(QVector<int>, order);
    QFETCH(bool, widgets);
    const int n = order.size();

    QStringList log;
    std::vector<QObject*> parents;
    for (int i = 0; i < n; ++i) {
        parents.push_back(widgets ? new QWidget : new QObject);
        new Logged(parents.back(), &log, QStringLiteral("own %1").arg(i));
    }
    auto* deleter = new ObjectDeleter;
    const QPointer<ObjectDeleter> alive(deleter);
    new Logged(deleter, &log, QStringLiteral("shared"));
    new Logged(deleter, &log, QStringLiteral("shared"));
    for (QObject* parent : parents)
        deleter->addParent(parent);
    QCOMPARE(deleter->parentCount(), n);

    QStringList expected;
    for (int k = 0; k + 1 < n; ++k) {
        delete parents[size_t(order[k])];
        expected << QStringLiteral("own %1").arg(order[k]);
        QCOMPARE(deleter->parentCount(), n - k - 1);
        // Nothing is waiting for the event loop either.
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(alive);
        QCOMPARE(log, expected);
    }
    // Gone as the last parent's delete returned, not at some later turn of the event loop,
    // and the shared children before the last owner's own.
    delete parents[size_t(order.last())];
    QVERIFY(!alive);
    expected << QStringLiteral("shared") << QStringLiteral("shared")
             << QStringLiteral("own %1").arg(order.last());
    QCOMPARE(log, expected);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCOMPARE(log, expected);
}

// A parent counts once however often it is added; null, the deleter itself and what it owns
// are no parents, and an owned object going away is no parent leaving. A window that takes
// registered children along (a combo box inside it, say) lets the deleter go once.
void tst_Helpers::deleterParentBookkeeping()
{
    QStringList log;
    auto* first = new QObject;
    auto* window = new QWidget;
    auto* box = new QWidget(window);
    auto* helper = new QObject(window);
    auto* deleter = new ObjectDeleter;
    const QPointer<ObjectDeleter> alive(deleter);
    auto* grandChild = new QObject(new Logged(deleter, &log, QStringLiteral("shared")));
    deleter->addParent(first);
    deleter->addParent(first);
    deleter->addParent(box);
    deleter->addParent(window);
    deleter->addParent(first);
    deleter->addParent(helper);
    deleter->addParent(nullptr);
    QTest::ignoreMessage(QtWarningMsg, "ObjectDeleter: an object it owns cannot be its parent");
    deleter->addParent(deleter);
    QTest::ignoreMessage(QtWarningMsg, "ObjectDeleter: an object it owns cannot be its parent");
    deleter->addParent(grandChild);
    QCOMPARE(deleter->parentCount(), 4);

    delete grandChild;
    delete first;
    QVERIFY(alive);
    QVERIFY(log.isEmpty());
    delete window;
    QVERIFY(!alive);
    QCOMPARE(log, QStringList{QStringLiteral("shared")});
}

void tst_Helpers::deleterDeletedFirst()
{
    QStringList log;
    auto* first = new QObject;
    auto* second = new QWidget;
    auto* deleter = new ObjectDeleter;
    const QPointer<ObjectDeleter> alive(deleter);
    new Logged(deleter, &log, QStringLiteral("shared"));
    // Without parents it stays, also through the event loop.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(alive);
    deleter->addParent(first);
    deleter->addParent(second);

    delete deleter;
    QCOMPARE(log.size(), 1);
    // The parents no longer know it: no call reaches the freed deleter.
    delete first;
    delete second;
    QCOMPARE(log.size(), 1);
}

// ---- variant_compare ------------------------------------------------------------------------

void tst_Helpers::compareKnownPairs_data()
{
    QTest::addColumn<QVariant>("a");
    QTest::addColumn<QVariant>("b");
    QTest::addColumn<int>("sensitivity");
    QTest::addColumn<int>("expected");

    const int cs = Qt::CaseSensitive;
    const int ci = Qt::CaseInsensitive;
    const double inf = std::numeric_limits<double>::infinity();
    const QVariant nan(std::nan(""));
    auto dec = [](const char* text) {
        return decimal::fromAnyString(QLatin1String(text)).toVariant();
    };
    const QDate day(2024, 3, 1);
    const datetime dayStart(day);
    const qlonglong maxLong = std::numeric_limits<qlonglong>::max();
    const qulonglong maxULong = std::numeric_limits<qulonglong>::max();

    // Decimals by value, whatever the scale and the other type.
    QTest::newRow("decimal 1.50 = 1.5") << dec("1.50") << dec("1.5") << cs << 0;
    QTest::newRow("decimal 1.50 = double 1.5") << dec("1.50") << QVariant(1.5) << cs << 0;
    QTest::newRow("decimal 2.5 < int 3") << dec("2.5") << QVariant(3) << cs << -1;
    QTest::newRow("decimal 0.1 < double 0.1") << dec("0.1") << QVariant(0.1) << cs << -1;
    QTest::newRow("decimal 9007199254740993 > double 2^53")
        << dec("9007199254740993") << QVariant(std::ldexp(1.0, 53)) << cs << 1;
    QTest::newRow("decimal minimum lowest")
        << decimal::minimum.toVariant() << dec("-999999999") << cs << -1;
    QTest::newRow("decimal of an unused scale")
        << decimal::fromRaw((15LL << 5) | 25).toVariant() << dec("0.000000000000000015") << cs << 0;

    // Integers and doubles exactly.
    QTest::newRow("ulonglong max > longlong max")
        << QVariant(maxULong) << QVariant(maxLong) << cs << 1;
    QTest::newRow("longlong -1 < ulonglong 0") << QVariant(-1LL) << QVariant(0ULL) << cs << -1;
    QTest::newRow("2^53 + 1 > double 2^53")
        << QVariant((1LL << 53) + 1) << QVariant(std::ldexp(1.0, 53)) << cs << 1;
    QTest::newRow("longlong max < double 2^63")
        << QVariant(maxLong) << QVariant(std::ldexp(1.0, 63)) << cs << -1;
    QTest::newRow("longlong min = double -2^63") << QVariant(std::numeric_limits<qlonglong>::min())
                                                 << QVariant(-std::ldexp(1.0, 63)) << cs << 0;
    QTest::newRow("ulonglong max < double 2^64")
        << QVariant(maxULong) << QVariant(std::ldexp(1.0, 64)) << cs << -1;
    QTest::newRow("float 0.1 > double 0.1") << QVariant(0.1f) << QVariant(0.1) << cs << 1;
    QTest::newRow("-0.0 = int 0") << QVariant(-0.0) << QVariant(0) << cs << 0;
    QTest::newRow("true = int 1") << QVariant(true) << QVariant(1) << cs << 0;
    QTest::newRow("infinity above all integers") << QVariant(inf) << QVariant(maxULong) << cs << 1;
    QTest::newRow("NaN below -infinity") << nan << QVariant(-inf) << cs << -1;
    QTest::newRow("NaN = NaN") << nan << QVariant(std::nanf("")) << cs << 0;

    // Missing values first.
    QTest::newRow("invalid < int") << QVariant() << QVariant(0) << cs << -1;
    QTest::newRow("invalid < NaN") << QVariant() << nan << cs << -1;
    QTest::newRow("invalid = null string") << QVariant() << QVariant(QString()) << cs << 0;
    QTest::newRow("null string < empty string")
        << QVariant(QString()) << QVariant(QString("")) << cs << -1;
    QTest::newRow("null datetime = invalid") << datetime().toVariant() << QVariant() << cs << 0;

    // Texts.
    QTest::newRow("a > A sensitive") << QVariant("a") << QVariant("A") << cs << 1;
    QTest::newRow("a = A insensitive") << QVariant("a") << QVariant("A") << ci << 0;
    QTest::newRow("apple < Banana insensitive")
        << QVariant("apple") << QVariant("Banana") << ci << -1;
    QTest::newRow("cyrillic insensitive")
        << QVariant(QStringLiteral("Фьючерс")) << QVariant(QStringLiteral("фЬЮЧЕРС")) << ci << 0;
    QTest::newRow("QChar = one-letter string") << QVariant(QChar('b')) << QVariant("b") << cs << 0;

    // Points in time by the wall clock.
    QTest::newRow("datetime 19:00 after its date")
        << (dayStart + 68400000).toVariant() << QVariant(day) << cs << 1;
    QTest::newRow("datetime of a date = the date")
        << dayStart.toVariant() << QVariant(day) << cs << 0;
    QTest::newRow("QDateTime = datetime")
        << QVariant(QDateTime(day, QTime(19, 0))) << (dayStart + 68400000).toVariant() << cs << 0;

    // Kinds apart.
    QTest::newRow("number < text") << QVariant(99) << QVariant("1") << cs << -1;
    QTest::newRow("text < time") << QVariant("z") << QVariant(day) << cs << -1;
    QTest::newRow("time < other") << QVariant(day) << QVariant(QByteArray("a")) << cs << -1;
    QTest::newRow("bytes insensitive")
        << QVariant(QByteArray("a")) << QVariant(QByteArray("A")) << ci << 0;
    QTest::newRow("times of day") << QVariant(QTime(9, 0)) << QVariant(QTime(10, 0)) << cs << -1;
}

void tst_Helpers::compareKnownPairs()
{
    QFETCH(QVariant, a);
    QFETCH(QVariant, b);
    QFETCH(int, sensitivity);
    QFETCH(int, expected);
    const auto cs = Qt::CaseSensitivity(sensitivity);
    QCOMPARE(variant_compare(a, b, cs), expected);
    QCOMPARE(variant_compare(b, a, cs), -expected);
    QCOMPARE(variant_compare(a, a, cs), 0);
}

void tst_Helpers::compareIsTotalPreorder_data()
{
    QTest::addColumn<quint32>("seed");
    QTest::addColumn<int>("sensitivity");
    for (const quint32 seed : {1u, 2u, 3u, 20240301u}) {
        QTest::addRow("seed %u sensitive", seed) << seed << int(Qt::CaseSensitive);
        QTest::addRow("seed %u insensitive", seed) << seed << int(Qt::CaseInsensitive);
    }
}

// Sorts many random values, numbers the classes of equal ones along the sorted list, and
// checks every pair against those numbers. They agree for all pairs exactly when the
// comparison is a total preorder: reflexive, antisymmetric in sign (a < b exactly when
// b > a) and transitive (for equality as for order), since comparing class numbers is.
void tst_Helpers::compareIsTotalPreorder()
{
    QFETCH(quint32, seed);
    QFETCH(int, sensitivity);
    const auto cs = Qt::CaseSensitivity(sensitivity);
    QRandomGenerator rng(seed);
    const QVector<QVariant> records = someRecords();
    std::vector<QVariant> values;
    for (int i = 0; i < 400; ++i)
        values.push_back(randomValue(rng, records));

    // Insertion sort: it needs nothing of the comparison to stay in bounds.
    for (size_t i = 1; i < values.size(); ++i) {
        for (size_t j = i; j > 0 && variant_compare(values[j - 1], values[j], cs) > 0; --j)
            std::swap(values[j - 1], values[j]);
    }
    std::vector<int> rank(values.size(), 0);
    for (size_t i = 1; i < values.size(); ++i)
        rank[i] = rank[i - 1] + (variant_compare(values[i - 1], values[i], cs) < 0 ? 1 : 0);

    for (size_t i = 0; i < values.size(); ++i) {
        for (size_t j = 0; j < values.size(); ++j) {
            const int result = variant_compare(values[i], values[j], cs);
            if (result != sign(rank[i] - rank[j])) {
                QFAIL(qPrintable(QStringLiteral("%1 vs %2 gives %3, their classes %4 and %5")
                                     .arg(describe(values[i]), describe(values[j]))
                                     .arg(result)
                                     .arg(rank[i])
                                     .arg(rank[j])));
            }
        }
    }
    // The pools are small: many values must have met their equals of other types.
    QVERIFY(rank.back() < int(values.size()) / 2);
}

void tst_Helpers::compareRecords()
{
    const Record first(&m_table);
    const Record second(&m_table);
    const QVariant a = QVariant::fromValue(first);
    const QVariant b = QVariant::fromValue(second);
    // By their rows, as a sorted list of records has them.
    const int expected = first < second ? -1 : 1;
    QCOMPARE(variant_compare(a, b), expected);
    QCOMPARE(variant_compare(b, a), -expected);
    QCOMPARE(variant_compare(a, QVariant::fromValue(first)), 0);
    // A null record is a missing value.
    QCOMPARE(variant_compare(QVariant::fromValue(Record()), QVariant()), 0);
    QCOMPARE(variant_compare(QVariant::fromValue(Record()), a), -1);
    QCOMPARE(variant_compare(a, QVariant(1)), 1);
}

QTEST_MAIN(tst_Helpers)
#include "tst_helpers.moc"
