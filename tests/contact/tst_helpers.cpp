#include "contact/objectdeleter.h"
#include "contact/variantcompare.h"

#include "database/datetime.h"
#include "database/decimal.h"
#include "database/record.h"
#include "database/table.h"

#include <QPointer>
#include <QWidget>
#include <QtTest>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
#include <vector>

namespace {

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

// Values of every kind from small pools, so that equal values of different types are many.
QVector<QVariant> valuePool(const QVector<QVariant>& records)
{
    QVector<QVariant> pool = records; // a null one among them
    pool << QVariant() << QVariant(QString()) << QVariant(QDate()) << datetime().toVariant()
         << QVariant(false) << QVariant(true);
    for (int i = -4; i <= 4; ++i)
        pool << QVariant(i) << QVariant(uint(qAbs(i)));
    const qlonglong minLong = std::numeric_limits<qlonglong>::min();
    const qlonglong maxLong = std::numeric_limits<qlonglong>::max();
    for (const qlonglong v :
         {minLong, minLong + 1, -(1LL << 53) - 1, -3LL, 0LL, 3LL, (1LL << 53) + 1, maxLong})
        pool << QVariant(v);
    for (const qulonglong v :
         {0ULL, 3ULL, (1ULL << 53) + 1, 1ULL << 63, std::numeric_limits<qulonglong>::max()})
        pool << QVariant(v);
    const double inf = std::numeric_limits<double>::infinity();
    const double two53 = std::ldexp(1.0, 53);
    for (const double v : {std::nan(""), -inf, inf, -0.0, 0.1, 1.5, -2.5, two53, 1024 * two53,
                           2048 * two53, 1e300, -1e300, 1e-300, 5e-324, 1.0 / 3.0, 2.675})
        pool << QVariant(v) << QVariant(float(v));
    for (int q = -16; q <= 16; ++q) // quarters: equal to some integers and decimals
        pool << QVariant(double(q) / 4.0);
    pool << decimal::minimum.toVariant() << decimal::maximum.toVariant();
    // The neighbours of the doubles above.
    for (const char* text : {"0.1", "2.675", "0.333333333333333333", "9007199254740993"})
        pool << decimal::fromAnyString(QLatin1String(text)).toVariant();
    for (const int mantissa : {-400, -25, -3, 0, 1, 15, 25, 250, 400})
        for (short scale = 0; scale <= 3; ++scale)
            pool << decimal(mantissa, scale).toVariant();
    for (const char* text : {"", "a", "A", "b", "B", "ab", "aB", "Ab", "ba", "é", "É"})
        pool << QVariant(QString::fromUtf8(text));
    for (const char c : {'a', 'A', 'b', 'B'})
        pool << QVariant(QChar(QLatin1Char(c))) << QVariant(QByteArray(1, c));
    for (int d = -2; d <= 2; ++d) {
        const QDate date = QDate(2024, 3, 1).addDays(d);
        pool << QVariant(date) << QVariant(QDateTime(date, QTime(0, 0)))
             << QVariant(QDateTime(date, QTime(19, 0))) << datetime(date).toVariant()
             << (datetime(date) + 68400000).toVariant();
    }
    for (int i = 0; i < 3; ++i)
        pool << QVariant(QTime(9 * i, 0)) << QVariant(QSize(i, 1)) << QVariant(QPoint(i, 1))
             << QVariant(QStringList{QString::number(i)});
    return pool;
}

// A child that logs its destruction by name.
QObject* logged(QObject* parent, QStringList* log, const QString& name)
{
    auto* object = new QObject(parent);
    QObject::connect(object, &QObject::destroyed, [log, name] { *log << name; });
    return object;
}

} // namespace

class tst_Helpers : public QObject
{
    Q_OBJECT

private slots:
    void deleterGoesWithLastParent_data();
    void deleterGoesWithLastParent();
    void deleterParentBookkeeping();

    void compareKnownPairs_data();
    void compareKnownPairs();
    void compareIsTotalPreorder_data();
    void compareIsTotalPreorder();

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
    QTest::newRow("one object") << QVector<int>{0} << false;
    QTest::newRow("two widgets") << QVector<int>{1, 0} << true;
    QTest::newRow("three objects") << QVector<int>{1, 2, 0} << false;
    QTest::newRow("three widgets") << QVector<int>{2, 0, 1} << true;
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
        logged(parents.back(), &log, QStringLiteral("own %1").arg(i));
    }
    auto* deleter = new ObjectDeleter;
    const QPointer<ObjectDeleter> alive(deleter);
    logged(deleter, &log, QStringLiteral("shared"));
    logged(deleter, &log, QStringLiteral("shared"));
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
}

// A parent counts once however often it is added; null, the deleter itself and what it owns
// are no parents, and an owned object going away is no parent leaving. A window that takes
// registered children along (a combo box inside it, say) lets the deleter go once, and a
// deleter deleted before its parents is forgotten by them.
void tst_Helpers::deleterParentBookkeeping()
{
    QStringList log;
    auto* first = new QObject;
    auto* window = new QWidget;
    auto* box = new QWidget(window);
    auto* helper = new QObject(window);
    auto* deleter = new ObjectDeleter;
    const QPointer<ObjectDeleter> alive(deleter);
    auto* grandChild = new QObject(logged(deleter, &log, QStringLiteral("shared")));
    // Without parents it stays, also through the event loop.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(alive);
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

    // A deleter deleted first leaves its parents: no call reaches it later.
    auto* parent = new QWidget;
    deleter = new ObjectDeleter;
    logged(deleter, &log, QStringLiteral("second"));
    deleter->addParent(parent);
    delete deleter;
    delete parent;
    QCOMPARE(log, (QStringList{QStringLiteral("shared"), QStringLiteral("second")}));
}

// ---- variant_compare ------------------------------------------------------------------------

void tst_Helpers::compareKnownPairs_data()
{
    QTest::addColumn<QVariant>("a");
    QTest::addColumn<QVariant>("b");
    QTest::addColumn<int>("sensitivity");
    QTest::addColumn<int>("expected");

    const auto row = [](const char* name, const QVariant& a, const QVariant& b, int expected,
                        Qt::CaseSensitivity cs = Qt::CaseSensitive) {
        QTest::newRow(name) << a << b << int(cs) << expected;
    };
    const Qt::CaseSensitivity ci = Qt::CaseInsensitive;
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
    row("decimal 1.50 = 1.5", dec("1.50"), dec("1.5"), 0);
    row("decimal 1.50 = double 1.5", dec("1.50"), QVariant(1.5), 0);
    row("decimal 0.1 < double 0.1", dec("0.1"), QVariant(0.1), -1);
    row("decimal minimum lowest", decimal::minimum.toVariant(), dec("-999999999"), -1);
    row("decimal of an unused scale", decimal::fromRaw((15LL << 5) | 25).toVariant(),
        dec("0.000000000000000015"), 0);

    // Integers and doubles exactly.
    row("ulonglong max > longlong max", QVariant(maxULong), QVariant(maxLong), 1);
    row("2^53 + 1 > double 2^53", QVariant((1LL << 53) + 1), QVariant(std::ldexp(1.0, 53)), 1);
    row("longlong max < double 2^63", QVariant(maxLong), QVariant(std::ldexp(1.0, 63)), -1);
    row("longlong min = double -2^63", QVariant(std::numeric_limits<qlonglong>::min()),
        QVariant(-std::ldexp(1.0, 63)), 0);
    row("float 0.1 > double 0.1", QVariant(0.1f), QVariant(0.1), 1);
    row("-0.0 = int 0", QVariant(-0.0), QVariant(0), 0);
    row("true = int 1", QVariant(true), QVariant(1), 0);
    row("infinity above all integers", QVariant(inf), QVariant(maxULong), 1);
    row("NaN below -infinity", nan, QVariant(-inf), -1);
    row("NaN = NaN", nan, QVariant(std::nanf("")), 0);

    // Missing values first.
    row("invalid < NaN", QVariant(), nan, -1);
    row("invalid = null string", QVariant(), QVariant(QString()), 0);
    row("null string < empty string", QVariant(QString()), QVariant(QString("")), -1);
    row("null datetime = invalid", datetime().toVariant(), QVariant(), 0);

    // Texts.
    row("a > A sensitive", QVariant("a"), QVariant("A"), 1);
    row("a = A insensitive", QVariant("a"), QVariant("A"), 0, ci);
    row("apple < Banana insensitive", QVariant("apple"), QVariant("Banana"), -1, ci);
    row("QChar = one-letter string", QVariant(QChar('b')), QVariant("b"), 0);

    // Points in time by the wall clock.
    row("datetime 19:00 after its date", (dayStart + 68400000).toVariant(), QVariant(day), 1);
    row("datetime of a date = the date", dayStart.toVariant(), QVariant(day), 0);
    row("QDateTime = datetime", QVariant(QDateTime(day, QTime(19, 0))),
        (dayStart + 68400000).toVariant(), 0);

    // Kinds apart.
    row("number < text", QVariant(99), QVariant("1"), -1);
    row("text < time", QVariant("z"), QVariant(day), -1);
    row("time < other", QVariant(day), QVariant(QByteArray("a")), -1);
    row("bytes insensitive", QVariant(QByteArray("a")), QVariant(QByteArray("A")), 0, ci);
    row("times of day", QVariant(QTime(9, 0)), QVariant(QTime(10, 0)), -1);

    // Records by their rows, as a sorted list of them has them; a null one is missing.
    const Record first(&m_table);
    const Record second(&m_table);
    row("records by row", QVariant::fromValue(first), QVariant::fromValue(second),
        (first < second ? -1 : 1));
    row("null record = invalid", QVariant::fromValue(Record()), QVariant(), 0);
    row("record after number", QVariant::fromValue(first), QVariant(1), 1);
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
    QTest::addColumn<int>("sensitivity");
    QTest::newRow("sensitive") << int(Qt::CaseSensitive);
    QTest::newRow("insensitive") << int(Qt::CaseInsensitive);
}

// Sorts the pool of values, numbers the classes of equal ones along the sorted list, and
// checks every pair against those numbers. They agree for all pairs exactly when the
// comparison is a total preorder: reflexive, antisymmetric in sign (a < b exactly when
// b > a) and transitive (for equality as for order), since comparing class numbers is.
void tst_Helpers::compareIsTotalPreorder()
{
    QFETCH(int, sensitivity);
    const auto cs = Qt::CaseSensitivity(sensitivity);
    const QVector<QVariant> pool = valuePool(someRecords());
    std::vector<QVariant> values(pool.begin(), pool.end());

    // Insertion sort: it needs nothing of the comparison to stay in bounds.
    for (size_t i = 1; i < values.size(); ++i) {
        for (size_t j = i; j > 0 && variant_compare(values[j - 1], values[j], cs) > 0; --j)
            std::swap(values[j - 1], values[j]);
    }
    std::vector<int> rank(values.size(), 0);
    for (size_t i = 1; i < values.size(); ++i)
        rank[i] = rank[i - 1] + (variant_compare(values[i - 1], values[i], cs) < 0 ? 1 : 0);

    int crossTypeEquals = 0;
    for (size_t i = 0; i < values.size(); ++i) {
        for (size_t j = 0; j < values.size(); ++j) {
            const int result = variant_compare(values[i], values[j], cs);
            crossTypeEquals += result == 0 && values[i].userType() != values[j].userType();
            if (result != (rank[i] > rank[j]) - (rank[i] < rank[j])) {
                QFAIL(qPrintable(QStringLiteral("%1 vs %2 gives %3, their classes %4 and %5")
                                     .arg(describe(values[i]), describe(values[j]))
                                     .arg(result)
                                     .arg(rank[i])
                                     .arg(rank[j])));
            }
        }
    }
    // Many values meet their equals of other types.
    QVERIFY2(crossTypeEquals > int(values.size()), qPrintable(QString::number(crossTypeEquals)));
}

QTEST_MAIN(tst_Helpers)
#include "tst_helpers.moc"
