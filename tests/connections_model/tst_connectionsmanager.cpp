#include "connections_model/connectionsmanager.h"

#include <QSignalSpy>
#include <QtTest>

class TestConnectionsManager : public QObject
{
    Q_OBJECT
private slots:
    void instanceIsOneObject();
    void addingNamesTransports();
    void unknownTransportReadsAsDisconnected_data();
    void unknownTransportReadsAsDisconnected();
    void changesOfUnknownTransportsAreIgnored();
    void serverTimeAnnouncedOnlyOnChange();
    void statusAnnouncedOnlyOnChange();
    void transportsShowCurrentState();
    void serverTimeTravelsQueued();
};

void TestConnectionsManager::instanceIsOneObject()
{
    ConnectionsManager* first = ConnectionsManager::instance();
    QVERIFY(first);
    QCOMPARE(ConnectionsManager::instance(), first);
}

void TestConnectionsManager::addingNamesTransports()
{
    ConnectionsManager m;
    QSignalSpy added(&m, &ConnectionsManager::transportAdded);
    QCOMPARE(m.addTransport(QStringLiteral("KESTREL")), 0);
    QCOMPARE(m.addTransport(QStringLiteral("QUOTES")), 1);
    // A name already taken keeps its number, and nothing is added.
    QCOMPARE(m.addTransport(QStringLiteral("KESTREL")), 0);
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("needs a name"));
    QCOMPARE(m.addTransport(QString()), -1);

    QCOMPARE(m.count(), 2);
    QCOMPARE(added.count(), 2);
    QCOMPARE(added.at(1).at(0).toInt(), 1);
    QCOMPARE(m.index(QStringLiteral("QUOTES")), 1);
    QCOMPARE(m.transportName(1), QStringLiteral("QUOTES"));
    // Names are case-sensitive.
    QCOMPARE(m.index(QStringLiteral("kestrel")), -1);
    // A new transport is disconnected and knows no time.
    QCOMPARE(m.transportStatus(0), ITransport::Disconnected);
    QCOMPARE(m.transportTime(0), datetime());
}

void TestConnectionsManager::unknownTransportReadsAsDisconnected_data()
{
    QTest::addColumn<int>("index");
    QTest::newRow("negative") << -1;
    QTest::newRow("very negative") << std::numeric_limits<int>::min();
    QTest::newRow("one past the end") << 1;
    QTest::newRow("far past the end") << std::numeric_limits<int>::max();
}

void TestConnectionsManager::unknownTransportReadsAsDisconnected()
{
    QFETCH(int, index);
    ConnectionsManager m;
    const int known = m.addTransport(QStringLiteral("KESTREL"));
    m.setTransportStatus(known, ITransport::Connected);
    m.setTransportTime(known, datetime(QDate(2030, 1, 2)));

    QCOMPARE(m.transportName(index), QString());
    QVERIFY(m.transportTime(index).isNull());
    QCOMPARE(int(m.transportStatus(index)), 0);
    QVERIFY(!m.isConnected(index));
    QCOMPARE(m.index(QStringLiteral("NOSUCH")), -1);
    QCOMPARE(m.index(QString()), -1);
}

void TestConnectionsManager::changesOfUnknownTransportsAreIgnored()
{
    ConnectionsManager m;
    m.addTransport(QStringLiteral("KESTREL"));
    QSignalSpy times(&m, &ConnectionsManager::serverTimeChanged);
    QSignalSpy statuses(&m, &ConnectionsManager::transportStatusChanged);

    m.setTransportTime(-1, datetime(QDate(2030, 1, 2)));
    m.setTransportTime(1, datetime(QDate(2030, 1, 2)));
    m.setTransportStatus(5, ITransport::Connected);
    // A number outside the statuses leaves a known transport as it was.
    m.setTransportStatus(0, static_cast<ITransport::Status>(7));

    QCOMPARE(times.count(), 0);
    QCOMPARE(statuses.count(), 0);
    QCOMPARE(m.transportStatus(0), ITransport::Disconnected);
    QCOMPARE(m.transportTime(0), datetime());
}

void TestConnectionsManager::serverTimeAnnouncedOnlyOnChange()
{
    ConnectionsManager m;
    m.addTransport(QStringLiteral("QUOTES"));
    const int kestrel = m.addTransport(QStringLiteral("KESTREL"));
    QSignalSpy spy(&m, &ConnectionsManager::serverTimeChanged);
    const datetime first(QDate(2030, 3, 4));
    const datetime second = first + 1;

    m.setTransportTime(kestrel, first);
    m.setTransportTime(kestrel, first);
    QCOMPARE(spy.count(), 1);
    QCOMPARE(spy.at(0).at(0).toInt(), kestrel);
    QCOMPARE(spy.at(0).at(1).value<datetime>(), first);
    QCOMPARE(m.transportTime(kestrel), first);

    // A millisecond is a change.
    m.setTransportTime(kestrel, second);
    QCOMPARE(spy.count(), 2);
    QCOMPARE(spy.at(1).at(1).value<datetime>(), second);

    // Forgetting the time is a change too, announced with a null time.
    m.setTransportTime(kestrel, datetime());
    m.setTransportTime(kestrel, datetime());
    QCOMPARE(spy.count(), 3);
    QVERIFY(spy.at(2).at(1).value<datetime>().isNull());
    QVERIFY(m.transportTime(kestrel).isNull());
    // The other transport was never touched.
    QVERIFY(m.transportTime(0).isNull());
}

void TestConnectionsManager::statusAnnouncedOnlyOnChange()
{
    ConnectionsManager m;
    const int t = m.addTransport(QStringLiteral("KESTREL"));
    QSignalSpy spy(&m, &ConnectionsManager::transportStatusChanged);

    m.setTransportStatus(t, ITransport::Connecting);
    m.setTransportStatus(t, ITransport::Connected);
    m.setTransportStatus(t, ITransport::Connected);
    QCOMPARE(spy.count(), 2);
    QCOMPARE(spy.at(1).at(1).toInt(), 3);
    QCOMPARE(int(m.transportStatus(t)), 3);
    QVERIFY(m.isConnected(t));

    m.setTransportStatus(t, ITransport::Disconnected);
    QCOMPARE(spy.count(), 3);
    QVERIFY(!m.isConnected(t));
}

void TestConnectionsManager::transportsShowCurrentState()
{
    ConnectionsManager m;
    m.addTransport(QStringLiteral("QUOTES"));
    const int t = m.addTransport(QStringLiteral("KESTREL"));
    const QList<ITransport*> list = m.transports();
    QCOMPARE(list.size(), 2);
    QCOMPARE(list.at(0)->name(), QStringLiteral("QUOTES"));

    // The list holds the transports themselves, not copies of their state.
    m.setTransportStatus(t, ITransport::Connected);
    m.setTransportTime(t, datetime(QDate(2030, 5, 6)));
    QCOMPARE(list.at(t)->name(), QStringLiteral("KESTREL"));
    QCOMPARE(list.at(t)->status(), ITransport::Connected);
    QVERIFY(list.at(t)->isConnected());
    QCOMPARE(list.at(t)->serverTime(), datetime(QDate(2030, 5, 6)));
    QVERIFY(!list.at(0)->isConnected());
}

void TestConnectionsManager::serverTimeTravelsQueued()
{
    // Receivers on other threads, and those connected by text, get the time in a queued
    // call: the type must be known to the meta-type system by its name.
    ConnectionsManager m;
    const int t = m.addTransport(QStringLiteral("KESTREL"));
    int receivedIndex = -1;
    datetime received;
    QObject receiver;
    connect(
        &m, &ConnectionsManager::serverTimeChanged, &receiver,
        [&](int index, datetime time) {
            receivedIndex = index;
            received = time;
        },
        Qt::QueuedConnection);
    QSignalSpy byText(&m, SIGNAL(serverTimeChanged(int, datetime)));
    QVERIFY(byText.isValid());

    m.setTransportTime(t, datetime(QDate(2031, 7, 8)));
    QCOMPARE(receivedIndex, -1);
    QCoreApplication::sendPostedEvents();
    QCOMPARE(receivedIndex, t);
    QCOMPARE(received, datetime(QDate(2031, 7, 8)));
    QCOMPARE(byText.count(), 1);
}

QTEST_GUILESS_MAIN(TestConnectionsManager)
#include "tst_connectionsmanager.moc"
