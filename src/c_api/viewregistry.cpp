#include "viewregistry.h"

#include "iviewfactory.h"
#include "iviewprovider.h"

ViewRegistry::ViewRegistry(QObject* parent) : QObject(parent) {}

ViewRegistry::~ViewRegistry() = default;

QList<QByteArray> ViewRegistry::viewIds() const
{
    return m_order;
}

QList<IViewFactory*> ViewRegistry::factories() const
{
    QList<IViewFactory*> result;
    result.reserve(m_order.size());
    for (const QByteArray& id : m_order)
        result.append(m_factories.value(id));
    return result;
}

IViewFactory* ViewRegistry::factory(const QByteArray& viewId) const
{
    return m_factories.value(viewId);
}

bool ViewRegistry::hasFactory(const QByteArray& viewId) const
{
    return m_factories.contains(viewId);
}

bool ViewRegistry::addFactory(IViewFactory* factory)
{
    if (!factory)
        return false;
    const QByteArray id = factory->viewId();
    if (id.isEmpty()) {
        qWarning("ViewRegistry: a view factory without a view id is skipped");
        return false;
    }
    if (m_factories.contains(id)) {
        if (m_factories.value(id) != factory)
            qWarning("ViewRegistry: the view id \"%s\" is taken; the factory is skipped",
                     id.constData());
        return false;
    }
    m_order.append(id);
    m_factories.insert(id, factory);
    return true;
}

int ViewRegistry::addProvider(IViewProvider* provider)
{
    if (!provider)
        return 0;
    int added = 0;
    const QList<IViewFactory*> list = provider->viewFactories();
    for (IViewFactory* f : list) {
        if (addFactory(f))
            ++added;
    }
    return added;
}

bool ViewRegistry::removeFactory(const QByteArray& viewId)
{
    if (!m_factories.remove(viewId))
        return false;
    m_order.removeOne(viewId);
    return true;
}
