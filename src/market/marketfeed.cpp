#include "marketfeed.h"

#include "markettables.h"

#include "database/exchangeconventions.h"

MarketFeed::MarketFeed(MarketTables* tables, QObject* parent) : QObject(parent), m_tables(tables) {}

MarketFeed::~MarketFeed() = default;

MarketTables* MarketFeed::tables() const
{
    return m_tables;
}

QString MarketFeed::transportName()
{
    return Exchange::transportName();
}

void MarketFeed::setTransportStatus(TransportStatus status)
{
    if (status == m_status)
        return;
    m_status = status;
    emit transportStatusChanged(int(status));
}

void MarketFeed::setServerTime(const datetime& time)
{
    if (time == m_serverTime)
        return;
    m_serverTime = time;
    emit serverTimeChanged(time);
}
