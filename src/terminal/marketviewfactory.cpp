#include "marketviewfactory.h"

#include "marketview.h"

const char* const MarketViewFactory::ViewId = "Market";

QByteArray MarketViewFactory::viewId()
{
    return ViewId;
}

QString MarketViewFactory::displayName()
{
    return tr("Рынок");
}

IView* MarketViewFactory::create(const QString& extraKey, QWidget* parent)
{
    return new MarketView(extraKey, parent);
}
