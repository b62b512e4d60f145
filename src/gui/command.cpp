#include "command.h"

#include "actionmanager.h"

Command::Command(const QByteArray& id, QObject* parent) : QObject(parent), m_id(id)
{
    ActionManager::instance()->registerCommand(this);
}

Command::~Command()
{
    ActionManager::forgetCommand(this);
}

void Command::setCategory(const QString& category)
{
    if (m_category == category)
        return;
    m_category = category;
    emit changed();
}

void Command::setDefaultText(const QString& text)
{
    if (m_defaultText == text)
        return;
    m_defaultText = text;
    emit changed();
}

void Command::setDefaultShortcut(const QKeySequence& shortcut)
{
    if (m_defaultShortcut == shortcut)
        return;
    m_defaultShortcut = shortcut;
    emit changed();
}

QKeySequence Command::shortcut() const
{
    const ActionManager* manager = ActionManager::instance();
    return manager->hasCustomShortcut(m_id) ? manager->shortcut(m_id) : m_defaultShortcut;
}

void Command::setShortcutVisibleInToolTip(bool visible)
{
    if (m_shortcutVisibleInToolTip == visible)
        return;
    m_shortcutVisibleInToolTip = visible;
    emit changed();
}
