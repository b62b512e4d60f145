#include "iviewfactory.h"

IViewFactory::~IViewFactory() = default;

QString IViewFactory::viewDescription()
{
    return QString();
}

QIcon IViewFactory::icon()
{
    return QIcon();
}

QIcon IViewFactory::secondIcon()
{
    return QIcon();
}

int IViewFactory::viewFlag()
{
    return 0;
}
