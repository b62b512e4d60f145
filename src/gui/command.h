#pragma once

#include "gui_global.h"

#include <QByteArray>
#include <QKeySequence>
#include <QObject>
#include <QString>

// A named user command: what it is called, where it is listed in the shortcut settings and
// which key it has unless the user chose another. It does nothing by itself: the windows
// that can carry it out make an Action with the same id, and the Action takes its text and
// shortcut from here.
//
// A command registers itself with the ActionManager when it is made and leaves when it is
// destroyed; while another live command holds the id, it stays unregistered.
class GUI_EXPORT Command : public QObject
{
    Q_OBJECT
public:
    explicit Command(const QByteArray& id, QObject* parent = nullptr);
    ~Command() override;

    QByteArray id() const { return m_id; }

    QString category() const { return m_category; }
    void setCategory(const QString& category);

    QString defaultText() const { return m_defaultText; }
    void setDefaultText(const QString& text);

    QKeySequence defaultShortcut() const { return m_defaultShortcut; }
    void setDefaultShortcut(const QKeySequence& shortcut);

    // The shortcut in force: the user's choice kept by the ActionManager, else the default.
    QKeySequence shortcut() const;

    bool isShortcutVisibleInToolTip() const { return m_shortcutVisibleInToolTip; }
    void setShortcutVisibleInToolTip(bool visible);

signals:
    // Any of the properties above changed.
    void changed();

private:
    Q_DISABLE_COPY(Command)

    QByteArray m_id;
    QString m_category;
    QString m_defaultText;
    QKeySequence m_defaultShortcut;
    bool m_shortcutVisibleInToolTip = false;
};
