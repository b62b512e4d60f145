#pragma once

#include "connections_model_global.h"
#include "itransport.h"

#include "database/datetime.h"

#include <QList>
#include <QObject>
#include <QString>

#include <memory>
#include <vector>

// The terminal's transports by number. Readers (views, the plug-ins) ask by number, which
// index() gives for a name; the host adds transports and reports their status and the
// server's time as its connections progress. A number that names no transport reads as a
// disconnected transport without a name or time.
class CONNECTIONS_MODEL_EXPORT ConnectionsManager : public QObject
{
    Q_OBJECT
public:
    // A manager of its own, e.g. for a test; the terminal's is instance().
    explicit ConnectionsManager(QObject* parent = nullptr);
    ~ConnectionsManager() override;

    // The terminal's manager, made on first use.
    static ConnectionsManager* instance();

    // The number of the transport of that name (names are case-sensitive), or -1.
    int index(const QString& transportName) const;
    // All transports in the order of their numbers; owned by the manager.
    QList<ITransport*> transports() const;
    int count() const;
    QString transportName(int index) const;
    // The server's time as last heard; 0 when unknown.
    datetime transportTime(int index) const;
    ITransport::Status transportStatus(int index) const;
    bool isConnected(int index) const { return transportStatus(index) == ITransport::Connected; }

    // Host side. Adds a transport, disconnected and without a time, and gives its number;
    // the number of the present one when the name is taken, -1 for an empty name.
    int addTransport(const QString& name);
    // Numbers that name no transport and statuses outside ITransport::Status are ignored.
    void setTransportStatus(int index, ITransport::Status status);
    // The host sets a null time when the server's clock is no longer known (e.g. after
    // a disconnection); a repeated time announces nothing.
    void setTransportTime(int index, const datetime& time);

signals:
    void transportAdded(int index);
    void transportStatusChanged(int index, int status);
    void serverTimeChanged(int index, datetime time);

private:
    class Transport;
    Transport* at(int index) const;

    std::vector<std::unique_ptr<Transport>> m_transports;
};
