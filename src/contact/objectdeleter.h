#pragma once

#include "contact_global.h"

#include <QObject>
#include <QSet>

// Keeps its children alive as long as any of several owners lives. An object shared by
// several owners (a model behind the views of two windows) is made a child of a deleter, and
// each owner is registered with addParent(). Once every registered owner is destroyed, the
// deleter deletes itself and, as their QObject parent, its children.
//
// The deletion is immediate, not deferred to the event loop: it happens inside the
// destroyed() notification of the last owner, which QObject and QWidget send after the
// owner's own destructor body and before they delete the owner's children. So the shared
// children go first, while the owner's children (views on a shared model, say) still live,
// and they are gone when the owner's delete returns. Hence a child must not delete its last
// owner from inside its own member functions; it uses deleteLater() on the owner for that.
//
// A deleter that never got an owner stays alive until somebody deletes it. Main thread only.
class CONTACT_EXPORT ObjectDeleter : public QObject
{
    Q_OBJECT
public:
    ObjectDeleter();
    ~ObjectDeleter() override;

    // Registers an owner. Null, the deleter itself, an object already registered, and an
    // object the deleter owns (which would keep it alive for ever) are ignored.
    void addParent(QObject* parent);
    int parentCount() const { return m_parents.size(); }

private slots:
    void onParentDestroyed(QObject* parent);

private:
    QSet<QObject*> m_parents;
};
