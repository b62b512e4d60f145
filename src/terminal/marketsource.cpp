#include "marketsource.h"

MarketSource::MarketSource(QObject* parent) : QObject(parent) {}

MarketSource::~MarketSource() = default;

QString MarketSource::transportName() const
{
    return QStringLiteral("KESTREL");
}
