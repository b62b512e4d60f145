#include "action.h"

#include "actionmanager.h"
#include "command.h"

Action::Action(const QByteArray& id, QObject* parent) : QAction(parent), m_id(id)
{
    bind();
}

Action::Action(const QString& text, const QByteArray& id, QObject* parent)
    : QAction(text, parent), m_id(id), m_ownText(text)
{
    bind();
}

Action::Action(const QIcon& icon, const QString& text, const QByteArray& id, QObject* parent)
    : QAction(icon, text, parent), m_id(id), m_ownText(text)
{
    bind();
}

Action::~Action()
{
    ActionManager::unbindAction(this);
}

QString Action::toolTipText(const QString& text)
{
    QString plain = text;
    plain.remove(QLatin1String("..."));
    QString result;
    for (int i = 0; i < plain.size(); ++i) {
        if (plain.at(i) == QLatin1Char('&')) {
            ++i;
            if (i == plain.size())
                break;
        }
        result.append(plain.at(i));
    }
    return result.trimmed();
}

void Action::bind()
{
    ActionManager* manager = ActionManager::instance();
    connect(manager, &ActionManager::commandChanged, this, &Action::onCommandChanged);
    updateFromCommand();
    ActionManager::bindAction(this);
}

void Action::onCommandChanged(const QByteArray& id)
{
    if (id == m_id)
        updateFromCommand();
}

void Action::updateFromCommand()
{
    const ActionManager* manager = ActionManager::instance();
    const Command* command = manager->command(m_id);
    const QString text =
        !m_ownText.isEmpty() ? m_ownText : (command ? command->defaultText() : QString());
    setText(text);
    const QKeySequence keys = manager->shortcut(m_id);
    setShortcut(keys);
    if (command && command->isShortcutVisibleInToolTip() && !keys.isEmpty())
        setToolTip(QStringLiteral("%1 (%2)").arg(toolTipText(text),
                                                 keys.toString(QKeySequence::NativeText)));
    else
        setToolTip(QString()); // back to the text
}
