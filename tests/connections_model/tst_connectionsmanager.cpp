#include "connections_model/connectionsmanager.h"

#include <QSignalSpy>
#include <QtTest>

#include <limits>

class TestConnectionsManager : public QObject
{
    Q_OBJECT
private slots:
    void addingNamesTransports();
    void unknownTransports_data();
    void unknownTransports();
    void changesAnnouncedOnlyOnChange();
    void serverTimeTravelsQueued();
};

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

    QCOMPARE(added.count(), 2);
    QCOMPARE(m.index(QStringLiteral("QUOTES")), 1);
    QCOMPARE(m.index(QStringLiteral("kestrel")), -1);
    QCOMPARE(m.transportName(1), QStringLiteral("QUOTES"));
    QCOMPARE(m.transports().at(1)->name(), QStringLiteral("QUOTES"));
    QCOMPARE(m.transportStatus(0), ITransport::Disconnected);
    QVERIFY(m.transportTime(0).isNull());
}

void TestConnectionsManager::unknownTransports_data()
{
    QTest::addColumn<int>("index");
    QTest::newRow("negative") << -1;
    QTest::newRow("highest") << std::numeric_limits<int>::max();
}

void TestConnectionsManager::unknownTransports()
{
    QFETCH(int, index);
    ConnectionsManager m;
    const int known = m.addTransport(QStringLiteral("KESTREL"));
    m.setTransportStatus(known, ITransport::Connected);
    m.setTransportTime(known, datetime(QDate(2030, 1, 2)));
    QSignalSpy times(&m, &ConnectionsManager::serverTimeChanged);
    QSignalSpy statuses(&m, &ConnectionsManager::transportStatusChanged);

    QCOMPARE(m.transportName(index), QString());
    QVERIFY(m.transportTime(index).isNull());
    QCOMPARE(int(m.transportStatus(index)), 0);
    QCOMPARE(m.index(QStringLiteral("NOSUCH")), -1);

    m.setTransportTime(index, datetime(QDate(2030, 1, 3)));
    m.setTransportStatus(index, ITransport::Disconnected);
    // A number outside the statuses leaves a known transport as it was.
    m.setTransportStatus(known, static_cast<ITransport::Status>(7));
    QCOMPARE(times.count(), 0);
    QCOMPARE(statuses.count(), 0);
    QCOMPARE(m.transportStatus(known), ITransport::Connected);
    QCOMPARE(m.transportTime(known), datetime(QDate(2030, 1, 2)));
}

void TestConnectionsManager::changesAnnouncedOnlyOnChange()
{
    ConnectionsManager m;
    m.addTransport(QStringLiteral("QUOTES"));
    const int kestrel = m.addTransport(QStringLiteral("KESTREL"));
    QSignalSpy times(&m, &ConnectionsManager::serverTimeChanged);
    QSignalSpy statuses(&m, &ConnectionsManager::transportStatusChanged);
    const datetime first(QDate(2030, 3, 4));

    m.setTransportTime(kestrel, first);
    m.setTransportTime(kestrel, first);
    m.setTransportTime(kestrel, first + 1);  // a millisecond is a change
    m.setTransportTime(kestrel, datetime()); // and so is forgetting the time
    m.setTransportTime(kestrel, datetime());
    QCOMPARE(times.count(), 3);
    QCOMPARE(times.at(0).at(0).toInt(), kestrel);
    QCOMPARE(times.at(0).at(1).value<datetime>(), first);
    QCOMPARE(times.at(1).at(1).value<datetime>(), first + 1);
    QVERIFY(times.at(2).at(1).value<datetime>().isNull());

    m.setTransportStatus(kestrel, ITransport::Connecting);
    m.setTransportStatus(kestrel, ITransport::Connected);
    m.setTransportStatus(kestrel, ITransport::Connected);
    QCOMPARE(statuses.count(), 2);
    QCOMPARE(statuses.at(1).at(1).toInt(), 3);
    QVERIFY(m.isConnected(kestrel));
    QVERIFY(m.transports().at(kestrel)->isConnected());
    // The other transport was never touched.
    QVERIFY(!m.isConnected(0));
    QVERIFY(m.transportTime(0).isNull());
}

void TestConnectionsManager::serverTimeTravelsQueued()
{
    // Receivers on other threads, and those connected by text, get the time in a queued
    // call: the type must be known to the meta-type system by its name.
    ConnectionsManager m;
    const int t = m.addTransport(QStringLiteral("KESTREL"));
    datetime received;
    QObject receiver;
    connect(
        &m, &ConnectionsManager::serverTimeChanged, &receiver,
        [&](int, datetime time) { received = time; }, Qt::QueuedConnection);
    QSignalSpy byText(&m, SIGNAL(serverTimeChanged(int, datetime)));
    QVERIFY(byText.isValid());

    m.setTransportTime(t, datetime(QDate(2031, 7, 8)));
    QVERIFY(received.isNull());
    QCoreApplication::sendPostedEvents();
    QCOMPARE(received, datetime(QDate(2031, 7, 8)));
    QCOMPARE(byText.count(), 1);
}

QTEST_GUILESS_MAIN(TestConnectionsManager)
#include "tst_connectionsmanager.moc"
