#pragma once

#include "market_global.h"

#include "database/datetime.h"

#include <QObject>
#include <QPointer>
#include <QString>

class MarketTables;

// A source of market data that fills the market tables. The terminal registers the tables,
// shows the feed's transport in its status bar and passes its status and server time on to
// the rest of the terminal: the feed is the transport "KESTREL" as far as they know.
class MARKET_EXPORT MarketFeed : public QObject
{
    Q_OBJECT
public:
    // The numbers the terminal's transports use: 3 means connected.
    enum TransportStatus { Disconnected = 0, Connecting = 1, Authorizing = 2, Connected = 3 };
    Q_ENUM(TransportStatus)

    // The tables are not owned; a feed whose tables are gone fills nothing.
    explicit MarketFeed(MarketTables* tables, QObject* parent = nullptr);
    ~MarketFeed() override;

    MarketTables* tables() const;

    static QString transportName();
    TransportStatus transportStatus() const { return m_status; }
    // The exchange's clock as last heard; null while unknown.
    datetime serverTime() const { return m_serverTime; }

signals:
    void transportStatusChanged(int status);
    void serverTimeChanged(const datetime& time);

protected:
    void setTransportStatus(TransportStatus status);
    void setServerTime(const datetime& time);

private:
    QPointer<MarketTables> m_tables;
    TransportStatus m_status = Disconnected;
    datetime m_serverTime;
};
