#pragma once

#include "c_api/iviewfactory.h"

#include <QCoreApplication>

// The factory of the terminal's view "Market"; the key is a base code.
class MarketViewFactory : public IViewFactory
{
    Q_DECLARE_TR_FUNCTIONS(MarketViewFactory)
public:
    static const char* const ViewId;

    QByteArray viewId() override;
    QString displayName() override;
    IView* create(const QString& extraKey, QWidget* parent) override;
};
