#include "marketsource.h"

#include "database/exchangeconventions.h"

MarketSource::MarketSource(QObject* parent) : QObject(parent) {}

MarketSource::~MarketSource() = default;

QString MarketSource::transportName() const
{
    return Exchange::transportName();
}
