#pragma once

#include "action.h"

#include <QAction>
#include <QByteArray>
#include <QPointer>

class Command;
class QWidget;

// The entry of a command in a menu or tool bar made by a CommandContainer. The host's menus
// are shared by all windows, while each window binds its own Action to the command: the
// entry stands in for the Action of the window that holds the focus, mirrors its state and
// triggers it. The shortcut is only shown, never bound, so that it stays with the windows'
// Actions and is not taken twice.
class CommandProxyAction : public QAction
{
    Q_OBJECT
public:
    CommandProxyAction(Command* command, QObject* parent);

    Action* target() const { return m_target; }

public slots:
    // Picks the Action again; called when a menu holding the entry opens.
    void retarget();

private:
    void onCommandChanged(const QByteArray& id);
    void onFocusChanged(QWidget* old, QWidget* now);
    void updateText();
    void setTarget(Action* target);
    void mirrorTarget();
    void triggerTarget();

    QPointer<Command> m_command;
    QByteArray m_id;
    QPointer<Action> m_target;
    QMetaObject::Connection m_targetConnection;
};
