#pragma once

#include "gui_global.h"

#include <QAction>
#include <QByteArray>

// A QAction bound to a command by its id. Its shortcut is the one the ActionManager holds
// for the id, and changes when the user picks another key. An Action made without a text of
// its own shows the command's default text. When the command asks for it, the tool tip
// names the shortcut as well.
//
// The command may be registered before or after the Action is made: the Action follows as
// soon as it appears. The text, shortcut and tool tip belong to the binding; set them through
// the command and the ActionManager, not on the Action.
class GUI_EXPORT Action : public QAction
{
    Q_OBJECT
public:
    explicit Action(const QByteArray& id, QObject* parent = nullptr);
    Action(const QString& text, const QByteArray& id, QObject* parent = nullptr);
    Action(const QIcon& icon, const QString& text, const QByteArray& id, QObject* parent = nullptr);
    ~Action() override;

    QByteArray id() const { return m_id; }

    // The text as a tool tip shows it: no mnemonics ("&&" stays one '&'), no ellipsis.
    static QString toolTipText(const QString& text);

private:
    Q_DISABLE_COPY(Action)

    void bind();
    void onCommandChanged(const QByteArray& id);
    void updateFromCommand();

    QByteArray m_id;
    QString m_ownText;
};
