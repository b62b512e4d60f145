#pragma once

#include <QAction>
#include <QMenu>
#include <QStringList>
#include <QWidget>

// The actions of a menu, tool bar or menu bar as one line: entries by text, "-" for a
// separator, a submenu as its title with its entries in brackets.
inline QString describe(const QWidget* bar)
{
    QStringList parts;
    const QList<QAction*> actions = bar->actions();
    for (const QAction* action : actions) {
        if (action->isSeparator())
            parts << QStringLiteral("-");
        else if (action->menu())
            parts << action->text() + '[' + describe(action->menu()) + ']';
        else
            parts << action->text();
    }
    return parts.join('|');
}

// The entry of that text, not counting a shortcut shown after a tab.
inline QAction* findAction(const QWidget* bar, const QString& text)
{
    const QList<QAction*> actions = bar->actions();
    for (QAction* action : actions) {
        if (action->text().section('\t', 0, 0) == text)
            return action;
    }
    return nullptr;
}
