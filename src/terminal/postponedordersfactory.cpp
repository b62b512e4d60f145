#include "postponedordersfactory.h"

#include "postponedordersview.h"

const char* const PostponedOrdersFactory::ViewId = "PostponedOrders";

QByteArray PostponedOrdersFactory::viewId()
{
    return ViewId;
}

QString PostponedOrdersFactory::displayName()
{
    return tr("Отложенные заявки");
}

IView* PostponedOrdersFactory::create(const QString& extraKey, QWidget* parent)
{
    return new PostponedOrdersView(extraKey, parent);
}
