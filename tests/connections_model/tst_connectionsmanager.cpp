#include "connections_model/connectionsmanager.h"

#include <QSignalSpy>
#include <QtTest>

#include <limits>

class TestConnectionsManager : public QObject
{
    Q_OBJECT
private slots:
    void addingNamesTransports();
    void changesAnnouncedOnlyOnChange();
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
}

void TestConnectionsManager::changesAnnouncedOnlyOnChange()
{
    ConnectionsManager m;
    m.addTransport(QStringLiteral("QUOTES"));
    const int kestrel = m.addTransport(QStringLiteral("KESTREL"));
    QSignalSpy statuses(&m, &ConnectionsManager::transportStatusChanged);
    // Receivers on other threads get the time in a queued call, and some connect by text:
    // the type must be known to the meta-type system by its name.
    QSignalSpy times(&m, SIGNAL(serverTimeChanged(int, datetime)));
    QVERIFY(times.isValid());
    datetime received;
    connect(
        &m, &ConnectionsManager::serverTimeChanged, this,
        [&](int, datetime time) { received = time; }, Qt::QueuedConnection);
    const datetime first(QDate(2030, 3, 4));

    m.setTransportTime(kestrel, first);
    m.setTransportTime(kestrel, first);
    QVERIFY(received.isNull());
    QCoreApplication::sendPostedEvents();
    QCOMPARE(received, first);
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

    // Numbers that name no transport read as a disconnected one without a name or time, and
    // setting them changes nothing; nor does a number outside the statuses.
    for (const int unknown : {-1, m.count(), std::numeric_limits<int>::max()}) {
        QCOMPARE(m.transportName(unknown), QString());
        QVERIFY(m.transportTime(unknown).isNull());
        QCOMPARE(int(m.transportStatus(unknown)), 0);
        m.setTransportTime(unknown, first);
        m.setTransportStatus(unknown, ITransport::Connecting);
    }
    m.setTransportStatus(kestrel, static_cast<ITransport::Status>(7));
    QCOMPARE(times.count(), 3);
    QCOMPARE(statuses.count(), 2);
    QVERIFY(m.transports().at(kestrel)->isConnected());
    // The other transport was never touched.
    QVERIFY(!m.isConnected(0));
    QVERIFY(m.transportTime(0).isNull());
}

QTEST_GUILESS_MAIN(TestConnectionsManager)
#include "tst_connectionsmanager.moc"
