#pragma once

#include "database/datetime.h"

#include <QList>
#include <QObject>
#include <QPair>
#include <QString>

class Table;

// A source of the terminal's market tables: the simulated exchange or a snapshot. The
// terminal registers the feed's tables in ICore::tables(), shows the feed as the transport
// transportName() in ConnectionsManager (connected from start() to stop()) and follows its
// server time. A feed changes its tables on the main thread, in batches through their
// update brackets.
class MarketSource : public QObject
{
    Q_OBJECT

public:
    explicit MarketSource(QObject* parent = nullptr);
    ~MarketSource() override;

    // The tables by the names under which the terminal registers them ("securities",
    // "positions", "tz.volat_coeff"). The feed owns them; they live as long as the feed.
    virtual QList<QPair<QString, Table*>> tables() const = 0;
    // The transport this feed stands for: "KESTREL".
    virtual QString transportName() const;
    // Begins to deliver changes; the tables are filled by then.
    virtual void start() = 0;
    // Delivers no more changes; the tables stay as they are.
    virtual void stop() = 0;

signals:
    // The server's clock, as the feed hears it.
    void serverTime(const datetime& time);
};
