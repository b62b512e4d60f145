#pragma once

// The kinds of views the host can open, by view id, reached through ICore::viewFactories().
// The host registers the factories of its own views and those of each plug-in's
// IViewProvider; the window manager finds a factory here to open a view. Factories are not
// owned: they belong to their plug-in, which keeps them while it is loaded.
//
// The operations are virtual slots in a fixed order that plug-ins rely on; new ones go at
// the end.

#include "c_api_global.h"

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QObject>

class IViewFactory;
class IViewProvider;

class C_API_EXPORT ViewRegistry : public QObject
{
    Q_OBJECT
public:
    explicit ViewRegistry(QObject* parent = nullptr);
    ~ViewRegistry() override;

public slots:
    // In the order of registration.
    virtual QList<QByteArray> viewIds() const;
    virtual QList<IViewFactory*> factories() const;
    // Null for an id that no factory has.
    virtual IViewFactory* factory(const QByteArray& viewId) const;
    virtual bool hasFactory(const QByteArray& viewId) const;
    // A null factory, one without a view id, or one whose id is taken is skipped: false.
    virtual bool addFactory(IViewFactory* factory);
    // Adds each factory of the provider; gives how many were added.
    virtual int addProvider(IViewProvider* provider);
    virtual bool removeFactory(const QByteArray& viewId);

private:
    QList<QByteArray> m_order;
    QHash<QByteArray, IViewFactory*> m_factories;
};
