#pragma once

#include "c_api/iviewfactory.h"

#include <QCoreApplication>

// The factory of the terminal's own view "PostponedOrders"; the key is the order text.
class PostponedOrdersFactory : public IViewFactory
{
    Q_DECLARE_TR_FUNCTIONS(PostponedOrdersFactory)

public:
    static const char* const ViewId;

    QByteArray viewId() override;
    QString displayName() override;
    IView* create(const QString& extraKey, QWidget* parent) override;
};
