#pragma once

#include "gui_global.h"

#include <QByteArray>
#include <QHash>
#include <QKeySequence>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>

class Action;
class Command;
class CommandContainer;
class Settings;

// The terminal's registry of menus, tool bars and commands.
//
// Containers are found by name: the host makes "MenuBar" and its menus, a plug-in asks for
// the same names to put its entries there, and whichever comes first creates the container.
// Commands are registered by id, and the shortcut table maps ids to the keys the user chose;
// every Action bound to an id follows that table as it changes.
//
// One instance, made on first use, lives until the end of the program.
class GUI_EXPORT ActionManager : public QObject
{
    Q_OBJECT
public:
    static ActionManager* instance();

    // The container of that name, created if missing with the title given. A container
    // without a title takes the one given here. When parentName is not empty, a container
    // that has no parent yet is put into that one (created if missing): right before the
    // sibling named by before if there is such a sibling, otherwise in the place its order
    // gives among the siblings (see CommandContainer::addContainer). Null for an empty name.
    CommandContainer* container(const QString& name, const QString& title = QString(),
                                const QByteArray& parentName = QByteArray(),
                                const QByteArray& before = QByteArray(),
                                const QByteArray& order = QByteArray());
    // The container of that name if it exists, else null.
    CommandContainer* findContainer(const QByteArray& name) const;

    // Commands register themselves on construction; this is for a command whose id was taken
    // at that time. False while another live command holds the id.
    bool registerCommand(Command* command);
    Command* command(const QByteArray& id) const;
    // All registered commands, by category, then by id.
    QList<Command*> commands() const;

    // The Actions bound to the id, oldest first.
    QList<Action*> actions(const QByteArray& id) const;

    // The shortcut in force for the id: the user's choice if there is one, else the default
    // of the registered command, else none. A choice may be made before its command is
    // registered, as when the host reads its settings before loading plug-ins.
    QKeySequence shortcut(const QByteArray& id) const;
    bool hasCustomShortcut(const QByteArray& id) const;
    // An empty sequence is a choice too: the command has no key.
    void setShortcut(const QByteArray& id, const QKeySequence& shortcut);
    void resetShortcut(const QByteArray& id);
    void resetAllShortcuts();

    // The user's choices as keys of the current group, one per id. Restoring replaces all
    // choices; entries that do not read as key sequences are skipped.
    void storeShortcuts(Settings& settings) const;
    void restoreShortcuts(const Settings& settings);

signals:
    // The shortcut in force for the id may have changed.
    void shortcutChanged(const QByteArray& id);
    // Anything an Action of the id reads changed: the command came or went, its properties,
    // its shortcut, or the set of Actions bound to it.
    void commandChanged(const QByteArray& id);

private:
    friend class Command;
    friend class Action;

    ActionManager();
    ~ActionManager() override;
    Q_DISABLE_COPY(ActionManager)

    // Used from destructors, which may run after the instance itself is gone at exit.
    static void forgetCommand(Command* command);
    static void bindAction(Action* action);
    static void unbindAction(Action* action);

    void onCommandChanged();

    QHash<QByteArray, QPointer<CommandContainer>> m_containers;
    QHash<QByteArray, Command*> m_commands;
    QHash<QByteArray, QList<Action*>> m_actions;
    QHash<QByteArray, QKeySequence> m_customShortcuts;
};
