#include "marketfeed.h"

MarketFeed::MarketFeed(QObject* parent) : QObject(parent) {}

MarketFeed::~MarketFeed() = default;

QString MarketFeed::transportName() const
{
    return QStringLiteral("KESTREL");
}
