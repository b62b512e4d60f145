#pragma once

#include "gui_global.h"

#include <QByteArray>
#include <QIcon>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>

class Command;
class QMenu;
class QMenuBar;
class QToolBar;
class QWidget;

// A menu or tool bar of the terminal in the abstract: an ordered list of commands and of
// nested containers, which the host turns into widgets with createMenu and createToolBar.
//
// Entries are ordered by group, then by order within a group; entries with equal keys keep
// the order in which they came. Keys that are whole numbers compare as numbers and come
// before other keys, which compare as text; an empty key comes last. A menu shows a
// separator between groups.
//
// Menus and tool bars made by the default implementations follow later changes of the
// container. A command in them is a stand-in that triggers the Action bound to the command
// in the focused window, and is disabled while there is none.
class GUI_EXPORT CommandContainer : public QObject
{
    Q_OBJECT
public:
    explicit CommandContainer(const QByteArray& id, QObject* parent = nullptr);
    ~CommandContainer() override;

    QByteArray id() const { return m_id; }

    QString title() const { return m_title; }
    void setTitle(const QString& title);
    QIcon icon() const { return m_icon; }
    void setIcon(const QIcon& icon);

    // Adds the command, or moves it if it is here already: right before the entry whose id
    // is before, in that entry's group, if there is one; otherwise at the end of the group.
    void addCommand(Command* command, const QByteArray& before = QByteArray(),
                    const QByteArray& group = QByteArray());
    // Adds the container, or moves it here from its former parent. A container that holds
    // this one, directly or deeper, is refused.
    void addContainer(CommandContainer* container, const QByteArray& group = QByteArray(),
                      const QByteArray& order = QByteArray());

    // The entries in the order they are shown.
    QList<Command*> commands() const;
    QList<CommandContainer*> containers() const;
    CommandContainer* parentContainer() const { return m_parentContainer; }

    // The menu bar of a top-level container: a menu for each nested container, an entry for
    // each command. Owned by parent.
    QMenuBar* createMenuBar(QWidget* parent);

    // The menu shown for this container, with a submenu for each nested container. The
    // default makes a new menu owned by parent at each call, and a menu holding it replaces
    // it when it refills. A subclass may instead keep one menu of its own and return it at
    // each call; made without parent (not through this default), it is then neither
    // reparented nor deleted by the menus that show it.
    virtual QMenu* createMenu(QWidget* parent);
    // A tool bar with the commands; nested containers become buttons with their menus.
    virtual QToolBar* createToolBar(QWidget* parent);

signals:
    // Entries, title or icon changed, here or in a nested container.
    void changed();

private:
    friend class ActionManager;

    struct Entry
    {
        QPointer<QObject> object;
        bool isContainer = false;
        QByteArray group;
        QByteArray order;
    };

    void addItem(QObject* object, const QByteArray& before, const QByteArray& group,
                 const QByteArray& order);
    void removeItem(QObject* object);
    QList<Entry> orderedEntries() const;
    bool holds(const CommandContainer* container) const;
    void onItemDestroyed();

    template <typename Bar> void fill(Bar* bar);

    QByteArray m_id;
    QString m_title;
    QIcon m_icon;
    QList<Entry> m_entries;
    QPointer<CommandContainer> m_parentContainer;
};
