#include "objectdeleter.h"

ObjectDeleter::ObjectDeleter() : QObject(nullptr) {}

ObjectDeleter::~ObjectDeleter() = default;

void ObjectDeleter::addParent(QObject* parent)
{
    if (!parent || m_parents.contains(parent))
        return;
    for (const QObject* p = parent; p; p = p->parent()) {
        if (p == this) {
            qWarning("ObjectDeleter: an object it owns cannot be its parent");
            return;
        }
    }
    m_parents.insert(parent);
    connect(parent, &QObject::destroyed, this, &ObjectDeleter::onParentDestroyed,
            Qt::DirectConnection);
}

void ObjectDeleter::onParentDestroyed(QObject* parent)
{
    // Only the address is used: the object is half destroyed by now.
    if (!m_parents.remove(parent))
        return;
    if (m_parents.isEmpty())
        delete this;
}
