#pragma once

#include "c_api/iviewfactory.h"

#include <QObject>

// Makes the calculator windows. A key that is not a base code with options gives an empty
// window, which waits for restore() to learn its base code.
class OptCalcWindowFactory : public QObject, public IViewFactory
{
    Q_OBJECT
    Q_INTERFACES(IViewFactory)

public:
    explicit OptCalcWindowFactory(QObject* parent = nullptr);
    ~OptCalcWindowFactory() override;

    QByteArray viewId() override;
    QString displayName() override;
    QIcon icon() override;
    IView* create(const QString& extraKey, QWidget* parent) override;
};
